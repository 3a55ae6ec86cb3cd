#include <velmora/text/numbers.h>

#include <gtest/gtest.h>

#include <cerrno>
#include <clocale>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <limits>
#include <random>
#include <regex>
#include <string>

#include "tests/support/all_texts.h"
#include "tests/support/guard_page.h"
#include "tests/support/locale_scope.h"

namespace {

using support::GuardedBytes;

template <class T>
using Zero = bool (*)(const char*, T*);
template <class T>
using Range = bool (*)(const char*, const char*, T*);

// One place for all texts, since thousands of them are tried.
support::GuardedRoom& room() {
    static support::GuardedRoom theRoom;
    return theRoom;
}

// What a conversion does with its output: the number; "no" when the result is false and the output untouched;
// "no, N" when the result is false and N is stored. Two calls with different outputs tell what is stored.
template <class T, class Convert>
std::string outcome(Convert convert) {
    T first = 77;
    T second = 78;
    bool ok = convert(&first);
    if (convert(&second) != ok) return "(differs from call to call)";
    bool untouched = first == 77 && second == 78;
    if (untouched) return ok ? "(nothing stored)" : "no";
    if (first != second) return "(stored now and then)";
    return (ok ? "" : "no, ") + std::to_string(first);
}

// The terminator is the last byte that may be read.
template <class T>
std::string ofZero(Zero<T> convert, const std::string& text) {
    const char* s = room().put(text + '\0');
    return outcome<T>([&](T* out) { return convert(s, out); });
}

// No byte behind the range may be read.
template <class T>
std::string ofRange(Range<T> convert, const std::string& text) {
    const char* b = room().put(text);
    return outcome<T>([&](T* out) { return convert(b, room().end(), out); });
}

struct Row {
    int line;
    std::string text;
    std::string outcome;
};

template <class T, std::size_t N>
void expectZero(Zero<T> convert, const Row (&rows)[N]) {
    for (const Row& row : rows) {
        SCOPED_TRACE(row.line);
        EXPECT_EQ(row.outcome, ofZero<T>(convert, row.text)) << row.text;
    }
}

template <class T, std::size_t N>
void expectRange(Range<T> convert, const Row (&rows)[N]) {
    for (const Row& row : rows) {
        SCOPED_TRACE(row.line);
        EXPECT_EQ(row.outcome, ofRange<T>(convert, row.text)) << row.text;
    }
}

std::uint64_t bitsOf(double value) {
    std::uint64_t bits;
    std::memcpy(&bits, &value, sizeof bits);
    return bits;
}

}  // namespace

// --- Zero-terminated: hexadecimal and base 2 ---

TEST(StrToHexZero, Grammar) {
    static const Row rows[] = {
        {__LINE__, "0", "0"},
        {__LINE__, "1f", "31"},
        {__LINE__, "1F", "31"},
        {__LINE__, "0x1F", "31"},
        {__LINE__, "1FH", "31"},
        {__LINE__, "0x1FH", "31"},
        {__LINE__, "0123456", "1193046"},
        {__LINE__, "789abcde", "2023406814"},
        {__LINE__, "89ABCDEF", "2309737967"},
        {__LINE__, "FFFFFFFF", "4294967295"},
        // What stands behind an 'H' is not looked at.
        {__LINE__, "12Hxyz", "18"},
        {__LINE__, "12HH", "18"},
        {__LINE__, "FFFFFFFFH0", "4294967295"},
        // Leading zeros are free.
        {__LINE__, "000000001", "1"},
        {__LINE__, "0x000000000000FFFFFFFFH", "4294967295"},
        // A digit too many.
        {__LINE__, "100000000", "no"},
        {__LINE__, "FFFFFFFF0", "no"},
        {__LINE__, "0x100000000", "no"},
        {__LINE__, "100000000H", "no"},
        // Without a digit 0 is stored all the same.
        {__LINE__, "", "no, 0"},
        {__LINE__, "H", "no, 0"},
        {__LINE__, "H1", "no, 0"},
        {__LINE__, "0x", "no, 0"},
        {__LINE__, "0xH", "no, 0"},
        // The prefix is lower-case, stands first and stands once; 'H' is upper-case.
        {__LINE__, "0X1", "no"},
        {__LINE__, "00x1", "no"},
        {__LINE__, "0x0x10", "no"},
        {__LINE__, "x1", "no"},
        {__LINE__, "12h", "no"},
        {__LINE__, "1G", "no"},
        {__LINE__, "1g", "no"},
        {__LINE__, "1@", "no"},
        {__LINE__, "1`", "no"},
        {__LINE__, "1/", "no"},
        {__LINE__, "1:", "no"},
        {__LINE__, " 1", "no"},
        {__LINE__, "1 ", "no"},
        {__LINE__, "+1", "no"},
        {__LINE__, "-1", "no"},
        {__LINE__, "1\xFF", "no"},
    };
    expectZero<unsigned>(strtohex, rows);
}

TEST(StrToBinZero, Grammar) {
    static const Row rows[] = {
        {__LINE__, "0", "0"},
        {__LINE__, "101", "5"},
        {__LINE__, "101B", "5"},
        {__LINE__, "101Bxyz", "5"},
        {__LINE__, "0000101", "5"},
        {__LINE__, std::string(32, '1'), "4294967295"},
        // Bits leave at the top without a word.
        {__LINE__, std::string(40, '1'), "4294967295"},
        {__LINE__, "1" + std::string(32, '0'), "0"},
        {__LINE__, "1" + std::string(30, '0') + "11", "3"},
        {__LINE__, "", "no, 0"},
        {__LINE__, "B", "no, 0"},
        {__LINE__, "B1", "no, 0"},
        {__LINE__, "102", "no"},
        {__LINE__, "101b", "no"},
        {__LINE__, "0b1", "no"},
        {__LINE__, "0x1", "no"},
        {__LINE__, " 1", "no"},
        {__LINE__, "1 ", "no"},
        {__LINE__, "-1", "no"},
        {__LINE__, "1H", "no"},
    };
    expectZero<unsigned>(strtobin, rows);
}

// --- Zero-terminated: the runtime's converters ---

