// What asks a vector, what a refused copy leaves, and the table of all operations.
#include <algorithm>
#include <utility>

#include "fuzz/Containers.h"
#include "fuzz/Steps.h"
#include "fuzz/VectorPair.h"

namespace fuzz {

namespace {

typedef vaxostl::vector<TracedItem> Array;
typedef std::vector<int> Model;

}  // namespace

// ---- Looks ----

void VectorPair::Write(Input& in) {
    const int value = in.Byte();
    if (m_one.model.empty()) {
        return;
    }
    const uint32 at = in.Below(m_one.model.size());
    switch (in.Below(5)) {
        case 0:
            m_one.array[at] = TracedItem(value);
            m_one.model[at] = value;
            break;
        case 1:
            *m_one.array.GetItem(at) = TracedItem(value);
            m_one.model[at] = value;
            break;
        case 2:
            *(m_one.array.begin() + at) = TracedItem(value);
            m_one.model[at] = value;
            break;
        case 3:
            m_one.array.front() = TracedItem(value);
            m_one.model.front() = value;
            break;
        default:
            m_one.array.back() = TracedItem(value);
            m_one.model.back() = value;
            break;
    }
}

void VectorPair::Walk(Input& in) {
    Array::iterator it = m_one.array.begin();
    uint32 at = 0;
    for (unsigned left = in.Below(20); left != 0; --left) {
        const Array::iterator before = it;
        const unsigned choice = in.Below(4);
        if (choice < 2 && at < m_one.Size()) {
            const Array::iterator answer = choice == 0 ? it++ : ++it;
            Require(answer == (choice == 0 ? before : it), "a step's answer");
            ++at;
        } else if (choice >= 2 && at > 0) {
            const Array::iterator answer = choice == 2 ? it-- : --it;
            Require(answer == (choice == 2 ? before : it), "a step's answer");
            --at;
        }
        Require((it == m_one.array.end()) == (at == m_one.Size()), "an iterator's end");
        Require(at == m_one.Size() || it->Value() == m_one.model[at], "an iterator's element");
    }
    Array::iterator none;
    Array::iterator one = m_one.array.begin();
    one.swap(none);
    Require(one == Array::iterator() && none == m_one.array.begin(), "swapped iterators");
    Require(++one == Array::iterator() && --one == Array::iterator(), "a null iterator");
}

void VectorPair::LookUp(Input& in) {
    const Array& array = m_one.array;
    const Model& model = m_one.model;
    const int value = in.Byte();
    Require(array.contains(TracedItem(value)) ==
                (std::find(model.begin(), model.end(), value) != model.end()),
            "contains");
    const uint32 at = in.Below(model.size() + 3);
    const TracedItem* const item = array.GetItem(at);
    Require((item != nullptr) == (at < model.size()), "an item's place");
    Require(item == nullptr || item == m_one.array.GetItem(at), "an item that may be changed");
    Require((array.GetFirstItem() == nullptr) == model.empty(), "no first item");
    Require((array.GetLastItem() == nullptr) == model.empty(), "no last item");
    if (!model.empty()) {
        Require(array.front().Value() == model.front() &&
                    array.GetFirstItem()->Value() == model.front(),
                "the first element");
        Require(array.back().Value() == model.back() &&
                    m_one.array.GetLastItem()->Value() == model.back(),
                "the last element");
    }
}

// ---- Refused copies ----

// Takes a change during which a copy may be refused. What is left is the beginning of what
// was there, or of what the change would have made; the storage may have grown.
template <class Change>
void VectorPair::Survive(Change change) {
    const Model before = m_one.model;
    try {
        change();
    } catch (const TracedItem::CopyRefused&) {
        const Model& expected = m_one.model;
        const auto begins = [this](const Model& whole) {
            return m_one.array.size() <= whole.size() &&
                   std::equal(
                       m_one.array.begin(), m_one.array.end(), whole.begin(),
                       [](const TracedItem& item, int value) { return item.Value() == value; });
        };
        Require(begins(before) || begins(expected), "what a refused copy has left");
        Model left;
        for (const TracedItem& item : std::as_const(m_one.array)) {
            left.push_back(item.Value());
        }
        m_one.model = left;
        Require(m_one.array.capacity() >= m_one.capacity, "the storage has become smaller");
        m_one.capacity = m_one.array.capacity();
    }
    TracedItem::State().copiesLeft = -1;
}

void VectorPair::RefuseCopies(Input& in) {
    const uint32 at = in.Below(m_one.model.size() + 1);
    const uint32 count = in.Below(12);
    const unsigned choice = in.Below(4);
    const long copies = in.Below(64);
    const TracedItem item(in.Byte());
    Survive([&] {
        Model after = m_one.model;
        if (choice < 2) {
            after.insert(after.begin() + static_cast<std::ptrdiff_t>(at), count, item.Value());
        } else if (choice == 2) {
            after = m_other.model;
        } else {
            after.resize(after.size() + count, item.Value());
        }
        m_one.model = after;
        TracedItem::State().copiesLeft = copies;
        if (choice < 2) {
            m_one.array.insert(m_one.array.begin() + at, item, count);
        } else if (choice == 2) {
            m_one.array = m_other.array;
        } else {
            m_one.array.Resize(static_cast<uint32>(after.size()), item);
        }
        m_one.Grown(m_one.Size());
    });
}

namespace {

const Operation<VectorPair> kOperations[] = {
    {"add", &VectorPair::Add},
    {"add own element", &VectorPair::AddOwn},
    {"insert", &VectorPair::Insert},
    {"insert own element", &VectorPair::InsertOwn},
    {"insert at a stranger", &VectorPair::InsertElsewhere},
    {"insert too many", &VectorPair::InsertTooMany},
    {"erase one", &VectorPair::EraseOne},
    {"erase indices", &VectorPair::EraseIndices},
    {"erase iterators", &VectorPair::EraseIterators},
    {"resize", &VectorPair::Resize},
    {"resize with a value", &VectorPair::ResizeWith},
    {"resize with own element", &VectorPair::ResizeWithOwn},
    {"reserve", &VectorPair::Reserve},
    {"clear", &VectorPair::Clear},
    {"swap", &VectorPair::Swap},
    {"assign", &VectorPair::Assign},
    {"assign itself", &VectorPair::AssignItself},
    {"construct", &VectorPair::Construct},
    {"write", &VectorPair::Write},
    {"walk", &VectorPair::Walk},
    {"look up", &VectorPair::LookUp},
    {"storage", &VectorPair::Storage},
    {"refuse copies", &VectorPair::RefuseCopies},
};

}  // namespace

void FuzzVector(Input& in) {
    VectorPair pair;
    RunSteps(pair, kOperations, in);
}

}  // namespace fuzz
