#include <velmora/localization/loc.h>

#include <velmora/files/utf8file.h>

namespace {

// In plain English in the program: they are needed when no dictionary could be loaded. Indexed by ErrorCode less one.
const char* const errorTexts[] = {
    "Could not find or access localization",
    "Localization data is invalid",
    "Localization data has unsupported version",
    "Localization character encoding is wrong",
    "Localization and executable file versions are different",
    "Error during file reading",
    "Not enough memory",
};
constexpr int kErrorCount = sizeof errorTexts / sizeof *errorTexts;

}  // namespace

namespace Loc {

Module::~Module() = default;

void Module::makePath(const std::string& path, const std::string& name, const char* language, std::string& out) {
    std::string file = path + name;  // apart from `out`, in which each of them may lie
    file += '.';
    file += language ? language : "eng";
    file += ".lng";
    out.swap(file);
}

void Module::makeError(const std::string& fileName, int code, std::string* error) {
    if (!error) return;
    std::string sentence = "Localization loading failed";
    if (code > 0 && code <= kErrorCount) {  // a derived class may have codes of its own
        sentence += ": ";
        sentence += errorTexts[code - 1];
    }
    sentence += "\n(file: " + fileName + ")";
    *error = sentence;
}

bool Module::load(const char* path, const char* language, std::string* error) {
    std::string fileName;
    makePath(path, name, language, fileName);
    UTF8File file(false);
    int code = velmora::detail::LngErrors::NotFound;
    if (file.open(fileName, UTF8File::READ)) {
        code = loadFile(file.file);
        file.close();
    } else if (!required) {
        return true;
    }
    if (code == 0) return true;
    makeError(fileName, code, error);
    return false;
}

int Module::loadFile(FILE*) { throw -1; }

CCModule::CCModule(const char* moduleName, CCLocLoader::Localization& table, bool isRequired) : localization(&table) {
    name = moduleName;
    required = isRequired;
}

CCModule::~CCModule() = default;

int CCModule::loadFile(FILE* file) { return loader.load(file, *localization); }

IdModule::IdModule(const char* moduleName, IDLocLoader::Localization& table, const char** stringIds, IDLocLoader& texts,
                   LocDictionaryId id)
    : localization(&table), loader(&texts) {
    name = moduleName;
    required = true;
    TTT::dictionaries[id] = &texts;
    TTT::localizations[id] = &table;
    TTT::stringids[id] = stringIds;
}

IdModule::~IdModule() = default;

int IdModule::loadFile(FILE* file) { return loader->load(file, *localization); }

bool Loader::load(const char* path, const char* language, std::string* error) {
    for (Module* module : modules) {
        if (module && !module->load(path, language, error)) return false;
    }
    return true;
}

}  // namespace Loc
