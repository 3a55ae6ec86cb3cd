#include <gtest/gtest.h>

#include <cerrno>
#include <climits>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <functional>
#include <string>
#include <vector>

#ifndef _WIN32
#include <fcntl.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <csignal>
#include <thread>
#endif

#include <velmora/containers/vectors.h>
#include <velmora/files/utf8file.h>
#include <velmora/serial/bag.h>
#include <velmora/text/charr.h>
#include <velmora/text/charvector.h>

#include "tests/support/message.h"
#include "tests/support/temp_folder.h"

namespace {

using support::TempFolder;
using support::thrownMessage;

const std::uint64_t kAnySize = 1000000;

std::string path(const std::string& p) { return "LCA__Path_s(" + p + ")"; }
std::string system(int error) { return std::string("LCA__System_diagnostic_s(") + std::strerror(error) + ")"; }

bool startsWith(const std::string& text, const std::string& start) { return text.compare(0, start.size(), start) == 0; }

// The descriptor that the next opened file gets: the lowest free one, so a stream that stays open shows.
int nextDescriptor(const TempFolder& folder) {
    UTF8File file;
    EXPECT_TRUE(file.open(folder.write("descriptor", ""), UTF8File::READ));
    return file.handle();
}

bool canWriteTo(const std::string& file) {
    std::FILE* stream = std::fopen(file.c_str(), "rb+");
    if (stream) std::fclose(stream);
    return stream != nullptr;
}

std::string contentOf(const Bag& bag) { return std::string(bag.data, static_cast<std::size_t>(bag.size)); }

Bag bagOf(const std::string& content) { return Bag(content.data(), static_cast<int>(content.size())); }

// Contents that a text file, a terminator or a buffer's edge could spoil.
std::vector<std::string> contents() {
    std::string all;
    for (int i = 0; i < 256; ++i) all += static_cast<char>(i);
    std::string big;
    while (big.size() < 100001) big += all;
    return {"a", std::string("\0", 1), std::string("a\r\n\x1A\0b\r", 7), all, std::string(4096, 'x'), "привет, мир",
            big};
}

// ---- load: the five forms ----

TEST(UTF8FileLoad, IntoAnArrayHolder) {
    for (const std::string& content : contents()) {
        SCOPED_TRACE(content.size());
        TempFolder folder;
        const std::string name = folder.write("a", content);
        for (bool terminate : {false, true}) {
            ArrayHolder<char> data;
            data.data = new char[3];
            EXPECT_EQ(content.size(), UTF8File::load(name.c_str(), data, kAnySize, terminate));
            ASSERT_NE(nullptr, data.data);
            EXPECT_EQ(content, std::string(data.data, content.size()));
            if (terminate) {
                EXPECT_EQ(0, data.data[content.size()]);
            }
        }
    }
}

TEST(UTF8FileLoad, IntoAChArr) {
    for (const std::string& content : contents()) {
        SCOPED_TRACE(content.size());
        TempFolder folder;
        const std::string name = folder.write("a", content);
        for (bool terminate : {false, true}) {
            ChArr text("old");
            EXPECT_EQ(content.size(), UTF8File::load(name.c_str(), text, kAnySize, terminate));
            ASSERT_NE(nullptr, text.data);
            EXPECT_EQ(content, std::string(text.data, content.size()));
            if (terminate) {
                EXPECT_EQ(0, text.data[content.size()]);
            }
        }
    }
}

TEST(UTF8FileLoad, IntoABag) {
    for (const std::string& content : contents()) {
        SCOPED_TRACE(content.size());
        TempFolder folder;
        const std::string name = folder.write("a", content);
        for (bool terminate : {false, true}) {
            Bag bag = bagOf("old content");
            bag.toEnd();
            EXPECT_EQ(content.size(), UTF8File::load(name.c_str(), bag, kAnySize, terminate));
            EXPECT_EQ(content.size(), static_cast<std::size_t>(bag.size));
            EXPECT_EQ(bag.size, bag.bufferSize);
            EXPECT_EQ(0, bag.cursor);
            EXPECT_EQ(content, contentOf(bag));
            if (terminate) {
                EXPECT_EQ(0, bag.data[bag.size]);
            }
        }
    }
}

TEST(UTF8FileLoad, IntoAString) {
    for (const std::string& content : contents()) {
        SCOPED_TRACE(content.size());
        TempFolder folder;
        const std::string name = folder.write("a", content);
        std::string text = "old";
        EXPECT_EQ(content.size(), UTF8File::load(name.c_str(), text, kAnySize));
        EXPECT_EQ(content, text);
    }
}

TEST(UTF8FileLoad, IntoACharVector) {
    for (const std::string& content : contents()) {
        SCOPED_TRACE(content.size());
        TempFolder folder;
        const std::string name = folder.write("a", content);
        CharVector text("old");
        EXPECT_EQ(content.size(), UTF8File::load(name.c_str(), text, kAnySize));
        EXPECT_EQ(content.size(), static_cast<std::size_t>(text.count));
        EXPECT_EQ(text.count + 1, text.allocateCount);
        ASSERT_NE(nullptr, text.data);
        EXPECT_EQ(0, text.data[text.count]);
        EXPECT_EQ(content, text.std());
    }
}

TEST(UTF8FileLoad, EmptyFile) {
    TempFolder folder;
    const std::string name = folder.write("a", "");
    for (bool terminate : {false, true}) {
        SCOPED_TRACE(terminate);
        ArrayHolder<char> data;
        data.data = new char[3];
        ChArr text("old");
        Bag bag = bagOf("old");
        bag.toEnd();
        EXPECT_EQ(0u, UTF8File::load(name.c_str(), data, 0, terminate));
        EXPECT_EQ(0u, UTF8File::load(name.c_str(), text, 0, terminate));
        EXPECT_EQ(0u, UTF8File::load(name.c_str(), bag, 0, terminate));
        EXPECT_EQ(0, bag.size);
        EXPECT_EQ(0, bag.bufferSize);
        EXPECT_EQ(0, bag.cursor);
        for (const char* block : {static_cast<const char*>(data.data), static_cast<const char*>(text.data),
                                  static_cast<const char*>(bag.data)}) {
            if (terminate) {
                ASSERT_NE(nullptr, block);
                EXPECT_EQ(0, *block);
            } else {
                EXPECT_EQ(nullptr, block);
            }
        }
    }
    std::string string = "old";
    EXPECT_EQ(0u, UTF8File::load(name.c_str(), string, 0));
    EXPECT_EQ("", string);
    CharVector vector("old");
    EXPECT_EQ(0u, UTF8File::load(name.c_str(), vector, 0));
    EXPECT_EQ(nullptr, vector.data);
    EXPECT_EQ(0, vector.count);
    EXPECT_EQ(0, vector.allocateCount);
}

// Loads by every form into targets that hold something. `message` is what each form throws, "(nothing)" for success.
// A refused load must leave a ChArr and a Bag as they were, and the others empty.
void expectLoads(const std::string& name, std::uint64_t limit, const std::string& message) {
    for (bool terminate : {false, true}) {
        SCOPED_TRACE(terminate);
        ArrayHolder<char> data;
        data.data = new char[3];
        EXPECT_EQ(message, thrownMessage([&] { UTF8File::load(name.c_str(), data, limit, terminate); }));

        ChArr text("old text");
        const char* oldText = text.data;
        EXPECT_EQ(message, thrownMessage([&] { UTF8File::load(name.c_str(), text, limit, terminate); }));

        Bag bag;
        bag.expand(100);
        bag.putStringNZ("old content");
        bag.to(4);
        const char* oldData = bag.data;
        const int oldBuffer = bag.bufferSize;
        EXPECT_EQ(message, thrownMessage([&] { UTF8File::load(name.c_str(), bag, limit, terminate); }));

        if (message == "(nothing)") {
            EXPECT_NE(nullptr, data.data);
            EXPECT_NE(oldText, text.data);
            EXPECT_EQ(0, bag.cursor);
            continue;
        }
        EXPECT_EQ(nullptr, data.data);
        EXPECT_EQ(oldText, text.data);
        EXPECT_STREQ("old text", text.data);
        EXPECT_EQ(oldData, bag.data);
        EXPECT_EQ(oldBuffer, bag.bufferSize);
        EXPECT_EQ(4, bag.cursor);
        EXPECT_EQ("old content", contentOf(bag));
    }
    std::string string = "old string";
    EXPECT_EQ(message, thrownMessage([&] { UTF8File::load(name.c_str(), string, limit); }));
    CharVector vector("old vector");
    EXPECT_EQ(message, thrownMessage([&] { UTF8File::load(name.c_str(), vector, limit); }));
    if (message == "(nothing)") {
        EXPECT_FALSE(string.empty());
        EXPECT_NE(0, vector.count);
    } else {
        EXPECT_EQ("", string);
        EXPECT_EQ(nullptr, vector.data);
        EXPECT_EQ(0, vector.count);
        EXPECT_EQ(0, vector.allocateCount);
    }
}

TEST(UTF8FileWhole, NullPathCannotBeOpened) {
    const std::string expected = "LCA__Cannot_open_file";
    ArrayHolder<char> array;
    ChArr text;
    Bag bag("x", 1);
    std::string string;
    CharVector vector;
    EXPECT_EQ(expected, thrownMessage([&] { UTF8File::load(nullptr, array, 10, true); }));
    EXPECT_EQ(expected, thrownMessage([&] { UTF8File::load(nullptr, text, 10, true); }));
    EXPECT_EQ(expected, thrownMessage([&] { UTF8File::load(nullptr, bag, 10, true); }));
    EXPECT_EQ(expected, thrownMessage([&] { UTF8File::load(nullptr, string, 10); }));
    EXPECT_EQ(expected, thrownMessage([&] { UTF8File::load(nullptr, vector, 10); }));
    for (const char* data : {"", "x"}) {
        EXPECT_EQ(expected, thrownMessage([&] { UTF8File::save(nullptr, data, std::strlen(data)); }));
        EXPECT_EQ(expected, thrownMessage([&] { UTF8File::safe_save(nullptr, data, std::strlen(data)); }));
    }
    EXPECT_EQ(expected, thrownMessage([&] { UTF8File::save(nullptr, bag); }));
    EXPECT_EQ(expected, thrownMessage([&] { UTF8File::safe_save(nullptr, std::string("x")); }));
}

#ifdef _WIN32
// A stray byte and a character beyond 16 bits can be a zero to the system, which would then take the name in front of
// it.
TEST(UTF8FileWhole, NameWithAZeroInItIsNotAnotherFile) {
    for (const char* tail : {"\xE0", "\xE0.txt", "\xF0\xA0\x80\x80", "\xF0\x90\x80\x80x"}) {
        SCOPED_TRACE(tail);
        TempFolder folder;
        folder.write("file", "old");
        const std::string name = folder.file("file") + tail;
        const std::string failed = " " + path(name) + " LCA__System_diagnostic_s(" + std::strerror(EINVAL) + ")";
        EXPECT_EQ("LCA__Cannot_open_file" + failed, thrownMessage([&] { UTF8File::save(name.c_str(), "new", 3); }));
        const std::string temporary =
            " " + path(name + ".tmp") + " LCA__System_diagnostic_s(" + std::strerror(EINVAL) + ")";
        EXPECT_EQ("LCA__Cannot_open_file" + temporary,
                  thrownMessage([&] { UTF8File::safe_save(name.c_str(), "new", 3); }));
        EXPECT_FALSE(UTF8File(name.c_str()).remove());
        EXPECT_FALSE(UTF8File(name.c_str()).rename(folder.file("other").c_str()));
        EXPECT_FALSE(UTF8File(folder.file("file").c_str()).rename((folder.file("other") + tail).c_str()));
        EXPECT_FALSE(UTF8File::exist(name.c_str()));
        EXPECT_EQ("old", folder.read("file"));
        EXPECT_FALSE(folder.has("other"));
    }
}
#endif

#ifndef _WIN32
// More than an int can tell, and what would be five bytes to it. A sparse file takes no room.
TEST(UTF8FileLoad, SizeBeyondAnIntIsNeverASuccess) {
    TempFolder folder;
    const std::string name = folder.write("big", "");
    for (const std::uintmax_t size :
         {std::uintmax_t{INT_MAX} + 1, std::uintmax_t{3000000000}, (std::uintmax_t{1} << 32) + 5}) {
        SCOPED_TRACE(size);
        std::error_code refused;
        std::filesystem::resize_file(name, size, refused);
        if (refused) GTEST_SKIP() << "the file system does not hold such a file";
        expectLoads(name, INT64_MAX, "LCA__Too_big_file " + path(name));
        expectLoads(name, size, "LCA__Too_big_file " + path(name));
        expectLoads(name, size - 1, "LCA__Too_big_file " + path(name));
    }
}

// Some file systems tell a size of a folder that leaves no room for a terminator.
TEST(UTF8FileLoad, FolderIsNeverASuccess) {
    TempFolder folder;
    ArrayHolder<char> block;
    Bag bag;
    CharVector vector;
    std::string string;
    EXPECT_THROW(UTF8File::load(folder.path().c_str(), string, INT64_MAX), TTT);
    EXPECT_THROW(UTF8File::load(folder.path().c_str(), block, INT64_MAX, true), TTT);
    EXPECT_THROW(UTF8File::load(folder.path().c_str(), bag, INT64_MAX, true), TTT);
    EXPECT_THROW(UTF8File::load(folder.path().c_str(), vector, INT64_MAX), TTT);
}
#endif

// Nothing is opened and nothing removed for bytes that one write cannot take; none of them is looked at.
TEST(UTF8FileWhole, SizeBeyondAnIntIsRefusedBeforeAnythingIsTouched) {
    const char few[16] = {};
    for (const std::uint64_t size : {std::uint64_t{INT_MAX} + 1, std::uint64_t{3000000000}, std::uint64_t{1} << 32,
                                     (std::uint64_t{1} << 32) + 5, UINT64_MAX}) {
        SCOPED_TRACE(size);
        TempFolder folder;
        for (const char* name : {"there", "not there"}) {
            const std::string whole = folder.file(name);
            const bool before = std::strcmp(name, "there") == 0;
            if (before) folder.write(name, "old");
            const std::string refused = "LCA__Too_big_file " + path(whole);
            EXPECT_EQ(refused, thrownMessage([&] { UTF8File::save(whole.c_str(), few, size); }));
            EXPECT_EQ(refused, thrownMessage([&] { UTF8File::safe_save(whole.c_str(), few, size); }));
            EXPECT_EQ(before, folder.has(name));
            EXPECT_FALSE(folder.has(name + std::string(".tmp")));
        }
        EXPECT_EQ("old", folder.read("there"));
        EXPECT_EQ("LCA__Cannot_open_file", thrownMessage([&] { UTF8File::save(nullptr, few, size); }));
        EXPECT_EQ("LCA__Cannot_open_file", thrownMessage([&] { UTF8File::safe_save(nullptr, few, size); }));
    }
}

// The argument may be a part of what the call replaces.
TEST(UTF8FileWhole, PathMayLieInTheTarget) {
    TempFolder folder;
    const std::string name = folder.write("a", "content");
    const std::string inText = "xx" + name;  // a path from the third byte on
    for (const bool found : {true, false}) {
        const std::string expected = found ? "(nothing)" : "LCA__Cannot_open_file " + path(name) + " " + system(ENOENT);
        if (!found) std::filesystem::remove(name);
        ArrayHolder<char> array;
        array.data = strnew(inText.data(), inText.size());
        EXPECT_EQ(expected, thrownMessage([&] { UTF8File::load(array.data + 2, array, kAnySize, true); }));
        ChArr text(inText);
        EXPECT_EQ(expected, thrownMessage([&] { UTF8File::load(text.data + 2, text, kAnySize, true); }));
        Bag bag(inText.c_str(), static_cast<int>(inText.size()) + 1);
        EXPECT_EQ(expected, thrownMessage([&] { UTF8File::load(bag.data + 2, bag, kAnySize, true); }));
        std::string string = inText;
        EXPECT_EQ(expected, thrownMessage([&] { UTF8File::load(string.c_str() + 2, string, kAnySize); }));
        CharVector vector(inText);
        EXPECT_EQ(expected, thrownMessage([&] { UTF8File::load(vector.data + 2, vector, kAnySize); }));
        if (!found) {
            EXPECT_EQ(nullptr, array.data);
            EXPECT_EQ(inText, std::string(text.data));
            EXPECT_EQ("", string);
            EXPECT_EQ(nullptr, vector.data);
            continue;
        }
        EXPECT_STREQ("content", array.data);
        EXPECT_STREQ("content", text.data);
        EXPECT_EQ("content", contentOf(bag));
        EXPECT_EQ("content", string);
        EXPECT_EQ("content", vector.std());
    }
    const std::string itself = name;
    UTF8File::save(itself.c_str(), itself);
    EXPECT_EQ(name, folder.read("a"));
    Bag bag(name.c_str(), static_cast<int>(name.size()) + 1);
    UTF8File::safe_save(bag.data, bag);
    EXPECT_EQ(name + '\0', folder.read("a"));
}

// As a block of negative length leaves it: the bytes in front of a Bag, or behind it, are not written.
TEST(UTF8FileBag, ContentOfNegativeSizeIsWrittenAsNone) {
    TempFolder folder;
    Bag bag;
    bag.putLong(-104);
    bag.toBegin();
    bag.beginBlock();
    ASSERT_EQ(-100, bag.size);
    UTF8File::save(folder.file("saved").c_str(), bag);
    EXPECT_EQ("", folder.read("saved"));
    UTF8File::safe_save(folder.file("saved safely").c_str(), bag);
    EXPECT_EQ("", folder.read("saved safely"));
    UTF8File file(folder.file("records"), true);
    file.open(UTF8File::WRITE);
    EXPECT_TRUE(file.push(bag));
    file.close();
    EXPECT_EQ(std::string(4, '\0'), folder.read("records"));
}

TEST(UTF8FileLoad, LimitIsTheLargestSizeAccepted) {
    TempFolder folder;
    const std::string name = folder.write("a", "0123456789");
    struct Row {
        int line;
        std::uint64_t limit;
        bool fits;
    };
    const Row rows[] = {
        {__LINE__, 11, true},
        {__LINE__, 10, true},
        {__LINE__, 9, false},
        {__LINE__, 0, false},
        {__LINE__, INT64_MAX, true},
        // Compared as signed: these are negative.
        {__LINE__, std::uint64_t{1} << 63, false},
        {__LINE__, UINT64_MAX, false},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE("row at line " + std::to_string(row.line));
        expectLoads(name, row.limit, row.fits ? "(nothing)" : "LCA__Too_big_file " + path(name));
    }
}

TEST(UTF8FileLoad, EmptyFileIsAboveANegativeLimit) {
    TempFolder folder;
    const std::string name = folder.write("a", "");
    expectLoads(name, UINT64_MAX, "LCA__Too_big_file " + path(name));
}

TEST(UTF8FileLoad, MissingFileFails) {
    TempFolder folder;
    for (const std::string& name : {folder.file("absent"), folder.file("absent/a"), folder.file("нет")}) {
        SCOPED_TRACE(name);
        expectLoads(name, kAnySize, "LCA__Cannot_open_file " + path(name) + " " + system(ENOENT));
    }
}

TEST(UTF8FileLoad, TooLongPathFails) {
    TempFolder folder;
    const std::string name = folder.file(std::string(300, 'x'));
    expectLoads(name, kAnySize, "LCA__Cannot_open_file " + path(name) + " " + system(ENAMETOOLONG));
}

TEST(UTF8FileLoad, ClosesTheFileHoweverItEnds) {
    TempFolder folder;
    const std::string name = folder.write("a", "0123456789");
    int descriptor = nextDescriptor(folder);
    expectLoads(name, kAnySize, "(nothing)");
    EXPECT_EQ(descriptor, nextDescriptor(folder));
    expectLoads(name, 9, "LCA__Too_big_file " + path(name));
    EXPECT_EQ(descriptor, nextDescriptor(folder));
}

TEST(UTF8FileLoad, PathsAreUtf8) {
    TempFolder folder;
    const std::string name = folder.write("Привет, мир.txt", "content");
    std::string text;
    EXPECT_EQ(7u, UTF8File::load(name.c_str(), text, kAnySize));
    EXPECT_EQ("content", text);
}

// ---- save ----

TEST(UTF8FileSave, ReplacesTheFileInAllForms) {
    for (const std::string& content : contents()) {
        SCOPED_TRACE(content.size());
        TempFolder folder;
        folder.write("a", std::string(200000, 'o'));
        const std::string name = folder.file("a");
        UTF8File::save(name.c_str(), content.data(), content.size());
        EXPECT_EQ(content, folder.read("a"));
        folder.write("a", std::string(200000, 'o'));
        UTF8File::save(name.c_str(), content);
        EXPECT_EQ(content, folder.read("a"));
        folder.write("a", std::string(200000, 'o'));
        Bag bag = bagOf(content);
        bag.to(1);
        UTF8File::save(name.c_str(), bag);
        EXPECT_EQ(content, folder.read("a"));
        EXPECT_EQ(1, bag.cursor);
    }
}

TEST(UTF8FileSave, CreatesTheFile) {
    TempFolder folder;
    UTF8File::save(folder.file("новый").c_str(), std::string("content"));
    EXPECT_EQ("content", folder.read("новый"));
}

TEST(UTF8FileSave, NothingLeavesAnEmptyFile) {
    const std::function<void(const char*)> saves[] = {
        [](const char* name) { UTF8File::save(name, nullptr, 0); },
        [](const char* name) { UTF8File::save(name, "x", 0); },
        [](const char* name) { UTF8File::save(name, Bag()); },
        [](const char* name) { UTF8File::save(name, std::string()); },
    };
    for (const auto& save : saves) {
        TempFolder folder;
        folder.write("a", "old");
        save(folder.file("a").c_str());
        EXPECT_EQ("", folder.read("a"));
        save(folder.file("b").c_str());
        EXPECT_EQ("", folder.read("b"));
    }
}

TEST(UTF8FileSave, ClosesTheFile) {
    TempFolder folder;
    int descriptor = nextDescriptor(folder);
    UTF8File::save(folder.file("a").c_str(), std::string("content"));
    EXPECT_EQ(descriptor, nextDescriptor(folder));
}

TEST(UTF8FileSave, WhatCannotBeOpenedFails) {
    TempFolder folder;
    const std::string missing = folder.file("absent/a");
    EXPECT_EQ("LCA__Cannot_open_file " + path(missing) + " " + system(ENOENT),
              thrownMessage([&] { UTF8File::save(missing.c_str(), std::string("x")); }));
    const std::string longPath = folder.file(std::string(300, 'x'));
    EXPECT_EQ("LCA__Cannot_open_file " + path(longPath) + " " + system(ENAMETOOLONG),
              thrownMessage([&] { UTF8File::save(longPath.c_str(), std::string("x")); }));
    // The systems have different words for a folder in the way.
    UTF8File made(folder.file("folder"), true);
    ASSERT_TRUE(made.mkdir());
    EXPECT_TRUE(startsWith(thrownMessage([&] { UTF8File::save(folder.file("folder").c_str(), std::string("x")); }),
                           "LCA__Cannot_open_file " + path(folder.file("folder")) + " LCA__System_diagnostic_s("));
}

TEST(UTF8FileSave, ReadOnlyFileFails) {
    TempFolder folder;
    const std::string name = folder.write("a", "old");
    folder.setReadOnly("a", true);
    if (canWriteTo(name)) GTEST_SKIP() << "this user may write to read-only files";
    EXPECT_EQ("LCA__Cannot_open_file " + path(name) + " " + system(EACCES),
              thrownMessage([&] { UTF8File::save(name.c_str(), std::string("new")); }));
    EXPECT_EQ("old", folder.read("a"));
}

// ---- safe_save ----

TEST(UTF8FileSafeSave, ReplacesTheFileInAllForms) {
    for (const std::string& content : contents()) {
        SCOPED_TRACE(content.size());
        TempFolder folder;
        folder.write("a", std::string(200000, 'o'));
        const std::string name = folder.file("a");
        UTF8File::safe_save(name.c_str(), content.data(), content.size());
        EXPECT_EQ(content, folder.read("a"));
        folder.write("a", std::string(200000, 'o'));
        UTF8File::safe_save(name.c_str(), content);
        EXPECT_EQ(content, folder.read("a"));
        folder.write("a", std::string(200000, 'o'));
        Bag bag = bagOf(content);
        bag.to(1);
        UTF8File::safe_save(name.c_str(), bag);
        EXPECT_EQ(content, folder.read("a"));
        EXPECT_EQ(1, bag.cursor);
        EXPECT_FALSE(folder.has("a.tmp"));
    }
}

TEST(UTF8FileSafeSave, CreatesTheFile) {
    TempFolder folder;
    for (const char* name : {"a", "новый"}) {
        UTF8File::safe_save(folder.file(name).c_str(), std::string("content"));
        EXPECT_EQ("content", folder.read(name));
        EXPECT_FALSE(folder.has(std::string(name) + ".tmp"));
    }
}

TEST(UTF8FileSafeSave, NothingLeavesAnEmptyFile) {
    const std::function<void(const char*)> saves[] = {
        [](const char* name) { UTF8File::safe_save(name, nullptr, 0); },
        [](const char* name) { UTF8File::safe_save(name, Bag()); },
        [](const char* name) { UTF8File::safe_save(name, std::string()); },
    };
    for (const auto& save : saves) {
        TempFolder folder;
        folder.write("a", "old");
        save(folder.file("a").c_str());
        EXPECT_EQ("", folder.read("a"));
        EXPECT_FALSE(folder.has("a.tmp"));
    }
}

TEST(UTF8FileSafeSave, WritesOverTheTemporaryOfAnEarlierRun) {
    TempFolder folder;
    folder.write("a", "old");
    folder.write("a.tmp", "left by a run that ended badly");
    UTF8File::safe_save(folder.file("a").c_str(), std::string("new"));
    EXPECT_EQ("new", folder.read("a"));
    EXPECT_FALSE(folder.has("a.tmp"));
}

TEST(UTF8FileSafeSave, ClosesItsFiles) {
    TempFolder folder;
    int descriptor = nextDescriptor(folder);
    UTF8File::safe_save(folder.file("a").c_str(), std::string("content"));
    EXPECT_EQ(descriptor, nextDescriptor(folder));
    folder.setReadOnly("a", true);
    EXPECT_NE("(nothing)", thrownMessage([&] { UTF8File::safe_save(folder.file("a").c_str(), std::string("new")); }));
    EXPECT_EQ(descriptor, nextDescriptor(folder));
}

std::string safeSaveMessage(const std::string& name, const std::string& content) {
    return thrownMessage([&] { UTF8File::safe_save(name.c_str(), content); });
}

// What survives when the temporary cannot be opened: the old file.
TEST(UTF8FileSafeSaveSurvival, TemporaryCannotBeOpened) {
    TempFolder folder;
    const std::string missing = folder.file("absent/a");
    EXPECT_EQ("LCA__Cannot_open_file " + path(missing + ".tmp") + " " + system(ENOENT),
              safeSaveMessage(missing, "new"));

    const std::string name = folder.write("a", "old");
    UTF8File inTheWay(name + ".tmp", true);
    ASSERT_TRUE(inTheWay.mkdir());
    EXPECT_TRUE(startsWith(safeSaveMessage(name, "new"),
                           "LCA__Cannot_open_file " + path(name + ".tmp") + " LCA__System_diagnostic_s("));
    EXPECT_EQ("old", folder.read("a"));
    EXPECT_TRUE(folder.has("a.tmp"));

    const std::string longPath = folder.file(std::string(300, 'x'));
    EXPECT_EQ("LCA__Cannot_open_file " + path(longPath + ".tmp") + " " + system(ENAMETOOLONG),
              safeSaveMessage(longPath, "new"));
}

TEST(UTF8FileSafeSaveSurvival, TemporaryOfAnEarlierRunCannotBeOpened) {
    TempFolder folder;
    const std::string name = folder.write("a", "old");
    folder.write("a.tmp", "earlier");
    folder.setReadOnly("a.tmp", true);
    if (canWriteTo(name + ".tmp")) GTEST_SKIP() << "this user may write to read-only files";
    EXPECT_EQ("LCA__Cannot_open_file " + path(name + ".tmp") + " " + system(EACCES), safeSaveMessage(name, "new"));
    EXPECT_EQ("old", folder.read("a"));
    EXPECT_EQ("earlier", folder.read("a.tmp"));
}

// What survives when the old file cannot be deleted: both, and the temporary is complete.
TEST(UTF8FileSafeSaveSurvival, OldFileIsReadOnly) {
    TempFolder folder;
    const std::string name = folder.write("a", "old");
    folder.setReadOnly("a", true);
    EXPECT_EQ("LCA__Could_not_delete_file " + path(name) + " " + system(EACCES), safeSaveMessage(name, "new content"));
    EXPECT_EQ("old", folder.read("a"));
    EXPECT_EQ("new content", folder.read("a.tmp"));
}

TEST(UTF8FileSafeSaveSurvival, FolderInPlaceOfTheOldFile) {
    TempFolder folder;
    const std::string name = folder.file("a");
    UTF8File inTheWay(name, true);
    ASSERT_TRUE(inTheWay.mkdir());
    folder.write("a/b", "kept");
    EXPECT_EQ("LCA__Could_not_delete_file " + path(name) + " " + system(EACCES), safeSaveMessage(name, "new content"));
    EXPECT_EQ("kept", folder.read("a/b"));
    EXPECT_EQ("new content", folder.read("a.tmp"));
}

class CurrentFolderScope {
public:
    explicit CurrentFolderScope(const TempFolder& folder) : before_(std::filesystem::current_path()) {
        std::filesystem::current_path(folder.path());
    }
    CurrentFolderScope(const CurrentFolderScope&) = delete;
    void operator=(const CurrentFolderScope&) = delete;
    ~CurrentFolderScope() { std::filesystem::current_path(before_); }

private:
    std::filesystem::path before_;
};

// The empty path has a temporary, no old file, and is no target for a rename.
TEST(UTF8FileSafeSaveSurvival, TargetCannotBeRenamedTo) {
    TempFolder folder;
    CurrentFolderScope scope(folder);
    EXPECT_EQ("LCA__Could_not_rename_file " + path(".tmp") + " " + system(ENOENT), safeSaveMessage("", "new content"));
    EXPECT_EQ("new content", folder.read(".tmp"));
}

#ifndef _WIN32

// As the header warns: the bytes go where the link leads to, and the link is the new file.
TEST(UTF8FileSafeSave, LinkInPlaceOfTheTemporaryIsFollowed) {
    TempFolder folder;
    folder.write("a", "old");
    folder.write("victim", "something else");
    std::filesystem::create_symlink("victim", folder.file("a.tmp"));
    UTF8File::safe_save(folder.file("a").c_str(), std::string("new"));
    EXPECT_EQ("new", folder.read("victim"));
    EXPECT_EQ("victim", std::filesystem::read_symlink(folder.file("a")).string());
    EXPECT_FALSE(std::filesystem::is_symlink(folder.file("a.tmp")));
}

// The new file takes the place of a link, and what that led to stays.
TEST(UTF8FileSafeSave, LinkInPlaceOfTheFileIsReplaced) {
    TempFolder folder;
    folder.write("kept", "old");
    std::filesystem::create_symlink("kept", folder.file("a"));
    UTF8File::safe_save(folder.file("a").c_str(), std::string("new"));
    EXPECT_EQ("old", folder.read("kept"));
    EXPECT_FALSE(std::filesystem::is_symlink(folder.file("a")));
    EXPECT_EQ("new", folder.read("a"));
}

const char* const kFull = "/dev/full";

#define SKIP_WITHOUT_FULL_DEVICE() \
    if (!std::filesystem::exists(kFull)) GTEST_SKIP() << "this system has no " << kFull

TEST(UTF8FileSave, FullDeviceIsReported) {
    SKIP_WITHOUT_FULL_DEVICE();
    // What fits the buffer fails when it is closed, and the explicit close does not keep that to itself.
    EXPECT_EQ("LCA__Cannot_close_file " + path(kFull) + " " + system(ENOSPC),
              thrownMessage([] { UTF8File::save(kFull, std::string("x")); }));
    EXPECT_EQ("LCA__Write_file_error " + path(kFull) + " " + system(ENOSPC),
              thrownMessage([] { UTF8File::save(kFull, std::string(1 << 16, 'x')); }));
    EXPECT_EQ("(nothing)", thrownMessage([] { UTF8File::save(kFull, std::string()); }));
}

// What survives a failed write and a failed close of the temporary: the old file, and the temporary as it is.
TEST(UTF8FileSafeSaveSurvival, TemporaryOnAFullDevice) {
    SKIP_WITHOUT_FULL_DEVICE();
    struct Row {
        int line;
        std::size_t size;
        const char* key;
    };
    const Row rows[] = {
        {__LINE__, 1, "LCA__Cannot_close_file "},
        {__LINE__, 1 << 16, "LCA__Write_file_error "},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE("row at line " + std::to_string(row.line));
        TempFolder folder;
        const std::string name = folder.write("a", "old");
        int descriptor = nextDescriptor(folder);
        std::filesystem::create_symlink(kFull, name + ".tmp");
        EXPECT_EQ(row.key + path(name + ".tmp") + " " + system(ENOSPC),
                  safeSaveMessage(name, std::string(row.size, 'x')));
        EXPECT_EQ("old", folder.read("a"));
        EXPECT_TRUE(std::filesystem::is_symlink(name + ".tmp"));
        EXPECT_EQ(descriptor, nextDescriptor(folder));
        std::filesystem::remove(name + ".tmp");
    }
}

// No file grows beyond `size` bytes while this lives; the write that would is an error and not a signal.
class FileSizeScope {
public:
    explicit FileSizeScope(rlim_t size) {
        handler_ = std::signal(SIGXFSZ, SIG_IGN);
        getrlimit(RLIMIT_FSIZE, &before_);
        rlimit limit = before_;
        limit.rlim_cur = size;
        ok_ = setrlimit(RLIMIT_FSIZE, &limit) == 0;
    }
    FileSizeScope(const FileSizeScope&) = delete;
    void operator=(const FileSizeScope&) = delete;
    ~FileSizeScope() {
        setrlimit(RLIMIT_FSIZE, &before_);
        std::signal(SIGXFSZ, handler_);
    }
    bool ok() const { return ok_; }

private:
    void (*handler_)(int);
    rlimit before_;
    bool ok_;
};

TEST(UTF8FileSafeSaveSurvival, TemporaryIsCutOff) {
    TempFolder folder;
    const std::string name = folder.write("a", "old");
    const std::string content(1 << 16, 'x');
    std::string message;
    {
        FileSizeScope scope(8192);
        ASSERT_TRUE(scope.ok());
        message = safeSaveMessage(name, content);
    }
    EXPECT_EQ("LCA__Write_file_error " + path(name + ".tmp") + " " + system(EFBIG), message);
    EXPECT_EQ("old", folder.read("a"));
    EXPECT_EQ(content.substr(0, 8192), folder.read("a.tmp"));
}

// Makes every renaming call of this thread fail with EACCES, for as long as the thread lives.
bool forbidRenames() {
    const std::vector<long> calls = {
        SYS_renameat2, SYS_linkat,
#ifdef SYS_rename
        SYS_rename,
#endif
#ifdef SYS_renameat
        SYS_renameat,
#endif
#ifdef SYS_link
        SYS_link,
#endif
    };
    std::vector<sock_filter> filter;
    filter.push_back(BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr)));
    for (long call : calls) {
        filter.push_back(BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, static_cast<std::uint32_t>(call), 0, 1));
        filter.push_back(BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ERRNO | EACCES));
    }
    filter.push_back(BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW));
    sock_fprog program = {static_cast<unsigned short>(filter.size()), filter.data()};
    return prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0 && prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &program) == 0;
}

