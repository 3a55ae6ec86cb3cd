#include <velmora/files/logcharstream.h>

#include <algorithm>
#include <bit>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <memory>

#include <velmora/localization/keys.h>
#include <velmora/platform/platform.h>
#include <velmora/text/block.h>

namespace {

constexpr int kFirstLineMax = 1023;  // bytes that are looked at for the first line

// The last byte of a range that is no carriage return, else `before`.
char lastCounted(const char* begin, const char* end, char before) {
    while (end != begin) {
        if (*--end != '\r') return *end;
    }
    return before;
}

// Finds the bytes up to the carriage return, one after the other.
#if defined(VELMORA_HAS_SSE2) && !defined(VELMORA_CHECKS_ADDRESSES)
// Nobody says where the line ends. Bytes from one multiple of 64 to the next are of one page, so that reading all of
// them is safe as soon as one of them is in the line.
class ControlBytes {
public:
    explicit ControlBytes(char* line) {
        const auto before = reinterpret_cast<std::uintptr_t>(line) % kAtOnce;
        begin_ = line - before;
        found_ = inBegin() & ~std::uint64_t{0} << before;
    }

    char* next() {
        while (found_ == 0) {
            begin_ += kAtOnce;
            found_ = inBegin();
        }
        char* place = begin_ + std::countr_zero(found_);
        found_ &= found_ - 1;
        return place;
    }

private:
    static constexpr int kAtOnce = 64;

    char* begin_;
    std::uint64_t found_;  // those of the 64 bytes that are still to come

    std::uint64_t inBegin() const {
        using velmora::detail::Block;
        std::uint64_t found = 0;
        for (int i = 0; i < kAtOnce; i += Block::kSize) {
            found |= std::uint64_t{Block::load(begin_ + i).isBelow('\r' + 1).bits()} << i;
        }
        return found;
    }
};
#else
class ControlBytes {
public:
    explicit ControlBytes(char* line) : place_(line) {}

    char* next() {
        while (static_cast<unsigned char>(*place_) > '\r') ++place_;
        return place_++;
    }

private:
    char* place_;
};
#endif

}  // namespace

LogCharStream::LogCharStream()
    : pieceStart(0), pieceSize(0), buffer(nullptr), cursor(nullptr), end(nullptr), lastKnownSize(0) {}

LogCharStream::~LogCharStream() {
    throwing = false;
    close();
}

void LogCharStream::resetPiece() {
    delete[] buffer;
    buffer = cursor = end = nullptr;
    pieceStart = 0;
    pieceSize = 0;
}

bool LogCharStream::open(const char* path, int size, UTF8File::Mode mode) {
    close();
    name = path;
    if (name.empty()) return false;
    std::unique_ptr<char[]> piece(size != 0 ? new char[static_cast<std::size_t>(size)] : nullptr);
    if (!UTF8File::open(name.data, mode)) return false;
    // Pieces are read whole, and a buffer of the stream's own would remember the end of the file as it was.
    std::setvbuf(file, nullptr, _IONBF, 0);
    // A file that has no positions is open all the same; its size of -1 lets nothing be read.
    platform::seek(file, 0, SEEK_END);
    lastKnownSize = platform::tell(file);
    platform::seek(file, 0, SEEK_SET);
    pieceSize = size;
    buffer = cursor = end = piece.release();
    return true;
}

void LogCharStream::close() {
    resetPiece();
    UTF8File::close();
}

std::int64_t LogCharStream::getStreamSize() {
    if (!file) return 0;
    return measure(lastKnownSize) ? lastKnownSize : -1;
}

bool LogCharStream::readNextPiece() {
    std::int64_t position = getStreamPosition();
    if (position >= lastKnownSize || pieceSize == 0) return false;
    std::int64_t newStart = position - position % pieceSize;
    if (!seek(newStart, SEEK_SET)) return false;
    int count = static_cast<int>(std::min<std::int64_t>(pieceSize, lastKnownSize - newStart));
    // A read that fails, or throws, may have replaced a part of the piece. So there is none until it has succeeded.
    pieceStart = position;
    cursor = end = buffer;
    if (!UTF8File::read(buffer, count)) return false;
    pieceStart = newStart;
    cursor = buffer + (position - newStart);
    end = buffer + count;
    return true;
}

