// vaxostl::vector when storage is refused, when numbers reach their ends, and when
// an element's copy throws.
#include <gtest/gtest.h>

#include <cstddef>
#include <limits>
#include <vector>

#include "common/xplatform/VectorFixture.h"
#include "support/FailingNew.h"
#include "support/PrivateAccess.h"
#include "support/TracedItem.h"
#include "vaxovector.h"

namespace {

using vaxostl::vector_growth::ByteCount;
using vaxostl::vector_growth::NextCapacity;

typedef VectorOfItems VaxoVectorFailure;

typedef VectorOfItems VaxoVectorRefusal;

const uint32 kMax = std::numeric_limits<uint32>::max();

struct Mebibyte {
    char bytes[1 << 20];
};

// Sixteen of these are the most that PTRDIFF_MAX bytes hold. Never instantiated.
struct Enormous {
    char bytes[std::numeric_limits<std::ptrdiff_t>::max() / 16];
};

struct Capacity {
    typedef uint32 Ints::*type;
};
struct Count {
    typedef uint32 Ints::*type;
};
struct Storage {
    typedef int* Ints::*type;
};

}  // namespace

template struct PrivateAccess<Capacity, &Ints::m_Capacity>;
template struct PrivateAccess<Count, &Ints::m_ItemCount>;
template struct PrivateAccess<Storage, &Ints::m_Items>;

TEST(VaxoVectorLayout, CapacityCountAndStorageStandInThisOrder) {
    Ints array;
    array.Add(7);
    uint32& capacity = Private<Capacity>(array);
    uint32& count = Private<Count>(array);
    int*& items = Private<Storage>(array);
    EXPECT_EQ(capacity, 8u);
    EXPECT_EQ(count, 1u);
    EXPECT_EQ(*items, 7);
    EXPECT_EQ(static_cast<void*>(&capacity), static_cast<void*>(&array));
    EXPECT_EQ(&count, &capacity + 1);
    EXPECT_EQ(static_cast<void*>(&items), static_cast<void*>(&count + 1));
}

TEST(VaxoVectorGrowth, TheFirstStorageHasEightSlotsTheNextTwiceAsMany) {
    static_assert(NextCapacity(0, 1) == 8, "usable in constant expressions");
    EXPECT_EQ(NextCapacity(0, 8), 8u);
    EXPECT_EQ(NextCapacity(0, 9), 9u);
    EXPECT_EQ(NextCapacity(0, kMax), kMax);
    EXPECT_EQ(NextCapacity(8, 9), 16u);
    EXPECT_EQ(NextCapacity(8, 16), 16u);
    EXPECT_EQ(NextCapacity(8, 17), 17u);
    EXPECT_EQ(NextCapacity(20, 21), 40u);
}

TEST(VaxoVectorGrowth, ADoubledCapacityThatDoesNotFitIsAFailure) {
    EXPECT_EQ(NextCapacity(0x7FFFFFFFu, 0x80000000u), 0xFFFFFFFEu);
    EXPECT_EQ(NextCapacity(0x7FFFFFFFu, kMax), kMax);
    EXPECT_EQ(NextCapacity(0x80000000u, 0x80000001u), 0u);
    EXPECT_EQ(NextCapacity(kMax - 1, kMax), 0u);
}

TEST(VaxoVectorGrowth, AByteCountPastTheLimitIsAFailure) {
    static_assert(ByteCount(8, 4, 100) == 32, "usable in constant expressions");
    const std::size_t limit = 0x7FFFFFFF;  // what a 32-bit platform allows
    EXPECT_EQ(ByteCount(0x7FFFFFFFu, 1, limit), limit);
    EXPECT_EQ(ByteCount(0x80000000u, 1, limit), 0u);
    EXPECT_EQ(ByteCount(0x1FFFFFFFu, 4, limit), 0x7FFFFFFCu);
    EXPECT_EQ(ByteCount(0x20000000u, 4, limit), 0u);
    EXPECT_EQ(ByteCount(0x40000001u, 4, limit), 0u);  // 4 after wrapping at 32 bits
    EXPECT_EQ(ByteCount(1, limit, limit), limit);
    EXPECT_EQ(ByteCount(2, limit, limit), 0u);
    EXPECT_EQ(ByteCount(1, limit + 1, limit), 0u);
}