TEST(StrToUIntZero, Grammar) {
    static const Row rows[] = {
        {__LINE__, "0", "0"},
        {__LINE__, "5", "5"},
        {__LINE__, "+5", "5"},
        {__LINE__, "  5", "5"},
        {__LINE__, "\t\n +5", "5"},
        {__LINE__, "010", "10"},
        {__LINE__, "0000000000000000000000000000042", "42"},
        {__LINE__, "4294967295", "4294967295"},
        {__LINE__, "0x10", "16"},
        {__LINE__, "0xfF", "255"},
        {__LINE__, "0xFFFFFFFF", "4294967295"},
        {__LINE__, "0x000000001", "1"},
        // A sign wraps.
        {__LINE__, "-1", "4294967295"},
        {__LINE__, "-4294967295", "1"},
        {__LINE__, " -2", "4294967294"},
        // A `long` of 64 bits does not widen the number.
        {__LINE__, "4294967296", "no"},
        {__LINE__, "-4294967296", "no"},
        {__LINE__, "9999999999", "no"},
        {__LINE__, "18446744073709551615", "no"},
        {__LINE__, "18446744073709551616", "no"},
        {__LINE__, "-18446744073709551615", "no"},
        {__LINE__, "0x100000000", "no"},
        // What is left behind the prefix is the runtime's: nothing at all is 0, white space alone is no number.
        {__LINE__, "0x", "0"},
        {__LINE__, "0x ", "no"},
        {__LINE__, "0xg", "no"},
        {__LINE__, "", "no"},
        {__LINE__, " ", "no"},
        {__LINE__, "+", "no"},
        {__LINE__, "-", "no"},
        {__LINE__, "- 5", "no"},
        {__LINE__, "5 ", "no"},
        {__LINE__, "5x", "no"},
        {__LINE__, "12a", "no"},
        {__LINE__, "1.0", "no"},
        {__LINE__, "10H", "no"},
        // The prefix is lower-case and stands at the very first byte.
        {__LINE__, "0X10", "no"},
        {__LINE__, " 0x10", "no"},
        {__LINE__, "+0x10", "no"},
        {__LINE__, "-0x10", "no"},
    };
    expectZero<unsigned>(strtouint, rows);
}

TEST(StrToIntZero, Grammar) {
    static const Row rows[] = {
        {__LINE__, "0", "0"},
        {__LINE__, "-0", "0"},
        {__LINE__, "5", "5"},
        {__LINE__, "+5", "5"},
        {__LINE__, "-5", "-5"},
        {__LINE__, " \t-5", "-5"},
        {__LINE__, "010", "10"},
        {__LINE__, "2147483647", "2147483647"},
        {__LINE__, "-2147483648", "-2147483648"},
        {__LINE__, "0x10", "16"},
        {__LINE__, "0x7FFFFFFF", "2147483647"},
        // The sign may stand behind the prefix, where the runtime's converter begins.
        {__LINE__, "0x-5", "-5"},
        {__LINE__, "2147483648", "no"},
        {__LINE__, "-2147483649", "no"},
        {__LINE__, "4294967295", "no"},
        {__LINE__, "9999999999", "no"},
        {__LINE__, "9223372036854775808", "no"},
        {__LINE__, "0x80000000", "no"},
        {__LINE__, "0xFFFFFFFF", "no"},
        {__LINE__, "0x", "0"},
        {__LINE__, "0x ", "no"},
        {__LINE__, "", "no"},
        {__LINE__, "   ", "no"},
        {__LINE__, "+", "no"},
        {__LINE__, "+-5", "no"},
        {__LINE__, "5 ", "no"},
        {__LINE__, "1FH", "no"},
        {__LINE__, "0X10", "no"},
        {__LINE__, " 0x10", "no"},
        {__LINE__, "-0x10", "no"},
        {__LINE__, "+0x10", "no"},
    };
    expectZero<int>(strtoint, rows);
}

TEST(StrToInt64Zero, Grammar) {
    static const Row rows[] = {
        {__LINE__, "0", "0"},
        {__LINE__, "+5", "5"},
        {__LINE__, " -5", "-5"},
        {__LINE__, "010", "10"},
        {__LINE__, "2147483648", "2147483648"},
        {__LINE__, "9223372036854775807", "9223372036854775807"},
        {__LINE__, "-9223372036854775808", "-9223372036854775808"},
        {__LINE__, "0000000000000000000000000000042", "42"},
        {__LINE__, "9223372036854775808", "no"},
        {__LINE__, "-9223372036854775809", "no"},
        {__LINE__, "0x10", "no"},
        {__LINE__, "0x", "no"},
        {__LINE__, "10H", "no"},
        {__LINE__, "", "no"},
        {__LINE__, " ", "no"},
        {__LINE__, "-", "no"},
        {__LINE__, "5 ", "no"},
    };
    expectZero<std::int64_t>(strtoint64, rows);
}

TEST(StrToUInt64Zero, Grammar) {
    static const Row rows[] = {
        {__LINE__, "0", "0"},
        {__LINE__, "+5", "5"},
        {__LINE__, " 5", "5"},
        {__LINE__, "010", "10"},
        {__LINE__, "18446744073709551615", "18446744073709551615"},
        {__LINE__, "-1", "18446744073709551615"},
        {__LINE__, "18446744073709551616", "no"},
        {__LINE__, "99999999999999999999", "no"},
        {__LINE__, "0x10", "no"},
        {__LINE__, "0x", "no"},
        {__LINE__, "10H", "no"},
        {__LINE__, "", "no"},
        {__LINE__, " ", "no"},
        {__LINE__, "+", "no"},
        {__LINE__, "5 ", "no"},
    };
    expectZero<std::uint64_t>(strtouint64, rows);
}

TEST(StrToNumberZero, NullIsNoNumber) {
    const char* null = nullptr;
    EXPECT_EQ("no", outcome<unsigned>([&](unsigned* out) { return strtouint(null, out); }));
    EXPECT_EQ("no", outcome<int>([&](int* out) { return strtoint(null, out); }));
    EXPECT_EQ("no", outcome<std::int64_t>([&](std::int64_t* out) { return strtoint64(null, out); }));
    EXPECT_EQ("no", outcome<std::uint64_t>([&](std::uint64_t* out) { return strtouint64(null, out); }));
    EXPECT_EQ("no", outcome<double>([&](double* out) { return strtodouble(null, out); }));
}

// An error that some earlier call left in errno is not this number's.
TEST(StrToNumberZero, ErrorsOfEarlierCallsDoNotCount) {
    unsigned u = 0;
    int i = 0;
    std::int64_t i64 = 0;
    std::uint64_t u64 = 0;
    double d = 0;
    errno = ERANGE;
    EXPECT_TRUE(strtouint("1", &u));
    errno = ERANGE;
    EXPECT_TRUE(strtoint("2", &i));
    errno = ERANGE;
    EXPECT_TRUE(strtoint64("3", &i64));
    errno = ERANGE;
    EXPECT_TRUE(strtouint64("4", &u64));
    errno = ERANGE;
    EXPECT_TRUE(strtodouble("5", &d));
    EXPECT_EQ(1u, u);
    EXPECT_EQ(2, i);
    EXPECT_EQ(3, i64);
    EXPECT_EQ(4u, u64);
    EXPECT_EQ(5.0, d);
    const char text[] = "6";
    errno = ERANGE;
    EXPECT_TRUE(strtodouble(text, text + 1, &d));
    EXPECT_EQ(6.0, d);
}

// --- Ranges: hexadecimal ---

