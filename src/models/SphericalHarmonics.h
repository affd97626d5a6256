// Degree-9 spherical-harmonic expansion with an annual term, shared by the
// global troposphere models (mapping function coefficients, pressure,
// temperature, undulation).
#ifndef PPPLIB_MODELS_SPHERICALHARMONICS_H
#define PPPLIB_MODELS_SPHERICALHARMONICS_H

#include "common/GNSSConst.h"
#include "models/TropTables.h"

// The terms P(n,m)(sin lat) cos(m lon) and P(n,m)(sin lat) sin(m lon) of one
// site, indexed like the coefficient tables.
struct SphericalHarmonicTerms {
    double cosTerm[trop_tables::kHarmonicTerms];
    double sinTerm[trop_tables::kHarmonicTerms];
};

// Unnormalised associated Legendre functions without the (-1)^m phase.
void EvaluateSphericalHarmonics(double lat, double lon, SphericalHarmonicTerms* terms);

// Sum of a[k] * cosTerm[k] + b[k] * sinTerm[k] over all terms.
double SumSphericalHarmonics(const double* a, const double* b, const SphericalHarmonicTerms& terms);

// Day count of the annual term from a modified Julian date: days since
// 28 January 1980 (MJD 44239 is 1 January 1980, day 1).
inline double SeasonDayFromMjd(double mjd)
{
    return mjd - 44239.0 + 1.0 - 28.0;
}

// Phase 2 pi d / 365.25 of the annual term for the day count d.
inline double SeasonAngle(double dayCount)
{
    return 2.0 * _PI * dayCount / 365.25;
}

#endif
