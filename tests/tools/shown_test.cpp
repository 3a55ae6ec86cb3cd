// Text made fit for a line of output.
#include "tools/shown.h"

#include <gtest/gtest.h>

namespace {

TEST(ShownText, ControlBytesAreEscapedAndNothingElse) {
    EXPECT_EQ("", tool::shown(ChPair()));
    EXPECT_EQ("a \"b\" \\ \xC3\xA4\xFF", tool::shown("a \"b\" \\ \xC3\xA4\xFF"));
    EXPECT_EQ("\\n\\r\\t\\x00\\x1B\\x1F\\x7F ", tool::shown(std::string("\n\r\t\0\x1B\x1F\x7F ", 8)));
}

TEST(QuotedText, CanBeToldFromWhatIsShown) {
    EXPECT_EQ("\"\"", tool::quoted(ChPair()));
    EXPECT_EQ("\"a \\\"b\\\" \\\\ \xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80\"",
              tool::quoted("a \"b\" \\ \xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80"));
    EXPECT_EQ("\"\\n\\\\n\\x00\"", tool::quoted(std::string("\n\\n\0", 4)));
    EXPECT_EQ("\"\\xFF\\x80\\xC3A\\xE2\\x82\"", tool::quoted("\xFF\x80\xC3"
                                                             "A\xE2\x82"));
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
        {__LINE__, "\x80", 0},
        {__LINE__, "\xFF", 0},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE("row at line " + std::to_string(row.line));
        EXPECT_EQ(row.length, tool::characterLength(row.bytes.data(), row.bytes.data() + row.bytes.size()));
    }
}

}  // namespace
