// Satellite and receiver fractional biases of a network of near-integer
// observations, the common step of the wide-lane and narrow-lane UPD
// estimation:
//
//   x(r, s) = S_s - R_r + integer + noise        (cycles)
//
//   std::vector<pppio::FractionObservation> obs = ...;  // receiver, satellite, x, sigma
//   pppio::FractionFit fit = pppio::FitFractions(obs, receivers, satellites, 0.25);
//   // fit.satellite[s] (in [-0.5, 0.5)), fit.receiver[r], fit.inlier[i]
//
// Only fractional parts enter, through circular means, so values near
// +/-0.5 cycle need no care. One satellite of each group of stations and
// satellites that share observations is held at zero (the datum cancels in
// single differences between satellites). Observations whose residual
// exceeds the limit are rejected one at a time, the worst first; the limit
// is `maxResidual` or, when the residuals are small, four robust standard
// deviations (1.4826 times their median absolute value), but no less than
// 0.1 cycle.
#ifndef PPPIO_FRACTIONALBIASFIT_H
#define PPPIO_FRACTIONALBIASFIT_H

#include <vector>

namespace pppio {

struct FractionObservation {
    int receiver;      // 0 .. receivers-1
    int satellite;     // 0 .. satellites-1
    double value;      // cycles, any integer part
    double sigma;      // cycles, a-priori; weights 1/sigma^2
};

struct FractionFit {
    std::vector<double> satellite;       // S_s in [-0.5, 0.5); NaN without observations
    std::vector<double> receiver;        // R_r in [-0.5, 0.5); NaN without observations
    std::vector<double> satelliteSigma;  // standard error of S_s (cycles)
    std::vector<int> satelliteCount;     // inlier observations of the satellite whose receiver
                                         // has others (0: S_s undetermined, NaN)
    std::vector<int> satelliteReceivers; // distinct receivers among them
    std::vector<double> residual;        // x - S + R wrapped into [-0.5, 0.5), per observation
    std::vector<char> inlier;            // per observation
    int used = 0;                        // inliers that inform a satellite
    int rejected = 0;
    double sumSquares = 0.0;             // of the inlier residuals
};

// Wraps cycles into [-0.5, 0.5).
double WrapCycle(double x);

// Circular mean of cycles: the direction of the weighted sum of unit
// vectors at angle 2 pi x, in [-0.5, 0.5); 0 when nothing was added.
class CircularSum {
public:
    void add(double x, double weight = 1.0);
    double mean() const;

private:
    double m_sin = 0.0;
    double m_cos = 0.0;
};

FractionFit FitFractions(const std::vector<FractionObservation>& observations, int receivers, int satellites,
                         double maxResidual);

}  // namespace pppio

#endif
