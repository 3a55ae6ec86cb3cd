#include <gtest/gtest.h>

#include <climits>
#include <cstddef>
#include <cstdint>
#include <set>
#include <string>
#include <type_traits>
#include <vector>

#include <velmora/localization/loc.h>

#include "tests/support/message.h"
#include "tests/support/temp_folder.h"

namespace {

static_assert(VELMORA_DICT == 2, "");
static_assert(sizeof(LocDictionaryId) == 4, "");
static_assert(VELMORA_KEY_COUNT == 79, "");
static_assert(std::is_same<decltype(TTT::dictionaries), IDLocLoader* [6]>::value, "");
static_assert(std::is_same<decltype(TTT::localizations), IDLocLoader::Localization* [6]>::value, "");
static_assert(std::is_same<decltype(TTT::stringids), const char** [6]>::value, "");

struct Key {
    int number;
    VelmoraKey key;
    const char* name;
};
const Key kKeys[] = {
    {0, LCA__Bad_character, "LCA__Bad_character"},
    {1, LCA__Character_in_names_is_not, "LCA__Character_in_names_is_not"},
    {2, LCA__Deprecated_flag_s, "LCA__Deprecated_flag_s"},
    {3, LCA__Cannot_close_file, "LCA__Cannot_close_file"},
    {4, LCA__Cannot_open_file, "LCA__Cannot_open_file"},
    {5, LCA__Empty_name, "LCA__Empty_name"},
    {6, LCA__Closing_quote_is_missed, "LCA__Closing_quote_is_missed"},
    {7, LCA__Expected_attribute_name, "LCA__Expected_attribute_name"},
    {8, LCA__Could_not_create_folder, "LCA__Could_not_create_folder"},
    {9, LCA__Could_not_delete_file, "LCA__Could_not_delete_file"},
    {10, LCA__Could_not_delete_folder, "LCA__Could_not_delete_folder"},
    {11, LCA__Integer_value_is_out_of_range, "LCA__Integer_value_is_out_of_range"},
    {12, LCA__Disk_full, "LCA__Disk_full"},
    {13, LCA__Invalid_IP_address, "LCA__Invalid_IP_address"},
    {14, LCA__Invalid_date_required_format_is, "LCA__Invalid_date_required_format_is"},
    {15, LCA__Invalid_enum_value, "LCA__Invalid_enum_value"},
    {16, LCA__Bad_indent, "LCA__Bad_indent"},
    {17, LCA__Error_code_d, "LCA__Error_code_d"},
    {18, LCA__Invalid_flag_s, "LCA__Invalid_flag_s"},
    {19, LCA__Invalid_double_value, "LCA__Invalid_double_value"},
    {20, LCA__Invalid_integer_value, "LCA__Invalid_integer_value"},
    {21, LCA__Line_d_Column_d, "LCA__Line_d_Column_d"},
    {22, LCA__Invalid_indent, "LCA__Invalid_indent"},
    {23, LCA__Not_enough_memory_to_load_file, "LCA__Not_enough_memory_to_load_file"},
    {24, LCA__Quoted_names_are_not_supported, "LCA__Quoted_names_are_not_supported"},
    {25, LCA__Path_s, "LCA__Path_s"},
    {26, LCA__Read_file_error, "LCA__Read_file_error"},
    {27, LCA__Seek_file_error, "LCA__Seek_file_error"},
    {28, LCA__System_diagnostic_s, "LCA__System_diagnostic_s"},
    {29, LCA__Too_big_file, "LCA__Too_big_file"},
    {30, LCA__Specified_encoding_is_not, "LCA__Specified_encoding_is_not"},
    {31, LCA__Too_short_file, "LCA__Too_short_file"},
    {32, LCA__Unexpected_end_of_file, "LCA__Unexpected_end_of_file"},
    {33, LCA__Unknown_text_format, "LCA__Unknown_text_format"},
    {34, LCA__Unsupported_escape_sequence, "LCA__Unsupported_escape_sequence"},
    {35, LCA__Write_file_error, "LCA__Write_file_error"},
    {36, LCA__XML_header_is_not_found_or, "LCA__XML_header_is_not_found_or"},
    {37, LCA__Not_enough_closing_tags, "LCA__Not_enough_closing_tags"},
    {38, LCA__Could_not_flush_file, "LCA__Could_not_flush_file"},
    {39, LCA__Bad_character_in_XML_tag, "LCA__Bad_character_in_XML_tag"},
    {40, LCA__Bad_character_in_attribute_name, "LCA__Bad_character_in_attribute_name"},
    {41, LCA__Bad_character_instead_begin_of, "LCA__Bad_character_instead_begin_of"},
    {42, LCA__Bad_nesting, "LCA__Bad_nesting"},
    {43, LCA__Character_expected_before_quote, "LCA__Character_expected_before_quote"},
    {44, LCA__Closing_tag_not_found, "LCA__Closing_tag_not_found"},
    {45, LCA__Duplicate_before_attribute_value, "LCA__Duplicate_before_attribute_value"},
    {46, LCA__Empty_XML_tag, "LCA__Empty_XML_tag"},
    {47, LCA__End_of_attribute_name_is_not, "LCA__End_of_attribute_name_is_not"},
    {48, LCA__Expected__0, "LCA__Expected__0"},
    {49, LCA__Expected_string, "LCA__Expected_string"},
    {50, LCA__Initial_quote_expected_after, "LCA__Initial_quote_expected_after"},
    {51, LCA__Nested_XML_tag, "LCA__Nested_XML_tag"},
    {52, LCA__Pair_token_not_found, "LCA__Pair_token_not_found"},
    {53, LCA__Too_long_XML_tag, "LCA__Too_long_XML_tag"},
    {54, LCA__Too_long_attribute_name, "LCA__Too_long_attribute_name"},
    {55, LCA__Unexpected, "LCA__Unexpected"},
    {56, LCA__Unexpected__0, "LCA__Unexpected__0"},
    {57, LCA__Unexpected__1, "LCA__Unexpected__1"},
    {58, LCA__Unexpected__2, "LCA__Unexpected__2"},
    {59, LCA__Unexpected_JSON_item, "LCA__Unexpected_JSON_item"},
    {60, LCA__Unexpected_end_of_token, "LCA__Unexpected_end_of_token"},
    {61, LCA__Unexpected_string, "LCA__Unexpected_string"},
    {62, LCA__XML_comment_is_not_finished, "LCA__XML_comment_is_not_finished"},
    {63, LCA__XML_tag_is_not_finished, "LCA__XML_tag_is_not_finished"},
    {64, LCA__Expected_space_or_new_line, "LCA__Expected_space_or_new_line"},
    {65, LCA__Spaces_and_in_names_are_not, "LCA__Spaces_and_in_names_are_not"},
    {66, LCA__Expected_end_of_line, "LCA__Expected_end_of_line"},
    {67, LCA__Expected_first_item_of_array, "LCA__Expected_first_item_of_array"},
    {68, LCA__Normal_attributes_does_not, "LCA__Normal_attributes_does_not"},
    {69, LCA__Expected__1, "LCA__Expected__1"},
    {70, LCA__Too_long_string, "LCA__Too_long_string"},
    {71, LCA__Could_not_get_information_for, "LCA__Could_not_get_information_for"},
    {72, LCA__UTF_16_BOM_is_not_supported, "LCA__UTF_16_BOM_is_not_supported"},
    {73, LCA__Could_not_rename_file, "LCA__Could_not_rename_file"},
    {74, LCA__Could_not_write_attribute, "LCA__Could_not_write_attribute"},
    {75, LCA__Empty_token_name, "LCA__Empty_token_name"},
    {76, LCA__Cannot_write_content_for_non, "LCA__Cannot_write_content_for_non"},
    {77, LCA__Attempt_start_nested_token, "LCA__Attempt_start_nested_token"},
    {78, LCA__Cannot_read_plain_content_for, "LCA__Cannot_read_plain_content_for"},
};
const int kKeyCount = sizeof kKeys / sizeof *kKeys;
static_assert(kKeyCount == 79, "every key has its row");

LocDictionaryId dictionary(int number) { return static_cast<LocDictionaryId>(number); }

// Gives the registry back as it was; starts it without any dictionary.
class RegistryScope {
public:
    RegistryScope() {
        support::keyName(0);  // registers the library's texts for all later tests; here that would be undone
        for (int i = 0; i < 6; ++i) {
            dictionaries_[i] = TTT::dictionaries[i];
            localizations_[i] = TTT::localizations[i];
            stringids_[i] = TTT::stringids[i];
            TTT::dictionaries[i] = nullptr;
            TTT::localizations[i] = nullptr;
            TTT::stringids[i] = nullptr;
        }
    }
    RegistryScope(const RegistryScope&) = delete;
    void operator=(const RegistryScope&) = delete;
    ~RegistryScope() {
        for (int i = 0; i < 6; ++i) {
            TTT::dictionaries[i] = dictionaries_[i];
            TTT::localizations[i] = localizations_[i];
            TTT::stringids[i] = stringids_[i];
        }
    }

private:
    IDLocLoader* dictionaries_[6];
    IDLocLoader::Localization* localizations_[6];
    const char** stringids_[6];
};

// A dictionary of the test's own, with keys and no file.
template <int N>
class OwnDictionary {
public:
    const char* keys[N];
    IDLocLoader texts;
    IDLocLoader::Localization table{N, 8, 1};

