#include <velmora/text/utf.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <initializer_list>
#include <random>
#include <string>
#include <type_traits>
#include <vector>

#include <velmora/text/bytes.h>

#include "tests/support/all_texts.h"
#include "tests/support/guard_page.h"
#include "tests/support/table_scope.h"

namespace {

using namespace std::string_literals;
using support::allTexts;
using support::GuardedBytes;
using support::GuardedRoom;
using support::TableScope;

using Size = std::size_t;

// The signatures that callers are compiled against: naming one of a set of overloads fails where it is not exact.
template <class Signature>
void takes(Signature*);
#define EXPECT_DECLARED(name, ...) static_assert(std::is_void_v<decltype(takes<__VA_ARGS__>(name))>)
EXPECT_DECLARED(strchk_utf8, const char*(const char*, Size));
EXPECT_DECLARED(strlen_utf8, Size(const char*));
EXPECT_DECLARED(strlen_utf8, Size(const char*, const char*));
EXPECT_DECLARED(strlen_utf8, Size(const utf16_t*));
EXPECT_DECLARED(strlen_utf8, Size(const utf16_t*, const utf16_t*));
EXPECT_DECLARED(chrpass_utf8, const char*(const char*, const char*));
EXPECT_DECLARED(chrback_utf8, const char*(const char*, const char*));
EXPECT_DECLARED(getch_utf8, const char*(utf16_t&, const char*, const char*));
EXPECT_DECLARED(putch_utf8, char*(utf16_t, char*, const char*));
EXPECT_DECLARED(utf16_to_utf8, void(const utf16_t*, const utf16_t*, char*, const char*));
EXPECT_DECLARED(utf8_to_utf16, void(const char*, const char*, utf16_t*, const utf16_t*));
EXPECT_DECLARED(strup_utf8, void(char*, const char*));
EXPECT_DECLARED(strlw_utf8, void(char*, const char*));
EXPECT_DECLARED(strcmp_i_utf8, int(const char*, const char*, const char*, const char*));
EXPECT_DECLARED(strfind_i_utf8, char*(const char*, const char*, const char*, const char*));
#undef EXPECT_DECLARED

const char* const nullText = nullptr;
const utf16_t* const nullUnits = nullptr;

utf16_string units(std::initializer_list<unsigned> values) {
    utf16_string text;
    for (unsigned value : values) text += static_cast<utf16_t>(value);
    return text;
}

unsigned upper(unsigned c) { return chr_upper_table_utf16[c]; }
unsigned lower(unsigned c) { return chr_lower_table_utf16[c]; }

long offset(const char* found, const char* text) { return found ? static_cast<long>(found - text) : -1; }

// Case pairs that every test here has, whatever the system's locale knows: one of equal encoded length, one whose upper
// case is shorter (U+0131), one whose upper case is longer (U+0250), one whose lower case is shorter (U+1E9E).
class CasePairs {
    TableScope<utf16_t> upperE_{chr_upper_table_utf16, 0xE9, 0xC9}, upperE2_{chr_upper_table_utf16, 0xC9, 0xC9};
    TableScope<utf16_t> upperI_{chr_upper_table_utf16, 0x131, 'I'};
    TableScope<utf16_t> upperA_{chr_upper_table_utf16, 0x250, 0x2C6F}, upperA2_{chr_upper_table_utf16, 0x2C6F, 0x2C6F};
    TableScope<utf16_t> lowerE_{chr_lower_table_utf16, 0xC9, 0xE9}, lowerE2_{chr_lower_table_utf16, 0xE9, 0xE9};
    TableScope<utf16_t> lowerS_{chr_lower_table_utf16, 0x1E9E, 0xDF};
};

// --- The rule of decoding, written down a second time ---

bool continues(char c) { return (static_cast<unsigned char>(c) & 0xC0) == 0x80; }

struct Decoded {
    unsigned value;
    Size next;
};

Decoded decode(const std::string& s, Size at) {
    unsigned first = static_cast<unsigned char>(s[at++]);
    if (first < 0x80) return {first, at};
    unsigned value = first & 0x1F;
    for (; at < s.size() && continues(s[at]); ++at)
        value = (value * 64 + (static_cast<unsigned char>(s[at]) & 0x3F)) & 0xFFFF;
    return {value, at};
}

std::vector<unsigned> decodeAll(const std::string& s) {
    std::vector<unsigned> values;
    for (Size at = 0; at < s.size();) {
        Decoded c = decode(s, at);
        values.push_back(c.value);
        at = c.next;
    }
    return values;
}

std::string encode(unsigned c) {
    auto byte = [](unsigned value) { return static_cast<char>(static_cast<unsigned char>(value)); };
    if (c < 0x80) return {byte(c)};
    if (c < 0x800) return {byte(0xC0 | c >> 6), byte(0x80 | (c & 0x3F))};
    return {byte(0xE0 | c >> 12), byte(0x80 | (c >> 6 & 0x3F)), byte(0x80 | (c & 0x3F))};
}

// --- Validity ---

TEST(StrchkUtf8, PointsAtTheFirstBadByte) {
    const struct {
        int line;
        std::string text;
        long bad;  // -1: valid
    } rows[] = {
        {__LINE__, "", -1},
        {__LINE__, "abc\x7F", -1},
        {__LINE__, "a\0b"s, -1},
        {__LINE__, "\xC3\xA9\xE2\x82\xAC\xEF\xBF\xBF", -1},
        {__LINE__, "\xF0\x9F\x98\x80", 0},
        {__LINE__, "ab\xF0\x9F\x98\x80", 2},
        {__LINE__, "\xF8", 0},
        {__LINE__, "a\xFF", 1},
        {__LINE__, "\x80", 0},
        {__LINE__, "\xC3\xA9\xBF", 2},
        {__LINE__, "\x41\xE2\x82", 1},
        {__LINE__, "\xC3", 0},
        {__LINE__, "ab\xE2", 2},
        // What is missing is judged before what is there.
        {__LINE__, "\xE2\x41", 0},
        {__LINE__, "\xE2\x41\x42", 1},
        {__LINE__, "\xE2\x82\x41", 2},
        {__LINE__, "\xE2\x41\x82", 1},
        {__LINE__, "a\xC3\x41", 2},
        {__LINE__, "\xC3\xC3\xA9", 1},
        {__LINE__, "\xE2\x82\xE2", 2},
        {__LINE__, "\xC3\0"s, 1},
        // The form alone counts: overlong sequences and surrogates pass.
        {__LINE__, "\xC0\x80", -1},
        {__LINE__, "\xE0\x80\x80", -1},
        {__LINE__, "\xED\xA0\x80", -1},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.line);
        GuardedBytes text(row.text);
        EXPECT_EQ(row.bad, offset(strchk_utf8(text.begin(), text.size()), text.begin()));
    }
}

