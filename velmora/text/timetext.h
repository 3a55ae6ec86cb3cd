// Times as text. A time is a count of seconds since 1970 in UTC.
// Warning: "no time" is 0 for the display forms and -1 for the fixed forms.
#ifndef VELMORA_TEXT_TIMETEXT_H
#define VELMORA_TEXT_TIMETEXT_H

#include <cstdint>

#include <velmora/base.h>

// Local date, or date and time, in the form of the process's locale, as UTF-8. The time 0 is an empty text.
// Returns: false with an empty text when nothing could be formatted.
// Limit: `outSize` bytes; a text that fills `out` has no terminator, and the result is still true.
VELMORA_API bool sprintf_date(std::int64_t t, char* out, int outSize);
VELMORA_API bool sprintf_date_time(std::int64_t t, char* out, int outSize);

// Fixed forms for files: "2021-04-03T09:05:07" in UTC, "03/04/2021 9:05:07" in local time. -1, and a time that the
// system cannot convert, is an empty text. Requires: 32 bytes at `out`.
VELMORA_API void from_gmt_time_t_to_gmt_date_time_string_YYYYMMDDThhmmss(std::int64_t t, char* out);
VELMORA_API void from_gmt_time_t_to_local_date_time_string_DDMMYYYY_hhmmss(std::int64_t t, char* out);

// The way back, from [begin, end). Year, month and day are required; the rest defaults to 0. Any of the six
// separators (space - . / : T) may stand between any two fields, and nothing is read behind the seconds' own. A day
// beyond its month carries over. Returns: the time, or -1.
VELMORA_API std::int64_t from_gmt_date_time_string_YYYYMMDDThhmmss_to_gmt_time_t(const char* begin, char* end);
VELMORA_API std::int64_t from_local_date_time_string_DDMMYYYY_hhmmss_to_gmt_time_t(const char* begin, char* end);

#endif
