// velmora walk.
#include "tests/tools/tool_fixture.h"

namespace {

using ToolWalk = ToolTest;

struct WalkRow {
    int line;
    const char* document;
    int status;
    const char* out;
    const char* error;  // behind it come path and place; empty when there is none
    const char* place;
};

const WalkRow rows[] = {
    {__LINE__, "<a/>", 0, "a 0\n", "", ""},
    {__LINE__, "<a></a>", 0, "a 1\n", "", ""},
    {__LINE__, "<a/><b/>", 0, "a 0\nb 0\n", "", ""},
    {__LINE__, "<a x=\"1\" y=\"\"><b/><c><d z=\"&amp;\"/></c></a>", 0,
     "a 1 x=\"1\" y=\"\"\n  b 1\n  c 2\n    d 2 z=\"&amp;\"\n", "", ""},
    {__LINE__, "<?xml version=\"1.0\"?><!-- c --><a>text<!-- d --><?pi?></a>", 0, "a 1\n", "", ""},
    {__LINE__, "<a x=\"1\n2\"/>", 0, "a 0 x=\"1 2\"\n", "", ""},
    {__LINE__, "<a x=\"\x7F\\\"/>", 0, "a 0 x=\"\\x7F\\\"\n", "", ""},
    {__LINE__, "<a x=\"\xD0\xAF\"/>", 0, "a 0 x=\"\xD0\xAF\"\n", "", ""},
    // A stray end tag ends a walk, and nothing is wrong.
    {__LINE__, "<a/></a><b/>", 0, "a 0\n", "", ""},
    // What came before a failure is there, the line that it cuts short included.
    {__LINE__, "<a><b/>\n<c", 1, "a 1\n  b 1\n", "[LCA__XML_tag_is_not_finished]", "(1,1)"},
    {__LINE__, "<a><b x=\"1\" y='2'/></a>", 1, "a 1\n  b 1 x=\"1\"\n", "[LCA__Initial_quote_expected_after]", "(1,16)"},
    {__LINE__, "<a>\n<b>\n<c/></b>\n", 1, "a 1\n  b 2\n    c 2\n", "[LCA__Closing_tag_not_found]", "(1,4)"},
    {__LINE__, "{\"a\":1,\"b c\":\"x\\n\",\"\":[{\"d\":\"\"},{}]}", 0,
     "\"\" 1 a=\"1\" b c=\"x\\n\"\n  \"\" 2 d=\"\"\n  \"\" 2\n", "", ""},
    {__LINE__, "{\"a\":{\"b\":1}}", 0, "\"\" 1\n  a 2 b=\"1\"\n", "", ""},
    {__LINE__, "{\"a\":[{\"b\":1},\n2]}", 1, "\"\" 1\n  a 2 b=\"1\"\n", "[LCA__Unexpected_JSON_item]", "(2,2)"},
    {__LINE__, "---\na: 1\nb:\n- c: 'x y'\n  d: 2\n- c: 3\n", 0,
     "\"\" 1 a=\"1\"\n  b 2 c=\"x y\" d=\"2\"\n  b 2 c=\"3\"\n", "", ""},
    {__LINE__, "---\na: 1\nb: :\n", 1, "\"\" 1 a=\"1\"\n", "[LCA__Expected_end_of_line]", "(3,5)"},
    {__LINE__, "<a>\n<b>\n<c></c>\n", 1, "a 1\n  b 2\n    c 3\n", "[LCA__Closing_tag_not_found]", "(2,4)"},
};

TEST_F(ToolWalk, ShowsElementsInOrder) {
    for (const WalkRow& row : rows) {
        SCOPED_TRACE("row at line " + std::to_string(row.line));
        const std::string path = folder.write("document.xml", row.document);
        const ToolResult result = run({"walk", path});
        EXPECT_EQ(row.status, result.status);
        EXPECT_EQ(row.out, result.out);
        const std::string error =
            *row.error ? row.error + ("[LCA__Path_s(" + path) + ")][LCA__Line_d_Column_d" + row.place + "]\n" : "";
        EXPECT_EQ(error, result.err);
    }
}

TEST_F(ToolWalk, FileThatCannotBeReadIsAFailure) {
    const ToolResult result = run({"walk", folder.file("missing.xml")});
    EXPECT_EQ(2, result.status);
    EXPECT_EQ("", result.out);
    EXPECT_EQ(0U, result.err.find("[LCA__Cannot_open_file][LCA__Path_s(" + folder.file("missing.xml") + ")]"))
        << result.err;
}

TEST_F(ToolWalk, AnyDepthIsWalkedAndIndentIsBounded) {
    const int depth = 100000;
    std::string document;
    for (int i = 0; i < depth; ++i) document += "<a>";
    const std::string path = folder.write("deep.xml", document);
    const ToolResult result = run({"walk", path});
    EXPECT_EQ(1, result.status);
    EXPECT_EQ("[LCA__Closing_tag_not_found][LCA__Path_s(" + path + ")][LCA__Line_d_Column_d(1,1)]\n", result.err);
    const std::string indent(40, ' ');
    EXPECT_EQ("a 1\n  a 2\n    a 3\n", result.out.substr(0, 18));
    EXPECT_NE(std::string::npos,
              result.out.find('\n' + indent.substr(2) + "a 20\n" + indent + "a 21\n" + indent + "a 22\n"));
    const std::string last = '\n' + indent + "a " + std::to_string(depth) + '\n';
    ASSERT_GT(result.out.size(), last.size());
    EXPECT_EQ(last, result.out.substr(result.out.size() - last.size()));
}

}  // namespace
