#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cstddef>
#include <cstdint>
#include <string>
#include <type_traits>
#include <vector>

#include <velmora/files/utf8file.h>
#include <velmora/localization/loc.h>

#include "tests/support/message.h"
#include "tests/support/temp_folder.h"
#include "tests/support/virtual_slot.h"

namespace {

using support::TempFolder;

static_assert(std::has_virtual_destructor<Loc::Module>::value, "modules are destroyed through their base");
static_assert(std::is_base_of<Loc::Module, Loc::CCModule>::value, "");
static_assert(std::is_base_of<Loc::Module, Loc::IdModule>::value, "");
static_assert(std::is_base_of<Loc::IdModule, Loc::VelmoraModule>::value, "");
static_assert(sizeof(Loc::Loader) == sizeof(ArrayVector<char>), "a loader is its vector of modules");

const std::uint32_t kStamp = 0x01020304;

const LocDictionaryId kOther = static_cast<LocDictionaryId>(4);

TEST(LocModule, VirtualOrder) {
    EXPECT_EQ(2, support::virtualSlot(&Loc::Module::load));
    EXPECT_EQ(3, support::virtualSlot(&Loc::Module::loadFile));
    EXPECT_EQ(2, support::virtualSlot(&Loc::VelmoraModule::load));
    EXPECT_EQ(3, support::virtualSlot(&Loc::VelmoraModule::loadFile));
}

// Gives the registry back as it was.
class RegistryScope {
public:
    RegistryScope() {
        support::keyName(0);  // registers the library's texts for all later tests; here that would be undone
        for (int i = 0; i < 6; ++i) {
            dictionaries_[i] = TTT::dictionaries[i];
            localizations_[i] = TTT::localizations[i];
            stringids_[i] = TTT::stringids[i];
            clear(i);
        }
    }
    RegistryScope(const RegistryScope&) = delete;
    void operator=(const RegistryScope&) = delete;
    ~RegistryScope() {
        for (int i = 0; i < 6; ++i) {
            TTT::dictionaries[i] = dictionaries_[i];
            TTT::localizations[i] = localizations_[i];
            TTT::stringids[i] = stringids_[i];
        }
    }

    void clear(int i) {
        TTT::dictionaries[i] = nullptr;
        TTT::localizations[i] = nullptr;
        TTT::stringids[i] = nullptr;
    }
    bool isNull(int i) const { return !TTT::dictionaries[i] && !TTT::localizations[i] && !TTT::stringids[i]; }

private:
    IDLocLoader* dictionaries_[6];
    IDLocLoader::Localization* localizations_[6];
    const char** stringids_[6];
};

std::string word(std::uint32_t value) {
    std::string out;
    for (int shift = 0; shift < 32; shift += 8) out += static_cast<char>(value >> shift & 0xFF);
    return out;
}

std::string dictionaryFile(const std::vector<std::string>& texts, std::uint32_t stamp = kStamp) {
    std::string starts, block;
    for (const std::string& text : texts) {
        starts += word(static_cast<std::uint32_t>(block.size()));
        block += text + '\0';
    }
    return word(0) + "LCLR" + word(1) + word(8) + word(stamp) + word(static_cast<std::uint32_t>(texts.size())) +
           word(static_cast<std::uint32_t>(block.size())) + starts + block;
}

std::string wrongAt(std::size_t offset) { return dictionaryFile({"a", "b"}).replace(offset, 4, "\xF0\xF1\xF2\xF3"); }

// Two variables and their table.
struct Variables {
    const char* first = nullptr;
    const char* second = nullptr;
    const char** targets[2] = {&first, &second};
    CCLocLoader::Localization table{2, 8, kStamp, targets};

    Variables() = default;
    Variables(const Variables&) = delete;
    void operator=(const Variables&) = delete;
};

// Opens what a module keeps to itself, and can be told what its reader answers.
class Probe : public Loc::Module {
public:
    using Loc::Module::makeError;
    using Loc::Module::makePath;

    int answer = 0;
    int calls = 0;
    std::string seen;  // what the stream held

