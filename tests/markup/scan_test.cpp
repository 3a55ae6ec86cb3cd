// The scanning loops, for every kind of block that this build has, against a byte by byte search.
#include <gtest/gtest.h>

#include <velmora/markup/scan.h>
#include <velmora/markup/window.h>

#include <algorithm>
#include <cstring>
#include <random>
#include <string>

#include "tests/support/guard_page.h"

namespace {

using velmora::detail::PortableBlock;

template <class B>
class Scan : public ::testing::Test {};

#ifdef VELMORA_HAS_SSE2
using Blocks = ::testing::Types<PortableBlock, velmora::detail::Sse2Block>;
#else
using Blocks = ::testing::Types<PortableBlock>;
#endif
TYPED_TEST_SUITE(Scan, Blocks);

// Texts of every length up to 50 with one special byte or none, which end at a page that cannot be read.
template <class Check>
void forEachText(Check check) {
    static const unsigned char others[] = {0x20, 'a', 0x7F, 0x80, 0xA2, 0xFF};
    static const unsigned char specials[] = {0, 1, 0x1F, '"', '\\', 0x21, 0x23};
    for (int length = 0; length <= 50; ++length) {
        for (unsigned char other : others) {
            for (int place = -1; place < length; ++place) {
                std::string text(static_cast<std::size_t>(length), static_cast<char>(other));
                if (place >= 0)
                    text[static_cast<std::size_t>(place)] = static_cast<char>(specials[(place + length) % 7]);
                check(text);
            }
        }
    }
}

template <class Stops>
std::size_t firstOf(const std::string& text, Stops stops) {
    return static_cast<std::size_t>(std::find_if(text.begin(), text.end(), stops) - text.begin());
}

bool isControl(char c) { return static_cast<unsigned char>(c) < 0x20; }

TYPED_TEST(Scan, StopsWhereAByteByByteSearchDoes) {
    using namespace velmora::detail;
    forEachText([](const std::string& text) {
        const support::GuardedBytes bytes(text);
        const char* begin = bytes.begin();
        const char* end = begin + text.size();
        const auto offset = [&](const char* p) { return static_cast<std::size_t>(p - begin); };
        ASSERT_EQ(firstOf(text, isControl), offset(findControl<TypeParam>(begin, end)));
        ASSERT_EQ(firstOf(text, [](char c) { return c == '"' || c == '\\'; }),
                  offset(findEither<TypeParam>(begin, end, '"', '\\')));
        ASSERT_EQ(firstOf(text, [](char c) { return static_cast<unsigned char>(c) > ' '; }),
                  offset(passBlanks<TypeParam>(begin, end)));
        ASSERT_EQ(firstOf(text, [](char c) { return c != ' '; }), offset(passRun<TypeParam>(begin, end, ' ')));
    });
}

TYPED_TEST(Scan, StopsFarAwayWhereAByteByByteSearchDoes) {
    using namespace velmora::detail;
    for (std::size_t length = 0; length <= 300; ++length) {
        const support::GuardedBytes bytes(std::string(length, 'a'));
        for (std::size_t place = 0; place <= length; ++place) {
            char* const begin = bytes.begin();
            if (place < length) begin[place] = ':';
            if (place + 1 < length) begin[length - 1] = ':';  // which is not the first
            const char* const found = scanFarUntil<TypeParam>(
                begin, begin + length, [](TypeParam b) { return b.is(':'); }, [](char c) { return c == ':'; });
            ASSERT_EQ(place, static_cast<std::size_t>(found - begin)) << length;
            std::fill(begin, begin + length, 'a');
        }
    }
}

TYPED_TEST(Scan, CopiesUnlessAByteIsMarked) {
    using namespace velmora::detail;
    const auto marks = [](TypeParam b) { return b.is('"') | b.isBelow(0x20); };
    forEachText([&](const std::string& text) {
        const support::GuardedBytes bytes(text);
        const int n = static_cast<int>(text.size());
        const bool marked = std::any_of(text.begin(), text.end(), [](char c) { return c == '"' || isControl(c); });
        ASSERT_EQ(marked, anyMarked<TypeParam>(bytes.begin(), n, marks)) << text;
        std::string copy(text.size() + 2, '#');
        ASSERT_EQ(!marked, copyUnless<TypeParam>(copy.data() + 1, bytes.begin(), n, marks));
        ASSERT_EQ('#', copy.front());
        ASSERT_EQ('#', copy.back());
        ASSERT_EQ(marked ? copy : text, marked ? copy : copy.substr(1, text.size()));
    });
}

TYPED_TEST(Scan, TheFirstMarkIsTheFirst) {
    std::mt19937 random(5);
    for (int round = 0; round < 5000; ++round) {
        std::string text(16, ' ');
        for (char& c : text) c = static_cast<char>(random() % 4 == 0 ? random() % 256 : '.');
        const auto block = TypeParam::load(text.data());
        for (int c = 0; c < 256; c += 5) {
            const auto found = block.is(static_cast<char>(c));
            const std::size_t place = text.find(static_cast<char>(c));
            ASSERT_EQ(place != std::string::npos, found.any());
            ASSERT_EQ(found.any() ? static_cast<int>(place) : -1, found.any() ? found.first() : -1);
        }
        const auto other = block.isNot('.');
        const std::size_t place = text.find_first_not_of('.');
        ASSERT_EQ(place != std::string::npos, other.any());
        ASSERT_EQ(other.any() ? static_cast<int>(place) : -1, other.any() ? other.first() : -1);
    }
}

// Asks `where` about a block and `wanted` about each of its bytes.
template <class B, class Where, class Wanted>
void expectMarks(const std::string& text, Where where, Wanted wanted) {
    std::uint32_t bits = 0;
    for (int i = 0; i < 32; ++i)
        bits |= static_cast<std::uint32_t>(wanted(static_cast<unsigned char>(text[static_cast<std::size_t>(i)]))) << i;
    ASSERT_EQ(bits & 0xFFFF, where(B::load(text.data())).bits());
    ASSERT_TRUE(velmora::detail::Marks(bits) == velmora::detail::BasicWindow<B>(text.data()).marks(where));
    const velmora::detail::Marks half = velmora::detail::BasicWindow<B>(text.data()).firstHalf(where);
    ASSERT_TRUE(velmora::detail::Marks(bits & 0xFFFF) == half);
}

TYPED_TEST(Scan, MarksEveryByteThatIsAskedForAndNoOther) {
    using B = TypeParam;
    std::mt19937 random(7);
    for (int round = 0; round < 300; ++round) {
        std::string text(32, ' ');
        const unsigned near = random() % 256;
        for (char& c : text) c = static_cast<char>(random() % 2 == 0 ? random() : near + random() % 3);
        for (unsigned n = 1; n < 128; n += 1 + n % 3) {
            const char c = static_cast<char>(n), last = static_cast<char>(n + (127 - n) / 2);
            expectMarks<B>(
                text, [=](B b) { return b.is(c); }, [=](unsigned x) { return x == n; });
            expectMarks<B>(
                text, [=](B b) { return b.isNot(c); }, [=](unsigned x) { return x != n; });
            expectMarks<B>(
                text, [=](B b) { return b.isBelow(n); }, [=](unsigned x) { return x < n; });
            expectMarks<B>(
                text, [=](B b) { return b.isAbove(n); }, [=](unsigned x) { return x > n; });
            const auto isIn = [=](unsigned x) { return n <= x && x <= static_cast<unsigned char>(last); };
            expectMarks<B>(
                text, [=](B b) { return b.isBetween(c, last); }, isIn);
            expectMarks<B>(
                text, [=](B b) { return b.isBetween(c, last) & b.isNot(c); },
                [=](unsigned x) { return isIn(x) && x != n; });
        }
        expectMarks<B>(
            text, [](B b) { return b.withBit(' ').is('a'); }, [](unsigned x) { return (x | 32) == 'a'; });
    }
}

TEST(Marks, FindWhatIsBetweenPlaces) {
    using velmora::detail::Marks;
    const Marks marks(0x80000104), none(0);
    EXPECT_EQ(2u, marks.place());
    EXPECT_EQ(8u, marks.others().place());
    EXPECT_EQ(31u, marks.others().others().place());
    EXPECT_FALSE(marks.others().others().others().any());
    EXPECT_TRUE(Marks(4) == marks.first());
    EXPECT_TRUE(none == none.first());
    EXPECT_TRUE(Marks(3) == Marks(4).before());
    EXPECT_TRUE(Marks(~3u) == Marks(4).onward());
    EXPECT_TRUE(~none == none.before());
    EXPECT_TRUE(none == none.onward());
    EXPECT_TRUE(Marks(2) == Marks(4).left());
    EXPECT_TRUE(none == Marks(0x80000000).right());
    EXPECT_TRUE(none.lead() && Marks(7).lead() && (~none).lead());
    EXPECT_FALSE(Marks(6).lead() || Marks(0x13).lead());
}

TEST(Marks, WhatIsInQuotesEndsBeforeTheClosingQuote) {
    using velmora::detail::Marks;
    EXPECT_TRUE(Marks(0x1C) == Marks(0x24).quoted(false));
    EXPECT_TRUE(Marks(~0x1Cu) == Marks(0x24).quoted(true));
    EXPECT_TRUE(Marks(0xFFFFFFF0) == Marks(0x10).quoted(false));
    EXPECT_TRUE(Marks(0x10).quoted(false).last());
    EXPECT_FALSE(Marks(0).quoted(false).last());
    EXPECT_TRUE(Marks(0).quoted(true).last());
}

}  // namespace
