#include <velmora/text/utf.h>

#include <cstring>

#include <velmora/text/bytes.h>
#include <velmora/text/bytes_routines.h>
#include <velmora/text/functions.h>
#include <velmora/text/utf_plain.h>

namespace {

using velmora::detail::Block;
using velmora::detail::byteAt;
using velmora::detail::continues;
using velmora::detail::decode;
using velmora::detail::encode;
using velmora::detail::kShortText;
using velmora::detail::TextFunctions;
using velmora::detail::textFunctions;

constexpr utf16_t kEndOfRange = 0xFFFF;
constexpr std::ptrdiff_t kWord = 8;                    // bytes that are asked together whether they are ASCII
constexpr std::size_t kShortCheck = Block::kSize + 4;  // a block and what must be before it
constexpr std::size_t kLongCheck = 40;                 // the same for a block of 32 bytes
constexpr std::ptrdiff_t kLongText = 64;               // worth a call through the table after a first block
constexpr std::ptrdiff_t kLongSearch = 256;            // worth preparing the pattern's first character

template <class Unit>
inline bool isShort(const Unit* b, const Unit* e) {
    return e - b < static_cast<std::ptrdiff_t>(kShortText);
}

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

// Of the next `n` bytes, how many are the same or ASCII letters in both cases: all that a block can say.
// Requires: asciiCaseIsPlain, and n >= Block::kSize.
std::size_t commonAscii(const char* p1, const char* p2, std::ptrdiff_t n) {
    return n < kLongText ? velmora::detail::commonAscii<Block>(p1, p2, static_cast<std::size_t>(n))
                         : textFunctions.commonAscii(p1, p2, static_cast<std::size_t>(n));
}

// When a walk by characters tries to pass many at once: where that does not pay it tries less and less often.
class Skips {
public:
    // Returns: up to where to walk by characters, from `p`, after so many were passed.
    const char* walkTo(const char* p, const char* end, std::size_t passed) {
        constexpr std::ptrdiff_t kMost = 256;
        distance_ = passed >= Block::kSize ? Block::kSize : distance_ < kMost ? 2 * distance_ : kMost;
        return end - p > distance_ ? p + distance_ : end;
    }

private:
    std::ptrdiff_t distance_ = Block::kSize;
};

// The ASCII characters that fold to a unit: at most two, or a search does without them. No character: 0x80.
velmora::detail::Forms asciiFormsOf(utf16_t folded) {
    std::uint16_t count = 0, sum = 0, last = 0;
    for (std::uint16_t c = 0; c < 128; ++c) {  // in vectors, by the compiler
        const bool is = chr_upper_table_utf16[c] == folded;
        const auto found = static_cast<std::uint16_t>(is ? c : 0);
        count = static_cast<std::uint16_t>(count + is);
        sum = static_cast<std::uint16_t>(sum + found);
        last = found > last ? found : last;
    }
    if (count == 0) return {'\x80', '\x80', true};
    return {static_cast<char>(count == 1 ? last : sum - last), static_cast<char>(last), count <= 2};
}

// The byte from which the character that holds the byte at `p` is decoded.
const char* characterStart(const char* b, const char* p) {
    while (p > b && continues(p)) --p;
    return p;
}

// The order of two texts whose bytes before `p1` and `p2` are alike.
VELMORA_APART int orderFrom(const char* b1, const char* p1, const char* e1, const char* b2, const char* p2,
                            const char* e2) {
    Skips skips;
    while (p1 < e1 && p2 < e2) {
        const std::ptrdiff_t n = e1 - p1 < e2 - p2 ? e1 - p1 : e2 - p2;
        const char* walkEnd = e1;
        if (n >= Block::kSize && velmora::detail::asciiCaseIsPlain) {
            const std::size_t same = commonAscii(p1, p2, n);
            p1 += same, p2 += same;
            walkEnd = skips.walkTo(p1, e1, same);
        }
        while (p1 < walkEnd && p2 < e2) {
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
                // Both ways back led over stray continuation bytes to a letter before them, and going on after it
                // would come here for ever: the stray bytes are compared as the character that they decode to.
                next1 = decode(char1, start1 + 1, e1);
                next2 = decode(char2, start2 + 1, e2);
            }
            p1 = next1;
            p2 = next2;
            char1 = upper(char1);
            char2 = upper(char2);
            if (char1 != char2) return char1 > char2 ? 1 : -1;
        }
    }
    if (p1 < e1) return 1;
    return p2 < e2 ? -1 : 0;
}

}  // namespace

