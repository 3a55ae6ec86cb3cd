#include <gtest/gtest.h>

#include <velmora/localization/keys.h>
#include <velmora/markup/mldoc.h>
#include <velmora/markup/mldocout.h>
#include <velmora/serial/tags.h>
#include <velmora/serial/ttt.h>
#include <velmora/text/charr.h>

#include <functional>
#include <string>

#include "tests/support/golden.h"
#include "tests/support/message.h"
#include "tests/support/temp_folder.h"
#include "tests/support/walk_dump.h"

namespace {

std::string bytesOf(const MLDocOut::BagWriter& sink) {
    return sink.data ? std::string(sink.data, static_cast<std::size_t>(sink.size)) : std::string();
}

// A whole document with LF line ends.
std::string written(MLDocBase::Format format, const std::function<void(MLDocOut&)>& calls, bool compact = false,
                    const char* eoln = "\n") {
    MLDocOut::BagWriter sink;
    MLDocOut out(format);
    out.setEOLN(eoln);
    out.setCompactMode(compact);
    out.begin(sink);
    calls(out);
    out.end();
    return bytesOf(sink);
}

const MLDocBase::Format allForms[] = {MLDocBase::XML, MLDocBase::JSON, MLDocBase::YAML, MLDocBase::HTML,
                                      MLDocBase::CSV};

// ---- the object ----

TEST(MLDocOutFields, Defaults) {
    MLDocOut xml;
    EXPECT_EQ(MLDocBase::XML, xml.getFormat());
    EXPECT_EQ(0, xml.tabSize);
    EXPECT_EQ(0, xml.depth);
    EXPECT_EQ(0, xml.indent);
    EXPECT_EQ(0, xml.state);
    EXPECT_STREQ("\r\n", xml.eoln);
    EXPECT_EQ(nullptr, xml.writer);
    EXPECT_TRUE(xml.isRoot());
    EXPECT_EQ(2, MLDocOut(MLDocBase::JSON).tabSize);
    xml.setTabSize(4);
    xml.setFormat(MLDocBase::YAML);
    EXPECT_EQ(2, xml.tabSize);
    xml.setTabSize(4);
    xml.setFormat(MLDocBase::XML);
    EXPECT_EQ(0, xml.tabSize);
}

TEST(MLDocOutFields, CompactModeNests) {
    MLDocOut out;
    int outer = out.pushCompactMode();
    EXPECT_EQ(0, outer);
    int inner = out.pushCompactMode();
    EXPECT_EQ(1, inner);
    out.popCompactMode(inner);
    EXPECT_EQ(MLDocOut::CompactMode, out.state);
    out.popCompactMode(outer);
    EXPECT_EQ(0, out.state);
}

TEST(MLDocOutDocument, EmptyInEveryForm) {
    const std::string expected[] = {"<?xml version= \"1.0\" encoding=\"utf-8\"?>\r\n", "{\r\n}\r\n", "---\r\n", "", ""};
    for (int i = 0; i < 5; ++i)
        EXPECT_EQ(expected[i], written(
                                   allForms[i], [](MLDocOut&) {}, false, "\r\n"));
}

TEST(MLDocOutDocument, EndWithAnOpenItemIsRefused) {
    for (MLDocBase::Format format : allForms) {
        MLDocOut::BagWriter sink;
        MLDocOut out(format);
        out.begin(sink);
        out.beginItem("a");
        int size = sink.size;
        EXPECT_THROW_KEY(out.end(), LCA__Not_enough_closing_tags);
        EXPECT_EQ(size, sink.size);
    }
}

TEST(MLDocOutDocument, BadIndentComesBehindTheClosingBrace) {
    MLDocOut::BagWriter sink;
    MLDocOut out(MLDocBase::JSON);
    out.begin(sink);
    out.indent = 2;
    EXPECT_THROW_KEY(out.end(), LCA__Bad_indent);
    EXPECT_EQ("{\r\n}\r\n", bytesOf(sink));
}

// ---- the example in all forms ----

void example(MLDocOut& out) {
    out.beginItem("item");
    out.writeStrAttr("a", "1");
    out.writeStrAttr("b", "2");
    out.beginItem("c");
    out.endItem("c");
    out.endItem("item");
}

// Rows end as they do whatever line end is set, and a child behind an attribute starts a line in compact JSON, too.
TEST(MLDocOutExample, EveryFormAndCompact) {
    const char* const suffixes[] = {".xml", ".json", ".yaml", ".html", ".csv"};
    for (std::size_t i = 0; i < 5; ++i) {
        support::expectGolden(std::string("mldocout/item") + suffixes[i], written(allForms[i], example, false, "\r\n"));
        support::expectGolden(std::string("mldocout/item.compact") + suffixes[i],
                              written(allForms[i], example, true, "\r\n"));
    }
    EXPECT_EQ(written(MLDocBase::CSV, example, false, "\r\n"), written(MLDocBase::CSV, example));
    EXPECT_EQ(written(MLDocBase::HTML, example, false, "\r\n"), written(MLDocBase::HTML, example));
}

void siblings(MLDocOut& out) {
    out.beginItem("item");
    out.writeIntAttr("n", 1);
    for (int x : {1, 2}) {
        out.beginItem("c");
        out.writeIntAttr("x", x);
        out.endItem("c");
    }
    out.beginItem("d");
    out.writeBoolAttr("y", true);
    out.endItem("d");
    out.endItem("item");
}

TEST(MLDocOutSiblings, ShareAnArray) {
    support::expectGolden("mldocout/siblings.json", written(MLDocBase::JSON, siblings, false, "\r\n"));
    support::expectGolden("mldocout/siblings.yaml", written(MLDocBase::YAML, siblings, false, "\r\n"));
}

TEST(MLDocOutYaml, QuotesByWhatTheTextHolds) {
    support::expectGolden("mldocout/quoting.yaml", written(MLDocBase::YAML, [](MLDocOut& out) {
                              out.beginItem("texts");
                              out.writeStrAttr("empty", "");
                              out.writeStrAttr("plain", "abc");
                              out.writeStrAttr("minus", "a-b");
                              out.writeStrAttr("colon", "12:30");
                              out.writeStrAttr("quote", "a\"b");
                              out.writeStrAttr("apostrophe", "a'b");
                              out.writeStrAttr("backslash", "a\\b");
                              out.writeStrAttr("control", "a\tb\r\nc");
                              out.writeStrAttr("last_blank", "abc ");
                              out.writeStrAttr("first_point", ".x");
                              out.writeStrAttr("first_blank", " x");
                              out.writeStrAttr("first_hash", "#x");
                              out.writeStrAttr("inner_hash", "a #b");
                              out.writeStrAttr("digit", "7x");
                              out.writeStrAttr("underscore", "_x");
                              out.writeStrAttr("accent", "\xC3\xA9");
                              out.endItem("texts");
                          }));
}

TEST(MLDocOutSiblings, ReadBackTheSameFromThreeForms) {
    const char* const items = "item(n=1){ c(x=1) c(x=2) d(y=true) }";
    for (bool compact : {false, true}) {
        EXPECT_EQ(items, support::dumpWalk(written(MLDocBase::XML, siblings, compact)));
        EXPECT_EQ("{ " + std::string(items) + " }", support::dumpWalk(written(MLDocBase::JSON, siblings, compact)));
        EXPECT_EQ("{ " + std::string(items) + " }", support::dumpWalk(written(MLDocBase::YAML, siblings, compact)));
    }
}

TEST(MLDocOutItems, ContentStandsOnOneLine) {
    EXPECT_EQ("<?xml version= \"1.0\" encoding=\"utf-8\"?>\n<a\n\tx=\"1\">\n\t<b>t&lt;u</b>\n</a>\n",
              written(MLDocBase::XML, [](MLDocOut& out) {
                  out.beginItem("a");
                  out.writeIntAttr("x", 1);
                  out.beginItem("b");
                  out.beginItemContent();
                  out.writeEscaped("t<u");
                  out.endItem("b");
                  out.endItem("a");
              }));
}

TEST(MLDocOutItems, Refusals) {
    for (MLDocBase::Format format : allForms) {
        MLDocOut::BagWriter sink;
        MLDocOut out(format);
        out.begin(sink);
        for (const char* name : {static_cast<const char*>(nullptr), ""}) {
            EXPECT_THROW_KEY(out.beginItem(name), LCA__Empty_token_name);
            EXPECT_THROW_KEY(out.endItem(name), LCA__Empty_token_name);
        }
        EXPECT_EQ(0, out.depth);
        EXPECT_THROW_KEY(out.writeIntAttr("a", 1), LCA__Could_not_write_attribute);
        out.beginItem("a");
        if (format != MLDocBase::XML) {
            EXPECT_THROW_KEY(out.beginItemContent(), LCA__Cannot_write_content_for_non);
        } else {
            out.beginItemContent();
            EXPECT_THROW_KEY(out.beginItem("b"), LCA__Attempt_start_nested_token);
            EXPECT_THROW_KEY(out.writeIntAttr("a", 1), LCA__Could_not_write_attribute);
            EXPECT_EQ(1, out.depth);
            out.endItem("a");
            continue;
        }
        out.beginItem("b");
        out.endItem("another name is not noticed");
        EXPECT_THROW_KEY(out.writeIntAttr("a", 1), LCA__Could_not_write_attribute);
        out.endItem("a");
    }
}

// ---- attributes ----

struct AttributeRow {
    int line;
    std::function<void(MLDocOut&)> write;
    const char* forms[5];  // what stands behind the name in XML, JSON, YAML; in HTML and CSV the whole entry
};

PairTag tags[] = {{"x", 1}, {"y", 2}, {}};

const AttributeRow attributeRows[] = {
    {__LINE__,
     [](MLDocOut& o) { o.writeStrAttr("a", "v\"<"); },
     {"\"v&quot;&lt;\"", "\"v\\\"<\"", "\"v\\\"<\"", "<td>v&quot;&lt;</td>", "\"v\\\"<\""}},
    {__LINE__, [](MLDocOut& o) { o.writeStrAttr("a", ""); }, {"\"\"", "\"\"", "''", "<td></td>", "\"\""}},
    {__LINE__, [](MLDocOut& o) { o.writeStrAttr("a", "", true); }, {nullptr, nullptr, nullptr, "<td></td>", "\"\""}},
    {__LINE__, [](MLDocOut& o) { o.writeSimpleAttr("a", ""); }, {"\"\"", "\"\"", "''", "<td></td>", ""}},
    {__LINE__, [](MLDocOut& o) { o.writeSimpleAttr("a", "<"); }, {"\"<\"", "\"<\"", "<", "<td><</td>", "<"}},
    {__LINE__, [](MLDocOut& o) { o.writeSimplestAttr("a", "v"); }, {"\"v\"", "v", "v", "<td>v</td>", "v"}},
    {__LINE__, [](MLDocOut& o) { o.writeEmptyAttr("a"); }, {"\"\"", "\"\"", "''", "<td></td>", ""}},
    {__LINE__, [](MLDocOut& o) { o.writeIntAttr("a", -5); }, {"\"-5\"", "-5", "-5", "<td>-5</td>", "-5"}},
    {__LINE__, [](MLDocOut& o) { o.writeIntAttr("a", 0, true); }, {nullptr, nullptr, nullptr, "<td>0</td>", "0"}},
    {__LINE__,
     [](MLDocOut& o) { o.writeUIntAttr("a", 4294967295U); },
     {"\"4294967295\"", "4294967295", "4294967295", "<td>4294967295</td>", "4294967295"}},
    {__LINE__,
     [](MLDocOut& o) { o.writeInt64Attr("a", INT64_MIN); },
     {"\"-9223372036854775808\"", "-9223372036854775808", "-9223372036854775808", "<td>-9223372036854775808</td>",
      "-9223372036854775808"}},
    {__LINE__,
     [](MLDocOut& o) { o.writeUInt64Attr("a", UINT64_MAX); },
     {"\"18446744073709551615\"", "18446744073709551615", "18446744073709551615", "<td>18446744073709551615</td>",
      "18446744073709551615"}},
    {__LINE__,
     [](MLDocOut& o) { o.writeDoubleAttr("a", 1.5); },
     {"\"1.500000\"", "1.500000", "1.500000", "<td>1.500000</td>", "1.500000"}},
    {__LINE__, [](MLDocOut& o) { o.writeBoolAttr("a", true); }, {"\"true\"", "true", "true", "<td>true</td>", "true"}},
    {__LINE__,
     [](MLDocOut& o) { o.writeBoolAttr("a", false); },
     {"\"false\"", "false", "false", "<td>false</td>", "false"}},
    {__LINE__,
     [](MLDocOut& o) { o.writeHexAttr("a", 255); },
     {"\"0xFF\"", "\"0xFF\"", "0xFF", "<td>0xFF</td>", "0xFF"}},
    {__LINE__,
     [](MLDocOut& o) { o.writeIPAttr("a", 0x7F000001); },
     {"\"127.0.0.1\"", "\"127.0.0.1\"", "127.0.0.1", "<td>127.0.0.1</td>", "127.0.0.1"}},
    {__LINE__,
     [](MLDocOut& o) { o.writeIPPortAttr("a", 0x01020304, 80); },
     {"\"1.2.3.4:80\"", "\"1.2.3.4:80\"", "1.2.3.4:80", "<td>1.2.3.4:80</td>", "1.2.3.4:80"}},
    {__LINE__,
     [](MLDocOut& o) { o.writeIPPortAttr("a", 0, 80, true); },
     {nullptr, nullptr, nullptr, "<td>0.0.0.0:80</td>", "0.0.0.0:80"}},
    {__LINE__,
     [](MLDocOut& o) { o.writeDateAttr("a", std::int64_t{1}); },
     {"\"1970-01-01T00:00:01\"", "\"1970-01-01T00:00:01\"", "\"1970-01-01T00:00:01\"", "<td>1970-01-01T00:00:01</td>",
      "\"1970-01-01T00:00:01\""}},
    {__LINE__,
     [](MLDocOut& o) { o.writeDateAttr("a", std::int64_t{0}, true); },
     {nullptr, nullptr, nullptr, "<td></td>", "\"\""}},
    {__LINE__,
     [](MLDocOut& o) { o.writeDateAttr("a", std::int64_t{-1}, true); },
     {"\"\"", "\"\"", "''", "<td></td>", "\"\""}},
    {__LINE__, [](MLDocOut& o) { o.writeEnumAttr("a", 2, tags); }, {"\"y\"", "\"y\"", "y", "<td>y</td>", "y"}},
    {__LINE__, [](MLDocOut& o) { o.writeEnumAttr("a", 7, tags); }, {nullptr, nullptr, nullptr, nullptr, nullptr}},
    {__LINE__,
     [](MLDocOut& o) { o.writeFlagsAttr("a", 3, tags); },
     {"\"x y\"", "\"x y\"", "x y", "<td>x y</td>", "\"x y\""}},
    {__LINE__, [](MLDocOut& o) { o.writeFlagsAttr("a", 0, tags); }, {"\"\"", "\"\"", "''", "<td></td>", "\"\""}},
    {__LINE__, [](MLDocOut& o) { o.writeStrAttr("a", TTT()); }, {nullptr, nullptr, nullptr, nullptr, nullptr}},
    {__LINE__,
     [](MLDocOut& o) { o.writeStrAttr("a", TTT("raw")); },
     {"\"raw\"", "\"raw\"", "raw", "<td>raw</td>", "\"raw\""}},
    {__LINE__,
     [](MLDocOut& o) { o.writeFormatAttr("a", "%d%%", 5); },
     {"\"5%\"", "\"5%\"", "5%", "<td>5%</td>", "\"5%\""}},
    // YAML decides by the text.
    {__LINE__,
     [](MLDocOut& o) { o.writeStrAttr("a", "a-b"); },
     {"\"a-b\"", "\"a-b\"", "\"a-b\"", "<td>a-b</td>", "\"a-b\""}},
    {__LINE__,
     [](MLDocOut& o) { o.writeStrAttr("a", "12:30"); },
     {"\"12:30\"", "\"12:30\"", "\"12:30\"", "<td>12:30</td>", "\"12:30\""}},
    {__LINE__,
     [](MLDocOut& o) { o.writeStrAttr("a", "abc "); },
     {"\"abc \"", "\"abc \"", "'abc '", "<td>abc </td>", "\"abc \""}},
    {__LINE__, [](MLDocOut& o) { o.writeStrAttr("a", ".x"); }, {"\".x\"", "\".x\"", "'.x'", "<td>.x</td>", "\".x\""}},
    {__LINE__,
     [](MLDocOut& o) { o.writeStrAttr("a", "\xC3\xA9"); },
     {"\"\xC3\xA9\"", "\"\xC3\xA9\"", "\xC3\xA9", "<td>\xC3\xA9</td>", "\"\xC3\xA9\""}},
    {__LINE__,
     [](MLDocOut& o) { o.writeStrAttr("a", "long enough\nfor two\ttexts'"); },
     {"\"long enough\nfor two\ttexts&apos;\"", "\"long enough\\nfor two\\ttexts'\"",
      "\"long enough\\nfor two\\ttexts'\"", "<td>long enough\nfor two\ttexts&apos;</td>",
      "\"long enough\\nfor two\\ttexts'\""}},
};

TEST(MLDocOutAttributes, EveryWriterInEveryForm) {
    for (const AttributeRow& row : attributeRows) {
        for (int i = 0; i < 5; ++i) {
            SCOPED_TRACE("row at line " + std::to_string(row.line) + ", form " + std::to_string(i));
            MLDocOut::BagWriter sink;
            MLDocOut out(allForms[i]);
            out.setEOLN("\n");
            out.begin(sink);
            out.beginItem("item");
            int before = sink.size;
            row.write(out);
            std::string entry(sink.data + before, static_cast<std::size_t>(sink.size - before));
            const char* const names[] = {"\n\ta=", "\n    \"a\": ", "- a: ", "", ""};
            const char* const ends[] = {"", "", "\n", "", ""};
            EXPECT_EQ(row.forms[i] ? names[i] + std::string(row.forms[i]) + ends[i] : "", entry);
        }
    }
}

// ---- escaping ----

TEST(MLDocOutEscape, Functions) {
    ChArr text;
    MLDocOut::escapeStringXMLHTML("<a>&'\"", text);
    EXPECT_STREQ("&lt;a&gt;&amp;&apos;&quot;", text.data);
    MLDocOut::escapeStringXMLHTML(ChPair(text.data + 9, 5), text);  // a part of itself
    EXPECT_STREQ("&amp;amp;", text.data);
    MLDocOut::escapeStringXMLHTML("", text);
    EXPECT_EQ(nullptr, text.data);
    MLDocOut::escapeStringJSONYAML("\b\t\n\f\r\"\\\x01/", text);
    EXPECT_STREQ("\\b\\t\\n\\f\\r\\\"\\\\\x01/", text.data);
    Bag bag;
    bag.putStringNZ("x");
    MLDocOut::escapeStringJSONYAML("a\n", bag);
    EXPECT_EQ("xa\\n", ChPair(bag).std());
}

TEST(MLDocOutEscape, ClientsOwnFunction) {
    MLDocOut out(MLDocBase::CSV);
    out.escape = [](char c, int& n) -> const char* { return c == ';' ? (n = 3, "[;]") : nullptr; };
    MLDocOut::BagWriter sink;
    out.begin(sink);
    out.writeEscaped("a;\"b;;");
    EXPECT_EQ("a[;]\"b[;][;]", bytesOf(sink));
}

// ---- limits and sinks ----

TEST(MLDocOutLimits, NamesAndFormattedTextsAreCut) {
    std::string longText(5000, 'n');
    EXPECT_EQ("<?xml version= \"1.0\" encoding=\"utf-8\"?>\n<a\n\t" + std::string(4096, 'n') + "\"v\"\n/>\n",
              written(MLDocBase::XML, [&](MLDocOut& out) {
                  out.beginItem("a");
                  out.writeSimpleAttr(longText.c_str(), "v");
                  out.endItem("a");
              }));
    EXPECT_EQ(std::string(4096, 'n'),
              written(MLDocBase::CSV, [&](MLDocOut& out) { out.writef("%s", longText.c_str()); }));
}

TEST(MLDocOutLimits, FillKeepsTheCharacterOfItsFirstUse) {
    MLDocOut::BagWriter sink;
    MLDocOut out;
    out.begin(sink);
    sink.truncate();
    out.indent = 2;
    out.writeIndent();
    out.setTabSize(2);
    out.writeIndent();
    EXPECT_EQ("\t\t\t\t  ", bytesOf(sink));
    out.indent = -1;
    out.writeIndent();
    EXPECT_EQ(6, sink.size);
}

TEST(MLDocOutFile, WritesAndCloses) {
    support::TempFolder folder;
    MLDocOut::FileWriter sink(folder.file("out.json").c_str());
    MLDocOut out(MLDocBase::JSON);
    out.setEOLN("\n");
    out.begin(sink);
    example(out);
    out.end();
    EXPECT_FALSE(sink.isOpened());
    EXPECT_TRUE(sink.throwing);
    EXPECT_EQ(written(MLDocBase::JSON, example), folder.read("out.json"));
    EXPECT_THROW_KEY(MLDocOut::FileWriter(folder.file("no/such").c_str()), LCA__Cannot_open_file);
}

#ifdef __linux__
TEST(MLDocOutFile, FullDiskIsToldAndTheFileClosed) {
    MLDocOut::FileWriter sink("/dev/full");
    MLDocOut out;
    out.begin(sink);
    EXPECT_THROW_KEY(out.end(), LCA__Could_not_flush_file);
    EXPECT_FALSE(sink.isOpened());
    EXPECT_TRUE(sink.throwing);
}
#endif

TEST(MLDocOutDocument, SecondJsonDocumentSeesTheOldName) {
    MLDocOut::BagWriter sink;
    MLDocOut out(MLDocBase::JSON);
    out.setEOLN("\n");
    for (int i = 0; i < 2; ++i) {
        out.begin(sink);
        out.beginItem("a");
        out.endItem("a");
        out.end();
    }
    EXPECT_STREQ("a", out.lastName.data);
    EXPECT_EQ("{\n  \"a\": {\n  }\n}\n{\n  \"a\": {\n  }\n}\n", bytesOf(sink));
    sink.truncate();
    out.begin(sink);
    out.end();
    EXPECT_EQ("{\n\n}\n", bytesOf(sink));  // the name that was left
}

}  // namespace
