#include <gtest/gtest.h>

#include <cstring>
#include <functional>
#include <utility>
#include <vector>
#include <string>

#include "TestFiles.h"
#include "io/AmbiguityExport.h"
#include "io/AntennaTable.h"
#include "io/AntexReader.h"
#include "io/BiasSinexReader.h"
#include "io/ClockReader.h"
#include "io/FieldParse.h"
#include "io/GpsTime.h"
#include "io/Lagrange.h"
#include "io/NavReader.h"
#include "io/PreciseClock.h"
#include "io/SatelliteId.h"
#include "io/SinexReader.h"
#include "io/Sp3Reader.h"
#include "io/UpdFile.h"

using pppio::FieldStatus;

namespace {

FieldStatus Real(const char* text, double& value)
{
    return pppio::parseReal(text, std::strlen(text), value);
}

FieldStatus Integer(const char* text, long& value)
{
    return pppio::parseInteger(text, std::strlen(text), value);
}

}  // namespace

// Fortran-style numbers of the product formats, and beyond 2^53 or 10^22
// where the conversion takes the slow path: still correctly rounded.
TEST(FieldParse, RealNumbersOfTheProductFormats)
{
    const struct {
        const char* text;
        double value;
    } cases[] = {
        {" -11562.163582", -11562.163582},
        {"   -0.884707516318E-03", -0.884707516318E-03},
        {" 5.153707128525e+03", 5153.707128525},
        {"-2.500000000000D-05", -2.5e-05},
        {"    .999999999999e+09", 0.999999999999e9},
        {"5.", 5.0},
        {"+7", 7.0},
        {"  999999.999999", 999999.999999},
        {" -1234567890.123456789012 ", -1234567890.123456789012},
        {"12345678901234567890123", 12345678901234567890123.0},
        {"1.5e-30", 1.5e-30},
        {"0.000000000000000000000000123", 1.23e-25},
    };
    for (const auto& c : cases) {
        double v = 0.0;
        ASSERT_EQ(Real(c.text, v), FieldStatus::Ok) << c.text;
        EXPECT_EQ(v, c.value) << c.text;
    }
}

TEST(FieldParse, BlankAndMalformedFields)
{
    double v = 42.0;
    EXPECT_EQ(Real("      ", v), FieldStatus::Blank);
    EXPECT_EQ(Real("", v), FieldStatus::Blank);
    const std::string tooLong = "1" + std::string(70, '0');
    for (const char* bad : {"1.2.3", "1e", "1e+", "+", "-", ".", "1 2", "x", "12a", "--1", "1,5", "0x10", "e5", "nan",
                            "1e999", tooLong.c_str()})
        EXPECT_EQ(Real(bad, v), FieldStatus::Bad) << bad;
    EXPECT_EQ(v, 42.0);   // untouched on failure

    long n = 0;
    ASSERT_EQ(Integer("  -19", n), FieldStatus::Ok);
    EXPECT_EQ(n, -19);
    EXPECT_EQ(Integer("   ", n), FieldStatus::Blank);
    for (const char* bad : {"1.0", "1 2", "-", "12x", "1234567890"})
        EXPECT_EQ(Integer(bad, n), FieldStatus::Bad) << bad;
}

TEST(FieldParse, FieldsOfALineAreClippedAtItsEnd)
{
    const std::string line = "PG01 -14327.046134";
    double v = 0.0;
    ASSERT_EQ(pppio::realAt(line, 4, 14, v), FieldStatus::Ok);
    EXPECT_EQ(v, -14327.046134);
    EXPECT_EQ(pppio::realAt(line, 10, 14, v), FieldStatus::Ok);   // "7.046134"
    EXPECT_EQ(pppio::realAt(line, 18, 14, v), FieldStatus::Blank);
    EXPECT_EQ(pppio::realAt(line, 100, 14, v), FieldStatus::Blank);
    EXPECT_EQ(pppio::trimmedField(line, 0, 5), "PG01");
    EXPECT_EQ(pppio::trimmedField(line, 50, 5), "");
    EXPECT_TRUE(pppio::hasTextAt(line, 1, "G01"));
    EXPECT_FALSE(pppio::hasTextAt(line, 16, "345"));
}

