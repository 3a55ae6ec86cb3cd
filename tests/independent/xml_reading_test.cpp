// XML side of MLDoc: the tag stepper, and the attribute reader that rescans a tag on demand.
#include <gtest/gtest.h>
#include <velmora/velmora.h>

#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

namespace {

const int NoKey = -1;
const int Kept = -1;  // an offset column: the pointer is as it was before the call

struct Failure {
    int key = NoKey;
    bool bare = false;  // nothing but the key: no file, no place, no parameter
};

template <class F>
Failure failureOf(F call) {
    Failure failure;
    try {
        call();
    } catch (const TTT& message) {
        int dict = 0;
        EXPECT_TRUE(message.getIds(&dict, &failure.key));
        EXPECT_EQ(VELMORA_DICT, dict);
        TTT alone(VELMORA_DICT, failure.key);
        const Bag &got = message.getData(), &want = alone.getData();
        failure.bare = got.size == want.size && std::memcmp(got.data, want.data, std::size_t(want.size)) == 0;
    }
    return failure;
}

// A document without format detection, so that any byte may stand first. The block has the exact size, which lets a
// memory checker see every byte read behind it.
class Reader : public MLDoc {
public:
    struct Warning {
        const Token* token;
        const Attribute* attribute;
        std::string name, value;
        std::uint32_t position;
    };
    mutable std::vector<Warning> warnings;

