// The vector family. A member is chosen by who owns what the items point to:
//
//     SimpleVector<T>   trivially copyable items, passed by value     owns its block
//     StructVector<T>   the same, items passed by reference           owns its block
//     ArrayVector<T>    items are T*, arrays from new[]               owns the arrays too
//     StringVector<T>   items are zero-terminated strings             owns the strings; copies text in
//     ObjectVector<T>   items are T*, with a virtual destructor       owns the objects too
//
// Items are moved with memcpy: no constructor or destructor of an item runs on a move. Nothing throws on a bad
// index: accessors, subst, replace, null and cutTo do not check, insert, remove, removeRange and moveRangeTo ignore a
// bad start. Memory that runs out is std::bad_alloc, and a vector that had to grow is then as it was; so is a count
// above INT_MAX, and a capacity above that of memory_recommend. An owning vector has released then what it was given.
// A copy between two different members would share or lose arrays; those that are deleted below do not compile.
// Warning: others do, such as of an ArrayVector<T> to a SimpleVector<T*>, and leave two owners of one block.
// Lifetime: a pointer to an item dies with the next operation that may reallocate.
#ifndef VELMORA_CONTAINERS_VECTORS_H
#define VELMORA_CONTAINERS_VECTORS_H

#include <cassert>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <new>
#include <string>
#include <type_traits>

#include <velmora/base.h>
#include <velmora/text/charr.h>
#include <velmora/text/charvector.h>
#include <velmora/text/chpair.h>

template <class T>
class ArrayVector;
template <class T>
class ObjectVector;
template <class T>
class RealVector;  // only a name in signatures that do not compile
template <class T>
class StringVector;
template <class T>
class StructVector;

namespace velmora::detail {

// The count of a vector that gets `n` items more.
inline int countWith(int count, int n) {
    if (n > INT_MAX - count) throw std::bad_alloc();
    return count + n;
}

// The bytes of a text that is given with a length. A negative one is that of no text.
inline std::size_t sizeOf(int len) { return len < 0 ? 0 : static_cast<std::size_t>(len); }

}  // namespace velmora::detail

// A pointer for the clients' red-black trees to mark a leaf with. The library neither reads nor writes it.
extern VELMORA_API void* RB_TREE_NIL_VOID;

// Comparison of two items for sort and bsearch, in the manner of qsort.
using VectorCompare = int (*)(const void*, const void*);

template <class T>
class SimpleVector {
public:
    T* data;            // owned block, from new[]; null when nothing is allocated
    int count;          // items in use
    int allocateCount;  // items that the block can hold

    SimpleVector() : data(nullptr), count(0), allocateCount(0) {}
    SimpleVector(const SimpleVector& s) : SimpleVector() { init(s); }
    SimpleVector(const ArrayVector<T>&) = delete;
    SimpleVector(const ObjectVector<T>&) = delete;
    SimpleVector(const RealVector<T>&) = delete;
    SimpleVector(const StringVector<T>&) = delete;
    ~SimpleVector() {
        static_assert(std::is_trivially_copyable<T>::value, "items are moved as bytes");
        deallocate();
    }

    // Invalidates: everything. After an exhausted memory the vector must not be used again.
    void operator=(const SimpleVector& s);
    void operator=(const ArrayVector<T>&) = delete;
    void operator=(const ObjectVector<T>&) = delete;
    void operator=(const RealVector<T>&) = delete;
    void operator=(const StringVector<T>&) = delete;

    T* getData() const { return data; }
    T* getDataEnd() const { return data + count; }
    T* begin() const { return data; }
    T* end() const { return data + count; }
    int getCount() const { return count; }
    // Warning: the items in use, as getCount; the capacity is the field `allocateCount`.
    int getAllocateCount() const { return count; }
    bool isEmpty() const { return count == 0; }

    // Requires: 0 <= i < count.
    T* ptr(int i) const { return assert(has(i)), data + i; }
    T& operator[](int i) { return assert(has(i)), data[i]; }
    T operator[](int i) const { return assert(has(i)), data[i]; }
    // Stores `x` at `i`. Returns: the former item.
    T subst(int i, T x);

