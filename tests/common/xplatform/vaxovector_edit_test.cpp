// vaxostl::vector: insertion, erasure and resizing, its iterators, raw storage, and
// what an element type need not have.
#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <utility>
#include <vector>

#include "common/xplatform/VectorFixture.h"
#include "support/TracedItem.h"
#include "vaxovector.h"

namespace {

typedef VectorOfItems VaxoVectorEdit;

// Copyable, and nothing else.
struct Plain {
    explicit Plain(int number) : value(number) {}
    Plain(const Plain&) = default;
    Plain& operator=(const Plain&) = delete;
    ~Plain() = default;
    int value;
};

struct alignas(128) OverAligned {
    int value;
};

// An element type that is incomplete where the array is named.
struct Tree {
    vaxostl::vector<Tree> children;
    int value = 0;
};

// An element that takes anything in its constructor and assignment; a copy must be
// made through the copy operations all the same.
struct Greedy {
    Greedy() = default;
    Greedy(const Greedy&) = default;
    Greedy& operator=(const Greedy&) = default;
    ~Greedy() = default;
    template <class U>
    explicit Greedy(U& /*other*/) : taken(true) {}
    template <class U>
    Greedy& operator=(U& /*other*/) {
        taken = true;
        return *this;
    }
    bool taken = false;
};

}  // namespace

TEST(VaxoVectorErase, ErasingTheOnlyElementGivesANullIterator) {
    Ints array = UpTo(1);
    EXPECT_EQ(array.erase(array.begin(), array.begin()), 0);
    EXPECT_TRUE(array.empty());
    EXPECT_EQ(array.capacity(), 8u);

    Ints other = UpTo(1);
    EXPECT_EQ(other.erase(other.begin()), Ints::iterator());
    EXPECT_TRUE(other.empty());
}

TEST(VaxoVectorErase, TheRangeIncludesBothEnds) {
    Ints array = UpTo(6);
    EXPECT_EQ(array.erase(array.begin() + 1, array.begin() + 3), 0);
    EXPECT_EQ(Values(array), std::vector<int>({1, 5, 6}));
    EXPECT_EQ(array.erase(array.begin() + 1, array.begin() + 1), 0);
    EXPECT_EQ(Values(array), std::vector<int>({1, 6}));
    EXPECT_EQ(array.erase(array.begin(), array.begin() + 1), 0);
    EXPECT_TRUE(array.empty());
}

TEST(VaxoVectorErase, TheIndexFormIncludesBothEnds) {
    Ints array = UpTo(6);
    EXPECT_EQ(array.erase(3, 5), 0);
    EXPECT_EQ(Values(array), std::vector<int>({1, 2, 3}));
    EXPECT_EQ(array.erase(0, 0), 0);
    EXPECT_EQ(Values(array), std::vector<int>({2, 3}));
}

TEST_F(VaxoVectorEdit, ErasureAssignsTheFollowersThenDestroysTheTail) {
    Items array;
    Fill(array, 5);
    TracedItem::StartRecording();
    EXPECT_EQ(array.erase(1, 2), 0);
    EXPECT_EQ(TracedItem::StopRecording(),
              Events({"assign 4 to 2", "assign 5 to 3", "destroy 4", "destroy 5"}));
    EXPECT_EQ(Values(array), std::vector<int>({1, 4, 5}));
}

TEST(VaxoVectorErase, ARangeThatIsNotInTheArrayIsRefused) {
    Ints array = UpTo(3);
    Ints other = UpTo(3);
    EXPECT_EQ(array.erase(array.begin() + 1, array.begin()), -1);
    EXPECT_EQ(array.erase(array.begin(), array.end()), -1);
    EXPECT_EQ(array.erase(array.end(), array.end()), -1);
    EXPECT_EQ(array.erase(Ints::iterator(), array.begin()), -1);
    EXPECT_EQ(array.erase(array.begin(), Ints::iterator()), -1);
    EXPECT_EQ(array.erase(Ints::iterator(), Ints::iterator()), -1);
    EXPECT_EQ(array.erase(other.begin(), other.begin()), -1);
    EXPECT_EQ(array.erase(1, 0), -1);
    EXPECT_EQ(array.erase(0, 3), -1);
    EXPECT_EQ(array.erase(3, 3), -1);
    EXPECT_EQ(array.erase(0, 0xFFFFFFFFu), -1);
    EXPECT_EQ(array.erase(0xFFFFFFFFu, 0xFFFFFFFFu), -1);
    EXPECT_EQ(Values(array), Values(UpTo(3)));
}

