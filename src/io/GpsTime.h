// GPS time helpers shared by the product readers: calendar conversion,
// lossless differences of week/second pairs, time-system offsets and the
// GPS-UTC leap seconds.
#ifndef PPPIO_GPSTIME_H
#define PPPIO_GPSTIME_H

#include <string>

#include "common/GNSSTimeConvert.h"

namespace pppio {

constexpr double kSecondsPerWeek = 604800.0;
constexpr double kSecondsPerDay = 86400.0;
// BeiDou time: week 0 starts at GPS week 1356, and BDT = GPST - 14 s.
constexpr int kBdtWeekOffset = 1356;
constexpr double kBdtToGps = 14.0;

// True for a plausible calendar date and time of day (second below 61).
bool validCalendar(int year, int month, int day, int hour, int minute, double second);

tagGPSTIME2 gpsTimeFromCalendar(int year, int month, int day, int hour, int minute, double second);

// later - earlier in seconds, without the rounding of absolute seconds.
inline double secondsBetween(const tagGPSTIME2& later, const tagGPSTIME2& earlier)
{
    return (later.week - earlier.week) * kSecondsPerWeek + (later.sow - earlier.sow);
}

// t + seconds with the seconds of week brought back into [0, 604800).
tagGPSTIME2 shiftedTime(const tagGPSTIME2& t, double seconds);

// "2020-06-25 23:59:30": the calendar time of t to the nearest second.
std::string calendarText(const tagGPSTIME2& t);

// Seconds to add to a time of the named system ("GPS", "GAL", "BDT", "UTC",
// "GLO", "TAI", "QZS", "IRN"; blank or "ccc" mean GPS) to get GPS time.
// UTC and GLO need the leap seconds: pass a negative value when they are
// unknown and these systems are refused. False for an unknown system.
bool timeSystemToGps(const std::string& system, int leapSeconds, double& offset);

// GPS - UTC in seconds at the given GPS time, from the published leap seconds.
int leapSecondsAt(const tagGPSTIME2& t);

// Continuous time of a store: seconds since the start of a reference GPS
// week fixed by the first data loaded. Keeps sub-nanosecond resolution where
// seconds since 1980 would keep only a quarter of a microsecond.
class TimeOrigin {
public:
    bool isSet() const { return m_set; }
    void setIfUnset(int week)
    {
        if (!m_set) {
            m_week = week;
            m_set = true;
        }
    }
    int week() const { return m_week; }
    double seconds(const tagGPSTIME2& t) const { return (t.week - m_week) * kSecondsPerWeek + t.sow; }
    tagGPSTIME2 time(double seconds) const { return shiftedTime(tagGPSTIME2{m_week, 0.0}, seconds); }

private:
    int m_week = 0;
    bool m_set = false;
};

}  // namespace pppio

#endif
