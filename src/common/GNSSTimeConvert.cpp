#include "common/GNSSTimeConvert.h"

#include <cmath>

namespace {
// Day of year of the first day of each month in a common year, minus one.
const int kDaysBeforeMonth[12] = {0, 31, 59, 90, 120, 151, 181, 212, 243, 273, 304, 334};
constexpr double kSecondsPerWeek = 604800.0;
}  // namespace

int CGNSSTimeConvert::GetJulianDay2FormYMD(int year, int month, int day)
{
    // Two-digit years: 00-59 are 20xx and 80-99 are 19xx; 60-79 are taken as given.
    if (year < 60)
        year += 2000;
    else if (year >= 80 && year <= 99)
        year += 1900;
    const int yy = month < 3 ? year - 1 : year;
    const int leapDays = yy / 4 + yy / 400 - yy / 100;
    return 2415020 + (365 * year - 693500) - 460 + leapDays + kDaysBeforeMonth[month - 1] + day;
}

int CGNSSTimeConvert::GetDOY2FormYMD(int year, int month, int day)
{
    return GetJulianDay2FormYMD(year, month, day) - GetJulianDay2FormYMD(year, 1, 1) + 1;
}

void CGNSSTimeConvert::GetGPSTime2FromCommonTime(tagGPSTIME2* out, tagCOMMONTIME* in)
{
    const int doy = GetDOY2FormYMD(in->year, in->month, in->day);
    GetGPSTime2FromDOY2(out, in->year, doy, in->hour, in->minute, in->second);
}

int CGNSSTimeConvert::GetGPSTime2FromDOY2(tagGPSTIME2* out, int year, int doy, int hour, int minute,
                                          double second)
{
    const int dayBeforeOrigin = GetJulianDay2FormYMD(80, 1, 5);
    const int n = GetJulianDay2FormYMD(year, 1, 1) + doy - 1 - dayBeforeOrigin;  // 1 on 1980-01-06
    int week = n / 7;
    if (n - 7 * week - 1 < 0)
        week -= 1;
    out->week = week;
    out->sow = (n - 7 * week - 1) * 86400.0 + hour * 3600.0 + minute * 60.0 + second;
    return week;
}

double CGNSSTimeConvert::GetTimeDelta(tagGPSTIME2* a, tagGPSTIME2* b)
{
    return (a->week - b->week) * kSecondsPerWeek + (a->sow - b->sow);
}

bool CGNSSTimeConvert::SetTimeDelta(tagGPSTIME2* out, tagGPSTIME2* in, double delta)
{
    if (delta < -kSecondsPerWeek || delta > kSecondsPerWeek || !out || !in)
        return false;
    if (in->sow < 0.0 || in->sow >= kSecondsPerWeek)
        return false;
    const double s = in->sow + delta;
    if (s < 0.0) {
        out->week = in->week - 1;
        out->sow = s + kSecondsPerWeek;
    } else if (s >= kSecondsPerWeek) {
        out->week = in->week + 1;
        out->sow = s - kSecondsPerWeek;
    } else {
        out->week = in->week;
        out->sow = s;
    }
    return true;
}

void CGNSSTimeConvert::CommonTimeToCommonTime2(tagCOMMONTIME* in, tagCOMMONTIME2* out)
{
    if (!in || !out)
        return;
    out->year = in->year;
    out->month = in->month;
    out->day = in->day;
    out->hour = in->hour + in->minute / 60.0 + in->second / 3600.0;
}

void CGNSSTimeConvert::CommonTimeToJulianDay(tagCOMMONTIME* in, tagJULIANDAY* out)
{
    // No Gregorian century correction: valid from 1900 to 2100.
    const double h = in->hour + in->minute / 60.0 + in->second / 3600.0;
    int y, m;
    if (in->month > 2) {
        y = in->year;
        m = in->month;
    } else {
        y = in->year - 1;
        m = in->month + 12;
    }
    out->day = static_cast<int>(365.25 * y) + static_cast<int>(30.6001 * (m + 1)) + in->day +
               static_cast<int>(h / 24.0 + 1720981.5);
    out->sec = 3600 * ((in->hour + 12) % 24) + 60 * in->minute + static_cast<int>(in->second);
    out->frac = in->second - static_cast<int>(in->second);
}

