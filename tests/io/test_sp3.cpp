#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <string>
#include <vector>

#include "TestFiles.h"
#include "common/gnsscmn.h"
#include "io/GpsTime.h"
#include "io/PreciseOrbit.h"
#include "io/Sp3Reader.h"

using namespace testfiles;

namespace {

const char* kDayBefore = "GRG0MGXFIN_20201760000_1800_15M_ORB_excerpt.SP3";
const char* kDay = "GRG0MGXFIN_20201770000_0600_15M_ORB_excerpt.SP3";

tagGPSTIME2 At(int day, int hour, int minute, double second = 0.0)
{
    return pppio::gpsTimeFromCalendar(2020, 6, day, hour, minute, second);
}

double Distance(const double a[3], const double b[3])
{
    return std::sqrt((a[0] - b[0]) * (a[0] - b[0]) + (a[1] - b[1]) * (a[1] - b[1]) + (a[2] - b[2]) * (a[2] - b[2]));
}

// Position of a P line of the file, in m.
void PositionOfLine(const std::string& line, double xyz[3])
{
    for (int k = 0; k < 3; ++k)
        xyz[k] = std::stod(line.substr(4 + 14 * k, 14)) * 1000.0;
}

// Index of the P line of a satellite in the epoch block starting with the epoch text.
size_t RecordLine(const std::vector<std::string>& lines, const std::string& epoch, const std::string& sat)
{
    const size_t start = findLine(lines, epoch);
    return findLine(lines, "P" + sat, start);
}

// Copy of the day's file without one P record, whose position is returned in truth.
std::string WithoutRecord(const std::string& epoch, const std::string& sat, double truth[3])
{
    std::vector<std::string> lines = readLines(dataPath(kDay));
    const size_t index = RecordLine(lines, epoch, sat);
    PositionOfLine(lines[index], truth);
    lines.erase(lines.begin() + static_cast<long>(index));
    const std::string path = scratchPath("sp3_without_" + sat + ".SP3");
    writeLines(path, lines);
    return path;
}

}  // namespace

TEST(Sp3Reader, HeaderAndRecordsMatchTheFileText)
{
    const pppio::Sp3File file = pppio::readSp3(dataPath(kDay));
    EXPECT_EQ(file.header.version, 'c');
    EXPECT_FALSE(file.header.hasVelocities);
    EXPECT_EQ(file.header.numberOfEpochs, 25);
    EXPECT_DOUBLE_EQ(file.header.interval, 900.0);
    EXPECT_EQ(file.header.timeSystem, "GPS");
    EXPECT_DOUBLE_EQ(file.header.start.sow, 345600.0);
    ASSERT_EQ(file.header.satellites.size(), 8u);
    EXPECT_EQ(file.header.satellites[4], "R01");
    EXPECT_TRUE(file.complete);
    EXPECT_TRUE(file.warnings.empty());
    ASSERT_EQ(file.epochs.size(), 25u);
    EXPECT_DOUBLE_EQ(file.epochs[24].time.sow, 345600.0 + 6 * 3600.0);

    // PG01 -14327.046134  21893.585361  -3563.654070     15.969564 at 01:00
    const pppio::Sp3Epoch& epoch = file.epochs[4];
    const pppio::Sp3Entry* g01 = nullptr;
    for (const auto& e : epoch.entries)
        if (e.iprn == 1)
            g01 = &e;
    ASSERT_NE(g01, nullptr);
    EXPECT_TRUE(g01->hasPosition && g01->hasClock && !g01->hasVelocity);
    EXPECT_DOUBLE_EQ(g01->position[0], -14327046.134);
    EXPECT_DOUBLE_EQ(g01->position[1], 21893585.361);
    EXPECT_DOUBLE_EQ(g01->position[2], -3563654.070);
    EXPECT_DOUBLE_EQ(g01->clock, 15.969564e-6);
    EXPECT_EQ(epoch.entries.size(), 8u);
}

