#include <velmora/text/numbers.h>

#include <cerrno>
#include <cfloat>
#include <charconv>
#include <climits>
#include <clocale>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <type_traits>

namespace {

constexpr int kMostDecimalBytes = 20;
constexpr int kMostHexDigits = 8;
constexpr int kDoubleTextMost = 49;  // bytes of a range that is read as a double
constexpr unsigned kHexFull = 0x10000000;

// The value of a decimal digit; above 9 for any other byte.
unsigned digitOf(char c) { return static_cast<unsigned char>(c - '0'); }

// The value of a hexadecimal digit, or -1.
int hexDigit(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    return -1;
}

bool hasHexPrefix(const char* b, const char* e) { return e - b >= 2 && b[0] == '0' && b[1] == 'x'; }

// White space of the "C" locale. Another one may have more, and isspace asks the one in force.
bool isSpace(char c) { return c == ' ' || (c >= '\t' && c <= '\r'); }

// Runs a converter of the runtime, which must take in all of the text. It gets no white space to judge: a byte from
// 0x80 up may be some in the locale in force, and is never the begin of a number.
template <class Convert, class T>
bool convertAll(const char* s, T* out, Convert convert) {
    if (!s) return false;
    while (isSpace(*s)) ++s;
    if (!*s || static_cast<unsigned char>(*s) >= 0x80) return false;
    char* end;
    errno = 0;
    auto value = convert(s, &end);
    if (errno != 0 || *end) return false;
    *out = static_cast<T>(value);
    return true;
}

// Digits alone, and so few that they fit: the common text. `end` stops a range, or null a text with a terminator.
// Returns: false for any other text.
template <class T>
bool readPlain(const char* s, const char* end, T* out) {
    T value = 0;
    int count = 0;
    for (; count < std::numeric_limits<T>::digits10 && s + count != end && digitOf(s[count]) <= 9; ++count) {
        value = static_cast<T>(value * 10 + static_cast<T>(digitOf(s[count])));
    }
    if (count == 0 || (end ? s + count != end : s[count] != 0)) return false;
    *out = value;
    return true;
}

template <class Convert, class T>
bool convertDecimal(const char* s, T* out, Convert convert) {
    if (s && readPlain<T>(s, nullptr, out)) {
        errno = 0;
        return true;
    }
    return convertAll(s, out, [&](const char* t, char** end) { return convert(t, end, 10); });
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
    if (base == 10) return convertDecimal(digits, out, convert);
    if (*digits) return convertAll(digits, out, [&](const char* t, char** end) { return convert(t, end, base); });
    *out = 0;
    return true;
}

// Decimal digits of a whole range. T is the result's type; the only test for overflow is whether a digit made the value
// smaller, which lets some wrapped values through.
template <class T>
bool decimal(const char* b, const char* e, T* out) {
    if (b && b < e && readPlain(b, e, out)) return true;
    if (!b || e < b || e == b || e - b > kMostDecimalBytes) return false;
    using Bits = std::make_unsigned_t<T>;
    bool negative = false;
    if (std::is_signed_v<T> && (*b == '+' || *b == '-')) negative = *b++ == '-';
    if (b == e) return false;
    T value = 0;
    for (; b != e; ++b) {
        if (digitOf(*b) > 9) return false;
        auto next = static_cast<T>(static_cast<Bits>(value) * 10 + digitOf(*b));
        if (next < value) return false;
        value = next;
    }
    *out = negative ? static_cast<T>(0 - static_cast<Bits>(value)) : value;
    return true;
}

// The forms of a 32-bit number: two hexadecimal ones, else decimal.
template <class T>
bool number32(const char* b, const char* e, T* out) {
    if (b && b < e && readPlain(b, e, out)) return true;
    if (!b || e < b) return false;
    bool prefix = hasHexPrefix(b, e);
    if (!prefix && (b == e || e[-1] != 'H')) return decimal(b, e, out);
    if (prefix) b += 2;
    if (b != e && e[-1] == 'H') --e;
    return strtohex(b, e, reinterpret_cast<unsigned*>(out));
}

// Underflow is what the C library calls so: a result below the normal range that is not just what the text says. Not
// below is what comes to the least normal number at full precision, so a text may be a little less than that number.

// The significant digits of a decimal text against others, which begin with no zero. Where the point is does not count.
int compareDigits(const char* b, const char* e, const char* digits) {
    while (b != e && (*b == '0' || *b == '.')) ++b;
    for (;;) {
        if (b != e && *b == '.') ++b;
        const bool more = b != e && *b >= '0' && *b <= '9';
        if (!more && !*digits) return 0;
        const int difference = (more ? *b++ : '0') - (*digits ? *digits++ : '0');
        if (difference != 0) return difference;
    }
}

bool underflowsDecimal(const char* b, const char* e, double v) {
    // The least normal number less a quarter of the least number of all, to forty digits.
    static constexpr char least[] = "2225073858507201259573821257020768020077";
    if (v == DBL_MIN) return compareDigits(b, e, least) < 0;
    constexpr int most = 767;  // digits of a double
    char digits[most + 16];
    std::to_chars(digits, digits + sizeof digits, v, std::chars_format::scientific, most - 1);
    digits[1] = digits[0];  // over the point
    digits[most + 1] = 0;   // before the exponent
    return compareDigits(b, e, digits + 1) != 0;
}

bool underflowsHex(const char* b, const char* e, double v) {
    std::uint64_t bits = 0;  // of the text, from the first that is set
    bool more = false;       // whether a later one is set
    for (; b != e && *b != 'p' && *b != 'P'; ++b) {
        const int digit = hexDigit(*b);  // -1 for the point
        for (int i = 3; digit >= 0 && i >= 0; --i) {
            const unsigned bit = static_cast<unsigned>(digit) >> i & 1;
            if (bits >> 63 != 0) {
                more |= bit != 0;
            } else {
                bits = bits << 1 | bit;
            }
        }
    }
    while (bits >> 63 == 0) bits <<= 1;
    // A text that is less than the least normal number and comes to it has ones only, as many as a double and one more.
    if (v == DBL_MIN) return bits >> 62 == 3 && bits >> 10 != (std::uint64_t{1} << 54) - 1;
    int exponent;
    return more || bits != static_cast<std::uint64_t>(std::ldexp(std::frexp(v, &exponent), 64));
}

// Reads a decimal number whose digits and power of ten are exact as doubles: one product or quotient of the two is
// rounded once, and so is the nearest double.
// Returns: false for any other text, be it a number or not.
bool readExact(const char* b, const char* e, double& v) {
    constexpr std::ptrdiff_t mostBytes = 17;  // the digits of the greatest exact number, and a point
    constexpr std::uint64_t mostExact = std::uint64_t{1} << DBL_MANT_DIG;
    static constexpr double powers[] = {1e0,  1e1,  1e2,  1e3,  1e4,  1e5,  1e6,  1e7,  1e8,  1e9,  1e10, 1e11,
                                        1e12, 1e13, 1e14, 1e15, 1e16, 1e17, 1e18, 1e19, 1e20, 1e21, 1e22};
    constexpr std::int64_t mostPower = std::size(powers) - 1;
    if (e - b > mostBytes) return false;
    std::uint64_t digits = 0;
    const char* p = b;
    for (; p != e && digitOf(*p) <= 9; ++p) digits = digits * 10 + digitOf(*p);
    std::ptrdiff_t count = p - b;
    std::int64_t power = 0;
    if (p != e && *p == '.') {
        const char* fraction = ++p;
        for (; p != e && digitOf(*p) <= 9; ++p) digits = digits * 10 + digitOf(*p);
        power = fraction - p;
        count += p - fraction;
    }
    if (count == 0 || digits > mostExact) return false;
    if (p != e && (*p == 'e' || *p == 'E')) {
        ++p;
        const bool negative = p != e && *p == '-';
        if (p != e && (*p == '-' || *p == '+')) ++p;
        const char* first = p;
        std::int64_t exponent = 0;
        for (; p != e && digitOf(*p) <= 9; ++p) exponent = exponent * 10 + digitOf(*p);
        if (p == first) return false;
        power += negative ? -exponent : exponent;
    }
    if (p != e || power < -mostPower || power > mostPower) return false;
    v = static_cast<double>(digits);
    v = power < 0 ? v / powers[-power] : v * powers[power];
    return true;
}

// strtod of the "C" locale, whatever the locale in force is and whatever runtime there is, over a whole range.
bool readDouble(const char* b, const char* e, double* out) {
    errno = 0;
    while (b != e && isSpace(*b)) ++b;
    bool negative = false;
    if (b != e && (*b == '+' || *b == '-')) negative = *b++ == '-';
    double v = 0;
    if (readExact(b, e, v)) {
        *out = negative ? -v : v;
        return true;
    }
    const bool hex = e - b > 2 && b[0] == '0' && (b[1] == 'x' || b[1] == 'X');
    if (hex) b += 2;
    // What from_chars would take here and strtod does not: a second sign, and words as digits of base 16.
    if (b != e && (*b == '-' || (hex && *b != '.' && hexDigit(*b) < 0))) return false;
    const std::from_chars_result result =
        std::from_chars(b, e, v, hex ? std::chars_format::hex : std::chars_format::general);
    if (result.ptr != e || result.ec == std::errc::invalid_argument) return false;
    if (result.ec != std::errc() ||
        (v != 0 && v <= DBL_MIN && (hex ? underflowsHex(b, e, v) : underflowsDecimal(b, e, v)))) {
        errno = ERANGE;
        return false;
    }
    *out = negative ? -v : v;
    return true;
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

bool strtoint64(const char* s, std::int64_t* out) { return convertDecimal(s, out, std::strtoll); }

bool strtouint64(const char* s, std::uint64_t* out) { return convertDecimal(s, out, std::strtoull); }

bool strtodouble(const char* s, double* out) { return s && readDouble(s, s + std::strlen(s), out); }

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
    return length > 0 && length <= kDoubleTextMost && readDouble(b, b + length, out);
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