TEST_F(VaxoVectorRefusal, WithoutStorageEveryGrowingOperationFailsAndChangesNothing) {
    Items array;
    Fill(array, 8);
    const TracedItem* const storage = array.GetFirstItem();
    const TracedItem item(9);
    TracedItem::StartRecording();
    {
        const failing_new::Refusal refusal;
        EXPECT_EQ(array.Add(item), -1);
        EXPECT_EQ(array.push_back(array[0]), -1);
        EXPECT_EQ(array.reserve(9), -1);
        EXPECT_EQ(array.insert(array.begin(), item, 1), -1);
        EXPECT_EQ(array.insert(array.end(), item, 1), -1);
        EXPECT_EQ(array.Resize(9), -1);
        EXPECT_EQ(array.Resize(9, item), -1);
    }
    EXPECT_TRUE(TracedItem::StopRecording().empty());
    EXPECT_EQ(Values(array), std::vector<int>({1, 2, 3, 4, 5, 6, 7, 8}));
    EXPECT_EQ(array.capacity(), 8u);
    EXPECT_EQ(array.GetFirstItem(), storage);
    EXPECT_EQ(array.Add(item), 0);
}

TEST_F(VaxoVectorRefusal, WithoutStorageTheConstructorsGiveEmptyArrays) {
    Items source;
    Fill(source, 3);
    const failing_new::Refusal refusal;
    const Items reserved(9u);
    const Items filled(3, TracedItem(1));
    const Items copied(source.GetFirstItem(), 3);
    const Items copy(source);
    for (const Items* const array : {&reserved, &filled, &copied, &copy}) {
        EXPECT_TRUE(array->empty());
        EXPECT_EQ(array->capacity(), 0u);
        EXPECT_EQ(array->begin(), nullptr);
    }
}

TEST_F(VaxoVectorRefusal, AnAssignmentWithoutStorageLeavesAnEmptyArray) {
    Items array;
    Items other;
    Fill(array, 2);
    Fill(other, 9);
    {
        const failing_new::Refusal refusal;
        array = other;
    }
    EXPECT_TRUE(array.empty());
    EXPECT_EQ(array.capacity(), 8u);
    EXPECT_EQ(other.size(), 9u);
    array = other;
    EXPECT_TRUE(array == other);
}

TEST_F(VaxoVectorRefusal, AllocateAnswersNullAndLeavesTheCapacityAlone) {
    const failing_new::Refusal refusal;
    uint32 capacity = 5;
    EXPECT_EQ(Ints().Allocate(1, capacity), nullptr);
    EXPECT_EQ(capacity, 5u);
}

TEST(VaxoVectorStorageFailure, MoreThanTheAllocatorHasIsAFailure) {
    vaxostl::vector<Mebibyte> array;
    EXPECT_EQ(array.reserve(kMax), -1);
    EXPECT_EQ(array.capacity(), 0u);
    EXPECT_EQ(array.reserve(8), 0);
    EXPECT_EQ(array.reserve(kMax), -1);
    EXPECT_EQ(array.capacity(), 8u);
}

TEST_F(VaxoVectorRefusal, BytesPastTheLargestObjectAreNeverAskedFor) {
    vaxostl::vector<Enormous> array;
    const long requests = failing_new::Requests();
    EXPECT_EQ(array.reserve(17), -1);
    EXPECT_EQ(array.reserve(kMax), -1);
    EXPECT_EQ(failing_new::Requests(), requests);
    EXPECT_EQ(array.reserve(16), -1);  // fits, and the allocator is asked
    EXPECT_EQ(failing_new::Requests(), requests + 1);
    EXPECT_EQ(failing_new::LatestSize(), 16 * sizeof(Enormous));
}

TEST_F(VaxoVectorRefusal, GrowthAsksOnceForExactlyTheBytesOfItsSlots) {
    Ints array;
    long requests = failing_new::Requests();
    array.reserve(5);
    EXPECT_EQ(failing_new::LatestSize(), 8 * sizeof(int));
    EXPECT_EQ(failing_new::LatestAlignment(), 0u);
    EXPECT_EQ(failing_new::Requests(), ++requests);
    array.Resize(8, 1);
    array.clear();
    array.Add(1);
    EXPECT_EQ(failing_new::Requests(), requests);
    array.Resize(17, 1);
    EXPECT_EQ(failing_new::LatestSize(), 17 * sizeof(int));
    EXPECT_EQ(failing_new::Requests(), ++requests);
}

TEST_F(VaxoVectorRefusal, OverAlignedStorageIsAskedForInItsAlignedForm) {
    struct alignas(256) Page {
        char bytes[256];
    };
    vaxostl::vector<Page> array;
    EXPECT_EQ(array.reserve(1), 0);
    EXPECT_EQ(failing_new::LatestAlignment(), 256u);
    EXPECT_EQ(failing_new::LatestSize(), 8 * sizeof(Page));
    const failing_new::Refusal refusal;
    EXPECT_EQ(array.reserve(9), -1);
    EXPECT_EQ(array.capacity(), 8u);
}

