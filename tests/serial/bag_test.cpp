#include <velmora/serial/bag.h>

#include <gtest/gtest.h>

#include <climits>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <functional>
#include <new>
#include <string>
#include <type_traits>

#include <velmora/markup/mldoc.h>
#include <velmora/serial/ttt.h>

#include "tests/support/guard_page.h"

static_assert(sizeof(Bag) == 24, "a Bag is four fields");
static_assert(offsetof(Bag, data) == 0, "order of fields");
static_assert(offsetof(Bag, bufferSize) == 8, "order of fields");
static_assert(offsetof(Bag, cursor) == 12, "order of fields");
static_assert(offsetof(Bag, size) == 16, "order of fields");
static_assert(!std::is_polymorphic_v<Bag>, "a Bag has no virtual operations");
static_assert(sizeof(Bag::Exception) == 1 && std::is_empty_v<Bag::Exception>, "the exception says nothing");
static_assert(std::is_void_v<decltype(std::declval<Bag&>() = std::declval<const Bag&>())>,
              "assignment returns nothing");

namespace {

std::string content(const Bag& bag) { return bag.size > 0 ? std::string(bag.data, bag.size) : std::string(); }

// A Bag whose block and content are exactly `text`, so that the next byte written has to grow it.
struct ExactBag : Bag {
    explicit ExactBag(const std::string& text) : Bag(text.data(), static_cast<int>(text.size())) { pack(); }
};

void expectFields(const Bag& bag, int bufferSize, int cursor, int size) {
    EXPECT_EQ(bufferSize, bag.bufferSize);
    EXPECT_EQ(cursor, bag.cursor);
    EXPECT_EQ(size, bag.size);
}

void expectAllZero(const Bag& bag) {
    EXPECT_EQ(nullptr, bag.data);
    expectFields(bag, 0, 0, 0);
}

// A view of so many bytes, which nothing may be read through.
ChPair viewOf(std::int64_t bytes) {
    const char* const begin = "short";
    return ChPair(begin, reinterpret_cast<const char*>(reinterpret_cast<std::uintptr_t>(begin) +
                                                       static_cast<std::uintptr_t>(bytes)));
}

void putBytes(Bag& bag, const std::string& bytes) { bag.putData(bytes.data(), static_cast<int>(bytes.size())); }

int fieldAt(const Bag& bag, int at) {
    int value;
    std::memcpy(&value, bag.data + at, sizeof value);
    return value;
}

// ---- construction, ownership, comparison ----

TEST(Bag, IsEmptyWhenNew) {
    Bag bag;
    expectAllZero(bag);
    EXPECT_TRUE(bag.empty());
    EXPECT_TRUE(bag.isEmpty());
    EXPECT_TRUE(bag.end());
    EXPECT_EQ(0, bag.tell());
    EXPECT_EQ(0, bag.getSize());
    EXPECT_EQ(0, bag.getBufferSize());
    EXPECT_EQ(0, bag.getRestSize());
    EXPECT_EQ(nullptr, bag.getData());
    EXPECT_EQ(nullptr, bag.ptr());
}

TEST(Bag, FirstByteMakesABufferOf16) {
    Bag bag;
    bag.putChar('a');
    expectFields(bag, 16, 1, 1);
    EXPECT_FALSE(bag.empty());
    EXPECT_FALSE(bag.isEmpty());
    EXPECT_EQ(bag.data + 1, bag.ptr());
    EXPECT_EQ(bag.data, bag.getData());
}

TEST(BagFromBytes, CopiesAndRewinds) {
    const char source[] = "hello";
    Bag bag(source, 5);
    EXPECT_EQ(5, bag.getSize());
    EXPECT_EQ(0, bag.tell());
    EXPECT_EQ(16, bag.getBufferSize());
    EXPECT_EQ("hello", content(bag));
    EXPECT_NE(source, bag.data);
    bag.pack();
    EXPECT_EQ(5, bag.getBufferSize());
    EXPECT_EQ("hello", content(bag));
}

TEST(BagFromBytes, NoBytesAllocateNothing) {
    Bag bag(nullptr, 0);
    expectAllZero(bag);
    Bag other("abc", 0);
    expectAllZero(other);
}

TEST(BagCopy, HasABlockOfTheExactSizeAndTheCursor) {
    Bag source("hello", 5);
    source.to(3);
    Bag copy(source);
    expectFields(copy, 5, 3, 5);
    EXPECT_NE(source.data, copy.data);
    EXPECT_EQ("hello", content(copy));
    expectFields(source, 16, 3, 5);

    copy.data[0] = 'j';
    EXPECT_EQ("hello", content(source));
}

TEST(BagCopy, CursorBeyondTheContentIsCopiedToo) {
    Bag source("hello", 5);
    source.to(40);
    Bag copy(source);
    expectFields(copy, 5, 40, 5);
}

TEST(BagCopy, OfAnEmptyBagIsAllZeroWhateverItsCursor) {
    Bag source("hello", 5);
    source.truncate();
    source.to(7);
    Bag copy(source);
    expectAllZero(copy);
}

TEST(BagAssign, ReplacesBlockAndCursor) {
    Bag source("hello", 5);
    source.to(2);
    Bag target(std::string(100, 'x').data(), 100);
    target.to(50);
    target = source;
    expectFields(target, 5, 2, 5);
    EXPECT_EQ("hello", content(target));
    EXPECT_NE(source.data, target.data);
    EXPECT_EQ("hello", content(source));
}

TEST(BagAssign, OfAnEmptyBagReleasesAndZeroes) {
    Bag source;
    source.to(3);
    Bag target("hello", 5);
    target.to(2);
    target = source;
    expectAllZero(target);
}

TEST(BagAssign, ToItselfDoesNothing) {
    Bag bag("hello", 5);
    bag.to(2);
    char* block = bag.data;
    const Bag& same = bag;
    bag = same;
    EXPECT_EQ(block, bag.data);
    expectFields(bag, 16, 2, 5);
    EXPECT_EQ("hello", content(bag));
}

TEST(BagClear, ReleasesAndZeroes) {
    Bag bag("hello", 5);
    bag.to(4);
    bag.clear();
    expectAllZero(bag);
}

TEST(BagClear, WithoutABlockLeavesTheCursor) {
    Bag bag;
    bag.to(3);
    bag.clear();
    expectFields(bag, 0, 3, 0);
}

TEST(BagTruncate, KeepsTheBlock) {
    Bag bag("hello", 5);
    bag.to(4);
    char* block = bag.data;
    bag.truncate();
    EXPECT_EQ(block, bag.data);
    expectFields(bag, 16, 0, 0);
    putBytes(bag, "sixteen bytes...");
    EXPECT_EQ(block, bag.data);
    expectFields(bag, 16, 16, 16);
}

TEST(BagTruncateTo, CutsTheContentAndLowersTheCursor) {
    Bag bag("hello", 5);
    bag.to(2);
    bag.truncateTo(4);
    expectFields(bag, 16, 2, 4);
    bag.to(4);
    bag.truncateTo(3);
    expectFields(bag, 16, 3, 3);
    bag.truncateTo(3);
    expectFields(bag, 16, 3, 3);
    EXPECT_EQ("hel", content(bag));
    bag.truncateTo(0);
    expectFields(bag, 16, 0, 0);
}

TEST(BagTruncateTo, BeyondSizeThrows) {
    Bag bag("hello", 5);
    bag.to(2);
    EXPECT_THROW(bag.truncateTo(6), Bag::Exception);
    EXPECT_THROW(bag.truncateTo(INT_MAX), Bag::Exception);
    expectFields(bag, 16, 2, 5);
    EXPECT_EQ("hello", content(bag));
}

TEST(BagTruncateTo, NegativeIsNotRefused) {
    Bag bag("hello", 5);
    EXPECT_NO_THROW(bag.truncateTo(-1));
    expectFields(bag, 16, -1, -1);
    bag.truncate();
}

TEST(BagSteal, HandsOutTheBlock) {
    Bag bag("hello", 5);
    bag.to(2);
    char* block = bag.data;
    int size = -1;
    char* stolen = bag.steal(size);
    EXPECT_EQ(block, stolen);
    EXPECT_EQ(5, size);
    EXPECT_EQ("hello", std::string(stolen, 5));
    expectAllZero(bag);
    delete[] stolen;
}

TEST(BagSteal, FromATruncatedBagReleasesTheBlock) {
    Bag bag("hello", 5);
    bag.truncate();
    bag.to(3);
    int size = -1;
    EXPECT_EQ(nullptr, bag.steal(size));
    EXPECT_EQ(0, size);
    expectAllZero(bag);
}

TEST(BagSteal, FromANewBagIsNull) {
    Bag bag;
    int size = -1;
    EXPECT_EQ(nullptr, bag.steal(size));
    EXPECT_EQ(0, size);
    expectAllZero(bag);
}

TEST(BagStealFromBag, TakesAllFourFields) {
    Bag source("hello", 5);
    source.to(3);
    char* block = source.data;
    Bag target("old", 3);
    target.to(1);
    target.stealFrom(source);
    EXPECT_EQ(block, target.data);
    expectFields(target, 16, 3, 5);
    expectAllZero(source);
}

TEST(BagStealFromBag, FromAnEmptyOneReleasesTheOwnBlock) {
    Bag source;
    source.to(2);
    Bag target("old", 3);
    target.stealFrom(source);
    EXPECT_EQ(nullptr, target.data);
    expectFields(target, 0, 2, 0);
    expectAllZero(source);
}

TEST(BagStealFromBag, FromItselfDoesNothing) {
    Bag bag("hello", 5);
    bag.to(3);
    char* block = bag.data;
    bag.stealFrom(bag);
    EXPECT_EQ(block, bag.data);
    expectFields(bag, 16, 3, 5);
    EXPECT_EQ("hello", content(bag));
}

TEST(BagStealFromBlock, TakesItWithTheGivenNumbers) {
    struct Row {
        int line;
        int size;
        int allocated;
        int bufferSize;
    };
    static const Row rows[] = {
        {__LINE__, 5, 8, 8},  {__LINE__, 5, 0, 0},  // the numbers are trusted
        {__LINE__, 5, -1, 5}, {__LINE__, 5, INT_MIN, 5}, {__LINE__, 0, 8, 8},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.line);
        char* block = new char[8];
        std::memcpy(block, "hello", 5);
        Bag bag("old", 3);
        bag.to(2);
        bag.stealFrom(block, row.size, row.allocated);
        EXPECT_EQ(block, bag.data);
        expectFields(bag, row.bufferSize, 0, row.size);
    }
}

