// One document twice: read by MLDoc and by the plain routines, which must agree in everything that a caller can see.
// For programs that link the library's objects.
#ifndef VELMORA_TESTS_SUPPORT_READER_TWINS_H
#define VELMORA_TESTS_SUPPORT_READER_TWINS_H

#include <cstring>
#include <string>
#include <vector>

#include <velmora/markup/mldoc.h>
#include <velmora/markup/plain.h>
#include <velmora/serial/ttt.h>

namespace support {

class ReaderTwins {
public:
    // The blocks hold the same bytes and stay their owner's.
    ReaderTwins(char* fast, char* plain, std::size_t size) : size_(size) {
        fast_.doc.buffer = fast;
        plain_.doc.buffer = plain;
        fast_.doc.length = plain_.doc.length = static_cast<std::uint32_t>(size);
    }
    ReaderTwins(const ReaderTwins&) = delete;
    void operator=(const ReaderTwins&) = delete;
    ~ReaderTwins() { fast_.doc.buffer = plain_.doc.buffer = nullptr; }

    const MLDoc& doc() const { return fast_.doc; }
    const MLDoc::Token& token() const { return fast_.token; }

    // Each does the same to both. Returns: whether there was something; false after a failure too.
    bool begin() {
        return both([](Twin& t) {
            t.doc.guessFormat("twins");
            return true;
        });
    }
    bool step() {
        run(fast_, [](Twin& t) { return t.doc.step(t.token); });
        run(plain_, [](Twin& t) { return plainStep(t); });
        return compared();
    }
    bool attribute() {
        run(fast_, [](Twin& t) { return t.doc.attribute(t.token, t.attribute); });
        run(plain_, [](Twin& t) { return plainAttribute(t); });
        return compared();
    }
    void moveTo(std::uint32_t position) { fast_.doc.position = plain_.doc.position = position; }
    void write(std::uint32_t place, char c) { fast_.doc.buffer[place] = plain_.doc.buffer[place] = c; }
    void moveToAttributes() {
        for (Twin* t : {&fast_, &plain_}) t->doc.position = static_cast<std::uint32_t>(t->offset(t->token.body.begin));
    }
    void passAttributes() {
        if (fast_.doc.format != MLDoc::XML) return;
        for (Twin* t : {&fast_, &plain_}) t->doc.position = static_cast<std::uint32_t>(t->offset(t->token.body.end));
    }

    // What they have done differently, empty if nothing.
    const std::string& difference() const { return difference_; }

private:
    struct Watched : MLDoc {
        mutable std::string warnings;

        void warnSuspiciousAttribute(const Token*, const Attribute* attribute) const override {
            warnings += std::to_string(attribute->name.begin - buffer) + "," +
                        std::to_string(attribute->value.begin - buffer) + "-" +
                        std::to_string(attribute->value.end - buffer) + attribute->value.std() + ";";
        }
    };
    struct Twin {
        Watched doc;
        MLDoc::Token token;
        MLDoc::Attribute attribute;
        bool result = false;
        std::string failure;

        std::ptrdiff_t offset(const char* p) const { return p ? p - doc.buffer : -1; }
        // All that a caller can see, views as offsets.
        std::vector<std::ptrdiff_t> state() const {
            std::vector<std::ptrdiff_t> s = {result,        doc.position,       token.level,       token.kind,
                                             token.opening, token.closing,      doc.yamlValueKind, doc.yamlItem,
                                             doc.yamlLevel, doc.yamlIndentUnit, doc.yamlState};
            const auto add = [&](const ChPair& view) {
                s.push_back(offset(view.begin));
                s.push_back(offset(view.end));
            };
            for (const ChPair& view :
                 {token.name, token.body, attribute.name, attribute.value, doc.yamlRest, doc.yamlName, doc.yamlValue})
                add(view);
            for (int i = 0; i < doc.openNames.count; ++i) add(doc.openNames[i]);
            return s;
        }
        std::string shown() const {
            std::string s = failure + " " + doc.warnings;
            for (std::ptrdiff_t n : state()) s += " " + std::to_string(n);
            return s;
        }
    };

    Twin fast_;
    Twin plain_;
    std::size_t size_;
    std::string difference_;

    template <class Action>
    static void run(Twin& twin, Action action) {
        twin.failure.clear();
        twin.result = false;
        try {
            twin.result = action(twin);
        } catch (const TTT& message) {
            twin.failure.assign(message.getData().data, static_cast<std::size_t>(message.getData().size));
        }
    }
    template <class Action>
    bool both(Action action) {
        run(fast_, action);
        run(plain_, action);
        return compared();
    }
    bool compared() {
        const bool same = fast_.failure == plain_.failure && fast_.doc.warnings == plain_.doc.warnings &&
                          fast_.state() == plain_.state();
        if (!same && difference_.empty()) difference_ = fast_.shown() + "\nplain: " + plain_.shown();
        if (std::memcmp(fast_.doc.buffer, plain_.doc.buffer, size_) != 0) difference_ += "\nthe blocks differ";
        return fast_.result && difference_.empty();
    }

    static bool plainStep(Twin& t) {
        using namespace velmora::detail;
        if (t.doc.format == MLDoc::JSON) return plainStepJson(t.doc, t.token);
        if (t.doc.format == MLDoc::YAML) return plainStepYaml(t.doc, t.token);
        return plainStepXml(t.doc, t.token);
    }
    static bool plainAttribute(Twin& t) {
        using namespace velmora::detail;
        if (t.doc.format == MLDoc::JSON) return plainAttributeJson(t.doc, t.token, t.attribute);
        if (t.doc.format == MLDoc::YAML) return plainAttributeYaml(t.doc, t.token, t.attribute);
        return plainAttributeXml(t.doc, t.token, t.attribute);
    }
};

}  // namespace support

#endif
