#include "Progress.h"

#include <unistd.h>

#include <cstdio>

namespace ppprun {

namespace {
constexpr double kRedrawSeconds = 0.1;
constexpr int kBarWidth = 30;
}  // namespace

Progress::Progress(long total, bool quiet)
    : m_total(total > 0 ? total : 0), m_quiet(quiet), m_terminal(isatty(STDERR_FILENO) != 0), m_nextTenth(1),
      m_nextDraw(0.0), m_start(std::chrono::steady_clock::now())
{
}

double Progress::elapsed() const
{
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - m_start).count();
}

void Progress::drawBar(long epochs)
{
    const double seconds = elapsed();
    const double rate = seconds > 0.0 ? epochs / seconds : 0.0;
    if (m_total > 0) {
        const double fraction = epochs >= m_total ? 1.0 : static_cast<double>(epochs) / m_total;
        const int filled = static_cast<int>(fraction * kBarWidth);
        char bar[kBarWidth + 1];
        for (int k = 0; k < kBarWidth; ++k)
            bar[k] = k < filled ? '#' : '.';
        bar[kBarWidth] = '\0';
        std::fprintf(stderr, "\r[%s] %3d%%  %ld/%ld epochs  %.0f epochs/s ", bar, static_cast<int>(fraction * 100.0),
                     epochs, m_total, rate);
    } else {
        std::fprintf(stderr, "\r%ld epochs  %.0f epochs/s ", epochs, rate);
    }
    std::fflush(stderr);
}

void Progress::update(long epochs)
{
    if (m_quiet)
        return;
    if (m_terminal) {
        // The clock is read every 16 epochs only: it costs more than an epoch of reading.
        if ((epochs & 15) == 0 && elapsed() >= m_nextDraw) {
            drawBar(epochs);
            m_nextDraw = elapsed() + kRedrawSeconds;
        }
        return;
    }
    if (m_total == 0)
        return;
    while (m_nextTenth <= 10 && epochs * 10 >= m_total * m_nextTenth) {
        std::fprintf(stderr, "ppprun: %3d%%  %ld/%ld epochs  %.1f s\n", m_nextTenth * 10, epochs, m_total, elapsed());
        ++m_nextTenth;
    }
}

void Progress::finish(long epochs)
{
    if (m_quiet)
        return;
    if (m_terminal) {
        if (epochs < m_total)   // the header promised more than the file held
            m_total = epochs;
        drawBar(epochs);
        std::fprintf(stderr, "\n");
        return;
    }
    if (m_nextTenth <= 10)
        std::fprintf(stderr, "ppprun: done  %ld epochs  %.1f s\n", epochs, elapsed());
}

}  // namespace ppprun
