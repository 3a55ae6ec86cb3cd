// Version stamps.
#include "tools/stamp.h"

#include <gtest/gtest.h>

namespace {

TEST(StampText, HasEightDigits) {
    EXPECT_EQ("0x00000000", tool::stampText(0));
    EXPECT_EQ("0xB81A2C30", tool::stampText(0xB81A2C30));
}

TEST(StampParse, TakesTheFullFormOnly) {
    std::uint32_t stamp = 7;
    EXPECT_TRUE(tool::parseStamp("0xB81A2C30", stamp));
    EXPECT_EQ(0xB81A2C30U, stamp);
    EXPECT_TRUE(tool::parseStamp("0xffffffff", stamp));
    EXPECT_EQ(0xFFFFFFFFU, stamp);
    stamp = 7;
    for (const char* text : {"", "0x", "B81A2C30", "0XB81A2C30", "0xB81A2C3", "0xB81A2C300", "0xB81A2C3G", "0x-81A2C30",
                             "0x B81A2C3", " 0xB81A2C3"}) {
        EXPECT_FALSE(tool::parseStamp(text, stamp)) << text;
    }
    EXPECT_EQ(7U, stamp);
}

// Known values of CRC-32, the terminators included.
TEST(StampOfKeys, IsTheChecksumOfKeysAndTerminators) {
    EXPECT_EQ(0x00000000U, tool::stampOfKeys({}));
    EXPECT_EQ(0xD202EF8DU, tool::stampOfKeys({""}));
    EXPECT_EQ(0xEED5B360U, tool::stampOfKeys({"A", "123"}));
    EXPECT_NE(tool::stampOfKeys({"A1", "23"}), tool::stampOfKeys({"A", "123"}));
}

}  // namespace