const char* strchk_utf8(const char* s, std::size_t n) {
    if (!s) return nullptr;
    if (n < kShortCheck) {
        const char* const e = s + n;
        while (e - s >= kWord && velmora::detail::eightAreAscii(s)) s += kWord;
        return velmora::detail::plainFault(s, e);
    }
    const TextFunctions& functions = n < kLongCheck ? velmora::detail::baseTextFunctions : textFunctions;
    return functions.findFault(s, s + n);
}

std::size_t strlen_utf8(const char* s) { return s ? strlen_utf8(s, s + std::strlen(s)) : 0; }

std::size_t strlen_utf8(const char* b, const char* e) {
    if (isShort(b, e)) return velmora::detail::plainCharacters(b, e);
    return textFunctions.countCharacters(b, e);
}

std::size_t strlen_utf8(const utf16_t* s) { return s ? strlen_utf8(s, s + std::char_traits<utf16_t>::length(s)) : 0; }

std::size_t strlen_utf8(const utf16_t* b, const utf16_t* e) {
    if (isShort(b, e)) return velmora::detail::plainLength(b, e);
    return textFunctions.lengthAsUtf8(b, e);
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
    if (isShort(b, e)) {
        velmora::detail::plainToUtf8(b, e, d, de);
    } else {
        textFunctions.utf16ToUtf8(b, e, d, de);
    }
}

void utf8_to_utf16(const char* b, const char* e, utf16_t* d, const utf16_t* de) {
    if (!b) return;
    if (isShort(b, e)) {
        while (e - b >= kWord && de - d >= kWord && velmora::detail::eightAreAscii(b)) {
            for (int i = 0; i < kWord; ++i) d[i] = static_cast<utf16_t>(byteAt(b + i));
            b += kWord, d += kWord;
        }
        velmora::detail::plainToUtf16(b, e, d, de);
    } else {
        textFunctions.utf8ToUtf16(b, e, d, de);
    }
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
    // All of a short text that is ASCII, and of another one the first byte: most texts differ there.
    const bool isShort = e1 - b1 < Block::kSize || e2 - b2 < Block::kSize;
    const char* const walkEnd = isShort ? e1 : b1 + 1;
    for (; p1 < walkEnd && p2 < e2; ++p1, ++p2) {
        const unsigned char c1 = byteAt(p1), c2 = byteAt(p2);
        if (c1 == c2) continue;
        if (c1 >= 0x80 || c2 >= 0x80) break;
        const int folded1 = chr_upper_table_ascii[c1], folded2 = chr_upper_table_ascii[c2];
        if (folded1 != folded2) return folded1 > folded2 ? 1 : -1;
    }
    if (p1 < e1 && p2 < e2) return isShort ? orderFrom(b1, p1, e1, b2, p2, e2) : orderFrom(b1, b1, e1, b2, b2, e2);
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
    const bool isLong = limit - b >= kLongSearch;
    const velmora::detail::Forms forms = isLong ? asciiFormsOf(first) : velmora::detail::Forms{0, 0, false};
    Skips skips;
    while (b < limit) {
        const char* walkEnd = limit;
        if (forms.any) {
            const char* const from = b;
            b = velmora::detail::findEitherOrHigh<Block>(b, limit, forms);
            walkEnd = skips.walkTo(b, limit, static_cast<std::size_t>(b - from));
        }
        while (b < walkEnd) {
            utf16_t c;
            const char* next = decode(c, b, limit);
            if (upper(c) == first && (rest == pe || strcmp_i_utf8(next, next + (pe - rest), rest, pe) == 0)) {
                return const_cast<char*>(b);
            }
            b = next;
        }
    }
    return nullptr;
}
