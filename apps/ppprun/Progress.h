// Progress of a run on standard error: a bar with the epoch rate when
// standard error is a terminal, else one line per tenth of the data.
#ifndef PPPRUN_PROGRESS_H
#define PPPRUN_PROGRESS_H

#include <chrono>

namespace ppprun {

class Progress {
public:
    // total: expected number of epochs, 0 when unknown. quiet: print nothing.
    Progress(long total, bool quiet);
    // After each epoch, with the number of epochs read so far.
    void update(long epochs);
    // Closes the bar (or prints the last line).
    void finish(long epochs);

private:
    double elapsed() const;
    void drawBar(long epochs);

    long m_total;
    bool m_quiet;
    bool m_terminal;
    int m_nextTenth;            // next tenth of the total to report (lines)
    double m_nextDraw;          // time of the next redraw of the bar (s)
    std::chrono::steady_clock::time_point m_start;
};

}  // namespace ppprun

#endif
