// A view of UTF-8 text that somebody else owns: two pointers, no terminator, no destructor.
// Lifetime: never beyond the text. Threads: one at a time, as for every velmora object.
//
//     ChPair line("width = 80"), name, value;
//     if (line.split(name, '=', value)) {
//         name.trimSpaces();   // "width"
//         value.trimSpaces();  // "80"
//     }
//
// The null view and an empty view differ only in what their pointers are and in what a search in them gives.
// A view whose `end` lies before its `begin`, as trimSpaces can leave it, counts as empty: no member reads through it.
// Only len(), which is negative then, empty(), which is false, and compare_i_ascii do not take it for empty.
#ifndef VELMORA_TEXT_CHPAIR_H
#define VELMORA_TEXT_CHPAIR_H

#include <cstdint>
#include <cstring>
#include <string>
#include <type_traits>

#include <velmora/base.h>
#include <velmora/text/bytes.h>
#include <velmora/text/numbers.h>
#include <velmora/text/utf.h>

class ChArr;
class ChArr16;
class CharVector;
struct PairTag;
template <class T>
class SimpleVector;

class VELMORA_API ChPair {
public:
    char* begin;  // first byte; null in the null view
    char* end;    // one behind the last byte; never read through

    ChPair() noexcept : begin(nullptr), end(nullptr) {}

    // The text of `s` up to its terminator, which is not in the view. Null `s`: the null view.
    ChPair(const char* s VELMORA_LIFETIMEBOUND) noexcept { assign(s, s ? s + std::strlen(s) : nullptr); }
    ChPair(const char* b VELMORA_LIFETIMEBOUND, const char* e) noexcept { assign(b, e); }
    ChPair(const char* s VELMORA_LIFETIMEBOUND, int n) noexcept { assign(s, s + n); }
    ChPair(const std::string& s VELMORA_LIFETIMEBOUND) noexcept { assign(s.data(), s.data() + s.size()); }
    ChPair(const ChArr& s VELMORA_LIFETIMEBOUND) noexcept;
    ChPair(const CharVector& s VELMORA_LIFETIMEBOUND) noexcept;
    // These would view a converted copy that is gone at once: keep the copy in a ChArr or CharVector, and view that.
    explicit ChPair(const ChArr16&) = delete;
    explicit ChPair(const utf16_string&) = delete;
    template <class Unit, class = std::enable_if_t<std::is_same<Unit, utf16_t>::value>>
    explicit ChPair(const Unit*) = delete;
    explicit ChPair(const SimpleVector<char>&) = delete;

    ChPair(const ChPair&) = default;
    ChPair(ChPair&&) = default;
    ChPair& operator=(const ChPair&) = default;
    ChPair& operator=(ChPair&&) = default;
    // Warning: no compiler reports a source that is a temporary here; the constructors have it reported by Clang.
    ChPair& operator=(const char* s) noexcept { return *this = ChPair(s); }
    ChPair& operator=(const std::string& s) noexcept { return *this = ChPair(s); }
    ChPair& operator=(const ChArr& s) noexcept { return *this = ChPair(s); }
    ChPair& operator=(const CharVector& s) noexcept { return *this = ChPair(s); }
    ChPair& operator=(const ChArr16&) = delete;
    ChPair& operator=(const utf16_string&) = delete;
    template <class Unit, class = std::enable_if_t<std::is_same<Unit, utf16_t>::value>>
    ChPair& operator=(const Unit*) = delete;
    ChPair& operator=(const SimpleVector<char>&) = delete;
    void assign(const char* b, const char* e) noexcept {
        begin = const_cast<char*>(b);
        end = const_cast<char*>(e);
    }

    // Length in bytes. Limit: a view stays below 2 GiB.
    int len() const noexcept { return static_cast<int>(end - begin); }
    // Bytes that may be read at `begin`: the length, or 0 if `end` lies before `begin`.
    std::size_t size() const noexcept { return end < begin ? 0 : static_cast<std::size_t>(end - begin); }
    bool empty() const noexcept { return begin == end; }
    void clear() noexcept { begin = end = nullptr; }

