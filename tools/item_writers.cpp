// The sinks of a conversion, see item_writers.h.
#include "tools/item_writers.h"

#include <velmora/serial/ttt.h>

#include <algorithm>

#include "tools/shown.h"
#include "tools/xliff.h"

namespace tool {
namespace {

constexpr std::size_t kLongestName = 4000;  // names go out in pieces of at most 4,096 bytes, with what is around them
constexpr std::size_t kLongestXmlName = 510;

bool isC0(char c) { return static_cast<unsigned char>(c) < 0x20; }
// The writer has a short escape for these: \b, \t, \n, \f and \r.
bool isNamedControl(char c) { return (c >= '\b' && c <= '\n') || c == '\f' || c == '\r'; }
bool isUnnamedControl(char c) { return isC0(c) && !isNamedControl(c); }
bool isLetter(char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); }
bool startsXmlName(char c) { return isLetter(c) || c == '_' || c == ':'; }
bool continuesXmlName(char c) { return startsXmlName(c) || (c >= '0' && c <= '9') || c == '-' || c == '.'; }

// Names that all of XML takes and the library reads: outside ASCII it reads none.
bool isXmlName(const std::string& name) {
    return startsXmlName(name[0]) && std::all_of(name.begin(), name.end(), continuesXmlName) &&
           name.size() <= kLongestXmlName;
}

// Names of JSON are never decoded, so they stand in another JSON document as they are.
bool isJsonName(const std::string& name, MLDoc::Format source) {
    return source == MLDoc::JSON || name.find_first_of("\"\\") == std::string::npos;
}

bool isYamlName(const std::string& name) {
    return name[0] != '"' && name[0] != '\'' && name.find_first_of(" :") == std::string::npos;
}

bool fits(const std::string& name, MLDoc::Format form, MLDoc::Format source) {
    if (name.empty() || name.size() > kLongestName || std::any_of(name.begin(), name.end(), isC0)) return false;
    if (!isUtf8(name)) return false;
    switch (form) {
        case MLDoc::XML:
            return isXmlName(name);
        case MLDoc::JSON:
            return isJsonName(name, source);
        default:
            return isYamlName(name);
    }
}

void checkName(const std::string& name, const MLDocOut& out, MLDoc::Format source) {
    static const char* const problems[] = {"this cannot be a name in XML", "this cannot be a name in JSON",
                                           "this cannot be a name in YAML"};
    if (!fits(name, out.getFormat(), source)) throw TTT(problems[out.getFormat()]);
}

// No reader takes a document in one of the three forms that is not all UTF-8.
void checkUtf8(const Value& value) {
    if (!isUtf8(value.text)) throw TTT("this is not valid UTF-8");
}

// The reader gives blanks for control bytes in a value of XML, and so do others.
void checkValue(const Value& value, const MLDocOut& out) {
    checkUtf8(value);
    if (out.getFormat() == MLDoc::XML && std::any_of(value.text.begin(), value.text.end(), isC0)) {
        throw TTT("an attribute of XML cannot hold control characters such as line ends");
    }
    if (value.form != Value::Text && std::any_of(value.text.begin(), value.text.end(), isC0)) {
        throw TTT("a value that is carried over undecoded cannot hold control characters");
    }
}

void checkContent(const Value& value) {
    checkUtf8(value);
    if (!isXmlText(value.text)) throw TTT("a text of XML cannot hold control characters but tabs and line ends");
}

bool hasEntities(MLDoc::Format form) { return form == MLDoc::XML || form == MLDoc::HTML; }

// Whether an undecoded value means in the one form what it means in the other.
bool staysRaw(const Value& value, const MLDocOut& out, MLDoc::Format source) {
    return value.form == Value::Raw && hasEntities(source) == hasEntities(out.getFormat());
}

void writeValue(MLDocOut& out, MLDoc::Format source, const char* name, const Value& value) {
    if (value.form == Value::Bare && out.getFormat() == MLDoc::JSON) {
        out.writeSimplestAttr(name, value.text);
    } else if (staysRaw(value, out, source)) {
        const bool bare = out.getFormat() == MLDoc::YAML || out.getFormat() == MLDoc::CSV;
        out.writeSimpleAttr(name, bare ? '"' + value.text + '"' : value.text);
    } else {
        writeText(out, name, value.text, !std::any_of(value.text.begin(), value.text.end(), isUnnamedControl));
    }
}

}  // namespace

