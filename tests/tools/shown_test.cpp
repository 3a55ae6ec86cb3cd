// Text made fit for a line of output.
#include "tools/shown.h"

#include <gtest/gtest.h>

namespace {

TEST(ShownText, ControlBytesAreEscapedAndNothingElse) {
    EXPECT_EQ("", tool::shown(ChPair()));
    EXPECT_EQ("a \"b\" \\ \xC3\xA4\xFF", tool::shown("a \"b\" \\ \xC3\xA4\xFF"));
    EXPECT_EQ("\\n\\r\\t\\x00\\x1B\\x1F\\x7F ", tool::shown(std::string("\n\r\t\0\x1B\x1F\x7F ", 8)));
}

struct TerminalRow {
    int line;
    std::string text;
    std::string shown;
    std::string json;
};

const TerminalRow terminalRows[] = {
    {__LINE__, "", "", ""},
    {__LINE__, "a \xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80", "a \xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80",
     "a \xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80"},
    {__LINE__, "\"\\/", "\"\\/", "\\\"\\\\/"},
    {__LINE__, "\n\t\r\n", "\n\t\r\n", "\\n\\t\\r\\n"},
    {__LINE__, "\ra\r", "\\ra\\r", "\\ra\\r"},
    {__LINE__, std::string("\0\a\b\f\x1B\x1F", 6), "\\x00\\x07\\x08\\x0C\\x1B\\x1F",
     "\\u0000\\u0007\\b\\f\\u001B\\u001F"},
    {__LINE__, "~\x7F\xC2\x80\xC2\x9F\xC2\xA0", "~\\x7F\\xC2\\x80\\xC2\\x9F\xC2\xA0", "~\\u007F\\u0080\\u009F\xC2\xA0"},
    {__LINE__, "\x9B[1m\xFF", "\\x9B[1m\\xFF", "\xEF\xBF\xBD[1m\xEF\xBF\xBD"},
    // Cut short, overlong, a surrogate alone, too large.
    {__LINE__, "\xE2\x82", "\\xE2\\x82", "\xEF\xBF\xBD\xEF\xBF\xBD"},
    {__LINE__, "\xC1\x9B", "\\xC1\\x9B", "\xEF\xBF\xBD\xEF\xBF\xBD"},
    {__LINE__, "\xE0\x82\x9B", "\\xE0\\x82\\x9B", "\xEF\xBF\xBD\xEF\xBF\xBD\xEF\xBF\xBD"},
    {__LINE__, "\xED\xA0\x80x", "\\xED\\xA0\\x80x", "\xEF\xBF\xBD\xEF\xBF\xBD\xEF\xBF\xBDx"},
    {__LINE__, "\xED\xB8\x80\xED\xA0\xBD", "\\xED\\xB8\\x80\\xED\\xA0\\xBD",
     "\xEF\xBF\xBD\xEF\xBF\xBD\xEF\xBF\xBD\xEF\xBF\xBD\xEF\xBF\xBD\xEF\xBF\xBD"},
    {__LINE__, "\xF4\x90\x80\x80", "\\xF4\\x90\\x80\\x80", "\xEF\xBF\xBD\xEF\xBF\xBD\xEF\xBF\xBD\xEF\xBF\xBD"},
    // Two surrogates of one character.
    {__LINE__, "\xED\xA0\xBD\xED\xB8\x80!", "\xF0\x9F\x98\x80!", "\xF0\x9F\x98\x80!"},
    {__LINE__, "\xED\xA0\x80\xED\xB0\x80", "\xF0\x90\x80\x80", "\xF0\x90\x80\x80"},
    {__LINE__, "\xED\xAF\xBF\xED\xBF\xBF", "\xF4\x8F\xBF\xBF", "\xF4\x8F\xBF\xBF"},
    // Direction and line ends of Unicode.
    {__LINE__, "\xD8\x9C\xE2\x80\x8E\xE2\x80\x8F", "\\xD8\\x9C\\xE2\\x80\\x8E\\xE2\\x80\\x8F", "\\u061C\\u200E\\u200F"},
    {__LINE__, "\xE2\x80\xA8\xE2\x80\xAA\xE2\x80\xAE", "\\xE2\\x80\\xA8\\xE2\\x80\\xAA\\xE2\\x80\\xAE",
     "\\u2028\\u202A\\u202E"},
    {__LINE__, "\xE2\x81\xA6\xE2\x81\xA9\xE2\x81\xA5", "\\xE2\\x81\\xA6\\xE2\\x81\\xA9\xE2\x81\xA5",
     "\\u2066\\u2069\xE2\x81\xA5"},
};

TEST(TerminalText, HoldsNothingThatSpeaksToTheTerminal) {
    for (const TerminalRow& row : terminalRows) {
        SCOPED_TRACE("row at line " + std::to_string(row.line));
        EXPECT_EQ(row.shown, tool::shownOnTerminal(row.text));
        EXPECT_EQ(row.shown, tool::shownOnTerminal(tool::shownOnTerminal(row.text)));
    }
}

TEST(JsonText, IsUtf8WithoutControlCharacters) {
    for (const TerminalRow& row : terminalRows) {
        SCOPED_TRACE("row at line " + std::to_string(row.line));
        EXPECT_EQ(row.json, tool::jsonText(row.text));
        EXPECT_TRUE(tool::isPrintable(ChPair(tool::jsonText(row.text))));
    }
}

TEST(QuotedText, CanBeToldFromWhatIsShown) {
    EXPECT_EQ("\"\"", tool::quoted(ChPair()));
    EXPECT_EQ("\"a \\\"b\\\" \\\\ \xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80\"",
              tool::quoted("a \"b\" \\ \xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80"));
    EXPECT_EQ("\"\\n\\\\n\\x00\"", tool::quoted(std::string("\n\\n\0", 4)));
    EXPECT_EQ("\"\\xFF\\x80\\xC3A\\xE2\\x82\"", tool::quoted("\xFF\x80\xC3"
                                                             "A\xE2\x82"));
    EXPECT_EQ("\"\\xC2\\x9B\\xE2\\x80\\xAE\"", tool::quoted("\xC2\x9B\xE2\x80\xAE"));
}

TEST(CharacterLength, CountsWellFormedCharacters) {
    struct Row {
        int line;
        std::string bytes;
        std::size_t length;
    };
    const Row rows[] = {
        {__LINE__, "ab", 1},
        {__LINE__, std::string(1, '\0'), 1},
        {__LINE__, "\xC2\x80", 2},
        {__LINE__, "\xC1\xBF", 0},
        {__LINE__, "\xC3", 0},
        {__LINE__,
         "\xC3"
         "a",
         0},
        {__LINE__, "\xE2\x82\xAC", 3},
        {__LINE__, "\xE2\x82", 0},
        {__LINE__, "\xE2\x82z", 0},
        {__LINE__, "\xF4\x8F\xBF\xBF", 4},
        {__LINE__, "\xF0\x9F\x98", 0},
        {__LINE__, "\xF5\x80\x80\x80", 0},
        {__LINE__, "\xF4\x90\x80\x80", 0},
        {__LINE__, "\xF0\x8F\xBF\xBF", 0},
        {__LINE__, "\xF0\x90\x80\x80", 4},
        {__LINE__, "\xE0\x9F\xBF", 0},
        {__LINE__, "\xE0\xA0\x80", 3},
        {__LINE__, "\xED\x9F\xBF", 3},
        {__LINE__, "\xED\xA0\x80", 0},
        {__LINE__, "\xED\xBF\xBF", 0},
        {__LINE__, "\xEE\x80\x80", 3},
        {__LINE__, "\x80", 0},
        {__LINE__, "\xFF", 0},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE("row at line " + std::to_string(row.line));
        EXPECT_EQ(row.length, tool::characterLength(row.bytes.data(), row.bytes.data() + row.bytes.size()));
    }
}

}  // namespace
