#include <velmora/files/utf8file.h>

#include <cerrno>
#include <cstdarg>

#include <velmora/localization/keys.h>
#include <velmora/platform/platform.h>
#include <velmora/text/formatting.h>

namespace {

// Values of lastOp.
constexpr int kRead = 0;
constexpr int kWritten = 1;
constexpr int kSynchronised = 2;

constexpr int kNoSystemError = -1;

bool refuseNegativeCount(UTF8File& file, int key) {
    errno = EINVAL;
    file.erro(VELMORA_DICT, key, file.name.data, EINVAL);
    return false;
}

}  // namespace

UTF8File::UTF8File(bool throwsFailures) : lastOp(kSynchronised), file(nullptr), throwing(throwsFailures) {}

UTF8File::UTF8File(const char* path, bool throwsFailures) : UTF8File(throwsFailures) { name = path; }

UTF8File::~UTF8File() { clear(); }

void UTF8File::clear() {
    throwing = false;
    close();
}

void UTF8File::stealFrom(UTF8File& other) {
    if (this == &other) return;
    if (file) clear();
    name.stealFrom(other.name);
    throwing = other.throwing;
    lastOp = other.lastOp;
    file = other.file;
    other.file = nullptr;
}

bool UTF8File::open(const char* path, Mode mode) {
    if (!path) return false;
    errno = 0;
    name = path;
    file = platform::openStream(name.data, static_cast<platform::OpenMode>(mode));
    if (file) return true;
    erro(VELMORA_DICT, LCA__Cannot_open_file, name.data, errno);
    return false;
}

bool UTF8File::close() {
    if (!file) return true;
    lastOp = kSynchronised;
    int failed = std::fclose(file);
    file = nullptr;
    if (failed == 0) return true;
    erro(VELMORA_DICT, LCA__Cannot_close_file, name.data, errno);
    return false;
}

int UTF8File::handle() { return platform::descriptor(file); }

// C streams want a flush between a write and a read, and a seek between a read and a write.
bool UTF8File::beginRead() {
    if (lastOp == kWritten && !flush()) return false;
    lastOp = kRead;
    return true;
}

bool UTF8File::beginWrite() {
    if (lastOp == kRead && !seek(0, SEEK_CUR)) return false;
    lastOp = kWritten;
    return true;
}

bool UTF8File::read(void* out, int size) {
    if (size == 0) return true;
    if (size < 0) return refuseNegativeCount(*this, LCA__Read_file_error);
    if (!beginRead()) return false;
    if (std::fread(out, static_cast<std::size_t>(size), 1, file) == 1) return true;
    // An errno from an earlier call makes a plain end of file look like a read error; only open clears it.
    if (errno != 0) {
        erro(VELMORA_DICT, LCA__Read_file_error, name.data, errno);
    } else {
        erro(VELMORA_DICT, LCA__Unexpected_end_of_file, nullptr, kNoSystemError);
    }
    return false;
}

bool UTF8File::write(const void* src, int size) {
    if (size == 0) return true;
    if (size < 0) return refuseNegativeCount(*this, LCA__Write_file_error);
    if (!beginWrite()) return false;
    if (std::fwrite(src, static_cast<std::size_t>(size), 1, file) == 1) return true;
    if (errno != 0) {
        erro(VELMORA_DICT, LCA__Write_file_error, name.data, errno);
    } else {
        erro(VELMORA_DICT, LCA__Disk_full, nullptr, kNoSystemError);
    }
    return false;
}

bool UTF8File::measure(std::int64_t& bytes) {
    const std::int64_t before = pos();
    bool moved = platform::seek(file, 0, SEEK_END) == 0;
    if (moved) {
        bytes = pos();
        moved = platform::seek(file, before, SEEK_SET) == 0;
    }
    if (!moved) {
        erro(VELMORA_DICT, LCA__Seek_file_error, name.data, errno);
        return false;
    }
    lastOp = kSynchronised;
    return true;
}

