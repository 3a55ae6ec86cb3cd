#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstring>
#include <cwchar>
#include <mutex>
#include <new>

#include <velmora/platform/platform.h>
#include <velmora/text/utf.h>

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
        if (link(from, to) == 0) {
            if (unlink(from) == 0) return 0;
            const int error = errno;
            unlink(to);  // of two names or the old one, the old one
            return fail(error);
        }
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

std::int64_t regularSize(FILE* stream) {
    struct stat info;
    const int before = errno;
    const bool regular = fstat(fileno(stream), &info) == 0 && S_ISREG(info.st_mode);
    errno = before;
    return regular ? info.st_size : -1;
}

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
    struct stat info;
    if (std::strcmp(from, to) == 0) return result(lstat(from, &info));  // its own name is no target that is in the way
    if (renameat2(AT_FDCWD, from, AT_FDCWD, to, RENAME_NOREPLACE) == 0) return 0;
    return missingFeature(errno) ? renameByLink(from, to) : errno;
}

int fileInfo(const char* path, struct stat& out) { return result(stat(path, &out)); }

// ---- lock files ----

namespace {

constexpr int kLockFlags = O_CLOEXEC | O_NOCTTY | O_NONBLOCK;  // what is no plain file shall not make anybody wait
constexpr mode_t kLockMode = 0666;

// How often a file that vanishes under its finder is looked for again. Only file systems without lasting file numbers
// ever get there.
constexpr int kLockTries = 100;

// A path in the system's form, without an allocation, since a destructor unlocks. One that is too long, or has a zero
// in it, which would cut it off, sets errno and is null.
class NarrowPath {
public:
    explicit NarrowPath(const utf16_string& path) {
        const utf16_t* end = path.data() + path.size();
        const std::size_t size = strlen_utf8(path.data(), end);
        const bool hasZero = path.find(utf16_t{0}) != utf16_string::npos;
        refused_ = hasZero || size >= sizeof text_;
        if (refused_) {
            errno = hasZero ? EINVAL : ENAMETOOLONG;
            return;
        }
        utf16_to_utf8(path.data(), end, text_, text_ + size);
        text_[size] = 0;
    }

    const char* get() const { return refused_ ? nullptr : text_; }

private:
    char text_[PATH_MAX];
    bool refused_;
};

class Descriptor {
public:
    explicit Descriptor(int descriptor) : descriptor_(descriptor) {}
    Descriptor(const Descriptor&) = delete;
    void operator=(const Descriptor&) = delete;
    ~Descriptor() {
        if (descriptor_ >= 0) close(descriptor_);
    }

    int get() const { return descriptor_; }
    // As a stream for writing, which owns it from then on; null on failure.
    FILE* toStream() {
        FILE* stream = fdopen(descriptor_, "wb");
        if (stream) descriptor_ = -1;
        return stream;
    }

private:
    int descriptor_;
};

// Closes a stream on the way out of a failure. Returns: null, with errno as it was.
FILE* closed(FILE* stream) {
    const int error = errno;
    if (stream) std::fclose(stream);
    errno = error;
    return nullptr;
}

// Locks of the open file, not of the process: a second open in the same process meets them, no other close drops them,
// and a child that starts a program has lost them with the descriptor. So it is with flock; but these can be asked for
// without being taken, so an observer is never in the way of a run that locks.
struct flock wholeFile() {
    struct flock range = {};
    range.l_type = F_WRLCK;
    range.l_whence = SEEK_SET;
    return range;
}

// False: errno is EEXIST when somebody else holds the file, and ENOLCK when files cannot be locked here.
bool tryLock(int descriptor) {
    struct flock range = wholeFile();
    if (fcntl(descriptor, F_OFD_SETLK, &range) == 0) return true;
    errno = errno == EAGAIN || errno == EACCES ? EEXIST : ENOLCK;
    return false;
}

bool isPlainFile(int descriptor) {
    struct stat info;
    return fstat(descriptor, &info) == 0 && S_ISREG(info.st_mode);
}

bool isLink(const char* path) {
    struct stat info;
    return lstat(path, &info) == 0 && S_ISLNK(info.st_mode);
}

// Whether the entry `path` of `folder` is the open file. `flags` as for fstatat.
bool namesFileAt(int folder, const char* path, int flags, int descriptor) {
    struct stat named;
    struct stat opened;
    return fstatat(folder, path, &named, flags) == 0 && fstat(descriptor, &opened) == 0 &&
           named.st_dev == opened.st_dev && named.st_ino == opened.st_ino;
}

bool namesFile(const char* path, int descriptor) { return namesFileAt(AT_FDCWD, path, 0, descriptor); }

// The folder of a path, and the name in it.
class SplitPath {
public:
    explicit SplitPath(const char* path) : name_(path) {
        const char* slash = std::strrchr(path, '/');
        if (!slash) return;
        name_ = slash + 1;
        const auto size = static_cast<std::size_t>(name_ - path);
        std::memcpy(folder_, path, size);
        folder_[size] = 0;
    }

