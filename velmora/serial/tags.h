// Static tables from names to numbers and back. A table is an array that ends with a record whose first field is null;
// names compare without regard to case, the first match wins, and values may repeat.
// Cost of a look-up: the table is walked, and the text compared with each name of its length.
//
//     static PairTag colours[] = {{"red", 1}, {"green", 2}, {"blue", 4}, {}};
//     colours->translate("GREEN", -1);   // 2
//     colours->translate(5, text);       // "red blue"
//
// Threads: a PairTag table fills in `nameEnd` on first use, without a lock; call init first if several threads share
// it.
#ifndef VELMORA_SERIAL_TAGS_H
#define VELMORA_SERIAL_TAGS_H

#include <string>

#include <velmora/base.h>
#include <velmora/text/chpair.h>

class ChArr;
class CharVector;

// The working form. Requires: the table lies in writable memory.
struct VELMORA_API PairTag {
    const char* name = nullptr;  // null ends the table
    int value = 0;
    mutable const char* nameEnd = nullptr;  // end of the name, null until it has been measured

    // Measures all names of the table, unless the first has been.
    void init() const;

    // The value of a name, or `def`.
    int translate(const ChPair& text, int def) const;
    int translate(const CharVector& text, int def) const;
    int translate(const std::string& text, int def) const { return translate(ChPair(text), def); }
    // The same without the measured ends. A null or empty name finds only an empty one.
    int translate(const char* text, int def) const;
    int translate(const ChArr& text, int def) const;

    // The name of a value; null if there is none.
    const char* translate(int wanted) const;
    ChPair ptranslate(int wanted) const;

    // The names of flags in table order, with a blank between them. A record shows when one of its bits is left, and
    // takes all of its bits with it: combined values go first. Bits without a name are dropped.
    void translate(int flags, std::string& out) const;
    void translate(int flags, CharVector& out) const;
};

struct VELMORA_API StrTag {
    const char* name = nullptr;  // null ends the table
    int value = 0;

    int translate(const char* text, int def) const;
    const char* translate(int wanted) const;
};

// For names that change with the language.
struct VELMORA_API StrPtrTag {
    const char* const* namePtr = nullptr;  // null ends the table; a null name behind it is an empty one
    int value = 0;

    int translate(const char* text, int def) const;
    const char* translate(int wanted) const;
};

#endif
