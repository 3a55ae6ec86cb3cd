// The stream of items, see items.h. One loop over the tokens; of what is open it keeps the names, 16 bytes each.
#include "tools/items.h"

#include <velmora/text/charr.h>

#include <algorithm>

#include "tools/document.h"

namespace tool {
namespace {

constexpr int kCyrillic = 1251;

bool isBlank(char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\n'; }
bool isLineEnd(char c) { return c == '\r' || c == '\n'; }

const char* firstVisible(const ChPair& text) {
    return std::find_if_not(static_cast<const char*>(text.begin), static_cast<const char*>(text.end), isBlank);
}

bool isBlankText(const ChPair& text) { return firstVisible(text) == text.end; }
bool hasLineEnd(const ChPair& text) { return std::any_of(text.begin, text.end, isLineEnd); }

}  // namespace

// Calls the sink with the position one past `place`, and goes on from where it was.
template <class Call>
void ItemReader::at(const char* place, Call call) {
    const std::uint32_t position = doc_.position;
    doc_.position = static_cast<std::uint32_t>(place - doc_.buffer) + 1;
    call();
    doc_.position = position;
}

void ItemReader::run() {
    tagEnd_ = doc_.buffer + doc_.position;
    if (isXml() && !settings_.root.empty()) sink_.open(settings_.root);
    std::uint32_t from = doc_.position;
    while (doc_.step(token_)) {
        refusePassedOver(from);
        takeToken();
        from = doc_.position;
    }
    refusePassedOver(from);
    if (token_.level > 0) throwUnclosed(doc_, token_.level);
    if (!isXml()) return;
    takeTextBefore(doc_.buffer + doc_.length);
    refuseTexts();
    if (!settings_.root.empty()) sink_.close(settings_.root);
}

void ItemReader::refuse(const char* place, const char* problem) {
    doc_.position = static_cast<std::uint32_t>(place - doc_.buffer) + 1;
    throw TTT(problem);
}

void ItemReader::takeToken() {
    if (isXml()) takeTextBefore(token_.body.begin);
    if (token_.level < 0) refuse(token_.body.begin, "there is no element for this end tag to end");
    if (!token_.opening && !token_.closing) return takeOther();
    if (token_.opening) open();
    if (token_.closing) close();
}

// Comments and declarations are not carried over. What the library takes for a comment as it begins with "<!" is data
// when it begins with "<![".
void ItemReader::takeOther() {
    if (token_.kind == 2 && token_.body.begin[2] == '[') refuse(token_.body.begin, "a CDATA section cannot be read");
}

void ItemReader::open() {
    if (isXml()) {
        hasItems_ = !names_.empty();
        refuseTexts();
    }
    const bool isRoot = !isXml() && names_.empty();
    names_.push_back(token_.name);
    hasItems_ = false;
    const std::string name = isRoot ? settings_.root : inUtf8(token_.name);
    if (!isRoot || !name.empty()) at(placeOfToken(), [&] { sink_.open(name); });
    takeValues();
}

// Where the token begins that was just opened: its name, its brace, or its first key.
const char* ItemReader::placeOfToken() const {
    if (isXml()) return token_.name.begin;
    if (names_.size() == 1) return doc_.buffer;
    return doc_.format == MLDoc::JSON ? token_.body.begin - 1 : doc_.yamlName.begin;
}

void ItemReader::close() {
    if (isXml()) deliverTexts();
    const bool isRoot = !isXml() && names_.size() == 1;
    const std::string name = isRoot ? settings_.root : inUtf8(names_.back());
    names_.pop_back();
    hasItems_ = true;
    if (!isRoot || !name.empty()) sink_.close(name);
}

void ItemReader::takeValues() {
    MLDoc::Attribute attribute;
    while (doc_.attribute(token_, attribute)) {
        const Value value = valueOf(attribute.value);
        at(attribute.name.begin, [&] { sink_.value(inUtf8(attribute.name), value); });
    }
}

void ItemReader::takeTextBefore(const char* tag) {
    const ChPair text(tagEnd_, tag);
    if (text.begin < text.end) texts_.push_back(text);
    tagEnd_ = token_.body.end;
}

// Blanks between elements lay the document out; anything else there would lose its place.
void ItemReader::refuseTexts() {
    const auto found = std::find_if_not(texts_.begin(), texts_.end(), isBlankText);
    if (found != texts_.end()) {
        refuse(firstVisible(*found), names_.empty() ? "a text outside of every element has no place in a tree of items"
                                                    : "a text beside elements has no place in a tree of items");
    }
    texts_.clear();
}

// Blanks are the text of an element that holds nothing else, unless a line end says that they are layout.
void ItemReader::deliverTexts() {
    if (hasItems_) return refuseTexts();
    const bool blank = std::all_of(texts_.begin(), texts_.end(), isBlankText);
    if (texts_.empty() || (blank && std::any_of(texts_.begin(), texts_.end(), hasLineEnd))) return texts_.clear();
    const Value value = joinedTexts();
    at(texts_[0].begin, [&] { sink_.text(value); });
    texts_.clear();
}

void ItemReader::refusePassedOver(std::uint32_t from) {
    if (const char* place = passedOverValue(doc_, from))
        refuse(place, "a value behind a list or an object is not read");
}

std::string ItemReader::inUtf8(const ChPair& text) const {
    if (!isXml() || doc_.codePage != kCyrillic) return text.std();
    std::string out;
    ChArr character;
    for (char c : text.std()) {
        character.assign1251(&c, 1);
        out += c ? character.asCharPtr() : std::string(1, c);
    }
    return out;
}

// The form of a value as it stands in the document.
Value::Form ItemReader::formOf(const ChPair& value) const {
    if (isXml() || value.begin[-1] == '"') return Value::Raw;
    return doc_.format == MLDoc::JSON ? Value::Bare : Value::Opaque;
}

// Appends what the value stands for. Returns: false if it is to be carried over undecoded.
bool ItemReader::decodeInto(std::string& out, const ChPair& value) {
    const std::uint32_t position = doc_.position;
    std::string decoded;
    try {
        decode(doc_, value, decoded);
    } catch (const TTT&) {
        if (!settings_.rawEscapes) throw;
        doc_.position = position;
        return false;
    }
    out += inUtf8(decoded);
    return true;
}

Value ItemReader::valueOf(const ChPair& value) {
    Value out;
    if (decodeInto(out.text, value)) {
        if (formOf(value) == Value::Bare && value == out.text.c_str()) out.form = Value::Bare;
        return out;
    }
    out.form = formOf(value) == Value::Raw ? Value::Raw : Value::Opaque;
    out.text = inUtf8(value);
    return out;
}

Value ItemReader::joinedTexts() {
    Value out;
    const bool decoded =
        std::all_of(texts_.begin(), texts_.end(), [&](const ChPair& text) { return decodeInto(out.text, text); });
    if (decoded) return out;
    out.form = Value::Raw;
    out.text.clear();
    for (const ChPair& text : texts_) out.text += inUtf8(text);
    return out;
}

}  // namespace tool
