// Thread ids and names: vaxothread.h.
#include <set>
#include <string>

#include "conformance/platform/Kit.h"
#include "conformance/platform/SystemName.h"
#include "vaxothread.h"

namespace conformance {
namespace {

void Stable() {
    const int rounds = Rounds(1000);
    Together(3, [rounds](int) {
        const vaxothread_id id = vaxothread_selfid();
        Require(id != 0, "a thread's id was 0");
        for (int round = 0; round < rounds; ++round) {
            Require(vaxothread_selfid() == id, "a thread's id changed");
        }
    });
}

void Distinct() {
    const int count = 8;
    vaxothread_id ids[count] = {};
    Flag asked[count];
    Together(count, [&](int number) {
        ids[number] = vaxothread_selfid();
        asked[number].Raise();
        for (const Flag& other : asked) {  // all of them live
            other.Await("every thread to get its id");
        }
    });
    std::set<vaxothread_id> distinct(ids, ids + count);
    distinct.insert(vaxothread_selfid());
    Require(distinct.size() == count + 1U, "two live threads had one id");
}

// The name that a thread bears after it has named itself so, in this order.
std::string NameAfter(const std::vector<const char*>& names) {
    std::string kept;
    Together(1, [&](int) {
        for (const char* name : names) {
            vaxothread_set_name(name);
        }
        kept = SystemName();
    });
    return kept;
}

void NameShows() {
    Require(NameAfter({"QR.2"}) == "QR.2", "the system shows another name than was set");
    Require(NameAfter({"first", "later"}) == "later", "a second name did not replace the first");
}

void LongName() {
    const std::string whole = "abcdefghijklmnopqrstuvwxyz and much more than any system keeps";
    const std::string kept = NameAfter({whole.c_str()});
    Require(!kept.empty(), "a name that is too long was dropped, not cut");
    Require(whole.compare(0, kept.size(), kept) == 0, "the system keeps no prefix of the name");
}

void NullName() {
    Require(NameAfter({"kept", nullptr}) == "kept", "a null name changed the thread's");
}

void OwnName() {
    Flag named;
    Flag seen;
    std::string other;
    Together({[&] {
                  vaxothread_set_name("one");
                  named.Raise();
                  seen.Await("the other thread to look at its name");
              },
              [&] {
                  vaxothread_set_name("two");
                  named.Await("the other thread to have named itself");
                  other = SystemName();
                  seen.Raise();
              }});
    Require(other == "two", "a thread that named itself named another one");
}

}  // namespace

Cases ThreadCases() {
    return {
        {"thread/stable", "A thread's id is not 0 and stays the same.", needs_nothing, &Stable},
        {"thread/distinct", "Live threads have ids of their own.", needs_nothing, &Distinct},
        {"thread/name-shows", "vaxothread_set_name names the calling thread for the system.",
         needs_names, &NameShows},
        {"thread/long-name", "Of a long name the system keeps a prefix.", needs_names, &LongName},
        {"thread/null-name", "A null name is ignored.", needs_names, &NullName},
        {"thread/own-name", "A thread names itself alone.", needs_names, &OwnName},
    };
}

}  // namespace conformance
