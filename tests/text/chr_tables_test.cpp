// The case and class tables, what building them does to the process's locale, and the texts that stand in for null.
#include <velmora/text/bytes.h>
#include <velmora/text/utf.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <clocale>
#include <cstdint>
#include <cstdlib>
#include <cwctype>
#include <string>
#include <type_traits>
#include <vector>

#include "tests/support/locale_scope.h"

namespace {

static_assert(std::is_same_v<decltype(empty_string), const char[1]>);
static_assert(std::is_same_v<decltype(empty_string16), const utf16_t[1]>);
static_assert(std::is_same_v<decltype(std_null_string), const std::string>);
static_assert(std::is_same_v<decltype(chr_tables_prepare_done), bool>);
static_assert(sizeof chr_upper_table_ascii == 256 && sizeof chr_upper_table_ascii[0] == 1);
static_assert(sizeof chr_lower_table_ascii == 256 && sizeof chr_lower_table_ascii[0] == 1);
static_assert(sizeof chr_types_table_ascii == 256 && sizeof chr_types_table_ascii[0] == 1);
static_assert(sizeof chr_upper_table_utf16 == 65536 * 2 && sizeof chr_upper_table_utf16[0] == 2);
static_assert(sizeof chr_lower_table_utf16 == 65536 * 2 && sizeof chr_lower_table_utf16[0] == 2);

std::string localeName(int category) {
    const char* name = std::setlocale(category, nullptr);
    return name ? name : "";
}

// The character locale that the library found or set when it was loaded, before any test could change it.
const std::string loadLocale = localeName(LC_CTYPE);

char classOf(int c) {
    if (c == 0x09 || c == 0x0A || c == 0x0D || c == 0x20) return 'W';
    if (std::islower(c)) return 'L';
    if (std::isupper(c)) return 'U';
    return std::isdigit(c) ? 'D' : '.';
}

// Every entry of every table against the runtime under the locale in force.
void expectTablesOfTheLocale() {
    for (int c = 0; c < 256; ++c) {
        SCOPED_TRACE(c);
        EXPECT_EQ(static_cast<unsigned char>(std::tolower(c)), chr_lower_table_ascii[c]);
        EXPECT_EQ(static_cast<unsigned char>(std::toupper(c)), chr_upper_table_ascii[c]);
        EXPECT_EQ(classOf(c), chr_types_table_ascii[c]);
    }
    for (unsigned c = 0; c < 65536; ++c) {
        auto lower = static_cast<std::uint16_t>(std::towlower(static_cast<std::wint_t>(c)));
        auto upper = static_cast<std::uint16_t>(std::towupper(static_cast<std::wint_t>(c)));
        if (lower != chr_lower_table_utf16[c] || upper != chr_upper_table_utf16[c]) FAIL() << "unit " << c;
    }
}

void expectAsciiTables() {
    for (int c = 0; c < 128; ++c) {
        SCOPED_TRACE(c);
        bool isLower = c >= 'a' && c <= 'z', isUpper = c >= 'A' && c <= 'Z';
        unsigned upper = static_cast<unsigned>(isLower ? c - 32 : c),
                 lower = static_cast<unsigned>(isUpper ? c + 32 : c);
        EXPECT_EQ(upper, chr_upper_table_ascii[c]);
        EXPECT_EQ(lower, chr_lower_table_ascii[c]);
        EXPECT_EQ(upper, static_cast<unsigned>(chr_upper_table_utf16[c]));
        EXPECT_EQ(lower, static_cast<unsigned>(chr_lower_table_utf16[c]));
    }
}

TEST(StandInTexts, AreEmpty) {
    EXPECT_EQ(0, empty_string[0]);
    EXPECT_EQ(0, empty_string16[0]);
    EXPECT_TRUE(std_null_string.empty());
    EXPECT_STREQ("", std_null_string.c_str());
}

TEST(ChrTables, AreBuiltWhenTheLibraryIsLoaded) {
    EXPECT_TRUE(chr_tables_prepare_done);
    expectAsciiTables();
}

TEST(ChrTables, HoldTheLocaleOfTheLoad) {
    support::LocaleScope locale(LC_CTYPE, loadLocale.c_str());
    ASSERT_TRUE(locale.ok());
    expectTablesOfTheLocale();
}

TEST(ChrTables, NameTheClassOfEveryAsciiByte) {
    for (int c = 0; c < 128; ++c) {
        SCOPED_TRACE(c);
        char expected = '.';
        if (c >= 'a' && c <= 'z') expected = 'L';
        if (c >= 'A' && c <= 'Z') expected = 'U';
        if (c >= '0' && c <= '9') expected = 'D';
        if (c == '\t' || c == '\n' || c == '\r' || c == ' ') expected = 'W';
        EXPECT_EQ(expected, chr_types_table_ascii[c]);
    }
}

TEST(ChrTables, VerticalTabAndFormFeedAreNotWhite) {
    EXPECT_EQ('.', chr_types_table_ascii[0x0B]);
    EXPECT_EQ('.', chr_types_table_ascii[0x0C]);
    EXPECT_EQ(4, std::count(chr_types_table_ascii, chr_types_table_ascii + 256, 'W'));
}

TEST(ChrTables, SurrogatesAndTheEndOfRangeValueFoldToThemselves) {
    for (unsigned c = 0xD800; c <= 0xDFFF; ++c) {
        ASSERT_EQ(c, static_cast<unsigned>(chr_upper_table_utf16[c]));
        ASSERT_EQ(c, static_cast<unsigned>(chr_lower_table_utf16[c]));
    }
    EXPECT_EQ(0xFFFFu, static_cast<unsigned>(chr_upper_table_utf16[0xFFFF]));
    EXPECT_EQ(0xFFFFu, static_cast<unsigned>(chr_lower_table_utf16[0xFFFF]));
}

// Builds the tables anew, which a program never does, to see what the load does under other locales. Puts back the
// tables and the locales.
class ChrTablesPrepare : public ::testing::Test {
protected:
    ChrTablesPrepare()
        : upper8_(copy(chr_upper_table_ascii)),
          lower8_(copy(chr_lower_table_ascii)),
          types_(copy(chr_types_table_ascii)),
          upper16_(copy(chr_upper_table_utf16)),
          lower16_(copy(chr_lower_table_utf16)) {}

