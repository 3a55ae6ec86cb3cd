#include <velmora/files/logcharstream.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstddef>
#include <cstdio>
#include <cstring>
#include <random>
#include <string>
#include <thread>
#include <type_traits>
#include <vector>

#ifndef _WIN32
#include <sys/stat.h>
#endif

#include "tests/support/child_process.h"
#include "tests/support/guard_page.h"
#include "tests/support/message.h"
#include "tests/support/temp_folder.h"

// The program of service_child.cpp.
#ifndef VELMORA_SERVICE_CHILD
#error "VELMORA_SERVICE_CHILD must be defined"
#endif

namespace {

using support::ChildProcess;
using support::TempFolder;
using support::thrownMessage;

// The fields of a class that derives from another one are looked at through a pointer: offsetof is for simpler classes.
template <class Field>
std::ptrdiff_t offsetIn(const LogCharStream& log, const Field& field) {
    return reinterpret_cast<const char*>(&field) - reinterpret_cast<const char*>(&log);
}

static_assert(sizeof(LogCharStream) == 80, "");
static_assert(!std::is_polymorphic<LogCharStream>::value, "");
static_assert(std::is_base_of<UTF8File, LogCharStream>::value, "");
static_assert(std::is_same<decltype(LogCharStream::pieceStart), std::int64_t>::value, "");
static_assert(std::is_same<decltype(LogCharStream::pieceSize), std::int32_t>::value, "");
static_assert(std::is_same<decltype(LogCharStream::lastKnownSize), std::int64_t>::value, "");

// What is left alone.
constexpr int kUntouched = -77;
constexpr char kFiller = '#';

// The protected half of the class.
class Log : public LogCharStream {
public:
    using LogCharStream::getChar;
    using LogCharStream::getStreamPosition;
    using LogCharStream::isStreamReady;
    using LogCharStream::readNextPiece;

    std::ptrdiff_t valid() const { return end - buffer; }
    std::ptrdiff_t done() const { return cursor - buffer; }
};

// One call of readLineStream and what it has done.
struct Line {
    bool complete;
    int length = kUntouched;
    std::int64_t next = kUntouched;
    std::string bytes;  // in front of the terminator, or so far
    bool terminated = false;

    explicit Line(LogCharStream& log, int size = 1000) {
        std::string room(static_cast<std::size_t>(size) + 1, kFiller);
        complete = log.readLineStream(&room[0], size, length, next);
        if (length < 0) {
            EXPECT_EQ(std::string(room.size(), kFiller), room);
            return;
        }
        bytes = room.substr(0, static_cast<std::size_t>(length));
        terminated = room[bytes.size()] == 0;
        // Nothing else is written.
        std::size_t used = bytes.size() + (terminated ? 1 : 0);
        EXPECT_EQ(std::string(room.size() - used, kFiller), room.substr(used));
    }
};

void expectLine(int line, LogCharStream& log, const std::string& bytes, std::int64_t next, int size = 1000) {
    SCOPED_TRACE(line);
    Line got(log, size);
    EXPECT_TRUE(got.complete);
    EXPECT_EQ(bytes, got.bytes);
    EXPECT_EQ(static_cast<int>(bytes.size()), got.length);
    EXPECT_TRUE(got.terminated);
    EXPECT_EQ(next, got.next);
}

void expectNoLine(int line, LogCharStream& log, const std::string& bytes, int size = 1000) {
    SCOPED_TRACE(line);
    Line got(log, size);
    EXPECT_FALSE(got.complete);
    EXPECT_EQ(bytes, got.bytes);
    EXPECT_EQ(static_cast<int>(bytes.size()), got.length);
    EXPECT_FALSE(got.terminated);
    EXPECT_EQ(kUntouched, got.next);
}

class LogCharStreamTest : public testing::Test {
protected:
    TempFolder folder;
    Log log;

