// The texts that the tool has about itself, letter by letter: the help of each command, the manual page, and completion.
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

}  // namespace
