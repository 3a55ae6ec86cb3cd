#include <gtest/gtest.h>

#include <velmora/localization/keys.h>
#include <velmora/markup/mldoc.h>

#include <string>

#include "tests/support/guard_page.h"
#include "tests/support/message.h"
#include "tests/support/walk_dump.h"

namespace {

using support::GuardedDocument;

// ---- lines ----

// A line as "level[-]name=kind(value)", the dash for an item; "!KEY" for a failure.
std::string dumpLine(MLDoc& doc) {
    try {
        if (!doc.get_yaml_line()) return "end";
        std::string out = std::to_string(doc.yamlLevel) + (doc.yamlItem ? "-" : "") + doc.yamlName.std() + "=";
        if (doc.yamlValueKind) out += doc.yamlValueKind;
        return out + "(" + doc.yamlValue.std() + ")";
    } catch (const TTT& message) {
        return "!" + support::dumpMessage(message);
    }
}

struct LineRow {
    int line;
    std::string text;   // a whole buffer without the "---" line
    int unit;           // of indent, before
    const char* dump;   // of the first line
    unsigned position;  // afterwards
};

const LineRow lineRows[] = {
    {__LINE__, "", 0, "end", 0},
    {__LINE__, "   ", 0, "end", 3},
    {__LINE__, "\n \r\n\t\n", 0, "end", 6},
    {__LINE__, "a: 1\n", 0, "0a=s(1)", 5},
    {__LINE__, "a: 1\r\nb: 2", 0, "0a=s(1)", 6},
    {__LINE__, "a: 1", 0, "0a=s(1)", 4},
    {__LINE__, "a: 1\r", 0, "0a=s(1)", 5},
    {__LINE__, "\n\n  \na: 1\n", 0, "0a=s(1)", 10},
    {__LINE__, "a : 1\n", 0, "0a=s(1)", 6},
    {__LINE__, "a\t:\t1\n", 0, "0a=s(1)", 6},
    {__LINE__, "#x: 1\n", 0, "0#x=s(1)", 6},
    {__LINE__, "a:\n", 0, "0a=()", 3},
    {__LINE__, "a:\r\n", 0, "0a=()", 4},
    {__LINE__, "a: \n", 0, "0a=()", 4},
    {__LINE__, "a: ", 0, "0a=()", 3},
    // The first indent fixes the unit.
    {__LINE__, "   a: 1\n", 0, "1a=s(1)", 8},
    {__LINE__, "    a: 1\n", 2, "2a=s(1)", 9},
    {__LINE__, "\ta: 1\n", 2, "2a=s(1)", 6},
    {__LINE__, " \t a: 1\n", 3, "2a=s(1)", 8},
    {__LINE__, "    a: 1\n", 3, "!LCA__Invalid_indent", 5},
    {__LINE__, "- a: 1\n", 0, "1-a=s(1)", 7},
    {__LINE__, "  - a: 1\n", 2, "2-a=s(1)", 9},
    {__LINE__, " - a: 1\n", 2, "!LCA__Invalid_indent", 3},
    {__LINE__, "- ", 0, "!LCA__Expected_attribute_name", 2},
    {__LINE__, "-\ta: 1\n", 0, "!LCA__Spaces_and_in_names_are_not", 3},
    {__LINE__, "-a: 1\n", 0, "0-a=s(1)", 6},
    {__LINE__, "-", 0, "!LCA__Expected__0", 1},
    {__LINE__, "---\n", 0, "!LCA__Expected__0", 4},
    {__LINE__, "-  a: 1\n", 0, "!LCA__Empty_name", 3},
    {__LINE__, ": 1\n", 0, "!LCA__Empty_name", 1},
    {__LINE__, "- \n", 0, "!LCA__Expected__0", 3},
    {__LINE__, "\"a\": 1\n", 0, "!LCA__Quoted_names_are_not_supported", 1},
    {__LINE__, "- 'a': 1\n", 0, "!LCA__Quoted_names_are_not_supported", 3},
    {__LINE__, "abc", 0, "!LCA__Expected__0", 3},
    {__LINE__, "abc\n", 0, "!LCA__Expected__0", 4},
    {__LINE__, "abc\r\n", 0, "!LCA__Expected__0", 4},
    {__LINE__, "abc  ", 0, "!LCA__Expected__0", 5},
    {__LINE__, "a b: 1\n", 0, "!LCA__Spaces_and_in_names_are_not", 3},
    {__LINE__, "# x\n", 0, "!LCA__Spaces_and_in_names_are_not", 3},
    {__LINE__, "a \n", 0, "!LCA__Spaces_and_in_names_are_not", 3},
    {__LINE__, "a:", 0, "!LCA__Expected_space_or_new_line", 2},
    {__LINE__, "a:b: 1\n", 0, "!LCA__Character_in_names_is_not", 3},
    {__LINE__, "a:1\n", 0, "!LCA__Character_in_names_is_not", 3},
    // Double quotes.
    {__LINE__, "a: \"b\"  \n", 0, "0a=q(b)", 9},
    {__LINE__, "a: \"\"\n", 0, "0a=q()", 6},
    {__LINE__, "a: \"b\\\"c\"\n", 0, "0a=q(b\\\"c)", 10},
    {__LINE__, "a: \"one\ntwo\"\n", 0, "0a=q(one\ntwo)", 13},
    {__LINE__, "a: \"b\" c\n", 0, "!LCA__Expected_end_of_line", 8},
    {__LINE__, "a: \"bc", 0, "!LCA__Closing_quote_is_missed", 6},
    {__LINE__, "a: \"b\\", 0, "!LCA__Unsupported_escape_sequence", 6},
    {__LINE__, "a: \"b\\\"", 0, "!LCA__Closing_quote_is_missed", 7},
    // Single quotes: the second byte behind one decides.
    {__LINE__, "a: 'b'\n", 0, "0a=a(b)", 7},
    {__LINE__, "a: ''\n", 0, "0a=a()", 6},
    {__LINE__, "a: 'a'x'\n", 0, "0a=a(a'x)", 9},
    {__LINE__, "a: 'a'x'y'\n", 0, "0a=a(a'x'y)", 11},
    {__LINE__, "a: 'it''s'\n", 0, "!LCA__Expected_end_of_line", 8},
    {__LINE__, "a: 'b'\r\n'", 0, "0a=a(b)", 8},
    {__LINE__, "a: 'b''", 0, "!LCA__Expected_end_of_line", 7},
    {__LINE__, "a: 'one\ntwo'", 0, "0a=a(one\ntwo)", 12},
    {__LINE__, "a: 'b", 0, "!LCA__Closing_quote_is_missed", 5},
    // Plain values.
    {__LINE__, "a: b  \n", 0, "0a=s(b  )", 7},
    {__LINE__, "a: -5\n", 0, "0a=s(-5)", 6},
    {__LINE__, "a: - b\n", 0, "0a=s(- b)", 7},
    {__LINE__, "a: _x#y\n", 0, "0a=s(_x#y)", 8},
    {__LINE__, "a: Zz\n", 0, "0a=s(Zz)", 6},
    {__LINE__, "a: \xC3\xA9\n", 0, "0a=s(\xC3\xA9)", 6},
    {__LINE__, "a: b:c\n", 0, "0a=s(b:c)", 7},
    {__LINE__, "a: b:", 0, "0a=s(b:)", 5},
    {__LINE__, "a: b: c\n", 0, "!LCA__Expected_end_of_line", 5},
    {__LINE__, "a: b:\n", 0, "!LCA__Expected_end_of_line", 5},
    {__LINE__, "a: .5\n", 0, "!LCA__Expected_end_of_line", 4},
    {__LINE__, "a: [1]\n", 0, "!LCA__Expected_end_of_line", 4},
    {__LINE__, "a: {a: 1}\n", 0, "!LCA__Expected_end_of_line", 4},
    {__LINE__, "a: ~\n", 0, "!LCA__Expected_end_of_line", 4},
    {__LINE__, "a: #x\n", 0, "!LCA__Expected_end_of_line", 4},
    {__LINE__, "a: |\n", 0, "!LCA__Expected_end_of_line", 4},
    {__LINE__, "a: 1\rb", 0, "!LCA__Expected_end_of_line", 6},
};

TEST(MLDocYamlLine, Table) {
    for (const LineRow& row : lineRows) {
        SCOPED_TRACE("row at line " + std::to_string(row.line) + ": " + row.text);
        GuardedDocument guarded(row.text);
        guarded.doc.yamlIndentUnit = row.unit;
        EXPECT_EQ(row.dump, dumpLine(guarded.doc));
        EXPECT_EQ(row.position, guarded.doc.position);
    }
}

TEST(MLDocYamlLine, FieldsAfterALine) {
    GuardedDocument guarded(std::string("\n  a: 1\nb: 2\n"));
    MLDoc& doc = guarded.doc;
    doc.yamlIndentUnit = 0;
    ASSERT_TRUE(doc.get_yaml_line());
    EXPECT_EQ(2, doc.yamlIndentUnit);
    EXPECT_EQ(doc.buffer + doc.position, doc.yamlRest.begin);
    EXPECT_EQ(doc.buffer + doc.length, doc.yamlRest.end);
    EXPECT_EQ(doc.buffer + 3, doc.yamlName.begin);
}

// ---- walks ----

struct StepRow {
    int line;
    const char* text;
    const char* steps;  // as support::dumpSteps
};

const StepRow stepRows[] = {
    {__LINE__, "---", "<@1 >@0"},
    {__LINE__, "---\n", "<@1 >@0"},
    {__LINE__, "---\r\n\n  \n", "<@1 >@0"},
    {__LINE__, "---\na: 1\nb: 2\n", "<@1 >@0"},
    {__LINE__, "---\nitems:\n- id: 1\n  size: 2\n- id: 3\nother:\n- id: 4\n",
     "<@1 <items@2 items>@1 <items@2 items>@1 <other@2 other>@1 >@0"},
    {__LINE__, "---\nitems:\n\n- id: 1\n \n- id: 3\n", "<@1 <items@2 items>@1 <items@2 items>@1 >@0"},
    {__LINE__, "---\na:\n- x: 1\n  b:\n  - y: 1\n    c:\n    - z: 1\nd:\n- w: 1\n",
     "<@1 <a@2 <b@3 <c@4 c>@3 b>@2 a>@1 <d@2 d>@1 >@0"},
    {__LINE__, "---\na:\n- x: 1\n  b:\n  - y: 1\n- x: 2\n", "<@1 <a@2 <b@3 b>@2 a>@1 <a@2 a>@1 >@0"},
    {__LINE__, "---\na:\n", "<@1 !LCA__Expected_first_item_of_array"},
    {__LINE__, "---\na: ", "<@1 !LCA__Expected_first_item_of_array"},
    {__LINE__, "---\na:\nb: 1\n", "<@1 !LCA__Expected_first_item_of_array"},
    {__LINE__, "---\na:\n  b: 1\n", "<@1 !LCA__Expected_first_item_of_array"},
    {__LINE__, "---\n- a: 1\n", "<@1 !LCA__Bad_nesting"},
    {__LINE__, "---\n  a: 1\n", "<@1 !LCA__Bad_nesting"},
    {__LINE__, "---\na:\n- b: 1\nx: 1\n", "<@1 <a@2 !LCA__Normal_attributes_does_not"},
    {__LINE__, "---\na:\n- b:\n  - c: 1\n", "<@1 <a@2 !LCA__Bad_nesting"},
    {__LINE__, "---\na:\n- b: 1\n    - c: 1\n", "<@1 <a@2 !LCA__Bad_nesting"},
    {__LINE__, "---\na:\n- b: 1\n  c:\n  - d: 1\n- e: 1\n    f: 1\n", "<@1 <a@2 <c@3 c>@2 a>@1 <a@2 !LCA__Bad_nesting"},
    {__LINE__, "---\na b\n", "<@1 !LCA__Spaces_and_in_names_are_not"},
    {__LINE__, "---\nlist:\n- x\n", "<@1 !LCA__Expected__0"},
};

TEST(MLDocYamlStep, Table) {
    for (const StepRow& row : stepRows) {
        SCOPED_TRACE("row at line " + std::to_string(row.line) + ": " + row.text);
        EXPECT_EQ(row.steps, support::dumpSteps(row.text));
    }
}

const support::WalkRow walkRows[] = {
    {__LINE__, "---\ntitle: demo\nitems:\n- id: 1\n  size: 2\n- id: 3\nother:\n- id: 4\n",
     "(title=demo){ items(id=1,size=2) items(id=3) other(id=4) }"},
    {__LINE__, "--- a: 1\n", "{ !LCA__Bad_nesting"},
    {__LINE__, "---a: 1\n", "(a=1)"},
    {__LINE__, "\xEF\xBB\xBF---\na: 1\n", "(a=1)"},
    {__LINE__, "---\na:\n- b:\n  c: 1\n", "{ a(b=,c=1) }"},
    {__LINE__, "---\na:\n- x: 1\n  b:\n  - y: 1\n- x: 2\n", "{ a(x=1){ b(y=1) } a(x=2) }"},
};

TEST(MLDocYamlWalk, Table) {
    for (const support::WalkRow& row : walkRows) support::expectWalk(row);
}

class MLDocYaml : public testing::Test {
protected:
    MLDoc doc;
    MLDoc::Token token;
    MLDoc::Attribute attribute;

