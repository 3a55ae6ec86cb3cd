// How velmora reads a document, for the benchmarks and for the counts of instructions.
#ifndef VELMORA_BENCH_READ_VELMORA_H
#define VELMORA_BENCH_READ_VELMORA_H

#include <cstddef>

#include <velmora/markup/mldoc.h>
#include <velmora/serial/bag.h>

#include "contents.h"

namespace bench {

// XML, JSON and YAML alike.
template <Mode mode, class Seen>
void readVelmora(Block& block, Seen& seen) {
    const int size = static_cast<int>(block.size);
    Bag bag;
    bag.stealFrom(block.data, size, size + static_cast<int>(Block::kPadding));
    block.data = nullptr;
    MLDoc doc;
    doc.load("bench", bag);
    MLDoc::Token token;
    MLDoc::Attribute attribute;
    while (doc.step(token)) {
        if (!token.opening) continue;
        if constexpr (mode == Mode::Tokens) {
            seen.token();
            continue;
        }
        MLDoc::AttributeIterator next(&doc, token);
        while (next(attribute)) {
            const ChPair& name = attribute.name;
            const ChPair& value = attribute.value;
            if constexpr (mode == Mode::Typed) {
                if (*name.begin == kIntegerLetter) {
                    seen.integer(doc.getInt32(value));
                    continue;
                }
                if (*name.begin == kRealLetter) {
                    seen.real(doc.getDouble(value));
                    continue;
                }
                if (*name.begin == kBooleanLetter) {
                    seen.boolean(value == "true");
                    continue;
                }
            }
            int valueSize = value.len();
            if constexpr (mode != Mode::AsIs) valueSize = doc.convertEscape(value, value.begin);
            seen.text(name.begin, static_cast<std::size_t>(name.len()), value.begin,
                      static_cast<std::size_t>(valueSize));
        }
    }
    int stolen;
    block.data = doc.steal(stolen);
}

}  // namespace bench

#endif
