// Reference counting, liveness and the bound call that rests on both.
#include "vaxorefc.h"

#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <string>
#include <type_traits>

#include "threadtools.h"
#include "vaxotask.h"

namespace {

template <class Base>
class Counted : public Base {
public:
    explicit Counted(int& deaths) : m_deaths(deaths) {}
    ~Counted() override { ++m_deaths; }
    int value = 0;

private:
    int& m_deaths;
};

typedef Counted<CRefCount> Plain;
typedef Counted<CRefCountSafe> Safe;

class Watched;
typedef CScopeSource<Watched, false, CRefCountSafe> Source;
typedef CScopeHolder<Watched, false, CRefCountSafe> Holder;

class Watched {
public:
    static CRefCount* SafeInstance(Watched* watched) { return watched->source.holder; }

    int32 Add(Safe* argument) {
        ++calls;
        last = argument;
        return argument != nullptr ? argument->value + 1 : -1;
    }

    Source source{this};
    int calls = 0;
    Safe* last = nullptr;
};

template <class T>
class VaxoRefCount : public testing::Test {};
typedef testing::Types<Plain, Safe> Kinds;
class KindNames {
public:
    template <class T>
    static std::string GetName(int /*index*/) {
        return std::is_same<T, Plain>::value ? "Plain" : "Safe";
    }
};
TYPED_TEST_SUITE(VaxoRefCount, Kinds, KindNames);

// Where a virtual function stands in its class's table, in the C++ ABI of all
// systems that this library is built for. A pointer to a virtual member begins
// with its offset in the table, plus one on some of them.
template <class Member>
std::size_t SlotOf(Member member) {
    std::ptrdiff_t offset = 0;
    std::memcpy(&offset, &member, sizeof(offset));
    return static_cast<std::size_t>(offset) / sizeof(void*);
}

}  // namespace

TYPED_TEST(VaxoRefCount, StartsAtOneOwnedByItsCreator) {
    int deaths = 0;
    auto* const object = new TypeParam(deaths);
    EXPECT_EQ(1, object->RefCount());
    EXPECT_TRUE(object->Release());
    EXPECT_EQ(1, deaths);
}

TYPED_TEST(VaxoRefCount, AddRefAnswersTheNewCount) {
    int deaths = 0;
    auto* const object = new TypeParam(deaths);
    EXPECT_EQ(2, object->AddRef());
    EXPECT_EQ(3, object->AddRef());
    EXPECT_EQ(3, object->RefCount());
    EXPECT_FALSE(object->Release());
    EXPECT_EQ(2, object->RefCount());
    EXPECT_FALSE(object->Release());
    EXPECT_EQ(0, deaths);
    EXPECT_TRUE(object->Release());
    EXPECT_EQ(1, deaths);
}

TYPED_TEST(VaxoRefCount, IsFreedThroughItsBase) {
    int deaths = 0;
    CRefCount* const object = new TypeParam(deaths);
    EXPECT_EQ(2, object->AddRef());
    EXPECT_FALSE(object->Release());
    EXPECT_TRUE(object->Release());
    EXPECT_EQ(1, deaths);
}

TYPED_TEST(VaxoRefCount, StandsForItselfAndIsValid) {
    int deaths = 0;
    auto* const object = new TypeParam(deaths);
    EXPECT_EQ(object, object->SafeInstance());
    EXPECT_TRUE(object->IsValid());
    EXPECT_EQ(1, object->RefCount());
    object->Release();
}

TYPED_TEST(VaxoRefCount, CannotBeCopiedAndIsDestroyedVirtually) {
    static_assert(!std::is_copy_constructible<TypeParam>::value, "no copies");
    static_assert(!std::is_copy_assignable<TypeParam>::value, "no copies");
    static_assert(std::has_virtual_destructor<CRefCount>::value, "freed through the base");
    static_assert(!std::is_constructible<CRefCount>::value, "the constructor is protected");
    static_assert(!std::is_constructible<CRefCountSafe>::value, "the constructor is protected");
}

// The destructor comes first and takes two places.
TEST(VaxoRefCountTable, KeepsTheOrderOfItsVirtualFunctions) {
    EXPECT_EQ(2U, SlotOf(&CRefCount::AddRef));
    EXPECT_EQ(3U, SlotOf(&CRefCount::Release));
    EXPECT_EQ(4U, SlotOf(&CRefCount::SafeInstance));
    EXPECT_EQ(5U, SlotOf(&CRefCount::IsValid));
}

