#include <velmora/text/bytes.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <initializer_list>
#include <limits>
#include <memory>
#include <new>
#include <random>
#include <string>
#include <type_traits>
#include <vector>

#include "tests/support/all_texts.h"
#include "tests/support/guard_page.h"
#include "tests/support/table_scope.h"

namespace {

using namespace std::string_literals;
using support::allTexts;
using support::GuardedBytes;
using support::GuardedRoom;
using support::TableScope;

using Size = std::size_t;
using Owned = std::unique_ptr<char[]>;
using Owned16 = std::unique_ptr<utf16_t[]>;

// The signatures that callers are compiled against: naming one of a set of overloads fails where it is not exact.
template <class Signature>
void takes(Signature*);
#define EXPECT_DECLARED(name, ...) static_assert(std::is_void_v<decltype(takes<__VA_ARGS__>(name))>)
EXPECT_DECLARED(strnew, char*(const char*));
EXPECT_DECLARED(strnew, char*(const char*, Size));
EXPECT_DECLARED(strnew, char*(const utf16_t*, const utf16_t*));
EXPECT_DECLARED(strnew16, utf16_t*(const utf16_t*));
EXPECT_DECLARED(strnew16, utf16_t*(const utf16_t*, Size));
EXPECT_DECLARED(strnew16, utf16_t*(const char*, const char*));
EXPECT_DECLARED(stradd, void(char*&, Size, const char*, Size));
EXPECT_DECLARED(strzcpy, void(char*, Size, const char*));
EXPECT_DECLARED(strcmp0, int(const char*, const char*));
EXPECT_DECLARED(strcompare, int(const char*, Size, const char*, Size));
EXPECT_DECLARED(streq, bool(const char*, Size, const char*, Size));
EXPECT_DECLARED(strcmp_i_ascii, int(const char*, const char*));
EXPECT_DECLARED(strcmp_i_ascii, int(const char*, const char*, const char*, const char*));
EXPECT_DECLARED(streq_i_ascii, bool(const char*, Size, const char*, Size));
EXPECT_DECLARED(strbchr, char*(const char*, const char*, char));
EXPECT_DECLARED(strfind, char*(const char*, Size, char));
EXPECT_DECLARED(strfind, char*(const char*, Size, const char*, Size));
EXPECT_DECLARED(strfind_i_ascii, char*(const char*, const char*, char));
EXPECT_DECLARED(strfind_i_ascii, char*(const char*, Size, const char*, Size));
EXPECT_DECLARED(strfind_last_path_item, const char*(const char*, const char*));
EXPECT_DECLARED(strfind_last_extension, const char*(const char*, const char*));
EXPECT_DECLARED(strlw_ascii, void(char*, const char*));
EXPECT_DECLARED(strup_ascii, void(char*, const char*));
EXPECT_DECLARED(strlw_utf16, void(utf16_t*, const utf16_t*));
EXPECT_DECLARED(strup_utf16, void(utf16_t*, const utf16_t*));
EXPECT_DECLARED(chr_tables_prepare, void());
#undef EXPECT_DECLARED

const char* const nullText = nullptr;

utf16_string units(std::initializer_list<unsigned> values) {
    utf16_string text;
    for (unsigned value : values) text += static_cast<utf16_t>(value);
    return text;
}

unsigned char upper(char c) { return chr_upper_table_ascii[static_cast<unsigned char>(c)]; }

int sign(int result) { return (result > 0) - (result < 0); }

// Offset of what a search found; -1 for null.
long offset(const char* found, const char* text) { return found ? static_cast<long>(found - text) : -1; }

// Bytes as an array, so that zeros and bytes behind the text are compared too.
std::string bytes(const char* p, Size n) { return std::string(p, n); }

// --- Building strings ---

TEST(Strnew, NullGivesNullWhateverTheLength) {
    EXPECT_EQ(nullptr, strnew(nullText));
    EXPECT_EQ(nullptr, strnew(nullText, Size{0}));
    EXPECT_EQ(nullptr, strnew(nullText, Size{5}));
    EXPECT_EQ(nullptr, strnew16(static_cast<const utf16_t*>(nullptr)));
    EXPECT_EQ(nullptr, strnew16(static_cast<const utf16_t*>(nullptr), Size{0}));
    EXPECT_EQ(nullptr, strnew16(static_cast<const utf16_t*>(nullptr), Size{5}));
}

TEST(Strnew, CopiesUpToTheTerminator) {
    const char source[] = "abc\0def";
    Owned copy(strnew(source));
    EXPECT_NE(source, copy.get());
    EXPECT_EQ("abc\0"s, bytes(copy.get(), 4));
    Owned empty(strnew(""));
    ASSERT_NE(nullptr, empty);
    EXPECT_EQ(0, empty[0]);
}

TEST(Strnew, CountedFormNeedsNoTerminatorAndKeepsZeros) {
    GuardedBytes source("a\0b"s);
    Owned copy(strnew(source.begin(), source.size()));
    EXPECT_EQ("a\0b\0"s, bytes(copy.get(), 4));
    Owned empty(strnew(source.end(), Size{0}));
    ASSERT_NE(nullptr, empty);
    EXPECT_EQ(0, empty[0]);
    Owned front(strnew("abcdef", Size{2}));
    EXPECT_STREQ("ab", front.get());
}

TEST(Strnew16, CopiesUpToTheTerminatorOrByCount) {
    utf16_string source = units({0x61, 0, 0xD83D, 0xFFFF});
    Owned16 whole(strnew16(source.data(), source.size()));
    EXPECT_EQ(source + units({0}), utf16_string(whole.get(), 5));
    Owned16 front(strnew16(source.c_str()));
    EXPECT_EQ(units({0x61, 0}), utf16_string(front.get(), 2));
    Owned16 empty(strnew16(source.data(), Size{0}));
    ASSERT_NE(nullptr, empty);
    EXPECT_EQ(0, empty[0]);
}

TEST(Strnew, ImpossibleSizeThrowsBadAlloc) {
#ifdef VELMORA_TEST_ASAN
    GTEST_SKIP() << "AddressSanitizer ends the program at an impossible allocation";
#else
    // Sizes that come from outside the compiler's sight.
    volatile Size huge = std::numeric_limits<Size>::max() / 2;
    const utf16_t unit = 0x61;
    EXPECT_THROW(strnew("a", Size{huge}), std::bad_alloc);
    // The bytes for these units, (n + 1) * 2, are one more than 64 bits can count: unchecked, the product is 0.
    EXPECT_THROW(strnew16(&unit, Size{huge}), std::bad_alloc);
#endif
}

TEST(StrnewFromUtf16, ConvertsUnitByUnit) {
    const struct {
        int line;
        utf16_string units;
        std::string bytes;
    } rows[] = {
        {__LINE__, units({}), ""},
        {__LINE__, units({0x61}), "a"},
        {__LINE__, units({0x7F, 0x80}), "\x7F\xC2\x80"},
        {__LINE__, units({0x7FF, 0x800}), "\xDF\xBF\xE0\xA0\x80"},
        {__LINE__, units({0xE9, 0x20AC}), "\xC3\xA9\xE2\x82\xAC"},
        {__LINE__, units({0x61, 0, 0x62}), "a\0b"s},
        {__LINE__, units({0xD83D, 0xDE00}), "\xED\xA0\xBD\xED\xB8\x80"},
        {__LINE__, units({0xDC00}), "\xED\xB0\x80"},
        {__LINE__, units({0xFFFF}), "\xEF\xBF\xBF"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.line);
        Owned text(strnew(row.units.data(), row.units.data() + row.units.size()));
        ASSERT_NE(nullptr, text);
        EXPECT_EQ(row.bytes + '\0', bytes(text.get(), row.bytes.size() + 1));
    }
}

TEST(StrnewFromUtf16, NullBeginGivesNull) {
    EXPECT_EQ(nullptr, strnew(static_cast<const utf16_t*>(nullptr), static_cast<const utf16_t*>(nullptr)));
    utf16_string other = units({0x61});
    EXPECT_EQ(nullptr, strnew(static_cast<const utf16_t*>(nullptr), other.data()));
}

TEST(Strnew16FromUtf8, HasOneUnitForEachByteThatStartsACharacter) {
    const struct {
        int line;
        std::string bytes;
        utf16_string units;
    } rows[] = {
        {__LINE__, "", units({})},
        {__LINE__, "abc", units({0x61, 0x62, 0x63})},
        {__LINE__, "a\0b"s, units({0x61, 0, 0x62})},
        {__LINE__, "\xC3\xA9\xE2\x82\xAC", units({0xE9, 0x20AC})},
        {__LINE__, "\xED\xA0\xBD\xED\xB8\x80", units({0xD83D, 0xDE00})},
        {__LINE__, "\xEF\xBF\xBF", units({0xFFFF})},
        // Four bytes are one character, of which 16 bits are kept.
        {__LINE__, "\xF0\x9F\x98\x80", units({0xF600})},
        // All continuation bytes belong to the character before them.
        {__LINE__, "\xC3\xA9\xA9", units({0x3A69})},
        {__LINE__, "a\x80", units({0x61})},
        // A leading continuation byte is not counted and decodes all the same, so that it takes the other's place.
        {__LINE__, "\x80\x41", units({0})},
        {__LINE__, "\x80\x80", units({})},
        {__LINE__, "a\xC3", units({0x61, 0x03})},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.line);
        GuardedBytes source(row.bytes);
        Owned16 text(strnew16(source.begin(), source.end()));
        ASSERT_NE(nullptr, text);
        EXPECT_EQ(row.units + units({0}), utf16_string(text.get(), row.units.size() + 1));
    }
}

