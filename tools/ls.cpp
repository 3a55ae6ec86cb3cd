// velmora ls: the entries of a folder, as lines for people or in one of the written forms.
#include <velmora/files/findfile.h>
#include <velmora/markup/mldocout.h>
#include <velmora/text/timetext.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <string>
#include <utility>
#include <vector>

#include "tools/command.h"
#include "tools/item_writers.h"
#include "tools/output.h"
#include "tools/shown.h"
#include "tools/status.h"

namespace tool {
namespace {

constexpr int kReadOnly = 1;
constexpr int kHidden = 2;
constexpr int kFolder = 16;

struct Entry {
    std::string name;
    std::int64_t size;
    std::int64_t time;
    int attributes;

    bool is(int bit) const { return (attributes & bit) != 0; }
};

using Order = bool (*)(const Entry& a, const Entry& b);

bool byName(const Entry& a, const Entry& b) { return a.name < b.name; }
bool bySize(const Entry& a, const Entry& b) { return std::pair(b.size, a.name) < std::pair(a.size, b.name); }
bool byTime(const Entry& a, const Entry& b) { return std::pair(b.time, a.name) < std::pair(a.time, b.name); }

Order orderOf(const std::string& name) {
    if (name == "name") return byName;
    if (name == "size") return bySize;
    if (name == "time") return byTime;
    throw UsageError{"--sort must be name, size or time"};
}

void setFilter(ZFindFile& find, const Arguments& arguments) {
    find.allowDirs(arguments.has("--dirs") || arguments.has("--only-dirs"));
    find.allowFiles(!arguments.has("--only-dirs"));
    if (arguments.has("--no-hidden")) find.denyMask |= kHidden;
    if (arguments.has("--read-only")) find.allowMask = kReadOnly;
}

// Returns: 0, or the number of the system's error when not all entries could be read.
int read(ZFindFile& find, std::vector<Entry>& entries) {
    for (;;) {
        errno = 0;  // it stays 0 at the true end; some runtimes report the end as ENOENT
        if (!find.next()) return errno == ENOENT ? 0 : errno;
        entries.push_back(Entry{find.getName(), find.getSize(), find.getTime(), find.attributes});
    }
}

std::string timeText(const Entry& entry) {
    char text[32];
    from_gmt_time_t_to_gmt_date_time_string_YYYYMMDDThhmmss(entry.time, text);
    return text;
}

std::string padded(const std::string& text, std::size_t width) {
    return std::string(width > text.size() ? width - text.size() : 0, ' ') + text;
}

void putLines(const std::vector<Entry>& entries) {
    constexpr std::size_t timeWidth = 19;
    std::size_t sizeWidth = 1;
    for (const Entry& entry : entries) sizeWidth = std::max(sizeWidth, std::to_string(entry.size).size());
    for (const Entry& entry : entries) {
        const std::string size = entry.is(kFolder) ? "-" : std::to_string(entry.size);
        put(padded(timeText(entry), timeWidth) + "  " + padded(size, sizeWidth) + "  " + shown(ChPair(entry.name)) +
            (entry.is(kFolder) ? "/\n" : "\n"));
    }
}

void putEntries(const std::vector<Entry>& entries, const std::string& mask, MLDocBase::Format form, bool header) {
    constexpr const char* columns[] = {"name", "folder", "size", "modified", "hidden", "readOnly"};
    const bool rows = form == MLDocBase::CSV;
    MLDocOut::BagWriter sink;
    MLDocOut out(form);
    out.setEOLN("\n");
    out.begin(sink);
    if (!rows) {
        out.beginItem("listing");
        writeText(out, "mask", mask, isPrintable(ChPair(mask)));
    }
    if (header) {
        out.beginItem("entry");
        for (const char* column : columns) out.writeStrAttr(column, column);
        out.endItem("entry");
    }
    for (const Entry& entry : entries) {
        out.beginItem("entry");
        writeText(out, columns[0], entry.name, isPrintable(ChPair(entry.name)));
        out.writeBoolAttr(columns[1], entry.is(kFolder));
        out.writeInt64Attr(columns[2], entry.size);
        out.writeDateAttr(columns[3], entry.time);
        out.writeBoolAttr(columns[4], entry.is(kHidden));
        out.writeBoolAttr(columns[5], entry.is(kReadOnly));
        out.endItem("entry");
    }
    if (!rows) out.endItem("listing");
    out.end();
    putDocument(sink.data, static_cast<std::size_t>(sink.size));
}

int run(const Arguments& arguments, const Settings&) {
    static constexpr std::pair<const char*, MLDocBase::Format> forms[] = {
        {"--json", MLDocBase::JSON}, {"--yaml", MLDocBase::YAML}, {"--csv", MLDocBase::CSV}};
    MLDocBase::Format form = MLDocBase::Unknown;
    for (const auto& [option, of] : forms) {
        if (!arguments.has(option)) continue;
        if (form != MLDocBase::Unknown) throw UsageError{"only one of --json, --yaml and --csv can be written"};
        form = of;
    }
    const bool header = arguments.has("--header");
    if (header && form != MLDocBase::CSV) throw UsageError{"--header is for --csv"};
    const Order order = orderOf(arguments.value("--sort", "name"));

    const std::string mask = arguments.operands.empty() ? "." : arguments.operands[0];
    constexpr std::size_t mostBytes = 259;  // which are no more characters, and leave room for a pattern
    if (mask.size() > mostBytes) throw UsageError{"the mask is longer than 259 bytes"};
    ZFindFile find(mask.c_str());
    if (find.handle == -1) {
        complain("velmora: nothing can be listed: " + mask);
        return kBadInput;
    }
    setFilter(find, arguments);
    std::vector<Entry> entries;
    const int failure = read(find, entries);
    std::sort(entries.begin(), entries.end(), order);
    if (form == MLDocBase::Unknown) {
        putLines(entries);
    } else {
        putEntries(entries, mask, form, header);
    }
    if (failure == 0) return kDone;
    complain("velmora: the list is not whole: " + mask + " (" + std::strerror(failure) + ")");
    return kFailed;
}

}  // namespace

const Command lsCommand{
    "ls",
    "[MASK]",
    "lists a folder",
    "Lists the files of a folder, with the time of their last change in UTC and their size in\n"
    "bytes. A MASK that ends in * is a folder and a pattern for the names in it, in which * is\n"
    "any text and ? one character; any other names a folder. When not given, it is the\n"
    "current folder.\n"
    "\n"
    "  --dirs         folders too\n"
    "  --only-dirs    folders only\n"
    "  --no-hidden    without hidden entries\n"
    "  --read-only    only what may not be written\n"
    "  --sort KEY     name, size (largest first) or time (latest first): name when not given\n"
    "  --json         writes JSON, with the attributes of each entry\n"
    "  --yaml         writes YAML\n"
    "  --csv          writes lines of comma-separated values\n"
    "  --header       csv: a first line with the names of the columns\n"
    "\n"
    "Of a file of 4 GiB or more only the low 32 bits of the size are known. In a name, control\n"
    "bytes are shown as \\n, \\r, \\t or \\xHH; so is, on a terminal, what is no UTF-8, does not\n"
    "print or reorders a line. In JSON, YAML and CSV such characters are written as \\n, \\r, \\t,\n"
    "\\b, \\f or \\uHHHH, and a byte that is no UTF-8 as the character U+FFFD.\n",
    0,
    1,
    false,
    {{"--dirs", false},
     {"--only-dirs", false},
     {"--no-hidden", false},
     {"--read-only", false},
     {"--sort", true, "name size time"},
     {"--json", false},
     {"--yaml", false},
     {"--csv", false},
     {"--header", false}},
    run};

}  // namespace tool