    // Sets the count and nothing else. Requires: 0 <= n <= allocateCount.
    void cutTo(int n) { count = n; }
    // Makes room for `n` items, by the steps of memory_recommend.
    void expand(int n);
    // Makes the vector `n` items long. Returns: `data`. Invalidates: the items, when the block must grow; it then
    // grows to exactly `n`.
    T* prepare(int n);

    void append(T x);
    // Adds `n` items; the first form leaves them as they are, the second fills them with zero bytes.
    // Returns: the first of them.
    T* appendPtr(int n);
    T* append0(int n);

    void insert(int i, T x);
    // Returns: the first of `n` new items, as they are; null for a bad `i`.
    T* insertPtr(int i, int n);
    void remove(int i);
    // Removes [from, to). Requires: `to` is in range.
    void removeRange(int from, int to);
    // Releases the block.
    void removeAll();

    // Moves [from, to) into `dst`, in front of the item at `at` or to the end. Ownership moves with the items. `dst`
    // may be *this: the three indices are those before the move, and an `at` in [from, to] changes nothing.
    // Requires: `to` and `at` are in range.
    void moveRangeTo(int from, int to, SimpleVector& dst, int at);
    void moveRangeTo(int from, int to, SimpleVector& dst);

    // Takes a block from new[] (`p` becomes null), or that of another vector, in place of the own one.
    // Warning: a vector that steals from itself ends up empty.
    void stealFrom(T*& p, int newCount, int allocated);
    void stealFrom(SimpleVector& src);

    void sort(VectorCompare compare);
    // Sorts [from, to). Requires: the range lies in the vector.
    void sort(VectorCompare compare, int from, int to);

    // Index of the first item equal to `x`, or -1.
    int ssearch(T x) const;
    // Index of an item equal to `key` in a vector sorted by `compare`, or -1. The key is the first argument.
    int bsearch(const T& key, VectorCompare compare) const;

protected:
    bool has(int i) const { return i >= 0 && i < count; }
    void init(const SimpleVector& s);
    void grow(int n);
    void deallocate() { delete[] data; }
    void zero();
    void closeGap(int from, int to);
};

template <class T>
class StructVector : public SimpleVector<T> {
public:
    StructVector() = default;
    StructVector(const StructVector&) = default;
    StructVector(const SimpleVector<T>& s) : SimpleVector<T>(s) {}
    StructVector& operator=(const StructVector& s) {
        SimpleVector<T>::operator=(s);
        return *this;
    }

    T& operator[](int i) { return *this->ptr(i); }
    const T& operator[](int i) const { return *this->ptr(i); }
    void append(const T& x) { SimpleVector<T>::append(x); }
    void insert(int i, const T& x) { SimpleVector<T>::insert(i, x); }
    int ssearch(const T& x) const { return SimpleVector<T>::ssearch(x); }
};

template <class T>
class ArrayVector : public SimpleVector<T*> {
public:
    using CopyItem = T* (*)(const T*);

    ArrayVector() = default;
    // Each item is copy(item), null items too.
    ArrayVector(const ArrayVector& src, CopyItem copy) : ArrayVector() { init(src, copy); }
    ArrayVector(const ArrayVector&) = delete;
    ArrayVector(const ObjectVector<T>&) = delete;
    ArrayVector(const SimpleVector<T*>&) = delete;
    ArrayVector(const StringVector<T>&) = delete;
    ArrayVector(const StructVector<T*>&) = delete;
    ~ArrayVector() { deallocateAR(); }

    void operator=(const ArrayVector&) = delete;
    void operator=(const ObjectVector<T>&) = delete;
    void operator=(const SimpleVector<T*>&) = delete;
    void operator=(const StringVector<T>&) = delete;
    void operator=(const StructVector<T*>&) = delete;

    // Warning: a vector assigned to itself ends up empty.
    void assign(const ArrayVector& src, CopyItem copy);

    T*& operator[](int i) { return *this->ptr(i); }
    T* operator[](int i) const { return *this->ptr(i); }

