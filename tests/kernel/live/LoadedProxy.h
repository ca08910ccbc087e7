// The face of a module with the proxy, its workers and a small engine in it: what a
// program that loads the module finds by name, and what the module tells the program.
#ifndef VAXO_TESTS_LIVE_LOADEDPROXY_H
#define VAXO_TESTS_LIVE_LOADEDPROXY_H

extern "C" {

// The program's side. The module calls `inside` from its own code in the middle of a play
// on worker 0 ("engine") and in the middle of the play's event on worker 2 ("app"); what
// it does there is up to the program, it may take its time. `past` tells that the
// module's code went on afterwards. Both stay there until the process ends.
typedef struct {
    void (*inside)(const char* where);
    void (*past)(const char* where);
} LoadedHost;

// "loaded_proxy_address": the one proxy.
typedef const void* (*LoadedAddress)(void);

// "loaded_proxy_play": sets a callback, makes an engine, queues a play and returns.
typedef void (*LoadedPlay)(const LoadedHost* host);

// "loaded_proxy_getters": whether all getters answer as they do with an engine.
typedef int (*LoadedGetters)(void);

// "loaded_proxy_leave": lets go of the engine. Returns when all that was queued is done.
typedef void (*LoadedLeave)(void);
}

#endif
