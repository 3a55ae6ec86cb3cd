#include <gtest/gtest.h>

#include <cstring>
#include <functional>
#include <new>
#include <string>
#include <utility>

#include <velmora/containers/vectors.h>
#include <velmora/localization/keys.h>
#include <velmora/serial/bag.h>
#include <velmora/serial/ttt.h>
#include <velmora/text/charr.h>
#include <velmora/text/charvector.h>

#include "tests/support/allocations.h"

namespace {

std::string content(const Bag& bag) {
    return bag.size > 0 ? std::string(bag.data, static_cast<std::size_t>(bag.size)) : std::string();
}

// A Bag whose block is full, so that every write has to grow it.
Bag fullBag() {
    Bag bag("0123456789abcdef", 16);
    bag.toEnd();
    return bag;
}

const std::string longText(300, 'x');
const CharVector longVector(std::string(240, 'x'));  // behind a full Bag it fills the next block, but for its zero byte

// ---- Bag ----

TEST(BagMemory, FailedGrowthLeavesTheContent) {
    struct Row {
        int line;
        std::function<void(Bag&)> write;
    };
    static const Row rows[] = {
        {__LINE__, [](Bag& bag) { bag.putChar('!'); }},
        {__LINE__, [](Bag& bag) { bag.putData("!", 1); }},
        {__LINE__, [](Bag& bag) { bag.putDataPtr(1); }},
        {__LINE__, [](Bag& bag) { bag.putString("!"); }},
        {__LINE__, [](Bag& bag) { bag << longText; }},
        {__LINE__, [](Bag& bag) { bag.putString(longVector); }},
        {__LINE__, [](Bag& bag) { bag << longVector; }},
        {__LINE__, [](Bag& bag) { bag.putStringNZ("!"); }},
        {__LINE__, [](Bag& bag) { bag.putStringNZ(longVector); }},
        {__LINE__, [](Bag& bag) { bag.putFormatStringNZ("%d", 7); }},
        {__LINE__, [](Bag& bag) { bag.expand(17); }},
        {__LINE__, [](Bag& bag) { bag.reserve(1); }},
        {__LINE__, [](Bag& bag) { bag.setBufferSize(17); }},
        {__LINE__, [](Bag& bag) { bag.setBufferSize(15); }},
        {__LINE__, [](Bag& bag) { bag.insSpace(3, 1); }},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.line);
        Bag bag = fullBag();
        char* block = bag.data;
        int failures = support::failEachAllocation([&] { row.write(bag); },
                                                   [&] {
                                                       EXPECT_EQ(block, bag.data);
                                                       EXPECT_EQ(16, bag.bufferSize);
                                                       EXPECT_EQ(16, bag.cursor);
                                                       EXPECT_EQ("0123456789abcdef", content(bag));
                                                   });
        EXPECT_EQ(1, failures) << "growth is one allocation";
    }
}

// An aligned write moves the cursor before it grows: it ends after the bytes that were to be written. What is written
// in several parts goes in whole or not at all.
TEST(BagMemory, FailedAlignedWriteLeavesTheContent) {
    struct Row {
        int line;
        int cursor;
        std::function<void(Bag&)> write;
    };
    static const Bag inner("abc", 3);
    static const Row rows[] = {
        {__LINE__, 18, [](Bag& bag) { bag.putShort(1); }},
        {__LINE__, 20, [](Bag& bag) { bag.putLong(1); }},
        {__LINE__, 24, [](Bag& bag) { bag.putLongLong(1); }},
        {__LINE__, 24, [](Bag& bag) { bag.putDouble(1); }},
        {__LINE__, 20, [](Bag& bag) { bag << BagTime(1); }},
        {__LINE__, 19, [](Bag& bag) { bag.putDataPtrAligned(3, 8); }},
        {__LINE__, 35, [](Bag& bag) { bag.putDataPtrAligned(3, 32); }},
        {__LINE__, 32, [](Bag& bag) { bag.putDataPtrAligned(0, 32); }},
        {__LINE__, 19, [](Bag& bag) { bag.putDataAligned("abc", 3, 8); }},
        {__LINE__, 35, [](Bag& bag) { bag.putDataAligned("abc", 3, 32); }},
        {__LINE__, 20, [](Bag& bag) { bag.markBeginOfBlock(); }},
        {__LINE__, 15, [](Bag& bag) { bag << ChPair("abc"); }},
        {__LINE__, 15, [](Bag& bag) { bag << inner; }},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.line);
        Bag bag("0123456789abcdef", 16);
        bag.to(15);
        char* block = bag.data;
        int failures = support::failEachAllocation([&] { row.write(bag); },
                                                   [&] {
                                                       EXPECT_EQ(block, bag.data);
                                                       EXPECT_EQ(16, bag.bufferSize);
                                                       EXPECT_EQ(row.cursor, bag.cursor);
                                                       EXPECT_EQ("0123456789abcdef", content(bag));
                                                       bag.to(15);
                                                   });
        EXPECT_EQ(1, failures);
        EXPECT_EQ("0123456789abcde", content(bag).substr(0, 15));
    }
}

