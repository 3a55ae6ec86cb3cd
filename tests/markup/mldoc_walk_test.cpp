#include <velmora/markup/mldoc.h>

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <utility>

#include <velmora/localization/keys.h>
#include <velmora/serial/ttt.h>

#include "tests/support/message.h"

namespace {

using ChildIterator = MLDoc::ChildIterator;
using AttributeIterator = MLDoc::AttributeIterator;

void loadText(MLDoc& doc, const std::string& text) { doc.load("walk.xml", text.data(), static_cast<int>(text.size())); }

// A loaded document, and its first tokens stepped.
class Stepped {
public:
    MLDoc doc;
    MLDoc::Token token;

    explicit Stepped(const std::string& text, int steps = 1) {
        loadText(doc, text);
        for (; steps > 0; --steps) doc.step(token);
    }
};

void expectSameToken(const MLDoc::Token& expected, const MLDoc::Token& token) {
    EXPECT_EQ(expected.name.begin, token.name.begin);
    EXPECT_EQ(expected.name.end, token.name.end);
    EXPECT_EQ(expected.body.begin, token.body.begin);
    EXPECT_EQ(expected.body.end, token.body.end);
    EXPECT_EQ(expected.kind, token.kind);
    EXPECT_EQ(expected.level, token.level);
    EXPECT_EQ(expected.opening, token.opening);
    EXPECT_EQ(expected.closing, token.closing);
}

}  // namespace

// ---- child iteration ----

TEST(ChildIteratorConstructor, TakesAnUnsteppedTokenForTheRoot) {
    for (MLDocBase::Format format : {MLDocBase::XML, MLDocBase::JSON, MLDocBase::YAML}) {
        SCOPED_TRACE(format);
        MLDoc doc;
        loadText(doc, "<a/><b/>");
        doc.format = format;
        doc.position = 4;
        MLDoc::Token token;
        token.level = 3;
        ChildIterator items(&doc, token);
        EXPECT_EQ(0, items.level);
        EXPECT_EQ(4u, items.startPosition);
        EXPECT_EQ(&token, items.token);
        EXPECT_EQ(&doc, items.doc);
        EXPECT_EQ(4u, doc.position);
        EXPECT_EQ(doc.buffer + 4, token.name.begin);
        EXPECT_EQ(doc.buffer + 4, token.name.end);
        EXPECT_EQ(doc.buffer + 4, token.body.begin);
        EXPECT_EQ(doc.buffer + 4, token.body.end);
        EXPECT_EQ(3, token.level);
    }
}

TEST(ChildIteratorConstructor, JumpsOverUnreadAttributesOfXml) {
    Stepped s("<a x=\"1\" y=\"2\"><b/></a>");
    MLDoc::Attribute attribute;
    ASSERT_TRUE(s.doc.attribute(s.token, attribute));
    ASSERT_EQ(8u, s.doc.position);
    ChildIterator items(&s.doc, s.token);
    EXPECT_EQ(15u, s.doc.position);
    EXPECT_EQ(15u, items.startPosition);
    EXPECT_EQ(1, items.level);
    EXPECT_EQ(&s.token, items.token);
    EXPECT_EQ(&s.doc, items.doc);
    EXPECT_TRUE(s.token.name == "a");
}

TEST(ChildIteratorConstructor, StaysWhereItIsInJsonAndYaml) {
    for (MLDocBase::Format format : {MLDocBase::JSON, MLDocBase::YAML}) {
        SCOPED_TRACE(format);
        Stepped s("<a x=\"1\" y=\"2\"><b/></a>");
        s.doc.format = format;
        s.doc.position = 8;
        ChildIterator items(&s.doc, s.token);
        EXPECT_EQ(8u, s.doc.position);
        EXPECT_EQ(8u, items.startPosition);
        EXPECT_EQ(1, items.level);
        s.token.closing = true;
        ChildIterator none(&s.doc, s.token);
        EXPECT_EQ(8u, none.startPosition);
        EXPECT_EQ(-1, none.level);
    }
}

