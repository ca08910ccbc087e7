// The proxy behind which an engine gives its events at the wrong moment, twice, on the
// wrong thread, for the wrong stream, with any code or never: the rows, one a case.
#include <gtest/gtest.h>

#include <map>
#include <string>

#include "kernel/live/HostileEngine.h"

namespace livetest {

namespace {

std::string CaseName(const ::testing::TestParamInfo<HostileRow>& row) {
    static const std::map<unsigned, std::string> s_commands = {
        {HoldEnter, "Enter"},
        {HoldLogout, "Logout"},
        {HoldEnterOrLogout, "EnterOrLogout"},
        {HoldPlays, "Plays"},
        {HoldPublishes, "Publishes"},
        {HoldStreams, "Streams"},
        {HoldEnter | HoldPublishes, "EnterOrPublishes"},
        {HoldEnter | HoldStreams, "AllButLogout"},
        {HoldAll, "All"}};
    return std::string(row.param.name) + "_" + s_commands.at(row.param.commands);
}

const char* NameOf(unsigned kind) {
    static const std::map<unsigned, const char*> s_names = {
        {HoldEnter, "enter"},     {HoldLogout, "logout"},
        {HoldPlay, "play"},       {HoldStopPlay, "stop playing"},
        {HoldPublish, "publish"}, {HoldStopPublish, "stop publishing"}};
    return s_names.at(kind);
}

}  // namespace

TEST_P(HostileEngine, LeavesBehindWhatTheRowSays) {
    const HostileRow& row = GetParam();
    for (unsigned kind = HoldEnter; kind <= HoldStopPublish; kind *= 2) {
        if ((row.commands & kind) != 0) {
            SCOPED_TRACE(std::string(row.name) + ": " + NameOf(kind));
            Run(kind);
            ASSERT_EQ(Executing(), "");  // else the next one would wait behind it
        }
    }
}

INSTANTIATE_TEST_SUITE_P(InTime, HostileEngine, ::testing::ValuesIn(HostileRowsInTime()), CaseName);
INSTANTIATE_TEST_SUITE_P(TooLate, HostileEngine, ::testing::ValuesIn(HostileRowsTooLate()),
                         CaseName);

}  // namespace livetest
