// XLIFF in and out.
#include "tools/xliff.h"

#include <gtest/gtest.h>

#include <velmora/serial/ttt.h>

#include "tests/support/message.h"

namespace {

using tool::Xliff;
using tool::XliffUnit;

Xliff read(const std::string& text) {
    MLDoc doc;
    doc.load("test.xlf", text.data(), static_cast<int>(text.size()));
    return tool::readXliff(doc);
}

std::string write(const Xliff& xliff) {
    std::string out;
    tool::XliffWriter writer([&out](const std::string& piece) { out += piece; });
    writer.begin(xliff);
    for (const XliffUnit& unit : xliff.units) writer.unit(unit.id, unit.source, unit.target);
    writer.end();
    return out;
}

// The message with the place where the reader left the document.
std::string failureOf(const std::string& text) {
    MLDoc doc;
    doc.load("", text.data(), static_cast<int>(text.size()));
    try {
        tool::readXliff(doc);
    } catch (TTT& message) {
        doc.formMessage(message);
        return support::dumpMessage(message);
    }
    return "(nothing)";
}

std::string inFile(const std::string& units) { return "<xliff><file>\n" + units + "</file></xliff>\n"; }

TEST(XliffRead, TakesFileAttributesAndUnitsInOrder) {
    const Xliff xliff = read(
        "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<!-- c -->\n"
        "<xliff version=\"1.2\"><file original=\"a&amp;b\" source-language=\"en\" target-language=\"de\"\n"
        " product-version=\"0x12345678\"><header/><body>\n"
        "<trans-unit id=\"&lt;1&gt;\"><source>one &amp; two</source><target> eins\n</target></trans-unit>\n"
        "<trans-unit id=\"2\"><source/><note>n</note></trans-unit>\n"
        "<trans-unit id=\"3\"><source>three</source><target/></trans-unit>\n"
        "</body></file></xliff>");
    EXPECT_EQ("a&b", xliff.original);
    EXPECT_EQ("en", xliff.sourceLanguage);
    EXPECT_EQ("de", xliff.targetLanguage);
    EXPECT_EQ("0x12345678", xliff.productVersion);
    EXPECT_EQ((std::vector<std::string>{"<1>", "2", "3"}), xliff.ids());
    ASSERT_EQ(3U, xliff.units.size());
    EXPECT_EQ("one & two", xliff.units[0].source);
    EXPECT_EQ(" eins\n", xliff.units[0].target);
    EXPECT_EQ(" eins\n", xliff.units[0].text());
    EXPECT_EQ(5, xliff.units[0].line);
    EXPECT_TRUE(xliff.units[1].hasSource);
    EXPECT_FALSE(xliff.units[1].hasTarget);
    EXPECT_EQ("", xliff.units[1].text());
    EXPECT_EQ(7, xliff.units[1].line);
    EXPECT_TRUE(xliff.units[2].hasTarget);
    EXPECT_EQ("", xliff.units[2].text());
    EXPECT_EQ("three", xliff.units[2].source);
}

TEST(XliffRead, SourceStandsInForATarget) {
    const Xliff xliff = read(inFile("<trans-unit id=\"A\"><source>a</source></trans-unit>"));
    EXPECT_EQ("a", xliff.units.at(0).text());
    EXPECT_EQ("", xliff.original);
    EXPECT_EQ("", xliff.productVersion);
}

TEST(XliffRead, MissingPartsAreLeftToTheCaller) {
    const Xliff xliff = read(inFile("<trans-unit><target>t</target></trans-unit><trans-unit id=\"\"/>"));
    ASSERT_EQ(2U, xliff.units.size());
    EXPECT_EQ("", xliff.units[0].id);
    EXPECT_FALSE(xliff.units[0].hasSource);
    EXPECT_TRUE(xliff.units[0].hasTarget);
    EXPECT_FALSE(xliff.units[1].hasSource);
    EXPECT_FALSE(xliff.units[1].hasTarget);
}

TEST(XliffRead, OnlyPartsOfTheUnitItselfCount) {
    const Xliff xliff =
        read(inFile("<group><trans-unit id=\"A\"><alt-trans><source>x</source><target>y</target></alt-trans>"
                    "<source>a</source></trans-unit></group><bin-unit id=\"B\"><source>b</source></bin-unit>"));
    ASSERT_EQ(1U, xliff.units.size());
    EXPECT_EQ("a", xliff.units[0].source);
    EXPECT_FALSE(xliff.units[0].hasTarget);
}

struct FailureRow {
    int line;
    std::string text;
    const char* message;
};

TEST(XliffRead, Failures) {
    const FailureRow rows[] = {
        {__LINE__, "<other/>\n", "raw(\"This is no XLIFF document\") LCA__Line_d_Column_d(1,9)"},
        {__LINE__, "<!-- c -->", "raw(\"This is no XLIFF document\") LCA__Line_d_Column_d(1,1)"},
        {__LINE__, "<xliff/>", "raw(\"There is no <file> element\") LCA__Line_d_Column_d(1,1)"},
        {__LINE__, "<xliff><file></file>\n<file></file></xliff>",
         "raw(\"There is more than one <file> element\") LCA__Line_d_Column_d(2,7)"},
        {__LINE__, "<xliff>\n<file> \n", "LCA__Closing_tag_not_found LCA__Line_d_Column_d(2,7)"},
        {__LINE__, inFile("<trans-unit id='A'/>"), "LCA__Initial_quote_expected_after LCA__Line_d_Column_d(2,17)"},
        {__LINE__, inFile("<trans-unit id=\"&\"/>"), "LCA__Unsupported_escape_sequence LCA__Line_d_Column_d(2,18)"},
        {__LINE__, inFile("<trans-unit><source>a &amp; b&c</source></trans-unit>"),
         "LCA__Unsupported_escape_sequence LCA__Line_d_Column_d(2,31)"},
        {__LINE__, inFile("<trans-unit><source>a <x/></source></trans-unit>"),
         "LCA__Pair_token_not_found LCA__Line_d_Column_d(2,27)"},
    };
    for (const FailureRow& row : rows) {
        SCOPED_TRACE("row at line " + std::to_string(row.line));
        EXPECT_EQ(row.message, failureOf(row.text));
    }
}

TEST(XliffRead, EveryPrefixFailsButTheWhole) {
    const std::string text = inFile("<trans-unit id=\"A\"><source>a</source><target>b</target></trans-unit>");
    EXPECT_EQ("(nothing)", failureOf(text));
    for (std::size_t size = 3; size < text.size() - 2; ++size) {
        EXPECT_NE("(nothing)", failureOf(text.substr(0, size))) << size;
    }
}

TEST(XliffRead, GroupsMayNestWithoutEnd) {
    const int depth = 100000;
    std::string text;
    for (int i = 0; i < depth; ++i) text += "<group>";
    text += "<trans-unit id=\"A\"><source>a</source></trans-unit>";
    for (int i = 0; i < depth; ++i) text += "</group>";
    EXPECT_EQ(1U, read(inFile(text)).units.size());
}

TEST(XliffWrite, ReadsBackAsItWas) {
    Xliff xliff;
    xliff.original = "a\"b<c>&d";
    xliff.sourceLanguage = "en";
    xliff.targetLanguage = "de";
    xliff.productVersion = "0x00000001";
    for (const char* text : {"", " blanks ", "\n<&>\"'\t\r\n", "\xC3\xA4", "%d &amp; %s", "]]>", "-->", "\x01\x7F"}) {
        XliffUnit unit;
        unit.id = std::to_string(xliff.units.size()) + "<&\">";
        unit.source = std::string("s") + text;
        unit.target = text;
        xliff.units.push_back(unit);
    }
    const Xliff back = read(write(xliff));
    EXPECT_EQ(xliff.original, back.original);
    EXPECT_EQ(xliff.sourceLanguage, back.sourceLanguage);
    EXPECT_EQ(xliff.targetLanguage, back.targetLanguage);
    EXPECT_EQ(xliff.productVersion, back.productVersion);
    EXPECT_EQ(xliff.ids(), back.ids());
    ASSERT_EQ(xliff.units.size(), back.units.size());
    for (std::size_t i = 0; i < back.units.size(); ++i) {
        EXPECT_EQ(xliff.units[i].source, back.units[i].source);
        EXPECT_EQ(xliff.units[i].target, back.units[i].target);
        EXPECT_TRUE(back.units[i].hasSource && back.units[i].hasTarget);
    }
}

TEST(XliffWrite, LeavesOutEmptyAttributes) {
    Xliff xliff;
    xliff.original = "m";
    EXPECT_EQ(
        "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
        "<xliff version=\"1.2\" xmlns=\"urn:oasis:names:tc:xliff:document:1.2\">\n"
        "  <file original=\"m\" datatype=\"plaintext\" xml:space=\"preserve\">\n    <body>\n    </body>\n  </file>\n"
        "</xliff>\n",
        write(xliff));
}

}  // namespace