TEST(StrToHexRange, Grammar) {
    static const Row rows[] = {
        {__LINE__, "0", "0"},
        {__LINE__, "1f", "31"},
        {__LINE__, "1F", "31"},
        {__LINE__, "0x1F", "31"},
        {__LINE__, "1FH", "31"},
        {__LINE__, "0x1FH", "31"},
        {__LINE__, "abcdef", "11259375"},
        {__LINE__, "ABCDEF", "11259375"},
        {__LINE__, "12345678", "305419896"},
        {__LINE__, "00000001", "1"},
        {__LINE__, "FFFFFFFF", "4294967295"},
        {__LINE__, "0xFFFFFFFFH", "4294967295"},
        // Leading zeros count here; prefix and 'H' do not.
        {__LINE__, "000000001", "no"},
        {__LINE__, "0x000000001", "no"},
        {__LINE__, "000000001H", "no"},
        {__LINE__, "100000000", "no"},
        // A body without a digit stores 0.
        {__LINE__, "", "no, 0"},
        {__LINE__, "H", "no, 0"},
        {__LINE__, "0x", "no, 0"},
        {__LINE__, "0xH", "no, 0"},
        // One prefix and one 'H' only, and nothing behind the 'H'.
        {__LINE__, "0x0x10", "no"},
        {__LINE__, "10HH", "no"},
        {__LINE__, "12Hx", "no"},
        {__LINE__, "12H3", "no"},
        {__LINE__, "0X1", "no"},
        {__LINE__, "12h", "no"},
        {__LINE__, "1G", "no"},
        {__LINE__, "1g", "no"},
        {__LINE__, "1@", "no"},
        {__LINE__, "1`", "no"},
        {__LINE__, "1/", "no"},
        {__LINE__, "1:", "no"},
        {__LINE__, " 1", "no"},
        {__LINE__, "1 ", "no"},
        {__LINE__, "-1", "no"},
        {__LINE__, "+1", "no"},
        {__LINE__, std::string("1\0", 2), "no"},
        {__LINE__, "1\xFF", "no"},
    };
    expectRange<unsigned>(strtohex, rows);
}

// --- Ranges: decimal, with the hexadecimal forms ---

namespace {

// What the two 32-bit functions agree on.
const Row commonRows[] = {
    {__LINE__, "0", "0"},
    {__LINE__, "5", "5"},
    {__LINE__, "010", "10"},
    {__LINE__, "1234567890", "1234567890"},
    {__LINE__, "2147483647", "2147483647"},
    {__LINE__, "00000000000000000001", "1"},
    {__LINE__, "00000000002147483647", "2147483647"},
    {__LINE__, "000000000000000000001", "no"},
    {__LINE__, "000000000000000000000", "no"},
    // The hexadecimal forms.
    {__LINE__, "1FH", "31"},
    {__LINE__, "0x1F", "31"},
    {__LINE__, "0x1FH", "31"},
    {__LINE__, "10H", "16"},
    {__LINE__, "0H", "0"},
    {__LINE__, "0x0", "0"},
    {__LINE__, "abH", "171"},
    {__LINE__, "0xab", "171"},
    {__LINE__, "7FFFFFFFH", "2147483647"},
    {__LINE__, "00000001H", "1"},
    // The range form of hexadecimal makes its own two tests, so that the marks stack.
    {__LINE__, "0x0x10", "16"},
    {__LINE__, "10HH", "16"},
    {__LINE__, "0x10HH", "16"},
    {__LINE__, "0x0x10H", "16"},
    {__LINE__, "0x0x10HH", "16"},
    {__LINE__, "0x0x0x10", "no"},
    {__LINE__, "10HHH", "no"},
    {__LINE__, "0x10HHH", "no"},
    // More than eight digits, leading zeros counted.
    {__LINE__, "000000001H", "no"},
    {__LINE__, "0x000000001", "no"},
    {__LINE__, "100000000H", "no"},
    // Without a digit: refused, with the 0 that the hexadecimal form stores.
    {__LINE__, "H", "no, 0"},
    {__LINE__, "HH", "no, 0"},
    {__LINE__, "0x", "no, 0"},
    {__LINE__, "0xH", "no, 0"},
    {__LINE__, "0xHH", "no, 0"},
    {__LINE__, "0x0x", "no, 0"},
    {__LINE__, "0x0xH", "no, 0"},
    // No sign with hexadecimal, and no other case of the marks.
    {__LINE__, "-1FH", "no"},
    {__LINE__, "+1FH", "no"},
    {__LINE__, "-0x1F", "no"},
    {__LINE__, "+0x1F", "no"},
    {__LINE__, "0x-1", "no"},
    {__LINE__, "0X1F", "no"},
    {__LINE__, "1Fh", "no"},
    {__LINE__, "0x1G", "no"},
    {__LINE__, "GH", "no"},
    {__LINE__, "-H", "no"},
    {__LINE__, "1F", "no"},
    {__LINE__, "x", "no"},
    {__LINE__, "x1", "no"},
    {__LINE__, "", "no"},
    {__LINE__, "+", "no"},
    {__LINE__, "-", "no"},
    {__LINE__, "+-5", "no"},
    {__LINE__, "--5", "no"},
    {__LINE__, "5-", "no"},
    {__LINE__, " 5", "no"},
    {__LINE__, "5 ", "no"},
    {__LINE__, "\t5", "no"},
    {__LINE__, "5.0", "no"},
    {__LINE__, "1,000", "no"},
    {__LINE__, std::string("5\0", 2), "no"},
    {__LINE__, std::string("\0", 1), "no"},
    {__LINE__, "5\xB2", "no"},
};

}  // namespace

TEST(StrToIntRange, GrammarOfBoth) { expectRange<int>(strtoint, commonRows); }
TEST(StrToUIntRange, GrammarOfBoth) { expectRange<unsigned>(strtouint, commonRows); }

TEST(StrToIntRange, SignAndOverflow) {
    static const Row rows[] = {
        {__LINE__, "-5", "-5"},
        {__LINE__, "+5", "5"},
        {__LINE__, "-0", "0"},
        {__LINE__, "+0", "0"},
        {__LINE__, "-2147483647", "-2147483647"},
        {__LINE__, "+2147483647", "2147483647"},
        {__LINE__, "-0000000000000000001", "-1"},
        {__LINE__, "-00000000000000000001", "no"},
        {__LINE__, "+00000000000000000001", "no"},
        // Hexadecimal is the pattern of 32 bits.
        {__LINE__, "FFFFFFFFH", "-1"},
        {__LINE__, "0xFFFFFFFF", "-1"},
        {__LINE__, "80000000H", "-2147483648"},
        {__LINE__, "0x80000000", "-2147483648"},
        // Refused before the sign is applied, so that the smallest integer cannot be written in decimal.
        {__LINE__, "2147483648", "no"},
        {__LINE__, "-2147483648", "no"},
        {__LINE__, "-2147483649", "no"},
        {__LINE__, "4294967295", "no"},
        {__LINE__, "4294967296", "no"},
        {__LINE__, "4300000000", "no"},
        {__LINE__, "29999999999", "no"},
        {__LINE__, "99999999999", "no"},
        {__LINE__, "99999999999999999999", "no"},
        // A wrap that lands above the value before it is not seen.
        {__LINE__, "4999999999", "705032703"},
        {__LINE__, "5000000000", "705032704"},
        {__LINE__, "9999999999", "1410065407"},
        {__LINE__, "-9999999999", "-1410065407"},
        {__LINE__, "00000000009999999999", "1410065407"},
    };
    expectRange<int>(strtoint, rows);
}

