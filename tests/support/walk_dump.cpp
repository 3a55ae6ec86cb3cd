#include "tests/support/walk_dump.h"

#include <gtest/gtest.h>

#include "tests/support/message.h"

namespace support {
namespace {

std::string keyOf(const TTT& message) {
    int id = -1;
    message.getIds(nullptr, &id);
    return "!" + keyName(id);
}

void appendItem(std::string& out, const std::string& item) {
    if (!out.empty() && out.back() != ' ') out += ' ';
    out += item;
}

void walkChildren(MLDoc& doc, MLDoc::Token& token, std::string& out) {
    MLDoc::ChildIterator children(&doc, token);
    while (children()) {
        appendItem(out, token.name.std());
        std::string list;
        {
            MLDoc::AttributeIterator attributes(&doc, token);
            MLDoc::Attribute attribute;
            while (attributes(attribute)) {
                if (!list.empty()) list += ',';
                list += attribute.name.std() + "=" + attribute.value.std();
            }
        }
        if (!list.empty()) out += "(" + list + ")";
        std::size_t before = out.size();
        out += "{ ";
        std::size_t inside = out.size();
        walkChildren(doc, token, out);
        if (out.size() == inside) {
            out.resize(before);
        } else {
            out += " }";
        }
    }
}

}  // namespace

std::string dumpWalk(MLDoc& doc) {
    std::string out;
    try {
        MLDoc::Token token;
        walkChildren(doc, token, out);
    } catch (const TTT& message) {
        appendItem(out, keyOf(message));
    }
    return out;
}

std::string dumpWalk(const std::string& text) {
    MLDoc doc;
    try {
        doc.load("walk", text.data(), static_cast<int>(text.size()));
    } catch (const TTT& message) {
        return keyOf(message);
    }
    return dumpWalk(doc);
}

std::string dumpSteps(const std::string& text) {
    MLDoc doc;
    std::string out;
    try {
        doc.load("steps", text.data(), static_cast<int>(text.size()));
        MLDoc::Token token;
        while (doc.step(token)) {
            std::string item;
            if (token.kind == 1) item += '?';
            if (token.kind == 2) item += '!';
            if (token.opening) item += '<';
            item += token.name.std();
            if (token.closing) item += '>';
            appendItem(out, item + "@" + std::to_string(token.level));
        }
    } catch (const TTT& message) {
        appendItem(out, keyOf(message));
    }
    return out;
}

void expectWalk(const WalkRow& row) {
    SCOPED_TRACE("row at line " + std::to_string(row.line) + ": " + row.text);
    EXPECT_EQ(row.walk, dumpWalk(std::string(row.text)));
}

}  // namespace support
