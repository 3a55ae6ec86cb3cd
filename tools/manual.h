// What is made of the list of commands for other programs: the manual page, and completion for bash.
#ifndef VELMORA_TOOLS_MANUAL_H
#define VELMORA_TOOLS_MANUAL_H

#include <string>
#include <vector>

#include "tools/command.h"

namespace tool {

struct CommandList {
    std::vector<const Command*> commands;
    std::vector<OptionSpec> commonOptions;
    std::string commonHelp;
};

// In the language of man.
std::string manualPage(const CommandList& list);

// A script to be read by the shell.
std::string bashCompletion(const CommandList& list);

}  // namespace tool

#endif
