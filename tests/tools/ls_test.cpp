// velmora ls.
#include <algorithm>
#include <chrono>
#include <filesystem>
#include <utility>

#include "tests/tools/tool_fixture.h"

namespace {

class ToolLs : public ToolTest {
protected:
    support::TempFolder listed;

    // Names and sizes; the order of the times is the order of the calls.
    void fill() {
        int hours = 100;
        for (const auto& [name, size] : {std::pair{"b.txt", 10}, {"a.txt", 2000}, {"c.log", 0}}) {
            listed.write(name, std::string(static_cast<std::size_t>(size), 'x'));
            age(name, hours--);
        }
        std::filesystem::create_directory(listed.file("folder"));
    }
    void age(const std::string& name, int hours) {
        std::filesystem::last_write_time(listed.file(name),
                                         std::filesystem::file_time_type::clock::now() - std::chrono::hours(hours));
    }
    std::string mask(const std::string& pattern = std::string()) const {
#ifdef _WIN32
        std::string path = listed.path() + (pattern.empty() ? "" : "\\" + pattern);
        std::replace(path.begin(), path.end(), '/', '\\');
        return path;
#else
        return pattern.empty() ? listed.path() : listed.file(pattern);
#endif
    }
    // What stands in each line behind the time.
    std::string entries(std::vector<std::string> words) {
        words.insert(words.begin(), "ls");
        const ToolResult result = run(words);
        EXPECT_EQ(0, result.status);
        EXPECT_EQ("", result.err);
        std::string out;
        for (std::size_t from = 0; from < result.out.size();) {
            const std::size_t end = result.out.find('\n', from);
            const std::string line = result.out.substr(from, end - from);
            EXPECT_EQ('T', line[10]) << line;
            EXPECT_EQ("  ", line.substr(19, 2)) << line;
            out += line.substr(21) + '\n';
            from = end + 1;
        }
        return out;
    }
};

TEST_F(ToolLs, LinesInTheOrderOfNames) {
    fill();
    EXPECT_EQ("2000  a.txt\n  10  b.txt\n   0  c.log\n", entries({mask()}));
    EXPECT_EQ("2000  a.txt\n  10  b.txt\n   0  c.log\n   -  folder/\n", entries({mask(), "--dirs"}));
    EXPECT_EQ("-  folder/\n", entries({mask(), "--only-dirs"}));
    EXPECT_EQ("0  c.log\n", entries({mask("c*")}));
    EXPECT_EQ("2000  a.txt\n  10  b.txt\n", entries({mask("?.t*")}));
}

TEST_F(ToolLs, OtherOrders) {
    fill();
    EXPECT_EQ("2000  a.txt\n  10  b.txt\n   0  c.log\n", entries({mask(), "--sort", "size"}));
    EXPECT_EQ("   0  c.log\n2000  a.txt\n  10  b.txt\n", entries({mask(), "--sort=time"}));
}

TEST_F(ToolLs, Filters) {
    listed.write("plain", "");
    listed.write("fixed", "");
    listed.setReadOnly("fixed", true);
    EXPECT_EQ("0  fixed\n", entries({mask(), "--read-only"}));
    listed.setReadOnly("fixed", false);
#ifndef _WIN32
    listed.write(".hidden", "");
    EXPECT_EQ("0  .hidden\n0  fixed\n0  plain\n", entries({mask()}));
    EXPECT_EQ("0  fixed\n0  plain\n", entries({mask(), "--no-hidden"}));
#endif
}

#ifndef _WIN32
TEST_F(ToolLs, FormsAreWellFormedWhateverTheNamesAre) {
    listed.write("a\x1B\n\"\\\x7F\xC2\x9B\xE2\x80\xAE", "");
    listed.write("b\x9B\xC3\xA4", "");
    const ToolResult json = run({"ls", mask(), "--json"});
    EXPECT_EQ(0, json.status);
    EXPECT_NE(std::string::npos, json.out.find("\"name\": \"a\\u001B\\n\\\"\\\\\\u007F\\u009B\\u202E\",\n"))
        << json.out;
    EXPECT_NE(std::string::npos, json.out.find("\"name\": \"b\xEF\xBF\xBD\xC3\xA4\",\n")) << json.out;
    const ToolResult yaml = run({"ls", mask(), "--yaml"});
    EXPECT_NE(std::string::npos, yaml.out.find("- name: \"a\\u001B\\n\\\"\\\\\\u007F\\u009B\\u202E\"\n")) << yaml.out;
    EXPECT_NE(std::string::npos, yaml.out.find("- name: \"b\xEF\xBF\xBD\xC3\xA4\"\n")) << yaml.out;
    const ToolResult csv = run({"ls", mask(), "--csv"});
    EXPECT_EQ(0u, csv.out.find("\"a\\u001B\\n\\\"\\\\\\u007F\\u009B\\u202E\",false,0,")) << csv.out;
    EXPECT_NE(std::string::npos, csv.out.find("\r\n\"b\xEF\xBF\xBD\xC3\xA4\",false,0,")) << csv.out;
    // The document also holds the mask.
    std::filesystem::create_directory(listed.file("c\x1B"));
    const ToolResult inner = run({"ls", mask("c\x1B"), "--json"});
    EXPECT_EQ(0, inner.status);
    EXPECT_NE(std::string::npos, inner.out.find("/c\\u001B\"")) << inner.out;
}

// The end of a list is no failure, also when it is the first thing that is met.
TEST_F(ToolLs, EmptyListIsNoFailure) {
    EXPECT_EQ("", entries({mask()}));
    std::filesystem::create_symlink(listed.file("nowhere"), listed.file("link"));
    std::filesystem::create_directory(listed.file("folder"));
    EXPECT_EQ("-  folder/\n", entries({mask(), "--only-dirs"}));
}

TEST_F(ToolLs, FolderThatMayNotBeReadIsAFailure) {
    const std::string closed = listed.file("closed");
    std::filesystem::create_directory(closed);
    std::filesystem::permissions(closed, std::filesystem::perms::none);
    std::error_code error;
    const bool readable = std::filesystem::directory_iterator(closed, error) != std::filesystem::directory_iterator();
    if (error) {
        const ToolResult result = run({"ls", closed});
        EXPECT_EQ(1, result.status);
        EXPECT_EQ("", result.out);
        EXPECT_EQ("velmora: nothing can be listed: " + closed + "\n", result.err);
    }
    std::filesystem::permissions(closed, std::filesystem::perms::owner_all);
    if (readable || !error) GTEST_SKIP() << "every folder may be read";
}
#endif

TEST_F(ToolLs, Forms) {
    listed.write("a", "12345");
    std::filesystem::create_directory(listed.file("b"));
    ToolResult result = run({"ls", mask(), "--dirs", "--csv", "--header"});
    EXPECT_EQ(0, result.status);
    const std::string time = result.out.substr(result.out.find("\"20"), 21);
    const std::size_t second = result.out.rfind("\"20");
    ASSERT_NE(std::string::npos, second) << result.out;
    const std::string folderTime = result.out.substr(second, 21);
    EXPECT_EQ("\"name\",\"folder\",\"size\",\"modified\",\"hidden\",\"readOnly\"\r\n\"a\",false,5," + time +
                  ",false,false\r\n\"b\",true,0," + folderTime + ",false,false\r\n",
              result.out);
    result = run({"ls", mask(), "--yaml"});
    EXPECT_EQ("- name: a\n    folder: false\n    size: 5\n    modified: " + time +
                  "\n    hidden: false\n    readOnly: false\n",
              result.out.substr(result.out.find("- name")));
    result = run({"ls", mask(), "--json"});
    EXPECT_EQ(0u, result.out.find("{\n  \"listing\": {\n    \"mask\": \"")) << result.out;
    EXPECT_NE(std::string::npos, result.out.find("\"size\": 5,\n        \"modified\": " + time)) << result.out;
    // What it writes, it reads.
    const std::string path = folder.write("listing.json", result.out);
    EXPECT_EQ(0, run({"check", path}).status);
}

TEST_F(ToolLs, EmptyFolderIsNoFailureAndMissingOneIs) {
    EXPECT_EQ("", entries({mask()}));
    const ToolResult result = run({"ls", mask("missing")});
    EXPECT_EQ(1, result.status);
    EXPECT_EQ("", result.out);
    EXPECT_EQ("velmora: nothing can be listed: " + mask("missing") + '\n', result.err);
}

TEST_F(ToolLs, WithoutAMaskItIsTheCurrentFolder) {
    const ToolResult result = run({"ls"});
    EXPECT_EQ(0, result.status);
    EXPECT_EQ("", result.err);
}

TEST_F(ToolLs, WrongUsage) {
    const struct {
        std::vector<std::string> words;
        const char* error;
    } table[] = {
        {{"--sort", "colour"}, "--sort must be name, size or time"},
        {{"--json", "--csv"}, "only one of --json, --yaml and --csv can be written"},
        {{"--header"}, "--header is for --csv"},
        {{std::string(260, 'x')}, "the mask is longer than 259 bytes"},
        {{"one", "two"}, "too many files"},
    };
    for (const auto& row : table) {
        SCOPED_TRACE(row.error);
        std::vector<std::string> words = row.words;
        words.insert(words.begin(), "ls");
        const ToolResult result = run(words);
        EXPECT_EQ(2, result.status);
        EXPECT_EQ("", result.out);
        EXPECT_EQ("velmora: " + std::string(row.error) + "\nTry 'velmora help ls'.\n", result.err);
    }
}

}  // namespace
