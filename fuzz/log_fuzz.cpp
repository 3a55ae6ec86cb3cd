// A log in pieces of any size, with lines of any room, against a reading byte by byte; and lines that are taken apart.
#include <velmora/files/logcharstream.h>

#include <algorithm>
#include <memory>
#include <vector>

#include "fuzz/fuzz.h"

namespace {

// A file of its own, written anew for each input.
const std::string& path() {
    static const std::string name = [] {
        std::string made = std::string(P_tmpdir) + "/velmora-log-fuzz-XXXXXX";
        const int descriptor = mkstemp(made.data());
        FUZZ_CHECK(descriptor >= 0);
        return made;
    }();
    return name;
}

// Removes the file at the end.
struct Removal {
    ~Removal() { std::remove(path().c_str()); }
};

// The end of the line that starts at `from`; npos when it is not complete.
std::size_t lineEnd(const std::string& text, std::size_t from) {
    char previous = 0;
    for (; from < text.size(); ++from) {
        const char c = text[from];
        if (c == '\r') continue;
        if (c == '\n' && previous != '\\') return from + 1;
        previous = c;
    }
    return std::string::npos;
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const Removal removal;
    fuzz::Input input(data, size);
    const int pieceSize = 1 + static_cast<int>(input.below(40));
    const int room = 1 + static_cast<int>(input.below(60));
    const int fieldCount = static_cast<int>(input.below(5));
    const std::string text = input.rest();

    FILE* file = std::fopen(path().c_str(), "wb");
    FUZZ_CHECK(file && std::fwrite(text.data(), 1, text.size(), file) == text.size());
    std::fclose(file);
    LogCharStream log, scan;
    FUZZ_CHECK(log.open(path().c_str(), pieceSize, UTF8File::READ) &&
               scan.open(path().c_str(), pieceSize, UTF8File::READ));
    FUZZ_CHECK(log.getStreamSize() == static_cast<std::int64_t>(text.size()));

    std::size_t from = 0;
    for (;;) {
        const std::size_t end = lineEnd(text, from);
        std::unique_ptr<char[]> line(new char[static_cast<std::size_t>(room)]);
        int length = -1;
        std::int64_t next = -1, scanned = -1;
        const bool complete = log.readLineStream(line.get(), room, length, next);
        FUZZ_CHECK(scan.scanLineStream(scanned) == complete && complete == (end != std::string::npos));
        const std::string whole = text.substr(from, (complete ? end : text.size()) - from);
        FUZZ_CHECK(length == std::min<int>(static_cast<int>(whole.size()), room - 1));
        FUZZ_CHECK(std::memcmp(line.get(), whole.data(), static_cast<std::size_t>(length)) == 0);
        if (!complete) break;
        FUZZ_CHECK(next == static_cast<std::int64_t>(end) && scanned == next &&
                   line[static_cast<std::size_t>(length)] == 0);

        const bool wanted[5] = {true, true, true, true, true};
        char* fields[5] = {};
        FUZZ_CHECK(LogCharStream::parseLine(fieldCount, wanted, fields, line.get()));
        for (int i = 0; i < fieldCount; ++i) {
            FUZZ_CHECK(fields[i] >= line.get() && fields[i] + std::strlen(fields[i]) <= line.get() + length);
        }
        // Back and again, the same line comes.
        FUZZ_CHECK(log.setStreamPosition(static_cast<std::int64_t>(from)));
        FUZZ_CHECK(log.scanLineStream(next) && next == scanned);
        from = end;
    }
    std::string first;
    log.readFirstLine(first);
    FUZZ_CHECK(text.compare(0, first.size(), first) == 0 && first.size() <= 1023);
    return 0;
}