TEST(StrToUIntRange, SignAndOverflow) {
    static const Row rows[] = {
        {__LINE__, "+5", "no"},
        {__LINE__, "-5", "no"},
        {__LINE__, "-0", "no"},
        {__LINE__, "+0", "no"},
        {__LINE__, "2147483648", "2147483648"},
        {__LINE__, "4294967295", "4294967295"},
        {__LINE__, "00000000004294967295", "4294967295"},
        {__LINE__, "FFFFFFFFH", "4294967295"},
        {__LINE__, "0xFFFFFFFF", "4294967295"},
        {__LINE__, "0x80000000H", "2147483648"},
        {__LINE__, "4294967296", "no"},
        {__LINE__, "4300000000", "no"},
        {__LINE__, "99999999999", "no"},
        {__LINE__, "99999999999999999999", "no"},
        {__LINE__, "4999999999", "705032703"},
        {__LINE__, "9999999999", "1410065407"},
        {__LINE__, "29999999999", "4230196223"},
        {__LINE__, "49999999999", "2755359743"},
    };
    expectRange<unsigned>(strtouint, rows);
}

TEST(StrToInt64Range, Grammar) {
    static const Row rows[] = {
        {__LINE__, "0", "0"},
        {__LINE__, "-0", "0"},
        {__LINE__, "+5", "5"},
        {__LINE__, "-5", "-5"},
        {__LINE__, "010", "10"},
        {__LINE__, "9999999999", "9999999999"},
        {__LINE__, "-2147483648", "-2147483648"},
        {__LINE__, "9223372036854775807", "9223372036854775807"},
        {__LINE__, "-9223372036854775807", "-9223372036854775807"},
        {__LINE__, "00000000000000000001", "1"},
        {__LINE__, "-0000000000000000001", "-1"},
        {__LINE__, "000000000000000000001", "no"},
        {__LINE__, "-00000000000000000001", "no"},
        {__LINE__, "9223372036854775808", "no"},
        {__LINE__, "-9223372036854775808", "no"},
        {__LINE__, "9999999999999999999", "no"},
        {__LINE__, "18446744073709551616", "no"},
        {__LINE__, "30000000000000000000", "no"},
        {__LINE__, "99999999999999999999", "no"},
        // The same gap, at the twentieth digit. No room is left for a sign.
        {__LINE__, "21000000000000000000", "2553255926290448384"},
        {__LINE__, "-21000000000000000000", "no"},
        // No hexadecimal forms.
        {__LINE__, "0x10", "no"},
        {__LINE__, "0x", "no"},
        {__LINE__, "10H", "no"},
        {__LINE__, "H", "no"},
        {__LINE__, "1F", "no"},
        {__LINE__, "", "no"},
        {__LINE__, "+", "no"},
        {__LINE__, "-", "no"},
        {__LINE__, "--1", "no"},
        {__LINE__, " 1", "no"},
        {__LINE__, "1 ", "no"},
        {__LINE__, std::string("1\0", 2), "no"},
    };
    expectRange<std::int64_t>(strtoint64, rows);
}

TEST(StrToUInt64Range, Grammar) {
    static const Row rows[] = {
        {__LINE__, "0", "0"},
        {__LINE__, "010", "10"},
        {__LINE__, "9223372036854775808", "9223372036854775808"},
        {__LINE__, "9999999999999999999", "9999999999999999999"},
        {__LINE__, "18446744073709551615", "18446744073709551615"},
        {__LINE__, "00000000000000000001", "1"},
        {__LINE__, "000000000000000000001", "no"},
        {__LINE__, "18446744073709551616", "no"},
        {__LINE__, "99999999999999999999", "no"},
        {__LINE__, "21000000000000000000", "2553255926290448384"},
        {__LINE__, "30000000000000000000", "11553255926290448384"},
        {__LINE__, "+5", "no"},
        {__LINE__, "-5", "no"},
        {__LINE__, "-0", "no"},
        {__LINE__, "0x10", "no"},
        {__LINE__, "0x", "no"},
        {__LINE__, "10H", "no"},
        {__LINE__, "H", "no"},
        {__LINE__, "", "no"},
        {__LINE__, " 1", "no"},
        {__LINE__, "1 ", "no"},
        {__LINE__, std::string("1\0", 2), "no"},
    };
    expectRange<std::uint64_t>(strtouint64, rows);
}

TEST(StrToNumberRange, NullAndInvertedAreNoNumbers) {
    static const char text[] = "1234";
    static const struct {
        int line;
        const char* begin;
        const char* end;
    } rows[] = {
        {__LINE__, nullptr, nullptr},
        {__LINE__, text + 2, text + 1},
        {__LINE__, text + 4, text},
        {__LINE__, text + 2, text + 2},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.line);
        const char* b = row.begin;
        const char* e = row.end;
        EXPECT_EQ("no", outcome<int>([&](int* out) { return strtoint(b, e, out); }));
        EXPECT_EQ("no", outcome<unsigned>([&](unsigned* out) { return strtouint(b, e, out); }));
        EXPECT_EQ("no", outcome<std::int64_t>([&](std::int64_t* out) { return strtoint64(b, e, out); }));
        EXPECT_EQ("no", outcome<std::uint64_t>([&](std::uint64_t* out) { return strtouint64(b, e, out); }));
        EXPECT_EQ("no", outcome<double>([&](double* out) { return strtodouble(b, e, out); }));
    }
}

// Only the bytes of the range are looked at, whatever stands behind them.
TEST(StrToNumberRange, EndsAtItsEnd) {
    const char text[] = "0x12345H.5";
    EXPECT_EQ("0", outcome<int>([&](int* out) { return strtoint(text, text + 1, out); }));
    EXPECT_EQ("1", outcome<int>([&](int* out) { return strtoint(text, text + 3, out); }));
    EXPECT_EQ("4660", outcome<unsigned>([&](unsigned* out) { return strtouint(text, text + 6, out); }));
    EXPECT_EQ("4660", outcome<unsigned>([&](unsigned* out) { return strtohex(text, text + 6, out); }));
    EXPECT_EQ("123", outcome<std::int64_t>([&](std::int64_t* out) { return strtoint64(text + 2, text + 5, out); }));
    EXPECT_EQ("12", outcome<std::uint64_t>([&](std::uint64_t* out) { return strtouint64(text + 2, text + 4, out); }));
    EXPECT_EQ(std::to_string(12.0), outcome<double>([&](double* out) { return strtodouble(text + 2, text + 4, out); }));
}

