// Private: blocks of bytes. Block is the widest that every machine of a platform has. Avx2Block exists only in sources
// that are compiled for machines that have it.
#ifndef VELMORA_TEXT_BLOCK_H
#define VELMORA_TEXT_BLOCK_H

#include <bit>
#include <cstdint>
#include <cstring>

#if defined(__SSE2__) || defined(_M_X64)
#include <emmintrin.h>
#define VELMORA_HAS_SSE2
#endif
#ifdef __AVX2__
#include <immintrin.h>
#endif

// For what a short text does not come to: inline it would have the short ones save registers too.
#ifdef __GNUC__
#define VELMORA_APART __attribute__((noinline))
#else
#define VELMORA_APART
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

// Each source has its own copy: the linker must not take one that was compiled for another machine.
template <class T>
static inline T bytesAt(const char* p) {
    T bytes;
    std::memcpy(&bytes, p, sizeof bytes);
    return bytes;
}

// A block is kSize bytes, or a set of marks in them. Marks are exact: one for each byte that is asked for. They may be
// combined by | & ^.
class PortableBlock {
public:
    static constexpr int kSize = 16;

    PortableBlock(std::uint64_t low, std::uint64_t high) : low_(low), high_(high) {}
    static PortableBlock load(const char* p) {
        return PortableBlock(bytesAt<std::uint64_t>(p), bytesAt<std::uint64_t>(p + 8));
    }
    void store(void* to) const {
        const std::uint64_t words[] = {low_, high_};
        std::memcpy(to, words, sizeof words);
    }

    // Marks the bytes that are `c`, those that are not, those below `limit`, which is from 1 to 128, those above one of
    // at most 127, and those from `first` to `last`, which are ASCII and not 0.
    PortableBlock is(char c) const { return with(c).isBelow(1); }
    PortableBlock isNot(char c) const { return with(c).isAbove(0); }
    PortableBlock isBelow(unsigned limit) const { return isAbove(limit - 1).complement(); }
    PortableBlock isAbove(unsigned limit) const { return PortableBlock(above(low_, limit), above(high_, limit)); }
    PortableBlock isBetween(char first, char last) const {
        return isAbove(static_cast<unsigned char>(first) - 1u) & isBelow(static_cast<unsigned char>(last) + 1u);
    }
    PortableBlock operator|(PortableBlock b) const { return PortableBlock(low_ | b.low_, high_ | b.high_); }
    PortableBlock operator&(PortableBlock b) const { return PortableBlock(low_ & b.low_, high_ & b.high_); }
    PortableBlock operator^(PortableBlock b) const { return PortableBlock(low_ ^ b.low_, high_ ^ b.high_); }

    static PortableBlock all(char c) {
        return PortableBlock(kEveryByte * static_cast<unsigned char>(c), kEveryByte * static_cast<unsigned char>(c));
    }
    // Marks the bytes that are the same in both blocks, those from `limit` up, which is at least 128, and those of the
    // form 10xxxxxx.
    PortableBlock same(PortableBlock b) const {
        return PortableBlock(zeroBytes(low_ ^ b.low_), zeroBytes(high_ ^ b.high_));
    }
    PortableBlock atLeast(unsigned limit) const {
        return PortableBlock(fromLimit(low_, limit), fromLimit(high_, limit));
    }
    PortableBlock continuations() const {
        return PortableBlock(low_ & ~(low_ << 1) & kEveryTop, high_ & ~(high_ << 1) & kEveryTop);
    }
    bool isAscii() const { return ((low_ | high_) & kEveryTop) == 0; }
    // The bytes with the other case of the 26 letters from `first` on, which is 'a' or 'A'.
    PortableBlock withOtherCase(char first) const {
        return PortableBlock(otherCase(low_, first), otherCase(high_, first));
    }
    // A bit for each mark, the first byte's lowest.
    std::uint32_t bits() const { return bitsOf(low_) | bitsOf(high_) << 8; }

