#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "TestFiles.h"
#include "io/ClockReader.h"
#include "io/GpsTime.h"
#include "io/PreciseClock.h"

using namespace testfiles;

namespace {

const char* kClock = "GRG0MGXFIN_20201770100_01H_30S_CLK_excerpt.CLK";

tagGPSTIME2 At(int hour, int minute, double second = 0.0)
{
    return pppio::gpsTimeFromCalendar(2020, 6, 25, hour, minute, second);
}

// Clock bias written in the AS line of a satellite at an epoch ("  1  0  0.000000").
double BiasInFile(const std::vector<std::string>& lines, const std::string& sat, const std::string& epoch)
{
    const size_t i = findLine(lines, "AS " + sat + "  2020  6 25" + epoch);
    return std::stod(lines[i].substr(40, 19));
}

// A small clock file of the given version with the given header lines and records.
std::string WriteClockFile(const std::string& name, const char* version, const std::vector<std::string>& header,
                           const std::vector<std::string>& records)
{
    std::vector<std::string> lines = {std::string(version) +
                                      "           CLOCK DATA          G                   RINEX VERSION / TYPE"};
    lines.insert(lines.end(), header.begin(), header.end());
    lines.push_back("                                                            END OF HEADER");
    lines.insert(lines.end(), records.begin(), records.end());
    const std::string path = scratchPath(name);
    writeLines(path, lines);
    return path;
}

}  // namespace

TEST(ClockReader, ReadsSatelliteRecordsAgainstTheFileText)
{
    const std::vector<std::string> lines = readLines(dataPath(kClock));
    const pppio::ClockFile file = pppio::readClock(dataPath(kClock));
    EXPECT_DOUBLE_EQ(file.header.version, 3.0);
    EXPECT_EQ(file.header.timeSystem, "GPS");
    EXPECT_EQ(file.header.leapSeconds, -1);
    EXPECT_EQ(file.referenceWeek, 2111);
    EXPECT_TRUE(file.warnings.empty());
    const auto& g01 = file.satellites[0];
    ASSERT_EQ(g01.size(), 122u);
    EXPECT_DOUBLE_EQ(g01[0].time, 4 * 86400.0 + 3600.0);
    EXPECT_DOUBLE_EQ(g01[0].bias, BiasInFile(lines, "G01", "  1  0  0.000000"));
    EXPECT_EQ(file.satellites[20].size(), 121u);   // G21 misses 01:50:00
    EXPECT_EQ(file.satellites[32].size(), 122u);   // R01
    EXPECT_TRUE(file.satellites[1].empty());
}

