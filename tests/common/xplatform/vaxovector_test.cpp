// What each operation of vaxostl::vector does when there is storage.
#include "vaxovector.h"

#include <gtest/gtest.h>

#include <type_traits>
#include <vector>

#include "common/xplatform/VectorFixture.h"
#include "support/TracedItem.h"

namespace {

typedef VectorOfItems VaxoVectorElements;

}  // namespace

TEST(VaxoVector, ANewArrayHasNeitherElementsNorStorage) {
    const Ints array;
    EXPECT_EQ(array.size(), 0u);
    EXPECT_EQ(array.GetItemCount(), 0u);
    EXPECT_EQ(array.capacity(), 0u);
    EXPECT_TRUE(array.empty());
    EXPECT_EQ(array.begin(), nullptr);
    EXPECT_EQ(array.end(), nullptr);
}

TEST(VaxoVector, SizesAreUnsignedAndStatusesSigned32BitNumbers) {
    Ints array;
    static_assert(std::is_same<decltype(array.size()), uint32>::value);
    static_assert(std::is_same<decltype(array.capacity()), uint32>::value);
    static_assert(std::is_same<decltype(array.Add(1)), int32>::value);
    static_assert(std::is_same<decltype(array.erase(0, 0)), int32>::value);
    static_assert(!std::is_convertible<uint32, Ints>::value, "a number is not an array");
    static_assert(!std::is_convertible<int*, Ints::iterator>::value, "nor a pointer an iterator");
    EXPECT_EQ(sizeof(array), 2 * sizeof(uint32) + sizeof(int*));
}

TEST(VaxoVector, TheNinthAddGrowsTheStorageTo16AndTheSeventeenthTo32) {
    Ints array;
    for (int value = 1; value <= 33; ++value) {
        ASSERT_EQ(array.Add(value), 0);
        const uint32 expected = value <= 8 ? 8 : value <= 16 ? 16 : value <= 32 ? 32 : 64;
        ASSERT_EQ(array.capacity(), expected) << "after " << value;
        ASSERT_EQ(array.size(), static_cast<uint32>(value));
    }
    EXPECT_EQ(Values(array), Values(UpTo(33)));
}

TEST(VaxoVector, ReserveOnAnEmptyArrayAllocatesEightSlotsOrMoreIfAskedFor) {
    Ints five;
    EXPECT_EQ(five.reserve(5), 0);
    EXPECT_EQ(five.capacity(), 8u);
    Ints eight;
    EXPECT_EQ(eight.reserve(8), 0);
    EXPECT_EQ(eight.capacity(), 8u);
    Ints twenty;
    EXPECT_EQ(twenty.reserve(20), 0);
    EXPECT_EQ(twenty.capacity(), 20u);
    Ints none;
    EXPECT_EQ(none.reserve(0), 0);
    EXPECT_EQ(none.capacity(), 0u);
}

TEST(VaxoVector, ReserveDoublesOrGoesExactlyToWhatIsMoreThanDouble) {
    Ints doubled = UpTo(3);
    EXPECT_EQ(doubled.reserve(9), 0);
    EXPECT_EQ(doubled.capacity(), 16u);
    Ints exact = UpTo(3);
    EXPECT_EQ(exact.reserve(17), 0);
    EXPECT_EQ(exact.capacity(), 17u);
    EXPECT_EQ(exact.reserve(18), 0);
    EXPECT_EQ(exact.capacity(), 34u);
    EXPECT_EQ(Values(exact), Values(UpTo(3)));
}

TEST(VaxoVector, ReserveKeepsTheStorageWhenThereIsRoom) {
    Ints array = UpTo(8);
    const int* const storage = array.GetFirstItem();
    EXPECT_EQ(array.reserve(8), 0);
    EXPECT_EQ(array.reserve(0), 0);
    EXPECT_EQ(array.capacity(), 8u);
    EXPECT_EQ(array.GetFirstItem(), storage);
}

TEST_F(VaxoVectorElements, GrowthCopiesEachElementThenDestroysTheOldOneInIndexOrder) {
    Items array;
    Fill(array, 3);
    TracedItem::StartRecording();
    array.reserve(9);
    EXPECT_EQ(TracedItem::StopRecording(),
              Events({"copy 1", "destroy 1", "copy 2", "destroy 2", "copy 3", "destroy 3"}));
    EXPECT_EQ(TracedItem::State().live, 3);
}

TEST_F(VaxoVectorElements, AddCopiesTheItemAfterTheGrowth) {
    Items array;
    Fill(array, 8);
    const TracedItem item(9);
    TracedItem::StartRecording();
    EXPECT_EQ(array.Add(item), 0);
    const Events events = TracedItem::StopRecording();
    ASSERT_EQ(events.size(), 17u);
    EXPECT_EQ(events[0], "copy 1");
    EXPECT_EQ(events[15], "destroy 8");
    EXPECT_EQ(events[16], "copy 9");
}

