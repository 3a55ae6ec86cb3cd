// Writing of the tool's results.
#ifndef VELMORA_TOOLS_SAVE_H
#define VELMORA_TOOLS_SAVE_H

#include <cstddef>
#include <string>

namespace tool {

// Writes a whole file, by way of a temporary beside it, so that a failure leaves the former one. What is no file of its
// own, such as a device or a link to a file, is written in place. Throws: TTT.
void saveFile(const std::string& path, const char* data, std::size_t size);

}  // namespace tool

#endif
