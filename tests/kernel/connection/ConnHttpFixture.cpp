#include "kernel/connection/ConnHttpFixture.h"

#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <type_traits>

#include "Within.h"
#include "base/VaxoAppSetting.h"
#include "connection/VaxoAVConnHttpImpl.h"
#include "connection/VaxoSign.h"

namespace httptest {

namespace {

// What is behind a connection. Its type is private too, so that PrivateAccess.h, which wants
// the member's type by name, does not reach it; the way is the same.
auto& ImplOf(CVaxoAVConnHttp& connection);

template <auto Member>
struct ImplAccess {
    friend auto& ImplOf(CVaxoAVConnHttp& connection) { return connection.*Member; }
};

}  // namespace

}  // namespace httptest

template struct httptest::ImplAccess<&CVaxoAVConnHttp::m_pImpl>;

namespace httptest {

namespace {

std::string Parameter(const std::string& query, const std::string& name) {
    const std::string text = "&" + query + "&";
    const std::size_t at = text.find("&" + name + "=");
    if (at == std::string::npos) {
        return "";
    }
    const std::size_t from = at + name.size() + 2;
    return text.substr(from, text.find('&', from) - from);
}

}  // namespace

VaxoUploaderTimes TestTimes() {
    VaxoUploaderTimes times;
    times.transfer.connect = std::chrono::minutes(10);
    times.transfer.silence = std::chrono::minutes(10);
    times.transfer.whole = std::chrono::minutes(10);
    times.firstPause = std::chrono::milliseconds(1);
    times.farewell = std::chrono::minutes(1);
    return times;
}

std::unique_ptr<CVaxoAVConnHttp> MakeConnection(const VaxoUploaderTimes& times) {
    auto connection = std::make_unique<CVaxoAVConnHttp>();
    auto& pImpl = ImplOf(*connection);
    typedef std::remove_reference_t<decltype(*pImpl)> Impl;
    pImpl = std::make_unique<Impl>(times);
    return connection;
}

vaxo::stream Sign(const std::string& key) {
    return {key.data(), static_cast<uint32>(key.size())};
}

void SetUploadURL(const std::string& url) {
    CVaxoAppSetting::SharedInstance()->SetUploadURL(url.c_str());
}

::testing::AssertionResult IsSigned(const Request& request, unsigned int appID,
                                    const std::string& key, const std::string& user) {
    VaxoSigner signer;
    signer.appID = appID;
    signer.key = key;
    signer.user = user;
    const long long expiry = std::atoll(Parameter(request.query, "exp").c_str());
    const std::string wanted = VaxoSignQuery(signer, "upload", request.path, expiry);
    const long long left = expiry - static_cast<long long>(std::time(nullptr));
    if (request.query != wanted || left > 300 || left <= 0) {
        return ::testing::AssertionFailure()
               << request.query << " with " << left << " seconds left, wanted " << wanted;
    }
    return ::testing::AssertionSuccess();
}

ConnHttpFixture::ConnHttpFixture() {
    ::setenv("no_proxy", "*", 1);  // the server is on this machine
    std::string folder = ::testing::TempDir() + "ConnHttp.XXXXXX";
    if (::mkdtemp(folder.data()) == nullptr) {
        ADD_FAILURE() << "no folder " << folder;
    }
    m_folder = folder;
    SetUploadURL("");
}

ConnHttpFixture::~ConnHttpFixture() {
    connection.reset();
    Logged("");
    for (const std::string& line : m_lines) {
        EXPECT_EQ(line.find("sig="), std::string::npos) << line;
        EXPECT_EQ(line.find('?'), std::string::npos) << line;
        EXPECT_EQ(line.find(key), std::string::npos) << line;
    }
    std::error_code ignored;
    std::filesystem::remove_all(m_folder, ignored);
}

void ConnHttpFixture::Connect(const HttpServer& server, const VaxoUploaderTimes& times) {
    SetUploadURL(server.URL());
    connection = MakeConnection(times);
    EXPECT_EQ(connection->Init(kAppID, Sign(key)), 0);
}

bool ConnHttpFixture::Upload(const std::string& file, bool bByUser, const char* user) {
    return connection->UploadLogFile(user, file.c_str(), bByUser);
}

std::string ConnHttpFixture::Write(const std::string& name, const std::string& content) const {
    std::ofstream(Path(name), std::ios::binary) << content;
    return Path(name);
}

std::string ConnHttpFixture::Append(const std::string& name, const std::string& content) const {
    std::ofstream(Path(name), std::ios::binary | std::ios::app) << content;
    return Path(name);
}

int ConnHttpFixture::Logged(const std::string& text) {
    for (const LogLine& line : m_log.Take()) {
        m_lines.push_back(line.text);
    }
    int count = 0;
    for (const std::string& line : m_lines) {
        count += line.find(text) == std::string::npos ? 0 : 1;
    }
    return count;
}

bool ConnHttpFixture::WaitLogged(const std::string& text, int count) {
    return Within(std::chrono::seconds(30), [&] { return Logged(text) >= count; });
}

}  // namespace httptest
