// What all commands have in common: options, help, dictionaries, streams.
#include <velmora/localization/loc.h>

#include <fstream>

#include "tests/tools/tool_fixture.h"

namespace {

using ToolUsage = ToolTest;
using ToolHelp = ToolTest;
using ToolTexts = ToolTest;
using ToolOutput = ToolTest;

struct UsageRow {
    int line;
    std::vector<std::string> words;
    const char* error;
    const char* hint;  // what follows "velmora help" in it
};

const UsageRow usageRows[] = {
    {__LINE__, {}, "the name of a command is missing", ""},
    {__LINE__, {"lng"}, "the name of a command is missing", " lng"},
    {__LINE__, {"dance"}, "unknown command dance", ""},
    {__LINE__, {"dance", "--help"}, "unknown command dance", ""},
    {__LINE__, {"lng", "dance"}, "unknown command lng dance", ""},
    {__LINE__, {"help", "dance"}, "unknown command dance", ""},
    {__LINE__, {"help", "walk", "check"}, "too many words behind help", " walk"},
    {__LINE__, {"--dance", "walk", "a.xml"}, "unknown option --dance", ""},
    {__LINE__, {"walk", "--dance", "a.xml"}, "unknown option --dance", " walk"},
    {__LINE__, {"walk", "-x"}, "unknown option -x", " walk"},
    {__LINE__, {"walk", "--stamp", "1"}, "unknown option --stamp", " walk"},
    {__LINE__, {"walk", "a.xml", "--lang"}, "option --lang needs a value", " walk"},
    {__LINE__, {"walk", "--help=yes"}, "option --help takes no value", " walk"},
    {__LINE__, {"walk"}, "a file is missing", " walk"},
    {__LINE__, {"walk", "a.xml", "b.xml"}, "too many files", " walk"},
    {__LINE__, {"check"}, "a file is missing", " check"},
    {__LINE__, {"lng", "keys", "a.xlf", "b.xlf"}, "too many files", " lng keys"},
    {__LINE__, {"lng", "dump"}, "a file is missing", " lng dump"},
    {__LINE__, {"lng", "compile", "-o", "a.lng"}, "a file is missing", " lng compile"},
    {__LINE__, {"lng", "compile", "a.xlf"}, "-o is missing", " lng compile"},
    {__LINE__, {"lng", "compile", "a.xlf", "-o"}, "option -o needs a value", " lng compile"},
    {__LINE__,
     {"lng", "compile", "a.xlf", "-o", "b", "--keys", "mine"},
     "--keys takes \"library\" only",
     " lng compile"},
    {__LINE__,
     {"lng", "compile", "a.xlf", "-o", "b", "--stamp", "123456789"},
     "\"123456789\" is no stamp of eight hexadecimal digits",
     " lng compile"},
    {__LINE__,
     {"lng", "check", "a.lng", "--stamp", "0x"},
     "\"0x\" is no stamp of eight hexadecimal digits",
     " lng check"},
    {__LINE__,
     {"lng", "check", "a.lng", "--stamp", "12g"},
     "\"12g\" is no stamp of eight hexadecimal digits",
     " lng check"},
    {__LINE__, {"lng", "check", "a.lng", "--count", "x"}, "\"x\" is no count", " lng check"},
    {__LINE__, {"lng", "check", "a.lng", "--count", "-1"}, "\"-1\" is no count", " lng check"},
};

TEST_F(ToolUsage, WrongUsageIsOneLineAndAHint) {
    for (const UsageRow& row : usageRows) {
        SCOPED_TRACE("row at line " + std::to_string(row.line));
        const ToolResult result = run(row.words);
        EXPECT_EQ(2, result.status);
        EXPECT_EQ("", result.out);
        EXPECT_EQ("velmora: " + std::string(row.error) + "\nTry 'velmora help" + row.hint + "'.\n", result.err);
    }
}

TEST_F(ToolUsage, TwoDashesEndTheOptions) {
    const ToolResult result = run({"check", "--", "--help"});
    EXPECT_EQ(2, result.status);
    EXPECT_EQ("", result.out);
    EXPECT_EQ(0U, result.err.find("[LCA__Cannot_open_file][LCA__Path_s(--help)]")) << result.err;
}

TEST_F(ToolUsage, ValueMayFollowAnEqualsSign) {
    const std::string path = folder.write("good.xml", "<a/>");
    const ToolResult result = startTool(folder, {"--lang-dir=" + folder.path(), "walk", path});
    EXPECT_EQ(0, result.status);
    EXPECT_EQ("a 0\n", result.out);
    EXPECT_EQ("", result.err);
}

TEST_F(ToolHelp, VersionIsOneLine) {
    for (const char* command : {"", "walk", "lng"}) {
        std::vector<std::string> words = {"--version"};
        if (*command) words.insert(words.begin(), command);
        const ToolResult result = runWithoutTexts(words);
        EXPECT_EQ(0, result.status);
        EXPECT_EQ(0U, result.out.find("velmora ")) << result.out;
        EXPECT_EQ(result.out.size() - 1, result.out.find_first_not_of("0123456789.", 8)) << result.out;
        EXPECT_EQ('\n', result.out.back());
        EXPECT_EQ("", result.err);
    }
}

TEST_F(ToolHelp, NeedsNoDictionary) {
    struct Row {
        int line;
        std::vector<std::string> words;
        const char* start;
    };
    const Row rows[] = {
        {__LINE__, {"--help"}, "Usage: velmora [OPTION]... COMMAND [ARGUMENT]...\n"},
        {__LINE__, {"-h"}, "Usage: velmora [OPTION]... COMMAND [ARGUMENT]...\n"},
        {__LINE__, {"check", "-h"}, "Usage: velmora check FILE...\n"},
        {__LINE__, {"help"}, "Usage: velmora [OPTION]... COMMAND [ARGUMENT]...\n"},
        {__LINE__, {"help", "lng"}, "Usage: velmora [OPTION]... COMMAND [ARGUMENT]...\n"},
        {__LINE__, {"lng", "--help"}, "Usage: velmora [OPTION]... COMMAND [ARGUMENT]...\n"},
        {__LINE__, {"help", "check"}, "Usage: velmora check FILE...\n"},
        {__LINE__, {"check", "--help"}, "Usage: velmora check FILE...\n"},
        {__LINE__, {"--help", "walk"}, "Usage: velmora walk FILE\n"},
        {__LINE__, {"help", "lng", "compile"}, "Usage: velmora lng compile IN.xlf -o OUT.lng"},
        {__LINE__, {"lng", "compile", "--help"}, "Usage: velmora lng compile IN.xlf -o OUT.lng"},
        {__LINE__, {"lng", "dump", "--help"}, "Usage: velmora lng dump FILE.lng"},
        {__LINE__, {"lng", "check", "--help"}, "Usage: velmora lng check FILE.lng"},
        {__LINE__, {"lng", "keys", "--help"}, "Usage: velmora lng keys [FILE.xlf]\n"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE("row at line " + std::to_string(row.line));
        const ToolResult result = runWithoutTexts(row.words);
        EXPECT_EQ(0, result.status);
        EXPECT_EQ(0U, result.out.find(row.start)) << result.out;
        EXPECT_NE(std::string::npos, result.out.find("--lang-dir DIR"));
        EXPECT_EQ("", result.err);
    }
}

TEST_F(ToolHelp, ListsEveryCommand) {
    const std::string all = run({"--help"}).out;
    const std::string group = run({"help", "lng"}).out;
    for (const char* name : {"check", "lng check", "lng compile", "lng dump", "lng keys", "walk"}) {
        const std::string line = std::string("\n  ") + name + ' ';
        EXPECT_NE(std::string::npos, all.find(line)) << name;
        EXPECT_EQ(line.find("lng") == std::string::npos, group.find(line) == std::string::npos) << name;
    }
}

TEST_F(ToolTexts, MissingDictionaryIsTheLoadersSentence) {
    std::string sentence;
    Loc::Loader loader;
    loader.addModule(new Loc::VelmoraModule);
    ASSERT_FALSE(loader.load((folder.file("nowhere") + "/").c_str(), "eng", &sentence));
    const std::string document = folder.write("good.xml", "<a/>");
    const std::string dictionary = folder.file("velmora.eng.lng");
    const std::vector<std::vector<std::string>> commands = {
        {"walk", document}, {"check", document}, {"lng", "dump", dictionary}, {"lng", "check", dictionary}};
    for (const std::vector<std::string>& words : commands) {
        const ToolResult result = runWithoutTexts(words);
        EXPECT_EQ(2, result.status);
        EXPECT_EQ("", result.out);
        EXPECT_EQ(sentence + "\n", result.err);
    }
}

TEST_F(ToolTexts, LanguageChoosesTheFile) {
    folder.write("velmora.xyz.lng", keyDictionary("{", "}"));
    const std::string path = folder.write("short.xml", "<");
    const std::string english = "[LCA__Too_short_file][LCA__Path_s(" + path + ")]\n";
    EXPECT_EQ(english, run({"check", path}).err);
    EXPECT_EQ("{LCA__Too_short_file}{LCA__Path_s(" + path + ")}\n", run({"--lang", "xyz", "check", path}).err);
    EXPECT_EQ("{LCA__Too_short_file}{LCA__Path_s(" + path + ")}\n", run({"check", path, "--lang", "xyz"}).err);
    EXPECT_EQ(english, run({"--lang", "xyz", "check", path, "--lang=eng"}).err);
    EXPECT_EQ(2, run({"--lang", "none", "check", path}).status);
}

TEST_F(ToolTexts, ShippedEnglishIsUsable) {
    const std::string path = folder.file("missing.xml");
    const ToolResult result = startTool(folder, {"--lang-dir", VELMORA_TEST_LANG_DIR, "check", path});
    EXPECT_EQ(2, result.status);
    EXPECT_NE(std::string::npos, result.err.find(path)) << result.err;
    EXPECT_EQ(std::string::npos, result.err.find("LCA__")) << result.err;
    EXPECT_EQ('\n', result.err.back());
}

TEST_F(ToolTexts, FailuresAreToldByKeyWithoutADictionary) {
    const std::string path = folder.write("bad.xlf", "<a>\n<b\x01>");
    const ToolResult bad = runWithoutTexts({"lng", "compile", path, "-o", folder.file("out.lng")});
    EXPECT_EQ(1, bad.status);
    EXPECT_EQ("This is no XLIFF document LCA__Path_s(" + path + ") LCA__Line_d_Column_d(1,4)\n", bad.err);
    const ToolResult missing = runWithoutTexts({"lng", "keys", folder.file("missing.xlf")});
    EXPECT_EQ(2, missing.status);
    EXPECT_EQ(0U, missing.err.find("LCA__Cannot_open_file LCA__Path_s(" + folder.file("missing.xlf") +
                                   ") LCA__System_diagnostic_s("))
        << missing.err;
}

// The loader believes a table of starts, so a damaged one must not come to it.
TEST_F(ToolTexts, DamagedDictionaryIsRefused) {
    std::string bytes = keyDictionary("[", "]");
    bytes[28 + 4 * 31 + 3] = 0x7F;  // the start of LCA__Too_short_file
    const std::string dictionary = folder.write("velmora.bad.lng", bytes);
    const std::string path = folder.write("short.xml", "<");
    const ToolResult result = run({"--lang", "bad", "check", path});
    EXPECT_EQ(2, result.status);
    EXPECT_EQ("The texts of " + dictionary + " are damaged; try 'velmora lng check'\n", result.err);
}

TEST_F(ToolOutput, FullDeviceIsAFailure) {
    if (!std::ofstream("/dev/full")) GTEST_SKIP() << "there is no /dev/full";
    std::string large = "<r>";
    for (int i = 0; i < 20000; ++i) large += "<item number=\"" + std::to_string(i) + "\"/>";
    const std::string lessThanABuffer = folder.write("small.xml", "<a/>");
    const std::string moreThanABuffer = folder.write("large.xml", large + "</r>");
    for (const std::string& path : {lessThanABuffer, moreThanABuffer}) {
        const ToolResult result = startTool(folder, {"--lang-dir", folder.path(), "walk", path}, "/dev/full");
        EXPECT_EQ(2, result.status);
        EXPECT_EQ(0U, result.err.find("velmora: cannot write to standard output: ")) << result.err;
    }
}

// Every command reports that the disk has not taken its output.
TEST_F(ToolOutput, FullDeviceIsAFailureOfEveryCommand) {
    if (!std::ofstream("/dev/full")) GTEST_SKIP() << "there is no /dev/full";
    const std::string document = folder.write("a.xml", "<a b=\"1\"/>");
    const std::string dictionary = folder.file("velmora.eng.lng");
    const std::string xliff =
        folder.write("a.xlf", "<xliff><file><trans-unit id=\"A\"><source>a</source></trans-unit></file></xliff>");
    const std::string log = folder.write("log", "line\n");
    const std::vector<std::vector<std::string>> commands = {
        {"--help"},
        {"--version"},
        {"help", "--man"},
        {"help", "--bash"},
        {"check", document},
        {"convert", document, "--to", "json"},
        {"lng", "check", dictionary},
        {"lng", "compile", xliff, "-o", folder.file("out.lng")},
        {"lng", "dump", dictionary},
        {"lng", "dump", dictionary, "--xliff"},
        {"lng", "keys"},
        {"lng", "keys", xliff},
        {"ls", folder.path()},
        {"ls", folder.path(), "--json"},
        {"tail", log, "--once"},
        {"tail", log},
        {"walk", document},
    };
    for (std::vector<std::string> words : commands) {
        SCOPED_TRACE(words[0] + ' ' + (words.size() > 1 ? words[1] : ""));
        words.insert(words.begin(), {"--lang-dir", folder.path()});
        const ToolResult result = startTool(folder, words, "/dev/full");
        EXPECT_EQ(2, result.status);
        EXPECT_EQ(0U, result.err.find("velmora: cannot write to standard output: ")) << result.err;
    }
    for (const std::vector<std::string>& words : {std::vector<std::string>{"convert", document, "--to", "json"},
                                                  std::vector<std::string>{"lng", "compile", xliff}}) {
        std::vector<std::string> line = words;
        line.insert(line.end(), {"-o", "/dev/full"});
        const ToolResult result = run(line);
        EXPECT_EQ(2, result.status);
        EXPECT_EQ(0U, result.err.find("[LCA__")) << result.err;
    }
}

TEST_F(ToolOutput, LinesEndInALineFeedAlone) {
    const std::string path = folder.write("document.xml", "<a><b></a>");
    EXPECT_EQ(std::string::npos, run({"--help"}).out.find('\r'));
    const ToolResult result = run({"walk", path});
    EXPECT_EQ("a 1\n  b 2\n", result.out);
    EXPECT_EQ(std::string::npos, result.err.find('\r'));
}

}  // namespace
