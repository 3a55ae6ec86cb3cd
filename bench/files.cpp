// Files: logs by lines, whole files, and the place of each token of a document.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <cstring>
#include <fstream>
#include <memory>
#include <random>
#include <string>
#include <string_view>

#include <velmora/files/logcharstream.h>
#include <velmora/files/utf8file.h>
#include <velmora/markup/mldoc.h>
#include <velmora/serial/bag.h>
#include <velmora/text/bytes.h>

#include "harness.h"
#include "shapes.h"

namespace bench {

namespace {

// ---- a log ----

constexpr int kPiece = 65536;
constexpr int kLineMost = 4096;
constexpr int kFields = 4;

std::size_t logSize() { return isSmoke() ? 100000 : 64000000; }

// Lines of 20 to 180 bytes with tab-separated fields.
const std::string& logPath() {
    static std::string path;
    if (path.empty()) {
        std::mt19937 random(1);
        std::string text;
        while (text.size() < logSize()) {
            std::string line = "2024-05-17 10:31:" + std::to_string(10 + random() % 50) + "\tINFO\tmodule\t";
            const std::size_t size = 20 + random() % 160;
            while (line.size() < size) line += "value=" + std::to_string(random() % 1000) + ' ';
            text += line + '\n';
        }
        path = temporaryFolder() + "/log";
        UTF8File::save(path.c_str(), text);
    }
    return path;
}

// What a contender has seen of the log.
struct Totals {
    long lines = 0;
    std::uint64_t bytes = 0;
    std::uint64_t sum = 0;

