// vaxo::strutf8 beside std::string: the operations that the input may name.
#ifndef VAXO_FUZZ_TEXTPAIR_H
#define VAXO_FUZZ_TEXTPAIR_H

#include <string>

#include "fuzz/Input.h"
#include "fuzz/Texts.h"
#include "vaxostrutf8.h"

namespace fuzz {

class TextPair {
public:
    // Text_edit_fuzz.cpp
    void Assign(Input& in);
    void AssignOwnPart(Input& in);
    void Construct(Input& in);
    void ConvertUtf16(Input& in);
    void Format(Input& in);
    void Append(Input& in);
    void AppendPart(Input& in);
    void AppendOwnPart(Input& in);
    void AppendTooMuch(Input& in);
    void Add(Input& in);
    void Replace(Input& in);
    void ReplaceWithOwnPart(Input& in);
    void Letters(Input& in);
    void Trim(Input& in);
    void Clear(Input& in);
    void Resize(Input& in);
    void Reserve(Input& in);
    void Write(Input& in);
    void Swap(Input& in);

    // Text_look_fuzz.cpp
    void At(Input& in);
    void Substr(Input& in);
    void Find(Input& in);
    void ReverseFind(Input& in);
    void CompareText(Input& in);
    void ComparePart(Input& in);
    void Affixes(Input& in);
    void Order(Input& in);

    void Check();

private:
    uint32 Size() const { return static_cast<uint32>(m_model.size()); }

    vaxo::strutf8 m_tested;
    vaxo::strutf8 m_otherTested;
    std::string m_model;
    std::string m_otherModel;
};

}  // namespace fuzz

#endif
