#include "Arguments.h"

#include <algorithm>
#include <cstddef>
#include <sstream>

namespace vaxoapp {

namespace {

// How many letters must be put in, taken out, exchanged, or change places with their neighbour.
std::size_t Distance(const std::string& a, const std::string& b) {
    std::vector<std::vector<std::size_t>> rows(a.size() + 1,
                                               std::vector<std::size_t>(b.size() + 1));
    for (std::size_t i = 0; i <= a.size(); ++i) {
        for (std::size_t j = 0; j <= b.size(); ++j) {
            std::size_t& cell = rows[i][j];
            if (i == 0 || j == 0) {
                cell = i + j;
                continue;
            }
            const std::size_t differs = a[i - 1] == b[j - 1] ? 0 : 1;
            cell = std::min({rows[i - 1][j] + 1, rows[i][j - 1] + 1, rows[i - 1][j - 1] + differs});
            if (i > 1 && j > 1 && a[i - 1] == b[j - 2] && a[i - 2] == b[j - 1]) {
                cell = std::min(cell, rows[i - 2][j - 2] + 1);
            }
        }
    }
    return rows[a.size()][b.size()];
}

std::string Shown(double number) {
    std::ostringstream text;
    text.precision(10);
    text << number;
    return text.str();
}

std::vector<const CLI::Option*> Filtered(const CLI::App& command, bool isPlaced) {
    std::vector<const CLI::Option*> options = command.get_options();
    options.erase(std::remove_if(options.begin(), options.end(),
                                 [&](const CLI::Option* option) {
                                     return option->get_positional() != isPlaced;
                                 }),
                  options.end());
    return options;
}

}  // namespace

CLI::Validator Between(double least, double most) {
    return {[least, most](const std::string& text) {
                double value = 0;
                const bool isNumber = CLI::detail::lexical_cast(text, value);
                return isNumber && value >= least && value <= most
                           ? std::string()
                           : "takes a number from " + Shown(least) + " to " + Shown(most);
            },
            ""};
}

CLI::Validator OneOf(const std::vector<std::string>& words) {
    const std::string list = CLI::detail::join(words, ",");
    return {[words, list](const std::string& text) {
                return std::find(words.begin(), words.end(), text) != words.end()
                           ? std::string()
                           : "takes one of " + list;
            },
            "{" + list + "}"};
}

bool IsFlag(const CLI::Option& option) {
    return option.get_type_size() == 0 || option.get_expected_max() == 0;
}

std::string TakenBy(const CLI::Option& option) {
    const std::string type = IsFlag(option) ? "" : option.get_type_name();
    return type.substr(0, type.find(':'));
}

std::vector<std::string> ChoicesOf(const CLI::Option& option) {
    const std::string type = option.get_type_name();
    const std::size_t begin = type.find('{');
    const std::size_t end = type.find('}');
    if (begin == std::string::npos || end == std::string::npos) {
        return {};
    }
    return CLI::detail::split(type.substr(begin + 1, end - begin - 1), ',');
}

bool TakesFile(const CLI::Option& option) {
    return TakenBy(option).find("FILE") != std::string::npos;
}

std::vector<std::string> NamesOf(const CLI::Option& option) {
    std::vector<std::string> names;
    for (const std::string& name : option.get_snames()) {
        names.push_back("-" + name);
    }
    for (const std::string& name : option.get_lnames()) {
        names.push_back("--" + name);
    }
    return names;
}

std::vector<const CLI::Option*> NamedOptions(const CLI::App& command) {
    return Filtered(command, false);
}

std::vector<const CLI::Option*> PlacedOptions(const CLI::App& command) {
    return Filtered(command, true);
}

std::vector<const CLI::App*> CommandsOf(const CLI::App& app) {
    return app.get_subcommands([](const CLI::App*) { return true; });
}

std::string Nearest(const std::string& word, const std::vector<std::string>& words) {
    constexpr std::size_t kLongest = 40;  // no name is longer
    std::string nearest;
    std::size_t least = kLongest;
    if (word.size() > kLongest) {
        return nearest;
    }
    for (const std::string& candidate : words) {
        const std::string letters = candidate.substr(candidate.find_first_not_of('-'));
        const std::size_t distance = Distance(word, candidate);
        if (distance < least && distance * 3 <= letters.size() + 1) {
            least = distance;
            nearest = candidate;
        }
    }
    return nearest;
}

}  // namespace vaxoapp