    std::string std() const { return begin ? std::string(begin, size()) : std::string(); }
    std::string& std(std::string& out) const;

    // Order by unsigned bytes. Returns: a number of which only the sign has a meaning.
    int compare(const ChPair& s) const { return strcompare(begin, size(), s.begin, s.size()); }
    // The same for the other forms of a text.
    int compare(const char* b, const char* e) const { return compare(ChPair(b, e)); }
    int compare(const char* s, int n) const { return compare(ChPair(s, n)); }
    int compare(const char* s) const { return compare(ChPair(s)); }
    int compare(const std::string& s) const { return compare(ChPair(s)); }
    int compare(const ChArr& s) const { return compare(ChPair(s)); }
    int compare(const CharVector& s) const { return compare(ChPair(s)); }

    // Equal length and bytes. The null view equals an empty one.
    bool equal(const ChPair& s) const { return streq(begin, size(), s.begin, s.size()); }
    bool equal(const char* b, const char* e) const { return equal(ChPair(b, e)); }
    bool equal(const char* s, int n) const { return equal(ChPair(s, n)); }
    bool equal(const char* s) const { return equal(ChPair(s)); }
    bool equal(const std::string& s) const { return equal(ChPair(s)); }
    bool equal(const ChArr& s) const { return equal(ChPair(s)); }
    bool equal(const CharVector& s) const { return equal(ChPair(s)); }

    // Order by strcmp_i_ascii. Warning: the null view as *this gives 1 against anything, as told there.
    int compare_i_ascii(const ChPair& s) const { return strcmp_i_ascii(begin, end, s.begin, s.end); }
    int compare_i_ascii(const char* b, const char* e) const { return compare_i_ascii(ChPair(b, e)); }
    int compare_i_ascii(const char* s, int n) const { return compare_i_ascii(ChPair(s, n)); }
    int compare_i_ascii(const char* s) const { return compare_i_ascii(ChPair(s)); }
    int compare_i_ascii(const std::string& s) const { return compare_i_ascii(ChPair(s)); }
    int compare_i_ascii(const ChArr& s) const { return compare_i_ascii(ChPair(s)); }
    int compare_i_ascii(const CharVector& s) const { return compare_i_ascii(ChPair(s)); }

    bool equal_i_ascii(const ChPair& s) const { return streq_i_ascii(begin, size(), s.begin, s.size()); }
    bool equal_i_ascii(const char* b, const char* e) const { return equal_i_ascii(ChPair(b, e)); }
    bool equal_i_ascii(const char* s, int n) const { return equal_i_ascii(ChPair(s, n)); }
    bool equal_i_ascii(const char* s) const { return equal_i_ascii(ChPair(s)); }
    bool equal_i_ascii(const std::string& s) const { return equal_i_ascii(ChPair(s)); }
    bool equal_i_ascii(const ChArr& s) const { return equal_i_ascii(ChPair(s)); }
    bool equal_i_ascii(const CharVector& s) const { return equal_i_ascii(ChPair(s)); }

    int compare_i_utf8(const ChPair& s) const { return strcmp_i_utf8(begin, stop(), s.begin, s.stop()); }
    int compare_i_utf8(const char* b, const char* e) const { return compare_i_utf8(ChPair(b, e)); }
    int compare_i_utf8(const char* s, int n) const { return compare_i_utf8(ChPair(s, n)); }
    int compare_i_utf8(const char* s) const { return compare_i_utf8(ChPair(s)); }
    int compare_i_utf8(const std::string& s) const { return compare_i_utf8(ChPair(s)); }
    int compare_i_utf8(const ChArr& s) const { return compare_i_utf8(ChPair(s)); }
    int compare_i_utf8(const CharVector& s) const { return compare_i_utf8(ChPair(s)); }

