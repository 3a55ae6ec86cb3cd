// Follows a log that another program writes, and shows its warnings and errors until that program says that it stops. A
// record is a line of three fields with tabs between them: time, level, text. A text may go on behind a backslash.
#include <velmora/velmora.h>

#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <thread>
#include <vector>

namespace {

constexpr int kFields = 3;
constexpr bool wanted[kFields] = {false, true, true};  // the time is not shown
constexpr int kPiece = 65536;
constexpr auto kPause = std::chrono::milliseconds(50);

// Returns: whether the log goes on.
bool show(char* record) {
    char* fields[2];
    LogCharStream::parseLine(kFields, wanted, fields, record);
    const char* level = fields[0];
    const char* text = fields[1];
    if (std::strcmp(level, "STOP") == 0) return false;
    if (std::strcmp(level, "INFO") != 0) {
        std::printf("%s: %s\n", level, text);
        std::fflush(stdout);
    }
    return true;
}

bool follow(LogCharStream& log) {
    std::vector<char> record(kPiece);
    std::int64_t next = 0;
    for (;;) {
        int length = 0;
        while (log.readLineStream(record.data(), kPiece, length, next)) {
            if (!show(record.data())) return true;
        }
        std::this_thread::sleep_for(kPause);
        if (log.getStreamSize() < 0) return false;  // only by asking does one see that the file has grown
        log.setStreamPosition(next);                // what was there of an unfinished record is read again
    }
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fprintf(stderr, "usage: watch_log FILE\n");
        return 2;
    }
    LogCharStream log;
    if (!log.open(argv[1], kPiece, UTF8File::READ) || !follow(log)) {
        std::fprintf(stderr, "the log cannot be read: %s\n", argv[1]);
        return 1;
    }
}