// Each satellite's 03:00 record is left out; the 10-point polynomial through
// the neighbours (a 30-min hole in the middle) must reproduce it, and its
// derivative must agree with the change of position.
TEST(PreciseOrbit, LagrangeReproducesALeftOutRecordAndItsVelocity)
{
    for (const char* sat : {"G01", "G02", "G05", "G21", "R01", "R02", "E01", "E02"}) {
        double truth[3];
        pppio::PreciseOrbit orbit;
        orbit.load(WithoutRecord("*  2020  6 25  3  0", sat, truth));
        const int iprn = prn2iprn(std::stoi(std::string(sat + 1)), sat[0]);
        double xyz[3], v[3], before[3], after[3];
        ASSERT_TRUE(orbit.position(iprn, At(25, 3, 0), xyz, v)) << sat;
        EXPECT_LT(Distance(xyz, truth), 0.01) << sat;
        ASSERT_TRUE(orbit.position(iprn, At(25, 2, 59, 59.5), before));
        ASSERT_TRUE(orbit.position(iprn, At(25, 3, 0, 0.5), after));
        for (int k = 0; k < 3; ++k)
            EXPECT_NEAR(v[k], after[k] - before[k], 1e-3) << sat;
    }
}

// Two days merged in either load order give the same positions; at the
// start of one day alone the window shifts and the polynomial is used
// off-centre, close to the centred window of the merged days. A left-out
// 00:00 record is reproduced from samples mostly of the day before.
TEST(PreciseOrbit, MergedDaysAndTheShiftedWindowAtTheDataEnd)
{
    double truth[3], xyz[3];
    pppio::PreciseOrbit across;
    across.load(dataPath(kDayBefore));
    across.load(WithoutRecord("*  2020  6 25  0  0", "G05", truth));
    ASSERT_TRUE(across.position(5, At(25, 0, 0), xyz));
    EXPECT_LT(Distance(xyz, truth), 0.01);

    pppio::PreciseOrbit day, forward, backward;
    day.load(dataPath(kDay));
    forward.load(dataPath(kDayBefore));
    forward.load(dataPath(kDay));
    backward.load(dataPath(kDay));
    backward.load(dataPath(kDayBefore));
    EXPECT_EQ(forward.sampleCount(33), 49u);
    EXPECT_DOUBLE_EQ(forward.nominalInterval(33), 900.0);
    for (double minute : {-50.0, -7.5, 0.0, 7.5, 52.0}) {
        const tagGPSTIME2 t = pppio::shiftedTime(At(25, 0, 0), minute * 60.0);
        double a[3], b[3];
        ASSERT_TRUE(forward.position(33, t, a));
        ASSERT_TRUE(backward.position(33, t, b));
        EXPECT_EQ(Distance(a, b), 0.0);
    }
    for (int iprn : {1, 2, 5, 21, 33, 34, 60, 61}) {
        double edge[3], centred[3];
        ASSERT_TRUE(day.position(iprn, At(25, 0, 7, 30.0), edge));
        ASSERT_TRUE(forward.position(iprn, At(25, 0, 7, 30.0), centred));
        EXPECT_LT(Distance(edge, centred), 0.05) << iprn;
    }
}

// Clocks linear between records (PR01 63.571941 us at 01:00, the 01:15
// value read from the file); nothing outside the data or for unknown satellites.
TEST(PreciseOrbit, ClockIsLinearAndNothingOutsideTheData)
{
    pppio::PreciseOrbit orbit;
    double xyz[3], clock;
    EXPECT_FALSE(orbit.position(1, At(25, 1, 0), xyz));   // nothing loaded
    orbit.load(dataPath(kDay));
    const std::vector<std::string> lines = readLines(dataPath(kDay));
    const double next = std::stod(lines[RecordLine(lines, "*  2020  6 25  1 15", "R01")].substr(46, 14));
    ASSERT_TRUE(orbit.clock(33, At(25, 1, 0), clock));
    EXPECT_DOUBLE_EQ(clock, 63.571941e-6);
    ASSERT_TRUE(orbit.clock(33, At(25, 1, 5), clock));
    EXPECT_NEAR(clock, (63.571941 + (next - 63.571941) / 3.0) * 1e-6, 1e-18);

    EXPECT_TRUE(orbit.position(1, At(25, 0, 0), xyz));    // first and last epochs
    EXPECT_TRUE(orbit.position(1, At(25, 6, 0), xyz));
    EXPECT_FALSE(orbit.position(1, At(24, 23, 59, 59.0), xyz));
    EXPECT_FALSE(orbit.position(1, At(25, 6, 0, 1.0), xyz));
    EXPECT_FALSE(orbit.position(3, At(25, 1, 0), xyz));   // not in the file
    EXPECT_FALSE(orbit.position(125, At(25, 1, 0), xyz));
    EXPECT_FALSE(orbit.clock(125, At(25, 1, 0), clock));
}