    // Between bytes and 16-bit units of the same values: stores each byte as a unit, packs the units of two blocks,
    // which are all at most 0xFF, and asks whether all units are below 0x80.
    void storeUnits(char* p) const {
        for (int i = 0; i < 4; ++i) {
            for (int part = 0; part < 4; ++part) {
                const std::uint64_t half = part < 2 ? low_ : high_;
                const auto unit = static_cast<std::uint16_t>(half >> (8 * (4 * (part & 1) + i)) & 0xFF);
                std::memcpy(p + 2 * (4 * part + i), &unit, sizeof unit);
            }
        }
    }
    static PortableBlock packed(PortableBlock a, PortableBlock b) {
        return PortableBlock(packedFour(a.low_) | packedFour(a.high_) << 32, packedFour(b.low_) | packedFour(b.high_)
                                                                                                      << 32);
    }
    bool unitsAreAscii() const { return ((low_ | high_) & kEveryUnit * 0xFF80) == 0; }

    // Counting: adds 1 to each byte that is marked, and sums all bytes up.
    PortableBlock plus(PortableBlock marks) const {
        return PortableBlock(low_ + (marks.low_ >> 7), high_ + (marks.high_ >> 7));
    }
    std::size_t sum() const {
        constexpr std::uint64_t even = 0x00FF00FF00FF00FF;
        const std::uint64_t pairs = (low_ & even) + (low_ >> 8 & even) + (high_ & even) + (high_ >> 8 & even);
        return (pairs * 0x0001000100010001) >> 48;
    }
    // The same for 16-bit units: marks those up to `limit`, which is a power of two less one.
    PortableBlock unitsUpTo(unsigned limit) const {
        const std::uint64_t above = kEveryUnit * (0xFFFF & ~limit);
        return PortableBlock(zeroUnits(low_ & above), zeroUnits(high_ & above));
    }
    PortableBlock plusUnits(PortableBlock marks) const {
        return PortableBlock(low_ + (marks.low_ >> 15), high_ + (marks.high_ >> 15));
    }
    std::size_t sumUnits() const {
        std::size_t total = 0;
        for (int shift = 0; shift < 64; shift += 16) total += (low_ >> shift & 0xFFFF) + (high_ >> shift & 0xFFFF);
        return total;
    }

    // The bytes with this bit set in each.
    PortableBlock withBit(char bit) const {
        const std::uint64_t all = kEveryByte * static_cast<unsigned char>(bit);
        return PortableBlock(low_ | all, high_ | all);
    }

    bool any() const { return (low_ | high_) != 0; }
    // Requires: any().
    int first() const { return low_ != 0 ? std::countr_zero(low_) / 8 : 8 + std::countr_zero(high_) / 8; }

private:
    static constexpr std::uint64_t kEveryByte = 0x0101010101010101;
    static constexpr std::uint64_t kEveryTop = 0x8080808080808080;
    static constexpr std::uint64_t kEveryUnit = 0x0001000100010001;

    std::uint64_t low_;
    std::uint64_t high_;

