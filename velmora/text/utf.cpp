// One decoder and one encoder serve everything here. Both are inline and stop at the end they are given; a decoder
// takes in every continuation byte that follows, however many a lead byte announces.
#include <velmora/text/utf.h>

#include <cstring>

#include <velmora/text/bytes.h>

namespace {

constexpr utf16_t kEndOfRange = 0xFFFF;

inline unsigned char byteAt(const char* p) { return static_cast<unsigned char>(*p); }

inline bool continues(const char* p) { return (byteAt(p) & 0xC0) == 0x80; }

// Requires: p < e.
inline const char* decode(utf16_t& c, const char* p, const char* e) {
    unsigned value = byteAt(p++);
    if (value >= 0x80) {
        value &= 0x1F;
        for (; p != e && continues(p); ++p) value = ((value << 6) | (byteAt(p) & 0x3F)) & 0xFFFF;
    }
    c = static_cast<utf16_t>(value);
    return p;
}

// Writes as many bytes of the character as there is room for.
inline char* encode(utf16_t unit, char* p, const char* e) {
    auto c = static_cast<unsigned>(unit);
    if (p == e) return p;
    if (c < 0x80) {
        *p++ = static_cast<char>(c);
        return p;
    }
    if (c < 0x800) {
        *p++ = static_cast<char>(0xC0 | (c >> 6));
    } else {
        *p++ = static_cast<char>(0xE0 | (c >> 12));
        if (p == e) return p;
        *p++ = static_cast<char>(0x80 | ((c >> 6) & 0x3F));
    }
    if (p == e) return p;
    *p++ = static_cast<char>(0x80 | (c & 0x3F));
    return p;
}

inline std::size_t encodedLength(utf16_t c) { return c > 0x7FF ? 3 : c > 0x7F ? 2 : 1; }

inline utf16_t upper(utf16_t c) { return chr_upper_table_utf16[static_cast<unsigned>(c)]; }

// Reading and writing share one position, and the place behind what was read is dropped: a character that folds to
// another encoded length puts the walk out of step, as the header warns. So a run of continuation bytes is read again
// and again, three bytes further on each time: its end is found once, and of its bytes the last three make the unit.
void fold(char* p, const char* e, const utf16_t* table) {
    constexpr int kBytesOfUnit = 3;  // continuation bytes that 16 bits have room for: earlier ones are shifted out
    if (!p) return;
    const char* runEnd = p;  // where the continuation bytes that follow the one at `p` end, when that is after `p`
    while (p < e) {
        utf16_t c;
        if (runEnd - p > kBytesOfUnit) {
            decode(c, runEnd - kBytesOfUnit, runEnd);
        } else {
            runEnd = decode(c, p, e);
        }
        p = encode(table[static_cast<unsigned>(c)], p, e);
    }
}

// The byte from which the character that holds the byte at `p` is decoded.
const char* characterStart(const char* b, const char* p) {
    while (p > b && continues(p)) --p;
    return p;
}

}  // namespace

const char* strchk_utf8(const char* s, std::size_t n) {
    if (!s) return nullptr;
    const char* e = s + n;
    while (s < e) {
        unsigned char c = byteAt(s);
        if (c < 0x80) {
            ++s;
            continue;
        }
        if (c >= 0xF0 || c < 0xC0) return s;
        int rest = c >= 0xE0 ? 2 : 1;
        if (e - s <= rest) return s;
        for (++s; rest > 0; --rest, ++s) {
            if (!continues(s)) return s;
        }
    }
    return nullptr;
}

std::size_t strlen_utf8(const char* s) { return s ? strlen_utf8(s, s + std::strlen(s)) : 0; }

std::size_t strlen_utf8(const char* b, const char* e) {
    std::size_t n = 0;
    for (; b < e; ++b) n += !continues(b);
    return n;
}

std::size_t strlen_utf8(const utf16_t* s) { return s ? strlen_utf8(s, s + std::char_traits<utf16_t>::length(s)) : 0; }

