// Runs a fuzzer once on each file of the folders that are named: the corpus and past crashes, as a test.
#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

#include "fuzz/fuzz.h"

int main(int argc, char** argv) {
    std::vector<std::filesystem::path> files;
    for (int i = 1; i < argc; ++i) {
        for (const auto& entry : std::filesystem::directory_iterator(argv[i])) files.push_back(entry.path());
    }
    std::sort(files.begin(), files.end());
    for (const auto& file : files) {
        std::ifstream in(file, std::ios::binary);
        const std::string bytes(std::istreambuf_iterator<char>(in), {});
        if (!in) {
            std::fprintf(stderr, "%s cannot be read\n", file.string().c_str());
            return 1;
        }
        LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size());
    }
    std::printf("%zu inputs\n", files.size());
    return files.empty();
}
