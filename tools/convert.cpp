// velmora convert: a document of any form that is read, in any form that is written. The result is made in memory and
// goes out when it is whole, so a failure leaves no half of a file, and it is bounded by the size of the document.
#include <velmora/markup/mldocout.h>
#include <velmora/serial/ttt.h>

#include <algorithm>
#include <cstdint>
#include <iterator>
#include <string>

#include "tools/command.h"
#include "tools/document.h"
#include "tools/item_writers.h"
#include "tools/items.h"
#include "tools/limits.h"
#include "tools/output.h"
#include "tools/report.h"
#include "tools/save.h"
#include "tools/status.h"

namespace tool {
namespace {

struct Form {
    const char* name;
    MLDocBase::Format format;
};

constexpr Form kForms[] = {{"xml", MLDocBase::XML},
                           {"json", MLDocBase::JSON},
                           {"yaml", MLDocBase::YAML},
                           {"html", MLDocBase::HTML},
                           {"csv", MLDocBase::CSV}};
constexpr int kWidestTab = 16;
constexpr int kMostMegabytes = 2000;  // a Bag holds a little more

MLDocBase::Format formOf(const std::string& name) {
    const auto* form =
        std::find_if(std::begin(kForms), std::end(kForms), [&](const Form& f) { return name == f.name; });
    if (form == std::end(kForms)) throw UsageError{"--to needs one of xml, json, yaml, html, csv"};
    return form->format;
}

const char* lineEndOf(const std::string& name) {
    if (name == "lf") return "\n";
    if (name == "crlf") return "\r\n";
    throw UsageError{"--eol needs one of lf, crlf"};
}

// The result, while it is made.
class BoundedWriter : public MLDocOut::BagWriter {
public:
    explicit BoundedWriter(std::uint64_t most) : most_(most) {}

    void write_doc(const char* text, int n) override {
        if (static_cast<std::uint64_t>(size) + static_cast<std::uint64_t>(n) > most_) {
            throw TTT("the result is larger than " + std::to_string(most_) + " bytes, see --most");
        }
        BagWriter::write_doc(text, n);
    }

private:
    std::uint64_t most_;
};

// What the command line asks for.
struct Conversion {
    MLDocOut writer;
    ItemSettings items;
    std::string root;
    std::string rowName;
    bool header;
    int mostMegabytes;  // 0: as many as the document's size allows

    explicit Conversion(const Arguments& arguments)
        : writer(formOf(arguments.value("--to"))),
          root(arguments.value("--root", "document")),
          rowName(arguments.value("--rows")),
          header(arguments.has("--header")),
          mostMegabytes(arguments.number("--most", 0, 1, kMostMegabytes)) {
        writer.setEOLN(lineEndOf(arguments.value("--eol", "lf")));
        writer.setCompactMode(arguments.has("--compact"));
        items.rawEscapes = arguments.has("--raw-escapes");
        // In YAML the dash of an item and its blank stand within the indentation.
        const int narrowestTab = writer.getFormat() == MLDocBase::YAML ? 2 : 0;
        if (arguments.has("--tab")) writer.setTabSize(arguments.number("--tab", 0, narrowestTab, kWidestTab));
        if (root.empty()) throw UsageError{"--root needs a name"};
        if (!isRowForm() && (arguments.has("--rows") || header)) {
            throw UsageError{"--rows and --header are for html and csv"};
        }
    }

    bool isRowForm() const { return writer.getFormat() == MLDocBase::HTML || writer.getFormat() == MLDocBase::CSV; }

    std::uint64_t mostBytes(const MLDoc& doc) const {
        if (mostMegabytes != 0) return static_cast<std::uint64_t>(mostMegabytes) * kMegabyte;
        return std::min(mostBytesOf(doc.length), static_cast<std::uint64_t>(kMostMegabytes) * kMegabyte);
    }

