// velmora tail.
#include <csignal>
#include <cstdlib>
#include <fstream>

#include "tests/support/child_process.h"
#include "tests/tools/tool_fixture.h"

namespace {

class ToolTail : public ToolTest {
protected:
    std::string once(const std::string& text, std::vector<std::string> words = {}) {
        const std::string path = folder.write("log", text);
        words.insert(words.begin(), {"tail", path, "--once"});
        const ToolResult result = run(words);
        EXPECT_EQ(0, result.status);
        EXPECT_EQ("", result.err);
        return result.out;
    }
    static std::string numbered(int from, int to) {
        std::string text;
        for (int i = from; i <= to; ++i) text += "line " + std::to_string(i) + '\n';
        return text;
    }
    void append(const std::string& text) const {
        std::ofstream out(folder.file("log"), std::ios::binary | std::ios::app);
        out << text;
    }
    support::ChildProcess follow(std::vector<std::string> words) const {
        words.insert(words.begin(),
                     {VELMORA_TOOL, "--lang-dir", folder.path(), "tail", folder.file("log"), "--interval", "5"});
        return support::ChildProcess(words);
    }
};

TEST_F(ToolTail, LastCompleteLines) {
    EXPECT_EQ(numbered(11, 20), once(numbered(1, 20)));
    EXPECT_EQ(numbered(1, 3), once(numbered(1, 3)));
    EXPECT_EQ(numbered(19, 20), once(numbered(1, 20), {"--lines", "2"}));
    EXPECT_EQ("", once(numbered(1, 20), {"--lines=0"}));
    EXPECT_EQ(numbered(1, 2000), once(numbered(1, 2000), {"--lines", "all"}));
    EXPECT_EQ(numbered(1, 2), once(numbered(1, 2) + "unfinished"));
    EXPECT_EQ("", once("unfinished"));
    EXPECT_EQ("", once(""));
}

TEST_F(ToolTail, LinesAsTheyStand) {
    EXPECT_EQ("a\r\nb\\\nc\n", once("a\r\nb\\\nc\n"));
    EXPECT_EQ("b\\\nc\n", once("a\r\nb\\\nc\n", {"--lines", "1"}));
    // Longer than any room to start with.
    const std::string longLine(300000, 'x');
    EXPECT_TRUE(longLine + "\nshort\n" == once(longLine + "\nshort\n"));
}

TEST_F(ToolTail, Fields) {
    const std::string text = "one\t2\tthe rest\twith tabs\r\nsecond\\\nline\t\tz\n";
    EXPECT_EQ("one\t2\tthe rest\\twith tabs\nsecond\\nline\t\tz\n", once(text, {"--fields", "3"}));
    EXPECT_EQ("one\tthe rest\\twith tabs\nsecond\\nline\tz\n", once(text, {"--fields", "3", "--only", "3,1"}));
    EXPECT_EQ("2\n\n", once(text, {"--fields", "3", "--only", "2"}));
    EXPECT_EQ("short\t\t\n", once("short\n", {"--fields", "3"}));
}

TEST_F(ToolTail, FollowsWhatIsAppended) {
    folder.write("log", "one\ntwo\n");
    support::ChildProcess tail = follow({"--lines", "1"});
    EXPECT_EQ("two", tail.receive());
    append("thr");
    append("ee\nfour\nfi");
    EXPECT_EQ("three", tail.receive());
    EXPECT_EQ("four", tail.receive());
    append("ve\n");
    EXPECT_EQ("five", tail.receive());
    tail.kill();
}

TEST_F(ToolTail, StartsAgainWhereTheFileIsAnother) {
    folder.write("log", "a long first line\n");
    support::ChildProcess tail = follow({});
    EXPECT_EQ("a long first line", tail.receive());
    folder.write("log", "new\n");
    EXPECT_EQ("new", tail.receive());
    append("more\n");
    EXPECT_EQ("more", tail.receive());
    tail.kill();
}

#ifndef _WIN32
TEST_F(ToolTail, InterruptionEndsItCleanly) {
    for (int signal : {SIGINT, SIGTERM}) {
        folder.write("log", "one\n");
        support::ChildProcess tail = follow({});
        EXPECT_EQ("one", tail.receive());
        tail.signal(signal);
        EXPECT_EQ(0, tail.wait());
    }
}

TEST_F(ToolTail, ReaderThatGoesAwayEndsIt) {
    folder.write("log", "");
    append(numbered(1, 100000));
    const int status = std::system(
        ("'" VELMORA_TOOL "' tail '" + folder.file("log") + "' --lines all --interval 1 | head -n 1 >/dev/null")
            .c_str());
    EXPECT_EQ(0, status);
}
#endif

TEST_F(ToolTail, FileThatCannotBeOpenedIsAFailure) {
    const ToolResult result = run({"tail", folder.file("missing"), "--once"});
    EXPECT_EQ(2, result.status);
    EXPECT_EQ("", result.out);
    EXPECT_EQ(0u, result.err.find("[LCA__Cannot_open_file][LCA__Path_s(" + folder.file("missing") + ")]"))
        << result.err;
}

TEST_F(ToolTail, WrongUsage) {
    const std::string path = folder.write("log", "");
    const struct {
        std::vector<std::string> words;
        const char* error;
    } table[] = {
        {{"tail"}, "a file is missing"},
        {{"tail", path, path}, "too many files"},
        {{"tail", path, "--lines", "-1"}, "--lines needs a number from 0 to 1000000"},
        {{"tail", path, "--lines", "few"}, "--lines needs a number from 0 to 1000000"},
        {{"tail", path, "--lines", "0x10"}, "--lines needs a number from 0 to 1000000"},
        {{"tail", path, "--fields", "0"}, "--fields needs a number from 1 to 1000"},
        {{"tail", path, "--interval", "0"}, "--interval needs a number from 1 to 3600000"},
        {{"tail", path, "--only", "1"}, "--only needs --fields"},
        {{"tail", path, "--fields", "2", "--only", "1,3"}, "--only needs numbers from 1 to 2 with commas between them"},
        {{"tail", path, "--fields", "2", "--only", "1,,2"},
         "--only needs numbers from 1 to 2 with commas between them"},
    };
    for (const auto& row : table) {
        SCOPED_TRACE(row.error);
        std::vector<std::string> words = row.words;
        if (words.size() > 1) words.push_back("--once");
        const ToolResult result = run(words);
        EXPECT_EQ(2, result.status);
        EXPECT_EQ("velmora: " + std::string(row.error) + "\nTry 'velmora help tail'.\n", result.err);
    }
}

}  // namespace