    // Owns: the vector, from the call on: it releases `p` when memory runs out. A bad `i` does nothing, and `p` stays
    // the caller's.
    void append(T* p);
    void insert(int i, T* p);
    // Releases the array at `i` and stores `p`. Requires: 0 <= i < count.
    void replace(int i, T* p);
    // The new items are null. Requires: 0 <= i <= count.
    T** insertPtr(int i, int n);

    // These release the arrays of the items that go.
    void remove(int i);
    // Warning: the arrays are released before `from` is checked. Requires: the range lies in the vector.
    void removeRange(int from, int to);
    void cutTo(int n);
    void removeAll();

    // Takes out the null items; the block stays.
    void pack();
    void stealFrom(ArrayVector& src);

protected:
    void init(const ArrayVector& src, CopyItem copy);
    void deallocateAR() { release(0, this->count); }

private:
    void release(int from, int to);
};

template <class T>
class StringVector : public ArrayVector<T> {
public:
    StringVector() = default;
    StringVector(const StringVector& s) : ArrayVector<T>() { init(s); }
    StringVector(const ArrayVector<T>& s) { init(s); }
    StringVector(const ObjectVector<T>&) = delete;
    StringVector(const SimpleVector<T*>&) = delete;
    StringVector(const StructVector<T*>&) = delete;

    // Deep copies. Warning: a vector assigned to itself ends up empty.
    void operator=(const StringVector& s) { *this = static_cast<const ArrayVector<T>&>(s); }
    void operator=(const ArrayVector<T>& s);
    void operator=(const ObjectVector<T>&) = delete;
    void operator=(const SimpleVector<T*>&) = delete;
    void operator=(const StructVector<T*>&) = delete;

    // A copy of the text, in an array of its exact size. A null source gives a null item.
    void append(const T* s) { append_steal(strnew(s)); }
    void append(const T* s, int len) { append_steal(strnew(s, velmora::detail::sizeOf(len))); }
    void append(const T* b, const T* e) { append(ChPair(b, e)); }
    void append(const std::string& s) { append(ChPair(s)); }
    void append(const CharVector& s) { append(s.data, s.count); }
    void append(const ChArr& s) { append(static_cast<const T*>(s.data)); }
    void append(const ChPair& s) { append_steal(strnew(s.begin, s.size())); }
    void operator<<(const T* s) { append(s); }
    void operator<<(const std::string& s) { append(s); }
    void operator<<(const CharVector& s) { append(s); }
    void operator<<(const ChArr& s) { append(s); }
    void operator<<(const ChPair& s) { append(s); }
    // Owns: the vector, from the call on, as by append of ArrayVector.
    void append_steal(T* p);

    // Warning: with a bad `i` nothing is inserted, and the copy that was made for it is lost.
    void insert(int i, const T* s) { insert_steal(i, strnew(s)); }
    void insert(int i, const T* s, int len) { insert_steal(i, strnew(s, velmora::detail::sizeOf(len))); }
    void insert(int i, const T* b, const T* e) { insert_steal(i, strnew(b, ChPair(b, e).size())); }
    // Requires: 0 <= i < count.
    void replace(int i, const T* s) { ArrayVector<T>::replace(i, strnew(s)); }
    void replace(int i, const T* s, int len) { ArrayVector<T>::replace(i, strnew(s, velmora::detail::sizeOf(len))); }
    void replace(int i, const T* b, const T* e) { ArrayVector<T>::replace(i, strnew(b, ChPair(b, e).size())); }
    void null(int i) { ArrayVector<T>::replace(i, nullptr); }

    // Sorts by ChArr::compare; null items are empty texts.
    void sort_lex();

    // Index of the first item with this text, or -1; a null item is an empty text. Items of another length in bytes
    // never match.
    int ssearch(const ChPair& key) const;
    int ssearch_i_ascii(const ChPair& key) const;
    int ssearch_i_utf8(const ChPair& key) const;

protected:
    void init(const ArrayVector<T>& s) { ArrayVector<T>::init(s, &copyString); }

private:
    static T* copyString(const T* s) { return strnew(s); }
    void insert_steal(int i, T* p);
    static int compareItems(const void* a, const void* b);
    template <class Equal>
    int find(const ChPair& key, Equal equal) const;
};

