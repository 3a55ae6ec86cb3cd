// Programs started by a test: beside it, with their standard input and output in the test's hands, or to their end.
#ifndef VELMORA_TESTS_SUPPORT_CHILD_PROCESS_H
#define VELMORA_TESTS_SUPPORT_CHILD_PROCESS_H

#include <string>
#include <vector>

namespace support {

// Runs a program to its end: its path and its words, none of which has a quotation mark. It has nothing to read, and
// what it writes goes into the files `output` and `errors`. Returns: as ChildProcess::wait. Throws when it cannot be
// started.
int runProgram(const std::vector<std::string>& words, const std::string& output, const std::string& errors);

class ChildProcess {
public:
    // The path of the program and its words, as above. Throws when it cannot be started.
    explicit ChildProcess(const std::vector<std::string>& words);
    ChildProcess(const ChildProcess&) = delete;
    void operator=(const ChildProcess&) = delete;
    // Kills what still runs.
    ~ChildProcess();

    // Writes a line to the program. A program that does not listen any more is nothing to this side.
    void send(const std::string& line);
    // The next line that the program writes, without its line end; waits for it. Empty when there is none.
    std::string receive();
    // The program comes to the end of its input.
    void closeInput();

#ifndef _WIN32
    // Sends the program a signal.
    void signal(int number);
#endif

    // Waits for the end. Returns: the exit status; -1 for a program that was killed.
    int wait();
    // Ends the program at once, as a crash does, and waits until it is gone.
    void kill();

private:
    struct Handles;
    Handles* handles_ = nullptr;
    bool running_ = true;
    int status_ = -1;

    bool readByte(char& c);
    void terminate();
    int waitForEnd();
};

}  // namespace support

#endif
