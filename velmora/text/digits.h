// Private: whole numbers as decimal text, as "%d" and its kin make it.
#ifndef VELMORA_TEXT_DIGITS_H
#define VELMORA_TEXT_DIGITS_H

#include <bit>
#include <cstdint>
#include <cstring>
#include <type_traits>

namespace velmora::detail {

static_assert(std::endian::native == std::endian::little, "the first digit is the lowest byte");

// The eight digits of a number below 100,000,000, the first in the lowest byte: it is split into halves, three times,
// and all parts of one size are split at once.
inline std::uint64_t eightDigits(std::uint32_t v) {
    const std::uint64_t fours = v / 10000 | std::uint64_t{v % 10000} << 32;
    const std::uint64_t hundreds = (fours * 10486 >> 20) & 0x0000007F0000007F;  // each by 100
    const std::uint64_t twos = hundreds | (fours - hundreds * 100) << 16;
    const std::uint64_t tens = (twos * 103 >> 10) & 0x000F000F000F000F;  // each by 10
    return tens | (twos - tens * 10) << 8;
}

// Writes in steps of eight bytes. Requires: `to` has kMostDigits bytes. Returns: the end of the text, which has no
// terminator.
constexpr int kMostDigits = 21;  // a sign and twenty digits
inline char* putDigits(std::uint64_t v, char* to) {
    constexpr std::uint64_t kZeros = 0x3030303030303030;
    constexpr std::uint64_t kEight = 100'000'000;
    if (v >= kEight) {
        to = putDigits(v / kEight, to);
        const std::uint64_t low = eightDigits(static_cast<std::uint32_t>(v % kEight)) + kZeros;
        std::memcpy(to, &low, sizeof low);
        return to + 8;
    }
    const std::uint64_t digits = eightDigits(static_cast<std::uint32_t>(v));
    const int leading = std::countr_zero(digits | std::uint64_t{1} << 56) / 8;  // the last digit stays, a zero too
    const std::uint64_t text = (digits + kZeros) >> (8 * leading);
    std::memcpy(to, &text, sizeof text);
    return to + 8 - leading;
}

template <class T>
inline char* putDecimal(T v, char* to) {
    static_assert(std::is_integral_v<T> && sizeof(T) >= 4);
    if constexpr (std::is_signed_v<T>) {
        if (v < 0) {
            *to = '-';
            return putDigits(std::uint64_t{0} - static_cast<std::uint64_t>(std::int64_t{v}), to + 1);
        }
    }
    return putDigits(static_cast<std::uint64_t>(v), to);
}

}  // namespace velmora::detail

#endif
