// Reading of the command line.
#include "tools/options.h"

#include <gtest/gtest.h>

namespace {

using tool::ArgumentReader;
using tool::Arguments;

const std::vector<tool::OptionSpec> known = {{"--flag", false}, {"--value", true}, {"-o", true}};

Arguments readAll(const std::vector<std::string>& words) {
    Arguments arguments;
    ArgumentReader reader(words);
    reader.readAll(known, arguments);
    EXPECT_TRUE(reader.atEnd());
    return arguments;
}

std::string problemOf(const std::vector<std::string>& words) {
    try {
        readAll(words);
    } catch (const tool::UsageError& error) {
        return error.text;
    }
    return "(nothing)";
}

TEST(ArgumentReader, OptionsAndOperandsMayMix) {
    const Arguments arguments = readAll({"a", "--flag", "b", "-o", "x", "--value=y=z", "", "-"});
    EXPECT_EQ((std::vector<std::string>{"a", "b", "", "-"}), arguments.operands);
    EXPECT_TRUE(arguments.has("--flag"));
    EXPECT_EQ("x", arguments.value("-o"));
    EXPECT_EQ("y=z", arguments.value("--value"));
}

TEST(ArgumentReader, MissingOptionHasTheOtherValue) {
    const Arguments arguments = readAll({});
    EXPECT_TRUE(arguments.operands.empty());
    EXPECT_FALSE(arguments.has("--value"));
    EXPECT_EQ("", arguments.value("--value"));
    EXPECT_EQ("other", arguments.value("--value", "other"));
}

TEST(ArgumentReader, LastValueCounts) {
    const Arguments arguments = readAll({"--value", "1", "--value=", "--value", "--flag"});
    EXPECT_EQ("--flag", arguments.value("--value", "other"));
    EXPECT_EQ("", readAll({"--value="}).value("--value", "other"));
    EXPECT_FALSE(arguments.has("--flag"));
}

TEST(ArgumentReader, NumberIsDigitsInARange) {
    const struct {
        const char* text;
        bool valid;
        int number;
    } table[] = {
        {"3", true, 3},    {"12", true, 12},  {"007", true, 7}, {"2", false, 0},
        {"13", false, 0},  {"", false, 0},    {"-3", false, 0}, {"+3", false, 0},
        {" 3", false, 0},  {"3 ", false, 0},  {"3x", false, 0}, {"0x3", false, 0},
        {"3.0", false, 0}, {"few", false, 0}, {"-", false, 0},  {"4294967299", false, 0},
    };
    for (const auto& row : table) {
        SCOPED_TRACE(row.text);
        const Arguments arguments = readAll({"--value", row.text});
        if (row.valid) {
            EXPECT_EQ(row.number, arguments.number("--value", 5, 3, 12));
            continue;
        }
        try {
            ADD_FAILURE() << arguments.number("--value", 5, 3, 12);
        } catch (const tool::UsageError& error) {
            EXPECT_EQ("--value needs a number from 3 to 12", error.text);
        }
    }
    EXPECT_EQ(5, readAll({}).number("--value", 5, 7, 12));
}

TEST(ArgumentReader, TwoDashesEndTheOptions) {
    const Arguments arguments = readAll({"--flag", "--", "--value", "--", "-x"});
    EXPECT_EQ((std::vector<std::string>{"--value", "--", "-x"}), arguments.operands);
    EXPECT_TRUE(arguments.has("--flag"));
    EXPECT_FALSE(arguments.has("--value"));
    EXPECT_EQ("--", readAll({"-o", "--"}).value("-o"));
}

TEST(ArgumentReader, ReadOptionsStopsAtAnOperand) {
    Arguments arguments;
    ArgumentReader reader({"--flag", "word", "--unknown"});
    reader.readOptions(known, arguments);
    EXPECT_TRUE(arguments.has("--flag"));
    EXPECT_TRUE(arguments.operands.empty());
    EXPECT_EQ("word", reader.peek());
    EXPECT_EQ("word", reader.take());
    EXPECT_FALSE(reader.atEnd());
    EXPECT_THROW(reader.readOptions(known, arguments), tool::UsageError);
}

TEST(ArgumentReader, WrongOptionsAreTold) {
    EXPECT_EQ("unknown option --other", problemOf({"--other"}));
    EXPECT_EQ("unknown option --other", problemOf({"--other=1"}));
    EXPECT_EQ("unknown option -x", problemOf({"a", "-x"}));
    EXPECT_EQ("unknown option -ox", problemOf({"-ox"}));
    EXPECT_EQ("option --flag takes no value", problemOf({"--flag="}));
    EXPECT_EQ("option --value needs a value", problemOf({"--value"}));
    EXPECT_EQ("option -o needs a value", problemOf({"a", "-o"}));
}

}  // namespace
