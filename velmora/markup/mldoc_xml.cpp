// The XML stepper finds the bounds of tags and counts depth; the attribute reader scans a tag again, on demand. Nothing
// is kept between two calls but `position` and what stands in the caller's token.
//
// A failure leaves `position` behind the byte that was looked at last, and in the token what had been filled in.
//
// Common tags and attributes are taken by a look at the window of bytes ahead; see window.h.
#include <algorithm>
#include <array>
#include <cstring>

#include <velmora/localization/keys.h>
#include <velmora/markup/mldoc.h>
#include <velmora/markup/plain.h>
#include <velmora/markup/scan.h>
#include <velmora/markup/window.h>
#include <velmora/serial/ttt.h>

namespace {

using velmora::detail::Block;
using velmora::detail::Marks;
using velmora::detail::plainAttributeXml;
using velmora::detail::plainStepXml;
using velmora::detail::scanUntil;
using velmora::detail::Window;

// Classes of bytes.
constexpr char kBad = 0;
constexpr char kName = 'G';
constexpr char kWhite = 'W';
constexpr char kStructure = 'S';  // < > /

constexpr std::array<char, 256> makeClasses() {
    std::array<char, 256> table = {};  // all bad
    for (const char* c = "0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz_-.:"; *c; ++c) {
        table[static_cast<unsigned char>(*c)] = kName;
    }
    for (char c : {' ', '\t', '\n', '\r'}) table[static_cast<unsigned char>(c)] = kWhite;
    for (char c : {'<', '>', '/'}) table[static_cast<unsigned char>(c)] = kStructure;
    return table;
}
constexpr std::array<char, 256> classes = makeClasses();

inline char classOf(char c) { return classes[static_cast<unsigned char>(c)]; }

// The same for many bytes.
Block isName(Block b) {
    return b.withBit('a' ^ 'A').isBetween('a', 'z') | b.isBetween('0', ':') | b.isBetween('-', '.') | b.is('_');
}
Block isWhite(Block b) { return b.is(' ') | b.is('\t') | b.is('\n') | b.is('\r'); }
Block isQuote(Block b) { return b.is('"'); }
Block isTagBegin(Block b) { return b.is('<'); }
Block isTagEnd(Block b) { return b.is('>'); }
Block isSlash(Block b) { return b.is('/'); }
Block isControl(Block b) { return b.isBelow(0x20); }

[[noreturn]] void fail(int key) { throw TTT(VELMORA_DICT, key); }

// A stretch of the buffer and the place in it, which becomes the document's position when the scan is left, by
// whichever door.
class Scan {
public:
    const char* p;

    Scan(MLDoc& doc, const char* from, const char* to) : p(from), end_(to), doc_(doc) {}
    Scan(const Scan&) = delete;
    void operator=(const Scan&) = delete;
    ~Scan() { doc_.position = static_cast<std::uint32_t>(p - doc_.buffer); }

    std::size_t rest() const { return static_cast<std::size_t>(end_ - p); }

    // `key` is the failure when there is no further byte.
    char take(int key) {
        if (p == end_) fail(key);
        return *p++;
    }

    // Moves behind the next `c`. Without one, moves to the end; `key` is the failure.
    void passNext(char c, int key) {
        const void* found = std::memchr(p, c, rest());
        p = found ? static_cast<const char*>(found) + 1 : end_;
        if (!found) fail(key);
    }

