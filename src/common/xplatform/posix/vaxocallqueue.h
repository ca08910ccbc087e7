// The queue of one worker: any number of threads push calls, one thread runs them.
//
// Private to the platform layer.
//
// Guarantees
// - Push and Retire may be called from any thread, Run by one thread once.
// - Calls run in the order in which the pushes took effect. Each thread's own
//   pushes take effect in its program order; a push that happened before another
//   comes before it.
// - What a thread did before Push is visible to the call.
// - A call is destroyed before the next one begins, by the running thread, with
//   no lock held.
// - After Retire no further call begins: Run destroys what is left and returns.
//   Retire is the last use by anybody but the running thread.
// - Calls that are still there when the queue is destroyed are destroyed unrun.
//
// How it works
// Calls wait in a singly linked list, the newest first. m_head is one of
//   null          nothing waits, the running thread is awake (or not there yet)
//   &m_asleep     nothing waits, the running thread sleeps or is about to
//   anything else the newest of the waiting calls
// A push puts its node before what it finds, by compare-exchange. The push that
// finds the mark &m_asleep puts its node in the mark's place and, being the only
// one that found it, signals m_wake once. The running thread takes the whole list
// with one exchange and turns it round. When it finds nothing, it puts the mark
// in, by compare-exchange from null, and waits for m_wake: one signal for every
// mark, never one too many or too few.
//
// Memory order
// - A push is a release and the taking an acquire: the node's content, and all
//   that the pusher did before, is visible to the running thread. Every change of
//   m_head is a read-modify-write, so the pushes between one taking and the next
//   form one release sequence: an acquire of the newest covers the older ones.
// - Putting the mark in and replacing it carry no data of their own: the wait
//   and the signal order what follows, and the next taking acquires.
// - A pushed node is not read again by its pusher, and nodes leave only all
//   together, so the value of m_head returning to an old address is harmless: a
//   push needs no more than that its node's `next` is what it replaces.
// - m_retired only makes the end prompt; what ends Run is the mark &m_stop, which
//   comes through the list like a call.
#ifndef VAXO_VAXOCALLQUEUE_H
#define VAXO_VAXOCALLQUEUE_H

#include <atomic>
#include <memory>

#include "vaxoblocks.h"
#include "vaxocacheline.h"
#include "vaxoevent.h"
#include "vaxotask.h"

class CVAXOCallQueue {
public:
    CVAXOCallQueue() : m_head(nullptr), m_retired(false), m_wake(true, false) {}
    ~CVAXOCallQueue() {
        m_retired.store(true, std::memory_order_relaxed);
        RunAll(TakeAll());
    }

    CVAXOCallQueue(const CVAXOCallQueue&) = delete;
    CVAXOCallQueue& operator=(const CVAXOCallQueue&) = delete;

    // Queues a copy of the call. Takes one block.
    void Push(const CScopeCall& call) { PushLink(new Node(call)); }

    void Retire() {
        m_retired.store(true, std::memory_order_release);
        PushLink(&m_stop);
    }

    // Runs calls until the queue is retired.
    void Run() {
        while (!RunAll(TakeAll())) {
            Sleep();
        }
    }

private:
    struct Link {
        Link* next = nullptr;
    };
    struct Node : Link, vaxo::block_made<Node> {
        explicit Node(const CScopeCall& queued) : call(queued) {}
        const CScopeCall call;
    };

    void PushLink(Link* link) {
        Link* newest = m_head.load(std::memory_order_relaxed);
        do {
            link->next = newest == &m_asleep ? nullptr : newest;
        } while (!m_head.compare_exchange_weak(newest, link, std::memory_order_release,
                                               std::memory_order_relaxed));
        if (newest == &m_asleep) {
            m_wake.Post();
        }
    }

    // Everything that waits, the oldest first.
    Link* TakeAll() {
        Link* newest = m_head.exchange(nullptr, std::memory_order_acquire);
        Link* oldest = nullptr;
        while (newest != nullptr) {
            Link* const older = newest->next;
            newest->next = oldest;
            oldest = newest;
            newest = older;
        }
        return oldest;
    }

    // Runs (unless retired) and destroys one call after another. True when the end
    // was among them.
    bool RunAll(Link* link) {
        bool stopped = false;
        while (link != nullptr) {
            Link* const next = link->next;
            if (link == &m_stop) {
                stopped = true;
            } else {
                const std::unique_ptr<Node> node(static_cast<Node*>(link));
                if (!m_retired.load(std::memory_order_acquire)) {
                    node->call();
                }
            }
            link = next;
        }
        return stopped;
    }

    // Waits for a push, unless there has been one already.
    void Sleep() {
        Link* expected = nullptr;
        if (m_head.compare_exchange_strong(expected, &m_asleep, std::memory_order_relaxed)) {
            m_wake.Wait(-1);
        }
    }

    // Every push writes the first line, the running thread once for all that wait; what it reads
    // for each call is in another.
    alignas(vaxo_cache_line) std::atomic<Link*> m_head;
    alignas(vaxo_cache_line) std::atomic<bool> m_retired;
    Link m_asleep;      // a mark, never part of the list
    Link m_stop;        // the last of the list
    CVAXOEvent m_wake;  // auto-reset
};

#endif
