// Plays a program on the model: the engine, the connection, the application and the
// settings that stand around it say what those of the tests say around the library.
#ifndef VAXO_TESTS_MODEL_MODELPLAYER_H
#define VAXO_TESTS_MODEL_MODELPLAYER_H

#include <map>
#include <memory>
#include <set>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include "kernel/live/model/LiveModel.h"
#include "kernel/live/model/Player.h"

namespace livemodel {

class ModelPlayer final : public Player, private Surroundings {
public:
    // Which cells of the join table were met: "3 meets 4 same" is a waiting command with the
    // rule of type 3 and a new one of type 4, whose text is the one that the rule compares
    // with. Types that have no column do not count.
    typedef std::set<std::string> Meetings;

    explicit ModelPlayer(const Flaws& flaws = Flaws(), Meetings* meetings = nullptr)
        : m_model(*this, flaws), m_meetings(meetings) {}
    ~ModelPlayer() override { m_closing = true; }

    void Rest() override;
    std::vector<Line> TakeLines() override { return std::exchange(m_lines, {}); }

private:
    friend struct App;

    void Act(const Step& step) override;
    void ActAs(char otherThread, const Step& step) override;
    bool WaitsForWorker() const override { return thread != '0' && m_model.Busy(); }
    bool WaitsForPass() const override { return thread != '0' && m_model.PassHoldsLock(); }

    void Say(std::string line) override { m_lines.push_back({thread, std::move(line)}); }
    int Engine(const std::string& op, const Args& args) override;
    std::string EngineText(const std::string& op) override;
    int EngineStreams(Args& streams) override;
    int Http(const std::string& op, const Args& args) override;
    void Tell(App& app, const std::string& event, const Args& args) override;
    void Met(int rule, int laterType, bool sameText) override;

    int Answer(const std::string& op, int otherwise = 0);
    void Result(const std::string& result) { Say("result " + result); }
    void ActScript(const std::string& op, const Args& args);
    void ActQueue(const std::string& op, const Args& args);
    void ActGetter(const std::string& op, const Args& args);
    void AnswerExecuting(const std::string& state);
    void SetCallback(const std::string& name);
    void RunAll();

    // The first four go last: what goes with the others may still speak.
    bool m_closing = false;
    std::vector<Line> m_lines;
    std::map<std::string, std::shared_ptr<App>> m_apps;  // held by the application
    std::map<std::string, int> m_made;
    std::unordered_map<std::string, int> m_status;
    std::unordered_map<std::string, std::string> m_texts;
    Args m_streams, m_devices;
    LiveModel m_model;
    Meetings* m_meetings;
};

}  // namespace livemodel

#endif
