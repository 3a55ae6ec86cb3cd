// Private: a look ahead. One look at the next 32 bytes is enough for the common tag, attribute, member or line. Each
// question is asked of all bytes at once, and the answers are marks: places are found and compared without a loop.
//
// The readers use it in one way. A function take... takes what lies ahead if it is of the common form, as a whole, or
// changes nothing. Then the plain routine reads it, byte by byte, from the same place on; it alone knows the rare forms
// and the failures.
#ifndef VELMORA_MARKUP_WINDOW_H
#define VELMORA_MARKUP_WINDOW_H

#include <bit>
#include <cstdint>

#include <velmora/text/block.h>

namespace velmora::detail {

// Marked places of a window: a bit for each byte, the first byte's the lowest.
class Marks {
public:
    constexpr explicit Marks(std::uint32_t bits) : bits_(bits) {}
    static constexpr Marks atBegin() { return Marks(1); }
    static constexpr Marks all() { return Marks(~std::uint32_t{0}); }
    constexpr Marks operator|(Marks m) const { return Marks(bits_ | m.bits_); }
    constexpr Marks operator&(Marks m) const { return Marks(bits_ & m.bits_); }
    constexpr Marks operator~() const { return Marks(~bits_); }
    constexpr bool operator==(Marks m) const { return bits_ == m.bits_; }

    constexpr bool any() const { return bits_ != 0; }
    // Requires: any.
    constexpr unsigned place() const { return static_cast<unsigned>(std::countr_zero(bits_)); }

    // The first mark alone, and all but the first.
    constexpr Marks first() const { return Marks(bits_ & (0 - bits_)); }
    constexpr Marks others() const { return Marks(bits_ & (bits_ - 1)); }

    // Of a single mark: the places before it, and those from it on. No mark counts as one after the last place.
    constexpr Marks before() const { return Marks(bits_ - 1); }
    constexpr Marks onward() const { return Marks(0 - bits_); }
    // The place before it, and the one after it.
    constexpr Marks left() const { return Marks(bits_ >> 1); }
    constexpr Marks right() const { return Marks(bits_ << 1); }

    // Whether these are a run from the window's first byte on, without a gap. It may be empty.
    constexpr bool lead() const { return (bits_ & (bits_ + 1)) == 0; }

    // These are quotes: marks the text in them, from each quote that opens up to the one that closes.
    constexpr Marks quoted(bool open) const {
        std::uint32_t inside = bits_;
        for (int n = 1; n < 32; n *= 2) inside ^= inside << n;
        return Marks(open ? ~inside : inside);
    }
    constexpr bool last() const { return bits_ >> 31 != 0; }

private:
    std::uint32_t bits_;
};

template <class B = Block>
class BasicWindow {
public:
    static constexpr int kSize = 2 * B::kSize;

    static bool fits(const char* p, const char* end) { return end - p >= kSize; }

    // Requires: fits.
    explicit BasicWindow(const char* p) : low_(B::load(p)), high_(B::load(p + B::kSize)) {}

    template <class Where>
    Marks marks(Where where) const {
        return Marks(where(low_).bits() | where(high_).bits() << B::kSize);
    }
    // Of the first half alone.
    template <class Where>
    Marks firstHalf(Where where) const {
        return Marks(where(low_).bits());
    }

private:
    B low_;
    B high_;
};
using Window = BasicWindow<>;

}  // namespace velmora::detail

#endif
