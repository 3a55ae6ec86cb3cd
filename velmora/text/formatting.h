// Private: text by the rules of printf, of a format with the one limit that all formatting members share, and of a
// double alone, whatever the process's locale is.
#ifndef VELMORA_TEXT_FORMATTING_H
#define VELMORA_TEXT_FORMATTING_H

#include <charconv>
#include <cmath>
#include <cstdarg>
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

// "%f" of printf in the "C" locale, with a terminator. Infinities and NaN are "inf" and "nan", with the sign that they
// have.
// Requires: `out` has kDoubleTextSize bytes. Returns: the place of the terminator.
inline char* putDouble(double v, char* out) {
    char* p = out;
    if (std::signbit(v)) *p++ = '-';
    if (std::isfinite(v)) {
        p = std::to_chars(p, out + kDoubleTextSize - 1, std::fabs(v), std::chars_format::fixed, 6).ptr;
    } else {
        std::memcpy(p, std::isnan(v) ? "nan" : "inf", 3);
        p += 3;
    }
    *p = 0;
    return p;
}

}  // namespace velmora::detail

#endif
