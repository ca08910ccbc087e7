// Where on the picture a time stands. A stretch in which nothing happens, and which is far
// longer than most, is folded: drawn short, with a mark that says how long it was. So a session
// of an hour shows what happened in its milliseconds.
#ifndef VAXO_APPS_TRACE_TIMESCALE_H
#define VAXO_APPS_TRACE_TIMESCALE_H

#include <vector>

#include "LogLine.h"

namespace vaxotrace {

class TimeScale {
public:
    struct Fold {
        Micros begin;
        Micros end;
    };

    // `moments`: when something happens; begin and end of the picture are among them.
    explicit TimeScale(std::vector<Micros> moments);

    // Percent of the width, 0 to 100. Rises with time.
    double At(Micros time) const;

    const std::vector<Fold>& Folds() const { return m_folds; }

    // Times to write on the axis, apart enough to be read.
    std::vector<Micros> Ticks() const;

    Micros Begin() const { return m_pieces.front().begin; }

private:
    struct Piece {
        Micros begin;
        Micros end;
        double from;  // before the fold into percents: microseconds of width
        double to;
    };

    void AddPiece(Micros begin, Micros end, double width);

    std::vector<Piece> m_pieces;
    std::vector<Fold> m_folds;
};

}  // namespace vaxotrace

#endif
