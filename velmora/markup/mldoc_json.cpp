// JSON, shaped like tags: an object is a token, a member with a string or a word is an attribute, a member with an
// array is a list of child objects under the member's name; only the root may hold an object as a member. The steps
// resume from three things: `position`, the stack `openNames`, and the byte before `position`.
//
// At rest `openNames` holds token.level entries, or one more while a list is open and none of its items is. Entry i
// names a token that opens at level i + 1; entry 0 is the root's empty name.
//
// Common members are taken by a look at the window of bytes ahead; see window.h.
#include <algorithm>
#include <array>

#include <velmora/localization/keys.h>
#include <velmora/markup/mldoc.h>
#include <velmora/markup/plain.h>
#include <velmora/markup/scan.h>
#include <velmora/markup/window.h>
#include <velmora/serial/ttt.h>

namespace {

using velmora::detail::Block;
using velmora::detail::findEither;
using velmora::detail::Marks;
using velmora::detail::Window;

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

Block isStop(Block b) { return b.is('"') | b.is('\\'); }
Block isBlack(Block b) { return b.isAbove(' '); }

// Where a key may end in a window, so that the colon, a blank and the value's first byte are in it too.
constexpr Marks kKeyEnds(~0u >> 3);

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

// The rest of the buffer, and the place in it, which becomes the document's position when the cursor goes, by whichever
// door.
class JsonCursor {
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

    // Takes the common member: white space, a key, ':' with a blank or none, and a string, a word or the bracket that
    // opens a list; without a backslash. A list has no value, and its key is for `list`.
    // Returns: the kind of the value; kEnd for any other member, of which nothing is taken.
    int takeMember(MLDoc::Attribute& attribute, ChPair& list) {
        const char* p = p_;
        if (!Window::fits(p, end_)) return kEnd;
        // An indent goes by whole blocks, so that no place in the window has to wait for where the indent ends.
        while (!isBlack(Block::load(p)).any()) {
            p += Block::kSize;
            if (!Window::fits(p, end_)) return kEnd;
        }
        const Window window(p);
        const Marks stops = window.marks(isStop);
        if (!(window.firstHalf(isBlack).first() == stops.first())) return kEnd;
        const Marks closing = stops.others().first() & kKeyEnds;
        if (!closing.any()) return kEnd;
        const char* const key = p + stops.place() + 1;
        const char* const close = p + closing.place();
        if (key[-1] != '"' || close[0] != '"' || close[1] != ':') return kEnd;
        const char* begin = close + 2;
        if (*begin == ' ') ++begin;
        const char* end = begin;
        int kind = kWord;
        if (*begin == '"') {
            kind = kQuoted;
            ++begin;
            const Marks ends = stops.others().others().others();
            end = ends.any() ? p + ends.place() : findEither(p + Window::kSize, end_, '"', '\\');
            if (end == end_ || *end != '"') return kEnd;
            p_ = end + 1;
        } else if (*begin == '[') {
            p_ = begin + 1;
            list.assign(key, close);
            return '[';
        } else {
            while (end != end_ && classOf(*end) == kOther) ++end;
            if (end == begin || (end != end_ && classOf(*end) == kHigh)) return kEnd;
            p_ = end;
        }
        attribute.name.assign(key, close);
        attribute.value.assign(begin, end);
        return kind;
    }

    // The same with the comma before it, if the token before lets both come here.
    int takeMemberBehind(int previous, MLDoc::Attribute& attribute, ChPair& list) {
        const char* const before = p_;
        const bool passed = pass(',');
        const bool allowed = passed ? oneOf(previous, ']', '}', kWord, kQuoted) : oneOf(previous, '{', ',');
        const int kind = allowed ? takeMember(attribute, list) : kEnd;
        if (kind == kEnd) p_ = before;
        return kind;
    }

private:
    MLDoc& doc_;
    const char* p_;
    const char* const end_;

