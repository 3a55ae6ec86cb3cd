#include <velmora/files/findfile.h>

#include <gtest/gtest.h>

#include <new>
#include <string>

#include "tests/support/allocations.h"
#include "tests/support/temp_folder.h"

namespace {

using support::AllocationCounter;

TEST(FindFileMemory, ListsWithoutALeakAndTakesMemoryForNamesAlone) {
    support::TempFolder folder;
    for (int i = 0; i < 50; ++i) folder.write("file" + std::to_string(i), "");
    const std::string path = folder.path();
    AllocationCounter counter;
    int entries = 0;
    long started = 0;
    {
        ZFindFile find(path.c_str());
        started = counter.allocations();
        while (find.next()) ++entries;
    }
    const long listed = counter.allocations();
    {
        ZFindFile find(path.c_str());
        while (find.next()) find.getName();
        ZFindFile early(path.c_str());
        early.next();
        early.getName();
    }
    const long live = counter.live();
    EXPECT_EQ(50, entries);
    EXPECT_EQ(started, listed);
    EXPECT_EQ(0, live);
}

TEST(FindFileMemory, SurvivesEveryFailedAllocation) {
    support::TempFolder folder;
    folder.write("file", "");
    const std::string path = folder.path();
    const int failures = support::failEachAllocation([&] {
        ZFindFile find(path.c_str());
        // Without memory for the find there is nothing to be found.
        if (!find.next()) throw std::bad_alloc();
        EXPECT_STREQ("file", find.getName());
        ZFindFile copy("");
        copy = find;
        find.handle = -1;
        EXPECT_STREQ("file", copy.getName());
    });
    EXPECT_LE(2, failures);
}

}  // namespace