    explicit Reader(const std::string& text) {
        xml_char_classes_prepare();
        buffer = new char[text.size()];
        if (!text.empty()) std::memcpy(buffer, text.data(), text.size());
        length = std::uint32_t(text.size());
        format = XML;
    }
    void warnSuspiciousAttribute(const Token* token, const Attribute* attribute) const override {
        warnings.push_back({token, attribute, attribute->name.std(), attribute->value.std(), position});
    }
    int offset(const char* p) const { return int(p - buffer); }
    std::string text() const { return std::string(buffer, length); }
    Token tokenAt(int begin, int end) const {
        Token token;
        token.body.assign(buffer + begin, buffer + end);
        return token;
    }
};

char previousName[] = "previous";

// Every field holds something that no step would give it.
MLDoc::Token usedToken() {
    MLDoc::Token token;
    token.name.assign(previousName, previousName + 8);
    token.body.assign(previousName + 1, previousName + 2);
    token.kind = 5;
    token.level = 7;
    token.opening = token.closing = true;
    return token;
}

struct StepRow {
    int line;
    std::string text;
    int begin, end;  // of the body
    int kind;
    bool opening, closing;
    int level;         // from 7
    const char* name;  // null: the previous one stays
};

void checkStep(const StepRow& row) {
    SCOPED_TRACE(testing::Message() << "line " << row.line << ": " << row.text);
    Reader doc(row.text);
    MLDoc::Token token = usedToken();
    bool delivered = false;
    EXPECT_EQ(NoKey, failureOf([&] { delivered = doc.step_xml(token); }).key);
    ASSERT_TRUE(delivered);
    EXPECT_EQ(row.begin, doc.offset(token.body.begin));
    EXPECT_EQ(row.end, doc.offset(token.body.end));
    EXPECT_EQ(std::uint32_t(row.end), doc.position);
    EXPECT_EQ(row.kind, token.kind);
    EXPECT_EQ(row.opening, token.opening);
    EXPECT_EQ(row.closing, token.closing);
    EXPECT_EQ(row.level, token.level);
    if (row.name) {
        EXPECT_EQ(std::string(row.name), token.name.std());
        EXPECT_GT(token.name.begin, token.body.begin);
        EXPECT_LT(token.name.end, token.body.end);
    } else {
        EXPECT_EQ(previousName, token.name.begin);
        EXPECT_EQ(previousName + 8, token.name.end);
    }
}

struct StepFailureRow {
    int line;
    std::string text;
    int key;
    int position;
    int begin;  // of the body; its end is never touched
    int kind;
    bool opening, closing;
    int level;
    int nameBegin, nameEnd;
};

void checkStepFailure(const StepFailureRow& row) {
    SCOPED_TRACE(testing::Message() << "line " << row.line << ": " << row.text);
    Reader doc(row.text);
    MLDoc::Token token = usedToken();
    Failure failure = failureOf([&] { doc.step_xml(token); });
    EXPECT_EQ(row.key, failure.key);
    EXPECT_TRUE(failure.bare);
    EXPECT_EQ(row.position, int(doc.position));
    EXPECT_EQ(row.begin, doc.offset(token.body.begin));
    EXPECT_EQ(previousName + 2, token.body.end);
    EXPECT_EQ(row.kind, token.kind);
    EXPECT_EQ(row.opening, token.opening);
    EXPECT_EQ(row.closing, token.closing);
    EXPECT_EQ(row.level, token.level);
    EXPECT_EQ(row.nameBegin == Kept ? previousName : doc.buffer + row.nameBegin, token.name.begin);
    EXPECT_EQ(row.nameEnd == Kept ? previousName + 8 : doc.buffer + row.nameEnd, token.name.end);
    EXPECT_EQ(row.text, doc.text());
}

enum Class { G, W, S, Bad };

Class classOf(int c) {
    if ((c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z')) return G;
    if (c == '_' || c == '-' || c == '.' || c == ':') return G;
    if (c == ' ' || c == 9 || c == 10 || c == 13) return W;
    if (c == '<' || c == '>' || c == '/') return S;
    return Bad;
}

std::string chars(int n, char c = 'n') { return std::string(std::size_t(n), c); }
std::string one(int c) { return std::string(1, char(c)); }

// Attributes as "name=value;" up to the end of the list.
std::string attributesOf(MLDoc& doc, const MLDoc::Token& token) {
    std::string list;
    MLDoc::Attribute attribute;
    while (doc.attribute_xml(token, attribute)) list += attribute.name.std() + "=" + attribute.value.std() + ";";
    return list;
}

// What stands behind the tag would be a fine continuation of anything, so that reading beyond the body shows.
const char behindTag[] = "=\"8\" behind=\"9\">";

Failure attributeFailure(Reader& doc, const MLDoc::Token& token, int& delivered) {
    MLDoc::Attribute attribute;
    delivered = 0;
    return failureOf([&] {
        while (doc.attribute_xml(token, attribute)) ++delivered;
    });
}

TEST(XmlStep, DeliversTags) {
    const StepRow rows[] = {
        {__LINE__, "<a>", 0, 3, 0, true, false, 8, "a"},
        {__LINE__, "<a></a>", 0, 3, 0, true, false, 8, "a"},
        {__LINE__, "<a/>", 0, 4, 0, true, true, 7, "a"},
        {__LINE__, "text<a/>", 4, 8, 0, true, true, 7, "a"},
        {__LINE__, "&>\"'/ \x80\n<a>", 8, 11, 0, true, false, 8, "a"},
        {__LINE__, std::string("\0\0<a>", 5), 2, 5, 0, true, false, 8, "a"},
        {__LINE__, "</a>", 0, 4, 0, false, true, 6, "a"},
        {__LINE__, "text</a>text", 4, 8, 0, false, true, 6, "a"},
        // A name may begin with anything a name may hold.
        {__LINE__, "<-.:_9Zz>", 0, 9, 0, true, false, 8, "-.:_9Zz"},
        {__LINE__, "<0/>", 0, 4, 0, true, true, 7, "0"},
        {__LINE__, "</-x>", 0, 5, 0, false, true, 6, "-x"},
        {__LINE__, "<a\t>", 0, 4, 0, true, false, 8, "a"},
        {__LINE__, "<a\r\n>", 0, 5, 0, true, false, 8, "a"},
        // Only the byte before '>' closes a tag.
        {__LINE__, "<a />", 0, 5, 0, true, true, 7, "a"},
        {__LINE__, "<a//>", 0, 5, 0, true, true, 7, "a"},
        {__LINE__, "<a/ />", 0, 6, 0, true, true, 7, "a"},
        {__LINE__, "<a b=\"1\"/>", 0, 10, 0, true, true, 7, "a"},
        {__LINE__, "<a b=/>", 0, 7, 0, true, true, 7, "a"},
        {__LINE__, "<a/ >", 0, 5, 0, true, false, 8, "a"},
        {__LINE__, "<a / >", 0, 6, 0, true, false, 8, "a"},
        {__LINE__, "<a/b>", 0, 5, 0, true, false, 8, "a"},
        {__LINE__, "<a b=\"1\" / >", 0, 12, 0, true, false, 8, "a"},
        {__LINE__, "<a b=\"/\">", 0, 9, 0, true, false, 8, "a"},
        {__LINE__, "<a b='/'>", 0, 9, 0, true, false, 8, "a"},
        {__LINE__, "<a b='1'/>", 0, 10, 0, true, true, 7, "a"},
        // Double quotes hide '>', wherever they stand; nothing else does.
        {__LINE__, "<a b=\"x>y\">", 0, 11, 0, true, false, 8, "a"},
        {__LINE__, "<a b=\"/>\"/>", 0, 11, 0, true, true, 7, "a"},
        {__LINE__, "<a b=\"/>\">", 0, 10, 0, true, false, 8, "a"},
        {__LINE__, "<a b=\">\" c=\">\">>", 0, 15, 0, true, false, 8, "a"},
        {__LINE__, "<a/\">\"/>", 0, 8, 0, true, true, 7, "a"},
        {__LINE__, "<a \">\">", 0, 7, 0, true, false, 8, "a"},
        {__LINE__, "<a \"\"\">\">", 0, 9, 0, true, false, 8, "a"},
        {__LINE__, "<a b='x>y'>", 0, 8, 0, true, false, 8, "a"},
        {__LINE__, "<a b='\">'\">", 0, 11, 0, true, false, 8, "a"},
        {__LINE__, "<a <b>", 0, 6, 0, true, false, 8, "a"},
        {__LINE__, "<a \x80=\xFF\x01>", 0, 8, 0, true, false, 8, "a"},
        {__LINE__, "<a/<!-->", 0, 8, 0, true, false, 8, "a"},
        // What stands behind an end tag's name is passed over; a '/' there does not close it twice.
        {__LINE__, "</a >", 0, 5, 0, false, true, 6, "a"},
        {__LINE__, "</a/>", 0, 5, 0, false, true, 6, "a"},
        {__LINE__, "</a />", 0, 6, 0, false, true, 6, "a"},
        {__LINE__, "</a b=\"1>\">", 0, 11, 0, false, true, 6, "a"},
    };
    for (const StepRow& row : rows) checkStep(row);
}

TEST(XmlStep, DeliversDeclarations) {
    const StepRow rows[] = {
        {__LINE__, "<?pi?>", 0, 6, 1, false, false, 7, nullptr},
        {__LINE__, "x<?pi?>y", 1, 7, 1, false, false, 7, nullptr},
        {__LINE__, "<?>", 0, 3, 1, false, false, 7, nullptr},
        {__LINE__, "<?>?>", 0, 3, 1, false, false, 7, nullptr},
        {__LINE__, "<?/>", 0, 4, 1, false, false, 7, nullptr},
        {__LINE__, "<?pi/>", 0, 6, 1, false, false, 7, nullptr},
        {__LINE__, "<?\x80\x01<=?>", 0, 8, 1, false, false, 7, nullptr},
        {__LINE__, "<?x a=\"?>\"?>", 0, 12, 1, false, false, 7, nullptr},
        {__LINE__, "<?\">\"?>", 0, 7, 1, false, false, 7, nullptr},
        {__LINE__, "<?x a='>'?>", 0, 8, 1, false, false, 7, nullptr},
    };
    for (const StepRow& row : rows) checkStep(row);
}

TEST(XmlStep, DeliversComments) {
    const StepRow rows[] = {
        {__LINE__, "<!---->", 0, 7, 2, false, false, 7, nullptr},
        {__LINE__, "x<!---->y", 1, 8, 2, false, false, 7, nullptr},
        {__LINE__, "<!-- <a b=\"> -->-->", 0, 16, 2, false, false, 7, nullptr},
        {__LINE__, "<!-- -> -- > - -->", 0, 18, 2, false, false, 7, nullptr},
        {__LINE__, "<!-- --->", 0, 9, 2, false, false, 7, nullptr},
        {__LINE__, std::string("<!--\0\xFF-->", 9), 0, 9, 2, false, false, 7, nullptr},
        // The first bytes are jumped over, so what looks like an end among them is none.
        {__LINE__, "<!-->-->", 0, 8, 2, false, false, 7, nullptr},
        {__LINE__, "<!--->-->", 0, 9, 2, false, false, 7, nullptr},
        {__LINE__, "<!--> <a> -->", 0, 13, 2, false, false, 7, nullptr},
        {__LINE__, "<!---->-->", 0, 7, 2, false, false, 7, nullptr},
        // Anything behind "<!" counts as a comment, and the jump is the same.
        {__LINE__, "<!xx-->", 0, 7, 2, false, false, 7, nullptr},
        {__LINE__, "<!x-->-->", 0, 9, 2, false, false, 7, nullptr},
        {__LINE__, "<!>abc-->", 0, 9, 2, false, false, 7, nullptr},
        {__LINE__, "<!DOCTYPE a><b/><!-- c --><d/>", 0, 26, 2, false, false, 7, nullptr},
        {__LINE__, "<![CDATA[ a-->]]>", 0, 14, 2, false, false, 7, nullptr},
    };
    for (const StepRow& row : rows) checkStep(row);
}

TEST(XmlStep, RefusesBrokenTags) {
    const int unfinished = LCA__XML_tag_is_not_finished, bad = LCA__Bad_character_in_XML_tag;
    const int nested = LCA__Nested_XML_tag, empty = LCA__Empty_XML_tag, tooLong = LCA__Too_long_XML_tag;
    const std::string name510 = chars(510), name511 = chars(511), name600 = chars(600);
    const StepFailureRow rows[] = {
        // Behind '<' alone nothing is known yet: kind and flags are the previous ones.
        {__LINE__, "<", unfinished, 1, 0, 5, true, true, 7, Kept, Kept},
        {__LINE__, "text<", unfinished, 5, 4, 5, true, true, 7, Kept, Kept},
        {__LINE__, "<a", unfinished, 2, 0, 0, true, false, 7, 1, Kept},
        {__LINE__, "x<abc", unfinished, 5, 1, 0, true, false, 7, 2, Kept},
        {__LINE__, "<a ", unfinished, 3, 0, 0, true, false, 7, 1, 2},
        {__LINE__, "<a/", unfinished, 3, 0, 0, true, false, 7, 1, 2},
        {__LINE__, "<a b=\"1", unfinished, 7, 0, 0, true, false, 7, 1, 2},
        {__LINE__, "<a b=\"1>", unfinished, 8, 0, 0, true, false, 7, 1, 2},
        {__LINE__, "<a b=\"1\"\"></a>", unfinished, 14, 0, 0, true, false, 7, 1, 2},
        {__LINE__, "</", unfinished, 2, 0, 0, false, true, 6, 2, Kept},
        {__LINE__, "</a", unfinished, 3, 0, 0, false, true, 6, 2, Kept},
        {__LINE__, "</a ", unfinished, 4, 0, 0, false, true, 6, 2, 3},
        {__LINE__, "<?", unfinished, 2, 0, 1, false, false, 7, Kept, Kept},
        {__LINE__, "<?pi?", unfinished, 5, 0, 1, false, false, 7, Kept, Kept},
        {__LINE__, "<?pi \"?>", unfinished, 8, 0, 1, false, false, 7, Kept, Kept},

        {__LINE__, "<a=>", bad, 3, 0, 0, true, false, 7, 1, Kept},
        {__LINE__, "<a\">", bad, 3, 0, 0, true, false, 7, 1, Kept},
        {__LINE__, "<a?>", bad, 3, 0, 0, true, false, 7, 1, Kept},
        {__LINE__, "<a!>", bad, 3, 0, 0, true, false, 7, 1, Kept},
        {__LINE__, "<a\x0B>", bad, 3, 0, 0, true, false, 7, 1, Kept},
        {__LINE__, "<\xC3\xA9>", bad, 2, 0, 0, true, false, 7, 1, Kept},
        {__LINE__, "<'a'>", bad, 2, 0, 0, true, false, 7, 1, Kept},
        {__LINE__, std::string("<\0>", 3), bad, 2, 0, 0, true, false, 7, 1, Kept},
        {__LINE__, "</a=>", bad, 4, 0, 0, false, true, 6, 2, Kept},
        {__LINE__, "</!>", bad, 3, 0, 0, false, true, 6, 2, Kept},
        {__LINE__, "</?>", bad, 3, 0, 0, false, true, 6, 2, Kept},

        {__LINE__, "<<a>", nested, 2, 0, 0, true, false, 7, 1, Kept},
        {__LINE__, "</<a>", nested, 3, 0, 0, false, true, 6, 2, Kept},
        {__LINE__, "<a<b>", nested, 3, 0, 0, true, false, 7, 1, Kept},
        {__LINE__, "</a<b>", nested, 4, 0, 0, false, true, 6, 2, Kept},

        {__LINE__, "<>", empty, 2, 0, 0, true, false, 7, 1, Kept},
        {__LINE__, "</>", empty, 3, 0, 0, false, true, 6, 2, Kept},
        {__LINE__, "< a>", empty, 2, 0, 0, true, false, 7, 1, Kept},
        {__LINE__, "</ a>", empty, 3, 0, 0, false, true, 6, 2, Kept},
        {__LINE__, "<\n", empty, 2, 0, 0, true, false, 7, 1, Kept},
        {__LINE__, "<//a>", empty, 3, 0, 0, false, true, 6, 2, Kept},

        {__LINE__, "<" + name511 + ">", tooLong, 512, 0, 0, true, false, 7, 1, Kept},
        {__LINE__, "<" + name511, tooLong, 512, 0, 0, true, false, 7, 1, Kept},
        {__LINE__, "<" + name600 + ">", tooLong, 512, 0, 0, true, false, 7, 1, Kept},
        {__LINE__, "</" + name511 + ">", tooLong, 513, 0, 0, false, true, 6, 2, Kept},
        {__LINE__, "<" + name510, unfinished, 511, 0, 0, true, false, 7, 1, Kept},
        {__LINE__, "<" + name510 + "=", bad, 512, 0, 0, true, false, 7, 1, Kept},
        {__LINE__, "<" + name510 + "<", nested, 512, 0, 0, true, false, 7, 1, Kept},
    };
    for (const StepFailureRow& row : rows) checkStepFailure(row);
}

TEST(XmlStep, AcceptsNamesUpTo510Bytes) {
    EXPECT_EQ(512u, +MLDoc::TokenNameMax);
    EXPECT_EQ(512u, +MLDoc::AttributeNameMax);
    for (int n : {1, 255, 509, 510}) {
        const std::string name = chars(n);
        checkStep({__LINE__, "<" + name + ">", 0, n + 2, 0, true, false, 8, name.c_str()});
        checkStep({__LINE__, "<" + name + "/>", 0, n + 3, 0, true, true, 7, name.c_str()});
        checkStep({__LINE__, "<" + name + " >", 0, n + 3, 0, true, false, 8, name.c_str()});
        checkStep({__LINE__, "</" + name + ">", 0, n + 3, 0, false, true, 6, name.c_str()});
    }
    // A declaration's name is not read, so it has no bound.
    checkStep({__LINE__, "<?" + chars(1000) + "?>", 0, 1004, 1, false, false, 7, nullptr});
}

TEST(XmlStep, UnfinishedCommentEndsAtTheLength) {
    const int key = LCA__XML_comment_is_not_finished;
    for (const char* text :
         {"<!", "<!-", "<!--", "<!---", "<!----", "<!-->", "<!--->", "<!x-->", "<!-- ->", "<!-- --", "<!-- -- >",
          "<!DOCTYPE a>", "<!DOCTYPE a><b></b>", "<![CDATA[a]]><b/>", "<!>", "<!>>>>>>>"})
        checkStepFailure({__LINE__, text, key, int(std::strlen(text)), 0, 2, false, false, 7, Kept, Kept});
    checkStepFailure({__LINE__, "ab<!", key, 4, 2, 2, false, false, 7, Kept, Kept});
}

TEST(XmlStep, EndOfTheBuffer) {
    for (const char* text : {"", "a", "text > / \" and nothing", "\n"}) {
        SCOPED_TRACE(text);
        Reader doc(text);
        MLDoc::Token token = usedToken();
        for (int i = 0; i < 3; ++i) {
            EXPECT_FALSE(doc.step_xml(token));
            EXPECT_EQ(doc.length, doc.position);
        }
        EXPECT_EQ(previousName, token.name.begin);
        EXPECT_EQ(previousName + 1, token.body.begin);
        EXPECT_EQ(previousName + 2, token.body.end);
        EXPECT_EQ(5, token.kind);
        EXPECT_EQ(7, token.level);
        EXPECT_TRUE(token.opening && token.closing);
    }
    Reader beyond("<a>");
    MLDoc::Token token;
    beyond.position = 4;
    EXPECT_FALSE(beyond.step_xml(token));
    EXPECT_EQ(4u, beyond.position);
    MLDoc nothing;
    EXPECT_FALSE(nothing.step(token));
    EXPECT_EQ(nullptr, token.body.begin);
}

TEST(XmlStep, ClassOfEveryByteBehindAName) {
    for (int c = 0; c < 256; ++c) {
        SCOPED_TRACE(c);
        const std::string text = "<a" + one(c) + ">";
        const std::string longer = "a" + one(c);
        if (c == '<')
            checkStepFailure({__LINE__, text, LCA__Nested_XML_tag, 3, 0, 0, true, false, 7, 1, Kept});
        else if (c == '>')
            checkStep({__LINE__, text, 0, 3, 0, true, false, 8, "a"});
        else if (c == '/')
            checkStep({__LINE__, text, 0, 4, 0, true, true, 7, "a"});
        else if (classOf(c) == W)
            checkStep({__LINE__, text, 0, 4, 0, true, false, 8, "a"});
        else if (classOf(c) == G)
            checkStep({__LINE__, text, 0, 4, 0, true, false, 8, longer.c_str()});
        else
            checkStepFailure({__LINE__, text, LCA__Bad_character_in_XML_tag, 3, 0, 0, true, false, 7, 1, Kept});
    }
}

TEST(XmlStep, ClassOfEveryByteThatBeginsAName) {
    for (int c = 0; c < 256; ++c) {
        if (c == '!' || c == '/' || c == '?') continue;  // these choose another construct
        SCOPED_TRACE(c);
        const std::string text = "<" + one(c) + "b>";
        const std::string name = one(c) + "b";
        int key = LCA__Bad_character_in_XML_tag;
        if (c == '<') key = LCA__Nested_XML_tag;
        if (c == '>' || classOf(c) == W) key = LCA__Empty_XML_tag;
        if (classOf(c) == G)
            checkStep({__LINE__, text, 0, 4, 0, true, false, 8, name.c_str()});
        else
            checkStepFailure({__LINE__, text, key, 2, 0, 0, true, false, 7, 1, Kept});
    }
}

TEST(XmlStep, PreparingTheClassesAgainChangesNothing) {
    for (int i = 0; i < 3; ++i) {
        xml_char_classes_prepare();
        checkStep({__LINE__, "<a:b-1._Z />", 0, 12, 0, true, true, 7, "a:b-1._Z"});
        checkStepFailure(
            {__LINE__, std::string("<a\0>", 4), LCA__Bad_character_in_XML_tag, 3, 0, 0, true, false, 7, 1, Kept});
        checkStepFailure({__LINE__, "<a?>", LCA__Bad_character_in_XML_tag, 3, 0, 0, true, false, 7, 1, Kept});
    }
}

TEST(XmlStep, OnlyTheLevelTracksNesting) {
    const std::string text = "<?xml version=\"1.0\"?>\n<a>t<b/><!-- c --><?pi?><c x=\"1\">u</d>v</e></f></g><h/>";
    MLDoc doc;
    doc.load("nesting.xml", text.data(), int(text.size()));
    ASSERT_EQ(MLDocBase::XML, doc.format);
    EXPECT_EQ(21u, doc.position);
    doc.openNames.append(ChPair(previousName));
    const struct {
        int line;
        const char* name;
        int kind, level;
        bool opening, closing;
    } rows[] = {
        {__LINE__, "a", 0, 1, true, false},  {__LINE__, "b", 0, 1, true, true},   {__LINE__, "b", 2, 1, false, false},
        {__LINE__, "b", 1, 1, false, false}, {__LINE__, "c", 0, 2, true, false},  {__LINE__, "d", 0, 1, false, true},
        {__LINE__, "e", 0, 0, false, true},  {__LINE__, "f", 0, -1, false, true}, {__LINE__, "g", 0, -2, false, true},
        {__LINE__, "h", 0, -2, true, true},
    };
    MLDoc::Token token;
    for (const auto& row : rows) {
        SCOPED_TRACE(row.line);
        ASSERT_TRUE(doc.step(token));
        EXPECT_EQ(std::string(row.name), token.name.std());
        EXPECT_EQ(row.kind, token.kind);
        EXPECT_EQ(row.level, token.level);
        EXPECT_EQ(row.opening, token.opening);
        EXPECT_EQ(row.closing, token.closing);
        EXPECT_EQ(token.body.end, doc.buffer + doc.position);
    }
    EXPECT_FALSE(doc.step(token));
    EXPECT_EQ(-2, token.level);
    EXPECT_EQ(std::string("h"), token.name.std());
    ASSERT_EQ(1, doc.openNames.getCount());
    EXPECT_EQ(previousName, doc.openNames[0].begin);
}

TEST(XmlStep, FailureNamesItsPlaceThroughFormMessage) {
    Reader doc("<a>\n <b c='1'/></a>");
    MLDoc::Token token;
    MLDoc::Attribute attribute;
    ASSERT_TRUE(doc.step(token));
    ASSERT_TRUE(doc.step(token));
    try {
        doc.attribute(token, attribute);
        FAIL();
    } catch (TTT& message) {
        const int alone = message.getData().size;
        doc.formMessage(message);
        EXPECT_GT(message.getData().size, alone);
        int key = NoKey, line = 0, column = 0;
        EXPECT_TRUE(message.getIds(nullptr, &key));
        EXPECT_EQ(LCA__Initial_quote_expected_after, key);
        EXPECT_EQ(11u, doc.position);
        doc.getPosition(line, column);
        EXPECT_EQ(2, line);
        EXPECT_EQ(8, column);
    }
}

TEST(XmlAttribute, ReadsTheListAndStartsOver) {
    const std::string name511 = chars(511), anglePlus510 = "<" + chars(510);
    const struct {
        int line;
        std::string tag;
        std::string attributes;
    } rows[] = {
        {__LINE__, "<a>", ""},
        {__LINE__, "<a/>", ""},
        {__LINE__, "<a/b>", ""},
        {__LINE__, "<a >", ""},
        {__LINE__, "<a \t\r\n>", ""},
        {__LINE__, "<a />", ""},
        {__LINE__, "<a b=\"1\">", "b=1;"},
        {__LINE__, "<a b=\"1\"/>", "b=1;"},
        {__LINE__, "<a b=\"1\" />", "b=1;"},
        {__LINE__, "<a b=\"1\" / >", "b=1;"},
        {__LINE__, "</a b=\"1\">", "b=1;"},
        {__LINE__, "<a b=\"\">", "b=;"},
        {__LINE__, "<a\tb=\"1\"\nc=\"2\"\r>", "b=1;c=2;"},
        {__LINE__, "<a  b = \"1\"  c\t\r\n=\n\t\"2\" >", "b=1;c=2;"},
        {__LINE__, "<a b=\"1\"c=\"2\"d=\"3\">", "b=1;c=2;d=3;"},
        {__LINE__, "<a b=\"1\" b=\"2\">", "b=1;b=2;"},
        {__LINE__, "<a b=\"x>y\" c=\"</a>\">", "b=x>y;c=</a>;"},
        {__LINE__, "<a b=\"it's\" c=\"&quot;&#1;\\\">", "b=it's;c=&quot;&#1;\\;"},
        {__LINE__, "<a 0.:_Z=\"1\" .=\"2\" :=\"3\" _=\"4\">", "0.:_Z=1;.=2;:=3;_=4;"},
        {__LINE__, "<a b-=\"1\" c=\"2\">", "b-=1;c=2;"},
        {__LINE__, "<a b=\" 1 \">", "b= 1 ;"},
        {__LINE__, "<a " + name511 + "=\"1\">", name511 + "=1;"},
        {__LINE__, "<a " + name511 + " =\"1\">", name511 + "=1;"},
        // A '<' passes as a first byte, and counts as one.
        {__LINE__, "<a <b=\"1\">", "<b=1;"},
        {__LINE__, "<a " + anglePlus510 + "=\"1\">", anglePlus510 + "=1;"},
        // These bytes end the list, whatever follows.
        {__LINE__, "<a -x=\"1\" y=\"2\">", ""},
        {__LINE__, "<a b=\"1\" -x=\"1\" y=\"2\">", "b=1;"},
        {__LINE__, "<a !x=\"1\" y=\"2\">", ""},
        {__LINE__, "<a ?x=\"1\" y=\"2\">", ""},
        {__LINE__, "<a /x=\"1\" y=\"2\">", ""},
        {__LINE__, "<a b=\"1\"/ y=\"2\">", "b=1;"},
        {__LINE__, "<a b=\"1\">c=\"2\">", "b=1;"},
        {__LINE__, "<a > b=\"1\">", ""},
        {__LINE__, "<a b=\"1\" /", "b=1;"},
        // The tag's own name is passed over unread: white space ends it, or a '>' even in quotes.
        {__LINE__, "<a/b c=\"1\">", "c=1;"},
        {__LINE__, "<a/\"=\x80 c=\"1\">", "c=1;"},
        {__LINE__, "<a/\">\" c=\"1\">", ""},
        {__LINE__, "<?xml version=\"1.0\" encoding=\"utf-8\"?>", "version=1.0;encoding=utf-8;"},
        {__LINE__, "<?xml?>", ""},
        {__LINE__, "<!---->", ""},
        {__LINE__, "<!-- b=\"1\" -->", "b=1;"},
        {__LINE__, "<!-- -->", ""},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(testing::Message() << "line " << row.line << ": " << row.tag);
        Reader doc("<r>" + row.tag + behindTag);
        const int begin = 3, end = 3 + int(row.tag.size());
        const MLDoc::Token token = doc.tokenAt(begin, end);
        // Nowhere but strictly inside the tag does the cursor mean a list under way.
        for (int start : {end, begin, 0, end + 1, int(doc.length)}) {
            doc.position = std::uint32_t(start);
            std::string list;
            EXPECT_EQ(NoKey, failureOf([&] { list = attributesOf(doc, token); }).key);
            EXPECT_EQ(row.attributes, list);
            EXPECT_EQ(end, int(doc.position));
            EXPECT_EQ(row.attributes, attributesOf(doc, token)) << "a call behind the end starts over";
        }
        EXPECT_EQ("<r>" + row.tag + behindTag, doc.text());
        EXPECT_TRUE(doc.warnings.empty());
    }
}

TEST(XmlAttribute, RefusesBrokenLists) {
    const int unexpectedEnd = LCA__Unexpected_end_of_token, badBegin = LCA__Bad_character_instead_begin_of;
    const int badName = LCA__Bad_character_in_attribute_name, endOfName = LCA__End_of_attribute_name_is_not;
    const int noEquals = LCA__Character_expected_before_quote, twice = LCA__Duplicate_before_attribute_value;
    const int noQuote = LCA__Initial_quote_expected_after, notClosed = LCA__Closing_quote_is_missed;
    const int tooLong = LCA__Too_long_attribute_name;
    const std::string name511 = chars(511), name512 = chars(512);
    const struct {
        int line;
        std::string tag;
        int delivered;
        int key;
        int position;
    } rows[] = {
        {__LINE__, "", 0, unexpectedEnd, 0},
        {__LINE__, "<", 0, unexpectedEnd, 1},
        {__LINE__, "<a", 0, unexpectedEnd, 2},
        {__LINE__, "<a ", 0, unexpectedEnd, 3},
        {__LINE__, "<a \n\t", 0, unexpectedEnd, 5},
        {__LINE__, "<a b ", 0, unexpectedEnd, 5},
        {__LINE__, "<a b=", 0, unexpectedEnd, 5},
        {__LINE__, "<a b = ", 0, unexpectedEnd, 7},
        {__LINE__, "<a b=\"1\" ", 1, unexpectedEnd, 9},
        {__LINE__, "<a b=\"1\" c= ", 1, unexpectedEnd, 12},

        {__LINE__, "<a =\"1\">", 0, badBegin, 4},
        {__LINE__, "<a \"1\">", 0, badBegin, 4},
        {__LINE__, "<a '1'>", 0, badBegin, 4},
        {__LINE__, "<a &>", 0, badBegin, 4},
        {__LINE__, "<a \xC3\xA9=\"1\">", 0, badBegin, 4},
        {__LINE__,
         "<a \x0B"
         "b=\"1\">",
         0, badBegin, 4},
        {__LINE__, "<a b=\"1\"\"2\">", 1, badBegin, 9},
        {__LINE__, "<a b=\"1\" =\"2\">", 1, badBegin, 10},

        {__LINE__, "<a b>", 0, badName, 5},
        {__LINE__, "<a b/>", 0, badName, 5},
        {__LINE__, "<a b<c=\"1\">", 0, badName, 5},
        {__LINE__, "<a b\"1\">", 0, badName, 5},
        {__LINE__, "<a b?>", 0, badName, 5},
        {__LINE__, "<a b!=\"1\">", 0, badName, 5},
        {__LINE__, "<a b\xC3\xA9=\"1\">", 0, badName, 5},
        {__LINE__, "<a b=\"1\" cd>", 1, badName, 12},
        {__LINE__, "<a " + name511 + ">", 0, badName, 515},

        {__LINE__, "<a b", 0, endOfName, 4},
        {__LINE__, "<a bcd", 0, endOfName, 6},
        {__LINE__, "<a b=\"1\"c", 1, endOfName, 9},
        {__LINE__, "<a " + name511, 0, endOfName, 514},
        {__LINE__, "<a " + name512, 0, endOfName, 515},

        // The name is too long before the byte behind it is looked at.
        {__LINE__, "<a " + name512 + "=\"1\">", 0, tooLong, 515},
        {__LINE__, "<a " + name512 + ">", 0, tooLong, 515},
        {__LINE__, "<a " + name512 + "nnn=\"1\">", 0, tooLong, 515},
        {__LINE__, "<a <" + name511 + "=\"1\">", 0, tooLong, 515},
        {__LINE__, "<a b=\"1\"" + name512 + "=\"1\">", 1, tooLong, 520},

        {__LINE__, "<a b \"1\">", 0, noEquals, 6},
        {__LINE__, "<a b c=\"1\">", 0, noEquals, 6},
        {__LINE__, "<a b >", 0, noEquals, 6},
        {__LINE__, "<a b  />", 0, noEquals, 7},
        {__LINE__, "<!-- b -->", 0, noEquals, 8},
        {__LINE__, "<a b=\"1\" c d=\"2\">", 1, noEquals, 12},

        {__LINE__, "<a b==\"1\">", 0, twice, 6},
        {__LINE__, "<a b= =\"1\">", 0, twice, 7},
        {__LINE__, "<a b = =\"1\">", 0, twice, 8},
        {__LINE__, "<a b ==\"1\">", 0, twice, 7},

        {__LINE__, "<a b='x>", 0, noQuote, 6},
        {__LINE__, "<a b='1'>", 0, noQuote, 6},
        {__LINE__, "<a b=1>", 0, noQuote, 6},
        {__LINE__, "<a b=>", 0, noQuote, 6},
        {__LINE__, "<a b = />", 0, noQuote, 8},
        {__LINE__, "<a b=\"1\" c=2>", 1, noQuote, 12},

        {__LINE__, "<a b=\"", 0, notClosed, 6},
        {__LINE__, "<a b=\"1>", 0, notClosed, 8},
        {__LINE__, "<!-- b=\"-->", 0, notClosed, 11},
        {__LINE__, "<a b=\"1\" c=\"2 />", 1, notClosed, 16},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(testing::Message() << "line " << row.line << ": " << row.tag);
        Reader doc(row.tag + behindTag);
        MLDoc::Token token = doc.tokenAt(0, int(row.tag.size()));
        token.level = 3;
        doc.position = 0;
        int delivered = 0;
        const Failure failure = attributeFailure(doc, token, delivered);
        EXPECT_EQ(row.key, failure.key);
        EXPECT_TRUE(failure.bare);
        EXPECT_EQ(row.delivered, delivered);
        EXPECT_EQ(row.position, int(doc.position));
        EXPECT_EQ(row.tag + behindTag, doc.text());
        EXPECT_EQ(0, doc.offset(token.body.begin));
        EXPECT_EQ(int(row.tag.size()), doc.offset(token.body.end));
        EXPECT_EQ(3, token.level);
        EXPECT_TRUE(doc.warnings.empty());
    }
}

TEST(XmlAttribute, EveryByteAtEveryPlace) {
    for (int c = 0; c < 256; ++c) {
        SCOPED_TRACE(c);
        const Class kind = classOf(c);
        const std::string byte = one(c);
        const auto check = [&](const std::string& tag, int key, int position, const std::string& list) {
            SCOPED_TRACE(tag);
            Reader doc(tag);
            const MLDoc::Token token = doc.tokenAt(0, int(tag.size()));
            std::string got;
            EXPECT_EQ(key, failureOf([&] { got = attributesOf(doc, token); }).key);
            EXPECT_EQ(list, got);
            EXPECT_EQ(key == NoKey ? int(tag.size()) : position, int(doc.position));
        };
        // First byte of a name.
        if (c == '!' || c == '-' || c == '/' || c == '>' || c == '?')
            check("<a " + byte + "b=\"1\">", NoKey, 0, "");
        else if (kind == W)
            check("<a " + byte + "b=\"1\">", NoKey, 0, "b=1;");
        else if (kind == Bad)
            check("<a " + byte + "b=\"1\">", LCA__Bad_character_instead_begin_of, 4, "");
        else
            check("<a " + byte + "b=\"1\">", NoKey, 0, byte + "b=1;");
        // Inside a name.
        if (kind == G)
            check("<a b" + byte + "=\"1\">", NoKey, 0, "b" + byte + "=1;");
        else if (c == '=')
            check("<a b" + byte + "=\"1\">", LCA__Duplicate_before_attribute_value, 6, "");
        else if (kind == W)
            check("<a b" + byte + "=\"1\">", NoKey, 0, "b=1;");
        else
            check("<a b" + byte + "=\"1\">", LCA__Bad_character_in_attribute_name, 5, "");
        // Between name and '='.
        if (c == '=' || kind == W)
            check("<a b " + byte + (c == '=' ? "" : "=") + "\"1\">", NoKey, 0, "b=1;");
        else
            check("<a b " + byte + "=\"1\">", LCA__Character_expected_before_quote, 6, "");
        // Behind '='.
        if (kind == W)
            check("<a b=" + byte + "\"1\">", NoKey, 0, "b=1;");
        else if (c == '"')
            check("<a b=" + byte + "1\">", NoKey, 0, "b=1;");
        else if (c == '=')
            check("<a b=" + byte + "\"1\">", LCA__Duplicate_before_attribute_value, 6, "");
        else
            check("<a b=" + byte + "\"1\">", LCA__Initial_quote_expected_after, 6, "");
    }
}

TEST(XmlAttribute, ControlBytesBecomeSpacesForGood) {
    for (int c = 0; c < 256; ++c) {
        if (c == '"') continue;
        SCOPED_TRACE(c);
        Reader doc("<a b=\"x" + one(c) + "y\">");
        const MLDoc::Token token = doc.tokenAt(0, int(doc.length));
        MLDoc::Attribute attribute;
        for (int pass = 0; pass < 2; ++pass) {
            doc.position = doc.length;
            ASSERT_TRUE(doc.attribute_xml(token, attribute));
            EXPECT_EQ("x" + one(c < 0x20 ? ' ' : c) + "y", attribute.value.std());
            EXPECT_EQ("<a b=\"x" + one(c < 0x20 ? ' ' : c) + "y\">", doc.text());
            ASSERT_EQ(c < 0x20 ? 1u : 0u, doc.warnings.size());
        }
        if (c < 0x20) {
            EXPECT_EQ("x" + one(c) + "y", doc.warnings[0].value);
        }
    }
}

TEST(XmlAttribute, TrimsLineEndsThenBlanks) {
    const struct {
        int line;
        std::string raw;
        std::string value;
        std::string warned;  // value as the hook saw it; empty: not called
        std::string left;    // what stands in the block afterwards
    } rows[] = {
        {__LINE__, "", "", "", ""},
        {__LINE__, "\n", "", "", "\n"},
        {__LINE__, "\r\n\r\n", "", "", "\r\n\r\n"},
        {__LINE__, "\r\nv\r\n", "v", "", "\r\nv\r\n"},
        {__LINE__, "\n\n\rv", "v", "", "\n\n\rv"},
        {__LINE__, "v\r\r\n", "v", "", "v\r\r\n"},
        {__LINE__, "\r\na\r\nb\r\n", "a  b", "a\r\nb", "\r\na  b\r\n"},
        {__LINE__, "a\r\nb", "a  b", "a\r\nb", "a  b"},
        {__LINE__, " v ", " v ", "", " v "},
        {__LINE__, "\n v \n", " v ", "", "\n v \n"},
        {__LINE__, " \nv\n ", "  v  ", " \nv\n ", "  v  "},
        {__LINE__, "\tv\t", " v ", "\tv\t", " v "},
        {__LINE__, "\n\t\n", " ", "\t", "\n \n"},
        {__LINE__, "\t\n", " ", "\t", " \n"},
        {__LINE__, "\n\tv\n\t", " v  ", "\tv\n\t", "\n v  "},
        {__LINE__, std::string("\0", 1), " ", std::string("\0", 1), " "},
        {__LINE__, std::string("\n\x01\x1F\0z\r", 6), "   z", std::string("\x01\x1F\0z", 4), "\n   z\r"},
        {__LINE__, "\x7F\x80\xC3\xA9\xFF", "\x7F\x80\xC3\xA9\xFF", "", "\x7F\x80\xC3\xA9\xFF"},
        {__LINE__, "&#10;", "&#10;", "", "&#10;"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.line);
        Reader doc("<a b=\"" + row.raw + "\" c=\"2\">");
        const MLDoc::Token token = doc.tokenAt(0, int(doc.length));
        MLDoc::Attribute attribute;
        const std::uint32_t behindQuote = std::uint32_t(7 + row.raw.size());
        for (int pass = 0; pass < 2; ++pass) {
            ASSERT_TRUE(doc.attribute_xml(token, attribute));
            EXPECT_EQ(behindQuote, doc.position);
            EXPECT_EQ(row.value, attribute.value.std());
            EXPECT_NE(nullptr, attribute.value.begin);
            EXPECT_GE(doc.offset(attribute.value.begin), 6);
            EXPECT_LE(doc.offset(attribute.value.end), int(behindQuote) - 1);
            EXPECT_EQ("<a b=\"" + row.left + "\" c=\"2\">", doc.text());
            // Once for the value, however many bytes; and never again, for the bytes are gone.
            ASSERT_EQ(row.warned.empty() ? 0u : 1u, doc.warnings.size());
            ASSERT_TRUE(doc.attribute_xml(token, attribute));
            EXPECT_EQ(std::string("2"), attribute.value.std());
            EXPECT_FALSE(doc.attribute_xml(token, attribute));
        }
        if (row.warned.empty()) continue;
        EXPECT_EQ(&token, doc.warnings[0].token);
        EXPECT_EQ(&attribute, doc.warnings[0].attribute);
        EXPECT_EQ(std::string("b"), doc.warnings[0].name);
        EXPECT_EQ(row.warned, doc.warnings[0].value);
        EXPECT_EQ(behindQuote, doc.warnings[0].position);
    }
}

TEST(XmlAttribute, WarnsOncePerAttribute) {
    Reader doc("<a b=\"1\t\t2\" c=\"3\" d=\"\t\">");
    const MLDoc::Token token = doc.tokenAt(0, int(doc.length));
    EXPECT_EQ(std::string("b=1  2;c=3;d= ;"), attributesOf(doc, token));
    ASSERT_EQ(2u, doc.warnings.size());
    EXPECT_EQ(std::string("b"), doc.warnings[0].name);
    EXPECT_EQ(std::string("d"), doc.warnings[1].name);
    EXPECT_EQ(std::string("b=1  2;c=3;d= ;"), attributesOf(doc, token));
    EXPECT_EQ(2u, doc.warnings.size());

    // Without a hook of one's own the bytes are blanked in silence.
    const std::string text = "<a b=\"1\t2\">";
    MLDoc plain;
    plain.load("plain.xml", text.data(), int(text.size()));
    MLDoc::Token element;
    ASSERT_TRUE(plain.step(element));
    EXPECT_EQ(std::string("b=1 2;"), attributesOf(plain, element));
    EXPECT_EQ(std::string("<a b=\"1 2\">"), std::string(plain.buffer, plain.length));
}

TEST(XmlAttribute, CursorInsideTheTagContinuesThere) {
    const struct {
        int line;
        int start;
        bool delivered;
        const char* attribute;
        int key;
        int position;
    } rows[] = {
        {__LINE__, 0, true, "b=1", NoKey, 8},
        // One byte behind '<' is inside: the tag's own name is taken for an attribute's.
        {__LINE__, 1, false, "", LCA__Character_expected_before_quote, 4},
        {__LINE__, 2, true, "b=1", NoKey, 8},
        {__LINE__, 3, true, "b=1", NoKey, 8},
        {__LINE__, 4, false, "", LCA__Bad_character_instead_begin_of, 5},
        {__LINE__, 6, false, "", LCA__Bad_character_in_attribute_name, 8},
        {__LINE__, 8, true, "cd=2", NoKey, 15},
        {__LINE__, 10, true, "d=2", NoKey, 15},
        {__LINE__, 15, false, "", NoKey, 17},
        {__LINE__, 16, false, "", NoKey, 17},
        {__LINE__, 17, true, "b=1", NoKey, 8},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.line);
        Reader doc("<a b=\"1\" cd=\"2\"/>");
        const MLDoc::Token token = doc.tokenAt(0, 17);
        doc.position = std::uint32_t(row.start);
        MLDoc::Attribute attribute;
        bool delivered = false;
        EXPECT_EQ(row.key, failureOf([&] { delivered = doc.attribute_xml(token, attribute); }).key);
        EXPECT_EQ(row.delivered, delivered);
        EXPECT_EQ(row.position, int(doc.position));
        if (row.delivered) {
            EXPECT_EQ(std::string(row.attribute), attribute.name.std() + "=" + attribute.value.std());
        }
    }
}

TEST(XmlAttribute, KeepsWhatWasFilledInBeforeTheEndOrAFailure) {
    const auto used = [] {
        MLDoc::Attribute attribute;
        attribute.name.assign(previousName, previousName + 1);
        attribute.value.assign(previousName + 2, previousName + 3);
        return attribute;
    };
    const struct {
        int line;
        const char* tag;
        int nameBegin, nameEnd, valueBegin;
    } rows[] = {
        {__LINE__, "<a>", Kept, Kept, Kept},        {__LINE__, "<a />", Kept, Kept, Kept},
        {__LINE__, "<a =\"1\">", Kept, Kept, Kept}, {__LINE__, "<a b&=\"1\">", 3, Kept, Kept},
        {__LINE__, "<a b c=\"1\">", 3, 4, Kept},    {__LINE__, "<a bc='1'>", 3, 5, Kept},
        {__LINE__, "<a bc = \"1>", 3, 5, 9},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(testing::Message() << "line " << row.line << ": " << row.tag);
        Reader doc(row.tag);
        const MLDoc::Token token = doc.tokenAt(0, int(doc.length));
        MLDoc::Attribute attribute = used();
        bool delivered = false;
        failureOf([&] { delivered = doc.attribute_xml(token, attribute); });
        EXPECT_FALSE(delivered);
        EXPECT_EQ(row.nameBegin == Kept ? previousName : doc.buffer + row.nameBegin, attribute.name.begin);
        EXPECT_EQ(row.nameEnd == Kept ? previousName + 1 : doc.buffer + row.nameEnd, attribute.name.end);
        EXPECT_EQ(row.valueBegin == Kept ? previousName + 2 : doc.buffer + row.valueBegin, attribute.value.begin);
        EXPECT_EQ(previousName + 3, attribute.value.end);
    }
}

TEST(XmlWalk, AttributesInAnyOrderAndAfterOtherTags) {
    const std::string text = "<a b=\"1\" c=\"2\" d=\"true\"><e f=\"3\"/></a>";
    MLDoc doc;
    doc.load("order.xml", text.data(), int(text.size()));
    MLDoc::Token outer, inner;
    ASSERT_TRUE(doc.step(outer));
    EXPECT_EQ(24u, doc.position);
    for (const char* name : {"c", "b", "c", "missing", "d"}) {
        const ChPair value = doc.getAttributeValue(outer, name);
        EXPECT_EQ(*name == 'm', value.begin == nullptr) << name;
        EXPECT_EQ(24u, doc.position);
    }
    EXPECT_TRUE(doc.getAttributeBool(outer, "d"));
    EXPECT_FALSE(doc.getAttributeBool(outer, "b"));
    inner = outer;
    ASSERT_TRUE(doc.step(inner));
    EXPECT_EQ(std::string("b=1;c=2;d=true;"), attributesOf(doc, outer));
    EXPECT_EQ(24u, doc.position);
    EXPECT_EQ(std::string("f=3;"), attributesOf(doc, inner));
    EXPECT_EQ(34u, doc.position);
    EXPECT_EQ(34u, doc.passAttributes(inner));
    EXPECT_EQ(24u, doc.passAttributes(outer));
    EXPECT_EQ(34u, doc.position);
    ASSERT_TRUE(doc.step(inner));
    EXPECT_TRUE(inner.closing);
    EXPECT_EQ(0, inner.level);
}

TEST(XmlWalk, StepAfterAPartlyReadTag) {
    Reader doc("<a b=\"1\" c=\"2\">text<d/></a>");
    MLDoc::Token token;
    MLDoc::Attribute attribute;
    ASSERT_TRUE(doc.step(token));
    ASSERT_TRUE(doc.attribute(token, attribute));
    EXPECT_EQ(8u, doc.position);
    ASSERT_TRUE(doc.step(token));
    EXPECT_EQ(std::string("d"), token.name.std());
    EXPECT_EQ(1, token.level);
}

TEST(XmlWalk, IteratorsPassOverEverythingButElements) {
    const std::string text =
        "<!-- c --><?xml version=\"2\"?><a x=\"&lt;\"><?pi?><b/>t<!-- <no/> --><c y=\"<d>\"><d/></zzz></a><e/>";
    MLDoc doc;
    doc.load("walk.xml", text.data(), int(text.size()));
    EXPECT_EQ(8, doc.codePage);
    EXPECT_EQ(0u, doc.position);
    MLDoc::Token token;
    std::string seen;
    MLDoc::ChildIterator top(&doc, token);
    while (top()) {
        seen += token.name.std() + std::to_string(token.level) + "(";
        MLDoc::Attribute attribute;
        {
            MLDoc::AttributeIterator attributes(&doc, token);
            while (attributes(attribute)) seen += attribute.name.std() + "=" + attribute.value.std() + " ";
        }
        MLDoc::ChildIterator children(&doc, token);
        while (children()) seen += token.name.std() + std::to_string(token.level);
        seen += ")";
    }
    EXPECT_EQ(std::string("a1(x=&lt; b1c2)e0()"), seen);
}

TEST(XmlWalk, FirstStepBehindMarkAndDeclaration) {
    const struct {
        int line;
        std::string text;
        int begin;
    } rows[] = {
        {__LINE__, "<a/>", 0},
        {__LINE__, "\xEF\xBB\xBF<a/>", 3},
        {__LINE__, "<?xml encoding=\"UTF-8\"?><a/>", 24},
        {__LINE__, "<?xml?>\r\n<a/>", 9},
        {__LINE__, "\xEF\xBB\xBF<?xml encoding=\"utf-8\" ?>x<a/>", 29},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.line);
        MLDoc doc;
        doc.load("first.xml", row.text.data(), int(row.text.size()));
        MLDoc::Token token;
        ASSERT_TRUE(doc.step(token));
        EXPECT_EQ(std::string("a"), token.name.std());
        EXPECT_EQ(row.begin, int(token.body.begin - doc.buffer));
        EXPECT_EQ(0, token.level);
        EXPECT_FALSE(doc.step(token));
    }
}

}  // namespace
