#include <velmora/text/bytes.h>

#include <cstdint>
#include <functional>
#include <limits>

#include <velmora/text/utf.h>

namespace {

unsigned char upper(char c) { return chr_upper_table_ascii[static_cast<unsigned char>(c)]; }

bool sameFolded(char a, char b) { return a == b || upper(a) == upper(b); }

bool isPathSeparator(char c) { return c == '/' || c == '\\' || c == ':'; }

// Null takes the place of nothing, and so does the text that empty_string is.
const char* orEmpty(const char* s) { return s ? s : empty_string; }

int sign(bool greater) { return greater ? 1 : -1; }

// Folds [b, e) through a table. `e` may cut a 16-bit unit in half: that unit counts.
template <class Unit, class Table>
void fold(Unit* b, const Unit* e, const Table& table) {
    auto bytes = reinterpret_cast<std::uintptr_t>(e) - reinterpret_cast<std::uintptr_t>(b);
    if (!(b < e)) return;
    std::size_t count = (bytes + sizeof(Unit) - 1) / sizeof(Unit);
    for (std::size_t i = 0; i < count; ++i) {
        using Index = std::make_unsigned_t<std::conditional_t<sizeof(Unit) == 1, char, short>>;
        b[i] = static_cast<Unit>(table[static_cast<Index>(b[i])]);
    }
}

// How a search sees bytes: as they are, or folded. `of` gives what is compared, `find` the first byte in [b, e) that is
// the same as `c`, `equal` whether `n` bytes are the same, and `common` how many of them are before the first that is
// not.
struct AsTheyAre {
    static unsigned char of(char c) { return static_cast<unsigned char>(c); }
    static const char* find(const char* b, const char* e, char c) {
        return strfind(b, static_cast<std::size_t>(e - b), c);
    }
    static bool equal(const char* a, const char* b, std::size_t n) { return std::memcmp(a, b, n) == 0; }
    static std::size_t common(const char* a, const char* b, std::size_t n) {
        std::size_t i = 0;
        for (std::uint64_t eightOfA, eightOfB; n - i >= sizeof eightOfA; i += sizeof eightOfA) {
            std::memcpy(&eightOfA, a + i, sizeof eightOfA);
            std::memcpy(&eightOfB, b + i, sizeof eightOfB);
            if (eightOfA != eightOfB) break;
        }
        while (i < n && a[i] == b[i]) ++i;
        return i;
    }
};

struct Folded {
    static unsigned char of(char c) { return upper(c); }
    static const char* find(const char* b, const char* e, char c) { return strfind_i_ascii(b, e, c); }
    static bool equal(const char* a, const char* b, std::size_t n) { return streq_i_ascii(a, n, b, n); }
    static std::size_t common(const char* a, const char* b, std::size_t n) {
        std::size_t i = 0;
        while (i < n && sameFolded(a[i], b[i])) ++i;
        return i;
    }
};

// The greatest suffix of a pattern by an order of bytes. Returns: its begin; `period` is its period.
template <class Bytes, class Before>
std::size_t greatestSuffix(const char* p, std::size_t pn, std::size_t& period, Before before) {
    std::size_t suffix = 0, rival = 1, same = 0;
    period = 1;
    while (rival + same < pn) {
        const unsigned char ofRival = Bytes::of(p[rival + same]), ofSuffix = Bytes::of(p[suffix + same]);
        if (ofRival == ofSuffix) {
            if (++same < period) continue;
            rival += period;
        } else if (before(ofRival, ofSuffix)) {
            rival += same + 1;
            period = rival - suffix;
        } else {
            suffix = rival++;
            period = 1;
        }
        same = 0;
    }
    return suffix;
}

// The two-way search of Crochemore and Perrin: in linear time and without extra memory. The pattern is cut where
// its greatest suffix begins. Its right part is compared forwards, and then its left part backwards; a difference on
// the right moves the pattern past the byte that differs, one on the left moves it by its period.
// Requires: 0 < pn <= n.
template <class Bytes>
char* findTwoWay(const char* s, std::size_t n, const char* p, std::size_t pn) {
    std::size_t period, otherPeriod;
    std::size_t cut = greatestSuffix<Bytes>(p, pn, period, std::less<>());
    const std::size_t otherCut = greatestSuffix<Bytes>(p, pn, otherPeriod, std::greater<>());
    if (otherCut >= cut) {
        cut = otherCut;
        period = otherPeriod;
    }
    // What the pattern keeps of a match of its right part when it moves by its period.
    std::size_t keeps = 0;
    if (Bytes::equal(p, p + period, cut)) {
        keeps = pn - period;
    } else {
        period = (cut > pn - cut ? cut : pn - cut) + 1;  // not the pattern's own, but it cannot match earlier
    }
    std::size_t known = 0;  // bytes of the pattern that are known to match at `s`
    for (const char* const last = s + (n - pn); s <= last;) {
        std::size_t i = cut > known ? cut : known;
        i += Bytes::common(s + i, p + i, pn - i);
        if (i < pn) {
            s += i - cut + 1;
            known = 0;
            continue;
        }
        for (i = cut; i > known && Bytes::of(s[i - 1]) == Bytes::of(p[i - 1]);) --i;
        if (i <= known) return const_cast<char*>(s);
        s += period;
        known = keeps;
    }
    return nullptr;
}

// The walk of both pattern searches. The plain one is the fastest on ordinary text. It is slow where the text is full
// of places at which much of a long pattern matches: so it counts the bytes that matched in vain, and gives way in
// time.
// Requires: 0 < pn <= n.
template <class Bytes>
char* findPattern(const char* s, std::size_t n, const char* p, std::size_t pn) {
    constexpr std::size_t freeBytes = 16;  // compared at each place without being counted
    constexpr std::size_t patience = 4;    // bytes in vain for each byte of text and pattern
    const char* const end = s + n;
    const char* const limit = end - pn + 1;  // after the last place where the pattern may start
    const std::size_t rest = pn - 1;
    const std::size_t head = rest < freeBytes ? rest : freeBytes;
    std::size_t inVain = 0;
    for (const char* from = s; from < limit; ++from) {
        from = Bytes::find(from, limit, p[0]);
        if (!from) return nullptr;
        if (!Bytes::equal(from + 1, p + 1, head)) continue;
        if (head == rest) return const_cast<char*>(from);
        const std::size_t tail = rest - head;
        const std::size_t same = Bytes::common(from + 1 + head, p + 1 + head, tail);
        if (same == tail) return const_cast<char*>(from);
        inVain += same;
        if (inVain / patience > static_cast<std::size_t>(from - s) + pn) {
            return findTwoWay<Bytes>(from, static_cast<std::size_t>(end - from), p, pn);
        }
    }
    return nullptr;
}

}  // namespace