TEST(BagMemory, FailedConstructionLeaksNothing) {
    Bag source = fullBag();
    EXPECT_EQ(1, support::failEachAllocation([&] { Bag bag(longText.data(), 300); }));
    EXPECT_EQ(1, support::failEachAllocation([&] { Bag copy(source); }));
    EXPECT_EQ("0123456789abcdef", content(source));
}

TEST(BagMemory, FailedAssignmentLeavesAUsableBag) {
    Bag source = fullBag();
    int usable = 0;
    int failures = support::failEachAllocation([&] {
        Bag target("old", 3);
        try {
            target = source;
        } catch (const std::bad_alloc&) {
            target.clear();
            target.putChar('a');
            if (target.size == 1 && target.data[0] == 'a') ++usable;
            throw;
        }
    });
    EXPECT_EQ(2, failures);
    EXPECT_EQ(1, usable);
    EXPECT_EQ("0123456789abcdef", content(source));
}

// One that has no block is emptied as well: its cursor may stand anywhere.
TEST(BagMemory, FailedAssignmentToAnEmptyBagLeavesItEmpty) {
    const Bag source = fullBag();
    Bag target;
    const int failures = support::failEachAllocation([&] {
        target.clear();
        target.to(5);
        try {
            target = source;
        } catch (const std::bad_alloc&) {
            EXPECT_EQ(nullptr, target.data);
            EXPECT_EQ(0, target.bufferSize);
            EXPECT_EQ(0, target.cursor);
            EXPECT_EQ(0, target.size);
            throw;
        }
        EXPECT_EQ(16, target.size);
        target.clear();
    });
    EXPECT_EQ(1, failures);
}

TEST(BagMemory, FailedReadLeavesTheSource) {
    struct Row {
        int line;
        std::function<void(Bag&)> read;
    };
    Bag strings;
    {
        StringVector<char> items;
        items.append(longText);
        items.append_steal(nullptr);
        items.append("b");
        strings << items;
    }
    Bag inner(longText.data(), 300);
    Bag bag;
    bag << longText << inner;
    bag.putDataAligned(strings.data, strings.size, 4);
    const std::string before = content(bag);
    int innerAt = 304;
    int stringsAt = innerAt + 4 + 300;
    const Row rows[] = {
        {__LINE__,
         [](Bag& source) {
             std::string s;
             source >> s;
         }},
        {__LINE__,
         [](Bag& source) {
             ChArr s;
             source >> s;
         }},
        {__LINE__,
         [](Bag& source) {
             CharVector s;
             source >> s;
         }},
        {__LINE__,
         [=](Bag& source) {
             Bag target;
             source.to(innerAt);
             source >> target;
         }},
        {__LINE__,
         [=](Bag& source) {
             StringVector<char> v;
             source.to(stringsAt);
             source >> v;
         }},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.line);
        int failures = support::failEachAllocation(
            [&] {
                bag.toBegin();
                row.read(bag);
            },
            [&] { EXPECT_EQ(before, content(bag)); });
        EXPECT_GE(failures, 1);
        EXPECT_EQ(before, content(bag));
    }
}

TEST(BagMemory, PointersAndPairsAreReadWithoutAllocating) {
    Bag bag;
    bag << "one"
        << "two"
        << "three"
        << "four" << ChPair("five", 4) << 6;
    bag.toBegin();
    support::AllocationCounter counter;
    const char* text = bag.getStringPtr();
    ChPair pair = bag.getStringAsPair();
    char* pointer;
    const char* constPointer;
    ChPair counted;
    bag >> pointer >> constPointer >> counted;
    int number = bag.getLong();
    EXPECT_EQ(0, counter.allocations());
    EXPECT_STREQ("one", text);
    EXPECT_EQ(3, pair.len());
    EXPECT_STREQ("three", pointer);
    EXPECT_STREQ("four", constPointer);
    EXPECT_EQ("five", counted.std());
    EXPECT_EQ(6, number);
}

TEST(BagMemory, TruncatedBagIsReusedWithoutAllocating) {
    Bag bag;
    bag << longText;
    support::AllocationCounter counter;
    for (int i = 0; i < 10; ++i) {
        bag.truncate();
        bag << longText;
    }
    EXPECT_EQ(0, counter.allocations());
}

