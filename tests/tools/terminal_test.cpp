// What the tool writes must not speak to a terminal, whatever bytes names and documents hold.
#include <algorithm>
#include <filesystem>
#include <fstream>

#ifndef _WIN32
#include <fcntl.h>
#include <stdlib.h>
#include <termios.h>
#include <unistd.h>
#endif

#include "tests/tools/tool_fixture.h"
#include "tools/shown.h"

namespace {

using ToolMessages = ToolTest;
using ToolSources = ToolTest;

// A title for the window, line ends, DEL, CSI in UTF-8, and an override of the direction.
const std::string evil = "x\x1B]0;t\x07\r\n\t\x7F\xC2\x9B\xE2\x80\xAEy";
const std::string evilShown = "x\\x1B]0;t\\x07\\r\\n\\t\\x7F\\xC2\\x9B\\xE2\\x80\\xAEy";
// CSI in one byte, a surrogate, an overlong zero, a character above all others.
const std::string stray = "\x9B\xED\xA0\x80\xC0\x80\xF4\x90\x80\x80z";
const std::string strayShown = "\\x9B\\xED\\xA0\\x80\\xC0\\x80\\xF4\\x90\\x80\\x80z";

// The first byte that is not to go to a terminal; lines may end.
std::size_t firstUnfit(const std::string& text) {
    std::size_t i = 0;
    while (i < text.size()) {
        const tool::Character c = tool::characterOf(text.data() + i, text.data() + text.size());
        if (text[i] != '\n' && (c.length == 0 || !tool::isPrintable(c.code))) return i;
        i += std::max<std::size_t>(1, c.length);
    }
    return std::string::npos;
}

struct MessageRow {
    int line;
    std::vector<std::string> words;  // "EVIL" in them stands for the name
    int lines;                       // of the message
};

const MessageRow messageRows[] = {
    {__LINE__, {"EVIL"}, 2},
    {__LINE__, {"--EVIL"}, 2},
    {__LINE__, {"help", "EVIL"}, 2},
    {__LINE__, {"lng", "EVIL"}, 2},
    {__LINE__, {"walk", "--EVIL"}, 2},
    {__LINE__, {"check", "EVIL"}, 1},
    {__LINE__, {"walk", "EVIL"}, 1},
    {__LINE__, {"convert", "EVIL", "--to", "json"}, 1},
    {__LINE__, {"convert", "DOCUMENT", "--to", "csv", "--rows", "EVIL"}, 1},
    {__LINE__, {"convert", "DOCUMENT", "--to", "json", "-o", "nowhere/EVIL"}, 1},
    {__LINE__, {"tail", "EVIL", "--once"}, 1},
    {__LINE__, {"ls", "nowhere/EVIL"}, 1},
    {__LINE__, {"lng", "check", "EVIL"}, 1},
    {__LINE__, {"lng", "check", "DOCUMENT", "--stamp", "EVIL"}, 2},
    {__LINE__, {"lng", "check", "DOCUMENT", "--count", "EVIL"}, 2},
    {__LINE__, {"lng", "check", "LNG", "--reference", "EVIL"}, 1},
    {__LINE__, {"lng", "compile", "EVIL", "-o", "nowhere/out"}, 1},
    {__LINE__, {"lng", "compile", "XLIFF", "-o", "nowhere/EVIL"}, 1},
    {__LINE__, {"lng", "dump", "EVIL"}, 1},
    {__LINE__, {"lng", "dump", "LNG", "--keys", "EVIL"}, 1},
    {__LINE__, {"lng", "keys", "EVIL"}, 1},
    {__LINE__, {"--lang", "EVIL", "check", "DOCUMENT"}, 2},
    {__LINE__, {"--lang-dir", "EVIL", "check", "DOCUMENT"}, 2},
};

class EvilWords : public ToolTest {
protected:
    EvilWords() {
        folder.write("a.xml", "<a><b c=\"1\"/></a>");
        folder.write("a.lng", lngBytes(1, {"text"}));
        folder.write(
            "a.xlf",
            "<xliff version=\"1.2\"><file><trans-unit id=\"A\"><source>a</source></trans-unit></file></xliff>");
    }

    static void replace(std::string& word, const std::string& from, const std::string& to) {
        const std::size_t at = word.find(from);
        if (at != std::string::npos) word.replace(at, from.size(), to);
    }