bool LogCharStream::setStreamPosition(std::int64_t position) {
    if (!file) return false;
    if (position >= pieceStart && position - pieceStart < end - buffer) {
        cursor = buffer + (position - pieceStart);
        return true;
    }
    if (!seek(position, SEEK_SET)) return false;
    cursor = end = buffer;
    pieceStart = position;
    return true;
}

// Goes to the end of the next line, from line feed to line feed instead of byte by byte, and hands `sink` the bytes of
// the line as they lie in each piece. A line feed ends the line unless the byte in front of it, carriage returns aside,
// is a backslash, which may have come with an earlier piece.
template <class Sink>
inline bool LogCharStream::walkLine(Sink sink, std::int64_t& nextPosition) {
    char previous = 0;
    while (cursor != end || readNextPiece()) {
        char* const begin = cursor;
        const void* feed = std::memchr(begin, '\n', static_cast<std::size_t>(end - begin));
        if (!feed) {
            previous = lastCounted(begin, end, previous);
            sink(begin, end - begin);
            cursor = end;
            continue;
        }
        cursor = begin + (static_cast<const char*>(feed) + 1 - begin);
        previous = lastCounted(begin, cursor - 1, previous);
        sink(begin, cursor - begin);
        if (previous != '\\') {
            nextPosition = getStreamPosition();
            return true;
        }
        previous = '\n';
    }
    return false;
}

bool LogCharStream::readLineStream(char* line, int size, int& length, std::int64_t& nextPosition) {
    if (!file || pieceSize == 0) return false;
    length = 0;
    std::ptrdiff_t room = size - 1;
    char* place = line;
    auto store = [&](const char* bytes, std::ptrdiff_t count) {
        const std::ptrdiff_t kept = std::min(count, room);
        if (kept <= 0) return;
        std::memcpy(place, bytes, static_cast<std::size_t>(kept));
        place += kept;
        room -= kept;
        length = static_cast<int>(place - line);
    };
    if (!walkLine(store, nextPosition)) return false;
    line[length] = 0;
    return true;
}

bool LogCharStream::scanLineStream(std::int64_t& nextPosition) {
    if (!file || pieceSize == 0) return false;
    return walkLine([](const char*, std::ptrdiff_t) {}, nextPosition);
}

bool LogCharStream::parseLine(int fieldCount, const bool* wanted, char** fields, char* line) {
    const int last = fieldCount - 1;
    int i = 0;
    // Fields stay where they are until a byte is dropped or missing.
    for (ControlBytes controls(line); i < fieldCount; ++i) {
        char* stop = controls.next();
        while (*stop == '\t' && i == last) stop = controls.next();
        const bool feed = *stop == '\n' && (stop == line || stop[-1] != '\\');
        if (*stop != '\t' && !feed && !(*stop == 0 && i == last)) break;
        *stop = 0;
        if (wanted[i]) *fields++ = line;
        line = stop + 1;
    }
    if (i == fieldCount) return true;
    // From one control byte to the next; what follows a byte that is dropped moves to the front.
    ControlBytes controls(line);
    const char* read = line;  // null after the terminator
    char* write = line;
    for (; i < fieldCount; ++i) {
        char* field = write;
        char previous = 0;
        for (bool open = read != nullptr; open;) {
            const char* stop = controls.next();
            if (const auto count = stop - read; count != 0) {
                previous = stop[-1];
                if (write != read) std::memmove(write, read, static_cast<std::size_t>(count));
                write += count;
            }
            const char c = *stop;
            read = stop + 1;
            if (c == '\r') continue;
            if (c == '\n' && previous == '\\') {
                previous = write[-1] = c;
                continue;
            }
            if (c == 0) read = nullptr;
            open = c != 0 && c != '\n' && (c != '\t' || i == last);
            *write++ = open ? c : '\0';
            previous = c;
        }
        if (field == write) --field;  // nothing was left to read: the zero byte of the last field
        if (wanted[i]) *fields++ = field;
    }
    return true;
}

void LogCharStream::readFirstLine(std::string& line) {
    line.clear();
    if (!file) return;
    if (!seek(0, SEEK_SET)) return;
    char text[kFirstLineMax + 1];
    int count = static_cast<int>(std::clamp<std::int64_t>(lastKnownSize, 0, kFirstLineMax));
    if (!UTF8File::read(text, count)) return;
    text[count] = 0;
    line.assign(text, std::strcspn(text, "\r\n"));
}
