#include <gtest/gtest.h>

#include <velmora/localization/keys.h>
#include <velmora/markup/mldoc.h>

#include <string>

#include "tests/support/guard_page.h"
#include "tests/support/message.h"
#include "tests/support/walk_dump.h"

namespace {

using support::GuardedDocument;

// ---- lexical tokens ----

struct TokenRow {
    int line;
    std::string text;
    const char* kinds;  // "q(text)", "s(text)" or the structure byte, side by side; "!KEY" for a failure
    unsigned position;  // afterwards
};

std::string dumpTokens(MLDoc& doc) {
    std::string out;
    try {
        ChPair text;
        while (int kind = doc.get_json_token(text)) {
            out += static_cast<char>(kind);
            if (kind == 'q' || kind == 's') out += "(" + text.std() + ")";
        }
    } catch (const TTT& message) {
        out += "!" + support::dumpMessage(message);
    }
    return out;
}

const TokenRow tokenRows[] = {
    {__LINE__, "", "", 0},
    {__LINE__, " \t\r\n\f\x01", "", 6},
    {__LINE__, std::string("\0\0,", 3), ",", 3},
    {__LINE__, ",:[]{}", ",:[]{}", 6},
    {__LINE__, "\"a\"", "q(a)", 3},
    {__LINE__, "\"\"", "q()", 2},
    {__LINE__, "\"a\\\"b\"", "q(a\\\"b)", 6},
    {__LINE__, "\"a\\\\\"", "q(a\\\\)", 5},
    {__LINE__, "\"0123456789\\\"0123456789\"x", "q(0123456789\\\"0123456789)s(x)", 25},
    {__LINE__, "\"a\nb\"", "q(a\nb)", 5},
    {__LINE__, "\"\xC3\xA9\"", "q(\xC3\xA9)", 4},
    {__LINE__, "\"abc", "!LCA__Closing_quote_is_missed", 4},
    {__LINE__, "\"", "!LCA__Closing_quote_is_missed", 1},
    {__LINE__, "\"ab\\", "!LCA__Unsupported_escape_sequence", 4},
    {__LINE__, "\"ab\\\"", "!LCA__Closing_quote_is_missed", 5},
    {__LINE__, "1.5e+3", "s(1.5e+3)", 6},
    {__LINE__, "true,tru\"x\"", "s(true),s(tru)q(x)", 11},
    {__LINE__, "0x10 abc]", "s(0x10)s(abc)]", 9},
    {__LINE__,
     "a\x7F"
     "b",
     "s(a\x7F"
     "b)",
     3},
    {__LINE__, "\xC3", "s(\xC3)", 1},
    {__LINE__, "\xFF:", "s(\xFF):", 2},
    {__LINE__, "a\xC3z", "!LCA__Bad_character", 2},
    {__LINE__, "\xC3\xA9", "!LCA__Bad_character", 2},
};

TEST(MLDocJsonToken, Table) {
    for (const TokenRow& row : tokenRows) {
        SCOPED_TRACE(row.line);
        GuardedDocument guarded(row.text);
        EXPECT_EQ(row.kinds, dumpTokens(guarded.doc));
        EXPECT_EQ(row.position, guarded.doc.position);
    }
}

TEST(MLDocJsonToken, StructureLeavesThePairAlone) {
    GuardedDocument guarded(std::string("{"));
    ChPair text("before");
    EXPECT_EQ('{', guarded.doc.get_json_token(text));
    EXPECT_TRUE(text == "before");
}

// ---- stepping ----

struct StepRow {
    int line;
    const char* text;
    const char* steps;  // as dumpSteps
    unsigned position;  // afterwards
    int openNames;      // entries afterwards
    int level;          // the token's, afterwards
};

// The same as support::dumpSteps, with the document at hand afterwards.
std::string stepAll(MLDoc& doc, MLDoc::Token& token) {
    std::string out;
    try {
        doc.guessFormat("json");
        while (doc.step(token)) {
            if (!out.empty()) out += ' ';
            if (token.opening) out += '<';
            out += token.name.std();
            if (token.closing) out += '>';
            out += "@" + std::to_string(token.level);
            EXPECT_EQ(0, token.kind);
            EXPECT_EQ(doc.buffer + doc.position, token.body.begin);
            EXPECT_EQ(doc.buffer + doc.length, token.body.end);
        }
    } catch (const TTT& message) {
        if (!out.empty()) out += ' ';
        out += "!" + support::dumpMessage(message);
    }
    return out;
}

const StepRow stepRows[] = {
    {__LINE__, "{} ", "<@1 >@0", 3, 0, 0},
    {__LINE__, "{}\n\n", "<@1 >@0", 4, 0, 0},
    // Without a byte behind it the end is not checked, and the names keep their storage.
    {__LINE__, "{ }", "<@1 >@0", 3, 1, 0},
    {__LINE__, "{}, ", "<@1 >@0 !LCA__Bad_nesting", 4, 1, 0},
    {__LINE__, "{},", "<@1 >@0 !LCA__Bad_nesting", 3, 1, 0},
    {__LINE__, "{}x", "<@1 >@0 !LCA__Unexpected_JSON_item", 3, 1, 0},
    {__LINE__, "{}{}", "<@1 >@0 !LCA__Unexpected__1", 3, 1, 0},
    {__LINE__, "{}}", "<@1 >@0 !LCA__Unexpected__0", 3, 1, 0},
    {__LINE__, "{}],}", "<@1 >@0 !LCA__Bad_nesting", 5, 0, 0},
    {__LINE__, "{}:", "<@1 >@0 !LCA__Unexpected_JSON_item", 3, 1, 0},
    {__LINE__, "{}\"a\"", "<@1 >@0 !LCA__Unexpected_string", 5, 1, 0},
    {__LINE__, "{  ", "<@1 !LCA__Bad_nesting", 3, 1, 1},
    {__LINE__, "{\"a\":1}\n", "<@1 >@0", 8, 0, 0},
    {__LINE__, "{\"a\":1,}\n", "<@1 >@0", 9, 0, 0},
    {__LINE__, "{,}", "<@1 !LCA__Unexpected", 2, 1, 1},
    {__LINE__, "{\"a\":1,,}", "<@1 !LCA__Unexpected", 8, 1, 1},
    {__LINE__, "{\"a\":1 \"b\":2}", "<@1 !LCA__Unexpected_string", 10, 1, 1},
    {__LINE__, "{\"a\" 1}", "<@1 !LCA__Expected__0", 6, 1, 1},
    {__LINE__, "{\"a\"}", "<@1 !LCA__Expected__0", 5, 1, 1},
    {__LINE__, "{\"a\":}", "<@1 !LCA__Expected_string", 6, 1, 1},
    {__LINE__, "{\"a\": ", "<@1 !LCA__Expected_string", 6, 1, 1},
    {__LINE__, "{\"a\":,", "<@1 !LCA__Expected_string", 6, 1, 1},
    {__LINE__, "{\"a\"::", "<@1 !LCA__Expected_string", 6, 1, 1},
    {__LINE__, "{\"a\":]", "<@1 !LCA__Expected_string", 6, 1, 1},
    {__LINE__, "{a:1}", "<@1 !LCA__Unexpected_JSON_item", 2, 1, 1},
    {__LINE__, "{:}", "<@1 !LCA__Unexpected_JSON_item", 2, 1, 1},
    {__LINE__, "{[]}", "<@1 !LCA__Unexpected_JSON_item", 2, 1, 1},
    {__LINE__, "{]}", "<@1 !LCA__Unexpected__2", 2, 1, 1},
    {__LINE__, "{{}}", "<@1 !LCA__Unexpected__1", 2, 1, 1},
    {__LINE__, "{\"a\":[]}\n", "<@1 >@0", 9, 0, 0},
    {__LINE__, "{\"a\":[{}]}\n", "<@1 <a@2 a>@1 >@0", 11, 0, 0},
    {__LINE__, "{\"a\":[{},]}\n", "<@1 <a@2 a>@1 >@0", 12, 0, 0},
    {__LINE__, "{\"a\":[,{}]}\n", "<@1 !LCA__Unexpected", 7, 2, 1},
    {__LINE__, "{\"a\":[{}{}]}", "<@1 <a@2 a>@1 !LCA__Unexpected__1", 9, 2, 1},
    {__LINE__, "{\"a\":[{},{}],\"b\":[{}]}\n", "<@1 <a@2 a>@1 <a@2 a>@1 <b@2 b>@1 >@0", 23, 0, 0},
    {__LINE__, "{\"a\":[1]}", "<@1 !LCA__Unexpected_JSON_item", 7, 2, 1},
    {__LINE__, "{\"a\":[\"x\"]}", "<@1 !LCA__Unexpected_string", 9, 2, 1},
    {__LINE__, "{\"a\":[[{}]]}", "<@1 !LCA__Unexpected_JSON_item", 7, 2, 1},
    {__LINE__, "{\"a\":[}", "<@1 !LCA__Unexpected__0", 7, 2, 1},
    {__LINE__, "{\"a\":1]}", "<@1 !LCA__Unexpected__2", 7, 1, 1},
    {__LINE__, "{\"a\":[],]}", "<@1 !LCA__Bad_nesting", 9, 1, 1},
    {__LINE__, "{\"a\":{\"b\":1}}\n", "<@1 <a@2 a>@1 >@0", 14, 0, 0},
    {__LINE__, "{\"x\":1,\"a\":{}}\n", "<@1 <a@2 a>@1 >@0", 15, 0, 0},
    {__LINE__, "{\"a\":{},\"b\":{}}", "<@1 <a@2 a>@1 !LCA__Expected_string", 13, 2, 1},
    {__LINE__, "{\"a\":{},\"b\":1}", "<@1 <a@2 a>@1 !LCA__Bad_nesting", 14, 2, 1},
    {__LINE__, "{\"a\":{},}", "<@1 <a@2 a>@1 !LCA__Bad_nesting", 9, 2, 1},
    {__LINE__, "{\"a\":{},{}}\n", "<@1 <a@2 a>@1 <a@2 a>@1 >@0", 12, 0, 0},
    {__LINE__, "{\"a\":[{\"b\":{}}]}", "<@1 <a@2 !LCA__Expected_string", 12, 2, 2},
    {__LINE__, "{\"a\":{\"b\":{}}}", "<@1 <a@2 !LCA__Expected_string", 11, 2, 2},
    // A second brace behind an item of the root's array closes the root, and the array with it.
    {__LINE__, "{\"a\":[{}}\n", "<@1 <a@2 a>@1 >@0", 10, 0, 0},
    {__LINE__, "{\"a\":[{\"b\":[{}}", "<@1 <a@2 <b@3 b>@2 !LCA__Unexpected__0", 15, 3, 2},
    {__LINE__, "{\"a\":[{\"b\":[{\"c\":1}]}],\"d\":2}\n", "<@1 <a@2 <b@3 b>@2 a>@1 >@0", 30, 0, 0},
    {__LINE__, "{\"a\":[ ", "<@1 !LCA__Bad_nesting", 7, 2, 1},
    {__LINE__, "{\"a\":[{} ", "<@1 <a@2 a>@1 !LCA__Bad_nesting", 9, 2, 1},
    {__LINE__, "{\"a\":[{}", "<@1 <a@2 a>@1", 8, 2, 1},
    {__LINE__, "{\"a\\\"b\":[{}]}\n", "<@1 <a\\\"b@2 a\\\"b>@1 >@0", 14, 0, 0},
    {__LINE__, "\xEF\xBB\xBF{} ", "!LCA__Unexpected__1", 4, 1, 0},
    {__LINE__, "{\"a\":[{}],\"b\":t\xC3}", "<@1 <a@2 a>@1 !LCA__Bad_character", 16, 1, 1},
    {__LINE__, "{\"a\":\"x", "<@1 !LCA__Closing_quote_is_missed", 7, 1, 1},
};

TEST(MLDocJsonStep, Table) {
    for (const StepRow& row : stepRows) {
        SCOPED_TRACE("row at line " + std::to_string(row.line) + ": " + row.text);
        GuardedDocument guarded{std::string(row.text)};
        MLDoc::Token token;
        EXPECT_EQ(row.steps, stepAll(guarded.doc, token));
        EXPECT_EQ(row.position, guarded.doc.position);
        EXPECT_EQ(row.openNames, guarded.doc.openNames.count);
        EXPECT_EQ(row.level, token.level);
    }
}

TEST(MLDocJsonStep, RootsNameIsNull) {
    GuardedDocument guarded(std::string("{}\n"));
    guarded.doc.guessFormat("json");
    MLDoc::Token token;
    token.name = "before";
    ASSERT_TRUE(guarded.doc.step(token));
    EXPECT_EQ(nullptr, token.name.begin);
    EXPECT_EQ(nullptr, token.name.end);
}

// ---- attributes ----

const support::WalkRow walkRows[] = {
    {__LINE__, "{} ", ""},
    {__LINE__, "{\"a\": 1, \"b\": \"x\", \"list\": [ {\"c\": 2}, {} ], \"d\": 3}\n", "(a=1,b=x){ list(c=2) list }"},
    {__LINE__, "{\"a\":true,\"b\":\"true\"}", "(a=true,b=true)"},
    {__LINE__, "{\"a\":\"x\\\"y\\\\\"}", "(a=x\\\"y\\\\)"},
    {__LINE__, "{\"a\":{\"b\":1}}\n", "{ a(b=1) }"},
    {__LINE__, "{\"a\":[{\"b\":1,\"c\":[{\"d\":2}]},{\"b\":3}]} ", "{ a(b=1){ c(d=2) } a(b=3) }"},
    // What skipping refuses, reading lets pass.
    {__LINE__, "{,}", ""},
    {__LINE__, "{\"a\":1 \"b\":2}", "(a=1,b=2)"},
    {__LINE__, "{\"a\" 1}", "!LCA__Expected__0"},
    {__LINE__, "{\"a\":}", "!LCA__Expected_string"},
    {__LINE__, "{\"a\":", "!LCA__Expected_string"},
    {__LINE__, "{[ ", "!LCA__Bad_nesting"},
    {__LINE__, "{] ", "!LCA__Bad_nesting"},
    {__LINE__, "{{ ", "!LCA__Bad_nesting"},
    {__LINE__, "{: ", "!LCA__Unexpected_JSON_item"},
    {__LINE__, "{a ", "!LCA__Unexpected_JSON_item"},
    {__LINE__, "{,,", "!LCA__Unexpected_JSON_item"},
    {__LINE__, "{\"a\":1", "!LCA__Unexpected_JSON_item"},
    {__LINE__, "{\"a\":[{\"b\":{}}]}", "{ a !LCA__Expected_string"},
    {__LINE__, "{\"a\":[{", "{ a !LCA__Unexpected_JSON_item"},
    {__LINE__, "{\"a\":[", "{ !LCA__Closing_tag_not_found"},
    {__LINE__, "{\"a\":[ ", "{ !LCA__Bad_nesting"},
};

TEST(MLDocJsonWalk, Table) {
    for (const support::WalkRow& row : walkRows) {
        SCOPED_TRACE("row at line " + std::to_string(row.line) + ": " + row.text);
        EXPECT_EQ(row.walk, support::dumpWalk(std::string(row.text)));
    }
}

class MLDocJsonAttributes : public testing::Test {
protected:
    MLDoc doc;
    MLDoc::Token token;