TEST(StrchkUtf8, NothingIsValid) {
    EXPECT_EQ(nullptr, strchk_utf8(nullptr, 0));
    EXPECT_EQ(nullptr, strchk_utf8(nullptr, 5));
    EXPECT_EQ(nullptr, strchk_utf8("\xFF", 0));
}

long slowCheck(const std::string& s) {
    for (Size at = 0; at < s.size();) {
        auto lead = static_cast<unsigned char>(s[at]);
        Size length = lead < 0x80 ? 1 : lead >= 0xC0 && lead < 0xE0 ? 2 : lead >= 0xE0 && lead < 0xF0 ? 3 : 0;
        if (length == 0 || at + length > s.size()) return static_cast<long>(at);
        for (Size i = 1; i < length; ++i)
            if (!continues(s[at + i])) return static_cast<long>(at + i);
        at += length;
    }
    return -1;
}

TEST(StrchkUtf8, AgreesWithTheSlowWayOnAllShortTexts) {
    GuardedRoom room;
    for (const std::string& text :
         allTexts({"\0"s, "A", "\x80", "\xBF", "\xC0", "\xDF", "\xE0", "\xEF", "\xF0", "\xFF"}, 4)) {
        const char* p = room.put(text);
        if (offset(strchk_utf8(p, text.size()), p) != slowCheck(text)) FAIL() << testing::PrintToString(text);
    }
}

// --- Lengths ---

TEST(StrlenUtf8, CountsBytesThatStartACharacter) {
    const struct {
        int line;
        std::string text;
        Size length;
    } rows[] = {
        {__LINE__, "", 0},
        {__LINE__, "abc", 3},
        {__LINE__, "\xC3\xA9\xE2\x82\xAC", 2},
        {__LINE__, "a\xC3\xA9z", 3},
        {__LINE__, "\xF0\x9F\x98\x80", 1},
        {__LINE__, "\x80\xBF", 0},
        {__LINE__, "\xC3\xC3", 2},
        {__LINE__, "\xC3\xA9\x80\x80\xC0", 2},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.line);
        EXPECT_EQ(row.length, strlen_utf8(row.text.c_str()));
        GuardedBytes text(row.text);
        EXPECT_EQ(row.length, strlen_utf8(text.begin(), text.end()));
    }
}

TEST(StrlenUtf8, RangeCountsZerosAndTheTextEndsAtOne) {
    std::string text = "a\0\xC3\xA9"s;
    EXPECT_EQ(3u, strlen_utf8(text.data(), text.data() + text.size()));
    EXPECT_EQ(1u, strlen_utf8(text.c_str()));
}

TEST(StrlenUtf8, NullEmptyAndTurnedRangesAreZero) {
    const char text[] = "abc";
    EXPECT_EQ(0u, strlen_utf8(nullText));
    EXPECT_EQ(0u, strlen_utf8(nullText, nullText));
    EXPECT_EQ(0u, strlen_utf8(text + 1, text + 1));
    EXPECT_EQ(0u, strlen_utf8(text + 2, text));
}

TEST(StrlenUtf8, OfUnitsIsTheBytesTheyTake) {
    const struct {
        int line;
        utf16_string text;
        Size length;
    } rows[] = {
        {__LINE__, units({}), 0},
        {__LINE__, units({0x61, 0x7F}), 2},
        {__LINE__, units({0x80}), 2},
        {__LINE__, units({0x7FF}), 2},
        {__LINE__, units({0x800}), 3},
        {__LINE__, units({0xFFFF}), 3},
        {__LINE__, units({0x61, 0xE9, 0x20AC}), 6},
        {__LINE__, units({0xD83D}), 3},
        {__LINE__, units({0xD83D, 0xDE00}), 6},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.line);
        EXPECT_EQ(row.length, strlen_utf8(row.text.c_str()));
        EXPECT_EQ(row.length, strlen_utf8(row.text.data(), row.text.data() + row.text.size()));
    }
    utf16_string withZero = units({0x61, 0, 0xE9});
    EXPECT_EQ(1u, strlen_utf8(withZero.c_str()));
    EXPECT_EQ(4u, strlen_utf8(withZero.data(), withZero.data() + 3));
}

TEST(StrlenUtf8, OfNoUnitsIsZero) {
    utf16_string text = units({0x61, 0x62});
    EXPECT_EQ(0u, strlen_utf8(nullUnits));
    EXPECT_EQ(0u, strlen_utf8(nullUnits, nullUnits));
    EXPECT_EQ(0u, strlen_utf8(text.data() + 1, text.data() + 1));
    EXPECT_EQ(0u, strlen_utf8(text.data() + 1, text.data()));
}

// --- Walking by characters ---

TEST(ChrpassUtf8, StopsAtTheNextByteThatStartsACharacter) {
    const char text[] = "a\xC3\xA9\xE2\x82\xACz\x80\x80";
    const struct {
        int line;
        int from, end, next;
    } rows[] = {
        {__LINE__, 0, 9, 1},
        {__LINE__, 1, 9, 3},
        {__LINE__, 3, 9, 6},
        {__LINE__, 6, 9, 9},
        // From inside a character too.
        {__LINE__, 2, 9, 3},
        {__LINE__, 4, 9, 6},
        {__LINE__, 5, 9, 6},
        {__LINE__, 8, 9, 9},
        // Never beyond the end.
        {__LINE__, 1, 2, 2},
        {__LINE__, 3, 4, 4},
        {__LINE__, 3, 5, 5},
        {__LINE__, 6, 8, 8},
        {__LINE__, 0, 1, 1},
        {__LINE__, 5, 5, 5},
        {__LINE__, 5, 3, 3},
        {__LINE__, 9, 9, 9},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.line);
        EXPECT_EQ(text + row.next, chrpass_utf8(text + row.from, text + row.end));
    }
}

