// Time records and the conversions between calendar time, GPS week and
// seconds, Julian day and day of year. All times are GPS time: no leap seconds.
#ifndef PPPLIB_COMMON_GNSSTIMECONVERT_H
#define PPPLIB_COMMON_GNSSTIMECONVERT_H

#include <cstdint>

struct tagCOMMONTIME {
    uint16_t year;
    uint8_t month;
    uint8_t day;
    uint8_t hour;
    uint8_t minute;
    double second;
};

// Calendar date with the time of day as fractional hours.
struct tagCOMMONTIME2 {
    uint16_t year;
    uint8_t month;
    uint8_t day;
    double hour;
};

// GPS week and seconds of week as one real.
struct tagGPSTIME2 {
    int32_t week;
    double sow;
};

// GPS week, whole seconds of week and the fraction of a second.
struct tagGPSTIME {
    int32_t week;
    int32_t sow;
    double frac;
};

// Julian day number (changes at noon), whole seconds since noon, fraction.
struct tagJULIANDAY {
    int32_t day;
    int32_t sec;
    double frac;
};

struct tagDOY {
    uint16_t year;
    uint16_t doy;
    double sod;
};

class CGNSSTimeConvert {
public:
    int GetJulianDay2FormYMD(int year, int month, int day);
    int GetDOY2FormYMD(int year, int month, int day);
    void GetGPSTime2FromCommonTime(tagGPSTIME2* out, tagCOMMONTIME* in);
    int GetGPSTime2FromDOY2(tagGPSTIME2* out, int year, int doy, int hour, int minute, double second);
    double GetTimeDelta(tagGPSTIME2* a, tagGPSTIME2* b);
    bool SetTimeDelta(tagGPSTIME2* out, tagGPSTIME2* in, double delta);
    void CommonTimeToCommonTime2(tagCOMMONTIME* in, tagCOMMONTIME2* out);

    void CommonTimeToJulianDay(tagCOMMONTIME* in, tagJULIANDAY* out);
    void JulianDayToCommonTime(tagJULIANDAY* in, tagCOMMONTIME* out);
    void JulianDayToGPSTime(tagJULIANDAY* in, tagGPSTIME* out);
    void GPSTimeToJulianDay(tagGPSTIME* in, tagJULIANDAY* out);
    void CommonTimeToGPSTime(tagCOMMONTIME* in, tagGPSTIME* out);
    void GPSTimeToCommonTime(tagGPSTIME* in, tagCOMMONTIME* out);
    void GPSTime2ToCommonTime(tagGPSTIME2* in, tagCOMMONTIME* out);
    void doy2mmdd(int year, int doy, int* month, int* day);

    // Kept for interface completeness; they do nothing.
    void CommonTimeToDOY(tagCOMMONTIME* in, tagDOY* out);
    void DOYToCommonTime(tagDOY* in, tagCOMMONTIME* out);
    void GPSTimeToDOY(tagGPSTIME* in, tagDOY* out);
    void DOYToGPSTime(tagDOY* in, tagGPSTIME* out);
    void JulianDayToDOY(tagJULIANDAY* in, tagDOY* out);
    void DOYToJulianDay(tagDOY* in, tagJULIANDAY* out);
    double GetGPSTimeDelta(tagGPSTIME* a, tagGPSTIME* b);
    double GetTimeDelta(tagJULIANDAY* a, tagJULIANDAY* b);
    void SetTimeDelta(tagJULIANDAY* out, tagJULIANDAY* in, double delta);
};

#endif
