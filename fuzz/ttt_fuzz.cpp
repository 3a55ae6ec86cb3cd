// Messages that are bytes from outside: loaded, rendered in two kinds of text that must agree, and with a dictionary
// whose templates are from outside too.
#include <velmora/localization/loc.h>
#include <velmora/serial/bag.h>
#include <velmora/serial/ttt.h>
#include <velmora/text/charvector.h>

#include <clocale>
#include <vector>

#include "fuzz/fuzz.h"

namespace {

void custom(const char* text, std::string& out) { out += text; }
void custom(const char* text, CharVector& out) { out.append(text); }

// A dictionary of the library's numbering in memory.
class Dictionary {
public:
    explicit Dictionary(const std::vector<std::string>& texts) : texts_(texts) {
        for (const std::string& text : texts_) strings_.push_back(text.c_str());
        loader_.strings = strings_.data();
        table_ = {static_cast<int>(strings_.size()), 8, 0};
        TTT::dictionaries[3] = &loader_;
        TTT::localizations[3] = &table_;
    }
    ~Dictionary() {
        loader_.strings = nullptr;  // not the loader's to release
        TTT::dictionaries[3] = nullptr;
        TTT::localizations[3] = nullptr;
    }

private:
    std::vector<std::string> texts_;
    std::vector<const char*> strings_;
    IDLocLoader loader_;
    IDLocLoader::Localization table_;
};

void render(const TTT& message) {
    const int cursor = message.getData().cursor;
    std::string text;
    CharVector vector;
    message.translate(text);
    const bool restored = message.getData().cursor == cursor;
    const_cast<TTT&>(message).getData().cursor = cursor;
    message.translate(vector);
    FUZZ_CHECK(restored == (message.getData().cursor == cursor));
    FUZZ_CHECK(static_cast<std::size_t>(vector.count) == text.size());
    FUZZ_CHECK(text.empty() || std::memcmp(vector.data, text.data(), text.size()) == 0);
    const_cast<TTT&>(message).getData().cursor = cursor;
    int dict = 0, id = 0;
    message.getIds(&dict, &id);
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const bool prepared = [] {
        std::setlocale(LC_ALL, "C");
        TTT::translate_custom_std_string = custom;
        TTT::translate_custom_char_vector = custom;
        return true;
    }();
    FUZZ_CHECK(prepared);

    fuzz::Input input(data, size);
    std::vector<std::string> texts;
    for (unsigned n = input.below(4); n > 0; --n) texts.push_back(input.text().c_str());
    const Dictionary dictionary(texts);
    const std::string bytes = input.rest();

    render(TTT(bytes.data(), static_cast<int>(bytes.size())));
    Bag stored(bytes.data(), static_cast<int>(bytes.size()));
    try {
        TTT message;
        message.load(stored);
        render(message);
        TTT longer("front ");
        longer <= message;
        render(longer);
    } catch (const Bag::Exception&) {
    }
    return 0;
}