TEST(SatelliteId, IdentifiersAndPackedIndexes)
{
    EXPECT_EQ(pppio::parseSatelliteId("G32"), 32);
    EXPECT_EQ(pppio::parseSatelliteId(" 05"), 5);    // blank system: GPS
    EXPECT_EQ(pppio::parseSatelliteId("G 7"), 7);
    EXPECT_EQ(pppio::parseSatelliteId("R01"), 33);
    EXPECT_EQ(pppio::parseSatelliteId("E01"), 60);
    EXPECT_EQ(pppio::parseSatelliteId("E30"), 89);
    EXPECT_EQ(pppio::parseSatelliteId("C35"), 124);
    for (const char* none : {"G33", "R28", "E31", "C36", "J01", "S23", "I05", "G00"})
        EXPECT_EQ(pppio::parseSatelliteId(none), 0) << none;
    for (const char* bad : {"X01", "G0A", "GAB", "g01", "G-1"})
        EXPECT_EQ(pppio::parseSatelliteId(bad), -1) << bad;
    EXPECT_EQ(pppio::satelliteName(59), "R27");
    EXPECT_EQ(pppio::satelliteName(125), "???");

    pppio::SatelliteSet set;
    set.add(60);
    EXPECT_TRUE(set.contains(60) && !set.contains(61));
    EXPECT_TRUE(pppio::SatelliteSet::all().contains(124));
}

TEST(GpsTime, CalendarChecksAndConversion)
{
    EXPECT_TRUE(pppio::validCalendar(2020, 2, 29, 0, 0, 0.0));
    EXPECT_FALSE(pppio::validCalendar(2021, 2, 29, 0, 0, 0.0));
    EXPECT_FALSE(pppio::validCalendar(2100, 2, 29, 0, 0, 0.0));
    EXPECT_FALSE(pppio::validCalendar(2020, 4, 31, 0, 0, 0.0));
    EXPECT_TRUE(pppio::validCalendar(2020, 6, 25, 24, 0, 0.0));   // 24:00 is written by some programs
    EXPECT_FALSE(pppio::validCalendar(2020, 6, 25, 12, 60, 0.0));

    // 2020-06-25 is the Thursday of GPS week 2111; 24:00 is the next day.
    const tagGPSTIME2 t = pppio::gpsTimeFromCalendar(2020, 6, 25, 24, 0, 0.0);
    EXPECT_EQ(t.week, 2111);
    EXPECT_DOUBLE_EQ(t.sow, 5 * 86400.0);
    const tagGPSTIME2 sunday = pppio::gpsTimeFromCalendar(2020, 6, 28, 0, 0, 0.0);
    EXPECT_EQ(sunday.week, 2112);
    EXPECT_DOUBLE_EQ(sunday.sow, 0.0);
    const tagGPSTIME2 back = pppio::shiftedTime(sunday, -0.5);
    EXPECT_EQ(back.week, 2111);
    EXPECT_DOUBLE_EQ(back.sow, 604799.5);
    const tagGPSTIME2 ahead = pppio::shiftedTime(back, 2 * 604800.0 + 1.0);
    EXPECT_EQ(ahead.week, 2114);
    EXPECT_DOUBLE_EQ(ahead.sow, 0.5);
    EXPECT_DOUBLE_EQ(pppio::secondsBetween(ahead, back), 2 * 604800.0 + 1.0);
}

TEST(GpsTime, TimeSystemsAndLeapSeconds)
{
    double offset = 1.0;
    ASSERT_TRUE(pppio::timeSystemToGps("GPS", -1, offset));
    EXPECT_EQ(offset, 0.0);
    ASSERT_TRUE(pppio::timeSystemToGps("BDT", -1, offset));
    EXPECT_EQ(offset, 14.0);
    ASSERT_TRUE(pppio::timeSystemToGps("TAI", -1, offset));
    EXPECT_EQ(offset, -19.0);
    EXPECT_FALSE(pppio::timeSystemToGps("UTC", -1, offset));
    ASSERT_TRUE(pppio::timeSystemToGps("UTC", 18, offset));
    EXPECT_EQ(offset, 18.0);
    ASSERT_TRUE(pppio::timeSystemToGps("GLO", 18, offset));
    EXPECT_EQ(offset, 18.0 - 10800.0);
    EXPECT_FALSE(pppio::timeSystemToGps("XYZ", 18, offset));

    EXPECT_EQ(pppio::leapSecondsAt(pppio::gpsTimeFromCalendar(2016, 12, 31, 23, 59, 0.0)), 17);
    EXPECT_EQ(pppio::leapSecondsAt(pppio::gpsTimeFromCalendar(2017, 1, 1, 0, 0, 18.0)), 18);
    EXPECT_EQ(pppio::leapSecondsAt(pppio::gpsTimeFromCalendar(1980, 1, 6, 0, 0, 0.0)), 0);
}