TEST(Strnew16FromUtf8, NullBeginGivesNull) {
    EXPECT_EQ(nullptr, strnew16(nullText, nullText));
    EXPECT_EQ(nullptr, strnew16(nullText, "a"));
}

TEST(Stradd, AppendsToANewArray) {
    char* s = strnew("abc");
    char* before = s;
    stradd(s, 3, "d\0e"s.data(), 3);
    Owned owned(s);
    EXPECT_NE(before, s);
    EXPECT_EQ("abcd\0e\0"s, bytes(s, 7));
}

TEST(Stradd, NullAdditionLeavesThePointer) {
    char* s = strnew("abc");
    Owned owned(s);
    stradd(s, 3, nullptr, 0);
    EXPECT_EQ(owned.get(), s);
    stradd(s, 3, nullptr, 7);
    EXPECT_EQ(owned.get(), s);
    EXPECT_STREQ("abc", s);
    char* none = nullptr;
    stradd(none, 0, nullptr, 0);
    EXPECT_EQ(nullptr, none);
}

TEST(Stradd, NullTextBecomesACopyAndItsLengthIsNotLookedAt) {
    char* s = nullptr;
    stradd(s, 1000000, "abc", 2);
    Owned owned(s);
    EXPECT_EQ("ab\0"s, bytes(s, 3));
    char* empty = nullptr;
    stradd(empty, 0, "abc", 0);
    Owned ownedEmpty(empty);
    ASSERT_NE(nullptr, empty);
    EXPECT_EQ(0, empty[0]);
}

TEST(Stradd, TrustsTheLength) {
    char* s = strnew("abcdef");
    stradd(s, 3, "XY", 2);
    Owned owned(s);
    EXPECT_STREQ("abcXY", s);
    char* withZero = strnew("a\0b", Size{3});
    stradd(withZero, 3, "c", 1);
    Owned ownedZero(withZero);
    EXPECT_EQ("a\0bc\0"s, bytes(withZero, 5));
}