TEST(ChildIterator, ClosingTokenHasNoChildrenAndIsNotStepped) {
    static const struct {
        int line;
        const char* text;
        int steps;
        std::uint32_t position;
    } rows[] = {
        {__LINE__, "<a/><b/>", 1, 4},
        {__LINE__, "<a x=\"1\"/><b/>", 1, 10},
        {__LINE__, "<a></a><b/>", 2, 7},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE("row at line " + std::to_string(row.line));
        Stepped s(row.text, row.steps);
        ChildIterator items(&s.doc, s.token);
        EXPECT_EQ(-1, items.level);
        const MLDoc::Token before = s.token;
        EXPECT_FALSE(items());
        EXPECT_FALSE(items("b"));
        EXPECT_EQ(row.position, s.doc.position);
        expectSameToken(before, s.token);
    }
}

TEST(ChildIterator, DeliversTheOutermostItems) {
    MLDoc doc;
    loadText(doc, "<a/> <b> </b> <c/> ");
    MLDoc::Token token;
    ChildIterator items(&doc, token);
    ASSERT_TRUE(items());
    EXPECT_TRUE(token.name == "a");
    EXPECT_EQ(0, token.level);
    EXPECT_TRUE(token.closing);
    EXPECT_EQ(4u, doc.position);
    ASSERT_TRUE(items());
    EXPECT_TRUE(token.name == "b");
    EXPECT_EQ(1, token.level);
    EXPECT_FALSE(token.closing);
    EXPECT_EQ(8u, doc.position);
    ASSERT_TRUE(items());
    EXPECT_TRUE(token.name == "c");
    EXPECT_EQ(0, token.level);
    EXPECT_EQ(18u, doc.position);
    // The end of the document ends the root, as often as it is asked.
    for (int round = 0; round < 2; ++round) {
        EXPECT_FALSE(items());
        EXPECT_EQ(19u, doc.position);
        EXPECT_EQ(0, items.level);
    }
    EXPECT_EQ(0u, items.startPosition);
}

TEST(ChildIterator, DeliversDirectChildrenOnly) {
    Stepped s("<a><b><c/><d></d></b><!-- <x/> --><?pi?>text<e/><f></f></a><g/>");
    ChildIterator items(&s.doc, s.token);
    ASSERT_TRUE(items());
    EXPECT_TRUE(s.token.name == "b");
    EXPECT_EQ(2, s.token.level);
    EXPECT_EQ(6u, s.doc.position);
    ASSERT_TRUE(items());
    EXPECT_TRUE(s.token.name == "e");
    EXPECT_EQ(1, s.token.level);
    ASSERT_TRUE(items());
    EXPECT_TRUE(s.token.name == "f");
    EXPECT_EQ(2, s.token.level);
    EXPECT_FALSE(items());
    // The token is the parent's end, and the cursor stands behind it.
    EXPECT_TRUE(s.token.name == "a");
    EXPECT_FALSE(s.token.opening);
    EXPECT_TRUE(s.token.closing);
    EXPECT_EQ(0, s.token.level);
    EXPECT_EQ(59u, s.doc.position);
    EXPECT_EQ(-1, items.level);
    EXPECT_FALSE(items());
    EXPECT_EQ(59u, s.doc.position);
}

TEST(ChildIterator, NestsOnOneToken) {
    MLDoc doc;
    loadText(doc, "<a><b><c/></b><d><e/><f/></d></a><g/>");
    MLDoc::Token token;
    std::string seen;
    ChildIterator outermost(&doc, token);
    while (outermost()) {
        seen += token.name.std() + "(";
        ChildIterator middle(&doc, token);
        while (middle()) {
            seen += token.name.std() + "(";
            ChildIterator inner(&doc, token);
            while (inner()) seen += token.name.std();
            seen += ")";
        }
        seen += ")";
    }
    EXPECT_EQ("a(b(c)d(ef))g()", seen);
}