    ToolResult runRow(const MessageRow& row, const std::string& name) const {
        std::vector<std::string> words = row.words;
        for (std::string& word : words) {
            replace(word, "EVIL", name);
            replace(word, "DOCUMENT", folder.file("a.xml"));
            replace(word, "XLIFF", folder.file("a.xlf"));
            replace(word, "LNG", folder.file("a.lng"));
            replace(word, "nowhere", folder.file("nowhere"));
        }
        return run(words);
    }
};

TEST_F(EvilWords, AreShownInEveryMessage) {
    for (const MessageRow& row : messageRows) {
        SCOPED_TRACE("row at line " + std::to_string(row.line));
        const ToolResult result = runRow(row, evil);
        EXPECT_NE(0, result.status);
        EXPECT_EQ(std::string::npos, firstUnfit(result.err)) << result.err;
        EXPECT_EQ(row.lines, std::count(result.err.begin(), result.err.end(), '\n')) << result.err;
        EXPECT_NE(std::string::npos, result.err.find(evilShown)) << result.err;
    }
}

#ifndef _WIN32
TEST_F(EvilWords, MayBeBytesThatAreNoText) {
    for (const MessageRow& row : messageRows) {
        SCOPED_TRACE("row at line " + std::to_string(row.line));
        const ToolResult result = runRow(row, stray);
        EXPECT_NE(0, result.status);
        EXPECT_EQ(std::string::npos, firstUnfit(result.err)) << result.err;
        EXPECT_NE(std::string::npos, result.err.find(strayShown)) << result.err;
    }
}
#endif

// Keys, names of values and text of a document come into messages too.
TEST_F(ToolMessages, BytesOfFilesAreShown) {
    const std::string xlf =
        folder.write("k.xlf",
                     "<xliff version=\"1.2\"><file><trans-unit id=\"K\xC2\x9B\xE2\x80\xAE\"><source>%d</source>"
                     "<target>%\x1B</target></trans-unit></file></xliff>");
    ToolResult result = run({"lng", "compile", xlf, "-o", folder.file("out.lng")});
    EXPECT_EQ(1, result.status);
    EXPECT_EQ(xlf + ": line 1: unit \"K\\xC2\\x9B\\xE2\\x80\\xAE\": \"%\\x1B\" is no placeholder\n", result.err);
    const std::string lng = folder.write("k.lng", lngBytes(1, {"%s"}));
    result = run({"lng", "check", lng, "--reference", xlf, "--stamp", "1"});
    EXPECT_EQ(1, result.status);
    EXPECT_EQ(lng + ": text 0 (K\\xC2\\x9B\\xE2\\x80\\xAE): placeholders are %s, those of the source are %d\n",
              result.err);
}

#ifndef _WIN32

// A terminal of the test's own, as a device to write to.
class Terminal {
public:
    Terminal() : master_(posix_openpt(O_RDWR | O_NOCTTY)) {
        if (master_ < 0 || grantpt(master_) != 0 || unlockpt(master_) != 0) return;
        path_ = ptsname(master_);
        slave_ = open(path_.c_str(), O_RDWR | O_NOCTTY);  // kept open, or what was written would go with its writer
        termios settings;
        if (slave_ < 0 || tcgetattr(slave_, &settings) != 0) return;
        cfmakeraw(&settings);
        usable_ = tcsetattr(slave_, TCSANOW, &settings) == 0 && fcntl(master_, F_SETFL, O_NONBLOCK) == 0;
    }
    Terminal(const Terminal&) = delete;
    Terminal& operator=(const Terminal&) = delete;
    ~Terminal() {
        if (slave_ >= 0) close(slave_);
        if (master_ >= 0) close(master_);
    }

    bool usable() const { return usable_; }
    const std::string& path() const { return path_; }

    // What has come by now.
    std::string read() const {
        std::string out;
        char bytes[4096];
        for (ssize_t n; (n = ::read(master_, bytes, sizeof bytes)) > 0;) out.append(bytes, static_cast<std::size_t>(n));
        return out;
    }

private:
    int master_;
    int slave_ = -1;
    bool usable_ = false;
    std::string path_;
};

class ToolTerminal : public ToolTest {
protected:
    Terminal terminal;

