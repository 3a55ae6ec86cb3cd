// Private: the scanning loops of the steppers and of the writer, a block of bytes at a time.
#ifndef VELMORA_MARKUP_SCAN_H
#define VELMORA_MARKUP_SCAN_H

#include <cstdint>
#include <cstring>

#include <velmora/text/block.h>

namespace velmora::detail {

// The first byte that `where` marks in a block, or `end`. The last bytes before the end are asked for one by one, as
// `stopsAt` says.
template <class B = Block, class Where, class StopsAt>
inline const char* scanUntil(const char* p, const char* end, Where where, StopsAt stopsAt) {
    for (; end - p >= B::kSize; p += B::kSize) {
        const B marks = where(B::load(p));
        if (marks.any()) return p + marks.first();
    }
    while (p != end && !stopsAt(*p)) ++p;
    return p;
}

// The same for what may be long: after the first blocks, four are asked about at once.
template <class B = Block, class Where, class StopsAt>
inline const char* scanFarUntil(const char* p, const char* end, Where where, StopsAt stopsAt) {
    constexpr int kRound = 4 * B::kSize;
    if (end - p >= 2 * kRound) {
        const char* const near = p + kRound;
        p = scanUntil<B>(p, near, where, stopsAt);
        if (p != near) return p;
        for (; end - p >= kRound; p += kRound) {
            const B low = where(B::load(p)) | where(B::load(p + B::kSize));
            const B high = where(B::load(p + 2 * B::kSize)) | where(B::load(p + 3 * B::kSize));
            if ((low | high).any()) break;
        }
    }
    return scanUntil<B>(p, end, where, stopsAt);
}

template <class B = Block>
inline const char* findControl(const char* p, const char* end) {
    return scanUntil<B>(
        p, end, [](B b) { return b.isBelow(0x20); }, [](char c) { return static_cast<unsigned char>(c) < 0x20; });
}

template <class B = Block>
inline const char* findEither(const char* p, const char* end, char first, char second) {
    return scanUntil<B>(
        p, end, [=](B b) { return b.is(first) | b.is(second); }, [=](char c) { return c == first || c == second; });
}

// The end of a run of bytes up to the blank.
template <class B = Block>
inline const char* passBlanks(const char* p, const char* end) {
    return scanUntil<B>(
        p, end, [](B b) { return b.isAbove(' '); }, [](char c) { return static_cast<unsigned char>(c) > ' '; });
}

// The end of a run of `c`.
template <class B = Block>
inline const char* passRun(const char* p, const char* end, char c) {
    return scanUntil<B>(
        p, end, [=](B b) { return b.isNot(c); }, [=](char x) { return x != c; });
}

// How often `c` is in a range.
template <class B = Block>
inline std::size_t countOf(const char* p, const char* end, char c) {
    constexpr int kMostBlocks = 255;  // that a byte can count
    std::size_t n = 0;
    while (end - p >= B::kSize) {
        B counts = B::all(0);
        for (int i = 0; i < kMostBlocks && end - p >= B::kSize; ++i, p += B::kSize) {
            counts = counts.plus(B::load(p).same(B::all(c)));
        }
        n += counts.sum();
    }
    for (; p != end; ++p) n += *p == c;
    return n;
}

// Whether `where` marks one of `n` bytes.
template <class B = Block, class Where>
bool anyMarked(const char* p, int n, Where where);

// Copies `n` bytes, unless `where` marks one of them. Most texts are short: each is read as two ends that may overlap,
// which are asked about together and stored. Returns: false where one is marked; what `to` holds is then open.
template <class B = Block, class Where>
inline bool copyUnless(char* to, const char* from, int n, Where where) {
    if (n >= B::kSize) {
        if (anyMarked<B>(from, n, where)) return false;
        std::memcpy(to, from, static_cast<std::size_t>(n));
        return true;
    }
    if (n >= 8) {
        const auto low = bytesAt<std::uint64_t>(from), high = bytesAt<std::uint64_t>(from + n - 8);
        if (where(B(low, high)).any()) return false;
        std::memcpy(to, &low, 8);
        std::memcpy(to + n - 8, &high, 8);
        return true;
    }
    if (n >= 4) {
        const auto low = bytesAt<std::uint32_t>(from), high = bytesAt<std::uint32_t>(from + n - 4);
        const std::uint64_t both = std::uint64_t{high} << 32 | low;
        if (where(B(both, both)).any()) return false;
        std::memcpy(to, &low, 4);
        std::memcpy(to + n - 4, &high, 4);
        return true;
    }
    if (n <= 0) return true;
    const char middle = from[n / 2], end = from[n - 1];
    const std::uint64_t all = static_cast<unsigned char>(from[0]) * 0x0001000100010001u |
                              static_cast<unsigned char>(middle) * 0x0000010000000100u |
                              static_cast<unsigned char>(end) * 0x0100000001000000u;
    if (where(B(all, all)).any()) return false;
    to[0] = from[0];
    to[n / 2] = middle;
    to[n - 1] = end;
    return true;
}

template <class B, class Where>
inline bool anyMarked(const char* p, int n, Where where) {
    if (n < B::kSize) {
        char copy[B::kSize];
        return !copyUnless<B>(copy, p, n, where);
    }
    const char* last = p + n - B::kSize;
    for (; p < last; p += B::kSize) {
        if (where(B::load(p)).any()) return true;
    }
    return where(B::load(last)).any();
}

}  // namespace velmora::detail

#endif