    // Behind an opening quote. The text stays raw; a backslash only guards the byte behind it.
    void readString(ChPair& text) {
        text.begin = const_cast<char*>(p_);
        for (;; ++p_) {
            p_ = findEither(p_, end_, '"', '\\');
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

void openList(MLDoc& doc, const MLDoc::Token& token, const ChPair& key) {
    if (token.level != doc.openNames.count) fail(LCA__Bad_nesting);
    doc.openNames.append(key);
}

// Behind a key. Returns: the kind that the next token sees as the one before it.
int passMember(MLDoc& doc, JsonCursor& cursor, const MLDoc::Token& token, const ChPair& key) {
    ChPair text;
    if (cursor.next(text) != ':') fail(LCA__Expected__0);
    const char* behindColon = cursor.here();
    int kind = cursor.next(text);
    if (kind == '[') {
        openList(doc, token, key);
    } else if (kind == '{' && token.level == 1 && doc.openNames.count == 1) {
        cursor.moveTo(behindColon);  // the brace is read again, as the child's own
        doc.openNames.append(key);
        kind = kWord;
    } else if (kind != kQuoted && kind != kWord) {
        fail(LCA__Expected_string);
    }
    return kind;
}

void openToken(const MLDoc& doc, MLDoc::Token& token, int previous) {
    bool member = previous == kWord && doc.openNames.count == 2;
    if (!oneOf(previous, kEnd, '[', ',') && !member) fail(LCA__Unexpected__1);
    if (token.level + 1 != doc.openNames.count || token.level < 0) fail(LCA__Bad_nesting);
    token.name = doc.openNames[token.level++];
}

void closeToken(MLDoc& doc, MLDoc::Token& token, int previous) {
    if (token.level == 1 && previous == '}') {
        // The root closes right behind an object member, whose name goes only here.
        if (doc.openNames.count != 2) fail(LCA__Unexpected__0);
        doc.openNames.cutTo(1);
    } else if (!oneOf(previous, ']', kQuoted, kWord, '{', ',')) {
        fail(LCA__Unexpected__0);
    }
    if (token.level != doc.openNames.count || token.level < 1) fail(LCA__Bad_nesting);
    token.name = doc.openNames[--token.level];
}

bool deliverToken(const MLDoc& doc, const JsonCursor& cursor, MLDoc::Token& token, bool opening) {
    token.body.assign(cursor.here(), doc.buffer + doc.length);
    token.kind = 0;
    token.opening = opening;
    token.closing = !opening;
    return true;
}

// What the byte before the cursor says of the token before: all that is not structure reads as a word.
int previousKind(const MLDoc& doc) {
    if (doc.position == 0) return kEnd;
    char c = doc.buffer[doc.position - 1];
    return isStructure(c) && c != ':' ? c : kWord;
}

template <bool kByWindows>
bool stepJson(MLDoc& doc, MLDoc::Token& token) {
    if (doc.position >= doc.length) return false;
    int previous = previousKind(doc);
    JsonCursor cursor(doc);
    ChPair text, list;
    MLDoc::Attribute passed;
    for (int kind;; previous = kind) {
        if (kByWindows) {
            kind = cursor.takeMemberBehind(previous, passed, list);
            if (kind == '[') openList(doc, token, list);
            if (kind != kEnd) continue;
        }
        kind = cursor.next(text);
        if (kind == kEnd) break;
        switch (kind) {
            case ',':
                if (!oneOf(previous, ']', '}', kWord, kQuoted)) fail(LCA__Unexpected);
                break;
            case ']':
                if (!oneOf(previous, '}', '[', ',')) fail(LCA__Unexpected__2);
                if (token.level + 1 != doc.openNames.count || token.level < 0) fail(LCA__Bad_nesting);
                doc.openNames.cutTo(token.level);
                break;
            case kQuoted:
                if (!oneOf(previous, '{', ',')) fail(LCA__Unexpected_string);
                kind = passMember(doc, cursor, token, text);
                break;
            case '{':
                openToken(doc, token, previous);
                return deliverToken(doc, cursor, token, true);
            case '}':
                closeToken(doc, token, previous);
                return deliverToken(doc, cursor, token, false);
            default:
                fail(LCA__Unexpected_JSON_item);
        }
    }
    if (token.level != 0 || doc.openNames.count != 1 || previous != '}') fail(LCA__Bad_nesting);
    doc.openNames.removeAll();
    return false;
}

template <bool kByWindows>
bool attributeJson(MLDoc& doc, const MLDoc::Token& token, MLDoc::Attribute& attribute) {
    JsonCursor cursor(doc);
    ChPair key, text;
    const char* behindColon = nullptr;
    const bool passed = cursor.pass(',');
    int kind = kByWindows ? cursor.takeMember(attribute, key) : kEnd;
    if (kind == kQuoted || kind == kWord) return true;
    if (kind == kEnd) {
        kind = cursor.next(key);
        if (!passed && kind == ',') kind = cursor.next(key);
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
        if (!cursor.pass(':') && cursor.next(text) != ':') fail(LCA__Expected__0);
        behindColon = cursor.here();
        kind = cursor.next(text);
    }
    if (kind == kQuoted || kind == kWord) {
        attribute.name = key;
        attribute.value = text;
        return true;
    }
    bool member = kind == '{' && doc.openNames.count == 1;
    if (member) {
        cursor.moveTo(behindColon);
    } else if (kind != '[') {
        fail(LCA__Expected_string);
    }
    // Attributes end at the first list; stepping goes on inside it.
    openList(doc, token, key);
    return false;
}

}  // namespace

int MLDoc::get_json_token(ChPair& text) {
    if (position >= length) return kEnd;
    return JsonCursor(*this).next(text);
}

bool MLDoc::step_json(Token& token) { return stepJson<true>(*this, token); }

bool MLDoc::attribute_json(const Token& token, Attribute& attribute) {
    return attributeJson<true>(*this, token, attribute);
}

namespace velmora::detail {

bool plainStepJson(MLDoc& doc, MLDoc::Token& token) { return stepJson<false>(doc, token); }
bool plainAttributeJson(MLDoc& doc, const MLDoc::Token& token, MLDoc::Attribute& attribute) {
    return attributeJson<false>(doc, token, attribute);
}

}  // namespace velmora::detail
