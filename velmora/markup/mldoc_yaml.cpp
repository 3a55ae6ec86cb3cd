// YAML by lines: "key: value" lines and lists of records. get_yaml_line reads one line ahead into the yaml fields
// and keeps it there until it is used, because only a later line shows that a token has ended. States:
//
//     0  nothing delivered                       4  a closing token went out, the pending line is still to be judged
//     1  a line is pending, no attribute         6  the input has ended, closing tokens remain
//     2  a token has opened, its first line is   7  finished
//        pending as an attribute
//     3  attributes are being read, no line is pending
//
// `openNames` holds the root's empty name and one per open list; entry i names a token at level i + 1.
//
// Common lines are taken by a look at the window of bytes ahead; see window.h.
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
using velmora::detail::Window;

enum State { kStart = 0, kPending = 1, kOpened = 2, kReading = 3, kClosed = 4, kEnding = 6, kFinished = 7 };

constexpr char kNoValue = 0;
constexpr char kDoubleQuoted = 'q';
constexpr char kSingleQuoted = 'a';
constexpr char kPlain = 's';

constexpr int kTabIndent = 4;
constexpr int kDashIndent = 2;

[[noreturn]] void fail(int key) { throw TTT(VELMORA_DICT, key); }

bool isBlank(char c) { return c == ' ' || c == '\t'; }
bool isLineEnd(char c) { return c == '\r' || c == '\n'; }