TEST(ChrbackUtf8, StopsAtTheByteThatStartsTheCharacterBefore) {
    const char text[] = "a\xC3\xA9\xE2\x82\xACz\x80\x80";
    const struct {
        int line;
        int begin, from, previous;
    } rows[] = {
        {__LINE__, 0, 9, 6},
        {__LINE__, 0, 6, 3},
        {__LINE__, 0, 3, 1},
        {__LINE__, 0, 1, 0},
        {__LINE__, 0, 5, 3},
        {__LINE__, 0, 4, 3},
        {__LINE__, 0, 2, 1},
        {__LINE__, 0, 7, 6},
        // Never before the begin, be it inside a character.
        {__LINE__, 2, 3, 2},
        {__LINE__, 4, 6, 4},
        {__LINE__, 5, 6, 5},
        {__LINE__, 7, 9, 7},
        {__LINE__, 3, 3, 3},
        {__LINE__, 0, 0, 0},
        {__LINE__, 5, 3, 5},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.line);
        EXPECT_EQ(text + row.previous, chrback_utf8(text + row.begin, text + row.from));
    }
}

// --- One character ---

TEST(GetchUtf8, DecodesAnything) {
    const struct {
        int line;
        std::string text;
        unsigned value;
        long consumed;
    } rows[] = {
        {__LINE__, "", 0xFFFF, 0},
        {__LINE__, "a", 0x61, 1},
        {__LINE__, "a\x80", 0x61, 1},
        {__LINE__, "\0a"s, 0, 1},
        {__LINE__, "\xC3\xA9", 0xE9, 2},
        {__LINE__, "\xC3\xA9z", 0xE9, 2},
        {__LINE__, "\xE2\x82\xAC", 0x20AC, 3},
        {__LINE__, "\xEF\xBF\xBF", 0xFFFF, 3},
        {__LINE__, "\xED\xA0\xBD", 0xD83D, 3},
        {__LINE__, "\xF0\x9F\x98\x80", 0xF600, 4},
        {__LINE__, "\x80\x41", 0, 1},
        {__LINE__, "\xBF", 0x1F, 1},
        {__LINE__, "\x80\x81", 0x01, 2},
        {__LINE__, "\xC3\xA9\xA9", 0x3A69, 3},
        {__LINE__, "\xC3", 0x03, 1},
        {__LINE__, "\xC3\xC3", 0x03, 1},
        {__LINE__, "\xE2\x82", 0x82, 2},
        {__LINE__, "\xE2z", 0x02, 1},
        {__LINE__, "\xE2\x82z", 0x82, 2},
        {__LINE__, "\xC0\x80", 0, 2},
        {__LINE__, "\xE0\x81\x81", 0x41, 3},
        {__LINE__, "\xFF", 0x1F, 1},
        {__LINE__, "\xF0", 0x10, 1},
        // Only the last 16 bits of a long sequence are kept.
        {__LINE__, "\xC3\xA9\xA9\xA9\xA9", 0x9A69, 5},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.line);
        GuardedBytes text(row.text);
        utf16_t c = 0x1234;
        EXPECT_EQ(text.begin() + row.consumed, getch_utf8(c, text.begin(), text.end()));
        EXPECT_EQ(row.value, static_cast<unsigned>(c));
    }
}

TEST(GetchUtf8, TakesNothingFromBehindTheEnd) {
    const char text[] = "\xE2\x82\xAC";
    utf16_t c = 0;
    EXPECT_EQ(text + 1, getch_utf8(c, text, text + 1));
    EXPECT_EQ(0x02u, static_cast<unsigned>(c));
    EXPECT_EQ(text + 2, getch_utf8(c, text, text + 2));
    EXPECT_EQ(0x82u, static_cast<unsigned>(c));
    EXPECT_EQ(text + 1, getch_utf8(c, text + 1, text + 1));
    EXPECT_EQ(0xFFFFu, static_cast<unsigned>(c));
}

TEST(GetchUtf8, NullLeavesTheCharacterAlone) {
    utf16_t c = 0x1234;
    EXPECT_EQ(nullptr, getch_utf8(c, nullptr, nullptr));
    EXPECT_EQ(nullptr, getch_utf8(c, nullptr, "a"));
    EXPECT_EQ(0x1234u, static_cast<unsigned>(c));
}

TEST(PutchUtf8, EncodesAndCutsAtTheEnd) {
    const struct {
        int line;
        unsigned value;
        Size room;
        std::string written;
    } rows[] = {
        {__LINE__, 0, 3, "\0"s},
        {__LINE__, 0x7F, 3, "\x7F"},
        {__LINE__, 0x80, 3, "\xC2\x80"},
        {__LINE__, 0x7FF, 3, "\xDF\xBF"},
        {__LINE__, 0x800, 3, "\xE0\xA0\x80"},
        {__LINE__, 0x20AC, 3, "\xE2\x82\xAC"},
        {__LINE__, 0xD83D, 4, "\xED\xA0\xBD"},
        {__LINE__, 0xFFFF, 4, "\xEF\xBF\xBF"},
        {__LINE__, 0x20AC, 2, "\xE2\x82"},
        {__LINE__, 0x20AC, 1, "\xE2"},
        {__LINE__, 0x20AC, 0, ""},
        {__LINE__, 0xE9, 2, "\xC3\xA9"},
        {__LINE__, 0xE9, 1, "\xC3"},
        {__LINE__, 0xE9, 0, ""},
        {__LINE__, 0x61, 1, "a"},
        {__LINE__, 0x61, 0, ""},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.line);
        std::string field = "****";
        char* p = field.data();
        EXPECT_EQ(p + row.written.size(), putch_utf8(static_cast<utf16_t>(row.value), p, p + row.room));
        EXPECT_EQ(row.written + std::string(4 - row.written.size(), '*'), field);
    }
}

TEST(PutchUtf8, EveryCharacterComesBack) {
    for (unsigned value = 0; value < 65536; ++value) {
        char bytes[4];
        char* end = putch_utf8(static_cast<utf16_t>(value), bytes, bytes + 4);
        if (std::string(bytes, end) != encode(value)) FAIL() << value;
        utf16_t c = 0;
        if (getch_utf8(c, bytes, end) != end || c != value) FAIL() << value;
        utf16_t unit[] = {static_cast<utf16_t>(value)};
        if (strlen_utf8(unit, unit + 1) != static_cast<Size>(end - bytes)) FAIL() << value;
        if (strlen_utf8(bytes, end) != 1 || strchk_utf8(bytes, static_cast<Size>(end - bytes))) FAIL() << value;
    }
}

