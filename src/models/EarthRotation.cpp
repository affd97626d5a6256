// IAU 1980 nutation, Greenwich sidereal time (IAU 1982) and the rotation of
// J2000.0 positions to Earth-fixed axes.
#include "models/CelestialMath.h"
#include "models/GNSSErrorCorrection.h"
#include "models/NutationTable.h"

#include <cmath>

namespace {

constexpr double kTwoPi = 2.0 * _PI;
constexpr double kTurnArcsec = 1296000.0;

// Delaunay argument from its polynomial in arcseconds (rate split into whole
// turns and a remainder), radians.
double DelaunayArgument(double t, double a0, double turns, double a1, double a2, double a3)
{
    const double arcsec = a0 + (turns * kTurnArcsec + a1) * t + (a2 + a3 * t) * t * t;
    return std::fmod(arcsec, kTurnArcsec) * _ARCSEC2RAD;
}

// Greenwich mean sidereal time (IAU 1982), radians; tu in Julian centuries of UT1.
double MeanSiderealTime(double tu)
{
    const double seconds = 67310.54841 + (876600.0 * 3600.0 + 8640184.812866) * tu + (0.093104 - 6.2e-6 * tu) * tu * tu;
    return std::fmod(seconds, 86400.0) * (kTwoPi / 86400.0);
}

// Mean sidereal time plus the equation of the equinoxes.
double ApparentSiderealTime(double tu, const double* nutationAngles)
{
    const double trueObliquity = nutationAngles[2] + nutationAngles[1];
    return MeanSiderealTime(tu) + nutationAngles[0] * std::cos(trueObliquity);
}

}  // namespace

double CGNSSErrorCorrection::ARCMOD(double a)
{
    const double reduced = std::fmod(a, kTwoPi);
    return reduced < 0.0 ? reduced + kTwoPi : reduced;
}

int CGNSSErrorCorrection::Nutation(double t, double (*n)[3], double* out)
{
    const double l = DelaunayArgument(t, 485866.733, 1325.0, 715922.633, 31.310, 0.064);
    const double lp = DelaunayArgument(t, 1287099.804, 99.0, 1292581.224, -0.577, -0.012);
    const double f = DelaunayArgument(t, 335778.877, 1342.0, 295263.137, -13.257, 0.011);
    const double d = DelaunayArgument(t, 1072261.307, 1236.0, 1105601.328, -6.891, 0.019);
    const double om = DelaunayArgument(t, 450160.280, -5.0, -482890.539, 7.455, 0.008);

    // Smallest terms first, for the rounding.
    double dpsi = 0.0, deps = 0.0;
    for (int i = _NUTATION_TERM_COUNT - 1; i >= 0; --i) {
        const tagNUTATIONTERM& term = _NUTATION_TERMS[i];
        const double arg = term.nL * l + term.nLp * lp + term.nF * f + term.nD * d + term.nOm * om;
        dpsi += (term.psi + term.psiRate * t) * std::sin(arg);
        deps += (term.eps + term.epsRate * t) * std::cos(arg);
    }
    out[0] = dpsi * 1.0e-4 * _ARCSEC2RAD;
    out[1] = deps * 1.0e-4 * _ARCSEC2RAD;
    out[2] = MeanObliquity(t);

    double toEcliptic[3][3], inLongitude[3][3], toTrueEquator[3][3], partial[3][3];
    AxisRotation(0, out[2], toEcliptic);
    AxisRotation(2, -out[0], inLongitude);
    AxisRotation(0, -(out[2] + out[1]), toTrueEquator);
    MatrixMulti(&toTrueEquator[0][0], &inLongitude[0][0], &partial[0][0], 3, 3, 3);
    MatrixMulti(&partial[0][0], &toEcliptic[0][0], &n[0][0], 3, 3, 3);
    return 1;
}

double CGNSSErrorCorrection::S0(double t)
{
    double n[3][3], angles[3];
    Nutation(t, n, angles);
    return ARCMOD(ApparentSiderealTime(t, angles));
}

int CGNSSErrorCorrection::J2000ToEarthFixed(double tt, double ut, long double* in, long double* out)
{
    EarthRotationCache& cache = m_rotationCache;
    if (!cache.valid || cache.tt != tt || cache.ut != ut) {
        double precession[3][3], nutation[3][3], angles[3], spin[3][3], partial[3][3];
        Precession(tt, precession);
        Nutation(tt, nutation, angles);
        AxisRotation(2, ApparentSiderealTime(ut, angles), spin);
        MatrixMulti(&nutation[0][0], &precession[0][0], &partial[0][0], 3, 3, 3);
        MatrixMulti(&spin[0][0], &partial[0][0], &cache.total[0][0], 3, 3, 3);
        cache.tt = tt;
        cache.ut = ut;
        cache.valid = true;
    }
    return MultMatrix1(cache.total, in, out);
}