// A cubic is reproduced exactly by 4 or more nodes, with its derivative,
// also at a node and with unevenly spaced nodes.
TEST(Lagrange, ReproducesPolynomialsAndTheirDerivatives)
{
    auto f = [](double x) { return 2.0 - 3.0 * x + 0.5 * x * x * x; };
    auto df = [](double x) { return -3.0 + 1.5 * x * x; };
    const double nodes[5] = {-2.0, -0.5, 1.0, 1.5, 4.0};
    double y[5], w[5], dw[5];
    for (int i = 0; i < 5; ++i)
        y[i] = f(nodes[i]);
    for (double t : {-1.3, 0.0, 1.0, 3.7}) {
        pppio::lagrangeWeights(nodes, 5, t, w, dw);
        double value = 0.0, slope = 0.0;
        for (int i = 0; i < 5; ++i) {
            value += w[i] * y[i];
            slope += dw[i] * y[i];
        }
        EXPECT_NEAR(value, f(t), 1e-12) << t;
        EXPECT_NEAR(slope, df(t), 1e-12) << t;
    }
}

// Every reader, given pseudo-random bytes alone and after a valid start of
// its format, an empty file or no file, throws a ReadError.
TEST(Readers, GarbageEmptyAndMissingFilesAreErrorsNotCrashes)
{
    const std::string label = std::string(60, ' ');
    std::string sp3Head;   // the SP3 header and first epoch line
    for (const std::string& line : testfiles::readLines(testfiles::dataPath("GRG0MGXFIN_20201770000_0600_15M_ORB_excerpt.SP3"))) {
        sp3Head += line + "\n";
        if (line[0] == '*')
            break;
    }
    const struct {
        const char* name;
        std::function<void(const std::string&)> read;
        std::vector<std::string> heads;
    } readers[] = {
        {"SP3", [](const std::string& p) { pppio::readSp3(p); }, {sp3Head}},
        {"navigation", [](const std::string& p) { pppio::readNav(p); },
         {"     3.04           N                   M                   RINEX VERSION / TYPE\n" + label + "END OF HEADER\n"}},
        {"clock", [](const std::string& p) { pppio::readClock(p); },
         {"     3.00           C", "     3.00           C                                       RINEX VERSION / TYPE\n" +
                                       label + "END OF HEADER\n"}},
        {"ANTEX", [](const std::string& p) { pppio::readAntex(p); },
         {"     1.4            M                                       ANTEX VERSION / SYST\n" + label + "END OF HEADER\n" +
          label + "START OF ANTENNA\n"}},
        {"SINEX", [](const std::string& p) { pppio::readSinex(p); },
         {"%=SNX 2.02\n+SITE/ID\n", "%=SNX 2.02\n+SOLUTION/ESTIMATE\n"}},
        {"UPD", [](const std::string& p) { pppio::UpdProduct::read(p); }, {"% ppplib UPD 1.0\n% NL_INTERVAL 900\n"}},
        {"ambiguities", [](const std::string& p) { pppio::readAmbiguityExport(p); }, {"% ppplib float ambiguities 1.0\n"}},
        {"Bias-SINEX", [](const std::string& p) { pppio::BiasSinex::read(p); }, {"%=BIA 1.00 PPL\n+BIAS/SOLUTION\n"}},
    };
    for (const auto& r : readers) {
        SCOPED_TRACE(r.name);
        std::vector<std::string> heads = r.heads;
        heads.push_back("");
        testfiles::expectGarbageRejected(heads, r.read);
        const std::string empty = testfiles::scratchPath("empty");
        testfiles::writeText(empty, "");
        EXPECT_THROW(r.read(empty), pppio::ReadError);
        EXPECT_THROW(r.read(testfiles::scratchPath("does_not_exist")), pppio::ReadError);
    }
}

