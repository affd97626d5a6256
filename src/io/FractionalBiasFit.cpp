#include "io/FractionalBiasFit.h"

#include <algorithm>
#include <cstddef>
#include <cmath>
#include <limits>

namespace pppio {

namespace {

constexpr double kTwoPi = 6.283185307179586;
constexpr int kMaxSweeps = 500;
constexpr double kConverged = 1e-9;   // cycles
constexpr double kRobustLimit = 4.0;   // rejection limit in robust standard deviations
constexpr double kSmallestLimit = 0.1; // cycles, the limit however small the residuals

double Weight(const FractionObservation& o)
{
    return o.sigma > 0.0 ? 1.0 / (o.sigma * o.sigma) : 1.0;
}

// Observation indexes grouped by satellite or receiver.
struct Incidence {
    std::vector<std::vector<int>> bySatellite;
    std::vector<std::vector<int>> byReceiver;
};

class Solver {
public:
    Solver(const std::vector<FractionObservation>& obs, int receivers, int satellites, FractionFit& fit)
        : m_obs(obs), m_fit(fit)
    {
        m_links.bySatellite.resize(static_cast<size_t>(satellites));
        m_links.byReceiver.resize(static_cast<size_t>(receivers));
        for (size_t i = 0; i < obs.size(); ++i) {
            m_links.bySatellite[static_cast<size_t>(obs[i].satellite)].push_back(static_cast<int>(i));
            m_links.byReceiver[static_cast<size_t>(obs[i].receiver)].push_back(static_cast<int>(i));
        }
        const double nan = std::numeric_limits<double>::quiet_NaN();
        fit.satellite.assign(static_cast<size_t>(satellites), nan);
        fit.receiver.assign(static_cast<size_t>(receivers), nan);
        fit.inlier.assign(obs.size(), 1);
        fit.residual.assign(obs.size(), 0.0);
    }

    // Sets satellites and receivers layer by layer outwards from one
    // reference satellite per connected group, each from the circular mean
    // over its already set neighbours.
    void initialise()
    {
        for (;;) {
            int reference = -1;
            size_t most = 0;
            for (size_t s = 0; s < m_links.bySatellite.size(); ++s)
                if (std::isnan(m_fit.satellite[s]) && m_links.bySatellite[s].size() > most) {
                    most = m_links.bySatellite[s].size();
                    reference = static_cast<int>(s);
                }
            if (reference < 0)
                return;
            m_fit.satellite[static_cast<size_t>(reference)] = 0.0;
            bool grew = true;
            while (grew) {
                const bool receiversGrew = updateReceivers(true);
                grew = updateSatellites(true) || receiversGrew;
            }
        }
    }

    // Alternating circular means until nothing moves.
    void iterate()
    {
        for (int sweep = 0; sweep < kMaxSweeps; ++sweep) {
            m_change = 0.0;
            updateReceivers(false);
            updateSatellites(false);
            if (m_change < kConverged)
                return;
        }
    }

    void computeResiduals()
    {
        for (size_t i = 0; i < m_obs.size(); ++i) {
            const FractionObservation& o = m_obs[i];
            m_fit.residual[i] = WrapCycle(o.value - m_fit.satellite[static_cast<size_t>(o.satellite)] +
                                          m_fit.receiver[static_cast<size_t>(o.receiver)]);
        }
    }

    // Rejects the inlier with the largest residual beyond the limit; false
    // when there is none. The limit is `maxResidual`, or less when the
    // residuals are small: an outlier shared out among a few stations and
    // satellites keeps only part of its size in its own residual.
    bool rejectWorst(double maxResidual)
    {
        m_scratch.clear();
        for (size_t i = 0; i < m_obs.size(); ++i)
            if (m_fit.inlier[i])
                m_scratch.push_back(std::fabs(m_fit.residual[i]));
        if (m_scratch.empty())
            return false;
        const auto middle = m_scratch.begin() + static_cast<std::ptrdiff_t>(m_scratch.size() / 2);
        std::nth_element(m_scratch.begin(), middle, m_scratch.end());
        const double robustSigma = 1.4826 * *middle;
        double largest = std::min(maxResidual, std::max(kRobustLimit * robustSigma, kSmallestLimit));
        int worst = -1;
        for (size_t i = 0; i < m_obs.size(); ++i)
            if (m_fit.inlier[i] && std::fabs(m_fit.residual[i]) > largest) {
                largest = std::fabs(m_fit.residual[i]);
                worst = static_cast<int>(i);
            }
        if (worst < 0)
            return false;
        m_fit.inlier[static_cast<size_t>(worst)] = 0;
        return true;
    }

private:
    // Receivers from the satellites: R_r = mean(S_s - x). With `onlyUnset`
    // just the receivers not set yet that see a set satellite; returns
    // whether any was set.
    bool updateReceivers(bool onlyUnset)
    {
        return update(m_links.byReceiver, m_fit.receiver, m_fit.satellite, &FractionObservation::satellite, -1.0,
                      onlyUnset);
    }

