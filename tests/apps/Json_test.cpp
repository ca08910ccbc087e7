// What programs read: one JSON object a line on the standard output, with the fields that the
// manual lists and no others.
#include <signal.h>

#include <nlohmann/json.hpp>
#include <set>

#include "AppFixture.h"
#include "JsonTexts.h"

namespace apptest {

namespace {

typedef nlohmann::ordered_json Json;

std::vector<Json> Lines(const std::string& text) {
    std::vector<Json> lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);) {
        lines.push_back(Json::parse(line, nullptr, false));
        EXPECT_TRUE(lines.back().is_object()) << line;
    }
    return lines;
}

std::set<std::string> Documented(const std::vector<vaxoapp::JsonKind>& kinds,
                                 const std::string& kind) {
    std::set<std::string> fields;
    for (const vaxoapp::JsonKind& one : kinds) {
        if (kind == one.kind) {
            std::istringstream words(one.fields);
            for (std::string word; words >> word;) {
                fields.insert(word);
            }
            fields.insert("");  // it is in the table
        }
    }
    return fields;
}

void ExpectDocumented(const Json& line, std::set<std::string> fields, const std::string& kind) {
    EXPECT_EQ(fields.erase(""), 1U) << kind << " is not documented";
    for (const auto& field : line.items()) {
        EXPECT_EQ(fields.count(field.key()), 1U) << kind << ": " << field.key();
    }
}

}  // namespace

class JsonTest : public AppTest {
protected:
    // The kinds of the events of a run, each with all the fields that it should have.
    static std::vector<std::string> Kinds(const std::string& text) {
        std::vector<std::string> kinds;
        for (Json& line : Lines(text)) {
            const std::string kind = line.value("event", "");
            auto fields = Documented(vaxoapp::EventTexts(), kind);
            EXPECT_EQ(line.size() + 1, fields.size() + 2) << line;
            EXPECT_TRUE(line.contains("ms")) << line;
            line.erase("ms");
            line.erase("event");
            ExpectDocumented(line, fields, kind);
            kinds.push_back(kind);
        }
        return kinds;
    }
};

TEST_F(JsonTest, PublishTellsItsEventsInPlaceOfLinesForPeople) {
    const auto app = Start({"publish", "--json", "--duration", "0", "--snapshot", Path("p.png"),
                            "--events", Path("events")});
    EXPECT_EQ(app->End(), 0) << app->Error();
    EXPECT_EQ(app->Error(), "");
    std::vector<std::string> kinds = Kinds(app->Output());
    const auto counts = std::find(kinds.begin(), kinds.end(), "counts");
    ASSERT_NE(counts, kinds.end());
    kinds.erase(counts);  // the service's, at any moment after the entry
    // The end of the publish is told only if it is quicker than the leaving is queued.
    ASSERT_GE(kinds.size(), 3U);
    if (kinds[kinds.size() - 3] == "publish") {
        kinds.erase(kinds.end() - 3);
    }
    const std::vector<std::string> wanted = {"start",     "entered", "publish-start",    "publish",
                                             "published", "stats",   "preview-snapshot", "snapshot",
                                             "left",      "end"};
    EXPECT_EQ(kinds, wanted);
    EXPECT_EQ(app->Output(), Content("events"));
}

TEST_F(JsonTest, PlayTellsItsEventsAndAnswersTypedCommandsWithEvents) {
    const auto app = Start({"play", "--json", "--interactive"}, "streams=a;added=b;gone=b");
    app->Write("status\nhelp\nsound off\nsound maybe\nstop\n");
    EXPECT_EQ(app->End(), 0) << app->Error();
    const std::vector<std::string> kinds = Kinds(app->Output());
    for (const std::string kind : {"stream-listed", "stream-added", "stream-gone", "play-start",
                                   "play", "size", "status", "help", "command", "end"}) {
        EXPECT_NE(std::find(kinds.begin(), kinds.end(), kind), kinds.end()) << kind;
    }
    EXPECT_TRUE(Contains(app->Output(), R"("line":"sound off","error":"")")) << app->Output();
    EXPECT_TRUE(Contains(app->Output(), R"("error":"takes on or off")")) << app->Output();
    EXPECT_FALSE(Contains(app->Output(), "SECRET")) << app->Output();
}

