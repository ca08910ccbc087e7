// A program that brings an engine of its own.
#include <gtest/gtest.h>

#include <cstddef>
#include <string>

#include "apps/AppProcess.h"

namespace {

const std::string kProgram = std::string(VAXO_EXAMPLES_DIR) + "/own_engine";

TEST(OwnEngine, EveryRequestIsAnsweredByItsEventInOrder) {
    apptest::AppProcess program({}, {}, {false, {}, kProgram});
    EXPECT_EQ(program.End(), 0) << program.Error();
    // Leaving ends the publish that is not there; that is told only if it is quicker than the
    // leaving is queued.
    const std::string perhaps = "publish : END\n";
    std::string output = program.Output();
    const std::size_t at = output.find(perhaps);
    if (at != std::string::npos) {
        output.erase(at, perhaps.size());
    }
    EXPECT_EQ(output,
              "entered: 0\n"
              "publish show: BEGIN\n"
              "stream: show\n"
              "play show: BEGIN\n"
              "publishes at memory:show\n"
              "play show: END\n"
              "publish show: END\n"
              "gone: show\n"
              "left: 0\n");
}

TEST(OwnEngine, NoMediaLibraryIsLinked) {
    apptest::AppProcess ldd({kProgram}, {}, {false, {}, "/usr/bin/ldd"});
    EXPECT_EQ(ldd.End(), 0) << ldd.Error();
    EXPECT_NE(ldd.Output().find("libcurl"), std::string::npos) << ldd.Output();
    EXPECT_EQ(ldd.Output().find("libgst"), std::string::npos) << ldd.Output();
    EXPECT_EQ(ldd.Output().find("libmosquitto"), std::string::npos) << ldd.Output();
}

}  // namespace
