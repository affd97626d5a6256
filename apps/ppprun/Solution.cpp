#include "Solution.h"

#include <cmath>

namespace ppprun {

namespace {

Quality QualityOf(int code, const tagSPPONERESULT& record)
{
    if (code == kResultSpp)
        return Quality::kSingle;
    if (code == kResultFixed || record.dRatio > 0.0)
        return Quality::kFixed;
    // PPP-RTK solves from code corrected by a reference station.
    return code >= kResultPppRtk ? Quality::kDifferential : Quality::kFloat;
}

}  // namespace

bool TakeSolution(int code, const tagSPPONERESULT& record, const t_ppplib& library, EpochSolution& out)
{
    if (code < kResultSpp)
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
    out.ztd = code >= kResultFloat ? record.dZTD : 0.0;

    for (int i = 0; i < 3; ++i)
        for (int j = 0; j < 3; ++j)
            out.cov[i][j] = i == j ? record.dStd[i] * record.dStd[i] : 0.0;
    double q[3][3];
    if (code < kResultFloat || !library.positionCofactors(q))
        return true;
    // Correlations from the cofactors, scale from the record's deviations.
    for (int i = 0; i < 3; ++i)
        for (int j = 0; j < i; ++j) {
            const double qii = q[i][i], qjj = q[j][j];
            if (!(qii > 0.0 && qjj > 0.0))
                continue;
            const double rho = q[i][j] / std::sqrt(qii * qjj);
            out.cov[i][j] = out.cov[j][i] = rho * record.dStd[i] * record.dStd[j];
        }
    return true;
}

}  // namespace ppprun
