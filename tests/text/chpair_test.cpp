#include <velmora/text/chpair.h>

#include <gtest/gtest.h>

#include <cstddef>
#include <cstring>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include <velmora/containers/vectors.h>
#include <velmora/serial/tags.h>
#include <velmora/serial/ttt.h>
#include <velmora/text/charr.h>
#include <velmora/text/charvector.h>

#include "tests/support/all_texts.h"
#include "tests/support/guard_page.h"
#include "tests/support/message.h"
#include "tests/support/table_scope.h"

namespace {

using namespace std::string_literals;
using support::GuardedBytes;
using support::TableScope;

static_assert(sizeof(ChPair) == 16);
static_assert(offsetof(ChPair, begin) == 0 && std::is_same_v<decltype(ChPair::begin), char*>);
static_assert(offsetof(ChPair, end) == 8 && std::is_same_v<decltype(ChPair::end), char*>);
static_assert(std::is_trivially_copyable_v<ChPair> && std::is_trivially_destructible_v<ChPair>);
static_assert(std::is_standard_layout_v<ChPair>);
// To make a view takes nothing that could fail.
static_assert(std::is_nothrow_default_constructible_v<ChPair> && std::is_nothrow_copy_constructible_v<ChPair>);
static_assert(std::is_nothrow_constructible_v<ChPair, const char*> &&
              std::is_nothrow_assignable_v<ChPair&, const char*>);
static_assert(std::is_nothrow_constructible_v<ChPair, const char*, const char*>);
static_assert(std::is_nothrow_constructible_v<ChPair, const char*, int>);
static_assert(std::is_nothrow_constructible_v<ChPair, const std::string&>);
static_assert(std::is_nothrow_constructible_v<ChPair, const ChArr&>);
static_assert(std::is_nothrow_constructible_v<ChPair, const CharVector&>);

int sign(int result) { return (result > 0) - (result < 0); }

long offset(const char* found, const char* text) { return found ? static_cast<long>(found - text) : -1; }

bool hasZero(const std::string& text) { return text.find('\0') != std::string::npos; }

// Which bytes a view covers, and not only how they read.
#define EXPECT_VIEW(expectedBegin, expectedEnd, view)                     \
    do {                                                                  \
        EXPECT_EQ(static_cast<const char*>(expectedBegin), (view).begin); \
        EXPECT_EQ(static_cast<const char*>(expectedEnd), (view).end);     \
    } while (false)

// An accented pair that folds, whatever the system's locale knows.
class AccentPair {
    TableScope<utf16_t> upper_{chr_upper_table_utf16, 0xE9, 0xC9}, upper2_{chr_upper_table_utf16, 0xC9, 0xC9};
    TableScope<utf16_t> lower_{chr_lower_table_utf16, 0xC9, 0xE9}, lower2_{chr_lower_table_utf16, 0xE9, 0xE9};
    TableScope<utf16_t> dotless_{chr_upper_table_utf16, 0x131, 'I'};
};

// --- Construction, assignment, accessors ---

TEST(ChPairConstruct, NullViews) {
    EXPECT_VIEW(nullptr, nullptr, ChPair());
    EXPECT_VIEW(nullptr, nullptr, ChPair(static_cast<const char*>(nullptr)));
    EXPECT_VIEW(nullptr, nullptr, ChPair(ChArr()));
    EXPECT_VIEW(nullptr, nullptr, ChPair(CharVector()));
    EXPECT_VIEW(nullptr, nullptr, ChPair(nullptr, nullptr));
}

TEST(ChPairConstruct, NullAndEmptyAreBothEmptyAndOnlyOneHasANullBegin) {
    ChPair null(static_cast<const char*>(nullptr));
    const char nothing[] = "";
    ChPair empty(nothing);
    EXPECT_TRUE(null.empty());
    EXPECT_TRUE(empty.empty());
    EXPECT_EQ(nullptr, null.begin);
    EXPECT_VIEW(nothing, nothing, empty);
}

TEST(ChPairConstruct, CoversTheTextItIsGiven) {
    const char text[] = "abc\0def";
    EXPECT_VIEW(text, text + 3, ChPair(text));
    EXPECT_VIEW(text + 1, text + 5, ChPair(text + 1, text + 5));
    EXPECT_VIEW(text + 1, text + 5, ChPair(text + 1, 4));
    EXPECT_VIEW(text + 1, text + 1, ChPair(text + 1, 0));
    // Neither form is tested, and the count keeps its sign.
    EXPECT_VIEW(text + 3, text + 1, ChPair(text + 3, text + 1));
    EXPECT_VIEW(text + 3, text + 1, ChPair(text + 3, -2));
    const std::string string = "ab\0c"s;
    EXPECT_VIEW(string.data(), string.data() + 4, ChPair(string));
    const std::string emptyString;
    EXPECT_VIEW(emptyString.data(), emptyString.data(), ChPair(emptyString));
    EXPECT_NE(nullptr, ChPair(emptyString).begin);
    const ChArr array("abc");
    EXPECT_VIEW(array.data, array.data + 3, ChPair(array));
    const CharVector vector("ab\0c", std::size_t{4});
    EXPECT_VIEW(vector.data, vector.data + 4, ChPair(vector));
}

TEST(ChPairAssign, CoversTheTextItIsGiven) {
    const char text[] = "abc\0def";
    const std::string string = "ab\0c"s;
    const ChArr array("abc"), nullArray;
    const CharVector vector("ab\0c", std::size_t{4}), nullVector;
    ChPair view("old");
    EXPECT_EQ(&view, &(view = text));
    EXPECT_VIEW(text, text + 3, view);
    EXPECT_EQ(&view, &(view = string));
    EXPECT_VIEW(string.data(), string.data() + 4, view);
    EXPECT_EQ(&view, &(view = array));
    EXPECT_VIEW(array.data, array.data + 3, view);
    EXPECT_EQ(&view, &(view = nullArray));
    EXPECT_VIEW(nullptr, nullptr, view);
    EXPECT_EQ(&view, &(view = vector));
    EXPECT_VIEW(vector.data, vector.data + 4, view);
    view = nullVector;
    EXPECT_VIEW(nullptr, nullptr, view);
    view.assign(text + 5, text + 2);
    EXPECT_VIEW(text + 5, text + 2, view);
    view = static_cast<const char*>(nullptr);
    EXPECT_VIEW(nullptr, nullptr, view);
}

TEST(ChPairAssign, CopiesAndMovesAreTheSameTwoFields) {
    const char text[] = "abc";
    ChPair source(text), copy(source), assigned, moved, constructed(std::move(source));
    EXPECT_VIEW(text, text + 3, copy);
    EXPECT_VIEW(text, text + 3, constructed);
    assigned = copy;
    EXPECT_VIEW(text, text + 3, assigned);
    moved = std::move(assigned);
    EXPECT_VIEW(text, text + 3, moved);
    const ChPair& self = moved;
    moved = self;
    EXPECT_VIEW(text, text + 3, moved);
}

TEST(ChPairAccess, LengthAndEmptiness) {
    const char text[] = "abc";
    EXPECT_EQ(3, ChPair(text).len());
    EXPECT_FALSE(ChPair(text).empty());
    EXPECT_EQ(0, ChPair("").len());
    EXPECT_EQ(0, ChPair().len());
    EXPECT_EQ(-2, ChPair(text + 2, text).len());
    EXPECT_FALSE(ChPair(text + 2, text).empty());
    EXPECT_EQ(2, ChPair("\xC3\xA9").len());
}

TEST(ChPairAccess, ClearGivesTheNullView) {
    ChPair view("abc");
    view.clear();
    EXPECT_VIEW(nullptr, nullptr, view);
}

TEST(ChPairAccess, StdGivesANewStringOrFillsOne) {
    std::string text = "ab\0c"s, out = "old";
    EXPECT_EQ(text, ChPair(text).std());
    EXPECT_EQ(""s, ChPair().std());
    EXPECT_EQ(""s, ChPair("").std());
    EXPECT_EQ(&out, &ChPair(text).std(out));
    EXPECT_EQ(text, out);
    EXPECT_EQ(&out, &ChPair("").std(out));
    EXPECT_EQ("", out);
    out = "old";
    EXPECT_EQ(&out, &ChPair().std(out));
    EXPECT_EQ("", out);
    // A view of the target itself.
    out = "abcdefgh";
    ChPair(out.data() + 2, out.data() + 5).std(out);
    EXPECT_EQ("cde", out);
}

// --- Comparing ---

// The sign of a comparison in each of its six argument forms; all must agree. A text with a zero has four forms.
template <class Form>
std::vector<int> allForms(const std::string& text, Form form) {
    GuardedBytes bytes(text);
    std::vector<int> results = {form(ChPair(bytes.begin(), bytes.end())), form(text),
                                form(static_cast<const char*>(bytes.begin()), static_cast<const char*>(bytes.end())),
                                form(static_cast<const char*>(bytes.begin()), static_cast<int>(text.size()))};
    if (hasZero(text)) return results;
    results.push_back(form(text.c_str()));
    results.push_back(form(ChArr(text)));
    return results;
}

TEST(ChPairCompare, OrderAndEqualityInAllForms) {
    AccentPair accents;
    TableScope<unsigned char> apart(chr_upper_table_ascii, 0xE9, 0xE9);
    const struct {
        int line;
        std::string view, other;
        int exact, ascii, utf8;  // signs of the three orders
    } rows[] = {
        {__LINE__, "", "", 0, 0, 0},
        {__LINE__, "", "a", -1, -1, -1},
        {__LINE__, "a", "", 1, 1, 1},
        {__LINE__, "abc", "abc", 0, 0, 0},
        {__LINE__, "abc", "ABC", 1, 0, 0},
        {__LINE__, "ABC", "abc", -1, 0, 0},
        {__LINE__, "ab", "abc", -1, -1, -1},
        {__LINE__, "abc", "ab", 1, 1, 1},
        {__LINE__, "ab", "ABC", 1, -1, -1},
        // Three orders of "a" and "B": bytes, bytes behind a folded comparison, folded bytes.
        {__LINE__, "a", "B", 1, 1, -1},
        {__LINE__, "Z", "a", -1, -1, 1},
        {__LINE__, "b", "a", 1, 1, 1},
        {__LINE__, "\xE9", "a", 1, 1, -1},
        {__LINE__, "\xC3\xA9", "\xC3\xA9", 0, 0, 0},
        {__LINE__, "\xC3\xA9", "\xC3\x89", 1, 1, 0},
        {__LINE__, "x\0y"s, "x\0y"s, 0, 0, 0},
        {__LINE__, "x\0y"s, "x\0Z"s, 1, 1, -1},
        {__LINE__, "x\0y"s, "X\0Y"s, 1, 0, 0},
        {__LINE__, "x\0"s, "x", 1, 1, 1},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.line);
        const GuardedBytes bytes(row.view);
        const ChPair view(bytes.begin(), bytes.end());
        const std::size_t forms = hasZero(row.other) ? 4 : 6;
        auto all = [&](int result) { return std::vector<int>(forms, result); };
        auto compare = [&](const auto&... s) { return sign(view.compare(s...)); };
        auto equal = [&](const auto&... s) { return int{view.equal(s...)}; };
        auto compareAscii = [&](const auto&... s) { return view.compare_i_ascii(s...); };
        auto equalAscii = [&](const auto&... s) { return int{view.equal_i_ascii(s...)}; };
        auto compareUtf8 = [&](const auto&... s) { return view.compare_i_utf8(s...); };
        auto equalUtf8 = [&](const auto&... s) { return int{view.equal_i_utf8(s...)}; };
        EXPECT_EQ(all(row.exact), allForms(row.other, compare));
        EXPECT_EQ(all(row.exact == 0), allForms(row.other, equal));
        EXPECT_EQ(all(row.ascii), allForms(row.other, compareAscii));
        EXPECT_EQ(all(row.ascii == 0), allForms(row.other, equalAscii));
        EXPECT_EQ(all(row.utf8), allForms(row.other, compareUtf8));
        EXPECT_EQ(all(row.utf8 == 0), allForms(row.other, equalUtf8));
    }
}

