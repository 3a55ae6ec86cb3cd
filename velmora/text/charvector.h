// Growing UTF-8 text: zero-terminated, with a stored length and spare room.
// Only append and insert leave spare room; every other store allocates the exact size.
// Limit: a text, or a sum of texts, that an `int` cannot count with its terminator is std::bad_alloc, and changes
// nothing. Lifetime: a pointer into the text dies with the next operation that may reallocate.
//
//     CharVector text("Hello");
//     text << ", " << name << '!';
#ifndef VELMORA_TEXT_CHARVECTOR_H
#define VELMORA_TEXT_CHARVECTOR_H

#include <climits>
#include <cstdint>
#include <cstring>
#include <string>
#include <type_traits>

#include <velmora/base.h>
#include <velmora/text/bytes.h>
#include <velmora/text/charr.h>
#include <velmora/text/chpair.h>

template <class T>
class SimpleVector;

namespace velmora::detail {

constexpr int kMostCapacity = 1 << 30;  // what memory_recommend gives at most

template <class T>
using IfNumber =
    std::enable_if_t<(std::is_arithmetic<T>::value || std::is_enum<T>::value) && !std::is_same<T, char>::value>;

}  // namespace velmora::detail

// The capacity to allocate for a wanted size, for text, vectors and Bag alike: 16, then 256, then the smallest
// power of two that reaches it. Throws: std::bad_alloc for a size above 1,073,741,824.
VELMORA_API int memory_recommend(int size);

class VELMORA_API CharVector {
public:
    char* data;         // owned, from new[]; null while there never was text
    int count;          // bytes of text, without the terminator
    int allocateCount;  // bytes allocated, with the terminator

    // A null or empty source leaves the vector null.
    CharVector() : data(nullptr), count(0), allocateCount(0) {}
    CharVector(const CharVector& s) { init(s.data, static_cast<std::size_t>(s.count)); }
    CharVector(const char* s) { init_str(s); }
    CharVector(const char* s, std::size_t n) { init(s, n); }
    CharVector(const char* b, const char* e) : CharVector(ChPair(b, e)) {}
    CharVector(const ChPair& s) { init(s.begin, s.size()); }
    CharVector(const ChArr& s) { init_str(s.data); }
    CharVector(const std::string& s) { init(s.data(), s.size()); }
    CharVector(const SimpleVector<char>& s);
    ~CharVector() { delete[] data; }

    CharVector& operator=(const CharVector& s);
    CharVector& operator=(const char* s);
    CharVector& operator=(const ChPair& s);
    CharVector& operator=(const ChArr& s);
    CharVector& operator=(const std::string& s);
    CharVector& operator=(const SimpleVector<char>& s);
    // A text of the present length is copied over in place; any other gets an array of its exact size. The source
    // may lie inside the old text. Null or empty: the vector becomes null.
    void assign(const char* s, std::size_t n);
    void assign(const char* b, const char* e) { assign(b, ChPair(b, e).size()); }

    // Appends; the source may lie inside the text. Null: nothing.
    void append(const char* s, std::size_t n) {
        if (!hasRoom(n)) return appendSlowly(s, n);
        const std::size_t end = length() + n;
        char* const text = data;
        std::memmove(text + (end - n), s, n);
        text[end] = 0;
        count = static_cast<int>(end);
    }
    void append(const char* b, const char* e) { append(ChPair(b, e)); }
    void append(const char* s) { append(s, s ? std::strlen(s) : 0); }
    void append(char c) {
        if (!hasRoom(1)) return appendSlowly(c);
        const std::size_t end = length() + 1;
        char* const text = data;
        text[end - 1] = c;
        text[end] = 0;
        count = static_cast<int>(end);
    }
    void append(const ChPair& s) { append(s.begin, s.size()); }
    void append(const ChArr& s) { append(s.data); }
    void append(const std::string& s) { append(s.data(), s.size()); }
    void append(const CharVector& s) { append(s.data, static_cast<std::size_t>(s.count)); }
    void append(const SimpleVector<char>& s);
    // A number would be the byte of its value: convert it to text, or cast it to char.
    template <class T, class = velmora::detail::IfNumber<T>>
    void append(T) = delete;

    void operator+=(const char* s) { append(s); }
    void operator+=(char c) { append(c); }
    void operator+=(const ChPair& s) { append(s); }
    void operator+=(const ChArr& s) { append(s); }
    void operator+=(const std::string& s) { append(s); }
    void operator+=(const CharVector& s) { append(s); }
    void operator+=(const SimpleVector<char>& s) { append(s); }
    template <class T, class = velmora::detail::IfNumber<T>>
    void operator+=(T) = delete;

    CharVector& operator<<(const char* s) { return append(s), *this; }
    CharVector& operator<<(char c) { return append(c), *this; }
    CharVector& operator<<(const ChPair& s) { return append(s), *this; }
    CharVector& operator<<(const ChArr& s) { return append(s), *this; }
    CharVector& operator<<(const std::string& s) { return append(s), *this; }
    CharVector& operator<<(const CharVector& s) { return append(s), *this; }
    CharVector& operator<<(const SimpleVector<char>& s) { return append(s), *this; }
    template <class T, class = velmora::detail::IfNumber<T>>
    CharVector& operator<<(T) = delete;

