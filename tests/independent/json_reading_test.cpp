// Reading JSON: the lexer, the stepper, the attribute reader, and how the two share one cursor.
// A caret in a text marks where the cursor has to stand when the call in question is over; it is taken out before
// the text is loaded. Without a caret that is the end of the text.
#include <algorithm>
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <velmora/velmora.h>

namespace {

constexpr int kNoKey = -1;

struct Marked {
    std::string text;
    unsigned caret;
};

Marked unmark(const std::string& s) {
    const std::size_t at = s.find('^');
    if (at == std::string::npos) return {s, static_cast<unsigned>(s.size())};
    return {s.substr(0, at) + s.substr(at + 1), static_cast<unsigned>(at)};
}

// Detection wants three bytes and a brace in front; the stepper is also to be seen with less and with other bytes, so
// the block is mended behind the back of load.
void open(MLDoc& doc, const std::string& text) {
    std::string padded = text;
    if (padded.size() < 3) padded.resize(3, ' ');
    const bool hasMark = padded.compare(0, 3, "\xEF\xBB\xBF") == 0;
    if (!hasMark) padded[0] = '{';
    doc.load("test.json", padded.data(), static_cast<int>(padded.size()));
    ASSERT_EQ(doc.format, MLDocBase::JSON);
    if (!hasMark && !text.empty()) doc.buffer[0] = text[0];
    doc.length = static_cast<std::uint32_t>(text.size());
}

// Runs `call` and gives the key of what it throws. A failure names its key and holds nothing else.
template <class Call>
int keyOf(Call call) {
    try {
        call();
    } catch (TTT& message) {
        int dict = 0, id = 0;
        EXPECT_TRUE(message.getIds(&dict, &id));
        EXPECT_EQ(dict, VELMORA_DICT);
        TTT alone(VELMORA_DICT, id);
        EXPECT_EQ(message.getData().size, alone.getData().size);
        return id;
    }
    return kNoKey;
}

bool same(const ChPair& a, const ChPair& b) { return a.begin == b.begin && a.end == b.end; }

bool same(const MLDoc::Token& a, const MLDoc::Token& b) {
    return same(a.name, b.name) && same(a.body, b.body) && a.kind == b.kind && a.level == b.level &&
           a.opening == b.opening && a.closing == b.closing;
}

enum Reading { Skip, Read };

struct Walk {
    std::string log;
    int key = kNoKey;
};

// Walks to the end or to the first failure. "+list:2" is an opening token and its level, "-list:1" a closing one, with
// the attributes in parentheses if they are read, and "." the end.
Walk walk(MLDoc& doc, MLDoc::Token& token, Reading reading) {
    Walk result;
    for (int steps = 0; steps < 100; ++steps) {
        token.kind = 7;  // to see it set, or left alone
        const MLDoc::Token before = token;
        bool delivered = false;
        result.key = keyOf([&] { delivered = doc.step(token); });
        if (!delivered) {
            EXPECT_TRUE(same(token, before));
            if (result.key == kNoKey) result.log += ".";
            return result;
        }
        EXPECT_EQ(token.kind, 0);
        EXPECT_NE(token.opening, token.closing);
        EXPECT_EQ(token.level, before.level + (token.opening ? 1 : -1));
        EXPECT_EQ(token.body.begin, doc.buffer + doc.position);
        EXPECT_EQ(token.body.end, doc.buffer + doc.length);
        result.log += (token.opening ? "+" : "-") + token.name.std() + ":" + std::to_string(token.level);
        if (reading == Read && token.opening) {
            result.log += "(";
            const MLDoc::Token kept = token;
            MLDoc::Attribute attribute;
            MLDoc::Attribute last;
            int n = 0;
            bool more = true;
            while (more) {
                more = false;
                result.key = keyOf([&] { more = doc.attribute(token, attribute); });
                EXPECT_TRUE(same(token, kept));
                if (!more) break;
                result.log += (n++ ? "," : "") + attribute.name.std() + "=" + attribute.value.std();
                last = attribute;
            }
            // What ends the pass leaves the last attribute with the caller.
            EXPECT_TRUE(same(attribute.name, last.name) && same(attribute.value, last.value));
            if (result.key != kNoKey) return result;
            result.log += ")";
        }
        result.log += " ";
    }
    ADD_FAILURE() << "the walk does not end";
    return result;
}

struct WalkRow {
    int line;
    std::string text;
    const char* log;
    int key;
    int names;  // entries of openNames afterwards
};

void checkWalks(const std::vector<WalkRow>& rows, Reading reading) {
    for (const WalkRow& row : rows) {
        SCOPED_TRACE("line " + std::to_string(row.line) + ": " + row.text);
        const Marked marked = unmark(row.text);
        MLDoc doc;
        open(doc, marked.text);
        MLDoc::Token token;
        const Walk result = walk(doc, token, reading);
        EXPECT_EQ(result.log, row.log);
        EXPECT_EQ(result.key, row.key);
        EXPECT_EQ(doc.position, marked.caret);
        EXPECT_EQ(doc.openNames.count, row.names);
    }
}

// Puts a document into the middle of a walk: `names` open names, the cursor at `position`.
void place(MLDoc& doc, int names, unsigned position) {
    doc.openNames.removeAll();
    for (int i = 0; i < names; ++i) doc.openNames.append(ChPair());
    doc.position = position;
}

// ---- the lexer

struct TokenRow {
    int line;
    std::string text;  // behind the three bytes that open the document
    int kind;
    const char* value;  // null: the pair is left alone
    int key = kNoKey;
};

TEST(JsonReadingTest, LexerTellsKindsAndFillsPairs) {
    const TokenRow rows[] = {
        {__LINE__, "", 0, nullptr},
        {__LINE__, " ", 0, nullptr},
        {__LINE__, std::string("\0\x01\t\n\x1F ", 6), 0, nullptr},
        {__LINE__, ",^,", ',', nullptr},
        {__LINE__, ":^ ", ':', nullptr},
        {__LINE__, "[^]", '[', nullptr},
        {__LINE__, "]^}", ']', nullptr},
        {__LINE__, "{^}", '{', nullptr},
        {__LINE__, " \r\n}^", '}', nullptr},
        {__LINE__, std::string("\0\x1F,^x", 5), ',', nullptr},
        // Quoted.
        {__LINE__, R"(""^)", 'q', ""},
        {__LINE__, R"(""^")", 'q', ""},
        {__LINE__, R"( "ab c"^:)", 'q', "ab c"},
        {__LINE__, R"("{}[],:"^)", 'q', "{}[],:"},
        {__LINE__, "\"\xFF\xC3\xA9\x80\"^x", 'q', "\xFF\xC3\xA9\x80"},
        {__LINE__, R"("a\"b"^)", 'q', R"(a\"b)"},
        {__LINE__, R"("\\"^")", 'q', "\\\\"},
        {__LINE__, R"("\z\u12"^)", 'q', "\\z\\u12"},
        {__LINE__, "\"\\\xC3\xA9\"^", 'q', "\\\xC3\xA9"},
        {__LINE__, R"("^)", 0, nullptr, LCA__Closing_quote_is_missed},
        {__LINE__, R"("abc^)", 0, nullptr, LCA__Closing_quote_is_missed},
        {__LINE__, R"("a\"^)", 0, nullptr, LCA__Closing_quote_is_missed},
        {__LINE__, R"("\\^)", 0, nullptr, LCA__Closing_quote_is_missed},
        {__LINE__, R"("\^)", 0, nullptr, LCA__Unsupported_escape_sequence},
        {__LINE__, R"("\\\^)", 0, nullptr, LCA__Unsupported_escape_sequence},
        // Bare words: nothing but their ends is looked at.
        {__LINE__, "1.5e+3^,", 's', "1.5e+3"},
        {__LINE__, "0x10^}", 's', "0x10"},
        {__LINE__, "tru^]", 's', "tru"},
        {__LINE__, "abc^", 's', "abc"},
        {__LINE__, "  -7^:", 's', "-7"},
        {__LINE__, "a^[", 's', "a"},
        {__LINE__, "a^{", 's', "a"},
        {__LINE__, R"(a^"b")", 's', "a"},
        {__LINE__, "a^ b", 's', "a"},
        {__LINE__, "a!^ b", 's', "a!"},
        {__LINE__, std::string("a^\0b", 4), 's', "a"},
        {__LINE__, "a^\x1F", 's', "a"},
        {__LINE__, "\\^ ", 's', "\\"},
        {__LINE__, R"(a\'^")", 's', "a\\'"},
        {__LINE__, "\x7F\x7F^", 's', "\x7F\x7F"},
        {__LINE__, "!^", 's', "!"},
        // Only the first byte of a word may be above 127.
        {__LINE__, "\x80^", 's', "\x80"},
        {__LINE__, "\xFFx^,", 's', "\xFFx"},
        {__LINE__, "\xC3\xA9^,", 0, nullptr, LCA__Bad_character},
        {__LINE__, "x\x80^y", 0, nullptr, LCA__Bad_character},
        {__LINE__, "xyz\xFF^", 0, nullptr, LCA__Bad_character},
    };
    for (const TokenRow& row : rows) {
        SCOPED_TRACE("line " + std::to_string(row.line) + ": " + row.text);
        const Marked marked = unmark(row.text);
        MLDoc doc;
        open(doc, "{{{" + marked.text);
        doc.position = 3;
        char untouched[2] = "?";
        ChPair text(untouched);
        int kind = 0;
        EXPECT_EQ(keyOf([&] { kind = doc.get_json_token(text); }), row.key);
        EXPECT_EQ(kind, row.kind);
        EXPECT_EQ(doc.position, 3 + marked.caret);
        if (row.value) {
            EXPECT_EQ(text.std(), row.value);
            EXPECT_EQ(text.end + (kind == 'q'), doc.buffer + doc.position);
        } else if (row.key == kNoKey) {
            EXPECT_EQ(text.begin, untouched);
            EXPECT_EQ(text.end, untouched + 1);
        }
        EXPECT_EQ(doc.openNames.count, 1);
    }
}

TEST(JsonReadingTest, LexerTakesControlBytesInQuotes) {
    MLDoc doc;
    open(doc, std::string("{ \"a\0\n\x7F\"", 8));
    doc.position = 1;
    ChPair text;
    EXPECT_EQ(doc.get_json_token(text), 'q');
    EXPECT_EQ(text.std(), std::string("a\0\n\x7F", 4));
    EXPECT_EQ(doc.position, doc.length);
}

TEST(JsonReadingTest, LexerStaysWhereItIsAtAndBehindTheEnd) {
    for (unsigned past : {0U, 1U, 1000U}) {
        MLDoc doc;
        open(doc, R"({""})");
        doc.position = doc.length + past;
        ChPair text("?");
        const ChPair kept = text;
        EXPECT_EQ(doc.get_json_token(text), 0);
        EXPECT_EQ(doc.position, doc.length + past);
        EXPECT_TRUE(same(text, kept));
        MLDoc::Token token;
        token.level = 5;
        EXPECT_FALSE(doc.step_json(token));
        EXPECT_EQ(doc.position, doc.length + past);
        EXPECT_EQ(token.level, 5);
        EXPECT_EQ(doc.openNames.count, 1);
    }
}

TEST(JsonReadingTest, LexerGoesThroughATextWithoutBlanks) {
    MLDoc doc;
    open(doc, R"({"a":1"b"2,[x]{true}null)");
    std::string kinds;
    ChPair text;
    while (const int kind = doc.get_json_token(text)) {
        kinds += static_cast<char>(kind);
        if (kind == 'q' || kind == 's') kinds += "(" + text.std() + ")";
    }
    EXPECT_EQ(kinds, "{q(a):s(1)q(b)s(2),[s(x)]{s(true)}s(null)");
    EXPECT_EQ(doc.position, doc.length);
}

// ---- the stepper

TEST(JsonReadingTest, LoadLeavesTheRootsEmptyName) {
    MLDoc doc;
    doc.load("test.json", "{ }", 3);
    EXPECT_EQ(doc.format, MLDocBase::JSON);
    EXPECT_EQ(doc.position, 0U);
    ASSERT_EQ(doc.openNames.count, 1);
    EXPECT_EQ(doc.openNames[0].begin, nullptr);
    EXPECT_EQ(doc.openNames[0].end, nullptr);
    MLDoc::Token token;
    ASSERT_TRUE(doc.step(token));
    EXPECT_EQ(token.name.begin, nullptr);
    EXPECT_EQ(token.name.end, nullptr);
    EXPECT_EQ(doc.position, 1U);
}

TEST(JsonReadingTest, SteppingDeliversTokens) {
    checkWalks(
        {
            {__LINE__, "{}", "+:1 -:0 .", kNoKey, 1},
            {__LINE__, "{ }", "+:1 -:0 .", kNoKey, 1},
            {__LINE__, "{}\n", "+:1 -:0 .", kNoKey, 0},
            {__LINE__, std::string("{}\0 \t", 5), "+:1 -:0 .", kNoKey, 0},
            {__LINE__, R"({"a": 1, "b": "x", "list": [ {"c": 2}, {} ], "d": 3})",
             "+:1 +list:2 -list:1 +list:2 -list:1 -:0 .", kNoKey, 1},
            {__LINE__, R"({"a":1})", "+:1 -:0 .", kNoKey, 1},
            {__LINE__, R"({"a":1,})", "+:1 -:0 .", kNoKey, 1},
            {__LINE__, R"({"a":"}","b":"\"]"})", "+:1 -:0 .", kNoKey, 1},
            {__LINE__, R"({"a":[]})", "+:1 -:0 .", kNoKey, 1},
            {__LINE__, R"({"a":[],})", "+:1 -:0 .", kNoKey, 1},
            {__LINE__, "{\"a\":[],\"b\":[{}]}\n", "+:1 +b:2 -b:1 -:0 .", kNoKey, 0},
            {__LINE__, R"({"a":[{},]})", "+:1 +a:2 -a:1 -:0 .", kNoKey, 1},
            {__LINE__, R"({"a":[{},{"x":1},{}]})", "+:1 +a:2 -a:1 +a:2 -a:1 +a:2 -a:1 -:0 .", kNoKey, 1},
            {__LINE__, R"({"a":[{"b":[{"c":[{}]},{}],"x":1}]})", "+:1 +a:2 +b:3 +c:4 -c:3 -b:2 +b:3 -b:2 -a:1 -:0 .",
             kNoKey, 1},
            {__LINE__, R"({"a\"b":[{}]})", R"(+:1 +a\"b:2 -a\"b:1 -:0 .)", kNoKey, 1},
            {__LINE__, R"({"":[{}]})", "+:1 +:2 -:1 -:0 .", kNoKey, 1},
            // A member of the root that is an object.
            {__LINE__, R"({"a":{}})", "+:1 +a:2 -a:1 -:0 .", kNoKey, 1},
            {__LINE__, "{\"a\":{}}\r\n", "+:1 +a:2 -a:1 -:0 .", kNoKey, 0},
            {__LINE__, "{\"a\" : \n {\"b\":1} }", "+:1 +a:2 -a:1 -:0 .", kNoKey, 1},
            {__LINE__, R"({"x":1,"y":[{}],"a":{}})", "+:1 +y:2 -y:1 +a:2 -a:1 -:0 .", kNoKey, 1},
            {__LINE__, R"({"a":{"b":[{}]}})", "+:1 +a:2 +b:3 -b:2 -a:1 -:0 .", kNoKey, 1},
            // Oddities that follow from what resumes the stepper.
            {__LINE__, R"({"a":{},{}})", "+:1 +a:2 -a:1 +a:2 -a:1 -:0 .", kNoKey, 1},
            {__LINE__, R"({"a":{},"b":1 {}})", "+:1 +a:2 -a:1 +a:2 -a:1 -:0 .", kNoKey, 1},
            {__LINE__, R"({"a":[{},"b":1 {}]})", "+:1 +a:2 -a:1 +a:2 -a:1 -:0 .", kNoKey, 1},
            {__LINE__, R"({"a":[{}})", "+:1 +a:2 -a:1 -:0 .", kNoKey, 1},
            {__LINE__, R"({"a":[{}} )", "+:1 +a:2 -a:1 -:0 .", kNoKey, 0},
            {__LINE__, R"({"a":{}]})", "+:1 +a:2 -a:1 -:0 .", kNoKey, 1},
            {__LINE__, "{},{}", "+:1 -:0 +:1 -:0 .", kNoKey, 1},
            {__LINE__, R"({}],"a":[{})", "+:1 -:0 +a:1 -a:0 .", kNoKey, 1},
            // Cut off right behind a token, no one looks at the nesting.
            {__LINE__, "{", "+:1 .", kNoKey, 1},
            {__LINE__, R"({"a":[{)", "+:1 +a:2 .", kNoKey, 2},
            {__LINE__, R"({"a":[{})", "+:1 +a:2 -a:1 .", kNoKey, 2},
        },
        Skip);
}

