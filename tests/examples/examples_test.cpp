// The example programs do what they say, and README.md shows one of them as it is.
#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "tests/support/child_process.h"
#include "tests/support/temp_folder.h"
#include "tests/support/walk_dump.h"

namespace {

using support::ChildProcess;

std::string native(std::string path) {
#ifdef _WIN32
    if (path[0] == '/') path.insert(0, "Z:");
#endif
    return path;
}

ChildProcess start(const std::string& example, std::vector<std::string> words) {
    words.insert(words.begin(), VELMORA_PROGRAMS + example + VELMORA_PROGRAM_SUFFIX);
    return ChildProcess(words);
}

// All lines that a program prints, and its exit status.
std::vector<std::string> linesOf(ChildProcess& program, int& status) {
    std::vector<std::string> lines;
    for (std::string line; !(line = program.receive()).empty();) lines.push_back(line);
    status = program.wait();
    return lines;
}

std::vector<std::string> run(const std::string& example, const std::vector<std::string>& words,
                             int expectedStatus = 0) {
    ChildProcess program = start(example, words);
    int status = -2;
    std::vector<std::string> lines = linesOf(program, status);
    EXPECT_EQ(expectedStatus, status);
    return lines;
}

std::string fileText(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    EXPECT_TRUE(in) << path;
    return std::string(std::istreambuf_iterator<char>(in), {});
}

std::string between(const std::string& text, const std::string& begin, const std::string& end) {
    const std::size_t from = text.find(begin);
    const std::size_t to = text.find(end, from + begin.size());
    if (from == std::string::npos || to == std::string::npos) return begin + " is not there";
    return text.substr(from + begin.size(), to - from - begin.size());
}

const std::string texts = native(VELMORA_TEST_LANG_DIR "/");

TEST(Examples, ReadmeShowsTheProgramAsItIs) {
    const std::string program = fileText(VELMORA_SOURCE_DIR "/examples/read_settings.cpp");
    const std::string readme = fileText(VELMORA_SOURCE_DIR "/README.md");
    EXPECT_EQ(between(program, "// [readme]\n", "// [/readme]"), between(readme, "```cpp\n", "```\n"));
}

TEST(Examples, ReadSettings) {
    const std::string data = native(VELMORA_EXAMPLES_DIR "/");
    const std::vector<std::string> lines = run("read_settings", {data + "settings.xml", texts});
    ASSERT_LE(2u, lines.size());
    EXPECT_EQ("language = eng", lines[0]);
    EXPECT_EQ("window.title = Notes & Tasks", lines[1]);
    run("read_settings", {data + "broken/truncated.xml", texts}, 1);
    run("read_settings", {data + "broken/utf16.xml", texts}, 1);
    run("read_settings", {data + "../../README.md", texts}, 1);
    run("read_settings", {data + "settings.xml"}, 2);
    run("read_settings", {data + "settings.xml", native(VELMORA_SOURCE_DIR "/")}, 2);
}

TEST(Examples, WriteRecords) {
    support::TempFolder folder;
    EXPECT_EQ(std::vector<std::string>(), run("write_records", {folder.path() + "/", texts}));
    const std::string rows =
        "\"Earth & Moon\",1,6371.000000,\"\",\"rocky\"\r\n"
        "\"Eris\",1,1163.000000,\"2005-01-05T00:00:00\",\"rocky ice\"\r\n";
    const std::string csv = folder.read("records.csv");
    EXPECT_EQ(rows, csv);
    EXPECT_NE(std::string::npos, folder.read("records.html").find("<tr><td>Earth &amp; Moon</td><td>1</td>"));
    // The three that can be read hold the same.
    const std::string xml = support::dumpWalk(folder.read("records.xml"));
    EXPECT_EQ(
        0u,
        xml.find("planets(count=2){ planet(name=Earth &amp; Moon,moons=1,radius=6371.000000,discovered=,kind=rocky) "
                 "planet(name=Eris,moons=1,"))
        << xml;
    const std::string json = support::dumpWalk(folder.read("records.json"));
    EXPECT_EQ(json, support::dumpWalk(folder.read("records.yaml")));
    EXPECT_NE(std::string::npos, json.find("planet(name=Eris,moons=1,")) << json;
    run("write_records", {folder.path() + "/missing/", texts}, 1);
    run("write_records", {folder.path() + "/"}, 2);
}

TEST(Examples, OwnMessages) {
    const std::vector<std::string> lines = run("own_messages", {texts});
    ASSERT_EQ(4u, lines.size());
    EXPECT_EQ("12 notes were saved in \"Letters\"", lines[0]);
    EXPECT_EQ(0u, lines[1].find("The notes are not there. The file could not be opened: no such folder/notes.txt ("))
        << lines[1];
    EXPECT_EQ("In \xE2\x80\x9ELetters\xE2\x80\x9C wurden 12 Notizen gespeichert", lines[2]);
    EXPECT_EQ(0u, lines[3].find("Die Notizen sind nicht da. Die Datei konnte nicht ge\xC3\xB6"
                                "ffnet werden: no such "))
        << lines[3];
    run("own_messages", {native(VELMORA_SOURCE_DIR "/")}, 1);
}

TEST(Examples, WatchLog) {
    support::TempFolder folder;
    const std::string path = folder.write("log", "10:00\tINFO\tstarted\n10:01\tWARN\tlow on paper\n10:0");
    ChildProcess program = start("watch_log", {path});
    EXPECT_EQ("WARN: low on paper", program.receive());
    {
        std::ofstream log(path, std::ios::binary | std::ios::app);
        log << "2\tERROR\tno paper\\\r\nat all\r\n";
    }
    EXPECT_EQ("ERROR: no paper", program.receive());
    EXPECT_EQ("at all", program.receive());
    {
        std::ofstream log(path, std::ios::binary | std::ios::app);
        log << "10:03\tSTOP\t\n";
    }
    EXPECT_EQ("", program.receive());
    EXPECT_EQ(0, program.wait());
    run("watch_log", {folder.file("missing")}, 1);
}

TEST(Examples, SingleInstance) {
    support::TempFolder folder;
    const std::string path = folder.path() + "/";
    {
        ChildProcess first = start("single_instance", {path});
        EXPECT_EQ("The last run ended properly.", first.receive());
        EXPECT_EQ("Working.", first.receive());
        EXPECT_EQ(std::vector<std::string>{"It is running already."}, run("single_instance", {path}, 1));
        first.send("crash");
        EXPECT_EQ(3, first.wait());
    }
    {
        ChildProcess second = start("single_instance", {path});
        EXPECT_EQ("The last run has crashed; its work can be restored.", second.receive());
        EXPECT_EQ("Working.", second.receive());
        second.send("");
        EXPECT_EQ(0, second.wait());
    }
    EXPECT_FALSE(folder.has("single_instance.lock"));
    ChildProcess third = start("single_instance", {path});
    EXPECT_EQ("The last run ended properly.", third.receive());
    third.closeInput();
    EXPECT_EQ("Working.", third.receive());
    EXPECT_EQ(0, third.wait());
}

}  // namespace
