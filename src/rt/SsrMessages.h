// Decoded RTCM 3 state-space representation (SSR) messages: orbit, clock,
// combined orbit and clock, high-rate clock, code bias, URA, phase bias and
// the ionosphere's vertical TEC, as one record that the decoder fills and
// the encoder reads.
//
// Units are SI throughout (metres, m/s, seconds), whatever the resolution
// of the message fields; times are GPS time, with the message's epoch
// resolved against a reference time given to the decoder. The record is
// large (about 100 kB): keep one and reuse it.
//
// Message numbers (GPS, GLONASS, Galileo, QZSS, SBAS, BeiDou):
//   orbit 1057 1063 1240 1246 1252 1258     clock 1058 1064 1241 1247 1253 1259
//   code bias 1059 1065 1242 1248 1254 1260 combined 1060 1066 1243 1249 1255 1261
//   URA 1061 1067 1244 1250 1256 1262       high-rate clock 1062 1068 1245 1251 1257 1263
//   phase bias 1265 1266 1267 1268 1269 1270  VTEC 1264
#ifndef PPPRT_SSRMESSAGES_H
#define PPPRT_SSRMESSAGES_H

#include "common/GNSSTimeConvert.h"

namespace ppprt {

enum class SsrType { kOrbit, kClock, kCombined, kHighRateClock, kCodeBias, kUra, kPhaseBias, kVtec };

constexpr int kSsrMaxSatellites = 64;   // the 6-bit satellite count
constexpr int kSsrMaxBiases = 32;       // the 5-bit bias count (+1)

struct SsrHeader {
    char system = 'G';            // 'G', 'R', 'E', 'J', 'S', 'C'
    tagGPSTIME2 time{0, 0.0};     // epoch of the corrections, GPS time
    int updateIntervalIndex = 0;  // the 4-bit field
    double updateInterval = 0.0;  // s, from the index (0 for index 0: 1 s)
    bool multipleMessage = false;
    int iodSsr = 0;
    int provider = 0;
    int solution = 0;
    int datum = 0;                // orbit and combined messages: 0 ITRF, 1 regional
    bool dispersiveConsistent = false;   // phase bias messages
    bool mwConsistent = false;           // phase bias messages
};

// A bias of one signal: `signal` is the RTCM SSR signal and tracking mode
// indicator of the system (e.g. GPS 0 = L1 C/A, 2 = L2 P). Code bias
// messages fill only `signal` and `bias`.
struct SsrSignalBias {
    int signal = 0;
    double bias = 0.0;            // m
    bool integer = false;         // phase: signal integer indicator
    int wideLaneInteger = 0;      // phase: 0-3
    int discontinuity = 0;        // phase: 4-bit counter
};

struct SsrSatellite {
    int prn = 0;                  // satellite number within the system
    int iode = 0;                 // orbit: IODE (GPS, QZSS), IODnav (Galileo), IOD (BeiDou), tb-based IOD (GLONASS)
    int iodCrc = 0;               // orbit: SBAS IODCRC
    double radial = 0.0, along = 0.0, cross = 0.0;          // m
    double dotRadial = 0.0, dotAlong = 0.0, dotCross = 0.0; // m/s
    double c0 = 0.0, c1 = 0.0, c2 = 0.0;                    // clock: m, m/s, m/s^2
    double highRateClock = 0.0;   // m
    int uraIndex = 0;             // the 6-bit class/value field
    double ura = 0.0;             // m, from the index (0 when undefined)
    double yaw = 0.0, yawRate = 0.0;   // phase bias: rad, rad/s
    int codeBiasCount = 0;
    SsrSignalBias codeBias[kSsrMaxBiases];
    int phaseBiasCount = 0;
    SsrSignalBias phaseBias[kSsrMaxBiases];
};

// Vertical TEC as spherical harmonics on up to four layers.
constexpr int kVtecMaxLayers = 4;
constexpr int kVtecMaxDegree = 15;
struct SsrVtec {
    double quality = 0.0;         // TECU
    int layers = 0;
    double height[kVtecMaxLayers] = {};   // m
    int degree[kVtecMaxLayers] = {};
    int order[kVtecMaxLayers] = {};
    // cosine[layer][n][m], sine[layer][n][m], TECU
    double cosine[kVtecMaxLayers][kVtecMaxDegree + 1][kVtecMaxDegree + 1] = {};
    double sine[kVtecMaxLayers][kVtecMaxDegree + 1][kVtecMaxDegree + 1] = {};
};

struct SsrMessage {
    int messageNumber = 0;
    SsrType type = SsrType::kOrbit;
    SsrHeader header;
    int satelliteCount = 0;
    SsrSatellite satellites[kSsrMaxSatellites];
    SsrVtec vtec;                 // kVtec only
};

}  // namespace ppprt

#endif
