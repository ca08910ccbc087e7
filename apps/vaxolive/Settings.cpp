#include "Settings.h"

#include <unistd.h>

#include <CLI/CLI.hpp>
#include <array>
#include <cstdlib>
#include <fstream>
#include <limits>
#include <map>

#include "Arguments.h"
#include "KeyFile.h"
#include "Text.h"
#include "vaxolog.h"

namespace vaxoapp {

namespace {

typedef std::map<std::string, std::string> Values;

struct Setting {
    const char* option;
    const char* variable;
    std::string Settings::*value;
    const char* takes;
    const char* help;
};

const std::array<Setting, 10> kSettings = {{
    {"--app-id", "VAXO_APP_ID", &Settings::appIDText, "NUMBER", "Application identifier, a number"},
    {"--key-file", "VAXO_KEY_FILE", &Settings::keyFile, "FILE",
     "File with the sign key in hexadecimal, for its owner's eyes only (or VAXO_SIGN_KEY: the "
     "key itself)"},
    {"--service-url", "VAXO_SERVICE_URL", &Settings::serviceURL, "ADDRESS",
     "Channel service, mqtts://..."},
    {"--media-url", "VAXO_MEDIA_URL", &Settings::mediaURL, "ADDRESS", "Media server, rtmp://..."},
    {"--upload-url", "VAXO_UPLOAD_URL", &Settings::uploadURL, "ADDRESS", "Log upload, http://..."},
    {"--channel", "VAXO_CHANNEL", &Settings::channel, "NAME", "Channel to enter"},
    {"--user", "VAXO_USER", &Settings::user, "NAME",
     "Who you are; else the name you logged in with"},
    {"--user-name", "VAXO_USER_NAME", &Settings::userName, "NAME", "Your name for others to see"},
    {"--log", "VAXO_LOG", &Settings::logFile, "FILE", "File for the library's log"},
    {"--events", "VAXO_EVENTS", &Settings::eventsFile, "FILE",
     "File for events, one JSON object a line; \"ms\" is a clock that all processes of the "
     "machine share"},
}};

// As in vaxolog.h, from 0.
constexpr std::array<const char*, 5> kLevels = {"grievous", "error", "warning", "generic", "debug"};
constexpr std::size_t kMostLine = 4096;
constexpr std::size_t kMostLines = 1000;

std::string Environment(const char* name) {
    // NOLINTNEXTLINE(concurrency-mt-unsafe): nothing here ever changes the environment
    const char* const value = std::getenv(name);
    return value == nullptr ? std::string() : std::string(value);
}

std::string Trimmed(const std::string& text) {
    constexpr const char* kBlanks = " \t\r";
    const std::size_t first = text.find_first_not_of(kBlanks);
    return first == std::string::npos
               ? std::string()
               : text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

std::string Unquoted(const std::string& text) {
    const bool isQuoted = text.size() >= 2 && text.front() == text.back() &&
                          (text.front() == '"' || text.front() == '\'');
    return isQuoted ? text.substr(1, text.size() - 2) : text;
}

bool ReadLine(const std::string& line, Values& values) {
    const std::string text = Trimmed(line);
    if (text.empty() || text[0] == '#') {
        return true;
    }
    const std::size_t equals = text.find('=');
    if (equals == std::string::npos || text.size() > kMostLine) {
        return false;
    }
    values[Trimmed(text.substr(0, equals))] = Unquoted(Trimmed(text.substr(equals + 1)));
    return true;
}

bool ReadConfig(const std::string& path, Values& values, std::string& error) {
    const std::string name = "settings file " + Printable(path) + ": ";
    std::ifstream file(path);
    if (!file) {
        error = name + "cannot be read";
        return false;
    }
    std::size_t number = 0;
    for (std::string line; std::getline(file, line);) {
        if (++number > kMostLines || !ReadLine(line, values)) {
            // The line itself may be a secret in the wrong place.
            error = name + "line " + std::to_string(number) + " is not NAME=value";
            return false;
        }
    }
    if (values.count("VAXO_SIGN_KEY") != 0) {
        error = name + "a sign key belongs into a file of its own, named by VAXO_KEY_FILE";
        return false;
    }
    return true;
}

void FillIn(Settings& settings, const Values& values) {
    for (const Setting& setting : kSettings) {
        std::string& value = settings.*setting.value;
        if (value.empty()) {
            value = Environment(setting.variable);
        }
        const auto found = values.find(setting.variable);
        if (value.empty() && found != values.end()) {
            value = found->second;
        }
    }
    if (settings.user.empty()) {
        settings.user = Environment("USER");
    }
    if (settings.user.empty()) {
        settings.user = "user-" + std::to_string(::getuid());
    }
    if (settings.userName.empty()) {
        settings.userName = settings.user;
    }
}

// A setting that must be there, named the three ways it can be given.
bool Demand(std::string Settings::*value, const Settings& settings, std::string& error) {
    for (const Setting& setting : kSettings) {
        if (setting.value == value && (settings.*value).empty()) {
            error = std::string("not set: ") + setting.option + " (or " + setting.variable +
                    " in the environment or in a --config file)";
            return false;
        }
    }
    return true;
}

bool ReadLogLevel(Settings& settings) {
    for (std::size_t i = 0; i < kLevels.size(); ++i) {
        if (settings.logLevelText == kLevels[i]) {
            settings.logLevel = static_cast<int>(i);
            return true;
        }
    }
    return false;
}

// A key file that was named on the command line comes before a variable with the key.
bool ReadKey(Settings& settings, bool isFileGiven, std::string& error) {
    const std::string text = Environment("VAXO_SIGN_KEY");
    if (!text.empty() && !isFileGiven) {
        if (!ReadKeyText(text, settings.key, error)) {
            error = "VAXO_SIGN_KEY: " + error;
            return false;
        }
        return true;
    }
    if (settings.keyFile.empty()) {
        error = "no sign key: name its file with --key-file or VAXO_KEY_FILE, or set VAXO_SIGN_KEY";
        return false;
    }
    return ReadKeyFile(settings.keyFile, settings.key, error);
}

}  // namespace

std::vector<SettingText> SettingTexts() {
    std::vector<SettingText> texts;
    texts.reserve(kSettings.size());
    for (const Setting& setting : kSettings) {
        texts.push_back({setting.option, setting.variable, setting.help});
    }
    return texts;
}

void AddSettingsOptions(CLI::App& command, Settings& settings) {
    const std::string group = kSettingsGroup;
    for (const Setting& setting : kSettings) {
        command
            .add_option(setting.option, settings.*setting.value,
                        std::string(setting.help) + " [" + setting.variable + "]")
            ->type_name(setting.takes)
            ->group(group);
    }
    command.add_option("--config", settings.configFile, "File of NAME=value lines")
        ->type_name("FILE")
        ->group(group);
    command
        .add_option("--log-level", settings.logLevelText,
                    "grievous, error, warning, generic (default) or debug")
        ->type_name("LEVEL")
        ->check(OneOf({kLevels.begin(), kLevels.end()}))
        ->group(group);
    command.add_option("--timeout", settings.timeout, "Seconds to wait for an answer (default 15)")
        ->type_name("SECONDS")
        ->check(Between(0.1, 600))
        ->group(group);
    command.add_flag("--quiet", settings.quiet, "No status line, no events on the terminal")
        ->group(group);
}

bool ResolveSettings(Settings& settings, Needs needs, std::string& error) {
    const bool isFileGiven = !settings.keyFile.empty();
    Values values;
    if (!settings.configFile.empty() && !ReadConfig(settings.configFile, values, error)) {
        return false;
    }
    FillIn(settings, values);
    long long appID = 0;
    if (!Demand(&Settings::appIDText, settings, error) ||
        !Demand(&Settings::serviceURL, settings, error) ||
        !Demand(&Settings::channel, settings, error)) {
        return false;
    }
    if ((needs == Needs::Media && !Demand(&Settings::mediaURL, settings, error)) ||
        (needs == Needs::Upload && (!Demand(&Settings::uploadURL, settings, error) ||
                                    !Demand(&Settings::logFile, settings, error)))) {
        return false;
    }
    if (!ParseNumber(settings.appIDText, 1, std::numeric_limits<unsigned int>::max(), appID)) {
        error = "--app-id takes a number from 1 to 4294967295";
        return false;
    }
    settings.appID = static_cast<unsigned int>(appID);
    if (!ReadLogLevel(settings)) {
        error = "--log-level takes grievous, error, warning, generic or debug";
        return false;
    }
    return ReadKey(settings, isFileGiven, error);
}

}  // namespace vaxoapp
