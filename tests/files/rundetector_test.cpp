#include <velmora/files/rundetector.h>

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <memory>
#include <string>
#include <type_traits>
#include <vector>

#ifdef _WIN32
#include <io.h>
#include <windows.h>
#else
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#endif

#include <velmora/text/charr.h>

#include "tests/support/child_process.h"
#include "tests/support/temp_folder.h"

// The program of service_child.cpp.
#ifndef VELMORA_SERVICE_CHILD
#error "VELMORA_SERVICE_CHILD must be defined"
#endif

namespace {

using support::ChildProcess;
using support::TempFolder;

static_assert(RunDetector::Running == 0 && RunDetector::NotRunning == 1 && RunDetector::Abandoned == 2, "");
static_assert(offsetof(RunDetector, file) == 0, "");
static_assert(offsetof(RunDetector, path) == 8, "");
static_assert(sizeof(RunDetector) == 8 + sizeof(utf16_string), "");
static_assert(std::is_same<decltype(RunDetector::path), utf16_string>::value, "");
static_assert(!std::is_copy_constructible<RunDetector>::value && !std::is_copy_assignable<RunDetector>::value,
              "two objects would close one stream");

std::string utf8(const utf16_string& text) { return ChArr(text).asCharPtr(); }

class RunDetectorTest : public testing::Test {
protected:
    TempFolder folder;
    std::string base = folder.path() + "/";

    std::unique_ptr<RunDetector> detector(const char* name = "lock") const {
        return std::make_unique<RunDetector>(base.c_str(), name);
    }
    RunDetector::State state(const char* name = "lock") const { return detector(name)->getState(); }
    ChildProcess child(const std::string& task, const std::vector<std::string>& more = {}) const {
        std::vector<std::string> words = {VELMORA_SERVICE_CHILD, task, base, "lock"};
        words.insert(words.end(), more.begin(), more.end());
        return ChildProcess(words);
    }
};

// ---- construction ----

TEST_F(RunDetectorTest, JoinsTheTextsWithoutASeparatorAndTouchesNoFile) {
    struct Row {
        int line;
        const char* folder;
        const char* name;
        utf16_string path;
    };
    const utf16_t accented[] = {'d', 0xE9, '/', 0x20AC, 0};
    const utf16_t halved[] = {0xF600, 'x', 0};  // a code point above 0xFFFF keeps its low 16 bits
    const utf16_t prefix[] = {'a', '/', 'b', 'c', 0};
    const utf16_t nameOnly[] = {'n', 0};
    const Row rows[] = {
        {__LINE__, "a/b", "c", prefix},
        {__LINE__, "", "n", nameOnly},
        {__LINE__, "n", "", nameOnly},
        {__LINE__, "", "", utf16_string()},
        {__LINE__, "d\xC3\xA9/", "\xE2\x82\xAC", accented},
        {__LINE__, "\xF0\x9F\x98\x80", "x", halved},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.line);
        RunDetector made(row.folder, row.name);
        EXPECT_EQ(nullptr, made.file);
        EXPECT_EQ(row.path, made.path);
    }
    detector();
    EXPECT_TRUE(std::filesystem::is_empty(folder.path()));
}

TEST_F(RunDetectorTest, LongTextsAreKeptWhole) {
    const std::string start(300, 'f');
    const std::string rest(400, 'n');
    RunDetector made(start.c_str(), rest.c_str());
    EXPECT_EQ(start + rest, utf8(made.path));
}

TEST_F(RunDetectorTest, PathThatIsTooLongCannotBeOpened) {
    RunDetector made(base.c_str(), std::string(5000, 'n').c_str());
    EXPECT_EQ(RunDetector::NotRunning, made.getState());
    EXPECT_FALSE(made.lock());
    EXPECT_EQ(nullptr, made.file);
}

