// Private: the scanning loops of the steppers, eight bytes at a time. Each gives the first byte that stops it, or `end`.
#ifndef VELMORA_MARKUP_SCAN_H
#define VELMORA_MARKUP_SCAN_H

#include <cstdint>
#include <cstring>

namespace velmora::detail {

constexpr std::uint64_t kEveryByte = 0x0101010101010101;
constexpr std::uint64_t kEveryTop = 0x8080808080808080;

inline std::uint64_t eightBytes(const char* p) {
    std::uint64_t bytes;
    std::memcpy(&bytes, p, sizeof bytes);
    return bytes;
}

// Not 0 when one of the bytes is `c`.
inline std::uint64_t anyIs(std::uint64_t bytes, char c) {
    bytes ^= kEveryByte * static_cast<unsigned char>(c);
    return (bytes - kEveryByte) & ~bytes & kEveryTop;
}

// Not 0 when one of the bytes is below `limit`, which is at most 128.
inline std::uint64_t anyBelow(std::uint64_t bytes, unsigned limit) {
    return (bytes - kEveryByte * limit) & ~bytes & kEveryTop;
}

// Passes eight bytes at once while `stops` sees nothing among them, then one at a time until `stopsAt`.
template <class Stops, class StopsAt>
inline const char* scanUntil(const char* p, const char* end, Stops stops, StopsAt stopsAt) {
    while (end - p >= 8 && !stops(eightBytes(p))) p += 8;
    while (p != end && !stopsAt(*p)) ++p;
    return p;
}

inline const char* findControl(const char* p, const char* end) {
    return scanUntil(
        p, end, [](std::uint64_t b) { return anyBelow(b, 0x20); },
        [](char c) { return static_cast<unsigned char>(c) < 0x20; });
}

inline const char* findEither(const char* p, const char* end, char first, char second) {
    return scanUntil(
        p, end, [=](std::uint64_t b) { return anyIs(b, first) | anyIs(b, second); },
        [=](char c) { return c == first || c == second; });
}

// The end of a run of `c`.
inline const char* passRun(const char* p, const char* end, char c) {
    const std::uint64_t run = kEveryByte * static_cast<unsigned char>(c);
    return scanUntil(
        p, end, [=](std::uint64_t b) { return b != run; }, [=](char x) { return x != c; });
}

}  // namespace velmora::detail

#endif
