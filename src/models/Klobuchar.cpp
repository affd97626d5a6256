// GPS broadcast ionosphere model (Klobuchar) from the navigation header's
// eight coefficients.
//
// Kept as in the original model of this library: the elevation and azimuth
// enter the formulas in radians, as the polar topocentric record holds them,
// where the published model takes semicircles; and the cosine argument uses
// pi, not 2 pi, over the period.
#include <cmath>

#include "models/GNSSErrorCorrection.h"
#include "models/GNSSNav.h"

namespace {

constexpr double kSecondsPerDay = 86400.0;
constexpr double kNightDelay = 5e-9;    // s, constant night-time term

// c0 + c1 x + c2 x^2 + c3 x^3
double Cubic(const double* c, double x)
{
    return c[0] + x * (c[1] + x * (c[2] + x * c[3]));
}

}  // namespace

double CGNSSErrorCorrection::Klobuchar(tagGPSTIME2* t, tagCRDCARTESIAN rec, tagCRDCARTESIAN sat, tagGMNHDR* nav)
{
    if (!t || !nav)
        return 0.0;
    tagCRDGEODETIC blh;
    m_coord.CartesianToGeodetic(&rec, &blh, _WGS84_ELLIPSE_A, _WGS84_ELLIPSE_FLAT);
    tagCRDTOPOCENTRIC neu;
    m_coord.CartesianToTopocentric(&sat, &neu, &rec, _WGS84_ELLIPSE_A, _WGS84_ELLIPSE_FLAT);
    tagCRDTOPOCENTRICPOLAR polar;
    m_coord.TopocentricToTopocentricPolar(&neu, &polar);
    const double e = polar.elevation, a = polar.azimuth;

    const double latUser = blh.lat / _PI, lonUser = blh.lon / _PI;   // semicircles
    const double psi = 0.0137 / (e + 0.11) - 0.022;                  // earth angle

    double latIono = latUser + psi * std::cos(a * _PI);
    if (latIono > 0.416)
        latIono = 0.416;
    else if (latIono < -0.416)
        latIono = -0.416;
    const double lonIono = lonUser + psi * std::sin(a * _PI) / std::cos(latIono * _PI);
    const double latMag = latIono + 0.064 * std::cos((lonIono - 1.617) * _PI);

    double amplitude = Cubic(nav->ionAlpha, latMag);
    if (amplitude < 0.0)
        amplitude = 0.0;
    double period = Cubic(nav->ionBeta, latMag);
    if (period < 72000.0)
        period = 72000.0;

    double localTime = 43200.0 * lonIono + std::fmod(t->sow, kSecondsPerDay);
    if (localTime >= kSecondsPerDay)
        localTime -= kSecondsPerDay;
    else if (localTime < 0.0)
        localTime += kSecondsPerDay;

    const double x = (localTime - 50400.0) * _PI / period;
    const double slant = 1.0 + 16.0 * std::pow(0.53 - e, 3);
    double delay = slant * kNightDelay;
    if (std::fabs(x) < 1.57)
        delay = slant * (kNightDelay + amplitude * (1.0 - x * x / 2.0 + x * x * x * x / 24.0));
    return delay * _LIGHT_SPEED;
}
