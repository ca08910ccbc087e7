#include "base/VaxoAppSetting.h"

#include "vaxolog.h"

namespace {

template <class T>
T Read(CVAXOLock& lock, const T& value) {
    CVAXOAutolock guard(lock);
    return value;
}

template <class T>
void Write(CVAXOLock& lock, T& value, const T& next) {
    CVAXOAutolock guard(lock);
    value = next;
}

}  // namespace

CVaxoAppSetting* CVaxoAppSetting::SharedInstance() {
    static auto* const s_pSetting = new CVaxoAppSetting();
    return s_pSetting;
}

unsigned int CVaxoAppSetting::GetAppID() {
    const unsigned int dwAppID = Read(m_lock, m_dwAppID);
    if (dwAppID == 0) {
        syslog(esyslog_error, "AppSetting", __LINE__, "%s, app id is 0", "GetAppID");
    }
    return dwAppID;
}

void CVaxoAppSetting::SetAppID(unsigned int dwAppID) {
    Write(m_lock, m_dwAppID, dwAppID);
}

vaxo::stream CVaxoAppSetting::GetAppSign() {
    return Read(m_lock, m_sign);
}

void CVaxoAppSetting::SetAppSign(const vaxo::stream& sign) {
    Write(m_lock, m_sign, sign);
}

vaxo::strutf8 CVaxoAppSetting::GetUserID() {
    return Read(m_lock, m_userID);
}

void CVaxoAppSetting::SetUserID(const vaxo::strutf8& userID) {
    Write(m_lock, m_userID, userID);
}

vaxo::strutf8 CVaxoAppSetting::GetServiceURL() {
    return Read(m_lock, m_serviceURL);
}

void CVaxoAppSetting::SetServiceURL(const vaxo::strutf8& url) {
    Write(m_lock, m_serviceURL, url);
}

vaxo::strutf8 CVaxoAppSetting::GetMediaURL() {
    return Read(m_lock, m_mediaURL);
}

void CVaxoAppSetting::SetMediaURL(const vaxo::strutf8& url) {
    Write(m_lock, m_mediaURL, url);
}

vaxo::strutf8 CVaxoAppSetting::GetUploadURL() {
    return Read(m_lock, m_uploadURL);
}

void CVaxoAppSetting::SetUploadURL(const vaxo::strutf8& url) {
    Write(m_lock, m_uploadURL, url);
}
