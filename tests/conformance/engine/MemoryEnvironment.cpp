// The surroundings of the memory engine: an address in the settings, and nothing else.
#include "base/VaxoAppSetting.h"
#include "conformance/engine/Environment.h"

namespace conformance {

namespace {

class MemoryEnvironment final : public Environment {
public:
    void SetUp() override { Restore(); }
    int InitEngine(Strova::IVaxoLive& engine) override {
        vaxo::stream key;
        key = "a key";
        return engine.Init(1, key);
    }
    std::string PlayableStream() const override { return "remote"; }
    bool CutOff() override {
        CVaxoAppSetting::SharedInstance()->SetServiceURL("");
        return true;
    }
    void Restore() override { CVaxoAppSetting::SharedInstance()->SetServiceURL("memory:"); }
};

}  // namespace

std::unique_ptr<Environment> MakeEnvironment() {
    return std::make_unique<MemoryEnvironment>();
}

}  // namespace conformance
