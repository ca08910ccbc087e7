// The name that the system shows for the calling thread.
#ifndef VAXO_TESTS_CONFORMANCE_PLATFORM_SYSTEMNAME_H
#define VAXO_TESTS_CONFORMANCE_PLATFORM_SYSTEMNAME_H

#include <pthread.h>

#include <string>

#include "conformance/platform/Kit.h"

namespace conformance {

// A system without this function tells in its own way: change it here.
inline std::string SystemName() {
    char name[256] = "";
    Require(pthread_getname_np(pthread_self(), name, sizeof(name)) == 0,
            "the system does not tell the calling thread's name");
    return name;
}

}  // namespace conformance

#endif
