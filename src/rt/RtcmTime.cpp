#include "rt/RtcmTime.h"

#include <cmath>

#include "io/GpsTime.h"

namespace ppprt {

using pppio::kSecondsPerDay;
using pppio::kSecondsPerWeek;

tagGPSTIME2 nearestTimeOfWeek(double secondsOfWeek, const tagGPSTIME2& reference)
{
    tagGPSTIME2 t{reference.week, secondsOfWeek};
    const double offset = pppio::secondsBetween(t, reference);
    if (offset > kSecondsPerWeek / 2)
        t.week -= 1;
    else if (offset < -kSecondsPerWeek / 2)
        t.week += 1;
    return t;
}

tagGPSTIME2 glonassDayTimeToGps(double moscowSecondsOfDay, const tagGPSTIME2& reference)
{
    const int leap = pppio::leapSecondsAt(reference);
    // The reference in Moscow time, split into day of week and time of day.
    const tagGPSTIME2 moscow = pppio::shiftedTime(reference, kMoscowMinusUtc - leap);
    const double dayStart = std::floor(moscow.sow / kSecondsPerDay) * kSecondsPerDay;
    double offset = moscowSecondsOfDay - (moscow.sow - dayStart);
    if (offset > kSecondsPerDay / 2)
        offset -= kSecondsPerDay;
    else if (offset < -kSecondsPerDay / 2)
        offset += kSecondsPerDay;
    return pppio::shiftedTime(reference, offset);
}

double gpsToGlonassDayTime(const tagGPSTIME2& t)
{
    const tagGPSTIME2 moscow = pppio::shiftedTime(t, kMoscowMinusUtc - pppio::leapSecondsAt(t));
    return std::fmod(moscow.sow, kSecondsPerDay);
}

}  // namespace ppprt
