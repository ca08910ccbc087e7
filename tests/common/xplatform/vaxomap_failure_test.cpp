// vaxostl::map: what it looks like after a node could not be made, or a comparison failed.
//
// A node's memory and its copies of the key and the value come from one new-expression, so
// that the map cannot tell which of them failed. The tests let a copy fail: replacing the
// program's allocation functions would put the sanitizers' own out of action.

#include <new>
#include <vector>

#include <gtest/gtest.h>

#include "vaxomap.h"

namespace {

// A key that throws std::bad_alloc when it is copied more often than it may be, or
// compared while it must not be. Knows how many of its instances live.
class Rationed {
public:
    explicit Rationed(int number) : m_iNumber(number) { ++s_iLiving; }
    Rationed(const Rationed& other) : m_iNumber(other.m_iNumber) {
        if (s_iCopiesLeft == 0) {
            throw std::bad_alloc();
        }
        --s_iCopiesLeft;
        ++s_iLiving;
    }
    Rationed& operator=(const Rationed&) = delete;
    ~Rationed() { --s_iLiving; }

    bool operator<(const Rationed& other) const {
        if (!s_bComparable) {
            throw std::bad_alloc();
        }
        return m_iNumber < other.m_iNumber;
    }

    int Number() const { return m_iNumber; }

    static inline int s_iLiving = 0;
    static inline int s_iCopiesLeft = -1;  // below zero: any number
    static inline bool s_bComparable = true;

private:
    int m_iNumber;
};

typedef vaxostl::map<Rationed, int> RationedMap;

// Whether the call ran out of memory, given that many more copies of keys.
template <class Call>
bool RunsOut(int copies, Call call) {
    Rationed::s_iCopiesLeft = copies;
    bool ranOut = false;
    try {
        call();
    } catch (const std::bad_alloc&) {
        ranOut = true;
    }
    Rationed::s_iCopiesLeft = -1;
    return ranOut;
}

void Fill(RationedMap& map) {
    for (const int number : {4, 2, 6, 1, 3, 5, 7}) {
        map.insert(Rationed(number), number * 10);
    }
}

// Parent first, each key with its colour, in one list.
std::vector<int> ShapeOf(const RationedMap& map) {
    std::vector<int> keys;
    for (RationedMap::ParentFirstiterator it = map.getParentFirstiterator(); !it.atEnd(); it++) {
        keys.push_back(it->isRed() ? -it->first.Number() : it->first.Number());
    }
    return keys;
}

std::vector<int> NumbersOf(const RationedMap& map) {
    std::vector<int> keys;
    for (const RationedMap::Node& entry : map) {
        keys.push_back(entry.first.Number());
    }
    return keys;
}

}  // namespace

class VaxoMapFailure : public ::testing::Test {
protected:
    void SetUp() override { Fill(m_map); }
    void TearDown() override {
        m_map.clear();
        EXPECT_EQ(Rationed::s_iLiving, 0);
    }

    // Seven nodes as they were, values too, and a map that still works.
    void ExpectUnchanged() {
        EXPECT_EQ(m_map.size(), 7U);
        EXPECT_EQ(Rationed::s_iLiving, 7);
        EXPECT_EQ(ShapeOf(m_map), (std::vector<int>{4, 2, -1, -3, 6, -5, -7}));
        for (const RationedMap::Node& entry : m_map) {
            EXPECT_EQ(entry.second, entry.first.Number() * 10);
        }
        EXPECT_TRUE(m_map.insert(Rationed(8), 80));
        EXPECT_EQ(NumbersOf(m_map), (std::vector<int>{1, 2, 3, 4, 5, 6, 7, 8}));
    }

    RationedMap m_map;
};

TEST_F(VaxoMapFailure, AnInsertionThatRunsOutOfMemoryLeavesTheMapUnchanged) {
    EXPECT_TRUE(RunsOut(0, [this] { m_map.insert(Rationed(8), 1); }));
    ExpectUnchanged();
}

TEST_F(VaxoMapFailure, AnInsertionOfAPairThatRunsOutOfMemoryLeavesTheMapUnchanged) {
    {
        const RationedMap::value_type entry(Rationed(8), 1);
        EXPECT_TRUE(RunsOut(0, [this, &entry] { m_map.insert(entry); }));
    }
    ExpectUnchanged();
}

TEST_F(VaxoMapFailure, SettingThatRunsOutOfMemoryLeavesTheMapUnchanged) {
    EXPECT_TRUE(RunsOut(0, [this] { m_map.set(Rationed(8), 1); }));
    ExpectUnchanged();
}

TEST_F(VaxoMapFailure, ASubscriptThatRunsOutOfMemoryLeavesTheMapUnchanged) {
    EXPECT_TRUE(RunsOut(0, [this] { m_map[Rationed(8)] = 1; }));
    ExpectUnchanged();
}

TEST_F(VaxoMapFailure, AFailedComparisonFreesTheNewNode) {
    Rationed::s_bComparable = false;
    EXPECT_TRUE(RunsOut(-1, [this] { m_map.insert(Rationed(8), 1); }));
    Rationed::s_bComparable = true;
    ExpectUnchanged();
}

TEST_F(VaxoMapFailure, InsertionMakesTheNodeBeforeItSearches) {
    // The key is present, and still there must be memory for a node.
    EXPECT_TRUE(RunsOut(0, [this] { m_map.insert(Rationed(4), 1); }));
    EXPECT_FALSE(RunsOut(1, [this] { m_map.insert(Rationed(4), 1); }));
    ExpectUnchanged();
}

TEST_F(VaxoMapFailure, NothingButAnInsertionMakesANode) {
    int sum = 0;
    EXPECT_FALSE(RunsOut(0, [this, &sum] {
        m_map.set(Rationed(4), 1);
        m_map[Rationed(5)] = 2;
        const RationedMap::iterator end = m_map.upper_bound(Rationed(6));
        for (RationedMap::iterator it = m_map.lower_bound(Rationed(2)); it != end; ++it) {
            sum += it->second;
        }
        m_map.erase(Rationed(4));
        m_map.erase(m_map.find(Rationed(2)));
    }));
    EXPECT_EQ(sum, 20 + 30 + 1 + 2 + 60);
    EXPECT_EQ(NumbersOf(m_map), (std::vector<int>{1, 3, 5, 6, 7}));
}

TEST_F(VaxoMapFailure, AFailedFirstInsertionLeavesTheMapEmpty) {
    RationedMap map;
    EXPECT_TRUE(RunsOut(0, [&map] { map.insert(Rationed(1), 1); }));
    EXPECT_TRUE(map.empty());
    EXPECT_EQ(map.size(), 0U);
    EXPECT_TRUE(map.begin().atEnd());
}

TEST_F(VaxoMapFailure, AFailedAssignmentKeepsWhatItHasCopied) {
    RationedMap target;
    target.insert(Rationed(100), 1);
    EXPECT_TRUE(RunsOut(3, [this, &target] { target = m_map; }));
    EXPECT_EQ(NumbersOf(target), (std::vector<int>{1, 2, 3}));
    EXPECT_EQ(target.size(), 3U);
    target.clear();
    ExpectUnchanged();
}

TEST_F(VaxoMapFailure, AFailedCopyLeaksNothing) {
    int copied = 0;
    EXPECT_TRUE(RunsOut(3, [this, &copied] {
        const RationedMap copy(m_map);
        copied = static_cast<int>(copy.size());
    }));
    EXPECT_EQ(copied, 0);
    ExpectUnchanged();
}
