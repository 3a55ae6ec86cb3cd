// What the tool adds to the library's reader: loading that knows a folder, and the places of failures that the reader
// leaves to its caller.
#ifndef VELMORA_TOOLS_DOCUMENT_H
#define VELMORA_TOOLS_DOCUMENT_H

#include <velmora/markup/mldoc.h>
#include <velmora/serial/ttt.h>

#include <cstdint>
#include <string>

namespace tool {

// Load a document, and a whole file of at most as many bytes as a document may have. A folder is refused as one,
// whatever the system makes of reading it. Throws: TTT with the path, but see MLDoc::load for what is in a document.
void loadDocument(MLDoc& doc, const std::string& path);
std::string loadBytes(const std::string& path);

// Puts a document back to where its load left it.
void rewindDocument(MLDoc& doc);

// Decodes a value of the document. Throws: LCA__Unsupported_escape_sequence; the document's position then stands one
// past the first byte of that sequence.
void decode(MLDoc& doc, const ChPair& value, std::string& out);

// JSON: the reader steps without a word over values that stand behind a list or an object. Returns: the name of the
// first such value between `from` and the position, or null. Requires: the document has been stepped from there.
const char* passedOverValue(MLDoc& doc, std::uint32_t from);

// For a document that has ended `level` elements deep: goes through it again, as keeping the place of every open
// element would take memory, and puts its position where the inside of the innermost open one starts.
// Throws: LCA__Closing_tag_not_found.
[[noreturn]] void throwUnclosed(MLDoc& doc, int level);

// The exit status for a failure: whether the file could not be read or written, or what it holds is at fault.
int statusOf(const TTT& failure);

}  // namespace tool

#endif