TEST(ChildIterator, InnerWalkMayBeLeftEarly) {
    MLDoc doc;
    loadText(doc, "<a><b><c><d/></c><e/></b><f/></a><g/>");
    MLDoc::Token token;
    ChildIterator outermost(&doc, token);
    ASSERT_TRUE(outermost());
    ChildIterator items(&doc, token);
    ASSERT_TRUE(items());
    {
        ChildIterator inner(&doc, token);
        ASSERT_TRUE(inner());
        ASSERT_TRUE(token.name == "c");
        ChildIterator innermost(&doc, token);
        ASSERT_TRUE(innermost());
        ASSERT_TRUE(token.name == "d");
    }
    ASSERT_TRUE(items());
    EXPECT_TRUE(token.name == "f");
    ASSERT_TRUE(outermost());
    EXPECT_TRUE(token.name == "g");
    EXPECT_FALSE(outermost());
}

TEST(ChildIterator, FindsChildrenByName) {
    const std::string text = "<r><a/><ab/><A/><b><a n=\"deep\"/></b><a n=\"2\"/></r>";
    // By a view, by a terminated text, and by a std::string that becomes a view.
    for (int form = 0; form < 3; ++form) {
        SCOPED_TRACE(form);
        Stepped s(text);
        ChildIterator items(&s.doc, s.token);
        auto next = [&](const char* name) {
            if (form == 0) return items(ChPair(name));
            if (form == 1) return items(name);
            return items(std::string(name));
        };
        ASSERT_TRUE(next("a"));
        EXPECT_EQ(7u, s.doc.position);
        ASSERT_TRUE(next("a"));
        EXPECT_TRUE(s.doc.getAttributeValue(s.token, "n") == "2");
        EXPECT_FALSE(next("a"));
        EXPECT_EQ(-1, items.level);
        EXPECT_EQ(text.size(), s.doc.position);
    }
    Stepped s(text);
    ChildIterator items(&s.doc, s.token);
    ASSERT_TRUE(items("A"));
    EXPECT_EQ(16u, s.doc.position);
    // What was passed over is gone.
    EXPECT_FALSE(items("ab"));
}

// The name that is sought is the one at the call, though each step fills the token anew.
TEST(ChildIterator, NameMayBeTheTokensOwn) {
    MLDoc doc;
    loadText(doc, "<r><a/><b/><a/><c/></r>");
    MLDoc::Token token;
    doc.step(token);
    MLDoc::ChildIterator children(&doc, token);
    ASSERT_TRUE(children("a"));
    const char* first = token.body.begin;
    ASSERT_TRUE(children(token.name));
    EXPECT_EQ("a", token.name);
    EXPECT_EQ(first + 8, token.body.begin);
    EXPECT_FALSE(children(token.name));
}

TEST(AttributeIterator, NameMayBeTheAttributesOwn) {
    MLDoc doc;
    loadText(doc, "<r a=\"1\" b=\"2\" a=\"3\" c=\"4\"/>");
    MLDoc::Token token;
    doc.step(token);
    MLDoc::AttributeIterator attributes(&doc, token);
    MLDoc::Attribute attribute;
    ASSERT_TRUE(attributes(attribute, "a"));
    ASSERT_TRUE(attributes(attribute, attribute.name));
    EXPECT_EQ("3", attribute.value);
    EXPECT_FALSE(attributes(attribute, attribute.name));
}

TEST(ChildIterator, NullAndEmptyNamesFindNothing) {
    for (const char* name : {static_cast<const char*>(nullptr), ""}) {
        Stepped s("<r><a/></r>");
        ChildIterator items(&s.doc, s.token);
        EXPECT_FALSE(items(name));
        EXPECT_EQ(11u, s.doc.position);
    }
}

