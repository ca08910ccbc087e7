// A live engine and an HTTP connection for tests: they do what the script says and write
// every call into the journal. Linking ScriptedEngine.cpp defines CVaxoLiveShow and
// CVaxoAVConnHttp.
//
// The script is plain data: change it while nothing runs (after Settle of the fixture),
// or from inside a hook. Engine calls journal as "engine: Operation(arguments)", HTTP
// calls as "http: ...".
#ifndef VAXO_TESTS_LIVE_SCRIPTEDENGINE_H
#define VAXO_TESTS_LIVE_SCRIPTEDENGINE_H

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "IVaxoLive.h"

namespace livetest {

struct EngineScript {
    // By operation, such as "PlayStream". GetStreamList with four arguments is
    // "GetStreamList", with a vector "GetStreams". "http Init" and "http UploadLogFile"
    // (0 for false) are there too.
    std::map<std::string, int> status;        // what an operation answers; 0 if not set, the
                                              // upload 1
    std::map<std::string, std::string> text;  // what the three string getters answer
    std::map<std::string, std::function<void()>> inside;       // run in the call, once noted
    std::vector<Strova::VaxoLiveStream> streams;               // for GetStreams to add
    std::vector<std::pair<std::string, std::string>> devices;  // for both device lists
};

EngineScript& TheScript();

// The callback that the newest engine was given; empty if none or gone.
std::shared_ptr<Strova::IVaxoLiveCallback> EngineCallback();

// What the last SetView, SetPreviewView, SetVideoCaptureDeviceId and SetAuxCallback
// were given.
struct EngineObjects {
    std::weak_ptr<int> view;
    std::weak_ptr<int> previewView;
    std::weak_ptr<vaxo::strutf8> deviceID;
    Mediq::IVaxoAuxCallback* aux = nullptr;
};
EngineObjects& TheObjects();

int EnginesCreated();
int EnginesAlive();

// A fresh script; the counts of engines stay.
void ResetScript();

// Calls the operation's hook and answers its status.
int Play(const std::string& operation, int otherwise = 0);

}  // namespace livetest

#endif
