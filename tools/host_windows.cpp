// The tool on Windows: arguments come as UTF-16, the console is told that text is UTF-8, and streams are binary, so
// that a line ends in LF as it does elsewhere.
#include <fcntl.h>
#include <io.h>
#include <windows.h>

#include <velmora/text/charr.h>

#include <vector>

#include "tools/host.h"

namespace {

// The console outlives the tool, so it gets its former code page back.
class Utf8Console {
public:
    Utf8Console() : before_(GetConsoleOutputCP()) { SetConsoleOutputCP(CP_UTF8); }
    Utf8Console(const Utf8Console&) = delete;
    Utf8Console& operator=(const Utf8Console&) = delete;
    ~Utf8Console() {
        if (before_ != 0) SetConsoleOutputCP(before_);
    }

private:
    UINT before_;  // 0 without a console
};

// A path cut short by its buffer fills it, so the buffer grows until there is room to spare.
std::wstring programPath() {
    std::wstring path(MAX_PATH, L'\0');
    for (;;) {
        const DWORD length = GetModuleFileNameW(nullptr, path.data(), static_cast<DWORD>(path.size()));
        if (length < path.size()) return path.substr(0, length);
        path.resize(path.size() * 2);
    }
}

}  // namespace

namespace tool {

bool isTerminal(std::FILE* stream) {
    DWORD mode = 0;
    return GetConsoleMode(reinterpret_cast<HANDLE>(_get_osfhandle(_fileno(stream))), &mode) != 0;
}

std::string programFolder() {
    const std::wstring path = programPath();
    return ChArr(path.substr(0, path.find_last_of(L'\\') + 1)).asCharPtr();
}

}  // namespace tool

// The entry that -municode asks for; it is found by its C name.
extern "C" int wmain(int argc, wchar_t** argv) {
    const Utf8Console console;
    _setmode(_fileno(stdout), _O_BINARY);
    _setmode(_fileno(stderr), _O_BINARY);
    std::vector<ChArr> texts(argv, argv + argc);
    std::vector<char*> arguments;
    for (ChArr& text : texts) arguments.push_back(text.data);
    arguments.push_back(nullptr);
    return tool::runTool(argc, arguments.data());
}
