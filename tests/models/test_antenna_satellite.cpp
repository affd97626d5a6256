#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <vector>

#include "models/GNSSAtx.h"
#include "models/GNSSErrorCorrection.h"
#include "models/bernese_test_files.h"

namespace {

using berntest::Put;

constexpr double kDeg = 3.141592653589793 / 180.0;

// ---------------------------------------------------------------- nadir model

t_satpcv QuadraticTables()
{
    t_satpcv pcv = {};
    for (int k = 0; k < SATPCV_NNADIR; ++k) {
        pcv.var[0][k] = 0.001 * k * k;   // m
        pcv.var[1][k] = -0.002 * k;
        pcv.var[2][k] = 0.0005;
    }
    return pcv;
}

TEST(SatelliteNadirModel, HandComputedNadirAngle)
{
    // Satellite on the x axis at 26560 km, receiver on the equator 30 degrees
    // further east at 6371 km. In the plane: tan(nadir) =
    // 6371 sin 30 / (26560 - 6371 cos 30) = 3185.5 / 21042.55, nadir 8.6083 deg.
    double rs[3] = {26560e3, 0.0, 0.0};
    double rr[3] = {6371e3 * std::cos(30 * kDeg), 6371e3 * std::sin(30 * kDeg), 0.0};
    const double nadirDeg = std::atan(3185500.0 / (26560e3 - 6371e3 * std::cos(30 * kDeg))) / kDeg;
    ASSERT_NEAR(nadirDeg, 8.6083, 1e-4);

    t_satpcv pcv = QuadraticTables();
    double dant[3] = {0, 0, 0};
    ASSERT_EQ(CGNSSAtx().satantpcv(rs, rr, &pcv, dant), 1);
    const double f = nadirDeg - 8.0;   // between the 8 and 9 degree values
    EXPECT_NEAR(dant[0], 0.001 * (64 * (1 - f) + 81 * f), 1e-12);
    EXPECT_NEAR(dant[1], -0.002 * nadirDeg, 1e-12);
    EXPECT_NEAR(dant[2], 0.0005, 1e-15);
}

TEST(SatelliteNadirModel, TableEdgesAndMissingDirection)
{
    t_satpcv pcv = QuadraticTables();
    CGNSSAtx atx;
    double dant[3];
    atx.antmodel_s(&pcv, 20 * kDeg, dant);   // beyond the table: the 18-degree value
    EXPECT_DOUBLE_EQ(dant[0], 0.001 * 18 * 18);
    atx.antmodel_s(&pcv, 17.5 * kDeg, dant);
    EXPECT_NEAR(dant[0], 0.001 * (289 + 324) / 2, 1e-12);
    EXPECT_DOUBLE_EQ(atx.interpvar(-7.0, pcv.var[1]), 0.0);    // below the table: var[0]
    EXPECT_DOUBLE_EQ(atx.interpvar(NAN, pcv.var[2]), 0.0005);

    // Satellite at the geocentre or at the receiver: no values written.
    double origin[3] = {0, 0, 0}, rr[3] = {6371e3, 0, 0};
    double seven[3] = {7, 7, 7};
    EXPECT_EQ(atx.satantpcv(origin, rr, &pcv, seven), 0);
    EXPECT_EQ(atx.satantpcv(rr, rr, &pcv, seven), 0);
    EXPECT_EQ(seven[0], 7.0);
}

// ------------------------------------------------------- satellite antenna table

const std::string kIIRM = "BLOCK IIR-M G05     ";
const std::string kIIA = "BLOCK IIA G05 OLD   ";
const std::string kGlo = "GLONASS-M R01       ";
const std::string kGal = "GALILEO-1 E11       ";

std::string SensorLine(int number, const std::string& name, const std::string& type, const std::string& from,
                       const std::string& until, double x, double y, double z)
{
    std::string line;
    Put(line, 1, berntest::Fixed(number, 3, 0));
    Put(line, 6, name);
    Put(line, 28, type);
    Put(line, 32, from);
    Put(line, 53, until);
    Put(line, 74, berntest::Fixed(x, 10, 4));
    Put(line, 85, berntest::Fixed(y, 10, 4));
    Put(line, 96, berntest::Fixed(z, 10, 4));
    return line;
}

std::vector<std::string> SatelliteInfo()
{
    return {
        "SATELLITE INFORMATION FILE FOR TESTS",
        "PART 1: GENERAL INFORMATION",
        "",
        "PART 2: ON-BOARD SENSORS",
        "------------------------",
        "",
        "PRN  SENSOR NAME          TYPE  FROM                 UNTIL                    X (M)      Y (M)      Z (M)",
        "***  ******************** **    YYYY MM DD HH MM SS  YYYY MM DD HH MM SS  ****.****  ****.****  ****.****",
        SensorLine(5, kIIA, "MW", "1993 08 30 00 00 00", "2009 03 24 00 00 00", 0.279, 0.0, 2.562),
        SensorLine(5, kIIRM, "MW", "2009 03 24 00 00 00", "", 0.1, 0.0, 0.5),
        SensorLine(5, "SLR REFLECTOR G05   ", "SL", "2009 03 24 00 00 00", "", 0.0, 0.0, 1.0),
        SensorLine(101, kGlo, "MW", "2010 01 01 00 00 00", "", -0.545, 0.0, 2.3),
        SensorLine(211, kGal, "MW", "2011 10 21 00 00 00", "", 0.2, 0.0, 0.6),
        SensorLine(320, "SBAS S20            ", "MW", "2011 10 21 00 00 00", "", 0.0, 0.0, 1.0),
        "",
        "PART 3: REMARKS",
        SensorLine(7, "AFTER THE SECTION   ", "MW", "2009 03 24 00 00 00", "", 0.0, 0.0, 9.0),
    };
}

std::vector<std::string> SatellitePhaseFile()
{
    std::vector<std::string> lines = {
        "ANTENNA PHASE CENTER OFFSETS (M)",
        berntest::OffsetLine(kIIRM, 0.0, 0.0, 0.0010),
        berntest::OffsetLine("", 0.0, 0.0, 0.0020),
        "",
        "ANTENNA PHASE CENTER VARIATIONS (MM)",
    };
    const auto header = berntest::BlockHeader(kIIRM, 1, 360, 17);
    lines.insert(lines.end(), header.begin(), header.end());
    std::vector<double> l1, l2;
    for (int k = 0; k <= 17; ++k) {
        l1.push_back(0.5 * k);
        l2.push_back(-0.25 * k);
    }
    lines.push_back(berntest::GridRow(0, 1, l1));
    lines.push_back(berntest::GridRow(0, 2, l2));
    return lines;
}

class SatelliteTable : public ::testing::Test {
protected:
    void SetUp() override
    {
        infoPath = berntest::TempPath("satellit.txt");
        phasePath = berntest::TempPath("phase_satellite.txt");
        berntest::WriteLines(infoPath, SatelliteInfo());
        berntest::WriteLines(phasePath, SatellitePhaseFile());
    }