    // No byte's sum reaches the next byte.
    static std::uint64_t above(std::uint64_t bytes, unsigned limit) {
        return (((bytes & ~kEveryTop) + kEveryByte * (127 - limit)) | bytes) & kEveryTop;
    }
    static std::uint64_t fromLimit(std::uint64_t bytes, unsigned limit) {
        return ((bytes & ~kEveryTop) + kEveryByte * (256 - limit)) & bytes & kEveryTop;
    }
    static std::uint64_t zeroBytes(std::uint64_t bytes) {
        return ~(((bytes & ~kEveryTop) + ~kEveryTop) | bytes) & kEveryTop;
    }
    static std::uint64_t zeroUnits(std::uint64_t units) {
        constexpr std::uint64_t tops = kEveryUnit << 15;
        return ~(((units & ~tops) + ~tops) | units) & tops;
    }
    static std::uint64_t packedFour(std::uint64_t units) {
        units = (units | units >> 8) & 0x0000FFFF0000FFFF;
        return (units | units >> 16) & 0xFFFFFFFF;
    }
    static std::uint64_t otherCase(std::uint64_t bytes, char first) {
        const std::uint64_t sevenBits = bytes & ~kEveryTop, from = static_cast<unsigned char>(first);
        const std::uint64_t atLeastFirst = sevenBits + kEveryByte * (128 - from);
        const std::uint64_t aboveLast = sevenBits + kEveryByte * (128 - from - 26);
        return bytes ^ ((atLeastFirst & ~aboveLast & ~bytes & kEveryTop) >> 2);
    }
    // Each product of a mark and a bit of the factor is a bit of the result that no other product reaches.
    static std::uint32_t bitsOf(std::uint64_t marks) {
        return static_cast<std::uint32_t>(((marks & kEveryTop) >> 7) * 0x0102040810204080 >> 56);
    }
    PortableBlock complement() const { return PortableBlock(low_ ^ kEveryTop, high_ ^ kEveryTop); }
    PortableBlock with(char c) const {
        const std::uint64_t all = kEveryByte * static_cast<unsigned char>(c);
        return PortableBlock(low_ ^ all, high_ ^ all);
    }
};

#ifdef VELMORA_HAS_SSE2
class Sse2Block {
public:
    static constexpr int kSize = 16;

    Sse2Block(std::uint64_t low, std::uint64_t high)
        : bytes_(_mm_set_epi64x(static_cast<long long>(high), static_cast<long long>(low))) {}
    static Sse2Block load(const char* p) { return Sse2Block(_mm_loadu_si128(reinterpret_cast<const __m128i*>(p))); }
    void store(void* to) const { _mm_storeu_si128(static_cast<__m128i*>(to), bytes_); }

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
    // There are only signed comparisons: the range is moved to where the lowest bytes are.
    Sse2Block isBetween(char first, char last) const {
        const __m128i moved = _mm_add_epi8(bytes_, _mm_set1_epi8(static_cast<char>(-128 - first)));
        return Sse2Block(_mm_cmplt_epi8(moved, _mm_set1_epi8(static_cast<char>(-127 + last - first))));
    }
    Sse2Block operator|(Sse2Block b) const { return Sse2Block(_mm_or_si128(bytes_, b.bytes_)); }
    Sse2Block operator&(Sse2Block b) const { return Sse2Block(_mm_and_si128(bytes_, b.bytes_)); }
    Sse2Block operator^(Sse2Block b) const { return Sse2Block(_mm_xor_si128(bytes_, b.bytes_)); }