TEST(GetchUtf8, AgreesWithTheSlowWayOnAllShortTexts) {
    GuardedRoom room;
    for (const std::string& text : allTexts({"\0"s, "A", "\x80", "\xBF", "\xA9", "\xC3", "\xE2", "\xF4", "\xFF"}, 5)) {
        if (text.empty()) continue;
        const char* p = room.put(text);
        utf16_t c = 0;
        const char* next = getch_utf8(c, p, room.end());
        Decoded slow = decode(text, 0);
        if (c != slow.value || next != p + slow.next) FAIL() << testing::PrintToString(text);
    }
}

// --- Conversion ---

TEST(Utf16ToUtf8, ConvertsWithoutATerminator) {
    const struct {
        int line;
        utf16_string text;
        Size room;
        std::string written;
    } rows[] = {
        {__LINE__, units({}), 8, ""},
        {__LINE__, units({0x61, 0x62}), 8, "ab"},
        {__LINE__, units({0x61, 0, 0x62}), 8, "a\0b"s},
        {__LINE__, units({0xE9, 0x20AC}), 8, "\xC3\xA9\xE2\x82\xAC"},
        {__LINE__, units({0xD83D, 0xDE00}), 8, "\xED\xA0\xBD\xED\xB8\x80"},
        {__LINE__, units({0x61, 0x62, 0x63}), 2, "ab"},
        // What does not fit is cut inside a character.
        {__LINE__, units({0x61, 0x20AC}), 3, "a\xE2\x82"},
        {__LINE__, units({0x61, 0x20AC}), 2, "a\xE2"},
        {__LINE__, units({0xE9}), 1, "\xC3"},
        {__LINE__, units({0x61}), 0, ""},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.line);
        std::string field = "********";
        utf16_to_utf8(row.text.data(), row.text.data() + row.text.size(), field.data(), field.data() + row.room);
        EXPECT_EQ(row.written + std::string(8 - row.written.size(), '*'), field);
    }
}

TEST(Utf16ToUtf8, NullOrTurnedRangeWritesNothing) {
    utf16_string text = units({0x61, 0x62});
    std::string field = "****";
    utf16_to_utf8(nullUnits, nullUnits, field.data(), field.data() + 4);
    utf16_to_utf8(nullUnits, text.data(), field.data(), field.data() + 4);
    utf16_to_utf8(text.data() + 1, text.data(), field.data(), field.data() + 4);
    EXPECT_EQ("****", field);
}

TEST(Utf8ToUtf16, ConvertsWithoutATerminator) {
    const struct {
        int line;
        std::string text;
        Size room;
        utf16_string written;
    } rows[] = {
        {__LINE__, "", 4, units({})},
        {__LINE__, "ab", 4, units({0x61, 0x62})},
        {__LINE__, "a\0b"s, 4, units({0x61, 0, 0x62})},
        {__LINE__, "\xC3\xA9\xE2\x82\xAC", 4, units({0xE9, 0x20AC})},
        {__LINE__, "\xF0\x9F\x98\x80z", 4, units({0xF600, 0x7A})},
        {__LINE__, "\x80\x41", 4, units({0, 0x41})},
        {__LINE__, "a\xC3", 4, units({0x61, 0x03})},
        {__LINE__, "abcd", 2, units({0x61, 0x62})},
        {__LINE__, "\xC3\xA9z", 1, units({0xE9})},
        {__LINE__, "a", 0, units({})},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.line);
        const utf16_string mark = units({0x2A2A, 0x2A2A, 0x2A2A, 0x2A2A});
        utf16_string field = mark;
        GuardedBytes text(row.text);
        utf8_to_utf16(text.begin(), text.end(), field.data(), field.data() + row.room);
        EXPECT_EQ(row.written + mark.substr(row.written.size()), field);
    }
}

TEST(Utf8ToUtf16, NullOrTurnedRangeWritesNothing) {
    const char text[] = "ab";
    utf16_string field = units({1, 2}), before = field;
    utf8_to_utf16(nullText, nullText, field.data(), field.data() + 2);
    utf8_to_utf16(nullText, text, field.data(), field.data() + 2);
    utf8_to_utf16(text + 1, text, field.data(), field.data() + 2);
    EXPECT_EQ(before, field);
}

TEST(Utf8ToUtf16, EveryUnitSurvivesTheWayToUtf8AndBack) {
    utf16_string all;
    for (unsigned c = 0; c < 65536; ++c) all += static_cast<utf16_t>(c);
    const utf16_t* end = all.data() + all.size();
    std::string text(strlen_utf8(all.data(), end), '*');
    EXPECT_EQ(128u + 2 * (0x800 - 128) + 3 * (0x10000 - 0x800), text.size());
    utf16_to_utf8(all.data(), end, text.data(), text.data() + text.size());
    EXPECT_EQ(nullptr, strchk_utf8(text.data(), text.size()));
    utf16_string back(strlen_utf8(text.data(), text.data() + text.size()), utf16_t());
    utf8_to_utf16(text.data(), text.data() + text.size(), back.data(), back.data() + back.size());
    EXPECT_TRUE(all == back);
}

// --- Case conversion ---

TEST(CaseUtf8, ConvertsCharactersOfEqualLength) {
    CasePairs pairs;
    std::string text = "aZ1\xC3\xA9\xC3\x89\xE2\x82\xAC\0z"s;
    std::string up = text, low = text;
    strup_utf8(up.data(), up.data() + up.size());
    strlw_utf8(low.data(), low.data() + low.size());
    EXPECT_EQ("AZ1\xC3\x89\xC3\x89\xE2\x82\xAC\0Z"s, up);
    EXPECT_EQ("az1\xC3\xA9\xC3\xA9\xE2\x82\xAC\0z"s, low);
}

TEST(CaseUtf8, OnAsciiDoesWhatTheByteFormsDo) {
    std::string all;
    for (int c = 0; c < 128; ++c) all += static_cast<char>(c);
    std::string up = all, low = all, upAscii = all, lowAscii = all;
    strup_utf8(up.data(), up.data() + up.size());
    strlw_utf8(low.data(), low.data() + low.size());
    strup_ascii(upAscii.data(), upAscii.data() + all.size());
    strlw_ascii(lowAscii.data(), lowAscii.data() + all.size());
    EXPECT_EQ(upAscii, up);
    EXPECT_EQ(lowAscii, low);
    EXPECT_NE(up, low);
}

