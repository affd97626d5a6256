#include "io/AugmentationGenerator.h"

#include <algorithm>
#include <cmath>

#include "common/GNSSConst.h"
#include "common/GNSSCoordConvert.h"
#include "common/gnsscmn.h"
#include "engine/SatGeometry.h"
#include "io/GpsTime.h"
#include "models/GNSSErrorCorrection.h"

namespace pppio {

namespace {

// Slant troposphere as the single point positioning of the library models it.
double ModelTroposphere(tagCRDGEODETIC blh, double elevation, int doy)
{
    const double h = blh.height;
    tagMETEODATA meteo{_PS * std::pow(1.0 - 2.26e-5 * h, 5.225), _TS - 0.0065 * h, _RHS * std::exp(-0.0006396 * h)};
    CGNSSErrorCorrection models;
    double trop = 0.0, zhd = 0.0, zwd = 0.0;
    models.GetTropDelay(1, &blh, _PI / 2.0 - elevation, &meteo, &trop, &zhd, &zwd);
    double mapDry = 1.0 / std::sin(elevation), mapWet = mapDry;
    models.GetNiellMapFun(doy, elevation, blh, &mapDry, &mapWet);
    return zhd * mapDry + zwd * mapWet;
}

bool Complete(const tagOBSONESAT& s)
{
    return s.dP1 != 0.0 && s.dP2 != 0.0 && s.dL1 != 0.0 && s.dL2 != 0.0 && s.dF1 > 0.0 && s.dF2 > 0.0 &&
           s.iprn >= 1 && s.iprn <= MAXSATNUM;
}

double Median(double* values, int n)
{
    std::nth_element(values, values + n / 2, values + n);
    return values[n / 2];
}

}  // namespace

AugmentationGenerator::AugmentationGenerator(const double referenceXyz[3])
{
    for (int k = 0; k < 3; ++k)
        m_xyz[k] = referenceXyz[k];
    tagCRDCARTESIAN xyz{m_xyz[0], m_xyz[1], m_xyz[2]};
    tagCRDGEODETIC blh;
    CGNSSCoordConvert().CartesianToGeodetic(&xyz, &blh, _WGS84_ELLIPSE_A, _WGS84_ELLIPSE_FLAT);
    m_lat = blh.lat;
    m_lon = blh.lon;
    m_height = blh.height;
}

int AugmentationGenerator::generate(const tagGPSOBSONEEPO& epoch, const tagGMSP3REC& orbit, t_aug* out)
{
    const tagCRDCARTESIAN origin{m_xyz[0], m_xyz[1], m_xyz[2]};
    const tagCRDGEODETIC blh{m_lon, m_lat, m_height};
    const TopocentricFrame frame(origin, blh);
    const int doy = CGNSSTimeConvert().GetDOY2FormYMD(epoch.tTime.year, epoch.tTime.month, epoch.tTime.day);

    // Pass 1: corrections with the receiver clock still in; L1 code per system for its median.
    struct Raw {
        int entry;
        double p1, p2, l1, l2;   // m
    };
    Raw raw[MAXSATNUM];
    double codes[4][MAXSATNUM];
    int perSystem[4] = {0, 0, 0, 0};
    int n = 0;
    const int satellites = std::min(std::max(epoch.nSatNum, 0), MAXSATNUM);
    for (int i = 0; i < satellites; ++i) {
        const tagOBSONESAT& s = epoch.sat[i];
        const int sys = Complete(s) ? judge_sys(s.iprn) : -1;
        if (sys < 0 || !OrbitPresent(orbit.sat[s.iprn - 1]))
            continue;
        const tagSP3ONESAT& o = orbit.sat[s.iprn - 1];
        const double elevation = frame.Polar(o.dPos).elevation;
        if (!(elevation > 0.0))
            continue;
        double d[3];
        const double model = SagnacRange(m_xyz, o.dPos, d) - _LIGHT_SPEED * o.dClk +
                             ModelTroposphere(blh, elevation, doy);
        Raw& r = raw[n++];
        r.entry = i;
        r.p1 = s.dP1 - model;
        r.p2 = s.dP2 - model;
        r.l1 = s.dL1 * _LIGHT_SPEED / s.dF1 - model;
        r.l2 = s.dL2 * _LIGHT_SPEED / s.dF2 - model;
        codes[sys][perSystem[sys]++] = r.p1;
    }
    double clock[4] = {0.0, 0.0, 0.0, 0.0};
    for (int sys = 0; sys < 4; ++sys)
        if (perSystem[sys] > 0)
            clock[sys] = Median(codes[sys], perSystem[sys]);

    // Pass 2: clock off, whole cycles per arc off, written with the epoch's time.
    for (int k = 0; k < n; ++k) {
        const Raw& r = raw[k];
        const tagOBSONESAT& s = epoch.sat[r.entry];
        const double c = clock[judge_sys(s.iprn)];
        const double lambda1 = _LIGHT_SPEED / s.dF1, lambda2 = _LIGHT_SPEED / s.dF2;
        const double p1 = r.p1 - c, p2 = r.p2 - c, l1 = r.l1 - c, l2 = r.l2 - c;
        const double geometryFree = l1 - l2;

        Arc& arc = m_arcState[s.iprn - 1];
        const bool lossOfLock = ((s.obsHead.lli1 | s.obsHead.lli2) & 1) != 0;
        const bool newArc = !arc.active || lossOfLock || secondsBetween(epoch.tGpsTime, arc.last) > kMaxGapSeconds ||
                            secondsBetween(epoch.tGpsTime, arc.last) <= 0.0 ||
                            std::fabs(geometryFree - arc.geometryFree) > kSlipJumpMetres;
        if (newArc) {
            arc.active = true;
            arc.cycles1 = std::round((l1 - p1) / lambda1);
            arc.cycles2 = std::round((l2 - p2) / lambda2);
            ++m_arcs;
        }
        arc.last = epoch.tGpsTime;
        arc.geometryFree = geometryFree;

        t_aug& a = out[s.iprn - 1];
        a.valid = 1;
        a.week = epoch.tGpsTime.week;
        a.sow = epoch.tGpsTime.sow;
        a.corr_p1 = p1;
        a.corr_p2 = p2;
        a.corr_l1 = l1 - arc.cycles1 * lambda1;
        a.corr_l2 = l2 - arc.cycles2 * lambda2;
    }
    return n;
}

}  // namespace pppio
