#include <velmora/serial/tags.h>

#include <gtest/gtest.h>

#include <climits>
#include <cstddef>
#include <string>
#include <type_traits>
#include <utility>

#include <velmora/text/bytes.h>
#include <velmora/text/charr.h>
#include <velmora/text/charvector.h>
#include <velmora/text/chpair.h>

#include "tests/support/guard_page.h"
#include "tests/support/table_scope.h"

static_assert(sizeof(PairTag) == 24, "two pointers and a number");
static_assert(offsetof(PairTag, name) == 0 && std::is_same_v<decltype(PairTag::name), const char*>);
static_assert(offsetof(PairTag, value) == 8 && std::is_same_v<decltype(PairTag::value), int>);
static_assert(offsetof(PairTag, nameEnd) == 16 && std::is_same_v<decltype(PairTag::nameEnd), const char*>);
static_assert(sizeof(StrTag) == 16, "a pointer and a number");
static_assert(offsetof(StrTag, name) == 0 && std::is_same_v<decltype(StrTag::name), const char*>);
static_assert(offsetof(StrTag, value) == 8 && std::is_same_v<decltype(StrTag::value), int>);
static_assert(sizeof(StrPtrTag) == 16, "a pointer and a number");
static_assert(offsetof(StrPtrTag, namePtr) == 0 && std::is_same_v<decltype(StrPtrTag::namePtr), const char* const*>);
static_assert(offsetof(StrPtrTag, value) == 8 && std::is_same_v<decltype(StrPtrTag::value), int>);

// No constructors, and copies member by member.
static_assert(std::is_aggregate_v<PairTag> && std::is_trivially_copyable_v<PairTag>);
static_assert(std::is_aggregate_v<StrTag> && std::is_trivially_copyable_v<StrTag>);
static_assert(std::is_aggregate_v<StrPtrTag> && std::is_trivially_copyable_v<StrPtrTag>);
static_assert(std::is_copy_assignable_v<PairTag> && std::is_move_assignable_v<PairTag>);
static_assert(std::is_copy_assignable_v<StrTag> && std::is_move_assignable_v<StrTag>);
static_assert(std::is_copy_assignable_v<StrPtrTag> && std::is_move_assignable_v<StrPtrTag>);

namespace {

using namespace std::string_literals;

const char* const kNull = nullptr;
constexpr int kDef = -77;

// A name through every form of a PairTag's search, on tables that are each used for the first time. The forms must
// agree; `text` has no zero byte, so that all of them can tell it.
template <std::size_t N>
int valueOf(const PairTag (&table)[N], const std::string& text) {
    struct Fresh {
        PairTag tags[N];
        explicit Fresh(const PairTag (&from)[N]) {
            for (std::size_t i = 0; i < N; ++i) tags[i] = PairTag{from[i].name, from[i].value};
        }
        const PairTag* operator->() const { return tags; }
    };
    const int value = Fresh(table)->translate(ChPair(text), kDef);
    EXPECT_EQ(value, Fresh(table)->translate(CharVector(text), kDef));
    EXPECT_EQ(value, Fresh(table)->translate(text, kDef));
    EXPECT_EQ(value, Fresh(table)->translate(text.c_str(), kDef));
    EXPECT_EQ(value, Fresh(table)->translate(ChArr(text), kDef));
    support::GuardedBytes bytes(text);
    EXPECT_EQ(value, Fresh(table)->translate(ChPair(bytes.begin(), bytes.end()), kDef));
    return value;
}

std::string flagNames(const PairTag* table, int flags) {
    std::string text = "what was there";
    table->translate(flags, text);
    CharVector vector("what was there, and a good deal more of it");
    table->translate(flags, vector);
    EXPECT_EQ(text, ChPair(vector).std());
    if (vector.data) {
        EXPECT_EQ(0, vector.data[vector.count]);
    }
    return text;
}

}  // namespace

// --- Names to values ---

