#include <velmora/files/findfile.h>

#include <cerrno>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <string>

#include <velmora/platform/platform.h>
#include <velmora/text/utf.h>

namespace {

constexpr int kMostOfMask = 260;  // UTF-16 units taken of a mask
constexpr int kMaskEnd = 262;     // units that a completed mask must stay below
constexpr unsigned kSystemBits = 23;

using Traits = std::char_traits<utf16_t>;

static_assert(sizeof(ZFindFile::Record::name) == sizeof(platform::FoundEntry::name), "");

void copyEntry(ZFindFile::Record& record, const platform::FoundEntry& entry) {
    record.attrib = entry.attributes;
    record.time_create = entry.created;
    record.time_access = entry.accessed;
    record.time_write = entry.written;
    record.size = entry.size;
    Traits::copy(record.name, entry.name, std::size(entry.name));
}

bool isSelfOrParent(const utf16_t* name) {
    if (name[0] != '.') return false;
    return name[1] == 0 || (name[1] == '.' && name[2] == 0);
}

}  // namespace

ZFindFile::ZFindFile(const char* mask) : allowMask(-1), denyMask(kFolder), attributes(INT_MIN), record(), handle(-1) {
    const char* end = mask + std::strlen(mask);
    const char* cut = mask;
    utf16_t last = 0;
    int units = 0;
    for (; cut != end && units < kMostOfMask; ++units) cut = getch_utf8(last, cut, end);

    const char allBehindSeparator[] = {platform::separator(), '*', 0};
    const char* tail = allBehindSeparator;
    if (units == 0 || last == '*') {
        tail = "";
    } else if (last == static_cast<utf16_t>(platform::separator())) {
        tail = "*";
    }
    // A mask this long would lose its pattern, and the find would answer for something else.
    if (units + static_cast<int>(std::strlen(tail)) >= kMaskEnd) std::abort();

    platform::FoundEntry entry{};
    handle = platform::findFirst(mask, cut, tail, entry);
    if (handle != -1) copyEntry(record, entry);
}

ZFindFile& ZFindFile::operator=(const ZFindFile& s) {
    name = s.name;
    allowMask = s.allowMask;
    denyMask = s.denyMask;
    attributes = s.attributes;
    record = s.record;
    handle = s.handle;
    return *this;
}

void ZFindFile::release() {
    if (handle == -1) return;
    platform::findClose(handle);
    handle = -1;
}

bool ZFindFile::next() {
    if (handle == -1) return false;
    name.del();
    for (;;) {
        if (attributes >= 0) {
            platform::FoundEntry entry{};
            if (!platform::findNext(handle, entry)) {
                const int error = errno;
                release();
                errno = error;
                return false;
            }
            copyEntry(record, entry);
        }
        attributes = static_cast<int>(record.attrib & kSystemBits);
        if (!isDirectory()) {
            attributes |= kFile;
        } else if (isSelfOrParent(record.name)) {
            continue;
        }
        if ((allowMask & attributes) != 0 && (denyMask & attributes) == 0) return true;
    }
}

const char* ZFindFile::getName() const {
    if (name.empty()) {
        char text[platform::kFoundNameBytes];
        platform::foundName(record.name, text);
        name = text;
    }
    return name.data;
}