// The bytes that a plain value may begin with: '-', '_', digits, letters, all above ASCII.
constexpr std::array<bool, 256> makePlainBegins() {
    std::array<bool, 256> begins = {};
    for (unsigned c = 0; c < 256; ++c) {
        begins[c] = c == '-' || c == '_' || (c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') ||
                    (c >= 'a' && c <= 'z') || c >= 0x80;
    }
    return begins;
}
constexpr std::array<bool, 256> plainBegins = makePlainBegins();

bool mayBeginPlain(char c) { return plainBegins[static_cast<unsigned char>(c)]; }

// The rest of the buffer. The document's position follows it out by whichever door.
class Line {
public:
    explicit Line(MLDoc& doc) : doc_(doc), p_(doc.buffer + doc.position), end_(doc.buffer + doc.length) {}
    Line(const Line&) = delete;
    void operator=(const Line&) = delete;
    ~Line() { doc_.position = static_cast<std::uint32_t>(p_ - doc_.buffer); }

    char* here() const { return p_; }
    char* bufferEnd() const { return end_; }
    bool atEnd() const { return p_ == end_; }
    std::size_t rest() const { return static_cast<std::size_t>(end_ - p_); }
    char peek(std::size_t ahead = 0) const { return p_[ahead]; }
    void pass(std::size_t n = 1) { p_ += n; }

    // Refuses the byte at hand: a failure stands one past what was looked at.
    [[noreturn]] void refuse(int key) {
        if (!atEnd()) ++p_;
        fail(key);
    }

    // A further byte must be there.
    void need(int key) {
        if (atEnd()) fail(key);
    }

    void moveTo(const char* p) { p_ += p - p_; }

    void passBlanks() {
        while (!atEnd() && isBlank(*p_)) ++p_;
    }

    // Moves onto the next `c`, which must be there.
    void findNext(char c, int key) {
        void* found = std::memchr(p_, c, rest());
        p_ = found ? static_cast<char*>(found) : end_;
        need(key);
    }

private:
    MLDoc& doc_;
    char* p_;
    char* end_;
};

// Moves onto the quote that ends the value. Line ends belong to it.
void findDoubleQuote(Line& line) {
    for (;; line.pass()) {
        line.moveTo(velmora::detail::findEither(line.here(), line.bufferEnd(), '"', '\\'));
        line.need(LCA__Closing_quote_is_missed);
        if (line.peek() == '"') return;
        line.pass();
        line.need(LCA__Unsupported_escape_sequence);
    }
}

// The same for a single quote. The value goes on when the second byte behind its quote is a quote too: one byte further
// than a doubled quote would need, and documents are read this way by definition.
void findSingleQuote(Line& line) {
    line.findNext('\'', LCA__Closing_quote_is_missed);
    while (line.rest() > 2 && line.peek(2) == '\'') line.pass(2);
}

Block isPlainStop(Block b) { return b.is(':') | b.is('\r') | b.is('\n'); }

// A plain value ends with its line, or at a colon that would make it a key.
const char* findPlainEnd(const char* p, const char* end) {
    for (;; ++p) {
        p = velmora::detail::scanFarUntil(p, end, isPlainStop, [](char c) { return c == ':' || isLineEnd(c); });
        if (p == end || *p != ':') return p;
        if (end - p > 1 && static_cast<unsigned char>(p[1]) <= ' ') return p;
    }
}

// Reads the value at hand, if it is one. Its kind and its begin are known before its end is found.
void readValue(Line& line, char& kind, ChPair& value) {
    kind = kNoValue;
    if (!line.atEnd()) {
        char c = line.peek();
        kind = c == '"' ? kDoubleQuoted : c == '\'' ? kSingleQuoted : mayBeginPlain(c) ? kPlain : kNoValue;
    }
    bool quoted = kind == kDoubleQuoted || kind == kSingleQuoted;
    if (quoted) line.pass();
    value.begin = line.here();
    if (kind == kDoubleQuoted) findDoubleQuote(line);
    if (kind == kSingleQuoted) findSingleQuote(line);
    if (kind == kPlain) line.moveTo(findPlainEnd(line.here(), line.bufferEnd()));
    value.end = line.here();
    if (quoted) line.pass();
}

void readKey(Line& line, ChPair& name) {
    if (line.peek() == '\'' || line.peek() == '"') line.refuse(LCA__Quoted_names_are_not_supported);
    name.begin = line.here();
    for (;; line.pass()) {
        line.need(LCA__Expected__0);
        if (isBlank(line.peek()) || line.peek() == ':') break;
        if (isLineEnd(line.peek())) line.refuse(LCA__Expected__0);
    }
    name.end = line.here();
    if (name.empty()) line.refuse(LCA__Empty_name);
}

void passColon(Line& line) {
    line.passBlanks();
    line.need(LCA__Expected__0);
    if (line.peek() != ':') line.refuse(LCA__Spaces_and_in_names_are_not);
    line.pass();
    line.need(LCA__Expected_space_or_new_line);
    if (!isBlank(line.peek()) && !isLineEnd(line.peek())) line.refuse(LCA__Character_in_names_is_not);
    line.passBlanks();
}

void passLineEnd(Line& line) {
    line.passBlanks();
    if (!line.atEnd() && line.peek() == '\r') line.pass();
    if (line.atEnd()) return;
    if (line.peek() != '\n') line.refuse(LCA__Expected_end_of_line);
    line.pass();
}

// Measures the indent of the next line that is not blank. Returns: false when there is none.
bool passIndent(Line& line, ChPair& lineStart, int& indent) {
    for (;;) {
        lineStart.begin = line.here();
        const char* start = line.here();
        line.moveTo(velmora::detail::passRun(start, line.bufferEnd(), ' '));
        indent = static_cast<int>(line.here() - start);
        for (; !line.atEnd() && isBlank(line.peek()); line.pass()) indent += line.peek() == '\t' ? kTabIndent : 1;
        if (line.atEnd()) return false;
        if (!isLineEnd(line.peek())) return true;
        line.pass();
    }
}

VELMORA_NOINLINE bool readLine(MLDoc& doc) {
    if (doc.position >= doc.length) return false;
    Line line(doc);
    int indent;
    if (!passIndent(line, doc.yamlRest, indent)) return false;
    doc.yamlItem = line.peek() == '-' && line.rest() > 1 && line.peek(1) == ' ';
    if (doc.yamlItem) {
        indent += kDashIndent;
        line.pass(2);
        line.need(LCA__Expected_attribute_name);
    }
    doc.yamlLevel = 0;
    if (indent != 0) {
        if (doc.yamlIndentUnit == 0) doc.yamlIndentUnit = indent;  // the first indented line fixes the unit
        doc.yamlLevel = indent / doc.yamlIndentUnit;
        if (indent % doc.yamlIndentUnit != 0) {
            if (doc.yamlItem) fail(LCA__Invalid_indent);
            line.refuse(LCA__Invalid_indent);
        }
    }
    readKey(line, doc.yamlName);
    passColon(line);
    readValue(line, doc.yamlValueKind, doc.yamlValue);
    passLineEnd(line);
    doc.yamlRest.assign(line.here(), line.bufferEnd());
    return true;
}

// Where a line may begin in a window that has an indent before it, and where the key of a line that goes on after the
// window may end: the two bytes after it are still in the window.
constexpr Marks kNear((1u << 14) - 1);
constexpr Marks kKeyEnds(~0u >> 2);

// Stores a view at once, as it is copied at once soon after: a copy would have to wait for two stores.
void set(ChPair& view, const char* begin, const char* end) {
    static_assert(sizeof view == Block::kSize && sizeof begin == 8);
    Block(reinterpret_cast<std::uintptr_t>(begin), reinterpret_cast<std::uintptr_t>(end)).store(&view);
}

// Takes the common line: blanks, a dash or none, a key, ':', and a blank and a plain value or nothing. The next line
// waits for the end of this one alone, so the end is found without the rest.
VELMORA_ALWAYS_INLINE inline bool takeLine(MLDoc& doc) {
    if (std::int64_t{doc.length} - doc.position < Window::kSize) return false;
    const char* const bufferEnd = doc.buffer + doc.length;
    const char* p = doc.buffer + doc.position;
    Window window(p);
    Marks spaces = window.marks([](Block b) { return b.is(' '); });
    Marks begin = (~spaces).first();
    int indent = 0;
    if (!(begin & kNear).any()) [[unlikely]] {
        // The line gets a window without its indent.
        const char* start = p;
        p = begin.any() ? p + begin.place() : velmora::detail::passRun(p + Window::kSize, bufferEnd, ' ');
        if (!Window::fits(p, bufferEnd)) return false;
        indent = static_cast<int>(p - start);
        window = Window(p);
        spaces = window.marks([](Block b) { return b.is(' '); });
        begin = Marks::atBegin();
    }
    const char* name = p + begin.place();
    indent += static_cast<int>(begin.place());
    const bool item = name[0] == '-' && name[1] == ' ';
    if (item) [[unlikely]] {
        name += kDashIndent;
        indent += kDashIndent;
        begin = begin.right().right();
    }
    // Most often the level is that of the line before: that is asked without a division.
    int level = doc.yamlLevel;
    if (doc.yamlIndentUnit <= 0 || std::int64_t{level} * doc.yamlIndentUnit != indent) [[unlikely]] {
        if (indent != 0 && doc.yamlIndentUnit <= 0) return false;
        level = indent == 0 ? 0 : indent / doc.yamlIndentUnit;
        if (level * doc.yamlIndentUnit != indent) return false;
    }
    const Marks colons = window.marks([](Block b) { return b.is(':'); });
    const Marks controls = window.marks([](Block b) { return b.isBelow('\r' + 1); });
    const Marks stops = (spaces | colons | controls) & begin.onward();
    if (!stops.any()) return false;
    const char* const nameEnd = p + stops.place();
    if (*nameEnd != ':' || nameEnd == name || *name == '"' || *name == '\'') return false;
    // In a window without an end, the two bytes after the key must be there.
    if (!controls.any() && !(stops.first() & kKeyEnds).any()) return false;

    const char* value = nameEnd + 1;
    char kind = kNoValue;
    if (*value == ' ') [[likely]] {
        ++value;
        if (!mayBeginPlain(*value)) return false;
        kind = kPlain;
    }
    const Marks others = colons.others() & controls.first().before();
    const char* end;
    const char* next;
    if (controls.any() && !others.any() && p[controls.place()] == '\n') [[likely]] {
        end = p + controls.place();
        if (kind == kNoValue && end != value) return false;
        next = end + 1;
    } else {
        // The value goes on after the window, or holds what may end it.
        end = value;
        if (kind == kPlain) end = findPlainEnd(others.any() || controls.any() ? value : p + Window::kSize, bufferEnd);
        next = end;
        if (next != bufferEnd && *next == '\r') ++next;
        if (next == bufferEnd || *next != '\n') return false;
        ++next;
    }
    set(doc.yamlName, name, nameEnd);
    set(doc.yamlValue, value, end);
    set(doc.yamlRest, next, bufferEnd);
    doc.yamlItem = item;
    doc.yamlLevel = level;
    doc.yamlValueKind = kind;
    doc.position = static_cast<std::uint32_t>(next - doc.buffer);
    return true;
}

template <bool kByWindows>
VELMORA_ALWAYS_INLINE inline bool nextLine(MLDoc& doc) {
    return (kByWindows && takeLine(doc)) || readLine(doc);
}

// The level that a token of the pending line would have.
int lineLevel(const MLDoc& doc) { return doc.yamlLevel + 1; }

bool isAttributeOf(const MLDoc& doc, const MLDoc::Token& token) {
    return !doc.yamlItem && lineLevel(doc) == token.level && doc.yamlValueKind != kNoValue;
}

void deliverRoot(MLDoc& doc, MLDoc::Token& token) {
    char* here = doc.buffer + doc.position;
    token.name.assign(here, here);
    token.body.assign(here, doc.buffer + doc.length);
    token.opening = true;
    token.closing = false;
    token.kind = 0;
    token.level = 1;
    doc.yamlState = kReading;
    doc.openNames.append(ChPair());
}

// What the pending line means for the token. Always delivers one.
template <bool kByWindows>
bool judgeLine(MLDoc& doc, MLDoc::Token& token) {
    const int level = lineLevel(doc);
    if (level < token.level) {
        // One line can close several levels, one step at a time.
        if (!doc.yamlItem && doc.yamlValueKind != kNoValue) fail(LCA__Normal_attributes_does_not);
        doc.step_yaml_close_token(token);
        doc.openNames.cutTo(token.level);
        doc.yamlState = kClosed;
        return true;
    }
    if (level > token.level) {
        if (level > token.level + 1 || doc.openNames.count != token.level + 1) fail(LCA__Bad_nesting);
        if (!doc.yamlItem) fail(LCA__Expected__1);
    } else {
        if (level != doc.openNames.count) fail(LCA__Bad_nesting);
        if (doc.yamlItem) {
            // The next item of the same list: its line stays pending while this one closes.
            doc.step_yaml_close_token(token);
            return true;
        }
        doc.openNames.append(doc.yamlName);
        if (!nextLine<kByWindows>(doc) || !doc.yamlItem || doc.yamlLevel != level)
            fail(LCA__Expected_first_item_of_array);
    }
    ++token.level;
    doc.step_yaml_open_token(token);
    return true;
}

template <bool kByWindows>
bool stepYaml(MLDoc& doc, MLDoc::Token& token) {
    switch (doc.yamlState) {
        case kStart:
            deliverRoot(doc, token);
            return true;
        case kOpened:  // its first line, pending as an attribute, is dropped
        case kReading:
            do {
                if (!nextLine<kByWindows>(doc)) return doc.step_yaml_finalize(token);
            } while (isAttributeOf(doc, token));
            doc.yamlState = kPending;
            return judgeLine<kByWindows>(doc, token);
        case kPending:
        case kClosed:
            return judgeLine<kByWindows>(doc, token);
        case kEnding:
            return doc.step_yaml_finalize(token);
        default:
            return false;
    }
}

void deliver(const MLDoc& doc, MLDoc::Attribute& attribute) {
    attribute.name = doc.yamlName;
    attribute.value = doc.yamlValue;
}

// All lines that no window takes. It is a function apart, so that the common line needs no stack frame.
VELMORA_NOINLINE bool attributeYaml(MLDoc& doc, const MLDoc::Token& token, MLDoc::Attribute& attribute) {
    if (doc.yamlState == kOpened) {
        // The first line of an item is an attribute even without a value; that is then empty.
        doc.yamlState = kReading;
    } else if (doc.yamlState == kReading) {
        if (!readLine(doc)) {
            doc.yamlState = kEnding;
            return false;
        }
        if (!isAttributeOf(doc, token)) {
            doc.yamlState = kPending;
            return false;
        }
    } else {
        return false;
    }
    deliver(doc, attribute);
    return true;
}

}  // namespace

