// Reference counting and liveness: who keeps an object, and whether it is still
// there.
//
// CRefCount       an object that frees itself when its last reference is dropped
// CRefCountSafe   the same, counted from any thread
// CScopeHolder    a counted stand-in for an object that is not counted itself
// CScopeSource    the member that makes an object watchable through a holder
//
// A queued call keeps the holder, not the object: when the object goes, its
// CScopeSource detaches the holder and every queued call sees IsValid() false.
//
// Guarantees
// - An object starts with a count of 1, owned by its creator.
// - Release() that drops the last reference deletes the object through the
//   virtual destructor and returns true; nobody may touch the object afterwards.
//   So a counted object is made with new and never deleted by hand.
// - CRefCountSafe: AddRef and Release may be called from any thread at once.
//   AddRef is relaxed (the caller already holds a reference); Release is
//   release on the way down and acquire before the deletion, so everything
//   that any holder wrote is visible to the destructor.
//
// Non-guarantees
// - IsValid() is a look, not a lock: an object may go between a true answer and
//   its use. Whoever calls through a holder must touch nothing of the object
//   that could be gone.
// - The counts are not checked: a Release() too many is undefined.
// - None of these classes can be copied.
#ifndef VAXO_VAXOREFC_H
#define VAXO_VAXOREFC_H

#include <atomic>

#include "vaxosched.h"
#include "vaxotypes.h"

// An object that is counted by one thread at a time.
class CRefCount {
public:
    virtual ~CRefCount() = default;

    // Takes one more reference and returns the new count. Not thread-safe here:
    // one thread at a time owns a plain CRefCount. (The counter is atomic for the
    // class below; apart, a load and a store cost no more than a plain integer.)
    virtual int32 AddRef() {
        const int32 count = m_iRefs.load(std::memory_order_relaxed) + 1;
        m_iRefs.store(count, std::memory_order_relaxed);
        return count;
    }

    // Drops one reference; true when that freed the object.
    virtual bool Release() {
        const int32 count = m_iRefs.load(std::memory_order_relaxed) - 1;
        m_iRefs.store(count, std::memory_order_relaxed);
        if (count != 0) {
            return false;
        }
        Free();
        return true;
    }

    // The object that stands for this instance in a queued call.
    virtual CRefCount* SafeInstance() { return this; }

    // False once the instance that this object stands for is gone.
    virtual bool IsValid() { return true; }

    // The count at some moment during the call; for tests and diagnosis.
    int32 RefCount() const { return m_iRefs.load(std::memory_order_relaxed); }

    CRefCount(const CRefCount&) = delete;
    CRefCount& operator=(const CRefCount&) = delete;

protected:
    CRefCount() : m_iRefs(1) {}  // one reference, the creator's

    void Free();  // the last reference is gone

    std::atomic<int32> m_iRefs;  // the count
};

// The static analyser does not follow the count and would take every Release for
// the last one. It sees a function that it knows nothing of.
#if !defined(__clang_analyzer__)
inline void CRefCount::Free() {
    delete this;
}
#endif

// An object that any thread may count. The manual is above.
class CRefCountSafe : public CRefCount {
public:
    int32 AddRef() override { return m_iRefs.fetch_add(1, std::memory_order_relaxed) + 1; }

    bool Release() override {
        if (m_iRefs.fetch_sub(1, std::memory_order_acq_rel) != 1) {
            return false;
        }
        Free();
        return true;
    }

protected:
    CRefCountSafe() = default;
};

// The stand-in. T is the watched class; the flag is false throughout this
// library and reserved by the type's name; RefBase is the counting base:
// CRefCountSafe, unless a single thread does everything.
template <class T, bool Flag, class RefBase>
class CScopeHolder : public RefBase {
public:
    // For that instance, which need not be counted.
    explicit CScopeHolder(T* instance) : p(instance) {}

    CRefCount* SafeInstance() override { return this; }  // stands for itself
    // Whether the instance is still there.
    bool IsValid() override {
        vaxosched_reach(&p);
        return p.load(std::memory_order_acquire) != nullptr;
    }

    // The instance goes. Called by the source; an owner may call it earlier, and
    // any thread may call it again.
    void Detach() {
        vaxosched_reach(&p);
        p.store(nullptr, std::memory_order_release);
    }

    // The watched instance, null once it is gone. Atomic: the source clears it
    // on one thread while workers look at it on theirs.
    std::atomic<T*> p;
};

// The member that ties an object's life to its holder. Construct it with the
// object's own address. It detaches the holder when it is destroyed: as the first
// member that is after all the others, as the last one before them. An owner that
// wants calls to stop before any member goes calls holder->Detach() first thing in
// its destructor.
template <class T, bool Flag, class RefBase>
class CScopeSource {
public:
    typedef CScopeHolder<T, Flag, RefBase> Holder;  // what it ties the object to

    // With the object's own address.
    explicit CScopeSource(T* instance) : holder(new Holder(instance)) {}

    ~CScopeSource() {
        holder->Detach();
        holder->Release();
    }

    CScopeSource(const CScopeSource&) = delete;
    CScopeSource& operator=(const CScopeSource&) = delete;

    Holder* holder;  // never null; one reference of its own
};

#endif
