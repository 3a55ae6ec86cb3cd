// Services for a program's start and its console: printing of UTF-8, arguments as UTF-8, scopes of COM.
//
//     int main(int argc, char** argv) {
//         StringVector<char> arguments;
//         utf8args(argc, argv, arguments);
//         utf8printf("%d arguments\n", arguments.count);
//     }
//
// Printing and utf8args share work buffers without a lock that are never given back: one thread at a time. Memory that
// runs out is std::bad_alloc, with nothing printed.
#ifndef VELMORA_FILES_CONSOLE_H
#define VELMORA_FILES_CONSOLE_H

#include <cstdarg>
#include <cstdio>

#include <velmora/base.h>
#include <velmora/containers/vectors.h>

// Print by the rules of printf; without `stream`, to the standard output. Limit: 32,768 bytes.
// Warning: after a call whose result is empty the next call takes a new block of that size, and the old block is
// never released. A program that prints empty texts again and again grows by 32 KiB each time.
VELMORA_API void utf8printf(const char* format, ...) VELMORA_PRINTF(1, 2);
VELMORA_API void utf8printf(FILE* stream, const char* format, ...) VELMORA_PRINTF(2, 3);
VELMORA_API void utf8printf_va(FILE* stream, const char* format, va_list arguments) VELMORA_PRINTF(2, 0);

// Print a text as it stands, up to its first zero byte. Null and empty: nothing.
// On Windows the text is written as wide characters, and an attached debugger gets it, too. What they become is the
// stream's matter: all of the text as UTF-8 or UTF-16 in the modes _O_U8TEXT and _O_U16TEXT of _setmode, bare UTF-16 in
// a binary stream. Warning: a plain text stream converts to the locale's code page and stops at the first character
// that is not in it. Elsewhere the bytes are written as they are.
VELMORA_API void utf8printf_s(FILE* stream, const char* text);
VELMORA_API void utf8printf_s(FILE* stream, const char* begin, const char* end);

// The arguments of main in UTF-8, in place of what `result` held. On Windows they are converted from the system's ANSI
// code page, and one that cannot be is copied as it stands; elsewhere all are copied.
// Requires: `argv` ends with a null pointer; `argc` is not looked at. Returns: the array in `result`, which has no null
// at its end and is null without any argument. Owns: `result`.
VELMORA_API char** utf8args(int argc, char** argv, StringVector<char>& result);

// COM on this thread, for a scope: with a single-threaded apartment, and in the multi-threaded one. A thread on which
// it was initialised already is left alone. Where the system has no COM the objects do nothing.
// Warning: a copy that is `initialised` would end COM a second time.
class VELMORA_API COMInitSingleThread {
public:
    bool initialised;  // by this object, which ends it

    COMInitSingleThread();
    COMInitSingleThread(const COMInitSingleThread&) = default;
    COMInitSingleThread& operator=(const COMInitSingleThread&) = default;
    ~COMInitSingleThread();
};

class VELMORA_API COMInitMultiThread {
public:
    bool initialised;  // by this object, which ends it

    COMInitMultiThread();
    COMInitMultiThread(const COMInitMultiThread&) = default;
    COMInitMultiThread& operator=(const COMInitMultiThread&) = default;
    ~COMInitMultiThread();
};

#endif