TEST(JsonReadingTest, SteppingRefuses) {
    const std::string mark = "\xEF\xBB\xBF";
    checkWalks(
        {
            // The end of input.
            {__LINE__, "{ ", "+:1 ", LCA__Bad_nesting, 1},
            {__LINE__, R"({"a":1)", "+:1 ", LCA__Bad_nesting, 1},
            {__LINE__, R"({"a":[)", "+:1 ", LCA__Bad_nesting, 2},
            {__LINE__, R"({"a":[])", "+:1 ", LCA__Bad_nesting, 1},
            {__LINE__, R"({"a":[{} )", "+:1 +a:2 -a:1 ", LCA__Bad_nesting, 2},
            {__LINE__, R"({"a":[{}])", "+:1 +a:2 -a:1 ", LCA__Bad_nesting, 1},
            {__LINE__, "{\"a\":[{}]\n", "+:1 +a:2 -a:1 ", LCA__Bad_nesting, 1},
            {__LINE__, "{\"a\":{}\n", "+:1 +a:2 -a:1 ", LCA__Bad_nesting, 2},
            {__LINE__, " ", "", LCA__Bad_nesting, 1},
            // Behind the root.
            {__LINE__, "{},", "+:1 -:0 ", LCA__Bad_nesting, 1},
            {__LINE__, R"({},"a":1)", "+:1 -:0 ", LCA__Bad_nesting, 1},
            {__LINE__, R"({},"a":{^})", "+:1 -:0 ", LCA__Expected_string, 1},
            {__LINE__, R"({},"a":[^{}])", "+:1 -:0 ", LCA__Bad_nesting, 1},
            {__LINE__, "{},}^", "+:1 -:0 ", LCA__Bad_nesting, 1},
            {__LINE__, "{},,^", "+:1 -:0 ", LCA__Unexpected, 1},
            {__LINE__, "{}x^", "+:1 -:0 ", LCA__Unexpected_JSON_item, 1},
            {__LINE__, R"({}"x"^ )", "+:1 -:0 ", LCA__Unexpected_string, 1},
            {__LINE__, "{}{^}", "+:1 -:0 ", LCA__Unexpected__1, 1},
            {__LINE__, "{} {^}", "+:1 -:0 ", LCA__Unexpected__1, 1},
            {__LINE__, "{}}^", "+:1 -:0 ", LCA__Unexpected__0, 1},
            // A bracket there takes the root's name, and then there is none to go by.
            {__LINE__, "{}]", "+:1 -:0 ", LCA__Bad_nesting, 0},
            {__LINE__, "{}],}^", "+:1 -:0 ", LCA__Bad_nesting, 0},
            {__LINE__, "{}],{^}", "+:1 -:0 ", LCA__Bad_nesting, 0},
            {__LINE__, "{}],]^", "+:1 -:0 ", LCA__Bad_nesting, 0},
            {__LINE__, "{}],:^", "+:1 -:0 ", LCA__Unexpected_JSON_item, 0},
            // Commas.
            {__LINE__, "{,^}", "+:1 ", LCA__Unexpected, 1},
            {__LINE__, R"({"a":1,,^"b":2})", "+:1 ", LCA__Unexpected, 1},
            {__LINE__, R"({"a":[,^{}]})", "+:1 ", LCA__Unexpected, 2},
            {__LINE__, R"({"a":[{},,^{}]})", "+:1 +a:2 -a:1 ", LCA__Unexpected, 2},
            // Elements that are no objects.
            {__LINE__, R"({"a":[1^]})", "+:1 ", LCA__Unexpected_JSON_item, 2},
            {__LINE__, R"({"a":["x"^]})", "+:1 ", LCA__Unexpected_string, 2},
            {__LINE__, R"({"a":[[^{}]]})", "+:1 ", LCA__Unexpected_JSON_item, 2},
            {__LINE__, R"({"a":[:^]})", "+:1 ", LCA__Unexpected_JSON_item, 2},
            {__LINE__, R"({"a":[{},1^]})", "+:1 +a:2 -a:1 ", LCA__Unexpected_JSON_item, 2},
            // Brackets.
            {__LINE__, "{]^}", "+:1 ", LCA__Unexpected__2, 1},
            {__LINE__, R"({"a":1]^})", "+:1 ", LCA__Unexpected__2, 1},
            {__LINE__, R"({"a":"x"]^})", "+:1 ", LCA__Unexpected__2, 1},
            {__LINE__, R"({"a":[]]^)", "+:1 ", LCA__Unexpected__2, 1},
            {__LINE__, R"({"a":1,]^)", "+:1 ", LCA__Bad_nesting, 1},
            {__LINE__, R"({"a":[{"b":1,]^)", "+:1 +a:2 ", LCA__Bad_nesting, 2},
            {__LINE__, R"({"a":[{},"b":1]^})", "+:1 +a:2 -a:1 ", LCA__Unexpected__2, 2},
            // Opening braces.
            {__LINE__, "{{^}}", "+:1 ", LCA__Unexpected__1, 1},
            {__LINE__, R"({"a":[{}{^}]})", "+:1 +a:2 -a:1 ", LCA__Unexpected__1, 2},
            {__LINE__, R"({"a":[]{^}})", "+:1 ", LCA__Unexpected__1, 1},
            {__LINE__, R"({"a":1{^}})", "+:1 ", LCA__Unexpected__1, 1},
            {__LINE__, R"({"a":1,{^}})", "+:1 ", LCA__Bad_nesting, 1},
            {__LINE__, R"({"a":[{"b":1 {^)", "+:1 +a:2 ", LCA__Bad_nesting, 2},
            {__LINE__, R"({"a":[{"b":"1" {^)", "+:1 +a:2 ", LCA__Unexpected__1, 2},
            {__LINE__, R"({"a":{},"b":"1" {^}})", "+:1 +a:2 -a:1 ", LCA__Unexpected__1, 2},
            {__LINE__, mark + "{^} ", "", LCA__Unexpected__1, 1},
            // Closing braces.
            {__LINE__, R"({"a":[}^)", "+:1 ", LCA__Unexpected__0, 2},
            {__LINE__, R"({"a":[{},}^)", "+:1 +a:2 -a:1 ", LCA__Bad_nesting, 2},
            {__LINE__, R"({"a":[{"b":[{}}^)", "+:1 +a:2 +b:3 -b:2 ", LCA__Unexpected__0, 3},
            {__LINE__, R"({"a":{"b":[{}}^})", "+:1 +a:2 +b:3 -b:2 ", LCA__Unexpected__0, 3},
            // What stands in place of a key.
            {__LINE__, "{:^}", "+:1 ", LCA__Unexpected_JSON_item, 1},
            {__LINE__, "{[^]}", "+:1 ", LCA__Unexpected_JSON_item, 1},
            {__LINE__, "{a^:1}", "+:1 ", LCA__Unexpected_JSON_item, 1},
            {__LINE__, "{\xC3^ :1}", "+:1 ", LCA__Unexpected_JSON_item, 1},
            {__LINE__, "{\xC3\xA9^:1}", "+:1 ", LCA__Bad_character, 1},
            {__LINE__, R"({"a":1 "b"^:2})", "+:1 ", LCA__Unexpected_string, 1},
            {__LINE__, R"({"a":"1" "b"^:2})", "+:1 ", LCA__Unexpected_string, 1},
            {__LINE__, R"({"a":[]"b"^:2})", "+:1 ", LCA__Unexpected_string, 1},
            {__LINE__, R"({"a":[{}"b"^:2]})", "+:1 +a:2 -a:1 ", LCA__Unexpected_string, 2},
            {__LINE__, R"({"a^)", "+:1 ", LCA__Closing_quote_is_missed, 1},
            {__LINE__, R"({"a\^)", "+:1 ", LCA__Unsupported_escape_sequence, 1},
            // Behind a key.
            {__LINE__, R"({"a"}^)", "+:1 ", LCA__Expected__0, 1},
            {__LINE__, R"({"a",^)", "+:1 ", LCA__Expected__0, 1},
            {__LINE__, R"({"a" 1^})", "+:1 ", LCA__Expected__0, 1},
            {__LINE__, R"({"a" "b"^})", "+:1 ", LCA__Expected__0, 1},
            {__LINE__, R"({"a"[^)", "+:1 ", LCA__Expected__0, 1},
            {__LINE__, R"({"a"{^)", "+:1 ", LCA__Expected__0, 1},
            {__LINE__, R"({"a"]^)", "+:1 ", LCA__Expected__0, 1},
            {__LINE__, R"({"a" )", "+:1 ", LCA__Expected__0, 1},
            {__LINE__, R"({"a""b^)", "+:1 ", LCA__Closing_quote_is_missed, 1},
            // Values.
            {__LINE__, R"({"a":}^)", "+:1 ", LCA__Expected_string, 1},
            {__LINE__, R"({"a":]^)", "+:1 ", LCA__Expected_string, 1},
            {__LINE__, R"({"a":,^)", "+:1 ", LCA__Expected_string, 1},
            {__LINE__, R"({"a"::^1)", "+:1 ", LCA__Expected_string, 1},
            {__LINE__, R"({"a":)", "+:1 ", LCA__Expected_string, 1},
            {__LINE__, "{\"a\": \n", "+:1 ", LCA__Expected_string, 1},
            {__LINE__, "{\"a\":1\xC3^}", "+:1 ", LCA__Bad_character, 1},
            {__LINE__, R"({"a":"1^)", "+:1 ", LCA__Closing_quote_is_missed, 1},
            {__LINE__, R"({"a":[{"b":{^}}]})", "+:1 +a:2 ", LCA__Expected_string, 2},
            {__LINE__, R"({"a":[{"b":[{"c":{^)", "+:1 +a:2 +b:3 ", LCA__Expected_string, 3},
            {__LINE__, R"({"a":{"b":{^}}})", "+:1 +a:2 ", LCA__Expected_string, 2},
            {__LINE__, R"({"a":[{},"b":{^})", "+:1 +a:2 -a:1 ", LCA__Expected_string, 2},
            {__LINE__, R"({"a":[{},"b":[^{}])", "+:1 +a:2 -a:1 ", LCA__Bad_nesting, 2},
            // A root object member must come last.
            {__LINE__, R"({"a":{},"b":{^}})", "+:1 +a:2 -a:1 ", LCA__Expected_string, 2},
            {__LINE__, R"({"a":{},"b":1}^)", "+:1 +a:2 -a:1 ", LCA__Bad_nesting, 2},
            {__LINE__, R"({"a":{},"b":[^)", "+:1 +a:2 -a:1 ", LCA__Bad_nesting, 2},
            {__LINE__, R"({"a":{},}^)", "+:1 +a:2 -a:1 ", LCA__Bad_nesting, 2},
        },
        Skip);
}