TEST(BagStealFromBlock, AllocatedDefaultsToTheSize) {
    char* block = new char[5];
    std::memcpy(block, "hello", 5);
    Bag bag;
    bag.to(9);
    bag.stealFrom(block, 5);
    EXPECT_EQ(block, bag.data);
    expectFields(bag, 5, 0, 5);
    bag.toEnd();
    bag.putChar('!');
    EXPECT_EQ("hello!", content(bag));
    EXPECT_EQ(16, bag.bufferSize);
}

TEST(BagStealFromDocument, TakesTheText) {
    MLDoc doc;
    doc.buffer = new char[5];
    doc.length = 5;
    std::memcpy(doc.buffer, "hello", 5);
    char* block = doc.buffer;
    Bag bag("old", 3);
    bag.to(2);
    bag.stealFrom(doc);
    EXPECT_EQ(block, bag.data);
    expectFields(bag, 5, 0, 5);
    EXPECT_EQ("hello", content(bag));
    EXPECT_EQ(nullptr, doc.buffer);
}

TEST(BagStealFromDocument, WithoutABlockThereIsNoContent) {
    MLDoc doc;
    EXPECT_THROW(doc.load("refused", "ab", 2), TTT);
    EXPECT_NE(0u, doc.length);
    Bag bag("old", 3);
    bag.stealFrom(doc);
    EXPECT_EQ(nullptr, bag.data);
    expectFields(bag, 0, 0, 0);
    EXPECT_THROW(bag.getChar(), Bag::Exception);

    doc.load("good", "<a/>", 4);
    bag.stealFrom(doc);
    Bag second("old", 3);
    second.stealFrom(doc);
    EXPECT_EQ(nullptr, second.data);
    expectFields(second, 0, 0, 0);
}

TEST(BagWrite, SizeThatWouldOverflowIsRefused) {
    Bag bag("ab", 2);
    bag.to(INT_MAX - 1);
    EXPECT_THROW(bag.putData("xy", 2), Bag::Exception);
    EXPECT_THROW(bag.putDataAligned("xy", 2, 2), Bag::Exception);
    EXPECT_EQ(2, bag.size);
}

