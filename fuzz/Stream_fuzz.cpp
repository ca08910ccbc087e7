// vaxo::stream beside std::string.
#include <algorithm>
#include <cstddef>
#include <limits>
#include <new>
#include <string>

#include "fuzz/Containers.h"
#include "fuzz/Steps.h"
#include "fuzz/Texts.h"
#include "vaxostream.h"

namespace fuzz {

using vaxo::stream;
using vaxo::strutf16;
using vaxo::strutf8;

namespace {

class StreamPair {
public:
    void Assign(Input& in);
    void AssignOwnPart(Input& in);
    void AssignText(Input& in);
    void Construct(Input& in);
    void Attach(Input& in);
    void AttachOwn(Input& in);
    void Detach(Input& in);
    void Append(Input& in);
    void AppendOwnPart(Input& in);
    void AppendTooMuch(Input& in);
    void Replace(Input& in);
    void ReplaceWithOwnPart(Input& in);
    void Clear(Input& in);
    void Resize(Input& in);
    void SetBit(Input& in);
    void MergeBits(Input& in);
    void AndBits(Input& in);
    void Write(Input& in);
    void At(Input& in);
    void Text(Input& in);
    void Swap(Input& in);

    void Check();

private:
    uint32 Size() const { return static_cast<uint32>(m_model.size()); }
    uint8* Buffer() { return m_tested; }

