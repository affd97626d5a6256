// Mapping functions: Niell and VMF1 by hand, and all three against 1/sin(elevation).
#include <gtest/gtest.h>

#include <cmath>

#include "common/GNSSConst.h"
#include "models/GNSSErrorCorrection.h"

namespace {

constexpr double kUntouched = -777.0;

// The continued fraction as one rational function:
// (1 + a (1 + c) / (1 + b + c)) / (s + a (s + c) / (s (s + c) + b)).
long double Fraction(long double a, long double b, long double c, long double s)
{
    return (1.0L + a * (1.0L + c) / (1.0L + b + c)) / (s + a * (s + c) / (s * (s + c) + b));
}

// Niell's hydrostatic height correction for a height in metres.
long double HeightCorrection(long double s, long double heightM)
{
    return (1.0L / s - Fraction(2.53e-5L, 5.49e-3L, 1.14e-3L, s)) * heightM / 1000.0L;
}

tagCRDGEODETIC Site(double latDeg, double lonDeg, double height)
{
    return tagCRDGEODETIC{lonDeg * _DEG2RAD, latDeg * _DEG2RAD, height};
}

TEST(MappingFunctions, BehaveLikeOneOverSineOfElevation)
{
    CGNSSErrorCorrection models;
    const tagCRDGEODETIC pos = Site(30.5, 114.3, 25.0);
    double gh = 0.0, gw = 0.0, nh = 0.0, nw = 0.0, vh = 0.0, vw = 0.0;

    // Exactly one at the zenith (the height correction vanishes there too).
    models.GetGMF(150, _PI / 2.0, pos, &gh, &gw);
    models.GetNiellMapFun(150, _PI / 2.0, pos, &nh, &nw);
    models.GetVMF1(0.00122, 0.00058, 150, _PI / 2.0, pos, &vh, &vw);
    for (double factor : {gh, gw, nh, nw, vh, vw})
        EXPECT_NEAR(factor, 1.0, 1e-14);

    // Close to 1/sin(el) at 60 degrees.
    const double elev = 60.0 * _DEG2RAD;
    models.GetGMF(150, elev, pos, &gh, &gw);
    models.GetNiellMapFun(150, elev, pos, &nh, &nw);
    models.GetVMF1(0.00122, 0.00058, 150, elev, pos, &vh, &vw);
    for (double factor : {gh, gw, nh, nw, vh, vw})
        EXPECT_NEAR(factor, 1.0 / std::sin(elev), 0.005 / std::sin(elev));

    // About 10 at 5 degrees (1/sin would be 11.5): the wet factor a little
    // larger than the hydrostatic one, the models within a few per mille.
    models.GetGMF(150, 5.0 * _DEG2RAD, pos, &gh, &gw);
    models.GetNiellMapFun(150, 5.0 * _DEG2RAD, pos, &nh, &nw);
    models.GetVMF1(0.00122, 0.00058, 150, 5.0 * _DEG2RAD, pos, &vh, &vw);
    for (double hydro : {gh, nh, vh})
        EXPECT_NEAR(hydro, 10.15, 0.2);
    for (double wet : {gw, nw, vw})
        EXPECT_NEAR(wet, 10.75, 0.2);
    EXPECT_NEAR(nh, gh, 0.03);
    EXPECT_NEAR(nw, gw, 0.05);
}

// Niell coefficients of the 45 degree row: hydrostatic average and amplitude, wet.
constexpr double kNiell45[9] = {1.2465397e-3, 2.9288445e-3, 63.721774e-3, 2.6523662e-5, 3.0160779e-5,
                                4.3497037e-5, 5.8118019e-4, 1.4572752e-3, 4.3908931e-2};

TEST(NiellMapping, HandComputedAtTabulatedLatitude)
{
    // Day 28: the seasonal factor is 1 and the amplitude is added in full.
    CGNSSErrorCorrection models;
    const long double s = sinl(10.0L * _DEG2RAD);
    const long double hydro = Fraction(kNiell45[0] + kNiell45[3], kNiell45[1] + kNiell45[4],
                                       kNiell45[2] + kNiell45[5], s) + HeightCorrection(s, 600.0L);
    const long double wet = Fraction(kNiell45[6], kNiell45[7], kNiell45[8], s);
    double nmfh = 0.0, nmfw = 0.0;
    EXPECT_EQ(models.GetNiellMapFun(28, 10.0 * _DEG2RAD, Site(45.0, 7.0, 600.0), &nmfh, &nmfw), 1);
    EXPECT_NEAR(nmfh, static_cast<double>(hydro), 1e-13);
    EXPECT_NEAR(nmfw, static_cast<double>(wet), 1e-13);

    // Half a year later the amplitude is (almost fully) subtracted.
    const long double season = cosl(2.0L * 3.14159265358979323846L * 183.0L / 365.25L);
    EXPECT_LT(season, -0.9999L);
    const long double hydroWinter = Fraction(kNiell45[0] + kNiell45[3] * season, kNiell45[1] + kNiell45[4] * season,
                                             kNiell45[2] + kNiell45[5] * season, s) + HeightCorrection(s, 600.0L);
    models.GetNiellMapFun(28 + 183, 10.0 * _DEG2RAD, Site(45.0, 7.0, 600.0), &nmfh, &nmfw);
    EXPECT_NEAR(nmfh, static_cast<double>(hydroWinter), 1e-13);
}

TEST(NiellMapping, InterpolatesBetweenRowsAndHoldsBelow15Degrees)
{
    CGNSSErrorCorrection models;
    const double elev = 7.0 * _DEG2RAD;
    const long double s = sinl(elev);
    // 37.5 degrees: halfway between the 30 and 45 degree rows, average and amplitude alike (day 28).
    const long double wet = Fraction((5.6794847e-4L + 5.8118019e-4L) / 2, (1.5138625e-3L + 1.4572752e-3L) / 2,
                                     (4.6729510e-2L + 4.3908931e-2L) / 2, s);
    double nmfh = 0.0, nmfw = 0.0;
    models.GetNiellMapFun(28, elev, Site(37.5, 0.0, 0.0), &nmfh, &nmfw);
    EXPECT_NEAR(nmfw, static_cast<double>(wet), 1e-13);
    const long double hydroSummer =
        Fraction((1.2683230e-3L + 1.2465397e-3L + 1.2709626e-5L + 2.6523662e-5L) / 2,
                 (2.9152299e-3L + 2.9288445e-3L + 2.1414979e-5L + 3.0160779e-5L) / 2,
                 (62.837393e-3L + 63.721774e-3L + 9.0128400e-5L + 4.3497037e-5L) / 2, s);
    EXPECT_NEAR(nmfh, static_cast<double>(hydroSummer), 1e-12);

    // Every latitude up to 15 degrees uses the 15 degree row (which has no amplitude).
    double equatorH = 0.0, equatorW = 0.0, at15H = 0.0, at15W = 0.0;
    models.GetNiellMapFun(100, elev, Site(0.0, 0.0, 0.0), &equatorH, &equatorW);
    models.GetNiellMapFun(100, elev, Site(15.0, 0.0, 0.0), &at15H, &at15W);
    EXPECT_EQ(equatorH, at15H);
    EXPECT_EQ(equatorW, at15W);
    EXPECT_NEAR(equatorW, static_cast<double>(Fraction(5.8021897e-4L, 1.4275268e-3L, 4.3472961e-2L, s)), 1e-13);

    // Continuous across a row boundary.
    double belowH = 0.0, belowW = 0.0, aboveH = 0.0, aboveW = 0.0;
    models.GetNiellMapFun(100, elev, Site(59.999999, 0.0, 0.0), &belowH, &belowW);
    models.GetNiellMapFun(100, elev, Site(60.0, 0.0, 0.0), &aboveH, &aboveW);
    EXPECT_NEAR(belowH, aboveH, 1e-8);
    EXPECT_NEAR(belowW, aboveW, 1e-8);
}

TEST(NiellMapping, SouthernHemisphereHasNoSeasonalShift)
{
    CGNSSErrorCorrection models;
    for (int doy : {15, 120, 300}) {
        double northH = 0.0, northW = 0.0, southH = 0.0, southW = 0.0;
        models.GetNiellMapFun(doy, 0.2, Site(45.0, 10.0, 300.0), &northH, &northW);
        models.GetNiellMapFun(doy, 0.2, Site(-45.0, 10.0, 300.0), &southH, &southW);
        EXPECT_EQ(northH, southH) << doy;
        EXPECT_EQ(northW, southW) << doy;
    }
}

TEST(NiellMapping, LeavesOutputsUntouchedFrom75Degrees)
{
    CGNSSErrorCorrection models;
    for (double latDeg : {75.0, 80.0, -82.0, 90.0}) {
        double nmfh = kUntouched, nmfw = kUntouched;
        models.GetNiellMapFun(100, 0.3, Site(latDeg, 0.0, 0.0), &nmfh, &nmfw);
        EXPECT_EQ(nmfh, kUntouched) << latDeg;
        EXPECT_EQ(nmfw, kUntouched) << latDeg;
    }
    double nmfh = kUntouched, nmfw = kUntouched;
    models.GetNiellMapFun(100, 0.3, Site(74.99, 0.0, 0.0), &nmfh, &nmfw);
    EXPECT_NEAR(nmfh, 1.0 / std::sin(0.3), 0.05);
    EXPECT_NEAR(nmfw, 1.0 / std::sin(0.3), 0.05);
}

TEST(Vmf1Mapping, HemisphereSetsAndUnshiftedDay)
{
    CGNSSErrorCorrection models;
    const long double ah = 0.0012345L, aw = 0.0005678L;
    const long double s = sinl(8.0L * _DEG2RAD);
    const long double lat = 0.8L;
    const long double wet = Fraction(aw, 0.00146L, 0.04391L, s);

    // Day 0, northern site: phase pi set, cos(pi) = -1, so c = 0.062 + 0.002 (1 - cos lat).
    double vh = 0.0, vw = 0.0;
    EXPECT_EQ(models.GetVMF1(ah, aw, 0, 8.0 * _DEG2RAD, tagCRDGEODETIC{0.1, 0.8, 400.0}, &vh, &vw), 1);
    const long double northC = 0.062L + 0.002L * (1.0L - cosl(lat));
    EXPECT_NEAR(vh, static_cast<double>(Fraction(ah, 0.0029L, northC, s) + HeightCorrection(s, 400.0L)), 1e-13);
    EXPECT_NEAR(vw, static_cast<double>(wet), 1e-13);

    // Day 0, southern site: phase 0 set, c = 0.062 + (0.005 + 0.001) (1 - cos lat).
    models.GetVMF1(ah, aw, 0, 8.0 * _DEG2RAD, tagCRDGEODETIC{0.1, -0.8, 400.0}, &vh, &vw);
    const long double southC = 0.062L + 0.006L * (1.0L - cosl(lat));
    EXPECT_NEAR(vh, static_cast<double>(Fraction(ah, 0.0029L, southC, s) + HeightCorrection(s, 400.0L)), 1e-13);

    // Any day: the day enters as given, c = 0.062 + ((cos(2 pi d / 365.25 + pi) + 1) 0.0035 + 0.002)(1 - cos lat).
    models.GetVMF1(ah, aw, 200, 8.0 * _DEG2RAD, tagCRDGEODETIC{0.1, 0.8, 0.0}, &vh, &vw);
    const long double dayC =
        0.062L + ((1.0L - cosl(2.0L * 3.14159265358979323846L * 200.0L / 365.25L)) * 0.0035L + 0.002L) *
                     (1.0L - cosl(lat));
    EXPECT_NEAR(vh, static_cast<double>(Fraction(ah, 0.0029L, dayC, s)), 1e-13);
}

}  // namespace
