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

// Returns: the exit status; faults have been reported.
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

// Returns: the exit status; faults have been reported.
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

// A name that only tells where something comes from: what XML cannot hold is shown.
std::string inXml(const ChPair& name) { return shownOnTerminal(shown(name)); }

// Original name and language as a dictionary's file name has them: velmora.eng.lng.
void nameFile(const std::string& path, Xliff& xliff) {
    const ChPair name = ChPair(path).parsePath();
    const ChPair language = name.findLastExtension();
    xliff.targetLanguage = inXml(language);
    xliff.original = inXml(language.empty() ? name : ChPair(name.begin, language.begin - 1));
}

// Each text is made when it is written: together they may be much larger than the file.
void putXliff(const Dictionary& dictionary) {
    Xliff head;
    nameFile(dictionary.path, head);
    head.sourceLanguage = dictionary.xliff.sourceLanguage.empty() ? "en" : dictionary.xliff.sourceLanguage;
    head.productVersion = stampText(dictionary.file.stamp);
    XliffWriter writer([](const std::string& piece) { putDocument(piece); });
    writer.begin(head);
    for (std::size_t i = 0; i < dictionary.file.texts.size(); ++i) {
        const std::string id = i < dictionary.keys.size() ? dictionary.keys[i] : std::to_string(i);
        const std::string target = dictionary.file.text(i).std();
        writer.unit(id, i < dictionary.xliff.units.size() ? dictionary.xliff.units[i].source : target, target);
    }
    writer.end();
}

// Returns: the exit status; faults have been reported.
int tellUnwritable(const Dictionary& dictionary) {
    int status = kDone;
    for (std::size_t i = 0; i < dictionary.file.texts.size(); ++i) {
        const bool good = isXmlText(dictionary.file.text(i)) &&
                          (i >= dictionary.keys.size() || isXmlText(dictionary.keys[i])) &&
                          (i >= dictionary.xliff.units.size() || isXmlText(dictionary.xliff.units[i].source));
        if (good) continue;
        complain(dictionary.path + ": " + textName(i, dictionary.keys) +
                 " cannot be held by XML, which has no control characters and nothing but UTF-8");
        status = kBadInput;
    }
    return status;
}

int run(const Arguments& arguments, const Settings&) {
    Dictionary dictionary;
    dictionary.path = arguments.operands[0];
    int status = loadFile(dictionary);
    if (status == kDone) status = loadKeys(arguments, dictionary);
    if (status != kDone) return status;
    if (dictionary.file.overlapsTooMuch()) {
        complain(dictionary.path + ": " + kTooMuchOverlap);
        return kBadInput;
    }
    const bool readable = dictionary.file.unreadableCount() == 0;
    if (!arguments.has("--xliff")) {
        putHeader(dictionary.file);
        putTexts(dictionary);
    } else if (readable) {
        status = tellUnwritable(dictionary);
        if (status == kDone) putXliff(dictionary);
        return status;
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
                             "  --keys FILE.xlf  takes keys and sources from its units\n"
                             "\n"
                             "Texts that share their bytes, so that all together have more than 32 MB and 32 times\n"
                             "the size of the file, are refused. XLIFF cannot hold control characters but tabs and\n"
                             "line ends, nor what is no UTF-8: such texts are refused there. In lines, these and\n"
                             "what would reorder a line are shown as \\n, \\r, \\t or \\xHH.\n",
                             1,
                             1,
                             true,
                             {{"--xliff", false}, {"--keys", true}},
                             run};

}  // namespace tool
