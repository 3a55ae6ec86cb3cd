// Places and statuses of failures.
#include "tools/document.h"

#include <gtest/gtest.h>

#include <velmora/localization/keys.h>

#include <filesystem>

#include "tests/support/message.h"
#include "tests/support/temp_folder.h"
#include "tools/status.h"

namespace {

void load(MLDoc& doc, const std::string& text) { doc.load("", text.data(), static_cast<int>(text.size())); }

// Steps to the end of the document. Returns: the last level.
int stepThrough(MLDoc& doc) {
    MLDoc::Token token;
    while (doc.step(token)) {
    }
    return token.level;
}

TEST(DocumentDecode, BadEscapeIsThePlace) {
    struct Row {
        int line;
        const char* value;
        unsigned position;  // behind <a>; 0 when the value is good
    };
    const Row rows[] = {
        {__LINE__, "", 0},       {__LINE__, "&amp;&lt;&gt;", 0}, {__LINE__, "&", 1},
        {__LINE__, "ab&", 3},    {__LINE__, "&amp", 1},          {__LINE__, "&amp&amp;", 1},
        {__LINE__, "&amp;&", 6}, {__LINE__, "&apos;&apos", 7},   {__LINE__, "x&quot;y&AMP;&", 9},
        {__LINE__, "&&amp;", 1}, {__LINE__, "\\n", 0},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE("row at line " + std::to_string(row.line));
        MLDoc doc;
        load(doc, "<a>" + std::string(row.value) + "</a>");
        MLDoc::Token token;
        ASSERT_TRUE(doc.step(token));
        const ChPair value = doc.content(token);
        const std::uint32_t before = doc.position;
        std::string out;
        const std::string thrown = support::thrownMessage([&] { tool::decode(doc, value, out); });
        EXPECT_EQ(row.position == 0 ? "(nothing)" : "LCA__Unsupported_escape_sequence", thrown);
        EXPECT_EQ(row.position == 0 ? before : 3 + row.position, doc.position);
    }
}

TEST(DocumentUnclosed, InnermostOpenElementIsThePlace) {
    struct Row {
        int line;
        const char* text;
        int level;
        unsigned position;
    };
    const Row rows[] = {
        {__LINE__, "<a>", 1, 3},
        {__LINE__, "<?xml version=\"1.0\"?><a x=\"1\"> text", 1, 30},
        {__LINE__, "<a><b></b><c/>", 1, 3},
        {__LINE__, "<a><b></b><c>", 2, 13},
        {__LINE__, "<a></a><b><c><d></d><d/></c>", 1, 10},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE("row at line " + std::to_string(row.line));
        MLDoc doc;
        load(doc, row.text);
        ASSERT_EQ(row.level, stepThrough(doc));
        EXPECT_THROW_KEY(tool::throwUnclosed(doc, row.level), LCA__Closing_tag_not_found);
        EXPECT_EQ(row.position, doc.position);
    }
}

TEST(DocumentLoad, FolderIsRefusedAsOne) {
    const support::TempFolder folder;
    MLDoc doc;
    const std::string start = "LCA__Cannot_open_file LCA__Path_s(" + folder.path() + ") LCA__System_diagnostic_s(";
    EXPECT_EQ(0U, support::thrownMessage([&] { tool::loadDocument(doc, folder.path()); }).find(start));
    EXPECT_EQ(0U, support::thrownMessage([&] { tool::loadBytes(folder.path()); }).find(start));
    EXPECT_EQ(nullptr, doc.buffer);
}

TEST(DocumentLoad, BytesAreTheWholeFile) {
    const support::TempFolder folder;
    EXPECT_EQ(std::string("a\0b", 3), tool::loadBytes(folder.write("file", std::string("a\0b", 3))));
    const std::string path = folder.write("large", "");
    std::filesystem::resize_file(path, 100000001);
    EXPECT_THROW_KEY(tool::loadBytes(path), LCA__Too_big_file);
}

TEST(DocumentStatus, ReadingAndWritingFailuresAreToldFromBadInput) {
    const int failures[] = {LCA__Cannot_open_file,       LCA__Read_file_error,
                            LCA__Cannot_close_file,      LCA__Seek_file_error,
                            LCA__Unexpected_end_of_file, LCA__Not_enough_memory_to_load_file,
                            LCA__Write_file_error,       LCA__Disk_full,
                            LCA__Could_not_delete_file,  LCA__Could_not_rename_file,
                            LCA__Could_not_flush_file};
    for (int key = 0; key < VELMORA_KEY_COUNT; ++key) {
        bool failed = false;
        for (int failure : failures) failed = failed || failure == key;
        EXPECT_EQ(failed ? tool::kFailed : tool::kBadInput, tool::statusOf(TTT(VELMORA_DICT, key)))
            << support::keyName(key);
    }
    EXPECT_EQ(tool::kBadInput, tool::statusOf(TTT("raw")));
    EXPECT_EQ(tool::kBadInput, tool::statusOf(TTT()));
    EXPECT_EQ(tool::kBadInput, tool::statusOf(TTT(static_cast<LocDictionaryId>(1), LCA__Disk_full)));
}

}  // namespace
