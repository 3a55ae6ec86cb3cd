// Following a log line by line, beside std::getline over a std::ifstream: medians and ratios. The log is a temporary
// file of as many MB as the first word says, 1024 unless told otherwise. Before anything is timed, both must have seen
// the same lines; that pass also brings the file into the system's cache.
#include <velmora/files/logcharstream.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <random>
#include <string>
#include <vector>

namespace {

constexpr int kRuns = 5;
constexpr int kLineMax = 4096;

struct Totals {
    long long lines = 0;
    long long bytes = 0;            // line feeds included
    unsigned long long places = 0;  // of each line's first and last byte and its length

    void add(const char* line, std::size_t length) {
        ++lines;
        bytes += static_cast<long long>(length) + 1;
        if (length == 0) return;
        places = places * 31 + static_cast<unsigned char>(line[0]) + length;
        places = places * 31 + static_cast<unsigned char>(line[length - 1]);
    }
    bool operator==(const Totals&) const = default;
};

void writeLog(const std::string& path, long long megabytes) {
    // One MB, again and again: lines of 20 to 180 bytes with tab-separated fields.
    std::mt19937 random(1);
    std::string block;
    while (block.size() < 1000000) {
        std::string line = "2024-05-17 10:31:" + std::to_string(10 + random() % 50) + "\tINFO\t";
        while (line.size() < 20 + random() % 160) line += "module=" + std::to_string(random() % 1000) + ' ';
        block += line + '\n';
    }
    std::ofstream out(path, std::ios::binary);
    for (long long i = 0; i < megabytes; ++i) out.write(block.data(), static_cast<std::streamsize>(block.size()));
    out.close();
    if (!out) {
        std::printf("the log cannot be written\n");
        std::exit(1);
    }
}

Totals readLines(const std::string& path, int pieceSize) {
    Totals totals;
    LogCharStream log;
    if (!log.open(path.c_str(), pieceSize, UTF8File::READ)) return totals;
    char line[kLineMax];
    int length = 0;
    std::int64_t next = 0;
    while (log.readLineStream(line, kLineMax, length, next)) totals.add(line, static_cast<std::size_t>(length) - 1);
    return totals;
}

Totals readGetline(const std::string& path) {
    Totals totals;
    std::ifstream in(path, std::ios::binary);
    for (std::string line; std::getline(in, line);) totals.add(line.data(), line.size());
    return totals;
}

long long scanLines(const std::string& path, int pieceSize) {
    LogCharStream log;
    if (!log.open(path.c_str(), pieceSize, UTF8File::READ)) return 0;
    long long lines = 0;
    for (std::int64_t next = 0; log.scanLineStream(next);) ++lines;
    return lines;
}

double medianSeconds(const std::function<void()>& action) {
    std::vector<double> seconds;
    for (int i = 0; i < kRuns; ++i) {
        auto start = std::chrono::steady_clock::now();
        action();
        seconds.push_back(std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count());
    }
    std::nth_element(seconds.begin(), seconds.begin() + kRuns / 2, seconds.end());
    return seconds[kRuns / 2];
}

void printRow(const char* title, const Totals& totals, double seconds, double rival) {
    std::printf("%-28s %9.1f ms %8.0f MB/s %7.1f ns/line   ratio %5.2f\n", title, seconds * 1e3,
                static_cast<double>(totals.bytes) / 1e6 / seconds, seconds * 1e9 / static_cast<double>(totals.lines),
                rival / seconds);
}

}  // namespace

int main(int argc, char** argv) {
    const long long megabytes = argc > 1 ? std::atoll(argv[1]) : 1024;
    const auto stamp = std::chrono::steady_clock::now().time_since_epoch().count();
    const std::filesystem::path file =
        std::filesystem::temp_directory_path() / ("velmora-follow-" + std::to_string(stamp) + ".log");
    const std::string path = file.string();
    writeLog(path, megabytes);

    const Totals expected = readGetline(path);
    bool agree = expected.lines > 0;
    for (int pieceSize : {65536, 1048576}) {
        agree = agree && readLines(path, pieceSize) == expected && scanLines(path, pieceSize) == expected.lines;
    }
    if (agree) {
        const double rival = medianSeconds([&] { readGetline(path); });
        std::printf("%lld MB, %lld lines\n", megabytes, expected.lines);
        printRow("std::getline", expected, rival, rival);
        printRow("readLineStream, 64 KiB", expected, medianSeconds([&] { readLines(path, 65536); }), rival);
        printRow("readLineStream, 1 MiB", expected, medianSeconds([&] { readLines(path, 1048576); }), rival);
        printRow("scanLineStream, 64 KiB", expected, medianSeconds([&] { scanLines(path, 65536); }), rival);
    } else {
        std::printf("the contenders have not seen the same lines\n");
    }
    std::filesystem::remove(file);
    return agree ? 0 : 1;
}