// Every kind of token behind every kind of previous one. The stepper takes the previous kind from the byte in front of
// the cursor, so a byte and a cursor are all that a case needs.
struct PairRow {
    int line;
    const char* current;
    const char* accepted;  // previous bytes that are fine; '0' stands for the very start
    int key;               // for the others
    int level;
    int names;
};

TEST(JsonReadingTest, PreviousKindDecides) {
    const PairRow rows[] = {
        {__LINE__, ",", "]}xq:", LCA__Unexpected, 2, 2},
        {__LINE__, "]", "}[,", LCA__Unexpected__2, 1, 2},
        {__LINE__, R"("k":1)", "{,", LCA__Unexpected_string, 2, 2},
        {__LINE__, "{", "0[,xq:", LCA__Unexpected__1, 1, 2},  // words count, with two names
        {__LINE__, "{", "0[,", LCA__Unexpected__1, 0, 1},
        {__LINE__, "{", "0[,", LCA__Unexpected__1, 2, 3},
        {__LINE__, "}", "]xq:{,", LCA__Unexpected__0, 1, 1},
        {__LINE__, "}", "]xq:{,", LCA__Unexpected__0, 2, 2},
        {__LINE__, "}", "]xq:{,", LCA__Unexpected__0, 3, 3},
        {__LINE__, ":", "", LCA__Unexpected_JSON_item, 2, 2},
        {__LINE__, "[", "", LCA__Unexpected_JSON_item, 2, 2},
        {__LINE__, "w", "", LCA__Unexpected_JSON_item, 2, 2},
    };
    for (const PairRow& row : rows) {
        for (const char previous : std::string("0[]{},:xq")) {
            SCOPED_TRACE("line " + std::to_string(row.line) + ": " + previous + " then " + row.current);
            const std::string lead = previous == '0' ? "" : previous == 'q' ? R"(")" : std::string(1, previous);
            const std::string word = row.current;
            MLDoc doc;
            open(doc, lead + word);
            place(doc, row.names, static_cast<unsigned>(lead.size()));
            MLDoc::Token token;
            token.level = row.level;
            bool delivered = false;
            const int key = keyOf([&] { delivered = doc.step_json(token); });
            const bool brace = word == "{" || word == "}";
            if (!std::strchr(row.accepted, previous)) {
                EXPECT_EQ(key, row.key);
                EXPECT_EQ(doc.position, lead.size() + std::min<std::size_t>(word.size(), 3));
                EXPECT_EQ(doc.openNames.count, row.names);
                EXPECT_EQ(token.level, row.level);
            } else if (brace) {
                EXPECT_EQ(key, kNoKey);
                EXPECT_TRUE(delivered);
                EXPECT_EQ(token.level, row.level + (word == "{" ? 1 : -1));
                EXPECT_EQ(token.opening, word == "{");
                EXPECT_EQ(token.closing, word == "}");
                EXPECT_EQ(doc.openNames.count, row.names);
            } else {  // accepted, and then the text is over
                EXPECT_EQ(key, LCA__Bad_nesting);
                EXPECT_EQ(doc.position, doc.length);
                EXPECT_EQ(doc.openNames.count, word == "]" ? row.level : row.names);
            }
        }
    }
}

