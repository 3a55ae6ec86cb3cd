// velmora lng keys: the numbers and keys of a table of texts.
#include "tools/command.h"
#include "tools/lng.h"
#include "tools/output.h"
#include "tools/shown.h"
#include "tools/status.h"

namespace tool {
namespace {

void putKeys(const std::vector<std::string>& keys) {
    for (std::size_t i = 0; i < keys.size(); ++i) put(std::to_string(i) + ' ' + shown(keys[i]) + '\n');
}

int run(const Arguments& arguments, const Settings&) {
    if (arguments.operands.empty()) {
        putKeys(libraryKeys());
        return kDone;
    }
    Xliff xliff;
    const int status = loadXliff(arguments.operands[0], xliff);
    if (status == kDone) putKeys(xliff.ids());
    return status;
}

}  // namespace

const Command lngKeysCommand{"lng keys",
                             "[FILE.xlf]",
                             "lists the keys of the library's texts, or of an XLIFF file",
                             "One line per text: its number and its key.\n",
                             0,
                             1,
                             false,
                             {},
                             run};

}  // namespace tool
