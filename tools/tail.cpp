// velmora tail: the lines of a log, and those that are appended to it.
#include <velmora/files/logcharstream.h>
#include <velmora/serial/ttt.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdint>
#include <deque>
#include <memory>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "tools/command.h"
#include "tools/output.h"
#include "tools/shown.h"
#include "tools/status.h"

namespace tool {
namespace {

volatile std::sig_atomic_t interrupted = 0;

extern "C" void interrupt(int) { interrupted = 1; }

struct Plan {
    std::int64_t lines;              // that are shown of what is there; -1 for all
    int fieldCount;                  // 0: lines as they stand
    std::unique_ptr<bool[]> wanted;  // for each field, whether it is shown
    int wantedCount;
    std::chrono::milliseconds interval;
    bool once;
};

class Tail {
public:
    Tail(const std::string& path, const Plan& plan)
        : path_(path), plan_(plan), line_(kFirstRoom), fields_(static_cast<std::size_t>(plan.wantedCount)) {}

    void run() {
        open();
        skip();
        for (;;) {
            putCompleteLines();
            if (plan_.once || interrupted || !flushOutput()) return;
            do {
                std::this_thread::sleep_for(plan_.interval);
                if (interrupted) return;
            } while (!look());
        }
    }

private:
    static constexpr int kPiece = 1 << 16;
    static constexpr std::size_t kFirstRoom = 1 << 12;
    static constexpr std::size_t kMostRoom = 1 << 30;

    const std::string path_;
    const Plan& plan_;
    LogCharStream log_;
    std::int64_t next_ = 0;   // where the next line starts
    std::int64_t size_ = -1;  // of the file when it was looked at last
    std::vector<char> line_;
    std::vector<char*> fields_;  // in `line_`

    void open() {
        log_.throwing = true;
        log_.open(path_.c_str(), kPiece, UTF8File::READ);
        next_ = 0;
    }

    // Goes to the first line that is to be shown.
    void skip() {
        if (plan_.lines < 0) return;
        std::deque<std::int64_t> starts;  // of the last lines
        std::int64_t start = 0, end = 0;
        while (!interrupted && log_.scanLineStream(end)) {
            starts.push_back(start);
            if (starts.size() > static_cast<std::size_t>(plan_.lines)) starts.pop_front();
            start = end;
        }
        next_ = starts.empty() ? start : starts.front();
        log_.setStreamPosition(next_);
    }

    void putCompleteLines() {
        int length = 0;
        while (!interrupted && readLine(length)) putLine(length);
    }

    // A line that has no room is read again with more.
    bool readLine(int& length) {
        for (;;) {
            const std::int64_t start = next_;
            std::int64_t end = start;
            const bool complete = log_.readLineStream(line_.data(), static_cast<int>(line_.size()), length, end);
            if (!complete) {
                log_.setStreamPosition(start);
                return false;
            }
            if (end - start == length || line_.size() >= kMostRoom) {
                next_ = end;
                return true;
            }
            line_.resize(line_.size() * 2);
            log_.setStreamPosition(start);
        }
    }

    void putLine(int length) {
        if (plan_.fieldCount == 0) return put(line_.data(), static_cast<std::size_t>(length));
        LogCharStream::parseLine(plan_.fieldCount, plan_.wanted.get(), fields_.data(), line_.data());
        std::string out;
        for (std::size_t i = 0; i < fields_.size(); ++i) {
            if (i != 0) out += '\t';
            out += shown(ChPair(fields_[i]));
        }
        put(out + '\n');
    }

    // Returns: whether something has been appended meanwhile; a line without an end is not read again before. A
    // file that has become shorter is another one, and read from its start.
    bool look() {
        const std::int64_t size = log_.getStreamSize();
        const bool changed = size != size_;
        size_ = size;
        if (size >= next_) return changed;
        complain("velmora: the file has become shorter, and is read from its start: " + path_);
        open();
        return true;
    }
};

// Marks the fields of a list such as "1,3"; of an empty one, all.
void chooseFields(Plan& plan, const std::string& list) {
    const int count = plan.fieldCount;
    plan.wanted.reset(new bool[static_cast<std::size_t>(count)]);
    std::fill_n(plan.wanted.get(), count, list.empty());
    for (std::size_t from = 0; from < list.size();) {
        const std::size_t comma = std::min(list.find(',', from), list.size());
        int n = 0;
        if (!readNumber(std::string_view(list).substr(from, comma - from), 1, count, n)) {
            throw UsageError{"--only needs numbers from 1 to " + std::to_string(count) + " with commas between them"};
        }
        plan.wanted[static_cast<std::size_t>(n - 1)] = true;
        from = comma + 1;
    }
    plan.wantedCount = static_cast<int>(std::count(plan.wanted.get(), plan.wanted.get() + count, true));
}

int run(const Arguments& arguments, const Settings&) {
    constexpr int mostFields = 1000, mostLines = 1000000, longestInterval = 3600000;
    Plan plan{};
    plan.once = arguments.has("--once");
    plan.lines = arguments.value("--lines") == "all" ? -1 : arguments.number("--lines", 10, 0, mostLines);
    plan.interval = std::chrono::milliseconds(arguments.number("--interval", 200, 1, longestInterval));
    if (arguments.has("--fields")) {
        plan.fieldCount = arguments.number("--fields", 0, 1, mostFields);
        chooseFields(plan, arguments.value("--only"));
    } else if (arguments.has("--only")) {
        throw UsageError{"--only needs --fields"};
    }
    std::signal(SIGINT, interrupt);
    std::signal(SIGTERM, interrupt);
    Tail(arguments.operands[0], plan).run();
    return kDone;
}

}  // namespace

const Command tailCommand{
    "tail",
    "FILE",
    "shows the lines of a log, and those that are appended to it",
    "Shows the last lines of a log and follows it until it is interrupted. A line is shown when\n"
    "its line feed is there. A backslash at the end of a line joins the next one to it.\n"
    "\n"
    "  --lines N      lines that are shown of what is there, or all: 10 when not given\n"
    "  --once         does not wait for more\n"
    "  --fields N     takes each line apart into N fields at its tabs; the last one takes in all\n"
    "                 that follow. They are shown with one tab between them; in a field, a tab\n"
    "                 is shown as \\t and a joined line end as \\n.\n"
    "  --only LIST    only these fields, such as 1,3\n"
    "  --interval MS  looks every MS milliseconds: 200 when not given\n"
    "\n"
    "On a terminal, control characters but tabs and line ends, what is no UTF-8 and what reorders\n"
    "a line are shown as \\r or \\xHH.\n",
    1,
    1,
    true,
    {{"--lines", true, "all"}, {"--once", false}, {"--fields", true}, {"--only", true}, {"--interval", true}},
    run};

}  // namespace tool
