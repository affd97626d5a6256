// Helpers shared by the Sun and Moon chain: units, the dynamical time offset,
// elementary frame rotations and the mean obliquity of the ecliptic.
#ifndef PPPLIB_MODELS_CELESTIALMATH_H
#define PPPLIB_MODELS_CELESTIALMATH_H

#include "common/GNSSConst.h"

constexpr double _ARCSEC2RAD = _PI / 648000.0;
constexpr double _ASTRONOMICAL_UNIT = 149597870700.0;     // m (IAU 2012)
constexpr double _TT_MINUS_GPS = 51.184;                  // s: TT = TAI + 32.184 s, TAI = GPS + 19 s

// Matrix that turns coordinates into those of axes rotated by angle (radians)
// about axis 0 (x), 1 (y) or 2 (z), right-handed.
void AxisRotation(int axis, double angle, double (*r)[3]);

// Mean obliquity of the ecliptic of date (IAU 1976), radians.
double MeanObliquity(double t);

#endif
