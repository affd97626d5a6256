#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "TestFiles.h"
#include "io/GpsTime.h"
#include "io/SinexReader.h"

using namespace testfiles;

namespace {

const char* kSinex = "igs20P2131_excerpt.snx";

// Inserts lines after the first line starting with the prefix.
void InsertAfter(std::vector<std::string>& lines, const std::string& prefix, const std::vector<std::string>& added)
{
    const size_t at = findLine(lines, prefix) + 1;
    lines.insert(lines.begin() + static_cast<long>(at), added.begin(), added.end());
}

}  // namespace

TEST(SinexReader, SiteIdAndEstimatesMatchTheFileText)
{
    const pppio::SinexFile file = pppio::readSinex(dataPath(kSinex));
    EXPECT_TRUE(file.complete);
    EXPECT_TRUE(file.warnings.empty());
    ASSERT_EQ(file.sites.size(), 6u);   // LOD and XGC are no sites
    pppio::SinexSites sites;
    sites.add(file);

    const pppio::SinexSite* ab09 = sites.site("AB09");
    ASSERT_NE(ab09, nullptr);
    EXPECT_EQ(ab09->domes, "49419M001");
    EXPECT_EQ(ab09->description, "Wales - Alaska, UNITED");
    EXPECT_DOUBLE_EQ(ab09->longitude, 191.0 + 56.0 / 60.0 + 16.3 / 3600.0);
    EXPECT_DOUBLE_EQ(ab09->latitude, 65.0 + 36.0 / 60.0 + 53.9 / 3600.0);
    EXPECT_DOUBLE_EQ(ab09->height, 162.5);
    const pppio::SinexSite* abpo = sites.site("ABPO");
    ASSERT_NE(abpo, nullptr);
    EXPECT_DOUBLE_EQ(abpo->latitude, -(19.0 + 1.0 / 60.0 + 5.9 / 3600.0));

    // 1588 STAX WTZR A 3 20:316:43200 m 2 4.07558028839302e+06 3.90521e-04
    const pppio::SinexSite* wtzr = sites.site("WTZR");
    ASSERT_NE(wtzr, nullptr);
    EXPECT_TRUE(wtzr->hasPosition);
    EXPECT_FALSE(wtzr->hasVelocity);
    EXPECT_EQ(wtzr->solution, 3);
    EXPECT_DOUBLE_EQ(wtzr->position[0], 4.07558028839302e+06);
    EXPECT_DOUBLE_EQ(wtzr->position[2], 4.80156828521145e+06);
    EXPECT_DOUBLE_EQ(wtzr->sigma[2], 4.23154e-04);
    // Day 316 of 2020, 12:00 is Wednesday 11 November: GPS week 2131.
    EXPECT_EQ(wtzr->referenceEpoch.week, 2131);
    EXPECT_DOUBLE_EQ(wtzr->referenceEpoch.sow, 3 * 86400.0 + 43200.0);

    // Look-up ignores case and blanks; without velocity the estimate holds at any epoch.
    ASSERT_NE(sites.site(" onsa "), nullptr);
    EXPECT_EQ(sites.site(" onsa ")->code, "ONSA");
    EXPECT_EQ(sites.site("ESBC"), nullptr);
    double xyz[3];
    EXPECT_FALSE(sites.position("ESBC", {2131, 0.0}, xyz));
    ASSERT_TRUE(sites.position("brux", {2200, 0.0}, xyz));
    EXPECT_DOUBLE_EQ(xyz[0], 4.02788136356953e+06);
}

