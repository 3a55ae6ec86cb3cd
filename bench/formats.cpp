// Reading and writing the same records beside well-known libraries, in one run: medians and ratios. Before anything is
// timed, every contender must have seen the same names and values. What is read lies in a block of the reader's own,
// and what is written goes into a buffer that each contender keeps from run to run: readers and writers are compared,
// not the system's paging.
#include <rapidjson/prettywriter.h>
#include <rapidjson/reader.h>
#include <rapidjson/stringbuffer.h>
#include <yaml.h>
#include <pugixml.hpp>

#include <velmora/velmora.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>

#include "bench/records.h"

namespace {

using bench::Call;
using bench::Shape;
using bench::Sums;

constexpr int kRuns = 11;

// A document in a block of the reader's own, for readers that write into it. It is made before the clock runs.
struct Copy {
    const std::string& text;
    Bag bag;

    explicit Copy(const std::string& source) : text(source) {
        bag.putData(text.c_str(), static_cast<int>(text.size()) + 1);
    }
    // As it was before a reader wrote into it. A document has no terminator, other readers need one.
    void restore(bool terminated) {
        bag.truncate();
        bag.putData(text.c_str(), static_cast<int>(text.size()) + (terminated ? 1 : 0));
        bag.cursor = 0;
    }
};

// ---- velmora ----

Sums walk(MLDoc& doc) {
    Sums sums;
    MLDoc::Token token;
    MLDoc::Attribute attribute;
    while (doc.step(token)) {
        if (!token.opening) continue;
        MLDoc::AttributeIterator next(&doc, token);
        while (next(attribute)) {
            ++sums.attributes;
            sums.add(attribute.name.begin, static_cast<std::size_t>(attribute.name.len()));
            sums.add(attribute.value.begin, static_cast<std::size_t>(attribute.value.len()));
        }
    }
    return sums;
}

Sums readVelmora(Copy& copy) {
    MLDoc doc;
    doc.load("bench", copy.bag);
    Sums sums = walk(doc);
    int size;
    copy.bag.stealFrom(doc.steal(size), static_cast<int>(copy.text.size()));  // for the next run
    return sums;
}

std::size_t writeVelmora(const Shape& shape, MLDocBase::Format format, std::string* out = nullptr) {
    static MLDocOut::BagWriter sink;
    sink.truncate();
    MLDocOut writer(format);
    writer.begin(sink);
    for (const Call& call : shape.calls) {
        if (call.kind == Call::Begin) writer.beginItem(call.name);
        if (call.kind == Call::Attribute) writer.writeStrAttr(call.name, call.value);
        if (call.kind == Call::End) writer.endItem(call.name);
    }
    writer.end();
    if (out) out->assign(sink.data, static_cast<std::size_t>(sink.size));
    return static_cast<std::size_t>(sink.size);
}

// ---- XML ----

void addNode(const pugi::xml_node& node, Sums& sums) {
    for (const pugi::xml_attribute& attribute : node.attributes()) {
        ++sums.attributes;
        sums.add(attribute.name(), std::strlen(attribute.name()));
        sums.add(attribute.value(), std::strlen(attribute.value()));
    }
    for (const pugi::xml_node& child : node.children()) addNode(child, sums);
}

Sums readPugixml(Copy& copy) {
    pugi::xml_document doc;
    if (!doc.load_buffer_inplace(copy.bag.data, copy.text.size())) return {};
    Sums sums;
    addNode(doc, sums);
    return sums;
}

struct StringSink : pugi::xml_writer {
    std::string text;
    void write(const void* data, std::size_t size) override { text.append(static_cast<const char*>(data), size); }
};

std::size_t writePugixml(const Shape& shape) {
    pugi::xml_document doc;
    pugi::xml_node node = doc;
    for (const Call& call : shape.calls) {
        if (call.kind == Call::Begin) node = node.append_child(call.name);
        if (call.kind == Call::Attribute) node.append_attribute(call.name).set_value(call.value.c_str());
        if (call.kind == Call::End) node = node.parent();
    }
    static StringSink sink;
    sink.text.clear();
    doc.save(sink, "\t", pugi::format_indent | pugi::format_indent_attributes);
    return sink.text.size();
}

// ---- JSON ----

struct JsonHandler : rapidjson::BaseReaderHandler<rapidjson::UTF8<>, JsonHandler> {
    Sums sums;
    const char* key = nullptr;
    std::size_t keySize = 0;

