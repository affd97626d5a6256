// RTCM 3 state-space representation (SSR) messages, decoded into and
// encoded from ppprt::SsrMessage: orbit, clock, combined, high-rate clock,
// code bias and URA of GPS (1057-1062), GLONASS (1063-1068), Galileo
// (1240-1245), QZSS (1246-1251) and BeiDou (1258-1263); phase bias
// (1265-1268, 1270) and VTEC (1264). SBAS (1252-1257, 1269) is refused as
// unsupported.
//
// The epoch is resolved to full GPS time against a reference, the stream's
// current time: seconds of GPS week (GPS, Galileo, QZSS), seconds of BDT
// week (BeiDou, 14 s behind GPS time), seconds of the GLONASS day (Moscow
// time, UTC + 3 h, converted with the published leap seconds).
//
//   ppprt::SsrMessage message;   // large: keep one and reuse it
//   if (ppprt::decodeSsr(payload, length, now, message) == ppprt::SsrStatus::kOk)
//       corrections.apply(message);
//   size_t n = ppprt::encodeSsr(message, buffer, sizeof(buffer));   // 0 when it does not fit
#ifndef PPPRT_RTCMSSR_H
#define PPPRT_RTCMSSR_H

#include <cstddef>
#include <cstdint>

#include "common/GNSSTimeConvert.h"
#include "rt/SsrMessages.h"

namespace ppprt {

enum class SsrStatus {
    kOk,
    kTruncated,          // payload shorter than its satellite count says
    kNotSsr,             // not an SSR message number
    kUnsupportedSystem,  // SBAS
    kNoReference,        // reference time unknown: the epoch cannot be placed
    kBadValue,           // epoch beyond its week or day, satellite 0, VTEC degree above 15
};

// True for the message numbers this decoder handles (SBAS excluded).
bool isSsrMessage(int messageNumber);

SsrStatus decodeSsr(const uint8_t* payload, size_t length, const tagGPSTIME2& reference, SsrMessage& out);

// Writes the message `message.messageNumber` (header, satellites, or VTEC
// layers) and returns the payload length; 0 when a value does not fit its
// field, the number is not supported or the capacity is too small.
size_t encodeSsr(const SsrMessage& message, uint8_t* payload, size_t capacity);

// Metres of a 6-bit URA field (3-bit class, 3-bit value); 0 for index 0
// (undefined).
double uraMetres(int index);

const char* ssrStatusName(SsrStatus status);

}  // namespace ppprt

#endif