// WTZR given velocities and further solutions: the highest solution
// number is kept and propagated with its velocity.
TEST(SinexSites, HighestSolutionAndVelocitiesPropagateToAnEpoch)
{
    const std::string path = editedCopy(kSinex, "snx_velocity.snx", [](std::vector<std::string>& lines) {
        InsertAfter(lines, "  1590 STAZ   WTZR",
                    {"  1600 STAX   WTZR  A    4 20:316:43200 m    2  4.07558000000000e+06 1.00000e-03",
                     "  1601 STAY   WTZR  A    4 20:316:43200 m    2  9.31854000000000e+05 1.00000e-03",
                     "  1602 STAZ   WTZR  A    4 20:316:43200 m    2  4.80156800000000e+06 1.00000e-03",
                     "  1603 VELX   WTZR  A    4 20:316:43200 m/y  2 -1.57000000000000e-02 1.00000e-05",
                     "  1604 VELY   WTZR  A    4 20:316:43200 m/y  2  1.73000000000000e-02 1.00000e-05",
                     "  1605 VELZ   WTZR  A    4 20:316:43200 m/y  2  1.05000000000000e-02 1.00000e-05",
                     "  1606 STAX   WTZR  A    2 20:316:43200 m    2  1.00000000000000e+06 1.00000e-03"});
    });
    const pppio::SinexFile file = pppio::readSinex(path);
    ASSERT_EQ(file.warnings.size(), 1u);
    EXPECT_NE(file.warnings[0].find("site WTZR has several solutions, number 4 kept"), std::string::npos);
    pppio::SinexSites sites;
    sites.add(file);
    const pppio::SinexSite* wtzr = sites.site("WTZR");
    ASSERT_NE(wtzr, nullptr);
    EXPECT_EQ(wtzr->solution, 4);
    EXPECT_TRUE(wtzr->hasPosition && wtzr->hasVelocity);
    EXPECT_DOUBLE_EQ(wtzr->velocity[1], 0.0173);
    double xyz[3];
    const tagGPSTIME2 oneYearLater = pppio::shiftedTime(wtzr->referenceEpoch, 365.25 * 86400.0);
    ASSERT_TRUE(sites.position("WTZR", oneYearLater, xyz));
    EXPECT_NEAR(xyz[0], 4.07558e+06 - 0.0157, 1e-9);
    EXPECT_NEAR(xyz[1], 9.31854e+05 + 0.0173, 1e-9);
    const tagGPSTIME2 halfYearBefore = pppio::shiftedTime(wtzr->referenceEpoch, -0.5 * 365.25 * 86400.0);
    ASSERT_TRUE(sites.position("WTZR", halfYearBefore, xyz));
    EXPECT_NEAR(xyz[2], 4.801568e+06 - 0.00525, 1e-9);
}

TEST(SinexReader, MalformedLinesNameFileAndLine)
{
    const std::vector<std::string> lines = readLines(dataPath(kSinex));
    const size_t id = findLine(lines, " AB09  A 49419M001");   // indexes of the edited lines
    const size_t est = findLine(lines, "     1 STAX");
    using Lines = std::vector<std::string>;
    expectMalformedCopies(kSinex,
        {{"snx_header", [](Lines& l) { l[0] = "%=XYZ"; }, 1, "%=SNX"},
         {"snx_lon", [&](Lines& l) { l[id].replace(51, 4, "1x.3"); }, id + 1, "the longitude"},
         {"snx_lat", [&](Lines& l) { l[id].replace(56, 3, "-95"); }, id + 1, "latitude of -90-90"},
         {"snx_value", [&](Lines& l) { l[est].replace(50, 3, "..."); }, est + 1, "estimated value in columns 48-68"},
         {"snx_unit", [&](Lines& l) { l[est].replace(40, 4, "mm  "); }, est + 1, "unit m in columns 41-44"},
         {"snx_epoch", [&](Lines& l) { l[est].replace(27, 12, "20-316-43200"); }, est + 1, "epoch YY:DDD:SSSSS"},
         {"snx_doy", [&](Lines& l) { l[est].replace(30, 3, "400"); }, est + 1, "day of year 1-366"},
         {"snx_soln", [&](Lines& l) { l[est].replace(22, 4, "  ab"); }, est + 1, "solution number"},
         {"snx_nested", [&](Lines& l) { l[id] = "+SITE/ANTENNA"; }, id + 1, "expected -SITE/ID before a new block"},
         {"snx_close", [&](Lines& l) { l[id] = "-SITE/RECEIVER"; }, id + 1, "-SITE/ID to close"},
         {"snx_stray", [&](Lines& l) { l[id] = "#stray"; }, id + 1, "expected a SINEX line"}},
        [](const std::string& path) { pppio::readSinex(path); });
}