    void open(const std::string& content, int pieceSize = 64) {
        ASSERT_TRUE(log.open(folder.write("log", content).c_str(), pieceSize, UTF8File::READ));
    }
    void append(const std::string& more) const {
        FILE* file = std::fopen(folder.file("log").c_str(), "ab");
        ASSERT_NE(nullptr, file);
        EXPECT_EQ(more.size(), std::fwrite(more.data(), 1, more.size(), file));
        EXPECT_EQ(0, std::fclose(file));
    }
    std::string reported(const char* key, int error) const {
        return std::string(key) + " LCA__Path_s(" + log.name.data + ") LCA__System_diagnostic_s(" +
               std::strerror(error) + ")";
    }
};

// ---- construction, copies, opening and closing ----

TEST_F(LogCharStreamTest, StartsEmptyAndQuiet) {
    EXPECT_EQ(2, log.lastOp);
    EXPECT_EQ(nullptr, log.file);
    EXPECT_EQ(nullptr, log.name.data);
    EXPECT_FALSE(log.throwing);
    EXPECT_EQ(0, log.pieceStart);
    EXPECT_EQ(0, log.pieceSize);
    EXPECT_EQ(nullptr, log.buffer);
    EXPECT_EQ(nullptr, log.cursor);
    EXPECT_EQ(nullptr, log.end);
    EXPECT_EQ(0, log.lastKnownSize);
    EXPECT_FALSE(log.isStreamReady());
    EXPECT_EQ(0, log.getStreamPosition());
}

TEST_F(LogCharStreamTest, FieldsLieInOrderBehindTheBase) {
    EXPECT_EQ(32, offsetIn(log, log.pieceStart));
    EXPECT_EQ(40, offsetIn(log, log.pieceSize));
    EXPECT_EQ(48, offsetIn(log, log.buffer));
    EXPECT_EQ(56, offsetIn(log, log.cursor));
    EXPECT_EQ(64, offsetIn(log, log.end));
    EXPECT_EQ(72, offsetIn(log, log.lastKnownSize));
}

TEST_F(LogCharStreamTest, ClosedObjectAnswersAndDoesNothing) {
    std::string line = "old";
    std::int64_t next = kUntouched;
    char c = kFiller;
    errno = 0;
    EXPECT_EQ(0, log.getStreamSize());
    EXPECT_EQ(0, log.getLastKnownStreamSize());
    EXPECT_FALSE(log.setStreamPosition(0));
    EXPECT_FALSE(log.scanLineStream(next));
    EXPECT_EQ(kUntouched, next);
    EXPECT_EQ(kUntouched, Line(log).length);
    EXPECT_FALSE(log.getChar(c));
    EXPECT_EQ(kFiller, c);
    EXPECT_FALSE(log.readNextPiece());
    log.readFirstLine(line);
    EXPECT_EQ("", line);
    log.close();
    EXPECT_EQ(nullptr, log.file);
}

TEST_F(LogCharStreamTest, OpenLooksAtTheFileAndReadsNothing) {
    open("one\ntwo\n", 5);
    EXPECT_TRUE(log.isOpened());
    EXPECT_TRUE(log.isStreamReady());
    EXPECT_EQ(folder.file("log"), log.name.data);
    EXPECT_EQ(8, log.lastKnownSize);
    EXPECT_EQ(8, log.getLastKnownStreamSize());
    EXPECT_EQ(5, log.pieceSize);
    EXPECT_EQ(0, log.pieceStart);
    EXPECT_NE(nullptr, log.buffer);
    EXPECT_EQ(log.buffer, log.cursor);
    EXPECT_EQ(log.buffer, log.end);
    EXPECT_EQ(0, log.getStreamPosition());
    EXPECT_EQ(0, log.pos());
    EXPECT_EQ(2, log.lastOp);
    EXPECT_FALSE(log.throwing);
}

TEST_F(LogCharStreamTest, OpenOfNothingStoresThePathAndIsFalse) {
    for (const char* path : {static_cast<const char*>(nullptr), ""}) {
        SCOPED_TRACE(path ? "empty" : "null");
        open("one\n");
        log.throwing = true;
        EXPECT_EQ("(nothing)", thrownMessage([&] { EXPECT_FALSE(log.open(path, 8, UTF8File::READ)); }));
        EXPECT_TRUE(log.name.empty());
        EXPECT_EQ(path == nullptr, log.name.data == nullptr);
        EXPECT_FALSE(log.isOpened());
        EXPECT_FALSE(log.isStreamReady());
        EXPECT_EQ(0, log.pieceSize);
        EXPECT_EQ(4, log.lastKnownSize);
        log.throwing = false;
    }
}

TEST_F(LogCharStreamTest, PathMayBeAPartOfTheOwnName) {
    const std::filesystem::path before = std::filesystem::current_path();
    std::filesystem::current_path(folder.path());
    folder.write("log", "one\n");
    log.name = "old log";
    EXPECT_TRUE(log.open(log.name.data + 4, 8, UTF8File::READ));
    EXPECT_STREQ("log", log.name.data);
    EXPECT_TRUE(log.open(log.name.data, 8, UTF8File::READ));
    expectLine(__LINE__, log, "one\n", 4);
    log.close();
    std::filesystem::current_path(before);
}

TEST_F(LogCharStreamTest, FailedOpenLeavesTheObjectClosed) {
    open("one\n");
    const std::string missing = folder.file("missing");
    EXPECT_FALSE(log.open(missing.c_str(), 8, UTF8File::READ));
    EXPECT_EQ(missing, log.name.data);
    EXPECT_EQ(nullptr, log.file);
    EXPECT_EQ(nullptr, log.buffer);
    EXPECT_EQ(nullptr, log.cursor);
    EXPECT_EQ(nullptr, log.end);
    EXPECT_EQ(0, log.pieceSize);
    EXPECT_EQ(0, log.pieceStart);
    EXPECT_EQ(4, log.lastKnownSize);
    log.throwing = true;
    const std::string message = thrownMessage([&] { log.open(missing.c_str(), 8, UTF8File::READ); });
    EXPECT_EQ(reported("LCA__Cannot_open_file", ENOENT), message);
    EXPECT_EQ(nullptr, log.buffer);
}

TEST_F(LogCharStreamTest, OpenAgainReplacesEverything) {
    open("one\ntwo\n", 4);
    expectLine(__LINE__, log, "one\n", 4);
    expectLine(__LINE__, log, "two\n", 8);
    EXPECT_EQ(4, log.pieceStart);
    ASSERT_TRUE(log.open(folder.write("other", "12345\n").c_str(), 16, UTF8File::READ));
    EXPECT_EQ(0, log.pieceStart);
    EXPECT_EQ(16, log.pieceSize);
    EXPECT_EQ(6, log.lastKnownSize);
    expectLine(__LINE__, log, "12345\n", 6);
    // By its own name, with another size of piece.
    ASSERT_TRUE(log.open(log.name.data, 3, UTF8File::READ));
    EXPECT_EQ(3, log.pieceSize);
    expectLine(__LINE__, log, "12345\n", 6);
}

TEST_F(LogCharStreamTest, OpenForUpdateAndWriting) {
    const std::string path = folder.write("log", "one\n");
    ASSERT_TRUE(log.open(path.c_str(), 8, UTF8File::UPDATE));
    expectLine(__LINE__, log, "one\n", 4);
    ASSERT_TRUE(log.seek(0, SEEK_END));
    ASSERT_TRUE(log.write("two\n"));
    EXPECT_EQ(8, log.getStreamSize());
    expectLine(__LINE__, log, "two\n", 8);
    ASSERT_TRUE(log.open(path.c_str(), 8, UTF8File::WRITE));
    EXPECT_EQ(0, log.lastKnownSize);
    EXPECT_EQ("", folder.read("log"));
}

TEST_F(LogCharStreamTest, WithoutAPieceNoLineIsEverRead) {
    open("one\ntwo\n", 0);
    EXPECT_TRUE(log.isOpened());
    EXPECT_FALSE(log.isStreamReady());
    EXPECT_EQ(0, log.pieceSize);
    EXPECT_EQ(8, log.lastKnownSize);
    for (int i = 0; i < 3; ++i) {
        std::int64_t next = kUntouched;
        Line got(log);
        EXPECT_FALSE(got.complete);
        EXPECT_EQ(kUntouched, got.length);
        EXPECT_EQ(kUntouched, got.next);
        EXPECT_FALSE(log.scanLineStream(next));
        EXPECT_EQ(kUntouched, next);
        EXPECT_FALSE(log.readNextPiece());
        append("more\n");
        EXPECT_EQ(13 + 5 * i, log.getStreamSize());
        EXPECT_TRUE(log.setStreamPosition(4));
        EXPECT_EQ(4, log.getStreamPosition());
    }
    std::string line;
    log.readFirstLine(line);
    EXPECT_EQ("one", line);
}

TEST_F(LogCharStreamTest, CloseKeepsTheLastKnownSizeAndTheName) {
    open("one\ntwo\n", 4);
    expectLine(__LINE__, log, "one\n", 4);
    expectLine(__LINE__, log, "two\n", 8);
    log.close();
    EXPECT_EQ(nullptr, log.file);
    EXPECT_EQ(0, log.pieceStart);
    EXPECT_EQ(0, log.pieceSize);
    EXPECT_EQ(nullptr, log.buffer);
    EXPECT_EQ(nullptr, log.cursor);
    EXPECT_EQ(nullptr, log.end);
    EXPECT_EQ(8, log.lastKnownSize);
    EXPECT_EQ(8, log.getLastKnownStreamSize());
    EXPECT_EQ(0, log.getStreamSize());
    EXPECT_EQ(8, log.lastKnownSize);
    EXPECT_EQ(folder.file("log"), log.name.data);
    EXPECT_EQ(kUntouched, Line(log).length);
}

TEST_F(LogCharStreamTest, DestructionClosesTheStream) {
    int descriptor;
    {
        LogCharStream first;
        ASSERT_TRUE(first.open(folder.write("log", "").c_str(), 8, UTF8File::READ));
        descriptor = first.handle();
        first.throwing = true;
    }
    open("");
    EXPECT_EQ(descriptor, log.handle());
}

TEST_F(LogCharStreamTest, CopySharesTheStreamAndThePiece) {
    open("one\ntwo\n", 8);
    expectLine(__LINE__, log, "one\n", 4);
    LogCharStream copy(log);
    LogCharStream assigned;
    EXPECT_EQ(&assigned, &(assigned = log));
    for (LogCharStream* other : {&copy, &assigned}) {
        EXPECT_EQ(log.file, other->file);
        EXPECT_EQ(log.lastOp, other->lastOp);
        EXPECT_EQ(log.throwing, other->throwing);
        EXPECT_STREQ(log.name.data, other->name.data);
        EXPECT_NE(log.name.data, other->name.data);
        EXPECT_EQ(log.buffer, other->buffer);
        EXPECT_EQ(log.cursor, other->cursor);
        EXPECT_EQ(log.end, other->end);
        EXPECT_EQ(log.pieceStart, other->pieceStart);
        EXPECT_EQ(log.pieceSize, other->pieceSize);
        EXPECT_EQ(log.lastKnownSize, other->lastKnownSize);
    }
    assigned.file = nullptr;
    assigned.buffer = nullptr;
    // The copy goes on alone.
    log.file = nullptr;
    log.buffer = nullptr;
    expectLine(__LINE__, copy, "two\n", 8);
}

// ---- the size ----

TEST_F(LogCharStreamTest, GrowthIsSeenOnlyByAsking) {
    open("one\n", 64);
    expectLine(__LINE__, log, "one\n", 4);
    append("two\n");
    expectNoLine(__LINE__, log, "");
    EXPECT_EQ(4, log.getLastKnownStreamSize());
    expectNoLine(__LINE__, log, "");
    log.lastOp = 0;
    const std::int64_t place = log.pos();
    EXPECT_EQ(8, log.getStreamSize());
    EXPECT_EQ(8, log.lastKnownSize);
    EXPECT_EQ(2, log.lastOp);
    EXPECT_EQ(place, log.pos());
    EXPECT_EQ(4, log.getStreamPosition());
    expectLine(__LINE__, log, "two\n", 8);
}

TEST_F(LogCharStreamTest, UnfinishedLineIsReadWhenItIsFinished) {
    for (int pieceSize : {1, 4, 7, 64}) {
        SCOPED_TRACE(pieceSize);
        open("one\r\ntwo\nthr", pieceSize);
        expectLine(__LINE__, log, "one\r\n", 5);
        expectLine(__LINE__, log, "two\n", 9);
        expectNoLine(__LINE__, log, "thr");
        EXPECT_EQ(12, log.getStreamPosition());
        append("ee");
        EXPECT_EQ(14, log.getStreamSize());
        ASSERT_TRUE(log.setStreamPosition(9));
        expectNoLine(__LINE__, log, "three");
        append("\nfour\n");
        EXPECT_EQ(20, log.getStreamSize());
        ASSERT_TRUE(log.setStreamPosition(9));
        expectLine(__LINE__, log, "three\n", 15);
        expectLine(__LINE__, log, "four\n", 20);
        expectNoLine(__LINE__, log, "");
    }
}

TEST_F(LogCharStreamTest, WithoutGoingBackTheRestOfTheLineIsReadAlone) {
    open("one", 64);
    expectNoLine(__LINE__, log, "one");
    append("two\n");
    log.getStreamSize();
    expectLine(__LINE__, log, "two\n", 7);
}

// ---- positions ----

TEST_F(LogCharStreamTest, PositionWithinThePieceDoesNotTouchTheFile) {
    open("0123456789\nabc\n", 8);
    ASSERT_TRUE(log.setStreamPosition(9));
    ASSERT_TRUE(log.readNextPiece());
    EXPECT_EQ(8, log.pieceStart);
    EXPECT_EQ(7, log.valid());
    EXPECT_EQ(1, log.done());
    // In place of the log a stream whose position tells of every touch.
    FILE* own = log.file;
    log.file = std::fopen(folder.write("other", std::string(100, 'x')).c_str(), "rb");
    ASSERT_NE(nullptr, log.file);
    ASSERT_EQ(0, std::fseek(log.file, 77, SEEK_SET));
    log.lastOp = 0;
    for (std::int64_t position : {8, 14, 9}) {
        EXPECT_TRUE(log.setStreamPosition(position));
        EXPECT_EQ(position, log.getStreamPosition());
        EXPECT_EQ(position - 8, log.done());
        EXPECT_EQ(8, log.pieceStart);
        EXPECT_EQ(7, log.valid());
        EXPECT_EQ(77, std::ftell(log.file));
        EXPECT_EQ(0, log.lastOp);
    }
    // The first place behind the piece is outside.
    EXPECT_TRUE(log.setStreamPosition(15));
    EXPECT_EQ(15, std::ftell(log.file));
    EXPECT_EQ(15, log.pieceStart);
    EXPECT_EQ(0, log.valid());
    EXPECT_EQ(0, log.done());
    EXPECT_EQ(15, log.getStreamPosition());
    EXPECT_EQ(2, log.lastOp);
    std::fclose(log.file);
    log.file = own;
}

TEST_F(LogCharStreamTest, PositionInFrontOfThePieceEmptiesIt) {
    open("0123456789\nabc\n", 8);
    ASSERT_TRUE(log.setStreamPosition(9));
    expectLine(__LINE__, log, "9\n", 11);
    EXPECT_TRUE(log.setStreamPosition(7));
    EXPECT_EQ(7, log.pieceStart);
    EXPECT_EQ(0, log.valid());
    EXPECT_EQ(0, log.done());
    EXPECT_EQ(7, log.getStreamPosition());
    // The piece that is read then lies on the grid again.
    ASSERT_TRUE(log.readNextPiece());
    EXPECT_EQ(0, log.pieceStart);
    EXPECT_EQ(8, log.valid());
    EXPECT_EQ(7, log.getStreamPosition());
    expectLine(__LINE__, log, "789\n", 11);
}

TEST_F(LogCharStreamTest, PositionBehindTheEndIsAcceptedAndReadsNothing) {
    open("one\n", 8);
    for (std::int64_t position : {std::int64_t{4}, std::int64_t{5}, std::int64_t{1} << 40}) {
        EXPECT_TRUE(log.setStreamPosition(position));
        EXPECT_EQ(position, log.getStreamPosition());
        expectNoLine(__LINE__, log, "");
        EXPECT_EQ(position, log.getStreamPosition());
    }
    EXPECT_TRUE(log.setStreamPosition(0));
    expectLine(__LINE__, log, "one\n", 4);
}

TEST_F(LogCharStreamTest, PositionInFrontOfTheFileFails) {
    open("one\ntwo\n", 8);
    expectLine(__LINE__, log, "one\n", 4);
    log.lastOp = 0;
    EXPECT_FALSE(log.setStreamPosition(-1));
    EXPECT_EQ(0, log.lastOp);
    EXPECT_EQ(4, log.getStreamPosition());
    EXPECT_EQ(8, log.valid());
    log.throwing = true;
    EXPECT_EQ(reported("LCA__Seek_file_error", EINVAL), thrownMessage([&] { log.setStreamPosition(-1); }));
    log.throwing = false;
    expectLine(__LINE__, log, "two\n", 8);
}

// ---- pieces ----

TEST_F(LogCharStreamTest, PiecesLieOnAGrid) {
    open("0123456789", 4);
    const struct {
        int line;
        std::int64_t position, start, valid;
    } rows[] = {
        {__LINE__, 0, 0, 4}, {__LINE__, 3, 0, 4}, {__LINE__, 4, 4, 4},
        {__LINE__, 7, 4, 4}, {__LINE__, 8, 8, 2}, {__LINE__, 9, 8, 2},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.line);
        // Through the empty piece, so that each is read anew.
        ASSERT_TRUE(log.setStreamPosition(10));
        ASSERT_TRUE(log.setStreamPosition(row.position));
        log.cursor = log.end = log.buffer;
        log.pieceStart = row.position;
        log.lastOp = 1;
        EXPECT_TRUE(log.readNextPiece());
        EXPECT_EQ(row.start, log.pieceStart);
        EXPECT_EQ(row.valid, log.valid());
        EXPECT_EQ(row.position, log.getStreamPosition());
        EXPECT_EQ(static_cast<char>('0' + row.position), *log.cursor);
        EXPECT_EQ(0, log.lastOp);
    }
    ASSERT_TRUE(log.setStreamPosition(10));
    EXPECT_FALSE(log.readNextPiece());
}

