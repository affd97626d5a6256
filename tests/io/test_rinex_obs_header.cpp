#include <gtest/gtest.h>

#include "io/RinexObsReader.h"
#include "io/rinex_obs_test_util.h"

namespace {

using testfiles::dataPath;

void ExpectSampleHeader(const pppio::RinexObsHeader& h)
{
    EXPECT_DOUBLE_EQ(h.version, 3.05);
    EXPECT_EQ(h.fileSystem, 'M');
    EXPECT_EQ(h.markerName, "ESBC00DNK");
    EXPECT_EQ(h.markerNumber, "10118M001");
    EXPECT_EQ(h.receiverType, "SEPT POLARX5");
    EXPECT_EQ(h.antennaType, "ASH701945E_M    SCIS");  // as in ANTEX: radome in columns 17-20
    EXPECT_EQ(h.antennaDeltaH, 0.2160);
    EXPECT_EQ(h.approxPosition[2], 5232754.8054);
    EXPECT_EQ(h.interval, 30.0);
    EXPECT_EQ(h.timeSystem, "GPS");
    EXPECT_FALSE(h.hasLeapSeconds);

    // Observation types per system, the continuation lines included.
    EXPECT_EQ(h.obsTypes('G').count(), 18);
    EXPECT_EQ(h.obsTypes('R').count(), 20);
    EXPECT_EQ(h.obsTypes('E').count(), 20);
    EXPECT_EQ(h.obsTypes('I').count(), 0);
    EXPECT_EQ(h.maxTypeCount(), 20);
    EXPECT_EQ(h.obsIndex('G', "C1W"), 1);
    EXPECT_EQ(h.obsIndex('G', "S5Q"), 17);  // last code of the continuation line
    EXPECT_EQ(h.obsIndex('E', "L8Q"), 14);
    EXPECT_EQ(h.obsIndex('G', "C1P"), -1);
    EXPECT_EQ(h.obsIndex('X', "C1C"), -1);

    ASSERT_EQ(h.phaseShifts.size(), 22u);
    EXPECT_EQ(h.phaseShifts[4].code, "L5Q");
}

TEST(RinexObsHeader, SampleHeaderPlainAndCompact)
{
    pppio::RinexObsReader plain(testfiles::samplePath("ESBC00DNK_R_20201770000_02H_30S_MO.rnx.gz"));
    EXPECT_FALSE(plain.isCompact());
    EXPECT_EQ(plain.header().compactVersion, 0);
    ExpectSampleHeader(plain.header());

    pppio::RinexObsReader compact(testfiles::samplePath("ESBC00DNK_R_20201770000_02H_30S_MO.crx.gz"));
    EXPECT_TRUE(compact.isCompact());
    EXPECT_EQ(compact.header().compactVersion, 3);
    ExpectSampleHeader(compact.header());
}

TEST(RinexObsHeader, Rinex211TypesMappedToRinex3Codes)
{
    pppio::RinexObsReader reader(dataPath("small_v211.rnx"));
    const pppio::RinexObsHeader& h = reader.header();
    EXPECT_DOUBLE_EQ(h.version, 2.11);
    EXPECT_EQ(h.antennaType, "TRM59800.00     NONE");
    ASSERT_TRUE(h.hasLeapSeconds);
    EXPECT_EQ(h.leapSeconds, 18);

    // One list for every system, ten types over two header lines.
    const pppio::SystemObsTypes& gps = h.obsTypes('G');
    const std::vector<std::string> original = {"C1", "P1", "L1", "D1", "S1", "C2", "P2", "L2", "D2", "S2"};
    EXPECT_EQ(gps.original, original);
    const std::vector<std::string> gpsCodes = {"C1C", "C1W", "L1C", "D1C", "S1C", "C2X", "C2W", "L2W", "D2W", "S2W"};
    EXPECT_EQ(gps.codes, gpsCodes);
    const std::vector<std::string> glonassCodes = {"C1C", "C1P", "L1C", "D1C", "S1C",
                                                   "C2C", "C2P", "L2P", "D2P", "S2P"};
    EXPECT_EQ(h.obsTypes('R').codes, glonassCodes);
    EXPECT_EQ(h.obsTypes('E').codes[0], "C1X");
    EXPECT_EQ(h.obsTypes('E').codes[1], "P1");  // no P code on Galileo: kept as written
    // Look-up by either name gives the same column.
    EXPECT_EQ(h.obsIndex('G', "P2"), 6);
    EXPECT_EQ(h.obsIndex('G', "C2W"), 6);
    EXPECT_EQ(h.obsIndex('R', "L2"), h.obsIndex('R', "L2P"));
}

TEST(RinexObsHeader, Rinex4HeaderRecords)
{
    pppio::RinexObsReader reader(dataPath("small_v4.rnx"));
    const pppio::RinexObsHeader& h = reader.header();
    EXPECT_DOUBLE_EQ(h.version, 4.01);
    EXPECT_EQ(h.markerName, "TEST4");
    EXPECT_EQ(h.obsIndex('E', "S5Q"), 5);

    // SYS / SCALE FACTOR 10 on two Galileo types only.
    const pppio::SystemObsTypes& galileo = h.obsTypes('E');
    EXPECT_EQ(galileo.scale[galileo.index("S1C")], 10.0);
    EXPECT_EQ(galileo.scale[galileo.index("S5Q")], 10.0);
    EXPECT_EQ(galileo.scale[galileo.index("C1C")], 1.0);

    ASSERT_EQ(h.phaseShifts.size(), 2u);
    EXPECT_EQ(h.phaseShifts[1].code, "L5Q");
    EXPECT_EQ(h.phaseShifts[1].cycles, -0.25);
    EXPECT_EQ(h.phaseShifts[1].satellites, (std::vector<std::string>{"E11", "E12"}));
    int k = 0;
    ASSERT_TRUE(h.glonassChannel(17, k));
    EXPECT_EQ(k, 4);
}

std::string Labelled(const std::string& text, const std::string& label)
{
    std::string line = text;
    line.resize(60, ' ');
    return line + label;
}

// A header made of the given lines after a valid version line; returns the
// path of the file written.
std::string HeaderFile(const std::string& name, const std::vector<std::string>& lines)
{
    std::string text = "     3.04           OBSERVATION DATA    G                   RINEX VERSION / TYPE\n";
    for (const std::string& line : lines)
        text += line + "\n";
    const std::string path = testfiles::scratchPath(name);
    testfiles::writeText(path, text);
    return path;
}

TEST(RinexObsHeader, MalformedHeadersNameFileAndLine)
{
    const std::string types = Labelled("G    2 C1C L1C", "SYS / # / OBS TYPES");
    const std::string end = Labelled("", "END OF HEADER");
    struct Case {
        std::vector<std::string> lines;
        long line;
        const char* expected;
    };
    const Case cases[] = {
        {{types, Labelled("      0.21AB        0.0000        0.0000", "ANTENNA: DELTA H/E/N"), end}, 3,
         "expected the antenna height in columns 1-14"},
        {{Labelled("G   14 C1C L1C C1W L2W C2W C5Q L5Q D1C D2W D5Q S1C S2W S5Q", "SYS / # / OBS TYPES"), end}, 3,
         "expected 1 more observation types"},
        {{Labelled("G    4 C1C L1C", "SYS / # / OBS TYPES"), end}, 2,
         "expected an observation code in columns 16-18"},
        {{Labelled("X    2 C1C L1C", "SYS / # / OBS TYPES"), end}, 2, "unknown satellite system 'X'"},
        {{types, Labelled("  3 R05  1 R0x -2", "GLONASS SLOT / FRQ #"), end}, 3,
         "expected a GLONASS satellite in columns 12-14"},
        {{types, "short line"}, 3, "expected a header label in columns 61-80"},
        {{types}, 2, "the file ends before END OF HEADER"},
        {{end}, 2, "the header defines no observation types"},
    };
    int index = 0;
    for (const Case& c : cases) {
        const std::string path = HeaderFile("bad_header_" + std::to_string(index++), c.lines);
        SCOPED_TRACE(c.expected);
        testfiles::expectReadError([&] { pppio::RinexObsReader reader(path); }, path, c.line, c.expected);
    }

    // Files that are no observation files at all.
    const struct {
        const char* text;
        long line;
        const char* expected;
    } others[] = {
        {"     3.04           N: GNSS NAV DATA    M: MIXED            RINEX VERSION / TYPE\n", 1,
         "not an observation file"},
        {"hello\n", 1, "expected RINEX VERSION / TYPE"},
        {"", 0, "the file is empty"},
    };
    for (const auto& other : others) {
        const std::string path = testfiles::scratchPath("not_obs.rnx");
        testfiles::writeText(path, other.text);
        testfiles::expectReadError([&] { pppio::RinexObsReader reader(path); }, path, other.line, other.expected);
    }
}

}  // namespace
