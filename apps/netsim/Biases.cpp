#include "Biases.h"

#include <cmath>

#include "common/GNSSConst.h"

namespace netsim {

namespace {

constexpr double kNanosecond = 1e-9 * _LIGHT_SPEED;   // m

double Wrapped(double cycles)
{
    return cycles - std::floor(cycles + 0.5);
}

}  // namespace

PhaseCodeBiases SatelliteBiases(Random& random, double f1, double f2)
{
    PhaseCodeBiases b;
    b.phase[0] = random.uniform(-1.0, 1.0);
    b.phase[1] = random.uniform(-1.0, 1.0);
    b.code[0] = random.uniform(-3.0, 3.0) * kNanosecond;
    b.code[1] = b.code[0] * (f1 * f1) / (f2 * f2);
    return b;
}

PhaseCodeBiases ReceiverBiases(Random& random)
{
    PhaseCodeBiases b;
    b.phase[0] = random.uniform(-1.0, 1.0);
    b.phase[1] = random.uniform(-1.0, 1.0);
    b.code[0] = random.uniform(-5.0, 5.0) * kNanosecond;
    b.code[1] = random.uniform(-5.0, 5.0) * kNanosecond;
    return b;
}

PhaseCodeBiases Drifted(const PhaseCodeBiases& b, double nlPerHour, double hours)
{
    PhaseCodeBiases d = b;
    d.phase[0] += nlPerHour * hours;
    d.phase[1] += nlPerHour * hours;
    return d;
}

Upd SatelliteUpd(const PhaseCodeBiases& b, double f1, double f2)
{
    const double lambdaW = _LIGHT_SPEED / (f1 - f2);
    Upd u;
    u.wl = (b.phase[0] - b.phase[1]) - (f1 * b.code[0] + f2 * b.code[1]) / ((f1 + f2) * lambdaW);
    u.nl = (f1 * b.phase[0] - f2 * b.phase[1]) / (f1 - f2);
    return u;
}

Upd WrappedUpd(const Upd& u, double f1, double f2)
{
    const double k = std::floor(u.wl + 0.5);
    return Upd{u.wl - k, Wrapped(u.nl - f2 / (f1 - f2) * k)};
}

}  // namespace netsim
