// The library in a process whose toolkit has called setlocale(LC_ALL, ""): number text and the case of ASCII letters
// are what they are elsewhere.
#include <velmora/markup/mldoc.h>
#include <velmora/markup/mldocout.h>
#include <velmora/serial/tags.h>
#include <velmora/serial/ttt.h>
#include <velmora/text/bytes.h>
#include <velmora/text/chpair.h>
#include <velmora/text/numbers.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <cwctype>
#include <limits>
#include <string>
#include <vector>

#include "tests/support/made_locale.h"

namespace {

using support::MadeLocale;

constexpr double kInfinity = std::numeric_limits<double>::infinity();
const double kNan = std::nan("");

const struct {
    int line;
    double value;
    const char* text;
} writtenRows[] = {
    {__LINE__, 1.5, "1.500000"},
    {__LINE__, -0.0, "-0.000000"},
    {__LINE__, 1234567.25, "1234567.250000"},
    {__LINE__, 2.5e-6, "0.000003"},
    {__LINE__, 0.0000005, "0.000000"},
    {__LINE__, 0.5 + 1.0 / 1024 / 1024, "0.500001"},
    {__LINE__, -1e22, "-10000000000000000000000.000000"},
    {__LINE__, 4.9406564584124654e-324, "0.000000"},
    {__LINE__, kInfinity, "inf"},
    {__LINE__, -kInfinity, "-inf"},
    {__LINE__, kNan, "nan"},
    {__LINE__, std::copysign(kNan, -1.0), "-nan"},
};

std::string rendered(double value) {
    TTT message("%f");
    message < value;
    std::string text;
    message.translate(text);
    return text;
}

std::string attribute(double value) {
    MLDocOut::BagWriter sink;
    MLDocOut out(MLDocBase::XML);
    out.setCompactMode(true);
    out.begin(sink);
    out.beginItem("a");
    out.writeDoubleAttr("zoom", value);
    out.endItem("a");
    out.end();
    const std::string text(sink.data, static_cast<std::size_t>(sink.size));
    const std::size_t at = text.find("zoom=\"");
    return at == std::string::npos ? text : text.substr(at + 6, text.find('"', at + 6) - at - 6);
}

void expectNumbersOfC() {
    for (const auto& row : writtenRows) {
        SCOPED_TRACE(row.line);
        EXPECT_EQ(row.text, rendered(row.value));
        EXPECT_EQ(row.text, attribute(row.value));
    }
    const std::string largest = rendered(-std::numeric_limits<double>::max());
    EXPECT_EQ(1 + 309 + 7u, largest.size());
    EXPECT_EQ("-179769313486231570814527423731704356798070", largest.substr(0, 43));
    EXPECT_EQ(largest, attribute(-std::numeric_limits<double>::max()));
    double value = 0;
    EXPECT_TRUE(strtodouble("1.5", &value));
    EXPECT_EQ(1.5, value);
    EXPECT_FALSE(strtodouble("1,5", &value));
    const ChPair view("2.5");
    EXPECT_TRUE(view.getDouble(value));
    EXPECT_EQ(2.5, value);
    EXPECT_EQ(2.5, view.parseDouble(nullptr, nullptr));
    EXPECT_EQ(2.5, MLDoc().getDouble(view));
    EXPECT_FALSE(ChPair("2,5").getDouble(value));
    int whole;
    EXPECT_FALSE(strtoint("1.000", &whole));
    // White space in front is that of C.
    for (int c = 0x80; c < 0x100; ++c) {
        const std::string text = std::string(1, static_cast<char>(c)) + '1';
        EXPECT_FALSE(strtoint(text.c_str(), &whole) || strtodouble(text.c_str(), &value)) << c;
    }
    EXPECT_TRUE(strtoint(" \t\n\v\f\r1", &whole) && strtodouble(" \t\n\v\f\r1", &value));
}

// Whether the runtime's own numbers have a comma now: without one there is nothing to test.
bool hasComma() {
    char text[16];
    std::snprintf(text, sizeof text, "%.1f", 1.5);
    return std::strcmp(text, "1,5") == 0;
}

TEST(HostLocale, NumbersHaveThePointInC) { expectNumbersOfC(); }

TEST(HostLocale, NumbersHaveThePointInGerman) {
    const MadeLocale german("de_DE", "ISO-8859-1", "German_Germany.1252");
    if (!german.failure().empty()) GTEST_SKIP() << german.failure();
    if (!hasComma()) GTEST_SKIP() << "the runtime writes a point in German";
    expectNumbersOfC();
}

// Makes the tables anew in the locale in force, which a program does not do, and puts them back.
class NewTables {
public:
    NewTables() {
        chr_tables_prepare_done = false;
        chr_tables_prepare();
    }
    NewTables(const NewTables&) = delete;
    void operator=(const NewTables&) = delete;
    ~NewTables() {
        std::copy(upper8_.begin(), upper8_.end(), chr_upper_table_ascii);
        std::copy(lower8_.begin(), lower8_.end(), chr_lower_table_ascii);
        std::copy(types_.begin(), types_.end(), chr_types_table_ascii);
        std::copy(upper16_.begin(), upper16_.end(), chr_upper_table_utf16);
        std::copy(lower16_.begin(), lower16_.end(), chr_lower_table_utf16);
    }

private:
    const std::vector<unsigned char> upper8_{chr_upper_table_ascii, chr_upper_table_ascii + 256};
    const std::vector<unsigned char> lower8_{chr_lower_table_ascii, chr_lower_table_ascii + 256};
    const std::vector<char> types_{chr_types_table_ascii, chr_types_table_ascii + 256};
    const std::vector<utf16_t> upper16_{chr_upper_table_utf16, chr_upper_table_utf16 + 65536};
    const std::vector<utf16_t> lower16_{chr_lower_table_utf16, chr_lower_table_utf16 + 65536};
};

void expectLettersOfAscii(const MadeLocale& locale) {
    if (!locale.failure().empty()) GTEST_SKIP() << locale.failure();
    const NewTables tables;
    for (int c = 'a'; c <= 'z'; ++c) {
        const int capital = c - 'a' + 'A';
        EXPECT_EQ(capital, chr_upper_table_ascii[c]);
        EXPECT_EQ(c, chr_lower_table_ascii[capital]);
        EXPECT_EQ(c, chr_lower_table_ascii[c]);
        EXPECT_EQ(capital, chr_upper_table_ascii[capital]);
        EXPECT_EQ('L', chr_types_table_ascii[c]);
        EXPECT_EQ('U', chr_types_table_ascii[capital]);
    }
    for (int c = 0x80; c < 0x100; ++c) {
        EXPECT_EQ(std::toupper(c), chr_upper_table_ascii[c]);
        EXPECT_EQ(std::tolower(c), chr_lower_table_ascii[c]);
        EXPECT_EQ(std::islower(c)   ? 'L'
                  : std::isupper(c) ? 'U'
                  : std::isdigit(c) ? 'D'
                                    : '.',
                  chr_types_table_ascii[c]);
    }
    for (unsigned c = 0; c < 0xFFFF; ++c) {
        ASSERT_EQ(static_cast<utf16_t>(std::towupper(static_cast<std::wint_t>(c))), chr_upper_table_utf16[c]);
    }
    static constexpr PairTag tags[] = {{"visible", 1}, {"PRINTING", 2}, {nullptr, 0}};
    EXPECT_EQ(1u, ChPair("VISIBLE").parseEnum(tags, 0));
    EXPECT_EQ(3u, ChPair("printing Visible").parseFlags(tags, 0, true));
    EXPECT_EQ(0, ChPair("i").compare_i_utf8("I"));
    const std::string text = "<?xml encoding=\"WINDOWS-1251\"?>\n<a/>\n";
    MLDoc doc;
    EXPECT_NO_THROW(doc.load("a.xml", text.data(), static_cast<int>(text.size())));
    EXPECT_EQ(1251, doc.codePage);
}

TEST(HostLocale, LettersAreThoseOfAsciiInTurkish) { expectLettersOfAscii({"tr_TR", "UTF-8", "Turkish_Turkey.1254"}); }
TEST(HostLocale, LettersAreThoseOfAsciiInTurkishOfOneByte) { expectLettersOfAscii({"tr_TR", "ISO-8859-9", "tr-TR"}); }

}  // namespace
