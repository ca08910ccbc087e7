#include "engine/source/Devices.h"

#include <algorithm>
#include <cctype>
#include <initializer_list>
#include <iterator>
#include <mutex>
#include <string_view>
#include <vector>

#include "engine/base/GstRef.h"
#include "engine/source/FileAddress.h"
#include "engine/source/MediaSource.h"

namespace vaxoengine {

namespace {

constexpr const char* kNoLoudspeaker = "none:sink";
constexpr std::size_t kMaxDevices = 64;
constexpr std::size_t kMaxName = 256;

enum class DeviceClass { Camera, Microphone, Loudspeaker };

// How the devices of one part of the system are used.
struct Provider {
    DeviceClass deviceClass;
    const char* factory;
    const char* property;  // of a device object: what the element calls the device
    const char* prefix;    // of our identifiers
    const char* element;
};

// Of two ways to one device the first is the better default.
constexpr Provider kProviders[] = {
    {DeviceClass::Camera, "v4l2deviceprovider", "device-path", "v4l2:", "v4l2src"},
    {DeviceClass::Microphone, "pulsedeviceprovider", "internal-name", "pulse-in:", "pulsesrc"},
    {DeviceClass::Microphone, "alsadeviceprovider", "internal-name", "alsa-in:", "alsasrc"},
    {DeviceClass::Loudspeaker, "pulsedeviceprovider", "internal-name", "pulse-out:", "pulsesink"},
    {DeviceClass::Loudspeaker, "alsadeviceprovider", "internal-name", "alsa-out:", "alsasink"},
};

struct Device {
    std::string id;
    std::string name;
    std::string element;
};

const char* ClassName(DeviceClass deviceClass) {
    switch (deviceClass) {
        case DeviceClass::Camera:
            return "Video/Source";
        case DeviceClass::Microphone:
            return "Audio/Source";
        case DeviceClass::Loudspeaker:
            break;
    }
    return "Audio/Sink";
}

// What can stand between quotation marks of a launch text and means nothing there. The names
// come from drivers and sound servers, which may be set up by others.
bool IsPlain(const std::string& name) {
    return !name.empty() && name.size() <= kMaxName &&
           std::all_of(name.begin(), name.end(), [](char c) {
               return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
                      std::string_view("_-.:,/=+@").find(c) != std::string_view::npos;
           });
}

std::string Property(GstDevice* device, const char* name) {
    if (g_object_class_find_property(G_OBJECT_GET_CLASS(device), name) == nullptr) {
        return {};
    }
    gchar* value = nullptr;
    g_object_get(device, name, &value, nullptr);
    std::string text = value != nullptr ? value : "";
    g_free(value);
    return text;
}

void AddDevice(GstDevice* device, const Provider& provider, std::vector<Device>& found) {
    const std::string own = Property(device, provider.property);
    const std::string_view echo = ".monitor";
    // What a loudspeaker plays is no microphone.
    const bool isEcho =
        own.size() > echo.size() && own.compare(own.size() - echo.size(), echo.size(), echo) == 0;
    if (!IsPlain(own) || isEcho || found.size() >= kMaxDevices) {
        return;
    }
    const std::string name = Property(device, "display-name");
    found.push_back({provider.prefix + own, name.empty() ? own : name,
                     std::string(provider.element) + " device=\"" + own + "\""});
}

// Asks the provider itself and not a device monitor: the monitor also asks providers that
// could not start, and the one for sound servers then leaks 20 kB each time.
void AddDevices(const Provider& provider, std::vector<Device>& found) {
    const GstRef<GstDeviceProvider> asked(
        gst_device_provider_factory_get_by_name(provider.factory));
    if (asked == nullptr) {
        return;  // not installed
    }
    const bool startable = gst_device_provider_can_monitor(asked.get()) != FALSE;
    if (startable && gst_device_provider_start(asked.get()) == FALSE) {
        return;
    }
    GList* const devices = gst_device_provider_get_devices(asked.get());
    for (GList* each = devices; each != nullptr; each = each->next) {
        auto* const device = static_cast<GstDevice*>(each->data);
        if (gst_device_has_classes(device, ClassName(provider.deviceClass)) != FALSE) {
            AddDevice(device, provider, found);
        }
    }
    g_list_free_full(devices, gst_object_unref);
    if (startable) {
        gst_device_provider_stop(asked.get());
    }
}

// The devices of the system now, the better ones first.
std::vector<Device> SystemDevices(DeviceClass deviceClass) {
    static std::mutex one;  // providers exist once in the process
    const std::lock_guard<std::mutex> lock(one);
    gst_init(nullptr, nullptr);
    std::vector<Device> found;
    for (const Provider& provider : kProviders) {
        if (provider.deviceClass == deviceClass) {
            AddDevices(provider, found);
        }
    }
    return found;
}

DeviceClass ClassOf(AudioDeviceKind kind) {
    return kind == AudioDevice_Output ? DeviceClass::Loudspeaker : DeviceClass::Microphone;
}

std::map<std::string, std::string> Named(const std::vector<Device>& devices) {
    std::map<std::string, std::string> names;
    for (const Device& device : devices) {
        names.emplace(device.id, device.name);
    }
    return names;
}

bool IsOfSystem(const std::string& id, DeviceClass deviceClass) {
    return std::any_of(std::begin(kProviders), std::end(kProviders), [&](const Provider& provider) {
        return provider.deviceClass == deviceClass && id.rfind(provider.prefix, 0) == 0;
    });
}

std::string NextOf(DeviceClass deviceClass, const std::string& device,
                   const std::set<std::string>& failed, const char* otherwise) {
    if (!IsOfSystem(device, deviceClass)) {
        return {};
    }
    for (const Device& other : SystemDevices(deviceClass)) {
        if (failed.count(other.id) == 0) {
            return other.id;
        }
    }
    return otherwise;
}

bool Says(const Device& device, std::initializer_list<const char*> words) {
    std::string name = device.name;
    std::transform(name.begin(), name.end(), name.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return std::any_of(words.begin(), words.end(),
                       [&name](const char* word) { return name.find(word) != std::string::npos; });
}

}  // namespace

std::map<std::string, std::string> VideoDevices() {
    auto names = Named(SystemDevices(DeviceClass::Camera));
    names.emplace(kTestPicture, "Test picture");
    return names;
}

std::map<std::string, std::string> AudioDevices(AudioDeviceKind kind) {
    auto names = Named(SystemDevices(ClassOf(kind)));
    if (kind == AudioDevice_Output) {
        names.emplace(kNoLoudspeaker, "No loudspeaker");
    } else {
        names.emplace(kTestTone, "Test tone");
    }
    return names;
}

std::string DefaultVideoDevice(bool front) {
    const auto cameras = SystemDevices(DeviceClass::Camera);
    if (cameras.empty()) {
        return kTestPicture;
    }
    // First a camera that says what it is, then one that at least says nothing else.
    const auto wanted = [front](const Device& device) {
        return front ? Says(device, {"front"}) : Says(device, {"back", "rear"});
    };
    const auto other = [front](const Device& device) {
        return front ? Says(device, {"back", "rear"}) : Says(device, {"front"});
    };
    auto best = std::find_if(cameras.begin(), cameras.end(), wanted);
    if (best == cameras.end()) {
        best = std::find_if_not(cameras.begin(), cameras.end(), other);
    }
    return best != cameras.end() ? best->id : cameras.front().id;
}

std::string DefaultAudioDevice(AudioDeviceKind kind) {
    const auto devices = SystemDevices(ClassOf(kind));
    if (!devices.empty()) {
        return devices.front().id;
    }
    return kind == AudioDevice_Output ? kNoLoudspeaker : kTestTone;
}

std::string NextVideoDevice(const std::string& device, const std::set<std::string>& failed) {
    return NextOf(DeviceClass::Camera, device, failed, kTestPicture);
}

std::string NextAudioDevice(const std::string& device, const std::set<std::string>& failed) {
    return NextOf(DeviceClass::Microphone, device, failed, "");
}

std::string DeviceElement(const std::string& id) {
    if (id == kNoLoudspeaker) {
        return "fakesink sync=true";
    }
    for (const Provider& provider : kProviders) {
        if (id.compare(0, std::char_traits<char>::length(provider.prefix), provider.prefix) == 0) {
            for (const Device& device : SystemDevices(provider.deviceClass)) {
                if (device.id == id) {
                    return device.element;
                }
            }
        }
    }
    return {};
}

bool IsVideoDevice(const std::string& id) {
    return !ReadableFile(id).empty() || VideoDevices().count(id) != 0;
}

bool IsAudioDevice(AudioDeviceKind kind, const std::string& id) {
    return (kind == AudioDevice_Input && !ReadableFile(id).empty()) ||
           AudioDevices(kind).count(id) != 0;
}

}  // namespace vaxoengine