std::int64_t UTF8File::size() {
    std::int64_t bytes;
    return measure(bytes) ? bytes : -1;
}

std::int64_t UTF8File::checkSize(std::int64_t limit) {
    std::int64_t bytes = size();
    if (bytes <= limit) return bytes;
    erro(VELMORA_DICT, LCA__Too_big_file, nullptr, kNoSystemError);
    return -1;
}

bool UTF8File::flush() {
    if (std::fflush(file) == 0) {
        lastOp = kSynchronised;
        return true;
    }
    erro(VELMORA_DICT, LCA__Could_not_flush_file, nullptr, kNoSystemError);
    return false;
}

std::int64_t UTF8File::pos() const { return platform::tell(file); }

bool UTF8File::seek(std::int64_t offset, int whence) {
    if (platform::seek(file, offset, whence) == 0) {
        lastOp = kSynchronised;
        return true;
    }
    erro(VELMORA_DICT, LCA__Seek_file_error, name.data, errno);
    return false;
}

bool UTF8File::readLine(char* buffer, int, bool* eof) {
    if (!beginRead()) return false;
    char c;
    while (std::fread(&c, 1, 1, file) == 1) {
        if (c == '\n') {
            *buffer = 0;
            return true;
        }
        if (c != '\r') *buffer++ = c;
    }
    if (!std::feof(file)) {
        erro(VELMORA_DICT, LCA__Read_file_error, name.data, errno);
        return false;
    }
    std::clearerr(file);
    if (eof) *eof = true;
    *buffer = 0;
    return true;
}

bool UTF8File::writef(const char* format, ...) {
    va_list args;
    va_start(args, format);
    velmora::detail::FormattedText text(format, args);
    va_end(args);
    return write(text.begin(), static_cast<int>(text.size()));
}

// What path operations make of the system's answer: `harmless` counts as success.
bool UTF8File::reportUnless(int error, int harmless, int key) {
    if (error == 0 || error == harmless) return true;
    erro(VELMORA_DICT, key, name.data, error);
    return false;
}

bool UTF8File::mkdir() { return reportUnless(platform::makeFolder(name.data), EEXIST, LCA__Could_not_create_folder); }

bool UTF8File::rmdir() { return reportUnless(platform::removeFolder(name.data), ENOENT, LCA__Could_not_delete_folder); }

bool UTF8File::remove() { return reportUnless(platform::removeFile(name.data), ENOENT, LCA__Could_not_delete_file); }

bool UTF8File::rename(const char* newName) {
    if (!reportUnless(platform::renameFile(name, newName), 0, LCA__Could_not_rename_file)) return false;
    name = newName;
    return true;
}

bool UTF8File::exist(const char* path) {
    Info ignored;
    return path && *path && platform::fileInfo(path, ignored) == 0;
}

bool UTF8File::info(const char* path, Info& out, bool throwing) {
    if (!path || !*path) return false;
    if (platform::fileInfo(path, out) == 0) return true;
    if (!throwing) return false;
    TTT message(VELMORA_DICT, LCA__Could_not_get_information_for);
    message < path;
    throw message;
}

void UTF8File::erro(LocDictionaryId dictionary, int id, const char* path, int systemError) {
    if (throwing) erro(TTT(dictionary, id), path, systemError);
}

void UTF8File::erro(const TTT& message, const char* path, int systemError) {
    if (!throwing) return;
    if (!path) path = name;
    TTT whole(message);
    if (*path) {
        whole.append(VELMORA_DICT, LCA__Path_s);
        whole < path;
    }
    if (systemError > 0) {
        char text[256];
        if (platform::errorText(systemError, text, sizeof text)) {
            whole.append(VELMORA_DICT, LCA__System_diagnostic_s);
            whole < text;
        } else {
            whole.append(VELMORA_DICT, LCA__Error_code_d);
            whole < systemError;
        }
    }
    throw whole;
}
