#include <velmora/serial/bag.h>

#include <algorithm>
#include <cassert>
#include <climits>
#include <cstring>
#include <new>

#include <velmora/text/charvector.h>

namespace {

// Where `n` bytes at `start` end. A believed length may have put `start` or the size of a content below 0.
int endBehind(int start, int n) {
    if (start < 0 || n < 0 || start > INT_MAX - n) throw Bag::Exception();
    return start + n;
}

}  // namespace

Bag::Bag(const void* src, int n) : Bag() {
    putData(src, n);
    cursor = 0;
}

Bag::Bag(const Bag& s) : Bag() {
    if (s.size == 0) return;
    data = new char[s.size];
    std::memcpy(data, s.data, static_cast<std::size_t>(s.size));
    bufferSize = size = s.size;
    cursor = s.cursor;
}

void Bag::operator=(const Bag& s) {
    if (this == &s) return;
    truncate();
    clear();
    Bag copy(s);
    stealFrom(copy);
}

void Bag::clear() {
    if (!data) return;
    delete[] data;
    data = nullptr;
    bufferSize = cursor = size = 0;
}

void Bag::truncateTo(int n) {
    if (n > size) throw Exception();
    size = n;
    if (cursor > n) cursor = n;
}

char* Bag::steal(int& outSize) {
    outSize = size;
    if (size == 0) clear();
    char* block = data;
    data = nullptr;
    bufferSize = cursor = size = 0;
    return block;
}

void Bag::stealFrom(Bag& src) {
    if (this == &src) return;
    delete[] data;
    data = src.data;
    bufferSize = src.bufferSize;
    cursor = src.cursor;
    size = src.size;
    src.data = nullptr;
    src.bufferSize = src.cursor = src.size = 0;
}

void Bag::stealFrom(char* block, int newSize, int allocated) {
    delete[] data;
    data = block;
    size = newSize;
    bufferSize = allocated < 0 ? newSize : allocated;
    cursor = 0;
}

bool Bag::operator==(const Bag& s) const {
    return size == s.size && (size <= 0 || std::memcmp(data, s.data, static_cast<std::size_t>(size)) == 0);
}

// Whether `n` bytes of content stand at the cursor, which may be anywhere.
bool Bag::readable(int n) const { return n >= 0 && cursor >= 0 && n <= static_cast<std::int64_t>(size) - cursor; }

// In unsigned arithmetic: a believed length may have put the cursor anywhere.
void Bag::align(int to) {
    if (to > 1)
        cursor = static_cast<int>((static_cast<unsigned>(cursor) + static_cast<unsigned>(to) - 1) &
                                  -static_cast<unsigned>(to));
}

void Bag::putData(const void* src, int n) {
    char* p = putDataPtr(n);
    if (n != 0) std::memcpy(p, src, static_cast<std::size_t>(n));
}

char* Bag::putDataPtr(int n) {
    expand(endBehind(cursor, n));
    cursor += n;
    size = cursor;
    return data + cursor - n;
}

void Bag::getData(void* dst, int n) {
    const char* p = getDataPtr(n);
    if (n != 0) std::memcpy(dst, p, static_cast<std::size_t>(n));
}

char* Bag::getDataPtr(int n) {
    if (!readable(n)) throw Exception();
    cursor += n;
    return data + cursor - n;
}

void Bag::putDataAligned(const void* src, int n, int alignment) {
    char* p = putDataPtrAligned(n, alignment);
    if (n != 0) std::memcpy(p, src, static_cast<std::size_t>(n));
}

char* Bag::putDataPtrAligned(int n, int alignment) {
    align(alignment);
    const int start = cursor;
    cursor = endBehind(start, n);
    expand(cursor);
    const int gap = std::max(size, 0);
    if (gap < start) {
        assert(data);
        std::memset(data + gap, 0, static_cast<std::size_t>(start - gap));
    }
    size = cursor;
    return data + start;
}

void Bag::getDataAligned(void* dst, int n, int alignment) {
    align(alignment);
    getData(dst, n);
}

char* Bag::getDataPtrAligned(int n, int alignment) {
    align(alignment);
    return getDataPtr(n);
}

void* Bag::insSpace(int at, int n) {
    assert(at >= 0 && at <= size && n >= 0);
    if (n == 0) return data + at;
    expand(endBehind(size, n));
    assert(data);
    if (at != size) std::memmove(data + at + n, data + at, static_cast<std::size_t>(size - at));
    size += n;
    if (at <= cursor) cursor += n;
    return data + at;
}

void Bag::delSpace(int at, int n) {
    if (n == 0) return;
    std::int64_t rest = static_cast<std::int64_t>(size) - at - n;
    if (rest < 0 || n < 0) throw Exception();
    assert(at >= 0);
    if (rest != 0) std::memmove(data + at, data + at + n, static_cast<std::size_t>(rest));
    size -= n;
    if (at <= cursor) cursor -= n;
}

void Bag::expand(int n) {
    if (n <= bufferSize) return;
    int capacity = memory_recommend(n);
    if (capacity < 0) throw Exception();
    setBufferSize(capacity);
}

void Bag::reserve(int n) {
    const std::int64_t end = std::int64_t{cursor} + n;
    if (end > INT_MAX) throw Exception();
    if (end > bufferSize) expand(static_cast<int>(end));
}

void Bag::setBufferSize(int n) {
    if (bufferSize == n) return;
    if (n == 0) {
        clear();
        return;
    }
    if (n < 0) throw std::bad_array_new_length();
    char* block = new char[n];
    if (data) std::memcpy(block, data, static_cast<std::size_t>(std::min(bufferSize, n)));
    delete[] data;
    data = block;
    bufferSize = n;
    size = std::min(size, n);
}

int Bag::markBeginOfBlock() {
    putLong(0);
    return cursor;
}

void Bag::markEndOfBlock(int mark) {
    int length = cursor - mark;
    std::memcpy(data + mark - sizeof length, &length, sizeof length);
}

int Bag::beginBlock() {
    int length = getLong();
    if (length > static_cast<std::int64_t>(size) - cursor) throw Exception();
    int savedSize = size;
    size = cursor + length;
    return savedSize;
}

void Bag::endBlock(int savedSize) {
    if (cursor != size) throw Exception();
    size = savedSize;
}

void Bag::passBlock(int savedSize) {
    cursor = size;
    size = savedSize;
}
