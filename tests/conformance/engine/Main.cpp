// The kit's main program.
#include <gtest/gtest.h>

#include "conformance/engine/Texts.h"

namespace conformance {

namespace {

class Surroundings : public testing::Environment {
public:
    void SetUp() override { Env().SetUp(); }
    void TearDown() override { Env().TearDown(); }
};

}  // namespace

Environment& Env() {
    static Environment* const environment = MakeEnvironment().release();
    return *environment;
}

}  // namespace conformance

int main(int argc, char** argv) {
    testing::InitGoogleTest(&argc, argv);
    testing::AddGlobalTestEnvironment(new conformance::Surroundings);
    return RUN_ALL_TESTS();
}
