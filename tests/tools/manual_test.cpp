// What the tool writes for other programs: its manual page, and completion for bash.
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <set>
#include <sstream>

#include "tests/tools/tool_fixture.h"

namespace {

class ToolManual : public ToolTest {
protected:
    std::string made(const char* option) {
        const ToolResult result = runWithoutTexts({"help", option});
        EXPECT_EQ(0, result.status);
        EXPECT_EQ("", result.err);
        return result.out;
    }
};

std::string withoutHyphenEscapes(std::string text) {
    for (std::size_t at = 0; (at = text.find("\\-", at)) != std::string::npos; ++at) text.erase(at, 1);
    return text;
}

// The words of a help that begin with a hyphen and name an option.
std::set<std::string> optionsIn(const std::string& help) {
    std::set<std::string> options;
    std::istringstream lines(help);
    for (std::string line; std::getline(lines, line);) {
        if (line.compare(0, 3, "  -") != 0) continue;
        const std::size_t end = line.find(' ', 2);
        const std::string option = line.substr(2, end - 2);
        if (option != "--") options.insert(option);
    }
    return options;
}

const char* const commands[] = {"check",    "convert", "lng check", "lng compile", "lng dump",
                                "lng keys", "ls",      "tail",      "walk"};

std::vector<std::string> helpOf(const std::string& command) {
    std::vector<std::string> words = {"help"};
    std::istringstream in(command);
    words.insert(words.end(), std::istream_iterator<std::string>(in), {});
    return words;
}

TEST_F(ToolManual, PageAndCompletionHaveEveryCommandAndOption) {
    const std::string page = withoutHyphenEscapes(made("--man"));
    const std::string completion = made("--bash");
    EXPECT_EQ(0u, page.find(".TH VELMORA 1 "));
    for (const char* command : commands) {
        SCOPED_TRACE(command);
        EXPECT_NE(std::string::npos, page.find("\\fBvelmora " + std::string(command) + "\\fR "));
        const std::size_t line = completion.find("'" + std::string(command) + "' | ");
        ASSERT_NE(std::string::npos, line);
        const std::string offered = completion.substr(line, completion.find(";;", line) - line);
        const std::set<std::string> options = optionsIn(runWithoutTexts(helpOf(command)).out);
        EXPECT_LE(4u, options.size());
        for (const std::string& option : options) {
            EXPECT_NE(std::string::npos, page.find("  " + option + ' ')) << option;
            EXPECT_TRUE(offered.find(option + ' ') != std::string::npos ||
                        offered.find(option + '\'') != std::string::npos)
                << option;
        }
    }
}

TEST_F(ToolManual, LinesOfThePageAreNoRequests) {
    std::istringstream lines(made("--man"));
    const std::set<std::string> requests = {".TH", ".SH", ".SS", ".B", ".PP", ".nf", ".fi"};
    for (std::string line; std::getline(lines, line);) {
        if (line.empty() || line[0] != '.') continue;
        EXPECT_EQ(1u, requests.count(line.substr(0, line.find(' ')))) << line;
    }
}

#ifndef _WIN32
TEST_F(ToolManual, BashCompletesWords) {
    if (std::system("bash -c 'type mapfile compgen' >/dev/null 2>&1") != 0) GTEST_SKIP() << "there is no such bash";
    folder.write("completion", made("--bash"));
    const struct {
        int line;
        const char* words;  // the last one is being typed
        const char* offered;
    } rows[] = {
        {__LINE__, "''", "check convert lng ls tail walk help"},
        {__LINE__, "c", "check convert"},
        {__LINE__, "lng ''", "check compile dump keys"},
        {__LINE__, "lng d", "dump"},
        {__LINE__, "help lng c", "check compile"},
        {__LINE__, "--lang ''", "eng ger fra spa rus jpn"},
        {__LINE__, "--lang ger w", "walk"},
        {__LINE__, "convert file --t", "--to --tab"},
        {__LINE__, "convert file --to ''", "xml json yaml html csv"},
        {__LINE__, "ls --sort s", "size"},
        {__LINE__, "check fi", ""},
        {__LINE__, "lng compile in.xlf -o ''", ""},
        {__LINE__, "--v", "--version"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE("row at line " + std::to_string(row.line));
        const std::string script = "source \"" + folder.file("completion") + "\"; COMP_WORDS=(velmora " + row.words +
                                   "); COMP_CWORD=$((${#COMP_WORDS[@]} - 1)); _velmora; echo \"${COMPREPLY[*]}\" >\"" +
                                   folder.file("offered") + "\"";
        folder.write("script", script);
        ASSERT_EQ(0, std::system(("bash '" + folder.file("script") + "'").c_str()));
        EXPECT_EQ(std::string(row.offered) + '\n', folder.read("offered"));
    }
}
#endif

}  // namespace