// Destroys its objects in index order, through their virtual destructors.
template <class T>
class ObjectVector : public SimpleVector<T*> {
public:
    ObjectVector() = default;
    ObjectVector(const ObjectVector&) = delete;
    void operator=(const ObjectVector&) = delete;
    ~ObjectVector();

    // Owns: the vector, from the call on: it destroys `p` when memory runs out. A bad `i` does nothing, and `p` stays
    // the caller's.
    void append(T* p);
    void insert(int i, T* p);
};

// One owned array, for an operation that hands a block out.
template <class T>
class ArrayHolder {
public:
    T* data = nullptr;  // owned, from new[]; may be null

    ArrayHolder() = default;
    ArrayHolder(const ArrayHolder&) = delete;
    void operator=(const ArrayHolder&) = delete;
    ~ArrayHolder() { delete[] data; }

    // Owns: the caller, by delete[].
    T* steal() {
        T* p = data;
        data = nullptr;
        return p;
    }
};

// ---- bodies ----

namespace velmora::detail {

template <class T>
void reverse(T* from, T* to) {
    for (; from != to && from != --to; ++from) {
        T item = *from;
        *from = *to;
        *to = item;
    }
}

// Puts the items of [middle, to) in front of those of [from, middle), by three reversals: without another block.
template <class T>
void exchange(T* from, T* middle, T* to) {
    reverse(from, middle);
    reverse(middle, to);
    reverse(from, to);
}

}  // namespace velmora::detail

template <class T>
void SimpleVector<T>::zero() {
    data = nullptr;
    count = allocateCount = 0;
}

template <class T>
void SimpleVector<T>::init(const SimpleVector& s) {
    data = nullptr;
    count = allocateCount = s.count;
    if (count == 0) return;
    data = new T[count];
    std::memcpy(static_cast<void*>(data), s.data, sizeof(T) * static_cast<std::size_t>(count));
}

template <class T>
void SimpleVector<T>::operator=(const SimpleVector& s) {
    if (this == &s) return;
    deallocate();
    init(s);
}

template <class T>
T SimpleVector<T>::subst(int i, T x) {
    T former = *ptr(i);
    data[i] = x;
    return former;
}

template <class T>
void SimpleVector<T>::expand(int n) {
    if (n > allocateCount) grow(n);
}

// Out of line, so that append is small enough to become a part of its callers.
template <class T>
VELMORA_NOINLINE void SimpleVector<T>::grow(int n) {
    int capacity = memory_recommend(n);
    T* block = new T[capacity];
    if (count != 0) std::memcpy(static_cast<void*>(block), data, sizeof(T) * static_cast<std::size_t>(count));
    deallocate();
    data = block;
    allocateCount = capacity;
}

template <class T>
T* SimpleVector<T>::prepare(int n) {
    if (n > allocateCount) {
        T* block = new T[n];
        deallocate();
        data = block;
        allocateCount = n;
    }
    count = n;
    return data;
}

template <class T>
inline void SimpleVector<T>::append(T x) {
    const int n = count;
    if (n >= allocateCount) grow(velmora::detail::countWith(n, 1));
    data[n] = x;
    count = n + 1;  // last: the item may be an int too, and a count stored earlier would have to be read again
}

template <class T>
T* SimpleVector<T>::appendPtr(int n) {
    expand(velmora::detail::countWith(count, n));
    count += n;
    return data + count - n;
}

template <class T>
T* SimpleVector<T>::append0(int n) {
    T* p = appendPtr(n);
    if (n != 0) std::memset(static_cast<void*>(p), 0, sizeof(T) * static_cast<std::size_t>(n));
    return p;
}

template <class T>
void SimpleVector<T>::insert(int i, T x) {
    if (T* p = insertPtr(i, 1)) *p = x;
}

template <class T>
T* SimpleVector<T>::insertPtr(int i, int n) {
    if (i < 0 || i > count) return nullptr;
    expand(velmora::detail::countWith(count, n));
    if (i < count) {
        std::memmove(static_cast<void*>(data + i + n), data + i, sizeof(T) * static_cast<std::size_t>(count - i));
    }
    count += n;
    return data + i;
}

