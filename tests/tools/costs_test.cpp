// Small input that asks for much: the tool stays within its bounds, and reports when it stops at one.
#include <algorithm>
#include <fstream>

#include "tests/tools/tool_fixture.h"

namespace {

using ToolCosts = ToolTest;

constexpr std::size_t kAlways = 32'000'000;  // bytes that may be made of a small file

std::string repeated(const std::string& text, int count) {
    std::string out;
    for (int i = 0; i < count; ++i) out += text;
    return out;
}

std::string nested(int depth) { return repeated("<a>", depth) + repeated("</a>", depth); }

// A row for each number, each with its own column.
std::string rowsOfNewColumns(int count) {
    std::string out = "<r>";
    for (int i = 0; i < count; ++i) out += "<a c" + std::to_string(i) + "=\"1\"/>";
    return out + "</r>";
}

void appendWord(std::string& out, std::uint32_t value) {
    for (int shift = 0; shift < 32; shift += 8) out += static_cast<char>(value >> shift & 0xFF);
}

// A .lng file of texts in one block, each `step` bytes after the previous one.
std::string overlapping(const std::string& block, int count, int step) {
    std::string out;
    for (std::uint32_t word : {0U, 0x524C434CU, 1U, 8U, 1U}) appendWord(out, word);
    appendWord(out, static_cast<std::uint32_t>(count));
    appendWord(out, static_cast<std::uint32_t>(block.size() + 1));
    for (int i = 0; i < count; ++i) appendWord(out, static_cast<std::uint32_t>(i * step));
    return out + block + '\0';
}

TEST_F(ToolCosts, IndentationEndsAtTheBound) {
    const std::string path = folder.write("deep.xml", nested(8000));  // 56 kB
    for (const char* form : {"xml", "json"}) {
        SCOPED_TRACE(form);
        const ToolResult result = run({"convert", path, "--to", form});
        EXPECT_EQ(1, result.status);
        EXPECT_EQ("", result.out);
        EXPECT_EQ(0u, result.err.find("the result is larger than 32000000 bytes, see --most")) << result.err;
        EXPECT_NE(std::string::npos, result.err.find(path)) << result.err;
    }
}

TEST_F(ToolCosts, ColumnsEndAtTheBound) {
    const std::string path = folder.write("rows.xml", rowsOfNewColumns(8000));
    const ToolResult html = run({"convert", path, "--to", "html"});
    EXPECT_EQ(1, html.status);
    EXPECT_EQ("", html.out);
    EXPECT_EQ(0u, html.err.find("the result is larger than 32000000 bytes, see --most")) << html.err;
    const ToolResult csv = run({"convert", path, "--to", "csv", "--most", "1"});
    EXPECT_EQ(1, csv.status);
    EXPECT_EQ("", csv.out);
    EXPECT_EQ(0u, csv.err.find("the result is larger than 1000000 bytes, see --most")) << csv.err;
}

TEST_F(ToolCosts, BoundCanBeChosen) {
    const std::string path = folder.write("deep.xml", nested(1000));
    const ToolResult result = run({"convert", path, "--to", "xml"});
    EXPECT_EQ(0, result.status);
    EXPECT_LT(1'000'000u, result.out.size());
    EXPECT_EQ(1, run({"convert", path, "--to", "xml", "--most", "1"}).status);
    EXPECT_TRUE(result.out == run({"convert", path, "--to", "xml", "--most=2000"}).out);
    for (const char* megabytes : {"0", "2001", "x", ""}) {
        const ToolResult wrong = run({"convert", path, "--to", "xml", "--most", megabytes});
        EXPECT_EQ(2, wrong.status);
        EXPECT_EQ("velmora: --most needs a number from 1 to 2000\nTry 'velmora help convert'.\n", wrong.err);
    }
}

// A large document may become larger than the bound for small ones.
TEST_F(ToolCosts, BoundGrowsWithTheDocument) {
    const std::string path =
        folder.write("large.xml", repeated("<r>", 9) + repeated("<a b=\"12345\"/>", 220'000) + repeated("</r>", 9));
    const std::string out = folder.file("out.xml");
    const ToolResult result = run({"convert", path, "--to", "xml", "--compact", "--tab", "16", "-o", out});
    EXPECT_EQ(0, result.status) << result.err;
    EXPECT_LT(kAlways, std::ifstream(out, std::ios::binary | std::ios::ate).tellg());
}

TEST_F(ToolCosts, TextsThatShareATailAreRefused) {
    const std::string path = folder.write("tail.lng", overlapping(std::string(50'000, 'a'), 12'500, 1));
    const std::string error = path + ": the texts share their bytes too often to be read one by one\n";
    const std::vector<std::vector<std::string>> commands = {{"dump", path}, {"dump", path, "--xliff"}, {"check", path}};
    for (std::vector<std::string> words : commands) {
        words.insert(words.begin(), "lng");
        const ToolResult result = run(words);
        EXPECT_EQ(1, result.status);
        EXPECT_EQ("", result.out);
        EXPECT_EQ(error, result.err);
    }
    const std::string few = folder.write("few.lng", overlapping("abc", 3, 1));
    const ToolResult reference = run({"lng", "check", few, "--reference", path});
    EXPECT_EQ(1, reference.status);
    EXPECT_EQ(error + path + ": is no use as a reference\n", reference.err);
    EXPECT_EQ(0, run({"lng", "check", few, "--reference", few}).status);
    EXPECT_EQ(0, run({"lng", "dump", few, "--xliff"}).status);
}

// All at one place, so that a message lists the placeholders of each.
TEST_F(ToolCosts, ListsOfPlaceholdersAreCut) {
    constexpr int count = 100;
    const std::string path = folder.write("same.lng", overlapping(repeated("%d", 5000), count, 0));
    const std::string source = folder.write("source.lng", overlapping(repeated("%s", 5000), count, 0));
    const ToolResult result = run({"lng", "check", path, "--reference", source});
    EXPECT_EQ(1, result.status);
    EXPECT_EQ(count, std::count(result.err.begin(), result.err.end(), '\n'));
    EXPECT_GT(count * (400 + path.size()), result.err.size());
    EXPECT_EQ(0u, result.err.find(path + ": text 0: placeholders are " + repeated("%d ", 32) +
                                  "and 4968 more, those of the source are " + repeated("%s ", 32) + "and 4968 more\n"))
        << result.err.substr(0, 500);
}

}  // namespace
