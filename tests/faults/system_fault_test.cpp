// What the system says, and says not, where no file is read or written.
#include <gtest/gtest.h>

#include <cerrno>
#include <clocale>
#include <cstring>
#include <cwchar>
#include <string>

#include <velmora/files/findfile.h>
#include <velmora/text/charr.h>
#include <velmora/text/timetext.h>

#include "tests/faults/faults.h"
#include "tests/support/temp_folder.h"

namespace {

// One line feed, one carriage return and one point, in this order.
TEST(SystemFault, MessageLosesItsEndOnce) {
    const struct {
        int line;
        const char* text;
        const char* expected;
    } rows[] = {
        {__LINE__, "Not found.\r\n", "Not found"},
        {__LINE__, "Not found", "Not found"},
        {__LINE__, "Not found.", "Not found"},
        {__LINE__, "Not found..", "Not found."},
        {__LINE__, "Not found\n\n", "Not found\n"},
        {__LINE__, "Not found\n\r", "Not found\n"},
        {__LINE__, "Not found\r\n.", "Not found\r\n"},
        {__LINE__, "Not found.\n", "Not found"},
        {__LINE__, "Not found.\r", "Not found"},
        {__LINE__, "Not found\r", "Not found"},
        {__LINE__, "Not found\r\n", "Not found"},
        {__LINE__, "Not found\r\r\n", "Not found\r"},
        {__LINE__, "Not found.\n\r", "Not found.\n"},
        {__LINE__, "Not found.\r\n\n", "Not found.\r\n"},
        {__LINE__, "Not found\r.", "Not found\r"},
        {__LINE__, "Not found\n.", "Not found\n"},
        {__LINE__, "Not found .\r\n", "Not found "},
        {__LINE__, ".\r\n", ""},
        {__LINE__, "\r\n", ""},
        {__LINE__, "\n", ""},
        {__LINE__, ".", ""},
        {__LINE__, "..", "."},
        {__LINE__, "", ""},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.line);
        const faults::SystemText given(row.text);
        ChArr message;
        message.winerror(2, nullptr);
        EXPECT_STREQ(row.expected, message.asCharPtr());
    }
}

TEST(SystemFault, TimeThatCannotBeFormattedIsFalseAndEmpty) {
    const faults::AllFail fail({"wcsftime"}, 0);
    char text[64] = "old";
    EXPECT_FALSE(sprintf_date(1000000000, text, sizeof text));
    EXPECT_STREQ("", text);
    text[0] = 'x';
    EXPECT_FALSE(sprintf_date_time(1000000000, text, sizeof text));
    EXPECT_STREQ("", text);
    text[0] = 'x';
    EXPECT_TRUE(sprintf_date(0, text, sizeof text)) << "no time is no failure";
    EXPECT_STREQ("", text);
}

// Of a locale with letters beyond ASCII and beyond 16 bits: each unit becomes bytes of its own, and any of them may be
// cut.
TEST(SystemFault, DateIsEncodedUnitByUnit) {
    const faults::TimeText given(L"\u00E9\u20AC\U0001F600");
    const std::string bytes = "\xC3\xA9\xE2\x82\xAC\xED\xA0\xBD\xED\xB8\x80";
    for (std::size_t room = 1; room <= bytes.size() + 1; ++room) {
        SCOPED_TRACE(room);
        char text[16];
        std::memset(text, '#', sizeof text);
        EXPECT_TRUE(sprintf_date(1000000000, text, static_cast<int>(room)));
        std::string expected = bytes.substr(0, room);
        if (room > bytes.size()) expected += '\0';
        expected += std::string(sizeof text - expected.size(), '#');
        EXPECT_EQ(expected, std::string(text, sizeof text));
    }
}

TEST(SystemFault, DateOfAHundredUnitsIsTooLong) {
    const struct {
        int line;
        std::size_t ascii;
        const wchar_t* behind;
        bool fits;
    } rows[] = {
        {__LINE__, 99, L"", true},
        {__LINE__, 100, L"", false},
        {__LINE__, 97, L"\U0001F600", true},
        {__LINE__, 98, L"\U0001F600", false},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.line);
        const std::wstring wide = std::wstring(row.ascii, L'x') + row.behind;
        const faults::TimeText given(wide.c_str());
        char text[400] = "old";
        EXPECT_EQ(row.fits, sprintf_date(1000000000, text, sizeof text));
        EXPECT_EQ(row.fits ? row.ascii + 6 * std::wcslen(row.behind) : 0, std::strlen(text));
    }
}

