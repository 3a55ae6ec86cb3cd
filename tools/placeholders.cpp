// Placeholders of templates, see placeholders.h.
#include "tools/placeholders.h"

#include <algorithm>
#include <cstring>

#include "tools/shown.h"

namespace tool {
namespace {

constexpr int kPositionalMax = 32;
constexpr std::size_t kListed = 32;  // in a message
constexpr const char* kLetters = "duxXfADTsCi";
constexpr const char* kLongLetters = "duxX";

bool isOneOf(const char* letters, char c) { return c != '\0' && std::strchr(letters, c); }

bool isDigit(char c) { return c >= '0' && c <= '9'; }

// Reads one placeholder, `p` standing behind its '%'. Each step moves `p` behind what it has taken.
// Returns: false for what is no placeholder.
class PlaceholderReader {
public:
    PlaceholderReader(const char*& p, const char* end, Placeholders& out) : p_(p), end_(end), out_(out) {}

    bool read() {
        const char c = take();
        if (c == '%') return true;
        if (c == 'l') return readLong();
        if (c == '{') return readPositional();
        return isOneOf(kLetters, c) && add({'%', c});
    }

private:
    const char*& p_;
    const char* end_;
    Placeholders& out_;

    // A template holds no zero byte, so one stands for the end.
    char take() { return p_ == end_ ? '\0' : *p_++; }

    bool add(const std::string& placeholder) {
        out_.sequential.push_back(placeholder);
        return true;
    }

    bool readLong() {
        char c = take();
        if (c == 'l') c = take();
        return isOneOf(kLongLetters, c) && add({'%', 'l', c});
    }

    bool readPositional() {
        int number = 0;
        char c = take();
        for (int digits = 0; digits < 2 && isDigit(c); ++digits, c = take()) number = number * 10 + (c - '0');
        if (c != '}' || number < 1 || number > kPositionalMax) return false;
        out_.positional.insert(number);
        return true;
    }
};

}  // namespace

std::string Placeholders::list() const {
    std::string out;
    const std::size_t shownCount = std::min(sequential.size(), kListed);
    for (std::size_t i = 0; i < shownCount; ++i) out += sequential[i] + ' ';
    if (shownCount != sequential.size()) out += "and " + std::to_string(sequential.size() - shownCount) + " more ";
    for (int number : positional) out += "%{" + std::to_string(number) + "} ";
    if (out.empty()) return "none";
    out.pop_back();
    return out;
}

std::string parsePlaceholders(const ChPair& text, Placeholders& out) {
    const char* end = text.end;
    for (const char* p = text.begin; (p = std::find(p, end, '%')) != end;) {
        const char* begin = p++;
        if (!PlaceholderReader(p, end, out).read()) return quoted(ChPair(begin, p)) + " is no placeholder";
    }
    if (out.sequential.empty() || out.positional.empty()) return std::string();
    return "placeholders in order and by number in one text: " + out.list();
}

std::string comparePlaceholders(const Placeholders& source, const Placeholders& target) {
    if (source.sequential == target.sequential && source.positional == target.positional) return std::string();
    return "placeholders are " + target.list() + ", those of the source are " + source.list();
}

std::string checkPlaceholders(const ChPair& source, const ChPair& target) {
    Placeholders ofSource;
    Placeholders ofTarget;
    std::string problem = parsePlaceholders(source, ofSource);
    if (!problem.empty()) return "in the source: " + problem;
    problem = parsePlaceholders(target, ofTarget);
    return problem.empty() ? comparePlaceholders(ofSource, ofTarget) : problem;
}

}  // namespace tool
