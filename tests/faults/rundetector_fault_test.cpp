// Lock files on systems that lack what the usual way needs.
#include <velmora/files/rundetector.h>

#include <gtest/gtest.h>

#include <fcntl.h>
#include <sched.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <filesystem>
#include <functional>
#include <memory>
#include <new>
#include <string>
#include <vector>

#include "tests/faults/faults.h"
#include "tests/support/temp_folder.h"

namespace {

using faults::AllFail;
using Names = std::vector<std::string>;

class RunDetectorFault : public testing::Test {
protected:
    support::TempFolder folder;
    const std::string base = folder.path() + "/";

    RunDetector::State state() const { return RunDetector(base.c_str(), "lock").getState(); }
    bool isEmpty() const { return std::filesystem::is_empty(folder.path()); }
    // The entries of the folder, in the order of their bytes.
    Names names() const {
        Names found;
        for (const auto& entry : std::filesystem::directory_iterator(folder.path())) {
            found.push_back(entry.path().filename().string());
        }
        std::sort(found.begin(), found.end());
        return found;
    }
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
            for (const std::string& name : names()) std::filesystem::remove(folder.file(name));
            folder.write("lock.1.0", "");
            run = std::make_unique<RunDetector>(base.c_str(), "lock");
        },
        [&] {
            locked = run->lock();
            run->getState();
            run->unlock();
            run->file = nullptr;
        },
        [&](const faults::Fault& fault) {
            // Whatever could not be removed stays; it is no reason to refuse the lock.
            const std::string& name = fault.function;
            if (name.empty() || name == "opendir" || name == "readdir" || name == "openat" || name == "unlinkat") {
                EXPECT_TRUE(locked) << name;
            }
            EXPECT_EQ(!name.empty() && (folder.has("lock.1.0") || folder.has("lock")), !isEmpty()) << name;
        });
    EXPECT_LE(60, faults);
}

// ---- several processes ----

// Counters that the processes of a race share.
struct Ring {
    std::atomic<bool> begun;
    std::atomic<int> holders;
    std::atomic<int> holds;
    std::atomic<int> togetherWithAnother;
    std::atomic<int> withoutTheFile;
};

// In memory that the children of this process share.
class SharedRing {
public:
    SharedRing() : memory_(mmap(nullptr, sizeof(Ring), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0)) {
        if (memory_ != MAP_FAILED) new (memory_) Ring{};
    }
    SharedRing(const SharedRing&) = delete;
    void operator=(const SharedRing&) = delete;
    ~SharedRing() { munmap(memory_, sizeof(Ring)); }
    bool made() const { return memory_ != MAP_FAILED; }
    Ring* operator->() const { return static_cast<Ring*>(memory_); }

private:
    void* memory_;
};

// Takes the lock and gives it up, `count` times.
void runInRing(const SharedRing& ring, const std::string& base, int count) {
    while (!ring->begun) sched_yield();
    while (count > 0) {
        RunDetector run(base.c_str(), "lock");
        if (!run.lock()) {
            sched_yield();
            continue;
        }
        ++ring->holds;
        if (ring->holders.fetch_add(1) != 0) ++ring->togetherWithAnother;
        for (int i = 0; i < 3; ++i) {
            if (run.getState() != RunDetector::Running) ++ring->withoutTheFile;
            sched_yield();
        }
        --ring->holders;
        --count;
    }
}

TEST_F(RunDetectorFault, RivalsNeverHoldTogetherHoweverTheFileIsMade) {
    constexpr int kProcesses = 4;
    constexpr int kHolds = 300;
    const struct {
        const char* name;
        std::vector<std::string> lacking;
    } systems[] = {{"all", {}},
                   {"no files without a name", {"open O_TMPFILE"}},
                   {"neither these nor links", {"open O_TMPFILE", "link", "linkat"}}};
    for (const auto& system : systems) {
        SCOPED_TRACE(system.name);
        const SharedRing ring;
        ASSERT_TRUE(ring.made());
        std::vector<pid_t> children;
        for (int i = 0; i < kProcesses; ++i) {
            const pid_t child = fork();
            ASSERT_LE(0, child);
            if (child == 0) {
                const AllFail fail(system.lacking, EOPNOTSUPP);
                runInRing(ring, base, kHolds);
                _exit(0);
            }
            children.push_back(child);
        }
        ring->begun = true;
        for (pid_t child : children) {
            int status = -1;
            EXPECT_EQ(child, waitpid(child, &status, 0));
            EXPECT_EQ(0, status);
        }
        EXPECT_EQ(kProcesses * kHolds, ring->holds);
        EXPECT_EQ(0, ring->togetherWithAnother);
        EXPECT_EQ(0, ring->withoutTheFile);
        EXPECT_TRUE(isEmpty());
    }
}

// ---- what a killed run leaves ----

