#include "io/PreciseClock.h"

namespace pppio {

PreciseClock::PreciseClock() : m_maxGap(0.0) {}

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
        return false;
    clock = series->sample(lo) + f * (series->sample(hi) - series->sample(lo));
    return true;
}

}  // namespace pppio
