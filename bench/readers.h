// The rows that read documents. Each contender reads its own copy of the same document, which is restored before the
// clock runs. Small documents are read in batches, since the clock takes longer than one of them.
#ifndef VELMORA_BENCH_READERS_H
#define VELMORA_BENCH_READERS_H

#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "contents.h"
#include "harness.h"
#include "read_velmora.h"
#include "shapes.h"

namespace bench {

class Blocks {
public:
    Blocks(const std::string& text, std::size_t count) : text_(text) {
        for (std::size_t i = 0; i < count; ++i)
            blocks.push_back({new char[text.size() + Block::kPadding], text.size()});
        restore();
    }
    ~Blocks() {
        for (Block& block : blocks) delete[] block.data;
    }
    Blocks(const Blocks&) = delete;
    Blocks& operator=(const Blocks&) = delete;

    void restore() {
        for (Block& block : blocks) {
            std::memcpy(block.data, text_.data(), text_.size());
            std::memset(block.data + text_.size(), 0, Block::kPadding);
        }
    }

    std::vector<Block> blocks;

private:
    const std::string& text_;
};

// What a contender is to have seen of a document.
inline bool hasSeen(const Contents& seen, const Shape& shape, Mode mode) {
    if (mode == Mode::Tokens) return seen.attributes == shape.items;
    return seen == (mode == Mode::Typed ? shape.typedContents : shape.contents);
}

// A contender: read(block, seen) takes Glance and Contents.
template <class Read>
void addReader(const std::string& row, Mode mode, Kind kind, MLDocBase::Format format, Size size, const char* contender,
               const char* note, Read read) {
    const std::string name = row + '/' + title(kind) + '/' + size.title + '/' + contender;
    addManual(name, [=](benchmark::State& state) {
        const Document& doc = document(kind, format, size.bytes);
        const std::size_t batch = size.bytes < 65536 ? 65536 / size.bytes : 1;
        Blocks copies(doc.text, batch);
        checkOnce(name, [&] {
            Contents seen;
            read(copies.blocks[0], seen);
            return hasSeen(seen, doc.shape, mode);
        });
        while (state.KeepRunningBatch(static_cast<benchmark::IterationCount>(batch))) {
            copies.restore();
            const std::int64_t start = cpuTime();
            for (Block& block : copies.blocks) {
                Glance seen;
                read(block, seen);
                benchmark::DoNotOptimize(seen);
            }
            state.SetIterationTime(static_cast<double>(cpuTime() - start) * 1e-9);
        }
        const long items = mode == Mode::Tokens ? doc.shape.items : doc.shape.attributes;
        describe(state, static_cast<double>(doc.text.size()), static_cast<double>(items), note);
    });
}

// Calls add(kind, size) for what every row is measured with, and for the shapes that only this row has.
template <class Add>
void forDocuments(std::initializer_list<Kind> kinds, Add add) {
    for (const Size& size : allSizes()) add(Kind::Records, size);
    for (Kind kind : kinds) {
        for (const Size& size : chiefSizes()) add(kind, size);
    }
}

void addXmlReaders();
void addJsonReaders();
void addYamlReaders();

}  // namespace bench

#endif
