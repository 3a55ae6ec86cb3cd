// UTF-8 against a slow reference, and the searches against naive ones. A length, a pattern of that length, and a text.
#include <velmora/text/bytes.h>
#include <velmora/text/utf.h>

#include <vector>

#include "fuzz/fuzz.h"

namespace {

bool continues(char c) { return (static_cast<unsigned char>(c) & 0xC0) == 0x80; }

// The rule of decoding, character by character.
std::vector<utf16_t> decoded(const std::string& s) {
    std::vector<utf16_t> out;
    for (std::size_t i = 0; i < s.size();) {
        unsigned value = static_cast<unsigned char>(s[i++]);
        if (value >= 0x80) {
            value &= 0x1F;
            for (; i < s.size() && continues(s[i]); ++i)
                value = (value * 64 + (static_cast<unsigned char>(s[i]) & 0x3F)) & 0xFFFF;
        }
        out.push_back(static_cast<utf16_t>(value));
    }
    return out;
}

std::string encoded(const std::vector<utf16_t>& units) {
    std::string out;
    for (unsigned c : units) {
        if (c < 0x80) {
            out += static_cast<char>(c);
        } else if (c < 0x800) {
            out += static_cast<char>(0xC0 | c >> 6);
            out += static_cast<char>(0x80 | (c & 0x3F));
        } else {
            out += static_cast<char>(0xE0 | c >> 12);
            out += static_cast<char>(0x80 | (c >> 6 & 0x3F));
            out += static_cast<char>(0x80 | (c & 0x3F));
        }
    }
    return out;
}

// The place of the first byte that is not well-formed; the size when all are.
std::size_t badPlace(const std::string& s) {
    for (std::size_t i = 0; i < s.size();) {
        const auto c = static_cast<unsigned char>(s[i]);
        std::size_t more = c < 0x80 ? 0 : (c & 0xE0) == 0xC0 ? 1 : (c & 0xF0) == 0xE0 ? 2 : 9;
        if (more == 9 || s.size() - i - 1 < more) return i;
        ++i;
        for (; more > 0; --more, ++i) {
            if (!continues(s[i])) return i;
        }
    }
    return s.size();
}

std::string folded(std::string s) {
    for (char& c : s) c = static_cast<char>(chr_upper_table_ascii[static_cast<unsigned char>(c)]);
    return s;
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz::Input input(data, size);
    const std::string pattern = input.text();
    const std::string text = input.rest();
    const fuzz::Exact exactText(text), exactPattern(pattern);
    char* b = exactText.begin();
    char* e = exactText.end();
    const char* pb = exactPattern.begin();
    const char* pe = exactPattern.end();

    // Conversions and lengths.
    const std::vector<utf16_t> units = decoded(text);
    if (!text.empty()) {
        const char* p = b;
        for (utf16_t unit : units) {
            utf16_t c = 0;
            p = getch_utf8(c, p, e);
            FUZZ_CHECK(c == unit);
        }
        FUZZ_CHECK(p == e);
        std::vector<utf16_t> room(text.size());
        utf8_to_utf16(b, e, room.data(), room.data() + room.size());
        room.resize(units.size());
        FUZZ_CHECK(room == units);
    }
    const std::string back = encoded(units);
    FUZZ_CHECK(strlen_utf8(units.data(), units.data() + units.size()) == back.size());
    std::string room(back.size(), '?');
    utf16_to_utf8(units.data(), units.data() + units.size(), room.data(), room.data() + room.size());
    FUZZ_CHECK(room == back);
    if (badPlace(text) == text.size()) FUZZ_CHECK(strlen_utf8(b, e) == units.size());
    const char* bad = strchk_utf8(b, text.size());
    FUZZ_CHECK(bad ? static_cast<std::size_t>(bad - b) == badPlace(text) : badPlace(text) == text.size());

    // Searches.
    const std::string foldedText = folded(text), foldedPattern = folded(pattern);
    if (!pattern.empty() && !text.empty()) {
        const char* found = strfind(b, text.size(), pb, pattern.size());
        const std::size_t at = text.find(pattern);
        FUZZ_CHECK(found ? static_cast<std::size_t>(found - b) == at : at == std::string::npos);
        found = strfind_i_ascii(b, text.size(), pb, pattern.size());
        const std::size_t atFolded = foldedText.find(foldedPattern);
        FUZZ_CHECK(found ? static_cast<std::size_t>(found - b) == atFolded : atFolded == std::string::npos);
        found = strfind_i_utf8(b, e, pb, pe);
        FUZZ_CHECK(!found || (found >= b && found + 1 <= e));
        const char* last = strbchr(b, e, pattern[0]);
        const std::size_t atLast = text.rfind(pattern[0]);
        FUZZ_CHECK(last ? static_cast<std::size_t>(last - b) == atLast : atLast == std::string::npos);
    }

    // Orders: a text equals itself, and two texts are opposite from both sides.
    FUZZ_CHECK(strcompare(b, text.size(), b, text.size()) == 0);
    const int order = strcompare(b, text.size(), pb, pattern.size());
    const int compared = text.compare(pattern);
    FUZZ_CHECK((order > 0) == (compared > 0) && (order < 0) == (compared < 0));
    FUZZ_CHECK(streq(b, text.size(), pb, pattern.size()) == (text == pattern));
    FUZZ_CHECK(streq_i_ascii(b, text.size(), pb, pattern.size()) == (foldedText == foldedPattern));
    if (!text.empty()) FUZZ_CHECK(strcmp_i_utf8(b, e, b, e) == 0 && strcmp_i_ascii(b, e, b, e) == 0);
    if (!text.empty() && !pattern.empty()) {
        FUZZ_CHECK((strcmp_i_ascii(b, e, pb, pe) == 0) == (foldedText == foldedPattern));
        strcmp_i_utf8(b, e, pb, pe);
    }
    FUZZ_CHECK(strfind_last_path_item(b, e) >= b && strfind_last_extension(b, e) <= e);

    // In place, and never out of it.
    strup_utf8(b, e);
    strlw_utf8(b, e);
    strlw_ascii(b, e);
    FUZZ_CHECK(e - b == static_cast<std::ptrdiff_t>(text.size()));
    return 0;
}