TEST_F(LogCharStreamTest, LastPieceIsReadAgainFromItsStartAfterGrowth) {
    open("0123456", 4);
    ASSERT_TRUE(log.setStreamPosition(6));
    char c = kFiller;
    ASSERT_TRUE(log.getChar(c));
    EXPECT_EQ('6', c);
    EXPECT_FALSE(log.getChar(c));
    EXPECT_EQ('6', c);
    EXPECT_EQ(7, log.getStreamPosition());
    append("789");
    EXPECT_FALSE(log.getChar(c));
    EXPECT_EQ(10, log.getStreamSize());
    for (char expected : {'7', '8', '9'}) {
        ASSERT_TRUE(log.getChar(c));
        EXPECT_EQ(expected, c);
        EXPECT_EQ(expected == '7' ? 4 : 8, log.pieceStart);
    }
    EXPECT_FALSE(log.getChar(c));
}

TEST_F(LogCharStreamTest, FailedReadLeavesNoPieceAndThePosition) {
    for (bool policy : {false, true}) {
        for (std::ptrdiff_t done : {1, 4}) {
            SCOPED_TRACE(done);
            open("0123456789", 4);
            ASSERT_TRUE(log.setStreamPosition(4));
            ASSERT_TRUE(log.readNextPiece());
            log.cursor = log.buffer + done;
            if (done != 4) log.pieceStart = 8 - done;  // so that the piece at 8 is the next one
            log.lastKnownSize = 14;                    // of a file that has shrunk since
            log.throwing = policy;
            errno = 0;
            bool read = false;
            EXPECT_EQ(
                policy ? std::string("LCA__Unexpected_end_of_file LCA__Path_s(") + log.name.data + ")" : "(nothing)",
                thrownMessage([&] { read = log.readNextPiece(); }));
            log.throwing = false;
            EXPECT_FALSE(read);
            EXPECT_EQ(8, log.pieceStart);
            EXPECT_EQ(0, log.valid());
            EXPECT_EQ(0, log.done());
            EXPECT_EQ(8, log.getStreamPosition());
            EXPECT_EQ(0, log.lastOp);
            expectNoLine(__LINE__, log, "");
            EXPECT_EQ(8, log.getStreamPosition());
            // Once the size is known again, it goes on from there.
            EXPECT_EQ(10, log.getStreamSize());
            char c = kFiller;
            EXPECT_TRUE(log.getChar(c));
            EXPECT_EQ('8', c);
        }
    }
}