    ~ChrTablesPrepare() override {
        std::copy(upper8_.begin(), upper8_.end(), chr_upper_table_ascii);
        std::copy(lower8_.begin(), lower8_.end(), chr_lower_table_ascii);
        std::copy(types_.begin(), types_.end(), chr_types_table_ascii);
        std::copy(upper16_.begin(), upper16_.end(), chr_upper_table_utf16);
        std::copy(lower16_.begin(), lower16_.end(), chr_lower_table_utf16);
        chr_tables_prepare_done = true;
    }

    // From tables that hold nothing right.
    static void rebuild() {
        soil();
        chr_tables_prepare_done = false;
        chr_tables_prepare();
    }

    static void soil() {
        std::fill_n(chr_upper_table_ascii, 256, static_cast<unsigned char>(0xA5));
        std::fill_n(chr_lower_table_ascii, 256, static_cast<unsigned char>(0xA5));
        std::fill_n(chr_types_table_ascii, 256, '?');
        std::fill_n(chr_upper_table_utf16, 65536, static_cast<utf16_t>(0xA5A5));
        std::fill_n(chr_lower_table_utf16, 65536, static_cast<utf16_t>(0xA5A5));
    }

    // Puts a locale in force that is neither "C" nor named `butNot`. Returns: its name, empty if the system has none.
    static std::string setOtherLocale(int category, const std::string& butNot) {
        for (const char* name : {"C.UTF-8", "en_US.UTF-8", "de_DE.UTF-8", "German_Germany.1252", "Russian_Russia.1251",
                                 "English_United States.1252", "de-DE", "ru-RU"}) {
            if (!std::setlocale(category, name)) continue;
            std::string inForce = localeName(category);
            if (inForce != "C" && inForce != butNot) return inForce;
        }
        return std::string();
    }

private:
    template <class T, std::size_t N>
    static std::vector<T> copy(const T (&table)[N]) {
        return std::vector<T>(table, table + N);
    }

