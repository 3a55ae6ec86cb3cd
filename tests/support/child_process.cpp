#include "tests/support/child_process.h"

#include <algorithm>
#include <stdexcept>

#ifdef _WIN32
#include <windows.h>

#include <velmora/text/charr.h>
#else
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
    for (std::size_t i = 1; i < words.size(); ++i) line += " \"" + words[i] + '"';
    return line;
}

// A pipe of which the other process inherits one end.
void makePipe(HANDLE& own, HANDLE& inherited, bool ownWrites) {
    SECURITY_ATTRIBUTES attributes = {sizeof attributes, nullptr, TRUE};
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

ChildProcess::ChildProcess(const std::vector<std::string>& words) : handles_(new Handles) {
    STARTUPINFOW startup = {};
    startup.cb = sizeof startup;
    startup.dwFlags = STARTF_USESTDHANDLES;
    makePipe(handles_->input, startup.hStdInput, true);
    makePipe(handles_->output, startup.hStdOutput, false);
    startup.hStdError = GetStdHandle(STD_ERROR_HANDLE);
    PROCESS_INFORMATION information = {};
    ChArr16 line(commandLine(words).c_str());
    const BOOL started =
        CreateProcessW(nullptr, line.data, nullptr, nullptr, TRUE, 0, nullptr, nullptr, &startup, &information);
    closeHandle(startup.hStdInput);
    closeHandle(startup.hStdOutput);
    if (!started) {
        delete handles_;
        throw std::runtime_error("cannot start " + words[0]);
    }
    CloseHandle(information.hThread);
    handles_->process = information.hProcess;
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

int ChildProcess::waitForEnd() {
    WaitForSingleObject(handles_->process, INFINITE);
    DWORD status = kKilled;
    GetExitCodeProcess(handles_->process, &status);
    return status == kKilled ? -1 : static_cast<int>(status);
}

#else

struct ChildProcess::Handles {
    pid_t process = -1;
    int channel = -1;  // both directions
    ~Handles() { close(channel); }
};

ChildProcess::ChildProcess(const std::vector<std::string>& words) : handles_(new Handles) {
    int ends[2];
    if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends) != 0) throw std::runtime_error("no socket pair");
    handles_->channel = ends[0];
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, ends[1], STDIN_FILENO);
    posix_spawn_file_actions_adddup2(&actions, ends[1], STDOUT_FILENO);
    std::vector<char*> arguments;
    for (const std::string& word : words) arguments.push_back(const_cast<char*>(word.c_str()));
    arguments.push_back(nullptr);
    const int error = posix_spawn(&handles_->process, arguments[0], &actions, nullptr, arguments.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    close(ends[1]);
    if (error != 0) {
        delete handles_;
        throw std::runtime_error("cannot start " + words[0]);
    }
}

void ChildProcess::send(const std::string& line) {
    const std::string text = line + '\n';
    [[maybe_unused]] ssize_t sent = ::send(handles_->channel, text.data(), text.size(), MSG_NOSIGNAL);
}

bool ChildProcess::readByte(char& c) { return read(handles_->channel, &c, 1) == 1; }

void ChildProcess::closeInput() { shutdown(handles_->channel, SHUT_WR); }

void ChildProcess::signal(int number) { ::kill(handles_->process, number); }

void ChildProcess::terminate() { signal(SIGKILL); }

int ChildProcess::waitForEnd() {
    int status = 0;
    if (waitpid(handles_->process, &status, 0) != handles_->process) return -1;
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
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
