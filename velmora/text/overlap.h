// Private: whether an argument lies in what it is about to change.
#ifndef VELMORA_TEXT_OVERLAP_H
#define VELMORA_TEXT_OVERLAP_H

#include <cstddef>
#include <functional>

namespace velmora::detail {

// Whether `p` points into the `size` bytes at `block`. std::less orders pointers into different blocks too.
inline bool liesIn(const void* p, const void* block, std::ptrdiff_t size) {
    if (!block || size <= 0) return false;
    const auto* const byte = static_cast<const char*>(p);
    const auto* const begin = static_cast<const char*>(block);
    const std::less<const char*> before;
    return !before(byte, begin) && before(byte, begin + size);
}

}  // namespace velmora::detail

#endif
