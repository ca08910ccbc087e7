// The devices an application can choose from.
#ifndef VAXO_ENGINE_SOURCE_DEVICES_H
#define VAXO_ENGINE_SOURCE_DEVICES_H

#include <map>
#include <set>
#include <string>

#include "vaxotypes.h"

namespace vaxoengine {

// The device kinds of GetAudioDeviceList and SetAudioDevice.
enum AudioDeviceKind : int32 {
    AudioDevice_Input = 0,
    AudioDevice_Output = 1,
};

// Identifier to name. The built-in ones are always there: test picture and test tone; for
// sound output "none:sink", which plays to nobody in real time. Any thread; asks the system
// each time (about 30 ms), one thread after another, and waits for nothing else.
std::map<std::string, std::string> VideoDevices();
std::map<std::string, std::string> AudioDevices(AudioDeviceKind kind);

// What is used when the application chose nothing: the first camera (microphone, loudspeaker)
// of the system, else the test picture, the test tone, "none:sink". `front`: prefer a
// camera whose name says that it is the front one (else: the back one).
std::string DefaultVideoDevice(bool front);
std::string DefaultAudioDevice(AudioDeviceKind kind);

// What takes the place of a device that failed in the middle: the first of the system's devices
// of its kind that is not among `failed`, else the test picture; for sound empty, which means
// silence. For what is no device of the system, a file or a built-in source, empty: nobody who
// chose a file wants a camera or a microphone to be opened in its place.
std::string NextVideoDevice(const std::string& device, const std::set<std::string>& failed);
std::string NextAudioDevice(const std::string& device, const std::set<std::string>& failed);

// A gst-launch text that makes the source or sink element of a listed device; empty for an
// unknown identifier. Files and built-in sources are not made here.
std::string DeviceElement(const std::string& id);

// An identifier that can be chosen: listed, or a file that can be read.
bool IsVideoDevice(const std::string& id);
bool IsAudioDevice(AudioDeviceKind kind, const std::string& id);

}  // namespace vaxoengine

#endif