TEST_F(JsonTest, FailuresAreEventsTooAndStayErrorsForPeople) {
    const auto failed = Start({"publish", "--json"}, "publish=3");
    EXPECT_EQ(failed->End(), 4);
    Kinds(failed->Output());
    EXPECT_TRUE(Contains(failed->Output(), R"("event":"failed","code":4,"reason":"cannot publish)"))
        << failed->Output();
    EXPECT_TRUE(Contains(failed->Output(), R"("event":"end","code":4})")) << failed->Output();
    EXPECT_TRUE(Contains(failed->Error(), "vaxolive: cannot publish")) << failed->Error();
    const auto unset = StartPlain({"publish", "--json"}, {});
    EXPECT_EQ(unset->End(), 2);
    EXPECT_EQ(Kinds(unset->Output()), std::vector<std::string>{"failed"});
}

TEST_F(JsonTest, SignalIsAnEvent) {
    const auto app = Start({"publish", "--json"});
    ASSERT_TRUE(app->AwaitOutput(R"("event":"published")")) << app->Error();
    app->Signal(SIGTERM);
    EXPECT_EQ(app->End(), 0);
    const std::vector<std::string> kinds = Kinds(app->Output());
    EXPECT_EQ(std::count(kinds.begin(), kinds.end(), "leaving"), 1);
    EXPECT_EQ(kinds.back(), "end");
}

TEST_F(JsonTest, ResultsHaveTheFieldsOfTheManual) {
    const auto publish = Start({"publish", "--duration", "0", "--snapshot", Path("p.png")});
    ASSERT_EQ(publish->End(), 0) << publish->Error();
    const std::vector<std::vector<std::string>> commands = {
        {"list", "--config", Path("servers.env")},
        {"devices"},
        {"upload-log", "--config", Path("servers.env"), "--log", Path("log")},
        {"compare", Path("p.png"), Path("p.png")}};
    for (std::vector<std::string> words : commands) {
        words.push_back("--json");
        const auto app = StartPlain(words, {{"VAXO_FAKE", "streams=a"}});
        EXPECT_EQ(app->End(), 0) << app->Error();
        const std::vector<Json> lines = Lines(app->Output());
        EXPECT_FALSE(lines.empty()) << words[0];
        for (const Json& line : lines) {
            ExpectDocumented(line, Documented(vaxoapp::ResultTexts(), words[0]), words[0]);
        }
    }
}

TEST_F(JsonTest, UploadTellsWhatBecameOfIt) {
    const auto done = Start({"upload-log", "--json", "--quiet", "--log", Path("log")});
    EXPECT_EQ(done->End(), 0) << done->Error();
    EXPECT_EQ(done->Output(),
              "{\"file\":\"" + Path("log") + "\",\"uploaded\":true,\"bytes\":100000}\n");
    const auto failed = Start({"upload-log", "--json", "--log", Path("log")}, "upload=failed");
    EXPECT_EQ(failed->End(), 7);
    EXPECT_TRUE(
        Contains(failed->Output(), R"("uploaded":false,"code":7,"reason":"the log was not)"))
        << failed->Output();
    const auto away = Start({"upload-log", "--json", "--log", Path("log")}, "entry=2");
    EXPECT_EQ(away->End(), 3);
    EXPECT_TRUE(
        Contains(away->Output(), R"("code":3,"reason":"the channel could not be entered"})"))
        << away->Output();
}

TEST_F(JsonTest, CompareTellsFigures) {
    const auto publish = Start({"publish", "--duration", "0", "--snapshot", Path("p.png")});
    ASSERT_EQ(publish->End(), 0) << publish->Error();
    const auto app = StartPlain({"compare", "--json", Path("p.png"), Path("p.png")}, {});
    EXPECT_EQ(app->End(), 0);
    const Json line = Lines(app->Output()).at(0);
    EXPECT_EQ(line.at("alike"), true);
    EXPECT_EQ(line.at("verdict"), "alike");
    EXPECT_EQ(line.at("decibels"), 99);
    EXPECT_EQ(line.at("limit"), 20);
    EXPECT_EQ(line.at("sizes").at(1).at("width"), 64);
}

}  // namespace apptest
