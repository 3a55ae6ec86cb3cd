// The commands of the tool. Each stands in a source file of its own and describes itself; main.cpp holds the list.
#ifndef VELMORA_TOOLS_COMMAND_H
#define VELMORA_TOOLS_COMMAND_H

#include <climits>
#include <string>

#include "tools/options.h"

namespace tool {

// What the common options settle.
struct Settings {
    std::string language;        // of the messages: "eng"
    std::string languageFolder;  // where the dictionaries lie, with its closing separator
};

struct Command {
    static constexpr int kAnyNumber = INT_MAX;

    const char* name;     // the words that call it: "lng compile"
    const char* usage;    // what follows the name
    const char* summary;  // one line for the list of commands
    const char* details;  // the rest of its help, in lines
    int minOperands;
    int maxOperands;
    bool needsTexts;         // messages of the library must be loaded before it runs
    OptionSpec options[10];  // its own; unused entries have no name
    int (*run)(const Arguments& arguments, const Settings& settings);  // gives the exit status
};

extern const Command checkCommand;
extern const Command convertCommand;
extern const Command lngCheckCommand;
extern const Command lngCompileCommand;
extern const Command lngDumpCommand;
extern const Command lngKeysCommand;
extern const Command lsCommand;
extern const Command tailCommand;
extern const Command walkCommand;

}  // namespace tool

#endif