TEST(ChPairCompare, Utf8EqualityDemandsEqualLengthsInBytes) {
    AccentPair accents;
    const ChPair dotless("\xC4\xB1");
    EXPECT_EQ(0, dotless.compare_i_utf8("I"));
    EXPECT_FALSE(dotless.equal_i_utf8("I"));
    EXPECT_FALSE(ChPair("I").equal_i_utf8(dotless));
    EXPECT_TRUE(ChPair("\xC3\xA9").equal_i_utf8("\xC3\x89"));
}

TEST(ChPairCompare, NullViewEqualsAnEmptyOne) {
    const ChPair null, empty("");
    const char* const nullText = nullptr;
    EXPECT_TRUE(null.equal(empty));
    EXPECT_TRUE(empty.equal(null));
    EXPECT_TRUE(null.equal(null));
    EXPECT_TRUE(null.equal(nullText));
    EXPECT_TRUE(empty.equal(ChArr()));
    EXPECT_TRUE(null == empty);
    EXPECT_EQ(0, null.compare(empty));
    EXPECT_EQ(0, empty.compare(null));
    EXPECT_EQ(0, empty.compare(nullText));
    EXPECT_GT(0, null.compare("a"));
    EXPECT_LT(0, ChPair("a").compare(null));
    EXPECT_FALSE(null.equal("a"));
    EXPECT_TRUE(null.equal_i_ascii(empty));
    EXPECT_TRUE(empty.equal_i_ascii(nullText));
    EXPECT_FALSE(null.equal_i_ascii("a"));
    EXPECT_TRUE(null.equal_i_utf8(empty));
    EXPECT_TRUE(empty.equal_i_utf8(ChArr()));
    EXPECT_EQ(0, null.compare_i_utf8(empty));
    EXPECT_EQ(0, empty.compare_i_utf8(null));
    EXPECT_EQ(-1, null.compare_i_utf8("a"));
    EXPECT_EQ(1, ChPair("a").compare_i_utf8(null));
}

// strcmp_i_ascii replaces the begin of a null range and not its end, and that shows here.
TEST(ChPairCompare, NullViewComparesGreaterThanAnythingInAsciiOrder) {
    const ChPair null, empty("");
    EXPECT_EQ(1, null.compare_i_ascii(empty));
    EXPECT_EQ(1, null.compare_i_ascii("abc"));
    EXPECT_EQ(1, null.compare_i_ascii(null));
    EXPECT_EQ(1, null.compare_i_ascii(ChArr()));
    EXPECT_EQ(1, ChPair("abc").compare_i_ascii(null));
    EXPECT_EQ(-1, empty.compare_i_ascii(null));
}