TEST(VaxoRefCountSafe, LosesNoReferenceAmongThreads) {
    const int threads = 4;
    const int rounds = 5000;
    int deaths = 0;
    auto* const object = new Safe(deaths);
    Threads workers(threads, [object](int) {
        for (int round = 0; round < rounds; ++round) {
            object->AddRef();
            EXPECT_FALSE(object->Release());
        }
    });
    workers.Join();
    EXPECT_EQ(1, object->RefCount());
    EXPECT_EQ(0, deaths);
    EXPECT_TRUE(object->Release());
    EXPECT_EQ(1, deaths);
}

TEST(VaxoRefCountSafe, IsFreedOnceByWhicheverThreadIsLast) {
    class Ledger : public CRefCountSafe {
    public:
        explicit Ledger(int& total) : m_total(total) {}
        // Reads what every holder wrote: the counting alone makes that safe.
        ~Ledger() override { m_total = entries[0] + entries[1] + entries[2]; }
        int entries[3] = {0, 0, 0};

    private:
        int& m_total;
    };
    for (int round = 0; round < 200; ++round) {
        int total = 0;
        auto* const ledger = new Ledger(total);
        ledger->AddRef();
        ledger->AddRef();
        int freed[3] = {0, 0, 0};
        Threads holders(3, [ledger, &freed](int number) {
            ledger->entries[number] = number + 1;
            freed[number] = ledger->Release() ? 1 : 0;
        });
        holders.Join();
        ASSERT_EQ(1, freed[0] + freed[1] + freed[2]);
        ASSERT_EQ(6, total);
    }
}

TEST(VaxoScopeSource, HoldsOneReferenceToAHolderThatPointsBack) {
    Watched watched;
    ASSERT_NE(nullptr, watched.source.holder);
    EXPECT_EQ(1, watched.source.holder->RefCount());
    EXPECT_EQ(&watched, watched.source.holder->p.load());
    EXPECT_TRUE(watched.source.holder->IsValid());
    EXPECT_EQ(watched.source.holder, watched.source.holder->SafeInstance());
}

TEST(VaxoScopeSource, LeavesAnInvalidHolderToThoseWhoStillHoldIt) {
    auto watched = std::make_unique<Watched>();
    Holder* const holder = watched->source.holder;
    CRefCount* const seen_as_base = holder;
    holder->AddRef();
    watched.reset();
    EXPECT_EQ(1, holder->RefCount());
    EXPECT_EQ(nullptr, holder->p.load());
    EXPECT_FALSE(seen_as_base->IsValid());
    EXPECT_EQ(holder, seen_as_base->SafeInstance());
    EXPECT_TRUE(holder->Release());
}

TEST(VaxoScopeSource, MayBeDetachedBeforeItsEnd) {
    Watched watched;
    watched.source.holder->Detach();
    EXPECT_FALSE(watched.source.holder->IsValid());
    watched.source.holder->Detach();
    EXPECT_FALSE(watched.source.holder->IsValid());
}

TEST(VaxoScopeCall, HoldsAReferenceToHostAndArgument) {
    int deaths = 0;
    Watched watched;
    Safe* const argument = new Safe(deaths);
    {
        const CScopeCall call(&watched, &Watched::Add, argument, nullptr);
        EXPECT_EQ(2, watched.source.holder->RefCount());
        EXPECT_EQ(2, argument->RefCount());
        {
            // The copy is the test.
            const CScopeCall copy(call);  // NOLINT(performance-unnecessary-copy-initialization)
            EXPECT_EQ(3, watched.source.holder->RefCount());
            EXPECT_EQ(3, argument->RefCount());
        }
        EXPECT_EQ(2, watched.source.holder->RefCount());
        EXPECT_EQ(2, argument->RefCount());
    }
    EXPECT_EQ(1, watched.source.holder->RefCount());
    EXPECT_EQ(1, argument->RefCount());
    argument->Release();
    EXPECT_EQ(1, deaths);
}

