// The source line of a failure, with a mark under the place.
#ifndef VELMORA_TOOLS_EXCERPT_H
#define VELMORA_TOOLS_EXCERPT_H

#include <velmora/text/chpair.h>

#include <cstddef>
#include <string>

namespace tool {

// The line of `text` that holds the byte at `offset`, and below it a '^' under the character of that byte. A long
// line is cut around the place. Any bytes will do: tabs stay, so that the mark stands right on every terminal,
// characters of East Asia take two columns, accents that stand alone none, and what is no printable character is
// shown as U+FFFD. Returns: two lines, each with its line feed; nothing for an empty text.
std::string excerpt(const ChPair& text, std::size_t offset);

}  // namespace tool

#endif
