// What the commands about dictionaries share: the library's own table, loading, and stamps.
#ifndef VELMORA_TOOLS_LNG_H
#define VELMORA_TOOLS_LNG_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "tools/lng_file.h"
#include "tools/options.h"
#include "tools/xliff.h"

namespace tool {

// What is wrong with a file whose texts are more than the tool makes of it.
constexpr const char* kTooMuchOverlap = "the texts share their bytes too often to be read one by one";

// The table of the library's own texts.
std::vector<std::string> libraryKeys();
std::uint32_t libraryStamp();

// Loads an XLIFF file. Returns: the exit status; faults have been reported.
int loadXliff(const std::string& path, Xliff& out);

// Loads a .lng file. What is wrong goes to `problems`. Returns: as LngFile::parse. Throws: TTT when it cannot be read.
bool loadLng(const std::string& path, LngFile& out, std::vector<std::string>& problems);

// The stamp of the dictionary that is made from these units: their file's product version when that is a stamp, else
// the stamp of their keys.
std::uint32_t stampOf(const Xliff& xliff);

// Sets `stamp` from --stamp, one to eight hexadecimal digits with or without 0x. Returns: whether the option was given.
// Throws: UsageError.
bool readStampOption(const Arguments& arguments, std::uint32_t& stamp);

// A text for messages: its number, and its key where one is known.
std::string textName(std::size_t number, const std::vector<std::string>& keys);

}  // namespace tool

#endif