// A place that cannot be written to: below the block, or with an end, or an aligned start, behind the greatest number.
TEST(BagWrite, PlaceOutsideIsRefused) {
    struct Row {
        int line;
        int cursor;
        std::function<void(Bag&)> write;
    };
    static const Row rows[] = {
        {__LINE__, -1, [](Bag& bag) { bag.putChar('x'); }},
        {__LINE__, -1, [](Bag& bag) { bag.putData("x", 1); }},
        {__LINE__, -100, [](Bag& bag) { bag.putDataPtr(100); }},
        {__LINE__, -1, [](Bag& bag) { bag.putDataPtr(0); }},
        {__LINE__, -100, [](Bag& bag) { bag.putLong(1); }},
        // Also where the next multiple would be the begin.
        {__LINE__, -1, [](Bag& bag) { bag.putShort(1); }},
        {__LINE__, -3, [](Bag& bag) { bag.putLong(1); }},
        {__LINE__, -7, [](Bag& bag) { bag.putDouble(1); }},
        {__LINE__, -3, [](Bag& bag) { bag.putDataAligned("x", 1, 4); }},
        {__LINE__, -3, [](Bag& bag) { bag.putDataPtrAligned(0, 4); }},
        {__LINE__, -3, [](Bag& bag) { bag.markBeginOfBlock(); }},
        {__LINE__, -3, [](Bag& bag) { bag << ChPair("x"); }},
        {__LINE__, -3, [](Bag& bag) { bag << Bag("x", 1); }},
        {__LINE__, -1, [](Bag& bag) { bag.putString("x"); }},
        {__LINE__, -1, [](Bag& bag) { bag.putStringNZ(""); }},
        // A sum that the limit or the type has no place for.
        {__LINE__, 2, [](Bag& bag) { bag.putDataPtrAligned((1 << 30) + 1, 4); }},
        {__LINE__, 3, [](Bag& bag) { bag.putDataAligned("x", INT_MAX, 4); }},
        {__LINE__, 3, [](Bag& bag) { bag.putDataPtrAligned(INT_MAX, 4); }},
        {__LINE__, 2, [](Bag& bag) { bag.putData("x", INT_MAX); }},
        {__LINE__, 2, [](Bag& bag) { bag.putDataPtr((1 << 30) - 1); }},
        {__LINE__, 2, [](Bag& bag) { bag << viewOf(1u << 30); }},
        {__LINE__, 2, [](Bag& bag) { bag << viewOf(0x80000000u); }},
        {__LINE__, 2, [](Bag& bag) { bag << viewOf(0x100000005u); }},
        {__LINE__, 2, [](Bag& bag) { bag.putStringNZ(viewOf(0x100000005u)); }},
        {__LINE__, 2, [](Bag& bag) { bag << viewOf(-1); }},
        {__LINE__, INT_MAX, [](Bag& bag) { bag.insSpace(1, 1); }},
        {__LINE__, INT_MAX - 1, [](Bag& bag) { bag.insSpace(0, 2); }},
        {__LINE__, -8, [](Bag& bag) { bag.putDataAligned("12345678", 8, 8); }},
        {__LINE__, INT_MIN, [](Bag& bag) { bag.putShort(1); }},
        {__LINE__, INT_MAX, [](Bag& bag) { bag.putChar('x'); }},
        {__LINE__, INT_MAX - 1, [](Bag& bag) { bag.putLong(1); }},
        {__LINE__, INT_MAX, [](Bag& bag) { bag.putShort(1); }},
        {__LINE__, INT_MAX - 2, [](Bag& bag) { bag.putLongLong(1); }},
        {__LINE__, INT_MAX - 6, [](Bag& bag) { bag.putDouble(1); }},
        {__LINE__, INT_MAX - 6, [](Bag& bag) { bag.putDataPtrAligned(1, 16); }},
        {__LINE__, INT_MAX, [](Bag& bag) { bag.reserve(1); }},
        {__LINE__, 2, [](Bag& bag) { bag.reserve(INT_MAX); }},
        {__LINE__, 2, [](Bag& bag) { bag.insSpace(0, INT_MAX); }},
        {__LINE__, 2, [](Bag& bag) { bag.expand((1 << 30) + 1); }},
        {__LINE__, 2, [](Bag& bag) { bag.expand(INT_MAX); }},
        {__LINE__, 1 << 30, [](Bag& bag) { bag.putChar('x'); }},
        {__LINE__, 0, [](Bag& bag) { bag.insSpace(2, INT_MAX - 1); }},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.line);
        Bag bag("ab", 2);
        bag.to(row.cursor);
        const char* block = bag.data;
        EXPECT_THROW(row.write(bag), Bag::Exception);
        expectFields(bag, 16, row.cursor, 2);
        EXPECT_EQ(block, bag.data);
        EXPECT_EQ(0, std::memcmp(bag.data, "ab", 2));
    }
    Bag bag;
    bag.to(-5);
    bag.reserve(5);
    EXPECT_EQ(0, bag.bufferSize);
    bag.reserve(6);
    EXPECT_EQ(16, bag.bufferSize);
    bag.to(INT_MIN);
    bag.reserve(-1);
    EXPECT_EQ(16, bag.bufferSize);
}

TEST(BagWrite, NegativeCountIsRefused) {
    Bag bag("ab", 2);
    bag.toEnd();
    EXPECT_THROW(bag.putData("xy", -1), Bag::Exception);
    EXPECT_THROW(bag.putDataPtr(INT_MIN), Bag::Exception);
    EXPECT_THROW(bag.putDataAligned("xy", -1, 1), Bag::Exception);
    EXPECT_EQ(2, bag.size);
    EXPECT_EQ(2, bag.cursor);
}

// In a block of negative length the content ends in front of the Bag, and there is none to compare, copy or fill up.
TEST(BagWrite, InABlockOfNegativeLengthStaysInTheBag) {
    Bag bag;
    bag.putLong(-104);
    bag.toBegin();
    bag.beginBlock();
    ASSERT_EQ(-100, bag.size);
    Bag same;
    same.putLong(-104);
    same.toBegin();
    same.beginBlock();
    EXPECT_TRUE(bag == same);
    bag.to(1);
    bag.putLong(7);
    EXPECT_EQ(8, bag.size);
    EXPECT_EQ(0, std::memcmp(bag.data, "\0\0\0\0\7\0\0\0", 8));
}

// A negative size counts as none, wherever the content is what is asked for.
TEST(Bag, NegativeSizeIsNoContent) {
    Bag bag("abcdef", 6);
    for (int size : {-1, -100, INT_MIN}) {
        SCOPED_TRACE(size);
        bag.size = size;
        EXPECT_TRUE(bag.empty());
        EXPECT_TRUE(bag.isEmpty());
        EXPECT_EQ(size, bag.getSize());
        const ChPair view = bag;
        EXPECT_EQ(bag.data, view.begin);
        EXPECT_EQ(bag.data, view.end);
        EXPECT_TRUE(bag == Bag());
        EXPECT_TRUE(Bag() == bag);
        EXPECT_FALSE(bag == Bag("a", 1));
        EXPECT_FALSE(Bag("a", 1) == bag);
        const Bag copy(bag);
        expectAllZero(copy);
        Bag assigned("x", 1);
        assigned = bag;
        expectAllZero(assigned);
        Bag outer;
        outer << bag;
        EXPECT_EQ(std::string(4, '\0'), content(outer));
        TTT message(bag);
        EXPECT_TRUE(message.isEmpty());
        message = bag;
        message <= bag;
        EXPECT_TRUE(message.isEmpty());
    }
    int taken = 7;
    EXPECT_EQ(nullptr, bag.steal(taken));
    EXPECT_EQ(0, taken);
    expectAllZero(bag);
}

// As it comes about: the length of a block is believed, and the block is passed over.
TEST(BagWrite, BehindABlockOfNegativeLengthIsRefused) {
    Bag bag;
    bag.putLong(-104);
    bag.toBegin();
    const int saved = bag.beginBlock();
    bag.passBlock(saved);
    ASSERT_EQ(-100, bag.cursor);
    EXPECT_THROW(bag.putChar('x'), Bag::Exception);
    EXPECT_EQ(4, bag.size);
}

TEST(BagEquality, ComparesTheContentAlone) {
    Bag a("hello", 5);
    Bag b("hello", 5);
    b.toEnd();
    EXPECT_TRUE(a == b);
    EXPECT_FALSE(a != b);
    b.pack();
    EXPECT_NE(a.bufferSize, b.bufferSize);
    EXPECT_TRUE(a == b);
    EXPECT_FALSE(a != b);

    Bag shorter("hell", 4);
    EXPECT_FALSE(a == shorter);
    EXPECT_TRUE(a != shorter);
    Bag different("hellO", 5);
    EXPECT_FALSE(a == different);
    EXPECT_TRUE(a != different);
    Bag zeroInside("he\0lo", 5);
    Bag zeroInsideOther("he\0la", 5);
    EXPECT_FALSE(zeroInside == zeroInsideOther);

    Bag empty;
    Bag truncated("x", 1);
    truncated.truncate();
    EXPECT_TRUE(empty == truncated);
    EXPECT_FALSE(empty != truncated);
    EXPECT_FALSE(empty == a);
}