TEST(StrToNumberRange, EveryByteAloneAndBehindADigit) {
    for (int i = 0; i < 256; ++i) {
        SCOPED_TRACE(i);
        const char c = static_cast<char>(i);
        const bool digit = c >= '0' && c <= '9';
        const int letter = c >= 'a' && c <= 'f' ? c - 'a' + 10 : c >= 'A' && c <= 'F' ? c - 'A' + 10 : -1;
        const int hex = digit ? c - '0' : letter;
        const std::string alone(1, c);
        const std::string second{'1', c};

        const std::string number = digit ? std::to_string(c - '0') : "no";
        const std::string number2 = digit ? std::to_string(10 + c - '0') : "no";
        EXPECT_EQ(c == 'H' ? "no, 0" : number, ofRange<int>(strtoint, alone));
        EXPECT_EQ(c == 'H' ? "no, 0" : number, ofRange<unsigned>(strtouint, alone));
        EXPECT_EQ(number, ofRange<std::int64_t>(strtoint64, alone));
        EXPECT_EQ(number, ofRange<std::uint64_t>(strtouint64, alone));
        EXPECT_EQ(c == 'H' ? "1" : number2, ofRange<int>(strtoint, second));
        EXPECT_EQ(c == 'H' ? "1" : number2, ofRange<unsigned>(strtouint, second));
        EXPECT_EQ(number2, ofRange<std::int64_t>(strtoint64, second));
        EXPECT_EQ(number2, ofRange<std::uint64_t>(strtouint64, second));

        EXPECT_EQ(c == 'H' ? "no, 0" : hex >= 0 ? std::to_string(hex) : "no", ofRange<unsigned>(strtohex, alone));
        EXPECT_EQ(c == 'H' ? "1" : hex >= 0 ? std::to_string(16 + hex) : "no", ofRange<unsigned>(strtohex, second));
        if (c == 0) continue;
        EXPECT_EQ(c == 'H' ? "no, 0" : hex >= 0 ? std::to_string(hex) : "no", ofZero<unsigned>(strtohex, alone));
        EXPECT_EQ(c == 'H' ? "1" : hex >= 0 ? std::to_string(16 + hex) : "no", ofZero<unsigned>(strtohex, second));
    }
}

// Every short text against the grammar as a pattern.
TEST(StrToNumberRange, EveryShortTextByItsPattern) {
    const std::regex signedNumber("0x(0x)?[0-9A-F]+H?H?|[0-9A-F]+HH?|[+-]?[0-9]+");
    const std::regex unsignedNumber("0x(0x)?[0-9A-F]+H?H?|[0-9A-F]+HH?|[0-9]+");
    const std::regex signed64("[+-]?[0-9]+");
    const std::regex unsigned64("[0-9]+");
    const std::regex hexRange("(0x)?[0-9A-F]+H?");
    for (const std::string& text : support::allTexts({"0x", "7", "F", "H", "-"}, 4)) {
        const char* b = room().put(text);
        const char* e = room().end();
        int i;
        unsigned u;
        std::int64_t i64;
        std::uint64_t u64;
        EXPECT_EQ(std::regex_match(text, signedNumber), strtoint(b, e, &i)) << text;
        EXPECT_EQ(std::regex_match(text, unsignedNumber), strtouint(b, e, &u)) << text;
        EXPECT_EQ(std::regex_match(text, signed64), strtoint64(b, e, &i64)) << text;
        EXPECT_EQ(std::regex_match(text, unsigned64), strtouint64(b, e, &u64)) << text;
        EXPECT_EQ(std::regex_match(text, hexRange), strtohex(b, e, &u)) << text;
    }
}

TEST(StrToHexZero, EveryShortTextByItsPattern) {
    const std::regex pattern("(0x)?[0-9A-F]+(H.*)?");
    for (const std::string& text : support::allTexts({"0x", "7", "F", "H", "-"}, 4)) {
        unsigned u;
        EXPECT_EQ(std::regex_match(text, pattern), strtohex(room().put(text + '\0'), &u)) << text;
    }
}

// --- Floating point ---

namespace {

struct DoubleRow {
    int line;
    std::string text;
    bool ok;
    double value;
};

constexpr double kUntouched = 12345.678;
constexpr double kInfinity = std::numeric_limits<double>::infinity();

const DoubleRow doubleRows[] = {
    {__LINE__, "0", true, 0.0},
    {__LINE__, "1", true, 1.0},
    {__LINE__, "1.5", true, 1.5},
    {__LINE__, "-1.5", true, -1.5},
    {__LINE__, "+1.5", true, 1.5},
    {__LINE__, "-0", true, -0.0},
    {__LINE__, ".5", true, 0.5},
    {__LINE__, "5.", true, 5.0},
    {__LINE__, "1e3", true, 1000.0},
    {__LINE__, "1E+3", true, 1000.0},
    {__LINE__, "25e-2", true, 0.25},
    {__LINE__, " 1.5", true, 1.5},
    {__LINE__, "\t\n1.5", true, 1.5},
    {__LINE__, "1.7976931348623157e308", true, std::numeric_limits<double>::max()},
    {__LINE__, "2.2250738585072014e-308", true, std::numeric_limits<double>::min()},
    {__LINE__, "1" + std::string(48, '0'), true, 1e48},
    {__LINE__, "1e999", false, 0},
    {__LINE__, "-1e999", false, 0},
    {__LINE__, "1.8e308", false, 0},
    {__LINE__, "", false, 0},
    {__LINE__, " ", false, 0},
    {__LINE__, ".", false, 0},
    {__LINE__, "+", false, 0},
    {__LINE__, "e3", false, 0},
    {__LINE__, "1e", false, 0},
    {__LINE__, "1,5", false, 0},
    {__LINE__, "1.5 ", false, 0},
    {__LINE__, "1.5.5", false, 0},
    {__LINE__, "1.5x", false, 0},
    {__LINE__, "- 1", false, 0},
    {__LINE__, "10H", false, 0},
    {__LINE__, "word", false, 0},
    {__LINE__, " \t\n\v\f\r1.5", true, 1.5},
    {__LINE__,
     "\xA0"
     "1.5",
     false, 0},
    {__LINE__, "+-1", false, 0},
    {__LINE__, "--1", false, 0},
    {__LINE__, "+.5e0", true, 0.5},
    {__LINE__, "1e+", false, 0},
    {__LINE__, "1e99999999999999999999", false, 0},
    {__LINE__, "0e99999999999999999999", true, 0.0},
    {__LINE__, "0e-99999999999999999999", true, 0.0},
    // Words and base 16.
    {__LINE__, "inf", true, kInfinity},
    {__LINE__, "-INFinity", true, -kInfinity},
    {__LINE__, "infinit", false, 0},
    {__LINE__, "nan(", false, 0},
    {__LINE__, "nan(1-)", false, 0},
    {__LINE__, "0x10", true, 16.0},
    {__LINE__, "-0X1.8p1", true, -3.0},
    {__LINE__, "0x.8", true, 0.5},
    {__LINE__, "0x1.", true, 1.0},
    {__LINE__, "0x1P-4", true, 0.0625},
    {__LINE__, "0x", false, 0},
    {__LINE__, "0x.", false, 0},
    {__LINE__, "0x1p", false, 0},
    {__LINE__, "0x-1", false, 0},
    {__LINE__, "0x+1", false, 0},
    {__LINE__, "0xinf", false, 0},
    {__LINE__, "0xnan", false, 0},
    {__LINE__, "0x0x1", false, 0},
    {__LINE__, "0x 1", false, 0},
    {__LINE__, "0x1p1024", false, 0},
    // Underflow: below the normal range, and not just what the text says. The last text that comes to the least normal
    // number and is an underflow, and the first that is none.
    {__LINE__, "1e-310", false, 0},
    {__LINE__, "-1e-310", false, 0},
    {__LINE__, "4.9406564584124654e-324", false, 0},
    {__LINE__, "2e-324", false, 0},
    {__LINE__, "1e-400", false, 0},
    {__LINE__, "1e-99999999999999999999", false, 0},
    {__LINE__, "2.2250738585072011e-308", false, 0},
    {__LINE__, "2.2250738585072012e-308", false, 0},
    {__LINE__, "2.225073858507201259e-308", false, 0},
    {__LINE__, "2.225073858507201260e-308", true, std::numeric_limits<double>::min()},
    {__LINE__, "0000.0222507385850720130e-306", true, std::numeric_limits<double>::min()},
    {__LINE__, "0x1p-1074", true, std::numeric_limits<double>::denorm_min()},
    {__LINE__, "0x0.0008p-1061", true, std::numeric_limits<double>::denorm_min()},
    {__LINE__, "0x1p-1075", false, 0},
    {__LINE__, "0x1.8p-1074", false, 0},
    {__LINE__, "0x0.fffffffffffffp-1022", true, 2.2250738585072009e-308},
    {__LINE__, "0x0.fffffffffffff7p-1022", false, 0},
    {__LINE__, "0x0.fffffffffffff8p-1022", false, 0},
    {__LINE__, "0x0.fffffffffffffbp-1022", false, 0},
    {__LINE__, "0x0.fffffffffffffcp-1022", true, std::numeric_limits<double>::min()},
    {__LINE__, "0x1.00000000000001p-1022", true, std::numeric_limits<double>::min()},
};

}  // namespace

