// vaxostl::map beside std::map for the contents, and beside the tests' own tree for shape
// and colours, whose order the walks parent first and parent last show.
#include <cstddef>
#include <iterator>
#include <map>
#include <string>

#include "common/xplatform/vaxomap_model.h"
#include "fuzz/Containers.h"
#include "fuzz/Steps.h"
#include "vaxomap.h"

namespace fuzz {

namespace {

typedef vaxostl::map<std::string, std::string> Map;
typedef std::map<std::string, std::string> Model;

// Both sides of one map.
struct Side {
    Map map;
    Model model;
    vaxomaptest::TreeModel<std::string> tree;
    std::map<std::string, const void*> nodes;  // where each entry lies
    bool erased = false;                       // since the tree was last empty

    // The entries came in key order, into a tree without a history.
    void Rebuilt() {
        tree = vaxomaptest::TreeModel<std::string>();
        nodes.clear();
        erased = false;
        for (const auto& entry : model) {
            tree.Add(entry.first);
        }
        for (Map::iterator it = map.begin(); !it.atEnd(); ++it) {
            nodes[it->first] = it.getNode();
        }
    }
};

class MapPair {
public:
    void Insert(Input& in);
    void InsertPair(Input& in);
    void Set(Input& in);
    void Subscript(Input& in);
    void Access(Input& in);
    void Find(Input& in);
    void Bounds(Input& in);
    void Walk(Input& in);
    void WriteThroughIterator(Input& in);
    void Erase(Input& in);
    void EraseByOwnKey(Input& in);
    void EraseIterator(Input& in);
    void EraseEnd(Input& in);
    void Clear(Input& in);
    void Assign(Input& in);
    void AssignItself(Input& in);
    void Copy(Input& in);
    void Exchange(Input& in);

    void Check() const {
        CheckSide(m_one);
        CheckSide(m_other);
    }

private:
    // Too long to lie inside the string object, so that a use after the end is seen.
    static std::string Key(Input& in) {
        return "a key with a buffer of its own, " + std::to_string(in.Below(64));
    }
    static std::string Value(Input& in) {
        return "a value with a buffer of its own, " + std::to_string(in.Byte());
    }

    void Added(const std::string& key);
    void Removed(const std::string& key, bool answer);
    void RequirePlace(const Map::iterator& it, Model::const_iterator expected) const;
    static void CheckSide(const Side& side);

