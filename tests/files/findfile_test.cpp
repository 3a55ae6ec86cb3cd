#include <velmora/files/findfile.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <climits>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <set>
#include <string>
#include <utility>
#include <vector>

#ifdef _WIN32
#include <windows.h>
#else
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#endif

#include <velmora/text/charr.h>

#include "tests/support/descriptors.h"
#include "tests/support/temp_folder.h"

namespace {

using support::TempFolder;
using Names = std::vector<std::string>;

#ifdef _WIN32
constexpr char kSeparator = '\\';
#else
constexpr char kSeparator = '/';
#endif

static_assert(offsetof(ZFindFile, allowMask) == 0, "");
static_assert(offsetof(ZFindFile, denyMask) == 4, "");
static_assert(offsetof(ZFindFile, attributes) == 8, "");
static_assert(offsetof(ZFindFile, name) == 16, "");
static_assert(offsetof(ZFindFile, record) == 24, "");
static_assert(offsetof(ZFindFile, handle) == 24 + sizeof(ZFindFile::Record), "");
static_assert(sizeof(ZFindFile::Record::name) == 520, "");

Names sorted(Names names) {
    std::sort(names.begin(), names.end());
    return names;
}

// What is left of a find, in the order of the alphabet.
Names rest(ZFindFile& find) {
    Names names;
    while (find.next()) names.push_back(find.getName());
    return sorted(names);
}

Names listed(const std::string& mask) {
    ZFindFile find(mask.c_str());
    return rest(find);
}

Names listed(const std::string& mask, int allow, int deny) {
    ZFindFile find(mask.c_str());
    find.setFilter(allow, deny);
    return rest(find);
}

class FindFileTest : public testing::Test {
protected:
    TempFolder folder;
    std::string base = native(folder.path());

    static std::string native(std::string path) {
        std::replace(path.begin(), path.end(), '/', kSeparator);
        return path;
    }
    std::string mask(const std::string& pattern) const { return base + kSeparator + pattern; }
    void makeFolder(const std::string& name) const {
        std::filesystem::create_directory(std::filesystem::path(folder.path()) / name);
    }
    void hide(const std::string& name) const {
#ifdef _WIN32
        ASSERT_TRUE(SetFileAttributesW(ChArr16(mask(name).c_str()).data, FILE_ATTRIBUTE_HIDDEN));
#else
        ASSERT_EQ('.', name[0]);
#endif
    }
};

// ---- the mask ----

TEST_F(FindFileTest, FolderIsListedWithAndWithoutItsSeparator) {
    folder.write("one", "1");
    folder.write("two.txt", "22");
    const Names both = {"one", "two.txt"};
    EXPECT_EQ(both, listed(base));
    EXPECT_EQ(both, listed(base + kSeparator));
    EXPECT_EQ(both, listed(mask("*")));
}

TEST_F(FindFileTest, MaskThatEndsInAStarIsAPattern) {
    for (const char* name : {"abc", "abd.txt", "b.txt", "x.y.z"}) folder.write(name, "");
    struct Row {
        int line;
        const char* pattern;
        Names names;
    };
    const Row rows[] = {
        {__LINE__, "*", {"abc", "abd.txt", "b.txt", "x.y.z"}},
        {__LINE__, "*.*", {"abc", "abd.txt", "b.txt", "x.y.z"}},
        {__LINE__, "ab*", {"abc", "abd.txt"}},
        {__LINE__, "a?d*", {"abd.txt"}},
        {__LINE__, "*.t*", {"abd.txt", "b.txt"}},
        {__LINE__, "*.y*", {"x.y.z"}},
        {__LINE__, "??c*", {"abc"}},
        {__LINE__, "q*", {}},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.line);
        EXPECT_EQ(row.names, listed(mask(row.pattern)));
    }
}

TEST_F(FindFileTest, MaskThatEndsInAnythingElseNamesAFolder) {
    folder.write("a.txt", "");
    EXPECT_EQ(Names(), listed(mask("*.txt")));
    EXPECT_EQ(Names(), listed(mask("a.txt")));
    EXPECT_EQ(Names(), listed(mask("missing")));
    makeFolder("inner");
    folder.write("inner/b", "");
    EXPECT_EQ(Names{"b"}, listed(mask("inner")));
}

