// Writing YAML beside libyaml's emitter, which looks at each text for what it would need quotes for.
#include <yaml.h>

#include <charconv>
#include <cstdio>
#include <cstring>

#include "writers.h"

namespace bench {

namespace {

void emitLibyaml(const Shape& shape, yaml_emitter_t& emitter) {
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
        [&](const Call& call) {
            scalar(call.name, std::strlen(call.name));
            char digits[32];
            char* end = digits;
            if (call.kind == Call::Integer) {
                end = std::to_chars(digits, digits + sizeof digits, static_cast<int>(call.number)).ptr;
            } else if (call.kind == Call::Real) {
                end = std::to_chars(digits, digits + sizeof digits, call.number, std::chars_format::fixed, 6).ptr;
            }
            if (end != digits) {
                scalar(digits, static_cast<std::size_t>(end - digits));
            } else {
                scalar(shape.value(call), call.size);
            }
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
}

int appendText(void* out, unsigned char* data, std::size_t size) {
    static_cast<std::string*>(out)->append(reinterpret_cast<const char*>(data), size);
    return 1;
}

std::string_view writeLibyaml(const Shape& shape) {
    static std::string text;
    text.clear();
    yaml_emitter_t emitter;
    yaml_emitter_initialize(&emitter);
    yaml_emitter_set_output(&emitter, appendText, &text);
    emitLibyaml(shape, emitter);
    yaml_emitter_delete(&emitter);
    return text;
}

void saveLibyaml(const Shape& shape, const std::string& path) {
    std::FILE* file = std::fopen(path.c_str(), "wb");
    yaml_emitter_t emitter;
    yaml_emitter_initialize(&emitter);
    yaml_emitter_set_output_file(&emitter, file);
    emitLibyaml(shape, emitter);
    yaml_emitter_delete(&emitter);
    std::fclose(file);
}

}  // namespace

void addYamlWriters() {
    forWrittenDocuments([](Kind kind, Size size) {
        addVelmoraWriter("write-yaml", kind, MLDocBase::YAML, size);
        addWriter("write-yaml", kind, MLDocBase::YAML, size, "libyaml", "",
                  [](const Shape& shape) { return writeLibyaml(shape); });
    });
    for (const Size& size : allSizes()) {
        addVelmoraFileWriter("write-yaml", Kind::Records, MLDocBase::YAML, size);
        addWriter("write-yaml", Kind::Records, MLDocBase::YAML, size, "libyaml", "",
                  [](const Shape& shape, const std::string& path) { saveLibyaml(shape, path); });
    }
}

}  // namespace bench
