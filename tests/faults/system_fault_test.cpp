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
        {__LINE__, ".\r\n", ""},
        {__LINE__, "\n", ""},
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

// Of a locale with letters beyond ASCII and beyond 16 bits: each unit becomes bytes of its own, and any of them may be cut.
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

}  // namespace
