// The streams of the tool, see output.h.
#include "tools/output.h"

#include <cerrno>
#include <cstdio>
#include <cstring>

#include "tools/status.h"

namespace tool {
namespace {

int outputError = 0;  // errno of the first failure of standard output, 0 while there was none

void remember(bool done) {
    if (!done && outputError == 0) outputError = errno != 0 ? errno : EIO;
}

}  // namespace

bool flushOutput() {
    remember(std::fflush(stdout) == 0);
    return outputError == 0;
}

void put(const char* text, std::size_t size) {
    if (size != 0 && outputError == 0) remember(std::fwrite(text, 1, size, stdout) == size);
}

void complain(const std::string& line) {
    flushOutput();
    std::fwrite((line + '\n').data(), 1, line.size() + 1, stderr);
}

int finishOutput(int status) {
    flushOutput();
    if (outputError == 0) return status;
    complain(std::string("velmora: cannot write to standard output: ") + std::strerror(outputError));
    return kFailed;
}

}  // namespace tool