TEST(CaseUtf8, ChangesTheRangeAlone) {
    std::string text = "abcde";
    strup_utf8(text.data() + 1, text.data() + 3);
    EXPECT_EQ("aBCde", text);
    strlw_utf8(text.data() + 2, text.data() + 5);
    EXPECT_EQ("aBcde", text);
}

TEST(CaseUtf8, NullEmptyOrTurnedRangeDoesNothing) {
    std::string text = "aBcD";
    strup_utf8(nullptr, nullptr);
    strlw_utf8(nullptr, nullptr);
    strup_utf8(text.data() + 2, text.data() + 2);
    strlw_utf8(text.data() + 1, text.data() + 1);
    strup_utf8(text.data() + 3, text.data());
    strlw_utf8(text.data() + 3, text.data());
    EXPECT_EQ("aBcD", text);
}

// One position reads and writes, so that another length puts the rest of the pass out of step. The bytes are as many
// as before.
TEST(CaseUtf8, OtherEncodedLengthsPutThePassOutOfStep) {
    CasePairs pairs;
    const struct {
        int line;
        std::string text, up;
    } rows[] = {
        // Shorter: the pass goes on at the continuation byte that is left over.
        {__LINE__, "\xC4\xB1", "I\x11"},
        {__LINE__, "x\xC4\xB1z", "XI\x11Z"},
        {__LINE__, "\xC4\xB1\xC3\xA9", "I\x11\xC3\x89"},
        // Longer: it goes over the next character's bytes, and is cut at the end.
        {__LINE__, "\xC9\x90", "\xE2\xB1"},
        {__LINE__, "\xC9\x90z", "\xE2\xB1\xAF"},
        {__LINE__, "\xC9\x90yz", "\xE2\xB1\xAFZ"},
        {__LINE__, "\xC9\x90\xC3\xA9z", "\xE2\xB1\xAF\x09Z"},
        // Overlong and four-byte forms are encoded anew, in their plain form.
        {__LINE__, "\xC0\x80z", "\0\0Z"s},
        {__LINE__, "\xE0\x81\xA1", "AA\x01"},
        {__LINE__, "\xF0\x9F\x98\x80z", "\xEF\x98\x80\0Z"s},
        {__LINE__, "\x80z", "\0Z"s},
        {__LINE__, "a\xC3", "A\x03"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.line);
        GuardedBytes text(row.text);
        strup_utf8(text.begin(), text.end());
        EXPECT_EQ(row.up, std::string(text.begin(), text.end()));
    }
    GuardedBytes sharp("\xE1\xBA\x9EZ");
    strlw_utf8(sharp.begin(), sharp.end());
    EXPECT_EQ("\xC3\x9F\x1Ez", std::string(sharp.begin(), sharp.end()));
}

TEST(CaseUtf8, DecodesOnlyUpToTheEnd) {
    CasePairs pairs;
    std::string text = "a\xC3\xA9";
    strup_utf8(text.data(), text.data() + 2);
    EXPECT_EQ("A\x03\xA9", text);
}

std::string slowCase(std::string s, const utf16_t* table) {
    for (Size at = 0; at < s.size();)
        for (char byte : encode(table[decode(s, at).value]))
            if (at < s.size()) s[at++] = byte;
    return s;
}

TEST(CaseUtf8, AgreesWithTheSlowWayOnAllShortTexts) {
    CasePairs pairs;
    GuardedRoom room;
    for (const std::string& text :
         allTexts({"a", "I", "\xC4\xB1", "\xC9\x90", "\xC3\xA9", "\xE1\xBA\x9E", "\xC3", "\x89", "\xE2", "\xF0"}, 4)) {
        char* p = room.put(text);
        strup_utf8(p, room.end());
        if (std::string(p, room.end()) != slowCase(text, chr_upper_table_utf16))
            FAIL() << "upper " << testing::PrintToString(text);
        p = room.put(text);
        strlw_utf8(p, room.end());
        if (std::string(p, room.end()) != slowCase(text, chr_lower_table_utf16))
            FAIL() << "lower " << testing::PrintToString(text);
    }
}

// Runs of continuation bytes, which are read again from each byte that the walk comes to.
TEST(CaseUtf8, AgreesWithTheSlowWayOnRunsOfContinuationBytes) {
    CasePairs pairs;
    GuardedRoom room;
    auto expectSlowWay = [&](const std::string& text) {
        char* p = room.put(text);
        strup_utf8(p, room.end());
        ASSERT_EQ(slowCase(text, chr_upper_table_utf16), std::string(p, room.end())) << testing::PrintToString(text);
        p = room.put(text);
        strlw_utf8(p, room.end());
        ASSERT_EQ(slowCase(text, chr_lower_table_utf16), std::string(p, room.end())) << testing::PrintToString(text);
    };
    for (const std::string& text : allTexts({"a", "\x80", "\xB1", "\xC4", "\xE1"}, 6)) {
        expectSlowWay(text);
        if (HasFatalFailure()) return;
    }
    std::mt19937 random(160);
    for (int round = 0; round < 1500; ++round) {
        std::string text;
        for (Size length = random() % 200; text.size() < length;) {
            switch (random() % 4) {
                case 0:
                    text += static_cast<char>(random() % 128);
                    break;
                case 1:
                    text += static_cast<char>(0xC0 + random() % 64);
                    break;
                default:
                    for (Size more = random() % 9; more > 0; --more) text += static_cast<char>(0x80 + random() % 64);
            }
        }
        expectSlowWay(text.substr(0, 200));
        if (HasFatalFailure()) return;
    }
}

TEST(CaseUtf8, FollowsTheTablesForEveryCharacterOfEqualLength) {
    for (unsigned c = 0; c < 65536; ++c) {
        std::string text = encode(c);
        for (bool up : {true, false}) {
            std::string folded = encode(up ? upper(c) : lower(c)), changed = text;
            if (folded.size() != text.size()) continue;
            (up ? strup_utf8 : strlw_utf8)(changed.data(), changed.data() + changed.size());
            if (changed != folded) FAIL() << (up ? "upper " : "lower ") << c;
        }
    }
}

// --- Comparing ---

int compare(const std::string& a, const std::string& b) {
    GuardedBytes left(a), right(b);
    return strcmp_i_utf8(left.begin(), left.end(), right.begin(), right.end());
}