    // Texts of different length in bytes are never equal, whatever compare_i_utf8 makes of them.
    bool equal_i_utf8(const ChPair& s) const { return size() == s.size() && compare_i_utf8(s) == 0; }
    bool equal_i_utf8(const char* b, const char* e) const { return equal_i_utf8(ChPair(b, e)); }
    bool equal_i_utf8(const char* s, int n) const { return equal_i_utf8(ChPair(s, n)); }
    bool equal_i_utf8(const char* s) const { return equal_i_utf8(ChPair(s)); }
    bool equal_i_utf8(const std::string& s) const { return equal_i_utf8(ChPair(s)); }
    bool equal_i_utf8(const ChArr& s) const { return equal_i_utf8(ChPair(s)); }
    bool equal_i_utf8(const CharVector& s) const { return equal_i_utf8(ChPair(s)); }

    bool operator==(const ChPair& s) const noexcept { return equal(s); }
    bool operator==(const char* s) const noexcept { return equal(s); }
    bool operator==(const std::string& s) const noexcept { return equal(s); }
    bool operator!=(const ChPair& s) const noexcept { return !equal(s); }
    bool operator!=(const char* s) const noexcept { return !equal(s); }
    bool operator!=(const std::string& s) const noexcept { return !equal(s); }
    bool operator<(const ChPair& s) const { return compare(s) < 0; }
    bool operator<(const char* s) const { return compare(s) < 0; }
    bool operator<(const std::string& s) const { return compare(s) < 0; }
    bool operator>(const ChPair& s) const { return compare(s) > 0; }
    bool operator>(const char* s) const { return compare(s) > 0; }
    bool operator>(const std::string& s) const { return compare(s) > 0; }
    bool operator<=(const ChPair& s) const { return compare(s) <= 0; }
    bool operator<=(const char* s) const { return compare(s) <= 0; }
    bool operator<=(const std::string& s) const { return compare(s) <= 0; }
    bool operator>=(const ChPair& s) const { return compare(s) >= 0; }
    bool operator>=(const char* s) const { return compare(s) >= 0; }
    bool operator>=(const std::string& s) const { return compare(s) >= 0; }

    // The first occurrence; null if there is none. Warning: an empty pattern is found at `end`, and so is any
    // pattern in an empty view that is not null.
    // Cost: time linear in both lengths, for all searches but those of find_i_utf8, see strfind_i_utf8.
    char* find(const ChPair& s) const { return strfind(begin, size(), s.begin, s.size()); }
    char* find(char c) const { return strfind(begin, size(), c); }
    char* find(const char* s) const { return find(ChPair(s)); }
    char* find(const ChArr& s) const { return find(ChPair(s)); }
    char* find(const CharVector& s) const { return find(ChPair(s)); }
    char* find(const std::string& s) const { return find(ChPair(s)); }

    // Whether find has a result, with the same warning.
    bool contains(const ChPair& s) const { return find(s) != nullptr; }
    bool contains(char c) const { return find(c) != nullptr; }
    bool contains(const char* s) const { return find(s) != nullptr; }
    bool contains(const ChArr& s) const { return find(s) != nullptr; }
    bool contains(const CharVector& s) const { return find(s) != nullptr; }
    bool contains(const std::string& s) const { return find(s) != nullptr; }

    char* find_i_ascii(const ChPair& s) const { return strfind_i_ascii(begin, size(), s.begin, s.size()); }
    char* find_i_ascii(char c) const { return strfind_i_ascii(begin, stop(), c); }
    char* find_i_ascii(const char* s) const { return find_i_ascii(ChPair(s)); }
    char* find_i_ascii(const ChArr& s) const { return find_i_ascii(ChPair(s)); }
    char* find_i_ascii(const CharVector& s) const { return find_i_ascii(ChPair(s)); }
    char* find_i_ascii(const std::string& s) const { return find_i_ascii(ChPair(s)); }

