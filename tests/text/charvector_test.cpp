#include <velmora/text/charvector.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <new>
#include <string>
#include <type_traits>
#include <utility>

#include <velmora/containers/vectors.h>

namespace {

static_assert(sizeof(CharVector) == 16, "three fields and nothing else");
static_assert(offsetof(CharVector, data) == 0 && std::is_same<decltype(CharVector::data), char*>::value, "");
static_assert(offsetof(CharVector, count) == 8 && std::is_same<decltype(CharVector::count), int>::value, "");
static_assert(offsetof(CharVector, allocateCount) == 12, "");
static_assert(std::is_same<decltype(CharVector::allocateCount), int>::value, "");
static_assert(sizeof(CharVector) == sizeof(SimpleVector<char>) &&
                  offsetof(CharVector, count) == offsetof(SimpleVector<char>, count) &&
                  offsetof(CharVector, allocateCount) == offsetof(SimpleVector<char>, allocateCount),
              "the fields of SimpleVector<char>, in its order");

const char* const kNoText = nullptr;
const char kWithZero[] = "ab\0cd";
const std::size_t kWithZeroSize = sizeof(kWithZero) - 1;

int sign(int n) { return n < 0 ? -1 : n > 0 ? 1 : 0; }

SimpleVector<char> charsOf(const std::string& text) {
    SimpleVector<char> v;
    for (char c : text) v.append(c);
    return v;
}

void expectNull(int line, const CharVector& v) {
    SCOPED_TRACE(line);
    EXPECT_EQ(nullptr, v.data);
    EXPECT_EQ(0, v.count);
    EXPECT_EQ(0, v.allocateCount);
    EXPECT_TRUE(v.isNull());
}

// Expects the text with its terminator, and the bytes allocated.
void expectText(int line, const std::string& text, int allocated, const CharVector& v) {
    SCOPED_TRACE(line);
    ASSERT_NE(nullptr, v.data);
    ASSERT_EQ(static_cast<int>(text.size()), v.count);
    EXPECT_EQ(text, std::string(v.data, text.size()));
    EXPECT_EQ(0, v.data[v.count]);
    EXPECT_EQ(allocated, v.allocateCount);
}

TEST(MemoryRecommend, FollowsTheSteps) {
    struct Row {
        int line;
        int size;
        int capacity;
    };
    const Row rows[] = {
        {__LINE__, INT_MIN, 16},
        {__LINE__, -1, 16},
        {__LINE__, 0, 16},
        {__LINE__, 1, 16},
        {__LINE__, 15, 16},
        {__LINE__, 16, 16},
        {__LINE__, 17, 256},
        {__LINE__, 32, 256},
        {__LINE__, 255, 256},
        {__LINE__, 256, 256},
        {__LINE__, 257, 512},
        {__LINE__, 512, 512},
        {__LINE__, 513, 1024},
        {__LINE__, 1024, 1024},
        {__LINE__, 1025, 2048},
        {__LINE__, 2049, 4096},
        {__LINE__, 4095, 4096},
        {__LINE__, 4096, 4096},
        {__LINE__, 4097, 8192},
        {__LINE__, 5000, 8192},
        {__LINE__, 8193, 16384},
        {__LINE__, 32769, 65536},
        {__LINE__, 65535, 65536},
        {__LINE__, 65536, 65536},
        {__LINE__, 65537, 131072},
        {__LINE__, 70000, 131072},
        {__LINE__, 131073, 262144},
        {__LINE__, 536870913, 1073741824},
        {__LINE__, 1073741823, 1073741824},
        {__LINE__, 1073741824, 1073741824},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.line);
        EXPECT_EQ(row.capacity, memory_recommend(row.size));
    }
}

TEST(MemoryRecommend, SizeBeyondTheLimitIsExhaustedMemory) {
    EXPECT_THROW(memory_recommend(1073741825), std::bad_alloc);
    EXPECT_THROW(memory_recommend(INT_MAX), std::bad_alloc);
}

// Neither hangs nor counts beyond an int; the text that would be copied is not looked at.
TEST(CharVectorGrowth, BeyondTheLimitIsExhaustedMemory) {
    for (const std::size_t n : {std::size_t{1} << 30, std::size_t{INT_MAX} - 4, std::size_t{INT_MAX}, SIZE_MAX}) {
        SCOPED_TRACE(n);
        CharVector text("text");
        EXPECT_THROW(text.append("more", n), std::bad_alloc);
        EXPECT_EQ(4, text.count);
        EXPECT_STREQ("text", text.data);
    }
    for (const int n : {1 << 30, INT_MAX - 4, INT_MAX}) {
        SCOPED_TRACE(n);
        CharVector text("text");
        EXPECT_THROW(text.insert(4, n), std::bad_alloc);
        EXPECT_EQ(4, text.count);
        EXPECT_STREQ("text", text.data);
    }
}

// No byte of the source is read.
TEST(CharVectorCounts, BeyondAnIntAreExhaustedMemory) {
    const char text[] = "text";
    for (const std::size_t n : {std::size_t{INT_MAX}, std::size_t{INT_MAX} + 1, std::size_t{1} << 32, SIZE_MAX}) {
        SCOPED_TRACE(n);
        CharVector v("old");
        EXPECT_THROW(CharVector(text, n), std::bad_alloc);
        EXPECT_THROW(v.assign(text, n), std::bad_alloc);
        EXPECT_THROW(v.append(text, n), std::bad_alloc);
        EXPECT_EQ(3, v.count);
        EXPECT_STREQ("old", v.data);
    }
}

