// A module with the proxy in it is loaded and unloaded again and again, also while its
// workers are in the middle of its code: it stays where it is, with its one proxy.
#include <dlfcn.h>
#include <elf.h>
#include <gtest/gtest.h>
#include <link.h>

#include <condition_variable>
#include <cstddef>
#include <filesystem>
#include <iterator>
#include <mutex>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "kernel/live/LoadedProxy.h"
#include "kernel/live/OwnProcess.h"

namespace {

const char* const s_path = VAXO_LOADED_PROXY;

// Where the module's workers are, told by themselves. Never destroyed: a test that fails
// leaves the workers where they are.
class Road {
public:
    // The module's workers.
    void Inside(const std::string& where) {
        std::unique_lock<std::mutex> lock(m_mutex);
        m_inside.insert(where);
        m_changed.notify_all();
        m_changed.wait(lock, [&] { return m_open.count(where) != 0; });
        m_open.erase(where);
        m_inside.erase(where);
    }
    void Past(const std::string& where) {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_past.insert(where);
        m_changed.notify_all();
    }

    // The test.
    void AwaitInside(const std::string& where) {
        std::unique_lock<std::mutex> lock(m_mutex);
        m_changed.wait(lock, [&] { return m_inside.count(where) != 0; });
    }
    void LetGoOn(const std::string& where) {
        std::unique_lock<std::mutex> lock(m_mutex);
        m_open.insert(where);
        m_changed.notify_all();
        m_changed.wait(lock, [&] { return m_past.count(where) != 0; });
        m_past.erase(where);
    }

private:
    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::set<std::string> m_inside;
    std::set<std::string> m_open;
    std::set<std::string> m_past;
};

Road& TheRoad() {
    static auto& s_road = *new Road();
    return s_road;
}

const LoadedHost s_host = {[](const char* where) { TheRoad().Inside(where); },
                           [](const char* where) { TheRoad().Past(where); }};

// The module's functions. They may be called as long as it is mapped.
struct Module {
    explicit Module(void* opened)
        : address(Named<LoadedAddress>(opened, "loaded_proxy_address")),
          play(Named<LoadedPlay>(opened, "loaded_proxy_play")),
          getters(Named<LoadedGetters>(opened, "loaded_proxy_getters")),
          leave(Named<LoadedLeave>(opened, "loaded_proxy_leave")) {}

    template <class Function>
    static Function Named(void* opened, const char* name) {
        void* const found = ::dlsym(opened, name);
        EXPECT_NE(found, nullptr) << name;
        return reinterpret_cast<Function>(found);
    }

    const LoadedAddress address;
    const LoadedPlay play;
    const LoadedGetters getters;
    const LoadedLeave leave;
};

void* Load() {
    void* const opened = ::dlopen(s_path, RTLD_NOW | RTLD_LOCAL);
    EXPECT_NE(opened, nullptr) << ::dlerror();
    return opened;
}

// Whether it is mapped, though nobody may have it open.
bool IsMapped() {
    void* const opened = ::dlopen(s_path, RTLD_NOW | RTLD_NOLOAD);
    if (opened != nullptr) {
        ::dlclose(opened);
    }
    return opened != nullptr;
}

std::ptrdiff_t Threads() {
    const std::filesystem::directory_iterator tasks("/proc/self/task");
    return std::distance(begin(tasks), end(tasks));
}

// The scenario: main returns while worker 0 is in a module that nobody has open.
int EndInTheModule() {
    void* const opened = Load();
    const Module module(opened);
    module.play(&s_host);
    TheRoad().AwaitInside("engine");
    return ::dlclose(opened);
}

}  // namespace

TEST(LiveProxyLoading, TheModuleAsksToStayMapped) {
    void* const opened = Load();
    ASSERT_NE(opened, nullptr);
    struct link_map* map = nullptr;
    ASSERT_EQ(::dlinfo(opened, RTLD_DI_LINKMAP, &map), 0);
    ElfW(Xword) flags = 0;
    for (const ElfW(Dyn)* entry = map->l_ld; entry->d_tag != DT_NULL; ++entry) {
        if (entry->d_tag == DT_FLAGS_1) {
            flags = entry->d_un.d_val;
        }
    }
    EXPECT_NE(flags & DF_1_NODELETE, 0U);
    ::dlclose(opened);
}

TEST(LiveProxyLoading, ItStaysWhileItsWorkersRunInIt) {
    const void* first = nullptr;
    std::ptrdiff_t threads = 0;
    for (int round = 0; round < 100; ++round) {
        void* const opened = Load();
        ASSERT_NE(opened, nullptr);
        const Module module(opened);
        module.play(&s_host);
        TheRoad().AwaitInside("engine");
        ASSERT_EQ(::dlclose(opened), 0);
        ASSERT_TRUE(IsMapped()) << "in round " << round;
        if (round == 0) {
            first = module.address();
        }
        EXPECT_EQ(module.address(), first);

        TheRoad().LetGoOn("engine");
        TheRoad().AwaitInside("app");
        EXPECT_EQ(module.getters(), 1);
        if (round == 0) {
            threads = Threads();
        }
        EXPECT_LE(Threads(), threads) << "workers of a second runner";
        TheRoad().LetGoOn("app");
        module.leave();
    }
}

TEST(LiveProxyLoading, ItMayBeUnloadedWhileAnEventIsInItsCallback) {
    void* opened = Load();
    ASSERT_NE(opened, nullptr);
    const Module module(opened);
    module.play(&s_host);
    TheRoad().AwaitInside("engine");
    TheRoad().LetGoOn("engine");
    TheRoad().AwaitInside("app");
    ASSERT_EQ(::dlclose(opened), 0);
    ASSERT_TRUE(IsMapped());
    TheRoad().LetGoOn("app");

    opened = Load();
    const Module again(opened);
    EXPECT_EQ(again.address(), module.address());
    EXPECT_EQ(again.getters(), 1);
    again.leave();
    EXPECT_EQ(again.getters(), 0);
    ::dlclose(opened);
}

TEST(LiveProxyLoading, TheProcessMayEndWhileAWorkerIsInTheUnloadedModule) {
    livetest::ExpectCleanEnd(livetest::RunScenario("InTheModule"), "");
}

TEST(LiveProxyLoading, FourThreadsLoadAndUnloadItAndGetTheOneProxy) {
    std::vector<const void*> addresses(100, nullptr);
    std::vector<std::thread> threads;
    for (std::size_t number = 0; number < 4; ++number) {
        threads.emplace_back([number, &addresses] {
            for (std::size_t i = number; i < addresses.size(); i += 4) {
                if (void* const opened = Load()) {
                    const Module module(opened);
                    addresses[i] = module.address();
                    module.getters();
                    ::dlclose(opened);
                }
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_NE(addresses[0], nullptr);
    EXPECT_EQ(std::set<const void*>(addresses.begin(), addresses.end()).size(), 1U);
    EXPECT_TRUE(IsMapped());
}

int main(int argc, char** argv) {
    if (livetest::IsScenario(argc, argv)) {
        return EndInTheModule();
    }
    testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