    char* find_i_utf8(const ChPair& s) const { return strfind_i_utf8(begin, stop(), s.begin, s.stop()); }
    char* find_i_utf8(char c) const { return find_i_utf8(ChPair(&c, 1)); }
    char* find_i_utf8(const char* s) const { return find_i_utf8(ChPair(s)); }
    char* find_i_utf8(const ChArr& s) const { return find_i_utf8(ChPair(s)); }
    char* find_i_utf8(const CharVector& s) const { return find_i_utf8(ChPair(s)); }
    char* find_i_utf8(const std::string& s) const { return find_i_utf8(ChPair(s)); }

    // Whether the view starts with these bytes. An empty prefix: true, also on the null view.
    bool hasPrefix(const ChPair& s) const { return s.size() <= size() && streq(begin, s.size(), s.begin, s.size()); }
    bool hasPrefix(const char* s) const { return hasPrefix(ChPair(s)); }
    bool hasPrefix(const ChArr& s) const { return hasPrefix(ChPair(s)); }
    bool hasPrefix(const CharVector& s) const { return hasPrefix(ChPair(s)); }
    bool hasPrefix(const std::string& s) const { return hasPrefix(ChPair(s)); }

    bool hasPrefix_i_ascii(const ChPair& s) const {
        return s.size() <= size() && streq_i_ascii(begin, s.size(), s.begin, s.size());
    }
    bool hasPrefix_i_ascii(const char* s) const { return hasPrefix_i_ascii(ChPair(s)); }
    bool hasPrefix_i_ascii(const ChArr& s) const { return hasPrefix_i_ascii(ChPair(s)); }
    bool hasPrefix_i_ascii(const CharVector& s) const { return hasPrefix_i_ascii(ChPair(s)); }
    bool hasPrefix_i_ascii(const std::string& s) const { return hasPrefix_i_ascii(ChPair(s)); }

    // Compares as many bytes of the view as the prefix has.
    bool hasPrefix_i_utf8(const ChPair& s) const {
        return s.size() <= size() && strcmp_i_utf8(begin, begin + s.size(), s.begin, s.stop()) == 0;
    }
    bool hasPrefix_i_utf8(const char* s) const { return hasPrefix_i_utf8(ChPair(s)); }
    bool hasPrefix_i_utf8(const ChArr& s) const { return hasPrefix_i_utf8(ChPair(s)); }
    bool hasPrefix_i_utf8(const CharVector& s) const { return hasPrefix_i_utf8(ChPair(s)); }
    bool hasPrefix_i_utf8(const std::string& s) const { return hasPrefix_i_utf8(ChPair(s)); }

    // These change the bytes in view.
    void lw_ascii() { strlw_ascii(begin, stop()); }
    void up_ascii() { strup_ascii(begin, stop()); }
    void lw_utf8() { strlw_utf8(begin, stop()); }
    void up_utf8() { strup_utf8(begin, stop()); }
    void replace(char from, char to);

    // Narrow the view at both ends: by blanks; by all bytes up to 0x20.
    // Warning: at the front only a byte that is not white stops them, not `end`. A view that is all white ends
    // with `begin` at or beyond `end`, and trimWhite runs through a terminator too.
    // Requires: a byte that stops them, in the view or behind it.
    void trimSpaces();
    void trimWhite();

    // Cuts one line feed and then one carriage return from the end, whichever is there.
    void trimEOLN();

    // Cuts both quotes, if the view has both.
    void trimQuotes(char open, char close);

    // Splits at the first `c`. Without one: false, and the outputs stay untouched. An output may be *this.
    bool split(ChPair& left, char c, ChPair& right) const;

    // The same, but without a `c` the outputs are the whole view and the empty view at its end.
    bool split_get(ChPair& left, char c, ChPair& right) const;

    // split_get at the first line feed; a carriage return before it is cut too. A last line without a line feed is
    // taken as it is, its carriage return included, and the result is false.
    bool split_line_get(ChPair& line, ChPair& rest) const;

