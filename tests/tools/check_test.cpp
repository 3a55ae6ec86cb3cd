// velmora check.
#include <filesystem>
#include <fstream>

#include "tests/tools/tool_fixture.h"

namespace fs = std::filesystem;

namespace {

using ToolCheck = ToolTest;

// What is told of a failure at a place.
std::string failure(const std::string& key, const std::string& path, const std::string& place) {
    return "[" + key + "][LCA__Path_s(" + path + ")][LCA__Line_d_Column_d(" + place + ")]\n";
}

struct CheckRow {
    int line;
    std::string document;
    const char* key;    // empty when the document is good
    const char* place;  // empty when the load itself is refused
};

const CheckRow rows[] = {
    {__LINE__, "<a/>", "", ""},
    {__LINE__, "<a x=\"&amp;&lt;&gt;&quot;&apos;\">&amp; text</a>\n", "", ""},
    {__LINE__, "<?xml encoding=\"utf-8\"?>\n<!-- & -->\n<a><?pi &?></a>", "", ""},
    {__LINE__, "", "LCA__Too_short_file", ""},
    {__LINE__, "<", "LCA__Too_short_file", ""},
    {__LINE__, "\xEF\xBB\xBF<a", "LCA__Too_short_file", ""},
    {__LINE__, std::string("\0\1\2\3\xFF", 5), "LCA__Unknown_text_format", ""},
    {__LINE__, " <a/>", "LCA__Unknown_text_format", ""},
    {__LINE__, std::string("\xFF\xFE<\0a\0/\0>\0", 10), "LCA__UTF_16_BOM_is_not_supported", ""},
    {__LINE__, "<?xml encoding=\"latin1\"?><a/>", "LCA__Specified_encoding_is_not", ""},
    {__LINE__, "<?xml encoding='utf-8'?><a/>", "LCA__Initial_quote_expected_after", ""},
    {__LINE__, "<a\n", "LCA__XML_tag_is_not_finished", "1,1"},
    {__LINE__, "<a>\n<b \n", "LCA__XML_tag_is_not_finished", "1,1"},
    {__LINE__, "<a>\n<\xFF\xFE\x01></a>", "LCA__Bad_character_in_XML_tag", "2,3"},
    {__LINE__, std::string("<a>\0\1\xFF<b\0></a>", 13), "LCA__Bad_character_in_XML_tag", "1,10"},
    {__LINE__, "<a>\n\t<b x=1/></a>", "LCA__Initial_quote_expected_after", "2,11"},
    {__LINE__, "<a>\n<b x==\"1\"/></a>", "LCA__Duplicate_before_attribute_value", "2,7"},
    {__LINE__, "<a><!-- never ended ->\n</a> ", "LCA__XML_comment_is_not_finished", "1,1"},
    {__LINE__, "<a>\n<b>\n</a>\n", "LCA__Closing_tag_not_found", "1,4"},
    {__LINE__, "<a>\n <b>\n", "LCA__Closing_tag_not_found", "2,5"},
    {__LINE__, "<a><b/></a><c>\n<d></d>\n<e>", "LCA__Closing_tag_not_found", "1,1"},
    // Where an escape sequence begins, not where the reading stands by then.
    {__LINE__, "<a>\n<b x=\"12&nbsp;3\" y=\"4\"/></a>", "LCA__Unsupported_escape_sequence", "2,10"},
    {__LINE__, "<a>\n<b x=\"&amp;&amp&lt;\"/></a>", "LCA__Unsupported_escape_sequence", "2,13"},
    {__LINE__, "<a>\n<b x=\"1&\"/></a>", "LCA__Unsupported_escape_sequence", "2,9"},
    {__LINE__, "<a>one\ntwo &#65;</a>", "LCA__Unsupported_escape_sequence", "2,6"},
    {__LINE__, "<a>one<b/>&two<!-- & --></a>", "LCA__Unsupported_escape_sequence", "1,12"},
    // JSON.
    {__LINE__, "{ }", "", ""},
    {__LINE__, "{\"a\":1,\"b\":\"x\\\"\\\\\",\"c\":[{\"d\":true},{}]}\r\n", "", ""},
    {__LINE__, "{\"a\":{\"b\":\"&amp;\"}}", "", ""},
    {__LINE__, "{\"a\":\n1", "LCA__Unexpected_JSON_item", "1,1"},
    {__LINE__, "{\"a\":[{\"b\":1}]", "LCA__Bad_nesting", "1,1"},
    {__LINE__, "{\"a\":[1]}", "LCA__Unexpected_JSON_item", "1,8"},
    {__LINE__, "{\n \"a\" 1}", "LCA__Expected__0", "2,7"},
    {__LINE__, "{\"a\":\n\"x", "LCA__Closing_quote_is_missed", "1,1"},
    {__LINE__, "{\"a\":[{\"b\":\"1\\n2\",\n\"c\":\"x\"}]}", "LCA__Unsupported_escape_sequence", "1,15"},
    {__LINE__, "{\"a\":\n\"\\u0041\"}", "LCA__Unsupported_escape_sequence", "2,3"},
    {__LINE__, "{\"a\":\"\\\\\\n\"}", "LCA__Unsupported_escape_sequence", "1,10"},
    // YAML.
    {__LINE__, "---\n", "", ""},
    {__LINE__, "---\na: 1\nb:\n- c: 'x'\n  d: \"\\\"\"\n", "", ""},
    {__LINE__, "---\na: 1\n  b: 2\nc: 3\n", "LCA__Bad_nesting", "4,1"},
    {__LINE__, "---\n# comment\n", "LCA__Spaces_and_in_names_are_not", "2,4"},
    {__LINE__, "---\na: [1]\n", "LCA__Expected_end_of_line", "2,5"},
    {__LINE__, "---\na: \"x\n", "LCA__Closing_quote_is_missed", "1,1"},
    {__LINE__, "---\na: \"1\\n2\"\nb: 1\n", "LCA__Unsupported_escape_sequence", "2,7"},
    {__LINE__, "---\na: C:\\new\n", "LCA__Unsupported_escape_sequence", "2,7"},
};

TEST_F(ToolCheck, TellsWhatIsWrongWhere) {
    for (const CheckRow& row : rows) {
        SCOPED_TRACE("row at line " + std::to_string(row.line));
        const std::string path = folder.write("document.xml", row.document);
        const ToolResult result = run({"check", path});
        const bool good = !*row.key;
        EXPECT_EQ(good ? 0 : 1, result.status);
        EXPECT_EQ(good ? path + ": ok\n" : "", result.out);
        const std::string refused = "[" + std::string(row.key) + "][LCA__Path_s(" + path + ")]\n";
        EXPECT_EQ(good ? "" : *row.place ? failure(row.key, path, row.place) : refused, result.err);
    }
}

TEST_F(ToolCheck, EveryBadValueOfADocumentIsTold) {
    const std::string path = folder.write("document.xml", "<a x=\"&x;\" y=\"&y;\">&z;<b x=\"&gt;\"/>\n&amp</a>");
    const ToolResult result = run({"check", path});
    EXPECT_EQ(1, result.status);
    EXPECT_EQ("", result.out);
    const std::string key = "LCA__Unsupported_escape_sequence";
    EXPECT_EQ(
        failure(key, path, "1,8") + failure(key, path, "1,16") + failure(key, path, "1,21") + failure(key, path, "2,2"),
        result.err);
}

TEST_F(ToolCheck, ReadingGoesOnBehindABadValue) {
    const std::string path = folder.write("document.xml", "<a x=\"&x;\">\n<b y=2/></a>");
    const ToolResult result = run({"check", path});
    EXPECT_EQ(1, result.status);
    EXPECT_EQ(failure("LCA__Unsupported_escape_sequence", path, "1,8") +
                  failure("LCA__Initial_quote_expected_after", path, "2,7"),
              result.err);
}

TEST_F(ToolCheck, StrayEndTagIsOnlyNoted) {
    const std::string path = folder.write("document.xml", "<a/>\n</a></b>\n<c/>");
    const ToolResult result = run({"check", path});
    EXPECT_EQ(0, result.status);
    EXPECT_EQ(path + ": ok\n", result.out);
    EXPECT_EQ(
        "note: an end tag without a start tag ends every walk[LCA__Path_s(" + path + ")][LCA__Line_d_Column_d(2,5)]\n",
        result.err);
}

TEST_F(ToolCheck, ValuesThatAreNeverReadAreNoted) {
    const std::string path = folder.write("document.json", "{\"a\":[{}],\n\"b\":1, \"c\":\"2\"}");
    const ToolResult result = run({"check", path});
    EXPECT_EQ(0, result.status);
    EXPECT_EQ(path + ": ok\n", result.out);
    EXPECT_EQ("note: a value behind a list or an object is never read[LCA__Path_s(" + path +
                  ")][LCA__Line_d_Column_d(2,2)]\n",
              result.err);
}

TEST_F(ToolCheck, GoesOnAfterABadFileAndEndsInTheWorstStatus) {
    const std::string good = folder.write("good.xml", "<a/>");
    const std::string bad = folder.write("bad.xml", "<a>\n");
    const std::string missing = folder.file("missing.xml");
    const ToolResult malformed = run({"check", bad, good});
    EXPECT_EQ(1, malformed.status);
    EXPECT_EQ(good + ": ok\n", malformed.out);
    EXPECT_EQ(failure("LCA__Closing_tag_not_found", bad, "1,4"), malformed.err);
    const ToolResult all = run({"check", good, missing, bad, good});
    EXPECT_EQ(2, all.status);
    EXPECT_EQ(good + ": ok\n" + good + ": ok\n", all.out);
    EXPECT_EQ(0U, all.err.find("[LCA__Cannot_open_file][LCA__Path_s(" + missing + ")]")) << all.err;
    EXPECT_NE(std::string::npos, all.err.find(malformed.err)) << all.err;
}

TEST_F(ToolCheck, FilesThatCannotBeOpenedAreFailures) {
    fs::create_directory(folder.file("folder"));
    const std::string paths[] = {folder.file("missing.xml"), folder.file("nowhere/a.xml"), folder.file("folder"),
                                 folder.path(), folder.file(std::string(300, 'n'))};
    for (const std::string& path : paths) {
        const ToolResult result = run({"check", path});
        EXPECT_EQ(2, result.status) << path;
        EXPECT_EQ("", result.out);
        EXPECT_EQ(0U, result.err.find("[LCA__Cannot_open_file][LCA__Path_s(" + path + ")][LCA__System_diagnostic_s("))
            << result.err;
    }
}

TEST_F(ToolCheck, FileWithoutPermissionIsAFailure) {
    const std::string path = folder.write("secret.xml", "<a/>");
    fs::permissions(path, fs::perms::none);
    if (std::ifstream(path)) GTEST_SKIP() << "this user may read every file";
    const ToolResult result = run({"check", path});
    EXPECT_EQ(2, result.status);
    EXPECT_EQ(0U, result.err.find("[LCA__Cannot_open_file][LCA__Path_s(" + path + ")]")) << result.err;
}

TEST_F(ToolCheck, FileAboveTheLimitIsRefused) {
    const std::string path = folder.write("large.xml", "<a/>");
    fs::resize_file(path, 100000001);
    const ToolResult result = run({"check", path});
    EXPECT_EQ(1, result.status);
    EXPECT_EQ("[LCA__Too_big_file][LCA__Path_s(" + path + ")]\n", result.err);
}

TEST_F(ToolCheck, NamesAreUtf8) {
    const std::string path = folder.write("\xD0\xBF\xD1\x80\xD0\xBE\xD0\xB1\xD0\xB0.xml", "<a/>");
    const ToolResult good = run({"check", path});
    EXPECT_EQ(0, good.status);
    EXPECT_EQ(path + ": ok\n", good.out);
    EXPECT_EQ("", good.err);
    const std::string missing = folder.file("\xD0\xBD\xD0\xB5\xD1\x82.xml");
    EXPECT_EQ(0U, run({"check", missing}).err.find("[LCA__Cannot_open_file][LCA__Path_s(" + missing + ")]"));
}

TEST_F(ToolCheck, AMillionOpenElementsAreNoBurden) {
    std::string document;
    for (int i = 0; i < 1000000; ++i) document += "<a>";
    const std::string path = folder.write("deep.xml", document + "\n<b/>\n");
    const ToolResult result = run({"check", path});
    EXPECT_EQ(1, result.status);
    EXPECT_EQ(failure("LCA__Closing_tag_not_found", path, "1,3000001"), result.err);
}

TEST_F(ToolCheck, Examples) {
    for (const char* name : {"app.project.xml", "feed.xml", "map.osm", "messages.xlf", "settings.xml"}) {
        const std::string path = std::string(VELMORA_EXAMPLES_DIR "/") + name;
        const ToolResult result = run({"check", path});
        EXPECT_EQ(0, result.status) << name;
        EXPECT_EQ(path + ": ok\n", result.out);
        EXPECT_EQ("", result.err);
    }
    const std::pair<const char*, const char*> broken[] = {
        {"apostrophes.xml", "LCA__Initial_quote_expected_after"},
        {"comment.yaml", "LCA__Spaces_and_in_names_are_not"},
        {"doctype.xml", "LCA__XML_comment_is_not_finished"},
        {"duplicate_equals.xml", "LCA__Duplicate_before_attribute_value"},
        {"empty.xml", "LCA__Too_short_file"},
        {"escapes.json", "LCA__Unsupported_escape_sequence"},
        {"latin1.xml", "LCA__Specified_encoding_is_not"},
        {"leading_newline.xml", "LCA__Unknown_text_format"},
        {"list_of_numbers.json", "LCA__Unexpected_JSON_item"},
        {"numeric_entity.xml", "LCA__Unsupported_escape_sequence"},
        {"truncated.xml", "LCA__XML_tag_is_not_finished"},
        {"unclosed.xml", "LCA__Closing_tag_not_found"},
        {"utf16.xml", "LCA__UTF_16_BOM_is_not_supported"},
    };
    for (const auto& [name, key] : broken) {
        const ToolResult result = run({"check", std::string(VELMORA_EXAMPLES_DIR "/broken/") + name});
        EXPECT_EQ(1, result.status) << name;
        EXPECT_EQ("", result.out);
        EXPECT_EQ(0U, result.err.find("[" + std::string(key) + "]")) << result.err;
    }
}

}  // namespace
