#include "io/UpdEstimator.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <map>

#include "common/GNSSConst.h"
#include "io/FractionalBiasFit.h"
#include "io/GpsTime.h"

namespace pppio {

namespace {

constexpr double kNoValue = 9999.99;    // the library's "no value" of t_input_upd
constexpr int kSystems = 3;            // receiver biases per station: G, E, C
constexpr double kSigmaFloor = 0.01;   // cycles; keeps one sample from dominating
constexpr double kSigmaCeiling = 1.0;

int SystemSlot(int iprn)
{
    if (iprn >= 1 && iprn <= _MAX_PRN_GPS)
        return 0;
    const int galileo = _MAX_PRN_GPS + _MAX_PRN_GLO + 1;
    if (iprn >= galileo && iprn < galileo + _MAX_PRN_GAL)
        return 1;
    if (iprn >= galileo + _MAX_PRN_GAL && iprn <= _MAX_PRN)
        return 2;
    return -1;
}

// Ambiguities may be large numbers: only the marker itself means no value.
bool HasValue(double x)
{
    return std::isfinite(x) && std::fabs(x - kNoValue) > 0.005;
}

double Seconds(const tagGPSTIME2& t)
{
    return t.week * kSecondsPerWeek + t.sow;
}

tagGPSTIME2 TimeOf(int64_t seconds)
{
    tagGPSTIME2 t;
    t.week = static_cast<int32_t>(seconds / 604800);
    t.sow = static_cast<double>(seconds - static_cast<int64_t>(t.week) * 604800);
    return t;
}

double ClampSigma(double sigma)
{
    if (!(sigma >= kSigmaFloor))
        return std::isnan(sigma) ? kSigmaCeiling : kSigmaFloor;
    return std::min(sigma, kSigmaCeiling);
}

// The part of a satellite's continuous arc that falls in one day.
struct ArcSegment {
    int station;
    int iprn;
    int64_t day;
    double arcStart;      // seconds, start of the whole arc
    double start;         // seconds, first epoch in this day
    double end;           // last epoch in this day
    double maxElevation = -90.0;
    bool hasWl = false;
    double wl = 0.0;      // value at the last epoch with one
    double wlSigma = -1.0;   // its standard deviation (cycles), negative while unknown
    bool fixed = false;   // wide-lane integer known
    double integer = 0.0;
};

// The noise of an arc's Melbourne-Wuebbena samples from the running mean
// the export carries: with mean_k = mean_(k-1) + (mw_k - mean_(k-1)) / k,
// k (mean_k - mean_(k-1)) is the new sample's deviation from the mean so
// far, whose spread is about that of the samples. The first two epochs of
// an arc are left out: the mean only starts there.
class ArcNoise {
public:
    void restart() { *this = ArcNoise(); }

    void add(int lock, double wl)
    {
        if (m_hasLast && lock == m_lastLock + 1 && lock >= 3) {
            m_sumAbs += std::fabs(lock * (wl - m_lastWl));
            ++m_steps;
        }
        m_hasLast = true;
        m_lastLock = lock;
        m_lastWl = wl;
    }

