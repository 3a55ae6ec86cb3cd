// Private: checking, counting and converting UTF-8 by blocks. Each gives what the plain routine of its name gives.
// Only templates over the kind of block, so that each source that makes them has its own.
#ifndef VELMORA_TEXT_UTF_ROUTINES_H
#define VELMORA_TEXT_UTF_ROUTINES_H

#include <cstring>
#include <type_traits>

#include <velmora/text/block.h>
#include <velmora/text/utf_plain.h>

namespace velmora::detail {

// Marks the faults in the block at `p`: each byte after a lead, and each second byte after a lead of three, must
// continue, and no other; a byte from 0xF0 up is wrong by itself.
// Requires: two bytes before `p` may be read.
template <class B>
inline B faultsAt(const char* p, B bytes) {
    const B mustContinue = B::load(p - 1).atLeast(0xC0) | B::load(p - 2).atLeast(0xE0);
    return (mustContinue ^ bytes.continuations()) | bytes.atLeast(0xF0);
}

// The start of the character that the bytes before `p` leave unfinished; `p` if there is none.
// Requires: the text before `p` has at least two bytes and no fault; its last character may be unfinished.
template <class B>
inline const char* unfinished(const char* p) {
    if (byteAt(p - 1) >= 0xC0) return p - 1;
    return byteAt(p - 2) >= 0xE0 ? p - 2 : p;
}

template <class B>
const char* findFault(const char* s, const char* e) {
    constexpr int kAtOnce = 4 * B::kSize;
    if (e - s < B::kSize + 4) return plainFault(s, e);
    const char* p = s;
    // Whole characters, until two bytes may be read before a block.
    while (p < e && p - s < 2) {
        const int length = byteAt(p) < 0x80 ? 1 : byteAt(p) < 0xE0 ? 2 : 3;
        const char* const next = e - p < length ? e : p + length;
        if (plainFault(p, next)) return plainFault(p, next);
        p = next;
    }
    for (; e - p >= kAtOnce; p += kAtOnce) {
        const B b0 = B::load(p), b1 = B::load(p + B::kSize), b2 = B::load(p + 2 * B::kSize),
                b3 = B::load(p + 3 * B::kSize);
        if ((b0 | b1 | b2 | b3).isAscii()) {
            if (unfinished<B>(p) != p) return plainFault(unfinished<B>(p), e);
            continue;
        }
        const B faults = faultsAt(p, b0) | faultsAt(p + B::kSize, b1) | faultsAt(p + 2 * B::kSize, b2) |
                         faultsAt(p + 3 * B::kSize, b3);
        if (!faults.isAscii()) return plainFault(unfinished<B>(p), e);
    }
    for (; p != e; p += B::kSize) {
        if (e - p < B::kSize) p = e - B::kSize;  // the last block may overlap the one before
        if (!faultsAt(p, B::load(p)).isAscii()) return plainFault(unfinished<B>(p), e);
    }
    return unfinished<B>(e) == e ? nullptr : unfinished<B>(e);
}

// Bytes that do not continue a character.
template <class B>
std::size_t countCharacters(const char* b, const char* e) {
    constexpr int kMostBlocks = 255;  // that a byte can count
    auto n = static_cast<std::size_t>(e - b);
    while (e - b >= B::kSize) {
        B counts = B::all(0);
        for (int i = 0; i < kMostBlocks && e - b >= B::kSize; ++i, b += B::kSize)
            counts = counts.plus(B::load(b).continuations());
        n -= counts.sum();
    }
    for (; b < e; ++b) n -= continues(b);
    return n;
}

template <class B>
inline B loadUnits(const utf16_t* units) {
    return B::load(reinterpret_cast<const char*>(units));
}

template <class B>
std::size_t lengthAsUtf8(const utf16_t* units, const utf16_t* e) {
    constexpr std::size_t kUnits = B::kSize / 2;
    constexpr int kMostBlocks = 32767;  // that a unit can count, two for each
    const std::size_t n = unitCount(units, e);
    std::size_t i = 0, length = 0;
    while (n - i >= kUnits) {
        const std::size_t begin = i;
        B shorter = B::all(0);  // what each unit is shorter than three bytes
        for (int block = 0; block < kMostBlocks && n - i >= kUnits; ++block, i += kUnits) {
            const B b = loadUnits<B>(units + i);
            shorter = shorter.plusUnits(b.unitsUpTo(0x7F)).plusUnits(b.unitsUpTo(0x7FF));
        }
        length += 3 * (i - begin) - shorter.sumUnits();
    }
    return length + plainLength(units + i, units + n);
}

// The bytes that a conversion of mixed text fills before they are copied to their place. It writes more than it has
// converted, and the bytes after a result are not to be touched.
constexpr int kConvertedSize = 1024;

#ifdef VELMORA_HAS_SSE2

// Of the units or lanes of a block only some are wanted, or some bytes of each. Sse2Block picks them one by one,
// Avx2Block by a table of shuffles.
template <class B>
struct Picker;

template <>
struct Picker<Sse2Block> {
    // Stores the units whose bits are set. Writes 16 units. Returns: after the last one.
    static utf16_t* units(Sse2Block first, Sse2Block last, std::uint32_t wanted, utf16_t* to) {
        utf16_t all[16];
        first.store(reinterpret_cast<char*>(all));
        last.store(reinterpret_cast<char*>(all + 8));
        for (int i = 0; i < 16; ++i) {
            *to = all[i];
            to += wanted >> i & 1;
        }
        return to;
    }
    // Each lane of four bytes has a character in its bytes 0 to 2, of which the last two, or the last, may be all there
    // is. Bits 0 to 7 of `lengths` are set where there are two, bits 8 to 15 also where there are three.
    static char* bytes(Sse2Block first, Sse2Block last, std::uint32_t lengths, char* to) {
        std::uint32_t all[8];
        first.store(reinterpret_cast<char*>(all));
        last.store(reinterpret_cast<char*>(all + 4));
        for (int i = 0; i < 8; ++i) {
            const unsigned length = 1 + (lengths >> i & 1) + (lengths >> (8 + i) & 1);
            const std::uint32_t bytes = all[i] >> (24 - 8 * length);
            std::memcpy(to, &bytes, sizeof bytes);
            to += length;
        }
        return to;
    }
};

#ifdef __AVX2__
struct Shuffles {
    std::uint8_t bytes[256][16];
};

// The units that are wanted of eight.
constexpr Shuffles shufflesOfUnits() {
    Shuffles table{};
    for (unsigned wanted = 0; wanted < 256; ++wanted) {
        unsigned n = 0;
        for (unsigned byte = 0; byte < 16; ++byte) {
            if (wanted >> (byte / 2) & 1) table.bytes[wanted][n++] = static_cast<std::uint8_t>(byte);
        }
    }
    return table;
}

// The bytes of four lanes. Of the index, bits 0 to 3 are set where there are two, bits 4 to 7 also where there are
// three.
constexpr Shuffles shufflesOfBytes() {
    Shuffles table{};
    for (unsigned lengths = 0; lengths < 256; ++lengths) {
        unsigned n = 0;
        for (unsigned lane = 0; lane < 4; ++lane) {
            for (unsigned byte = 2 - (lengths >> lane & 1) - (lengths >> (4 + lane) & 1); byte < 3; ++byte)
                table.bytes[lengths][n++] = static_cast<std::uint8_t>(4 * lane + byte);
        }
    }
    return table;
}

static constexpr Shuffles kShufflesOfUnits = shufflesOfUnits();
static constexpr Shuffles kShufflesOfBytes = shufflesOfBytes();

template <>
struct Picker<Avx2Block> {
    static utf16_t* eight(__m128i units, std::uint32_t wanted, utf16_t* to) {
        const auto* const shuffle = reinterpret_cast<const __m128i*>(kShufflesOfUnits.bytes[wanted & 0xFF]);
        _mm_storeu_si128(reinterpret_cast<__m128i*>(to), _mm_shuffle_epi8(units, _mm_loadu_si128(shuffle)));
        return to + _mm_popcnt_u32(wanted & 0xFF);
    }
    static utf16_t* units(Avx2Block first, Avx2Block last, std::uint32_t wanted, utf16_t* to) {
        to = eight(first.half(false), wanted, to);
        to = eight(last.half(false), wanted >> 8, to);
        to = eight(first.half(true), wanted >> 16, to);
        return eight(last.half(true), wanted >> 24, to);
    }
    static char* four(__m128i lanes, std::uint32_t two, std::uint32_t three, char* to) {
        const std::uint32_t lengths = (two & 0x0F) | (three & 0x0F) << 4;
        const auto* const shuffle = reinterpret_cast<const __m128i*>(kShufflesOfBytes.bytes[lengths]);
        _mm_storeu_si128(reinterpret_cast<__m128i*>(to), _mm_shuffle_epi8(lanes, _mm_loadu_si128(shuffle)));
        return to + 4 + _mm_popcnt_u32(lengths);
    }
    static char* bytes(Avx2Block first, Avx2Block last, std::uint32_t lengths, char* to) {
        to = four(first.half(false), lengths, lengths >> 8, to);
        to = four(last.half(false), lengths >> 4, lengths >> 12, to);
        to = four(first.half(true), lengths >> 16, lengths >> 24, to);
        return four(last.half(true), lengths >> 20, lengths >> 28, to);
    }
};
#endif

// A block of bytes with those before and after each of them.
template <class B>
struct Surrounded {
    B bytes, oneBefore, twoBefore, oneAfter;
};

// The units of the characters whose last byte is in a block, but not in its first `dropped` bytes. Each byte is taken
// as the last of a character, together with up to two bytes before it, and the results of those that are not the last
// are dropped. Returns: after the last unit; null, with nothing converted, where the bytes are malformed.
template <class B>
inline utf16_t* decodeBlock(const Surrounded<B>& b, std::ptrdiff_t dropped, utf16_t* to) {
    const auto every = [](int byte) { return B::all(static_cast<char>(byte)); };
    const B continuations = b.bytes.continuations();
    const B mustContinue = b.oneBefore.atLeast(0xC0) | b.twoBefore.atLeast(0xE0);
    if (!((mustContinue ^ continuations) | b.bytes.atLeast(0xF0)).isAscii()) return nullptr;
    // The last byte of a character is one after which none must continue, and none does.
    const B goesOn = b.bytes.atLeast(0xC0) | b.oneBefore.atLeast(0xE0) | b.oneAfter.continuations();
    // The top bit of a continuation byte is the only one of its first two that is set.
    const B lowSix = b.bytes & every(0x7F);
    const B nextSix = b.oneBefore & every(0x3F) & continuations;
    const B topFour = b.twoBefore & b.twoBefore.maskFrom(0xE0);
    const B low = lowSix | (nextSix.unitsLeft(6) & every(0xC0));
    const B high = (nextSix.unitsRight(2) & every(0x0F)) | (topFour.unitsLeft(4) & every(0xF0));
    const std::uint32_t wanted = ~goesOn.bits() >> dropped << dropped;
    return Picker<B>::units(B::firstUnits(low, high), B::lastUnits(low, high), wanted, to);
}

// Whether the bytes before `p` leave a character unfinished, which a block would go on with.
template <class B>
inline bool startsUnfinished(const char* begin, const char* p) {
    return (p - begin >= 1 && byteAt(p - 1) >= 0xC0) || (p - begin >= 2 && byteAt(p - 2) >= 0xE0);
}

// Converts text from the start of a character: up to its first fault, its end or the end of the buffer. Moves `p` to
// the start of the first character that is not converted. Returns: the number of units.
// Requires: `p` is where the text begins, or at least two bytes after; from `begin` to `e` are at least a block and two
// bytes.
template <class B>
inline std::size_t decodeMixed(const char* begin, const char*& p, const char* e, utf16_t* converted) {
    constexpr int kMost = kConvertedSize / 2;
    if (startsUnfinished<B>(begin, p)) return 0;
    const char* const from = p;
    utf16_t* to = converted;
    utf16_t* next;
    if (p == begin) {
        const B bytes = B::load(p);
        next = decodeBlock<B>({bytes, bytes.afterOneZero(), bytes.afterTwoZeros(), B::load(p + 1)}, 0, to);
        if (!next) return 0;
        to = next;
        p += B::kSize;
    }
    for (; e - p > B::kSize && to - converted <= kMost - B::kSize; p += B::kSize) {
        next = decodeBlock<B>({B::load(p), B::load(p - 1), B::load(p - 2), B::load(p + 1)}, 0, to);
        if (!next) break;
        to = next;
    }
    if (p < e && e - p <= B::kSize && to - converted <= kMost - B::kSize) {
        // The last block may overlap the one before. What it leaves unfinished is left over.
        const char* const last = e - B::kSize;
        const B bytes = B::load(last);
        next = decodeBlock<B>({bytes, B::load(last - 1), B::load(last - 2), bytes.beforeOneZero()}, p - last, to);
        if (next) {
            to = next;
            p = unfinished<B>(e);
            return static_cast<std::size_t>(to - converted);
        }
    }
    if (p != from) {
        if (continues(p)) {
            while (continues(p)) --p;
        } else {
            p = unfinished<B>(p);
        }
    }
    return static_cast<std::size_t>(to - converted);
}

// Converts a block of units. Writes up to twice the block's size. Returns: after the last byte.
template <class B>
inline char* encodeBlock(const utf16_t* units, char* to) {
    const auto every = [](int unit) { return B::allUnits(unit); };
    const B c = loadUnits<B>(units);
    if (c.unitsAreAscii()) {
        B::packed(c, c).store(to);
        return to + B::kSize / 2;
    }
    const B one = c.unitsUpTo(0x7F), upToTwo = c.unitsUpTo(0x7FF);
    const B last = (one & c) | ((c & every(0x3F)) | every(0x80)).butNot(one);
    const B nextSix = c.unitsRight(6);
    const B middle = (upToTwo & (nextSix | every(0xC0))) | ((nextSix & every(0x3F)) | every(0x80)).butNot(upToTwo);
    const B firstTwo = c.unitsRight(12) | every(0xE0) | middle.unitsLeft(8);
    return Picker<B>::bytes(B::firstLanes(firstTwo, last), B::lastLanes(firstTwo, last), ~B::bitsOfUnits(one, upToTwo),
                            to);
}

// The same for UTF-16: up to the end of the text or of the buffer.
template <class B>
inline std::size_t encodeMixed(const utf16_t*& units, std::size_t& n, char* converted) {
    constexpr std::size_t kUnits = B::kSize / 2;
    char* to = converted;
    for (; n >= kUnits; units += kUnits, n -= kUnits) {
        if (to - converted > kConvertedSize - 2 * B::kSize) return static_cast<std::size_t>(to - converted);
        to = encodeBlock<B>(units, to);
    }
    if (n > 0 && to - converted <= kConvertedSize - 2 * B::kSize) {
        utf16_t copy[kUnits] = {};
        std::memcpy(copy, units, n * sizeof *units);
        to = encodeBlock<B>(copy, to) - (kUnits - n);
        units += n;
        n = 0;
    }
    return static_cast<std::size_t>(to - converted);
}

#endif

// Whether there are instructions for mixed text.
template <class B>
inline constexpr bool kConvertsMixed = !std::is_same_v<B, PortableBlock>;

template <class B>
void utf8ToUtf16(const char* b, const char* e, utf16_t* d, const utf16_t* de) {
    constexpr auto kSize = static_cast<std::size_t>(B::kSize);
    std::size_t room = unitCount(d, de);
    const char* const begin = b;
    const bool isLong = e - b >= B::kSize + 2;
    while (b < e && room > 0) {
        while (e - b >= B::kSize && room >= kSize) {
            const B bytes = B::load(b);
            if (!bytes.isAscii()) break;
            bytes.storeUnits(reinterpret_cast<char*>(d));
            b += kSize, d += kSize, room -= kSize;
        }
        if constexpr (kConvertsMixed<B>) {
            if (!isLong) {
                plainToUtf16(b, e, d, d + room);
                return;
            }
            if (b < e) {
                utf16_t converted[kConvertedSize / 2];
                const std::size_t n = decodeMixed<B>(begin, b, e, converted);
                std::memcpy(d, converted, (n < room ? n : room) * sizeof *d);
                if (n >= room) return;
                d += n, room -= n;
                if (n > kConvertedSize / 2 - kSize) continue;
            }
        }
        const char* const plainEnd = b + kSize;  // one by one, where a block is malformed
        for (; b < e && b < plainEnd && room > 0; ++d, --room) b = decode(*d, b, e);
    }
}

template <class B>
void utf16ToUtf8(const utf16_t* units, const utf16_t* e, char* d, const char* de) {
    constexpr auto kUnits = static_cast<std::size_t>(B::kSize);
    std::size_t n = unitCount(units, e);
    while (n > 0 && d < de) {
        for (; n >= kUnits && de - d >= B::kSize; units += kUnits, n -= kUnits, d += kUnits) {
            const B low = loadUnits<B>(units), high = loadUnits<B>(units + kUnits / 2);
            if (!(low | high).unitsAreAscii()) break;
            B::packed(low, high).store(d);
        }
        if constexpr (kConvertsMixed<B>) {
            char converted[kConvertedSize];
            const std::size_t size = encodeMixed<B>(units, n, converted);
            const auto room = static_cast<std::size_t>(de - d);
            std::memcpy(d, converted, size < room ? size : room);
            if (size >= room) return;
            d += size;
        } else {
            for (std::size_t i = 0; i < kUnits && n > 0 && d < de; ++i, ++units, --n) d = encode(*units, d, de);
        }
    }
}

}  // namespace velmora::detail

#endif
