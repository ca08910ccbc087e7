// Arrays of elements whose moves nobody can tell from copies: erasing at the front.
#include <algorithm>
#include <cstddef>
#include <memory>
#include <random>
#include <vector>

#include <gtest/gtest.h>

#include "vaxovector.h"

namespace {

using Shared = std::shared_ptr<int>;
using Array = vaxostl::vector<Shared>;

Array Numbers(int count) {
    Array array;
    for (int i = 0; i < count; ++i) {
        array.Add(std::make_shared<int>(i));
    }
    return array;
}

std::vector<int> Values(const Array& array) {
    std::vector<int> values;
    for (const Shared& item : array) {
        values.push_back(*item);
    }
    return values;
}

TEST(VaxoVectorLead, ErasingAtTheFrontLeavesTheOthersWhereTheyAre) {
    Array array = Numbers(5);
    const Shared* const third = &array[2];
    EXPECT_EQ(array.erase(0, 1), 0);
    EXPECT_EQ(&array.front(), third);
    EXPECT_EQ(Values(array), (std::vector<int>{2, 3, 4}));
    EXPECT_EQ(array.capacity(), 8U);
}

TEST(VaxoVectorLead, TheSlotsInFrontAreUsedBeforeTheStorageGrows) {
    Array array = Numbers(8);
    EXPECT_EQ(array.erase(0, 2), 0);
    for (int i = 8; i < 11; ++i) {
        EXPECT_EQ(array.Add(std::make_shared<int>(i)), 0);
    }
    EXPECT_EQ(array.capacity(), 8U);
    EXPECT_EQ(Values(array), (std::vector<int>{3, 4, 5, 6, 7, 8, 9, 10}));
    array.Add(std::make_shared<int>(11));
    EXPECT_EQ(array.capacity(), 16U);
    EXPECT_EQ(array.size(), 9U);
}

TEST(VaxoVectorLead, AnErasedElementGoesAtOnceAndNoOtherIsShared) {
    Array array = Numbers(3);
    const std::weak_ptr<int> first = array[0];
    array.erase(array.begin());
    EXPECT_TRUE(first.expired());
    array.erase(array.begin() + 1);
    ASSERT_EQ(array.size(), 1U);
    EXPECT_EQ(array[0].use_count(), 1);
}

TEST(VaxoVectorLead, WhoErasesTheLastElementFindsAnEmptyArrayWithItsStorage) {
    Array array = Numbers(2);
    const Array::iterator second = array.erase(array.begin());
    EXPECT_TRUE(second == array.begin());
    const Array::iterator none = array.erase(second);
    EXPECT_TRUE(none == Array::iterator());
    EXPECT_TRUE(array.begin() == Array::iterator());
    EXPECT_EQ(array.capacity(), 8U);
}

TEST(VaxoVectorLead, AnElementOfTheArrayIsAddedWholeWhereTheOthersMoveToTheFront) {
    Array array = Numbers(8);
    array.erase(array.begin());
    array.Add(array[3]);
    EXPECT_EQ(Values(array), (std::vector<int>{1, 2, 3, 4, 5, 6, 7, 4}));
}

// Everything that an array can do, beside the standard library's.
TEST(VaxoVectorLead, ItHoldsWhatTheStandardsHoldsWhateverIsDone) {
    for (unsigned seed = 1; seed <= 20; ++seed) {
        SCOPED_TRACE(seed);
        std::mt19937 lot(seed);
        const auto below = [&lot](std::size_t limit) {
            return static_cast<unsigned>(lot() % limit);
        };
        Array array;
        std::vector<Shared> other;
        for (int step = 0; step < 2000; ++step) {
            const auto item = std::make_shared<int>(step);
            const unsigned at = below(other.size() + 1);
            switch (below(other.size() > 40 ? 6 : 12)) {
                case 0:
                case 1:
                case 2:
                    if (!other.empty()) {
                        const unsigned last = below(std::min<std::size_t>(other.size(), 3));
                        ASSERT_EQ(array.erase(0, last), 0);
                        other.erase(other.begin(), other.begin() + last + 1);
                    }
                    break;
                case 3:
                    if (at < other.size()) {
                        array.erase(array.begin() + at);
                        other.erase(other.begin() + at);
                    }
                    break;
                case 4:
                    array.Resize(at);
                    other.resize(at);
                    break;
                case 5: {
                    Array copy;
                    copy.swap(array);
                    array = copy;
                    break;
                }
                case 6:
                    ASSERT_EQ(array.insert(array.begin() + at, item, 2), 0);
                    other.insert(other.begin() + at, 2, item);
                    break;
                default:
                    ASSERT_EQ(array.Add(item), 0);
                    other.push_back(item);
                    break;
            }
            const Array& seen = array;
            ASSERT_EQ(std::vector<Shared>(seen.begin(), seen.end()), other);
        }
    }
}

}  // namespace