    static Sse2Block all(char c) { return Sse2Block(_mm_set1_epi8(c)); }
    Sse2Block same(Sse2Block b) const { return Sse2Block(_mm_cmpeq_epi8(bytes_, b.bytes_)); }
    Sse2Block atLeast(unsigned limit) const {  // the top bit of each byte is its mark
        return Sse2Block(_mm_subs_epu8(bytes_, _mm_set1_epi8(static_cast<char>(limit - 128))));
    }
    Sse2Block continuations() const {
        return Sse2Block(_mm_cmplt_epi8(bytes_, _mm_set1_epi8(static_cast<char>(0xC0))));
    }
    // All bits of the bytes from `limit` up; the bits of units, moved; the units whose low and high bytes are those of
    // two blocks, in two blocks; the same for lanes of two units. With AVX2 each half of a block is interleaved alone.
    Sse2Block maskFrom(unsigned limit) const {
        return Sse2Block(_mm_cmpeq_epi8(_mm_max_epu8(bytes_, _mm_set1_epi8(static_cast<char>(limit))), bytes_));
    }
    Sse2Block unitsLeft(int n) const { return Sse2Block(_mm_slli_epi16(bytes_, n)); }
    Sse2Block unitsRight(int n) const { return Sse2Block(_mm_srli_epi16(bytes_, n)); }
    static Sse2Block firstUnits(Sse2Block low, Sse2Block high) {
        return Sse2Block(_mm_unpacklo_epi8(low.bytes_, high.bytes_));
    }
    static Sse2Block lastUnits(Sse2Block low, Sse2Block high) {
        return Sse2Block(_mm_unpackhi_epi8(low.bytes_, high.bytes_));
    }
    static Sse2Block firstLanes(Sse2Block low, Sse2Block high) {
        return Sse2Block(_mm_unpacklo_epi16(low.bytes_, high.bytes_));
    }
    static Sse2Block lastLanes(Sse2Block low, Sse2Block high) {
        return Sse2Block(_mm_unpackhi_epi16(low.bytes_, high.bytes_));
    }
    // The block with one or two zeros before it, or one after it: the bytes at the other end drop out.
    Sse2Block afterOneZero() const { return Sse2Block(_mm_slli_si128(bytes_, 1)); }
    Sse2Block afterTwoZeros() const { return Sse2Block(_mm_slli_si128(bytes_, 2)); }
    Sse2Block beforeOneZero() const { return Sse2Block(_mm_srli_si128(bytes_, 1)); }
    // Two marks of units as bits: eight of `a`, eight of `b`.
    static std::uint32_t bitsOfUnits(Sse2Block a, Sse2Block b) {
        return Sse2Block(_mm_packs_epi16(a.bytes_, b.bytes_)).bits();
    }
    Sse2Block butNot(Sse2Block b) const { return Sse2Block(_mm_andnot_si128(b.bytes_, bytes_)); }
    static Sse2Block allUnits(int unit) { return Sse2Block(_mm_set1_epi16(static_cast<short>(unit))); }

    bool isAscii() const { return bits() == 0; }
    Sse2Block withOtherCase(char first) const {
        const __m128i fromFirst = _mm_add_epi8(bytes_, _mm_set1_epi8(static_cast<char>(128 - first)));
        const __m128i letters = _mm_cmplt_epi8(fromFirst, _mm_set1_epi8(static_cast<char>(128 + 26)));
        return Sse2Block(_mm_xor_si128(bytes_, _mm_and_si128(letters, _mm_set1_epi8(0x20))));
    }
    std::uint32_t bits() const { return static_cast<std::uint32_t>(_mm_movemask_epi8(bytes_)); }

    void storeUnits(char* p) const {
        Sse2Block(_mm_unpacklo_epi8(bytes_, _mm_setzero_si128())).store(p);
        Sse2Block(_mm_unpackhi_epi8(bytes_, _mm_setzero_si128())).store(p + 16);
    }
    static Sse2Block packed(Sse2Block a, Sse2Block b) { return Sse2Block(_mm_packus_epi16(a.bytes_, b.bytes_)); }
    bool unitsAreAscii() const { return unitsUpTo(0x7F).bits() == 0xFFFF; }

    Sse2Block plus(Sse2Block marks) const { return Sse2Block(_mm_sub_epi8(bytes_, marks.bytes_)); }
    std::size_t sum() const {
        const __m128i sums = _mm_sad_epu8(bytes_, _mm_setzero_si128());
        return static_cast<std::size_t>(_mm_cvtsi128_si64(_mm_add_epi64(sums, _mm_unpackhi_epi64(sums, sums))));
    }
    Sse2Block unitsUpTo(unsigned limit) const {
        const __m128i above = _mm_subs_epu16(bytes_, _mm_set1_epi16(static_cast<short>(limit)));
        return Sse2Block(_mm_cmpeq_epi16(above, _mm_setzero_si128()));
    }
    Sse2Block plusUnits(Sse2Block marks) const { return Sse2Block(_mm_sub_epi16(bytes_, marks.bytes_)); }
    std::size_t sumUnits() const {
        const __m128i low = _mm_and_si128(bytes_, _mm_set1_epi32(0xFFFF)), high = _mm_srli_epi32(bytes_, 16);
        const __m128i four = _mm_add_epi32(low, high), two = _mm_add_epi32(four, _mm_srli_si128(four, 8));
        return static_cast<unsigned>(_mm_cvtsi128_si32(_mm_add_epi32(two, _mm_srli_si128(two, 4))));
    }

