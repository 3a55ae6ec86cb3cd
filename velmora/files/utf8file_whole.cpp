// The operations of UTF8File that take a file as one value. The static ones work on a throwing object of their own, so
// that whatever is not thrown has succeeded.
#include <algorithm>
#include <climits>
#include <cstdint>
#include <cstdio>
#include <new>

#include <velmora/containers/vectors.h>
#include <velmora/files/utf8file.h>
#include <velmora/localization/keys.h>
#include <velmora/platform/platform.h>
#include <velmora/serial/bag.h>
#include <velmora/text/charr.h>
#include <velmora/text/charvector.h>

namespace {

constexpr std::int64_t kCopyBuffer = 4096;
constexpr int kNoSystemError = -1;

void reportNoMemory(UTF8File& file) {
    file.erro(VELMORA_DICT, LCA__Not_enough_memory_to_load_file, file.name.data, kNoSystemError);
}

// Runs what takes the memory for a file; that it runs out becomes the file's failure.
template <class Allocate>
bool allocated(UTF8File& file, Allocate allocate) {
    try {
        allocate();
        return true;
    } catch (const std::bad_alloc&) {
    }
    reportNoMemory(file);
    return false;
}

// Which open refuses silently.
void requirePath(const char* path) {
    if (!path) throw TTT(VELMORA_DICT, LCA__Cannot_open_file);
}

// What every load does. `release` empties the target, which the path may lie in. `allocate` takes the file's size and
// gives the place for its bytes, or null for none.
template <class Release, class Allocate>
std::uint64_t loadInto(const char* path, std::uint64_t limit, Release release, Allocate allocate) {
    UTF8File file(true);
    try {
        file.name = path;
    } catch (const std::bad_alloc&) {
        release();
        throw;
    }
    release();
    requirePath(file.name.data);
    file.open(UTF8File::READ);
    std::setvbuf(file.file, nullptr, _IONBF, 0);  // there is one read, straight into the target
    // A read takes an int.
    const std::int64_t most = std::min<std::int64_t>(static_cast<std::int64_t>(limit), INT_MAX);
    std::int64_t size = platform::regularSize(file.file);
    if (size <= 0 || size > most) size = file.checkSize(most);
    if (size < 0) reportNoMemory(file);  // anything but a regular file may report no size
    char* target = nullptr;
    allocated(file, [&] { target = allocate(static_cast<int>(size)); });
    file.read(target, static_cast<int>(size));
    file.close();  // here and not in the destructor, which would keep a failure to itself
    return static_cast<std::uint64_t>(size);
}

// A block of negative length leaves a content that ends in front of the Bag.
int sizeOf(const Bag& bag) { return std::max(bag.size, 0); }

// A write takes an int. What it does not take is refused before anything is opened or removed.
void requireWritable(const char* path, std::uint64_t size) {
    requirePath(path);
    if (size > INT_MAX) UTF8File(true).erro(VELMORA_DICT, LCA__Too_big_file, path, kNoSystemError);
}

void writeWhole(UTF8File& file, const void* data, std::uint64_t size) {
    file.open(UTF8File::WRITE);
    if (size != 0) file.write(data, static_cast<int>(size));
    file.close();
}

}  // namespace

std::uint64_t UTF8File::load(const char* path, ArrayHolder<char>& data, std::uint64_t limit, bool terminate) {
    auto release = [&] { delete[] data.steal(); };
    return loadInto(path, limit, release, [&](int size) {
        const std::size_t block = static_cast<std::size_t>(size) + (terminate ? 1 : 0);
        if (block != 0) {
            data.data = new char[block];
            if (terminate) data.data[block - 1] = 0;
        }
        return data.data;
    });
}

std::uint64_t UTF8File::load(const char* path, ChArr& text, std::uint64_t limit, bool terminate) {
    ArrayHolder<char> block;
    std::uint64_t size = load(path, block, limit, terminate);
    text.del();
    text.data = block.steal();
    return size;
}

std::uint64_t UTF8File::load(const char* path, Bag& bag, std::uint64_t limit, bool terminate) {
    ArrayHolder<char> block;
    std::uint64_t size = load(path, block, limit, terminate);
    bag.stealFrom(block.steal(), static_cast<int>(size));
    return size;
}

std::uint64_t UTF8File::load(const char* path, std::string& text, std::uint64_t limit) {
    auto release = [&] { text.clear(); };
    return loadInto(path, limit, release, [&](int size) {
        text.resize(static_cast<std::size_t>(size));
        return &text[0];
    });
}

std::uint64_t UTF8File::load(const char* path, CharVector& text, std::uint64_t limit) {
    auto release = [&] { text.clear(); };
    return loadInto(path, limit, release, [&](int size) { return text.prepare(size); });
}

void UTF8File::save(const char* path, const void* data, std::uint64_t size) {
    requireWritable(path, size);
    UTF8File file(path, true);
    writeWhole(file, data, size);
}

void UTF8File::save(const char* path, const Bag& bag) { save(path, bag.data, static_cast<std::uint64_t>(sizeOf(bag))); }

void UTF8File::safe_save(const char* path, const void* data, std::uint64_t size) {
    requireWritable(path, size);
    UTF8File temporary(std::string(path) + ".tmp", true);
    writeWhole(temporary, data, size);
    UTF8File(path, true).remove();  // a rename does not replace its target
    temporary.rename(path);
}

void UTF8File::safe_save(const char* path, const Bag& bag) {
    safe_save(path, bag.data, static_cast<std::uint64_t>(sizeOf(bag)));
}

bool UTF8File::push(Bag& bag) {
    const int size = sizeOf(bag);
    return write(size) && write(bag.data, size);
}

bool UTF8File::pop(Bag& bag) {
    int length;
    if (!read(length)) return false;
    if (length == 0) {
        bag.clear();
        return true;
    }
    ArrayHolder<char> block;
    bool taken = allocated(*this, [&] {
        if (length < 0) throw std::bad_array_new_length();  // an impossible size
        block.data = new char[static_cast<std::size_t>(length)];
    });
    if (!taken) return false;
    if (!read(block.data, length)) return false;
    bag.stealFrom(block.steal(), length);
    return true;
}

bool UTF8File::copy(UTF8File& destination, std::int64_t size) {
    char buffer[kCopyBuffer];
    while (size > 0) {
        auto part = static_cast<int>(std::min(size, kCopyBuffer));
        if (!read(buffer, part) || !destination.write(buffer, part)) return false;
        size -= part;
    }
    return true;
}
