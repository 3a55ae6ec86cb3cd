// Writing JSON beside RapidJSON's PrettyWriter and nlohmann's dump, which builds a tree first. Numbers are written as
// numbers: velmora gives a double six digits after the point, the others as many as it needs.
#include <rapidjson/filewritestream.h>
#include <rapidjson/prettywriter.h>
#include <rapidjson/stringbuffer.h>
#include <nlohmann/json.hpp>

#include <cstdio>
#include <cstring>
#include <fstream>
#include <iomanip>

#include "writers.h"

namespace bench {

namespace {

template <class Stream>
void writeRapidJson(const Shape& shape, Stream& stream) {
    rapidjson::PrettyWriter<Stream> writer(stream);
    writer.SetIndent(' ', 2);
    writer.StartObject();
    replayArrays(
        shape, [&] { writer.StartObject(); }, [&] { writer.EndObject(); },
        [&](const Call& call) {
            writer.Key(call.name);
            switch (call.kind) {
                case Call::Integer:
                    writer.Int(static_cast<int>(call.number));
                    break;
                case Call::Real:
                    writer.Double(call.number);
                    break;
                case Call::Boolean:
                    writer.Bool(call.number != 0);
                    break;
                default:
                    writer.String(shape.value(call), call.size);
            }
        },
        [&](const char* name, bool open) {
            if (name) {
                writer.Key(name);
                writer.StartArray();
            }
            if (!open) writer.EndArray();
        });
    writer.EndObject();
}

std::string_view writeRapidJson(const Shape& shape) {
    static rapidjson::StringBuffer buffer;
    buffer.Clear();
    writeRapidJson(shape, buffer);
    return {buffer.GetString(), buffer.GetSize()};
}

void saveRapidJson(const Shape& shape, const std::string& path) {
    static char buffer[65536];
    std::FILE* file = std::fopen(path.c_str(), "wb");
    {
        rapidjson::FileWriteStream stream(file, buffer, sizeof buffer);
        writeRapidJson(shape, stream);
        stream.Flush();
    }
    std::fclose(file);
}

// Members in the order of their insertion, as the others write them.
using Json = nlohmann::ordered_json;

Json buildNlohmann(const Shape& shape) {
    Json root = Json::object();
    std::vector<Json*> open = {&root};
    for (const Call& call : shape.calls) {
        Json& parent = *open.back();
        switch (call.kind) {
            case Call::Begin: {
                // An item's children have one name, and follow its attributes.
                const bool isFirst = parent.empty() || !parent.back().is_array();
                if (isFirst) parent.emplace(call.name, Json::array());
                Json& children = parent.back();
                children.push_back(Json::object());
                open.push_back(&children.back());
                break;
            }
            case Call::End:
                open.pop_back();
                break;
            case Call::Text:
                parent.emplace(call.name, std::string(shape.value(call), call.size));
                break;
            case Call::Integer:
                parent.emplace(call.name, static_cast<int>(call.number));
                break;
            case Call::Real:
                parent.emplace(call.name, call.number);
                break;
            case Call::Boolean:
                parent.emplace(call.name, call.number != 0);
                break;
        }
    }
    return root;
}

std::string_view writeNlohmann(const Shape& shape) {
    static std::string text;
    text = buildNlohmann(shape).dump(2);
    return text;
}

void saveNlohmann(const Shape& shape, const std::string& path) {
    std::ofstream out(path, std::ios::binary);
    out << std::setw(2) << buildNlohmann(shape);
}

}  // namespace

void addJsonWriters() {
    forWrittenDocuments([](Kind kind, Size size) {
        auto add = [&](const char* contender, const char* note, auto write) {
            addWriter("write-json", kind, MLDocBase::JSON, size, contender, note, write);
        };
        addVelmoraWriter("write-json", kind, MLDocBase::JSON, size);
        add("rapidjson", "", [](const Shape& shape) { return writeRapidJson(shape); });
        add("nlohmann", "builds a tree, checks UTF-8", [](const Shape& shape) { return writeNlohmann(shape); });
    });
    for (const Size& size : allSizes()) {
        auto add = [&](const char* contender, const char* note, auto write) {
            addWriter("write-json", Kind::Records, MLDocBase::JSON, size, contender, note, write);
        };
        addVelmoraFileWriter("write-json", Kind::Records, MLDocBase::JSON, size);
        add("rapidjson", "", [](const Shape& shape, const std::string& path) { saveRapidJson(shape, path); });
        add("nlohmann", "builds a tree, checks UTF-8",
            [](const Shape& shape, const std::string& path) { saveNlohmann(shape, path); });
    }
}

}  // namespace bench