char* strnew(const char* s, std::size_t n) {
    if (!s) return nullptr;
    char* copy = new char[n + 1];
    std::memcpy(copy, s, n);
    copy[n] = 0;
    return copy;
}

utf16_t* strnew16(const utf16_t* s, std::size_t n) {
    if (!s) return nullptr;
    // A count whose bytes overflow asks for the largest size, and so fails.
    constexpr std::size_t most = std::numeric_limits<std::size_t>::max();
    auto* copy = new utf16_t[n >= most / sizeof(utf16_t) ? most : n + 1];
    std::memcpy(copy, s, n * sizeof(utf16_t));
    copy[n] = 0;
    return copy;
}

char* strnew(const utf16_t* b, const utf16_t* e) {
    if (!b) return nullptr;
    std::size_t n = strlen_utf8(b, e);
    char* text = new char[n + 1];
    utf16_to_utf8(b, e, text, text + n);
    text[n] = 0;
    return text;
}

utf16_t* strnew16(const char* b, const char* e) {
    if (!b) return nullptr;
    std::size_t n = strlen_utf8(b, e);
    auto* text = new utf16_t[n + 1];
    utf8_to_utf16(b, e, text, text + n);
    text[n] = 0;
    return text;
}

void stradd(char*& s, std::size_t len, const char* add, std::size_t addlen) {
    if (!add) return;
    if (!s) {
        s = strnew(add, addlen);
        return;
    }
    char* text = new char[len + addlen + 1];
    std::memcpy(text, s, len);
    std::memcpy(text + len, add, addlen);
    text[len + addlen] = 0;
    delete[] s;
    s = text;
}