TEST_F(FindFileTest, EmptyMaskFindsNothing) {
    ZFindFile find("");
    EXPECT_EQ(-1, find.handle);
    EXPECT_FALSE(find.next());
}

#ifdef _WIN32
// Another separator at the end gets one of the system's own, and a star, which the system takes for the same folder.
TEST_F(FindFileTest, SlashIsNoSeparatorOfAMask) {
    folder.write("one", "");
    EXPECT_EQ(Names{"one"}, listed(base + '/'));
}
#endif

#ifndef _WIN32
TEST_F(FindFileTest, OnlyTheSystemsSeparatorCounts) {
    makeFolder("back\\");
    folder.write("back\\/x", "");
    EXPECT_EQ(Names{"x"}, listed(mask("back\\")));
}

TEST_F(FindFileTest, QuestionMarkIsACharacter) {
    folder.write("\xE2\x82\xAC", "");
    folder.write("\xF0\x9F\x98\x80", "");
    folder.write("ab", "");
    folder.write("\xC3\xA9", "");
    folder.write("\xEF\xBF\xBF", "");
    folder.write("\xF0\x90\x80\x80", "");
    EXPECT_EQ((Names{"ab", "\xC3\xA9", "\xE2\x82\xAC", "\xEF\xBF\xBF", "\xF0\x90\x80\x80", "\xF0\x9F\x98\x80"}),
              listed(mask("?*")));
    EXPECT_EQ(Names{"ab"}, listed(mask("??*")));
}

TEST_F(FindFileTest, PatternGoesBackToItsLastStar) {
    for (const char* name : {"aab", "aXab", "ab", "abab.log.1"}) folder.write(name, "");
    EXPECT_EQ((Names{"aXab", "aab", "ab", "abab.log.1"}), listed(mask("a*b*")));
    EXPECT_EQ((Names{"aXab", "aab", "abab.log.1"}), listed(mask("*a*ab*")));
    EXPECT_EQ(Names{"abab.log.1"}, listed(mask("*ab*.log.*")));
    // Many stars over a long name end soon.
    folder.write(std::string(200, 'a'), "");
    std::string stars;
    for (int i = 0; i < 60; ++i) stars += "*a";
    EXPECT_EQ(Names(), listed(mask(stars + "b*")));
}

TEST_F(FindFileTest, RelativeMasksStartAtTheWorkingFolder) {
    folder.write("here", "");
    makeFolder("inner");
    folder.write("inner/deep", "");
    const std::filesystem::path before = std::filesystem::current_path();
    std::filesystem::current_path(folder.path());
    const Names pattern = listed("h*"), self = listed("."), inner = listed("inner/");
    std::filesystem::current_path(before);
    EXPECT_EQ(Names{"here"}, pattern);
    EXPECT_EQ(Names{"here"}, self);
    EXPECT_EQ(Names{"deep"}, inner);
    ZFindFile root("/");
    EXPECT_NE(-1, root.handle);
}
#endif

TEST_F(FindFileTest, MaskIsTakenUpTo260Units) {
    // 260 units that end in a separator need one more for the star, which is the most that fits.
    std::string longest = base + kSeparator;
    longest.append(259 - longest.size(), 'x');
    longest += kSeparator;
    EXPECT_EQ(Names(), listed(longest));
    // A star behind the limit is dropped, so the mask ends in something else and has no room for a pattern.
    const std::string cut = std::string(260, 'x') + "*";
    EXPECT_DEATH(listed(cut), "");
    EXPECT_DEATH(listed(std::string(260, 'x')), "");
    EXPECT_EQ(Names(), listed(std::string(259, 'x')));
    // Units are counted, not bytes.
    std::string wide;
    for (int i = 0; i < 259; ++i) wide += "\xC3\xA9";
    EXPECT_EQ(Names(), listed(wide));
    EXPECT_DEATH(listed(wide + "\xC3\xA9"), "");
    EXPECT_EQ(Names(), listed(std::string(259, 'x') + "*"));
}

