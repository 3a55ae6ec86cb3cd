// velmora convert.
#include <filesystem>
#include <fstream>
#include <iterator>

#include "tests/support/golden.h"
#include "tests/tools/tool_fixture.h"

namespace {

class ToolConvert : public ToolTest {
protected:
    // Converts a document from a file, whose name ends in .doc, and expects it to succeed.
    std::string convert(const std::string& document, std::vector<std::string> words) const {
        words.insert(words.begin(), {"convert", folder.write("document.doc", document)});
        const ToolResult result = run(words);
        EXPECT_EQ(0, result.status);
        EXPECT_EQ("", result.err);
        return result.out;
    }
};

std::string read(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), {});
}

const char* const xml = "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n";
const char* const xmlOut = "<?xml version= \"1.0\" encoding=\"utf-8\"?>\n";

const std::string catalog = std::string(xml) +
                            "<catalog version=\"2\">\n"
                            "  <!-- not carried over -->\n"
                            "  <book id=\"1\" title=\"A &amp; B\">first &lt;one&gt;</book>\n"
                            "  <book id=\"2\"/>\n"
                            "</catalog>\n";

struct FormRow {
    int line;
    std::vector<std::string> words;
    std::string out;
};

TEST_F(ToolConvert, OneDocumentInEveryForm) {
    const FormRow rows[] = {
        {__LINE__,
         {"--to", "xml"},
         std::string(xmlOut) + "<catalog\n\tversion=\"2\">\n\t<book\n\t\tid=\"1\"\n"
                               "\t\ttitle=\"A &amp; B\">first &lt;one&gt;</book>\n"
                               "\t<book\n\t\tid=\"2\"\n\t/>\n</catalog>\n"},
        {__LINE__,
         {"--to=xml", "--compact", "--tab", "3", "--eol", "crlf"},
         "<?xml version= \"1.0\" encoding=\"utf-8\"?>\r\n<catalog version=\"2\">\r\n"
         "   <book id=\"1\" title=\"A &amp; B\">first &lt;one&gt;</book>\r\n   <book id=\"2\"/>\r\n</catalog>\r\n"},
        {__LINE__,
         {"--to", "json"},
         "{\n  \"catalog\": {\n    \"version\": \"2\",\n    \"book\": [\n      {\n        \"id\": \"1\",\n"
         "        \"title\": \"A & B\",\n        \"text\": \"first <one>\"\n      },\n      {\n"
         "        \"id\": \"2\"\n      }\n    ]\n  }\n}\n"},
        {__LINE__,
         {"--to", "json", "--tab", "0"},
         "{\n\t\"catalog\": {\n\t\t\"version\": \"2\",\n\t\t\"book\": [\n\t\t\t{\n\t\t\t\t\"id\": \"1\",\n"
         "\t\t\t\t\"title\": \"A & B\",\n\t\t\t\t\"text\": \"first <one>\"\n\t\t\t},\n\t\t\t{\n"
         "\t\t\t\t\"id\": \"2\"\n\t\t\t}\n\t\t]\n\t}\n}\n"},
        {__LINE__,
         {"--to", "yaml"},
         "---\ncatalog:\n- version: 2\n  book:\n  - id: 1\n    title: A & B\n    text: first <one>\n  - id: 2\n"},
        {__LINE__,
         {"--to", "yaml", "--tab", "4"},
         "---\ncatalog:\n  - version: 2\n    book:\n      - id: 1\n        title: A & B\n        text: first <one>\n"
         "      - id: 2\n"},
        {__LINE__,
         {"--to", "html", "--rows", "book"},
         "<tr><td>1</td><td>A &amp; B</td><td>first &lt;one&gt;</td></tr>\r\n"
         "<tr><td>2</td><td></td><td></td></tr>\r\n"},
        {__LINE__,
         {"--to", "csv", "--rows", "book", "--header"},
         "\"id\",\"title\",\"text\"\r\n\"1\",\"A & B\",\"first <one>\"\r\n\"2\",,\r\n"},
    };
    for (const FormRow& row : rows) {
        SCOPED_TRACE("row at line " + std::to_string(row.line));
        EXPECT_EQ(row.out, convert(catalog, row.words));
    }
}

