#include <velmora/files/logcharstream.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>

#include <velmora/localization/keys.h>
#include <velmora/platform/platform.h>

namespace {

constexpr int kFirstLineMax = 1023;  // bytes that are looked at for the first line

// The last byte of a range that is no carriage return, else `before`.
char lastCounted(const char* begin, const char* end, char before) {
    while (end != begin) {
        if (*--end != '\r') return *end;
    }
    return before;
}

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
bool LogCharStream::walkLine(Sink sink, std::int64_t& nextPosition) {
    char previous = 0;
    while (cursor != end || readNextPiece()) {
        const char* begin = cursor;
        auto* feed = static_cast<char*>(std::memchr(cursor, '\n', static_cast<std::size_t>(end - cursor)));
        char* stop = feed ? feed : end;
        previous = lastCounted(begin, stop, previous);
        const bool complete = feed && previous != '\\';
        if (feed) {
            ++stop;
            previous = '\n';
        }
        sink(begin, stop - begin);
        cursor = stop;
        if (complete) {
            nextPosition = getStreamPosition();
            return true;
        }
    }
    return false;
}

bool LogCharStream::readLineStream(char* line, int size, int& length, std::int64_t& nextPosition) {
    if (!file || pieceSize == 0) return false;
    length = 0;
    const int room = size - 1;
    auto store = [&](const char* bytes, std::ptrdiff_t count) {
        const int kept = static_cast<int>(std::min<std::ptrdiff_t>(count, room - length));
        if (kept <= 0) return;
        std::memcpy(line + length, bytes, static_cast<std::size_t>(kept));
        length += kept;
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
    const char* read = line;  // null behind the terminator
    char* write = line;
    for (int i = 0; i < fieldCount; ++i) {
        char* field = write;
        char previous = 0;
        for (bool open = read != nullptr; open;) {
            const char c = *read++;
            if (c == '\r') continue;
            if (c == '\n' && previous == '\\') {
                previous = write[-1] = c;
                continue;
            }
            if (c == 0) read = nullptr;
            open = c != 0 && c != '\n' && (c != '\t' || i == fieldCount - 1);
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
