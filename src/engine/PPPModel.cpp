// The float PPP observation model: design blocks, weights and ionosphere-free
// observed-minus-computed values of one epoch, and the prefit code screening.
#include <cmath>
#include <cstdio>

#include "common/GNSSConst.h"
#include "engine/GNSSSPP.h"
#include "engine/NormalEquations.h"
#include "math/MatrixHelpers.h"
#include "models/GNSSAtx.h"

namespace {

struct SystemConstants {
    double f1, f2, ratio;   // ratio = f2/f1 of the ionosphere-free combination
};

bool ConstantsOf(const tagOBSONESAT& s, SystemConstants* c)
{
    switch (s.cSys) {
    case 'G': *c = {_GPS_F1, _GPS_F2, _GPS_FGF}; return true;
    case 'R': *c = {s.dF1, s.dF2, _GLO_FGF}; return true;
    case 'E': *c = {_GAL_F1, _GAL_F5, _GAL_FGF}; return true;
    case 'C': *c = {_BDS_F2, _BDS_F7, _BDS_FGF}; return true;
    default: return false;
    }
}

double IonosphereFree(double x1, double x2, double ratio)
{
    const double r2 = ratio * ratio;
    return (x1 - r2 * x2) / (1.0 - r2);
}

// Whole cycles removed from the wind-up so that it follows the previous
// epoch: truncation, then one more cycle when the fraction exceeds a half.
double ContinuousWindUp(double w, double previous)
{
    const double d = w - previous;
    double n = std::trunc(d);
    const double fraction = d - n;
    if (fraction > 0.5)
        n += 1.0;
    else if (fraction < -0.5)
        n -= 1.0;
    return w - n;
}

}  // namespace

