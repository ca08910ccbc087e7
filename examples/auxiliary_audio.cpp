// Publishes, and mixes a tone of its own into the sound whenever somebody wants it: each line on
// the standard input (the Enter key) switches the tone on or off, the input's end ends the program.
//
// Status 0: published and left. 1: not, and the last lines say why. 2: called wrongly.
#include <cmath>
#include <cstddef>
#include <cstdio>
#include <cstring>
#include <iostream>
#include <memory>
#include <string>

#include "common.h"

namespace {

constexpr int kRate = 48000;
constexpr int kSamples = kRate / 100;  // 10 ms a call keep the sound going
constexpr double kHertz = 1000;
constexpr double kLoudness = 8192;  // a quarter of what 16 bits hold
constexpr double kTurn = 6.283185307179586;

// Asked for sound on a thread of the engine, which plays what it gets: it must return at once.
// Signed 16-bit samples in the machine's byte order; live/VaxoLiveShow.h says what else.
class Tone final : public Mediq::IVaxoAuxCallback {
public:
    void OnAuxCallback(unsigned char* pData, int* pDataLen, int* pSampleRate,
                       int* pNumChannels) override {
        const int room = *pDataLen / static_cast<int>(sizeof(short));
        const int count = room < kSamples ? room : kSamples;
        for (int i = 0; i < count; ++i) {
            const auto sample = static_cast<short>(kLoudness * std::sin(m_phase));
            std::memcpy(pData + static_cast<std::ptrdiff_t>(i) * 2, &sample, sizeof(sample));
            m_phase = std::fmod(m_phase + kTurn * kHertz / kRate, kTurn);  // no click between calls
        }
        *pDataLen = count * static_cast<int>(sizeof(short));  // bytes given
        *pSampleRate = kRate;
        *pNumChannels = 1;
    }

private:
    double m_phase = 0;  // the engine's thread alone
};

}  // namespace

int main(int argc, char** argv) {
    example::Settings settings;
    if (argc != 4 || !example::ReadSettings(settings)) {
        std::fprintf(stderr, "usage: auxiliary_audio CHANNEL USER STREAM\n");
        return 2;
    }
    const auto live = Strova::CVaxoLiveProxy::GetInstance();
    const auto events = std::make_shared<example::Events>();
    Tone tone;  // not owned by the library: it must outlive the calls that use it
    bool ok = example::Enter(*live, events, settings, argv[1], argv[2]) &&
              example::Publish(*live, *events, argv[1], argv[3]);
    if (ok) {
        live->SetAuxCallback(&tone);
        bool isOn = false;
        for (std::string line; std::getline(std::cin, line);) {
            isOn = !isOn;
            live->EnableAux(isOn);
            example::Say(isOn ? "tone on" : "tone off");
        }
        live->EnableAux(false);
        live->SetAuxCallback(nullptr);
    }
    // These have run when Leave returns, and the tone is not asked afterwards.
    ok = example::Leave(*live, *events) && ok;
    return ok ? 0 : 1;
}