TEST(ChPairCompare, OperatorsFollowEqualAndCompare) {
    const struct {
        int line;
        std::string view, other;
        int order;
    } rows[] = {
        {__LINE__, "abc", "abc", 0}, {__LINE__, "abc", "abd", -1},  {__LINE__, "abd", "abc", 1},
        {__LINE__, "ab", "abc", -1}, {__LINE__, "abc", "ab", 1},    {__LINE__, "", "", 0},
        {__LINE__, "", "a", -1},     {__LINE__, "a", "", 1},        {__LINE__, "a", "B", 1},
        {__LINE__, "a", "A", 1},     {__LINE__, "\x80", "\x7F", 1}, {__LINE__, "a\0"s, "a\0b"s, -1},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.line);
        const ChPair view(row.view);
        auto expectOrder = [&](const auto& other) {
            EXPECT_EQ(row.order == 0, view == other);
            EXPECT_EQ(row.order != 0, view != other);
            EXPECT_EQ(row.order < 0, view < other);
            EXPECT_EQ(row.order > 0, view > other);
            EXPECT_EQ(row.order <= 0, view <= other);
            EXPECT_EQ(row.order >= 0, view >= other);
        };
        expectOrder(ChPair(row.other));
        expectOrder(row.other);
        if (!hasZero(row.other)) expectOrder(row.other.c_str());
    }
}

// --- Searching ---

TEST(ChPairFind, FindsPatternsInAllForms) {
    AccentPair accents;
    const struct {
        int line;
        std::string view, pattern;
        long exact, ascii, utf8;  // offsets, -1 for null
    } rows[] = {
        {__LINE__, "abcabc", "bc", 1, 1, 1},
        {__LINE__, "abcabc", "c", 2, 2, 2},
        {__LINE__, "abcabc", "abcabc", 0, 0, 0},
        {__LINE__, "abcabc", "abcabcd", -1, -1, -1},
        {__LINE__, "abcabc", "BC", -1, 1, 1},
        {__LINE__, "abcabc", "d", -1, -1, -1},
        {__LINE__, "aA", "A", 1, 0, 0},
        {__LINE__, "x\xC3\xA9", "\xC3\xA9", 1, 1, 1},
        {__LINE__, "x\xC3\xA9", "\xC3\x89", -1, -1, 1},
        {__LINE__, "a\0B"s, "\0B"s, 1, 1, 1},
        {__LINE__, "a\0b"s, "\0B"s, -1, 1, 1},
        // An empty pattern is found at the end; in an empty view the exact form alone finds anything.
        {__LINE__, "abc", "", 3, 3, 3},
        {__LINE__, "", "", 0, 0, 0},
        {__LINE__, "", "a", 0, -1, -1},
        {__LINE__, "", "abc", 0, -1, -1},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.line);
        const GuardedBytes bytes(row.view);
        const ChPair view(bytes.begin(), bytes.end());
        auto expectFound = [&](const auto& pattern) {
            EXPECT_EQ(row.exact, offset(view.find(pattern), view.begin));
            EXPECT_EQ(row.exact >= 0, view.contains(pattern));
            EXPECT_EQ(row.ascii, offset(view.find_i_ascii(pattern), view.begin));
            EXPECT_EQ(row.utf8, offset(view.find_i_utf8(pattern), view.begin));
        };
        expectFound(ChPair(row.pattern));
        expectFound(row.pattern);
        if (hasZero(row.pattern)) continue;
        expectFound(row.pattern.c_str());
        expectFound(ChArr(row.pattern));
    }
}

TEST(ChPairFind, FindsASingleByte) {
    const char text[] = "xaAb\0b";
    const ChPair view(text, text + 6);
    EXPECT_EQ(text + 2, view.find('A'));
    EXPECT_EQ(text + 3, view.find('b'));
    EXPECT_EQ(text + 4, view.find('\0'));
    EXPECT_EQ(nullptr, view.find('B'));
    EXPECT_TRUE(view.contains('x'));
    EXPECT_TRUE(view.contains('\0'));
    EXPECT_FALSE(view.contains('X'));
    EXPECT_EQ(text + 1, view.find_i_ascii('A'));
    EXPECT_EQ(text + 3, view.find_i_ascii('B'));
    EXPECT_EQ(nullptr, view.find_i_ascii('y'));
    EXPECT_EQ(text + 1, view.find_i_utf8('A'));
    EXPECT_EQ(text + 3, view.find_i_utf8('B'));
    EXPECT_EQ(text + 4, view.find_i_utf8('\0'));
    EXPECT_EQ(nullptr, view.find_i_utf8('y'));
}

TEST(ChPairFind, SingleByteIsNeverFoundInAnEmptyView) {
    for (const ChPair& view : {ChPair(), ChPair("")}) {
        EXPECT_EQ(nullptr, view.find('a'));
        EXPECT_FALSE(view.contains('a'));
        EXPECT_EQ(nullptr, view.find_i_ascii('a'));
    }
    EXPECT_EQ(nullptr, ChPair().find_i_utf8('a'));
    EXPECT_EQ(nullptr, ChPair("").find_i_utf8('a'));
}

// A byte above 0x7F is a pattern of one byte, which decodes to its low five bits.
TEST(ChPairFind, ByteAboveAsciiIsABrokenCharacterInUtf8) {
    const char text[] = "\xC3\xA9\t";
    EXPECT_EQ(text + 2, ChPair(text).find_i_utf8('\xE9'));
    EXPECT_EQ(text + 1, ChPair(text).find('\xA9'));
}

TEST(ChPairFind, NullAndEmptyViewsDiffer) {
    const ChPair null, empty(""), text("abc");
    // Exact: an empty view that is not null has a place to point at.
    EXPECT_FALSE(null.contains(""));
    EXPECT_FALSE(null.contains("a"));
    EXPECT_FALSE(null.contains(null));
    EXPECT_TRUE(empty.contains(""));
    EXPECT_TRUE(empty.contains("a"));
    EXPECT_TRUE(empty.contains(null));
    EXPECT_TRUE(text.contains(""));
    EXPECT_TRUE(text.contains(null));
    EXPECT_TRUE(text.contains(static_cast<const char*>(nullptr)));
    EXPECT_TRUE(text.contains(ChArr()));
    EXPECT_TRUE(text.contains(std::string()));
    EXPECT_EQ(text.end, text.find(null));
    EXPECT_EQ(empty.end, empty.find("a"));
    EXPECT_EQ(nullptr, null.find("a"));
    EXPECT_EQ(text.end, text.find_i_ascii(null));
    EXPECT_EQ(nullptr, empty.find_i_ascii("a"));
    EXPECT_EQ(nullptr, null.find_i_ascii("a"));
    EXPECT_EQ(nullptr, null.find_i_ascii(""));
    EXPECT_EQ(text.end, text.find_i_utf8(null));
    EXPECT_EQ(nullptr, empty.find_i_utf8("a"));
    EXPECT_EQ(nullptr, null.find_i_utf8("a"));
    EXPECT_EQ(nullptr, null.find_i_utf8(""));
}

