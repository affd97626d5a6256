// Solid earth tide: degree-2 in-phase displacement of a station under the
// Sun and the Moon with the nominal Love and Shida numbers.
#include "models/GNSSErrorCorrection.h"

#include <cmath>

namespace {

// Masses in units of 1e22 kg; only their ratios enter.
constexpr long double kMassEarth = 597.6L;
constexpr long double kMassMoon = 7.35L;
constexpr long double kMassSun = 198900000.0L;
constexpr long double kLoveH2 = 0.609L;
constexpr long double kShidaL2 = 0.0852L;

// Adds the displacement caused by one body of the given mass (units above)
// at distance rBody, scal being the scalar product of station and body.
void AddBodyTide(const long double* pos, long double r, const long double* body, long double rBody,
                 long double scal, long double mass, long double* disp)
{
    const long double cosine = scal / r / rBody;
    // The station's own distance r stands where an Earth radius would: kept as
    // in the original model.
    const long double factor = mass / kMassEarth * (r * r * r * r) / (rBody * rBody * rBody);
    const long double radial = 3.0L * (kLoveH2 / 2.0L - kShidaL2) * cosine * cosine - kLoveH2 / 2.0L;
    for (int i = 0; i < 3; ++i)
        disp[i] += factor * (3.0L * kShidaL2 * cosine * body[i] / rBody + pos[i] * radial / r);
}

}  // namespace

int CGNSSErrorCorrection::GetSolidTide(tagCOMMONTIME2 t, tagCRDCARTESIAN pos, long double* disp)
{
    long double sun[3], moon[3];
    SUN(t.year, t.month, t.day, t.hour, sun);
    Moon(t.year, t.month, t.day, t.hour, moon);
    long double station[3] = {pos.x, pos.y, pos.z};
    return TIDE(station, sun, moon, disp);
}

int CGNSSErrorCorrection::TIDE(long double* pos, long double* sun, long double* moon, long double* disp)
{
    long double scalSun, scalMoon, r, rSun, rMoon;
    SPROD(pos, sun, &scalSun, &r, &rSun);
    SPROD(pos, moon, &scalMoon, &r, &rMoon);
    disp[0] = disp[1] = disp[2] = 0.0L;
    AddBodyTide(pos, r, sun, rSun, scalSun, kMassSun, disp);
    AddBodyTide(pos, r, moon, rMoon, scalMoon, kMassMoon, disp);
    return 1;
}

int CGNSSErrorCorrection::SPROD(long double* x, long double* y, long double* scal, long double* r1, long double* r2)
{
    *r1 = std::sqrt(x[0] * x[0] + x[1] * x[1] + x[2] * x[2]);
    *r2 = std::sqrt(y[0] * y[0] + y[1] * y[1] + y[2] * y[2]);
    *scal = x[0] * y[0] + x[1] * y[1] + x[2] * y[2];
    return 1;
}
