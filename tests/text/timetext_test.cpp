#include <velmora/text/timetext.h>

#include <gtest/gtest.h>

#include <clocale>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <cwchar>
#include <string>

#include <velmora/text/chpair.h>

#include "tests/support/guard_page.h"
#include "tests/support/locale_scope.h"
#include "tests/support/message.h"

namespace {

// The time zone of the process for the time of one test, in the form that both runtimes read: "CET-1CEST".
class TimeZoneScope {
public:
    explicit TimeZoneScope(const char* zone) {
        if (const char* before = std::getenv("TZ")) {
            had_ = true;
            before_ = before;
        }
        set(zone);
    }
    TimeZoneScope(const TimeZoneScope&) = delete;
    void operator=(const TimeZoneScope&) = delete;
    ~TimeZoneScope() { set(had_ ? before_.c_str() : nullptr); }

private:
    static void set(const char* zone) {
#ifdef _WIN32
        _putenv_s("TZ", zone ? zone : "");
        _tzset();
#else
        if (zone) {
            setenv("TZ", zone, 1);
        } else {
            unsetenv("TZ");
        }
        tzset();
#endif
    }

    bool had_ = false;
    std::string before_;
};

struct Moment {
    int year, month, day, hour, minute, second;
};

std::tm brokenDown(const Moment& m, int isdst) {
    std::tm out{};
    out.tm_year = m.year - 1900;
    out.tm_mon = m.month - 1;
    out.tm_mday = m.day;
    out.tm_hour = m.hour;
    out.tm_min = m.minute;
    out.tm_sec = m.second;
    out.tm_isdst = isdst;
    return out;
}

// What the system itself makes of a moment: years before 1970 are a matter of the platform.
std::int64_t systemUtc(const Moment& m) {
    std::tm t = brokenDown(m, 0);
#ifdef _WIN32
    return _mkgmtime64(&t);
#else
    return timegm(&t);
#endif
}

// With `isdst` 0 the wall clock is taken as standard time, also in summer; with -1 as the clocks show it.
std::int64_t systemLocal(const Moment& m, int isdst) {
    std::tm t = brokenDown(m, isdst);
    return std::mktime(&t);
}

bool systemLocalTime(std::int64_t t, std::tm& out) {
    std::time_t time = static_cast<std::time_t>(t);
    const std::tm* result = std::localtime(&time);
    if (result) out = *result;
    return result != nullptr;
}

std::string utcText(std::int64_t t) {
    char out[64];
    std::memset(out, '#', sizeof(out));
    from_gmt_time_t_to_gmt_date_time_string_YYYYMMDDThhmmss(t, out);
    return out;
}

std::string localText(std::int64_t t) {
    char out[64];
    std::memset(out, '#', sizeof(out));
    from_gmt_time_t_to_local_date_time_string_DDMMYYYY_hhmmss(t, out);
    return out;
}

// The text is followed by the end of readable memory.
std::int64_t parseUtc(const std::string& text) {
    support::GuardedBytes bytes(text);
    return from_gmt_date_time_string_YYYYMMDDThhmmss_to_gmt_time_t(bytes.begin(), bytes.end());
}

std::int64_t parseLocal(const std::string& text) {
    support::GuardedBytes bytes(text);
    return from_local_date_time_string_DDMMYYYY_hhmmss_to_gmt_time_t(bytes.begin(), bytes.end());
}

using Display = bool (*)(std::int64_t, char*, int);

// What a display form leaves in a field of bytes that were all '#'.
std::string shown(Display display, std::int64_t t, int outSize, bool& result) {
    std::string out(400, '#');
    result = display(t, &out[0], outSize);
    return out;
}

// Each unit of what the runtime formats, encoded alone; without the terminator.
std::string runtimeText(const wchar_t* format, std::int64_t t) {
    std::tm time{};
    if (!systemLocalTime(t, time)) return "(no time)";
    wchar_t wide[100];
    std::size_t n = std::wcsftime(wide, 100, format, &time);
    std::string out;
    for (std::size_t i = 0; i < n; ++i) {
        auto c = static_cast<unsigned>(wide[i]);
        if (c < 0x80) {
            out += static_cast<char>(c);
        } else if (c < 0x800) {
            out += static_cast<char>(0xC0 | (c >> 6));
            out += static_cast<char>(0x80 | (c & 0x3F));
        } else {
            out += static_cast<char>(0xE0 | (c >> 12));
            out += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
            out += static_cast<char>(0x80 | (c & 0x3F));
        }
    }
    return out;
}

const Moment kApril = {2021, 4, 3, 9, 5, 7};

TEST(SprintfDate, ZeroIsNoTime) {
    for (Display display : {&sprintf_date, &sprintf_date_time}) {
        for (int outSize : {1, 2, 100}) {
            char out[4] = {'#', '#', '#', '#'};
            EXPECT_TRUE(display(0, out, outSize));
            EXPECT_EQ(0, out[0]);
            EXPECT_EQ('#', out[1]);
        }
    }
}

TEST(SprintfDate, FollowsTheLocaleOfTheProcess) {
    support::LocaleScope locale(LC_TIME, "C");
    const std::int64_t t = systemLocal(kApril, -1);
    char out[64];
    EXPECT_TRUE(sprintf_date(t, out, 64));
    EXPECT_STREQ("04/03/21", out);
    EXPECT_TRUE(sprintf_date_time(t, out, 64));
    EXPECT_STREQ("04/03/21 09:05:07", out);
}

TEST(SprintfDate, ShowsLocalTime) {
    support::LocaleScope locale(LC_TIME, "C");
    TimeZoneScope zone("XST-5:30");
    std::tm epoch{};
    if (!systemLocalTime(0, epoch) || epoch.tm_hour != 5 || epoch.tm_min != 30) {
        GTEST_SKIP() << "the runtime does not read the time zone from the environment";
    }
    char out[64];
    EXPECT_TRUE(sprintf_date_time(systemUtc({2021, 12, 31, 20, 0, 1}), out, 64));
    EXPECT_STREQ("01/01/22 01:30:01", out);
    EXPECT_TRUE(sprintf_date(systemUtc({2021, 12, 31, 20, 0, 1}), out, 64));
    EXPECT_STREQ("01/01/22", out);
}

// The value that stands for no time in the fixed forms is a time here.
TEST(SprintfDate, MinusOneIsATime) {
    support::LocaleScope locale(LC_TIME, "C");
    std::tm time{};
    if (!systemLocalTime(-1, time)) GTEST_SKIP() << "the runtime has no times before 1970";
    char out[64];
    EXPECT_TRUE(sprintf_date(-1, out, 64));
    EXPECT_EQ(runtimeText(L"%x", -1), out);
    EXPECT_NE(0, out[0]);
}

TEST(SprintfDate, TextIsCutAtTheSizeWithoutATerminator) {
    support::LocaleScope locale(LC_TIME, "C");
    const std::int64_t t = systemLocal(kApril, -1);
    struct Form {
        Display display;
        std::string text;
    };
    const Form forms[] = {{&sprintf_date, "04/03/21"}, {&sprintf_date_time, "04/03/21 09:05:07"}};
    for (const Form& form : forms) {
        const int size = static_cast<int>(form.text.size());
        for (int outSize = 1; outSize <= size + 2; ++outSize) {
            SCOPED_TRACE(form.text);
            SCOPED_TRACE(outSize);
            std::string expected = form.text.substr(0, static_cast<std::size_t>(outSize));
            if (outSize > size) expected += '\0';
            expected += std::string(400 - expected.size(), '#');
            bool result = false;
            EXPECT_EQ(expected, shown(form.display, t, outSize, result));
            EXPECT_TRUE(result);
        }
    }
}

// Needs a locale whose dates have letters outside of ASCII; a sequence may be cut in its middle.
TEST(SprintfDate, UnitsAreEncodedOneByOne) {
    const std::int64_t t = systemLocal(kApril, -1);
    for (const char* name : {"ja_JP.UTF-8", "zh_CN.UTF-8", "ko_KR.UTF-8", "bg_BG.UTF-8", "Bulgarian_Bulgaria.1251"}) {
        support::LocaleScope locale(LC_TIME, name);
        if (!locale.ok()) continue;
        const std::string date = runtimeText(L"%x", t);
        bool ascii = true;
        for (char c : date) ascii = ascii && static_cast<unsigned char>(c) < 0x80;
        if (ascii) continue;
        SCOPED_TRACE(name);
        struct Form {
            Display display;
            std::string text;
        };
        const Form forms[] = {{&sprintf_date, date}, {&sprintf_date_time, runtimeText(L"%x %X", t)}};
        for (const Form& form : forms) {
            const int size = static_cast<int>(form.text.size());
            for (int outSize = 1; outSize <= size + 1; ++outSize) {
                std::string expected = form.text.substr(0, static_cast<std::size_t>(outSize));
                if (outSize > size) expected += '\0';
                expected += std::string(400 - expected.size(), '#');
                bool result = false;
                EXPECT_EQ(expected, shown(form.display, t, outSize, result));
                EXPECT_TRUE(result);
            }
        }
        return;
    }
    GTEST_SKIP() << "the system has no locale with such dates";
}

#ifndef _WIN32
// The zone is looked up at each call, in both directions.
TEST(LocalText, FollowsAChangeOfTheZone) {
    const TimeZoneScope restore("UTC0");
    EXPECT_EQ("03/04/2021 9:05:07", localText(1617440707));
    setenv("TZ", "XST-5:30", 1);
    EXPECT_EQ("03/04/2021 14:35:07", localText(1617440707));
}
#endif

TEST(UtcText, FormatsWithFixedWidths) {
    EXPECT_EQ("1970-01-01T00:00:00", utcText(0));  // a time like any other here
    EXPECT_EQ("1970-01-01T00:00:01", utcText(1));
    EXPECT_EQ("2021-04-03T09:05:07", utcText(1617440707));
    EXPECT_EQ("2000-02-29T23:59:59", utcText(951868799));
    EXPECT_EQ("2021-12-01T00:00:00", utcText(1638316800));
    EXPECT_EQ("2106-02-07T06:28:16", utcText(4294967296));  // beyond 32 bits
    EXPECT_EQ("2999-12-31T23:59:59", utcText(32503679999));
}

TEST(UtcText, MinusOneIsNoTime) { EXPECT_EQ("", utcText(-1)); }

TEST(UtcText, TimeThatTheSystemRefusesIsEmpty) {
    EXPECT_EQ("", utcText(INT64_MAX));
    EXPECT_EQ("", utcText(INT64_MIN));
}

TEST(UtcText, YearsBefore1970AreAsTheSystemHasThem) {
    const std::int64_t t = -315619200;
    std::time_t time = static_cast<std::time_t>(t);
    EXPECT_EQ(std::gmtime(&time) ? "1960-01-01T00:00:00" : "", utcText(t));
}

TEST(LocalText, HourHasNoLeadingZero) {
    struct Row {
        int line;
        Moment moment;
        const char* text;
    };
    const Row rows[] = {
        {__LINE__, kApril, "03/04/2021 9:05:07"},
        {__LINE__, {2021, 4, 3, 0, 0, 0}, "03/04/2021 0:00:00"},
        {__LINE__, {2021, 4, 3, 10, 20, 30}, "03/04/2021 10:20:30"},
        {__LINE__, {1999, 12, 31, 23, 59, 59}, "31/12/1999 23:59:59"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.line);
        EXPECT_EQ(row.text, localText(systemLocal(row.moment, -1)));
    }
}

TEST(LocalText, MinusOneAndRefusedTimesAreEmpty) {
    EXPECT_EQ("", localText(-1));
    EXPECT_EQ("", localText(INT64_MAX));
    EXPECT_EQ("", localText(INT64_MIN));
}

TEST(LocalText, FollowsTheTimeZone) {
    TimeZoneScope zone("XST-5:30");
    std::tm epoch{};
    if (!systemLocalTime(0, epoch) || epoch.tm_hour != 5 || epoch.tm_min != 30) {
        GTEST_SKIP() << "the runtime does not read the time zone from the environment";
    }
    EXPECT_EQ("01/01/1970 5:30:00", localText(0));
    EXPECT_EQ("03/04/2021 14:35:07", localText(1617440707));
    EXPECT_EQ("1970-01-01T00:00:00", utcText(0));
    EXPECT_EQ(1617440707, parseLocal("03/04/2021 14:35:07"));
    EXPECT_EQ(1617440707, parseUtc("2021-04-03T09:05:07"));
}

struct ParseRow {
    int line;
    std::string text;
    std::int64_t time;
};

TEST(ParseUtc, ReadsTheForms) {
    const ParseRow rows[] = {
        {__LINE__, "2021-05-12T10:20:30", 1620814830},
        {__LINE__, "2012/05/12-10.20.30", 1336818030},
        {__LINE__, "2012-05-12T10:20:30", 1336818030},
        {__LINE__, "1970-01-01T00:00:00", 0},
        {__LINE__, "1970-01-01", 0},
        {__LINE__, "2999-12-31T23:59:59", 32503679999},
        {__LINE__, "2000-02-29T23:59:59", 951868799},
        // What is missing behind the day is zero, with its separator or without.
        {__LINE__, "2021-05-12", 1620777600},
        {__LINE__, "2021-05-12T", 1620777600},
        {__LINE__, "2021-05-12T10", 1620813600},
        {__LINE__, "2021-05-12T10:", 1620813600},
        {__LINE__, "2021-05-12T10:20", 1620814800},
        {__LINE__, "2021-05-12T10:20:", 1620814800},
        // Fields may be shorter.
        {__LINE__, "2021-5-2 1:2:3", 1619917323},
        // A day beyond its month goes into the next one.
        {__LINE__, "2021-02-31", 1614729600},
        {__LINE__, "2021-04-31", 1619827200},
        // The separator behind the seconds ends the scan.
        {__LINE__, "2021-05-12T10:20:30 junk", 1620814830},
        {__LINE__, "2021-05-12T10:20:30 ", 1620814830},
        {__LINE__, "2021-05-12T10:20:30.999", 1620814830},
        {__LINE__, "2021-05-12T10:20:30Tx", 1620814830},
        {__LINE__, "2021-05-12T10:20:30--", 1620814830},
        {__LINE__, "2021-05-12T10:20:30/\xFF", 1620814830},
        {__LINE__, "2021-05-12T10:20:30:\n", 1620814830},
        // One digit more than the field takes passes where the text ends.
        {__LINE__, "2021-05-012", 1620777600},
        {__LINE__, "2021-05-12T010", 1620813600},
        {__LINE__, "2021-05-12T10:020", 1620814800},
        {__LINE__, "2021-05-12T10:20:030", 1620814830},
    };
    for (const ParseRow& row : rows) {
        SCOPED_TRACE(row.line);
        EXPECT_EQ(row.time, parseUtc(row.text));
    }
}

TEST(ParseUtc, RefusesBadTexts) {
    const ParseRow rows[] = {
        {__LINE__, "", -1},
        {__LINE__, "2021", -1},
        {__LINE__, "2021-", -1},
        {__LINE__, "2021-05", -1},
        {__LINE__, "2021-05-", -1},
        // Ranges.
        {__LINE__, "1899-01-01", -1},
        {__LINE__, "1899-12-31T23:59:59", -1},
        {__LINE__, "3000-01-01", -1},
        {__LINE__, "21-05-12", -1},
        {__LINE__, "0-05-12", -1},
        {__LINE__, "2021-00-12", -1},
        {__LINE__, "2021-13-01", -1},
        {__LINE__, "2021-05-00", -1},
        {__LINE__, "2021-05-32", -1},
        {__LINE__, "2021-05-12T24", -1},
        {__LINE__, "2021-05-12T24:00:00", -1},
        {__LINE__, "2021-05-12T10:60", -1},
        {__LINE__, "2021-05-12T10:60:00", -1},
        {__LINE__, "2021-05-12T10:20:60", -1},
        {__LINE__, "2021-05-12T10:20:60 ", -1},
        {__LINE__, "2021-05-123", -1},
        {__LINE__, "2021-05-12T10:20:300", -1},
        // Empty fields.
        {__LINE__, "-2021-05-12", -1},
        {__LINE__, "2021--05-12", -1},
        {__LINE__, "2021-05--12", -1},
        {__LINE__, "2021-05-12 T10", -1},
        {__LINE__, "2021-05-12T10::30", -1},
        {__LINE__, "2021-05-12T10:20::30", -1},
        {__LINE__, "2021-05-12T10:20: ", -1},
        // Bytes that are neither digit nor separator.
        {__LINE__, "x", -1},
        {__LINE__, "2021-05-12T10:20:30Z", -1},
        {__LINE__, "2021-05-12T10:20:3x", -1},
        {__LINE__, "2021-05-12t10:20:30", -1},
        {__LINE__, "2021_05_12", -1},
        {__LINE__, "2021,05,12", -1},
        {__LINE__, "2021-Ma-12", -1},
        {__LINE__, "+2021-05-12", -1},
        {__LINE__, "2021-05-12\n", -1},
        {__LINE__, "2021-05-12\t10", -1},
        {__LINE__, "2021-05-1\x80", -1},
        {__LINE__, std::string("2021-05-12\0", 11), -1},
        // Too many digits.
        {__LINE__, "02021-05-12", -1},
        {__LINE__, "2021-005-12", -1},
        {__LINE__, "2021-05-012T10", -1},
        {__LINE__, "2021-05-012 ", -1},
        {__LINE__, "2021-05-0012", -1},
        {__LINE__, "2021-05-12T010:20", -1},
        {__LINE__, "2021-05-12T10:020:30", -1},
        {__LINE__, "2021-05-12T10:20:030 ", -1},
        {__LINE__, "2021-05-12T10:20:0030", -1},
        {__LINE__, "20210512", -1},
        {__LINE__, "2021-05-12T10:20:99999999999999999999", -1},
    };
    for (const ParseRow& row : rows) {
        SCOPED_TRACE(row.line);
        EXPECT_EQ(row.time, parseUtc(row.text));
    }
}

TEST(ParseUtc, EverySeparatorStandsBetweenAnyTwoFields) {
    for (char separator : {' ', '-', '.', '/', ':', 'T'}) {
        for (std::size_t place : {4, 7, 10, 13, 16}) {
            std::string text = "2021-05-12T10:20:30";
            text[place] = separator;
            SCOPED_TRACE(text);
            EXPECT_EQ(1620814830, parseUtc(text));
            text = "12/05/2021 10:20:30";
            text[place == 4 ? 2 : place == 7 ? 5 : place] = separator;
            SCOPED_TRACE(text);
            EXPECT_EQ(systemLocal({2021, 5, 12, 10, 20, 30}, 0), parseLocal(text));
        }
    }
}

// No other byte does.
TEST(ParseUtc, NothingElseSeparates) {
    for (int byte = 0; byte < 256; ++byte) {
        const char c = static_cast<char>(byte);
        if (std::strchr(" -./:T", c) && c != 0) continue;
        SCOPED_TRACE(byte);
        std::string text = "2021-05-12T10:20:30";
        text[10] = c;
        EXPECT_EQ(-1, parseUtc(text));
        text = "2021-05-12T10:20:30";
        text += c;
        EXPECT_EQ(-1, parseUtc(text));
    }
}

TEST(ParseUtc, YearsBefore1970AreAsTheSystemHasThem) {
    EXPECT_EQ(systemUtc({1900, 1, 1, 0, 0, 0}), parseUtc("1900-01-01"));
    EXPECT_EQ(systemUtc({1960, 2, 3, 4, 5, 6}), parseUtc("1960-02-03T04:05:06"));
    EXPECT_EQ(-1, parseUtc("1969-12-31T23:59:59"));  // the time itself is -1
}

TEST(ParseUtc, ReadsBackWhatIsWritten) {
    for (std::int64_t t : {std::int64_t{0}, std::int64_t{1}, std::int64_t{1617440707}, std::int64_t{4294967296},
                           std::int64_t{32503679999}}) {
        SCOPED_TRACE(t);
        EXPECT_EQ(t, parseUtc(utcText(t)));
    }
}

TEST(ParseUtc, NullRangeIsRefused) {
    EXPECT_EQ(-1, from_gmt_date_time_string_YYYYMMDDThhmmss_to_gmt_time_t(nullptr, nullptr));
    EXPECT_EQ(-1, from_local_date_time_string_DDMMYYYY_hhmmss_to_gmt_time_t(nullptr, nullptr));
}

TEST(ParseLocal, ReadsDayMonthYear) {
    struct Row {
        int line;
        const char* text;
        Moment moment;
    };
    const Row rows[] = {
        {__LINE__, "03/04/2021 9:05:07", {2021, 4, 3, 9, 5, 7}},
        {__LINE__, "3/4/2021 09:05:07", {2021, 4, 3, 9, 5, 7}},
        {__LINE__, "12/05/2021", {2021, 5, 12, 0, 0, 0}},
        {__LINE__, "12/05/2021 10", {2021, 5, 12, 10, 0, 0}},
        {__LINE__, "12/05/2021 10:20", {2021, 5, 12, 10, 20, 0}},
        {__LINE__, "12/05/2021 10:20:30 junk", {2021, 5, 12, 10, 20, 30}},
        {__LINE__, "31/02/2021", {2021, 2, 31, 0, 0, 0}},
        {__LINE__, "12/05/02021", {2021, 5, 12, 0, 0, 0}},  // five digits of a year, at the end
        {__LINE__, "31/12/2999 23:59:59", {2999, 12, 31, 23, 59, 59}},
        {__LINE__, "15/07/2021 12:00:00", {2021, 7, 15, 12, 0, 0}},
        {__LINE__, "15/01/2021 12:00:00", {2021, 1, 15, 12, 0, 0}},
        {__LINE__, "01/01/1900", {1900, 1, 1, 0, 0, 0}},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.line);
        EXPECT_EQ(systemLocal(row.moment, 0), parseLocal(row.text));
    }
}