TEST(PairTagTranslate, NameToValueInEveryForm) {
    static const PairTag tags[] = {{"red", 1},     {"Green", 2}, {"green", 3},     {"blue", 4}, {"red", 5},
                                   {"a b-c_1", 6}, {"again", 4}, {"min", INT_MIN}, {}};
    static const struct {
        int line;
        std::string text;
        int value;
    } rows[] = {
        {__LINE__, "red", 1},
        {__LINE__, "RED", 1},
        {__LINE__, "rEd", 1},
        {__LINE__, "blue", 4},
        {__LINE__, "AGAIN", 4},
        {__LINE__, "min", INT_MIN},
        {__LINE__, "A B-C_1", 6},
        // The first of the table, though a later one is exact.
        {__LINE__, "green", 2},
        {__LINE__, "Green", 2},
        {__LINE__, "GREEN", 2},
        // No prefix of either side, and no trimming.
        {__LINE__, "re", kDef},
        {__LINE__, "redd", kDef},
        {__LINE__, "r", kDef},
        {__LINE__, " red", kDef},
        {__LINE__, "red ", kDef},
        {__LINE__, "rod", kDef},
        {__LINE__, "bed", kDef},
        {__LINE__, "1", kDef},
        {__LINE__, "", kDef},
        // Only letters fold: these differ in the same bit.
        {__LINE__, "a b\rc_1", kDef},
        {__LINE__, "a b-c\1771", kDef},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.line);
        EXPECT_EQ(row.value, valueOf(tags, row.text));
    }
}

TEST(PairTagTranslate, FirstOfTwoSpellingsWins) {
    static const PairTag lower[] = {{"on", 1}, {"On", 2}, {}};
    static const PairTag upper[] = {{"On", 2}, {"on", 1}, {}};
    for (const char* text : {"ON", "on", "On", "oN"}) {
        EXPECT_EQ(1, valueOf(lower, text)) << text;
        EXPECT_EQ(2, valueOf(upper, text)) << text;
    }
}

TEST(PairTagTranslate, BytesOfAViewCountAsTheyStand) {
    static const PairTag tags[] = {{"red", 1}, {"a", 2}, {}};
    EXPECT_EQ(kDef, tags->translate("red\0"s, kDef));
    EXPECT_EQ(kDef, tags->translate("red\0blue"s, kDef));
    EXPECT_EQ(kDef, tags->translate(ChPair("\0", 1), kDef));
    const char text[] = "xredx";
    EXPECT_EQ(1, tags->translate(ChPair(text + 1, text + 4), kDef));
}

TEST(PairTagTranslate, EmptyAndNullNamesFindOnlyAnEmptyOne) {
    static const PairTag without[] = {{"a", 1}, {"b", 2}, {}};
    static const PairTag first[] = {{"", 5}, {"a", 1}, {"", 6}, {}};
    static const PairTag later[] = {{"a", 1}, {"", 6}, {}};
    EXPECT_EQ(kDef, valueOf(without, ""));
    EXPECT_EQ(5, valueOf(first, ""));
    EXPECT_EQ(6, valueOf(later, ""));
    EXPECT_EQ(1, valueOf(first, "a"));
    EXPECT_EQ(1, valueOf(later, "a"));

    const struct {
        const PairTag* tags;
        int value;
    } rows[] = {{without, kDef}, {first, 5}, {later, 6}};
    for (const auto& row : rows) {
        EXPECT_EQ(row.value, row.tags->translate(ChPair(), kDef));
        EXPECT_EQ(row.value, row.tags->translate(CharVector(), kDef));
        EXPECT_EQ(row.value, row.tags->translate(ChArr(), kDef));
        EXPECT_EQ(row.value, row.tags->translate(kNull, kDef));
    }
}

TEST(PairTagTranslate, DefaultIsGivenBackAsItIs) {
    static const PairTag tags[] = {{"a", 1}, {}};
    for (int def : {0, 1, -1, INT_MIN, INT_MAX}) {
        EXPECT_EQ(def, tags->translate("b", def));
        EXPECT_EQ(def, tags->translate(ChPair("b"), def));
    }
}

// The case table decides for every pair of bytes, and nothing else does.
TEST(PairTagTranslate, FoldsByTheCaseTable) {
    support::TableScope<unsigned char> upper(chr_upper_table_ascii, 0xE9, 0xC9);
    support::TableScope<unsigned char> same(chr_upper_table_ascii, 0xC9, 0xC9);
    for (int a = 1; a < 256; ++a) {
        const char name[] = {static_cast<char>(a), 0};
        const PairTag pair[] = {{name, 1}, {}};
        const StrTag str[] = {{name, 1}, {}};
        for (int b = 1; b < 256; ++b) {
            const char text[] = {static_cast<char>(b), 0};
            const int expected = a == b || chr_upper_table_ascii[a] == chr_upper_table_ascii[b] ? 1 : kDef;
            if (expected != pair->translate(ChPair(text), kDef) || expected != pair->translate(text, kDef) ||
                expected != str->translate(text, kDef)) {
                ADD_FAILURE() << a << " against " << b;
            }
        }
    }
    static const PairTag accent[] = {{"caf\xE9", 1}, {}};
    EXPECT_EQ(1, valueOf(accent, "CAF\xC9"));
    EXPECT_EQ(kDef, valueOf(accent, "CAF\xC8"));
}

