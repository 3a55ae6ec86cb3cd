// Reading JSON beside simdjson, RapidJSON and nlohmann's library.
#include <rapidjson/reader.h>
#include <nlohmann/json.hpp>

#include <cstring>
#include <string>

#include "peer_simdjson.h"
#include "readers.h"

namespace bench {

namespace {

// ---- RapidJSON: events, decoded in the block; it checks the grammar ----

template <Mode mode, class Seen>
struct RapidHandler : rapidjson::BaseReaderHandler<rapidjson::UTF8<>, RapidHandler<mode, Seen>> {
    Seen& seen;
    const char* key = nullptr;
    std::size_t keySize = 0;

    explicit RapidHandler(Seen& out) : seen(out) {}

    bool Key(const char* text, rapidjson::SizeType size, bool) {
        key = text;
        keySize = size;
        return true;
    }
    bool String(const char* text, rapidjson::SizeType size, bool) {
        seen.text(key, keySize, text, size);
        return true;
    }
    bool RawNumber(const char* text, rapidjson::SizeType size, bool) { return String(text, size, false); }
    bool Bool(bool v) {
        if (mode == Mode::Typed) return seen.boolean(v), true;
        return v ? String("true", 4, false) : String("false", 5, false);
    }
    bool Int(int v) { return seen.integer(v), true; }
    bool Uint(unsigned v) { return seen.integer(v), true; }
    bool Double(double v) { return seen.real(v), true; }
};

template <Mode mode, class Seen>
void readRapidJson(Block& block, Seen& seen) {
    constexpr unsigned kFlags = rapidjson::kParseInsituFlag |
                                static_cast<unsigned>(mode == Mode::Typed ? 0 : rapidjson::kParseNumbersAsStringsFlag);
    rapidjson::InsituStringStream stream(block.data);
    rapidjson::Reader reader;
    RapidHandler<mode, Seen> handler(seen);
    reader.Parse<kFlags>(stream, handler);
}

// ---- nlohmann: events; it checks the grammar and UTF-8, and copies each text ----

template <class Seen>
struct NlohmannHandler {
    using Json = nlohmann::json;
    Seen& seen;
    std::string name;

    bool null() { return true; }
    bool boolean(bool v) { return seen.boolean(v), true; }
    bool number_integer(Json::number_integer_t v) { return seen.integer(v), true; }
    bool number_unsigned(Json::number_unsigned_t v) { return seen.integer(static_cast<std::int64_t>(v)), true; }
    bool number_float(Json::number_float_t v, const std::string&) { return seen.real(v), true; }
    bool string(std::string& v) {
        seen.text(name.data(), name.size(), v.data(), v.size());
        return true;
    }
    bool binary(Json::binary_t&) { return true; }
    bool start_object(std::size_t) { return true; }
    bool key(std::string& v) {
        name.swap(v);
        return true;
    }
    bool end_object() { return true; }
    bool start_array(std::size_t) { return true; }
    bool end_array() { return true; }
    bool parse_error(std::size_t, const std::string&, const nlohmann::detail::exception&) { return false; }
};

template <class Seen>
void readNlohmann(Block& block, Seen& seen) {
    NlohmannHandler<Seen> handler{seen, {}};
    nlohmann::json::sax_parse(block.data, block.data + block.size, &handler);
}

template <Mode mode>
void addRow(const char* row, Kind kind, Size size) {
    auto add = [&](const char* contender, const char* note, auto read) {
        addReader(row, mode, kind, MLDocBase::JSON, size, contender, note, read);
    };
    add("velmora", "", [](Block& block, auto& seen) { readVelmora<mode>(block, seen); });
    if (hasSimdjson()) {
        add("simdjson", "on demand, with AVX2; checks UTF-8",
            [](Block& block, auto& seen) { readSimdjson<mode>(block, seen); });
    }
    add("rapidjson", mode == Mode::AsIs ? "decodes, checks the grammar" : "checks the grammar",
        [](Block& block, auto& seen) { readRapidJson<mode>(block, seen); });
    if constexpr (mode != Mode::AsIs) {
        add("nlohmann", "checks the grammar and UTF-8, copies texts",
            [](Block& block, auto& seen) { readNlohmann(block, seen); });
    }
}

}  // namespace

void addJsonReaders() {
    forDocuments({Kind::Compact, Kind::Tree, Kind::Texts, Kind::Typed},
                 [](Kind kind, Size size) { addRow<Mode::AsIs>("read-json-as-is", kind, size); });
    forDocuments({Kind::Compact, Kind::Tree, Kind::Texts, Kind::Escaped},
                 [](Kind kind, Size size) { addRow<Mode::Decoded>("read-json-decoded", kind, size); });
    for (const Size& size : chiefSizes()) addRow<Mode::Typed>("read-json-typed", Kind::Typed, size);
}

}  // namespace bench
