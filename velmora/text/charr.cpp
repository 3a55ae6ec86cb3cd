#include <velmora/text/charr.h>

#include <memory>

#include <velmora/platform/platform.h>
#include <velmora/text/charvector.h>
#include <velmora/text/formatting.h>
#include <velmora/text/utf.h>

namespace {

// windows-1251 by byte. 0x98 has no character there and becomes a space.
constexpr std::uint16_t kWindows1251[128] = {
    0x0402, 0x0403, 0x201A, 0x0453, 0x201E, 0x2026, 0x2020, 0x2021, 0x20AC, 0x2030, 0x0409, 0x2039, 0x040A,
    0x040C, 0x040B, 0x040F, 0x0452, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022, 0x2013, 0x2014, 0x0020, 0x2122,
    0x0459, 0x203A, 0x045A, 0x045C, 0x045B, 0x045F, 0x00A0, 0x040E, 0x045E, 0x0408, 0x00A4, 0x0490, 0x00A6,
    0x00A7, 0x0401, 0x00A9, 0x0404, 0x00AB, 0x00AC, 0x00AD, 0x00AE, 0x0407, 0x00B0, 0x00B1, 0x0406, 0x0456,
    0x0491, 0x00B5, 0x00B6, 0x00B7, 0x0451, 0x2116, 0x0454, 0x00BB, 0x0458, 0x0405, 0x0455, 0x0457, 0x0410,
    0x0411, 0x0412, 0x0413, 0x0414, 0x0415, 0x0416, 0x0417, 0x0418, 0x0419, 0x041A, 0x041B, 0x041C, 0x041D,
    0x041E, 0x041F, 0x0420, 0x0421, 0x0422, 0x0423, 0x0424, 0x0425, 0x0426, 0x0427, 0x0428, 0x0429, 0x042A,
    0x042B, 0x042C, 0x042D, 0x042E, 0x042F, 0x0430, 0x0431, 0x0432, 0x0433, 0x0434, 0x0435, 0x0436, 0x0437,
    0x0438, 0x0439, 0x043A, 0x043B, 0x043C, 0x043D, 0x043E, 0x043F, 0x0440, 0x0441, 0x0442, 0x0443, 0x0444,
    0x0445, 0x0446, 0x0447, 0x0448, 0x0449, 0x044A, 0x044B, 0x044C, 0x044D, 0x044E, 0x044F};

utf16_t fromWindows1251(char c) {
    auto byte = static_cast<unsigned char>(c);
    return static_cast<utf16_t>(byte < 0x80 ? byte : kWindows1251[byte - 0x80]);
}

}  // namespace

ChArr::ChArr(const CharVector& s) : ChArr(ChPair(s)) {}
ChArr::ChArr(const utf16_t* s) : data(s ? strnew(s, s + std::char_traits<utf16_t>::length(s)) : nullptr) {}
ChArr::ChArr(const ChArr16& s) : ChArr(static_cast<const utf16_t*>(s.data)) {}

// The old text goes last: the new one may have been made from it.
void ChArr::replaceWith(char* text) {
    delete[] data;
    data = text;
}

ChArr& ChArr::operator=(const char* s) {
    if (s != data) replaceWith(strnew(s));
    return *this;
}

ChArr& ChArr::operator=(const ChPair& s) {
    assign(s.begin, s.end);
    return *this;
}

ChArr& ChArr::operator=(const ChArr& s) {
    if (s.data == data) return *this;
    del();
    data = strnew(s.data);
    return *this;
}

ChArr& ChArr::operator=(const CharVector& s) { return *this = ChPair(s); }
ChArr& ChArr::operator=(const std::string& s) { return *this = ChPair(s); }

ChArr& ChArr::operator=(const utf16_t* s) {
    replaceWith(s ? strnew(s, s + std::char_traits<utf16_t>::length(s)) : nullptr);
    return *this;
}

ChArr& ChArr::operator=(const utf16_string& s) {
    assign(s.data(), s.data() + s.size());
    return *this;
}

void ChArr::assign(const char* b, const char* e) {
    if (b != data) replaceWith(strnew(b, ChPair(b, e).size()));
}

void ChArr::assign(const utf16_t* b, const utf16_t* e) { replaceWith(strnew(b, e)); }

void ChArr::assign1251(const char* s, int n) {
    auto count = static_cast<unsigned>(n);
    std::size_t size = 0;
    for (unsigned i = 0; i < count; ++i) {
        utf16_t c = fromWindows1251(s[i]);
        size += strlen_utf8(&c, &c + 1);
    }
    char* text = new char[size + 1];
    char* p = text;
    for (unsigned i = 0; i < count; ++i) p = putch_utf8(fromWindows1251(s[i]), p, text + size);
    *p = 0;
    replaceWith(text);
}

void ChArr::format(const char* fmt, ...) {
    va_list args;
    va_start(args, fmt);
    format_va(fmt, args);
    va_end(args);
}

void ChArr::format_va(const char* fmt, va_list args) {
    velmora::detail::FormattedText text(fmt, args);
    replaceWith(strnew(text.begin(), text.size()));
}

void ChArr::winerror(int code, const char* module) {
    const std::unique_ptr<char[]> former(steal());  // the module's name may lie in it
    ChArr message;
    message.data = platform::systemMessage(code, module);
    if (!message.data) return;
    ChPair text(message);
    for (char last : {'\n', '\r', '.'}) {
        if (!text.empty() && text.end[-1] == last) --text.end;
    }
    *this = text;
}

void ChArr::del() { replaceWith(nullptr); }

char* ChArr::steal() {
    char* text = data;
    data = nullptr;
    return text;
}

void ChArr::stealFrom(ChArr& other) {
    if (this != &other) replaceWith(other.steal());
}

void ChArr::stealFrom(CharVector& other) { replaceWith(other.steal()); }

void ChArr::operator+=(const char* s) {
    if (!s) return;
    // `s` may lie inside the text that stradd releases last.
    stradd(data, std::strlen(asCharPtr()), s, std::strlen(s));
}

void ChArr::insert(const char* s) {
    if (!s || !*s) return;
    std::size_t front = std::strlen(s);
    std::size_t old = std::strlen(asCharPtr());
    char* text = new char[front + old + 1];
    std::memcpy(text, s, front);
    std::memcpy(text + front, asCharPtr(), old + 1);
    replaceWith(text);
}

void ChArr16::replaceWith(utf16_t* text) {
    delete[] data;
    data = text;
}

ChArr16& ChArr16::operator=(const utf16_t* s) {
    if (s != data) replaceWith(strnew16(s));
    return *this;
}

ChArr16& ChArr16::operator=(const ChArr16& s) { return *this = static_cast<const utf16_t*>(s.data); }

ChArr16& ChArr16::operator=(const utf16_string& s) {
    assign(s.data(), s.data() + s.size());
    return *this;
}

ChArr16& ChArr16::operator=(const char* s) { return *this = ChPair(s); }

void ChArr16::assign(const utf16_t* b, const utf16_t* e) {
    if (b != data) replaceWith(strnew16(b, static_cast<std::size_t>(e - b)));
}

void ChArr16::del() { replaceWith(nullptr); }

utf16_t* ChArr16::steal() {
    utf16_t* text = data;
    data = nullptr;
    return text;
}
