// velmora lng dump: shows a .lng file, as lines or as an XLIFF file that compiles back to it.
#include <velmora/text/chpair.h>

#include "tools/command.h"
#include "tools/lng.h"
#include "tools/output.h"
#include "tools/shown.h"
#include "tools/stamp.h"
#include "tools/status.h"

namespace tool {
namespace {

// A .lng file with what is known of its keys.
struct Dictionary {
    std::string path;
    LngFile file;
    std::vector<std::string> keys;  // empty when they are not known
    Xliff xliff;                    // of --keys; without units when it was not given
};

bool isLibrarys(const LngFile& file) {
    return file.stamp == libraryStamp() && file.texts.size() == libraryKeys().size();
}

// Returns: the exit status; what is wrong has been told.
int loadKeys(const Arguments& arguments, Dictionary& dictionary) {
    if (!arguments.has("--keys")) {
        if (isLibrarys(dictionary.file)) dictionary.keys = libraryKeys();
        return kDone;
    }
    const std::string path = arguments.value("--keys");
    const int status = loadXliff(path, dictionary.xliff);
    if (status != kDone) return status;
    dictionary.keys = dictionary.xliff.ids();
    if (dictionary.keys.size() == dictionary.file.texts.size()) return kDone;
    complain(path + ": there are " + std::to_string(dictionary.keys.size()) + " units for " +
             std::to_string(dictionary.file.texts.size()) + " texts");
    return kBadInput;
}

// Returns: the exit status; what is wrong has been told.
int loadFile(Dictionary& dictionary) {
    std::vector<std::string> problems;
    const bool whole = loadLng(dictionary.path, dictionary.file, problems);
    for (const std::string& problem : problems) complain(dictionary.path + ": " + problem);
    return whole && problems.empty() ? kDone : kBadInput;
}

int tellUnreadable(const Dictionary& dictionary) {
    for (std::size_t i = 0; i < dictionary.file.texts.size(); ++i) {
        if (dictionary.file.readable(i)) continue;
        complain(dictionary.path + ": " + textName(i, dictionary.keys) + " cannot be read");
    }
    return kBadInput;
}

void putHeader(const LngFile& file) {
    put("format version " + std::to_string(file.version) + '\n');
    put("encoding " + std::to_string(file.encoding) + '\n');
    put(std::string("byte order ") + (file.bigEndian ? "big-endian" : "little-endian") + '\n');
    put("stamp " + stampText(file.stamp) + '\n');
    put("count " + std::to_string(file.texts.size()) + '\n');
    put("text size " + std::to_string(file.block.size()) + '\n');
}

void putTexts(const Dictionary& dictionary) {
    for (std::size_t i = 0; i < dictionary.file.texts.size(); ++i) {
        if (!dictionary.file.readable(i)) continue;
        const std::string key = i < dictionary.keys.size() ? shown(dictionary.keys[i]) + ' ' : std::string();
        put(std::to_string(i) + ' ' + key + quoted(dictionary.file.text(i)) + '\n');
    }
}

// Original name and language as a dictionary's file name has them: velmora.eng.lng.
void nameFile(const std::string& path, Xliff& xliff) {
    const ChPair name = ChPair(path).parsePath();
    const ChPair language = name.findLastExtension();
    xliff.targetLanguage = language.std();
    xliff.original = language.empty() ? name.std() : ChPair(name.begin, language.begin - 1).std();
}

Xliff toXliff(const Dictionary& dictionary) {
    Xliff out;
    nameFile(dictionary.path, out);
    out.sourceLanguage = dictionary.xliff.sourceLanguage.empty() ? "en" : dictionary.xliff.sourceLanguage;
    out.productVersion = stampText(dictionary.file.stamp);
    for (std::size_t i = 0; i < dictionary.file.texts.size(); ++i) {
        XliffUnit unit;
        unit.id = i < dictionary.keys.size() ? dictionary.keys[i] : std::to_string(i);
        unit.target = dictionary.file.text(i).std();
        unit.source = i < dictionary.xliff.units.size() ? dictionary.xliff.units[i].source : unit.target;
        out.units.push_back(unit);
    }
    return out;
}

int run(const Arguments& arguments, const Settings&) {
    Dictionary dictionary;
    dictionary.path = arguments.operands[0];
    int status = loadFile(dictionary);
    if (status == kDone) status = loadKeys(arguments, dictionary);
    if (status != kDone) return status;
    const bool readable = dictionary.file.unreadableCount() == 0;
    if (!arguments.has("--xliff")) {
        putHeader(dictionary.file);
        putTexts(dictionary);
    } else if (readable) {
        put(writeXliff(toXliff(dictionary)));
    }
    return readable ? kDone : tellUnreadable(dictionary);
}

}  // namespace

const Command lngDumpCommand{"lng dump",
                             "FILE.lng [--xliff] [--keys FILE.xlf]",
                             "shows a .lng file, as lines or as XLIFF",
                             "Shows the header, and each text with its number and its key. The keys are those of the\n"
                             "library when the file is one of its own, or come from an XLIFF file.\n"
                             "\n"
                             "  --xliff          writes an XLIFF 1.2 file that compiles back to the same texts\n"
                             "  --keys FILE.xlf  takes keys and sources from its units\n",
                             1,
                             1,
                             true,
                             {{"--xliff", false}, {"--keys", true}},
                             run};

}  // namespace tool
