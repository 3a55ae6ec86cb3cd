// Byte strings: copying, comparing, searching and case folding over raw pointers, and the tables behind them.
// "_ascii" in a name means that one byte is one character; the byte tables follow the process's character locale
// as it was when the library was loaded, except for the letters A to Z and a to z, whose case is always that of ASCII.
// Everything here works on its arguments only and is reentrant.
// Cost: time linear in the arguments, of the searches too (text and pattern together); no search allocates.
//
// A text is zero-terminated, or a pointer and a length, or [begin, end): each signature tells which. Strings that
// are made here come from new[]; the caller owns them and releases them with delete[].
#ifndef VELMORA_TEXT_BYTES_H
#define VELMORA_TEXT_BYTES_H

#include <cstddef>
#include <cstring>
#include <string>

#include <velmora/base.h>

// What stands in for null text, everywhere in the library.
extern VELMORA_API const char empty_string[1];
extern VELMORA_API const utf16_t empty_string16[1];
extern VELMORA_API const std::string std_null_string;

// Case and class tables, built when the library is loaded and only read afterwards. The index is the unsigned byte,
// or the 16-bit unit. A class is 'L' lower case, 'U' upper case, 'D' digit, 'W' white (exactly 0x09, 0x0A, 0x0D and
// 0x20: vertical tab and form feed are not), '.' anything else.
extern VELMORA_API bool chr_tables_prepare_done;
extern VELMORA_API unsigned char chr_upper_table_ascii[256];
extern VELMORA_API unsigned char chr_lower_table_ascii[256];
extern VELMORA_API char chr_types_table_ascii[256];
extern VELMORA_API utf16_t chr_upper_table_utf16[65536];
extern VELMORA_API utf16_t chr_lower_table_utf16[65536];

// Builds the tables; a second call costs one test. Loading the library calls it: only another static initialiser
// that may run earlier needs to. Sets LC_NUMERIC of the process to "C" and, where LC_CTYPE is still "C", LC_CTYPE to
// the user's default; neither is restored.
VELMORA_API void chr_tables_prepare();

// A copy of the `n` bytes (units) at `s`, with a terminator behind them. Null `s`: null.
VELMORA_API char* strnew(const char* s, std::size_t n);
VELMORA_API utf16_t* strnew16(const utf16_t* s, std::size_t n);

// A copy of a zero-terminated text. Null: null.
inline char* strnew(const char* s) { return s ? strnew(s, std::strlen(s)) : nullptr; }
inline utf16_t* strnew16(const utf16_t* s) { return s ? strnew16(s, std::char_traits<utf16_t>::length(s)) : nullptr; }

// The range converted from UTF-16 to UTF-8, and back. Null `b`: null. An empty range: a new empty string.
VELMORA_API char* strnew(const utf16_t* b, const utf16_t* e);
VELMORA_API utf16_t* strnew16(const char* b, const char* e);

// Appends `addlen` bytes to the owned string `s` of `len` bytes: a new array replaces it. `len` is trusted.
// Null `add`: `s` stays as it is. Null `s`: a copy of `add`.
VELMORA_API void stradd(char*& s, std::size_t len, const char* add, std::size_t addlen);

// Copies into a field of `dstsize` bytes, cut to fit, terminated always, the rest filled with zeros.
// Requires: `dstsize` is not 0.
VELMORA_API void strzcpy(char* dst, std::size_t dstsize, const char* src);

// Order by unsigned bytes; null counts as empty. Returns: exactly -1, 0 or 1.
VELMORA_API int strcmp0(const char* a, const char* b);

// Order of two counted texts. Returns: a number of which only the sign has a meaning.
VELMORA_API int strcompare(const char* a, std::size_t alen, const char* b, std::size_t blen);

VELMORA_API bool streq(const char* a, std::size_t alen, const char* b, std::size_t blen);

// Case-insensitive order, through chr_upper_table_ascii. Returns: -1, 0 or 1. The sign of two letters that differ
// comes from the bytes as they stand and not from the folded ones: "a" against "B" is 1.
VELMORA_API int strcmp_i_ascii(const char* a, const char* b);

// The same for ranges. Warning: a null begin is replaced by the empty text but its end is not, so a range of two
// nulls gives 1 against anything as the first side.
VELMORA_API int strcmp_i_ascii(const char* b1, const char* e1, const char* b2, const char* e2);

VELMORA_API bool streq_i_ascii(const char* a, std::size_t alen, const char* b, std::size_t blen);

// The last `c` in the range; null if there is none.
VELMORA_API char* strbchr(const char* b, const char* e, char c);

// The first `c`; null if there is none.
VELMORA_API char* strfind(const char* s, std::size_t n, char c);

// The first `p` in the text; null if there is none. Warning: an empty pattern is found at the end of the text, and
// so is anything in an empty text.
VELMORA_API char* strfind(const char* s, std::size_t n, const char* p, std::size_t pn);

VELMORA_API char* strfind_i_ascii(const char* b, const char* e, char c);

// As strfind, without regard to case. Here an empty text holds no pattern but the empty one.
VELMORA_API char* strfind_i_ascii(const char* s, std::size_t n, const char* p, std::size_t pn);

// The place behind the last '/', '\' or ':' of a path; `b` if it has none. Never null.
VELMORA_API const char* strfind_last_path_item(const char* b, const char* e);

// The place behind the last '.' of the last item of a path; `e` if that item has none. Never null.
VELMORA_API const char* strfind_last_extension(const char* b, const char* e);

// Case conversion in place. The 16-bit forms cover a unit that `e` cuts in half.
VELMORA_API void strlw_ascii(char* b, const char* e);
VELMORA_API void strup_ascii(char* b, const char* e);
VELMORA_API void strlw_utf16(utf16_t* b, const utf16_t* e);
VELMORA_API void strup_utf16(utf16_t* b, const utf16_t* e);

#endif
