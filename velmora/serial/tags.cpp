#include <velmora/serial/tags.h>

#include <cstring>

#include <velmora/text/charr.h>
#include <velmora/text/charvector.h>

namespace {

const char* nameOf(const PairTag& tag) { return tag.name; }
const char* nameOf(const StrTag& tag) { return tag.name; }
const char* nameOf(const StrPtrTag& tag) { return *tag.namePtr; }

bool ends(const PairTag& tag) { return !tag.name; }
bool ends(const StrTag& tag) { return !tag.name; }
bool ends(const StrPtrTag& tag) { return !tag.namePtr; }

ChPair measured(const PairTag& tag) { return ChPair(tag.name, tag.nameEnd); }

// The first record that `matches`, or null.
template <class Tag, class Matches>
const Tag* find(const Tag* tag, Matches matches) {
    for (; !ends(*tag); ++tag) {
        if (matches(*tag)) return tag;
    }
    return nullptr;
}

template <class Tag>
int valueOfName(const Tag* table, const char* name, int def) {
    ChPair text(name);
    const Tag* tag = find(table, [&](const Tag& t) { return text.equal_i_ascii(nameOf(t)); });
    return tag ? tag->value : def;
}

template <class Tag>
const char* nameOfValue(const Tag* table, int value) {
    const Tag* tag = find(table, [&](const Tag& t) { return t.value == value; });
    return tag ? nameOf(*tag) : nullptr;
}

template <class Result>
void namesOfFlags(const PairTag* tag, int flags, Result& out) {
    tag->init();
    out.clear();
    for (int rest = flags; tag->name; ++tag) {
        if ((rest & tag->value) == 0) continue;
        rest &= ~tag->value;
        if (ChPair(out).len() != 0) out += ' ';
        out.append(tag->name, static_cast<std::size_t>(tag->nameEnd - tag->name));
    }
}

}  // namespace

void PairTag::init() const {
    if (nameEnd) return;
    for (const PairTag* tag = this; tag->name; ++tag) tag->nameEnd = tag->name + std::strlen(tag->name);
}

int PairTag::translate(const ChPair& text, int def) const {
    init();
    const PairTag* tag = find(this, [&](const PairTag& t) { return text.equal_i_ascii(measured(t)); });
    return tag ? tag->value : def;
}

int PairTag::translate(const CharVector& text, int def) const { return translate(ChPair(text), def); }

int PairTag::translate(const char* text, int def) const { return valueOfName(this, text, def); }

int PairTag::translate(const ChArr& text, int def) const { return translate(static_cast<const char*>(text.data), def); }

const char* PairTag::translate(int wanted) const { return nameOfValue(this, wanted); }

ChPair PairTag::ptranslate(int wanted) const {
    init();
    const PairTag* tag = find(this, [&](const PairTag& t) { return t.value == wanted; });
    return tag ? measured(*tag) : ChPair();
}

void PairTag::translate(int flags, std::string& out) const { namesOfFlags(this, flags, out); }
void PairTag::translate(int flags, CharVector& out) const { namesOfFlags(this, flags, out); }

int StrTag::translate(const char* text, int def) const { return valueOfName(this, text, def); }
const char* StrTag::translate(int wanted) const { return nameOfValue(this, wanted); }

int StrPtrTag::translate(const char* text, int def) const { return valueOfName(this, text, def); }
const char* StrPtrTag::translate(int wanted) const { return nameOfValue(this, wanted); }