// What survives when the last step fails: the temporary alone, and it is complete.
TEST(UTF8FileSafeSaveSurvival, RenameFailsWhenTheOldFileIsGone) {
    TempFolder folder;
    const std::string name = folder.write("a", "old");
    bool forbidden = false;
    std::string message;
    std::thread([&] {
        forbidden = forbidRenames();
        if (forbidden) message = safeSaveMessage(name, "new content");
    }).join();
    if (!forbidden) GTEST_SKIP() << "this system does not let a thread give up system calls";
    EXPECT_EQ("LCA__Could_not_rename_file " + path(name + ".tmp") + " " + system(EACCES), message);
    EXPECT_FALSE(folder.has("a"));
    EXPECT_EQ("new content", folder.read("a.tmp"));
}

// A pipe opens and cannot tell its size.
TEST(UTF8FileLoad, WhatHasNoSizeFails) {
    TempFolder folder;
    const std::string name = folder.file("pipe");
    ASSERT_EQ(0, mkfifo(name.c_str(), 0600));
    int keptOpen = ::open(name.c_str(), O_RDWR);  // without a writer the load would wait for one
    ASSERT_GE(keptOpen, 0);
    expectLoads(name, kAnySize, "LCA__Seek_file_error " + path(name) + " " + system(ESPIPE));
    ::close(keptOpen);
}