// What each form gives is what each form reads.
TEST_F(ToolConvert, TreesComeBack) {
    const std::string first = convert(catalog, {"--to", "json"});
    const std::string second = convert(first, {"--to", "yaml"});
    const std::string third = convert(second, {"--to", "xml", "--compact"});
    EXPECT_EQ(std::string(xmlOut) +
                  "<catalog version=\"2\">\n"
                  "\t<book id=\"1\" title=\"A &amp; B\" text=\"first &lt;one&gt;\"/>\n"
                  "\t<book id=\"2\"/>\n</catalog>\n",
              third);
    EXPECT_EQ(first, convert(third, {"--to", "json"}));
}

// The same small records in three forms, written by hand in the first.
TEST_F(ToolConvert, CatalogFromEachFormToEachForm) {
    const std::string data = VELMORA_EXAMPLES_DIR;
    for (const char* from : {"/catalog.xml", "/catalog.json", "/catalog.yaml"}) {
        for (const char* to : {"xml", "json", "yaml"}) {
            SCOPED_TRACE(std::string(from) + " to " + to);
            const ToolResult result = run({"convert", data + from, "--to", to});
            EXPECT_EQ("", result.err);
            support::expectGolden(std::string("convert/catalog.") + to, result.out);
        }
        for (const char* to : {"html", "csv"}) {
            SCOPED_TRACE(std::string(from) + " to " + to);
            const ToolResult result = run({"convert", data + from, "--to", to, "--rows", "book", "--header"});
            EXPECT_EQ("", result.err);
            support::expectGolden(std::string("convert/books.") + to, result.out);
        }
    }
}

struct ConvertRow {
    int line;
    std::string document;
    std::vector<std::string> words;
    std::string out;
};

