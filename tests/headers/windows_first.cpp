// The library's headers behind <windows.h>, with all its macros in force. That this compiles is the test.
#include <windows.h>

// Behind it on purpose.
#include <velmora/velmora.h>

#include "tests/headers/windows_names.h"

std::int64_t useWindowsFirst(ChPair text, MLDoc& doc, UTF8File& file, TTT& message, Bag& bag) {
    HANDLE handle = GetCurrentProcess();
    return windows_names::use(text, doc, file, message, bag) + (handle ? 1 : 0);
}
