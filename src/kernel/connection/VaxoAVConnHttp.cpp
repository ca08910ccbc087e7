#include "connection/VaxoAVConnHttp.h"

#include <string>
#include <utility>

#include "base/VaxoAppSetting.h"
#include "connection/VaxoAVConnHttpImpl.h"
#include "vaxolog.h"

namespace {

const char* const s_tag = "ConnHttp";

std::string Text(const vaxo::strutf8& text) {
    return text.c_str() == nullptr ? std::string() : std::string(text.c_str(), text.length());
}

// Empty when `upload` is whole, else what it lacks.
std::string Prepare(VaxoUpload& upload) {
    const std::string base = Text(CVaxoAppSetting::SharedInstance()->GetUploadURL());
    if (base.empty()) {
        return "no upload address";
    }
    if (upload.pKey == nullptr) {
        return "nothing to sign with";
    }
    upload.to = VaxoAddressOfUpload(base, upload.appID, upload.user, upload.file);
    if (upload.to.address.empty()) {
        return "the upload address or the file's name cannot be used";
    }
    if (upload.file == Text(VAXO::g_strLogFileName__)) {
        vaxolog_flush();
    }
    std::string refusal;
    upload.pSnapshot = VaxoUploadFile::Open(upload.file, CVaxoAVConnHttp::kMaxFileBytes, refusal);
    return refusal;
}

}  // namespace

CVaxoAVConnHttp::CVaxoAVConnHttp() : m_pImpl(new Impl(VaxoUploaderTimes())) {}

CVaxoAVConnHttp::~CVaxoAVConnHttp() = default;

int CVaxoAVConnHttp::Init(unsigned int dwAppID, vaxo::stream sign) {
    std::shared_ptr<const VaxoUploadKey> pKey;
    if (dwAppID != 0 && sign.size() != 0) {
        unsigned char* const bytes = sign;
        pKey = std::make_shared<VaxoUploadKey>(bytes, sign.size());
        VaxoWipe(bytes, sign.size());
    }
    const int status = pKey == nullptr ? -1 : 0;
    const std::lock_guard<std::mutex> guard(m_pImpl->lock);
    m_pImpl->appID = dwAppID;
    m_pImpl->pKey.swap(pKey);
    return status;
}

bool CVaxoAVConnHttp::UploadLogFile(vaxo::strutf8 userID, vaxo::strutf8 fileName, bool bByUser) {
    VaxoUpload upload;
    upload.file = Text(fileName);
    upload.user = Text(userID);
    upload.isByUser = bByUser;
    {
        const std::lock_guard<std::mutex> guard(m_pImpl->lock);
        upload.appID = m_pImpl->appID;
        upload.pKey = m_pImpl->pKey;
    }
    const std::string refusal = Prepare(upload);
    if (!refusal.empty()) {
        syslog(esyslog_warning, s_tag, __LINE__, "upload of %s not taken: %s", upload.file.c_str(),
               refusal.c_str());
        return false;
    }
    return m_pImpl->pUploader->Offer(std::move(upload));
}
