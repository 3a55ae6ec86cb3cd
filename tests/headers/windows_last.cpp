// The library's headers before <windows.h>, which must find its own names untouched. That this compiles is the test.
#include <velmora/velmora.h>

// Behind them on purpose.
#include <windows.h>

#include "tests/headers/windows_names.h"

std::int64_t useWindowsLast(ChPair text, MLDoc& doc, UTF8File& file, TTT& message, Bag& bag) {
    HANDLE handle = GetCurrentProcess();
    return windows_names::use(text, doc, file, message, bag) + (handle ? 1 : 0);
}
