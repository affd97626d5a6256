// The site record and the receiver antenna grid, checked against the
// numbers of the sample header, the ANTEX files and the SINEX excerpt.
#include <gtest/gtest.h>

#include <cmath>
#include <string>

#include "TestFiles.h"
#include "io/AntennaTable.h"
#include "io/RinexObsReader.h"
#include "io/SinexReader.h"
#include "io/SiteSetup.h"

namespace {

const std::string kObs = testfiles::samplePath("ESBC00DNK_R_20201770000_02H_30S_MO.rnx.gz");
constexpr double kDeltaH = 0.2160;   // ANTENNA: DELTA H/E/N of the sample
constexpr double kDeg = 180.0 / 3.14159265358979323846;

class SiteSetup : public ::testing::Test {
protected:
    void SetUp() override
    {
        pppio::RinexObsReader reader(kObs);
        header = reader.header();
        esbc.load(testfiles::dataPath("ESBC_receiver_antenna.atx"));
        igs08.load(testfiles::dataPath("igs08_1719_excerpt.atx"));
    }

    pppio::RinexObsHeader header;
    pppio::AntennaTable esbc;    // ASH701945E_M SCIS, zenith-only, G01 and G02
    pppio::AntennaTable igs08;   // ASH701945E_M NONE with an azimuth grid, and SCIS
    const tagGPSTIME2 epoch{2111, 345600.0};
};

TEST_F(SiteSetup, SampleSiteWithGivenCoordinates)
{
    pppio::SiteRequest request;
    request.hasApriori = true;
    request.apriori[0] = 3582104.766;
    request.apriori[1] = 532590.178;
    request.apriori[2] = 5232755.139;
    request.antennas = &esbc;
    pppio::SiteReport report;
    const tagSITE site = pppio::BuildSite(header, request, epoch, report);

    EXPECT_STREQ(site.name, "ESBC");
    EXPECT_EQ(report.coordinates, "given");
    EXPECT_DOUBLE_EQ(site.crd.z, 5232755.139);
    EXPECT_NEAR(site.blh.lat * kDeg, 55.49, 0.01);
    EXPECT_NEAR(site.blh.lon * kDeg, 8.457, 0.01);
    EXPECT_STREQ(site.text_a, "SEPT POLARX5");
    EXPECT_STREQ(site.text_b, "ASH701945E_M    SCIS");
    EXPECT_DOUBLE_EQ(site.height_ref, kDeltaH);

    // G01 0.48 / 0.13 / 89.65 mm and G02 -0.58 / 0.01 / 119.25 mm, plus the antenna height.
    ASSERT_NE(report.calibration, nullptr);
    EXPECT_FALSE(report.radomeReplaced);
    EXPECT_NEAR(site.pco[0].north, 0.00048, 1e-12);
    EXPECT_NEAR(site.pco[0].east, 0.00013, 1e-12);
    EXPECT_NEAR(site.pco[0].up, kDeltaH + 0.08965, 1e-12);
    EXPECT_NEAR(site.pco[1].north, -0.00058, 1e-12);
    EXPECT_NEAR(site.pco[1].up, kDeltaH + 0.11925, 1e-12);
    // No GLONASS values in the file: the GPS ones stand in.
    EXPECT_DOUBLE_EQ(site.pcoGlo[0].up, site.pco[0].up);
    EXPECT_DOUBLE_EQ(site.pcoGlo[1].north, site.pco[1].north);
}

TEST_F(SiteSetup, CoordinatesFromSinexOrNone)
{
    pppio::SinexSites sinex;
    sinex.load(testfiles::dataPath("igs20P2131_excerpt.snx"));
    pppio::SiteRequest request;
    request.name = "onsa";
    request.sinex = &sinex;
    pppio::SiteReport report;
    tagSITE site = pppio::BuildSite(header, request, epoch, report);
    EXPECT_STREQ(site.name, "ONSA");
    EXPECT_EQ(report.coordinates, "SINEX");
    EXPECT_DOUBLE_EQ(site.crd.x, 3.37065831030115e+06);
    EXPECT_DOUBLE_EQ(site.crd.z, 5.34978710983876e+06);

    // The sample's own site is not in the excerpt: no coordinates, no antenna.
    request.name.clear();
    site = pppio::BuildSite(header, request, epoch, report);
    EXPECT_STREQ(site.name, "ESBC");
    EXPECT_FALSE(report.coordinatesKnown);
    EXPECT_EQ(site.crd.x, 0.0);
    EXPECT_EQ(report.calibration, nullptr);
    EXPECT_DOUBLE_EQ(site.pco[0].up, kDeltaH);
    EXPECT_EQ(site.hasPco, 1);
}

TEST_F(SiteSetup, UncalibratedRadomeFallsBackToNone)
{
    header.antennaType = "ASH701945E_M    SCIT";
    pppio::SiteRequest request;
    request.antennas = &igs08;
    pppio::SiteReport report;
    const tagSITE site = pppio::BuildSite(header, request, epoch, report);
    ASSERT_NE(report.calibration, nullptr);
    EXPECT_TRUE(report.radomeReplaced);
    EXPECT_EQ(report.calibration->radome, "NONE");
    EXPECT_NEAR(site.pco[0].north, 0.00105, 1e-12);   // the NONE entry: 1.05 / -0.12 / 90.51 mm
    EXPECT_NEAR(site.pco[0].up, kDeltaH + 0.09051, 1e-12);
}

// The engine's grid (0 to 90 degrees zenith, 5-degree steps) reproduces the
// ANTEX interpolation (checked by hand values with the reader), for the zenith-only SCIS calibration that stops at 80
// degrees and for the 5-degree azimuth grid of NONE; the GLONASS grid holds
// the GPS values of these antennas.
TEST_F(SiteSetup, EngineGridMatchesTheAntexInterpolation)
{
    const struct {
        const pppio::AntexAntenna* antenna;
        int azimuths;
    } cases[] = {{esbc.receiver("ASH701945E_M    SCIS"), 1}, {igs08.receiver("ASH701945E_M", "NONE"), 73}};
    for (const auto& c : cases) {
        ASSERT_NE(c.antenna, nullptr);
        SCOPED_TRACE(c.antenna->radome);
        CGNSSErrorCorrection model;
        ASSERT_TRUE(pppio::LoadReceiverPcv(*c.antenna, model));
        EXPECT_EQ(model.m_recPcv.nAzimuth, c.azimuths);
        EXPECT_EQ(model.m_recPcv.nZenith, 19);
        const pppio::AntexFrequency* g01 = c.antenna->frequency("G01");
        const pppio::AntexFrequency* g02 = c.antenna->frequency("G02");
        const double points[][2] = {{0.0, 0.0}, {123.0, 7.5}, {47.5, 32.5}, {181.0, 61.0}, {359.0, 89.0}};
        for (const auto& p : points) {
            double pcv[2], glonass[2];
            ASSERT_EQ(model.GetPcvCorrection(p[0], p[1], pcv, 'G'), 1);
            ASSERT_EQ(model.GetPcvCorrection(p[0], p[1], glonass, 'R'), 1);
            EXPECT_NEAR(pcv[0], pppio::receiverPcv(*c.antenna, *g01, p[0], p[1]), 1e-9) << p[0] << " " << p[1];
            EXPECT_NEAR(pcv[1], pppio::receiverPcv(*c.antenna, *g02, p[0], p[1]), 1e-9) << p[0] << " " << p[1];
            EXPECT_DOUBLE_EQ(glonass[0], pcv[0]);
        }
    }
}

}  // namespace