// The bytes of the read that failed are in the buffer, in place of those of the piece before.
TEST_F(LogCharStreamTest, BytesOfAFailedReadAreNeverServed) {
    const std::string first = "AAAAAAAAAAAAAAA\n", second = "CCCCCCCCCCCCCCC\n";
    for (std::uintmax_t left : {17, 20, 31}) {
        SCOPED_TRACE(left);
        open(first + second, 16);
        expectLine(__LINE__, log, first, 16);
        std::filesystem::resize_file(folder.file("log"), left);
        expectNoLine(__LINE__, log, "");
        EXPECT_EQ(16, log.getStreamPosition());
        ASSERT_TRUE(log.setStreamPosition(0));
        expectLine(__LINE__, log, first, 16);
        // What is there of the second piece is read when the size is looked at, and the rest when it has come.
        EXPECT_EQ(static_cast<std::int64_t>(left), log.getStreamSize());
        expectNoLine(__LINE__, log, second.substr(0, left - 16));
        append(second.substr(left - 16));
        log.getStreamSize();
        ASSERT_TRUE(log.setStreamPosition(16));
        expectLine(__LINE__, log, second, 32);
    }
}

TEST_F(LogCharStreamTest, FailedSeekLeavesThePieceWhereItWas) {
    open("0123456789", 4);
    log.pieceStart = -6;
    log.lastOp = 1;
    EXPECT_FALSE(log.readNextPiece());
    EXPECT_EQ(1, log.lastOp);
    EXPECT_EQ(-6, log.pieceStart);
    EXPECT_EQ(0, log.valid());
    log.throwing = true;
    EXPECT_EQ(reported("LCA__Seek_file_error", EINVAL), thrownMessage([&] { log.readNextPiece(); }));
    log.throwing = false;
    log.lastOp = 2;
}

