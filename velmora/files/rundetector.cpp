#include <velmora/files/rundetector.h>

#include <cerrno>
#include <cstring>

#include <velmora/platform/platform.h>
#include <velmora/text/utf.h>

namespace {

// A zero unit is kept: the path is then refused, where the text up to it would be another file.
void appendUnits(utf16_string& path, const char* text) {
    const std::size_t before = path.size();
    path.resize(before + strlen_utf8(text));
    utf8_to_utf16(text, text + std::strlen(text), &path[before], &path[0] + path.size());
}

}  // namespace

RunDetector::RunDetector(const char* folder, const char* name) : file(nullptr) {
    appendUnits(path, folder);
    appendUnits(path, name);
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