    const char* folder() const { return folder_; }
    const char* name() const { return name_; }

private:
    char folder_[PATH_MAX] = ".";
    const char* name_;
};

// The three ways to make a file that is held. Of a file that is held from the moment it has its name, an observer never
// thinks that a dead run has left it. Null on failure, with errno EEXIST: a rival was faster, so look at the path
// again; ENOLCK: no way leads to a lock here; anything else: try the next way.

// Without a name at first, where the file system and /proc allow.
FILE* createUnnamed(const char* path) {
    Descriptor descriptor(open(SplitPath(path).folder(), O_TMPFILE | O_WRONLY | O_CLOEXEC, kLockMode));
    if (descriptor.get() < 0 || !tryLock(descriptor.get())) return nullptr;
    char self[32];
    std::snprintf(self, sizeof self, "/proc/self/fd/%d", descriptor.get());
    FILE* stream = descriptor.toStream();
    if (!stream) return nullptr;
    if (linkat(AT_FDCWD, self, AT_FDCWD, path, AT_SYMLINK_FOLLOW) == 0) return stream;
    return closed(stream);
}

// By another name at first, where the file system has links. A run that is killed in here leaves that name behind, for
// removeLeftovers, which may also take a file for a leftover that is not held yet.
FILE* createBeside(const char* path) {
    static std::atomic<unsigned> counter{0};
    char beside[PATH_MAX];
    const int length = std::snprintf(beside, sizeof beside, "%s.%ld.%u", path, static_cast<long>(getpid()), counter++);
    if (length >= static_cast<int>(sizeof beside)) return fail(ENAMETOOLONG), nullptr;
    Descriptor descriptor(open(beside, O_CREAT | O_EXCL | O_WRONLY | O_CLOEXEC, kLockMode));
    if (descriptor.get() < 0) return nullptr;
    if (!tryLock(descriptor.get())) {
        if (errno == ENOLCK) unlink(beside), errno = ENOLCK;
        return nullptr;
    }
    if (!namesFile(beside, descriptor.get())) return fail(EEXIST), nullptr;
    FILE* stream = descriptor.toStream();
    const bool named = stream && link(beside, path) == 0;
    const int error = errno;
    unlink(beside);
    errno = error;
    return named ? stream : closed(stream);
}

// By its name, with a moment in which it is not held. A rival that finds it then and locks it first has it, and may
// have removed it again before the lock is taken here. Where nothing can be locked createBeside has said so already.
FILE* createPlainly(const char* path) {
    Descriptor descriptor(open(path, O_CREAT | O_EXCL | O_WRONLY | O_CLOEXEC, kLockMode));
    if (descriptor.get() < 0 || !tryLock(descriptor.get())) return nullptr;
    if (!namesFile(path, descriptor.get())) return fail(EEXIST), nullptr;
    FILE* stream = descriptor.toStream();
    if (!stream) {
        const int error = errno;
        unlink(path);
        errno = error;
    }
    return stream;
}

FILE* createLocked(const char* path) {
    for (auto* way : {createUnnamed, createBeside, createPlainly}) {
        FILE* stream = way(path);
        if (stream || errno == EEXIST || errno == ENOLCK) return stream;
    }
    return nullptr;
}

const char* passDigits(const char* p) {
    while (*p >= '0' && *p <= '9') ++p;
    return p;
}

// Whether `entry` is a name that createBeside makes for `name`.
bool isBeside(const char* entry, const char* name) {
    const std::size_t length = std::strlen(name);
    if (std::strncmp(entry, name, length) != 0 || entry[length] != '.') return false;
    const char* process = entry + length + 1;
    const char* point = passDigits(process);
    if (point == process || *point != '.') return false;
    const char* end = passDigits(point + 1);
    return end != point + 1 && *end == 0;
}

// Removes what runs that were killed in createBeside have left: plain files that nobody holds, and other names of the
// held file, unless `path` is a link to one.
void removeLeftovers(const char* path, int held) {
    const bool heldByPath = namesFileAt(AT_FDCWD, path, AT_SYMLINK_NOFOLLOW, held);
    const SplitPath split(path);
    DIR* folder = opendir(split.folder());
    if (!folder) return;
    const int in = dirfd(folder);
    while (const dirent* entry = readdir(folder)) {
        const char* name = entry->d_name;
        if (!isBeside(name, split.name())) continue;
        Descriptor found(openat(in, name, kLockFlags | O_WRONLY | O_NOFOLLOW));
        if (found.get() < 0 || !isPlainFile(found.get())) continue;
        const bool isHeld = namesFileAt(in, name, AT_SYMLINK_NOFOLLOW, held);
        if (isHeld ? !heldByPath : !tryLock(found.get())) continue;
        if (namesFileAt(in, name, AT_SYMLINK_NOFOLLOW, found.get())) unlinkat(in, name, 0);
    }
    closedir(folder);
}

// What is there, or what a link that leads nowhere leads to then.
FILE* lockExisting(const char* path, int descriptor, bool& vanished) {
    Descriptor file(descriptor);
    if (descriptor < 0 || !isPlainFile(descriptor) || !tryLock(descriptor)) return nullptr;
    vanished = !namesFile(path, descriptor);
    return !vanished && ftruncate(descriptor, 0) == 0 ? file.toStream() : nullptr;
}

// Whoever holds the file removes it while it is held. So a lock counts only if the path names the locked file once it
// is locked, and nobody empties or removes a file that somebody else may hold.
FILE* takeLock(const char* path) {
    for (int tries = 0; tries < kLockTries; ++tries) {
        bool again = false;
        int found = open(path, kLockFlags | O_WRONLY);
        if (found < 0 && errno == ENOENT) {
            if (FILE* stream = createLocked(path)) return stream;
            if (errno != EEXIST) return nullptr;
            if (!isLink(path)) continue;  // a rival was faster
            found = open(path, kLockFlags | O_WRONLY | O_CREAT, kLockMode);
        }
        FILE* stream = lockExisting(path, found, again);
        if (stream || !again) return stream;
    }
    return nullptr;
}

}  // namespace

