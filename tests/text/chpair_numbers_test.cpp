#include <gtest/gtest.h>

#include <climits>
#include <clocale>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <limits>
#include <optional>
#include <string>

#include <velmora/serial/tags.h>
#include <velmora/text/chpair.h>
#include <velmora/text/numbers.h>

#include "tests/support/all_texts.h"
#include "tests/support/guard_page.h"
#include "tests/support/locale_scope.h"
#include "tests/support/message.h"

namespace {

using support::GuardedBytes;

constexpr std::nullopt_t none = std::nullopt;

// What an action makes of a view against a guard page: the number, or "!" and the message. The view and its bytes must
// stay as they were.
template <class Read>
std::string read(const std::string& text, Read action) {
    GuardedBytes bytes(text);
    const ChPair view(bytes.begin(), bytes.end());
    std::string number;
    const std::string thrown = support::thrownMessage([&] { number = std::to_string(action(view)); });
    EXPECT_EQ(bytes.begin(), view.begin);
    EXPECT_EQ(bytes.end(), view.end);
    EXPECT_EQ(text, std::string(bytes.begin(), bytes.end()));
    return thrown == "(nothing)" ? number : "!" + thrown;
}

template <class T>
struct BoundsRow {
    int line;
    std::string text;
    std::optional<T> min;
    std::optional<T> max;
    std::string result;
};

template <class T, std::size_t N>
void expectParsed(T (ChPair::*parse)(T*, T*) const, const BoundsRow<T> (&rows)[N]) {
    for (const BoundsRow<T>& row : rows) {
        SCOPED_TRACE(row.line);
        T min = row.min.value_or(0);
        T max = row.max.value_or(0);
        EXPECT_EQ(row.result, read(row.text, [&](const ChPair& view) {
                      return (view.*parse)(row.min ? &min : nullptr, row.max ? &max : nullptr);
                  }));
        EXPECT_EQ(row.min.value_or(0), min);
        EXPECT_EQ(row.max.value_or(0), max);
    }
}

const char kInvalid[] = "!LCA__Invalid_integer_value";
const char kOutOfRange[] = "!LCA__Integer_value_is_out_of_range";

}  // namespace

// --- get... ---

TEST(ChPairGet, IsTheRangeFunction) {
    support::GuardedRoom room;
    for (const std::string& text : support::allTexts({"0x", "1", "F", "H", "-", ".", " ", "99999999"}, 3)) {
        char* b = room.put(text);
        char* e = room.end();
        const ChPair view(b, e);
        int i = 77, i2 = 77;
        unsigned u = 77, u2 = 77;
        std::int64_t i64 = 77, i642 = 77;
        std::uint64_t u64 = 77, u642 = 77;
        double d = 77, d2 = 77;
        EXPECT_EQ(strtoint(b, e, &i), view.getInt(i2)) << text;
        EXPECT_EQ(strtouint(b, e, &u), view.getUInt(u2)) << text;
        EXPECT_EQ(strtoint64(b, e, &i64), view.getInt64(i642)) << text;
        EXPECT_EQ(strtouint64(b, e, &u64), view.getUInt64(u642)) << text;
        EXPECT_EQ(strtodouble(b, e, &d), view.getDouble(d2)) << text;
        EXPECT_EQ(i, i2) << text;
        EXPECT_EQ(u, u2) << text;
        EXPECT_EQ(i64, i642) << text;
        EXPECT_EQ(u64, u642) << text;
        EXPECT_EQ(d, d2) << text;
    }
}

TEST(ChPairGet, ReadsEachType) {
    int i = 0;
    unsigned u = 0;
    std::int64_t i64 = 0;
    std::uint64_t u64 = 0;
    double d = 0;
    EXPECT_TRUE(ChPair("-2147483647").getInt(i));
    EXPECT_EQ(-2147483647, i);
    EXPECT_TRUE(ChPair("FFFFFFFFH").getInt(i));
    EXPECT_EQ(-1, i);
    EXPECT_TRUE(ChPair("4294967295").getUInt(u));
    EXPECT_EQ(4294967295u, u);
    EXPECT_TRUE(ChPair("-9223372036854775807").getInt64(i64));
    EXPECT_EQ(-9223372036854775807, i64);
    EXPECT_TRUE(ChPair("18446744073709551615").getUInt64(u64));
    EXPECT_EQ(std::numeric_limits<std::uint64_t>::max(), u64);
    EXPECT_TRUE(ChPair("-0.5").getDouble(d));
    EXPECT_EQ(-0.5, d);
}

