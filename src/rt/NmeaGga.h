// NMEA 0183 GGA sentences, which network NTRIP mounts need to learn where
// the user is: the checksum and a sentence written from a position.
//
//   const std::string gga = ppprt::formatGga(utcSecondsOfDay, latDeg, lonDeg, heightM);
//   // "$GPGGA,123519.00,4807.0380,N,01131.0000,E,1,12,1.0,545.400,M,0.000,M,,*hh\r\n"
#ifndef PPPRT_NMEAGGA_H
#define PPPRT_NMEAGGA_H

#include <string>

namespace ppprt {

// XOR of the characters between '$' and '*' (or the end); -1 without '$'.
int nmeaChecksum(const std::string& sentence);

// A GGA sentence with checksum and CR LF. The height goes into the altitude
// field with a geoid separation of zero (casters only need the rough place).
// By default fix quality 1, 12 satellites, HDOP 1.0: plausible values for a
// receiver that has a position. Quality: 1 single point, 2 differential,
// 4 fixed ambiguities, 5 float ambiguities.
std::string formatGga(double utcSecondsOfDay, double latitudeDeg, double longitudeDeg, double heightM,
                      int quality = 1, int satellites = 12);

// The sentence with "\r\n" at its end and the checksum added when missing.
std::string completeGga(const std::string& sentence);

}  // namespace ppprt

#endif