TEST(Stradd, EmptyAdditionStillCopies) {
    char* s = strnew("abc");
    char* before = s;
    stradd(s, 3, "", 0);
    Owned owned(s);
    EXPECT_NE(before, s);
    EXPECT_STREQ("abc", s);
}

TEST(Stradd, AppendsATextToItself) {
    char* s = strnew("abc");
    stradd(s, 3, s + 1, 2);
    Owned owned(s);
    EXPECT_STREQ("abcbc", s);
}

TEST(Strzcpy, CutsTerminatesAndFillsWithZeros) {
    const struct {
        int line;
        Size size;
        const char* source;
        std::string field;  // all 8 bytes; those behind the field keep their mark
    } rows[] = {
        {__LINE__, 1, "abc", "\0*******"s},      {__LINE__, 2, "abc", "a\0******"s},
        {__LINE__, 3, "abc", "ab\0*****"s},      {__LINE__, 4, "abc", "abc\0****"s},
        {__LINE__, 5, "abc", "abc\0\0***"s},     {__LINE__, 7, "abc", "abc\0\0\0\0*"s},
        {__LINE__, 4, "", "\0\0\0\0****"s},      {__LINE__, 3, "\xC3\xA9\xE2", "\xC3\xA9\0*****"s},
        {__LINE__, 4, "abcdefgh", "abc\0****"s},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.line);
        char field[8];
        std::memset(field, '*', sizeof field);
        strzcpy(field, row.size, row.source);
        EXPECT_EQ(row.field, bytes(field, sizeof field));
    }
}

TEST(Strzcpy, ReadsNoMoreThanFits) {
    GuardedBytes source("abc");  // without a terminator
    char field[4];
    strzcpy(field, sizeof field, source.begin());
    EXPECT_STREQ("abc", field);
}

// --- Comparing ---

TEST(Strcmp0, TakesNullAsEmptyAndGivesExactlyOne) {
    const struct {
        int line;
        const char* a;
        const char* b;
        int result;
    } rows[] = {
        {__LINE__, nullptr, nullptr, 0}, {__LINE__, nullptr, "", 0},      {__LINE__, "", nullptr, 0},
        {__LINE__, nullptr, "a", -1},    {__LINE__, "a", nullptr, 1},     {__LINE__, "", "a", -1},
        {__LINE__, "abc", "abc", 0},     {__LINE__, "ab", "abc", -1},     {__LINE__, "abc", "ab", 1},
        {__LINE__, "a", "z", -1},        {__LINE__, "z", "a", 1},         {__LINE__, "a", "A", 1},
        {__LINE__, "\xFF", "a", 1},      {__LINE__, "a", "\x80", -1},     {__LINE__, "ab\x80", "ab\x7F", 1},
        {__LINE__, "\x01", "\xFF", -1},  {__LINE__, "zzzzzzzzz", "a", 1},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.line);
        EXPECT_EQ(row.result, strcmp0(row.a, row.b));
    }
}

TEST(Strcompare, OrdersCountedTexts) {
    const struct {
        int line;
        std::string a, b;
        int sign;
    } rows[] = {
        {__LINE__, "", "", 0},           {__LINE__, "", "a", -1},
        {__LINE__, "a", "", 1},          {__LINE__, "abc", "abc", 0},
        {__LINE__, "abc", "abd", -1},    {__LINE__, "abd", "abc", 1},
        {__LINE__, "ab", "abc", -1},     {__LINE__, "abc", "ab", 1},
        {__LINE__, "b", "abc", 1},       {__LINE__, "a\0b"s, "a\0c"s, -1},
        {__LINE__, "a\0"s, "a", 1},      {__LINE__, "\0"s, "", 1},
        {__LINE__, "a\x80", "a\x7F", 1}, {__LINE__, "\x80", "\x7F", 1},
        {__LINE__, "a", "A", 1},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.line);
        GuardedBytes a(row.a), b(row.b);
        EXPECT_EQ(row.sign, sign(strcompare(a.begin(), a.size(), b.begin(), b.size())));
    }
}

// From the second byte on the number is whatever memcmp makes of it, and only its sign counts.
TEST(Strcompare, GivesExactlyOneForTheFirstBytesAndForTheLengths) {
    EXPECT_EQ(-1, strcompare("a", 1, "z", 1));
    EXPECT_EQ(1, strcompare("z", 1, "a", 1));
    EXPECT_EQ(1, strcompare("\xFF", 1, "\x01", 1));
    EXPECT_EQ(-1, strcompare("ab", 2, "abcdefg", 7));
    EXPECT_EQ(1, strcompare("abcdefg", 7, "ab", 2));
    EXPECT_LT(0, strcompare("abz", 3, "aba!", 4));
    EXPECT_GT(0, strcompare("aba", 3, "abz", 3));
}

TEST(Strcompare, DoesNotReadEmptyTexts) {
    EXPECT_EQ(0, strcompare(nullptr, 0, nullptr, 0));
    EXPECT_EQ(0, strcompare(nullptr, 0, "a", 0));
    EXPECT_EQ(-1, strcompare(nullptr, 0, "a", 1));
    EXPECT_EQ(1, strcompare("a", 1, nullptr, 0));
}

TEST(Streq, ComparesLengthsAndBytes) {
    EXPECT_TRUE(streq("abc", 3, "abc", 3));
    EXPECT_TRUE(streq("abX", 2, "abY", 2));
    EXPECT_TRUE(streq("a\0b", 3, "a\0b", 3));
    EXPECT_FALSE(streq("a\0b", 3, "a\0c", 3));
    EXPECT_FALSE(streq("abc", 3, "abc", 2));
    EXPECT_FALSE(streq("abc", 2, "abc", 3));
    EXPECT_FALSE(streq("abc", 3, "abC", 3));
    EXPECT_FALSE(streq("a", 1, nullptr, 0));
}

