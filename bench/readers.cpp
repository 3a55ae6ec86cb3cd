#include "readers.h"

void bench::addBenchmarks() {
    addXmlReaders();
    addJsonReaders();
    addYamlReaders();
}