std::size_t strlen_utf8(const utf16_t* b, const utf16_t* e) {
    std::size_t n = 0;
    for (; b < e; ++b) n += encodedLength(*b);
    return n;
}

const char* chrpass_utf8(const char* p, const char* e) {
    if (!(p < e)) return e;
    do ++p;
    while (p < e && continues(p));
    return p;
}

const char* chrback_utf8(const char* b, const char* p) {
    if (!(p > b)) return b;
    do --p;
    while (p > b && continues(p));
    return p;
}

const char* getch_utf8(utf16_t& c, const char* p, const char* e) {
    if (!p) return nullptr;
    if (p == e) {
        c = kEndOfRange;
        return p;
    }
    return decode(c, p, e);
}

char* putch_utf8(utf16_t c, char* p, const char* e) { return encode(c, p, e); }

void utf16_to_utf8(const utf16_t* b, const utf16_t* e, char* d, const char* de) {
    if (!b) return;
    for (; b < e && d < de; ++b) d = encode(*b, d, de);
}

void utf8_to_utf16(const char* b, const char* e, utf16_t* d, const utf16_t* de) {
    if (!b) return;
    for (; b < e && d < de; ++d) b = decode(*d, b, e);
}

void strup_utf8(char* b, const char* e) { fold(b, e, chr_upper_table_utf16); }
void strlw_utf8(char* b, const char* e) { fold(b, e, chr_lower_table_utf16); }

int strcmp_i_utf8(const char* b1, const char* e1, const char* b2, const char* e2) {
    if (!b1) b1 = e1 = empty_string;
    if (!b2) b2 = e2 = empty_string;
    if (b1 == e1) return b2 == e2 ? 0 : -1;
    if (b2 == e2) return 1;
    const char* p1 = b1;
    const char* p2 = b2;
    while (p1 < e1 && p2 < e2) {
        unsigned char c1 = byteAt(p1);
        unsigned char c2 = byteAt(p2);
        if (c1 == c2) {
            ++p1, ++p2;
            continue;
        }
        if (c1 < 0x80 && c2 < 0x80) {
            int folded1 = chr_upper_table_ascii[c1];
            int folded2 = chr_upper_table_ascii[c2];
            if (folded1 != folded2) return folded1 > folded2 ? 1 : -1;
            ++p1, ++p2;
            continue;
        }
        // The bytes that differ may stand in the middle of characters whose first bytes are the same.
        const char* start1 = characterStart(b1, p1);
        const char* start2 = characterStart(b2, p2);
        utf16_t char1, char2;
        const char* next1 = decode(char1, start1, e1);
        const char* next2 = decode(char2, start2, e2);
        if (next1 <= p1 && next2 <= p2 && upper(char1) == upper(char2)) {
            // Both ways back led over stray continuation bytes to a letter before them, and going on behind it would
            // come here for ever: the stray bytes are compared as the character that they decode to.
            next1 = decode(char1, start1 + 1, e1);
            next2 = decode(char2, start2 + 1, e2);
        }
        p1 = next1;
        p2 = next2;
        char1 = upper(char1);
        char2 = upper(char2);
        if (char1 != char2) return char1 > char2 ? 1 : -1;
    }
    if (p1 < e1) return 1;
    return p2 < e2 ? -1 : 0;
}

char* strfind_i_utf8(const char* b, const char* e, const char* pb, const char* pe) {
    if (!b || !pb || pb == pe) return const_cast<char*>(e);
    if (pe - pb > e - b) return nullptr;
    utf16_t first;
    const char* rest = decode(first, pb, pe);
    first = upper(first);
    const char* limit = e - (pe - rest);
    while (b < limit) {
        utf16_t c;
        const char* next = decode(c, b, limit);
        if (upper(c) == first && (rest == pe || strcmp_i_utf8(next, next + (pe - rest), rest, pe) == 0)) {
            return const_cast<char*>(b);
        }
        b = next;
    }
    return nullptr;
}
