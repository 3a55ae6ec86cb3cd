#include <velmora/files/utf8file.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <functional>
#include <string>
#include <type_traits>
#include <vector>

#ifdef _WIN32
#include <io.h>
#include <windows.h>
#else
#include <fcntl.h>
#include <sys/stat.h>
#endif

#include "tests/support/message.h"
#include "tests/support/temp_folder.h"

namespace {

using support::TempFolder;
using support::thrownMessage;

static_assert(std::is_standard_layout<UTF8File>::value && !std::is_polymorphic<UTF8File>::value, "");
static_assert(offsetof(UTF8File, lastOp) == 0, "");
static_assert(offsetof(UTF8File, file) == 8, "");
static_assert(offsetof(UTF8File, name) == 16, "");
static_assert(offsetof(UTF8File, throwing) == 24, "");
static_assert(sizeof(UTF8File) == 32, "");
static_assert(UTF8File::READ == 0 && UTF8File::WRITE == 1 && UTF8File::UPDATE == 2, "");
static_assert(sizeof(UTF8File::Info::st_size) == 8, "sizes are 64-bit");
static_assert(sizeof(UTF8File::Info::st_mtime) == 8, "times are 64-bit");
static_assert(!std::is_convertible<bool, UTF8File>::value, "a policy alone is not a file");

const char* const kNoPath = nullptr;

std::string path(const std::string& p) { return "LCA__Path_s(" + p + ")"; }
std::string system(int error) { return std::string("LCA__System_diagnostic_s(") + std::strerror(error) + ")"; }

bool startsWith(const std::string& text, const std::string& start) { return text.compare(0, start.size(), start) == 0; }

// The descriptor that the next opened file gets: the lowest free one, so a stream that stays open shows.
int nextDescriptor(const TempFolder& folder) {
    UTF8File file;
    EXPECT_TRUE(file.open(folder.write("descriptor", ""), UTF8File::READ));
    return file.handle();
}

// ---- construction, copies and lifetime ----

TEST(UTF8FileConstruct, StartsClosedAndQuiet) {
    UTF8File file;
    EXPECT_EQ(2, file.lastOp);
    EXPECT_EQ(nullptr, file.file);
    EXPECT_EQ(nullptr, file.name.data);
    EXPECT_FALSE(file.throwing);
    EXPECT_FALSE(file.isOpened());
    UTF8File throwing(true);
    EXPECT_EQ(2, throwing.lastOp);
    EXPECT_EQ(nullptr, throwing.file);
    EXPECT_EQ(nullptr, throwing.name.data);
    EXPECT_TRUE(throwing.throwing);
}

TEST(UTF8FileConstruct, KeepsThePathAndOpensNothing) {
    TempFolder folder;
    const std::string name = folder.file("absent");
    for (bool policy : {false, true}) {
        UTF8File pointer(name.c_str(), policy);
        EXPECT_STREQ(name.c_str(), pointer.name.data);
        EXPECT_NE(name.c_str(), pointer.name.data);
        EXPECT_EQ(policy, pointer.throwing);
        EXPECT_EQ(nullptr, pointer.file);
        EXPECT_EQ(2, pointer.lastOp);
        UTF8File string(name, policy);
        EXPECT_STREQ(name.c_str(), string.name.data);
        EXPECT_EQ(policy, string.throwing);
        EXPECT_EQ(nullptr, string.file);
        EXPECT_EQ(2, string.lastOp);
    }
    EXPECT_FALSE(folder.has("absent"));
    UTF8File null(kNoPath, true);
    EXPECT_EQ(nullptr, null.name.data);
}

TEST(UTF8FileConstruct, PathFormsAreQuietByDefault) {
    UTF8File pointer("some path");
    EXPECT_FALSE(pointer.throwing);
    UTF8File string(std::string("some path"));
    EXPECT_FALSE(string.throwing);
    EXPECT_STREQ("some path", string.name.data);
}

TEST(UTF8FileDuplicate, SharesTheStreamAndDuplicatesTheName) {
    TempFolder folder;
    UTF8File source(true);
    ASSERT_TRUE(source.open(folder.write("a", "content"), UTF8File::READ));
    char c;
    ASSERT_TRUE(source.read(c));
    UTF8File copy(source);
    EXPECT_EQ(source.file, copy.file);
    EXPECT_EQ(0, copy.lastOp);
    EXPECT_TRUE(copy.throwing);
    EXPECT_STREQ(source.name.data, copy.name.data);
    EXPECT_NE(source.name.data, copy.name.data);
    copy.file = nullptr;
}

TEST(UTF8FileDuplicate, AssignmentDoesNotCloseTheOldStream) {
    TempFolder folder;
    UTF8File source(true), target, old;
    ASSERT_TRUE(source.open(folder.write("a", "a"), UTF8File::READ));
    ASSERT_TRUE(target.open(folder.file("b"), UTF8File::WRITE));
    source.lastOp = 0;
    target.lastOp = 1;
    old.file = target.file;
    EXPECT_EQ(&target, &(target = source));
    EXPECT_EQ(source.file, target.file);
    EXPECT_EQ(0, target.lastOp);
    EXPECT_TRUE(target.throwing);
    EXPECT_STREQ(source.name.data, target.name.data);
    EXPECT_NE(source.name.data, target.name.data);
    target.file = nullptr;
    EXPECT_TRUE(old.write("still open"));
    EXPECT_TRUE(old.close());
    EXPECT_EQ("still open", folder.read("b"));
}

TEST(UTF8FileDestroy, ClosesTheStream) {
    TempFolder folder;
    int descriptor = nextDescriptor(folder);
    {
        UTF8File file(true);
        ASSERT_TRUE(file.open(folder.file("a"), UTF8File::WRITE));
        ASSERT_TRUE(file.write("buffered"));
    }
    EXPECT_EQ("buffered", folder.read("a"));
    EXPECT_EQ(descriptor, nextDescriptor(folder));
}

TEST(UTF8FileClear, ClosesAndMakesQuietForGood) {
    TempFolder folder;
    UTF8File file(true);
    const std::string name = folder.file("a");
    ASSERT_TRUE(file.open(name, UTF8File::WRITE));
    ASSERT_TRUE(file.write("buffered"));
    file.clear();
    EXPECT_EQ(nullptr, file.file);
    EXPECT_EQ(2, file.lastOp);
    EXPECT_STREQ(name.c_str(), file.name.data);
    EXPECT_FALSE(file.throwing);
    EXPECT_EQ("buffered", folder.read("a"));
    EXPECT_EQ("(nothing)", thrownMessage([&] { EXPECT_FALSE(file.open(folder.file("absent"), UTF8File::READ)); }));
    EXPECT_FALSE(file.throwing);
}

TEST(UTF8FileClear, IsSafeOnAClosedObject) {
    UTF8File file("name", true);
    file.clear();
    EXPECT_FALSE(file.isOpened());
    EXPECT_FALSE(file.throwing);
    EXPECT_STREQ("name", file.name.data);
}

TEST(UTF8FileStealFrom, TakesStreamNameAndPolicy) {
    TempFolder folder;
    UTF8File source(true), target;
    ASSERT_TRUE(source.open(folder.write("a", "ab"), UTF8File::READ));
    char c;
    ASSERT_TRUE(source.read(c));
    FILE* stream = source.file;
    const char* name = source.name.data;
    target.name = "old name";
    target.stealFrom(source);
    EXPECT_EQ(stream, target.file);
    EXPECT_EQ(name, target.name.data);
    EXPECT_TRUE(target.throwing);
    EXPECT_EQ(0, target.lastOp);
    EXPECT_EQ(nullptr, source.file);
    EXPECT_EQ(nullptr, source.name.data);
    EXPECT_EQ(0, source.lastOp);
    EXPECT_TRUE(source.throwing);
    ASSERT_TRUE(target.read(c));
    EXPECT_EQ('b', c);
}

TEST(UTF8FileStealFrom, ClosesTheOwnStream) {
    TempFolder folder;
    int descriptor = nextDescriptor(folder);
    UTF8File source, target(true);
    ASSERT_TRUE(target.open(folder.file("a"), UTF8File::WRITE));
    ASSERT_TRUE(target.write("buffered"));
    source.name = "new name";
    target.stealFrom(source);
    EXPECT_EQ("buffered", folder.read("a"));
    EXPECT_EQ(nullptr, target.file);
    EXPECT_STREQ("new name", target.name.data);
    EXPECT_FALSE(target.throwing);
    EXPECT_EQ(2, target.lastOp);
    EXPECT_EQ(descriptor, nextDescriptor(folder));
}

// ---- open ----

TEST(UTF8FileOpen, ReadNeedsAFileAndOnlyReads) {
    TempFolder folder;
    UTF8File file;
    EXPECT_FALSE(file.open(folder.file("a"), UTF8File::READ));
    EXPECT_FALSE(folder.has("a"));
    folder.write("a", "text");
    ASSERT_TRUE(file.open(folder.file("a"), UTF8File::READ));
    EXPECT_TRUE(file.isOpened());
    EXPECT_EQ(0, file.pos());
    char text[4];
    EXPECT_TRUE(file.read(text, 4));
    EXPECT_EQ("text", std::string(text, 4));
}

TEST(UTF8FileOpen, WriteCreatesOrTruncates) {
    TempFolder folder;
    folder.write("old", "old content");
    for (const char* name : {"new", "old"}) {
        UTF8File file;
        ASSERT_TRUE(file.open(folder.file(name), UTF8File::WRITE));
        EXPECT_EQ("", folder.read(name));
        ASSERT_TRUE(file.write("abc"));
        ASSERT_TRUE(file.close());
        EXPECT_EQ("abc", folder.read(name));
    }
}

TEST(UTF8FileOpen, UpdateNeedsAFileAndKeepsIt) {
    TempFolder folder;
    UTF8File file;
    EXPECT_FALSE(file.open(folder.file("a"), UTF8File::UPDATE));
    EXPECT_FALSE(folder.has("a"));
    folder.write("a", "abcdef");
    ASSERT_TRUE(file.open(folder.file("a"), UTF8File::UPDATE));
    char c;
    ASSERT_TRUE(file.read(c));
    EXPECT_EQ('a', c);
    ASSERT_TRUE(file.write("X"));
    ASSERT_TRUE(file.close());
    EXPECT_EQ("aXcdef", folder.read("a"));
}

// Binary in every mode: no byte is translated or taken for an end.
TEST(UTF8FileOpen, ModesAreBinary) {
    TempFolder folder;
    const std::string content("a\r\nb\n\x1A\0c\r", 9);
    UTF8File file;
    ASSERT_TRUE(file.open(folder.file("a"), UTF8File::WRITE));
    ASSERT_TRUE(file.write(content.data(), 9));
    ASSERT_TRUE(file.close());
    EXPECT_EQ(content, folder.read("a"));
    for (UTF8File::Mode mode : {UTF8File::READ, UTF8File::UPDATE}) {
        ASSERT_TRUE(file.open(mode));
        EXPECT_EQ(9, file.size());
        char bytes[9];
        EXPECT_TRUE(file.read(bytes, 9));
        EXPECT_EQ(content, std::string(bytes, 9));
        ASSERT_TRUE(file.close());
    }
}

TEST(UTF8FileOpen, ChildProcessesDoNotInheritTheHandle) {
    TempFolder folder;
    folder.write("a", "a");
    for (UTF8File::Mode mode : {UTF8File::READ, UTF8File::WRITE, UTF8File::UPDATE}) {
        SCOPED_TRACE(mode);
        UTF8File file;
        ASSERT_TRUE(file.open(folder.file("a"), mode));
#ifdef _WIN32
        DWORD flags = HANDLE_FLAG_INHERIT;
        ASSERT_TRUE(GetHandleInformation(reinterpret_cast<HANDLE>(_get_osfhandle(file.handle())), &flags));
        EXPECT_EQ(0u, flags & HANDLE_FLAG_INHERIT);
#else
        EXPECT_EQ(FD_CLOEXEC, fcntl(file.handle(), F_GETFD) & FD_CLOEXEC);
#endif
    }
}

TEST(UTF8FileOpen, NullPathIsFalseWithoutAReport) {
    UTF8File file("kept", true);
    file.lastOp = 1;
    errno = EDOM;
    std::string message = thrownMessage([&] { EXPECT_FALSE(file.open(kNoPath, UTF8File::READ)); });
    EXPECT_EQ(EDOM, errno);
    EXPECT_EQ("(nothing)", message);
    EXPECT_STREQ("kept", file.name.data);
    EXPECT_EQ(1, file.lastOp);
    EXPECT_EQ(nullptr, file.file);
}

TEST(UTF8FileOpen, WithoutANameIsFalseWithoutAReport) {
    for (UTF8File::Mode mode : {UTF8File::READ, UTF8File::WRITE, UTF8File::UPDATE}) {
        UTF8File file(true);
        EXPECT_EQ("(nothing)", thrownMessage([&] { EXPECT_FALSE(file.open(mode)); }));
        EXPECT_FALSE(file.isOpened());
    }
}

TEST(UTF8FileOpen, ReopensItsNameInPlace) {
    TempFolder folder;
    UTF8File file(folder.write("a", "a"), true);
    const char* name = file.name.data;
    ASSERT_TRUE(file.open(UTF8File::READ));
    EXPECT_EQ(name, file.name.data);
    ASSERT_TRUE(file.close());
    ASSERT_TRUE(file.open(UTF8File::READ));
    EXPECT_EQ(name, file.name.data);
    EXPECT_STREQ(folder.file("a").c_str(), name);
}

TEST(UTF8FileOpen, FailureLeavesThePathInTheName) {
    TempFolder folder;
    const std::string absent = folder.file("absent");
    UTF8File quiet("old");
    EXPECT_FALSE(quiet.open(absent.c_str(), UTF8File::READ));
    EXPECT_STREQ(absent.c_str(), quiet.name.data);
    EXPECT_EQ(nullptr, quiet.file);
    UTF8File throwing("old", true);
    EXPECT_EQ("LCA__Cannot_open_file " + path(absent) + " " + system(ENOENT),
              thrownMessage([&] { throwing.open(absent.c_str(), UTF8File::READ); }));
    EXPECT_STREQ(absent.c_str(), throwing.name.data);
    EXPECT_EQ(nullptr, throwing.file);
    EXPECT_TRUE(throwing.throwing);
}

TEST(UTF8FileOpen, FailsInAllForms) {
    TempFolder folder;
    const std::string absent = folder.file("absent");
    const std::string expected = "LCA__Cannot_open_file " + path(absent) + " " + system(ENOENT);
    UTF8File file(absent, true);
    EXPECT_EQ(expected, thrownMessage([&] { file.open(absent, UTF8File::UPDATE); }));
    EXPECT_EQ(expected, thrownMessage([&] { file.open(UTF8File::READ); }));
    const std::string below = folder.file("absent/file");
    EXPECT_EQ("LCA__Cannot_open_file " + path(below) + " " + system(ENOENT),
              thrownMessage([&] { file.open(below, UTF8File::WRITE); }));
}

TEST(UTF8FileOpen, EmptyPathFails) {
    UTF8File file(true);
    // The empty path is the name, but not a part of the message.
    EXPECT_TRUE(startsWith(thrownMessage([&] { file.open("", UTF8File::READ); }),
                           "LCA__Cannot_open_file LCA__System_diagnostic_s("));
    EXPECT_STREQ("", file.name.data);
}

TEST(UTF8FileOpen, ClearsTheErrorNumber) {
    TempFolder folder;
    folder.write("a", "ab");
    UTF8File file(true);
    errno = EDOM;
    ASSERT_TRUE(file.open(folder.file("a"), UTF8File::READ));
    // With the old number in place this would be a read error.
    EXPECT_EQ("LCA__Unexpected_end_of_file " + path(folder.file("a")), thrownMessage([&] {
                  char bytes[3];
                  file.read(bytes, 3);
              }));
}

TEST(UTF8FileOpen, DoesNotLookAtTheOldStream) {
    TempFolder folder;
    UTF8File file, old;
    ASSERT_TRUE(file.open(folder.file("a"), UTF8File::WRITE));
    ASSERT_TRUE(file.write("first"));
    old.file = file.file;
    ASSERT_TRUE(file.open(folder.write("b", "second"), UTF8File::READ));
    EXPECT_NE(old.file, file.file);
    EXPECT_EQ(1, file.lastOp);
    EXPECT_TRUE(old.write(" and more"));
    EXPECT_TRUE(old.close());
    EXPECT_EQ("first and more", folder.read("a"));
}

TEST(UTF8FileOpen, FailureForgetsTheOldStream) {
    TempFolder folder;
    UTF8File file, old;
    ASSERT_TRUE(file.open(folder.file("a"), UTF8File::WRITE));
    old.file = file.file;
    EXPECT_FALSE(file.open(folder.file("absent"), UTF8File::READ));
    EXPECT_EQ(nullptr, file.file);
    EXPECT_TRUE(old.close());
}

TEST(UTF8FileOpen, LeavesLastOpAlone) {
    TempFolder folder;
    folder.write("a", "a");
    for (int lastOp : {0, 1, 2}) {
        UTF8File file;
        file.lastOp = lastOp;
        ASSERT_TRUE(file.open(folder.file("a"), UTF8File::READ));
        EXPECT_EQ(lastOp, file.lastOp);
        ASSERT_TRUE(file.close());
        EXPECT_EQ(2, file.lastOp);
        file.lastOp = lastOp;
        EXPECT_FALSE(file.open(folder.file("absent"), UTF8File::READ));
        EXPECT_EQ(lastOp, file.lastOp);
    }
}

TEST(UTF8FileOpen, TooLongPathFailsWithADiagnostic) {
    TempFolder folder;
    const std::string longPath = folder.file(std::string(300, 'x'));
    for (UTF8File::Mode mode : {UTF8File::READ, UTF8File::WRITE, UTF8File::UPDATE}) {
        UTF8File throwing(true), quiet;
        EXPECT_EQ("LCA__Cannot_open_file " + path(longPath) + " " + system(ENAMETOOLONG),
                  thrownMessage([&] { throwing.open(longPath, mode); }));
        EXPECT_STREQ(longPath.c_str(), throwing.name.data);
        EXPECT_FALSE(quiet.open(longPath, mode));
    }
    EXPECT_TRUE(std::filesystem::is_empty(folder.path()));
}

#ifdef _WIN32
// The longest path has 260 units, not bytes. Whether the system takes it is up to the system.
TEST(UTF8FileOpen, PathOf260UnitsIsNotTooLong) {
    TempFolder folder;
    const std::string start = folder.file(".");
    for (const char* unit : {"/.", "/\xC3\xA4"}) {
        for (std::size_t units : {std::size_t{260}, std::size_t{261}}) {
            SCOPED_TRACE(units);
            std::string name = start;
            std::size_t length = start.size();  // of ASCII
            while (length + 2 <= units) {
                name += unit;
                length += 2;
            }
            if (length < units) name += 'x';
            UTF8File file;
            errno = 0;
            file.open(name, UTF8File::READ);
            EXPECT_EQ(units == 261, errno == ENAMETOOLONG) << name;
        }
    }
}
#endif

TEST(UTF8File, ClosedFileHasNoHandle) {
    UTF8File file;
    EXPECT_EQ(-1, file.handle());
}

// ---- paths are UTF-8 ----

struct Name {
    const char* utf8;
    const char16_t* utf16;
};
const Name kNames[] = {
    {"Привет, мир.txt", u"Привет, мир.txt"},
    {"größe.txt", u"größe.txt"},
    {"日本語", u"日本語"},
    {"a b", u"a b"},
};

TEST(UTF8FilePaths, NameFilesOnTheSystem) {
    for (const Name& name : kNames) {
        SCOPED_TRACE(name.utf8);
        TempFolder folder;
        UTF8File file(true);
        ASSERT_TRUE(file.open(folder.file(name.utf8), UTF8File::WRITE));
        ASSERT_TRUE(file.write("text"));
        ASSERT_TRUE(file.close());
        auto entry = std::filesystem::directory_iterator(folder.path());
        ASSERT_NE(std::filesystem::directory_iterator(), entry);
        EXPECT_EQ(std::filesystem::path(name.utf16), entry->path().filename());
        EXPECT_EQ("text", folder.read(name.utf8));
        EXPECT_TRUE(UTF8File::exist(folder.file(name.utf8)));
        UTF8File::Info info;
        EXPECT_TRUE(UTF8File::info(folder.file(name.utf8), info, true));
        EXPECT_EQ(4, info.st_size);
        EXPECT_TRUE(file.remove());
        EXPECT_FALSE(folder.has(name.utf8));
    }
}

TEST(UTF8FilePaths, NameFoldersOnTheSystem) {
    for (const Name& name : kNames) {
        SCOPED_TRACE(name.utf8);
        TempFolder folder;
        UTF8File made(folder.file(name.utf8), true);
        ASSERT_TRUE(made.mkdir());
        auto entry = std::filesystem::directory_iterator(folder.path());
        ASSERT_NE(std::filesystem::directory_iterator(), entry);
        EXPECT_EQ(std::filesystem::path(name.utf16), entry->path().filename());
        EXPECT_TRUE(entry->is_directory());
        EXPECT_TRUE(made.rename(folder.file("plain")));
        EXPECT_FALSE(folder.has(name.utf8));
        EXPECT_TRUE(made.rename(folder.file(name.utf8)));
        EXPECT_TRUE(folder.has(name.utf8));
        EXPECT_TRUE(made.rmdir());
        EXPECT_FALSE(folder.has(name.utf8));
    }
}

TEST(UTF8FilePaths, StandInTheMessageAsTheyAre) {
    TempFolder folder;
    const std::string absent = folder.file("нет такого");
    UTF8File file(true);
    EXPECT_EQ("LCA__Cannot_open_file " + path(absent) + " " + system(ENOENT),
              thrownMessage([&] { file.open(absent, UTF8File::READ); }));
}

// ---- close ----

TEST(UTF8FileClose, WithoutAStreamIsTrue) {
    UTF8File file("name", true);
    file.lastOp = 1;
    EXPECT_EQ("(nothing)", thrownMessage([&] { EXPECT_TRUE(file.close()); }));
    EXPECT_EQ(1, file.lastOp);
}

TEST(UTF8FileClose, WritesWhatIsBuffered) {
    TempFolder folder;
    int descriptor = nextDescriptor(folder);
    UTF8File file(true);
    ASSERT_TRUE(file.open(folder.file("a"), UTF8File::WRITE));
    ASSERT_TRUE(file.write("buffered"));
    EXPECT_EQ(1, file.lastOp);
    EXPECT_TRUE(file.close());
    EXPECT_EQ(2, file.lastOp);
    EXPECT_EQ(nullptr, file.file);
    EXPECT_FALSE(file.isOpened());
    EXPECT_EQ("buffered", folder.read("a"));
    EXPECT_STREQ(folder.file("a").c_str(), file.name.data);
    EXPECT_TRUE(file.close());
    EXPECT_EQ(descriptor, nextDescriptor(folder));
}

// ---- read and write ----

TEST(UTF8FileRead, TakesAllBytesOrFails) {
    TempFolder folder;
    UTF8File file;
    ASSERT_TRUE(file.open(folder.write("a", "abcdef"), UTF8File::READ));
    char bytes[4];
    EXPECT_TRUE(file.read(bytes, 4));
    EXPECT_EQ("abcd", std::string(bytes, 4));
    EXPECT_EQ(0, file.lastOp);
    EXPECT_EQ(4, file.pos());
    file.lastOp = 2;
    EXPECT_FALSE(file.read(bytes, 3));
    EXPECT_EQ(0, file.lastOp);
    EXPECT_TRUE(file.isOpened());
}

TEST(UTF8FileRead, NothingIsAlwaysThere) {
    TempFolder folder;
    UTF8File file(true);
    ASSERT_TRUE(file.open(folder.write("a", ""), UTF8File::READ));
    for (int lastOp : {0, 1, 2}) {
        file.lastOp = lastOp;
        EXPECT_TRUE(file.read(static_cast<void*>(nullptr), 0));
        EXPECT_EQ(lastOp, file.lastOp);
    }
    file.lastOp = 2;
}

TEST(UTF8FileRead, ErrorNumberDecidesWhatAShortReadIs) {
    TempFolder folder;
    const std::string name = folder.write("a", "ab");
    struct Row {
        int line;
        int before;
        std::string message;
    };
    const Row rows[] = {
        {__LINE__, 0, "LCA__Unexpected_end_of_file " + path(name)},
        // The number is a left-over of an earlier call, and is believed.
        {__LINE__, EACCES, "LCA__Read_file_error " + path(name) + " " + system(EACCES)},
        {__LINE__, 1000000, "LCA__Read_file_error " + path(name) + " LCA__Error_code_d(1000000)"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE("row at line " + std::to_string(row.line));
        UTF8File file(true);
        ASSERT_TRUE(file.open(name, UTF8File::READ));
        EXPECT_EQ(row.message, thrownMessage([&] {
                      char bytes[3];
                      errno = row.before;
                      file.read(bytes, 3);
                  }));
        EXPECT_EQ(0, file.lastOp);
        EXPECT_TRUE(file.isOpened());
        EXPECT_TRUE(file.throwing);
        ASSERT_TRUE(file.seek(1, 0));
        char c;
        EXPECT_TRUE(file.read(c));
        EXPECT_EQ('b', c);
    }
}

// A folder can be opened on one system and on none can it be read.
TEST(UTF8FileRead, FolderFails) {
    TempFolder folder;
    UTF8File file(true);
    std::string message = thrownMessage([&] {
        file.open(folder.path(), UTF8File::READ);
        char c;
        file.read(c);
    });
#ifdef _WIN32
    EXPECT_EQ("LCA__Cannot_open_file " + path(folder.path()) + " " + system(EACCES), message);
#else
    EXPECT_EQ("LCA__Read_file_error " + path(folder.path()) + " " + system(EISDIR), message);
#endif
}

TEST(UTF8FileWrite, NothingIsAlwaysWritten) {
    TempFolder folder;
    UTF8File file(true);
    ASSERT_TRUE(file.open(folder.write("a", ""), UTF8File::READ));
    for (int lastOp : {0, 1, 2}) {
        file.lastOp = lastOp;
        EXPECT_TRUE(file.write(static_cast<const void*>(nullptr), 0));
        EXPECT_TRUE(file.write(""));
        EXPECT_TRUE(file.write(ChPair()));
        EXPECT_TRUE(file.writef("%s", ""));
        EXPECT_EQ(lastOp, file.lastOp);
    }
    file.lastOp = 2;
}

// Of more bytes than an int can count as well, and of a view whose end lies in front of its begin.
TEST(UTF8FileWrite, CountThatIsNoneFailsAndLeavesTheStream) {
    TempFolder folder;
    const std::string name = folder.file("a");
    char few[16] = {};
    const auto viewOf = [&](std::int64_t size) {
        return ChPair(few, reinterpret_cast<char*>(reinterpret_cast<std::intptr_t>(few) + size));
    };
    const std::string noRead = "LCA__Read_file_error " + path(name) + " " + system(EINVAL);
    const std::string noWrite = "LCA__Write_file_error " + path(name) + " " + system(EINVAL);
    const std::string tooBig = "LCA__Too_big_file " + path(name);
    struct Row {
        int line;
        std::function<bool(UTF8File&)> call;
        std::string message;
        int error;  // the errno that is left; 0: the one from before
    };
    const Row rows[] = {
        {__LINE__, [&](UTF8File& file) { return file.read(few, -1); }, noRead, EINVAL},
        {__LINE__, [&](UTF8File& file) { return file.read(few, INT_MIN); }, noRead, EINVAL},
        {__LINE__, [&](UTF8File& file) { return file.write(few, -1); }, noWrite, EINVAL},
        {__LINE__, [&](UTF8File& file) { return file.write(few, INT_MIN); }, noWrite, EINVAL},
        {__LINE__, [&](UTF8File& file) { return file.write(viewOf(-1)); }, noWrite, EINVAL},
        {__LINE__, [&](UTF8File& file) { return file.write(viewOf(-(std::int64_t{1} << 32) + 5)); }, noWrite, EINVAL},
        {__LINE__, [&](UTF8File& file) { return file.write(viewOf(std::int64_t{INT_MAX} + 1)); }, tooBig, 0},
        {__LINE__, [&](UTF8File& file) { return file.write(viewOf(std::int64_t{1} << 32)); }, tooBig, 0},
        {__LINE__, [&](UTF8File& file) { return file.write(viewOf((std::int64_t{1} << 32) + 5)); }, tooBig, 0},
    };
    for (const Row& row : rows) {
        for (bool policy : {false, true}) {
            for (int lastOp : {0, 1, 2}) {
                SCOPED_TRACE(testing::Message() << "row at line " << row.line << ", last operation " << lastOp);
                UTF8File file(policy);
                folder.write("a", "content");
                ASSERT_TRUE(file.open(name, UTF8File::UPDATE));
                ASSERT_TRUE(file.seek(3, 0));
                file.lastOp = lastOp;
                bool result = true;
                int left = 0;
                EXPECT_EQ(policy ? row.message : "(nothing)", thrownMessage([&] {
                              errno = 0;
                              result = row.call(file);
                              left = errno;
                          }));
                EXPECT_EQ(policy, result);
                if (!policy) {
                    EXPECT_EQ(row.error, left);
                }
                EXPECT_EQ(lastOp, file.lastOp);
                EXPECT_EQ(3, file.pos());
                EXPECT_EQ("content", folder.read("a"));
                file.lastOp = 2;
                char c;
                errno = 0;
                EXPECT_TRUE(file.read(c));
                EXPECT_EQ('t', c);
            }
        }
    }
}

TEST(UTF8FileWrite, ToAStreamForReadingFails) {
    TempFolder folder;
    const std::string name = folder.write("a", "old");
    UTF8File throwing(true), quiet;
    ASSERT_TRUE(throwing.open(name, UTF8File::READ));
    EXPECT_EQ("LCA__Write_file_error " + path(name) + " " + system(EBADF),
              thrownMessage([&] { throwing.write("x", 1); }));
    EXPECT_EQ(1, throwing.lastOp);
    EXPECT_TRUE(throwing.isOpened());
    ASSERT_TRUE(quiet.open(name, UTF8File::READ));
    EXPECT_FALSE(quiet.write("x", 1));
    EXPECT_EQ(1, quiet.lastOp);
    EXPECT_EQ("old", folder.read("a"));
}

TEST(UTF8FileWrite, TextForms) {
    TempFolder folder;
    UTF8File file(true);
    ASSERT_TRUE(file.open(folder.file("a"), UTF8File::WRITE));
    EXPECT_TRUE(file.write("text,"));
    EXPECT_EQ(1, file.lastOp);
    EXPECT_TRUE(file.write(ChPair("a\0b", 3)));
    EXPECT_TRUE(file.write(ChPair("")));
    EXPECT_TRUE(file.write("\0z", 2));
    ASSERT_TRUE(file.close());
    EXPECT_EQ(std::string("text,a\0b\0z", 10), folder.read("a"));
}

TEST(UTF8FileWritef, FormatsByTheRulesOfPrintf) {
    TempFolder folder;
    UTF8File file(true);
    ASSERT_TRUE(file.open(folder.file("a"), UTF8File::WRITE));
    EXPECT_TRUE(file.writef("%d %s|%5.1f|%c|%%|%03x;", -7, "текст", 1.25, 'c', 10));
    EXPECT_EQ(1, file.lastOp);
    ASSERT_TRUE(file.close());
    EXPECT_EQ("-7 текст|  1.2|c|%|00a;", folder.read("a"));
}

TEST(UTF8FileWritef, CutsAt4096Bytes) {
    for (int length : {4095, 4096, 4097, 5000}) {
        SCOPED_TRACE(length);
        TempFolder folder;
        UTF8File file(true);
        ASSERT_TRUE(file.open(folder.file("a"), UTF8File::WRITE));
        std::string text = "a" + std::string(static_cast<std::size_t>(length) - 1, 'b');
        text[4094] = 'y';
        if (length > 4095) text[4095] = 'z';
        EXPECT_TRUE(file.writef("%s", text.c_str()));
        ASSERT_TRUE(file.close());
        EXPECT_EQ(text.substr(0, 4096), folder.read("a"));
    }
}

TEST(UTF8FileWritef, StopsAtAZeroByte) {
    TempFolder folder;
    UTF8File file(true);
    ASSERT_TRUE(file.open(folder.file("a"), UTF8File::WRITE));
    EXPECT_TRUE(file.writef("ab%ccd", 0));
    ASSERT_TRUE(file.close());
    EXPECT_EQ("ab", folder.read("a"));
}

TEST(UTF8FileTyped, ValuesAreTheirBytesInMemory) {
    TempFolder folder;
    UTF8File file(true);
    ASSERT_TRUE(file.open(folder.file("a"), UTF8File::WRITE));
    EXPECT_TRUE(file.write('A'));
    EXPECT_TRUE(file.write(true));
    EXPECT_TRUE(file.write(false));
    EXPECT_TRUE(file.write(0x01020304));
    EXPECT_TRUE(file.write(0xFFFEFDFCu));
    EXPECT_TRUE(file.write(1.5f));
    EXPECT_TRUE(file.write(-2.0));
    EXPECT_TRUE(file.write(std::int64_t{-2}));
    EXPECT_TRUE(file.write(std::uint64_t{0x0102030405060708}));
    EXPECT_TRUE(file.write(7LL));
    EXPECT_TRUE(file.write(8ULL));
    EXPECT_TRUE(file.write(std::size_t{9}));
    ASSERT_TRUE(file.close());
    const std::string expected = std::string("A\1\0", 3) + std::string("\4\3\2\1", 4) + "\xFC\xFD\xFE\xFF" +
                                 std::string("\0\0\xC0\x3F", 4) + std::string("\0\0\0\0\0\0\0\xC0", 8) +
                                 "\xFE\xFF\xFF\xFF\xFF\xFF\xFF\xFF" + "\x08\x07\x06\x05\x04\x03\x02\x01" +
                                 std::string("\7\0\0\0\0\0\0\0", 8) + std::string("\x08\0\0\0\0\0\0\0", 8) +
                                 std::string("\x09\0\0\0\0\0\0\0", 8);
    EXPECT_EQ(expected, folder.read("a"));

    ASSERT_TRUE(file.open(UTF8File::READ));
    char c;
    bool yes, no;
    int i;
    unsigned u;
    float f;
    double d;
    std::int64_t i64;
    std::uint64_t u64;
    long long ll;
    unsigned long long ull;
    std::size_t size;
    ASSERT_TRUE(file.read(c) && file.read(yes) && file.read(no) && file.read(i) && file.read(u) && file.read(f));
    ASSERT_TRUE(file.read(d) && file.read(i64) && file.read(u64) && file.read(ll) && file.read(ull));
    ASSERT_TRUE(file.read(size));
    EXPECT_EQ('A', c);
    EXPECT_TRUE(yes);
    EXPECT_FALSE(no);
    EXPECT_EQ(0x01020304, i);
    EXPECT_EQ(0xFFFEFDFCu, u);
    EXPECT_EQ(1.5f, f);
    EXPECT_EQ(-2.0, d);
    EXPECT_EQ(-2, i64);
    EXPECT_EQ(0x0102030405060708u, u64);
    EXPECT_EQ(7, ll);
    EXPECT_EQ(8u, ull);
    EXPECT_EQ(9u, size);
    EXPECT_EQ(file.size(), file.pos());
    EXPECT_EQ("LCA__Unexpected_end_of_file " + path(folder.file("a")), thrownMessage([&] {
                  errno = 0;
                  file.read(i64);
              }));
}

// ---- reads and writes that alternate ----

TEST(UTF8FileAlternate, ReadsAndWritesMixOnOneStream) {
    TempFolder folder;
    UTF8File file(true);
    ASSERT_TRUE(file.open(folder.write("a", "0123456789"), UTF8File::UPDATE));
    char two[2];
    ASSERT_TRUE(file.read(two, 2));
    EXPECT_EQ(0, file.lastOp);
    ASSERT_TRUE(file.write("ab", 2));
    EXPECT_EQ(1, file.lastOp);
    ASSERT_TRUE(file.read(two, 2));
    EXPECT_EQ("45", std::string(two, 2));
    EXPECT_EQ(0, file.lastOp);
    ASSERT_TRUE(file.writef("%s", "cd"));
    EXPECT_EQ(1, file.lastOp);
    bool eof = false;
    char line[16];
    ASSERT_TRUE(file.readLine(line, sizeof line, &eof));
    EXPECT_STREQ("89", line);
    EXPECT_TRUE(eof);
    EXPECT_EQ(0, file.lastOp);
    ASSERT_TRUE(file.write('!'));
    ASSERT_TRUE(file.close());
    EXPECT_EQ("01ab45cd89!", folder.read("a"));
}

TEST(UTF8FileAlternate, ReadAfterWriteHasFlushed) {
    TempFolder folder;
    UTF8File file(true);
    ASSERT_TRUE(file.open(folder.write("a", "0123"), UTF8File::UPDATE));
    ASSERT_TRUE(file.write("ab", 2));
    char c;
    ASSERT_TRUE(file.read(c));
    EXPECT_EQ('2', c);
    EXPECT_EQ("ab23", folder.read("a"));
}

// ---- size, checkSize, pos, seek, flush ----

TEST(UTF8FileSize, KeepsThePosition) {
    TempFolder folder;
    UTF8File file(true);
    ASSERT_TRUE(file.open(folder.write("a", "0123456789"), UTF8File::UPDATE));
    char c;
    ASSERT_TRUE(file.seek(3, 0));
    ASSERT_TRUE(file.read(c));
    EXPECT_EQ(10, file.size());
    EXPECT_EQ(2, file.lastOp);
    EXPECT_EQ(4, file.pos());
    ASSERT_TRUE(file.read(c));
    EXPECT_EQ('4', c);
}

TEST(UTF8FileSize, CountsWhatIsBuffered) {
    TempFolder folder;
    UTF8File file(true);
    ASSERT_TRUE(file.open(folder.file("a"), UTF8File::WRITE));
    EXPECT_EQ(0, file.size());
    ASSERT_TRUE(file.write("0123456789"));
    EXPECT_EQ(10, file.size());
    EXPECT_EQ(2, file.lastOp);
    EXPECT_EQ(10, file.pos());
}

TEST(UTF8FileCheckSize, LimitIsTheLargestSizeAccepted) {
    TempFolder folder;
    const std::string name = folder.write("a", "0123456789");
    UTF8File throwing(true), quiet;
    ASSERT_TRUE(throwing.open(name, UTF8File::READ));
    ASSERT_TRUE(quiet.open(name, UTF8File::READ));
    struct Row {
        int line;
        std::int64_t limit;
        bool fits;
    };
    const Row rows[] = {
        {__LINE__, 11, true}, {__LINE__, 10, true},  {__LINE__, 9, false},         {__LINE__, INT64_MAX, true},
        {__LINE__, 0, false}, {__LINE__, -1, false}, {__LINE__, INT64_MIN, false},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE("row at line " + std::to_string(row.line));
        EXPECT_EQ(row.fits ? 10 : -1, quiet.checkSize(row.limit));
        std::int64_t size = -7;
        EXPECT_EQ(row.fits ? "(nothing)" : "LCA__Too_big_file " + path(name),
                  thrownMessage([&] { size = throwing.checkSize(row.limit); }));
        EXPECT_EQ(row.fits ? 10 : -7, size);
        EXPECT_EQ(0, throwing.pos());
    }
}

TEST(UTF8FileCheckSize, EmptyFileIsAboveANegativeLimit) {
    TempFolder folder;
    UTF8File file;
    ASSERT_TRUE(file.open(folder.write("a", ""), UTF8File::READ));
    EXPECT_EQ(0, file.checkSize(0));
    EXPECT_EQ(-1, file.checkSize(-1));
}

TEST(UTF8FileSeek, MovesFromThreePlaces) {
    TempFolder folder;
    UTF8File file(true);
    ASSERT_TRUE(file.open(folder.write("a", "0123456789"), UTF8File::READ));
    struct Row {
        int line;
        std::int64_t offset;
        int whence;
        std::int64_t pos;
    };
    const Row rows[] = {
        {__LINE__, 4, 0, 4},  {__LINE__, 2, 1, 6},  {__LINE__, -5, 1, 1},
        {__LINE__, -3, 2, 7}, {__LINE__, 0, 2, 10}, {__LINE__, 5000000000, 0, 5000000000},
        {__LINE__, 0, 0, 0},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE("row at line " + std::to_string(row.line));
        file.lastOp = 0;
        EXPECT_TRUE(file.seek(row.offset, row.whence));
        EXPECT_EQ(2, file.lastOp);
        EXPECT_EQ(row.pos, file.pos());
        EXPECT_EQ(2, file.lastOp);
    }
}

TEST(UTF8FileSeek, FailureIsReported) {
    TempFolder folder;
    const std::string name = folder.write("a", "0123456789");
    UTF8File throwing(true), quiet;
    ASSERT_TRUE(throwing.open(name, UTF8File::READ));
    ASSERT_TRUE(quiet.open(name, UTF8File::READ));
    throwing.lastOp = quiet.lastOp = 0;
    EXPECT_EQ("LCA__Seek_file_error " + path(name) + " " + system(EINVAL),
              thrownMessage([&] { throwing.seek(-1, 0); }));
    EXPECT_FALSE(quiet.seek(-1, 0));
    EXPECT_EQ(0, throwing.lastOp);
    EXPECT_EQ(0, quiet.lastOp);
}

TEST(UTF8FilePos, LeavesLastOpAlone) {
    TempFolder folder;
    UTF8File file(true);
    ASSERT_TRUE(file.open(folder.write("a", "0123"), UTF8File::UPDATE));
    char c;
    ASSERT_TRUE(file.read(c));
    EXPECT_EQ(1, file.pos());
    EXPECT_EQ(0, file.lastOp);
    ASSERT_TRUE(file.write('x'));
    EXPECT_EQ(2, file.pos());
    EXPECT_EQ(1, file.lastOp);
}

TEST(UTF8FileFlush, HandsTheBufferToTheSystem) {
    TempFolder folder;
    UTF8File file(true);
    ASSERT_TRUE(file.open(folder.file("a"), UTF8File::WRITE));
    ASSERT_TRUE(file.write("buffered"));
    EXPECT_EQ("", folder.read("a"));
    EXPECT_TRUE(file.flush());
    EXPECT_EQ(2, file.lastOp);
    EXPECT_EQ("buffered", folder.read("a"));
}

// ---- readLine ----

struct Line {
    std::string text;
    bool eof;
    bool operator==(const Line& other) const { return text == other.text && eof == other.eof; }
};
void PrintTo(const Line& line, std::ostream* out) { *out << testing::PrintToString(line.text) << " " << line.eof; }

TEST(UTF8FileReadLine, TakesLinesApart) {
    struct Row {
        int line;
        std::string content;
        std::vector<Line> lines;
    };
    const Row rows[] = {
        {__LINE__, "", {{"", true}, {"", true}}},
        {__LINE__, "a", {{"a", true}, {"", true}}},
        {__LINE__, "a\n", {{"a", false}, {"", true}}},
        {__LINE__, "a\nb", {{"a", false}, {"b", true}}},
        {__LINE__, "a\r\nb", {{"a", false}, {"b", true}}},
        {__LINE__, "a\rb\n", {{"ab", false}, {"", true}}},
        {__LINE__, "\ra\r\r\nb\r", {{"a", false}, {"b", true}}},
        {__LINE__, "\r", {{"", true}, {"", true}}},
        {__LINE__, "\n\n", {{"", false}, {"", false}, {"", true}}},
        {__LINE__, "\xD1\x84\t \x1A\n", {{"\xD1\x84\t \x1A", false}, {"", true}}},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE("row at line " + std::to_string(row.line));
        TempFolder folder;
        UTF8File file(true);
        ASSERT_TRUE(file.open(folder.write("a", row.content), UTF8File::READ));
        std::vector<Line> lines;
        for (std::size_t i = 0; i < row.lines.size(); ++i) {
            char buffer[16];
            std::memset(buffer, '#', sizeof buffer);
            bool eof = false;
            ASSERT_TRUE(file.readLine(buffer, sizeof buffer, &eof));
            EXPECT_EQ(0, file.lastOp);
            lines.push_back({buffer, eof});
            EXPECT_EQ('#', buffer[std::strlen(buffer) + 1]);
        }
        EXPECT_EQ(row.lines, lines);
    }
}

TEST(UTF8FileReadLine, ZeroBytesAreKept) {
    TempFolder folder;
    UTF8File file(true);
    ASSERT_TRUE(file.open(folder.write("a", std::string("a\0b\nc", 5)), UTF8File::READ));
    char buffer[8] = "#######";
    ASSERT_TRUE(file.readLine(buffer, sizeof buffer, nullptr));
    EXPECT_EQ(std::string("a\0b\0###", 7), std::string(buffer, 7));
}

TEST(UTF8FileReadLine, OnlyEverSetsEofToTrue) {
    TempFolder folder;
    UTF8File file(true);
    ASSERT_TRUE(file.open(folder.write("a", "a\nb"), UTF8File::READ));
    char buffer[8];
    bool eof = true;
    ASSERT_TRUE(file.readLine(buffer, sizeof buffer, &eof));
    EXPECT_STREQ("a", buffer);
    EXPECT_TRUE(eof);
    ASSERT_TRUE(file.readLine(buffer, sizeof buffer, nullptr));
    EXPECT_STREQ("b", buffer);
    ASSERT_TRUE(file.readLine(buffer, sizeof buffer, nullptr));
    EXPECT_STREQ("", buffer);
}

TEST(UTF8FileReadLine, SizeBoundsNothing) {
    TempFolder folder;
    UTF8File file(true);
    ASSERT_TRUE(file.open(folder.write("a", "a long line\nnext"), UTF8File::READ));
    char buffer[16];
    for (int size : {1, 0}) {
        ASSERT_TRUE(file.seek(0, 0));
        ASSERT_TRUE(file.readLine(buffer, size, nullptr));
        EXPECT_STREQ("a long line", buffer);
    }
}

TEST(UTF8FileReadLine, GoesOnWhenTheFileHasGrown) {
    TempFolder folder;
    UTF8File file(true), writer(true);
    ASSERT_TRUE(file.open(folder.write("a", "a"), UTF8File::READ));
    char buffer[8];
    bool eof = false;
    ASSERT_TRUE(file.readLine(buffer, sizeof buffer, &eof));
    EXPECT_TRUE(eof);
    EXPECT_EQ(0, std::feof(file.file));
    ASSERT_TRUE(writer.open(folder.file("a"), UTF8File::UPDATE));
    ASSERT_TRUE(writer.seek(0, 2));
    ASSERT_TRUE(writer.write("bc\n"));
    ASSERT_TRUE(writer.close());
    // Some runtimes keep the end of the file in the descriptor until the next seek.
    ASSERT_TRUE(file.seek(0, 1));
    eof = false;
    ASSERT_TRUE(file.readLine(buffer, sizeof buffer, &eof));
    EXPECT_STREQ("bc", buffer);
    EXPECT_FALSE(eof);
}

// ---- operations on the path ----

TEST(UTF8FileMkdir, MakesOneLevel) {
    TempFolder folder;
    UTF8File made(folder.file("a"), true);
    EXPECT_TRUE(made.mkdir());
    EXPECT_TRUE(std::filesystem::is_directory(folder.file("a")));
    const std::string deep = folder.file("b/c");
    UTF8File throwing(deep, true), quiet(deep);
    EXPECT_EQ("LCA__Could_not_create_folder " + path(deep) + " " + system(ENOENT),
              thrownMessage([&] { throwing.mkdir(); }));
    EXPECT_FALSE(quiet.mkdir());
    EXPECT_FALSE(folder.has("b"));
}

TEST(UTF8FileMkdir, WhatExistsIsEnough) {
    TempFolder folder;
    UTF8File made(folder.file("a"), true);
    ASSERT_TRUE(made.mkdir());
    EXPECT_EQ("(nothing)", thrownMessage([&] { EXPECT_TRUE(made.mkdir()); }));
    // Also when it is a file.
    UTF8File file(folder.write("b", "content"), true);
    EXPECT_EQ("(nothing)", thrownMessage([&] { EXPECT_TRUE(file.mkdir()); }));
    EXPECT_EQ("content", folder.read("b"));
}

TEST(UTF8FileRmdir, RemovesAnEmptyFolder) {
    TempFolder folder;
    UTF8File made(folder.file("a"), true);
    ASSERT_TRUE(made.mkdir());
    EXPECT_TRUE(made.rmdir());
    EXPECT_FALSE(folder.has("a"));
    EXPECT_EQ("(nothing)", thrownMessage([&] { EXPECT_TRUE(made.rmdir()); }));
}

TEST(UTF8FileRmdir, RefusesAFolderThatIsNotEmptyAndAFile) {
    TempFolder folder;
    const std::string name = folder.file("a");
    UTF8File throwing(name, true), quiet(name);
    ASSERT_TRUE(throwing.mkdir());
    folder.write("a/b", "content");
    EXPECT_EQ("LCA__Could_not_delete_folder " + path(name) + " " + system(ENOTEMPTY),
              thrownMessage([&] { throwing.rmdir(); }));
    EXPECT_FALSE(quiet.rmdir());
    EXPECT_EQ("content", folder.read("a/b"));
    UTF8File file(folder.file("a/b"), true);
    EXPECT_TRUE(startsWith(thrownMessage([&] { file.rmdir(); }),
                           "LCA__Could_not_delete_folder " + path(folder.file("a/b")) + " LCA__System_diagnostic_s("));
    EXPECT_EQ("content", folder.read("a/b"));
}

TEST(UTF8FileRemove, RemovesAFile) {
    TempFolder folder;
    UTF8File file(folder.write("a", "a"), true);
    EXPECT_TRUE(file.remove());
    EXPECT_FALSE(folder.has("a"));
    EXPECT_STREQ(folder.file("a").c_str(), file.name.data);
    EXPECT_EQ("(nothing)", thrownMessage([&] { EXPECT_TRUE(file.remove()); }));
    UTF8File below(folder.file("absent/a"), true);
    EXPECT_EQ("(nothing)", thrownMessage([&] { EXPECT_TRUE(below.remove()); }));
}

TEST(UTF8FileRemove, RefusesAFolder) {
    TempFolder folder;
    const std::string name = folder.file("a");
    UTF8File throwing(name, true), quiet(name);
    ASSERT_TRUE(throwing.mkdir());
    EXPECT_EQ("LCA__Could_not_delete_file " + path(name) + " " + system(EACCES),
              thrownMessage([&] { throwing.remove(); }));
    EXPECT_FALSE(quiet.remove());
    EXPECT_TRUE(folder.has("a"));
}

TEST(UTF8FileRemove, RefusesAReadOnlyFile) {
    TempFolder folder;
    const std::string name = folder.write("a", "content");
    folder.setReadOnly("a", true);
    UTF8File throwing(name, true), quiet(name);
    EXPECT_EQ("LCA__Could_not_delete_file " + path(name) + " " + system(EACCES),
              thrownMessage([&] { throwing.remove(); }));
    EXPECT_FALSE(quiet.remove());
    EXPECT_EQ("content", folder.read("a"));
    folder.setReadOnly("a", false);
    EXPECT_TRUE(throwing.remove());
    EXPECT_FALSE(folder.has("a"));
}

TEST(UTF8FileRename, MovesAndTakesTheNewName) {
    TempFolder folder;
    UTF8File file(folder.write("a", "content"), true);
    EXPECT_TRUE(file.rename(folder.file("b").c_str()));
    EXPECT_STREQ(folder.file("b").c_str(), file.name.data);
    EXPECT_FALSE(folder.has("a"));
    EXPECT_EQ("content", folder.read("b"));
    EXPECT_TRUE(file.rename(folder.file("c")));
    EXPECT_STREQ(folder.file("c").c_str(), file.name.data);
    EXPECT_EQ("content", folder.read("c"));
}

TEST(UTF8FileRename, NeverReplacesATarget) {
    TempFolder folder;
    const std::string from = folder.write("a", "from");
    folder.write("file", "to");
    UTF8File made(folder.file("folder"), true);
    ASSERT_TRUE(made.mkdir());
    for (const char* target : {"file", "folder"}) {
        SCOPED_TRACE(target);
        UTF8File throwing(from, true), quiet(from);
        EXPECT_EQ("LCA__Could_not_rename_file " + path(from) + " " + system(EEXIST),
                  thrownMessage([&] { throwing.rename(folder.file(target)); }));
        EXPECT_FALSE(quiet.rename(folder.file(target)));
        EXPECT_STREQ(from.c_str(), throwing.name.data);
        EXPECT_STREQ(from.c_str(), quiet.name.data);
    }
    EXPECT_EQ("from", folder.read("a"));
    EXPECT_EQ("to", folder.read("file"));
    // Nor does a folder replace an empty folder.
    UTF8File moved(folder.file("moved"), true);
    ASSERT_TRUE(moved.mkdir());
    EXPECT_EQ("LCA__Could_not_rename_file " + path(folder.file("moved")) + " " + system(EEXIST),
              thrownMessage([&] { moved.rename(folder.file("folder")); }));
    EXPECT_TRUE(folder.has("moved"));
}

TEST(UTF8FileRename, MissingSourceFails) {
    TempFolder folder;
    UTF8File file(folder.file("absent"), true);
    EXPECT_EQ("LCA__Could_not_rename_file " + path(folder.file("absent")) + " " + system(ENOENT),
              thrownMessage([&] { file.rename(folder.file("b")); }));
    EXPECT_STREQ(folder.file("absent").c_str(), file.name.data);
}

TEST(UTF8FileRename, WithoutANameIsAnEmptyPath) {
    TempFolder folder;
    UTF8File throwing(true), quiet;
    EXPECT_EQ("LCA__Could_not_rename_file " + system(ENOENT),
              thrownMessage([&] { throwing.rename(folder.file("b")); }));
    EXPECT_FALSE(quiet.rename(folder.file("b")));
    EXPECT_EQ(nullptr, throwing.name.data);
    EXPECT_FALSE(folder.has("b"));
}

TEST(UTF8FileRename, LeavesTheStreamAlone) {
    TempFolder folder;
    UTF8File file(true);
    ASSERT_TRUE(file.open(folder.file("stream"), UTF8File::WRITE));
    ASSERT_TRUE(file.write("before "));
    FILE* stream = file.file;
    file.name = folder.write("a", "other");
    EXPECT_TRUE(file.rename(folder.file("b")));
    EXPECT_EQ(stream, file.file);
    EXPECT_EQ(1, file.lastOp);
    ASSERT_TRUE(file.write("behind"));
    ASSERT_TRUE(file.close());
    EXPECT_EQ("before behind", folder.read("stream"));
    EXPECT_EQ("other", folder.read("b"));
}

TEST(UTF8FilePathOperations, DoNotLookAtTheStream) {
    TempFolder folder;
    UTF8File file(true);
    ASSERT_TRUE(file.open(folder.file("stream"), UTF8File::WRITE));
    ASSERT_TRUE(file.write("before "));
    FILE* stream = file.file;
    file.name = folder.file("a");
    EXPECT_TRUE(file.mkdir());
    EXPECT_TRUE(folder.has("a"));
    EXPECT_TRUE(file.rmdir());
    EXPECT_FALSE(folder.has("a"));
    folder.write("a", "a");
    EXPECT_TRUE(file.remove());
    EXPECT_FALSE(folder.has("a"));
    EXPECT_EQ(stream, file.file);
    EXPECT_EQ(1, file.lastOp);
    ASSERT_TRUE(file.write("behind"));
    ASSERT_TRUE(file.close());
    EXPECT_EQ("before behind", folder.read("stream"));
}

TEST(UTF8FilePathOperations, TooLongPathFails) {
    TempFolder folder;
    const std::string longPath = folder.file(std::string(300, 'x'));
    const std::string rest = " " + path(longPath) + " " + system(ENAMETOOLONG);
    UTF8File throwing(longPath, true), quiet(longPath);
    EXPECT_EQ("LCA__Could_not_create_folder" + rest, thrownMessage([&] { throwing.mkdir(); }));
    EXPECT_EQ("LCA__Could_not_delete_folder" + rest, thrownMessage([&] { throwing.rmdir(); }));
    EXPECT_EQ("LCA__Could_not_delete_file" + rest, thrownMessage([&] { throwing.remove(); }));
    EXPECT_EQ("LCA__Could_not_rename_file" + rest, thrownMessage([&] { throwing.rename(folder.file("b")); }));
    EXPECT_FALSE(quiet.mkdir());
    EXPECT_FALSE(quiet.rmdir());
    EXPECT_FALSE(quiet.remove());
    EXPECT_FALSE(quiet.rename(folder.file("b")));
    UTF8File target(folder.write("a", "a"), true);
    EXPECT_EQ("LCA__Could_not_rename_file " + path(folder.file("a")) + " " + system(ENAMETOOLONG),
              thrownMessage([&] { target.rename(longPath); }));
    EXPECT_STREQ(folder.file("a").c_str(), target.name.data);
    EXPECT_FALSE(UTF8File::exist(longPath));
    UTF8File::Info info;
    EXPECT_FALSE(UTF8File::info(longPath, info, false));
}

TEST(UTF8FileExist, IsTrueForFilesAndFolders) {
    TempFolder folder;
    const std::string name = folder.write("a", "");
    EXPECT_FALSE(UTF8File::exist(kNoPath));
    EXPECT_FALSE(UTF8File::exist(""));
    EXPECT_FALSE(UTF8File::exist(std::string()));
    EXPECT_FALSE(UTF8File::exist(folder.file("absent")));
    EXPECT_FALSE(UTF8File::exist(folder.file("absent/a").c_str()));
    EXPECT_TRUE(UTF8File::exist(name.c_str()));
    EXPECT_TRUE(UTF8File::exist(name));
    EXPECT_TRUE(UTF8File::exist(folder.path()));
}

TEST(UTF8FileInfo, FillsTheSystemsRecord) {
    TempFolder folder;
    const std::string name = folder.write("a", "12345");
    UTF8File::Info info;
    std::memset(&info, 0, sizeof info);
    EXPECT_TRUE(UTF8File::info(name.c_str(), info, false));
    EXPECT_EQ(5, info.st_size);
    EXPECT_EQ(S_IFREG, static_cast<int>(info.st_mode & S_IFMT));
    EXPECT_GT(info.st_mtime, 1600000000);
    std::memset(&info, 0, sizeof info);
    EXPECT_TRUE(UTF8File::info(name, info, true));
    EXPECT_EQ(5, info.st_size);
    EXPECT_TRUE(UTF8File::info(folder.path(), info, true));
    EXPECT_EQ(S_IFDIR, static_cast<int>(info.st_mode & S_IFMT));
    std::memset(&info, 0, sizeof info);
    UTF8File file(name, true);
    EXPECT_TRUE(file.info(info));
    EXPECT_EQ(5, info.st_size);
}

TEST(UTF8FileInfo, NullAndEmptyPathsAreFalseWithoutAReport) {
    UTF8File::Info info;
    UTF8File unnamed(true), empty("", true);
    EXPECT_EQ("(nothing)", thrownMessage([&] {
                  EXPECT_FALSE(UTF8File::info(kNoPath, info, true));
                  EXPECT_FALSE(UTF8File::info("", info, true));
                  EXPECT_FALSE(UTF8File::info(std::string(), info, true));
                  EXPECT_FALSE(unnamed.info(info));
                  EXPECT_FALSE(empty.info(info));
              }));
}

// The one failure without a path segment and a diagnostic: the path is the parameter.
TEST(UTF8FileInfo, FailureCarriesThePathAsItsParameter) {
    TempFolder folder;
    const std::string absent = folder.file("absent");
    const std::string expected = "LCA__Could_not_get_information_for(" + absent + ")";
    UTF8File::Info info;
    EXPECT_FALSE(UTF8File::info(absent, info, false));
    EXPECT_FALSE(UTF8File::info(absent.c_str(), info, false));
    EXPECT_EQ(expected, thrownMessage([&] { UTF8File::info(absent, info, true); }));
    EXPECT_EQ(expected, thrownMessage([&] { UTF8File::info(absent.c_str(), info, true); }));
    UTF8File throwing(absent, true), quiet(absent);
    EXPECT_EQ(expected, thrownMessage([&] { throwing.info(info); }));
    EXPECT_FALSE(quiet.info(info));
}

// ---- erro ----

TEST(UTF8FileErro, QuietObjectDoesNothing) {
    UTF8File file("name");
    TTT message(VELMORA_DICT, LCA__Disk_full);
    EXPECT_EQ("(nothing)", thrownMessage([&] {
                  file.erro(VELMORA_DICT, LCA__Disk_full, "path", ENOENT);
                  file.erro(message, "path", ENOENT);
              }));
}

// One past the highest number that the runtime has a text for.
int errorTextCount() {
#ifdef _WIN32
    return _sys_nerr;
#else
    int count = 0;
    for (int i = 1; i < 4096; ++i) {
        if (!startsWith(std::strerror(i), "Unknown error")) count = i + 1;
    }
    return count;
#endif
}

TEST(UTF8FileErro, BuildsMessagePathAndDiagnostic) {
    const int count = errorTextCount();
    ASSERT_GT(count, 40);
    struct Row {
        int line;
        const char* name;
        const char* path;
        int systemError;
        std::string rest;
    };
    const Row rows[] = {
        {__LINE__, "name", "path", -1, " LCA__Path_s(path)"},
        {__LINE__, "name", "path", 0, " LCA__Path_s(path)"},
        {__LINE__, "name", "path", INT_MIN, " LCA__Path_s(path)"},
        {__LINE__, "name", "path", EACCES, " LCA__Path_s(path) " + system(EACCES)},
        {__LINE__, "name", nullptr, -1, " LCA__Path_s(name)"},
        {__LINE__, "name", nullptr, ENOENT, " LCA__Path_s(name) " + system(ENOENT)},
        {__LINE__, nullptr, nullptr, -1, ""},
        {__LINE__, nullptr, nullptr, ENOENT, " " + system(ENOENT)},
        {__LINE__, nullptr, "path", -1, " LCA__Path_s(path)"},
        {__LINE__, "", nullptr, -1, ""},
        // An empty path is not a null one: the name does not stand in.
        {__LINE__, "name", "", -1, ""},
        {__LINE__, "name", "", EEXIST, " " + system(EEXIST)},
        {__LINE__, "name", "path", 1, " LCA__Path_s(path) " + system(1)},
        {__LINE__, "name", "path", count - 1, " LCA__Path_s(path) " + system(count - 1)},
        {__LINE__, "name", "path", count, " LCA__Path_s(path) LCA__Error_code_d(" + std::to_string(count) + ")"},
        {__LINE__, "name", "path", 1000000, " LCA__Path_s(path) LCA__Error_code_d(1000000)"},
        {__LINE__, "name", "path", INT_MAX, " LCA__Path_s(path) LCA__Error_code_d(2147483647)"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE("row at line " + std::to_string(row.line));
        UTF8File file(row.name, true);
        file.lastOp = 1;
        EXPECT_EQ("LCA__Disk_full" + row.rest,
                  thrownMessage([&] { file.erro(VELMORA_DICT, LCA__Disk_full, row.path, row.systemError); }));
        TTT message("%s and %d");
        message < "text" < 7;
        TTT before(message);
        std::string thrown;
        try {
            file.erro(message, row.path, row.systemError);
        } catch (const TTT& whole) {
            // The dump cannot tell the parameters of a raw template: the rest is shown alone.
            EXPECT_EQ(before.getData(), Bag(whole.getData().data, before.getData().size));
            int start = (before.getData().size + 3) / 4 * 4;
            int length = whole.getData().size;
            thrown =
                length > start ? " " + support::dumpMessage(TTT(whole.getData().data + start, length - start)) : "";
        }
        EXPECT_EQ(row.rest, thrown);
        EXPECT_EQ(before.getData(), message.getData());
        EXPECT_EQ(1, file.lastOp);
        EXPECT_TRUE(file.throwing);
        EXPECT_STREQ(row.name, file.name.data);
    }
}

TEST(UTF8FileErro, ThrowsTheBytesOfThreeSegments) {
    UTF8File file(true);
    std::string thrown;
    try {
        file.erro(VELMORA_DICT, LCA__Cannot_open_file, "ab", 1000000);
    } catch (const TTT& message) {
        thrown = ChPair(message.getData()).std();
    }
    const std::string tag("\xFE\xFF\xFF\xFF\2\0\0\0", 8);
    EXPECT_EQ(tag + std::string("\4\0\0\0", 4) + tag +
                  std::string("\x19\0\0\0"
                              "ab\0\0",
                              8) +
                  tag +
                  std::string("\x11\0\0\0"
                              "\x40\x42\x0F\0",
                              8),
              thrown);
}

TEST(UTF8FileErro, TakesOtherDictionaries) {
    UTF8File file(true);
    int dict = 0, id = 0;
    try {
        file.erro(static_cast<LocDictionaryId>(4), 7, nullptr, -1);
    } catch (const TTT& message) {
        message.getIds(&dict, &id);
    }
    EXPECT_EQ(4, dict);
    EXPECT_EQ(7, id);
}

// ---- a device that is always full, and streams that fail on demand ----

#ifndef _WIN32

const char* const kFull = "/dev/full";

#define SKIP_WITHOUT_FULL_DEVICE() \
    if (!std::filesystem::exists(kFull)) GTEST_SKIP() << "this system has no " << kFull

TEST(UTF8FileFullDevice, CloseReports) {
    SKIP_WITHOUT_FULL_DEVICE();
    TempFolder folder;
    int descriptor = nextDescriptor(folder);
    UTF8File throwing(true), quiet;
    ASSERT_TRUE(throwing.open(kFull, UTF8File::WRITE));
    ASSERT_TRUE(throwing.write("x"));
    EXPECT_EQ("LCA__Cannot_close_file " + path(kFull) + " " + system(ENOSPC), thrownMessage([&] { throwing.close(); }));
    EXPECT_EQ(nullptr, throwing.file);
    EXPECT_EQ(2, throwing.lastOp);
    EXPECT_TRUE(throwing.throwing);
    EXPECT_TRUE(throwing.close());
    ASSERT_TRUE(quiet.open(kFull, UTF8File::WRITE));
    ASSERT_TRUE(quiet.write("x"));
    EXPECT_FALSE(quiet.close());
    EXPECT_EQ(nullptr, quiet.file);
    EXPECT_EQ(descriptor, nextDescriptor(folder));
}

TEST(UTF8FileFullDevice, DestructorClearAndStealFromAreSilent) {
    SKIP_WITHOUT_FULL_DEVICE();
    EXPECT_EQ("(nothing)", thrownMessage([] {
                  UTF8File file(true);
                  EXPECT_TRUE(file.open(kFull, UTF8File::WRITE));
                  EXPECT_TRUE(file.write("x"));
              }));
    UTF8File cleared(true), robbed(true), source(true);
    ASSERT_TRUE(cleared.open(kFull, UTF8File::WRITE));
    ASSERT_TRUE(cleared.write("x"));
    EXPECT_EQ("(nothing)", thrownMessage([&] { cleared.clear(); }));
    EXPECT_EQ(nullptr, cleared.file);
    EXPECT_FALSE(cleared.throwing);
    ASSERT_TRUE(robbed.open(kFull, UTF8File::WRITE));
    ASSERT_TRUE(robbed.write("x"));
    EXPECT_EQ("(nothing)", thrownMessage([&] { robbed.stealFrom(source); }));
    EXPECT_EQ(nullptr, robbed.file);
    EXPECT_TRUE(robbed.throwing);
}

TEST(UTF8FileFullDevice, WriteReports) {
    SKIP_WITHOUT_FULL_DEVICE();
    const std::string block(1 << 16, 'x');
    UTF8File throwing(true), quiet;
    ASSERT_TRUE(throwing.open(kFull, UTF8File::WRITE));
    EXPECT_EQ("LCA__Write_file_error " + path(kFull) + " " + system(ENOSPC),
              thrownMessage([&] { throwing.write(block.data(), static_cast<int>(block.size())); }));
    EXPECT_EQ(1, throwing.lastOp);
    ASSERT_TRUE(quiet.open(kFull, UTF8File::WRITE));
    EXPECT_FALSE(quiet.write(block.data(), static_cast<int>(block.size())));
}

TEST(UTF8FileFullDevice, FlushReportsWithoutADiagnostic) {
    SKIP_WITHOUT_FULL_DEVICE();
    UTF8File throwing(true), quiet;
    ASSERT_TRUE(throwing.open(kFull, UTF8File::WRITE));
    ASSERT_TRUE(throwing.write("x"));
    EXPECT_EQ("LCA__Could_not_flush_file " + path(kFull), thrownMessage([&] { throwing.flush(); }));
    EXPECT_EQ(1, throwing.lastOp);
    ASSERT_TRUE(quiet.open(kFull, UTF8File::WRITE));
    ASSERT_TRUE(quiet.write("x"));
    EXPECT_FALSE(quiet.flush());
    EXPECT_EQ(1, quiet.lastOp);
}

TEST(UTF8FileFullDevice, ReadAfterWriteReportsTheFlush) {
    SKIP_WITHOUT_FULL_DEVICE();
    const std::string expected = "LCA__Could_not_flush_file " + path(kFull);
    char buffer[8];
    for (bool line : {false, true}) {
        UTF8File throwing(true), quiet;
        ASSERT_TRUE(throwing.open(kFull, UTF8File::UPDATE));
        ASSERT_TRUE(throwing.write("x"));
        EXPECT_TRUE(throwing.read(buffer, 0));
        EXPECT_EQ(1, throwing.lastOp);
        EXPECT_EQ(expected, thrownMessage([&] {
                      if (line) {
                          throwing.readLine(buffer, sizeof buffer, nullptr);
                      } else {
                          throwing.read(buffer, 1);
                      }
                  }));
        EXPECT_EQ(1, throwing.lastOp);
        ASSERT_TRUE(quiet.open(kFull, UTF8File::UPDATE));
        ASSERT_TRUE(quiet.write("x"));
        EXPECT_FALSE(line ? quiet.readLine(buffer, sizeof buffer, nullptr) : quiet.read(buffer, 1));
        EXPECT_EQ(1, quiet.lastOp);
    }
}

// A stream over bytes in memory whose calls fail when told to, with any error number or with none.
class FaultyStream {
public:
    static constexpr int kWorks = -1;

    std::string content;
    std::string log;  // a letter per call: r, w, and s with its whence
    int readError = kWorks;
    int writeError = kWorks;
    int seekError = kWorks;
    int failingWhence = -1;  // the one kind of seek that fails; negative: every kind
    int closeError = kWorks;

    FaultyStream() = default;
    FaultyStream(const FaultyStream&) = delete;
    void operator=(const FaultyStream&) = delete;

    void open(UTF8File& file, bool buffered = false) {
        cookie_io_functions_t calls = {&read, &write, &seek, &close};
        file.file = fopencookie(this, "r+", calls);
        file.name = "faulty";
        if (!buffered) std::setvbuf(file.file, nullptr, _IONBF, 0);
    }

private:
    std::size_t place_ = 0;

    static FaultyStream& self(void* cookie) { return *static_cast<FaultyStream*>(cookie); }

    static bool fails(int error) {
        if (error > 0) errno = error;
        return error != kWorks;
    }

    static ssize_t read(void* cookie, char* out, std::size_t size) {
        FaultyStream& s = self(cookie);
        s.log += 'r';
        if (fails(s.readError)) return -1;
        std::size_t n = s.content.copy(out, size, std::min(s.place_, s.content.size()));
        s.place_ += n;
        return static_cast<ssize_t>(n);
    }

    static ssize_t write(void* cookie, const char* src, std::size_t size) {
        FaultyStream& s = self(cookie);
        s.log += 'w';
        if (fails(s.writeError)) return 0;
        s.content.replace(std::min(s.place_, s.content.size()), size, src, size);
        s.place_ += size;
        return static_cast<ssize_t>(size);
    }

    static int seek(void* cookie, off64_t* offset, int whence) {
        FaultyStream& s = self(cookie);
        s.log += 's' + std::to_string(whence);
        if ((s.failingWhence < 0 || s.failingWhence == whence) && fails(s.seekError)) return -1;
        off64_t base = whence == SEEK_SET   ? 0
                       : whence == SEEK_CUR ? static_cast<off64_t>(s.place_)
                                            : static_cast<off64_t>(s.content.size());
        *offset += base;
        s.place_ = static_cast<std::size_t>(*offset);
        return 0;
    }

    static int close(void* cookie) { return fails(self(cookie).closeError) ? -1 : 0; }
};

TEST(UTF8FileFaults, CloseReportsTheErrorOfTheClose) {
    FaultyStream stream;
    stream.closeError = EIO;
    UTF8File throwing(true), quiet;
    stream.open(throwing);
    throwing.lastOp = 1;
    EXPECT_EQ("LCA__Cannot_close_file " + path("faulty") + " " + system(EIO), thrownMessage([&] { throwing.close(); }));
    EXPECT_EQ(nullptr, throwing.file);
    EXPECT_EQ(2, throwing.lastOp);
    stream.open(quiet);
    EXPECT_FALSE(quiet.close());
    EXPECT_EQ(nullptr, quiet.file);
}

TEST(UTF8FileFaults, ReadReportsTheErrorOfTheRead) {
    FaultyStream stream;
    stream.readError = EIO;
    UTF8File file(true);
    stream.open(file);
    char buffer[8];
    EXPECT_EQ("LCA__Read_file_error " + path("faulty") + " " + system(EIO), thrownMessage([&] {
                  errno = 0;
                  file.read(buffer, 4);
              }));
    EXPECT_EQ(0, file.lastOp);
}

TEST(UTF8FileFaults, ReadLineReportsAReadThatIsNotTheEnd) {
    FaultyStream stream;
    stream.readError = EIO;
    UTF8File throwing(true), quiet;
    char buffer[8];
    bool eof = false;
    stream.open(throwing);
    EXPECT_EQ("LCA__Read_file_error " + path("faulty") + " " + system(EIO),
              thrownMessage([&] { throwing.readLine(buffer, sizeof buffer, &eof); }));
    EXPECT_EQ(0, throwing.lastOp);
    stream.open(quiet);
    EXPECT_FALSE(quiet.readLine(buffer, sizeof buffer, &eof));
    EXPECT_FALSE(eof);
}

TEST(UTF8FileFaults, ErrorNumberDecidesWhatAShortWriteIs) {
    struct Row {
        int line;
        int before;
        int writeError;
        std::string message;
    };
    const Row rows[] = {
        {__LINE__, 0, 0, "LCA__Disk_full " + path("faulty")},
        {__LINE__, 0, EIO, "LCA__Write_file_error " + path("faulty") + " " + system(EIO)},
        // The number is a left-over of an earlier call, and is believed.
        {__LINE__, EACCES, 0, "LCA__Write_file_error " + path("faulty") + " " + system(EACCES)},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE("row at line " + std::to_string(row.line));
        FaultyStream stream;
        stream.writeError = row.writeError;
        UTF8File throwing(true), quiet;
        stream.open(throwing);
        EXPECT_EQ(row.message, thrownMessage([&] {
                      errno = row.before;
                      throwing.write("xyz", 3);
                  }));
        EXPECT_EQ(1, throwing.lastOp);
        stream.open(quiet);
        EXPECT_FALSE(quiet.write("xyz", 3));
        EXPECT_EQ(1, quiet.lastOp);
    }
}

TEST(UTF8FileFaults, WriteAfterReadReportsTheSeek) {
    FaultyStream stream;
    stream.content = "abcdef";
    stream.seekError = ESPIPE;
    UTF8File throwing(true), quiet;
    for (UTF8File* file : {&throwing, &quiet}) {
        stream.open(*file);
        file->lastOp = 0;
        EXPECT_TRUE(file->write(static_cast<const void*>("x"), 0));
        EXPECT_EQ(0, file->lastOp);
    }
    EXPECT_EQ("LCA__Seek_file_error " + path("faulty") + " " + system(ESPIPE),
              thrownMessage([&] { throwing.write("x", 1); }));
    EXPECT_EQ(0, throwing.lastOp);
    EXPECT_FALSE(quiet.write("x", 1));
    EXPECT_EQ(0, quiet.lastOp);
    EXPECT_EQ("abcdef", stream.content);
}

TEST(UTF8FileFaults, OnlyAChangeOfDirectionSynchronises) {
    FaultyStream stream;
    UTF8File file(true);
    stream.open(file);
    ASSERT_TRUE(file.write("a"));
    ASSERT_TRUE(file.write("b"));
    file.lastOp = 2;
    ASSERT_TRUE(file.write("c"));
    EXPECT_EQ(std::string::npos, stream.log.find('s'));
    stream.log.clear();
    file.lastOp = 0;
    ASSERT_TRUE(file.write("d"));
    ASSERT_FALSE(stream.log.empty());
    EXPECT_EQ('s', stream.log.front());
    EXPECT_EQ('w', stream.log.back());
    EXPECT_EQ("abcd", stream.content);
}

TEST(UTF8FileFaults, SizeReportsTheSeekToTheEnd) {
    FaultyStream stream;
    stream.content = "abcdef";
    UTF8File throwing(true), quiet;
    for (UTF8File* file : {&throwing, &quiet}) {
        stream.open(*file);
        ASSERT_TRUE(file->seek(2, 0));
    }
    stream.seekError = EIO;
    stream.failingWhence = SEEK_END;
    throwing.lastOp = quiet.lastOp = 0;
    EXPECT_EQ("LCA__Seek_file_error " + path("faulty") + " " + system(EIO), thrownMessage([&] { throwing.size(); }));
    EXPECT_EQ(-1, quiet.size());
    for (UTF8File* file : {&throwing, &quiet}) {
        EXPECT_EQ(0, file->lastOp);
        EXPECT_EQ(2, file->pos());
    }
    // The same failure, reported once, is all that comes of the other forms.
    EXPECT_EQ("LCA__Seek_file_error " + path("faulty") + " " + system(EIO),
              thrownMessage([&] { throwing.checkSize(0); }));
    EXPECT_EQ(-1, quiet.checkSize(100));
}

TEST(UTF8FileConstruct, DefaultMayBeLeftToTheCompiler) {
    struct Holder {
        UTF8File file;
        int more;
    };
    Holder holder = {};
    UTF8File files[2] = {};
    EXPECT_FALSE(holder.file.throwing);
    EXPECT_FALSE(files[1].isOpened());
}

TEST(UTF8FileStealFrom, ItselfChangesNothing) {
    support::TempFolder folder;
    UTF8File file(folder.write("f", "text"), true);
    ASSERT_TRUE(file.open(UTF8File::READ));
    FILE* stream = file.file;
    file.stealFrom(file);
    EXPECT_EQ(stream, file.file);
    EXPECT_TRUE(file.throwing);
    EXPECT_FALSE(file.name.empty());
}

TEST(UTF8FileRename, ToItsOwnPathSucceeds) {
    support::TempFolder folder;
    UTF8File file(folder.write("f", "text"), true);
    EXPECT_TRUE(file.rename(file.name));
    EXPECT_EQ("text", folder.read("f"));
    UTF8File missing(folder.file("missing"), false);
    EXPECT_FALSE(missing.rename(missing.name));
}

TEST(UTF8FileFaults, SizeThatCannotComeBackStaysAtTheEnd) {
    FaultyStream stream;
    stream.content = "abcdef";
    stream.seekError = EIO;
    stream.failingWhence = SEEK_SET;
    UTF8File throwing(true), quiet;
    stream.open(throwing);
    EXPECT_EQ("LCA__Seek_file_error " + path("faulty") + " " + system(EIO), thrownMessage([&] { throwing.size(); }));
    EXPECT_EQ(6, throwing.pos());
    stream.open(quiet);
    quiet.lastOp = 0;
    EXPECT_EQ(-1, quiet.size());
    EXPECT_EQ(6, quiet.pos());
    EXPECT_EQ(0, quiet.lastOp);
}

TEST(UTF8FileFaults, PosHasNoReport) {
    FaultyStream stream;
    stream.seekError = ESPIPE;
    UTF8File file(true);
    stream.open(file);
    EXPECT_EQ("(nothing)", thrownMessage([&] { EXPECT_EQ(-1, file.pos()); }));
}

TEST(UTF8FileRename, NameFollowsAlthoughTheStreamHasTheOldOne) {
    TempFolder folder;
    UTF8File file(true);
    ASSERT_TRUE(file.open(folder.file("a"), UTF8File::WRITE));
    ASSERT_TRUE(file.write("before "));
    EXPECT_TRUE(file.rename(folder.file("b")));
    EXPECT_STREQ(folder.file("b").c_str(), file.name.data);
    ASSERT_TRUE(file.write("behind"));
    ASSERT_TRUE(file.close());
    EXPECT_EQ("before behind", folder.read("b"));
    EXPECT_FALSE(folder.has("a"));
}

#endif

// ---- paths that are parts of what they change ----

TEST(UTF8FilePathArguments, MayBePartsOfTheOwnName) {
    TempFolder folder;
    const std::filesystem::path before = std::filesystem::current_path();
    std::filesystem::current_path(folder.path());
    {
        folder.write("left", "content");
        UTF8File file("some left", true);
        EXPECT_TRUE(file.open(file.name.data + 5, UTF8File::READ));
        EXPECT_STREQ("left", file.name.data);
        EXPECT_TRUE(file.close());
        EXPECT_TRUE(file.open(file.name.data, UTF8File::READ));
        EXPECT_TRUE(file.close());

        UTF8File moved("left", true);
        EXPECT_TRUE(moved.rename(moved.name.data + 1));
        EXPECT_STREQ("eft", moved.name.data);
        EXPECT_EQ("content", folder.read("eft"));
        EXPECT_FALSE(folder.has("left"));

        UTF8File::Info info;
        EXPECT_TRUE(moved.info(info));
        EXPECT_TRUE(UTF8File::info(moved.name.data, info, true));
        EXPECT_TRUE(UTF8File::exist(moved.name.data));
        EXPECT_FALSE(UTF8File::exist(moved.name.data + 1));
        EXPECT_EQ("LCA__Disk_full LCA__Path_s(ft)",
                  thrownMessage([&] { moved.erro(VELMORA_DICT, LCA__Disk_full, moved.name.data + 1, -1); }));

        UTF8File missing("no such file", true);
        EXPECT_EQ("LCA__Cannot_open_file LCA__Path_s(such file) " + system(ENOENT),
                  thrownMessage([&] { missing.open(missing.name.data + 3, UTF8File::READ); }));
        EXPECT_STREQ("such file", missing.name.data);
        EXPECT_EQ("LCA__Could_not_rename_file LCA__Path_s(such file) " + system(ENOENT),
                  thrownMessage([&] { missing.rename(missing.name.data + 5); }));
        EXPECT_STREQ("such file", missing.name.data);
    }
    std::filesystem::current_path(before);
}

// A std::string is its characters up to the first zero.
TEST(UTF8FilePathArguments, StringEndsAtItsFirstZero) {
    TempFolder folder;
    const std::string name = folder.write("a", "content");
    const std::string longer = name + std::string("\0.txt", 5);
    UTF8File kept(longer);
    EXPECT_STREQ(name.c_str(), kept.name.data);
    UTF8File file;
    EXPECT_TRUE(file.open(longer, UTF8File::READ));
    EXPECT_STREQ(name.c_str(), file.name.data);
    EXPECT_TRUE(UTF8File::exist(longer));
    UTF8File::Info info;
    EXPECT_TRUE(UTF8File::info(longer, info, false));
    ASSERT_TRUE(file.close());
    EXPECT_TRUE(file.rename(folder.file("b") + std::string("\0c", 2)));
    EXPECT_STREQ(folder.file("b").c_str(), file.name.data);
    EXPECT_EQ("content", folder.read("b"));
}

#ifndef _WIN32

// ---- access and links ----

TEST(UTF8FileAccess, WhatIsMadeIsOpenToAllButTheMask) {
    for (mode_t mask : {0, 022, 077}) {
        SCOPED_TRACE(mask);
        TempFolder folder;
        const mode_t before = umask(mask);
        UTF8File made(folder.file("folder")), file;
        const bool ok = made.mkdir() && file.open(folder.file("file"), UTF8File::WRITE);
        UTF8File::save(folder.file("saved").c_str(), std::string("x"));
        UTF8File::safe_save(folder.file("safely").c_str(), std::string("x"));
        umask(before);
        ASSERT_TRUE(ok);
        UTF8File::Info info;
        ASSERT_TRUE(made.info(info));
        EXPECT_EQ(0777U & ~mask, info.st_mode & 07777U);
        for (const char* name : {"file", "saved", "safely"}) {
            ASSERT_TRUE(UTF8File::info(folder.file(name), info, false));
            EXPECT_EQ(0666U & ~mask, info.st_mode & 07777U) << name;
        }
    }
}

TEST(UTF8FileLinks, InfoAndExistFollowThem) {
    TempFolder folder;
    folder.write("file", "12345");
    UTF8File(folder.file("folder"), true).mkdir();
    std::filesystem::create_symlink("file", folder.file("toFile"));
    std::filesystem::create_symlink("toFile", folder.file("toLink"));
    std::filesystem::create_symlink("folder", folder.file("toFolder"));
    std::filesystem::create_symlink("nothing", folder.file("toNothing"));
    std::filesystem::create_symlink("toItself", folder.file("toItself"));
    struct Row {
        int line;
        const char* name;
        unsigned type;  // 0: there is nothing
    };
    const Row rows[] = {
        {__LINE__, "toFile", S_IFREG}, {__LINE__, "toLink", S_IFREG}, {__LINE__, "toFolder", S_IFDIR},
        {__LINE__, "toNothing", 0},    {__LINE__, "toItself", 0},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.line);
        const std::string name = folder.file(row.name);
        UTF8File::Info info = {};
        EXPECT_EQ(row.type != 0, UTF8File::exist(name));
        EXPECT_EQ(row.type != 0, UTF8File::info(name, info, false));
        if (row.type != 0) {
            EXPECT_EQ(row.type, info.st_mode & S_IFMT);
        } else {
            EXPECT_EQ("LCA__Could_not_get_information_for(" + name + ")",
                      thrownMessage([&] { UTF8File::info(name, info, true); }));
        }
        if (row.type == S_IFREG) {
            EXPECT_EQ(5, info.st_size);
        }
    }
    // A removal is of the link, wherever it leads to.
    for (const char* name : {"toFile", "toNothing", "toItself"}) {
        EXPECT_TRUE(UTF8File(folder.file(name)).remove());
        EXPECT_FALSE(std::filesystem::is_symlink(folder.file(name)));
    }
    EXPECT_EQ("12345", folder.read("file"));
}

#endif

}  // namespace