TEST(BagMemory, StealingMovesTheBlock) {
    Bag source(longText.data(), 300);
    support::AllocationCounter counter;
    Bag target;
    target.stealFrom(source);
    int size = 0;
    char* block = target.steal(size);
    source.stealFrom(block, size);
    EXPECT_EQ(0, counter.allocations());
    EXPECT_EQ(0, counter.live());
    EXPECT_EQ(longText, content(source));
}

TEST(BagMemory, EveryReleaseReleases) {
    support::AllocationCounter counter;
    {
        Bag bag(longText.data(), 300);
        bag.clear();
        EXPECT_EQ(0, counter.live()) << "clear";
        bag.putChar('a');
        bag.setBufferSize(0);
        EXPECT_EQ(0, counter.live()) << "setBufferSize";
        bag.putChar('a');
        bag.truncate();
        bag.pack();
        EXPECT_EQ(0, counter.live()) << "pack";
        bag.putChar('a');
        bag.truncate();
        int size = 1;
        EXPECT_EQ(nullptr, bag.steal(size));
        EXPECT_EQ(0, counter.live()) << "steal";
        bag.putChar('a');
        Bag empty;
        bag.stealFrom(empty);
        EXPECT_EQ(0, counter.live()) << "stealFrom";
        bag.putChar('a');
        bag = empty;
        EXPECT_EQ(0, counter.live()) << "assignment";
        bag.putChar('a');
        EXPECT_EQ(1, counter.live());
    }
    EXPECT_EQ(0, counter.live()) << "destruction";
}

// ---- TTT ----

TEST(TTTMemory, FailedBuildingLeaksNothing) {
    Bag encoded("abc", 3);
    const TTT other("other");
    const std::function<void()> actions[] = {
        [] { TTT message(VELMORA_DICT, LCA__Disk_full); },
        [] { TTT message(longText); },
        [&] { TTT message(encoded); },
        [&] { TTT message(other); },
        [] { TTT message(longText.data(), 300); },
        [] {
            TTT message(VELMORA_DICT, LCA__Path_s);
            message < longText < 7 < 8LL < 1.5 < 'c' < TTP(VELMORA_DICT, 1) < BagTime(5);
            message <= longText <= TTP(VELMORA_DICT, 2);
            message << longText << 7 << 8LL;
            message.putSpecial(longText.data(), 300);
        },
        [&] {
            TTT message("a message");
            message <= other;
            message <= encoded;
            message = longText;
            message = other;
            message = encoded;
            message = ChPair(longText);
            message.assign(VELMORA_DICT, 5);
        },
        [&] {
            Bag saved;
            other.save(saved);
            saved.toBegin();
            TTT message;
            message.load(saved);
        },
        [] {
            try {
                TTT message(VELMORA_DICT, LCA__Path_s);
                message < longText;
                throw message;
            } catch (const TTT& caught) {
                TTT copy(caught);
                copy <= "more";
            }
        },
    };
    int index = 0;
    for (const std::function<void()>& action : actions) {
        SCOPED_TRACE(index++);
        EXPECT_GE(support::failEachAllocation(action), 1);
    }
}

TEST(TTTMemory, FailedAppendLeavesTheMessage) {
    struct Row {
        int line;
        std::function<void(TTT&)> append;
    };
    static const Row rows[] = {
        {__LINE__, [](TTT& m) { m < "x"; }},       {__LINE__, [](TTT& m) { m < longText; }},
        {__LINE__, [](TTT& m) { m < 7; }},         {__LINE__, [](TTT& m) { m <= "x"; }},
        {__LINE__, [](TTT& m) { m << 7; }},        {__LINE__, [](TTT& m) { m <= TTP(VELMORA_DICT, 1); }},
        {__LINE__, [](TTT& m) { m <= TTT("x"); }}, {__LINE__, [](TTT& m) { m.putSpecial("x", 1); }},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.line);
        TTT message(VELMORA_DICT, LCA__Path_s);
        message < "abc";
        Bag& bag = message.getData();
        ASSERT_EQ(16, bag.size);
        ASSERT_EQ(16, bag.bufferSize) << "the next append has to grow the block";
        const std::string before = content(bag);
        int failures = support::failEachAllocation([&] { row.append(message); },
                                                   [&] {
                                                       EXPECT_EQ(before, content(bag));
                                                       bag.toEnd();
                                                   });
        EXPECT_GE(failures, 1);
        EXPECT_EQ(before, content(bag).substr(0, 16));
    }
}

