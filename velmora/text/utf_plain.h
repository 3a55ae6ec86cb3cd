// Private: the rules of UTF-8, a character at a time. The fast routines use them for texts and ends that are shorter
// than a block, and for malformed text. The tests compare the fast routines with them.
//
// Each source has its own copy of these functions: the linker must not take one that was compiled for another machine.
#ifndef VELMORA_TEXT_UTF_PLAIN_H
#define VELMORA_TEXT_UTF_PLAIN_H

#include <cstring>

#include <velmora/base.h>

namespace velmora::detail {

static inline unsigned char byteAt(const char* p) { return static_cast<unsigned char>(*p); }

static inline bool continues(const char* p) { return (byteAt(p) & 0xC0) == 0x80; }

// One decoder and one encoder serve everything. Both stop at the end they are given; the decoder takes in every
// continuation byte that follows, however many a lead byte announces.
// Requires: p < e.
static inline const char* decode(utf16_t& c, const char* p, const char* e) {
    unsigned value = byteAt(p++);
    if (value >= 0x80) {
        value &= 0x1F;
        // The first two apart, where a processor foresees better whether there is one more.
        if (p != e && continues(p)) {
            value = (value << 6) | (byteAt(p++) & 0x3F);
            if (p != e && continues(p)) {
                value = (value << 6) | (byteAt(p++) & 0x3F);
                for (; p != e && continues(p); ++p) value = (value << 6) | (byteAt(p) & 0x3F);
            }
        }
    }
    c = static_cast<utf16_t>(value);
    return p;
}

// Writes as many bytes of the character as there is room for.
static inline char* encode(utf16_t unit, char* p, const char* e) {
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

static inline std::size_t encodedLength(utf16_t c) { return c > 0x7FF ? 3 : c > 0x7F ? 2 : 1; }

// The units of a range. `e` may cut a unit in half: that unit counts.
static inline std::size_t unitCount(const utf16_t* b, const utf16_t* e) {
    if (!(b < e)) return 0;
    return (reinterpret_cast<std::uintptr_t>(e) - reinterpret_cast<std::uintptr_t>(b) + 1) / sizeof(utf16_t);
}

static inline bool eightAreAscii(const char* p) {
    std::uint64_t bytes;
    std::memcpy(&bytes, p, sizeof bytes);
    return (bytes & 0x8080808080808080) == 0;
}

// The first fault of a text, or null. Lead bytes of two and three bytes and what follows them are all that is judged.
static inline const char* plainFault(const char* s, const char* e) {
    while (s < e) {
        const unsigned char c = byteAt(s);
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

static inline std::size_t plainCharacters(const char* b, const char* e) {
    std::size_t n = 0;
    for (; b < e; ++b) n += !continues(b);
    return n;
}

static inline std::size_t plainLength(const utf16_t* b, const utf16_t* e) {
    std::size_t n = 0;
    for (; b < e; ++b) n += encodedLength(*b);
    return n;
}

static inline void plainToUtf8(const utf16_t* b, const utf16_t* e, char* d, const char* de) {
    for (; b < e && d < de; ++b) d = encode(*b, d, de);
}

static inline void plainToUtf16(const char* b, const char* e, utf16_t* d, const utf16_t* de) {
    for (; b < e && d < de; ++d) b = decode(*d, b, e);
}

}  // namespace velmora::detail

#endif
