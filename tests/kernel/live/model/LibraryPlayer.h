// Plays a program on the library: the shared proxy over a platform without threads, with
// the tests' engine behind it and applications that write everything down.
//
// The proxy, its queue and its workers are process-wide. A player takes them at rest and
// leaves them so; there can be one at a time.
#ifndef VAXO_TESTS_MODEL_LIBRARYPLAYER_H
#define VAXO_TESTS_MODEL_LIBRARYPLAYER_H

#include <map>
#include <memory>
#include <string>
#include <vector>

#include "avmgr/VaxoAVMgrCmdQueue.h"
#include "kernel/live/Journal.h"
#include "kernel/live/RecordingApp.h"
#include "kernel/live/model/Player.h"
#include "kernel/live/model/ThreadlessPlatform.h"
#include "live/VaxoLiveProxy.h"
#include "vaxothread.h"

namespace livemodel {

class LibraryPlayer final : public Player {
public:
    LibraryPlayer();
    ~LibraryPlayer() override;

    void Rest() override;

    // Failures of the platform are lines too, and so is a lock that nobody let go.
    std::vector<Line> TakeLines() override;

private:
    typedef livetest::RecordingApp App;

    void Act(const Step& step) override;
    void ActAs(char thread, const Step& step) override;
    bool WaitsForWorker() const override {
        return vaxothread_selfid() != '0' && threadless::Busy(0);
    }
    bool WaitsForPass() const override {
        return vaxothread_selfid() != '0' && threadless::RwLocksHeld() != 0;
    }
    void Kept(const std::string& place) override;

    void ActScript(const std::string& op, const Args& args);
    void ActQueue(const std::string& op, const Args& args);
    void ActAddCmd(const Args& args);
    void AnswerExecuting(const std::string& state);
    void SetCallback(const std::string& name);
    std::shared_ptr<App> MakeApp(const std::string& name);
    void RunAll();

    // Checks what must hold when somebody is called, and takes the steps kept for there.
    void CallOut(const std::string& place);

    const std::shared_ptr<Strova::CVaxoLiveProxy> m_proxy = Strova::CVaxoLiveProxy::GetInstance();
    const std::shared_ptr<CVaxoAVMgrCmdQueue> m_queue = CVaxoAVMgrCmdQueue::GetSharedInstance();
    std::map<std::string, std::shared_ptr<App>> m_apps;  // held by the application
    std::map<std::string, int> m_made;
    livetest::LogIntoJournal m_log;
};

}  // namespace livemodel

#endif
