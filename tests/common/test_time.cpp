#include <gtest/gtest.h>

#include "common/GNSSTimeConvert.h"

namespace {

tagCOMMONTIME Calendar(int y, int mo, int d, int h = 0, int mi = 0, double s = 0.0)
{
    tagCOMMONTIME t;
    t.year = static_cast<uint16_t>(y);
    t.month = static_cast<uint8_t>(mo);
    t.day = static_cast<uint8_t>(d);
    t.hour = static_cast<uint8_t>(h);
    t.minute = static_cast<uint8_t>(mi);
    t.second = s;
    return t;
}

tagGPSTIME2 ToGps(tagCOMMONTIME t)
{
    CGNSSTimeConvert tc;
    tagGPSTIME2 g;
    tc.GetGPSTime2FromCommonTime(&g, &t);
    return g;
}

TEST(GpsTime, KnownWeeksAndSeconds)
{
    struct Case { tagCOMMONTIME t; int week; double sow; } cases[] = {
        {Calendar(1980, 1, 6), 0, 0.0},
        {Calendar(1980, 1, 12), 0, 518400.0},
        {Calendar(1980, 1, 13), 1, 0.0},
        {Calendar(1999, 8, 22), 1024, 0.0},            // first week rollover
        {Calendar(2019, 4, 7), 2048, 0.0},             // second week rollover
        {Calendar(2020, 6, 25), 2111, 4 * 86400.0},    // the sample data day (Thursday)
        {Calendar(2020, 6, 25, 23, 59, 30.0), 2111, 4 * 86400.0 + 86370.0},
        {Calendar(2000, 1, 1, 12, 0, 0.0), 1042, 6 * 86400.0 + 43200.0},
    };
    for (const auto& c : cases) {
        const tagGPSTIME2 g = ToGps(c.t);
        EXPECT_EQ(g.week, c.week) << int(c.t.year) << "-" << int(c.t.month) << "-" << int(c.t.day);
        EXPECT_DOUBLE_EQ(g.sow, c.sow);
    }
}

TEST(GpsTime, CalendarRoundTripOver1980To2099)
{
    CGNSSTimeConvert tc;
    const int monthLength[12] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    int expectedDays = 0;   // days since 1980-01-06
    for (int y = 1980; y <= 2099; ++y) {
        for (int m = 1; m <= 12; ++m) {
            const bool leap = (y % 4 == 0 && y % 100 != 0) || y % 400 == 0;
            const int length = monthLength[m - 1] + (m == 2 && leap ? 1 : 0);
            for (int d = 1; d <= length; ++d) {
                const int daysFromOrigin = tc.GetJulianDay2FormYMD(y, m, d) - tc.GetJulianDay2FormYMD(1980, 1, 6);
                if (y == 1980 && m == 1 && d == 1)
                    expectedDays = daysFromOrigin;
                ASSERT_EQ(daysFromOrigin, expectedDays) << y << "-" << m << "-" << d;
                ++expectedDays;
                if (daysFromOrigin < 0)
                    continue;
                tagCOMMONTIME t = Calendar(y, m, d, 13, 27, 41.25);
                tagGPSTIME2 g = ToGps(t);
                ASSERT_EQ(g.week * 7 + static_cast<int>(g.sow / 86400.0), daysFromOrigin);
                tagCOMMONTIME back;
                tc.GPSTime2ToCommonTime(&g, &back);
                ASSERT_EQ(back.year, t.year);
                ASSERT_EQ(back.month, t.month);
                ASSERT_EQ(back.day, t.day);
                ASSERT_EQ(back.hour, t.hour);
                ASSERT_EQ(back.minute, t.minute);
                ASSERT_NEAR(back.second, t.second, 1e-6);
                ASSERT_EQ(tc.GetDOY2FormYMD(y, m, d),
                          tc.GetJulianDay2FormYMD(y, m, d) - tc.GetJulianDay2FormYMD(y, 1, 1) + 1);
                int mm, dd;
                tc.doy2mmdd(y, tc.GetDOY2FormYMD(y, m, d), &mm, &dd);
                ASSERT_EQ(mm, m);
                ASSERT_EQ(dd, d);
            }
        }
    }
}

TEST(GpsTime, JulianDayRoundTripAndHalfDayOffset)
{
    CGNSSTimeConvert tc;
    tagCOMMONTIME t = Calendar(2020, 6, 25, 7, 8, 9.5);
    tagJULIANDAY jd;
    tc.CommonTimeToJulianDay(&t, &jd);
    EXPECT_EQ(jd.day, 2459025);   // JD 2459025.797: the day number changed at the previous noon
    EXPECT_EQ(jd.sec, (7 + 12) * 3600 + 8 * 60 + 9);
    tagCOMMONTIME back;
    tc.JulianDayToCommonTime(&jd, &back);
    EXPECT_EQ(back.day * 10000 + back.hour * 100 + back.minute, 250708);
    EXPECT_DOUBLE_EQ(back.second, 9.5);

    // The GPS conversion adds the seconds since noon without shifting them
    // back to midnight: the GPS origin comes out as 43200 s.
    tagCOMMONTIME origin = Calendar(1980, 1, 6);
    tagGPSTIME g;
    tc.CommonTimeToGPSTime(&origin, &g);
    EXPECT_EQ(g.week, 0);
    EXPECT_EQ(g.sow, 43200);
}

TEST(GpsTime, TwoDigitYears)
{
    CGNSSTimeConvert tc;
    EXPECT_EQ(tc.GetJulianDay2FormYMD(15, 3, 1), tc.GetJulianDay2FormYMD(2015, 3, 1));
    EXPECT_EQ(tc.GetJulianDay2FormYMD(95, 3, 1), tc.GetJulianDay2FormYMD(1995, 3, 1));
    EXPECT_NE(tc.GetJulianDay2FormYMD(70, 3, 1), tc.GetJulianDay2FormYMD(1970, 3, 1));
}

TEST(GpsTime, SetTimeDeltaCrossesWeeksAndRefusesLargeSteps)
{
    CGNSSTimeConvert tc;
    tagGPSTIME2 in{100, 604000.0}, out{0, 0.0};
    ASSERT_TRUE(tc.SetTimeDelta(&out, &in, 1000.0));
    EXPECT_EQ(out.week, 101);
    EXPECT_DOUBLE_EQ(out.sow, 200.0);
    ASSERT_TRUE(tc.SetTimeDelta(&out, &in, -604100.0));
    EXPECT_EQ(out.week, 99);
    EXPECT_DOUBLE_EQ(out.sow, 604700.0);
    EXPECT_FALSE(tc.SetTimeDelta(&out, &in, 700000.0));
    EXPECT_FALSE(tc.SetTimeDelta(nullptr, &in, 1.0));
    tagGPSTIME2 bad{100, 604800.0};
    EXPECT_FALSE(tc.SetTimeDelta(&out, &bad, 1.0));
    tagGPSTIME2 a{2111, 10.0}, b{2110, 604790.0};
    EXPECT_DOUBLE_EQ(tc.GetTimeDelta(&a, &b), 20.0);
}

TEST(GpsTime, CommonTime2HoldsFractionalHours)
{
    CGNSSTimeConvert tc;
    tagCOMMONTIME t = Calendar(2020, 6, 25, 13, 30, 36.0);
    tagCOMMONTIME2 t2;
    tc.CommonTimeToCommonTime2(&t, &t2);
    EXPECT_EQ(t2.day, 25);
    EXPECT_DOUBLE_EQ(t2.hour, 13.51);
    tc.CommonTimeToCommonTime2(nullptr, &t2);   // must not crash
}

}  // namespace
