// Times of RTCM 3 messages, which carry only part of the date: seconds of
// week, seconds of the GLONASS day or a week number that rolls over. Each
// is resolved to the full GPS time nearest a reference time (the stream's
// current time).
//
//   tagGPSTIME2 t = ppprt::nearestTimeOfWeek(sow, reference);
//   tagGPSTIME2 g = ppprt::glonassDayTimeToGps(secondsOfMoscowDay, reference);
#ifndef PPPRT_RTCMTIME_H
#define PPPRT_RTCMTIME_H

#include "common/GNSSTimeConvert.h"

namespace ppprt {

// GLONASS time runs in Moscow time: UTC + 3 h.
constexpr double kMoscowMinusUtc = 10800.0;

// A reference of week 0 or before means "time unknown".
inline bool knownTime(const tagGPSTIME2& t) { return t.week > 0; }

// The GPS time with the given seconds of week nearest the reference.
tagGPSTIME2 nearestTimeOfWeek(double secondsOfWeek, const tagGPSTIME2& reference);

// GPS time of a GLONASS time of day (seconds since Moscow midnight), the
// day being the one that puts it nearest the reference; GPS - UTC from the
// published leap seconds at the reference.
tagGPSTIME2 glonassDayTimeToGps(double moscowSecondsOfDay, const tagGPSTIME2& reference);

// Seconds since Moscow midnight of a GPS time (the inverse of the above).
double gpsToGlonassDayTime(const tagGPSTIME2& t);

}  // namespace ppprt

#endif
