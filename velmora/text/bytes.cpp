#include <velmora/text/bytes.h>

#include <cstdint>
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

// The walk of both pattern searches: candidates come from `next(from, limit)`, the rest is judged by `same`.
template <class Next, class Same>
char* findPattern(const char* s, std::size_t n, std::size_t pn, Next next, Same same) {
    const char* limit = s + (n - pn) + 1;  // behind the last place where the pattern may start
    for (const char* from = s; from < limit; ++from) {
        from = next(from, limit);
        if (!from) return nullptr;
        if (same(from + 1)) return const_cast<char*>(from);
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
    return findPattern(
        s, n, pn,
        [p](const char* from, const char* limit) {
            return strfind(from, static_cast<std::size_t>(limit - from), p[0]);
        },
        [p, pn](const char* rest) { return std::memcmp(rest, p + 1, pn - 1) == 0; });
}

char* strfind_i_ascii(const char* b, const char* e, char c) {
    for (; b < e; ++b) {
        if (upper(*b) == upper(c)) return const_cast<char*>(b);
    }
    return nullptr;
}

char* strfind_i_ascii(const char* s, std::size_t n, const char* p, std::size_t pn) {
    if (!s || !p || pn == 0) return const_cast<char*>(s) + n;
    if (pn > n) return nullptr;
    return findPattern(
        s, n, pn, [p](const char* from, const char* limit) { return strfind_i_ascii(from, limit, p[0]); },
        [p, pn](const char* rest) { return streq_i_ascii(rest, pn - 1, p + 1, pn - 1); });
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
