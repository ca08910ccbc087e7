// Choosing devices and views by what was written on the command line or typed in.
#ifndef VAXO_APPS_CHOICES_H
#define VAXO_APPS_CHOICES_H

#include <map>
#include <memory>
#include <string>

#include "live/VaxoLiveProxy.h"

namespace vaxoapp {

// The device kinds of GetAudioDeviceList and SetAudioDevice.
enum AudioKind { AudioKind_Input = 0, AudioKind_Output = 1 };

typedef std::map<std::string, std::string> Devices;  // identifier to name

Devices VideoDevices(Strova::CVaxoLiveProxy& live);
Devices AudioDevices(Strova::CVaxoLiveProxy& live, AudioKind kind);

// A device's identifier, or a file that can be read, given as a path or an address: becomes
// its "file:///" address. False with `error` for anything else.
bool ChooseDevice(const Devices& devices, const std::string& text, std::string& device,
                  std::string& error);

// Chooses and sets it, the whole way. An empty text changes nothing.
bool SetVideoDevice(Strova::CVaxoLiveProxy& live, const std::string& text, std::string& error);
bool SetAudioDevice(Strova::CVaxoLiveProxy& live, AudioKind kind, const std::string& text,
                    std::string& error);

// The view of an X11 window; empty for 0.
std::shared_ptr<int> ViewOf(unsigned long window);

}  // namespace vaxoapp

#endif
