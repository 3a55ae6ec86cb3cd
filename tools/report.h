// How failures are told: rendered, on standard error, and on a terminal with the source line of the document.
#ifndef VELMORA_TOOLS_REPORT_H
#define VELMORA_TOOLS_REPORT_H

#include <velmora/markup/mldoc.h>
#include <velmora/serial/ttt.h>

#include <functional>
#include <string>

namespace tool {

// Tells a failure that holds all it has to say. Returns: the exit status that it stands for.
int report(const TTT& failure);

// Tells a failure at the document's position, with file and place added. Returns: the exit status that it stands for.
int reportAt(const MLDoc& doc, const TTT& failure);

// Loads a document and hands it to `read`, which gives the exit status; what is thrown on the way is told.
// Returns: the exit status.
int readDocument(MLDoc& doc, const std::string& path, const std::function<int(MLDoc&)>& read);

}  // namespace tool

#endif