    template <class... Keys>
    explicit OwnDictionary(int number, Keys... k) : keys{k...} {
        Loc::IdModule module("own", table, keys, texts, dictionary(number));
    }
};

// ---- keys ----

TEST(DictionaryKeys, HaveTheirNumbersAndNames) {
    support::keyName(0);
    for (int i = 0; i < kKeyCount; ++i) {
        const Key& key = kKeys[i];
        SCOPED_TRACE(key.name);
        EXPECT_EQ(i, key.number);
        EXPECT_EQ(key.number, static_cast<int>(key.key));
        EXPECT_STREQ(key.name, TTT::getStringID(VELMORA_DICT, key.number));
        LocDictionaryId found = dictionary(-7);
        int id = -7;
        EXPECT_TRUE(TTT::findByStringID(key.name, found, id));
        EXPECT_EQ(VELMORA_DICT, found);
        EXPECT_EQ(key.number, id);
    }
}

TEST(DictionaryGetStringID, IsNullOutOfRange) {
    Loc::VelmoraModule module;
    EXPECT_STREQ("LCA__Cannot_read_plain_content_for", TTT::getStringID(VELMORA_DICT, 78));
    EXPECT_EQ(nullptr, TTT::getStringID(VELMORA_DICT, 79));
    EXPECT_EQ(nullptr, TTT::getStringID(VELMORA_DICT, -1));
    EXPECT_EQ(nullptr, TTT::getStringID(VELMORA_DICT, INT_MAX));
    EXPECT_EQ(nullptr, TTT::getStringID(VELMORA_DICT, INT_MIN));
    EXPECT_EQ(nullptr, TTT::getStringID(dictionary(6), 0));
    EXPECT_EQ(nullptr, TTT::getStringID(dictionary(-1), 0));
    EXPECT_EQ(nullptr, TTT::getStringID(dictionary(INT_MAX), 0));
    EXPECT_EQ(nullptr, TTT::getStringID(dictionary(INT_MIN), 0));
}

TEST(DictionaryGetStringID, NeedsKeyTableAndDescription) {
    RegistryScope registry;
    for (int i = 0; i < 6; ++i) EXPECT_EQ(nullptr, TTT::getStringID(dictionary(i), 0)) << i;
    OwnDictionary<1> own(5, "KEY__own");
    EXPECT_STREQ("KEY__own", TTT::getStringID(dictionary(5), 0));
    EXPECT_EQ(nullptr, TTT::getStringID(dictionary(5), 1));
    TTT::stringids[5] = nullptr;
    EXPECT_EQ(nullptr, TTT::getStringID(dictionary(5), 0));
    TTT::stringids[5] = own.keys;
    TTT::localizations[5] = nullptr;
    EXPECT_EQ(nullptr, TTT::getStringID(dictionary(5), 0));
    // The texts themselves play no part.
    TTT::localizations[5] = &own.table;
    TTT::dictionaries[5] = nullptr;
    EXPECT_STREQ("KEY__own", TTT::getStringID(dictionary(5), 0));
}

void expectNotFound(const char* key) {
    SCOPED_TRACE(key ? key : "(null)");
    LocDictionaryId found = dictionary(-7);
    int id = -8;
    EXPECT_FALSE(TTT::findByStringID(key, found, id));
    EXPECT_EQ(dictionary(-7), found);
    EXPECT_EQ(-8, id);
}

void expectFound(const char* key, int expectedDictionary, int expectedId) {
    SCOPED_TRACE(key ? key : "(null)");
    LocDictionaryId found = dictionary(-7);
    int id = -8;
    EXPECT_TRUE(TTT::findByStringID(key, found, id));
    EXPECT_EQ(dictionary(expectedDictionary), found);
    EXPECT_EQ(expectedId, id);
}

TEST(DictionaryFindByStringID, FindsTheLibrarysKeysOnceTheModuleExists) {
    RegistryScope registry;
    expectNotFound("LCA__Disk_full");
    {
        Loc::VelmoraModule module;
        expectFound("LCA__Disk_full", 2, 12);
    }
    expectFound("LCA__Disk_full", 2, 12);
}

TEST(DictionaryFindByStringID, ComparesExactly) {
    support::keyName(0);
    for (const char* key : {"lca__disk_full", "LCA__DISK_FULL", "LCA__Disk_ful", "LCA__Disk_fullx", " LCA__Disk_full",
                            "LCA__Disk_full ", "Disk_full", "LCA__"}) {
        expectNotFound(key);
    }
}

TEST(DictionaryFindByStringID, NullIsTheEmptyText) {
    RegistryScope registry;
    expectNotFound(nullptr);
    expectNotFound("");
    OwnDictionary<3> own(4, "a", nullptr, "");
    expectFound(nullptr, 4, 1);
    expectFound("", 4, 1);
    own.keys[1] = "b";
    expectFound(nullptr, 4, 2);
    expectFound("", 4, 2);
    own.keys[2] = "c";
    expectNotFound(nullptr);
    expectNotFound("");
}

TEST(DictionaryFindByStringID, FirstMatchWins) {
    RegistryScope registry;
    OwnDictionary<3> high(3, "KEY__both", "KEY__high", "KEY__both");
    expectFound("KEY__both", 3, 0);
    OwnDictionary<2> low(1, "KEY__low", "KEY__both");
    expectFound("KEY__both", 1, 1);
    expectFound("KEY__high", 3, 1);
    OwnDictionary<1> last(5, "KEY__both");
    expectFound("KEY__both", 1, 1);
    OwnDictionary<1> first(0, "KEY__both");
    expectFound("KEY__both", 0, 0);
}

TEST(DictionaryFindByStringID, SkipsWhatLacksKeysOrDescription) {
    RegistryScope registry;
    OwnDictionary<1> low(0, "KEY__both");
    OwnDictionary<1> high(5, "KEY__both");
    TTT::stringids[0] = nullptr;
    expectFound("KEY__both", 5, 0);
    TTT::stringids[0] = low.keys;
    TTT::localizations[0] = nullptr;
    expectFound("KEY__both", 5, 0);
    TTT::localizations[0] = &low.table;
    TTT::dictionaries[0] = nullptr;
    expectFound("KEY__both", 0, 0);
}

TEST(DictionaryFindByStringID, StopsAtTheCount) {
    RegistryScope registry;
    OwnDictionary<2> own(4, "KEY__in", "KEY__out");
    own.table.count = 1;
    expectFound("KEY__in", 4, 0);
    expectNotFound("KEY__out");
    EXPECT_EQ(nullptr, TTT::getStringID(dictionary(4), 1));
}

// ---- from a file to a text ----

const char* ownKeys[] = {"KEY__plain", "KEY__with_s"};
IDLocLoader::Localization ownTable = {2, 8, 7};

std::string ownFile(char language) {
    const std::string header("\0\0\0\0LCLR\1\0\0\0\x08\0\0\0\7\0\0\0\2\0\0\0\x0A\0\0\0\0\0\0\0\2\0\0\0", 36);
    return header + language + std::string("\0", 1) + language + std::string(": <%s>\0", 7);
}

TEST(DictionaryTexts, ComeFromTheLoadedFile) {
    RegistryScope registry;
    support::TempFolder folder;
    folder.write("own.eng.lng", ownFile('e'));
    folder.write("own.ger.lng", ownFile('g'));
    IDLocLoader texts;
    Loc::Loader loader;
    loader.addModule(new Loc::IdModule("own", ownTable, ownKeys, texts, dictionary(5)));
    const std::string path = folder.path() + "/";

    ASSERT_TRUE(loader.load(path.c_str()));
    EXPECT_STREQ("e", TTT::get(dictionary(5), 0));
    EXPECT_STREQ("e: <%s>", TTT::get(dictionary(5), 1));
    EXPECT_EQ(texts[1], TTT::get(dictionary(5), 1));
    EXPECT_EQ(texts[1], TTT::get(TTP(dictionary(5), 1)));
    EXPECT_EQ(texts[1], TTP(dictionary(5), 1).get());
    TTT message(dictionary(5), 1);
    message < "parameter";
    EXPECT_EQ("e: <parameter>", support::render(message));

    ASSERT_TRUE(loader.load(path.c_str(), "ger"));
    EXPECT_STREQ("g", TTT::get(dictionary(5), 0));
    EXPECT_EQ("g: <parameter>", support::render(message));
}

// A failure before the texts are loaded is still a message, only without text.
TEST(DictionaryTexts, RegisteredButNotLoadedRendersNothing) {
    RegistryScope registry;
    OwnDictionary<1> own(5, "KEY__own");
    TTT message("before ");
    message <= TTP(dictionary(5), 0);
    message <= " behind";
    EXPECT_EQ("before ", support::render(message));
}

TEST(DictionaryTexts, AnotherSetOfLoadersMayBeUsed) {
    RegistryScope registry;
    support::TempFolder folder;
    folder.write("own.eng.lng", ownFile('e'));
    folder.write("own.ger.lng", ownFile('g'));
    IDLocLoader english, german;
    const std::string path = folder.path() + "/";
    Loc::IdModule first("own", ownTable, ownKeys, german, dictionary(5));
    ASSERT_TRUE(first.load(path.c_str(), "ger", nullptr));
    Loc::IdModule second("own", ownTable, ownKeys, english, dictionary(5));
    ASSERT_TRUE(second.load(path.c_str(), "eng", nullptr));
    IDLocLoader* others[6] = {nullptr, nullptr, nullptr, nullptr, nullptr, &german};
    TTT message(dictionary(5), 0);
    std::string text;
    message.translate(text, others);
    EXPECT_EQ("g", text);
    message.translate(text);
    EXPECT_EQ("e", text);
}

// ---- the library's own texts ----

const char* const kLanguages[] = {"eng", "ger", "fra", "spa", "rus", "jpn"};

std::vector<std::string> libraryTexts(const char* language) {
    support::loadTexts(language);
    std::vector<std::string> out;
    if (testing::Test::HasFatalFailure()) return out;
    for (int i = 0; i < kKeyCount; ++i) out.push_back(TTT::get(VELMORA_DICT, i));
    return out;
}

TEST(LibraryTexts, FollowTheLanguage) {
    const std::vector<std::string> english = libraryTexts("eng");
    ASSERT_EQ(79u, english.size());
    std::set<std::string> titles;  // of one message in each language
    for (const char* language : kLanguages) {
        SCOPED_TRACE(language);
        const std::vector<std::string> texts = libraryTexts(language);
        ASSERT_EQ(79u, texts.size());
        EXPECT_TRUE(titles.insert(texts[LCA__Disk_full]).second);
        if (texts == english) continue;
        // A few texts may read alike in both languages; the languages as a whole do not.
        int different = 0;
        for (std::size_t i = 0; i < english.size(); ++i) different += english[i] != texts[i];
        EXPECT_GT(different, 60);
    }
    EXPECT_EQ(english, libraryTexts("eng"));
}

TEST(LibraryTexts, AreReachedInAllForms) {
    support::loadTexts();
    for (const Key& key : kKeys) {
        SCOPED_TRACE(key.name);
        const char* text = TTT::get(VELMORA_DICT, key.number);
        EXPECT_EQ((*TTT::dictionaries[2])[key.number], text);
        EXPECT_EQ(text, TTT::get(TTP(VELMORA_DICT, key.number)));
        EXPECT_EQ(text, TTP(VELMORA_DICT, key.number).get());
    }
}

TEST(LibraryTexts, SurviveAFailedLoad) {
    const std::vector<std::string> before = libraryTexts("eng");
    const char* address = TTT::get(VELMORA_DICT, LCA__Disk_full);
    support::TempFolder folder;
    folder.write("velmora.eng.lng", ownFile('e'));
    Loc::Loader loader;
    loader.addModule(new Loc::VelmoraModule);
    std::string error;
    EXPECT_FALSE(loader.load((folder.path() + "/").c_str(), "eng", &error));
    EXPECT_EQ("Localization loading failed: Localization and executable file versions are different\n(file: " +
                  folder.file("velmora.eng.lng") + ")",
              error);
    EXPECT_EQ(address, TTT::get(VELMORA_DICT, LCA__Disk_full));
    for (int i = 0; i < kKeyCount; ++i) EXPECT_EQ(before[static_cast<std::size_t>(i)], TTT::get(VELMORA_DICT, i));
}

// Well-formed UTF-8 within the 16 bits that the library has for a character.
bool isUtf8(const std::string& text) {
    for (std::size_t i = 0; i < text.size();) {
        auto lead = static_cast<unsigned char>(text[i++]);
        if (lead < 0x80) continue;
        int more = lead >= 0xC2 && lead <= 0xDF ? 1 : (lead & 0xF0) == 0xE0 ? 2 : 0;
        if (more == 0) return false;
        unsigned value = lead & (more == 1 ? 0x1Fu : 0x0Fu);
        for (; more > 0; --more, ++i) {
            if (i == text.size()) return false;
            auto next = static_cast<unsigned char>(text[i]);
            if ((next & 0xC0) != 0x80) return false;
            value = value << 6 | (next & 0x3Fu);
        }
        if (value < 0x80 || (value < 0x800 && lead >= 0xE0)) return false;
        if (value >= 0xD800 && value <= 0xDFFF) return false;
    }
    return true;
}

TEST(LibraryTexts, Utf8CheckKnowsGoodFromBad) {
    for (const char* good : {"", "a", "\xC3\xBC", "\xE2\x80\x94", "\xEF\xBF\xBD"}) EXPECT_TRUE(isUtf8(good)) << good;
    for (const char* bad : {"\x80", "\xC3", "\xC0\xAF", "\xE0\x80\xAF", "\xED\xA0\x80", "\xF0\x9F\x98\x80", "\xFF",
                            "\xC3\xBC\xBC", "\xE2\x80"}) {
        EXPECT_FALSE(isUtf8(bad)) << bad;
    }
}

TEST(LibraryTexts, AreNonEmptyUtf8) {
    for (const char* language : kLanguages) {
        const std::vector<std::string> texts = libraryTexts(language);
        ASSERT_EQ(79u, texts.size());
        for (const Key& key : kKeys) {
            SCOPED_TRACE(std::string(language) + " " + key.name);
            const std::string& text = texts[static_cast<std::size_t>(key.number)];
            EXPECT_FALSE(text.empty());
            EXPECT_TRUE(isUtf8(text)) << text;
        }
    }
}

// What a message with a key brings along, as letters of placeholders. Two texts are given a string by the code that
// reports them, though their keys do not end in "_s".
std::string announced(const Key& key) {
    const std::string name = key.name;
    auto endsWith = [&](const std::string& end) {
        return name.size() >= end.size() && name.compare(name.size() - end.size(), end.size(), end) == 0;
    };
    if (key.key == LCA__Line_d_Column_d) return "dd";
    if (key.key == LCA__Invalid_date_required_format_is || key.key == LCA__Could_not_get_information_for) return "s";
    return endsWith("_d") ? "d" : endsWith("_s") ? "s" : "";
}

// The text with its placeholders filled in, independently of the library. `used` gets their letters in order.
std::string filled(const std::string& text, const std::vector<std::string>& parameters, std::string& used) {
    std::string out;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] != '%') {
            out += text[i];
            continue;
        }
        char letter = ++i < text.size() ? text[i] : '\0';
        if (letter == '%') {
            out += '%';
        } else {
            out += used.size() < parameters.size() ? parameters[used.size()] : "(missing)";
            used += letter;
        }
    }
    return out;
}