TEST(ChildIterator, StrayEndTagEndsTheRoot) {
    MLDoc doc;
    loadText(doc, "<a/></x><b/>");
    MLDoc::Token token;
    ChildIterator items(&doc, token);
    ASSERT_TRUE(items());
    EXPECT_FALSE(items());
    EXPECT_EQ(-1, token.level);
    EXPECT_EQ(-1, items.level);
    EXPECT_EQ(8u, doc.position);
    EXPECT_FALSE(items());
    EXPECT_EQ(8u, doc.position);
}

TEST(ChildIterator, UnclosedElementIsToldAtItsStart) {
    static const struct {
        int line;
        const char* text;
        int steps;
        std::uint32_t position;
        const char* place;
    } rows[] = {
        {__LINE__, "<a>text", 1, 3, "(1,4)"},
        {__LINE__, "<a>\n <b>\n <c/>", 1, 3, "(1,4)"},
        {__LINE__, "<a>\n <b>\n <c/>", 2, 8, "(2,5)"},
        {__LINE__, "<a><b></a>text", 1, 3, "(1,4)"},
        {__LINE__, "<a x=\"1\"><b/>", 1, 9, "(1,10)"},
        // Where the inside would start is the end of the text, which has no place of its own.
        {__LINE__, "<a>", 1, 3, "(1,1)"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE("row at line " + std::to_string(row.line));
        Stepped s(row.text, row.steps);
        ChildIterator items(&s.doc, s.token);
        TTT caught;
        try {
            while (items()) {
            }
        } catch (const TTT& message) {
            caught = message;
        }
        EXPECT_EQ("LCA__Closing_tag_not_found", support::dumpMessage(caught));
        EXPECT_EQ(row.position, s.doc.position);
        EXPECT_EQ(row.position, items.startPosition);
        s.doc.formMessage(caught);
        EXPECT_EQ(std::string("LCA__Closing_tag_not_found LCA__Path_s(walk.xml) LCA__Line_d_Column_d") + row.place,
                  support::dumpMessage(caught));
    }
}

TEST(ChildIterator, FailureOfTheReaderPassesThroughWhereItHappened) {
    Stepped s("<a><b/><></a>");
    ChildIterator items(&s.doc, s.token);
    ASSERT_TRUE(items());
    EXPECT_EQ("LCA__Empty_XML_tag", support::thrownMessage([&] { items(); }));
    EXPECT_EQ(9u, s.doc.position);
    EXPECT_EQ(1, items.level);

    Stepped unclosed("<a><b/>");
    ChildIterator named(&unclosed.doc, unclosed.token);
    EXPECT_EQ("LCA__Closing_tag_not_found", support::thrownMessage([&] { named("x"); }));
    EXPECT_EQ(3u, unclosed.doc.position);
}

TEST(ChildIterator, CopiesAllFourFields) {
    Stepped s("<a><b/><c/></a>");
    ChildIterator items(&s.doc, s.token);
    ASSERT_TRUE(items());
    MLDoc other;
    MLDoc::Token otherToken;
    ChildIterator assigned(&other, otherToken);
    ChildIterator moved(&other, otherToken);
    ChildIterator copied(items);
    assigned = items;
    moved = std::move(copied);
    for (const ChildIterator* copy : {&assigned, &moved}) {
        EXPECT_EQ(1, copy->level);
        EXPECT_EQ(3u, copy->startPosition);
        EXPECT_EQ(&s.token, copy->token);
        EXPECT_EQ(&s.doc, copy->doc);
    }
    ASSERT_TRUE(assigned());
    EXPECT_TRUE(s.token.name == "c");
}

// ---- attribute iteration ----

TEST(AttributeIterator, StartsAtTheTagAndEndsBehindIt) {
    Stepped s("<!---->\n<a b=\"1\" c=\"2\">text</a>");
    ASSERT_TRUE(s.doc.step(s.token));
    s.doc.position = 30;
    {
        AttributeIterator attributes(&s.doc, s.token);
        EXPECT_EQ(&s.doc, attributes.doc);
        EXPECT_EQ(&s.token, attributes.token);
        EXPECT_EQ(8u, s.doc.position);
        MLDoc::Attribute attribute;
        ASSERT_TRUE(attributes(attribute));
        EXPECT_TRUE(attribute.name == "b");
        EXPECT_TRUE(attribute.value == "1");
        EXPECT_EQ(16u, s.doc.position);
        ASSERT_TRUE(attributes(attribute));
        EXPECT_TRUE(attribute.name == "c");
        EXPECT_TRUE(attribute.value == "2");
        EXPECT_EQ(22u, s.doc.position);
        EXPECT_FALSE(attributes(attribute));
        EXPECT_EQ(23u, s.doc.position);
    }
    EXPECT_EQ(23u, s.doc.position);
    {
        // Left after the first.
        AttributeIterator attributes(&s.doc, s.token);
        MLDoc::Attribute attribute;
        ASSERT_TRUE(attributes(attribute));
        EXPECT_EQ(16u, s.doc.position);
    }
    EXPECT_EQ(23u, s.doc.position);
    {
        AttributeIterator unused(&s.doc, s.token);
        EXPECT_EQ(8u, s.doc.position);
    }
    EXPECT_EQ(23u, s.doc.position);
    EXPECT_TRUE(s.doc.content(s.token) == "text");
}

TEST(AttributeIterator, StaysWhereItStoppedInJsonAndYaml) {
    for (MLDocBase::Format format : {MLDocBase::JSON, MLDocBase::YAML}) {
        SCOPED_TRACE(format);
        Stepped s("<!---->\n<a b=\"1\" c=\"2\">text</a>", 2);
        s.doc.format = format;
        {
            AttributeIterator attributes(&s.doc, s.token);
            EXPECT_EQ(8u, s.doc.position);
            s.doc.position = 16;
        }
        EXPECT_EQ(16u, s.doc.position);
    }
}

TEST(AttributeIterator, FindsAttributesByName) {
    const std::string text = "<r a=\"1\" ab=\"2\" A=\"3\" a=\"4\" b=\"5\"/>";
    for (int form = 0; form < 3; ++form) {
        SCOPED_TRACE(form);
        Stepped s(text);
        AttributeIterator attributes(&s.doc, s.token);
        MLDoc::Attribute attribute;
        auto next = [&](const char* name) {
            if (form == 0) return attributes(attribute, ChPair(name));
            if (form == 1) return attributes(attribute, name);
            return attributes(attribute, std::string(name));
        };
        ASSERT_TRUE(next("a"));
        EXPECT_TRUE(attribute.value == "1");
        EXPECT_EQ(8u, s.doc.position);
        ASSERT_TRUE(next("a"));
        EXPECT_TRUE(attribute.name == "a");
        EXPECT_TRUE(attribute.value == "4");
        EXPECT_EQ(27u, s.doc.position);
        EXPECT_FALSE(next("a"));
        EXPECT_EQ(text.size(), s.doc.position);
        // Behind the end it starts over.
        ASSERT_TRUE(next("A"));
        EXPECT_TRUE(attribute.value == "3");
    }
    Stepped s(text);
    AttributeIterator attributes(&s.doc, s.token);
    MLDoc::Attribute attribute;
    EXPECT_FALSE(attributes(attribute, static_cast<const char*>(nullptr)));
    EXPECT_FALSE(attributes(attribute, ""));
    EXPECT_FALSE(attributes(attribute, "abc"));
}

TEST(AttributeIterator, FailureLeavesThePositionBehindTheTag) {
    Stepped s("<a b=\"1\" c='2'>text</a>");
    EXPECT_EQ("LCA__Initial_quote_expected_after", support::thrownMessage([&] {
                  AttributeIterator attributes(&s.doc, s.token);
                  MLDoc::Attribute attribute;
                  while (attributes(attribute)) {
                  }
              }));
    EXPECT_EQ(15u, s.doc.position);
}

TEST(AttributeIterator, FailureKeepsItsPlaceWhileTheIteratorLives) {
    Stepped s("<a b=\"1\" c='2'>text</a>");
    AttributeIterator attributes(&s.doc, s.token);
    MLDoc::Attribute attribute;
    ASSERT_TRUE(attributes(attribute));
    EXPECT_THROW_KEY(attributes(attribute), LCA__Initial_quote_expected_after);
    EXPECT_EQ(12u, s.doc.position);
}

// ---- one attribute ----

TEST(MLDocGetAttributeValue, LooksOneAttributeUp) {
    const std::string text = "<!---->\n<r a=\"1\" ab=\"2\" A=\"3\" a=\"4\" e=\"\">text</r>";
    static const struct {
        int line;
        const char* name;
        const char* value;  // null: there is none
    } rows[] = {
        {__LINE__, "a", "1"},         {__LINE__, "ab", "2"},      {__LINE__, "A", "3"},     {__LINE__, "e", ""},
        {__LINE__, "b", nullptr},     {__LINE__, "abc", nullptr}, {__LINE__, "E", nullptr}, {__LINE__, "", nullptr},
        {__LINE__, nullptr, nullptr}, {__LINE__, "r", nullptr},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE("row at line " + std::to_string(row.line));
        // The result is the same wherever the cursor stands before.
        for (std::uint32_t position : {0u, 8u, 16u, 25u, 41u, 45u}) {
            Stepped s(text, 2);
            const MLDoc::Token before = s.token;
            s.doc.position = position;
            ChPair value = s.doc.getAttributeValue(s.token, row.name);
            EXPECT_EQ(41u, s.doc.position);
            s.doc.position = position;
            const ChPair again = s.doc.getAttributeValue(s.token, ChPair(row.name));
            EXPECT_EQ(41u, s.doc.position);
            EXPECT_EQ(value.begin, again.begin);
            EXPECT_EQ(value.end, again.end);
            if (row.value) {
                EXPECT_NE(nullptr, value.begin);
                EXPECT_EQ(row.value, value.std());
            } else {
                EXPECT_EQ(nullptr, value.begin);
                EXPECT_EQ(nullptr, value.end);
            }
            expectSameToken(before, s.token);
        }
    }
}

TEST(MLDocGetAttributeValue, KeepsThePlaceOfAFailure) {
    Stepped s("<a b=\"1\" c='2' d=\"3\">text</a>");
    EXPECT_TRUE(s.doc.getAttributeValue(s.token, "b") == "1");
    EXPECT_EQ(21u, s.doc.position);
    for (const char* name : {"c", "d", "none"}) {
        EXPECT_EQ("LCA__Initial_quote_expected_after",
                  support::thrownMessage([&] { s.doc.getAttributeValue(s.token, name); }));
        EXPECT_EQ(12u, s.doc.position);
    }
    s.doc.position = 8;
    MLDoc::Attribute attribute;
    EXPECT_THROW_KEY(s.doc.attribute(s.token, attribute), LCA__Initial_quote_expected_after);
    EXPECT_EQ(12u, s.doc.position);
}

TEST(MLDocGetAttributeBool, IsTrueForTheWordAlone) {
    Stepped s(
        "<a t=\"true\" f=\"false\" T=\"True\" U=\"TRUE\" one=\"1\" e=\"\" s=\" true\" n=\"\ntrue\r\n\" l=\"trues\"/>");
    static const struct {
        int line;
        const char* name;
        bool value;
    } rows[] = {
        {__LINE__, "t", true},    {__LINE__, "f", false},       {__LINE__, "T", false}, {__LINE__, "U", false},
        {__LINE__, "one", false}, {__LINE__, "e", false},       {__LINE__, "s", false}, {__LINE__, "n", true},
        {__LINE__, "l", false},   {__LINE__, "missing", false}, {__LINE__, "", false},  {__LINE__, nullptr, false},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE("row at line " + std::to_string(row.line));
        EXPECT_EQ(row.value, s.doc.getAttributeBool(s.token, row.name));
        EXPECT_EQ(s.doc.length, s.doc.position);
        EXPECT_EQ(row.value, s.doc.getAttributeBool(s.token, ChPair(row.name)));
        EXPECT_EQ(s.doc.length, s.doc.position);
    }
    // Only the reader's own failures leave.
    Stepped bad("<a b=1>");
    EXPECT_THROW_KEY(bad.doc.getAttributeBool(bad.token, "b"), LCA__Initial_quote_expected_after);
    EXPECT_EQ(6u, bad.doc.position);
}

// ---- content ----

TEST(MLDocContent, IsTheRawTextBetweenTheTags) {
    static const struct {
        int line;
        const char* text;
        int steps;
        const char* content;
        std::uint32_t position;
        int level;
    } rows[] = {
        {__LINE__, "<a>text</a>", 1, "text", 11, 0},
        {__LINE__, "<a></a>", 1, "", 7, 0},
        {__LINE__, "<a> \r\n\ttext\t\n </a>rest", 1, " \r\n\ttext\t\n ", 18, 0},
        {__LINE__, "<a>&lt;\\n\x01\xC3\xA4 > \" '</a>", 1, "&lt;\\n\x01\xC3\xA4 > \" '", 22, 0},
        {__LINE__, "<a x=\"1\">text</a>", 1, "text", 17, 0},
        {__LINE__, "<a>text</b>", 1, "text", 11, 0},
        {__LINE__, "<a>text</a b=\"1\">", 1, "text", 17, 0},
        {__LINE__, "<a><b>text</b></a>", 2, "text", 14, 1},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE("row at line " + std::to_string(row.line));
        Stepped s(row.text, row.steps);
        MLDoc::Token expected = s.token;
        expected.level = row.level;
        const ChPair content = s.doc.content(s.token);
        EXPECT_EQ(row.content, content.std());
        EXPECT_EQ(s.token.body.end, content.begin);
        EXPECT_EQ(row.position, s.doc.position);
        expectSameToken(expected, s.token);
    }
}

TEST(MLDocContent, ConsumesTheElement) {
    MLDoc doc;
    loadText(doc, "<r><a>1</a><b>2</b></r><s/>");
    MLDoc::Token token;
    ChildIterator outermost(&doc, token);
    ASSERT_TRUE(outermost());
    ChildIterator items(&doc, token);
    ASSERT_TRUE(items());
    EXPECT_TRUE(doc.content(token) == "1");
    EXPECT_EQ(1, token.level);
    EXPECT_EQ(11u, doc.position);
    ASSERT_TRUE(items());
    EXPECT_TRUE(token.name == "b");
    EXPECT_TRUE(doc.content(token) == "2");
    EXPECT_FALSE(items());
    ASSERT_TRUE(outermost());
    EXPECT_TRUE(token.name == "s");
}

TEST(MLDocContent, FollowsAttributesThatWereReadInPart) {
    Stepped s("<a x=\"1\" y=\"2\">text</a>");
    MLDoc::Attribute attribute;
    ASSERT_TRUE(s.doc.attribute(s.token, attribute));
    ASSERT_EQ(8u, s.doc.position);
    EXPECT_TRUE(s.doc.content(s.token) == "text");
    EXPECT_EQ(23u, s.doc.position);
}

TEST(MLDocContent, BeginsBehindTheTagWhateverItsValuesHold) {
    Stepped s("<a x=\"1\" y=\"</b>\">text</a>");
    MLDoc::Attribute attribute;
    ASSERT_TRUE(s.doc.attribute(s.token, attribute));
    EXPECT_EQ("text", s.doc.content(s.token).std());
    EXPECT_EQ(s.doc.length, s.doc.position);
}

TEST(MLDocContent, RefusesATokenThatNoStepHasFilled) {
    MLDoc doc;
    doc.load("name", "<?xml version=\"1.0\"?></a>", 25);
    MLDoc::Token token;
    EXPECT_EQ("LCA__Pair_token_not_found", support::thrownMessage([&] { doc.content(token); }));
    support::thrownMessage([&] { doc.load("name", "<?x", 3); });
    ASSERT_EQ(nullptr, doc.buffer);
    doc.format = MLDocBase::XML;
    EXPECT_EQ("LCA__Pair_token_not_found", support::thrownMessage([&] { doc.content(token); }));
}

TEST(MLDocContent, RefusesATokenOfADocumentThatIsGone) {
    Stepped s("<a>text</a>");
    int size;
    delete[] s.doc.steal(size);
    EXPECT_EQ("LCA__Pair_token_not_found", support::thrownMessage([&] { s.doc.content(s.token); }));
}

TEST(MLDocContent, RefusalOfAClosedTokenMovesNothing) {
    Stepped s("<a x=\"1\" y=\"2\"/>");
    MLDoc::Attribute attribute;
    ASSERT_TRUE(s.doc.attribute(s.token, attribute));
    ASSERT_EQ(8u, s.doc.position);
    EXPECT_EQ("LCA__Pair_token_not_found", support::thrownMessage([&] { s.doc.content(s.token); }));
    EXPECT_EQ(8u, s.doc.position);
}

TEST(MLDocContent, RefusesWhatIsNotTextAndAnEndTag) {
    static const struct {
        int line;
        const char* text;
        int steps;
        int key;
        std::uint32_t position;
    } rows[] = {
        {__LINE__, "<a><b/></a>", 1, LCA__Pair_token_not_found, 7},
        {__LINE__, "<a>text<b></b></a>", 1, LCA__Pair_token_not_found, 10},
        {__LINE__, "<a>text<!-- c --></a>", 1, LCA__Pair_token_not_found, 17},
        {__LINE__, "<a><?pi?></a>", 1, LCA__Pair_token_not_found, 9},
        {__LINE__, "<a>text", 1, LCA__Pair_token_not_found, 7},
        {__LINE__, "<a>", 1, LCA__Pair_token_not_found, 3},
        // A token that is closed already is not stepped from.
        {__LINE__, "<a/>text</a>", 1, LCA__Pair_token_not_found, 4},
        {__LINE__, "<a></a></b>", 2, LCA__Pair_token_not_found, 7},
        // The reader's own failures.
        {__LINE__, "<a>text</ a>", 1, LCA__Empty_XML_tag, 10},
        {__LINE__, "<a>1 < 2</a>", 1, LCA__Empty_XML_tag, 7},
        {__LINE__, "<a>text</a", 1, LCA__XML_tag_is_not_finished, 10},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE("row at line " + std::to_string(row.line));
        Stepped s(row.text, row.steps);
        const MLDoc::Token before = s.token;
        EXPECT_EQ(support::keyName(row.key), support::thrownMessage([&] { s.doc.content(s.token); }));
        EXPECT_EQ(row.position, s.doc.position);
        expectSameToken(before, s.token);
    }
}

TEST(MLDocContent, IsOnlyThereInXml) {
    for (MLDocBase::Format format :
         {MLDocBase::JSON, MLDocBase::YAML, MLDocBase::Unknown, MLDocBase::HTML, MLDocBase::CSV}) {
        SCOPED_TRACE(format);
        for (const char* text : {"<a>text</a>", "<a/>"}) {
            Stepped s(text);
            s.doc.format = format;
            const MLDoc::Token before = s.token;
            const std::uint32_t position = s.doc.position;
            EXPECT_EQ("LCA__Cannot_read_plain_content_for", support::thrownMessage([&] { s.doc.content(s.token); }));
            EXPECT_EQ(position, s.doc.position);
            expectSameToken(before, s.token);
        }
    }
}