// Extrapolation past the end of the day before and before the start of the
// day, against the records of the other day; refused beyond the set limit.
TEST(PreciseOrbit, ExtrapolatesAQuarterHourBeyondTheData)
{
    pppio::PreciseOrbit before, day, both;
    before.load(dataPath(kDayBefore));
    day.load(dataPath(kDay));
    both.load(dataPath(kDayBefore));
    both.load(dataPath(kDay));
    before.setExtrapolation(900.0);
    day.setExtrapolation(900.0);
    tagGPSTIME2 first, last;
    ASSERT_TRUE(before.span(first, last));
    EXPECT_EQ(pppio::secondsBetween(last, At(24, 23, 45)), 0.0);
    // An extrapolation that the shorter polynomial contradicts is refused:
    // the satellites answered are counted.
    const struct {
        const pppio::PreciseOrbit* orbit;
        double minutes;     // from 2020-06-25 00:00
        double tolerance;   // m
        int answered;       // of 8 at least
    } cases[] = {{&before, -7.5, 0.2, 8}, {&before, -0.5, 1.0, 5}, {&day, -7.5, 0.2, 8}, {&day, -14.5, 1.0, 5}};
    for (const auto& c : cases) {
        const tagGPSTIME2 t = pppio::shiftedTime(At(25, 0, 0), c.minutes * 60.0);
        int answered = 0;
        for (int iprn : {1, 2, 5, 21, 33, 34, 60, 61}) {
            SCOPED_TRACE(std::to_string(c.minutes) + " min, satellite " + std::to_string(iprn));
            double p[3], v[3], truth[3], a[3], b[3];
            if (!c.orbit->position(iprn, t, p, v))
                continue;
            ++answered;
            ASSERT_TRUE(both.position(iprn, t, truth));
            EXPECT_LT(Distance(p, truth), c.tolerance);
            if (c.orbit->position(iprn, pppio::shiftedTime(t, -0.5), a) &&
                c.orbit->position(iprn, pppio::shiftedTime(t, 0.5), b)) {
                for (int k = 0; k < 3; ++k)
                    EXPECT_NEAR(v[k], b[k] - a[k], 1e-3);
            }
        }
        EXPECT_GE(answered, c.answered) << c.minutes;
    }
    double xyz[3];
    EXPECT_FALSE(before.position(1, At(25, 0, 0, 1.0), xyz));
    EXPECT_FALSE(day.position(1, At(24, 23, 44, 59.0), xyz));
}