TEST(BagAsChPair, IsTheWholeContent) {
    Bag bag("hello", 5);
    bag.to(3);
    const Bag& constant = bag;
    ChPair view = constant;
    EXPECT_EQ(bag.data, view.begin);
    EXPECT_EQ(bag.data + 5, view.end);
    Bag empty;
    view = static_cast<ChPair>(empty);
    EXPECT_EQ(nullptr, view.begin);
    EXPECT_EQ(nullptr, view.end);
}

// ---- the cursor ----

TEST(BagCursor, IsSetWithoutAnyCheck) {
    Bag bag("hello", 5);
    bag.to(3);
    EXPECT_EQ(3, bag.tell());
    EXPECT_EQ(bag.data + 3, bag.ptr());
    EXPECT_EQ(2, bag.getRestSize());
    EXPECT_FALSE(bag.end());
    bag.pass(4);
    EXPECT_EQ(7, bag.tell());
    EXPECT_EQ(-2, bag.getRestSize());
    EXPECT_TRUE(bag.end());
    bag.back(9);
    EXPECT_EQ(-2, bag.tell());
    EXPECT_EQ(7, bag.getRestSize());
    EXPECT_FALSE(bag.end());
    bag.toEnd();
    EXPECT_EQ(5, bag.tell());
    EXPECT_EQ(0, bag.getRestSize());
    EXPECT_TRUE(bag.end());
    bag.toBegin();
    EXPECT_EQ(0, bag.tell());
    bag.to(-7);
    EXPECT_EQ(-7, bag.tell());
    expectFields(bag, 16, -7, 5);
    EXPECT_EQ("hello", content(bag));
}

// ---- raw access ----

TEST(BagPutData, InTheMiddleCutsOffWhatLayBehind) {
    Bag bag;
    putBytes(bag, "0123456789");
    bag.to(2);
    putBytes(bag, "abc");
    expectFields(bag, 16, 5, 5);
    EXPECT_EQ("01abc", content(bag));
    EXPECT_EQ("56789", std::string(bag.data + 5, 5)) << "the bytes behind stay in the block";
}

TEST(BagPutData, OfNothingStillSetsTheSize) {
    Bag bag("hello", 5);
    bag.to(2);
    bag.putData(nullptr, 0);
    expectFields(bag, 16, 2, 2);
    EXPECT_EQ("he", content(bag));
}

TEST(BagPutData, BehindTheEndLeavesTheSkippedBytes) {
    Bag bag("xxxxxxxxxxxxxxxx", 16);
    bag.truncate();
    bag.pass(4);
    putBytes(bag, "ab");
    expectFields(bag, 16, 6, 6);
    EXPECT_EQ("xxxxab", content(bag));
}

TEST(BagPutDataPtr, GivesThePlaceToFill) {
    Bag bag("hello", 5);
    bag.to(2);
    char* place = bag.putDataPtr(4);
    EXPECT_EQ(bag.data + 2, place);
    expectFields(bag, 16, 6, 6);
    std::memcpy(place, "ABCD", 4);
    EXPECT_EQ("heABCD", content(bag));

    place = bag.putDataPtr(20);
    EXPECT_EQ(bag.data + 6, place) << "the place is in the grown block";
    expectFields(bag, 256, 26, 26);
    EXPECT_EQ("heABCD", content(bag).substr(0, 6));
}

TEST(BagGetData, CopiesAndPasses) {
    Bag bag("hello", 5);
    char out[6] = "-----";
    bag.to(1);
    bag.getData(out, 3);
    EXPECT_STREQ("ell--", out);
    EXPECT_EQ(4, bag.tell());
    bag.getData(out, 0);
    EXPECT_EQ(4, bag.tell());
    bag.getData(out, 1);
    EXPECT_STREQ("oll--", out);
    EXPECT_TRUE(bag.end());
    bag.getData(nullptr, 0);
    expectFields(bag, 16, 5, 5);
}

TEST(BagGetDataPtr, PointsIntoTheBlock) {
    Bag bag("hello", 5);
    bag.to(1);
    char* place = bag.getDataPtr(3);
    EXPECT_EQ(bag.data + 1, place);
    expectFields(bag, 16, 4, 5);
    EXPECT_EQ(bag.data + 4, bag.getDataPtr(0));
    EXPECT_EQ(bag.data + 4, bag.getDataPtr(1));
    EXPECT_EQ(5, bag.tell());
    place[0] = 'E';
    EXPECT_EQ("hEllo", content(bag)) << "a patch in place";
}

TEST(BagGetData, BeyondTheContentThrowsAndMovesNothing) {
    struct Row {
        int line;
        int cursor;
        int n;
    };
    static const Row rows[] = {
        {__LINE__, 0, 6},       {__LINE__, 4, 2},
        {__LINE__, 5, 1},       {__LINE__, 6, 0},
        {__LINE__, 100, 1},     {__LINE__, 0, -1},
        {__LINE__, 5, -1},      {__LINE__, 3, -3},
        {__LINE__, 0, INT_MIN}, {__LINE__, 0, INT_MAX},
        {__LINE__, 1, INT_MAX}, {__LINE__, 5, INT_MAX},
        {__LINE__, INT_MAX, 1}, {__LINE__, INT_MAX, INT_MAX},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.line);
        Bag bag("hello", 5);
        bag.to(row.cursor);
        char out[8] = "-------";
        EXPECT_THROW(bag.getData(out, row.n), Bag::Exception);
        expectFields(bag, 16, row.cursor, 5);
        EXPECT_THROW(bag.getDataPtr(row.n), Bag::Exception);
        expectFields(bag, 16, row.cursor, 5);
        EXPECT_STREQ("-------", out);
        EXPECT_EQ("hello", content(bag));
    }
}

// ---- aligned access ----

TEST(BagPutAligned, GapAtTheEndIsZero) {
    struct Row {
        int line;
        int before;  // bytes of content, cursor behind them
        int n;
        int align;
        int start;
    };
    static const Row rows[] = {
        {__LINE__, 0, 4, 4, 0}, {__LINE__, 1, 4, 4, 4}, {__LINE__, 3, 4, 4, 4}, {__LINE__, 4, 4, 4, 4},
        {__LINE__, 5, 4, 4, 8}, {__LINE__, 1, 3, 2, 2}, {__LINE__, 1, 1, 8, 8}, {__LINE__, 9, 1, 16, 16},
        {__LINE__, 5, 4, 1, 5}, {__LINE__, 5, 4, 0, 5}, {__LINE__, 5, 0, 8, 8}, {__LINE__, 17, 300, 64, 64},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.line);
        std::string before(static_cast<std::size_t>(row.before), 'a');
        std::string written(static_cast<std::size_t>(row.n), 'b');
        std::string expected = before + std::string(static_cast<std::size_t>(row.start - row.before), '\0') + written;
        {
            Bag bag(std::string(32, 'x').data(), 32);  // the block is not clean
            bag.truncate();
            putBytes(bag, before);
            char* place = bag.putDataPtrAligned(row.n, row.align);
            EXPECT_EQ(bag.data + row.start, place);
            EXPECT_EQ(row.start + row.n, bag.cursor);
            EXPECT_EQ(row.start + row.n, bag.size);
            std::memset(place, 'b', static_cast<std::size_t>(row.n));
            EXPECT_EQ(expected, content(bag));
        }
        {
            Bag bag(std::string(32, 'x').data(), 32);
            bag.truncate();
            putBytes(bag, before);
            bag.putDataAligned(row.n ? written.data() : nullptr, row.n, row.align);
            EXPECT_EQ(row.start + row.n, bag.cursor);
            EXPECT_EQ(row.start + row.n, bag.size);
            EXPECT_EQ(expected, content(bag));
        }
    }
}

