// What the tests of vaxostl::vector share: arrays of numbers and of traced items,
// and a fixture that finds lost and surplus elements.
#ifndef VAXO_VECTORFIXTURE_H
#define VAXO_VECTORFIXTURE_H

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "support/TracedItem.h"
#include "vaxovector.h"

typedef vaxostl::vector<int> Ints;
typedef vaxostl::vector<TracedItem> Items;
typedef std::vector<std::string> Events;

// 1, 2, ... count
inline Ints UpTo(int count) {
    Ints array;
    for (int value = 1; value <= count; ++value) {
        array.Add(value);
    }
    return array;
}

// Appends 1, 2, ... count.
inline void Fill(Items& array, int count) {
    for (int value = 1; value <= count; ++value) {
        array.Add(TracedItem(value));
    }
}

inline std::vector<int> Values(const Ints& array) {
    return {array.begin(), array.end()};
}

inline std::vector<int> Values(const Items& array) {
    std::vector<int> values;
    for (const TracedItem& item : array) {
        values.push_back(item.Value());
    }
    return values;
}

class VectorOfItems : public testing::Test {
protected:
    void SetUp() override { TracedItem::Reset(); }
    void TearDown() override {
        EXPECT_EQ(TracedItem::State().live, 0);
        EXPECT_EQ(TracedItem::State().misuses, 0);
    }
};

#endif
