// Reads a text file by lines while another process appends to it. One piece of the file is in memory at a time. The end
// is never taken for granted: reading goes up to the size that was last asked for, and a line without its line feed is
// not delivered yet.
//
//     LogCharStream log;
//     if (!log.open("service.log", 65536, UTF8File::READ)) return;
//     std::int64_t next = 0;
//     for (;;) {
//         char line[4096];
//         int length;
//         while (log.readLineStream(line, sizeof line, length, next)) show(line, length);
//         waitAWhile();
//         log.getStreamSize();           // the one way to see that the file has grown
//         log.setStreamPosition(next);   // back to the start of the unfinished line; in the piece this is free
//     }
//
// The object is quiet: failures come back as false or -1. One whose `throwing` is set throws LCA__Seek_file_error and
// what UTF8File::open, close and read throw. Limit: files below 2 GiB; a file that shrinks is not provided for.
#ifndef VELMORA_FILES_LOGCHARSTREAM_H
#define VELMORA_FILES_LOGCHARSTREAM_H

#include <cstdint>
#include <string>

#include <velmora/base.h>
#include <velmora/files/utf8file.h>

class VELMORA_API LogCharStream : public UTF8File {
public:
    std::int64_t pieceStart;     // place of the first byte of `buffer` in the file
    std::int32_t pieceSize;      // room in `buffer`, in bytes, as given to open; 0: no lines can be read
    char* buffer;                // the piece; owned; null when closed
    char* cursor;                // the next byte
    char* end;                   // one behind the last byte of the piece
    std::int64_t lastKnownSize;  // of the file, in bytes, as of the last look

    LogCharStream();
    // Warning: a copy shares the stream and the piece, and both objects will release them. Only one may stay in use,
    // and the other's `file` and `buffer` are to be set to null.
    LogCharStream(const LogCharStream&) = default;
    LogCharStream& operator=(const LogCharStream&) = default;
    // Closes, quietly.
    ~LogCharStream();

    // Closes first, whatever comes of it. Null and empty `path`: false. A `pieceSize` of 0 leaves an open file whose
    // lines cannot be read; it still serves getStreamSize and readFirstLine. std::bad_alloc leaves the object closed.
    // Requires: `pieceSize` is not negative.
    bool open(const char* path, int pieceSize, UTF8File::Mode mode);
    // Keeps lastKnownSize.
    void close();

    // Looks at the file and remembers its size. Returns: that size; 0 when closed; -1 on failure.
    std::int64_t getStreamSize();
    std::int64_t getLastKnownStreamSize() const { return lastKnownSize; }

    // Within the piece only the cursor moves and the file is not touched.
    bool setStreamPosition(std::int64_t position);

    // The next line into `line`, with its carriage returns and its line feed and a zero byte after it; `length` counts
    // the bytes before that zero, and `nextPosition` is the start of the line after it. A backslash at the end of a
    // line, also in front of carriage returns, joins the next line to this one.
    // Returns: false when no complete line lies ahead, which is no error; so it is, too, at a last line without a line
    // feed. `line` then holds the `length` bytes so far, without a zero byte, and `nextPosition` is as it was. A stream
    // that is closed or has no piece leaves `length` alone as well.
    // A failed read of the file is false too, and leaves the stream at the first byte that could not be read.
    // Limit: `size` - 1 bytes; the rest of a longer line is passed over. Requires: `size` is above 0.
    bool readLineStream(char* line, int size, int& length, std::int64_t& nextPosition);
    // The same without keeping anything: finds the start of the next line.
    bool scanLineStream(std::int64_t& nextPosition);

    // Takes a line apart in place, into `fieldCount` zero-terminated fields. A field ends at a tab, but the last one
    // takes in tabs; it ends at a line feed, but one behind a backslash replaces it and stays; carriage returns are
    // dropped. fields[] gets the starts of those fields whose wanted[i] is true, one behind the other without gaps.
    // Always true.
    // Requires: the line has `fieldCount` fields. What is missing comes out empty; nothing behind the line is read.
    static bool parseLine(int fieldCount, const bool* wanted, char** fields, char* line);

    // The first line of the file, up to its line end or a zero byte; empty on failure and when closed. The piece and
    // its cursor stay as they are. Limit: 1,023 bytes.
    void readFirstLine(std::string& line);

protected:
    bool isStreamReady() const { return buffer != nullptr; }
    std::int64_t getStreamPosition() const { return pieceStart + (cursor - buffer); }
    // The next byte. Returns: false when readNextPiece does.
    bool getChar(char& c) {
        if (cursor == end && !readNextPiece()) return false;
        c = *cursor++;
        return true;
    }
    // Fills `buffer` with the piece that the stream position lies in; pieces start at multiples of `pieceSize`, so the
    // last one, read again, has grown. The stream position does not move. Returns: false at the last known size and on
    // failure. After a failed read the piece is empty, and the next read starts anew at the position.
    bool readNextPiece();

private:
    void resetPiece();
    template <class Sink>
    bool walkLine(Sink sink, std::int64_t& nextPosition);
};

#endif
