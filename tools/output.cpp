// The streams of the tool, see output.h.
#include "tools/output.h"

#include <cerrno>
#include <cstdio>
#include <cstring>

#include "tools/host.h"
#include "tools/shown.h"
#include "tools/status.h"

namespace tool {
namespace {

int outputError = 0;  // errno of the first failure of standard output, 0 while there was none

void remember(bool done) {
    if (!done && outputError == 0) outputError = errno != 0 ? errno : EIO;
}

bool onTerminal() {
    static const bool terminal = isTerminal(stdout);
    return terminal;
}

}  // namespace

bool flushOutput() {
    remember(std::fflush(stdout) == 0);
    return outputError == 0;
}

void put(const char* text, std::size_t size) {
    if (onTerminal()) return putDocument(shownOnTerminal(ChPair(text, text + size)));
    putDocument(text, size);
}

void putDocument(const char* bytes, std::size_t size) {
    if (size != 0 && outputError == 0) remember(std::fwrite(bytes, 1, size, stdout) == size);
}

void complain(const std::string& message, const std::string& lines) {
    flushOutput();
    const std::string text = shownOnTerminal(shown(message)) + '\n' + shownOnTerminal(lines);
    std::fwrite(text.data(), 1, text.size(), stderr);
}

int finishOutput(int status) {
    flushOutput();
    if (outputError == 0) return status;
    complain(std::string("velmora: cannot write to standard output: ") + std::strerror(outputError));
    return kFailed;
}

}  // namespace tool
