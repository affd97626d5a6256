// Keplerian broadcast orbits of GPS, Galileo and BeiDou (IS-GPS-200 user
// algorithm; Galileo and BeiDou use the same elements with their own
// constants, BeiDou GEO satellites an extra rotation).
#include <cmath>

#include "common/gnsscmn.h"
#include "io/BroadcastOrbit.h"
#include "io/GpsTime.h"

namespace pppio {

namespace {

struct KeplerConstants {
    double gm;              // m^3/s^2
    double earthRotation;   // rad/s
};

KeplerConstants ConstantsOf(char system)
{
    switch (system) {
    case 'E': return {3.986004418e14, 7.2921151467e-5};   // Galileo OS SIS ICD
    case 'C': return {3.986004418e14, 7.2921150e-5};      // BeiDou ICD (CGCS2000)
    default: return {3.986005e14, 7.2921151467e-5};       // IS-GPS-200 (WGS84)
    }
}

// BeiDou geostationary satellites C01-C05: their elements refer to a frame
// tilted by 5 degrees, so the Earth rotation is applied afterwards.
bool IsBeidouGeo(const KeplerEphemeris& eph)
{
    return eph.system == 'C' && iprn2prn(eph.iprn) <= 5;
}

void KeplerPosition(const KeplerEphemeris& eph, double tk, double xyz[3])
{
    const KeplerConstants c = ConstantsOf(eph.system);
    const double a = eph.sqrtA * eph.sqrtA;
    const double e = eph.eccentricity;
    const double meanAnomaly = eph.m0 + (std::sqrt(c.gm / (a * a * a)) + eph.deltaN) * tk;
    double E = meanAnomaly;
    for (int i = 0; i < 30; ++i) {
        const double step = (E - e * std::sin(E) - meanAnomaly) / (1.0 - e * std::cos(E));
        E -= step;
        if (std::fabs(step) < 1e-14)
            break;
    }
    const double trueAnomaly = std::atan2(std::sqrt(1.0 - e * e) * std::sin(E), std::cos(E) - e);
    const double phi = trueAnomaly + eph.omega;
    const double sin2 = std::sin(2.0 * phi);
    const double cos2 = std::cos(2.0 * phi);
    const double u = phi + eph.cus * sin2 + eph.cuc * cos2;
    const double r = a * (1.0 - e * std::cos(E)) + eph.crs * sin2 + eph.crc * cos2;
    const double inclination = eph.i0 + eph.cis * sin2 + eph.cic * cos2 + eph.idot * tk;
    const double xOrbit = r * std::cos(u);
    const double yOrbit = r * std::sin(u);

    const bool geo = IsBeidouGeo(eph);
    const double node = eph.omega0 + (eph.omegaDot - (geo ? 0.0 : c.earthRotation)) * tk -
                        c.earthRotation * eph.toeSeconds;
    const double x = xOrbit * std::cos(node) - yOrbit * std::cos(inclination) * std::sin(node);
    const double y = xOrbit * std::sin(node) + yOrbit * std::cos(inclination) * std::cos(node);
    const double z = yOrbit * std::sin(inclination);
    if (!geo) {
        xyz[0] = x, xyz[1] = y, xyz[2] = z;
        return;
    }
    // Rz(we tk) Rx(-5 deg) applied to the position in the tilted frame.
    const double tilt = -5.0 * _DEG2RAD;
    const double yTilted = std::cos(tilt) * y + std::sin(tilt) * z;
    const double zTilted = -std::sin(tilt) * y + std::cos(tilt) * z;
    const double spin = c.earthRotation * tk;
    xyz[0] = std::cos(spin) * x + std::sin(spin) * yTilted;
    xyz[1] = -std::sin(spin) * x + std::cos(spin) * yTilted;
    xyz[2] = zTilted;
}

}  // namespace

void keplerState(const KeplerEphemeris& eph, const tagGPSTIME2& t, SatelliteState& state)
{
    const double tk = secondsBetween(t, eph.toe);
    KeplerPosition(eph, tk, state.position);
    // Velocity by a central difference over one second: errors well below 1 mm/s.
    double before[3], after[3];
    KeplerPosition(eph, tk - 0.5, before);
    KeplerPosition(eph, tk + 0.5, after);
    for (int k = 0; k < 3; ++k)
        state.velocity[k] = after[k] - before[k];
    const double dt = secondsBetween(t, eph.toc);
    state.clock = eph.af0 + eph.af1 * dt + eph.af2 * dt * dt;
    state.clockRate = eph.af1 + 2.0 * eph.af2 * dt;
}

}  // namespace pppio
