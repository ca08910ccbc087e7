// What is behind the HTTP connection; its tests give it other times.
#ifndef VAXO_VAXOAVCONNHTTPIMPL_H
#define VAXO_VAXOAVCONNHTTPIMPL_H

#include <memory>
#include <mutex>

#include "connection/VaxoAVConnHttp.h"
#include "connection/VaxoUploader.h"

struct CVaxoAVConnHttp::Impl {
    explicit Impl(const VaxoUploaderTimes& times) : pUploader(VaxoUploader::Make(times)) {}
    ~Impl() { pUploader->Shut(); }  // the process' end may hold on to it
    Impl(const Impl&) = delete;
    Impl& operator=(const Impl&) = delete;

    const std::shared_ptr<VaxoUploader> pUploader;
    std::mutex lock;  // what follows
    unsigned int appID = 0;
    std::shared_ptr<const VaxoUploadKey> pKey;  // null: nothing to sign with
};

#endif
