#include "io/PreciseOrbit.h"

#include "io/Lagrange.h"

namespace pppio {

PreciseOrbit::PreciseOrbit() : m_points(kDefaultPoints), m_maxGap(0.0) {}

void PreciseOrbit::setInterpolationPoints(int points)
{
    m_points = points < 2 ? 2 : (points > kMaxPoints ? kMaxPoints : points);
}

void PreciseOrbit::load(const std::string& path, const SatelliteSet& wanted)
{
    add(readSp3(path, wanted));
}

void PreciseOrbit::add(const Sp3File& file)
{
    m_warnings.insert(m_warnings.end(), file.warnings.begin(), file.warnings.end());
    if (file.epochs.empty())
        return;
    m_table.origin().setIfUnset(file.epochs.front().time.week);
    for (const Sp3Epoch& epoch : file.epochs) {
        const double t = m_table.origin().seconds(epoch.time);
        for (const Sp3Entry& entry : epoch.entries) {
            Sample sample;
            for (int k = 0; k < 3; ++k) {
                sample.position[k] = entry.position[k];
                sample.velocity[k] = entry.velocity[k];
            }
            sample.clock = entry.clock;
            sample.hasPosition = entry.hasPosition;
            sample.hasVelocity = entry.hasVelocity && entry.hasPosition;
            sample.hasClock = entry.hasClock;
            m_table.at(entry.iprn).append(t, sample);
        }
    }
    m_table.finalize(mergeSamples);
}

PreciseOrbit::Sample PreciseOrbit::mergeSamples(const Sample& earlier, const Sample& later)
{
    Sample kept = later;
    if (!later.hasPosition) {
        for (int k = 0; k < 3; ++k) {
            kept.position[k] = earlier.position[k];
            kept.velocity[k] = earlier.velocity[k];
        }
        kept.hasPosition = earlier.hasPosition;
        kept.hasVelocity = earlier.hasVelocity;
    }
    if (!later.hasClock) {
        kept.clock = earlier.clock;
        kept.hasClock = earlier.hasClock;
    }
    return kept;
}

bool PreciseOrbit::findWindow(const Series& series, double t, size_t& first) const
{
    const size_t n = series.size();
    const size_t needed = static_cast<size_t>(m_points);
    const double limit = series.gapLimit(m_maxGap);
    size_t lo, hi;
    double fraction;
    if (n < needed || !series.bracket(t, limit, lo, hi, fraction))
        return false;
    auto usable = [&](size_t i) { return series.sample(i).hasPosition; };
    auto joined = [&](size_t a, size_t b) { return series.time(b) - series.time(a) <= limit; };
    if (!usable(lo) || !usable(hi))
        return false;
    // Grow the window one sample at a time on the side with fewer samples,
    // or on the other side when that one ends (data end, gap, bad record).
    while (hi - lo + 1 < needed) {
        const bool canLeft = lo > 0 && usable(lo - 1) && joined(lo - 1, lo);
        const bool canRight = hi + 1 < n && usable(hi + 1) && joined(hi, hi + 1);
        const bool preferLeft = series.time(hi) - t >= t - series.time(lo);
        if (canLeft && (preferLeft || !canRight))
            --lo;
        else if (canRight)
            ++hi;
        else
            return false;
    }
    first = lo;
    return true;
}

bool PreciseOrbit::position(int iprn, const tagGPSTIME2& t, double position[3], double velocity[3]) const
{
    const Series* series = m_table.find(iprn);
    if (!series)
        return false;
    const double time = m_table.origin().seconds(t);
    size_t first = 0;
    if (!findWindow(*series, time, first))
        return false;

    double x[kMaxPoints], w[kMaxPoints], dw[kMaxPoints];
    bool recordedVelocity = true;
    for (int i = 0; i < m_points; ++i) {
        const size_t index = first + static_cast<size_t>(i);
        x[i] = series->time(index) - time;   // nodes relative to t: better conditioned
        recordedVelocity = recordedVelocity && series->sample(index).hasVelocity;
    }
    lagrangeWeights(x, m_points, 0.0, w, velocity && !recordedVelocity ? dw : nullptr);
    for (int k = 0; k < 3; ++k) {
        double p = 0.0, v = 0.0;
        for (int i = 0; i < m_points; ++i) {
            const Sample& s = series->sample(first + static_cast<size_t>(i));
            p += w[i] * s.position[k];
            if (velocity)
                v += recordedVelocity ? w[i] * s.velocity[k] : dw[i] * s.position[k];
        }
        position[k] = p;
        if (velocity)
            velocity[k] = v;
    }
    return true;
}

bool PreciseOrbit::clock(int iprn, const tagGPSTIME2& t, double& clock) const
{
    size_t lo, hi;
    double f;
    const Series* series = m_table.locate(iprn, t, m_maxGap, lo, hi, f);
    if (!series)
        return false;
    const Sample& a = series->sample(lo);
    const Sample& b = series->sample(hi);
    if (!a.hasClock || !b.hasClock)
        return false;
    clock = a.clock + f * (b.clock - a.clock);
    return true;
}

}  // namespace pppio