TEST(BagPutAligned, ShortFormAlignsToTheWidth) {
    Bag bag("a", 1);
    bag.toEnd();
    EXPECT_EQ(bag.putDataPtrAligned(8), bag.data + 8);
    expectFields(bag, 16, 16, 16);
}

TEST(BagPutAligned, GapInsideTheContentKeepsItsBytes) {
    const std::string twenty = "abcdefghijklmnopqrst";
    Bag five(twenty.data(), 5);
    five.toEnd();
    five.putLong(0x64636261);
    expectFields(five, 16, 12, 12);
    EXPECT_EQ(std::string("abcde\0\0\0abcd", 12), content(five));

    Bag inside(twenty.data(), 20);
    inside.to(5);
    inside.putLong(0x64636261);
    expectFields(inside, 256, 12, 12);
    EXPECT_EQ("abcdefghabcd", content(inside));

    Bag partly(twenty.data(), 6);
    partly.to(5);
    partly.putLong(0x64636261);
    EXPECT_EQ(std::string("abcdef\0\0abcd", 12), content(partly)) << "only what lies behind the content is cleared";
}

TEST(BagPutAligned, EverythingBetweenSizeAndStartIsZeroed) {
    Bag bag("xxxxxxxxxxxxxxxx", 16);
    bag.truncateTo(3);
    bag.to(6);
    bag.putLong(0x64636261);
    expectFields(bag, 16, 12, 12);
    EXPECT_EQ(std::string("xxx\0\0\0\0\0abcd", 12), content(bag));
}

TEST(BagGetAligned, ReadsAtTheNextMultiple) {
    struct Row {
        int line;
        int cursor;
        int n;
        int align;
        int start;
    };
    static const Row rows[] = {
        {__LINE__, 0, 4, 4, 0}, {__LINE__, 1, 4, 4, 4}, {__LINE__, 4, 4, 4, 4},  {__LINE__, 5, 3, 8, 8},
        {__LINE__, 5, 3, 1, 5}, {__LINE__, 5, 3, 0, 5}, {__LINE__, 9, 0, 4, 12}, {__LINE__, 3, 2, 2, 4},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.line);
        Bag bag("0123456789ab", 12);
        bag.to(row.cursor);
        EXPECT_EQ(bag.data + row.start, bag.getDataPtrAligned(row.n, row.align));
        expectFields(bag, 16, row.start + row.n, 12);

        std::string out(static_cast<std::size_t>(row.n), '-');
        bag.to(row.cursor);
        bag.getDataAligned(row.n ? &out[0] : nullptr, row.n, row.align);
        EXPECT_EQ(std::string(bag.data + row.start, static_cast<std::size_t>(row.n)), out);
        expectFields(bag, 16, row.start + row.n, 12);
    }
}

TEST(BagGetAligned, ShortFormAlignsToTheWidth) {
    Bag bag("0123456789abcdef", 16);
    bag.to(1);
    EXPECT_EQ(bag.data + 8, bag.getDataPtrAligned(8));
    EXPECT_EQ(16, bag.tell());
}

TEST(BagGetAligned, FailureLeavesTheCursorAligned) {
    Bag three("abc", 3);
    three.to(1);
    EXPECT_THROW(three.getDataPtrAligned(4, 4), Bag::Exception);
    EXPECT_EQ(4, three.tell());
    EXPECT_EQ(-1, three.getRestSize());
    EXPECT_EQ("abc", content(three));

    struct Row {
        int line;
        int cursor;
        int n;
        int align;
        int after;
    };
    static const Row rows[] = {
        {__LINE__, 5, 5, 4, 8},       {__LINE__, 9, 4, 4, 12},  {__LINE__, 5, -1, 4, 8}, {__LINE__, 5, INT_MIN, 4, 8},
        {__LINE__, 1, INT_MAX, 4, 4}, {__LINE__, 11, 0, 8, 16}, {__LINE__, 5, 8, 1, 5},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.line);
        Bag bag("0123456789ab", 12);
        char out[8] = "-------";
        bag.to(row.cursor);
        EXPECT_THROW(bag.getDataPtrAligned(row.n, row.align), Bag::Exception);
        expectFields(bag, 16, row.after, 12);
        bag.to(row.cursor);
        EXPECT_THROW(bag.getDataAligned(out, row.n, row.align), Bag::Exception);
        expectFields(bag, 16, row.after, 12);
        EXPECT_STREQ("-------", out);
        EXPECT_EQ("0123456789ab", content(bag));
    }
    Bag short8("0123456789ab", 12);
    short8.to(1);
    EXPECT_THROW(short8.getDataPtrAligned(8), Bag::Exception);
    EXPECT_EQ(8, short8.tell());
}

// ---- storage ----

TEST(BagGrowth, FollowsTheCommonCapacities) {
    struct Row {
        int line;
        int need;
        int capacity;
    };
    static const Row rows[] = {
        {__LINE__, 1, 16},        {__LINE__, 16, 16},        {__LINE__, 17, 256},       {__LINE__, 256, 256},
        {__LINE__, 257, 512},     {__LINE__, 512, 512},      {__LINE__, 513, 1024},     {__LINE__, 4095, 4096},
        {__LINE__, 4096, 4096},   {__LINE__, 4097, 8192},    {__LINE__, 5000, 8192},    {__LINE__, 65535, 65536},
        {__LINE__, 65536, 65536}, {__LINE__, 65537, 131072}, {__LINE__, 70000, 131072},
    };
    struct Way {
        const char* name;
        std::function<void(Bag&, int)> grow;
    };
    static const Way ways[] = {
        {"putDataPtr", [](Bag& bag, int need) { bag.putDataPtr(need); }},
        {"putData",
         [](Bag& bag, int need) { bag.putData(std::string(static_cast<std::size_t>(need), 'x').data(), need); }},
        {"putDataPtrAligned", [](Bag& bag, int need) { bag.putDataPtrAligned(need, 8); }},
        {"expand", [](Bag& bag, int need) { bag.expand(need); }},
        {"reserve", [](Bag& bag, int need) { bag.reserve(need); }},
        {"reserve at a cursor",
         [](Bag& bag, int need) {
             bag.to(need - 1);
             bag.reserve(1);
         }},
        {"putChar at a cursor",
         [](Bag& bag, int need) {
             bag.to(need - 1);
             bag.putChar('x');
         }},
        {"insSpace", [](Bag& bag, int need) { bag.insSpace(0, need); }},
    };
    for (const Way& way : ways) {
        SCOPED_TRACE(way.name);
        for (const Row& row : rows) {
            SCOPED_TRACE(row.line);
            Bag bag;
            way.grow(bag, row.need);
            EXPECT_EQ(row.capacity, bag.bufferSize);
        }
    }
}

