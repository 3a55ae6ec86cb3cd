// The three readers, with every way of reading attributes. The first byte chooses the way, the rest is the document.
#include <velmora/markup/mldoc.h>
#include <velmora/serial/tags.h>
#include <velmora/serial/ttt.h>
#include <velmora/text/charr.h>
#include <velmora/text/charvector.h>

#include "fuzz/fuzz.h"

namespace {

enum class Attributes { None, All, Named, Partial, Twice, Count };

constexpr PairTag tags[] = {{"one", 1}, {"two", 2}, {"three", 3}, {nullptr, 0}};

void inside(const MLDoc& doc, const ChPair& view) {
    FUZZ_CHECK(doc.buffer <= view.begin && view.begin <= view.end && view.end <= doc.buffer + doc.length);
}

template <class Action>
void mayThrow(Action action) {
    try {
        action();
    } catch (const TTT&) {
    }
}

// All the decoders, which must agree, and all the getters.
void useValue(MLDoc& doc, const ChPair& value) {
    std::string decoded(static_cast<std::size_t>(value.len()), '?');
    bool refused = false;
    try {
        const int n = doc.convertEscape(value, decoded.data());
        FUZZ_CHECK(n >= 0 && n <= value.len());
        decoded.resize(static_cast<std::size_t>(n));
    } catch (const TTT&) {
        refused = true;
    }
    int agreed = 0;
    mayThrow([&] {
        CharVector out("old");
        doc.convertEscape(value, out);
        FUZZ_CHECK(ChPair(out) == decoded);
        ++agreed;
    });
    mayThrow([&] {
        ChArr out("old");
        doc.convertEscape(value, out);
        FUZZ_CHECK(std::memcmp(out.data, decoded.data(), decoded.size()) == 0 && out.data[decoded.size()] == 0);
        ++agreed;
    });
    mayThrow([&] {
        std::string out("old");
        doc.convertEscape(value, out);
        FUZZ_CHECK(out == decoded);
        ++agreed;
    });
    mayThrow([&] {
        TTT out("old");
        doc.convertEscape(value, out);
        FUZZ_CHECK(out.getData().size == static_cast<int>(decoded.size()) + 5);
        ++agreed;
    });
    FUZZ_CHECK(agreed == (refused ? 0 : 4));
    char small[8];
    mayThrow([&] { doc.getString(value, small, sizeof small); });
    mayThrow([&] { doc.getInt32(value); });
    mayThrow([&] { doc.getInt32(value, -5, 100); });
    mayThrow([&] { doc.getUInt32(value); });
    mayThrow([&] { doc.getInt64(value); });
    mayThrow([&] { doc.getUInt64(value, 3, 1000); });
    mayThrow([&] { doc.getDouble(value); });
    mayThrow([&] { doc.getDouble(value, 0, 1); });
    mayThrow([&] { doc.getCountOrInfinity(value); });
    mayThrow([&] { doc.getIP(value); });
    mayThrow([&] { doc.getTime(value); });
    mayThrow([&] { doc.getLocalTime(value); });
    mayThrow([&] { doc.getEnum(value, tags); });
    mayThrow([&] { doc.getFlags(value, tags, 2, true); });
}

// `most` limits how many are read.
void readAll(MLDoc& doc, const MLDoc::Token& token, int most) {
    MLDoc::AttributeIterator attributes(&doc, token);
    MLDoc::Attribute attribute;
    while (most-- > 0 && attributes(attribute)) {
        inside(doc, attribute.name);
        inside(doc, attribute.value);
        useValue(doc, attribute.value);
    }
}

void readAttributes(MLDoc& doc, const MLDoc::Token& token, Attributes policy) {
    switch (policy) {
        case Attributes::All:
            return readAll(doc, token, 1 << 30);
        case Attributes::Named:
            doc.getAttributeBool(token, "a");
            doc.getAttributeValue(token, "id");
            return;
        case Attributes::Partial:
            return readAll(doc, token, 1);
        case Attributes::Twice:
            readAll(doc, token, 1 << 30);
            return readAll(doc, token, 1 << 30);
        default:
            return;
    }
}

void checkPosition(const MLDoc& doc) {
    FUZZ_CHECK(doc.position <= doc.length);
    int line = 0, column = 0;
    doc.getPosition(line, column);
    FUZZ_CHECK(line >= 1 && column >= 1);
    TTT message;
    doc.formMessage(message);
}

void walkSteps(MLDoc& doc, Attributes policy) {
    MLDoc::Token token;
    const std::uint64_t most = 4ull * doc.length + 16;
    for (std::uint64_t steps = 0; doc.step(token); ++steps) {
        FUZZ_CHECK(steps < most);
        checkPosition(doc);
        if (token.name.begin) inside(doc, token.name);
        inside(doc, token.body);
        if (token.opening) readAttributes(doc, token, policy);
        checkPosition(doc);
    }
}

void walkNested(MLDoc& doc, MLDoc::Token& token, Attributes policy, int depth) {
    MLDoc::ChildIterator children(&doc, token);
    while (children()) {
        checkPosition(doc);
        if (policy == Attributes::Named) {
            // Content of XML; where there is none the walk goes on behind the failure's place, as a client would not.
            MLDoc::Token copy = token;
            const std::uint32_t position = doc.position;
            try {
                inside(doc, doc.content(copy));
            } catch (const TTT&) {
                doc.position = position;
            }
        }
        readAttributes(doc, token, policy);
        if (depth < 50) walkNested(doc, token, policy, depth + 1);
    }
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0) return 0;
    const auto policy = static_cast<Attributes>(data[0] % static_cast<unsigned>(Attributes::Count));
    const char* text = reinterpret_cast<const char*>(data) + 1;
    const int length = static_cast<int>(size) - 1;
    for (bool nested : {false, true}) {
        MLDoc doc;
        try {
            doc.load("fuzz", text, length);
            if (nested) {
                MLDoc::Token token;
                walkNested(doc, token, policy, 0);
            } else {
                walkSteps(doc, policy);
            }
        } catch (TTT& message) {
            std::string shown;
            message.translate(shown);
        }
        if (doc.buffer) checkPosition(doc);
    }
    return 0;
}
