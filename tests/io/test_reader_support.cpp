#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "io/FieldParse.h"
#include "io/GpsTime.h"
#include "io/Lagrange.h"
#include "io/SatelliteId.h"

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
    set.add(0);
    set.add(125);
    EXPECT_TRUE(set.contains(60));
    EXPECT_FALSE(set.contains(61));
    EXPECT_FALSE(set.contains(0));
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
