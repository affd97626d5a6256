#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "models/GNSSErrorCorrection.h"
#include "models/bernese_test_files.h"

namespace {

using berntest::BlockHeader;
using berntest::GridRow;
using berntest::OffsetLine;

const std::string kAsh = "ASH701945E_M    SCIS";   // 20 characters, blanks included
const std::string kAzi = "TEST AZIMUTH    NONE";
const std::string kOffsetsOnly = "OFFSETS ONLY    NONE";
const std::string kWide = "WIDE STEP       NONE";
const std::string kCut = "CUT BLOCK       NONE";

// Test grid of kAzi: azimuths 0, 120, 240, 360 (rows j), zeniths 0, 30, 60,
// 90 (values i); first frequency 10 j + i + 3 j i mm, second its negative.
double AziValue(int j, int i)
{
    return 10.0 * j + i + 3.0 * j * i;
}

// Zenith-only calibration of ASH701945E_M SCIS (NGS, in the ESBC antenna
// file), 0 to 80 degrees every 5 degrees, mm.
const std::vector<double> kAshL1 = {0.00,  -0.43, -1.40, -2.73, -4.12, -5.92, -7.36, -8.69, -9.47,
                                    -9.81, -9.66, -8.79, -7.63, -5.85, -3.38, -0.41, 3.37};
const std::vector<double> kAshL2 = {0.00,  -0.43, -1.01, -1.78, -2.59, -3.38, -4.19, -4.97, -5.71,
                                    -6.21, -6.25, -5.86, -5.13, -3.83, -2.23, -0.21, 2.45};

std::string WritePhaseFile()
{
    std::vector<std::string> lines = {
        "PHASE CENTER FILE FOR TESTS, FIRST ANTENNA " + kAsh,
        "--------------------------------------------------------------------------------",
        "",
        "ANTENNA PHASE CENTER OFFSETS (M)",
        "ANTENNA TYPE         SERIAL              NORTH    EAST      UP",
        OffsetLine(kAsh, 0.0005, 0.0001, 0.0897),
        OffsetLine("", -0.0006, 0.0000, 0.1193),
        OffsetLine(kAzi, 0.0010, -0.0020, 0.0600),
        "                      short second line",
        OffsetLine(kOffsetsOnly, 0.0, 0.0, 0.1),
        OffsetLine(kWide, 0.0, 0.0, 0.1),
        OffsetLine(kCut, 0.0, 0.0, 0.1),
        "",
        "ANTENNA PHASE CENTER VARIATIONS (MM)",
    };
    auto append = [&lines](const std::vector<std::string>& more) { lines.insert(lines.end(), more.begin(), more.end()); };

    append(BlockHeader(kAsh, 5, 360, 80));
    append({GridRow(0, 1, kAshL1), GridRow(0, 2, kAshL2)});

    append(BlockHeader(kAzi, 30, 120, 90));
    for (int j = 0; j < 4; ++j) {
        std::vector<double> l1, l2;
        for (int i = 0; i < 4; ++i) {
            l1.push_back(AziValue(j, i));
            l2.push_back(-AziValue(j, i));
        }
        append({GridRow(120 * j, 1, l1), GridRow(120 * j, 2, l2)});
    }

    append(BlockHeader(kWide, 5, 999, 80));
    append({GridRow(0, 1, kAshL1), GridRow(0, 2, kAshL2)});

    append(BlockHeader(kCut, 30, 120, 90));
    append({GridRow(0, 1, {1, 2, 3, 4}), GridRow(0, 2, {1, 2, 3, 4}), GridRow(120, 1, {1, 2, 3, 4})});

    const std::string path = berntest::TempPath("phase_receiver.txt");
    berntest::WriteLines(path, lines);
    return path;
}

class ReceiverPcv : public ::testing::Test {
protected:
    void SetUp() override { path = WritePhaseFile(); }

    // Both frequencies in metres, or the sentinel where nothing was written.
    std::vector<double> Pcv(tagPCVINFO* info, double azimuth, double zenith, char sys = 'G')
    {
        double pcv[2] = {kUnset, kUnset};
        model.GetPcvCorrection(info, azimuth, zenith, pcv, sys);
        return {pcv[0], pcv[1]};
    }
    std::vector<double> Pcv(double azimuth, double zenith) { return Pcv(&model.m_recPcv, azimuth, zenith); }

