#include "tests/support/child_process.h"

#include <algorithm>
#include <cstring>
#include <memory>
#include <stdexcept>

#ifdef _WIN32
#include <windows.h>

#include <velmora/text/charr.h>
#else
#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>
#endif

namespace support {

#ifdef _WIN32

namespace {

constexpr UINT kKilled = 0xDEAD;

void closeHandle(HANDLE& handle) {
    if (handle) CloseHandle(handle);
    handle = nullptr;
}

// A path of the system that builds for Windows is shown by Wine on drive Z.
std::string nativePath(std::string path) {
    if (!path.empty() && path[0] == '/') path.insert(0, "Z:");
    std::replace(path.begin(), path.end(), '/', '\\');
    return path;
}

std::string commandLine(const std::vector<std::string>& words) {
    std::string line = '"' + nativePath(words[0]) + '"';
    for (std::size_t i = 1; i < words.size(); ++i) {
        line += " \"" + words[i];
        if (!words[i].empty() && words[i].back() == '\\') line += '\\';
        line += '"';
    }
    return line;
}

// What a process gets of this one. Closed when it has got it.
struct Streams {
    HANDLE input = nullptr;
    HANDLE output = nullptr;
    HANDLE errors = nullptr;
    ~Streams() {
        closeHandle(input);
        closeHandle(output);
        closeHandle(errors);
    }
};

SECURITY_ATTRIBUTES inheritable() { return {sizeof(SECURITY_ATTRIBUTES), nullptr, TRUE}; }

HANDLE openStream(const std::string& path, DWORD access, DWORD disposition) {
    SECURITY_ATTRIBUTES attributes = inheritable();
    const ChArr16 wide(nativePath(path).c_str());
    HANDLE file = CreateFileW(wide.asCharPtr(), access, FILE_SHARE_READ | FILE_SHARE_WRITE, &attributes, disposition,
                              FILE_ATTRIBUTE_NORMAL, nullptr);
    if (file == INVALID_HANDLE_VALUE) throw std::runtime_error("cannot open " + path);
    return file;
}

HANDLE startProcess(const std::vector<std::string>& words, const Streams& streams) {
    STARTUPINFOW startup = {};
    startup.cb = sizeof startup;
    startup.dwFlags = STARTF_USESTDHANDLES;
    startup.hStdInput = streams.input;
    startup.hStdOutput = streams.output;
    startup.hStdError = streams.errors ? streams.errors : GetStdHandle(STD_ERROR_HANDLE);
    PROCESS_INFORMATION information = {};
    ChArr16 line(commandLine(words).c_str());
    if (!CreateProcessW(nullptr, line.data, nullptr, nullptr, TRUE, 0, nullptr, nullptr, &startup, &information)) {
        throw std::runtime_error("cannot start " + words[0] + ": error " + std::to_string(GetLastError()));
    }
    CloseHandle(information.hThread);
    return information.hProcess;
}

int endOfProcess(HANDLE process) {
    WaitForSingleObject(process, INFINITE);
    DWORD status = kKilled;
    GetExitCodeProcess(process, &status);
    return status == kKilled ? -1 : static_cast<int>(status);
}

// A pipe of which the other process inherits one end.
void makePipe(HANDLE& own, HANDLE& inherited, bool ownWrites) {
    SECURITY_ATTRIBUTES attributes = inheritable();
    HANDLE reading = nullptr;
    HANDLE writing = nullptr;
    if (!CreatePipe(&reading, &writing, &attributes, 0)) throw std::runtime_error("no pipe");
    own = ownWrites ? writing : reading;
    inherited = ownWrites ? reading : writing;
    SetHandleInformation(own, HANDLE_FLAG_INHERIT, 0);
}

}  // namespace

struct ChildProcess::Handles {
    HANDLE process = nullptr;
    HANDLE input = nullptr;   // of the program
    HANDLE output = nullptr;  // of the program
    ~Handles() {
        closeHandle(process);
        closeHandle(input);
        closeHandle(output);
    }
};

ChildProcess::ChildProcess(const std::vector<std::string>& words) {
    auto handles = std::make_unique<Handles>();
    Streams streams;
    makePipe(handles->input, streams.input, true);
    makePipe(handles->output, streams.output, false);
    handles->process = startProcess(words, streams);
    handles_ = handles.release();
}

void ChildProcess::send(const std::string& line) {
    const std::string text = line + '\n';
    DWORD written = 0;
    WriteFile(handles_->input, text.data(), static_cast<DWORD>(text.size()), &written, nullptr);
}

bool ChildProcess::readByte(char& c) {
    DWORD count = 0;
    return ReadFile(handles_->output, &c, 1, &count, nullptr) && count == 1;
}

void ChildProcess::closeInput() { closeHandle(handles_->input); }

void ChildProcess::terminate() { TerminateProcess(handles_->process, kKilled); }

int ChildProcess::waitForEnd() { return endOfProcess(handles_->process); }

int runProgram(const std::vector<std::string>& words, const std::string& output, const std::string& errors) {
    HANDLE process = nullptr;
    {
        Streams streams;
        streams.input = openStream("NUL", GENERIC_READ, OPEN_EXISTING);
        streams.output = openStream(output, GENERIC_WRITE, CREATE_ALWAYS);
        streams.errors = openStream(errors, GENERIC_WRITE, CREATE_ALWAYS);
        process = startProcess(words, streams);
    }
    const int status = endOfProcess(process);
    CloseHandle(process);
    return status;
}

#else

namespace {

// What is done in the new process before the program begins.
class FileActions {
public:
    FileActions() { posix_spawn_file_actions_init(&actions_); }
    FileActions(const FileActions&) = delete;
    FileActions& operator=(const FileActions&) = delete;
    ~FileActions() { posix_spawn_file_actions_destroy(&actions_); }

