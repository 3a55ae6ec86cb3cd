// Reading of the command line.
#ifndef VELMORA_TOOLS_OPTIONS_H
#define VELMORA_TOOLS_OPTIONS_H

#include <cstddef>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace tool {

// Wrong usage, in one line.
struct UsageError {
    std::string text;
};

struct OptionSpec {
    const char* name;  // with its dashes: "--stamp", "-o"
    bool takesValue;
    const char* values = nullptr;  // the words to choose from, with blanks between them; null: any text
};

// A number in decimal digits and nothing else. Returns: whether `text` is one from `min` to `max`.
bool readNumber(std::string_view text, int min, int max, int& number);

// What was given: options by name, and everything else in order.
struct Arguments {
    std::vector<std::string> operands;
    std::map<std::string, std::string> options;

    bool has(const char* name) const { return options.count(name) != 0; }
    // Returns: the value of an option, the last one given; `otherwise` when it was not given.
    std::string value(const char* name, const std::string& otherwise = std::string()) const;
    // The same for a number. Throws: UsageError, when it is none from `min` to `max`.
    int number(const char* name, int otherwise, int min, int max) const;
};

// Reads words into arguments. An option's value is the next word, or what follows a '=' in the option's own word.
// "--" ends the options; a lone "-" is an operand.
class ArgumentReader {
public:
    explicit ArgumentReader(std::vector<std::string> words) : words_(std::move(words)) {}

    // Reads options up to the first operand. Throws: UsageError.
    void readOptions(const std::vector<OptionSpec>& known, Arguments& out);
    // Reads everything that is left. Throws: UsageError.
    void readAll(const std::vector<OptionSpec>& known, Arguments& out);

    bool atEnd() const { return next_ == words_.size(); }
    const std::string& peek() const { return words_[next_]; }
    std::string take() { return words_[next_++]; }

private:
    std::vector<std::string> words_;
    std::size_t next_ = 0;
    bool optionsEnded_ = false;

    bool atOption();
    void readOption(const std::vector<OptionSpec>& known, Arguments& out);
};

}  // namespace tool

#endif
