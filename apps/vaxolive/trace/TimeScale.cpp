#include "TimeScale.h"

#include <algorithm>
#include <cmath>

namespace vaxotrace {

namespace {

constexpr Micros kLeastFold = 20000;
constexpr double kTickEvery = 9.0;  // percent
// Room for what stands at the ends, in percent.
constexpr double kLeft = 0.6;
constexpr double kWidth = 98.4;
constexpr double kLastTick = 95;  // its text stands to the right of it

// The longest stretch that is drawn as it is: the shortest such that what is folded takes no
// more than the rest.
Micros LongestDrawn(std::vector<Micros> gaps) {
    std::sort(gaps.begin(), gaps.end());
    double rest = 0;
    for (std::size_t i = 0; i < gaps.size(); ++i) {
        rest += static_cast<double>(gaps[i]);
        const auto longer = static_cast<double>(gaps.size() - 1 - i);
        if (gaps[i] >= kLeastFold && longer * static_cast<double>(gaps[i]) <= rest) {
            return gaps[i];
        }
    }
    return gaps.empty() ? 0 : std::max(kLeastFold, gaps.back());
}

// 1, 2 or 5 times a power of ten, at least `least`.
double Nice(double least) {
    const double power = std::pow(10.0, std::floor(std::log10(std::max(least, 1.0))));
    for (const double factor : {1.0, 2.0, 5.0}) {
        if (power * factor >= least) {
            return power * factor;
        }
    }
    return power * 10;
}

}  // namespace

TimeScale::TimeScale(std::vector<Micros> moments) {
    std::sort(moments.begin(), moments.end());
    moments.erase(std::unique(moments.begin(), moments.end()), moments.end());
    if (moments.size() < 2) {
        const Micros only = moments.empty() ? 0 : moments.front();
        moments = {only, only + 1};
    }
    std::vector<Micros> gaps;
    for (std::size_t i = 1; i < moments.size(); ++i) {
        gaps.push_back(moments[i] - moments[i - 1]);
    }
    const Micros longest = LongestDrawn(gaps);
    for (std::size_t i = 1; i < moments.size(); ++i) {
        const Micros gap = moments[i] - moments[i - 1];
        const bool isFolded = gap > 2 * longest;
        if (isFolded) {
            m_folds.push_back({moments[i - 1], moments[i]});
        }
        AddPiece(moments[i - 1], moments[i], static_cast<double>(isFolded ? longest : gap));
    }
}

void TimeScale::AddPiece(Micros begin, Micros end, double width) {
    const double from = m_pieces.empty() ? 0 : m_pieces.back().to;
    m_pieces.push_back({begin, end, from, from + width});
}

double TimeScale::At(Micros time) const {
    const auto piece = std::lower_bound(m_pieces.begin(), m_pieces.end(), time,
                                        [](const Piece& a, Micros b) { return a.end < b; });
    if (piece == m_pieces.end()) {
        return kLeft + kWidth;
    }
    const double part = static_cast<double>(std::max<Micros>(0, time - piece->begin)) /
                        static_cast<double>(piece->end - piece->begin);
    return kLeft + kWidth * (piece->from + part * (piece->to - piece->from)) / m_pieces.back().to;
}

std::vector<Micros> TimeScale::Ticks() const {
    std::vector<Micros> ticks;
    const auto step = static_cast<Micros>(Nice(m_pieces.back().to * kTickEvery / 100));
    const auto isRoom = [&](Micros time) {
        return ticks.empty() ||
               (At(time) < kLastTick && At(time) - At(ticks.back()) > kTickEvery * 0.8);
    };
    std::size_t fold = 0;
    Micros from = Begin();
    while (fold <= m_folds.size()) {
        const Micros to = fold < m_folds.size() ? m_folds[fold].begin : m_pieces.back().end;
        if (isRoom(from)) {
            ticks.push_back(from);
        }
        for (Micros time = from + step - (from - Begin()) % step; time <= to; time += step) {
            if (isRoom(time)) {
                ticks.push_back(time);
            }
        }
        from = fold < m_folds.size() ? m_folds[fold].end : to;
        ++fold;
    }
    return ticks;
}

}  // namespace vaxotrace