    stream m_tested;
    stream m_otherTested;
    std::string m_model;
    std::string m_otherModel;
};

void StreamPair::Check() {
    const uint32 most = 1000;
    if (Size() > most) {
        Require(m_tested.resize(most) == most, "the answer");
        m_model.resize(most);
    }
    Require(Content(m_tested) == m_model, "the content");
    Require(Content(m_otherTested) == m_otherModel, "the other's content");
    const int order = m_model.compare(m_otherModel);
    Require((m_tested == m_otherTested) == (order == 0), "equality");
    Require((m_tested != m_otherTested) == (order != 0), "inequality");
    Require((m_tested < m_otherTested) == (order < 0), "less");
    Require((m_tested > m_otherTested) == (order > 0), "greater");
    Require((m_tested <= m_otherTested) == (order <= 0), "at most");
    Require((m_tested >= m_otherTested) == (order >= 0), "at least");
}

// ---- The whole content ----

void StreamPair::Assign(Input& in) {
    const Argument bytes(in, 80);
    if (in.Flag()) {
        m_tested.assign(bytes.Octets(), in.Flag() && bytes.Octets() == nullptr ? 9 : bytes.Size());
        m_model = bytes.Whole();
    } else {
        m_tested = m_otherTested;
        m_model = m_otherModel;
    }
}

void StreamPair::AssignOwnPart(Input& in) {
    const uint32 from = in.Below(m_model.size() + 1);
    const uint32 count = in.Below(Size() - from + 1);
    if (in.Flag()) {
        const stream& same = m_tested;
        m_tested = same;
    } else {
        m_tested.assign(Buffer() + from, count);
        m_model = m_model.substr(from, count);
    }
}

void StreamPair::AssignText(Input& in) {
    const Argument text(in, 80);
    const Units units = UnitsFrom(in, 20);
    switch (in.Below(4)) {
        case 0:
            m_tested = text.Terminated();
            m_model = text.UpToZero();
            break;
        case 1:
            m_tested = strutf8(text.Bytes(), text.Size());
            m_model = text.Whole();
            break;
        case 2:
            m_tested = strutf16(units.data(), static_cast<uint32>(units.size()));
            m_model = Utf8Of(units);
            break;
        default:
            // Its own bytes as a text.
            m_tested = static_cast<const utf8*>(m_tested.tos8());
            m_model = std::string(m_model.c_str());
            break;
    }
}

void StreamPair::Construct(Input& in) {
    const Argument bytes(in, 80);
    const Units units = UnitsFrom(in, 20);
    Require(Content(stream(bytes.Octets(), bytes.Size())) == bytes.Whole(), "from bytes");
    Require(Content(stream(bytes.Bytes(), bytes.Size())) == bytes.Whole(), "from a text");
    Require(Content(stream(units.data(), static_cast<uint32>(units.size()))) == Utf8Of(units),
            "from units");
    const stream copy(m_tested);
    Require(Content(copy) == m_model && copy == m_tested, "a copy");
}

void StreamPair::Attach(Input& in) {
    const Argument bytes(in, 80);
    const uint32 length = in.Below(bytes.Size() + 1);
    uint8* const buffer = bytes.Octets() == nullptr ? nullptr : new uint8[bytes.Size()];
    std::copy_n(bytes.Octets(), bytes.Size(), buffer);
    m_tested.attach(buffer, length);
    m_model = bytes.Whole().substr(0, length);
    Require(Buffer() == buffer, "another buffer");
}

void StreamPair::AttachOwn(Input& in) {
    uint8* const buffer = Buffer();
    const uint32 length = in.Below(m_model.size() + 1);
    m_tested.attach(buffer, length);
    m_model.resize(length);
    Require(Buffer() == buffer, "another buffer");
}

void StreamPair::Detach(Input& in) {
    const uint8* const before = Buffer();
    uint8* const buffer = m_tested.detach();
    Require(buffer == before && m_tested.size() == 0 && Buffer() == nullptr, "what is left");
    Require(std::equal(m_model.begin(), m_model.end(), buffer,
                       [](char a, uint8 b) { return static_cast<uint8>(a) == b; }),
            "what was handed out");
    if (in.Flag()) {
        m_tested.attach(buffer, Size());
    } else {
        delete[] buffer;
        m_model.clear();
    }
}

// ---- Changes ----

void StreamPair::Append(Input& in) {
    const Argument bytes(in, 80);
    if (in.Flag()) {
        m_tested.append(bytes.Octets(), bytes.Size());
        m_model += bytes.Whole();
    } else {
        m_tested += m_otherTested;
        m_model += m_otherModel;
    }
}

void StreamPair::AppendOwnPart(Input& in) {
    const uint32 from = in.Below(m_model.size() + 1);
    const uint32 count = in.Below(Size() - from + 1);
    if (in.Flag()) {
        m_tested += m_tested;
        m_model += std::string(m_model);
    } else {
        m_tested.append(Buffer() + from, count);
        m_model += m_model.substr(from, count);
    }
}

void StreamPair::AppendTooMuch(Input& in) {
    const uint32 most = std::numeric_limits<uint32>::max();
    const uint8 byte = 1;
    const unsigned choice = in.Below(4);
    bool failed = false;
    try {
        if (choice == 0) {
            m_tested.append(&byte, most - in.Below(m_model.size() + 1));
        } else if (choice == 1) {
            m_tested.replace(in.Below(m_model.size() + 1), 0, &byte, most);
        } else if (choice == 2) {
            m_tested.assign(&byte, most);
        } else {
            m_tested.resize(most);
        }
    } catch (const std::bad_alloc&) {
        failed = true;
    }
    Require(failed, "too much was not refused");
}

void StreamPair::Replace(Input& in) {
    const Argument bytes(in, 80);
    const uint32 pos = in.Below(m_model.size() + 3);
    const uint32 count = in.Flag() ? in.Below(80) : std::numeric_limits<uint32>::max();
    m_tested.replace(pos, count, bytes.Octets(), bytes.Size());
    m_model.replace(std::min(pos, Size()), count, bytes.Whole());
}

void StreamPair::ReplaceWithOwnPart(Input& in) {
    const uint32 pos = in.Below(m_model.size() + 1);
    const uint32 count = in.Below(80);
    const uint32 from = in.Below(m_model.size() + 1);
    const uint32 added = in.Below(Size() - from + 1);
    m_tested.replace(pos, count, Buffer() + from, added);
    m_model.replace(pos, count, m_model.substr(from, added));
}

void StreamPair::Clear(Input& in) {
    if (in.Flag()) {
        m_tested.clear();
    } else {
        m_tested = static_cast<const utf8*>(nullptr);
    }
    m_model.clear();
    Require(Buffer() == nullptr, "the buffer is kept");
}

void StreamPair::Resize(Input& in) {
    const uint32 length = in.Below(1000);
    Require(m_tested.resize(length) == length, "the answer");
    m_model.resize(length, '\0');
}

void StreamPair::Swap(Input& /*in*/) {
    const stream kept(m_tested);
    m_tested = m_otherTested;
    m_otherTested = kept;
    m_model.swap(m_otherModel);
}

// ---- Bits and bytes ----

void StreamPair::SetBit(Input& in) {
    const uint32 index = in.Below(4000);
    const bool value = in.Flag();
    const auto bit = [&] {
        return (static_cast<unsigned>(m_model[index / 8]) >> index % 8 & 1U) != 0;
    };
    Require(m_tested.bits(index) == (index / 8 < Size() && bit()), "the bit before");
    m_tested.bitset(index, value);
    if (index / 8 >= Size()) {
        m_model.resize(index / 8 + 1, '\0');
    }
    if (bit() != value) {
        m_model[index / 8] = static_cast<char>(m_model[index / 8] ^ (1 << index % 8));
    }
    Require(m_tested.bits(index) == value, "the bit behind");
    Require(!m_tested.bits(std::numeric_limits<uint32>::max()), "a bit past the end");
}

void StreamPair::MergeBits(Input& in) {
    const bool itself = in.Below(8) == 0;
    m_tested.bitsmerge(itself ? m_tested : m_otherTested);
    if (!itself) {
        m_model.resize(std::max(m_model.size(), m_otherModel.size()), '\0');
        for (std::size_t i = 0; i < m_otherModel.size(); ++i) {
            m_model[i] = static_cast<char>(m_model[i] | m_otherModel[i]);
        }
    }
}

void StreamPair::AndBits(Input& in) {
    const bool itself = in.Below(8) == 0;
    m_tested.bitsand(itself ? m_tested : m_otherTested);
    if (!itself) {
        for (std::size_t i = 0; i < m_model.size(); ++i) {
            const int other = i < m_otherModel.size() ? m_otherModel[i] : 0;
            m_model[i] = static_cast<char>(m_model[i] & other);
        }
    }
}

void StreamPair::Write(Input& in) {
    const uint8 byte = in.Byte();
    if (!m_model.empty()) {
        const uint32 at = in.Below(m_model.size());
        switch (in.Below(3)) {
            case 0:
                m_tested.at(at) = byte;
                break;
            case 1:
                m_tested[at] = byte;
                break;
            default:
                Buffer()[at] = byte;
                break;
        }
        m_model[at] = static_cast<char>(byte);
    }
}

void StreamPair::At(Input& in) {
    const stream& tested = m_tested;
    const uint32 at = in.Flag() ? in.Below(m_model.size() + 3) : 0xFFFFFFFFU - in.Byte();
    const uint8 expected = at < Size() ? static_cast<uint8>(m_model[at]) : uint8{0};
    Require(tested.at(at) == expected && m_tested.at(at) == expected, "at");
    const long wide = static_cast<long>(at);
    Require(tested[wide] == expected && m_tested[wide] == expected, "a wide subscript");
    const int negative = -1 - in.Byte();
    Require(tested[negative] == 0 && m_tested[negative] == 0, "a negative subscript");
    if (at >= Size()) {
        m_tested[at] = 7;
        Require(m_tested[at] == 0, "a byte of no stream");
    }
}

void StreamPair::Text(Input& /*in*/) {
    const char* const text = m_tested.tos8();
    Require(text != nullptr && std::string(text, Size()) == m_model, "the text");
    Require(text[Size()] == '\0', "the text's terminator");
}

const Operation<StreamPair> kOperations[] = {
    {"assign", &StreamPair::Assign},
    {"assign own part", &StreamPair::AssignOwnPart},
    {"assign a text", &StreamPair::AssignText},
    {"construct", &StreamPair::Construct},
    {"attach", &StreamPair::Attach},
    {"attach own buffer", &StreamPair::AttachOwn},
    {"detach", &StreamPair::Detach},
    {"append", &StreamPair::Append},
    {"append own part", &StreamPair::AppendOwnPart},
    {"append too much", &StreamPair::AppendTooMuch},
    {"replace", &StreamPair::Replace},
    {"replace with own part", &StreamPair::ReplaceWithOwnPart},
    {"clear", &StreamPair::Clear},
    {"resize", &StreamPair::Resize},
    {"set a bit", &StreamPair::SetBit},
    {"merge bits", &StreamPair::MergeBits},
    {"and bits", &StreamPair::AndBits},
    {"write", &StreamPair::Write},
    {"at", &StreamPair::At},
    {"as a text", &StreamPair::Text},
    {"swap", &StreamPair::Swap},
};

}  // namespace

void FuzzStream(Input& in) {
    StreamPair pair;
    RunSteps(pair, kOperations, in);
}

}  // namespace fuzz
