// velmora check: reads everything that a walk could deliver, and decodes every value and every text between tags.
#include <velmora/localization/keys.h>
#include <velmora/markup/mldoc.h>

#include <algorithm>
#include <cstdint>
#include <string>

#include "tools/command.h"
#include "tools/document.h"
#include "tools/output.h"
#include "tools/report.h"
#include "tools/shown.h"
#include "tools/status.h"

namespace tool {
namespace {

// One document. A value that does not decode is told, and the reading goes on behind it; any other failure ends it.
class Checker {
public:
    explicit Checker(MLDoc& doc) : doc_(doc), text_(doc.buffer + doc.position) {}

    // Returns: the exit status.
    int run() {
        MLDoc::Token token;
        std::uint32_t from = doc_.position;
        while (doc_.step(token)) {
            notePassedOver(from);
            checkToken(token);
            from = doc_.position;
        }
        notePassedOver(from);
        if (token.level > 0) throwUnclosed(doc_, token.level);
        return status_;
    }

private:
    MLDoc& doc_;
    const char* text_;    // XML: behind the last tag
    bool stray_ = false;  // there was an end tag without a start tag
    int status_ = kDone;
    std::string decoded_;

    void checkToken(const MLDoc::Token& token) {
        checkText(token);
        if (token.level < 0) noteStray();
        if (token.opening) checkAttributes(token);
    }

    // Only XML has text between tags, and only in XML is the body of a token its tag.
    void checkText(const MLDoc::Token& token) {
        if (doc_.format != MLDoc::XML) return;
        checkValue(ChPair(text_, token.body.begin));
        text_ = token.body.end;
    }

    void checkAttributes(const MLDoc::Token& token) {
        MLDoc::Attribute attribute;
        while (doc_.attribute(token, attribute)) checkValue(attribute.value);
    }

    void checkValue(const ChPair& value) {
        const std::uint32_t position = doc_.position;
        try {
            decode(doc_, value, decoded_);
        } catch (const TTT& failure) {
            status_ = reportAt(doc_, failure);
        }
        doc_.position = position;
    }

    void noteAt(const char* place, const char* text) {
        const std::uint32_t position = doc_.position;
        doc_.position = static_cast<std::uint32_t>(place - doc_.buffer) + 1;
        reportAt(doc_, TTT(text));
        doc_.position = position;
    }

    // The first of each place is enough.
    void notePassedOver(std::uint32_t from) {
        const char* place = passedOverValue(doc_, from);
        if (place) noteAt(place, "note: a value behind a list or an object is never read");
    }

    // The library takes such a document, but a walk ends there and sees nothing of what follows.
    void noteStray() {
        if (stray_) return;
        stray_ = true;
        reportAt(doc_, TTT("note: an end tag without a start tag ends every walk"));
    }
};

int checkFile(const std::string& path) {
    MLDoc doc;
    const int status = readDocument(doc, path, [](MLDoc& loaded) { return Checker(loaded).run(); });
    if (status == kDone) put(shown(path) + ": ok\n");
    return status;
}

int run(const Arguments& arguments, const Settings&) {
    int status = kDone;
    for (const std::string& path : arguments.operands) status = std::max(status, checkFile(path));
    return status;
}

}  // namespace

const Command checkCommand{"check",
                           "FILE...",
                           "reads documents whole and tells what is wrong where",
                           "Reads every element and attribute, and decodes every value and every text between\n"
                           "tags. Prints \"FILE: ok\" for each good file; the exit status is that of the worst.\n",
                           1,
                           Command::kAnyNumber,
                           true,
                           {},
                           run};

}  // namespace tool