TEST_F(VaxoVectorElements, AnElementOfTheArrayCanBeAddedAlsoWhenTheStorageMoves) {
    Items array;
    Fill(array, 7);
    EXPECT_EQ(array.Add(array[2]), 0);        // within the storage
    EXPECT_EQ(array.push_back(array[0]), 0);  // into new storage
    EXPECT_EQ(Values(array), std::vector<int>({1, 2, 3, 4, 5, 6, 7, 3, 1}));
    EXPECT_EQ(array.capacity(), 16u);
}

TEST(VaxoVector, PushBackAppendsAndGrowsLikeAdd) {
    Ints array;
    for (int value = 1; value <= 9; ++value) {
        ASSERT_EQ(array.push_back(value), 0);
    }
    EXPECT_EQ(Values(array), Values(UpTo(9)));
    EXPECT_EQ(array.capacity(), 16u);
}

TEST(VaxoVector, ConstructingWithACapacityReservesIt) {
    EXPECT_EQ(Ints(0u).capacity(), 0u);
    EXPECT_EQ(Ints(5u).capacity(), 8u);
    EXPECT_EQ(Ints(20u).capacity(), 20u);
    EXPECT_TRUE(Ints(20u).empty());
}

TEST(VaxoVector, ConstructingWithACountAndAValueFillsTheArray) {
    EXPECT_EQ(Values(Ints(3, 7)), std::vector<int>({7, 7, 7}));
    EXPECT_EQ(Ints(3, 7).capacity(), 8u);
    EXPECT_EQ(Ints(20, 7).capacity(), 20u);
    EXPECT_TRUE(Ints(0, 7).empty());
}

TEST(VaxoVector, ConstructingFromAPointerCopiesTheElements) {
    const int items[] = {4, 5, 6};
    EXPECT_EQ(Values(Ints(items, 3)), std::vector<int>({4, 5, 6}));
    EXPECT_EQ(Values(Ints(items, 2)), std::vector<int>({4, 5}));
    EXPECT_TRUE(Ints(items, 0).empty());
}

TEST(VaxoVector, ConstructingFromANullPointerGivesAnEmptyArray) {
    const Ints array(nullptr, 3);
    EXPECT_TRUE(array.empty());
    EXPECT_EQ(array.capacity(), 0u);
}

TEST(VaxoVector, ACopyHasElementsOfItsOwn) {
    const Ints array = UpTo(3);
    Ints copy(array);
    copy[0] = 9;
    EXPECT_EQ(Values(copy), std::vector<int>({9, 2, 3}));
    EXPECT_EQ(Values(array), Values(UpTo(3)));
}

TEST_F(VaxoVectorElements, AssignmentDestroysTheOldElementsThenCopiesIntoTheSameStorage) {
    Items array;
    Fill(array, 2);
    const TracedItem* const storage = array.GetFirstItem();
    const TracedItem items[] = {TracedItem(7), TracedItem(8), TracedItem(9)};
    const Items other(items, 3);
    TracedItem::StartRecording();
    EXPECT_EQ(&(array = other), &array);
    EXPECT_EQ(TracedItem::StopRecording(),
              Events({"destroy 1", "destroy 2", "copy 7", "copy 8", "copy 9"}));
    EXPECT_EQ(array.GetFirstItem(), storage);
    EXPECT_EQ(Values(other), std::vector<int>({7, 8, 9}));
}

TEST(VaxoVector, AssignmentGrowsByTheGrowthRuleAndNeverShrinks) {
    Ints array = UpTo(1);
    array = UpTo(9);
    EXPECT_EQ(Values(array), Values(UpTo(9)));
    EXPECT_EQ(array.capacity(), 16u);
    array = Ints();
    EXPECT_TRUE(array.empty());
    EXPECT_EQ(array.capacity(), 16u);
}

TEST_F(VaxoVectorElements, AssigningAnArrayToItselfDoesNothing) {
    Items array;
    Fill(array, 3);
    const Items& same = array;
    TracedItem::StartRecording();
    array = same;
    EXPECT_EQ(TracedItem::StopRecording(), Events());
    EXPECT_EQ(Values(array), std::vector<int>({1, 2, 3}));
}

