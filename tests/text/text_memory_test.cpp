#include <gtest/gtest.h>

#include <cstring>
#include <new>
#include <string>

#include <velmora/containers/vectors.h>
#include <velmora/text/charr.h>
#include <velmora/text/charvector.h>
#include <velmora/text/chpair.h>

#include "tests/support/allocations.h"

namespace {

using support::AllocationCounter;
using support::failEachAllocation;

utf16_string wide(const std::u16string& s) { return utf16_string(s.begin(), s.end()); }

// Runs `operation` on "old text" with every allocation failing in turn and expects `held` afterwards; null is null.
template <class Operation>
int failOnChArr(const char* held, Operation operation) {
    return failEachAllocation([&] {
        ChArr a("old text");
        try {
            operation(a);
        } catch (const std::bad_alloc&) {
            EXPECT_STREQ(held, a.data);
            throw;
        }
    });
}

template <class Operation>
int failOnChArr16(Operation operation) {
    return failEachAllocation([&] {
        ChArr16 a("old text");
        const utf16_t* const before = a.data;
        try {
            operation(a);
        } catch (const std::bad_alloc&) {
            EXPECT_EQ(before, a.data);
            EXPECT_EQ('o', a.data[0]);
            throw;
        }
    });
}

// The same for a vector with spare room.
template <class Operation>
int failOnCharVector(Operation operation) {
    return failEachAllocation([&] {
        CharVector v;
        v.append("old text");
        const char* const before = v.data;
        try {
            operation(v);
        } catch (const std::bad_alloc&) {
            EXPECT_EQ(before, v.data);
            EXPECT_EQ(8, v.count);
            EXPECT_EQ(16, v.allocateCount);
            EXPECT_STREQ("old text", v.data);
            throw;
        }
    });
}

TEST(ChArrMemory, ConstructorsLeakNothing) {
    const utf16_string text16 = wide(u"text");
    const std::string string("text");
    const CharVector vector("text");
    const ChArr array("text");
    const ChArr16 array16("text");
    EXPECT_EQ(1, failEachAllocation([] { ChArr a("text"); }));
    EXPECT_EQ(1, failEachAllocation([&] { ChArr a(array.data, array.data + 2); }));
    EXPECT_EQ(1, failEachAllocation([] { ChArr a(ChPair("text")); }));
    EXPECT_EQ(1, failEachAllocation([&] { ChArr a(array); }));
    EXPECT_EQ(1, failEachAllocation([&] { ChArr a(vector); }));
    EXPECT_EQ(1, failEachAllocation([&] { ChArr a(string); }));
    EXPECT_EQ(1, failEachAllocation([&] { ChArr a(text16.c_str()); }));
    EXPECT_EQ(1, failEachAllocation([&] { ChArr a(text16.data(), text16.data() + 2); }));
    EXPECT_EQ(1, failEachAllocation([&] { ChArr a(text16); }));
    EXPECT_EQ(1, failEachAllocation([&] { ChArr a(array16); }));
}

TEST(ChArrMemory, AssignmentThatFailsKeepsTheOldText) {
    const char old[] = "old text";
    const utf16_string text16 = wide(u"text");
    const std::string string("text");
    const CharVector vector("text");
    EXPECT_EQ(2, failOnChArr(old, [](ChArr& a) { a = "text"; }));
    EXPECT_EQ(2, failOnChArr(old, [](ChArr& a) { a = a.data + 1; }));
    EXPECT_EQ(2, failOnChArr(old, [](ChArr& a) { a = ChPair("text"); }));
    EXPECT_EQ(2, failOnChArr(old, [&](ChArr& a) { a = vector; }));
    EXPECT_EQ(2, failOnChArr(old, [&](ChArr& a) { a = string; }));
    EXPECT_EQ(2, failOnChArr(old, [&](ChArr& a) { a = text16.c_str(); }));
    EXPECT_EQ(2, failOnChArr(old, [&](ChArr& a) { a = text16; }));
    EXPECT_EQ(2, failOnChArr(old, [&](ChArr& a) { a.assign(string.data(), string.data() + 2); }));
    EXPECT_EQ(2, failOnChArr(old, [&](ChArr& a) { a.assign(string.data(), 2); }));
    EXPECT_EQ(2, failOnChArr(old, [&](ChArr& a) { a.assign(text16.data(), text16.data() + 2); }));
    EXPECT_EQ(2, failOnChArr(old, [&](ChArr& a) { a.assign(text16.data(), 2); }));
    EXPECT_EQ(2, failOnChArr(old, [](ChArr& a) { a.assign1251("\xC0\xC1", 2); }));
    EXPECT_EQ(2, failOnChArr(old, [](ChArr& a) { a.assign1251("", 0); }));
}

// It releases first.
TEST(ChArrMemory, AssignmentOfAnotherThatFailsLeavesNull) {
    const ChArr other("text");
    EXPECT_EQ(2, failEachAllocation([&] {
                  ChArr a("old text");
                  bool built = a.data != nullptr;
                  try {
                      a = other;
                  } catch (const std::bad_alloc&) {
                      EXPECT_TRUE(built);
                      EXPECT_EQ(nullptr, a.data);
                      throw;
                  }
              }));
}

TEST(ChArrMemory, ChangeThatFailsKeepsTheOldText) {
    const char old[] = "old text";
    const std::string string("text");
    const ChArr array("text");
    EXPECT_EQ(2, failOnChArr(old, [](ChArr& a) { a += "text"; }));
    EXPECT_EQ(2, failOnChArr(old, [&](ChArr& a) { a += array; }));
    EXPECT_EQ(2, failOnChArr(old, [&](ChArr& a) { a += string; }));
    EXPECT_EQ(2, failOnChArr(old, [](ChArr& a) { a += a; }));
    EXPECT_EQ(2, failOnChArr(old, [](ChArr& a) { a.insert("text"); }));
    EXPECT_LE(2, failOnChArr(old, [](ChArr& a) { a.format("%s%d", a.data, 5); }));
}

// The text is cleared first, whatever comes then.
TEST(ChArrMemory, WinerrorThatFailsLeavesNull) {
    EXPECT_LE(2, failOnChArr(nullptr, [](ChArr& a) { a.winerror(2, nullptr); }));
    EXPECT_LE(2, failOnChArr(nullptr, [](ChArr& a) { a.winerror(2, "velmora_no_such_module"); }));
}

TEST(ChArrMemory, ArraysAreExactAndReplacedOneForOne) {
    AllocationCounter counter;
    ChArr a("1234567");
    EXPECT_EQ(8, counter.peakBytes());
    a = "";
    EXPECT_EQ(9, counter.peakBytes());  // the new one is there before the old one goes
    EXPECT_EQ(1, counter.live());
    a += "abc";
    a.insert("abc");
    a.assign1251("\xC0", 1);
    a.format("%d", 5);
    EXPECT_EQ(1, counter.live());
    a.del();
    EXPECT_EQ(0, counter.live());
}

TEST(ChArrMemory, ExactSizes) {
    struct Sized {
        int line;
        long bytes;
        void (*build)(ChArr& a);
    };
    const Sized rows[] = {
        {__LINE__, 5, [](ChArr& a) { a = "text"; }},
        {__LINE__, 1, [](ChArr& a) { a = ""; }},
        {__LINE__, 5, [](ChArr& a) { a = ChPair("text"); }},
        {__LINE__, 7, [](ChArr& a) { a.assign1251("\xC0\x88x", 3); }},
        {__LINE__, 1, [](ChArr& a) { a.assign1251("x", 0); }},
        {__LINE__, 5, [](ChArr& a) { a += "text"; }},
        {__LINE__, 5, [](ChArr& a) { a.insert("text"); }},
    };
    for (const Sized& row : rows) {
        SCOPED_TRACE(row.line);
        ChArr a;
        AllocationCounter counter;
        row.build(a);
        EXPECT_EQ(row.bytes, counter.peakBytes());
        EXPECT_EQ(1, counter.allocations());
    }
}

TEST(ChArrMemory, NothingIsAllocatedWhereNothingChanges) {
    ChArr a("text");
    const ChArr none;
    const ChArr& itself = a;
    AllocationCounter counter;
    a.assign(a.data, 2);
    a = a.asCharPtr();
    a = itself;
    a += static_cast<const char*>(nullptr);
    a += none;
    a.insert("");
    a.lw_ascii();
    a.up_ascii();
    EXPECT_TRUE(a.equal_i_utf8("text"));
    EXPECT_EQ(0, a.compare_i_ascii("text"));
    EXPECT_TRUE(a == "TEXT");
    EXPECT_EQ(0, counter.allocations());
    EXPECT_STREQ("TEXT", a.data);
}

TEST(ChArrMemory, StealingAllocatesNothing) {
    ChArr a("old"), other("text");
    CharVector v("vector");
    AllocationCounter counter;
    a.stealFrom(other);
    EXPECT_EQ(-1, counter.live());
    a.stealFrom(v);
    EXPECT_EQ(-2, counter.live());
    EXPECT_EQ(0, counter.allocations());
    EXPECT_STREQ("vector", a.data);
}

TEST(ChArr16Memory, ConstructorsLeakNothing) {
    const utf16_string text16 = wide(u"text");
    const ChArr array("text");
    const ChArr16 array16("text");
    EXPECT_EQ(1, failEachAllocation([&] { ChArr16 a(text16.c_str()); }));
    EXPECT_EQ(1, failEachAllocation([&] { ChArr16 a(text16.data(), text16.data() + 2); }));
    EXPECT_EQ(1, failEachAllocation([&] { ChArr16 a(array16); }));
    EXPECT_EQ(1, failEachAllocation([&] { ChArr16 a(text16); }));
    EXPECT_EQ(1, failEachAllocation([] { ChArr16 a("text"); }));
    EXPECT_EQ(1, failEachAllocation([&] { ChArr16 a(array.data, array.data + 2); }));
    EXPECT_EQ(1, failEachAllocation([] { ChArr16 a(ChPair("text")); }));
    EXPECT_EQ(1, failEachAllocation([&] { ChArr16 a(array); }));
}

TEST(ChArr16Memory, AssignmentThatFailsKeepsTheOldText) {
    const utf16_string text16 = wide(u"text");
    const std::string string("text");
    const ChArr array("text");
    EXPECT_EQ(2, failOnChArr16([&](ChArr16& a) { a = text16.c_str(); }));
    EXPECT_EQ(2, failOnChArr16([&](ChArr16& a) { a = text16; }));
    EXPECT_EQ(2, failOnChArr16([&](ChArr16& a) { a.assign(text16.data(), text16.data() + 2); }));
    EXPECT_EQ(2, failOnChArr16([&](ChArr16& a) { a.assign(text16.data(), 2); }));
    EXPECT_EQ(2, failOnChArr16([](ChArr16& a) { a = "text"; }));
    EXPECT_EQ(2, failOnChArr16([&](ChArr16& a) { a = array; }));
    EXPECT_EQ(2, failOnChArr16([&](ChArr16& a) { a = string; }));
}

TEST(ChArr16Memory, AssignmentOfAnotherLeaksNothing) {
    const ChArr16 other("text");
    EXPECT_EQ(2, failEachAllocation([&] {
                  ChArr16 a("old text");
                  a = other;
              }));
}

TEST(CharVectorMemory, ConstructorsLeakNothing) {
    const std::string string("text");
    const CharVector vector("text");
    const ChArr array("text");
    SimpleVector<char> chars;
    chars.append('x');
    EXPECT_EQ(1, failEachAllocation([] { CharVector v("text"); }));
    EXPECT_EQ(1, failEachAllocation([] { CharVector v("text", std::size_t{2}); }));
    EXPECT_EQ(1, failEachAllocation([&] { CharVector v(array.data, array.data + 2); }));
    EXPECT_EQ(1, failEachAllocation([] { CharVector v(ChPair("text")); }));
    EXPECT_EQ(1, failEachAllocation([&] { CharVector v(array); }));
    EXPECT_EQ(1, failEachAllocation([&] { CharVector v(string); }));
    EXPECT_EQ(1, failEachAllocation([&] { CharVector v(vector); }));
    EXPECT_EQ(1, failEachAllocation([&] { CharVector v(chars); }));
}

TEST(CharVectorMemory, EmptySourcesAllocateNothing) {
    AllocationCounter counter;
    CharVector a(""), b(std::string{}), c("x", std::size_t{0});
    a = "";
    a.append("");
    a.append("x", std::size_t{0});
    a.prepare(0);
    a.insert(0, 0);
    EXPECT_EQ(0, counter.allocations());
    EXPECT_TRUE(a.isNull());
    EXPECT_TRUE(b.isNull());
    EXPECT_TRUE(c.isNull());
}

TEST(CharVectorMemory, AssignmentThatFailsKeepsTheOldText) {
    const std::string string("text");
    const ChArr array("text");
    SimpleVector<char> chars;
    chars.append('x');
    EXPECT_EQ(2, failOnCharVector([](CharVector& v) { v = "text"; }));
    EXPECT_EQ(2, failOnCharVector([](CharVector& v) { v = ChPair("text"); }));
    EXPECT_EQ(2, failOnCharVector([&](CharVector& v) { v = array; }));
    EXPECT_EQ(2, failOnCharVector([&](CharVector& v) { v = string; }));
    EXPECT_EQ(2, failOnCharVector([&](CharVector& v) { v = chars; }));
    EXPECT_EQ(2, failOnCharVector([](CharVector& v) { v.assign("text", 4); }));
    EXPECT_EQ(2, failOnCharVector([](CharVector& v) { v.assign(v.data + 1, v.data + 4); }));
}

// It releases first.
TEST(CharVectorMemory, AssignmentOfAnotherThatFailsLeavesNull) {
    const CharVector other("text");
    EXPECT_EQ(2, failEachAllocation([&] {
                  CharVector v;
                  v.append("old text");
                  try {
                      v = other;
                  } catch (const std::bad_alloc&) {
                      EXPECT_EQ(nullptr, v.data);
                      EXPECT_EQ(0, v.count);
                      EXPECT_EQ(0, v.allocateCount);
                      throw;
                  }
              }));
}

TEST(CharVectorMemory, GrowthThatFailsKeepsTheOldText) {
    const std::string string("12345678");
    const ChArr array("12345678");
    const CharVector vector("12345678");
    SimpleVector<char> chars;
    for (char c : string) chars.append(c);
    EXPECT_EQ(2, failOnCharVector([](CharVector& v) { v.append("12345678"); }));
    EXPECT_EQ(2, failOnCharVector([](CharVector& v) { v.append("12345678", std::size_t{8}); }));
    EXPECT_EQ(2, failOnCharVector([&](CharVector& v) { v.append(array.data, array.data + 8); }));
    EXPECT_EQ(2, failOnCharVector([](CharVector& v) { v.append(ChPair("12345678")); }));
    EXPECT_EQ(2, failOnCharVector([&](CharVector& v) { v.append(array); }));
    EXPECT_EQ(2, failOnCharVector([&](CharVector& v) { v.append(string); }));
    EXPECT_EQ(2, failOnCharVector([&](CharVector& v) { v.append(vector); }));
    EXPECT_EQ(2, failOnCharVector([&](CharVector& v) { v.append(chars); }));
    EXPECT_EQ(2, failOnCharVector([](CharVector& v) { v.append(v); }));
    EXPECT_EQ(2, failOnCharVector([](CharVector& v) { v += "12345678"; }));
    EXPECT_EQ(2, failOnCharVector([](CharVector& v) { v << "12345678"; }));
    EXPECT_EQ(2, failOnCharVector([](CharVector& v) { v.insert(3, 8); }));
    EXPECT_EQ(2, failOnCharVector([](CharVector& v) { v.prepare(16); }));
}

TEST(UtfMemory, NothingAllocates) {
    char text[] = "\xC3\xA9t\xC3\xA9 abc \xE2\x82\xAC";
    char* const end = text + sizeof text - 1;
    utf16_t units[32];
    char bytes[96];
    utf16_t c = 0;
    AllocationCounter counter;
    strchk_utf8(text, sizeof text - 1);
    strlen_utf8(text);
    utf8_to_utf16(text, end, units, units + 32);
    utf16_to_utf8(units, units + 9, bytes, bytes + sizeof bytes);
    strlen_utf8(units, units + 9);
    getch_utf8(c, text, end);
    putch_utf8(c, bytes, bytes + sizeof bytes);
    chrback_utf8(text, chrpass_utf8(text, end));
    strcmp_i_utf8(text, end, bytes, bytes + 4);
    strfind_i_utf8(text, end, "C", &"C"[1]);
    strup_utf8(text, end);
    strlw_utf8(text, end);
    const long allocations = counter.allocations();
    EXPECT_EQ(0, allocations);
}

TEST(CharVectorMemory, AppendAllocatesNothingWhileThereIsRoom) {
    struct Row {
        int line;
        int first;  // bytes of the append that allocates
        int room;   // bytes that fit then
    };
    const Row rows[] = {{__LINE__, 1, 15},
                        {__LINE__, 16, 255},
                        {__LINE__, 256, 511},
                        {__LINE__, 4096, 8191},
                        {__LINE__, 65536, 131071}};
    for (const Row& row : rows) {
        SCOPED_TRACE(row.line);
        const std::string first(static_cast<std::size_t>(row.first), 'a');
        CharVector v;
        AllocationCounter counter;
        v.append(first);
        EXPECT_EQ(1, counter.allocations());
        while (v.count < row.room) v.append('b');
        EXPECT_EQ(1, counter.allocations());
        EXPECT_EQ(row.room + 1, counter.peakBytes());
        v.append('c');
        EXPECT_EQ(2, counter.allocations());
        EXPECT_EQ(1, counter.live());
    }
}

TEST(CharVectorMemory, OneByteAtATimeAllocatesAtTheSteps) {
    CharVector v;
    AllocationCounter counter;
    for (int i = 0; i < 5000; ++i) v << 'x';
    EXPECT_EQ(7, counter.allocations());  // 16, 256, 512, 1024, 2048, 4096, 8192
    EXPECT_EQ(1, counter.live());
}

TEST(CharVectorMemory, WhatKeepsTheArrayAllocatesNothing) {
    CharVector v;
    v.append("abcdefgh");
    AllocationCounter counter;
    v.cutTo(6);
    v.remove(1, 2);
    v.assign("wxyz", 4);
    v = "1234";
    v.prepare(15);
    v.truncate();
    v.insert(0, 15);
    EXPECT_EQ(0, counter.allocations());
    EXPECT_EQ(0, counter.live());
    v.remove(0, 15);
    EXPECT_EQ(-1, counter.live());
}

TEST(CharVectorMemory, ClearAndDestructorReleaseTheArray) {
    AllocationCounter counter;
    {
        CharVector v("text"), w("text");
        EXPECT_EQ(2, counter.live());
        v.clear();
        EXPECT_EQ(1, counter.live());
    }
    EXPECT_EQ(0, counter.live());
}

TEST(CharVectorMemory, ExactSizes) {
    AllocationCounter counter;
    CharVector v("1234567");
    EXPECT_EQ(8, counter.peakBytes());
    v.clear();
    v.prepare(20);
    EXPECT_EQ(21, counter.peakBytes());
}

}  // namespace