// U+10000, and on its own a lead byte of E0, become a zero, at which the system would take the path to end.
TEST_F(RunDetectorTest, PathWithAZeroInItIsNotAnotherFile) {
    for (const char* zero : {"\xF0\x90\x80\x80", "\xE0"}) {
        SCOPED_TRACE(zero);
        const std::string name = "lock" + std::string(zero) + "x";
        auto made = detector(name.c_str());
        EXPECT_EQ(RunDetector::NotRunning, made->getState());
        EXPECT_FALSE(made->lock());
        EXPECT_EQ(nullptr, made->file);
        RunDetector inFolder((base + "lock" + zero).c_str(), "x");
        EXPECT_FALSE(inFolder.lock());
        folder.write("lock", "another file");
        EXPECT_EQ(RunDetector::NotRunning, made->getState());
        EXPECT_FALSE(made->lock());
        EXPECT_EQ("another file", folder.read("lock"));
        std::filesystem::remove(folder.file("lock"));
        EXPECT_TRUE(std::filesystem::is_empty(folder.path()));
    }
}

TEST_F(RunDetectorTest, NamesAreUtf8) {
    auto made = detector("\xC3\xA9\xE2\x82\xAC");
    ASSERT_TRUE(made->lock());
    EXPECT_TRUE(folder.has("\xC3\xA9\xE2\x82\xAC"));
}

// ---- the three states ----

TEST_F(RunDetectorTest, WithNoFileNothingRunsAndLockCreatesIt) {
    auto run = detector();
    EXPECT_EQ(RunDetector::NotRunning, run->getState());
    EXPECT_FALSE(folder.has("lock"));
    EXPECT_TRUE(run->lock());
    EXPECT_NE(nullptr, run->file);
    EXPECT_TRUE(folder.has("lock"));
    EXPECT_EQ(0u, std::filesystem::file_size(folder.file("lock")));
}

TEST_F(RunDetectorTest, WhileItIsHeldEverybodySeesRunning) {
    auto run = detector();
    auto second = detector();
    ASSERT_TRUE(run->lock());
    EXPECT_EQ(RunDetector::Running, run->getState());
    EXPECT_EQ(RunDetector::Running, second->getState());
    EXPECT_FALSE(second->lock());
    EXPECT_EQ(nullptr, second->file);
    second->unlock();
    second.reset();
    EXPECT_TRUE(folder.has("lock"));
    EXPECT_EQ(RunDetector::Running, state());
    // Another file of the folder has nothing to do with it.
    EXPECT_EQ(RunDetector::NotRunning, state("other"));
}

TEST_F(RunDetectorTest, LooksDoNotLoosenTheHold) {
    auto run = detector();
    ASSERT_TRUE(run->lock());
    for (int i = 0; i < 50; ++i) EXPECT_EQ(RunDetector::Running, i % 2 ? state() : run->getState());
    ChildProcess rival(child("hold"));
    EXPECT_EQ("refused", rival.receive());
    EXPECT_FALSE(detector()->lock());
}

TEST_F(RunDetectorTest, AfterUnlockTheFileIsGone) {
    auto run = detector();
    ASSERT_TRUE(run->lock());
    run->unlock();
    EXPECT_NE(nullptr, run->file) << "unlock leaves the field as it is";
    run->file = nullptr;
    EXPECT_FALSE(folder.has("lock"));
    EXPECT_EQ(RunDetector::NotRunning, run->getState());
    // The object, its field cleared, is as good as new.
    EXPECT_TRUE(run->lock());
    EXPECT_EQ(RunDetector::Running, state());
}

#ifndef _WIN32
TEST_F(RunDetectorTest, UnlockOfAFileThatIsGoneIsQuiet) {
    auto run = detector();
    ASSERT_TRUE(run->lock());
    std::filesystem::remove(folder.file("lock"));
    run->unlock();
    run->file = nullptr;
    EXPECT_FALSE(folder.has("lock"));
    EXPECT_EQ(RunDetector::NotRunning, state());
}
#endif

TEST_F(RunDetectorTest, DestructionGivesTheFileUp) {
    auto run = detector();
    ASSERT_TRUE(run->lock());
    run.reset();
    EXPECT_FALSE(folder.has("lock"));
    EXPECT_EQ(RunDetector::NotRunning, state());
}

TEST_F(RunDetectorTest, WithoutALockUnlockAndDestructionDoNothing) {
    folder.write("lock", "left");
    auto made = detector();
    made->unlock();
    EXPECT_EQ(nullptr, made->file);
    made.reset();
    EXPECT_EQ("left", folder.read("lock"));
}