// --- Values to names ---

TEST(PairTagTranslate, ValueToTheFirstName) {
    static const PairTag tags[] = {{"one", 1}, {"two", 2}, {"uno", 1}, {"none", 0}, {"", -5}, {}};
    EXPECT_EQ(tags[0].name, tags->translate(1));
    EXPECT_EQ(tags[1].name, tags->translate(2));
    EXPECT_EQ(tags[3].name, tags->translate(0));
    EXPECT_EQ(tags[4].name, tags->translate(-5));
    EXPECT_EQ(nullptr, tags->translate(3));
    EXPECT_EQ(nullptr, tags->translate(-1));
    EXPECT_EQ(nullptr, tags[0].nameEnd);  // no ends were needed
}

TEST(PairTagPTranslate, ViewOfTheFirstName) {
    static const PairTag tags[] = {{"one", 1}, {"three", 2}, {"uno", 1}, {"", -5}, {"zero", 0}, {}};
    const struct {
        int value;
        const PairTag* tag;
    } rows[] = {{1, tags}, {2, tags + 1}, {-5, tags + 3}, {0, tags + 4}};
    for (const auto& row : rows) {
        const ChPair name = tags->ptranslate(row.value);
        EXPECT_EQ(row.tag->name, name.begin);
        EXPECT_EQ(row.tag->nameEnd, name.end);
        EXPECT_EQ(std::string(row.tag->name), name.std());
    }
    EXPECT_EQ(nullptr, tags->ptranslate(3).begin);
    EXPECT_EQ(nullptr, tags->ptranslate(3).end);
}

// --- Measured ends ---

TEST(PairTagInit, MeasuresEveryRecordOnce) {
    char first[] = "first";
    char second[] = "second";
    const PairTag tags[] = {{first, 1}, {second, 2}, {"", 3}, {nullptr, 4}};
    tags->init();
    EXPECT_EQ(first + 5, tags[0].nameEnd);
    EXPECT_EQ(second + 6, tags[1].nameEnd);
    EXPECT_EQ(tags[2].name, tags[2].nameEnd);
    EXPECT_EQ(nullptr, tags[3].nameEnd);
    EXPECT_EQ(first, tags[0].name);
    EXPECT_EQ(1, tags[0].value);
    EXPECT_EQ(4, tags[3].value);

    // Not even when the names have become shorter.
    first[2] = 0;
    second[2] = 0;
    tags->init();
    EXPECT_EQ(first + 5, tags[0].nameEnd);
    EXPECT_EQ(second + 6, tags[1].nameEnd);
}

TEST(PairTagInit, FirstRecordStandsForTheTable) {
    static const char name[] = "first";
    const PairTag measured[] = {{name, 1, name + 2}, {"second", 2}, {}};
    measured->init();
    EXPECT_EQ(name + 2, measured[0].nameEnd);
    EXPECT_EQ(nullptr, measured[1].nameEnd);

    static const char other[] = "second";
    const PairTag unmeasured[] = {{name, 1}, {other, 2, other + 1}, {}};
    unmeasured->init();
    EXPECT_EQ(name + 5, unmeasured[0].nameEnd);
    EXPECT_EQ(other + 6, unmeasured[1].nameEnd);

    const PairTag empty[] = {{nullptr, 1}, {"behind the end", 2}};
    empty->init();
    EXPECT_EQ(nullptr, empty[0].nameEnd);
    EXPECT_EQ(nullptr, empty[1].nameEnd);
}