// Moves the items from `to` down to `from`; the count is already the new one.
template <class T>
void SimpleVector<T>::closeGap(int from, int to) {
    if (from < count) {
        std::memmove(static_cast<void*>(data + from), data + to, sizeof(T) * static_cast<std::size_t>(count - from));
    }
}

template <class T>
void SimpleVector<T>::remove(int i) {
    if (!has(i)) return;
    --count;
    closeGap(i, i + 1);
}

template <class T>
void SimpleVector<T>::removeRange(int from, int to) {
    if (!has(from) || from == to) return;
    count -= to - from;
    closeGap(from, to);
}

template <class T>
void SimpleVector<T>::removeAll() {
    deallocate();
    zero();
}

template <class T>
void SimpleVector<T>::moveRangeTo(int from, int to, SimpleVector& dst, int at) {
    if (!has(from) || from == to) return;
    if (this == &dst) {
        assert(at >= 0 && at <= count);
        if (at < from) velmora::detail::exchange(data + at, data + from, data + to);
        if (at > to) velmora::detail::exchange(data + from, data + to, data + at);
        return;
    }
    T* p = dst.insertPtr(at, to - from);
    assert(p);
    std::memmove(static_cast<void*>(p), data + from, sizeof(T) * static_cast<std::size_t>(to - from));
    count -= to - from;
    closeGap(from, to);
}

template <class T>
void SimpleVector<T>::moveRangeTo(int from, int to, SimpleVector& dst) {
    moveRangeTo(from, to, dst, dst.count);
}

template <class T>
void SimpleVector<T>::stealFrom(T*& p, int newCount, int allocated) {
    T* block = p;
    p = nullptr;
    if (block != data) deallocate();
    data = block;
    count = newCount;
    allocateCount = allocated;
}

template <class T>
void SimpleVector<T>::stealFrom(SimpleVector& src) {
    deallocate();
    data = src.data;
    count = src.count;
    allocateCount = src.allocateCount;
    src.zero();
}

template <class T>
void SimpleVector<T>::sort(VectorCompare compare) {
    sort(compare, 0, count);
}

template <class T>
void SimpleVector<T>::sort(VectorCompare compare, int from, int to) {
    if (to - from < 2) return;
    std::qsort(static_cast<void*>(data + from), static_cast<std::size_t>(to - from), sizeof(T), compare);
}

template <class T>
int SimpleVector<T>::ssearch(T x) const {
    for (int i = 0; i < count; ++i) {
        if (data[i] == x) return i;
    }
    return -1;
}

template <class T>
int SimpleVector<T>::bsearch(const T& key, VectorCompare compare) const {
    int low = 0;
    int high = count - 1;
    while (low <= high) {
        int middle = (low + high) >> 1;
        int order = compare(&key, data + middle);
        if (order == 0) return middle;
        if (order < 0) {
            high = middle - 1;
        } else {
            low = middle + 1;
        }
    }
    return -1;
}

template <class T>
void ArrayVector<T>::release(int from, int to) {
    for (int i = from; i < to; ++i) delete[] this->data[i];
}

template <class T>
void ArrayVector<T>::init(const ArrayVector& src, CopyItem copy) {
    // The count grows with the copies, so that a failure leaves only finished items to release.
    this->zero();
    if (src.count == 0) return;
    this->data = new T*[src.count];
    this->allocateCount = src.count;
    for (; this->count < src.count; ++this->count) this->data[this->count] = copy(src.data[this->count]);
}

template <class T>
void ArrayVector<T>::assign(const ArrayVector& src, CopyItem copy) {
    removeAll();
    init(src, copy);
}

template <class T>
void ArrayVector<T>::append(T* p) {
    ArrayHolder<T> owned;
    owned.data = p;
    SimpleVector<T*>::append(p);
    owned.steal();
}

template <class T>
void ArrayVector<T>::insert(int i, T* p) {
    if (i < 0 || i > this->count) return;
    ArrayHolder<T> owned;
    owned.data = p;
    SimpleVector<T*>::insert(i, p);
    owned.steal();
}

template <class T>
void ArrayVector<T>::replace(int i, T* p) {
    T* former = this->subst(i, p);
    if (former != p) delete[] former;
}

