// Messages as text, see texts.h.
#include "tools/texts.h"

#include <velmora/files/utf8file.h>
#include <velmora/localization/loc.h>

#include <vector>

#include "tools/document.h"
#include "tools/host.h"
#include "tools/lng_file.h"
#include "tools/shown.h"

namespace tool {
namespace {

std::string dictionaryPath(const std::string& folder, const std::string& language) {
    return folder + "velmora." + language + ".lng";
}

// The loader trusts a file whose header fits, and a table of starts that leads outside the texts would lead rendering
// there, too. Returns: whether such a file would be loaded.
bool isDamaged(const std::string& path) {
    try {
        LngFile file;
        std::vector<std::string> problems;
        if (!file.parse(loadBytes(path), problems)) return false;  // the loader refuses it in its own words
        return file.unreadableCount() != 0;
    } catch (const TTT&) {
        return false;  // as above
    }
}

std::string inParentheses(const std::string& text) {
    std::string out(1, '(');
    out += text;
    out += ')';
    return out;
}

std::string parameters(int key, Bag& bag) {
    switch (key) {
        case LCA__Line_d_Column_d: {
            std::string place = std::to_string(bag.getLong());
            place += ',';
            place += std::to_string(bag.getLong());
            return inParentheses(place);
        }
        case LCA__Error_code_d:
            return inParentheses(std::to_string(bag.getLong()));
        case LCA__Could_not_get_information_for:
        case LCA__Deprecated_flag_s:
        case LCA__Invalid_date_required_format_is:
        case LCA__Invalid_flag_s:
        case LCA__Path_s:
        case LCA__System_diagnostic_s:
            return inParentheses(bag.getStringAsPair().std());
        default:
            return std::string();
    }
}

// One segment of a message. Returns: nothing for what is neither a template nor a known key.
std::string nextSegment(Bag& bag) {
    const int tag = bag.getLong();
    if (tag == TTT::RAW) return bag.getStringAsPair().std();
    if (tag != TTT::DICT) return std::string();
    const auto dictionary = static_cast<LocDictionaryId>(bag.getLong());
    const int id = bag.getLong();
    const char* key = TTT::getStringID(dictionary, id);
    return key ? key + parameters(id, bag) : std::string();
}

std::string renderKeys(const TTT& message) {
    Bag bag(message.getData());
    bag.toBegin();
    std::string out;
    try {
        while (!bag.end()) {
            const std::string segment = nextSegment(bag);
            if (segment.empty()) break;
            out += (out.empty() ? "" : " ") + segment;
        }
    } catch (const Bag::Exception&) {
        // What was read so far is all there is.
    }
    return out;
}

bool textsLoaded() {
    const IDLocLoader* loader = TTT::dictionaries[VELMORA_DICT];
    return loader && loader->strings;
}

}  // namespace

std::string languageFolder(const std::string& given, const std::string& language) {
    if (!given.empty()) return given.back() == '/' ? given : given + '/';
    std::string beside = programFolder() + "lang/";
    if (UTF8File::exist(dictionaryPath(beside, language))) return beside;
    return programFolder() + "../share/velmora/lang/";
}

std::string loadTexts(const std::string& folder, const std::string& language) {
    Loc::Loader loader;
    loader.addModule(new Loc::VelmoraModule);
    const std::string path = dictionaryPath(folder, language);
    if (isDamaged(path)) return "The texts of " + shown(path) + " are damaged; try 'velmora lng check'";
    std::string error;
    return loader.load(folder.c_str(), language.c_str(), &error) ? std::string() : error;
}

std::string render(const TTT& message) {
    if (!textsLoaded()) return renderKeys(message);
    std::string text;
    message.translate(text);
    return text;
}

}  // namespace tool
