#include "shapes.h"

#include <charconv>
#include <cstring>
#include <memory>

namespace bench {

namespace {

class Maker {
public:
    Shape shape;
    std::size_t bytes = 0;  // a rough measure of the document

    void begin(const char* name) { call(Call::Begin, name), ++shape.items; }
    void end(const char* name) { call(Call::End, name); }
    void text(const char* name, std::string_view value) { attribute(Call::Text, name, value, 0); }
    void integer(const char* name, int value) {
        attribute(Call::Integer, name, std::to_string(value), value);
        shape.typedContents.integer(value);
    }
    void real(const char* name, double value) {
        char digits[64];
        const char* end = std::to_chars(digits, digits + sizeof digits, value, std::chars_format::fixed, 6).ptr;
        attribute(Call::Real, name, {digits, static_cast<std::size_t>(end - digits)}, value);
        shape.typedContents.real(value);
    }
    void boolean(const char* name, bool value) {
        attribute(Call::Boolean, name, value ? "true" : "false", value);
        shape.typedContents.boolean(value);
    }

private:
    void call(Call::Kind kind, const char* name) {
        shape.calls.push_back({kind, name, 0, 0, 0});
        bytes += std::strlen(name) + 8;
    }
    void attribute(Call::Kind kind, const char* name, std::string_view value, double number) {
        shape.calls.push_back({kind, name, static_cast<std::uint32_t>(shape.texts.size()),
                               static_cast<std::uint32_t>(value.size()), number});
        shape.texts.append(value).push_back('\0');
        ++shape.attributes;
        bytes += std::strlen(name) + value.size() + 8;
        shape.contents.text(name, std::strlen(name), value.data(), value.size());
        if (kind == Call::Text) shape.typedContents.text(name, std::strlen(name), value.data(), value.size());
    }
};

// A text of words without any byte that a form would escape or quote.
std::string words(unsigned seed, std::size_t size) {
    static const char* const list[] = {"river", "stone", "letter", "window", "morning", "silver", "garden", "market"};
    std::string text;
    while (text.size() < size) {
        seed = seed * 1103515245u + 12345u;
        text += list[(seed >> 16) & 7];
        text += ' ';
    }
    text.resize(size);
    text.back() = 'x';
    return text;
}

void addRecord(Maker& maker, unsigned number, bool escaped) {
    static const char* const names[] = {"id", "name", "group", "town", "street", "phone", "since", "state"};
    maker.begin("record");
    for (unsigned k = 0; k < 8; ++k) {
        std::string value = words(number * 8 + k, 4 + (number + k) % 9);
        if (escaped && (number * 8 + k) % 10 == 0) value += " & \"sons\" <ltd>";
        maker.text(names[k], value);
    }
    maker.end("record");
}

void addTyped(Maker& maker, unsigned number) {
    const unsigned mix = number * 2654435761u;
    maker.begin("record");
    maker.integer("id", static_cast<int>(number));
    maker.integer("items", static_cast<int>(mix >> 8) - 8000000);
    maker.real("debit", (mix % 100000000) / 100.0);
    maker.real("distance", (mix % 9973) / 1000.0);
    maker.boolean("blocked", (mix & 64) != 0);
    maker.text("name", words(mix, 4 + number % 9));
    maker.text("town", words(mix + 1, 4 + (number + 3) % 9));
    maker.text("since", "2024-05-17T08:30:00");
    maker.end("record");
}

void addTree(Maker& maker, unsigned number) {
    constexpr unsigned kDepth = 12;
    for (unsigned k = 0; k < kDepth; ++k) {
        maker.begin("node");
        maker.text("id", std::to_string(number * kDepth + k));
        maker.text("label", words(number + k, 12));
    }
    for (unsigned k = 0; k < kDepth; ++k) maker.end("node");
}

void addText(Maker& maker, unsigned number, std::size_t size) {
    maker.begin("book");
    maker.text("id", std::to_string(number));
    maker.text("text", words(number, size));
    maker.end("book");
}

Shape make(Kind kind, std::size_t bytes) {
    Maker maker;
    maker.begin("records");
    maker.text("version", "1");
    for (unsigned number = 0; maker.bytes < bytes; ++number) {
        switch (kind) {
            case Kind::Records:
            case Kind::Compact:
                addRecord(maker, number, false);
                break;
            case Kind::Escaped:
                addRecord(maker, number, true);
                break;
            case Kind::Tree:
                addTree(maker, number);
                break;
            case Kind::Texts:
                addText(maker, number, bytes < 100000 ? bytes / 4 : 20000);
                break;
            case Kind::Typed:
                addTyped(maker, number);
                break;
        }
    }
    maker.end("records");
    return std::move(maker.shape);
}

std::string write(const Shape& shape, Kind kind, MLDocBase::Format format) {
    MLDocOut::BagWriter sink;
    replay(shape, format, kind == Kind::Compact, sink);
    return std::string(sink.data, static_cast<std::size_t>(sink.size));
}

}  // namespace

const char* title(Kind kind) {
    switch (kind) {
        case Kind::Records:
            return "records";
        case Kind::Compact:
            return "compact";
        case Kind::Tree:
            return "tree";
        case Kind::Texts:
            return "texts";
        case Kind::Escaped:
            return "escaped";
        case Kind::Typed:
            return "typed";
    }
    return "";
}

const Document& document(Kind kind, MLDocBase::Format format, std::size_t bytes) {
    static std::unique_ptr<Document> kept;
    static Kind keptKind;
    static MLDocBase::Format keptFormat;
    static std::size_t keptBytes;
    if (!kept || keptKind != kind || keptFormat != format || keptBytes != bytes) {
        kept.reset();
        // How much larger the form is than the rough measure shows in a small document.
        constexpr std::size_t kTrial = 1000000;
        const double scale = static_cast<double>(kTrial) / write(make(kind, kTrial), kind, format).size();
        kept = std::make_unique<Document>();
        kept->shape = make(kind, static_cast<std::size_t>(static_cast<double>(bytes) * scale));
        kept->text = write(kept->shape, kind, format);
        keptKind = kind;
        keptFormat = format;
        keptBytes = bytes;
    }
    return *kept;
}

void replay(const Shape& shape, MLDocBase::Format format, bool compact, MLDocOut::Writer& sink) {
    MLDocOut writer(format);
    writer.setEOLN("\n");
    writer.setCompactMode(compact);
    writer.begin(sink);
    for (const Call& call : shape.calls) {
        switch (call.kind) {
            case Call::Begin:
                writer.beginItem(call.name);
                break;
            case Call::End:
                writer.endItem(call.name);
                break;
            case Call::Text:
                writer.writeStrAttr(call.name, ChPair(shape.value(call), static_cast<int>(call.size)));
                break;
            case Call::Integer:
                writer.writeIntAttr(call.name, static_cast<int>(call.number));
                break;
            case Call::Real:
                writer.writeDoubleAttr(call.name, call.number);
                break;
            case Call::Boolean:
                writer.writeBoolAttr(call.name, call.number != 0);
                break;
        }
    }
    writer.end();
}

}  // namespace bench
