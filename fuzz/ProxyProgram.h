// Programs for the live proxy from bytes.
#ifndef VAXO_FUZZ_PROXYPROGRAM_H
#define VAXO_FUZZ_PROXYPROGRAM_H

#include "fuzz/Input.h"
#include "kernel/live/model/Program.h"

namespace fuzz {

// Every input is a program, of at most 60 steps.
livemodel::Program TakeProgram(Input& in);

}  // namespace fuzz

#endif
