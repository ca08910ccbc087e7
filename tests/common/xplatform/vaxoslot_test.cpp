// Shared slots: what a load, an exchange and a load-or-make answer, that the value taken
// out is destroyed outside the step, and threads that all use one slot.
#include "vaxoslot.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstddef>
#include <functional>
#include <future>
#include <memory>
#include <thread>
#include <vector>

using vaxo::slot_exchange;
using vaxo::slot_load;
using vaxo::slot_load_or_make;
using vaxo::slot_lock;

namespace {

typedef std::shared_ptr<int> Strong;
typedef std::weak_ptr<int> Weak;

// A value that runs something when it is destroyed.
Strong WithFarewell(int value, std::function<void()> farewell) {
    return {new int(value), [farewell](const int* number) {
                farewell();
                delete number;
            }};
}

// Whether the two refer to the same object, which may be gone, or both to none.
template <class T>
bool SameOwner(const std::weak_ptr<T>& a, const std::weak_ptr<T>& b) {
    return !a.owner_before(b) && !b.owner_before(a);
}

// Runs something when the memory of a value goes, which is when the last weak reference
// has gone.
template <class T>
struct TellingAllocator {
    typedef T value_type;

    explicit TellingAllocator(const std::function<void()>& onFree) : told(&onFree) {}
    template <class Other>
    TellingAllocator(const TellingAllocator<Other>& other) : told(other.told) {}

    T* allocate(std::size_t count) { return std::allocator<T>().allocate(count); }
    void deallocate(T* block, std::size_t count) {
        std::allocator<T>().deallocate(block, count);
        (*told)();
    }
    template <class Other>
    bool operator==(const TellingAllocator<Other>& other) const {
        return told == other.told;
    }
    template <class Other>
    bool operator!=(const TellingAllocator<Other>& other) const {
        return told != other.told;
    }

    const std::function<void()>* told;
};

// Runs action(number) on `count` threads that begin together.
template <class Action>
void OnThreads(int count, Action action) {
    std::promise<void> start;
    const std::shared_future<void> started(start.get_future());
    std::vector<std::thread> threads;
    for (int number = 0; number < count; ++number) {
        threads.emplace_back([action, started, number] {
            started.wait();
            action(number);
        });
    }
    start.set_value();
    for (std::thread& thread : threads) {
        thread.join();
    }
}

// A count that orders nothing between the threads that change it: a count that did would
// hide from the thread sanitizer what the slot itself fails to order.
class Count {
public:
    void Add(int number) { m_count.fetch_add(number, std::memory_order_relaxed); }
    int Get() const { return m_count.load(std::memory_order_relaxed); }

private:
    std::atomic<int> m_count{0};
};

// A pair of numbers that belong together, and the count of living pairs.
struct Pair {
    Pair(int number, Count& count) : first(number), second(-number), alive(count) { alive.Add(1); }
    ~Pair() { alive.Add(-1); }
    Pair(const Pair&) = delete;
    Pair& operator=(const Pair&) = delete;

    int first;
    int second;
    Count& alive;
};

}  // namespace

TEST(VaxoSlotShared, ALoadSharesWhatIsThere) {
    const Strong empty;
    EXPECT_FALSE(slot_load(empty));
    const Strong slot = std::make_shared<int>(1);
    const Strong loaded = slot_load(slot);
    EXPECT_EQ(loaded, slot);
    EXPECT_EQ(slot.use_count(), 2);
}

TEST(VaxoSlotShared, AnExchangeAnswersTheFormerValue) {
    Strong slot;
    const Strong first = std::make_shared<int>(1);
    EXPECT_FALSE(slot_exchange(slot, first));
    EXPECT_EQ(slot, first);
    EXPECT_EQ(slot_exchange(slot, std::make_shared<int>(2)), first);
    EXPECT_EQ(*slot, 2);
    EXPECT_EQ(first.use_count(), 1);
    EXPECT_EQ(*slot_exchange(slot, Strong()), 2);
    EXPECT_FALSE(slot);
}

