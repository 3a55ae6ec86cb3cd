#include <velmora/files/console.h>

#include <cstring>

#include <velmora/platform/platform.h>
#include <velmora/text/utf.h>

namespace {

// Work space that lasts as long as the process. What it held is lost when it grows.
template <class T>
struct WorkSpace {
    T* data = nullptr;
    std::size_t capacity = 0;

    T* prepare(std::size_t count) {
        if (count > capacity) {
            T* block = new T[count];
            delete[] data;
            data = block;
            capacity = count;
        }
        return data;
    }
};

struct PrintText {
    static constexpr std::size_t kMostBytes = 32768;

    char bytes[kMostBytes + 1];
    PrintText* former;  // no longer used, and not given back
};

constinit PrintText* printText = nullptr;
constinit WorkSpace<utf16_t> printWide;
constinit WorkSpace<utf16_t> argumentWide;
constinit WorkSpace<char> argumentText;

void leaveComIf(bool initialised) {
    if (initialised) platform::leaveCom();
}

}  // namespace

void utf8printf(const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    utf8printf_va(stdout, format, arguments);
    va_end(arguments);
}

void utf8printf(FILE* stream, const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    utf8printf_va(stream, format, arguments);
    va_end(arguments);
}

void utf8printf_va(FILE* stream, const char* format, va_list arguments) {
    if (!printText || printText->bytes[0] == 0) {
        PrintText* block = new PrintText;
        block->former = printText;
        printText = block;
    }
    char* text = printText->bytes;
    text[0] = 0;
    std::vsnprintf(text, sizeof printText->bytes, format, arguments);
    text[PrintText::kMostBytes] = 0;
    utf8printf_s(stream, text, text + std::strlen(text));
}

void utf8printf_s(FILE* stream, const char* text) {
    if (text) utf8printf_s(stream, text, text + std::strlen(text));
}

void utf8printf_s(FILE* stream, const char* begin, const char* end) {
    if (!begin || begin == end || *begin == 0) return;
    platform::print(stream, begin, end, printWide.prepare(platform::printRoom(begin, end)));
}

char** utf8args(int, char** argv, StringVector<char>& result) {
    result.removeAll();
    for (; *argv; ++argv) {
        const char* argument = *argv;
        std::size_t units = *argument ? platform::argumentRoom(argument) : 0;
        utf16_t* wide = argumentWide.prepare(units);
        if (units == 0 || !platform::argumentToWide(argument, wide, units)) {
            result.append(argument);
            continue;
        }
        char* text = argumentText.prepare(3 * units);
        utf16_to_utf8(wide, wide + units, text, text + 3 * units);
        result.append(static_cast<const char*>(text));
    }
    return result.getData();
}

COMInitSingleThread::COMInitSingleThread() : initialised(platform::enterCom(false)) {}

COMInitSingleThread::~COMInitSingleThread() { leaveComIf(initialised); }

COMInitMultiThread::COMInitMultiThread() : initialised(platform::enterCom(true)) {}

COMInitMultiThread::~COMInitMultiThread() { leaveComIf(initialised); }
