// Attributes. Each typed writer makes a text and picks the value writer that suits it; quoting is the value writer's.
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
#include <velmora/text/digits.h>
#include <velmora/text/formatting.h>
#include <velmora/text/timetext.h>

namespace {

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

// The bytes before a name.
template <class Target>
VELMORA_ALWAYS_INLINE inline void MLDocOut::addLead(Target& target, bool first) {
    if (!has(AttributesOpen)) throw TTT(VELMORA_DICT, LCA__Could_not_write_attribute);
    switch (format) {
        case XML:
            if (has(CompactMode)) return target.add(' ');
            return target.add(lineEndFor(target), indentRun());
        case JSON:
            if (!has(CompactMode)) return target.add(Optional(',', !first), lineEndFor(target), indentRun());
            return first ? target.add(compactIndentRun()) : target.add(',', run(1, ' '));
        case YAML:
            return first ? target.add(dashRun(), Literal("- ")) : target.add(indentRun());
        case CSV:
            return target.add(Optional(',', !first));
        default:
            return;
    }
}

void MLDocOut::addName(Stage& stage, const ChPair& name) {
    addLead(stage, !has(NeedSeparator));
    switch (format) {
        case XML:
            if (!isShort(name)) return addPieces(stage, {name, "="});
            return stage.add(name, '=');
        case JSON:
            set(NeedSeparator);
            if (!isShort(name)) return addPieces(stage, {"\"", name, "\": "});
            return stage.add('"', name, Literal("\": "));
        case YAML:
            set(NeedSeparator);
            if (!isShort(name)) return addPieces(stage, {name, ": "});
            return stage.add(name, Literal(": "));
        case CSV:
            return set(NeedSeparator);
        default:
            return;
    }
}

VELMORA_ALWAYS_INLINE inline void MLDocOut::addName(InPlace& place, const Name& name) {
    addLead(place, !has(NeedSeparator));
    switch (format) {
        case XML:
            return place.add(name, '=');
        case JSON:
            set(NeedSeparator);
            return place.add('"', name, Literal("\": "));
        case YAML:
            set(NeedSeparator);
            return place.add(name, Literal(": "));
        case CSV:
            return set(NeedSeparator);
        default:
            return;
    }
}

// A value without escapes, and in JSON without quotes.
template <class Target, class Value>
VELMORA_ALWAYS_INLINE inline void MLDocOut::addBare(Target& target, const Value& v) {
    switch (format) {
        case XML:
            return target.add('"', v, '"');
        case JSON:
        case CSV:
            return target.add(v);
        case YAML:
            return target.add(v, lineEndFor(target));
        case HTML:
            return target.add(Literal("<td>"), v, Literal("</td>"));
        default:
            return;
    }
}

void MLDocOut::writeAttrName(const char* name) {
    putEntry(name, ChPair(), [this](auto& target, const auto& text) VELMORA_ALWAYS_INLINE {
        addName(target, text);
        return true;
    });
}

void MLDocOut::writeSimpleAttr(const char* name, const ChPair& v) {
    if (v.end < v.begin) return writeSimpleAttr(name, ChPair());  // a stale view
    if (format == YAML && v.empty()) return writeEmptyAttr(name);
    if (format != JSON) return writeSimplestAttr(name, v);
    putEntry(name, v, [this, &v](auto& target, const auto& text) VELMORA_ALWAYS_INLINE {
        addName(target, text);
        target.add('"', v, '"');
        return true;
    });
}

void MLDocOut::writeSimplestAttr(const char* name, const ChPair& v) {
    if (v.end < v.begin) return writeSimplestAttr(name, ChPair());
    putEntry(name, v, [this, &v](auto& target, const auto& text) VELMORA_ALWAYS_INLINE {
        addName(target, text);
        addBare(target, v);
        return true;
    });
}

void MLDocOut::writeEmptyAttr(const char* name) {
    putEntry(name, ChPair(), [this](auto& target, const auto& text) VELMORA_ALWAYS_INLINE {
        addName(target, text);
        switch (format) {
            case XML:
            case JSON:
                target.add(Literal("\"\""));
                break;
            case YAML:
                target.add(Literal("''"), lineEndFor(target));
                break;
            case HTML:
                target.add(Literal("<td></td>"));
                break;
            default:
                break;
        }
        return true;
    });
}

void MLDocOut::writeStrAttr(const char* name, const ChPair& v, bool skipEmpty) {
    if (v.end < v.begin) return writeStrAttr(name, ChPair(), skipEmpty);
    if (leavesOut(v.empty(), skipEmpty)) return;
    putEntry(name, v, [this, &v](auto& target, const auto& text) VELMORA_ALWAYS_INLINE {
        addName(target, text);
        switch (format) {
            case XML:
            case JSON:
            case CSV:
                return addQuotedEscaped(target, v);
            case YAML:
                if (!addYamlText(target, v)) return false;
                target.add(lineEndFor(target));
                return true;
            case HTML:
                target.add(Literal("<td>"));
                if (!addEscaped(target, v)) return false;
                target.add(Literal("</td>"));
                return true;
            default:
                return true;
        }
    });
}

template <class Target>
VELMORA_ALWAYS_INLINE inline bool MLDocOut::addYamlText(Target& target, const ChPair& v) {
    if (!v.empty() && needsYamlEscapes(v)) return addQuotedEscaped(target, v);
    if (!v.empty() && v.end[-1] != ' ' && mayBeginPlain(*v.begin)) {
        target.add(v);
    } else {
        target.add('\'', v, '\'');
    }
    return true;
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

// A number as a part: its text is made where it goes, if that is known to have room for the longest.
template <class T>
struct MLDocOut::Number {
    static constexpr int kMostBytes = velmora::detail::kMostDigits;

    T v;

    char* put(char* to) const { return velmora::detail::putDecimal(v, to); }
};

template <>
struct MLDocOut::Number<double> {
    static constexpr int kMostBytes = velmora::detail::kDoubleTextSize;

    double v;

    char* put(char* to) const { return velmora::detail::putDouble(v, to); }
};

template <class T>
inline void MLDocOut::writeNumber(const char* name, T v) {
    const Number<T> number{v};
    const auto put = [this, &number](InPlace& place, const Name& text) VELMORA_ALWAYS_INLINE {
        addName(place, text);
        addBare(place, number);
        return true;
    };
    if (putInPlace(name, ChPair(), Number<T>::kMostBytes, put)) return;
    char text[Number<T>::kMostBytes];
    writeSimplestAttr(name, ChPair(text, number.put(text)));
}

void MLDocOut::writeIntAttr(const char* name, int v, bool skipZero) {
    if (!leavesOut(v == 0, skipZero)) writeNumber(name, v);
}

void MLDocOut::writeUIntAttr(const char* name, unsigned v, bool skipZero) {
    if (!leavesOut(v == 0, skipZero)) writeNumber(name, v);
}

void MLDocOut::writeInt64Attr(const char* name, std::int64_t v, bool skipZero) {
    if (!leavesOut(v == 0, skipZero)) writeNumber(name, v);
}

void MLDocOut::writeUInt64Attr(const char* name, std::uint64_t v, bool skipZero) {
    if (!leavesOut(v == 0, skipZero)) writeNumber(name, v);
}

void MLDocOut::writeDoubleAttr(const char* name, double v, bool skipZero) {
    if (leavesOut(v == 0, skipZero)) return;
    writeNumber(name, v);
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
    addName(stage, ChPair(name));
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
