#include <gtest/gtest.h>

#include <cmath>

#include "common/GNSSConst.h"
#include "common/GNSSCoordConvert.h"

namespace {

constexpr double kPi = 3.141592653589793;

TEST(Coordinates, GeodeticCartesianRoundTripOverLatitudesAndHeights)
{
    CGNSSCoordConvert cc;
    const double heights[] = {-10000.0, 0.0, 215.3, 8848.0, 400000.0, 20200000.0};
    for (double latDeg = -90.0; latDeg <= 90.0; latDeg += 7.5) {
        for (double lonDeg = -180.0; lonDeg < 180.0; lonDeg += 45.0) {
            for (double h : heights) {
                tagCRDGEODETIC in{lonDeg * kPi / 180.0, latDeg * kPi / 180.0, h};
                tagCRDCARTESIAN xyz;
                cc.GeodeticToCartesian(&in, &xyz, _WGS84_ELLIPSE_A, _WGS84_ELLIPSE_FLAT);
                tagCRDGEODETIC out;
                cc.CartesianToGeodetic(&xyz, &out, _WGS84_ELLIPSE_A, _WGS84_ELLIPSE_FLAT);
                // The iteration stops at 0.1 mm of the auxiliary z: 1e-9 rad is 6 mm.
                EXPECT_NEAR(out.lat, in.lat, 2e-9) << latDeg << " " << lonDeg << " " << h;
                EXPECT_NEAR(out.height, h, 2e-3) << latDeg << " " << lonDeg << " " << h;
                if (std::fabs(latDeg) < 90.0) {
                    const double dLon = std::remainder(out.lon - in.lon, 2.0 * kPi);
                    EXPECT_NEAR(dLon, 0.0, 1e-12);
                }
            }
        }
    }
}

TEST(Coordinates, KnownStationAndPoles)
{
    // ESBC, evaluated independently with the classical fixed-point iteration on
    // latitude: 55.49356781992 N, 8.45682960068 E, 59.4944304 m.
    CGNSSCoordConvert cc;
    tagCRDCARTESIAN esbc{3582104.766, 532590.178, 5232755.139};
    tagCRDGEODETIC g;
    cc.CartesianToGeodetic(&esbc, &g, 6400000.0, 0.0);   // the ellipsoid arguments are ignored
    EXPECT_NEAR(g.lat * 180.0 / kPi, 55.49356781992, 1e-9);
    EXPECT_NEAR(g.lon * 180.0 / kPi, 8.45682960068, 1e-10);
    EXPECT_NEAR(g.height, 59.4944304, 1e-4);

    // The poles have longitude zero.
    tagCRDCARTESIAN north{0.0, 0.0, 6356752.314245}, south{0.0, 0.0, -6356752.314245}, centre{0.0, 0.0, 0.0};
    cc.CartesianToGeodetic(&north, &g, _WGS84_ELLIPSE_A, _WGS84_ELLIPSE_FLAT);
    EXPECT_DOUBLE_EQ(g.lat, kPi / 2.0);
    EXPECT_EQ(g.lon, 0.0);
    EXPECT_NEAR(g.height, 0.0, 1e-3);
    cc.CartesianToGeodetic(&south, &g, _WGS84_ELLIPSE_A, _WGS84_ELLIPSE_FLAT);
    EXPECT_DOUBLE_EQ(g.lat, -kPi / 2.0);
    cc.CartesianToGeodetic(&centre, &g, _WGS84_ELLIPSE_A, _WGS84_ELLIPSE_FLAT);
    EXPECT_DOUBLE_EQ(g.lat, -kPi / 2.0);   // Z <= 0 on the axis counts as the south pole
}

TEST(Coordinates, TopocentricRoundTripAxesAndPolarForm)
{
    CGNSSCoordConvert cc;
    tagCRDCARTESIAN ref{3582104.766, 532590.178, 5232755.139};
    tagCRDTOPOCENTRIC neu{12.5, -3.25, 100.0};
    tagCRDCARTESIAN p;
    cc.TopocentricToCartesian(&neu, &p, &ref, _WGS84_ELLIPSE_A, _WGS84_ELLIPSE_FLAT);
    tagCRDTOPOCENTRIC back;
    cc.CartesianToTopocentric(&p, &back, &ref, _WGS84_ELLIPSE_A, _WGS84_ELLIPSE_FLAT);
    EXPECT_NEAR(back.north, neu.north, 1e-8);
    EXPECT_NEAR(back.east, neu.east, 1e-8);
    EXPECT_NEAR(back.up, neu.up, 1e-8);

    tagCRDCARTESIAN d;
    cc.TopocentricToCartesian2(&neu, &d, &ref, _WGS84_ELLIPSE_A, _WGS84_ELLIPSE_FLAT);
    EXPECT_NEAR(d.x, p.x - ref.x, 1e-8);
    EXPECT_NEAR(std::sqrt(d.x * d.x + d.y * d.y + d.z * d.z),
                std::sqrt(neu.north * neu.north + neu.east * neu.east + neu.up * neu.up), 1e-9);

    // At (lat 0, lon 0) up is +X, east is +Y, north is +Z.
    tagCRDCARTESIAN origin{_WGS84_ELLIPSE_A, 0.0, 0.0}, q{_WGS84_ELLIPSE_A + 1.0, 2.0, 3.0};
    cc.CartesianToTopocentric(&q, &back, &origin, _WGS84_ELLIPSE_A, _WGS84_ELLIPSE_FLAT);
    EXPECT_NEAR(back.up, 1.0, 1e-12);
    EXPECT_NEAR(back.east, 2.0, 1e-12);
    EXPECT_NEAR(back.north, 3.0, 1e-12);

    tagCRDTOPOCENTRIC eastUp{0.0, 1000.0, 1000.0};
    tagCRDTOPOCENTRICPOLAR polar;
    cc.TopocentricToTopocentricPolar(&eastUp, &polar);
    EXPECT_NEAR(polar.distance, std::sqrt(2.0) * 1000.0, 1e-9);
    EXPECT_NEAR(polar.azimuth, kPi / 2.0, 1e-12);
    EXPECT_NEAR(polar.elevation, kPi / 4.0, 1e-12);
}

TEST(Coordinates, GetAtanKeepsItsQuadrantRules)
{
    CGNSSCoordConvert cc;
    const double cases[][3] = {{0.0, -1.0, 2.0}, {1.0, 0.0, 0.5}, {-1.0, 1.0, 1.75}, {0.0, 1.0, 0.0},
                               {1.0, -1.0, 0.75}, {-1.0, -1.0, 1.25}, {-1.0, 0.0, 1.5}, {-1.0, 1e-12, 3.5},
                               {-1.0, -1e-12, 2.5}};   // y, x, angle / pi
    for (const auto& c : cases)
        EXPECT_DOUBLE_EQ(cc.Get_atan(c[0], c[1]), c[2] * kPi) << c[0] << " " << c[1];
}

}  // namespace