TEST(SystemFault, EntryThatMayNotBeLookedAtHasNoSizesAndTimes) {
    support::TempFolder folder;
    folder.write("file", "12345");
    const faults::AllFail fail({"fstatat"}, EACCES);
    ZFindFile find(folder.path().c_str());
    ASSERT_TRUE(find.next());
    EXPECT_STREQ("file", find.getName());
    EXPECT_EQ(0, find.getSize());
    EXPECT_EQ(-1, find.getTime());
    EXPECT_EQ(-1, find.record.time_access);
    EXPECT_EQ(-1, find.record.time_create);
    EXPECT_EQ(32, find.attributes);
    EXPECT_FALSE(find.next());
}

TEST(SystemFault, EntryThatIsGoneIsPassedOver) {
    support::TempFolder folder;
    folder.write("file", "12345");
    const faults::AllFail fail({"fstatat"}, ENOENT);
    ZFindFile find(folder.path().c_str());
    find.allowDirs(true);
    EXPECT_FALSE(find.next());
}

// ---- the end of a folder, and a failure on the way there ----

// How far a find has come, and why it has ended.
struct Listing {
    int entries = 0;
    int error = -1;
    bool closed = false;
};

Listing listed(const char* mask) {
    Listing listing;
    errno = EPERM;  // of some call before
    ZFindFile find(mask);
    while (find.next()) {
        ++listing.entries;
        find.getName();
        errno = EPERM;
    }
    listing.error = errno;
    listing.closed = find.handle == -1;
    return listing;
}

TEST(SystemFault, FolderThatCannotBeReadToItsEndIsNoEnd) {
    support::TempFolder folder;
    for (const char* name : {"one", "two", "three"}) folder.write(name, "");
    const std::string all = folder.path(), some = folder.path() + "/t*", none = folder.path() + "/q*";
    struct Row {
        int line;
        std::string mask;
        int matching;
    };
    const Row rows[] = {{__LINE__, all, 3}, {__LINE__, some, 2}, {__LINE__, none, 0}};
    for (const Row& row : rows) {
        SCOPED_TRACE(row.line);
        const Listing whole = listed(row.mask.c_str());
        EXPECT_EQ(row.matching, whole.entries);
        EXPECT_EQ(0, whole.error);
        EXPECT_TRUE(whole.closed);
        Listing listing;
        const int faults = faults::failEach([&] { listing = {}; }, [&] { listing = listed(row.mask.c_str()); },
                                            [&](const faults::Fault& fault) {
                                                EXPECT_TRUE(listing.closed);
                                                // An entry that cannot be looked at is listed, and a close changes
                                                // nothing.
                                                const bool cutShort =
                                                    fault.function == "opendir" || fault.function == "readdir";
                                                EXPECT_EQ(cutShort ? fault.error : 0, listing.error) << fault.function;
                                                if (!cutShort) {
                                                    EXPECT_EQ(row.matching, listing.entries) << fault.function;
                                                }
                                                EXPECT_LE(listing.entries, row.matching);
                                            });
        EXPECT_LE(4 * (1 + 6 + 1), faults);  // opening, five entries and the end, closing
    }
}

TEST(SystemFault, WhyAFindCannotStart) {
    support::TempFolder folder;
    folder.write("file", "");
    const std::string base = folder.path() + "/";
    const struct {
        int line;
        std::string mask;
        int error;
    } rows[] = {
        {__LINE__, "", ENOENT},
        {__LINE__, base + "missing", ENOENT},
        {__LINE__, base + "missing/*", ENOENT},
        {__LINE__, base + "file", ENOTDIR},
        {__LINE__, base + "file/x*", ENOTDIR},
        {__LINE__, base + "x*", 0},
        {__LINE__, base + "f*", 0},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.line);
        EXPECT_EQ(row.error, listed(row.mask.c_str()).error);
    }
}

}  // namespace
