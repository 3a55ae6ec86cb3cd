// Reading YAML beside libyaml, libfyaml and yaml-cpp, by their events. All three read the whole language, check UTF-8
// and decode.
#include <libfyaml.h>
#include <yaml-cpp/eventhandler.h>
#include <yaml-cpp/parser.h>
#include <yaml.h>

#include <cstring>
#include <sstream>
#include <string>

#include "readers.h"

namespace bench {

namespace {

// Which of two scalars in a row are a name and its value. A name of a list has no scalar after it.
template <class Seen>
class Pairs {
public:
    explicit Pairs(Seen& seen) : seen_(seen) {}

    void scalar(const char* text, std::size_t size) {
        if (haveName_) {
            seen_.text(name_.data(), name_.size(), text, size);
        } else {
            name_.assign(text, size);
        }
        haveName_ = !haveName_;
    }
    void other() { haveName_ = false; }

private:
    Seen& seen_;
    std::string name_;
    bool haveName_ = false;
};

template <class Seen>
void readLibyaml(Block& block, Seen& seen) {
    yaml_parser_t parser;
    yaml_parser_initialize(&parser);
    yaml_parser_set_encoding(&parser, YAML_UTF8_ENCODING);
    yaml_parser_set_input_string(&parser, reinterpret_cast<const unsigned char*>(block.data), block.size);
    Pairs<Seen> pairs(seen);
    for (bool end = false; !end;) {
        yaml_event_t event;
        if (!yaml_parser_parse(&parser, &event)) break;
        if (event.type == YAML_SCALAR_EVENT) {
            pairs.scalar(reinterpret_cast<const char*>(event.data.scalar.value), event.data.scalar.length);
        } else {
            pairs.other();
        }
        end = event.type == YAML_STREAM_END_EVENT;
        yaml_event_delete(&event);
    }
    yaml_parser_delete(&parser);
}

template <class Seen>
void readLibfyaml(Block& block, Seen& seen) {
    fy_parse_cfg config = {};
    config.flags = FYPCF_QUIET;
    fy_parser* parser = fy_parser_create(&config);
    fy_parser_set_string(parser, block.data, block.size);
    Pairs<Seen> pairs(seen);
    while (fy_event* event = fy_parser_parse(parser)) {
        if (event->type == FYET_SCALAR) {
            std::size_t size = 0;
            const char* text = fy_token_get_text(event->scalar.value, &size);
            pairs.scalar(text, size);
        } else {
            pairs.other();
        }
        fy_parser_event_free(parser, event);
    }
    fy_parser_destroy(parser);
}

template <class Seen>
class YamlCppHandler : public YAML::EventHandler {
public:
    explicit YamlCppHandler(Seen& seen) : pairs_(seen) {}

    void OnDocumentStart(const YAML::Mark&) override {}
    void OnDocumentEnd() override {}
    void OnNull(const YAML::Mark&, YAML::anchor_t) override { pairs_.scalar("", 0); }
    void OnAlias(const YAML::Mark&, YAML::anchor_t) override { pairs_.other(); }
    void OnScalar(const YAML::Mark&, const std::string&, YAML::anchor_t, const std::string& value) override {
        pairs_.scalar(value.data(), value.size());
    }
    void OnSequenceStart(const YAML::Mark&, const std::string&, YAML::anchor_t, YAML::EmitterStyle::value) override {
        pairs_.other();
    }
    void OnSequenceEnd() override { pairs_.other(); }
    void OnMapStart(const YAML::Mark&, const std::string&, YAML::anchor_t, YAML::EmitterStyle::value) override {
        pairs_.other();
    }
    void OnMapEnd() override { pairs_.other(); }

private:
    Pairs<Seen> pairs_;
};

// A stream of the block itself, without a copy.
class BlockStream : public std::streambuf {
public:
    explicit BlockStream(Block& block) { setg(block.data, block.data, block.data + block.size); }
};

template <class Seen>
void readYamlCpp(Block& block, Seen& seen) {
    BlockStream bytes(block);
    std::istream in(&bytes);
    YAML::Parser parser(in);
    YamlCppHandler<Seen> handler(seen);
    parser.HandleNextDocument(handler);
}

template <Mode mode>
void addRow(const char* row, Kind kind, Size size) {
    auto add = [&](const char* contender, const char* note, auto read) {
        addReader(row, mode, kind, MLDocBase::YAML, size, contender, note, read);
    };
    add("velmora", "", [](Block& block, auto& seen) { readVelmora<mode>(block, seen); });
    add("libyaml", "the whole language", [](Block& block, auto& seen) { readLibyaml(block, seen); });
    add("libfyaml", "the whole language", [](Block& block, auto& seen) { readLibfyaml(block, seen); });
    // Minutes for the largest documents.
    if (size.bytes <= 1000000) {
        add("yaml-cpp", "the whole language", [](Block& block, auto& seen) { readYamlCpp(block, seen); });
    }
}

}  // namespace

void addYamlReaders() {
    forDocuments({Kind::Tree, Kind::Texts, Kind::Typed},
                 [](Kind kind, Size size) { addRow<Mode::AsIs>("read-yaml-as-is", kind, size); });
    forDocuments({Kind::Tree, Kind::Texts, Kind::Escaped},
                 [](Kind kind, Size size) { addRow<Mode::Decoded>("read-yaml-decoded", kind, size); });
}

}  // namespace bench
