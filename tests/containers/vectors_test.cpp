#include <velmora/containers/vectors.h>

#include <gtest/gtest.h>

#include <climits>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <functional>
#include <memory>
#include <new>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

namespace {

// Items of the vectors that the forbidden copies are tried on, see below.
struct SimpleProbe {
    int value;
};
struct StringProbe {
    int value;
};

}  // namespace

// Siblings that derive from the vector they would be copied into: without the forbidden copy they would be sliced.
template <>
class ArrayVector<SimpleProbe> : public SimpleVector<SimpleProbe> {};
template <>
class ObjectVector<SimpleProbe> : public SimpleVector<SimpleProbe> {};
template <>
class RealVector<SimpleProbe> : public SimpleVector<SimpleProbe> {};
template <>
class StringVector<SimpleProbe> : public SimpleVector<SimpleProbe> {};
template <>
class ObjectVector<StringProbe> : public ArrayVector<StringProbe> {};
template <>
class StructVector<StringProbe*> : public ArrayVector<StringProbe> {};

namespace {

// ---- layout ----

template <class V>
constexpr bool hasTheFields() {
    return sizeof(V) == 16 && std::is_same<decltype(V::count), int>::value &&
           std::is_same<decltype(V::allocateCount), int>::value;
}
static_assert(offsetof(SimpleVector<char>, data) == 0 && offsetof(SimpleVector<char>, count) == 8 &&
                  offsetof(SimpleVector<char>, allocateCount) == 12,
              "block, items in use, room");
static_assert(offsetof(SimpleVector<ChPair>, data) == 0 && offsetof(SimpleVector<ChPair>, count) == 8 &&
                  offsetof(SimpleVector<ChPair>, allocateCount) == 12,
              "block, items in use, room");
static_assert(std::is_same<decltype(SimpleVector<ChPair>::data), ChPair*>::value, "");
static_assert(std::is_same<decltype(ArrayVector<char>::data), char**>::value, "");
static_assert(hasTheFields<SimpleVector<char>>() && hasTheFields<SimpleVector<bool>>() &&
                  hasTheFields<SimpleVector<char*>>() && hasTheFields<SimpleVector<ChPair>>(),
              "three fields");
static_assert(hasTheFields<StructVector<ChPair>>() && hasTheFields<ArrayVector<char>>() &&
                  hasTheFields<StringVector<char>>() && hasTheFields<ObjectVector<char>>(),
              "no field is added");
static_assert(std::is_base_of<SimpleVector<ChPair>, StructVector<ChPair>>::value, "");
static_assert(std::is_base_of<SimpleVector<char*>, ArrayVector<char>>::value, "");
static_assert(std::is_base_of<ArrayVector<char>, StringVector<char>>::value, "");

// ---- what the members give ----

template <class V>
using ConstItem = decltype(std::declval<const V&>()[0]);
template <class V>
using Item = decltype(std::declval<V&>()[0]);
static_assert(std::is_same<ConstItem<SimpleVector<ChPair>>, ChPair>::value, "by value");
static_assert(std::is_same<ConstItem<StructVector<ChPair>>, const ChPair&>::value, "by reference");
static_assert(std::is_same<ConstItem<ArrayVector<char>>, char*>::value, "");
static_assert(std::is_same<ConstItem<StringVector<char>>, char*>::value, "");
static_assert(std::is_same<Item<SimpleVector<ChPair>>, ChPair&>::value, "");
static_assert(std::is_same<Item<StructVector<ChPair>>, ChPair&>::value, "");
static_assert(
    std::is_same<decltype(std::declval<SimpleVector<ChPair>&>() = std::declval<SimpleVector<ChPair>&>()), void>::value,
    "SimpleVector's assignment returns nothing");
static_assert(std::is_same<decltype(std::declval<StructVector<ChPair>&>() = std::declval<StructVector<ChPair>&>()),
                           StructVector<ChPair>&>::value,
              "StructVector's assignment returns the vector");
static_assert(std::is_same<decltype(std::declval<StringVector<char>&>() << std::declval<ChPair&>()), void>::value, "");
static_assert(std::is_same<decltype(std::declval<StringVector<char>&>() << std::declval<ChArr&>()), void>::value, "");

// ---- forbidden copies ----

template <class To, class From>
constexpr bool copies() {
    return std::is_constructible<To, const From&>::value || std::is_constructible<To, From&>::value ||
           std::is_assignable<To&, const From&>::value || std::is_assignable<To&, From&>::value;
}
template <class T>
constexpr bool simpleVectorTakesASibling() {
    return copies<SimpleVector<T>, ArrayVector<T>>() || copies<SimpleVector<T>, ObjectVector<T>>() ||
           copies<SimpleVector<T>, RealVector<T>>() || copies<SimpleVector<T>, StringVector<T>>();
}
static_assert(!simpleVectorTakesASibling<char>(), "");
static_assert(!simpleVectorTakesASibling<bool>(), "");
static_assert(!simpleVectorTakesASibling<char*>(), "");
static_assert(!simpleVectorTakesASibling<ChPair>(), "");
static_assert(!copies<SimpleVector<SimpleProbe>, ArrayVector<SimpleProbe>>(), "");
static_assert(!copies<SimpleVector<SimpleProbe>, ObjectVector<SimpleProbe>>(), "");
static_assert(!copies<SimpleVector<SimpleProbe>, RealVector<SimpleProbe>>(), "");
static_assert(!copies<SimpleVector<SimpleProbe>, StringVector<SimpleProbe>>(), "");

static_assert(!copies<ArrayVector<char>, ArrayVector<char>>(), "a plain copy does not know how to copy the arrays");
static_assert(!copies<ArrayVector<char>, ObjectVector<char>>(), "");
static_assert(!copies<ArrayVector<char>, SimpleVector<char*>>(), "");
static_assert(!copies<ArrayVector<char>, StringVector<char>>(), "");
static_assert(!copies<ArrayVector<char>, StructVector<char*>>(), "");
static_assert(!std::is_move_constructible<ArrayVector<char>>::value, "nor is it moved");
static_assert(!std::is_move_assignable<ArrayVector<char>>::value, "nor is it moved");

static_assert(!copies<StringVector<char>, ObjectVector<char>>(), "");
static_assert(!copies<StringVector<char>, SimpleVector<char*>>(), "");
static_assert(!copies<StringVector<char>, StructVector<char*>>(), "");
static_assert(!copies<StringVector<StringProbe>, ObjectVector<StringProbe>>(), "");
static_assert(!copies<StringVector<StringProbe>, SimpleVector<StringProbe*>>(), "");
static_assert(!copies<StringVector<StringProbe>, StructVector<StringProbe*>>(), "");

static_assert(!std::is_copy_constructible<ArrayHolder<char>>::value, "one owner");
static_assert(!std::is_copy_assignable<ArrayHolder<char>>::value, "one owner");
static_assert(!std::is_copy_constructible<ObjectVector<char>>::value, "one owner");
static_assert(!std::is_copy_assignable<ObjectVector<char>>::value, "one owner");

// And those that are allowed.
static_assert(std::is_copy_constructible<SimpleVector<char*>>::value, "");
static_assert(std::is_copy_assignable<SimpleVector<char*>>::value, "");
static_assert(std::is_copy_constructible<StructVector<ChPair>>::value, "");
static_assert(std::is_copy_assignable<StructVector<ChPair>>::value, "");
static_assert(std::is_constructible<StructVector<ChPair>, const SimpleVector<ChPair>&>::value, "");
static_assert(std::is_copy_constructible<StringVector<char>>::value, "");
static_assert(std::is_copy_assignable<StringVector<char>>::value, "");
static_assert(std::is_constructible<StringVector<char>, const ArrayVector<char>&>::value, "");
static_assert(std::is_assignable<StringVector<char>&, const ArrayVector<char>&>::value, "");
static_assert(std::is_constructible<ArrayVector<char>, const ArrayVector<char>&, char* (*)(const char*)>::value,
              "a copy with a copying function");

// ---- every instance, and one of a caller's own ----

char letters[64];

template <class T>
struct Items {
    static T at(int i) { return static_cast<T>(i + 1); }
};
template <>
struct Items<char> {
    static char at(int i) { return static_cast<char>('A' + i % 50); }
};
template <>
struct Items<bool> {
    static bool at(int i) { return i >= 3; }
};
template <>
struct Items<char*> {
    static char* at(int i) { return letters + i % 50; }
};
template <>
struct Items<ChPair> {
    static ChPair at(int i) {
        letters[i % 50] = static_cast<char>('A' + i % 50);
        return ChPair(letters + i % 50, 1);
    }
};

template <class T>
bool less(const T& a, const T& b) {
    return a < b;
}

template <class T>
int order(const void* a, const void* b) {
    const T& x = *static_cast<const T*>(a);
    const T& y = *static_cast<const T*>(b);
    return less(x, y) ? -1 : less(y, x) ? 1 : 0;
}

template <class V>
class EveryVector : public testing::Test {
protected:
    using T = typename std::remove_reference<decltype(std::declval<V&>()[0])>::type;

    static T item(int i) { return Items<T>::at(i); }