TEST(CharVectorConstructor, DefaultIsNull) { expectNull(__LINE__, CharVector()); }

TEST(CharVectorConstructor, AllocatesTheExactSizeInEveryForm) {
    const char text[] = "h\xC3\xA9llo";
    CharVector grown;
    grown.append(text);
    ASSERT_EQ(16, grown.allocateCount);
    expectText(__LINE__, text, 7, CharVector(text));
    expectText(__LINE__, "h\xC3\xA9", 4, CharVector(text, std::size_t{3}));
    expectText(__LINE__, "\xC3\xA9", 3, CharVector(text + 1, text + 3));
    expectText(__LINE__, "llo", 4, CharVector(ChPair(text + 3, text + 6)));
    expectText(__LINE__, text, 7, CharVector(ChArr(text)));
    expectText(__LINE__, text, 7, CharVector(std::string(text)));
    expectText(__LINE__, text, 7, CharVector(charsOf(text)));
    const CharVector copy(grown);
    expectText(__LINE__, text, 7, copy);
    EXPECT_NE(grown.data, copy.data);
}

TEST(CharVectorConstructor, CountedFormsTakeZeroBytesAlong) {
    const std::string text(kWithZero, kWithZeroSize);
    expectText(__LINE__, text, 6, CharVector(kWithZero, kWithZeroSize));
    expectText(__LINE__, text, 6, CharVector(kWithZero, kWithZero + kWithZeroSize));
    expectText(__LINE__, text, 6, CharVector(ChPair(text)));
    expectText(__LINE__, text, 6, CharVector(text));
    expectText(__LINE__, text, 6, CharVector(charsOf(text)));
    const CharVector source(text);
    expectText(__LINE__, text, 6, CharVector(source));
    expectText(__LINE__, "ab", 3, CharVector(kWithZero));
    expectText(__LINE__, "ab", 3, CharVector(ChArr(text)));
}

TEST(CharVectorConstructor, NullAndEmptySourcesLeaveItNull) {
    CharVector truncated("text");
    truncated.truncate();
    SimpleVector<char> noItems = charsOf("text");
    noItems.cutTo(0);
    expectNull(__LINE__, CharVector(kNoText));
    expectNull(__LINE__, CharVector(""));
    expectNull(__LINE__, CharVector("x", std::size_t{0}));
    expectNull(__LINE__, CharVector(kNoText, std::size_t{0}));
    expectNull(__LINE__, CharVector(kNoText, kNoText));
    expectNull(__LINE__, CharVector(kWithZero, kWithZero));
    expectNull(__LINE__, CharVector(ChPair()));
    expectNull(__LINE__, CharVector(ChPair("")));
    expectNull(__LINE__, CharVector(ChArr()));
    expectNull(__LINE__, CharVector(ChArr("")));
    expectNull(__LINE__, CharVector(std::string()));
    expectNull(__LINE__, CharVector(truncated));
    expectNull(__LINE__, CharVector(SimpleVector<char>()));
    expectNull(__LINE__, CharVector(noItems));
}

TEST(CharVectorAccess, NullVector) {
    CharVector v("");
    EXPECT_TRUE(v.isNull());
    EXPECT_EQ(empty_string, v());
    EXPECT_EQ(nullptr, static_cast<const char*>(v));
    EXPECT_EQ(0, v.len());
    EXPECT_EQ("", v.std());
    const ChPair view = v.operator ChPair();
    EXPECT_EQ(nullptr, view.begin);
    EXPECT_EQ(nullptr, view.end);
}

TEST(CharVectorAccess, VectorWithText) {
    CharVector v(std::string(kWithZero, kWithZeroSize));
    EXPECT_FALSE(v.isNull());
    EXPECT_EQ(v.data, v());
    EXPECT_EQ(v.data, static_cast<const char*>(v));
    EXPECT_EQ(5, v.len());
    EXPECT_EQ(std::string(kWithZero, kWithZeroSize), v.std());
    const ChPair view = v.operator ChPair();
    EXPECT_EQ(v.data, view.begin);
    EXPECT_EQ(v.data + 5, view.end);
}

TEST(CharVectorAccess, EmptyVectorWithAnArrayIsNotNull) {
    CharVector v("text");
    v.truncate();
    EXPECT_FALSE(v.isNull());
    EXPECT_EQ(v.data, v());
    EXPECT_EQ(v.data, static_cast<const char*>(v));
    EXPECT_EQ("", v.std());
    EXPECT_EQ(0, v.len());
}

TEST(ChPairFromCharVector, ViewsTheText) {
    const CharVector none, v(std::string(kWithZero, kWithZeroSize));
    EXPECT_EQ(nullptr, ChPair(none).begin);
    EXPECT_EQ(nullptr, ChPair(none).end);
    ChPair view(v);
    EXPECT_EQ(v.data, view.begin);
    EXPECT_EQ(v.data + 5, view.end);
    view = none;
    EXPECT_EQ(nullptr, view.begin);
    EXPECT_EQ(nullptr, view.end);
    view = v;
    EXPECT_EQ(v.data, view.begin);
    EXPECT_EQ(v.data + 5, view.end);
}