    void duplicate(int from, int to) { posix_spawn_file_actions_adddup2(&actions_, from, to); }
    void open(int descriptor, const std::string& path, int flags) {
        posix_spawn_file_actions_addopen(&actions_, descriptor, path.c_str(), flags, 0666);
    }
    pid_t start(const std::vector<std::string>& words) const {
        std::vector<char*> arguments;
        for (const std::string& word : words) arguments.push_back(const_cast<char*>(word.c_str()));
        arguments.push_back(nullptr);
        pid_t process = -1;
        const int error = posix_spawn(&process, arguments[0], &actions_, nullptr, arguments.data(), environ);
        if (error != 0) throw std::runtime_error("cannot start " + words[0] + ": " + std::strerror(error));
        return process;
    }

private:
    posix_spawn_file_actions_t actions_;
};

int endOfProcess(pid_t process) {
    int status = 0;
    if (waitpid(process, &status, 0) != process) return -1;
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

}  // namespace

struct ChildProcess::Handles {
    pid_t process = -1;
    int channel = -1;  // both directions
    ~Handles() { close(channel); }
};

ChildProcess::ChildProcess(const std::vector<std::string>& words) {
    auto handles = std::make_unique<Handles>();
    int ends[2];
    if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends) != 0) throw std::runtime_error("no socket pair");
    handles->channel = ends[0];
    FileActions actions;
    actions.duplicate(ends[1], STDIN_FILENO);
    actions.duplicate(ends[1], STDOUT_FILENO);
    try {
        handles->process = actions.start(words);
    } catch (...) {
        close(ends[1]);
        throw;
    }
    close(ends[1]);
    handles_ = handles.release();
}

void ChildProcess::send(const std::string& line) {
    const std::string text = line + '\n';
    [[maybe_unused]] ssize_t sent = ::send(handles_->channel, text.data(), text.size(), MSG_NOSIGNAL);
}

bool ChildProcess::readByte(char& c) { return read(handles_->channel, &c, 1) == 1; }

void ChildProcess::closeInput() { shutdown(handles_->channel, SHUT_WR); }

void ChildProcess::signal(int number) { ::kill(handles_->process, number); }

void ChildProcess::terminate() { signal(SIGKILL); }

int ChildProcess::waitForEnd() { return endOfProcess(handles_->process); }

int runProgram(const std::vector<std::string>& words, const std::string& output, const std::string& errors) {
    FileActions actions;
    actions.open(STDIN_FILENO, "/dev/null", O_RDONLY);
    actions.open(STDOUT_FILENO, output, O_WRONLY | O_CREAT | O_TRUNC);
    actions.open(STDERR_FILENO, errors, O_WRONLY | O_CREAT | O_TRUNC);
    return endOfProcess(actions.start(words));
}

#endif

ChildProcess::~ChildProcess() {
    kill();
    delete handles_;
}

std::string ChildProcess::receive() {
    std::string line;
    for (char c; readByte(c) && c != '\n';) {
        if (c != '\r') line += c;
    }
    return line;
}

int ChildProcess::wait() {
    if (running_) status_ = waitForEnd();
    running_ = false;
    return status_;
}

void ChildProcess::kill() {
    if (running_) terminate();
    wait();
}

}  // namespace support
