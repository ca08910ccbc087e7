#include "SvgPicture.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <map>

#include "Html.h"
#include "Rules.h"
#include "TimeScale.h"

namespace vaxotrace {

namespace {

constexpr int kAxis = 30;
constexpr int kRow = 26;
constexpr int kBar = 20;
constexpr std::size_t kMostWaiting = 24;  // lanes
constexpr double kLeastLabel = 0.02;      // percent: shows a word at the greatest zoom

std::string Percent(double value) {
    std::array<char, 32> text{};
    std::snprintf(text.data(), text.size(), "%.4f%%", value);
    return text.data();
}

std::string Number(int value) {
    return std::to_string(value);
}

class Picture {
public:
    Picture(const Story& story, const ProcessDiagnosis& process, const ProcessBars& bars)
        : m_story(story),
          m_process(process),
          m_bars(bars),
          m_waitingLanes(
              static_cast<int>(std::clamp<std::size_t>(bars.waitingLanes, 1, kMostWaiting))),
          m_hasRefused(std::any_of(bars.bars.begin(), bars.bars.end(),
                                   [](const Bar& bar) { return bar.kind == LaneKind::Refused; })),
          m_scale(Moments()) {}

    std::string Draw() {
        std::string drawn = Axis();
        for (const Bar& bar : m_bars.bars) {
            drawn += DrawBar(bar);
        }
        drawn += Arrows() + Events();
        const std::string id = "t" + std::to_string(m_process.number);
        return "<div class='picture'><div class='names'>" + Names() +
               "</div><div class='scroll' tabindex='0' role='region' aria-label='Time line "
               "of process " +
               std::to_string(m_process.number) +
               "; scrolls sideways'><svg class='time' role='img' aria-labelledby='" + id + " " +
               id + "d' height='" + Number(Height()) + "'><title id='" + id +
               "'>Time line of the command queue</title><desc id='" + id + "d'>" +
               Escape(Verdict(m_process)) +
               " The table of commands below says the same in words.</desc>" + Defs() + drawn +
               "</svg></div></div>\n";
    }

private:
    std::vector<Micros> Moments() const {
        std::vector<Micros> all = {m_process.process->begin, m_process.process->end};
        for (const Bar& bar : m_bars.bars) {
            all.push_back(bar.begin);
            all.push_back(bar.end);
        }
        return all;
    }

    int Rows() const { return 3 + m_waitingLanes + (m_hasRefused ? 1 : 0); }
    int Height() const { return kAxis + Rows() * kRow + 6; }

    // Upper edge of a row: holding, running, waiting..., refused, events.
    int Top(int row) const { return kAxis + row * kRow; }
    int RowOf(const Bar& bar) const {
        switch (bar.kind) {
            case LaneKind::Holding:
                return 0;
            case LaneKind::Running:
                return 1;
            case LaneKind::Refused:
                return 2 + m_waitingLanes;
            case LaneKind::Waiting:
                break;
        }
        return 2 + std::min(static_cast<int>(std::min(bar.lane, kMostWaiting)), m_waitingLanes - 1);
    }

    std::string Names() const {
        std::string all = "<svg width='100%' height='" + Number(Height()) +
                          "' role='img' aria-label='Names of the lanes'>";
        const auto name = [&](int row, const char* text) {
            all += "<text x='8' y='" + Number(Top(row) + 17) + "'>" + text + "</text>";
        };
        name(0, "holds queue");
        name(1, "runs");
        name(2, "waits");
        if (m_hasRefused) {
            name(2 + m_waitingLanes, "refused");
        }
        name(Rows() - 1, "events");
        return all + "</svg>";
    }

    std::string Defs() const {
        return "<defs><marker id='a" + std::to_string(m_process.number) +
               "' markerUnits='userSpaceOnUse' markerWidth='9' markerHeight='8' refX='7' "
               "refY='4' orient='auto'>"
               "<path class='head' d='M0 0L8 4L0 8Z'/></marker></defs>";
    }

    std::string Axis() const {
        std::string all;
        for (int row = 0; row < Rows(); row += 2) {
            all += "<rect class='lane' x='0' y='" + Number(Top(row)) + "' width='100%' height='" +
                   Number(kRow) + "'/>";
        }
        for (const TimeScale::Fold& fold : m_scale.Folds()) {
            all += DrawFold(fold);
        }
        for (const Micros tick : m_scale.Ticks()) {
            all += DrawTick(tick);
        }
        return all;
    }

    std::string DrawFold(const TimeScale::Fold& fold) const {
        const double from = m_scale.At(fold.begin);
        const double to = m_scale.At(fold.end);
        const std::string length = SayDuration(fold.end - fold.begin);
        return "<g><title>Nothing happens for " + length +
               "; drawn short</title><rect class='fold' x='" + Percent(from) + "' y='0' width='" +
               Percent(to - from) + "' height='" + Number(Height()) +
               "'/><text class='dim' text-anchor='middle' y='12' x='" + Percent((from + to) / 2) +
               "'>" + length + "</text></g>";
    }

    std::string DrawTick(Micros tick) const {
        const std::string x = Percent(m_scale.At(tick));
        const Micros since = tick - m_scale.Begin();
        return "<line class='grid' x1='" + x + "' x2='" + x + "' y1='14' y2='" + Number(Height()) +
               "'/><svg x='" + x + "' overflow='visible'><text class='dim' x='3' y='26'>" +
               (since == 0 ? "0" : SayDuration(since)) + "</text></svg>";
    }