TEST(StrcmpIUtf8, OrdersByFoldedCharacters) {
    CasePairs pairs;
    const struct {
        int line;
        std::string a, b;
        int result;
    } rows[] = {
        {__LINE__, "", "", 0},
        {__LINE__, "", "a", -1},
        {__LINE__, "abc", "ABC", 0},
        {__LINE__, "ab", "ABC", -1},
        {__LINE__, "abd", "ABC", 1},
        // The sign is that of the folded bytes, unlike that of strcmp_i_ascii.
        {__LINE__, "a", "B", -1},
        {__LINE__, "Z", "a", 1},
        {__LINE__, "_", "a", 1},
        {__LINE__, "_", "A", 1},
        {__LINE__, "\xC3\xA9", "\xC3\x89", 0},
        {__LINE__, "x\xC3\xA9y", "X\xC3\x89Y", 0},
        {__LINE__, "\xC3\xA9z", "\xC3\x89y", 1},
        {__LINE__, "z", "\xC3\xA9", -1},
        {__LINE__, "\xE2\x82\xAC", "\xC3\xA9", 1},
        {__LINE__, "\xE2\x82\xAC", "\xE2\x82\xAD", -1},
        {__LINE__, "\xE2\x82\xAC", "\xE2\x83\xAC", -1},
        // Case forms of different encoded length are the same here.
        {__LINE__, "\xC4\xB1", "I", 0},
        {__LINE__, "\xC4\xB1", "i", 0},
        {__LINE__, "\xC4\xB1z", "Iy", 1},
        {__LINE__, "\xC4\xB1", "Ia", -1},
        {__LINE__, "\xC9\x90z", "\xE2\xB1\xAFZ", 0},
        // A prefix is less.
        {__LINE__, "\xC3\xA9", "\xC3\xA9z", -1},
        {__LINE__, "\xC3", "\xC3\xA9", -1},
        {__LINE__, "a\0b"s, "A\0C"s, -1},
        {__LINE__, "a\0"s, "A", 1},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.line);
        EXPECT_EQ(row.result, compare(row.a, row.b));
        EXPECT_EQ(-row.result, compare(row.b, row.a));
    }
}

TEST(StrcmpIUtf8, AccentedLettersAreEqualWhereTheTableFoldsThem) {
    int expected = upper(0xE9) == upper(0xC9) ? 0 : upper(0xE9) > upper(0xC9) ? 1 : -1;
    EXPECT_EQ(expected, compare("\xC3\xA9", "\xC3\x89"));
    EXPECT_EQ(-expected, compare("\xC3\x89", "\xC3\xA9"));
}

TEST(StrcmpIUtf8, NullSideIsEmptyWhateverItsEnd) {
    const char text[] = "abc";
    EXPECT_EQ(0, strcmp_i_utf8(nullptr, nullptr, nullptr, nullptr));
    EXPECT_EQ(0, strcmp_i_utf8(nullptr, nullptr, text, text));
    EXPECT_EQ(0, strcmp_i_utf8(text, text, nullptr, nullptr));
    EXPECT_EQ(-1, strcmp_i_utf8(nullptr, nullptr, text, text + 3));
    EXPECT_EQ(1, strcmp_i_utf8(text, text + 3, nullptr, nullptr));
    EXPECT_EQ(0, strcmp_i_utf8(nullptr, text + 3, text, text));
    EXPECT_EQ(-1, strcmp_i_utf8(nullptr, text, text, text + 1));
    EXPECT_EQ(1, strcmp_i_utf8(text, text + 1, nullptr, text + 3));
}

TEST(StrcmpIUtf8, DecodesOnlyInsideTheRanges) {
    CasePairs pairs;
    // Cut behind its second byte a euro sign is U+0082, less than U+0083.
    const char euro[] = "\xE2\x82\xAC", next[] = "\xE2\x83";
    EXPECT_EQ(-1, strcmp_i_utf8(euro, euro + 2, next, next + 2));
    // A range that begins with a continuation byte does not look before it: U+0009 and not U+00C9.
    const char accent[] = "\xC3\xA9", letter[] = "A";
    EXPECT_EQ(-1, strcmp_i_utf8(accent + 1, accent + 2, letter, letter + 1));
    EXPECT_EQ(1, strcmp_i_utf8(letter, letter + 1, accent + 1, accent + 2));
}

TEST(StrcmpIUtf8, GoesOnBehindTheDecodedCharacters) {
    CasePairs pairs;
    // A character takes in all continuation bytes, and overlong or stray ones stand for their value.
    EXPECT_EQ(0, compare("\xC3\xA9Q", "\xC3\x89q"));
    EXPECT_EQ(1, compare("\xC3\xA9\xA9", "\xC3\x89"));
    EXPECT_EQ(0, compare("\xC4\xB1\xC4\xB1\xC3\xA9", "II\xC3\x89"));
    EXPECT_EQ(0, compare("\x83\xB1", "\xC3\xB1"));
    EXPECT_EQ(0, compare("\xC1\x81z", "AZ"));
}

// Where the character that holds byte `at` begins: continuation bytes are walked back over, never beyond the text.
Size characterStart(const std::string& s, Size at) {
    while (at > 0 && continues(s[at])) --at;
    return at;
}

int slowCompare(const std::string& a, const std::string& b) {
    Size i = 0, j = 0;
    while (i < a.size() && j < b.size()) {
        auto x = static_cast<unsigned char>(a[i]), y = static_cast<unsigned char>(b[j]);
        unsigned foldedX = chr_upper_table_ascii[x], foldedY = chr_upper_table_ascii[y];
        Size nextX = i + 1, nextY = j + 1;
        if (x == y) {
            foldedX = foldedY;
        } else if (x >= 0x80 || y >= 0x80) {
            Size startX = characterStart(a, i), startY = characterStart(b, j);
            Decoded left = decode(a, startX), right = decode(b, startY);
            if (upper(left.value) == upper(right.value) && left.next <= i && right.next <= j) {
                // Both ways back have led over stray continuation bytes to an ASCII letter. Going on behind it would
                // come here again and again, so the stray bytes are compared as the character that they decode to.
                left = decode(a, startX + 1);
                right = decode(b, startY + 1);
            }
            foldedX = upper(left.value), nextX = left.next;
            foldedY = upper(right.value), nextY = right.next;
        }
        if (foldedX != foldedY) return foldedX > foldedY ? 1 : -1;
        i = nextX, j = nextY;
    }
    return i < a.size() ? 1 : j < b.size() ? -1 : 0;
}

