#include "tests/faults/faults.h"

#include <gtest/gtest.h>

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <ctime>
#include <cwchar>
#include <map>

#include "tests/support/descriptors.h"

namespace {

bool counting = false;
int countdown = 0;
int errorToGive = 0;
bool partToMove = false;
faults::Fault lastFault;
std::map<std::string, int> allOf;  // what fails at every call, with its error
std::map<std::string, int> calls;  // that got through
const char* textToGive = nullptr;
const wchar_t* timeToGive = nullptr;

bool movesBytes(const std::string& function) { return function == "fread" || function == "fwrite"; }

// Whether this call is to fail; errno is then set.
bool fails(const char* function) {
    if (const auto found = allOf.find(function); found != allOf.end()) {
        errno = found->second;
        return true;
    }
    // Only a count can be too small without a reason.
    if (!counting || (errorToGive == 0 && !movesBytes(function)) || countdown-- != 0) {
        ++calls[function];
        return false;
    }
    lastFault = {function, errorToGive, partToMove && movesBytes(function)};
    errno = errorToGive;
    return true;
}

}  // namespace

// The library's calls arrive at __wrap_NAME, and __real_NAME is the system's own.
#define WRAP(type, name, parameters, arguments, failure) \
    extern "C" type __real_##name parameters;            \
    extern "C" type __wrap_##name parameters;            \
    extern "C" type __wrap_##name parameters {           \
        if (fails(#name)) return failure;                \
        return __real_##name arguments;                  \
    }

WRAP(FILE*, fopen, (const char* path, const char* mode), (path, mode), nullptr)
WRAP(int, fflush, (FILE * file), (file), EOF)
WRAP(int, fseeko, (FILE * file, off_t offset, int whence), (file, offset, whence), -1)
WRAP(off_t, ftello, (FILE * file), (file), -1)
WRAP(int, unlink, (const char* path), (path), -1)
WRAP(int, rename, (const char* from, const char* to), (from, to), -1)
WRAP(int, renameat2, (int a, const char* from, int b, const char* to, unsigned flags), (a, from, b, to, flags), -1)
WRAP(int, link, (const char* from, const char* to), (from, to), -1)
WRAP(int, linkat, (int a, const char* from, int b, const char* to, int flags), (a, from, b, to, flags), -1)
WRAP(int, mkdir, (const char* path, mode_t mode), (path, mode), -1)
WRAP(int, rmdir, (const char* path), (path), -1)
WRAP(int, lstat, (const char* path, struct stat* info), (path, info), -1)
WRAP(int, stat, (const char* path, struct stat* info), (path, info), -1)
WRAP(int, ftruncate, (int file, off_t size), (file, size), -1)
WRAP(FILE*, fdopen, (int file, const char* mode), (file, mode), nullptr)
WRAP(int, fstat, (int file, struct stat* info), (file, info), -1)
WRAP(int, fstatat, (int folder, const char* path, struct stat* info, int flags), (folder, path, info, flags), -1)

WRAP(int, unlinkat, (int folder, const char* path, int flags), (folder, path, flags), -1)
WRAP(DIR*, opendir, (const char* path), (path), nullptr)
WRAP(dirent*, readdir, (DIR * folder), (folder), nullptr)

// A transfer that fails may have moved a part of the bytes, and the place in the file with them. Returns: whole items.
template <class Move>
std::size_t failedTransfer(std::size_t size, std::size_t n, Move move) {
    if (!lastFault.partMoved) return 0;
    const int error = errno;
    const std::size_t moved = move(size * n / 2);
    errno = error;
    return moved / size;
}

extern "C" std::size_t __real_fread(void* out, std::size_t size, std::size_t n, FILE* file);
extern "C" std::size_t __wrap_fread(void* out, std::size_t size, std::size_t n, FILE* file);
extern "C" std::size_t __wrap_fread(void* out, std::size_t size, std::size_t n, FILE* file) {
    if (!fails("fread")) return __real_fread(out, size, n, file);
    return failedTransfer(size, n, [&](std::size_t part) { return __real_fread(out, 1, part, file); });
}

extern "C" std::size_t __real_fwrite(const void* src, std::size_t size, std::size_t n, FILE* file);
extern "C" std::size_t __wrap_fwrite(const void* src, std::size_t size, std::size_t n, FILE* file);
extern "C" std::size_t __wrap_fwrite(const void* src, std::size_t size, std::size_t n, FILE* file) {
    if (!fails("fwrite")) return __real_fwrite(src, size, n, file);
    return failedTransfer(size, n, [&](std::size_t part) { return __real_fwrite(src, 1, part, file); });
}

extern "C" const char* __real_strerrordesc_np(int error);
extern "C" const char* __wrap_strerrordesc_np(int error);
extern "C" const char* __wrap_strerrordesc_np(int error) {
    return textToGive ? textToGive : __real_strerrordesc_np(error);
}

extern "C" std::size_t __real_wcsftime(wchar_t* out, std::size_t size, const wchar_t* format, const std::tm* t);
extern "C" std::size_t __wrap_wcsftime(wchar_t* out, std::size_t size, const wchar_t* format, const std::tm* t);
extern "C" std::size_t __wrap_wcsftime(wchar_t* out, std::size_t size, const wchar_t* format, const std::tm* t) {
    if (fails("wcsftime")) return 0;
    if (!timeToGive) return __real_wcsftime(out, size, format, t);
    const std::size_t length = std::wcslen(timeToGive);
    if (length >= size) return 0;
    std::wmemcpy(out, timeToGive, length + 1);
    return length;
}

// What is closed is gone also when its close fails.
extern "C" int __real_fclose(FILE* file);
extern "C" int __wrap_fclose(FILE* file);
extern "C" int __wrap_fclose(FILE* file) {
    const bool failing = fails("fclose");
    const int error = errno;
    const int result = __real_fclose(file);
    if (!failing) return result;
    errno = error;
    return EOF;
}

extern "C" int __real_closedir(DIR* folder);
extern "C" int __wrap_closedir(DIR* folder);
extern "C" int __wrap_closedir(DIR* folder) {
    const bool failing = fails("closedir");
    const int error = errno;
    const int result = __real_closedir(folder);
    if (!failing) return result;
    errno = error;
    return -1;
}

extern "C" int __real_fcntl(int file, int command, ...);
extern "C" int __wrap_fcntl(int file, int command, ...);
extern "C" int __wrap_fcntl(int file, int command, ...) {
    va_list arguments;
    va_start(arguments, command);
    void* argument = va_arg(arguments, void*);
    va_end(arguments);
    if (fails("fcntl")) return -1;
    return __real_fcntl(file, command, argument);
}

extern "C" int __real_openat(int folder, const char* path, int flags, ...);
extern "C" int __wrap_openat(int folder, const char* path, int flags, ...);
extern "C" int __wrap_openat(int folder, const char* path, int flags, ...) {
    va_list arguments;
    va_start(arguments, flags);
    const mode_t mode = va_arg(arguments, mode_t);
    va_end(arguments);
    if (fails("openat")) return -1;
    return __real_openat(folder, path, flags, mode);
}

extern "C" int __real_open(const char* path, int flags, ...);
extern "C" int __wrap_open(const char* path, int flags, ...);
extern "C" int __wrap_open(const char* path, int flags, ...) {
    va_list arguments;
    va_start(arguments, flags);
    const mode_t mode = va_arg(arguments, mode_t);
    va_end(arguments);
    if ((flags & O_TMPFILE) == O_TMPFILE && fails("open O_TMPFILE")) return -1;
    if (fails("open")) return -1;
    return __real_open(path, flags, mode);
}

namespace faults {

Fault failNth(int n, int error, const std::function<void()>& action, bool movesPart) {
    lastFault = {};
    countdown = n;
    errorToGive = error;
    partToMove = movesPart;
    errno = 0;
    counting = true;
    action();
    counting = false;
    const Fault fault = lastFault;
    lastFault = {};
    return fault;
}

int failEach(const std::function<void()>& prepare, const std::function<void()>& action,
             const std::function<void(const Fault&)>& check) {
    int faults = 0;
    auto runWith = [&](int n, int error, bool movesPart) {
        SCOPED_TRACE("call " + std::to_string(n) + ", error " + std::to_string(error) + (movesPart ? ", a part" : ""));
        prepare();
        const int before = support::openDescriptors();
        const Fault fault = failNth(n, error, action, movesPart);
        if (!fault.function.empty()) ++faults;
        EXPECT_EQ(before, support::openDescriptors()) << "after a failure of " << fault.function;
        check(fault);
        return fault.function;
    };
    for (int error : {EIO, ENOSPC, EACCES, EINTR, 0}) {
        for (int n = 0;; ++n) {
            const std::string failed = runWith(n, error, false);
            if (movesBytes(failed)) runWith(n, error, true);
            if (failed.empty() || testing::Test::HasFailure()) break;
        }
    }
    return faults;
}

AllFail::AllFail(const std::vector<std::string>& functions, int error) : functions_(functions) {
    for (const std::string& function : functions_) allOf[function] = error;
}

AllFail::~AllFail() {
    for (const std::string& function : functions_) allOf.erase(function);
}

CallCounter::CallCounter() { calls.clear(); }

int CallCounter::of(const std::string& function) const { return calls[function]; }

TimeText::TimeText(const wchar_t* text) { timeToGive = text; }

TimeText::~TimeText() { timeToGive = nullptr; }

SystemText::SystemText(const char* text) { textToGive = text; }

SystemText::~SystemText() { textToGive = nullptr; }

}  // namespace faults
