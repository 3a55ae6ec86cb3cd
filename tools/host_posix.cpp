// The tool on POSIX systems: arguments, streams and paths are bytes already.
#include <unistd.h>

#include <filesystem>
#include <system_error>

#include "tools/host.h"

namespace tool {

bool isTerminal(std::FILE* stream) { return isatty(fileno(stream)) == 1; }

std::string programFolder() {
    std::error_code error;
    const std::filesystem::path program = std::filesystem::read_symlink("/proc/self/exe", error);
    return error ? std::string() : (program.parent_path() / "").string();
}

}  // namespace tool

int main(int argc, char** argv) { return tool::runTool(argc, argv); }
