// The header by itself: who reads or sets the settings needs no other include.
#include "base/VaxoAppSetting.h"

namespace {

[[maybe_unused]] bool Known() {
    CVaxoAppSetting* const setting = CVaxoAppSetting::SharedInstance();
    setting->SetUserID("user");
    return setting->GetAppID() != 0 && setting->GetAppSign().size() != 0;
}

}  // namespace