TEST_F(ToolConvert, KeepsWhatTheDocumentHolds) {
    const ConvertRow rows[] = {
        // The root without a name is an item when it has values, or when the form needs one root.
        {__LINE__, "{\"a\":{\"b\":\"1\"}}", {"--to", "xml", "--compact"}, std::string(xmlOut) + "<a b=\"1\"/>\n"},
        {__LINE__,
         "{\"x\":\"1\",\"a\":[{\"b\":\"1\"}]}",
         {"--to", "xml", "--compact"},
         std::string(xmlOut) + "<document x=\"1\">\n\t<a b=\"1\"/>\n</document>\n"},
        {__LINE__, "{\"x\":\"1\"}", {"--to", "yaml", "--root", "settings"}, "---\nsettings:\n- x: 1\n"},
        {__LINE__,
         "{\"a\":[{\"b\":\"1\"},{\"b\":\"2\"}]}",
         {"--to", "json", "--compact", "--root", "all"},
         "{ \"all\": { \"a\": [\n      { \"b\": \"1\" },\n      { \"b\": \"2\" }\n    ]\n  }\n}\n"},
        {__LINE__, "{\"a\":[{\"b\":\"1\"},{\"b\":\"2\"}]}", {"--to", "yaml"}, "---\na:\n- b: 1\na:\n- b: 2\n"},
        {__LINE__,
         "<a b=\"1\"/><c/>",
         {"--to", "xml", "--compact"},
         std::string(xmlOut) + "<document>\n\t<a b=\"1\"/>\n\t<c/>\n</document>\n"},
        {__LINE__, "{ }", {"--to", "xml", "--compact"}, std::string(xmlOut) + "<document/>\n"},
        {__LINE__, "{ }", {"--to", "json"}, "{\n}\n"},
        {__LINE__, "{ }", {"--to", "yaml"}, "---\n"},
        {__LINE__, "{ }", {"--to", "csv", "--header"}, ""},
        // Words of JSON stay words in JSON, and are text elsewhere.
        {__LINE__,
         "{\"a\":{\"b\":-1.5e3,\"c\":null,\"d\":\"1\"}}",
         {"--to", "json", "--compact"},
         "{ \"a\": { \"b\": -1.5e3, \"c\": null, \"d\": \"1\" }\n}\n"},
        {__LINE__, "{\"a\":{\"b\":-1.5e3,\"c\":null}}", {"--to", "yaml"}, "---\na:\n- b: \"-1.5e3\"\n  c: null\n"},
        {__LINE__, "---\na:\n- b: 1\n", {"--to", "json", "--compact"}, "{ \"a\": { \"b\": \"1\" }\n}\n"},
        // Values are decoded and escaped anew.
        {__LINE__,
         "{\"a\":{\"b\":\"\\\"x\\\\y\\\"<'>\"}}",
         {"--to", "xml", "--compact"},
         std::string(xmlOut) + "<a b=\"&quot;x\\y&quot;&lt;&apos;&gt;\"/>\n"},
        {__LINE__,
         "<a b=\"&quot;x\\y&quot;&lt;&apos;&gt;\"/>",
         {"--to", "json", "--compact"},
         "{ \"a\": { \"b\": \"\\\"x\\\\y\\\"<'>\" }\n}\n"},
        {__LINE__, "<a b=\"\"/>", {"--to", "yaml"}, "---\na:\n- b: ''\n"},
        {__LINE__,
         "{\"a b\\\"\":[{\"c d\":\"1\"}]}",
         {"--to", "json", "--compact"},
         "{ \"a b\\\"\": { \"c d\": \"1\" }\n}\n"},
        // Texts: what stands between the tags is kept to the byte, and blanks that lay the document out are not.
        {__LINE__, "<a>\n\tx\n</a>", {"--to", "xml"}, std::string(xmlOut) + "<a>\n\tx\n</a>\n"},
        {__LINE__, "<a>x<!-- c -->y&amp;z</a>", {"--to", "yaml"}, "---\na:\n- text: xy&z\n"},
        {__LINE__, "<a> </a>", {"--to", "xml"}, std::string(xmlOut) + "<a> </a>\n"},
        {__LINE__, "<a>\n </a>", {"--to", "xml", "--compact"}, std::string(xmlOut) + "<a/>\n"},
        {__LINE__, "<a></a>", {"--to", "xml", "--compact"}, std::string(xmlOut) + "<a/>\n"},
        {__LINE__, "<a>line\nend</a>", {"--to", "json", "--compact"}, "{ \"a\": { \"text\": \"line\\nend\" }\n}\n"},
        // An end tag's name is not looked at.
        {__LINE__,
         "<a><b x=\"1\"></c></d>",
         {"--to", "xml", "--compact"},
         std::string(xmlOut) + "<a>\n\t<b x=\"1\"/>\n</a>\n"},
        // The encoding of the output is UTF-8.
        {__LINE__,
         "<?xml encoding=\"windows-1251\"?><a b=\"\xC0&amp;\xFF\">\xE0</a>",
         {"--to", "xml", "--compact"},
         std::string(xmlOut) + "<a b=\"\xD0\x90&amp;\xD1\x8F\">\xD0\xB0</a>\n"},
        // Escapes that are not known.
        {__LINE__,
         "{\"a\":{\"b\":\"x\\ny\\\"\"}}",
         {"--to", "json", "--compact", "--raw-escapes"},
         "{ \"a\": { \"b\": \"x\\ny\\\"\" }\n}\n"},
        {__LINE__,
         "{\"a\":{\"b\":\"x\\n<y\"}}",
         {"--to", "xml", "--compact", "--raw-escapes"},
         std::string(xmlOut) + "<a b=\"x\\n&lt;y\"/>\n"},
        {__LINE__, "{\"a\":{\"b\":\"\\u0041\"}}", {"--to", "yaml", "--raw-escapes"}, "---\na:\n- b: \"\\u0041\"\n"},
        {__LINE__, "{\"a\":{\"b\":\"\\u0041\"}}", {"--to", "csv", "--raw-escapes"}, "\"\\u0041\"\r\n"},
        {__LINE__,
         "---\na:\n- b: x\\ny \"z\"\n",
         {"--to", "json", "--compact", "--raw-escapes"},
         "{ \"a\": { \"b\": \"x\\\\ny \\\"z\\\"\" }\n}\n"},
        {__LINE__,
         "<a b=\"&nbsp;&amp;\">&#65;</a>",
         {"--to", "xml", "--compact", "--raw-escapes"},
         std::string(xmlOut) + "<a b=\"&nbsp;&amp;\">&#65;</a>\n"},
        {__LINE__,
         "<a b=\"&nbsp;&amp;\">&amp;<!-- c -->&#65;</a>",
         {"--to", "csv", "--raw-escapes"},
         "\"&nbsp;&amp;\",\"&amp;&#65;\"\r\n"},
        // Rows have a column for each name, in the order in which the names come up.
        {__LINE__,
         "{\"r\":[{\"a\":\"1\",\"b\":\"2\"},{\"c\":\"3\",\"a\":\"4\"},{}]}",
         {"--to", "csv", "--header"},
         "\"a\",\"b\",\"c\"\r\n\"1\",\"2\",\r\n\"4\",,\"3\"\r\n,,\r\n"},
        {__LINE__,
         "<x><y><r a=\"1\"/></y><y><r a=\"2\"/></y></x>",
         {"--to", "html", "--header"},
         "<tr><td>a</td></tr>\r\n<tr><td>1</td></tr>\r\n<tr><td>2</td></tr>\r\n"},
    };
    for (const ConvertRow& row : rows) {
        SCOPED_TRACE("row at line " + std::to_string(row.line));
        EXPECT_EQ(row.out, convert(row.document, row.words));
    }
}