TEST(Streq, DoesNotReadEmptyTexts) {
    EXPECT_TRUE(streq(nullptr, 0, nullptr, 0));
    EXPECT_TRUE(streq(nullptr, 0, "a", 0));
    EXPECT_TRUE(streq("a", 0, "b", 0));
}

TEST(StrcmpIAscii, FoldsAndTakesTheSignFromTheRawBytes) {
    const struct {
        int line;
        const char* a;
        const char* b;
        int result;
    } rows[] = {
        {__LINE__, "abc", "ABC", 0},
        {__LINE__, "ab", "ABC", -1},
        {__LINE__, "ABC", "ab", 1},
        // Upper case stands before lower case here, whatever the letters.
        {__LINE__, "a", "B", 1},
        {__LINE__, "B", "a", -1},
        {__LINE__, "Z", "a", -1},
        {__LINE__, "a", "Z", 1},
        {__LINE__, "aB", "Ac", -1},
        {__LINE__, "xa", "XB", 1},
        // Between 'Z' and 'a' only the raw byte decides.
        {__LINE__, "_", "a", -1},
        {__LINE__, "_", "A", 1},
        {__LINE__, "@", "`", -1},
        {__LINE__, "\xFF", "a", 1},
        {__LINE__, "", "", 0},
        {__LINE__, "", "a", -1},
        {__LINE__, "a", "", 1},
        {__LINE__, nullptr, nullptr, 0},
        {__LINE__, nullptr, "", 0},
        {__LINE__, "", nullptr, 0},
        {__LINE__, nullptr, "a", -1},
        {__LINE__, "a", nullptr, 1},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.line);
        EXPECT_EQ(row.result, strcmp_i_ascii(row.a, row.b));
        if (!row.a || !row.b) continue;
        EXPECT_EQ(row.result, strcmp_i_ascii(row.a, row.a + std::strlen(row.a), row.b, row.b + std::strlen(row.b)));
    }
}

TEST(StrcmpIAscii, RangesMayHoldZeros) {
    std::string a = "a\0b"s, b = "A\0C"s, front = "A\0"s;
    EXPECT_EQ(1, strcmp_i_ascii(a.data(), a.data() + 3, b.data(), b.data() + 3));
    EXPECT_EQ(1, strcmp_i_ascii(a.data(), a.data() + 3, front.data(), front.data() + 2));
    EXPECT_EQ(0, strcmp_i_ascii(a.data(), a.data() + 2, front.data(), front.data() + 2));
    EXPECT_EQ(0, strcmp_i_ascii(a.c_str(), b.c_str()));
}

// Only the begin of a null range is replaced, so the range is turned round and not empty.
TEST(StrcmpIAscii, RangeOfTwoNullsIsGreaterThanAnything) {
    const char text[] = "abc";
    EXPECT_EQ(1, strcmp_i_ascii(nullptr, nullptr, text, text + 3));
    EXPECT_EQ(1, strcmp_i_ascii(nullptr, nullptr, text, text));
    EXPECT_EQ(1, strcmp_i_ascii(nullptr, nullptr, empty_string, empty_string));
    EXPECT_EQ(1, strcmp_i_ascii(nullptr, nullptr, nullptr, nullptr));
}

TEST(StrcmpIAscii, RangeOfTwoNullsAsTheSecondSideHoldsNoBytesAndIsNotEmpty) {
    const char text[] = "abc";
    EXPECT_EQ(1, strcmp_i_ascii(text, text + 3, nullptr, nullptr));
    EXPECT_EQ(-1, strcmp_i_ascii(text, text, nullptr, nullptr));
}

TEST(StrcmpIAscii, NullBeginWithTheEmptyTextAsItsEndIsEmpty) {
    const char text[] = "abc";
    EXPECT_EQ(0, strcmp_i_ascii(nullptr, empty_string, text, text));
    EXPECT_EQ(-1, strcmp_i_ascii(nullptr, empty_string, text, text + 3));
    EXPECT_EQ(1, strcmp_i_ascii(text, text + 3, nullptr, empty_string));
    EXPECT_EQ(0, strcmp_i_ascii(nullptr, empty_string, nullptr, empty_string));
}

TEST(StrcmpIAscii, FirstRangeTurnedRoundIsGreater) {
    const char text[] = "abc";
    EXPECT_EQ(1, strcmp_i_ascii(text + 2, text, text, text + 3));
    EXPECT_EQ(1, strcmp_i_ascii(text + 2, text + 1, text, text));
}

TEST(StrcmpIAscii, FoldsThroughTheTableAlsoAboveAscii) {
    TableScope pair(chr_upper_table_ascii, 0xE9, 0xC9), other(chr_upper_table_ascii, 0xC9, 0xC9);
    EXPECT_EQ(0, strcmp_i_ascii("\xE9t\xC9", "\xC9T\xE9"));
    EXPECT_TRUE(streq_i_ascii("\xE9", 1, "\xC9", 1));
    TableScope apart(chr_upper_table_ascii, 0xE9, 0xE9);
    EXPECT_EQ(1, strcmp_i_ascii("\xE9", "\xC9"));
    EXPECT_EQ(-1, strcmp_i_ascii("\xC9", "\xE9"));
    EXPECT_FALSE(streq_i_ascii("\xE9", 1, "\xC9", 1));
}

TEST(StreqIAscii, ComparesLengthsAndFoldedBytes) {
    EXPECT_TRUE(streq_i_ascii("aBc", 3, "AbC", 3));
    EXPECT_TRUE(streq_i_ascii("a\0b", 3, "A\0B", 3));
    EXPECT_FALSE(streq_i_ascii("a\0b", 3, "A\0C", 3));
    EXPECT_FALSE(streq_i_ascii("abc", 3, "ABC", 2));
    EXPECT_FALSE(streq_i_ascii("[", 1, "{", 1));
    EXPECT_TRUE(streq_i_ascii("\xFF", 1, "\xFF", 1));
    EXPECT_FALSE(streq_i_ascii("a", 1, nullptr, 0));
}