TEST(CharVectorAssign, OtherLengthGetsAnArrayOfItsExactSize) {
    const std::string text = "text";
    for (const char* old : {"", "ab", "longer than that"}) {
        SCOPED_TRACE(old);
        CharVector v;
        v.append(old);
        EXPECT_EQ(&v, &(v = "text"));
        expectText(__LINE__, text, 5, v);
        v = CharVector(old);
        EXPECT_EQ(&v, &(v = ChPair(text)));
        expectText(__LINE__, text, 5, v);
        v = CharVector(old);
        EXPECT_EQ(&v, &(v = ChArr("text")));
        expectText(__LINE__, text, 5, v);
        v = CharVector(old);
        EXPECT_EQ(&v, &(v = text));
        expectText(__LINE__, text, 5, v);
        v = CharVector(old);
        EXPECT_EQ(&v, &(v = charsOf(text)));
        expectText(__LINE__, text, 5, v);
        v = CharVector(old);
        EXPECT_EQ(&v, &(v = CharVector(text)));
        expectText(__LINE__, text, 5, v);
        v = CharVector(old);
        v.assign("text and more", 4);
        expectText(__LINE__, text, 5, v);
        v = CharVector(old);
        v.assign(text.data(), text.data() + 4);
        expectText(__LINE__, text, 5, v);
    }
}

TEST(CharVectorAssign, SameLengthIsCopiedInPlace) {
    CharVector v;
    v.append("1234");
    char* const before = v.data;
    v = "abcd";
    expectText(__LINE__, "abcd", 16, v);
    v = ChPair("efgh");
    expectText(__LINE__, "efgh", 16, v);
    v = ChArr("ijkl");
    expectText(__LINE__, "ijkl", 16, v);
    v = std::string("mnop");
    expectText(__LINE__, "mnop", 16, v);
    v = charsOf("qrst");
    expectText(__LINE__, "qrst", 16, v);
    v.assign("uvwxyz", 4);
    expectText(__LINE__, "uvwx", 16, v);
    const char text[] = "ABCD";
    v.assign(text, text + 4);
    expectText(__LINE__, "ABCD", 16, v);
    v.assign(v.data, 4);
    expectText(__LINE__, "ABCD", 16, v);
    EXPECT_EQ(before, v.data);
}

TEST(CharVectorAssign, AnotherVectorIsAlwaysCopiedAfresh) {
    CharVector v;
    v.append("1234");
    const CharVector source("abcd");
    EXPECT_EQ(&v, &(v = source));
    expectText(__LINE__, "abcd", 5, v);
    EXPECT_NE(source.data, v.data);
}

TEST(CharVectorAssign, ItselfChangesNothing) {
    CharVector v;
    v.append("text");
    char* const before = v.data;
    const CharVector& itself = v;
    v = itself;
    expectText(__LINE__, "text", 16, v);
    EXPECT_EQ(before, v.data);
}

TEST(CharVectorAssign, NullAndEmptySourcesMakeItNull) {
    CharVector truncated("text");
    truncated.truncate();
    CharVector v("old");
    v = kNoText;
    expectNull(__LINE__, v);
    v = "old";
    v = "";
    expectNull(__LINE__, v);
    v = "old";
    v = ChPair();
    expectNull(__LINE__, v);
    v = "old";
    v = ChPair("");
    expectNull(__LINE__, v);
    v = "old";
    v = ChArr();
    expectNull(__LINE__, v);
    v = "old";
    v = ChArr("");
    expectNull(__LINE__, v);
    v = "old";
    v = std::string();
    expectNull(__LINE__, v);
    v = "old";
    v = SimpleVector<char>();
    expectNull(__LINE__, v);
    v = "old";
    v = CharVector();
    expectNull(__LINE__, v);
    v = "old";
    v = truncated;
    expectNull(__LINE__, v);
    v = "old";
    v.assign("x", std::size_t{0});
    expectNull(__LINE__, v);
    v = "old";
    v.assign(kNoText, std::size_t{0});
    expectNull(__LINE__, v);
    v = "old";
    v.assign(kNoText, std::size_t{5});
    expectNull(__LINE__, v);
    v = "old";
    v.assign(kNoText, kNoText);
    expectNull(__LINE__, v);
}

TEST(CharVectorAssign, SourceMayLieInsideTheOldText) {
    CharVector v("abcdefgh");
    v.assign(v.data + 2, 5);
    expectText(__LINE__, "cdefg", 6, v);
    v.assign(v.data + 1, v.data + 4);
    expectText(__LINE__, "def", 4, v);
    v = ChPair(v.data + 1, 2);
    expectText(__LINE__, "ef", 3, v);
    v = v.data + 1;
    expectText(__LINE__, "f", 2, v);
}

TEST(CharVectorAppend, AddsEveryForm) {
    const char text[] = "klmn";
    const CharVector other("tu");
    CharVector v;
    v.append("ab");
    v.append('c');
    v.append(ChPair("de"));
    v.append(ChArr("fg"));
    v.append(std::string("hi"));
    v.append(other);
    v.append(charsOf("vw"));
    v.append(text, std::size_t{2});
    v.append(text + 2, text + 4);
    EXPECT_EQ("abcdefghituvwklmn", v.std());
    EXPECT_EQ(0, v.data[v.count]);
}

TEST(CharVectorAppend, OperatorAddsEveryForm) {
    const CharVector other("tu");
    CharVector v;
    v += "ab";
    v += 'c';
    v += ChPair("de");
    v += ChArr("fg");
    v += std::string("hi");
    v += other;
    v += charsOf("vw");
    EXPECT_EQ("abcdefghituvw", v.std());
    EXPECT_EQ(0, v.data[v.count]);
}