TEST(BagGrowth, NothingHappensWhileTheBlockSuffices) {
    Bag bag("hello", 5);
    char* block = bag.data;
    bag.expand(16);
    bag.expand(0);
    bag.expand(-1);
    bag.to(4);
    bag.reserve(12);
    EXPECT_EQ(block, bag.data);
    expectFields(bag, 16, 4, 5);
}

TEST(BagGrowth, KeepsContentCursorAndSize) {
    Bag bag("hello", 5);
    bag.to(3);
    bag.expand(17);
    expectFields(bag, 256, 3, 5);
    EXPECT_EQ("hello", content(bag));
    bag.reserve(254);
    expectFields(bag, 512, 3, 5);
    EXPECT_EQ("hello", content(bag));
}

TEST(BagGrowth, AlignedWriteGrowsForTheAlignedEnd) {
    ExactBag bag("123456789");
    bag.toEnd();
    bag.putLongLong(-1);  // 9 to 16, and 8 more
    expectFields(bag, 256, 24, 24);
    EXPECT_EQ(std::string("123456789\0\0\0\0\0\0\0\xFF\xFF\xFF\xFF\xFF\xFF\xFF\xFF", 24), content(bag));
}

TEST(BagSetBufferSize, IsExact) {
    Bag bag("hello", 5);
    bag.to(4);
    bag.setBufferSize(7);
    expectFields(bag, 7, 4, 5);
    EXPECT_EQ("hello", content(bag));
    char* block = bag.data;
    bag.setBufferSize(7);
    EXPECT_EQ(block, bag.data) << "the same size changes nothing";
    bag.setBufferSize(3);
    expectFields(bag, 3, 4, 3);
    EXPECT_EQ("hel", content(bag)) << "the size is lowered, the cursor is not touched";
    bag.setBufferSize(1000);
    expectFields(bag, 1000, 4, 3);
    EXPECT_EQ("hel", content(bag));
}

TEST(BagSetBufferSize, CopiesTheBlockAndNotJustTheContent) {
    Bag bag("0123456789", 10);
    bag.truncateTo(4);
    bag.setBufferSize(8);
    EXPECT_EQ("01234567", std::string(bag.data, 8));
    expectFields(bag, 8, 0, 4);
}

TEST(BagSetBufferSize, AllocatesForAnEmptyBag) {
    Bag bag;
    bag.to(2);
    bag.setBufferSize(3);
    EXPECT_NE(nullptr, bag.data);
    expectFields(bag, 3, 2, 0);
}

TEST(BagSetBufferSize, ZeroDropsTheContentAndTheCursor) {
    Bag bag("hello", 5);
    bag.to(3);
    bag.setBufferSize(0);
    expectAllZero(bag);
}

TEST(BagSetBufferSize, ZeroWithoutABlockDoesNothing) {
    Bag bag;
    bag.to(3);
    bag.setBufferSize(0);
    expectFields(bag, 0, 3, 0);
    bag.bufferSize = 4;  // a number without a block
    bag.setBufferSize(0);
    expectFields(bag, 4, 3, 0);
}

TEST(BagSetBufferSize, MinusOneIsABadArrayLength) {
    Bag bag("hello", 5);
    bag.to(3);
    char* block = bag.data;
    EXPECT_THROW(bag.setBufferSize(-1), std::bad_array_new_length);
    EXPECT_EQ(block, bag.data);
    expectFields(bag, 16, 3, 5);
    EXPECT_EQ("hello", content(bag));
}

TEST(BagPack, LeavesExactlyTheContent) {
    Bag bag("hello", 5);
    bag.to(9);
    bag.pack();
    expectFields(bag, 5, 9, 5);
    EXPECT_EQ("hello", content(bag));
    char* block = bag.data;
    bag.pack();
    EXPECT_EQ(block, bag.data);
}

TEST(BagPack, OfAnEmptyBagReleasesTheBlockAndZeroesTheCursor) {
    Bag bag("hello", 5);
    bag.truncate();
    bag.to(3);
    bag.pack();
    expectAllZero(bag);
}

// ---- space ----

TEST(BagInsSpace, OpensAGapAndMovesACursorAtOrBehindIt) {
    struct Row {
        int line;
        int cursor;
        int at;
        int n;
        int cursorAfter;
        const char* after;  // '?' is a byte of the gap
    };
    static const Row rows[] = {
        {__LINE__, 0, 0, 3, 3, "???hello"},  {__LINE__, 2, 2, 4, 6, "he????llo"}, {__LINE__, 2, 3, 4, 2, "hel????lo"},
        {__LINE__, 3, 2, 1, 4, "he?llo"},    {__LINE__, 5, 5, 2, 7, "hello??"},   {__LINE__, 4, 5, 2, 4, "hello??"},
        {__LINE__, 9, 5, 2, 11, "hello??"},  {__LINE__, 2, 2, 0, 2, "hello"},     {__LINE__, -3, 0, 2, -3, "??hello"},
        {__LINE__, 1, 1, 300, 301, nullptr},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.line);
        Bag bag("hello", 5);
        bag.to(row.cursor);
        void* gap = bag.insSpace(row.at, row.n);
        EXPECT_EQ(bag.data + row.at, gap);
        EXPECT_EQ(row.cursorAfter, bag.cursor);
        EXPECT_EQ(5 + row.n, bag.size);
        std::memset(gap, '?', static_cast<std::size_t>(row.n));
        std::string expected = row.after ? row.after : "h" + std::string(300, '?') + "ello";
        EXPECT_EQ(expected, content(bag));
        EXPECT_EQ(row.after ? 16 : 512, bag.bufferSize);
    }
}

TEST(BagInsSpace, AtTheCursorLandsBeforeItAndBehindTheCursorDoesNot) {
    Bag bag("0123456789", 10);
    bag.to(3);
    bag.insSpace(bag.tell(), 4);
    EXPECT_EQ(7, bag.tell());
    bag.insSpace(bag.tell() + 1, 4);
    EXPECT_EQ(7, bag.tell());
    EXPECT_EQ(18, bag.size);
}

TEST(BagInsSpace, DoesNotClearTheNewBytes) {
    Bag bag("abcd", 4);
    bag.insSpace(1, 2);
    EXPECT_EQ("abcbcd", content(bag));
}

TEST(BagInsSpace, OfNothingGivesThePlaceWithoutABlock) {
    Bag bag;
    EXPECT_EQ(nullptr, bag.insSpace(0, 0));
    expectAllZero(bag);
}