int CGNSSSPP::GenPPPKinLSM_A_B_P_L_RT(Matrix& A1, Matrix& A2, Matrix& satList, Matrix* P, Matrix& L,
                                      Matrix& byProducts, tagSPPONERESULT* apriori, tagGPSOBSONEEPO* epo,
                                      tagGMSP3REC* orb, tagGMN* /*nav*/, double* trop, tagSITE* site,
                                      tagAtmosphere* /*atm*/)
{
    if (NoEnoughUsedSats(epo))
        return 0;
    const int posMode = m_conf->pos_mode;
    const bool staticMode = posMode == 2;
    const bool positionInA1 = posMode != 2 && posMode != 1;
    const int nSys = static_cast<int>(m_sys.size());
    const int nA = (positionInA1 ? 3 : 0) + nSys;
    const int nB = m_nExtraPar + (staticMode ? 3 : 0);

    tagCRDCARTESIAN rec{apriori->dPos[0], apriori->dPos[1], apriori->dPos[2]};
    tagCRDGEODETIC blh;
    m_coordConvert.CartesianToGeodetic(&rec, &blh, _WGS84_ELLIPSE_A, _WGS84_ELLIPSE_FLAT);
    tagCOMMONTIME2 t2;
    m_timeConvert.CommonTimeToCommonTime2(&epo->tTime, &t2);
    const int doy = m_timeConvert.GetDOY2FormYMD(epo->tTime.year, epo->tTime.month, epo->tTime.day);
    long double tide[3] = {0.0L, 0.0L, 0.0L};
    if (m_set.bSolidTide)
        m_errorCorrection.GetSolidTide(t2, rec, tide);
    // The Sun of the wind-up is the same for every satellite of the epoch.
    tagCRDCARTESIAN sun{0.0, 0.0, 0.0};
    if (m_set.bWindUp) {
        long double sunPos[3];
        m_errorCorrection.SUN(t2.year, t2.month, t2.day, t2.hour, sunPos);
        sun = {static_cast<double>(sunPos[0]), static_cast<double>(sunPos[1]), static_cast<double>(sunPos[2])};
    }

    // Standard atmosphere at the station; zenith delays do not depend on the satellite.
    const double h = blh.height;
    tagMETEODATA meteo{1013.25 * std::pow(1.0 - 2.26e-5 * h, 5.225), 18.0 - 0.0065 * h,
                       50.0 * std::exp(-0.0006396 * h)};
    double slant = 0.0, zhd = 0.0, zwd = 0.0;
    m_errorCorrection.GetTropDelay(1, &blh, 0.0, &meteo, &slant, &zhd, &zwd);
    trop[0] = zhd;
    trop[1] = zwd;
    trop[2] = zhd + zwd;

    const tagCRDTOPOCENTRIC* pcoShared = site && site->hasPco ? site->pco : nullptr;
    const tagCRDTOPOCENTRIC* pcoGlonass = site && site->hasPco ? site->pcoGlo : nullptr;
    const tagCRDTOPOCENTRIC enginePco[2] = {m_errorCorrection.m_recPco1, m_errorCorrection.m_recPco2};

    const int capacity = epo->epoHead.nUsedSat > 0 ? epo->epoHead.nUsedSat : 0;
    Matrix a1(capacity, nA), a2(capacity, nB), sats(2, capacity), pl(1, capacity), pc(1, capacity),
        omc(1, 2 * capacity), extra(1, 6 * capacity);
    a1.Null();
    a2.Null();
    int m = 0;
    const int satCount = epo->nSatNum < MAXSATNUM ? epo->nSatNum : MAXSATNUM;
    for (int i = 0; i < satCount; ++i) {
        tagOBSONESAT& s = epo->sat[i];
        if (s.bUsed != 1)
            continue;
        SystemConstants k;
        if (!ConstantsOf(s, &k))
            continue;
        const int slot = s.iprn - 1;
        const bool known = slot >= 0 && slot < MAXSATNUM;
        // A satellite without orbit, or of a system without a clock column, cannot be modelled.
        if (!known || !OrbitPresent(orb->sat[slot]) || m >= capacity || systemColumn(s.cSys) < 0) {
            DropSatellite(*epo, i);
            if (NoEnoughUsedSats(epo))
                return 0;
            continue;
        }
        const tagSP3ONESAT& o = orb->sat[slot];
        const double lambda1 = _LIGHT_SPEED / k.f1, lambda2 = _LIGHT_SPEED / k.f2;
        tagCRDCARTESIAN sat{o.dPos[0], o.dPos[1], o.dPos[2]};
        double satAnt[2] = {0.0, 0.0};
        if (o.pcv && m_set.bSatAntenna) {
            double rs[3] = {sat.x, sat.y, sat.z}, rr[3] = {rec.x, rec.y, rec.z}, dant[3] = {0.0, 0.0, 0.0};
            CGNSSAtx().satantpcv(rs, rr, const_cast<t_satpcv*>(o.pcv), dant);
            satAnt[0] = dant[0];
            satAnt[1] = dant[1];
        }

        // Geometry, with the rotation of the Earth during the signal travel time.
        const double dx = sat.x - rec.x, dy = sat.y - rec.y, dz = sat.z - rec.z;
        const double rho = std::sqrt(dx * dx + dy * dy + dz * dz);
        const double range = rho - _EARTH_ROTATE * (rec.x * sat.y - rec.y * sat.x) / _LIGHT_SPEED;
        tagCRDTOPOCENTRIC neu;
        m_coordConvert.CartesianToTopocentric(&sat, &neu, &rec, _WGS84_ELLIPSE_A, _WGS84_ELLIPSE_FLAT);
        tagCRDTOPOCENTRICPOLAR polar;
        m_coordConvert.TopocentricToTopocentricPolar(&neu, &polar);
        s.dDist = polar.distance;
        s.dAzim = polar.azimuth;
        s.dElev = polar.elevation;
        const double zenith = _PI / 2.0 - polar.elevation;
        if (zenith > (90.0 - m_elevCutoff) * _PI / 180.0) {
            DropSatellite(*epo, i);
            if (NoEnoughUsedSats(epo))
                return 0;
            continue;
        }

        double mh = 0.0, mw = 0.0;
        m_errorCorrection.GetGMF(doy, polar.elevation, blh, &mh, &mw);
        if (s.iprn >= 1 && s.iprn <= MAXSATNUM) {
            trop[127 + s.iprn] = mh;
            trop[251 + s.iprn] = mw;
        }

        double windUp = 0.0;
        if (m_set.bWindUp) {
            m_errorCorrection.PhaseWindUp(windUp, rec, sat, sun);
            windUp = ContinuousWindUp(windUp, m_satVal[slot]);
            m_satVal[slot] = windUp;
        }

        const double e[3] = {-dx / range, -dy / range, -dz / range};
        const int row = m;
        if (positionInA1)
            for (int c = 0; c < 3; ++c)
                a1(row, c) = e[c];
        const int clockColumn = (positionInA1 ? 3 : 0) + systemColumn(s.cSys);
        a1(row, clockColumn) = 1.0;
        a2(row, 0) = mw;
        if (staticMode)
            for (int c = 0; c < 3; ++c)
                a2(row, 1 + c) = e[c];

        double tideRange = 0.0;
        for (int c = 0; c < 3; ++c)
            tideRange += e[c] * static_cast<double>(tide[c]);
        double pco[2] = {0.0, 0.0}, pcv[2] = {0.0, 0.0};
        if (m_set.bRecAntenna) {
            const tagCRDTOPOCENTRIC* offsets = s.cSys == 'R' ? pcoGlonass : pcoShared;
            if (!offsets)
                offsets = enginePco;
            for (int f = 0; f < 2; ++f) {
                tagCRDTOPOCENTRIC d = offsets[f];
                tagCRDCARTESIAN v;
                m_coordConvert.TopocentricToCartesian2(&d, &v, &rec, _WGS84_ELLIPSE_A, _WGS84_ELLIPSE_FLAT);
                pco[f] = v.x * e[0] + v.y * e[1] + v.z * e[2];
            }
            m_errorCorrection.GetPcvCorrection(polar.azimuth * _RAD2DEG, zenith * _RAD2DEG, pcv, s.cSys);
        }

        const int sys = judge_sys(s.cSys);
        const double clock = sys >= 0 ? apriori->dClk[sys] : 0.0;
        const double codeTerm = -range - _LIGHT_SPEED * clock + _LIGHT_SPEED * o.dClk - tideRange - zhd * mh;
        const double phaseTerm = codeTerm;
        s.dModel1 = codeTerm;
        s.dModel2 = phaseTerm;

        const double p1 = s.dP1 + codeTerm - pco[0] - pcv[0] - satAnt[0];
        const double p2 = s.dP2 + codeTerm - pco[1] - pcv[1] - satAnt[1];
        const double l1 = s.dL1 * lambda1 + phaseTerm - pco[0] - pcv[0] - satAnt[0] - windUp * lambda1;
        const double l2 = s.dL2 * lambda2 + phaseTerm - pco[1] - pcv[1] - satAnt[1] - windUp * lambda2;
        s.dOmcPIF = IonosphereFree(p1, p2, k.ratio);
        s.dOmcLIF = IonosphereFree(l1, l2, k.ratio);
        omc(0, 2 * row) = s.dOmcPIF;
        omc(0, 2 * row + 1) = s.dOmcLIF;
        extra(0, 2 * row) = (k.f1 * p1 + k.f2 * p2) / (k.f1 + k.f2);
        extra(0, 2 * row + 1) = (k.f1 * l1 - k.f2 * l2) / (k.f1 - k.f2);
        extra(0, 2 * capacity + 2 * row) = p1;
        extra(0, 2 * capacity + 2 * row + 1) = l1;
        extra(0, 4 * capacity + 2 * row) = p2;
        extra(0, 4 * capacity + 2 * row + 1) = l2;

        const double g = zenith < _PI / 3.0 ? 1.0 : 2.0 * std::cos(zenith);
        const int wc = WeightClass(s.cSys, s.prn);
        const double a = m_weight.dWeightFactor[wc], b = m_weight.dWeightSigma[wc];
        pl(0, row) = g * a * a;
        pc(0, row) = g * a * a / (b * b) * s.dSatWeight;
        sats(0, row) = s.iprn;
        sats(1, row) = polar.elevation;
        ++m;
    }
    if (m != epo->epoHead.nUsedSat)
        return 0;

    GetSubMatrix(&A1, &a1, 0, m, 0, nA);
    GetSubMatrix(&A2, &a2, 0, m, 0, nB);
    GetSubMatrix(&satList, &sats, 0, 2, 0, m);
    GetSubMatrix(&P[0], &pl, 0, 1, 0, m);
    GetSubMatrix(&P[1], &pc, 0, 1, 0, m);
    GetSubMatrix(&L, &omc, 0, 1, 0, 2 * m);
    byProducts.SetSize(1, 6 * m);
    for (int block = 0; block < 3; ++block)
        for (int j = 0; j < 2 * m; ++j)
            byProducts(0, block * 2 * m + j) = extra(0, block * 2 * capacity + j);
    return 1;
}

