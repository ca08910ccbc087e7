// What the system says of this process. Any thread.
#ifndef VAXO_TESTS_SOAK_OWNFIGURES_H
#define VAXO_TESTS_SOAK_OWNFIGURES_H

namespace soak {

struct OwnFigures {
    long residentKib = 0;
    long threads = 0;
    long descriptors = 0;  // open ones
};
OwnFigures TakeOwnFigures();

}  // namespace soak

#endif
