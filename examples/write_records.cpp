// Writes the same records in five forms: records.xml, .json, .yaml, .html and .csv in a folder.
#include <velmora/velmora.h>

#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

namespace {

struct Planet {
    const char* name;
    int moons;
    double radius;  // in kilometres
    std::int64_t discovered;
    unsigned kind;
};

constexpr PairTag kinds[] = {{"rocky", 1}, {"gas", 2}, {"ice", 4}, {nullptr, 0}};

const std::vector<Planet> planets = {
    {"Earth & Moon", 1, 6371.0, 0, 1},
    {"Eris", 1, 1163.0, 1104883200, 1 | 4},
};

void writePlanet(MLDocOut& out, const Planet& planet) {
    out.beginItem("planet");
    out.writeStrAttr("name", planet.name);
    out.writeIntAttr("moons", planet.moons);
    out.writeDoubleAttr("radius", planet.radius);
    out.writeDateAttr("discovered", planet.discovered);  // 0 is an empty text, so that rows keep their columns
    out.writeFlagsAttr("kind", planet.kind, kinds);
    out.endItem("planet");
}

void writeAll(const std::string& path, MLDocBase::Format format) {
    MLDocOut::FileWriter file(path.c_str());
    MLDocOut out(format);
    const bool rows = format == MLDocBase::HTML || format == MLDocBase::CSV;
    out.begin(file);
    if (!rows) {
        out.beginItem("planets");  // rows stand alone, documents have one outermost item
        out.writeUIntAttr("count", static_cast<unsigned>(planets.size()));  // in YAML an item begins with an attribute
    }
    for (const Planet& planet : planets) writePlanet(out, planet);
    if (!rows) out.endItem("planets");
    out.end();
}

}  // namespace

int main(int argc, char** argv) {
    Loc::Loader texts;
    texts.addModule(new Loc::VelmoraModule);
    std::string error;
    if (argc != 3 || !texts.load(argv[2], "eng", &error)) {
        std::fprintf(stderr, "%s\n", argc == 3 ? error.c_str() : "usage: write_records FOLDER/ FOLDER-OF-TEXTS/");
        return 2;
    }
    const std::string base = std::string(argv[1]) + "records.";
    try {
        writeAll(base + "xml", MLDocBase::XML);
        writeAll(base + "json", MLDocBase::JSON);
        writeAll(base + "yaml", MLDocBase::YAML);
        writeAll(base + "html", MLDocBase::HTML);
        writeAll(base + "csv", MLDocBase::CSV);
    } catch (const TTT& message) {
        std::string text;
        message.translate(text);
        std::fprintf(stderr, "%s\n", text.c_str());
        return 1;
    }
}
