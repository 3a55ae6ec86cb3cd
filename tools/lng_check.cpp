// velmora lng check: verifies a .lng file, which the loader would trust, and compares it with a reference.
#include <velmora/files/utf8file.h>
#include <velmora/text/utf.h>

#include <algorithm>
#include <charconv>
#include <optional>

#include "tools/command.h"
#include "tools/lng.h"
#include "tools/output.h"
#include "tools/placeholders.h"
#include "tools/shown.h"
#include "tools/stamp.h"
#include "tools/status.h"

namespace tool {
namespace {

// What a file must agree with.
struct Reference {
    std::optional<std::uint32_t> stamp;
    std::optional<std::size_t> count;
    bool hasTexts = false;
    std::vector<std::string> texts;
    std::vector<std::string> keys;  // empty when they are not known
};

// Places where the bytes are no UTF-8. Sequences do not reach over a terminator, so one pass serves all texts.
std::vector<std::size_t> badBytes(const std::string& block) {
    std::vector<std::size_t> places;
    const char* end = block.data() + block.size();
    const char* p = block.data();
    while (const char* bad = strchk_utf8(p, static_cast<std::size_t>(end - p))) {
        places.push_back(static_cast<std::size_t>(bad - block.data()));
        p = bad + 1;
    }
    return places;
}

class LngChecker {
public:
    LngChecker(const std::string& path, const Reference& reference) : path_(path), reference_(reference) {}

    // Returns: the exit status.
    int run(const LngFile& file, const std::vector<std::string>& problems, bool whole) {
        for (const std::string& problem : problems) error(problem);
        if (whole) checkBody(file);
        if (status_ == kDone) put(shown(path_) + ": ok\n");
        return status_;
    }

private:
    const std::string& path_;
    const Reference& reference_;
    int status_ = kDone;

    void error(const std::string& problem) {
        complain(path_ + ": " + problem);
        status_ = kBadInput;
    }

    void error(std::size_t number, const std::string& problem) {
        error(textName(number, reference_.keys) + ": " + problem);
    }

    void note(const std::string& what) { complain(path_ + ": note: " + what); }

    void checkBody(const LngFile& file) {
        checkHeader(file);
        checkTexts(file);
        checkPlaceholdersOf(file);
        if (file.trailing != 0) note(std::to_string(file.trailing) + " bytes behind the texts");
        const std::size_t unused = file.unusedBytes();
        if (unused != 0) note(std::to_string(unused) + " bytes among the texts belong to none");
    }

    void checkHeader(const LngFile& file) {
        if (reference_.stamp && *reference_.stamp != file.stamp) {
            error("the stamp is " + stampText(file.stamp) + ", not " + stampText(*reference_.stamp));
        }
        if (reference_.count && *reference_.count != file.texts.size()) {
            error("the count is " + std::to_string(file.texts.size()) + ", not " + std::to_string(*reference_.count));
        }
    }

    void checkTexts(const LngFile& file) {
        const std::vector<std::size_t> bad = badBytes(file.block);
        for (std::size_t i = 0; i < file.texts.size(); ++i) checkText(file, i, bad);
    }

    void checkText(const LngFile& file, std::size_t i, const std::vector<std::size_t>& bad) {
        const LngFile::Text& text = file.texts[i];
        const auto start = static_cast<std::size_t>(text.start);
        if (text.start < 0 || start >= file.block.size()) {
            return error(i, "starts outside the texts, at " + std::to_string(text.start));
        }
        if (!file.readable(i)) return error(i, "has no terminator");
        const bool inside = (file.block[start] & 0xC0) == 0x80;  // within a character
        const auto next = std::lower_bound(bad.begin(), bad.end(), start);
        const bool broken = next != bad.end() && static_cast<std::int64_t>(*next) <= text.end;
        if (inside || broken) error(i, "is not valid UTF-8");
    }

    void checkPlaceholdersOf(const LngFile& file) {
        if (file.overlapsTooMuch()) return error(kTooMuchOverlap);
        if (!reference_.hasTexts) note("placeholders are not compared, as there is no reference");
        for (std::size_t i = 0; i < file.texts.size(); ++i) {
            if (!file.readable(i)) continue;
            const std::string problem = placeholderProblem(file, i);
            if (!problem.empty()) error(i, problem);
        }
    }

