// Private: searching, comparing and folding bytes by blocks.
// Only templates over the kind of block, so that each source that makes them has its own.
#ifndef VELMORA_TEXT_BYTES_ROUTINES_H
#define VELMORA_TEXT_BYTES_ROUTINES_H

#include <cstring>

#include <velmora/text/block.h>
#include <velmora/text/bytes.h>

namespace velmora::detail {

// The searches of bytes.cpp that know no blocks: for bytes as they are, and for bytes folded through
// chr_upper_table_ascii. All take linear time.
// Requires: 0 < pn <= n.
char* findTwoWay(const char* s, std::size_t n, const char* p, std::size_t pn);
char* findTwoWayFolded(const char* s, std::size_t n, const char* p, std::size_t pn);
char* findFoldedPlain(const char* s, std::size_t n, const char* p, std::size_t pn);
const char* findByteFoldedPlain(const char* b, const char* e, char c);

// Whether the case of ASCII characters in chr_upper_table_ascii and chr_lower_table_ascii is that of ASCII: false until
// the tables are built. Bytes from 0x80 up have the case that the tables give them now.
extern bool asciiCaseIsPlain;

// The bytes before the first pair that is neither the same nor one ASCII letter in both cases.
// Requires: n >= B::kSize.
template <class B>
std::size_t commonAscii(const char* a, const char* b, std::size_t n) {
    constexpr auto kSize = static_cast<std::size_t>(B::kSize);
    for (std::size_t i = 0;; i += kSize) {
        if (n - i < kSize) i = n - kSize;  // the last block may overlap the one before
        const B one = B::load(a + i), other = B::load(b + i);
        const std::uint32_t same = one.withOtherCase('a').same(other.withOtherCase('a')).bits();
        constexpr std::uint32_t kAll = B::kSize == 32 ? 0xFFFFFFFF : 0xFFFF;
        if (same != kAll) return i + static_cast<std::size_t>(std::countr_one(same));
        if (i + kSize == n) return n;
    }
}

// Folds ASCII letters of the case whose first letter is `first`, and all other bytes through `table`.
// Requires: asciiCaseIsPlain.
template <class B>
void foldBytes(char* p, std::size_t n, char first, const unsigned char* table) {
    constexpr auto kSize = static_cast<std::size_t>(B::kSize);
    for (; n >= kSize; p += kSize, n -= kSize) {
        const B bytes = B::load(p);
        if (bytes.isAscii()) {
            bytes.withOtherCase(first).store(p);
        } else {
            for (std::size_t i = 0; i < kSize; ++i) p[i] = static_cast<char>(table[static_cast<unsigned char>(p[i])]);
        }
    }
    for (; n > 0; ++p, --n) *p = static_cast<char>(table[static_cast<unsigned char>(*p)]);
}

// The one or two bytes that a byte is found by: it itself, or a letter in both cases. Any other number is none.
struct Forms {
    char one, other;
    bool any;
};

template <class B>
inline Forms formsOf(char c) {
    const char* const table = reinterpret_cast<const char*>(chr_upper_table_ascii);
    const B folded = B::all(table[static_cast<unsigned char>(c)]);
    if (static_cast<signed char>(c) >= 0 && asciiCaseIsPlain) {
        B others = B::all(0);
        for (int i = 128; i < 256; i += B::kSize) others = others | B::load(table + i).same(folded);
        const bool isLetter = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
        return {c, static_cast<char>(isLetter ? c ^ 0x20 : c), !others.any()};
    }
    Forms forms{0, 0, false};
    int count = 0;
    for (int i = 0; i < 256; i += B::kSize) {
        for (std::uint32_t same = B::load(table + i).same(folded).bits(); same != 0; same &= same - 1) {
            if (++count > 2) return forms;
            forms.one = forms.other;
            forms.other = static_cast<char>(i + std::countr_zero(same));
        }
    }
    if (count == 1) forms.one = forms.other;
    forms.any = true;
    return forms;
}

template <class B>
class EitherForm {
public:
    explicit EitherForm(Forms forms) : one_(B::all(forms.one)), other_(B::all(forms.other)) {}
    B in(B bytes) const { return bytes.same(one_) | bytes.same(other_); }

private:
    B one_, other_;
};

template <class B>
class ThisByte {
public:
    explicit ThisByte(char c) : byte_(B::all(c)) {}
    B in(B bytes) const { return bytes.same(byte_); }

private:
    B byte_;
};

// The walk of both pattern searches: looks for places where the first and the last byte of the pattern match. It is the
// fastest on ordinary text. It is slow where the text is full of places at which much of a long pattern matches: so it
// counts the bytes that matched in vain, and gives way in time.
// `common` gives how many of some bytes are the same, and `giveWay` searches in linear time.
// Requires: pn <= n and at least B::kSize places.
template <class B, class Wanted, class Common, class GiveWay>
inline char* findByEnds(const char* s, std::size_t n, const char* p, std::size_t pn, Wanted first, Wanted last,
                        Common common, GiveWay giveWay) {
    constexpr std::size_t kFreeBytes = 16;  // compared at each place without being counted
    constexpr std::size_t kPatience = 4;    // bytes in vain for each byte of text and pattern
    constexpr auto kSize = static_cast<std::size_t>(B::kSize);
    const std::size_t places = n - pn + 1;
    const auto matches = [&](const char* at) { return first.in(B::load(at)) & last.in(B::load(at + pn - 1)); };
    std::size_t inVain = 0;
    char* found = nullptr;
    // Whether the search ends among the places of the block at `at`.
    const auto endsIn = [&](const char* at) {
        for (std::uint32_t marks = matches(at).bits(); marks != 0; marks &= marks - 1) {
            const char* const from = at + std::countr_zero(marks);
            const std::size_t same = common(from, p, pn);
            if (same == pn) {
                found = const_cast<char*>(from);
                return true;
            }
            if (same <= kFreeBytes) continue;
            inVain += same - kFreeBytes;
            if (inVain / kPatience > static_cast<std::size_t>(from - s) + pn) {
                found = giveWay(from, n - static_cast<std::size_t>(from - s), p, pn);
                return true;
            }
        }
        return false;
    };
    if (endsIn(s)) return found;
    // From the second block on the first bytes lie in aligned blocks.
    const char* at = s + (kSize - (reinterpret_cast<std::uintptr_t>(s) & (kSize - 1)));
    const char* const limit = s + places;
    while (static_cast<std::size_t>(limit - at) >= 4 * kSize) {
        const B two = matches(at) | matches(at + kSize), others = matches(at + 2 * kSize) | matches(at + 3 * kSize);
        if ((two | others).any()) {
            for (int i = 0; i < 4; ++i) {
                if (endsIn(at + i * B::kSize)) return found;
            }
        }
        at += 4 * kSize;
    }
    for (; static_cast<std::size_t>(limit - at) >= kSize; at += kSize) {
        if (endsIn(at)) return found;
    }
    if (at != limit) endsIn(limit - kSize);  // a block that overlaps the one before
    return found;
}

template <class B>
char* findBytes(const char* s, std::size_t n, const char* p, std::size_t pn) {
    const auto common = [](const char* a, const char* b, std::size_t size) {
        std::size_t i = 0;
        for (; size - i >= 8 || (size >= 8 && i < size); i += 8) {
            if (size - i < 8) i = size - 8;  // the last word may overlap the one before
            const std::uint64_t differ = bytesAt<std::uint64_t>(a + i) ^ bytesAt<std::uint64_t>(b + i);
            if (differ != 0) return i + static_cast<std::size_t>(std::countr_zero(differ)) / 8;
        }
        while (i < size && a[i] == b[i]) ++i;
        return i;
    };
    return findByEnds<B>(s, n, p, pn, ThisByte<B>(p[0]), ThisByte<B>(p[pn - 1]), common, findTwoWay);
}

template <class B>
char* findFolded(const char* s, std::size_t n, const char* p, std::size_t pn) {
    const unsigned char* const table = chr_upper_table_ascii;
    const Forms first = formsOf<B>(p[0]), last = formsOf<B>(p[pn - 1]);
    if (!first.any || !last.any) return findFoldedPlain(s, n, p, pn);
    const auto common = [table](const char* a, const char* b, std::size_t size) {
        std::size_t i = 0;
        while (i < size &&
               (a[i] == b[i] || table[static_cast<unsigned char>(a[i])] == table[static_cast<unsigned char>(b[i])]))
            ++i;
        return i;
    };
    return findByEnds<B>(s, n, p, pn, EitherForm<B>(first), EitherForm<B>(last), common, findTwoWayFolded);
}

// Requires: e - b >= B::kSize.
template <class B>
const char* findByteFolded(const char* b, const char* e, char c) {
    const Forms forms = formsOf<B>(c);
    if (!forms.any) return findByteFoldedPlain(b, e, c);
    const EitherForm<B> wanted(forms);
    for (;; b += B::kSize) {
        if (e - b < B::kSize) b = e - B::kSize;  // the last block may overlap the one before
        const std::uint32_t marks = wanted.in(B::load(b)).bits();
        if (marks != 0) return b + std::countr_zero(marks);
        if (e - b == B::kSize) return nullptr;
    }
}

// The first byte that is one of two or not ASCII; after the last whole block where there is none in whole blocks.
template <class B>
const char* findEitherOrHigh(const char* b, const char* e, Forms forms) {
    const EitherForm<B> wanted(forms);
    for (; e - b >= B::kSize; b += B::kSize) {
        const B bytes = B::load(b);
        const std::uint32_t marks = (wanted.in(bytes) | bytes.atLeast(0x80)).bits();
        if (marks != 0) return b + std::countr_zero(marks);
    }
    return b;
}

}  // namespace velmora::detail

#endif