FILE* lockFile(const utf16_string& widePath) {
    NarrowPath path(widePath);
    FILE* stream = path.get() ? takeLock(path.get()) : nullptr;
    if (stream) removeLeftovers(path.get(), fileno(stream));
    return stream;
}

void unlockFile(FILE* stream, const utf16_string& widePath) {
    NarrowPath path(widePath);
    if (path.get() && namesFile(path.get(), fileno(stream))) unlink(path.get());
    std::fclose(stream);
}

int probeLockFile(const utf16_string& widePath) {
    NarrowPath narrow(widePath);
    const char* path = narrow.get();
    if (!path) return errno;
    for (int tries = 0; tries < kLockTries; ++tries) {
        Descriptor descriptor(open(path, kLockFlags | O_RDONLY));
        if (descriptor.get() < 0) {
            // In a folder that may not be searched there is no telling.
            struct stat info;
            if (errno != EACCES) return errno;
            return fail(stat(path, &info) == 0 ? EACCES : ENOENT);
        }
        if (!isPlainFile(descriptor.get())) return fail(EACCES);
        struct flock range = wholeFile();
        const bool told = fcntl(descriptor.get(), F_OFD_GETLK, &range) == 0;  // else nobody can hold it here
        if (told && range.l_type != F_UNLCK) return fail(EACCES);
        // Not held, but removed in the meantime: that run has ended properly.
        if (namesFile(path, descriptor.get())) return 0;
    }
    return fail(ENOENT);
}

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
    tzset();  // as mktime does; localtime_r alone would keep the zone that it has seen first
    return localtime_r(&time, &out) != nullptr;
}

bool utcTime(std::int64_t t, std::tm& out) {
    std::time_t time = t;
    return gmtime_r(&time, &out) != nullptr;
}

std::int64_t timeFromLocal(std::tm& t) { return std::mktime(&t); }

std::int64_t timeFromUtc(std::tm& t) { return timegm(&t); }

namespace {

// A code point in UTF-16.
int unitsOf(unsigned point) { return point > 0xFFFF ? 2 : 1; }

utf16_t* putUnits(utf16_t* p, unsigned point) {
    if (point > 0xFFFF) {
        point -= 0x10000;
        *p++ = static_cast<utf16_t>(0xD800 + (point >> 10));
        point = 0xDC00 + (point & 0x3FF);
    }
    *p++ = static_cast<utf16_t>(point);
    return p;
}

}  // namespace

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
    const utf16_t* last = out + size - 1;
    utf16_t* p = out;
    for (std::size_t i = 0; i < length; ++i) {
        if (last - p < unitsOf(static_cast<unsigned>(wide[i]))) return 0;
        p = putUnits(p, static_cast<unsigned>(wide[i]));
    }
    *p = 0;
    return static_cast<int>(p - out);
}

