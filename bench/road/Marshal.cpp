#include "road/Marshal.h"

#include <algorithm>
#include <cstdint>
#include <deque>
#include <functional>
#include <mutex>
#include <utility>

#include "road/MarshalLog.h"
#include "road/PostThread.h"

namespace vaxobench {

namespace {

// Nothing here makes a Logout; that events look for one is part of their road.
enum class Type : std::uint8_t { Play, Logout, Sync };

enum class Join : std::uint8_t { CoExist, InvalidateFormer, InvalidateLater };

const char* NameOf(Type type) {
    static const char* const s_names[] = {"PlayStream", "LeaveRoom", "SyncCmd"};
    return s_names[static_cast<std::size_t>(type)];
}

const char* NameOf(Join join) {
    static const char* const s_names[] = {"CoExist", "InvalidateFormer", "InvalidateLater"};
    return s_names[static_cast<std::size_t>(join)];
}

const char* NameOf(int state) {
    return state == 0 ? "BEGIN" : "END";
}

struct Command {
    Type type = Type::Sync;
    unsigned long long number = 0;
    std::string text;
    std::function<int()> run;
    Join (*rule)(const Command& waiting, const Command& later) = nullptr;  // null: coexists
};

using CommandPtr = std::shared_ptr<Command>;

// Of a play: a newer one of the same stream makes it pointless.
Join SameStream(const Command& waiting, const Command& later) {
    const bool same = later.type == Type::Play && later.text == waiting.text;
    return same ? Join::InvalidateFormer : Join::CoExist;
}

}  // namespace

struct Marshal::Impl {
    Impl(std::shared_ptr<MarshalEngine> to, const MarshalLogOptions& options)
        : log(options), engine(std::move(to)) {}

    int Add(const CommandPtr& cmd);
    Join Offer(const CommandPtr& cmd);
    void List() const;
    void StartPass();
    void Pass();
    CommandPtr Take();
    void EndPlay(const std::string& streamID);

    std::shared_ptr<MarshalEngine> Engine() {
        const std::lock_guard<std::mutex> guard(lock);
        return engine;
    }
    std::shared_ptr<MarshalApp> App() {
        const std::lock_guard<std::mutex> guard(lock);
        return app.lock();
    }