    bool Key(const char* text, rapidjson::SizeType size, bool) {
        key = text;
        keySize = size;
        return true;
    }
    bool String(const char* text, rapidjson::SizeType size, bool) {
        ++sums.attributes;
        sums.add(key, keySize);
        sums.add(text, size);
        return true;
    }
};

Sums readRapidJson(Copy& copy) {
    rapidjson::InsituStringStream stream(copy.bag.data);
    rapidjson::Reader reader;
    JsonHandler handler;
    reader.Parse<rapidjson::kParseInsituFlag>(stream, handler);
    return handler.sums;
}

// Children of one item share one array, as all shapes have one kind of child per item.
template <class Begin, class End, class Attribute, class Array>
void replayArrays(const Shape& shape, Begin begin, End end, Attribute attribute, Array array) {
    std::vector<bool> hasArray(1, false);
    for (const Call& call : shape.calls) {
        if (call.kind == Call::Begin) {
            array(hasArray.back() ? nullptr : call.name, true);
            hasArray.back() = true;
            hasArray.push_back(false);
            begin();
        } else if (call.kind == Call::Attribute) {
            attribute(call.name, call.value);
        } else {
            if (hasArray.back()) array(nullptr, false);
            hasArray.pop_back();
            end();
        }
    }
    array(nullptr, false);
}

std::size_t writeRapidJson(const Shape& shape) {
    static rapidjson::StringBuffer buffer;
    buffer.Clear();
    rapidjson::PrettyWriter<rapidjson::StringBuffer> writer(buffer);
    writer.SetIndent(' ', 2);
    writer.StartObject();
    replayArrays(
        shape, [&] { writer.StartObject(); }, [&] { writer.EndObject(); },
        [&](const char* name, const std::string& value) {
            writer.Key(name);
            writer.String(value.data(), static_cast<rapidjson::SizeType>(value.size()));
        },
        [&](const char* name, bool open) {
            if (name) {
                writer.Key(name);
                writer.StartArray();
            }
            if (!open) writer.EndArray();
        });
    writer.EndObject();
    return buffer.GetSize();
}

// ---- YAML ----

Sums readLibyaml(Copy& copy) {
    const std::string& text = copy.text;
    yaml_parser_t parser;
    yaml_parser_initialize(&parser);
    yaml_parser_set_input_string(&parser, reinterpret_cast<const unsigned char*>(text.data()), text.size());
    Sums sums;
    std::string key;
    bool haveKey = false;
    for (bool end = false; !end;) {
        yaml_event_t event;
        if (!yaml_parser_parse(&parser, &event)) break;
        if (event.type == YAML_SCALAR_EVENT) {
            const char* scalar = reinterpret_cast<const char*>(event.data.scalar.value);
            if (haveKey) {
                ++sums.attributes;
                sums.add(key.data(), key.size());
                sums.add(scalar, event.data.scalar.length);
            } else {
                key.assign(scalar, event.data.scalar.length);
            }
            haveKey = !haveKey;
        } else {
            haveKey = false;
        }
        end = event.type == YAML_STREAM_END_EVENT;
        yaml_event_delete(&event);
    }
    yaml_parser_delete(&parser);
    return sums;
}

int appendYaml(void* out, unsigned char* data, std::size_t size) {
    static_cast<std::string*>(out)->append(reinterpret_cast<const char*>(data), size);
    return 1;
}

std::size_t writeLibyaml(const Shape& shape) {
    static std::string text;
    text.clear();
    yaml_emitter_t emitter;
    yaml_emitter_initialize(&emitter);
    yaml_emitter_set_output(&emitter, appendYaml, &text);
    yaml_emitter_set_width(&emitter, -1);
    yaml_event_t event;
    auto emit = [&] { yaml_emitter_emit(&emitter, &event); };
    auto scalar = [&](const char* value, std::size_t size) {
        yaml_scalar_event_initialize(&event, nullptr, nullptr, reinterpret_cast<yaml_char_t*>(const_cast<char*>(value)),
                                     static_cast<int>(size), 1, 1, YAML_ANY_SCALAR_STYLE);
        emit();
    };
    auto beginMapping = [&] {
        yaml_mapping_start_event_initialize(&event, nullptr, nullptr, 1, YAML_BLOCK_MAPPING_STYLE);
        emit();
    };
    auto endMapping = [&] {
        yaml_mapping_end_event_initialize(&event);
        emit();
    };
    yaml_stream_start_event_initialize(&event, YAML_UTF8_ENCODING);
    emit();
    yaml_document_start_event_initialize(&event, nullptr, nullptr, nullptr, 0);
    emit();
    beginMapping();
    replayArrays(
        shape, beginMapping, endMapping,
        [&](const char* name, const std::string& value) {
            scalar(name, std::strlen(name));
            scalar(value.data(), value.size());
        },
        [&](const char* name, bool open) {
            if (name) {
                scalar(name, std::strlen(name));
                yaml_sequence_start_event_initialize(&event, nullptr, nullptr, 1, YAML_BLOCK_SEQUENCE_STYLE);
                emit();
            }
            if (!open) {
                yaml_sequence_end_event_initialize(&event);
                emit();
            }
        });
    endMapping();
    yaml_document_end_event_initialize(&event, 1);
    emit();
    yaml_stream_end_event_initialize(&event);
    emit();
    yaml_emitter_delete(&emitter);
    return text.size();
}

// ---- timing ----

double medianSeconds(
    const std::function<void()>& action, const std::function<void()>& prepare = [] {}) {
    std::vector<double> seconds;
    for (int i = 0; i < kRuns; ++i) {
        prepare();
        auto start = std::chrono::steady_clock::now();
        action();
        seconds.push_back(std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count());
    }
    std::nth_element(seconds.begin(), seconds.begin() + kRuns / 2, seconds.end());
    return seconds[kRuns / 2];
}

struct Form {
    const char* name;
    MLDocBase::Format format;
    const char* rival;
    Sums (*readRival)(Copy&);
    std::size_t (*writeRival)(const Shape&);
};

const Form forms[] = {
    {"XML", MLDocBase::XML, "pugixml", readPugixml, writePugixml},
    {"JSON", MLDocBase::JSON, "RapidJSON", readRapidJson, writeRapidJson},
    {"YAML", MLDocBase::YAML, "libyaml", readLibyaml, writeLibyaml},
};

void printRow(const char* task, const Form& form, const Shape& shape, std::size_t size, double own, double rival) {
    std::printf("%-5s %-5s %-22s %7.1f MB %8.0f MB/s %7.1f ns/attribute   %-9s %8.0f MB/s   ratio %6.2f\n", task,
                form.name, shape.title, static_cast<double>(size) / 1e6, static_cast<double>(size) / 1e6 / own,
                own * 1e9 / static_cast<double>(shape.attributes), form.rival, static_cast<double>(size) / 1e6 / rival,
                rival / own);
}

void compare(const Form& form, const Shape& shape) {
    std::string text;
    std::size_t size = writeVelmora(shape, form.format, &text);
    Copy copy(text);
    copy.restore(false);
    Sums own = readVelmora(copy);
    copy.restore(true);
    if (own.attributes != shape.attributes || !(own == form.readRival(copy))) {
        std::printf("%s, %s: the contenders have not seen the same\n", form.name, shape.title);
        std::exit(1);
    }
    printRow("read", form, shape, size, medianSeconds([&] { readVelmora(copy); }, [&] { copy.restore(false); }),
             medianSeconds([&] { form.readRival(copy); }, [&] { copy.restore(true); }));
    // The rivals' layouts differ a little; the time for the same records is what is compared.
    printRow("write", form, shape, size, medianSeconds([&] { writeVelmora(shape, form.format); }),
             medianSeconds([&] { form.writeRival(shape); }));
}

}  // namespace

int main() {
    const Shape shapes[] = {bench::manyShortAttributes(80000), bench::deepTree(22000), bench::longTexts(800)};
    for (const Form& form : forms) {
        for (const Shape& shape : shapes) compare(form, shape);
    }
    return 0;
}
