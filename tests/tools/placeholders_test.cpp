// Placeholders of templates.
#include "tools/placeholders.h"

#include <gtest/gtest.h>

namespace {

struct ParseRow {
    int line;
    const char* text;
    const char* list;
    const char* problem;
};

const ParseRow parseRows[] = {
    {__LINE__, "", "none", ""},
    {__LINE__, "plain", "none", ""},
    {__LINE__, "100%% %%%%", "none", ""},
    {__LINE__, "%d%u%x%X%f", "%d %u %x %X %f", ""},
    {__LINE__, "%A %D %T %s %C %i", "%A %D %T %s %C %i", ""},
    {__LINE__, "%ld %lu %lx %lX", "%ld %lu %lx %lX", ""},
    {__LINE__, "%lld %llu %llx %llX", "%ld %lu %lx %lX", ""},
    {__LINE__, "%s%%%d", "%s %d", ""},
    {__LINE__, "%dd", "%d", ""},
    {__LINE__, "%{2} %{1} %{10} %{2}", "%{1} %{2} %{10}", ""},
    {__LINE__, "%{32}%{01}", "%{1} %{32}", ""},
    {__LINE__, "%", "none", "\"%\" is no placeholder"},
    {__LINE__, "%s %", "%s", "\"%\" is no placeholder"},
    {__LINE__, "%5d", "none", "\"%5\" is no placeholder"},
    {__LINE__, "% d", "none", "\"% \" is no placeholder"},
    {__LINE__, "%S", "none", "\"%S\" is no placeholder"},
    {__LINE__, "%c", "none", "\"%c\" is no placeholder"},
    {__LINE__, "%a", "none", "\"%a\" is no placeholder"},
    {__LINE__, "%t", "none", "\"%t\" is no placeholder"},
    {__LINE__, "%\xC3\xA4", "none", "\"%\\xC3\" is no placeholder"},
    {__LINE__, "%\"", "none", "\"%\\\"\" is no placeholder"},
    {__LINE__, "%l", "none", "\"%l\" is no placeholder"},
    {__LINE__, "%ll", "none", "\"%ll\" is no placeholder"},
    {__LINE__, "%lld%llld", "%ld", "\"%lll\" is no placeholder"},
    {__LINE__, "%lf", "none", "\"%lf\" is no placeholder"},
    {__LINE__, "%ls", "none", "\"%ls\" is no placeholder"},
    {__LINE__, "%{", "none", "\"%{\" is no placeholder"},
    {__LINE__, "%{}", "none", "\"%{}\" is no placeholder"},
    {__LINE__, "%{1", "none", "\"%{1\" is no placeholder"},
    {__LINE__, "%{12", "none", "\"%{12\" is no placeholder"},
    {__LINE__, "%{0}", "none", "\"%{0}\" is no placeholder"},
    {__LINE__, "%{00}", "none", "\"%{00}\" is no placeholder"},
    {__LINE__, "%{33}", "none", "\"%{33}\" is no placeholder"},
    {__LINE__, "%{001}", "none", "\"%{001\" is no placeholder"},
    {__LINE__, "%{123}", "none", "\"%{123\" is no placeholder"},
    {__LINE__, "%{12x", "none", "\"%{12x\" is no placeholder"},
    {__LINE__, "%{a}", "none", "\"%{a\" is no placeholder"},
    {__LINE__, "%{-1}", "none", "\"%{-\" is no placeholder"},
    {__LINE__, "%s %{1}", "%s %{1}", "placeholders in order and by number in one text: %s %{1}"},
};

TEST(PlaceholdersParse, Table) {
    for (const ParseRow& row : parseRows) {
        SCOPED_TRACE("row at line " + std::to_string(row.line));
        tool::Placeholders placeholders;
        EXPECT_EQ(row.problem, tool::parsePlaceholders(row.text, placeholders));
        EXPECT_EQ(row.list, placeholders.list());
    }
}

struct CheckRow {
    int line;
    const char* source;
    const char* target;
    const char* problem;
};

const CheckRow checkRows[] = {
    {__LINE__, "one", "eins", ""},
    {__LINE__, "%s and %d", "%s, %d", ""},
    {__LINE__, "%lld", "%ld", ""},
    {__LINE__, "50%%", "half", ""},
    {__LINE__, "%{1} %{2}", "%{2} %{1}", ""},
    {__LINE__, "%{1}", "%{1} %{1}", ""},
    {__LINE__, "%s %d", "%d %s", "placeholders are %d %s, those of the source are %s %d"},
    {__LINE__, "%d", "%u", "placeholders are %u, those of the source are %d"},
    {__LINE__, "%d", "%ld", "placeholders are %ld, those of the source are %d"},
    {__LINE__, "%d", "%d %d", "placeholders are %d %d, those of the source are %d"},
    {__LINE__, "%d", "", "placeholders are none, those of the source are %d"},
    {__LINE__, "%s", "%{1}", "placeholders are %{1}, those of the source are %s"},
    {__LINE__, "%{1} %{2}", "%{1} %{3}", "placeholders are %{1} %{3}, those of the source are %{1} %{2}"},
    {__LINE__, "%q", "%d", "in the source: \"%q\" is no placeholder"},
    {__LINE__, "%d", "%q", "\"%q\" is no placeholder"},
};

TEST(PlaceholdersCheck, Table) {
    for (const CheckRow& row : checkRows) {
        SCOPED_TRACE("row at line " + std::to_string(row.line));
        EXPECT_EQ(row.problem, tool::checkPlaceholders(row.source, row.target));
    }
}

}  // namespace
