// "%f" against the C library's own, where that rounds by the standard, and text to double and back.
#include <velmora/text/formatting.h>
#include <velmora/text/numbers.h>

#include <gtest/gtest.h>

#include <bit>
#include <cfloat>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <iterator>
#include <limits>
#include <random>
#include <string>

#include "tests/support/locale_scope.h"

namespace {

std::string textOf(double v) {
    char text[velmora::detail::kDoubleTextSize];
    const char* end = velmora::detail::putDouble(v, text);
    EXPECT_EQ(0, *end);
    return std::string(static_cast<const char*>(text), end);
}

struct Row {
    int line;
    double value;
    const char* text;
};

const Row rows[] = {
    {__LINE__, 0.0, "0.000000"},
    {__LINE__, -0.0, "-0.000000"},
    {__LINE__, 1, "1.000000"},
    {__LINE__, -1.5, "-1.500000"},
    {__LINE__, 0.1, "0.100000"},
    {__LINE__, 123456.789, "123456.789000"},
    // Ties: seven decimals, the last one a five. The even sixth wins.
    {__LINE__, 0.0078125, "0.007812"},
    {__LINE__, 0.0234375, "0.023438"},
    {__LINE__, 0.0390625, "0.039062"},
    {__LINE__, 5.0078125, "5.007812"},
    {__LINE__, 8589934592.0078125, "8589934592.007812"},
    // A carry into the whole part.
    {__LINE__, 0.9999996, "1.000000"},
    {__LINE__, 9.9999995000001, "10.000000"},
    {__LINE__, 999999.99999951, "1000000.000000"},
    // Around the least value that takes one product, 2^-11.
    {__LINE__, 0x1p-11, "0.000488"},
    {__LINE__, 0x1.fffffffffffffp-12, "0.000488"},
    {__LINE__, 0x1.0000000000001p-11, "0.000488"},
    {__LINE__, 0.0000005, "0.000000"},
    {__LINE__, 0.00000050000001, "0.000001"},
    {__LINE__, DBL_TRUE_MIN, "0.000000"},
    // Around the greatest, 2^63.
    {__LINE__, 0x1p63, "9223372036854775808.000000"},
    {__LINE__, 0x1.fffffffffffffp62, "9223372036854774784.000000"},
    {__LINE__, 0x1p64, "18446744073709551616.000000"},
    {__LINE__, 0x1p53, "9007199254740992.000000"},
    {__LINE__, 0x1.fffffffffffffp52, "9007199254740991.000000"},
    {__LINE__, 0x1.fffffffffffffp51, "4503599627370495.500000"},
    {__LINE__, std::numeric_limits<double>::infinity(), "inf"},
    {__LINE__, -std::numeric_limits<double>::infinity(), "-inf"},
};

TEST(DoubleText, IsRoundedHalfToEven) {
    for (const Row& row : rows) {
        SCOPED_TRACE(row.line);
        EXPECT_EQ(row.text, textOf(row.value));
    }
}

#ifdef __GLIBC__
void expectLikePrintf(double v) {
    char expected[velmora::detail::kDoubleTextSize + 1];
    std::snprintf(expected, sizeof expected, "%f", v);
    ASSERT_EQ(expected, textOf(v)) << std::bit_cast<std::uint64_t>(v);
}

TEST(DoubleText, AgreesWithPrintf) {
    support::LocaleScope numbers(LC_NUMERIC, "C");
    std::mt19937_64 random(20261122);
    const std::uint64_t mantissas[] = {0, 1, 0xFFFFFFFFFFFFF, 0x8000000000000, 0x7FFFFFFFFFFFF, 0x5555555555555};
    for (std::uint64_t exponent = 0; exponent < 2047; ++exponent) {
        for (std::uint64_t mantissa : mantissas) expectLikePrintf(std::bit_cast<double>(exponent << 52 | mantissa));
        expectLikePrintf(std::bit_cast<double>(exponent << 52 | random() >> 12));
    }
    for (int i = 0; i < 200000; ++i) {
        const int power = static_cast<int>(random() % 84) - 13;
        expectLikePrintf(std::ldexp(static_cast<double>(random() >> 11), power - 53));
        // Ties of every length: an odd multiple of a power of two.
        expectLikePrintf(static_cast<double>(random() % 100000) + std::ldexp(1.0 + 2.0 * (random() % 64), -7));
    }
}
#endif

// Digits and powers of ten that are exact, and their neighbours, which are not.
TEST(DoubleText, OfFewDigitsIsTheNearestDouble) {
    std::mt19937_64 random(20261122);
    const std::uint64_t edges[] = {0,
                                   1,
                                   9,
                                   9007199254740991,
                                   9007199254740992,
                                   9007199254740993,
                                   9007199254740995,
                                   99999999999999999,
                                   4503599627370497};
    for (int power = -30; power <= 30; ++power) {
        for (int i = 0; i < 2000; ++i) {
            const bool edge = i < static_cast<int>(std::size(edges));
            const std::uint64_t digits = edge ? edges[i] : random() >> (random() % 53 + 11);
            const std::string text = std::to_string(digits) + (i % 2 ? "e" : "E") + std::to_string(power);
            double value = 77;
            ASSERT_TRUE(strtodouble(text.c_str(), &value)) << text;
            double expected;
            std::from_chars(text.data(), text.data() + text.size(), expected);
            ASSERT_EQ(expected, value) << text;
            ASSERT_TRUE(strtodouble(("-" + text).c_str(), &value)) << text;
            ASSERT_EQ(std::bit_cast<std::uint64_t>(-expected), std::bit_cast<std::uint64_t>(value)) << text;
        }
    }
    // The point at every place.
    for (int i = 0; i < 20000; ++i) {
        std::string text = std::to_string(random() >> (random() % 40 + 4));
        text.insert(random() % (text.size() + 1), ".");
        double value = 77;
        ASSERT_TRUE(strtodouble(text.data(), text.data() + text.size(), &value)) << text;
        double expected;
        std::from_chars(text.data(), text.data() + text.size(), expected);
        ASSERT_EQ(expected, value) << text;
    }
}

TEST(DoubleText, WithoutADigitIsNone) {
    for (const char* text :
         {".", "-.", "e1", ".e1", "1e", "1e+", "1e-", "1.e", "1..", "1e1.", "1e1e1", "1 ", "1x", "--1"}) {
        double value = 77;
        EXPECT_FALSE(strtodouble(text, &value)) << text;
        EXPECT_EQ(77, value) << text;
    }
}

// The digits that fit are read in one run, and one more by the checked one: both know the same numbers.
TEST(IntegerText, AgreesAtEveryLength) {
    const char all[] = "12345678901234567890";
    for (int length = 1; length <= 20; ++length) {
        const std::string text(all, static_cast<std::size_t>(length));
        const std::uint64_t expected = std::stoull(text);
        for (const bool terminated : {false, true}) {
            SCOPED_TRACE(text);
            const char* e = text.data() + length;
            std::uint64_t u64 = 77;
            EXPECT_TRUE(terminated ? strtouint64(text.c_str(), &u64) : strtouint64(text.data(), e, &u64));
            EXPECT_EQ(expected, u64);
            std::int64_t i64 = 77;
            EXPECT_EQ(length < 20, terminated ? strtoint64(text.c_str(), &i64) : strtoint64(text.data(), e, &i64));
            EXPECT_EQ(length < 20 ? static_cast<std::int64_t>(expected) : 77, i64);
            int i32 = 77;
            if (length <= 10) {
                EXPECT_TRUE(terminated ? strtoint(text.c_str(), &i32) : strtoint(text.data(), e, &i32));
                EXPECT_EQ(static_cast<int>(expected), i32);
            }
            const std::string broken = text.substr(0, text.size() - 1) + ":";
            EXPECT_FALSE(terminated ? strtoint(broken.c_str(), &i32)
                                    : strtoint(broken.data(), broken.data() + length, &i32));
            EXPECT_FALSE(terminated ? strtoint64(broken.c_str(), &i64)
                                    : strtoint64(broken.data(), broken.data() + length, &i64));
        }
    }
}

}  // namespace
