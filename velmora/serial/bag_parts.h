// Private: writes into a Bag that consist of several parts, of which one may lie in the Bag itself.
#ifndef VELMORA_SERIAL_BAG_PARTS_H
#define VELMORA_SERIAL_BAG_PARTS_H

#include <cstdint>
#include <cstring>

#include <velmora/serial/bag.h>

namespace velmora::detail {

// Up to two 32-bit values, which go in front of a text: tags, counts and lengths.
class BagHead {
public:
    BagHead() : size_(0) {}
    explicit BagHead(std::int32_t v) : values_{v, 0}, size_(sizeof v) {}
    BagHead(std::int32_t v, std::int32_t w) : values_{v, w}, size_(2 * sizeof v) {}

    int size() const { return size_; }
    // Requires: there is one.
    void put(char* to) const {
        std::memcpy(to, values_, sizeof values_[0]);
        if (size_ > 4) std::memcpy(to + 4, values_ + 1, sizeof values_[1]);
    }

private:
    std::int32_t values_[2];
    int size_;
};

enum class BagEnd { Bare, Terminated };

// Writes a head, aligned as 32-bit values are, the `n` bytes at `src`, and a zero byte if it is asked for. All of it
// goes in or, with a failure, nothing: the cursor stays too.
// Throws: Bag::Exception for a negative `n` and for what does not fit below the limit.
void putParts(Bag& bag, const BagHead& head, const void* src, std::int64_t n, BagEnd end);

}  // namespace velmora::detail

#endif
