#include <velmora/files/logcharstream.h>
#include <velmora/files/rundetector.h>

#include <gtest/gtest.h>

#include <new>
#include <string>

#include "tests/support/allocations.h"
#include "tests/support/temp_folder.h"

namespace {

using support::AllocationCounter;
using support::failEachAllocation;
using support::TempFolder;

TEST(LogCharStreamMemory, OpenWithoutMemoryLeavesTheObjectClosed) {
    TempFolder folder;
    const std::string first = folder.write("first", "one\n");
    const std::string second = folder.write("second", "second\n");
    int failures = failEachAllocation([&] {
        LogCharStream log;
        try {
            log.open(first.c_str(), 16, UTF8File::READ);
            log.open(second.c_str(), 32, UTF8File::READ);
        } catch (const std::bad_alloc&) {
            EXPECT_EQ(nullptr, log.file);
            EXPECT_EQ(nullptr, log.buffer);
            EXPECT_EQ(nullptr, log.cursor);
            EXPECT_EQ(nullptr, log.end);
            EXPECT_EQ(0, log.pieceSize);
            EXPECT_EQ(0, log.pieceStart);
            throw;
        }
        EXPECT_EQ(7, log.lastKnownSize);
        EXPECT_EQ(32, log.pieceSize);
    });
    EXPECT_LE(4, failures);  // the path and the piece, twice
}

TEST(LogCharStreamMemory, OpenForWritingWithoutMemoryDoesNotEmptyTheFile) {
    TempFolder folder;
    const std::string path = folder.write("log", "one\n");
    LogCharStream log;
    EXPECT_THROW(log.open(path.c_str(), -1, UTF8File::WRITE), std::bad_alloc);
    EXPECT_FALSE(log.isOpened());
    EXPECT_EQ("one\n", folder.read("log"));
}

TEST(LogCharStreamMemory, ReadingTakesNoMemory) {
    TempFolder folder;
    std::string content;
    for (int i = 0; i < 1000; ++i) content += "a line\\\r\nof two lines\r\n";
    LogCharStream log;
    ASSERT_TRUE(log.open(folder.write("log", content).c_str(), 100, UTF8File::READ));
    AllocationCounter counter;
    char line[64];
    int length;
    int lines = 0;
    std::int64_t next;
    while (log.readLineStream(line, sizeof line, length, next)) ++lines;
    log.setStreamPosition(0);
    while (log.scanLineStream(next)) ++lines;
    EXPECT_EQ(0, counter.allocations());
    EXPECT_EQ(2000, lines);
}

TEST(RunDetectorMemory, OnlyConstructionTakesMemory) {
    TempFolder folder;
    const std::string base = folder.path() + "/";
    const std::string name = "a name that takes a block of its own";
    int failures = failEachAllocation([&] { RunDetector detector(base.c_str(), name.c_str()); });
    EXPECT_LE(2, failures);
    RunDetector detector(base.c_str(), name.c_str());
    AllocationCounter counter;
    EXPECT_EQ(RunDetector::NotRunning, detector.getState());
    EXPECT_TRUE(detector.lock());
    EXPECT_EQ(RunDetector::Running, detector.getState());
    detector.unlock();
    detector.file = nullptr;
    EXPECT_EQ(0, counter.allocations());
    EXPECT_FALSE(folder.has(name));
}

}  // namespace
