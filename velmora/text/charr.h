// ChArr owns one zero-terminated UTF-8 text, ChArr16 one UTF-16 text: a pointer each, no length, no spare room.
// For values that are set once and read often; text that grows belongs in a CharVector.
// `data` comes from new[]. A null and an allocated empty text are both empty().
#ifndef VELMORA_TEXT_CHARR_H
#define VELMORA_TEXT_CHARR_H

#include <cstdarg>
#include <string>
#include <string_view>
#include <type_traits>

#include <velmora/base.h>
#include <velmora/text/bytes.h>
#include <velmora/text/chpair.h>

class ChArr16;
class CharVector;

class VELMORA_API ChArr {
public:
    char* data;  // owned, zero-terminated; null when there is no text

    ChArr() : data(nullptr) {}
    // A copy; a null source gives null, an empty one an allocated empty text.
    ChArr(const char* s) : data(strnew(s)) {}
    ChArr(const char* b, const char* e) : ChArr(ChPair(b, e)) {}
    ChArr(const ChPair& s) : data(strnew(s.begin, s.size())) {}
    ChArr(const ChArr& s) : data(strnew(s.data)) {}
    ChArr(const CharVector& s);
    ChArr(const std::string& s) : data(strnew(s.data(), s.size())) {}
    // Converted from UTF-16.
    ChArr(const utf16_t* s);
    ChArr(const utf16_t* b, const utf16_t* e) : data(strnew(b, e)) {}
    ChArr(const utf16_string& s) : data(strnew(s.data(), s.data() + s.size())) {}
    ChArr(const ChArr16& s);
    ~ChArr() { delete[] data; }

    // The source may lie inside the old text. Warning: a source that begins at `data` changes nothing, not even the
    // length. The forms that convert always replace.
    ChArr& operator=(const char* s);
    ChArr& operator=(const ChPair& s);
    ChArr& operator=(const ChArr& s);
    ChArr& operator=(const CharVector& s);
    ChArr& operator=(const std::string& s);
    ChArr& operator=(const ChArr16& s);
    ChArr& operator=(const utf16_t* s);
    ChArr& operator=(const utf16_string& s);
    void assign(const char* b, const char* e);
    void assign(const char* s, int n) { assign(s, s + n); }
    void assign(const utf16_t* b, const utf16_t* e);
    void assign(const utf16_t* s, int n) { assign(s, s + n); }

    // `n` bytes of windows-1251, converted; 0x98, which that code page leaves open, becomes a space.
    // Requires: `s` is not null unless `n` is 0.
    void assign1251(const char* s, int n);

    // By the rules of printf. The arguments may refer to the old text. Limit: 4,096 bytes.
    void format(const char* fmt, ...) VELMORA_PRINTF(2, 3);
    void format_va(const char* fmt, va_list args) VELMORA_PRINTF(2, 0);

    // The system's message for an error code, in the user's language where there is one, without its line end and
    // closing period. `module`, where the system has such, is asked first if it is loaded. Unknown code: null.
    void winerror(int code, const char* module);

    int len() const { return data ? static_cast<int>(std::strlen(data)) : 0; }
    bool empty() const { return !data || !*data; }
    char* end() const { return data ? data + std::strlen(data) : nullptr; }

    // Never null: empty_string stands in.
    const char* asCharPtr() const { return data ? data : empty_string; }
    operator const char*() const { return asCharPtr(); }
    const char* operator()() const { return asCharPtr(); }

    void del();
    // Owns: the caller, by delete[].
    char* steal();
    // Takes the other's array without a copy and leaves it null.
    void stealFrom(ChArr& other);
    void stealFrom(CharVector& other);

    // Append, and put in front. Null: nothing.
    void operator+=(const char* s);
    void operator+=(const ChArr& s) { *this += s.data; }
    void operator+=(const CharVector& s) { *this += ChPair(s).begin; }
    void operator+=(const std::string& s) { *this += s.c_str(); }
    void insert(const char* s);

    void lw_ascii() { strlw_ascii(data, end()); }
    void up_ascii() { strup_ascii(data, end()); }

    // Order; null is empty text. Returns: for zero-terminated texts exactly -1, 0 or 1, else only the sign counts.
    int compare(const char* s) const { return strcmp0(data, s); }
    int compare(const ChArr& s) const { return strcmp0(data, s.data); }
    int compare(const char* b, const char* e) const { return view().compare(b, e); }
    int compare(const char* s, int n) const { return view().compare(s, n); }
    int compare(const std::string& s) const { return view().compare(s); }
    int compare(const ChPair& s) const { return view().compare(s); }
    int compare(const CharVector& s) const { return view().compare(s); }

