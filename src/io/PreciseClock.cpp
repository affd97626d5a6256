#include "io/PreciseClock.h"

namespace pppio {

PreciseClock::PreciseClock() : m_maxGap(0.0), m_edge(0.0) {}

void PreciseClock::load(const std::string& path, const SatelliteSet& wanted)
{
    add(readClock(path, wanted));
}

void PreciseClock::add(const ClockFile& file)
{
    m_warnings.insert(m_warnings.end(), file.warnings.begin(), file.warnings.end());
    bool any = false;
    for (const auto& samples : file.satellites)
        any = any || !samples.empty();
    if (!any)
        return;
    m_table.origin().setIfUnset(file.referenceWeek);
    const double shift = (file.referenceWeek - m_table.origin().week()) * kSecondsPerWeek;
    for (size_t slot = 0; slot < file.satellites.size() && slot < static_cast<size_t>(kMaxPackedIndex); ++slot) {
        auto& series = m_table.at(static_cast<int>(slot) + 1);
        for (const ClockSample& s : file.satellites[slot])
            series.append(s.time + shift, s.bias);
    }
    m_table.finalize([](double, double later) { return later; });
}

bool PreciseClock::clock(int iprn, const tagGPSTIME2& t, double& clock) const
{
    size_t lo, hi;
    double f;
    const auto* series = m_table.locate(iprn, t, m_maxGap, lo, hi, f);
    if (!series)
        return m_edge > 0.0 && extrapolate(iprn, t, clock);
    clock = series->sample(lo) + f * (series->sample(hi) - series->sample(lo));
    return true;
}

bool PreciseClock::extrapolate(int iprn, const tagGPSTIME2& t, double& clock) const
{
    const auto* series = m_table.find(iprn);
    if (!series || series->size() < 2)
        return false;
    const double x = m_table.origin().seconds(t);
    const size_t last = series->size() - 1;
    size_t a;   // the end pair is (a, a + 1)
    if (x < series->time(0) && series->time(0) - x <= m_edge)
        a = 0;
    else if (x > series->time(last) && x - series->time(last) <= m_edge)
        a = last - 1;
    else
        return false;
    const double spacing = series->time(a + 1) - series->time(a);
    if (!(spacing > 0.0) || spacing > series->gapLimit(m_maxGap))
        return false;
    const double f = (x - series->time(a)) / spacing;
    clock = series->sample(a) + f * (series->sample(a + 1) - series->sample(a));
    return true;
}

}  // namespace pppio