    support::LocaleScope characters_{LC_CTYPE, loadLocale.c_str()};
    support::LocaleScope numbers_{LC_NUMERIC, "C"};
    std::vector<unsigned char> upper8_, lower8_;
    std::vector<char> types_;
    std::vector<utf16_t> upper16_, lower16_;
};

TEST_F(ChrTablesPrepare, FillsEveryEntryAndSaysSo) {
    rebuild();
    EXPECT_TRUE(chr_tables_prepare_done);
    expectTablesOfTheLocale();
    expectAsciiTables();
}

TEST_F(ChrTablesPrepare, SecondCallChangesNeitherTablesNorLocales) {
    soil();
    std::setlocale(LC_CTYPE, "C");
    std::string numeric = setOtherLocale(LC_NUMERIC, "");
    chr_tables_prepare();
    EXPECT_TRUE(chr_tables_prepare_done);
    EXPECT_EQ("C", localeName(LC_CTYPE));
    if (!numeric.empty()) {
        EXPECT_EQ(numeric, localeName(LC_NUMERIC));
    }
    EXPECT_EQ(256, std::count(chr_upper_table_ascii, chr_upper_table_ascii + 256, 0xA5));
    EXPECT_EQ(256, std::count(chr_lower_table_ascii, chr_lower_table_ascii + 256, 0xA5));
    EXPECT_EQ(256, std::count(chr_types_table_ascii, chr_types_table_ascii + 256, '?'));
    const auto soiled = static_cast<utf16_t>(0xA5A5);
    EXPECT_EQ(65536, std::count(chr_upper_table_utf16, chr_upper_table_utf16 + 65536, soiled));
    EXPECT_EQ(65536, std::count(chr_lower_table_utf16, chr_lower_table_utf16 + 65536, soiled));
}

TEST_F(ChrTablesPrepare, CLocaleGivesWayToTheUsersDefault) {
    std::setlocale(LC_CTYPE, "");
    std::string usersDefault = localeName(LC_CTYPE);
    std::setlocale(LC_CTYPE, "C");
    rebuild();
    EXPECT_EQ(usersDefault, localeName(LC_CTYPE));
    expectTablesOfTheLocale();
}

TEST_F(ChrTablesPrepare, ChosenLocaleStaysInForce) {
    std::setlocale(LC_CTYPE, "");
    std::string chosen = setOtherLocale(LC_CTYPE, localeName(LC_CTYPE));
    if (chosen.empty()) GTEST_SKIP() << "the system has no locale but \"C\" and the user's default";
    rebuild();
    EXPECT_EQ(chosen, localeName(LC_CTYPE));
    expectTablesOfTheLocale();
}

TEST_F(ChrTablesPrepare, NumbersAreAlwaysThoseOfC) {
    if (setOtherLocale(LC_NUMERIC, "").empty()) GTEST_SKIP() << "the system has no locale but \"C\"";
    std::string time = localeName(LC_TIME), collate = localeName(LC_COLLATE);
    rebuild();
    EXPECT_EQ("C", localeName(LC_NUMERIC));
    EXPECT_EQ(time, localeName(LC_TIME));
    EXPECT_EQ(collate, localeName(LC_COLLATE));
}

// A single-byte code page has case pairs above 0x7F, and the byte tables know them.
TEST_F(ChrTablesPrepare, ByteTablesFollowASingleByteCodePage) {
    bool found = false;
    for (const char* name : {"de_DE.ISO-8859-1", "de_DE.ISO8859-1", "en_US.ISO-8859-1", "en_US.ISO8859-1", "de_DE",
                             "German_Germany.1252", "English_United States.1252"})
        if (std::setlocale(LC_CTYPE, name) && std::toupper(0xE9) == 0xC9) {
            found = true;
            break;
        }
    if (!found) GTEST_SKIP() << "the system has no locale with a Western single-byte code page";
    rebuild();
    expectTablesOfTheLocale();
    EXPECT_EQ('L', chr_types_table_ascii[0xE9]);
    EXPECT_EQ('U', chr_types_table_ascii[0xC9]);
    EXPECT_EQ(0, strcmp_i_ascii("\xE9", "\xC9"));
    char text[] = "\xE9\xE8";
    strup_ascii(text, text + 2);
    EXPECT_STREQ("\xC9\xC8", text);
}

#ifndef _WIN32

// The user's default comes from the environment. LC_ALL outweighs all other variables.
class EnvironmentLocale {
public:
    explicit EnvironmentLocale(const char* name) {
        const char* before = std::getenv("LC_ALL");
        had_ = before != nullptr;
        if (had_) before_ = before;
        setenv("LC_ALL", name, 1);
    }
    EnvironmentLocale(const EnvironmentLocale&) = delete;
    void operator=(const EnvironmentLocale&) = delete;
    ~EnvironmentLocale() {
        if (had_)
            setenv("LC_ALL", before_.c_str(), 1);
        else
            unsetenv("LC_ALL");
    }

private:
    bool had_;
    std::string before_;
};

TEST_F(ChrTablesPrepare, Utf8LocaleFoldsUnitsAndNoByteAboveAscii) {
    {
        support::LocaleScope probe(LC_CTYPE, "C.UTF-8");
        if (!probe.ok()) GTEST_SKIP() << "the system has no locale C.UTF-8";
    }
    EnvironmentLocale environment("C.UTF-8");
    std::setlocale(LC_CTYPE, "C");
    rebuild();
    EXPECT_NE("C", localeName(LC_CTYPE));
    expectTablesOfTheLocale();
    for (unsigned c = 128; c < 256; ++c) {
        EXPECT_EQ(c, chr_upper_table_ascii[c]);
        EXPECT_EQ(c, chr_lower_table_ascii[c]);
        EXPECT_EQ('.', chr_types_table_ascii[c]);
    }
    EXPECT_EQ(0xC9u, static_cast<unsigned>(chr_upper_table_utf16[0xE9]));
    EXPECT_EQ(0xE9u, static_cast<unsigned>(chr_lower_table_utf16[0xC9]));
    EXPECT_EQ(0x416u, static_cast<unsigned>(chr_upper_table_utf16[0x436]));
    const char lower[] = "\xC3\xA9", upper[] = "\xC3\x89";
    EXPECT_EQ(0, strcmp_i_utf8(lower, lower + 2, upper, upper + 2));
}

TEST_F(ChrTablesPrepare, UserWhoseDefaultIsCKeepsC) {
    EnvironmentLocale environment("C");
    std::setlocale(LC_CTYPE, "C");
    rebuild();
    EXPECT_EQ("C", localeName(LC_CTYPE));
    EXPECT_TRUE(chr_tables_prepare_done);
    expectTablesOfTheLocale();
    expectAsciiTables();
}

TEST_F(ChrTablesPrepare, ChosenLocaleOutweighsTheEnvironment) {
    EnvironmentLocale environment("C");
    if (!std::setlocale(LC_CTYPE, "C.UTF-8")) GTEST_SKIP() << "the system has no locale C.UTF-8";
    std::string chosen = localeName(LC_CTYPE);
    rebuild();
    EXPECT_EQ(chosen, localeName(LC_CTYPE));
    EXPECT_EQ(0xC9u, static_cast<unsigned>(chr_upper_table_utf16[0xE9]));
}

TEST_F(ChrTablesPrepare, DefaultThatDoesNotExistStillGivesTables) {
    EnvironmentLocale environment("no_SUCH.locale");
    std::setlocale(LC_CTYPE, "C");
    rebuild();
    EXPECT_EQ("C", localeName(LC_CTYPE));
    EXPECT_TRUE(chr_tables_prepare_done);
    expectTablesOfTheLocale();
    expectAsciiTables();
}

#endif

}  // namespace