// The kernel's small files tell a size that they do not have, just as a file that shrinks between the question and the
// read.
TEST(UTF8FileLoad, FileThatShrinksEndsUnexpectedly) {
    const std::string name = "/sys/kernel/mm/transparent_hugepage/enabled";
    std::ifstream in(name, std::ios::binary);
    const std::string content(std::istreambuf_iterator<char>(in), {});
    in.close();
    std::error_code error;
    std::uintmax_t size = std::filesystem::file_size(name, error);
    if (error || content.empty() || size <= content.size()) {
        GTEST_SKIP() << "this system has no file that is shorter than its size";
    }
    const std::string expected = "LCA__Unexpected_end_of_file " + path(name);
    ArrayHolder<char> data;
    EXPECT_EQ(expected, thrownMessage([&] { UTF8File::load(name.c_str(), data, kAnySize, true); }));
    ASSERT_NE(nullptr, data.data);  // the holder keeps the block
    EXPECT_EQ(content, std::string(data.data, content.size()));
    ChArr text("old text");
    const char* oldText = text.data;
    EXPECT_EQ(expected, thrownMessage([&] { UTF8File::load(name.c_str(), text, kAnySize, true); }));
    EXPECT_EQ(oldText, text.data);
    EXPECT_STREQ("old text", text.data);
    Bag bag = bagOf("old content");
    const char* oldData = bag.data;
    bag.to(4);
    EXPECT_EQ(expected, thrownMessage([&] { UTF8File::load(name.c_str(), bag, kAnySize, true); }));
    EXPECT_EQ(oldData, bag.data);
    EXPECT_EQ(4, bag.cursor);
    EXPECT_EQ("old content", contentOf(bag));
    std::string string = "old string";
    EXPECT_EQ(expected, thrownMessage([&] { UTF8File::load(name.c_str(), string, kAnySize); }));
    EXPECT_EQ(std::string::npos, string.find("old string"));
    CharVector vector("old vector");
    EXPECT_EQ(expected, thrownMessage([&] { UTF8File::load(name.c_str(), vector, kAnySize); }));
    EXPECT_FALSE(vector == "old vector");
}