// ---- lines ----

TEST_F(LogCharStreamTest, Lines) {
    using namespace std::string_literals;
    struct Row {
        int line;
        std::string content;
        std::vector<std::string> lines;
        std::string rest;
    };
    const Row rows[] = {
        {__LINE__, "", {}, ""},
        {__LINE__, "a", {}, "a"},
        {__LINE__, "\n", {"\n"}, ""},
        {__LINE__, "\n\n", {"\n", "\n"}, ""},
        {__LINE__, "a\nb\nc", {"a\n", "b\n"}, "c"},
        {__LINE__, "a\r\nb\r\n", {"a\r\n", "b\r\n"}, ""},
        {__LINE__, "a\rb\n", {"a\rb\n"}, ""},
        {__LINE__, "\r\r\n\r", {"\r\r\n"}, "\r"},
        {__LINE__, "a\\\nb\nc\n", {"a\\\nb\n", "c\n"}, ""},
        {__LINE__, "a\\\r\nb\r\nc\n", {"a\\\r\nb\r\n", "c\n"}, ""},
        {__LINE__, "a\\\r\r\r\nb\n", {"a\\\r\r\r\nb\n"}, ""},
        {__LINE__, "a\r\\\nb\n", {"a\r\\\nb\n"}, ""},
        {__LINE__, "\\\n", {}, "\\\n"},
        {__LINE__, "\\\n\n", {"\\\n\n"}, ""},
        {__LINE__, "\\\n\\\n\\\nx\ny", {"\\\n\\\n\\\nx\n"}, "y"},
        {__LINE__, "\\x\ny\n", {"\\x\n", "y\n"}, ""},
        {__LINE__, "a\\\\\nb\n", {"a\\\\\nb\n"}, ""},  // two backslashes are no pair
        {__LINE__, "a\\\0\nb\n"s, {"a\\\0\n"s, "b\n"}, ""},
        {__LINE__, "a\0b\nc\0"s, {"a\0b\n"s}, "c\0"s},
        {__LINE__, "\0\n\0\0\n"s, {"\0\n"s, "\0\0\n"s}, ""},
        {__LINE__, "a\tb\n\xE2\x82\xAC\n\xFF\n", {"a\tb\n", "\xE2\x82\xAC\n", "\xFF\n"}, ""},
        {__LINE__, "\x1A\na\n", {"\x1A\n", "a\n"}, ""},
    };
    for (const Row& row : rows) {
        for (int pieceSize : {1, 2, 3, 4, 5, 6, 7, 64}) {
            SCOPED_TRACE(testing::Message() << "row " << row.line << ", pieces of " << pieceSize);
            open(row.content, pieceSize);
            std::int64_t next = 0;
            std::vector<std::int64_t> starts;
            for (const std::string& text : row.lines) {
                starts.push_back(next);
                next += static_cast<std::int64_t>(text.size());
                expectLine(row.line, log, text, next);
                EXPECT_EQ(next, log.getStreamPosition());
            }
            expectNoLine(row.line, log, row.rest);
            EXPECT_EQ(static_cast<std::int64_t>(row.content.size()), log.getStreamPosition());
            // The same walk without the bytes.
            ASSERT_TRUE(log.setStreamPosition(0));
            starts.push_back(next);
            for (std::size_t i = 1; i < starts.size(); ++i) {
                std::int64_t found = kUntouched;
                EXPECT_TRUE(log.scanLineStream(found));
                EXPECT_EQ(starts[i], found);
            }
            std::int64_t found = kUntouched;
            EXPECT_FALSE(log.scanLineStream(found));
            EXPECT_EQ(kUntouched, found);
        }
    }
}

TEST_F(LogCharStreamTest, LongLineIsCutAndThePlaceBehindItIsTrue) {
    for (int pieceSize : {1, 3, 5, 64}) {
        SCOPED_TRACE(pieceSize);
        open("0123456789\nab\nlong without end", pieceSize);
        expectLine(__LINE__, log, "01234", 11, 6);
        expectLine(__LINE__, log, "ab\n", 14, 6);
        expectNoLine(__LINE__, log, "long ", 6);
        const struct {
            int line, size;
            const char* text;
        } rows[] = {
            {__LINE__, 1, ""},
            {__LINE__, 2, "0"},
            {__LINE__, 10, "012345678"},
            {__LINE__, 11, "0123456789"},
            {__LINE__, 12, "0123456789\n"},
            {__LINE__, 13, "0123456789\n"},
        };
        for (const auto& row : rows) {
            ASSERT_TRUE(log.setStreamPosition(0));
            expectLine(row.line, log, row.text, 11, row.size);
        }
    }
}

TEST_F(LogCharStreamTest, WhatIsCutStillCountsForTheLineEnd) {
    open("abc\\\r\ndef\nx\n", 4);
    expectLine(__LINE__, log, "ab", 10, 3);
    expectLine(__LINE__, log, "x\n", 12, 3);
}

// The rules, byte by byte.
struct Walked {
    bool complete;
    std::string bytes;
    std::int64_t next;
};
Walked walk(const std::string& content, std::size_t from, int size) {
    Walked out = {false, "", kUntouched};
    char previous = 0;
    for (std::size_t i = from; i < content.size(); ++i) {
        const char c = content[i];
        if (static_cast<int>(out.bytes.size()) < size - 1) out.bytes += c;
        if (c == '\r') continue;
        if (c == '\n' && previous != '\\') return {true, out.bytes, static_cast<std::int64_t>(i) + 1};
        previous = c;
    }
    return out;
}