TEST(ChPairHasPrefix, ComparesTheFrontInAllForms) {
    AccentPair accents;
    TableScope<unsigned char> apart(chr_upper_table_ascii, 0xA9, 0xA9);
    const struct {
        int line;
        std::string view, prefix;
        bool exact, ascii, utf8;
    } rows[] = {
        {__LINE__, "abc", "ab", true, true, true},
        {__LINE__, "abc", "abc", true, true, true},
        {__LINE__, "abc", "abcd", false, false, false},
        {__LINE__, "abc", "AB", false, true, true},
        {__LINE__, "abc", "b", false, false, false},
        {__LINE__, "abc", "", true, true, true},
        {__LINE__, "", "", true, true, true},
        {__LINE__, "", "a", false, false, false},
        {__LINE__, "\xC3\xA9z", "\xC3\xA9", true, true, true},
        {__LINE__, "\xC3\xA9z", "\xC3\x89", false, false, true},
        {__LINE__, "\xC3\xA9z", "\xC3\x89Z", false, false, true},
        {__LINE__, "a\0b"s, "a\0"s, true, true, true},
        {__LINE__, "a\0b"s, "A\0B"s, false, true, true},
        // As many bytes as the prefix has, which may cut a character.
        {__LINE__, "\xC3\xA9", "\xC3", true, true, true},
        // More bytes than the view: false, though the folded forms agree.
        {__LINE__, "I", "\xC4\xB1", false, false, false},
        {__LINE__, "\xC4\xB1", "I", false, false, false},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.line);
        const GuardedBytes bytes(row.view);
        const ChPair view(bytes.begin(), bytes.end());
        auto expectPrefix = [&](const auto& prefix) {
            EXPECT_EQ(row.exact, view.hasPrefix(prefix));
            EXPECT_EQ(row.ascii, view.hasPrefix_i_ascii(prefix));
            EXPECT_EQ(row.utf8, view.hasPrefix_i_utf8(prefix));
        };
        expectPrefix(ChPair(row.prefix));
        expectPrefix(row.prefix);
        if (hasZero(row.prefix)) continue;
        expectPrefix(row.prefix.c_str());
        expectPrefix(ChArr(row.prefix));
    }
}

TEST(ChPairHasPrefix, EmptyPrefixIsOneAlsoOfTheNullView) {
    const ChPair null, text("abc");
    auto expectPrefix = [&](const auto& prefix) {
        for (const ChPair& view : {null, text, ChPair("")}) {
            EXPECT_TRUE(view.hasPrefix(prefix));
            EXPECT_TRUE(view.hasPrefix_i_ascii(prefix));
            EXPECT_TRUE(view.hasPrefix_i_utf8(prefix));
        }
    };
    expectPrefix(ChPair());
    expectPrefix("");
    expectPrefix(static_cast<const char*>(nullptr));
    expectPrefix(ChArr());
    expectPrefix(std::string());
    EXPECT_FALSE(null.hasPrefix("a"));
    EXPECT_FALSE(null.hasPrefix_i_ascii("a"));
    EXPECT_FALSE(null.hasPrefix_i_utf8("a"));
}

// --- Changing the bytes in view ---

TEST(ChPairCase, ChangesTheBytesInViewAlone) {
    AccentPair accents;
    TableScope<unsigned char> upC3(chr_upper_table_ascii, 0xC3, 0xC3), upA9(chr_upper_table_ascii, 0xA9, 0xA9);
    TableScope<unsigned char> lowC3(chr_lower_table_ascii, 0xC3, 0xC3), low89(chr_lower_table_ascii, 0x89, 0x89);
    std::string text = "aaBB\xC3\xA9\xC3\x89zz";
    ChPair view(text.data() + 1, text.data() + 9);
    view.up_ascii();
    EXPECT_EQ("aABB\xC3\xA9\xC3\x89Zz", text);
    view.lw_ascii();
    EXPECT_EQ("aabb\xC3\xA9\xC3\x89zz", text);
    view.up_utf8();
    EXPECT_EQ("aABB\xC3\x89\xC3\x89Zz", text);
    view.lw_utf8();
    EXPECT_EQ("aabb\xC3\xA9\xC3\xA9zz", text);
    EXPECT_VIEW(text.data() + 1, text.data() + 9, view);
}

// A character whose other case is shorter leaves its last byte behind, and the length stays.
TEST(ChPairCase, Utf8KeepsTheLengthInBytes) {
    AccentPair accents;
    std::string text = "\xC4\xB1z";
    ChPair view(text);
    view.up_utf8();
    EXPECT_EQ("I\x11Z", text);
    EXPECT_VIEW(text.data(), text.data() + 3, view);
}

TEST(ChPairCase, EmptyViewsChangeNothing) {
    std::string text = "aB";
    for (ChPair view : {ChPair(), ChPair(text.data() + 1, 0)}) {
        view.up_ascii();
        view.lw_ascii();
        view.up_utf8();
        view.lw_utf8();
        view.replace('a', 'x');
        view.replace('B', 'x');
    }
    EXPECT_EQ("aB", text);
}

TEST(ChPairReplace, ReplacesEveryByteInView) {
    const struct {
        int line;
        std::string text;
        char from, to;
        std::string result;
    } rows[] = {
        {__LINE__, "/a/b//", '/', '\\', "/a\\b\\/"},   {__LINE__, "aaaa", 'a', 'b', "abba"},
        {__LINE__, "abcd", 'x', 'y', "abcd"},          {__LINE__, "abba", 'b', 'b', "abba"},
        {__LINE__, "a\0\0a"s, '\0', ' ', "a  a"},      {__LINE__, "abba", 'b', '\0', "a\0\0a"s},
        {__LINE__, "a\xE9\xE9z", '\xE9', 'e', "aeez"}, {__LINE__, "abBa", 'b', 'x', "axBa"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.line);
        std::string text = row.text;
        ChPair view(text.data() + 1, text.data() + text.size() - 1);
        view.replace(row.from, row.to);
        EXPECT_EQ(row.result, text);
        EXPECT_VIEW(text.data() + 1, text.data() + text.size() - 1, view);
    }
}

// --- Narrowing ---

struct NarrowRow {
    int line;
    std::string text;
    int begin, end;  // what is left of the view of the whole text
};

TEST(ChPairTrimSpaces, CutsBlanksAtBothEnds) {
    const NarrowRow rows[] = {
        {__LINE__, "abc", 0, 3},
        {__LINE__, "  a b ", 2, 5},
        {__LINE__, " a", 1, 2},
        {__LINE__, "a  ", 0, 1},
        {__LINE__, " \ta\n ", 1, 4},
        {__LINE__, "", 0, 0},
        {__LINE__, " \0 "s, 1, 2},
        {__LINE__, "\xA0 a", 0, 3},
        {__LINE__, " x ", 1, 2},
        // Only blanks: the terminator stops the walk.
        {__LINE__, " ", 1, 1},
        {__LINE__, "   ", 3, 3},
    };
    for (const NarrowRow& row : rows) {
        SCOPED_TRACE(row.line);
        ChPair view(row.text);
        view.trimSpaces();
        EXPECT_VIEW(row.text.data() + row.begin, row.text.data() + row.end, view);
    }
}

// The walk at the front looks at bytes and not at the end of the view.
TEST(ChPairTrimSpaces, ViewOfBlanksEndsWithItsBeginAtTheNextOtherByte) {
    const char text[] = "    x";
    ChPair view(text, text + 2);
    view.trimSpaces();
    EXPECT_VIEW(text + 4, text + 2, view);
    ChPair upTo(text + 1, text + 4);
    upTo.trimSpaces();
    EXPECT_VIEW(text + 4, text + 4, upTo);
}