TEST(PairTagInit, IsTheFirstStepOfTheFormsWithViews) {
    std::string text;
    CharVector vector;
    const struct {
        int line;
        void (*use)(const PairTag*, std::string&, CharVector&);
        bool measures;
    } rows[] = {
        {__LINE__, [](const PairTag* t, std::string&, CharVector&) { t->translate(ChPair("b"), 0); }, true},
        {__LINE__, [](const PairTag* t, std::string&, CharVector&) { t->translate(CharVector("b"), 0); }, true},
        {__LINE__, [](const PairTag* t, std::string&, CharVector&) { t->translate("b"s, 0); }, true},
        {__LINE__, [](const PairTag* t, std::string&, CharVector&) { t->ptranslate(9); }, true},
        {__LINE__, [](const PairTag* t, std::string& out, CharVector&) { t->translate(0, out); }, true},
        {__LINE__, [](const PairTag* t, std::string&, CharVector& out) { t->translate(0, out); }, true},
        {__LINE__, [](const PairTag* t, std::string&, CharVector&) { t->translate("b", 0); }, false},
        {__LINE__, [](const PairTag* t, std::string&, CharVector&) { t->translate(ChArr("b"), 0); }, false},
        {__LINE__, [](const PairTag* t, std::string&, CharVector&) { t->translate(2); }, false},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.line);
        const PairTag tags[] = {{"a", 1}, {"bc", 2}, {}};
        row.use(tags, text, vector);
        EXPECT_EQ(row.measures ? tags[0].name + 1 : nullptr, tags[0].nameEnd);
        EXPECT_EQ(row.measures ? tags[1].name + 2 : nullptr, tags[1].nameEnd);
        EXPECT_EQ(nullptr, tags[2].nameEnd);
    }
}

// Ends that were set by hand show which forms go by them.
TEST(PairTagTranslate, FormsWithViewsGoByTheMeasuredEnds) {
    static const char name[] = "onward";
    const PairTag tags[] = {{name, 1, name + 2}, {}};
    EXPECT_EQ(1, tags->translate(ChPair("ON"), kDef));
    EXPECT_EQ(1, tags->translate(CharVector("on"), kDef));
    EXPECT_EQ(1, tags->translate("on"s, kDef));
    EXPECT_EQ(kDef, tags->translate(ChPair("onward"), kDef));
    EXPECT_EQ(kDef, tags->translate(CharVector("onward"), kDef));
    EXPECT_EQ(kDef, tags->translate("onward"s, kDef));
    EXPECT_EQ(name + 2, tags->ptranslate(1).end);
    EXPECT_EQ("on", flagNames(tags, 1));

    EXPECT_EQ(kDef, tags->translate("on", kDef));
    EXPECT_EQ(1, tags->translate("onward", kDef));
    EXPECT_EQ(1, tags->translate(ChArr("onward"), kDef));
    EXPECT_STREQ("onward", tags->translate(1));
}

// --- Flags to names ---

TEST(PairTagTranslateFlags, NamesInTableOrder) {
    static const PairTag bits[] = {{"one", 1}, {"two", 2}, {"four", 4}, {}};
    static const PairTag backwards[] = {{"four", 4}, {"two", 2}, {"one", 1}, {}};
    static const PairTag combined[] = {{"both", 3}, {"one", 1}, {}};
    static const PairTag late[] = {{"one", 1}, {"both", 3}, {"two", 2}, {}};
    static const PairTag overlap[] = {{"five", 5}, {"six", 6}, {"four", 4}, {}};
    static const PairTag special[] = {{"zero", 0}, {"top", INT_MIN}, {"again", INT_MIN}, {"low", 1}, {}};
    static const PairTag all[] = {{"all", -1}, {"one", 1}, {}};
    static const PairTag names[] = {{"", 1}, {"a", 2}, {"", 4}, {"b c", 8}, {}};
    static const struct {
        int line;
        const PairTag* tags;
        int flags;
        std::string names;
    } rows[] = {
        {__LINE__, bits, 0, ""},
        {__LINE__, bits, 1, "one"},
        {__LINE__, bits, 2, "two"},
        {__LINE__, bits, 3, "one two"},
        {__LINE__, bits, 5, "one four"},
        {__LINE__, bits, 7, "one two four"},
        {__LINE__, bits, -1, "one two four"},
        {__LINE__, backwards, 7, "four two one"},
        // Bits without a record are dropped.
        {__LINE__, bits, 8, ""},
        {__LINE__, bits, 9, "one"},
        // One bit is enough to show, and all of the record's bits go with it.
        {__LINE__, combined, 1, "both"},
        {__LINE__, combined, 2, "both"},
        {__LINE__, combined, 3, "both"},
        {__LINE__, late, 3, "one both"},
        {__LINE__, late, 1, "one"},
        {__LINE__, late, 2, "both"},
        {__LINE__, overlap, 7, "five six"},
        {__LINE__, overlap, 4, "five"},
        {__LINE__, overlap, 2, "six"},
        {__LINE__, special, 0, ""},
        {__LINE__, special, 1, "low"},
        {__LINE__, special, INT_MIN, "top"},
        {__LINE__, special, -1, "top low"},
        {__LINE__, all, 1, "all"},
        {__LINE__, all, INT_MIN, "all"},
        {__LINE__, all, 0, ""},
        // The blank is for a text that is not empty yet, whatever the names are.
        {__LINE__, names, 1, ""},
        {__LINE__, names, 3, "a"},
        {__LINE__, names, 6, "a "},
        {__LINE__, names, 15, "a  b c"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.line);
        EXPECT_EQ(row.names, flagNames(row.tags, row.flags));
    }
}

