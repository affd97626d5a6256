#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "TestFiles.h"
#include "io/AntennaTable.h"
#include "io/AntexReader.h"
#include "io/GpsTime.h"

using namespace testfiles;

namespace {

const char* kReceiver = "ESBC_receiver_antenna.atx";
const char* kIgs = "igs08_1719_excerpt.atx";
constexpr double kMm = 1e-3;

tagGPSTIME2 Date(int year, int month, int day)
{
    return pppio::gpsTimeFromCalendar(year, month, day, 12, 0, 0.0);
}

}  // namespace

// The zenith-only calibration of ESBC's antenna: offsets in mm as in the
// file, variations interpolated between its 5-degree nodes, the edge value
// beyond the calibrated 80 degrees.
TEST(AntennaTable, ReceiverOffsetsAndPcvWithoutAzimuthGrid)
{
    const pppio::AntexFile file = pppio::readAntex(dataPath(kReceiver));
    EXPECT_DOUBLE_EQ(file.version, 1.4);
    EXPECT_EQ(file.pcvType, 'A');
    EXPECT_TRUE(file.warnings.empty());
    ASSERT_EQ(file.antennas.size(), 1u);
    EXPECT_FALSE(file.antennas[0].isSatellite);
    EXPECT_EQ(file.antennas[0].frequency("R01"), nullptr);
    pppio::AntennaTable table;
    table.load(dataPath(kReceiver));
    const pppio::AntexAntenna* a = table.receiver("ASH701945E_M    SCIS");
    ASSERT_NE(a, nullptr);
    EXPECT_EQ(a->zenithCount, 17);
    EXPECT_EQ(a->azimuthCount, 0);
    const pppio::AntexFrequency& g01 = *a->frequency("G01");
    EXPECT_DOUBLE_EQ(g01.offset[0], 0.48 * kMm);
    EXPECT_DOUBLE_EQ(a->frequency("G02")->offset[2], 119.25 * kMm);
    EXPECT_NEAR(pppio::receiverPcv(*a, g01, 123.0, 10.0), -1.40 * kMm, 1e-12);
    EXPECT_NEAR(pppio::receiverPcv(*a, g01, 0.0, 12.5), 0.5 * (-1.40 - 2.73) * kMm, 1e-12);
    EXPECT_NEAR(pppio::receiverPcv(*a, g01, 0.0, 79.0), (-0.41 + 0.8 * 3.78) * kMm, 1e-12);
    EXPECT_NEAR(pppio::receiverPcv(*a, g01, 0.0, 85.0), 3.37 * kMm, 1e-12);
    EXPECT_NEAR(pppio::receiverPcv(*a, g01, 0.0, -1.0), 0.0, 1e-12);
    EXPECT_NEAR(pppio::receiverPcv(*a, *a->frequency("G02"), 0.0, 50.0), -6.25 * kMm, 1e-12);
}

TEST(AntennaTable, ReceiverLookupByTypeAndRadome)
{
    pppio::AntennaTable receiverOnly;
    receiverOnly.load(dataPath(kReceiver));
    bool replaced = true;
    EXPECT_NE(receiverOnly.receiver("  ASH701945E_M ", " SCIS", &replaced), nullptr);
    EXPECT_FALSE(replaced);
    EXPECT_EQ(receiverOnly.receiver("ASH701945E_M", "SCIT", &replaced), nullptr);   // no NONE entry either
    EXPECT_FALSE(receiverOnly.hasSatellites());

    pppio::AntennaTable table;
    table.load(dataPath(kIgs));
    table.load(dataPath(kReceiver));
    EXPECT_EQ(table.size(), 11u);
    const pppio::AntexAntenna* a = table.receiver("ASH701945E_M", "SCIT", &replaced);
    ASSERT_NE(a, nullptr);
    EXPECT_TRUE(replaced);
    EXPECT_EQ(a->radome, "NONE");
    a = table.receiver("ASH701945E_M", "", &replaced);
    ASSERT_NE(a, nullptr);
    EXPECT_FALSE(replaced);
    EXPECT_EQ(a->radome, "NONE");
    a = table.receiver("ASH701945E_M    SCIS", &replaced);
    ASSERT_NE(a, nullptr);
    EXPECT_EQ(a->radome, "SCIS");
}

// ASH701945E_M NONE has a 5-degree azimuth grid: bilinear interpolation
// between the rows 0 and 5 degrees at zenith 5 and 10 (values from the file).
TEST(AntennaTable, ReceiverPcvBilinearInTheAzimuthGrid)
{
    pppio::AntennaTable table;
    table.load(dataPath(kIgs));
    const pppio::AntexAntenna* a = table.receiver("ASH701945E_M", "NONE");
    ASSERT_NE(a, nullptr);
    const pppio::AntexFrequency& g01 = *a->frequency("G01");
    ASSERT_EQ(g01.grid.size(), 73u * 19u);
    // Rows "0.0  0.00 -0.28 -0.98" and "5.0  0.00 -0.27 -0.97".
    EXPECT_NEAR(pppio::receiverPcv(*a, g01, 0.0, 5.0), -0.28 * kMm, 1e-12);
    EXPECT_NEAR(pppio::receiverPcv(*a, g01, 1.0, 6.0), (0.8 * (0.8 * -0.28 + 0.2 * -0.98) + 0.2 * (0.8 * -0.27 + 0.2 * -0.97)) * kMm,
                1e-12);
    // Azimuth wraps: 360 is the 0 row, -2.5 is 357.5 (rows 355 and 360).
    EXPECT_NEAR(pppio::receiverPcv(*a, g01, 360.0, 10.0), -0.98 * kMm, 1e-12);
    EXPECT_NEAR(pppio::receiverPcv(*a, g01, -2.5, 10.0), 0.5 * (-0.98 - 0.98) * kMm, 1e-12);
}

