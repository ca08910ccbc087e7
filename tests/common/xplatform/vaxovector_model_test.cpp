// vaxostl::vector against the standard library's vector: long random sequences of
// every operation, with elements whose copies are counted.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <memory>
#include <random>
#include <vector>

#include "support/TracedItem.h"
#include "vaxovector.h"

namespace {

// Two kinds of elements. Any() is a random one of a few values. Check() tells whether
// a copy was lost or left behind, given what the two arrays should hold.
class TracedElements {
public:
    typedef TracedItem Element;

    explicit TracedElements(std::mt19937& random) : m_random(random) { TracedItem::Reset(); }

    TracedItem Any() { return TracedItem(static_cast<int>(m_random() % 8)); }

    static void Check(const std::vector<TracedItem>& one, const std::vector<TracedItem>& other) {
        ASSERT_EQ(TracedItem::State().live, 2 * static_cast<long>(one.size() + other.size()));
        ASSERT_EQ(TracedItem::State().misuses, 0);
    }

private:
    std::mt19937& m_random;
};

class SharedElements {
public:
    typedef std::shared_ptr<int> Element;

    explicit SharedElements(std::mt19937& random) : m_random(random) {
        for (int value = 0; value < 8; ++value) {
            m_pool.push_back(std::make_shared<int>(value));
        }
    }

    std::shared_ptr<int> Any() { return m_pool[m_random() % m_pool.size()]; }

    // Every pointee is owned by the pool, the models and as often by the arrays.
    void Check(const std::vector<std::shared_ptr<int>>& one,
               const std::vector<std::shared_ptr<int>>& other) const {
        for (const std::shared_ptr<int>& item : m_pool) {
            const auto held = std::count(one.begin(), one.end(), item) +
                              std::count(other.begin(), other.end(), item);
            ASSERT_EQ(item.use_count(), 1 + 2 * held);
        }
    }

private:
    std::mt19937& m_random;
    std::vector<std::shared_ptr<int>> m_pool;
};

template <class Elements>
class VaxoVectorModel : public testing::Test {
protected:
    typedef typename Elements::Element Element;
    typedef vaxostl::vector<Element> Array;
    typedef std::vector<Element> Model;

    VaxoVectorModel() : m_random(20261121), m_elements(m_random) {}

    uint32 Below(uint32 limit) { return static_cast<uint32>(m_random() % limit); }
    static auto At(Model& model, uint32 index) {
        return model.begin() + static_cast<std::ptrdiff_t>(index);
    }

    void Append() {
        const bool own = !m_model.empty() && Below(2) == 0;
        const uint32 from = own ? Below(m_array.size()) : 0;
        const Element item = own ? m_model[from] : m_elements.Any();
        ASSERT_EQ(own ? m_array.Add(m_array[from]) : m_array.push_back(item), 0);
        m_model.push_back(item);
    }

    void Insert() {
        const uint32 at = Below(m_array.size() + 1);
        const uint32 count = Below(5);
        const bool own = !m_model.empty() && Below(2) == 0;
        const uint32 from = own ? Below(m_array.size()) : 0;
        const Element item = own ? m_model[from] : m_elements.Any();
        ASSERT_EQ(m_array.insert(m_array.begin() + at, own ? m_array[from] : item, count), 0);
        m_model.insert(At(m_model, at), count, item);
    }

    void EraseOne() {
        const uint32 at = Below(m_array.size() + 2);
        const typename Array::iterator next = m_array.erase(m_array.begin() + at);
        if (at < m_model.size()) {
            m_model.erase(At(m_model, at));
            ASSERT_EQ(next, m_array.begin() + at);
        } else {
            ASSERT_EQ(next, m_array.end());
        }
    }

    void EraseRange() {
        const uint32 first = Below(m_array.size() + 2);
        const uint32 last = first + Below(6);
        const bool valid = last < m_model.size();
        const bool byIndex = Below(2) == 0;
        const int32 status = byIndex
                                 ? m_array.erase(first, last)
                                 : m_array.erase(m_array.begin() + first, m_array.begin() + last);
        ASSERT_EQ(status, valid ? 0 : -1);
        if (valid) {
            m_model.erase(At(m_model, first), At(m_model, last + 1));
        }
    }

    void Resize() {
        const uint32 count = Below(m_array.size() + 6);
        if (Below(2) == 0) {
            ASSERT_EQ(m_array.Resize(count), 0);
            m_model.resize(count, Element());
        } else {
            const Element item = m_elements.Any();
            ASSERT_EQ(m_array.Resize(count, item), 0);
            m_model.resize(count, item);
        }
    }

    void WholeArray() {
        switch (Below(6)) {
            case 0:
                m_array.clear();
                m_model.clear();
                break;
            case 1:
                m_array.swap(m_other);
                m_model.swap(m_otherModel);
                break;
            case 2:
                m_array = m_other;
                m_model = m_otherModel;
                break;
            case 3:
                m_other = Array(m_array);
                m_otherModel = m_model;
                break;
            case 4:
                m_array = Array(m_array.GetFirstItem(), m_array.size());
                break;
            default:
                ASSERT_EQ(m_array.reserve(Below(2 * m_array.size() + 1)), 0);
                break;
        }
    }

    void Step() {
        switch (Below(16)) {
            case 0:
            case 1:
            case 2:
            case 3:
            case 4:
                Append();
                break;
            case 5:
            case 6:
            case 7:
                Insert();
                break;
            case 8:
            case 9:
            case 10:
                EraseOne();
                break;
            case 11:
            case 12:
                EraseRange();
                break;
            case 13:
            case 14:
                Resize();
                break;
            default:
                WholeArray();
                break;
        }
    }

    static void CheckSame(const Array& array, const Model& model) {
        ASSERT_EQ(array.size(), model.size());
        ASSERT_LE(array.size(), array.capacity());
        for (uint32 index = 0; index < array.size(); ++index) {
            ASSERT_TRUE(array[index] == model[index]) << index;
        }
        ASSERT_EQ(array.begin() == nullptr, model.empty());
    }

    void CheckAll() {
        CheckSame(m_array, m_model);
        CheckSame(m_other, m_otherModel);
        ASSERT_EQ(m_array == m_other, m_model == m_otherModel);
        m_elements.Check(m_model, m_otherModel);
    }

    std::mt19937 m_random;
    Elements m_elements;
    Array m_array;
    Array m_other;
    Model m_model;
    Model m_otherModel;
};

typedef testing::Types<TracedElements, SharedElements> ElementKinds;
TYPED_TEST_SUITE(VaxoVectorModel, ElementKinds, );

}  // namespace

TYPED_TEST(VaxoVectorModel, RandomOperationsAgreeWithTheStandardVector) {
    for (int step = 0; step < 20000; ++step) {
        this->Step();
        ASSERT_FALSE(this->HasFatalFailure()) << "step " << step;
        this->CheckAll();
        ASSERT_FALSE(this->HasFatalFailure()) << "step " << step;
    }
    EXPECT_GT(this->m_array.capacity(), 16u);  // it has grown at times
}