TEST(CharVectorAppend, StreamOperatorAddsEveryFormAndReturnsTheVector) {
    const CharVector other("tu");
    CharVector v;
    CharVector& result = v << "ab" << 'c' << ChPair("de") << ChArr("fg") << std::string("hi") << other << charsOf("vw");
    EXPECT_EQ(&v, &result);
    EXPECT_EQ("abcdefghituvw", v.std());
    EXPECT_EQ(0, v.data[v.count]);
}

TEST(CharVectorAppend, CountedFormsTakeZeroBytesAlong) {
    const std::string text(kWithZero, kWithZeroSize);
    CharVector v;
    v.append(kWithZero, kWithZeroSize);
    v.append(ChPair(text));
    v.append(text);
    v.append(charsOf(text));
    v.append(CharVector(text));
    v.append('\0');
    EXPECT_EQ(text + text + text + text + text + std::string(1, '\0'), v.std());
}

TEST(CharVectorAppend, NothingLeavesItAsItIs) {
    const CharVector none;
    CharVector empty, full("text");
    char* const before = full.data;
    for (CharVector* v : {&empty, &full}) {
        v->append(kNoText);
        v->append("");
        v->append("x", std::size_t{0});
        v->append(kNoText, std::size_t{0});
        v->append(kNoText, kNoText);
        v->append(ChPair());
        v->append(ChPair(""));
        v->append(ChArr());
        v->append(ChArr(""));
        v->append(std::string());
        v->append(none);
        v->append(SimpleVector<char>());
        *v += kNoText;
        *v << kNoText;
    }
    expectNull(__LINE__, empty);
    expectText(__LINE__, "text", 5, full);
    EXPECT_EQ(before, full.data);
}

// What is needed is the text with its terminator.
TEST(CharVectorAppend, CapacityFollowsTheSteps) {
    struct Row {
        int line;
        int before;
        int added;
        int capacity;
    };
    const Row rows[] = {{__LINE__, 0, 1, 16},        {__LINE__, 0, 15, 16},       {__LINE__, 14, 1, 16},
                        {__LINE__, 15, 1, 256},      {__LINE__, 0, 16, 256},      {__LINE__, 254, 1, 256},
                        {__LINE__, 255, 1, 512},     {__LINE__, 511, 1, 1024},    {__LINE__, 0, 4999, 8192},
                        {__LINE__, 4094, 1, 4096},   {__LINE__, 4095, 1, 8192},   {__LINE__, 0, 69999, 131072},
                        {__LINE__, 65534, 1, 65536}, {__LINE__, 65535, 1, 131072}};
    for (const Row& row : rows) {
        SCOPED_TRACE(row.line);
        const std::string front(static_cast<std::size_t>(row.before), 'a');
        const std::string added(static_cast<std::size_t>(row.added), 'b');
        CharVector v;
        v.append(front);
        v.append(added);
        expectText(__LINE__, front + added, row.capacity, v);
    }
}

TEST(CharVectorAppend, KeepsTheArrayWhileThereIsRoom) {
    CharVector v;
    v.append('0');
    char* const before = v.data;
    std::string expected = "0";
    while (v.count < 15) {
        v.append('x');
        expected += 'x';
        expectText(__LINE__, expected, 16, v);
        EXPECT_EQ(before, v.data);
    }
}

// In an array that prepare made: full, with the last byte free, with more, and with a text that was cut to nothing.
TEST(CharVectorAppend, UsesTheRoomToTheLastByte) {
    for (const int allocated : {0, 1, 2, 3, 15, 16, 17, 32, 300}) {
        for (int before = 0; before < std::max(allocated, 1); ++before) {
            for (int added = 0; added <= allocated + 1; ++added) {
                SCOPED_TRACE(std::to_string(allocated) + " bytes, " + std::to_string(before) + " and " +
                             std::to_string(added) + " of text");
                const std::string front = std::string("abcdefghijklmnopq").substr(0, static_cast<std::size_t>(before)) +
                                          std::string(static_cast<std::size_t>(std::max(before - 17, 0)), '-');
                const std::string more(static_cast<std::size_t>(added), '+');
                CharVector whole, single;
                for (CharVector* v : {&whole, &single}) {
                    if (allocated > 1) {
                        v->prepare(allocated - 1);
                    } else if (allocated == 1) {
                        v->data = new char[1]();
                        v->allocateCount = 1;
                    }
                    if (v->data) std::memset(v->data, '#', static_cast<std::size_t>(allocated));
                    if (v->data) std::memcpy(v->data, front.c_str(), front.size() + 1);
                    v->count = before;
                }
                const int need = before + added + 1;
                const int capacity = added == 0 || need <= allocated ? allocated : memory_recommend(need);
                char* const array = whole.data;
                whole.append(more);
                for (const char c : more) single.append(c);
                ASSERT_EQ(capacity, whole.allocateCount);
                ASSERT_EQ(capacity == allocated, array == whole.data);
                for (const CharVector* v : {&whole, &single}) {
                    ASSERT_EQ(before + added, v->count);
                    ASSERT_EQ(front + more, std::string((*v)()));
                }
            }
        }
    }
}

TEST(CharVectorAppend, FillsAnExactArrayOnlyAfterGrowth) {
    CharVector v("abc");
    v.append('d');
    expectText(__LINE__, "abcd", 16, v);
}

TEST(CharVectorAppend, TakesItsOwnText) {
    CharVector v("abcdef");
    v.append(v.data + 1, std::size_t{3});  // the array of 7 bytes has to grow
    expectText(__LINE__, "abcdefbcd", 16, v);
    v.append(v.data, v.data + 2);  // there is room
    expectText(__LINE__, "abcdefbcdab", 16, v);
    v.append(v);
    expectText(__LINE__, "abcdefbcdababcdefbcdab", 256, v);
    v += v;
    expectText(__LINE__, "abcdefbcdababcdefbcdababcdefbcdababcdefbcdab", 256, v);
    v.cutTo(2);
    v << ChPair(v) << v.data;
    expectText(__LINE__, "abababab", 256, v);
}

