#include "Choices.h"

#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <string_view>
#include <system_error>

#include "Text.h"

namespace vaxoapp {

namespace {

constexpr std::string_view kFileScheme = "file://";

Devices ToStd(const vaxostl::map<vaxo::strutf8, vaxo::strutf8>& list) {
    Devices devices;
    for (const auto& entry : list) {
        devices[vaxoapp::ToStd(entry.getKey())] = vaxoapp::ToStd(entry.getValue());
    }
    return devices;
}

std::string FileAddress(const std::string& path) {
    constexpr std::string_view kPlain =
        "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789-._~/";
    constexpr std::string_view kDigits = "0123456789ABCDEF";
    std::string address(kFileScheme);
    for (const char character : path) {
        if (kPlain.find(character) != std::string_view::npos) {
            address += character;
        } else {
            const auto value = static_cast<unsigned char>(character);
            address += '%';
            address += kDigits[value >> 4U];
            address += kDigits[value & 15U];
        }
    }
    return address;
}

bool IsReadableFile(const std::string& path) {
    std::error_code none;
    return std::filesystem::is_regular_file(path, none) && ::access(path.c_str(), R_OK) == 0;
}

}  // namespace

Devices VideoDevices(Strova::CVaxoLiveProxy& live) {
    vaxostl::map<vaxo::strutf8, vaxo::strutf8> list;
    live.GetVideoCaptureDevice(list);
    return ToStd(list);
}

Devices AudioDevices(Strova::CVaxoLiveProxy& live, AudioKind kind) {
    vaxostl::map<vaxo::strutf8, vaxo::strutf8> list;
    live.GetAudioDeviceList(kind, list);
    return ToStd(list);
}

bool ChooseDevice(const Devices& devices, const std::string& text, std::string& device,
                  std::string& error) {
    if (devices.count(text) != 0) {
        device = text;
        return true;
    }
    if (text.compare(0, kFileScheme.size(), kFileScheme) == 0) {
        device = text;  // an address of the user's own making; the engine reads it
        return true;
    }
    if (IsReadableFile(text)) {
        std::error_code none;
        device = FileAddress(std::filesystem::absolute(text, none).string());
        return true;
    }
    error = "unknown device " + Printable(text) +
            ": neither in the list of \"vaxolive devices\" nor a file that can be read";
    return false;
}

bool SetVideoDevice(Strova::CVaxoLiveProxy& live, const std::string& text, std::string& error) {
    std::string device;
    if (text.empty()) {
        return true;
    }
    if (!ChooseDevice(VideoDevices(live), text, device, error)) {
        return false;
    }
    live.SetVideoCaptureDeviceId(std::make_shared<vaxo::strutf8>(ToVaxo(device)));
    return true;
}

bool SetAudioDevice(Strova::CVaxoLiveProxy& live, AudioKind kind, const std::string& text,
                    std::string& error) {
    std::string device;
    if (text.empty()) {
        return true;
    }
    if (!ChooseDevice(AudioDevices(live, kind), text, device, error)) {
        return false;
    }
    vaxo::strutf8 chosen = ToVaxo(device);
    live.SetAudioDevice(kind, chosen);
    return true;
}

std::shared_ptr<int> ViewOf(unsigned long window) {
    return window == 0 ? nullptr
                       : std::make_shared<int>(static_cast<int>(static_cast<unsigned int>(window)));
}

}  // namespace vaxoapp