TEST(PairTagTranslateFlags, WithoutANameTheVectorIsNull) {
    static const PairTag bits[] = {{"one", 1}, {"two", 2}, {"four", 4}, {}};
    static const PairTag empty[] = {{}};
    for (const PairTag* tags : {bits, empty}) {
        CharVector out("text");
        tags->translate(8, out);
        EXPECT_EQ(nullptr, out.data);
        EXPECT_EQ(0, out.count);
        EXPECT_EQ(0, out.allocateCount);
    }
}

// --- Tables without a record ---

TEST(PairTagEmptyTable, FindsNothing) {
    static const PairTag tags[] = {{nullptr, 7}};
    EXPECT_EQ(kDef, tags->translate(ChPair("a"), kDef));
    EXPECT_EQ(kDef, tags->translate(ChPair(""), kDef));
    EXPECT_EQ(kDef, tags->translate(ChPair(), kDef));
    EXPECT_EQ(kDef, tags->translate(CharVector("a"), kDef));
    EXPECT_EQ(kDef, tags->translate("a"s, kDef));
    EXPECT_EQ(kDef, tags->translate("a", kDef));
    EXPECT_EQ(kDef, tags->translate("", kDef));
    EXPECT_EQ(kDef, tags->translate(kNull, kDef));
    EXPECT_EQ(kDef, tags->translate(ChArr("a"), kDef));
    EXPECT_EQ(nullptr, tags->translate(7));
    EXPECT_EQ(nullptr, tags->ptranslate(7).begin);
    EXPECT_EQ(nullptr, tags->ptranslate(7).end);
    EXPECT_EQ("", flagNames(tags, 7));
    EXPECT_EQ(nullptr, tags->nameEnd);

    static const StrTag strTags[] = {{nullptr, 7}};
    EXPECT_EQ(kDef, strTags->translate("a", kDef));
    EXPECT_EQ(kDef, strTags->translate("", kDef));
    EXPECT_EQ(nullptr, strTags->translate(7));

    static const StrPtrTag ptrTags[] = {{nullptr, 7}};
    EXPECT_EQ(kDef, ptrTags->translate("a", kDef));
    EXPECT_EQ(kDef, ptrTags->translate("", kDef));
    EXPECT_EQ(nullptr, ptrTags->translate(7));
}

// The value of the record that ends a table plays no part.
TEST(PairTagEnd, HasNoValue) {
    static const PairTag tags[] = {{"a", 1}, {nullptr, 6}};
    EXPECT_EQ(nullptr, tags->translate(6));
    EXPECT_EQ(nullptr, tags->ptranslate(6).begin);
    EXPECT_EQ("", flagNames(tags, 6));
    static const StrTag strTags[] = {{"a", 1}, {nullptr, 6}};
    EXPECT_EQ(nullptr, strTags->translate(6));
    static const char* const name = "a";
    static const StrPtrTag ptrTags[] = {{&name, 1}, {nullptr, 6}};
    EXPECT_EQ(nullptr, ptrTags->translate(6));
}

// --- The two other kinds ---

TEST(Tags, RecordsWithoutValuesEndATable) {
    EXPECT_EQ(nullptr, StrTag().name);
    EXPECT_EQ(0, StrTag().value);
    EXPECT_EQ(nullptr, StrPtrTag().namePtr);
    EXPECT_EQ(0, StrPtrTag().value);
}

