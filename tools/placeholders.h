// The placeholders of a message's template, and whether a translation uses the same.
#ifndef VELMORA_TOOLS_PLACEHOLDERS_H
#define VELMORA_TOOLS_PLACEHOLDERS_H

#include <velmora/text/chpair.h>

#include <set>
#include <string>
#include <vector>

namespace tool {

struct Placeholders {
    std::vector<std::string> sequential;  // "%d", "%s" and so on, in order; %lld is kept as %ld, which means the same
    std::set<int> positional;             // the numbers of %{n}; showing one twice takes no second parameter

    // As a list for a message: "%s %d", "%{1} %{2}", "none". Of those in order there are at most 32, and the number
    // of the rest.
    std::string list() const;
};

// Reads the placeholders of a template. Legal are %% %d %u %x %X %f %A %D %T %s %C %i, %ld and %lld with their kin u, x
// and X, and %{1} to %{32}; a template uses parameters in order or by number, but not both.
// Returns: what is wrong; empty when nothing is.
std::string parsePlaceholders(const ChPair& text, Placeholders& out);

// Whether both templates take the same parameters: the same kinds in the same order, or the same numbers in any order.
// Returns: how they differ; empty when they do not.
std::string comparePlaceholders(const Placeholders& source, const Placeholders& target);

// Both steps: what is wrong with a translation. A source that is wrong itself is told as such.
std::string checkPlaceholders(const ChPair& source, const ChPair& target);

}  // namespace tool

#endif
