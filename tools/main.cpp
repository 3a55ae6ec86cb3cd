// The velmora command-line tool: common options, help, and the choice of a command.
#include <velmora/serial/ttt.h>

#include <algorithm>
#include <cstddef>
#include <exception>
#include <iterator>
#include <new>
#include <string>
#include <utility>
#include <vector>

#include "tools/command.h"
#include "tools/host.h"
#include "tools/manual.h"
#include "tools/output.h"
#include "tools/report.h"
#include "tools/shown.h"
#include "tools/status.h"
#include "tools/texts.h"

namespace tool {
namespace {

const Command* const commands[] = {
    &checkCommand,   &convertCommand, &lngCheckCommand, &lngCompileCommand, &lngDumpCommand,
    &lngKeysCommand, &lsCommand,      &tailCommand,     &walkCommand,
};

const std::vector<OptionSpec> commonOptions = {
    {"--help", false}, {"-h", false}, {"--lang", true, VELMORA_LANGUAGES}, {"--lang-dir", true}, {"--version", false}};

constexpr std::size_t kSummaryColumn = 13;

constexpr const char* kCommonHelp =
    "Common options:\n"
    "  --lang LANG     language of the messages: " VELMORA_LANGUAGES
    "; eng when not given\n"
    "  --lang-dir DIR  folder of the dictionaries: lang beside the program or of its installation\n"
    "                  when not given\n"
    "  --help          shows this help, or that of a command; so does -h\n"
    "  --version       shows the version\n"
    "  --              ends the options\n"
    "\n"
    "Exit status: 0 done, 1 the input is bad, 2 wrong usage or a failure of reading or\n"
    "writing.\n";

std::string helpOf(const Command& command) {
    return std::string("Usage: velmora ") + command.name + ' ' + command.usage + "\n\n" + command.details;
}

// One line per command whose name begins with these words.
std::string listCommands(const std::string& words) {
    std::string out;
    for (const Command* command : commands) {
        std::string line = command->name;
        if (line.compare(0, words.size(), words) != 0) continue;
        line.resize(std::max(line.size() + 1, kSummaryColumn), ' ');
        out += "  " + line + command->summary + '\n';
    }
    return out;
}

std::string generalHelp(const std::string& words) {
    return "Usage: velmora [OPTION]... COMMAND [ARGUMENT]...\n\nCommands:\n" + listCommands(words) +
           "\n'velmora help COMMAND' tells more about one of them. 'velmora help --man' writes the\n"
           "manual page, and 'velmora help --bash' what bash needs to complete words.\n\n" +
           kCommonHelp;
}

const Command* findCommand(const std::string& name) {
    for (const Command* command : commands) {
        if (name == command->name) return command;
    }
    return nullptr;
}

// Whether commands stand under this word: "lng" is none itself.
bool isGroup(const std::string& word) { return !listCommands(word + ' ').empty(); }

// The words of a command's name, one or two.
std::string takeName(ArgumentReader& reader) {
    std::string name = reader.take();
    const bool more = !reader.atEnd() && reader.peek().compare(0, 1, "-") != 0;
    if (isGroup(name) && more) name += ' ' + reader.take();
    return name;
}

// The loader's words are two lines, of which the second names the file.
int tellLoading(const std::string& error) {
    const std::size_t end = std::min(error.find('\n'), error.size());
    complain(error.substr(0, end), end == error.size() ? std::string() : shown(error.substr(end + 1)) + '\n');
    return kFailed;
}

// One run of the tool.
class Run {
public:
    explicit Run(std::vector<std::string> words) : reader_(std::move(words)) {}

    // The words that name the command, for the hint on wrong usage.
    const std::string& name() const { return name_; }

    int run() {
        reader_.readOptions(commonOptions, arguments_);
        if (!reader_.atEnd()) name_ = takeName(reader_);
        if (name_ == "help") return help();
        const Command* command = findCommand(name_);
        if (!command && !name_.empty() && !isGroup(name_)) throw UsageError{"unknown command " + name_};
        reader_.readAll(optionsOf(command), arguments_);
        if (arguments_.has("--version")) return show("velmora " VELMORA_VERSION "\n");
        if (arguments_.has("--help") || arguments_.has("-h")) return showHelp();
        if (!command) throw UsageError{"the name of a command is missing"};
        return runCommand(*command);
    }

private:
    ArgumentReader reader_;
    Arguments arguments_;
    std::string name_;

    static int show(const std::string& text) {
        put(text);
        return kDone;
    }

    static std::vector<OptionSpec> optionsOf(const Command* command) {
        std::vector<OptionSpec> known = commonOptions;
        if (!command) return known;
        for (const OptionSpec& option : command->options) {
            if (option.name) known.push_back(option);
        }
        return known;
    }

    int help() {
        name_.clear();
        std::vector<OptionSpec> known = commonOptions;
        known.insert(known.end(), {{"--man", false}, {"--bash", false}});
        reader_.readOptions(known, arguments_);
        if (!reader_.atEnd()) name_ = takeName(reader_);
        reader_.readAll(known, arguments_);
        if (!arguments_.operands.empty()) throw UsageError{"too many words behind help"};
        const CommandList list{{std::begin(commands), std::end(commands)}, commonOptions, kCommonHelp};
        if (arguments_.has("--man")) return show(manualPage(list));
        if (arguments_.has("--bash")) return show(bashCompletion(list));
        return showHelp();
    }

    int showHelp() const {
        if (name_.empty()) return show(generalHelp(""));
        if (isGroup(name_)) return show(generalHelp(name_ + ' '));
        const Command* command = findCommand(name_);
        if (!command) throw UsageError{"unknown command " + name_};
        return show(helpOf(*command) + '\n' + kCommonHelp);
    }

    int runCommand(const Command& command) {
        const auto count = static_cast<long long>(arguments_.operands.size());
        if (count < command.minOperands) throw UsageError{"a file is missing"};
        if (count > command.maxOperands) throw UsageError{"too many files"};
        Settings settings;
        settings.language = arguments_.value("--lang", "eng");
        settings.languageFolder = languageFolder(arguments_.value("--lang-dir"), settings.language);
        const std::string error = loadTexts(settings.languageFolder, settings.language);
        if (!error.empty() && command.needsTexts) return tellLoading(error);
        return command.run(arguments_, settings);
    }
};

int tellUsage(const UsageError& error, const std::string& command) {
    const bool known = findCommand(command) || isGroup(command);
    complain("velmora: " + error.text);
    complain("Try 'velmora help" + (known ? ' ' + command : std::string()) + "'.");
    return kFailed;
}

int tellFailure(const std::string& what) {
    complain("velmora: " + what);
    return kFailed;
}

int guardedRun(Run& run) {
    try {
        return run.run();
    } catch (const UsageError& error) {
        return tellUsage(error, run.name());
    } catch (const TTT& failure) {
        return report(failure);
    } catch (const std::bad_alloc&) {
        return tellFailure("there is not enough memory");
    } catch (const std::exception& failure) {
        return tellFailure(failure.what());
    }
}

}  // namespace

int runTool(int argc, char** argv) {
    std::vector<std::string> words;
    for (int i = 1; i < argc; ++i) words.push_back(argv[i]);
    Run run(std::move(words));
    return finishOutput(guardedRun(run));
}

}  // namespace tool
