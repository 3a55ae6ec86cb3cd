// XLIFF 1.2 as far as texts of a dictionary need it: one <file> of <trans-unit> elements, each with a <source> and
// perhaps a <target> of plain text.
#ifndef VELMORA_TOOLS_XLIFF_H
#define VELMORA_TOOLS_XLIFF_H

#include <velmora/markup/mldoc.h>

#include <functional>
#include <string>
#include <utility>
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

// A document in pieces, each for `take` as soon as it is made: what stands around the units, whose list is not looked
// at, and each unit with its source and its target written out.
class XliffWriter {
public:
    using Take = std::function<void(const std::string& piece)>;

    explicit XliffWriter(Take take) : take_(std::move(take)) {}

    void begin(const Xliff& xliff);
    void unit(const std::string& id, const std::string& source, const std::string& target);
    void end();

private:
    Take take_;
};

// Whether the text is one that XML can hold: UTF-8, without control characters but tabs and line ends.
bool isXmlText(const ChPair& text);

}  // namespace tool

#endif
