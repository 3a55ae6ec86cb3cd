// Attributes. Each typed writer makes a text and picks the value writer that suits it; quoting is the value writer's.
#include <charconv>
#include <cstdarg>
#include <cstdio>
#include <cstring>

#include <velmora/localization/keys.h>
#include <velmora/markup/mldocout.h>
#include <velmora/serial/tags.h>
#include <velmora/serial/ttt.h>
#include <velmora/text/charr.h>
#include <velmora/text/formatting.h>
#include <velmora/text/timetext.h>

namespace {

// Text of a number on the stack.
class NumberText {
public:
    template <class T>
    explicit NumberText(T v) : end_(std::to_chars(text_, text_ + sizeof text_, v).ptr) {}
    operator ChPair() const { return ChPair(text_, end_); }

private:
    char text_[24];
    char* end_;
};

// Whether a text must go between double quotes in YAML, with its escapes.
bool needsYamlEscapes(const ChPair& v) {
    for (const char* p = v.begin; p != v.end; ++p) {
        switch (*p) {
            case '"':
            case '\'':
            case '-':
            case '\\':
            case ':':
                return true;
            default:
                if (static_cast<unsigned char>(*p) < 0x20) return true;
        }
    }
    return false;
}

bool mayBeginPlain(char c) {
    return c == '_' || (c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') ||
           static_cast<unsigned char>(c) >= 0x80;
}

}  // namespace

// Rows keep their columns.
bool MLDocOut::leavesOut(bool nothing, bool skip) const { return nothing && skip && format != HTML && format != CSV; }

void MLDocOut::writeAttrName(const char* name) {
    if (!has(AttributesOpen)) throw TTT(VELMORA_DICT, LCA__Could_not_write_attribute);
    bool first = !has(NeedSeparator);
    switch (format) {
        case XML:
            if (has(CompactMode)) {
                write(' ');
            } else {
                writeLineEnd();
                writeIndent();
            }
            writePieces({name, "="});
            break;
        case JSON:
            if (!first) write(',');
            if (!has(CompactMode)) {
                writeLineEnd();
                writeIndent();
            } else if (first) {
                writeCompactIndent();
            } else {
                writeChars(1, ' ');
            }
            set(NeedSeparator);
            writePieces({"\"", name, "\": "});
            break;
        case YAML:
            if (first) {
                writeDash();
                set(NeedSeparator);
            } else {
                writeIndent();
            }
            writePieces({name, ": "});
            break;
        case CSV:
            if (first) {
                set(NeedSeparator);
            } else {
                write(',');
            }
            break;
        default:
            break;
    }
}

void MLDocOut::writeQuoted(const ChPair& v) {
    write('"');
    write(v);
    write('"');
}

void MLDocOut::writeCell(const ChPair& v) {
    write("<td>", 4);
    write(v);
    write("</td>", 5);
}

void MLDocOut::writeSimpleAttr(const char* name, const ChPair& v) {
    if (format != JSON) {
        if (format == YAML && v.empty()) return writeEmptyAttr(name);
        return writeSimplestAttr(name, v);
    }
    writeAttrName(name);
    writeQuoted(v);
}

void MLDocOut::writeSimplestAttr(const char* name, const ChPair& v) {
    writeAttrName(name);
    switch (format) {
        case XML:
            writeQuoted(v);
            break;
        case JSON:
        case CSV:
            write(v);
            break;
        case YAML:
            write(v);
            writeLineEnd();
            break;
        case HTML:
            writeCell(v);
            break;
        default:
            break;
    }
}

void MLDocOut::writeEmptyAttr(const char* name) {
    writeAttrName(name);
    switch (format) {
        case XML:
        case JSON:
            write("\"\"", 2);
            break;
        case YAML:
            writeLn("''");
            break;
        case HTML:
            writeCell(ChPair());
            break;
        default:
            break;
    }
}

void MLDocOut::writeStrAttr(const char* name, const ChPair& v, bool skipEmpty) {
    if (leavesOut(v.empty(), skipEmpty)) return;
    writeAttrName(name);
    switch (format) {
        case XML:
        case JSON:
        case CSV:
            write('"');
            writeEscaped(v);
            write('"');
            break;
        case YAML:
            writeYamlText(v);
            writeLineEnd();
            break;
        case HTML:
            write("<td>", 4);
            writeEscaped(v);
            write("</td>", 5);
            break;
        default:
            break;
    }
}

void MLDocOut::writeYamlText(const ChPair& v) {
    if (!v.empty() && needsYamlEscapes(v)) {
        write('"');
        writeEscaped(v);
        write('"');
    } else if (!v.empty() && v.end[-1] != ' ' && mayBeginPlain(*v.begin)) {
        write(v);
    } else {
        write('\'');
        write(v);
        write('\'');
    }
}

void MLDocOut::writeStrAttr(const char* name, const char* v, bool skipEmpty) {
    writeStrAttr(name, ChPair(v), skipEmpty);
}

void MLDocOut::writeStrAttr(const char* name, const ChArr& v, bool skipEmpty) {
    writeStrAttr(name, ChPair(v), skipEmpty);
}

void MLDocOut::writeStrAttr(const char* name, const std::string& v, bool skipEmpty) {
    writeStrAttr(name, ChPair(v), skipEmpty);
}

void MLDocOut::writeStrAttr(const char* name, const CharVector& v, bool skipEmpty) {
    writeStrAttr(name, ChPair(v), skipEmpty);
}

void MLDocOut::writeStrAttr(const char* name, const TTT& v) {
    if (v.isEmpty()) return;
    std::string text;
    v.translate(text);
    if (!text.empty()) writeStrAttr(name, text);
}

void MLDocOut::writeFormatAttr(const char* name, const char* fmt, ...) {
    va_list args;
    va_start(args, fmt);
    velmora::detail::FormattedText text(fmt, args);
    va_end(args);
    writeStrAttr(name, ChPair(text.begin(), text.begin() + text.size()));
}

void MLDocOut::writeIntAttr(const char* name, int v, bool skipZero) {
    if (!leavesOut(v == 0, skipZero)) writeSimplestAttr(name, NumberText(v));
}

void MLDocOut::writeUIntAttr(const char* name, unsigned v, bool skipZero) {
    if (!leavesOut(v == 0, skipZero)) writeSimplestAttr(name, NumberText(v));
}

void MLDocOut::writeInt64Attr(const char* name, std::int64_t v, bool skipZero) {
    if (!leavesOut(v == 0, skipZero)) writeSimplestAttr(name, NumberText(v));
}

void MLDocOut::writeUInt64Attr(const char* name, std::uint64_t v, bool skipZero) {
    if (!leavesOut(v == 0, skipZero)) writeSimplestAttr(name, NumberText(v));
}

void MLDocOut::writeDoubleAttr(const char* name, double v, bool skipZero) {
    if (leavesOut(v == 0, skipZero)) return;
    char text[512];  // the largest double has 309 digits before its point
    writeSimplestAttr(name, ChPair(text, std::snprintf(text, sizeof text, "%f", v)));
}

void MLDocOut::writeBoolAttr(const char* name, bool v) { writeSimplestAttr(name, v ? "true" : "false"); }

void MLDocOut::writeHexAttr(const char* name, unsigned v, bool skipZero) {
    if (leavesOut(v == 0, skipZero)) return;
    char text[16];
    writeSimpleAttr(name, ChPair(text, std::snprintf(text, sizeof text, "0x%X", v)));
}

void MLDocOut::writeIPAttr(const char* name, unsigned ip, bool skipZero) {
    if (leavesOut(ip == 0, skipZero)) return;
    char text[16];
    int n = std::snprintf(text, sizeof text, "%u.%u.%u.%u", ip >> 24, (ip >> 16) & 0xFF, (ip >> 8) & 0xFF, ip & 0xFF);
    writeSimpleAttr(name, ChPair(text, n));
}

void MLDocOut::writeIPPortAttr(const char* name, unsigned ip, unsigned short port, bool skipZero) {
    if (leavesOut(ip == 0, skipZero)) return;
    char text[24];
    int n = std::snprintf(text, sizeof text, "%u.%u.%u.%u:%u", ip >> 24, (ip >> 16) & 0xFF, (ip >> 8) & 0xFF, ip & 0xFF,
                          static_cast<unsigned>(port));
    writeSimpleAttr(name, ChPair(text, n));
}

void MLDocOut::writeDateAttr(const char* name, std::int64_t t, bool skipZero) {
    if (leavesOut(t == 0, skipZero)) return;
    char text[128] = {0};
    if (t != 0) from_gmt_time_t_to_gmt_date_time_string_YYYYMMDDThhmmss(t, text);
    writeStrAttr(name, text);
}

void MLDocOut::writeDateAttr(const char* name, BagTime t, bool skipZero) { writeDateAttr(name, t.value, skipZero); }

void MLDocOut::writeEnumAttr(const char* name, unsigned v, const PairTag* tags) {
    if (const char* text = tags->translate(static_cast<int>(v))) writeSimpleAttr(name, text);
}

void MLDocOut::writeFlagsAttr(const char* name, unsigned v, const PairTag* tags) {
    writeAttrName(name);
    if (format == HTML) {
        write("<td>", 4);
    } else if (format != YAML) {
        write('"');
    }
    bool first = true;
    for (const PairTag* tag = tags; tag->name; ++tag) {
        auto bits = static_cast<unsigned>(tag->value);
        if ((v & bits) == 0) continue;
        v &= ~bits;
        if (!first) write(' ');
        first = false;
        write(ChPair(tag->name));
    }
    if (format == HTML) {
        write("</td>", 5);
    } else if (format == YAML) {
        writeLn(first ? "''" : "");
    } else {
        write('"');
    }
}
