// A growing block of bytes with one cursor, for writing and reading. The usual life: write from the start,
// toBegin(), read to the end with the same sequence of calls. Nothing in the block tells a type or a name.
//
//     Bag bag;
//     bag << 7 << "seven";
//     bag.toBegin();
//     int number; const char* text;
//     bag >> number >> text;
//
// Values are little-endian; short, int, 64-bit and double values are aligned to their width, counted from the start
// of the content. Every write ends with size = cursor: writing in the middle cuts off what lay after it. A write with
// the cursor after the end leaves a gap in between, whose bytes are uninitialised; only aligned writes clear it.
// An argument may be a part of the same Bag: the result is as if it had been copied first.
// Failure: a read of what is not there throws Bag::Exception, and the content is as it was. So does a negative count, a
// read or write with the cursor below 0, and content beyond 1 GiB, which changes nothing. Memory that runs out is
// std::bad_alloc; an aligned write has then moved the cursor to its end. A negative size, which the length of a corrupt
// block can lead to, counts as 0.
// Lifetime: a pointer into the block dies with the next growth, pack, clear or destruction.
#ifndef VELMORA_SERIAL_BAG_H
#define VELMORA_SERIAL_BAG_H

#include <cstdint>
#include <cstring>
#include <string>

#include <velmora/base.h>
#include <velmora/text/chpair.h>

class ChArr;
class CharVector;
class MLDoc;
template <class T>
class StringVector;

namespace velmora::detail {
// A count of bytes as an int. Throws: Bag::Exception when it is none.
inline int bagCount(std::int64_t n);
}  // namespace velmora::detail

// A time in a Bag. Warning: the wire holds the low 32 bits, which come back as an unsigned number.
class VELMORA_API BagTime {
public:
    std::int64_t value;  // seconds since 1970

    BagTime() : value(0) {}
    BagTime(std::int64_t seconds) : value(seconds) {}
};

class VELMORA_API Bag {
public:
    // What every failed operation throws. It says no more than that.
    struct VELMORA_API Exception {};

    char* data;      // owned block, from new[]; null when nothing is allocated
    int bufferSize;  // bytes allocated
    int cursor;      // place of the next read or write; not checked where it is set
    int size;        // bytes of content

    Bag() : data(nullptr), bufferSize(0), cursor(0), size(0) {}
    Bag(const void* src, int n);  // a copy of `n` bytes, cursor 0
    Bag(const Bag& s);            // a block of the exact size, the cursor copied; all zero from an empty source
    ~Bag() { delete[] data; }
    void operator=(const Bag& s);

    // Releases the block; empties and keeps the block; cuts the content. Throws: for `n` above the size. Warning: a
    // negative `n` is not refused.
    void clear();
    void truncate() { cursor = size = 0; }
    void truncateTo(int n);

    // Hands out the block, null when there is no content. Owns: the caller, by delete[].
    char* steal(int& outSize);
    // Takes the other's block and fields without a copy.
    void stealFrom(Bag& src);
    // Takes a block from new[], with the cursor at 0. A negative `allocated` means the size.
    void stealFrom(char* block, int newSize, int allocated = -1);
    // Takes the text that a document has loaded.
    void stealFrom(MLDoc& doc);

    // Equal content; cursors play no part.
    bool operator==(const Bag& s) const;
    bool operator!=(const Bag& s) const { return !(*this == s); }
    operator ChPair() const noexcept { return ChPair(data, isEmpty() ? data : data + size); }

    char* getData() const { return data; }
    int getSize() const { return size; }
    int getBufferSize() const { return bufferSize; }
    bool empty() const { return size <= 0; }
    bool isEmpty() const { return size <= 0; }

    int tell() const { return cursor; }
    char* ptr() const { return data + cursor; }
    // Set the cursor, unchecked; it may end below 0 or after the content.
    void to(int n) { cursor = n; }
    void pass(int n) { cursor += n; }
    void back(int n) { cursor -= n; }
    void toBegin() { cursor = 0; }
    void toEnd() { cursor = size; }
    bool end() const { return cursor >= size; }
    // Negative when the cursor lies beyond the content.
    int getRestSize() const { return static_cast<int>(static_cast<unsigned>(size) - static_cast<unsigned>(cursor)); }

