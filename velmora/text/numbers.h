// Text to numbers, without exceptions. There are two grammars, and they are not interchangeable: the zero-terminated
// functions are the C runtime's converters (leading white space, a sign also in front of unsigned numbers), the range
// functions are the library's own and convert in place, inside a document's block.
// A false result leaves the output untouched, except where noted. White space is the six bytes of the "C" locale.
//
// A double is what strtod takes in the "C" locale, whatever the locale of the process is and on every platform: its
// point is '.', and overflow and underflow (a result below the normal range that is not exact) are false, with ERANGE
// in errno.
#ifndef VELMORA_TEXT_NUMBERS_H
#define VELMORA_TEXT_NUMBERS_H

#include <cstdint>

#include <velmora/base.h>

// Hexadecimal: "0x" in front and 'H' behind are allowed, more than 32 bits are not. What stands behind an 'H' is not
// looked at. Without a digit: 0 is stored and the result is false.
VELMORA_API bool strtohex(const char* s, unsigned* out);
// Base 2, with 'B' as the end. Limit: bits beyond 32 are shifted out. Without a digit as above.
VELMORA_API bool strtobin(const char* s, unsigned* out);
// Base 10, or 16 behind a "0x" that stands first. Null or empty: false.
VELMORA_API bool strtouint(const char* s, unsigned* out);
VELMORA_API bool strtoint(const char* s, int* out);
// Base 10 only.
VELMORA_API bool strtoint64(const char* s, std::int64_t* out);
VELMORA_API bool strtouint64(const char* s, std::uint64_t* out);
VELMORA_API bool strtodouble(const char* s, double* out);

// Sets LC_NUMERIC to "C" for a host that has changed it since the library was loaded. Works once.
VELMORA_API void strtodouble_init();

// At most eight hexadecimal digits, leading zeros counted, with "0x" or 'H' or both. Without a digit: 0 is stored and
// the result is false.
VELMORA_API bool strtohex(const char* b, const char* e, unsigned* out);
// Decimal with a sign, or one of the hexadecimal forms as a 32-bit pattern: "FFFFFFFFH" is -1. At most 20 bytes.
// Warning: overflow is found where a digit makes the value smaller. Some texts of ten digits and more pass with a
// wrapped value, and -2147483648 is refused.
VELMORA_API bool strtoint(const char* b, const char* e, int* out);
// The same without a sign.
VELMORA_API bool strtouint(const char* b, const char* e, unsigned* out);
// Decimal only, 64 bits, with the same kind of gap in the overflow test.
VELMORA_API bool strtoint64(const char* b, const char* e, std::int64_t* out);
VELMORA_API bool strtouint64(const char* b, const char* e, std::uint64_t* out);
// Limit: 49 bytes.
VELMORA_API bool strtodouble(const char* b, const char* e, double* out);

// Hex dumps. str2bin fills `size` bytes from pairs of digits; at the first that is none it stops, and the rest is zero.
// bin2str writes 2 * size upper-case digits, without a terminator.
VELMORA_API void str2bin(const char* s, void* out, int size);
VELMORA_API void bin2str(void* in, int size, char* out);

#endif