    int Load(tagGPSTIME2 t) { return model.GetSatPhaCenFromBern(infoPath.c_str(), phasePath.c_str(), t); }

    const tagGPSTIME2 kDay177of2020 = {2111, 4 * 86400.0};
    const tagGNSSPRN kG05 = {'G', 5, 5};
    CGNSSErrorCorrection model;
    std::string infoPath, phasePath;
};

TEST_F(SatelliteTable, NavigationAntennasValidAtTheEpoch)
{
    ASSERT_EQ(Load(kDay177of2020), 1);
    ASSERT_EQ(model.m_nSatPcv, 3);
    const tagSATPCV& g05 = model.m_satPcv[0];
    EXPECT_EQ(g05.cSys, 'G');
    EXPECT_EQ(g05.prn, 5);
    EXPECT_EQ(std::string(g05.antenna), kIIRM);
    // Sensor offset plus the phase file's per-frequency offsets.
    EXPECT_DOUBLE_EQ(g05.pco1.x, 0.1);
    EXPECT_DOUBLE_EQ(g05.pco1.z, 0.501);
    EXPECT_DOUBLE_EQ(g05.pco2.z, 0.502);
    EXPECT_EQ(model.m_satPcv[1].cSys, 'R');
    EXPECT_EQ(model.m_satPcv[1].prn, 1);
    EXPECT_DOUBLE_EQ(model.m_satPcv[1].pco1.x, -0.545);   // not in the phase file: sensor offset only
    EXPECT_EQ(model.m_satPcv[2].cSys, 'E');
    EXPECT_EQ(model.m_satPcv[2].prn, 11);

    // In 2000 only the old GPS antenna was in orbit.
    ASSERT_EQ(Load({1042, 0.0}), 1);
    ASSERT_EQ(model.m_nSatPcv, 1);
    EXPECT_EQ(std::string(model.m_satPcv[0].antenna), kIIA);
    EXPECT_DOUBLE_EQ(model.m_satPcv[0].pco1.z, 2.562);
}

TEST_F(SatelliteTable, NadirVariations)
{
    ASSERT_EQ(Load(kDay177of2020), 1);
    ASSERT_EQ(model.GetSatPCVFromBern(phasePath.c_str()), 1);
    double pcv[2] = {9, 9};
    // Nadir 5.5 degrees: halfway between 2.5 and 3.0 mm, and -1.25 and -1.5 mm.
    ASSERT_EQ(model.GetSatPcvCorrection(kG05, 10.0, 5.5, pcv), 1);
    EXPECT_NEAR(pcv[0], 2.75e-3, 1e-12);
    EXPECT_NEAR(pcv[1], -1.375e-3, 1e-12);

    pcv[0] = pcv[1] = 9;
    EXPECT_EQ(model.GetSatPcvCorrection(kG05, 10.0, 17.5, pcv), 0);
    EXPECT_EQ(model.GetSatPcvCorrection(kG05, 361.0, 5.0, pcv), 0);
    EXPECT_EQ(model.GetSatPcvCorrection({'R', 1, 33}, 10.0, 5.0, pcv), 0);   // no block for it
    EXPECT_EQ(model.GetSatPcvCorrection({'G', 7, 7}, 10.0, 5.0, pcv), 0);    // not in the table
    EXPECT_EQ(pcv[0], 9.0);
}

TEST_F(SatelliteTable, BadFilesFail)
{
    EXPECT_EQ(model.GetSatPhaCenFromBern("/nonexistent/satellit.txt", phasePath.c_str(), kDay177of2020), 0);
    EXPECT_EQ(model.GetSatPCVFromBern("/nonexistent/phase.txt"), 0);

    auto lines = SatelliteInfo();
    lines[9] = SensorLine(5, kIIRM, "MW", "2009 03 xx 00 00 00", "", 0.1, 0.0, 0.5);
    berntest::WriteLines(infoPath, lines);
    EXPECT_EQ(Load(kDay177of2020), 0);

    lines = SatelliteInfo();
    lines.resize(12);   // ends inside the sensor section
    berntest::WriteLines(infoPath, lines);
    EXPECT_EQ(Load(kDay177of2020), 0);
}

// ------------------------------------------------------ body frame to Earth-fixed

TEST(SatelliteBodyFrame, NominalAttitudeByHand)
{
    // Satellite on the x axis, Sun far along y: z = (-1, 0, 0);
    // y = z x sun = (0, 0, -1); x = y x z = (0, 1, 0), towards the Sun's side.
    // Body offset (0.1, 0.2, 1.5) -> 0.1 x + 0.2 y + 1.5 z = (-1.5, 0.1, -0.2).
    CGNSSErrorCorrection model;
    const tagCRDCARTESIAN sat = {26560e3, 0.0, 0.0}, sun = {0.0, 1.496e11, 0.0};
    tagCRDCARTESIAN ecef;
    ASSERT_EQ(model.sat_Phase_center(sun, sat, {0.1, 0.2, 1.5}, &ecef), 1);
    EXPECT_NEAR(ecef.x, -1.5, 1e-12);
    EXPECT_NEAR(ecef.y, 0.1, 1e-12);
    EXPECT_NEAR(ecef.z, -0.2, 1e-12);

    // The frame is orthonormal for any geometry: the length is kept.
    const tagCRDCARTESIAN sat2 = {15e6, -12e6, 18e6}, sun2 = {-9e10, 1.1e11, 2e10};
    ASSERT_EQ(model.sat_Phase_center(sun2, sat2, {0.3, -0.4, 1.2}, &ecef), 1);
    EXPECT_NEAR(std::sqrt(ecef.x * ecef.x + ecef.y * ecef.y + ecef.z * ecef.z), 1.3, 1e-12);

    // Sun behind the Earth on the same line: no yaw can be formed.
    const tagCRDCARTESIAN sunBehind = {-1.496e11, 0.0, 0.0};
    EXPECT_EQ(model.sat_Phase_center(sunBehind, sat, {0.1, 0.2, 1.5}, &ecef), 0);
}

TEST_F(SatelliteTable, EarthFixedOffsetsAndIonosphereFreeCombination)
{
    ASSERT_EQ(Load(kDay177of2020), 1);
    const tagCRDCARTESIAN sat = {26560e3, 0.0, 0.0}, sun = {0.0, 1.496e11, 0.0};
    tagCRDCARTESIAN pc1, pc2, pcIF;
    // Body (0.1, 0, 0.501) and (0.1, 0, 0.502) in the frame of the test above.
    ASSERT_EQ(model.GetSatPhaseCenter(kG05, sun, sat, &pc1, &pc2), 1);
    EXPECT_NEAR(pc1.x, -0.501, 1e-12);
    EXPECT_NEAR(pc1.y, 0.1, 1e-12);
    EXPECT_NEAR(pc2.x, -0.502, 1e-12);
    // GPS: 2.5457 * L1 - 1.5457 * L2 = 0.501 - 0.001 * 1.5457 along -x of Earth.
    ASSERT_EQ(model.GetSatPhaseCenter(kG05, sun, sat, &pcIF), 1);
    EXPECT_NEAR(pcIF.x, -(0.501 - 0.001 * 1.5457277801631601), 1e-12);
    EXPECT_NEAR(pcIF.y, 0.1, 1e-12);
    EXPECT_EQ(model.GetSatPhaseCenter({'G', 7, 7}, sun, sat, &pcIF), 0);
    EXPECT_EQ(model.GetSatPhaseCenter(kG05, tagCOMMONTIME2{2020, 6, 25, 12.0}, sat, &pc1, &pc2), 1);
    EXPECT_NEAR(std::sqrt(pc1.x * pc1.x + pc1.y * pc1.y + pc1.z * pc1.z), std::hypot(0.1, 0.501), 1e-12);
}

}  // namespace
