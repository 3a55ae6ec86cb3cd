// Escaping works byte by byte, so that UTF-8 sequences pass through unchanged.
#include <velmora/markup/mldocout_escape.h>

#include <cstring>
#include <memory>
#include <string>

#include <velmora/markup/mldocout.h>
#include <velmora/markup/mldocout_stage.h>
#include <velmora/markup/scan.h>
#include <velmora/text/charr.h>
#include <velmora/text/overlap.h>

namespace {

using velmora::detail::marksJsonYaml;
using velmora::detail::marksXmlHtml;

// Hands out the stretches of `s` that stay and the replacements between them, in order. `find` gives the next byte that
// may have a replacement.
template <class Find, class Take>
void escapeStretches(MLDocOut::Escape function, Find find, const ChPair& s, Take take) {
    const char* from = s.begin;
    for (const char* p = s.begin; (p = find(p, s.end)) != s.end; ++p) {
        int length = 0;
        const char* replacement = function(*p, length);
        if (!replacement) continue;
        if (p != from) take(from, static_cast<int>(p - from));
        take(replacement, length);
        from = p + 1;
    }
    if (s.end != from) take(from, static_cast<int>(s.end - from));
}

const char* anyByte(const char* p, const char*) { return p; }

const char* findXmlHtml(const char* p, const char* end) {
    return velmora::detail::scanUntil(p, end, marksXmlHtml,
                                      [](char c) { return c == '"' || c == '&' || c == '\'' || c == '<' || c == '>'; });
}

const char* findJsonYaml(const char* p, const char* end) {
    return velmora::detail::scanUntil(
        p, end, marksJsonYaml, [](char c) { return c == '"' || c == '\\' || static_cast<unsigned char>(c) < 0x20; });
}

// The bytes that the library's two functions replace are known; a client's own function is asked for each. A stale view
// may end before it begins.
template <class Take>
void escapeText(MLDocOut::Escape function, const ChPair& s, Take take) {
    if (s.end < s.begin) return;
    if (function == velmora::detail::escapeXmlHtml) {
        escapeStretches(function, findXmlHtml, s, take);
    } else if (function == velmora::detail::escapeJsonYaml) {
        escapeStretches(function, findJsonYaml, s, take);
    } else {
        escapeStretches(function, anyByte, s, take);
    }
}

const char* literal(const char* text, int length, int& outLength) {
    outLength = length;
    return text;
}

}  // namespace

namespace velmora::detail {

const char* escapeXmlHtml(char c, int& length) {
    switch (c) {
        case '"':
            return literal("&quot;", 6, length);
        case '&':
            return literal("&amp;", 5, length);
        case '\'':
            return literal("&apos;", 6, length);
        case '<':
            return literal("&lt;", 4, length);
        case '>':
            return literal("&gt;", 4, length);
        default:
            return nullptr;
    }
}

const char* escapeJsonYaml(char c, int& length) {
    switch (c) {
        case '\b':
            return literal("\\b", 2, length);
        case '\t':
            return literal("\\t", 2, length);
        case '\n':
            return literal("\\n", 2, length);
        case '\f':
            return literal("\\f", 2, length);
        case '\r':
            return literal("\\r", 2, length);
        case '"':
            return literal("\\\"", 2, length);
        case '\\':
            return literal("\\\\", 2, length);
        default:
            return nullptr;
    }
}

}  // namespace velmora::detail

void MLDocOut::escapeString(Escape fn, const ChPair& s, ChArr& out) {
    std::size_t size = 0;
    escapeText(fn, s, [&](const char*, int n) { size += static_cast<std::size_t>(n); });
    std::unique_ptr<char[]> escaped;
    if (size != 0) {
        escaped.reset(new char[size + 1]);
        char* p = escaped.get();
        escapeText(fn, s, [&](const char* text, int n) {
            std::memcpy(p, text, static_cast<std::size_t>(n));
            p += n;
        });
        *p = 0;
    }
    const std::unique_ptr<char[]> former(out.steal());  // not earlier: the text may lie in it
    out.data = escaped.release();
}

void MLDocOut::escapeString(Escape fn, const ChPair& s, Bag& out) {
    if (s.begin < s.end && velmora::detail::liesIn(s.begin, out.data, out.bufferSize)) {
        const std::string copy(s.begin, s.end);
        return escapeString(fn, ChPair(copy), out);
    }
    escapeText(fn, s, [&](const char* text, int n) { out.putData(text, n); });
}

void MLDocOut::escapeStringXMLHTML(const ChPair& s, ChArr& out) {
    escapeString(velmora::detail::escapeXmlHtml, s, out);
}

void MLDocOut::escapeStringXMLHTML(const ChPair& s, Bag& out) { escapeString(velmora::detail::escapeXmlHtml, s, out); }

void MLDocOut::escapeStringJSONYAML(const ChPair& s, ChArr& out) {
    escapeString(velmora::detail::escapeJsonYaml, s, out);
}

void MLDocOut::escapeStringJSONYAML(const ChPair& s, Bag& out) {
    escapeString(velmora::detail::escapeJsonYaml, s, out);
}

// By way of a copy, so that `s` may lie in the Bag that it is written to.
void MLDocOut::writeEscaped(const ChPair& s) {
    Bag text;
    escapeString(s, text);
    if (!text.isEmpty()) write(text.data, text.size);
}

// Straight to the sink, in stretches.
bool MLDocOut::addEscaped(Stage& stage, const ChPair& s) {
    escapeText(escape, s, [&stage](const char* text, int n) { stage.addBytes(text, n); });
    return true;
}

// Most values need no escape: these are looked at and copied in one go.
bool MLDocOut::addQuotedEscaped(Stage& stage, const ChPair& s) {
    if (escape == velmora::detail::escapeXmlHtml
            ? stage.addQuotedUnless(s, marksXmlHtml)
            : escape == velmora::detail::escapeJsonYaml && stage.addQuotedUnless(s, marksJsonYaml)) {
        return true;
    }
    stage.add('"');
    addEscaped(stage, s);
    stage.add('"');
    return true;
}
