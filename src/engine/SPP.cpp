// Single point positioning: an approximate stage from the centre of the Earth
// without atmosphere, then a precise stage with elevation cut-off,
// troposphere, elevation-dependent weights and Doppler velocity.
#include <cmath>

#include "common/GNSSConst.h"
#include "engine/EpochLookup.h"
#include "engine/GNSSSPP.h"
#include "engine/SatGeometry.h"
#include "engine/SmallLsq.h"

namespace {

constexpr double kDiagonalLoad = 1e-15;
constexpr int kMaxIterations = 10;
constexpr double kApproConverged = 100.0;   // squared update (m^2) that ends the approximate stage
constexpr double kPreciseConverged = 1.0;   // squared update (m^2) that ends the precise stage
constexpr double kMaxHeight = 5000.0;       // m
constexpr double kMinDoppler = 0.1;         // Hz

double IonosphereFreeCode(const tagOBSONESAT& s)
{
    const double f1 = s.dF1 * s.dF1, f2 = s.dF2 * s.dF2;
    return (f1 * s.dP1 - f2 * s.dP2) / (f1 - f2);
}

// Range (with the Earth-rotation term) and the vector satellite - receiver.
struct CodeRow {
    double range;
    double d[3];
};

CodeRow Geometry(const double* rec, const tagSP3ONESAT& orbit)
{
    CodeRow g;
    g.range = SagnacRange(rec, orbit.dPos, g.d);
    return g;
}

// Code reduced by the model: code - range - c dt_receiver + c dt_satellite.
double ReducedCode(double code, const CodeRow& g, double recClk, const tagSP3ONESAT& orbit)
{
    return code - g.range - _LIGHT_SPEED * recClk + _LIGHT_SPEED * orbit.dClk;
}

// Design row: -d/range for the position, 1 for the clock of the satellite's system.
void FillRow(double* a, const CodeRow& g, int clockColumn)
{
    for (int k = 0; k < 3; ++k)
        a[k] = -g.d[k] / g.range;
    a[3 + clockColumn] = 1.0;
}

// Weight of a code observation in the precise stage: elevation factor times
// the squared ratio of the class's factor and sigma.
double PreciseWeight(const ObsWeight& w, const tagOBSONESAT& s, double zenith)
{
    const int k = WeightClass(s.cSys, s.prn);
    const double elevationFactor = zenith < _PI / 3.0 ? 1.0 : 2.0 * std::cos(zenith);
    return elevationFactor * w.dWeightFactor[k] * w.dWeightFactor[k] / (w.dWeightSigma[k] * w.dWeightSigma[k]);
}

// Doppler row of the velocity solution (unknowns vx, vy, vz, c x drift):
// the range rate -lambda D = e.(v_sat - v_rec) + c (drift_rec - drift_sat),
// with the GPS L1 wavelength for every system as in the original model.
void AddDopplerRow(SmallLsq& doppler, const tagOBSONESAT& s, const CodeRow& g, const tagSP3ONESAT& orbit)
{
    const double dist = std::sqrt(g.d[0] * g.d[0] + g.d[1] * g.d[1] + g.d[2] * g.d[2]);
    const double e[3] = {g.d[0] / dist, g.d[1] / dist, g.d[2] / dist};
    const double eVsat = e[0] * orbit.dVel[0] + e[1] * orbit.dVel[1] + e[2] * orbit.dVel[2];
    double* a = doppler.AddRow(1.0, -s.dD1 * _GPS_WL1 - eVsat + _LIGHT_SPEED * orbit.dClkDrift);
    for (int k = 0; k < 3; ++k)
        a[k] = -e[k];
    a[3] = 1.0;
}

}  // namespace

int CGNSSSPP::SppUnknownCount() const
{
    int clocks = 0;
    for (char s : {'G', 'R', 'E', 'C'})
        clocks += systemColumn(s) >= 0 ? 1 : 0;
    return 3 + clocks;
}

void CGNSSSPP::StoreGeodetic(tagSPPONERESULT* res)
{
    tagCRDCARTESIAN xyz{res->dPos[0], res->dPos[1], res->dPos[2]};
    tagCRDGEODETIC blh;
    m_coordConvert.CartesianToGeodetic(&xyz, &blh, _WGS84_ELLIPSE_A, _WGS84_ELLIPSE_FLAT);
    res->dBLH[0] = blh.lat;
    res->dBLH[1] = blh.lon;
    res->dBLH[2] = blh.height;
}

void CGNSSSPP::DropUnusableSats(tagGPSOBSONEEPO* epo, const tagGMSP3REC* orb)
{
    // Without a valid orbit, or of a system that has no clock unknown, a
    // satellite cannot be positioned with; the used counts are rebuilt from the flags.
    const int n = EpochSatCount(epo);
    epo->epoHead.nUsedSat = 0;
    for (int32_t& c : epo->epoHead.nUsedSys)
        c = 0;
    for (int i = 0; i < n; ++i) {
        tagOBSONESAT& s = epo->sat[i];
        if (s.bUsed != 1)
            continue;
        const bool known = s.iprn >= 1 && s.iprn <= MAXSATNUM && systemColumn(s.cSys) >= 0;
        if (!known || !OrbitPresent(orb->sat[s.iprn - 1])) {
            s.bUsed = 0;
            continue;
        }
        ++epo->epoHead.nUsedSat;
        ++epo->epoHead.nUsedSys[judge_sys(s.cSys)];
    }
}

