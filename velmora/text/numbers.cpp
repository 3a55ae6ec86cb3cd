#include <velmora/text/numbers.h>

#include <cerrno>
#include <climits>
#include <clocale>
#include <cstdlib>
#include <cstring>
#include <type_traits>

namespace {

constexpr int kMostDecimalBytes = 20;
constexpr int kMostHexDigits = 8;
constexpr int kDoubleTextMax = 50;  // bytes handed to strtod, the terminator included
constexpr unsigned kHexFull = 0x10000000;

// The value of a hexadecimal digit, or -1.
int hexDigit(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    return -1;
}

bool hasHexPrefix(const char* b, const char* e) { return e - b >= 2 && b[0] == '0' && b[1] == 'x'; }

// Runs a converter of the runtime, which must take in all of the text.
template <class Convert, class T>
bool convertAll(const char* s, T* out, Convert convert) {
    if (!s || !*s) return false;
    char* end;
    errno = 0;
    auto value = convert(s, &end);
    if (errno != 0 || *end) return false;
    *out = static_cast<T>(value);
    return true;
}

// The runtime's `long` may have 64 bits: what does not fit 32 is then an overflow here.
long convertLong(const char* s, char** end, int base) {
    long value = std::strtol(s, end, base);
    if (value < INT_MIN || value > INT_MAX) errno = ERANGE;
    return value;
}

// A sign wraps the magnitude, which is what has to fit.
unsigned long convertUnsignedLong(const char* s, char** end, int base) {
    unsigned long value = std::strtoul(s, end, base);
    unsigned long magnitude = std::memchr(s, '-', static_cast<std::size_t>(*end - s)) ? 0 - value : value;
    if (magnitude > UINT_MAX) errno = ERANGE;
    return value;
}

// A leading "0x" of a zero-terminated text chooses the base, and goes.
const char* chooseBase(const char* s, int& base) {
    bool hex = s && s[0] == '0' && s[1] == 'x';
    base = hex ? 16 : 10;
    return hex ? s + 2 : s;
}

// A number without digits behind its prefix is whatever the runtime makes of an empty text.
template <class T, class Convert>
bool convertBased(const char* s, T* out, Convert convert) {
    if (!s || !*s) return false;
    int base;
    const char* digits = chooseBase(s, base);
    if (*digits) return convertAll(digits, out, [&](const char* t, char** end) { return convert(t, end, base); });
    *out = 0;
    return true;
}

// Decimal digits of a whole range. T is the result's type; the only test for overflow is whether a digit made the value
// smaller, which lets some wrapped values through.
template <class T>
bool decimal(const char* b, const char* e, T* out) {
    if (!b || e < b || e == b || e - b > kMostDecimalBytes) return false;
    using Bits = std::make_unsigned_t<T>;
    bool negative = false;
    if (std::is_signed_v<T> && (*b == '+' || *b == '-')) negative = *b++ == '-';
    if (b == e) return false;
    T value = 0;
    for (; b != e; ++b) {
        if (*b < '0' || *b > '9') return false;
        auto next = static_cast<T>(static_cast<Bits>(value) * 10 + static_cast<Bits>(*b - '0'));
        if (next < value) return false;
        value = next;
    }
    *out = negative ? static_cast<T>(0 - static_cast<Bits>(value)) : value;
    return true;
}

// The forms of a 32-bit number: two hexadecimal ones, else decimal.
template <class T>
bool number32(const char* b, const char* e, T* out) {
    if (!b || e < b) return false;
    bool prefix = hasHexPrefix(b, e);
    if (!prefix && (b == e || e[-1] != 'H')) return decimal(b, e, out);
    if (prefix) b += 2;
    if (b != e && e[-1] == 'H') --e;
    return strtohex(b, e, reinterpret_cast<unsigned*>(out));
}

constinit bool numericLocaleChecked = false;

}  // namespace

bool strtohex(const char* s, unsigned* out) {
    if (s[0] == '0' && s[1] == 'x') s += 2;
    const char* digits = s;
    unsigned value = 0;
    for (; *s && *s != 'H'; ++s) {
        int digit = hexDigit(*s);
        if (digit < 0 || value >= kHexFull) return false;
        value = value * 16 + static_cast<unsigned>(digit);
    }
    *out = value;
    return s != digits;
}

bool strtobin(const char* s, unsigned* out) {
    const char* digits = s;
    unsigned value = 0;
    for (; *s && *s != 'B'; ++s) {
        if (*s != '0' && *s != '1') return false;
        value = value << 1 | static_cast<unsigned>(*s - '0');
    }
    *out = value;
    return s != digits;
}

bool strtouint(const char* s, unsigned* out) { return convertBased(s, out, convertUnsignedLong); }

bool strtoint(const char* s, int* out) { return convertBased(s, out, convertLong); }

bool strtoint64(const char* s, std::int64_t* out) {
    return convertAll(s, out, [](const char* t, char** end) { return std::strtoll(t, end, 10); });
}

bool strtouint64(const char* s, std::uint64_t* out) {
    return convertAll(s, out, [](const char* t, char** end) { return std::strtoull(t, end, 10); });
}

bool strtodouble(const char* s, double* out) {
    return convertAll(s, out, [](const char* t, char** end) { return std::strtod(t, end); });
}

void strtodouble_init() {
    if (numericLocaleChecked) return;
    numericLocaleChecked = true;
    const char* current = std::setlocale(LC_NUMERIC, nullptr);
    if (current && std::strcmp(current, "C") != 0) std::setlocale(LC_NUMERIC, "C");
}

bool strtohex(const char* b, const char* e, unsigned* out) {
    if (hasHexPrefix(b, e)) b += 2;
    if (b < e && e[-1] == 'H') --e;
    if (e - b > kMostHexDigits) return false;
    unsigned value = 0;
    for (const char* p = b; p < e; ++p) {
        int digit = hexDigit(*p);
        if (digit < 0) return false;
        value = value * 16 + static_cast<unsigned>(digit);
    }
    *out = value;
    return b < e;
}

bool strtoint(const char* b, const char* e, int* out) { return number32(b, e, out); }
bool strtouint(const char* b, const char* e, unsigned* out) { return number32(b, e, out); }
bool strtoint64(const char* b, const char* e, std::int64_t* out) { return decimal(b, e, out); }
bool strtouint64(const char* b, const char* e, std::uint64_t* out) { return decimal(b, e, out); }

bool strtodouble(const char* b, const char* e, double* out) {
    int length = static_cast<int>(e - b);
    if (length <= 0 || length >= kDoubleTextMax) return false;
    char text[kDoubleTextMax];
    std::memcpy(text, b, static_cast<std::size_t>(length));
    text[length] = 0;
    if (std::memchr(text, 0, static_cast<std::size_t>(length))) return false;  // would end the text too early
    return strtodouble(text, out);
}

void str2bin(const char* s, void* out, int size) {
    auto* bytes = static_cast<unsigned char*>(out);
    std::memset(bytes, 0, static_cast<std::size_t>(size));
    for (int i = 0; i < size; ++i, s += 2) {
        int high = hexDigit(s[0]);
        int low = high < 0 ? -1 : hexDigit(s[1]);
        if (low < 0) return;
        bytes[i] = static_cast<unsigned char>(high * 16 + low);
    }
}

void bin2str(void* in, int size, char* out) {
    static constexpr char digits[] = "0123456789ABCDEF";
    const auto* bytes = static_cast<const unsigned char*>(in);
    for (int i = 0; i < size; ++i) {
        *out++ = digits[bytes[i] >> 4];
        *out++ = digits[bytes[i] & 15];
    }
}