TEST(StrToDoubleZero, Grammar) {
    support::LocaleScope numbers(LC_NUMERIC, "C");
    for (const DoubleRow& row : doubleRows) {
        SCOPED_TRACE(row.line);
        GuardedBytes bytes(row.text + '\0');
        double value = kUntouched;
        EXPECT_EQ(row.ok, strtodouble(bytes.begin(), &value));
        EXPECT_EQ(bitsOf(row.ok ? row.value : kUntouched), bitsOf(value));
    }
}

TEST(StrToDoubleRange, Grammar) {
    support::LocaleScope numbers(LC_NUMERIC, "C");
    for (const DoubleRow& row : doubleRows) {
        SCOPED_TRACE(row.line);
        GuardedBytes bytes(row.text);
        double value = kUntouched;
        EXPECT_EQ(row.ok, strtodouble(bytes.begin(), bytes.end(), &value));
        EXPECT_EQ(bitsOf(row.ok ? row.value : kUntouched), bitsOf(value));
    }
}

TEST(StrToDoubleRange, ZeroByteIsLeftOver) {
    support::LocaleScope numbers(LC_NUMERIC, "C");
    for (const std::string& text : {std::string(1, '\0'), std::string("1.5\0", 4), std::string("1.5\0junk", 8),
                                    std::string("\0"
                                                "1.5",
                                                4)}) {
        GuardedBytes bytes(text);
        double value = kUntouched;
        EXPECT_FALSE(strtodouble(bytes.begin(), bytes.end(), &value));
        EXPECT_EQ(kUntouched, value);
    }
}

TEST(StrToDoubleRange, TakesFortyNineBytes) {
    support::LocaleScope numbers(LC_NUMERIC, "C");
    const struct {
        int line;
        std::string text;
        bool ok;
        double value;
    } rows[] = {
        {__LINE__, std::string(48, '0') + "7", true, 7.0},
        {__LINE__, std::string(49, '0') + "7", false, 0},
        {__LINE__, "1" + std::string(48, '0'), true, 1e48},
        {__LINE__, "1" + std::string(49, '0'), false, 0},
        {__LINE__, "0." + std::string(46, '0') + "1", true, 1e-47},
        {__LINE__, "0." + std::string(47, '0') + "1", false, 0},
        {__LINE__, std::string(48, ' ') + "7", true, 7.0},
        {__LINE__, std::string(49, ' ') + "7", false, 0},
        {__LINE__, std::string(200, '0') + "7", false, 0},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.line);
        GuardedBytes bytes(row.text);
        double value = kUntouched;
        EXPECT_EQ(row.ok, strtodouble(bytes.begin(), bytes.end(), &value));
        EXPECT_EQ(row.ok ? row.value : kUntouched, value);
        // The zero-terminated form has no such limit.
        GuardedBytes terminated(row.text + '\0');
        EXPECT_TRUE(strtodouble(terminated.begin(), &value));
    }
}

TEST(StrToDoubleZero, NanHasTheSignOfItsText) {
    for (const char* text : {"nan", "-nan", "+NaN", "-nan()", "nan(12_aZ)"}) {
        SCOPED_TRACE(text);
        double value = kUntouched;
        ASSERT_TRUE(strtodouble(text, &value));
        EXPECT_TRUE(std::isnan(value));
        EXPECT_EQ(*text == '-', std::signbit(value));
    }
}

// Every digit counts: a number below the normal range written out is none, and with a digit more it is an underflow.
TEST(StrToDoubleZero, UnderflowsWhereADigitIsLeftOver) {
    for (double value : {std::numeric_limits<double>::denorm_min(), 0x1.8p-1070, 0x0.fffffffffffffp-1022, 0x1p-1030}) {
        char text[1200];
        std::snprintf(text, sizeof text, "%.1074f", value);
        double read = kUntouched;
        EXPECT_TRUE(strtodouble(text, &read)) << value;
        EXPECT_EQ(bitsOf(value), bitsOf(read));
        EXPECT_FALSE(strtodouble((text + std::string("01")).c_str(), &read)) << value;
        EXPECT_EQ(ERANGE, errno);
        EXPECT_TRUE(strtodouble((text + std::string("00")).c_str(), &read)) << value;
    }
}

