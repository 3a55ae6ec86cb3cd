// Every call to the operating system, in velmora's words: UTF-8 in, an error number out, nothing thrown. One source
// per system; the comments are the one meaning that all sources keep, so they are the guide for a port. Decisions
// (which key to throw, what is tried next) live above.
//
// Functions that return an error number return 0 for success and an errno value otherwise; `errno` itself holds it
// too. A path that the system cannot take for its length is ENAMETOOLONG. Null paths are not accepted.
#ifndef VELMORA_PLATFORM_PLATFORM_H
#define VELMORA_PLATFORM_PLATFORM_H

#include <sys/stat.h>

#include <cstdint>
#include <cstdio>
#include <ctime>

#include <velmora/base.h>

namespace platform {

// How a stream is opened: binary, and not inherited by child processes. The values are those of UTF8File::Mode.
enum OpenMode { OpenRead, OpenWrite, OpenUpdate };

// Null on failure, with the reason in `errno`.
FILE* openStream(const char* path, OpenMode mode);

// 64-bit fseek and ftell. seek: 0 on success. tell: -1 on failure.
int seek(FILE* stream, std::int64_t offset, int whence);
std::int64_t tell(FILE* stream);

// The stream's descriptor; -1 for null.
int descriptor(FILE* stream);

// The bytes of a regular file as the system has them, without what a stream still holds back. Returns: -1 for any other
// file; errno stays as it is.
std::int64_t regularSize(FILE* stream);

int makeFolder(const char* path);
int removeFolder(const char* path);

// Removes a file. A folder, and a file that nobody may write to, are EACCES.
int removeFile(const char* path);

// Never replaces anything: an existing target is EEXIST.
int renameFile(const char* from, const char* to);

// The system's information record, for a file or a folder.
int fileInfo(const char* path, struct VELMORA_STAT_RECORD& out);

// Lock files. One is held by one stream at most, of all processes together, until unlockFile or the end of the process;
// a child process that is started holds nothing. The holder's file is the one that the path names, and nobody else
// removes it. Paths are UTF-16, as RunDetector keeps them; one with a zero in it is EINVAL.

// Creates the file, or takes one that nobody holds and empties it. Null when somebody holds it or the system refuses.
// Where that needs files of other names for a moment, those that dead runs have left are removed.
FILE* lockFile(const utf16_string& path);

// Closes the stream and removes the file, in an order that never takes the file of a new holder. Failures are ignored.
void unlockFile(FILE* stream, const utf16_string& path);

// 0: there is a file that nobody holds. EACCES: it is held, or a folder, pipe or device, or it may not be read.
// Otherwise why there is none. Neither the holder nor, where the system can be asked without opening the door to it, a
// rival that locks at this moment is disturbed.
int probeLockFile(const utf16_string& path);

// The text that the C runtime has for an errno value, in `out`, terminated, cut to `size` bytes.
// Returns: `out`, or null for a number that it does not know.
const char* errorText(int error, char* out, int size);

// The system's own message for one of its error codes, in UTF-8, as the system gives it. `module` names a loaded
// module to ask first; where the system has no such thing it is ignored.
// Returns: an array from new[], or null for an unknown code. Throws: std::bad_alloc, the one exception of this file.
char* systemMessage(int code, const char* module);

// A time broken down, in local time and in UTC. Returns: false for a time that the system cannot convert.
bool localTime(std::int64_t t, std::tm& out);
bool utcTime(std::int64_t t, std::tm& out);

// The way back; -1 for what the system cannot convert.
std::int64_t timeFromLocal(std::tm& t);
std::int64_t timeFromUtc(std::tm& t);

// wcsftime with an ASCII format, in the locale of the process, as UTF-16 with a terminator.
// Returns: units written, without the terminator; 0 when nothing was, or `size` units do not suffice.
int formatTime(utf16_t* out, int size, const char* format, const std::tm& t);

// ---- folders ----

// What stands between the items of a path, as a mask is judged by it.
char separator();

// An entry of a folder. A symbolic link is what it leads to, or itself where it leads nowhere.
struct FoundEntry {
    unsigned attributes;   // 1 read-only, 2 hidden, 4 system, 16 folder; other bits mean nothing
    std::int64_t created;  // seconds since 1970, as the two below; -1 for unknown
    std::int64_t accessed;
    std::int64_t written;
    std::uint32_t size;  // low 32 bits; 0 for a folder and for unknown
    utf16_t name[260];   // zero-terminated; entries with longer names are left out
};

// Begins to list what the mask names: the range, which is at most 260 characters, and `tail` behind it. In the last
// item of the mask `*` is any text and `?` one character, and "*.*" is everything. "." and ".." are entries, too.
// Returns: a handle, with the first entry in `out`; -1 when nothing matches, with errno 0, or the folder cannot be
// listed.
std::int64_t findFirst(const char* begin, const char* end, const char* tail, FoundEntry& out);
// Returns: false at the end, with errno 0, and on failure.
bool findNext(std::int64_t handle, FoundEntry& out);
// Nothing happens to a handle that is closed already.
void findClose(std::int64_t handle);

// The name of an entry as it has to be given to the functions above, zero-terminated.
constexpr int kFoundNameBytes = 3 * 260 + 1;
void foundName(const utf16_t (&name)[260], char (&out)[kFoundNameBytes]);

// ---- console ----

// Prints a text, up to its first zero byte, as this system's streams take it. `room` is work space of as many units as
// printRoom asks for. Where there is a debugger's channel the text goes there, too.
std::size_t printRoom(const char* begin, const char* end);
void print(FILE* stream, const char* begin, const char* end, utf16_t* room);

// An argument of the process in UTF-16, with its terminator. argumentRoom: units needed; 0 when it is to be taken as it
// stands, be it UTF-8 already or not convertible.
std::size_t argumentRoom(const char* argument);
bool argumentToWide(const char* argument, utf16_t* room, std::size_t units);

// Initialises COM on this thread. Returns: whether this call did, so that leaveCom is due. False where there is no COM.
bool enterCom(bool multiThreaded);
void leaveCom();

}  // namespace platform

#endif
