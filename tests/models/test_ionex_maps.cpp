#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>

#include "models/GNSSIonex.h"

namespace {

constexpr double kDeg = 3.141592653589793 / 180.0;
constexpr int kWeek = 1930;

// Three hourly maps on a 5-degree grid: latitudes 10, 5, 0, -5, -10 (rows
// 0-4), longitudes -10, -5, 0, 5, 10 (values 0-4), shell 6371 + 450 km.
// Each map starts uniform: 50, 100 and 400 TEC units.
class HandMaps : public ::testing::Test {
protected:
    void SetUp() override
    {
        hdr = static_cast<tagGMIHDR*>(std::calloc(1, GMI_HEADER_AREA));
        hdr->interval = 3600;
        hdr->nMaps = 3;
        hdr->baseRadius = 6371.0;
        hdr->hgt[0] = hdr->hgt[1] = 450.0;
        hdr->lat[0] = 10.0, hdr->lat[1] = -10.0, hdr->lat[2] = -5.0;
        hdr->lon[0] = -10.0, hdr->lon[1] = 10.0, hdr->lon[2] = 5.0;
        gmi = CGNSSIonex::AttachMaps(&hdr);
        ASSERT_NE(gmi, nullptr);
        const double level[3] = {50.0, 100.0, 400.0};
        for (int m = 0; m < 3; ++m) {
            tagGMIMAP* map = ionex.GetGMIMAP(gmi, m);
            map->time = {kWeek, 3600.0 * m};
            for (int i = 0; i < 5; ++i) {
                double* row = CGNSSIonex::GetMapRow(map, hdr, i);
                const double rowHeader[5] = {10.0 - 5.0 * i, -10.0, 10.0, 5.0, 450.0};
                for (int k = 0; k < 5; ++k)
                    row[k] = rowHeader[k];
                for (int j = 0; j < 5; ++j)
                    Tec(m, i, j) = level[m];
            }
        }
    }
    void TearDown() override { std::free(hdr); }

    double& Tec(int map, int row, int lon) { return CGNSSIonex::GetMapRow(ionex.GetGMIMAP(gmi, map), hdr, row)[5 + lon]; }

    // Delay at the zenith of a receiver on the equator: mapping factor 1 and
    // the pierce point straight above.
    int ZenithDelay(double week, double sow, double* delay)
    {
        const tagCRDGEODETIC pos = {0.0, 0.0, 0.0};
        const tagCRDTOPOCENTRICPOLAR up = {0.0, 0.0, 90.0 * kDeg};
        return ionex.GetIonoDelay({static_cast<int>(week), sow}, pos, up, gmi, delay);
    }

    static double DelayOfTec(double tec) { return -tec * 0.4028 / 2.4819481764; }

