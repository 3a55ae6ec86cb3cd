// Writing XML beside pugixml, which builds a tree and saves it. An attribute per line, as velmora does it.
#include <pugixml.hpp>

#include <cstdio>

#include "writers.h"

namespace bench {

namespace {

void build(pugi::xml_document& doc, const Shape& shape) {
    pugi::xml_node node = doc;
    for (const Call& call : shape.calls) {
        switch (call.kind) {
            case Call::Begin:
                node = node.append_child(call.name);
                break;
            case Call::End:
                node = node.parent();
                break;
            case Call::Text:
                node.append_attribute(call.name).set_value(shape.value(call));
                break;
            case Call::Integer:
                node.append_attribute(call.name).set_value(static_cast<int>(call.number));
                break;
            case Call::Real:
                node.append_attribute(call.name).set_value(call.number);
                break;
            case Call::Boolean:
                node.append_attribute(call.name).set_value(call.number != 0);
                break;
        }
    }
}

constexpr unsigned kFormat = pugi::format_indent | pugi::format_indent_attributes;

struct StringSink : pugi::xml_writer {
    std::string text;
    void write(const void* data, std::size_t size) override { text.append(static_cast<const char*>(data), size); }
};

std::string_view writePugixml(const Shape& shape) {
    static StringSink sink;
    pugi::xml_document doc;
    build(doc, shape);
    sink.text.clear();
    doc.save(sink, "\t", kFormat, pugi::encoding_utf8);
    return sink.text;
}

void savePugixml(const Shape& shape, const std::string& path) {
    pugi::xml_document doc;
    build(doc, shape);
    doc.save_file(path.c_str(), "\t", kFormat, pugi::encoding_utf8);
}

// The part of the time that saving takes, for a tree that is there already.
void addSaveAlone(Kind kind, Size size) {
    const std::string name = std::string("write-xml/") + title(kind) + '/' + size.title + "/pugixml-save";
    addManual(name, [=](benchmark::State& state) {
        const Document& document = bench::document(kind, MLDocBase::XML, size.bytes);
        pugi::xml_document doc;
        build(doc, document.shape);
        StringSink sink;
        for (auto _ : state) {
            sink.text.clear();
            const std::int64_t start = cpuTime();
            doc.save(sink, "\t", kFormat, pugi::encoding_utf8);
            state.SetIterationTime(static_cast<double>(cpuTime() - start) * 1e-9);
        }
        describe(state, static_cast<double>(document.text.size()), static_cast<double>(document.shape.attributes),
                 "the tree is there already");
    });
}

}  // namespace

void addXmlWriters() {
    forWrittenDocuments([](Kind kind, Size size) {
        addVelmoraWriter("write-xml", kind, MLDocBase::XML, size);
        addWriter("write-xml", kind, MLDocBase::XML, size, "pugixml", "builds a tree",
                  [](const Shape& shape) { return writePugixml(shape); });
        if (size.bytes > 2000) addSaveAlone(kind, size);
    });
    for (const Size& size : allSizes()) {
        addVelmoraFileWriter("write-xml", Kind::Records, MLDocBase::XML, size);
        addWriter("write-xml", Kind::Records, MLDocBase::XML, size, "pugixml", "builds a tree",
                  [](const Shape& shape, const std::string& path) { savePugixml(shape, path); });
    }
}

}  // namespace bench
