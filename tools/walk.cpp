// velmora walk: the elements of a document in the order in which nested iterators deliver them. One loop over the
// tokens does it, so that no depth of nesting is too much for the stack.
#include <velmora/markup/mldoc.h>

#include <algorithm>
#include <string>

#include "tools/command.h"
#include "tools/document.h"
#include "tools/output.h"
#include "tools/report.h"
#include "tools/shown.h"
#include "tools/status.h"

namespace tool {
namespace {

constexpr int kIndentMax = 20;  // levels; deeper ones are told by their number, or lines would grow without end

// Ends the line also when a failure cuts it short.
struct LineEnd {
    ~LineEnd() { put("\n", 1); }
};

void putName(const MLDoc::Token& token) {
    const int depth = token.closing ? token.level : token.level - 1;
    put(std::string(static_cast<std::size_t>(2 * std::clamp(depth, 0, kIndentMax)), ' '));
    put(token.name.empty() ? std::string("\"\"") : shown(token.name));
    put(' ' + std::to_string(token.level));
}

void putLine(MLDoc& doc, const MLDoc::Token& token) {
    const LineEnd lineEnd;
    putName(token);
    MLDoc::Attribute attribute;
    while (doc.attribute(token, attribute)) put(' ' + shown(attribute.name) + "=\"" + shown(attribute.value) + '"');
}

// A stray end tag ends a nested walk, and so this one.
int walk(MLDoc& doc) {
    MLDoc::Token token;
    while (token.level >= 0 && doc.step(token)) {
        if (token.opening) putLine(doc, token);
    }
    if (token.level > 0) throwUnclosed(doc, token.level);
    return kDone;
}

int run(const Arguments& arguments, const Settings&) {
    MLDoc doc;
    return readDocument(doc, arguments.operands[0], walk);
}

}  // namespace

const Command walkCommand{"walk",
                          "FILE",
                          "shows the elements of a document, with their attributes",
                          "One line per element: name, level, and attributes as they stand in the document.\n"
                          "Control bytes are shown as \\n, \\r, \\t or \\xHH, an empty name as \"\"; so is, on a\n"
                          "terminal, what is no UTF-8, does not print or reorders a line. Lines are indented by\n"
                          "level, up to 20 of them.\n",
                          1,
                          1,
                          true,
                          {},
                          run};

}  // namespace tool