TEST(VaxoVectorStorageFailure, ACountAtTheEndOf32BitsDoesNotWrap) {
    Ints array;
    array.Add(1);
    Private<Count>(array) = kMax;  // more than a test can allocate
    Private<Capacity>(array) = kMax;
    EXPECT_EQ(array.Add(2), -1);
    EXPECT_EQ(array.insert(Ints::iterator(), 2, 1), -1);
    EXPECT_EQ(array.insert(array.begin(), 2, kMax), -1);
    EXPECT_EQ(array.size(), kMax);
    Private<Count>(array) = 1;
    Private<Capacity>(array) = 0x80000000u;
    EXPECT_EQ(array.reserve(0x80000001u), -1);
    EXPECT_EQ(array.Resize(kMax), -1);
    EXPECT_EQ(array.capacity(), 0x80000000u);
    Private<Capacity>(array) = 8;
    EXPECT_EQ(array.back(), 1);
}

TEST_F(VaxoVectorFailure, ACopyThatThrowsWhileGrowingKeepsTheElementsBeforeIt) {
    for (int allowed = 0; allowed < 8; ++allowed) {
        Items array;
        Fill(array, 8);
        TracedItem::State().copiesLeft = allowed;
        EXPECT_THROW(array.reserve(9), TracedItem::CopyRefused);
        TracedItem::State().copiesLeft = -1;
        EXPECT_EQ(TracedItem::State().live, allowed);
        ASSERT_EQ(array.size(), static_cast<uint32>(allowed));
        EXPECT_EQ(array.capacity(), 16u);
        Fill(array, 1);
        EXPECT_EQ(array.back().Value(), 1);
        EXPECT_EQ(array.front().Value(), 1);
    }
}

TEST_F(VaxoVectorFailure, ACopyOfTheItemThatThrowsLeavesTheOthers) {
    Items array;
    Fill(array, 8);
    const TracedItem item(9);
    TracedItem::State().copiesLeft = 8;  // for the growth
    EXPECT_THROW(array.Add(item), TracedItem::CopyRefused);
    TracedItem::State().copiesLeft = -1;
    EXPECT_EQ(Values(array), std::vector<int>({1, 2, 3, 4, 5, 6, 7, 8}));
    EXPECT_EQ(array.capacity(), 16u);
}

TEST_F(VaxoVectorFailure, ACopyThatThrowsWhileInsertingKeepsTheElementsBeforeIt) {
    const std::vector<std::vector<int>> expected = {
        {1, 2, 3, 4},  // moving 4
        {1, 2, 3},     // moving 3
        {1, 2},        // moving 2
        {1},           // the first copy
        {1, 9},        // the second copy
    };
    for (std::size_t allowed = 0; allowed < expected.size(); ++allowed) {
        Items array;
        Fill(array, 4);
        const TracedItem item(9);
        TracedItem::State().copiesLeft = static_cast<long>(allowed);
        EXPECT_THROW(array.insert(array.begin() + 1, item, 2), TracedItem::CopyRefused);
        TracedItem::State().copiesLeft = -1;
        EXPECT_EQ(Values(array), expected[allowed]);
        EXPECT_EQ(TracedItem::State().live, static_cast<long>(expected[allowed].size()) + 1);
    }
}

TEST_F(VaxoVectorFailure, ACopyThatThrowsElsewhereKeepsWhatIsComplete) {
    Items source;
    Fill(source, 4);
    Items assigned;
    Fill(assigned, 1);
    Items resized;
    Items erased(source);
    const TracedItem item(9);

    TracedItem::State().copiesLeft = 2;
    EXPECT_THROW(assigned = source, TracedItem::CopyRefused);
    TracedItem::State().copiesLeft = 2;
    EXPECT_THROW(resized.Resize(4, item), TracedItem::CopyRefused);
    TracedItem::State().copiesLeft = 1;
    EXPECT_THROW(erased.erase(0, 0), TracedItem::CopyRefused);
    TracedItem::State().copiesLeft = -1;

    EXPECT_EQ(Values(assigned), std::vector<int>({1, 2}));
    EXPECT_EQ(Values(resized), std::vector<int>({9, 9}));
    EXPECT_EQ(Values(erased), std::vector<int>({2, 2, 3, 4}));
}

TEST_F(VaxoVectorFailure, ACopyThatThrowsInAConstructorLeaksNothing) {
    Items source;
    Fill(source, 4);
    const TracedItem item(9);
    for (long allowed = 0; allowed < 4; ++allowed) {
        TracedItem::State().copiesLeft = allowed;
        EXPECT_THROW(static_cast<void>(Items(source)), TracedItem::CopyRefused);
        TracedItem::State().copiesLeft = allowed;
        EXPECT_THROW(static_cast<void>(Items(source.GetFirstItem(), 4)), TracedItem::CopyRefused);
        TracedItem::State().copiesLeft = allowed;
        EXPECT_THROW(static_cast<void>(Items(4, item)), TracedItem::CopyRefused);
        EXPECT_EQ(TracedItem::State().live, 5);
    }
    TracedItem::State().copiesLeft = -1;
}
