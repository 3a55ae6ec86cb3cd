// The records that the format benchmarks read and write: a recorded sequence of calls, replayed into any sink.
#ifndef VELMORA_BENCH_RECORDS_H
#define VELMORA_BENCH_RECORDS_H

#include <cstddef>
#include <string>
#include <vector>

namespace bench {

// What stands in a document: names and values of attributes. Every contender must have seen the same.
struct Sums {
    long attributes = 0;
    long bytes = 0;
    unsigned long hash = 0;

    void add(const char* text, std::size_t size) {
        bytes += static_cast<long>(size);
        hash += size == 0 ? 1 : static_cast<unsigned char>(text[0]) * 31u + static_cast<unsigned char>(text[size - 1]);
    }
    bool operator==(const Sums& s) const { return attributes == s.attributes && bytes == s.bytes && hash == s.hash; }
};

struct Call {
    enum Kind { Begin, Attribute, End } kind;
    const char* name;
    std::string value;
};

struct Shape {
    const char* title;
    std::vector<Call> calls;
    long attributes = 0;

    void begin(const char* name) { calls.push_back({Call::Begin, name, {}}); }
    void end(const char* name) { calls.push_back({Call::End, name, {}}); }
    void attribute(const char* name, std::string value) {
        calls.push_back({Call::Attribute, name, std::move(value)});
        ++attributes;
    }
};

// A text of words without any byte that a form would escape or quote.
inline std::string words(unsigned seed, std::size_t size) {
    static const char* const list[] = {"river", "stone", "letter", "window", "morning", "silver", "garden", "market"};
    std::string text;
    while (text.size() < size) {
        seed = seed * 1103515245u + 12345u;
        text += list[(seed >> 16) & 7];
        text += ' ';
    }
    text.resize(size);
    text.back() = 'x';
    return text;
}

inline Shape manyShortAttributes(int records) {
    static const char* const names[] = {"id", "name", "group", "town", "street", "phone", "since", "state"};
    Shape shape{"many short attributes", {}, 0};
    shape.begin("records");
    shape.attribute("version", "1");
    for (int i = 0; i < records; ++i) {
        shape.begin("record");
        for (int k = 0; k < 8; ++k) {
            shape.attribute(names[k],
                            words(static_cast<unsigned>(i * 8 + k), static_cast<std::size_t>(4 + (i + k) % 9)));
        }
        shape.end("record");
    }
    shape.end("records");
    return shape;
}

inline Shape deepTree(int trees) {
    constexpr int kDepth = 12;
    Shape shape{"a deep tree", {}, 0};
    shape.begin("forest");
    shape.attribute("version", "1");
    for (int i = 0; i < trees; ++i) {
        for (int k = 0; k < kDepth; ++k) {
            shape.begin("node");
            shape.attribute("id", std::to_string(i * kDepth + k));
            shape.attribute("label", words(static_cast<unsigned>(i + k), 12));
        }
        for (int k = 0; k < kDepth; ++k) shape.end("node");
    }
    shape.end("forest");
    return shape;
}

inline Shape longTexts(int records) {
    Shape shape{"few long texts", {}, 0};
    shape.begin("library");
    shape.attribute("version", "1");
    for (int i = 0; i < records; ++i) {
        shape.begin("book");
        shape.attribute("id", std::to_string(i));
        shape.attribute("text", words(static_cast<unsigned>(i), 20000));
        shape.end("book");
    }
    shape.end("library");
    return shape;
}

}  // namespace bench

#endif
