// The live interface: what an application calls (IVaxoLive) and what it hears back
// (IVaxoLiveCallback). This page is the manual of both.
//
//     vaxolog_open(path);                // vaxolog.h; before all else, if wanted
//     auto live = Strova::CVaxoLiveProxy::GetInstance();   // live/VaxoLiveProxy.h
//     live->SetCallback(app);            // held weakly: keep `app` alive yourself
//     live->Init(appID, sign);
//     live->GetStreamList(userID, userName, "room1", 0);  // enter the channel
//     live->PlayStream(streamID, 0);
//     ...
//     live->Logout();                    // stop everything, leave the channel
//     live->Uninit();
//
// Calls
// - Every operation may be called from any thread, at any moment, also from inside
//   a callback, before Init and after Uninit.
// - An operation that changes something is queued and returns at once: 0 when it
//   was accepted, 1 when a waiting call refused it. What the engine made of it comes
//   as an event. Arguments are copied before the call returns.
// - Queued calls run one at a time in the order they were accepted. A later call may
//   make an earlier one that still waits pointless; that one is then dropped without
//   an event (docs/join-matrix.md has the rules).
// - Entering or leaving a channel and starting or stopping a publish or a play hold
//   back the calls behind them until their event has come.
// - Without an engine (before Init, after Uninit) a queued stream or channel call
//   fails, which is reported by the same event as any failure.
// - A getter asks the engine at once, past the queued calls, on the thread that runs
//   them: it waits for an engine call that runs now, never for an event. Without an
//   engine it gives an empty string, or -1 and leaves its argument as it was.
// - SetCallback takes effect at once.
//
// Events
// - All events but the two snapshots come on one thread of the library, one at a
//   time, in the order in which the engine gave them. Taking long delays the later
//   events and nothing else.
// - While a Logout waits for its turn, OnGetStreamList, OnPublishStateUpdate,
//   OnPlayStateUpdate and OnLogout are not passed on.
// - The call that an event answers is over when the event comes, and the next queued
//   call may already run.
// - The callback object is held strongly for the length of one delivery only. An
//   event that is under way when the application lets go, or sets another callback,
//   still arrives; then the object may be destroyed on the events' thread.
// - Whoever sets another callback before letting go of the former one loses no event:
//   each comes to one of the two.
// - Arguments are there for the length of the call. A callback must not throw.
//
// For whoever writes an engine: it implements IVaxoLive and reports to the
// IVaxoLiveCallback given to its SetCallback, from any thread and also from inside a
// call. Its operations are called one at a time on one thread; only the stream list
// getter may also come on the thread of a Logout, at any moment. Its objects may
// be freed as soon as an event method returns. An operation must not wait for a
// thread of the engine that is inside an event method: the event may be waiting for
// the operation to end. The destructor may run on any thread.
//
// The order of the virtual operations is part of the interface.
#ifndef VAXO_IVAXOLIVE_H
#define VAXO_IVAXOLIVE_H

#include <memory>

#include "IVaxoVE.h"
#include "VaxoAVDefines.h"
#include "vaxostream.h"
#include "vaxovector.h"

namespace Strova {

// One stream of a channel. A plain value: a copy shares nothing with its source.
struct VAXO_API VaxoLiveStream {
    VaxoLiveStream() = default;
    // Built empty first: if a copy runs out of memory half-way, what is there is freed.
    VaxoLiveStream(const VaxoLiveStream& other) : VaxoLiveStream() { *this = other; }
    VaxoLiveStream& operator=(const VaxoLiveStream& other) = default;
    ~VaxoLiveStream() = default;

    vaxo::strutf8 streamGID;                  // global identifier
    vaxo::strutf8 streamID;                   // what PlayStream and StopPlayStream take
    vaxo::strutf8 userID;                     // who publishes
    vaxo::strutf8 userName;                   // the name that the publisher entered with
    vaxo::strutf8 title;                      // as given to StartPublishing
    vaxostl::vector<vaxo::strutf8> rtmpURLs;  // play addresses
    vaxostl::vector<vaxo::strutf8> hlsURLs;   // the same for HLS; either list may be empty
    unsigned int status = 0;                  // as the service reports it
};

// Implemented by the application.
class VAXO_API IVaxoLiveCallback : public Mediq::IVaxoVECallback {
public:
    // Declared again, beside the forms below that name a stream by text. Nothing in
    // this library calls these.
    void OnPublishStateUpdate(Mediq::VaxoAVState /*eState*/, unsigned int /*dwServerKey*/,
                              unsigned int /*dwRoomKey*/) override {}
    void OnPlayStateUpdate(Mediq::VaxoAVState /*eState*/, unsigned int /*dwServerKey*/,
                           unsigned int /*dwRoomKey*/,
                           unsigned long long /*ddwStreamID*/) override {}
    void OnVideoSizeChanged(unsigned long long /*ddwStreamID*/, int /*width*/,
                            int /*height*/) override {}