    static constexpr double kUnset = 999.0;
    const std::vector<double> kNothing = {kUnset, kUnset};
    CGNSSErrorCorrection model;
    std::string path;
};

TEST_F(ReceiverPcv, AzimuthGridBilinearWithEdges)
{
    ASSERT_EQ(model.GetRecPCVFromBern(path.c_str(), kAzi.c_str()), 1);
    const tagPCVINFO& info = model.m_recPcv;
    EXPECT_EQ(std::string(info.name), kAzi);
    EXPECT_DOUBLE_EQ(info.zenithStep, 30.0);
    EXPECT_DOUBLE_EQ(info.azimuthStep, 120.0);
    EXPECT_DOUBLE_EQ(info.maxZenith, 90.0);
    EXPECT_EQ(info.nAzimuth, 4);
    EXPECT_EQ(info.nZenith, 4);
    EXPECT_DOUBLE_EQ(info.grid[1][1][3], -AziValue(1, 3));

    const struct {
        double azimuth, zenith, mm;   // first frequency; the second is its negative
    } cases[] = {
        // j = 0, f_a = 0.5; i = 1, f_z = 0.5; corners 1, 2 (row 0) and 14, 18 (row 1).
        {60.0, 45.0, (1 + 2 + 14 + 18) / 4.0},
        // j = 2, f_a = 0.5; i = 0, f_z = 1/3.
        {300.0, 10.0, 2.0 / 3.0 * 0.5 * (20 + 30) + 1.0 / 3.0 * 0.5 * (27 + 40)},
        {60.0, -3.0, 5.0},    // -3 is taken as 0: half of rows 0 and 1 at zenith 0
        {0.0, 93.0, 3.0},     // 93 is taken as 90, the last zenith value
        {360.0, 30.0, 40.0},  // 360 reads row 3, the last one (here different from row 0)
        {0.0, 30.0, 1.0},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(::testing::Message() << "azimuth " << c.azimuth << " zenith " << c.zenith);
        const auto pcv = Pcv(c.azimuth, c.zenith);
        EXPECT_NEAR(pcv[0], c.mm * 1e-3, 1e-12);
        EXPECT_NEAR(pcv[1], -c.mm * 1e-3, 1e-12);
    }
    for (const auto& [azimuth, zenith] : {std::pair{0.0, 96.0}, {0.0, -6.0}, {-0.5, 30.0}, {360.5, 30.0}})
        EXPECT_EQ(Pcv(azimuth, zenith), kNothing) << azimuth << " " << zenith;
}

TEST_F(ReceiverPcv, ZenithOnlyModelServesEveryAzimuth)
{
    ASSERT_EQ(model.GetRecPCVFromBern(path.c_str(), kAsh.c_str()), 1);
    EXPECT_EQ(model.m_recPcv.nAzimuth, 1);   // 360-degree step: two rows become one
    EXPECT_EQ(model.m_recPcv.nZenith, 17);
    // Zenith 12.5: halfway between 10 and 15 degrees.
    for (double azimuth : {0.0, 200.0, 360.0}) {
        const auto pcv = Pcv(azimuth, 12.5);
        EXPECT_NEAR(pcv[0], 0.5 * (-1.40 - 2.73) * 1e-3, 1e-12);
        EXPECT_NEAR(pcv[1], 0.5 * (-1.01 - 1.78) * 1e-3, 1e-12);
    }
    EXPECT_NEAR(Pcv(10.0, 80.0)[0], 3.37e-3, 1e-12);
    EXPECT_EQ(Pcv(10.0, 85.0), kNothing);   // beyond the calibrated 80 degrees
}

TEST_F(ReceiverPcv, RereadingReplacesTheGrid)
{
    ASSERT_EQ(model.GetRecPCVFromBern(path.c_str(), kAzi.c_str()), 1);
    ASSERT_EQ(model.GetRecPCVFromBern(path.c_str(), kAsh.c_str()), 1);   // 4 rows, then 1
    EXPECT_EQ(model.m_recPcv.nAzimuth, 1);
    EXPECT_NEAR(Pcv(0.0, 5.0)[0], -0.43e-3, 1e-12);
}

TEST_F(ReceiverPcv, GlonassFlagSelectsGridsThreeAndFour)
{
    ASSERT_EQ(model.GetRecPCVFromBern(path.c_str(), kAsh.c_str()), 1);
    tagPCVINFO& info = model.m_recPcv;
    for (int i = 0; i < info.nZenith; ++i) {
        info.grid[2][0][i] = 1.0;
        info.grid[3][0][i] = 2.0;
    }
    const auto pcv = Pcv(&info, 10.0, 12.5, 'R');
    EXPECT_NEAR(pcv[0], 0.001, 1e-12);
    EXPECT_NEAR(pcv[1], 0.002, 1e-12);
}

TEST_F(ReceiverPcv, TwoRowGridMissingGridAndOffsetsOnlyWriteNothing)
{
    tagPCVINFO twoRows = {};
    twoRows.azimuthStep = 360.0;
    twoRows.zenithStep = 5.0;
    twoRows.nAzimuth = 2;
    twoRows.nZenith = 3;
    ASSERT_EQ(model.NewPcvInfo(&twoRows), 1);
    EXPECT_EQ(Pcv(&twoRows, 10.0, 5.0), kNothing);
    model.DelPcvData(&twoRows);

    tagPCVINFO empty = {};
    EXPECT_EQ(Pcv(&empty, 10.0, 5.0), kNothing);

    // A name found once (offsets only, or not at all) gives a record without grid.
    tagPCVINFO info = {};
    EXPECT_EQ(model.GetRecPCVFromBern(path.c_str(), kOffsetsOnly.c_str(), &info), 1);
    EXPECT_EQ(std::string(info.name), kOffsetsOnly);
    EXPECT_EQ(info.grid[0], nullptr);
    EXPECT_EQ(Pcv(&info, 10.0, 5.0), kNothing);

    EXPECT_EQ(model.GetRecPCVFromBern(path.c_str(), "NOT IN THE FILE     ", &info), 1);
    EXPECT_EQ(info.grid[0], nullptr);
}

TEST_F(ReceiverPcv, BadBlocksAndFilesFail)
{
    tagPCVINFO info = {};
    EXPECT_EQ(model.GetRecPCVFromBern("/nonexistent/phase.txt", kAsh.c_str(), &info), 0);
    // Azimuth step 999: Round(360 / 999) + 1 = 1 row.
    EXPECT_EQ(model.GetRecPCVFromBern(path.c_str(), kWide.c_str(), &info), 0);
    // The file ends inside the block.
    EXPECT_EQ(model.GetRecPCVFromBern(path.c_str(), kCut.c_str(), &info), 0);
    EXPECT_EQ(info.grid[0], nullptr);
    model.DelPcvData(&info);
}

TEST_F(ReceiverPcv, OffsetsOfBothFrequencies)
{
    tagCRDTOPOCENTRIC l1 = {9, 9, 9}, l2 = {9, 9, 9};
    ASSERT_EQ(model.GetRecPCOFromBern(path.c_str(), kAsh.c_str(), &l1, &l2), 1);
    EXPECT_DOUBLE_EQ(l1.north, 0.0005);
    EXPECT_DOUBLE_EQ(l1.east, 0.0001);
    EXPECT_DOUBLE_EQ(l1.up, 0.0897);
    EXPECT_DOUBLE_EQ(l2.north, -0.0006);
    EXPECT_DOUBLE_EQ(l2.east, 0.0);
    EXPECT_DOUBLE_EQ(l2.up, 0.1193);

    ASSERT_EQ(model.GetRecPCOFromBern(path.c_str(), kAzi.c_str()), 1);
    EXPECT_DOUBLE_EQ(model.m_recPco1.east, -0.0020);
    EXPECT_DOUBLE_EQ(model.m_recPco2.up, 0.0);   // second line too short: left as it was

    EXPECT_EQ(model.GetRecPCOFromBern(path.c_str(), "NOT IN THE FILE     ", &l1, &l2), 0);
    EXPECT_EQ(model.GetRecPCOFromBern("/nonexistent/phase.txt", kAsh.c_str(), &l1, &l2), 0);
}

}  // namespace
