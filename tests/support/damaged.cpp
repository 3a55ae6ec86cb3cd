#include "tests/support/damaged.h"

#include <gtest/gtest.h>

#include <velmora/serial/ttt.h>

#include "tests/support/message.h"

namespace support {

const unsigned char kNastyBytes[30] = {0,   1,   '\t', '\n', '\r', ' ',  '!',  '"',  '&',  '\'',
                                       ',', '-', '/',  ':',  '<',  '=',  '>',  '?',  '[',  ']',
                                       '{', '}', '\\', 'a',  0x7F, 0x80, 0xC3, 0xEF, 0xFE, 0xFF};

const std::set<std::string>& walkKeys(MLDocBase::Format format) {
    static const std::set<std::string> xml = {
        "LCA__XML_tag_is_not_finished",
        "LCA__XML_comment_is_not_finished",
        "LCA__Too_long_XML_tag",
        "LCA__Bad_character_in_XML_tag",
        "LCA__Nested_XML_tag",
        "LCA__Empty_XML_tag",
        "LCA__Unexpected_end_of_token",
        "LCA__Bad_character_instead_begin_of",
        "LCA__Too_long_attribute_name",
        "LCA__Bad_character_in_attribute_name",
        "LCA__End_of_attribute_name_is_not",
        "LCA__Character_expected_before_quote",
        "LCA__Duplicate_before_attribute_value",
        "LCA__Initial_quote_expected_after",
        "LCA__Closing_quote_is_missed",
    };
    static const std::set<std::string> json = {
        "LCA__Expected__0",
        "LCA__Expected_string",
        "LCA__Unexpected",
        "LCA__Unexpected__0",
        "LCA__Unexpected__1",
        "LCA__Unexpected__2",
        "LCA__Unexpected_string",
        "LCA__Unexpected_JSON_item",
        "LCA__Bad_nesting",
        "LCA__Closing_quote_is_missed",
        "LCA__Unsupported_escape_sequence",
        "LCA__Bad_character",
    };
    static const std::set<std::string> yaml = {
        "LCA__Expected_attribute_name",
        "LCA__Invalid_indent",
        "LCA__Quoted_names_are_not_supported",
        "LCA__Expected__0",
        "LCA__Empty_name",
        "LCA__Spaces_and_in_names_are_not",
        "LCA__Expected_space_or_new_line",
        "LCA__Character_in_names_is_not",
        "LCA__Closing_quote_is_missed",
        "LCA__Unsupported_escape_sequence",
        "LCA__Expected_end_of_line",
        "LCA__Normal_attributes_does_not",
        "LCA__Expected__1",
        "LCA__Expected_first_item_of_array",
        "LCA__Bad_nesting",
    };
    return format == MLDocBase::JSON ? json : format == MLDocBase::YAML ? yaml : xml;
}

const std::set<std::string>& detectionKeys() {
    static const std::set<std::string> keys = {
        "LCA__UTF_16_BOM_is_not_supported", "LCA__Too_short_file",
        "LCA__Unknown_text_format",         "LCA__XML_header_is_not_found_or",
        "LCA__Specified_encoding_is_not",
    };
    return keys;
}

std::string failureOf(const std::function<void()>& action) {
    try {
        action();
    } catch (const TTT& message) {
        return dumpMessage(message);
    }
    return "";
}

void expectInside(const MLDoc& doc, const ChPair& view) {
    EXPECT_LE(doc.buffer, view.begin);
    EXPECT_LE(view.begin, view.end);
    EXPECT_LE(view.end, doc.buffer + doc.length);
}

}  // namespace support
