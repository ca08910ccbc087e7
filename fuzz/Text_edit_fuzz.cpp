// What changes a strutf8.
#include <algorithm>
#include <limits>
#include <new>

#include "fuzz/Steps.h"
#include "fuzz/TextPair.h"
#include "vaxostrutf16.h"

namespace fuzz {

using vaxo::strutf8;

namespace {

const char kSpace[] = " \t\n\v\f\r";

char Lower(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c;
}

char Upper(char c) {
    return c >= 'a' && c <= 'z' ? static_cast<char>(c - 32) : c;
}

std::string Trimmed(const std::string& text, bool left, bool right) {
    const std::size_t first = left ? text.find_first_not_of(kSpace) : 0;
    const std::size_t last = right ? text.find_last_not_of(kSpace) + 1 : text.size();
    return first < last ? text.substr(first, last - first) : std::string();
}

}  // namespace

void TextPair::Check() {
    // Doubling itself a few times would make it too long to compare after each step.
    const uint32 most = 2000;
    if (Size() > most) {
        Require(m_tested.resize(most) == most, "the answer");
        m_model.resize(most);
    }
    Require(Content(m_tested) == m_model, "the content");
    Require(Content(m_otherTested) == m_otherModel, "the other's content");
}

// ---- The whole content ----

void TextPair::Assign(Input& in) {
    const Argument text(in, 60);
    switch (in.Below(3)) {
        case 0:
            m_tested = text.Terminated();
            m_model = text.UpToZero();
            break;
        case 1:
            m_tested.assign(text.Bytes(), text.Size());
            m_model = text.Whole();
            break;
        default:
            (in.Flag() ? m_tested = m_otherTested : m_tested.assign(m_otherTested));
            m_model = m_otherModel;
            break;
    }
}

void TextPair::AssignOwnPart(Input& in) {
    const uint32 from = in.Below(m_model.size() + 1);
    const uint32 count = in.Below(Size() - from + 1);
    const strutf8& same = m_tested;
    switch (in.Below(4)) {
        case 0:
            m_tested = same;
            break;
        case 1:
            m_tested.assign(same);
            break;
        case 2:
            if (m_tested.c_str() != nullptr) {
                m_tested = m_tested.c_str() + from;
                m_model = std::string(m_model.c_str() + from);
            }
            break;
        default:
            m_tested.assign(m_tested.c_str() + from, count);
            m_model = m_model.substr(from, count);
            break;
    }
}

void TextPair::Construct(Input& in) {
    const Argument text(in, 60);
    Require(Content(strutf8(text.Bytes(), text.Size())) == text.Whole(), "from a length");
    Require(Content(strutf8(text.Terminated())) == text.UpToZero(), "from a terminated text");
    const strutf8 copy(m_tested);
    Require(Content(copy) == m_model && copy == m_tested, "a copy");
    Require(copy.c_str() == nullptr || copy.c_str() != m_tested.c_str(), "a copy's buffer");
}

void TextPair::ConvertUtf16(Input& in) {
    const Units units = UnitsFrom(in, 40);
    const vaxo::strutf16 wide(units.data(), static_cast<uint32>(units.size()));
    const std::string expected = Utf8Of(units);
    Require(Content(strutf8(units.data(), static_cast<uint32>(units.size()))) == expected,
            "from units");
    Require(Content(strutf8(wide)) == expected, "from a strutf16");
    if (in.Flag()) {
        m_tested = wide;
        m_model = expected;
    }
}

void TextPair::Format(Input& in) {
    const Argument text(in, 60);
    const int number = static_cast<int>(in.Number(4));
    if (in.Flag()) {
        // Its own content, up to a zero, is an argument.
        m_tested.format("<%s|%d|%s>", m_tested.c_str(), number, text.Terminated());
        m_model = "<" + std::string(m_model.c_str()) + "|" + std::to_string(number) + "|" +
                  text.UpToZero() + ">";
    } else {
        m_tested.format(in.Flag() ? nullptr : "");
        m_model.clear();
    }
}

// ---- More of it ----

void TextPair::Append(Input& in) {
    const Argument text(in, 60);
    switch (in.Below(4)) {
        case 0:
            m_tested += text.Terminated();
            m_model += text.UpToZero();
            break;
        case 1:
            m_tested.append(text.Bytes(), text.Size());
            m_model += text.Whole();
            break;
        case 2:
            m_tested += m_otherTested;
            m_model += m_otherModel;
            break;
        default:
            m_tested.append(m_otherTested);
            m_model += m_otherModel;
            break;
    }
}

void TextPair::AppendPart(Input& in) {
    const uint32 start = in.Below(m_otherModel.size() + 3);
    const uint32 count = in.Flag() ? in.Below(80) : std::numeric_limits<uint32>::max();
    m_tested.append(m_otherTested, start, count);
    m_model += m_otherModel.substr(std::min<std::size_t>(start, m_otherModel.size()), count);
}

void TextPair::AppendOwnPart(Input& in) {
    const uint32 from = in.Below(m_model.size() + 1);
    const uint32 count = in.Below(Size() - from + 1);
    switch (in.Below(4)) {
        case 0:
            m_tested.append(m_tested, from, count);
            break;
        case 1:
            m_tested.append(m_tested.c_str() + from, count);
            break;
        case 2:
            m_tested += m_tested;
            m_model += std::string(m_model);
            return;
        default:
            if (m_tested.c_str() != nullptr) {
                m_tested += m_tested.c_str() + from;
                m_model += std::string(m_model.c_str() + from);
            }
            return;
    }
    m_model += m_model.substr(from, count);
}

// More than a string can hold: seen before a byte is read.
void TextPair::AppendTooMuch(Input& in) {
    const uint32 most = std::numeric_limits<uint32>::max();
    const unsigned choice = in.Below(4);
    bool failed = false;
    try {
        if (choice == 0) {
            m_tested.append("x", most - in.Below(m_model.size() + 1));
        } else if (choice == 1) {
            m_tested.assign("x", most);
        } else if (choice == 2) {
            m_tested.resize(most);
        } else {
            m_tested.reserve(most);
        }
    } catch (const std::bad_alloc&) {
        failed = true;
    }
    Require(failed, "too much was not refused");
}

void TextPair::Add(Input& in) {
    const Argument text(in, 60);
    Require(Content(m_tested + text.Terminated()) == m_model + text.UpToZero(), "text behind");
    Require(Content(text.Terminated() + m_tested) == text.UpToZero() + m_model, "text before");
    m_otherTested = m_tested + m_otherTested;
    m_otherModel = (m_model + m_otherModel).substr(0, 2000);
    m_otherTested.resize(static_cast<uint32>(m_otherModel.size()));
}

// ---- Changes inside ----

void TextPair::Replace(Input& in) {
    const Argument text(in, 60);
    const uint32 pos = in.Below(m_model.size() + 3);
    const uint32 count = in.Flag() ? in.Below(80) : std::numeric_limits<uint32>::max();
    m_tested.replace(pos, count, text.Terminated());
    m_model.replace(std::min(pos, Size()), count, text.UpToZero());
}

void TextPair::ReplaceWithOwnPart(Input& in) {
    const uint32 pos = in.Below(m_model.size() + 1);
    const uint32 count = in.Below(80);
    const uint32 from = in.Below(m_model.size() + 1);
    if (m_tested.c_str() != nullptr) {
        m_tested.replace(pos, count, m_tested.c_str() + from);
        m_model.replace(pos, count, std::string(m_model.c_str() + from));
    }
}

void TextPair::Letters(Input& in) {
    const bool small = in.Flag();
    (small ? m_tested.tolower() : m_tested.toupper());
    std::transform(m_model.begin(), m_model.end(), m_model.begin(), small ? Lower : Upper);
}

void TextPair::Trim(Input& in) {
    const unsigned choice = in.Below(6);
    if (choice == 4) {
        m_tested.trimleft();
    } else if (choice == 5) {
        m_tested.trimright();
    } else {
        m_tested.trim(choice % 2 != 0, choice / 2 != 0);
    }
    m_model = Trimmed(m_model, choice == 4 || choice == 1 || choice == 3,
                      choice == 5 || choice == 2 || choice == 3);
}

void TextPair::Clear(Input& in) {
    if (in.Flag()) {
        m_tested.clear();
    } else {
        m_tested = static_cast<const utf8*>(nullptr);
    }
    m_model.clear();
    Require(m_tested.c_str() == nullptr, "the buffer is kept");
}

void TextPair::Resize(Input& in) {
    const uint32 length = in.Below(1000);
    Require(m_tested.resize(length) == length, "the answer");
    m_model.resize(length, '\0');
}

void TextPair::Reserve(Input& in) {
    const uint32 length = in.Below(1000);
    const uint32 room = m_tested.reserve(length);
    const uint32 needed = std::max(length, Size());
    Require(needed == 0 ? room == 0 && m_tested.c_str() == nullptr : room > needed, "the room");
    const utf8* const buffer = m_tested.c_str();
    if (length != 0 && room > length) {
        m_tested.resize(length);
        Require(m_tested.c_str() == buffer, "an allocation within the room");
        m_model.resize(length, '\0');
    }
}

void TextPair::Write(Input& in) {
    const utf8 byte = static_cast<utf8>(in.Byte());
    if (!m_model.empty()) {
        const uint32 at = in.Below(m_model.size());
        switch (in.Below(3)) {
            case 0:
                m_tested.data()[at] = byte;
                break;
            case 1:
                m_tested.at(at) = byte;
                break;
            default:
                m_tested[at] = byte;
                break;
        }
        m_model[at] = byte;
    }
}

// Which of the two the next operations work on.
void TextPair::Swap(Input& /*in*/) {
    const strutf8 kept(m_tested);
    m_tested = m_otherTested;
    m_otherTested = kept;
    m_model.swap(m_otherModel);
}

}  // namespace fuzz