    bool isNull() const { return !data; }
    int len() const { return count; }
    // Null for a null vector.
    operator const char*() const { return data; }
    // Never null: empty_string stands in.
    const char* operator()() const { return data ? data : empty_string; }
    operator ChPair() noexcept { return ChPair(data, data + count); }
    std::string std() const { return data ? std::string(data, data + count) : std::string(); }

    // Order by unsigned bytes. Returns: a number of which only the sign has a meaning.
    int compare(const char* s, std::size_t n) const { return strcompare(data, static_cast<std::size_t>(count), s, n); }
    int compare(const char* b, const char* e) const { return compare(ChPair(b, e)); }
    int compare(const char* s) const { return compare(ChPair(s)); }
    int compare(const ChPair& s) const { return compare(s.begin, s.size()); }
    int compare(const ChArr& s) const { return compare(ChPair(s)); }
    int compare(const std::string& s) const { return compare(s.data(), s.size()); }
    int compare(const CharVector& s) const { return compare(s.data, static_cast<std::size_t>(s.count)); }
    int compare(const SimpleVector<char>& s) const;

    bool operator==(const CharVector& s) const { return compare(s) == 0; }
    bool operator==(const ChPair& s) const { return compare(s) == 0; }
    bool operator==(const char* s) const { return compare(s) == 0; }
    bool operator==(const ChArr& s) const { return compare(s) == 0; }
    bool operator==(const std::string& s) const { return compare(s) == 0; }
    bool operator!=(const CharVector& s) const { return compare(s) != 0; }
    bool operator!=(const ChPair& s) const { return compare(s) != 0; }
    bool operator!=(const char* s) const { return compare(s) != 0; }
    bool operator!=(const ChArr& s) const { return compare(s) != 0; }
    bool operator!=(const std::string& s) const { return compare(s) != 0; }
    bool operator<(const CharVector& s) const { return compare(s) < 0; }
    bool operator<(const ChPair& s) const { return compare(s) < 0; }
    bool operator<(const char* s) const { return compare(s) < 0; }
    bool operator<(const ChArr& s) const { return compare(s) < 0; }
    bool operator<(const std::string& s) const { return compare(s) < 0; }
    bool operator>(const CharVector& s) const { return compare(s) > 0; }
    bool operator>(const ChPair& s) const { return compare(s) > 0; }
    bool operator>(const char* s) const { return compare(s) > 0; }
    bool operator>(const ChArr& s) const { return compare(s) > 0; }
    bool operator>(const std::string& s) const { return compare(s) > 0; }
    bool operator<=(const CharVector& s) const { return compare(s) <= 0; }
    bool operator<=(const ChPair& s) const { return compare(s) <= 0; }
    bool operator<=(const char* s) const { return compare(s) <= 0; }
    bool operator<=(const ChArr& s) const { return compare(s) <= 0; }
    bool operator<=(const std::string& s) const { return compare(s) <= 0; }
    bool operator>=(const CharVector& s) const { return compare(s) >= 0; }
    bool operator>=(const ChPair& s) const { return compare(s) >= 0; }
    bool operator>=(const char* s) const { return compare(s) >= 0; }
    bool operator>=(const ChArr& s) const { return compare(s) >= 0; }
    bool operator>=(const std::string& s) const { return compare(s) >= 0; }

    // Releases the array.
    void clear();
    // Empties the text and keeps the array.
    void truncate();
    // Cuts the text to `n` bytes if it is longer; keeps the array. A negative `n` is ignored.
    void cutTo(int n);

    // Makes the text `n` bytes long, for the caller to fill. Returns: `data`.
    // Invalidates: the old text, when the array must grow. Warning: prepare(0) changes nothing, not even the length,
    // and nor does a negative `n`.
    char* prepare(int n);

    // Opens a gap of `n` bytes at `pos` for the caller to fill. Returns: the gap, or null for a bad `pos` or no `n`.
    // Warning: the text behind the gap is kept only when the array has to grow, or when `pos` is the end. With spare
    // room enough the bytes behind move the wrong way; that is how this operation is defined.
    char* insert(int pos, int n);

    // Removes [pos, pos + n); a range outside the text is ignored. Removing all of it releases the array.
    void remove(int pos, int n);

    // Hands out the array; the vector becomes null. Owns: the caller, by delete[].
    char* steal();

protected:
    void init(const char* s, std::size_t n);
    void init_str(const char* s) { init(s, s ? std::strlen(s) : 0); }

private:
    // The count as it is added up: without a sign, which would have to be extended first.
    std::size_t length() const { return static_cast<unsigned>(count); }
    // Whether there is something to append, and the block holds it with the terminator.
    bool hasRoom(std::size_t n) const {
        return n - 1 < INT_MAX && static_cast<std::int64_t>(length() + n) < allocateCount;
    }
    void appendSlowly(const char* s, std::size_t n);
    void appendSlowly(char c);
};

VELMORA_COMPARE_TEXTS(ChPair, const char*, const CharVector&)
VELMORA_COMPARE_TEXTS(ChPair, const std::string&, const CharVector&)
VELMORA_COMPARE_TEXTS(ChPair, const ChPair&, const CharVector&)
VELMORA_COMPARE_TEXTS(ChPair, const ChArr&, const CharVector&)

#endif
