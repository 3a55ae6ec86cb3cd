// The model of .lng files.
#include "tools/lng_file.h"

#include <gtest/gtest.h>

namespace {

using tool::LngFile;

// "one" and "drei", little-endian and big-endian, written out by hand.
const std::string little(
    "\0\0\0\0LCLR\1\0\0\0\x08\0\0\0\xEE\xFF\xC0\0\2\0\0\0\x09\0\0\0"
    "\0\0\0\0\4\0\0\0one\0drei\0",
    45);
const std::string big(
    "\0\0\0\0RLCL\0\0\0\1\0\0\0\x08\0\xC0\xFF\xEE\0\0\0\2\0\0\0\x09"
    "\0\0\0\0\0\0\0\4one\0drei\0",
    45);

std::vector<std::string> problemsOf(const std::string& bytes, bool whole) {
    LngFile file;
    std::vector<std::string> problems;
    EXPECT_EQ(whole, file.parse(bytes, problems));
    return problems;
}

// A file of these starts over this block.
LngFile fileOf(const std::vector<std::int32_t>& starts, const std::string& block) {
    LngFile written;
    written.block = block;
    for (std::int32_t start : starts) written.texts.push_back({start, 0});
    LngFile file;
    std::vector<std::string> problems;
    EXPECT_TRUE(file.parse(written.write(), problems));
    EXPECT_TRUE(problems.empty());
    return file;
}

TEST(LngFileWrite, FollowsTheLayout) {
    LngFile file;
    file.stamp = 0x00C0FFEE;
    file.append("one");
    file.append("drei");
    EXPECT_EQ(little, file.write());
    file.bigEndian = true;
    EXPECT_EQ(big, file.write());
}

TEST(LngFileWrite, WithoutTextsEndsBehindTheCount) {
    LngFile file;
    file.stamp = 0x01020304;
    EXPECT_EQ(std::string("\0\0\0\0LCLR\1\0\0\0\x08\0\0\0\4\3\2\1\0\0\0\0", 24), file.write());
}

TEST(LngFileParse, ReadsBothByteOrders) {
    for (const std::string& bytes : {little, big}) {
        LngFile file;
        std::vector<std::string> problems;
        ASSERT_TRUE(file.parse(bytes, problems));
        EXPECT_TRUE(problems.empty());
        EXPECT_EQ(bytes == big, file.bigEndian);
        EXPECT_EQ(1U, file.version);
        EXPECT_EQ(8U, file.encoding);
        EXPECT_EQ(0x00C0FFEEU, file.stamp);
        ASSERT_EQ(2U, file.texts.size());
        EXPECT_EQ("one", file.text(0).std());
        EXPECT_EQ("drei", file.text(1).std());
        EXPECT_EQ(std::string("one\0drei\0", 9), file.block);
        EXPECT_EQ(0U, file.trailing);
        EXPECT_EQ(0U, file.unusedBytes());
        EXPECT_EQ(bytes, file.write());
    }
}

TEST(LngFileParse, TextsNeedABlock) {
    const std::string header("\0\0\0\0LCLR\1\0\0\0\x08\0\0\0\4\3\2\1", 20);
    for (char count : {1, 2}) {
        const std::string bytes = header + std::string{count, 0, 0, 0} + std::string(16, '\0');
        EXPECT_EQ(std::vector<std::string>{"the size of the texts is 0"}, problemsOf(bytes, false));
    }
}

TEST(LngFileParse, EveryPrefixIsTooShort) {
    for (std::size_t size = 0; size < little.size(); ++size) {
        SCOPED_TRACE(size);
        const char* where = size < 28 ? "header" : size < 36 ? "table of starts" : "texts";
        EXPECT_EQ(
            std::vector<std::string>{std::string("the file ends within ") + (size < 28 ? "its " : "the ") + where},
            problemsOf(little.substr(0, size), false));
    }
}

TEST(LngFileParse, EveryByteMayBeAnything) {
    for (const std::string& bytes : {little, big}) {
        for (std::size_t at = 0; at < bytes.size(); ++at) {
            for (int byte = 0; byte < 256; ++byte) {
                std::string changed = bytes;
                changed[at] = static_cast<char>(byte);
                LngFile file;
                std::vector<std::string> problems;
                if (!file.parse(changed, problems)) {
                    EXPECT_FALSE(problems.empty());
                    continue;
                }
                for (std::size_t i = 0; i < file.texts.size(); ++i) {
                    if (!file.readable(i)) continue;
                    EXPECT_LE(file.text(i).end, file.block.data() + file.block.size());
                }
                EXPECT_LE(file.unusedBytes(), file.block.size());
            }
        }
    }
}

TEST(LngFileParse, BytesBehindTheTextsAreCounted) {
    LngFile file;
    std::vector<std::string> problems;
    EXPECT_TRUE(file.parse(little + "tail", problems));
    EXPECT_TRUE(problems.empty());
    EXPECT_EQ(4U, file.trailing);
    EXPECT_EQ(9U, file.block.size());
}

TEST(LngFileParse, CountOfZeroNeedsNothingMore) {
    LngFile file;
    std::vector<std::string> problems;
    EXPECT_TRUE(file.parse(LngFile().write() + "abc", problems));
    EXPECT_TRUE(problems.empty());
    EXPECT_EQ(0U, file.texts.size());
    EXPECT_EQ(3U, file.trailing);
}

TEST(LngFileTexts, StartsAndTerminatorsAreNotTrusted) {
    const LngFile file = fileOf({4, -1, 8, 0, 7, 2147483647, 5}, std::string("one\0two\0", 8) + "end");
    const bool readable[] = {true, false, false, true, true, false, true};
    ASSERT_EQ(7U, file.texts.size());
    for (std::size_t i = 0; i < 7; ++i) EXPECT_EQ(readable[i], file.readable(i)) << i;
    EXPECT_EQ(3U, file.unreadableCount());
    EXPECT_EQ("two", file.text(0).std());
    EXPECT_EQ("one", file.text(3).std());
    EXPECT_EQ("", file.text(4).std());
    EXPECT_EQ("wo", file.text(6).std());
    EXPECT_EQ(3U, file.unusedBytes());
    EXPECT_EQ(8U, file.textBytes());
}

TEST(LngFileTexts, BlockWithoutTerminatorHasNoTexts) {
    const LngFile file = fileOf({0, 1}, "abc");
    EXPECT_EQ(2U, file.unreadableCount());
    EXPECT_EQ(3U, file.unusedBytes());
    EXPECT_EQ(0U, file.textBytes());
}

// Looking for each terminator on its own would take a quarter of a million passes over the block.
TEST(LngFileTexts, ManyTextsMayShareOneTerminator) {
    const std::size_t count = 500000;
    LngFile written;
    written.block = std::string(count, 'x') + '\0';
    for (std::size_t i = 0; i < count; ++i) written.texts.push_back({static_cast<std::int32_t>(i), 0});
    LngFile file;
    std::vector<std::string> problems;
    ASSERT_TRUE(file.parse(written.write(), problems));
    EXPECT_EQ(0U, file.unreadableCount());
    EXPECT_EQ(0U, file.unusedBytes());
    EXPECT_EQ(count * (count + 1) / 2, file.textBytes());
}

}  // namespace