// ---- folders ----
// A file name is any bytes here, and has to come back from UTF-16 as it was. So it is converted strictly, with
// surrogate pairs, and a byte that is not part of well-formed UTF-8 becomes the lone unit 0xDC00 + byte, which nothing
// else becomes.

namespace {

constexpr unsigned kReadOnly = 1;
constexpr unsigned kHidden = 2;
constexpr unsigned kFolder = 16;
constexpr unsigned kEscape = 0xDC00;

bool isHighSurrogate(unsigned unit) { return (unit & 0xFC00) == 0xD800; }
bool isLowSurrogate(unsigned unit) { return (unit & 0xFC00) == 0xDC00; }
bool isEscape(unsigned unit) { return unit >= kEscape + 0x80 && unit <= kEscape + 0xFF; }

// The bytes of the well-formed sequence at `p`, which is zero-terminated, and its code point; 0 where there is none.
int wellFormed(const char* p, unsigned& point) {
    auto byte = [p](int i) { return static_cast<unsigned>(static_cast<unsigned char>(p[i])); };
    unsigned lead = byte(0);
    int length = lead < 0x80 ? 1 : lead < 0xC2 ? 0 : lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : lead < 0xF5 ? 4 : 0;
    if (length < 2) {
        point = lead;
        return length;
    }
    point = lead & (0x7FU >> length);
    for (int i = 1; i < length; ++i) {
        if ((byte(i) & 0xC0) != 0x80) return 0;
        point = (point << 6) | (byte(i) & 0x3F);
    }
    static constexpr unsigned least[] = {0, 0, 0x80, 0x800, 0x10000};
    bool surrogate = point >= 0xD800 && point <= 0xDFFF;
    return point < least[length] || point > 0x10FFFF || surrogate ? 0 : length;
}

// False when the name does not fit, with its terminator.
bool toUnits(const char* name, utf16_t (&out)[260]) {
    utf16_t* p = out;
    const utf16_t* last = out + 259;
    while (*name) {
        unsigned point = 0;
        int length = wellFormed(name, point);
        if (length == 0) {
            point = kEscape + static_cast<unsigned char>(*name);
            length = 1;
        }
        if (last - p < unitsOf(point)) return false;
        p = putUnits(p, point);
        name += length;
    }
    *p = 0;
    return true;
}

const char* behindCharacter(const char* p) {
    unsigned point;
    int length = wellFormed(p, point);
    return p + (length == 0 ? 1 : length);
}

// `*` is any text and `?` one character. A mismatch goes back to the last `*` alone: an earlier one could not do
// better.
bool matches(const char* pattern, const char* name) {
    const char* star = nullptr;
    const char* resume = nullptr;
    while (*name) {
        if (*pattern == '*') {
            star = ++pattern;
            resume = name;
        } else if (*pattern == '?') {
            ++pattern;
            name = behindCharacter(name);
        } else if (*pattern == *name) {
            ++pattern;
            ++name;
        } else if (star) {
            pattern = star;
            name = resume = behindCharacter(resume);
        } else {
            return false;
        }
    }
    while (*pattern == '*') ++pattern;
    return *pattern == 0;
}

// A find that is going on. Its handle is a number that is never given twice, so one that is closed twice, as two copies
// of its owner do, harms nobody.
struct Find {
    DIR* folder = nullptr;
    std::int64_t handle = 0;
    Find* next = nullptr;
    const char* pattern = nullptr;  // in `mask`; "*" for everything
    char mask[PATH_MAX];

    Find() { mask[0] = 0; }
    Find(const Find&) = delete;
    void operator=(const Find&) = delete;
    ~Find() {
        if (folder) closedir(folder);
    }