struct RefusalRow {
    int line;
    std::string document;
    std::vector<std::string> words;
    const char* problem;  // what is told before path and place
    const char* place;    // line and column, one past what is refused, as the library tells places
};

TEST_F(ToolConvert, RefusesWhatTheFormCannotHoldAndSaysWhere) {
    const RefusalRow rows[] = {
        {__LINE__,
         "<a>\n x <b/></a>",
         {"--to", "xml"},
         "a text beside elements has no place in a tree of items",
         "2,3"},
        {__LINE__, "<a><b/>\n x</a>", {"--to", "xml"}, "a text beside elements has no place in a tree of items", "2,3"},
        {__LINE__,
         "<a/> x ",
         {"--to", "xml"},
         "a text outside of every element has no place in a tree of items",
         "1,7"},
        {__LINE__, "<a/></a><b/>", {"--to", "xml"}, "there is no element for this end tag to end", "1,6"},
        {__LINE__, "<a><![CDATA[x]]> --></a>", {"--to", "xml"}, "a CDATA section cannot be read", "1,5"},
        {__LINE__, "<a>\n<b>\n", {"--to", "xml"}, "[LCA__Closing_tag_not_found]", "2,4"},
        {__LINE__, "<a><b x=1/></a>", {"--to", "xml"}, "[LCA__Initial_quote_expected_after]", "1,10"},
        {__LINE__,
         "{\"a\":{\"b\":[{}],\"c\":\"1\"}}",
         {"--to", "xml"},
         "a value behind a list or an object is not read",
         "1,17"},
        {__LINE__, "{\"a\":[{\"b\":\"x\\ny\"}]}", {"--to", "xml"}, "[LCA__Unsupported_escape_sequence]", "1,15"},
        {__LINE__, "<a>1 &nbsp;</a>", {"--to", "json"}, "[LCA__Unsupported_escape_sequence]", "1,7"},
        {__LINE__, "{\"a\":{\"b c\":\"1\"}}", {"--to", "xml"}, "this cannot be a name in XML", "1,9"},
        {__LINE__, "{\"1a\":{}}", {"--to", "xml"}, "this cannot be a name in XML", "1,8"},
        {__LINE__, "{\"\xC3\xA9\":{}}", {"--to", "xml"}, "this cannot be a name in XML", "1,7"},
        {__LINE__, "{\"a\":{\"\":\"1\"}}", {"--to", "json"}, "this cannot be a name in JSON", "1,9"},
        {__LINE__, "---\na\"b:\n- c: 1\n", {"--to", "json"}, "this cannot be a name in JSON", "3,4"},
        {__LINE__, "{\"a\":{\"b c\":\"1\"}}", {"--to", "yaml"}, "this cannot be a name in YAML", "1,9"},
        {__LINE__, "{\"a\":{\"'b\":\"1\"}}", {"--to", "yaml"}, "this cannot be a name in YAML", "1,9"},
        {__LINE__, "<a:b c=\"1\"/>", {"--to", "yaml"}, "this cannot be a name in YAML", "1,3"},
        {__LINE__,
         "{\"a\":{\"b\":\"x\ty\"}}",
         {"--to", "xml"},
         "an attribute of XML cannot hold control characters such as line ends",
         "1,9"},
        {__LINE__,
         "<a text=\"1\">x</a>",
         {"--to", "json"},
         "there is no place for this text: the item has an attribute named text",
         "1,14"},
        {__LINE__,
         "<a><b x=\"1\"/></a>",
         {"--to", "yaml"},
         "an item of YAML cannot begin with an item: it needs an attribute first",
         "1,6"},
        {__LINE__,
         "<a x=\"1\"><b></b></a>",
         {"--to", "yaml"},
         "an item of YAML cannot be empty: it needs an attribute",
         "1,17"},
        {__LINE__, "<a x=\"1\"><b y=\"2\"/></a>", {"--to", "csv"}, "a row cannot hold an item", "1,12"},
        {__LINE__,
         "<a><c y=\"2\"/><b x=\"1\"/></a>",
         {"--to", "html"},
         "this value is in no row; --rows NAME chooses the items that become rows",
         "1,18"},
        {__LINE__, "<a x=\"1\" y=\"2\" x=\"3\"/>", {"--to", "csv"}, "a row cannot hold two values of one name", "1,17"},
    };
    for (const RefusalRow& row : rows) {
        SCOPED_TRACE("row at line " + std::to_string(row.line));
        const std::string path = folder.write("document.doc", row.document);
        std::vector<std::string> words = row.words;
        words.insert(words.begin(), {"convert", path});
        const ToolResult result = run(words);
        EXPECT_EQ(1, result.status);
        EXPECT_EQ("", result.out);
        EXPECT_EQ(row.problem + ("[LCA__Path_s(" + path) + ")][LCA__Line_d_Column_d(" + row.place + ")]\n", result.err);
    }
}

