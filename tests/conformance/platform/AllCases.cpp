// What every stage shares.
#include "conformance/platform/Kit.h"

namespace conformance {

const Cases& AllCases() {
    static const auto& s_cases = *[] {
        auto* const all = new Cases();
        for (const auto& part : {&LockCases, &ReadWriteCases, &TryCases, &EventCases, &ThreadCases,
                                 &RefcCases, &TaskCases, &WorkerCases, &LogCases, &LogFileCases}) {
            const Cases cases = part();
            all->insert(all->end(), cases.begin(), cases.end());
        }
        return all;
    }();
    return s_cases;
}

void Together(int count, const std::function<void(int)>& body) {
    std::vector<std::function<void()>> bodies;
    bodies.reserve(static_cast<std::size_t>(count));
    for (int number = 0; number < count; ++number) {
        bodies.emplace_back([&body, number] { body(number); });
    }
    Together(bodies);
}

}  // namespace conformance