    void SetUp() override {
        if (!terminal.usable()) GTEST_SKIP() << "there is no terminal to be had";
    }
    std::string show(std::vector<std::string> words) const {
        words.insert(words.begin(), {"--lang-dir", folder.path()});
        const ToolResult result = startTool(folder, words, terminal.path());
        EXPECT_EQ(0, result.status) << result.err;
        EXPECT_EQ("", result.err);
        return terminal.read();
    }
};

TEST_F(ToolTerminal, WalkShowsWhatIsNoText) {
    const std::string utf = folder.write("u.xml", "<a b=\"\xC2\x9B\x9B\xE2\x80\xAE\xC3\xA4\"/>");
    EXPECT_EQ("a 0 b=\"\\xC2\\x9B\\x9B\\xE2\\x80\\xAE\xC3\xA4\"\n", show({"walk", utf}));
    EXPECT_EQ("a 0 b=\"\xC2\x9B\x9B\xE2\x80\xAE\xC3\xA4\"\n", run({"walk", utf}).out);
    const std::string cyrillic =
        folder.write("c.xml", "<?xml version=\"1.0\" encoding=\"windows-1251\"?><a b=\"\xCF\xF0\x9B\"/>");
    EXPECT_EQ("a 0 b=\"\\xCF\\xF0\\x9B\"\n", show({"walk", cyrillic}));
    EXPECT_EQ("a 0 b=\"\xCF\xF0\x9B\"\n", run({"walk", cyrillic}).out);
}

TEST_F(ToolTerminal, ListsShowWhatIsNoText) {
    support::TempFolder listed;
    listed.write(evil + stray, "");
    std::string line = show({"ls", listed.path()});
    ASSERT_LT(24u, line.size());
    EXPECT_EQ("0  " + evilShown + strayShown + "\n", line.substr(21));
    line = show({"ls", listed.path(), "--csv"});
    EXPECT_EQ(std::string::npos, firstUnfit(line.substr(0, line.size() - 2))) << line;
    line = show({"ls", listed.path(), "--json"});
    EXPECT_EQ(std::string::npos, firstUnfit(line)) << line;
}

TEST_F(ToolTerminal, TailKeepsTabsAndLineEnds) {
    const std::string log =
        folder.write("log", "a\tb\r\nc\rd\x1B[1m\x9B\xC2\x85\xE2\x81\xA6\n\xED\xA0\xBD\xED\xB8\x80\n");
    const std::string asItIs = folder.read("log");
    EXPECT_EQ("a\tb\r\nc\\rd\\x1B[1m\\x9B\\xC2\\x85\\xE2\\x81\\xA6\n\xF0\x9F\x98\x80\n", show({"tail", log, "--once"}));
    EXPECT_EQ(asItIs, run({"tail", log, "--once"}).out);
}

TEST_F(ToolTerminal, OtherLinesAreShown) {
    const std::string document = folder.write(evil + stray, "<a/>");
    const std::string name = folder.path() + "/" + evilShown + strayShown;
    EXPECT_EQ(name + ": ok\n", show({"check", document}));
    const std::string xlf = folder.write(
        "k.xlf",
        "<xliff version=\"1.2\"><file><trans-unit id=\"K\x9B\xC2\x9B\"><source>a</source></trans-unit></file></xliff>");
    EXPECT_EQ("0 K\\x9B\\xC2\\x9B\n", show({"lng", "keys", xlf}));
    const std::string lng = folder.file(evil + stray + ".lng");
    EXPECT_EQ(std::string::npos, firstUnfit(show({"lng", "compile", xlf, "-o", lng})));
    EXPECT_EQ(std::string::npos, firstUnfit(show({"lng", "dump", lng, "--keys", xlf})));
}

// What was asked for as a document is one on a terminal, too.
TEST_F(ToolTerminal, DocumentsStayAsTheyAre) {
    const std::string document = folder.write("u.xml", "<a b=\"\xC2\x9B\"/>");
    EXPECT_EQ("\"\xC2\x9B\"\r\n", show({"convert", document, "--to", "csv"}));
}

#endif

std::string sourceFolder() { return VELMORA_EXAMPLES_DIR "/../../tools"; }

// A stream that a command writes to itself would be one without the two functions that clean.
TEST_F(ToolSources, NothingButTheOutputWrites) {
    const char* const writers[] = {"stdout",  "stderr",    "printf(",   "puts(",     "putchar(",          "perror(",
                                   "fwrite(", "std::cout", "std::cerr", "std::clog", "isTerminal(stdout)"};
    int files = 0;
    for (const auto& entry : std::filesystem::directory_iterator(sourceFolder())) {
        const std::string name = entry.path().filename().string();
        const std::string extension = entry.path().extension().string();
        if (extension != ".cpp" && extension != ".h") continue;
        ++files;
        if (name == "output.cpp") continue;
        std::ifstream in(entry.path());
        std::string line;
        for (int number = 1; std::getline(in, line); ++number) {
            const bool known = line.find("isTerminal(stderr)") != std::string::npos ||  // report.cpp: excerpt or not
                               line.find("_setmode(") != std::string::npos ||
                               line.find("std::snprintf(") != std::string::npos;
            for (const char* writer : writers) {
                EXPECT_TRUE(known || line.find(writer) == std::string::npos) << name << ':' << number << ": " << line;
            }
        }
    }
    EXPECT_LT(30, files);
}

// Documents go out as they are: a command that does so must have a reason.
TEST_F(ToolSources, FewWriteDocuments) {
    const std::vector<std::string> known = {"convert.cpp", "lng_dump.cpp", "ls.cpp", "output.cpp"};
    for (const auto& entry : std::filesystem::directory_iterator(sourceFolder())) {
        const std::string name = entry.path().filename().string();
        if (entry.path().extension().string() != ".cpp") continue;
        std::ifstream in(entry.path());
        const std::string text(std::istreambuf_iterator<char>(in), {});
        const bool writes = text.find("putDocument(") != std::string::npos;
        EXPECT_EQ(std::count(known.begin(), known.end(), name) != 0, writes) << name;
    }
}

}  // namespace