TEST(BagInsSpace, OfNothingGivesThePlaceWhereverItIs) {
    for (int at : {0, 2, 3, 16, 17, 1000, -1, -100, INT_MAX, INT_MIN}) {
        SCOPED_TRACE(at);
        Bag none;
        EXPECT_EQ(static_cast<std::uintptr_t>(static_cast<std::intptr_t>(at)),
                  reinterpret_cast<std::uintptr_t>(none.insSpace(at, 0)));
        expectAllZero(none);
        Bag bag("ab", 2);
        EXPECT_EQ(
            reinterpret_cast<std::uintptr_t>(bag.data) + static_cast<std::uintptr_t>(static_cast<std::intptr_t>(at)),
            reinterpret_cast<std::uintptr_t>(bag.insSpace(at, 0)));
        expectFields(bag, 16, 0, 2);
    }
}

TEST(BagInsSpace, NegativeCountIsRefused) {
    for (int n : {-1, -2, -100, INT_MIN}) {
        for (int at : {0, 1, 2, -1, 100}) {
            SCOPED_TRACE(at);
            Bag bag("ab", 2);
            bag.to(1);
            EXPECT_THROW(bag.insSpace(at, n), Bag::Exception);
            expectFields(bag, 16, 1, 2);
            EXPECT_EQ("ab", content(bag));
        }
    }
}

TEST(BagDelSpace, ClosesTheGapAndMovesACursorAtOrBehindIt) {
    struct Row {
        int line;
        int cursor;
        int at;
        int n;
        int cursorAfter;
        const char* after;
    };
    static const Row rows[] = {
        {__LINE__, 0, 2, 3, 0, "0156789"},     {__LINE__, 1, 2, 3, 1, "0156789"},
        {__LINE__, 2, 2, 3, -1, "0156789"},  // a cursor in the range falls by all of it
        {__LINE__, 4, 2, 3, 1, "0156789"},     {__LINE__, 5, 2, 3, 2, "0156789"},
        {__LINE__, 10, 2, 3, 7, "0156789"},    {__LINE__, 2, 0, 4, -2, "456789"},
        {__LINE__, 10, 6, 4, 6, "012345"},     {__LINE__, 3, 0, 10, -7, ""},
        {__LINE__, 3, 2, 0, 3, "0123456789"},  {__LINE__, 3, 99, 0, 3, "0123456789"},
        {__LINE__, 5, 10, 0, 5, "0123456789"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.line);
        Bag bag("0123456789", 10);
        bag.to(row.cursor);
        char* block = bag.data;
        bag.delSpace(row.at, row.n);
        EXPECT_EQ(row.after, content(bag));
        EXPECT_EQ(block, bag.data);
        expectFields(bag, 16, row.cursorAfter, static_cast<int>(std::strlen(row.after)));
    }
}

TEST(BagDelSpace, BeyondTheContentThrows) {
    struct Row {
        int line;
        int at;
        int n;
    };
    static const Row rows[] = {
        {__LINE__, 0, 11},      {__LINE__, 8, 3},         {__LINE__, 10, 1},      {__LINE__, 11, 1},
        {__LINE__, 0, INT_MAX}, {__LINE__, 100, INT_MAX}, {__LINE__, INT_MAX, 1}, {__LINE__, INT_MAX, INT_MAX},
        {__LINE__, 0, -1},      {__LINE__, 8, -2},        {__LINE__, 0, INT_MIN},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.line);
        Bag bag("0123456789", 10);
        bag.to(4);
        EXPECT_THROW(bag.delSpace(row.at, row.n), Bag::Exception);
        expectFields(bag, 16, 4, 10);
        EXPECT_EQ("0123456789", content(bag));
    }
}

// ---- blocks ----

TEST(BagBlock, IsALengthAndTheBytes) {
    Bag bag;
    int mark = bag.markBeginOfBlock();
    EXPECT_EQ(4, mark);
    EXPECT_EQ(std::string("\0\0\0\0", 4), content(bag));
    putBytes(bag, "sevenby");
    bag.markEndOfBlock(mark);
    expectFields(bag, 16, 11, 11);
    EXPECT_EQ(std::string("\7\0\0\0sevenby", 11), content(bag));
    putBytes(bag, "more");
    EXPECT_EQ(15, bag.size);

    bag.toBegin();
    int saved = bag.beginBlock();
    EXPECT_EQ(15, saved);
    expectFields(bag, 16, 4, 11);
    EXPECT_EQ("sevenby", std::string(bag.getDataPtr(7), 7));
    EXPECT_TRUE(bag.end());
    EXPECT_THROW(bag.getChar(), Bag::Exception);
    bag.endBlock(saved);
    expectFields(bag, 16, 11, 15);
    EXPECT_EQ("more", std::string(bag.getDataPtr(4), 4));
}

TEST(BagBlock, LengthFieldIsAlignedAndTheGapIsNotCounted) {
    Bag bag;
    bag.putChar('x');
    int mark = bag.markBeginOfBlock();
    EXPECT_EQ(8, mark);
    putBytes(bag, "ab");
    bag.markEndOfBlock(mark);
    EXPECT_EQ(std::string("x\0\0\0\2\0\0\0ab", 10), content(bag));

    bag.to(1);
    int saved = bag.beginBlock();
    EXPECT_EQ(10, saved);
    expectFields(bag, 16, 8, 10);
    bag.passBlock(saved);
    expectFields(bag, 16, 10, 10);
}

TEST(BagBlock, MarkEndPatchesFourBytesAndNothingElse) {
    Bag bag("0123456789", 10);
    bag.to(9);
    bag.markEndOfBlock(6);
    EXPECT_EQ(std::string("01\3\0\0\0"
                          "6789",
                          10),
              content(bag));
    expectFields(bag, 16, 9, 10);
}

TEST(BagBlock, EmptyBlock) {
    Bag bag;
    bag.markEndOfBlock(bag.markBeginOfBlock());
    EXPECT_EQ(std::string("\0\0\0\0", 4), content(bag));
    bag.toBegin();
    int saved = bag.beginBlock();
    EXPECT_EQ(4, saved);
    EXPECT_TRUE(bag.end());
    bag.endBlock(saved);
    expectFields(bag, 16, 4, 4);
}

TEST(BagBlock, EndWithBytesLeftThrowsAndPassSkipsThem) {
    Bag bag;
    int mark = bag.markBeginOfBlock();
    putBytes(bag, "sevenby");
    bag.markEndOfBlock(mark);
    putBytes(bag, "more");
    bag.toBegin();
    int saved = bag.beginBlock();
    bag.getChar();
    EXPECT_THROW(bag.endBlock(saved), Bag::Exception);
    expectFields(bag, 16, 5, 11);
    bag.to(12);
    EXPECT_THROW(bag.endBlock(saved), Bag::Exception) << "too far is as bad as not far enough";
    expectFields(bag, 16, 12, 11);
    bag.to(5);
    bag.passBlock(saved);
    expectFields(bag, 16, 11, 15);
    EXPECT_EQ("more", std::string(bag.getDataPtr(4), 4));
}

