#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "common/GNSSRinex.h"
#include "common/gnsscmn.h"

namespace {

TEST(SatelliteIndex, PackingRoundTripsForEverySatelliteAndRangeEdges)
{
    const struct { char sys; int count; int first; } systems[] = {
        {'G', 32, 1}, {'R', 27, 33}, {'E', 30, 60}, {'C', 35, 90}};
    int seen = 0;
    for (const auto& s : systems) {
        for (int prn = 1; prn <= s.count; ++prn) {
            const int iprn = prn2iprn(prn, s.sys);
            EXPECT_EQ(iprn, s.first + prn - 1);
            EXPECT_EQ(iprn2prn(iprn), prn);
            EXPECT_EQ(judge_sys_char(iprn), s.sys);
            EXPECT_EQ(judge_sys(iprn), judge_sys(s.sys));
            ++seen;
        }
    }
    EXPECT_EQ(seen, 124);

    // Outside the ranges.
    EXPECT_EQ(judge_sys(0), 0);
    EXPECT_EQ(judge_sys(-5), 0);
    EXPECT_EQ(judge_sys(125), -1);
    EXPECT_EQ(judge_sys_char(125), 'X');
    EXPECT_EQ(judge_sys_char(0), 'G');
    EXPECT_EQ(judge_sys('J'), -1);
    EXPECT_EQ(iprn2prn(60), 1);
    EXPECT_EQ(iprn2prn(0), 0);
    EXPECT_EQ(iprn2prn(125), 0);
    EXPECT_EQ(prn2iprn(35, 'C'), 124);
    EXPECT_EQ(prn2iprn(5, 'J'), 0);
    EXPECT_EQ(prn2iprn(40, 'G'), 40);   // numbers are not range-checked
}

TEST(SatelliteIndex, GpsSignalListsSplitGpsInTwo)
{
    EXPECT_EQ(isC2X(33), -1);
    EXPECT_EQ(judge_C2W(33), 0);
    for (int prn = 1; prn <= 32; ++prn)
        EXPECT_EQ(judge_C2W(prn) + isC2X(prn), 1) << prn;
    EXPECT_EQ(judge_C2W(2), 1);
    EXPECT_EQ(isC2X(1), 1);
}

TEST(CommonHelpers, StrToNum)
{
    EXPECT_DOUBLE_EQ(str2num("  1.5D+02", 0, 9), 150.0);
    EXPECT_DOUBLE_EQ(str2num("abc", 5, 3), 0.0);
    EXPECT_DOUBLE_EQ(str2num("12345678", 2, 3), 345.0);
    EXPECT_DOUBLE_EQ(str2num("     ", 0, 5), 0.0);
    EXPECT_DOUBLE_EQ(str2num("-0.25d-1", 0, 8), -0.025);
    EXPECT_DOUBLE_EQ(str2num("1", -1, 3), 0.0);
    EXPECT_DOUBLE_EQ(str2num("1", 0, 256), 0.0);
    EXPECT_DOUBLE_EQ(str2num("7", 1, 3), 0.0);   // offset at the end: empty field
}

TEST(CommonHelpers, NumberTestsListSearchAndRounding)
{
    const double nan = std::numeric_limits<double>::quiet_NaN();
    const double inf = std::numeric_limits<double>::infinity();
    EXPECT_FALSE(IsNumber(nan));
    EXPECT_TRUE(IsNumber(inf));
    EXPECT_FALSE(IsFiniteNumber(-inf));
    EXPECT_TRUE(IsFiniteNumber(1.7976931348623157e308));
    EXPECT_EQ(findIndexInPrnList(7, {3, 7, 7}), 1);
    EXPECT_EQ(findIndexInPrnList(8, {}), -999);
    // Halves go away from zero.
    EXPECT_EQ(Round(2.5), 3);
    EXPECT_EQ(Round(-2.5), -3);
    EXPECT_EQ(Round(2.4999), 2);
}

TEST(CommonHelpers, CalendarTimeDifference)
{
    double a[6] = {2014, 1, 1, 0, 0, 0}, b[6] = {2013, 12, 31, 23, 59, 59};
    EXPECT_DOUBLE_EQ(caltimediff(a, b), 21601.0);   // the quarter-day step across years is kept
    double c[6] = {2020, 6, 25, 12, 0, 30.5}, d[6] = {2020, 3, 1, 0, 0, 0};
    EXPECT_DOUBLE_EQ(caltimediff(c, d), (116.0 * 86400.0) + 12 * 3600.0 + 30.5);
    double e[6] = {2020, 2, 28, 0, 0, 0}, f[6] = {2020, 3, 1, 0, 0, 0};
    EXPECT_DOUBLE_EQ(caltimediff(f, e), 2 * 86400.0);   // leap day counted
    double bad[6] = {1969, 1, 1, 0, 0, 0};
    EXPECT_EQ(caltimediff(bad, a), 0.0);

    tagCOMMONTIME t{2020, 6, 25, 1, 2, 3.5};
    double ep[6];
    get_ep_time(ep, &t);
    EXPECT_EQ(ep[0], 2020.0);
    EXPECT_EQ(ep[5], 3.5);
}

TEST(CommonHelpers, NevilleInterpolationIsExactForPolynomials)
{
    // y = 2 x^3 - x + 4 sampled at x - t for t = 0.3; value at 0 is y(0.3).
    const double t = 0.3;
    double x[5], y[5];
    for (int i = 0; i < 5; ++i) {
        const double xi = i - 2.0;
        x[i] = xi - t;
        y[i] = 2 * xi * xi * xi - xi + 4;
    }
    EXPECT_NEAR(interppol(x, y, 5), 2 * t * t * t - t + 4, 1e-12);
}

TEST(CommonHelpers, WeightedLineFit)
{
    double x1[4] = {0, 1, 2, 3}, x2[4] = {1, 1, 1, 1}, w[4] = {1, 2, 1, 3}, y[4];
    for (int i = 0; i < 4; ++i)
        y[i] = 0.5 * x1[i] + 2.0;
    EXPECT_NEAR(linear_fit(x1, x2, w, y, 4, 10.0), 7.0, 1e-12);
}

TEST(CommonHelpers, AmbiguityContinuity)
{
    double ok[3] = {0.0, 0.2, 0.4}, jump[2] = {0.0, 0.21}, drift[3] = {1.0, 1.1, 1.35}, one[1] = {5.0};
    EXPECT_EQ(check_amb_continuous(ok, 3), 1);
    EXPECT_EQ(check_amb_continuous(jump, 2), 0);
    EXPECT_EQ(check_amb_continuous(drift, 3), 0);
    EXPECT_EQ(check_amb_continuous(one, 1), 1);
}

TEST(RinexText, MidAndTrim)
{
    char src[] = "G01  12345.678  ";
    char dst[32];
    CGNSSRinex::xstrmid(dst, src, 5, 9);
    EXPECT_STREQ(dst, "12345.678");
    CGNSSRinex::xstrmid(dst, src, 14, 10);   // stops at the end of the source
    EXPECT_STREQ(dst, "  ");
    char padded[] = "   ESBC00DNK  \r\n";
    EXPECT_STREQ(CGNSSRinex::xstrtrim(dst, padded), "ESBC00DNK");
    char blank[] = "    ";
    EXPECT_STREQ(CGNSSRinex::xstrtrim(dst, blank), "");
}

}  // namespace
