#include <velmora/files/console.h>

#include <gtest/gtest.h>

#include <cstdio>
#include <string>

#include "tests/support/allocations.h"
#include "tests/support/temp_folder.h"

namespace {

using support::AllocationCounter;

class ConsoleMemory : public testing::Test {
protected:
    support::TempFolder folder;
    FILE* stream = std::fopen(folder.file("out").c_str(), "wb");
    ~ConsoleMemory() override { std::fclose(stream); }
};

TEST_F(ConsoleMemory, PrintingAllocatesOnlyForATextLongerThanAnyBefore) {
    const std::string longest(40000, 'x');
    utf8printf(stream, "%s", longest.c_str());
    utf8printf_s(stream, longest.c_str());
    AllocationCounter counter;
    for (int i = 0; i < 100; ++i) {
        utf8printf(stream, "%d %s", i, "text");
        utf8printf_s(stream, longest.c_str());
    }
    const long allocations = counter.allocations();
    EXPECT_EQ(0, allocations);
}

TEST_F(ConsoleMemory, EmptyResultCostsTheNextCallABlock) {
    utf8printf(stream, "%s", "warm up for all that follows");
    AllocationCounter counter;
    utf8printf(stream, "%s", "");
    const long empty = counter.allocations();
    utf8printf(stream, "%s", "next");
    const long next = counter.allocations();
    utf8printf(stream, "%s", "after");
    const long after = counter.allocations();
    const long live = counter.live();
    EXPECT_EQ(0, empty);
    EXPECT_EQ(1, next);
    EXPECT_EQ(1, after);
    EXPECT_EQ(1, live) << "the former block is kept";
}

TEST_F(ConsoleMemory, FailedAllocationsLeakNothing) {
    auto copyArguments = [] {
        char program[] = "program", word[] = "word";
        char* argv[] = {program, word, nullptr};
        StringVector<char> result;
        utf8args(2, argv, result);
        EXPECT_EQ(2, result.count);
    };
    copyArguments();  // takes the work space, which stays
    EXPECT_LE(3, support::failEachAllocation(copyArguments));
}

}  // namespace