bool MLDoc::get_yaml_line() { return nextLine<true>(*this); }

bool MLDoc::step_yaml(Token& token) { return stepYaml<true>(*this, token); }

void MLDoc::step_yaml_open_token(Token& token) {
    token.name = openNames[token.level - 1];
    token.body = yamlRest;
    token.opening = true;
    token.closing = false;
    token.kind = 0;
    yamlState = kOpened;
}

void MLDoc::step_yaml_close_token(Token& token) {
    if (token.level != openNames.count || token.level < 1) fail(LCA__Bad_nesting);
    token.name = openNames[--token.level];
    char* here = buffer + position;
    token.body.assign(here, here);
    token.opening = false;
    token.closing = true;
    token.kind = 0;
}

bool MLDoc::step_yaml_finalize(Token& token) {
    if (token.level == 0) {
        openNames.removeAll();
        yamlState = kFinished;
        return false;
    }
    yamlState = kEnding;
    step_yaml_close_token(token);
    openNames.cutTo(token.level);
    return true;
}

bool MLDoc::attribute_yaml(const Token& token, Attribute& attribute) {
    if (yamlState != kReading || !takeLine(*this)) return attributeYaml(*this, token, attribute);
    if (!isAttributeOf(*this, token)) {
        yamlState = kPending;
        return false;
    }
    deliver(*this, attribute);
    return true;
}

namespace velmora::detail {

bool plainYamlLine(MLDoc& doc) { return nextLine<false>(doc); }
bool plainStepYaml(MLDoc& doc, MLDoc::Token& token) { return stepYaml<false>(doc, token); }
bool plainAttributeYaml(MLDoc& doc, const MLDoc::Token& token, MLDoc::Attribute& attribute) {
    return attributeYaml(doc, token, attribute);
}

}  // namespace velmora::detail
