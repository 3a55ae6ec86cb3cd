// Tests that start the real tool. Messages of the library are rendered from a dictionary of the fixture's own, in which
// each text is its key, so that expectations name keys and parameters and not English words.
#ifndef VELMORA_TESTS_TOOLS_TOOL_FIXTURE_H
#define VELMORA_TESTS_TOOLS_TOOL_FIXTURE_H

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "tests/support/temp_folder.h"

// The command line's own files; the folder of test documents; see CMakeLists.txt.
#if !defined(VELMORA_TOOL) || !defined(VELMORA_EXAMPLES_DIR)
#error "VELMORA_TOOL and VELMORA_EXAMPLES_DIR must be defined"
#endif

struct ToolResult {
    int status;
    std::string out;
    std::string err;
};

// Starts the tool with these words, none of which has a quotation mark. Its streams go through files in `folder`, but
// when a `device` is given, standard output goes there.
ToolResult startTool(const support::TempFolder& folder, const std::vector<std::string>& words,
                     const std::string& device = std::string());

// The bytes of a little-endian .lng file, written out without the tool's own code.
std::string lngBytes(std::uint32_t stamp, const std::vector<std::string>& texts);

// The library's dictionary with "open key(parameters) close" as each text.
std::string keyDictionary(const std::string& open, const std::string& close);

constexpr std::uint32_t kLibraryStamp = 0xB81A2C30;
constexpr int kLibraryCount = 79;

class ToolTest : public ::testing::Test {
protected:
    support::TempFolder folder;

    ToolTest() { folder.write("velmora.eng.lng", keyDictionary("[", "]")); }

    // With the fixture's dictionary.
    ToolResult run(std::vector<std::string> words) const {
        words.insert(words.begin(), {"--lang-dir", folder.path()});
        return startTool(folder, words);
    }
    // With no dictionary at all.
    ToolResult runWithoutTexts(std::vector<std::string> words) const {
        words.insert(words.begin(), {"--lang-dir", folder.file("nowhere")});
        return startTool(folder, words);
    }
};

#endif