#endif

// ---- push and pop ----

TEST(UTF8FilePush, WritesLengthAndContent) {
    TempFolder folder;
    UTF8File file(true);
    ASSERT_TRUE(file.open(folder.file("a"), UTF8File::WRITE));
    ASSERT_TRUE(file.write("front"));
    Bag bag = bagOf("abc"), empty;
    bag.to(2);
    const char* data = bag.data;
    EXPECT_TRUE(file.push(bag));
    EXPECT_EQ(data, bag.data);
    EXPECT_EQ(3, bag.size);
    EXPECT_EQ(2, bag.cursor);
    EXPECT_TRUE(file.push(empty));
    EXPECT_EQ(nullptr, empty.data);
    EXPECT_TRUE(file.push(bag));
    ASSERT_TRUE(file.close());
    EXPECT_EQ("front" + std::string("\3\0\0\0abc", 7) + std::string("\0\0\0\0", 4) + std::string("\3\0\0\0abc", 7),
              folder.read("a"));
}

TEST(UTF8FilePush, FailureIsThatOfTheWrite) {
    TempFolder folder;
    const std::string name = folder.write("a", "old");
    UTF8File throwing(true), quiet;
    ASSERT_TRUE(throwing.open(name, UTF8File::READ));
    ASSERT_TRUE(quiet.open(name, UTF8File::READ));
    Bag bag = bagOf("abc");
    EXPECT_EQ("LCA__Write_file_error " + path(name) + " " + system(EBADF), thrownMessage([&] { throwing.push(bag); }));
    EXPECT_FALSE(quiet.push(bag));
    EXPECT_EQ("abc", contentOf(bag));
}

