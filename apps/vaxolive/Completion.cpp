#include "Completion.h"

#include <cstdio>
#include <map>
#include <memory>

#include "Arguments.h"
#include "Commands.h"

namespace vaxoapp {

namespace {

// What is the same for every command line. The words come as bash split them: "=" is one of its
// own, and "--log-level=debug" three.
constexpr const char* kBody = R"bash(
_vaxolive_choose() {
    mapfile -t COMPREPLY < <(compgen -W "$1" -- "$2")
}

_vaxolive_files() {
    compopt -o filenames 2>/dev/null
    mapfile -t COMPREPLY < <(compgen -f -- "$1")
}

_vaxolive() {
    local current=${COMP_WORDS[COMP_CWORD]} before=${COMP_WORDS[COMP_CWORD - 1]}
    local command='' places=0 i word
    COMPREPLY=()
    for ((i = 1; i < COMP_CWORD; i++)); do
        word=${COMP_WORDS[i]}
        if [[ $word == -* ]]; then
            [[ ${COMP_WORDS[i + 1]} == = ]] && ((i += 2)) && continue
            [[ -n $(_vaxolive_takes "$command" "$word") ]] && ((i++))
        elif [[ -z $command ]]; then
            command=$word
        else
            ((places++))
        fi
    done
    if [[ $current == '=' ]]; then
        current=''
    elif [[ $before == '=' ]]; then
        before=${COMP_WORDS[COMP_CWORD - 2]}
    fi
    case $(_vaxolive_takes "$command" "$before") in
        files) _vaxolive_files "$current" ;;
        something) ;;
        ?*) _vaxolive_choose "$(_vaxolive_takes "$command" "$before")" "$current" ;;
        *) _vaxolive_words "$command" "$places" "$current" ;;
    esac
}

complete -F _vaxolive vaxolive
)bash";

// How _vaxolive_takes names what an option takes; empty for a flag.
std::string Kind(const CLI::Option& option) {
    if (IsFlag(option)) {
        return "";
    }
    const std::vector<std::string> choices = ChoicesOf(option);
    if (!choices.empty()) {
        return CLI::detail::join(choices, " ");
    }
    return TakesFile(option) ? "files" : "something";
}

// Lines of a case: `command`'s options that take something, those with the same together.
std::string Takes(const CLI::App& command, const std::string& pattern) {
    std::map<std::string, std::string> patterns;
    for (const CLI::Option* const option : NamedOptions(command)) {
        const std::string kind = Kind(*option);
        for (const std::string& name : NamesOf(*option)) {
            std::string& all = patterns[kind];
            all.append(all.empty() ? "" : " | ").append(pattern).append(name);
        }
    }
    patterns.erase("");
    std::string lines;
    for (const auto& [kind, names] : patterns) {
        lines.append("        ").append(names).append(") echo '").append(kind).append("' ;;\n");
    }
    return lines;
}

std::string OptionWords(const CLI::App& command) {
    std::vector<std::string> words;
    for (const CLI::Option* const option : NamedOptions(command)) {
        const std::vector<std::string> names = NamesOf(*option);
        words.insert(words.end(), names.begin(), names.end());
    }
    return CLI::detail::join(words, " ");
}

// What stands by its place: files for as many as there are, words for the first.
std::string Places(const CLI::App& command) {
    const std::vector<const CLI::Option*> places = PlacedOptions(command);
    if (places.empty()) {
        return "";
    }
    const std::vector<std::string> choices = ChoicesOf(*places[0]);
    const std::string limit =
        places.back()->get_expected_max() > 1 ? "1" : "$2 < " + std::to_string(places.size());
    const std::string what =
        choices.empty() ? "_vaxolive_files \"$3\""
                        : "_vaxolive_choose '" + CLI::detail::join(choices, " ") + "' \"$3\"";
    if (choices.empty() && !TakesFile(*places[0])) {
        return "";
    }
    return "            [[ $3 != -* ]] && ((" + limit + ")) && " + what + " && return\n";
}

}  // namespace

std::string BashCompletion(const CLI::App& app) {
    std::vector<std::string> names;
    std::string takes;
    std::string words;
    const std::string common = OptionWords(app);
    for (const CLI::App* const command : CommandsOf(app)) {
        const std::string& name = command->get_name();
        names.push_back(name);
        takes += Takes(*command, name + "' '");
        words += "        " + name + ")\n" + Places(*command) + "            _vaxolive_choose '" +
                 OptionWords(*command) + " --color' \"$3\"\n            ;;\n";
    }
    return "# Completes \"vaxolive\" in bash. Made by \"vaxolive completion bash\" from its own "
           "options.\n\n"
           "# What an option of a command takes: \"files\", \"something\", the words themselves, "
           "or nothing.\n_vaxolive_takes() {\n    case \"$1 $2\" in\n" +
           takes + Takes(app, "*' '") +
           "    esac\n}\n\n# What may stand there: command, how many words stand by their place, "
           "the word so far.\n_vaxolive_words() {\n    case $1 in\n        '') _vaxolive_choose '" +
           CLI::detail::join(names, " ") + " " + common + "' \"$3\" ;;\n" + words +
           "    esac\n}\n" + kBody;
}

Command AddCompletion(CLI::App& app) {
    const auto shell = std::make_shared<std::string>();
    CLI::App* const command = app.add_subcommand(
        "completion", "Print the script that lets a shell complete commands and options");
    command->add_option("shell", *shell, "The shell: bash")
        ->type_name("SHELL")
        ->required()
        ->check(OneOf({"bash"}));
    return {command, [&app] {
                const std::string script = BashCompletion(app);
                std::fwrite(script.data(), 1, script.size(), stdout);
                return Exit_Ok;
            }};
}

}  // namespace vaxoapp
