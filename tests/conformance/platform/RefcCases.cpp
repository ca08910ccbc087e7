// Reference counts and liveness: vaxorefc.h. The classes are inline; what is checked is that
// they hold on this platform, with its compiler and its threads.
#include <atomic>

#include "conformance/platform/Kit.h"
#include "vaxorefc.h"

namespace conformance {
namespace {

// Counts its destructions. Holders write entries, the destructor reads them: the counting
// alone makes that safe.
template <class Base>
class Counted : public Base {
public:
    static const int kEntries = 3;

    Counted(std::atomic<int>& deaths, int& sum) : m_deaths(deaths), m_sum(sum) {}
    ~Counted() override {
        for (const int entry : entries) {
            m_sum += entry;
        }
        ++m_deaths;
    }
    int entries[kEntries] = {};

private:
    std::atomic<int>& m_deaths;
    int& m_sum;
};

template <class Base>
void Counts() {
    std::atomic<int> deaths{0};
    int sum = 0;
    CRefCount* const object = new Counted<Base>(deaths, sum);
    Require(object->RefCount() == 1, "a new object has another count than 1");
    Require(object->AddRef() == 2 && object->AddRef() == 3, "AddRef answers no new count");
    Require(!object->Release() && !object->Release(), "Release answered true too early");
    Require(deaths == 0, "an object was freed that had a reference");
    Require(object->Release(), "the last Release answered false");
    Require(deaths == 1, "the last Release did not free the object once");
}

void CountsBoth() {
    Counts<CRefCount>();
    Counts<CRefCountSafe>();
}

void NoneLost() {
    const int rounds = Rounds(20000);
    std::atomic<int> deaths{0};
    int sum = 0;
    auto* const object = new Counted<CRefCountSafe>(deaths, sum);
    Together(3, [object, rounds](int) {
        for (int round = 0; round < rounds; ++round) {
            object->AddRef();
            Require(!object->Release(), "an object was freed that had a reference");
        }
    });
    Require(object->RefCount() == 1, "references were lost among threads");
    Require(object->Release() && deaths == 1, "the last Release did not free the object once");
}

void FreedOnce() {
    for (int round = Rounds(500); round > 0; --round) {
        std::atomic<int> deaths{0};
        std::atomic<int> last{0};
        int sum = 0;
        auto* const object = new Counted<CRefCountSafe>(deaths, sum);
        object->AddRef();
        object->AddRef();
        Together(3, [object, &last](int number) {
            object->entries[number] = number + 1;
            last += object->Release() ? 1 : 0;
        });
        Require(last == 1, "not one Release but another number was told to be the last");
        Require(deaths == 1, "an object was not destroyed exactly once");
        Require(sum == 1 + 2 + 3, "the destructor did not see what a holder wrote");
    }
}

class Watched;
typedef CScopeSource<Watched, false, CRefCountSafe> Source;
typedef CScopeHolder<Watched, false, CRefCountSafe> Holder;

class Watched {
public:
    Source source{this};
};

void Detaches() {
    for (int round = Rounds(500); round > 0; --round) {
        auto* const watched = new Watched;
        Holder* const holder = watched->source.holder;
        holder->AddRef();
        Flag gone;
        Together({[&] {
                      delete watched;
                      gone.Raise();
                  },
                  [&] {
                      static_cast<void>(holder->IsValid());  // either answer
                      gone.Await("an object to be destroyed");
                      Require(!holder->IsValid(), "IsValid() was true after the object had gone");
                  }});
        Require(holder->RefCount() == 1, "the source kept its reference to the holder");
        Require(holder->Release(), "the last Release of a holder answered false");
    }
}

}  // namespace

Cases RefcCases() {
    return {
        {"refcount/counts", "An object starts with one reference and goes with the last.",
         needs_nothing, &CountsBoth},
        {"refcount/none-lost", "AddRef and Release of many threads lose no reference.",
         needs_nothing, &NoneLost},
        {"refcount/freed-once", "The last Release, on any thread, destroys exactly once.",
         needs_nothing, &FreedOnce},
        {"refcount/detaches", "Who holds a holder sees IsValid() false when the object has gone.",
         needs_nothing, &Detaches},
    };
}

}  // namespace conformance
