// Where an upload goes: <upload address>/<application identifier>/<safe user>/<file name>.
//
// Pure functions, any thread.
#ifndef VAXO_VAXOUPLOADADDRESS_H
#define VAXO_VAXOUPLOADADDRESS_H

#include <string>

struct VaxoUploadAddress {
    std::string address;  // whole, without a query; empty: there is none
    std::string path;     // of the address, from its first "/" on: what is signed
};

// `base`: the upload address of the settings, http or https, with or without a path. The
// file is named by what stands behind the last "/" of `file`, bytes that an address cannot
// hold as "%" and two hexadecimal digits.
//
// Empty when `base` is no such address, or holds something that must not be logged or that
// changes what is signed: a user's name and password, a query, a fragment, a blank. Empty too
// when the file has no name or the whole becomes longer than 2048 bytes.
VaxoUploadAddress VaxoAddressOfUpload(const std::string& base, unsigned int appID,
                                      const std::string& user, const std::string& file);

#endif