TEST_F(VaxoVectorElements, ClearDestroysInIndexOrderAndKeepsTheStorageForTheNextAdd) {
    Items array;
    Fill(array, 3);
    const TracedItem* const storage = array.GetFirstItem();
    TracedItem::StartRecording();
    array.clear();
    EXPECT_EQ(TracedItem::StopRecording(), Events({"destroy 1", "destroy 2", "destroy 3"}));
    EXPECT_EQ(array.size(), 0u);
    EXPECT_EQ(array.capacity(), 8u);
    EXPECT_EQ(array.begin(), Items::iterator());
    EXPECT_EQ(array.end(), Items::iterator());
    const Items& constant = array;
    EXPECT_EQ(constant.begin(), nullptr);
    EXPECT_EQ(constant.end(), nullptr);
    Fill(array, 1);
    EXPECT_EQ(array.GetFirstItem(), storage);
    EXPECT_EQ(array.capacity(), 8u);
}

TEST_F(VaxoVectorElements, TheDestructorDestroysInIndexOrder) {
    {
        Items array;
        Fill(array, 2);
        TracedItem::StartRecording();
    }
    EXPECT_EQ(TracedItem::StopRecording(), Events({"destroy 1", "destroy 2"}));
}

TEST(VaxoVector, SwapExchangesElementsAndStorage) {
    Ints left = UpTo(3);
    Ints right = UpTo(9);
    int* const leftStorage = left.GetFirstItem();
    int* const rightStorage = right.GetFirstItem();
    left.swap(right);
    EXPECT_EQ(Values(left), Values(UpTo(9)));
    EXPECT_EQ(Values(right), Values(UpTo(3)));
    EXPECT_EQ(left.capacity(), 16u);
    EXPECT_EQ(right.capacity(), 8u);
    EXPECT_EQ(left.GetFirstItem(), rightStorage);
    EXPECT_EQ(right.GetFirstItem(), leftStorage);
}

TEST(VaxoVector, ArraysAreEqualWhenTheirElementsAreWhateverTheirStorage) {
    Ints array = UpTo(3);
    const Ints same = UpTo(3);
    array.reserve(100);
    EXPECT_TRUE(array == same);
    EXPECT_FALSE(array != same);
    array[2] = 4;
    EXPECT_FALSE(array == same);
    EXPECT_TRUE(array != same);
    EXPECT_FALSE(UpTo(2) == same);
    EXPECT_FALSE(UpTo(4) == same);
    const Ints bare;
    const Ints reserved(9u);
    EXPECT_TRUE(bare == reserved);
}

TEST(VaxoVector, ContainsFindsAnEqualElement) {
    const Ints array = UpTo(3);
    EXPECT_TRUE(array.contains(1));
    EXPECT_TRUE(array.contains(3));
    EXPECT_FALSE(array.contains(4));
    EXPECT_FALSE(Ints(9u).contains(0));
}

TEST(VaxoVector, ElementsAreReachedByIndexAndAtBothEnds) {
    Ints array = UpTo(3);
    array[1] = 20;
    array.front() = 10;
    array.back() = 30;
    const Ints& constant = array;
    EXPECT_EQ(constant[0], 10);
    EXPECT_EQ(constant[1], 20);
    EXPECT_EQ(constant[2], 30);
    EXPECT_EQ(constant.front(), 10);
    EXPECT_EQ(constant.back(), 30);
    EXPECT_EQ(&constant[2], &constant[0] + 2);
}

TEST(VaxoVector, GetItemAnswersNullPastTheEnd) {
    Ints array = UpTo(3);
    const Ints& constant = array;
    EXPECT_EQ(array.GetItem(0), &array[0]);
    EXPECT_EQ(constant.GetItem(2), &array[2]);
    EXPECT_EQ(array.GetItem(3), nullptr);  // a slot, but no element
    EXPECT_EQ(constant.GetItem(0xFFFFFFFFu), nullptr);
    EXPECT_EQ(array.GetFirstItem(), &array[0]);
    EXPECT_EQ(constant.GetFirstItem(), &array[0]);
    EXPECT_EQ(array.GetLastItem(), &array[2]);
    EXPECT_EQ(constant.GetLastItem(), &array[2]);
}

TEST(VaxoVector, AnEmptyArrayHasNoFirstAndNoLastItem) {
    Ints array(8u);
    const Ints& constant = array;
    EXPECT_EQ(array.GetItem(0), nullptr);
    EXPECT_EQ(array.GetFirstItem(), nullptr);
    EXPECT_EQ(array.GetLastItem(), nullptr);
    EXPECT_EQ(constant.GetItem(0), nullptr);
    EXPECT_EQ(constant.GetFirstItem(), nullptr);
    EXPECT_EQ(constant.GetLastItem(), nullptr);
}

#ifndef NDEBUG
TEST(VaxoVectorDeathTest, ADebugBuildRefusesAnIndexOutside) {
    Ints array = UpTo(3);
    Ints empty(8u);
    EXPECT_DEATH(array[3] = 0, "");
    EXPECT_DEATH(empty.front() = 0, "");
    EXPECT_DEATH(empty.back() = 0, "");
}
#endif