TEST_F(LogCharStreamTest, AnyBytesInAnyPiecesAreReadByTheRules) {
    std::mt19937 random(5);
    const std::string bytes("a\\\r\n\t\0\\\n", 8);
    for (int round = 0; round < 400; ++round) {
        std::string content;
        for (std::uint32_t n = random() % 60; n > 0; --n) content += bytes[random() % bytes.size()];
        const int pieceSize = 1 + static_cast<int>(random() % 12);
        const int size = 1 + static_cast<int>(random() % 20);
        SCOPED_TRACE(testing::Message() << "round " << round << ", pieces of " << pieceSize << ", room " << size);
        open(content, pieceSize);
        for (int tries = 0; tries < 10; ++tries) {
            const std::size_t from = random() % (content.size() + 1);
            const Walked expected = walk(content, from, size);
            ASSERT_TRUE(log.setStreamPosition(static_cast<std::int64_t>(from)));
            const Line got(log, size);
            ASSERT_EQ(expected.complete, got.complete);
            ASSERT_EQ(expected.bytes, got.bytes);
            ASSERT_EQ(expected.next, got.next);
            ASSERT_TRUE(log.setStreamPosition(static_cast<std::int64_t>(from)));
            std::int64_t next = kUntouched;
            ASSERT_EQ(expected.complete, log.scanLineStream(next));
            ASSERT_EQ(expected.next, next);
        }
    }
}

// ---- fields ----

TEST(LogCharStreamParseLine, Fields) {
    struct Row {
        int line;
        std::string record;
        std::string wanted;  // one letter per field: y or n
        std::vector<std::string> fields;
    };
    const Row rows[] = {
        {__LINE__, "abc", "", {}},
        {__LINE__, "", "y", {""}},
        {__LINE__, "abc", "y", {"abc"}},
        {__LINE__, "abc\n", "y", {"abc"}},
        {__LINE__, "abc\r\n", "y", {"abc"}},
        {__LINE__, "a\\\nb\n", "y", {"a\nb"}},
        {__LINE__, "a\\\r\nb\r\n", "y", {"a\nb"}},
        {__LINE__, "a\\\r\r\nb", "y", {"a\nb"}},
        {__LINE__, "a\\b\\", "y", {"a\\b\\"}},
        {__LINE__, "\\\n\\\n\n", "y", {"\n\n"}},
        {__LINE__, "\\\n\nx\n", "yy", {"\n", "x"}},  // the line feed that replaced a backslash protects no other
        {__LINE__, "\r\ra\rb\r", "y", {"ab"}},
        {__LINE__, "x\ty\tz\tw", "yyy", {"x", "y", "z\tw"}},
        {__LINE__, "x\ty\tz\tw\n", "yyy", {"x", "y", "z\tw"}},
        {__LINE__, "\t\t\t", "yyy", {"", "", "\t"}},
        {__LINE__, "x\ty\tz\n", "yyy", {"x", "y", "z"}},
        {__LINE__, "x\ty\tz\n", "yny", {"x", "z"}},
        {__LINE__, "x\ty\tz\n", "nny", {"z"}},
        {__LINE__, "x\ty\tz\n", "nyn", {"y"}},
        {__LINE__, "x\ty\tz\n", "nnn", {}},
        {__LINE__, "x\ny\tz", "yyy", {"x", "y", "z"}},      // a line feed ends any field
        {__LINE__, "x\\\ty\n", "yy", {"x\\", "y"}},         // a backslash protects a line feed only
        {__LINE__, "x\\\t\ny\n", "yyy", {"x\\", "", "y"}},  // and not across the end of a field
        {__LINE__, "a\\\nb\tc\\\r\nd\te\n", "yyy", {"a\nb", "c\nd", "e"}},
        {__LINE__, "x\ty\t", "yyy", {"x", "y", ""}},
        {__LINE__, "x\ty\n", "yyy", {"x", "y", ""}},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.line);
        // The terminator is the last byte that may be touched.
        support::GuardedBytes bytes(row.record + '\0');
        const int count = static_cast<int>(row.wanted.size());
        bool wanted[4] = {};
        for (int i = 0; i < count; ++i) wanted[i] = row.wanted[static_cast<std::size_t>(i)] == 'y';
        char* const untouched = bytes.end();
        char* fields[4] = {untouched, untouched, untouched, untouched};
        EXPECT_TRUE(LogCharStream::parseLine(count, wanted, fields, bytes.begin()));
        for (std::size_t i = 0; i < 4; ++i) {
            if (i < row.fields.size()) {
                EXPECT_EQ(row.fields[i], fields[i]);
            } else {
                EXPECT_EQ(untouched, fields[i]);
            }
        }
        if (row.wanted.empty()) {
            EXPECT_EQ(row.record, bytes.begin());
        } else if (wanted[0]) {
            EXPECT_EQ(bytes.begin(), fields[0]) << "fields stay in place";
        }
    }
}

TEST(LogCharStreamParseLine, FieldsLieBehindEachOther) {
    char line[] = "a\\\r\nb\tc\r\td\r\n";
    const bool wanted[] = {true, true, true};
    char* fields[3];
    ASSERT_TRUE(LogCharStream::parseLine(3, wanted, fields, line));
    EXPECT_EQ(line, fields[0]);
    EXPECT_EQ(line + 4, fields[1]);
    EXPECT_EQ(line + 6, fields[2]);
    EXPECT_EQ(std::string("a\nb\0c\0d\0", 8), std::string(line, 8));
}

TEST(LogCharStreamParseLine, MissingFieldsAreEmptyAndNothingBehindTheLineIsTouched) {
    for (const char* record : {"", "x", "x\n", "x\ty"}) {
        SCOPED_TRACE(record);
        support::GuardedBytes bytes(std::string(record) + '\0');
        const bool wanted[] = {true, true, true, true, true};
        char* fields[5];
        EXPECT_TRUE(LogCharStream::parseLine(5, wanted, fields, bytes.begin()));
        for (char* field : fields) {
            EXPECT_LE(bytes.begin(), field);
            EXPECT_GT(bytes.end(), field);
        }
        EXPECT_STREQ("", fields[4]);
        EXPECT_EQ(*record == 0 ? "" : "x", std::string(fields[0]));
    }
}

// The same, byte by byte. Returns: the bytes that were read; 0 when the line has too few fields.
std::size_t parsePlainly(int fieldCount, char* line, std::vector<std::size_t>& starts) {
    const char* read = line;
    char* write = line;
    for (int i = 0; i < fieldCount; ++i) {
        starts.push_back(static_cast<std::size_t>(write - line));
        for (char previous = 0;;) {
            const char c = *read++;
            if (c == '\r') continue;
            if (c == '\n' && previous == '\\') {
                previous = write[-1] = c;
                continue;
            }
            if (c == 0 && i != fieldCount - 1) return 0;
            if (c == 0 || c == '\n' || (c == '\t' && i != fieldCount - 1)) break;
            *write++ = previous = c;
        }
        *write++ = 0;
    }
    return static_cast<std::size_t>(read - line);
}