// Linear between samples, one missing sample bridged, extrapolation just
// beyond the ends only when asked; values from the AS lines of the file.
TEST(PreciseClock, InterpolatesBridgesAndExtrapolatesAsAsked)
{
    const std::vector<std::string> lines = readLines(dataPath(kClock));
    pppio::PreciseClock clocks;
    clocks.load(dataPath(kClock));
    EXPECT_DOUBLE_EQ(clocks.nominalInterval(1), 30.0);
    double c;
    const double a = BiasInFile(lines, "R01", "  1 20  0.000000");
    const double b = BiasInFile(lines, "R01", "  1 20 30.000000");
    ASSERT_TRUE(clocks.clock(33, At(1, 20, 0.0), c));
    EXPECT_DOUBLE_EQ(c, a);
    ASSERT_TRUE(clocks.clock(33, At(1, 20, 10.0), c));
    EXPECT_NEAR(c, a + (b - a) / 3.0, 1e-19);

    // G21 misses 01:50:00.
    const double before = BiasInFile(lines, "G21", "  1 49 30.000000");
    const double after = BiasInFile(lines, "G21", "  1 50 30.000000");
    ASSERT_TRUE(clocks.clock(21, At(1, 50, 0.0), c));
    EXPECT_NEAR(c, 0.5 * (before + after), 1e-19);
    EXPECT_FALSE(clocks.clock(1, At(0, 59, 59.0), c));   // outside the data
    EXPECT_FALSE(clocks.clock(1, At(2, 0, 31.0), c));
    EXPECT_TRUE(clocks.clock(1, At(2, 0, 30.0), c));
    EXPECT_FALSE(clocks.clock(2, At(1, 30, 0.0), c));    // not in the file
    EXPECT_FALSE(clocks.clock(200, At(1, 30, 0.0), c));
    clocks.setMaxGap(45.0);
    EXPECT_FALSE(clocks.clock(21, At(1, 50, 0.0), c));
    EXPECT_TRUE(clocks.clock(21, At(1, 49, 10.0), c));   // 30 s spacing is fine

    clocks.setEdgeExtrapolation(1.0);
    const double first = BiasInFile(lines, "G01", "  1  0  0.000000");
    const double second = BiasInFile(lines, "G01", "  1  0 30.000000");
    const double beforeLast = BiasInFile(lines, "G01", "  2  0  0.000000");
    const double last = BiasInFile(lines, "G01", "  2  0 30.000000");
    ASSERT_TRUE(clocks.clock(1, At(0, 59, 59.5), c));
    EXPECT_NEAR(c, first - (second - first) / 60.0, 1e-19);
    ASSERT_TRUE(clocks.clock(1, At(2, 0, 31.0), c));
    EXPECT_NEAR(c, last + (last - beforeLast) / 30.0, 1e-19);
    EXPECT_FALSE(clocks.clock(1, At(0, 59, 58.9), c));   // more than a second outside
    EXPECT_FALSE(clocks.clock(1, At(2, 0, 31.5), c));
}

// Files are merged in time order; at a common epoch the later file wins.
TEST(PreciseClock, MergesFilesAndTheLaterFileWins)
{
    const std::string early = WriteClockFile("clk_early", "     3.00", {"   GPS                                                      TIME SYSTEM ID"},
        {"AS G05  2020  6 25  0  0  0.000000  1    1.000000000000E-06",
         "AS G05  2020  6 25  0  5  0.000000  1    2.000000000000E-06"});
    const std::string late = WriteClockFile("clk_late", "     3.00", {},
        {"AS G05  2020  6 25  0  5  0.000000  1    2.500000000000E-06",
         "AS G05  2020  6 25  0 10  0.000000  1    3.000000000000E-06"});
    pppio::PreciseClock clocks;
    clocks.load(late);
    clocks.load(early);
    EXPECT_EQ(clocks.sampleCount(5), 3u);
    double c;
    ASSERT_TRUE(clocks.clock(5, At(0, 5), c));
    EXPECT_DOUBLE_EQ(c, 2.0e-6);   // loaded last
    ASSERT_TRUE(clocks.clock(5, At(0, 7, 30.0), c));
    EXPECT_DOUBLE_EQ(c, 2.5e-6);
}

// Version 2 (GPS time, 4-character names) and 3.04 (9-character names),
// receiver records and continuation lines skipped, UTC with leap seconds.
TEST(ClockReader, Versions2And304AndTimeSystems)
{
    const std::string v2 = WriteClockFile("clk_v2", "     2.00", {"    13                                                      LEAP SECONDS"},
        {"AR ALGO 2020 06 25 00 00  0.000000  2    1.234567890123E-06  1.000000000000E-10",
         "AS G 7  2020 06 25 00 00  0.000000  4    1.500000000000E-04  1.000000000000E-10",
         "    1.000000000000E-12  1.000000000000E-13",
         "AS R11  2020 06 25 00 00 30.000000  1   -2.500000000000D-05"});
    pppio::ClockFile file = pppio::readClock(v2);
    ASSERT_EQ(file.satellites[6].size(), 1u);
    EXPECT_DOUBLE_EQ(file.satellites[6][0].bias, 1.5e-4);
    EXPECT_DOUBLE_EQ(file.satellites[6][0].time, 4 * 86400.0);   // version 2 is GPS time
    ASSERT_EQ(file.satellites[42].size(), 1u);
    EXPECT_DOUBLE_EQ(file.satellites[42][0].bias, -2.5e-5);

    const std::string v304 = WriteClockFile("clk_v304", "     3.04",
        {"   UTC                                                      TIME SYSTEM ID",
         "    18                                                      LEAP SECONDS"},
        {"AR ALGO00CAN 2020 06 25 00 00  0.000000  2    1.234567890123E-06  1.000000000000E-10",
         "AS E12       2020 06 25 00 00  0.000000  1    7.000000000000E-04",
         "AS C19       2020 06 25 00 00  0.000000  1    8.000000000000E-04"});
    file = pppio::readClock(v304);
    EXPECT_EQ(file.header.timeSystem, "UTC");
    EXPECT_EQ(file.header.leapSeconds, 18);
    ASSERT_EQ(file.satellites[70].size(), 1u);
    EXPECT_DOUBLE_EQ(file.satellites[70][0].time, 4 * 86400.0 + 18.0);
    ASSERT_EQ(file.satellites[107].size(), 1u);
    EXPECT_DOUBLE_EQ(file.satellites[107][0].bias, 8.0e-4);
}