TEST(ChPairTrimSpaces, EmptyViewIsNotLookedAt) {
    const char text[] = "   ";
    ChPair empty(text, text), turned(text + 2, text + 1), null;
    empty.trimSpaces();
    turned.trimSpaces();
    null.trimSpaces();
    EXPECT_VIEW(text, text, empty);
    EXPECT_VIEW(text + 2, text + 1, turned);
    EXPECT_VIEW(nullptr, nullptr, null);
    empty.trimWhite();
    turned.trimWhite();
    null.trimWhite();
    EXPECT_VIEW(text, text, empty);
    EXPECT_VIEW(text + 2, text + 1, turned);
    EXPECT_VIEW(nullptr, nullptr, null);
}

TEST(ChPairTrimWhite, CutsAllControlBytesAtBothEnds) {
    const NarrowRow rows[] = {
        {__LINE__, "abc", 0, 3},
        {__LINE__, " \t\r\n\v\fa b\f\v\n\r\t ", 6, 9},
        {__LINE__, "\x01\x1F!\x1F\x01", 2, 3},
        {__LINE__, "\0a\0"s, 1, 2},
        {__LINE__, "a \x7F", 0, 3},
        {__LINE__, "\x80 a \xFF", 0, 5},
        {__LINE__, " \xA0 ", 1, 2},
        {__LINE__, "\na", 1, 2},
        {__LINE__, "a\n", 0, 1},
    };
    for (const NarrowRow& row : rows) {
        SCOPED_TRACE(row.line);
        GuardedBytes bytes(row.text);
        ChPair view(bytes.begin(), bytes.end());
        view.trimWhite();
        EXPECT_VIEW(bytes.begin() + row.begin, bytes.begin() + row.end, view);
    }
}

// A terminator does not stop it, so the place where it stops may lie far beyond the view.
TEST(ChPairTrimWhite, ViewOfWhiteEndsWithItsBeginAtTheNextOtherByte) {
    const char text[] = " \t\0\n\x01x";
    ChPair view(text, text + 2);
    view.trimWhite();
    EXPECT_VIEW(text + 5, text + 2, view);
    ChPair upTo(text, text + 5);
    upTo.trimWhite();
    EXPECT_VIEW(text + 5, text + 5, upTo);
}

TEST(ChPairTrimEoln, CutsOneLineFeedAndThenOneCarriageReturn) {
    const NarrowRow rows[] = {
        {__LINE__, "x", 0, 1},     {__LINE__, "x\n", 0, 1},     {__LINE__, "x\r\n", 0, 1},
        {__LINE__, "x\r", 0, 1},   {__LINE__, "x\n\n", 0, 2},   {__LINE__, "x\r\r", 0, 2},
        {__LINE__, "x\n\r", 0, 2}, {__LINE__, "x\r\r\n", 0, 2}, {__LINE__, "x\r\n\r\n", 0, 3},
        {__LINE__, "\nx", 0, 2},   {__LINE__, "x ", 0, 2},      {__LINE__, "", 0, 0},
        {__LINE__, "\n", 0, 0},    {__LINE__, "\r", 0, 0},      {__LINE__, "\r\n", 0, 0},
        {__LINE__, "\n\r", 0, 1},
    };
    for (const NarrowRow& row : rows) {
        SCOPED_TRACE(row.line);
        GuardedBytes bytes(row.text);
        ChPair view(bytes.begin(), bytes.end());
        view.trimEOLN();
        EXPECT_VIEW(bytes.begin() + row.begin, bytes.begin() + row.end, view);
    }
}

TEST(ChPairTrimEoln, LooksAtNothingBeforeTheView) {
    const char text[] = "\r\n\n";
    ChPair lineFeed(text + 1, text + 2), empty(text + 1, text + 1), null;
    lineFeed.trimEOLN();
    EXPECT_VIEW(text + 1, text + 1, lineFeed);
    empty.trimEOLN();
    EXPECT_VIEW(text + 1, text + 1, empty);
    null.trimEOLN();
    EXPECT_VIEW(nullptr, nullptr, null);
}

TEST(ChPairTrimQuotes, CutsBothQuotesOrNone) {
    const struct {
        int line;
        std::string text;
        char open, close;
        int begin, end;
    } rows[] = {
        {__LINE__, "\"a\"", '"', '"', 1, 2},
        {__LINE__, "\"\"", '"', '"', 1, 1},
        {__LINE__, "\"", '"', '"', 0, 1},
        {__LINE__, "\"a", '"', '"', 0, 2},
        {__LINE__, "a\"", '"', '"', 0, 2},
        {__LINE__, "a", '"', '"', 0, 1},
        {__LINE__, "", '"', '"', 0, 0},
        {__LINE__, "[ab]", '[', ']', 1, 3},
        {__LINE__, "]ab[", '[', ']', 0, 4},
        {__LINE__, "[ab[", '[', ']', 0, 4},
        {__LINE__, "[]", '[', ']', 1, 1},
        {__LINE__, "\"\"a\"\"", '"', '"', 1, 4},
        {__LINE__, "\0a\0"s, '\0', '\0', 1, 2},
        {__LINE__, "'a\"", '"', '"', 0, 3},
        {__LINE__, "\xABx\xBB", '\xAB', '\xBB', 1, 2},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.line);
        GuardedBytes bytes(row.text);
        ChPair view(bytes.begin(), bytes.end());
        view.trimQuotes(row.open, row.close);
        EXPECT_VIEW(bytes.begin() + row.begin, bytes.begin() + row.end, view);
    }
    ChPair null;
    null.trimQuotes('"', '"');
    EXPECT_VIEW(nullptr, nullptr, null);
}

// --- Splitting ---

TEST(ChPairSplit, SplitsAtTheFirstByte) {
    const struct {
        int line;
        std::string text;
        char c;
        int left, right;  // end of the left part and begin of the right one; -1: no split
    } rows[] = {
        {__LINE__, "a=b", '=', 1, 2}, {__LINE__, "a=b=c", '=', 1, 2},  {__LINE__, "=b", '=', 0, 1},
        {__LINE__, "a=", '=', 1, 2},  {__LINE__, "=", '=', 0, 1},      {__LINE__, "abc", '=', -1, -1},
        {__LINE__, "", '=', -1, -1},  {__LINE__, "a\0b"s, '\0', 1, 2}, {__LINE__, "a\xE9z", '\xE9', 1, 2},
        {__LINE__, "aBb", 'b', 2, 3},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.line);
        GuardedBytes bytes(row.text);
        const ChPair view(bytes.begin(), bytes.end());
        bool found = row.left >= 0;
        const char mark[] = "mark";
        ChPair left(mark), right(mark + 1);
        EXPECT_EQ(found, view.split(left, row.c, right));
        if (found) {
            EXPECT_VIEW(bytes.begin(), bytes.begin() + row.left, left);
            EXPECT_VIEW(bytes.begin() + row.right, bytes.end(), right);
        } else {
            EXPECT_VIEW(mark, mark + 4, left);
            EXPECT_VIEW(mark + 1, mark + 4, right);
        }
        EXPECT_EQ(found, view.split_get(left, row.c, right));
        EXPECT_VIEW(bytes.begin(), found ? bytes.begin() + row.left : bytes.end(), left);
        EXPECT_VIEW(found ? bytes.begin() + row.right : bytes.end(), bytes.end(), right);
        EXPECT_VIEW(bytes.begin(), bytes.end(), view);
    }
}