TEST(StreqIAscii, DoesNotReadEmptyTexts) {
    EXPECT_TRUE(streq_i_ascii(nullptr, 0, nullptr, 0));
    EXPECT_TRUE(streq_i_ascii(nullptr, 0, "a", 0));
}

int slowCompareIAscii(const std::string& a, const std::string& b) {
    for (Size i = 0; i < a.size() && i < b.size(); ++i)
        if (upper(a[i]) != upper(b[i]))
            return static_cast<unsigned char>(a[i]) > static_cast<unsigned char>(b[i]) ? 1 : -1;
    return a.size() > b.size() ? 1 : a.size() < b.size() ? -1 : 0;
}

bool slowEqualIAscii(const std::string& a, const std::string& b) {
    return a.size() == b.size() &&
           std::equal(a.begin(), a.end(), b.begin(), [](char x, char y) { return upper(x) == upper(y); });
}

TEST(Compare, AgreesWithTheSlowWayOnAllShortTexts) {
    TableScope pair(chr_upper_table_ascii, 0xE9, 0xC9), other(chr_upper_table_ascii, 0xC9, 0xC9);
    const std::vector<std::string> texts = allTexts({"a", "A", "B", "[", "\xE9", "\xC9"}, 3);
    GuardedRoom roomA, roomB;
    for (const std::string& a : texts) {
        const char* pa = roomA.put(a);
        for (const std::string& b : texts) {
            const char* pb = roomB.put(b);
            int order = sign(a.compare(b));
            bool right = sign(strcompare(pa, a.size(), pb, b.size())) == order &&
                         streq(pa, a.size(), pb, b.size()) == (order == 0) && strcmp0(a.c_str(), b.c_str()) == order;
            bool rightFolded = strcmp_i_ascii(pa, roomA.end(), pb, roomB.end()) == slowCompareIAscii(a, b) &&
                               strcmp_i_ascii(a.c_str(), b.c_str()) == slowCompareIAscii(a, b) &&
                               streq_i_ascii(pa, a.size(), pb, b.size()) == slowEqualIAscii(a, b);
            if (!right || !rightFolded) FAIL() << testing::PrintToString(a) << " and " << testing::PrintToString(b);
        }
    }
}

// --- Finding ---

TEST(Strbchr, FindsTheLastOccurrence) {
    const char text[] = "abcabc";
    EXPECT_EQ(text + 4, strbchr(text, text + 6, 'b'));
    EXPECT_EQ(text + 3, strbchr(text, text + 6, 'a'));
    EXPECT_EQ(text + 0, strbchr(text, text + 3, 'a'));
    EXPECT_EQ(text + 5, strbchr(text, text + 6, 'c'));
    EXPECT_EQ(text + 2, strbchr(text, text + 5, 'c'));
    EXPECT_EQ(nullptr, strbchr(text, text + 6, 'A'));
    EXPECT_EQ(nullptr, strbchr(text, text + 6, '\0'));
    EXPECT_EQ(text + 6, strbchr(text, text + 7, '\0'));
    const char high[] = "\xE9\xC9";
    EXPECT_EQ(high, strbchr(high, high + 2, '\xE9'));
}

TEST(Strbchr, EmptyOrTurnedRangeHoldsNothing) {
    const char text[] = "aaa";
    EXPECT_EQ(nullptr, strbchr(text + 1, text + 1, 'a'));
    EXPECT_EQ(nullptr, strbchr(text + 2, text + 1, 'a'));
    EXPECT_EQ(nullptr, strbchr(nullptr, nullptr, 'a'));
}

TEST(StrfindChar, FindsTheFirstOccurrence) {
    GuardedBytes text("abc\0bc"s);
    EXPECT_EQ(1, offset(strfind(text.begin(), text.size(), 'b'), text.begin()));
    EXPECT_EQ(3, offset(strfind(text.begin(), text.size(), '\0'), text.begin()));
    EXPECT_EQ(nullptr, strfind(text.begin(), text.size(), 'B'));
    EXPECT_EQ(nullptr, strfind(text.begin(), 1, 'b'));
    const char high[] = "a\xE9";
    EXPECT_EQ(high + 1, strfind(high, 2, '\xE9'));
}

TEST(StrfindChar, EmptyTextGivesNull) {
    EXPECT_EQ(nullptr, strfind("a", 0, 'a'));
    EXPECT_EQ(nullptr, strfind(nullptr, 0, 'a'));
}

struct FindRow {
    int line;
    std::string text, pattern;
    long exact, folded;  // offsets; -1 for null
};

const FindRow findRows[] = {
    {__LINE__, "abcabc", "abc", 0, 0},
    {__LINE__, "abcabc", "bc", 1, 1},
    {__LINE__, "abcabc", "ca", 2, 2},
    {__LINE__, "abcabc", "cab", 2, 2},
    {__LINE__, "abcabc", "c", 2, 2},
    {__LINE__, "abcabc", "abcabc", 0, 0},
    {__LINE__, "abcabc", "abcabcd", -1, -1},
    {__LINE__, "abcabc", "bd", -1, -1},
    {__LINE__, "abcabc", "d", -1, -1},
    {__LINE__, "aaab", "aab", 1, 1},
    {__LINE__, "abcabc", "BC", -1, 1},
    {__LINE__, "abcabc", "C", -1, 2},
    {__LINE__, "aAbB", "AB", -1, 1},
    {__LINE__, "aAbB", "Ab", 1, 1},
    {__LINE__, "xyz", "z", 2, 2},
    {__LINE__, "xyz", "yz", 1, 1},
    {__LINE__, "a\0b\0c"s, "\0c"s, 3, 3},
    {__LINE__, "a\0b\0c"s, "\0"s, 1, 1},
    {__LINE__, "\xE9\xC9\xA0", "\xC9\xA0", 1, 1},
    // An empty pattern is found behind the text; in an empty text only the exact form finds anything.
    {__LINE__, "abc", "", 3, 3},
    {__LINE__, "", "", 0, 0},
    {__LINE__, "", "a", 0, -1},
    {__LINE__, "", "abc", 0, -1},
};

