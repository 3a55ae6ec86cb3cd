// What the commands about dictionaries share, see lng.h.
#include "tools/lng.h"

#include <velmora/localization/loc.h>

#include "tools/document.h"
#include "tools/report.h"
#include "tools/stamp.h"
#include "tools/status.h"

namespace tool {
namespace {

// The form of --stamp, made into that of parseStamp.
std::string fullStamp(std::string digits) {
    if (digits.compare(0, 2, "0x") == 0) digits.erase(0, 2);
    if (digits.empty() || digits.size() > 8) return std::string();
    return "0x" + std::string(8 - digits.size(), '0') + digits;
}

}  // namespace

std::vector<std::string> libraryKeys() {
    std::vector<std::string> keys;
    while (const char* key = TTT::getStringID(VELMORA_DICT, static_cast<int>(keys.size()))) keys.push_back(key);
    return keys;
}

std::uint32_t libraryStamp() { return TTT::localizations[VELMORA_DICT]->version; }

int loadXliff(const std::string& path, Xliff& out) {
    MLDoc doc;
    return readDocument(doc, path, [&out](MLDoc& loaded) {
        out = readXliff(loaded);
        return static_cast<int>(kDone);
    });
}

bool loadLng(const std::string& path, LngFile& out, std::vector<std::string>& problems) {
    return out.parse(loadBytes(path), problems);
}

std::uint32_t stampOf(const Xliff& xliff) {
    std::uint32_t stamp = 0;
    return parseStamp(xliff.productVersion, stamp) ? stamp : stampOfKeys(xliff.ids());
}

bool readStampOption(const Arguments& arguments, std::uint32_t& stamp) {
    if (!arguments.has("--stamp")) return false;
    const std::string text = arguments.value("--stamp");
    if (!parseStamp(fullStamp(text), stamp))
        throw UsageError{"\"" + text + "\" is no stamp of eight hexadecimal digits"};
    return true;
}

std::string textName(std::size_t number, const std::vector<std::string>& keys) {
    std::string name = "text " + std::to_string(number);
    if (number < keys.size()) name += " (" + keys[number] + ")";
    return name;
}

}  // namespace tool