bool CGNSSSPP::SppSolveAndStore(tagGPSOBSONEEPO* epo, tagSPPONERESULT* res, SmallLsq& lsq, const int* rowSat)
{
    if (!SolveSmallLsq(lsq, kDiagonalLoad))
        return false;
    for (int r = 0; r < lsq.rows; ++r) {
        const tagOBSONESAT& s = epo->sat[rowSat[r]];
        tagRESONESAT& e = res->res[r];
        e.cSys = s.cSys;
        e.prn = s.prn;
        e.iprn = s.iprn;
        e.dRes1 = 0.0;
        e.dRes2 = lsq.v[r];
        e.dElev = s.dElev;
        e.dStdRes = StandardisedResidual(lsq, r);
    }
    res->dSigma0 = lsq.sigma0;
    for (int k = 0; k < 3; ++k)
        res->dPos[k] += lsq.x[k];
    int sysIndex = 0;
    for (char sys : {'G', 'R', 'E', 'C'}) {
        const int column = systemColumn(sys);
        if (column >= 0)
            res->dClk[sysIndex] += lsq.x[3 + column] / _LIGHT_SPEED;
        ++sysIndex;
    }
    res->dDx2 = lsq.x[0] * lsq.x[0] + lsq.x[1] * lsq.x[1] + lsq.x[2] * lsq.x[2];
    for (int k = 0; k < lsq.unknowns; ++k)
        res->dStd[k] = std::sqrt(std::fabs(lsq.Q[k][k])) * lsq.sigma0;
    res->nSatNum = epo->epoHead.nUsedSat;
    for (int k = 0; k < 4; ++k)
        res->nSysSat[k] = epo->epoHead.nUsedSys[k];
    if (!UnitWeightDop(lsq, 3, kDiagonalLoad, &res->dQ0))
        res->dQ0 = _default_v;
    return true;
}

bool CGNSSSPP::SPPOneEpochOneIteraAppro(tagGPSOBSONEEPO* epo, tagGMN*, tagGMSP3REC* orb, tagSPPONERESULT* res,
                                        bool single)
{
    SmallLsq lsq(SppUnknownCount());
    int rowSat[kLsqMaxRows];
    const int n = EpochSatCount(epo);
    for (int i = 0; i < n; ++i) {
        const tagOBSONESAT& s = epo->sat[i];
        const int sys = judge_sys(s.cSys);
        const int column = systemColumn(s.cSys);
        if (s.bUsed != 1 || column < 0 || s.iprn < 1 || s.iprn > MAXSATNUM)
            continue;
        double code = IonosphereFreeCode(s);
        if (single) {
            code = s.dP1 != 0.0 ? s.dP1 : (s.dP2 != 0.0 ? s.dP2 : s.dP3);
            if (code == 0.0)
                continue;
        }
        const tagSP3ONESAT& orbit = orb->sat[s.iprn - 1];
        const CodeRow g = Geometry(res->dPos, orbit);
        const double omc = ReducedCode(code, g, res->dClk[sys], orbit);
        rowSat[lsq.rows] = i;
        FillRow(lsq.AddRow(1.0, omc), g, column);
    }
    if (CountBelowSystems(epo->epoHead.nUsedSat, 3))
        return false;
    // A used satellite without a row (no code in single mode) fails the iteration.
    if (lsq.rows != epo->epoHead.nUsedSat)
        return false;
    return SppSolveAndStore(epo, res, lsq, rowSat);
}

