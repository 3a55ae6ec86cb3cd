// Numbers, addresses, enums and flags out of text: the zero-terminated converters, the range converters, and the
// members of ChPair that throw.
#include <cerrno>
#include <climits>
#include <clocale>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <functional>
#include <iterator>
#include <limits>
#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

#include <velmora/velmora.h>

namespace {

using namespace std::string_view_literals;

const char* const pointNull = nullptr;

// A view with bytes on both sides that would change the number if the converter looked beyond it.
class Framed {
public:
    explicit Framed(std::string_view text, std::string_view tail = "7"sv)
        : store("-" + std::string(text) + std::string(tail)), size(text.size()) {}
    const char* begin() const { return store.data() + 1; }
    const char* end() const { return begin() + size; }
    ChPair pair() const { return ChPair(begin(), end()); }
    bool untouched(std::string_view text, const ChPair& view) const {
        return view.begin == begin() && view.end == end() && std::string_view(begin(), size) == text;
    }

private:
    std::string store;
    std::size_t size;
};

const std::string_view tails[] = {"7"sv, "H"sv, "0x1"sv, " "sv, "."sv, "B"sv, "\0"sv};

std::string rowName(int line, std::string_view text) {
    return "row at line " + std::to_string(line) + ": \"" + std::string(text) + "\"";
}

const unsigned MARK = 0x5A5A5A5Au;

template <class T>
struct ZeroRow {
    int line;
    const char* text;
    bool ok;
    T out;  // expected content of the output, also when the result is false
};

template <class T, std::size_t N>
void checkZero(bool (*convert)(const char*, T*), const ZeroRow<T> (&rows)[N]) {
    for (const auto& row : rows) {
        SCOPED_TRACE(rowName(row.line, row.text ? row.text : "null"));
        for (int before : {0, ERANGE, EINVAL}) {
            T out = static_cast<T>(MARK);
            errno = before;  // an old error must not count as one of this conversion
            EXPECT_EQ(convert(row.text, &out), row.ok);
            EXPECT_EQ(out, row.out);
        }
    }
}

template <class T>
struct RangeRow {
    int line;
    std::string_view text;
    bool ok;
    T out;
};

template <class T, std::size_t N>
void checkRange(bool (*convert)(const char*, const char*, T*), bool (ChPair::*get)(T&) const,
                const RangeRow<T> (&rows)[N]) {
    for (const auto& row : rows) {
        SCOPED_TRACE(rowName(row.line, row.text));
        for (std::string_view tail : tails) {
            const Framed framed(row.text, tail);
            T out = static_cast<T>(MARK);
            errno = ERANGE;
            EXPECT_EQ(convert(framed.begin(), framed.end(), &out), row.ok);
            EXPECT_EQ(out, row.out);
            if (!get) continue;
            const ChPair view = framed.pair();
            out = static_cast<T>(MARK);
            EXPECT_EQ((view.*get)(out), row.ok);
            EXPECT_EQ(out, row.out);
            EXPECT_TRUE(framed.untouched(row.text, view));
        }
    }
}

// Null and inverted ranges. `text` holds digits on both sides, so that reading any of them would succeed.
template <class T>
void checkNoRange(bool (*convert)(const char*, const char*, T*)) {
    const char text[] = "1234";
    T out = static_cast<T>(MARK);
    EXPECT_FALSE(convert(pointNull, pointNull, &out));
    EXPECT_FALSE(convert(text + 2, text + 1, &out));
    EXPECT_FALSE(convert(text + 4, text, &out));
    EXPECT_FALSE(convert(text + 1, pointNull, &out));
    EXPECT_EQ(out, static_cast<T>(MARK));
}

// What `call` throws must be exactly `expected`: dictionary, key and parameters.
void expectThrown(const TTT& expected, const std::function<void()>& call) {
    try {
        call();
        ADD_FAILURE() << "nothing was thrown";
    } catch (const TTT& message) {
        int dict = -100, id = -100, wantedId = -100;
        EXPECT_TRUE(message.getIds(&dict, &id));
        EXPECT_TRUE(expected.getIds(nullptr, &wantedId));
        EXPECT_EQ(dict, static_cast<int>(VELMORA_DICT));
        EXPECT_EQ(id, wantedId);
        EXPECT_TRUE(message.getData() == expected.getData()) << "parameters differ";
    }
}

void expectThrown(int key, const std::function<void()>& call) { expectThrown(TTT(VELMORA_DICT, key), call); }

TEST(NumberTextZero, Hexadecimal) {
    const ZeroRow<unsigned> rows[] = {
        {__LINE__, "0", true, 0},
        {__LINE__, "1F", true, 0x1F},
        {__LINE__, "0x1F", true, 0x1F},
        {__LINE__, "0x1FH", true, 0x1F},
        {__LINE__, "1FH", true, 0x1F},
        {__LINE__, "0123456789", false, MARK},
        {__LINE__, "01234567", true, 0x01234567},
        {__LINE__, "89abcdef", true, 0x89ABCDEF},
        {__LINE__, "89ABCDEF", true, 0x89ABCDEF},
        {__LINE__, "aBcDeF", true, 0xABCDEF},
        // behind an 'H' anything may stand
        {__LINE__, "12Hxyz", true, 0x12},
        {__LINE__, "12H34567890123", true, 0x12},
        {__LINE__, "12HH", true, 0x12},
        {__LINE__, "FFFFFFFFH", true, 0xFFFFFFFF},
        // no digit: 0 is stored
        {__LINE__, "", false, 0},
        {__LINE__, "H", false, 0},
        {__LINE__, "H12", false, 0},
        {__LINE__, "0x", false, 0},
        {__LINE__, "0xH", false, 0},
        {__LINE__, "0xH1", false, 0},
        // no digits
        {__LINE__, "0X1", false, MARK},
        {__LINE__, "0x0x1", false, MARK},
        {__LINE__, "x1", false, MARK},
        {__LINE__, "12h", false, MARK},
        {__LINE__, "h", false, MARK},
        {__LINE__, "g", false, MARK},
        {__LINE__, "G", false, MARK},
        {__LINE__, "`", false, MARK},
        {__LINE__, "@", false, MARK},
        {__LINE__, "/", false, MARK},
        {__LINE__, ":", false, MARK},
        {__LINE__, "1G", false, MARK},
        {__LINE__, "1\x80", false, MARK},
        {__LINE__, " 1", false, MARK},
        {__LINE__, "1 ", false, MARK},
        {__LINE__, "-1", false, MARK},
        {__LINE__, "+1", false, MARK},
        // 32 bits, leading zeros are free
        {__LINE__, "FFFFFFFF", true, 0xFFFFFFFF},
        {__LINE__, "FFFFFFF", true, 0x0FFFFFFF},
        {__LINE__, "10000000", true, 0x10000000},
        {__LINE__, "100000000", false, MARK},
        {__LINE__, "FFFFFFFF0", false, MARK},
        {__LINE__, "FFFFFFFFF", false, MARK},
        {__LINE__, "0x100000000", false, MARK},
        {__LINE__, "100000000H", false, MARK},
        {__LINE__, "000000001", true, 1},
        {__LINE__, "0x000000001", true, 1},
        {__LINE__, "00000000000000000000000FFFFFFFF", true, 0xFFFFFFFF},
        {__LINE__, "0000000000000000000000010000000", true, 0x10000000},
        {__LINE__, "00000000000000000000000100000000", false, MARK},
        {__LINE__, "0000000000000", true, 0},
    };
    checkZero<unsigned>(strtohex, rows);
}

TEST(NumberTextZero, Binary) {
    const std::string ones(32, '1'), manyOnes(33, '1'), top = "1" + std::string(31, '0'),
                                                        gone = "1" + std::string(32, '0');
    const std::string mixed = "1" + std::string(30, '0') + "101";
    const ZeroRow<unsigned> rows[] = {
        {__LINE__, "0", true, 0},
        {__LINE__, "1", true, 1},
        {__LINE__, "101", true, 5},
        {__LINE__, "101B", true, 5},
        {__LINE__, "101Bxyz", true, 5},
        {__LINE__, "101B1", true, 5},
        {__LINE__, "000000000000000000000000000000000000000101", true, 5},
        {__LINE__, ones.c_str(), true, 0xFFFFFFFF},
        {__LINE__, manyOnes.c_str(), true, 0xFFFFFFFF},
        {__LINE__, top.c_str(), true, 0x80000000},
        {__LINE__, gone.c_str(), true, 0},
        {__LINE__, mixed.c_str(), true, 5},
        {__LINE__, "", false, 0},
        {__LINE__, "B", false, 0},
        {__LINE__, "B1", false, 0},
        {__LINE__, "102", false, MARK},
        {__LINE__, "1012", false, MARK},
        {__LINE__, "101b", false, MARK},
        {__LINE__, "b", false, MARK},
        {__LINE__, "0b1", false, MARK},
        {__LINE__, "0x1", false, MARK},
        {__LINE__, "101H", false, MARK},
        {__LINE__, " 1", false, MARK},
        {__LINE__, "1 ", false, MARK},
        {__LINE__, "-1", false, MARK},
        {__LINE__, "/", false, MARK},
    };
    checkZero<unsigned>(strtobin, rows);
}

TEST(NumberTextZero, Unsigned) {
    const ZeroRow<unsigned> rows[] = {
        {__LINE__, nullptr, false, MARK},
        {__LINE__, "", false, MARK},
        {__LINE__, "0", true, 0},
        {__LINE__, "5", true, 5},
        {__LINE__, "010", true, 10},
        {__LINE__, "+5", true, 5},
        {__LINE__, " 5", true, 5},
        {__LINE__, "\t\n 5", true, 5},
        {__LINE__, " +5", true, 5},
        {__LINE__, "4294967295", true, UINT_MAX},
        {__LINE__, "0000000000000000000000000004294967295", true, UINT_MAX},
        {__LINE__, "4294967296", false, MARK},
        {__LINE__, "9999999999", false, MARK},
        {__LINE__, "18446744073709551615", false, MARK},
        {__LINE__, "18446744073709551616", false, MARK},
        // a minus wraps within 32 bits
        {__LINE__, "-1", true, UINT_MAX},
        {__LINE__, "-0", true, 0},
        {__LINE__, "-4294967295", true, 1},
        {__LINE__, "-4294967296", false, MARK},
        {__LINE__, "-18446744073709551615", false, MARK},
        {__LINE__, "0x1F", true, 0x1F},
        {__LINE__, "0xabcDEF", true, 0xABCDEF},
        {__LINE__, "0xFFFFFFFF", true, UINT_MAX},
        {__LINE__, "0x0000000000FFFFFFFF", true, UINT_MAX},
        {__LINE__, "0x100000000", false, MARK},
        {__LINE__, "0x", true, 0},  // the runtime makes 0 of the empty rest
        {__LINE__, "0x-1", true, UINT_MAX},
        {__LINE__, "0x 1", true, 1},
        {__LINE__, "0X1F", false, MARK},
        {__LINE__, "-0x1F", false, MARK},
        {__LINE__, "+0x1F", false, MARK},
        {__LINE__, " 0x1F", false, MARK},
        {__LINE__, "0x1FH", false, MARK},
        {__LINE__, "1F", false, MARK},
        {__LINE__, "1FH", false, MARK},
        {__LINE__, "5 ", false, MARK},
        {__LINE__, "5.", false, MARK},
        {__LINE__, " ", false, MARK},
        {__LINE__, "-", false, MARK},
        {__LINE__, "+", false, MARK},
        {__LINE__, "+-1", false, MARK},
        {__LINE__, "x", false, MARK},
        {__LINE__, "0xG", false, MARK},
    };
    checkZero<unsigned>(strtouint, rows);
}

TEST(NumberTextZero, Signed) {
    const int mark = static_cast<int>(MARK);
    const ZeroRow<int> rows[] = {
        {__LINE__, nullptr, false, mark},
        {__LINE__, "", false, mark},
        {__LINE__, "0", true, 0},
        {__LINE__, "-0", true, 0},
        {__LINE__, "-5", true, -5},
        {__LINE__, "+5", true, 5},
        {__LINE__, " \t-5", true, -5},
        {__LINE__, "010", true, 10},
        {__LINE__, "2147483647", true, INT_MAX},
        {__LINE__, "2147483648", false, mark},
        {__LINE__, "-2147483648", true, INT_MIN},
        {__LINE__, "-2147483649", false, mark},
        {__LINE__, "4294967295", false, mark},
        {__LINE__, "9999999999", false, mark},
        {__LINE__, "9223372036854775807", false, mark},
        {__LINE__, "99999999999999999999999", false, mark},
        {__LINE__, "0x7FFFFFFF", true, INT_MAX},
        {__LINE__, "0x80000000", false, mark},
        {__LINE__, "0xFFFFFFFF", false, mark},
        {__LINE__, "0x-80000000", true, INT_MIN},
        {__LINE__, "0x1f", true, 31},
        {__LINE__, "0x", true, 0},
        {__LINE__, "0X1f", false, mark},
        {__LINE__, "-0x1F", false, mark},
        {__LINE__, " 0x1F", false, mark},
        {__LINE__, "1FH", false, mark},
        {__LINE__, "5 ", false, mark},
        {__LINE__, "5x", false, mark},
        {__LINE__, " ", false, mark},
        {__LINE__, "-", false, mark},
        {__LINE__, "--1", false, mark},
    };
    checkZero<int>(strtoint, rows);
}

TEST(NumberTextZero, Wide) {
    const std::int64_t mark = MARK;
    const ZeroRow<std::int64_t> rows[] = {
        {__LINE__, nullptr, false, mark},
        {__LINE__, "", false, mark},
        {__LINE__, "0", true, 0},
        {__LINE__, " +5", true, 5},
        {__LINE__, "-5", true, -5},
        {__LINE__, "010", true, 10},
        {__LINE__, "9223372036854775807", true, INT64_MAX},
        {__LINE__, "9223372036854775808", false, mark},
        {__LINE__, "-9223372036854775808", true, INT64_MIN},
        {__LINE__, "-9223372036854775809", false, mark},
        {__LINE__, "0000000000000000000000000000001", true, 1},
        {__LINE__, "0x10", false, mark},
        {__LINE__, "0x", false, mark},
        {__LINE__, "10H", false, mark},
        {__LINE__, "5 ", false, mark},
        {__LINE__, " ", false, mark},
        {__LINE__, "-", false, mark},
    };
    checkZero<std::int64_t>(strtoint64, rows);

    const ZeroRow<std::uint64_t> unsignedRows[] = {
        {__LINE__, nullptr, false, MARK},
        {__LINE__, "", false, MARK},
        {__LINE__, "0", true, 0},
        {__LINE__, " +5", true, 5},
        {__LINE__, "-1", true, UINT64_MAX},
        {__LINE__, "-18446744073709551615", true, 1},
        {__LINE__, "18446744073709551615", true, UINT64_MAX},
        {__LINE__, "18446744073709551616", false, MARK},
        {__LINE__, "99999999999999999999", false, MARK},
        {__LINE__, "0x10", false, MARK},
        {__LINE__, "0x", false, MARK},
        {__LINE__, "5 ", false, MARK},
        {__LINE__, " ", false, MARK},
        {__LINE__, "A", false, MARK},
    };
    checkZero<std::uint64_t>(strtouint64, unsignedRows);
}

TEST(NumberTextZero, Double) {
    const double mark = MARK;
    const std::string manyDigits = "1" + std::string(60, '0');
    const ZeroRow<double> rows[] = {
        {__LINE__, nullptr, false, mark},
        {__LINE__, "", false, mark},
        {__LINE__, "0", true, 0},
        {__LINE__, "1.5", true, 1.5},
        {__LINE__, " -1.5e2", true, -150},
        {__LINE__, "+.5", true, .5},
        {__LINE__, "5.", true, 5},
        {__LINE__, "1E3", true, 1000},
        {__LINE__, manyDigits.c_str(), true, 1e60},
        {__LINE__, "1.7976931348623157e308", true, std::numeric_limits<double>::max()},
        {__LINE__, "1e309", false, mark},
        {__LINE__, "-1e309", false, mark},
        {__LINE__, "1,5", false, mark},
        {__LINE__, "1.5 ", false, mark},
        {__LINE__, "1.5x", false, mark},
        {__LINE__, "1.5.", false, mark},
        {__LINE__, "1e", false, mark},
        {__LINE__, "x", false, mark},
        {__LINE__, "-", false, mark},
        {__LINE__, ".", false, mark},
        {__LINE__, " ", false, mark},
    };
    checkZero<double>(strtodouble, rows);
}

// The guard is one per process, so all of it is one test.
TEST(NumberTextZero, LocaleIsRepairedOnce) {
    static bool done = false;
    if (done) GTEST_SKIP() << "works once per process";
    done = true;
    EXPECT_STREQ(std::setlocale(LC_NUMERIC, nullptr), "C");
    const char* const candidates[] = {"de_DE.UTF-8", "fr_FR.UTF-8", "C.UTF-8", "C.utf8", "en_US.UTF-8", "POSIX.UTF-8"};
    const char* other = nullptr;
    for (const char* name : candidates) {
        if (std::setlocale(LC_NUMERIC, name)) {
            other = name;
            break;
        }
    }
    if (!other) GTEST_SKIP() << "no second locale here";
    ASSERT_STRNE(std::setlocale(LC_NUMERIC, nullptr), "C");
    strtodouble_init();
    EXPECT_STREQ(std::setlocale(LC_NUMERIC, nullptr), "C");
    ASSERT_NE(std::setlocale(LC_NUMERIC, other), nullptr);
    const std::string changed = std::setlocale(LC_NUMERIC, nullptr);
    strtodouble_init();
    EXPECT_EQ(changed, std::setlocale(LC_NUMERIC, nullptr));
    std::setlocale(LC_NUMERIC, "C");
}

TEST(NumberTextRange, Hexadecimal) {
    const RangeRow<unsigned> rows[] = {
        {__LINE__, "0", true, 0},
        {__LINE__, "1F", true, 0x1F},
        {__LINE__, "0x1F", true, 0x1F},
        {__LINE__, "0x1FH", true, 0x1F},
        {__LINE__, "1FH", true, 0x1F},
        {__LINE__, "01234567", true, 0x01234567},
        {__LINE__, "89abcdef", true, 0x89ABCDEF},
        {__LINE__, "89ABCDEF", true, 0x89ABCDEF},
        {__LINE__, "FFFFFFFFH", true, 0xFFFFFFFF},
        {__LINE__, "0xFFFFFFFFH", true, 0xFFFFFFFF},
        // no digit: 0 is stored
        {__LINE__, "", false, 0},
        {__LINE__, "H", false, 0},
        {__LINE__, "0x", false, 0},
        {__LINE__, "0xH", false, 0},
        // eight positions, zeros counted
        {__LINE__, "00000001", true, 1},
        {__LINE__, "000000001", false, MARK},
        {__LINE__, "0x00000001", true, 1},
        {__LINE__, "0x000000001", false, MARK},
        {__LINE__, "00000001H", true, 1},
        {__LINE__, "000000001H", false, MARK},
        {__LINE__, "100000000", false, MARK},
        // each end is tested once only
        {__LINE__, "10HH", false, MARK},
        {__LINE__, "HH", false, MARK},
        {__LINE__, "0x0x10", false, MARK},
        {__LINE__, "0x0x", false, MARK},
        {__LINE__, "12H34", false, MARK},
        {__LINE__, "0X1", false, MARK},
        {__LINE__, "x", false, MARK},
        {__LINE__, "x1", false, MARK},
        {__LINE__, "1h", false, MARK},
        {__LINE__, "h", false, MARK},
        {__LINE__, "1G", false, MARK},
        {__LINE__, "1g", false, MARK},
        {__LINE__, "@1", false, MARK},
        {__LINE__, "`1", false, MARK},
        {__LINE__, "/1", false, MARK},
        {__LINE__, ":1", false, MARK},
        {__LINE__, "1\xC1", false, MARK},
        {__LINE__, "1\0"sv, false, MARK},
        {__LINE__, "\0"sv, false, MARK},
        {__LINE__, "-1", false, MARK},
        {__LINE__, "+1", false, MARK},
        {__LINE__, " 1", false, MARK},
        {__LINE__, "1 ", false, MARK},
    };
    checkRange<unsigned>(strtohex, nullptr, rows);
}

// The hexadecimal forms are the same text for both; the signed one takes the pattern.
TEST(NumberTextRange, HexadecimalForms) {
    const RangeRow<unsigned> rows[] = {
        {__LINE__, "1FH", true, 31},
        {__LINE__, "0x1F", true, 31},
        {__LINE__, "0x1FH", true, 31},
        {__LINE__, "10H", true, 16},
        {__LINE__, "0xabcDEF", true, 0xABCDEF},
        {__LINE__, "aH", true, 10},
        {__LINE__, "0H", true, 0},
        {__LINE__, "0x0", true, 0},
        {__LINE__, "0x7FFFFFFF", true, 0x7FFFFFFF},
        {__LINE__, "0x80000000", true, 0x80000000},
        {__LINE__, "FFFFFFFFH", true, 0xFFFFFFFF},
        {__LINE__, "0xFFFFFFFF", true, 0xFFFFFFFF},
        {__LINE__, "0xFFFFFFFFH", true, 0xFFFFFFFF},
        {__LINE__, "0x100000000", false, MARK},
        {__LINE__, "100000000H", false, MARK},
        {__LINE__, "0x00000001", true, 1},
        {__LINE__, "0x000000001", false, MARK},
        {__LINE__, "00000001H", true, 1},
        {__LINE__, "000000001H", false, MARK},
        // the inner form tests prefix and 'H' once more
        {__LINE__, "0x0x10", true, 16},
        {__LINE__, "10HH", true, 16},
        {__LINE__, "0x10HH", true, 16},
        {__LINE__, "0x0x10H", true, 16},
        {__LINE__, "0x0x10HH", true, 16},
        {__LINE__, "0x0x12345678HH", true, 0x12345678},
        {__LINE__, "0x0x123456789HH", false, MARK},
        {__LINE__, "0x0x0x10", false, MARK},
        {__LINE__, "10HHH", false, MARK},
        {__LINE__, "0x10HHH", false, MARK},
        {__LINE__, "0X10", false, MARK},
        {__LINE__, "-0x10", false, MARK},
        {__LINE__, "+0x10", false, MARK},
        {__LINE__, "0x-1", false, MARK},
        {__LINE__, "0x+1", false, MARK},
        {__LINE__, "-10H", false, MARK},
        {__LINE__, "+10H", false, MARK},
        {__LINE__, "10h", false, MARK},
        {__LINE__, "0x10h", false, MARK},
        {__LINE__, "1F", false, MARK},
        {__LINE__, "0xG", false, MARK},
        {__LINE__, "GH", false, MARK},
        {__LINE__, " 10H", false, MARK},
        {__LINE__, "10 H", false, MARK},
        {__LINE__, " 0x10", false, MARK},
        {__LINE__, "0x10 ", false, MARK},
        {__LINE__, "10H ", false, MARK},
        {__LINE__, "0x1\0"sv, false, MARK},
    };
    checkRange<unsigned>(strtouint, &ChPair::getUInt, rows);
    std::vector<RangeRow<int>> signedRows;
    for (const auto& row : rows) signedRows.push_back({row.line, row.text, row.ok, static_cast<int>(row.out)});
    RangeRow<int> copy[std::size(rows)];
    for (std::size_t i = 0; i < signedRows.size(); ++i) copy[i] = signedRows[i];
    checkRange<int>(strtoint, &ChPair::getInt, copy);
}

// A hexadecimal form without a digit is refused; the inner form has stored its 0 by then.
TEST(NumberTextRange, HexadecimalFormsWithoutDigits) {
    const std::string_view texts[] = {"H", "0x", "0xH", "0xHH", "HH", "0x0x", "0x0xH", "0x0xHH"};
    for (std::string_view text : texts) {
        SCOPED_TRACE(std::string(text));
        const Framed framed(text);
        unsigned out = MARK;
        int signedOut = static_cast<int>(MARK);
        EXPECT_FALSE(strtouint(framed.begin(), framed.end(), &out));
        EXPECT_EQ(out, 0u);
        EXPECT_FALSE(strtoint(framed.begin(), framed.end(), &signedOut));
        EXPECT_EQ(signedOut, 0);
    }
}

TEST(NumberTextRange, Signed) {
    const int mark = static_cast<int>(MARK);
    const RangeRow<int> rows[] = {
        {__LINE__, "", false, mark},
        {__LINE__, "0", true, 0},
        {__LINE__, "9", true, 9},
        {__LINE__, "5", true, 5},
        {__LINE__, "+5", true, 5},
        {__LINE__, "-5", true, -5},
        {__LINE__, "-0", true, 0},
        {__LINE__, "+0", true, 0},
        {__LINE__, "010", true, 10},
        {__LINE__, "+", false, mark},
        {__LINE__, "-", false, mark},
        {__LINE__, "+-1", false, mark},
        {__LINE__, "--1", false, mark},
        {__LINE__, "1-", false, mark},
        {__LINE__, "1+1", false, mark},
        {__LINE__, " 1", false, mark},
        {__LINE__, "1 ", false, mark},
        {__LINE__, "1\0"sv, false, mark},
        {__LINE__, "\0"sv, false, mark},
        {__LINE__, "1.0", false, mark},
        {__LINE__, "1e3", false, mark},
        {__LINE__, "/", false, mark},
        {__LINE__, ":", false, mark},
        {__LINE__, "1A", false, mark},
        {__LINE__, "\xB1", false, mark},
        {__LINE__, "x", false, mark},
        // 20 bytes, the sign among them
        {__LINE__, "00000000000000000001", true, 1},
        {__LINE__, "000000000000000000001", false, mark},
        {__LINE__, "+0000000000000000001", true, 1},
        {__LINE__, "-0000000000000000001", true, -1},
        {__LINE__, "+00000000000000000001", false, mark},
        {__LINE__, "00000000002147483647", true, INT_MAX},
        {__LINE__, "00000000000000000000", true, 0},
        // the overflow test: a digit made the value smaller, compared with sign
        {__LINE__, "2147483646", true, 2147483646},
        {__LINE__, "2147483647", true, INT_MAX},
        {__LINE__, "-2147483647", true, -INT_MAX},
        {__LINE__, "2147483648", false, mark},
        {__LINE__, "-2147483648", false, mark},
        {__LINE__, "2147483649", false, mark},
        {__LINE__, "4294967295", false, mark},
        {__LINE__, "4294967296", false, mark},
        {__LINE__, "6442450944", false, mark},
        // and its gap: wrapped above the value before
        {__LINE__, "5000000000", true, 705032704},
        {__LINE__, "9999999999", true, 1410065407},
        {__LINE__, "+9999999999", true, 1410065407},
        {__LINE__, "-9999999999", true, -1410065407},
        {__LINE__, "10000000000", true, 1410065408},
        {__LINE__, "99999999999", false, mark},
        {__LINE__, "99999999999999999999", false, mark},
        // the last value below the one before, and the first that isn't: 477218588 * 9 = 2^32 - 4
        {__LINE__, "4772185883", false, mark},
        {__LINE__, "4772185884", true, 477218588},
    };
    checkRange<int>(strtoint, &ChPair::getInt, rows);
    checkNoRange<int>(strtoint);
}

TEST(NumberTextRange, Unsigned) {
    const RangeRow<unsigned> rows[] = {
        {__LINE__, "", false, MARK},
        {__LINE__, "0", true, 0},
        {__LINE__, "5", true, 5},
        {__LINE__, "010", true, 10},
        {__LINE__, "+5", false, MARK},
        {__LINE__, "-5", false, MARK},
        {__LINE__, "-0", false, MARK},
        {__LINE__, "+", false, MARK},
        {__LINE__, "-", false, MARK},
        {__LINE__, " 5", false, MARK},
        {__LINE__, "5 ", false, MARK},
        {__LINE__, "5\0"sv, false, MARK},
        {__LINE__, "5x", false, MARK},
        {__LINE__, "00000000000000000001", true, 1},
        {__LINE__, "000000000000000000001", false, MARK},
        {__LINE__, "00000000004294967295", true, UINT_MAX},
        {__LINE__, "2147483648", true, 2147483648u},
        {__LINE__, "4294967294", true, UINT_MAX - 1},
        {__LINE__, "4294967295", true, UINT_MAX},
        {__LINE__, "4294967296", false, MARK},
        {__LINE__, "4772185883", false, MARK},
        {__LINE__, "4772185884", true, 477218588},
        {__LINE__, "5000000000", true, 705032704},
        {__LINE__, "6442450944", true, 2147483648u},  // refused with a sign
        {__LINE__, "8589934592", false, MARK},
        {__LINE__, "9999999999", true, 1410065407},
        {__LINE__, "99999999999", false, MARK},
    };
    checkRange<unsigned>(strtouint, &ChPair::getUInt, rows);
    checkNoRange<unsigned>(strtouint);
}

TEST(NumberTextRange, Wide) {
    const std::int64_t mark = MARK;
    const RangeRow<std::int64_t> rows[] = {
        {__LINE__, "", false, mark},
        {__LINE__, "0", true, 0},
        {__LINE__, "+5", true, 5},
        {__LINE__, "-5", true, -5},
        {__LINE__, "-0", true, 0},
        {__LINE__, "+", false, mark},
        {__LINE__, "-", false, mark},
        {__LINE__, "+-5", false, mark},
        {__LINE__, "0x10", false, mark},
        {__LINE__, "0x", false, mark},
        {__LINE__, "10H", false, mark},
        {__LINE__, "H", false, mark},
        {__LINE__, " 5", false, mark},
        {__LINE__, "5 ", false, mark},
        {__LINE__, "5\0"sv, false, mark},
        {__LINE__, "2147483648", true, INT64_C(2147483648)},
        {__LINE__, "-2147483648", true, INT64_C(-2147483648)},
        {__LINE__, "9999999999", true, INT64_C(9999999999)},
        {__LINE__, "00000000000000000001", true, 1},
        {__LINE__, "000000000000000000001", false, mark},
        {__LINE__, "-0000000000000000001", true, -1},
        {__LINE__, "-00000000000000000001", false, mark},
        {__LINE__, "9223372036854775807", true, INT64_MAX},
        {__LINE__, "+9223372036854775807", true, INT64_MAX},
        {__LINE__, "-9223372036854775807", true, -INT64_MAX},
        {__LINE__, "09223372036854775807", true, INT64_MAX},
        {__LINE__, "9223372036854775808", false, mark},
        {__LINE__, "-9223372036854775808", false, mark},
        {__LINE__, "9999999999999999999", false, mark},
        {__LINE__, "18446744073709551615", false, mark},
        {__LINE__, "18446744073709551616", false, mark},
        {__LINE__, "20000000000000000000", false, mark},
        {__LINE__, "25000000000000000000", true, INT64_C(6553255926290448384)},
        {__LINE__, "+25000000000000000000", false, mark},
        {__LINE__, "30000000000000000000", false, mark},
        {__LINE__, "99999999999999999999", false, mark},
    };
    checkRange<std::int64_t>(strtoint64, &ChPair::getInt64, rows);
    checkNoRange<std::int64_t>(strtoint64);

    const RangeRow<std::uint64_t> unsignedRows[] = {
        {__LINE__, "", false, MARK},
        {__LINE__, "0", true, 0},
        {__LINE__, "5", true, 5},
        {__LINE__, "+5", false, MARK},
        {__LINE__, "-5", false, MARK},
        {__LINE__, "-0", false, MARK},
        {__LINE__, "+", false, MARK},
        {__LINE__, "0x10", false, MARK},
        {__LINE__, "10H", false, MARK},
        {__LINE__, " 5", false, MARK},
        {__LINE__, "5 ", false, MARK},
        {__LINE__, "5\0"sv, false, MARK},
        {__LINE__, "00000000000000000001", true, 1},
        {__LINE__, "000000000000000000001", false, MARK},
        {__LINE__, "9223372036854775808", true, UINT64_C(9223372036854775808)},
        {__LINE__, "9999999999999999999", true, UINT64_C(9999999999999999999)},
        {__LINE__, "18446744073709551615", true, UINT64_MAX},
        {__LINE__, "18446744073709551616", false, MARK},
        {__LINE__, "20000000000000000000", false, MARK},
        {__LINE__, "25000000000000000000", true, UINT64_C(6553255926290448384)},
        {__LINE__, "30000000000000000000", true, UINT64_C(11553255926290448384)},
        {__LINE__, "99999999999999999999", false, MARK},
    };
    checkRange<std::uint64_t>(strtouint64, &ChPair::getUInt64, unsignedRows);
    checkNoRange<std::uint64_t>(strtouint64);
}

// A digit at a time with wrapping; what fails is a value below the one before. Callers may rely
// on the gaps of this test, so they are compared for many numbers and not only at a few.
template <class S, class U>
bool wrappingDecimal(const std::string& digits, U& out) {
    U value = 0;
    for (char c : digits) {
        const U next = static_cast<U>(value * 10 + static_cast<U>(c - '0'));
        if (static_cast<S>(next) < static_cast<S>(value)) return false;
        value = next;
    }
    out = value;
    return true;
}

TEST(NumberTextRange, OverflowGapsAreExact) {
    std::uint64_t state = 1;
    int passed = 0, wrapped = 0;
    for (int round = 0; round < 20000; ++round) {
        std::string digits;
        for (int i = 0, n = 9 + round % 12; i < n; ++i) {
            state = state * 6364136223846793005u + 1442695040888963407u;
            digits += static_cast<char>('0' + (state >> 33) % 10);
        }
        SCOPED_TRACE(digits);
        const char* const b = digits.data();
        const char* const e = b + digits.size();
        std::uint32_t narrow = MARK;
        std::uint64_t wide = MARK;
        int i = static_cast<int>(MARK);
        unsigned u = MARK;
        std::int64_t w = MARK;
        std::uint64_t x = MARK;
        EXPECT_EQ(strtoint(b, e, &i), (wrappingDecimal<std::int32_t, std::uint32_t>(digits, narrow)));
        EXPECT_EQ(static_cast<std::uint32_t>(i), narrow);
        narrow = MARK;
        EXPECT_EQ(strtouint(b, e, &u), (wrappingDecimal<std::uint32_t, std::uint32_t>(digits, narrow)));
        EXPECT_EQ(u, narrow);
        EXPECT_EQ(strtoint64(b, e, &w), (wrappingDecimal<std::int64_t, std::uint64_t>(digits, wide)));
        EXPECT_EQ(static_cast<std::uint64_t>(w), wide);
        wide = MARK;
        EXPECT_EQ(strtouint64(b, e, &x), (wrappingDecimal<std::uint64_t, std::uint64_t>(digits, wide)));
        EXPECT_EQ(x, wide);
        passed += x != MARK;
        wrapped += digits.size() < 19 && u != MARK && x != u;
        if (HasFailure()) return;
    }
    EXPECT_GT(passed, 10000);
    EXPECT_GT(wrapped, 100);
}

TEST(NumberTextRange, Double) {
    const double mark = MARK;
    const std::string digits49 = "1" + std::string(48, '0'), digits50 = "1" + std::string(49, '0');
    const std::string point49 = "0." + std::string(46, '0') + "5", blank49 = std::string(48, ' ') + "5";
    const std::string zeros50 = std::string(49, '0') + "5", digits300(300, '1');
    const RangeRow<double> rows[] = {
        {__LINE__, "", false, mark},
        {__LINE__, "0", true, 0},
        {__LINE__, "1.5", true, 1.5},
        {__LINE__, "-1.5e2", true, -150},
        {__LINE__, " +.5", true, .5},
        {__LINE__, "5.", true, 5},
        {__LINE__, digits49, true, 1e48},
        {__LINE__, point49, true, 5e-47},
        {__LINE__, blank49, true, 5},
        {__LINE__, digits50, false, mark},
        {__LINE__, zeros50, false, mark},
        {__LINE__, digits300, false, mark},
        {__LINE__, "1.7976931348623157e308", true, std::numeric_limits<double>::max()},
        {__LINE__, "1e309", false, mark},
        {__LINE__, "-1e309", false, mark},
        {__LINE__, "1,5", false, mark},
        {__LINE__, "1.5 ", false, mark},
        {__LINE__, "1.5x", false, mark},
        {__LINE__, "10H", false, mark},
        {__LINE__, "x", false, mark},
        {__LINE__, " ", false, mark},
        {__LINE__, "-", false, mark},
        {__LINE__, ".", false, mark},
    };
    checkRange<double>(strtodouble, &ChPair::getDouble, rows);
    double out = mark;
    EXPECT_FALSE(strtodouble(pointNull, pointNull, &out));
    EXPECT_FALSE(ChPair().getDouble(out));
    EXPECT_EQ(out, mark);
}

TEST(NumberTextRange, NullView) {
    const ChPair none;
    int i = 5;
    unsigned u = 5;
    std::int64_t w = 5;
    std::uint64_t x = 5;
    EXPECT_FALSE(none.getInt(i));
    EXPECT_FALSE(none.getUInt(u));
    EXPECT_FALSE(none.getInt64(w));
    EXPECT_FALSE(none.getUInt64(x));
    EXPECT_TRUE(i == 5 && u == 5 && w == 5 && x == 5);
    EXPECT_FALSE(none.getIP(u));
    EXPECT_EQ(u, 0u);
}

TEST(NumberTextAddress, GetAndParse) {
    const RangeRow<unsigned> rows[] = {
        {__LINE__, "1.2.3.4", true, 0x01020304},
        {__LINE__, "0.0.0.0", true, 0},
        {__LINE__, "255.255.255.255", true, 0xFFFFFFFF},
        {__LINE__, "255.0.0.0", true, 0xFF000000},
        {__LINE__, "192.168.10.1", true, 0xC0A80A01},
        {__LINE__, "001.002.003.004", true, 0x01020304},
        {__LINE__, "010.020.030.255", true, 0x0A141EFF},
        {__LINE__, "1.2.3.", true, 0x01020300},  // the digits of the last number are not asked for
        {__LINE__, "", false, 0},
        {__LINE__, "1", false, 0},
        {__LINE__, "1.", false, 0},
        {__LINE__, "1.2", false, 0},
        {__LINE__, "1.2.", false, 0},
        {__LINE__, "1.2.3", false, 0},
        {__LINE__, "1.2.3.4.", false, 0},
        {__LINE__, "1.2.3.4.5", false, 0},
        {__LINE__, "1.2.3.4.5.", false, 0},
        {__LINE__, "1.2.3.4.5.6", false, 0},
        {__LINE__, "256.1.1.1", false, 0},
        {__LINE__, "1.256.1.1", false, 0},
        {__LINE__, "1.1.256.1", false, 0},
        {__LINE__, "1.1.1.256", false, 0},
        {__LINE__, "1.1.1.999", false, 0},
        {__LINE__, "1..2.3", false, 0},
        {__LINE__, ".1.2.3", false, 0},
        {__LINE__, "1.2.3..", false, 0},
        {__LINE__, "1.2..", false, 0},
        {__LINE__, "...", false, 0},
        {__LINE__, ".", false, 0},
        {__LINE__, "1.2.3.0004", false, 0},
        {__LINE__, "0001.2.3.4", false, 0},
        {__LINE__, "0000.0.0.0", false, 0},
        {__LINE__, "1.2.3.4 ", false, 0},
        {__LINE__, " 1.2.3.4", false, 0},
        {__LINE__, "1. 2.3.4", false, 0},
        {__LINE__, "1.2.3.-4", false, 0},
        {__LINE__, "+1.2.3.4", false, 0},
        {__LINE__, "1.2.3.a", false, 0},
        {__LINE__, "1.2.3.0x4", false, 0},
        {__LINE__, "1,2,3,4", false, 0},
        {__LINE__, "1.2.3.4\0"sv, false, 0},
        {__LINE__, "1/2:3.4", false, 0},
        {__LINE__, "1.2.3.\xB4", false, 0},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(rowName(row.line, row.text));
        for (std::string_view tail : tails) {
            const Framed framed(row.text, tail);
            const ChPair view = framed.pair();
            unsigned out = MARK;
            EXPECT_EQ(view.getIP(out), row.ok);
            EXPECT_EQ(out, row.out);
            if (row.ok)
                EXPECT_EQ(view.parseIP(), row.out);
            else
                expectThrown(LCA__Invalid_IP_address, [&] { view.parseIP(); });
            EXPECT_TRUE(framed.untouched(row.text, view));
        }
    }
}

// One row of bounds: `key` is -1 where the value comes out.
template <class T>
struct BoundRow {
    int line;
    std::string_view text;
    bool hasMin;
    T min;
    bool hasMax;
    T max;
    int key;
    T value;
};

template <class T, std::size_t N>
void checkBounds(T (ChPair::*parse)(T*, T*) const, const BoundRow<T> (&rows)[N]) {
    for (const auto& row : rows) {
        SCOPED_TRACE(rowName(row.line, row.text));
        const Framed framed(row.text);
        const ChPair view = framed.pair();
        T min = row.min, max = row.max;
        const auto call = [&] { return (view.*parse)(row.hasMin ? &min : nullptr, row.hasMax ? &max : nullptr); };
        if (row.key < 0)
            EXPECT_EQ(call(), row.value);
        else
            expectThrown(row.key, [&] { call(); });
        EXPECT_TRUE(min == row.min && max == row.max);
        EXPECT_TRUE(framed.untouched(row.text, view));
    }
}

const int OK = -1;
const int BAD = LCA__Invalid_integer_value;
const int RANGE = LCA__Integer_value_is_out_of_range;

TEST(NumberTextParse, Int) {
    const BoundRow<int> rows[] = {
        {__LINE__, "5", false, 0, false, 0, OK, 5},
        {__LINE__, "-5", false, 0, false, 0, OK, -5},
        {__LINE__, "2147483647", false, 0, false, 0, OK, INT_MAX},
        {__LINE__, "FFFFFFFFH", false, 0, false, 0, OK, -1},
        {__LINE__, "0x1F", false, 0, false, 0, OK, 31},
        {__LINE__, "9999999999", false, 0, false, 0, OK, 1410065407},
        {__LINE__, "5", true, 5, true, 5, OK, 5},
        {__LINE__, "5", true, 5, false, 0, OK, 5},
        {__LINE__, "5", false, 0, true, 5, OK, 5},
        {__LINE__, "4", true, 5, true, 7, RANGE, 0},
        {__LINE__, "7", true, 5, true, 7, OK, 7},
        {__LINE__, "8", true, 5, true, 7, RANGE, 0},
        {__LINE__, "4", true, 5, false, 0, RANGE, 0},
        {__LINE__, "2147483647", true, 5, false, 0, OK, INT_MAX},
        {__LINE__, "6", false, 0, true, 5, RANGE, 0},
        {__LINE__, "-2147483647", false, 0, true, 5, OK, -INT_MAX},
        {__LINE__, "-1", true, 0, false, 0, RANGE, 0},
        {__LINE__, "FFFFFFFFH", true, 0, false, 0, RANGE, 0},
        {__LINE__, "5", true, 6, true, 4, RANGE, 0},
        {__LINE__, "", false, 0, false, 0, BAD, 0},
        {__LINE__, "x", true, 5, true, 7, BAD, 0},
        {__LINE__, "H", true, 5, true, 7, BAD, 0},
        {__LINE__, "0x", false, 0, false, 0, BAD, 0},
        {__LINE__, "0xH", true, 5, true, 7, BAD, 0},
        {__LINE__, " 5", false, 0, false, 0, BAD, 0},
        {__LINE__, "2147483648", false, 0, true, 7, BAD, 0},
        {__LINE__, "-2147483648", true, 5, false, 0, BAD, 0},
    };
    checkBounds<int>(&ChPair::parseInt, rows);
    expectThrown(BAD, [] { ChPair().parseInt(nullptr, nullptr); });
}

TEST(NumberTextParse, UInt) {
    const BoundRow<unsigned> rows[] = {
        {__LINE__, "5", false, 0, false, 0, OK, 5},
        {__LINE__, "4294967295", false, 0, false, 0, OK, UINT_MAX},
        {__LINE__, "FFFFFFFFH", true, 5, false, 0, OK, UINT_MAX},
        {__LINE__, "2147483648", true, 5, true, 7, RANGE, 0},
        {__LINE__, "5", true, 5, true, 5, OK, 5},
        {__LINE__, "4", true, 5, true, 7, RANGE, 0},
        {__LINE__, "7", true, 5, true, 7, OK, 7},
        {__LINE__, "8", true, 5, true, 7, RANGE, 0},
        {__LINE__, "8", true, 5, false, 0, OK, 8},
        {__LINE__, "4", true, 5, false, 0, RANGE, 0},
        {__LINE__, "8", false, 0, true, 7, RANGE, 0},
        {__LINE__, "0", false, 0, true, 7, OK, 0},
        {__LINE__, "4294967294", true, UINT_MAX, false, 0, RANGE, 0},
        {__LINE__, "-1", true, 5, true, 7, BAD, 0},
        {__LINE__, "+6", true, 5, true, 7, BAD, 0},
        {__LINE__, "", false, 0, false, 0, BAD, 0},
        {__LINE__, "4294967296", false, 0, true, 7, BAD, 0},
        {__LINE__, "0x", true, 5, true, 7, BAD, 0},
    };
    checkBounds<unsigned>(&ChPair::parseUInt, rows);
    expectThrown(BAD, [] { ChPair().parseUInt(nullptr, nullptr); });
}

TEST(NumberTextParse, Wide) {
    const BoundRow<std::int64_t> rows[] = {
        {__LINE__, "9223372036854775807", false, 0, false, 0, OK, INT64_MAX},
        {__LINE__, "-9223372036854775807", false, 0, false, 0, OK, -INT64_MAX},
        {__LINE__, "4294967301", true, 5, true, 7, RANGE, 0},  // 5 in its low half
        {__LINE__, "5", true, 5, true, 5, OK, 5},
        {__LINE__, "4", true, 5, true, 7, RANGE, 0},
        {__LINE__, "7", true, 5, true, 7, OK, 7},
        {__LINE__, "8", true, 5, true, 7, RANGE, 0},
        {__LINE__, "-8", false, 0, true, 7, OK, -8},
        {__LINE__, "-8", true, -7, false, 0, RANGE, 0},
        {__LINE__, "8", true, -7, false, 0, OK, 8},
        {__LINE__, "9223372036854775808", false, 0, true, 7, BAD, 0},
        {__LINE__, "0x10", false, 0, false, 0, BAD, 0},
        {__LINE__, "10H", true, 5, true, 7, BAD, 0},
        {__LINE__, "", false, 0, false, 0, BAD, 0},
    };
    checkBounds<std::int64_t>(&ChPair::parseInt64, rows);
    expectThrown(BAD, [] { ChPair().parseInt64(nullptr, nullptr); });

    const BoundRow<std::uint64_t> unsignedRows[] = {
        {__LINE__, "18446744073709551615", false, 0, false, 0, OK, UINT64_MAX},
        {__LINE__, "18446744073709551615", true, 5, false, 0, OK, UINT64_MAX},
        {__LINE__, "18446744073709551615", true, 5, true, 7, RANGE, 0},
        {__LINE__, "5", true, 5, true, 5, OK, 5},
        {__LINE__, "4", true, 5, true, 7, RANGE, 0},
        {__LINE__, "7", true, 5, true, 7, OK, 7},
        {__LINE__, "8", true, 5, true, 7, RANGE, 0},
        {__LINE__, "8", false, 0, true, 7, RANGE, 0},
        {__LINE__, "4", true, 5, false, 0, RANGE, 0},
        {__LINE__, "18446744073709551616", false, 0, true, 7, BAD, 0},
        {__LINE__, "+6", true, 5, true, 7, BAD, 0},
        {__LINE__, "-6", true, 5, true, 7, BAD, 0},
        {__LINE__, "", false, 0, false, 0, BAD, 0},
    };
    checkBounds<std::uint64_t>(&ChPair::parseUInt64, unsignedRows);
    expectThrown(BAD, [] { ChPair().parseUInt64(nullptr, nullptr); });
}

TEST(NumberTextParse, Double) {
    const int bad = LCA__Invalid_double_value;
    const std::string digits50 = "1" + std::string(49, '0');
    const BoundRow<double> rows[] = {
        {__LINE__, "1.5", false, 0, false, 0, OK, 1.5},    {__LINE__, " -1.5", false, 0, false, 0, OK, -1.5},
        {__LINE__, "1.5", true, 1.5, true, 1.5, OK, 1.5},  {__LINE__, "1.25", true, 1.5, true, 2, RANGE, 0},
        {__LINE__, "2", true, 1.5, true, 2, OK, 2},        {__LINE__, "2.25", true, 1.5, true, 2, RANGE, 0},
        {__LINE__, "1.25", true, 1.5, false, 0, RANGE, 0}, {__LINE__, "1e300", true, 1.5, false, 0, OK, 1e300},
        {__LINE__, "2.25", false, 0, true, 2, RANGE, 0},   {__LINE__, "-1e300", false, 0, true, 2, OK, -1e300},
        {__LINE__, "inf", true, 1.5, true, 2, RANGE, 0},   {__LINE__, "-inf", true, 1.5, true, 2, RANGE, 0},
        {__LINE__, "", false, 0, false, 0, bad, 0},        {__LINE__, "x", true, 1.5, true, 2, bad, 0},
        {__LINE__, "1,5", false, 0, false, 0, bad, 0},     {__LINE__, "1e309", false, 0, true, 2, bad, 0},
        {__LINE__, digits50, false, 0, true, 2, bad, 0},
    };
    checkBounds<double>(&ChPair::parseDouble, rows);
    expectThrown(bad, [] { ChPair().parseDouble(nullptr, nullptr); });

    double min = 1, max = 2;
    EXPECT_TRUE(std::isnan(ChPair("nan").parseDouble(&min, &max)));
    EXPECT_TRUE(std::isnan(ChPair("NAN").parseDouble(&max, &min)));
}

TEST(NumberTextTags, Enum) {
    const PairTag tags[] = {{"Zero", 0},      {"One", 1},       {"Six", 6}, {"one", 9}, {"None", -1},
                            {"Top", INT_MIN}, {"two words", 2}, {"Uno", 1}, {}};
    struct Row {
        int line;
        std::string_view text;
        int forbidden;
        bool ok;
        unsigned value;
    };
    const Row rows[] = {
        {__LINE__, "One", 0, true, 1},
        {__LINE__, "ONE", 0, true, 1},  // the first of two matches
        {__LINE__, "uNO", 0, true, 1},
        {__LINE__, "zero", 0, true, 0},
        {__LINE__, "zero", -1, true, 0},
        {__LINE__, "six", 0, true, 6},
        {__LINE__, "six", 1, true, 6},
        {__LINE__, "six", 8, true, 6},
        {__LINE__, "six", 2, false, 0},
        {__LINE__, "six", 4, false, 0},
        {__LINE__, "six", 6, false, 0},
        {__LINE__, "six", -1, false, 0},
        {__LINE__, "one", 1, false, 0},
        {__LINE__, "one", 8, true, 1},
        {__LINE__, "top", 0, true, 0x80000000u},
        {__LINE__, "top", INT_MAX, true, 0x80000000u},
        {__LINE__, "top", INT_MIN, false, 0},
        {__LINE__, "Two Words", 0, true, 2},
        {__LINE__, "none", 0, false, 0},
        {__LINE__, "none", 4, false, 0},
        {__LINE__, "seven", 0, false, 0},
        {__LINE__, "on", 0, false, 0},
        {__LINE__, "ones", 0, false, 0},
        {__LINE__, " one", 0, false, 0},
        {__LINE__, "one ", 0, false, 0},
        {__LINE__, "1", 0, false, 0},
        {__LINE__, "", 0, false, 0},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(rowName(row.line, row.text));
        const Framed framed(row.text);
        const ChPair view = framed.pair();
        if (row.ok)
            EXPECT_EQ(view.parseEnum(tags, row.forbidden), row.value);
        else
            expectThrown(LCA__Invalid_enum_value, [&] { view.parseEnum(tags, row.forbidden); });
        EXPECT_TRUE(framed.untouched(row.text, view));
    }
    const PairTag nothing[] = {{}};
    expectThrown(LCA__Invalid_enum_value, [&] { ChPair("one").parseEnum(nothing, 0); });
    expectThrown(LCA__Invalid_enum_value, [&] { ChPair().parseEnum(tags, 0); });
}

struct FlagRow {
    int line;
    std::string_view text;
    int deprecated;
    bool strict;
    int key;
    const char* name;  // the parameter of what is thrown
    unsigned value;
};

template <std::size_t N>
void checkFlags(const PairTag* tags, const FlagRow (&rows)[N]) {
    for (const FlagRow& row : rows) {
        SCOPED_TRACE(rowName(row.line, row.text));
        for (std::string_view tail : {"7"sv, " "sv, " A"sv}) {
            const Framed framed(row.text, tail);
            const ChPair view = framed.pair();
            if (row.key < 0)
                EXPECT_EQ(view.parseFlags(tags, row.deprecated, row.strict), row.value);
            else
                expectThrown(TTT(VELMORA_DICT, row.key) < row.name,
                             [&] { view.parseFlags(tags, row.deprecated, row.strict); });
            EXPECT_TRUE(framed.untouched(row.text, view));
        }
    }
}

const int UNKNOWN = LCA__Invalid_flag_s;
const int OLD = LCA__Deprecated_flag_s;

TEST(NumberTextTags, Flags) {
    const PairTag tags[] = {{"A", 1},   {"B", 2},  {"Old", 4},        {"Elder", 4},     {"BOld", 6},
                            {"Zip", 0}, {"a", 64}, {"High", INT_MIN}, {"B\xC3\xA9", 8}, {}};
    const FlagRow rows[] = {
        {__LINE__, "", 0, true, OK, "", 0},
        {__LINE__, "    ", 0, true, OK, "", 0},
        {__LINE__, "", -1, true, OK, "", 0},
        {__LINE__, "  ", -1, false, OK, "", 0},
        {__LINE__, "  A   b ", 0, false, OK, "", 3},
        {__LINE__, "  A   b ", 0, true, OK, "", 3},
        {__LINE__, "a", 0, true, OK, "", 1},  // the first of two matches
        {__LINE__, "b a b A", 0, true, OK, "", 3},
        {__LINE__, "A Old", 0, true, OK, "", 5},
        {__LINE__, "bold", 0, true, OK, "", 6},
        {__LINE__, "zip", 0, true, OK, "", 0},
        {__LINE__, "zip a", -2, true, OK, "", 1},
        {__LINE__, "zip", -1, true, OK, "", 0},
        {__LINE__, "high a", 0, true, OK, "", 0x80000001u},
        {__LINE__, "B\xC3\xA9", 0, true, OK, "", 8},
        // unknown names
        {__LINE__, "a c b", 0, false, OK, "", 3},
        {__LINE__, "c", 0, false, OK, "", 0},
        {__LINE__, "c", 0, true, UNKNOWN, "c", 0},
        {__LINE__, "a  Other  b", 0, true, UNKNOWN, "Other", 0},
        {__LINE__, "a b CdE", 0, true, UNKNOWN, "CdE", 0},
        {__LINE__, "a c d", 0, true, UNKNOWN, "c", 0},
        {__LINE__, "ol", 0, true, UNKNOWN, "ol", 0},
        {__LINE__, "olds", 0, true, UNKNOWN, "olds", 0},
        {__LINE__, "a\tb", 0, true, UNKNOWN, "a\tb", 0},
        {__LINE__, "a\nb", 0, true, UNKNOWN, "a\nb", 0},
        {__LINE__, "a,b", 0, true, UNKNOWN, "a,b", 0},
        {__LINE__, "a\tb", 0, false, OK, "", 0},
        {__LINE__, "1", 0, true, UNKNOWN, "1", 0},
        // deprecated values, under the first name that has the very value
        {__LINE__, "old", 4, true, OLD, "Old", 0},
        {__LINE__, "OLD", 4, false, OLD, "Old", 0},
        {__LINE__, "elder", 4, true, OLD, "Old", 0},
        {__LINE__, "a elder b", 4, false, OLD, "Old", 0},
        {__LINE__, "bold", 4, true, OLD, "BOld", 0},
        {__LINE__, "bold", 2, true, OLD, "BOld", 0},
        {__LINE__, "b", 2, true, OLD, "B", 0},
        {__LINE__, "high", INT_MIN, true, OLD, "High", 0},
        {__LINE__, "a", -1, false, OLD, "A", 0},
        {__LINE__, "a b", 4, true, OK, "", 3},
        {__LINE__, "a b", 8, false, OK, "", 3},
        // the names are taken in turn
        {__LINE__, "c old", 4, true, UNKNOWN, "c", 0},
        {__LINE__, "old c", 4, true, OLD, "Old", 0},
        {__LINE__, "old b", 6, true, OLD, "Old", 0},
        {__LINE__, "b old", 6, true, OLD, "B", 0},
        // an unknown name has every bit, and no name of its own
        {__LINE__, "c", 4, false, OLD, "", 0},
        {__LINE__, "c", 1 << 20, false, OLD, "", 0},
        {__LINE__, "a c old", 4, false, OLD, "", 0},
        {__LINE__, "old c", 4, false, OLD, "Old", 0},
    };
    checkFlags(tags, rows);
    EXPECT_EQ(ChPair().parseFlags(tags, -1, true), 0u);
}

TEST(NumberTextTags, FlagsOfAllBits) {
    const PairTag tags[] = {{"A", 1}, {"Any", -1}, {"All", -1}, {"B", 2}, {}};
    const FlagRow rows[] = {
        {__LINE__, "a all b", 0, false, OK, "", 3},    {__LINE__, "all", 0, false, OK, "", 0},
        {__LINE__, "all", 0, true, UNKNOWN, "all", 0}, {__LINE__, "a ALL", 4, true, UNKNOWN, "ALL", 0},
        {__LINE__, "all", 4, false, OLD, "Any", 0},    {__LINE__, "any", 4, false, OLD, "Any", 0},
        {__LINE__, "other", 4, false, OLD, "Any", 0},  // the table has a name for the value of an unknown one
        {__LINE__, "other", 0, false, OK, "", 0},
    };
    checkFlags(tags, rows);
}

TEST(NumberTextTags, FlagsOfAnEmptyTable) {
    const PairTag tags[] = {{}};
    const FlagRow rows[] = {
        {__LINE__, "", 0, true, OK, "", 0},
        {__LINE__, "a", 0, false, OK, "", 0},
        {__LINE__, "a", 0, true, UNKNOWN, "a", 0},
        {__LINE__, "a", 1, false, OLD, "", 0},
    };
    checkFlags(tags, rows);
}

// The ends of the names are stored on first use, also when the call fails; nothing else of the table changes.
TEST(NumberTextTags, NamesAreMeasured) {
    for (int way = 0; way < 4; ++way) {
        SCOPED_TRACE(way);
        const PairTag tags[] = {{"A", 1}, {"Longer", 2}, {"", 4}, {"Last", 8}, {}};
        const char* const names[] = {tags[0].name, tags[1].name, tags[2].name, tags[3].name};
        switch (way) {
            case 0:
                EXPECT_EQ(ChPair("a").parseFlags(tags, 0, true), 1u);
                break;
            case 1:
                expectThrown(TTT(VELMORA_DICT, UNKNOWN) < "x", [&] { ChPair("x").parseFlags(tags, 0, true); });
                break;
            case 2:
                expectThrown(TTT(VELMORA_DICT, OLD) < "Last", [&] { ChPair("last").parseFlags(tags, 8, true); });
                break;
            case 3:
                EXPECT_EQ(ChPair("LAST").parseEnum(tags, 0), 8u);
                break;
        }
        for (int i = 0; i < 4; ++i) {
            EXPECT_EQ(tags[i].name, names[i]);
            EXPECT_EQ(tags[i].value, 1 << i);
            EXPECT_EQ(tags[i].nameEnd, names[i] + std::strlen(names[i]));
        }
        EXPECT_EQ(tags[4].name, nullptr);
        EXPECT_EQ(tags[4].value, 0);
    }
}

TEST(NumberTextDump, FromText) {
    struct Row {
        int line;
        const char* text;
        int size;
        std::string_view out;  // 6 bytes; those behind `size` keep their 0x5A
    };
    const Row rows[] = {
        {__LINE__, "AB01", 2, "\xAB\x01ZZZZ"sv},
        {__LINE__, "ab01fF", 3, "\xAB\x01\xFFZZZ"sv},
        {__LINE__, "0123456789aB", 6, "\x01\x23\x45\x67\x89\xAB"sv},
        {__LINE__, "CDEFcdef", 4, "\xCD\xEF\xCD\xEFZZ"sv},
        {__LINE__, "AB01", 1, "\xABZZZZZ"sv},
        {__LINE__, "AB01", 0, "ZZZZZZ"sv},
        {__LINE__, "", 0, "ZZZZZZ"sv},
        {__LINE__, "", 3, "\0\0\0ZZZ"sv},
        {__LINE__, "AB", 4, "\xAB\0\0\0ZZ"sv},
        {__LINE__, "A", 2, "\0\0ZZZZ"sv},
        {__LINE__, "ABC", 3, "\xAB\0\0ZZZ"sv},
        {__LINE__, "ABxxCD", 3, "\xAB\0\0ZZZ"sv},
        {__LINE__, "ABC CD", 3, "\xAB\0\0ZZZ"sv},
        {__LINE__, "AB CD", 3, "\xAB\0\0ZZZ"sv},
        {__LINE__, "G1AB", 2, "\0\0ZZZZ"sv},
        {__LINE__, "1GAB", 2, "\0\0ZZZZ"sv},
        {__LINE__, "1gAB", 2, "\0\0ZZZZ"sv},
        {__LINE__, "1@AB", 2, "\0\0ZZZZ"sv},
        {__LINE__, "1`AB", 2, "\0\0ZZZZ"sv},
        {__LINE__, "1/AB", 2, "\0\0ZZZZ"sv},
        {__LINE__, ":1AB", 2, "\0\0ZZZZ"sv},
        {__LINE__, "\xC1\xC1", 2, "\0\0ZZZZ"sv},
        {__LINE__, "0xAB", 2, "\0\0ZZZZ"sv},
        {__LINE__, "ABH", 2, "\xAB\0ZZZZ"sv},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(rowName(row.line, row.text));
        char out[6];
        std::memset(out, 'Z', sizeof out);
        str2bin(row.text, out, row.size);
        EXPECT_EQ(std::string_view(out, sizeof out), row.out);
    }
}

TEST(NumberTextDump, ToText) {
    unsigned char two[] = {0xAB, 0x01};
    char out[6];
    std::memset(out, 'z', sizeof out);
    bin2str(two, 0, out);
    EXPECT_EQ(std::string_view(out, sizeof out), "zzzzzz");
    bin2str(two, 1, out);
    EXPECT_EQ(std::string_view(out, sizeof out), "ABzzzz");
    bin2str(two, 2, out);
    EXPECT_EQ(std::string_view(out, sizeof out), "AB01zz");

    // all bytes, there and back
    const char digits[] = "0123456789ABCDEF";
    unsigned char all[256], back[256];
    char text[513];
    for (int i = 0; i < 256; ++i) all[i] = static_cast<unsigned char>(i);
    text[512] = 0;
    bin2str(all, 256, text);
    for (int i = 0; i < 256; ++i) {
        EXPECT_EQ(text[2 * i], digits[i >> 4]);
        EXPECT_EQ(text[2 * i + 1], digits[i & 15]);
    }
    str2bin(text, back, 256);
    EXPECT_EQ(std::memcmp(all, back, 256), 0);
}

}  // namespace
