// Reading XML beside rapidxml, pugixml and expat.
#include <expat.h>
#include <pugixml.hpp>
#include <rapidxml/rapidxml.hpp>

#include <charconv>
#include <cstdlib>
#include <cstring>

#include "readers.h"

namespace bench {

namespace {

// A value of Kind::Typed that a peer has as text.
template <class Seen>
void seeTyped(Seen& seen, const char* name, std::size_t nameSize, const char* value, std::size_t valueSize) {
    if (*name == kIntegerLetter) {
        int number = 0;
        std::from_chars(value, value + valueSize, number);
        seen.integer(number);
    } else if (*name == kRealLetter) {
        double number = 0;
        std::from_chars(value, value + valueSize, number);
        seen.real(number);
    } else if (*name == kBooleanLetter) {
        seen.boolean(valueSize == 4 && std::memcmp(value, "true", 4) == 0);
    } else {
        seen.text(name, nameSize, value, valueSize);
    }
}

// ---- rapidxml: a tree of views into the block; closing tags are not compared, UTF-8 is not checked ----

template <Mode mode, class Seen>
void seeRapidxml(rapidxml::xml_node<>* node, Seen& seen) {
    for (; node; node = node->next_sibling()) {
        if constexpr (mode == Mode::Tokens) {
            seen.token();
        } else {
            for (rapidxml::xml_attribute<>* a = node->first_attribute(); a; a = a->next_attribute()) {
                if constexpr (mode == Mode::Typed) {
                    seeTyped(seen, a->name(), a->name_size(), a->value(), a->value_size());
                } else {
                    seen.text(a->name(), a->name_size(), a->value(), a->value_size());
                }
            }
        }
        seeRapidxml<mode>(node->first_node(), seen);
    }
}

template <Mode mode, class Seen>
void readRapidxml(Block& block, Seen& seen) {
    // It keeps its pool of memory only inside of the document object; a document is 64 KB, so it is no local variable.
    static rapidxml::xml_document<> doc;
    constexpr bool kDecodes = mode == Mode::Decoded || mode == Mode::Typed;
    doc.parse<kDecodes ? rapidxml::parse_no_data_nodes : rapidxml::parse_fastest>(block.data);
    seeRapidxml<mode>(doc.first_node(), seen);
    doc.clear();
}

// ---- pugixml: a tree, in the block itself; closing tags are compared, UTF-8 is not checked ----

template <Mode mode, class Seen>
void seePugixml(const pugi::xml_node& parent, Seen& seen) {
    for (pugi::xml_node node = parent.first_child(); node; node = node.next_sibling()) {
        if constexpr (mode == Mode::Tokens) {
            seen.token();
        } else {
            for (pugi::xml_attribute a = node.first_attribute(); a; a = a.next_attribute()) {
                if constexpr (mode == Mode::Typed) {
                    seeTyped(seen, a.name(), std::strlen(a.name()), a.value(), std::strlen(a.value()));
                } else {
                    seen.text(a.name(), std::strlen(a.name()), a.value(), std::strlen(a.value()));
                }
            }
        }
        seePugixml<mode>(node, seen);
    }
}

template <Mode mode, class Seen>
void readPugixml(Block& block, Seen& seen) {
    constexpr bool kDecodes = mode == Mode::Decoded || mode == Mode::Typed;
    pugi::xml_document doc;
    if (doc.load_buffer_inplace(block.data, block.size, kDecodes ? pugi::parse_escapes : pugi::parse_minimal,
                                pugi::encoding_utf8)) {
        seePugixml<mode>(doc, seen);
    }
}

// ---- expat: events; it always decodes, checks UTF-8 and compares closing tags ----

template <Mode mode, class Seen>
void XMLCALL onElement(void* seen, const XML_Char*, const XML_Char** attributes) {
    Seen& out = *static_cast<Seen*>(seen);
    if constexpr (mode == Mode::Tokens) {
        out.token();
        return;
    }
    for (; attributes[0]; attributes += 2) {
        const std::size_t nameSize = std::strlen(attributes[0]);
        const std::size_t valueSize = std::strlen(attributes[1]);
        if constexpr (mode == Mode::Typed) {
            seeTyped(out, attributes[0], nameSize, attributes[1], valueSize);
        } else {
            out.text(attributes[0], nameSize, attributes[1], valueSize);
        }
    }
}

template <Mode mode, class Seen>
void readExpat(Block& block, Seen& seen) {
    static const XML_Parser parser = XML_ParserCreate("UTF-8");
    XML_ParserReset(parser, "UTF-8");
    XML_SetUserData(parser, &seen);
    XML_SetStartElementHandler(parser, onElement<mode, Seen>);
    XML_Parse(parser, block.data, static_cast<int>(block.size), 1);
}

// ---- rows ----

template <Mode mode>
void addRow(const char* row, Kind kind, Size size) {
    auto add = [&](const char* contender, const char* note, auto read) {
        addReader(row, mode, kind, MLDocBase::XML, size, contender, note, read);
    };
    add("velmora", "", [](Block& block, auto& seen) { readVelmora<mode>(block, seen); });
    add("rapidxml", "builds a tree", [](Block& block, auto& seen) { readRapidxml<mode>(block, seen); });
    add("pugixml", "builds a tree, compares closing tags",
        [](Block& block, auto& seen) { readPugixml<mode>(block, seen); });
    add("expat", "decodes, checks UTF-8, compares closing tags",
        [](Block& block, auto& seen) { readExpat<mode>(block, seen); });
}

}  // namespace

void addXmlReaders() {
    forDocuments({Kind::Compact, Kind::Tree, Kind::Texts, Kind::Typed},
                 [](Kind kind, Size size) { addRow<Mode::AsIs>("read-xml-as-is", kind, size); });
    forDocuments({Kind::Compact, Kind::Tree, Kind::Texts, Kind::Escaped},
                 [](Kind kind, Size size) { addRow<Mode::Decoded>("read-xml-decoded", kind, size); });
    forDocuments({Kind::Compact, Kind::Tree, Kind::Texts},
                 [](Kind kind, Size size) { addRow<Mode::Tokens>("read-xml-tokens", kind, size); });
    for (const Size& size : chiefSizes()) addRow<Mode::Typed>("read-xml-typed", Kind::Typed, size);
}

}  // namespace bench
