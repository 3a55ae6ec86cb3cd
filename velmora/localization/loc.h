// Dictionaries: the readers of .lng files, the modules that know their file, and the loader that fills them all.
//
//     Loc::Loader loader;
//     loader.addModule(new Loc::VelmoraModule);
//     std::string error;
//     if (!loader.load("lang/", "ger", &error)) std::fputs(error.c_str(), stderr);
//
// A .lng file holds the texts of one module in one language. It is trusted once its header has passed: check files
// of unknown origin with `velmora lng check` first.
// Threads: load before other threads use messages, and change the language only while none does.
#ifndef VELMORA_LOCALIZATION_LOC_H
#define VELMORA_LOCALIZATION_LOC_H

#include <cstdint>
#include <cstdio>
#include <string>

#include <velmora/base.h>
#include <velmora/containers/vectors.h>
#include <velmora/localization/keys.h>
#include <velmora/serial/ttt.h>

namespace velmora::detail {

// What both readers return.
struct LngErrors {
    enum ErrorCode { NoError, NotFound, Invalid, BadVersion, BadEncoding, VersionMismatch, ReadError, NoMemory };
};

struct IdLocalization {
    int count;              // texts; a file must hold exactly as many
    int encoding;           // 8
    std::uint32_t version;  // stamp that changes with the table of keys; a file must have the same
};

}  // namespace velmora::detail

// Texts that are reached through variables of the caller's.
class VELMORA_API CCLocLoader : public velmora::detail::LngErrors {
public:
    struct Localization {
        int count;                    // texts; a file must hold exactly as many
        int encoding;                 // 8
        std::uint32_t version;        // stamp that changes with the table of keys; a file must have the same
        const char** const* targets;  // `count` pointers to the variables, in file order
    };

    char* text;  // owned; null when nothing is loaded

    constexpr CCLocLoader() : text(nullptr) {}
    // Warning: a copy shares the texts, and both objects would release them.
    CCLocLoader(const CCLocLoader&) = default;
    CCLocLoader& operator=(const CCLocLoader&) = default;
    // The caller's variables are left pointing at released memory.
    ~CCLocLoader();

    // Reads from the stream's present position. On failure the former texts stay.
    // Returns: NoError, Invalid, BadVersion, BadEncoding, VersionMismatch or ReadError. Throws: std::bad_alloc.
    ErrorCode load(FILE* file, Localization& table);
};

// Texts that are reached by number.
class VELMORA_API IDLocLoader : public velmora::detail::LngErrors {
public:
    using Localization = velmora::detail::IdLocalization;

    char* text;            // owned; null when nothing is loaded
    const char** strings;  // owned, one address into `text` per string; null when nothing is loaded

    constexpr IDLocLoader() : text(nullptr), strings(nullptr) {}
    // Warning: a copy shares the texts, and both objects would release them.
    IDLocLoader(const IDLocLoader&) = default;
    IDLocLoader& operator=(const IDLocLoader&) = default;
    ~IDLocLoader();

    // As CCLocLoader::load. Invalidates: all former texts, on success.
    ErrorCode load(FILE* file, Localization& table);

    // Requires: texts are loaded, and 0 <= index < count.
    const char* operator[](int index) const { return strings[index]; }
};

namespace Loc {

// One named set of texts. The base is only there to be derived from.
class VELMORA_API Module {
public:
    std::string name;  // base name of the files: <folder><name>.<language>.lng
    bool required;     // a file that cannot be opened is a failure, not just an absence

    Module() : required(false) {}
    Module(const Module&) = default;
    Module& operator=(const Module&) = default;
    virtual ~Module();

    // Finds, opens and reads this module's file. `path` is put in front of the file name as it stands, with its own
    // closing separator. Null `language`: "eng". Null `error`: no sentence.
    virtual bool load(const char* path, const char* language, std::string* error);

    // Reads an opened file. Returns: an ErrorCode. The base throws the int -1.
    virtual int loadFile(FILE* file);

protected:
    // The parts may lie in `out`.
    static void makePath(const std::string& path, const std::string& name, const char* language, std::string& out);
    static void makeError(const std::string& fileName, int code, std::string* error);
};

// A module of variables. It owns its texts: the variables dangle when it is gone.
class VELMORA_API CCModule : public Module {
public:
    CCLocLoader::Localization* localization;
    CCLocLoader loader;

    CCModule(const char* name, CCLocLoader::Localization& table, bool required);
    // Warning: a copy shares the texts; it must not outlive its source nor be destroyed beside it.
    CCModule(const CCModule&) = default;
    CCModule& operator=(const CCModule&) = default;
    ~CCModule() override;

    int loadFile(FILE* file) override;
};

// A module of numbered texts, always required. Constructing it registers the dictionary for good: table, keys and
// loader must live as long as the process.
class VELMORA_API IdModule : public Module {
public:
    IDLocLoader::Localization* localization;
    IDLocLoader* loader;  // not owned, so that the texts outlive the module

    // Requires: `id` is 0 to 5.
    IdModule(const char* name, IDLocLoader::Localization& table, const char** stringIds, IDLocLoader& loader,
             LocDictionaryId id);
    IdModule(const IdModule&) = default;
    IdModule& operator=(const IdModule&) = default;
    ~IdModule() override;

    int loadFile(FILE* file) override;
};

// The library's own texts: module "velmora", dictionary VELMORA_DICT.
class VELMORA_API VelmoraModule : public IdModule {
public:
    VelmoraModule();
    VelmoraModule(const VelmoraModule&) = default;
    VelmoraModule& operator=(const VelmoraModule&) = default;
    ~VelmoraModule() override;
};

// An application's modules, loaded in the order in which they were added.
class VELMORA_API Loader {
public:
    ObjectVector<Module> modules;  // owned

    // Owns: the loader, from the call on: it destroys the module when memory runs out.
    void addModule(Module* module) { modules.append(module); }

    // Loads every module. The first that fails ends the load and sets *error to an English sentence of two lines;
    // modules before it keep what they loaded.
    bool load(const char* path, const char* language = nullptr, std::string* error = nullptr);
};

}  // namespace Loc

#endif
