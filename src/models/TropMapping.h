// Building blocks shared by the mapping functions (GMF, Niell, VMF1).
#ifndef PPPLIB_MODELS_TROPMAPPING_H
#define PPPLIB_MODELS_TROPMAPPING_H

#include <cmath>

#include "common/GNSSConst.h"
#include "models/SphericalHarmonics.h"
#include "models/TropTables.h"

// b and c of the hydrostatic and wet GMF/VMF1 fractions (c_h is seasonal).
constexpr double kGmfHydroB = 0.0029;
constexpr double kGmfWetB = 0.00146;
constexpr double kGmfWetC = 0.04391;

// Continued fraction in sin(elevation), normalised to 1 at the zenith.
inline double MappingFraction(double a, double b, double c, double sinEl)
{
    const double atZenith = 1.0 + a / (1.0 + b / (1.0 + c));
    return atZenith / (sinEl + a / (sinEl + b / (sinEl + c)));
}

// Niell's hydrostatic height correction, added to the hydrostatic factor.
inline double HydrostaticHeightCorrection(double sinEl, double heightM)
{
    const double* h = trop_tables::niell_height;
    return (1.0 / sinEl - MappingFraction(h[0], h[1], h[2], sinEl)) * heightM / 1000.0;
}

// c_h of GMF and VMF1: grows from the equator with the cosine of latitude and
// follows the season; the two coefficient sets are those of the southern
// hemisphere (phase pi) and of the northern one.
inline double HydrostaticC(double dayCount, bool southernSet, double lat)
{
    const double phase = southernSet ? _PI : 0.0;
    const double c11 = southernSet ? 0.007 : 0.005;
    const double c10 = southernSet ? 0.002 : 0.001;
    return 0.062 + ((std::cos(SeasonAngle(dayCount) + phase) + 1.0) * c11 / 2.0 + c10) * (1.0 - std::cos(lat));
}

#endif
