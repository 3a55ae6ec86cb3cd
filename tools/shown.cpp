// Escaping for output, see shown.h.
#include "tools/shown.h"

#include <algorithm>
#include <iterator>

namespace tool {
namespace {

constexpr const char kDigits[] = "0123456789ABCDEF";
constexpr const char* kReplacement = "\xEF\xBF\xBD";  // U+FFFD

struct Range {
    char32_t first;
    char32_t last;
};

constexpr Range kUnprintable[] = {{0, 0x1F},        {0x7F, 0x9F},     {0x61C, 0x61C},
                                  {0x200E, 0x200F}, {0x2028, 0x202E}, {0x2066, 0x2069}};

bool isContinuation(char c) { return (c & 0xC0) == 0x80; }

// A sequence of `length` bytes as its lead byte says, whatever it encodes; 0 where the bytes are none.
Character decodeSequence(const char* p, const char* end) {
    const auto lead = static_cast<unsigned char>(*p);
    if (lead < 0x80) return {1, lead};
    if (lead < 0xC0 || lead > 0xF7) return {};
    const std::size_t length = lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
    if (static_cast<std::size_t>(end - p) < length) return {};
    char32_t code = lead & (0x7FU >> length);
    for (std::size_t i = 1; i < length; ++i) {
        if (!isContinuation(p[i])) return {};
        code = code << 6 | (static_cast<unsigned char>(p[i]) & 0x3FU);
    }
    return {length, code};
}

bool isSurrogate(char32_t code) { return code >= 0xD800 && code <= 0xDFFF; }

// The library knows characters of 16 bits, so that one above them comes from the system as two surrogates, three bytes
// each.
Character pairOf(const char* p, const char* end) {
    const Character high = decodeSequence(p, end);
    if (high.length != 3 || high.code < 0xD800 || high.code > 0xDBFF || end - p < 6) return {};
    const Character low = decodeSequence(p + 3, end);
    if (low.length != 3 || low.code < 0xDC00 || low.code > 0xDFFF) return {};
    return {6, 0x10000 + ((high.code - 0xD800) << 10) + (low.code - 0xDC00)};
}

// Requires: a character of four bytes.
void appendLong(std::string& out, char32_t code) {
    out += static_cast<char>(0xF0 | code >> 18);
    for (int shift = 12; shift >= 0; shift -= 6) out += static_cast<char>(0x80 | (code >> shift & 0x3F));
}

void appendEscape(std::string& out, char c) {
    static const std::string named = "\n\r\t";
    out += '\\';
    const std::size_t name = named.find(c);
    if (name != std::string::npos) {
        out += "nrt"[name];
    } else {
        out += {'x', kDigits[static_cast<unsigned char>(c) >> 4], kDigits[c & 15]};
    }
}

void appendJsonEscape(std::string& out, char32_t code) {
    static const std::string named = "\"\\\b\f\n\r\t";
    out += '\\';
    const std::size_t name = code < 0x80 ? named.find(static_cast<char>(code)) : std::string::npos;
    if (name != std::string::npos) {
        out += "\"\\bfnrt"[name];
        return;
    }
    out += 'u';
    for (int shift = 12; shift >= 0; shift -= 4) out += kDigits[code >> shift & 15];
}

bool isLayout(const char* p, const char* end) {
    return *p == '\n' || *p == '\t' || (*p == '\r' && end - p > 1 && p[1] == '\n');
}

}  // namespace

Character characterOf(const char* p, const char* end) {
    constexpr char32_t least[] = {0, 0, 0x80, 0x800, 0x10000};  // of each length; what is below is overlong
    const Character read = decodeSequence(p, end);
    if (read.code < least[read.length] || isSurrogate(read.code) || read.code > 0x10FFFF) return {};
    return read;
}

bool isUtf8(const ChPair& text) {
    for (const char* p = text.begin; p != text.end;) {
        const std::size_t length = characterLength(p, text.end);
        if (length == 0) return false;
        p += length;
    }
    return true;
}

bool isControl(char c) { return static_cast<unsigned char>(c) < 0x20 || c == 0x7F; }

bool isPrintable(char32_t code) {
    return std::none_of(std::begin(kUnprintable), std::end(kUnprintable),
                        [code](const Range& range) { return code >= range.first && code <= range.last; });
}

bool isPrintable(const ChPair& text) {
    for (const char* p = text.begin; p != text.end;) {
        const Character character = characterOf(p, text.end);
        if (character.length == 0 || !isPrintable(character.code)) return false;
        p += character.length;
    }
    return true;
}

std::string shown(const ChPair& text) {
    std::string out;
    for (const char* p = text.begin; p != text.end; ++p) {
        if (isControl(*p)) {
            appendEscape(out, *p);
        } else {
            out += *p;
        }
    }
    return out;
}

std::string shownOnTerminal(const ChPair& text) {
    std::string out;
    for (const char* p = text.begin; p != text.end;) {
        const Character character = characterOf(p, text.end);
        const std::size_t length = std::max<std::size_t>(1, character.length);
        if (isLayout(p, text.end) || (character.length != 0 && isPrintable(character.code))) {
            out.append(p, length);
        } else if (const Character pair = pairOf(p, text.end); pair.length != 0) {
            appendLong(out, pair.code);
            p += pair.length;
            continue;
        } else {
            for (std::size_t i = 0; i < length; ++i) appendEscape(out, p[i]);
        }
        p += length;
    }
    return out;
}

std::string quoted(const ChPair& text) {
    std::string out = "\"";
    for (const char* p = text.begin; p != text.end;) {
        const Character character = characterOf(p, text.end);
        const std::size_t length = std::max<std::size_t>(1, character.length);
        if (character.length != 0 && isPrintable(character.code)) {
            if (*p == '"' || *p == '\\') out += '\\';
            out.append(p, length);
        } else {
            for (std::size_t i = 0; i < length; ++i) appendEscape(out, p[i]);
        }
        p += length;
    }
    return out + '"';
}

std::string jsonText(const ChPair& text) {
    std::string out;
    for (const char* p = text.begin; p != text.end;) {
        const Character character = characterOf(p, text.end);
        const Character pair = pairOf(p, text.end);
        if (pair.length != 0) {
            appendLong(out, pair.code);
        } else if (character.length == 0) {
            out += kReplacement;
        } else if (*p == '"' || *p == '\\' || !isPrintable(character.code)) {
            appendJsonEscape(out, character.code);
        } else {
            out.append(p, character.length);
        }
        p += std::max<std::size_t>({1, character.length, pair.length});
    }
    return out;
}

}  // namespace tool