    void load(const std::string& text) { doc.load("yaml", text.data(), static_cast<int>(text.size())); }
};

TEST_F(MLDocYaml, StatesOfAWalk) {
    load("---\na: 1\nlist:\n- b: 2\n  c: 3\n- d: 4\n");
    EXPECT_EQ(0, doc.yamlState);
    EXPECT_FALSE(doc.attribute(token, attribute));
    ASSERT_TRUE(doc.step(token));
    EXPECT_EQ(3, doc.yamlState);
    EXPECT_EQ(1, doc.openNames.count);
    EXPECT_EQ(nullptr, doc.openNames[0].begin);
    EXPECT_TRUE(doc.attribute(token, attribute));
    EXPECT_EQ("a", attribute.name.std());
    EXPECT_FALSE(doc.attribute(token, attribute));
    EXPECT_EQ(1, doc.yamlState);
    EXPECT_FALSE(doc.attribute(token, attribute));
    ASSERT_TRUE(doc.step(token));
    EXPECT_EQ(2, doc.yamlState);
    EXPECT_EQ("list", token.name.std());
    EXPECT_EQ(doc.yamlRest.begin, token.body.begin);
    EXPECT_TRUE(doc.attribute(token, attribute));
    EXPECT_EQ("2", attribute.value.std());
    EXPECT_EQ(3, doc.yamlState);
    ASSERT_TRUE(doc.step(token));  // c is skipped, d closes
    EXPECT_TRUE(token.closing);
    EXPECT_EQ(1, doc.yamlState);
    EXPECT_EQ(2, doc.openNames.count);
    EXPECT_EQ(token.body.begin, token.body.end);
    EXPECT_EQ(doc.buffer + doc.position, token.body.end);
    ASSERT_TRUE(doc.step(token));
    EXPECT_TRUE(token.opening);
    EXPECT_EQ(2, doc.yamlState);
    ASSERT_TRUE(doc.step(token));
    EXPECT_EQ(6, doc.yamlState);
    EXPECT_FALSE(doc.attribute(token, attribute));
    EXPECT_EQ(1, doc.openNames.count);
    ASSERT_TRUE(doc.step(token));
    EXPECT_EQ(0, token.level);
    EXPECT_FALSE(doc.step(token));
    EXPECT_EQ(7, doc.yamlState);
    EXPECT_EQ(nullptr, doc.openNames.data);
    EXPECT_FALSE(doc.step(token));
    EXPECT_FALSE(doc.attribute(token, attribute));
}

TEST_F(MLDocYaml, OneLineClosesSeveralLevelsStepByStep) {
    load("---\na:\n- x: 1\n  b:\n  - y: 1\nz:\n- w: 1\n");
    for (int i = 0; i < 3; ++i) ASSERT_TRUE(doc.step(token));
    EXPECT_EQ(3, token.level);
    ASSERT_TRUE(doc.step(token));
    EXPECT_EQ(4, doc.yamlState);
    EXPECT_EQ(2, token.level);
    EXPECT_EQ("b", token.name.std());
    EXPECT_EQ("z", doc.yamlName.std());
    EXPECT_FALSE(doc.attribute(token, attribute));
    ASSERT_TRUE(doc.step(token));
    EXPECT_EQ(4, doc.yamlState);
    EXPECT_EQ(1, token.level);
    ASSERT_TRUE(doc.step(token));
    EXPECT_EQ("z", token.name.std());
    EXPECT_TRUE(token.opening);
}

TEST_F(MLDocYaml, SecondPassSeesAllButTheFirstAttribute) {
    load("---\na:\n- x: 1\n  y: 2\n  z: 3\n");
    ASSERT_TRUE(doc.step(token));
    ASSERT_TRUE(doc.step(token));
    EXPECT_EQ("2", doc.getAttributeValue(token, "y").std());
    EXPECT_EQ(nullptr, doc.getAttributeValue(token, "x").begin);
}

// What is known of a value that does not end: its kind and its begin.
TEST_F(MLDocYaml, ValueThatDoesNotEndHasItsKind) {
    for (const char quote : {'"', '\''}) {
        const std::string text = std::string("---\na:\n- x: 1\n  y: ") + quote + "z\n";
        load(text.c_str());
        ASSERT_TRUE(doc.step(token));
        ASSERT_TRUE(doc.step(token));
        ASSERT_TRUE(doc.attribute(token, attribute));
        EXPECT_THROW_KEY(doc.attribute(token, attribute), LCA__Closing_quote_is_missed);
        EXPECT_EQ(quote == '"' ? 'q' : 'a', doc.yamlValueKind);
        EXPECT_EQ(doc.buffer + text.find('z'), doc.yamlValue.begin);
    }
}

TEST_F(MLDocYaml, FirstLineWithoutAValueIsEmptyWhereItWouldStand) {
    load("---\na:\n- key:\n");
    ASSERT_TRUE(doc.step(token));
    ASSERT_TRUE(doc.step(token));
    ASSERT_TRUE(doc.attribute(token, attribute));
    EXPECT_TRUE(attribute.value.empty());
    EXPECT_EQ(attribute.name.end + 1, attribute.value.begin);
}

}  // namespace
