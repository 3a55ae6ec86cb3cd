// The two streams of the tool. What goes to standard output may be long, so its first failure is remembered and told
// once, at the end; standard error is written line by line behind what standard output holds by then.
#ifndef VELMORA_TOOLS_OUTPUT_H
#define VELMORA_TOOLS_OUTPUT_H

#include <cstddef>
#include <string>

namespace tool {

// Appends to standard output, as it is.
void put(const char* text, std::size_t size);
inline void put(const std::string& text) { put(text.data(), text.size()); }

// Writes out what is held by now. Returns: whether standard output has taken everything so far.
bool flushOutput();

// Writes a line to standard error; its line feed is added.
void complain(const std::string& line);

// Writes out what is still held. Returns: `status`, or 2 when standard output could not take everything.
int finishOutput(int status);

}  // namespace tool

#endif