TEST(UTF8FilePop, ReadsRecordAfterRecord) {
    TempFolder folder;
    UTF8File file(true);
    const std::string records = std::string("\3\0\0\0abc", 7) + std::string("\0\0\0\0", 4) +
                                std::string("\x01\x01\0\0", 4) + std::string(257, 'x');
    ASSERT_TRUE(file.open(folder.write("a", records), UTF8File::READ));
    Bag bag = bagOf("an older and longer content");
    bag.toEnd();
    EXPECT_TRUE(file.pop(bag));
    EXPECT_EQ("abc", contentOf(bag));
    EXPECT_EQ(3, bag.bufferSize);
    EXPECT_EQ(0, bag.cursor);
    bag.to(2);
    EXPECT_TRUE(file.pop(bag));
    EXPECT_EQ(nullptr, bag.data);
    EXPECT_EQ(0, bag.size);
    EXPECT_EQ(0, bag.bufferSize);
    EXPECT_EQ(0, bag.cursor);
    EXPECT_TRUE(file.pop(bag));
    EXPECT_EQ(std::string(257, 'x'), contentOf(bag));
    EXPECT_EQ(257, bag.bufferSize);
    EXPECT_EQ(0, bag.cursor);
}

TEST(UTF8FilePop, EmptyRecordEmptiesAnyBag) {
    TempFolder folder;
    const std::string name = folder.write("a", std::string(4, '\0'));
    Bag filled = bagOf("abc"), truncated = bagOf("abc"), empty;
    truncated.truncate();
    for (Bag* bag : {&filled, &truncated, &empty}) {
        UTF8File file(true);
        ASSERT_TRUE(file.open(name, UTF8File::READ));
        EXPECT_TRUE(file.pop(*bag));
        EXPECT_EQ(nullptr, bag->data);
        EXPECT_EQ(0, bag->size);
        EXPECT_EQ(0, bag->bufferSize);
        EXPECT_EQ(0, bag->cursor);
    }
}