    // Whether the items need a root around them. XML has exactly one, JSON at most one as it is written here.
    bool needsRoot(const Survey& survey) const {
        if (survey.rootHasValues()) return true;
        if (writer.getFormat() == MLDocBase::XML) return survey.itemCount() != 1;
        return writer.getFormat() == MLDocBase::JSON && survey.itemCount() > 1;
    }
};

void writeRows(MLDoc& doc, Conversion& conversion, const Survey& survey) {
    RowWriter sink(conversion.writer, doc.format, survey, !conversion.rowName.empty());
    if (conversion.header && !survey.rowName().empty()) sink.writeHeader();
    ItemReader(doc, conversion.items, sink).run();
}

void writeTree(MLDoc& doc, Conversion& conversion) {
    TreeWriter sink(conversion.writer, doc.format);
    ItemReader(doc, conversion.items, sink).run();
}

int convertDocument(MLDoc& doc, Conversion& conversion, Bag& result) {
    Survey survey(conversion.root, conversion.rowName);
    ItemReader(doc, conversion.items, survey).run();
    if (!conversion.rowName.empty() && !survey.hasRows()) {
        complain(std::string(doc.fileName) + ": no item is named " + conversion.rowName);
        return kBadInput;
    }
    if (conversion.needsRoot(survey)) conversion.items.root = conversion.root;
    rewindDocument(doc);
    BoundedWriter sink(conversion.mostBytes(doc));
    conversion.writer.begin(sink);
    if (conversion.isRowForm()) {
        writeRows(doc, conversion, survey);
    } else {
        writeTree(doc, conversion);
    }
    conversion.writer.end();
    result.stealFrom(sink);
    return kDone;
}

void deliver(const Bag& result, const Arguments& arguments) {
    const auto size = static_cast<std::size_t>(result.size);
    if (arguments.has("-o")) {
        saveFile(arguments.value("-o"), result.data, size);
    } else {
        putDocument(result.data, size);
    }
}

int run(const Arguments& arguments, const Settings&) {
    Conversion conversion(arguments);
    MLDoc doc;
    Bag result;
    const int status = readDocument(doc, arguments.operands[0],
                                    [&](MLDoc& loaded) { return convertDocument(loaded, conversion, result); });
    if (status == kDone) deliver(result, arguments);
    return status;
}

}  // namespace

const Command convertCommand{
    "convert",
    "FILE --to FORM",
    "writes a document of one form in another",
    "Reads XML, JSON or YAML, and writes FORM: xml, json, yaml, html or csv. Every item and\n"
    "every value is kept: what FORM cannot hold is a failure that names the place. Comments\n"
    "and declarations are not carried over, nor are blanks and line ends between elements.\n"
    "\n"
    "  -o OUT         file to write; it is replaced when the result is whole, by way of OUT.tmp\n"
    "  --compact      no line for each value\n"
    "  --tab N        blanks for each level, 0 for tabs\n"
    "  --eol lf|crlf  line ends: lf when not given; rows always end in CR LF\n"
    "  --root NAME    name of the item around all others where FORM needs one, or where the\n"
    "                 root of JSON or YAML has values: document when not given\n"
    "  --rows NAME    html, csv: the items that become rows; what lies outside of them is\n"
    "                 left out. When not given, the rows are the items that hold values, and\n"
    "                 all must have one name. There is a column for each name of a value,\n"
    "                 in the order in which the names come up.\n"
    "  --header       html, csv: a first row with the names of the columns\n"
    "  --raw-escapes  carries values over undecoded in which an escape is not known, such as\n"
    "                 \\n in JSON; without it they are failures\n"
    "  --most MB      megabytes that the result may have, to 2000: when not given, 32, or 32\n"
    "                 times FILE when that is more\n"
    "\n"
    "The text of an XML element becomes a value named text where FORM has no content.\n",
    1,
    1,
    true,
    {{"--to", true, "xml json yaml html csv"},
     {"-o", true},
     {"--compact", false},
     {"--tab", true},
     {"--eol", true, "lf crlf"},
     {"--root", true},
     {"--rows", true},
     {"--header", false},
     {"--raw-escapes", false},
     {"--most", true}},
    run};

}  // namespace tool