    Sse2Block withBit(char bit) const { return Sse2Block(_mm_or_si128(bytes_, _mm_set1_epi8(bit))); }

    bool any() const { return bits() != 0; }
    int first() const { return std::countr_zero(bits()); }

private:
    __m128i bytes_;

    explicit Sse2Block(__m128i bytes) noexcept : bytes_(bytes) {}
};
using Block = Sse2Block;
#else
using Block = PortableBlock;
#endif

#ifdef __AVX2__
// Has not what only the scanning loops of markup use.
class Avx2Block {
public:
    static constexpr int kSize = 32;

    static Avx2Block load(const char* p) { return Avx2Block(_mm256_loadu_si256(reinterpret_cast<const __m256i*>(p))); }

    Avx2Block operator|(Avx2Block b) const { return Avx2Block(_mm256_or_si256(bytes_, b.bytes_)); }
    Avx2Block operator&(Avx2Block b) const { return Avx2Block(_mm256_and_si256(bytes_, b.bytes_)); }
    Avx2Block operator^(Avx2Block b) const { return Avx2Block(_mm256_xor_si256(bytes_, b.bytes_)); }

    static Avx2Block all(char c) { return Avx2Block(_mm256_set1_epi8(c)); }
    void store(char* p) const { _mm256_storeu_si256(reinterpret_cast<__m256i*>(p), bytes_); }
    Avx2Block same(Avx2Block b) const { return Avx2Block(_mm256_cmpeq_epi8(bytes_, b.bytes_)); }
    Avx2Block atLeast(unsigned limit) const {
        return Avx2Block(_mm256_subs_epu8(bytes_, _mm256_set1_epi8(static_cast<char>(limit - 128))));
    }
    Avx2Block continuations() const {
        return Avx2Block(_mm256_cmpgt_epi8(_mm256_set1_epi8(static_cast<char>(0xC0)), bytes_));
    }
    Avx2Block maskFrom(unsigned limit) const {
        const __m256i most = _mm256_max_epu8(bytes_, _mm256_set1_epi8(static_cast<char>(limit)));
        return Avx2Block(_mm256_cmpeq_epi8(most, bytes_));
    }
    Avx2Block unitsLeft(int n) const { return Avx2Block(_mm256_slli_epi16(bytes_, n)); }
    Avx2Block unitsRight(int n) const { return Avx2Block(_mm256_srli_epi16(bytes_, n)); }
    static Avx2Block firstUnits(Avx2Block low, Avx2Block high) {
        return Avx2Block(_mm256_unpacklo_epi8(low.bytes_, high.bytes_));
    }
    static Avx2Block lastUnits(Avx2Block low, Avx2Block high) {
        return Avx2Block(_mm256_unpackhi_epi8(low.bytes_, high.bytes_));
    }
    static Avx2Block firstLanes(Avx2Block low, Avx2Block high) {
        return Avx2Block(_mm256_unpacklo_epi16(low.bytes_, high.bytes_));
    }
    static Avx2Block lastLanes(Avx2Block low, Avx2Block high) {
        return Avx2Block(_mm256_unpackhi_epi16(low.bytes_, high.bytes_));
    }
    Avx2Block afterOneZero() const {
        return Avx2Block(_mm256_alignr_epi8(bytes_, _mm256_permute2x128_si256(bytes_, bytes_, 0x08), 15));
    }
    Avx2Block afterTwoZeros() const {
        return Avx2Block(_mm256_alignr_epi8(bytes_, _mm256_permute2x128_si256(bytes_, bytes_, 0x08), 14));
    }
    Avx2Block beforeOneZero() const {
        return Avx2Block(_mm256_alignr_epi8(_mm256_permute2x128_si256(bytes_, bytes_, 0x81), bytes_, 1));
    }
    static std::uint32_t bitsOfUnits(Avx2Block a, Avx2Block b) {
        return Avx2Block(_mm256_packs_epi16(a.bytes_, b.bytes_)).bits();
    }
    Avx2Block butNot(Avx2Block b) const { return Avx2Block(_mm256_andnot_si256(b.bytes_, bytes_)); }
    static Avx2Block allUnits(int unit) { return Avx2Block(_mm256_set1_epi16(static_cast<short>(unit))); }
    __m128i half(bool second) const {
        return second ? _mm256_extracti128_si256(bytes_, 1) : _mm256_castsi256_si128(bytes_);
    }