TEST(UTF8FilePop, TakesBackWhatPushWrote) {
    TempFolder folder;
    UTF8File file(true);
    folder.write("a", "");
    ASSERT_TRUE(file.open(folder.file("a"), UTF8File::UPDATE));
    for (const std::string& content : contents()) {
        Bag bag = bagOf(content);
        ASSERT_TRUE(file.push(bag));
    }
    ASSERT_TRUE(file.seek(0, 0));
    Bag bag;
    for (const std::string& content : contents()) {
        ASSERT_TRUE(file.pop(bag));
        EXPECT_EQ(content, contentOf(bag));
    }
}

// A record that does not come whole leaves the Bag as it was.
TEST(UTF8FilePop, FailureKeepsTheBag) {
    TempFolder folder;
    struct Row {
        int line;
        std::string content;
        int before;  // errno, which decides what a short read is
        std::string message;
    };
    const std::string name = folder.file("a");
    const std::string end = "LCA__Unexpected_end_of_file " + path(name);
    const std::string memory = "LCA__Not_enough_memory_to_load_file " + path(name);
    const Row rows[] = {
        {__LINE__, "", 0, end},
        {__LINE__, "", EACCES, "LCA__Read_file_error " + path(name) + " " + system(EACCES)},
        {__LINE__, std::string("\3\0\0", 3), 0, end},
        {__LINE__, std::string("\3\0\0\0", 4), 0, end},
        {__LINE__, std::string("\3\0\0\0ab", 6), 0, end},
        // A negative length asks for a block of an impossible size.
        {__LINE__,
         std::string("\xFF\xFF\xFF\xFF"
                     "abc",
                     7),
         0, memory},
        {__LINE__,
         std::string("\0\0\0\x80"
                     "abc",
                     7),
         0, memory},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE("row at line " + std::to_string(row.line));
        folder.write("a", row.content);
        for (bool policy : {false, true}) {
            Bag bag;
            bag.expand(100);
            bag.putStringNZ("old content");
            bag.to(4);
            const char* data = bag.data;
            const int bufferSize = bag.bufferSize;
            UTF8File file(policy);
            ASSERT_TRUE(file.open(name, UTF8File::READ));
            bool result = true;
            EXPECT_EQ(policy ? row.message : "(nothing)", thrownMessage([&] {
                          errno = row.before;
                          result = file.pop(bag);
                      }));
            EXPECT_EQ(policy, result);
            EXPECT_TRUE(file.isOpened());
            EXPECT_EQ(data, bag.data);
            EXPECT_EQ(bufferSize, bag.bufferSize);
            EXPECT_EQ(4, bag.cursor);
            EXPECT_EQ("old content", contentOf(bag));
        }
    }
}