    // Raw bytes at the cursor. The pointer forms give the place in the block, for the caller to fill or to read. A gap
    // that a write leaves between the content and the cursor is uninitialised.
    void putData(const void* src, int n) {
        if (n <= 0 || !holds(place() + static_cast<std::size_t>(n))) return putDataSlowly(src, n);
        const std::size_t from = place();
        std::memmove(data + from, src, static_cast<std::size_t>(n));
        endAt(from + static_cast<std::size_t>(n));
    }
    char* putDataPtr(int n);
    void getData(void* dst, int n);
    char* getDataPtr(int n);

    // The same at the next multiple of `align`, a power of two. A gap at the end of the content is written as zeros.
    // After a failed read the cursor stays aligned.
    void putDataAligned(const void* src, int n, int align);
    char* putDataPtrAligned(int n, int align);
    char* putDataPtrAligned(int n) { return putDataPtrAligned(n, n); }
    void getDataAligned(void* dst, int n, int align);
    char* getDataPtrAligned(int n, int align);
    char* getDataPtrAligned(int n) { return getDataPtrAligned(n, n); }

    // Opens `n` bytes at `at`, uncleared; a cursor at or after `at` moves along. No bytes change nothing, whatever
    // `at`.
    // Requires: 0 <= at <= size unless `n` is 0. Returns: data + at. Throws: for a negative `n`.
    void* insSpace(int at, int n);
    // Removes `n` bytes at `at`. Warning: a cursor at or behind `at` moves back by all of `n`, even below 0.
    // Requires: at >= 0. Throws: when the range leads behind the content, and for a negative `n`.
    void delSpace(int at, int n);

    // Make the block hold `n` bytes; `n` bytes from the cursor on; exactly `n` bytes; exactly the content.
    // A block of 0 bytes is released, and the cursor goes to 0. Throws: std::bad_array_new_length for exactly a
    // negative number of bytes.
    void expand(int n);
    void reserve(int n);
    void setBufferSize(int n);
    void pack() { setBufferSize(size); }

    // A block is a 32-bit length and that many bytes. Writing: keep the mark that the first gives, write, pass it to
    // the second. Marks nest.
    int markBeginOfBlock();
    void markEndOfBlock(int mark);
    // Reading: beginBlock narrows the content to the block and gives the size to restore. endBlock throws unless
    // all of the block was read; passBlock skips what was not.
    int beginBlock();
    void endBlock(int savedSize);
    void passBlock(int savedSize);

    void putChar(char v) {
        const std::size_t from = place();
        if (!holds(from + 1)) {
            *putDataPtr(1) = v;
            return;
        }
        data[from] = v;
        endAt(from + 1);
    }
    void putUChar(unsigned char v) { putChar(static_cast<char>(v)); }
    void putBool(bool v) { putChar(static_cast<char>(v)); }
    void putShort(short v) { putValue(v); }
    void putUShort(unsigned short v) { putShort(static_cast<short>(v)); }
    void putLong(int v) { putValue(v); }  // 32 bits
    void putULong(unsigned v) { putLong(static_cast<int>(v)); }
    void putLongLong(std::int64_t v) { putValue(v); }
    void putULongLong(std::uint64_t v) { putLongLong(static_cast<std::int64_t>(v)); }
    void putDouble(double v) { putValue(v); }

    char getChar() { return getValue<char>(); }
    unsigned char getUChar() { return static_cast<unsigned char>(getChar()); }
    // Warning: the byte as it was found; one that is neither 0 nor 1 makes a bool that is neither, or true in a library
    // built by Clang. For bytes from outside take getChar() != 0.
    bool getBool();
    short getShort() { return getValue<short>(); }
    unsigned short getUShort() { return static_cast<unsigned short>(getShort()); }
    int getLong() { return getValue<int>(); }  // 32 bits
    unsigned getULong() { return static_cast<unsigned>(getLong()); }
    std::int64_t getLongLong() { return getValue<std::int64_t>(); }
    std::uint64_t getULongLong() { return static_cast<std::uint64_t>(getLongLong()); }
    double getDouble() { return getValue<double>(); }

