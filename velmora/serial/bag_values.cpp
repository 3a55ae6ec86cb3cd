// The wire form of every value. Fixed-width values are their memory image, aligned to their width; docs/bag-format.md
// draws them all.
#include <algorithm>
#include <bit>
#include <cstdarg>
#include <cstring>

#include <velmora/containers/vectors.h>
#include <velmora/serial/bag.h>
#include <velmora/serial/bag_parts.h>
#include <velmora/text/charr.h>
#include <velmora/text/charvector.h>
#include <velmora/text/formatting.h>

static_assert(std::endian::native == std::endian::little, "values go out as they lie in memory");

namespace {

using velmora::detail::BagEnd;
using velmora::detail::BagHead;
using velmora::detail::putParts;

std::int64_t lengthOf(const char* s) { return static_cast<std::int64_t>(std::strlen(s)); }

}  // namespace

// As it was found, where that can be returned. To Clang a bool of another byte than 0 and 1 is undefined.
bool Bag::getBool() {
#ifdef __clang__
    return getChar() != 0;
#else
    return std::bit_cast<bool>(getChar());
#endif
}

void Bag::putTextSlowly(const char* s, std::size_t n) {
    putParts(*this, BagHead(), s, static_cast<std::int64_t>(n), BagEnd::Terminated);
}

void Bag::putString(const CharVector& s) { putParts(*this, BagHead(), s.data, s.count, BagEnd::Terminated); }

void Bag::putFormatStringNZ(const char* format, ...) {
    va_list args;
    va_start(args, format);
    velmora::detail::FormattedText text(format, args);
    va_end(args);
    putData(text.begin(), static_cast<int>(text.size()));
}

Bag& Bag::operator>>(ChArr& s) {
    s = getStringAsPair();
    return *this;
}

Bag& Bag::operator>>(CharVector& s) {
    s = getStringAsPair();
    return *this;
}

Bag& Bag::operator<<(const ChArr& s) { return *this << static_cast<const char*>(s.data); }

Bag& Bag::operator<<(const ChPair& s) {
    const int length = velmora::detail::bagCount(s.end - s.begin);
    putParts(*this, BagHead(length), s.begin, length, BagEnd::Bare);
    return *this;
}

Bag& Bag::operator>>(ChPair& s) {
    int length = getLong();
    s.begin = ptr();
    s.end = s.begin + length;
    // The length is believed; in unsigned arithmetic, so that a corrupt one wraps the cursor and is not undefined.
    cursor = static_cast<int>(static_cast<unsigned>(cursor) + static_cast<unsigned>(length));
    return *this;
}

Bag& Bag::operator<<(const Bag& inner) {
    const int length = std::max(inner.size, 0);
    putParts(*this, BagHead(length), inner.data, length, BagEnd::Bare);
    return *this;
}

Bag& Bag::operator>>(Bag& inner) {
    inner.truncate();
    int length = getLong();
    if (length == 0) return *this;
    inner.putData(getDataPtr(length), length);
    inner.cursor = 0;
    return *this;
}

Bag& Bag::operator<<(const StringVector<char>& v) {
    putLong(v.count);
    for (const char* item : v) {
        if (!item) {
            putLong(0);
            continue;
        }
        const std::int64_t length = lengthOf(item);
        putParts(*this, BagHead(velmora::detail::bagCount(length + 1)), item, length, BagEnd::Bare);
    }
    return *this;
}

Bag& Bag::operator>>(StringVector<char>& v) {
    unsigned count = getULong();
    v.removeAll();
    for (unsigned i = 0; i < count; ++i) {
        unsigned field = getULong();
        if (field == 0) {
            v.append_steal(nullptr);
            continue;
        }
        auto length = static_cast<int>(field - 1);
        v.append(getDataPtr(length), length);
    }
    return *this;
}
