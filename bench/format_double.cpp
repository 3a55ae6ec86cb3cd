// A double as "%f" gives it. The library does this inside, for its writer and its messages, so this program is linked
// with its objects.
#include <fmt/compile.h>
#include <fmt/format.h>

#include <charconv>
#include <cstdio>
#include <cstring>
#include <random>
#include <string>
#include <string_view>
#include <vector>

#include <velmora/text/formatting.h>

#include "harness.h"

namespace bench {

namespace {

using velmora::detail::kDoubleTextSize;

constexpr int kNumbers = 1000;

std::vector<double> numbers(const char* kind) {
    std::mt19937_64 random(1);
    std::vector<double> all;
    for (int i = 0; i < kNumbers; ++i) {
        double v = static_cast<double>(random() % 100000000) / 100;                          // prices
        if (std::strcmp(kind, "measured") == 0) v = static_cast<double>(random()) / 1.8e16;  // all bits in use
        if (std::strcmp(kind, "whole") == 0) v = static_cast<double>(random() % 100000);
        all.push_back(i % 4 == 0 ? -v : v);
    }
    return all;
}

// format(v, out) gives the end of what it wrote.
template <class Format>
void add(const char* kind, const char* contender, const char* note, Format format) {
    const std::string name = std::string("format-double/") + kind + "/1000/" + contender;
    addLoop(name, [=](benchmark::State& state) {
        const std::vector<double> all = numbers(kind);
        char out[kDoubleTextSize];
        checkOnce(name, [&] {
            for (double v : all) {
                char expected[kDoubleTextSize];
                std::snprintf(expected, sizeof expected, "%f", v);
                if (std::string_view(out, static_cast<std::size_t>(format(v, out) - out)) != expected) return false;
            }
            return true;
        });
        std::size_t bytes = 0;
        for (auto _ : state) {
            bytes = 0;
            for (double v : all) {
                bytes += static_cast<std::size_t>(format(v, out) - out);
                benchmark::DoNotOptimize(out);
            }
        }
        describe(state, static_cast<double>(bytes), kNumbers, note);
    });
}

}  // namespace

void addBenchmarks() {
    for (const char* kind : {"prices", "measured", "whole"}) {
        add(kind, "velmora", "", [](double v, char* out) { return velmora::detail::putDouble(v, out); });
        add(kind, "to_chars", "", [](double v, char* out) {
            return std::to_chars(out, out + kDoubleTextSize, v, std::chars_format::fixed, 6).ptr;
        });
        add(kind, "fmt", "compiled format",
            [](double v, char* out) { return fmt::format_to(out, FMT_COMPILE("{:f}"), v); });
        add(kind, "snprintf", "",
            [](double v, char* out) { return out + std::snprintf(out, kDoubleTextSize, "%f", v); });
    }
}

}  // namespace bench