    bool toEnd() {
        p = end_;
        return false;
    }

private:
    const char* const end_;
    MLDoc& doc_;
};

// Reads a tag's name. Returns: the byte that ends it, white space or tag structure.
char readTagName(Scan& scan, ChPair& name) {
    name.begin = const_cast<char*>(scan.p);
    for (;;) {
        char c = scan.take(LCA__XML_tag_is_not_finished);
        char type = classOf(c);
        auto taken = static_cast<std::uint64_t>(scan.p - name.begin);
        if (type == kName) {
            if (taken == MLDoc::TokenNameMax - 1) fail(LCA__Too_long_XML_tag);
            continue;
        }
        if (type == kBad) fail(LCA__Bad_character_in_XML_tag);
        if (c == '<') fail(LCA__Nested_XML_tag);
        if (taken == 1) fail(LCA__Empty_XML_tag);
        name.end = const_cast<char*>(scan.p - 1);
        return c;
    }
}

// Moves behind the '>' of a tag. Only the double quote hides one.
void passTagEnd(Scan& scan) {
    for (;;) {
        char c = scan.take(LCA__XML_tag_is_not_finished);
        if (c == '>') return;
        if (c == '"') scan.passNext('"', LCA__XML_tag_is_not_finished);
    }
}

// Moves behind a comment. The four bytes behind "<!" belong to it whatever they are: any such construct is taken for a
// comment, and the shortest one is "<!---->".
void passComment(Scan& scan) {
    constexpr std::size_t kDashes = 4;
    scan.p += std::min(kDashes, scan.rest());
    do scan.passNext('>', LCA__XML_comment_is_not_finished);
    while (scan.p[-2] != '-' || scan.p[-3] != '-');
}

// Moves behind the name of a tag and the white space that follows it. Returns: false when the tag has nothing else.
bool passTagName(Scan& scan) {
    for (;;) {
        char c = scan.take(LCA__Unexpected_end_of_token);
        if (c == '>') return false;
        if (classOf(c) == kWhite) return true;
    }
}

char takeBehindWhite(Scan& scan) {
    for (;;) {
        char c = scan.take(LCA__Unexpected_end_of_token);
        if (classOf(c) != kWhite) return c;
    }
}

// Reads an attribute's name, whose first byte has been taken. Returns: the byte that ends it, '=' or white space.
char readAttributeName(Scan& scan, ChPair& name) {
    name.begin = const_cast<char*>(scan.p - 1);
    for (;;) {
        bool tooLong = static_cast<std::uint64_t>(scan.p - name.begin) == MLDoc::AttributeNameMax;
        if (tooLong && scan.rest() != 0) fail(LCA__Too_long_attribute_name);
        char c = scan.take(LCA__End_of_attribute_name_is_not);
        char type = classOf(c);
        if (type == kName) continue;
        if (c != '=' && type != kWhite) fail(LCA__Bad_character_in_attribute_name);
        name.end = const_cast<char*>(scan.p - 1);
        return c;
    }
}

// Moves behind the quote that opens a value.
void passOpeningQuote(Scan& scan, bool seenEquals) {
    if (!seenEquals && takeBehindWhite(scan) != '=') fail(LCA__Character_expected_before_quote);
    char c = takeBehindWhite(scan);
    if (c == '=') fail(LCA__Duplicate_before_attribute_value);
    if (c != '"') fail(LCA__Initial_quote_expected_after);
}

// Reads the next attribute as it stands. Returns: false at the end of the list.
bool scanAttribute(Scan& scan, bool first, MLDoc::Attribute& attribute) {
    if (first && !passTagName(scan)) return scan.toEnd();
    char c = takeBehindWhite(scan);
    if (c == '!' || c == '-' || c == '/' || c == '>' || c == '?') return scan.toEnd();
    if (classOf(c) == kBad) fail(LCA__Bad_character_instead_begin_of);
    passOpeningQuote(scan, readAttributeName(scan, attribute.name) == '=');
    attribute.value.begin = const_cast<char*>(scan.p);
    scan.passNext('"', LCA__Closing_quote_is_missed);
    attribute.value.end = const_cast<char*>(scan.p - 1);
    return true;
}

bool isLineEnd(char c) { return c == '\r' || c == '\n'; }

void trimLineEnds(ChPair& value) {
    while (value.begin != value.end && isLineEnd(*value.begin)) ++value.begin;
    while (value.begin != value.end && isLineEnd(value.end[-1])) --value.end;
}

// ---- by windows ----

// The place after the '>' that ends a tag. `p` is the tag's first window, and `from` marks the tag's bytes in it.
const char* findTagEnd(const char* p, const char* bufferEnd, Marks from) {
    bool open = false;
    for (;;) {
        const Window window(p);
        const Marks quotes = window.marks(isQuote) & from;
        const Marks hidden = quotes.quoted(open);
        const Marks ends = window.marks(isTagEnd) & from & ~hidden;
        if (ends.any()) return p + ends.place() + 1;
        open = hidden.last();
        p += Window::kSize;
        if (open && !quotes.any()) {
            // The value is long: nothing counts before its quote.
            const void* quote = std::memchr(p, '"', static_cast<std::size_t>(bufferEnd - p));
            if (!quote) return nullptr;
            p = static_cast<const char*>(quote);
        }
        if (!Window::fits(p, bufferEnd)) return nullptr;
        from = Marks::all();
    }
}

// Where a tag may begin in a window that has white space before it.
constexpr Marks kNear((1u << 16) - 1);

// Takes the common tag: with a name, and without a failure.
bool takeTag(MLDoc& doc, MLDoc::Token& token) {
    const char* const bufferEnd = doc.buffer + doc.length;
    const char* p = doc.buffer + doc.position;
    if (doc.position > doc.length || !Window::fits(p, bufferEnd)) return false;
    Window window(p);
    Marks begin = window.marks(isTagBegin).first();
    if (!(begin & kNear).any()) {
        // The tag gets a window that begins with it.
        const void* tag = std::memchr(p, '<', static_cast<std::size_t>(bufferEnd - p));
        p = tag ? static_cast<const char*>(tag) : bufferEnd;
        if (!Window::fits(p, bufferEnd)) return false;
        window = Window(p);
        begin = Marks::atBegin();
    }
    const char* const body = p + begin.place();
    Marks name = begin.right();
    const bool ends = (window.marks(isSlash) & name).any();
    if (ends) name = name.right();
    const Marks nameEnd = (~window.marks(isName) & name.onward()).first();
    if (!name.any() || nameEnd == name || !nameEnd.any()) return false;
    const char c = p[nameEnd.place()];
    if (c != '>' && c != '/' && classOf(c) != kWhite) return false;
    const char* const end = findTagEnd(p, bufferEnd, begin.onward());
    if (!end) return false;
    token.name.assign(p + name.place(), p + nameEnd.place());
    token.body.assign(body, end);
    token.kind = 0;
    token.opening = !ends;
    token.closing = ends || end[-2] == '/';
    token.level += ends ? -1 : !token.closing;
    doc.position = static_cast<std::uint32_t>(end - doc.buffer);
    return true;
}

// The quote that ends a value, or a control byte.
Block isValueEnd(Block b) { return isQuote(b) | isControl(b); }

// Takes the common attribute: white space, a name, '="', and a value without control bytes. Most often the value begins
// in the first half of the window.
template <bool kFar>
bool takeAttributeAt(const char* p, const char* e, MLDoc& doc, MLDoc::Attribute& attribute) {
    const Window window(p);
    const auto marks = [&](auto where) { return kFar ? window.marks(where) : window.firstHalf(where); };
    const Marks opening = marks(isQuote).first();
    if (!opening.any()) return !kFar && takeAttributeAt<true>(p, e, doc, attribute);
    const char* const value = p + opening.place() + 1;
    const char* end = p + Window::kSize;
    const Marks ends = window.marks(isValueEnd) & opening.right().onward();
    if (ends.any()) {
        end = p + ends.place();
    } else {
        if (end >= e) return false;
        // A block may go beyond the tag, but not beyond the buffer.
        const char* limit = doc.buffer + doc.length;
        if (limit - e > Block::kSize) limit = e + Block::kSize;
        end = scanUntil(end, limit, isValueEnd, [](char) { return true; });
    }
    if (end >= e || *end != '"') return false;
    const Marks head = opening.left().before();
    const Marks white = marks(isWhite) & head;
    const Marks name = marks(isName) & head;
    if (!name.any() || !((white | name) == head) || !white.lead()) return false;
    const char* const nameBegin = p + name.place();
    if (*nameBegin == '-' || value[-2] != '=') return false;
    attribute.name.assign(nameBegin, value - 2);
    attribute.value.assign(value, end);
    doc.position = static_cast<std::uint32_t>(end + 1 - doc.buffer);
    return true;
}

bool takeAttribute(MLDoc& doc, const MLDoc::Token& token, MLDoc::Attribute& attribute) {
    const char* const b = token.body.begin;
    const char* const e = token.body.end;
    const char* const bufferEnd = doc.buffer + doc.length;
    const char* p = doc.buffer + doc.position;
    if (!(b < p && p < e)) {
        // The first one follows the tag's name.
        if (!(b < e) || b < doc.buffer || !Window::fits(b, bufferEnd)) return false;
        const Marks ends = Window(b).marks([](Block x) { return isWhite(x) | isTagEnd(x); });
        if (!ends.any()) return false;
        p = b + ends.place();
    }
    if (e > bufferEnd || !Window::fits(p, bufferEnd)) return false;
    return takeAttributeAt<false>(p, e, doc, attribute);
}

}  // namespace

