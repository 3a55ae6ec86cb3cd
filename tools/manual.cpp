#include "tools/manual.h"

#include <cstddef>
#include <map>

namespace tool {
namespace {

// A line that man shows as it stands.
std::string roffLine(const std::string& line) {
    std::string out = !line.empty() && (line[0] == '.' || line[0] == '\'') ? "\\&" : "";
    for (char c : line) {
        if (c == '\\') {
            out += "\\e";
        } else if (c == '-') {
            out += "\\-";
        } else {
            out += c;
        }
    }
    return out + '\n';
}

std::string roffLines(const std::string& text) {
    std::string out = ".nf\n";
    for (std::size_t from = 0; from < text.size();) {
        const std::size_t end = text.find('\n', from);
        out += roffLine(text.substr(from, end - from));
        from = end + 1;
    }
    return out + ".fi\n";
}

std::string bold(const std::string& text) { return "\\fB" + text + "\\fR"; }

std::string joined(const std::vector<std::string>& words) {
    std::string out;
    for (const std::string& word : words) {
        if (!out.empty()) out += ' ';
        out += word;
    }
    return out;
}

std::string firstWord(const std::string& name) { return name.substr(0, name.find(' ')); }

// The words that may follow `group`, which is empty or the first word of a command of two.
std::string wordsBehind(const CommandList& list, const std::string& group) {
    std::vector<std::string> words;
    for (const Command* command : list.commands) {
        const std::string name = command->name;
        const std::size_t blank = name.find(' ');
        std::string word;
        if (group.empty()) {
            word = firstWord(name);
        } else if (blank != std::string::npos && firstWord(name) == group) {
            word = name.substr(blank + 1);
        }
        if (!word.empty() && (words.empty() || words.back() != word)) words.push_back(word);
    }
    if (group.empty()) words.push_back("help");
    return joined(words);
}

// All options of all commands, each name once: a name means the same in every command.
std::map<std::string, OptionSpec> allOptions(const CommandList& list) {
    std::map<std::string, OptionSpec> all;
    for (const OptionSpec& option : list.commonOptions) all.emplace(option.name, option);
    for (const Command* command : list.commands) {
        for (const OptionSpec& option : command->options) {
            if (option.name) all.emplace(option.name, option);
        }
    }
    return all;
}

template <class Options>
std::string namesOf(const Options& options) {
    std::vector<std::string> names;
    for (const OptionSpec& option : options) {
        if (option.name) names.push_back(option.name);
    }
    return joined(names);
}

// A case of the shell that sets the words to choose from.
std::string wordsCase(const std::string& pattern, const std::string& words) {
    return "        " + pattern + ") words='" + words + "' ;;\n";
}

}  // namespace

std::string manualPage(const CommandList& list) {
    std::string out =
        ".TH VELMORA 1 \"\" \"velmora " VELMORA_VERSION
        "\" \"User Commands\"\n"
        ".SH NAME\nvelmora \\- checks, shows and converts documents, follows logs, lists folders, makes dictionaries\n"
        ".SH SYNOPSIS\n.B velmora\n[\\fIOPTION\\fR]... \\fICOMMAND\\fR [\\fIARGUMENT\\fR]...\n"
        ".SH COMMANDS\n";
    for (const Command* command : list.commands) {
        out += ".SS \"velmora " + std::string(command->name) + "\"\n" + bold("velmora " + std::string(command->name)) +
               ' ' + roffLine(command->usage) + ".PP\n" + roffLines(command->details);
    }
    return out + ".SH OPTIONS\n" + roffLines(list.commonHelp);
}

std::string bashCompletion(const CommandList& list) {
    std::string valueOptions;  // as a pattern
    std::string values;
    for (const auto& [name, option] : allOptions(list)) {
        if (!option.takesValue) continue;
        valueOptions += (valueOptions.empty() ? "" : " | ") + name;
        if (option.values) values += wordsCase(name, option.values);
    }
    std::string options;
    std::string groups;
    for (const Command* command : list.commands) {
        const std::string name = command->name;
        const std::string group = firstWord(name);
        options += wordsCase("'" + name + "' | '" + name + " '*",
                             joined({namesOf(command->options), namesOf(list.commonOptions)}));
        const std::string words = wordsCase(group, wordsBehind(list, group));
        if (group != name && groups.find(words) == std::string::npos) groups += words;
    }
    options += wordsCase("*", namesOf(list.commonOptions));
    return R"(# Completion of velmora's commands, options and their values for bash. Elsewhere it offers files.
_velmora() {
    local word=${COMP_WORDS[COMP_CWORD]} before=${COMP_WORDS[COMP_CWORD - 1]} words= i
    local -a path=()
    for ((i = 1; i < COMP_CWORD; ++i)); do
        case ${COMP_WORDS[i]} in
        )" +
           valueOptions +
           R"() ((++i)) ;;
        help | -*) ;;
        *) path+=("${COMP_WORDS[i]}") ;;
        esac
    done
    if ((i > COMP_CWORD)); then
        case $before in
)" + values +
           R"(        esac
    elif [[ $word == -* ]]; then
        case ${path[*]} in
)" + options +
           R"(        esac
    else
        case ${path[*]} in
)" + wordsCase("''", wordsBehind(list, "")) +
           groups +
           R"(        esac
    fi
    mapfile -t COMPREPLY < <(compgen -W "$words" -- "$word")
}
complete -o default -F _velmora velmora
)";
}

}  // namespace tool