// Runs `action` in a process that then dies without cleaning up. Returns: its number.
pid_t inDyingProcess(const std::function<void()>& action) {
    const pid_t child = fork();
    if (child == 0) {
        action();
        _exit(0);
    }
    int status = -1;
    EXPECT_EQ(child, waitpid(child, &status, 0));
    EXPECT_EQ(0, status);
    return child;
}

// A file that is held as a run does it that is just making the lock file.
class HeldFile {
public:
    explicit HeldFile(const std::string& path) : file_(open(path.c_str(), O_CREAT | O_WRONLY | O_CLOEXEC, 0666)) {
        struct flock range = {};
        range.l_type = F_WRLCK;
        range.l_whence = SEEK_SET;
        EXPECT_EQ(0, fcntl(file_, F_OFD_SETLK, &range));
    }
    HeldFile(const HeldFile&) = delete;
    void operator=(const HeldFile&) = delete;
    ~HeldFile() { close(file_); }

private:
    int file_;
};

TEST_F(RunDetectorFault, NextHolderRemovesWhatAKilledRunHasLeft) {
    // Killed before the file has its name, and after.
    const std::vector<std::string> killedAt[] = {{"open O_TMPFILE", "unlink", "unlinkat"},
                                                 {"open O_TMPFILE", "unlink", "unlinkat", "link"}};
    for (const auto& functions : killedAt) {
        SCOPED_TRACE(functions.size());
        const pid_t child = inDyingProcess([&] {
            const AllFail fail(functions, EIO);
            RunDetector run(base.c_str(), "lock");
            run.lock();
            _exit(0);
        });
        bool left = false;
        for (const auto& entry : std::filesystem::directory_iterator(folder.path())) {
            left = left || entry.path().filename().string().find("lock." + std::to_string(child) + ".") == 0;
        }
        EXPECT_TRUE(left);
        {
            RunDetector run(base.c_str(), "lock");
            ASSERT_TRUE(run.lock());
            EXPECT_EQ(Names{"lock"}, names());
        }
        EXPECT_TRUE(isEmpty());
    }
}

// Wherever they are killed.
TEST_F(RunDetectorFault, KilledRunsNeitherHoldNorLeaveAnything) {
    const std::vector<std::string> systems[] = {{"open O_TMPFILE"}, {"open O_TMPFILE", "link"}};
    unsigned pause = 0;
    for (const auto& lacking : systems) {
        for (int kill = 0; kill < 50; ++kill) {
            SCOPED_TRACE(testing::Message() << lacking.size() << ", kill " << kill);
            const pid_t child = fork();
            ASSERT_LE(0, child);
            if (child == 0) {
                const AllFail fail(lacking, EOPNOTSUPP);
                for (;;) RunDetector(base.c_str(), "lock").lock();
            }
            pause = (pause * 31 + 17) % 1000;
            usleep(500 + pause);
            ::kill(child, SIGKILL);
            int status = 0;
            ASSERT_EQ(child, waitpid(child, &status, 0));
            EXPECT_NE(RunDetector::Running, state());
            {
                RunDetector run(base.c_str(), "lock");
                ASSERT_TRUE(run.lock());
                ASSERT_EQ(Names{"lock"}, names());
            }
            ASSERT_TRUE(isEmpty());
        }
    }
}

TEST_F(RunDetectorFault, OnlyLeftoversAreRemoved) {
    const Names leftovers = {"lock.1.0", "lock.29239.17", "lock.0.0", "lock.00000000000000000000.12345678901234567890"};
    const Names others = {"lock.1",     "lock.1.",         "lock..1",   "lock.1.x",  "lock.x.1",
                          "lock.1.2.3", "lock.1x.2",       "lock.-1.2", "lock.1.2 ", "lock.+1.2",
                          "xlock.1.2",  "Lock.1.2",        "lock1.2",   "lock.1,2",  "lock.",
                          "other.1.2",  "lock.\xD9\xA1.2", "loc.1.2",   "lock.1.2~"};
    for (const Names& group : {leftovers, others}) {
        for (const std::string& name : group) folder.write(name, "");
    }
    std::filesystem::create_directory(folder.file("lock.5.6"));
    folder.write("target", "kept");
    std::filesystem::create_symlink("target", folder.file("lock.7.8"));
    std::filesystem::create_symlink("nothing", folder.file("lock.7.9"));
    ASSERT_EQ(0, mkfifo(folder.file("lock.9.9").c_str(), 0666));
    const HeldFile held(folder.file("lock.10.11"));
    Names expected = others;
    for (const char* name : {"lock", "lock.5.6", "target", "lock.7.8", "lock.7.9", "lock.9.9", "lock.10.11"}) {
        expected.push_back(name);
    }
    std::sort(expected.begin(), expected.end());
    RunDetector run(base.c_str(), "lock");
    ASSERT_TRUE(run.lock());
    EXPECT_EQ(expected, names());
    EXPECT_EQ("kept", folder.read("target"));
}

