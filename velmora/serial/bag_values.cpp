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

// Through memcpy: the block's own alignment is not the values'.
template <class T>
void put(Bag& bag, T v) {
    std::memcpy(bag.putDataPtrAligned(sizeof v), &v, sizeof v);
}

template <class T>
T get(Bag& bag) {
    T v;
    std::memcpy(&v, bag.getDataPtrAligned(sizeof v), sizeof v);
    return v;
}

std::int64_t lengthOf(const char* s) { return static_cast<std::int64_t>(std::strlen(s)); }

}  // namespace

void Bag::putChar(char v) { *putDataPtr(1) = v; }
void Bag::putShort(short v) { put(*this, v); }
void Bag::putLong(int v) { put(*this, v); }
void Bag::putLongLong(std::int64_t v) { put(*this, v); }
void Bag::putDouble(double v) { put(*this, v); }

char Bag::getChar() { return *getDataPtr(1); }
short Bag::getShort() { return get<short>(*this); }
int Bag::getLong() { return get<int>(*this); }
std::int64_t Bag::getLongLong() { return get<std::int64_t>(*this); }
double Bag::getDouble() { return get<double>(*this); }

// As it was found, where that can be returned. To Clang a bool of another byte than 0 and 1 is undefined.
bool Bag::getBool() {
#ifdef __clang__
    return getChar() != 0;
#else
    return std::bit_cast<bool>(getChar());
#endif
}

Bag& Bag::operator>>(bool& v) {
    char byte = getChar();
    std::memcpy(&v, &byte, 1);
    return *this;
}

void Bag::putString(const char* s) {
    if (!s) s = empty_string;
    putParts(*this, BagHead(), s, lengthOf(s), BagEnd::Terminated);
}

void Bag::putString(const CharVector& s) { putParts(*this, BagHead(), s.data, s.count, BagEnd::Terminated); }

void Bag::putFormatStringNZ(const char* format, ...) {
    va_list args;
    va_start(args, format);
    velmora::detail::FormattedText text(format, args);
    va_end(args);
    putData(text.begin(), static_cast<int>(text.size()));
}

ChPair Bag::getStringAsPair() {
    if (!readable(0)) throw Exception();
    char* begin = ptr();
    const void* zero = cursor == size ? nullptr : std::memchr(begin, 0, static_cast<std::size_t>(size - cursor));
    if (!zero) throw Exception();
    ChPair text(begin, static_cast<const char*>(zero));
    cursor += text.len() + 1;
    return text;
}

void Bag::getString(std::string& out) {
    ChPair text = getStringAsPair();
    out.assign(text.begin, text.end);
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