    bool equal(const char* s) const { return strcmp0(data, s) == 0; }
    bool equal(const ChArr& s) const { return strcmp0(data, s.data) == 0; }
    bool equal(const char* b, const char* e) const { return view().equal(b, e); }
    bool equal(const char* s, int n) const { return view().equal(s, n); }
    bool equal(const std::string& s) const { return view().equal(s); }
    bool equal(const ChPair& s) const { return view().equal(s); }
    bool equal(const CharVector& s) const { return view().equal(s); }

    // By the functions of the same name over ranges.
    int compare_i_ascii(const char* s) const { return strcmp_i_ascii(data, s); }
    int compare_i_ascii(const ChArr& s) const { return strcmp_i_ascii(data, s.data); }
    int compare_i_ascii(const char* b, const char* e) const { return view().compare_i_ascii(b, e); }
    int compare_i_ascii(const char* s, int n) const { return view().compare_i_ascii(s, n); }
    int compare_i_ascii(const std::string& s) const { return view().compare_i_ascii(s); }
    int compare_i_ascii(const ChPair& s) const { return view().compare_i_ascii(s); }
    int compare_i_ascii(const CharVector& s) const { return view().compare_i_ascii(s); }

    bool equal_i_ascii(const char* s) const { return view().equal_i_ascii(s); }
    bool equal_i_ascii(const ChArr& s) const { return view().equal_i_ascii(s); }
    bool equal_i_ascii(const char* b, const char* e) const { return view().equal_i_ascii(b, e); }
    bool equal_i_ascii(const char* s, int n) const { return view().equal_i_ascii(s, n); }
    bool equal_i_ascii(const std::string& s) const { return view().equal_i_ascii(s); }
    bool equal_i_ascii(const ChPair& s) const { return view().equal_i_ascii(s); }
    bool equal_i_ascii(const CharVector& s) const { return view().equal_i_ascii(s); }

    int compare_i_utf8(const char* s) const { return view().compare_i_utf8(s); }
    int compare_i_utf8(const ChArr& s) const { return view().compare_i_utf8(s); }
    int compare_i_utf8(const char* b, const char* e) const { return view().compare_i_utf8(b, e); }
    int compare_i_utf8(const char* s, int n) const { return view().compare_i_utf8(s, n); }
    int compare_i_utf8(const std::string& s) const { return view().compare_i_utf8(s); }
    int compare_i_utf8(const ChPair& s) const { return view().compare_i_utf8(s); }
    int compare_i_utf8(const CharVector& s) const { return view().compare_i_utf8(s); }

    bool equal_i_utf8(const char* s) const { return view().equal_i_utf8(s); }
    bool equal_i_utf8(const ChArr& s) const { return view().equal_i_utf8(s); }
    bool equal_i_utf8(const char* b, const char* e) const { return view().equal_i_utf8(b, e); }
    bool equal_i_utf8(const char* s, int n) const { return view().equal_i_utf8(s, n); }
    bool equal_i_utf8(const std::string& s) const { return view().equal_i_utf8(s); }
    bool equal_i_utf8(const ChPair& s) const { return view().equal_i_utf8(s); }
    bool equal_i_utf8(const CharVector& s) const { return view().equal_i_utf8(s); }

    bool operator==(const char* s) const { return equal(s); }
    bool operator==(const ChArr& s) const { return equal(s); }
    bool operator==(const std::string& s) const { return equal(s); }
    bool operator!=(const char* s) const { return !equal(s); }
    bool operator!=(const ChArr& s) const { return !equal(s); }
    bool operator!=(const std::string& s) const { return !equal(s); }
    bool operator<(const char* s) const { return compare(s) < 0; }
    bool operator<(const ChArr& s) const { return compare(s) < 0; }
    bool operator<(const std::string& s) const { return compare(s) < 0; }
    bool operator>(const char* s) const { return compare(s) > 0; }
    bool operator>(const ChArr& s) const { return compare(s) > 0; }
    bool operator>(const std::string& s) const { return compare(s) > 0; }
    bool operator<=(const char* s) const { return compare(s) <= 0; }
    bool operator<=(const ChArr& s) const { return compare(s) <= 0; }
    bool operator<=(const std::string& s) const { return compare(s) <= 0; }
    bool operator>=(const char* s) const { return compare(s) >= 0; }
    bool operator>=(const ChArr& s) const { return compare(s) >= 0; }
    bool operator>=(const std::string& s) const { return compare(s) >= 0; }

private:
    ChPair view() const { return ChPair(asCharPtr()); }
    void replaceWith(char* text);
};

class VELMORA_API ChArr16 {
public:
    utf16_t* data;  // owned, zero-terminated; null when there is no text