TEST(ChPairGet, NullViewIsNoNumber) {
    const ChPair null;
    int i = 77;
    unsigned u = 77;
    std::int64_t i64 = 77;
    std::uint64_t u64 = 77;
    double d = 77;
    EXPECT_FALSE(null.getInt(i));
    EXPECT_FALSE(null.getUInt(u));
    EXPECT_FALSE(null.getInt64(i64));
    EXPECT_FALSE(null.getUInt64(u64));
    EXPECT_FALSE(null.getDouble(d));
    EXPECT_EQ(77, i);
    EXPECT_EQ(77u, u);
    EXPECT_EQ(77, i64);
    EXPECT_EQ(77u, u64);
    EXPECT_EQ(77.0, d);
}

// --- Addresses ---

namespace {

const struct AddressRow {
    int line;
    std::string text;
    std::optional<unsigned> address;
} addressRows[] = {
    {__LINE__, "1.2.3.4", 0x01020304u},
    {__LINE__, "0.0.0.0", 0u},
    {__LINE__, "0.0.0.1", 1u},
    {__LINE__, "127.0.0.1", 0x7F000001u},
    {__LINE__, "192.168.10.200", 0xC0A80AC8u},
    {__LINE__, "255.255.255.255", 0xFFFFFFFFu},
    {__LINE__, "001.010.099.000", 0x010A6300u},
    // The end looks at the dots only: the last number may be missing.
    {__LINE__, "1.2.3.", 0x01020300u},
    {__LINE__, "", none},
    {__LINE__, "1", none},
    {__LINE__, "1.2", none},
    {__LINE__, "1.2.3", none},
    {__LINE__, "1.2.", none},
    {__LINE__, "1.2.3.4.", none},
    {__LINE__, "1.2.3.4.5", none},
    {__LINE__, "1.2.3..", none},
    {__LINE__, "...", none},
    {__LINE__, ".1.2.3", none},
    {__LINE__, ".1.2.3.4", none},
    {__LINE__, "1..2.3", none},
    {__LINE__, "1.2..3", none},
    {__LINE__, "256.1.1.1", none},
    {__LINE__, "1.256.1.1", none},
    {__LINE__, "1.1.256.1", none},
    {__LINE__, "1.1.1.256", none},
    {__LINE__, "999.1.1.1", none},
    {__LINE__, "1.2.3.0004", none},
    {__LINE__, "0001.2.3.4", none},
    {__LINE__, "1.2.3.4 ", none},
    {__LINE__, " 1.2.3.4", none},
    {__LINE__, "1. 2.3.4", none},
    {__LINE__, "1.2.3.4\n", none},
    {__LINE__, "+1.2.3.4", none},
    {__LINE__, "-1.2.3.4", none},
    {__LINE__, "1,2,3,4", none},
    {__LINE__, "0x1.2.3.4", none},
    {__LINE__, "a.b.c.d", none},
    {__LINE__, "1.2.3.4:80", none},
    {__LINE__, "1.2.3.4/", none},
    {__LINE__, std::string("1.2.3.4\0", 8), none},
    {__LINE__, "1.2.3.\xB4", none},
    {__LINE__, "16909060", none},
};

}  // namespace

TEST(ChPairGetIP, FourNumbersAndThreeDots) {
    for (const AddressRow& row : addressRows) {
        SCOPED_TRACE(row.line);
        GuardedBytes bytes(row.text);
        unsigned address = 0x55555555;
        EXPECT_EQ(row.address.has_value(), ChPair(bytes.begin(), bytes.end()).getIP(address));
        EXPECT_EQ(row.address.value_or(0), address);
    }
    unsigned address = 0x55555555;
    EXPECT_FALSE(ChPair().getIP(address));
    EXPECT_EQ(0u, address);
}

