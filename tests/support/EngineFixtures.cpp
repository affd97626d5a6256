#include "support/EngineFixtures.h"

#include <cmath>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <sstream>
#include <stdexcept>

#include "common/GNSSConst.h"

namespace enginetest {

namespace {

constexpr double kC = 299792458.0;
constexpr double kOmega = 7.2921151467e-05;
constexpr double kPi = 3.141592653589793;

// Positions (m) and clocks (s) of the three epochs of the excerpt.
struct Sp3Epochs {
    double pos[3][MAXSATNUM][3] = {};
    double clk[3][MAXSATNUM] = {};
    bool present[3][MAXSATNUM] = {};
};

Sp3Epochs ReadExcerpt()
{
    const std::string path = std::string(PPP_SOURCE_DIR) + "/tests/data/GRG0MGXFIN_20201770000_3EPOCHS.SP3";
    std::ifstream in(path);
    if (!in)
        throw std::runtime_error("cannot open " + path);
    Sp3Epochs e;
    int epoch = -1;
    std::string line;
    while (std::getline(in, line)) {
        if (line.rfind("* ", 0) == 0)
            ++epoch;
        if (line.size() < 60 || line[0] != 'P' || epoch < 0 || epoch > 2)
            continue;
        const int iprn = prn2iprn(std::atoi(line.substr(2, 2).c_str()), line[1]);
        if (iprn < 1 || iprn > MAXSATNUM)
            continue;
        std::istringstream fields(line.substr(4));
        double x, y, z, clkMicro;
        fields >> x >> y >> z >> clkMicro;
        e.pos[epoch][iprn - 1][0] = x * 1000.0;
        e.pos[epoch][iprn - 1][1] = y * 1000.0;
        e.pos[epoch][iprn - 1][2] = z * 1000.0;
        e.clk[epoch][iprn - 1] = clkMicro * 1e-6;
        e.present[epoch][iprn - 1] = true;
    }
    return e;
}

tagGMSP3REC MakeOrbits()
{
    const auto e = std::make_unique<Sp3Epochs>(ReadExcerpt());
    tagGMSP3REC orb;
    std::memset(&orb, 0, sizeof(orb));
    for (int s = 0; s < MAXSATNUM; ++s) {
        if (!(e->present[0][s] && e->present[1][s] && e->present[2][s]))
            continue;
        tagSP3ONESAT& o = orb.sat[s];
        for (int k = 0; k < 3; ++k) {
            o.dPos[k] = e->pos[1][s][k];
            o.dVel[k] = (e->pos[2][s][k] - e->pos[0][s][k]) / 1800.0;
        }
        o.dClk = e->clk[1][s];
        o.dClkDrift = (e->clk[2][s] - e->clk[0][s]) / 1800.0;
        o.bValid = 1;
    }
    return orb;
}

tagCRDGEODETIC Geodetic(tagCRDCARTESIAN rec)
{
    tagCRDGEODETIC blh;
    CGNSSCoordConvert().CartesianToGeodetic(&rec, &blh, _WGS84_ELLIPSE_A, _WGS84_ELLIPSE_FLAT);
    return blh;
}

// Slant troposphere of the standard atmosphere with the Saastamoinen zenith
// delays and the Niell mapping, at the receiver's true position.
double SlantTroposphere(tagCRDCARTESIAN rec, double elevRad)
{
    tagCRDGEODETIC blh = Geodetic(rec);
    const double h = blh.height;
    tagMETEODATA meteo{1013.25 * std::pow(1.0 - 2.26e-5 * h, 5.225), 18.0 - 0.0065 * h,
                       50.0 * std::exp(-0.0006396 * h)};
    CGNSSErrorCorrection model;
    double trop, zhd, zwd;
    model.GetTropDelay(1, &blh, kPi / 2.0 - elevRad, &meteo, &trop, &zhd, &zwd);
    double mapDry = 1.0 / std::sin(elevRad), mapWet = mapDry;
    const int doy = CGNSSTimeConvert().GetDOY2FormYMD(2020, 6, 25);
    model.GetNiellMapFun(doy, elevRad, blh, &mapDry, &mapWet);
    return zhd * mapDry + zwd * mapWet;
}

void Frequencies(char sys, int prn, double* f1, double* f2)
{
    switch (sys) {
    case 'G': *f1 = 1575420000.0; *f2 = 1227600000.0; break;
    case 'E': *f1 = 1575420000.0; *f2 = 1176450000.0; break;
    case 'C': *f1 = 1561098000.0; *f2 = 1207140000.0; break;
    default: {   // GLONASS: an arbitrary but fixed channel per satellite
        const int k = prn % 14 - 7;
        *f1 = 1602000000.0 + k * 562500.0;
        *f2 = 1246000000.0 + k * 437500.0;
    }
    }
}

}  // namespace

tagCOMMONTIME EpochTime()
{
    tagCOMMONTIME t{};
    t.year = 2020;
    t.month = 6;
    t.day = 25;
    t.hour = 0;
    t.minute = 15;
    t.second = 0.0;
    return t;
}

tagGPSTIME2 EpochGpsTime()
{
    return tagGPSTIME2{2111, 346500.0};
}

const tagGMSP3REC& Orbits()
{
    static const tagGMSP3REC orbits = MakeOrbits();
    return orbits;
}

double ElevationDeg(const tagGMSP3REC& orb, int iprn, const tagCRDCARTESIAN& rec)
{
    CGNSSCoordConvert cc;
    tagCRDCARTESIAN sat{orb.sat[iprn - 1].dPos[0], orb.sat[iprn - 1].dPos[1], orb.sat[iprn - 1].dPos[2]};
    tagCRDCARTESIAN ref = rec;
    tagCRDTOPOCENTRIC neu;
    cc.CartesianToTopocentric(&sat, &neu, &ref, _WGS84_ELLIPSE_A, _WGS84_ELLIPSE_FLAT);
    tagCRDTOPOCENTRICPOLAR polar;
    cc.TopocentricToTopocentricPolar(&neu, &polar);
    return polar.elevation * 180.0 / kPi;
}

tagCRDCARTESIAN PointSeenFrom(const tagCRDCARTESIAN& rec, double elevDeg, double azimuth, double range)
{
    const double e = elevDeg * kPi / 180.0;
    tagCRDTOPOCENTRIC neu{range * std::cos(e) * std::cos(azimuth), range * std::cos(e) * std::sin(azimuth),
                          range * std::sin(e)};
    tagCRDCARTESIAN ref = rec, point;
    CGNSSCoordConvert().TopocentricToCartesian(&neu, &point, &ref, _WGS84_ELLIPSE_A, _WGS84_ELLIPSE_FLAT);
    return point;
}

void BuildEpoch(const Scenario& sc, tagGPSOBSONEEPO* epo)
{
    std::memset(epo, 0, sizeof(*epo));
    epo->tTime = EpochTime();
    epo->tGpsTime = EpochGpsTime();
    const tagGMSP3REC& orb = Orbits();
    const double rec[3] = {sc.rec.x, sc.rec.y, sc.rec.z};
    for (char sys : sc.systems) {
        const int sysIndex = sys == 'G' ? 0 : sys == 'R' ? 1 : sys == 'E' ? 2 : 3;
        const int slots = sys == 'G' ? 32 : sys == 'R' ? 27 : sys == 'E' ? 30 : 35;
        for (int prn = 1; prn <= slots; ++prn) {
            const int iprn = prn2iprn(prn, sys);
            if (iprn < 1 || iprn > MAXSATNUM || !orb.sat[iprn - 1].bValid)
                continue;
            const double elev = ElevationDeg(orb, iprn, sc.rec);
            if (elev < sc.minElevDeg)
                continue;
            const tagSP3ONESAT& o = orb.sat[iprn - 1];
            const double d[3] = {o.dPos[0] - rec[0], o.dPos[1] - rec[1], o.dPos[2] - rec[2]};
            const double dist = std::sqrt(d[0] * d[0] + d[1] * d[1] + d[2] * d[2]);
            const double range = dist + kOmega * (o.dPos[0] * rec[1] - o.dPos[1] * rec[0]) / kC;
            const double code = range - kC * o.dClk + kC * sc.recClk[sysIndex] +
                                SlantTroposphere(sc.rec, elev * kPi / 180.0);

            tagOBSONESAT& s = epo->sat[epo->nSatNum++];
            s.cSys = sys;
            s.prn = prn;
            s.iprn = iprn;
            s.bUsed = 1;
            s.dSatWeight = 1.0;
            Frequencies(sys, prn, &s.dF1, &s.dF2);
            const double gamma = (s.dF1 / s.dF2) * (s.dF1 / s.dF2);
            s.dP1 = code + sc.ionoL1;
            s.dP2 = code + sc.ionoL1 * gamma;
            // Static receiver: the range rate is the satellite's motion along the line of sight.
            double rangeRate = kC * (sc.recDrift - o.dClkDrift);
            for (int k = 0; k < 3; ++k)
                rangeRate += d[k] / dist * o.dVel[k];
            s.dD1 = -rangeRate / 0.19029367279836487;
            ++epo->epoHead.nSysSat[sysIndex];
            ++epo->epoHead.nUsedSys[sysIndex];
            ++epo->epoHead.nUsedSat;
        }
    }
}

int FindSat(const tagGPSOBSONEEPO& epo, char sys, int prn)
{
    for (int i = 0; i < epo.nSatNum; ++i)
        if (epo.sat[i].cSys == sys && epo.sat[i].prn == prn)
            return i;
    return -1;
}

Engine::Engine(std::vector<char> systems)
{
    std::strcpy(site.name, "ESBC");
    site.crd = kEsbc;
    spp = std::make_unique<CGNSSSPP>(systems, &site, &conf);
}

}  // namespace enginetest