TEST(Strfind, FindsTheFirstPlace) {
    for (const FindRow& row : findRows) {
        SCOPED_TRACE(row.line);
        GuardedBytes text(row.text), pattern(row.pattern);
        EXPECT_EQ(row.exact, offset(strfind(text.begin(), text.size(), pattern.begin(), pattern.size()), text.begin()));
    }
}

TEST(StrfindIAscii, FindsTheFirstPlace) {
    TableScope apart(chr_upper_table_ascii, 0xE9, 0xE9);
    for (const FindRow& row : findRows) {
        SCOPED_TRACE(row.line);
        GuardedBytes text(row.text), pattern(row.pattern);
        EXPECT_EQ(row.folded,
                  offset(strfind_i_ascii(text.begin(), text.size(), pattern.begin(), pattern.size()), text.begin()));
    }
}

TEST(Strfind, NullTextOrPatternGivesTheEndOfTheText) {
    const char text[] = "abc";
    EXPECT_EQ(text + 3, strfind(text, 3, nullptr, 0));
    EXPECT_EQ(text + 3, strfind(text, 3, nullptr, 2));
    EXPECT_EQ(text, strfind(text, 0, nullptr, 9));
    EXPECT_EQ(nullptr, strfind(nullptr, 0, "a", 1));
    EXPECT_EQ(nullptr, strfind(nullptr, 0, nullptr, 0));
    EXPECT_EQ(text + 3, strfind_i_ascii(text, 3, nullptr, 0));
    EXPECT_EQ(text + 3, strfind_i_ascii(text, 3, nullptr, 2));
    EXPECT_EQ(nullptr, strfind_i_ascii(nullptr, 0, "a", 1));
    EXPECT_EQ(nullptr, strfind_i_ascii(nullptr, 0, nullptr, 0));
}

TEST(Strfind, EmptyTextHoldsAPatternOnlyForTheExactForm) {
    const char text[] = "abc";
    EXPECT_EQ(text, strfind(text, 0, "a", 1));
    EXPECT_EQ(nullptr, strfind_i_ascii(text, Size{0}, "a", 1));
}

TEST(StrfindIAscii, FoldsThroughTheTableAlsoAboveAscii) {
    TableScope pair(chr_upper_table_ascii, 0xE9, 0xC9), other(chr_upper_table_ascii, 0xC9, 0xC9);
    const char text[] = "a\xE9t\xC9";
    EXPECT_EQ(text + 1, strfind_i_ascii(text, Size{4}, "\xC9", 1));
    EXPECT_EQ(text + 1, strfind_i_ascii(text, Size{4}, "\xC9T\xE9", 3));
    EXPECT_EQ(text + 1, strfind_i_ascii(text, text + 4, '\xC9'));
    EXPECT_EQ(text + 1, strfind_i_ascii(text, text + 4, '\xE9'));
}

TEST(StrfindIAsciiChar, FindsTheFirstOccurrence) {
    GuardedBytes text("xaBb"s);
    EXPECT_EQ(text.begin() + 1, strfind_i_ascii(text.begin(), text.end(), 'A'));
    EXPECT_EQ(text.begin() + 2, strfind_i_ascii(text.begin(), text.end(), 'b'));
    EXPECT_EQ(text.begin() + 2, strfind_i_ascii(text.begin(), text.end(), 'B'));
    EXPECT_EQ(nullptr, strfind_i_ascii(text.begin(), text.end(), 'y'));
    EXPECT_EQ(nullptr, strfind_i_ascii(text.begin(), text.end(), '\0'));
}

TEST(StrfindIAsciiChar, EmptyOrTurnedRangeHoldsNothing) {
    const char text[] = "aaa";
    EXPECT_EQ(nullptr, strfind_i_ascii(text + 1, text + 1, 'a'));
    EXPECT_EQ(nullptr, strfind_i_ascii(text + 2, text + 1, 'a'));
    EXPECT_EQ(nullptr, strfind_i_ascii(nullptr, nullptr, 'a'));
}

// The first offset at which `same` holds for all bytes of the pattern.
template <class Same>
long slowFind(const std::string& text, const std::string& pattern, Same same) {
    for (Size at = 0; at + pattern.size() <= text.size(); ++at)
        if (std::equal(pattern.begin(), pattern.end(), text.begin() + static_cast<std::ptrdiff_t>(at), same))
            return static_cast<long>(at);
    return -1;
}

long slowFindExact(const std::string& text, const std::string& pattern) {
    if (text.empty() || pattern.empty()) return static_cast<long>(text.size());
    return slowFind(text, pattern, [](char a, char b) { return a == b; });
}

long slowFindIAscii(const std::string& text, const std::string& pattern) {
    if (pattern.empty()) return static_cast<long>(text.size());
    return slowFind(text, pattern, [](char a, char b) { return upper(a) == upper(b); });
}

void expectFindsLikeTheSlowWay(const std::string& text, const char* t, const std::string& pattern, const char* p) {
    bool right = offset(strfind(t, text.size(), p, pattern.size()), t) == slowFindExact(text, pattern);
    bool rightFolded = offset(strfind_i_ascii(t, text.size(), p, pattern.size()), t) == slowFindIAscii(text, pattern);
    if (!right || !rightFolded)
        FAIL() << testing::PrintToString(pattern) << " in " << testing::PrintToString(text) << (right ? " folded" : "");
}

