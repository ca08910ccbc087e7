// One attempt to put a file to an address, by HTTP PUT.
//
// Blocking: for the upload thread. No redirect is followed, no other protocol than http and
// https spoken, certificates are verified; the answer's body is thrown away. The address is
// not in the result: its query is a secret.
//
// What the server answers is the result, also when it answers before it has read the body:
// - A long body is offered first ("Expect: 100-continue"), and stays here when refused.
// - A server that closes on a body that it has not read resets the connection. Its answer is
//   taken from the socket all the same; not over https.
#ifndef VAXO_VAXOUPLOADTRANSFER_H
#define VAXO_VAXOUPLOADTRANSFER_H

#include <chrono>
#include <functional>
#include <string>

#include "connection/VaxoUploadFile.h"

// How long to wait for what. Tests wait for less.
struct VaxoTransferTimes {
    std::chrono::milliseconds connect{5000};
    std::chrono::seconds silence{10};  // no byte in either direction
    std::chrono::milliseconds whole{60000};
};

enum class VaxoTransferEnd {
    Done,      // answered with 2xx
    TryAgain,  // no connection, no answer, 429 or 5xx (507: no room): may go better later
    Refused,   // another answer, a certificate that does not hold, a file cut meanwhile
    GaveUp     // `isOver` said so
};

struct VaxoTransferResult {
    VaxoTransferEnd end = VaxoTransferEnd::Refused;
    std::string text;  // "answer 403", "answer 507: the server has no room", or what went wrong
};

// Once, before the first transfer; false when libcurl is of no use. Any thread.
bool VaxoTransferReady();

// `url`: with its query. `isOver` is asked again and again, once a second at least, on this
// thread; true ends the attempt.
VaxoTransferResult VaxoTransfer(const std::string& url, const VaxoUploadFile& file,
                                const VaxoTransferTimes& times,
                                const std::function<bool()>& isOver);

#endif
