#include "writers.h"

void bench::addBenchmarks() {
    addXmlWriters();
    addJsonWriters();
    addYamlWriters();
}
