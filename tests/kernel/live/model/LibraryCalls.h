// The proxy's operations by name, with their arguments as texts: how a step of a program
// becomes a call of the library.
#ifndef VAXO_TESTS_MODEL_LIBRARYCALLS_H
#define VAXO_TESTS_MODEL_LIBRARYCALLS_H

#include <functional>
#include <string>

#include "IVaxoLive.h"
#include "kernel/live/model/Program.h"

namespace livemodel {

typedef std::function<int(Strova::IVaxoLive& live, const Args& args)> LibraryCall;
typedef std::function<void(Strova::IVaxoLiveCallback& callback, const Args& args)> LibraryEvent;

// The queued operation, or the event, of that name; there must be one.
const LibraryCall& CallOf(const std::string& name);
const LibraryEvent& EventOf(const std::string& name);

// Asks the getter of that name, where a list already has an entry of its own, and prints
// the answer.
std::string Ask(Strova::IVaxoLive& live, const std::string& getter, const Args& args);

// A text as the library's string and as its byte buffer.
vaxo::strutf8 Str(const std::string& text);
vaxo::stream Bytes(const std::string& text);

Strova::VaxoLiveStream StreamNamed(const std::string& streamID);

}  // namespace livemodel

#endif