// ---- the filter ----

TEST_F(FindFileTest, EmptyFolderIsFalseAtOnce) {
    ZFindFile find(base.c_str());
    EXPECT_NE(-1, find.handle);
    find.allowDirs(true);
    EXPECT_FALSE(find.next());
    EXPECT_EQ(-1, find.handle);
}

TEST_F(FindFileTest, StartsWithFilesAndWithoutFolders) {
    ZFindFile find(base.c_str());
    EXPECT_EQ(-1, find.allowMask);
    EXPECT_EQ(16, find.denyMask);
    EXPECT_EQ(INT_MIN, find.attributes);
    EXPECT_EQ(nullptr, find.name.data);
}

TEST_F(FindFileTest, FoldersAndFiles) {
    folder.write("file", "");
    makeFolder("folder");
    makeFolder(".folder");
    makeFolder("..x");
    EXPECT_EQ(Names{"file"}, listed(base));
    ZFindFile all(base.c_str());
    all.allowDirs(true);
    EXPECT_EQ(0, all.denyMask);
    EXPECT_EQ((Names{"..x", ".folder", "file", "folder"}), rest(all));
    ZFindFile folders(base.c_str());
    folders.allowDirs(true);
    folders.allowFiles(false);
    EXPECT_EQ(32, folders.denyMask);
    EXPECT_EQ((Names{"..x", ".folder", "folder"}), rest(folders));
    ZFindFile none(base.c_str());
    none.allowFiles(false);
    EXPECT_EQ(48, none.denyMask);
    EXPECT_FALSE(none.next());
    none.allowDirs(false);
    none.allowFiles(true);
    EXPECT_EQ(16, none.denyMask);
    EXPECT_EQ((Names{"..x", ".folder", "folder"}), listed(base, 16, 0));
    EXPECT_EQ(Names{"file"}, listed(base, 32, 0));
}

TEST_F(FindFileTest, HiddenEntries) {
    folder.write("shown", "");
    folder.write(".hidden", "");
    makeFolder(".hiddenFolder");
    hide(".hidden");
    hide(".hiddenFolder");
    EXPECT_EQ((Names{".hidden", ".hiddenFolder"}), listed(base, 2, 0));
    EXPECT_EQ(Names{"shown"}, listed(base, -1, 2));
    EXPECT_EQ(Names{".hidden"}, listed(base, 2, 16));
    EXPECT_EQ(Names(), listed(base, 0, 0));
    EXPECT_EQ(Names(), listed(base, -1, -1));
}

TEST_F(FindFileTest, ReadOnlyEntries) {
    folder.write("writable", "");
    folder.write("fixed", "");
    folder.setReadOnly("fixed", true);
    EXPECT_EQ(Names{"fixed"}, listed(base, 1, 0));
    EXPECT_EQ(Names{"writable"}, listed(base, -1, 1));
    folder.setReadOnly("fixed", false);
}

TEST_F(FindFileTest, FilterMayChangeOnTheWay) {
    for (int i = 0; i < 5; ++i) folder.write("f" + std::to_string(i), "");
    makeFolder("d");
    ZFindFile find(base.c_str());
    std::set<std::string> seen;
    ASSERT_TRUE(find.next());
    seen.insert(find.getName());
    ASSERT_TRUE(find.next());
    seen.insert(find.getName());
    find.setFilter(0, 0);
    EXPECT_FALSE(find.next());
    EXPECT_EQ(2u, seen.size());
}

TEST_F(FindFileTest, AttributesAreTheBitsThatCountAndTheMarkOfAFile) {
    folder.write("file", "");
    makeFolder("folder");
    ZFindFile find(base.c_str());
    find.allowDirs(true);
    int seen = 0;
    while (find.next()) {
        ++seen;
        const bool isFolder = std::string("folder") == find.getName();
        EXPECT_EQ(isFolder, find.isDirectory());
        EXPECT_EQ(isFolder ? 16 : 32, find.attributes & ~7);
        EXPECT_EQ(0, find.getSize());
    }
    EXPECT_EQ(2, seen);
}

