// Private: text by the rules of printf with the one limit that all formatting members share.
#ifndef VELMORA_TEXT_FORMATTING_H
#define VELMORA_TEXT_FORMATTING_H

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

}  // namespace velmora::detail

#endif