// At every place in a block of bytes, and with nothing readable after the byte that ends the last field.
TEST(LogCharStreamParseLine, AgreesWithAPlainOneAtEveryPlace) {
    std::mt19937 random(20261122);
    const bool wanted[] = {true, true, true, true, true, true};
    int whole = 0;
    for (int round = 0; round < 40000; ++round) {
        const int fieldCount = 1 + static_cast<int>(random() % 6);
        const int rare = 2 + static_cast<int>(random() % 30);
        std::string line;
        for (auto length = random() % 90; line.size() < length;) {
            line += random() % rare ? static_cast<char>('a' + random() % 26) : "\t\t\t\r\n\\\1\x1f\x80"[random() % 9];
        }
        line += random() % 2 ? '\n' : '\0';
        // Cut after the last field; a line feed that does not end it wants a terminator.
        std::string plain = line + '\0';
        std::vector<std::size_t> starts;
        const std::size_t read = parsePlainly(fieldCount, plain.data(), starts);
        if (read == 0) continue;
        line = (line + '\0').substr(0, read);
        ++whole;

        support::GuardedBytes atEnd(line);
        char* fields[6];
        ASSERT_TRUE(LogCharStream::parseLine(fieldCount, wanted, fields, atEnd.begin()));
        for (std::size_t i = 0; i < starts.size(); ++i) {
            ASSERT_EQ(starts[i], static_cast<std::size_t>(fields[i] - atEnd.begin())) << "field " << i;
            ASSERT_STREQ(plain.data() + starts[i], fields[i]);
        }
        const std::string before(round % 16, '\t');
        alignas(16) char shifted[128] = {};
        std::memcpy(shifted, before.data(), before.size());
        std::memcpy(shifted + before.size(), line.data(), line.size());
        ASSERT_TRUE(LogCharStream::parseLine(fieldCount, wanted, fields, shifted + before.size()));
        for (std::size_t i = 0; i < starts.size(); ++i) ASSERT_STREQ(plain.data() + starts[i], fields[i]);
        ASSERT_EQ(before, std::string(shifted, before.size()));
    }
    EXPECT_LT(10000, whole);
}

TEST_F(LogCharStreamTest, ReadLineIsParsedAsItComes) {
    open("1\tone\\\r\nmore\tx\ty\r\n2\ttwo\tz\n", 4);
    const bool wanted[] = {false, true, true};
    const char* const expected[][2] = {{"one\nmore", "x\ty"}, {"two", "z"}};
    for (const auto& texts : expected) {
        char line[64];
        char* fields[2];
        int length;
        std::int64_t next;
        ASSERT_TRUE(log.readLineStream(line, sizeof line, length, next));
        ASSERT_TRUE(LogCharStream::parseLine(3, wanted, fields, line));
        EXPECT_STREQ(texts[0], fields[0]);
        EXPECT_STREQ(texts[1], fields[1]);
    }
}

// ---- the first line ----

TEST_F(LogCharStreamTest, FirstLine) {
    using namespace std::string_literals;
    const struct {
        int line;
        std::string content, first;
    } rows[] = {
        {__LINE__, "", ""},
        {__LINE__, "one", "one"},
        {__LINE__, "one\ntwo\n", "one"},
        {__LINE__, "one\r\ntwo\n", "one"},
        {__LINE__, "one\rtwo\n", "one"},
        {__LINE__, "\none\n", ""},
        {__LINE__, "on\0e\n"s, "on"},
        {__LINE__, "one\\\ntwo\n", "one\\"},
        {__LINE__, std::string(1022, 'x') + "\n", std::string(1022, 'x')},
        {__LINE__, std::string(1023, 'x') + "\n", std::string(1023, 'x')},
        {__LINE__, std::string(1024, 'x') + "\n", std::string(1023, 'x')},
        {__LINE__, std::string(2000, 'x'), std::string(1023, 'x')},
    };
    for (const auto& row : rows) {
        for (int pieceSize : {0, 8}) {
            SCOPED_TRACE(row.line);
            open(row.content, pieceSize);
            std::string line = "old";
            log.readFirstLine(line);
            EXPECT_EQ(row.first, line);
            EXPECT_EQ(std::min<std::int64_t>(static_cast<std::int64_t>(row.content.size()), 1023), log.pos());
            EXPECT_EQ(row.content.empty() ? 2 : 0, log.lastOp);
        }
    }
}

TEST_F(LogCharStreamTest, FirstLineLeavesThePieceAlone) {
    open("one\ntwo\nthree\n", 8);
    expectLine(__LINE__, log, "one\n", 4);
    std::string line;
    log.readFirstLine(line);
    EXPECT_EQ("one", line);
    EXPECT_EQ(0, log.pieceStart);
    EXPECT_EQ(8, log.valid());
    EXPECT_EQ(4, log.done());
    expectLine(__LINE__, log, "two\n", 8);
    log.readFirstLine(line);
    expectLine(__LINE__, log, "three\n", 14);
}

TEST_F(LogCharStreamTest, FirstLineGoesUpToTheLastKnownSize) {
    open("on", 8);
    append("e\n");
    std::string line;
    log.readFirstLine(line);
    EXPECT_EQ("on", line);
    log.getStreamSize();
    log.readFirstLine(line);
    EXPECT_EQ("one", line);
}

TEST_F(LogCharStreamTest, FirstLineOfAFileThatHasShrunkIsEmpty) {
    open("one", 8);
    log.lastKnownSize = 10;
    std::string line = "old";
    log.readFirstLine(line);
    EXPECT_EQ("", line);
    line = "old";
    log.throwing = true;
    errno = 0;
    EXPECT_EQ(std::string("LCA__Unexpected_end_of_file LCA__Path_s(") + log.name.data + ")",
              thrownMessage([&] { log.readFirstLine(line); }));
    log.throwing = false;
    EXPECT_EQ("", line);
}

// ---- streams that fail on demand ----

#ifndef _WIN32

// A stream over a text, which counts what is asked of it.
struct Source {
    std::string data;
    std::int64_t place = 0;
    int reads = 0;
    int seeks = 0;
    int failingWhence = -1;  // seeks of this kind fail

    FILE* stream() {
        cookie_io_functions_t calls = {};
        calls.read = [](void* self, char* out, std::size_t size) {
            return static_cast<Source*>(self)->read(out, size);
        };
        calls.seek = [](void* self, off64_t* offset, int whence) {
            return static_cast<Source*>(self)->seek(*offset, whence);
        };
        return fopencookie(this, "rb", calls);
    }

private:
    ssize_t read(char* out, std::size_t size) {
        ++reads;
        const std::size_t from = std::min(static_cast<std::size_t>(place), data.size());
        const std::size_t count = data.copy(out, size, from);
        place = static_cast<std::int64_t>(from + count);
        return static_cast<ssize_t>(count);
    }
    int seek(off64_t& offset, int whence) {
        ++seeks;
        if (whence == failingWhence) {
            errno = EIO;
            return -1;
        }
        const std::int64_t base[] = {0, place, static_cast<std::int64_t>(data.size())};
        offset = place = base[whence] + offset;
        return 0;
    }
};