void strzcpy(char* dst, std::size_t dstsize, const char* src) {
    std::strncpy(dst, src, dstsize - 1);
    dst[dstsize - 1] = 0;
}

int strcmp0(const char* a, const char* b) {
    int order = std::strcmp(orEmpty(a), orEmpty(b));
    return (order > 0) - (order < 0);
}

int strcompare(const char* a, std::size_t alen, const char* b, std::size_t blen) {
    std::size_t common = alen < blen ? alen : blen;
    if (common != 0) {
        if (a[0] != b[0]) return sign(static_cast<unsigned char>(a[0]) > static_cast<unsigned char>(b[0]));
        if (int order = std::memcmp(a, b, common)) return order;
    }
    return alen == blen ? 0 : sign(alen > blen);
}

bool streq(const char* a, std::size_t alen, const char* b, std::size_t blen) {
    return alen == blen && (alen == 0 || std::memcmp(a, b, alen) == 0);
}

int strcmp_i_ascii(const char* a, const char* b) {
    a = orEmpty(a);
    b = orEmpty(b);
    return strcmp_i_ascii(a, a + std::strlen(a), b, b + std::strlen(b));
}

int strcmp_i_ascii(const char* b1, const char* e1, const char* b2, const char* e2) {
    b1 = orEmpty(b1);
    b2 = orEmpty(b2);
    if (b1 == e1) return b2 == e2 ? 0 : -1;
    if (b2 == e2) return 1;
    if (b1 > e1) return 1;
    for (; b1 < e1 && b2 < e2; ++b1, ++b2) {
        if (sameFolded(*b1, *b2)) continue;
        return sign(static_cast<unsigned char>(*b1) > static_cast<unsigned char>(*b2));
    }
    if (b1 < e1) return 1;
    return b2 == e2 ? 0 : -1;
}

bool streq_i_ascii(const char* a, std::size_t alen, const char* b, std::size_t blen) {
    if (alen != blen) return false;
    for (std::size_t i = 0; i < alen; ++i) {
        if (!sameFolded(a[i], b[i])) return false;
    }
    return true;
}

char* strbchr(const char* b, const char* e, char c) {
    while (e > b) {
        if (*--e == c) return const_cast<char*>(e);
    }
    return nullptr;
}

char* strfind(const char* s, std::size_t n, char c) {
    return n == 0 ? nullptr : static_cast<char*>(const_cast<void*>(std::memchr(s, c, n)));
}

char* strfind(const char* s, std::size_t n, const char* p, std::size_t pn) {
    if (!s || !p || pn == 0 || n == 0) return const_cast<char*>(s) + n;
    if (pn > n) return nullptr;
    if (pn == 1) return strfind(s, n, p[0]);
    return findPattern<AsTheyAre>(s, n, p, pn);
}

char* strfind_i_ascii(const char* b, const char* e, char c) {
    const unsigned char wanted = upper(c);
    for (; b < e; ++b) {
        if (upper(*b) == wanted) return const_cast<char*>(b);
    }
    return nullptr;
}

char* strfind_i_ascii(const char* s, std::size_t n, const char* p, std::size_t pn) {
    if (!s || !p || pn == 0) return const_cast<char*>(s) + n;
    if (pn > n) return nullptr;
    return findPattern<Folded>(s, n, p, pn);
}

const char* strfind_last_path_item(const char* b, const char* e) {
    while (e > b) {
        if (isPathSeparator(e[-1])) return e;
        --e;
    }
    return b;
}

const char* strfind_last_extension(const char* b, const char* e) {
    for (const char* p = e; p > b; --p) {
        if (p[-1] == '.') return p;
        if (isPathSeparator(p[-1])) break;
    }
    return e;
}

void strlw_ascii(char* b, const char* e) { fold(b, e, chr_lower_table_ascii); }
void strup_ascii(char* b, const char* e) { fold(b, e, chr_upper_table_ascii); }
void strlw_utf16(utf16_t* b, const utf16_t* e) { fold(b, e, chr_lower_table_utf16); }
void strup_utf16(utf16_t* b, const utf16_t* e) { fold(b, e, chr_upper_table_utf16); }
