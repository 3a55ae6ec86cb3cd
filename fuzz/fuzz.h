// What the fuzzers have in common. Each is a source file with one LLVMFuzzerTestOneInput. A fuzzer finds crashes,
// reports of the sanitizers, exceptions that the headers do not name, and failures of FUZZ_CHECK.
#ifndef VELMORA_FUZZ_FUZZ_H
#define VELMORA_FUZZ_FUZZ_H

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

#define FUZZ_CHECK(condition)                                                            \
    do {                                                                                 \
        if (!(condition)) {                                                              \
            std::fprintf(stderr, "%s:%d: failed: %s\n", __FILE__, __LINE__, #condition); \
            std::abort();                                                                \
        }                                                                                \
    } while (false)

namespace fuzz {

// Takes values from the front of an input. What is not there is zero and empty.
class Input {
public:
    Input(const std::uint8_t* data, std::size_t size) : p_(reinterpret_cast<const char*>(data)), end_(p_ + size) {}

    bool empty() const { return p_ == end_; }
    std::size_t left() const { return static_cast<std::size_t>(end_ - p_); }
    unsigned byte() { return p_ == end_ ? 0 : static_cast<unsigned char>(*p_++); }
    unsigned below(unsigned n) { return byte() % n; }
    template <class T>
    T number() {
        T value = 0;
        std::memcpy(&value, p_, left() < sizeof value ? left() : sizeof value);
        p_ += left() < sizeof value ? left() : sizeof value;
        return value;
    }
    std::string bytes(std::size_t most) {
        const std::size_t n = left() < most ? left() : most;
        std::string out(p_, n);
        p_ += n;
        return out;
    }
    // A length and that many bytes.
    std::string text() { return bytes(byte()); }
    std::string rest() { return bytes(left()); }

private:
    const char* p_;
    const char* end_;
};

// A copy in a block of its exact size, so that a step too far is found.
class Exact {
public:
    explicit Exact(const std::string& s) : data_(new char[s.size()]), size_(s.size()) {
        if (size_ != 0) std::memcpy(data_, s.data(), size_);
    }
    Exact(const Exact&) = delete;
    void operator=(const Exact&) = delete;
    ~Exact() { delete[] data_; }

    char* begin() const { return data_; }
    char* end() const { return data_ + size_; }

private:
    char* data_;
    std::size_t size_;
};

}  // namespace fuzz

#endif