TEST(StrcmpIUtf8, StrayContinuationBytesBehindAsciiComeToAnEnd) {
    EXPECT_EQ(0, compare("a\xA9", "a\x89"));  // U+0009 on both sides
    EXPECT_EQ(0, compare("a\xA9", "A\x89"));
    EXPECT_EQ(1, compare("a\xA2", "a\x81"));
    EXPECT_EQ(-1, compare("a\x81", "A\xA2"));
    EXPECT_EQ(1, compare("a\x81\xA2", "a\x81\x81"));
    EXPECT_EQ(0, compare("a\xA9z", "a\x89Z"));
    EXPECT_EQ(-1, compare("a\xA9y", "a\x89Z"));
}

// On one side alone the way back to the letter is taken as it is: the letter counts twice.
TEST(StrcmpIUtf8, StrayContinuationByteIsHeldByTheAsciiLetterBeforeIt) {
    EXPECT_EQ(1, compare("a\xA9", "aa"));
    EXPECT_EQ(-1, compare("a\xA9", "ab"));
    EXPECT_EQ(1, compare("b\xA9", "ba"));
    EXPECT_EQ(0, compare("a\xA9", "aa\xA9"));
}

TEST(StrcmpIUtf8, AgreesWithTheSlowWayOnAllShortBytes) {
    CasePairs pairs;
    const std::vector<std::string> texts = allTexts({"a", "A", "\xC3", "\xA9", "\x89", "\xE2", "\xF0"}, 3);
    GuardedRoom left, right;
    for (const std::string& a : texts) {
        const char* pa = left.put(a);
        for (const std::string& b : texts) {
            const char* pb = right.put(b);
            if (strcmp_i_utf8(pa, left.end(), pb, right.end()) != slowCompare(a, b))
                FAIL() << testing::PrintToString(a) << " and " << testing::PrintToString(b);
        }
    }
}

// Of well-formed texts the order is simply that of their folded characters.
std::vector<unsigned> folded(const std::string& s) {
    std::vector<unsigned> values = decodeAll(s);
    for (unsigned& c : values) c = upper(c);
    return values;
}

int slowCompareCharacters(const std::vector<unsigned>& a, const std::vector<unsigned>& b) {
    return a < b ? -1 : b < a ? 1 : 0;
}

TEST(StrcmpIUtf8, OrdersAllShortWellFormedTextsByCharacters) {
    CasePairs pairs;
    const std::vector<std::string> texts =
        allTexts({"a", "A", "I", "\xC3\xA9", "\xC3\x89", "\xC4\xB1", "\xE2\x82\xAC"}, 3);
    std::vector<std::vector<unsigned>> characters;
    for (const std::string& text : texts) characters.push_back(folded(text));
    GuardedRoom left, right;
    for (Size a = 0; a < texts.size(); ++a) {
        const char* pa = left.put(texts[a]);
        for (Size b = 0; b < texts.size(); ++b) {
            const char* pb = right.put(texts[b]);
            int expected = slowCompareCharacters(characters[a], characters[b]);
            if (strcmp_i_utf8(pa, left.end(), pb, right.end()) != expected)
                FAIL() << testing::PrintToString(texts[a]) << " and " << testing::PrintToString(texts[b]);
        }
    }
}

TEST(StrcmpIUtf8, AgreesWithTheSlowWayOnLongTexts) {
    CasePairs pairs;
    const std::vector<std::string> pieces = {"a",        "A",           "z", "\xC3\xA9",     "\xC3\x89",
                                             "\xC4\xB1", "I",           "i", "\xE2\x82\xAC", "\xE2\x82\xAD",
                                             "\xC9\x90", "\xE2\xB1\xAF"};
    std::mt19937 random(20210404);
    int equal = 0;
    for (int round = 0; round < 5000; ++round) {
        // The second text is the first one with its characters exchanged for others that mostly fold alike.
        std::string a, b;
        for (Size i = random() % 30; i > 0; --i) {
            Size piece = random() % pieces.size(), other = random() % 64 == 0 ? random() % pieces.size() : piece;
            while (random() % 2 && other == piece) {
                Size candidate = random() % pieces.size();
                if (folded(pieces[piece]) == folded(pieces[candidate])) other = candidate;
            }
            a += pieces[piece];
            b += pieces[other];
        }
        if (random() % 4 == 0) b += pieces[random() % pieces.size()];
        int expected = slowCompareCharacters(folded(a), folded(b));
        equal += expected == 0;
        if (strcmp_i_utf8(a.data(), a.data() + a.size(), b.data(), b.data() + b.size()) != expected)
            FAIL() << testing::PrintToString(a) << " and " << testing::PrintToString(b);
    }
    EXPECT_GT(equal, 1000);
    EXPECT_LT(equal, 4500);
}

// --- Finding ---

TEST(StrfindIUtf8, FindsTheFirstPlace) {
    CasePairs pairs;
    const struct {
        int line;
        std::string text, pattern;
        long at;  // -1: not found
    } rows[] = {
        {__LINE__, "abcabc", "BC", 1},
        {__LINE__, "abcabc", "C", 2},
        {__LINE__, "abcabc", "CA", 2},
        {__LINE__, "abcabc", "abcabc", 0},
        {__LINE__, "abcabc", "bd", -1},
        {__LINE__, "abcabc", "d", -1},
        {__LINE__, "xyz", "Z", 2},
        {__LINE__, "aab", "AB", 1},
        {__LINE__, "\xC3\xA9t\xC3\xA9", "T\xC3\x89", 2},
        {__LINE__, "x\xC3\xA9", "\xC3\x89", 1},
        {__LINE__, "\xE2\x82\xAC\xC3\x89", "\xC3\xA9", 3},
        {__LINE__, "a\0b"s, "\0B"s, 1},
        // Behind the text for an empty pattern, even in an empty text.
        {__LINE__, "abc", "", 3},
        {__LINE__, "", "", 0},
        {__LINE__, "", "a", -1},
        // Only the first character's case forms may differ in length, and the pattern must not be the longer text.
        {__LINE__, "x\xC4\xB1", "I", 1},
        {__LINE__, "\xC4\xB1z", "IZ", 0},
        {__LINE__, "xIz", "\xC4\xB1Z", 1},
        {__LINE__, "I", "\xC4\xB1", -1},
        {__LINE__, "Iz", "\xC4\xB1Z", -1},
        {__LINE__, "xz\xC4\xB1y", "ZIY", -1},
        {__LINE__, "xzIyy", "Z\xC4\xB1Y", -1},
        // Matches are sought at the start of characters, never inside them.
        {__LINE__, "\xC3\xA9", "\xA9", -1},
        {__LINE__, "\xA9", "\x09", 0},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.line);
        GuardedBytes text(row.text), pattern(row.pattern);
        const char* found = strfind_i_utf8(text.begin(), text.end(), pattern.begin(), pattern.end());
        EXPECT_EQ(row.at, offset(found, text.begin()));
    }
}

