#include "engine/BDSMultipath.h"

#include "engine/EpochLookup.h"

const double IGSOCOEF[3][10] = {
    {-0.55, -0.40, -0.34, -0.23, -0.15, -0.04, 0.09, 0.19, 0.27, 0.35},
    {-0.71, -0.36, -0.33, -0.19, -0.14, -0.03, 0.08, 0.17, 0.24, 0.33},
    {-0.27, -0.23, -0.21, -0.15, -0.11, -0.04, 0.05, 0.14, 0.19, 0.32},
};

const double MEOCOEF[3][10] = {
    {-0.47, -0.38, -0.32, -0.23, -0.11, 0.06, 0.34, 0.69, 0.97, 1.05},
    {-0.40, -0.31, -0.26, -0.18, -0.06, 0.09, 0.28, 0.48, 0.64, 0.69},
    {-0.22, -0.15, -0.13, -0.10, -0.04, 0.05, 0.14, 0.27, 0.36, 0.47},
};

namespace {

bool IsInclinedOrbit(int prn)
{
    return (prn >= 6 && prn <= 10) || prn == 13 || prn == 15;
}

// Linear interpolation between the 10-degree nodes; 90 degrees and above use the last node.
double Interpolate(const double* nodes, double elevDeg)
{
    const double x = elevDeg / 10.0;
    if (x >= 9.0)
        return nodes[9];
    const int k = static_cast<int>(x);
    return nodes[k] * (1.0 - (x - k)) + nodes[k + 1] * (x - k);
}

}  // namespace

int BDSmultipathCorr(tagGPSOBSONEEPO* epo)
{
    if (!epo)
        return 0;
    const int n = EpochSatCount(epo);
    for (int i = 0; i < n; ++i) {
        tagOBSONESAT& sat = epo->sat[i];
        if (sat.cSys != 'C' || sat.prn <= 5)
            continue;   // the geostationary satellites are not corrected
        const double elevDeg = sat.dElev * 180.0 / 3.141592653589793;
        if (!(elevDeg >= 1.0))
            continue;   // low or unknown (NaN) elevation
        const double(*table)[10] = IsInclinedOrbit(sat.prn) ? IGSOCOEF : MEOCOEF;
        sat.dP1 += Interpolate(table[0], elevDeg);
        sat.dP2 += Interpolate(table[1], elevDeg);
        // The third frequency's correction (table row 3) has no observation to go to.
    }
    return 1;
}
