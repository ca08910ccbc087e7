#include "CommandLine.h"

#include <cstdio>

#include "Arguments.h"
#include "Colour.h"
#include "HelpFormat.h"
#include "Text.h"

namespace vaxoapp {

namespace {

constexpr std::size_t kWidth = 80;

std::string Footer() {
    std::string all = "How it ends:";
    for (const ExitText& text : kExitTexts) {
        all += "\n  " + std::to_string(text.code) + "  " + text.when;
    }
    for (const char* const rest :
         {kSignalsText, "Progress goes to the standard error, results to the standard output.",
          "Options win over environment variables, these over the --config file. The sign key "
          "comes from a file that only its owner can read, or from VAXO_SIGN_KEY; never from an "
          "option.",
          "\"vaxolive COMMAND --help\" lists a command's options with examples; \"vaxolive man | "
          "man -l -\" is the whole manual."}) {
        all += "\n" + Wrapped(rest, kWidth);
    }
    return all;
}

// As much of a word as can be told: the name of a long option, the letter of a short one. What
// does not look like a name may be a value that is glued to one.
std::string ToldName(const std::string& word) {
    const std::string name = word.substr(0, word.find('='));
    constexpr std::size_t kLongest = 24;
    const bool isLong = name.size() > 2 && name.size() <= kLongest && name[1] == '-';
    constexpr const char* kLetters = "abcdefghijklmnopqrstuvwxyz-";
    return isLong && name.find_first_not_of(kLetters) == std::string::npos
               ? name
               : Printable(word.substr(0, 2));
}

// "Could not convert: --fps = x"
std::string WithoutValue(const std::string& reason) {
    const std::size_t name = reason.find(": ");
    const std::size_t equals = reason.find(" = ");
    return name == std::string::npos || equals == std::string::npos || equals < name
               ? reason
               : reason.substr(name + 2, equals - name - 2) + ": takes no such value";
}

// A result that did not arrive is none: the disk may be full, the reader gone.
ExitCode FlushOutput() {
    const bool isWritten = std::fflush(stdout) == 0;
    if (isWritten && std::ferror(stdout) == 0) {
        return Exit_Ok;
    }
    const std::string line =
        Painted("vaxolive: the standard output cannot be written", Hue::Bad) + "\n";
    std::fwrite(line.data(), 1, line.size(), stderr);
    return Exit_Failed;
}

}  // namespace

CommandLine::CommandLine() : m_app("Publishes to and plays from live channels.", "vaxolive") {
    m_app.require_subcommand(1);
    m_app.fallthrough();  // the subcommands take it over: --color may stand behind them too
    m_app.formatter(std::make_shared<HelpFormat>());
    m_app.set_version_flag("--version", "vaxolive " VAXO_APP_VERSION, "Print the version and end");
    m_app
        .add_option("--color", m_colour,
                    "auto (default: on a terminal, unless NO_COLOR is set), always or never")
        ->type_name("WHEN")
        ->check(OneOf({"auto", "always", "never"}));
    m_app.footer(Footer());
    m_commands = {AddPublish(m_app), AddPlay(m_app),       AddList(m_app),
                  AddDevices(m_app), AddUploadLog(m_app),  AddCompare(m_app),
                  AddTrace(m_app),   AddCompletion(m_app), AddMan(m_app)};
}

void CommandLine::ChooseColours() const {
    // Taken from what was read, which is there also when the rest was not understood.
    const auto given = m_app.get_option("--color")->results();
    const std::string word = given.empty() ? m_colour : given.back();
    SetColouring(word == "always"  ? Colouring::Always
                 : word == "never" ? Colouring::Never
                                   : Colouring::Auto);
}

int CommandLine::Refuse(const std::string& reason) const {
    ChooseColours();
    const std::string line =
        Painted("vaxolive: " + reason + (reason.back() == '?' ? " See" : "; see") + " --help",
                Hue::Bad) +
        "\n";
    std::fwrite(line.data(), 1, line.size(), stderr);
    return Exit_Usage;
}

std::vector<std::string> CommandLine::Unknown() const {
    std::vector<std::string> options;
    for (const std::string& word : m_app.remaining(true)) {
        if (word.size() > 1 && word[0] == '-') {
            options.push_back(ToldName(word));
        }
    }
    return options;
}

std::vector<std::string> CommandLine::OptionNames() const {
    std::vector<std::string> names;
    std::vector<const CLI::App*> levels = {&m_app};
    for (const CLI::App* const command : m_app.get_subcommands()) {
        levels.push_back(command);
    }
    for (const CLI::App* const level : levels) {
        for (const CLI::Option* const option : NamedOptions(*level)) {
            const std::vector<std::string> own = NamesOf(*option);
            names.insert(names.end(), own.begin(), own.end());
        }
    }
    return names;
}

int CommandLine::SayUnknown() const {
    std::string all;
    std::string meant;
    for (const std::string& name : Unknown()) {
        all += " " + name;
        const std::string near = Nearest(name, OptionNames());
        meant += near.empty() ? "" : (meant.empty() ? "; did you mean " : ", ") + near;
    }
    return Refuse("not understood:" + (all.empty() ? " an argument too many" : all) + meant +
                  (meant.empty() ? "" : "?"));
}

// A subcommand or an argument is missing: because it was written wrong?
int CommandLine::SayMissing(const std::string& reason) const {
    if (m_app.get_subcommands().empty()) {
        std::vector<std::string> names;
        for (const CLI::App* const command : CommandsOf(m_app)) {
            names.push_back(command->get_name());
        }
        for (const std::string& word : m_app.remaining()) {
            const std::string meant = word[0] == '-' ? "" : Nearest(word, names);
            if (!meant.empty()) {
                return Refuse("no such command; did you mean " + meant + "?");
            }
        }
        if (Unknown().empty()) {
            const std::string front = m_app.remaining().empty() ? "no command; there are "
                                                                : "no such command; there are ";
            return Refuse(front + CLI::detail::join(names, ", "));
        }
    }
    return Unknown().empty() ? Refuse(reason) : SayUnknown();
}

int CommandLine::Run(int argc, const char* const* argv) {
    try {
        m_app.parse(argc, argv);
    } catch (const CLI::ExtrasError&) {
        return SayUnknown();
    } catch (const CLI::RequiredError& error) {
        return SayMissing(error.what());
    } catch (const CLI::Success& wish) {
        return m_app.exit(wish);  // help or the version was asked for
    } catch (const CLI::ConversionError& error) {
        return Refuse(WithoutValue(error.what()));
    } catch (const CLI::ParseError& error) {
        return Refuse(error.what());
    }
    ChooseColours();
    for (const Command& command : m_commands) {
        if (*command.parsed) {
            const ExitCode code = command.run();
            return code == Exit_Ok ? FlushOutput() : code;
        }
    }
    return Exit_Usage;
}

}  // namespace vaxoapp
