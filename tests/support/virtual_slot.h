// Where a virtual member stands in the table of its class. The order is a part of the binary interface.
#ifndef VELMORA_TESTS_SUPPORT_VIRTUAL_SLOT_H
#define VELMORA_TESTS_SUPPORT_VIRTUAL_SLOT_H

#include <cstddef>
#include <cstring>

namespace support {

// By the common C++ ABI, in which a pointer to a virtual member is one more than its offset and a virtual destructor
// takes two entries.
template <class Member>
std::ptrdiff_t virtualSlot(Member member) {
    std::ptrdiff_t words[2];
    static_assert(sizeof member == sizeof words, "not a pointer to a member function of this ABI");
    std::memcpy(words, &member, sizeof words);
    return (words[0] - 1) / static_cast<std::ptrdiff_t>(sizeof(void*));
}

}  // namespace support

#endif