    bool open(const char* begin, const char* end, const char* tail);
    bool step(FoundEntry& out);
};

constinit std::mutex findsLock;
constinit Find* finds = nullptr;
constinit std::int64_t lastHandle = 0;

Find** placeOf(std::int64_t handle) {
    Find** place = &finds;
    while (*place && (*place)->handle != handle) place = &(*place)->next;
    return place;
}

bool Find::open(const char* begin, const char* end, const char* tail) {
    std::size_t size = static_cast<std::size_t>(end - begin);
    std::size_t tailSize = std::strlen(tail);
    if (size == 0) return fail(ENOENT), false;
    if (size >= sizeof mask - tailSize) return fail(ENAMETOOLONG), false;
    std::memcpy(mask, begin, size);
    std::memcpy(mask + size, tail, tailSize + 1);

    const char* path = ".";
    pattern = mask;
    if (char* slash = std::strrchr(mask, '/')) {
        *slash = 0;
        path = slash == mask ? "/" : mask;
        pattern = slash + 1;
    }
    if (std::strcmp(pattern, "*.*") == 0) pattern = "*";
    folder = opendir(path);
    return folder != nullptr;
}

bool Find::step(FoundEntry& out) {
    for (;;) {
        errno = 0;  // readdir sets it, or not at the end
        const dirent* entry = readdir(folder);
        if (!entry) return false;
        const char* name = entry->d_name;
        if (!matches(pattern, name) || !toUnits(name, out.name)) continue;

        struct stat info;
        bool known = fstatat(dirfd(folder), name, &info, 0) == 0 ||
                     fstatat(dirfd(folder), name, &info, AT_SYMLINK_NOFOLLOW) == 0;
        if (!known && errno == ENOENT) continue;  // gone in the meantime
        bool isFolder = known ? S_ISDIR(info.st_mode) : entry->d_type == DT_DIR;
        bool isSpecial = name[0] == '.' && (name[1] == 0 || (name[1] == '.' && name[2] == 0));
        out.attributes = isFolder ? kFolder : 0;
        if (known && (info.st_mode & kAnyWrite) == 0) out.attributes |= kReadOnly;
        if (name[0] == '.' && !isSpecial) out.attributes |= kHidden;
        out.created = known ? info.st_ctime : -1;
        out.accessed = known ? info.st_atime : -1;
        out.written = known ? info.st_mtime : -1;
        out.size = known && !isFolder ? static_cast<std::uint32_t>(info.st_size) : 0;
        return true;
    }
}

}  // namespace

char separator() { return '/'; }

std::int64_t findFirst(const char* begin, const char* end, const char* tail, FoundEntry& out) {
    Find* find = new (std::nothrow) Find;
    if (!find) return fail(ENOMEM), -1;
    if (!find->open(begin, end, tail) || !find->step(out)) {
        const int error = errno;
        delete find;
        return fail(error), -1;
    }
    std::lock_guard<std::mutex> guard(findsLock);
    find->handle = ++lastHandle;
    find->next = finds;
    finds = find;
    return find->handle;
}

bool findNext(std::int64_t handle, FoundEntry& out) {
    Find* find;
    {
        std::lock_guard<std::mutex> guard(findsLock);
        find = *placeOf(handle);
    }
    return find ? find->step(out) : (fail(EBADF), false);
}

void findClose(std::int64_t handle) {
    Find* find;
    {
        std::lock_guard<std::mutex> guard(findsLock);
        Find** place = placeOf(handle);
        find = *place;
        if (!find) return;
        *place = find->next;
    }
    delete find;
}

void foundName(const utf16_t (&name)[260], char (&out)[kFoundNameBytes]) {
    char* p = out;
    for (int i = 0; i < 260 && name[i] != 0; ++i) {
        unsigned unit = name[i];
        if (i < 259 && isHighSurrogate(unit) && isLowSurrogate(name[i + 1])) {
            unsigned point = 0x10000 + ((unit & 0x3FF) << 10) + (name[++i] & 0x3FFU);
            *p++ = static_cast<char>(0xF0 | (point >> 18));
            *p++ = static_cast<char>(0x80 | ((point >> 12) & 0x3F));
            *p++ = static_cast<char>(0x80 | ((point >> 6) & 0x3F));
            *p++ = static_cast<char>(0x80 | (point & 0x3F));
        } else if (isEscape(unit)) {
            *p++ = static_cast<char>(unit - kEscape);
        } else {
            p = putch_utf8(name[i], p, out + kFoundNameBytes);
        }
    }
    *p = 0;
}

// ---- console ----

std::size_t printRoom(const char*, const char*) { return 0; }

void print(FILE* stream, const char* begin, const char* end, utf16_t*) {
    std::fwrite(begin, 1, strnlen(begin, static_cast<std::size_t>(end - begin)), stream);
}

std::size_t argumentRoom(const char*) { return 0; }
bool argumentToWide(const char*, utf16_t*, std::size_t) { return false; }

bool enterCom(bool) { return false; }
void leaveCom() {}

}  // namespace platform