TEST(ChPairSplit, NullViewHasNoParts) {
    const ChPair null;
    const char mark[] = "mark";
    ChPair left(mark), right(mark);
    EXPECT_FALSE(null.split(left, 'a', right));
    EXPECT_VIEW(mark, mark + 4, left);
    EXPECT_VIEW(mark, mark + 4, right);
    EXPECT_FALSE(null.split_get(left, 'a', right));
    EXPECT_VIEW(nullptr, nullptr, left);
    EXPECT_VIEW(nullptr, nullptr, right);
    left = right = mark;
    EXPECT_FALSE(null.split_line_get(left, right));
    EXPECT_VIEW(nullptr, nullptr, left);
    EXPECT_VIEW(nullptr, nullptr, right);
}

TEST(ChPairSplit, OutputsMayBeTheViewItself) {
    const char text[] = "ab,cd";
    ChPair right, left, view(text);
    EXPECT_TRUE(view.split(view, ',', right));
    EXPECT_VIEW(text, text + 2, view);
    EXPECT_VIEW(text + 3, text + 5, right);
    view = text;
    EXPECT_TRUE(view.split(left, ',', view));
    EXPECT_VIEW(text, text + 2, left);
    EXPECT_VIEW(text + 3, text + 5, view);
    view = text;
    EXPECT_TRUE(view.split_get(view, ',', right));
    EXPECT_VIEW(text, text + 2, view);
    EXPECT_VIEW(text + 3, text + 5, right);
    view = text;
    EXPECT_FALSE(view.split_get(view, ';', right));
    EXPECT_VIEW(text, text + 5, view);
    EXPECT_VIEW(text + 5, text + 5, right);
    EXPECT_FALSE(view.split_get(left, ';', view));
    EXPECT_VIEW(text, text + 5, left);
    EXPECT_VIEW(text + 5, text + 5, view);
    const char lines[] = "ab\r\ncd";
    view = lines;
    EXPECT_TRUE(view.split_line_get(view, right));
    EXPECT_VIEW(lines, lines + 2, view);
    EXPECT_VIEW(lines + 4, lines + 6, right);
    view = lines;
    EXPECT_TRUE(view.split_line_get(left, view));
    EXPECT_VIEW(lines, lines + 2, left);
    EXPECT_VIEW(lines + 4, lines + 6, view);
    EXPECT_FALSE(view.split_line_get(left, view));
    EXPECT_VIEW(lines + 4, lines + 6, left);
    EXPECT_VIEW(lines + 6, lines + 6, view);
}

TEST(ChPairSplitGet, WalksAListThroughItsOwnRest) {
    ChPair list("a,,bc,"), item;
    std::vector<std::string> items;
    while (list.split_get(item, ',', list)) items.push_back(item.std());
    items.push_back(item.std());
    EXPECT_EQ((std::vector<std::string>{"a", "", "bc", ""}), items);
    EXPECT_TRUE(list.empty());
}

TEST(ChPairSplitLineGet, CutsTheLineEnd) {
    const struct {
        int line;
        std::string text;
        int lineEnd, rest;  // end of the line and begin of the rest
        bool result;
    } rows[] = {
        {__LINE__, "a\r\nb", 1, 3, true},    {__LINE__, "a\nb", 1, 2, true},     {__LINE__, "\nb", 0, 1, true},
        {__LINE__, "\r\nb", 0, 2, true},     {__LINE__, "a\r", 2, 2, false},     {__LINE__, "a", 1, 1, false},
        {__LINE__, "", 0, 0, false},         {__LINE__, "a\r\r\nb", 2, 4, true}, {__LINE__, "a\rb\nc", 3, 4, true},
        {__LINE__, "a\n", 1, 2, true},       {__LINE__, "a\n\r\nb", 1, 2, true}, {__LINE__, "\n", 0, 1, true},
        {__LINE__, "a\0\r\nb"s, 2, 4, true},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.line);
        GuardedBytes bytes(row.text);
        const ChPair view(bytes.begin(), bytes.end());
        ChPair line("old"), rest("old");
        EXPECT_EQ(row.result, view.split_line_get(line, rest));
        EXPECT_VIEW(bytes.begin(), bytes.begin() + row.lineEnd, line);
        EXPECT_VIEW(bytes.begin() + row.rest, bytes.end(), rest);
    }
}

TEST(ChPairSplitLineGet, CarriageReturnBeforeTheViewIsNotLookedAt) {
    const char text[] = "\r\nb";
    ChPair view(text + 1), line, rest;
    EXPECT_TRUE(view.split_line_get(line, rest));
    EXPECT_VIEW(text + 1, text + 1, line);
    EXPECT_VIEW(text + 2, text + 3, rest);
}

// --- Paths ---

TEST(ChPairPath, PartsOfAPath) {
    const struct {
        int line;
        const char* path;
        int extension;  // begin; it runs to the end
        int item;       // likewise
        int parsedBegin, parsedEnd;
    } rows[] = {
        {__LINE__, "dir/name.tar.gz", 13, 4, 4, 12},
        {__LINE__, "a.tar.gz", 6, 0, 0, 5},
        {__LINE__, "dir/.profile", 5, 4, 4, 4},
        {__LINE__, ".profile", 1, 0, 0, 0},
        {__LINE__, "dir.d/name", 10, 6, 6, 10},
        {__LINE__, "dir.d\\name", 10, 6, 6, 10},
        {__LINE__, "dir.d:name", 10, 6, 6, 10},
        {__LINE__, "C:name", 6, 2, 2, 6},
        {__LINE__, "C:name.x", 7, 2, 2, 6},
        {__LINE__, "C:\\dir/name.x", 12, 7, 7, 11},
        {__LINE__, "name", 4, 0, 0, 4},
        {__LINE__, "name.", 5, 0, 0, 4},
        {__LINE__, "dir/", 4, 4, 4, 4},
        {__LINE__, "a.b/", 4, 4, 4, 4},
        {__LINE__, "", 0, 0, 0, 0},
        {__LINE__, ".", 1, 0, 0, 0},
        {__LINE__, "..", 2, 0, 0, 1},
        {__LINE__, "/", 1, 1, 1, 1},
        {__LINE__, "a/b..c", 5, 2, 2, 4},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.line);
        GuardedBytes bytes(row.path);
        const ChPair path(bytes.begin(), bytes.end());
        EXPECT_VIEW(bytes.begin() + row.extension, bytes.end(), path.findLastExtension());
        EXPECT_VIEW(bytes.begin() + row.item, bytes.end(), path.findLastPathItem());
        EXPECT_VIEW(bytes.begin() + row.parsedBegin, bytes.begin() + row.parsedEnd, path.parsePath());
    }
}

TEST(ChPairPath, NothingBeforeTheViewCounts) {
    const char text[] = "dir/x.y/name";
    const ChPair inside(text + 9);
    EXPECT_VIEW(text + 12, text + 12, inside.findLastExtension());
    EXPECT_VIEW(text + 9, text + 12, inside.findLastPathItem());
    EXPECT_VIEW(text + 9, text + 12, inside.parsePath());
}

