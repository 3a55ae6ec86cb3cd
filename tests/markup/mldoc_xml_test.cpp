#include <velmora/markup/mldoc.h>

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <string>

#include <velmora/localization/keys.h>
#include <velmora/serial/ttt.h>

#include "tests/support/guard_page.h"
#include "tests/support/message.h"
#include "tests/support/walk_dump.h"

namespace {

enum ByteClass { kBad, kName, kWhite, kStructure };

// What a byte is in XML, written down once more.
ByteClass classOf(int c) {
    if (c >= 0x80) return kBad;
    if (std::strchr("0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz_-.:", c) && c != 0) return kName;
    if (c == ' ' || c == '\t' || c == '\n' || c == '\r') return kWhite;
    if (c == '<' || c == '>' || c == '/') return kStructure;
    return kBad;
}

// A text that is read from its first byte, whatever that is, against a guard page.
class XmlText {
public:
    support::GuardedDocument guarded;
    MLDoc& doc;

    explicit XmlText(const std::string& text) : guarded(text), doc(guarded.doc) {
        xml_char_classes_prepare();
        doc.format = MLDocBase::XML;
    }
    long offset(const char* p) const { return p ? static_cast<long>(p - doc.buffer) : -1; }
    // A tag that reaches over the whole text, as no step would deliver it.
    MLDoc::Token whole() const {
        MLDoc::Token token;
        token.body = ChPair(doc.buffer, doc.buffer + doc.length);
        return token;
    }
};

// Reads attributes up to the end of the list or a failure: "name=value" side by side, then "." or "!KEY", each with
// the position behind it.
std::string dumpAttributes(MLDoc& doc, const MLDoc::Token& token) {
    std::string out;
    MLDoc::Attribute attribute;
    try {
        while (doc.attribute_xml(token, attribute)) {
            out += attribute.name.std() + "=" + attribute.value.std() + "@" + std::to_string(doc.position) + " ";
        }
        out += ".";
    } catch (const TTT& message) {
        out += "!" + support::dumpMessage(message);
    }
    return out + "@" + std::to_string(doc.position);
}

std::string repeated(char c, int n) { return std::string(static_cast<std::size_t>(n), c); }

const std::string kBom = "\xEF\xBB\xBF";

}  // namespace

// ---- step_xml ----

TEST(MLDocXmlStep, DeliversTagsCommentsAndDeclarations) {
    static const struct {
        int line;
        std::string text;
        std::uint32_t position;
        const char* name;  // "old" where it is left alone
        long begin;
        long end;
        int kind;
        int level;  // 5 before
        bool opening;
        bool closing;
    } rows[] = {
        // Start tags.
        {__LINE__, "<a>", 3, "a", 0, 3, 0, 6, true, false},
        {__LINE__, "<a>rest", 3, "a", 0, 3, 0, 6, true, false},
        {__LINE__, "text<a>", 7, "a", 4, 7, 0, 6, true, false},
        {__LINE__, std::string("\0\x01>/\"&\xFF\r\n<a>", 12), 12, "a", 9, 12, 0, 6, true, false},
        {__LINE__, "<a >", 4, "a", 0, 4, 0, 6, true, false},
        {__LINE__, "<a\t\r\n>", 6, "a", 0, 6, 0, 6, true, false},
        {__LINE__, "<ab-c.d:e_9>", 12, "ab-c.d:e_9", 0, 12, 0, 6, true, false},
        {__LINE__, "<1>", 3, "1", 0, 3, 0, 6, true, false},
        {__LINE__, "<->", 3, "-", 0, 3, 0, 6, true, false},
        {__LINE__, "<.x>", 4, ".x", 0, 4, 0, 6, true, false},
        {__LINE__, "<:>", 3, ":", 0, 3, 0, 6, true, false},
        {__LINE__, "<a b=\"1\">", 9, "a", 0, 9, 0, 6, true, false},
        {__LINE__, "<a b=\"x>y\">", 11, "a", 0, 11, 0, 6, true, false},
        {__LINE__, "<a b=\"x\" c=\">>\">>", 16, "a", 0, 16, 0, 6, true, false},
        {__LINE__, "<a b='x>y'>", 8, "a", 0, 8, 0, 6, true, false},
        {__LINE__, "<a '\">\"'>", 9, "a", 0, 9, 0, 6, true, false},
        {__LINE__, "<a <b>", 6, "a", 0, 6, 0, 6, true, false},
        {__LINE__, "<a \"<b>\">", 9, "a", 0, 9, 0, 6, true, false},
        {__LINE__, std::string("<a \0\x01\x80>", 7), 7, "a", 0, 7, 0, 6, true, false},
        // Only the byte before the '>' closes.
        {__LINE__, "<a/b>", 5, "a", 0, 5, 0, 6, true, false},
        {__LINE__, "<a / >", 6, "a", 0, 6, 0, 6, true, false},
        {__LINE__, "<a b=\"1\" / >", 12, "a", 0, 12, 0, 6, true, false},
        {__LINE__, "<a b=\"/\">", 9, "a", 0, 9, 0, 6, true, false},
        {__LINE__, "<a b=/\">\">", 10, "a", 0, 10, 0, 6, true, false},
        {__LINE__, "<a/>", 4, "a", 0, 4, 0, 5, true, true},
        {__LINE__, "<a />", 5, "a", 0, 5, 0, 5, true, true},
        {__LINE__, "<a//>", 5, "a", 0, 5, 0, 5, true, true},
        {__LINE__, "<a\n/>", 5, "a", 0, 5, 0, 5, true, true},
        {__LINE__, "<a b=\"1\"/>", 10, "a", 0, 10, 0, 5, true, true},
        {__LINE__, "<a b=\"/>\"/>", 11, "a", 0, 11, 0, 5, true, true},
        {__LINE__, "<a b=1/>", 8, "a", 0, 8, 0, 5, true, true},
        {__LINE__, "text<a/>", 8, "a", 4, 8, 0, 5, true, true},
        // End tags.
        {__LINE__, "</a>", 4, "a", 0, 4, 0, 4, false, true},
        {__LINE__, "</a >", 5, "a", 0, 5, 0, 4, false, true},
        {__LINE__, "</a/>", 5, "a", 0, 5, 0, 4, false, true},
        {__LINE__, "</a b=\">\">", 10, "a", 0, 10, 0, 4, false, true},
        {__LINE__, "text</a>", 8, "a", 4, 8, 0, 4, false, true},
        // Declarations.
        {__LINE__, "<?>", 3, "old", 0, 3, 1, 5, false, false},
        {__LINE__, "<?\?>", 4, "old", 0, 4, 1, 5, false, false},
        {__LINE__, "<?xml?>", 7, "old", 0, 7, 1, 5, false, false},
        {__LINE__, "<?xml>", 6, "old", 0, 6, 1, 5, false, false},
        {__LINE__, "<?pi x=\"?>\"?>", 13, "old", 0, 13, 1, 5, false, false},
        {__LINE__, "<?pi/>", 6, "old", 0, 6, 1, 5, false, false},
        {__LINE__, "<? <\xC3\xA4 ?>", 9, "old", 0, 9, 1, 5, false, false},
        // Comments.
        {__LINE__, "<!---->", 7, "old", 0, 7, 2, 5, false, false},
        {__LINE__, "<!-- c -->", 10, "old", 0, 10, 2, 5, false, false},
        {__LINE__, "text<!-- > -- - > <a> -->x", 25, "old", 4, 25, 2, 5, false, false},
        {__LINE__, "<!----->", 8, "old", 0, 8, 2, 5, false, false},
        {__LINE__, "<!-- \" -->\"", 10, "old", 0, 10, 2, 5, false, false},
        // The bytes behind "<!" are jumped over, whatever they are.
        {__LINE__, "<!-->-->", 8, "old", 0, 8, 2, 5, false, false},
        {__LINE__, "<!--->-->", 9, "old", 0, 9, 2, 5, false, false},
        {__LINE__, "<!x-->-->", 9, "old", 0, 9, 2, 5, false, false},
        {__LINE__, "<!xx-->", 7, "old", 0, 7, 2, 5, false, false},
        {__LINE__, "<!>>>>-->", 9, "old", 0, 9, 2, 5, false, false},
        {__LINE__, "<!DOCTYPE a> <!-- c -->", 23, "old", 0, 23, 2, 5, false, false},
        {__LINE__, "<![CDATA[ --> ]]>", 13, "old", 0, 13, 2, 5, false, false},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE("row at line " + std::to_string(row.line));
        XmlText text(row.text);
        MLDoc::Token token;
        token.name = "old";
        token.kind = -7;
        token.level = 5;
        token.opening = !row.opening;
        token.closing = !row.closing;
        EXPECT_TRUE(text.doc.step_xml(token));
        EXPECT_EQ(row.position, text.doc.position);
        EXPECT_EQ(row.name, token.name.std());
        EXPECT_EQ(row.begin, text.offset(token.body.begin));
        EXPECT_EQ(row.end, text.offset(token.body.end));
        EXPECT_EQ(row.kind, token.kind);
        EXPECT_EQ(row.level, token.level);
        EXPECT_EQ(row.opening, token.opening);
        EXPECT_EQ(row.closing, token.closing);
        if (token.kind == 0) {
            EXPECT_EQ(row.begin + (row.opening ? 1 : 2), text.offset(token.name.begin));
        }
    }
}

