// Carrier-phase wind-up between the receiver's north/east frame and the
// satellite's nominal yaw-steering frame, as a fraction of a cycle.
#include "models/GNSSErrorCorrection.h"
#include "models/Vector3.h"

#include <algorithm>
#include <cmath>

namespace {

// Effective dipole d = a - k (k . a) + k x b of an antenna whose axes a, b
// are seen along the line of sight k.
void EffectiveDipole(const double* k, const double* a, const double* b, double* d)
{
    double kxb[3];
    Cross3(k, b, kxb);
    const double ka = Dot3(k, a);
    for (int i = 0; i < 3; ++i)
        d[i] = a[i] - k[i] * ka + kxb[i];
}

}  // namespace

int CGNSSErrorCorrection::GetPhaseWindUp(double& wu, tagCOMMONTIME2 t, tagCRDCARTESIAN rec, tagCRDCARTESIAN sat)
{
    long double sunPos[3];
    SUN(t.year, t.month, t.day, t.hour, sunPos);
    const tagCRDCARTESIAN sun = {static_cast<double>(sunPos[0]), static_cast<double>(sunPos[1]),
                                 static_cast<double>(sunPos[2])};
    return PhaseWindUp(wu, rec, sat, sun);
}

int CGNSSErrorCorrection::PhaseWindUp(double& wu, tagCRDCARTESIAN rec, tagCRDCARTESIAN sat, tagCRDCARTESIAN sun)
{
    double k[3], dRec[3], dSat[3], cross[3];
    CalPhaseWindUpK(rec, sat, k);
    CalPhaseWindUpD(rec, k, dRec);
    CalPhaseWindUpD1(sun, sat, k, dSat);

    // Clamped so that rounding just beyond +-1 cannot give NaN.
    const double c = std::clamp(Dot3(dSat, dRec) / (Norm3(dSat) * Norm3(dRec)), -1.0, 1.0);
    const double w = std::acos(c);
    Cross3(dSat, dRec, cross);
    const double zeta = Dot3(k, cross);
    // zeta exactly 0 leaves the wind-up at 0, even where acos gives pi.
    const double sign = zeta < 0.0 ? -1.0 : (zeta > 0.0 ? 1.0 : 0.0);
    wu = sign * w / (2.0 * _PI);
    return 1;
}

int CGNSSErrorCorrection::CalPhaseWindUpK(tagCRDCARTESIAN a, tagCRDCARTESIAN b, double* k)
{
    double pa[3], pb[3];
    ToArray(a, pa);
    ToArray(b, pb);
    MatrixMinus(pa, pb, k, 3, 1);
    const double length = Norm3(k);
    for (int i = 0; i < 3; ++i)
        k[i] /= length;
    return 1;
}

int CGNSSErrorCorrection::CalPhaseWindUpD(tagCRDCARTESIAN rec, double* k, double* d)
{
    tagCRDGEODETIC geo;
    m_coord.CartesianToGeodetic(&rec, &geo, _WGS84_ELLIPSE_A, _WGS84_ELLIPSE_FLAT);
    const double sinLat = std::sin(geo.lat), cosLat = std::cos(geo.lat);
    const double sinLon = std::sin(geo.lon), cosLon = std::cos(geo.lon);
    // Columns: local north, east and up.
    const double rot[9] = {-sinLat * cosLon, -sinLon, cosLat * cosLon,
                           -sinLat * sinLon, cosLon,  cosLat * sinLon,
                           cosLat,           0.0,     sinLat};
    const double minusNorth[3] = {-1.0, 0.0, 0.0};
    const double east[3] = {0.0, 1.0, 0.0};
    double x[3], y[3];
    MatrixMulti(rot, minusNorth, x, 3, 3, 1);
    MatrixMulti(rot, east, y, 3, 3, 1);
    EffectiveDipole(k, x, y, d);
    return 1;
}

int CGNSSErrorCorrection::CalPhaseWindUpD1(tagCRDCARTESIAN sun, tagCRDCARTESIAN sat, double* k, double* d)
{
    double pSun[3], pSat[3], toSun[3], ez[3], y[3], x[3];
    ToArray(sun, pSun);
    ToArray(sat, pSat);
    MatrixMinus(pSun, pSat, toSun, 3, 1);
    const double sunDistance = Norm3(toSun);
    const double satDistance = Norm3(pSat);
    for (int i = 0; i < 3; ++i) {
        toSun[i] /= sunDistance;
        ez[i] = -pSat[i] / satDistance;
    }
    Cross3(ez, toSun, y);
    const double yLength = Norm3(y);
    for (double& component : y)
        component /= yLength;
    Cross3(ez, y, x);
    // The satellite side projects y and subtracts k x x, unlike the receiver
    // side; the original model is kept as it stands.
    const double minusX[3] = {-x[0], -x[1], -x[2]};
    EffectiveDipole(k, y, minusX, d);
    return 1;
}