TEST(PreciseOrbit, GapLimitAndBadRecords)
{
    std::vector<std::string> lines = readLines(dataPath(kDay));
    // G01: one missing epoch (02:00) is interpolated across, two (04:00, 04:15) are not.
    for (const char* epoch : {"*  2020  6 25  2  0", "*  2020  6 25  4  0", "*  2020  6 25  4 15"})
        lines.erase(lines.begin() + static_cast<long>(RecordLine(lines, epoch, "G01")));
    // G02: bad position marker at 03:00, absent clock at 01:00.
    size_t bad = RecordLine(lines, "*  2020  6 25  3  0", "G02");
    lines[bad] = "PG02      0.000000      0.000000      0.000000 999999.999999";
    size_t noClock = RecordLine(lines, "*  2020  6 25  1  0", "G02");
    lines[noClock].replace(46, 14, " 999999.999999");
    const std::string path = scratchPath("sp3_gaps.SP3");
    writeLines(path, lines);

    pppio::PreciseOrbit orbit;
    orbit.load(path);
    double xyz[3], clock;
    EXPECT_TRUE(orbit.position(1, At(25, 2, 0), xyz));
    EXPECT_TRUE(orbit.clock(1, At(25, 2, 0), clock));
    EXPECT_FALSE(orbit.position(1, At(25, 4, 5), xyz));
    EXPECT_FALSE(orbit.clock(1, At(25, 4, 5), clock));
    EXPECT_TRUE(orbit.position(1, At(25, 3, 40), xyz));   // the window ends before the gap
    orbit.setMaxGap(3000.0);
    EXPECT_TRUE(orbit.position(1, At(25, 4, 5), xyz));
    orbit.setMaxGap(0.0);

    EXPECT_FALSE(orbit.position(2, At(25, 3, 0), xyz));
    EXPECT_FALSE(orbit.position(2, At(25, 3, 10), xyz));
    EXPECT_TRUE(orbit.position(2, At(25, 2, 40), xyz));   // shifted window, before the bad record
    EXPECT_FALSE(orbit.clock(2, At(25, 0, 50), clock));
    EXPECT_TRUE(orbit.clock(2, At(25, 1, 20), clock));
    EXPECT_TRUE(orbit.position(2, At(25, 1, 0), xyz));   // the position of that record is fine
}

// SP3-d with V records: velocities come from the records.
TEST(PreciseOrbit, VelocityRecordsOfSp3d)
{
    pppio::PreciseOrbit derived;
    derived.load(dataPath(kDay));
    const std::string path = editedCopy(kDay, "sp3d_velocities.SP3", [&](std::vector<std::string>& lines) {
        lines[0][1] = 'd';
        lines[0][2] = 'V';
        tagGPSTIME2 epoch = At(25, 0, 0);
        for (size_t i = 0; i < lines.size(); ++i) {
            if (lines[i][0] == '*')
                epoch = At(25, std::stoi(lines[i].substr(14, 2)), std::stoi(lines[i].substr(17, 2)));
            if (lines[i][0] != 'P')
                continue;
            const int iprn = prn2iprn(std::stoi(lines[i].substr(2, 2)), lines[i][1]);
            double p[3], v[3];
            ASSERT_TRUE(derived.position(iprn, epoch, p, v));
            char text[128];
            std::snprintf(text, sizeof text, "V%s%14.6f%14.6f%14.6f%14.6f", lines[i].substr(1, 3).c_str(), v[0] * 10.0,
                          v[1] * 10.0, v[2] * 10.0, -0.1234);
            lines.insert(lines.begin() + static_cast<long>(i) + 1, text);
        }
    });
    const pppio::Sp3File file = pppio::readSp3(path);
    EXPECT_EQ(file.header.version, 'd');
    EXPECT_TRUE(file.header.hasVelocities);
    const pppio::Sp3Entry& entry = file.epochs[2].entries[0];
    EXPECT_TRUE(entry.hasVelocity && entry.hasClockRate);
    EXPECT_DOUBLE_EQ(entry.clockRate, -0.1234e-10);

    pppio::PreciseOrbit recorded;
    recorded.add(file);
    double p[3], v[3], vd[3];
    ASSERT_TRUE(recorded.position(60, At(25, 0, 30), p, v));
    EXPECT_DOUBLE_EQ(v[0], entry.velocity[0]);
    // Between the records: interpolated V values agree with the derivative to 1 mm/s.
    ASSERT_TRUE(recorded.position(60, At(25, 2, 7, 30.0), p, v));
    ASSERT_TRUE(derived.position(60, At(25, 2, 7, 30.0), p, vd));
    for (int k = 0; k < 3; ++k)
        EXPECT_NEAR(v[k], vd[k], 1e-3);
}