    // The channel was entered (err 0) or not. 0xFFFFFFFF: the engine refused, or there
    // is none. Answers GetStreamList(userID, ...).
    virtual void OnGetStreamList(unsigned int err) = 0;
    // A stream of the channel: listed on entry, added, gone.
    virtual void OnStreamUpdate(const VaxoLiveStream& info, VaxoAVStreamUpdateFlag eUpdateFlag) = 0;
    // Users in the channel now, and in all.
    virtual void OnCountsUpdate(unsigned int onlineNums, unsigned int onlineCount) = 0;
    // Answers StartPublishing and StopPublishing; comes later too, when the state
    // changes. A StopPublishing that fails is reported as AVStateEnd.
    virtual void OnPublishStateUpdate(Mediq::VaxoAVState eState, const vaxo::strutf8& streamID) = 0;
    // Answers PlayStream and StopPlayStream of the same stream; comes later too.
    virtual void OnPlayStateUpdate(Mediq::VaxoAVState eState, const vaxo::strutf8& streamID) = 0;
    // The pictures of a play have another size, in pixels; the first ones as well.
    virtual void OnVideoSizeChanged(const vaxo::strutf8& streamID, int width, int height) = 0;
    // Answers Logout. 0xFFFFFFFF: the engine refused, or there is none.
    virtual void OnLogout(unsigned int err) = 0;
    // The connection to the channel was lost; it came back.
    virtual void OnDisconnected(unsigned int err, const vaxo::strutf8& liveChn) = 0;
    // The connection to the channel came back.
    virtual void OnReconnected(const vaxo::strutf8& liveChn) = 0;

protected:
    ~IVaxoLiveCallback() = default;
};

class VAXO_API IVaxoLive : public Mediq::IVaxoVE {
public:
    // The application's identifier and signing key, which is copied and never logged.
    // A second Init without Uninit keeps the engine and initialises it again.
    virtual int Init(unsigned int dwAppID, vaxo::stream sign) = 0;
    // Lets go of the engine, which ends what it was doing.
    virtual int Uninit() = 0;

    // Sends the log file to the service. Fails before the first entry into a channel, which
    // sets what uploads are signed with, and without a signing key. An engine need not
    // implement it: this body uploads nothing and says so.
    virtual int UploadLog() { return -1; }

    // The callback is held weakly, an expired or empty one is accepted: then events are
    // dropped. Not queued; always 0.
    virtual int SetCallback(std::weak_ptr<IVaxoLiveCallback> callback) = 0;

    // Publishes camera and microphone. Answered by OnPublishStateUpdate.
    virtual int StartPublishing(vaxo::strutf8 title, vaxo::strutf8 streamID,
                                vaxo::strutf8 liveChn) = 0;
    // The channel that was entered.
    virtual vaxo::strutf8 GetLiveChannel() const = 0;
    // What is published now, as given to StartPublishing; empty: nothing.
    virtual vaxo::strutf8 GetCurrentPublishStreamID() const = 0;
    // Where it can be played.
    virtual vaxo::strutf8 GetCurrentPublishStreamURL() const = 0;
    // Ends the publish. Answered by OnPublishStateUpdate.
    virtual int StopPublishing() = 0;

    // Enters a channel and asks for its streams. Answered by OnGetStreamList; the
    // streams come as OnStreamUpdate.
    virtual int GetStreamList(vaxo::strutf8 userID, vaxo::strutf8 userName, vaxo::strutf8 liveChn,
                              int netType) = 0;
    // The streams known now.
    virtual int GetStreamList(vaxostl::vector<VaxoLiveStream>& outStreams) = 0;

    // Answered by OnPlayStateUpdate. `chn` numbers the play channel and its view.
    virtual int PlayStream(const vaxo::strutf8& streamID, unsigned int chn) = 0;
    // Ends that play. Answered by OnPlayStateUpdate.
    virtual int StopPlayStream(const vaxo::strutf8& streamID) = 0;

    // Stops every play and the publish, then leaves the channel. Answered by OnLogout.
    // A newer call that needs the channel drops a Logout that still waits.
    virtual int Logout() = 0;

protected:
    ~IVaxoLive() = default;
};

}  // namespace Strova

#endif