TEST_F(ToolConvert, NamesThatWouldBeCutAreRefused) {
    for (const char* form : {"json", "yaml"}) {
        const std::string longest(4000, 'n');
        EXPECT_NE(std::string::npos, convert("{\"" + longest + "\":{\"a\":\"1\"}}", {"--to", form}).find(longest));
        const std::string path = folder.write("long.json", "{\"" + longest + "n\":{\"a\":\"1\"}}");
        EXPECT_EQ(1, run({"convert", path, "--to", form}).status);
    }
    const std::string longest(510, 'n');
    const std::string document = convert("{\"" + longest + "\":{}}", {"--to", "xml", "--compact"});
    EXPECT_EQ(xmlOut + ('<' + longest) + "/>\n", document);
    EXPECT_EQ(document, convert(document, {"--to", "xml", "--compact"}));
    EXPECT_EQ(1, run({"convert", folder.write("long.json", "{\"" + longest + "n\":{}}"), "--to", "xml"}).status);
}

TEST_F(ToolConvert, RowsThatAreNotThereAreAFailure) {
    const std::string path = folder.write("document.xml", catalog);
    const ToolResult result = run({"convert", path, "--to", "csv", "--rows", "magazine"});
    EXPECT_EQ(1, result.status);
    EXPECT_EQ("", result.out);
    EXPECT_EQ(path + ": no item is named magazine\n", result.err);
}