    static std::string Class(const Bar& bar) {
        const Command& command = *bar.command;
        std::string all = bar.kind == LaneKind::Holding   ? "hold"
                          : bar.kind == LaneKind::Running ? "run"
                                                          : "wait";
        const bool isGone = command.fate == Fate::Removed || command.fate == Fate::Refused ||
                            command.fate == Fate::Lost;
        return all + (isGone ? " gone" : "") +
               (command.hasFailed && bar.kind != LaneKind::Waiting ? " failed" : "");
    }

    static std::string Tip(const Bar& bar) {
        const Command& command = *bar.command;
        std::string all = Title(command.name) + ": " + LaneName(bar.kind) + " for " +
                          SayDuration(bar.end - bar.begin) + ", from " + SayTime(bar.begin);
        if (bar.isOpen) {
            all += bar.kind == LaneKind::Holding
                       ? ", and goes on; waits for " + EndingEvent(command.name)
                       : ", and goes on";
        }
        if (command.other != 0) {
            all += std::string("; ") + FateName(command.fate) + " by " + Title(command.otherName) +
                   ": " + Reason(command);
        }
        return all + (command.hasFailed ? "; failed" : "");
    }

    std::string DrawBar(const Bar& bar) const {
        const double from = m_scale.At(bar.begin);
        const double width = m_scale.At(bar.end) - from;
        const int top = Top(RowOf(bar)) + (kRow - kBar) / 2;
        const std::string place = " x='" + Percent(from) + "' y='" + Number(top) + "' width='" +
                                  Percent(width) + "' height='" + Number(kBar) + "'";
        std::string all = "<a tabindex='-1' href='#c" + std::to_string(bar.command->id) +
                          "' class='" + Class(bar) + "'><title>" + Escape(Tip(bar)) +
                          "</title><rect class='bar' rx='2'" + place + "/>";
        if (width >= kLeastLabel) {
            all += "<svg" + place + "><text x='5' y='14'>" + Escape(Title(bar.command->name)) +
                   "</text></svg>";
        }
        if (bar.isOpen && bar.kind != LaneKind::Waiting) {
            all += "<svg x='" + Percent(from + width) + "' y='" + Number(top) +
                   "' overflow='visible'><path class='open' d='M-2 0V20M-8 5L-3 10L-8 "
                   "15'/></svg>";
        }
        return all + "</a>\n";
    }

    // At the moment of the join both commands are there, so an arrow goes straight up or down.
    std::string Arrows() const {
        std::map<std::uint64_t, int> rows;
        for (const Bar& bar : m_bars.bars) {
            if (bar.kind == LaneKind::Waiting || bar.kind == LaneKind::Refused) {
                rows[bar.command->id] = RowOf(bar);
            }
        }
        std::string all;
        for (const Bar& bar : m_bars.bars) {
            const Command& command = *bar.command;
            const auto other = rows.find(command.other);
            const bool waits = bar.kind == LaneKind::Waiting || bar.kind == LaneKind::Refused;
            if (command.other == 0 || !waits || other == rows.end()) {
                continue;
            }
            all +=
                DrawArrow(command.ended, Top(other->second) + kRow / 2, Top(RowOf(bar)) + kRow / 2);
        }
        return all;
    }

    std::string DrawArrow(Micros time, int from, int to) const {
        const std::string x = Percent(m_scale.At(time));
        return "<line class='join' x1='" + x + "' x2='" + x + "' y1='" + Number(from) + "' y2='" +
               Number(to + (from < to ? -4 : 4)) + "' marker-end='url(#a" +
               std::to_string(m_process.number) + ")'/>";
    }

    static const char* Shape(EventKind kind) {
        switch (kind) {
            case EventKind::Completion:
                return "<path class='ev' d='M0 -6L6 0L0 6L-6 0Z'/>";
            case EventKind::Delivered:
                return "<circle class='ev' r='5'/>";
            case EventKind::Dropped:
            case EventKind::NotForThis:
                return "<circle class='ev no' r='5'/>";
            case EventKind::Trouble:
                return "<path class='ev bad' d='M0 -7L7 6L-7 6Z'/>";
            case EventKind::Note:
                break;
        }
        return "<rect class='ev note' x='-3' y='-3' width='6' height='6'/>";
    }

    std::string Events() const {
        std::string all;
        const std::string y = Number(Top(Rows() - 1) + kRow / 2);
        std::size_t shown = 0;
        for (auto it = m_story.Events().rbegin(); it != m_story.Events().rend(); ++it) {
            if (it->process == m_process.index && it->time >= m_scale.Begin() && ++shown <= 3000) {
                all += "<svg x='" + Percent(m_scale.At(it->time)) + "' y='" + y +
                       "' overflow='visible'><title>" + Escape(SayTime(it->time) + " " + it->text) +
                       "</title>" + Shape(it->kind) + "</svg>\n";
            }
        }
        return all;
    }

    const Story& m_story;
    const ProcessDiagnosis& m_process;
    const ProcessBars& m_bars;
    int m_waitingLanes;
    bool m_hasRefused;
    TimeScale m_scale;
};

}  // namespace

std::string SvgPicture(const Story& story, const ProcessDiagnosis& process,
                       const ProcessBars& bars) {
    return Picture(story, process, bars).Draw();
}

}  // namespace vaxotrace