    bool isAscii() const { return bits() == 0; }
    Avx2Block withOtherCase(char first) const {
        const __m256i fromFirst = _mm256_add_epi8(bytes_, _mm256_set1_epi8(static_cast<char>(128 - first)));
        const __m256i letters = _mm256_cmpgt_epi8(_mm256_set1_epi8(static_cast<char>(128 + 26)), fromFirst);
        return Avx2Block(_mm256_xor_si256(bytes_, _mm256_and_si256(letters, _mm256_set1_epi8(0x20))));
    }
    std::uint32_t bits() const { return static_cast<std::uint32_t>(_mm256_movemask_epi8(bytes_)); }
    bool any() const { return bits() != 0; }

    void storeUnits(char* p) const {
        Avx2Block(_mm256_cvtepu8_epi16(_mm256_castsi256_si128(bytes_))).store(p);
        Avx2Block(_mm256_cvtepu8_epi16(_mm256_extracti128_si256(bytes_, 1))).store(p + 32);
    }
    static Avx2Block packed(Avx2Block a, Avx2Block b) {
        return Avx2Block(_mm256_permute4x64_epi64(_mm256_packus_epi16(a.bytes_, b.bytes_), 0xD8));
    }
    bool unitsAreAscii() const {
        return _mm256_testz_si256(bytes_, _mm256_set1_epi16(static_cast<short>(0xFF80))) != 0;
    }

    Avx2Block plus(Avx2Block marks) const { return Avx2Block(_mm256_sub_epi8(bytes_, marks.bytes_)); }
    std::size_t sum() const {
        const __m256i sums = _mm256_sad_epu8(bytes_, _mm256_setzero_si256());
        const __m128i two = _mm_add_epi64(_mm256_castsi256_si128(sums), _mm256_extracti128_si256(sums, 1));
        return static_cast<std::size_t>(_mm_cvtsi128_si64(_mm_add_epi64(two, _mm_unpackhi_epi64(two, two))));
    }
    Avx2Block unitsUpTo(unsigned limit) const {
        const __m256i above = _mm256_subs_epu16(bytes_, _mm256_set1_epi16(static_cast<short>(limit)));
        return Avx2Block(_mm256_cmpeq_epi16(above, _mm256_setzero_si256()));
    }
    Avx2Block plusUnits(Avx2Block marks) const { return Avx2Block(_mm256_sub_epi16(bytes_, marks.bytes_)); }
    std::size_t sumUnits() const {
        const __m256i low = _mm256_and_si256(bytes_, _mm256_set1_epi32(0xFFFF)), high = _mm256_srli_epi32(bytes_, 16);
        const __m256i eight = _mm256_add_epi32(low, high);
        const __m128i four = _mm_add_epi32(_mm256_castsi256_si128(eight), _mm256_extracti128_si256(eight, 1));
        const __m128i two = _mm_add_epi32(four, _mm_srli_si128(four, 8));
        return static_cast<unsigned>(_mm_cvtsi128_si32(_mm_add_epi32(two, _mm_srli_si128(two, 4))));
    }

private:
    __m256i bytes_;

    explicit Avx2Block(__m256i bytes) noexcept : bytes_(bytes) {}
};
#endif

}  // namespace velmora::detail

#endif
