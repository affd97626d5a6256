#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "io/GpsTime.h"
#include "io/NavReader.h"
#include "rt/RtcmTestFiles.h"
#include "rt/RtcmSsr.h"

namespace ppprt {
namespace {

SsrMessage g_message, g_again;   // large records: one each, reused

std::vector<uint8_t> Encode(const SsrMessage& message)
{
    uint8_t payload[kRtcmMaxPayload];
    return std::vector<uint8_t>(payload, payload + encodeSsr(message, payload, sizeof(payload)));
}

// Real streams: every message decodes, re-encodes to the same bits, with
// plausible magnitudes and epochs; the IGS stream's GPS IODs are issues of
// the broadcast file it refers to.
TEST(RtcmSsr, RealStreamsDecodeAndReencodeExactly)
{
    struct Case {
        const char* file;
        tagGPSTIME2 reference;
        std::map<int, int> counts;
        double maxOrbit, maxClock;   // m, BeiDou excepted
    };
    const Case cases[] = {
        {"SSRA03IGS0_2026188140760_3epoch.rtcm3", {2426, 223700.0},
         {{1059, 3}, {1060, 6}, {1065, 3}, {1066, 3}, {1242, 4}, {1243, 4}, {1260, 3}, {1261, 3}}, 6.0, 6.0},
        {"SSR_20260206_corrections.rtcm3", {2404, 504040.0},
         {{1057, 2}, {1058, 3}, {1059, 2}, {1063, 3}, {1064, 3}, {1065, 2}, {1240, 3}, {1241, 2}, {1242, 2},
          {1264, 2}, {1265, 2}, {1266, 2}, {1267, 2}}, 4.0, 6.0},
    };
    const pppio::NavFile nav = pppio::readNav(rtcmtest::dataPath("BRDC00WRD_S_20261880000_01D_MN_GPS_SSR_20261881400.rnx"));
    std::set<int> broadcastIssues;   // prn * 1000 + IODE
    for (const pppio::KeplerEphemeris& e : nav.kepler)
        broadcastIssues.insert(e.iprn * 1000 + static_cast<int>(e.iode));

    for (const Case& c : cases) {
        SCOPED_TRACE(c.file);
        std::map<int, int> counts;
        int gpsOrbits = 0;
        for (const std::vector<uint8_t>& frame : rtcmtest::readPayloads(c.file)) {
            ASSERT_EQ(decodeSsr(frame.data(), frame.size(), c.reference, g_message), SsrStatus::kOk);
            ++counts[g_message.messageNumber];
            EXPECT_EQ(Encode(g_message), frame) << g_message.messageNumber;
            const SsrHeader& h = g_message.header;
            // GLONASS epochs of the 2026 stream are written without the leap seconds: 18 s late here.
            const double late = c.reference.week == 2404 && h.system == 'R' ? 18.0 : 0.0;
            const double age = pppio::secondsBetween(h.time, c.reference) - late;
            EXPECT_LT(std::fabs(age), 60.0) << g_message.messageNumber;
            EXPECT_EQ(std::fmod(h.time.sow - late, c.reference.week == 2426 ? 10.0 : 1.0), 0.0);   // BeiDou BDT epochs on the GPS grid
            const bool beidou = h.system == 'C';
            for (int i = 0; i < g_message.satelliteCount; ++i) {
                const SsrSatellite& s = g_message.satellites[i];
                EXPECT_LT(std::max({std::fabs(s.radial), std::fabs(s.along), std::fabs(s.cross)}), c.maxOrbit);
                EXPECT_LT(std::fabs(s.c0), beidou ? 40.0 : c.maxClock);
                for (int k = 0; k < s.phaseBiasCount; ++k)
                    EXPECT_LT(std::fabs(s.phaseBias[k].bias), 3.0);
                for (int k = 0; k < s.codeBiasCount; ++k)
                    EXPECT_LT(std::fabs(s.codeBias[k].bias), beidou ? 50.0 : 10.0);
                if (c.reference.week == 2426 && h.system == 'G' && g_message.type == SsrType::kCombined) {
                    EXPECT_EQ(broadcastIssues.count(s.prn * 1000 + s.iode), 1u) << "G" << s.prn << " IOD " << s.iode;
                    ++gpsOrbits;
                }
                if (beidou && g_message.type == SsrType::kCombined) {   // IOD of the 14:00 BDT issue: toe/720 mod 240
                    EXPECT_EQ(s.iode, 70);
                }
            }
            if (g_message.type == SsrType::kVtec) {
                EXPECT_EQ(g_message.vtec.layers, 1);
                EXPECT_EQ(g_message.vtec.height[0], 530000.0);
            }
        }
        EXPECT_EQ(counts, c.counts);
        EXPECT_EQ(gpsOrbits, c.reference.week == 2426 ? 90 : 0);
    }
}

// Synthetic messages of every kind and system: decode(encode(x)) keeps x to
// the resolution of each field.
TEST(RtcmSsr, EveryKindRoundTrips)
{
    struct Kind {
        SsrType type;
        int numbers[5];   // G R E J C
    };
    const Kind kinds[] = {
        {SsrType::kOrbit, {1057, 1063, 1240, 1246, 1258}},     {SsrType::kClock, {1058, 1064, 1241, 1247, 1259}},
        {SsrType::kCodeBias, {1059, 1065, 1242, 1248, 1260}}, {SsrType::kCombined, {1060, 1066, 1243, 1249, 1261}},
        {SsrType::kUra, {1061, 1067, 1244, 1250, 1262}},      {SsrType::kHighRateClock, {1062, 1068, 1245, 1251, 1263}},
        {SsrType::kPhaseBias, {1265, 1266, 1267, 1268, 1270}}, {SsrType::kVtec, {1264, 0, 0, 0, 0}},
    };
    const char systems[] = "GREJC";
    const tagGPSTIME2 time{2404, 504037.0};
    for (const Kind& kind : kinds)
        for (int s = 0; s < 5 && kind.numbers[s] != 0; ++s) {
            SCOPED_TRACE(kind.numbers[s]);
            SsrMessage& m = g_message;
            m = SsrMessage();
            m.messageNumber = kind.numbers[s];
            m.type = kind.type;
            m.header.system = kind.type == SsrType::kVtec ? 'G' : systems[s];
            m.header.time = time;
            m.header.updateIntervalIndex = 5;
            m.header.iodSsr = 3, m.header.provider = 260, m.header.solution = 2, m.header.datum = 1;
            m.header.multipleMessage = m.header.dispersiveConsistent = true;
            m.satelliteCount = 3;
            for (int i = 0; i < m.satelliteCount; ++i) {
                SsrSatellite& sat = m.satellites[i];
                const double sign = i % 2 ? -1.0 : 1.0;
                sat.prn = 1 + 6 * i;   // within QZSS's 4 bits
                sat.iode = 200 + i;
                sat.radial = sign * 1.23456, sat.along = -sign * 50.1, sat.cross = 0.0004;
                sat.dotRadial = 0.001234, sat.dotAlong = -0.0421, sat.dotCross = sign * 0.1;
                sat.c0 = sign * 12.3456, sat.c1 = 0.0123, sat.c2 = -0.00002;
                sat.highRateClock = -3.21;
                sat.uraIndex = 9 + i;
                sat.yaw = 3.0, sat.yawRate = -0.01;
                sat.codeBiasCount = sat.phaseBiasCount = 2;
                for (int k = 0; k < 2; ++k) {
                    sat.codeBias[k] = {k * 11, sign * 7.89};
                    sat.phaseBias[k] = {k * 11, sign * 1.2345, k == 0, 2, 9};
                }
            }
            m.vtec.quality = 1.25, m.vtec.layers = 2;
            for (int layer = 0; layer < 2; ++layer) {
                m.vtec.height[layer] = 350000.0 + 100000.0 * layer;
                m.vtec.degree[layer] = 15, m.vtec.order[layer] = 15 - 3 * layer;
                m.vtec.cosine[layer][15][12 - 3 * layer] = 12.345;
                m.vtec.sine[layer][4][1] = -0.005;
            }
            const std::vector<uint8_t> encoded = Encode(m);
            ASSERT_FALSE(encoded.empty());
            ASSERT_EQ(decodeSsr(encoded.data(), encoded.size(), {2404, 500000.0}, g_again), SsrStatus::kOk);
            const SsrMessage& d = g_again;
            EXPECT_EQ(d.type, m.type);
            EXPECT_EQ(pppio::secondsBetween(d.header.time, time), 0.0);
            EXPECT_EQ(d.header.updateInterval, 30.0);
            EXPECT_EQ(Encode(d), encoded);
            if (m.type == SsrType::kVtec) {
                EXPECT_EQ(d.vtec.order[1], 12);
                EXPECT_NEAR(d.vtec.cosine[1][15][9], 12.345, 0.0025);
                EXPECT_NEAR(d.vtec.sine[1][4][1], -0.005, 0.0025);
                continue;
            }
            ASSERT_EQ(d.satelliteCount, 3);
            const SsrSatellite& a = m.satellites[1];
            const SsrSatellite& b = d.satellites[1];
            EXPECT_EQ(b.prn, a.prn);
            const bool orbit = m.type == SsrType::kOrbit || m.type == SsrType::kCombined;
            const bool clock = m.type == SsrType::kClock || m.type == SsrType::kCombined;
            EXPECT_EQ(b.iode, orbit ? a.iode : 0);
            EXPECT_NEAR(b.radial, orbit ? a.radial : 0.0, 5e-5);
            EXPECT_NEAR(b.along, orbit ? a.along : 0.0, 2e-4);
            EXPECT_NEAR(b.dotCross, orbit ? a.dotCross : 0.0, 2e-6);
            EXPECT_NEAR(b.c0, clock ? a.c0 : 0.0, 5e-5);
            EXPECT_NEAR(b.c2, clock ? a.c2 : 0.0, 1e-8);
            EXPECT_NEAR(b.highRateClock, m.type == SsrType::kHighRateClock ? a.highRateClock : 0.0, 5e-5);
            EXPECT_NEAR(b.ura, m.type == SsrType::kUra ? 0.0035 : 0.0, 1e-12);   // index 10: class 1, value 2
            EXPECT_EQ(b.codeBiasCount, m.type == SsrType::kCodeBias ? 2 : 0);
            EXPECT_EQ(b.phaseBiasCount, m.type == SsrType::kPhaseBias ? 2 : 0);
            if (m.type == SsrType::kCodeBias) {
                EXPECT_NEAR(b.codeBias[1].bias, a.codeBias[1].bias, 0.005);
            }
            if (m.type == SsrType::kPhaseBias) {
                EXPECT_NEAR(b.yaw, a.yaw, 3.1416 / 512);
                EXPECT_NEAR(b.yawRate, a.yawRate, 3.1416 / 16384);
                EXPECT_EQ(b.phaseBias[0].integer, true);
                EXPECT_EQ(b.phaseBias[1].wideLaneInteger, 2);
                EXPECT_EQ(b.phaseBias[1].discontinuity, 9);
                EXPECT_NEAR(b.phaseBias[1].bias, a.phaseBias[1].bias, 5e-5);
            }
        }
}

TEST(RtcmSsr, UraAndRefusedMessages)
{
    // (3^class (1 + value/4) - 1) mm
    const std::pair<int, double> ura[] = {{0, 0.0}, {1, 0.00025}, {10, 0.0035}, {63, 6.01325}};
    for (const auto& [index, metres] : ura)
        EXPECT_NEAR(uraMetres(index), metres, 1e-12) << index;

    const std::vector<std::vector<uint8_t>> frames = rtcmtest::readPayloads("SSR_20260206_corrections.rtcm3");
    ASSERT_FALSE(frames.empty());
    const std::vector<uint8_t>& glonass = frames[0];   // 1063
    const tagGPSTIME2 now{2404, 504040.0};
    EXPECT_EQ(decodeSsr(glonass.data(), glonass.size() - 1, now, g_message), SsrStatus::kTruncated);
    EXPECT_EQ(decodeSsr(glonass.data(), glonass.size(), {0, 0.0}, g_message), SsrStatus::kNoReference);
    std::vector<uint8_t> lateDay = glonass;
    lateDay[1] |= 0x0F, lateDay[2] = 0xFF, lateDay[3] |= 0xE0;   // 17 bits of ones: beyond the day
    EXPECT_EQ(decodeSsr(lateDay.data(), lateDay.size(), now, g_message), SsrStatus::kBadValue);
    const uint8_t sbas[] = {0x4E, 0x40, 0, 0, 0, 0, 0, 0}, ephemeris[] = {0x3F, 0xB0, 0, 0};
    EXPECT_EQ(decodeSsr(sbas, sizeof(sbas), now, g_message), SsrStatus::kUnsupportedSystem);
    EXPECT_EQ(decodeSsr(ephemeris, sizeof(ephemeris), now, g_message), SsrStatus::kNotSsr);
    g_message.messageNumber = 1252;
    EXPECT_EQ(Encode(g_message).size(), 0u);
}

}  // namespace
}  // namespace ppprt