    ChArr16() : data(nullptr) {}
    ChArr16(const utf16_t* s) : data(strnew16(s)) {}
    ChArr16(const utf16_t* b, const utf16_t* e) : data(strnew16(b, static_cast<std::size_t>(e - b))) {}
    ChArr16(const ChArr16& s) : data(strnew16(s.data)) {}
    ChArr16(const utf16_string& s) : data(strnew16(s.data(), s.size())) {}
    // Converted from UTF-8.
    ChArr16(const char* s) : ChArr16(ChPair(s)) {}
    ChArr16(const char* b, const char* e) : data(strnew16(b, e)) {}
    ChArr16(const ChPair& s) : ChArr16(s.begin, s.end) {}
    ChArr16(const ChArr& s) : ChArr16(s.data) {}
    ChArr16(const CharVector& s) : ChArr16(ChPair(s)) {}
    ~ChArr16() { delete[] data; }

    // As for ChArr. A std::string is taken up to its first zero byte.
    ChArr16& operator=(const utf16_t* s);
    ChArr16& operator=(const ChArr16& s);
    ChArr16& operator=(const utf16_string& s);
    ChArr16& operator=(const char* s);
    ChArr16& operator=(const ChArr& s) { return *this = static_cast<const char*>(s.data); }
    ChArr16& operator=(const ChPair& s) { return replaceWith(strnew16(s.begin, s.end)), *this; }
    ChArr16& operator=(const CharVector& s) { return *this = ChPair(s); }
    ChArr16& operator=(const std::string& s) { return *this = s.c_str(); }
    void assign(const utf16_t* b, const utf16_t* e);
    void assign(const utf16_t* s, int n) { assign(s, s + n); }

    // Length in 16-bit units.
    int len() const { return data ? static_cast<int>(std::char_traits<utf16_t>::length(data)) : 0; }
    bool empty() const { return !data || !*data; }
    utf16_t* end() const { return data ? data + std::char_traits<utf16_t>::length(data) : nullptr; }

    // Never null: empty_string16 stands in.
    const utf16_t* asCharPtr() const { return data ? data : empty_string16; }
    operator const utf16_t*() const { return asCharPtr(); }
    const utf16_t* operator()() const { return asCharPtr(); }

    void del();
    // Owns: the caller, by delete[].
    utf16_t* steal();

private:
    void replaceWith(utf16_t* text);
};

inline ChArr& ChArr::operator=(const ChArr16& s) { return *this = static_cast<const utf16_t*>(s.data); }

VELMORA_COMPARE_TEXTS(ChPair, const char*, const ChArr&)
VELMORA_COMPARE_TEXTS(ChPair, const std::string&, const ChArr&)
VELMORA_COMPARE_TEXTS(ChPair, const ChPair&, const ChArr&)
VELMORA_COMPARE_TEXTS(ChPair, const ChArr&, const ChPair&)

namespace velmora::detail {

inline std::basic_string_view<utf16_t> view16(const utf16_t* s) { return s ? s : empty_string16; }
inline std::basic_string_view<utf16_t> view16(const ChArr16& s) { return s.asCharPtr(); }
inline std::basic_string_view<utf16_t> view16(const utf16_string& s) { return s; }

// Whether one of the two is a ChArr16 and the other is text in UTF-8.
template <class A, class B>
using IsMixed = std::conjunction<std::is_same<A, ChArr16>, std::is_convertible<const B&, ChPair>,
                                 std::negation<std::is_same<B, std::nullptr_t>>>;
template <class A, class B>
using IfMixed = std::enable_if_t<std::disjunction<IsMixed<A, B>, IsMixed<B, A>>::value>;

}  // namespace velmora::detail

// Order by 16-bit units. Null is empty text.
VELMORA_COMPARE_TEXTS(velmora::detail::view16, const ChArr16&, const ChArr16&)
VELMORA_COMPARE_TEXTS(velmora::detail::view16, const ChArr16&, const utf16_t*)
VELMORA_COMPARE_TEXTS(velmora::detail::view16, const utf16_t*, const ChArr16&)
VELMORA_COMPARE_TEXTS(velmora::detail::view16, const ChArr16&, const utf16_string&)
VELMORA_COMPARE_TEXTS(velmora::detail::view16, const utf16_string&, const ChArr16&)

// Texts of different encodings are not compared: convert one of them.
#define VELMORA_NO_COMPARISON(Operator)                                 \
    template <class A, class B, class = velmora::detail::IfMixed<A, B>> \
    bool operator Operator(const A&, const B&) = delete;
VELMORA_NO_COMPARISON(==)
VELMORA_NO_COMPARISON(!=)
VELMORA_NO_COMPARISON(<)
VELMORA_NO_COMPARISON(>)
VELMORA_NO_COMPARISON(<=)
VELMORA_NO_COMPARISON(>=)
#undef VELMORA_NO_COMPARISON

#endif
