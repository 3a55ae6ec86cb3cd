// A document as a stream of items, values and texts, with nothing passed over in silence: what the library's reader
// steps across without a word, or what has no place in a tree of items, is a failure here.
#ifndef VELMORA_TOOLS_ITEMS_H
#define VELMORA_TOOLS_ITEMS_H

#include <velmora/markup/mldoc.h>
#include <velmora/serial/ttt.h>

#include <cstdint>
#include <string>
#include <vector>

namespace tool {

// A value or a text between tags, in UTF-8.
struct Value {
    enum Form {
        Text,   // decoded
        Bare,   // JSON: a word without quotes, such as a number
        Raw,    // an escape in it is not known: undecoded, and free of what would end its double quotes
        Opaque  // the same, but from where a backslash and a quote may be bytes like any other
    };

    std::string text;
    Form form = Text;
};

// Takes the items of a document. Each call is made with the document's position one past the place in question, so a
// TTT that it throws is told with that place.
class ItemSink {
public:
    virtual ~ItemSink() = default;

    virtual void open(const std::string& name) = 0;
    // An attribute of the item that was opened last, before anything else in it.
    virtual void value(const std::string& name, const Value& value) = 0;
    // All that an XML element without child elements holds, behind its attributes.
    virtual void text(const Value& value) = 0;
    virtual void close(const std::string& name) = 0;
};

struct ItemSettings {
    std::string root;         // an item of this name around everything else; empty: there is none
    bool rawEscapes = false;  // carry over, undecoded, what the reader refuses to decode
};

// The root without a name that JSON and YAML have is no item, unless the settings name it; without a name its values
// are delivered outside of every item.
class ItemReader {
public:
    ItemReader(MLDoc& doc, const ItemSettings& settings, ItemSink& sink)
        : doc_(doc), settings_(settings), sink_(sink) {}

    // From the document's first item to its last. Throws: TTT, for what is wrong at the document's position.
    void run();

private:
    MLDoc& doc_;
    const ItemSettings& settings_;
    ItemSink& sink_;
    MLDoc::Token token_;
    std::vector<ChPair> names_;  // of the open items; the root without a name included
    const char* tagEnd_ = nullptr;
    std::vector<ChPair> texts_;  // XML: what stands in the innermost item, between comments
    bool hasItems_ = false;      // the innermost item has

    bool isXml() const { return doc_.format == MLDoc::XML; }
    template <class Call>
    void at(const char* place, Call call);
    [[noreturn]] void refuse(const char* place, const char* problem);

    void takeToken();
    void takeOther();
    void open();
    void close();
    void takeValues();
    void takeTextBefore(const char* tag);
    void refuseTexts();
    void deliverTexts();
    void refusePassedOver(std::uint32_t from);
    const char* placeOfToken() const;
    std::string inUtf8(const ChPair& text) const;
    Value::Form formOf(const ChPair& value) const;
    bool decodeInto(std::string& out, const ChPair& value);
    Value valueOf(const ChPair& value);
    Value joinedTexts();
};

}  // namespace tool

#endif
