// YAML by lines: "key: value" lines and lists of records. get_yaml_line reads one line ahead into the yaml fields,
// where it stays until it has been dealt with, because only a later line tells that a token has ended. States:
//
//     0  nothing delivered                       4  a closing token went out, the pending line is still to be judged
//     1  a line is pending, no attribute         6  the input has ended, closing tokens remain
//     2  a token has opened, its first line is   7  finished
//        pending as an attribute
//     3  attributes are being read, no line is pending
//
// `openNames` holds the root's empty name and one per open list; entry i names a token at level i + 1.
#include <cstring>

#include <velmora/localization/keys.h>
#include <velmora/markup/mldoc.h>
#include <velmora/markup/scan.h>
#include <velmora/serial/ttt.h>

namespace {

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

bool mayBeginPlain(char c) {
    return c == '-' || c == '_' || (c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') ||
           static_cast<unsigned char>(c) >= 0x80;
}

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

// A plain value ends with its line, or at a colon that would make it a key.
void findPlainEnd(Line& line) {
    using namespace velmora::detail;
    for (;; line.pass()) {
        line.moveTo(scanUntil(
            line.here(), line.bufferEnd(), [](Block b) { return b.is(':') | b.is('\r') | b.is('\n'); },
            [](char c) { return c == ':' || isLineEnd(c); }));
        if (line.atEnd() || line.peek() != ':') return;
        if (line.rest() > 1 && static_cast<unsigned char>(line.peek(1)) <= ' ') return;
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
    if (kind == kPlain) findPlainEnd(line);
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

}  // namespace

bool MLDoc::get_yaml_line() {
    if (position >= length) return false;
    Line line(*this);
    int indent;
    if (!passIndent(line, yamlRest, indent)) return false;
    yamlItem = line.peek() == '-' && line.rest() > 1 && line.peek(1) == ' ';
    if (yamlItem) {
        indent += kDashIndent;
        line.pass(2);
        line.need(LCA__Expected_attribute_name);
    }
    yamlLevel = 0;
    if (indent != 0) {
        if (yamlIndentUnit == 0) yamlIndentUnit = indent;  // the first indented line fixes the unit
        yamlLevel = indent / yamlIndentUnit;
        if (indent % yamlIndentUnit != 0) {
            if (yamlItem) fail(LCA__Invalid_indent);
            line.refuse(LCA__Invalid_indent);
        }
    }
    readKey(line, yamlName);
    passColon(line);
    readValue(line, yamlValueKind, yamlValue);
    passLineEnd(line);
    yamlRest.assign(line.here(), line.bufferEnd());
    return true;
}

// The level that a token of the pending line would have.
int MLDoc::yamlLineLevel() const { return yamlLevel + 1; }

bool MLDoc::yamlLineIsAttributeOf(const Token& token) const {
    return !yamlItem && yamlLineLevel() == token.level && yamlValueKind != kNoValue;
}

bool MLDoc::step_yaml(Token& token) {
    switch (yamlState) {
        case kStart:
            deliverYamlRoot(token);
            return true;
        case kOpened:  // its first line, pending as an attribute, is dropped
        case kReading:
            do {
                if (!get_yaml_line()) return step_yaml_finalize(token);
            } while (yamlLineIsAttributeOf(token));
            yamlState = kPending;
            return judgeYamlLine(token);
        case kPending:
        case kClosed:
            return judgeYamlLine(token);
        case kEnding:
            return step_yaml_finalize(token);
        default:
            return false;
    }
}

void MLDoc::deliverYamlRoot(Token& token) {
    char* here = buffer + position;
    token.name.assign(here, here);
    token.body.assign(here, buffer + length);
    token.opening = true;
    token.closing = false;
    token.kind = 0;
    token.level = 1;
    yamlState = kReading;
    openNames.append(ChPair());
}

// What the pending line means for the token. Always delivers one.
bool MLDoc::judgeYamlLine(Token& token) {
    int lineLevel = yamlLineLevel();
    if (lineLevel < token.level) {
        // One line can close several levels, one step at a time.
        if (!yamlItem && yamlValueKind != kNoValue) fail(LCA__Normal_attributes_does_not);
        step_yaml_close_token(token);
        openNames.cutTo(token.level);
        yamlState = kClosed;
        return true;
    }
    if (lineLevel > token.level) {
        if (lineLevel > token.level + 1 || openNames.count != token.level + 1) fail(LCA__Bad_nesting);
        if (!yamlItem) fail(LCA__Expected__1);
    } else {
        if (lineLevel != openNames.count) fail(LCA__Bad_nesting);
        if (yamlItem) {
            // The next item of the same list: its line stays pending while this one closes.
            step_yaml_close_token(token);
            return true;
        }
        openNames.append(yamlName);
        if (!get_yaml_line() || !yamlItem || yamlLevel != lineLevel) fail(LCA__Expected_first_item_of_array);
    }
    ++token.level;
    step_yaml_open_token(token);
    return true;
}

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
    if (yamlState == kOpened) {
        // The first line of an item is an attribute even without a value; that is then empty.
        yamlState = kReading;
    } else if (yamlState == kReading) {
        if (!get_yaml_line()) {
            yamlState = kEnding;
            return false;
        }
        if (!yamlLineIsAttributeOf(token)) {
            yamlState = kPending;
            return false;
        }
    } else {
        return false;
    }
    attribute.name = yamlName;
    attribute.value = yamlValue;
    return true;
}
