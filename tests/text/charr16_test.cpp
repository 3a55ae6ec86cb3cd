#include <velmora/text/charr.h>

#include <gtest/gtest.h>

#include <cstddef>
#include <memory>
#include <string>
#include <type_traits>
#include <utility>

#include <velmora/text/charvector.h>

namespace {

static_assert(sizeof(ChArr16) == 8 && offsetof(ChArr16, data) == 0, "one pointer and nothing else");
static_assert(std::is_same<decltype(ChArr16::data), utf16_t*>::value, "the text is the owner's to change");
static_assert(std::is_same<decltype(std::declval<const ChArr16&>().len()), int>::value, "lengths are int");

const char* const kNoText = nullptr;
const utf16_t* const kNoText16 = nullptr;

// The 16-bit unit has another type on each system; the literals of the tests do not.
utf16_string wide(const std::u16string& s) { return utf16_string(s.begin(), s.end()); }

// What the object holds, for messages that can be read on both systems.
std::u16string held(const ChArr16& a) {
    if (!a.data) return u"(null)";
    const utf16_string text(a.data);
    return std::u16string(text.begin(), text.end());
}

void expectAllocatedEmpty(int line, const ChArr16& a) {
    SCOPED_TRACE(line);
    ASSERT_NE(nullptr, a.data);
    EXPECT_EQ(0, a.data[0]);
    EXPECT_TRUE(a.empty());
    EXPECT_EQ(0, a.len());
    EXPECT_EQ(a.data, a.end());
}

TEST(ChArr16Constructor, DefaultIsNull) {
    ChArr16 a;
    EXPECT_EQ(nullptr, a.data);
}

TEST(ChArr16Constructor, CopiesUtf16) {
    const utf16_string text = wide(u"A\u00E9\u20AC\xD83D\xDE00");
    const ChArr16 a(text.c_str());
    EXPECT_EQ(u"A\u00E9\u20AC\xD83D\xDE00", held(a));
    EXPECT_NE(text.c_str(), a.data);
    EXPECT_EQ(u"\u00E9\u20AC", held(ChArr16(text.data() + 1, text.data() + 3)));
    EXPECT_EQ(u"A\u00E9\u20AC\xD83D\xDE00", held(ChArr16(text)));
    const ChArr16 copy(a);
    EXPECT_EQ(held(a), held(copy));
    EXPECT_NE(a.data, copy.data);
}

TEST(ChArr16Constructor, ConvertsUtf8) {
    const char text[] = "A\xC3\xA9\xE2\x82\xAC";
    EXPECT_EQ(u"A\u00E9\u20AC", held(ChArr16(text)));
    EXPECT_EQ(u"\u00E9\u20AC", held(ChArr16(text + 1, text + 6)));
    EXPECT_EQ(u"A\u00E9", held(ChArr16(ChPair(text, 3))));
    EXPECT_EQ(u"A\u00E9\u20AC", held(ChArr16(ChArr(text))));
}

// A character is one unit: what lies above U+FFFF keeps its low 16 bits.
TEST(ChArr16Constructor, FourByteSequenceIsOneUnit) {
    const ChArr16 a("x\xF0\x9F\x98\x80y");
    EXPECT_EQ(3, a.len());
    EXPECT_EQ(u"x\xF600y", held(a));
}

TEST(ChArr16Constructor, NullSourceGivesNull) {
    const ChArr none;
    const ChArr16 none16;
    EXPECT_EQ(nullptr, ChArr16(kNoText16).data);
    EXPECT_EQ(nullptr, ChArr16(kNoText16, kNoText16).data);
    EXPECT_EQ(nullptr, ChArr16(none16).data);
    EXPECT_EQ(nullptr, ChArr16(kNoText).data);
    EXPECT_EQ(nullptr, ChArr16(kNoText, kNoText).data);
    EXPECT_EQ(nullptr, ChArr16(ChPair()).data);
    EXPECT_EQ(nullptr, ChArr16(none).data);
}

TEST(ChArr16Constructor, EmptySourceGivesAnAllocatedEmptyText) {
    const char text[] = "abc";
    const utf16_string none16;
    expectAllocatedEmpty(__LINE__, ChArr16(none16.c_str()));
    expectAllocatedEmpty(__LINE__, ChArr16(none16.data(), none16.data()));
    expectAllocatedEmpty(__LINE__, ChArr16(none16));
    expectAllocatedEmpty(__LINE__, ChArr16(""));
    expectAllocatedEmpty(__LINE__, ChArr16(text + 1, text + 1));
    expectAllocatedEmpty(__LINE__, ChArr16(ChPair("")));
    expectAllocatedEmpty(__LINE__, ChArr16(ChArr("")));
}

TEST(ChArr16Constructor, CountedFormsTakeZeroUnitsAlong) {
    const utf16_string text = wide(std::u16string(u"a\0b", 3));
    const ChArr16 fromString(text), fromRange(text.data(), text.data() + 3), fromBytes(ChPair("a\0b", 3));
    for (const ChArr16* a : {&fromString, &fromRange, &fromBytes}) {
        EXPECT_EQ(1, a->len());
        EXPECT_EQ('a', a->data[0]);
        EXPECT_EQ(0, a->data[1]);
        EXPECT_EQ('b', a->data[2]);
        EXPECT_EQ(0, a->data[3]);
    }
}

TEST(ChArr16Assign, ReplacesByEveryForm) {
    const utf16_string text = wide(u"n\u00E9w");
    const ChArr16 source(text.c_str());
    ChArr16 a("old");
    EXPECT_EQ(&a, &(a = text.c_str()));
    EXPECT_EQ(u"n\u00E9w", held(a));
    a = "old";
    EXPECT_EQ(&a, &(a = source));
    EXPECT_EQ(u"n\u00E9w", held(a));
    EXPECT_NE(source.data, a.data);
    a = "old";
    EXPECT_EQ(&a, &(a = text));
    EXPECT_EQ(u"n\u00E9w", held(a));
    a.assign(text.data() + 1, text.data() + 3);
    EXPECT_EQ(u"\u00E9w", held(a));
    a.assign(text.data(), 2);
    EXPECT_EQ(u"n\u00E9", held(a));

    EXPECT_EQ(&a, &(a = "\xE2\x82\xAC!"));
    EXPECT_EQ(u"\u20AC!", held(a));
    EXPECT_EQ(&a, &(a = ChArr("\xC3\xA9?")));
    EXPECT_EQ(u"\u00E9?", held(a));
    EXPECT_EQ(&a, &(a = std::string("\xE2\x82\xAC;")));
    EXPECT_EQ(u"\u20AC;", held(a));
}

TEST(ChArr16Assign, StdStringEndsAtItsFirstZeroByte) {
    ChArr16 a("old");
    a = std::string("ab\0cd", 5);
    EXPECT_EQ(u"ab", held(a));
    EXPECT_EQ(2, a.len());
}

TEST(ChArr16Assign, NullSourceGivesNull) {
    const ChArr none;
    const ChArr16 none16;
    ChArr16 a("old");
    a = kNoText16;
    EXPECT_EQ(nullptr, a.data);
    a = "old";
    a = none16;
    EXPECT_EQ(nullptr, a.data);
    a = "old";
    a.assign(kNoText16, kNoText16);
    EXPECT_EQ(nullptr, a.data);
    a = "old";
    a.assign(kNoText16, 0);
    EXPECT_EQ(nullptr, a.data);
    a = "old";
    a = kNoText;
    EXPECT_EQ(nullptr, a.data);
    a = "old";
    a = none;
    EXPECT_EQ(nullptr, a.data);
}

TEST(ChArr16Assign, EmptySourceGivesAnAllocatedEmptyText) {
    const utf16_string none16;
    ChArr16 a("old");
    a = none16.c_str();
    expectAllocatedEmpty(__LINE__, a);
    a = "old";
    a = none16;
    expectAllocatedEmpty(__LINE__, a);
    a = "old";
    a = "";
    expectAllocatedEmpty(__LINE__, a);
    a = "old";
    a = ChArr("");
    expectAllocatedEmpty(__LINE__, a);
    a = "old";
    a = std::string();
    expectAllocatedEmpty(__LINE__, a);
}

TEST(ChArr16Assign, SourceThatBeginsAtTheTextChangesNothing) {
    ChArr16 a("abcdef");
    utf16_t* const before = a.data;
    const ChArr16& itself = a;
    a.assign(a.asCharPtr(), 3);
    EXPECT_EQ(before, a.data);
    a.assign(a.data, a.data + 2);
    EXPECT_EQ(before, a.data);
    a = a.asCharPtr();
    EXPECT_EQ(before, a.data);
    a = itself;
    EXPECT_EQ(before, a.data);
    EXPECT_EQ(u"abcdef", held(a));
}

TEST(ChArr16Assign, SourceMayLieInsideTheOldText) {
    ChArr16 a("abcdefgh");
    a = static_cast<const utf16_t*>(a.data + 1);
    EXPECT_EQ(u"bcdefgh", held(a));
    a.assign(a.data + 1, a.data + 5);
    EXPECT_EQ(u"cdef", held(a));
    a.assign(a.data + 2, 2);
    EXPECT_EQ(u"ef", held(a));
}

TEST(ChArr16Access, NullTextReadsAsTheSharedEmptyText) {
    ChArr16 a;
    EXPECT_EQ(empty_string16, a.asCharPtr());
    EXPECT_EQ(empty_string16, a());
    EXPECT_EQ(empty_string16, static_cast<const utf16_t*>(a));
    EXPECT_EQ(0, a.len());
    EXPECT_EQ(nullptr, a.end());
    EXPECT_TRUE(a.empty());
}

TEST(ChArr16Access, TextReadsInPlaceAndIsCountedInUnits) {
    ChArr16 a("\xE2\x82\xAC 5");
    EXPECT_EQ(a.data, a.asCharPtr());
    EXPECT_EQ(a.data, a());
    EXPECT_EQ(a.data, static_cast<const utf16_t*>(a));
    EXPECT_EQ(3, a.len());
    EXPECT_EQ(a.data + 3, a.end());
    EXPECT_FALSE(a.empty());
}

TEST(ChArr16Del, GivesNullAndMayBeRepeated) {
    ChArr16 a("text");
    a.del();
    EXPECT_EQ(nullptr, a.data);
    a.del();
    EXPECT_EQ(nullptr, a.data);
}

TEST(ChArr16Steal, HandsTheArrayOut) {
    ChArr16 a("text");
    utf16_t* const before = a.data;
    std::unique_ptr<utf16_t[]> stolen(a.steal());
    EXPECT_EQ(before, stolen.get());
    EXPECT_EQ(wide(u"text"), stolen.get());
    EXPECT_EQ(nullptr, a.data);
    EXPECT_EQ(nullptr, a.steal());
}

TEST(ChArr16RoundTrip, EveryUnitSurvives) {
    utf16_string all;
    for (int unit = 1; unit <= 0xFFFF; ++unit) all += static_cast<utf16_t>(unit);
    const ChArr bytes(all);
    EXPECT_EQ(0x7F + 2 * 0x780 + 3 * 0xF800, bytes.len());
    const ChArr16 back(bytes);
    EXPECT_TRUE(all == back.data);
}

TEST(ChArr16Assign, TakesEveryTextInUtf8) {
    const CharVector vector("caf\xC3\xA9");
    EXPECT_EQ(u"caf\u00E9", held(ChArr16(vector)));
    ChArr16 a("old");
    EXPECT_EQ(&a, &(a = vector));
    EXPECT_EQ(u"caf\u00E9", held(a));
    a = ChPair("xyz", 2);
    EXPECT_EQ(u"xy", held(a));
    a = ChPair();
    EXPECT_EQ(nullptr, a.data);
    a = "old";
    a = CharVector();
    EXPECT_EQ(nullptr, a.data);
}

}  // namespace
