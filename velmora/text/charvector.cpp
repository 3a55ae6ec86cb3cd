#include <velmora/text/charvector.h>

#include <climits>
#include <new>

namespace {

constexpr int kSmallest = 16;
constexpr int kNext = 256;
constexpr int kPage = 4096;
constexpr int kLarge = 65536;

// Bytes of a text of `count` bytes and `n` more, with the terminator.
int roomFor(int count, std::size_t n) {
    if (n >= static_cast<std::size_t>(INT_MAX - count)) throw std::bad_alloc();
    return count + static_cast<int>(n) + 1;
}

// A block for `need` bytes, whose size goes to `capacity`.
char* newBlock(int need, int& capacity) {
    capacity = memory_recommend(need);
    return new char[static_cast<std::size_t>(capacity)];
}

}  // namespace

int memory_recommend(int size) {
    if (size <= kSmallest) return kSmallest;
    if (size > velmora::detail::kMostCapacity) throw std::bad_alloc();
    int capacity = size < kPage ? kNext : size < kLarge ? kPage : kLarge;
    while (capacity < size) capacity *= 2;
    return capacity;
}

void CharVector::init(const char* s, std::size_t n) {
    data = nullptr;
    count = allocateCount = 0;
    if (!s || n == 0) return;
    const int room = roomFor(0, n);
    data = strnew(s, n);
    count = room - 1;
    allocateCount = room;
}

CharVector& CharVector::operator=(const CharVector& s) {
    if (this == &s) return *this;
    clear();
    init(s.data, static_cast<std::size_t>(s.count));
    return *this;
}

CharVector& CharVector::operator=(const char* s) {
    assign(s, s ? std::strlen(s) : 0);
    return *this;
}

CharVector& CharVector::operator=(const ChPair& s) {
    assign(s.begin, s.size());
    return *this;
}

CharVector& CharVector::operator=(const ChArr& s) { return *this = static_cast<const char*>(s.data); }

CharVector& CharVector::operator=(const std::string& s) {
    assign(s.data(), s.size());
    return *this;
}

void CharVector::assign(const char* s, std::size_t n) {
    if (!s || n == 0) {
        clear();
        return;
    }
    if (data && n == static_cast<std::size_t>(count)) {
        std::memmove(data, s, n);
        return;
    }
    const int room = roomFor(0, n);
    char* text = strnew(s, n);
    delete[] data;
    data = text;
    count = room - 1;
    allocateCount = room;
}

// What append does not do at once: nothing, or into a greater block.
void CharVector::appendSlowly(const char* s, std::size_t n) {
    if (n == 0) return;
    int capacity;
    char* text = newBlock(roomFor(count, n), capacity);
    if (count != 0) std::memcpy(text, data, static_cast<std::size_t>(count));
    std::memcpy(text + count, s, n);  // before the old text goes: `s` may lie in it
    delete[] data;
    data = text;
    allocateCount = capacity;
    count += static_cast<int>(n);
    data[count] = 0;
}

void CharVector::appendSlowly(char c) { appendSlowly(&c, 1); }

void CharVector::clear() {
    delete[] data;
    data = nullptr;
    count = allocateCount = 0;
}

void CharVector::truncate() {
    if (count != 0) cutTo(0);
}

void CharVector::cutTo(int n) {
    if (n < 0 || count <= n) return;
    count = n;
    data[n] = 0;
}

char* CharVector::prepare(int n) {
    if (n <= 0) return data;
    if (allocateCount <= n) {
        const int need = roomFor(0, static_cast<std::size_t>(n));
        char* text = new char[static_cast<std::size_t>(need)];
        delete[] data;
        data = text;
        allocateCount = need;
    }
    count = n;
    data[n] = 0;
    return data;
}

char* CharVector::insert(int pos, int n) {
    if (n <= 0 || pos < 0 || pos > count) return nullptr;
    auto tail = static_cast<std::size_t>(count - pos);
    const int need = roomFor(count, static_cast<std::size_t>(n));
    if (need > allocateCount) {
        int capacity;
        char* text = newBlock(need, capacity);
        if (pos != 0) std::memcpy(text, data, static_cast<std::size_t>(pos));
        if (tail != 0) std::memcpy(text + pos + n, data + pos, tail);
        delete[] data;
        data = text;
        allocateCount = capacity;
    } else if (pos != count) {
        // Downwards, over the gap that should open: callers were written against this.
        std::memmove(data + pos, data + pos + n, tail);
    }
    count += n;
    data[count] = 0;
    return data + pos;
}

void CharVector::remove(int pos, int n) {
    if (n <= 0 || pos < 0 || n > count - pos) return;
    if (n == count) {
        clear();
        return;
    }
    int behind = pos + n;
    if (behind != count) std::memmove(data + pos, data + behind, static_cast<std::size_t>(count - behind));
    count -= n;
    data[count] = 0;
}

char* CharVector::steal() {
    char* text = data;
    data = nullptr;
    count = allocateCount = 0;
    return text;
}