struct OrderRow {
    int line;
    std::string a;
    std::string b;
    int order;
    bool terminated;  // neither holds a zero byte
};
const OrderRow kOrders[] = {
    {__LINE__, "", "", 0, true},
    {__LINE__, "a", "", 1, true},
    {__LINE__, "", "a", -1, true},
    {__LINE__, "abc", "abc", 0, true},
    {__LINE__, "abc", "abd", -1, true},
    {__LINE__, "abd", "abc", 1, true},
    {__LINE__, "ab", "abc", -1, true},
    {__LINE__, "abc", "ab", 1, true},
    {__LINE__, "b", "abc", 1, true},
    {__LINE__, "\xC3\xA9", "z", 1, true},
    {__LINE__, "z", "\xC3\xA9", -1, true},
    {__LINE__, "a", "A", 1, true},
    {__LINE__, std::string(kWithZero, kWithZeroSize), std::string(kWithZero, kWithZeroSize), 0, false},
    {__LINE__, std::string(kWithZero, kWithZeroSize), std::string("ab\0cc", 5), 1, false},
    {__LINE__, std::string(kWithZero, 3), std::string(kWithZero, kWithZeroSize), -1, false},
};

TEST(CharVectorCompare, OrdersByBytesInAllForms) {
    for (const OrderRow& row : kOrders) {
        SCOPED_TRACE(row.line);
        const CharVector v(row.a);
        EXPECT_EQ(row.order, sign(v.compare(CharVector(row.b))));
        EXPECT_EQ(row.order, sign(v.compare(ChPair(row.b))));
        EXPECT_EQ(row.order, sign(v.compare(row.b)));
        EXPECT_EQ(row.order, sign(v.compare(row.b.data(), row.b.size())));
        EXPECT_EQ(row.order, sign(v.compare(row.b.data(), row.b.data() + row.b.size())));
        EXPECT_EQ(row.order, sign(v.compare(charsOf(row.b))));
        if (!row.terminated) continue;
        EXPECT_EQ(row.order, sign(v.compare(row.b.c_str())));
        EXPECT_EQ(row.order, sign(v.compare(ChArr(row.b))));
    }
}

template <class Other>
void expectOperators(int order, const CharVector& a, const Other& b) {
    EXPECT_EQ(order == 0, a == b);
    EXPECT_EQ(order != 0, a != b);
    EXPECT_EQ(order < 0, a < b);
    EXPECT_EQ(order > 0, a > b);
    EXPECT_EQ(order <= 0, a <= b);
    EXPECT_EQ(order >= 0, a >= b);
}

TEST(CharVectorOperators, FollowCompare) {
    for (const OrderRow& row : kOrders) {
        SCOPED_TRACE(row.line);
        const CharVector v(row.a);
        expectOperators(row.order, v, CharVector(row.b));
        expectOperators(row.order, v, ChPair(row.b));
        expectOperators(row.order, v, row.b);
        if (!row.terminated) continue;
        expectOperators(row.order, v, row.b.c_str());
        expectOperators(row.order, v, ChArr(row.b));
    }
}

TEST(CharVectorCompare, NullAndEmptyAreTheSame) {
    CharVector truncated("text");
    truncated.truncate();
    const CharVector none;
    for (const CharVector* v : {&none, const_cast<const CharVector*>(&truncated)}) {
        expectOperators(0, *v, none);
        expectOperators(0, *v, truncated);
        expectOperators(0, *v, kNoText);
        expectOperators(0, *v, "");
        expectOperators(0, *v, ChPair());
        expectOperators(0, *v, ChArr());
        expectOperators(0, *v, std::string());
        EXPECT_EQ(0, v->compare(SimpleVector<char>()));
        EXPECT_EQ(0, v->compare(kNoText, std::size_t{0}));
        EXPECT_GT(0, v->compare("a"));
        EXPECT_GT(0, v->compare(charsOf("a")));
    }
    expectOperators(1, CharVector("a"), none);
    expectOperators(1, CharVector("a"), kNoText);
    expectOperators(1, CharVector("a"), ChPair());
    expectOperators(1, CharVector("a"), ChArr());
}

TEST(CharVectorClear, ReleasesTheArray) {
    CharVector v;
    v.append("text");
    v.clear();
    expectNull(__LINE__, v);
    v.clear();
    expectNull(__LINE__, v);
}

TEST(CharVectorTruncate, KeepsTheArray) {
    CharVector v;
    v.append("text");
    char* const before = v.data;
    v.truncate();
    expectText(__LINE__, "", 16, v);
    EXPECT_EQ(before, v.data);
    EXPECT_EQ('e', v.data[1]);
    v.truncate();
    expectText(__LINE__, "", 16, v);
    CharVector none;
    none.truncate();
    expectNull(__LINE__, none);
}

TEST(CharVectorTruncate, EmptyTextIsNotTouched) {
    CharVector v("text");
    v.truncate();
    v.data[0] = 'x';
    v.truncate();
    EXPECT_EQ('x', v.data[0]);
}

