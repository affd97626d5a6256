// Receiver phase-centre variations: interpolation in the azimuth / zenith
// grid of an antenna record. Nothing is written when the grid cannot answer;
// callers start from zero.
#include <cmath>

#include "models/GNSSErrorCorrection.h"

namespace {

constexpr double kMmToM = 0.001;

// Node below x (in grid steps, x >= 0) and the fraction above it. False
// beyond the last of the nodes; the last node itself is read alone.
bool GridCell(double x, int nodes, int* lower, int* upper, double* fraction)
{
    const double node = std::trunc(x);
    if (!(node <= nodes - 1))
        return false;
    *lower = static_cast<int>(node);
    *fraction = x - node;
    if (*lower == nodes - 1 && *fraction > 0.0)
        return false;
    *upper = *lower < nodes - 1 ? *lower + 1 : *lower;
    return true;
}

}  // namespace

int CGNSSErrorCorrection::GetPcvCorrection(tagPCVINFO* info, double azimuth, double zenith, double* pcv, char sys)
{
    if (!info || !pcv)
        return 0;
    const int first = sys == 'R' ? 2 : 0;
    double** const grids[2] = {info->grid[first], info->grid[first + 1]};
    if (!grids[0] || !grids[1])
        return 0;

    // Slightly below the horizon or past the zenith limit counts as the edge.
    if (zenith > -5.0 && zenith < 0.0)
        zenith = 0.0;
    else if (zenith > 90.0 && zenith < 95.0)
        zenith = 90.0;
    if (!(azimuth >= 0.0 && azimuth <= 360.0 && zenith >= 0.0 && zenith <= 90.0))
        return 0;
    if (info->nAzimuth == 2 || !(info->zenithStep > 0.0))
        return 0;

    int i0, i1;
    double fz;
    if (!GridCell(zenith / info->zenithStep, info->nZenith, &i0, &i1, &fz))
        return 0;

    if (info->nAzimuth == 1) {   // zenith-only model: its row serves every azimuth
        for (int f = 0; f < 2; ++f) {
            const double* row = grids[f][0];
            pcv[f] = ((1 - fz) * row[i0] + fz * row[i1]) * kMmToM;
        }
        return 1;
    }

    int j0 = 0, j1 = 0;
    double fa = 0.0;
    if (info->azimuthStep != 0.0 && !GridCell(azimuth / info->azimuthStep, info->nAzimuth, &j0, &j1, &fa))
        return 0;
    for (int f = 0; f < 2; ++f) {
        double** g = grids[f];
        pcv[f] = ((1 - fz) * (1 - fa) * g[j0][i0] + (1 - fa) * fz * g[j0][i1] + (1 - fz) * fa * g[j1][i0] +
                  fz * fa * g[j1][i1]) *
                 kMmToM;
    }
    return 1;
}

int CGNSSErrorCorrection::GetPcvCorrection(double azimuth, double zenith, double* pcv, char sys)
{
    return GetPcvCorrection(&m_recPcv, azimuth, zenith, pcv, sys);
}
