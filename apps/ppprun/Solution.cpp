#include "Solution.h"

#include <cmath>

#include "engine/ProcInfoSite.h"

namespace ppprun {

namespace {

Quality QualityOf(int code, const tagSPPONERESULT& record)
{
    if (code == 1)
        return Quality::kSingle;
    if (code == 4 || record.dRatio > 0.0)
        return Quality::kFixed;
    // PPP-RTK solves from code corrected by a reference station.
    return code >= 6 ? Quality::kDifferential : Quality::kFloat;
}

// The 3x3 position block of the filter's cofactors, or null.
const math::matrix<double>* PositionCofactors(const PROCINFOSITE& state, int posMode, unsigned& first)
{
    const math::matrix<double>* q = nullptr;
    if (posMode == 2) {
        q = &state.Qxx;   // clock-free carried parameters: troposphere, then X, Y, Z
        first = 1;
    } else if (posMode >= 3) {
        q = &state.Q11;   // epoch parameters: X, Y, Z, then the clocks
        first = 0;
    }
    if (!q || q->RowNo() < first + 3 || q->ColNo() < first + 3)
        return nullptr;
    return q;
}

}  // namespace

bool TakeSolution(int code, const tagSPPONERESULT& record, const t_Process& process, int posMode, EpochSolution& out)
{
    if (code < 1)
        return false;
    out.time = record.tTime;
    out.gpsTime = record.tGpsTime;
    for (int i = 0; i < 3; ++i)
        out.xyz[i] = record.dPos[i];
    out.quality = QualityOf(code, record);
    out.satellites = record.nSatNum;
    for (int s = 0; s < 4; ++s)
        out.systemSatellites[s] = record.nSysSat[s];
    out.ratio = record.dRatio;
    out.ztd = code >= 2 ? record.dZTD : 0.0;

    for (int i = 0; i < 3; ++i)
        for (int j = 0; j < 3; ++j)
            out.cov[i][j] = i == j ? record.dStd[i] * record.dStd[i] : 0.0;
    unsigned first = 0;
    const math::matrix<double>* q =
        code >= 2 && process.site_state ? PositionCofactors(*process.site_state, posMode, first) : nullptr;
    if (!q)
        return true;
    // Correlations from the cofactors, scale from the record's deviations.
    for (int i = 0; i < 3; ++i)
        for (int j = 0; j < i; ++j) {
            const double qii = (*q)(first + i, first + i), qjj = (*q)(first + j, first + j);
            if (!(qii > 0.0 && qjj > 0.0))
                continue;
            const double rho = (*q)(first + i, first + j) / std::sqrt(qii * qjj);
            out.cov[i][j] = out.cov[j][i] = rho * record.dStd[i] * record.dStd[j];
        }
    return true;
}

}  // namespace ppprun
