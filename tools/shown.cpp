// Escaping for lines of output, see shown.h.
#include "tools/shown.h"

namespace tool {
namespace {

// Bytes of the character that a byte begins; 0 for one that begins none, overlong forms included.
std::size_t lengthByLead(unsigned char lead) {
    if (lead < 0x80) return 1;
    if (lead < 0xC2 || lead > 0xF4) return 0;
    return lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
}

void appendEscape(std::string& out, char c) {
    static const char digits[] = "0123456789ABCDEF";
    static const std::string named = "\n\r\t";
    out += '\\';
    const std::size_t name = named.find(c);
    if (name != std::string::npos) {
        out += "nrt"[name];
    } else {
        out += {'x', digits[static_cast<unsigned char>(c) >> 4], digits[c & 15]};
    }
}

}  // namespace

std::size_t characterLength(const char* p, const char* end) {
    const std::size_t length = lengthByLead(static_cast<unsigned char>(*p));
    if (static_cast<std::size_t>(end - p) < length) return 0;
    for (std::size_t i = 1; i < length; ++i) {
        if ((p[i] & 0xC0) != 0x80) return 0;
    }
    return length;
}

bool isControl(char c) { return static_cast<unsigned char>(c) < 0x20 || c == 0x7F; }

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

std::string quoted(const ChPair& text) {
    std::string out = "\"";
    for (const char* p = text.begin; p != text.end;) {
        const std::size_t length = characterLength(p, text.end);
        if (length == 0 || isControl(*p)) {
            appendEscape(out, *p++);
            continue;
        }
        if (*p == '"' || *p == '\\') out += '\\';
        out.append(p, length);
        p += length;
    }
    return out + '"';
}

}  // namespace tool
