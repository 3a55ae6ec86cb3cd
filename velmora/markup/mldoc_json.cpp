// JSON, shaped like tags: an object is a token, a member with a string or a word is an attribute, a member with an
// array is a list of child objects under the member's name; only the root may hold an object as a member. The steps
// resume from three things: `position`, the stack `openNames`, and the byte before `position`.
//
// At rest `openNames` holds token.level entries, or one more while a list is open and none of its items is. Entry i
// names a token that opens at level i + 1; entry 0 is the root's empty name.
#include <algorithm>
#include <array>

#include <velmora/localization/keys.h>
#include <velmora/markup/mldoc.h>
#include <velmora/markup/scan.h>
#include <velmora/serial/ttt.h>

namespace {

// Kinds of lexical tokens; the others are the bytes , : [ ] { } themselves.
constexpr int kEnd = 0;
constexpr int kQuoted = 'q';
constexpr int kWord = 's';

[[noreturn]] void fail(int key) { throw TTT(VELMORA_DICT, key); }

// Classes of bytes; what a word may go on with has none.
enum Class : unsigned char { kOther, kWhite, kStructure, kQuote, kHigh };

constexpr std::array<Class, 256> makeClasses() {
    std::array<Class, 256> table = {};
    for (std::size_t i = 0; i <= ' '; ++i) table[i] = kWhite;
    for (std::size_t i = 128; i < 256; ++i) table[i] = kHigh;
    for (char c : {',', ':', '[', ']', '{', '}'}) table[static_cast<unsigned char>(c)] = kStructure;
    table['"'] = kQuote;
    return table;
}
constexpr std::array<Class, 256> classes = makeClasses();

Class classOf(char c) { return classes[static_cast<unsigned char>(c)]; }

bool isStructure(char c) { return classOf(c) == kStructure; }

// Every byte up to the blank is white. Most often there is none, or one, or a line end and an indent.
const char* passWhite(const char* p, const char* end) {
    if (p == end || classOf(*p) != kWhite) return p;
    ++p;
    return p == end || classOf(*p) != kWhite ? p : velmora::detail::passBlanks(p, end);
}

template <class... Kinds>
bool oneOf(int kind, Kinds... kinds) {
    return ((kind == kinds) || ...);
}

}  // namespace

// The rest of the buffer, and the place in it, which becomes the document's position when the cursor goes, by whichever
// door.
class MLDoc::JsonCursor {
public:
    explicit JsonCursor(MLDoc& doc)
        : doc_(doc), p_(doc.buffer + std::min(doc.position, doc.length)), end_(doc.buffer + doc.length) {}
    JsonCursor(const JsonCursor&) = delete;
    void operator=(const JsonCursor&) = delete;
    ~JsonCursor() { doc_.position = static_cast<std::uint32_t>(p_ - doc_.buffer); }

    const char* here() const { return p_; }
    void moveTo(const char* p) { p_ = p; }

    // Passes this byte of structure if it comes at once, as most do. Other white space and kinds are for next.
    bool pass(char c) {
        if (p_ == end_ || *p_ != c) return false;
        ++p_;
        return true;
    }

    int next(ChPair& text) {
        p_ = passWhite(p_, end_);
        if (p_ == end_) return kEnd;
        char c = *p_;
        switch (classOf(c)) {
            case kStructure:
                ++p_;
                return c;
            case kQuote:
                ++p_;
                readString(text);
                return kQuoted;
            default:
                readWord(text);
                return kWord;
        }
    }

private:
    MLDoc& doc_;
    const char* p_;
    const char* const end_;

    // Behind an opening quote. The text stays raw; a backslash only guards the byte behind it.
    void readString(ChPair& text) {
        text.begin = const_cast<char*>(p_);
        for (;; ++p_) {
            p_ = velmora::detail::findEither(p_, end_, '"', '\\');
            if (p_ == end_) fail(LCA__Closing_quote_is_missed);
            if (*p_ == '"') break;
            if (++p_ == end_) fail(LCA__Unsupported_escape_sequence);
        }
        text.end = const_cast<char*>(p_++);
    }

    // The first byte of a word may be any; of the others none may be above 127.
    void readWord(ChPair& text) {
        text.begin = const_cast<char*>(p_++);
        while (p_ != end_ && classOf(*p_) == kOther) ++p_;
        text.end = const_cast<char*>(p_);
        if (p_ != end_ && classOf(*p_) == kHigh) {
            ++p_;
            fail(LCA__Bad_character);
        }
    }
};

int MLDoc::get_json_token(ChPair& text) {
    if (position >= length) return kEnd;
    return JsonCursor(*this).next(text);
}

