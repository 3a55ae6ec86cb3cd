// Private: sixteen bytes at a time, in the widest form that every machine of a platform has.
#ifndef VELMORA_TEXT_BLOCK_H
#define VELMORA_TEXT_BLOCK_H

#include <bit>
#include <cstdint>
#include <cstring>

#if defined(__SSE2__) || defined(_M_X64)
#include <emmintrin.h>
#define VELMORA_HAS_SSE2
#endif

#if defined(__SANITIZE_ADDRESS__)
#define VELMORA_CHECKS_ADDRESSES
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define VELMORA_CHECKS_ADDRESSES
#endif
#endif

namespace velmora::detail {

static_assert(std::endian::native == std::endian::little, "the first byte of a block is its lowest");

template <class T>
inline T bytesAt(const char* p) {
    T bytes;
    std::memcpy(&bytes, p, sizeof bytes);
    return bytes;
}

// A block is sixteen bytes, or a set of marks in them. Of marks only the first counts, and whether there is any.
class PortableBlock {
public:
    static constexpr int kSize = 16;

    PortableBlock(std::uint64_t low, std::uint64_t high) : low_(low), high_(high) {}
    static PortableBlock load(const char* p) {
        return PortableBlock(bytesAt<std::uint64_t>(p), bytesAt<std::uint64_t>(p + 8));
    }

    // Marks the bytes that are `c`, those that are not, those below `limit`, which is at most 128, and those above one
    // of at most 127.
    PortableBlock is(char c) const { return isNot(c).zeros(); }
    PortableBlock isNot(char c) const {
        const std::uint64_t all = kEveryByte * static_cast<unsigned char>(c);
        return PortableBlock(low_ ^ all, high_ ^ all);
    }
    PortableBlock isBelow(unsigned limit) const { return PortableBlock(below(low_, limit), below(high_, limit)); }
    PortableBlock isAbove(unsigned limit) const { return PortableBlock(above(low_, limit), above(high_, limit)); }
    PortableBlock operator|(PortableBlock b) const { return PortableBlock(low_ | b.low_, high_ | b.high_); }

    bool any() const { return (low_ | high_) != 0; }
    // Requires: any().
    int first() const { return low_ != 0 ? std::countr_zero(low_) / 8 : 8 + std::countr_zero(high_) / 8; }

private:
    static constexpr std::uint64_t kEveryByte = 0x0101010101010101;
    static constexpr std::uint64_t kEveryTop = 0x8080808080808080;

    std::uint64_t low_;
    std::uint64_t high_;

    static std::uint64_t below(std::uint64_t bytes, unsigned limit) {
        return (bytes - kEveryByte * limit) & ~bytes & kEveryTop;
    }
    static std::uint64_t above(std::uint64_t bytes, unsigned limit) {
        return (((bytes & ~kEveryTop) + kEveryByte * (127 - limit)) | bytes) & kEveryTop;
    }
    PortableBlock zeros() const { return isBelow(1); }
};

#ifdef VELMORA_HAS_SSE2
class Sse2Block {
public:
    static constexpr int kSize = 16;

    Sse2Block(std::uint64_t low, std::uint64_t high)
        : bytes_(_mm_set_epi64x(static_cast<long long>(high), static_cast<long long>(low))) {}
    static Sse2Block load(const char* p) { return Sse2Block(_mm_loadu_si128(reinterpret_cast<const __m128i*>(p))); }

    Sse2Block is(char c) const { return Sse2Block(_mm_cmpeq_epi8(bytes_, _mm_set1_epi8(c))); }
    Sse2Block isNot(char c) const { return Sse2Block(_mm_xor_si128(is(c).bytes_, _mm_set1_epi8(-1))); }
    Sse2Block isBelow(unsigned limit) const {
        const __m128i last = _mm_set1_epi8(static_cast<char>(limit - 1));
        return Sse2Block(_mm_cmpeq_epi8(_mm_min_epu8(bytes_, last), bytes_));
    }
    Sse2Block isAbove(unsigned limit) const {
        const __m128i first = _mm_set1_epi8(static_cast<char>(limit + 1));
        return Sse2Block(_mm_cmpeq_epi8(_mm_max_epu8(bytes_, first), bytes_));
    }
    Sse2Block operator|(Sse2Block b) const { return Sse2Block(_mm_or_si128(bytes_, b.bytes_)); }

    bool any() const { return _mm_movemask_epi8(bytes_) != 0; }
    int first() const { return std::countr_zero(bits()); }
    std::uint32_t bits() const { return static_cast<std::uint32_t>(_mm_movemask_epi8(bytes_)); }

    static Sse2Block all(char c) { return Sse2Block(_mm_set1_epi8(c)); }
    Sse2Block same(Sse2Block b) const { return Sse2Block(_mm_cmpeq_epi8(bytes_, b.bytes_)); }
    Sse2Block plus(Sse2Block marks) const { return Sse2Block(_mm_sub_epi8(bytes_, marks.bytes_)); }
    std::size_t sum() const {
        const __m128i sums = _mm_sad_epu8(bytes_, _mm_setzero_si128());
        return static_cast<std::size_t>(_mm_cvtsi128_si64(_mm_add_epi64(sums, _mm_unpackhi_epi64(sums, sums))));
    }

private:
    __m128i bytes_;

    explicit Sse2Block(__m128i bytes) noexcept : bytes_(bytes) {}
};
using Block = Sse2Block;
#else
using Block = PortableBlock;
#endif

}  // namespace velmora::detail

#endif
