// The HTTP connection to the service, used to upload the log file.
//
//     CVaxoAppSetting::SharedInstance()->SetUploadURL("https://logs.example.net/upload");
//     connection.Init(appID, sign);
//     connection.UploadLogFile(userID, VAXO::g_strLogFileName__, true);
//
// sends PUT <upload address>/<appID>/<safe user>/<file name>, signed for that application,
// user and name (VaxoSign.h), with the bytes of the file.
//
// Guarantees
// - Every operation may be called from any thread and returns at once: it is called
//   on worker 0, where getters wait. The transfer runs on a thread of the connection's
//   own, made for the first upload, which sees none of the process's signals.
// - What goes out is the file as it was when it was accepted: its length of that moment,
//   even if it grows, is renamed or removed meanwhile. The lines logged before are in it
//   when it is the current log file.
// - One transfer at a time; four more files may wait. A file that waits already is not put
//   in twice: the later offer, with what the file holds by then, takes its place.
// - Without a connection, or when it is lost, and with an answer of 429 or 5xx, an upload is
//   tried again with the whole file, four times in all, 1, 2 and 4 seconds apart. That goes
//   for 507 too, which says that the server has no room: room may come. Any other answer but
//   2xx ends it, a redirect too. An attempt ends after 5 seconds without a connection, 10
//   to 16 without a byte, 60 in all.
// - A refusal counts also when it comes before the server has read the file. A file of more
//   than 1 MiB is sent only when the server says that it wants it, or says nothing for a
//   second.
// - https verifies the server's certificate; protocols other than http and https are
//   refused.
// - Destroying the object drops nothing that was accepted without saying so in the
//   log. It gives what is under way and what waits 3 seconds in all, then gives up, within
//   a second more. The end of the process does the same for connections that nobody
//   destroys.
// - The key and the signature never reach the log; an address stands there without what is
//   behind its "?".
//
// Non-guarantees
// - An accepted upload may fail; then it is over, and nobody but the log is told.
// - What was uploaded is remembered by this object, in memory.
// - Over https, the answer of a server that closes in the middle of the file may be lost to
//   that close. The upload is tried again then.
// - A forked child uploads nothing through a connection of its parent that was in use.
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
    // The longest file that is taken, in bytes: what the upload server takes. The log begins
    // a new file long before.
    static constexpr unsigned long long kMaxFileBytes = 16ULL * 1024 * 1024;

    CVaxoAVConnHttp();  // without credentials: uploads are refused
    ~CVaxoAVConnHttp();

    // Credentials of the uploads that follow; may be called again at any time. 0 when
    // they were taken, -1 when they cannot sign anything: an identifier of 0 or an empty
    // key. Then uploads are refused until other credentials come. Uploads accepted before
    // keep theirs.
    int Init(unsigned int dwAppID, vaxo::stream sign);

    // Offers the file for upload in the user's name. True when the upload was accepted;
    // what became of it stands in the log. `bByUser`: somebody asked for it, so it goes
    // out in any case; else it is an offer, which the connection passes over when the file
    // is as it was when it was last uploaded, or empty.
    //
    // False, with the reason in the log: no upload address is set, or not a plain http or
    // https one (a user's name, a query or a fragment in it is refused); no credentials; no
    // such file, or one that is none, cannot be read or is longer than 16 MiB; passed over;
    // too many wait. An offer accepted while the same file was under way is passed over later, if
    // that upload carried all of it.
    bool UploadLogFile(vaxo::strutf8 userID, vaxo::strutf8 fileName, bool bByUser);

private:
    struct Impl;
    std::unique_ptr<Impl> m_pImpl;
};

#endif
