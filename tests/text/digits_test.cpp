#include <velmora/text/digits.h>

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <string>

namespace {

using velmora::detail::kMostDigits;
using velmora::detail::putDecimal;

// With a byte after the last one that it may write, which must stay.
template <class T>
void expectDecimal(T v) {
    char text[kMostDigits + 1];
    text[kMostDigits] = '#';
    char* const end = putDecimal(v, text);
    ASSERT_EQ(std::to_string(v), std::string(text, end));
    ASSERT_EQ('#', text[kMostDigits]);
}

template <class T>
class Digits : public testing::Test {};
using Numbers = testing::Types<int, unsigned, std::int64_t, std::uint64_t>;
TYPED_TEST_SUITE(Digits, Numbers, );

TYPED_TEST(Digits, AreThoseOfTheNumber) {
    using Limits = std::numeric_limits<TypeParam>;
    // Around every power of ten and of two, and at both ends, with either sign where there are two.
    for (const std::uint64_t base : {10, 2}) {
        for (std::uint64_t power = 1;; power *= base) {
            for (int offset = -2; offset <= 2; ++offset) {
                const auto v = static_cast<TypeParam>(power + static_cast<std::uint64_t>(offset));
                ASSERT_NO_FATAL_FAILURE(expectDecimal(v));
                ASSERT_NO_FATAL_FAILURE(expectDecimal(static_cast<TypeParam>(0 - static_cast<std::uint64_t>(v))));
            }
            if (power > static_cast<std::uint64_t>(Limits::max()) / base) break;
        }
    }
    for (const TypeParam v : {Limits::min(), Limits::max()}) ASSERT_NO_FATAL_FAILURE(expectDecimal(v));
}

// Every four digits in each of the places that a step of eight has for them.
TEST(DigitsOfParts, AreThoseOfEveryPart) {
    for (std::uint64_t four = 0; four < 10000; ++four) {
        for (std::uint64_t scale : {1ull, 10000ull, 100000000ull, 1000000000000ull, 10000000000000000ull}) {
            if (scale == 10000000000000000ull && four > 1844) continue;
            ASSERT_NO_FATAL_FAILURE(expectDecimal(four * scale));
            ASSERT_NO_FATAL_FAILURE(expectDecimal(four * scale + (scale - 1)));
        }
    }
}

}  // namespace
