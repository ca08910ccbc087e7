// A seam for schedule exploration: the places where threads meet without a function of
// the platform layer announce themselves here.
//
// In a normal build this is nothing at all. A build with VAXO_EXPLORE defined, which
// tests/explore makes for itself, leaves vaxosched_reach to whoever links it; there every
// announcement is a moment at which another thread may go on.
#ifndef VAXO_VAXOSCHED_H
#define VAXO_VAXOSCHED_H

#if defined(VAXO_EXPLORE)
// Before the access. `address` tells which memory it is; it is not touched.
void vaxosched_reach(const void* address);
#else
inline void vaxosched_reach(const void* /*address*/) {}
#endif

#endif