    MarshalLog log;
    std::mutex lock;  // what follows, down to the threads
    std::shared_ptr<MarshalEngine> engine;
    std::weak_ptr<MarshalApp> app;
    std::deque<CommandPtr> waiting;
    CommandPtr executing;
    PostThread commands;
    PostThread events;
};

int Marshal::Impl::Add(const CommandPtr& cmd) {
    SPDLOG_LOGGER_INFO(log.Proxy(), "{}: {}({}/{})", "AddCmd", NameOf(cmd->type), cmd->number,
                       cmd->text);
    const Join result = Offer(cmd);
    if (result == Join::InvalidateLater) {
        SPDLOG_LOGGER_INFO(log.Proxy(), "{}, cmd invalid!", "AddCmd");
    }
    StartPass();
    return result == Join::InvalidateLater ? 1 : 0;
}

Join Marshal::Impl::Offer(const CommandPtr& cmd) {
    std::vector<CommandPtr> removed;  // destroyed after the lock
    const std::lock_guard<std::mutex> guard(lock);
    SPDLOG_LOGGER_INFO(log.Queue(), "{}, going to add {}({}/{}), current queue size: {} >>>>>",
                       "AddCmd", NameOf(cmd->type), cmd->number, cmd->text, waiting.size());
    Join result = Join::CoExist;
    for (auto it = waiting.begin(); it != waiting.end() && result != Join::InvalidateLater;) {
        const Command& former = **it;
        result = former.rule != nullptr ? former.rule(former, *cmd) : Join::CoExist;
        SPDLOG_LOGGER_INFO(log.Queue(), ">> join result by {}({}/{}), {}", NameOf(former.type),
                           former.number, former.text, NameOf(result));
        if (result == Join::InvalidateFormer) {
            removed.push_back(std::move(*it));
            it = waiting.erase(it);
        } else {
            ++it;
        }
    }
    if (result != Join::InvalidateLater) {
        waiting.push_back(cmd);
        SPDLOG_LOGGER_INFO(log.Queue(), ">> added {}({}/{}), queue size: {}", NameOf(cmd->type),
                           cmd->number, cmd->text, waiting.size());
    }
    List();
    return result;
}

void Marshal::Impl::List() const {
    if (!log.Queue()->should_log(spdlog::level::debug)) {
        return;
    }
    int index = 0;
    for (const CommandPtr& cmd : waiting) {
        SPDLOG_LOGGER_DEBUG(log.Queue(), "{}: {}({}/{})", index, NameOf(cmd->type), cmd->number,
                            cmd->text);
        ++index;
    }
}

void Marshal::Impl::StartPass() {
    boost::asio::post(commands.Context(), [this] { Pass(); });
}

void Marshal::Impl::Pass() {
    SPDLOG_LOGGER_INFO(log.Queue(), "{}", "StartCmdExecuteInner");
    while (const CommandPtr cmd = Take()) {
        const int status = cmd->run();
        if (status != 0) {
            SPDLOG_LOGGER_ERROR(log.Queue(), ">>>>>> execute {}({}/{}) failed", NameOf(cmd->type),
                                cmd->number, cmd->text);
        }
        if (cmd->type != Type::Sync) {
            SPDLOG_LOGGER_INFO(log.Queue(), "> executed {}, waiting for result", NameOf(cmd->type));
            return;
        }
        SPDLOG_LOGGER_INFO(log.Queue(), "> executed {}({}/{})", NameOf(cmd->type), cmd->number,
                           cmd->text);
    }
}

// The next command to run, empty when there is none or the queue is held. One that holds it
// is entered before it runs: its event may come before the engine's call returns.
CommandPtr Marshal::Impl::Take() {
    const std::lock_guard<std::mutex> guard(lock);
    if (executing) {
        SPDLOG_LOGGER_INFO(log.Queue(), "> executing: {}({}/{})", NameOf(executing->type),
                           executing->number, executing->text);
        return {};
    }
    if (waiting.empty()) {
        SPDLOG_LOGGER_INFO(log.Queue(), "> no cmd enqueued.");
        return {};
    }
    CommandPtr cmd = std::move(waiting.front());
    waiting.pop_front();
    SPDLOG_LOGGER_INFO(log.Queue(), "{}, cmd {}({}/{}) poped, final queue size: {}", "PopCmd",
                       NameOf(cmd->type), cmd->number, cmd->text, waiting.size());
    if (cmd->type != Type::Sync) {
        executing = cmd;
    }
    return cmd;
}

void Marshal::Impl::EndPlay(const std::string& streamID) {
    CommandPtr ended;  // destroyed after the lock
    {
        const std::lock_guard<std::mutex> guard(lock);
        if (!executing || executing->type != Type::Play || executing->text != streamID) {
            return;
        }
        SPDLOG_LOGGER_INFO(log.Queue(), "{}, cmd type: {}", "SetCmdExecuteCmdDone",
                           NameOf(executing->type));
        SPDLOG_LOGGER_INFO(log.Queue(), ">> current executing cmd: {}({}/{})",
                           NameOf(executing->type), executing->number, executing->text);
        ended = std::move(executing);
    }
    StartPass();
}

Marshal::Marshal(std::shared_ptr<MarshalEngine> engine, const MarshalLogOptions& log)
    : m_pImpl(std::make_unique<Impl>(std::move(engine), log)) {}

Marshal::~Marshal() = default;

void Marshal::SetApp(std::weak_ptr<MarshalApp> app) {
    const std::lock_guard<std::mutex> guard(m_pImpl->lock);
    m_pImpl->app = std::move(app);
}

int Marshal::SetVideoBitrate(int bitrate) {
    return m_pImpl->Add(
        std::make_shared<Command>(Command{Type::Sync, 108, {}, [impl = m_pImpl.get(), bitrate] {
                                              const auto engine = impl->Engine();
                                              return engine ? engine->SetVideoBitrate(bitrate) : -1;
                                          }}));
}

int Marshal::SetVideoFPS(int fps) {
    return m_pImpl->Add(
        std::make_shared<Command>(Command{Type::Sync, 109, {}, [impl = m_pImpl.get(), fps] {
                                              const auto engine = impl->Engine();
                                              return engine ? engine->SetVideoFPS(fps) : -1;
                                          }}));
}

int Marshal::PlayStream(const std::string& streamID, unsigned int chn) {
    const auto play = [impl = m_pImpl.get(), streamID, chn] {
        const auto engine = impl->Engine();
        return engine ? engine->PlayStream(streamID, chn) : -1;
    };
    return m_pImpl->Add(
        std::make_shared<Command>(Command{Type::Play, 0, streamID, play, &SameStream}));
}

void Marshal::OnPlayState(int state, const std::string& streamID) {
    bool leaves = false;
    {
        const std::lock_guard<std::mutex> guard(m_pImpl->lock);
        const auto& waiting = m_pImpl->waiting;
        leaves = std::any_of(waiting.begin(), waiting.end(),
                             [](const CommandPtr& cmd) { return cmd->type == Type::Logout; });
    }
    m_pImpl->EndPlay(streamID);
    if (leaves) {
        SPDLOG_LOGGER_INFO(m_pImpl->log.Proxy(), "{}, abandon callbak", "OnPlayStateUpdate");
        return;
    }
    if (auto app = m_pImpl->App()) {
        boost::asio::post(m_pImpl->events.Context(), [impl = m_pImpl.get(), app = std::move(app),
                                                      state, streamID] {
            SPDLOG_LOGGER_INFO(impl->log.Proxy(),
                               "OnPlayStateUpdate, call back state: {}, stream ID: {}",
                               NameOf(state), streamID);
            app->OnPlayState(state, streamID);
        });
    }
}

void Marshal::OnStreamUpdate(const MarshalStream& info, int flag) {
    if (auto app = m_pImpl->App()) {
        boost::asio::post(m_pImpl->events.Context(),
                          [app = std::move(app), info, flag] { app->OnStreamUpdate(info, flag); });
    }
}

void Marshal::SetLevel(int level) {
    m_pImpl->log.SetLevel(level);
}

void Marshal::Drain() {
    m_pImpl->commands.Drain();
    m_pImpl->events.Drain();
}

void Marshal::FlushLog() {
    m_pImpl->log.Flush();
}

}  // namespace vaxobench