#ifdef __GLIBC__
// The C library in the locale of C is the measure, value by value and error by error.
TEST(StrToDoubleZero, AgreesWithTheCLibrary) {
    support::LocaleScope numbers(LC_NUMERIC, "C");
    std::mt19937_64 random(20261122);
    auto expectAgrees = [](const std::string& text) {
        char* end;
        errno = 0;
        const double expected = std::strtod(text.c_str(), &end);
        const bool ok = errno == 0 && *end == 0 && !text.empty();
        double value = kUntouched;
        ASSERT_EQ(ok, strtodouble(text.c_str(), &value)) << text;
        if (ok && !std::isnan(expected)) {
            ASSERT_EQ(bitsOf(expected), bitsOf(value)) << text;
        }
    };
    const char* const pieces[] = {"0", "1",   "9",   ".", "e", "-", "+",  "0x",  "p",
                                  "f", "inf", "nan", "(", ")", " ", "\v", "308", "1074"};
    for (int round = 0; round < 60000; ++round) {
        std::string text;
        switch (round % 3) {
            case 0:  // nonsense that is near to numbers
                for (auto n = random() % 7; n > 0; --n) text += pieces[random() % std::size(pieces)];
                break;
            case 1: {  // the least numbers and what lies between them
                char buffer[1200];
                std::snprintf(buffer, sizeof buffer, "%.*e", static_cast<int>(random() % 30),
                              0x1p-1022 * static_cast<double>(random()) / 0x1p63 * (random() % 2 ? 1 : 0x1p-40));
                text = buffer;
                break;
            }
            default: {  // base 16, at the least normal number and below
                // Either few digits or more than 60 bits: of a text that ends in its 54th bit glibc drops that bit.
                const char* const digits[] = {"0", "f", "8", "7", "c", "b", "1"};
                text = random() % 2 ? "0x0." : "0x1.";
                for (auto n = random() % 12; n > 0; --n) text += digits[random() % std::size(digits)];
                if (text[2] == '1' && random() % 2) {
                    text.resize(4 + 12, random() % 2 ? 'f' : '0');
                    for (int n = 0; n < 4; ++n) text += digits[random() % std::size(digits)];
                    text += '1';
                }
                text += "p-" + std::to_string(1010 + random() % 70);
            }
        }
        expectAgrees(text);
        if (HasFatalFailure()) return;
    }
    for (const char* tail : {"1", "2", "25", "257", "2595738212", "2595738213", "3", "4"})
        expectAgrees(std::string("2.22507385850720") + tail + "e-308");
}
#endif

TEST(StrToDoubleRange, NullIsNoNumber) {
    const char* null = nullptr;
    double value = kUntouched;
    EXPECT_FALSE(strtodouble(null, null, &value));
    EXPECT_EQ(kUntouched, value);
}

namespace {

// Puts a locale other than "C" in force for numbers. Returns: its name, empty if the system has none.
std::string setOtherNumbers() {
    for (const char* name : {"de_DE.UTF-8", "ru_RU.UTF-8", "en_US.UTF-8", "C.UTF-8", "German_Germany.1252",
                             "English_United States.1252", "de-DE"}) {
        if (!std::setlocale(LC_NUMERIC, name)) continue;
        std::string inForce = std::setlocale(LC_NUMERIC, nullptr);
        if (inForce != "C") return inForce;
    }
    return std::string();
}

}  // namespace

// One test for the whole life of the guard, since nothing sets it back; a repeated run finds it set.
TEST(StrToDoubleInit, RepairsTheLocaleOnceAndLeavesLaterChanges) {
    support::LocaleScope numbers(LC_NUMERIC, "C");
    static bool guardIsSet = false;
    const std::string other = setOtherNumbers();
    if (other.empty()) GTEST_SKIP() << "the system has no other locale for numbers";
    if (!guardIsSet) {
        guardIsSet = true;
        strtodouble_init();
        EXPECT_STREQ("C", std::setlocale(LC_NUMERIC, nullptr));
        double value = 0;
        EXPECT_TRUE(strtodouble("1.5", &value));
        EXPECT_EQ(1.5, value);
        ASSERT_EQ(other, setOtherNumbers());
    }
    strtodouble_init();
    EXPECT_EQ(other, std::setlocale(LC_NUMERIC, nullptr));
}

// --- Range forms against zero-terminated ones, where the grammars agree ---

namespace {

constexpr int kRounds = 3000;

class Texts {
public:
    // At most `most` of these bytes.
    std::string some(const char* bytes, unsigned most) {
        std::string text(below(most + 1), '\0');
        for (char& c : text) c = bytes[below(static_cast<unsigned>(std::strlen(bytes)))];
        return text;
    }

    // Up to `bits` bits, with all lengths alike.
    std::uint64_t number(unsigned bits) {
        std::uint64_t value = random_();
        value = value << 32 | random_();
        return value >> (64 - bits + below(bits));
    }

    std::string sign() { return below(3) == 0 ? "-" : below(2) == 0 ? "+" : ""; }
    std::string zeros(unsigned most) { return std::string(below(most + 1), '0'); }
    unsigned below(unsigned n) { return static_cast<unsigned>(random_() % n); }

    // Makes a number invalid for both grammars.
    std::string spoil(std::string text) {
        static const char bad[] = "gZ.,_/:;@`\x7F\x80\xFF";
        text[below(static_cast<unsigned>(text.size()))] = bad[below(sizeof bad - 1)];
        return text;
    }

private:
    std::mt19937 random_{20240611};
};

std::string hexText(std::uint64_t value, bool upper) {
    char text[20];
    std::snprintf(text, sizeof text, upper ? "%llX" : "%llx", static_cast<unsigned long long>(value));
    return text;
}

template <class T>
void expectAgreement(Range<T> range, Zero<T> zero, const std::string& text, T value) {
    EXPECT_EQ(std::to_string(value), ofRange<T>(range, text)) << text;
    EXPECT_EQ(std::to_string(value), ofZero<T>(zero, text)) << text;
}

template <class T>
void expectRefusal(Range<T> range, Zero<T> zero, const std::string& text) {
    EXPECT_EQ("no", ofRange<T>(range, text)) << text;
    EXPECT_EQ("no", ofZero<T>(zero, text)) << text;
}

}  // namespace

TEST(StrToNumberForms, AgreeOnInt) {
    Texts texts;
    for (int i = 0; i < kRounds; ++i) {
        const auto value = static_cast<int>(texts.number(31));
        const std::string sign = texts.sign();
        const std::string decimal = sign + texts.zeros(9) + std::to_string(value);
        expectAgreement<int>(strtoint, strtoint, decimal, sign == "-" ? -value : value);
        expectRefusal<int>(strtoint, strtoint, texts.spoil(decimal));
        const std::string hex = hexText(static_cast<unsigned>(value), texts.below(2) == 0);
        expectAgreement<int>(strtoint, strtoint, "0x" + texts.zeros(8u - static_cast<unsigned>(hex.size())) + hex,
                             value);
    }
}

TEST(StrToNumberForms, AgreeOnUInt) {
    Texts texts;
    for (int i = 0; i < kRounds; ++i) {
        const auto value = static_cast<unsigned>(texts.number(32));
        const std::string decimal = texts.zeros(10) + std::to_string(value);
        expectAgreement<unsigned>(strtouint, strtouint, decimal, value);
        expectRefusal<unsigned>(strtouint, strtouint, texts.spoil(decimal));
        const std::string hex = hexText(value, texts.below(2) == 0);
        expectAgreement<unsigned>(strtouint, strtouint,
                                  "0x" + texts.zeros(8u - static_cast<unsigned>(hex.size())) + hex, value);
    }
}