TEST(CharVectorCutTo, ShortensInPlace) {
    CharVector v;
    v.append("abcdef");
    char* const before = v.data;
    v.cutTo(4);
    expectText(__LINE__, "abcd", 16, v);
    EXPECT_EQ('f', v.data[5]);
    v.cutTo(0);
    expectText(__LINE__, "", 16, v);
    EXPECT_EQ(before, v.data);
    EXPECT_FALSE(v.isNull());
}

TEST(CharVectorCutTo, LongerLengthChangesNothing) {
    CharVector v("abc");
    for (int n : {3, 4, 100, INT_MAX}) {
        v.cutTo(n);
        expectText(__LINE__, "abc", 4, v);
    }
    CharVector none;
    none.cutTo(0);
    none.cutTo(5);
    expectNull(__LINE__, none);
}

TEST(CharVectorCutTo, NegativeLengthIsIgnored) {
    CharVector v("abc"), none;
    for (int n : {-1, -4, INT_MIN}) {
        v.cutTo(n);
        expectText(__LINE__, "abc", 4, v);
        none.cutTo(n);
        expectNull(__LINE__, none);
    }
}

TEST(CharVectorInsert, GrowthKeepsATailOfAnyLength) {
    const std::string text = "0123456789";
    for (int pos = 0; pos <= 10; ++pos) {
        CharVector v(text.c_str());
        char* gap = v.insert(pos, 20);
        ASSERT_NE(nullptr, gap);
        std::memset(gap, '-', 20);
        std::string expected = text;
        expected.insert(static_cast<std::size_t>(pos), 20, '-');
        EXPECT_EQ(expected, std::string(v.data, static_cast<std::size_t>(v.count)));
    }
}

TEST(CharVectorPrepare, ZeroAndLessChangeNothing) {
    CharVector v("text");
    CharVector none;
    for (int n : {0, -1, INT_MIN}) {
        EXPECT_EQ(v.data, v.prepare(n));
        expectText(__LINE__, "text", 5, v);
        EXPECT_EQ(nullptr, none.prepare(n));
        expectNull(__LINE__, none);
    }
}

TEST(CharVectorPrepare, SizeThatFitsKeepsTheBytes) {
    CharVector v;
    v.append("abcdefgh");
    char* const before = v.data;
    EXPECT_EQ(before, v.prepare(3));
    expectText(__LINE__, "abc", 16, v);
    EXPECT_EQ(before, v.prepare(6));
    expectText(__LINE__, std::string("abc\0ef", 6), 16, v);
    EXPECT_EQ(before, v.prepare(15));
    EXPECT_EQ(15, v.count);
    EXPECT_EQ(0, v.data[15]);
    EXPECT_EQ(16, v.allocateCount);
}

TEST(CharVectorPrepare, SizeWithoutRoomForATerminatorIsExhaustedMemory) {
    CharVector v("text");
    EXPECT_THROW(v.prepare(INT_MAX), std::bad_alloc);
    expectText(__LINE__, "text", 5, v);
}

TEST(CharVectorPrepare, SizeThatDoesNotFitGetsAnExactArray) {
    CharVector v("abc");
    EXPECT_EQ(v.data, v.prepare(3));  // 4 bytes hold it with its terminator
    expectText(__LINE__, "abc", 4, v);
    char* p = v.prepare(4);
    EXPECT_EQ(v.data, p);
    EXPECT_EQ(4, v.count);
    EXPECT_EQ(5, v.allocateCount);
    EXPECT_EQ(0, v.data[4]);
    std::memcpy(p, "wxyz", 4);
    expectText(__LINE__, "wxyz", 5, v);
    v.prepare(1000);
    EXPECT_EQ(1000, v.count);
    EXPECT_EQ(1001, v.allocateCount);
    EXPECT_EQ(0, v.data[1000]);
}

TEST(CharVectorPrepare, FirstArrayIsExactToo) {
    CharVector v;
    char* p = v.prepare(5);
    ASSERT_NE(nullptr, p);
    EXPECT_EQ(v.data, p);
    std::memcpy(p, "hello", 5);
    expectText(__LINE__, "hello", 6, v);
}

TEST(CharVectorInsert, BadArgumentsChangeNothing) {
    CharVector v;
    v.append("abc");
    EXPECT_EQ(nullptr, v.insert(1, 0));
    EXPECT_EQ(nullptr, v.insert(-1, 2));
    EXPECT_EQ(nullptr, v.insert(4, 2));
    EXPECT_EQ(nullptr, v.insert(INT_MAX, 1));
    EXPECT_EQ(nullptr, v.insert(INT_MIN, 1));
    expectText(__LINE__, "abc", 16, v);
    CharVector none;
    EXPECT_EQ(nullptr, none.insert(0, 0));
    EXPECT_EQ(nullptr, none.insert(1, 1));
    expectNull(__LINE__, none);
}

TEST(CharVectorInsert, GrowingKeepsBothSidesOfTheGap) {
    struct Row {
        int line;
        int pos;
        const char* result;
    };
    const Row rows[] = {{__LINE__, 0, "---abcdef"}, {__LINE__, 2, "ab---cdef"}, {__LINE__, 6, "abcdef---"}};
    for (const Row& row : rows) {
        SCOPED_TRACE(row.line);
        CharVector v("abcdef");
        char* gap = v.insert(row.pos, 3);
        ASSERT_EQ(v.data + row.pos, gap);
        std::memset(gap, '-', 3);
        expectText(__LINE__, row.result, 16, v);
    }
    CharVector v("abcdef");
    char* gap = v.insert(3, 10);  // 17 bytes with the terminator
    ASSERT_EQ(v.data + 3, gap);
    std::memset(gap, '-', 10);
    expectText(__LINE__, "abc----------def", 256, v);
}