// ---- copy ----

std::string pattern(std::size_t size) {
    std::string out;
    for (std::size_t i = 0; i < size; ++i) out += static_cast<char>(i * 7 + i / 251);
    return out;
}

TEST(UTF8FileCopy, MovesBytesOfAnyNumber) {
    for (std::size_t size : {0u, 1u, 4095u, 4096u, 4097u, 8192u, 10000u}) {
        SCOPED_TRACE(size);
        TempFolder folder;
        const std::string content = pattern(size);
        UTF8File source(true), destination(true);
        ASSERT_TRUE(source.open(folder.write("a", content + "rest"), UTF8File::READ));
        ASSERT_TRUE(destination.open(folder.file("b"), UTF8File::WRITE));
        EXPECT_TRUE(source.copy(destination, static_cast<std::int64_t>(size)));
        EXPECT_EQ(static_cast<std::int64_t>(size), source.pos());
        ASSERT_TRUE(destination.close());
        EXPECT_EQ(content, folder.read("b"));
    }
}

TEST(UTF8FileCopy, NothingTouchesNeitherStream) {
    UTF8File source(true), destination(true);  // closed, so that any use of a stream shows
    EXPECT_TRUE(source.copy(destination, 0));
    EXPECT_EQ(2, source.lastOp);
    EXPECT_EQ(2, destination.lastOp);
}

