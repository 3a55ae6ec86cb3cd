// JSON, shaped like tags: an object is a token, a member with a string or a word is an attribute, a member with an array
// is a list of child objects under the member's name; only the root may hold an object as a member. The steps resume
// from three things: `position`, the stack `openNames`, and the byte before `position`.
//
// At rest `openNames` holds token.level entries, or one more while a list is open and none of its items is. Entry i
// names a token that opens at level i + 1; entry 0 is the root's empty name.
#include <cstring>

#include <velmora/localization/keys.h>
#include <velmora/markup/mldoc.h>
#include <velmora/serial/ttt.h>

namespace {

// Kinds of lexical tokens; the others are the bytes , : [ ] { } themselves.
constexpr int kEnd = 0;
constexpr int kQuoted = 'q';
constexpr int kWord = 's';

[[noreturn]] void fail(int key) { throw TTT(VELMORA_DICT, key); }

bool isStructure(char c) { return c == ',' || c == ':' || c == '[' || c == ']' || c == '{' || c == '}'; }

bool isWhite(char c) { return static_cast<unsigned char>(c) <= ' '; }

bool oneOf(int kind, const char* kinds) { return kind != kEnd && std::strchr(kinds, kind); }

}  // namespace

int MLDoc::get_json_token(ChPair& text) {
    while (position < length && isWhite(buffer[position])) ++position;
    if (position >= length) return kEnd;
    char c = buffer[position++];
    if (isStructure(c)) return c;
    if (c == '"') {
        readJsonString(text);
        return kQuoted;
    }
    // The first byte of a word may be any; of the others none may be above 127.
    text.begin = buffer + position - 1;
    for (; position < length; ++position) {
        c = buffer[position];
        if (isWhite(c) || isStructure(c) || c == '"') break;
        if (static_cast<unsigned char>(c) > 127) {
            ++position;
            fail(LCA__Bad_character);
        }
    }
    text.end = buffer + position;
    return kWord;
}

// Behind an opening quote. The text stays raw; a backslash only guards the byte behind it.
void MLDoc::readJsonString(ChPair& text) {
    text.begin = buffer + position;
    while (position < length) {
        char c = buffer[position++];
        if (c == '"') {
            text.end = buffer + position - 1;
            return;
        }
        if (c != '\\') continue;
        if (position == length) fail(LCA__Unsupported_escape_sequence);
        ++position;
    }
    fail(LCA__Closing_quote_is_missed);
}

// What the byte before the cursor says of the token before: all that is not structure reads as a word.
int MLDoc::previousJsonKind() const {
    if (position == 0) return kEnd;
    char c = buffer[position - 1];
    return isStructure(c) && c != ':' ? c : kWord;
}

bool MLDoc::step_json(Token& token) {
    if (position >= length) return false;
    ChPair text;
    int previous = previousJsonKind();
    for (int kind; (kind = get_json_token(text)) != kEnd; previous = kind) {
        switch (kind) {
            case ',':
                if (!oneOf(previous, "]}sq")) fail(LCA__Unexpected);
                break;
            case ']':
                if (!oneOf(previous, "}[,")) fail(LCA__Unexpected__2);
                if (token.level + 1 != openNames.count || token.level < 0) fail(LCA__Bad_nesting);
                openNames.cutTo(token.level);
                break;
            case kQuoted:
                if (!oneOf(previous, "{,")) fail(LCA__Unexpected_string);
                kind = passJsonMember(token, text);
                break;
            case '{':
                openJsonToken(token, previous);
                return true;
            case '}':
                closeJsonToken(token, previous);
                return true;
            default:
                fail(LCA__Unexpected_JSON_item);
        }
    }
    if (token.level != 0 || openNames.count != 1 || previous != '}') fail(LCA__Bad_nesting);
    openNames.removeAll();
    return false;
}

// Behind a key. Returns: the kind that the next token sees as the one before it.
int MLDoc::passJsonMember(const Token& token, const ChPair& key) {
    ChPair text;
    if (get_json_token(text) != ':') fail(LCA__Expected__0);
    std::uint32_t behindColon = position;
    int kind = get_json_token(text);
    if (kind == '[') {
        if (token.level != openNames.count) fail(LCA__Bad_nesting);
        openNames.append(key);
    } else if (kind == '{' && token.level == 1 && openNames.count == 1) {
        position = behindColon;  // the brace is read again, as the child's own
        openNames.append(key);
        kind = kWord;
    } else if (kind != kQuoted && kind != kWord) {
        fail(LCA__Expected_string);
    }
    return kind;
}

void MLDoc::openJsonToken(Token& token, int previous) {
    bool member = previous == kWord && openNames.count == 2;
    if (previous != kEnd && !oneOf(previous, "[,") && !member) fail(LCA__Unexpected__1);
    if (token.level + 1 != openNames.count || token.level < 0) fail(LCA__Bad_nesting);
    token.name = openNames[token.level++];
    deliverJsonToken(token, true);
}

void MLDoc::closeJsonToken(Token& token, int previous) {
    if (token.level == 1 && previous == '}') {
        // The root closes right behind an object member, whose name goes only here.
        if (openNames.count != 2) fail(LCA__Unexpected__0);
        openNames.cutTo(1);
    } else if (!oneOf(previous, "]qs{,")) {
        fail(LCA__Unexpected__0);
    }
    if (token.level != openNames.count || token.level < 1) fail(LCA__Bad_nesting);
    token.name = openNames[--token.level];
    deliverJsonToken(token, false);
}

void MLDoc::deliverJsonToken(Token& token, bool opening) {
    token.body.assign(buffer + position, buffer + length);
    token.kind = 0;
    token.opening = opening;
    token.closing = !opening;
}

bool MLDoc::attribute_json(const Token& token, Attribute& attribute) {
    ChPair text;
    int kind = get_json_token(text);
    if (kind == ',') kind = get_json_token(text);
    switch (kind) {
        case kQuoted:
            break;
        case '}':
            --position;
            return false;
        case '[':
        case ']':
        case '{':
            fail(LCA__Bad_nesting);
        default:
            fail(LCA__Unexpected_JSON_item);
    }
    ChPair key = text;
    if (get_json_token(text) != ':') fail(LCA__Expected__0);
    std::uint32_t behindColon = position;
    kind = get_json_token(text);
    if (kind == kQuoted || kind == kWord) {
        attribute.name = key;
        attribute.value = text;
        return true;
    }
    bool member = kind == '{' && openNames.count == 1;
    if (member) {
        position = behindColon;
    } else if (kind != '[') {
        fail(LCA__Expected_string);
    }
    // Attributes end at the first list; stepping goes on inside it.
    if (token.level != openNames.count) fail(LCA__Bad_nesting);
    openNames.append(key);
    return false;
}
