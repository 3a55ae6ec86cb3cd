// Paths go to the system as UTF-16, by the library's own conversion: that is what this file takes from text/.
#include <fcntl.h>
#include <io.h>
#include <objbase.h>
#include <share.h>
#include <sys/stat.h>
#include <windows.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <cwchar>

#include <velmora/platform/platform.h>
#include <velmora/text/bytes.h>
#include <velmora/text/utf.h>

namespace platform {
namespace {

constexpr int kPathMax = 260;  // 16-bit units, without the terminator

int result(int failed) { return failed == 0 ? 0 : errno; }

// Converts a path or the start of a mask. Null, and errno, for one that is too long, or has a zero in it, which a byte
// that is no UTF-8 can give: the system looks no further, and what it would find there is another file.
wchar_t* convertPath(const char* p, const char* end, wchar_t* out) {
    wchar_t* const last = out + kPathMax;
    for (utf16_t unit; p != end; *out++ = unit) {
        p = getch_utf8(unit, p, end);
        if (out == last || unit == 0) {
            errno = out == last ? ENAMETOOLONG : EINVAL;
            return nullptr;
        }
    }
    return out;
}

// A path in the system's form. One that cannot be one sets errno and is null.
class WidePath {
public:
    explicit WidePath(const char* path) : end_(convertPath(path, path + std::strlen(path), text_)) {
        if (end_) *end_ = 0;
    }

