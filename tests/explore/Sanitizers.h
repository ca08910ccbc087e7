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
}
#endif

namespace explore {

#if defined(VAXO_EXPLORE_TSAN)
inline void Acquire(const void* tag) {
    __tsan_acquire(const_cast<void*>(tag));  // an address only, nothing is written
}
inline void Release(const void* tag) {
    __tsan_release(const_cast<void*>(tag));
}
// The explorer's own work: neither its memory nor its synchronisation counts.
class Unseen {
public:
    Unseen() { __tsan_ignore_thread_begin(); }
    ~Unseen() { __tsan_ignore_thread_end(); }
    Unseen(const Unseen&) = delete;
    Unseen& operator=(const Unseen&) = delete;
};
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