TEST(VaxoVectorErase, NothingCanBeErasedFromAnEmptyArray) {
    Ints bare;
    EXPECT_EQ(bare.erase(bare.begin(), bare.begin()), -1);
    EXPECT_EQ(bare.erase(0, 0), -1);
    EXPECT_EQ(bare.erase(bare.begin()), Ints::iterator());
    Ints cleared = UpTo(3);
    const Ints::iterator former = cleared.begin();
    cleared.clear();
    EXPECT_EQ(cleared.erase(former), Ints::iterator());
    EXPECT_EQ(cleared.erase(former, former), -1);
}

TEST(VaxoVectorErase, ErasingOneElementAnswersThePositionOfItsFollower) {
    Ints array = UpTo(3);
    Ints::iterator next = array.erase(array.begin() + 1);
    EXPECT_EQ(next, array.begin() + 1);
    EXPECT_EQ(*next, 3);
    next = array.erase(next);
    EXPECT_EQ(next, array.end());
    EXPECT_EQ(Values(array), std::vector<int>({1}));
}

TEST(VaxoVectorErase, AFailedErasureOfOneElementAnswersTheEnd) {
    Ints array = UpTo(3);
    EXPECT_EQ(array.erase(array.end()), array.end());
    EXPECT_EQ(array.erase(Ints::iterator()), array.end());
    EXPECT_EQ(array.size(), 3u);
}

TEST(VaxoVectorErase, ALoopCanEraseAsItGoes) {
    Ints array = UpTo(9);
    for (Ints::iterator it = array.begin(); it != array.end();) {
        if (*it % 2 == 0 || *it == 9) {
            it = array.erase(it);
        } else {
            ++it;
        }
    }
    EXPECT_EQ(Values(array), std::vector<int>({1, 3, 5, 7}));
}

TEST(VaxoVectorInsert, CopiesGoBeforeThePosition) {
    Ints array = UpTo(3);
    EXPECT_EQ(array.insert(array.begin() + 1, 9, 2), 0);
    EXPECT_EQ(Values(array), std::vector<int>({1, 9, 9, 2, 3}));
    EXPECT_EQ(array.insert(array.begin(), 8, 1), 0);
    EXPECT_EQ(Values(array), std::vector<int>({8, 1, 9, 9, 2, 3}));
    EXPECT_EQ(array.insert(array.begin() + 5, 7, 3), 0);
    EXPECT_EQ(Values(array), std::vector<int>({8, 1, 9, 9, 2, 7, 7, 7, 3}));
    EXPECT_EQ(array.capacity(), 16u);
}

TEST(VaxoVectorInsert, ANullPositionAndTheEndAppend) {
    Ints array;
    EXPECT_EQ(array.insert(array.begin(), 1, 2), 0);
    EXPECT_EQ(array.insert(array.end(), 2, 1), 0);
    EXPECT_EQ(array.insert(Ints::iterator(), 3, 1), 0);
    EXPECT_EQ(Values(array), std::vector<int>({1, 1, 2, 3}));
}

TEST(VaxoVectorInsert, APositionOutsideIsRefused) {
    Ints array = UpTo(3);
    Ints other = UpTo(3);
    EXPECT_EQ(array.insert(other.begin(), 9, 1), -1);
    EXPECT_EQ(array.insert(array.end() + 1, 9, 1), -1);
    EXPECT_EQ(array.insert(other.begin(), 9, 0), -1);
    EXPECT_EQ(Values(array), Values(UpTo(3)));
}

TEST(VaxoVectorInsert, NoCopiesChangeNothing) {
    Ints array = UpTo(3);
    EXPECT_EQ(array.insert(array.begin() + 1, 9, 0), 0);
    EXPECT_EQ(Values(array), Values(UpTo(3)));
    Ints empty;
    EXPECT_EQ(empty.insert(empty.begin(), 9, 0), 0);
    EXPECT_EQ(empty.capacity(), 0u);
}

