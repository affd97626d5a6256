// Broadcast ephemerides of RTCM 3: 1019 (GPS), 1020 (GLONASS), 1042
// (BeiDou), 1045 (Galileo F/NAV) and 1046 (Galileo I/NAV), decoded into the
// records of the navigation file reader, filled as it fills them from
// RINEX (times in GPS time, week as RINEX writes it: GPS week for GPS and
// Galileo, BDT week for BeiDou), and encoded back.
//
// Weeks roll over in the message (GPS 10 bits, Galileo 12 bits counted from
// GPS week 1024, BeiDou 13 bits from GPS week 1356) and are resolved
// against a reference time, the stream's current time. A week field that
// disagrees with the reference by more than the week boundary around toe
// (a known encoder fault writes the GPS week into the Galileo field) is
// replaced by the week that puts toe nearest the reference, and flagged.
//
//   ppprt::DecodedEphemeris eph;
//   const ppprt::EphemerisStatus status = ppprt::decodeEphemeris(payload, length, now, eph);
//   if (status == ppprt::EphemerisStatus::kOk)
//       navigation.add(eph);   // eph.kepler or eph.glonass, by eph.kind
//   if (eph.weekInconsistent) ++counts.weekFaults;
#ifndef PPPRT_RTCMEPHEMERIS_H
#define PPPRT_RTCMEPHEMERIS_H

#include <cstddef>
#include <cstdint>

#include "common/GNSSTimeConvert.h"
#include "io/NavReader.h"

namespace ppprt {

enum class EphemerisStatus {
    kOk,
    kUnhealthy,             // decoded; the satellite reports itself unhealthy
    kTruncated,             // payload shorter than the message
    kUnsupportedType,       // not one of the ephemeris messages
    kUnsupportedSatellite,  // decoded, but the number has no packed index (e.g. BeiDou above 35)
    kNoReference,           // GLONASS without a reference time: the day is unknown
    kImpossibleWeek,        // week field wrong and toe far from the reference
    kBadValue,              // implausible orbit (semi-major axis, eccentricity, radius, channel)
};

enum class EphemerisKind { kKepler, kGlonass };

struct DecodedEphemeris {
    int messageNumber = 0;
    EphemerisKind kind = EphemerisKind::kKepler;
    char system = 'G';
    int prn = 0;                     // number within the system, as broadcast
    bool weekInconsistent = false;   // week field replaced from the reference
    pppio::KeplerEphemeris kepler;   // kKepler
    pppio::GlonassEphemeris glonass; // kGlonass
};

// A reference of week 0 means "time unknown": GPS weeks are then taken in
// the rollover era that began in April 2019, other weeks as broadcast.
EphemerisStatus decodeEphemeris(const uint8_t* payload, size_t length, const tagGPSTIME2& reference,
                                DecodedEphemeris& out);

// Writes out.messageNumber's message (1045 or 1046 for Galileo) from the
// record of its kind; returns the payload length, 0 when a value does not
// fit its field or the capacity is too small. GLONASS fields that the record
// does not keep (P1-P4, almanac, tau_c, ...) are written as zero.
size_t encodeEphemeris(const DecodedEphemeris& eph, uint8_t* payload, size_t capacity);

const char* ephemerisStatusName(EphemerisStatus status);

}  // namespace ppprt

#endif