// Whether a message consumes just its parameters shows in three ways: the text is complete, the segment behind it is
// reached, and the cursor comes back, which it does not when a left-over parameter is taken for a segment.
TEST(LibraryTexts, ConsumeTheParametersThatTheirKeysAnnounce) {
    for (const char* language : kLanguages) {
        const std::vector<std::string> texts = libraryTexts(language);
        ASSERT_EQ(79u, texts.size());
        for (const Key& key : kKeys) {
            SCOPED_TRACE(std::string(language) + " " + key.name);
            const std::string letters = announced(key);
            TTT message(VELMORA_DICT, key.number);
            std::vector<std::string> parameters;
            for (char letter : letters) {
                if (letter == 's') {
                    parameters.push_back("some text");
                    message < "some text";
                } else {
                    int number = 1000 + static_cast<int>(parameters.size());
                    parameters.push_back(std::to_string(number));
                    message < number;
                }
            }
            std::string used;
            const std::string expected = filled(texts[static_cast<std::size_t>(key.number)], parameters, used);
            EXPECT_EQ(letters, used);

            message.getData().toBegin();
            EXPECT_EQ(expected, support::render(message));
            EXPECT_EQ(0, message.getData().tell());

            message.getData().toEnd();
            message <= "|end";
            message.getData().toBegin();
            EXPECT_EQ(expected + "|end", support::render(message));
            EXPECT_EQ(0, message.getData().tell());
        }
    }
}

}  // namespace
