// The kit's program, linked with the platform layer under test. --help tells how to use it.
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <map>
#include <string>
#include <vector>

#include "conformance/platform/ThreadStage.h"

namespace {

using namespace conformance;

const char* const s_help =
    "NAME [OPTION...] [CASE...]    checks the cases, all by default\n"
    "  --list             prints the cases and their rules\n"
    "  --leave-out WHAT   tries, clock, names, sink or file: skips the cases that need it\n"
    "  --limit SECONDS    how long a case may take, default 60\n"
    "  --expect N         fails unless the kit has that many cases\n"
    "Status 0: every rule holds, 1: a rule is broken, 2: not understood, 77: all left out.\n";

const int s_leftOut = 77;

struct Wish {
    bool list = false;
    unsigned leftOut = needs_nothing;
    long limit = 60;
    long expect = -1;
    std::vector<std::string> names;
};

// False: not understood.
bool Understand(int argc, char** argv, Wish* wish) {
    static const std::map<std::string, unsigned> s_needs = {{"tries", needs_tries},
                                                            {"clock", needs_clock},
                                                            {"names", needs_names},
                                                            {"sink", needs_sink},
                                                            {"file", needs_file}};
    for (int i = 1; i < argc; ++i) {
        const std::string word = argv[i];
        const bool hasValue = i + 1 < argc;
        if (word == "--list") {
            wish->list = true;
        } else if (word.compare(0, 2, "--") != 0) {
            wish->names.push_back(word);
        } else if (hasValue && word == "--leave-out" && s_needs.count(argv[i + 1]) != 0) {
            wish->leftOut |= s_needs.at(argv[++i]);
        } else if (hasValue && word == "--limit") {
            wish->limit = std::strtol(argv[++i], nullptr, 10);
        } else if (hasValue && word == "--expect") {
            wish->expect = std::strtol(argv[++i], nullptr, 10);
        } else {
            return false;
        }
    }
    return wish->limit > 0;
}

const Case* Find(const std::string& name) {
    for (const Case& one : AllCases()) {
        if (name == one.name) {
            return &one;
        }
    }
    return nullptr;
}

// The cases wished for; empty when one is not there.
std::vector<const Case*> Chosen(const Wish& wish) {
    std::vector<const Case*> chosen;
    for (const std::string& name : wish.names) {
        const Case* const one = Find(name);
        if (one == nullptr) {
            std::fprintf(stderr, "no case is named %s\n", name.c_str());
            return {};
        }
        chosen.push_back(one);
    }
    if (wish.names.empty()) {
        for (const Case& one : AllCases()) {
            chosen.push_back(&one);
        }
    }
    return chosen;
}

int Check(const Wish& wish, const std::vector<const Case*>& chosen) {
    int checked = 0;
    for (const Case* const one : chosen) {
        const bool isLeftOut = (one->needs & wish.leftOut) != 0;
        // Before the case: a crash then has its rule in front of it.
        std::printf("%-9s %s: %s\n", isLeftOut ? "left out" : "checking", one->name, one->rule);
        std::fflush(stdout);
        if (!isLeftOut) {
            RunOnThreads(*one, std::chrono::seconds(wish.limit));
            ++checked;
        }
    }
    std::printf("%d of %zu rules checked, all hold\n", checked, chosen.size());
    return checked == 0 ? s_leftOut : 0;
}

}  // namespace

int main(int argc, char** argv) {
    Wish wish;
    if (!Understand(argc, argv, &wish)) {
        std::fputs(s_help, stderr);
        return 2;
    }
    const std::vector<const Case*> chosen = Chosen(wish);
    if (chosen.empty()) {
        return 2;
    }
    if (wish.expect >= 0) {
        const bool same = AllCases().size() == static_cast<std::size_t>(wish.expect);
        std::printf("%zu cases\n", AllCases().size());
        return same ? 0 : 1;
    }
    if (wish.list) {
        for (const Case* const one : chosen) {
            std::printf("%-32s%s\n", one->name, one->rule);
        }
        return 0;
    }
    return Check(wish, chosen);
}