TEST(CharVectorInsert, OnNullAllocates) {
    CharVector v;
    char* gap = v.insert(0, 3);
    ASSERT_NE(nullptr, gap);
    EXPECT_EQ(v.data, gap);
    std::memcpy(gap, "abc", 3);
    expectText(__LINE__, "abc", 16, v);
}

TEST(CharVectorInsert, AtTheEndWithRoomMovesNothing) {
    CharVector v;
    v.append("abcd");
    char* const before = v.data;
    char* gap = v.insert(v.len(), 3);
    EXPECT_EQ(before, v.data);
    ASSERT_EQ(before + 4, gap);
    std::memcpy(gap, "efg", 3);
    expectText(__LINE__, "abcdefg", 16, v);
}

TEST(CharVectorInsert, IntoAnEmptyTextWithRoomMovesNothing) {
    CharVector v;
    v.append("abcdef");
    char* const before = v.data;
    v.truncate();
    EXPECT_EQ(before, v.insert(0, 3));
    expectText(__LINE__, std::string("\0bc", 3), 16, v);
}

// With room enough the bytes come down from behind the gap instead of going up: the tail is lost.
TEST(CharVectorInsert, WithRoomTheTailMovesTheWrongWay) {
    CharVector v;
    v.append("abcdefghij");
    v.cutTo(4);  // the array now holds "abcd", a zero byte and "fghij"
    char* const before = v.data;
    char* gap = v.insert(1, 2);
    EXPECT_EQ(before, v.data);
    EXPECT_EQ(before + 1, gap);
    EXPECT_EQ(6, v.count);
    EXPECT_EQ(16, v.allocateCount);
    EXPECT_EQ(std::string("ad\0f\0f\0hij\0", 11), std::string(v.data, 11));
}

TEST(CharVectorInsert, WithRoomASingleByteIsOverwrittenToo) {
    CharVector v;
    v.append("a");
    EXPECT_EQ(v.data, v.insert(0, 1));
    EXPECT_EQ(2, v.count);
    EXPECT_EQ(std::string("\0\0", 2), std::string(v.data + 0, 1) + std::string(v.data + 2, 1));
}

TEST(CharVectorInsert, FillingTheRoomToTheLastByteDoesNotGrow) {
    CharVector v;
    v.append("abc");
    char* const before = v.data;
    EXPECT_EQ(before + 3, v.insert(3, 12));
    EXPECT_EQ(before, v.data);
    EXPECT_EQ(15, v.count);
    EXPECT_EQ(16, v.allocateCount);
    EXPECT_EQ(0, v.data[15]);
}

TEST(CharVectorRemove, ClosesTheGapAndKeepsTheArray) {
    struct Row {
        int line;
        int pos;
        int n;
        const char* result;
    };
    const Row rows[] = {
        {__LINE__, 0, 1, "bcdef"},        {__LINE__, 0, 5, "f"},
        {__LINE__, 2, 2, "abef"},         {__LINE__, 5, 1, "abcde"},
        {__LINE__, 3, 3, "abc"},          {__LINE__, 1, 5, "a"},
        {__LINE__, 0, 0, "abcdef"},       {__LINE__, 6, 0, "abcdef"},
        {__LINE__, 6, 1, "abcdef"},       {__LINE__, 5, 2, "abcdef"},
        {__LINE__, 0, 7, "abcdef"},       {__LINE__, -1, 1, "abcdef"},
        {__LINE__, -1, 6, "abcdef"},      {__LINE__, 1, INT_MAX, "abcdef"},
        {__LINE__, INT_MIN, 1, "abcdef"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.line);
        CharVector v;
        v.append("abcdef");
        char* const before = v.data;
        v.remove(row.pos, row.n);
        expectText(__LINE__, row.result, 16, v);
        EXPECT_EQ(before, v.data);
    }
}

TEST(CharVectorRemove, AllOfTheTextReleasesTheArray) {
    CharVector v;
    v.append("abcdef");
    v.remove(0, v.len());
    expectNull(__LINE__, v);
}

TEST(CharVectorRemove, NothingFromAnEmptyTextKeepsItsArray) {
    CharVector v("abc");
    v.truncate();
    v.remove(0, 0);
    expectText(__LINE__, "", 4, v);
    v.remove(0, 1);
    expectText(__LINE__, "", 4, v);
}

TEST(CharVectorSteal, HandsTheArrayOut) {
    CharVector v;
    v.append("text");
    char* const before = v.data;
    std::unique_ptr<char[]> stolen(v.steal());
    EXPECT_EQ(before, stolen.get());
    EXPECT_STREQ("text", stolen.get());
    expectNull(__LINE__, v);
    EXPECT_EQ(nullptr, v.steal());
    expectNull(__LINE__, v);
}

struct Opened : CharVector {
    using CharVector::init;
    using CharVector::init_str;
};

// Both set the fields without looking at what they held.
TEST(CharVectorInit, BuildsAsTheConstructorsDo) {
    Opened v;
    v.init("text", 2);
    expectText(__LINE__, "te", 3, v);
    v.clear();
    v.init_str("text");
    expectText(__LINE__, "text", 5, v);
    v.clear();
    v.init_str(nullptr);
    expectNull(__LINE__, v);
    v.init_str("");
    expectNull(__LINE__, v);
    v.init("x", 0);
    expectNull(__LINE__, v);
}

// ---- texts that are parts of themselves ----

// A part of a text, as its place and length.
struct Part {
    std::size_t at;
    std::size_t n;
};

