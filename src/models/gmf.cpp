// Global Mapping Function: the member GetGMF (day of year) and the free gmf_
// (modified Julian date) differ only in their day count.
#include "models/gmf.h"

#include <cmath>

#include "models/GNSSErrorCorrection.h"
#include "models/SphericalHarmonics.h"
#include "models/TropMapping.h"

namespace {

// Mean and annual amplitude of the hydrostatic and wet a coefficients at one
// site: sums over the spherical-harmonic tables that depend on latitude and
// longitude only. A receiver maps every satellite of every epoch at the same
// site, so the sums of the last site are kept (per thread) and reused.
struct SiteCoefficients {
    double lat, lon;
    double hydroMean, hydroAmplitude, wetMean, wetAmplitude;
    bool valid;
};

const SiteCoefficients& CoefficientsAt(double lat, double lon)
{
    using namespace trop_tables;
    thread_local SiteCoefficients site{};
    if (!site.valid || site.lat != lat || site.lon != lon) {
        SphericalHarmonicTerms terms;
        EvaluateSphericalHarmonics(lat, lon, &terms);
        site.hydroMean = SumSphericalHarmonics(ah_mean, bh_mean, terms);
        site.hydroAmplitude = SumSphericalHarmonics(ah_amp, bh_amp, terms);
        site.wetMean = SumSphericalHarmonics(aw_mean, bw_mean, terms);
        site.wetAmplitude = SumSphericalHarmonics(aw_amp, bw_amp, terms);
        site.lat = lat;
        site.lon = lon;
        site.valid = true;
    }
    return site;
}

// a coefficient: mean plus annual term.
double SeasonalA(double mean, double amplitude, double season)
{
    return (mean + amplitude * season) * 1e-5;
}

void EvaluateGmf(double dayCount, double lat, double lon, double heightM, double elev, double* gmfh,
                 double* gmfw)
{
    using namespace trop_tables;
    const SiteCoefficients& site = CoefficientsAt(lat, lon);
    const double season = std::cos(SeasonAngle(dayCount));
    const double sinEl = std::sin(elev);

    const double ah = SeasonalA(site.hydroMean, site.hydroAmplitude, season);
    const double ch = HydrostaticC(dayCount, lat < 0.0, lat);
    *gmfh = MappingFraction(ah, kGmfHydroB, ch, sinEl) + HydrostaticHeightCorrection(sinEl, heightM);

    const double aw = SeasonalA(site.wetMean, site.wetAmplitude, season);
    *gmfw = MappingFraction(aw, kGmfWetB, kGmfWetC, sinEl);
}

}  // namespace

int CGNSSErrorCorrection::GetGMF(int doy, double elev, tagCRDGEODETIC pos, double* gmfh, double* gmfw)
{
    const int dayCount = doy - 28;
    EvaluateGmf(dayCount, pos.lat, pos.lon, pos.height, elev, gmfh, gmfw);
    return 1;
}

int gmf_(double* dmjd, double* dlat, double* dlon, double* dhgt, double* zd, double* gmfh, double* gmfw)
{
    EvaluateGmf(SeasonDayFromMjd(*dmjd), *dlat, *dlon, *dhgt, _PI / 2.0 - *zd, gmfh, gmfw);
    return 0;
}

int pow_ii(int* base, int* exponent)
{
    const int x = *base;
    int n = *exponent;
    if (n < 0) {
        if (x == 1)
            return 1;
        if (x == -1)
            return (n % 2 == 0) ? 1 : -1;
        return 0;
    }
    // Unsigned arithmetic: an overflowing power wraps instead of being undefined.
    unsigned result = 1;
    unsigned square = static_cast<unsigned>(x);
    for (; n > 0; n >>= 1) {
        if (n & 1)
            result *= square;
        square *= square;
    }
    return static_cast<int>(result);
}

double pow_di(double* base, int* exponent)
{
    double x = *base;
    long long n = *exponent;
    if (n < 0) {
        n = -n;
        x = 1.0 / x;
    }
    double result = 1.0;
    for (; n > 0; n >>= 1) {
        if (n & 1)
            result *= x;
        x *= x;
    }
    return result;
}

double pow_dd(double* base, double* exponent)
{
    return std::pow(*base, *exponent);
}
