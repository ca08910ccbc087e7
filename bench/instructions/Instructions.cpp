// Repeats one operation, to be run under callgrind by "count":
//
//     vaxo_bench_instructions --list            a line each: name, without, exact or about,
//                                               count and description, by tabs
//     vaxo_bench_instructions OPERATION COUNT
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <future>
#include <thread>
#include <vector>

#include "instructions/Operations.h"

namespace {

std::vector<vaxoengine::Operation> All() {
    std::vector<vaxoengine::Operation> all = vaxoengine::FrontOperations();
    for (const vaxoengine::Operation& operation : vaxoengine::PartOperations()) {
        all.push_back(operation);
    }
    return all;
}

void List() {
    for (const vaxoengine::Operation& operation : All()) {
        std::printf("%s\t%s\t%s\t%d\t%s\n", operation.name, operation.without,
                    operation.isExact ? "exact" : "about", operation.count, operation.description);
    }
}

int Run(const char* name, int count) {
    // As long as a process has one thread, the standard library counts references in another
    // way. The programs of this library always have several.
    std::promise<void> over;
    std::thread second([&over] { over.get_future().wait(); });
    int status = 2;
    for (const vaxoengine::Operation& operation : All()) {
        if (std::strcmp(operation.name, name) == 0) {
            operation.run(count);
            status = 0;
        }
    }
    over.set_value();
    second.join();
    return status;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc == 2 && std::strcmp(argv[1], "--list") == 0) {
        List();
        return 0;
    }
    if (argc != 3) {
        static_cast<void>(std::fputs("usage: --list | OPERATION COUNT\n", stderr));
        return 2;
    }
    return Run(argv[1], static_cast<int>(std::strtol(argv[2], nullptr, 10)));
}