TEST(VaxoScopeCall, OwnsTheArgumentAloneWhenItsMakerLetGo) {
    int deaths = 0;
    Watched watched;
    {
        Safe* const argument = new Safe(deaths);
        argument->value = 41;
        const CScopeCall call(&watched, &Watched::Add, argument, nullptr);
        EXPECT_FALSE(argument->Release());
        EXPECT_TRUE(call());
        EXPECT_EQ(argument, watched.last);
        EXPECT_EQ(0, deaths);
    }
    EXPECT_EQ(1, deaths);
}

TEST(VaxoScopeCall, PutsTheAnswerIntoTheResultSlot) {
    int deaths = 0;
    Watched watched;
    Safe* const argument = new Safe(deaths);
    argument->value = 41;
    uint32 result = 7;
    EXPECT_TRUE(CScopeCall(&watched, &Watched::Add, argument, &result)());
    EXPECT_EQ(42U, result);
    EXPECT_EQ(1, watched.calls);
    argument->Release();
}

TEST(VaxoScopeCall, TakesANullArgument) {
    Watched watched;
    uint32 result = 7;
    Safe* const none = nullptr;
    EXPECT_TRUE(CScopeCall(&watched, &Watched::Add, none, &result)());
    EXPECT_EQ(0xffffffffU, result);
    EXPECT_EQ(nullptr, watched.last);
}

TEST(VaxoScopeCall, IsNotMadeWhenTheHostIsGone) {
    int deaths = 0;
    auto watched = std::make_unique<Watched>();
    Safe* const argument = new Safe(deaths);
    uint32 result = 7;
    {
        const CScopeCall call(watched.get(), &Watched::Add, argument, &result);
        watched.reset();
        EXPECT_FALSE(call());
        EXPECT_EQ(7U, result);
        EXPECT_EQ(2, argument->RefCount());
    }
    EXPECT_TRUE(argument->Release());
}

TEST(VaxoScopeCall, WithoutTargetOrFunctionIsNotMade) {
    int deaths = 0;
    Watched watched;
    Safe* const argument = new Safe(deaths);
    Watched* const nobody = nullptr;
    int32 (Watched::*const nothing)(Safe*) = nullptr;
    EXPECT_FALSE(CScopeCall(nobody, &Watched::Add, argument, nullptr)());
    EXPECT_FALSE(CScopeCall(&watched, nothing, argument, nullptr)());
    EXPECT_TRUE(argument->Release());
}

TEST(VaxoScopeCall, WithoutAHostIsAlwaysMade) {
    class Eternal {
    public:
        static CRefCount* SafeInstance(Eternal* /*self*/) { return nullptr; }
        int32 Five(Safe* /*argument*/) { return ++fives; }
        int32 fives = 4;
    };
    Eternal eternal;
    uint32 result = 0;
    Safe* const none = nullptr;
    EXPECT_TRUE(CScopeCall(&eternal, &Eternal::Five, none, &result)());
    EXPECT_EQ(5U, result);
}

TEST(VaxoScopeCall, KeepsACountedTargetThatIsItsOwnHost) {
    class Target : public Safe {
    public:
        explicit Target(int& deaths) : Safe(deaths) {}
        int32 Six(Safe* /*argument*/) { return 6 + value; }
    };
    int deaths = 0;
    auto* const target = new Target(deaths);
    uint32 result = 0;
    {
        Safe* const none = nullptr;
        const CScopeCall call(target, &Target::Six, none, &result);
        EXPECT_EQ(2, target->RefCount());
        EXPECT_FALSE(target->Release());
        EXPECT_TRUE(call());
    }
    EXPECT_EQ(6U, result);
    EXPECT_EQ(1, deaths);
}

// Virtual functions and a base class that does not come first: what a pointer to a
// member function carries besides an address.
TEST(VaxoScopeCall, CallsVirtualFunctionsOfASecondBase) {
    class First {
    public:
        virtual ~First() = default;
        int32 padding = 1;
    };
    class Second {
    public:
        virtual ~Second() = default;
        virtual int32 Answer(Safe* /*argument*/) { return 0; }
    };
    class Both : public First, public Second {
    public:
        static CRefCount* SafeInstance(Both* /*self*/) { return nullptr; }
        int32 Answer(Safe* /*argument*/) override { return own; }
        int32 own = 12;
    };
    Both both;
    uint32 result = 0;
    Safe* const none = nullptr;
    int32 (Both::*const through_base)(Safe*) = &Second::Answer;
    EXPECT_TRUE(CScopeCall(&both, through_base, none, &result)());
    EXPECT_EQ(12U, result);
}