    CGNSSIonex ionex;
    tagGMIHDR* hdr = nullptr;
    tagGMI* gmi = nullptr;
};

TEST_F(HandMaps, BilinearInsideACell)
{
    // Point 3 N, 2 E: row i = floor((3 - 10) / -5) = 1 with p = 0.4, value
    // j = floor((2 + 10) / 5) = 2 with q = 0.4. Corners E00 = 10, E01 = 20,
    // E10 = 30, E11 = 50:
    // 0.6*0.6*10 + 0.6*0.4*20 + 0.6*0.4*30 + 0.4*0.4*50 = 3.6 + 4.8 + 7.2 + 8.0 = 23.6
    Tec(0, 1, 2) = 10.0;
    Tec(0, 1, 3) = 20.0;
    Tec(0, 2, 2) = 30.0;
    Tec(0, 2, 3) = 50.0;
    const tagCRDGEODETIC pp = {2.0 * kDeg, 3.0 * kDeg, 450000.0};
    EXPECT_NEAR(ionex.GetVTECSpot(ionex.GetGMIMAP(gmi, 0), gmi, pp), 23.6, 1e-12);

    const tagCRDGEODETIC node = {5.0 * kDeg, 0.0, 450000.0};   // row 2, value 3
    EXPECT_NEAR(ionex.GetVTECSpot(ionex.GetGMIMAP(gmi, 0), gmi, node), 50.0, 1e-12);
}

TEST_F(HandMaps, PointsOffTheGridStayInsideTheMap)
{
    // Uniform map: extrapolation from the edge cell keeps the level; NaN must not crash.
    const tagCRDGEODETIC farAway[] = {{0.0, 80.0 * kDeg, 0.0}, {170.0 * kDeg, -85.0 * kDeg, 0.0},
                                      {-179.0 * kDeg, 0.0, 0.0}};
    for (const auto& pp : farAway)
        EXPECT_NEAR(ionex.GetVTECSpot(ionex.GetGMIMAP(gmi, 2), gmi, pp), 400.0, 1e-9);
    ionex.GetVTECSpot(ionex.GetGMIMAP(gmi, 2), gmi, {NAN, NAN, 0.0});
}

TEST_F(HandMaps, NearestMapPrefersTheEarlierOnATie)
{
    tagGPSTIME2 t = {kWeek, 1800.0};
    EXPECT_EQ(ionex.GetIndexNearestMap(gmi, &t), 0);
    t.sow = 1800.5;
    EXPECT_EQ(ionex.GetIndexNearestMap(gmi, &t), 1);
    t = {kWeek + 1, 0.0};
    EXPECT_EQ(ionex.GetIndexNearestMap(gmi, &t), 2);
    EXPECT_EQ(ionex.GetNearestMap(gmi, &t), ionex.GetGMIMAP(gmi, 2));
    EXPECT_EQ(ionex.GetIndexNearestMap(nullptr, &t), -1);
}

TEST_F(HandMaps, LinearInTimeFromTheNearestMapAndItsNeighbour)
{
    const struct {
        double sow, tec;
    } cases[] = {
        {3600.0, 100.0},   // the epoch of a map: that map alone
        {7200.0, 400.0},   // the last map itself
        // 5400 s: tie between maps 1 and 2, map 1 wins, dt = +1800: half and half.
        {5400.0, 250.0},
        // 4000 s: map 1, dt = +400: 400/3600 of map 2 and 3200/3600 of map 1.
        {4000.0, 400.0 / 3600.0 * 400.0 + 3200.0 / 3600.0 * 100.0},
        // 3000 s: map 1, dt = -600: 600/3600 of map 0.
        {3000.0, 600.0 / 3600.0 * 50.0 + 3000.0 / 3600.0 * 100.0},
    };
    for (const auto& c : cases) {
        double delay = 0.0;
        ASSERT_EQ(ZenithDelay(kWeek, c.sow, &delay), 1) << c.sow;
        EXPECT_NEAR(delay, DelayOfTec(c.tec), 1e-12) << c.sow;
    }
    double delay = 0.0;
    ZenithDelay(kWeek, 3600.0, &delay);
    EXPECT_NEAR(delay, -16.22918, 1e-5);   // 100 TECU at zenith: 16.2 m of L1 delay, negative

    // No map on the side of the epoch, or no interval to weigh two maps by.
    delay = 123.0;
    EXPECT_EQ(ZenithDelay(kWeek, 7300.0, &delay), 0);          // after the last map
    EXPECT_EQ(ZenithDelay(kWeek - 1, 604700.0, &delay), 0);    // before the first
    EXPECT_EQ(delay, 123.0);
    hdr->interval = 0;
    EXPECT_EQ(ZenithDelay(kWeek, 4000.0, &delay), 0);
}

TEST_F(HandMaps, SlantFactorOfTheShell)
{
    // Receiver on the equator, elevation 30 degrees: at the pierce point the
    // zenith angle z' has sin z' = r / (R + H) cos E.
    const double sinZ = 6378137.0 / 6821000.0 * std::cos(30.0 * kDeg);
    const double factor = 1.0 / std::sqrt(1.0 - sinZ * sinZ);
    double delay = 0.0;
    const tagCRDTOPOCENTRICPOLAR azel = {0.0, 0.0, 30.0 * kDeg};
    ASSERT_EQ(ionex.GetIonoDelay({kWeek, 3600.0}, {0.0, 0.0, 0.0}, azel, gmi, &delay), 1);
    EXPECT_NEAR(delay, DelayOfTec(100.0) * factor, 1e-10);
    EXPECT_GT(factor, 1.7);
}

// Where the line of sight from a receiver on the equator at longitude 0
// crosses a sphere of the given radius (up = x, east = y, north = z there).
tagCRDGEODETIC RaySphere(double azimuth, double elevation, double shell)
{
    const double p[3] = {6378137.0, 0.0, 0.0};
    const double d[3] = {std::sin(elevation), std::cos(elevation) * std::sin(azimuth),
                         std::cos(elevation) * std::cos(azimuth)};
    const double pd = p[0] * d[0];
    const double s = -pd + std::sqrt(pd * pd - (p[0] * p[0] - shell * shell));
    const double x = p[0] + s * d[0], y = s * d[1], z = s * d[2];
    return {std::atan2(y, x), std::asin(z / std::sqrt(x * x + y * y + z * z)), 0.0};
}

TEST_F(HandMaps, PiercePointOnTheShell)
{
    const tagCRDGEODETIC pos = {0.0, 0.0, 0.0};
    const tagCRDTOPOCENTRICPOLAR azel = {0.0, 30.0 * kDeg, 40.0 * kDeg};
    const tagCRDGEODETIC truth = RaySphere(azel.azimuth, azel.elevation, 6821000.0);

    tagCRDGEODETIC gim, fixed;
    ASSERT_EQ(ionex.CalCoordSpot(pos, azel, gmi, &gim), 1);
    ASSERT_EQ(ionex.CalCoordSpot(pos, azel, &fixed), 1);
    EXPECT_NEAR(gim.lat, truth.lat, 1e-12);
    EXPECT_NEAR(gim.lon, truth.lon, 1e-12);
    EXPECT_NEAR(gim.height, 450000.0, 1e-6);
    // The fixed shell is 6371 km + 450 km, as the map's.
    EXPECT_NEAR(fixed.lat, truth.lat, 1e-12);
    EXPECT_NEAR(fixed.lon, truth.lon, 1e-12);
}

}  // namespace