    // Standard deviation of the mean of `lock` samples (cycles), from the
    // mean absolute deviation of a normal distribution; -1 when unknown.
    double sigmaOfMean(int lock) const
    {
        if (m_steps == 0 || lock < 1)
            return -1.0;
        return 1.2533 * m_sumAbs / m_steps / std::sqrt(static_cast<double>(lock));
    }

private:
    bool m_hasLast = false;
    int m_lastLock = 0;
    double m_lastWl = 0.0;
    double m_sumAbs = 0.0;
    int m_steps = 0;
};

// Splits every station's records into arc segments; segmentOf[station][k]
// is the segment of the station's k-th satellite record (epoch by epoch),
// -1 for a satellite without UPDs.
void BuildSegments(const std::vector<AmbiguityExport>& network, std::vector<ArcSegment>& segments,
                   std::vector<std::vector<int>>& segmentOf)
{
    segmentOf.resize(network.size());
    for (size_t st = 0; st < network.size(); ++st) {
        int current[_MAX_PRN + 1];
        int lastLock[_MAX_PRN + 1];
        ArcNoise noise[_MAX_PRN + 1];
        std::fill(current, current + _MAX_PRN + 1, -1);
        std::fill(lastLock, lastLock + _MAX_PRN + 1, 0);
        std::vector<int>& of = segmentOf[st];
        of.clear();
        for (const AmbiguityEpoch& epoch : network[st].epochs) {
            const double t = Seconds(epoch.time);
            const int64_t day = static_cast<int64_t>(std::floor(t / kSecondsPerDay));
            for (const AmbiguitySatellite& r : epoch.satellites) {
                of.push_back(-1);
                if (SystemSlot(r.iprn) < 0)
                    continue;
                int& seg = current[r.iprn];
                const bool newArc = seg < 0 || r.lock < lastLock[r.iprn];
                lastLock[r.iprn] = r.lock;
                if (newArc)
                    noise[r.iprn].restart();
                if (newArc || segments[static_cast<size_t>(seg)].day != day) {
                    ArcSegment s;
                    s.station = static_cast<int>(st);
                    s.iprn = r.iprn;
                    s.day = day;
                    s.arcStart = newArc ? t : segments[static_cast<size_t>(seg)].arcStart;
                    s.start = s.end = t;
                    seg = static_cast<int>(segments.size());
                    segments.push_back(s);
                }
                ArcSegment& s = segments[static_cast<size_t>(seg)];
                s.end = t;
                s.maxElevation = std::max(s.maxElevation, r.elevation);
                if (HasValue(r.wl)) {
                    noise[r.iprn].add(r.lock, r.wl);
                    s.hasWl = true;
                    s.wl = r.wl;
                    s.wlSigma = noise[r.iprn].sigmaOfMean(r.lock);
                }
                of.back() = seg;
            }
        }
    }
}

int ReceiverIndex(int station, int iprn)
{
    return station * kSystems + SystemSlot(iprn);
}

// Appends the satellites the fit determined, valid from `time`.
void AppendUpds(const FractionFit& fit, const tagGPSTIME2& time, bool countStations, std::vector<UpdValue>& out)
{
    for (size_t s = 0; s < fit.satellite.size(); ++s)
        if (fit.satelliteCount[s] > 0)
            out.push_back({static_cast<int>(s) + 1, time, fit.satellite[s], fit.satelliteSigma[s],
                           countStations ? fit.satelliteReceivers[s] : fit.satelliteCount[s]});
}

// Wide lane per day; fixes the integers of the segments used.
void EstimateWideLane(std::vector<ArcSegment>& segments, int stations, const UpdEstimatorOptions& options,
                      UpdEstimate& estimate, double& sumSquares)
{
    std::map<int64_t, std::vector<int>> byDay;
    for (size_t i = 0; i < segments.size(); ++i) {
        const ArcSegment& s = segments[i];
        if (s.end - s.start >= options.minArcMinutes * 60.0 && s.maxElevation >= options.minElevationDeg &&
            s.hasWl && s.wlSigma >= 0.0 && s.wlSigma <= options.maxWlSigma)
            byDay[s.day].push_back(static_cast<int>(i));
    }
    std::vector<char> contributed(static_cast<size_t>(stations), 0);
    std::vector<char> satellites(_MAX_PRN, 0);
    std::vector<FractionObservation> obs;
    for (const auto& day : byDay) {
        obs.clear();
        for (int i : day.second) {
            const ArcSegment& s = segments[static_cast<size_t>(i)];
            obs.push_back({ReceiverIndex(s.station, s.iprn), s.iprn - 1, s.wl, ClampSigma(s.wlSigma)});
        }
        const FractionFit fit = FitFractions(obs, stations * kSystems, _MAX_PRN, options.maxFraction);
        for (size_t k = 0; k < obs.size(); ++k) {
            // Arcs of satellites the fit leaves undetermined get no integer.
            const double satellite = fit.satellite[static_cast<size_t>(obs[k].satellite)];
            if (!fit.inlier[k] || std::isnan(satellite))
                continue;
            ArcSegment& s = segments[static_cast<size_t>(day.second[k])];
            s.fixed = true;
            s.integer = std::round(obs[k].value - satellite + fit.receiver[static_cast<size_t>(obs[k].receiver)]);
            contributed[static_cast<size_t>(s.station)] = 1;
            satellites[static_cast<size_t>(obs[k].satellite)] = 1;
        }
        AppendUpds(fit, TimeOf(day.first * 86400), false, estimate.product.wideLane);
        estimate.statistics.wlArcs += fit.used;
        estimate.statistics.wlRejected += fit.rejected;
        sumSquares += fit.sumSquares;
    }
    estimate.statistics.days = static_cast<int>(byDay.size());
    estimate.statistics.stations = static_cast<int>(std::count(contributed.begin(), contributed.end(), 1));
    estimate.statistics.satellites = static_cast<int>(std::count(satellites.begin(), satellites.end(), 1));
}

// Narrow-lane floats of one arc segment summed over an interval.
struct NarrowLaneSum {
    int segment;
    double sum = 0.0;
    double variance = 0.0;   // sum of the samples' variances, cycles^2
    int n = 0;
};

class NarrowLaneCollector {
public:
    explicit NarrowLaneCollector(double interval) : m_interval(interval) {}

