#include "conformance/engine/Ledger.h"

#include <algorithm>
#include <utility>

#include "conformance/engine/Rules.h"

namespace conformance {

namespace {

bool IsState(const Event& event) {
    return event.what == Told::PublishState || event.what == Told::PlayState;
}

bool IsOver(long long state) {
    return state != Mediq::AVStateBegin && state != Mediq::TempBroken;
}

bool IsPublish(Ask what) {
    return what == Ask::Publish || what == Ask::StopPublish;
}

}  // namespace

int Ledger::Asked(const Request& request) {
    const std::lock_guard<std::mutex> hold(m_lock);
    m_named.insert(Key(request));
    m_courses[Key(request)].refused = false;
    m_outside = m_outside && request.what != Ask::Enter;
    m_entries.push_back({request, true, {}});
    return static_cast<int>(m_entries.size()) - 1;
}

void Ledger::Returned(int number, int status) {
    const std::lock_guard<std::mutex> hold(m_lock);
    Entry& entry = m_entries[static_cast<std::size_t>(number)];
    if (status == 0) {
        return;
    }
    entry.waits = false;
    m_courses[Key(entry.request)].refused = true;
    if (entry.answer) {
        BreakHeld(rule::Silent, Words(entry.request) + " answered status " +
                                    std::to_string(status) + " and " + Words(*entry.answer));
    }
}

void Ledger::Initialised() {
    const std::lock_guard<std::mutex> hold(m_lock);
    m_closed = false;
}

void Ledger::Uninitialised() {
    const std::lock_guard<std::mutex> hold(m_lock);
    m_closed = true;
}

std::string Ledger::Key(const Request& request) {
    switch (request.what) {
        case Ask::Enter:
            return "channel " + request.id;
        case Ask::Logout:
            return "logout";
        case Ask::Play:
        case Ask::StopPlay:
            return "play " + request.id;
        default:
            return "publish " + request.id;
    }
}

std::string Ledger::Key(const Event& event) {
    const bool publish = event.what == Told::PublishState;
    const bool channel = event.what == Told::Lost || event.what == Told::Back;
    return (publish ? "publish " : channel ? "channel " : "play ") + event.id;
}

bool Ledger::Answers(const Event& event, const Request& request) {
    switch (request.what) {
        case Ask::Enter:
            return event.what == Told::Entered;
        case Ask::Logout:
            return event.what == Told::LeftChannel;
        case Ask::StopPublish:  // which has no name of its own
            return event.what == Told::PublishState && IsOver(event.value);
        default:
            return IsState(event) &&
                   IsPublish(request.what) == (event.what == Told::PublishState) &&
                   event.id == request.id;
    }
}

// The newest request that the event may answer: an earlier one may have been answered to nobody,
// or together with a newer one. A start is asked before the stop, which has no name.
Ledger::Entry* Ledger::Waiting(const Event& event) {
    for (const bool nameless : {false, true}) {
        const auto found = std::find_if(m_entries.rbegin(), m_entries.rend(), [&](const Entry& e) {
            return e.waits && (e.request.what == Ask::StopPublish) == nameless &&
                   Answers(event, e.request);
        });
        if (found != m_entries.rend()) {
            return &*found;
        }
    }
    return nullptr;
}

void Ledger::Heard(const Event& event) {
    std::function<void(const Event&)> hook;
    {
        const std::lock_guard<std::mutex> hold(m_lock);
        Enter(event);
        m_events.push_back(event);
        hook = m_hook;
        m_changed.notify_all();
    }
    if (hook) {
        hook(event);
    }
}

void Ledger::Enter(const Event& event) {
    CheckValues(event);
    if (Entry* const entry = Waiting(event)) {
        entry->waits = false;
        entry->answer = event;
        if (IsState(event)) {
            m_courses[Key(event)].state = event.value;
        }
    } else if (IsState(event)) {
        if (m_of == Of::Engine) {
            EnterChange(event);
        }
    } else if (event.what == Told::Entered || event.what == Told::LeftChannel) {
        BreakHeld(m_courses["logout"].refused ? rule::Silent : rule::Once,
                  Words(event) + " answers nothing that was asked");
    } else if (m_of == Of::Engine && m_outside &&
               (event.what == Told::Stream || event.what == Told::Counts)) {
        BreakHeld(rule::AfterLogout, Words(event));
    }
    if (event.what == Told::LeftChannel) {
        for (auto& course : m_courses) {
            course.second.state.reset();
        }
        m_outside = std::none_of(m_entries.begin(), m_entries.end(), [](const Entry& entry) {
            return entry.waits && entry.request.what == Ask::Enter;
        });
    }
}

// A state that no request waits for.
void Ledger::EnterChange(const Event& event) {
    const std::string key = Key(event);
    Course& course = m_courses[key];
    const bool lives = course.state && !IsOver(*course.state);
    if (m_named.count(key) == 0) {
        BreakHeld(rule::AsGiven, Words(event) + " names what nobody asked for");
    } else if (course.refused && !lives) {
        BreakHeld(rule::Silent, Words(event) + " came of a request that was refused");
    } else if (!course.state && m_outside) {
        BreakHeld(rule::AfterLogout, Words(event));
    } else if (m_closed && !(lives && IsOver(event.value))) {
        BreakHeld(rule::AfterUninit, Words(event));
    } else if (course.state == event.value) {
        BreakHeld(rule::Once, Words(event) + " came again");
    } else if (!lives) {
        BreakHeld(rule::Ended, Words(event));
    }
    course.state = event.value;
}

void Ledger::CheckValues(const Event& event) {
    const bool fetchError = event.value == FetchError;
    if (event.what == Told::Size && (event.value <= 0 || event.second <= 0)) {
        BreakHeld(rule::Values, Words(event));
    }
    if (event.what == Told::Stream &&
        ((event.id.empty() && !fetchError) || event.value < CompleteStreamList ||
         event.value > FetchError)) {
        BreakHeld(rule::Values, Words(event));
    }
    const bool names =
        event.what == Told::Size || event.what == Told::Lost || event.what == Told::Back;
    if (names && m_named.count(Key(event)) == 0) {
        BreakHeld(rule::AsGiven, Words(event) + " names what nobody asked for");
    }
}

void Ledger::Break(const char* rule, const std::string& what) {
    const std::lock_guard<std::mutex> hold(m_lock);
    BreakHeld(rule, what);
}

void Ledger::BreakHeld(const char* rule, const std::string& what) {
    std::string text =
        "broken rule: " + std::string(rule) + "\n  " + what + "\n  events before it:";
    const std::size_t shown = std::min<std::size_t>(m_events.size(), 12);
    for (std::size_t i = m_events.size() - shown; i < m_events.size(); ++i) {
        text += " " + Words(m_events[i]);
    }
    m_broken.push_back(text);
    m_changed.notify_all();
}

bool Ledger::WaitFor(std::unique_lock<std::mutex>& hold, const std::function<bool()>& done) {
    m_changed.wait_for(hold, Limit(), [&] { return done() || !m_broken.empty(); });
    return done();
}

std::optional<Event> Ledger::Answer(int number) {
    std::unique_lock<std::mutex> hold(m_lock);
    const auto at = static_cast<std::size_t>(number);
    if (!WaitFor(hold, [&] { return m_entries[at].answer.has_value(); }) && m_broken.empty()) {
        BreakHeld(rule::Answered, Words(m_entries[at].request));
    }
    return m_entries[at].answer;
}

bool Ledger::Await(const std::function<bool(const Event&)>& wanted) {
    std::unique_lock<std::mutex> hold(m_lock);
    return WaitFor(hold, [&] { return std::any_of(m_events.begin(), m_events.end(), wanted); });
}

void Ledger::AwaitAnswerOrCount(int number, std::size_t events) {
    std::unique_lock<std::mutex> hold(m_lock);
    const auto at = static_cast<std::size_t>(number);
    WaitFor(hold, [&] { return !m_entries[at].waits || m_events.size() >= events; });
}

void Ledger::AwaitSilence() {
    std::unique_lock<std::mutex> hold(m_lock);
    std::size_t before = m_events.size();
    while (m_changed.wait_for(hold, Quiet(), [&] { return m_events.size() != before; })) {
        before = m_events.size();
    }
}

std::size_t Ledger::Count() const {
    const std::lock_guard<std::mutex> hold(m_lock);
    return m_events.size();
}

std::vector<std::string> Ledger::Broken() const {
    const std::lock_guard<std::mutex> hold(m_lock);
    return m_broken;
}

void Ledger::SetHook(std::function<void(const Event&)> hook) {
    const std::lock_guard<std::mutex> hold(m_lock);
    m_hook = std::move(hook);
}

}  // namespace conformance
