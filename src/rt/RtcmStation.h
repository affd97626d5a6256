// Station description messages of RTCM 3: antenna reference point (1005,
// 1006 with the antenna height), antenna descriptor (1007, 1008 with its
// serial number) and receiver and antenna descriptors (1033), gathered in
// one record that each message updates in its own part.
//
//   ppprt::StationInfo station;
//   if (ppprt::decodeStation(frame.payload, frame.length, station) == ppprt::StationStatus::kOk
//       && station.hasPosition)
//       use(station.arp);
//   size_t n = ppprt::encodeStation(1006, station, payload, sizeof(payload));
#ifndef PPPRT_RTCMSTATION_H
#define PPPRT_RTCMSTATION_H

#include <cstddef>
#include <cstdint>
#include <string>

namespace ppprt {

struct StationInfo {
    int station = 0;

    // 1005, 1006
    bool hasPosition = false;
    int itrfYear = 0;             // 6-bit realization year field
    bool gps = false, glonass = false, galileo = false;
    bool referenceStation = false;   // false: physical station, true: non-physical
    bool singleOscillator = false;
    int quarterCycle = 0;         // 2-bit quarter cycle indicator
    double arp[3] = {0.0, 0.0, 0.0};   // antenna reference point, ECEF, m
    bool hasHeight = false;       // 1006
    double antennaHeight = 0.0;   // m, ARP above the marker

    // 1007, 1008, 1033
    bool hasAntenna = false;
    std::string antennaDescriptor;   // IGS name as in ANTEX, up to 31 characters
    int setupId = 0;
    std::string antennaSerial;

    // 1033
    bool hasReceiver = false;
    std::string receiverType, firmware, receiverSerial;
};

enum class StationStatus { kOk, kTruncated, kUnsupported };

// Updates `info` from a 1005, 1006, 1007, 1008 or 1033 payload.
StationStatus decodeStation(const uint8_t* payload, size_t length, StationInfo& info);

// Writes message `messageNumber` (1005, 1006, 1007, 1008, 1033) of `info`;
// returns the payload length, 0 for another number, a string above 31
// characters or a value out of its field.
size_t encodeStation(int messageNumber, const StationInfo& info, uint8_t* out, size_t capacity);

}  // namespace ppprt

#endif
