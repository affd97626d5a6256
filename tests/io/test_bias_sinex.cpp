#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <vector>

#include "TestFiles.h"
#include "io/BiasSinexReader.h"

using namespace testfiles;

namespace {

const char* kBias = "WUM0MGXRAP_20212100000_01D_01D_ABS_excerpt.BIA";
const tagGPSTIME2 kDay{2168, 345600.0};   // 2021:210 (29 July 2021, a Thursday)
const char* kFirstOsb = " OSB  G063 G01           C1C ";

tagGPSTIME2 DayPlus(double seconds)
{
    return {kDay.week, kDay.sow + seconds};
}

}  // namespace

TEST(BiasSinex, OsbValuesAndWindowsOfTheExcerpt)
{
    const pppio::BiasSinex biases = pppio::BiasSinex::read(dataPath(kBias));
    struct Case {
        int iprn;
        const char* code;
        double seconds;     // after the start of the day
        double ns;          // NAN: none
    };
    const Case cases[] = {
        {1, "C1C", 0.0, 9.7876},                  // window start inclusive
        {1, "L2W", 3600.0, -1.94099438406839},
        {2, "C2W", 86399.0, -21.0761},
        {60, "L5Q", 0.0, 0.156228375022204},      // E01
        {33, "C1P", 0.0, 9.4585},                 // R01
        {1, "C1C", 86400.0, NAN},                 // window end exclusive
        {1, "C1C", -1.0, NAN},
        {1, "L5X", 0.0, NAN},                     // not in the file
        {3, "C1C", 0.0, NAN},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(std::to_string(c.iprn) + c.code);
        const auto ns = biases.osb(c.iprn, c.code, DayPlus(c.seconds));
        ASSERT_EQ(ns.has_value(), !std::isnan(c.ns));
        if (ns) {
            EXPECT_DOUBLE_EQ(*ns, c.ns);
        }
    }
    EXPECT_EQ(biases.codes('G'), "C1C C1W C2L C2S C2W C2X C5Q C5X L1C L1W L2L L2S L2W");
    EXPECT_EQ(biases.codes('E'), "C1C C1X C5Q C5X C6C C7Q C7X C8Q C8X L1C L1X L5Q L5X");
    EXPECT_EQ(biases.unsupported(), 0);
    ASSERT_EQ(biases.warnings().size(), 1u);   // J03 has no packed index
    EXPECT_NE(biases.warnings()[0].find("J03"), std::string::npos);
}

TEST(BiasSinex, DifferentialAndStationLinesSkippedCyclesConverted)
{
    const std::string path = editedCopy(kBias, "bias_extra.BIA", [](std::vector<std::string>& lines) {
        const size_t at = findLine(lines, kFirstOsb);
        lines.insert(lines.begin() + static_cast<long>(at), {
            " DSB  G063 G01           C1C  C1W  2021:210:00000 2021:210:86400 ns   -.949000000000000E+00 .000000E+00",
            " OSB       G   CCJ200JPN C1C       2021:210:00000 2021:210:86400 ns   0.100000000000000E+01 .000000E+00",
            " OSB  G063 G03           L1C       0000:000:00000 0000:000:00000 cyc  0.250000000000000E+00 .000000E+00",
            " OSB  G063 G03           C1C       2021:210:43200                ns   0.100000000000000E+01",
            " OSB  G063 G03           C1C       2021:211:00000                ns   0.200000000000000E+01"});
    });
    const pppio::BiasSinex biases = pppio::BiasSinex::read(path);
    EXPECT_EQ(biases.unsupported(), 1);
    EXPECT_EQ(biases.stationLines(), 1);
    EXPECT_DOUBLE_EQ(*biases.osb(1, "C1C", kDay), 9.7876);
    // Open window, 0.25 cycle of L1 in ns.
    for (double seconds : {-1e7, 0.0, 1e7})
        EXPECT_DOUBLE_EQ(*biases.osb(3, "L1C", DayPlus(seconds)), 0.25 / 1575.42e6 * 1e9);
    // Start-only entries hold until the next one.
    EXPECT_FALSE(biases.osb(3, "C1C", DayPlus(43199.0)));
    EXPECT_DOUBLE_EQ(*biases.osb(3, "C1C", DayPlus(86399.0)), 1.0);
    EXPECT_DOUBLE_EQ(*biases.osb(3, "C1C", DayPlus(86400.0 * 3)), 2.0);
}

TEST(BiasSinex, MalformedLinesNameFileAndLine)
{
    // Overwrites the first OSB line with `text` from column `at` (0-based).
    auto edit = [](size_t at, const std::string& text) {
        return [at, text](std::vector<std::string>& lines) {
            lines[findLine(lines, kFirstOsb)].replace(at, text.size(), text);
        };
    };
    const size_t line = findLine(readLines(dataPath(kBias)), kFirstOsb) + 1;
    expectMalformedCopies(kBias,
                          {{"unit", edit(65, "m   "), line, "expected the unit ns in columns 66-69"},
                           {"cycCode", edit(65, "cyc "), line, "expected the unit ns in columns"},
                           {"time", edit(35, "2021-210"), line, "BIAS_START YYYY:DDD:SSSSS"},
                           {"day", edit(55, "400"), line, "day 1-366"},
                           {"prn", edit(11, "G1 "), line, "satellite such as G01"},
                           {"obs", edit(25, "D1C"), line, "code (Cxx) or phase (Lxx)"},
                           {"value", edit(70, "0.97x"), line, "the bias value"},
                           {"block", [](std::vector<std::string>& l) { l[findLine(l, "-BIAS/SOLUTION")] = "+X"; },
                            findLine(readLines(dataPath(kBias)), "-BIAS/SOLUTION") + 1, "expected -BIAS/SOLUTION"}},
                          [](const std::string& path) { pppio::BiasSinex::read(path); });
}
