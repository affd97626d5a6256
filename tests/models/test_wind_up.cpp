// Phase wind-up, orbital frames and the small matrix routines.
#include <gtest/gtest.h>

#include <cmath>

#include "models/GNSSErrorCorrection.h"

namespace {

constexpr double kSunDistance = 1.496e11;
const tagCRDCARTESIAN kEsbjerg = {3582104.766, 532590.178, 5232755.139};

double Dot(const double* a, const double* b)
{
    return a[0] * b[0] + a[1] * b[1] + a[2] * b[2];
}

double Dot(const tagCRDCARTESIAN& a, const tagCRDCARTESIAN& b)
{
    return a.x * b.x + a.y * b.y + a.z * b.z;
}

// ------------------------------------------------------------- wind-up

// Receiver on the equator at longitude 0, satellite straight above it: the
// receiver dipole is (0, 0, -2). With the Sun at angle alpha in the y-z
// plane the satellite dipole is (0, 2 sin alpha, -2 cos alpha), so the
// wind-up is alpha / 2 pi (worked out by hand from the dipole formulas).
double OverheadWindUp(const tagCRDCARTESIAN& sun)
{
    CGNSSErrorCorrection model;
    const tagCRDCARTESIAN rec = {6378137.0, 0.0, 0.0};
    const tagCRDCARTESIAN sat = {26560000.0, 0.0, 0.0};
    double wu = 99.0;
    EXPECT_EQ(model.PhaseWindUp(wu, rec, sat, sun), 1);
    return wu;
}

double OverheadWindUp(double alpha)
{
    return OverheadWindUp({0.0, kSunDistance * std::cos(alpha), kSunDistance * std::sin(alpha)});
}

TEST(WindUp, OverheadSatelliteFollowsTheSunAngle)
{
    for (double degrees : {10.0, 60.0, 90.0, 135.0, -30.0, -90.0, -150.0})
        EXPECT_NEAR(OverheadWindUp(degrees * _DEG2RAD), degrees / 360.0, 1e-6) << degrees;

    // About one cycle of jump across half a cycle, both sides within +-0.5.
    const double before = OverheadWindUp(179.0 * _DEG2RAD);
    const double after = OverheadWindUp(181.0 * _DEG2RAD);
    EXPECT_LE(std::fabs(before), 0.5);
    EXPECT_LE(std::fabs(after), 0.5);
    EXPECT_NEAR(before - after, 1.0 - 2.0 / 360.0, 1e-6);

    // Sun along +y: dipoles parallel, acos gives 0. Sun along -y: opposite
    // (dot product -4), acos gives pi, but zeta is exactly 0 and so is the wind-up.
    EXPECT_EQ(OverheadWindUp(0.0), 0.0);
    EXPECT_EQ(OverheadWindUp(tagCRDCARTESIAN{0.0, -kSunDistance, 0.0}), 0.0);
}

TEST(WindUp, DipolesLieNormalToTheLineOfSight)
{
    CGNSSErrorCorrection model;
    const tagCRDCARTESIAN sat = {15600000.0, -9800000.0, 19000000.0};
    const tagCRDCARTESIAN sun = {-60000000000.0, 120000000000.0, 40000000000.0};
    double k[3], dRec[3], dSat[3];
    ASSERT_EQ(model.CalPhaseWindUpK(kEsbjerg, sat, k), 1);
    const double toReceiver[3] = {kEsbjerg.x - sat.x, kEsbjerg.y - sat.y, kEsbjerg.z - sat.z};
    EXPECT_NEAR(Dot(k, k), 1.0, 1e-15);
    EXPECT_NEAR(Dot(k, toReceiver), std::sqrt(Dot(toReceiver, toReceiver)), 1e-6);
    // Both effective dipoles lie in the plane normal to the line of sight.
    model.CalPhaseWindUpD(kEsbjerg, k, dRec);
    model.CalPhaseWindUpD1(sun, sat, k, dSat);
    EXPECT_NEAR(Dot(dRec, k), 0.0, 1e-14);
    EXPECT_NEAR(Dot(dSat, k), 0.0, 1e-14);
}

// -------------------------------------------------------- orbital frames

TEST(OrbitFrames, AxesComponentsAndRoundTrip)
{
    CGNSSErrorCorrection model;
    const tagCRDCARTESIAN pos = {15600000.0, -9800000.0, 19000000.0};
    const tagCRDCARTESIAN vel = {1800.0, 2900.0, -100.0};
    tagCRDCARTESIAN axes[3];
    ASSERT_EQ(model.ECEF2RTN(pos, vel, axes), 1);
    for (int i = 0; i < 3; ++i)
        for (int j = 0; j < 3; ++j)
            EXPECT_NEAR(Dot(axes[i], axes[j]), i == j ? 1.0 : 0.0, 1e-14) << i << j;
    const tagCRDCARTESIAN& r = axes[0];
    const tagCRDCARTESIAN& t = axes[1];
    EXPECT_NEAR(r.x * t.y - r.y * t.x, axes[2].z, 1e-14);   // R x T = N
    EXPECT_NEAR(Dot(r, pos), std::sqrt(Dot(pos, pos)), 1e-6);
    EXPECT_NEAR(Dot(axes[2], vel), 0.0, 1e-9);
    EXPECT_GT(Dot(t, vel), 0.0);

    // r along x, v in the x-y plane: R = x, T = y, N = z.
    const tagCRDCARTESIAN vector = {1.0, 2.0, 3.0};
    tagCRDCARTESIAN rtn, back;
    model.ECEF2RTN({7000000.0, 0.0, 0.0}, {100.0, 7500.0, 0.0}, vector, &rtn);
    EXPECT_NEAR(rtn.x, 1.0, 1e-12);
    EXPECT_NEAR(rtn.y, 2.0, 1e-12);
    EXPECT_NEAR(rtn.z, 3.0, 1e-12);

    ASSERT_EQ(model.ECEF2RTN(pos, vel, vector, &rtn), 1);
    ASSERT_EQ(model.RTN2ECEF(pos, vel, rtn, &back), 1);
    EXPECT_NEAR(back.x, vector.x, 1e-12);
    EXPECT_NEAR(back.y, vector.y, 1e-12);
    EXPECT_NEAR(back.z, vector.z, 1e-12);
}

}  // namespace
