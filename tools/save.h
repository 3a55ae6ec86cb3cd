// Writing of the tool's results.
#ifndef VELMORA_TOOLS_SAVE_H
#define VELMORA_TOOLS_SAVE_H

#include <cstddef>
#include <string>

namespace tool {

// Writes a whole file through a temporary file beside it, so that a failure leaves the previous one. A device or a link
// is written in place. Throws: TTT.
void saveFile(const std::string& path, const char* data, std::size_t size);

}  // namespace tool

#endif
