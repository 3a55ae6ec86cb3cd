// The entries of a folder, by a UTF-8 mask, with UTF-8 names and a filter of two masks of attribute bits. "." and ".."
// are never shown. A folder that cannot be listed, or not to its end, and one with nothing more look the same: next()
// is false. `errno` shows which it is.
//
//     ZFindFile find("/var/log");
//     find.allowDirs(true);
//     while (find.next()) use(find.getName(), find.getSize());
//     if (errno != 0) return reportThatTheListIsNotWhole(errno);
//
// The order is the system's. An object is for one thread. Memory that runs out is std::bad_alloc from getName and from
// copies; where it prevents the find, there is nothing to find.
#ifndef VELMORA_FILES_FINDFILE_H
#define VELMORA_FILES_FINDFILE_H

#include <wchar.h>

#include <cstdint>

#include <velmora/base.h>
#include <velmora/text/charr.h>

class VELMORA_API ZFindFile {
public:
    // The record of the system's find calls; where there is none, one of the same shape. Attributes, as the filter
    // sees them: 1 read-only, 2 hidden, 4 system, 16 folder. Elsewhere than on Windows an entry is read-only when
    // nobody may write to it, hidden when its name starts with a point, and never system; a symbolic link is what it
    // leads to, or itself where it leads nowhere; time_create is the last change of the entry's status; and of an entry
    // that may be listed but not looked at, sizes are 0 and times -1.
#if defined(_WIN32)
    using Record = struct _wfinddata64i32_t;
#else
    struct Record {
        unsigned attrib;
        std::int64_t time_create;  // seconds since 1970
        std::int64_t time_access;
        std::int64_t time_write;
        std::uint32_t size;  // low 32 bits
        utf16_t name[260];   // zero-terminated
    };
#endif

    int allowMask;       // an entry must have at least one of these bits
    int denyMask;        // an entry must have none of these bits
    int attributes;      // of the current entry, with 32 for what is not a folder; negative: the first is still to come
    mutable ChArr name;  // of the current entry; null until getName is called
    Record record;       // the current entry
    std::int64_t handle;  // -1 when closed

    // Starts the find. When it finds no entry, `handle` is -1 and `errno` is 0 where there is none, else the reason.
    // A mask that ends in `*` is taken as it is: a folder and a pattern for the names in it, where `*`
    // stands for any text, `?` for one character and `*.*` for all names. Any other mask names a folder to list, with
    // or without a separator (`\` on Windows, `/` elsewhere) at its end: "logs/*.txt" is a folder of that name. An
    // empty mask finds nothing. Case counts where it does for the system's file names.
    // Requires: `mask` is not null. Limit: 260 UTF-16 units; what comes behind them is dropped, and if a pattern has
    // still to be added to a mask of 260 units, and its last is not a separator, the process is aborted.
    ZFindFile(const char* mask);
    // Warning: the two share one find and each will close it, so only one of them may stay in use. An assignment does
    // not close the find that the target had open: release it before.
    ZFindFile(const ZFindFile&) = default;
    ZFindFile& operator=(const ZFindFile& s);
    ~ZFindFile() { release(); }

    // Closes the find. next() is false from then on.
    void release();

    void setFilter(int allow, int deny) {
        allowMask = allow;
        denyMask = deny;
    }
    // Folders are left out at first, files are not.
    void allowDirs(bool allow) { setDenied(kFolder, !allow); }
    void allowFiles(bool allow) { setDenied(kFile, !allow); }

    // Moves to the next accepted entry, at first to the first one. False at the end, and ever after. At the end `errno`
    // is 0, and the error's number where the rest could not be listed. With `handle` at -1 `errno` stays: after a
    // constructor that found no entry it is still the constructor's, if nothing else has set it since.
    bool next();

    // The rest is meaningful after next() was true.

    // The name, which opens the entry when it is put behind its folder. Warning: fills a cache, though const.
    // Characters above 0xFFFF are two encoded surrogates on Windows. Elsewhere the name is the entry's own bytes, be
    // they UTF-8 or not; in `record` a byte that is not part of UTF-8 is the unit 0xDC00 + byte, so that no two names
    // become the same. A name that takes more than 259 units is left out.
    // Owns: the object. Invalidates: next() does.
    const char* getName() const;

    // In bytes, and 0 for a folder. Limit: the low 32 bits; a file of 4 GiB has size 0.
    std::int64_t getSize() const { return static_cast<std::int64_t>(record.size); }
    // Of the last write, in seconds since 1970.
    std::int64_t getTime() const { return record.time_write; }
    bool isDirectory() const { return (attributes & kFolder) != 0; }

private:
    static constexpr int kFolder = 16;
    static constexpr int kFile = 32;

    void setDenied(int bit, bool denied) { denyMask = denied ? denyMask | bit : denyMask & ~bit; }
};

#endif