TEST(MLDocXmlStep, EndOfTheTextLeavesTheToken) {
    for (const char* rest : {"", "x", "text > \" & / -->", "\n"}) {
        SCOPED_TRACE(rest);
        XmlText text(rest);
        MLDoc::Token token;
        token.name = "old";
        token.body = "body";
        token.kind = -7;
        token.level = 5;
        token.opening = token.closing = true;
        for (int round = 0; round < 2; ++round) {
            EXPECT_FALSE(text.doc.step_xml(token));
            EXPECT_EQ(text.doc.length, text.doc.position);
        }
        EXPECT_TRUE(token.name == "old");
        EXPECT_TRUE(token.body == "body");
        EXPECT_EQ(-7, token.kind);
        EXPECT_EQ(5, token.level);
        EXPECT_TRUE(token.opening);
        EXPECT_TRUE(token.closing);
    }
}

TEST(MLDocXmlStep, PositionBeyondTheEndIsTheEnd) {
    XmlText text("<a>");
    text.doc.position = 4;
    MLDoc::Token token;
    EXPECT_FALSE(text.doc.step_xml(token));
    EXPECT_EQ(4u, text.doc.position);
    EXPECT_EQ(nullptr, token.body.begin);
}

TEST(MLDocXmlStep, FailsBehindTheByteThatIsWrong) {
    static const struct {
        int line;
        std::string text;
        int key;
        std::uint32_t position;
        long begin;  // of the tag
        int kind;    // -7 where it is left alone
        int level;   // 5 before
        bool opening;
        bool closing;
    } rows[] = {
        {__LINE__, "<", LCA__XML_tag_is_not_finished, 1, 0, -7, 5, true, true},
        {__LINE__, "text<", LCA__XML_tag_is_not_finished, 5, 4, -7, 5, true, true},
        {__LINE__, "<a", LCA__XML_tag_is_not_finished, 2, 0, 0, 5, true, false},
        {__LINE__, "<abc", LCA__XML_tag_is_not_finished, 4, 0, 0, 5, true, false},
        {__LINE__, "<a ", LCA__XML_tag_is_not_finished, 3, 0, 0, 5, true, false},
        {__LINE__, "<a/", LCA__XML_tag_is_not_finished, 3, 0, 0, 5, true, false},
        {__LINE__, "<a b", LCA__XML_tag_is_not_finished, 4, 0, 0, 5, true, false},
        {__LINE__, "<a b=\"1", LCA__XML_tag_is_not_finished, 7, 0, 0, 5, true, false},
        {__LINE__, "<a b=\"1\"", LCA__XML_tag_is_not_finished, 8, 0, 0, 5, true, false},
        {__LINE__, "<a b=\">", LCA__XML_tag_is_not_finished, 7, 0, 0, 5, true, false},
        {__LINE__, "<a b=\"><c></c></a>", LCA__XML_tag_is_not_finished, 18, 0, 0, 5, true, false},
        {__LINE__, "</", LCA__XML_tag_is_not_finished, 2, 0, 0, 4, false, true},
        {__LINE__, "</a", LCA__XML_tag_is_not_finished, 3, 0, 0, 4, false, true},
        {__LINE__, "</a ", LCA__XML_tag_is_not_finished, 4, 0, 0, 4, false, true},
        {__LINE__, "</a b=\">", LCA__XML_tag_is_not_finished, 8, 0, 0, 4, false, true},
        {__LINE__, "<?", LCA__XML_tag_is_not_finished, 2, 0, 1, 5, false, false},
        {__LINE__, "<?xml ?", LCA__XML_tag_is_not_finished, 7, 0, 1, 5, false, false},
        {__LINE__, "<?xml \"?>", LCA__XML_tag_is_not_finished, 9, 0, 1, 5, false, false},

        {__LINE__, "<!", LCA__XML_comment_is_not_finished, 2, 0, 2, 5, false, false},
        {__LINE__, "text<!", LCA__XML_comment_is_not_finished, 6, 4, 2, 5, false, false},
        {__LINE__, "<!>", LCA__XML_comment_is_not_finished, 3, 0, 2, 5, false, false},
        {__LINE__, "<!-", LCA__XML_comment_is_not_finished, 3, 0, 2, 5, false, false},
        {__LINE__, "<!--", LCA__XML_comment_is_not_finished, 4, 0, 2, 5, false, false},
        {__LINE__, "<!-->", LCA__XML_comment_is_not_finished, 5, 0, 2, 5, false, false},
        {__LINE__, "<!--->", LCA__XML_comment_is_not_finished, 6, 0, 2, 5, false, false},
        {__LINE__, "<!----", LCA__XML_comment_is_not_finished, 6, 0, 2, 5, false, false},
        {__LINE__, "<!x-->", LCA__XML_comment_is_not_finished, 6, 0, 2, 5, false, false},
        {__LINE__, "<!-- --", LCA__XML_comment_is_not_finished, 7, 0, 2, 5, false, false},
        {__LINE__, "<!-- ->", LCA__XML_comment_is_not_finished, 7, 0, 2, 5, false, false},
        {__LINE__, "<!-- -- > <a/>", LCA__XML_comment_is_not_finished, 14, 0, 2, 5, false, false},
        {__LINE__, "<!DOCTYPE a>", LCA__XML_comment_is_not_finished, 12, 0, 2, 5, false, false},
        {__LINE__, "<![CDATA[x]]>", LCA__XML_comment_is_not_finished, 13, 0, 2, 5, false, false},

        {__LINE__, "<=a>", LCA__Bad_character_in_XML_tag, 2, 0, 0, 5, true, false},
        {__LINE__, "<\"a\">", LCA__Bad_character_in_XML_tag, 2, 0, 0, 5, true, false},
        {__LINE__, "<\xC3\xA4>", LCA__Bad_character_in_XML_tag, 2, 0, 0, 5, true, false},
        {__LINE__, "<a\xC3\xA4>", LCA__Bad_character_in_XML_tag, 3, 0, 0, 5, true, false},
        {__LINE__, std::string("<a\0>", 4), LCA__Bad_character_in_XML_tag, 3, 0, 0, 5, true, false},
        {__LINE__, "<ab!>", LCA__Bad_character_in_XML_tag, 4, 0, 0, 5, true, false},
        {__LINE__, "<ab?>", LCA__Bad_character_in_XML_tag, 4, 0, 0, 5, true, false},
        {__LINE__, "</a&>", LCA__Bad_character_in_XML_tag, 4, 0, 0, 4, false, true},
        {__LINE__, "</!>", LCA__Bad_character_in_XML_tag, 3, 0, 0, 4, false, true},
        {__LINE__, "</?>", LCA__Bad_character_in_XML_tag, 3, 0, 0, 4, false, true},

        {__LINE__, "<<a>", LCA__Nested_XML_tag, 2, 0, 0, 5, true, false},
        {__LINE__, "<a<b>", LCA__Nested_XML_tag, 3, 0, 0, 5, true, false},
        {__LINE__, "text<a<", LCA__Nested_XML_tag, 7, 4, 0, 5, true, false},
        {__LINE__, "</<a>", LCA__Nested_XML_tag, 3, 0, 0, 4, false, true},
        {__LINE__, "</a<b>", LCA__Nested_XML_tag, 4, 0, 0, 4, false, true},

        {__LINE__, "<>", LCA__Empty_XML_tag, 2, 0, 0, 5, true, false},
        {__LINE__, "< a>", LCA__Empty_XML_tag, 2, 0, 0, 5, true, false},
        {__LINE__, "<\ta>", LCA__Empty_XML_tag, 2, 0, 0, 5, true, false},
        {__LINE__, "<\r", LCA__Empty_XML_tag, 2, 0, 0, 5, true, false},
        {__LINE__, "</>", LCA__Empty_XML_tag, 3, 0, 0, 4, false, true},
        {__LINE__, "</ a>", LCA__Empty_XML_tag, 3, 0, 0, 4, false, true},
        {__LINE__, "<//>", LCA__Empty_XML_tag, 3, 0, 0, 4, false, true},

        {__LINE__, "<" + repeated('n', 511) + ">", LCA__Too_long_XML_tag, 512, 0, 0, 5, true, false},
        {__LINE__, "<" + repeated('n', 511), LCA__Too_long_XML_tag, 512, 0, 0, 5, true, false},
        {__LINE__, "<" + repeated('n', 600) + "/>", LCA__Too_long_XML_tag, 512, 0, 0, 5, true, false},
        {__LINE__, "</" + repeated('n', 511) + ">", LCA__Too_long_XML_tag, 513, 0, 0, 4, false, true},
        {__LINE__, "<" + repeated('n', 510), LCA__XML_tag_is_not_finished, 511, 0, 0, 5, true, false},
        {__LINE__, "<" + repeated('n', 510) + "!>", LCA__Bad_character_in_XML_tag, 512, 0, 0, 5, true, false},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE("row at line " + std::to_string(row.line));
        XmlText text(row.text);
        MLDoc::Token token;
        token.name = "old";
        token.kind = -7;
        token.level = 5;
        token.opening = token.closing = true;
        // Equal to the whole message: the key stands alone.
        EXPECT_EQ(support::keyName(row.key), support::thrownMessage([&] { text.doc.step_xml(token); }));
        EXPECT_EQ(row.position, text.doc.position);
        EXPECT_EQ(row.begin, text.offset(token.body.begin));
        EXPECT_EQ(row.kind, token.kind);
        EXPECT_EQ(row.level, token.level);
        EXPECT_EQ(row.opening, token.opening);
        EXPECT_EQ(row.closing, token.closing);
        if (row.kind == 0) {
            EXPECT_EQ(row.begin + (row.opening ? 1 : 2), text.offset(token.name.begin));
        } else {
            EXPECT_TRUE(token.name == "old");
        }
    }
}

