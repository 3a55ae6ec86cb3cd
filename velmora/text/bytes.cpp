#include <velmora/text/bytes.h>

#include <cstdint>
#include <functional>
#include <limits>

#include <velmora/text/bytes_routines.h>
#include <velmora/text/functions.h>
#include <velmora/text/utf.h>

namespace {

using velmora::detail::asciiCaseIsPlain;
using velmora::detail::Block;
using velmora::detail::bytesAt;
using velmora::detail::kShortText;
using velmora::detail::textFunctions;

constexpr std::size_t kLongText = 64;      // worth a call through the table where the base has a block that is inline
constexpr std::size_t kFoldedSearch = 48;  // worth preparing the pattern's first byte
constexpr std::size_t kRareSearch = 256;   // worth asking first where the pattern's first byte is

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
    if constexpr (sizeof(Unit) == 1) {
        if (count >= Block::kSize && asciiCaseIsPlain) {
            const char first = &table[0] == chr_lower_table_ascii ? 'A' : 'a';
            (count < kShortText ? velmora::detail::foldBytes<Block> : textFunctions.foldBytes)(b, count, first, table);
            return;
        }
    }
    for (std::size_t i = 0; i < count; ++i) {
        using Index = std::make_unsigned_t<std::conditional_t<sizeof(Unit) == 1, char, short>>;
        b[i] = static_cast<Unit>(table[static_cast<Index>(b[i])]);
    }
}

// The bytes before the first pair that is neither the same nor one ASCII letter in both cases, of fewer bytes than a
// block has: as two ends that may overlap. Of fewer than 8 bytes it gives 0, which says nothing.
std::size_t commonAsciiOfFew(const char* a, const char* b, std::size_t n) {
    const auto common = [](Block one, Block other) {
        return static_cast<std::size_t>(std::countr_one(one.withOtherCase('a').same(other.withOtherCase('a')).bits()));
    };
    if (n >= 8) {
        const std::size_t last = n - 8;
        const std::size_t same = common(Block(bytesAt<std::uint64_t>(a), bytesAt<std::uint64_t>(a + last)),
                                        Block(bytesAt<std::uint64_t>(b), bytesAt<std::uint64_t>(b + last)));
        return same < 8 ? same : last + same - 8;
    }
    return 0;
}

std::size_t commonAscii(const char* a, const char* b, std::size_t n) {
    if (n < Block::kSize) return commonAsciiOfFew(a, b, n);
    return n < kLongText ? velmora::detail::commonAscii<Block>(a, b, n) : textFunctions.commonAscii(a, b, n);
}

// How many of `n` bytes are the same when they are folded. Bytes that are not ASCII are up to the table.
VELMORA_APART std::size_t commonFoldedOfMany(const char* a, const char* b, std::size_t n) {
    for (std::size_t i = 0;;) {
        if (asciiCaseIsPlain) i += commonAscii(a + i, b + i, n - i);
        for (const std::size_t begin = i; i - begin < Block::kSize; ++i) {
            if (i == n || !sameFolded(a[i], b[i])) return i;
        }
    }
}

constexpr std::ptrdiff_t kMany = 8;  // bytes that are faster together

inline bool isMany(const char* b, const char* e) { return e - b >= kMany; }

int rawOrder(char a, char b) { return sign(static_cast<unsigned char>(a) > static_cast<unsigned char>(b)); }

VELMORA_APART int orderOfMany(const char* b1, const char* e1, const char* b2, const char* e2) {
    const auto n1 = static_cast<std::size_t>(e1 - b1), n2 = static_cast<std::size_t>(e2 - b2);
    const std::size_t n = n1 < n2 ? n1 : n2, same = commonFoldedOfMany(b1, b2, n);
    if (same < n) return rawOrder(b1[same], b2[same]);
    return n1 == n2 ? 0 : sign(n1 > n2);
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
    static const char* find(const char* b, const char* e, char c) {
        for (const unsigned char wanted = upper(c); b < e; ++b) {
            if (upper(*b) == wanted) return b;
        }
        return nullptr;
    }
    static bool equal(const char* a, const char* b, std::size_t n) {
        if (n >= kMany) return sameFolded(*a, *b) && commonFoldedOfMany(a, b, n) == n;
        for (std::size_t i = 0; i < n; ++i) {
            if (!sameFolded(a[i], b[i])) return false;
        }
        return true;
    }
    static std::size_t common(const char* a, const char* b, std::size_t n) { return commonFoldedOfMany(a, b, n); }
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

VELMORA_APART char* findInBlocks(const char* s, std::size_t n, const char* p, std::size_t pn) {
    return velmora::detail::findBytes<Block>(s, n, p, pn);
}

// The walk for few places, and for folded bytes that blocks cannot find. It is slow where the text is full of places at
// which much of a long pattern matches: so it counts the bytes that matched in vain, and gives way in time.
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

namespace velmora::detail {

constinit bool asciiCaseIsPlain = false;

char* findTwoWay(const char* s, std::size_t n, const char* p, std::size_t pn) {
    return ::findTwoWay<AsTheyAre>(s, n, p, pn);
}

char* findTwoWayFolded(const char* s, std::size_t n, const char* p, std::size_t pn) {
    return ::findTwoWay<Folded>(s, n, p, pn);
}

char* findFoldedPlain(const char* s, std::size_t n, const char* p, std::size_t pn) {
    return findPattern<Folded>(s, n, p, pn);
}

const char* findByteFoldedPlain(const char* b, const char* e, char c) { return Folded::find(b, e, c); }

}  // namespace velmora::detail

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
    // The first byte alone: most texts differ there, and a null begin with another end than null is not to be read on.
    if (isMany(b1, e1) && isMany(b2, e2)) {
        return sameFolded(*b1, *b2) ? orderOfMany(b1, e1, b2, e2) : rawOrder(*b1, *b2);
    }
    for (; b1 < e1 && b2 < e2; ++b1, ++b2) {
        if (!sameFolded(*b1, *b2)) return rawOrder(*b1, *b2);
    }
    if (b1 < e1) return 1;
    return b2 == e2 ? 0 : -1;
}

bool streq_i_ascii(const char* a, std::size_t alen, const char* b, std::size_t blen) {
    return alen == blen && Folded::equal(a, b, alen);
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
    if (n - pn >= kRareSearch) {
        const char* const from = strfind(s, n - pn + 1, p[0]);
        if (!from) return nullptr;
        n -= static_cast<std::size_t>(from - s);
        s = from;
    }
    const std::size_t places = n - pn + 1;
    if (places >= kShortText) return textFunctions.findBytes(s, n, p, pn);
    if (places >= Block::kSize) return findInBlocks(s, n, p, pn);
    return findPattern<AsTheyAre>(s, n, p, pn);
}

char* strfind_i_ascii(const char* b, const char* e, char c) {
    if (e - b >= static_cast<std::ptrdiff_t>(kFoldedSearch))
        return const_cast<char*>(textFunctions.findByteFolded(b, e, c));
    return const_cast<char*>(velmora::detail::findByteFoldedPlain(b, e, c));
}

char* strfind_i_ascii(const char* s, std::size_t n, const char* p, std::size_t pn) {
    if (!s || !p || pn == 0) return const_cast<char*>(s) + n;
    if (pn > n) return nullptr;
    if (n - pn < kFoldedSearch) return velmora::detail::findFoldedPlain(s, n, p, pn);
    return textFunctions.findFolded(s, n, p, pn);
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
