// Lock files on systems that lack what the usual way needs.
#include <velmora/files/rundetector.h>

#include <gtest/gtest.h>

#include <cerrno>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "tests/faults/faults.h"
#include "tests/support/temp_folder.h"

namespace {

using faults::AllFail;

class RunDetectorFault : public testing::Test {
protected:
    support::TempFolder folder;
    const std::string base = folder.path() + "/";

    RunDetector::State state() const { return RunDetector(base.c_str(), "lock").getState(); }
    bool isEmpty() const { return std::filesystem::is_empty(folder.path()); }
};

TEST_F(RunDetectorFault, FileIsMadeInThreeWays) {
    const std::vector<std::string> lacking[] = {
        {}, {"open O_TMPFILE"}, {"linkat"}, {"open O_TMPFILE", "link"}, {"linkat", "link"}};
    for (const auto& functions : lacking) {
        SCOPED_TRACE(functions.empty() ? "nothing lacks" : functions.back());
        const AllFail fail(functions, EOPNOTSUPP);
        {
            RunDetector run(base.c_str(), "lock"), rival(base.c_str(), "lock");
            EXPECT_TRUE(run.lock());
            EXPECT_EQ(RunDetector::Running, state());
            EXPECT_FALSE(rival.lock());
        }
        EXPECT_TRUE(isEmpty());
    }
}

// Only the last of the ways has a moment in which the file is not held, so it must not be taken without need.
TEST_F(RunDetectorFault, WaysAreTriedInTheirOrder) {
    const struct {
        int line;
        std::vector<std::string> lacking;
        int opens;  // the look at the path, and one for each file that is made by a name
        int links, linkats;
    } rows[] = {{__LINE__, {}, 1, 0, 1},
                {__LINE__, {"open O_TMPFILE"}, 2, 1, 0},
                {__LINE__, {"linkat"}, 2, 1, 0},
                {__LINE__, {"open O_TMPFILE", "link"}, 3, 0, 0}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.line);
        const AllFail fail(row.lacking, EOPNOTSUPP);
        RunDetector run(base.c_str(), "lock");
        const faults::CallCounter calls;
        EXPECT_TRUE(run.lock());
        EXPECT_EQ(row.opens, calls.of("open") - calls.of("open O_TMPFILE"));
        EXPECT_EQ(row.links, calls.of("link"));
        EXPECT_EQ(row.linkats, calls.of("linkat"));
    }
}

TEST_F(RunDetectorFault, LinkToNothingIsLockedWithoutThem) {
    std::filesystem::create_symlink("target", folder.file("lock"));
    const AllFail fail({"open O_TMPFILE", "link"}, EOPNOTSUPP);
    RunDetector run(base.c_str(), "lock");
    EXPECT_TRUE(run.lock());
    EXPECT_EQ(RunDetector::Running, state());
}

TEST_F(RunDetectorFault, RefusedLockLeavesNothingBehind) {
    for (const char* function : {"fdopen", "fcntl"}) {
        SCOPED_TRACE(function);
        {
            const AllFail fail({function}, ENOMEM);
            RunDetector run(base.c_str(), "lock");
            EXPECT_FALSE(run.lock());
            EXPECT_EQ(nullptr, run.file);
        }
        EXPECT_TRUE(isEmpty());
        EXPECT_EQ(RunDetector::NotRunning, state());
    }
}

TEST_F(RunDetectorFault, FileThatIsThereIsLeftAsItWas) {
    folder.write("lock", "left by a crash");
    for (const char* function : {"fcntl", "ftruncate"}) {
        SCOPED_TRACE(function);
        const AllFail fail({function}, EINVAL);
        RunDetector run(base.c_str(), "lock");
        EXPECT_FALSE(run.lock());
        EXPECT_EQ("left by a crash", folder.read("lock"));
    }
    EXPECT_EQ(RunDetector::Abandoned, state());
}

// Where there are no locks nobody holds one.
TEST_F(RunDetectorFault, FileIsAbandonedWhereLocksCannotBeAskedFor) {
    folder.write("lock", "");
    const AllFail fail({"fcntl"}, EINVAL);
    EXPECT_EQ(RunDetector::Abandoned, state());
}

TEST_F(RunDetectorFault, EveryCallMayFail) {
    std::unique_ptr<RunDetector> run;
    bool locked = false;
    const int faults = faults::failEach(
        [&] {
            run.reset();
            std::filesystem::remove(folder.file("lock"));
            run = std::make_unique<RunDetector>(base.c_str(), "lock");
        },
        [&] {
            locked = run->lock();
            run->getState();
            run->unlock();
            run->file = nullptr;
        },
        [&](const faults::Fault& fault) {
            if (fault.function.empty()) {
                EXPECT_TRUE(locked);
            }
        });
    EXPECT_LE(20, faults);
}

}  // namespace
