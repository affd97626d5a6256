// Solid earth tide: hand-computed geometries and one day at a mid-latitude site.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

#include "models/GNSSErrorCorrection.h"

namespace {

constexpr double kH2 = 0.609;
constexpr double kL2 = 0.0852;
constexpr double kEarthRadius = 6378137.0;
constexpr double kMoonDistance = 3.844e8;
constexpr double kSunDistance = 1.496e11;

// Degree-2 tidal factor (M_body / M_earth) r^4 / R^3 with the model's masses.
double TidalFactor(double massRatio, double bodyDistance)
{
    return massRatio * std::pow(kEarthRadius, 4) / std::pow(bodyDistance, 3);
}

const double kMoonFactor = TidalFactor(7.35 / 597.6, kMoonDistance);       // 0.358 m
const double kSunFactor = TidalFactor(198900000.0 / 597.6, kSunDistance);  // 0.165 m

TEST(SolidTide, HandComputedGeometries)
{
    // F = (M_body / M_earth) r^4 / R^3 grows with the station distance r.
    const double high = kEarthRadius + 100000.0;
    const double d = kMoonDistance / std::sqrt(2.0);
    const struct {
        const char* what;
        double station[3], sun[3], moon[3];
        double expected[3];
    } cases[] = {
        // Moon overhead lifts the station by h2 F; the Sun on the horizon
        // lowers it by h2/2 F (0.1681 m in all); no horizontal motion.
        {"Moon at the zenith, Sun on the horizon", {kEarthRadius, 0, 0}, {0, 0, kSunDistance}, {kMoonDistance, 0, 0},
         {kH2 * kMoonFactor - kH2 / 2.0 * kSunFactor, 0.0, 0.0}},
        // Horizontal 3/2 l2 F towards the sub-lunar point, radial
        // h2 (3 cos^2 - 1)/2 F = h2/4 F; the Sun too far away to matter.
        {"Moon at 45 degrees", {0, 0, kEarthRadius}, {1e30, 0, 0}, {d, 0, d},
         {1.5 * kL2 * kMoonFactor, 0.0, kH2 / 4.0 * kMoonFactor}},
        {"station 100 km higher", {high, 0, 0}, {0, 1e30, 0}, {kMoonDistance, 0, 0},
         {kH2 * kMoonFactor * std::pow(high / kEarthRadius, 4), 0.0, 0.0}},
    };
    CGNSSErrorCorrection model;
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        long double station[3], sun[3], moon[3], disp[3];
        for (int i = 0; i < 3; ++i) {
            station[i] = c.station[i];
            sun[i] = c.sun[i];
            moon[i] = c.moon[i];
        }
        ASSERT_EQ(model.TIDE(station, sun, moon, disp), 1);
        for (int i = 0; i < 3; ++i)
            EXPECT_NEAR(static_cast<double>(disp[i]), c.expected[i], 1e-12) << "component " << i;
    }
    EXPECT_NEAR(cases[0].expected[0], 0.1681, 1e-4);
}

TEST(SolidTide, OneDayAtEsbjerg)
{
    CGNSSErrorCorrection model;
    CGNSSCoordConvert coord;
    tagCRDCARTESIAN station = {3582104.766, 532590.178, 5232755.139};
    tagCRDGEODETIC geo;
    coord.CartesianToGeodetic(&station, &geo, _WGS84_ELLIPSE_A, _WGS84_ELLIPSE_FLAT);
    const double up[3] = {std::cos(geo.lat) * std::cos(geo.lon), std::cos(geo.lat) * std::sin(geo.lon),
                          std::sin(geo.lat)};

    double lowest = 1.0, highest = -1.0, largestHorizontal = 0.0;
    for (int minute = 0; minute < 24 * 60; minute += 10) {
        tagCOMMONTIME2 t = {2020, 6, 25, minute / 60.0};
        long double disp[3];
        ASSERT_EQ(model.GetSolidTide(t, station, disp), 1);
        const double radial = static_cast<double>(disp[0]) * up[0] + static_cast<double>(disp[1]) * up[1] +
                              static_cast<double>(disp[2]) * up[2];
        double horizontal2 = -radial * radial;
        for (int i = 0; i < 3; ++i)
            horizontal2 += static_cast<double>(disp[i] * disp[i]);
        lowest = std::min(lowest, radial);
        highest = std::max(highest, radial);
        largestHorizontal = std::max(largestHorizontal, std::sqrt(std::max(0.0, horizontal2)));
    }
    EXPECT_GT(lowest, -0.45);
    EXPECT_LT(highest, 0.45);
    EXPECT_GT(highest - lowest, 0.1);
    EXPECT_GT(largestHorizontal, 0.005);
    EXPECT_LT(largestHorizontal, 0.1);
}

}  // namespace
