#include <velmora/serial/bag.h>

#include <algorithm>
#include <cassert>
#include <climits>
#include <cstring>
#include <new>

#include <velmora/serial/bag_parts.h>
#include <velmora/text/charvector.h>
#include <velmora/text/overlap.h>

namespace {

using velmora::detail::liesIn;

// Where `n` bytes at `start` end. A believed length may have put `start` or the size of a content below 0.
int endBehind(int start, std::int64_t n) {
    if (start < 0 || n < 0 || n > INT_MAX - start) throw Bag::Exception();
    return start + static_cast<int>(n);
}

// In unsigned arithmetic: a cursor may stand anywhere. Beyond the greatest number the result is below 0.
int alignUp(int n, int to) {
    if (to <= 1) return n;
    return static_cast<int>((static_cast<unsigned>(n) + static_cast<unsigned>(to) - 1) & -static_cast<unsigned>(to));
}

// Where an aligned write at the cursor starts.
int alignedStart(const Bag& bag, int alignment) {
    if (bag.cursor < 0) throw Bag::Exception();
    return alignUp(bag.cursor, alignment);
}

int capacityFor(int n) {
    if (n > velmora::detail::kMostCapacity) throw Bag::Exception();
    return memory_recommend(n);
}

// Returns: where `src` is in the greater block. The whole block moves, so what lies in it moves along.
const void* growBeside(Bag& bag, int capacity, const void* src) {
    const bool inside = liesIn(src, bag.data, bag.bufferSize);
    const std::ptrdiff_t place = inside ? static_cast<const char*>(src) - bag.data : 0;
    bag.setBufferSize(capacity);
    return inside ? bag.data + place : src;
}

// The bytes between the content and an aligned start.
void clearGap(Bag& bag, int start) {
    const int gap = std::max(bag.size, 0);
    if (gap < start) std::memset(bag.data + gap, 0, static_cast<std::size_t>(start - gap));
}

// The place `at`, which may lie anywhere and without a block.
void* placeOf(char* data, int at) {
    return reinterpret_cast<void*>(reinterpret_cast<std::uintptr_t>(data) +
                                   static_cast<std::uintptr_t>(static_cast<std::intptr_t>(at)));
}

void move(char* to, const void* from, int n) {
    if (n == 0) return;
    assert(to);
    std::memmove(to, from, static_cast<std::size_t>(n));
}

}  // namespace

namespace velmora::detail {

void putParts(Bag& bag, const BagHead& head, const void* src, std::int64_t n, BagEnd end) {
    const int start = head.size() != 0 ? alignedStart(bag, sizeof(std::int32_t)) : bag.cursor;
    const int place = endBehind(start, head.size());
    const int stop = endBehind(place, bagCount(n));
    const int last = end == BagEnd::Terminated ? endBehind(stop, 1) : stop;
    if (last > bag.bufferSize) src = growBeside(bag, capacityFor(last), src);
    // Before anything else is written: that may be where `src` lies.
    move(bag.data + place, src, static_cast<int>(n));
    if (head.size() != 0) {
        clearGap(bag, start);
        head.put(bag.data + start);
    }
    if (last != stop) {
        assert(bag.data);
        bag.data[stop] = 0;
    }
    bag.cursor = bag.size = last;
}

}  // namespace velmora::detail

Bag::Bag(const void* src, int n) : Bag() {
    putData(src, n);
    cursor = 0;
}

Bag::Bag(const Bag& s) : Bag() {
    if (s.size <= 0) return;
    data = new char[static_cast<std::size_t>(s.size)];
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
    outSize = std::max(size, 0);
    if (outSize == 0) clear();
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
    if (block != data) delete[] data;
    data = block;
    size = newSize;
    bufferSize = allocated < 0 ? newSize : allocated;
    cursor = 0;
}

bool Bag::operator==(const Bag& s) const {
    if (size <= 0 || s.size <= 0) return size <= 0 && s.size <= 0;
    return size == s.size && std::memcmp(data, s.data, static_cast<std::size_t>(size)) == 0;
}

void Bag::missing() { throw Exception(); }

// Whether `n` bytes of content stand at the cursor, which may be anywhere.
bool Bag::readable(int n) const { return n >= 0 && cursor >= 0 && n <= static_cast<std::int64_t>(size) - cursor; }

void Bag::align(int to) { cursor = alignUp(cursor, to); }

void Bag::putDataSlowly(const void* src, int n) {
    const int end = endBehind(cursor, n);
    if (end > bufferSize) src = growBeside(*this, capacityFor(end), src);
    move(data + cursor, src, n);
    cursor = size = end;
}

char* Bag::putDataPtr(int n) {
    expand(endBehind(cursor, n));
    cursor += n;
    size = cursor;
    return data + cursor - n;
}

void Bag::getData(void* dst, int n) { move(static_cast<char*>(dst), getDataPtr(n), n); }

char* Bag::getDataPtr(int n) {
    if (!readable(n)) throw Exception();
    cursor += n;
    return data + cursor - n;
}

// The cursor moves before memory is asked for, and stays there without it.
void Bag::putDataAligned(const void* src, int n, int alignment) {
    const int start = alignedStart(*this, alignment);
    const int end = endBehind(start, n);
    if (end > bufferSize) {
        const int capacity = capacityFor(end);
        cursor = end;
        src = growBeside(*this, capacity, src);
    }
    move(data + start, src, n);  // before the gap is cleared: that may be where `src` lies
    clearGap(*this, start);
    cursor = size = end;
}

char* Bag::putDataPtrAligned(int n, int alignment) {
    const int start = alignedStart(*this, alignment);
    const int end = endBehind(start, n);
    if (end > bufferSize) {
        const int capacity = capacityFor(end);
        cursor = end;
        setBufferSize(capacity);
    }
    clearGap(*this, start);
    cursor = size = end;
    return data + start;
}

void Bag::getDataAligned(void* dst, int n, int alignment) {
    move(static_cast<char*>(dst), getDataPtrAligned(n, alignment), n);
}

char* Bag::getDataPtrAligned(int n, int alignment) {
    const bool below = cursor < 0;
    align(alignment);
    if (below) throw Exception();
    return getDataPtr(n);
}

void* Bag::insSpace(int at, int n) {
    if (n < 0) throw Exception();
    if (n == 0) return placeOf(data, at);
    assert(at >= 0 && at <= size);
    const bool moves = at <= cursor;
    const int newSize = endBehind(size, n), newCursor = moves ? endBehind(cursor, n) : cursor;
    expand(newSize);
    assert(data);
    if (at != size) std::memmove(data + at + n, data + at, static_cast<std::size_t>(size - at));
    size = newSize;
    cursor = newCursor;
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
    if (n > bufferSize) setBufferSize(capacityFor(n));
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
