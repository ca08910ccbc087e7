// vaxo::strutf16 beside a vector of units.
#include <cstddef>
#include <cstdint>
#include <limits>
#include <new>
#include <string>
#include <utility>

#include "fuzz/Containers.h"
#include "fuzz/Steps.h"
#include "fuzz/Texts.h"
#include "vaxostrutf16.h"
#include "vaxostrutf8.h"

namespace fuzz {

using vaxo::strutf16;
using vaxo::strutf8;

namespace {

uint32 SizeOf(const Units& units) {
    return static_cast<uint32>(units.size());
}

void AppendUnits(Units& units, Units more) {
    units.insert(units.end(), more.begin(), more.end());
}

// Bytes at the edges of what begins or continues a sequence, so that whole sequences come
// about.
std::string Edges(Input& in) {
    const char edges[] =
        "\xC1\xC2\xDF\xE0\xE1\xED\xEE\xEF\xF0\xF3\xF4\xF5\x7F\x80\x8F\x90\x9F\xA0\xBF";
    std::string text;
    for (std::uint32_t left = in.Below(30); left != 0; --left) {
        text += edges[in.Below(sizeof(edges))];
    }
    return text;
}

class WideTextPair {
public:
    void Assign(Input& in);
    void AssignOwnPart(Input& in);
    void Append(Input& in);
    void AppendOwnPart(Input& in);
    void AppendTooMuch(Input& in);
    void Construct(Input& in);
    void ConvertUtf8(Input& in);
    void ThereAndBack(Input& in);
    void Clear(Input& in);
    void Swap(Input& in);

    void Check();

private:
    Units Part(std::size_t from, std::size_t count) const {
        const auto begin = m_model.begin() + static_cast<std::ptrdiff_t>(from);
        return {begin, begin + static_cast<std::ptrdiff_t>(count)};
    }

    strutf16 m_tested;
    strutf16 m_otherTested;
    Units m_model;
    Units m_otherModel;
};

void WideTextPair::Check() {
    if (m_model.size() > 1000) {
        m_tested.assign(m_tested.c_str(), 1000);
        m_model.resize(1000);
    }
    Require(Content(m_tested) == m_model, "the content");
    Require(Content(m_otherTested) == m_otherModel, "the other's content");
    Require((m_tested == m_otherTested) == (m_model == m_otherModel), "equality");
    Require((m_tested != m_otherTested) == (m_model != m_otherModel), "inequality");
}

void WideTextPair::Assign(Input& in) {
    const Units units = UnitsFrom(in, 40);
    if (in.Flag()) {
        m_tested.assign(units.empty() ? nullptr : units.data(), SizeOf(units));
        m_model = units;
    } else {
        m_tested = m_otherTested;
        m_model = m_otherModel;
    }
}

void WideTextPair::AssignOwnPart(Input& in) {
    const uint32 from = in.Below(m_model.size() + 1);
    const uint32 count = in.Below(m_model.size() - from + 1);
    if (in.Flag()) {
        const strutf16& same = m_tested;
        m_tested = same;
    } else {
        m_tested.assign(m_tested.c_str() + from, count);
        m_model = Part(from, count);
    }
}

void WideTextPair::Append(Input& in) {
    const Units units = UnitsFrom(in, 40);
    if (in.Flag()) {
        m_tested.append(units.empty() ? nullptr : units.data(), SizeOf(units));
        AppendUnits(m_model, units);
    } else {
        m_tested.append(m_otherTested);
        AppendUnits(m_model, m_otherModel);
    }
}

void WideTextPair::AppendOwnPart(Input& in) {
    const uint32 from = in.Below(m_model.size() + 1);
    const uint32 count = in.Below(m_model.size() - from + 1);
    if (in.Flag()) {
        m_tested.append(m_tested);
        AppendUnits(m_model, m_model);
    } else {
        m_tested.append(m_tested.c_str() + from, count);
        AppendUnits(m_model, Part(from, count));
    }
}

void WideTextPair::AppendTooMuch(Input& in) {
    const utf16 unit = 'x';
    bool failed = false;
    try {
        m_tested.append(&unit, std::numeric_limits<uint32>::max() - in.Below(m_model.size() + 1));
    } catch (const std::bad_alloc&) {
        failed = true;
    }
    Require(failed, "too much was not refused");
}

void WideTextPair::Construct(Input& in) {
    const Units units = UnitsFrom(in, 40);
    Require(Content(strutf16(units.data(), SizeOf(units))) == units, "from units");
    Require(Content(strutf16(nullptr, SizeOf(units))).empty(), "from null");
    const strutf16 copy(m_tested);
    Require(Content(copy) == m_model && copy == m_tested, "a copy");
}

void WideTextPair::ConvertUtf8(Input& in) {
    const Argument text = in.Flag() ? Argument(in, 60) : Argument(Edges(in));
    const strutf8 narrow(text.Bytes(), text.Size());
    const Units expected = Utf16Of(text.Whole());
    Require(Content(strutf16(narrow)) == expected, "from a strutf8");
    if (in.Flag()) {
        m_tested = narrow;
        m_model = expected;
    }
}

void WideTextPair::ThereAndBack(Input& /*in*/) {
    const strutf8 narrow(m_tested);
    Require(Content(narrow) == Utf8Of(m_model), "as UTF-8");
    m_tested = narrow;
    m_model = Utf16Of(Utf8Of(m_model));
}

void WideTextPair::Clear(Input& /*in*/) {
    m_tested.clear();
    m_model.clear();
    Require(m_tested.c_str() == nullptr, "the buffer is kept");
}

void WideTextPair::Swap(Input& /*in*/) {
    const strutf16 kept(m_tested);
    m_tested = m_otherTested;
    m_otherTested = kept;
    m_model.swap(m_otherModel);
}

const Operation<WideTextPair> kOperations[] = {
    {"assign", &WideTextPair::Assign},
    {"assign own part", &WideTextPair::AssignOwnPart},
    {"append", &WideTextPair::Append},
    {"append own part", &WideTextPair::AppendOwnPart},
    {"append too much", &WideTextPair::AppendTooMuch},
    {"construct", &WideTextPair::Construct},
    {"convert UTF-8", &WideTextPair::ConvertUtf8},
    {"there and back", &WideTextPair::ThereAndBack},
    {"clear", &WideTextPair::Clear},
    {"swap", &WideTextPair::Swap},
};

}  // namespace

void FuzzWideText(Input& in) {
    WideTextPair pair;
    RunSteps(pair, kOperations, in);
}

}  // namespace fuzz