void writeText(MLDocOut& out, const char* name, const std::string& text, bool plain) {
    if (plain || out.getFormat() == MLDoc::XML || out.getFormat() == MLDoc::HTML) return out.writeStrAttr(name, text);
    std::string escaped = jsonText(text);
    if (out.getFormat() != MLDoc::JSON) escaped = '"' + escaped + '"';
    out.writeSimpleAttr(name, escaped);
}

void Survey::open(const std::string& name) {
    if (open_.size() == 1) ++itemCount_;
    hasRows_ = hasRows_ || name == rowName_;
    open_.push_back(name);
}

void Survey::value(const std::string& name, const Value&) {
    if (open_.size() == 1) rootHasValues_ = true;
    if (rowName_.empty()) rowName_ = open_.back();
    if (open_.back() == rowName_ && known_.emplace(name, columns_.size()).second) columns_.push_back(name);
}

void Survey::close(const std::string&) { open_.pop_back(); }

void TreeWriter::open(const std::string& name) {
    checkName(name, out_, source_);
    if (out_.getFormat() == MLDoc::YAML && !hasEntries_) {
        throw TTT("an item of YAML cannot begin with an item: it needs an attribute first");
    }
    out_.beginItem(name.c_str());
    hasEntries_ = hasText_ = false;
}

void TreeWriter::value(const std::string& name, const Value& value) {
    checkName(name, out_, source_);
    checkValue(value, out_);
    writeValue(out_, source_, name.c_str(), value);
    hasEntries_ = true;
    hasText_ = hasText_ || name == kTextName;
}

void TreeWriter::text(const Value& text) {
    if (out_.getFormat() != MLDoc::XML) {
        if (hasText_) throw TTT("there is no place for this text: the item has an attribute named text");
        return value(kTextName, text);
    }
    checkContent(text);
    out_.beginItemContent();
    if (staysRaw(text, out_, source_)) {
        out_.write(text.text);
    } else {
        out_.writeEscaped(text.text);
    }
}

void TreeWriter::close(const std::string& name) {
    if (out_.getFormat() == MLDoc::YAML && !hasEntries_) {
        throw TTT("an item of YAML cannot be empty: it needs an attribute");
    }
    out_.endItem(name.c_str());
    hasEntries_ = true;
}

RowWriter::RowWriter(MLDocOut& out, MLDoc::Format source, const Survey& survey, bool selects)
    : out_(out), source_(source), rowName_(survey.rowName()), columns_(survey.columns()), selects_(selects) {
    for (std::size_t i = 0; i < columns_.size(); ++i) indexes_[columns_[i]] = i;
}

void RowWriter::writeHeader() {
    out_.beginItem(rowName_.c_str());
    for (const std::string& column : columns_) out_.writeStrAttr("", column);
    out_.endItem(rowName_.c_str());
}

void RowWriter::open(const std::string& name) {
    if (inRow_) throw TTT("a row cannot hold an item");
    if (name != rowName_) return;
    inRow_ = true;
    cells_.assign(columns_.size(), Value());
    filled_.assign(columns_.size(), false);
}

void RowWriter::value(const std::string& name, const Value& value) {
    if (!inRow_ && selects_) return;
    if (!inRow_) throw TTT("this value is in no row; --rows NAME chooses the items that become rows");
    const std::size_t index = indexes_[name];
    if (filled_[index]) throw TTT("a row cannot hold two values of one name");
    cells_[index] = value;
    filled_[index] = true;
}

void RowWriter::text(const Value& text) { value(kTextName, text); }

// A value that is not there leaves its column empty.
void RowWriter::close(const std::string& name) {
    if (!inRow_) return;
    out_.beginItem(name.c_str());
    for (std::size_t i = 0; i < cells_.size(); ++i) {
        if (filled_[i]) {
            writeValue(out_, source_, "", cells_[i]);
        } else {
            out_.writeEmptyAttr("");
        }
    }
    out_.endItem(name.c_str());
    inRow_ = false;
}

}  // namespace tool
