// Paths go to the system as UTF-16, by the library's own conversion: that is what this file takes from text/.
#include <fcntl.h>
#include <io.h>
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

// A path in the system's form. One that is too long sets errno and is null.
class WidePath {
public:
    explicit WidePath(const char* path) {
        const char* end = path + std::strlen(path);
        std::memset(text_, 0, sizeof text_);
        // One unit of room more than a path may have: if it is used, the path is too long.
        utf8_to_utf16(path, end, text_, text_ + kPathMax + 1);
        tooLong_ = text_[kPathMax] != 0;
        if (tooLong_) errno = ENAMETOOLONG;
    }

    const wchar_t* get() const { return tooLong_ ? nullptr : text_; }

private:
    wchar_t text_[kPathMax + 2];
    bool tooLong_;
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

int makeFolder(const char* path) { return withPath(path, _wmkdir); }

int removeFolder(const char* path) { return withPath(path, _wrmdir); }

int removeFile(const char* path) { return withPath(path, _wremove); }

int renameFile(const char* from, const char* to) {
    WidePath wideFrom(from);
    WidePath wideTo(to);
    if (!wideFrom.get() || !wideTo.get()) return errno = ENAMETOOLONG;
    return result(_wrename(wideFrom.get(), wideTo.get()));
}

int fileInfo(const char* path, struct _stat64& out) {
    return withPath(path, [&out](const wchar_t* wide) { return _wstat64(wide, &out); });
}

// ---- lock files ----
// A stream that denies all sharing is the lock. The runtime's mode letters and share flags say all of it, and a file that
// is open cannot be removed: a rival that locks between the closing and the removing keeps its file.

FILE* lockFile(const utf16_string& path) { return _wfsopen(path.c_str(), L"wbN", _SH_DENYRW); }

void unlockFile(FILE* stream, const utf16_string& path) {
    std::fclose(stream);
    _wremove(path.c_str());
}

int probeLockFile(const utf16_string& path) {
    FILE* stream = _wfsopen(path.c_str(), L"rN", _SH_DENYNO);
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

}  // namespace platform