// Where two files hold the same epoch, the one loaded last wins, except
// where it has no value.
TEST(PreciseOrbit, LaterFileWinsAtTheSameEpoch)
{
    const std::string later = editedCopy(kDay, "sp3_later.SP3", [](std::vector<std::string>& lines) {
        const size_t g01 = RecordLine(lines, "*  2020  6 25  1  0", "G01");
        lines[g01] = "PG01 -14327.000000  21893.000000  -3563.000000 999999.999999";
        const size_t g02 = RecordLine(lines, "*  2020  6 25  1  0", "G02");
        lines[g02] = "PG02      0.000000      0.000000      0.000000    -477.000000";
    });
    const std::string earlier = dataPath(kDay);
    pppio::PreciseOrbit orbit;
    orbit.load(earlier);
    orbit.load(later);
    EXPECT_EQ(orbit.sampleCount(1), 25u);
    double xyz[3], clock;
    ASSERT_TRUE(orbit.position(1, At(25, 1, 0), xyz));
    EXPECT_DOUBLE_EQ(xyz[0], -14327000.0);
    ASSERT_TRUE(orbit.clock(1, At(25, 1, 0), clock));
    EXPECT_DOUBLE_EQ(clock, 15.969564e-6);   // the later file has no clock there
    ASSERT_TRUE(orbit.position(2, At(25, 1, 0), xyz));
    EXPECT_DOUBLE_EQ(xyz[0], 19135899.274);   // the later file has no position there
    ASSERT_TRUE(orbit.clock(2, At(25, 1, 0), clock));
    EXPECT_DOUBLE_EQ(clock, -477.0e-6);
}

TEST(Sp3Reader, WantedSatellitesAndSatellitesWithoutPackedIndex)
{
    const std::string path = editedCopy(kDay, "sp3_e33.SP3", [](std::vector<std::string>& lines) {
        const size_t e02 = RecordLine(lines, "*  2020  6 25  0  0", "E02");
        lines.insert(lines.begin() + static_cast<long>(e02) + 1,
                     "PE33 -15350.050628  24911.355510  -4440.468410   -465.697263");
    });
    pppio::SatelliteSet wanted;
    wanted.add(33);
    const pppio::Sp3File file = pppio::readSp3(path, wanted);
    ASSERT_EQ(file.epochs.size(), 25u);
    ASSERT_EQ(file.epochs[0].entries.size(), 1u);
    EXPECT_EQ(file.epochs[0].entries[0].iprn, 33);
    ASSERT_EQ(file.warnings.size(), 1u);
    EXPECT_NE(file.warnings[0].find("skipped: E33"), std::string::npos);
}

TEST(Sp3Reader, MalformedLinesNameFileAndLine)
{
    // Lines of the file: 13 the first %c line, 23 the first epoch, 31 and 42 P records.
    using Lines = std::vector<std::string>;
    expectMalformedCopies(kDay,
        {{"sp3_first", [](Lines& l) { l[0][1] = 'a'; }, 1, "SP3-c or SP3-d"},
         {"sp3_flag", [](Lines& l) { l[0][2] = 'X'; }, 1, "flag P or V"},
         {"sp3_interval", [](Lines& l) { l[1].replace(24, 14, "          abc "); }, 2, "epoch interval"},
         {"sp3_timesys", [](Lines& l) { l[12].replace(9, 3, "UTC"); }, 13, "time system 'UTC'"},
         {"sp3_header", [](Lines& l) { l[14] = "garbage"; }, 15, "SP3 header line"},
         {"sp3_epoch", [](Lines& l) { l[22].replace(8, 2, "13"); }, 23, "valid date"},
         {"sp3_coord", [](Lines& l) { l[30].replace(20, 3, "x.y"); }, 31, "a coordinate in columns 19-32"},
         {"sp3_record", [](Lines& l) { l[41] = "Q something"; }, 42, "SP3 record"},
         {"sp3_satid", [](Lines& l) { l[41][1] = 'X'; }, 42, "satellite identifier"}},
        [](const std::string& path) { pppio::readSp3(path); });
}