// Under the step's own lock this would wait for itself.
TEST(VaxoSlotShared, TheFormerValueIsDestroyedOutsideTheStep) {
    Strong slot;
    int seen = 0;
    slot_exchange(slot, WithFarewell(1, [&] {
                      seen = *slot_load(slot);
                      slot_exchange(slot, std::make_shared<int>(3));
                  }));
    slot_exchange(slot, std::make_shared<int>(2));
    EXPECT_EQ(seen, 2);
    EXPECT_EQ(*slot, 3);
}

TEST(VaxoSlotShared, AFullSlotMakesNothing) {
    Strong slot = std::make_shared<int>(1);
    const Strong kept = slot;
    bool made = false;
    EXPECT_EQ(slot_load_or_make(slot,
                                [&] {
                                    made = true;
                                    return std::make_shared<int>(2);
                                }),
              kept);
    EXPECT_FALSE(made);
    EXPECT_EQ(slot, kept);
}

TEST(VaxoSlotShared, AnEmptySlotKeepsWhatIsMade) {
    Strong slot;
    const Strong made = std::make_shared<int>(1);
    EXPECT_EQ(slot_load_or_make(slot, [&] { return made; }), made);
    EXPECT_EQ(slot, made);
    EXPECT_EQ(made.use_count(), 2);
}

TEST(VaxoSlotShared, AMakerThatMakesNothingLeavesTheSlotEmpty) {
    Strong slot;
    EXPECT_FALSE(slot_load_or_make(slot, [] { return Strong(); }));
    EXPECT_FALSE(slot);
}

// The other thread's value comes between the look and the store.
TEST(VaxoSlotShared, AMakerThatIsOvertakenAnswersTheKeptValueAndDropsItsOwn) {
    Strong slot;
    const Strong other = std::make_shared<int>(1);
    bool dropped = false;
    const Strong got = slot_load_or_make(slot, [&] {
        std::thread([&] { slot_exchange(slot, other); }).join();
        return WithFarewell(2, [&] { dropped = true; });
    });
    EXPECT_EQ(got, other);
    EXPECT_EQ(slot, other);
    EXPECT_TRUE(dropped);
}

TEST(VaxoSlotShared, OfRacingMakersOneIsKeptAndAllGetIt) {
    for (int round = 0; round < 50; ++round) {
        Count alive;
        std::shared_ptr<Pair> slot;
        std::vector<std::shared_ptr<Pair>> got(4);
        OnThreads(4, [&](int number) {
            got[static_cast<std::size_t>(number)] =
                slot_load_or_make(slot, [&] { return std::make_shared<Pair>(number, alive); });
        });
        for (const std::shared_ptr<Pair>& mine : got) {
            EXPECT_EQ(mine, slot);
        }
        EXPECT_TRUE(slot);
        EXPECT_EQ(alive.Get(), 1);
    }
}

TEST(VaxoSlotShared, ThreadsSeeWholeValuesAndNoneIsLost) {
    Count alive;
    Count handedOut;
    const int rounds = 500;
    std::shared_ptr<Pair> slot;
    OnThreads(4, [&](int number) {
        for (int round = 1; round <= rounds; ++round) {
            if (slot_exchange(slot, std::make_shared<Pair>(number * rounds + round, alive))) {
                handedOut.Add(1);
            }
            const std::shared_ptr<Pair> seen = slot_load(slot);
            ASSERT_TRUE(seen);
            EXPECT_EQ(seen->first, -seen->second);
        }
    });
    EXPECT_EQ(handedOut.Get(), 4 * rounds - 1);  // each but the last came out once
    EXPECT_EQ(alive.Get(), 1);
}

