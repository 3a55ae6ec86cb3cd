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
    using velmora::detail::Block;
    return velmora::detail::anyMarked(v.begin, v.len(), [](Block b) {
        return b.is('"') | b.is('\'') | b.is('-') | b.is('\\') | b.is(':') | b.isBelow(0x20);
    });
}

bool mayBeginPlain(char c) {
    return c == '_' || (c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') ||
           static_cast<unsigned char>(c) >= 0x80;
}

}  // namespace

// Rows keep their columns.
bool MLDocOut::leavesOut(bool nothing, bool skip) const { return nothing && skip && format != HTML && format != CSV; }

void MLDocOut::writeAttrName(const char* name) {
    Stage stage(*this, name);
    addName(stage, name);
    stage.flush();
}

void MLDocOut::addName(Stage& stage, const char* name) {
    if (!has(AttributesOpen)) throw TTT(VELMORA_DICT, LCA__Could_not_write_attribute);
    // The bytes before the name.
    const auto addLead = [this, &stage](bool first) {
        switch (format) {
            case XML:
                if (has(CompactMode)) return stage.add(' ');
                return stage.add(lineEnd(), indentRun());
            case JSON:
                if (!has(CompactMode)) return stage.add(Optional(',', !first), lineEnd(), indentRun());
                return first ? stage.add(compactIndentRun()) : stage.add(',', run(1, ' '));
            case YAML:
                return first ? stage.add(dashRun(), Literal("- ")) : stage.add(indentRun());
            case CSV:
                return stage.add(Optional(',', !first));
            default:
                return;
        }
    };
    addLead(!has(NeedSeparator));
    const ChPair text(name);
    switch (format) {
        case XML:
            if (!isShort(text)) return addPieces(stage, {text, "="});
            return stage.add(text, '=');
        case JSON:
            set(NeedSeparator);
            if (!isShort(text)) return addPieces(stage, {"\"", text, "\": "});
            return stage.add('"', text, Literal("\": "));
        case YAML:
            set(NeedSeparator);
            if (!isShort(text)) return addPieces(stage, {text, ": "});
            return stage.add(text, Literal(": "));
        case CSV:
            return set(NeedSeparator);
        default:
            return;
    }
}

void MLDocOut::addQuoted(Stage& stage, const ChPair& v) { stage.add('"', v, '"'); }

void MLDocOut::writeSimpleAttr(const char* name, const ChPair& v) {
    if (v.end < v.begin) return writeSimpleAttr(name, ChPair());  // a stale view
    if (format == YAML && v.empty()) return writeEmptyAttr(name);
    if (format != JSON) return writeSimplestAttr(name, v);
    Stage stage(*this, name, v.begin);
    addName(stage, name);
    addQuoted(stage, v);
    stage.flush();
}

void MLDocOut::writeSimplestAttr(const char* name, const ChPair& v) {
    if (v.end < v.begin) return writeSimplestAttr(name, ChPair());
    Stage stage(*this, name, v.begin);
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
            stage.add(v, lineEnd());
            break;
        case HTML:
            stage.add(Literal("<td>"), v, Literal("</td>"));
            break;
        default:
            break;
    }
    stage.flush();
}

void MLDocOut::writeEmptyAttr(const char* name) {
    Stage stage(*this, name);
    addName(stage, name);
    switch (format) {
        case XML:
        case JSON:
            addQuoted(stage, ChPair());
            break;
        case YAML:
            stage.add(Literal("''"), lineEnd());
            break;
        case HTML:
            stage.add(Literal("<td></td>"));
            break;
        default:
            break;
    }
    stage.flush();
}

void MLDocOut::writeStrAttr(const char* name, const ChPair& v, bool skipEmpty) {
    if (v.end < v.begin) return writeStrAttr(name, ChPair(), skipEmpty);
    if (leavesOut(v.empty(), skipEmpty)) return;
    Stage stage(*this, name, v.begin);
    addName(stage, name);
    switch (format) {
        case XML:
        case JSON:
        case CSV:
            addQuotedEscaped(stage, v);
            break;
        case YAML:
            addYamlText(stage, v);
            stage.add(lineEnd());
            break;
        case HTML:
            stage.add(Literal("<td>"));
            addEscaped(stage, v);
            stage.add(Literal("</td>"));
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
        stage.add('\'', v, '\'');
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
    char text[velmora::detail::kDoubleTextSize];
    writeSimplestAttr(name, ChPair(text, velmora::detail::putDouble(v, text)));
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
    Stage stage(*this, name);
    for (const PairTag* tag = tags; tag->name; ++tag) {
        if ((v & static_cast<unsigned>(tag->value)) != 0) stage.expect(tag->name);
    }
    addName(stage, name);
    if (format == HTML) {
        stage.add(Literal("<td>"));
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
        stage.add(Literal("</td>"));
    } else if (format == YAML) {
        if (first) stage.add(Literal("''"));
        stage.add(lineEnd());
    } else {
        stage.add('"');
    }
    stage.flush();
}
