#include "io/PreciseOrbit.h"

#include <cmath>

#include "io/Lagrange.h"

namespace pppio {

namespace {

constexpr double kEarthRotation = 7.2921151467e-5;   // rad/s
constexpr double kExtrapolationAgreement = 0.5;    // m

}  // namespace

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
        return extrapolate(*series, time, position, velocity);

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

bool PreciseOrbit::extrapolate(const Series& series, double t, double position[3], double velocity[3]) const
{
    const size_t n = series.size();
    const int m = kDefaultPoints;
    const size_t points = static_cast<size_t>(m);
    if (m_extrapolation <= 0.0 || n < points)
        return false;
    const bool after = t > series.time(n - 1);
    const double distance = after ? t - series.time(n - 1) : series.time(0) - t;
    if (distance <= 0.0 || distance > m_extrapolation)
        return false;
    const size_t first = after ? n - points : 0;
    const double limit = series.gapLimit(m_maxGap);
    double x[kMaxPoints], node[kMaxPoints][3];
    for (size_t i = 0; i < points; ++i) {
        const size_t index = first + i;
        const Sample& s = series.sample(index);
        if (!s.hasPosition || (i > 0 && series.time(index) - series.time(index - 1) > limit))
            return false;
        x[i] = series.time(index) - t;
        // The sample as seen from the Earth-fixed frame of time t.
        const double angle = kEarthRotation * x[i], c = std::cos(angle), sn = std::sin(angle);
        node[i][0] = c * s.position[0] - sn * s.position[1];
        node[i][1] = sn * s.position[0] + c * s.position[1];
        node[i][2] = s.position[2];
    }
    double w[kMaxPoints], dw[kMaxPoints], wShort[kMaxPoints];
    lagrangeWeights(x, m, 0.0, w, dw);
    // One sample less, dropping the one farthest from t.
    const int skip = after ? 0 : m - 1;
    const int offset = after ? 1 : 0;
    lagrangeWeights(x + offset, m - 1, 0.0, wShort, nullptr);
    double inertialVelocity[3], disagreement = 0.0;
    for (int k = 0; k < 3; ++k) {
        double p = 0.0, v = 0.0, q = 0.0;
        for (int i = 0; i < m; ++i) {
            p += w[i] * node[i][k];
            v += dw[i] * node[i][k];
            if (i != skip)
                q += wShort[i - offset] * node[i][k];
        }
        position[k] = p;
        inertialVelocity[k] = v;
        disagreement += (p - q) * (p - q);
    }
    if (std::sqrt(disagreement) > kExtrapolationAgreement)
        return false;
    if (velocity) {
        // Earth-fixed velocity: the rotating frame's share taken off.
        velocity[0] = inertialVelocity[0] + kEarthRotation * position[1];
        velocity[1] = inertialVelocity[1] - kEarthRotation * position[0];
        velocity[2] = inertialVelocity[2];
    }
    return true;
}

}  // namespace pppio