// The table is a constant, so that documents of different threads are independent from the first on.
void xml_char_classes_prepare() {}

bool MLDoc::step_xml(Token& token) { return takeTag(*this, token) || plainStepXml(*this, token); }

bool MLDoc::attribute_xml(const Token& token, Attribute& attribute) {
    return takeAttribute(*this, token, attribute) || plainAttributeXml(*this, token, attribute);
}

namespace velmora::detail {

bool plainStepXml(MLDoc& doc, MLDoc::Token& token) {
    if (doc.position >= doc.length) return false;
    Scan scan(doc, doc.buffer + doc.position, doc.buffer + doc.length);
    const void* tag = std::memchr(scan.p, '<', scan.rest());
    if (!tag) return scan.toEnd();
    scan.p = static_cast<const char*>(tag) + 1;
    token.body.begin = const_cast<char*>(scan.p - 1);

    char last = ' ';
    char c = scan.take(LCA__XML_tag_is_not_finished);
    if (c == '!' || c == '?') {
        token.kind = c == '!' ? 2 : 1;
        token.opening = token.closing = false;
    } else {
        token.kind = 0;
        token.closing = c == '/';
        token.opening = !token.closing;
        if (token.closing) {
            --token.level;
        } else {
            --scan.p;
        }
        last = readTagName(scan, token.name);
    }
    if (token.kind == 2) {
        passComment(scan);
    } else if (last != '>') {
        passTagEnd(scan);
    }
    token.body.end = const_cast<char*>(scan.p);
    if (!token.opening) return true;
    // The byte before the '>' alone tells a self-closed element.
    token.closing = scan.p[-2] == '/';
    if (!token.closing) ++token.level;
    return true;
}

bool plainAttributeXml(MLDoc& doc, const MLDoc::Token& token, MLDoc::Attribute& attribute) {
    const char* b = token.body.begin;
    const char* e = token.body.end;
    const char* here = doc.buffer + doc.position;
    bool first = !(b < here && here < e);
    if (first && !(b < e)) fail(LCA__Unexpected_end_of_token);
    {
        Scan scan(doc, first ? b : here, e);
        if (!scanAttribute(scan, first, attribute)) return false;
    }
    trimLineEnds(attribute.value);
    bool warned = false;
    for (char* c = attribute.value.begin;; ++c) {
        c = const_cast<char*>(findControl(c, attribute.value.end));
        if (c == attribute.value.end) break;
        if (!warned) doc.warnSuspiciousAttribute(&token, &attribute);
        warned = true;
        willBlank(doc, c);
        *c = ' ';
    }
    return true;
}

}  // namespace velmora::detail
