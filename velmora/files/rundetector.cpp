#include <velmora/files/rundetector.h>

#include <cerrno>

#include <velmora/platform/platform.h>
#include <velmora/text/charr.h>

RunDetector::RunDetector(const char* folder, const char* name) : file(nullptr), path(ChArr16(folder).asCharPtr()) {
    path += ChArr16(name).asCharPtr();
}

bool RunDetector::lock() {
    file = platform::lockFile(path);
    return file != nullptr;
}

RunDetector::State RunDetector::getState() const {
    switch (platform::probeLockFile(path)) {
        case 0:
            return Abandoned;
        case EACCES:
            return Running;
        default:
            return NotRunning;
    }
}

void RunDetector::unlock() {
    if (file) platform::unlockFile(file, path);
}