TEST(StrToNumberForms, AgreeOnInt64) {
    Texts texts;
    for (int i = 0; i < kRounds; ++i) {
        const auto value = static_cast<std::int64_t>(texts.number(63));
        const std::string sign = texts.sign();
        std::string decimal = std::to_string(value);
        decimal = sign + texts.zeros(19u - static_cast<unsigned>(decimal.size())) + decimal;
        expectAgreement<std::int64_t>(strtoint64, strtoint64, decimal, sign == "-" ? -value : value);
        expectRefusal<std::int64_t>(strtoint64, strtoint64, texts.spoil(decimal));
    }
}

TEST(StrToNumberForms, AgreeOnUInt64) {
    Texts texts;
    for (int i = 0; i < kRounds; ++i) {
        const std::uint64_t value = texts.number(64);
        std::string decimal = std::to_string(value);
        decimal = texts.zeros(20u - static_cast<unsigned>(decimal.size())) + decimal;
        expectAgreement<std::uint64_t>(strtouint64, strtouint64, decimal, value);
        expectRefusal<std::uint64_t>(strtouint64, strtouint64, texts.spoil(decimal));
    }
}

// Up to eight digits without an 'H' inside, good or bad, and with what they store.
TEST(StrToNumberForms, AgreeOnHex) {
    Texts texts;
    int good = 0;
    for (int i = 0; i < kRounds; ++i) {
        const std::string text = (texts.below(2) == 0 ? "0x" : "") +
                                 texts.some(i % 2 == 0 ? "0123456789abcdefABCDEF" : "09afAFgGx +-", 8) +
                                 (texts.below(2) == 0 ? "H" : "");
        const std::string range = ofRange<unsigned>(strtohex, text);
        EXPECT_EQ(ofZero<unsigned>(strtohex, text), range) << text;
        if (range[0] != 'n') ++good;
    }
    EXPECT_LT(kRounds / 4, good);
    EXPECT_GT(kRounds, good);
}

TEST(StrToNumberForms, AgreeOnDouble) {
    support::LocaleScope numbers(LC_NUMERIC, "C");
    Texts texts;
    for (int i = 0; i < kRounds; ++i) {
        const std::uint64_t bits = texts.number(64);
        double written;
        std::memcpy(&written, &bits, sizeof written);
        std::string text = texts.some("0123456789+-.e ", 49);
        const bool isNumber = i % 2 == 0 && std::isnormal(written);
        if (isNumber) {
            char buffer[50];
            std::snprintf(buffer, sizeof buffer, "%.17g", written);
            text = buffer;
        }
        double value = kUntouched;
        double other = kUntouched;
        const bool ok = strtodouble(room().put(text), room().end(), &value);
        EXPECT_EQ(strtodouble(room().put(text + '\0'), &other), ok) << text;
        EXPECT_EQ(bitsOf(other), bitsOf(value)) << text;
        if (isNumber) {
            EXPECT_TRUE(ok) << text;
            EXPECT_EQ(bits, bitsOf(value)) << text;
        }
    }
}

// --- Hex dumps ---

TEST(StrToBinDump, ReadsPairsUpToTheFirstBadOne) {
    static const struct {
        int line;
        std::string text;  // nothing behind it may be read
        int size;
        std::string bytes;
    } rows[] = {
        {__LINE__, "AB01", 2, "\xAB\x01"},
        {__LINE__, "ab01", 2, "\xAB\x01"},
        {__LINE__, "aBcDeF", 3, "\xAB\xCD\xEF"},
        {__LINE__, "0123456789", 5, "\x01\x23\x45\x67\x89"},
        {__LINE__, "FF", 1, "\xFF"},
        // No more than `size` bytes, and nothing at all for 0.
        {__LINE__, "AB01", 1, "\xAB"},
        {__LINE__, "", 0, ""},
        // Short texts.
        {__LINE__, std::string("AB\0", 3), 3, std::string("\xAB\0\0", 3)},
        {__LINE__, std::string("\0", 1), 2, std::string("\0\0", 2)},
        // An odd last digit is dropped.
        {__LINE__, std::string("ABC\0", 4), 3, std::string("\xAB\0\0", 3)},
        {__LINE__, std::string("A\0", 2), 1, std::string("\0", 1)},
        // A bad first or second digit; good pairs behind it are not read.
        {__LINE__, "12G4567", 3, std::string("\x12\0\0", 3)},
        {__LINE__, "123g567", 3, std::string("\x12\0\0", 3)},
        {__LINE__, "12 34", 2, std::string("\x12\0", 2)},
        {__LINE__, "0x12", 2, std::string("\0\0", 2)},
        {__LINE__, "12H", 2, std::string("\x12\0", 2)},
        {__LINE__, "1@", 1, std::string("\0", 1)},
        {__LINE__, "1`", 1, std::string("\0", 1)},
        {__LINE__, "1/", 1, std::string("\0", 1)},
        {__LINE__, "1:", 1, std::string("\0", 1)},
        {__LINE__, "1\xC1", 1, std::string("\0", 1)},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.line);
        GuardedBytes text(row.text);
        GuardedBytes out(std::string(static_cast<std::size_t>(row.size), '\xEE'));
        str2bin(text.begin(), out.begin(), row.size);
        EXPECT_EQ(row.bytes, std::string(out.begin(), out.end()));
    }
}

TEST(StrToBinDump, LeavesWhatIsBehindTheSize) {
    char out[4] = {'\xEE', '\xEE', '\xEE', '\xEE'};
    str2bin("01", out, 2);
    EXPECT_EQ(std::string("\x01\0\xEE\xEE", 4), std::string(out, 4));
    str2bin("FFFF", out, 0);
    EXPECT_EQ(std::string("\x01\0\xEE\xEE", 4), std::string(out, 4));
}

TEST(BinToStrDump, WritesUpperCasePairsWithoutATerminator) {
    unsigned char bytes[] = {0xAB, 0x01};
    char out[6] = {'#', '#', '#', '#', '#', '#'};
    bin2str(bytes, 2, out);
    EXPECT_EQ("AB01##", std::string(out, 6));
    bin2str(bytes, 0, out + 4);
    EXPECT_EQ("AB01##", std::string(out, 6));
    bin2str(bytes + 1, 1, out);
    EXPECT_EQ("0101##", std::string(out, 6));
    EXPECT_EQ(0xAB, bytes[0]);
    EXPECT_EQ(0x01, bytes[1]);
}

TEST(BinToStrDump, EveryByteComesBack) {
    std::string all;
    std::string text;
    for (int i = 0; i < 256; ++i) {
        char pair[3];
        std::snprintf(pair, sizeof pair, "%02X", static_cast<unsigned>(i));
        all += static_cast<char>(i);
        text += pair;
    }
    GuardedBytes in(all);
    GuardedBytes out(std::string(512, '#'));
    bin2str(in.begin(), 256, out.begin());
    EXPECT_EQ(text, std::string(out.begin(), out.end()));
    GuardedBytes back(std::string(256, '#'));
    str2bin(out.begin(), back.begin(), 256);
    EXPECT_EQ(all, std::string(back.begin(), back.end()));
}