TEST(BagBlock, Nests) {
    Bag bag;
    int outer = bag.markBeginOfBlock();
    bag.putChar('a');
    int inner = bag.markBeginOfBlock();
    putBytes(bag, "xyz");
    bag.markEndOfBlock(inner);
    int second = bag.markBeginOfBlock();
    putBytes(bag, "uv");
    bag.markEndOfBlock(second);
    bag.putChar('b');
    bag.markEndOfBlock(outer);
    bag.putChar('c');
    EXPECT_EQ(std::string("\x13\0\0\0a\0\0\0\3\0\0\0xyz\0\2\0\0\0uvbc", 24), content(bag));
    EXPECT_EQ(19, fieldAt(bag, 0));

    bag.toBegin();
    int whole = bag.beginBlock();
    EXPECT_EQ(24, whole);
    EXPECT_EQ(23, bag.size);
    EXPECT_EQ('a', bag.getChar());
    int outerSize = bag.beginBlock();
    EXPECT_EQ(23, outerSize);
    EXPECT_EQ(15, bag.size);
    EXPECT_EQ("xyz", std::string(bag.getDataPtr(3), 3));
    EXPECT_THROW(bag.getChar(), Bag::Exception);
    bag.endBlock(outerSize);
    outerSize = bag.beginBlock();
    bag.passBlock(outerSize);
    EXPECT_EQ('b', bag.getChar());
    EXPECT_THROW(bag.getChar(), Bag::Exception);
    bag.endBlock(whole);
    EXPECT_EQ('c', bag.getChar());
    EXPECT_TRUE(bag.end());
}

TEST(BagBeginBlock, RefusesWhatIsNotThere) {
    struct Row {
        int line;
        const char* bytes;
        int size;
        int cursor;
        int cursorAfter;
    };
    static const Row rows[] = {
        {__LINE__, "", 0, 0, 0},
        {__LINE__, "\1\0\0", 3, 0, 0},
        {__LINE__, "\1\0\0\0x", 5, 1, 4},
        {__LINE__, "\1\0\0\0", 4, 0, 4},
        {__LINE__, "\5\0\0\0abcd", 8, 0, 4},
        {__LINE__,
         "\xFF\xFF\xFF\x7F"
         "abcd",
         8, 0, 4},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.line);
        Bag bag(row.bytes, row.size);
        bag.to(row.cursor);
        EXPECT_THROW(bag.beginBlock(), Bag::Exception);
        EXPECT_EQ(row.cursorAfter, bag.cursor);
        EXPECT_EQ(row.size, bag.size);
    }
}

TEST(BagBeginBlock, NegativeLengthIsNotRefused) {
    Bag bag;
    bag.putLong(-4);
    putBytes(bag, "abcd");
    bag.toBegin();
    int saved = 0;
    EXPECT_NO_THROW(saved = bag.beginBlock());
    EXPECT_EQ(8, saved);
    expectFields(bag, 16, 4, 0);
    EXPECT_TRUE(bag.end());
    EXPECT_THROW(bag.getChar(), Bag::Exception);
    EXPECT_THROW(bag.endBlock(saved), Bag::Exception);
    bag.passBlock(saved);
    expectFields(bag, 16, 0, 8);
}

// ---- what reads may not do ----

TEST(BagRead, StaysInsideTheBlock) {
    support::GuardedBytes guarded("abcdefgh");  // no terminator before the forbidden page
    Bag bag;
    bag.data = guarded.begin();
    bag.bufferSize = bag.size = static_cast<int>(guarded.size());
    EXPECT_THROW(bag.getStringPtr(), Bag::Exception);
    bag.to(8);
    EXPECT_THROW(bag.getStringPtr(), Bag::Exception);
    EXPECT_THROW(bag.getChar(), Bag::Exception);
    bag.to(5);
    EXPECT_THROW(bag.getLong(), Bag::Exception);
    bag.to(7);
    EXPECT_THROW(bag.getShort(), Bag::Exception);
    bag.to(1);
    EXPECT_THROW(bag.getLongLong(), Bag::Exception);
    bag.to(0);
    EXPECT_THROW(bag.getDataPtr(9), Bag::Exception);
    EXPECT_THROW(bag.beginBlock(), Bag::Exception);
    bag.data = nullptr;
}

// Also where the next multiple is the begin. The cursor ends aligned, as after any failed read.
TEST(BagRead, CursorBelowTheBeginThrows) {
    struct Row {
        int line;
        int cursor;
        int after;
        std::function<void(Bag&)> read;
    };
    static const Row rows[] = {
        {__LINE__, -1, -1, [](Bag& bag) { bag.getChar(); }},
        {__LINE__, -1, -1, [](Bag& bag) { bag.getBool(); }},
        {__LINE__, -1, -1, [](Bag& bag) { bag.getDataPtr(0); }},
        {__LINE__, -1, -1, [](Bag& bag) { bag.getStringPtr(); }},
        {__LINE__, -1, 0, [](Bag& bag) { bag.getShort(); }},
        {__LINE__, -3, 0, [](Bag& bag) { bag.getLong(); }},
        {__LINE__, -4, -4, [](Bag& bag) { bag.getLong(); }},
        {__LINE__, -7, 0, [](Bag& bag) { bag.getLongLong(); }},
        {__LINE__, -7, 0, [](Bag& bag) { bag.getDouble(); }},
        {__LINE__, -3, 0, [](Bag& bag) { bag.beginBlock(); }},
        {__LINE__, -3, 0, [](Bag& bag) { bag.getDataPtrAligned(0, 4); }},
        {__LINE__, -3, 0,
         [](Bag& bag) {
             char c;
             bag.getDataAligned(&c, 1, 4);
         }},
        {__LINE__, -3, 0,
         [](Bag& bag) {
             ChPair text;
             bag >> text;
         }},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.line);
        Bag bag("\0\0\0\0\0\0\0\0\0\0\0\0", 12);
        bag.to(row.cursor);
        EXPECT_THROW(row.read(bag), Bag::Exception);
        expectFields(bag, 16, row.after, 12);
    }
}

TEST(BagRead, CursorAtTheGreatestNumberThrows) {
    struct Row {
        int line;
        std::function<void(Bag&)> read;
    };
    static const Row rows[] = {
        {__LINE__, [](Bag& bag) { bag.getChar(); }},     {__LINE__, [](Bag& bag) { bag.getShort(); }},
        {__LINE__, [](Bag& bag) { bag.getLong(); }},     {__LINE__, [](Bag& bag) { bag.getLongLong(); }},
        {__LINE__, [](Bag& bag) { bag.getDouble(); }},   {__LINE__, [](Bag& bag) { bag.getStringPtr(); }},
        {__LINE__, [](Bag& bag) { bag.getDataPtr(1); }}, {__LINE__, [](Bag& bag) { bag.getDataPtrAligned(4, 4); }},
        {__LINE__, [](Bag& bag) { bag.beginBlock(); }},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.line);
        for (int cursor : {INT_MAX, INT_MAX - 2, INT_MAX - 6}) {
            Bag bag("0123456789abcdef", 16);
            bag.to(cursor);
            EXPECT_THROW(row.read(bag), Bag::Exception);
            EXPECT_EQ(16, bag.size);
            EXPECT_EQ("0123456789abcdef", content(bag));
        }
    }
}

TEST(BagRead, FailureCanBeUndoneWithTheCursor) {
    Bag bag;
    bag << 'a' << 7;
    bag.to(1);
    int before = bag.tell();
    EXPECT_THROW(bag.getLongLong(), Bag::Exception);
    EXPECT_EQ(8, bag.tell());
    bag.to(before);
    EXPECT_EQ(7, bag.getLong());
    EXPECT_TRUE(bag.end());
}

}  // namespace