TEST_F(RunDetectorTest, FileThatNobodyHoldsIsAbandonedUntilItIsLocked) {
    folder.write("lock", "left by an older program");
    auto run = detector();
    for (int i = 0; i < 3; ++i) EXPECT_EQ(RunDetector::Abandoned, run->getState());
    EXPECT_EQ("left by an older program", folder.read("lock"));
    ASSERT_TRUE(run->lock());
    EXPECT_EQ(0u, std::filesystem::file_size(folder.file("lock")));
    EXPECT_EQ(RunDetector::Running, state());
    run.reset();
    EXPECT_EQ(RunDetector::NotRunning, state());
}

TEST_F(RunDetectorTest, RefusedLockDoesNotEmptyTheFile) {
    auto run = detector();
    ASSERT_TRUE(run->lock());
    ASSERT_EQ(1u, std::fwrite("x", 1, 1, run->file));
    ASSERT_EQ(0, std::fflush(run->file));
    EXPECT_FALSE(detector()->lock());
    EXPECT_EQ(1u, std::filesystem::file_size(folder.file("lock")));
}

TEST_F(RunDetectorTest, SecondLockOfTheHolderLosesItsStream) {
    auto run = detector();
    ASSERT_TRUE(run->lock());
    FILE* lost = run->file;
    EXPECT_FALSE(run->lock());
    EXPECT_EQ(nullptr, run->file);
    EXPECT_EQ(RunDetector::Running, run->getState());
    run.reset();
    EXPECT_EQ(RunDetector::Running, state());
    std::fclose(lost);
    EXPECT_EQ(RunDetector::Abandoned, state());
}

// ---- what cannot be opened ----

TEST_F(RunDetectorTest, MissingFolderIsNotRunning) {
    RunDetector made((base + "missing/").c_str(), "lock");
    EXPECT_EQ(RunDetector::NotRunning, made.getState());
    EXPECT_FALSE(made.lock());
    EXPECT_EQ(nullptr, made.file);
    RunDetector empty("", "");
    EXPECT_EQ(RunDetector::NotRunning, empty.getState());
    EXPECT_FALSE(empty.lock());
}

TEST_F(RunDetectorTest, FolderInItsPlaceIsAccessDenied) {
    std::filesystem::create_directory(folder.file("lock"));
    auto made = detector();
    EXPECT_EQ(RunDetector::Running, made->getState());
    EXPECT_FALSE(made->lock());
    EXPECT_EQ(nullptr, made->file);
    EXPECT_TRUE(folder.has("lock"));
}

TEST_F(RunDetectorTest, HandleIsNotInherited) {
    auto run = detector();
    for (const char* content : {"", "left"}) {
        if (*content) folder.write("lock", content);
        ASSERT_TRUE(run->lock());
#ifdef _WIN32
        DWORD flags = HANDLE_FLAG_INHERIT;
        ASSERT_TRUE(GetHandleInformation(reinterpret_cast<HANDLE>(_get_osfhandle(_fileno(run->file))), &flags));
        EXPECT_EQ(0u, flags & HANDLE_FLAG_INHERIT);
#else
        EXPECT_EQ(FD_CLOEXEC, fcntl(fileno(run->file), F_GETFD) & FD_CLOEXEC);
#endif
        run->unlock();
        run->file = nullptr;
    }
}

#ifndef _WIN32

// What is denied to ordinary users, also where the tests run as root.
class OrdinaryUser {
public:
    explicit OrdinaryUser(const TempFolder& folder) {
        if (geteuid() == 0) switched_ = seteuid(65534) == 0;
        struct stat info;
        reached_ = stat(folder.path().c_str(), &info) == 0;
    }
    ~OrdinaryUser() {
        if (switched_ && seteuid(0) != 0) std::abort();
    }
    // Whether this is no root and yet the folder can be reached.
    bool made() const { return geteuid() != 0 && reached_; }

private:
    bool switched_ = false;
    bool reached_ = false;
};

TEST_F(RunDetectorTest, FileThatMayNotBeReadIsRunning) {
    folder.write("lock", "");
    chmod(folder.file("lock").c_str(), 0);
    OrdinaryUser user(folder);
    if (!user.made()) GTEST_SKIP() << "root may read everything";
    EXPECT_EQ(RunDetector::Running, state());
    EXPECT_FALSE(detector()->lock());
    EXPECT_TRUE(folder.has("lock"));
}

