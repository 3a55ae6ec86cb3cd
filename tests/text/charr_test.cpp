#include <velmora/text/charr.h>

#include <gtest/gtest.h>

#include <cstdarg>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <string>
#include <type_traits>
#include <utility>

#include <velmora/text/charvector.h>

namespace {

static_assert(sizeof(ChArr) == 8 && offsetof(ChArr, data) == 0, "one pointer and nothing else");
static_assert(std::is_same<decltype(ChArr::data), char*>::value, "the text is the owner's to change");
static_assert(std::is_same<decltype(std::declval<const ChArr&>().len()), int>::value, "lengths are int");

const char* const kNoText = nullptr;
const utf16_t* const kNoText16 = nullptr;

// "ab" and what lies behind its terminator.
const char kWithZero[] = "ab\0cd";
const std::size_t kWithZeroSize = sizeof(kWithZero) - 1;

// The 16-bit unit has another type on each system; the literals of the tests do not.
utf16_string wide(const std::u16string& s) { return utf16_string(s.begin(), s.end()); }

// One, two and three bytes for a unit, and a pair whose halves are converted alone.
const std::u16string kMixed16 = u"A\u00E9\u20AC\xD83D\xDE00";
const char kMixed8[] = "A\xC3\xA9\xE2\x82\xAC\xED\xA0\xBD\xED\xB8\x80";

int sign(int n) { return n < 0 ? -1 : n > 0 ? 1 : 0; }

TEST(ChArrConstructor, DefaultIsNull) {
    ChArr a;
    EXPECT_EQ(nullptr, a.data);
}

TEST(ChArrConstructor, CopiesEveryForm) {
    const char text[] = "h\xC3\xA9llo";
    const ChArr source(text);
    const CharVector vector(text);
    const std::string string(text);
    EXPECT_STREQ(text, source.data);
    EXPECT_NE(text, source.data);
    EXPECT_STREQ("\xC3\xA9l", ChArr(text + 1, text + 4).data);
    EXPECT_STREQ("llo", ChArr(ChPair(text + 3, text + 6)).data);
    EXPECT_STREQ(text, ChArr(string).data);

    ChArr copy(source);
    EXPECT_STREQ(text, copy.data);
    EXPECT_NE(source.data, copy.data);
    ChArr fromVector(vector);
    EXPECT_STREQ(text, fromVector.data);
    EXPECT_NE(vector.data, fromVector.data);
}

TEST(ChArrConstructor, ConvertsUtf16) {
    const utf16_string text = wide(kMixed16);
    EXPECT_STREQ(kMixed8, ChArr(text.c_str()).data);
    EXPECT_STREQ(kMixed8, ChArr(text).data);
    EXPECT_STREQ(kMixed8, ChArr(ChArr16(text.c_str())).data);
    EXPECT_STREQ("\xC3\xA9\xE2\x82\xAC", ChArr(text.data() + 1, text.data() + 3).data);
}

TEST(ChArrConstructor, NullSourceGivesNull) {
    const ChArr none;
    const ChArr16 none16;
    EXPECT_EQ(nullptr, ChArr(kNoText).data);
    EXPECT_EQ(nullptr, ChArr(kNoText, kNoText).data);
    EXPECT_EQ(nullptr, ChArr(ChPair()).data);
    EXPECT_EQ(nullptr, ChArr(none).data);
    EXPECT_EQ(nullptr, ChArr(CharVector()).data);
    EXPECT_EQ(nullptr, ChArr(kNoText16).data);
    EXPECT_EQ(nullptr, ChArr(kNoText16, kNoText16).data);
    EXPECT_EQ(nullptr, ChArr(none16).data);
}

// Expects an allocated text of no bytes.
void expectAllocatedEmpty(int line, const ChArr& a) {
    SCOPED_TRACE(line);
    ASSERT_NE(nullptr, a.data);
    EXPECT_EQ(0, a.data[0]);
    EXPECT_TRUE(a.empty());
    EXPECT_EQ(0, a.len());
    EXPECT_EQ(a.data, a.end());
}

TEST(ChArrConstructor, EmptySourceGivesAnAllocatedEmptyText) {
    const char text[] = "abc";
    const utf16_string none16;
    const ChArr empty("");
    CharVector truncated(text);
    truncated.truncate();
    expectAllocatedEmpty(__LINE__, empty);
    expectAllocatedEmpty(__LINE__, ChArr(text + 1, text + 1));
    expectAllocatedEmpty(__LINE__, ChArr(ChPair(text, 0)));
    expectAllocatedEmpty(__LINE__, ChArr(empty));
    expectAllocatedEmpty(__LINE__, ChArr(truncated));
    expectAllocatedEmpty(__LINE__, ChArr(std::string()));
    expectAllocatedEmpty(__LINE__, ChArr(none16.c_str()));
    expectAllocatedEmpty(__LINE__, ChArr(none16.data(), none16.data()));
    expectAllocatedEmpty(__LINE__, ChArr(none16));
    expectAllocatedEmpty(__LINE__, ChArr(ChArr16(none16.c_str())));
}

TEST(ChArrConstructor, CountedFormsTakeZeroBytesAlong) {
    const std::string string(kWithZero, kWithZeroSize);
    const ChArr texts[] = {ChArr(kWithZero, kWithZero + kWithZeroSize), ChArr(ChPair(string)), ChArr(string),
                           ChArr(CharVector(string))};
    for (const ChArr& a : texts) {
        SCOPED_TRACE(&a - texts);
        EXPECT_EQ(0, std::memcmp(kWithZero, a.data, kWithZeroSize + 1));
        EXPECT_EQ(2, a.len());
    }
    const utf16_string string16 = wide(std::u16string(u"a\0b", 3));
    const ChArr from16(string16), fromRange16(string16.data(), string16.data() + 3);
    EXPECT_EQ(0, std::memcmp("a\0b", from16.data, 4));
    EXPECT_EQ(0, std::memcmp("a\0b", fromRange16.data, 4));
}

TEST(ChArrAssign, ReplacesByEveryForm) {
    const char text[] = "new text";
    const std::string string(text);
    const CharVector vector(text);
    const ChArr source(text);
    ChArr a("old");
    EXPECT_EQ(&a, &(a = text));
    EXPECT_STREQ(text, a.data);
    EXPECT_NE(text, a.data);
    EXPECT_EQ(&a, &(a = ChPair(text + 1, text + 3)));
    EXPECT_STREQ("ew", a.data);
    EXPECT_EQ(&a, &(a = source));
    EXPECT_STREQ(text, a.data);
    EXPECT_NE(source.data, a.data);
    a = "old";
    EXPECT_EQ(&a, &(a = vector));
    EXPECT_STREQ(text, a.data);
    EXPECT_NE(vector.data, a.data);
    a = "old";
    EXPECT_EQ(&a, &(a = string));
    EXPECT_STREQ(text, a.data);
    a.assign(text + 4, text + 8);
    EXPECT_STREQ("text", a.data);
    a.assign(text, 3);
    EXPECT_STREQ("new", a.data);
}

TEST(ChArrAssign, ConvertsUtf16) {
    const utf16_string text = wide(kMixed16);
    ChArr a("old");
    EXPECT_EQ(&a, &(a = text.c_str()));
    EXPECT_STREQ(kMixed8, a.data);
    a = "old";
    EXPECT_EQ(&a, &(a = text));
    EXPECT_STREQ(kMixed8, a.data);
    a.assign(text.data(), text.data() + 2);
    EXPECT_STREQ("A\xC3\xA9", a.data);
    a.assign(text.data() + 2, 1);
    EXPECT_STREQ("\xE2\x82\xAC", a.data);
}

TEST(ChArrAssign, NullSourceGivesNull) {
    const ChArr none;
    ChArr a("old");
    a = kNoText;
    EXPECT_EQ(nullptr, a.data);
    a = "old";
    a = ChPair();
    EXPECT_EQ(nullptr, a.data);
    a = "old";
    a = none;
    EXPECT_EQ(nullptr, a.data);
    a = "old";
    a = CharVector();
    EXPECT_EQ(nullptr, a.data);
    a = "old";
    a.assign(kNoText, kNoText);
    EXPECT_EQ(nullptr, a.data);
    a = "old";
    a.assign(kNoText, 0);
    EXPECT_EQ(nullptr, a.data);
    a = "old";
    a = kNoText16;
    EXPECT_EQ(nullptr, a.data);
    a = "old";
    a.assign(kNoText16, kNoText16);
    EXPECT_EQ(nullptr, a.data);
    a = "old";
    a.assign(kNoText16, 0);
    EXPECT_EQ(nullptr, a.data);
}

TEST(ChArrAssign, EmptySourceGivesAnAllocatedEmptyText) {
    const utf16_string none16;
    ChArr a("old");
    a = "";
    expectAllocatedEmpty(__LINE__, a);
    a = "old";
    a = ChPair("");
    expectAllocatedEmpty(__LINE__, a);
    a = "old";
    a = ChArr("");
    expectAllocatedEmpty(__LINE__, a);
    a = "old";
    a = std::string();
    expectAllocatedEmpty(__LINE__, a);
    a = "old";
    a.assign("x", 0);
    expectAllocatedEmpty(__LINE__, a);
    a = "old";
    a = none16;
    expectAllocatedEmpty(__LINE__, a);
}

// The test is on the pointer alone, so the shorter length is not seen.
TEST(ChArrAssign, SourceThatBeginsAtTheTextChangesNothing) {
    ChArr a("abcdef");
    char* const before = a.data;
    const ChArr& itself = a;
    a.assign(a.asCharPtr(), 3);
    EXPECT_EQ(before, a.data);
    EXPECT_STREQ("abcdef", a.data);
    a.assign(a.data, a.data + 2);
    EXPECT_EQ(before, a.data);
    EXPECT_STREQ("abcdef", a.data);
    a = ChPair(a.data, 1);
    EXPECT_EQ(before, a.data);
    EXPECT_STREQ("abcdef", a.data);
    a = a.asCharPtr();
    EXPECT_EQ(before, a.data);
    a = itself;
    EXPECT_EQ(before, a.data);
    EXPECT_STREQ("abcdef", a.data);
}

TEST(ChArrAssign, SourceMayLieInsideTheOldText) {
    ChArr a("abcdefgh");
    a = a.data + 1;
    EXPECT_STREQ("bcdefgh", a.data);
    a = ChPair(a.data + 1, a.data + 6);
    EXPECT_STREQ("cdefg", a.data);
    a.assign(a.data + 1, a.data + 4);
    EXPECT_STREQ("def", a.data);
    a.assign(a.data + 1, 2);
    EXPECT_STREQ("ef", a.data);
}

TEST(ChArrAccess, NullTextReadsAsTheSharedEmptyText) {
    ChArr a;
    EXPECT_EQ(empty_string, a.asCharPtr());
    EXPECT_EQ(empty_string, a());
    EXPECT_EQ(empty_string, static_cast<const char*>(a));
    EXPECT_EQ(0, a.len());
    EXPECT_EQ(nullptr, a.end());
    EXPECT_TRUE(a.empty());
}

TEST(ChArrAccess, TextReadsInPlace) {
    ChArr a("\xC3\xA9tat");
    EXPECT_EQ(a.data, a.asCharPtr());
    EXPECT_EQ(a.data, a());
    EXPECT_EQ(a.data, static_cast<const char*>(a));
    EXPECT_EQ(5, a.len());
    EXPECT_EQ(a.data + 5, a.end());
    EXPECT_FALSE(a.empty());
}

TEST(ChArrAccess, EmptyTextIsToldFromNullByItsPointerOnly) {
    ChArr a("");
    EXPECT_TRUE(a.empty());
    EXPECT_EQ(a.data, a.asCharPtr());
    EXPECT_NE(empty_string, a.asCharPtr());
    EXPECT_EQ(a.data, a.end());
}

TEST(ChArrAccess, LengthFollowsTheBytes) {
    ChArr a("abcdef");
    a.data[2] = 0;
    EXPECT_EQ(2, a.len());
    EXPECT_EQ(a.data + 2, a.end());
}

TEST(ChArrDel, GivesNullAndMayBeRepeated) {
    ChArr a("text");
    a.del();
    EXPECT_EQ(nullptr, a.data);
    a.del();
    EXPECT_EQ(nullptr, a.data);
}

TEST(ChArrSteal, HandsTheArrayOut) {
    ChArr a("text");
    char* const before = a.data;
    std::unique_ptr<char[]> stolen(a.steal());
    EXPECT_EQ(before, stolen.get());
    EXPECT_STREQ("text", stolen.get());
    EXPECT_EQ(nullptr, a.data);
    EXPECT_EQ(nullptr, a.steal());
}

TEST(ChArrStealFrom, TakesAnothersArray) {
    ChArr a("old"), other("text");
    char* const before = other.data;
    a.stealFrom(other);
    EXPECT_EQ(before, a.data);
    EXPECT_STREQ("text", a.data);
    EXPECT_EQ(nullptr, other.data);
    a.stealFrom(other);
    EXPECT_EQ(nullptr, a.data);
}

TEST(ChArrStealFrom, TakesAVectorsArray) {
    ChArr a("old");
    CharVector v;
    v.append("text");
    char* const before = v.data;
    a.stealFrom(v);
    EXPECT_EQ(before, a.data);
    EXPECT_STREQ("text", a.data);
    EXPECT_TRUE(v.isNull());
    EXPECT_EQ(0, v.count);
    EXPECT_EQ(0, v.allocateCount);
    a.stealFrom(v);
    EXPECT_EQ(nullptr, a.data);
}

TEST(ChArrAppend, AddsBehindTheText) {
    ChArr a("ab");
    a += "cd";
    EXPECT_STREQ("abcd", a.data);
    a += ChArr("ef");
    EXPECT_STREQ("abcdef", a.data);
    a += std::string("gh");
    EXPECT_STREQ("abcdefgh", a.data);
    a += "";
    EXPECT_STREQ("abcdefgh", a.data);
}

TEST(ChArrAppend, NullSourceChangesNothing) {
    const ChArr none;
    ChArr a("ab");
    char* const before = a.data;
    a += kNoText;
    a += none;
    EXPECT_EQ(before, a.data);
    EXPECT_STREQ("ab", a.data);
    ChArr b;
    b += kNoText;
    b += none;
    EXPECT_EQ(nullptr, b.data);
}

TEST(ChArrAppend, OnNullIsACopyEvenOfNothing) {
    ChArr a, b, c, d;
    a += "";
    expectAllocatedEmpty(__LINE__, a);
    b += ChArr("");
    expectAllocatedEmpty(__LINE__, b);
    c += std::string();
    expectAllocatedEmpty(__LINE__, c);
    d += "x";
    EXPECT_STREQ("x", d.data);
}

TEST(ChArrAppend, TakesItsOwnText) {
    ChArr a("abc");
    a += a;
    EXPECT_STREQ("abcabc", a.data);
    a += a.data + 4;
    EXPECT_STREQ("abcabcbc", a.data);
}

TEST(ChArrInsert, PutsInFront) {
    ChArr a("cd");
    a.insert("ab");
    EXPECT_STREQ("abcd", a.data);
    a.insert(a.data + 3);
    EXPECT_STREQ("dabcd", a.data);
}

TEST(ChArrInsert, OnNullIsACopy) {
    ChArr a;
    a.insert("ab");
    EXPECT_STREQ("ab", a.data);
    ChArr empty("");
    empty.insert("ab");
    EXPECT_STREQ("ab", empty.data);
}

TEST(ChArrInsert, NothingChangesNothing) {
    ChArr none;
    none.insert("");
    EXPECT_EQ(nullptr, none.data);
    none.insert(kNoText);
    EXPECT_EQ(nullptr, none.data);
    ChArr a("cd");
    char* const before = a.data;
    a.insert("");
    a.insert(kNoText);
    EXPECT_EQ(before, a.data);
    EXPECT_STREQ("cd", a.data);
}

TEST(ChArrCase, ChangesTheTextInPlace) {
    ChArr a("Some TEXT 1");
    char* const before = a.data;
    a.lw_ascii();
    EXPECT_STREQ("some text 1", a.data);
    a.up_ascii();
    EXPECT_STREQ("SOME TEXT 1", a.data);
    EXPECT_EQ(before, a.data);
    ChArr none;
    none.lw_ascii();
    none.up_ascii();
    EXPECT_EQ(nullptr, none.data);
}

struct OrderRow {
    int line;
    const char* a;
    const char* b;
    int bytes;  // sign by bytes
    int ascii;  // compare_i_ascii
    int utf8;   // compare_i_utf8
};
const OrderRow kOrders[] = {
    {__LINE__, "", "", 0, 0, 0},
    {__LINE__, "a", "", 1, 1, 1},
    {__LINE__, "", "a", -1, -1, -1},
    {__LINE__, "abc", "abc", 0, 0, 0},
    {__LINE__, "abc", "abd", -1, -1, -1},
    {__LINE__, "abd", "abc", 1, 1, 1},
    {__LINE__, "ab", "abc", -1, -1, -1},
    {__LINE__, "abc", "ab", 1, 1, 1},
    {__LINE__, "abc", "ABC", 1, 0, 0},
    {__LINE__, "ABC", "abc", -1, 0, 0},
    {__LINE__, "ab", "ABC", 1, -1, -1},
    {__LINE__, "ABC", "ab", -1, 1, 1},
    // The sign of compare_i_ascii is that of the raw bytes, the sign of compare_i_utf8 that of the folded ones.
    {__LINE__, "a", "B", 1, 1, -1},
    {__LINE__, "B", "a", -1, -1, 1},
    {__LINE__, "Z", "a", -1, -1, 1},
    // Bytes are unsigned.
    {__LINE__, "\xC3\xA9", "z", 1, 1, 1},
    {__LINE__, "z", "\xC3\xA9", -1, -1, -1},
};

TEST(ChArrCompare, OrdersByBytesInAllForms) {
    for (const OrderRow& row : kOrders) {
        SCOPED_TRACE(row.line);
        const ChArr a(row.a), b(row.b);
        const std::string string(row.b);
        const int size = static_cast<int>(string.size());
        // Against zero-terminated text the number itself is promised, else only its sign.
        EXPECT_EQ(row.bytes, a.compare(row.b));
        EXPECT_EQ(row.bytes, a.compare(b));
        EXPECT_EQ(row.bytes, sign(a.compare(row.b, row.b + size)));
        EXPECT_EQ(row.bytes, sign(a.compare(row.b, size)));
        EXPECT_EQ(row.bytes, sign(a.compare(string)));
        EXPECT_EQ(row.bytes, sign(a.compare(ChPair(row.b))));
    }
}

TEST(ChArrEqual, ComparesBytesInAllForms) {
    for (const OrderRow& row : kOrders) {
        SCOPED_TRACE(row.line);
        const ChArr a(row.a), b(row.b);
        const std::string string(row.b);
        const int size = static_cast<int>(string.size());
        const bool equal = row.bytes == 0;
        EXPECT_EQ(equal, a.equal(row.b));
        EXPECT_EQ(equal, a.equal(b));
        EXPECT_EQ(equal, a.equal(row.b, row.b + size));
        EXPECT_EQ(equal, a.equal(row.b, size));
        EXPECT_EQ(equal, a.equal(string));
        EXPECT_EQ(equal, a.equal(ChPair(row.b)));
    }
}

TEST(ChArrCompareIAscii, OrdersInAllForms) {
    for (const OrderRow& row : kOrders) {
        SCOPED_TRACE(row.line);
        const ChArr a(row.a), b(row.b);
        const std::string string(row.b);
        const int size = static_cast<int>(string.size());
        EXPECT_EQ(row.ascii, a.compare_i_ascii(row.b));
        EXPECT_EQ(row.ascii, a.compare_i_ascii(b));
        EXPECT_EQ(row.ascii, a.compare_i_ascii(row.b, row.b + size));
        EXPECT_EQ(row.ascii, a.compare_i_ascii(row.b, size));
        EXPECT_EQ(row.ascii, a.compare_i_ascii(string));
        EXPECT_EQ(row.ascii, a.compare_i_ascii(ChPair(row.b)));
    }
}

TEST(ChArrEqualIAscii, ComparesInAllForms) {
    for (const OrderRow& row : kOrders) {
        SCOPED_TRACE(row.line);
        const ChArr a(row.a), b(row.b);
        const std::string string(row.b);
        const int size = static_cast<int>(string.size());
        const bool equal = row.ascii == 0;
        EXPECT_EQ(equal, a.equal_i_ascii(row.b));
        EXPECT_EQ(equal, a.equal_i_ascii(b));
        EXPECT_EQ(equal, a.equal_i_ascii(row.b, row.b + size));
        EXPECT_EQ(equal, a.equal_i_ascii(row.b, size));
        EXPECT_EQ(equal, a.equal_i_ascii(string));
        EXPECT_EQ(equal, a.equal_i_ascii(ChPair(row.b)));
    }
}

TEST(ChArrCompareIUtf8, OrdersInAllForms) {
    for (const OrderRow& row : kOrders) {
        SCOPED_TRACE(row.line);
        const ChArr a(row.a), b(row.b);
        const std::string string(row.b);
        const int size = static_cast<int>(string.size());
        EXPECT_EQ(row.utf8, a.compare_i_utf8(row.b));
        EXPECT_EQ(row.utf8, a.compare_i_utf8(b));
        EXPECT_EQ(row.utf8, a.compare_i_utf8(row.b, row.b + size));
        EXPECT_EQ(row.utf8, a.compare_i_utf8(row.b, size));
        EXPECT_EQ(row.utf8, a.compare_i_utf8(string));
        EXPECT_EQ(row.utf8, a.compare_i_utf8(ChPair(row.b)));
    }
}

TEST(ChArrEqualIUtf8, ComparesInAllForms) {
    for (const OrderRow& row : kOrders) {
        SCOPED_TRACE(row.line);
        const ChArr a(row.a), b(row.b);
        const std::string string(row.b);
        const int size = static_cast<int>(string.size());
        const bool equal = row.utf8 == 0;
        EXPECT_EQ(equal, a.equal_i_utf8(row.b));
        EXPECT_EQ(equal, a.equal_i_utf8(b));
        EXPECT_EQ(equal, a.equal_i_utf8(row.b, row.b + size));
        EXPECT_EQ(equal, a.equal_i_utf8(row.b, size));
        EXPECT_EQ(equal, a.equal_i_utf8(string));
        EXPECT_EQ(equal, a.equal_i_utf8(ChPair(row.b)));
    }
}

// Whether two characters fold together depends on the character locale that the tables were built in.
TEST(ChArrEqualIUtf8, FoldsCharactersByTheTables) {
    const bool folds = chr_upper_table_utf16[0xE9] == chr_upper_table_utf16[0xC9];
    const ChArr small("caf\xC3\xA9"), capital("CAF\xC3\x89");
    EXPECT_EQ(folds, small.equal_i_utf8(capital));
    EXPECT_EQ(folds, small.compare_i_utf8(capital) == 0);
    EXPECT_EQ(folds, small.equal_i_utf8("CAF\xC3\x89"));
    EXPECT_EQ(folds, small.equal_i_utf8(std::string("CAF\xC3\x89")));
}

TEST(ChArrEqualIUtf8, OtherByteLengthIsNeverEqual) {
    const bool folds = chr_upper_table_utf16[0x131] == 'I';
    const ChArr dotless("\xC4\xB1");
    EXPECT_EQ(folds, dotless.compare_i_utf8("i") == 0);
    EXPECT_EQ(folds, dotless.compare_i_utf8(ChArr("I")) == 0);
    EXPECT_FALSE(dotless.equal_i_utf8("i"));
    EXPECT_FALSE(dotless.equal_i_utf8(ChArr("I")));
    EXPECT_FALSE(dotless.equal_i_utf8(ChPair("i")));
}

TEST(ChArrCompare, NullTextCountsAsEmpty) {
    const ChArr none, empty(""), a("a");
    EXPECT_EQ(0, none.compare(""));
    EXPECT_EQ(0, none.compare(kNoText));
    EXPECT_EQ(0, none.compare(empty));
    EXPECT_EQ(0, empty.compare(none));
    EXPECT_EQ(-1, none.compare("a"));
    EXPECT_EQ(-1, none.compare(a));
    EXPECT_EQ(1, a.compare(none));
    EXPECT_EQ(1, a.compare(kNoText));
    EXPECT_EQ(0, none.compare("x", 0));
    EXPECT_EQ(0, none.compare(std::string()));
    EXPECT_EQ(0, none.compare(ChPair()));
    EXPECT_GT(0, none.compare(std::string("a")));
    EXPECT_LT(0, a.compare(ChPair()));

    EXPECT_TRUE(none.equal(""));
    EXPECT_TRUE(none.equal(kNoText));
    EXPECT_TRUE(none.equal(empty));
    EXPECT_TRUE(empty.equal(none));
    EXPECT_TRUE(none.equal("x", 0));
    EXPECT_TRUE(none.equal(std::string()));
    EXPECT_TRUE(none.equal(ChPair()));
    EXPECT_FALSE(none.equal("a"));
    EXPECT_FALSE(a.equal(none));
    EXPECT_FALSE(a.equal(kNoText));
    EXPECT_FALSE(a.equal(ChPair()));

    EXPECT_EQ(0, none.compare_i_ascii(""));
    EXPECT_EQ(0, none.compare_i_ascii(kNoText));
    EXPECT_EQ(0, none.compare_i_ascii(empty));
    EXPECT_EQ(0, none.compare_i_ascii("x", 0));
    EXPECT_EQ(0, none.compare_i_ascii(std::string()));
    EXPECT_EQ(-1, none.compare_i_ascii("a"));
    EXPECT_EQ(-1, none.compare_i_ascii(std::string("a")));
    EXPECT_EQ(1, a.compare_i_ascii(none));
    EXPECT_EQ(1, a.compare_i_ascii(kNoText));
    EXPECT_TRUE(none.equal_i_ascii(""));
    EXPECT_TRUE(none.equal_i_ascii(kNoText));
    EXPECT_TRUE(none.equal_i_ascii(ChPair()));
    EXPECT_FALSE(none.equal_i_ascii(a));
    EXPECT_FALSE(a.equal_i_ascii(kNoText));

    EXPECT_EQ(0, none.compare_i_utf8(""));
    EXPECT_EQ(0, none.compare_i_utf8(kNoText));
    EXPECT_EQ(0, none.compare_i_utf8(empty));
    EXPECT_EQ(0, none.compare_i_utf8(ChPair()));
    EXPECT_EQ(-1, none.compare_i_utf8("a"));
    EXPECT_EQ(1, a.compare_i_utf8(none));
    EXPECT_TRUE(none.equal_i_utf8(""));
    EXPECT_TRUE(none.equal_i_utf8(kNoText));
    EXPECT_TRUE(none.equal_i_utf8(ChPair()));
    EXPECT_FALSE(none.equal_i_utf8(a));
    EXPECT_FALSE(a.equal_i_utf8(kNoText));
}

TEST(ChArrCompare, TerminatedFormsStopAtTheTerminator) {
    const ChArr a(kWithZero, kWithZero + kWithZeroSize), plain("ab");
    EXPECT_EQ(0, a.compare("ab"));
    EXPECT_EQ(0, a.compare(plain));
    EXPECT_TRUE(a.equal("ab"));
    EXPECT_TRUE(a.equal(plain));
    EXPECT_EQ(0, a.compare_i_ascii("AB"));
    EXPECT_EQ(0, a.compare_i_utf8("AB"));
    EXPECT_EQ(0, a.compare(std::string("ab")));
}

TEST(ChArrCompare, CountedFormsSeeTheBytesBehindAZero) {
    const ChArr a("ab");
    const std::string longer(kWithZero, kWithZeroSize);
    EXPECT_GT(0, a.compare(longer));
    EXPECT_GT(0, a.compare(ChPair(longer)));
    EXPECT_GT(0, a.compare(kWithZero, static_cast<int>(kWithZeroSize)));
    EXPECT_FALSE(a.equal(longer));
    EXPECT_FALSE(a.equal(kWithZero, kWithZero + kWithZeroSize));
    EXPECT_EQ(-1, a.compare_i_ascii(longer));
    EXPECT_FALSE(a.equal_i_ascii(longer));
    EXPECT_EQ(-1, a.compare_i_utf8(longer));
    EXPECT_FALSE(a.equal_i_utf8(longer));
}

template <class Other>
void expectOperators(int order, const ChArr& a, const Other& b) {
    EXPECT_EQ(order == 0, a == b);
    EXPECT_EQ(order != 0, a != b);
    EXPECT_EQ(order < 0, a < b);
    EXPECT_EQ(order > 0, a > b);
    EXPECT_EQ(order <= 0, a <= b);
    EXPECT_EQ(order >= 0, a >= b);
}

TEST(ChArrOperators, FollowEqualAndCompare) {
    for (const OrderRow& row : kOrders) {
        SCOPED_TRACE(row.line);
        expectOperators(row.bytes, ChArr(row.a), row.b);
        expectOperators(row.bytes, ChArr(row.a), ChArr(row.b));
        expectOperators(row.bytes, ChArr(row.a), std::string(row.b));
    }
}

TEST(ChArrOperators, FollowTheFormOfTheirArgument) {
    expectOperators(0, ChArr(), kNoText);
    expectOperators(0, ChArr(), "");
    expectOperators(0, ChArr(), ChArr(""));
    expectOperators(0, ChArr(), std::string());
    expectOperators(1, ChArr("a"), kNoText);
    expectOperators(0, ChArr("ab"), kWithZero);
    expectOperators(-1, ChArr("ab"), std::string(kWithZero, kWithZeroSize));
}

// The upper half of windows-1251, by rows of eight bytes from 0x80 up. The code page leaves 0x98 open.
const std::uint16_t kUpper1251[64] = {
    0x0402, 0x0403, 0x201A, 0x0453, 0x201E, 0x2026, 0x2020, 0x2021,  //
    0x20AC, 0x2030, 0x0409, 0x2039, 0x040A, 0x040C, 0x040B, 0x040F,  //
    0x0452, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022, 0x2013, 0x2014,  //
    0x0020, 0x2122, 0x0459, 0x203A, 0x045A, 0x045C, 0x045B, 0x045F,  //
    0x00A0, 0x040E, 0x045E, 0x0408, 0x00A4, 0x0490, 0x00A6, 0x00A7,  //
    0x0401, 0x00A9, 0x0404, 0x00AB, 0x00AC, 0x00AD, 0x00AE, 0x0407,  //
    0x00B0, 0x00B1, 0x0406, 0x0456, 0x0491, 0x00B5, 0x00B6, 0x00B7,  //
    0x0451, 0x2116, 0x0454, 0x00BB, 0x0458, 0x0405, 0x0455, 0x0457,
};

int unicodeOf1251(int byte) {
    if (byte < 0x80) return byte;
    if (byte < 0xC0) return kUpper1251[byte - 0x80];
    return 0x0410 + (byte - 0xC0);  // the alphabet stands in one run, capitals first
}

std::string encode(int c) {
    std::string out;
    if (c < 0x80) {
        out += static_cast<char>(c);
    } else if (c < 0x800) {
        out += static_cast<char>(0xC0 | (c >> 6));
        out += static_cast<char>(0x80 | (c & 0x3F));
    } else {
        out += static_cast<char>(0xE0 | (c >> 12));
        out += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
        out += static_cast<char>(0x80 | (c & 0x3F));
    }
    return out;
}

TEST(ChArrAssign1251, MapsEveryByte) {
    std::string all, expectedAll;
    for (int byte = 0; byte < 256; ++byte) {
        SCOPED_TRACE(byte);
        const char c = static_cast<char>(byte);
        const std::string expected = encode(unicodeOf1251(byte));
        ChArr a("old");
        a.assign1251(&c, 1);
        ASSERT_NE(nullptr, a.data);
        EXPECT_EQ(0, std::memcmp(expected.c_str(), a.data, expected.size() + 1));
        all += c;
        expectedAll += expected;
    }
    ChArr a;
    a.assign1251(all.data(), 256);
    ASSERT_NE(nullptr, a.data);
    EXPECT_EQ(0, std::memcmp(expectedAll.c_str(), a.data, expectedAll.size() + 1));
}

TEST(ChArrAssign1251, NamedBytes) {
    ChArr a;
    a.assign1251("\xC0\xFF\x98\x88", 4);
    EXPECT_STREQ("\xD0\x90\xD1\x8F \xE2\x82\xAC", a.data);
}

TEST(ChArrAssign1251, NoBytesGiveAnAllocatedEmptyText) {
    ChArr a("old");
    a.assign1251("x", 0);
    expectAllocatedEmpty(__LINE__, a);
    ChArr b;
    b.assign1251("x", 0);
    expectAllocatedEmpty(__LINE__, b);
}

TEST(ChArrAssign1251, SourceMayBeTheOldText) {
    ChArr a("\xC0\xC1\xC2");
    a.assign1251(a.data, 2);
    EXPECT_STREQ("\xD0\x90\xD0\x91", a.data);
    a = "x\xC2y";
    a.assign1251(a.data + 1, 1);
    EXPECT_STREQ("\xD0\x92", a.data);
}

VELMORA_PRINTF(2, 3) void formatThrough(ChArr& a, const char* fmt, ...) {
    va_list args;
    va_start(args, fmt);
    a.format_va(fmt, args);
    va_end(args);
}

TEST(ChArrFormat, FollowsThePrintfRules) {
    ChArr a("old");
    a.format("%d|%-4s|%04X|%.2f|%c|%%", -7, "ab", 0x2Au, 1.5, 'x');
    EXPECT_STREQ("-7|ab  |002A|1.50|x|%", a.data);
    formatThrough(a, "%s=%d", "key", 12);
    EXPECT_STREQ("key=12", a.data);
}

TEST(ChArrFormat, EmptyResultIsAllocated) {
    ChArr a("old"), b;
    a.format("%s", "");
    expectAllocatedEmpty(__LINE__, a);
    formatThrough(b, "%s", "");
    expectAllocatedEmpty(__LINE__, b);
}

TEST(ChArrFormat, KeepsTheFirst4096Bytes) {
    for (int size : {4095, 4096, 4097, 5000, 10000}) {
        SCOPED_TRACE(size);
        std::string text;
        for (int i = 0; i < size; ++i) text += static_cast<char>('a' + i % 26);
        const std::string expected = text.substr(0, 4096);
        ChArr a, b;
        a.format("%s", text.c_str());
        formatThrough(b, "%s", text.c_str());
        EXPECT_EQ(expected, a.data);
        EXPECT_EQ(expected, b.data);
    }
}

TEST(ChArrFormat, CutsInTheMiddleOfACharacter) {
    ChArr a;
    a.format("%s\xC3\xA9", std::string(4095, 'x').c_str());
    EXPECT_EQ(std::string(4095, 'x') + '\xC3', a.data);
}

TEST(ChArrFormat, ArgumentsMayReferToTheOldText) {
    ChArr a("abc");
    a.format("<%s|%s>", a.data, a.data + 1);
    EXPECT_STREQ("<abc|bc>", a.data);
    formatThrough(a, "(%s)", a.data);
    EXPECT_STREQ("(<abc|bc>)", a.data);
}

// Code 2 is a file that is not found, code 5 a refusal or a fault of a device: every system has a text for both.
TEST(ChArrWinerror, GivesTheSystemsTextWithoutItsEnd) {
    for (int code : {2, 5}) {
        for (const char* module : {kNoText, "kernel32", "velmora_no_such_module"}) {
            SCOPED_TRACE(code);
            SCOPED_TRACE(module ? module : "(no module)");
            ChArr a("old text.");
            a.winerror(code, module);
            ASSERT_FALSE(a.empty());
            EXPECT_STRNE("old text.", a.data);
            const char last = a.end()[-1];
            EXPECT_NE('.', last);
            EXPECT_NE('\r', last);
            EXPECT_NE('\n', last);
            EXPECT_EQ(nullptr, std::strchr(a.data, '\n'));
        }
    }
}

TEST(ChArrWinerror, OtherCodesHaveOtherTexts) {
    ChArr two, five;
    two.winerror(2, nullptr);
    five.winerror(5, nullptr);
    EXPECT_FALSE(two.equal(five));
}

TEST(ChArrWinerror, ModuleThatIsNotLoadedIsNoModule) {
    ChArr plain, named;
    plain.winerror(2, nullptr);
    named.winerror(2, "velmora_no_such_module");
    EXPECT_STREQ(plain.data, named.data);
}

TEST(ChArrWinerror, ModuleMayBeTheOwnText) {
    ChArr plain, named("velmora_no_such_module");
    plain.winerror(2, nullptr);
    named.winerror(2, named.data);
    EXPECT_STREQ(plain.data, named.data);
}

TEST(ChArrWinerror, UnknownCodeLeavesNull) {
    ChArr a("old text");
    a.winerror(0x7FFFFFF0, nullptr);
    EXPECT_EQ(nullptr, a.data);
    a = "old text";
    a.winerror(0x7FFFFFF0, "velmora_no_such_module");
    EXPECT_EQ(nullptr, a.data);
}

TEST(ChPairFromChArr, ViewsTheText) {
    const ChArr none, a("text");
    EXPECT_EQ(nullptr, ChPair(none).begin);
    EXPECT_EQ(nullptr, ChPair(none).end);
    ChPair view(a);
    EXPECT_EQ(a.data, view.begin);
    EXPECT_EQ(a.data + 4, view.end);
    view = none;
    EXPECT_EQ(nullptr, view.begin);
    EXPECT_EQ(nullptr, view.end);
    view = a;
    EXPECT_EQ(a.data, view.begin);
    EXPECT_EQ(a.data + 4, view.end);
}

TEST(ChPairFromChArr, IsAnArgumentOfEveryFamily) {
    const char text[] = "some text";
    const ChPair view(text);
    EXPECT_GT(0, view.compare(ChArr("tome")));
    EXPECT_TRUE(view.equal(ChArr("some text")));
    EXPECT_EQ(0, view.compare_i_ascii(ChArr("SOME TEXT")));
    EXPECT_TRUE(view.equal_i_ascii(ChArr("SOME TEXT")));
    EXPECT_EQ(0, view.compare_i_utf8(ChArr("SOME TEXT")));
    EXPECT_TRUE(view.equal_i_utf8(ChArr("SOME TEXT")));
    EXPECT_EQ(text + 5, view.find(ChArr("te")));
    EXPECT_TRUE(view.contains(ChArr("te")));
    EXPECT_FALSE(view.contains(ChArr("TE")));
    EXPECT_EQ(text + 5, view.find_i_ascii(ChArr("TE")));
    EXPECT_EQ(text + 5, view.find_i_utf8(ChArr("TE")));
    EXPECT_TRUE(view.hasPrefix(ChArr("some")));
    EXPECT_FALSE(view.hasPrefix(ChArr("SOME")));
    EXPECT_TRUE(view.hasPrefix_i_ascii(ChArr("SOME")));
    EXPECT_TRUE(view.hasPrefix_i_utf8(ChArr("SOME")));
}

// ---- texts that are parts of themselves ----

struct SelfUse {
    int line;
    void (*change)(ChArr& a, int at, int n);
    std::string (*expected)(const std::string& old, const std::string& part);
    bool terminated;  // the part is taken up to the end of the text, as it has no length of its own
};

std::string replacedBy(const std::string&, const std::string& part) { return part; }
std::string behind(const std::string& old, const std::string& part) { return old + part; }
std::string inFront(const std::string& old, const std::string& part) { return part + old; }

const SelfUse selfUses[] = {
    {__LINE__, [](ChArr& a, int at, int n) { a.assign(a.data + at, n); }, replacedBy, false},
    {__LINE__, [](ChArr& a, int at, int n) { a.assign(a.data + at, a.data + at + n); }, replacedBy, false},
    {__LINE__, [](ChArr& a, int at, int n) { a = ChPair(a.data + at, n); }, replacedBy, false},
    {__LINE__, [](ChArr& a, int at, int) { a = a.data + at; }, replacedBy, true},
    {__LINE__, [](ChArr& a, int at, int n) { a.assign1251(a.data + at, n); }, replacedBy, false},
    {__LINE__, [](ChArr& a, int at, int) { a.format("%s", a.data + at); }, replacedBy, true},
    {__LINE__, [](ChArr& a, int at, int) { a += a.data + at; }, behind, true},
    {__LINE__, [](ChArr& a, int at, int) { a.insert(a.data + at); }, inFront, true},
};

// At the begin of the text the pointer test of the assignments comes first; that is a test of its own.
TEST(ChArrSelf, PartOfTheTextIsTakenAsItWas) {
    const std::string old = "abcdefgh";
    const int size = static_cast<int>(old.size());
    for (const SelfUse& use : selfUses) {
        SCOPED_TRACE(use.line);
        for (int at = 1; at <= size; ++at) {
            for (int n = 0; n <= size - at; ++n) {
                if (use.terminated && n != size - at) continue;
                SCOPED_TRACE(std::to_string(at) + ", " + std::to_string(n));
                ChArr a(old);
                use.change(a, at, n);
                const std::string part = old.substr(static_cast<std::size_t>(at), static_cast<std::size_t>(n));
                EXPECT_EQ(use.expected(old, part), a());
            }
        }
    }
    ChArr twice("ab");
    twice += twice;
    twice.insert(twice);
    EXPECT_STREQ("abababab", twice.data);
}

// ---- forms for the other texts ----

TEST(ChArrAssign, TakesTheOtherEncodingsOwner) {
    ChArr a("old");
    const ChArr16 source(kMixed8), none;
    EXPECT_EQ(&a, &(a = source));
    EXPECT_STREQ(kMixed8, a.data);
    a = none;
    EXPECT_EQ(nullptr, a.data);
}

TEST(ChArrAppend, TakesAVector) {
    ChArr a;
    const CharVector none, vector("ab");
    a += none;
    EXPECT_EQ(nullptr, a.data);
    a += vector;
    a += vector;
    EXPECT_STREQ("abab", a.data);
}

TEST(ChArrCompare, TakesAVectorInEveryFamily) {
    const ChArr two("two");
    const CharVector same("two"), upper("TWO"), other("six");
    EXPECT_EQ(0, two.compare(same));
    EXPECT_LT(0, two.compare(other));
    EXPECT_TRUE(two.equal(same));
    EXPECT_FALSE(two.equal(other));
    EXPECT_EQ(0, two.compare_i_ascii(upper));
    EXPECT_EQ(0, two.compare_i_utf8(upper));
    EXPECT_TRUE(two.equal_i_ascii(upper));
    EXPECT_TRUE(two.equal_i_utf8(upper));
    EXPECT_FALSE(two.equal_i_ascii(other));
    EXPECT_FALSE(two.equal_i_utf8(other));
}

}  // namespace