    void add(const char* text, std::size_t size) {
        bytes += size;
        sum = sum * 31 + size;
        if (size != 0) sum += static_cast<unsigned char>(text[0]) + static_cast<unsigned char>(text[size - 1]);
    }
    bool operator==(const Totals&) const = default;
};

Totals linesVelmora() {
    Totals totals;
    LogCharStream log;
    if (!log.open(logPath().c_str(), kPiece, UTF8File::READ)) return totals;
    char line[kLineMost];
    int length = 0;
    std::int64_t next = 0;
    while (log.readLineStream(line, kLineMost, length, next)) {
        ++totals.lines;
        totals.add(line, static_cast<std::size_t>(length) - 1);
    }
    return totals;
}

Totals scanVelmora() {
    Totals totals;
    LogCharStream log;
    if (!log.open(logPath().c_str(), kPiece, UTF8File::READ)) return totals;
    for (std::int64_t next = 0; log.scanLineStream(next);) ++totals.lines;
    return totals;
}

Totals fieldsVelmora() {
    Totals totals;
    LogCharStream log;
    if (!log.open(logPath().c_str(), kPiece, UTF8File::READ)) return totals;
    static const bool wanted[kFields] = {true, true, true, true};
    char line[kLineMost];
    int length = 0;
    std::int64_t next = 0;
    while (log.readLineStream(line, kLineMost, length, next)) {
        ++totals.lines;
        line[length - 1] = 0;
        char* fields[kFields];
        LogCharStream::parseLine(kFields, wanted, fields, line);
        // Each field ends where the next one starts.
        for (int i = 0; i < kFields; ++i) totals.add(fields[i], std::strlen(fields[i]));
    }
    return totals;
}

// By hand: blocks of the same size, and each line where it is in the block.
template <class Line>
void forLines(Line line) {
    std::FILE* file = std::fopen(logPath().c_str(), "rb");
    std::setvbuf(file, nullptr, _IONBF, 0);
    const auto block = std::make_unique<char[]>(kPiece + kLineMost);
    std::size_t kept = 0;
    for (std::size_t read; (read = std::fread(block.get() + kept, 1, kPiece, file)) != 0;) {
        char* begin = block.get();
        char* end = begin + kept + read;
        while (char* feed = static_cast<char*>(std::memchr(begin, '\n', static_cast<std::size_t>(end - begin)))) {
            line(begin, feed);
            begin = feed + 1;
        }
        kept = static_cast<std::size_t>(end - begin);
        std::memmove(block.get(), begin, kept);
    }
    std::fclose(file);
}

Totals linesByHand() {
    Totals totals;
    forLines([&](char* begin, char* end) {
        ++totals.lines;
        totals.add(begin, static_cast<std::size_t>(end - begin));
    });
    return totals;
}

Totals fieldsByHand() {
    Totals totals;
    forLines([&](char* begin, char* end) {
        ++totals.lines;
        for (int i = 1; i < kFields; ++i) {
            char* tab = static_cast<char*>(std::memchr(begin, '\t', static_cast<std::size_t>(end - begin)));
            totals.add(begin, static_cast<std::size_t>(tab - begin));
            *tab = 0;
            begin = tab + 1;
        }
        totals.add(begin, static_cast<std::size_t>(end - begin));
    });
    return totals;
}

Totals linesGetline() {
    Totals totals;
    std::ifstream in(logPath(), std::ios::binary);
    for (std::string line; std::getline(in, line);) {
        ++totals.lines;
        totals.add(line.data(), line.size());
    }
    return totals;
}

template <class Run, class Expected>
void addLog(const char* row, const char* contender, const char* note, Run run, Expected expected) {
    const std::string name = std::string(row) + (isSmoke() ? "/lines/100KB/" : "/lines/64MB/") + contender;
    addManual(name, [=](benchmark::State& state) {
        const Totals totals = expected();
        checkOnce(name, [&] { return totals.lines > 0 && run() == totals; });
        for (auto _ : state) {
            const std::int64_t start = cpuTime();
            benchmark::DoNotOptimize(run());
            state.SetIterationTime(static_cast<double>(cpuTime() - start) * 1e-9);
        }
        describe(state, static_cast<double>(logSize()), static_cast<double>(totals.lines), note);
    });
}

// Lines alone: no bytes are looked at.
Totals countOf(Totals totals) {
    totals.bytes = totals.sum = 0;
    return totals;
}

void addLogs() {
    auto lines = [] {
        static const Totals totals = linesGetline();
        return totals;
    };
    auto fields = [] {
        static const Totals totals = fieldsByHand();
        return totals;
    };
    auto count = [=] { return countOf(lines()); };
    addLog("log-lines", "velmora", "copies the line, joins lines", linesVelmora, lines);
    addLog("log-lines", "getline", "std::ifstream; copies the line", linesGetline, lines);
    addLog("log-lines", "by-hand", "fread and memchr; no copy, no line longer than the block", linesByHand, lines);
    addLog("log-fields", "velmora", "readLineStream and parseLine", fieldsVelmora, fields);
    addLog("log-fields", "by-hand", "fread and memchr; no copy", fieldsByHand, fields);
    addLog("log-scan", "velmora", "scanLineStream", scanVelmora, count);
    addLog(
        "log-scan", "by-hand", "fread and memchr", [] { return countOf(linesByHand()); }, count);
}

// ---- whole files ----

std::string loadByHand(const char* path) {
    const int file = ::open(path, O_RDONLY | O_CLOEXEC);
    struct stat info;
    fstat(file, &info);
    std::string text(static_cast<std::size_t>(info.st_size), '\0');
    std::size_t done = 0;
    while (done < text.size()) {
        const ssize_t n = ::read(file, &text[done], text.size() - done);
        if (n <= 0) break;
        done += static_cast<std::size_t>(n);
    }
    ::close(file);
    return text;
}

// An array that nobody clears first.
std::unique_ptr<char[]> loadArrayByHand(const char* path, std::size_t& size) {
    const int file = ::open(path, O_RDONLY | O_CLOEXEC);
    struct stat info;
    fstat(file, &info);
    size = static_cast<std::size_t>(info.st_size);
    std::unique_ptr<char[]> text(new char[size + 1]);
    std::size_t done = 0;
    while (done < size) {
        const ssize_t n = ::read(file, &text[done], size - done);
        if (n <= 0) break;
        done += static_cast<std::size_t>(n);
    }
    ::close(file);
    text[size] = 0;
    return text;
}

template <class Load>
void addLoad(const char* row, Size size, const char* contender, const char* note, Load load) {
    const std::string name = std::string(row) + "/file/" + size.title + '/' + contender;
    addManual(name, [=](benchmark::State& state) {
        const std::string path = temporaryFolder() + "/whole";
        std::string text(size.bytes, 'x');
        text.back() = 'y';
        UTF8File::save(path.c_str(), text);
        checkOnce(name, [&] {
            return load(path.c_str(),
                        [&](const char* data, std::size_t n) { return std::string_view(data, n) == text; });
        });
        for (auto _ : state) {
            const std::int64_t start = cpuTime();
            load(path.c_str(), [](const char* data, std::size_t) {
                benchmark::DoNotOptimize(data);
                return true;
            });
            state.SetIterationTime(static_cast<double>(cpuTime() - start) * 1e-9);
        }
        describe(state, static_cast<double>(size.bytes), 1, note);
    });
}

void addLoads() {
    static const Size large = isSmoke() ? Size{"64KB", 64000} : Size{"64MB", 64000000};
    for (const Size& size : {Size{"1KB", 1000}, large}) {
        addLoad("load-array", size, "velmora", "into a new array", [](const char* path, auto look) {
            ArrayHolder<char> text;
            const std::uint64_t n = UTF8File::load(path, text, 100000000, true);
            return look(text.data, static_cast<std::size_t>(n));
        });
        addLoad("load-array", size, "by-hand", "open, fstat, read", [](const char* path, auto look) {
            std::size_t n;
            const auto text = loadArrayByHand(path, n);
            return look(text.get(), n);
        });
        addLoad("load-string", size, "velmora", "into a std::string", [](const char* path, auto look) {
            std::string text;
            UTF8File::load(path, text, 100000000);
            return look(text.data(), text.size());
        });
        addLoad("load-string", size, "by-hand", "open, fstat, read", [](const char* path, auto look) {
            const std::string text = loadByHand(path);
            return look(text.data(), text.size());
        });
    }
}

// ---- places ----

// Line and column of every token: linear when the time per byte stays.
void addPositions() {
    for (const Size& size : allSizes()) {
        const std::string name = std::string("position/records/") + size.title + "/velmora";
        addManual(name, [=](benchmark::State& state) {
            const Document& document = bench::document(Kind::Records, MLDocBase::XML, size.bytes);
            for (auto _ : state) {
                MLDoc doc;
                doc.load("bench", document.text.data(), static_cast<int>(document.text.size()));
                const std::int64_t start = cpuTime();
                MLDoc::Token token;
                int line = 0;
                int column = 0;
                while (doc.step(token)) {
                    doc.getPosition(line, column);
                    benchmark::DoNotOptimize(line);
                }
                state.SetIterationTime(static_cast<double>(cpuTime() - start) * 1e-9);
            }
            describe(state, static_cast<double>(document.text.size()), static_cast<double>(document.shape.items),
                     "a walk, and getPosition for each token");
        });
    }
}

}  // namespace

void addBenchmarks() {
    addLogs();
    addLoads();
    addPositions();
}

}  // namespace bench
