// Cycle-slip detection with the Melbourne-Wuebbena and geometry-free tests,
// and the running mean of the Melbourne-Wuebbena combination of each arc.
#include <cmath>
#include <cstring>

#include "common/GNSSConst.h"
#include "engine/EpochLookup.h"
#include "engine/GNSSSPP.h"
#include "engine/SatGeometry.h"

namespace {

constexpr double threshold_GF_meter = 0.1;
constexpr double kLowElevation = 7.0;   // degrees
constexpr double kGFElevationBand = 20.0;   // degrees

// Base threshold of the geometry-free test (m): looser after longer gaps.
double GFBaseThreshold(double gap)
{
    if (gap <= 1.0)
        return threshold_GF_meter;   // also the first epoch (gap -999.0)
    if (gap <= 20.0)
        return threshold_GF_meter + 0.01 * gap;
    if (gap <= 60.0)
        return 0.3;
    if (gap <= 100.0)
        return 0.5;
    return 0.7;
}

void WriteSlipLine(FILE* log, const tagGPSOBSONEEPO& epo, const tagOBSONESAT& sat, bool mwTest, double now,
                   double old, double diff, double thres, double elev)
{
    const tagCOMMONTIME& t = epo.tTime;
    fprintf(log,
            mwTest ? "%04d-%02d-%02d %02d:%02d:%02d %04d %6.0f   %c%02d    MW(m)  new=%11.3Lf, old=%11.3Lf, "
                     "diff=%11.3f, thres=%11.3f, elev=%3.1f\r\n"
                   : "%04d-%02d-%02d %02d:%02d:%02d %04d %6.0f   %c%02d    GF(c)  new=%11.3Lf, old=%11.3Lf, "
                     "diff=%11.3f, thres=%11.3f, elev=%3.1f\r\n",
            t.year, t.month, t.day, t.hour, t.minute, static_cast<int>(t.second), epo.tGpsTime.week,
            epo.tGpsTime.sow, sat.cSys, sat.prn, static_cast<long double>(now), static_cast<long double>(old), diff,
            thres, elev);
    fflush(log);
}

void StartArc(tagOBSONESAT& sat, int state)
{
    sat.nSmoothState = state;
    sat.nSmoothCount = 1;
}

}  // namespace

int CGNSSSPP::slip_detect(tagGPSOBSSMOOTH* pair, tagGMSP3REC* orbits, tagCRDCARTESIAN rec, bool logOn, bool logEpo,
                          FILE* log)
{
    if (!pair || !orbits)
        return 0;
    const bool writeLog = logOn && logEpo && log;
    const double base = GFBaseThreshold(m_timeGap);

    tagCRDGEODETIC blh;
    m_coordConvert.CartesianToGeodetic(&rec, &blh, _WGS84_ELLIPSE_A, _WGS84_ELLIPSE_FLAT);
    const TopocentricFrame frame(rec, blh);

    if (m_slipSats.capacity() < MAXSATNUM)
        m_slipSats.reserve(MAXSATNUM);
    m_slipSats.clear();

    // Once a satellite below 7 degrees has been met, every later satellite of
    // this call uses the floor value: kept as in the original detector.
    double elevFloor = 0.0;
    tagGPSOBSONEEPO& cur = pair->cur;
    const int n = EpochSatCount(&cur);
    for (int i = 0; i < n; ++i) {
        tagOBSONESAT& sat = cur.sat[i];
        if (sat.iprn < 1 || sat.iprn > MAXSATNUM)
            continue;
        const int slot = sat.iprn - 1;
        const double lambda1 = _LIGHT_SPEED / m_f1[slot];
        const double lambdaWL = _LIGHT_SPEED / (m_f1[slot] - m_f2[slot]);

        const double elev = frame.Polar(orbits->sat[slot].dPos).elevation * 57.29577951308232;
        if (elev < kLowElevation)
            elevFloor = kLowElevation;
        const double gfMeters = elev < kGFElevationBand ? 3.0 * base - 0.1 * base * elevFloor : base;
        const double gfCycles = gfMeters / lambda1;

        const int k = GetSatIndexInEpo(&pair->prev, tagGNSSPRN{sat.cSys, sat.prn, sat.iprn});
        if (k < 0) {
            StartArc(sat, 1);
            continue;
        }
        const tagOBSONESAT& prev = pair->prev.sat[k];

        const double mwDiff = sat.dMW - prev.dMW;   // the previous value is the arc's running mean
        const double mwLimit = _TURBEDIT * std::sqrt(prev.dMWVar);
        if (std::fabs(mwDiff) > mwLimit) {
            StartArc(sat, 2);
            if (writeLog)
                WriteSlipLine(log, cur, sat, true, sat.dMW, prev.dMW, mwDiff, mwLimit, elev);
        }
        const double gfDiff = sat.dLDiffCyc - prev.dLDiffCyc;
        if (std::fabs(gfDiff) > gfCycles) {
            StartArc(sat, 2);
            if (writeLog)
                WriteSlipLine(log, cur, sat, false, sat.dLDiffCyc, prev.dLDiffCyc, gfDiff, gfCycles, elev);
        }

        if (sat.nSmoothState == 1 || sat.nSmoothState == 2)
            m_slipSats.push_back(sat.iprn);
        if (sat.nSmoothState == 2)
            continue;   // the raw value and the initial variance start the new arc

        sat.nSmoothState = 3;
        int count = prev.nSmoothCount + 1;
        if (count < 1)
            count = 1;   // a corrupt history restarts the mean
        sat.nSmoothCount = count;
        const double nArc = count;
        const double mean = sat.dMW / nArc + prev.dMW * (nArc - 1.0) / nArc;
        const double var = prev.dMWVar * (nArc - 1.0) / nArc + (sat.dMW - mean) * (sat.dMW - mean) / nArc;
        sat.dMW = mean;
        sat.dMWMeanCyc = mean / lambdaWL;
        sat.dMWVar = var;
    }

    // The epoch just processed, with its arc statistics, is the previous epoch of the next call.
    std::memcpy(m_prevEpo, &cur, sizeof(tagGPSOBSONEEPO));
    return 1;
}
