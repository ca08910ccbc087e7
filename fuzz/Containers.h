// The library's containers, each beside what the standard library has for it. The input is
// a program of operations; after each the two are compared.
#ifndef VAXO_FUZZ_CONTAINERS_H
#define VAXO_FUZZ_CONTAINERS_H

#include "fuzz/Input.h"

namespace fuzz {

void FuzzMap(Input& in);
void FuzzVector(Input& in);
void FuzzText(Input& in);
void FuzzWideText(Input& in);
void FuzzStream(Input& in);

}  // namespace fuzz

#endif