// ---- the entry ----

TEST_F(FindFileTest, SizeAndTime) {
    folder.write("file", std::string(70000, 'x'));
    const auto when = std::filesystem::file_time_type::clock::now() - std::chrono::hours(1000);
    std::filesystem::last_write_time(folder.file("file"), when);
    const auto seconds =
        std::chrono::duration_cast<std::chrono::seconds>(std::chrono::file_clock::to_sys(when).time_since_epoch())
            .count();
    ZFindFile find(base.c_str());
    ASSERT_TRUE(find.next());
    EXPECT_EQ(70000, find.getSize());
    EXPECT_NEAR(static_cast<double>(seconds), static_cast<double>(find.getTime()), 2);
    EXPECT_FALSE(find.isDirectory());
}

TEST_F(FindFileTest, SizeIsCutToItsLow32Bits) {
    folder.write("big", "");
    std::error_code refused;
    std::filesystem::resize_file(folder.file("big"), (std::uintmax_t{1} << 32) + 5, refused);
    if (refused) GTEST_SKIP() << "the file system does not hold such a file";
    ZFindFile find(base.c_str());
    ASSERT_TRUE(find.next());
    EXPECT_EQ(5, find.getSize());
}

TEST_F(FindFileTest, NameIsMadeOnceAndGoesWithTheEntry) {
    folder.write("one", "");
    folder.write("two", "");
    ZFindFile find(base.c_str());
    ASSERT_TRUE(find.next());
    EXPECT_EQ(nullptr, find.name.data);
    const char* name = find.getName();
    EXPECT_EQ(name, find.getName());
    EXPECT_EQ(name, find.name.data);
    const std::string first = name;
    ASSERT_TRUE(find.next());
    EXPECT_EQ(nullptr, find.name.data);
    EXPECT_NE(first, find.getName());
    EXPECT_FALSE(find.next());
    EXPECT_EQ(nullptr, find.name.data);
}

TEST_F(FindFileTest, NamesInAnyScript) {
    const Names names = sorted({"\xC3\xA9t\xC3\xA9", "\xD0\x9C\xD0\xB8\xD1\x80", "\xE6\x97\xA5\xE6\x9C\xAC",
                                "\xEA\xB0\x80", "\xE2\x82\xAC 100", "\xD7\xA9\xD7\x9C\xD7\x95\xD7\x9D"});
    for (const std::string& name : names) folder.write(name, name);
    EXPECT_EQ(names, listed(base));
    EXPECT_EQ(Names{names[0]}, listed(mask(names[0].substr(0, 2) + "*")));
    // The name opens the entry.
    ZFindFile find(base.c_str());
    while (find.next()) EXPECT_EQ(find.getName(), folder.read(find.getName()));
}

#ifndef _WIN32
TEST_F(FindFileTest, NamesComeBackByteForByte) {
    const Names names =
        sorted({"\xF0\x9F\x98\x80", "latin\xE9", "\x80", "\xED\xA0\x80", "\xC0\xAF", "a\xFF\xC3\xA9", "line\nend"});
    for (const std::string& name : names) folder.write(name, "");
    EXPECT_EQ(names, listed(base));
}

TEST_F(FindFileTest, LongestNamesFit) {
    std::string wide;
    for (int i = 0; i < 63; ++i) wide += "\xF0\x9F\x98\x80";
    const Names names = sorted({wide, std::string(255, 'n'), std::string(255, '\xFF')});
    for (const std::string& name : names) folder.write(name, "");
    EXPECT_EQ(names, listed(base));
}

TEST_F(FindFileTest, LinkIsWhatItLeadsTo) {
    folder.write("file", "12345");
    makeFolder("folder");
    std::filesystem::create_symlink("file", folder.file("toFile"));
    std::filesystem::create_symlink("folder", folder.file("toFolder"));
    std::filesystem::create_symlink("nowhere", folder.file("toNothing"));
    EXPECT_EQ((Names{"file", "toFile", "toNothing"}), listed(base));
    EXPECT_EQ((Names{"folder", "toFolder"}), listed(base, 16, 0));
    ZFindFile find(mask("toF*").c_str());
    ASSERT_TRUE(find.next());
    EXPECT_EQ(5, find.getSize());
}