    void add(int64_t interval, int segment, double nl, double sigma)
    {
        if (interval != m_current)
            flush();
        m_current = interval;
        auto it = std::find_if(m_open.begin(), m_open.end(),
                               [&](const NarrowLaneSum& s) { return s.segment == segment; });
        if (it == m_open.end())
            it = m_open.insert(m_open.end(), NarrowLaneSum{segment});
        it->sum += nl;
        it->variance += sigma * sigma;
        ++it->n;
    }

    // Closes the interval of the current station.
    void flush()
    {
        for (const NarrowLaneSum& s : m_open)
            m_byInterval[m_current].push_back(s);
        m_open.clear();
    }

    const std::map<int64_t, std::vector<NarrowLaneSum>>& intervals() const { return m_byInterval; }
    double interval() const { return m_interval; }

private:
    double m_interval;
    int64_t m_current = 0;
    std::vector<NarrowLaneSum> m_open;
    std::map<int64_t, std::vector<NarrowLaneSum>> m_byInterval;
};

// True when every satellite of an epoch (records first .. first + n - 1 of
// a station) starts a new arc: the filter was reset and its float
// ambiguities converge again. Takes at least four satellites.
bool FilterRestarted(const std::vector<int>& segmentOf, size_t first, size_t n,
                     const std::vector<ArcSegment>& segments, double t)
{
    int fresh = 0;
    for (size_t k = first; k < first + n; ++k) {
        const int seg = segmentOf[k];
        if (seg < 0)
            continue;
        if (segments[static_cast<size_t>(seg)].arcStart != t)
            return false;
        ++fresh;
    }
    return fresh >= 4;
}

void CollectNarrowLane(const std::vector<AmbiguityExport>& network, const std::vector<ArcSegment>& segments,
                       const std::vector<std::vector<int>>& segmentOf, const UpdEstimatorOptions& options,
                       NarrowLaneCollector& collector)
{
    for (size_t st = 0; st < network.size(); ++st) {
        const std::vector<AmbiguityEpoch>& epochs = network[st].epochs;
        if (epochs.empty())
            continue;
        const std::vector<int>& of = segmentOf[st];
        double filterStart = Seconds(epochs.front().time);
        size_t k = 0;
        for (const AmbiguityEpoch& epoch : epochs) {
            const double t = Seconds(epoch.time);
            if (FilterRestarted(of, k, epoch.satellites.size(), segments, t))
                filterStart = t;
            const int64_t interval = static_cast<int64_t>(std::floor(t / collector.interval()));
            for (const AmbiguitySatellite& r : epoch.satellites) {
                const int seg = of[k++];
                if (seg < 0)
                    continue;
                const ArcSegment& s = segments[static_cast<size_t>(seg)];
                if (!s.fixed || !(r.elevation >= options.minElevationDeg) || !HasValue(r.amb) ||
                    !HasValue(r.ambSigma) || t - filterStart < options.convergenceMinutes * 60.0 ||
                    t - s.arcStart < options.minArcMinutes * 60.0)
                    continue;
                double f1 = 0.0, f2 = 0.0;
                UpdFrequencies(r.iprn, f1, f2);
                const double nl = (f1 + f2) / _LIGHT_SPEED * r.amb - f2 / (f1 - f2) * s.integer;
                collector.add(interval, seg, nl, r.ambSigma * (f1 + f2) / _LIGHT_SPEED);
            }
        }
        collector.flush();
    }
}

// Shifts the satellite values of each system by the common amount that
// brings them closest to the latest earlier values, so that the series of
// intervals do not jump with the datum of each fit; then updates `latest`.
void FollowDatum(std::vector<double>& satellites, std::vector<double>& latest)
{
    for (int system = 0; system < kSystems; ++system) {
        CircularSum offset;
        for (size_t s = 0; s < satellites.size(); ++s)
            if (SystemSlot(static_cast<int>(s) + 1) == system && !std::isnan(satellites[s]) && !std::isnan(latest[s]))
                offset.add(latest[s] - satellites[s]);
        const double shift = offset.mean();
        for (size_t s = 0; s < satellites.size(); ++s)
            if (SystemSlot(static_cast<int>(s) + 1) == system && !std::isnan(satellites[s])) {
                satellites[s] = WrapCycle(satellites[s] + shift);
                latest[s] = satellites[s];
            }
    }
}

void EstimateNarrowLane(const std::vector<AmbiguityExport>& network, const std::vector<ArcSegment>& segments,
                        const std::vector<std::vector<int>>& segmentOf, const UpdEstimatorOptions& options,
                        UpdEstimate& estimate, double& sumSquares)
{
    NarrowLaneCollector collector(options.nlIntervalSeconds);
    CollectNarrowLane(network, segments, segmentOf, options, collector);
    const int stations = static_cast<int>(network.size());
    std::vector<FractionObservation> obs;
    std::vector<double> latest(_MAX_PRN, std::numeric_limits<double>::quiet_NaN());
    for (const auto& interval : collector.intervals()) {
        obs.clear();
        for (const NarrowLaneSum& sum : interval.second) {
            const ArcSegment& s = segments[static_cast<size_t>(sum.segment)];
            // The floats of one arc are strongly correlated: their mean is
            // as uncertain as one of them.
            obs.push_back({ReceiverIndex(s.station, s.iprn), s.iprn - 1, sum.sum / sum.n,
                           ClampSigma(std::sqrt(sum.variance / sum.n))});
        }
        FractionFit fit = FitFractions(obs, stations * kSystems, _MAX_PRN, options.maxFraction);
        FollowDatum(fit.satellite, latest);
        const double start = static_cast<double>(interval.first) * options.nlIntervalSeconds;
        const tagGPSTIME2 time = TimeOf(static_cast<int64_t>(std::llround(start)));
        AppendUpds(fit, time, true, estimate.product.narrowLane);
        estimate.statistics.nlSamples += fit.used;
        estimate.statistics.nlRejected += fit.rejected;
        if (fit.used > 0)
            ++estimate.statistics.intervals;
        sumSquares += fit.sumSquares;
    }
}

}  // namespace

bool UpdFrequencies(int iprn, double& f1, double& f2)
{
    switch (SystemSlot(iprn)) {
    case 0:
        f1 = _GPS_F1;
        f2 = _GPS_F2;
        return true;
    case 1:
        f1 = _GAL_F1;
        f2 = _GAL_F5;
        return true;
    case 2:
        f1 = _BDS_F2;
        f2 = _BDS_F7;
        return true;
    default:
        return false;
    }
}

UpdEstimate EstimateUpds(const std::vector<AmbiguityExport>& network, const UpdEstimatorOptions& options)
{
    UpdEstimate estimate;
    estimate.product.nlInterval = options.nlIntervalSeconds;
    std::vector<ArcSegment> segments;
    std::vector<std::vector<int>> segmentOf;
    BuildSegments(network, segments, segmentOf);

    double wlSquares = 0.0, nlSquares = 0.0;
    EstimateWideLane(segments, static_cast<int>(network.size()), options, estimate, wlSquares);
    EstimateNarrowLane(network, segments, segmentOf, options, estimate, nlSquares);
    UpdStatistics& stats = estimate.statistics;
    stats.wlRms = stats.wlArcs > 0 ? std::sqrt(wlSquares / stats.wlArcs) : 0.0;
    stats.nlRms = stats.nlSamples > 0 ? std::sqrt(nlSquares / stats.nlSamples) : 0.0;
    return estimate;
}

}  // namespace pppio
