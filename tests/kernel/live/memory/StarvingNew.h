// The program's operator new under the test's control: it counts what is asked for, refuses
// one request or more, and knows which blocks are still there.
//
// Linking StarvingNew.cpp replaces the plain forms of new and delete, single and array, the
// throwing and the non-throwing ones. Under the thread sanitizer, whose runtime has these
// operators itself, the linker sends the calls to them instead. Over-aligned objects, of
// which there are none here, and memory from malloc are not seen.
//
// One real thread alone: the records are plain variables.
#ifndef VAXO_TESTS_MEMORY_STARVINGNEW_H
#define VAXO_TESTS_MEMORY_STARVINGNEW_H

namespace starving {

enum class Then { Works, FailsToo };  // what becomes of the requests after the refused one

// While one lives, the requests made on the played threads are numbered from 1, and number
// `refused` gets nothing (0: all get what they want). `threads` names the played threads
// whose requests are numbered, a character each. Not to be nested.
class Watch {
public:
    Watch(long refused, Then then, const char* threads);
    ~Watch();
    Watch(const Watch&) = delete;
    Watch& operator=(const Watch&) = delete;

    // Whether there was such a request; whether one of those refused had to throw.
    bool Refused() const;
    bool RefusedWithThrow() const;
};

// While one lives, requests are neither numbered nor refused, and their blocks do not count
// among the survivors. For the parts of the test that the library comes by.
class Pause {
public:
    Pause();
    ~Pause();
    Pause(const Pause&) = delete;
    Pause& operator=(const Pause&) = delete;
};

// Makes a request without a block, for a function that stands in for one that allocates:
// throws std::bad_alloc if it is refused.
void Request();

// Blocks asked for during the latest Watch, on any played thread, that nobody has freed.
long Survivors();

}  // namespace starving

#endif