// One converter serves every satellite against the same receiver; moving the
// receiver, even by a millimetre in one axis, must give the new point's values.
TEST(Coordinates, ConverterFollowsEachNewPointExactly)
{
    const tagCRDCARTESIAN points[] = {{3582104.766, 532590.178, 5232755.139},
                                      {3582104.767, 532590.178, 5232755.139},
                                      {3582104.766, 532590.178, 5232755.140},
                                      {-2700000.0, -4300000.0, 3850000.0}};
    tagCRDCARTESIAN satellite{15000000.0, 5000000.0, 21000000.0};
    CGNSSCoordConvert shared;
    for (int pass = 0; pass < 2; ++pass) {
        for (tagCRDCARTESIAN p : points) {
            CGNSSCoordConvert fresh;
            tagCRDGEODETIC a, b;
            shared.CartesianToGeodetic(&p, &a, _WGS84_ELLIPSE_A, _WGS84_ELLIPSE_FLAT);
            fresh.CartesianToGeodetic(&p, &b, _WGS84_ELLIPSE_A, _WGS84_ELLIPSE_FLAT);
            EXPECT_EQ(a.lat, b.lat);
            EXPECT_EQ(a.lon, b.lon);
            EXPECT_EQ(a.height, b.height);
            tagCRDTOPOCENTRIC s, f;
            shared.CartesianToTopocentric(&satellite, &s, &p, _WGS84_ELLIPSE_A, _WGS84_ELLIPSE_FLAT);
            fresh.CartesianToTopocentric(&satellite, &f, &p, _WGS84_ELLIPSE_A, _WGS84_ELLIPSE_FLAT);
            EXPECT_EQ(s.north, f.north);
            EXPECT_EQ(s.east, f.east);
            EXPECT_EQ(s.up, f.up);
        }
    }
}