struct SelfUse {
    int line;
    void (*change)(CharVector& v, Part part);
    std::string (*expected)(const std::string& old, const std::string& part);
    bool terminated;  // the part is taken up to the end of the text, as it has no length of its own
};

std::string replaced(const std::string&, const std::string& part) { return part; }
std::string appended(const std::string& old, const std::string& part) { return old + part; }

const SelfUse selfUses[] = {
    {__LINE__, [](CharVector& v, Part p) { v.assign(v.data + p.at, p.n); }, replaced, false},
    {__LINE__, [](CharVector& v, Part p) { v.assign(v.data + p.at, v.data + p.at + p.n); }, replaced, false},
    {__LINE__, [](CharVector& v, Part p) { v = ChPair(v.data + p.at, v.data + p.at + p.n); }, replaced, false},
    {__LINE__, [](CharVector& v, Part p) { v = v.data + p.at; }, replaced, true},
    {__LINE__, [](CharVector& v, Part p) { v.append(v.data + p.at, p.n); }, appended, false},
    {__LINE__, [](CharVector& v, Part p) { v.append(v.data + p.at, v.data + p.at + p.n); }, appended, false},
    {__LINE__, [](CharVector& v, Part p) { v.append(ChPair(v.data + p.at, v.data + p.at + p.n)); }, appended, false},
    {__LINE__, [](CharVector& v, Part p) { v += ChPair(v.data + p.at, v.data + p.at + p.n); }, appended, false},
    {__LINE__, [](CharVector& v, Part p) { v << ChPair(v.data + p.at, v.data + p.at + p.n); }, appended, false},
    {__LINE__, [](CharVector& v, Part p) { v.append(v.data + p.at); }, appended, true},
    {__LINE__, [](CharVector& v, Part p) { v += v.data + p.at; }, appended, true},
    {__LINE__, [](CharVector& v, Part p) { v << v.data + p.at; }, appended, true},
};

// With and without room for what is added.
TEST(CharVectorSelf, PartOfTheTextIsTakenAsItWas) {
    const std::string old = "abcdefghi";
    for (const SelfUse& use : selfUses) {
        SCOPED_TRACE(use.line);
        for (std::size_t at = 0; at <= old.size(); ++at) {
            for (std::size_t n = 0; n <= old.size() - at; ++n) {
                if (use.terminated && n != old.size() - at) continue;
                SCOPED_TRACE(std::to_string(at) + ", " + std::to_string(n));
                CharVector exact(old), roomy;
                roomy.append(old);
                roomy.append(std::string(20, '.'));
                roomy.cutTo(static_cast<int>(old.size()));
                const std::string expected = use.expected(old, old.substr(at, n));
                use.change(exact, {at, n});
                EXPECT_EQ(expected, exact.std());
                EXPECT_EQ(0, exact.data ? exact.data[exact.count] : 0);
                use.change(roomy, {at, n});
                EXPECT_EQ(expected, roomy.std());
                EXPECT_EQ(0, roomy.data ? roomy.data[roomy.count] : 0);
            }
        }
    }
}

TEST(CharVectorSelf, VectorIsAppendedToItself) {
    for (const char* text : {"", "a", "abcdefgh"}) {
        SCOPED_TRACE(text);
        const std::string twice = std::string(text) + text;
        CharVector a(text), b(text), c(text);
        a.append(a);
        b += b;
        c << c;
        EXPECT_EQ(twice, a.std());
        EXPECT_EQ(twice, b.std());
        EXPECT_EQ(twice, c.std());
        if (*text) a << a << a.data[0];
        EXPECT_EQ(*text ? twice + twice + text[0] : twice, a.std());
    }
}

// ---- what is text, and what is not ----

template <class V, class T, class = void>
struct TakesInto : std::false_type {};
template <class V, class T>
struct TakesInto<V, T, decltype(void(std::declval<V&>() << std::declval<T>()))> : std::true_type {};
template <class V, class T, class = void>
struct Adds : std::false_type {};
template <class V, class T>
struct Adds<V, T, decltype(void(std::declval<V&>() += std::declval<T>()))> : std::true_type {};
template <class V, class T, class = void>
struct Appends : std::false_type {};
template <class V, class T>
struct Appends<V, T, decltype(void(std::declval<V&>().append(std::declval<T>())))> : std::true_type {};

template <class T>
constexpr bool isText() {
    static_assert(TakesInto<CharVector, T>::value == Adds<CharVector, T>::value &&
                      TakesInto<CharVector, T>::value == Appends<CharVector, T>::value,
                  "the three names of one operation");
    return Appends<CharVector, T>::value;
}

enum Colour { Red = 42 };
enum class Scoped { Red };

static_assert(isText<char>() && isText<const char*>() && isText<char*>() && isText<const char (&)[3]>(), "");
static_assert(isText<const ChPair&>() && isText<const ChArr&>() && isText<ChArr&>() && isText<const std::string&>(),
              "");
static_assert(isText<const CharVector&>() && isText<CharVector&>() && isText<const SimpleVector<char>&>(), "");
// The byte that a number would be is not its text.
static_assert(!isText<int>() && !isText<unsigned>() && !isText<long>() && !isText<std::size_t>() && !isText<bool>(),
              "");
static_assert(!isText<short>() && !isText<unsigned char>() && !isText<signed char>() && !isText<utf16_t>(), "");
static_assert(!isText<float>() && !isText<double>() && !isText<Colour>() && !isText<Scoped>(), "");

}  // namespace