    void load(const std::string& text) {
        doc.load("json", text.data(), static_cast<int>(text.size()));
        MLDoc::ChildIterator root(&doc, token);
        ASSERT_TRUE(root());
    }
};

TEST_F(MLDocJsonAttributes, PassesRepeatWithoutArrays) {
    load("{\"a\":1,\"b\":2}");
    for (int pass = 0; pass < 3; ++pass) {
        EXPECT_EQ("2", doc.getAttributeValue(token, "b").std());
        EXPECT_EQ(nullptr, doc.getAttributeValue(token, "none").begin);
        EXPECT_EQ(12U, doc.position);  // the brace is put back
    }
    EXPECT_TRUE(doc.step(token));
    EXPECT_EQ(0, token.level);
}

TEST_F(MLDocJsonAttributes, SecondPassOverAnArrayIsRefused) {
    load("{\"a\":1,\"list\":[{}]}");
    EXPECT_EQ(nullptr, doc.getAttributeValue(token, "none").begin);
    EXPECT_EQ(15U, doc.position);  // behind the bracket
    EXPECT_EQ(2, doc.openNames.count);
    EXPECT_THROW_KEY(doc.getAttributeValue(token, "none"), LCA__Bad_nesting);
}

TEST_F(MLDocJsonAttributes, SecondPassOverARootMemberIsRefused) {
    load("{\"a\":{}}");
    EXPECT_EQ(nullptr, doc.getAttributeValue(token, "none").begin);
    EXPECT_EQ(5U, doc.position);  // before the brace
    EXPECT_THROW_KEY(doc.getAttributeValue(token, "none"), LCA__Expected_string);
}

TEST_F(MLDocJsonAttributes, BehindAnArrayAreInvisible) {
    load("{\"list\":[{}],\"d\":3}");
    EXPECT_EQ(nullptr, doc.getAttributeValue(token, "d").begin);
}

TEST_F(MLDocJsonAttributes, AttributesEndWhereSteppingGoesOn) {
    load("{\"a\":1,\"list\":[{\"c\":2}]}\n");
    MLDoc::Attribute attribute;
    {
        MLDoc::AttributeIterator next(&doc, token);
        EXPECT_TRUE(next(attribute));
        EXPECT_FALSE(next(attribute));
    }
    EXPECT_EQ(15U, doc.position);  // the iterator leaves it where reading stopped
    ASSERT_TRUE(doc.step(token));
    EXPECT_EQ("list", token.name.std());
    EXPECT_EQ(2, token.level);
    EXPECT_EQ(doc.position, doc.passAttributes(token));
}

TEST_F(MLDocJsonAttributes, ContentIsForXml) {
    load("{} ");
    EXPECT_THROW_KEY(doc.content(token), LCA__Cannot_read_plain_content_for);
}

TEST_F(MLDocJsonAttributes, CutInsideAnArrayIsUnclosedAtItsStart) {
    const std::string text = "{\"a\":[{\"b\":1}";
    doc.load("json", text.data(), static_cast<int>(text.size()));
    MLDoc::ChildIterator root(&doc, token);
    ASSERT_TRUE(root());
    MLDoc::ChildIterator items(&doc, token);
    ASSERT_TRUE(items());
    EXPECT_THROW_KEY(items(), LCA__Closing_tag_not_found);
    EXPECT_EQ(1U, doc.position);
}

}  // namespace