class LogCharStreamSource : public LogCharStreamTest {
protected:
    Source source;

    void openSource(const std::string& content, int pieceSize) {
        open(content, pieceSize);
        std::fclose(log.file);
        source.data = content;
        log.file = source.stream();
        ASSERT_NE(nullptr, log.file);
    }
};

TEST_F(LogCharStreamSource, SeekToTheEndThatFailsLeavesTheSize) {
    openSource("one\n", 8);
    expectLine(__LINE__, log, "one\n", 4);
    source.data += "two\n";
    source.failingWhence = SEEK_END;
    log.lastOp = 0;
    EXPECT_EQ(-1, log.getStreamSize());
    EXPECT_EQ(4, log.lastKnownSize);
    EXPECT_EQ(0, log.lastOp);
    log.throwing = true;
    EXPECT_EQ(reported("LCA__Seek_file_error", EIO), thrownMessage([&] { log.getStreamSize(); }));
    log.throwing = false;
    source.failingWhence = -1;
    EXPECT_EQ(8, log.getStreamSize());
    expectLine(__LINE__, log, "two\n", 8);
}

TEST_F(LogCharStreamSource, SeekBackThatFailsKeepsTheNewSize) {
    openSource("one\n", 8);
    expectLine(__LINE__, log, "one\n", 4);
    source.data += "two\n";
    source.failingWhence = SEEK_SET;
    log.lastOp = 0;
    EXPECT_EQ(-1, log.getStreamSize());
    EXPECT_EQ(8, log.lastKnownSize);
    EXPECT_EQ(0, log.lastOp);
    log.throwing = true;
    EXPECT_EQ(reported("LCA__Seek_file_error", EIO), thrownMessage([&] { log.getStreamSize(); }));
    std::string line = "old";
    EXPECT_EQ(reported("LCA__Seek_file_error", EIO), thrownMessage([&] { log.readFirstLine(line); }));
    EXPECT_EQ("", line);
    log.throwing = false;
    line = "old";
    log.readFirstLine(line);
    EXPECT_EQ("", line);
    EXPECT_EQ(0, log.lastOp);
    expectNoLine(__LINE__, log, "");
    EXPECT_EQ(0, log.lastOp);
    source.failingWhence = -1;
    expectLine(__LINE__, log, "two\n", 8);
}

TEST_F(LogCharStreamSource, StreamWithoutPositionsIsOpenAndHasNothingToRead) {
    ASSERT_EQ(0, mkfifo(folder.file("pipe").c_str(), 0666));
    // Both ends, so that opening does not wait.
    ASSERT_TRUE(log.open(folder.file("pipe").c_str(), 8, UTF8File::UPDATE));
    EXPECT_EQ(-1, log.lastKnownSize);
    expectNoLine(__LINE__, log, "");
    std::string line = "old";
    log.readFirstLine(line);
    EXPECT_EQ("", line);
    EXPECT_EQ(-1, log.getStreamSize());
    EXPECT_FALSE(log.setStreamPosition(1));
}

TEST_F(LogCharStreamSource, FileIsTouchedOncePerPiece) {
    constexpr int kPiece = 65536;
    std::string content;
    while (content.size() < 4 * kPiece) content += "a line of a log that is long enough to be read in pieces\n";
    content.resize(4 * kPiece);
    openSource(content, kPiece);
    // Such a stream reads by its own buffer, one of a file past it.
    std::vector<char> streamBuffer(kPiece);
    ASSERT_EQ(0, std::setvbuf(log.file, streamBuffer.data(), _IOFBF, kPiece));
    std::int64_t next = 0;
    int lines = 0;
    while (Line(log).complete) ++lines;
    EXPECT_EQ(std::count(content.begin(), content.end(), '\n'), lines);
    EXPECT_EQ(4, source.reads);
    EXPECT_LE(source.seeks, 8);
    // Within the piece, nothing.
    const int reads = source.reads, seeks = source.seeks;
    for (int i = 0; i < 100; ++i) {
        ASSERT_TRUE(log.setStreamPosition(3 * kPiece + 100 * i));
        ASSERT_TRUE(log.scanLineStream(next));
        ASSERT_TRUE(Line(log).complete);
    }
    EXPECT_EQ(reads, source.reads);
    EXPECT_EQ(seeks, source.seeks);
    log.close();
}

#endif

// ---- a log that another process writes ----

TEST_F(LogCharStreamTest, LogOfAnotherProcessIsReadWithoutALossOrATear) {
    constexpr int kLines = 100000;
    folder.write("log", "");
    ChildProcess writer({VELMORA_SERVICE_CHILD, "append", folder.file("log"), std::to_string(kLines), "11"});
    ASSERT_EQ("begun", writer.receive());
    ASSERT_TRUE(log.open(folder.file("log").c_str(), 1000, UTF8File::READ));
    expectNoLine(__LINE__, log, folder.read("log"));
    writer.send("go on");

    std::string all;
    std::int64_t start = 0;
    int lines = 0;
    int unfinished = 0;
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(120);
    while (lines < kLines && std::chrono::steady_clock::now() < deadline) {
        ASSERT_LE(start, log.getStreamSize());
        ASSERT_TRUE(log.setStreamPosition(start));
        char line[256];
        int length = 0;
        while (log.readLineStream(line, sizeof line, length, start)) {
            const std::string number = std::to_string(lines) + '\t';
            ASSERT_EQ(number, std::string(line, std::min(static_cast<std::size_t>(length), number.size())));
            ASSERT_EQ('\n', line[length - 1]);
            all.append(line, static_cast<std::size_t>(length));
            ASSERT_EQ(static_cast<std::int64_t>(all.size()), start);
            ++lines;
        }
        if (length > 0) ++unfinished;
        std::this_thread::yield();
    }
    EXPECT_EQ(kLines, lines);
    EXPECT_EQ("done", writer.receive());
    EXPECT_EQ(0, writer.wait());
    EXPECT_EQ(static_cast<std::int64_t>(all.size()), log.getStreamSize());
    EXPECT_TRUE(all == folder.read("log"));
    EXPECT_LT(0, unfinished) << "no line was ever met in its middle";
}

}  // namespace
