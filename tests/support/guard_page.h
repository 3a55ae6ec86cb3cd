// Bytes whose end lies against a page that may not be touched: one step too far and the test dies. Another such page is
// before them, and bytes that fill whole pages begin there.
#ifndef VELMORA_TESTS_SUPPORT_GUARD_PAGE_H
#define VELMORA_TESTS_SUPPORT_GUARD_PAGE_H

#include <cstddef>
#include <string>

#include <velmora/markup/mldoc.h>

namespace support {

class GuardedBytes {
public:
    explicit GuardedBytes(const std::string& bytes);
    GuardedBytes(const GuardedBytes&) = delete;
    void operator=(const GuardedBytes&) = delete;
    ~GuardedBytes();

    char* begin() const { return bytes_; }
    char* end() const { return bytes_ + size_; }
    std::size_t size() const { return size_; }

private:
    void* pages_;
    std::size_t mapped_;
    char* bytes_;
    std::size_t size_;
};

// A document whose block is guarded. `doc` has not been given its format yet: call doc.guessFormat, which may throw.
class GuardedDocument {
public:
    MLDoc doc;

    explicit GuardedDocument(const std::string& text) : bytes_(text) {
        doc.buffer = bytes_.begin();
        doc.length = static_cast<std::uint32_t>(bytes_.size());
    }
    ~GuardedDocument() { doc.buffer = nullptr; }  // the block is not the document's to release

private:
    GuardedBytes bytes_;
};

}  // namespace support

#endif