// What the byte before the cursor says of the token before: all that is not structure reads as a word.
int MLDoc::previousJsonKind() const {
    if (position == 0) return kEnd;
    char c = buffer[position - 1];
    return isStructure(c) && c != ':' ? c : kWord;
}

bool MLDoc::step_json(Token& token) {
    if (position >= length) return false;
    int previous = previousJsonKind();
    JsonCursor cursor(*this);
    ChPair text;
    for (int kind; (kind = cursor.next(text)) != kEnd; previous = kind) {
        switch (kind) {
            case ',':
                if (!oneOf(previous, ']', '}', kWord, kQuoted)) fail(LCA__Unexpected);
                break;
            case ']':
                if (!oneOf(previous, '}', '[', ',')) fail(LCA__Unexpected__2);
                if (token.level + 1 != openNames.count || token.level < 0) fail(LCA__Bad_nesting);
                openNames.cutTo(token.level);
                break;
            case kQuoted:
                if (!oneOf(previous, '{', ',')) fail(LCA__Unexpected_string);
                kind = passJsonMember(cursor, token, text);
                break;
            case '{':
                openJsonToken(token, previous);
                return deliverJsonToken(cursor, token, true);
            case '}':
                closeJsonToken(token, previous);
                return deliverJsonToken(cursor, token, false);
            default:
                fail(LCA__Unexpected_JSON_item);
        }
    }
    if (token.level != 0 || openNames.count != 1 || previous != '}') fail(LCA__Bad_nesting);
    openNames.removeAll();
    return false;
}

// Behind a key. Returns: the kind that the next token sees as the one before it.
int MLDoc::passJsonMember(JsonCursor& cursor, const Token& token, const ChPair& key) {
    ChPair text;
    if (cursor.next(text) != ':') fail(LCA__Expected__0);
    const char* behindColon = cursor.here();
    int kind = cursor.next(text);
    if (kind == '[') {
        if (token.level != openNames.count) fail(LCA__Bad_nesting);
        openNames.append(key);
    } else if (kind == '{' && token.level == 1 && openNames.count == 1) {
        cursor.moveTo(behindColon);  // the brace is read again, as the child's own
        openNames.append(key);
        kind = kWord;
    } else if (kind != kQuoted && kind != kWord) {
        fail(LCA__Expected_string);
    }
    return kind;
}

void MLDoc::openJsonToken(Token& token, int previous) {
    bool member = previous == kWord && openNames.count == 2;
    if (!oneOf(previous, kEnd, '[', ',') && !member) fail(LCA__Unexpected__1);
    if (token.level + 1 != openNames.count || token.level < 0) fail(LCA__Bad_nesting);
    token.name = openNames[token.level++];
}

void MLDoc::closeJsonToken(Token& token, int previous) {
    if (token.level == 1 && previous == '}') {
        // The root closes right behind an object member, whose name goes only here.
        if (openNames.count != 2) fail(LCA__Unexpected__0);
        openNames.cutTo(1);
    } else if (!oneOf(previous, ']', kQuoted, kWord, '{', ',')) {
        fail(LCA__Unexpected__0);
    }
    if (token.level != openNames.count || token.level < 1) fail(LCA__Bad_nesting);
    token.name = openNames[--token.level];
}

bool MLDoc::deliverJsonToken(const JsonCursor& cursor, Token& token, bool opening) {
    token.body.assign(cursor.here(), buffer + length);
    token.kind = 0;
    token.opening = opening;
    token.closing = !opening;
    return true;
}

bool MLDoc::attribute_json(const Token& token, Attribute& attribute) {
    JsonCursor cursor(*this);
    ChPair text;
    const bool passed = cursor.pass(',');
    int kind = cursor.next(text);
    if (!passed && kind == ',') kind = cursor.next(text);
    switch (kind) {
        case kQuoted:
            break;
        case '}':
            cursor.moveTo(cursor.here() - 1);
            return false;
        case '[':
        case ']':
        case '{':
            fail(LCA__Bad_nesting);
        default:
            fail(LCA__Unexpected_JSON_item);
    }
    ChPair key = text;
    if (!cursor.pass(':') && cursor.next(text) != ':') fail(LCA__Expected__0);
    const char* behindColon = cursor.here();
    kind = cursor.next(text);
    if (kind == kQuoted || kind == kWord) {
        attribute.name = key;
        attribute.value = text;
        return true;
    }
    bool member = kind == '{' && openNames.count == 1;
    if (member) {
        cursor.moveTo(behindColon);
    } else if (kind != '[') {
        fail(LCA__Expected_string);
    }
    // Attributes end at the first list; stepping goes on inside it.
    if (token.level != openNames.count) fail(LCA__Bad_nesting);
    openNames.append(key);
    return false;
}