TEST(MLDocXmlStep, EveryByteAsTheFirstOfAName) {
    for (int c = 0; c < 256; ++c) {
        SCOPED_TRACE(c);
        XmlText text(std::string("<") + static_cast<char>(c) + "x>");
        MLDoc::Token token;
        const std::string thrown = support::thrownMessage([&] { text.doc.step_xml(token); });
        if (c == '!') {
            EXPECT_EQ("LCA__XML_comment_is_not_finished", thrown);
            EXPECT_EQ(4u, text.doc.position);
        } else if (c == '?') {
            EXPECT_EQ("(nothing)", thrown);
            EXPECT_EQ(1, token.kind);
        } else if (c == '/') {
            EXPECT_EQ("(nothing)", thrown);
            EXPECT_EQ(-1, token.level);
            EXPECT_TRUE(token.name == "x");
        } else if (classOf(c) == kName) {
            EXPECT_EQ("(nothing)", thrown);
            EXPECT_EQ(std::string(1, static_cast<char>(c)) + "x", token.name.std());
        } else {
            const char* key = "LCA__Bad_character_in_XML_tag";
            if (classOf(c) != kBad) key = c == '<' ? "LCA__Nested_XML_tag" : "LCA__Empty_XML_tag";
            EXPECT_EQ(key, thrown);
            EXPECT_EQ(2u, text.doc.position);
        }
    }
}