TEST(Strfind, AgreesWithTheSlowWayOnAllShortTexts) {
    const std::vector<std::string> texts = allTexts({"a", "A", "b"}, 6), patterns = allTexts({"a", "A", "b"}, 3);
    GuardedRoom textRoom, patternRoom;
    for (const std::string& pattern : patterns) {
        const char* p = patternRoom.put(pattern);
        for (const std::string& text : texts) {
            expectFindsLikeTheSlowWay(text, textRoom.put(text), pattern, p);
            if (HasFatalFailure()) return;
        }
    }
}

TEST(Strfind, AgreesWithTheSlowWayOnLongTexts) {
    const char letters[] = {'a', 'A', 'b', '\xE9'};
    std::mt19937 random(20210403);
    GuardedRoom textRoom, patternRoom;
    for (int round = 0; round < 5000; ++round) {
        unsigned letterCount = 2 + random() % 3;
        auto draw = [&](Size length) {
            std::string text;
            while (text.size() < length) text += letters[random() % letterCount];
            return text;
        };
        std::string text = draw(random() % 200), pattern = draw(random() % 9);
        // Every other pattern is a piece of the text, the last one included.
        if (round % 2 && text.size() > 8) pattern = text.substr(random() % (text.size() - 7), 1 + random() % 8);
        expectFindsLikeTheSlowWay(text, textRoom.put(text), pattern, patternRoom.put(pattern));
        if (HasFatalFailure()) return;
    }
}

// Texts in which a pattern nearly matches everywhere: what it takes to make the plain walk give way, and all shapes of
// patterns for the search that follows, with and without a period.
TEST(Strfind, AgreesWithTheSlowWayWherePatternsNearlyMatchEverywhere) {
    std::mt19937 random(20260411);
    for (int round = 0; round < 200; ++round) {
        // Words of Fibonacci's kind, powers of a short word, and either with a few bytes changed.
        std::string word(1 + random() % 3, 'a');
        if (random() % 2) word += 'b';
        std::string shorter = "a";
        std::string pattern = word;
        const Size length = 20 + random() % 60;
        while (pattern.size() < length) {
            if (round % 2) {
                std::string longer = pattern + shorter;
                shorter = pattern;
                pattern = longer;
            } else {
                pattern += word;
            }
        }
        std::string text;
        while (text.size() < 12 * pattern.size()) {
            std::string piece = pattern.substr(0, pattern.size() - random() % 4);
            if (random() % 3 == 0) piece[random() % piece.size()] = random() % 2 ? 'b' : 'A';
            text += piece;
        }
        if (random() % 4 != 0) pattern[random() % 2 ? pattern.size() - 1 : random() % pattern.size()] = 'B';
        if (random() % 2) text += pattern;
        const GuardedBytes textBytes(text), patternBytes(pattern);
        expectFindsLikeTheSlowWay(text, textBytes.begin(), pattern, patternBytes.begin());
        if (HasFatalFailure()) return;
    }
}

// Every pattern of up to 7 letters after so long a common begin that it is not the plain walk that finds or misses it.
TEST(Strfind, AgreesWithTheSlowWayOnAllPatternsAfterALongBegin) {
    const std::string begin(24, 'a');
    std::mt19937 random(7);
    for (const std::string& tail : allTexts({"a", "b"}, 7)) {
        for (const std::string& pattern : {begin + tail, tail + begin, begin.substr(3) + tail + begin + tail}) {
            std::string text;
            for (int i = 0; i < 30; ++i) text += i % 3 ? begin : pattern.substr(0, pattern.size() - 1);
            text.insert(text.size() - random() % 50, pattern);
            expectFindsLikeTheSlowWay(text, text.data(), pattern, pattern.data());
            if (HasFatalFailure()) return;
        }
    }
}

TEST(StrfindLast, CutsPathsAtSeparatorsAndDots) {
    const struct {
        int line;
        const char* path;
        long item, extension;
    } rows[] = {
        {__LINE__, "", 0, 0},
        {__LINE__, "name", 0, 4},
        {__LINE__, "name.txt", 0, 5},
        {__LINE__, "a.tar.gz", 0, 6},
        {__LINE__, "dir/name", 4, 8},
        {__LINE__, "dir\\name", 4, 8},
        {__LINE__, "C:name", 2, 6},
        {__LINE__, "C:\\dir/name.e", 7, 12},
        {__LINE__, "dir.d/name", 6, 10},
        {__LINE__, "dir.d\\name", 6, 10},
        {__LINE__, "dir.d:name", 6, 10},
        {__LINE__, "dir/", 4, 4},
        {__LINE__, "dir\\", 4, 4},
        {__LINE__, "C:", 2, 2},
        {__LINE__, "/", 1, 1},
        {__LINE__, "/a", 1, 2},
        {__LINE__, "name.", 0, 5},
        {__LINE__, ".profile", 0, 1},
        {__LINE__, "dir/.profile", 4, 5},
        {__LINE__, ".", 0, 1},
        {__LINE__, "..", 0, 2},
        {__LINE__, "a.b/", 4, 4},
        {__LINE__, "//x", 2, 3},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.line);
        GuardedBytes path(row.path);
        EXPECT_EQ(path.begin() + row.item, strfind_last_path_item(path.begin(), path.end()));
        EXPECT_EQ(path.begin() + row.extension, strfind_last_extension(path.begin(), path.end()));
    }
}

TEST(StrfindLast, NeverLooksBeforeTheBegin) {
    const char path[] = "dir/x.y/name";
    EXPECT_EQ(path + 8, strfind_last_path_item(path + 8, path + 12));
    EXPECT_EQ(path + 12, strfind_last_extension(path + 8, path + 12));
    EXPECT_EQ(path + 9, strfind_last_path_item(path + 9, path + 12));
}

