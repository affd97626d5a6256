// Time-ordered samples of one satellite (orbit or clock), gathered from
// one or more product files. Times are seconds of a store's TimeOrigin.
//
// Samples may be appended in any order; finalize() sorts them and merges
// samples of the same epoch (closer than 1 ms). The merge function receives
// the earlier-loaded sample and the later-loaded one and returns the sample
// to keep, so the stores decide which file wins at a day boundary.
#ifndef PPPIO_SAMPLESERIES_H
#define PPPIO_SAMPLESERIES_H

#include <algorithm>
#include <cmath>
#include <numeric>
#include <vector>

#include "io/GpsTime.h"
#include "io/SatelliteId.h"

namespace pppio {

template <class Sample>
class SampleSeries {
public:
    static constexpr double kSameEpoch = 1e-3;       // s
    static constexpr double kTimeTolerance = 1e-6;   // s; a query this close to a sample is at it

    void append(double time, const Sample& sample)
    {
        if (!m_times.empty() && time <= m_times.back())
            m_sorted = false;
        m_times.push_back(time);
        m_samples.push_back(sample);
    }

    template <class Merge>
    void finalize(Merge merge)
    {
        if (!m_sorted)
            sortKeepingLoadOrder();
        mergeSameEpochs(merge);
        m_nominalInterval = medianSpacing();
    }

    size_t size() const { return m_times.size(); }
    bool empty() const { return m_times.empty(); }
    double time(size_t i) const { return m_times[i]; }
    const Sample& sample(size_t i) const { return m_samples[i]; }
    const std::vector<double>& times() const { return m_times; }

    // Median spacing of consecutive samples (0 with fewer than two samples):
    // the sampling interval, insensitive to a few gaps.
    double nominalInterval() const { return m_nominalInterval; }

    // Index of the last sample at or before t, or -1 when t precedes all.
    long indexAtOrBefore(double t) const
    {
        const auto it = std::upper_bound(m_times.begin(), m_times.end(), t);
        return static_cast<long>(it - m_times.begin()) - 1;
    }

    // Largest spacing of samples that may be interpolated across: the
    // explicit limit when positive, else twice the sampling interval.
    double gapLimit(double explicitLimit) const
    {
        return (explicitLimit > 0.0 ? explicitLimit : 2.0 * m_nominalInterval) + kTimeTolerance;
    }

    // Locates t for interpolation: on a sample (lo == hi, fraction 0) or
    // between two neighbours at most maxSpacing apart (t = time(lo) +
    // fraction * spacing). False outside the data or inside a longer gap.
    bool bracket(double t, double maxSpacing, size_t& lo, size_t& hi, double& fraction) const
    {
        const long k = indexAtOrBefore(t + kTimeTolerance);
        if (k < 0)
            return false;
        lo = static_cast<size_t>(k);
        if (std::fabs(m_times[lo] - t) <= kTimeTolerance) {
            hi = lo;
            fraction = 0.0;
            return true;
        }
        if (lo + 1 >= m_times.size())
            return false;
        hi = lo + 1;
        const double spacing = m_times[hi] - m_times[lo];
        if (spacing > maxSpacing)
            return false;
        fraction = (t - m_times[lo]) / spacing;
        return true;
    }

private:
    void sortKeepingLoadOrder()
    {
        std::vector<size_t> order(m_times.size());
        std::iota(order.begin(), order.end(), size_t(0));
        std::stable_sort(order.begin(), order.end(),
                         [this](size_t a, size_t b) { return m_times[a] < m_times[b]; });
        std::vector<double> times;
        std::vector<Sample> samples;
        times.reserve(order.size());
        samples.reserve(order.size());
        for (size_t i : order) {
            times.push_back(m_times[i]);
            samples.push_back(m_samples[i]);
        }
        m_times.swap(times);
        m_samples.swap(samples);
        m_sorted = true;
    }

    template <class Merge>
    void mergeSameEpochs(Merge merge)
    {
        size_t kept = 0;
        for (size_t i = 0; i < m_times.size(); ++i) {
            if (kept > 0 && m_times[i] - m_times[kept - 1] < kSameEpoch) {
                m_samples[kept - 1] = merge(m_samples[kept - 1], m_samples[i]);
                continue;
            }
            m_times[kept] = m_times[i];
            m_samples[kept] = m_samples[i];
            ++kept;
        }
        m_times.resize(kept);
        m_samples.resize(kept);
    }

    double medianSpacing() const
    {
        if (m_times.size() < 2)
            return 0.0;
        std::vector<double> spacing(m_times.size() - 1);
        for (size_t i = 1; i < m_times.size(); ++i)
            spacing[i - 1] = m_times[i] - m_times[i - 1];
        std::nth_element(spacing.begin(), spacing.begin() + spacing.size() / 2, spacing.end());
        return spacing[spacing.size() / 2];
    }

    std::vector<double> m_times;
    std::vector<Sample> m_samples;
    double m_nominalInterval = 0.0;
    bool m_sorted = true;
};

// The series of all packed satellite indexes of a store, on one time origin.
template <class Sample>
class SatelliteTable {
public:
    using Series = SampleSeries<Sample>;

    SatelliteTable() : m_series(kMaxPackedIndex) {}

    TimeOrigin& origin() { return m_origin; }
    const TimeOrigin& origin() const { return m_origin; }
    Series& at(int iprn) { return m_series[static_cast<size_t>(iprn - 1)]; }

    template <class Merge>
    void finalize(Merge merge)
    {
        for (Series& series : m_series)
            series.finalize(merge);
    }

    // The series of a satellite, null when out of range or empty.
    const Series* find(int iprn) const
    {
        if (iprn < 1 || iprn > kMaxPackedIndex || !m_origin.isSet())
            return nullptr;
        const Series& series = m_series[static_cast<size_t>(iprn - 1)];
        return series.empty() ? nullptr : &series;
    }

    size_t sampleCount(int iprn) const
    {
        const Series* series = find(iprn);
        return series ? series->size() : 0;
    }

    double nominalInterval(int iprn) const
    {
        const Series* series = find(iprn);
        return series ? series->nominalInterval() : 0.0;
    }

    // First and last sample time over all satellites; false when empty.
    bool span(tagGPSTIME2& first, tagGPSTIME2& last) const
    {
        bool any = false;
        double a = 0.0, b = 0.0;
        for (const Series& series : m_series) {
            if (series.empty())
                continue;
            a = any && a < series.time(0) ? a : series.time(0);
            b = any && b > series.time(series.size() - 1) ? b : series.time(series.size() - 1);
            any = true;
        }
        if (any && m_origin.isSet()) {
            first = m_origin.time(a);
            last = m_origin.time(b);
        }
        return any && m_origin.isSet();
    }

    // The series of a satellite with t bracketed for linear interpolation
    // (SampleSeries::bracket with the series' gap limit); null when refused.
    const Series* locate(int iprn, const tagGPSTIME2& t, double explicitGapLimit, size_t& lo, size_t& hi,
                         double& fraction) const
    {
        const Series* series = find(iprn);
        if (!series || !series->bracket(m_origin.seconds(t), series->gapLimit(explicitGapLimit), lo, hi, fraction))
            return nullptr;
        return series;
    }

private:
    TimeOrigin m_origin;
    std::vector<Series> m_series;   // slot iprn - 1
};

}  // namespace pppio

#endif
