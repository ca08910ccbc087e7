#include "engine/live/FaultScene.h"

#include <algorithm>
#include <deque>
#include <utility>

#include <gtest/gtest.h>

#include "Within.h"
#include "engine/live/FaultCast.h"
#include "engine/live/Used.h"

namespace livetest {

namespace {

using Clock = Heard::Clock;

class Scene {
public:
    explicit Scene(Fault fault) : m_fault(fault) {
        for (const FaultRow& row : FaultRows()) {
            if (row.fault == fault) {
                m_acts.emplace_back(m_servers, row);
            }
        }
    }

    SceneTold Run() {
        Prepare();
        Strike();
        AwaitNotice();
        Repair();
        AwaitReturn();
        End();
        return Tell();
    }

private:
    template <class Call>
    void EachPart(Call call) {
        for (Act& act : m_acts) {
            call(act.viewer);  // first, so that it does not hear of the publisher's end
            call(act.publisher);
        }
    }

    void Prepare();
    void Strike();
    void AskInTheFault();
    void AwaitNotice();
    void Repair();
    void AwaitReturn();
    void End();
    SceneTold Tell();

    const Fault m_fault;
    LocalServers m_servers;
    std::deque<Act> m_acts;
    Clock::time_point m_begun;     // from here on it is the story
    Clock::time_point m_struck;    // the fault itself: a killed server was asked before
    Clock::time_point m_repaired;  // the repair begins
    Clock::time_point m_up;        // and is over: the servers answer
};

void Scene::Prepare() {
    for (Act& act : m_acts) {
        if (act.phase != Phase::Entering) {
            act.publisher.Enter(act.stream);
            act.viewer.Enter(act.stream);
        }
    }
    const auto begin = [](Part& part) {
        if (!part.kind.empty()) {
            EXPECT_TRUE(part.AwaitAnswer()) << part.name;
        }
    };
    EachPart(begin);
    for (Act& act : m_acts) {
        if (act.Publishes()) {
            act.publisher.Publish(act.stream);
        }
    }
    EachPart(begin);
    for (Act& act : m_acts) {
        if (act.Publishes()) {
            EXPECT_TRUE(Within(std::chrono::seconds(15), [&] {
                return act.viewer.Listed(act.stream);
            })) << act.stream;
        }
        if (act.Plays()) {
            act.viewer.Play(act.stream);
        }
    }
    EachPart(begin);
}

void Scene::AskInTheFault() {
    const std::size_t channelBefore = ConnectionsTo(m_servers.ServiceURL());
    const std::size_t mediaBefore = ConnectionsTo(m_servers.MediaURL());
    for (Act& act : m_acts) {
        act.AskWhatStarts();
    }
    // What is killed has taken these connections. (Others come and go meanwhile, so one may be
    // missed: then its request finds nobody, which must end in the same way.)
    if (Kills(m_fault)) {
        EXPECT_TRUE(Within(std::chrono::seconds(5), [&] {
            return (!HitsChannel(m_fault) ||
                    ConnectionsTo(m_servers.ServiceURL()) >= channelBefore + 2) &&
                   (!HitsMedia(m_fault) || ConnectionsTo(m_servers.MediaURL()) >= mediaBefore + 2);
        })) << "the requests did not reach the servers";
    }
    for (Act& act : m_acts) {
        if (act.phase == Phase::Leaving) {
            // Until their media end, which is told at once: then the leave is under way.
            act.viewer.Leave();
            act.publisher.Leave();
            EXPECT_TRUE(act.viewer.AwaitWords(1, m_begun));
            EXPECT_TRUE(act.publisher.AwaitWords(1, m_begun));
        }
    }
}

void Scene::Strike() {
    m_begun = Clock::now();
    if (HitsMedia(m_fault)) {
        m_servers.FreezeMedia();
    }
    if (HitsChannel(m_fault)) {
        m_servers.FreezeChannel();
    }
    m_struck = m_begun;
    AskInTheFault();
    if (Kills(m_fault)) {
        m_struck = Clock::now();
        if (HitsMedia(m_fault)) {
            m_servers.KillMedia();
        }
        if (HitsChannel(m_fault)) {
            m_servers.KillChannel();
        }
    }
}

void Scene::AwaitNotice() {
    EachPart([this](Part& part) { part.AwaitWords(part.story.during.size(), m_begun); });
}

void Scene::Repair() {
    m_repaired = Clock::now();
    EachPart([this](Part& part) {
        part.during = part.Words(m_begun, m_repaired, m_struck);
        part.asksAgain = std::any_of(part.during.begin(), part.during.end(), [](const Timed& one) {
            return one.word.find(" fails ") != std::string::npos;
        });
    });
    const bool kills = Kills(m_fault);
    if (HitsMedia(m_fault)) {
        kills ? m_servers.StartMedia() : m_servers.ThawMedia();
    }
    if (HitsChannel(m_fault)) {
        kills ? m_servers.StartChannel() : m_servers.ThawChannel();
    }
    m_up = Clock::now();
}

void Scene::AwaitReturn() {
    EachPart([this](Part& part) {
        const std::size_t all = part.story.after.size();
        part.AwaitWords(part.asksAgain && all > 0 ? all - 1 : all, m_repaired);
    });
    for (Act& act : m_acts) {
        act.AskAgain();
    }
    EachPart([this](Part& part) { part.AwaitWords(part.story.after.size(), m_repaired); });
    for (Act& act : m_acts) {
        act.listed = act.PublishesAtTheEnd() && Within(std::chrono::seconds(15), [&] {
                         return act.viewer.Listed(act.stream);
                     });
    }
}

void Scene::End() {
    EachPart([this](Part& part) {
        part.left = Clock::now();
        part.after = part.Words(m_repaired, part.left, m_up);
        part.Leave();
    });
    EachPart([](Part& part) { part.AwaitAnswer(); });
    // Whatever the first one left running would be heard before the second answer.
    EachPart([](Part& part) { part.Leave(); });
    EachPart([](Part& part) { part.AwaitAnswer(); });
}

SceneTold Scene::Tell() {
    SceneTold told;
    told.nothingLeft = Within(std::chrono::seconds(15), [this] {
        return m_servers.Statistics().find("<stream>") == std::string::npos;
    });
    for (Act& act : m_acts) {
        ActTold& one = told.acts[act.phase];
        for (auto [part, side] :
             {std::pair(&act.publisher, &one.publisher), std::pair(&act.viewer, &one.viewer)}) {
            side->during = part->during;
            side->after = part->after;
            side->end = part->Words(part->left, Clock::time_point::max(), part->left);
        }
        one.listed = act.listed;
        one.published = act.PublishesAtTheEnd();
    }
    return told;
}

}  // namespace

SceneTold RunFaultScene(Fault fault) {
    return Scene(fault).Run();
}

std::vector<std::string> WordsOf(const std::vector<Timed>& told) {
    std::vector<std::string> words;
    words.reserve(told.size());
    for (const Timed& one : told) {
        words.push_back(one.word);
    }
    return words;
}

}  // namespace livetest
