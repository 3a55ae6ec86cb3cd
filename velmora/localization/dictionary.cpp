// The registry of dictionaries, and the library's own entry in it.
#include <velmora/localization/loc.h>
#include <velmora/text/bytes.h>

namespace {

constexpr int kDictionaries = 6;
constexpr std::uint32_t kVersionStamp = 0xB81A2C30;

const char* const keys[VELMORA_KEY_COUNT] = {
    "LCA__Bad_character",
    "LCA__Character_in_names_is_not",
    "LCA__Deprecated_flag_s",
    "LCA__Cannot_close_file",
    "LCA__Cannot_open_file",
    "LCA__Empty_name",
    "LCA__Closing_quote_is_missed",
    "LCA__Expected_attribute_name",
    "LCA__Could_not_create_folder",
    "LCA__Could_not_delete_file",
    "LCA__Could_not_delete_folder",
    "LCA__Integer_value_is_out_of_range",
    "LCA__Disk_full",
    "LCA__Invalid_IP_address",
    "LCA__Invalid_date_required_format_is",
    "LCA__Invalid_enum_value",
    "LCA__Bad_indent",
    "LCA__Error_code_d",
    "LCA__Invalid_flag_s",
    "LCA__Invalid_double_value",
    "LCA__Invalid_integer_value",
    "LCA__Line_d_Column_d",
    "LCA__Invalid_indent",
    "LCA__Not_enough_memory_to_load_file",
    "LCA__Quoted_names_are_not_supported",
    "LCA__Path_s",
    "LCA__Read_file_error",
    "LCA__Seek_file_error",
    "LCA__System_diagnostic_s",
    "LCA__Too_big_file",
    "LCA__Specified_encoding_is_not",
    "LCA__Too_short_file",
    "LCA__Unexpected_end_of_file",
    "LCA__Unknown_text_format",
    "LCA__Unsupported_escape_sequence",
    "LCA__Write_file_error",
    "LCA__XML_header_is_not_found_or",
    "LCA__Not_enough_closing_tags",
    "LCA__Could_not_flush_file",
    "LCA__Bad_character_in_XML_tag",
    "LCA__Bad_character_in_attribute_name",
    "LCA__Bad_character_instead_begin_of",
    "LCA__Bad_nesting",
    "LCA__Character_expected_before_quote",
    "LCA__Closing_tag_not_found",
    "LCA__Duplicate_before_attribute_value",
    "LCA__Empty_XML_tag",
    "LCA__End_of_attribute_name_is_not",
    "LCA__Expected__0",
    "LCA__Expected_string",
    "LCA__Initial_quote_expected_after",
    "LCA__Nested_XML_tag",
    "LCA__Pair_token_not_found",
    "LCA__Too_long_XML_tag",
    "LCA__Too_long_attribute_name",
    "LCA__Unexpected",
    "LCA__Unexpected__0",
    "LCA__Unexpected__1",
    "LCA__Unexpected__2",
    "LCA__Unexpected_JSON_item",
    "LCA__Unexpected_end_of_token",
    "LCA__Unexpected_string",
    "LCA__XML_comment_is_not_finished",
    "LCA__XML_tag_is_not_finished",
    "LCA__Expected_space_or_new_line",
    "LCA__Spaces_and_in_names_are_not",
    "LCA__Expected_end_of_line",
    "LCA__Expected_first_item_of_array",
    "LCA__Normal_attributes_does_not",
    "LCA__Expected__1",
    "LCA__Too_long_string",
    "LCA__Could_not_get_information_for",
    "LCA__UTF_16_BOM_is_not_supported",
    "LCA__Could_not_rename_file",
    "LCA__Could_not_write_attribute",
    "LCA__Empty_token_name",
    "LCA__Cannot_write_content_for_non",
    "LCA__Attempt_start_nested_token",
    "LCA__Cannot_read_plain_content_for",
};

// The texts stay until the process ends: nothing destroys this loader.
union UndestroyedLoader {
    constexpr UndestroyedLoader() : loader() {}
    ~UndestroyedLoader() {}
    IDLocLoader loader;
};
constinit UndestroyedLoader ownTexts;
constinit IDLocLoader::Localization ownTable = {VELMORA_KEY_COUNT, 8, kVersionStamp};

// Texts of a dictionary that can be asked for by key; 0 for one that has no key table or no description.
int keyCount(int dictionary) {
    const IDLocLoader::Localization* table = TTT::localizations[dictionary];
    return table && TTT::stringids[dictionary] ? table->count : 0;
}

}  // namespace

constinit IDLocLoader* TTT::dictionaries[kDictionaries] = {};
constinit IDLocLoader::Localization* TTT::localizations[kDictionaries] = {};
constinit const char** TTT::stringids[kDictionaries] = {};

const char* TTP::get() const { return TTT::get(dict, id); }

const char* TTT::get(LocDictionaryId dictionary, int id) { return (*dictionaries[dictionary])[id]; }

const char* TTT::get(const TTP& text) { return get(text.dict, text.id); }

const char* TTT::getStringID(LocDictionaryId dictionary, int id) {
    if (dictionary < 0 || dictionary >= kDictionaries) return nullptr;
    return id >= 0 && id < keyCount(dictionary) ? stringids[dictionary][id] : nullptr;
}

bool TTT::findByStringID(const char* key, LocDictionaryId& dictionary, int& id) {
    for (int d = 0; d < kDictionaries; ++d) {
        int count = keyCount(d);
        for (int i = 0; i < count; ++i) {
            if (strcmp0(stringids[d][i], key) != 0) continue;
            dictionary = static_cast<LocDictionaryId>(d);
            id = i;
            return true;
        }
    }
    return false;
}

namespace Loc {

// The registry's type lets key tables be written to; nobody does.
VelmoraModule::VelmoraModule()
    : IdModule("velmora", ownTable, const_cast<const char**>(keys), ownTexts.loader, VELMORA_DICT) {}

VelmoraModule::~VelmoraModule() = default;

}  // namespace Loc
