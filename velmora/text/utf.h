// UTF-8 and UTF-16. A character is one 16-bit unit: sequences of one, two and three bytes, code points 0 to 0xFFFF.
// There are no surrogate pairs: each half of a pair is converted alone, to three bytes, and a four-byte sequence
// decodes to the low 16 bits of its code point.
//
// Nothing here reports an error or allocates. Every byte sequence decodes to something: a byte from 0x80 up starts a
// sequence with its low five bits, and takes in all continuation bytes (10xxxxxx) that follow. strchk_utf8 alone
// judges. Output that does not fit is cut where the room ends, in the middle of a character if need be.
// Cost: time linear in the arguments, with the one exception of strfind_i_utf8.
#ifndef VELMORA_TEXT_UTF_H
#define VELMORA_TEXT_UTF_H

#include <cstddef>

#include <velmora/base.h>

// Null for well-formed bytes (overlong forms and encoded surrogates pass), else the place of the first bad one.
VELMORA_API const char* strchk_utf8(const char* s, std::size_t n);

// Characters of a UTF-8 text: bytes that do not continue a sequence. Null: 0.
VELMORA_API std::size_t strlen_utf8(const char* s);
VELMORA_API std::size_t strlen_utf8(const char* b, const char* e);

// Bytes, not characters, that a UTF-16 text takes as UTF-8. Null: 0.
VELMORA_API std::size_t strlen_utf8(const utf16_t* s);
VELMORA_API std::size_t strlen_utf8(const utf16_t* b, const utf16_t* e);

// The start of the next character, at most `e`. Requires: the byte at `e` is readable.
VELMORA_API const char* chrpass_utf8(const char* p, const char* e);

// The start of the character before `p`, at least `b`.
VELMORA_API const char* chrback_utf8(const char* b, const char* p);

// Decodes one character. Returns: the place behind it. At `e` the character is 0xFFFF and the place `p`.
// Null `p`: null, `c` untouched. Requires: `p` is not behind `e`.
VELMORA_API const char* getch_utf8(utf16_t& c, const char* p, const char* e);

// Encodes one character. Returns: the place behind what was written. Limit: what does not fit before `e` is cut.
VELMORA_API char* putch_utf8(utf16_t c, char* p, const char* e);

// Convert a range, without a terminator. Limit: what does not fit before `de` is cut.
VELMORA_API void utf16_to_utf8(const utf16_t* b, const utf16_t* e, char* d, const char* de);
VELMORA_API void utf8_to_utf16(const char* b, const char* e, utf16_t* d, const utf16_t* de);

// Case conversion in place. The text keeps its length in bytes; a character whose other case has another encoded
// length throws the rest of the pass out of step.
VELMORA_API void strup_utf8(char* b, const char* e);
VELMORA_API void strlw_utf8(char* b, const char* e);

// Case-insensitive order, by folded characters: "a" against "B" is -1. Null: empty. Returns: -1, 0 or 1.
VELMORA_API int strcmp_i_utf8(const char* b1, const char* e1, const char* b2, const char* e2);

// The first place of a pattern without regard to case; null if there is none. An empty pattern is found at `e`.
// A match whose case forms differ in encoded length is not found.
// Cost: in the worst case the product of both lengths, where much of the pattern matches at many places.
VELMORA_API char* strfind_i_utf8(const char* b, const char* e, const char* pb, const char* pe);

#endif
