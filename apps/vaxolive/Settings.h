// What every command that goes to a channel needs to know, from three places: options,
// environment variables, a settings file; an option wins over a variable, a variable over
// the file.
//
// The settings file holds NAME=value lines with the names of the variables, as
// script/servers writes them (servers.env). Blank lines and lines that begin with "#" do not
// count, a value may stand in quotes, a name that means nothing here is passed over. The
// sign key has no option and is refused in the file, which others may be able to read: it
// comes from a key file or from VAXO_SIGN_KEY.
#ifndef VAXO_APPS_SETTINGS_H
#define VAXO_APPS_SETTINGS_H

#include <string>
#include <vector>

#include "vaxostream.h"

namespace CLI {
class App;
}

namespace vaxoapp {

struct Settings {
    // As given; ResolveSettings fills in what is empty.
    std::string appIDText;
    std::string keyFile;
    std::string serviceURL;
    std::string mediaURL;
    std::string uploadURL;
    std::string channel;
    std::string user;
    std::string userName;
    std::string logFile;
    std::string eventsFile;

    std::string configFile;
    std::string logLevelText = "generic";
    double timeout = 15;  // seconds for each answer of the service
    bool quiet = false;
    bool json = false;  // events on the standard output, nothing else but errors for people

    // Made by ResolveSettings.
    unsigned int appID = 0;
    vaxo::stream key;
    int logLevel = 0;
};

// A setting's three names and what it is, for help and manual.
struct SettingText {
    const char* option;
    const char* variable;
    const char* help;
};
std::vector<SettingText> SettingTexts();

constexpr const char* kSettingsGroup = "Channel and service";  // the heading in --help

// Adds the options of these settings to a command.
void AddSettingsOptions(CLI::App& command, Settings& settings);

// What a command cannot do without, beside application and sign key.
enum class Needs { Service, Media, Upload };

// False with `error` for people, which never holds any of the key.
bool ResolveSettings(Settings& settings, Needs needs, std::string& error);

}  // namespace vaxoapp

#endif
