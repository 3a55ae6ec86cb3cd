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

int makeFolder(const char* path);
int removeFolder(const char* path);

// Removes a file. A folder, and a file that nobody may write to, are EACCES.
int removeFile(const char* path);

// Never replaces anything: an existing target is EEXIST.
int renameFile(const char* from, const char* to);

// The system's information record, for a file or a folder.
int fileInfo(const char* path, struct VELMORA_STAT_RECORD& out);

// Lock files. One is held by one stream at most, of all processes together, until unlockFile or the end of the process; a
// child process that is started holds nothing. Paths are UTF-16, as RunDetector keeps them.

// Creates the file, or takes one that nobody holds and empties it. Null when somebody holds it or the system refuses.
FILE* lockFile(const utf16_string& path);

// Closes the stream and removes the file, in an order that never takes the file of a new holder. Failures are ignored.
void unlockFile(FILE* stream, const utf16_string& path);

// 0: there is a file that nobody holds. EACCES: it is held, or it is no plain file or one that may not be read. Otherwise
// why there is none. Neither the holder nor, where the system can be asked without opening the door to it, a rival that
// locks at this moment is disturbed.
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

}  // namespace platform

#endif