TEST(ChPairParseIP, ThrowsForEachTextThatIsNone) {
    for (const AddressRow& row : addressRows) {
        SCOPED_TRACE(row.line);
        EXPECT_EQ(row.address ? std::to_string(*row.address) : "!LCA__Invalid_IP_address",
                  read(row.text, [](const ChPair& view) { return view.parseIP(); }));
    }
    EXPECT_THROW_KEY(ChPair().parseIP(), LCA__Invalid_IP_address);
}

// --- parse... ---

TEST(ChPairParseInt, BoundsAreInclusive) {
    static const BoundsRow<int> rows[] = {
        {__LINE__, "5", none, none, "5"},
        {__LINE__, "-5", none, none, "-5"},
        {__LINE__, "1FH", none, none, "31"},
        {__LINE__, "0xFFFFFFFF", none, none, "-1"},
        {__LINE__, "2147483647", none, none, "2147483647"},
        {__LINE__, "80000000H", none, none, "-2147483648"},
        {__LINE__, "10", 10, 20, "10"},
        {__LINE__, "20", 10, 20, "20"},
        {__LINE__, "15", 15, 15, "15"},
        {__LINE__, "9", 10, 20, kOutOfRange},
        {__LINE__, "21", 10, 20, kOutOfRange},
        {__LINE__, "-1", 0, none, kOutOfRange},
        {__LINE__, "0", 0, none, "0"},
        {__LINE__, "2147483647", 0, none, "2147483647"},
        {__LINE__, "1", none, 0, kOutOfRange},
        {__LINE__, "0", none, 0, "0"},
        {__LINE__, "-2147483647", none, 0, "-2147483647"},
        {__LINE__, "80000000H", INT_MIN, INT_MAX, "-2147483648"},
        {__LINE__, "15", 20, 10, kOutOfRange},
        {__LINE__, "0xFFFFFFFF", 0, none, kOutOfRange},
        // A wrapped number is a number.
        {__LINE__, "9999999999", none, none, "1410065407"},
        // Text that is no number is that, whatever the bounds.
        {__LINE__, "", 0, 0, kInvalid},
        {__LINE__, "", none, none, kInvalid},
        {__LINE__, "five", none, none, kInvalid},
        {__LINE__, "5 ", none, none, kInvalid},
        {__LINE__, "H", none, none, kInvalid},
        {__LINE__, "2147483648", none, none, kInvalid},
        {__LINE__, "2147483648", 0, 10, kInvalid},
        {__LINE__, "-2147483648", INT_MIN, INT_MAX, kInvalid},
    };
    expectParsed(&ChPair::parseInt, rows);
}

TEST(ChPairParseUInt, BoundsAreInclusive) {
    static const BoundsRow<unsigned> rows[] = {
        {__LINE__, "5", none, none, "5"},
        {__LINE__, "4294967295", none, none, "4294967295"},
        {__LINE__, "0xFFFFFFFFH", none, none, "4294967295"},
        {__LINE__, "10", 10u, 20u, "10"},
        {__LINE__, "20", 10u, 20u, "20"},
        {__LINE__, "9", 10u, none, kOutOfRange},
        {__LINE__, "21", none, 20u, kOutOfRange},
        {__LINE__, "3000000000", 2147483647u, 4000000000u, "3000000000"},
        {__LINE__, "3000000000", 0u, 2147483647u, kOutOfRange},
        {__LINE__, "5", 3000000000u, none, kOutOfRange},
        {__LINE__, "4294967295", 4294967295u, 4294967295u, "4294967295"},
        {__LINE__, "", none, none, kInvalid},
        {__LINE__, "-1", none, none, kInvalid},
        {__LINE__, "+1", none, none, kInvalid},
        {__LINE__, "4294967296", none, none, kInvalid},
        {__LINE__, "4294967296", 0u, 5u, kInvalid},
    };
    expectParsed(&ChPair::parseUInt, rows);
}

