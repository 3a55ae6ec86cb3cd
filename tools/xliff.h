// XLIFF 1.2 as far as texts of a dictionary need it: one <file> of <trans-unit> elements, each with a <source> and
// perhaps a <target> of plain text.
#ifndef VELMORA_TOOLS_XLIFF_H
#define VELMORA_TOOLS_XLIFF_H

#include <velmora/markup/mldoc.h>

#include <string>
#include <vector>

namespace tool {

struct XliffUnit {
    std::string id;  // empty when the unit has none
    std::string source;
    std::string target;
    bool hasSource = false;
    bool hasTarget = false;
    int line = 0;  // of the document, from 1

    // What the unit stands for: the translation, or the source while there is none.
    const std::string& text() const { return hasTarget ? target : source; }
};

struct Xliff {
    std::string original;
    std::string sourceLanguage;
    std::string targetLanguage;
    std::string productVersion;
    std::vector<XliffUnit> units;

    std::vector<std::string> ids() const;
};

// Reads a loaded document. Throws: TTT with the key or the text alone; the place is the document's position.
Xliff readXliff(MLDoc& doc);

// The document for these units, with every source and target written out.
std::string writeXliff(const Xliff& xliff);

}  // namespace tool

#endif
