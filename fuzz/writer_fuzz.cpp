// The writer driven by random calls. It throws its own keys and nothing else; and what balanced calls with harmless
// names have written in a form that is read, is read back with the same items and values.
#include <velmora/markup/mldoc.h>
#include <velmora/markup/mldocout.h>
#include <velmora/serial/tags.h>
#include <velmora/serial/ttt.h>

#include <vector>

#include "fuzz/fuzz.h"

namespace {

constexpr MLDocBase::Format forms[] = {MLDocBase::XML, MLDocBase::JSON, MLDocBase::YAML, MLDocBase::HTML,
                                       MLDocBase::CSV};
constexpr PairTag tags[] = {{"a", 1}, {"bc", 2}, {"d", 4}, {nullptr, 0}};

void anyCall(MLDocOut& out, fuzz::Input& input) {
    const std::string name = input.bytes(input.below(6));
    switch (input.below(20)) {
        case 0:
        case 1:
        case 2:
            return out.beginItem(name.c_str());
        case 3:
        case 4:
            return out.endItem(name.c_str());
        case 5:
            return out.beginItemContent();
        case 6: {
            const std::string text = input.text();
            return out.writeEscaped(ChPair(text.data(), static_cast<int>(text.size())));
        }
        case 7:
            return out.writeStrAttr(name.c_str(), input.text(), input.byte() != 0);
        case 8:
            return out.writeIntAttr(name.c_str(), input.number<int>(), input.byte() != 0);
        case 9:
            return out.writeDoubleAttr(name.c_str(), input.number<double>());
        case 10:
            return out.writeDateAttr(name.c_str(), input.number<std::int64_t>());
        case 11:
            return out.writeFlagsAttr(name.c_str(), input.number<unsigned>(), tags);
        case 12:
            return out.writeEnumAttr(name.c_str(), input.number<unsigned>(), tags);
        case 13:
            return out.writeIPPortAttr(name.c_str(), input.number<unsigned>(), input.number<unsigned short>());
        case 14:
            return out.writeEmptyAttr(name.c_str());
        case 15:
            return out.setCompactMode(input.byte() % 2 != 0);
        case 16:
            return out.setTabSize(static_cast<int>(input.below(12)) - 2);
        case 17:
            return out.writeStrAttr(name.c_str(), TTT("%d") < 7);
        case 18:
            return out.writeFormatAttr(name.c_str(), "%s/%d", name.c_str(), 7);
        default:
            return out.writeUInt64Attr(name.c_str(), input.number<std::uint64_t>());
    }
}

void anyCalls(fuzz::Input input) {
    MLDocOut::BagWriter sink;
    MLDocOut out(forms[input.below(5)]);
    out.begin(sink);
    while (!input.empty()) {
        try {
            anyCall(out, input);
        } catch (const TTT&) {
        }
        // The counts are the client's own when the calls are not balanced.
        if (out.depth < 0) out.depth = 0;
        if (out.indent < 0) out.indent = 0;
        if (out.indent > 100 || sink.size > 1 << 20) return;
    }
    try {
        out.end();
    } catch (const TTT&) {
    }
}

// A tree of items, as lines.
class Balanced {
public:
    explicit Balanced(fuzz::Input& input) : input_(input), form_(forms[input.below(3)]), out_(form_) {
        out_.setEOLN(input.byte() % 2 != 0 ? "\r\n" : "\n");
        out_.setCompactMode(input.byte() % 2 != 0);
        if (form_ != MLDocBase::YAML && input.byte() % 2 != 0) out_.setTabSize(static_cast<int>(input.below(9)));
        out_.begin(sink_);
        writeItem(1);
        out_.end();
    }

    void check() const {
        MLDoc doc;
        doc.load("written", sink_.data, sink_.size);
        FUZZ_CHECK(doc.format == form_);
        std::string lines;
        MLDoc::Token token;
        while (doc.step(token)) {
            if (!token.opening || token.kind != 0) continue;
            const int level = token.level + (token.closing ? 1 : 0);
            if (form_ == MLDocBase::XML || token.level > 1)
                addLine(lines, level - (form_ == MLDocBase::XML ? 0 : 1), token.name.std());
            MLDoc::AttributeIterator attributes(&doc, token);
            MLDoc::Attribute attribute;
            while (attributes(attribute)) {
                std::string value;
                doc.convertEscape(attribute.value, value);
                addLine(lines, 0, attribute.name.std() + "=" + value);
            }
        }
        FUZZ_CHECK(token.level == 0);
        FUZZ_CHECK(lines == lines_);
    }

private:
    fuzz::Input& input_;
    MLDocBase::Format form_;
    MLDocOut::BagWriter sink_;
    MLDocOut out_;
    std::string lines_;

    static void addLine(std::string& lines, int level, const std::string& text) {
        lines += std::to_string(level) + ' ' + std::to_string(text.size()) + ' ' + text + '\n';
    }

    std::string name() { return std::string(1, static_cast<char>('a' + input_.below(4))); }

    // What does not survive is left out: the writer puts some control bytes as letters, and the reader of XML blanks
    // all.
    std::string value() {
        std::string s = input_.text();
        for (char& c : s) {
            const auto byte = static_cast<unsigned char>(c);
            const bool letter = byte == 8 || byte == 9 || byte == 10 || byte == 12 || byte == 13;
            if (letter || (form_ == MLDocBase::XML && byte < 0x20)) c = '*';
        }
        return s;
    }

    void writeItem(int level) {
        const std::string itemName = name();
        out_.beginItem(itemName.c_str());
        addLine(lines_, level, itemName);
        for (unsigned n = input_.below(4) + (form_ == MLDocBase::YAML ? 1 : 0); n > 0; --n) {
            const std::string attribute = name();
            const std::string text = value();
            out_.writeStrAttr(attribute.c_str(), text);
            addLine(lines_, 0, attribute + "=" + text);
        }
        for (unsigned n = level < 6 ? input_.below(4) : 0; n > 0 && !input_.empty(); --n) writeItem(level + 1);
        out_.endItem(itemName.c_str());
    }
};

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz::Input input(data, size);
    if (input.byte() % 2 == 0) {
        anyCalls(input);
    } else {
        Balanced(input).check();
    }
    return 0;
}