TEST(ParseLocal, RefusesBadTexts) {
    for (const char* text : {"",
                             "12",
                             "12/05",
                             "12/05/",
                             "00/05/2021",
                             "32/05/2021",
                             "12/00/2021",
                             "12/13/2021",
                             "12/05/1899",
                             "12/05/3000",
                             "12/05/21",
                             "2021/05/12",
                             "2021-05-12T10:20:30",
                             "12/05/02021 ",
                             "12/05/02021 10",
                             "012/05/2021",
                             "12//05/2021",
                             "12/05/2021 24",
                             "12/05/2021 10:60",
                             "12/05/2021 10:20:60",
                             "12/05/2021 10:20:30Z"}) {
        SCOPED_TRACE(text);
        EXPECT_EQ(-1, parseLocal(text));
    }
}

TEST(ParseLocal, ReadsBackWhatIsWritten) {
    TimeZoneScope zone("XST-5:30");  // without summer time
    const std::int64_t t = systemLocal(kApril, -1);
    EXPECT_EQ("03/04/2021 9:05:07", localText(t));
    EXPECT_EQ(systemLocal(kApril, 0), parseLocal(localText(t)));
    std::tm time{};
    ASSERT_TRUE(systemLocalTime(t, time));
    if (time.tm_isdst == 0) {
        EXPECT_EQ(t, parseLocal(localText(t)));
    }
}

