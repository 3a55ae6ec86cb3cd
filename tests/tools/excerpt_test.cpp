// Source lines with a mark.
#include "tools/excerpt.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "tests/support/guard_page.h"

namespace {

struct ExcerptRow {
    int line;
    std::string text;
    std::size_t offset;
    std::string lines;
};

const std::string kReplacement = "\xEF\xBF\xBD";

const ExcerptRow rows[] = {
    {__LINE__, "", 0, ""},
    {__LINE__, "a", 0, "a\n^\n"},
    {__LINE__, "abc", 1, "abc\n ^\n"},
    {__LINE__, "abc", 3, "abc\n  ^\n"},
    {__LINE__, "abc", 1000, "abc\n  ^\n"},
    {__LINE__, "one\ntwo\nthree", 5, "two\n ^\n"},
    {__LINE__, "one\r\ntwo\r\nthree", 5, "two\n^\n"},
    {__LINE__, "one\r\ntwo", 3, "one\n   ^\n"},
    {__LINE__, "one\r\ntwo", 4, "one\n   ^\n"},
    {__LINE__, "one\ntwo", 3, "one\n   ^\n"},
    {__LINE__, "one\n\ntwo", 4, "\n^\n"},
    {__LINE__, "\n", 0, "\n^\n"},
    {__LINE__, "a\tb\tc", 4, "a\tb\tc\n \t \t^\n"},
    {__LINE__, "a\tb", 1, "a\tb\n ^\n"},
    {__LINE__, "\xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80x", 9, "\xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80x\n    ^\n"},
    {__LINE__, "\xE6\x97\xA5\xE6\x9C\xAC<", 6, "\xE6\x97\xA5\xE6\x9C\xAC<\n    ^\n"},
    {__LINE__, "e\xCC\x81x", 3, "e\xCC\x81x\n ^\n"},
    {__LINE__, "\xE2\x80\xAEx", 3, kReplacement + "x\n ^\n"},
    {__LINE__, "\xED\xA0\x80x", 3, kReplacement + kReplacement + kReplacement + "x\n   ^\n"},
    {__LINE__, "\xC3\xA4\xE2\x82\xACx", 3, "\xC3\xA4\xE2\x82\xACx\n ^\n"},
    {__LINE__, "\xC3\xA4\xE2\x82\xACx", 4, "\xC3\xA4\xE2\x82\xACx\n ^\n"},
    {__LINE__, "\xEF\xBB\xBF<a", 3, "<a\n^\n"},
    {__LINE__, "\xEF\xBB\xBF<a", 1, "<a\n^\n"},
    {__LINE__, std::string("a\0b\x1B[1m\x7F", 8), 2,
     "a" + kReplacement + "b" + kReplacement + "[1m" + kReplacement + "\n  ^\n"},
    {__LINE__, "\xC2\x9B\xC2\xA0x", 4, kReplacement + "\xC2\xA0x\n  ^\n"},
    {__LINE__, "\xFF\x80\xC3x", 3, kReplacement + kReplacement + kReplacement + "x\n   ^\n"},
    {__LINE__, "x\xE2\x82", 2, "x" + kReplacement + kReplacement + "\n  ^\n"},
};

TEST(Excerpt, ShowsTheLineAndThePlace) {
    for (const ExcerptRow& row : rows) {
        SCOPED_TRACE("row at line " + std::to_string(row.line));
        EXPECT_EQ(row.lines, tool::excerpt(row.text, row.offset));
    }
}

// However long a line is, no more of it is looked at than is shown.
TEST(Excerpt, LineWithoutAnEndIsCut) {
    const std::string text(10000, 'x');
    const std::string lines = tool::excerpt(text, 5000);
    EXPECT_EQ("..." + std::string(76, 'x') + "...\n" + std::string(51, ' ') + "^\n", lines);
    std::string wide;
    while (wide.size() < 10000) wide += "\xE2\x82\xAC";
    EXPECT_EQ(0u, tool::excerpt(wide, 5000).find("...\xE2\x82\xAC"));
}

TEST(Excerpt, LongLinesAreCutAroundThePlace) {
    const std::string line = std::string(1000, 'a') + 'X' + std::string(1000, 'b');
    EXPECT_EQ("..." + std::string(48, 'a') + "X" + std::string(27, 'b') + "...\n" + std::string(51, ' ') + "^\n",
              tool::excerpt(line, 1000));
    EXPECT_EQ(std::string(76, 'a') + "...\n^\n", tool::excerpt(line, 0));
    EXPECT_EQ("..." + std::string(49, 'b') + "\n" + std::string(51, ' ') + "^\n", tool::excerpt(line, 2000));
    EXPECT_EQ(std::string(76, 'c') + "\n" + std::string(48, ' ') + "^\n", tool::excerpt(std::string(76, 'c'), 48));
    // Of characters that take two columns there are half as many.
    std::string han, half;
    while (han.size() < 3000) han += "\xE6\x97\xA5";
    while (half.size() < 38 * 3) half += "\xE6\x97\xA5";
    EXPECT_EQ("..." + half + "...\n" + std::string(51, ' ') + "^\n", tool::excerpt(han, 1500));
    std::string wide;
    for (int i = 0; i < 1000; ++i) wide += "\xE2\x82\xAC";
    std::string shown;
    for (int i = 0; i < 76; ++i) shown += "\xE2\x82\xAC";
    EXPECT_EQ("..." + shown + "...\n" + std::string(51, ' ') + "^\n", tool::excerpt(wide, 1500));
}

std::string utf8(char32_t code) {
    std::string out;
    if (code < 0x80) return std::string(1, static_cast<char>(code));
    int shift = code < 0x800 ? 6 : code < 0x10000 ? 12 : 18;
    out += static_cast<char>((code < 0x800 ? 0xC0 : code < 0x10000 ? 0xE0 : 0xF0) | code >> shift);
    while ((shift -= 6) >= 0) out += static_cast<char>(0x80 | (code >> shift & 0x3F));
    return out;
}

// The first and the last of each range of characters, and those beside them.
TEST(Excerpt, MarkCountsColumns) {
    const struct {
        std::size_t columns;
        std::vector<char32_t> codes;
    } widths[] = {
        {0, {0x300,  0x36F,  0x483,  0x489,  0x591,  0x5BD,  0x610,  0x61A,  0x64B,  0x65F, 0x200B,
             0x200D, 0x20D0, 0x20F0, 0x3099, 0x309A, 0xFE00, 0xFE0F, 0xFE20, 0xFE2F, 0xFEFF}},
        {1, {'a',    0x2FF,   0x370,   0x482,   0x48A,   0x590,   0x5BE,   0x60F,   0x64A,  0x660,  0x200A,
             0x20CF, 0x20F1,  0xFDFF,  0xFE10,  0xFE1F,  0xFEFE,  0xFF00,  0x10FF,  0x1160, 0x2E7F, 0x303F,
             0x3040, 0xA4D0,  0xA95F,  0xA97D,  0xABFF,  0xD7A4,  0xF8FF,  0xFB00,  0xFE6C, 0xFF61, 0xFFDF,
             0xFFE7, 0x1AFFF, 0x1B300, 0x1F2FF, 0x1F650, 0x1F67F, 0x1F700, 0x1F8FF, 0x1FA00}},
        {2, {0x1100,  0x115F,  0x2E80,  0x303E,  0x3041,  0x3098,  0x309B,  0xA4CF,  0xA960,  0xA97C,
             0xAC00,  0xD7A3,  0xF900,  0xFAFF,  0xFE30,  0xFE6B,  0xFF01,  0xFF60,  0xFFE0,  0xFFE6,
             0x1B000, 0x1B2FF, 0x1F300, 0x1F64F, 0x1F680, 0x1F6FF, 0x1F900, 0x1F9FF, 0x20000, 0x3FFFD}},
    };
    for (const auto& width : widths) {
        for (char32_t code : width.codes) {
            const std::string text = "<" + utf8(code) + "x>\n";
            const std::string lines = tool::excerpt(text, text.find('x'));
            EXPECT_EQ("<" + utf8(code) + "x>\n" + std::string(1 + width.columns, ' ') + "^\n", lines)
                << static_cast<unsigned>(code);
        }
    }
}

// Only the mark of UTF-8 takes no place at the begin of a document.
TEST(Excerpt, CharacterThatBeginsLikeTheMarkIsShown) {
    EXPECT_EQ("x\n^\n", tool::excerpt("\xEF\xBB\xBFx\n", 3));
    EXPECT_EQ("\xEF\xBB\x80x\n ^\n", tool::excerpt("\xEF\xBB\x80x\n", 3));
}

// A stray byte has its own column, also after a character that could have taken it.
TEST(Excerpt, StrayByteIsNoPartOfTheCharacterInFront) {
    const std::string lines = tool::excerpt("\xC3\xA9\x80x\n", 2);
    EXPECT_EQ(" ^\n", lines.substr(lines.find('\n') + 1));
}

// Two lines, and the mark at the column of the place, whatever the bytes are; none outside of them is read.
TEST(Excerpt, AnyBytesWillDo) {
    unsigned seed = 1;
    const unsigned char alphabet[] = {0, 9, 10, 13, 27, 'a', 0x7F, 0x80, 0x9B, 0xC2, 0xC3, 0xE2, 0xEF, 0xF0, 0xFF};
    for (int round = 0; round < 300; ++round) {
        std::string bytes;
        for (unsigned i = 0; i < 1 + seed % 130; ++i) {
            seed = seed * 1103515245 + 12345;
            bytes += static_cast<char>(alphabet[(seed >> 16) % sizeof alphabet]);
        }
        const support::GuardedBytes guarded(bytes);
        for (std::size_t offset = 0; offset <= bytes.size(); ++offset) {
            const std::string lines = tool::excerpt(ChPair(guarded.begin(), guarded.end()), offset);
            ASSERT_EQ(2, std::count(lines.begin(), lines.end(), '\n'));
            ASSERT_EQ("^\n", lines.substr(lines.size() - 2));
            ASSERT_EQ(std::string::npos, lines.find('\x1B'));
        }
    }
}

}  // namespace
