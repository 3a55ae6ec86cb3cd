#include <velmora/containers/vectors.h>

#include <gtest/gtest.h>

#include <cstring>
#include <new>
#include <string>

#include "tests/support/allocations.h"

#ifdef VELMORA_TEST_ASAN
#include <sanitizer/lsan_interface.h>
#endif

namespace {

using support::AllocationCounter;
using support::failEachAllocation;

const char* const kNoText = nullptr;

// What is allocated while it lives may be lost, where a loss is the defined behaviour.
class AllowedLeak {
public:
    AllowedLeak() {
#ifdef VELMORA_TEST_ASAN
        __lsan_disable();
#endif
    }
    AllowedLeak(const AllowedLeak&) = delete;
    void operator=(const AllowedLeak&) = delete;
    ~AllowedLeak() {
#ifdef VELMORA_TEST_ASAN
        __lsan_enable();
#endif
    }
};

template <class V>
void fillChars(V& v, const char* text) {
    for (; *text; ++text) v.append(*text);
}

template <class... Texts>
void fillStrings(StringVector<char>& v, Texts... texts) {
    (v.append(static_cast<const char*>(texts)), ...);
}

// Runs `operation` on a vector and, when an allocation fails, expects its fields and items to be what they were.
template <class V, class Operation>
void unchangedWhenFailing(V& v, Operation operation) {
    auto* const data = v.data;
    const int count = v.count;
    const int allocated = v.allocateCount;
    char bytes[256];  // on the stack: no allocation but the operation's own may be counted
    const std::size_t size = sizeof(*data) * static_cast<std::size_t>(count);
    ASSERT_LE(size, sizeof(bytes));
    std::memcpy(bytes, static_cast<const void*>(data), size);
    try {
        operation(v);
    } catch (const std::bad_alloc&) {
        EXPECT_EQ(data, v.data);
        EXPECT_EQ(count, v.count);
        EXPECT_EQ(allocated, v.allocateCount);
        EXPECT_EQ(0, std::memcmp(bytes, static_cast<const void*>(v.data), size));
        throw;
    }
}

// 16 items, so that one more does not fit. The vector is made in one allocation; the rest is the operation's.
template <class Operation>
int growSixteen(Operation operation) {
    return failEachAllocation([&] {
        SimpleVector<char> v;
        fillChars(v, "0123456789abcdef");
        unchangedWhenFailing(v, operation);
    });
}

TEST(SimpleVectorMemory, GrowthThatFailsChangesNothing) {
    EXPECT_EQ(2, growSixteen([](SimpleVector<char>& v) { v.expand(17); }));
    EXPECT_EQ(2, growSixteen([](SimpleVector<char>& v) { v.prepare(17); }));
    EXPECT_EQ(2, growSixteen([](SimpleVector<char>& v) { v.append('x'); }));
    EXPECT_EQ(2, growSixteen([](SimpleVector<char>& v) { v.appendPtr(1); }));
    EXPECT_EQ(2, growSixteen([](SimpleVector<char>& v) { v.append0(1); }));
    EXPECT_EQ(2, growSixteen([](SimpleVector<char>& v) { v.insert(3, 'x'); }));
    EXPECT_EQ(2, growSixteen([](SimpleVector<char>& v) { v.insertPtr(3, 1); }));
}

TEST(SimpleVectorMemory, MoveThatFailsChangesNeitherVector) {
    EXPECT_EQ(3, failEachAllocation([] {
                  SimpleVector<char> source, target;
                  fillChars(source, "abc");
                  fillChars(target, "0123456789abcdef");
                  unchangedWhenFailing(source, [&](SimpleVector<char>&) {
                      unchangedWhenFailing(target, [&](SimpleVector<char>&) { source.moveRangeTo(0, 2, target, 1); });
                  });
              }));
    EXPECT_EQ(3, failEachAllocation([] {
                  SimpleVector<char> source, target;
                  fillChars(source, "abc");
                  fillChars(target, "0123456789abcdef");
                  unchangedWhenFailing(source, [&](SimpleVector<char>&) {
                      unchangedWhenFailing(target, [&](SimpleVector<char>&) { source.moveRangeTo(0, 2, target); });
                  });
              }));
}

TEST(SimpleVectorMemory, CopiesLeakNothing) {
    EXPECT_EQ(2, failEachAllocation([] {
                  SimpleVector<char> v;
                  fillChars(v, "abc");
                  SimpleVector<char> copy(v);
              }));
    EXPECT_EQ(3, failEachAllocation([] {
                  SimpleVector<char> v, target;
                  fillChars(v, "abc");
                  fillChars(target, "x");
                  target = v;
              }));
    EXPECT_EQ(2, failEachAllocation([] {
                  SimpleVector<ChPair> v;
                  v.append(ChPair("a"));
                  StructVector<ChPair> copy(v);
              }));
}

TEST(SimpleVectorMemory, AllocatesNothingWhileThereIsRoom) {
    SimpleVector<char> v;
    v.append('0');
    AllocationCounter counter;
    while (v.count < 16) v.append('x');
    v.cutTo(4);
    v.insert(2, 'y');
    v.insertPtr(0, 3);
    v.appendPtr(2);
    v.append0(2);
    v.remove(0);
    v.removeRange(1, 3);
    v.prepare(16);
    v.expand(16);
    v.ssearch('x');
    EXPECT_EQ(0, counter.allocations());
    v.append('z');
    EXPECT_EQ(1, counter.allocations());
    EXPECT_EQ(0, counter.live());
}

TEST(SimpleVectorMemory, OneItemAtATimeAllocatesAtTheSteps) {
    SimpleVector<char> v;
    AllocationCounter counter;
    for (int i = 0; i < 5000; ++i) v.append('x');
    EXPECT_EQ(7, counter.allocations());  // 16, 256, 512, 1024, 2048, 4096, 8192
    EXPECT_EQ(1, counter.live());
}

TEST(SimpleVectorMemory, StealingAllocatesNothing) {
    SimpleVector<char> v, source;
    fillChars(v, "a");
    fillChars(source, "b");
    AllocationCounter counter;
    v.stealFrom(source);
    EXPECT_EQ(0, counter.allocations());
    EXPECT_EQ(-1, counter.live());
    v.removeAll();
    EXPECT_EQ(-2, counter.live());
}

TEST(SimpleVectorMemory, PrepareHoldsBothBlocksAndNoMore) {
    SimpleVector<char> v;
    v.prepare(1000);
    AllocationCounter counter;
    v.prepare(3000);
    EXPECT_EQ(1, counter.allocations());
    EXPECT_EQ(0, counter.live());
    EXPECT_EQ(3000, counter.peakBytes());
}

// ---- arrays ----

long liveArrays(const AllocationCounter& counter) { return counter.live(); }

TEST(ArrayVectorMemory, RemovingReleasesTheArrays) {
    ArrayVector<char> v;
    v.expand(16);
    AllocationCounter counter;
    for (int i = 0; i < 10; ++i) v.append(strnew("text"));
    EXPECT_EQ(10, liveArrays(counter));
    v.remove(3);
    EXPECT_EQ(9, liveArrays(counter));
    v.remove(20);
    v.remove(-1);
    EXPECT_EQ(9, liveArrays(counter));
    v.removeRange(1, 4);
    EXPECT_EQ(6, liveArrays(counter));
    v.removeRange(2, 2);
    v.removeRange(3, 1 + 2);
    EXPECT_EQ(6, liveArrays(counter));
    v.replace(0, nullptr);
    EXPECT_EQ(5, liveArrays(counter));
    v.replace(1, strnew("x"));
    EXPECT_EQ(5, liveArrays(counter));
    v.cutTo(3);
    EXPECT_EQ(2, liveArrays(counter));
    v.cutTo(3);
    EXPECT_EQ(2, liveArrays(counter));
    v.pack();
    EXPECT_EQ(2, liveArrays(counter));
    v.removeAll();
    EXPECT_EQ(-1, liveArrays(counter));  // the block is gone too
}

TEST(ArrayVectorMemory, DestructorReleasesEverything) {
    AllocationCounter counter;
    {
        ArrayVector<char> v;
        v.append(strnew("a"));
        v.append(nullptr);
        v.append(strnew("b"));
        EXPECT_EQ(3, liveArrays(counter));
    }
    EXPECT_EQ(0, liveArrays(counter));
}

// The arrays go before the start of the range is looked at.
TEST(ArrayVectorMemory, RemoveRangeReleasesABadRangeToo) {
    ArrayVector<char> v;
    v.append(strnew("a"));
    v.append(strnew("b"));
    SimpleVector<char*>& base = v;
    base.cutTo(1);  // "b" stays where it is
    AllocationCounter counter;
    v.removeRange(1, 2);
    EXPECT_EQ(-1, liveArrays(counter));
    EXPECT_EQ(1, v.count);
    EXPECT_STREQ("a", v[0]);
}

TEST(ArrayVectorMemory, StealingReleasesWhatWasThere) {
    ArrayVector<char> v, source;
    v.append(strnew("a"));
    v.append(strnew("b"));
    source.append(strnew("c"));
    AllocationCounter counter;
    v.stealFrom(source);
    EXPECT_EQ(0, counter.allocations());
    EXPECT_EQ(-3, liveArrays(counter));
}

TEST(ArrayVectorMemory, AssignReleasesWhatWasThere) {
    ArrayVector<char> v, source;
    v.append(strnew("a"));
    v.append(strnew("b"));
    source.append(strnew("c"));
    AllocationCounter counter;
    v.assign(source, [](const char* text) { return strnew(text); });
    EXPECT_EQ(-1, liveArrays(counter));
}

struct Opened : ArrayVector<char> {
    using ArrayVector<char>::deallocateAR;
};

TEST(ArrayVectorMemory, DeallocateARLeavesBlockAndFields) {
    Opened v;
    v.append(strnew("a"));
    v.append(strnew("b"));
    char** const block = v.data;
    AllocationCounter counter;
    v.deallocateAR();
    EXPECT_EQ(-2, liveArrays(counter));
    EXPECT_EQ(block, v.data);
    EXPECT_EQ(2, v.count);
    EXPECT_EQ(16, v.allocateCount);
    static_cast<SimpleVector<char*>&>(v).cutTo(0);
}

TEST(ArrayVectorMemory, CopyingThatFailsLeaksNothing) {
    // Two arrays and a block for the source, the same again for the copy.
    EXPECT_EQ(6, failEachAllocation([] {
                  StringVector<char> source;
                  fillStrings(source, "a", kNoText, "c");
                  ArrayVector<char> copy(source, [](const char* text) { return strnew(text); });
              }));
    EXPECT_EQ(6, failEachAllocation([] {
                  StringVector<char> source;
                  fillStrings(source, "a", kNoText, "c");
                  ArrayVector<char> copy;
                  copy.assign(source, [](const char* text) { return strnew(text); });
              }));
}

TEST(ArrayVectorMemory, InsertPtrThatFailsChangesNothing) {
    EXPECT_EQ(2, failEachAllocation([] {
                  ArrayVector<char> v;
                  v.insertPtr(0, 16);
                  unchangedWhenFailing(v, [](ArrayVector<char>& w) { w.insertPtr(3, 1); });
              }));
}

// The vector owns what it is given from the call on; with a bad index it is given nothing.
TEST(ArrayVectorMemory, ArrayThatFindsNoRoomIsReleased) {
    const auto check = [](auto operation) {
        return failEachAllocation([&] {
            ArrayVector<char> v;
            v.insertPtr(0, 16);
            unchangedWhenFailing(v, operation);
        });
    };
    EXPECT_EQ(3, check([](ArrayVector<char>& v) { v.append(strnew("text")); }));
    EXPECT_EQ(3, check([](ArrayVector<char>& v) { v.insert(0, strnew("text")); }));
    EXPECT_EQ(3, check([](ArrayVector<char>& v) { v.insert(16, strnew("text")); }));
    EXPECT_EQ(2, check([](ArrayVector<char>& v) {
                  char* const text = strnew("text");
                  v.insert(-1, text);
                  v.insert(17, text);
                  delete[] text;
              }));
}

// ---- strings ----

// 16 null items, so that one more does not fit: one allocation is the text's, one is the block's.
template <class Operation>
int addToSixteen(Operation operation) {
    return failEachAllocation([&] {
        StringVector<char> v;
        v.insertPtr(0, 16);
        unchangedWhenFailing(v, operation);
    });
}

TEST(StringVectorMemory, AppendThatFailsChangesNothing) {
    const std::string string("text");
    const CharVector vector("text");
    const ChArr array("text");
    const ChPair pair("text");
    EXPECT_EQ(3, addToSixteen([](StringVector<char>& v) { v.append("text"); }));
    EXPECT_EQ(3, addToSixteen([](StringVector<char>& v) { v.append("text", 2); }));
    EXPECT_EQ(3, addToSixteen([&](StringVector<char>& v) { v.append(pair.begin, pair.end); }));
    EXPECT_EQ(3, addToSixteen([&](StringVector<char>& v) { v.append(string); }));
    EXPECT_EQ(3, addToSixteen([&](StringVector<char>& v) { v.append(vector); }));
    EXPECT_EQ(3, addToSixteen([&](StringVector<char>& v) { v.append(array); }));
    EXPECT_EQ(3, addToSixteen([&](StringVector<char>& v) { v.append(pair); }));
    EXPECT_EQ(3, addToSixteen([&](StringVector<char>& v) { v << array; }));
    EXPECT_EQ(3, addToSixteen([&](StringVector<char>& v) { v << pair; }));
    EXPECT_EQ(2, addToSixteen([](StringVector<char>& v) { v.append(kNoText); }));
}

TEST(StringVectorMemory, InsertThatFailsChangesNothing) {
    const ChPair pair("text");
    EXPECT_EQ(3, addToSixteen([](StringVector<char>& v) { v.insert(3, "text"); }));
    EXPECT_EQ(3, addToSixteen([](StringVector<char>& v) { v.insert(3, "text", 2); }));
    EXPECT_EQ(3, addToSixteen([&](StringVector<char>& v) { v.insert(3, pair.begin, pair.end); }));
}

TEST(StringVectorMemory, AppendStealThatFailsReleasesTheText) {
    EXPECT_EQ(3, addToSixteen([](StringVector<char>& v) { v.append_steal(strnew("text")); }));
}

TEST(StringVectorMemory, ReplaceThatFailsKeepsTheOldText) {
    const ChPair pair("text");
    const auto check = [](auto replace) {
        return failEachAllocation([&] {
            StringVector<char> v;
            fillStrings(v, "old");
            unchangedWhenFailing(v, [&](StringVector<char>& w) {
                try {
                    replace(w);
                } catch (const std::bad_alloc&) {
                    EXPECT_STREQ("old", w[0]);
                    throw;
                }
            });
        });
    };
    EXPECT_EQ(3, check([](StringVector<char>& v) { v.replace(0, "text"); }));
    EXPECT_EQ(3, check([](StringVector<char>& v) { v.replace(0, "text", 2); }));
    EXPECT_EQ(3, check([&](StringVector<char>& v) { v.replace(0, pair.begin, pair.end); }));
}

TEST(StringVectorMemory, CopyingThatFailsLeaksNothing) {
    // Two arrays and a block for the source, the same again for the copy.
    EXPECT_EQ(6, failEachAllocation([] {
                  StringVector<char> source;
                  fillStrings(source, "a", kNoText, "c");
                  StringVector<char> copy(source);
              }));
    EXPECT_EQ(6, failEachAllocation([] {
                  StringVector<char> source;
                  fillStrings(source, "a", kNoText, "c");
                  StringVector<char> copy(static_cast<const ArrayVector<char>&>(source));
              }));
    EXPECT_EQ(8, failEachAllocation([] {
                  StringVector<char> source, target;
                  fillStrings(source, "a", kNoText, "c");
                  fillStrings(target, "old");
                  target = source;
              }));
    EXPECT_EQ(8, failEachAllocation([] {
                  StringVector<char> source, target;
                  fillStrings(source, "a", kNoText, "c");
                  fillStrings(target, "old");
                  target = static_cast<const ArrayVector<char>&>(source);
              }));
}

TEST(StringVectorMemory, ArraysAreExact) {
    StringVector<char> v;
    v.expand(16);
    AllocationCounter counter;
    v.append("1234567");
    EXPECT_EQ(8, counter.peakBytes());
    v.append("");
    EXPECT_EQ(9, counter.peakBytes());
    v.append("abcdef", 3);
    EXPECT_EQ(13, counter.peakBytes());
    v.append(kNoText);
    EXPECT_EQ(13, counter.peakBytes());
    EXPECT_EQ(3, counter.allocations());
}

TEST(StringVectorMemory, ReplacingAndNullReleaseTheOldText) {
    StringVector<char> v;
    fillStrings(v, "a", "b", "c", "d");
    AllocationCounter counter;
    v.replace(0, "text");
    v.replace(1, "text", 2);
    EXPECT_EQ(0, counter.live());
    v.replace(2, kNoText);
    EXPECT_EQ(-1, counter.live());
    v.null(3);
    EXPECT_EQ(-2, counter.live());
    v.null(3);
    EXPECT_EQ(-2, counter.live());
}

// The copy is made before the index is looked at, and nobody owns it then.
TEST(StringVectorMemory, InsertAtABadIndexLosesItsCopy) {
    StringVector<char> v;
    fillStrings(v, "a");
    const char text[] = "text";
    AllocationCounter counter;
    {
        AllowedLeak allowed;
        v.insert(2, text);
        EXPECT_EQ(1, counter.live());
        v.insert(-1, text, 2);
        EXPECT_EQ(2, counter.live());
        v.insert(5, text, text + 1);
        EXPECT_EQ(3, counter.live());
        v.insert(5, kNoText);
        EXPECT_EQ(3, counter.live());
    }
    EXPECT_EQ(1, v.count);
    EXPECT_STREQ("a", v[0]);
}

TEST(StringVectorMemory, SearchingAndSortingAllocateNothing) {
    StringVector<char> v;
    fillStrings(v, "b", "a", "c");
    const ChPair key("c");
    AllocationCounter counter;
    v.sort_lex();
    EXPECT_EQ(2, v.ssearch(key));
    EXPECT_EQ(2, v.ssearch_i_ascii(key));
    EXPECT_EQ(2, v.ssearch_i_utf8(key));
    EXPECT_EQ(0, counter.allocations());
}

// ---- the others ----

struct Object {
    char text[20] = "";
    virtual ~Object() = default;
};

TEST(ObjectVectorMemory, DestructorReleasesObjectsAndBlock) {
    AllocationCounter counter;
    {
        ObjectVector<Object> v;
        v.append(new Object);
        v.append(nullptr);
        v.append(new Object);
        EXPECT_EQ(3, counter.live());
    }
    EXPECT_EQ(0, counter.live());
}

TEST(ObjectVectorMemory, ObjectThatFindsNoRoomIsDestroyed) {
    const auto check = [](auto operation) {
        return failEachAllocation([&] {
            ObjectVector<Object> v;
            for (int i = 0; i < 16; ++i) v.append(nullptr);
            unchangedWhenFailing(v, operation);
        });
    };
    EXPECT_EQ(3, check([](ObjectVector<Object>& v) { v.append(new Object); }));
    EXPECT_EQ(3, check([](ObjectVector<Object>& v) { v.insert(3, new Object); }));
    EXPECT_EQ(2, check([](ObjectVector<Object>& v) {
                  Object* const object = new Object;
                  v.insert(-1, object);
                  v.insert(17, object);
                  delete object;
              }));
}

TEST(ArrayHolderMemory, DestructorReleasesTheArray) {
    AllocationCounter counter;
    {
        ArrayHolder<char> holder;
        holder.data = strnew("text");
        EXPECT_EQ(1, counter.live());
    }
    EXPECT_EQ(0, counter.live());
    { ArrayHolder<char> none; }
    EXPECT_EQ(0, counter.live());
}

}  // namespace
