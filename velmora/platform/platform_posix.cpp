#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <cwchar>

#include <velmora/platform/platform.h>

namespace platform {
namespace {

constexpr mode_t kAnyWrite = S_IWUSR | S_IWGRP | S_IWOTH;

int result(int failed) { return failed == 0 ? 0 : errno; }

int fail(int error) {
    errno = error;
    return error;
}

// For file systems that cannot rename without replacing. A link refuses an existing target, and a folder cannot be
// linked: there the target is looked for first, which leaves a moment to a rival.
int renameByLink(const char* from, const char* to) {
    struct stat source;
    if (lstat(from, &source) != 0) return errno;
    if (!S_ISDIR(source.st_mode)) {
        if (link(from, to) == 0) return result(unlink(from));
        if (errno == EEXIST) return errno;
    }
    struct stat target;
    if (lstat(to, &target) == 0) return fail(EEXIST);
    return result(rename(from, to));
}

bool missingFeature(int error) { return error == EINVAL || error == ENOSYS || error == ENOTSUP; }

}  // namespace

FILE* openStream(const char* path, OpenMode mode) {
    static constexpr const char* modes[] = {"rbe", "wbe", "rb+e"};
    return std::fopen(path, modes[mode]);
}

int seek(FILE* stream, std::int64_t offset, int whence) { return fseeko(stream, offset, whence); }

std::int64_t tell(FILE* stream) { return ftello(stream); }

int descriptor(FILE* stream) { return stream ? fileno(stream) : -1; }

int makeFolder(const char* path) { return result(mkdir(path, 0777)); }

int removeFolder(const char* path) { return result(rmdir(path)); }

int removeFile(const char* path) {
    struct stat info;
    if (lstat(path, &info) != 0) return errno;
    bool writable = S_ISLNK(info.st_mode) || (info.st_mode & kAnyWrite) != 0;
    if (S_ISDIR(info.st_mode) || !writable) return fail(EACCES);
    return result(unlink(path));
}

int renameFile(const char* from, const char* to) {
    if (renameat2(AT_FDCWD, from, AT_FDCWD, to, RENAME_NOREPLACE) == 0) return 0;
    return missingFeature(errno) ? renameByLink(from, to) : errno;
}

int fileInfo(const char* path, struct stat& out) { return result(stat(path, &out)); }

const char* errorText(int error, char* out, int size) {
    if (!strerrordesc_np(error)) return nullptr;
    const char* text = strerror_r(error, out, static_cast<std::size_t>(size));
    if (!text || !*text) return nullptr;
    if (text != out) {
        std::strncpy(out, text, static_cast<std::size_t>(size) - 1);
        out[size - 1] = 0;
    }
    return out;
}

char* systemMessage(int code, const char*) {
    const char* text = strerrordesc_np(code);
    if (!text) return nullptr;
    std::size_t size = std::strlen(text) + 1;
    return static_cast<char*>(std::memcpy(new char[size], text, size));
}

bool localTime(std::int64_t t, std::tm& out) {
    std::time_t time = t;
    return localtime_r(&time, &out) != nullptr;
}

bool utcTime(std::int64_t t, std::tm& out) {
    std::time_t time = t;
    return gmtime_r(&time, &out) != nullptr;
}

std::int64_t timeFromLocal(std::tm& t) { return std::mktime(&t); }

std::int64_t timeFromUtc(std::tm& t) { return timegm(&t); }

int formatTime(utf16_t* out, int size, const char* format, const std::tm& t) {
    constexpr std::size_t kMost = 256;
    wchar_t wideFormat[kMost];
    wchar_t wide[kMost];
    std::size_t formatLength = std::strlen(format);
    if (formatLength >= kMost || size < 1) return 0;
    for (std::size_t i = 0; i <= formatLength; ++i) wideFormat[i] = static_cast<unsigned char>(format[i]);
    std::size_t room = static_cast<std::size_t>(size) < kMost ? static_cast<std::size_t>(size) : kMost;
    std::size_t length = std::wcsftime(wide, room, wideFormat, &t);
    if (length == 0) return 0;
    for (std::size_t i = 0; i <= length; ++i) out[i] = static_cast<utf16_t>(wide[i]);
    return static_cast<int>(length);
}

}  // namespace platform