TEST(JsonReadingTest, BraceBehindBraceAtTheRoot) {
    struct Row {
        int line;
        int level, names;
        int key;
        int namesAfter;
    };
    const Row rows[] = {
        {__LINE__, 1, 2, kNoKey, 1},
        {__LINE__, 1, 1, LCA__Unexpected__0, 1},
        {__LINE__, 1, 3, LCA__Unexpected__0, 3},
        {__LINE__, 0, 2, LCA__Unexpected__0, 2},
        {__LINE__, 2, 2, LCA__Unexpected__0, 2},
        {__LINE__, 2, 3, LCA__Unexpected__0, 3},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.line);
        MLDoc doc;
        open(doc, "{}}");
        place(doc, row.names, 2);
        MLDoc::Token token;
        token.level = row.level;
        EXPECT_EQ(keyOf([&] { EXPECT_TRUE(doc.step_json(token)); }), row.key);
        EXPECT_EQ(doc.position, 3U);
        EXPECT_EQ(doc.openNames.count, row.namesAfter);
        EXPECT_EQ(token.level, row.key == kNoKey ? row.level - 1 : row.level);
        EXPECT_EQ(token.closing, row.key == kNoKey);
    }
}

TEST(JsonReadingTest, LevelMustAgreeWithTheOpenNames) {
    struct Row {
        int line;
        const char* text;
        unsigned from, to;
        int right;  // the level that fits two names
    };
    const Row rows[] = {
        {__LINE__, "[{", 1, 2, 1},
        {__LINE__, "{}", 1, 2, 2},
        {__LINE__, R"({"k":[{)", 1, 6, 2},
    };
    for (const Row& row : rows) {
        for (int level = 0; level < 5; ++level) {
            SCOPED_TRACE("line " + std::to_string(row.line) + ", level " + std::to_string(level));
            MLDoc doc;
            open(doc, row.text);
            place(doc, 2, row.from);
            MLDoc::Token token;
            token.level = level;
            const int key = keyOf([&] { EXPECT_TRUE(doc.step_json(token)); });
            EXPECT_EQ(key, level == row.right ? kNoKey : static_cast<int>(LCA__Bad_nesting));
            if (level == row.right) continue;
            EXPECT_EQ(doc.position, row.to);
            EXPECT_EQ(doc.openNames.count, 2);
            EXPECT_EQ(token.level, level);
        }
    }
}

