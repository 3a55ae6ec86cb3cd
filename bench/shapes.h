// The documents that readers read and writers write. A shape is a sequence of calls, made once and replayed into any
// writer; its documents are what velmora's writer makes of it.
#ifndef VELMORA_BENCH_SHAPES_H
#define VELMORA_BENCH_SHAPES_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include <velmora/markup/mldocout.h>

#include "contents.h"

namespace bench {

struct Call {
    enum Kind { Begin, End, Text, Integer, Real, Boolean } kind;
    const char* name;
    std::uint32_t offset;  // of the value's text in `texts`, with a terminator
    std::uint32_t size;
    double number;
};

struct Shape {
    std::vector<Call> calls;
    std::string texts;
    long attributes = 0;
    long items = 0;
    Contents contents;       // of the values as text
    Contents typedContents;  // of the numbers as numbers

    const char* value(const Call& call) const { return texts.data() + call.offset; }
};

enum class Kind {
    Records,  // many short attributes
    Compact,  // the same, an element or object per line
    Tree,     // items in one another, twelve deep
    Texts,    // few long texts
    Escaped,  // as Records; a tenth of the values has bytes that are escaped
    Typed     // as Records, and five of eight values are numbers or truth values
};
const char* title(Kind kind);

struct Document {
    Shape shape;
    std::string text;  // by velmora's writer
};

// A document of this size, give or take a few percent. The last one that was asked for is kept.
const Document& document(Kind kind, MLDocBase::Format format, std::size_t bytes);

// Replays the calls into velmora's writer.
void replay(const Shape& shape, MLDocBase::Format format, bool compact, MLDocOut::Writer& sink);

}  // namespace bench

#endif
