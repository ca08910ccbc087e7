// strutf8 beside std::string: the same random operations must give the same bytes.
#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <string>

#include "support/StringText.h"
#include "vaxostrutf8.h"

namespace {

using vaxo::strutf8;
using vaxotest::text;

// Both sides of the comparison, and the dice.
class Pair {
public:
    explicit Pair(unsigned seed) : m_dice(seed) {}

    // One operation on both; its name, for the failure message.
    std::string Step() {
        switch (Below(6)) {
            case 0:
                return Assign();
            case 1:
                return Append();
            case 2:
                return Replace();
            case 3:
                return AppendOwnPart();
            case 4:
                return ReplaceWithOwnPart();
            default:
                return Cut();
        }
    }

    void Check() {
        ASSERT_EQ(text(m_tested), m_model);
        const strutf8 copy(m_tested);
        ASSERT_TRUE(copy == m_tested);
        CheckSearch();
        CheckOrder();
    }

private:
    uint32 Below(uint32 limit) { return static_cast<uint32>(m_dice() % limit); }

    uint32 Size() const { return static_cast<uint32>(m_model.size()); }

    // Few different characters, so that searches find something.
    std::string Text(uint32 longest) {
        std::string made(Below(longest + 1), ' ');
        for (char& c : made) {
            c = "abAB \n\xE4"[Below(7)];
        }
        return made;
    }

    std::string Assign() {
        const std::string with = Text(40);
        if (Below(2) == 0) {
            m_tested = with.c_str();
        } else {
            m_tested.assign(with.data(), static_cast<uint32>(with.size()));
        }
        m_model = with;
        return "assign";
    }

    std::string Append() {
        const std::string with = Text(60);
        const strutf8 other(with.data(), static_cast<uint32>(with.size()));
        const uint32 from = Below(other.length() + 1);
        switch (Below(4)) {
            case 0:
                m_tested += with.c_str();
                break;
            case 1:
                m_tested += other;
                break;
            case 2:
                m_tested = m_tested + other;
                break;
            default:
                m_tested.append(other, from, 7);
                m_model += with.substr(from, 7);
                return "append a part";
        }
        m_model += with;
        return "append";
    }

    std::string Replace() {
        const uint32 pos = Below(Size() + 3);
        const uint32 count = Below(20);
        const std::string with = Text(20);
        m_tested.replace(pos, count, with.c_str());
        m_model.replace(std::min(pos, Size()), count, with);
        return "replace";
    }

    std::string AppendOwnPart() {
        const uint32 from = Below(Size() + 1);
        const uint32 count = Below(30);
        if (Below(2) == 0) {
            m_tested.append(m_tested, from, count);
        } else {
            m_tested.append(m_tested.c_str() + from, std::min(count, Size() - from));
        }
        m_model += m_model.substr(from, count);
        return "append own part";
    }

    std::string ReplaceWithOwnPart() {
        if (m_tested.c_str() == nullptr) {
            return "nothing";
        }
        const uint32 from = Below(Size() + 1);
        const uint32 pos = Below(Size() + 1);
        const uint32 count = Below(30);
        m_tested.replace(pos, count, m_tested.c_str() + from);
        m_model.replace(pos, count, std::string(m_model, from));
        return "replace with own part";
    }

    std::string Cut() {
        const uint32 size = Below(Size() + Size() / 4 + 2);
        switch (Below(6)) {
            case 0:
                m_tested.trim(true, true);
                m_model.erase(m_model.find_last_not_of(" \n") + 1);
                m_model.erase(0, m_model.find_first_not_of(" \n"));
                return "trim";
            case 1:
                m_tested.reserve(Below(300));
                return "reserve";
            case 2:
                m_tested = m_tested.substr(size / 2, size);
                m_model = size / 2 < Size() ? m_model.substr(size / 2, size) : "";
                return "substr";
            default:
                m_tested.resize(std::min(size, 2000U));
                m_model.resize(std::min(size, 2000U), '\0');
                // The operations with terminated texts need a text without zeros.
                std::replace(m_tested.data(), m_tested.data() + m_tested.length(), '\0', 'z');
                std::replace(m_model.begin(), m_model.end(), '\0', 'z');
                return "resize";
        }
    }

    void CheckSearch() {
        const std::string what = Text(3);
        const uint32 start = Below(Size() + 3);
        ASSERT_EQ(m_tested.find(what.c_str(), static_cast<int32>(start)),
                  static_cast<int32>(m_model.find(what, start)));
        ASSERT_EQ(m_tested.reversefind(what.c_str(), static_cast<int32>(start)),
                  static_cast<int32>(m_model.rfind(what, start)));
        ASSERT_EQ(m_tested.startswith(what.c_str()) != 0,
                  m_model.compare(0, what.size(), what) == 0);
        ASSERT_EQ(m_tested.endswith(what.c_str()) != 0,
                  m_model.size() >= what.size() &&
                      m_model.compare(m_model.size() - what.size(), what.size(), what) == 0);
    }

    void CheckOrder() {
        const std::string other = Text(3);
        const int order = m_model.compare(other);
        ASSERT_EQ(m_tested.compare(other.c_str()), (order > 0 ? 1 : 0) - (order < 0 ? 1 : 0));
        ASSERT_EQ(m_tested < strutf8(other.c_str()), order < 0);
        ASSERT_EQ(m_tested == other.c_str(), order == 0);
    }

    std::mt19937 m_dice;
    strutf8 m_tested;
    std::string m_model;
};

TEST(VaxoStrutf8Model, RandomOperationsGiveTheSameBytesAsTheStandardString) {
    for (unsigned seed = 1; seed <= 20; ++seed) {
        Pair pair(seed);
        for (int step = 0; step < 1500; ++step) {
            const std::string done = pair.Step();
            pair.Check();
            ASSERT_FALSE(::testing::Test::HasFailure())
                << "seed " << seed << ", step " << step << ": " << done;
        }
    }
}

}  // namespace