// The held file itself may have such a name, when the path is a link to it.
TEST_F(RunDetectorFault, HeldFileIsNoLeftover) {
    folder.write("lock.1.2", "");
    std::filesystem::create_symlink("lock.1.2", folder.file("lock"));
    RunDetector run(base.c_str(), "lock");
    ASSERT_TRUE(run.lock());
    EXPECT_EQ((Names{"lock", "lock.1.2"}), names());
    EXPECT_EQ(RunDetector::Running, state());
    EXPECT_FALSE(RunDetector(base.c_str(), "lock").lock());
}

// A run that does not get the lock has no say.
TEST_F(RunDetectorFault, RefusedRunRemovesNothing) {
    RunDetector holder(base.c_str(), "lock");
    ASSERT_TRUE(holder.lock());
    folder.write("lock.1.0", "");
    EXPECT_FALSE(RunDetector(base.c_str(), "lock").lock());
    EXPECT_EQ((Names{"lock", "lock.1.0"}), names());
}

// A name in the working folder, and one in the root of all, have a folder too.
TEST_F(RunDetectorFault, LeftoversOfARelativePathAreRemoved) {
    folder.write("lock.1.0", "");
    const std::filesystem::path before = std::filesystem::current_path();
    std::filesystem::current_path(folder.path());
    {
        RunDetector run("", "lock");
        EXPECT_TRUE(run.lock());
        EXPECT_EQ(Names{"lock"}, names());
    }
    std::filesystem::current_path(before);
}

// The file beside the lock is made, never taken: a link in its place leads nobody to another file.
TEST_F(RunDetectorFault, FileBesideTheLockIsMadeAnew) {
    // The names are numbered, so the next ones follow from one that stays.
    const std::string start = "lock." + std::to_string(getpid()) + ".";
    Names made;
    {
        const AllFail fail({"open O_TMPFILE", "unlink", "unlinkat"}, EIO);
        RunDetector run(base.c_str(), "lock");
        ASSERT_TRUE(run.lock());
        made = names();
    }
    ASSERT_EQ(2U, made.size());
    ASSERT_EQ(0U, made[1].find(start));
    const unsigned long last = std::stoul(made[1].substr(start.size()));
    for (const std::string& name : made) std::filesystem::remove(folder.file(name));
    Names links;
    for (unsigned long i = last + 1; i < last + 4; ++i) {
        links.push_back(start + std::to_string(i));
        std::filesystem::create_symlink("victim", folder.file(links.back()));
    }
    const AllFail fail({"open O_TMPFILE"}, EOPNOTSUPP);
    RunDetector run(base.c_str(), "lock");
    ASSERT_TRUE(run.lock());
    EXPECT_FALSE(folder.has("victim"));
    EXPECT_FALSE(std::filesystem::is_symlink(folder.file("lock")));
    for (const std::string& link : links) EXPECT_TRUE(std::filesystem::is_symlink(folder.file(link)));
}

// A cleaner that meets a new file before it is held takes it for a leftover; the run then makes another.
TEST_F(RunDetectorFault, RunWhoseFileWasTakenForALeftoverTriesAgain) {
    const AllFail fail({"open O_TMPFILE"}, EOPNOTSUPP);
    RunDetector run(base.c_str(), "lock");
    constexpr int kLockOfTheFile = 2;  // after two opens
    const faults::Fault fault = faults::failNth(kLockOfTheFile, EAGAIN, [&] { EXPECT_TRUE(run.lock()); });
    EXPECT_EQ("fcntl", fault.function);
    EXPECT_EQ(RunDetector::Running, state());
    EXPECT_EQ(Names{"lock"}, names());
}

// ---- access ----

TEST_F(RunDetectorFault, FileMayBeReadAndWrittenAsTheMaskAllows) {
    const std::vector<std::string> lacking[] = {
        {}, {"open O_TMPFILE"}, {"open O_TMPFILE", "link"}, {"open O_TMPFILE", "link", "link to nothing"}};
    for (const auto& functions : lacking) {
        for (mode_t mask : {0, 022, 077}) {
            SCOPED_TRACE(testing::Message() << functions.size() << ", umask " << mask);
            const bool throughLink = functions.size() == 3;
            if (throughLink) std::filesystem::create_symlink("target", folder.file("lock"));
            const AllFail fail(functions, EOPNOTSUPP);
            const mode_t before = umask(mask);
            RunDetector run(base.c_str(), "lock");
            const bool locked = run.lock();
            umask(before);
            ASSERT_TRUE(locked);
            struct stat info;
            ASSERT_EQ(0, ::stat(folder.file("lock").c_str(), &info));
            EXPECT_EQ(0666U & ~mask, info.st_mode & 07777U);
            run.unlock();
            run.file = nullptr;
            if (throughLink) std::filesystem::remove(folder.file("target"));
        }
    }
}

}  // namespace
