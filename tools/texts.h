// The library's messages as text: from a dictionary, or by their keys while there is none.
#ifndef VELMORA_TOOLS_TEXTS_H
#define VELMORA_TOOLS_TEXTS_H

#include <velmora/serial/ttt.h>

#include <string>

namespace tool {

// The folder of a language's dictionary: beside the program in a build, beside the library when installed. The result
// ends in a separator. `given`, when it is not empty, is taken as it is.
std::string languageFolder(const std::string& given, const std::string& language);

// Registers the library's dictionary and loads its texts. The keys are known even when this fails.
// Returns: what went wrong, in the loader's words; empty when the texts are there.
std::string loadTexts(const std::string& folder, const std::string& language);

// The message in the language that is loaded. Without texts it is told by its keys and parameters.
std::string render(const TTT& message);

}  // namespace tool

#endif