int CGNSSSPP::PrefitResiduals(tagGPSOBSONEEPO* epo, bool log, bool logPre, FILE* fp)
{
    const int n = epo->epoHead.nUsedSat;
    if (n <= 0)
        return -1;
    double sum = 0.0;
    for (int i = 0; i < epo->nSatNum; ++i)
        if (epo->sat[i].bUsed == 1)
            sum += epo->sat[i].dOmcPIF;
    const double mean = sum / n;
    double squares = 0.0;
    for (int i = 0; i < epo->nSatNum; ++i)
        if (epo->sat[i].bUsed == 1)
            squares += (epo->sat[i].dOmcPIF - mean) * (epo->sat[i].dOmcPIF - mean);
    const double sigma = std::sqrt(squares / n);
    int flagged = -1;
    for (int i = 0; i < epo->nSatNum; ++i) {
        const double d = std::fabs(epo->sat[i].dOmcPIF - mean);
        if (epo->sat[i].bUsed == 1 && d > 3.0 * sigma && d > 30.0)
            flagged = i;
    }
    if (flagged >= 0 && log && logPre && fp) {
        const tagCOMMONTIME& t = epo->tTime;
        const double secondsOfDay = t.hour * 3600.0 + t.minute * 60.0 + t.second;
        const int epochNumber = static_cast<int>(secondsOfDay / m_conf->interval + 1.0);
        const tagOBSONESAT& s = epo->sat[flagged];
        std::fprintf(fp, "%04d %02d %02d %02d %02d %02d %04d %6.2f %8d  %c%02d OMC ppp: %18.4f ", t.year, t.month,
                     t.day, t.hour, t.minute, static_cast<int>(t.second), epo->tGpsTime.week, epo->tGpsTime.sow,
                     epochNumber, s.cSys, s.prn, s.dOmcPIF);
        // The mean and sigma conversions of this line have no conversion
        // letter; the C library prints them as literal text.
        std::fputs("%18.4 %18.4 \r\n", fp);
        std::fflush(fp);
    }
    return flagged;
}
