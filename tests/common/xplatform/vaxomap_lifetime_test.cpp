// vaxostl::map: which entries live, and who frees what and when.

#include <memory>
#include <set>
#include <vector>

#include <gtest/gtest.h>

#include "support/PrivateAccess.h"
#include "vaxomap.h"

namespace {

// A number that knows which of its instances live. Two kinds: keys and values.
enum Kind { Kind_Key, Kind_Value };

template <Kind kind>
class Tracked {
public:
    Tracked() : Tracked(0) {}
    explicit Tracked(int number) : m_iNumber(number) { Born(); }
    Tracked(const Tracked& other) : m_iNumber(other.m_iNumber) {
        EXPECT_EQ(s_living.count(&other), 1U) << "copied from a dead instance";
        Born();
    }
    Tracked& operator=(const Tracked& other) {
        EXPECT_EQ(s_living.count(this), 1U) << "assigned to a dead instance";
        EXPECT_EQ(s_living.count(&other), 1U) << "assigned from a dead instance";
        m_iNumber = other.m_iNumber;
        return *this;
    }
    ~Tracked() {
        EXPECT_EQ(s_living.erase(this), 1U) << "destroyed twice";
        s_destroyed.push_back(m_iNumber);
    }

    bool operator<(const Tracked& other) const {
        EXPECT_EQ(s_living.count(this), 1U) << "a dead instance is compared";
        EXPECT_EQ(s_living.count(&other), 1U) << "a dead instance is compared";
        return m_iNumber < other.m_iNumber;
    }

    int Number() const { return m_iNumber; }

    static inline std::set<const Tracked*> s_living;
    static inline std::vector<int> s_destroyed;  // numbers, in the order of destruction

private:
    void Born() { EXPECT_TRUE(s_living.insert(this).second) << "made twice in one place"; }

    int m_iNumber;
};

typedef Tracked<Kind_Key> Key;
typedef Tracked<Kind_Value> Value;
typedef vaxostl::map<Key, Value> TrackedMap;

struct TrackedDelink {
    typedef TrackedMap::Node* (TrackedMap::*type)(const Key&);
};

TrackedMap TrackedMapOf(const std::vector<int>& keys) {
    TrackedMap map;
    for (const int key : keys) {
        map.insert(Key(key), Value(key * 10));
    }
    return map;
}

std::vector<int> ParentLastKeys(const TrackedMap& map) {
    std::vector<int> keys;
    for (TrackedMap::ParentLastiterator it = map.getParentLastiterator(); !it.atEnd(); it++) {
        keys.push_back(it->first.Number());
    }
    return keys;
}

const std::vector<int> kMixed = {8, 3, 10, 1, 6, 14, 4, 7, 13};

}  // namespace

template struct PrivateAccess<TrackedDelink, &TrackedMap::delink>;

class VaxoMapLifetime : public ::testing::Test {
protected:
    void SetUp() override {
        Key::s_destroyed.clear();
        Value::s_destroyed.clear();
    }
    void TearDown() override {
        EXPECT_TRUE(Key::s_living.empty());
        EXPECT_TRUE(Value::s_living.empty());
    }
};

TEST_F(VaxoMapLifetime, EveryEntryIsOneKeyAndOneValue) {
    const TrackedMap map = TrackedMapOf(kMixed);
    EXPECT_EQ(Key::s_living.size(), kMixed.size());
    EXPECT_EQ(Value::s_living.size(), kMixed.size());
}

TEST_F(VaxoMapLifetime, ARefusedInsertionFreesItsNode) {
    TrackedMap map = TrackedMapOf(kMixed);
    {
        const Key key(6);
        const Value value(1);
        EXPECT_FALSE(map.insert(key, value));
    }
    EXPECT_EQ(Key::s_living.size(), kMixed.size());
    EXPECT_EQ(map.find(Key(6))->second.Number(), 60);
}

