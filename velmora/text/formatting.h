// Private: text by the rules of printf, of a format with the one limit that all formatting members share, and of a
// double alone, whatever the process's locale is.
#ifndef VELMORA_TEXT_FORMATTING_H
#define VELMORA_TEXT_FORMATTING_H

#include <bit>
#include <charconv>
#include <cmath>
#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <cstring>

#include <velmora/base.h>

namespace velmora::detail {

class FormattedText {
public:
    // Limit: what does not fit is cut without a word.
    FormattedText(const char* format, va_list args) VELMORA_PRINTF(2, 0) {
        text_[0] = 0;
        std::vsnprintf(text_, sizeof text_, format, args);
        text_[kMostBytes] = 0;
    }

    const char* begin() const { return text_; }
    // Bytes up to the first zero byte.
    std::size_t size() const { return std::strlen(text_); }

private:
    static constexpr std::size_t kMostBytes = 4096;
    char text_[kMostBytes + 1];
};

// The bytes that putDouble may write: sign, 309 digits, point, six digits, terminator.
constexpr int kDoubleTextSize = 318;

// A double as a whole number and millionths, rounded half to even as printf rounds.
struct Millionths {
    static constexpr std::uint64_t kOne = 1000000;

    std::uint64_t whole;
    std::uint64_t rest;  // below kOne

    // Takes 0 and values from 2^-11 up to 2^63: those need no more than one product of 128 bits.
    // Requires: v >= 0. Returns: false for any other value.
    bool set(double v) {
        constexpr int mantissaBits = 52;
        const auto bits = std::bit_cast<std::uint64_t>(v);
        const std::uint64_t mantissa = (bits & ((1ull << mantissaBits) - 1)) | 1ull << mantissaBits;
        const int shift = 1023 + mantissaBits - static_cast<int>(bits >> mantissaBits);  // v is mantissa / 2^shift
        whole = rest = 0;
        if (bits == 0) return true;
        if (shift < -10 || shift > 63) return false;
        if (shift <= 0) {
            whole = mantissa << -shift;
            return true;
        }
        whole = mantissa >> shift;
        const std::uint64_t mask = (1ull << shift) - 1;
        const std::uint64_t fraction = mantissa & mask;
        const std::uint64_t low = fraction * kOne;
        const std::uint64_t high = ((fraction >> 32) * kOne + ((fraction & 0xFFFFFFFF) * kOne >> 32)) >> 32;
        const std::uint64_t left = low & mask;
        const std::uint64_t half = 1ull << (shift - 1);
        rest = high << 1 << (63 - shift) | low >> shift;
        rest += left > half || (left == half && (rest & 1) != 0);
        if (rest == kOne) {
            ++whole;
            rest = 0;
        }
        return true;
    }
};

// "%f" of printf in the "C" locale, with a terminator. Infinities and NaN are "inf" and "nan", with the sign that they
// have.
// Requires: `out` has kDoubleTextSize bytes. Returns: the place of the terminator.
inline char* putDouble(double v, char* out) {
    char* p = out;
    char* const end = out + kDoubleTextSize - 1;
    if (std::signbit(v)) *p++ = '-';
    if (Millionths m; m.set(std::fabs(v))) {
        p = std::to_chars(p, end, m.whole).ptr;
        char* const point = p;
        p = std::to_chars(p, end, Millionths::kOne + m.rest).ptr;  // its first digit makes room for the point
        *point = '.';
    } else if (std::isfinite(v)) {
        p = std::to_chars(p, end, std::fabs(v), std::chars_format::fixed, 6).ptr;
    } else {
        std::memcpy(p, std::isnan(v) ? "nan" : "inf", 3);
        p += 3;
    }
    *p = 0;
    return p;
}

}  // namespace velmora::detail

#endif