TEST(ChPairParseInt64, BoundsAreInclusive) {
    static const BoundsRow<std::int64_t> rows[] = {
        {__LINE__, "5", none, none, "5"},
        {__LINE__, "-9223372036854775807", none, none, "-9223372036854775807"},
        {__LINE__, "9223372036854775807", none, none, "9223372036854775807"},
        {__LINE__, "-10", -10, 10, "-10"},
        {__LINE__, "10", -10, 10, "10"},
        {__LINE__, "-11", -10, 10, kOutOfRange},
        {__LINE__, "11", -10, 10, kOutOfRange},
        {__LINE__, "4294967296", 0, 4294967295, kOutOfRange},
        {__LINE__, "4294967296", 4294967296, none, "4294967296"},
        {__LINE__, "-4294967296", none, -4294967296, "-4294967296"},
        {__LINE__, "1", 4294967297, none, kOutOfRange},
        {__LINE__, "", none, none, kInvalid},
        {__LINE__, "0x10", none, none, kInvalid},
        {__LINE__, "10H", none, none, kInvalid},
        {__LINE__, "9223372036854775808", none, none, kInvalid},
        {__LINE__, "-9223372036854775808", 0, 0, kInvalid},
    };
    expectParsed(&ChPair::parseInt64, rows);
}

TEST(ChPairParseUInt64, BoundsAreInclusive) {
    static const BoundsRow<std::uint64_t> rows[] = {
        {__LINE__, "5", none, none, "5"},
        {__LINE__, "18446744073709551615", none, none, "18446744073709551615"},
        {__LINE__, "10", 10u, 20u, "10"},
        {__LINE__, "20", 10u, 20u, "20"},
        {__LINE__, "9", 10u, none, kOutOfRange},
        {__LINE__, "21", none, 20u, kOutOfRange},
        {__LINE__, "9223372036854775808", 9223372036854775807u, none, "9223372036854775808"},
        {__LINE__, "9223372036854775808", none, 9223372036854775807u, kOutOfRange},
        {__LINE__, "18446744073709551615", 18446744073709551615u, 18446744073709551615u, "18446744073709551615"},
        {__LINE__, "", none, none, kInvalid},
        {__LINE__, "+5", none, none, kInvalid},
        {__LINE__, "-5", none, none, kInvalid},
        {__LINE__, "0x10", none, none, kInvalid},
        {__LINE__, "18446744073709551616", 0u, 1u, kInvalid},
    };
    expectParsed(&ChPair::parseUInt64, rows);
}

TEST(ChPairParseDouble, BoundsAreInclusiveAndReportTheIntegerKey) {
    support::LocaleScope numbers(LC_NUMERIC, "C");
    static const struct {
        int line;
        std::string text;
        std::optional<double> min, max;
        std::optional<double> value;
        std::string thrown;
    } rows[] = {
        {__LINE__, "1.5", none, none, 1.5, "(nothing)"},
        {__LINE__, "-1e300", none, none, -1e300, "(nothing)"},
        {__LINE__, "1.5", 1.5, 1.5, 1.5, "(nothing)"},
        {__LINE__, "1.5", 1.0, 2.0, 1.5, "(nothing)"},
        {__LINE__, "1.5000001", none, 1.5, none, "LCA__Integer_value_is_out_of_range"},
        {__LINE__, "1.4999999", 1.5, none, none, "LCA__Integer_value_is_out_of_range"},
        {__LINE__, "2", 0.0, 1.0, none, "LCA__Integer_value_is_out_of_range"},
        {__LINE__, "-0", 0.0, none, -0.0, "(nothing)"},
        {__LINE__, "", none, none, none, "LCA__Invalid_double_value"},
        {__LINE__, "one", 0.0, 1.0, none, "LCA__Invalid_double_value"},
        {__LINE__, "1,5", none, none, none, "LCA__Invalid_double_value"},
        {__LINE__, "1.5 ", none, none, none, "LCA__Invalid_double_value"},
        {__LINE__, "1e999", none, none, none, "LCA__Invalid_double_value"},
        {__LINE__, std::string(49, '0'), 0.0, 0.0, 0.0, "(nothing)"},
        {__LINE__, std::string(50, '0'), 0.0, 0.0, none, "LCA__Invalid_double_value"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.line);
        GuardedBytes bytes(row.text);
        const ChPair view(bytes.begin(), bytes.end());
        double min = row.min.value_or(0);
        double max = row.max.value_or(0);
        std::optional<double> value;
        EXPECT_EQ(row.thrown, support::thrownMessage([&] {
                      value = view.parseDouble(row.min ? &min : nullptr, row.max ? &max : nullptr);
                  }));
        EXPECT_EQ(row.value, value);
        EXPECT_EQ(row.min.value_or(0), min);
        EXPECT_EQ(row.max.value_or(0), max);
        EXPECT_EQ(bytes.begin(), view.begin);
        EXPECT_EQ(bytes.end(), view.end);
    }
}

