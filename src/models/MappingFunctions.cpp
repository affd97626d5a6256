// Niell and VMF1 mapping functions (GMF is in gmf.cpp next to gmf_).
#include <cmath>

#include "models/GNSSErrorCorrection.h"
#include "models/TropMapping.h"

namespace {

double Interpolate(double lower, double upper, double weight)
{
    return lower + (upper - lower) * weight;
}

}  // namespace

// The seasonal amplitude is added and there is no half-year shift for the
// southern hemisphere; from 75 degrees of latitude on nothing is written.
// Both kept as in the original routine.
int CGNSSErrorCorrection::GetNiellMapFun(int doy, double elev, tagCRDGEODETIC pos, double* nmfh, double* nmfw)
{
    using trop_tables::NiellRow;
    using trop_tables::niell_rows;
    const double latDeg = std::fabs(pos.lat) * _RAD2DEG;
    const double k = latDeg / 15.0;
    if (!(k < 5.0))
        return 1;

    // Below 15 degrees the 15 degree row alone, else between the neighbouring rows.
    int lowerRow = 0;
    double weight = 0.0;
    if (k > 1.0) {
        lowerRow = static_cast<int>(k) - 1;
        weight = (latDeg - niell_rows[lowerRow].latitudeDeg) / 15.0;
    }
    const NiellRow& lower = niell_rows[lowerRow];
    const NiellRow& upper = niell_rows[lowerRow + 1];

    const double season = std::cos(SeasonAngle(doy - 28));
    double hydro[3];
    double wet[3];
    for (int j = 0; j < 3; ++j) {
        hydro[j] = Interpolate(lower.hydroAverage[j], upper.hydroAverage[j], weight) +
                   Interpolate(lower.hydroAmplitude[j], upper.hydroAmplitude[j], weight) * season;
        wet[j] = Interpolate(lower.wet[j], upper.wet[j], weight);
    }

    const double sinEl = std::sin(elev);
    *nmfh = MappingFraction(hydro[0], hydro[1], hydro[2], sinEl) + HydrostaticHeightCorrection(sinEl, pos.height);
    *nmfw = MappingFraction(wet[0], wet[1], wet[2], sinEl);
    return 1;
}

// The hemisphere test is the reverse of GMF's (a positive latitude takes the
// phase pi coefficient set) and the day is used without the 28-day shift;
// kept as in the original routine.
int CGNSSErrorCorrection::GetVMF1(double ah, double aw, int doy, double elev, tagCRDGEODETIC pos, double* vmf1h,
                                  double* vmf1w)
{
    const double sinEl = std::sin(elev);
    const double ch = HydrostaticC(doy, pos.lat > 0.0, pos.lat);
    *vmf1h = MappingFraction(ah, kGmfHydroB, ch, sinEl) + HydrostaticHeightCorrection(sinEl, pos.height);
    *vmf1w = MappingFraction(aw, kGmfWetB, kGmfWetC, sinEl);
    return 1;
}