TEST(MLDocXmlStep, EveryByteInsideAName) {
    for (int c = 0; c < 256; ++c) {
        SCOPED_TRACE(c);
        XmlText text(std::string("<a") + static_cast<char>(c) + ">");
        MLDoc::Token token;
        const std::string thrown = support::thrownMessage([&] { text.doc.step_xml(token); });
        if (classOf(c) == kBad || c == '<') {
            EXPECT_EQ(c == '<' ? "LCA__Nested_XML_tag" : "LCA__Bad_character_in_XML_tag", thrown);
            EXPECT_EQ(3u, text.doc.position);
        } else {
            EXPECT_EQ("(nothing)", thrown);
            EXPECT_EQ(classOf(c) == kName ? std::string("a") + static_cast<char>(c) : "a", token.name.std());
            EXPECT_EQ(c == '/', token.closing);
            EXPECT_EQ(c == '>' ? 3u : 4u, text.doc.position);
        }
    }
}

TEST(MLDocXmlStep, NameOfFiveHundredTenBytesPasses) {
    const std::string name = repeated('n', 510);
    for (const char* end : {">", "/>", " >", "\n/>"}) {
        SCOPED_TRACE(end);
        XmlText text("<" + name + end);
        MLDoc::Token token;
        EXPECT_TRUE(text.doc.step_xml(token));
        EXPECT_EQ(name, token.name.std());
        EXPECT_EQ(text.doc.length, text.doc.position);
    }
    XmlText text("</" + name + ">");
    MLDoc::Token token;
    EXPECT_TRUE(text.doc.step_xml(token));
    EXPECT_EQ(name, token.name.std());
}