    const wchar_t* get() const { return end_ ? text_ : nullptr; }

private:
    wchar_t text_[kPathMax + 1];
    wchar_t* end_;
};

// Calls a function of the runtime that takes one path and answers 0 for success.
template <class Call>
int withPath(const char* path, Call call) {
    WidePath wide(path);
    return wide.get() ? result(call(wide.get())) : errno;
}

// The system's message in a block from LocalAlloc; null for none. In the system's language, else in any.
wchar_t* formatMessage(DWORD from, HMODULE module, int code) {
    DWORD language = ConvertDefaultLocale(LOCALE_SYSTEM_DEFAULT);
    for (DWORD tried : {language, DWORD{0}}) {
        wchar_t* text = nullptr;
        DWORD flags = FORMAT_MESSAGE_ALLOCATE_BUFFER | FORMAT_MESSAGE_IGNORE_INSERTS | from;
        if (FormatMessageW(flags, module, static_cast<DWORD>(code), tried, reinterpret_cast<wchar_t*>(&text), 0,
                           nullptr) != 0) {
            return text;
        }
    }
    return nullptr;
}

struct LocalBlock {
    wchar_t* text;
    ~LocalBlock() { LocalFree(text); }
};

}  // namespace

FILE* openStream(const char* path, OpenMode mode) {
    static constexpr const wchar_t* modes[] = {L"rbN", L"wbN", L"rb+N"};
    WidePath wide(path);
    return wide.get() ? _wfopen(wide.get(), modes[mode]) : nullptr;
}

int seek(FILE* stream, std::int64_t offset, int whence) { return _fseeki64(stream, offset, whence); }

std::int64_t tell(FILE* stream) { return _ftelli64(stream); }

int descriptor(FILE* stream) { return stream ? _fileno(stream) : -1; }

std::int64_t regularSize(FILE* stream) {
    struct _stat64 info;
    const int before = errno;
    const bool regular = _fstat64(_fileno(stream), &info) == 0 && (info.st_mode & _S_IFMT) == _S_IFREG;
    errno = before;
    return regular ? info.st_size : -1;
}

int makeFolder(const char* path) { return withPath(path, _wmkdir); }

int removeFolder(const char* path) { return withPath(path, _wrmdir); }

int removeFile(const char* path) { return withPath(path, _wremove); }

int renameFile(const char* from, const char* to) {
    WidePath wideFrom(from);
    WidePath wideTo(to);
    if (!wideFrom.get() || !wideTo.get()) return errno;
    return result(_wrename(wideFrom.get(), wideTo.get()));
}

int fileInfo(const char* path, struct _stat64& out) {
    return withPath(path, [&out](const wchar_t* wide) { return _wstat64(wide, &out); });
}

// ---- lock files ----
// A stream that denies all sharing is the lock. The runtime's mode letters and share flags say all of it, and a file
// that is open cannot be removed: a rival that locks between the closing and the removing keeps its file.

namespace {

FILE* openLockFile(const utf16_string& path, const wchar_t* mode, int share) {
    if (path.find(L'\0') == utf16_string::npos) return _wfsopen(path.c_str(), mode, share);
    errno = EINVAL;
    return nullptr;
}

}  // namespace

FILE* lockFile(const utf16_string& path) { return openLockFile(path, L"wbN", _SH_DENYRW); }

void unlockFile(FILE* stream, const utf16_string& path) {
    std::fclose(stream);
    _wremove(path.c_str());
}

int probeLockFile(const utf16_string& path) {
    FILE* stream = openLockFile(path, L"rN", _SH_DENYNO);
    if (!stream) return errno;
    std::fclose(stream);
    return 0;
}

const char* errorText(int error, char* out, int size) {
    if (error < 0 || error >= _sys_nerr) return nullptr;
    const char* text = _sys_errlist[error];
    if (!text || !*text) return nullptr;
    strzcpy(out, static_cast<std::size_t>(size), text);
    return out;
}

char* systemMessage(int code, const char* module) {
    HMODULE handle = module ? GetModuleHandleA(module) : nullptr;
    LocalBlock message = {handle ? formatMessage(FORMAT_MESSAGE_FROM_HMODULE, handle, code) : nullptr};
    if (!message.text) message.text = formatMessage(FORMAT_MESSAGE_FROM_SYSTEM, nullptr, code);
    return message.text ? strnew(message.text, message.text + std::wcslen(message.text)) : nullptr;
}

bool localTime(std::int64_t t, std::tm& out) {
    const std::tm* parts = _localtime64(&t);
    if (parts) out = *parts;
    return parts != nullptr;
}

bool utcTime(std::int64_t t, std::tm& out) {
    const std::tm* parts = _gmtime64(&t);
    if (parts) out = *parts;
    return parts != nullptr;
}

std::int64_t timeFromLocal(std::tm& t) { return _mktime64(&t); }

std::int64_t timeFromUtc(std::tm& t) { return _mkgmtime64(&t); }

int formatTime(utf16_t* out, int size, const char* format, const std::tm& t) {
    constexpr std::size_t kMost = 256;
    wchar_t wideFormat[kMost];
    std::size_t formatLength = std::strlen(format);
    if (formatLength >= kMost || size < 1) return 0;
    for (std::size_t i = 0; i <= formatLength; ++i) wideFormat[i] = static_cast<unsigned char>(format[i]);
    return static_cast<int>(std::wcsftime(out, static_cast<std::size_t>(size), wideFormat, &t));
}

// ---- folders ----

namespace {

void copyEntry(FoundEntry& out, const struct _wfinddata64i32_t& data) {
    out.attributes = data.attrib;
    out.created = data.time_create;
    out.accessed = data.time_access;
    out.written = data.time_write;
    out.size = data.size;
    std::wmemcpy(out.name, data.name, 260);
}

// The runtime has one errno for the end and for a missing folder, so the system is asked.
void clearErrorAtEnd(DWORD end) {
    if (GetLastError() == end) errno = 0;
}

}  // namespace

char separator() { return '\\'; }

std::int64_t findFirst(const char* begin, const char* end, const char* tail, FoundEntry& out) {
    wchar_t mask[kPathMax + 3];
    wchar_t* p = convertPath(begin, end, mask);
    if (!p) return -1;
    for (; *tail; ++tail) *p++ = static_cast<unsigned char>(*tail);
    *p = 0;
    struct _wfinddata64i32_t data = {};
    std::int64_t handle = _wfindfirst64i32(mask, &data);
    if (handle != -1) {
        copyEntry(out, data);
    } else {
        clearErrorAtEnd(ERROR_FILE_NOT_FOUND);
    }
    return handle;
}

bool findNext(std::int64_t handle, FoundEntry& out) {
    struct _wfinddata64i32_t data = {};
    if (_wfindnext64i32(handle, &data) != 0) {
        clearErrorAtEnd(ERROR_NO_MORE_FILES);
        return false;
    }
    copyEntry(out, data);
    return true;
}

void findClose(std::int64_t handle) { _findclose(handle); }

void foundName(const utf16_t (&name)[260], char (&out)[kFoundNameBytes]) {
    const utf16_t* end = name + wcsnlen(name, 260);
    utf16_to_utf8(name, end, out, out + kFoundNameBytes - 1);
    out[strlen_utf8(name, end)] = 0;
}

// ---- console ----

std::size_t printRoom(const char* begin, const char* end) { return strlen_utf8(begin, end) + 1; }

void print(FILE* stream, const char* begin, const char* end, utf16_t* room) {
    std::size_t units = strlen_utf8(begin, end);
    utf8_to_utf16(begin, end, room, room + units);
    room[units] = 0;
    std::fwprintf(stream, L"%ls", room);
    OutputDebugStringW(room);
}

std::size_t argumentRoom(const char* argument) {
    return static_cast<std::size_t>(MultiByteToWideChar(CP_ACP, 0, argument, -1, nullptr, 0));
}

bool argumentToWide(const char* argument, utf16_t* room, std::size_t units) {
    return MultiByteToWideChar(CP_ACP, 0, argument, -1, room, static_cast<int>(units)) != 0;
}

// Any other result than S_OK is not balanced, S_FALSE neither: that is left to whoever initialised the thread before.
bool enterCom(bool multiThreaded) {
    return (multiThreaded ? CoInitializeEx(nullptr, COINIT_MULTITHREADED) : CoInitialize(nullptr)) == S_OK;
}

void leaveCom() { CoUninitialize(); }

}  // namespace platform
