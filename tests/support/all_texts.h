// What the exhaustive tests run over.
#ifndef VELMORA_TESTS_SUPPORT_ALL_TEXTS_H
#define VELMORA_TESTS_SUPPORT_ALL_TEXTS_H

#include <cstring>
#include <string>
#include <vector>

#include "tests/support/guard_page.h"

namespace support {

// Every text of up to `most` of these pieces, the empty one first. A piece is a byte, a character or a longer text.
inline std::vector<std::string> allTexts(const std::vector<std::string>& pieces, std::size_t most) {
    std::vector<std::string> texts{std::string()};
    std::size_t first = 0;
    for (std::size_t length = 0; length < most; ++length) {
        std::size_t last = texts.size();
        for (; first < last; ++first)
            for (const std::string& piece : pieces) texts.push_back(texts[first] + piece);
    }
    return texts;
}

// A place for one text at a time, with a page behind it that may not be touched.
class GuardedRoom {
public:
    GuardedRoom() : block_(std::string(256, '\0')) {}

    char* put(const std::string& text) {
        char* begin = block_.end() - text.size();
        std::memcpy(begin, text.data(), text.size());
        return begin;
    }
    char* end() const { return block_.end(); }

private:
    GuardedBytes block_;
};

}  // namespace support

#endif