    // Texts of a table of another size would be compared with the wrong ones.
    std::string placeholderProblem(const LngFile& file, std::size_t i) const {
        Placeholders placeholders;
        if (reference_.texts.size() != file.texts.size()) return parsePlaceholders(file.text(i), placeholders);
        return checkPlaceholders(reference_.texts[i], file.text(i));
    }
};

// Returns: the exit status; faults have been reported.
int loadLngReference(const std::string& path, Reference& out) {
    LngFile file;
    std::vector<std::string> problems;
    const bool whole = loadLng(path, file, problems);
    const bool overlaps = whole && file.overlapsTooMuch();
    if (overlaps) problems.emplace_back(kTooMuchOverlap);
    if (!whole || overlaps || file.unreadableCount() != 0) problems.emplace_back("is no use as a reference");
    for (const std::string& problem : problems) complain(path + ": " + problem);
    if (!problems.empty()) return kBadInput;
    out.stamp = file.stamp;
    for (std::size_t i = 0; i < file.texts.size(); ++i) out.texts.push_back(file.text(i).std());
    return kDone;
}

int loadXliffReference(const std::string& path, Reference& out) {
    Xliff xliff;
    const int status = loadXliff(path, xliff);
    if (status != kDone) return status;
    out.stamp = stampOf(xliff);
    out.keys = xliff.ids();
    for (const XliffUnit& unit : xliff.units) out.texts.push_back(unit.hasSource ? unit.source : unit.target);
    return kDone;
}

int loadReference(const std::string& path, Reference& out) {
    const bool isLng = ChPair(path).findLastExtension() == "lng";
    const int status = isLng ? loadLngReference(path, out) : loadXliffReference(path, out);
    out.hasTexts = status == kDone;
    out.count = out.texts.size();
    if (out.keys.empty() && out.stamp == libraryStamp()) out.keys = libraryKeys();
    return status;
}

// The reference that is given, or the English texts for a file of the library's own.
std::string referencePath(const Arguments& arguments, const Settings& settings, const LngFile& file) {
    if (arguments.has("--reference")) return arguments.value("--reference");
    const std::string english = settings.languageFolder + "velmora.eng.lng";
    return file.stamp == libraryStamp() && UTF8File::exist(english) ? english : std::string();
}

std::size_t readCount(const std::string& text) {
    std::size_t count = 0;
    const char* end = text.data() + text.size();
    const std::from_chars_result result = std::from_chars(text.data(), end, count);
    if (result.ec != std::errc() || result.ptr != end) throw UsageError{"\"" + text + "\" is no count"};
    return count;
}

// The options say more than a reference does.
void readExpected(const Arguments& arguments, Reference& out) {
    std::uint32_t stamp = 0;
    if (readStampOption(arguments, stamp)) out.stamp = stamp;
    if (arguments.has("--count")) out.count = readCount(arguments.value("--count"));
}

int run(const Arguments& arguments, const Settings& settings) {
    const std::string& path = arguments.operands[0];
    Reference reference;
    readExpected(arguments, reference);  // wrong usage is told before a file is opened
    LngFile file;
    std::vector<std::string> problems;
    const bool whole = loadLng(path, file, problems);
    const std::string from = whole ? referencePath(arguments, settings, file) : std::string();
    const int status = from.empty() ? kDone : loadReference(from, reference);
    if (status != kDone) return status;
    readExpected(arguments, reference);
    return LngChecker(path, reference).run(file, problems, whole);
}

}  // namespace

const Command lngCheckCommand{
    "lng check",
    "FILE.lng [--reference ENG.lng|ENG.xlf] [--stamp HEX] [--count N]",
    "verifies a .lng file and compares its placeholders",
    "Checks the header, where texts start and end, their UTF-8 and their placeholders, and\n"
    "tells everything that is wrong. Bytes that belong to no text are only noted. A file\n"
    "with the stamp of the library's own texts is compared with the English ones.\n"
    "Placeholders are not looked at where texts share their bytes, so that all together have\n"
    "more than 32 MB and 32 times the size of the file: this is told as a fault.\n"
    "\n"
    "  --reference FILE  the file to agree with in stamp, count and placeholders\n"
    "  --stamp HEX       the stamp that the file must have\n"
    "  --count N         the number of texts that the file must have\n",
    1,
    1,
    true,
    {{"--reference", true}, {"--stamp", true}, {"--count", true}},
    run};

}  // namespace tool
