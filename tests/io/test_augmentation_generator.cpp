#include <gtest/gtest.h>

#include <cmath>
#include <memory>
#include <vector>

#include "common/GNSSConst.h"
#include "engine/SatGeometry.h"
#include "io/AugmentationGenerator.h"

namespace {

// A reference station near Rome and four GPS satellites, all at 45 degrees
// elevation: the modelled troposphere is then the same for all and goes with
// the receiver clock, so the corrections must equal the injected biases alone.
const double kRef[3] = {4649331.6995, 1029774.1231, 4229062.7567};
constexpr double kLambda1 = _LIGHT_SPEED / _GPS_F1, kLambda2 = _LIGHT_SPEED / _GPS_F2;
constexpr double kReceiverClock = 1e-4;   // s, 30 km

struct Satellite {
    int prn;
    double azimuthDeg;
    double clock;              // s
    double p1, p2, l1, l2;     // injected biases (m)
};
// The median of the L1 code biases (upper of four) is zero.
const Satellite kSatellites[] = {
    {3, 10.0, 2e-4, -0.50, -0.20, -0.55, -0.25},
    {8, 100.0, -1e-4, 0.00, 0.30, 0.05, 0.32},
    {17, 190.0, 5e-5, 0.00, -0.10, -0.03, -0.08},
    {28, 280.0, -3e-4, 0.70, 0.90, 0.72, 0.85},
};

void SatellitePosition(double azimuthDeg, double* xyz)
{
    const double lon = std::atan2(kRef[1], kRef[0]);
    const double lat = std::atan2(kRef[2], std::hypot(kRef[0], kRef[1]) * (1.0 - 0.00669438));
    const double range = 22.0e6, el = _PI / 4.0, az = azimuthDeg * _PI / 180.0;
    const double e = range * std::cos(el) * std::sin(az), n = range * std::cos(el) * std::cos(az);
    const double u = range * std::sin(el);
    const double sb = std::sin(lat), cb = std::cos(lat), sl = std::sin(lon), cl = std::cos(lon);
    xyz[0] = kRef[0] - sl * e - sb * cl * n + cb * cl * u;
    xyz[1] = kRef[1] + cl * e - sb * sl * n + cb * sl * u;
    xyz[2] = kRef[2] + cb * n + sb * u;
}

struct Scene {
    std::unique_ptr<tagGPSOBSONEEPO> epoch{new tagGPSOBSONEEPO()};
    std::unique_ptr<tagGMSP3REC> orbit{new tagGMSP3REC()};
};

// Observations made from the geometry; extra1/extra2 (m) added to the
// phases of satellite `index`, whole cycles `cycles` to its L1.
Scene MakeEpoch(double sow, int index = -1, double extra1 = 0.0, double extra2 = 0.0, double cycles = 0.0)
{
    Scene s;
    s.epoch->tTime = {2026, 2, 6, 20, 0, sow - 504000.0};
    s.epoch->tGpsTime = {2404, sow};
    int k = 0;
    for (const Satellite& sat : kSatellites) {
        tagSP3ONESAT& o = s.orbit->sat[sat.prn - 1];
        SatellitePosition(sat.azimuthDeg, o.dPos);
        o.dClk = sat.clock;
        double d[3];
        const double model = SagnacRange(kRef, o.dPos, d) + _LIGHT_SPEED * (kReceiverClock - sat.clock);
        tagOBSONESAT& obs = s.epoch->sat[k];
        obs.cSys = 'G';
        obs.prn = sat.prn;
        obs.iprn = sat.prn;
        obs.bUsed = 1;
        obs.dF1 = _GPS_F1;
        obs.dF2 = _GPS_F2;
        const bool shifted = k == index;
        obs.dP1 = model + sat.p1;
        obs.dP2 = model + sat.p2;
        // Arbitrary whole-cycle ambiguities as a receiver has them.
        obs.dL1 = (model + sat.l1 + (shifted ? extra1 : 0.0)) / kLambda1 + 1234567.0 + (shifted ? cycles : 0.0);
        obs.dL2 = (model + sat.l2 + (shifted ? extra2 : 0.0)) / kLambda2 - 7654321.0;
        ++k;
    }
    s.epoch->nSatNum = k;
    return s;
}

TEST(AugmentationGenerator, CorrectionsOfAStationBuiltFromGeometryAreTheInjectedBiases)
{
    pppio::AugmentationGenerator generator(kRef);
    std::vector<t_aug> out(MAXSATNUM);
    const Scene first = MakeEpoch(504000.0);
    ASSERT_EQ(generator.generate(*first.epoch, *first.orbit, out.data()), 4);
    for (const Satellite& sat : kSatellites) {
        const t_aug& a = out[sat.prn - 1];
        EXPECT_EQ(a.valid, 1);
        EXPECT_EQ(a.week, 2404);
        EXPECT_DOUBLE_EQ(a.sow, 504000.0);
        EXPECT_NEAR(a.corr_p1, sat.p1, 1e-4) << sat.prn;
        EXPECT_NEAR(a.corr_p2, sat.p2, 1e-4) << sat.prn;
        // The receiver's whole cycles are gone: each phase bias lies within
        // half a cycle of its code bias.
        EXPECT_NEAR(a.corr_l1, sat.l1, 1e-4) << sat.prn;
        EXPECT_NEAR(a.corr_l2, sat.l2, 1e-4) << sat.prn;
    }
    EXPECT_EQ(generator.arcs(), 4);
    EXPECT_EQ(out[0].valid, 0);   // a satellite not seen gets nothing
}

TEST(AugmentationGenerator, WholeCyclesStayConstantOverAnArcAndAreRenewedAfterASlip)
{
    pppio::AugmentationGenerator generator(kRef);
    std::vector<t_aug> out(MAXSATNUM);
    const Scene first = MakeEpoch(504000.0);
    generator.generate(*first.epoch, *first.orbit, out.data());

    // Phase of G08 moves by 0.6 L1 cycle on both frequencies (no
    // geometry-free jump): followed, not wrapped back.
    const double drift = 0.6 * kLambda1;
    const Scene second = MakeEpoch(504001.0, 1, drift, drift);
    generator.generate(*second.epoch, *second.orbit, out.data());
    EXPECT_NEAR(out[7].corr_l1, 0.05 + drift, 1e-4);
    EXPECT_NEAR(out[7].corr_l2, 0.32 + drift, 1e-4);
    EXPECT_EQ(generator.arcs(), 4);

    // A slip of 3 cycles on L1 starts a new arc: the phase correction is
    // brought back next to the code correction.
    const Scene third = MakeEpoch(504002.0, 1, drift, drift, 3.0);
    generator.generate(*third.epoch, *third.orbit, out.data());
    EXPECT_EQ(generator.arcs(), 5);
    EXPECT_NEAR(out[7].corr_l1, 0.05 + drift - kLambda1, 1e-4);

    // A satellite missing at the reference keeps its last correction and time (it ages out).
    Scene fourth = MakeEpoch(504003.0);
    fourth.epoch->sat[3].dP2 = 0.0;   // G28 without its second code
    generator.generate(*fourth.epoch, *fourth.orbit, out.data());
    EXPECT_DOUBLE_EQ(out[27].sow, 504002.0);
    EXPECT_DOUBLE_EQ(out[2].sow, 504003.0);
}

}  // namespace