TEST_F(RunDetectorTest, FileThatMayOnlyBeReadIsAbandonedAndCannotBeLocked) {
    folder.write("lock", "left");
    chmod(folder.file("lock").c_str(), 0444);
    OrdinaryUser user(folder);
    if (!user.made()) GTEST_SKIP() << "root may write everything";
    EXPECT_EQ(RunDetector::Abandoned, state());
    EXPECT_FALSE(detector()->lock());
    EXPECT_EQ("left", folder.read("lock"));
}

TEST_F(RunDetectorTest, FolderThatMayNotBeSearchedIsNotRunning) {
    std::filesystem::create_directory(folder.file("closed"));
    folder.write("closed/lock", "");
    chmod(folder.file("closed").c_str(), 0);
    {
        OrdinaryUser user(folder);
        if (!user.made()) GTEST_SKIP() << "root may search everything";
        EXPECT_EQ(RunDetector::NotRunning, state("closed/lock"));
        EXPECT_FALSE(detector("closed/lock")->lock());
    }
    chmod(folder.file("closed").c_str(), 0755);
}

TEST_F(RunDetectorTest, FolderThatMayNotBeWrittenRefusesTheLock) {
    std::filesystem::create_directory(folder.file("closed"));
    chmod(folder.file("closed").c_str(), 0555);
    OrdinaryUser user(folder);
    if (!user.made()) GTEST_SKIP() << "root may write everything";
    EXPECT_FALSE(detector("closed/lock")->lock());
    EXPECT_EQ(RunDetector::NotRunning, state("closed/lock"));
}

TEST_F(RunDetectorTest, LinkToNothingIsNotRunningAndCanBeLocked) {
    std::filesystem::create_symlink("target", folder.file("lock"));
    auto run = detector();
    EXPECT_EQ(RunDetector::NotRunning, run->getState());
    ASSERT_TRUE(run->lock());
    EXPECT_TRUE(folder.has("target"));
    EXPECT_EQ(RunDetector::Running, state());
    EXPECT_EQ(RunDetector::Running, state("target"));
    EXPECT_FALSE(detector()->lock());
    run.reset();
    EXPECT_EQ(RunDetector::NotRunning, state());
    EXPECT_FALSE(std::filesystem::is_symlink(folder.file("lock")));
}