TEST_F(ToolConvert, WrongUsage) {
    const std::string path = folder.write("document.xml", catalog);
    const std::vector<std::vector<std::string>> rows = {
        {},
        {"--to", "toml"},
        {"--to", "XML"},
        {"--to", "xml", "--tab", ""},
        {"--to", "xml", "--tab", "-1"},
        {"--to", "xml", "--tab", "17"},
        {"--to", "xml", "--tab", "2x"},
        {"--to", "yaml", "--tab", "1"},
        {"--to", "xml", "--eol", "cr"},
        {"--to", "xml", "--root", ""},
        {"--to", "xml", "--rows", "book"},
        {"--to", "json", "--header"},
        {"--to", "json", path},
    };
    for (std::vector<std::string> words : rows) {
        words.insert(words.begin(), {"convert", path});
        const ToolResult result = run(words);
        EXPECT_EQ(2, result.status) << ::testing::PrintToString(words);
        EXPECT_EQ("", result.out);
        EXPECT_NE(std::string::npos, result.err.find("Try 'velmora help convert'.")) << result.err;
    }
}

TEST_F(ToolConvert, OutputIsReplacedWhenTheResultIsWhole) {
    const std::string document = folder.write("document.xml", "<a b=\"1\"/>");
    const std::string out = folder.write("out.json", "old");
    EXPECT_EQ(1, run({"convert", folder.write("bad.xml", "<a><b/>"), "--to", "json", "-o", out}).status);
    EXPECT_EQ("old", read(out));
    const ToolResult result = run({"convert", document, "--to", "json", "--compact", "-o", out});
    EXPECT_EQ(0, result.status);
    EXPECT_EQ("", result.out);
    EXPECT_EQ("{ \"a\": { \"b\": \"1\" }\n}\n", read(out));
    // Also in place of what was read.
    EXPECT_EQ(0, run({"convert", document, "--to", "xml", "--compact", "-o", document}).status);
    EXPECT_EQ(xmlOut + std::string("<a b=\"1\"/>\n"), read(document));
}

#ifndef _WIN32
TEST_F(ToolConvert, OutputThatIsALinkStaysOne) {
    const std::string document = folder.write("document.xml", "<a b=\"1\"/>");
    const std::string target = folder.write("target", "old");
    const std::string link = folder.file("link");
    std::filesystem::create_symlink(target, link);
    EXPECT_EQ(0, run({"convert", document, "--to", "xml", "--compact", "-o", link}).status);
    EXPECT_TRUE(std::filesystem::is_symlink(link));
    EXPECT_EQ(xmlOut + std::string("<a b=\"1\"/>\n"), read(target));
}
#endif

TEST_F(ToolConvert, OutputThatCannotBeWrittenIsAFailure) {
    const std::string document = folder.write("document.xml", "<a b=\"1\"/>");
    const ToolResult result = run({"convert", document, "--to", "json", "-o", folder.file("missing/out.json")});
    EXPECT_EQ(2, result.status);
    EXPECT_EQ(0U, result.err.find("[LCA__Cannot_open_file]")) << result.err;
    EXPECT_EQ(2, run({"convert", document, "--to", "json", "-o", ""}).status);
#ifndef _WIN32
    const std::string full = folder.file("full");
    std::filesystem::create_symlink("/dev/full", full);
    EXPECT_EQ(2, run({"convert", document, "--to", "json", "-o", full}).status);
    EXPECT_TRUE(std::filesystem::is_character_file(full));
    EXPECT_EQ(2, startTool(folder, {"convert", document, "--to", "json"}, "/dev/full").status);
#endif
}