// Texts are taken as standard time all year, so what was written in summer comes back an hour later.
TEST(ParseLocal, SummerTimeIsReadAsStandardTime) {
    TimeZoneScope zone("CET-1CEST");
    std::tm summer{}, winter{};
    if (!systemLocalTime(1625097600, summer) || summer.tm_isdst <= 0 || summer.tm_hour != 2 ||
        !systemLocalTime(1609459200, winter) || winter.tm_isdst != 0 || winter.tm_hour != 1) {
        GTEST_SKIP() << "the runtime does not show the summer time of this zone";
    }
    EXPECT_EQ("01/07/2021 2:00:00", localText(1625097600));
    EXPECT_EQ(1625097600 + 3600, parseLocal("01/07/2021 2:00:00"));
    EXPECT_EQ("01/01/2021 1:00:00", localText(1609459200));
    EXPECT_EQ(1609459200, parseLocal("01/01/2021 1:00:00"));
}

TEST(ChPairParseGMTTime, GivesTheTime) {
    EXPECT_EQ(1620814830, ChPair("2021-05-12T10:20:30").parseGMTTime());
    EXPECT_EQ(0, ChPair("1970-01-01").parseGMTTime());
    EXPECT_EQ(1614729600, ChPair("2021-02-31").parseGMTTime());
    support::GuardedBytes bytes("2021-05-12T10:20:3");
    EXPECT_EQ(1620814803, ChPair(bytes.begin(), bytes.end()).parseGMTTime());
}