    int loadFile(FILE* file) override {
        ++calls;
        char buffer[64];
        seen.assign(buffer, std::fread(buffer, 1, sizeof buffer, file));
        return answer;
    }
};

// The descriptor that the next opened file gets: the lowest free one, so a stream that stays open shows.
int nextDescriptor(const TempFolder& folder) {
    UTF8File file;
    EXPECT_TRUE(file.open(folder.write("descriptor", ""), UTF8File::READ));
    return file.handle();
}

std::string sentence(const std::string& reason, const std::string& fileName) {
    return "Localization loading failed: " + reason + "\n(file: " + fileName + ")";
}

const char* const kNotFound = "Could not find or access localization";
const char* const kInvalid = "Localization data is invalid";
const char* const kReadError = "Error during file reading";

// ---- modules of a loader ----

// They are loaded in the order in which they were added, null ones passed over, and go with the loader.
TEST(LocLoader, OwnsItsModulesInTheirOrder) {
    struct Recorder : Loc::Module {
        std::string& record;
        Recorder(const char* moduleName, std::string& text) : record(text) { name = moduleName; }
        Recorder(const Recorder&) = delete;
        void operator=(const Recorder&) = delete;
        ~Recorder() override { record += "~" + name; }
        bool load(const char*, const char*, std::string*) override {
            record += name;
            return true;
        }
    };
    std::string record;
    {
        Loc::Loader loader;
        auto* const first = new Recorder("b", record);
        loader.addModule(first);
        loader.addModule(nullptr);
        loader.addModule(new Recorder("a", record));
        ASSERT_EQ(3, loader.modules.count);
        EXPECT_EQ(first, loader.modules[0]);
        EXPECT_EQ(nullptr, loader.modules[1]);
        EXPECT_TRUE(loader.load(""));
        EXPECT_EQ("ba", record);
        record.clear();
    }
    std::sort(record.begin(), record.end());
    EXPECT_EQ("ab~~", record);
}

// ---- makePath and makeError ----

TEST(LocModuleMakePath, JoinsFolderNameAndLanguage) {
    struct Row {
        int line;
        const char* path;
        const char* name;
        const char* language;
        const char* result;
    };
    const Row rows[] = {
        {__LINE__, "c:/app/lang/", "velmora", "ger", "c:/app/lang/velmora.ger.lng"},
        {__LINE__, "lang/", "m", nullptr, "lang/m.eng.lng"},
        {__LINE__, "lang/", "m", "", "lang/m..lng"},
        {__LINE__, "", "m", "eng", "m.eng.lng"},
        {__LINE__, "lang", "m", "eng", "langm.eng.lng"},
        {__LINE__, "lang/pre-", "m", "eng", "lang/pre-m.eng.lng"},
        {__LINE__, "lang\\", "m", "eng", "lang\\m.eng.lng"},
        {__LINE__, "lang/", "", "eng", "lang/.eng.lng"},
        {__LINE__, "словари/", "тексты", "рус", "словари/тексты.рус.lng"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE("row at line " + std::to_string(row.line));
        std::string out = "old content that is longer than any result of this table";
        Probe::makePath(row.path, row.name, row.language, out);
        EXPECT_EQ(row.result, out);
    }
}

TEST(LocModuleMakePath, OutMayBeAnyPart) {
    std::string path = "lang/";
    Probe::makePath(path, "m", "ger", path);
    EXPECT_EQ("lang/m.ger.lng", path);
    std::string name = "m";
    Probe::makePath("lang/", name, "ger", name);
    EXPECT_EQ("lang/m.ger.lng", name);
    std::string language = "german";
    language.resize(3);
    Probe::makePath("lang/", "module", language.c_str(), language);
    EXPECT_EQ("lang/module.ger.lng", language);
}

TEST(LocModuleMakeError, HasASentenceForEveryCode) {
    struct Row {
        int line;
        int code;
        const char* result;
    };
    const Row rows[] = {
        {__LINE__, -1, "Localization loading failed\n(file: a/m.eng.lng)"},
        {__LINE__, 0, "Localization loading failed\n(file: a/m.eng.lng)"},
        {__LINE__, 1, "Localization loading failed: Could not find or access localization\n(file: a/m.eng.lng)"},
        {__LINE__, 2, "Localization loading failed: Localization data is invalid\n(file: a/m.eng.lng)"},
        {__LINE__, 3, "Localization loading failed: Localization data has unsupported version\n(file: a/m.eng.lng)"},
        {__LINE__, 4, "Localization loading failed: Localization character encoding is wrong\n(file: a/m.eng.lng)"},
        {__LINE__, 5,
         "Localization loading failed: Localization and executable file versions are different\n(file: a/m.eng.lng)"},
        {__LINE__, 6, "Localization loading failed: Error during file reading\n(file: a/m.eng.lng)"},
        {__LINE__, 7, "Localization loading failed: Not enough memory\n(file: a/m.eng.lng)"},
        {__LINE__, 8, "Localization loading failed\n(file: a/m.eng.lng)"},
        {__LINE__, INT_MAX, "Localization loading failed\n(file: a/m.eng.lng)"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE("row at line " + std::to_string(row.line));
        std::string error = "whatever it held";
        Probe::makeError("a/m.eng.lng", row.code, &error);
        EXPECT_EQ(row.result, error);
        EXPECT_EQ(')', error.back());
        EXPECT_EQ(1, std::count(error.begin(), error.end(), '\n'));
        Probe::makeError("a/m.eng.lng", row.code, nullptr);
    }
}

// ---- one module ----

TEST(LocModule, StartsUnnamedAndOptional) {
    Loc::Module module;
    EXPECT_EQ("", module.name);
    EXPECT_FALSE(module.required);
    EXPECT_LT(static_cast<void*>(&module.name), static_cast<void*>(&module.required));
}

TEST(LocModule, BaseReaderThrowsMinusOne) {
    Loc::Module module;
    int thrown = 0;
    try {
        module.loadFile(nullptr);
    } catch (int code) {
        thrown = code;
    }
    EXPECT_EQ(-1, thrown);
}

TEST(LocModuleLoad, PassesOnWhatTheReaderThrowsAndClosesTheFile) {
    TempFolder folder;
    folder.write("m.eng.lng", dictionaryFile({"a", "b"}));
    int descriptor = nextDescriptor(folder);
    Loc::Module module;
    module.name = "m";
    std::string error = "untouched";
    int thrown = 0;
    try {
        module.load((folder.path() + "/").c_str(), "eng", &error);
    } catch (int code) {
        thrown = code;
    }
    EXPECT_EQ(-1, thrown);
    EXPECT_EQ("untouched", error);
    EXPECT_EQ(descriptor, nextDescriptor(folder));
}

TEST(LocModuleLoad, CallsTheDerivedReaderWithAnOpenStream) {
    TempFolder folder;
    folder.write("m.ger.lng", "any format");
    int descriptor = nextDescriptor(folder);
    Probe module;
    module.name = "m";
    std::string error = "untouched";
    Loc::Module& base = module;
    EXPECT_TRUE(base.load((folder.path() + "/").c_str(), "ger", &error));
    EXPECT_EQ(1, module.calls);
    EXPECT_EQ("any format", module.seen);
    EXPECT_EQ("untouched", error);
    EXPECT_EQ(descriptor, nextDescriptor(folder));
}

TEST(LocModuleLoad, EveryAnswerButZeroIsAFailure) {
    TempFolder folder;
    folder.write("m.eng.lng", "x");
    int descriptor = nextDescriptor(folder);
    const std::string path = folder.path() + "/";
    for (int answer : {-1, 1, 2, 3, 4, 5, 6, 7}) {
        SCOPED_TRACE(answer);
        Probe module;
        module.name = "m";
        module.answer = answer;
        std::string error = "old", expected;
        EXPECT_FALSE(module.load(path.c_str(), "eng", &error));
        Probe::makeError(path + "m.eng.lng", answer, &expected);
        EXPECT_EQ(expected, error);
        EXPECT_FALSE(module.load(path.c_str(), "eng", nullptr));
        EXPECT_EQ(2, module.calls);
    }
    EXPECT_EQ(descriptor, nextDescriptor(folder));
}

TEST(LocModuleLoad, NullLanguageIsEnglish) {
    TempFolder folder;
    folder.write("m.eng.lng", "eng");
    folder.write("m..lng", "none");
    Probe module;
    module.name = "m";
    const std::string path = folder.path() + "/";
    EXPECT_TRUE(module.load(path.c_str(), nullptr, nullptr));
    EXPECT_EQ("eng", module.seen);
    EXPECT_TRUE(module.load(path.c_str(), "", nullptr));
    EXPECT_EQ("none", module.seen);
}

TEST(LocModuleLoad, LooksInOnePlaceOnly) {
    TempFolder folder;
    folder.write("m.eng.lng", "eng");
    Probe module;
    module.name = "m";
    module.required = true;
    std::string error;
    EXPECT_FALSE(module.load((folder.path() + "/").c_str(), "ger", &error));
    EXPECT_EQ(0, module.calls);
    EXPECT_EQ(sentence(kNotFound, folder.file("m.ger.lng")), error);
}

TEST(LocModuleLoad, PathServesAsAPrefixToo) {
    TempFolder folder;
    folder.write("app-m.eng.lng", "prefixed");
    Probe module;
    module.name = "m";
    EXPECT_TRUE(module.load(folder.file("app-").c_str(), "eng", nullptr));
    EXPECT_EQ("prefixed", module.seen);
}

TEST(LocModuleLoad, MissingFileOfAnOptionalModuleIsNoFailure) {
    TempFolder folder;
    Probe module;
    module.name = "m";
    std::string error = "untouched";
    EXPECT_TRUE(module.load((folder.path() + "/").c_str(), "eng", &error));
    EXPECT_EQ(0, module.calls);
    EXPECT_EQ("untouched", error);
}

TEST(LocModuleLoad, TooLongPathIsNotFound) {
    TempFolder folder;
    Probe module;
    module.name = std::string(300, 'n');
    EXPECT_TRUE(module.load((folder.path() + "/").c_str(), "eng", nullptr));
    EXPECT_EQ(0, module.calls);
    module.required = true;
    std::string error;
    EXPECT_FALSE(module.load((folder.path() + "/").c_str(), "eng", &error));
    EXPECT_EQ(sentence(kNotFound, folder.file(module.name + ".eng.lng")), error);
}

TEST(LocModuleLoad, PathsAreUtf8) {
    TempFolder folder;
    UTF8File made(folder.file("словари"));
    ASSERT_TRUE(made.mkdir());
    folder.write("словари/тексты.рус.lng", "найдено");
    Probe module;
    module.name = "тексты";
    EXPECT_TRUE(module.load((folder.file("словари") + "/").c_str(), "рус", nullptr));
    EXPECT_EQ("найдено", module.seen);
}

// ---- CCModule ----

TEST(LocCCModule, StoresItsArguments) {
    Variables variables;
    Loc::CCModule optional("m", variables.table, false);
    EXPECT_EQ("m", optional.name);
    EXPECT_FALSE(optional.required);
    EXPECT_EQ(&variables.table, optional.localization);
    EXPECT_EQ(nullptr, optional.loader.text);
    Loc::CCModule required("n", variables.table, true);
    EXPECT_EQ("n", required.name);
    EXPECT_TRUE(required.required);
    EXPECT_LT(static_cast<void*>(&required.required), static_cast<void*>(&required.localization));
    EXPECT_LT(static_cast<void*>(&required.localization), static_cast<void*>(&required.loader));
}

TEST(LocCCModule, FillsItsVariables) {
    TempFolder folder;
    folder.write("m.eng.lng", dictionaryFile({"one", "two"}));
    Variables variables;
    Loc::CCModule module("m", variables.table, true);
    std::string error = "untouched";
    ASSERT_TRUE(module.load((folder.path() + "/").c_str(), "eng", &error));
    EXPECT_EQ("untouched", error);
    EXPECT_STREQ("one", variables.first);
    EXPECT_STREQ("two", variables.second);
    EXPECT_EQ(module.loader.text, variables.first);
}

TEST(LocCCModule, MissingFileFailsOnlyWhenRequired) {
    TempFolder folder;
    const std::string path = folder.path() + "/";
    Variables variables;
    std::string error = "untouched";
    Loc::CCModule optional("m", variables.table, false);
    EXPECT_TRUE(optional.load(path.c_str(), "eng", &error));
    EXPECT_EQ("untouched", error);
    EXPECT_EQ(nullptr, optional.loader.text);
    Loc::CCModule required("m", variables.table, true);
    EXPECT_FALSE(required.load(path.c_str(), "eng", &error));
    EXPECT_EQ(sentence(kNotFound, folder.file("m.eng.lng")), error);
    EXPECT_FALSE(required.load(path.c_str(), "eng", nullptr));
    EXPECT_EQ(nullptr, variables.first);
}

// A file that is there and wrong is a failure for an optional module as well.
TEST(LocCCModule, ReaderCodesBecomeSentences) {
    struct Row {
        int line;
        std::string content;
        const char* reason;
    };
    const Row rows[] = {
        {__LINE__, wrongAt(0), kInvalid},
        {__LINE__, wrongAt(4), kInvalid},
        {__LINE__, wrongAt(8), "Localization data has unsupported version"},
        {__LINE__, wrongAt(12), "Localization character encoding is wrong"},
        {__LINE__, wrongAt(16), "Localization and executable file versions are different"},
        {__LINE__, wrongAt(20), kInvalid},
        {__LINE__, wrongAt(24), kInvalid},
        {__LINE__, dictionaryFile({"a", "b"}).substr(0, 39), kReadError},
        {__LINE__, "", kReadError},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE("row at line " + std::to_string(row.line));
        TempFolder folder;
        folder.write("m.eng.lng", row.content);
        for (bool required : {false, true}) {
            Variables variables;
            Loc::CCModule module("m", variables.table, required);
            std::string error = "old";
            EXPECT_FALSE(module.load((folder.path() + "/").c_str(), "eng", &error));
            EXPECT_EQ(sentence(row.reason, folder.file("m.eng.lng")), error);
            EXPECT_EQ(nullptr, variables.first);
            EXPECT_EQ(nullptr, module.loader.text);
        }
    }
}

// Systems differ in whether a folder can be opened; nowhere can it be read.
TEST(LocCCModule, FolderInPlaceOfTheFileFails) {
    TempFolder folder;
    UTF8File made(folder.file("m.eng.lng"));
    ASSERT_TRUE(made.mkdir());
    Variables variables;
    Loc::CCModule module("m", variables.table, true);
    std::string error;
    EXPECT_FALSE(module.load((folder.path() + "/").c_str(), "eng", &error));
#ifdef _WIN32
    EXPECT_EQ(sentence(kNotFound, folder.file("m.eng.lng")), error);
#else
    EXPECT_EQ(sentence(kReadError, folder.file("m.eng.lng")), error);
#endif
}

TEST(LocCCModule, FailedReloadKeepsTheTexts) {
    TempFolder folder;
    const std::string path = folder.path() + "/";
    folder.write("m.eng.lng", dictionaryFile({"one", "two"}));
    folder.write("m.ger.lng", dictionaryFile({"eins", "zwei"}));
    folder.write("m.bad.lng", dictionaryFile({"eins", "zwei"}).substr(0, 40));
    Variables variables;
    Loc::CCModule module("m", variables.table, true);
    ASSERT_TRUE(module.load(path.c_str(), "eng", nullptr));
    const char* first = variables.first;
    for (const char* language : {"bad", "missing"}) {
        EXPECT_FALSE(module.load(path.c_str(), language, nullptr));
        EXPECT_EQ(first, variables.first);
        EXPECT_STREQ("one", variables.first);
        EXPECT_STREQ("two", variables.second);
    }
    ASSERT_TRUE(module.load(path.c_str(), "ger", nullptr));
    EXPECT_STREQ("eins", variables.first);
    EXPECT_STREQ("zwei", variables.second);
}

TEST(LocCCModule, CopiesShareTheText) {
    TempFolder folder;
    folder.write("m.eng.lng", dictionaryFile({"one", "two"}));
    Variables variables, others;
    Loc::CCModule module("m", variables.table, true);
    ASSERT_TRUE(module.load((folder.path() + "/").c_str(), "eng", nullptr));
    Loc::CCModule copy(module);
    EXPECT_EQ("m", copy.name);
    EXPECT_TRUE(copy.required);
    EXPECT_EQ(&variables.table, copy.localization);
    EXPECT_EQ(module.loader.text, copy.loader.text);
    Loc::CCModule assigned("n", others.table, false);
    EXPECT_EQ(&assigned, &(assigned = module));
    EXPECT_EQ("m", assigned.name);
    EXPECT_TRUE(assigned.required);
    EXPECT_EQ(&variables.table, assigned.localization);
    EXPECT_EQ(module.loader.text, assigned.loader.text);
    copy.loader.text = assigned.loader.text = nullptr;
    EXPECT_STREQ("one", variables.first);
}

TEST(LocModule, CopiesNameAndPolicy) {
    Loc::Module module;
    module.name = "m";
    module.required = true;
    Loc::Module copy(module);
    EXPECT_EQ("m", copy.name);
    EXPECT_TRUE(copy.required);
    Loc::Module assigned;
    EXPECT_EQ(&assigned, &(assigned = module));
    EXPECT_EQ("m", assigned.name);
    EXPECT_TRUE(assigned.required);
}

// ---- IdModule ----

IDLocLoader::Localization idTable = {2, 8, kStamp};
const char* idKeys[] = {"KEY__first", "KEY__second"};

TEST(LocIdModule, IsRequiredAndRegistersAtOnce) {
    RegistryScope registry;
    IDLocLoader texts;
    {
        Loc::IdModule module("m", idTable, idKeys, texts, kOther);
        EXPECT_EQ("m", module.name);
        EXPECT_TRUE(module.required);
        EXPECT_EQ(&idTable, module.localization);
        EXPECT_EQ(&texts, module.loader);
        EXPECT_LT(static_cast<void*>(&module.localization), static_cast<void*>(&module.loader));
        EXPECT_EQ(nullptr, texts.text);
        EXPECT_EQ(nullptr, texts.strings);
    }
    // The entry stays when the module is gone.
    EXPECT_EQ(&texts, TTT::dictionaries[4]);
    EXPECT_EQ(&idTable, TTT::localizations[4]);
    EXPECT_EQ(idKeys, TTT::stringids[4]);
    for (int i : {0, 1, 2, 3, 5}) EXPECT_TRUE(registry.isNull(i)) << i;
}

TEST(LocIdModule, TextsOutliveTheModule) {
    RegistryScope registry;
    TempFolder folder;
    folder.write("m.eng.lng", dictionaryFile({"one", "two"}));
    IDLocLoader texts;
    {
        Loc::IdModule module("m", idTable, idKeys, texts, kOther);
        ASSERT_TRUE(module.load((folder.path() + "/").c_str(), "eng", nullptr));
    }
    EXPECT_STREQ("one", texts[0]);
    EXPECT_STREQ("two", texts[1]);
    EXPECT_STREQ("two", TTT::get(kOther, 1));
}

TEST(LocIdModule, RegisteringAgainOverwrites) {
    RegistryScope registry;
    IDLocLoader first, second;
    IDLocLoader::Localization table = {1, 8, kStamp};
    const char* keys[] = {"KEY__other"};
    Loc::IdModule one("m", idTable, idKeys, first, kOther);
    Loc::IdModule two("n", table, keys, second, kOther);
    EXPECT_EQ(&second, TTT::dictionaries[4]);
    EXPECT_EQ(&table, TTT::localizations[4]);
    EXPECT_EQ(keys, TTT::stringids[4]);
}

TEST(LocIdModule, MissingFileFails) {
    RegistryScope registry;
    TempFolder folder;
    IDLocLoader texts;
    Loc::IdModule module("m", idTable, idKeys, texts, kOther);
    std::string error;
    EXPECT_FALSE(module.load((folder.path() + "/").c_str(), nullptr, &error));
    EXPECT_EQ(sentence(kNotFound, folder.file("m.eng.lng")), error);
    EXPECT_EQ(nullptr, texts.strings);
}

TEST(LocIdModule, FailedReloadKeepsTheTexts) {
    RegistryScope registry;
    TempFolder folder;
    const std::string path = folder.path() + "/";
    folder.write("m.eng.lng", dictionaryFile({"one", "two"}));
    folder.write("m.bad.lng", dictionaryFile({"one", "two"}, kStamp + 1));
    IDLocLoader texts;
    Loc::IdModule module("m", idTable, idKeys, texts, kOther);
    ASSERT_TRUE(module.load(path.c_str(), "eng", nullptr));
    const char* former = texts[1];
    std::string error;
    EXPECT_FALSE(module.load(path.c_str(), "bad", &error));
    EXPECT_EQ(sentence("Localization and executable file versions are different", folder.file("m.bad.lng")), error);
    EXPECT_EQ(former, texts[1]);
    EXPECT_STREQ("two", texts[1]);
}

TEST(LocIdModule, CopiesRegisterNothing) {
    RegistryScope registry;
    IDLocLoader texts, otherTexts;
    IDLocLoader::Localization otherTable = {1, 8, 1};
    Loc::IdModule module("m", idTable, idKeys, texts, kOther);
    Loc::IdModule assigned("n", otherTable, idKeys, otherTexts, static_cast<LocDictionaryId>(5));
    for (int i = 0; i < 6; ++i) registry.clear(i);
    Loc::IdModule copy(module);
    EXPECT_EQ("m", copy.name);
    EXPECT_TRUE(copy.required);
    EXPECT_EQ(&idTable, copy.localization);
    EXPECT_EQ(&texts, copy.loader);
    EXPECT_EQ(&assigned, &(assigned = module));
    EXPECT_EQ("m", assigned.name);
    EXPECT_TRUE(assigned.required);
    EXPECT_EQ(&idTable, assigned.localization);
    EXPECT_EQ(&texts, assigned.loader);
    for (int i = 0; i < 6; ++i) EXPECT_TRUE(registry.isNull(i)) << i;
}

// ---- VelmoraModule ----

TEST(LocVelmoraModule, RegistersTheLibrarysTable) {
    RegistryScope registry;
    Loc::VelmoraModule module;
    EXPECT_EQ("velmora", module.name);
    EXPECT_TRUE(module.required);
    EXPECT_EQ(79, module.localization->count);
    EXPECT_EQ(8, module.localization->encoding);
    EXPECT_EQ(0xB81A2C30u, module.localization->version);
    EXPECT_EQ(module.loader, TTT::dictionaries[2]);
    EXPECT_EQ(module.localization, TTT::localizations[2]);
    ASSERT_NE(nullptr, TTT::stringids[2]);
    EXPECT_STREQ("LCA__Bad_character", TTT::stringids[2][0]);
    for (int i : {0, 1, 3, 4, 5}) EXPECT_TRUE(registry.isNull(i)) << i;
}

TEST(LocVelmoraModule, AllModulesShareOneLoader) {
    Loc::VelmoraModule one, two;
    EXPECT_EQ(one.loader, two.loader);
    EXPECT_EQ(one.localization, two.localization);
}

TEST(LocVelmoraModule, CopiesRegisterNothing) {
    RegistryScope registry;
    Loc::VelmoraModule module, assigned;
    registry.clear(2);
    Loc::VelmoraModule copy(module);
    EXPECT_EQ("velmora", copy.name);
    EXPECT_EQ(module.loader, copy.loader);
    EXPECT_EQ(module.localization, copy.localization);
    assigned.name = "other";
    assigned.required = false;
    EXPECT_EQ(&assigned, &(assigned = module));
    EXPECT_EQ("velmora", assigned.name);
    EXPECT_TRUE(assigned.required);
    EXPECT_TRUE(registry.isNull(2));
}

TEST(LocVelmoraModule, MissingFileFailsAndKeepsTheTexts) {
    support::loadTexts();
    const char* former = TTT::get(VELMORA_DICT, LCA__Disk_full);
    TempFolder folder;
    Loc::VelmoraModule module;
    std::string error;
    EXPECT_FALSE(module.load((folder.path() + "/").c_str(), nullptr, &error));
    EXPECT_EQ(sentence(kNotFound, folder.file("velmora.eng.lng")), error);
    EXPECT_EQ(former, TTT::get(VELMORA_DICT, LCA__Disk_full));
}

// ---- Loader ----

// Tells what is done to it.
class Recorder : public Loc::Module {
public:
    Recorder(const char* moduleName, bool result, std::vector<std::string>& log) : result_(result), log_(log) {
        name = moduleName;
    }
    ~Recorder() override { log_.push_back("~" + name); }

    bool load(const char* path, const char* language, std::string* error) override {
        log_.push_back(name + " " + path + " " + (language ? language : "(null)") + (error ? "" : " no error"));
        if (!result_ && error) *error = "failed " + name;
        return result_;
    }

private:
    bool result_;
    std::vector<std::string>& log_;
};

using Log = std::vector<std::string>;

TEST(LocLoader, WithoutModulesSucceeds) {
    Loc::Loader loader;
    EXPECT_EQ(0, loader.modules.count);
    std::string error = "untouched";
    EXPECT_TRUE(loader.load("nowhere/", "eng", &error));
    EXPECT_EQ("untouched", error);
    EXPECT_TRUE(loader.load("nowhere/", nullptr, nullptr));
}

TEST(LocLoader, LoadsInOrderWithTheSameArguments) {
    Log log;
    Loc::Loader loader;
    for (const char* name : {"a", "b", "c"}) loader.addModule(new Recorder(name, true, log));
    EXPECT_EQ(3, loader.modules.count);
    EXPECT_EQ("b", loader.modules[1]->name);
    std::string error = "untouched";
    EXPECT_TRUE(loader.load("p/", "ger", &error));
    EXPECT_EQ((Log{"a p/ ger", "b p/ ger", "c p/ ger"}), log);
    EXPECT_EQ("untouched", error);
}

TEST(LocLoader, LanguageAndErrorMayBeLeftOut) {
    Log log;
    Loc::Loader loader;
    loader.addModule(new Recorder("a", true, log));
    EXPECT_TRUE(loader.load("p/"));
    EXPECT_TRUE(loader.load("p/", "ger"));
    EXPECT_EQ((Log{"a p/ (null) no error", "a p/ ger no error"}), log);
}

TEST(LocLoader, PassesOverAModuleThatIsNotThere) {
    Log log;
    Loc::Loader loader;
    loader.addModule(nullptr);
    loader.addModule(new Recorder("a", true, log));
    EXPECT_TRUE(loader.load("p/"));
    EXPECT_EQ((Log{"a p/ (null) no error"}), log);
}

TEST(LocLoader, FirstFailureEndsTheLoad) {
    Log log;
    Loc::Loader loader;
    loader.addModule(new Recorder("a", true, log));
    loader.addModule(new Recorder("b", false, log));
    loader.addModule(new Recorder("c", false, log));
    std::string error = "old";
    EXPECT_FALSE(loader.load("p/", nullptr, &error));
    EXPECT_EQ((Log{"a p/ (null)", "b p/ (null)"}), log);
    EXPECT_EQ("failed b", error);
}

TEST(LocLoader, DestroysItsModules) {
    Log log;
    {
        Loc::Loader loader;
        loader.addModule(new Recorder("a", true, log));
        loader.addModule(nullptr);
        loader.addModule(new Recorder("b", true, log));
        EXPECT_TRUE(log.empty());
    }
    EXPECT_EQ((Log{"~a", "~b"}), log);
}

TEST(LocLoader, ModulesBeforeAFailureKeepWhatTheyLoaded) {
    TempFolder folder;
    folder.write("first.eng.lng", dictionaryFile({"one", "two"}));
    folder.write("second.eng.lng", "not a dictionary");
    folder.write("third.eng.lng", dictionaryFile({"five", "six"}));
    Variables first, second, third;
    Loc::Loader loader;
    loader.addModule(new Loc::CCModule("first", first.table, true));
    loader.addModule(new Loc::CCModule("second", second.table, false));
    loader.addModule(new Loc::CCModule("third", third.table, true));
    std::string error = "old";
    EXPECT_FALSE(loader.load((folder.path() + "/").c_str(), nullptr, &error));
    EXPECT_EQ(sentence(kInvalid, folder.file("second.eng.lng")), error);
    EXPECT_EQ(')', error.back());
    EXPECT_EQ(1, std::count(error.begin(), error.end(), '\n'));
    EXPECT_STREQ("one", first.first);
    EXPECT_STREQ("two", first.second);
    EXPECT_EQ(nullptr, second.first);
    EXPECT_EQ(nullptr, third.first);

    folder.write("second.eng.lng", dictionaryFile({"three", "four"}));
    EXPECT_TRUE(loader.load((folder.path() + "/").c_str(), "eng", &error));
    EXPECT_STREQ("one", first.first);
    EXPECT_STREQ("four", second.second);
    EXPECT_STREQ("six", third.second);
}

TEST(LocLoader, ChangesTheLanguage) {
    RegistryScope registry;
    TempFolder folder;
    const std::string path = folder.path() + "/";
    folder.write("a.eng.lng", dictionaryFile({"one", "two"}));
    folder.write("a.ger.lng", dictionaryFile({"eins", "zwei"}));
    folder.write("b.eng.lng", dictionaryFile({"three", "four"}));
    folder.write("b.ger.lng", dictionaryFile({"drei", "vier"}));
    Variables variables;
    IDLocLoader texts;
    Loc::Loader loader;
    loader.addModule(new Loc::CCModule("a", variables.table, true));
    loader.addModule(new Loc::IdModule("b", idTable, idKeys, texts, kOther));
    ASSERT_TRUE(loader.load(path.c_str()));
    EXPECT_STREQ("two", variables.second);
    EXPECT_STREQ("four", TTT::get(kOther, 1));
    ASSERT_TRUE(loader.load(path.c_str(), "ger"));
    EXPECT_STREQ("zwei", variables.second);
    EXPECT_STREQ("vier", TTT::get(kOther, 1));
}

}  // namespace
