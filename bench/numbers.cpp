// Texts to numbers. An item is one number. One iteration converts a thousand different ones, so that the processor
// cannot predict every branch.
#include <fast_float/fast_float.h>

#include <charconv>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <random>
#include <string>
#include <vector>

#include <velmora/text/chpair.h>
#include <velmora/text/numbers.h>

#include "harness.h"

namespace bench {

namespace {

constexpr int kNumbers = 1000;

// Texts in one block, each with a terminator.
struct Texts {
    std::string bytes;
    std::vector<std::pair<std::size_t, std::size_t>> places;  // begin and end of each

    void add(const char* text) {
        const std::size_t begin = bytes.size();
        bytes += text;
        places.emplace_back(begin, bytes.size());
        bytes += '\0';
    }
};

Texts doubles(const char* format, int powers) {
    std::mt19937_64 random(1);
    Texts texts;
    for (int i = 0; i < kNumbers; ++i) {
        double v = static_cast<double>(random() % 100000000) / 100;
        if (powers != 0) {
            v = static_cast<double>(random()) / 18446744073709551616.0;
            for (int power = static_cast<int>(random() % static_cast<unsigned>(powers)); power > 0; --power) v *= 10;
        }
        char text[64];
        std::snprintf(text, sizeof text, format, i % 2 == 0 ? v : -v);
        texts.add(text);
    }
    return texts;
}

Texts integers(int digits) {
    std::mt19937_64 random(1);
    Texts texts;
    long long most = 1;
    for (int i = 0; i < digits; ++i) most *= 10;
    for (int i = 0; i < kNumbers; ++i) {
        const long long v = static_cast<long long>(random() % static_cast<unsigned long long>(most));
        texts.add(std::to_string(i % 4 == 0 ? -v : v).c_str());
    }
    return texts;
}

// convert(begin, end, number) returns false if the text is not a number.
template <class Number, class Convert>
void add(const std::string& row, const char* contender, const char* note, const Texts& texts, Convert convert) {
    const std::string name = row + '/' + contender;
    addLoop(name, [=](benchmark::State& state) {
        const char* base = texts.bytes.data();
        checkOnce(name, [&] {
            for (const auto& [begin, end] : texts.places) {
                Number number, expected;
                std::from_chars(base + begin, base + end, expected);
                if (!convert(base + begin, base + end, number) || number != expected) return false;
            }
            return true;
        });
        for (auto _ : state) {
            for (const auto& [begin, end] : texts.places) {
                Number number;
                benchmark::DoNotOptimize(convert(base + begin, base + end, number));
                benchmark::DoNotOptimize(number);
            }
        }
        describe(state, static_cast<double>(texts.bytes.size() - kNumbers), kNumbers, note);
    });
}

void addDoubles(const char* title, const Texts& texts) {
    const std::string row = std::string("text-to-double/") + title + "/1000";
    using Text = const char*;
    add<double>(row, "velmora", "a range", texts, [](Text b, Text e, double& v) { return strtodouble(b, e, &v); });
    add<double>(row, "velmora-terminated", "by its terminator", texts,
                [](Text b, Text, double& v) { return strtodouble(b, &v); });
    add<double>(row, "fast_float", "", texts,
                [](Text b, Text e, double& v) { return fast_float::from_chars(b, e, v).ptr == e; });
    add<double>(row, "from_chars", "", texts,
                [](Text b, Text e, double& v) { return std::from_chars(b, e, v).ptr == e; });
    add<double>(row, "strtod", "by its terminator, in the locale", texts, [](Text b, Text e, double& v) {
        char* end;
        v = std::strtod(b, &end);
        return end == e;
    });
}

template <class Number>
void addIntegers(const char* title, const Texts& texts) {
    const std::string row = std::string("text-to-int/") + title + "/1000";
    using Text = const char*;
    constexpr bool kLong = sizeof(Number) == 8;
    add<Number>(row, "velmora", "a range", texts, [](Text b, Text e, Number& v) {
        if constexpr (kLong) {
            return strtoint64(b, e, &v);
        } else {
            return strtoint(b, e, &v);
        }
    });
    add<Number>(row, "velmora-terminated", "by its terminator", texts, [](Text b, Text, Number& v) {
        if constexpr (kLong) {
            return strtoint64(b, &v);
        } else {
            return strtoint(b, &v);
        }
    });
    add<Number>(row, "from_chars", "", texts,
                [](Text b, Text e, Number& v) { return std::from_chars(b, e, v).ptr == e; });
    add<Number>(row, "strtol", "by its terminator", texts, [](Text b, Text e, Number& v) {
        char* end;
        v = static_cast<Number>(std::strtol(b, &end, 10));
        return end == e;
    });
}

}  // namespace

void addBenchmarks() {
    addDoubles("prices", doubles("%.2f", 0));
    addDoubles("six-digits", doubles("%f", 0));
    addDoubles("seventeen-digits", doubles("%.17g", 12));
    addIntegers<int>("four-digits", integers(4));
    addIntegers<int>("nine-digits", integers(9));
    addIntegers<std::int64_t>("eighteen-digits", integers(18));
}

}  // namespace bench
