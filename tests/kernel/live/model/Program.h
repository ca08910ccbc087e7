// A program for the proxy and what surrounds it: a list of steps that an application, an
// engine and the workers take in turn. It can be made from a seed, written down, and read
// back.
//
// A step is an operation with its arguments as texts, in the order of the interface and
// as the journal shows them ("view7", "true", "-1"). Written down it is a line:
//
//     PlayStream room1 0
//     in PlayStream: OnPlayStateUpdate 0 room1     inside the next engine call of that name
//     during PlayStream: StopPublishing            the same, on a thread of its own
//     run 0                                        worker 0 runs its oldest call
//
// Guarantees
// - The same seed gives the same program with every compiler and standard library.
// - A program that is printed and parsed is the same program.
#ifndef VAXO_TESTS_MODEL_PROGRAM_H
#define VAXO_TESTS_MODEL_PROGRAM_H

#include <cstdint>
#include <string>
#include <vector>

namespace livemodel {

typedef std::vector<std::string> Args;

struct Step {
    // Where the step is taken: empty for at once; else inside the next call of the engine
    // operation, callback, or other place of that name (Places() lists them).
    std::string place;
    bool beside = false;  // there, but on another thread than the one that came by
    std::string op;
    Args args;
};

inline bool operator==(const Step& a, const Step& b) {
    return a.place == b.place && a.beside == b.beside && a.op == b.op && a.args == b.args;
}

typedef std::vector<Step> Program;

enum class Kind {
    Call,      // of the application, queued
    Control,   // the same, a media or device setter
    Getter,    // of the application, waits for worker 0
    Event,     // of the engine
    Numbered,  // an event that names its stream by number
    Callback,  // what the application does with its callback objects
    Script,    // what the engine, the settings and the log file answer from now on
    Queue,     // past the proxy's operations: the plain AddCmd, the queue itself
    Run,       // of the workers
};

// An operation and its arguments, a letter each (see ProgramGenerator.cpp).
struct Operation {
    std::string name;
    Kind kind;
    std::string args;
};

const std::vector<Operation>& Operations();

// The operation of that name, null if there is none; and where there must be one.
const Operation* FindOperation(const std::string& name);
const Operation& OperationOf(const std::string& name);

// Whether it is the engine that takes such a step.
bool IsOfEngine(const std::string& op);

// Whether the operation may complete a command: such a one waits for the pass that runs
// one on another thread.
bool MayComplete(const std::string& op);

// The places inside which a step can be taken.
const std::vector<std::string>& Places();

// The program of a seed. A theme decides what it is made of.
struct Theme {
    std::string name;
    std::uint64_t firstSeed;
};
const std::vector<Theme>& Themes();
inline constexpr std::uint64_t SeedsPerTheme = 10000000;
Program Generate(std::uint64_t seed);

// One step a line.
std::string Print(const Step& step);
std::string Print(const Program& program);

// Reads what Print writes; empty lines and lines that begin with # are passed over. False,
// with the line in `error`, when it cannot be read.
bool Parse(const std::string& text, Program& program, std::string& error);

// A text with what is not printable as \xHH.
std::string Escaped(const std::string& text);

}  // namespace livemodel

#endif
