// Version stamps: the 32-bit number that ties a dictionary to a table of keys.
#ifndef VELMORA_TOOLS_STAMP_H
#define VELMORA_TOOLS_STAMP_H

#include <cstdint>
#include <string>
#include <vector>

namespace tool {

// As 0x and eight digits, the form in which XLIFF files carry it.
std::string stampText(std::uint32_t stamp);

// Reads exactly that form. Returns: false for any other text, and `stamp` stays.
bool parseStamp(const std::string& text, std::uint32_t& stamp);

// The stamp of a table of keys that has none of its own: CRC-32 of the keys, each with its terminator.
std::uint32_t stampOfKeys(const std::vector<std::string>& keys);

}  // namespace tool

#endif
