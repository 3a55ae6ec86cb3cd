// Tells whether another run of a program is alive, and whether the last one ended properly. A run holds a lock file as
// long as it lives and removes it at its end; the system lets go of the file of a run that dies, but leaves it there.
//
//     RunDetector detector("/var/lib/editor/", "running");
//     switch (detector.getState()) {
//         case RunDetector::Running: return askTheOtherRunToShowItself();
//         case RunDetector::Abandoned: offerToRestore(); break;
//         case RunDetector::NotRunning: break;
//     }
//     if (!detector.lock()) return 1;  // the destructor gives the file up
//
// Nothing throws but the constructor, for want of memory. Threads: one at a time; between processes, and between
// objects of one process, the file decides: of several that lock at the same time one succeeds. Child processes do not
// inherit the hold; on systems with fork, a child that has not started another program shares it.
#ifndef VELMORA_FILES_RUNDETECTOR_H
#define VELMORA_FILES_RUNDETECTOR_H

#include <cstdio>

#include <velmora/base.h>

class VELMORA_API RunDetector {
public:
    enum State {
        Running,     // access to the file is denied: somebody holds it
        NotRunning,  // the file cannot be opened for any other reason, above all because there is none
        Abandoned    // the file is there and nobody holds it: the last run died without unlock
    };

    FILE* file;         // the held lock file; null when this object has not locked
    utf16_string path;  // of the lock file

    // The path is both texts, UTF-8, without a separator between them: `folder` ends in one, or is the start of the
    // name. Touches no file. Requires: neither is null. Limit: UTF-8 without a code point above 0xFFFF; a path that is
    // too long for the system, or has a zero in it as UTF-16, is one that cannot be opened.
    RunDetector(const char* folder, const char* name);
    RunDetector(const RunDetector&) = delete;
    void operator=(const RunDetector&) = delete;
    // As unlock.
    ~RunDetector() { unlock(); }

    // Takes the file: creates it, or empties the one that a dead run has left, so ask getState first. Returns: false
    // when somebody holds it or it cannot be written; getState reports which. Warning: an object that holds the file
    // already gets false too, and loses its stream: the file stays held until the process ends.
    // On Linux a run may first make a file whose name is `path`, a point, its process number, a point and a number. If
    // it is killed then, that file stays. The next run that takes the lock removes all files of such names that nobody
    // holds, whoever made them.
    bool lock();

    // For any observer, also for the run that holds the file. A folder, pipe or device in the file's place, and a file
    // that may not be read, count as Running. On Linux file systems without links and without files that have no name
    // (FAT, exFAT), a run that is just taking its file can look Abandoned for a moment.
    // Warning: on Windows one Abandoned proves no crash. The holder closes its file before it removes it, and each
    // getState opens the file for a moment, in which the holder's removal, and another run's lock, can fail. An
    // observer that asks again and again makes nearly every proper end look Abandoned. Ask once, at the start.
    State getState() const;

    // Closes and removes the file; does nothing when this object has not locked. Failures are not reported.
    // Warning: `file` is not set to null, and the destructor, or another unlock, would close the dead stream again. To
    // give the file up before the object ends, set `file` to null afterwards.
    void unlock();
};

#endif
