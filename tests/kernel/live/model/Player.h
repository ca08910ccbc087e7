// Plays the steps of a program on one side: the library or the model. What is common to
// both is here: which thread takes a step, and steps that wait for a place.
#ifndef VAXO_TESTS_MODEL_PLAYER_H
#define VAXO_TESTS_MODEL_PLAYER_H

#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include "kernel/live/model/Program.h"

namespace livemodel {

// What was seen, with the thread it came on: 'A' the application, 'E' the engine, 'a' and
// 'e' others of theirs, '0' and '2' the workers.
struct Line {
    char thread;
    std::string text;
};
inline bool operator==(const Line& a, const Line& b) {
    return a.thread == b.thread && a.text == b.text;
}

class Player {
public:
    virtual ~Player() = default;

    // Takes the step, or keeps it for its place.
    void Play(const Step& step) {
        if (step.place.empty()) {
            ActAs(IsOfEngine(step.op) ? 'E' : 'A', step);
        } else {
            m_kept[step.place].push_back(step);
            Kept(step.place);
        }
    }

    // Everything runs to its end; then there is no engine, no callback, nothing executes
    // and nothing waits. What is said on the way is said.
    virtual void Rest() = 0;

    // What was said since the last time.
    virtual std::vector<Line> TakeLines() = 0;

protected:
    // Takes the step on the thread of the moment.
    virtual void Act(const Step& step) = 0;

    // Takes it on another one.
    virtual void ActAs(char thread, const Step& step) = 0;

    // Whether the thread of the moment would wait for ever: for worker 0, because that is
    // inside a call; for the queue's lock, because a pass has it.
    virtual bool WaitsForWorker() const = 0;
    virtual bool WaitsForPass() const = 0;

    // A step is kept for the place.
    virtual void Kept(const std::string& /*place*/) {}

    // Whoever comes by the place calls this: the steps kept for it are taken, once.
    void Reach(const std::string& place) {
        const auto it = m_kept.find(place);
        if (it == m_kept.end()) {
            return;
        }
        const std::vector<Step> steps = std::move(it->second);
        m_kept.erase(it);
        for (const Step& step : steps) {
            if (step.beside) {
                ActAs(IsOfEngine(step.op) ? 'e' : 'a', step);
            } else {
                Act(step);
            }
        }
    }

    // To be asked at the beginning of Act: whether the step cannot be taken, because it would
    // wait for what goes on only after it.
    bool Skips(const Step& step) const {
        return (OperationOf(step.op).kind == Kind::Getter && WaitsForWorker()) ||
               (MayComplete(step.op) && WaitsForPass());
    }

    void ForgetKept() { m_kept.clear(); }

private:
    std::unordered_map<std::string, std::vector<Step>> m_kept;
};

}  // namespace livemodel

#endif