TEST(StrfindIUtf8, NullOrEmptyPatternGivesTheEnd) {
    const char text[] = "abc";
    EXPECT_EQ(text + 3, strfind_i_utf8(text, text + 3, nullptr, nullptr));
    EXPECT_EQ(text + 3, strfind_i_utf8(text, text + 3, text, text));
    EXPECT_EQ(text + 2, strfind_i_utf8(text, text + 2, nullptr, text));
    EXPECT_EQ(nullptr, strfind_i_utf8(nullptr, nullptr, text, text + 1));
    EXPECT_EQ(text + 1, strfind_i_utf8(nullptr, text + 1, text, text + 1));
    EXPECT_EQ(nullptr, strfind_i_utf8(nullptr, nullptr, nullptr, nullptr));
}

TEST(StrfindIUtf8, PatternWithMoreBytesThanTheTextIsNotFoundThoughItsFoldedFormWouldFit) {
    CasePairs pairs;
    const char text[] = "I", pattern[] = "\xC4\xB1";
    EXPECT_EQ(nullptr, strfind_i_utf8(text, text + 1, pattern, pattern + 2));
    EXPECT_EQ(pattern, strfind_i_utf8(pattern, pattern + 2, text, text + 1));
}

// Room for the rest of the pattern is kept while the text is decoded, so that no match leads outside.
TEST(StrfindIUtf8, DecodesUpToTheLastPlaceWhereTheRestFits) {
    CasePairs pairs;
    const char text[] = "x\xC3\xA9z", pattern[] = "\xC3\x89Z";
    EXPECT_EQ(nullptr, strfind_i_utf8(text, text + 3, pattern, pattern + 3));
    EXPECT_EQ(text + 1, strfind_i_utf8(text, text + 4, pattern, pattern + 3));
    // A character that this limit cuts counts as what is left of it: U+0003, and then U+0009.
    const char accent[] = "\xC3\xA9", halves[] = "\x03\x09";
    EXPECT_EQ(accent, strfind_i_utf8(accent, accent + 2, halves, halves + 2));
}

// The first character from which on the folded characters are those of the pattern.
long slowFind(const std::string& text, const std::string& pattern) {
    std::vector<unsigned> sought = decodeAll(pattern);
    if (sought.empty()) return static_cast<long>(text.size());
    for (Size at = 0; at < text.size(); at = decode(text, at).next) {
        std::vector<unsigned> rest = decodeAll(text.substr(at));
        auto same = [](unsigned a, unsigned b) { return upper(a) == upper(b); };
        if (rest.size() >= sought.size() && std::equal(sought.begin(), sought.end(), rest.begin(), same))
            return static_cast<long>(at);
    }
    return -1;
}

TEST(StrfindIUtf8, AgreesWithTheSlowWayOnAllShortTexts) {
    CasePairs pairs;
    const std::vector<std::string> pieces = {"a", "A", "b", "\xC3\xA9", "\xC3\x89", "\xE2\x82\xAC"};
    const std::vector<std::string> texts = allTexts(pieces, 4), patterns = allTexts(pieces, 2);
    GuardedRoom textRoom, patternRoom;
    for (const std::string& pattern : patterns) {
        const char* p = patternRoom.put(pattern);
        for (const std::string& text : texts) {
            const char* t = textRoom.put(text);
            if (offset(strfind_i_utf8(t, textRoom.end(), p, patternRoom.end()), t) != slowFind(text, pattern))
                FAIL() << testing::PrintToString(pattern) << " in " << testing::PrintToString(text);
        }
    }
}

// By bytes, so that broken characters and those cut by the limit take part.
long slowFindBytes(const std::string& text, const std::string& pattern) {
    if (pattern.empty()) return static_cast<long>(text.size());
    if (pattern.size() > text.size()) return -1;
    Decoded first = decode(pattern, 0);
    const std::string rest = pattern.substr(first.next), searched = text.substr(0, text.size() - rest.size());
    for (Size at = 0; at < searched.size();) {
        Decoded c = decode(searched, at);
        if (upper(c.value) == upper(first.value) && slowCompare(text.substr(c.next, rest.size()), rest) == 0)
            return static_cast<long>(at);
        at = c.next;
    }
    return -1;
}

TEST(StrfindIUtf8, AgreesWithTheSlowWayOnAllShortBytes) {
    CasePairs pairs;
    const std::vector<std::string> pieces = {"a", "A", "\x03", "\xC3", "\xA9", "\x89"};
    const std::vector<std::string> texts = allTexts(pieces, 4), patterns = allTexts(pieces, 3);
    GuardedRoom textRoom, patternRoom;
    for (const std::string& pattern : patterns) {
        const char* p = patternRoom.put(pattern);
        for (const std::string& text : texts) {
            const char* t = textRoom.put(text);
            if (offset(strfind_i_utf8(t, textRoom.end(), p, patternRoom.end()), t) != slowFindBytes(text, pattern))
                FAIL() << testing::PrintToString(pattern) << " in " << testing::PrintToString(text);
        }
    }
}

TEST(StrfindIUtf8, AgreesWithTheSlowWayOnLongTexts) {
    CasePairs pairs;
    const std::vector<std::string> pieces = {"a", "A", "b", "\xC3\xA9", "\xC3\x89", "\xE2\x82\xAC"};
    std::mt19937 random(20210405);
    int found = 0;
    for (int round = 0; round < 5000; ++round) {
        auto draw = [&](Size length) {
            std::string text;
            while (length-- > 0) text += pieces[random() % pieces.size()];
            return text;
        };
        std::string text = draw(random() % 60), pattern = draw(random() % 5);
        long expected = slowFind(text, pattern);
        found += expected >= 0;
        const char* t = text.data();
        const char* p = pattern.data();
        if (offset(strfind_i_utf8(t, t + text.size(), p, p + pattern.size()), t) != expected)
            FAIL() << testing::PrintToString(pattern) << " in " << testing::PrintToString(text);
    }
    EXPECT_GT(found, 1000);
    EXPECT_LT(found, 4500);
}

}  // namespace