TEST(ChPairParseDouble, NaNLiesWithinAnyBounds) {
    support::LocaleScope numbers(LC_NUMERIC, "C");
    char* end;
    if (!std::isnan(std::strtod("nan", &end)) || *end) GTEST_SKIP() << "the runtime reads no NaN";
    double min = 1, max = 2;
    EXPECT_TRUE(std::isnan(ChPair("nan").parseDouble(&min, &max)));
    EXPECT_TRUE(std::isnan(ChPair("nan").parseDouble(&min, nullptr)));
    EXPECT_TRUE(std::isnan(ChPair("nan").parseDouble(nullptr, &max)));
    EXPECT_TRUE(std::isnan(ChPair("nan").parseDouble(nullptr, nullptr)));
}

TEST(ChPairParse, NullViewIsInvalid) {
    EXPECT_THROW_KEY(ChPair().parseInt(nullptr, nullptr), LCA__Invalid_integer_value);
    EXPECT_THROW_KEY(ChPair().parseUInt(nullptr, nullptr), LCA__Invalid_integer_value);
    EXPECT_THROW_KEY(ChPair().parseInt64(nullptr, nullptr), LCA__Invalid_integer_value);
    EXPECT_THROW_KEY(ChPair().parseUInt64(nullptr, nullptr), LCA__Invalid_integer_value);
    EXPECT_THROW_KEY(ChPair().parseDouble(nullptr, nullptr), LCA__Invalid_double_value);
}

// --- parseEnum ---

TEST(ChPairParseEnum, ValueOfAName) {
    static const PairTag tags[] = {{"red", 1}, {"Green", 2},  {"blue", 4}, {"sand", 6}, {"GREEN", 64},
                                   {"no", -1}, {"minus", -2}, {"zero", 0}, {}};
    static const PairTag withEmpty[] = {{"", 7}, {"red", 1}, {}};
    static const PairTag empty[] = {{}};
    static const char refused[] = "!LCA__Invalid_enum_value";
    static const struct {
        int line;
        const PairTag* tags;
        std::string text;
        int forbidden;
        std::string result;
    } rows[] = {
        {__LINE__, tags, "red", 0, "1"},
        {__LINE__, tags, "RED", 0, "1"},
        {__LINE__, tags, "GREEN", 0, "2"},
        {__LINE__, tags, "zero", 0, "0"},
        {__LINE__, tags, "zero", -1, "0"},
        {__LINE__, tags, "minus", 0, "4294967294"},
        {__LINE__, tags, "minus", 1, "4294967294"},
        {__LINE__, tags, "minus", 2, refused},
        {__LINE__, tags, "no", 0, refused},
        {__LINE__, tags, "yellow", 0, refused},
        {__LINE__, tags, "re", 0, refused},
        {__LINE__, tags, "redd", 0, refused},
        {__LINE__, tags, " red", 0, refused},
        {__LINE__, tags, "red ", 0, refused},
        {__LINE__, tags, "red blue", 0, refused},
        {__LINE__, tags, std::string("red\0", 4), 0, refused},
        {__LINE__, tags, "1", 0, refused},
        {__LINE__, tags, "", 0, refused},
        // One bit in common is enough.
        {__LINE__, tags, "red", 1, refused},
        {__LINE__, tags, "red", 6, "1"},
        {__LINE__, tags, "sand", 2, refused},
        {__LINE__, tags, "sand", 12, refused},
        {__LINE__, tags, "sand", 9, "6"},
        {__LINE__, tags, "blue", -1, refused},
        {__LINE__, withEmpty, "", 0, "7"},
        {__LINE__, withEmpty, " ", 0, refused},
        {__LINE__, empty, "red", 0, refused},
        {__LINE__, empty, "", 0, refused},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.line);
        EXPECT_EQ(row.result,
                  read(row.text, [&](const ChPair& view) { return view.parseEnum(row.tags, row.forbidden); }));
    }
    EXPECT_EQ(7u, ChPair().parseEnum(withEmpty, 0));
    EXPECT_THROW_KEY(ChPair().parseEnum(tags, 0), LCA__Invalid_enum_value);
}