TEST(ChPairPath, NullViewHasNullParts) {
    EXPECT_VIEW(nullptr, nullptr, ChPair().findLastExtension());
    EXPECT_VIEW(nullptr, nullptr, ChPair().findLastPathItem());
    EXPECT_VIEW(nullptr, nullptr, ChPair().parsePath());
}

// --- Views whose end lies before their begin ---

std::string placeIn(const char* text, const char* place) { return place ? std::to_string(place - text) : "null"; }

std::string placesIn(const char* text, const ChPair& view) {
    return placeIn(text, view.begin) + "," + placeIn(text, view.end);
}

std::string answers(bool whether, const ChPair& left, const ChPair& right, const char* text) {
    return std::to_string(whether) + " " + placesIn(text, left) + " " + placesIn(text, right);
}

template <class T, class Parse>
std::string parsed(Parse parse) {
    try {
        return std::to_string(static_cast<T>(parse()));
    } catch (const TTT& message) {
        return support::dumpMessage(message);
    }
}

struct ViewUse {
    int line;
    std::string (*result)(ChPair view);
};

PairTag colours[] = {{"red", 1}, {"green", 2}, {}};

const ViewUse viewUses[] = {
    {__LINE__, [](ChPair v) { return std::to_string(v.size()); }},
    {__LINE__, [](ChPair v) { return v.std(); }},
    {__LINE__,
     [](ChPair v) {
         std::string out = "old";
         return v.std(out);
     }},
    // Each member that compares, on either side.
    {__LINE__, [](ChPair v) { return std::to_string(sign(v.compare("a"))); }},
    {__LINE__, [](ChPair v) { return std::to_string(sign(ChPair("a").compare(v))); }},
    {__LINE__, [](ChPair v) { return std::to_string(sign(ChPair("a").compare(v.begin, v.end))); }},
    {__LINE__, [](ChPair v) { return std::to_string(sign(ChPair("a").compare(v.begin, v.len()))); }},
    {__LINE__, [](ChPair v) { return std::to_string(v.equal("")) + std::to_string(v.equal("ab")); }},
    {__LINE__, [](ChPair v) { return std::to_string(ChPair().equal(v)) + std::to_string(ChPair("ab").equal(v)); }},
    {__LINE__, [](ChPair v) { return std::to_string(v.equal_i_ascii("")) + std::to_string(v.equal_i_ascii("ab")); }},
    {__LINE__, [](ChPair v) { return std::to_string(ChPair("ab").equal_i_ascii(v)); }},
    {__LINE__, [](ChPair v) { return std::to_string(v.compare_i_utf8("")) + std::to_string(v.compare_i_utf8("ab")); }},
    {__LINE__, [](ChPair v) { return std::to_string(ChPair("ab").compare_i_utf8(v)); }},
    {__LINE__, [](ChPair v) { return std::to_string(v.equal_i_utf8("")) + std::to_string(v.equal_i_utf8("ab")); }},
    {__LINE__, [](ChPair v) { return std::to_string(ChPair("ab").equal_i_utf8(v)); }},
    {__LINE__, [](ChPair v) { return std::to_string(v == ChPair("")) + std::to_string(v < ChPair("a")); }},
    // Each that searches.
    {__LINE__, [](ChPair v) { return placeIn(v.begin, v.find('b')); }},
    {__LINE__, [](ChPair v) { return placeIn(v.begin, v.find("b")); }},
    {__LINE__, [](ChPair v) { return std::to_string(v.contains("b")) + std::to_string(v.contains('b')); }},
    {__LINE__, [](ChPair v) { return std::to_string(ChPair("abc").contains(v)); }},
    {__LINE__, [](ChPair v) { return placeIn(v.begin, v.find_i_ascii('b')); }},
    {__LINE__, [](ChPair v) { return placeIn(v.begin, v.find_i_ascii("b")); }},
    {__LINE__, [](ChPair v) { return std::to_string(ChPair("abc").find_i_ascii(v) != nullptr); }},
    {__LINE__, [](ChPair v) { return placeIn(v.begin, v.find_i_utf8('b')); }},
    {__LINE__, [](ChPair v) { return placeIn(v.begin, v.find_i_utf8("b")); }},
    {__LINE__, [](ChPair v) { return std::to_string(ChPair("abc").find_i_utf8(v) != nullptr); }},
    {__LINE__, [](ChPair v) { return std::to_string(v.hasPrefix("")) + std::to_string(v.hasPrefix("b")); }},
    {__LINE__, [](ChPair v) { return std::to_string(ChPair("ab").hasPrefix(v)); }},
    {__LINE__, [](ChPair v) { return std::to_string(v.hasPrefix_i_ascii("b")); }},
    {__LINE__, [](ChPair v) { return std::to_string(ChPair("ab").hasPrefix_i_ascii(v)); }},
    {__LINE__, [](ChPair v) { return std::to_string(v.hasPrefix_i_utf8("b")); }},
    {__LINE__, [](ChPair v) { return std::to_string(ChPair("ab").hasPrefix_i_utf8(v)); }},
    // Each that changes bytes: the text is looked at afterwards.
    {__LINE__, [](ChPair v) { return v.up_ascii(), std::string(); }},
    {__LINE__, [](ChPair v) { return v.lw_ascii(), std::string(); }},
    {__LINE__, [](ChPair v) { return v.up_utf8(), std::string(); }},
    {__LINE__, [](ChPair v) { return v.lw_utf8(), std::string(); }},
    {__LINE__, [](ChPair v) { return v.replace('b', 'x'), std::string(); }},
    // Each that narrows or splits.
    {__LINE__, [](ChPair v) { return v.trimSpaces(), std::to_string(v.size()); }},
    {__LINE__, [](ChPair v) { return v.trimWhite(), std::to_string(v.size()); }},
    {__LINE__, [](ChPair v) { return v.trimEOLN(), std::to_string(v.size()); }},
    {__LINE__, [](ChPair v) { return v.trimQuotes('a', 'a'), std::to_string(v.size()); }},
    {__LINE__,
     [](ChPair v) {
         ChPair left(v.begin), right(v.begin);
         return answers(v.split(left, 'b', right), left, right, v.begin);
     }},
    {__LINE__,
     [](ChPair v) {
         ChPair left, right;
         return answers(v.split_get(left, 'b', right), left, right, v.begin);
     }},
    {__LINE__,
     [](ChPair v) {
         ChPair line, rest;
         return answers(v.split_line_get(line, rest), line, rest, v.begin);
     }},
    {__LINE__, [](ChPair v) { return placesIn(v.begin, v.findLastExtension()); }},
    {__LINE__, [](ChPair v) { return placesIn(v.begin, v.findLastPathItem()); }},
    {__LINE__, [](ChPair v) { return placesIn(v.begin, v.parsePath()); }},
    // Each that reads a value.
    {__LINE__, [](ChPair v) { return parsed<int>([&] { return v.parseInt(nullptr, nullptr); }); }},
    {__LINE__, [](ChPair v) { return parsed<unsigned>([&] { return v.parseUInt(nullptr, nullptr); }); }},
    {__LINE__, [](ChPair v) { return parsed<long long>([&] { return v.parseInt64(nullptr, nullptr); }); }},
    {__LINE__, [](ChPair v) { return parsed<unsigned long long>([&] { return v.parseUInt64(nullptr, nullptr); }); }},
    {__LINE__, [](ChPair v) { return parsed<double>([&] { return v.parseDouble(nullptr, nullptr); }); }},
    {__LINE__, [](ChPair v) { return parsed<unsigned>([&] { return v.parseIP(); }); }},
    {__LINE__, [](ChPair v) { return parsed<unsigned>([&] { return v.parseEnum(colours, 0); }); }},
    {__LINE__, [](ChPair v) { return parsed<unsigned>([&] { return v.parseFlags(colours, 0, true); }); }},
    {__LINE__, [](ChPair v) { return parsed<long long>([&] { return v.parseGMTTime(); }); }},
    {__LINE__, [](ChPair v) { return parsed<long long>([&] { return v.parseLocalTime(); }); }},
    {__LINE__, [](ChPair v) { return parsed<long long>([&] { return v.parseTime(); }); }},
    // Each member of another text that takes a view or a range.
    {__LINE__, [](ChPair v) { return std::string(ChArr(v)()); }},
    {__LINE__, [](ChPair v) { return std::string(ChArr(v.begin, v.end)()); }},
    {__LINE__,
     [](ChPair v) {
         ChArr a("old");
         return std::string((a = v)());
     }},
    {__LINE__,
     [](ChPair v) {
         ChArr a("old");
         return a.assign(v.begin, v.end), std::string(a());
     }},
    {__LINE__,
     [](ChPair v) {
         ChArr a("old");
         return a.assign(v.begin, v.len()), std::string(a());
     }},
    {__LINE__, [](ChPair v) { return std::to_string(ChArr("ab").equal(v)) + std::to_string(ChArr("ab").compare(v)); }},
    {__LINE__, [](ChPair v) { return std::to_string(ChArr16(v).len()); }},
    {__LINE__, [](ChPair v) { return std::to_string(ChArr16(v.begin, v.end).len()); }},
    {__LINE__, [](ChPair v) { return CharVector(v).std(); }},
    {__LINE__, [](ChPair v) { return CharVector(v.begin, v.end).std(); }},
    {__LINE__,
     [](ChPair v) {
         CharVector vector("old");
         return (vector = v).std();
     }},
    {__LINE__,
     [](ChPair v) {
         CharVector vector("old");
         return vector.assign(v.begin, v.end), vector.std();
     }},
    {__LINE__,
     [](ChPair v) {
         CharVector vector("old");
         return (vector << v).std();
     }},
    {__LINE__,
     [](ChPair v) {
         CharVector vector("old");
         return vector.append(v.begin, v.end), vector.std();
     }},
    {__LINE__, [](ChPair v) { return std::to_string(sign(CharVector("ab").compare(v))); }},
    {__LINE__, [](ChPair v) { return std::to_string(sign(CharVector("ab").compare(v.begin, v.end))); }},
};

