// A whole walk as one line of text, for tables of documents.
#ifndef VELMORA_TESTS_SUPPORT_WALK_DUMP_H
#define VELMORA_TESTS_SUPPORT_WALK_DUMP_H

#include <string>

#include <velmora/markup/mldoc.h>

namespace support {

// Walks with nested iterators and reads all attributes. An item is name(attribute=value,...){ child child }; items
// stand side by side with a blank between them. A failure ends the line with "!KEY".
std::string dumpWalk(MLDoc& doc);

// The same for a text that is loaded first; a refused load is its "!KEY" alone.
std::string dumpWalk(const std::string& text);

// Every token that step delivers, side by side: "<name" opening, "name>" closing, "<name>" both, "?name" a declaration,
// "!name" a comment, each followed by "@level". A failure ends the line with "!KEY".
std::string dumpSteps(const std::string& text);

// One row of a table: a document and its walk.
struct WalkRow {
    int line;  // __LINE__
    const char* text;
    const char* walk;
};
void expectWalk(const WalkRow& row);

}  // namespace support

#endif