TEST_F(VaxoVectorEdit, AnElementOfTheArrayCanBeInsertedAnywhereInIt) {
    for (const uint32 size : {5u, 7u, 8u}) {  // with room for both copies, for one, for none
        for (uint32 from = 0; from < size; ++from) {
            for (uint32 at = 0; at <= size; ++at) {
                Items array;
                Fill(array, static_cast<int>(size));
                std::vector<int> expected = Values(array);
                expected.insert(expected.begin() + static_cast<std::ptrdiff_t>(at), 2,
                                static_cast<int>(from) + 1);
                ASSERT_EQ(array.insert(array.begin() + at, array[from], 2), 0);
                ASSERT_EQ(Values(array), expected) << size << ' ' << from << ' ' << at;
            }
        }
    }
}

TEST_F(VaxoVectorEdit, ResizingGrowsWithTheValueOrCutsTheTail) {
    Items array;
    Fill(array, 2);
    EXPECT_EQ(array.Resize(4, TracedItem(9)), 0);
    EXPECT_EQ(Values(array), std::vector<int>({1, 2, 9, 9}));
    TracedItem::StartRecording();
    EXPECT_EQ(array.Resize(2), 0);
    EXPECT_EQ(TracedItem::StopRecording(), Events({"destroy 9", "destroy 9"}));
    EXPECT_EQ(array.Resize(1, array[1]), 0);
    EXPECT_EQ(Values(array), std::vector<int>({1}));
    EXPECT_EQ(array.Resize(1), 0);
    EXPECT_EQ(array.Resize(0, array[0]), 0);
    EXPECT_TRUE(array.empty());
    EXPECT_EQ(array.capacity(), 8u);
}

TEST_F(VaxoVectorEdit, ResizingWithAnElementOfTheArraySurvivesTheGrowth) {
    Items array;
    Fill(array, 3);
    EXPECT_EQ(array.Resize(20, array[2]), 0);
    EXPECT_EQ(array.capacity(), 20u);
    ASSERT_EQ(array.size(), 20u);
    EXPECT_EQ(array[2].Value(), 3);
    EXPECT_EQ(array[3].Value(), 3);
    EXPECT_EQ(array[19].Value(), 3);
}

TEST(VaxoVectorResize, NewElementsAreValueInitialised) {
    Ints array(8, 0x55555555);  // leaves a pattern in the storage
    array.clear();
    EXPECT_EQ(array.Resize(8), 0);
    EXPECT_EQ(Values(array), std::vector<int>(8, 0));
    vaxostl::vector<std::shared_ptr<int>> pointers;
    EXPECT_EQ(pointers.Resize(2), 0);
    EXPECT_EQ(pointers[1], nullptr);
}

TEST(VaxoVectorIterator, ANullIteratorStaysNullHoweverItIsStepped) {
    const Ints::iterator null;
    Ints::iterator it;
    EXPECT_EQ(++it, null);
    EXPECT_EQ(it++, null);
    EXPECT_EQ(it, null);
    EXPECT_EQ(--it, null);
    EXPECT_EQ(it--, null);
    EXPECT_EQ(it, null);
    EXPECT_EQ(it + 5, null);
    EXPECT_EQ(it, Ints().begin());
}

TEST(VaxoVectorIterator, StepsGoFromSlotToSlot) {
    Ints array = UpTo(3);
    Ints::iterator it(array.GetFirstItem());
    EXPECT_EQ(it, array.begin());
    EXPECT_EQ(*++it, 2);
    EXPECT_EQ(*it++, 2);
    EXPECT_EQ(*it, 3);
    EXPECT_EQ(*--it, 2);
    EXPECT_EQ(*it--, 2);
    EXPECT_EQ(*it, 1);
    EXPECT_EQ(*(it + 2), 3);
    EXPECT_EQ(it + 3, array.end());
    EXPECT_EQ(*it, 1);  // operator+ leaves its operand alone
    EXPECT_EQ(*--array.end(), 3);
}

