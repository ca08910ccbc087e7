// What the application told the library about itself, for the modules that need it:
// identifier and signing key (set by the engine's Init), the user (set on channel
// entry), the service addresses (set by the application).
//
// Guarantees
// - Every operation may be called from any thread. Each is one indivisible step; a
//   getter gives a whole value that somebody set, as a copy of its own.
// - Nothing set yet: 0, or empty.
// - The signing key is never logged.
//
// Non-guarantees
// - Two values are not read or set together: an application that changes identifier
//   and key while calls are queued may have one call see the old one of either.
#ifndef VAXO_VAXOAPPSETTING_H
#define VAXO_VAXOAPPSETTING_H

#include "vaxolock.h"
#include "vaxostream.h"
#include "vaxotypes.h"

class VAXO_API CVaxoAppSetting {
public:
    // The settings of the process, created on first use and never destroyed.
    static CVaxoAppSetting* SharedInstance();

    // Logs an error when the identifier is 0, which no application has.
    unsigned int GetAppID();
    void SetAppID(unsigned int dwAppID);  // taken as it is, 0 included

    vaxo::stream GetAppSign();                  // the signing key, a copy
    void SetAppSign(const vaxo::stream& sign);  // copied

    vaxo::strutf8 GetUserID();                    // who entered the channel
    void SetUserID(const vaxo::strutf8& userID);  // the engine's to call, on channel entry

    vaxo::strutf8 GetServiceURL();                 // channel service
    void SetServiceURL(const vaxo::strutf8& url);  // mqtts://host:port

    vaxo::strutf8 GetMediaURL();                 // RTMP ingest and play
    void SetMediaURL(const vaxo::strutf8& url);  // rtmp://host:port/application

    vaxo::strutf8 GetUploadURL();                 // log upload
    void SetUploadURL(const vaxo::strutf8& url);  // http:// or https://, host, port and path

private:
    CVAXOLock m_lock;  // guards all that follows; nothing is called while it is held
    unsigned int m_dwAppID = 0;
    vaxo::stream m_sign;
    vaxo::strutf8 m_userID;
    vaxo::strutf8 m_serviceURL;
    vaxo::strutf8 m_mediaURL;
    vaxo::strutf8 m_uploadURL;
};

#endif