TEST(JsonReadingTest, EndOfInputIsCheckedOnlyBehindABlank) {
    for (const char previous : std::string("[]{},:x\"\xFF")) {
        for (int level = -1; level < 3; ++level) {
            for (int names = 0; names < 4; ++names) {
                SCOPED_TRACE(previous + std::to_string(level) + std::to_string(names));
                const bool balanced = previous == '}' && level == 0 && names == 1;
                for (const char* rest : {"", " ", "\r\n"}) {
                    MLDoc doc;
                    open(doc, previous + std::string(rest));
                    place(doc, names, 1);
                    MLDoc::Token token;
                    token.level = level;
                    const bool checked = *rest != 0;
                    EXPECT_EQ(keyOf([&] { EXPECT_FALSE(doc.step_json(token)); }),
                              checked && !balanced ? static_cast<int>(LCA__Bad_nesting) : kNoKey);
                    EXPECT_EQ(doc.position, doc.length);
                    EXPECT_EQ(doc.openNames.count, checked && balanced ? 0 : names);
                    EXPECT_EQ(token.level, level);
                }
            }
        }
    }
}

// Wherever a document is cut, with or without a blank behind the cut, it is over or refused for what is missing; and
// an even document stays one however blanks are strewn over it.
TEST(JsonReadingTest, CutAndSpreadDocuments) {
    const std::string whole = R"({"a":1,"l":[{"b":"\""},{"m":[{}]}],"o":{"c":2}})";
    const char* log = "+:1 +l:2 -l:1 +l:2 +m:3 -m:2 -l:1 +o:2 -o:1 -:0 .";
    for (const Reading reading : {Skip, Read}) {
        for (std::size_t n = 1; n < whole.size(); ++n) {
            for (const char* tail : {"", " "}) {
                SCOPED_TRACE(whole.substr(0, n) + tail);
                MLDoc doc;
                open(doc, whole.substr(0, n) + tail);
                MLDoc::Token token;
                const Walk result = walk(doc, token, reading);
                EXPECT_EQ(doc.position, doc.length);
                const int allowed[] = {kNoKey,
                                       LCA__Bad_nesting,
                                       LCA__Closing_quote_is_missed,
                                       LCA__Expected__0,
                                       LCA__Expected_string,
                                       LCA__Unsupported_escape_sequence,
                                       LCA__Unexpected_JSON_item};
                EXPECT_NE(std::find(std::begin(allowed), std::end(allowed), result.key), std::end(allowed));
                EXPECT_FALSE(*tail && result.key == kNoKey);
                EXPECT_FALSE(reading == Skip && result.key == LCA__Unexpected_JSON_item);
            }
        }
    }
    for (const char blank : std::string("\0\x01\t\n\r ", 6)) {
        std::string spread;
        bool quoted = false;
        for (std::size_t i = 0; i < whole.size(); ++i) {
            spread += whole[i];
            if (whole[i] == '"' && whole[i - 1] != '\\') quoted = !quoted;
            if (!quoted) spread += blank;
        }
        MLDoc doc;
        open(doc, spread);
        MLDoc::Token token;
        const Walk result = walk(doc, token, Skip);
        EXPECT_EQ(result.log, log);
        EXPECT_EQ(result.key, kNoKey);
        EXPECT_EQ(doc.openNames.count, 0);
    }
}

