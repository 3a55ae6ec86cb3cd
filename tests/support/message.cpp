#include "tests/support/message.h"

#include <velmora/localization/loc.h>

namespace support {
namespace {

void registerTexts() { static Loc::VelmoraModule module; }

bool endsWith(const std::string& text, const std::string& end) {
    return text.size() >= end.size() && text.compare(text.size() - end.size(), end.size(), end) == 0;
}

// Parameters are told by the key's name, as everywhere.
std::string parameters(const std::string& key, Bag& bag) {
    if (key == "LCA__Line_d_Column_d") {
        int line = bag.getLong();
        int column = bag.getLong();
        return "(" + std::to_string(line) + "," + std::to_string(column) + ")";
    }
    if (endsWith(key, "_d")) return "(" + std::to_string(bag.getLong()) + ")";
    if (endsWith(key, "_s") || key == "LCA__Invalid_date_required_format_is" ||
        key == "LCA__Could_not_get_information_for") {
        return "(" + bag.getStringAsPair().std() + ")";
    }
    return "";
}

}  // namespace

std::string keyName(int key) {
    registerTexts();
    const char* name = TTT::getStringID(VELMORA_DICT, key);
    return name ? name : "(no key " + std::to_string(key) + ")";
}

std::string dumpMessage(const TTT& message) {
    registerTexts();
    Bag bag(message.getData().data, message.getData().size);
    std::string out;
    try {
        while (!bag.end()) {
            if (!out.empty()) out += ' ';
            switch (bag.getLong()) {
                case TTT::DICT: {
                    auto dictionary = static_cast<LocDictionaryId>(bag.getLong());
                    const char* key = TTT::getStringID(dictionary, bag.getLong());
                    if (!key) return out + "?";
                    out += key + parameters(key, bag);
                    break;
                }
                case TTT::RAW:
                    out += "raw(\"" + bag.getStringAsPair().std() + "\")";
                    break;
                default:
                    return out + "?";
            }
        }
    } catch (const Bag::Exception&) {
        out += "?";
    }
    return out;
}

std::string thrownMessage(const std::function<void()>& action) {
    try {
        action();
    } catch (const TTT& message) {
        return dumpMessage(message);
    }
    return "(nothing)";
}

std::string thrownKey(const std::function<void()>& action) {
    try {
        action();
    } catch (const TTT& message) {
        int dictionary = 0;
        int id = -1;
        message.getIds(&dictionary, &id);
        return dictionary == VELMORA_DICT ? keyName(id) : "(dictionary " + std::to_string(dictionary) + ")";
    }
    return "(nothing)";
}

void loadTexts(const char* language) {
    Loc::Loader loader;
    loader.addModule(new Loc::VelmoraModule);
    std::string error;
    ASSERT_TRUE(loader.load(VELMORA_TEST_LANG_DIR "/", language, &error)) << error;
}

std::string render(const TTT& message) {
    std::string text;
    message.translate(text);
    return text;
}

}  // namespace support