TEST_F(RunDetectorTest, PipeInItsPlaceMakesNobodyWait) {
    ASSERT_EQ(0, mkfifo(folder.file("lock").c_str(), 0666));
    EXPECT_EQ(RunDetector::Running, state());
    EXPECT_FALSE(detector()->lock());
    // With somebody at the other end.
    int reader = open(folder.file("lock").c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    ASSERT_LE(0, reader);
    EXPECT_EQ(RunDetector::Running, state());
    EXPECT_FALSE(detector()->lock());
    close(reader);
}

TEST_F(RunDetectorTest, FileThatReplacedTheHeldOneIsLeftToItsHolder) {
    auto first = detector();
    auto second = detector();
    ASSERT_TRUE(first->lock());
    std::filesystem::remove(folder.file("lock"));
    EXPECT_EQ(RunDetector::NotRunning, first->getState());
    ASSERT_TRUE(second->lock());
    first.reset();
    EXPECT_TRUE(folder.has("lock"));
    EXPECT_EQ(RunDetector::Running, state());
}

TEST_F(RunDetectorTest, RelativePathsAreTakenFromTheWorkingFolder) {
    const std::filesystem::path before = std::filesystem::current_path();
    std::filesystem::current_path(folder.path());
    {
        RunDetector run("", "lock");
        EXPECT_TRUE(run.lock());
        EXPECT_TRUE(folder.has("lock"));
        EXPECT_EQ(RunDetector::Running, RunDetector("./", "lock").getState());
    }
    std::filesystem::current_path(before);
    EXPECT_FALSE(folder.has("lock"));
}

#endif

// ---- other processes ----

TEST_F(RunDetectorTest, OtherProcessThatHoldsIsSeen) {
    ChildProcess holder(child("hold"));
    ASSERT_EQ("held", holder.receive());
    EXPECT_EQ(RunDetector::Running, state());
    auto rival = detector();
    EXPECT_FALSE(rival->lock());
    EXPECT_EQ(RunDetector::Running, rival->getState());
    holder.send("state");
    EXPECT_EQ("0", holder.receive());
    holder.send("unlock");
    EXPECT_EQ(0, holder.wait());
    EXPECT_FALSE(folder.has("lock"));
    EXPECT_EQ(RunDetector::NotRunning, rival->getState());
    EXPECT_TRUE(rival->lock());
}

TEST_F(RunDetectorTest, ProcessThatDiesLeavesTheFileAbandoned) {
    for (bool killed : {false, true}) {
        SCOPED_TRACE(killed);
        ChildProcess holder(child("hold"));
        ASSERT_EQ("held", holder.receive());
        if (killed) {
            holder.kill();
            EXPECT_EQ(-1, holder.wait());
        } else {
            holder.send("leave");
            EXPECT_EQ(3, holder.wait());
        }
        EXPECT_EQ(RunDetector::Abandoned, state());
        auto next = detector();
        EXPECT_TRUE(next->lock());
        EXPECT_EQ(RunDetector::Running, state());
        next.reset();
        EXPECT_EQ(RunDetector::NotRunning, state());
    }
}

TEST_F(RunDetectorTest, ProcessStartedByTheHolderDoesNotHold) {
    ChildProcess holder(child("hold"));
    ASSERT_EQ("held", holder.receive());
    holder.send("start");
    ASSERT_EQ("started", holder.receive());
    EXPECT_EQ(RunDetector::Running, state());
    holder.kill();
    EXPECT_EQ(RunDetector::Abandoned, state());
    EXPECT_TRUE(detector()->lock());
    holder.send("still there?");
    EXPECT_EQ("alive", holder.receive());
    holder.closeInput();
    EXPECT_EQ("", holder.receive());
}

TEST_F(RunDetectorTest, RivalsNeverHoldTogether) {
    ChildProcess one(child("race", {"300"}));
    ChildProcess two(child("race", {"300"}));
    one.send("go");
    two.send("go");
    EXPECT_EQ("done", one.receive());
    EXPECT_EQ("done", two.receive());
    EXPECT_EQ(0, one.wait());
    EXPECT_EQ(0, two.wait());
    EXPECT_EQ(RunDetector::NotRunning, state());
    EXPECT_TRUE(std::filesystem::is_empty(folder.path()));
}

#ifndef _WIN32
// A file is held from its first moment to its last, so nobody ever sees it abandoned; and looking costs nobody the
// lock. On Windows the look is an open, which a rival can run into.
TEST_F(RunDetectorTest, ObserverOfRivalsSeesNoFalseCrash) {
    int unnamed = open(folder.path().c_str(), O_TMPFILE | O_WRONLY | O_CLOEXEC, 0600);
    if (unnamed < 0) GTEST_SKIP() << "the file system has no files without a name";
    close(unnamed);
    ChildProcess one(child("race", {"500"}));
    ChildProcess two(child("race", {"500"}));
    one.send("go");
    two.send("go");
    int seen[3] = {};
    auto observer = detector();
    for (int i = 0; i < 20000; ++i) ++seen[observer->getState()];
    EXPECT_EQ("done", one.receive());
    EXPECT_EQ("done", two.receive());
    EXPECT_EQ(0, seen[RunDetector::Abandoned]);
    EXPECT_LT(0, seen[RunDetector::NotRunning]);
    EXPECT_EQ(RunDetector::NotRunning, state());
}

TEST_F(RunDetectorTest, LooksNeverCostARunItsLock) {
    // A process that does nothing but look, while this one locks.
    ChildProcess watcher({VELMORA_SERVICE_CHILD, "watch", base, "lock"});
    ASSERT_EQ("watching", watcher.receive());
    for (int i = 0; i < 2000; ++i) {
        RunDetector run(base.c_str(), "lock");
        ASSERT_TRUE(run.lock()) << i;
    }
    // Also with a file that is there before.
    for (int i = 0; i < 2000; ++i) {
        folder.write("lock", "");
        RunDetector run(base.c_str(), "lock");
        ASSERT_TRUE(run.lock()) << i;
    }
    watcher.closeInput();
    EXPECT_EQ("done", watcher.receive());
}
#endif

}  // namespace