TEST(JsonReadingTest, EndFreesTheNamesOnlyBehindABlank) {
    for (const bool blank : {false, true}) {
        MLDoc doc;
        open(doc, blank ? "{}\n" : "{ }");
        MLDoc::Token token;
        EXPECT_TRUE(doc.step(token) && doc.step(token));
        for (int again = 0; again < 3; ++again) {
            EXPECT_FALSE(doc.step(token));
            EXPECT_EQ(doc.position, 3U);
            EXPECT_EQ(doc.openNames.count, blank ? 0 : 1);
            EXPECT_EQ(doc.openNames.data == nullptr, blank);
            EXPECT_EQ(token.level, 0);
            EXPECT_TRUE(token.closing);
        }
    }
}

TEST(JsonReadingTest, NamesAreViewsIntoTheBlock) {
    MLDoc doc;
    open(doc, R"({"list":[{"k":"v"}]})");
    MLDoc::Token token;
    ASSERT_TRUE(doc.step(token) && doc.step(token));
    EXPECT_EQ(token.name.begin, doc.buffer + 2);
    EXPECT_EQ(token.name.end, doc.buffer + 6);
    EXPECT_EQ(doc.openNames[1].begin, doc.buffer + 2);
    MLDoc::Attribute attribute;
    ASSERT_TRUE(doc.attribute(token, attribute));
    EXPECT_EQ(attribute.name.begin, doc.buffer + 11);
    EXPECT_EQ(attribute.value.begin, doc.buffer + 15);
    EXPECT_EQ(attribute.value.end, doc.buffer + 16);
}

// ---- attributes

TEST(JsonReadingTest, ReadingAttributesOnTheWay) {
    checkWalks(
        {
            {__LINE__, "{}", "+:1() -:0 .", kNoKey, 1},
            {__LINE__, "{ \n}\n", "+:1() -:0 .", kNoKey, 0},
            {__LINE__, R"({"a": 1, "b": "x", "list": [ {"c": 2}, {} ], "d": 3})",
             "+:1(a=1,b=x) +list:2(c=2) -list:1 +list:2() -list:1 -:0 .", kNoKey, 1},
            {__LINE__, R"({"a":true,"b":"true","c":null,"d":-1.5e+3,"e":""})",
             "+:1(a=true,b=true,c=null,d=-1.5e+3,e=) -:0 .", kNoKey, 1},
            {__LINE__, R"({"a\"b":"c\\"})", R"(+:1(a\"b=c\\) -:0 .)", kNoKey, 1},
            {__LINE__, "{\"a\":\xC3}", "+:1(a=\xC3) -:0 .", kNoKey, 1},
            {__LINE__, R"({"a":1,})", "+:1(a=1) -:0 .", kNoKey, 1},
            {__LINE__, R"({"a":1 , })", "+:1(a=1) -:0 .", kNoKey, 1},
            {__LINE__, R"({"a":[]})", "+:1() -:0 .", kNoKey, 1},
            {__LINE__, R"({"a":[{},]})", "+:1() +a:2() -a:1 -:0 .", kNoKey, 1},
            {__LINE__, R"({"a":{"b":1}})", "+:1() +a:2(b=1) -a:1 -:0 .", kNoKey, 1},
            {__LINE__, R"({"x":1,"a":  {"b":1}})", "+:1(x=1) +a:2(b=1) -a:1 -:0 .", kNoKey, 1},
            {__LINE__, R"({"a":{"b":[{"c":1}]}})", "+:1() +a:2() +b:3(c=1) -b:2 -a:1 -:0 .", kNoKey, 1},
            {__LINE__, R"({"a":{},{"b":1}})", "+:1() +a:2() -a:1 +a:2(b=1) -a:1 -:0 .", kNoKey, 1},
            // Members behind an array are not seen.
            {__LINE__, R"({"a":[{"b":[],"c":1}],"d":3})", "+:1() +a:2() -a:1 -:0 .", kNoKey, 1},
            // A comma in front is passed, one between is not missed; skipping refuses both.
            {__LINE__, "{,}", "+:1() -:0 .", kNoKey, 1},
            {__LINE__, "{ , }", "+:1() -:0 .", kNoKey, 1},
            {__LINE__, R"({,"a":1})", "+:1(a=1) -:0 .", kNoKey, 1},
            {__LINE__, R"({"a":1 "b":2})", "+:1(a=1,b=2) -:0 .", kNoKey, 1},
            {__LINE__, R"({"a":"1""b":2"c":3})", "+:1(a=1,b=2,c=3) -:0 .", kNoKey, 1},
            {__LINE__, R"({"a":1"b":[{}]})", "+:1(a=1) +b:2() -b:1 -:0 .", kNoKey, 1},
        },
        Read);
}

