// The other process of the tests of locks and logs. It reports what it has done in lines on standard output, and goes
// on at lines on standard input.
//
//     hold FOLDER NAME             locks; says "held" or "refused"; then, by line: "unlock" gives up, "state" says the
//                                  state, "start" starts a process that answers, "leave" ends without giving up
//     race FOLDER NAME COUNT       waits for a line; locks and gives up COUNT times; says "done" or what went wrong
//     append FILE LINES SEED       appends that many numbered lines in pieces of any length; waits for a line after the
//                                  first few bytes; says "done"
//     watch FOLDER NAME            says "watching", asks for the state until its input ends, says "done"
//     answer                       says "alive" to every line, until there are no more
#include <velmora/files/rundetector.h>

#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <random>
#include <string>
#include <thread>

#ifdef _WIN32
#include <process.h>
#else
#include <spawn.h>
#include <unistd.h>
#endif

namespace {

int say(const std::string& text, int status = 0) {
    std::cout << text << std::endl;
    return status;
}

// A process that inherits the streams of this one, and whatever else is inherited.
bool startAnswer(const char* self) {
#ifdef _WIN32
    const std::string quoted = '"' + std::string(self) + '"';
    return _spawnl(_P_NOWAIT, self, quoted.c_str(), "answer", nullptr) != -1;
#else
    char word[] = "answer";
    char* arguments[] = {const_cast<char*>(self), word, nullptr};
    pid_t process;
    return posix_spawn(&process, self, nullptr, nullptr, arguments, environ) == 0;
#endif
}

int answer() {
    say("started");
    for (std::string line; std::getline(std::cin, line);) say("alive");
    return 0;
}

int hold(const char* self, const char* folder, const char* name) {
    RunDetector detector(folder, name);
    say(detector.lock() ? "held" : "refused");
    for (std::string line; std::getline(std::cin, line);) {
        if (line == "state") say(std::to_string(detector.getState()));
        if (line == "unlock") return 0;
        if (line == "leave") std::_Exit(3);
        // From here on the lines are for the other process.
        if (line == "start" && startAnswer(self)) std::this_thread::sleep_for(std::chrono::hours(1));
    }
    return 1;
}

int race(const char* folder, const char* name, int count) {
    namespace fs = std::filesystem;
    // A folder is made by one process or none.
    const fs::path marker = fs::path(folder) / "marker";
    std::string line;
    std::getline(std::cin, line);
    while (count > 0) {
        RunDetector detector(folder, name);
        if (!detector.lock()) {
            std::this_thread::yield();
            continue;
        }
        if (!fs::create_directory(marker)) return say("both held the lock", 1);
        for (int i = 0; i < 3; ++i) {
            if (detector.getState() != RunDetector::Running) return say("the file of the holder was lost", 1);
            std::this_thread::yield();
        }
        fs::remove(marker);
        --count;
    }
    return say("done");
}

int watch(const char* folder, const char* name) {
    RunDetector detector(folder, name);
    std::atomic<bool> told = false;
    std::thread listener([&] {
        for (std::string line; std::getline(std::cin, line);) continue;
        told = true;
    });
    say("watching");
    while (!told) detector.getState();
    listener.join();
    return say("done");
}

std::string logText(int lines, std::mt19937& random) {
    std::string text;
    for (int i = 0; i < lines; ++i) {
        text += std::to_string(i) + '\t';
        for (std::uint32_t words = random() % 5; words > 0; --words) text += "\xE2\x82\xAC\xC3\xA9 word ";
        text += random() % 2 ? "end\r\n" : "end\n";
    }
    return text;
}

int append(const char* path, int lines, unsigned seed) {
    std::mt19937 random(seed);
    const std::string text = logText(lines, random);
    std::FILE* file = std::fopen(path, "ab");
    if (!file) return say("cannot open the log", 1);
    std::setvbuf(file, nullptr, _IONBF, 0);
    for (std::size_t done = 0; done < text.size();) {
        std::size_t count = done == 0 ? 3 : 1 + random() % 200;
        if (count > text.size() - done) count = text.size() - done;
        if (std::fwrite(text.data() + done, 1, count, file) != count) return say("cannot write the log", 1);
        if (done == 0) {
            say("begun");
            std::string line;
            std::getline(std::cin, line);
        }
        done += count;
    }
    std::fclose(file);
    return say("done");
}

}  // namespace

int main(int argc, char** argv) {
    const std::string task = argc > 1 ? argv[1] : "";
    if (task == "answer") return answer();
    if (task == "hold" && argc == 4) return hold(argv[0], argv[2], argv[3]);
    if (task == "race" && argc == 5) return race(argv[2], argv[3], std::atoi(argv[4]));
    if (task == "watch" && argc == 4) return watch(argv[2], argv[3]);
    if (task == "append" && argc == 5) return append(argv[2], std::atoi(argv[3]), std::strtoul(argv[4], nullptr, 10));
    std::cerr << "unknown task\n";
    return 2;
}
