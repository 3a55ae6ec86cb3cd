// The rows that write documents. Each contender is given the same calls, and writes into a block that it keeps from run
// to run, or into a file. The output is read and compared before anything is timed.
#ifndef VELMORA_BENCH_WRITERS_H
#define VELMORA_BENCH_WRITERS_H

#include <string>

#include <velmora/files/utf8file.h>
#include <velmora/markup/mldocout.h>

#include "harness.h"
#include "readers.h"
#include "shapes.h"

namespace bench {

// The values in a text, by velmora's reader; with `typed`, numbers as numbers. Writers differ in which texts of YAML
// they quote and in the digits of a number, so values are compared.
inline Contents contentsOf(const std::string& text, bool typed) {
    Blocks copy(text, 1);
    Contents seen;
    if (typed) {
        readVelmora<Mode::Typed>(copy.blocks[0], seen);
    } else {
        readVelmora<Mode::Decoded>(copy.blocks[0], seen);
    }
    return seen;
}

inline const std::string& outputPath() {
    static const std::string path = temporaryFolder() + "/document";
    return path;
}

// A contender of a row that writes into memory: write(shape) gives the text, as a std::string_view.
// Of one that writes into a file: write(shape, path).
template <class Write>
void addWriter(const std::string& row, Kind kind, MLDocBase::Format format, Size size, const char* contender,
               const char* note, Write write) {
    constexpr bool kToFile = std::is_invocable_v<Write, const Shape&, const std::string&>;
    const std::string name = row + (kToFile ? "-file/" : "/") + title(kind) + '/' + size.title + '/' + contender;
    addManual(name, [=](benchmark::State& state) {
        const Document& doc = document(kind, format, size.bytes);
        const std::size_t batch = size.bytes < 65536 && !kToFile ? 65536 / size.bytes : 1;
        checkOnce(name, [&] {
            std::string text;
            if constexpr (kToFile) {
                write(doc.shape, outputPath());
                UTF8File::load(outputPath().c_str(), text, 200000000);
            } else {
                text = write(doc.shape);
            }
            const bool typed = kind == Kind::Typed;
            return contentsOf(text, typed) == (typed ? doc.shape.typedContents : doc.shape.contents);
        });
        while (state.KeepRunningBatch(static_cast<benchmark::IterationCount>(batch))) {
            const std::int64_t start = cpuTime();
            for (std::size_t i = 0; i < batch; ++i) {
                if constexpr (kToFile) {
                    write(doc.shape, outputPath());
                } else {
                    benchmark::DoNotOptimize(write(doc.shape));
                }
            }
            state.SetIterationTime(static_cast<double>(cpuTime() - start) * 1e-9);
        }
        describe(state, static_cast<double>(doc.text.size()), static_cast<double>(doc.shape.attributes), note);
    });
}

template <class Add>
void forWrittenDocuments(Add add) {
    forDocuments({Kind::Tree, Kind::Texts, Kind::Escaped, Kind::Typed}, add);
}

// velmora, for the three forms.
inline void addVelmoraWriter(const char* row, Kind kind, MLDocBase::Format format, Size size) {
    addWriter(row, kind, format, size, "velmora", "", [=](const Shape& shape) {
        static MLDocOut::BagWriter sink;
        sink.truncate();
        replay(shape, format, false, sink);
        return std::string_view(sink.data, static_cast<std::size_t>(sink.size));
    });
}
inline void addVelmoraFileWriter(const char* row, Kind kind, MLDocBase::Format format, Size size) {
    addWriter(row, kind, format, size, "velmora", "", [=](const Shape& shape, const std::string& path) {
        MLDocOut::FileWriter sink(path.c_str());
        replay(shape, format, false, sink);
    });
}

// For libraries in whose model several children of one name are an array, as all shapes have one kind of child per
// item: array(name, true) before the first child, array(nullptr, true) before the others, array(nullptr, false) after
// the last.
template <class Begin, class End, class Attribute, class Array>
void replayArrays(const Shape& shape, Begin begin, End end, Attribute attribute, Array array) {
    std::vector<bool> hasArray(1, false);
    for (const Call& call : shape.calls) {
        if (call.kind == Call::Begin) {
            array(hasArray.back() ? nullptr : call.name, true);
            hasArray.back() = true;
            hasArray.push_back(false);
            begin();
        } else if (call.kind == Call::End) {
            if (hasArray.back()) array(nullptr, false);
            hasArray.pop_back();
            end();
        } else {
            attribute(call);
        }
    }
    array(nullptr, false);
}

void addXmlWriters();
void addJsonWriters();
void addYamlWriters();

}  // namespace bench

#endif
