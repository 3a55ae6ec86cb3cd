// Telling failures, see report.h.
#include "tools/report.h"

#include <cstdio>

#include "tools/document.h"
#include "tools/excerpt.h"
#include "tools/host.h"
#include "tools/output.h"
#include "tools/texts.h"

namespace tool {
namespace {

// Positions stand one past the byte that was refused, and the mark goes under that byte.
std::string excerptOf(const MLDoc& doc) {
    if (!doc.buffer) return std::string();
    const ChPair text(doc.buffer, doc.buffer + doc.length);
    return excerpt(text, doc.position == 0 ? 0 : doc.position - 1);
}

// Whether a message is a key and nothing else: a tag, a dictionary and a number.
bool isBare(const TTT& message) { return message.getData().getSize() == 3 * static_cast<int>(sizeof(int)); }

// A refused document has no place to tell, but what is wrong with its XML declaration comes without its path.
int reportLoad(const MLDoc& doc, const TTT& failure) {
    return isBare(failure) ? reportAt(doc, failure) : report(failure);
}

}  // namespace

int report(const TTT& failure) {
    complain(render(failure));
    return statusOf(failure);
}

int reportAt(const MLDoc& doc, const TTT& failure) {
    TTT message(failure);
    doc.formMessage(message);
    complain(render(message), isTerminal(stderr) ? excerptOf(doc) : std::string());
    return statusOf(failure);
}

int readDocument(MLDoc& doc, const std::string& path, const std::function<int(MLDoc&)>& read) {
    try {
        loadDocument(doc, path);
    } catch (const TTT& failure) {
        return reportLoad(doc, failure);
    }
    try {
        return read(doc);
    } catch (const TTT& failure) {
        return reportAt(doc, failure);
    }
}

}  // namespace tool
