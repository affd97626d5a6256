#include "io/GpsTime.h"

#include <cmath>
#include <cstdio>

namespace pppio {

namespace {

// GPS - UTC from the given UTC date on (leap seconds published by the IERS).
struct LeapSecond {
    int year, month, day, seconds;
};
const LeapSecond kLeapSeconds[] = {
    {1981, 7, 1, 1},  {1982, 7, 1, 2},  {1983, 7, 1, 3},  {1985, 7, 1, 4},  {1988, 1, 1, 5},
    {1990, 1, 1, 6},  {1991, 1, 1, 7},  {1992, 7, 1, 8},  {1993, 7, 1, 9},  {1994, 7, 1, 10},
    {1996, 1, 1, 11}, {1997, 7, 1, 12}, {1999, 1, 1, 13}, {2006, 1, 1, 14}, {2009, 1, 1, 15},
    {2012, 7, 1, 16}, {2015, 7, 1, 17}, {2017, 1, 1, 18},
};

}  // namespace

bool validCalendar(int year, int month, int day, int hour, int minute, double second)
{
    static const int kMonthLength[12] = {31, 29, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    if (year < 1900 || year > 2200 || month < 1 || month > 12 || day < 1 || day > kMonthLength[month - 1])
        return false;
    const bool leap = (year % 4 == 0 && year % 100 != 0) || year % 400 == 0;
    if (month == 2 && day == 29 && !leap)
        return false;
    return hour >= 0 && hour <= 24 && minute >= 0 && minute <= 59 && second >= 0.0 && second < 61.0;
}

tagGPSTIME2 gpsTimeFromCalendar(int year, int month, int day, int hour, int minute, double second)
{
    CGNSSTimeConvert convert;
    tagGPSTIME2 t;
    const int doy = convert.GetDOY2FormYMD(year, month, day);
    convert.GetGPSTime2FromDOY2(&t, year, doy, hour, minute, second);
    return shiftedTime(t, 0.0);
}

tagGPSTIME2 shiftedTime(const tagGPSTIME2& t, double seconds)
{
    tagGPSTIME2 out = t;
    out.sow += seconds;
    const double weeks = std::floor(out.sow / kSecondsPerWeek);
    out.week += static_cast<int32_t>(weeks);
    out.sow -= weeks * kSecondsPerWeek;
    return out;
}

bool timeSystemToGps(const std::string& system, int leapSeconds, double& offset)
{
    if (system.empty() || system == "GPS" || system == "ccc" || system == "GAL" || system == "QZS" ||
        system == "IRN") {
        offset = 0.0;   // Galileo, QZSS and NavIC system times are steered to GPS time
        return true;
    }
    if (system == "BDT" || system == "BDS") {
        offset = kBdtToGps;
        return true;
    }
    if (system == "TAI") {
        offset = -19.0;
        return true;
    }
    if (leapSeconds < 0)
        return false;
    if (system == "UTC") {
        offset = leapSeconds;
        return true;
    }
    if (system == "GLO") {   // UTC(SU) + 3 h
        offset = leapSeconds - 3.0 * 3600.0;
        return true;
    }
    return false;
}

int leapSecondsAt(const tagGPSTIME2& t)
{
    int seconds = 0;
    for (const LeapSecond& leap : kLeapSeconds) {
        const tagGPSTIME2 from = gpsTimeFromCalendar(leap.year, leap.month, leap.day, 0, 0, leap.seconds);
        if (secondsBetween(t, from) >= 0.0)
            seconds = leap.seconds;
    }
    return seconds;
}

std::string calendarText(const tagGPSTIME2& t)
{
    tagGPSTIME2 rounded{t.week, std::round(t.sow)};
    rounded = shiftedTime(rounded, 0.0);
    tagCOMMONTIME c{};
    CGNSSTimeConvert().GPSTime2ToCommonTime(&rounded, &c);
    char text[32];
    std::snprintf(text, sizeof(text), "%04d-%02d-%02d %02d:%02d:%02d", static_cast<int>(c.year),
                  static_cast<int>(c.month), static_cast<int>(c.day), static_cast<int>(c.hour),
                  static_cast<int>(c.minute), static_cast<int>(std::lround(c.second)));
    return text;
}

}  // namespace pppio