TEST(VaxoSlotWeak, ALockHoldsWhatIsThereWhileTheSlotOwnsNothing) {
    const Weak empty;
    EXPECT_FALSE(slot_lock(empty));
    Strong object = std::make_shared<int>(1);
    const Weak slot = object;
    Strong locked = slot_lock(slot);
    EXPECT_EQ(locked, object);
    EXPECT_EQ(object.use_count(), 2);
    locked.reset();
    object.reset();
    EXPECT_FALSE(slot_lock(slot));
}

TEST(VaxoSlotWeak, AnExchangeAnswersTheFormerValue) {
    Weak slot;
    const Strong first = std::make_shared<int>(1);
    const Strong second = std::make_shared<int>(2);
    EXPECT_TRUE(SameOwner(slot_exchange(slot, Weak(first)), Weak()));
    EXPECT_EQ(slot.lock(), first);
    EXPECT_EQ(slot_exchange(slot, Weak(second)).lock(), first);
    EXPECT_EQ(slot.lock(), second);
    EXPECT_EQ(slot_exchange(slot, Weak()).lock(), second);
    EXPECT_TRUE(SameOwner(slot, Weak()));
    EXPECT_EQ(first.use_count(), 1);
}

TEST(VaxoSlotWeak, AnExpiredValueIsKeptAndGivenBackAsSuch) {
    Weak expired = std::make_shared<int>(1);
    Weak slot;
    slot_exchange(slot, expired);
    EXPECT_TRUE(SameOwner(slot, expired));
    EXPECT_TRUE(SameOwner(slot_exchange(slot, Weak()), expired));
}

// The last weak reference frees the memory of a value that is gone, by an allocator that
// may be the caller's: under the step's own lock this would wait for itself.
TEST(VaxoSlotWeak, WhatTheFormerValueLeftIsFreedOutsideTheStep) {
    const Strong second = std::make_shared<int>(2);
    const Strong third = std::make_shared<int>(3);
    Weak slot;
    int seen = 0;
    const std::function<void()> onFree = [&] {
        seen = *slot_lock(slot);
        slot_exchange(slot, Weak(third));
    };
    slot_exchange(slot, Weak(std::allocate_shared<int>(TellingAllocator<int>(onFree), 1)));
    EXPECT_TRUE(slot.expired());
    EXPECT_EQ(seen, 0);
    slot_exchange(slot, Weak(second));
    EXPECT_EQ(seen, 2);
    EXPECT_EQ(slot.lock(), third);
}

TEST(VaxoSlotWeak, ThreadsSeeWholeValuesAndNoneIsLost) {
    Count alive;
    Count handedOut;
    const int rounds = 500;
    std::weak_ptr<Pair> slot;
    OnThreads(4, [&](int number) {
        for (int round = 1; round <= rounds; ++round) {
            // Gone at the end of the round: what the others find there may have expired.
            const auto mine = std::make_shared<Pair>(number * rounds + round, alive);
            const std::weak_ptr<Pair> former = slot_exchange(slot, std::weak_ptr<Pair>(mine));
            if (!SameOwner(former, std::weak_ptr<Pair>())) {
                handedOut.Add(1);
            }
            if (const std::shared_ptr<Pair> seen = slot_lock(slot)) {
                EXPECT_EQ(seen->first, -seen->second);
            }
        }
    });
    EXPECT_EQ(handedOut.Get(), 4 * rounds - 1);  // each but the last came out once
    EXPECT_EQ(alive.Get(), 0);
    EXPECT_TRUE(slot.expired());
}

// The look and the lock are one step: between them the object could be replaced and go.
TEST(VaxoSlotWeak, WhoeverReplacesBeforeLettingGoLeavesNoMomentWithoutAnObject) {
    Strong current = std::make_shared<int>(0);
    Weak slot = current;
    OnThreads(4, [&](int number) {
        for (int round = 0; round < 100000; ++round) {
            if (number == 0) {
                Strong next = std::make_shared<int>(round);
                slot_exchange(slot, Weak(next));
                current = std::move(next);  // the former goes only now
            } else {
                ASSERT_TRUE(slot_lock(slot)) << "in round " << round;
            }
        }
    });
}
