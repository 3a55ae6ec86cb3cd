#include "harness.h"

#include <time.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <set>

namespace bench {

namespace {

bool smoke = false;
std::size_t largest = static_cast<std::size_t>(-1);  // bytes of a document

std::vector<Size> upToLargest(std::vector<Size> sizes) {
    std::erase_if(sizes, [](const Size& size) { return size.bytes > largest; });
    return sizes;
}

struct Folder {
    std::string path;

    Folder() {
        std::string name = (std::filesystem::temp_directory_path() / "velmora-bench-XXXXXX").string();
        if (!mkdtemp(&name[0])) {
            std::perror("the temporary folder cannot be made");
            std::exit(1);
        }
        path = name;
    }
    ~Folder() {
        std::error_code ignored;
        std::filesystem::remove_all(path, ignored);
    }
};

}  // namespace

std::int64_t cpuTime() {
    timespec time;
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return static_cast<std::int64_t>(time.tv_sec) * 1000000000 + time.tv_nsec;
}

bool isSmoke() { return smoke; }

const std::vector<Size>& allSizes() {
    static const std::vector<Size> full =
        upToLargest({{"1KB", 1000}, {"1MB", 1000000}, {"16MB", 16000000}, {"90MB", 90000000}});
    static const std::vector<Size> small = {{"1KB", 1000}, {"64KB", 64000}};
    return smoke ? small : full;
}

const std::vector<Size>& chiefSizes() {
    static const std::vector<Size> full = upToLargest({{"1MB", 1000000}, {"16MB", 16000000}});
    static const std::vector<Size> small = {{"64KB", 64000}};
    return smoke ? small : full;
}

void failContents(const std::string& benchmark) {
    std::fprintf(stderr, "%s: the contents are not those that the other contenders see\n", benchmark.c_str());
    std::exit(1);
}

void checkOnce(const std::string& name, const std::function<bool()>& check) {
    static std::set<std::string> checked;
    if (checked.insert(name).second && !check()) failContents(name);
}

void addManual(const std::string& name, const std::function<void(benchmark::State&)>& run) {
    benchmark::RegisterBenchmark(name.c_str(), run)->UseManualTime()->Unit(benchmark::kNanosecond);
}

void addLoop(const std::string& name, const std::function<void(benchmark::State&)>& run) {
    benchmark::RegisterBenchmark(name.c_str(), run)->Unit(benchmark::kNanosecond);
}

void describe(benchmark::State& state, double bytes, double items, const char* note) {
    state.counters["bytes"] = bytes;
    state.counters["items"] = items;
    state.SetLabel(note);
}

const std::string& temporaryFolder() {
    static Folder folder;
    return folder.path;
}

}  // namespace bench

int main(int argc, char** argv) {
    int kept = 1;
    for (int i = 1; i < argc; ++i) {
        if (std::strcmp(argv[i], "--smoke") == 0) {
            bench::smoke = true;
        } else if (std::strncmp(argv[i], "--largest=", 10) == 0) {
            bench::largest = std::strtoull(argv[i] + 10, nullptr, 10);
        } else {
            argv[kept++] = argv[i];
        }
    }
    argc = kept;
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 2;
    benchmark::AddCustomContext("compiler", __VERSION__);
    bench::addBenchmarks();
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