    // Text with a terminator behind it; null is empty. Warning: a std::string with a zero byte inside goes out whole
    // and reads back as two things.
    void putString(const char* s) {
        if (!s) s = "";
        putText(s, std::strlen(s));
    }
    void putString(const std::string& s) { putText(s.data(), s.size()); }
    void putString(const CharVector& s);
    // Text without a terminator; null is nothing.
    void putStringNZ(const char* s) { putStringNZ(ChPair(s)); }
    void putStringNZ(const std::string& s) {
        putData(s.data(), velmora::detail::bagCount(static_cast<std::int64_t>(s.size())));
    }
    void putStringNZ(const ChPair& s) { putData(s.begin, velmora::detail::bagCount(s.end - s.begin)); }
    void putStringNZ(const CharVector& s) { putStringNZ(ChPair(s)); }
    // By the rules of printf, without a terminator. Limit: 4,096 bytes.
    void putFormatStringNZ(const char* format, ...) VELMORA_PRINTF(2, 3);

    // Read a terminated text: a copy, or the place in the block.
    void getString(std::string& out) {
        const ChPair text = getStringAsPair();
        out.assign(text.begin, text.size());
    }
    char* getStringPtr() { return getStringAsPair().begin; }
    ChPair getStringAsPair() {
        const std::size_t from = place();
        if (static_cast<std::int64_t>(from) >= size) missing();
        char* const begin = data + from;
        const void* const zero = std::memchr(begin, 0, static_cast<unsigned>(size) - from);
        if (!zero) missing();
        cursor = static_cast<int>(static_cast<const char*>(zero) - data) + 1;
        return ChPair(begin, static_cast<const char*>(zero));
    }

    Bag& operator<<(char v) { return putChar(v), *this; }
    Bag& operator<<(unsigned char v) { return putUChar(v), *this; }
    Bag& operator<<(bool v) { return putBool(v), *this; }
    Bag& operator<<(short v) { return putShort(v), *this; }
    Bag& operator<<(unsigned short v) { return putUShort(v), *this; }
    Bag& operator<<(int v) { return putLong(v), *this; }
    Bag& operator<<(unsigned v) { return putULong(v), *this; }
    Bag& operator<<(std::int64_t v) { return putLongLong(v), *this; }
    Bag& operator<<(std::uint64_t v) { return putULongLong(v), *this; }
#ifdef VELMORA_LP64
    Bag& operator<<(long long v) { return putLongLong(v), *this; }
    Bag& operator<<(unsigned long long v) { return putULongLong(v), *this; }
#endif
    Bag& operator<<(double v) { return putDouble(v), *this; }
    Bag& operator<<(const BagTime& v) { return putLong(static_cast<int>(v.value)), *this; }
    // As putString.
    Bag& operator<<(const char* s) { return putString(s), *this; }
    Bag& operator<<(const ChArr& s);
    Bag& operator<<(const std::string& s) { return putString(s), *this; }
    Bag& operator<<(const CharVector& s) { return putString(s), *this; }
    // A 32-bit length and the bytes, without a terminator: not what a terminated reader reads.
    Bag& operator<<(const ChPair& s);
    // A 32-bit length and the content; the inner cursor does not travel.
    Bag& operator<<(const Bag& inner);
    // A 32-bit count, and per item a 32-bit field (0 for null, else length + 1) and the bytes.
    Bag& operator<<(const StringVector<char>& v);

