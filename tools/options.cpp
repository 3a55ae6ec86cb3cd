// Reading of the command line, see options.h.
#include "tools/options.h"

#include <charconv>
#include <system_error>
#include <utility>

namespace tool {
namespace {

const OptionSpec& findOption(const std::vector<OptionSpec>& known, const std::string& name) {
    for (const OptionSpec& option : known) {
        if (name == option.name) return option;
    }
    throw UsageError{"unknown option " + name};
}

}  // namespace

std::string Arguments::value(const char* name, const std::string& otherwise) const {
    const auto found = options.find(name);
    return found == options.end() ? otherwise : found->second;
}

bool readNumber(std::string_view text, int min, int max, int& number) {
    const char* const end = text.data() + text.size();
    if (text.empty() || text[0] == '-') return false;
    const auto read = std::from_chars(text.data(), end, number);
    return read.ec == std::errc() && read.ptr == end && number >= min && number <= max;
}

int Arguments::number(const char* name, int otherwise, int min, int max) const {
    int result = otherwise;
    if (has(name) && !readNumber(value(name), min, max, result)) {
        throw UsageError{std::string(name) + " needs a number from " + std::to_string(min) + " to " +
                         std::to_string(max)};
    }
    return result;
}

bool ArgumentReader::atOption() {
    if (optionsEnded_ || atEnd() || peek().size() < 2 || peek()[0] != '-') return false;
    if (peek() != "--") return true;
    optionsEnded_ = true;
    ++next_;
    return false;
}

void ArgumentReader::readOption(const std::vector<OptionSpec>& known, Arguments& out) {
    std::string name = take();
    const std::size_t equals = name.find('=');
    const bool joined = equals != std::string::npos;
    std::string value = joined ? name.substr(equals + 1) : std::string();
    name.resize(joined ? equals : name.size());
    const OptionSpec& option = findOption(known, name);
    if (joined && !option.takesValue) throw UsageError{"option " + name + " takes no value"};
    if (!joined && option.takesValue) {
        if (atEnd()) throw UsageError{"option " + name + " needs a value"};
        value = take();
    }
    out.options[name] = std::move(value);
}

void ArgumentReader::readOptions(const std::vector<OptionSpec>& known, Arguments& out) {
    while (atOption()) readOption(known, out);
}

void ArgumentReader::readAll(const std::vector<OptionSpec>& known, Arguments& out) {
    for (;;) {
        readOptions(known, out);
        if (atEnd()) return;
        out.operands.push_back(take());
    }
}

}  // namespace tool