template <class T>
T** ArrayVector<T>::insertPtr(int i, int n) {
    T** p = SimpleVector<T*>::insertPtr(i, n);
    assert(p || n == 0);
    if (n != 0) std::memset(static_cast<void*>(p), 0, sizeof(T*) * static_cast<std::size_t>(n));
    return p;
}

template <class T>
void ArrayVector<T>::remove(int i) {
    if (!this->has(i)) return;
    delete[] this->data[i];
    SimpleVector<T*>::remove(i);
}

template <class T>
void ArrayVector<T>::removeRange(int from, int to) {
    release(from, to);
    SimpleVector<T*>::removeRange(from, to);
}

template <class T>
void ArrayVector<T>::cutTo(int n) {
    release(n, this->count);
    this->count = n;
}

template <class T>
void ArrayVector<T>::removeAll() {
    deallocateAR();
    SimpleVector<T*>::removeAll();
}

template <class T>
void ArrayVector<T>::pack() {
    int kept = 0;
    for (int i = 0; i < this->count; ++i) {
        if (this->data[i]) this->data[kept++] = this->data[i];
    }
    this->count = kept;
}

template <class T>
void ArrayVector<T>::stealFrom(ArrayVector& src) {
    removeAll();
    SimpleVector<T*>::stealFrom(src);
}

template <class T>
void StringVector<T>::operator=(const ArrayVector<T>& s) {
    this->removeAll();
    init(s);
}

template <class T>
void StringVector<T>::append_steal(T* p) {
    ArrayVector<T>::append(p);
}

template <class T>
void StringVector<T>::insert_steal(int i, T* p) {
    ArrayVector<T>::insert(i, p);
}

template <class T>
int StringVector<T>::compareItems(const void* a, const void* b) {
    return strcmp0(*static_cast<const T* const*>(a), *static_cast<const T* const*>(b));
}

template <class T>
void StringVector<T>::sort_lex() {
    this->sort(&compareItems);
}

template <class T>
template <class Equal>
int StringVector<T>::find(const ChPair& key, Equal equal) const {
    for (int i = 0; i < this->count; ++i) {
        ChPair item(static_cast<const T*>(this->data[i]));
        if (item.size() == key.size() && (key.size() == 0 || equal(item, key))) return i;
    }
    return -1;
}

template <class T>
int StringVector<T>::ssearch(const ChPair& key) const {
    return find(key, [](const ChPair& a, const ChPair& b) { return a.equal(b); });
}

template <class T>
int StringVector<T>::ssearch_i_ascii(const ChPair& key) const {
    return find(key, [](const ChPair& a, const ChPair& b) { return a.equal_i_ascii(b); });
}

template <class T>
int StringVector<T>::ssearch_i_utf8(const ChPair& key) const {
    return find(key, [](const ChPair& a, const ChPair& b) { return a.equal_i_utf8(b); });
}

template <class T>
ObjectVector<T>::~ObjectVector() {
    for (int i = 0; i < this->count; ++i) delete this->data[i];
}

template <class T>
void ObjectVector<T>::append(T* p) {
    try {
        SimpleVector<T*>::append(p);
    } catch (...) {
        delete p;
        throw;
    }
}

template <class T>
void ObjectVector<T>::insert(int i, T* p) {
    if (i < 0 || i > this->count) return;
    try {
        SimpleVector<T*>::insert(i, p);
    } catch (...) {
        delete p;
        throw;
    }
}

// ---- the instances that the library holds ----

#ifdef VELMORA_EXTERN_TEMPLATES
extern template class VELMORA_API SimpleVector<char>;
extern template class VELMORA_API SimpleVector<bool>;
extern template class VELMORA_API SimpleVector<char*>;
extern template class VELMORA_API SimpleVector<ChPair>;
extern template class VELMORA_API StructVector<ChPair>;
extern template class VELMORA_API ArrayVector<char>;
extern template class VELMORA_API StringVector<char>;
#endif

// Classes that bring whole instances into the export list.
class VELMORA_API SimpleVector_bool_dummy : public SimpleVector<bool> {};
class VELMORA_API StringVector_char_dummy : public StringVector<char> {};
class VELMORA_API StructVector_ChPair_dummy : public StructVector<ChPair> {};

#endif
