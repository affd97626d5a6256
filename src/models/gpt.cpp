// Global Pressure and Temperature: the member GetGPT (plain day count) and the
// free gpt_ (modified Julian date) differ only in their day count.
#include "models/gpt.h"

#include <cmath>

#include "models/GNSSErrorCorrection.h"
#include "models/SphericalHarmonics.h"

namespace {

void EvaluateGpt(double dayCount, double lat, double lon, double heightM, double* pres, double* temp,
                 double* undu)
{
    using namespace trop_tables;
    SphericalHarmonicTerms terms;
    EvaluateSphericalHarmonics(lat, lon, &terms);
    const double season = std::cos(SeasonAngle(dayCount));

    *undu = SumSphericalHarmonics(a_geoid, b_geoid, terms);
    const double orthometricHeight = heightM - *undu;

    // Mean-sea-level values, reduced to the site's orthometric height.
    const double seaLevelPres =
        SumSphericalHarmonics(ap_mean, bp_mean, terms) + SumSphericalHarmonics(ap_amp, bp_amp, terms) * season;
    *pres = seaLevelPres * std::pow(1.0 - 2.26e-5 * orthometricHeight, 5.225);

    const double seaLevelTemp =
        SumSphericalHarmonics(at_mean, bt_mean, terms) + SumSphericalHarmonics(at_amp, bt_amp, terms) * season;
    *temp = seaLevelTemp - 0.0065 * orthometricHeight;
}

}  // namespace

// The first argument is a day count, not a modified Julian date: no 44239 offset.
int CGNSSErrorCorrection::GetGPT(double day, tagCRDGEODETIC pos, double* pres, double* temp, double* undu)
{
    EvaluateGpt(day + 1.0 - 28.0, pos.lat, pos.lon, pos.height, pres, temp, undu);
    return 1;
}

int gpt_(double* dmjd, double* dlat, double* dlon, double* dhgt, double* pres, double* temp, double* undu)
{
    EvaluateGpt(SeasonDayFromMjd(*dmjd), *dlat, *dlon, *dhgt, pres, temp, undu);
    return 0;
}
