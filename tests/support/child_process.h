// A program started beside the test, with its standard input and output in the test's hands.
#ifndef VELMORA_TESTS_SUPPORT_CHILD_PROCESS_H
#define VELMORA_TESTS_SUPPORT_CHILD_PROCESS_H

#include <string>
#include <vector>

namespace support {

class ChildProcess {
public:
    // The path of the program and its words, none of which has a quotation mark. Throws when it cannot be started.
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
    Handles* handles_;
    bool running_ = true;
    int status_ = -1;

    bool readByte(char& c);
    void terminate();
    int waitForEnd();
};

}  // namespace support

#endif