TEST(ChPairInverted, CountsAsEmpty) {
    const std::string original = "1b a/ab.b\n a";
    for (const ViewUse& use : viewUses) {
        SCOPED_TRACE(use.line);
        for (const int length : {-1, -2, -5}) {
            char text[16];
            std::strcpy(text, original.c_str());
            char* const begin = text + 6;
            const std::string expected = use.result(ChPair(begin, begin));
            EXPECT_EQ(expected, use.result(ChPair(begin, begin + length)));
            EXPECT_EQ(original, text);
        }
    }
}

TEST(ChPairInverted, IsNotEmptyForThreeMembers) {
    const char text[] = "abcd";
    const ChPair inverted(text + 3, text + 1);
    EXPECT_EQ(-2, inverted.len());
    EXPECT_FALSE(inverted.empty());
    EXPECT_EQ(1, inverted.compare_i_ascii("zz"));
    EXPECT_EQ(1, inverted.compare_i_ascii(""));
    EXPECT_EQ(1, ChPair("a").compare_i_ascii(inverted));
    EXPECT_EQ(-1, ChPair("").compare_i_ascii(inverted));
}

// This is how callers come by one.
TEST(ChPairInverted, ComesFromATrimmedViewOfBlanks) {
    const char text[] = "    x";
    ChPair view(text, 2);
    view.trimSpaces();
    EXPECT_EQ(-2, view.len());
    EXPECT_EQ(nullptr, view.find('x'));
    EXPECT_FALSE(view.equal_i_ascii("x"));
    ChPair left, right;
    EXPECT_FALSE(view.split(left, 'x', right));
    EXPECT_FALSE(view.split_get(left, 'x', right));
    EXPECT_VIEW(view.begin, view.begin, left);
    EXPECT_VIEW(view.begin, view.begin, right);
}

// --- What would be a view of a text that is gone ---

template <class Source>
constexpr bool isViewOf() {
    return std::is_constructible_v<ChPair, Source> || std::is_convertible_v<Source, ChPair> ||
           std::is_assignable_v<ChPair&, Source>;
}

static_assert(!isViewOf<const ChArr16&>() && !isViewOf<ChArr16&>() && !isViewOf<ChArr16>());
static_assert(!isViewOf<const utf16_string&>() && !isViewOf<utf16_string&>() && !isViewOf<utf16_string>());
static_assert(!isViewOf<const utf16_t*>() && !isViewOf<utf16_t*>() && !isViewOf<const utf16_t (&)[4]>());
static_assert(!isViewOf<const SimpleVector<char>&>() && !isViewOf<SimpleVector<char>&>());
static_assert(isViewOf<const ChArr&>() && isViewOf<const CharVector&>() && isViewOf<CharVector&>());
static_assert(isViewOf<const char*>() && isViewOf<char*>() && isViewOf<const char (&)[4]>());
static_assert(isViewOf<std::nullptr_t>() && isViewOf<const std::string&>());

TEST(ChPairFromCharVector, IsAnArgumentOfEveryFamily) {
    const ChPair view("one two");
    const CharVector two("two"), TWO("TWO"), one("one"), all("one two");
    EXPECT_EQ(view.begin + 4, view.find(two));
    EXPECT_EQ(view.begin + 4, view.find_i_ascii(TWO));
    EXPECT_EQ(view.begin + 4, view.find_i_utf8(TWO));
    EXPECT_TRUE(view.contains(two));
    EXPECT_FALSE(view.contains(TWO));
    EXPECT_TRUE(view.hasPrefix(one));
    EXPECT_FALSE(view.hasPrefix(two));
    EXPECT_TRUE(view.hasPrefix_i_ascii(one));
    EXPECT_TRUE(view.hasPrefix_i_utf8(one));
    EXPECT_FALSE(view.hasPrefix_i_ascii(TWO));
    EXPECT_FALSE(view.hasPrefix_i_utf8(TWO));
    EXPECT_EQ(0, view.compare(all));
    EXPECT_LT(0, view.compare(one));
    EXPECT_TRUE(view.equal(all));
    EXPECT_FALSE(view.equal(one));
    EXPECT_EQ(0, ChPair("two").compare_i_ascii(TWO));
    EXPECT_EQ(0, ChPair("two").compare_i_utf8(TWO));
    EXPECT_TRUE(ChPair("two").equal_i_ascii(TWO));
    EXPECT_TRUE(ChPair("two").equal_i_utf8(TWO));
    EXPECT_FALSE(ChPair("two").equal_i_ascii(one));
    EXPECT_FALSE(ChPair("two").equal_i_utf8(one));
}

}  // namespace