TEST(JsonReadingTest, ReadingAttributesRefuses) {
    checkWalks(
        {
            {__LINE__, "{[^]}", "+:1(", LCA__Bad_nesting, 1},
            {__LINE__, "{]^}", "+:1(", LCA__Bad_nesting, 1},
            {__LINE__, "{{^}}", "+:1(", LCA__Bad_nesting, 1},
            {__LINE__, "{,{^}}", "+:1(", LCA__Bad_nesting, 1},
            {__LINE__, R"({"a":1]^)", "+:1(a=1", LCA__Bad_nesting, 1},
            {__LINE__, R"({"a":1{^)", "+:1(a=1", LCA__Bad_nesting, 1},
            {__LINE__, "{:^}", "+:1(", LCA__Unexpected_JSON_item, 1},
            {__LINE__, "{x^}", "+:1(", LCA__Unexpected_JSON_item, 1},
            {__LINE__, "{,,^}", "+:1(", LCA__Unexpected_JSON_item, 1},
            {__LINE__, R"({"a":1,,^"b":2})", "+:1(a=1", LCA__Unexpected_JSON_item, 1},
            {__LINE__, "{", "+:1(", LCA__Unexpected_JSON_item, 1},
            {__LINE__, "{ ", "+:1(", LCA__Unexpected_JSON_item, 1},
            {__LINE__, "{,", "+:1(", LCA__Unexpected_JSON_item, 1},
            {__LINE__, R"({"a":1)", "+:1(a=1", LCA__Unexpected_JSON_item, 1},
            {__LINE__, R"({"a"}^)", "+:1(", LCA__Expected__0, 1},
            {__LINE__, R"({"a" )", "+:1(", LCA__Expected__0, 1},
            {__LINE__, R"({"a" "b"^)", "+:1(", LCA__Expected__0, 1},
            {__LINE__, R"({"a":}^)", "+:1(", LCA__Expected_string, 1},
            {__LINE__, R"({"a":]^)", "+:1(", LCA__Expected_string, 1},
            {__LINE__, R"({"a":,^)", "+:1(", LCA__Expected_string, 1},
            {__LINE__, R"({"a"::^)", "+:1(", LCA__Expected_string, 1},
            {__LINE__, R"({"a":)", "+:1(", LCA__Expected_string, 1},
            {__LINE__, R"({"x":1,"a":[{"b":{^}}]})", "+:1(x=1) +a:2(", LCA__Expected_string, 2},
            {__LINE__, R"({"a":{"b":{^}}})", "+:1() +a:2(", LCA__Expected_string, 2},
            {__LINE__, R"({"a^)", "+:1(", LCA__Closing_quote_is_missed, 1},
            {__LINE__, R"({"a":"b\^)", "+:1(", LCA__Unsupported_escape_sequence, 1},
            {__LINE__, "{\"a\":12\xC3^\xA9}", "+:1(", LCA__Bad_character, 1},
            {__LINE__, "{\"b\":1,\xC3\xA9^}", "+:1(b=1", LCA__Bad_character, 1},
        },
        Read);
}

// One call of attribute_json somewhere in a walk. The first caret of a text is where it starts, the second where it
// has to end.
TEST(JsonReadingTest, OneAttribute) {
    struct Row {
        int line;
        const char* text;
        int level, names;
        const char* log;  // "name=value", or empty for none
        int key;
        int namesAfter;
    };
    const Row rows[] = {
        {__LINE__, R"({^"a":1^,"b":2})", 1, 1, "a=1", kNoKey, 1},
        {__LINE__, R"({"a":1^,"b":"2"^})", 1, 1, "b=2", kNoKey, 1},
        {__LINE__, R"({"a":1^ ,^})", 1, 1, "", kNoKey, 1},
        {__LINE__, "{^  ^}", 1, 1, "", kNoKey, 1},
        {__LINE__, R"({^"a": [^{}]})", 1, 1, "", kNoKey, 2},
        {__LINE__, R"({^"a":^ {}})", 1, 1, "", kNoKey, 2},
        {__LINE__, "{^\"a\" :^\n\t{}}", 1, 1, "", kNoKey, 2},
        {__LINE__, R"({^"a":[^{}]})", 2, 2, "", kNoKey, 3},
        // A list, with the level beside the names.
        {__LINE__, R"({^"a":[^{}]})", 1, 2, "", LCA__Bad_nesting, 2},
        {__LINE__, R"({^"a":[^{}]})", 0, 1, "", LCA__Bad_nesting, 1},
        {__LINE__, R"({^"a":[^{}]})", 2, 1, "", LCA__Bad_nesting, 1},
        // An object; the cursor has gone back to the colon before the level is looked at.
        {__LINE__, R"({^"a":^ {}})", 0, 1, "", LCA__Bad_nesting, 1},
        {__LINE__, R"({},^"a":^{}})", 2, 1, "", LCA__Bad_nesting, 1},
        {__LINE__, R"({^"a": {^}})", 1, 2, "", LCA__Expected_string, 2},
        {__LINE__, R"({^"a": {^}})", 2, 2, "", LCA__Expected_string, 2},
        {__LINE__, R"({^"a": {^}})", 0, 0, "", LCA__Expected_string, 0},
        // A scalar asks for no level.
        {__LINE__, R"({^"a":x^})", 7, 1, "a=x", kNoKey, 1},
        {__LINE__, R"({"a":[{}^]^})", 1, 2, "", LCA__Bad_nesting, 2},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE("line " + std::to_string(row.line) + ": " + row.text);
        const Marked first = unmark(row.text);
        const Marked second = unmark(first.text);
        MLDoc doc;
        open(doc, second.text);
        place(doc, row.names, first.caret);
        MLDoc::Token token;
        token.level = row.level;
        const MLDoc::Token kept = token;
        MLDoc::Attribute attribute;
        attribute.name = "old";
        attribute.value = "older";
        bool found = false;
        EXPECT_EQ(keyOf([&] { found = doc.attribute_json(token, attribute); }), row.key);
        EXPECT_EQ(found, *row.log != 0);
        EXPECT_EQ(attribute.name.std() + "=" + attribute.value.std(), found ? row.log : "old=older");
        EXPECT_EQ(doc.position, second.caret);
        ASSERT_EQ(doc.openNames.count, row.namesAfter);
        if (row.namesAfter > row.names) {
            EXPECT_EQ(doc.openNames[row.names].std(), "a");
        }
        EXPECT_TRUE(same(token, kept));
    }
}

TEST(JsonReadingTest, StepGoesOnWhereAttributesWereLeft) {
    struct Row {
        int line;
        std::string text;
        int reads;
        const char* log;
        int key;
        int names;
    };
    const Row rows[] = {
        {__LINE__, R"({"a":1,"b":2})", 1, "-:0 .", kNoKey, 1},
        {__LINE__, R"({"a":"1","b":[{}]})", 1, "+b:2 -b:1 -:0 .", kNoKey, 1},
        {__LINE__, R"({"a":"1","b":{}})", 1, "+b:2 -b:1 -:0 .", kNoKey, 1},
        {__LINE__, R"({"a":1,"b": {}})", 2, "+b:2 -b:1 -:0 .", kNoKey, 1},
        {__LINE__, R"({"a":1,"b": [{}]})", 2, "+b:2 -b:1 -:0 .", kNoKey, 1},
        {__LINE__, R"({"a":1 "b"^:2})", 1, "", LCA__Unexpected_string, 1},
        {__LINE__, R"({"a":1 "b":2})", 2, "-:0 .", kNoKey, 1},
        {__LINE__, R"({"a":"1"]^})", 1, "", LCA__Unexpected__2, 1},
        {__LINE__, R"({"a":1{^}})", 1, "", LCA__Unexpected__1, 1},
        {__LINE__, R"({"a":[,^{}]})", 1, "", LCA__Unexpected, 2},
        {__LINE__, R"({"a":1,})", 2, "-:0 .", kNoKey, 1},
        {__LINE__, R"({"a":1 )", 1, "", LCA__Bad_nesting, 1},
        {__LINE__, R"({"a":1)", 1, ".", kNoKey, 1},
        {__LINE__, R"({"a":[)", 1, ".", kNoKey, 2},
        {__LINE__, R"({"a":[ )", 1, "", LCA__Bad_nesting, 2},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE("line " + std::to_string(row.line) + ": " + row.text);
        const Marked marked = unmark(row.text);
        MLDoc doc;
        open(doc, marked.text);
        MLDoc::Token token;
        ASSERT_TRUE(doc.step(token));
        MLDoc::Attribute attribute;
        for (int i = 0; i < row.reads; ++i) doc.attribute(token, attribute);
        const Walk result = walk(doc, token, Skip);
        EXPECT_EQ(result.log, row.log);
        EXPECT_EQ(result.key, row.key);
        EXPECT_EQ(doc.position, marked.caret);
        EXPECT_EQ(doc.openNames.count, row.names);
    }
}

// Resumed behind a quoted value, the stepper does not know that it was quoted and lets a brace pass as far as the
// nesting. Coming there by itself it refuses the brace.
TEST(JsonReadingTest, QuotedValueReadsAsAWordWhenResumed) {
    MLDoc doc;
    open(doc, R"({"a":[{"b":"x"{}]})");
    MLDoc::Token token;
    ASSERT_TRUE(doc.step(token) && doc.step(token));
    MLDoc::Attribute attribute;
    ASSERT_TRUE(doc.attribute(token, attribute));
    EXPECT_EQ(keyOf([&] { doc.step(token); }), LCA__Bad_nesting);
    EXPECT_EQ(token.level, 2);
    EXPECT_EQ(doc.position, 15U);
}

// ---- passes and iterators

TEST(JsonReadingTest, PassesRepeatWithoutLists) {
    MLDoc doc;
    open(doc, R"({"a":1,"b":"x"})");
    MLDoc::Token token;
    ASSERT_TRUE(doc.step(token));
    for (int pass = 0; pass < 3; ++pass) {
        std::string log;
        MLDoc::Attribute attribute;
        MLDoc::AttributeIterator attributes(&doc, token);
        while (attributes(attribute)) log += attribute.name.std() + "=" + attribute.value.std() + ";";
        EXPECT_EQ(log, "a=1;b=x;");
        EXPECT_EQ(doc.position, doc.length - 1);
        EXPECT_EQ(doc.openNames.count, 1);
        EXPECT_EQ(doc.getAttributeValue(token, "none").begin, nullptr);
        EXPECT_EQ(doc.getAttributeValue(token, "b").std(), "x");
        EXPECT_EQ(doc.position, doc.length - 1);
        EXPECT_EQ(doc.getAttributeValue(token, "a").std(), "1");
        EXPECT_EQ(doc.position, 6U);
    }
    EXPECT_TRUE(doc.step(token));
    EXPECT_TRUE(token.closing);
}

TEST(JsonReadingTest, SecondPassOverAChildIsRefused) {
    struct Row {
        int line;
        const char* text;
        int key;
    };
    const Row rows[] = {
        {__LINE__, R"({"a":1,"list": [^{}]})", LCA__Bad_nesting},
        {__LINE__, R"({"a":1,"list": {^}})", LCA__Expected_string},
    };
    for (const Row& row : rows) {
        for (const bool lookUp : {false, true}) {
            SCOPED_TRACE(row.line);
            const Marked marked = unmark(row.text);
            MLDoc doc;
            open(doc, marked.text);
            MLDoc::Token token;
            ASSERT_TRUE(doc.step(token));
            MLDoc::Attribute attribute;
            // A value in front of the child may be looked up as often as one likes.
            EXPECT_EQ(doc.getAttributeValue(token, "a").std(), "1");
            EXPECT_EQ(doc.getAttributeValue(token, "a").std(), "1");
            EXPECT_EQ(doc.openNames.count, 1);
            const auto pass = [&] {
                if (lookUp) {
                    EXPECT_EQ(doc.getAttributeValue(token, "none").begin, nullptr);
                } else {
                    MLDoc::AttributeIterator attributes(&doc, token);
                    while (attributes(attribute)) EXPECT_EQ(attribute.name.std(), "a");
                }
            };
            EXPECT_EQ(keyOf(pass), kNoKey);
            EXPECT_EQ(doc.openNames.count, 2);
            EXPECT_EQ(doc.getAttributeValue(token, "a").std(), "1");
            EXPECT_EQ(keyOf(pass), row.key);
            EXPECT_EQ(doc.position, marked.caret);
            EXPECT_EQ(doc.openNames.count, 2);
            EXPECT_EQ(token.level, 1);
        }
    }
}

TEST(JsonReadingTest, BareAndQuotedWordsAreTheSame) {
    MLDoc doc;
    open(doc, R"({"a":true,"b":"true","c":True,"d":1})");
    MLDoc::Token token;
    ASSERT_TRUE(doc.step(token));
    EXPECT_TRUE(doc.getAttributeBool(token, "a"));
    EXPECT_TRUE(doc.getAttributeBool(token, "b"));
    EXPECT_FALSE(doc.getAttributeBool(token, "c"));
    EXPECT_FALSE(doc.getAttributeBool(token, "d"));
    EXPECT_FALSE(doc.getAttributeBool(token, "e"));
}

TEST(JsonReadingTest, ChildIteratorsNest) {
    MLDoc doc;
    open(doc, "{\"x\":0,\"a\":[{\"n\":1,\"sub\":[{\"n\":2},{\"n\":3}]},{\"n\":4}],\"b\":[{\"n\":5}]}\n");
    MLDoc::Token token;
    std::string log;
    MLDoc::ChildIterator roots(&doc, token);
    while (roots()) {
        EXPECT_EQ(token.level, 1);
        log += "x" + doc.getAttributeValue(token, "x").std();
        MLDoc::ChildIterator items(&doc, token);
        while (items()) {
            EXPECT_EQ(token.level, 2);
            log += " " + token.name.std() + doc.getAttributeValue(token, "n").std();
            MLDoc::ChildIterator subs(&doc, token);
            while (subs("sub")) log += " " + token.name.std() + doc.getAttributeValue(token, "n").std();
        }
        EXPECT_EQ(token.level, 0);
        EXPECT_TRUE(token.closing);
    }
    EXPECT_EQ(log, "x0 a1 sub2 sub3 a4 b5");
    EXPECT_EQ(doc.openNames.count, 0);
}

TEST(JsonReadingTest, ChildIteratorTellsOfACutDocument) {
    struct Row {
        int line;
        const char* text;
        int key;
        unsigned position;
    };
    const Row rows[] = {
        {__LINE__, R"({"a":[{})", LCA__Closing_tag_not_found, 1},
        {__LINE__, R"({"a":[{},{)", LCA__Closing_tag_not_found, 1},
        {__LINE__, R"({"a":[{} )", LCA__Bad_nesting, 9},
        {__LINE__, R"({"a":[{},)", LCA__Bad_nesting, 9},
        {__LINE__, R"({"a":[{}])", LCA__Bad_nesting, 9},
        {__LINE__, R"({"a":[{}]})", kNoKey, 10},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE("line " + std::to_string(row.line) + ": " + row.text);
        MLDoc doc;
        open(doc, row.text);
        MLDoc::Token token;
        MLDoc::ChildIterator roots(&doc, token);
        ASSERT_TRUE(roots());
        MLDoc::ChildIterator items(&doc, token);
        ASSERT_TRUE(items());
        const int key = keyOf([&] {
            while (items()) {
            }
        });
        EXPECT_EQ(key, row.key);
        EXPECT_EQ(doc.position, row.position);
    }
}

TEST(JsonReadingTest, ByteOrderMarkPassesLoadAndFailsAtTheFirstStep) {
    MLDoc doc;
    doc.load("test.json", "\xEF\xBB\xBF{}\n", 6);
    EXPECT_EQ(doc.format, MLDocBase::JSON);
    EXPECT_EQ(doc.position, 3U);
    MLDoc::Token token;
    EXPECT_EQ(keyOf([&] { doc.step(token); }), LCA__Unexpected__1);
    EXPECT_EQ(doc.position, 4U);
    EXPECT_EQ(token.level, 0);
    EXPECT_EQ(token.body.begin, nullptr);
    EXPECT_EQ(doc.openNames.count, 1);
}

}  // namespace
