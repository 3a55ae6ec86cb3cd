// velmora lng compile: makes a .lng file from the texts of an XLIFF file. Nothing is written unless every text is good.
#include <velmora/text/utf.h>

#include <set>

#include "tools/command.h"
#include "tools/lng.h"
#include "tools/output.h"
#include "tools/placeholders.h"
#include "tools/save.h"
#include "tools/shown.h"
#include "tools/stamp.h"
#include "tools/status.h"

namespace tool {
namespace {

// Collects what is wrong with the units of one file.
class UnitChecker {
public:
    explicit UnitChecker(const std::string& path) : path_(path) {}

    bool good() const { return good_; }

    void check(const XliffUnit& unit) {
        if (unit.id.empty()) tell(unit, "has no id");
        if (!unit.id.empty() && !ids_.insert(unit.id).second) tell(unit, "has the id of another unit");
        if (!unit.hasSource) tell(unit, "has no source");
        checkText(unit);
    }

    // The ids must be the library's keys; behind the first that is not, all others may be one place off.
    void checkLibraryKeys(const Xliff& xliff) {
        const std::vector<std::string> keys = libraryKeys();
        for (std::size_t i = 0; i < keys.size() && i < xliff.units.size(); ++i) {
            if (xliff.units[i].id != keys[i]) return tell(xliff.units[i], "stands in the place of " + keys[i]);
        }
        if (xliff.units.size() == keys.size()) return;
        tell("there are " + std::to_string(xliff.units.size()) + " units, the library has " +
             std::to_string(keys.size()) + " keys");
    }

private:
    const std::string& path_;
    std::set<std::string> ids_;
    bool good_ = true;

    void tell(const std::string& problem) {
        complain(path_ + ": " + problem);
        good_ = false;
    }

    void tell(const XliffUnit& unit, const std::string& problem) {
        tell("line " + std::to_string(unit.line) + ": unit " + quoted(unit.id) + ": " + problem);
    }

    void checkText(const XliffUnit& unit) {
        const std::string& text = unit.text();
        if (strchk_utf8(text.data(), text.size())) return tell(unit, "is not valid UTF-8");
        if (text.find('\0') != std::string::npos) return tell(unit, "holds a zero byte");
        const std::string problem = checkPlaceholders(unit.hasSource ? unit.source : text, text);
        if (!problem.empty()) tell(unit, problem);
    }
};

bool areGood(const std::string& path, const Xliff& xliff, bool library) {
    UnitChecker checker(path);
    for (const XliffUnit& unit : xliff.units) checker.check(unit);
    if (library) checker.checkLibraryKeys(xliff);
    return checker.good();
}

void write(const std::string& path, const Xliff& xliff, std::uint32_t stamp) {
    LngFile file;
    file.stamp = stamp;
    for (const XliffUnit& unit : xliff.units) file.append(unit.text());
    const std::string bytes = file.write();
    saveFile(path, bytes.data(), bytes.size());
    put(shown(path) + ": " + std::to_string(file.texts.size()) + " texts, stamp " + stampText(stamp) + '\n');
}

int run(const Arguments& arguments, const Settings&) {
    const std::string keys = arguments.value("--keys", "library");
    if (keys != "library") throw UsageError{"--keys takes \"library\" only"};
    if (!arguments.has("-o")) throw UsageError{"-o is missing"};
    std::uint32_t stamp = 0;
    const bool stampGiven = readStampOption(arguments, stamp);
    const std::string& path = arguments.operands[0];
    Xliff xliff;
    const int status = loadXliff(path, xliff);
    if (status != kDone) return status;
    if (!areGood(path, xliff, arguments.has("--keys"))) return kBadInput;
    write(arguments.value("-o"), xliff, stampGiven ? stamp : stampOf(xliff));
    return kDone;
}

}  // namespace

const Command lngCompileCommand{"lng compile",
                                "IN.xlf -o OUT.lng [--stamp HEX] [--keys library]",
                                "makes a .lng file from an XLIFF 1.2 file",
                                "A text is the target of its unit, or the source where there is no target. The stamp\n"
                                "is that of --stamp, else the file's product-version when it is 0x and eight digits,\n"
                                "else a checksum of the keys. A translation must have the placeholders of its source.\n"
                                "\n"
                                "  -o OUT.lng      the file to write; it is replaced only when all texts are good\n"
                                "  --stamp HEX     the version stamp\n"
                                "  --keys library  the ids must be the keys of the library's own texts, in order\n",
                                1,
                                1,
                                false,
                                {{"-o", true}, {"--stamp", true}, {"--keys", true}},
                                run};

}  // namespace tool