// --- parseFlags ---

namespace {

std::string flags(const PairTag* tags, const std::string& text, int deprecated, bool strict) {
    return read(text, [&](const ChPair& view) { return view.parseFlags(tags, deprecated, strict); });
}

}  // namespace

TEST(ChPairParseFlags, CombinesTheNamesOfAList) {
    static const PairTag tags[] = {{"A", 1}, {"B", 2}, {"long", 4}, {"both", 3}, {"none", 0}, {"High", INT_MIN}, {}};
    static const PairTag withEmpty[] = {{"", 64}, {"A", 1}, {}};
    static const struct {
        int line;
        const PairTag* tags;
        std::string text;
        std::string result;
    } rows[] = {
        {__LINE__, tags, "", "0"},
        {__LINE__, tags, " ", "0"},
        {__LINE__, tags, "    ", "0"},
        {__LINE__, tags, "A", "1"},
        {__LINE__, tags, "a", "1"},
        {__LINE__, tags, "  A   b ", "3"},
        {__LINE__, tags, "A b LONG", "7"},
        {__LINE__, tags, "long A", "5"},
        {__LINE__, tags, "A A A", "1"},
        {__LINE__, tags, "A both", "3"},
        {__LINE__, tags, "none", "0"},
        {__LINE__, tags, "none B", "2"},
        {__LINE__, tags, "high a", "2147483649"},
        // A record without a name is not what stands between two blanks.
        {__LINE__, withEmpty, "  A  ", "1"},
        {__LINE__, withEmpty, "", "0"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.line);
        EXPECT_EQ(row.result, flags(row.tags, row.text, 0, true));
        EXPECT_EQ(row.result, flags(row.tags, row.text, 0, false));
        EXPECT_EQ(row.result, flags(row.tags, row.text, 32, true));
    }
    EXPECT_EQ(0u, ChPair().parseFlags(tags, -1, true));
}

