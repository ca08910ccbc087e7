// What asks a strutf8, and the table of all its operations.
#include <algorithm>
#include <limits>

#include "fuzz/Containers.h"
#include "fuzz/Steps.h"
#include "fuzz/TextPair.h"

namespace fuzz {

using vaxo::strutf8;

namespace {

std::string Lowered(std::string text) {
    for (char& c : text) {
        c = c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c;
    }
    return text;
}

int Sign(int order) {
    return (order > 0 ? 1 : 0) - (order < 0 ? 1 : 0);
}

// All that the operators say of two operands, against the order that they are in.
template <class Left, class Right>
void RequireOrder(const Left& a, const Right& b, int order) {
    Require((a == b) == (order == 0) && (a != b) == (order != 0), "equality");
    Require((a < b) == (order < 0) && (a > b) == (order > 0), "less or greater");
    Require((a <= b) == (order <= 0) && (a >= b) == (order >= 0), "at most or at least");
}

}  // namespace

void TextPair::At(Input& in) {
    const strutf8& tested = m_tested;
    const uint32 at = in.Flag() ? in.Below(m_model.size() + 3) : 0xFFFFFFFFU - in.Byte();
    const char expected = at < Size() ? m_model[at] : '\0';
    Require(tested.at(at) == expected && m_tested.at(at) == expected, "at");
    Require(tested[at] == expected && m_tested[at] == expected, "subscript");
    const long wide = static_cast<long>(at);
    Require(tested[wide] == expected && m_tested[wide] == expected, "a wide subscript");
    const int negative = -1 - in.Byte();
    Require(tested[negative] == '\0' && m_tested[negative] == '\0', "a negative subscript");
    if (at >= Size()) {
        m_tested[at] = 'x';
        Require(m_tested[at] == '\0', "a byte of no string");
    }
}

void TextPair::Substr(Input& in) {
    const uint32 pos = in.Below(m_model.size() + 3);
    const uint32 count = in.Flag() ? in.Below(80) : std::numeric_limits<uint32>::max();
    const std::string expected = m_model.substr(std::min(pos, Size()), count);
    m_otherTested = m_tested.substr(pos, count);
    m_otherModel = expected;
}

void TextPair::Find(Input& in) {
    const Argument text(in, 4);
    const std::string what = text.UpToZero();
    const int32 start = static_cast<int32>(in.Below(m_model.size() + 8)) - 4;
    const std::size_t first = start < 0 ? 0 : static_cast<std::size_t>(start);
    Require(
        m_tested.find(text.Terminated(), start) == static_cast<int32>(m_model.find(what, first)),
        "find");
    Require(m_tested.find(text.Terminated(), start, false) ==
                static_cast<int32>(Lowered(m_model).find(Lowered(what), first)),
            "find in either case");
    Require(m_tested.find(text.Terminated()) == static_cast<int32>(m_model.find(what)),
            "find from the start");
}

void TextPair::ReverseFind(Input& in) {
    const Argument text(in, 4);
    const std::string what = text.UpToZero();
    const int32 start = static_cast<int32>(in.Below(m_model.size() + 8)) - 4;
    const std::size_t last = start < 0 ? std::string::npos : static_cast<std::size_t>(start);
    Require(m_tested.reversefind(text.Terminated(), start) ==
                static_cast<int32>(m_model.rfind(what, last)),
            "reversefind");
    Require(m_tested.reversefind(text.Terminated(), start, false) ==
                static_cast<int32>(Lowered(m_model).rfind(Lowered(what), last)),
            "reversefind in either case");
    Require(m_tested.reversefind(text.Terminated()) == static_cast<int32>(m_model.rfind(what)),
            "reversefind from the end");
}

void TextPair::CompareText(Input& in) {
    // Often the own content, cut or continued.
    const Argument text =
        in.Flag() ? Argument(m_model.substr(0, in.Below(m_model.size() + 1)) + in.Text(3))
                  : Argument(in, 20);
    const int order = Sign(m_model.compare(text.UpToZero()));
    Require(m_tested.compare(text.Terminated()) == order, "compare");
    Require((m_tested.equals(text.Terminated()) != 0) == (order == 0), "equals");
    RequireOrder(m_tested, text.Terminated(), order);
    RequireOrder(text.Terminated(), m_tested, -order);
}

void TextPair::ComparePart(Input& in) {
    const int32 pos = static_cast<int32>(in.Below(m_model.size() + 8)) - 4;
    const int32 count = static_cast<int32>(in.Below(m_model.size() + 8)) - 4;
    const std::size_t from = std::min<std::size_t>(static_cast<uint32>(std::max(pos, 0)), Size());
    const std::size_t size = count < 0 ? std::string::npos : static_cast<std::size_t>(count);
    Require(m_tested.compare(pos, count, m_otherTested) ==
                Sign(m_model.compare(from, size, m_otherModel)),
            "the order");
    const strutf8 part(m_tested.substr(static_cast<uint32>(from), static_cast<uint32>(size)));
    Require(m_tested.compare(pos, count, part) == 0, "the order of a part of itself");
}

void TextPair::Affixes(Input& in) {
    const Argument text =
        in.Flag() ? Argument(m_model.substr(0, in.Below(m_model.size() + 1))) : Argument(in, 4);
    const std::string what = text.UpToZero();
    Require((m_tested.startswith(text.Terminated()) != 0) ==
                (m_model.compare(0, what.size(), what) == 0),
            "startswith");
    const std::string end = m_model.substr(m_model.size() - std::min(what.size(), m_model.size()));
    Require((m_tested.endswith(text.Terminated()) != 0) == (end == what), "endswith");
    const std::string tail = m_model.substr(in.Below(m_model.size() + 1));
    Require(m_tested.endswith(tail.c_str()) != 0 || tail.find('\0') != std::string::npos,
            "endswith its own end");
}

void TextPair::Order(Input& /*in*/) {
    RequireOrder(m_tested, m_otherTested, Sign(m_model.compare(m_otherModel)));
    RequireOrder(m_tested, strutf8(m_tested), 0);
}

namespace {

const Operation<TextPair> kOperations[] = {
    {"assign", &TextPair::Assign},
    {"assign own part", &TextPair::AssignOwnPart},
    {"construct", &TextPair::Construct},
    {"convert UTF-16", &TextPair::ConvertUtf16},
    {"format", &TextPair::Format},
    {"append", &TextPair::Append},
    {"append a part", &TextPair::AppendPart},
    {"append own part", &TextPair::AppendOwnPart},
    {"append too much", &TextPair::AppendTooMuch},
    {"add", &TextPair::Add},
    {"replace", &TextPair::Replace},
    {"replace with own part", &TextPair::ReplaceWithOwnPart},
    {"letters", &TextPair::Letters},
    {"trim", &TextPair::Trim},
    {"clear", &TextPair::Clear},
    {"resize", &TextPair::Resize},
    {"reserve", &TextPair::Reserve},
    {"write", &TextPair::Write},
    {"swap", &TextPair::Swap},
    {"at", &TextPair::At},
    {"substr", &TextPair::Substr},
    {"find", &TextPair::Find},
    {"reversefind", &TextPair::ReverseFind},
    {"compare with a text", &TextPair::CompareText},
    {"compare a part", &TextPair::ComparePart},
    {"affixes", &TextPair::Affixes},
    {"order", &TextPair::Order},
};

}  // namespace

void FuzzText(Input& in) {
    TextPair pair;
    RunSteps(pair, kOperations, in);
}

}  // namespace fuzz