    // Satellites from the receivers: S_s = mean(x + R_r).
    bool updateSatellites(bool onlyUnset)
    {
        return update(m_links.bySatellite, m_fit.satellite, m_fit.receiver, &FractionObservation::receiver, 1.0,
                      onlyUnset);
    }

    // Each unknown of one side from the circular mean of sign * x plus the
    // other side's unknown (indexed by `otherIndex` of the observation)
    // over its inlier observations.
    bool update(const std::vector<std::vector<int>>& links, std::vector<double>& side,
                const std::vector<double>& other, int FractionObservation::*otherIndex, double sign, bool onlyUnset)
    {
        bool any = false;
        for (size_t k = 0; k < links.size(); ++k) {
            if (onlyUnset && !std::isnan(side[k]))
                continue;
            CircularSum sum;
            bool seen = false;
            for (int i : links[k]) {
                const FractionObservation& o = m_obs[static_cast<size_t>(i)];
                const double known = other[static_cast<size_t>(o.*otherIndex)];
                if (!m_fit.inlier[static_cast<size_t>(i)] || std::isnan(known))
                    continue;
                sum.add(sign * o.value + known, Weight(o));
                seen = true;
            }
            if (seen)
                any |= assign(side[k], sum.mean());
        }
        return any;
    }

    bool assign(double& target, double value)
    {
        const bool wasUnset = std::isnan(target);
        if (!wasUnset)
            m_change = std::max(m_change, std::fabs(WrapCycle(value - target)));
        target = value;
        return wasUnset;
    }

    const std::vector<FractionObservation>& m_obs;
    FractionFit& m_fit;
    Incidence m_links;
    double m_change = 0.0;
    std::vector<double> m_scratch;
};

// Counts, standard errors and the residual sum of the inliers.
void Summarise(const std::vector<FractionObservation>& obs, FractionFit& fit)
{
    const size_t satellites = fit.satellite.size();
    fit.satelliteCount.assign(satellites, 0);
    fit.satelliteReceivers.assign(satellites, 0);
    fit.satelliteSigma.assign(satellites, 0.0);
    std::vector<double> squares(satellites, 0.0), apriori(satellites, 0.0);
    std::vector<std::vector<int>> receivers(satellites);
    fit.used = fit.rejected = 0;
    fit.sumSquares = 0.0;
    // A receiver with a single observation only absorbs it: that
    // observation says nothing about its satellite.
    std::vector<int> perReceiver(fit.receiver.size(), 0);
    for (size_t i = 0; i < obs.size(); ++i)
        perReceiver[static_cast<size_t>(obs[i].receiver)] += fit.inlier[i] ? 1 : 0;
    for (size_t i = 0; i < obs.size(); ++i) {
        if (!fit.inlier[i]) {
            ++fit.rejected;
            continue;
        }
        if (perReceiver[static_cast<size_t>(obs[i].receiver)] < 2)
            continue;
        const size_t s = static_cast<size_t>(obs[i].satellite);
        ++fit.used;
        ++fit.satelliteCount[s];
        squares[s] += fit.residual[i] * fit.residual[i];
        apriori[s] += obs[i].sigma * obs[i].sigma;
        receivers[s].push_back(obs[i].receiver);
        fit.sumSquares += fit.residual[i] * fit.residual[i];
    }
    for (size_t s = 0; s < satellites; ++s) {
        const int n = fit.satelliteCount[s];
        if (n == 0) {
            fit.satellite[s] = std::numeric_limits<double>::quiet_NaN();
            continue;
        }
        std::sort(receivers[s].begin(), receivers[s].end());
        fit.satelliteReceivers[s] =
            static_cast<int>(std::unique(receivers[s].begin(), receivers[s].end()) - receivers[s].begin());
        // The scatter when there is redundancy, never below the a-priori noise.
        const double scatter = n > 1 ? squares[s] / (n - 1) : 0.0;
        fit.satelliteSigma[s] = std::sqrt(std::max(scatter, apriori[s] / n) / n);
    }
}

}  // namespace

double WrapCycle(double x)
{
    const double w = x - std::floor(x + 0.5);
    return w >= 0.5 ? w - 1.0 : w;
}

void CircularSum::add(double x, double weight)
{
    m_sin += weight * std::sin(kTwoPi * x);
    m_cos += weight * std::cos(kTwoPi * x);
}

double CircularSum::mean() const
{
    return m_sin == 0.0 && m_cos == 0.0 ? 0.0 : WrapCycle(std::atan2(m_sin, m_cos) / kTwoPi);
}

FractionFit FitFractions(const std::vector<FractionObservation>& observations, int receivers, int satellites,
                         double maxResidual)
{
    FractionFit fit;
    Solver solver(observations, receivers, satellites, fit);
    solver.initialise();
    do {
        solver.iterate();
        solver.computeResiduals();
    } while (solver.rejectWorst(maxResidual));
    Summarise(observations, fit);
    return fit;
}

}  // namespace pppio
