// Calls of the system that fail on demand. The linker puts the functions of faults.cpp in front of the system's own for
// everything that is linked into the test program, so the library needs no hook for it.
#ifndef VELMORA_TESTS_FAULTS_FAULTS_H
#define VELMORA_TESTS_FAULTS_FAULTS_H

#include <functional>
#include <string>
#include <vector>

namespace faults {

// What has failed, when something has.
struct Fault {
    std::string function;    // "fread"; empty when the action got through
    int error = 0;           // its errno; 0: a short count without a reason
    bool partMoved = false;  // the first half of the bytes was read or written all the same
};

// Runs `action` with its n-th call failing by `error`. `movesPart`: a transfer that fails moves half of its bytes
// before.
// Returns: the fault, with no function when there were fewer calls.
Fault failNth(int n, int error, const std::function<void()>& action, bool movesPart = false);

// Runs `action` again and again, each time with one call later failing, for each of several errors, until it gets
// through. A transfer fails twice: without a byte and with a part of them. `prepare` comes before each run, `check`
// after it.
// Returns: the number of faults.
int failEach(const std::function<void()>& prepare, const std::function<void()>& action,
             const std::function<void(const Fault&)>& check);

// Makes every call of these functions fail by `error` while it lives.
class AllFail {
public:
    AllFail(const std::vector<std::string>& functions, int error);
    AllFail(const AllFail&) = delete;
    void operator=(const AllFail&) = delete;
    ~AllFail();

private:
    std::vector<std::string> functions_;
};

// Calls that have got through since it was made.
class CallCounter {
public:
    CallCounter();
    int of(const std::string& function) const;
};

// The system's text for every error while it lives.
class SystemText {
public:
    explicit SystemText(const char* text);
    SystemText(const SystemText&) = delete;
    void operator=(const SystemText&) = delete;
    ~SystemText();
};

// The text of every time, while it lives.
class TimeText {
public:
    explicit TimeText(const wchar_t* text);
    TimeText(const TimeText&) = delete;
    void operator=(const TimeText&) = delete;
    ~TimeText();
};

}  // namespace faults

#endif