TEST(ClockReader, WantedSatellitesAndSatellitesWithoutPackedIndex)
{
    pppio::SatelliteSet wanted;
    wanted.add(60);
    const pppio::ClockFile excerpt = pppio::readClock(dataPath(kClock), wanted);
    size_t total = 0;
    for (const auto& samples : excerpt.satellites)
        total += samples.size();
    EXPECT_EQ(total, 122u);
    EXPECT_EQ(excerpt.satellites[59].size(), 122u);

    const std::string path = WriteClockFile("clk_e33", "     3.00", {},
        {"AS E33  2020  6 25  0  0  0.000000  1    1.000000000000E-06",
         "AS J01  2020  6 25  0  0  0.000000  1    1.000000000000E-06",
         "AS E01  2020  6 25  0  0  0.000000  1    1.000000000000E-06"});
    const pppio::ClockFile file = pppio::readClock(path);
    EXPECT_EQ(file.satellites[59].size(), 1u);
    ASSERT_EQ(file.warnings.size(), 1u);
    EXPECT_NE(file.warnings[0].find("skipped: E33 J01"), std::string::npos);
}

TEST(ClockReader, MalformedLinesNameFileAndLine)
{
    const std::vector<std::string> lines = readLines(dataPath(kClock));
    const size_t header = findLine(lines, std::string(60, ' ') + "END OF HEADER") + 1;
    const size_t r = findLine(lines, "AS ") + 10;   // index of a record line
    using Lines = std::vector<std::string>;
    expectMalformedCopies(kClock,
        {{"clk_version", [](Lines& l) { l[0].replace(0, 9, "     5.00"); }, 1, "version 2.x or 3.x"},
         {"clk_type", [](Lines& l) { l[0][20] = 'O'; }, 1, "file type C"},
         {"clk_label", [](Lines& l) { l[0].replace(60, 20, "SOMETHING ELSE"); }, 1, "RINEX VERSION / TYPE"},
         // An unsupported time system is known at the end of the header.
         {"clk_timesys", [](Lines& l) { l[3].replace(3, 3, "UTC"); }, header, "unsupported time system 'UTC'"},
         {"clk_bias", [&](Lines& l) { l[r].replace(45, 3, "x.y"); }, r + 1, "clock bias in columns 41-59"},
         {"clk_month", [&](Lines& l) { l[r].replace(12, 3, " 13"); }, r + 1, "valid epoch"},
         {"clk_minute", [&](Lines& l) { l[r].replace(21, 3, " ab"); }, r + 1, "the minute"},
         {"clk_satid", [&](Lines& l) { l[r][3] = 'X'; }, r + 1, "satellite identifier"},
         {"clk_record", [&](Lines& l) { l[r] = "XX garbage"; }, r + 1, "clock data record"}},
        [](const std::string& path) { pppio::readClock(path); });
}