    static void fill(V& v, int n) {
        for (int i = 0; i < n; ++i) v.append(item(i));
    }
    // Expects the items of these numbers.
    static void expectItems(int line, const V& v, const std::vector<int>& numbers) {
        SCOPED_TRACE(line);
        ASSERT_EQ(static_cast<int>(numbers.size()), v.count);
        for (int i = 0; i < v.count; ++i) {
            SCOPED_TRACE(i);
            EXPECT_TRUE(item(numbers[static_cast<std::size_t>(i)]) == v.data[i]);
        }
    }
    static void expectNull(int line, const V& v) {
        SCOPED_TRACE(line);
        EXPECT_EQ(nullptr, v.data);
        EXPECT_EQ(0, v.count);
        EXPECT_EQ(0, v.allocateCount);
    }
};

using Vectors = testing::Types<SimpleVector<char>, SimpleVector<bool>, SimpleVector<char*>, SimpleVector<ChPair>,
                               StructVector<ChPair>, SimpleVector<std::int64_t>>;
TYPED_TEST_SUITE(EveryVector, Vectors, );

TYPED_TEST(EveryVector, IsNullAtFirst) {
    TypeParam v;
    this->expectNull(__LINE__, v);
    EXPECT_EQ(nullptr, v.getData());
    EXPECT_EQ(v.begin(), v.end());
    EXPECT_EQ(v.getData(), v.getDataEnd());
    EXPECT_EQ(0, v.getCount());
    EXPECT_EQ(0, v.getAllocateCount());
    EXPECT_TRUE(v.isEmpty());
    EXPECT_EQ(-1, v.ssearch(this->item(0)));
    EXPECT_EQ(-1, v.bsearch(this->item(0), &order<typename TestFixture::T>));
}

TYPED_TEST(EveryVector, AccessorsReadTheFields) {
    TypeParam v;
    this->fill(v, 5);
    const TypeParam& constant = v;
    EXPECT_EQ(v.data, constant.getData());
    EXPECT_EQ(v.data, constant.begin());
    EXPECT_EQ(v.data + 5, constant.getDataEnd());
    EXPECT_EQ(v.data + 5, constant.end());
    EXPECT_EQ(5, constant.getCount());
    EXPECT_FALSE(constant.isEmpty());
    for (int i = 0; i < 5; ++i) {
        EXPECT_EQ(v.data + i, constant.ptr(i));
        EXPECT_EQ(v.data + i, &v[i]);
        EXPECT_TRUE(this->item(i) == constant[i]);
    }
    v[1] = this->item(4);
    this->expectItems(__LINE__, v, {0, 4, 2, 3, 4});
}

// It gives the items in use, which callers rely on; the room is told by the field alone.
TYPED_TEST(EveryVector, GetAllocateCountIsTheCount) {
    TypeParam v;
    for (int i = 0; i < 40; ++i) {
        v.append(this->item(i));
        EXPECT_EQ(i + 1, v.getCount());
        EXPECT_EQ(i + 1, v.getAllocateCount());
    }
    EXPECT_EQ(256, v.allocateCount);
    v.cutTo(3);
    EXPECT_EQ(3, v.getAllocateCount());
}

TYPED_TEST(EveryVector, AppendGrowsByTheSteps) {
    TypeParam v;
    int reallocations = 0;
    for (int i = 0; i < 65537; ++i) {
        const int capacity = v.allocateCount;
        v.append(this->item(i));
        if (v.allocateCount == capacity) continue;
        ++reallocations;
        int expected = 0;
        switch (i + 1) {
            case 1:
                expected = 16;
                break;
            case 17:
                expected = 256;
                break;
            case 257:
                expected = 512;
                break;
            case 513:
                expected = 1024;
                break;
            case 1025:
                expected = 2048;
                break;
            case 2049:
                expected = 4096;
                break;
            case 4097:
                expected = 8192;
                break;
            case 8193:
                expected = 16384;
                break;
            case 16385:
                expected = 32768;
                break;
            case 32769:
                expected = 65536;
                break;
            case 65537:
                expected = 131072;
                break;
        }
        EXPECT_EQ(expected, v.allocateCount) << "at item " << i + 1;
        EXPECT_EQ(v.getCount(), v.getAllocateCount());
    }
    EXPECT_EQ(11, reallocations);
    EXPECT_EQ(65537, v.count);
    for (int i = 0; i < v.count; ++i) ASSERT_TRUE(this->item(i) == v.data[i]) << i;
}

TYPED_TEST(EveryVector, ExpandBeyondTheLimitIsExhaustedMemory) {
    TypeParam v;
    this->fill(v, 3);
    EXPECT_THROW(v.expand((1 << 30) + 1), std::bad_alloc);
    EXPECT_EQ(3, v.count);
    EXPECT_EQ(16, v.allocateCount);
}

TYPED_TEST(EveryVector, ExpandMakesRoomAndKeepsTheItems) {
    TypeParam v;
    this->fill(v, 3);
    auto* const before = v.data;
    v.expand(16);
    EXPECT_EQ(16, v.allocateCount);
    EXPECT_EQ(before, v.data);
    v.expand(0);
    v.expand(-5);
    EXPECT_EQ(before, v.data);
    EXPECT_EQ(16, v.allocateCount);
    v.expand(17);
    EXPECT_EQ(256, v.allocateCount);
    this->expectItems(__LINE__, v, {0, 1, 2});
    v.expand(300);
    EXPECT_EQ(512, v.allocateCount);
    this->expectItems(__LINE__, v, {0, 1, 2});
    TypeParam none;
    none.expand(0);
    this->expectNull(__LINE__, none);
    none.expand(5000);
    EXPECT_EQ(0, none.count);
    EXPECT_EQ(8192, none.allocateCount);
}

TYPED_TEST(EveryVector, PrepareSetsTheCount) {
    TypeParam v;
    this->fill(v, 12);
    auto* const before = v.data;
    EXPECT_EQ(before, v.prepare(10));
    EXPECT_EQ(16, v.allocateCount);
    this->expectItems(__LINE__, v, {0, 1, 2, 3, 4, 5, 6, 7, 8, 9});
    EXPECT_EQ(before, v.prepare(12));
    this->expectItems(__LINE__, v, {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11});
    EXPECT_EQ(before, v.prepare(16));
    EXPECT_EQ(16, v.count);
    EXPECT_EQ(before, v.prepare(0));
    EXPECT_EQ(0, v.count);
    EXPECT_EQ(16, v.allocateCount);
}

TYPED_TEST(EveryVector, PrepareBeyondTheRoomGetsAnExactBlock) {
    TypeParam v;
    this->fill(v, 3);
    auto* block = v.prepare(100);
    EXPECT_EQ(v.data, block);
    EXPECT_EQ(100, v.count);
    EXPECT_EQ(100, v.allocateCount);
    for (int i = 0; i < 100; ++i) block[i] = this->item(i);
    EXPECT_TRUE(this->item(99) == v.data[99]);
    TypeParam none;
    EXPECT_EQ(nullptr, none.prepare(0));
    this->expectNull(__LINE__, none);
    EXPECT_NE(nullptr, none.prepare(17));
    EXPECT_EQ(17, none.count);
    EXPECT_EQ(17, none.allocateCount);
}

TYPED_TEST(EveryVector, CutToSetsTheCountAndNothingElse) {
    TypeParam v;
    this->fill(v, 5);
    auto* const before = v.data;
    v.cutTo(2);
    this->expectItems(__LINE__, v, {0, 1});
    v.cutTo(4);
    this->expectItems(__LINE__, v, {0, 1, 2, 3});
    v.cutTo(0);
    EXPECT_TRUE(v.isEmpty());
    EXPECT_EQ(before, v.data);
    EXPECT_EQ(16, v.allocateCount);
    // Nothing looks at the number.
    v.cutTo(17);
    EXPECT_EQ(17, v.count);
    EXPECT_EQ(16, v.allocateCount);
    v.cutTo(0);
}

TYPED_TEST(EveryVector, SubstReturnsTheFormerItem) {
    TypeParam v;
    this->fill(v, 5);
    EXPECT_TRUE(this->item(1) == v.subst(1, this->item(4)));
    this->expectItems(__LINE__, v, {0, 4, 2, 3, 4});
}

TYPED_TEST(EveryVector, AppendTakesAnItemOfItsOwn) {
    TypeParam v;
    this->fill(v, 16);
    v.append(v[5]);  // the block is replaced
    EXPECT_EQ(17, v.count);
    EXPECT_TRUE(this->item(5) == v.data[16]);
    v.insert(0, v[7]);
    EXPECT_TRUE(this->item(7) == v.data[0]);
}

TYPED_TEST(EveryVector, AppendPtrAddsItems) {
    TypeParam v;
    this->fill(v, 3);
    auto* added = v.appendPtr(2);
    EXPECT_EQ(v.data + 3, added);
    EXPECT_EQ(5, v.count);
    EXPECT_EQ(16, v.allocateCount);
    added[0] = this->item(6);
    added[1] = this->item(7);
    this->expectItems(__LINE__, v, {0, 1, 2, 6, 7});
    EXPECT_EQ(v.data + 5, v.appendPtr(0));
    EXPECT_EQ(5, v.count);
    added = v.appendPtr(20);
    EXPECT_EQ(v.data + 5, added);
    EXPECT_EQ(25, v.count);
    EXPECT_EQ(256, v.allocateCount);
    v.cutTo(5);
    this->expectItems(__LINE__, v, {0, 1, 2, 6, 7});
}

TYPED_TEST(EveryVector, Append0FillsWithZeroBytes) {
    using Item = typename TestFixture::T;
    TypeParam v;
    this->fill(v, 8);
    v.cutTo(3);  // what follows is not zero
    Item* added = v.append0(4);
    EXPECT_EQ(v.data + 3, added);
    EXPECT_EQ(7, v.count);
    const std::string zeros(4 * sizeof(Item), '\0');
    EXPECT_EQ(0, std::memcmp(zeros.data(), static_cast<const void*>(added), zeros.size()));
    EXPECT_TRUE(this->item(7) == v.data[7]);
    v.cutTo(3);
    this->expectItems(__LINE__, v, {0, 1, 2});
    EXPECT_EQ(v.data + 3, v.append0(0));
    EXPECT_EQ(3, v.count);
    TypeParam none;
    EXPECT_EQ(nullptr, none.append0(0));
    this->expectNull(__LINE__, none);
}

TYPED_TEST(EveryVector, InsertMovesTheTailUp) {
    struct Row {
        int line;
        int at;
        std::vector<int> items;
    };
    const Row rows[] = {{__LINE__, 0, {9, 0, 1, 2}},   {__LINE__, 1, {0, 9, 1, 2}}, {__LINE__, 3, {0, 1, 2, 9}},
                        {__LINE__, 4, {0, 1, 2}},      {__LINE__, -1, {0, 1, 2}},   {__LINE__, INT_MAX, {0, 1, 2}},
                        {__LINE__, INT_MIN, {0, 1, 2}}};
    for (const Row& row : rows) {
        TypeParam v;
        this->fill(v, 3);
        v.insert(row.at, this->item(9));
        this->expectItems(row.line, v, row.items);
        EXPECT_EQ(16, v.allocateCount);
    }
    TypeParam none;
    none.insert(1, this->item(0));
    this->expectNull(__LINE__, none);
    none.insert(0, this->item(4));
    this->expectItems(__LINE__, none, {4});
    TypeParam full;
    this->fill(full, 16);
    full.insert(2, this->item(20));
    this->expectItems(__LINE__, full, {0, 1, 20, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15});
    EXPECT_EQ(256, full.allocateCount);
}

TYPED_TEST(EveryVector, InsertPtrOpensAGap) {
    struct Row {
        int line;
        int at;
        int n;
        std::vector<int> items;
    };
    const Row rows[] = {{__LINE__, 0, 2, {9, 9, 0, 1, 2}},
                        {__LINE__, 2, 2, {0, 1, 9, 9, 2}},
                        {__LINE__, 3, 2, {0, 1, 2, 9, 9}},
                        {__LINE__, 1, 0, {0, 1, 2}}};
    for (const Row& row : rows) {
        SCOPED_TRACE(row.line);
        TypeParam v;
        this->fill(v, 3);
        auto* gap = v.insertPtr(row.at, row.n);
        ASSERT_EQ(v.data + row.at, gap);
        for (int i = 0; i < row.n; ++i) gap[i] = this->item(9);
        this->expectItems(row.line, v, row.items);
    }
    TypeParam v;
    this->fill(v, 3);
    for (int at : {-1, 4, INT_MIN, INT_MAX}) {
        EXPECT_EQ(nullptr, v.insertPtr(at, 1));
        this->expectItems(__LINE__, v, {0, 1, 2});
    }
    auto* gap = v.insertPtr(1, 14);
    ASSERT_EQ(v.data + 1, gap);
    EXPECT_EQ(256, v.allocateCount);
    for (int i = 0; i < 14; ++i) gap[i] = this->item(7);
    this->expectItems(__LINE__, v, {0, 7, 7, 7, 7, 7, 7, 7, 7, 7, 7, 7, 7, 7, 7, 1, 2});
}

TYPED_TEST(EveryVector, RemoveClosesTheGap) {
    struct Row {
        int line;
        int at;
        std::vector<int> items;
    };
    const Row rows[] = {{__LINE__, 0, {1, 2, 3}},         {__LINE__, 1, {0, 2, 3}},
                        {__LINE__, 3, {0, 1, 2}},         {__LINE__, 4, {0, 1, 2, 3}},
                        {__LINE__, -1, {0, 1, 2, 3}},     {__LINE__, INT_MAX, {0, 1, 2, 3}},
                        {__LINE__, INT_MIN, {0, 1, 2, 3}}};
    for (const Row& row : rows) {
        TypeParam v;
        this->fill(v, 4);
        auto* const before = v.data;
        v.remove(row.at);
        this->expectItems(row.line, v, row.items);
        EXPECT_EQ(before, v.data);
        EXPECT_EQ(16, v.allocateCount);
    }
    TypeParam none;
    none.remove(0);
    this->expectNull(__LINE__, none);
}

TYPED_TEST(EveryVector, RemoveRangeClosesTheGap) {
    struct Row {
        int line;
        int from;
        int to;
        std::vector<int> items;
    };
    const Row rows[] = {{__LINE__, 0, 1, {1, 2, 3, 4}},
                        {__LINE__, 1, 3, {0, 3, 4}},
                        {__LINE__, 3, 5, {0, 1, 2}},
                        {__LINE__, 0, 5, {}},
                        {__LINE__, 2, 2, {0, 1, 2, 3, 4}},
                        {__LINE__, 5, 6, {0, 1, 2, 3, 4}},
                        {__LINE__, -1, 2, {0, 1, 2, 3, 4}},
                        {__LINE__, 5, 5, {0, 1, 2, 3, 4}},
                        {__LINE__, INT_MIN, 1, {0, 1, 2, 3, 4}},
                        {__LINE__, 0, 0, {0, 1, 2, 3, 4}},
                        {__LINE__, -3, -1, {0, 1, 2, 3, 4}}};
    for (const Row& row : rows) {
        TypeParam v;
        this->fill(v, 5);
        auto* const before = v.data;
        v.removeRange(row.from, row.to);
        this->expectItems(row.line, v, row.items);
        EXPECT_EQ(before, v.data);
        EXPECT_EQ(16, v.allocateCount);
    }
    TypeParam none;
    none.removeRange(0, 1);
    this->expectNull(__LINE__, none);
}

TYPED_TEST(EveryVector, RemoveAllReleasesTheBlock) {
    TypeParam v;
    this->fill(v, 5);
    v.removeAll();
    this->expectNull(__LINE__, v);
    v.removeAll();
    this->expectNull(__LINE__, v);
}

TYPED_TEST(EveryVector, MoveRangeToInserts) {
    struct Row {
        int line;
        int from;
        int to;
        int at;
        std::vector<int> source;
        std::vector<int> target;
    };
    const Row rows[] = {
        {__LINE__, 0, 2, 1, {2, 3, 4}, {10, 0, 1, 11}},  {__LINE__, 1, 4, 0, {0, 4}, {1, 2, 3, 10, 11}},
        {__LINE__, 3, 5, 2, {0, 1, 2}, {10, 11, 3, 4}},  {__LINE__, 0, 5, 2, {}, {10, 11, 0, 1, 2, 3, 4}},
        {__LINE__, 2, 2, 1, {0, 1, 2, 3, 4}, {10, 11}},  {__LINE__, 5, 6, 1, {0, 1, 2, 3, 4}, {10, 11}},
        {__LINE__, -1, 2, 1, {0, 1, 2, 3, 4}, {10, 11}},
    };
    for (const Row& row : rows) {
        TypeParam source, target;
        this->fill(source, 5);
        target.append(this->item(10));
        target.append(this->item(11));
        source.moveRangeTo(row.from, row.to, target, row.at);
        this->expectItems(row.line, source, row.source);
        this->expectItems(row.line, target, row.target);
        EXPECT_EQ(16, source.allocateCount);
    }
}

TYPED_TEST(EveryVector, MoveRangeToAppends) {
    TypeParam source, target;
    this->fill(source, 5);
    source.moveRangeTo(1, 3, target);
    this->expectItems(__LINE__, source, {0, 3, 4});
    this->expectItems(__LINE__, target, {1, 2});
    EXPECT_EQ(16, target.allocateCount);
    source.moveRangeTo(2, 3, target);
    this->expectItems(__LINE__, source, {0, 3});
    this->expectItems(__LINE__, target, {1, 2, 4});
    source.moveRangeTo(1, 1, target);
    source.moveRangeTo(2, 3, target);
    source.moveRangeTo(-1, 1, target);
    this->expectItems(__LINE__, source, {0, 3});
    this->expectItems(__LINE__, target, {1, 2, 4});
    source.moveRangeTo(0, 2, target);
    EXPECT_TRUE(source.isEmpty());
    this->expectItems(__LINE__, target, {1, 2, 4, 0, 3});
}

TYPED_TEST(EveryVector, MoveRangeToGrowsTheTarget) {
    TypeParam source, target;
    this->fill(source, 5);
    this->fill(target, 14);
    source.moveRangeTo(0, 3, target);
    EXPECT_EQ(256, target.allocateCount);
    this->expectItems(__LINE__, target, {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 0, 1, 2});
}

// What moveRangeTo into itself makes of 0, 1, 2 ...
std::vector<int> movedWithin(int count, int from, int to, int at) {
    std::vector<int> rest, moved, all;
    for (int i = 0; i < count; ++i) (i >= from && i < to ? moved : rest).push_back(i);
    if (at >= from && at <= to) at = from;
    for (const int i : rest) {
        if (i < at) all.push_back(i);
    }
    all.insert(all.end(), moved.begin(), moved.end());
    for (const int i : rest) {
        if (i >= at) all.push_back(i);
    }
    return all;
}

// Every range and every place in small vectors, and in one that is full.
TYPED_TEST(EveryVector, MoveRangeToItselfPutsTheItemsBeforeAnother) {
    EXPECT_EQ((std::vector<int>{0, 5, 6, 1, 2, 3, 4, 7, 8, 9}), movedWithin(10, 5, 7, 1));
    EXPECT_EQ((std::vector<int>{2, 3, 4, 0, 1}), movedWithin(5, 0, 2, 5));
    for (const int count : {1, 2, 3, 4, 5, 10, 16}) {
        for (int from = 0; from < count; ++from) {
            for (int to = from; to <= count; ++to) {
                for (int at = 0; at <= count; ++at) {
                    SCOPED_TRACE(std::to_string(count) + ": " + std::to_string(from) + ", " + std::to_string(to) +
                                 ", " + std::to_string(at));
                    TypeParam v;
                    this->fill(v, count);
                    auto* const block = v.data;
                    v.moveRangeTo(from, to, v, at);
                    this->expectItems(__LINE__, v, movedWithin(count, from, to, at));
                    EXPECT_EQ(block, v.data);
                    EXPECT_EQ(16, v.allocateCount);
                }
                TypeParam v;
                this->fill(v, count);
                v.moveRangeTo(from, to, v);
                this->expectItems(__LINE__, v, movedWithin(count, from, to, count));
            }
        }
    }
    TypeParam v;
    this->fill(v, 3);
    v.moveRangeTo(-1, 1, v, 0);
    v.moveRangeTo(3, 4, v, 0);
    this->expectItems(__LINE__, v, {0, 1, 2});
}

// A sum that an int does not hold is not room: no byte beyond the block is touched.
TYPED_TEST(EveryVector, CountBeyondAnIntIsExhaustedMemory) {
    for (const int n : {INT_MAX, INT_MAX - 1, INT_MAX - 2, 1 << 30}) {
        SCOPED_TRACE(n);
        TypeParam v;
        this->fill(v, 3);
        auto* const block = v.data;
        EXPECT_THROW(v.appendPtr(n), std::bad_alloc);
        EXPECT_THROW(v.append0(n), std::bad_alloc);
        EXPECT_THROW(v.insertPtr(1, n), std::bad_alloc);
        EXPECT_THROW(v.insertPtr(3, n), std::bad_alloc);
        EXPECT_EQ(nullptr, v.insertPtr(4, n));
        EXPECT_EQ(block, v.data);
        EXPECT_EQ(16, v.allocateCount);
        this->expectItems(__LINE__, v, {0, 1, 2});
    }
}

// The fields are forged: no block of this size is to be had here.
TYPED_TEST(EveryVector, FullVectorIsExhaustedMemory) {
    TypeParam v, target;
    this->fill(v, 3);
    this->fill(target, 1);
    v.count = v.allocateCount = target.count = target.allocateCount = INT_MAX;
    EXPECT_THROW(v.append(this->item(0)), std::bad_alloc);
    EXPECT_THROW(v.insert(0, this->item(0)), std::bad_alloc);
    EXPECT_THROW(v.appendPtr(1), std::bad_alloc);
    EXPECT_THROW(v.moveRangeTo(0, 1, target), std::bad_alloc);
    EXPECT_THROW(v.moveRangeTo(0, 1, target, 0), std::bad_alloc);
    EXPECT_EQ(INT_MAX, v.count);
    EXPECT_EQ(INT_MAX, target.count);
    v.count = 3;
    v.allocateCount = target.allocateCount = 16;
    target.count = 1;
    this->expectItems(__LINE__, v, {0, 1, 2});
    this->expectItems(__LINE__, target, {0});
}

// Each operation that takes an item takes one of its own, with and without room.
TYPED_TEST(EveryVector, ItemOfItsOwnIsTakenAsItWas) {
    for (const int count : {5, 16}) {
        for (int i = 0; i < count; ++i) {
            SCOPED_TRACE(i);
            std::vector<int> numbers;
            for (int k = 0; k < count; ++k) numbers.push_back(k);
            TypeParam appended, inserted, substituted;
            this->fill(appended, count);
            this->fill(inserted, count);
            this->fill(substituted, count);
            appended.append(appended[i]);
            inserted.insert(0, inserted[i]);
            EXPECT_TRUE(this->item(0) == substituted.subst(0, substituted[i]));
            std::vector<int> expected = numbers;
            expected.push_back(i);
            this->expectItems(__LINE__, appended, expected);
            expected = numbers;
            expected.insert(expected.begin(), i);
            this->expectItems(__LINE__, inserted, expected);
            expected = numbers;
            expected[0] = i;
            this->expectItems(__LINE__, substituted, expected);
        }
    }
}

TYPED_TEST(EveryVector, StealingTheOwnBlockKeepsIt) {
    TypeParam v;
    this->fill(v, 3);
    auto* block = v.data;
    auto* const before = block;
    v.stealFrom(block, 2, 16);
    EXPECT_EQ(nullptr, block);
    EXPECT_EQ(before, v.data);
    EXPECT_EQ(16, v.allocateCount);
    this->expectItems(__LINE__, v, {0, 1});
    v.stealFrom(v.data, 1, 16);
    EXPECT_EQ(before, v.data);
    this->expectItems(__LINE__, v, {0});
}

TYPED_TEST(EveryVector, StealFromABlockTakesTheNumbersAsTheyAre) {
    using Item = typename TestFixture::T;
    TypeParam v;
    this->fill(v, 3);
    Item* block = new Item[8];
    for (int i = 0; i < 8; ++i) block[i] = this->item(10 + i);
    Item* const before = block;
    v.stealFrom(block, 4, 8);
    EXPECT_EQ(nullptr, block);
    EXPECT_EQ(before, v.data);
    EXPECT_EQ(8, v.allocateCount);
    this->expectItems(__LINE__, v, {10, 11, 12, 13});
    v.stealFrom(block, 0, 0);
    this->expectNull(__LINE__, v);
    Item* one = new Item[1];
    v.stealFrom(one, 7, 3);
    EXPECT_EQ(7, v.count);
    EXPECT_EQ(3, v.allocateCount);
    v.removeAll();
}

TYPED_TEST(EveryVector, StealFromAVectorLeavesItNull) {
    TypeParam v, source;
    this->fill(v, 3);
    this->fill(source, 17);
    auto* const before = source.data;
    v.stealFrom(source);
    EXPECT_EQ(before, v.data);
    EXPECT_EQ(17, v.count);
    EXPECT_EQ(256, v.allocateCount);
    this->expectNull(__LINE__, source);
    v.stealFrom(source);
    this->expectNull(__LINE__, v);
}

TYPED_TEST(EveryVector, StealFromItselfLosesTheItems) {
    TypeParam v;
    this->fill(v, 3);
    v.stealFrom(v);
    EXPECT_EQ(nullptr, v.data);
    EXPECT_EQ(0, v.count);
    EXPECT_EQ(0, v.allocateCount);
}

TYPED_TEST(EveryVector, SortsAllOrARange) {
    using Item = typename TestFixture::T;
    TypeParam v;
    for (int i : {5, 2, 9, 0, 7, 1}) v.append(this->item(i));
    v.sort(&order<Item>, 1, 4);
    this->expectItems(__LINE__, v, {5, 0, 2, 9, 7, 1});
    v.sort(&order<Item>, 2, 3);
    v.sort(&order<Item>, 3, 3);
    v.sort(&order<Item>, 4, 1);
    this->expectItems(__LINE__, v, {5, 0, 2, 9, 7, 1});
    v.sort(&order<Item>);
    this->expectItems(__LINE__, v, {0, 1, 2, 5, 7, 9});
    TypeParam one, none;
    this->fill(one, 1);
    one.sort(&order<Item>);
    none.sort(&order<Item>);
    this->expectItems(__LINE__, one, {0});
    this->expectNull(__LINE__, none);
}

int neverCalled(const void*, const void*) {
    ADD_FAILURE() << "there is nothing to compare";
    return 0;
}

TYPED_TEST(EveryVector, SortOfLessThanTwoComparesNothing) {
    TypeParam v, none, three;
    this->fill(v, 1);
    this->fill(three, 3);
    v.sort(&neverCalled);
    none.sort(&neverCalled);
    three.sort(&neverCalled, 1, 2);
    EXPECT_EQ(-1, none.bsearch(this->item(0), &neverCalled));
}

TYPED_TEST(EveryVector, SsearchFindsTheFirst) {
    TypeParam v;
    for (int i : {4, 1, 4, 2}) v.append(this->item(i));
    EXPECT_EQ(0, v.ssearch(this->item(4)));
    EXPECT_EQ(1, v.ssearch(this->item(1)));
    v.cutTo(1);
    EXPECT_EQ(-1, v.ssearch(this->item(1)));
    v.cutTo(0);
    EXPECT_EQ(-1, v.ssearch(this->item(4)));
}

TYPED_TEST(EveryVector, CopyIsExact) {
    TypeParam v;
    this->fill(v, 17);
    ASSERT_EQ(256, v.allocateCount);
    TypeParam copy(v);
    EXPECT_NE(v.data, copy.data);
    EXPECT_EQ(17, copy.allocateCount);
    this->expectItems(__LINE__, copy, {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16});
    v.cutTo(0);
    TypeParam ofEmpty(v);
    this->expectNull(__LINE__, ofEmpty);
    TypeParam ofNull{TypeParam()};
    this->expectNull(__LINE__, ofNull);
}

TYPED_TEST(EveryVector, AssignmentIsExact) {
    TypeParam v, target;
    this->fill(v, 3);
    this->fill(target, 17);
    target = v;
    EXPECT_NE(v.data, target.data);
    EXPECT_EQ(3, target.allocateCount);
    this->expectItems(__LINE__, target, {0, 1, 2});
    v.cutTo(0);
    target = v;
    this->expectNull(__LINE__, target);
    this->fill(v, 2);
    target = v;
    EXPECT_EQ(2, target.allocateCount);
    this->expectItems(__LINE__, target, {0, 1});
}

TYPED_TEST(EveryVector, AssignmentToItselfChangesNothing) {
    TypeParam v;
    this->fill(v, 3);
    auto* const before = v.data;
    const TypeParam& itself = v;
    v = itself;
    EXPECT_EQ(before, v.data);
    EXPECT_EQ(16, v.allocateCount);
    this->expectItems(__LINE__, v, {0, 1, 2});
}

// ---- what is particular to one instance ----

template <class V>
struct Opened : V {
    using V::deallocate;
    using V::init;
};

TEST(SimpleVectorInit, SetsTheFieldsWithoutLookingAtThem) {
    SimpleVector<char> source;
    for (char c : {'a', 'b', 'c'}) source.append(c);
    Opened<SimpleVector<char>> v;
    v.init(source);
    EXPECT_EQ(3, v.count);
    EXPECT_EQ(3, v.allocateCount);
    EXPECT_EQ(0, std::memcmp("abc", v.data, 3));
    EXPECT_NE(source.data, v.data);
}

TEST(SimpleVectorDeallocate, LeavesTheFields) {
    Opened<SimpleVector<char>> v;
    v.append('a');
    char* const before = v.data;
    v.deallocate();
    EXPECT_EQ(before, v.data);
    EXPECT_EQ(1, v.count);
    EXPECT_EQ(16, v.allocateCount);
    v.data = nullptr;
}

TEST(SimpleVectorChPair, NewBlocksHoldNullPairs) {
    SimpleVector<ChPair> v;
    v.append(ChPair("a"));
    for (int i = 1; i < 16; ++i) {
        EXPECT_EQ(nullptr, v.data[i].begin);
        EXPECT_EQ(nullptr, v.data[i].end);
    }
    v.expand(17);
    for (int i = 1; i < 256; ++i) {
        EXPECT_EQ(nullptr, v.data[i].begin);
        EXPECT_EQ(nullptr, v.data[i].end);
    }
    v.prepare(300);
    for (int i = 0; i < 300; ++i) {
        EXPECT_EQ(nullptr, v.data[i].begin);
        EXPECT_EQ(nullptr, v.data[i].end);
    }
}

template <class V>
void expectSearchByText() {
    const char text[] = "one two one";
    V v;
    v.append(ChPair(text, 3));
    v.append(ChPair(text + 4, 3));
    v.append(ChPair(text + 8, 3));
    v.append(ChPair());
    v.append(ChPair(text, 0));
    EXPECT_EQ(0, v.ssearch(ChPair(text + 8, 3)));
    EXPECT_EQ(1, v.ssearch(ChPair("two")));
    EXPECT_EQ(-1, v.ssearch(ChPair("tw")));
    EXPECT_EQ(-1, v.ssearch(ChPair("ONE")));
    EXPECT_EQ(3, v.ssearch(ChPair("")));
    EXPECT_EQ(3, v.ssearch(ChPair()));
}

TEST(ChPairVectors, SearchByTextAndNotByPlace) {
    expectSearchByText<SimpleVector<ChPair>>();
    expectSearchByText<StructVector<ChPair>>();
}

TEST(SimpleVectorCharPtr, SearchesByPlaceAndNotByText) {
    char a[] = "same", b[] = "same";
    SimpleVector<char*> v;
    v.append(a);
    v.append(b);
    v.append(nullptr);
    EXPECT_EQ(1, v.ssearch(b));
    EXPECT_EQ(2, v.ssearch(nullptr));
}

TEST(StructVectorChPair, IsMadeFromASimpleVector) {
    const char text[] = "ab";
    SimpleVector<ChPair> source;
    source.append(ChPair(text, 1));
    source.append(ChPair(text + 1, 1));
    StructVector<ChPair> v(source);
    EXPECT_EQ(2, v.count);
    EXPECT_EQ(2, v.allocateCount);
    EXPECT_NE(source.data, v.data);
    EXPECT_EQ(text + 1, v[1].begin);
}

TEST(StructVectorChPair, AssignmentReturnsTheVector) {
    StructVector<ChPair> v, other;
    v.append(ChPair("a"));
    EXPECT_EQ(&other, &(other = v));
    EXPECT_EQ("a", other[0].std());
    const StructVector<ChPair>& itself = v;
    EXPECT_EQ(&v, &(v = itself));
    EXPECT_EQ("a", v[0].std());
}

TEST(StructVectorChPair, ConstItemsAreReadInPlace) {
    StructVector<ChPair> v;
    v.append(ChPair("a"));
    const StructVector<ChPair>& constant = v;
    EXPECT_EQ(v.data, &constant[0]);
}

// Only a count that no vector gets by itself makes a block too large to ask for.
TEST(SimpleVectorInit, ImpossibleByteSizeIsABadArrayLength) {
#ifdef VELMORA_TEST_ASAN
    GTEST_SKIP() << "AddressSanitizer ends the program at an impossible allocation";
#else
    SimpleVector<ChPair> source;
    source.count = -1;
    EXPECT_THROW(SimpleVector<ChPair> copy(source), std::bad_array_new_length);
    source.count = 0;
#endif
}

const void* searchedKey = nullptr;
bool keyWasFirst = true;

int orderAndWatch(const void* a, const void* b) {
    keyWasFirst = keyWasFirst && a == searchedKey;
    return order<int>(a, b);
}

TEST(VectorBsearch, FindsEveryItemAndNothingElse) {
    for (int size = 0; size <= 9; ++size) {
        SimpleVector<int> v;
        for (int i = 0; i < size; ++i) v.append(i * 2);
        for (int key = -1; key <= size * 2; ++key) {
            SCOPED_TRACE(size);
            SCOPED_TRACE(key);
            const bool present = key >= 0 && key % 2 == 0 && key < size * 2;
            EXPECT_EQ(present ? key / 2 : -1, v.bsearch(key, &order<int>));
        }
    }
}

TEST(VectorBsearch, KeyIsTheFirstArgument) {
    SimpleVector<int> v;
    for (int i = 0; i < 20; ++i) v.append(i);
    const int key = 13;
    searchedKey = &key;
    keyWasFirst = true;
    EXPECT_EQ(13, v.bsearch(key, &orderAndWatch));
    EXPECT_TRUE(keyWasFirst);
}

TEST(VectorBsearch, AnyOfEqualItemsMayCome) {
    SimpleVector<int> v;
    for (int i : {1, 5, 5, 5, 9}) v.append(i);
    const int found = v.bsearch(5, &order<int>);
    ASSERT_TRUE(found >= 1 && found <= 3);
    EXPECT_EQ(2, found);  // the middle of the first halving
}

// ---- ArrayVector ----

char* copyOf(const char* text) { return strnew(text); }

// Shows what it was called with, and copies null as a text of its own.
std::string copiedItems;
char* copyAndTell(const char* text) {
    copiedItems += text ? text : "(null)";
    copiedItems += ';';
    return strnew(text ? text : "was null");
}

// The items as one line; null is "-".
std::string shown(const ArrayVector<char>& v) {
    std::string out;
    for (int i = 0; i < v.count; ++i) {
        if (i != 0) out += ' ';
        out += v.data[i] ? (*v.data[i] ? v.data[i] : "\"\"") : "-";
    }
    return out;
}

void fill(ArrayVector<char>& v, const std::vector<const char*>& texts) {
    for (const char* text : texts) v.append(strnew(text));
}

void expectNull(int line, const SimpleVector<char*>& v) {
    SCOPED_TRACE(line);
    EXPECT_EQ(nullptr, v.data);
    EXPECT_EQ(0, v.count);
    EXPECT_EQ(0, v.allocateCount);
}

TEST(ArrayVectorConstructor, DefaultIsNull) { expectNull(__LINE__, ArrayVector<char>()); }

TEST(ArrayVectorConstructor, CopiesWithTheFunctionInOrder) {
    ArrayVector<char> source;
    fill(source, {"a", nullptr, "c"});
    copiedItems.clear();
    ArrayVector<char> v(source, &copyAndTell);
    EXPECT_EQ("a;(null);c;", copiedItems);
    EXPECT_EQ("a was null c", shown(v));
    EXPECT_EQ(3, v.allocateCount);
    EXPECT_EQ("a - c", shown(source));
    EXPECT_NE(source[0], v[0]);
    source.removeAll();
    ArrayVector<char> ofNull(source, &copyAndTell);
    expectNull(__LINE__, ofNull);
    fill(source, {"a"});
    source.cutTo(0);
    ArrayVector<char> ofEmpty(source, &copyAndTell);
    expectNull(__LINE__, ofEmpty);
    EXPECT_EQ("a;(null);c;", copiedItems);
}

TEST(ArrayVectorAssign, ReplacesTheContent) {
    ArrayVector<char> source, v;
    fill(source, {"a", nullptr, "c"});
    fill(v, {"x", "y"});
    v.assign(source, &copyOf);
    EXPECT_EQ("a - c", shown(v));
    EXPECT_EQ(3, v.allocateCount);
    EXPECT_NE(source[2], v[2]);
    v.assign(ArrayVector<char>(), &copyOf);
    expectNull(__LINE__, v);
}

TEST(ArrayVectorAssign, ToItselfEmptiesIt) {
    ArrayVector<char> v;
    fill(v, {"a", "b"});
    v.assign(v, &copyOf);
    expectNull(__LINE__, v);
}

TEST(ArrayVectorAppend, TakesTheArray) {
    ArrayVector<char> v;
    char* const text = strnew("a");
    v.append(text);
    EXPECT_EQ(text, v[0]);
    EXPECT_EQ(text, static_cast<const ArrayVector<char>&>(v)[0]);
    v.append(nullptr);
    EXPECT_EQ("a -", shown(v));
    EXPECT_EQ(16, v.allocateCount);
}

TEST(ArrayVectorInsert, TakesTheArrayAtAGoodIndexOnly) {
    ArrayVector<char> v;
    fill(v, {"a", "b"});
    v.insert(1, strnew("x"));
    EXPECT_EQ("a x b", shown(v));
    v.insert(3, strnew("end"));
    EXPECT_EQ("a x b end", shown(v));
    std::unique_ptr<char[]> kept(strnew("kept"));
    v.insert(5, kept.get());
    v.insert(-1, kept.get());
    EXPECT_EQ("a x b end", shown(v));
    EXPECT_STREQ("kept", kept.get());
}

TEST(ArrayVectorReplace, StoresTheNewArray) {
    ArrayVector<char> v;
    fill(v, {"a", "b", nullptr});
    char* const text = strnew("x");
    v.replace(1, text);
    EXPECT_EQ(text, v[1]);
    v.replace(2, strnew("y"));
    v.replace(0, nullptr);
    EXPECT_EQ("- x y", shown(v));
    EXPECT_EQ(3, v.count);
}

TEST(ArrayVectorReplace, ArrayByItselfKeepsIt) {
    ArrayVector<char> v;
    fill(v, {"a", "b"});
    char* const before = v[1];
    v.replace(1, v[1]);
    EXPECT_EQ(before, v[1]);
    EXPECT_EQ("a b", shown(v));
}

TEST(ArrayVectorInsertPtr, CountBeyondAnIntIsExhaustedMemory) {
    ArrayVector<char> v;
    fill(v, {"a", "b"});
    EXPECT_THROW(v.insertPtr(1, INT_MAX), std::bad_alloc);
    EXPECT_THROW(v.insertPtr(2, INT_MAX - 1), std::bad_alloc);
    EXPECT_EQ("a b", shown(v));
}

TEST(ArrayVectorInsertPtr, NewItemsAreNull) {
    ArrayVector<char> v;
    fill(v, {"a", "b"});
    char** gap = v.insertPtr(1, 2);
    EXPECT_EQ(v.data + 1, gap);
    EXPECT_EQ("a - - b", shown(v));
    gap[1] = strnew("x");
    gap = v.insertPtr(4, 1);
    EXPECT_EQ(v.data + 4, gap);
    EXPECT_EQ("a - x b -", shown(v));
    gap = v.insertPtr(0, 0);
    EXPECT_EQ(v.data, gap);
    EXPECT_EQ("a - x b -", shown(v));
    gap = v.insertPtr(5, 20);
    EXPECT_EQ(v.data + 5, gap);
    EXPECT_EQ(25, v.count);
    EXPECT_EQ(256, v.allocateCount);
    for (int i = 5; i < 25; ++i) EXPECT_EQ(nullptr, v.data[i]);
}

TEST(ArrayVectorInsertPtr, BadIndexWithoutItemsIsNull) {
    ArrayVector<char> v;
    fill(v, {"a"});
    EXPECT_EQ(nullptr, v.insertPtr(2, 0));
    EXPECT_EQ(nullptr, v.insertPtr(-1, 0));
    EXPECT_EQ("a", shown(v));
}

TEST(ArrayVectorRemove, ClosesTheGap) {
    ArrayVector<char> v;
    fill(v, {"a", "b", "c"});
    v.remove(3);
    v.remove(-1);
    EXPECT_EQ("a b c", shown(v));
    v.remove(1);
    EXPECT_EQ("a c", shown(v));
    v.remove(1);
    v.remove(0);
    EXPECT_EQ(0, v.count);
    EXPECT_EQ(16, v.allocateCount);
    v.remove(0);
    EXPECT_EQ(0, v.count);
}

// `to` is not checked: an inverted range opens a gap instead, and the caller is to have room for it.
TEST(SimpleVectorRemoveRange, InvertedRangeMakesTheVectorLonger) {
    SimpleVector<int> v;
    v.expand(16);
    for (int i = 0; i < 6; ++i) v.append(i);
    v.removeRange(3, 1);
    EXPECT_EQ(8, v.count);
    const int expected[] = {0, 1, 2, 1, 2, 3, 4, 5};
    for (int i = 0; i < 8; ++i) EXPECT_EQ(expected[i], v.data[i]) << i;
}

TEST(ArrayVectorRemoveRange, InvertedRangeReleasesNothing) {
    ArrayVector<char> v;
    v.expand(16);
    for (const char* text : {"0", "1", "2", "3"}) v.append(strnew(text));
    char* const before[] = {v.data[0], v.data[1], v.data[2], v.data[3]};
    v.removeRange(3, 2);
    EXPECT_EQ(5, v.count);
    EXPECT_EQ(before[0], v.data[0]);
    EXPECT_EQ(before[2], v.data[2]);
    EXPECT_EQ(before[2], v.data[3]);
    EXPECT_EQ(before[3], v.data[4]);
    v.data[3] = nullptr;  // not twice
}

TEST(ArrayVectorRemoveRange, ClosesTheGap) {
    ArrayVector<char> v;
    fill(v, {"a", "b", nullptr, "d", "e"});
    v.removeRange(2, 2);
    EXPECT_EQ("a b - d e", shown(v));
    v.removeRange(1, 4);
    EXPECT_EQ("a e", shown(v));
    v.removeRange(0, 2);
    EXPECT_EQ(0, v.count);
    EXPECT_EQ(16, v.allocateCount);
}

TEST(ArrayVectorCutTo, KeepsTheBlock) {
    ArrayVector<char> v;
    fill(v, {"a", "b", "c"});
    char** const before = v.data;
    v.cutTo(3);
    EXPECT_EQ("a b c", shown(v));
    v.cutTo(1);
    EXPECT_EQ("a", shown(v));
    v.cutTo(0);
    EXPECT_EQ(0, v.count);
    EXPECT_EQ(before, v.data);
    EXPECT_EQ(16, v.allocateCount);
}

// Beyond the count nothing is released, and the count is set all the same.
TEST(ArrayVectorCutTo, MayRaiseTheCount) {
    ArrayVector<char> v;
    fill(v, {"a"});
    v.data[1] = strnew("b");
    v.cutTo(2);
    EXPECT_EQ("a b", shown(v));
}

TEST(ArrayVectorRemoveAll, GivesNull) {
    ArrayVector<char> v;
    fill(v, {"a", nullptr, "c"});
    v.removeAll();
    expectNull(__LINE__, v);
    v.removeAll();
    expectNull(__LINE__, v);
}

TEST(ArrayVectorPack, TakesTheNullItemsOut) {
    struct Row {
        int line;
        std::vector<const char*> items;
        const char* packed;
    };
    const Row rows[] = {
        {__LINE__, {"a", nullptr, "b", nullptr}, "a b"},
        {__LINE__, {nullptr, nullptr, "a"}, "a"},
        {__LINE__, {"a", "b"}, "a b"},
        {__LINE__, {nullptr, nullptr}, ""},
        {__LINE__, {"", nullptr, "b"}, "\"\" b"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.line);
        ArrayVector<char> v;
        fill(v, row.items);
        char** const before = v.data;
        v.pack();
        EXPECT_EQ(row.packed, shown(v));
        EXPECT_EQ(before, v.data);
        EXPECT_EQ(16, v.allocateCount);
    }
    ArrayVector<char> none;
    none.pack();
    expectNull(__LINE__, none);
}

TEST(ArrayVectorStealFrom, TakesTheFields) {
    ArrayVector<char> v, source;
    fill(v, {"x"});
    fill(source, {"a", nullptr});
    char** const before = source.data;
    v.stealFrom(source);
    EXPECT_EQ(before, v.data);
    EXPECT_EQ("a -", shown(v));
    EXPECT_EQ(16, v.allocateCount);
    expectNull(__LINE__, source);
    v.stealFrom(source);
    expectNull(__LINE__, v);
}

TEST(ArrayVectorMoveRangeTo, OwnershipMovesWithTheItems) {
    ArrayVector<char> source, target;
    fill(source, {"a", "b", "c"});
    fill(target, {"x"});
    char* const b = source[1];
    source.moveRangeTo(1, 3, target);
    EXPECT_EQ("a", shown(source));
    EXPECT_EQ("x b c", shown(target));
    EXPECT_EQ(b, target[1]);
    source.moveRangeTo(0, 1, target, 0);
    EXPECT_EQ("a x b c", shown(target));
    EXPECT_EQ(0, source.count);
}

// ---- StringVector ----

template <class... Texts>
void fillStrings(StringVector<char>& v, Texts... texts) {
    (v.append(static_cast<const char*>(texts)), ...);
}

const char* const kNoText = nullptr;
const char kWithZero[] = "ab\0cd";

TEST(StringVectorAppend, CopiesEveryForm) {
    const char text[] = "text";
    const CharVector vector("vector");
    const ChArr array("array");
    StringVector<char> v;
    v.append(text);
    v.append(text, 2);
    v.append(text + 1, text + 3);
    v.append(std::string("string"));
    v.append(vector);
    v.append(array);
    v.append(ChPair("pair"));
    v << array;
    v << ChPair("pair");
    EXPECT_EQ("text te ex string vector array pair array pair", shown(v));
    EXPECT_NE(text, v[0]);
    EXPECT_NE(vector.data, v[4]);
    EXPECT_NE(array.data, v[5]);
}

TEST(StringVectorAppend, NullSourceGivesANullItem) {
    StringVector<char> v;
    v.append(kNoText);
    v.append(kNoText, 0);
    v.append(kNoText, kNoText);
    v.append(CharVector());
    v.append(ChArr());
    v.append(ChPair());
    v << ChArr();
    v << ChPair();
    EXPECT_EQ("- - - - - - - -", shown(v));
}

TEST(StringVectorAppend, EmptySourceGivesAnEmptyText) {
    CharVector truncated("text");
    truncated.truncate();
    StringVector<char> v;
    v.append("");
    v.append("x", 0);
    v.append(kWithZero, kWithZero);
    v.append(std::string());
    v.append(truncated);
    v.append(ChArr(""));
    v.append(ChPair(""));
    v << ChArr("");
    v << ChPair("");
    EXPECT_EQ("\"\" \"\" \"\" \"\" \"\" \"\" \"\" \"\" \"\"", shown(v));
}

TEST(StringVectorAppend, CountedFormsTakeZeroBytesAlong) {
    const std::string text(kWithZero, 5);
    StringVector<char> v;
    v.append(kWithZero, 5);
    v.append(kWithZero, kWithZero + 5);
    v.append(text);
    v.append(CharVector(text));
    v.append(ChPair(text));
    v << ChPair(text);
    ASSERT_EQ(6, v.count);
    for (int i = 0; i < v.count; ++i) EXPECT_EQ(0, std::memcmp(kWithZero, v[i], 6)) << i;
    v.append(kWithZero);
    EXPECT_STREQ("ab", v[6]);
}

TEST(StringVectorAppend, TakesAnItemOfItsOwn) {
    StringVector<char> v;
    for (int i = 0; i < 16; ++i) v.append("text");
    v.append(v[3]);  // the block is replaced, the arrays stay
    EXPECT_STREQ("text", v[16]);
    EXPECT_NE(v[3], v[16]);
}

TEST(StringVectorAppendSteal, TakesTheArray) {
    StringVector<char> v;
    char* const text = strnew("text");
    v.append_steal(text);
    v.append_steal(nullptr);
    EXPECT_EQ(text, v[0]);
    EXPECT_EQ("text -", shown(v));
}

TEST(StringVectorInsert, CopiesEveryForm) {
    const char text[] = "text";
    StringVector<char> v;
    fillStrings(v, "a", "b");
    v.insert(1, text);
    v.insert(0, text, 2);
    v.insert(4, text + 1, text + 3);
    v.insert(1, kNoText);
    v.insert(1, kNoText, 0);
    v.insert(1, kNoText, kNoText);
    EXPECT_EQ("te - - - a text b ex", shown(v));
}

TEST(StringVectorReplace, CopiesEveryForm) {
    const char text[] = "text";
    StringVector<char> v;
    fillStrings(v, "a", "b", "c", "d", kNoText);
    v.replace(0, text);
    v.replace(1, text, 2);
    v.replace(2, text + 1, text + 3);
    v.replace(3, kNoText);
    v.replace(4, "");
    EXPECT_EQ("text te ex - \"\"", shown(v));
    v.replace(0, kNoText, 0);
    v.replace(1, kNoText, kNoText);
    EXPECT_EQ("- - ex - \"\"", shown(v));
}

TEST(StringVectorNull, StoresNull) {
    StringVector<char> v;
    fillStrings(v, "a", "b");
    v.null(0);
    EXPECT_EQ("- b", shown(v));
    v.null(0);
    EXPECT_EQ("- b", shown(v));
}

TEST(StringVectorSortLex, SortsByUnsignedBytesWithNullAsEmpty) {
    StringVector<char> v;
    fillStrings(v, "b", "\xC3\xA9", "ab", "B", kNoText, "a", "z", "abc");
    v.sort_lex();
    EXPECT_EQ("- B a ab abc b z \xC3\xA9", shown(v));
    StringVector<char> one, none;
    one.append("x");
    one.sort_lex();
    none.sort_lex();
    EXPECT_EQ("x", shown(one));
    expectNull(__LINE__, none);
}

TEST(StringVectorSortLex, NullAndEmptyComeBeforeAnyText) {
    StringVector<char> v;
    fillStrings(v, "a", "", kNoText, "", "0");
    v.sort_lex();
    ASSERT_EQ(5, v.count);
    for (int i = 0; i < 3; ++i) EXPECT_TRUE(!v[i] || !*v[i]) << i;
    EXPECT_STREQ("0", v[3]);
    EXPECT_STREQ("a", v[4]);
}

struct SearchRow {
    int line;
    const char* key;
    int exact;
    int ascii;
    int utf8;
};

TEST(StringVectorSsearch, FindsTheFirstByItsText) {
    StringVector<char> v;
    fillStrings(v, "one", "Two", "two", "ONE", "tw", "", kNoText, "one");
    const SearchRow rows[] = {{__LINE__, "one", 0, 0, 0},    {__LINE__, "two", 2, 1, 1},
                              {__LINE__, "ONE", 3, 0, 0},    {__LINE__, "tw", 4, 4, 4},
                              {__LINE__, "TW", -1, 4, 4},    {__LINE__, "t", -1, -1, -1},
                              {__LINE__, "", 5, 5, 5},       {__LINE__, "twos", -1, -1, -1},
                              {__LINE__, "onf", -1, -1, -1}, {__LINE__, nullptr, 5, 5, 5}};
    for (const SearchRow& row : rows) {
        SCOPED_TRACE(row.line);
        const ChPair key(row.key);
        EXPECT_EQ(row.exact, v.ssearch(key));
        EXPECT_EQ(row.ascii, v.ssearch_i_ascii(key));
        EXPECT_EQ(row.utf8, v.ssearch_i_utf8(key));
    }
}

TEST(StringVectorSsearch, EmptyKeyFindsANullItem) {
    StringVector<char> v;
    fillStrings(v, "a", kNoText);
    EXPECT_EQ(1, v.ssearch(ChPair("")));
    EXPECT_EQ(1, v.ssearch_i_ascii(ChPair("")));
    EXPECT_EQ(1, v.ssearch_i_utf8(ChPair("")));
    EXPECT_EQ(1, v.ssearch(ChPair()));
    EXPECT_EQ(1, v.ssearch_i_ascii(ChPair()));
    EXPECT_EQ(1, v.ssearch_i_utf8(ChPair()));
    v.removeAll();
    EXPECT_EQ(-1, v.ssearch(ChPair("")));
    EXPECT_EQ(-1, v.ssearch_i_ascii(ChPair("")));
    EXPECT_EQ(-1, v.ssearch_i_utf8(ChPair("")));
}

TEST(StringVectorSsearch, KeyNeedsNoTerminator) {
    StringVector<char> v;
    fillStrings(v, "onetwo", "one");
    EXPECT_EQ(1, v.ssearch(ChPair("onetwo", 3)));
    EXPECT_EQ(1, v.ssearch_i_ascii(ChPair("ONETWO", 3)));
    EXPECT_EQ(1, v.ssearch_i_utf8(ChPair("ONETWO", 3)));
}

// How characters fold depends on the character locale that the tables were built in.
TEST(StringVectorSsearchIUtf8, FoldsCharactersOfOneByteLength) {
    StringVector<char> v;
    fillStrings(v, "caf\xC3\xA9", "\xC4\xB1");
    const bool folds = chr_upper_table_utf16[0xE9] == chr_upper_table_utf16[0xC9];
    EXPECT_EQ(folds ? 0 : -1, v.ssearch_i_utf8(ChPair("CAF\xC3\x89")));
    EXPECT_EQ(-1, v.ssearch_i_utf8(ChPair("I")));  // the dotless i folds to it from two bytes
    EXPECT_EQ(-1, v.ssearch_i_utf8(ChPair("CAFE")));
}

TEST(StringVectorCopy, IsDeepAndKeepsNullAndEmptyApart) {
    StringVector<char> source;
    fillStrings(source, "a", kNoText, "");
    StringVector<char> copy(source);
    EXPECT_EQ("a - \"\"", shown(copy));
    EXPECT_EQ(3, copy.allocateCount);
    EXPECT_NE(source[0], copy[0]);
    EXPECT_NE(source[2], copy[2]);
    ArrayVector<char> array;
    fill(array, {"x", nullptr, ""});
    StringVector<char> fromArray(array);
    EXPECT_EQ("x - \"\"", shown(fromArray));
    EXPECT_EQ(3, fromArray.allocateCount);
    EXPECT_NE(array[0], fromArray[0]);
    EXPECT_EQ("x - \"\"", shown(array));
    StringVector<char> ofNull{StringVector<char>()};
    expectNull(__LINE__, ofNull);
}

TEST(StringVectorAssign, IsDeep) {
    StringVector<char> source, v;
    fillStrings(source, "a", kNoText, "");
    fillStrings(v, "old", "older");
    v = source;
    EXPECT_EQ("a - \"\"", shown(v));
    EXPECT_EQ(3, v.allocateCount);
    EXPECT_NE(source[0], v[0]);
    ArrayVector<char> array;
    fill(array, {"x", nullptr});
    v = array;
    EXPECT_EQ("x -", shown(v));
    EXPECT_EQ(2, v.allocateCount);
    EXPECT_NE(array[0], v[0]);
    v = StringVector<char>();
    expectNull(__LINE__, v);
}

TEST(StringVectorAssign, ToItselfEmptiesIt) {
    StringVector<char> v, w;
    fillStrings(v, "a", "b");
    const StringVector<char>& itself = v;
    v = itself;
    expectNull(__LINE__, v);
    fillStrings(w, "a", "b");
    const ArrayVector<char>& array = w;
    w = array;
    expectNull(__LINE__, w);
}

TEST(StringVectorStreamOperator, TakesEveryText) {
    const std::string string("c");
    const CharVector vector("d");
    char bytes[] = "b";
    StringVector<char> v;
    v << "a";
    v << bytes;
    v << string;
    v << vector;
    v << ChArr("e");
    v << ChPair("fg", 1);
    v << kNoText;
    EXPECT_EQ("a b c d e f -", shown(v));
}

TEST(StringVectorMoveRangeTo, ItselfKeepsEveryArray) {
    StringVector<char> v;
    fillStrings(v, "0", "1", "2", "3", "4", kNoText);
    v.moveRangeTo(3, 5, v, 1);
    EXPECT_EQ("0 3 4 1 2 -", shown(v));
    v.moveRangeTo(0, 1, v, 3);
    EXPECT_EQ("3 4 0 1 2 -", shown(v));
}

// Texts of its own, at the begin of an item and inside it, into a vector with room and into one that has to grow.
TEST(StringVectorSelf, ItemOfItsOwnIsTakenAsItWas) {
    struct Row {
        int line;
        void (*change)(StringVector<char>& v);
        const char* shown;  // after the fillers
    };
    const Row rows[] = {
        {__LINE__, [](StringVector<char>& v) { v.append(v[0]); }, "abcd ef abcd"},
        {__LINE__, [](StringVector<char>& v) { v.append(v[0] + 1, 2); }, "abcd ef bc"},
        {__LINE__, [](StringVector<char>& v) { v.append(v[0] + 1, v[0] + 4); }, "abcd ef bcd"},
        {__LINE__, [](StringVector<char>& v) { v.append(ChPair(v[0], 2)); }, "abcd ef ab"},
        {__LINE__, [](StringVector<char>& v) { v << ChPair(v[0], 2); }, "abcd ef ab"},
        {__LINE__, [](StringVector<char>& v) { v << v[0]; }, "abcd ef abcd"},
        {__LINE__, [](StringVector<char>& v) { v.insert(0, v[0]); }, "abcd abcd ef"},
        {__LINE__, [](StringVector<char>& v) { v.insert(0, v[0] + 1, 2); }, "bc abcd ef"},
        {__LINE__, [](StringVector<char>& v) { v.insert(1, v[0], v[0] + 3); }, "abcd abc ef"},
        {__LINE__, [](StringVector<char>& v) { v.replace(0, v[0]); }, "abcd ef"},
        {__LINE__, [](StringVector<char>& v) { v.replace(0, v[0] + 1); }, "bcd ef"},
        {__LINE__, [](StringVector<char>& v) { v.replace(0, v[0] + 1, 2); }, "bc ef"},
        {__LINE__, [](StringVector<char>& v) { v.replace(0, v[0], v[0] + 2); }, "ab ef"},
        {__LINE__, [](StringVector<char>& v) { v.replace(1, v[0]); }, "abcd abcd"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.line);
        StringVector<char> roomy, full;
        fillStrings(roomy, "abcd", "ef");
        fillStrings(full, "abcd", "ef");
        full.insertPtr(2, 14);
        row.change(roomy);
        row.change(full);
        full.pack();
        EXPECT_EQ(row.shown, shown(roomy));
        EXPECT_EQ(row.shown, shown(full));
    }
}

TEST(StringVectorInverted, RangeOrLengthIsAnEmptyText) {
    const char text[] = "abcd";
    const ChPair inverted(text + 3, text + 1);
    StringVector<char> v;
    v.append(inverted);
    v.append(inverted.begin, inverted.end);
    v.append(inverted.begin, inverted.len());
    v << inverted;
    v.insert(0, inverted.begin, inverted.end);
    v.insert(0, inverted.begin, inverted.len());
    EXPECT_EQ("\"\" \"\" \"\" \"\" \"\" \"\"", shown(v));
    v.replace(0, "a");
    v.replace(1, "a");
    EXPECT_EQ(2, v.ssearch(inverted));
    EXPECT_EQ(2, v.ssearch_i_ascii(inverted));
    EXPECT_EQ(2, v.ssearch_i_utf8(inverted));
    v.replace(0, inverted.begin, inverted.end);
    v.replace(1, inverted.begin, inverted.len());
    EXPECT_EQ("\"\" \"\" \"\" \"\" \"\" \"\"", shown(v));
}

struct OpenedStrings : StringVector<char> {
    using StringVector<char>::init;
};

TEST(StringVectorInit, CopiesTheStrings) {
    ArrayVector<char> array;
    fill(array, {"x", nullptr});
    OpenedStrings v;
    v.init(array);
    EXPECT_EQ("x -", shown(v));
    EXPECT_EQ(2, v.allocateCount);
    EXPECT_NE(array[0], v[0]);
}

// ---- ObjectVector, ArrayHolder and what is exported for its own sake ----

std::string destroyed;

class Object {
public:
    explicit Object(char name) : name_(name) {}
    Object(const Object&) = delete;
    void operator=(const Object&) = delete;
    virtual ~Object() {
        destroyed += name_;
        destroyed += ';';
    }

protected:
    char name_;
};

class Derived : public Object {
public:
    explicit Derived(char name) : Object(name) {}
    ~Derived() override { destroyed += "derived "; }
};

TEST(ObjectVectorDestructor, DestroysTheObjectsInIndexOrder) {
    destroyed.clear();
    {
        ObjectVector<Object> v;
        v.append(new Object('a'));
        v.append(new Derived('b'));
        v.append(nullptr);
        v.append(new Derived('c'));
        v.insert(0, new Object('d'));
        EXPECT_EQ("", destroyed);
    }
    EXPECT_EQ("d;a;derived b;derived c;", destroyed);
    destroyed.clear();
    { ObjectVector<Object> none; }
    EXPECT_EQ("", destroyed);
}

TEST(ObjectVectorInsert, TakesTheObjectAtAGoodIndexOnly) {
    destroyed.clear();
    std::unique_ptr<Object> kept(new Object('x'));
    {
        ObjectVector<Object> v;
        v.insert(0, new Object('b'));
        v.insert(0, new Object('a'));
        v.insert(2, new Derived('c'));
        v.insert(-1, kept.get());
        v.insert(4, kept.get());
        EXPECT_EQ(3, v.count);
        EXPECT_EQ("", destroyed);
    }
    EXPECT_EQ("a;b;derived c;", destroyed);
}

TEST(ArrayHolder, HoldsNothingAtFirst) {
    ArrayHolder<char> holder;
    EXPECT_EQ(nullptr, holder.data);
    EXPECT_EQ(nullptr, holder.steal());
}

TEST(ArrayHolder, HandsItsArrayOut) {
    ArrayHolder<char> holder;
    holder.data = strnew("text");
    char* const before = holder.data;
    std::unique_ptr<char[]> stolen(holder.steal());
    EXPECT_EQ(before, stolen.get());
    EXPECT_EQ(nullptr, holder.data);
}

static_assert(std::is_base_of<SimpleVector<bool>, SimpleVector_bool_dummy>::value, "");
static_assert(std::is_base_of<StringVector<char>, StringVector_char_dummy>::value, "");
static_assert(std::is_base_of<StructVector<ChPair>, StructVector_ChPair_dummy>::value, "");
static_assert(sizeof(SimpleVector_bool_dummy) == 16 && sizeof(StringVector_char_dummy) == 16 &&
                  sizeof(StructVector_ChPair_dummy) == 16,
              "no members of their own");

// Copies, moves and assigns both classes in the same way and expects the same of both.
template <class Dummy, class Base>
void expectBehavesAsItsBase(const std::function<void(Base&)>& fillOne) {
    static_assert(std::is_default_constructible<Dummy>::value && std::is_copy_constructible<Dummy>::value &&
                      std::is_move_constructible<Dummy>::value && std::is_copy_assignable<Dummy>::value &&
                      std::is_move_assignable<Dummy>::value,
                  "all that the compiler generates");
    const auto expectSame = [](int line, const Base& base, const Base& dummy) {
        SCOPED_TRACE(line);
        EXPECT_EQ(base.count, dummy.count);
        EXPECT_EQ(base.allocateCount, dummy.allocateCount);
        EXPECT_EQ(base.data == nullptr, dummy.data == nullptr);
    };
    Base base;
    Dummy dummy;
    expectSame(__LINE__, base, dummy);
    fillOne(base);
    fillOne(dummy);
    ASSERT_LT(0, dummy.count);
    expectSame(__LINE__, base, dummy);

    Base baseCopy(base);
    Dummy dummyCopy(dummy);
    expectSame(__LINE__, baseCopy, dummyCopy);
    EXPECT_NE(dummy.data, dummyCopy.data);

    Base baseMoved(std::move(base));
    Dummy dummyMoved(std::move(dummy));
    expectSame(__LINE__, baseMoved, dummyMoved);
    expectSame(__LINE__, base, dummy);

    Base baseAssigned;
    Dummy dummyAssigned;
    baseAssigned = baseCopy;
    EXPECT_EQ(&dummyAssigned, &(dummyAssigned = dummyCopy));
    expectSame(__LINE__, baseAssigned, dummyAssigned);
    EXPECT_NE(dummyCopy.data, dummyAssigned.data);

    Base baseMoveAssigned;
    Dummy dummyMoveAssigned;
    baseMoveAssigned = std::move(baseCopy);
    EXPECT_EQ(&dummyMoveAssigned, &(dummyMoveAssigned = std::move(dummyCopy)));
    expectSame(__LINE__, baseMoveAssigned, dummyMoveAssigned);
    expectSame(__LINE__, baseCopy, dummyCopy);
}

TEST(VectorDummies, BehaveAsTheirBases) {
    expectBehavesAsItsBase<SimpleVector_bool_dummy, SimpleVector<bool>>([](SimpleVector<bool>& v) {
        v.append(true);
        v.append(false);
    });
    expectBehavesAsItsBase<StringVector_char_dummy, StringVector<char>>([](StringVector<char>& v) {
        v.append("a");
        v.append(kNoText);
    });
    expectBehavesAsItsBase<StructVector_ChPair_dummy, StructVector<ChPair>>(
        [](StructVector<ChPair>& v) { v.append(ChPair("a")); });
}

TEST(VectorDummies, CopiesOfStringsAreDeep) {
    StringVector_char_dummy v;
    v.append("a");
    StringVector_char_dummy copy(v), assigned;
    assigned = v;
    EXPECT_STREQ("a", copy[0]);
    EXPECT_NE(v[0], copy[0]);
    EXPECT_STREQ("a", assigned[0]);
    EXPECT_NE(v[0], assigned[0]);
}

TEST(RbTreeNilVoid, IsAVariableThatTheLibraryLeavesAlone) {
    static_assert(std::is_same<decltype(RB_TREE_NIL_VOID), void*>::value, "for clients");
    void* const before = RB_TREE_NIL_VOID;
    int mark = 0;
    RB_TREE_NIL_VOID = &mark;
    SimpleVector<char> v;
    v.append('x');
    v.removeAll();
    EXPECT_EQ(&mark, RB_TREE_NIL_VOID);
    EXPECT_EQ(0, mark);
    RB_TREE_NIL_VOID = before;
}

}  // namespace
