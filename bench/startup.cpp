// What loading the library costs: the time to build its tables, built again and again.
#include <velmora/text/bytes.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <vector>

int main() {
    constexpr int kRuns = 101;
    std::vector<double> milliseconds;
    for (int i = 0; i < kRuns; ++i) {
        chr_tables_prepare_done = false;
        auto start = std::chrono::steady_clock::now();
        chr_tables_prepare();
        milliseconds.push_back(
            std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start).count());
    }
    std::sort(milliseconds.begin(), milliseconds.end());
    std::printf("tables              %8.3f ms, median of %d runs; slowest %.3f ms\n", milliseconds[kRuns / 2], kRuns,
                milliseconds.back());
    return 0;
}
