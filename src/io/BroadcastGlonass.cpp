// GLONASS broadcast orbits: numerical integration of the equations of
// motion in the rotating PZ-90 frame (GLONASS ICD, appendix on the
// satellite motion), with the second zonal harmonic and the broadcast
// luni-solar accelerations held constant over the interval.
#include <cmath>

#include "io/BroadcastOrbit.h"
#include "io/GpsTime.h"

namespace pppio {

namespace {

constexpr double kGm = 398600.4418e9;          // m^3/s^2
constexpr double kEquatorRadius = 6378136.0;    // m
constexpr double kJ2 = 1082625.75e-9;
constexpr double kEarthRotation = 7.292115e-5;  // rad/s

// Time derivative of the state (position, velocity).
void Derivative(const double s[6], const double lunisolar[3], double d[6])
{
    const double r2 = s[0] * s[0] + s[1] * s[1] + s[2] * s[2];
    const double r = std::sqrt(r2);
    const double central = kGm / (r2 * r);
    const double zonal = 1.5 * kJ2 * kGm * kEquatorRadius * kEquatorRadius / (r2 * r2 * r);
    const double z2 = 5.0 * s[2] * s[2] / r2;
    const double w2 = kEarthRotation * kEarthRotation;
    d[0] = s[3];
    d[1] = s[4];
    d[2] = s[5];
    d[3] = -central * s[0] - zonal * s[0] * (1.0 - z2) + w2 * s[0] + 2.0 * kEarthRotation * s[4] + lunisolar[0];
    d[4] = -central * s[1] - zonal * s[1] * (1.0 - z2) + w2 * s[1] - 2.0 * kEarthRotation * s[3] + lunisolar[1];
    d[5] = -central * s[2] - zonal * s[2] * (3.0 - z2) + lunisolar[2];
}

void RungeKuttaStep(double s[6], const double lunisolar[3], double h)
{
    double k1[6], k2[6], k3[6], k4[6], tmp[6];
    Derivative(s, lunisolar, k1);
    for (int i = 0; i < 6; ++i)
        tmp[i] = s[i] + 0.5 * h * k1[i];
    Derivative(tmp, lunisolar, k2);
    for (int i = 0; i < 6; ++i)
        tmp[i] = s[i] + 0.5 * h * k2[i];
    Derivative(tmp, lunisolar, k3);
    for (int i = 0; i < 6; ++i)
        tmp[i] = s[i] + h * k3[i];
    Derivative(tmp, lunisolar, k4);
    for (int i = 0; i < 6; ++i)
        s[i] += h / 6.0 * (k1[i] + 2.0 * k2[i] + 2.0 * k3[i] + k4[i]);
}

}  // namespace

void glonassState(const GlonassEphemeris& eph, const tagGPSTIME2& t, SatelliteState& state)
{
    const double dt = secondsBetween(t, eph.toe);
    double s[6] = {eph.position[0], eph.position[1], eph.position[2],
                   eph.velocity[0], eph.velocity[1], eph.velocity[2]};
    const int steps = static_cast<int>(std::ceil(std::fabs(dt) / kGlonassStep));
    const double h = steps > 0 ? dt / steps : 0.0;
    for (int i = 0; i < steps; ++i)
        RungeKuttaStep(s, eph.acceleration, h);
    for (int k = 0; k < 3; ++k) {
        state.position[k] = s[k];
        state.velocity[k] = s[3 + k];
    }
    state.clock = eph.minusTauN + eph.gammaN * dt;
    state.clockRate = eph.gammaN;
}

}  // namespace pppio
