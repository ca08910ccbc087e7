#include "ManPage.h"

#include <cstdio>

#include "Arguments.h"
#include "Commands.h"
#include "Examples.h"
#include "JsonTexts.h"
#include "Settings.h"
#include "Text.h"

namespace vaxoapp {

namespace {

constexpr const char* kDate = "2026-11-22";  // when the words below changed last

// Letters that roff would take for its own are marked. A hyphen stays one that can be searched
// for and copied.
std::string Escaped(const std::string& text) {
    std::string all;
    for (const char letter : text) {
        if (letter == '\\') {
            all += "\\e";
        } else if (letter == '-') {
            all += "\\-";
        } else if ((letter == '.' || letter == '\'') && (all.empty() || all.back() == '\n')) {
            all += std::string("\\&") + letter;
        } else {
            all += letter;
        }
    }
    return all;
}

// An argument of a macro.
std::string Quoted(const std::string& text) {
    std::string all = "\"";
    for (const char letter : Escaped(text)) {
        all += letter == '"' ? std::string("\\(dq") : std::string(1, letter);
    }
    return all + '"';
}

std::string Bold(const std::string& text) {
    return "\\fB" + Escaped(text) + "\\fR";
}
std::string Italic(const std::string& text) {
    return "\\fI" + Escaped(text) + "\\fR";
}

std::string Section(const std::string& name) {
    return ".SH " + Quoted(name) + "\n";
}
std::string Paragraph(const std::string& text) {
    return ".PP\n" + Escaped(text) + "\n";
}
// `tag` and `text` as roff.
std::string Tagged(const std::string& tag, const std::string& text) {
    return ".TP\n" + tag + "\n" + text + "\n";
}
std::string Literal(const std::string& lines) {
    return ".PP\n.RS 4\n.nf\n" + Escaped(lines) + "\n.fi\n.RE\n";
}

std::string OptionEntry(const CLI::Option& option) {
    std::string tag;
    const std::string taken = TakenBy(option);
    const std::string value = taken.empty() ? "" : " " + Italic(taken);
    for (const std::string& name : NamesOf(option)) {
        tag += (tag.empty() ? "" : ", ") + Bold(name) + value;
    }
    if (option.get_positional()) {
        tag = Italic(option.get_name());
    }
    return Tagged(tag, Escaped(option.get_description()));
}

// An option of the settings, which every command that goes to a channel has.
bool IsShared(const CLI::Option& option) {
    return option.get_group() == kSettingsGroup;
}

std::string Usage(const CLI::App& command) {
    std::string usage = Bold("vaxolive " + command.get_name()) + " [" + Italic("options") + "]";
    for (const CLI::Option* const option : PlacedOptions(command)) {
        usage += " " + Italic(option->get_name());
    }
    return usage;
}

std::string CommandEntry(const CLI::App& command) {
    std::string all = ".SS " + Quoted("vaxolive " + command.get_name()) + "\n" +
                      Escaped(command.get_description()) + ".\n.PP\n" + Usage(command) + "\n";
    bool isShared = false;
    for (const auto& options : {PlacedOptions(command), NamedOptions(command)}) {
        for (const CLI::Option* const option : options) {
            isShared = isShared || IsShared(*option);
            all +=
                IsShared(*option) || option == command.get_help_ptr() ? "" : OptionEntry(*option);
        }
    }
    if (isShared) {
        all += Paragraph("It takes the options of the section CHANNEL AND SERVICE too.");
    }
    for (const Example& example : Examples()) {
        if (command.get_name() == example.command) {
            all += Paragraph(example.what) + Literal(example.Line());
        }
    }
    return all;
}

std::string SharedOptions(const CLI::App& app) {
    std::string all = Section("CHANNEL AND SERVICE") +
                      Paragraph(
                          "Every command that goes to a channel takes these. An option wins "
                          "over an environment variable, this over the settings file.");
    const CLI::App* const command = app.get_subcommand("publish");
    for (const CLI::Option* const option : NamedOptions(*command)) {
        all += IsShared(*option) ? OptionEntry(*option) : "";
    }
    return all;
}

std::string ExitStatus() {
    std::string all = Section("EXIT STATUS");
    for (const ExitText& text : kExitTexts) {
        all += Tagged(Bold(std::to_string(text.code)), Escaped(text.when));
    }
    return all + Paragraph(kSignalsText);
}

std::string Environment() {
    std::string all = Section("ENVIRONMENT");
    for (const SettingText& text : SettingTexts()) {
        all += Tagged(Bold(text.variable), "As " + Bold(text.option) + ".");
    }
    return all +
           Tagged(Bold("VAXO_SIGN_KEY"), Escaped("The sign key itself, in hexadecimal. A key file "
                                                 "is the better place.")) +
           Tagged(Bold("USER"), "Who enters a channel when nothing else says so.") +
           Tagged(Bold("DISPLAY"), "Where windows open.") +
           Tagged(
               Bold("NO_COLOR") + ", " + Bold("TERM"),
               Escaped("With any value in NO_COLOR, or \"dumb\" or nothing in TERM, there are no "
                       "colours, unless --color always asks for them."));
}

std::string Files() {
    return Section("FILES") +
           Tagged(Italic("servers.env"),
                  Escaped("A settings file, as --config names it: NAME=value lines with the names "
                          "of the environment variables. Blank lines and lines that begin with # "
                          "do not count. A sign key in it is refused.")) +
           Tagged(Italic("key file"),
                  Escaped("The sign key in hexadecimal, in a file that only its owner can read "
                          "(mode 0600); otherwise it is refused.")) +
           Tagged(Italic("log"), Escaped("The library's log, as --log names it. A full one is put "
                                         "beside it, app.log as app.1.log."));
}

std::string FieldList(const JsonKind& text) {
    std::string all;
    for (const std::string& word : Words(text.fields)) {
        all += (all.empty() ? "" : ", ") + Italic(word);
    }
    return all.empty() ? "no fields" : all;
}

std::string Json() {
    std::string all = Section("JSON");
    all += Paragraph(
        "With --json, a command prints one JSON object a line on the standard output. The "
        "results:");
    for (const JsonKind& text : ResultTexts()) {
        all += Tagged(Bold(text.kind), Escaped(text.when) + ": " + FieldList(text) + ".");
    }
    all += Paragraph(
        "publish and play print events. The file of --events has the same, of every command. Each "
        "begins with ms and event. The events:");
    for (const JsonKind& text : EventTexts()) {
        all += Tagged(Bold(text.kind), Escaped(text.when) + ": " + FieldList(text) + ".");
    }
    all += Paragraph("The fields:");
    for (const FieldText& text : FieldTexts()) {
        all += Tagged(Italic(text.name), Escaped(text.meaning));
    }
    return all;
}

}  // namespace

std::string ManPage(const CLI::App& app) {
    std::string all = ".\\\" Made by \"vaxolive man\" from its own options.\n.TH VAXOLIVE 1 " +
                      Quoted(kDate) + " " + Quoted("vaxolive " VAXO_APP_VERSION) + " " +
                      Quoted("User Commands") + "\n";
    all += Section("NAME") + "vaxolive \\- publish to and play from live channels\n";
    all += Section("SYNOPSIS");
    for (const CLI::App* const command : CommandsOf(app)) {
        all += (command == CommandsOf(app).front() ? "" : ".br\n") + Usage(*command) + "\n";
    }
    all += Section("DESCRIPTION") +
           Escaped(
               "vaxolive enters a live channel, publishes a camera, a microphone or files "
               "there, plays and lists the streams of others, and leaves again.") +
           "\n" +
           Paragraph(
               "Progress goes to the standard error, results to the standard output. On a "
               "terminal the last line is always current; elsewhere nothing is coloured and "
               "the state is printed every five seconds.");
    all += Section("OPTIONS");
    for (const CLI::Option* const option : NamedOptions(app)) {
        all += OptionEntry(*option);
    }
    all += Section("COMMANDS");
    for (const CLI::App* const command : CommandsOf(app)) {
        all += CommandEntry(*command);
    }
    all += Section("TYPED COMMANDS") +
           Paragraph(
               "With --interactive, publish and play take commands while they run. Each is "
               "answered by a line on the standard output, \"ok COMMAND\" or \"error "
               "COMMAND: reason\". The end of the input leaves.") +
           Literal(Console::Help());
    return all + SharedOptions(app) + ExitStatus() + Environment() + Files() + Json() +
           Section("SEE ALSO") + Bold("gst-device-monitor-1.0") + "(1), " + Bold("man") + "(1), " +
           Bold("bash") + "(1)\n";
}

Command AddMan(CLI::App& app) {
    CLI::App* const command = app.add_subcommand("man", "Print the manual in roff, vaxolive(1)");
    return {command, [&app] {
                const std::string page = ManPage(app);
                std::fwrite(page.data(), 1, page.size(), stdout);
                return Exit_Ok;
            }};
}

}  // namespace vaxoapp