TEST(MLDocXmlStep, DepthIsCountedAndNamesAreNotCompared) {
    static const struct {
        int line;
        const char* text;
        const char* steps;
    } rows[] = {
        {__LINE__, "<a></a>", "<a@1 a>@0"},
        {__LINE__, "<a></b>", "<a@1 b>@0"},
        {__LINE__, "<a><b></a></b>", "<a@1 <b@2 a>@1 b>@0"},
        {__LINE__, "<a><b/></a>", "<a@1 <b>@1 a>@0"},
        {__LINE__, "</a>", "a>@-1"},
        {__LINE__, "</a></a><b>", "a>@-1 a>@-2 <b@-1"},
        {__LINE__, "<a><b><c>", "<a@1 <b@2 <c@3"},
        {__LINE__, "<a>x<!-- c -->y<?pi?>z</a>", "<a@1 !a@1 ?a@1 a>@0"},
        {__LINE__, "<a/><!DOCTYPE b --><c/>", "<a>@0 !a@0 <c>@0"},
        {__LINE__, "<a b=\"1\" / ><c/></a>", "<a@1 <c>@1 a>@0"},
        {__LINE__, "<a><</a>", "<a@1 !LCA__Nested_XML_tag"},
        {__LINE__, "<a>1 < 2</a>", "<a@1 !LCA__Empty_XML_tag"},
        {__LINE__, "<a>1<2</a>", "<a@1 !LCA__Nested_XML_tag"},
        {__LINE__, "<a/>&;<b/>", "<a>@0 <b>@0"},
        {__LINE__, "<a/>text", "<a>@0"},
        {__LINE__, "<a/>text<", "<a>@0 !LCA__XML_tag_is_not_finished"},
        {__LINE__, "<A/><a/>", "<A>@0 <a>@0"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE("row at line " + std::to_string(row.line));
        EXPECT_EQ(row.steps, support::dumpSteps(row.text));
    }
}

TEST(MLDocXmlStep, LeavesOpenNamesAlone) {
    XmlText text("<a><b/></a>");
    text.doc.openNames.append(ChPair("kept"));
    MLDoc::Token token;
    while (text.doc.step_xml(token)) {
    }
    ASSERT_EQ(1, text.doc.openNames.count);
    EXPECT_TRUE(text.doc.openNames[0] == "kept");
}

TEST(XmlCharClasses, AreTheSameAfterEveryPreparation) {
    for (int round = 0; round < 3; ++round) {
        xml_char_classes_prepare();
        EXPECT_EQ("<a>@0", support::dumpSteps("<a/>"));
        XmlText text(std::string("<\0>", 3));
        MLDoc::Token token;
        EXPECT_THROW_KEY(text.doc.step_xml(token), LCA__Bad_character_in_XML_tag);
    }
}

// ---- attribute_xml ----

TEST(MLDocXmlAttribute, ReadsTheListOfATag) {
    static const struct {
        int line;
        std::string text;
        std::string list;
    } rows[] = {
        {__LINE__, "<a>", ".@3"},
        {__LINE__, "<a/>", ".@4"},
        {__LINE__, "<a >", ".@4"},
        {__LINE__, "<a />", ".@5"},
        {__LINE__, "<a \t\r\n>", ".@7"},
        {__LINE__, "<a b=\"1\">", "b=1@8 .@9"},
        {__LINE__, "<a b=\"1\"/>", "b=1@8 .@10"},
        {__LINE__, "<a\tb=\"1\"\r\n>", "b=1@8 .@11"},
        {__LINE__, "<a  b=\"1\"  c=\"2\"  >", "b=1@9 c=2@16 .@19"},
        {__LINE__, "<a b=\"1\"c=\"2\">", "b=1@8 c=2@13 .@14"},
        {__LINE__, "<a b=\"1\" b=\"2\">", "b=1@8 b=2@14 .@15"},
        {__LINE__, "<a b = \"1\">", "b=1@10 .@11"},
        {__LINE__, "<a b\t\r\n=\n\r\t\"1\">", "b=1@14 .@15"},
        {__LINE__, "<a b=\"\">", "b=@7 .@8"},
        {__LINE__, "<a b=\"x>y</>'=&amp; ?!\">", "b=x>y</>'=&amp; ?!@23 .@24"},
        {__LINE__, "<a b=\" x \">", "b= x @10 .@11"},
        {__LINE__, "<a b=\"\xC3\xA4\x7F\xFF\">", "b=\xC3\xA4\x7F\xFF@11 .@12"},
        {__LINE__, "<a 1=\"x\" .b=\"y\" :=\"z\" _-=\"w\">", "1=x@8 .b=y@15 :=z@21 _-=w@28 .@29"},
        // These end the list, and what follows is not looked at.
        {__LINE__, "<a -x=\"1\" y=\"2\">", ".@16"},
        {__LINE__, "<a !x=\"1\" y=\"2\">", ".@16"},
        {__LINE__, "<a ?x=\"1\" y=\"2\">", ".@16"},
        {__LINE__, "<a /x=\"1\" y=\"2\">", ".@16"},
        {__LINE__, "<a x=\"1\" -y=\"2\" z=\"3\">", "x=1@8 .@22"},
        {__LINE__, "<a x=\"1\"/ y=\"2\">", "x=1@8 .@16"},
        {__LINE__, "<a x=\"1\" / >", "x=1@8 .@12"},
        // The tag's own name ends at white space, wherever that is.
        {__LINE__, "<a/b>", ".@5"},
        {__LINE__, "<a/b c=\"1\">", "c=1@10 .@11"},
        {__LINE__, "<a/b=\"1\">", ".@9"},
        {__LINE__, "<a/b=\"1 c=\"2\">\">", "c=2@13 .@16"},
        {__LINE__, "<a/b=\"> c=\"2>", ".@13"},
        // A '<' may begin a name.
        {__LINE__, "<a <b=\"1\">", "<b=1@9 .@10"},
        // Any token can be asked.
        {__LINE__, "</a>", ".@4"},
        {__LINE__, "</a b=\"1\">", "b=1@9 .@10"},
        {__LINE__, "<?xml a=\"1\" b=\"2\"?>", "a=1@11 b=2@17 .@19"},
        {__LINE__, "<?xml a=\"1\"b=\"?\" ?>", "a=1@11 b=?@16 .@19"},
        {__LINE__, "<?x\">\" b=\"1\"?>", ".@14"},
        {__LINE__, "<!-- a=\"1\" -->", "a=1@10 .@14"},
        {__LINE__, "<!---->", ".@7"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE("row at line " + std::to_string(row.line));
        XmlText text(row.text);
        MLDoc::Token token;
        ASSERT_TRUE(text.doc.step_xml(token));
        EXPECT_EQ(row.text.size(), text.doc.position);
        EXPECT_EQ(row.list, dumpAttributes(text.doc, token));
        // Behind the end the list starts over.
        EXPECT_EQ(row.list, dumpAttributes(text.doc, token));
    }
}

TEST(MLDocXmlAttribute, FailsBehindTheByteThatIsWrong) {
    const std::string longest = repeated('n', 511);
    const struct {
        int line;
        std::string text;
        std::string list;
    } rows[] = {
        {__LINE__, "<a 'b'=\"1\">", "!LCA__Bad_character_instead_begin_of@4"},
        {__LINE__, "<a =\"1\">", "!LCA__Bad_character_instead_begin_of@4"},
        {__LINE__, "<a \"b\"=\"1\">", "!LCA__Bad_character_instead_begin_of@4"},
        {__LINE__, "<a \xC3\xA4=\"1\">", "!LCA__Bad_character_instead_begin_of@4"},
        {__LINE__, "<a  &=\"1\">", "!LCA__Bad_character_instead_begin_of@5"},
        {__LINE__, "<a b=\"1\"'>", "b=1@8 !LCA__Bad_character_instead_begin_of@9"},

        {__LINE__, "<a b>", "!LCA__Bad_character_in_attribute_name@5"},
        {__LINE__, "<a b/>", "!LCA__Bad_character_in_attribute_name@5"},
        {__LINE__, "<a b'=\"1\">", "!LCA__Bad_character_in_attribute_name@5"},
        {__LINE__, "<a b<=\"1\">", "!LCA__Bad_character_in_attribute_name@5"},
        {__LINE__, "<a b\xC3\xA4=\"1\">", "!LCA__Bad_character_in_attribute_name@5"},
        {__LINE__, "<?xml version?>", "!LCA__Bad_character_in_attribute_name@14"},
        {__LINE__, "<a <<=\"1\">", "!LCA__Bad_character_in_attribute_name@5"},
        {__LINE__, "<a b\"\"=\"1\">", "!LCA__Bad_character_in_attribute_name@5"},

        {__LINE__, "<a b >", "!LCA__Character_expected_before_quote@6"},
        {__LINE__, "<a b c=\"1\">", "!LCA__Character_expected_before_quote@6"},
        {__LINE__, "<a b \"1\">", "!LCA__Character_expected_before_quote@6"},
        {__LINE__, "<a b\n\t/>", "!LCA__Character_expected_before_quote@7"},
        {__LINE__, "<a b=\"1\" c />", "b=1@8 !LCA__Character_expected_before_quote@12"},

        {__LINE__, "<a b==\"1\">", "!LCA__Duplicate_before_attribute_value@6"},
        {__LINE__, "<a b= =\"1\">", "!LCA__Duplicate_before_attribute_value@7"},
        {__LINE__, "<a b = = \"1\">", "!LCA__Duplicate_before_attribute_value@8"},

        {__LINE__, "<a b='1'>", "!LCA__Initial_quote_expected_after@6"},
        {__LINE__, "<a b='x>y'>", "!LCA__Initial_quote_expected_after@6"},
        {__LINE__, "<a b=1>", "!LCA__Initial_quote_expected_after@6"},
        {__LINE__, "<a b= 1>", "!LCA__Initial_quote_expected_after@7"},
        {__LINE__, "<a b=>", "!LCA__Initial_quote_expected_after@6"},
        {__LINE__, "<a b= />", "!LCA__Initial_quote_expected_after@7"},
        {__LINE__, "<a b=<>", "!LCA__Initial_quote_expected_after@6"},

        // Quotes that the step paired otherwise.
        {__LINE__, "<a/\"x y=\"1>", "!LCA__Closing_quote_is_missed@11"},
        {__LINE__, "<a/\"x y=\" z=\"1\">", "y= z=@13 !LCA__Bad_character_in_attribute_name@15"},

        {__LINE__, "<a " + longest + "=\"1\">", longest + "=1@518 .@519"},
        {__LINE__, "<a " + longest + " =\"1\">", longest + "=1@519 .@520"},
        {__LINE__, "<a " + longest + "n=\"1\">", "!LCA__Too_long_attribute_name@515"},
        {__LINE__, "<a " + longest + "n>", "!LCA__Too_long_attribute_name@515"},
        {__LINE__, "<a " + longest + "nnnn=\"1\">", "!LCA__Too_long_attribute_name@515"},
        // The 512th byte is read and refused for what it is; no further one is read.
        {__LINE__, "<a " + longest + "!=\"1\">", "!LCA__Bad_character_in_attribute_name@515"},
        {__LINE__, "<a " + longest + "n!=\"1\">", "!LCA__Too_long_attribute_name@515"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE("row at line " + std::to_string(row.line));
        XmlText text(row.text);
        MLDoc::Token token;
        ASSERT_TRUE(text.doc.step_xml(token));
        const int level = token.level;
        EXPECT_EQ(row.list, dumpAttributes(text.doc, token));
        EXPECT_EQ(level, token.level);
    }
}

TEST(MLDocXmlAttribute, TagThatEndsEarlyIsTold) {
    // Tags of the caller's making; a step delivers none that ends without its '>'.
    static const struct {
        int line;
        std::string text;
        const char* list;
    } rows[] = {
        {__LINE__, "<", "!LCA__Unexpected_end_of_token@1"},
        {__LINE__, "<a", "!LCA__Unexpected_end_of_token@2"},
        {__LINE__, "<a/", "!LCA__Unexpected_end_of_token@3"},
        {__LINE__, "<a ", "!LCA__Unexpected_end_of_token@3"},
        {__LINE__, "<a \t\r\n", "!LCA__Unexpected_end_of_token@6"},
        {__LINE__, "<a b", "!LCA__End_of_attribute_name_is_not@4"},
        {__LINE__, "<a bcd", "!LCA__End_of_attribute_name_is_not@6"},
        {__LINE__, "<a b ", "!LCA__Unexpected_end_of_token@5"},
        {__LINE__, "<a b=", "!LCA__Unexpected_end_of_token@5"},
        {__LINE__, "<a b = ", "!LCA__Unexpected_end_of_token@7"},
        {__LINE__, "<a b=\"", "!LCA__Closing_quote_is_missed@6"},
        {__LINE__, "<a b=\"12", "!LCA__Closing_quote_is_missed@8"},
        {__LINE__, "<a b=\"12>", "!LCA__Closing_quote_is_missed@9"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE("row at line " + std::to_string(row.line));
        XmlText text(row.text);
        EXPECT_EQ(row.list, dumpAttributes(text.doc, text.whole()));
        // The end is that of the tag, and not that of the text.
        XmlText longer(row.text + "=\"x\" y=\"\">");
        MLDoc::Token token = longer.whole();
        token.body.end = token.body.begin + row.text.size();
        EXPECT_EQ(row.list, dumpAttributes(longer.doc, token));
    }
    // A whole list up to the last byte: the position then lies at the end, so the next call would start over.
    XmlText text("<a b=\"12\"");
    MLDoc::Attribute attribute;
    EXPECT_TRUE(text.doc.attribute_xml(text.whole(), attribute));
    EXPECT_EQ(9u, text.doc.position);
    // The longest name, cut off: its end is missed before its length is.
    XmlText cut("<a " + repeated('n', 511));
    EXPECT_EQ("!LCA__End_of_attribute_name_is_not@514", dumpAttributes(cut.doc, cut.whole()));
    XmlText cutLonger("<a " + repeated('n', 512));
    EXPECT_EQ("!LCA__End_of_attribute_name_is_not@515", dumpAttributes(cutLonger.doc, cutLonger.whole()));
}

TEST(MLDocXmlAttribute, TokenWithoutABodyHasNoAttributes) {
    XmlText text("<a b=\"1\">");
    MLDoc::Attribute attribute;
    EXPECT_EQ("LCA__Unexpected_end_of_token",
              support::thrownMessage([&] { text.doc.attribute_xml(MLDoc::Token(), attribute); }));
    MLDoc::Token empty;
    empty.body = ChPair(text.doc.buffer + 3, text.doc.buffer + 3);
    EXPECT_EQ("LCA__Unexpected_end_of_token",
              support::thrownMessage([&] { text.doc.attribute_xml(empty, attribute); }));
}

TEST(MLDocXmlAttribute, EveryByteAsTheFirstOfAName) {
    for (int c = 0; c < 256; ++c) {
        SCOPED_TRACE(c);
        const std::string byte(1, static_cast<char>(c));
        XmlText text("<a " + byte + "b=\"1\">");
        std::string expected = byte + "b=1@9 .@10";
        if (classOf(c) == kWhite) expected = "b=1@9 .@10";
        if (classOf(c) == kBad) expected = "!LCA__Bad_character_instead_begin_of@4";
        if (c == '!' || c == '-' || c == '/' || c == '>' || c == '?') expected = ".@10";
        EXPECT_EQ(expected, dumpAttributes(text.doc, text.whole()));
    }
}

TEST(MLDocXmlAttribute, EveryByteInsideAName) {
    for (int c = 0; c < 256; ++c) {
        SCOPED_TRACE(c);
        const std::string byte(1, static_cast<char>(c));
        XmlText text("<a b" + byte + "=\"1\">");
        std::string expected = "!LCA__Bad_character_in_attribute_name@5";
        if (classOf(c) == kName) expected = "b" + byte + "=1@9 .@10";
        if (classOf(c) == kWhite) expected = "b=1@9 .@10";
        if (c == '=') expected = "!LCA__Duplicate_before_attribute_value@6";
        EXPECT_EQ(expected, dumpAttributes(text.doc, text.whole()));
    }
}

TEST(MLDocXmlAttribute, ThePositionInsideTheTagIsWhereReadingGoesOn) {
    static const struct {
        int line;
        std::uint32_t position;
        const char* list;
    } rows[] = {
        // Outside, and on both edges, reading begins with the first attribute.
        {__LINE__, 0, "b=1@12 c=2@18 .@19"},
        {__LINE__, 4, "b=1@12 c=2@18 .@19"},
        {__LINE__, 19, "b=1@12 c=2@18 .@19"},
        {__LINE__, 20, "b=1@12 c=2@18 .@19"},
        {__LINE__, 23, "b=1@12 c=2@18 .@19"},
        // Inside, it goes on there; the tag's name is then taken for an attribute's.
        {__LINE__, 5, "!LCA__Character_expected_before_quote@8"},
        {__LINE__, 6, "b=1@12 c=2@18 .@19"},
        {__LINE__, 7, "b=1@12 c=2@18 .@19"},
        {__LINE__, 8, "!LCA__Bad_character_instead_begin_of@9"},
        {__LINE__, 12, "c=2@18 .@19"},
        {__LINE__, 13, "c=2@18 .@19"},
        {__LINE__, 18, ".@19"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE("row at line " + std::to_string(row.line));
        XmlText text("text<a b=\"1\" c=\"2\">rest");
        MLDoc::Token token;
        token.body = ChPair(text.doc.buffer + 4, text.doc.buffer + 19);
        text.doc.position = row.position;
        EXPECT_EQ(row.list, dumpAttributes(text.doc, token));
    }
}

TEST(MLDocXmlAttribute, FillsNameAndValueInPlace) {
    XmlText text("<a bc = \"de\" f=\"\" / >");
    MLDoc::Token token;
    ASSERT_TRUE(text.doc.step(token));
    MLDoc::Attribute attribute;
    ASSERT_TRUE(text.doc.attribute(token, attribute));
    EXPECT_EQ(3, text.offset(attribute.name.begin));
    EXPECT_EQ(5, text.offset(attribute.name.end));
    EXPECT_EQ(9, text.offset(attribute.value.begin));
    EXPECT_EQ(11, text.offset(attribute.value.end));
    EXPECT_EQ(12u, text.doc.position);
    ASSERT_TRUE(text.doc.attribute(token, attribute));
    EXPECT_EQ(13, text.offset(attribute.name.begin));
    EXPECT_EQ(14, text.offset(attribute.name.end));
    EXPECT_EQ(16, text.offset(attribute.value.begin));
    EXPECT_EQ(16, text.offset(attribute.value.end));
    // The end of the list leaves the attribute as it was.
    EXPECT_FALSE(text.doc.attribute(token, attribute));
    EXPECT_EQ(13, text.offset(attribute.name.begin));
    EXPECT_EQ(16, text.offset(attribute.value.end));
}

TEST(MLDocXmlAttribute, IsReadFromAnyTokenAtAnyTime) {
    XmlText text("<a x=\"1\"><b y=\"2\"/></a>");
    MLDoc::Token first, second, last;
    ASSERT_TRUE(text.doc.step(first));
    ASSERT_TRUE(text.doc.step(second));
    ASSERT_TRUE(text.doc.step(last));
    EXPECT_EQ("y=2@17 .@19", dumpAttributes(text.doc, second));
    EXPECT_EQ("x=1@8 .@9", dumpAttributes(text.doc, first));
    EXPECT_EQ("y=2@17 .@19", dumpAttributes(text.doc, second));
    EXPECT_EQ(".@23", dumpAttributes(text.doc, last));
}

// ---- control bytes ----

namespace {

// Keeps what the reader warns about.
class Watcher : public MLDoc {
public:
    mutable int warnings = 0;
    mutable const Token* seenToken = nullptr;
    mutable const Attribute* seenAttribute = nullptr;
    mutable std::string seenName;
    mutable std::string seenValue;
    mutable std::uint32_t seenPosition = 0;

    void warnSuspiciousAttribute(const Token* token, const Attribute* attribute) const override {
        ++warnings;
        seenToken = token;
        seenAttribute = attribute;
        seenName = attribute->name.std();
        seenValue = attribute->value.std();
        seenPosition = position;
    }
};

}  // namespace

TEST(MLDocXmlValue, ControlBytesAreWarnedAboutOnceAndBlanked) {
    static const struct {
        int line;
        std::string raw;     // between the quotes
        const char* warned;  // value that the warning sees; null: no warning
        std::string value;
        std::string left;  // between the quotes afterwards
    } rows[] = {
        {__LINE__, "", nullptr, "", ""},
        {__LINE__, "x", nullptr, "x", "x"},
        {__LINE__, " x ", nullptr, " x ", " x "},
        {__LINE__, "\x20\x7F\x80\x9F\xA0\xFF", nullptr, "\x20\x7F\x80\x9F\xA0\xFF", "\x20\x7F\x80\x9F\xA0\xFF"},
        // Line ends at both ends are not part of the value, and stay where they are.
        {__LINE__, "\r\nx\r\n", nullptr, "x", "\r\nx\r\n"},
        {__LINE__, "\n\n\r\rx", nullptr, "x", "\n\n\r\rx"},
        {__LINE__, "x\n", nullptr, "x", "x\n"},
        {__LINE__, "\r", nullptr, "", "\r"},
        {__LINE__, "\r\n\n\r", nullptr, "", "\r\n\n\r"},
        {__LINE__, "\n \n", nullptr, " ", "\n \n"},
        {__LINE__, "\n x y \r\n", nullptr, " x y ", "\n x y \r\n"},
        // Inside they are blanked like any other control byte.
        {__LINE__, "a\r\nb", "a\r\nb", "a  b", "a  b"},
        {__LINE__, "\r\na\r\nb\r\n", "a\r\nb", "a  b", "\r\na  b\r\n"},
        {__LINE__, " \nx", " \nx", "  x", "  x"},
        {__LINE__, "x\r\n ", "x\r\n ", "x   ", "x   "},
        // TABs are not trimmed.
        {__LINE__, "\t", "\t", " ", " "},
        {__LINE__, "\tx\t", "\tx\t", " x ", " x "},
        {__LINE__, "\n\t\n", "\t", " ", "\n \n"},
        {__LINE__, "\x01", "\x01", " ", " "},
        {__LINE__,
         "a\x1F"
         "b\x1E"
         "c\tc",
         "a\x1F"
         "b\x1E"
         "c\tc",
         "a b c c", "a b c c"},
        {__LINE__, "\xC3\xA4\x0B\xC3\xA4", "\xC3\xA4\x0B\xC3\xA4", "\xC3\xA4 \xC3\xA4", "\xC3\xA4 \xC3\xA4"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE("row at line " + std::to_string(row.line));
        const std::string text = "<a b=\"" + row.raw + "\" c=\"d\"/>";
        Watcher doc;
        doc.load("watched.xml", text.data(), static_cast<int>(text.size()));
        MLDoc::Token token;
        ASSERT_TRUE(doc.step(token));
        EXPECT_EQ(0, doc.warnings);
        MLDoc::Attribute attribute;
        ASSERT_TRUE(doc.attribute(token, attribute));
        EXPECT_EQ(row.value, attribute.value.std());
        EXPECT_EQ(7 + row.raw.size(), doc.position);
        EXPECT_EQ(row.warned ? 1 : 0, doc.warnings);
        if (row.warned) {
            EXPECT_EQ(&token, doc.seenToken);
            EXPECT_EQ(&attribute, doc.seenAttribute);
            EXPECT_EQ("b", doc.seenName);
            EXPECT_EQ(row.warned, doc.seenValue);
            EXPECT_EQ(7 + row.raw.size(), doc.seenPosition);
        }
        const std::string left = "<a b=\"" + row.left + "\" c=\"d\"/>";
        EXPECT_EQ(left, std::string(doc.buffer, doc.length));

        // A second reading sees the blanks, and has nothing to warn about.
        ASSERT_TRUE(doc.attribute(token, attribute));
        EXPECT_FALSE(doc.attribute(token, attribute));
        ASSERT_TRUE(doc.attribute(token, attribute));
        EXPECT_EQ(row.value, attribute.value.std());
        EXPECT_EQ(row.warned ? 1 : 0, doc.warnings);
        EXPECT_EQ(left, std::string(doc.buffer, doc.length));
    }
}

TEST(MLDocXmlValue, EveryControlByteIsBlanked) {
    for (int c = 0; c < 256; ++c) {
        if (c == '"') continue;
        SCOPED_TRACE(c);
        std::string text = "<a b=\"x?y\"/>";
        text[7] = static_cast<char>(c);
        Watcher doc;
        doc.load("watched.xml", text.data(), static_cast<int>(text.size()));
        MLDoc::Token token;
        ASSERT_TRUE(doc.step(token));
        const ChPair value = doc.getAttributeValue(token, "b");
        EXPECT_EQ(c < 0x20 ? 1 : 0, doc.warnings);
        text[7] = c < 0x20 ? ' ' : static_cast<char>(c);
        EXPECT_EQ(text.substr(6, 3), value.std());
        EXPECT_EQ(text, std::string(doc.buffer, doc.length));
    }
}

TEST(MLDocXmlValue, EachAttributeIsWarnedAboutOnItsOwn) {
    const std::string text = "<a b=\"1\t\" c=\"2\" d=\"\t3\">\t<e f=\"\x02\"/></a>";
    Watcher doc;
    doc.load("watched.xml", text.data(), static_cast<int>(text.size()));
    EXPECT_EQ("a(b=1 ,c=2,d= 3){ e(f= ) }", support::dumpWalk(doc));
    EXPECT_EQ(3, doc.warnings);
    EXPECT_EQ("f", doc.seenName);
    EXPECT_EQ("\x02", doc.seenValue);
    // Text between tags is nobody's value.
    EXPECT_EQ("<a b=\"1 \" c=\"2\" d=\" 3\">\t<e f=\" \"/></a>", std::string(doc.buffer, doc.length));
}

TEST(MLDocXmlValue, SteppingWarnsAboutNothing) {
    const std::string text = "<a b=\"1\t\"></a>";
    Watcher doc;
    doc.load("watched.xml", text.data(), static_cast<int>(text.size()));
    MLDoc::Token token;
    while (doc.step(token)) {
    }
    EXPECT_EQ(0, doc.warnings);
    EXPECT_EQ(text, std::string(doc.buffer, doc.length));
}

TEST(MLDocXmlValue, DeclarationIsWarnedAboutWhileLoading) {
    const std::string text = "<?xml version=\"1.\t0\"?><a/>";
    Watcher doc;
    doc.load("watched.xml", text.data(), static_cast<int>(text.size()));
    EXPECT_EQ(1, doc.warnings);
    EXPECT_EQ("version", doc.seenName);
    EXPECT_EQ("1.\t0", doc.seenValue);
}

TEST(MLDocXmlValue, WithoutAWatcherControlBytesAreBlankedToo) {
    MLDoc doc;
    doc.load("plain.xml", "<a b=\"\x01\"/>", 10);
    EXPECT_EQ("a(b= )", support::dumpWalk(doc));
    EXPECT_EQ("<a b=\" \"/>", std::string(doc.buffer, doc.length));
}

// ---- whole documents ----

TEST(MLDocXml, Walks) {
    static const support::WalkRow rows[] = {
        {__LINE__, "<a/>", "a"},
        {__LINE__, "<a></a>", "a"},
        {__LINE__, "<a>text</a>", "a"},
        {__LINE__, "<a/><b/>", "a b"},
        {__LINE__, "<a x=\"1\"><b/></a>", "a(x=1){ b }"},
        {__LINE__, "<a><b/><c><d/></c><e/></a>", "a{ b c{ d } e }"},
        {__LINE__, "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n<a>\n  <b x=\"1\" y=\"2\"/>\n</a>\n",
         "a{ b(x=1,y=2) }"},
        {__LINE__, "<a><!-- <b/> --><?pi <c/>?><d/></a>", "a{ d }"},
        {__LINE__, "<a><!-- <b/> --><?pi?><d/></a>", "a{ d }"},
        {__LINE__, "<!DOCTYPE a [<!-- x --><a/>", "a"},
        {__LINE__, "<!DOCTYPE a><a/>", "!LCA__XML_comment_is_not_finished"},
        {__LINE__, "<a>&lt;b/&gt;</a>", "a"},
        {__LINE__, "<a x=\"&lt;\"/>", "a(x=&lt;)"},
        {__LINE__, "<a x=\"1\" x=\"2\"/>", "a(x=1,x=2)"},
        {__LINE__, "<a b=\"1\" / ><c/></a>", "a(b=1){ c }"},
        {__LINE__, "<a></b>", "a"},
        {__LINE__, "<a>", "a{ !LCA__Closing_tag_not_found"},
        {__LINE__, "<a><b></a>", "a{ b !LCA__Closing_tag_not_found"},
        {__LINE__, "<a", "!LCA__Too_short_file"},
        {__LINE__, "<ab", "!LCA__XML_tag_is_not_finished"},
        {__LINE__, "<a b='x>y'>", "a !LCA__Initial_quote_expected_after"},
        {__LINE__, "<a/></b><c/>", "a"},
    };
    for (const support::WalkRow& row : rows) support::expectWalk(row);
    EXPECT_EQ("a{ b }", support::dumpWalk(kBom + "<a><b/></a>"));
}
