// What the thread sanitizer is told, so that it sees the program under exploration and
// not the explorer: the hand-over between threads is hidden from it, and the order that
// the explorer's locks, events and workers make is announced. Empty without it.
#ifndef VAXO_TESTS_EXPLORE_SANITIZERS_H
#define VAXO_TESTS_EXPLORE_SANITIZERS_H

#if defined(__has_feature)
#if __has_feature(thread_sanitizer)
#define VAXO_EXPLORE_TSAN 1
#endif
#endif
#if defined(__SANITIZE_THREAD__)
#define VAXO_EXPLORE_TSAN 1
#endif

#if defined(VAXO_EXPLORE_TSAN)
// The sanitizer's own interface; its header does not declare all of these.
extern "C" {
void __tsan_acquire(void* address);
void __tsan_release(void* address);
void __tsan_ignore_thread_begin();
void __tsan_ignore_thread_end();
void AnnotateIgnoreSyncBegin(const char* file, int line);
void AnnotateIgnoreSyncEnd(const char* file, int line);
}
#endif

namespace explore {

#if defined(VAXO_EXPLORE_TSAN)
inline int& UnseenDepth() {
    thread_local int t_depth = 0;
    return t_depth;
}

// The explorer's own work: neither its memory nor its synchronisation counts.
class Unseen {
public:
    Unseen() {
        if (UnseenDepth()++ == 0) {
            __tsan_ignore_thread_begin();
            AnnotateIgnoreSyncBegin(__FILE__, __LINE__);
        }
    }
    ~Unseen() {
        if (--UnseenDepth() == 0) {
            AnnotateIgnoreSyncEnd(__FILE__, __LINE__);
            __tsan_ignore_thread_end();
        }
    }
    Unseen(const Unseen&) = delete;
    Unseen& operator=(const Unseen&) = delete;
};

// Also from inside of what is unseen.
inline void Announce(void (*what)(void*), const void* tag) {
    if (UnseenDepth() != 0) {
        AnnotateIgnoreSyncEnd(__FILE__, __LINE__);
    }
    what(const_cast<void*>(tag));  // an address only, nothing is written
    if (UnseenDepth() != 0) {
        AnnotateIgnoreSyncBegin(__FILE__, __LINE__);
    }
}
inline void Acquire(const void* tag) {
    Announce(&__tsan_acquire, tag);
}
inline void Release(const void* tag) {
    Announce(&__tsan_release, tag);
}
#else
inline void Acquire(const void* /*tag*/) {}
inline void Release(const void* /*tag*/) {}
class Unseen {
public:
    Unseen() {}
    ~Unseen() {}
    Unseen(const Unseen&) = delete;
    Unseen& operator=(const Unseen&) = delete;
};
#endif

}  // namespace explore

#endif
