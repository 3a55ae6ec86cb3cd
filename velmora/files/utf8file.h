// A file with a UTF-8 path, a buffered stream and a choice of what a failure is: a quiet object returns false or -1,
// a throwing one throws a TTT that holds the message, the path and the system's diagnostic. Reads and writes may
// alternate on one stream; the object synchronises it. The static whole-file operations always throw.
//
//     UTF8File file("notes.txt", true);
//     file.open(UTF8File::WRITE);
//     file.writef("%d\n", 7);
//     file.close();               // throws, too: a destructor would keep a failed close to itself
//
// Requires: stream operations are called on an open file.
// Limit: on Windows a path of more than 260 UTF-16 units fails with "name too long", and one that would have a zero in
// it as UTF-16, from a byte that is no UTF-8 or from a character such as U+10000, with "invalid argument".
// Warning: Windows takes some paths for something else, and the calls succeed. CON, PRN, AUX, NUL, COM1 to COM9 and
// LPT1 to LPT9 are devices in every folder, in any case and, on most versions, with any extension: what is saved as
// "logs/nul.txt" is gone. Points and blanks at the end of a name are dropped, so that "notes." is the file "notes". A
// colon after a name opens another stream of that file. Names that come from users or from other systems should be
// checked for these.
#ifndef VELMORA_FILES_UTF8FILE_H
#define VELMORA_FILES_UTF8FILE_H

#include <sys/stat.h>

#include <climits>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <string>

#include <velmora/base.h>
#include <velmora/localization/keys.h>
#include <velmora/serial/ttt.h>
#include <velmora/text/charr.h>
#include <velmora/text/chpair.h>

class Bag;
class CharVector;
template <class T>
class ArrayHolder;

class VELMORA_API UTF8File {
public:
    enum Mode {
        READ,   // the file must exist
        WRITE,  // creates or truncates
        UPDATE  // reads and writes; the file must exist
    };

    // The system's file information record, as it is.
    using Info = struct VELMORA_STAT_RECORD;

    int lastOp;     // last operation on the stream: 0 read, 1 write, 2 neither
    FILE* file;     // null while closed
    ChArr name;     // the last path given; may be null
    bool throwing;  // failures are thrown

    UTF8File() : UTF8File(false) {}
    explicit UTF8File(bool throwsFailures);
    // Keeps the path; opens nothing.
    UTF8File(const char* path, bool throwsFailures = false);
    UTF8File(const std::string& path, bool throwsFailures = false) : UTF8File(path.c_str(), throwsFailures) {}
    // Warning: a copy shares the stream, and both objects will close it.
    UTF8File(const UTF8File&) = default;
    UTF8File& operator=(const UTF8File&) = default;
    // Closes, quietly.
    ~UTF8File();

    // Closes, quietly. Warning: the object stays quiet afterwards.
    void clear();
    // Closes the own stream quietly and takes over the other's stream, path and policy. From itself: nothing.
    void stealFrom(UTF8File& other);

    // Null `path`, and open(Mode) without a name: false, without a report. Warning: an open stream is not closed
    // first. Throws: LCA__Cannot_open_file.
    bool open(const char* path, Mode mode);
    bool open(const std::string& path, Mode mode) { return open(path.c_str(), mode); }
    bool open(Mode mode) { return open(name.data, mode); }
    // Throws: LCA__Cannot_close_file; the file is closed all the same.
    bool close();
    bool isOpened() const { return file != nullptr; }
    int handle();

    // All `size` bytes or failure. A negative `size` fails with EINVAL, and the stream is not touched.
    // Warning: an errno that was set before the call, by whomever, makes a plain end of file a LCA__Read_file_error and
    // a full disk a LCA__Write_file_error.
    // Throws: LCA__Read_file_error, LCA__Unexpected_end_of_file; LCA__Write_file_error, LCA__Disk_full;
    // LCA__Could_not_flush_file and LCA__Seek_file_error from the change between the two.
    bool read(void* out, int size);
    bool write(const void* src, int size);

    // Size of the file, in bytes. Throws: LCA__Seek_file_error.
    std::int64_t size();
    // The same. Throws: LCA__Too_big_file, when it is above `limit`.
    std::int64_t checkSize(std::int64_t limit);
    bool flush();
    std::int64_t pos() const;
    // `whence`: 0 start, 1 current, 2 end.
    bool seek(std::int64_t offset, int whence);

    // The next line, without its line feed and without any carriage return. *eof is set to true, and never to false,
    // when the end of the file ends the line; `eof` may be null.
    // Requires: room for the longest line and a terminator. Warning: `size` bounds nothing.
    bool readLine(char* buffer, int size, bool* eof);

    // Throws: LCA__Too_big_file too, for more than INT_MAX bytes, of which none is written.
    bool write(const char* text) { return writeText(text, static_cast<std::ptrdiff_t>(std::strlen(text))); }
    bool write(const ChPair& text) { return writeText(text.begin, text.end - text.begin); }
    // By the rules of printf. Limit: 4,096 bytes.
    bool writef(const char* format, ...) VELMORA_PRINTF(2, 3);