bool CGNSSSPP::SPPOneEpochOneIteraPrecise(tagGPSOBSONEEPO* epo, tagGMN*, tagGMSP3REC* orb, tagSPPONERESULT* res)
{
    StoreGeodetic(res);
    const tagCRDCARTESIAN rec{res->dPos[0], res->dPos[1], res->dPos[2]};
    tagCRDGEODETIC blh{res->dBLH[1], res->dBLH[0], res->dBLH[2]};
    const TopocentricFrame frame(rec, blh);
    const double h = blh.height;
    tagMETEODATA meteo{_PS * std::pow(1.0 - 2.26e-5 * h, 5.225), _TS - 0.0065 * h, _RHS * std::exp(-0.0006396 * h)};
    const int doy = m_timeConvert.GetDOY2FormYMD(epo->tTime.year, epo->tTime.month, epo->tTime.day);
    const double maxZenith = (90.0 - m_elevCutoff) * _PI / 180.0;

    SmallLsq lsq(SppUnknownCount());
    SmallLsq doppler(4);
    int rowSat[kLsqMaxRows];
    const int n = EpochSatCount(epo);
    for (int i = 0; i < n; ++i) {
        tagOBSONESAT& s = epo->sat[i];
        const int sys = judge_sys(s.cSys);
        const int column = systemColumn(s.cSys);
        if (s.bUsed != 1 || column < 0 || s.iprn < 1 || s.iprn > MAXSATNUM)
            continue;
        const tagSP3ONESAT& orbit = orb->sat[s.iprn - 1];

        const tagCRDTOPOCENTRICPOLAR polar = frame.Polar(orbit.dPos);
        s.dDist = polar.distance;
        s.dAzim = polar.azimuth;
        s.dElev = polar.elevation;
        const double zenith = _PI / 2.0 - s.dElev;
        if (zenith > maxZenith) {
            DropSatellite(*epo, i);
            if (CountBelowSystems(epo->epoHead.nUsedSat, 3))
                return false;
            continue;
        }

        double code = IonosphereFreeCode(s);
        if (m_singleFreq) {
            // Unlike the approximate stage the third code is never tried here:
            // kept as in the original model.
            code = s.dP1 != 0.0 ? s.dP1 : s.dP2;
            if (code == 0.0)
                continue;
        }

        double trop = 0.0, zhd = 0.0, zwd = 0.0;
        m_errorCorrection.GetTropDelay(1, &blh, zenith, &meteo, &trop, &zhd, &zwd);
        // The Niell functions leave polar sites (latitude 75 degrees and more)
        // without a value: a plain 1/sin(elevation) stands in there.
        double mapDry = 1.0 / std::sin(s.dElev), mapWet = mapDry;
        m_errorCorrection.GetNiellMapFun(doy, s.dElev, blh, &mapDry, &mapWet);

        const CodeRow g = Geometry(res->dPos, orbit);
        const double omc = ReducedCode(code, g, res->dClk[sys], orbit) - (zhd * mapDry + zwd * mapWet);
        rowSat[lsq.rows] = i;
        FillRow(lsq.AddRow(PreciseWeight(m_weight, s, zenith), omc), g, column);

        if (std::fabs(s.dD1) >= kMinDoppler)
            AddDopplerRow(doppler, s, g, orbit);
    }
    if (CountBelowSystems(epo->epoHead.nUsedSat, 3) || lsq.rows != epo->epoHead.nUsedSat)
        return false;
    if (!SppSolveAndStore(epo, res, lsq, rowSat))
        return false;
    SppSolveVelocity(doppler, res);
    StoreGeodetic(res);
    return true;
}

void CGNSSSPP::SppSolveVelocity(SmallLsq& doppler, tagSPPONERESULT* res)
{
    // Unknowns vx, vy, vz and c x clock drift; too few Doppler rows leave them zero.
    if (doppler.rows < doppler.unknowns || !SolveSmallLsq(doppler, 0.0)) {
        res->dVel[0] = res->dVel[1] = res->dVel[2] = 0.0;
        res->dClkDrift = 0.0;
        return;
    }
    for (int k = 0; k < 3; ++k)
        res->dVel[k] = doppler.x[k];
    res->dClkDrift = doppler.x[3] / _LIGHT_SPEED;
}

int CGNSSSPP::SPPOneEpoch(tagGPSOBSONEEPO* epo, tagGMN* nav, tagGMSP3REC* orb, tagSPPONERESULT** res, bool logOn,
                          bool logEpo, FILE* log, tagCRDCARTESIAN* outl)
{
    if (!epo || !orb || !res || !*res)
        return 0;
    if (NoEnoughHealthySats(epo))
        return 0;
    tagSPPONERESULT* r = *res;
    r->tTime = epo->tTime;
    r->tGpsTime = epo->tGpsTime;
    r->nSatNum = epo->nSatNum;
    // Every epoch starts from the centre of the Earth with zero clocks, so a
    // failed previous epoch cannot leak into this one.
    for (int k = 0; k < 3; ++k)
        r->dPos[k] = r->dVel[k] = 0.0;
    for (double& clk : r->dClk)
        clk = 0.0;
    r->dClkDrift = 0.0;
    DropUnusableSats(epo, orb);

    int iterations = 0;
    do {
        if (iterations == kMaxIterations)
            return 0;
        if (!SPPOneEpochOneIteraAppro(epo, nav, orb, r, false))
            return 0;
        ++iterations;
    } while (!(r->dDx2 < kApproConverged));
    if (outl) {
        while (SPPOutlierDetection(epo, r, 1, logOn, logEpo, log))
            if (!SPPOneEpochOneIteraAppro(epo, nav, orb, r, false))
                return 0;
    }

    StoreGeodetic(r);
    if (r->dBLH[2] > kMaxHeight)
        return 0;

    // The iteration count continues from the approximate stage.
    do {
        if (!SPPOneEpochOneIteraPrecise(epo, nav, orb, r))
            return 0;
        if (outl) {
            while (SPPOutlierDetection(epo, r, 2, logOn, logEpo, log))
                if (!SPPOneEpochOneIteraPrecise(epo, nav, orb, r))
                    return 0;
        }
        if (++iterations > kMaxIterations)
            return 0;
    } while (r->dDx2 > kPreciseConverged);
    return 1;
}
