// The HTTP connection to the service, used to upload the log file.
//
// Guarantees
// - Every operation may be called from any thread and returns at once: it is called
//   on worker 0, where getters wait. The transfer runs on a thread of the connection's
//   own.
// - Destroying the object drops nothing that was accepted without saying so in the
//   log.
//
// The class is a seam: the proxy knows this header alone, and a program may link a
// definition of its own.
#ifndef VAXO_VAXOAVCONNHTTP_H
#define VAXO_VAXOAVCONNHTTP_H

#include <memory>

#include "vaxostream.h"
#include "vaxotypes.h"

class VAXO_API CVaxoAVConnHttp {
public:
    CVaxoAVConnHttp();
    ~CVaxoAVConnHttp();

    // Credentials of the uploads that follow; may be called again at any time. 0 when
    // they were taken, -1 when they cannot sign anything.
    int Init(unsigned int dwAppID, vaxo::stream sign);

    // Offers the file for upload in the user's name. True when the upload was accepted;
    // what became of it stands in the log. `bByUser`: somebody asked for it, so it goes
    // out in any case; else it is an offer, which the connection may pass over when
    // there is nothing new in the file.
    bool UploadLogFile(vaxo::strutf8 userID, vaxo::strutf8 fileName, bool bByUser);

private:
    struct Impl;
    std::unique_ptr<Impl> m_pImpl;
};

#endif
