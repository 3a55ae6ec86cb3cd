// velmora lng compile, dump, check and keys.
#include <filesystem>

#include "tests/support/message.h"
#include "tests/tools/tool_fixture.h"

namespace fs = std::filesystem;

namespace {

using ToolLngCheck = ToolTest;
using ToolLngCompile = ToolTest;
using ToolLngDump = ToolTest;
using ToolLngKeys = ToolTest;

// An XLIFF file around these units.
std::string xliff(const std::string& units, const std::string& attributes = "") {
    return "<?xml version=\"1.0\"?>\n<xliff><file original=\"m\"" + attributes + "><body>\n" + units +
           "</body></file></xliff>\n";
}

std::string unit(const std::string& id, const std::string& source) {
    return "<trans-unit id=\"" + id + "\"><source>" + source + "</source></trans-unit>\n";
}

std::string unit(const std::string& id, const std::string& source, const std::string& target) {
    return "<trans-unit id=\"" + id + "\"><source>" + source + "</source><target>" + target +
           "</target></trans-unit>\n";
}

std::string libraryXliff() {
    std::string units;
    for (int i = 0; i < kLibraryCount; ++i) units += unit(support::keyName(i), "text");
    return xliff(units, " product-version=\"0xB81A2C30\"");
}

const char* const kVersion = " product-version=\"0x00C0FFEE\"";

TEST_F(ToolLngCompile, WritesTheTextsInOrder) {
    const std::string in = folder.write("in.xlf", xliff(unit("A", "one", "eins &amp; zwei") + unit("B", "%d") +
                                                            unit("C", "", "") + unit("D", "unused", "\xC3\xA4"),
                                                        kVersion));
    const std::string out = folder.file("out.lng");
    const ToolResult result = run({"lng", "compile", in, "-o", out});
    EXPECT_EQ(0, result.status);
    EXPECT_EQ(out + ": 4 texts, stamp 0x00C0FFEE\n", result.out);
    EXPECT_EQ("", result.err);
    EXPECT_EQ(lngBytes(0x00C0FFEE, {"eins & zwei", "%d", "", "\xC3\xA4"}), folder.read("out.lng"));
    EXPECT_FALSE(folder.has("out.lng.tmp"));
}

#ifndef _WIN32
TEST_F(ToolLngCompile, DeviceIsNotReplaced) {
    const std::string in = folder.write("in.xlf", xliff(unit("A", "one"), kVersion));
    const std::string full = folder.file("full");
    std::filesystem::create_symlink("/dev/full", full);
    EXPECT_EQ(2, run({"lng", "compile", in, "-o", full}).status);
    EXPECT_TRUE(std::filesystem::is_character_file(full));
}
#endif

TEST_F(ToolLngCompile, NeedsNoDictionary) {
    const std::string in = folder.write("in.xlf", xliff(unit("A", "one"), kVersion));
    EXPECT_EQ(0, runWithoutTexts({"lng", "compile", in, "-o", folder.file("out.lng")}).status);
    EXPECT_EQ(lngBytes(0x00C0FFEE, {"one"}), folder.read("out.lng"));
}

TEST_F(ToolLngCompile, WithoutUnitsTheFileIsAHeader) {
    const std::string in = folder.write("in.xlf", xliff("", kVersion));
    EXPECT_EQ(0, run({"lng", "compile", in, "-o", folder.file("out.lng")}).status);
    EXPECT_EQ(lngBytes(0x00C0FFEE, {}), folder.read("out.lng"));
}

TEST_F(ToolLngCompile, StampComesFromOptionFileOrKeys) {
    struct Row {
        int line;
        const char* attributes;
        std::vector<std::string> options;
        const char* stamp;
    };
    // 0xEED5B360 is the CRC-32 of the six bytes of "A" and "123" with their terminators.
    const Row rows[] = {
        {__LINE__, kVersion, {}, "0x00C0FFEE"},
        {__LINE__, kVersion, {"--stamp", "0x1234abcd"}, "0x1234ABCD"},
        {__LINE__, kVersion, {"--stamp", "7"}, "0x00000007"},
        {__LINE__, "", {"--stamp=FFFFFFFF"}, "0xFFFFFFFF"},
        {__LINE__, "", {}, "0xEED5B360"},
        {__LINE__, " product-version=\"\"", {}, "0xEED5B360"},
        {__LINE__, " product-version=\"00C0FFEE\"", {}, "0xEED5B360"},
        {__LINE__, " product-version=\"0xC0FFEE\"", {}, "0xEED5B360"},
        {__LINE__, " product-version=\"0x00C0FFEG\"", {}, "0xEED5B360"},
        {__LINE__, " product-version=\"0x00C0FFEE1\"", {}, "0xEED5B360"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE("row at line " + std::to_string(row.line));
        const std::string in = folder.write("in.xlf", xliff(unit("A", "one") + unit("123", "two"), row.attributes));
        std::vector<std::string> words = {"lng", "compile", in, "-o", folder.file("out.lng")};
        words.insert(words.end(), row.options.begin(), row.options.end());
        const ToolResult result = run(words);
        EXPECT_EQ(folder.file("out.lng") + ": 2 texts, stamp " + row.stamp + "\n", result.out);
        const auto stamp = static_cast<std::uint32_t>(std::stoul(row.stamp, nullptr, 16));
        EXPECT_EQ(lngBytes(stamp, {"one", "two"}), folder.read("out.lng"));
    }
}

TEST_F(ToolLngCompile, BadUnitsAreToldAndNothingIsWritten) {
    struct Row {
        int line;
        std::string units;  // the first of them on line 3
        std::vector<std::string> problems;
    };
    const Row rows[] = {
        {__LINE__, "<trans-unit><source>a</source></trans-unit>", {"line 3: unit \"\": has no id"}},
        {__LINE__, unit("A", "a") + unit("A", "b"), {"line 4: unit \"A\": has the id of another unit"}},
        {__LINE__, "<trans-unit id=\"A\"><target>a</target></trans-unit>", {"line 3: unit \"A\": has no source"}},
        {__LINE__, "<trans-unit id=\"A\"/>", {"line 3: unit \"A\": has no source"}},
        {__LINE__, unit("A", "a", "\xC3"), {"line 3: unit \"A\": is not valid UTF-8"}},
        {__LINE__, unit("A", "\xF0\x9F\x98\x80"), {"line 3: unit \"A\": is not valid UTF-8"}},
        {__LINE__, unit("A", "a", std::string("b\0c", 3)), {"line 3: unit \"A\": holds a zero byte"}},
        {__LINE__, unit("A", "%d", "%5d"), {"line 3: unit \"A\": \"%5\" is no placeholder"}},
        {__LINE__, unit("A", "50%"), {"line 3: unit \"A\": in the source: \"%\" is no placeholder"}},
        {__LINE__,
         unit("A", "%s %d", "%d %s"),
         {"line 3: unit \"A\": placeholders are %d %s, those of the source are %s %d"}},
        {__LINE__, unit("A", "none", "%s"), {"line 3: unit \"A\": placeholders are %s, those of the source are none"}},
        {__LINE__,
         unit("A", "%{1} %{2}", "%{2}"),
         {"line 3: unit \"A\": placeholders are %{2}, those of the source are %{1} %{2}"}},
        {__LINE__,
         unit("A", "a", "%x") + unit("B", "b") + unit("", "c", "\xFF"),
         {"line 3: unit \"A\": placeholders are %x, those of the source are none", "line 5: unit \"\": has no id",
          "line 5: unit \"\": is not valid UTF-8"}},
    };
    folder.write("out.lng", "former");
    for (const Row& row : rows) {
        SCOPED_TRACE("row at line " + std::to_string(row.line));
        const std::string in = folder.write("in.xlf", xliff(row.units));
        const ToolResult result = run({"lng", "compile", in, "-o", folder.file("out.lng")});
        std::string expected;
        for (const std::string& problem : row.problems) expected += in + ": " + problem + '\n';
        EXPECT_EQ(1, result.status);
        EXPECT_EQ("", result.out);
        EXPECT_EQ(expected, result.err);
        EXPECT_EQ("former", folder.read("out.lng"));
        EXPECT_FALSE(folder.has("out.lng.tmp"));
    }
}

TEST_F(ToolLngCompile, NumberedPlaceholdersMayChangeTheirOrder) {
    const std::string in = folder.write("in.xlf", xliff(unit("A", "%{1} to %{2}", "%{2} %{1} %{1}"), kVersion));
    EXPECT_EQ(0, run({"lng", "compile", in, "-o", folder.file("out.lng")}).status);
    EXPECT_EQ(lngBytes(0x00C0FFEE, {"%{2} %{1} %{1}"}), folder.read("out.lng"));
}

TEST_F(ToolLngCompile, DocumentThatIsNoXliffIsRefused) {
    struct Row {
        int line;
        const char* document;
        const char* message;
        const char* place;
    };
    const Row rows[] = {
        {__LINE__, "<a/> ", "This is no XLIFF document", "1,5"},
        {__LINE__, "<!-- --> ", "This is no XLIFF document", "1,1"},
        {__LINE__, "<xliff></xliff>\n", "There is no <file> element", "1,1"},
        {__LINE__, "<xliff><file/>\n<file/></xliff>", "There is more than one <file> element", "2,8"},
        {__LINE__, "<xliff><file>\n<trans-unit id=\"&x;\"/></file></xliff>", "[LCA__Unsupported_escape_sequence]",
         "2,18"},
        {__LINE__, "<xliff><file>\n<trans-unit id=\"A\"><source>a<g/>b</source></trans-unit></file></xliff>",
         "[LCA__Pair_token_not_found]", "2,33"},
        {__LINE__, "<xliff><file>\n<trans-unit id=\"A\"><source>a\n", "[LCA__Pair_token_not_found]", "1,1"},
        {__LINE__, "<xliff><file>\n<trans-unit id=\"A\">\n", "[LCA__Closing_tag_not_found]", "2,20"},
        {__LINE__, "<xliff>\n<file>\n", "[LCA__Closing_tag_not_found]", "2,7"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE("row at line " + std::to_string(row.line));
        const std::string in = folder.write("in.xlf", row.document);
        const ToolResult result = run({"lng", "compile", in, "-o", folder.file("out.lng")});
        EXPECT_EQ(1, result.status);
        EXPECT_EQ(row.message + ("[LCA__Path_s(" + in) + ")][LCA__Line_d_Column_d(" + row.place + ")]\n", result.err);
        EXPECT_FALSE(folder.has("out.lng"));
    }
}

TEST_F(ToolLngCompile, UnitsMayStandInGroups) {
    const std::string in = folder.write(
        "in.xlf",
        xliff("<group><group>" + unit("A", "a") +
                  "</group><trans-unit id=\"B\"><source>b</source><alt-trans>"
                  "<source>x</source><target>y</target></alt-trans><target/><note>n</note></trans-unit></group>" +
                  unit("C", "c"),
              kVersion));
    EXPECT_EQ(0, run({"lng", "compile", in, "-o", folder.file("out.lng")}).status);
    EXPECT_EQ(lngBytes(0x00C0FFEE, {"a", "", "c"}), folder.read("out.lng"));
}

TEST_F(ToolLngCompile, LibraryKeysMustBeCompleteAndInOrder) {
    const std::string good = libraryXliff();
    const std::string out = folder.file("out.lng");
    const std::string in = folder.write("in.xlf", good);
    EXPECT_EQ(0, run({"lng", "compile", in, "-o", out, "--keys", "library"}).status);
    EXPECT_EQ(lngBytes(kLibraryStamp, std::vector<std::string>(kLibraryCount, "text")), folder.read("out.lng"));

    const std::string first = unit(support::keyName(0), "text");
    const std::string last = unit(support::keyName(kLibraryCount - 1), "text");
    std::string swapped = good;
    swapped.replace(swapped.find(first), first.size(), unit("LCA__Other", "text"));
    folder.write("in.xlf", swapped);
    const ToolResult other = run({"lng", "compile", in, "-o", out, "--keys", "library"});
    EXPECT_EQ(1, other.status);
    EXPECT_EQ(in + ": line 3: unit \"LCA__Other\": stands in the place of LCA__Bad_character\n", other.err);
    EXPECT_EQ(0, run({"lng", "compile", in, "-o", out}).status);

    std::string shorter = good;
    shorter.erase(shorter.find(last), last.size());
    folder.write("in.xlf", shorter);
    const ToolResult missing = run({"lng", "compile", in, "-o", out, "--keys", "library"});
    EXPECT_EQ(1, missing.status);
    EXPECT_EQ(in + ": there are 78 units, the library has 79 keys\n", missing.err);
}

TEST_F(ToolLngCompile, TargetThatCannotBeWrittenIsAFailure) {
    const std::string in = folder.write("in.xlf", xliff(unit("A", "a")));
    const std::string path = folder.file("nowhere/out.lng");
    const ToolResult noFolder = run({"lng", "compile", in, "-o", path});
    EXPECT_EQ(2, noFolder.status);
    EXPECT_EQ("", noFolder.out);
    EXPECT_EQ(0U, noFolder.err.find("[LCA__Cannot_open_file][LCA__Path_s(" + path + ".tmp)]")) << noFolder.err;
    fs::create_directory(folder.file("out.lng"));
    const ToolResult inTheWay = run({"lng", "compile", in, "-o", folder.file("out.lng")});
    EXPECT_EQ(2, inTheWay.status);
    EXPECT_EQ(0U, inTheWay.err.find("[LCA__Cannot_open_file]")) << inTheWay.err;
    EXPECT_EQ(2, run({"lng", "compile", folder.file("missing.xlf"), "-o", folder.file("x.lng")}).status);
}

TEST_F(ToolLngDump, ShowsHeaderAndTextsOneALine) {
    const std::string path =
        folder.write("m.lng", lngBytes(0x00C0FFEE, {"plain", "", "a\nb\t\"c\\\r\x01", "\xC3\xA4\xFF", "%d"}));
    const ToolResult result = run({"lng", "dump", path});
    EXPECT_EQ(0, result.status);
    EXPECT_EQ(
        "format version 1\nencoding 8\nbyte order little-endian\nstamp 0x00C0FFEE\ncount 5\ntext size 24\n"
        "0 \"plain\"\n1 \"\"\n2 \"a\\nb\\t\\\"c\\\\\\r\\x01\"\n3 \"\xC3\xA4\\xFF\"\n4 \"%d\"\n",
        result.out);
    EXPECT_EQ("", result.err);
}

TEST_F(ToolLngDump, KeysAreTheLibrarysOrThoseOfAnXliffFile) {
    const ToolResult library = run({"lng", "dump", folder.file("velmora.eng.lng")});
    EXPECT_EQ(0, library.status);
    EXPECT_NE(std::string::npos, library.out.find("\n0 LCA__Bad_character \"[LCA__Bad_character]\"\n")) << library.out;
    EXPECT_NE(std::string::npos, library.out.find("\n25 LCA__Path_s \"[LCA__Path_s(%s)]\"\n"));

    const std::string path = folder.write("m.lng", lngBytes(kLibraryStamp, {"eins", "zwei"}));
    EXPECT_NE(std::string::npos, run({"lng", "dump", path}).out.find("\n0 \"eins\"\n1 \"zwei\"\n"));
    const std::string keys = folder.write("m.xlf", xliff(unit("ONE", "one") + unit("TWO", "two")));
    EXPECT_NE(std::string::npos,
              run({"lng", "dump", path, "--keys", keys}).out.find("\n0 ONE \"eins\"\n1 TWO \"zwei\"\n"));

    const std::string fewer = folder.write("n.xlf", xliff(unit("ONE", "one")));
    const ToolResult other = run({"lng", "dump", path, "--keys", fewer});
    EXPECT_EQ(1, other.status);
    EXPECT_EQ("", other.out);
    EXPECT_EQ(fewer + ": there are 1 units for 2 texts\n", other.err);
}

TEST_F(ToolLngDump, XliffCompilesBackToTheSameBytes) {
    const std::vector<std::vector<std::string>> tables = {
        {},
        {""},
        {" leading", "trailing ", "\nlines\r\n\ttab\n", "<a href=\"x\">&amp;&lt;</a>", "'", "", "%s %d %%", "%{2}%{1}",
         "\xC3\xA4\xE2\x82\xAC", "\x7F"},
    };
    for (const std::vector<std::string>& texts : tables) {
        const std::string bytes = lngBytes(0x89ABCDEF, texts);
        const ToolResult dump = run({"lng", "dump", folder.write("m.ger.lng", bytes), "--xliff"});
        EXPECT_EQ(0, dump.status);
        EXPECT_EQ("", dump.err);
        const std::string in = folder.write("in.xlf", dump.out);
        EXPECT_EQ(0, run({"check", in}).status);
        EXPECT_EQ(0, run({"lng", "compile", in, "-o", folder.file("out.lng")}).status);
        EXPECT_EQ(bytes, folder.read("out.lng"));
    }
}

TEST_F(ToolLngDump, XliffIsRefusedForWhatXmlCannotHold) {
    const std::string rest = " cannot be held by XML, which has no control characters and nothing but UTF-8\n";
    const std::string path = folder.write("m.lng", lngBytes(1, {"a", "\x1B", "b\t\r\n\x7F", "\xFF", "\xED\xA0\x80"}));
    const ToolResult result = run({"lng", "dump", path, "--xliff"});
    EXPECT_EQ(1, result.status);
    EXPECT_EQ("", result.out);
    EXPECT_EQ(path + ": text 1" + rest + path + ": text 3" + rest + path + ": text 4" + rest, result.err);
    const std::string keyed = folder.write("k.lng", lngBytes(1, {"a", "b"}));
    const std::string keys = folder.write("k.xlf", xliff(unit("A\xFF", "one") + unit("B", "\x01")));
    const ToolResult named = run({"lng", "dump", keyed, "--xliff", "--keys", keys});
    EXPECT_EQ(1, named.status);
    EXPECT_EQ("", named.out);
    EXPECT_EQ(keyed + ": text 0 (A\\xFF)" + rest + keyed + ": text 1 (B)" + rest, named.err);
#ifndef _WIN32
    const std::string evil = folder.write("e\x1B\xFF.x\x9B.lng", lngBytes(1, {"a"}));
    const ToolResult file = run({"lng", "dump", evil, "--xliff"});
    EXPECT_EQ(0, file.status);
    EXPECT_NE(std::string::npos, file.out.find(" original=\"e\\x1B\\xFF\"")) << file.out;
    EXPECT_NE(std::string::npos, file.out.find(" target-language=\"x\\x9B\"")) << file.out;
#endif
}

TEST_F(ToolLngDump, XliffNamesFileAndUnits) {
    const std::string path = folder.write("m.ger.lng", lngBytes(0x00C0FFEE, {"eins & zwei"}));
    const std::string keys =
        folder.write("k.xlf", xliff(unit("A&amp;B", "one &lt; two", "unused"), " source-language=\"fr\""));
    const std::string start =
        "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
        "<xliff version=\"1.2\" xmlns=\"urn:oasis:names:tc:xliff:document:1.2\">\n"
        "  <file original=\"m\" source-language=\"";
    const std::string file =
        "\" target-language=\"ger\" datatype=\"plaintext\" product-version=\"0x00C0FFEE\" xml:space=\"preserve\">\n"
        "    <body>\n      <trans-unit id=\"";
    const std::string end =
        "        <target>eins &amp; zwei</target>\n      </trans-unit>\n    </body>\n  </file>\n</xliff>\n";
    EXPECT_EQ(start + "en" + file + "0\">\n        <source>eins &amp; zwei</source>\n" + end,
              run({"lng", "dump", path, "--xliff"}).out);
    EXPECT_EQ(start + "fr" + file + "A&amp;B\">\n        <source>one &lt; two</source>\n" + end,
              run({"lng", "dump", path, "--xliff", "--keys", keys}).out);
}

TEST_F(ToolLngDump, DamagedFileIsRefused) {
    std::string bytes = lngBytes(1, {"one", "two"});
    bytes[32] = 100;
    const std::string path = folder.write("m.lng", bytes);
    const ToolResult lines = run({"lng", "dump", path});
    EXPECT_EQ(1, lines.status);
    EXPECT_NE(std::string::npos, lines.out.find("text size 8\n0 \"one\"\n"));
    EXPECT_EQ(path + ": text 1 cannot be read\n", lines.err);
    const ToolResult xliffForm = run({"lng", "dump", path, "--xliff"});
    EXPECT_EQ(1, xliffForm.status);
    EXPECT_EQ("", xliffForm.out);
    EXPECT_EQ(path + ": text 1 cannot be read\n", xliffForm.err);
    const std::string empty = folder.write("empty.lng", "");
    const ToolResult none = run({"lng", "dump", empty});
    EXPECT_EQ(1, none.status);
    EXPECT_EQ("", none.out);
    EXPECT_EQ(empty + ": the file ends within its header\n", none.err);
    EXPECT_EQ(2, run({"lng", "dump", folder.path()}).status);
}

// Replaces one byte.
struct Change {
    std::size_t at;
    int byte;
};

struct DamageRow {
    int line;
    std::vector<Change> changes;
    std::size_t size;  // bytes that are kept; 0 for all
    std::vector<std::string> problems;
};

// Changes to the file of "one", "%d" and "drei": the table at 28, the texts at 40, 52 bytes in all.
const DamageRow damageRows[] = {
    {__LINE__, {{0, 1}}, 0, {"the first word is 1, not 0"}},
    {__LINE__, {{4, 'X'}}, 0, {"the mark of a .lng file is missing"}},
    {__LINE__, {{8, 2}}, 0, {"the format version is 2, not 1"}},
    {__LINE__, {{12, 16}}, 0, {"the encoding is 16, not 8"}},
    {__LINE__, {{16, 7}}, 0, {"the stamp is 0x00C0FF07, not 0x00C0FFEE"}},
    {__LINE__,
     {{0, 1}, {8, 2}, {12, 3}, {16, 7}},
     0,
     {"the first word is 1, not 0", "the format version is 2, not 1", "the encoding is 3, not 8",
      "the stamp is 0x00C0FF07, not 0x00C0FFEE"}},
    {__LINE__, {{23, 0x80}}, 0, {"the count is negative: -2147483645"}},
    {__LINE__, {{23, 0x7F}}, 0, {"the file ends within the table of starts"}},
    {__LINE__, {}, 50, {"the file ends within the texts"}},
    {__LINE__, {{24, 0}}, 0, {"the size of the texts is 0"}},
    {__LINE__, {{27, 0xFF}}, 0, {"the size of the texts is -16777204"}},
    {__LINE__, {{24, 13}}, 0, {"the file ends within the texts"}},
    {__LINE__, {}, 3, {"the file ends within its header"}},
    {__LINE__, {}, 7, {"the file ends within its header"}},
    {__LINE__, {}, 23, {"the file ends within its header"}},
    {__LINE__, {}, 27, {"the file ends within its header"}},
    {__LINE__, {}, 39, {"the file ends within the table of starts"}},
    {__LINE__, {}, 51, {"the file ends within the texts"}},
    {__LINE__,
     {{28, 12}},
     0,
     {"text 0 (ONE): starts outside the texts, at 12", "note: 4 bytes among the texts belong to none"}},
    {__LINE__,
     {{35, 0xFF}},
     0,
     {"text 1 (TWO): starts outside the texts, at -16777212", "note: 3 bytes among the texts belong to none"}},
    {__LINE__, {{51, '!'}}, 0, {"text 2 (THREE): has no terminator", "note: 5 bytes among the texts belong to none"}},
    {__LINE__, {{40, 0xFF}}, 0, {"text 0 (ONE): is not valid UTF-8"}},
    {__LINE__, {{42, 0xC3}}, 0, {"text 0 (ONE): is not valid UTF-8"}},
    {__LINE__,
     {{47, 0xC3}, {48, 0xA4}, {36, 8}},
     0,
     {"text 2 (THREE): is not valid UTF-8", "note: 1 bytes among the texts belong to none"}},
    {__LINE__, {{45, 's'}}, 0, {"text 1 (TWO): placeholders are %s, those of the source are %d"}},
    {__LINE__, {{45, '5'}}, 0, {"text 1 (TWO): \"%5\" is no placeholder"}},
    {__LINE__,
     {{44, 'x'}, {47, '%'}},
     0,
     {"text 1 (TWO): placeholders are none, those of the source are %d", "text 2 (THREE): \"%r\" is no placeholder"}},
};

TEST_F(ToolLngCheck, TellsAllThatIsWrong) {
    const std::string good = lngBytes(0x00C0FFEE, {"one", "%d", "drei"});
    ASSERT_EQ(52U, good.size());
    const std::string reference =
        folder.write("r.xlf", xliff(unit("ONE", "one") + unit("TWO", "%d") + unit("THREE", "three", "%bad"), kVersion));
    const std::string path = folder.write("m.lng", good);
    const ToolResult fine = run({"lng", "check", path, "--reference", reference});
    EXPECT_EQ(0, fine.status);
    EXPECT_EQ(path + ": ok\n", fine.out);
    EXPECT_EQ("", fine.err);
    for (const DamageRow& row : damageRows) {
        SCOPED_TRACE("row at line " + std::to_string(row.line));
        std::string bytes = good;
        for (const Change& change : row.changes) bytes[change.at] = static_cast<char>(change.byte);
        if (row.size != 0) bytes.resize(row.size);
        folder.write("m.lng", bytes);
        const ToolResult result = run({"lng", "check", path, "--reference", reference});
        std::string expected;
        for (const std::string& problem : row.problems) expected += path + ": " + problem + '\n';
        EXPECT_EQ(1, result.status);
        EXPECT_EQ("", result.out);
        EXPECT_EQ(expected, result.err);
    }
}

TEST_F(ToolLngCheck, BytesThatBelongToNoTextAreNoted) {
    const std::string path = folder.write("m.lng", lngBytes(kLibraryStamp, {"one", "unused", "three"}) + "tail");
    const std::string reference = folder.write("r.lng", lngBytes(kLibraryStamp, {"", "", ""}));
    std::string bytes = folder.read("m.lng");
    bytes[32] = 0;  // text 1 shares the bytes of text 0
    folder.write("m.lng", bytes);
    const ToolResult result = run({"lng", "check", path, "--reference", reference});
    EXPECT_EQ(0, result.status);
    EXPECT_EQ(path + ": ok\n", result.out);
    EXPECT_EQ(path + ": note: 4 bytes behind the texts\n" + path + ": note: 7 bytes among the texts belong to none\n",
              result.err);
}

TEST_F(ToolLngCheck, BigEndianFilesAreGood) {
    // Written out: zero word, mark, version, encoding, stamp, count, text size, starts, texts.
    const std::string bytes("\0\0\0\0RLCL\0\0\0\1\0\0\0\x08\x12\x34\x56\x78\0\0\0\2\0\0\0\6\0\0\0\3\0\0\0\0on\0tw\0",
                            42);
    const std::string path = folder.write("m.lng", bytes);
    const ToolResult result = run({"lng", "check", path, "--stamp", "12345678", "--count", "2"});
    EXPECT_EQ(0, result.status);
    EXPECT_EQ(path + ": ok\n", result.out);
    EXPECT_NE(std::string::npos,
              run({"lng", "dump", path})
                  .out.find("byte order big-endian\nstamp 0x12345678\ncount 2\ntext size 6\n0 \"tw\"\n1 \"on\"\n"));
}

TEST_F(ToolLngCheck, WithoutAReferencePlaceholdersAreOnlyRead) {
    const std::string path = folder.write("m.lng", lngBytes(1, {"%d", "%5"}));
    const ToolResult result = run({"lng", "check", path});
    EXPECT_EQ(1, result.status);
    EXPECT_EQ(path + ": note: placeholders are not compared, as there is no reference\n" + path +
                  ": text 1: \"%5\" is no placeholder\n",
              result.err);
}

TEST_F(ToolLngCheck, OptionsSayWhatIsExpected) {
    const std::string path = folder.write("m.lng", lngBytes(0x12, {"one"}));
    EXPECT_EQ(0, run({"lng", "check", path, "--stamp", "0x12", "--count", "1"}).status);
    const ToolResult result = run({"lng", "check", path, "--stamp", "13", "--count", "2"});
    EXPECT_EQ(1, result.status);
    EXPECT_EQ("", result.out);
    EXPECT_EQ(path + ": the stamp is 0x00000012, not 0x00000013\n" + path + ": the count is 1, not 2\n" + path +
                  ": note: placeholders are not compared, as there is no reference\n",
              result.err);
    const std::string empty = folder.write("empty.lng", lngBytes(0x12, {}));
    EXPECT_EQ(0, run({"lng", "check", empty, "--count", "0"}).status);
}

TEST_F(ToolLngCheck, ReferenceGivesStampCountAndPlaceholders) {
    const std::string reference = folder.write("r.lng", lngBytes(0x12, {"%d", "two"}));
    const std::string path = folder.write("m.lng", lngBytes(0x12, {"%u", "zwei"}));
    EXPECT_EQ(path + ": text 0: placeholders are %u, those of the source are %d\n",
              run({"lng", "check", path, "--reference", reference}).err);
    folder.write("m.lng", lngBytes(0x13, {"%u"}));
    EXPECT_EQ(path + ": the stamp is 0x00000013, not 0x00000012\n" + path + ": the count is 1, not 2\n",
              run({"lng", "check", path, "--reference", reference}).err);
    EXPECT_EQ(path + ": ok\n",
              run({"lng", "check", path, "--reference", reference, "--stamp", "13", "--count", "1"}).out);
}

TEST_F(ToolLngCheck, BadReferenceIsTold) {
    const std::string path = folder.write("m.lng", lngBytes(0x12, {"one"}));
    const std::string reference = folder.write("r.lng", "none");
    const ToolResult result = run({"lng", "check", path, "--reference", reference});
    EXPECT_EQ(1, result.status);
    EXPECT_EQ("", result.out);
    EXPECT_EQ(reference + ": the file ends within its header\n" + reference + ": is no use as a reference\n",
              result.err);
    EXPECT_EQ(2, run({"lng", "check", path, "--reference", folder.file("missing.lng")}).status);
    EXPECT_EQ(2, run({"lng", "check", path, "--reference", folder.file("missing.xlf")}).status);
    EXPECT_EQ(2, run({"lng", "check", folder.file("missing.lng")}).status);
    EXPECT_EQ(2, run({"lng", "check", folder.path()}).status);
}

TEST_F(ToolLngCheck, LibrarysFilesAreComparedWithTheEnglishOnes) {
    std::vector<std::string> texts(kLibraryCount, "text");
    const std::string path = folder.write("velmora.xyz.lng", lngBytes(kLibraryStamp, texts));
    const ToolResult result = run({"lng", "check", path});
    EXPECT_EQ(1, result.status);
    EXPECT_NE(std::string::npos, result.err.find(path + ": text 25 (LCA__Path_s): placeholders are none, those of the "
                                                        "source are %s\n"))
        << result.err;
    EXPECT_EQ(path + ": ok\n", run({"lng", "check", folder.write("velmora.xyz.lng", keyDictionary("<", ">"))}).out);
    texts.pop_back();
    folder.write("velmora.xyz.lng", lngBytes(kLibraryStamp, texts));
    EXPECT_EQ(path + ": the count is 78, not 79\n", run({"lng", "check", path}).err);
}

TEST_F(ToolLngKeys, ListsTheLibrarys) {
    std::string expected;
    for (int i = 0; i < kLibraryCount; ++i) expected += std::to_string(i) + ' ' + support::keyName(i) + '\n';
    const ToolResult result = runWithoutTexts({"lng", "keys"});
    EXPECT_EQ(0, result.status);
    EXPECT_EQ(expected, result.out);
    EXPECT_EQ("", result.err);
}

TEST_F(ToolLngKeys, ListsThoseOfAnXliffFile) {
    const std::string in = folder.write("in.xlf", xliff(unit("B", "b") + unit("A&lt;", "a")));
    const ToolResult result = runWithoutTexts({"lng", "keys", in});
    EXPECT_EQ(0, result.status);
    EXPECT_EQ("0 B\n1 A<\n", result.out);
    EXPECT_EQ(1, runWithoutTexts({"lng", "keys", folder.write("bad.xlf", "<a>")}).status);
    EXPECT_EQ(2, runWithoutTexts({"lng", "keys", folder.file("missing.xlf")}).status);
}

TEST_F(ToolLngCheck, ExampleMessagesCompileAndAgree) {
    const std::string in = VELMORA_EXAMPLES_DIR "/messages.xlf";
    const std::string out = folder.file("notes.ger.lng");
    EXPECT_EQ(0, run({"lng", "compile", in, "-o", out}).status);
    const ToolResult result = run({"lng", "check", out, "--reference", in});
    EXPECT_EQ(0, result.status);
    EXPECT_EQ(out + ": ok\n", result.out);
    EXPECT_EQ("", result.err);
}

}  // namespace