// What no reader of the form would take is escaped where the form has escapes, and refused where it has none.
TEST_F(ToolConvert, ResultIsWellFormed) {
    EXPECT_EQ("{\n  \"a\": {\n    \"text\": \"\\u001B\\n\\\"\\u009B\"\n  }\n}\n",
              convert("<a>\x1B\n&quot;\xC2\x9B</a>", {"--to", "json"}));
    EXPECT_EQ("---\na:\n- text: \"\\u001B\"\n", convert("<a>\x1B</a>", {"--to", "yaml"}));
    EXPECT_EQ("{\n  \"a\": {\n    \"text\": \"\\u0007\\b\\t\\u000B\\f\\u000E\"\n  }\n}\n",
              convert("<a>\x07\b\t\x0B\f\x0E</a>", {"--to", "json"}));
    const struct {
        int line;
        std::string document;
        std::vector<std::string> words;
        const char* problem;
    } rows[] = {
        {__LINE__, "<a b=\"\x9B\"/>", {"--to", "json"}, "this is not valid UTF-8"},
        {__LINE__, "<a b=\"\xED\xA0\x80\"/>", {"--to", "yaml"}, "this is not valid UTF-8"},
        {__LINE__, "<a>\xC0\x80</a>", {"--to", "xml"}, "this is not valid UTF-8"},
        {__LINE__,
         "<a>\x1B</a>",
         {"--to", "xml"},
         "a text of XML cannot hold control characters but tabs and line ends"},
        {__LINE__, "<a>\xEF\xBF\xBF</a>", {"--to", "xml"}, "a text of XML cannot hold control characters"},
        {__LINE__, "<a>\xEF\xBF\xBE</a>", {"--to", "xml"}, "a text of XML cannot hold control characters"},
        {__LINE__, "{\"a\":[{\"b\xFF\":1}]}", {"--to", "json"}, "this cannot be a name in JSON"},
        {__LINE__,
         "{\"a\":[{\"b\":\"\\q\x1B\"}]}",
         {"--to", "json", "--raw-escapes"},
         "a value that is carried over undecoded cannot hold control characters"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE("row at line " + std::to_string(row.line));
        std::vector<std::string> words = {"convert", folder.write("document.doc", row.document)};
        words.insert(words.end(), row.words.begin(), row.words.end());
        const ToolResult result = run(words);
        EXPECT_EQ(1, result.status);
        EXPECT_EQ("", result.out);
        EXPECT_EQ(0u, result.err.find(row.problem)) << result.err;
        EXPECT_NE(std::string::npos, result.err.find("[LCA__Line_d_Column_d(1,")) << result.err;
    }
    EXPECT_EQ("\"\x9B\"\r\n", convert("<a b=\"\x9B\"/>", {"--to", "csv"}));
}

TEST_F(ToolConvert, AnyDepthIsConverted) {
    const int depth = 5000;
    std::string document, result = xmlOut;
    for (int i = 0; i < depth; ++i) document += "<a>";
    for (int i = 0; i < depth; ++i) document += "</a>";
    for (int i = 0; i < depth - 1; ++i) result += std::string(static_cast<std::size_t>(i), '\t') + "<a>\n";
    result += std::string(depth - 1, '\t') + "<a/>\n";
    for (int i = depth - 2; i >= 0; --i) result += std::string(static_cast<std::size_t>(i), '\t') + "</a>\n";
    EXPECT_TRUE(result == convert(document, {"--to", "xml", "--compact"}));  // too long to be shown
}

}  // namespace