TEST(StrTagTranslate, BothWays) {
    static const StrTag tags[] = {{"red", 1}, {"Green", 2}, {"green", 3}, {"rouge", 1}, {"none", 0}, {}};
    EXPECT_EQ(1, tags->translate("red", kDef));
    EXPECT_EQ(1, tags->translate("RED", kDef));
    EXPECT_EQ(2, tags->translate("green", kDef));
    EXPECT_EQ(0, tags->translate("None", kDef));
    EXPECT_EQ(kDef, tags->translate("re", kDef));
    EXPECT_EQ(kDef, tags->translate("redd", kDef));
    EXPECT_EQ(kDef, tags->translate("", kDef));
    EXPECT_EQ(kDef, tags->translate(kNull, kDef));
    EXPECT_EQ(tags[0].name, tags->translate(1));
    EXPECT_EQ(tags[1].name, tags->translate(2));
    EXPECT_EQ(tags[4].name, tags->translate(0));
    EXPECT_EQ(nullptr, tags->translate(9));

    static const StrTag withEmpty[] = {{"a", 1}, {"", 2}, {}};
    EXPECT_EQ(2, withEmpty->translate("", kDef));
    EXPECT_EQ(2, withEmpty->translate(kNull, kDef));
}

TEST(StrPtrTagTranslate, FollowsTheNames) {
    const char* red = "red";
    const char* green = "green";
    const char* missing = nullptr;
    const StrPtrTag tags[] = {{&red, 1}, {&green, 2}, {&missing, 3}, {&green, 4}, {&red, 2}, {}};
    EXPECT_EQ(1, tags->translate("Red", kDef));
    EXPECT_EQ(2, tags->translate("GREEN", kDef));
    EXPECT_EQ(kDef, tags->translate("gree", kDef));
    EXPECT_EQ(kDef, tags->translate("greens", kDef));
    EXPECT_EQ(red, tags->translate(1));
    EXPECT_EQ(green, tags->translate(2));
    EXPECT_EQ(green, tags->translate(4));
    EXPECT_EQ(nullptr, tags->translate(5));
    // A null name is an empty one, and does not end the table.
    EXPECT_EQ(3, tags->translate("", kDef));
    EXPECT_EQ(3, tags->translate(kNull, kDef));
    EXPECT_EQ(nullptr, tags->translate(3));

    red = "rot";
    missing = "blau";
    EXPECT_EQ(kDef, tags->translate("red", kDef));
    EXPECT_EQ(1, tags->translate("rot", kDef));
    EXPECT_EQ(3, tags->translate("blau", kDef));
    EXPECT_EQ(kDef, tags->translate("", kDef));
    EXPECT_STREQ("rot", tags->translate(1));
    EXPECT_STREQ("blau", tags->translate(3));
}

// --- Records ---

TEST(Tags, AssignMemberByMember) {
    static const char name[] = "name";
    const PairTag pair{name, 5, name + 1};
    PairTag pairCopy{"x", 1};
    pairCopy = pair;
    EXPECT_EQ(name, pairCopy.name);
    EXPECT_EQ(5, pairCopy.value);
    EXPECT_EQ(name + 1, pairCopy.nameEnd);
    PairTag pairMoved;
    EXPECT_EQ(nullptr, pairMoved.nameEnd);
    pairMoved = std::move(pairCopy);
    EXPECT_EQ(name, pairMoved.name);
    EXPECT_EQ(5, pairMoved.value);
    EXPECT_EQ(name + 1, pairMoved.nameEnd);

    const StrTag str{name, 6};
    StrTag strCopy{"x", 1};
    strCopy = str;
    StrTag strMoved;
    strMoved = std::move(strCopy);
    EXPECT_EQ(name, strMoved.name);
    EXPECT_EQ(6, strMoved.value);

    static const char* const namePtr = name;
    const StrPtrTag ptr{&namePtr, 7};
    StrPtrTag ptrCopy{nullptr, 1};
    ptrCopy = ptr;
    StrPtrTag ptrMoved;
    ptrMoved = std::move(ptrCopy);
    EXPECT_EQ(&namePtr, ptrMoved.namePtr);
    EXPECT_EQ(7, ptrMoved.value);
}