TEST_F(FindFileTest, FolderWithoutPermissionIsFalseAtOnce) {
    makeFolder("closed");
    folder.write("closed/file", "");
    chmod(folder.file("closed").c_str(), 0);
    const bool root = geteuid() == 0;
    if (root && seteuid(65534) != 0) GTEST_SKIP() << "root may list everything";
    const bool reached = access(base.c_str(), X_OK) == 0;
    ZFindFile find(mask("closed").c_str());
    const bool first = find.next();
    if (root && seteuid(0) != 0) std::abort();
    EXPECT_TRUE(reached || root);
    EXPECT_FALSE(first);
    EXPECT_EQ(-1, find.handle);
    chmod(folder.file("closed").c_str(), 0755);
}

TEST_F(FindFileTest, EveryWayOutClosesTheFolder) {
    for (int i = 0; i < 3; ++i) folder.write(std::to_string(i), "");
    const int before = support::openDescriptors();
    { ZFindFile never(base.c_str()); }
    { ZFindFile none(mask("q*").c_str()); }
    {
        ZFindFile part(base.c_str());
        part.next();
    }
    ZFindFile whole(base.c_str());
    rest(whole);
    ZFindFile released(base.c_str());
    released.release();
    EXPECT_EQ(before, support::openDescriptors());
}
#endif

// ---- the end ----

TEST_F(FindFileTest, NothingComesBehindTheEnd) {
    folder.write("one", "");
    ZFindFile find(base.c_str());
    ASSERT_TRUE(find.next());
    EXPECT_FALSE(find.next());
    EXPECT_EQ(-1, find.handle);
    folder.write("two", "");
    EXPECT_FALSE(find.next());
    find.release();
    EXPECT_EQ(-1, find.handle);
}

TEST_F(FindFileTest, ErrorNumberTellsTheEndFromAFolderThatCannotBeListed) {
    folder.write("one", "");
    makeFolder("empty");
    const std::string missing = mask("missing");
    struct Row {
        int line;
        std::string mask;
        bool failed;
    };
    const Row rows[] = {
        {__LINE__, base, false},
        {__LINE__, mask("o*"), false},
        {__LINE__, mask("q*"), false},
        {__LINE__, mask("empty"), false},
        {__LINE__, mask("empty") + kSeparator + "q*", false},
        {__LINE__, missing, true},
        {__LINE__, missing + kSeparator + "q*", true},
        {__LINE__, mask("one"), true},
        {__LINE__, "", true},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.line);
        errno = 0;
        ZFindFile find(row.mask.c_str());
        if (find.handle != -1) errno = EPERM;
        while (find.next()) errno = EPERM;
        const int error = errno;
        EXPECT_EQ(row.failed, error != 0) << error;
    }
    errno = EPERM;
    ZFindFile none(mask("q*").c_str());
    EXPECT_FALSE(none.next());
    EXPECT_EQ(0, errno);
}

TEST_F(FindFileTest, ReleaseEndsAndMayBeRepeated) {
    folder.write("one", "");
    folder.write("two", "");
    ZFindFile find(base.c_str());
    ASSERT_TRUE(find.next());
    find.release();
    find.release();
    EXPECT_EQ(-1, find.handle);
    EXPECT_FALSE(find.next());
    ZFindFile never(base.c_str());
    never.release();
    EXPECT_FALSE(never.next());
}

