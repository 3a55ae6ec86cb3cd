// Text of unknown origin, made fit for a line of output.
#ifndef VELMORA_TOOLS_SHOWN_H
#define VELMORA_TOOLS_SHOWN_H

#include <velmora/text/chpair.h>

#include <cstddef>
#include <string>

namespace tool {

// Bytes of the UTF-8 character that begins at `p`; 0 when none does. Requires: p < end.
std::size_t characterLength(const char* p, const char* end);

// Whether a byte is a control character of ASCII, which would end the line or speak to the terminal.
bool isControl(char c);

// The text as it stands, but for control bytes, which are shown as \n, \r, \t or \xHH.
std::string shown(const ChPair& text);

// The text in double quotes, with '"' and '\' behind a backslash, and bytes that are no UTF-8 shown like control bytes:
// what is shown can be turned back.
std::string quoted(const ChPair& text);

}  // namespace tool

#endif