    Bag& operator>>(char& v) { return v = getChar(), *this; }
    Bag& operator>>(unsigned char& v) { return v = getUChar(), *this; }
    Bag& operator>>(bool& v) {
        const char byte = getChar();
        std::memcpy(&v, &byte, 1);
        return *this;
    }
    Bag& operator>>(short& v) { return v = getShort(), *this; }
    Bag& operator>>(unsigned short& v) { return v = getUShort(), *this; }
    Bag& operator>>(int& v) { return v = getLong(), *this; }
    Bag& operator>>(unsigned& v) { return v = getULong(), *this; }
    Bag& operator>>(std::int64_t& v) { return v = getLongLong(), *this; }
    Bag& operator>>(std::uint64_t& v) { return v = getULongLong(), *this; }
#ifdef VELMORA_LP64
    Bag& operator>>(long long& v) { return v = getLongLong(), *this; }
    Bag& operator>>(unsigned long long& v) { return v = getULongLong(), *this; }
#endif
    Bag& operator>>(double& v) { return v = getDouble(), *this; }
    Bag& operator>>(BagTime& v) { return v.value = getULong(), *this; }
    // Terminated text, copied; the pointers are places in the block.
    Bag& operator>>(std::string& s) { return getString(s), *this; }
    Bag& operator>>(ChArr& s);
    Bag& operator>>(CharVector& s);
    Bag& operator>>(char*& s) { return s = getStringPtr(), *this; }
    Bag& operator>>(const char*& s) { return s = getStringPtr(), *this; }
    // Warning: believes the length that it reads. A corrupt one gives a view that leads outside the block, and a
    // cursor beyond it; for bytes from outside read a Bag instead.
    Bag& operator>>(ChPair& s);
    // The target is emptied before the read can fail; its cursor ends at 0.
    Bag& operator>>(Bag& inner);
    // Items that were read before a failure stay in the target.
    Bag& operator>>(StringVector<char>& v);

private:
    // Each writer and reader of one value does here what needs no growth, no throw and no gap but one that an alignment
    // leaves at the end of the content. The members that are not here do the rest.

    // The cursor without a sign: one below 0 is greater than every block.
    std::size_t place() const { return static_cast<unsigned>(cursor); }
    bool holds(std::size_t end) const { return static_cast<std::int64_t>(end) <= bufferSize; }
    // After the bytes are written: they may be the Bag's own fields to the compiler, which would read these again.
    void endAt(std::size_t end) { cursor = size = static_cast<int>(end); }

    template <class T>
    void putValue(T v) {
        const std::size_t from = place(), start = (from + sizeof v - 1) & ~(sizeof v - 1);
        if (cursor != size || !holds(start + sizeof v)) {
            std::memcpy(putDataPtrAligned(sizeof v), &v, sizeof v);
            return;
        }
        char* const block = data;
        std::memset(block + from, 0, sizeof v);  // the gap, and at most what the value covers
        std::memcpy(block + start, &v, sizeof v);
        endAt(start + sizeof v);
    }
    template <class T>
    T getValue() {
        T v;
        const std::size_t start = (place() + sizeof v - 1) & ~(sizeof v - 1);
        if (static_cast<std::int64_t>(start + sizeof v) > size) {
            std::memcpy(&v, getDataPtrAligned(sizeof v), sizeof v);
            return v;
        }
        std::memcpy(&v, data + start, sizeof v);
        cursor = static_cast<int>(start + sizeof v);
        return v;
    }
    // Text and a terminator.
    void putText(const char* s, std::size_t n) {
        const std::size_t from = place();
        if (!holds(from + n + 1)) return putTextSlowly(s, n);
        char* const block = data;
        std::memmove(block + from, s, n);
        block[from + n] = 0;
        endAt(from + n + 1);
    }
    void putDataSlowly(const void* src, int n);
    void putTextSlowly(const char* s, std::size_t n);
    [[noreturn]] static void missing();
    bool readable(int n) const;
    void align(int to);
};

inline int velmora::detail::bagCount(std::int64_t n) {
    if (n < 0 || n > 0x7FFFFFFF) throw Bag::Exception();
    return static_cast<int>(n);
}

#endif