    Side m_one;
    Side m_other;
};

void MapPair::RequirePlace(const Map::iterator& it, Model::const_iterator expected) const {
    const bool atEnd = expected == m_one.model.end();
    Require(it.atEnd() == atEnd && (it == m_one.map.end()) == atEnd, "an iterator's end");
    if (!atEnd) {
        Require(it->first == expected->first && (*it).second == expected->second,
                "an iterator's entry");
    }
}

void MapPair::CheckSide(const Side& side) {
    Require(side.map.size() == side.model.size(), "size");
    Require(side.map.empty() == side.model.empty(), "empty");
    Map::iterator it = side.map.getiterator();
    for (const auto& entry : side.model) {
        Require(!it.atEnd() && it->first == entry.first && it->second == entry.second, "an entry");
        Require(side.nodes.at(entry.first) == it.getNode(), "an entry has moved");
        it++;
    }
    Require(it.atEnd(), "there are more entries");
    Require(vaxomaptest::Sound(side.map), "the links");
    Require(side.tree.Matches(side.map.getParentFirstiterator(), side.tree.ParentFirst()),
            "the walk parent first");
    Require(side.tree.Matches(side.map.getParentLastiterator(), side.tree.ParentLast()),
            "the walk parent last");
    Require(side.erased || vaxomaptest::RedBlack(side.map), "the colours");
}

// ---- Additions ----

void MapPair::Added(const std::string& key) {
    if (m_one.tree.Add(key)) {
        m_one.nodes[key] = m_one.map.find(key).getNode();
    }
}

void MapPair::Insert(Input& in) {
    const std::string key = Key(in);
    const std::string value = Value(in);
    Require(m_one.map.insert(key, value) == m_one.model.emplace(key, value).second, "the answer");
    Added(key);
}

void MapPair::InsertPair(Input& in) {
    const std::string key = Key(in);
    const std::string value = Value(in);
    const auto answer = m_one.map.insert(Map::value_type(key, value));
    const auto expected = m_one.model.emplace(key, value);
    Require(answer.second == expected.second, "the answer");
    RequirePlace(answer.first, expected.first);
    Added(key);
}

void MapPair::Set(Input& in) {
    const std::string key = Key(in);
    const std::string value = Value(in);
    m_one.map.set(key, value);
    m_one.model[key] = value;
    Added(key);
}

void MapPair::Subscript(Input& in) {
    const std::string key = Key(in);
    std::string& value = m_one.map[key];
    Require(value == m_one.model[key], "the value");
    if (in.Flag()) {
        m_one.model[key] = value = Value(in);
    }
    Added(key);
}

void MapPair::Access(Input& in) {
    const std::string key = Key(in);
    const std::string value = Value(in);
    Map::AccessClass access(m_one.map, key);
    if (m_one.model.count(key) != 0) {
        const std::string before = access;
        Require(before == m_one.model[key], "the value before");
    }
    access = value;
    m_one.model[key] = value;
    const std::string after = access;
    Require(after == value, "the value after");
    Added(key);
}

// ---- Lookups ----

void MapPair::Find(Input& in) {
    const std::string key = Key(in);
    RequirePlace(m_one.map.find(key), m_one.model.find(key));
}

void MapPair::Bounds(Input& in) {
    // Among the keys, and before, between and behind them.
    const std::string key = in.Flag() ? Key(in) : Key(in).substr(0, in.Below(40)) + "5";
    RequirePlace(m_one.map.lower_bound(key), m_one.model.lower_bound(key));
    RequirePlace(m_one.map.upper_bound(key), m_one.model.upper_bound(key));
}

// Back and forth from anywhere. Stepping back from the end reaches the largest key; before
// the smallest one is the end too.
void MapPair::Walk(Input& in) {
    const Model& model = m_one.model;
    const std::string key = Key(in);
    Map::iterator it = m_one.map.lower_bound(key);
    auto expected = model.lower_bound(key);
    for (unsigned left = in.Below(24); left != 0; --left) {
        const Map::iterator before = it;
        const unsigned choice = in.Below(6);
        if (choice < 2) {
            const Map::iterator answer = choice == 0 ? it++ : ++it;
            Require(answer == (choice == 0 ? before : it), "a step's answer");
            expected = expected == model.end() ? expected : std::next(expected);
        } else if (choice < 4) {
            const Map::iterator answer = choice == 2 ? it-- : --it;
            Require(answer == (choice == 2 ? before : it), "a step's answer");
            expected = expected == model.begin() ? model.end() : std::prev(expected);
        } else {
            it.reset(choice == 4);
            expected = choice == 4 || model.empty() ? model.begin() : std::prev(model.end());
        }
        RequirePlace(it, expected);
    }
}

void MapPair::WriteThroughIterator(Input& in) {
    const std::string key = Key(in);
    const std::string value = Value(in);
    const Map::iterator it = m_one.map.find(key);
    if (it != m_one.map.end()) {
        it->setValue(value);
        m_one.model[key] = value;
        Require(it->getKey() == key && it->getValue() == value, "the node's entry");
    }
}

// ---- Removals ----

void MapPair::Removed(const std::string& key, bool answer) {
    Require(answer == (m_one.model.erase(key) != 0), "the answer");
    m_one.tree.Remove(key);
    m_one.nodes.erase(key);
    m_one.erased = m_one.erased || answer;
}

void MapPair::Erase(Input& in) {
    const std::string key = Key(in);
    Removed(key, m_one.map.erase(key));
}

void MapPair::EraseByOwnKey(Input& in) {
    const std::string key = Key(in);
    const Map::iterator it = m_one.map.find(key);
    Removed(key, !it.atEnd() && m_one.map.erase(it->first));
}

void MapPair::EraseIterator(Input& in) {
    const Map::iterator it = m_one.map.lower_bound(Key(in));
    if (!it.atEnd()) {
        const std::string key = it->first;
        Removed(key, m_one.map.erase(it));
    }
}

void MapPair::EraseEnd(Input& /*in*/) {
    Require(!m_one.map.erase(m_one.map.end()), "the answer");
}

void MapPair::Clear(Input& /*in*/) {
    m_one.map.clear();
    m_one.model.clear();
    m_one.Rebuilt();
}

// ---- Whole maps ----

void MapPair::Assign(Input& /*in*/) {
    m_one.map = m_other.map;
    m_one.model = m_other.model;
    m_one.Rebuilt();
}

void MapPair::AssignItself(Input& /*in*/) {
    const Map& same = m_one.map;
    m_one.map = same;
    m_one.model.clear();
    m_one.Rebuilt();
}

void MapPair::Copy(Input& /*in*/) {
    const Map copy(m_one.map);
    m_other.map = copy;
    m_other.model = m_one.model;
    m_other.Rebuilt();
}

// Which of the two maps the next operations work on. Maps are not swapped but copied.
void MapPair::Exchange(Input& /*in*/) {
    const Map kept(m_one.map);
    m_one.map = m_other.map;
    m_other.map = kept;
    m_one.model.swap(m_other.model);
    m_one.Rebuilt();
    m_other.Rebuilt();
}

const Operation<MapPair> kOperations[] = {
    {"insert", &MapPair::Insert},
    {"insert pair", &MapPair::InsertPair},
    {"set", &MapPair::Set},
    {"subscript", &MapPair::Subscript},
    {"access", &MapPair::Access},
    {"find", &MapPair::Find},
    {"bounds", &MapPair::Bounds},
    {"walk", &MapPair::Walk},
    {"write through iterator", &MapPair::WriteThroughIterator},
    {"erase", &MapPair::Erase},
    {"erase by the entry's own key", &MapPair::EraseByOwnKey},
    {"erase iterator", &MapPair::EraseIterator},
    {"erase end", &MapPair::EraseEnd},
    {"clear", &MapPair::Clear},
    {"assign", &MapPair::Assign},
    {"assign itself", &MapPair::AssignItself},
    {"copy", &MapPair::Copy},
    {"exchange", &MapPair::Exchange},
};

}  // namespace

void FuzzMap(Input& in) {
    MapPair pair;
    RunSteps(pair, kOperations, in);
}

}  // namespace fuzz