void CGNSSTimeConvert::JulianDayToCommonTime(tagJULIANDAY* in, tagCOMMONTIME* out)
{
    const double jd = in->day + (in->sec + in->frac) / 86400.0;
    const int a = static_cast<int>(jd + 0.5) + 1537;
    const int b = static_cast<int>((a - 122.1) / 365.25);
    const int c = static_cast<int>(365.25 * b);
    const int e = static_cast<int>((a - c) / 30.6001);
    const int s = (in->sec + 43200) % 86400;
    out->hour = static_cast<uint8_t>(s / 3600);
    out->minute = static_cast<uint8_t>((s % 3600) / 60);
    out->second = s % 60 + in->frac;
    out->day = static_cast<uint8_t>(a - c - static_cast<int>(30.6001 * e));
    out->month = static_cast<uint8_t>(e - 1 - 12 * (e / 14));
    out->year = static_cast<uint16_t>(b - 4715 - (7 + out->month) / 10);
}

void CGNSSTimeConvert::GPSTimeToJulianDay(tagGPSTIME* in, tagJULIANDAY* out)
{
    const double jd = 7.0 * in->week + in->sow / 86400.0 + in->frac / 86400.0;
    out->day = static_cast<int>(jd + 2444244.5);
    out->sec = (in->sow % 86400 + 43200) % 86400;
    out->frac = in->frac;
}

void CGNSSTimeConvert::JulianDayToGPSTime(tagJULIANDAY* in, tagGPSTIME* out)
{
    // The seconds since noon are added without shifting back to midnight:
    // the result is the documented 12 h offset of this conversion.
    const double jd = in->day + (in->sec + in->frac) / 86400.0;
    out->week = static_cast<int>((jd - 2444244.5) / 7.0);
    out->sow = 86400 * static_cast<int>(jd - 2444244.5 - 7.0 * out->week) + in->sec;
    out->frac = in->frac;
}

void CGNSSTimeConvert::CommonTimeToGPSTime(tagCOMMONTIME* in, tagGPSTIME* out)
{
    tagJULIANDAY jd;
    CommonTimeToJulianDay(in, &jd);
    JulianDayToGPSTime(&jd, out);
}

void CGNSSTimeConvert::GPSTimeToCommonTime(tagGPSTIME* in, tagCOMMONTIME* out)
{
    tagJULIANDAY jd;
    GPSTimeToJulianDay(in, &jd);
    JulianDayToCommonTime(&jd, out);
}

void CGNSSTimeConvert::GPSTime2ToCommonTime(tagGPSTIME2* in, tagCOMMONTIME* out)
{
    tagGPSTIME t;
    t.week = in->week;
    t.sow = static_cast<int32_t>(std::floor(in->sow));
    t.frac = in->sow - t.sow;
    GPSTimeToCommonTime(&t, out);
}

void CGNSSTimeConvert::doy2mmdd(int year, int doy, int* month, int* day)
{
    const bool leap = (year % 4 == 0 && year % 100 != 0) || year % 400 == 0;
    const int yearLength = leap ? 366 : 365;
    if (doy < 1)
        doy = 1;
    if (doy > yearLength)
        doy = yearLength;
    int m = 12;
    while (m > 1 && doy <= kDaysBeforeMonth[m - 1] + (leap && m > 2 ? 1 : 0))
        --m;
    *month = m;
    *day = doy - kDaysBeforeMonth[m - 1] - (leap && m > 2 ? 1 : 0);
}

void CGNSSTimeConvert::CommonTimeToDOY(tagCOMMONTIME*, tagDOY*) {}
void CGNSSTimeConvert::DOYToCommonTime(tagDOY*, tagCOMMONTIME*) {}
void CGNSSTimeConvert::GPSTimeToDOY(tagGPSTIME*, tagDOY*) {}
void CGNSSTimeConvert::DOYToGPSTime(tagDOY*, tagGPSTIME*) {}
void CGNSSTimeConvert::JulianDayToDOY(tagJULIANDAY*, tagDOY*) {}
void CGNSSTimeConvert::DOYToJulianDay(tagDOY*, tagJULIANDAY*) {}
double CGNSSTimeConvert::GetGPSTimeDelta(tagGPSTIME*, tagGPSTIME*) { return 0.0; }
double CGNSSTimeConvert::GetTimeDelta(tagJULIANDAY*, tagJULIANDAY*) { return 0.0; }
void CGNSSTimeConvert::SetTimeDelta(tagJULIANDAY*, tagJULIANDAY*, double) {}
