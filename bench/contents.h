// What a reader has seen of a document. This header knows no library, so that each peer's source may be compiled with
// the options that the peer is fastest with.
#ifndef VELMORA_BENCH_CONTENTS_H
#define VELMORA_BENCH_CONTENTS_H

#include <cstddef>
#include <cstdint>

namespace bench {

// Names and values of attributes in their order, every byte of them. All contenders must have seen the same.
struct Contents {
    long attributes = 0;
    std::uint64_t hash = 14695981039346656037u;

    void text(const char* name, std::size_t nameSize, const char* value, std::size_t valueSize) {
        ++attributes;
        add(name, nameSize);
        add(value, valueSize);
    }
    void integer(std::int64_t v) { number(&v); }
    void real(double v) { number(&v); }
    void boolean(bool v) { integer(v); }
    void token() { ++attributes; }
    bool operator==(const Contents&) const = default;

private:
    template <class T>
    void number(const T* v) {
        ++attributes;
        add(reinterpret_cast<const char*>(v), sizeof *v);
    }
    void add(const char* text, std::size_t size) {
        for (std::size_t i = 0; i < size; ++i) hash = (hash ^ static_cast<unsigned char>(text[i])) * 1099511628211u;
        hash = (hash ^ size) * 1099511628211u;
    }
};

// The same for a run that is timed: of every text the length and both ends.
struct Glance {
    long attributes = 0;
    std::uint64_t sum = 0;

    void text(const char* name, std::size_t nameSize, const char* value, std::size_t valueSize) {
        ++attributes;
        add(name, nameSize);
        add(value, valueSize);
    }
    void integer(std::int64_t v) {
        ++attributes;
        sum += static_cast<std::uint64_t>(v);
    }
    void real(double v) {
        ++attributes;
        sum += static_cast<std::uint64_t>(static_cast<std::int64_t>(v));
    }
    void boolean(bool v) { integer(v); }
    void token() { ++attributes; }

private:
    void add(const char* text, std::size_t size) {
        sum += size;
        if (size != 0) sum += static_cast<unsigned char>(text[0]) + static_cast<unsigned char>(text[size - 1]);
    }
};

// What a row asks of its contenders.
enum class Mode {
    AsIs,     // names and values as they are in the document
    Decoded,  // the same, without escapes
    Typed,    // numbers and truth values converted, texts decoded
    Tokens    // elements alone
};

// The first letter of an attribute's name of Kind::Typed gives the type of its value, for all readers.
constexpr char kIntegerLetter = 'i';
constexpr char kRealLetter = 'd';
constexpr char kBooleanLetter = 'b';

// A private copy of a document, for readers that write into it.
struct Block {
    static constexpr std::size_t kPadding = 64;  // zero bytes after the document

    char* data;  // owned, from new[]
    std::size_t size;
};

}  // namespace bench

#endif
