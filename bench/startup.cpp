// What loading the library costs: the tables that it builds then, and the start of a process with it and without it.
#include <spawn.h>
#include <sys/wait.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>

#include <velmora/text/bytes.h>

#include "harness.h"

extern char** environ;

namespace bench {

namespace {

void runProgram(const char* path) {
    char* arguments[] = {const_cast<char*>(path), nullptr};
    pid_t child;
    int status = 1;
    if (posix_spawn(&child, path, nullptr, nullptr, arguments, environ) != 0 || waitpid(child, &status, 0) != child ||
        status != 0) {
        std::fprintf(stderr, "%s does not run\n", path);
        std::exit(1);
    }
}

// The time that passes, since the child's CPU time is not this thread's.
void addProcess(const char* contender, const char* note, const char* path) {
    addManual(std::string("startup/process/1/") + contender, [=](benchmark::State& state) {
        for (auto _ : state) {
            const auto start = std::chrono::steady_clock::now();
            runProgram(path);
            state.SetIterationTime(std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count());
        }
        describe(state, 0, 1, note);
    });
}

}  // namespace

void addBenchmarks() {
    addProcess("velmora", "linked with the library", VELMORA_STARTUP_WITH);
    addProcess("without", "linked with the C++ library alone", VELMORA_STARTUP_WITHOUT);
    addLoop("startup-tables/all/1/velmora", [](benchmark::State& state) {
        for (auto _ : state) {
            chr_tables_prepare_done = false;
            chr_tables_prepare();
        }
        describe(state, 0, 1, "the part of it that builds tables");
    });
}

}  // namespace bench
