#include <velmora/text/timetext.h>

#include <array>
#include <cstdio>
#include <cstring>

#include <velmora/platform/platform.h>
#include <velmora/text/utf.h>

namespace {

constexpr int kDisplayMax = 100;  // 16-bit units of a formatted date, the terminator included
constexpr int kFixedMax = 128;    // bytes that suffice for a fixed form whatever the fields hold

bool displayTime(std::int64_t t, const char* format, char* out, int outSize) {
    if (t == 0) {
        *out = 0;
        return true;
    }
    std::tm parts = {};
    platform::localTime(t, parts);
    utf16_t text[kDisplayMax];
    int length = platform::formatTime(text, kDisplayMax, format, parts);
    if (length == 0) {
        *out = 0;
        return false;
    }
    utf16_to_utf8(text, text + length + 1, out, out + outSize);
    return true;
}

constexpr int kYearDigits = 4;
constexpr int kOtherDigits = 2;

struct Field {
    int std::tm::*part;
    int digits;
    int low, high;
    int base;  // what the broken-down time counts from
};

constexpr Field kYear = {&std::tm::tm_year, kYearDigits, 1900, 2999, 1900};
constexpr Field kMonth = {&std::tm::tm_mon, kOtherDigits, 1, 12, 1};
constexpr Field kDay = {&std::tm::tm_mday, kOtherDigits, 1, 31, 0};
constexpr Field kHour = {&std::tm::tm_hour, kOtherDigits, 0, 23, 0};
constexpr Field kMinute = {&std::tm::tm_min, kOtherDigits, 0, 59, 0};
constexpr Field kSecond = {&std::tm::tm_sec, kOtherDigits, 0, 59, 0};

constexpr Field kGmtOrder[] = {kYear, kMonth, kDay, kHour, kMinute, kSecond};
constexpr Field kLocalOrder[] = {kDay, kMonth, kYear, kHour, kMinute, kSecond};

bool isSeparator(char c) { return c == ' ' || c == '-' || c == '.' || c == '/' || c == ':' || c == 'T'; }

// Scans one field and the separator that ends it. A field for which no text is left is 0. One digit more than the
// field's own is let through at the very end of the text, where the range decides.
bool scanField(const char*& p, const char* end, int limit, int& value) {
    value = 0;
    for (int digits = 0; p < end; ++digits) {
        if (digits > limit) return false;
        char c = *p++;
        if (isSeparator(c)) return digits != 0;
        if (c < '0' || c > '9') return false;
        value = value * 10 + (c - '0');
    }
    return true;
}

template <std::size_t N>
bool scanTime(const char* p, const char* end, const Field (&fields)[N], std::tm& out) {
    out = {};
    for (const Field& field : fields) {
        int value;
        if (!scanField(p, end, field.digits, value) || value < field.low || value > field.high) return false;
        out.*field.part = value - field.base;
    }
    return true;
}

long long fullYear(const std::tm& parts) { return 1900LL + parts.tm_year; }

void storeFixed(char* out, const char* format, const std::array<long long, 6>& v) {
    char text[kFixedMax];
    int length = std::snprintf(text, sizeof text, format, v[0], v[1], v[2], v[3], v[4], v[5]);
    std::memcpy(out, text, static_cast<std::size_t>(length) + 1);
}

}  // namespace

bool sprintf_date(std::int64_t t, char* out, int outSize) { return displayTime(t, "%x", out, outSize); }

bool sprintf_date_time(std::int64_t t, char* out, int outSize) { return displayTime(t, "%x %X", out, outSize); }

void from_gmt_time_t_to_gmt_date_time_string_YYYYMMDDThhmmss(std::int64_t t, char* out) {
    std::tm parts;
    *out = 0;
    if (t == -1 || !platform::utcTime(t, parts)) return;
    storeFixed(out, "%04lld-%02lld-%02lldT%02lld:%02lld:%02lld",
               {fullYear(parts), parts.tm_mon + 1, parts.tm_mday, parts.tm_hour, parts.tm_min, parts.tm_sec});
}

void from_gmt_time_t_to_local_date_time_string_DDMMYYYY_hhmmss(std::int64_t t, char* out) {
    std::tm parts;
    *out = 0;
    if (t == -1 || !platform::localTime(t, parts)) return;
    storeFixed(out, "%02lld/%02lld/%04lld %lld:%02lld:%02lld",
               {parts.tm_mday, parts.tm_mon + 1, fullYear(parts), parts.tm_hour, parts.tm_min, parts.tm_sec});
}

std::int64_t from_gmt_date_time_string_YYYYMMDDThhmmss_to_gmt_time_t(const char* begin, char* end) {
    std::tm parts;
    return scanTime(begin, end, kGmtOrder, parts) ? platform::timeFromUtc(parts) : -1;
}

std::int64_t from_local_date_time_string_DDMMYYYY_hhmmss_to_gmt_time_t(const char* begin, char* end) {
    std::tm parts;
    return scanTime(begin, end, kLocalOrder, parts) ? platform::timeFromLocal(parts) : -1;
}