TEST(StrfindLast, EmptyOrTurnedRangeIsItsOwnAnswer) {
    const char path[] = "a/b.c";
    EXPECT_EQ(path + 4, strfind_last_path_item(path + 4, path + 4));
    EXPECT_EQ(path + 4, strfind_last_path_item(path + 4, path + 3));
    EXPECT_EQ(path + 4, strfind_last_extension(path + 4, path + 4));
    EXPECT_EQ(path + 3, strfind_last_extension(path + 4, path + 3));
    EXPECT_EQ(nullptr, strfind_last_path_item(nullptr, nullptr));
    EXPECT_EQ(nullptr, strfind_last_extension(nullptr, nullptr));
}

// --- Case conversion ---

TEST(CaseAscii, ConvertsEveryByteThroughItsTable) {
    TableScope pairUp(chr_upper_table_ascii, 0xE9, 0xC9), pairDown(chr_lower_table_ascii, 0xC9, 0xE9);
    std::string all;
    for (int c = 0; c < 256; ++c) all += static_cast<char>(c);
    GuardedBytes upperCase(all), lowerCase(all);
    strup_ascii(upperCase.begin(), upperCase.end());
    strlw_ascii(lowerCase.begin(), lowerCase.end());
    for (int c = 0; c < 256; ++c) {
        SCOPED_TRACE(c);
        EXPECT_EQ(chr_upper_table_ascii[c], static_cast<unsigned char>(upperCase.begin()[c]));
        EXPECT_EQ(chr_lower_table_ascii[c], static_cast<unsigned char>(lowerCase.begin()[c]));
    }
    EXPECT_EQ('\xC9', upperCase.begin()[0xE9]);
    EXPECT_EQ('\xE9', lowerCase.begin()[0xC9]);
}

TEST(CaseAscii, ChangesTheRangeAlone) {
    char text[] = "abCDef";
    strup_ascii(text + 1, text + 3);
    EXPECT_STREQ("aBCDef", text);
    strlw_ascii(text + 2, text + 5);
    EXPECT_STREQ("aBcdef", text);
}

TEST(CaseAscii, EmptyOrTurnedRangeDoesNothing) {
    char text[] = "aBcD";
    strup_ascii(text + 2, text + 2);
    strlw_ascii(text + 1, text + 1);
    strup_ascii(text + 3, text);
    strlw_ascii(text + 3, text);
    EXPECT_STREQ("aBcD", text);
    strup_ascii(nullptr, nullptr);
    strlw_ascii(nullptr, nullptr);
}

TEST(CaseUtf16, ConvertsEveryUnitThroughItsTable) {
    TableScope pairUp(chr_upper_table_utf16, 0xFF, 0x178), pairDown(chr_lower_table_utf16, 0x178, 0xFF);
    utf16_string upperCase, lowerCase;
    for (unsigned c = 0; c < 65536; ++c) upperCase += static_cast<utf16_t>(c);
    lowerCase = upperCase;
    strup_utf16(upperCase.data(), upperCase.data() + upperCase.size());
    strlw_utf16(lowerCase.data(), lowerCase.data() + lowerCase.size());
    EXPECT_EQ(0, std::memcmp(chr_upper_table_utf16, upperCase.data(), sizeof chr_upper_table_utf16));
    EXPECT_EQ(0, std::memcmp(chr_lower_table_utf16, lowerCase.data(), sizeof chr_lower_table_utf16));
    EXPECT_EQ(0x178u, static_cast<unsigned>(upperCase[0xFF]));
    EXPECT_EQ(0xFFu, static_cast<unsigned>(lowerCase[0x178]));
    EXPECT_EQ(static_cast<unsigned>('A'), static_cast<unsigned>(upperCase['a']));
    EXPECT_EQ(static_cast<unsigned>('a'), static_cast<unsigned>(lowerCase['A']));
}

TEST(CaseUtf16, ChangesTheRangeAlone) {
    utf16_string text = units({'a', 'b', 'C', 'D'});
    strup_utf16(text.data() + 1, text.data() + 2);
    EXPECT_EQ(units({'a', 'B', 'C', 'D'}), text);
    strlw_utf16(text.data() + 2, text.data() + 3);
    EXPECT_EQ(units({'a', 'B', 'c', 'D'}), text);
}

TEST(CaseUtf16, AnEndInsideAUnitCoversIt) {
    const struct {
        int line;
        int bytes;
        utf16_string upperCase, lowerCase;
    } rows[] = {
        {__LINE__, 0, units({'a', 'b', 'c'}), units({'A', 'B', 'C'})},
        {__LINE__, 1, units({'A', 'b', 'c'}), units({'a', 'B', 'C'})},
        {__LINE__, 2, units({'A', 'b', 'c'}), units({'a', 'B', 'C'})},
        {__LINE__, 3, units({'A', 'B', 'c'}), units({'a', 'b', 'C'})},
        {__LINE__, 5, units({'A', 'B', 'C'}), units({'a', 'b', 'c'})},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.line);
        utf16_string up = units({'a', 'b', 'c'}), low = units({'A', 'B', 'C'});
        auto end = [&](utf16_string& text) {
            return reinterpret_cast<const utf16_t*>(reinterpret_cast<const char*>(text.data()) + row.bytes);
        };
        strup_utf16(up.data(), end(up));
        strlw_utf16(low.data(), end(low));
        EXPECT_EQ(row.upperCase, up);
        EXPECT_EQ(row.lowerCase, low);
    }
}

TEST(CaseUtf16, EmptyOrTurnedRangeDoesNothing) {
    utf16_string text = units({'a', 'B', 'c'}), before = text;
    strup_utf16(text.data() + 2, text.data() + 2);
    strup_utf16(text.data() + 2, text.data());
    strlw_utf16(text.data() + 2, text.data() + 1);
    EXPECT_EQ(before, text);
    strup_utf16(nullptr, nullptr);
    strlw_utf16(nullptr, nullptr);
    EXPECT_EQ(before, text);
}

}  // namespace
