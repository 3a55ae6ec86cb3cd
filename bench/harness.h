// What all benchmark programs share: the clock, the names of rows and contenders, and the comparison of contents.
//
// A benchmark's name is ROW/VARIANT/SIZE/CONTENDER, such as read-xml-as-is/records/1MB/pugixml. bench/report.py
// compares the contenders of one row, variant and size, and divides the time of each by that of "velmora".
#ifndef VELMORA_BENCH_HARNESS_H
#define VELMORA_BENCH_HARNESS_H

#include <benchmark/benchmark.h>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace bench {

struct Size {
    const char* title;
    std::size_t bytes;
};

// Nanoseconds of CPU time that this thread has taken. Other work on the machine moves it less than it moves the clock.
std::int64_t cpuTime();

// Whether each row is to run once with little data.
bool isSmoke();

// Sizes of the documents: all four, or those that every shape is measured with.
const std::vector<Size>& allSizes();
const std::vector<Size>& chiefSizes();

// Ends the program when contenders have not seen the same.
[[noreturn]] void failContents(const std::string& benchmark);

// Calls `check` once per benchmark, whose function the library enters several times. `check` returns whether the
// contents are the expected ones.
void checkOnce(const std::string& name, const std::function<bool()>& check);

// A benchmark that measures itself: run(state) passes CPU time to SetIterationTime.
void addManual(const std::string& name, const std::function<void(benchmark::State&)>& run);
// A benchmark whose loop is measured as a whole.
void addLoop(const std::string& name, const std::function<void(benchmark::State&)>& run);

// What one iteration handles, and what the row's reader has to know about this contender.
void describe(benchmark::State& state, double bytes, double items, const char* note);

// An empty folder that is removed when the program ends.
const std::string& temporaryFolder();

// Adds this program's benchmarks.
void addBenchmarks();

}  // namespace bench

#endif
