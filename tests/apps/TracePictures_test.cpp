// The Chrome trace and the page: whole, sorted, and nothing of a name becomes markup.
#include <map>
#include <nlohmann/json.hpp>

#include "TraceFixture.h"
#include "trace/ChromeTrace.h"
#include "trace/HtmlPage.h"
#include "trace/TimeScale.h"

namespace vaxotrace {

class TracePicturesTest : public TraceTest {
protected:
    nlohmann::json Events() const {
        return nlohmann::json::parse(ChromeTrace(m_story, m_diagnosis)).at("traceEvents");
    }
    static std::size_t Count(const std::string& text, const std::string& part) {
        std::size_t count = 0;
        for (std::size_t at = text.find(part); at != std::string::npos;
             at = text.find(part, at + 1)) {
            ++count;
        }
        return count;
    }
};

TEST_F(TracePicturesTest, SpansOfALaneDoNotOverlapAndTimeRises) {
    for (const char* const log : {"normal.log", "stuck.log"}) {
        m_story = Story();
        Read({Committed(log)});
        std::map<int, double> ends;
        double last = 0;
        std::size_t spans = 0;
        for (const nlohmann::json& event : Events()) {
            const double ts = event.at("ts");
            EXPECT_GE(ts, last) << event;
            last = ts;
            if (event.at("ph") == "X") {
                ++spans;
                const int lane = event.at("tid");
                EXPECT_GE(ts, ends[lane]) << event;
                ends[lane] = ts + event.at("dur").get<double>();
            }
        }
        EXPECT_GT(spans, 20U);
    }
}

TEST_F(TracePicturesTest, ArrowGoesFromTheNewcomerToTheRemoved) {
    LogWriter log;
    log.Add(100, "PlayStream(0/a)", 0).Pause(500);
    log.Add(100, "PlayStream(0/a)", 1, {"PlayStream(0/a), InvalidateFormer"}, 1).Pause(500);
    log.Line(100, "the end", 3, "Engine");
    ReadText(log.Text());
    nlohmann::json from;
    nlohmann::json to;
    std::vector<nlohmann::json> spans;
    for (const nlohmann::json& event : Events()) {
        from = event.at("ph") == "s" ? event : from;
        to = event.at("ph") == "f" ? event : to;
        if (event.at("ph") == "X") {
            spans.push_back(event);
        }
    }
    ASSERT_EQ(spans.size(), 2U);
    ASSERT_TRUE(from.is_object() && to.is_object());
    EXPECT_EQ(from.at("id"), to.at("id"));
    EXPECT_EQ(to.at("tid"), spans[0].at("tid"));    // the removed
    EXPECT_EQ(from.at("tid"), spans[1].at("tid"));  // the newcomer
    for (std::size_t i = 0; i < 2; ++i) {
        const double ts = (i == 0 ? to : from).at("ts");
        EXPECT_GE(ts, spans[i].at("ts").get<double>());
        EXPECT_LT(ts, spans[i].at("ts").get<double>() + spans[i].at("dur").get<double>());
    }
    EXPECT_EQ(spans[0].at("args").at("fate"), "removed");
}

TEST_F(TracePicturesTest, NamesStayTexts) {
    const std::string evil = "<script>alert('x')</script>\"&\\n\x1b[31m\xff";
    LogWriter log;
    log.Add(100, "PlayStream(0/" + evil + ")", 0).Pop(101, "PlayStream(0/" + evil + ")", 0);
    log.RanAndHolds(101, "PlayStream(0/").Add(100, "StopStream(0/" + evil + ")", 0);
    log.Line(102, evil, 1, "Play");
    ReadText(log.Text());
    const std::string page = HtmlPage(m_story, m_diagnosis);
    EXPECT_EQ(page.find("<script"), std::string::npos);
    EXPECT_EQ(page.find("alert('x')"), std::string::npos);
    EXPECT_EQ(page.find('\x1b'), std::string::npos);
    EXPECT_EQ(page.find('\xff'), std::string::npos);
    EXPECT_NE(page.find("&lt;script&gt;alert(&#39;x&#39;)"), std::string::npos);
    const std::string text = SayDiagnosis(m_diagnosis);
    EXPECT_EQ(text.find('\x1b'), std::string::npos);
    EXPECT_EQ(text.find('\xff'), std::string::npos);
    const nlohmann::json told = nlohmann::json::parse(JsonDiagnosis(m_diagnosis));
    const std::string name = told.at("processes").at(0).at("executing").at(0).at("text");
    EXPECT_EQ(name.find("<script>alert('x')</script>\"&\\n\x1b[31m"), 0U);
    EXPECT_FALSE(Events().empty());
}

TEST_F(TracePicturesTest, PageLoadsNothingAndIsBalanced) {
    Read({Committed("stuck.log")});
    const std::string page = HtmlPage(m_story, m_diagnosis);
    for (const char* const word : {"href='h", "<script", "src=", "<link", "@import", "url(h"}) {
        EXPECT_EQ(page.find(word), std::string::npos) << word;
    }
    for (const std::string element : {"svg", "g", "a", "div", "table", "tr", "td", "ul", "ol",
                                      "text", "title", "section", "figure", "main", "dl"}) {
        EXPECT_EQ(Count(page, "<" + element + " ") + Count(page, "<" + element + ">"),
                  Count(page, "</" + element + ">"))
            << element;
    }
    EXPECT_EQ(Count(page, "<tr id="), 17U);
    EXPECT_EQ(Count(page, "class='join' x1"), 5U);
    EXPECT_NE(page.find("StartPublish show holds the queue, for 6.33 s"), std::string::npos);
}

TEST_F(TracePicturesTest, DiagnosisAsJsonSaysWhatHoldsTheQueue) {
    Read({Committed("stuck.log")});
    const nlohmann::json told = nlohmann::json::parse(JsonDiagnosis(m_diagnosis));
    const nlohmann::json& process = told.at("processes").at(0);
    EXPECT_EQ(process.at("executing").at(0).at("title"), "StartPublish show");
    EXPECT_EQ(process.at("executing").at(0).at("waits_for"),
              "OnPublishStateUpdate, of any stream in any state");
    EXPECT_EQ(process.at("waiting").size(), 6U);
    EXPECT_EQ(told.at("joins").size(), 5U);
    EXPECT_EQ(told.at("joins").at(0).at("fate"), "removed");
}

TEST_F(TracePicturesTest, EmptyStretchesAreFoldedAndTimeStillRises) {
    std::vector<Micros> moments;
    for (Micros i = 0; i < 40; ++i) {
        moments.push_back(i * 30000 + (i >= 20 ? 3600000000 : 0));
    }
    const TimeScale scale(moments);
    ASSERT_EQ(scale.Folds().size(), 1U);
    double last = -1;
    for (const Micros moment : moments) {
        EXPECT_GT(scale.At(moment), last);
        last = scale.At(moment);
    }
    EXPECT_LE(last, 100);
    EXPECT_LT(scale.At(moments[20]) - scale.At(moments[19]), 10);
    EXPECT_GE(scale.Ticks().size(), 5U);
    EXPECT_TRUE(TimeScale({0, 10, 20}).Folds().empty());
    EXPECT_FALSE(TimeScale({}).Ticks().empty());
}

}  // namespace vaxotrace
