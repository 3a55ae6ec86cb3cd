// Attributes. Each typed writer makes a text and picks the value writer that suits it; quoting is the value writer's.
#include <charconv>
#include <cstdarg>
#include <cstdio>
#include <cstring>

#include <velmora/localization/keys.h>
#include <velmora/markup/mldocout.h>
#include <velmora/markup/mldocout_stage.h>
#include <velmora/markup/scan.h>
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
    using namespace velmora::detail;
    return scanUntil(
               v.begin, v.end,
               [](std::uint64_t b) {
                   return whereIs(b, '"') | whereIs(b, '\'') | whereIs(b, '-') | whereIs(b, '\\') | whereIs(b, ':') |
                          whereBelow(b, 0x20);
               },
               [](char c) {
                   return c == '"' || c == '\'' || c == '-' || c == '\\' || c == ':' ||
                          static_cast<unsigned char>(c) < 0x20;
               }) != v.end;
}

bool mayBeginPlain(char c) {
    return c == '_' || (c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') ||
           static_cast<unsigned char>(c) >= 0x80;
}

}  // namespace

// Rows keep their columns.
bool MLDocOut::leavesOut(bool nothing, bool skip) const { return nothing && skip && format != HTML && format != CSV; }

void MLDocOut::writeAttrName(const char* name) {
    Stage stage(*this);
    addName(stage, name);
    stage.flush();
}

void MLDocOut::addName(Stage& stage, const char* name) {
    if (!has(AttributesOpen)) throw TTT(VELMORA_DICT, LCA__Could_not_write_attribute);
    bool first = !has(NeedSeparator);
    ChPair text(name);
    bool isCut = !isShort(text);
    switch (format) {
        case XML:
            if (has(CompactMode)) {
                stage.add(' ');
            } else {
                addLineEnd(stage);
                addIndent(stage);
            }
            if (isCut) return addPieces(stage, {text, "="});
            stage.add(text);
            stage.add('=');
            break;
        case JSON:
            if (!first) stage.add(',');
            if (!has(CompactMode)) {
                addLineEnd(stage);
                addIndent(stage);
            } else if (first) {
                addCompactIndent(stage);
            } else {
                addChars(stage, 1, ' ');
            }
            set(NeedSeparator);
            if (isCut) return addPieces(stage, {"\"", text, "\": "});
            stage.add('"');
            stage.add(text);
            stage.literal("\": ");
            break;
        case YAML:
            if (first) {
                addDash(stage);
                set(NeedSeparator);
            } else {
                addIndent(stage);
            }
            if (isCut) return addPieces(stage, {text, ": "});
            stage.add(text);
            stage.literal(": ");
            break;
        case CSV:
            if (first) {
                set(NeedSeparator);
            } else {
                stage.add(',');
            }
            break;
        default:
            break;
    }
}

void MLDocOut::addQuoted(Stage& stage, const ChPair& v) {
    stage.add('"');
    stage.add(v);
    stage.add('"');
}

void MLDocOut::addQuotedEscaped(Stage& stage, const ChPair& v) {
    stage.add('"');
    addEscaped(stage, v);
    stage.add('"');
}

void MLDocOut::writeSimpleAttr(const char* name, const ChPair& v) {
    if (format == YAML && v.empty()) return writeEmptyAttr(name);
    if (format != JSON) return writeSimplestAttr(name, v);
    Stage stage(*this);
    addName(stage, name);
    addQuoted(stage, v);
    stage.flush();
}

void MLDocOut::writeSimplestAttr(const char* name, const ChPair& v) {
    Stage stage(*this);
    addName(stage, name);
    switch (format) {
        case XML:
            addQuoted(stage, v);
            break;
        case JSON:
        case CSV:
            stage.add(v);
            break;
        case YAML:
            stage.add(v);
            addLineEnd(stage);
            break;
        case HTML:
            stage.literal("<td>");
            stage.add(v);
            stage.literal("</td>");
            break;
        default:
            break;
    }
    stage.flush();
}

void MLDocOut::writeEmptyAttr(const char* name) {
    Stage stage(*this);
    addName(stage, name);
    switch (format) {
        case XML:
        case JSON:
            addQuoted(stage, ChPair());
            break;
        case YAML:
            stage.literal("''");
            addLineEnd(stage);
            break;
        case HTML:
            stage.literal("<td>");
            stage.literal("</td>");
            break;
        default:
            break;
    }
    stage.flush();
}

void MLDocOut::writeStrAttr(const char* name, const ChPair& v, bool skipEmpty) {
    if (leavesOut(v.empty(), skipEmpty)) return;
    Stage stage(*this);
    addName(stage, name);
    switch (format) {
        case XML:
        case JSON:
        case CSV:
            addQuotedEscaped(stage, v);
            break;
        case YAML:
            addYamlText(stage, v);
            addLineEnd(stage);
            break;
        case HTML:
            stage.literal("<td>");
            addEscaped(stage, v);
            stage.literal("</td>");
            break;
        default:
            break;
    }
    stage.flush();
}

void MLDocOut::addYamlText(Stage& stage, const ChPair& v) {
    if (!v.empty() && needsYamlEscapes(v)) {
        addQuotedEscaped(stage, v);
    } else if (!v.empty() && v.end[-1] != ' ' && mayBeginPlain(*v.begin)) {
        stage.add(v);
    } else {
        stage.add('\'');
        stage.add(v);
        stage.add('\'');
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
    Stage stage(*this);
    addName(stage, name);
    if (format == HTML) {
        stage.literal("<td>");
    } else if (format != YAML) {
        stage.add('"');
    }
    bool first = true;
    for (const PairTag* tag = tags; tag->name; ++tag) {
        auto bits = static_cast<unsigned>(tag->value);
        if ((v & bits) == 0) continue;
        v &= ~bits;
        if (!first) stage.add(' ');
        first = false;
        stage.add(ChPair(tag->name));
    }
    if (format == HTML) {
        stage.literal("</td>");
    } else if (format == YAML) {
        if (first) stage.literal("''");
        addLineEnd(stage);
    } else {
        stage.add('"');
    }
    stage.flush();
}