// Files cut short keep the records read before the cut, with warnings
// naming the line of the incomplete record. A cut is placed on the `delta`th
// line after the `occurrence`th line starting with `prefix`, keeping `keep`
// characters of it (0: cut before it).
TEST(Readers, TruncatedFilesKeepTheCompleteRecords)
{
    using Read = std::function<std::pair<long, std::vector<std::string>>(const std::string&)>;
    const Read sp3 = [](const std::string& p) {   // records: satellite entries
        const pppio::Sp3File f = pppio::readSp3(p);
        long n = 0;
        for (const pppio::Sp3Epoch& e : f.epochs)
            n += static_cast<long>(e.entries.size());
        EXPECT_FALSE(f.complete);
        return std::make_pair(n, f.warnings);
    };
    const Read nav = [](const std::string& p) {
        const pppio::NavFile f = pppio::readNav(p);
        return std::make_pair(static_cast<long>(f.kepler.size() + f.glonass.size()), f.warnings);
    };
    const Read clock = [](const std::string& p) {   // records: R01 and E01 samples
        pppio::PreciseClock c;
        c.load(p);
        return std::make_pair(static_cast<long>(c.sampleCount(33) * 10 + c.sampleCount(60)), c.warnings());
    };
    const Read antex = [](const std::string& p) {
        pppio::AntennaTable t;
        t.load(p);
        return std::make_pair(static_cast<long>(t.size()), t.warnings());
    };
    const Read sinex = [](const std::string& p) {   // records: sites with a position
        pppio::SinexSites sites;
        sites.load(p);
        long n = 0;
        for (const char* code : {"AB09", "ABPO", "BRUX", "ONSA", "SUTH", "WTZR"})
            n += sites.site(code) && sites.site(code)->hasPosition;
        return std::make_pair(n, sites.warnings());
    };
    const struct {
        const char* file;
        const char* prefix;
        int occurrence, delta;
        size_t keep;
        const Read& read;
        long records;           // negative: that many fewer than the whole file
        size_t warnings;
        std::string first;      // part of the first warning; '@' stands for the line of the prefix
    } cuts[] = {
        {"GRG0MGXFIN_20201770000_0600_15M_ORB_excerpt.SP3", "PG02", 3, 0, 30, sp3, 8 + 8 + 5, 2, ":@: incomplete last record"},
        {"GRG0MGXFIN_20201770000_0600_15M_ORB_excerpt.SP3", "PG02", 3, 0, 0, sp3, 8 + 8 + 5, 1, "no EOF line"},
        {"GRG0MGXFIN_20201770000_0600_15M_ORB_excerpt.SP3", "*", 1, 0, 0, sp3, 0, 1, "no epoch records"},
        {"ESBC00DNK_R_20201770000_MN_excerpt.rnx", "R24", 1, 3, 0, nav, -1, 2, ":@: record of R24 incomplete"},
        {"ESBC00DNK_R_20201770000_MN_excerpt.rnx", "R24", 1, 2, 30, nav, -1, 2, ":@: record of R24 incomplete"},
        {"ESBC00DNK_R_20201770000_MN_excerpt.rnx", "", 1, 5, 0, nav, 0, 1, "no END OF HEADER"},
        // The 10th AS record is R01's of the third epoch.
        {"GRG0MGXFIN_20201770100_01H_30S_CLK_excerpt.CLK", "AS ", 10, 0, 30, clock, 2 * 10 + 3, 1, ":@: incomplete last record"},
        {"GRG0MGXFIN_20201770100_01H_30S_CLK_excerpt.CLK", "AS ", 1, -1, 0, clock, 0, 1, "no END OF HEADER"},
        // Inside the G02 block of the last antenna, at a line end and inside a line of its grid.
        {"igs08_1719_excerpt.atx", "ASH701945E_M    SCIS", 1, 12, 0, antex, -1, 1, "antenna 'ASH701945E_M SCIS' incomplete"},
        {"igs08_1719_excerpt.atx", "ASH701945E_M    SCIS", 1, 11, 30, antex, -1, 1, "incomplete last record"},
        {"igs20P2131_excerpt.snx", "  1589 STAY   WTZR", 1, 0, 40, sinex, -1, 2, "incomplete last record"},
    };
    for (const auto& c : cuts) {
        SCOPED_TRACE(std::string(c.file) + " at " + c.prefix);
        const std::vector<std::string> lines = testfiles::readLines(testfiles::dataPath(c.file));
        size_t at = 0;
        for (int k = 0; k < c.occurrence; ++k)
            at = testfiles::findLine(lines, c.prefix, k ? at + 1 : 0);
        const size_t cut = static_cast<size_t>(static_cast<long>(at) + c.delta);
        std::vector<std::string> kept(lines.begin(), lines.begin() + static_cast<long>(cut) + (c.keep ? 1 : 0));
        if (c.keep)
            kept.back().resize(c.keep);
        const std::string path = testfiles::scratchPath("cut");
        testfiles::writeLines(path, kept, c.keep != 0);
        const auto read = c.read(path);
        EXPECT_EQ(read.first, c.records >= 0 ? c.records : c.read(testfiles::dataPath(c.file)).first + c.records);
        ASSERT_EQ(read.second.size(), c.warnings);
        std::string first = c.first;
        if (first.find('@') != std::string::npos)
            first.replace(first.find('@'), 1, std::to_string(at + 1));
        EXPECT_NE(read.second[0].find(first), std::string::npos) << read.second[0];
    }
}