TEST(VaxoVectorIterator, IteratorsCompareAndSwap) {
    Ints array = UpTo(2);
    Ints::iterator first = array.begin();
    Ints::iterator second = array.begin() + 1;
    EXPECT_TRUE(first != second);
    EXPECT_FALSE(first == second);
    first.swap(second);
    EXPECT_EQ(*first, 2);
    EXPECT_EQ(*second, 1);
    EXPECT_EQ(sizeof(first), sizeof(int*));
}

TEST(VaxoVectorIterator, ElementsAreWrittenThroughIterators) {
    vaxostl::vector<std::pair<int, int>> array(2, std::pair<int, int>(1, 2));
    array.begin()->second = 5;
    *(array.begin() + 1) = std::pair<int, int>(7, 8);
    EXPECT_EQ(array[0].second, 5);
    EXPECT_EQ(array[1].first, 7);
}

TEST(VaxoVectorIterator, RangeForVisitsEveryElementInOrder) {
    Ints array = UpTo(3);
    for (int& value : array) {
        value *= 10;
    }
    EXPECT_EQ(Values(array), std::vector<int>({10, 20, 30}));
    int visited = 0;
    for (const int value : Ints(8u)) {
        visited += value + 1;
    }
    EXPECT_EQ(visited, 0);
}

TEST(VaxoVectorStorage, AllocateFollowsTheGrowthRuleAndLeavesTheArrayAlone) {
    const Ints array = UpTo(3);
    uint32 capacity = 0;
    int* storage = array.Allocate(4, capacity);
    ASSERT_NE(storage, nullptr);
    EXPECT_EQ(capacity, 16u);
    storage[15] = 1;  // the last slot is there
    Ints::Deallocate(storage);
    storage = array.Allocate(17, capacity);
    EXPECT_EQ(capacity, 17u);
    Ints::Deallocate(storage);
    storage = Ints().Allocate(1, capacity);
    EXPECT_EQ(capacity, 8u);
    Ints::Deallocate(storage);
    Ints::Deallocate(nullptr);
    EXPECT_EQ(array.capacity(), 8u);
    EXPECT_EQ(Values(array), Values(UpTo(3)));
}

TEST(VaxoVectorTypes, AnElementNeedsNeitherADefaultConstructorNorAssignmentNorEquality) {
    vaxostl::vector<Plain> array(2, Plain(1));
    EXPECT_EQ(array.Add(Plain(2)), 0);
    EXPECT_EQ(array.insert(array.begin(), Plain(0), 7), 0);
    EXPECT_EQ(array.Resize(11, Plain(3)), 0);
    vaxostl::vector<Plain> copy(array);
    copy = array;
    copy.swap(array);
    EXPECT_EQ(copy.front().value, 0);
    EXPECT_EQ(copy.back().value, 3);
    copy.clear();
    EXPECT_TRUE(copy.empty());
}

TEST(VaxoVectorTypes, OverAlignedElementsAreAligned) {
    vaxostl::vector<OverAligned> array;
    for (int value = 0; value < 20; ++value) {
        ASSERT_EQ(array.Add(OverAligned{value}), 0);
    }
    for (const OverAligned& item : array) {
        EXPECT_EQ(reinterpret_cast<std::uintptr_t>(&item) % alignof(OverAligned), 0u);
    }
    EXPECT_EQ(array[19].value, 19);
}

TEST(VaxoVectorTypes, AnElementMayHoldAnArrayOfItsOwnType) {
    Tree root;
    root.children.Resize(2);
    root.children[1].children.Resize(3);
    root.children[1].children[2].value = 7;
    const Tree copy(root);
    root.children.clear();
    EXPECT_EQ(copy.children[1].children[2].value, 7);
}

TEST(VaxoVectorTypes, CopiesAreMadeByTheCopyOperationsEvenIfOthersWouldTakeTheElement) {
    vaxostl::vector<Greedy> array;
    array.Resize(8);
    array.Add(array[0]);
    array.insert(array.begin(), array[8], 2);
    array.erase(0, 3);
    const vaxostl::vector<Greedy> copy(array);
    for (const Greedy& item : copy) {
        EXPECT_FALSE(item.taken);
    }
}
