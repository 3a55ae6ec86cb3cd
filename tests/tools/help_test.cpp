// The texts that the tool has about itself, letter by letter: the help of each command, the manual page, and
// completion.
#include "tests/support/golden.h"
#include "tests/tools/tool_fixture.h"

namespace {

class ToolHelpText : public ToolTest {
protected:
    std::string shown(const std::vector<std::string>& words) {
        const ToolResult result = runWithoutTexts(words);
        EXPECT_EQ(0, result.status);
        EXPECT_EQ("", result.err);
        return result.out;
    }
};

TEST_F(ToolHelpText, IsTheGoldenText) {
    std::string all = shown({"help"});
    for (const std::vector<std::string>& command : std::vector<std::vector<std::string>>{{"check"},
                                                                                         {"convert"},
                                                                                         {"lng"},
                                                                                         {"lng", "check"},
                                                                                         {"lng", "compile"},
                                                                                         {"lng", "dump"},
                                                                                         {"lng", "keys"},
                                                                                         {"ls"},
                                                                                         {"tail"},
                                                                                         {"walk"}}) {
        std::vector<std::string> words = {"help"};
        words.insert(words.end(), command.begin(), command.end());
        all += "----\n" + shown(words);
    }
    support::expectGolden("tool/help.txt", all);
}

TEST_F(ToolHelpText, ManualPageIsTheGoldenText) { support::expectGolden("tool/velmora.1", shown({"help", "--man"})); }

TEST_F(ToolHelpText, CompletionIsTheGoldenText) {
    support::expectGolden("tool/velmora.bash", shown({"help", "--bash"}));
}

// An option is no second word of a command's name.
TEST_F(ToolHelpText, IsShownByOptionsToo) {
    for (const char* option : {"-h", "--help"}) {
        EXPECT_EQ(shown({"help", "lng"}), shown({"lng", option}));
        EXPECT_EQ(shown({"help", "lng", "check"}), shown({"lng", "check", option}));
        EXPECT_EQ(shown({"help", "walk"}), shown({"walk", option}));
    }
}

TEST_F(ToolHelpText, WrongUsageIsNamed) {
    const struct {
        int line;
        std::vector<std::string> words;
        std::string message;
    } rows[] = {
        {__LINE__, {}, "the name of a command is missing"},
        {__LINE__, {"frob"}, "unknown command frob"},
        {__LINE__, {"help", "frob"}, "unknown command frob"},
        {__LINE__, {"help", "check", "more"}, "too many words behind help"},
        {__LINE__, {"check"}, "a file is missing"},
        {__LINE__, {"walk", "a", "b"}, "too many files"},
        {__LINE__, {"check", "--frob"}, "unknown option --frob"},
        {__LINE__, {"check", "--help=x"}, "option --help takes no value"},
        {__LINE__, {"check", "--lang"}, "option --lang needs a value"},
        {__LINE__, {"convert", "f", "--to", "pdf"}, "--to needs one of xml, json, yaml, html, csv"},
        {__LINE__, {"convert", "f", "--to", "xml", "--eol", "cr"}, "--eol needs one of lf, crlf"},
        {__LINE__, {"convert", "f", "--to", "xml", "--tab", "x"}, "--tab needs a number from 0 to 16"},
        {__LINE__, {"convert", "f", "--to", "xml", "--root="}, "--root needs a name"},
        {__LINE__, {"convert", "f", "--to", "xml", "--rows", "a"}, "--rows and --header are for html and csv"},
        {__LINE__, {"lng", "compile", "f"}, "-o is missing"},
        {__LINE__, {"lng", "compile", "f", "-o", "g", "--keys", "mine"}, "--keys takes \"library\" only"},
        {__LINE__, {"lng", "compile", "f", "-o", "g", "--stamp", "x"}, "\"x\" is no stamp of eight hexadecimal digits"},
        {__LINE__, {"lng", "check", "f", "--count", "x"}, "\"x\" is no count"},
        {__LINE__, {"ls", "--sort", "color"}, "--sort must be name, size or time"},
        {__LINE__, {"ls", "--json", "--csv"}, "only one of --json, --yaml and --csv can be written"},
        {__LINE__, {"ls", "--header"}, "--header is for --csv"},
        {__LINE__, {"ls", std::string(260, 'm')}, "the mask is longer than 259 bytes"},
        {__LINE__, {"tail", "f", "--only", "1"}, "--only needs --fields"},
        {__LINE__,
         {"tail", "f", "--fields", "3", "--only", "5"},
         "--only needs numbers from 1 to 3 with commas between them"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE("row at line " + std::to_string(row.line));
        const ToolResult result = run(row.words);
        EXPECT_EQ(2, result.status);
        EXPECT_EQ("", result.out);
        const std::string expected = "velmora: " + row.message + "\nTry 'velmora help";
        EXPECT_EQ(expected, result.err.substr(0, expected.size()));
    }
}

}  // namespace