TEST(UTF8FileCopy, WorksAtThePresentPositions) {
    TempFolder folder;
    UTF8File source(true), destination(true);
    ASSERT_TRUE(source.open(folder.write("a", "0123456789"), UTF8File::READ));
    ASSERT_TRUE(destination.open(folder.write("b", "abcdefghij"), UTF8File::UPDATE));
    ASSERT_TRUE(source.seek(3, 0));
    ASSERT_TRUE(destination.seek(5, 0));
    EXPECT_TRUE(source.copy(destination, 4));
    EXPECT_EQ(7, source.pos());
    EXPECT_EQ(9, destination.pos());
    EXPECT_EQ(0, source.lastOp);
    EXPECT_EQ(1, destination.lastOp);
    ASSERT_TRUE(destination.close());
    EXPECT_EQ("abcde3456j", folder.read("b"));
}

TEST(UTF8FileCopy, ReadFailureFollowsThePolicyOfTheSource) {
    TempFolder folder;
    const std::string content = pattern(5000);
    const std::string name = folder.write("a", content);
    for (bool policy : {false, true}) {
        UTF8File source(policy), destination(!policy);
        ASSERT_TRUE(source.open(name, UTF8File::READ));
        ASSERT_TRUE(destination.open(folder.file("b"), UTF8File::WRITE));
        bool result = true;
        EXPECT_EQ(policy ? "LCA__Unexpected_end_of_file " + path(name) : "(nothing)", thrownMessage([&] {
                      errno = 0;
                      result = source.copy(destination, 9000);
                  }));
        EXPECT_EQ(policy, result);
        ASSERT_TRUE(destination.close());
        // The whole pieces before the failure have arrived.
        EXPECT_EQ(content.substr(0, 4096), folder.read("b"));
    }
}

TEST(UTF8FileCopy, WriteFailureFollowsThePolicyOfTheDestination) {
    TempFolder folder;
    const std::string from = folder.write("a", pattern(5000));
    const std::string to = folder.write("b", "old");
    for (bool policy : {false, true}) {
        UTF8File source(!policy), destination(policy);
        ASSERT_TRUE(source.open(from, UTF8File::READ));
        ASSERT_TRUE(destination.open(to, UTF8File::READ));
        bool result = true;
        EXPECT_EQ(policy ? "LCA__Write_file_error " + path(to) + " " + system(EBADF) : "(nothing)",
                  thrownMessage([&] { result = source.copy(destination, 5000); }));
        EXPECT_EQ(policy, result);
        EXPECT_EQ(4096, source.pos());  // nothing is read for a destination that has failed
    }
    EXPECT_EQ("old", folder.read("b"));
}

#ifndef _WIN32

// Two unbuffered streams: the first gives bytes without end, the second notes what has been asked of the first when a
// piece arrives.
class PieceLog {
public:
    struct Piece {
        std::size_t read;  // bytes, from the start
        std::size_t written;
        bool operator==(const Piece& other) const { return read == other.read && written == other.written; }
    };
    std::vector<Piece> pieces;

    PieceLog() = default;
    PieceLog(const PieceLog&) = delete;
    void operator=(const PieceLog&) = delete;

    void open(UTF8File& source, UTF8File& destination) {
        source.file = fopencookie(this, "r", {&give, nullptr, nullptr, nullptr});
        destination.file = fopencookie(this, "w", {nullptr, &take, nullptr, nullptr});
        std::setvbuf(source.file, nullptr, _IONBF, 0);
        std::setvbuf(destination.file, nullptr, _IONBF, 0);
    }

private:
    std::size_t read_ = 0;

    static ssize_t give(void* cookie, char* out, std::size_t size) {
        static_cast<PieceLog*>(cookie)->read_ += size;
        std::memset(out, 'x', size);
        return static_cast<ssize_t>(size);
    }
    static ssize_t take(void* cookie, const char*, std::size_t size) {
        auto* log = static_cast<PieceLog*>(cookie);
        log->pieces.push_back({log->read_, size});
        return static_cast<ssize_t>(size);
    }
};
void PrintTo(const PieceLog::Piece& piece, std::ostream* out) { *out << piece.read << ":" << piece.written; }

TEST(UTF8FileCopy, GoesInPiecesOf4096) {
    struct Row {
        int line;
        std::int64_t size;
        std::vector<PieceLog::Piece> pieces;
    };
    const Row rows[] = {
        {__LINE__, 1, {{1, 1}}},
        {__LINE__, 4096, {{4096, 4096}}},
        {__LINE__, 4097, {{4096, 4096}, {4097, 1}}},
        {__LINE__, 10000, {{4096, 4096}, {8192, 4096}, {10000, 1808}}},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE("row at line " + std::to_string(row.line));
        PieceLog log;
        UTF8File source(true), destination(true);
        log.open(source, destination);
        EXPECT_TRUE(source.copy(destination, row.size));
        EXPECT_EQ(row.pieces, log.pieces);
    }
}

#endif

}  // namespace
