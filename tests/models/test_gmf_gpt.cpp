// GMF and GPT: the published test cases, member against translated routine,
// and the coefficient tables with the power helpers they use.
#include <gtest/gtest.h>

#include <cmath>

#include "common/GNSSConst.h"
#include "models/GNSSErrorCorrection.h"
#include "models/TropTables.h"
#include "models/gmf.h"
#include "models/gpt.h"

namespace {

using namespace trop_tables;

// Published test case of the GMF routine.
constexpr double kTestMjd = 55055.0;
constexpr double kTestLat = 0.6708665767;
constexpr double kTestLon = -1.393397187;
constexpr double kTestHeight = 844.715;
constexpr double kTestZenith = 1.278564131;
constexpr double kTestGmfh = 3.425245519339138678;
constexpr double kTestGmfw = 3.449589116182419257;

tagCRDGEODETIC Site(double latDeg, double lonDeg, double height)
{
    return tagCRDGEODETIC{lonDeg * _DEG2RAD, latDeg * _DEG2RAD, height};
}

TEST(GlobalMappingFunction, RoutineAndMemberReproducePublishedCase)
{
    double mjd = kTestMjd, lat = kTestLat, lon = kTestLon, height = kTestHeight, zd = kTestZenith;
    double gmfh = 0.0, gmfw = 0.0;
    EXPECT_EQ(gmf_(&mjd, &lat, &lon, &height, &zd, &gmfh, &gmfw), 0);
    EXPECT_NEAR(gmfh / kTestGmfh - 1.0, 0.0, 1e-12);
    EXPECT_NEAR(gmfw / kTestGmfw - 1.0, 0.0, 1e-12);

    // The member counts doy - 28 days, the routine mjd - 44239 + 1 - 28: the
    // same count for doy = mjd - 44238.
    CGNSSErrorCorrection models;
    const int doy = static_cast<int>(kTestMjd) - 44238;
    tagCRDGEODETIC pos{kTestLon, kTestLat, kTestHeight};
    gmfh = gmfw = 0.0;
    EXPECT_EQ(models.GetGMF(doy, _PI / 2.0 - kTestZenith, pos, &gmfh, &gmfw), 1);
    EXPECT_NEAR(gmfh / kTestGmfh - 1.0, 0.0, 1e-12);
    EXPECT_NEAR(gmfw / kTestGmfw - 1.0, 0.0, 1e-12);
}

// The site's harmonic sums are kept between calls: a call at another site, or
// at the same latitude and another longitude, must not leak into the next.
TEST(GlobalMappingFunction, EachSiteGetsItsOwnValuesWhateverCameBefore)
{
    CGNSSErrorCorrection models;
    const int doy = static_cast<int>(kTestMjd) - 44238;
    const tagCRDGEODETIC published{kTestLon, kTestLat, kTestHeight}, far = Site(-33.9, 18.5, 50.0);
    const tagCRDGEODETIC others[] = {{kTestLon, kTestLat + 0.1, kTestHeight}, {kTestLon + 0.1, kTestLat, kTestHeight}};
    for (const tagCRDGEODETIC& other : others) {
        double afterPublished[2], afterFar[2], unused;
        models.GetGMF(doy, 0.3, published, &unused, &unused);
        models.GetGMF(doy, 0.3, other, &afterPublished[0], &afterPublished[1]);
        models.GetGMF(doy, 0.3, far, &unused, &unused);
        models.GetGMF(doy, 0.3, other, &afterFar[0], &afterFar[1]);
        EXPECT_EQ(afterPublished[0], afterFar[0]);
        EXPECT_EQ(afterPublished[1], afterFar[1]);

        double gmfh = 0.0, gmfw = 0.0;
        models.GetGMF(doy, _PI / 2.0 - kTestZenith, published, &gmfh, &gmfw);
        EXPECT_NEAR(gmfh / kTestGmfh - 1.0, 0.0, 1e-12);
        EXPECT_NEAR(gmfw / kTestGmfw - 1.0, 0.0, 1e-12);
    }
}

struct GptValues {
    double pres;
    double temp;
    double undu;
};

GptValues Routine(double mjd, double lat, double lon, double height)
{
    GptValues v{};
    EXPECT_EQ(gpt_(&mjd, &lat, &lon, &height, &v.pres, &v.temp, &v.undu), 0);
    return v;
}

GptValues Member(double day, double lat, double lon, double height)
{
    CGNSSErrorCorrection models;
    GptValues v{};
    EXPECT_EQ(models.GetGPT(day, tagCRDGEODETIC{lon, lat, height}, &v.pres, &v.temp, &v.undu), 1);
    return v;
}

void ExpectRelative(const GptValues& got, const GptValues& expected, double tolerance)
{
    EXPECT_NEAR(got.pres / expected.pres - 1.0, 0.0, tolerance);
    EXPECT_NEAR(got.temp / expected.temp - 1.0, 0.0, tolerance);
    EXPECT_NEAR(got.undu / expected.undu - 1.0, 0.0, tolerance);
}

TEST(GlobalPressureTemperature, RoutineAndMemberReproducePublishedCase)
{
    // The routine's printed outputs belong to the eastern longitude
    // +1.393397187; the printed input -1.393397187 gives the second set.
    const GptValues printedEast{919.1930225603726967, 28.94460920276309679, -42.78796423912972813};
    const GptValues west{918.0710638757364, 19.319141810128823, -42.191856437177705};
    const double height = 812.546;
    ExpectRelative(Routine(kTestMjd, kTestLat, 1.393397187, height), printedEast, 1e-9);
    ExpectRelative(Routine(kTestMjd, kTestLat, -1.393397187, height), west, 1e-9);

    // Member: day + 1 - 28; routine: mjd - 44239 + 1 - 28.
    const double day = kTestMjd - 44239.0;
    ExpectRelative(Member(day, kTestLat, 1.393397187, height), printedEast, 1e-9);
    ExpectRelative(Member(day, kTestLat, -1.393397187, height), west, 1e-9);
    for (double d : {0.0, 27.0, 100.5, 200.0, 365.0}) {
        const GptValues member = Member(d, -0.6, 2.5, 1200.0);
        const GptValues routine = Routine(44239.0 + d, -0.6, 2.5, 1200.0);
        EXPECT_DOUBLE_EQ(member.pres, routine.pres) << d;
        EXPECT_DOUBLE_EQ(member.temp, routine.temp) << d;
        EXPECT_DOUBLE_EQ(member.undu, routine.undu) << d;
    }
}

TEST(TropTables, SizesPublishedValuesAndZonalSineTerms)
{
    EXPECT_EQ(kHarmonicTerms, 55);
    EXPECT_EQ(sizeof(ah_mean) / sizeof(ah_mean[0]), 55u);
    EXPECT_EQ(sizeof(bt_amp) / sizeof(bt_amp[0]), 55u);
    EXPECT_EQ(sizeof(niell_rows) / sizeof(niell_rows[0]), 5u);

    // First, some middle and last terms, as printed in the publications.
    EXPECT_EQ(ah_mean[0], 125.17);
    EXPECT_EQ(aw_mean[0], 56.40);
    EXPECT_EQ(bh_mean[2], 3.249e-02);    // (1,1)
    EXPECT_EQ(bw_amp[54], -5.7e-09);     // (9,9)
    EXPECT_EQ(bt_amp[54], -9.2323e-09);
    EXPECT_EQ(niell_rows[4].wet[2], 5.4736038e-2);

    // Terms of order 0 have no sine part: a check of the (n, m) ordering.
    const double* sineTables[] = {bh_mean, bh_amp, bw_mean, bw_amp, b_geoid, bp_mean, bp_amp, bt_mean, bt_amp};
    for (int n = 0; n <= kHarmonicDegree; ++n)
        for (const double* table : sineTables)
            EXPECT_EQ(table[n * (n + 1) / 2], 0.0) << "degree " << n;
}

}  // namespace
