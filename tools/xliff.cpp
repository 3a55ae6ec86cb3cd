// XLIFF in and out, see xliff.h.
#include "tools/xliff.h"

#include <velmora/localization/keys.h>
#include <velmora/serial/ttt.h>

#include "tools/document.h"
#include "tools/shown.h"

namespace tool {
namespace {

std::string attributeText(MLDoc& doc, const MLDoc::Token& token, const char* name) {
    std::string text;
    decode(doc, doc.getAttributeValue(token, name), text);
    return text;
}

std::string elementText(MLDoc& doc, MLDoc::Token& token) {
    std::string text;
    if (!token.closing) decode(doc, doc.content(token), text);
    return text;
}

// Finds the units at whatever depth groups put them.
class XliffReader {
public:
    explicit XliffReader(MLDoc& doc) : doc_(doc) {}

    Xliff read() {
        readRoot();
        while (doc_.step(token_)) {
            if (!token_.opening) continue;
            if (token_.name == "file") readFile();
            if (token_.name == "trans-unit") readUnit();
        }
        if (token_.level > 0) throwUnclosed(doc_, token_.level);
        if (!file_) throw TTT("There is no <file> element");
        return xliff_;
    }

private:
    MLDoc& doc_;
    MLDoc::Token token_;
    Xliff xliff_;
    bool file_ = false;

    void readRoot() {
        while (doc_.step(token_) && !token_.opening) {
            // Comments and processing instructions may stand in front.
        }
        if (doc_.format != MLDoc::XML || token_.name != "xliff") throw TTT("This is no XLIFF document");
    }

    void readFile() {
        if (file_) throw TTT("There is more than one <file> element");
        file_ = true;
        xliff_.original = attributeText(doc_, token_, "original");
        xliff_.sourceLanguage = attributeText(doc_, token_, "source-language");
        xliff_.targetLanguage = attributeText(doc_, token_, "target-language");
        xliff_.productVersion = attributeText(doc_, token_, "product-version");
    }

    void readUnit() {
        XliffUnit unit;
        int column = 0;
        doc_.getPosition(unit.line, column);
        unit.id = attributeText(doc_, token_, "id");
        MLDoc::ChildIterator parts(&doc_, token_);
        while (parts()) readPart(unit);
        xliff_.units.push_back(unit);
    }

    // Only children of the unit itself come here: <alt-trans> has sources and targets of its own.
    void readPart(XliffUnit& unit) {
        if (token_.name == "source") {
            unit.hasSource = true;
            unit.source = elementText(doc_, token_);
        } else if (token_.name == "target") {
            unit.hasTarget = true;
            unit.target = elementText(doc_, token_);
        }
    }
};

std::string escaped(const std::string& text) {
    std::string out;
    for (char c : text) {
        switch (c) {
            case '&':
                out += "&amp;";
                break;
            case '<':
                out += "&lt;";
                break;
            case '>':
                out += "&gt;";
                break;
            case '"':
                out += "&quot;";
                break;
            default:
                out += c;
        }
    }
    return out;
}

// An empty value is no attribute.
std::string attribute(const char* name, const std::string& value) {
    if (value.empty()) return std::string();
    return std::string(" ") + name + "=\"" + escaped(value) + '"';
}

std::string element(const char* name, const std::string& text) {
    return std::string("        <") + name + '>' + escaped(text) + "</" + name + ">\n";
}

}  // namespace

std::vector<std::string> Xliff::ids() const {
    std::vector<std::string> out;
    for (const XliffUnit& unit : units) out.push_back(unit.id);
    return out;
}

Xliff readXliff(MLDoc& doc) { return XliffReader(doc).read(); }

void XliffWriter::begin(const Xliff& xliff) {
    take_(
        "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
        "<xliff version=\"1.2\" xmlns=\"urn:oasis:names:tc:xliff:document:1.2\">\n");
    take_("  <file" + attribute("original", xliff.original) + attribute("source-language", xliff.sourceLanguage) +
          attribute("target-language", xliff.targetLanguage) + attribute("datatype", "plaintext") +
          attribute("product-version", xliff.productVersion) + attribute("xml:space", "preserve") + ">\n    <body>\n");
}

void XliffWriter::unit(const std::string& id, const std::string& source, const std::string& target) {
    take_("      <trans-unit" + attribute("id", id) + ">\n" + element("source", source) + element("target", target) +
          "      </trans-unit>\n");
}

void XliffWriter::end() { take_("    </body>\n  </file>\n</xliff>\n"); }

bool isXmlText(const ChPair& text) {
    for (const char* p = text.begin; p != text.end;) {
        const Character character = characterOf(p, text.end);
        const bool layout = *p == '\t' || *p == '\n' || *p == '\r';
        if (character.length == 0 || (character.code < 0x20 && !layout)) return false;
        if (character.code == 0xFFFE || character.code == 0xFFFF) return false;
        p += character.length;
    }
    return true;
}

}  // namespace tool