TEST(ChPairParseFlags, UnknownAndDeprecatedNames) {
    static const PairTag tags[] = {{"A", 1}, {"B", 2}, {"old", 4}, {"alias", 4}, {"mixed", 12}, {"zero", 0}, {}};
    static const PairTag withAll[] = {{"A", 1}, {"all", -1}, {"every", -1}, {"old", 4}, {}};
    static const PairTag empty[] = {{}};
    static const struct {
        int line;
        const PairTag* tags;
        std::string text;
        int deprecated;
        bool strict;
        std::string result;
    } rows[] = {
        // Unknown names.
        {__LINE__, tags, "A what B", 0, false, "3"},
        {__LINE__, tags, "what", 0, false, "0"},
        {__LINE__, tags, "A WhAt B", 0, true, "!LCA__Invalid_flag_s(WhAt)"},
        {__LINE__, tags, "one two", 0, true, "!LCA__Invalid_flag_s(one)"},
        {__LINE__, tags, "A,B", 0, true, "!LCA__Invalid_flag_s(A,B)"},
        {__LINE__, tags, "AB", 0, true, "!LCA__Invalid_flag_s(AB)"},
        {__LINE__, tags, "mixe", 0, true, "!LCA__Invalid_flag_s(mixe)"},
        {__LINE__, empty, "A", 0, false, "0"},
        {__LINE__, empty, " A ", 0, true, "!LCA__Invalid_flag_s(A)"},
        // Only the blank stands between names.
        {__LINE__, tags, "A\tB", 0, true, "!LCA__Invalid_flag_s(A\tB)"},
        {__LINE__, tags, "A\nB", 0, true, "!LCA__Invalid_flag_s(A\nB)"},
        {__LINE__, tags, "A\tB", 0, false, "0"},
        // Deprecated names, shown by the first record with that very value.
        {__LINE__, tags, "old", 4, true, "!LCA__Deprecated_flag_s(old)"},
        {__LINE__, tags, "old", 4, false, "!LCA__Deprecated_flag_s(old)"},
        {__LINE__, tags, "OLD", 4, true, "!LCA__Deprecated_flag_s(old)"},
        {__LINE__, tags, "A alias B", 4, true, "!LCA__Deprecated_flag_s(old)"},
        {__LINE__, tags, "MIXED", 4, true, "!LCA__Deprecated_flag_s(mixed)"},
        {__LINE__, tags, "mixed", 8, true, "!LCA__Deprecated_flag_s(mixed)"},
        {__LINE__, tags, "old", 8, true, "4"},
        {__LINE__, tags, "A B", 4, true, "3"},
        {__LINE__, tags, "B A", 3, true, "!LCA__Deprecated_flag_s(B)"},
        {__LINE__, tags, "zero", -1, true, "0"},
        // The first name that is refused decides.
        {__LINE__, tags, "what old", 4, true, "!LCA__Invalid_flag_s(what)"},
        {__LINE__, tags, "old what", 4, true, "!LCA__Deprecated_flag_s(old)"},
        // An unknown name counts as -1, which has every bit.
        {__LINE__, tags, "A what B", 4, false, "!LCA__Deprecated_flag_s()"},
        {__LINE__, tags, "what", 32, false, "!LCA__Deprecated_flag_s()"},
        {__LINE__, tags, "what", 32, true, "!LCA__Invalid_flag_s(what)"},
        {__LINE__, empty, "what", 1, false, "!LCA__Deprecated_flag_s()"},
        {__LINE__, withAll, "what", 1, false, "!LCA__Deprecated_flag_s(all)"},
        // A name with the value -1 is treated like an unknown one.
        {__LINE__, withAll, "A every", 0, false, "1"},
        {__LINE__, withAll, "A Every", 0, true, "!LCA__Invalid_flag_s(Every)"},
        {__LINE__, withAll, "A every", 2, false, "!LCA__Deprecated_flag_s(all)"},
        {__LINE__, withAll, "A every", 2, true, "!LCA__Invalid_flag_s(every)"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.line);
        EXPECT_EQ(row.result, flags(row.tags, row.text, row.deprecated, row.strict));
    }
}

TEST(ChPairParseTags, MeasureTheTable) {
    const PairTag forEnum[] = {{"red", 1}, {"green", 2}, {}};
    EXPECT_EQ(2u, ChPair("green").parseEnum(forEnum, 0));
    EXPECT_EQ(forEnum[0].name + 3, forEnum[0].nameEnd);
    EXPECT_EQ(forEnum[1].name + 5, forEnum[1].nameEnd);
    EXPECT_EQ(nullptr, forEnum[2].nameEnd);

    const PairTag forFlags[] = {{"red", 1}, {"green", 2}, {}};
    EXPECT_EQ(1u, ChPair("red").parseFlags(forFlags, 0, true));
    EXPECT_EQ(forFlags[0].name + 3, forFlags[0].nameEnd);
    EXPECT_EQ(forFlags[1].name + 5, forFlags[1].nameEnd);
    EXPECT_EQ(nullptr, forFlags[2].nameEnd);
    EXPECT_STREQ("red", forFlags[0].name);
    EXPECT_EQ(1, forFlags[0].value);
    EXPECT_STREQ("green", forFlags[1].name);
    EXPECT_EQ(2, forFlags[1].value);
}