    // Parts of a path, with the rules of strfind_last_extension and strfind_last_path_item.
    ChPair findLastExtension() const;
    ChPair findLastPathItem() const;

    // The last item of a path without its extension; ".profile" has an empty one.
    ChPair parsePath() const;

    // The whole view as a number, by the range functions of numbers.h. Returns: false for anything else, with the
    // output as those leave it.
    bool getInt(int& out) const { return strtoint(begin, stop(), &out); }
    bool getUInt(unsigned& out) const { return strtouint(begin, stop(), &out); }
    bool getInt64(std::int64_t& out) const { return strtoint64(begin, stop(), &out); }
    bool getUInt64(std::uint64_t& out) const { return strtouint64(begin, stop(), &out); }
    bool getDouble(double& out) const { return strtodouble(begin, stop(), &out); }

    // An address "1.2.3.4" with its first number in the highest byte. On failure the output is 0.
    // Warning: the last number may be missing behind its dot, and is then 0.
    bool getIP(unsigned& out) const;

    // The same, or an exception. Bounds are inclusive; null is no bound.
    // Throws: LCA__Invalid_integer_value, LCA__Invalid_double_value, LCA__Invalid_IP_address,
    // LCA__Integer_value_is_out_of_range (for a double, too). A NaN lies within any bounds.
    int parseInt(int* min, int* max) const;
    unsigned parseUInt(unsigned* min, unsigned* max) const;
    std::int64_t parseInt64(std::int64_t* min, std::int64_t* max) const;
    std::uint64_t parseUInt64(std::uint64_t* min, std::uint64_t* max) const;
    double parseDouble(double* min, double* max) const;
    unsigned parseIP() const;

    // The value of a name in the table. Throws: LCA__Invalid_enum_value for an unknown name, and for a value of -1 or
    // with a bit of `forbidden`.
    unsigned parseEnum(const PairTag* tags, int forbidden) const;

    // Names with blanks between them, combined. An empty view: 0. Unknown names are passed over unless `strict`.
    // Throws: LCA__Invalid_flag_s with the name as written; LCA__Deprecated_flag_s with the table's first name of a
    // value that has a bit of `deprecated`. Warning: with `deprecated` not 0 an unknown name counts as -1, deprecated.
    // Cost: the product of view and table in the worst case, since each name walks the table.
    unsigned parseFlags(const PairTag* tags, int deprecated, bool strict) const;

    // The view as a time; see the parsers in timetext.h for the forms.
    // Throws: LCA__Invalid_date_required_format_is with the form as its parameter.
    std::int64_t parseGMTTime() const;
    std::int64_t parseLocalTime() const;
    // By parseGMTTime when there is a 'T' in the view, else by parseLocalTime.
    std::int64_t parseTime() const;

private:
    // Where reading ends: `end`, or `begin` if `end` lies before it.
    char* stop() const noexcept { return begin + size(); }
    ChPair readable() const noexcept { return ChPair(begin, stop()); }
};

// The six comparisons of a `Left` with a `Right` that no class has as members, by what `View` makes of both. Each pair
// of types has its own: the next best overload would compare two addresses or a copy that is cut at a zero byte.
#define VELMORA_COMPARE_TEXTS(View, Left, Right)                           \
    inline bool operator==(Left a, Right b) { return View(a) == View(b); } \
    inline bool operator!=(Left a, Right b) { return View(a) != View(b); } \
    inline bool operator<(Left a, Right b) { return View(a) < View(b); }   \
    inline bool operator>(Left a, Right b) { return View(a) > View(b); }   \
    inline bool operator<=(Left a, Right b) { return View(a) <= View(b); } \
    inline bool operator>=(Left a, Right b) { return View(a) >= View(b); }

VELMORA_COMPARE_TEXTS(ChPair, const char*, const ChPair&)
VELMORA_COMPARE_TEXTS(ChPair, const std::string&, const ChPair&)

#endif