TEST_F(VaxoMapLifetime, ErasingFreesTheOneNode) {
    TrackedMap map = TrackedMapOf(kMixed);
    for (const int key : kMixed) {
        const Key erased(key);
        Value::s_destroyed.clear();
        EXPECT_TRUE(map.erase(erased));
        EXPECT_EQ(Value::s_destroyed, std::vector<int>{key * 10});
        EXPECT_EQ(Value::s_living.size(), map.size());
        EXPECT_FALSE(map.erase(erased));
    }
}

TEST_F(VaxoMapLifetime, ErasingThroughAnIteratorReadsNoFreedKey) {
    TrackedMap map = TrackedMapOf(kMixed);
    while (!map.empty()) {
        EXPECT_TRUE(map.erase(map.begin()));
    }
}

TEST_F(VaxoMapLifetime, ClearFreesChildrenBeforeTheirParent) {
    TrackedMap map = TrackedMapOf(kMixed);
    const std::vector<int> order = ParentLastKeys(map);
    Key::s_destroyed.clear();
    map.clear();
    EXPECT_EQ(Key::s_destroyed, order);
    EXPECT_TRUE(Key::s_living.empty());
}

TEST_F(VaxoMapLifetime, TheDestructorFreesChildrenBeforeTheirParent) {
    std::vector<int> order;
    {
        const TrackedMap map = TrackedMapOf(kMixed);
        order = ParentLastKeys(map);
        Key::s_destroyed.clear();
    }
    EXPECT_EQ(Key::s_destroyed, order);
}

TEST_F(VaxoMapLifetime, ClearAfterErasuresFreesEveryNode) {
    TrackedMap map = TrackedMapOf(kMixed);
    for (const int key : {8, 10, 3}) {
        map.erase(Key(key));
    }
    const std::vector<int> order = ParentLastKeys(map);
    Key::s_destroyed.clear();
    map.clear();
    EXPECT_EQ(Key::s_destroyed, order);
    EXPECT_EQ(order.size(), kMixed.size() - 3);
}

TEST_F(VaxoMapLifetime, AssignmentFreesTheFormerEntriesAndCopiesTheOthers) {
    const TrackedMap source = TrackedMapOf({1, 2, 3});
    TrackedMap target = TrackedMapOf(kMixed);
    Value::s_destroyed.clear();
    target = source;
    EXPECT_EQ(Value::s_destroyed.size(), kMixed.size());
    EXPECT_EQ(Value::s_living.size(), 6U);
    target.clear();
    EXPECT_EQ(source.find(Key(2))->second.Number(), 20);
}

TEST_F(VaxoMapLifetime, SelfAssignmentFreesEveryEntry) {
    TrackedMap map = TrackedMapOf(kMixed);
    const TrackedMap& same = map;
    map = same;
    EXPECT_TRUE(Key::s_living.empty());
    EXPECT_TRUE(map.empty());
}

TEST_F(VaxoMapLifetime, ADelinkedNodeLivesOnAfterItsMap) {
    std::unique_ptr<TrackedMap::Node> node;
    {
        TrackedMap map = TrackedMapOf(kMixed);
        node.reset(Private<TrackedDelink>(map, Key(8)));
        EXPECT_EQ(Key::s_living.size(), kMixed.size());
    }
    EXPECT_EQ(Key::s_living.size(), 1U);
    EXPECT_EQ(node->first.Number(), 8);
    EXPECT_EQ(node->second.Number(), 80);
}

TEST_F(VaxoMapLifetime, SettingAssignsToTheStoredValue) {
    TrackedMap map = TrackedMapOf(kMixed);
    const Value* stored = &map.find(Key(6))->second;
    map.set(Key(6), Value(1));
    EXPECT_EQ(stored->Number(), 1);
    EXPECT_EQ(&map.find(Key(6))->second, stored);
    map.set(Key(6), *stored);
    EXPECT_EQ(stored->Number(), 1);
}
