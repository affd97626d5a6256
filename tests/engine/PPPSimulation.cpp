#include "PPPSimulation.h"

#include <cmath>
#include <cstring>

#include "common/GNSSConst.h"
#include "common/GNSSTimeConvert.h"
#include "common/gnsscmn.h"
#include "models/GNSSErrorCorrection.h"

namespace pppsim {

namespace {

constexpr double kDeg = _PI / 180.0;

struct Shell {
    char sys;
    int planes, perPlane;
    double radius, inclinationDeg, nodeStepDeg, nodeOffsetDeg, phasingDeg;
};

// Sparse Walker-like shells: about ten satellites in view at mid latitudes.
constexpr Shell kShells[] = {
    {'G', 6, 3, 26559700.0, 55.0, 60.0, 10.0, 40.0},
    {'E', 3, 4, 29599800.0, 56.0, 120.0, 40.0, 30.0},
};

// Earth-fixed from inertial: a rotation by the Earth rotation angle about z.
void ToEarthFixed(const double in[3], double angle, double out[3])
{
    const double c = std::cos(angle), s = std::sin(angle);
    out[0] = c * in[0] + s * in[1];
    out[1] = -s * in[0] + c * in[1];
    out[2] = in[2];
}

double Distance(const double a[3], const double b[3])
{
    const double d[3] = {a[0] - b[0], a[1] - b[1], a[2] - b[2]};
    return std::sqrt(d[0] * d[0] + d[1] * d[1] + d[2] * d[2]);
}

void Frequencies(char sys, double* f1, double* f2)
{
    *f1 = sys == 'G' ? _GPS_F1 : _GAL_F1;
    *f2 = sys == 'G' ? _GPS_F2 : _GAL_F5;
}

}  // namespace

Simulator::Simulator(const SimSetup& setup) : m_setup(setup), m_state(setup.seed ? setup.seed : 1)
{
    for (const Shell& shell : kShells) {
        int prn = 1;
        for (int p = 0; p < shell.planes; ++p)
            for (int j = 0; j < shell.perPlane; ++j) {
                Satellite s{};
                s.sys = shell.sys;
                s.prn = prn++;
                s.radius = shell.radius;
                s.inclination = shell.inclinationDeg * kDeg;
                s.node = (shell.nodeStepDeg * p + shell.nodeOffsetDeg) * kDeg;
                s.argument0 = (360.0 / shell.perPlane * j + shell.phasingDeg * p) * kDeg;
                m_sats.push_back(s);
            }
    }
    for (Satellite& s : m_sats) {
        s.clock0 = (Uniform() - 0.5) * 2e-4;
        s.clockDrift = (Uniform() - 0.5) * 2e-11;
        s.verticalIono = 1.0 + 3.0 * Uniform();
        s.n1 = std::floor((Uniform() - 0.5) * 2e5);
        s.n2 = std::floor((Uniform() - 0.5) * 2e5);
    }
    if (setup.phaseBiases)
        for (Satellite& s : m_sats) {
            s.a1 = 2.0 * Uniform() - 1.0;
            s.a2 = 2.0 * Uniform() - 1.0;
        }
}

// Receiver phase biases of the two frequencies (cycles), with phase biases on.
constexpr double kReceiverBias1 = 0.21, kReceiverBias2 = -0.37;

const Simulator::Satellite& Simulator::Find(char sys, int prn) const
{
    for (const Satellite& s : m_sats)
        if (s.sys == sys && s.prn == prn)
            return s;
    return m_sats.front();
}

void Simulator::TrueUpd(char sys, int prn, double* wl, double* nl) const
{
    const Satellite& s = Find(sys, prn);
    double f1, f2;
    Frequencies(sys, &f1, &f2);
    const double wide = s.a1 - s.a2;
    const double wrapped = wide - std::floor(wide + 0.5);
    const double narrow = (f1 * s.a1 - f2 * s.a2) / (f1 - f2) - f2 / (f1 - f2) * (wide - wrapped);
    *wl = wrapped;
    *nl = narrow - std::floor(narrow + 0.5);
}

double Simulator::IonoFreeAmbiguity(char sys, int prn) const
{
    const Satellite& s = Find(sys, prn);
    double f1, f2;
    Frequencies(sys, &f1, &f2);
    const double b1 = m_setup.phaseBiases ? kReceiverBias1 : 0.0, b2 = m_setup.phaseBiases ? kReceiverBias2 : 0.0;
    return _LIGHT_SPEED * (f1 * (s.n1 - s.a1 + b1) - f2 * (s.n2 - s.a2 + b2)) / (f1 * f1 - f2 * f2);
}

double Simulator::ReceiverClock(char sys, double sow)
{
    // A drifting clock, and a Galileo inter-system bias of 7.5 m.
    return 1.0e-4 + 2.0e-9 * (sow - kStartSow) + (sys == 'E' ? 2.5e-8 : 0.0);
}

void Simulator::SlipL1(char sys, int prn, int cycles)
{
    for (Satellite& s : m_sats)
        if (s.sys == sys && s.prn == prn)
            s.n1 += cycles;
}

void Simulator::Inertial(const Satellite& s, double t, double out[3]) const
{
    const double u = s.argument0 + std::sqrt(_GM / (s.radius * s.radius * s.radius)) * t;
    const double cu = std::cos(u), su = std::sin(u), cn = std::cos(s.node), sn = std::sin(s.node);
    const double ci = std::cos(s.inclination), si = std::sin(s.inclination);
    out[0] = s.radius * (cn * cu - sn * su * ci);
    out[1] = s.radius * (sn * cu + cn * su * ci);
    out[2] = s.radius * su * si;
}

double Simulator::Uniform()
{
    // xorshift64*: the same sequence on every platform.
    m_state ^= m_state >> 12;
    m_state ^= m_state << 25;
    m_state ^= m_state >> 27;
    return ((m_state * 2685821657736338717ULL) >> 11) * (1.0 / 9007199254740992.0);
}

double Simulator::Gaussian()
{
    // Box-Muller; the second number of each pair is not used.
    const double u1 = Uniform() + 1e-300, u2 = Uniform();
    return std::sqrt(-2.0 * std::log(u1)) * std::cos(2.0 * _PI * u2);
}

void Simulator::Observe(double sow, tagGPSOBSONEEPO* epo, tagGMSP3REC* orb)
{
    std::memset(epo, 0, sizeof(*epo));
    std::memset(orb, 0, sizeof(*orb));
    epo->tGpsTime = tagGPSTIME2{kWeek, sow};
    CGNSSTimeConvert times;
    times.GPSTime2ToCommonTime(&epo->tGpsTime, &epo->tTime);
    const int doy = times.GetDOY2FormYMD(epo->tTime.year, epo->tTime.month, epo->tTime.day);

    CGNSSCoordConvert coords;
    CGNSSErrorCorrection models;
    tagCRDCARTESIAN site = m_setup.site;
    tagCRDGEODETIC blh;
    coords.CartesianToGeodetic(&site, &blh, _WGS84_ELLIPSE_A, _WGS84_ELLIPSE_FLAT);
    const double h = blh.height;
    tagMETEODATA meteo{1013.25 * std::pow(1.0 - 2.26e-5 * h, 5.225), 18.0 - 0.0065 * h,
                       50.0 * std::exp(-0.0006396 * h)};
    double zenithTotal, zhd, zwdModel;
    models.GetTropDelay(1, &blh, 0.0, &meteo, &zenithTotal, &zhd, &zwdModel);

    const double t = sow - kStartSow;
    const double rotation = _EARTH_ROTATE * t;
    const double siteFixed[3] = {site.x, site.y, site.z};
    double siteInertial[3];
    ToEarthFixed(siteFixed, -rotation, siteInertial);
    for (const Satellite& s : m_sats) {
        // Light time in the inertial frame of the reception time.
        double tau = 0.07, satInertial[3];
        for (int k = 0; k < 4; ++k) {
            Inertial(s, t - tau, satInertial);
            tau = Distance(satInertial, siteInertial) / _LIGHT_SPEED;
        }
        const double geometric = tau * _LIGHT_SPEED;
        double satFixed[3];
        ToEarthFixed(satInertial, _EARTH_ROTATE * (t - tau), satFixed);

        tagCRDCARTESIAN satPos{satFixed[0], satFixed[1], satFixed[2]};
        tagCRDTOPOCENTRIC neu;
        coords.CartesianToTopocentric(&satPos, &neu, &site, _WGS84_ELLIPSE_A, _WGS84_ELLIPSE_FLAT);
        tagCRDTOPOCENTRICPOLAR polar;
        coords.TopocentricToTopocentricPolar(&neu, &polar);
        if (polar.elevation < m_setup.minElevDeg * kDeg)
            continue;

        const int iprn = prn2iprn(s.prn, s.sys);
        tagSP3ONESAT& o = orb->sat[iprn - 1];
        const double satClock = s.clock0 + s.clockDrift * (t - tau);
        for (int k = 0; k < 3; ++k)
            o.dPos[k] = satFixed[k];
        double later[3], laterFixed[3];
        Inertial(s, t - tau + 1.0, later);
        ToEarthFixed(later, _EARTH_ROTATE * (t - tau + 1.0), laterFixed);
        for (int k = 0; k < 3; ++k)
            o.dVel[k] = laterFixed[k] - satFixed[k];
        o.dClk = satClock;
        o.dClkDrift = s.clockDrift;
        o.bValid = 1;

        double mh, mw;
        models.GetGMF(doy, polar.elevation, blh, &mh, &mw);
        const double slantTrop = zhd * mh + m_setup.zwd * mw;
        const double layer = 6371000.0 / 6821000.0 * std::cos(polar.elevation);
        const double iono1 = s.verticalIono / std::sqrt(1.0 - layer * layer);
        const double clocks = _LIGHT_SPEED * (ReceiverClock(s.sys, sow) - satClock);
        const double common = geometric + clocks + slantTrop;

        tagOBSONESAT& obs = epo->sat[epo->nSatNum++];
        obs.cSys = s.sys;
        obs.prn = s.prn;
        obs.iprn = iprn;
        obs.bUsed = 1;
        obs.dSatWeight = 1.0;
        Frequencies(s.sys, &obs.dF1, &obs.dF2);
        const double gamma = (obs.dF1 / obs.dF2) * (obs.dF1 / obs.dF2);
        const double lambda1 = _LIGHT_SPEED / obs.dF1, lambda2 = _LIGHT_SPEED / obs.dF2;
        obs.dP1 = common + iono1 + m_setup.codeSigma * Gaussian();
        obs.dP2 = common + gamma * iono1 + m_setup.codeSigma * Gaussian();
        const double b1 = m_setup.phaseBiases ? kReceiverBias1 : 0.0, b2 = m_setup.phaseBiases ? kReceiverBias2 : 0.0;
        obs.dL1 = (common - iono1 + m_setup.phaseSigma * Gaussian()) / lambda1 + s.n1 - s.a1 + b1;
        obs.dL2 = (common - gamma * iono1 + m_setup.phaseSigma * Gaussian()) / lambda2 + s.n2 - s.a2 + b2;

        const int system = s.sys == 'G' ? 0 : 2;
        ++epo->epoHead.nSysSat[system];
        ++epo->epoHead.nUsedSys[system];
        ++epo->epoHead.nUsedSat;
    }
}

}  // namespace pppsim
