// The rules that the kit checks, in the words that a failure shows: "broken rule: <words>".
#ifndef VAXO_TESTS_CONFORMANCE_RULES_H
#define VAXO_TESTS_CONFORMANCE_RULES_H

namespace conformance::rule {

constexpr const char* Answered = "a request that was accepted is answered by its event, in time";
constexpr const char* Once = "a request is answered once, and a state is told once";
constexpr const char* Silent = "a call that answers another status than 0 causes no event";
constexpr const char* Accepted = "a request in its place is accepted: status 0";
constexpr const char* Outcome = "the answer says what became of the request";
constexpr const char* AsGiven = "an event names the stream or the channel as the request did";
constexpr const char* Ended = "a publish or a play that is over, or never began, changes no more";
constexpr const char* AfterLogout = "after OnLogout nothing comes of the channel that was left";
constexpr const char* AfterUninit =
    "after Uninit nothing comes but answers to earlier requests and the end of what ran";
constexpr const char* Values = "an event carries values that can be: sizes, flags, indices, images";
constexpr const char* Listed = "entering a channel lists its streams, each as OnStreamUpdate";
constexpr const char* Snapshots = "a snapshot that can be taken comes, with its channel's index";
constexpr const char* Weak = "the callback is held weakly, and strongly only while it is called";
constexpr const char* Gone = "a callback that is gone is not called";
constexpr const char* Replaced = "what is asked after SetCallback is answered to the new callback";
constexpr const char* Returns =
    "an operation returns without waiting for an event, or for a thread that is inside one";
constexpr const char* Empty = "a text getter gives the empty text where there is nothing to name";
constexpr const char* Named = "a text getter names the channel and the publish that are there";
constexpr const char* Untouched = "a getter that fails leaves its argument as it was";
constexpr const char* Filled = "the stream list getter gives the streams known now, nothing else";
constexpr const char* QueueGoesOn = "behind the proxy no request holds the queue for ever";

constexpr const char* All[] = {Answered,  Once,        Silent,      Accepted, Outcome, AsGiven,
                               Ended,     AfterLogout, AfterUninit, Values,   Listed,  Snapshots,
                               Weak,      Gone,        Replaced,    Returns,  Empty,   Named,
                               Untouched, Filled,      QueueGoesOn};

}  // namespace conformance::rule

#endif