    // Values as they lie in memory.
    bool read(char& v) { return read(&v, 1); }
    bool read(bool& v) { return read(&v, 1); }
    bool read(int& v) { return read(&v, 4); }
    bool read(unsigned& v) { return read(&v, 4); }
    bool read(float& v) { return read(&v, 4); }
    bool read(double& v) { return read(&v, 8); }
    bool read(std::int64_t& v) { return read(&v, 8); }
    bool read(std::uint64_t& v) { return read(&v, 8); }
    bool write(char v) { return write(&v, 1); }
    bool write(bool v) { return write(&v, 1); }
    bool write(int v) { return write(&v, 4); }
    bool write(unsigned v) { return write(&v, 4); }
    bool write(float v) { return write(&v, 4); }
    bool write(double v) { return write(&v, 8); }
    bool write(std::int64_t v) { return write(&v, 8); }
    bool write(std::uint64_t v) { return write(&v, 8); }
#ifdef VELMORA_LP64
    bool read(long long& v) { return read(&v, 8); }
    bool read(unsigned long long& v) { return read(&v, 8); }
    bool write(long long v) { return write(&v, 8); }
    bool write(unsigned long long v) { return write(&v, 8); }
#endif

    // On the path `name`, not on the stream. Requires: there is one. A folder that exists is made, and a file or
    // folder that does not is removed, without a report.
    // Throws: LCA__Could_not_create_folder, LCA__Could_not_delete_folder, LCA__Could_not_delete_file.
    bool mkdir();
    bool rmdir();
    bool remove();
    // Never replaces a target. On success `name` is the new path. Throws: LCA__Could_not_rename_file.
    bool rename(const char* newName);
    bool rename(const std::string& newName) { return rename(newName.c_str()); }

    // Whether there is a file or folder at the path. Null and empty: false.
    static bool exist(const char* path);
    static bool exist(const std::string& path) { return exist(path.c_str()); }
    // Throws: LCA__Could_not_get_information_for, with the path as its parameter and nothing else.
    static bool info(const char* path, Info& out, bool throwing);
    static bool info(const std::string& path, Info& out, bool throwing) { return info(path.c_str(), out, throwing); }
    bool info(Info& out) { return info(name.asCharPtr(), out, throwing); }

    // Throw a message with LCA__Path_s and the system's diagnostic behind it; a quiet object does nothing. Null
    // `path`: `name`. A `systemError` below 1: no diagnostic.
    void erro(LocDictionaryId dictionary, int id, const char* path, int systemError);
    void erro(const TTT& message, const char* path, int systemError);

    // Read a whole file. `limit`: the largest size accepted, in bytes. `terminate`: a zero byte goes after the data
    // and counts nowhere. The path may be a part of the target. Returns: the size of the file.
    // Throws: LCA__Cannot_open_file (also for a null path), LCA__Too_big_file (also for a size above INT_MAX),
    // LCA__Not_enough_memory_to_load_file (also for a file that has no size) and the failures of read.
    // Owns: the target. After a failure a ChArr or Bag is as it was, the others are empty or filled in part.
    static std::uint64_t load(const char* path, ArrayHolder<char>& data, std::uint64_t limit, bool terminate);
    static std::uint64_t load(const char* path, ChArr& text, std::uint64_t limit, bool terminate);
    static std::uint64_t load(const char* path, Bag& bag, std::uint64_t limit, bool terminate);
    static std::uint64_t load(const char* path, std::string& text, std::uint64_t limit);
    static std::uint64_t load(const char* path, CharVector& text, std::uint64_t limit);

    // Write a whole file in place. Throws: LCA__Too_big_file, for more than INT_MAX bytes, before anything is touched.
    // A Bag of negative size is written as an empty one. Both apply to safe_save too.
    static void save(const char* path, const void* data, std::uint64_t size);
    static void save(const char* path, const Bag& bag);
    static void save(const char* path, const std::string& text) { save(path, text.data(), text.size()); }

    // Write `path` + ".tmp", whatever was there, remove the old file, rename. The new file has the access rights of any
    // new file, and takes the place of a link. A failure up to the close of the temporary leaves the old file; from a
    // failed removal on the temporary is complete, and stays. Warning: between removal and rename there is no file at
    // `path`.
    // Warning: this protects against a write that fails, not against a failure of power. Nothing is committed to the
    // device, so after one there may be no file at `path`, or one that is empty, cut, or has other bytes in place of
    // the last ones written; the same holds for the temporary.
    // Warning: a link at `path` + ".tmp" is followed. The file that it leads to is overwritten, and the link becomes
    // `path`. Do not use it in a folder where others may create files.
    static void safe_save(const char* path, const void* data, std::uint64_t size);
    static void safe_save(const char* path, const Bag& bag);
    static void safe_save(const char* path, const std::string& text) { safe_save(path, text.data(), text.size()); }

    // Records: a 32-bit length and the content of a Bag, written and read at the present position. A clean end shows
    // as a pop that fails on the length. After a failed pop the Bag is as it was.
    bool push(Bag& bag);
    bool pop(Bag& bag);

    // Moves `size` bytes from here to `destination`, both at their present positions.
    bool copy(UTF8File& destination, std::int64_t size);

protected:
    // What size() does. `bytes` is set once the size is known, also when the way back to the position fails then.
    bool measure(std::int64_t& bytes);

private:
    bool writeText(const char* begin, std::ptrdiff_t size) {
        if (size <= INT_MAX) return write(begin, size < 0 ? -1 : static_cast<int>(size));
        erro(VELMORA_DICT, LCA__Too_big_file, nullptr, -1);
        return false;
    }
    bool beginRead();
    bool beginWrite();
    bool reportUnless(int error, int harmless, int key);
};

#endif