TEST(AntennaTable, SatelliteAntennaByPrnAndValidity)
{
    pppio::AntennaTable table;
    table.load(dataPath(kIgs));
    EXPECT_TRUE(table.hasSatellites());
    const pppio::AntexAntenna* g063 = table.satellite(1, Date(2020, 6, 25));
    ASSERT_NE(g063, nullptr);
    EXPECT_TRUE(g063->isSatellite);
    EXPECT_EQ(g063->type, "BLOCK IIF");
    EXPECT_EQ(g063->svn, "G063");
    const pppio::AntexAntenna* a = table.satellite(1, Date(2010, 1, 1));
    ASSERT_NE(a, nullptr);
    EXPECT_EQ(a->svn, "G049");
    EXPECT_EQ(table.satellite(1, Date(2008, 10, 20)), nullptr);   // between two validity periods
    EXPECT_EQ(table.satellite(1, Date(1990, 1, 1)), nullptr);
    EXPECT_EQ(table.satellite(2, Date(2020, 6, 25)), nullptr);
    // VALID UNTIL 2009 1 6 23 59 59.9999999 is still G037 at the last second.
    a = table.satellite(1, pppio::gpsTimeFromCalendar(2009, 1, 6, 23, 59, 59.9));
    ASSERT_NE(a, nullptr);
    EXPECT_EQ(a->svn, "G037");

    // Offsets and nadir variations: NOAZI 6.10 4.40 2.80 1.30 ... 3.00 5.70 over 0..14 degrees.
    const pppio::AntexFrequency& g01 = *g063->frequency("G01");
    EXPECT_DOUBLE_EQ(g01.offset[0], 394.0 * kMm);
    EXPECT_DOUBLE_EQ(g01.offset[2], 1561.30 * kMm);
    EXPECT_NEAR(pppio::satellitePcv(*g063, g01, 2.5), 2.05 * kMm, 1e-12);
    EXPECT_NEAR(pppio::satellitePcv(*g063, g01, 13.75), (3.00 + 0.75 * 2.70) * kMm, 1e-12);
    EXPECT_NEAR(pppio::satellitePcv(*g063, g01, 17.0), 5.70 * kMm, 1e-12);
    a = table.satellite(33, Date(2020, 6, 25));
    ASSERT_NE(a, nullptr);
    EXPECT_EQ(a->type, "GLONASS-M");
    ASSERT_NE(a->frequency("R02"), nullptr);
    EXPECT_DOUBLE_EQ(a->frequency("R02")->offset[0], -545.0 * kMm);
}

TEST(AntexReader, MalformedLinesNameFileAndLine)
{
    // Lines of the receiver file: 9 DAZI, 10 ZEN1 / ZEN2 / DZEN, 11 # OF FREQUENCIES,
    // 15 NORTH / EAST / UP, 16 NOAZI, 17 END OF FREQUENCY, 22 END OF ANTENNA.
    using Lines = std::vector<std::string>;
    const auto read = [](const std::string& path) { pppio::readAntex(path); };
    expectMalformedCopies(kReceiver,
        {{"atx_version", [](Lines& l) { l[0].replace(0, 8, "     2.0"); }, 1, "ANTEX version 1.x"},
         {"atx_pcvtype", [](Lines& l) { l[1][0] = 'X'; }, 2, "PCV type"},
         {"atx_dazi", [](Lines& l) { l[8].replace(2, 6, "   7.0"); }, 9, "divisor of 360"},
         {"atx_dzen", [](Lines& l) { l[9].replace(14, 6, "   3.0"); }, 10, "multiple of DZEN"},
         {"atx_offset", [](Lines& l) { l[14].replace(5, 5, " 1.x8"); }, 15, "an offset in columns 1-10"},
         {"atx_value", [](Lines& l) { l[15].replace(20, 3, "abc"); }, 16, "phase centre variation in columns 17-24"},
         {"atx_extra", [](Lines& l) { l[15] += "    1.00"; }, 16, "expected 17 values"},
         {"atx_short", [](Lines& l) { l[15].resize(120); }, 16, "phase centre variation in columns 121-128"},
         {"atx_endfreq", [](Lines& l) { l[16].replace(60, 20, "COMMENT"); }, 17, "END OF FREQUENCY"},
         // The count of frequency blocks is checked at END OF ANTENNA, the last line.
         {"atx_count", [](Lines& l) { l[10].replace(0, 6, "     3"); }, 22, "expected 3 frequency blocks"},
         {"atx_record", [](Lines& l) { l[11].replace(60, 20, "SOMETHING"); }, 12, "antenna record"},
         {"atx_between", [](Lines& l) { l.insert(l.begin() + 5, "stray text"); }, 6, "START OF ANTENNA"}},
        read);
    expectMalformedCopies(kIgs, {{"atx_code", [](Lines& l) { l[6].replace(20, 3, "G?1"); }, 7, "satellite code"}},
                          read);
}
