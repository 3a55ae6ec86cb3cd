// Private: the scanning loops of the steppers, eight bytes at a time. Each gives the first byte that stops it, or `end`.
#ifndef VELMORA_MARKUP_SCAN_H
#define VELMORA_MARKUP_SCAN_H

#include <bit>
#include <cstdint>
#include <cstring>

namespace velmora::detail {

static_assert(std::endian::native == std::endian::little, "the first byte of a block is its lowest");

constexpr std::uint64_t kEveryByte = 0x0101010101010101;
constexpr std::uint64_t kEveryTop = 0x8080808080808080;

inline std::uint64_t eightBytes(const char* p) {
    std::uint64_t bytes;
    std::memcpy(&bytes, p, sizeof bytes);
    return bytes;
}

// A mask whose lowest set bit lies in the first byte that is `c`; 0 when there is none.
inline std::uint64_t whereIs(std::uint64_t bytes, char c) {
    bytes ^= kEveryByte * static_cast<unsigned char>(c);
    return (bytes - kEveryByte) & ~bytes & kEveryTop;
}

// The same for the first byte below `limit`, which is at most 128.
inline std::uint64_t whereBelow(std::uint64_t bytes, unsigned limit) {
    return (bytes - kEveryByte * limit) & ~bytes & kEveryTop;
}

// The first byte that `where` marks in a block of eight; the last few bytes of the buffer are asked for one by one.
template <class Where, class StopsAt>
inline const char* scanUntil(const char* p, const char* end, Where where, StopsAt stopsAt) {
    for (; end - p >= 8; p += 8) {
        if (std::uint64_t mask = where(eightBytes(p))) return p + std::countr_zero(mask) / 8;
    }
    while (p != end && !stopsAt(*p)) ++p;
    return p;
}

inline const char* findControl(const char* p, const char* end) {
    return scanUntil(
        p, end, [](std::uint64_t b) { return whereBelow(b, 0x20); },
        [](char c) { return static_cast<unsigned char>(c) < 0x20; });
}

inline const char* findEither(const char* p, const char* end, char first, char second) {
    return scanUntil(
        p, end, [=](std::uint64_t b) { return whereIs(b, first) | whereIs(b, second); },
        [=](char c) { return c == first || c == second; });
}

// The end of a run of `c`.
inline const char* passRun(const char* p, const char* end, char c) {
    const std::uint64_t run = kEveryByte * static_cast<unsigned char>(c);
    return scanUntil(
        p, end, [=](std::uint64_t b) { return b ^ run; }, [=](char x) { return x != c; });
}

}  // namespace velmora::detail

#endif
