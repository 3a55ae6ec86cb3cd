// What the tool asks of the system itself. There is one source per system; everything else of the tool is portable.
#ifndef VELMORA_TOOLS_HOST_H
#define VELMORA_TOOLS_HOST_H

#include <cstdio>
#include <string>

namespace tool {

// The whole tool, with its arguments in UTF-8. Each system's own main prepares the streams and calls it.
// Returns: the exit status.
int runTool(int argc, char** argv);

// Whether a person is looking at the stream.
bool isTerminal(std::FILE* stream);

// The folder of the running program, in UTF-8, with its closing separator. Empty when the system cannot tell.
std::string programFolder();

}  // namespace tool

#endif