TEST(TTTMemory, BuildingAndThrowingAllocatesAtMostTwice) {
    auto fail = [](const char* parameter) {
        TTT message(VELMORA_DICT, LCA__Path_s);
        message < parameter;
        throw message;
    };
    for (const std::string& parameter : {std::string("x"), std::string(40, 'x'), std::string(200, 'x')}) {
        SCOPED_TRACE(parameter);
        support::AllocationCounter counter;
        long allocations = -1;
        int size = 0;
        try {
            fail(parameter.c_str());
        } catch (const TTT& caught) {
            allocations = counter.allocations();
            size = caught.getData().size;
        }
        EXPECT_GE(allocations, 1);
        EXPECT_LE(allocations, 2);
        EXPECT_EQ(12 + static_cast<int>(parameter.size()) + 1, size);
        EXPECT_EQ(0, counter.live());
    }
    support::AllocationCounter counter;
    long allocations = -1;
    try {
        TTT m(VELMORA_DICT, LCA__Path_s);
        m < "x";
        throw m;
    } catch (const TTT&) {
        allocations = counter.allocations();
    }
    EXPECT_LE(allocations, 2);
    EXPECT_GE(allocations, 1);
}

TEST(TTTMemory, MovingAllocatesNothing) {
    TTT source(longText);
    support::AllocationCounter counter;
    TTT taken(std::move(source));
    TTT other;
    other.stealFrom(taken);
    EXPECT_EQ(0, counter.allocations());
    EXPECT_FALSE(other.isEmpty());
}

TEST(TTTMemory, GetIdsAllocatesNothing) {
    TTT message(VELMORA_DICT, LCA__Path_s);
    int dictionary = 0;
    int id = 0;
    support::AllocationCounter counter;
    bool result = message.getIds(&dictionary, &id);
    EXPECT_EQ(0, counter.allocations());
    EXPECT_TRUE(result);
    EXPECT_EQ(VELMORA_DICT, dictionary);
    EXPECT_EQ(LCA__Path_s, id);
}

// ---- rendering ----

TTT longMessage() {
    TTT message("message: %s %d %lld %f %A %D;");
    message < longText < 7 < 8LL < 1.5 < 0x7F000001 < BagTime(1617451200);
    message <= "%{2}%{1}";
    message << longText << 5;
    message <= longText;
    return message;
}

TEST(TTTTranslateMemory, UsesNoHeapButTheResult) {
    const TTT message = longMessage();
    std::string text;
    message.translate(text);
    const std::string full = text;
    ASSERT_GT(full.size(), 900u);

    support::AllocationCounter counter;
    message.translate(text);  // its storage suffices now
    EXPECT_EQ(0, counter.allocations());
    EXPECT_EQ(full, text);

    CharVector vector;
    support::AllocationCounter vectorCounter;
    message.translate(vector);
    long allocations = vectorCounter.allocations();
    EXPECT_EQ(1, vectorCounter.live());
    EXPECT_LE(allocations, 4) << "no more than a CharVector takes to grow: 16, 256, 512, 1024";
    EXPECT_EQ(full, vector.std());
}

// Nothing may leave translate, so a text that came back shortened is turned into the failure that the loop waits for.
template <class Result>
void expectNoThrow(std::function<std::string(const Result&)> textOf) {
    TTT message = longMessage();
    const int cursor = 3;
    std::string full;
    message.translate(full);
    bool escaped = false;
    bool prefix = true;
    bool restored = true;
    int shortened = 0;
    support::failEachAllocation(
        [&] {
            bool whole;
            message.getData().to(cursor);
            {
                Result result;
                try {
                    message.translate(result);
                } catch (...) {
                    escaped = true;
                }
                std::string text = textOf(result);
                whole = text == full;
                prefix = prefix && full.compare(0, text.size(), text) == 0;
                restored = restored && message.getData().cursor == cursor;
            }
            if (!whole) {
                ++shortened;
                throw std::bad_alloc();
            }
        },
        [&] {
            EXPECT_FALSE(escaped);
            EXPECT_TRUE(prefix);
            EXPECT_TRUE(restored);
        });
    EXPECT_FALSE(escaped);
    EXPECT_TRUE(prefix);
    EXPECT_TRUE(restored);
    EXPECT_GE(shortened, 3);
}

TEST(TTTTranslateMemory, NeverThrowsIntoAString) {
    expectNoThrow<std::string>([](const std::string& text) { return text; });
}

TEST(TTTTranslateMemory, NeverThrowsIntoAVector) {
    expectNoThrow<CharVector>([](const CharVector& text) { return text.std(); });
}

}  // namespace