TEST_F(FindFileTest, CopyGoesOnWhereTheOriginalWas) {
    const Names names = {"a", "b", "c"};
    for (const std::string& name : names) folder.write(name, "");
    ZFindFile find(base.c_str());
    ASSERT_TRUE(find.next());
    Names seen = {find.getName()};
    ZFindFile copy(find);
    EXPECT_NE(find.name.data, copy.name.data);
    EXPECT_EQ(seen[0], copy.getName());
    EXPECT_EQ(find.handle, copy.handle);
    find.handle = -1;  // only one of them may close it
    for (const std::string& name : rest(copy)) seen.push_back(name);
    EXPECT_EQ(names, sorted(seen));

    ZFindFile target("");
    ZFindFile source(base.c_str());
    source.setFilter(32, 2);
    target = source;
    EXPECT_EQ(32, target.allowMask);
    EXPECT_EQ(2, target.denyMask);
    EXPECT_EQ(INT_MIN, target.attributes);
    EXPECT_EQ(source.record.attrib, target.record.attrib);
    EXPECT_EQ(source.record.name[0], target.record.name[0]);
    source.handle = -1;
    EXPECT_EQ(names, rest(target));
}

TEST_F(FindFileTest, AssignmentTakesEveryField) {
    folder.write("12345", "12345");
    folder.setReadOnly("12345", true);
    makeFolder("other");
    ZFindFile source(base.c_str());
    source.setFilter(33, 18);
    ASSERT_TRUE(source.next());
    ASSERT_STREQ("12345", source.getName());
    ASSERT_EQ(33, source.attributes);
    ZFindFile target(mask("other").c_str());
    target.allowDirs(true);
    target.next();
    target.release();
    EXPECT_EQ(&target, &(target = source));
    for (const ZFindFile* find : {&source, &target}) {
        EXPECT_EQ(33, find->allowMask);
        EXPECT_EQ(18, find->denyMask);
        EXPECT_EQ(33, find->attributes);
        EXPECT_STREQ("12345", find->name.data);
        EXPECT_EQ(5, find->getSize());
        EXPECT_FALSE(find->isDirectory());
    }
    EXPECT_NE(source.name.data, target.name.data);
    EXPECT_EQ(source.handle, target.handle);
    EXPECT_EQ(source.record.attrib, target.record.attrib);
    EXPECT_EQ(source.record.time_create, target.record.time_create);
    EXPECT_EQ(source.record.time_access, target.record.time_access);
    EXPECT_EQ(source.record.time_write, target.record.time_write);
    EXPECT_EQ(source.record.size, target.record.size);
    EXPECT_EQ(0, std::memcmp(source.record.name, target.record.name, sizeof source.record.name));
    source.handle = -1;
    // From itself nothing changes; the end comes as it would have come to the first of the two.
    const ZFindFile& itself = target;
    target = itself;
    EXPECT_STREQ("12345", target.getName());
    EXPECT_FALSE(target.next());
    // After the end there is nothing to close.
    ZFindFile ended("");
    ended = target;
    EXPECT_EQ(-1, ended.handle);
    EXPECT_FALSE(ended.next());
    folder.setReadOnly("12345", false);
}

// A name of one find as the mask of another that takes its place.
TEST_F(FindFileTest, MaskMayBeTheOwnName) {
    makeFolder("inner");
    folder.write("inner/deep", "");
    const std::filesystem::path before = std::filesystem::current_path();
    std::filesystem::current_path(folder.path());
    {
        ZFindFile find(".");
        find.setFilter(16, 0);
        ASSERT_TRUE(find.next());
        ZFindFile inner(find.getName());
        find.release();
        find = inner;
        inner.handle = -1;
        ASSERT_TRUE(find.next());
        EXPECT_STREQ("deep", find.getName());
    }
    std::filesystem::current_path(before);
}

#ifdef _WIN32
// To the system the name ends at the zero that the stray byte becomes.
TEST_F(FindFileTest, MaskWithAZeroInItFindsNothing) {
    folder.write("file", "");
    EXPECT_EQ(Names(), listed(base + "\\\xE0"));
    EXPECT_EQ(Names(), listed(base + "\xE0\\*"));
}
#endif

TEST_F(FindFileTest, ThousandsOfEntries) {
    const char* const words[] = {"file", "\xC3\xA9", "\xD0\x9C", "\xE6\x97\xA5", "\xE2\x82\xAC"};
    Names names;
    for (int i = 0; i < 2000; ++i) {
        names.push_back(words[i % 5] + std::to_string(i));
        folder.write(names.back(), "");
    }
    EXPECT_EQ(sorted(names), listed(base));
}

}  // namespace