TEST(ChPairParseLocalTime, GivesTheTime) {
    EXPECT_EQ(systemLocal(kApril, 0), ChPair("03/04/2021 9:05:07").parseLocalTime());
    support::GuardedBytes bytes("12/05/2021 10:2");
    EXPECT_EQ(systemLocal({2021, 5, 12, 10, 2, 0}, 0), ChPair(bytes.begin(), bytes.end()).parseLocalTime());
}

// Seconds and minutes stand in reverse in the first form; the text is fixed.
TEST(ChPairParseGMTTime, ThrowsWithTheForm) {
    for (const char* text : {"", "2021-05", "2021-05-12T10:20:30Z", "03/04/2021 9:05:07", "1969-12-31T23:59:59"}) {
        SCOPED_TRACE(text);
        EXPECT_EQ("LCA__Invalid_date_required_format_is(YYYY-MM-DDThh:ss:mm)",
                  support::thrownMessage([&] { ChPair(text).parseGMTTime(); }));
    }
    EXPECT_THROW_KEY(ChPair().parseGMTTime(), LCA__Invalid_date_required_format_is);
}

TEST(ChPairParseLocalTime, ThrowsWithTheForm) {
    for (const char* text : {"", "12/05", "12/05/2021 10:20:30Z", "2021-05-12T10:20:30"}) {
        SCOPED_TRACE(text);
        EXPECT_EQ("LCA__Invalid_date_required_format_is(DD/MM/YYYY hh:mm:ss)",
                  support::thrownMessage([&] { ChPair(text).parseLocalTime(); }));
    }
    EXPECT_THROW_KEY(ChPair().parseLocalTime(), LCA__Invalid_date_required_format_is);
}

TEST(ChPairParseGMTTime, ThrownMessageIsOneSegmentOfTheLibrarysDictionary) {
    static_assert(VELMORA_DICT == 2 && LCA__Invalid_date_required_format_is == 14, "numbers on the wire");
    try {
        ChPair("no date").parseGMTTime();
        FAIL() << "nothing was thrown";
    } catch (const TTT& message) {
        const Bag& bag = message.getData();
        const char expected[] = "\xFE\xFF\xFF\xFF\x02\0\0\0\x0E\0\0\0YYYY-MM-DDThh:ss:mm";
        EXPECT_EQ(std::string(expected, sizeof(expected)),
                  std::string(static_cast<const char*>(bag.data), static_cast<std::size_t>(bag.size)));
    }
}

}  // namespace
