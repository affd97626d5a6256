#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <map>
#include <set>
#include <string>

#include "common/GNSSConst.h"
#include "io/BroadcastOrbit.h"
#include "io/GpsTime.h"
#include "rt/RtcmEphemeris.h"
#include "rt/RtcmMsm.h"
#include "rt/RtcmTestFiles.h"

namespace ppprt {
namespace {

using rtcmtest::Payload;

// Range from a satellite at the time of transmission to the receiver,
// with the Earth's rotation during the signal's travel.
double geometricRange(const pppio::KeplerEphemeris& eph, const tagGPSTIME2& receive, const double receiver[3],
                      double pseudorange)
{
    pppio::SatelliteState sat{};
    pppio::keplerState(eph, pppio::shiftedTime(receive, -pseudorange / _LIGHT_SPEED), sat);
    const double angle = _EARTH_ROTATE * pseudorange / _LIGHT_SPEED;
    const double x = std::cos(angle) * sat.position[0] + std::sin(angle) * sat.position[1];
    const double y = -std::sin(angle) * sat.position[0] + std::cos(angle) * sat.position[1];
    const double d[3] = {x - receiver[0], y - receiver[1], sat.position[2] - receiver[2]};
    const double dt = pppio::secondsBetween(receive, eph.toc);
    return std::sqrt(d[0] * d[0] + d[1] * d[1] + d[2] * d[2]) - _LIGHT_SPEED * (eph.af0 + eph.af1 * dt);
}

// ROVR's GPS pseudoranges against the ranges from the correction stream's
// own broadcast ephemerides (whose decoding is checked on its own) to the station's reference position: after one
// receiver clock per epoch, only atmosphere and orbit errors remain (up to
// 11 m on this excerpt; a wrong field scale or epoch would give kilometres).
TEST(RtcmMsm, RovrPseudorangesMatchBroadcastGeometry)
{
    const tagGPSTIME2 reference = pppio::gpsTimeFromCalendar(2026, 2, 6, 20, 0, 0.0);
    std::map<int, pppio::KeplerEphemeris> ephemerides;
    for (const Payload& p : rtcmtest::readPayloads("SSR_20260206_1019_excerpt.rtcm3")) {
        DecodedEphemeris eph;
        ASSERT_EQ(decodeEphemeris(p.data(), p.size(), reference, eph), EphemerisStatus::kOk);
        ephemerides[eph.prn] = eph.kepler;
    }
    ASSERT_GE(ephemerides.size(), 9u);
    const double rovr[3] = {4649331.6995, 1029774.1231, 4229062.7567};

    static MsmMessage msm;
    int epochs = 0, residuals = 0;
    for (const Payload& p : rtcmtest::readPayloads("ROVR_20260206_MSM5_excerpt.rtcm3")) {
        ASSERT_EQ(decodeMsm(p.data(), p.size(), reference, msm), MsmStatus::kOk);
        if (msm.system != 'G')
            continue;
        EXPECT_EQ(msm.msmType, 5);
        double difference[kMsmMaxSatellites];
        double mean = 0.0;
        int n = 0;
        for (int s = 0; s < msm.satelliteCount; ++s) {
            const MsmSatellite& sat = msm.satellites[s];
            ASSERT_EQ(std::string(sat.cells[0].code), "1C");
            const double p1 = sat.cells[0].pseudorange;
            difference[n] = p1 - geometricRange(ephemerides.at(sat.prn), msm.time, rovr, p1);
            mean += difference[n++];
        }
        mean /= n;
        for (int k = 0; k < n; ++k, ++residuals)
            EXPECT_LT(std::fabs(difference[k] - mean), 15.0) << "epoch " << msm.time.sow;
        ++epochs;
    }
    EXPECT_EQ(epochs, 8);
    EXPECT_GE(residuals, 8 * 9);
}

// Consistency of each cell with itself over time, on the MSM7 excerpt of
// four systems and the MSM5 one: phase range within a metre-level ambiguity
// of the pseudorange and steady, its change from epoch to epoch equal to
// the mean phase range rate, and GLONASS epochs (GLONASS time, day of week)
// equal to the GPS epochs once turned into GPS time.
TEST(RtcmMsm, CellsAreConsistentOverTime)
{
    struct Case { const char* file; int year, month, day; int cells; };
    const Case cases[] = {{"GMSD7_20121014_MSM7_excerpt.rtcm3", 2012, 10, 14, 600},
                          {"ROVR_20260206_MSM5_excerpt.rtcm3", 2026, 2, 6, 400}};
    for (const Case& c : cases) {
        SCOPED_TRACE(c.file);
        const tagGPSTIME2 reference = pppio::gpsTimeFromCalendar(c.year, c.month, c.day, 12, 0, 0.0);
        struct Last { tagGPSTIME2 time; double phase, rate, offset; };
        std::map<std::string, Last> last;
        std::map<char, std::set<double>> epochs;
        static MsmMessage msm;
        int checked = 0;
        for (const Payload& p : rtcmtest::readPayloads(c.file)) {
            if (decodeMsm(p.data(), p.size(), reference, msm) == MsmStatus::kUnsupported)
                continue;
            epochs[msm.system].insert(msm.time.sow);
            for (int s = 0; s < msm.satelliteCount; ++s)
                for (int k = 0; k < msm.satellites[s].cellCount; ++k) {
                    const MsmCell& cell = msm.satellites[s].cells[k];
                    if (cell.phaseRange == 0.0 || cell.pseudorange == 0.0)
                        continue;
                    const std::string key = msm.system + std::to_string(msm.satellites[s].prn) + cell.code;
                    const double offset = cell.phaseRange - cell.pseudorange;
                    EXPECT_LT(std::fabs(offset), 300.0) << key;
                    auto found = last.find(key);
                    if (found != last.end() && pppio::secondsBetween(msm.time, found->second.time) == 1.0) {
                        EXPECT_NEAR(offset, found->second.offset, 5.0) << key;
                        if (cell.phaseRate != 0.0 && found->second.rate != 0.0) {
                            EXPECT_NEAR(cell.phaseRange - found->second.phase, (cell.phaseRate + found->second.rate) / 2,
                                        0.1) << key;
                            ++checked;
                        }
                    }
                    last[key] = Last{msm.time, cell.phaseRange, cell.phaseRate, offset};
                }
        }
        EXPECT_GT(checked, c.cells);
        EXPECT_GT(epochs['G'].size(), 7u);
        EXPECT_TRUE(std::includes(epochs['R'].begin(), epochs['R'].end(), epochs['G'].begin(), epochs['G'].end()));
    }
}

// The lock time indicators: published table points, and the inverse used by
// the encoder gives back the same indicator for every value.
TEST(RtcmMsm, LockTimeIndicators)
{
    struct Point { int indicator; bool extended; double seconds; };
    const Point points[] = {{0, false, 0.0}, {1, false, 0.032}, {15, false, 524.288}, {63, true, 0.063},
                            {64, true, 0.064}, {96, true, 0.128}, {128, true, 0.256}, {704, true, 67108.864},
                            {705, true, -1.0}};
    for (const Point& p : points)
        EXPECT_DOUBLE_EQ(msmLockTime(p.indicator, p.extended), p.seconds) << p.indicator;
    for (int extended = 0; extended < 2; ++extended)
        for (int i = 0; i <= (extended ? 704 : 15); ++i) {
            const double t = msmLockTime(i, extended);
            EXPECT_EQ(msmLockIndicator(t, extended), i);
            EXPECT_EQ(msmLockIndicator(msmLockTimeBound(t, extended) - 1e-4, extended), i);
        }
}

// Cut or corrupted messages give a status, never a crash or a wild read
// (random damage: see the fuzz test).
TEST(RtcmMsm, DamagedMessagesGiveStatus)
{
    const std::vector<Payload> payloads = rtcmtest::readPayloads("GMSD7_20121014_MSM7_excerpt.rtcm3");
    Payload msm7;
    for (const Payload& p : payloads)
        if (rtcmtest::messageType(p) == 1077 && msm7.empty())
            msm7 = p;
    ASSERT_FALSE(msm7.empty());
    const tagGPSTIME2 reference = pppio::gpsTimeFromCalendar(2012, 10, 14, 0, 0, 0.0);
    static MsmMessage out;
    EXPECT_EQ(decodeMsm(msm7.data(), msm7.size(), reference, out), MsmStatus::kOk);
    for (size_t length = 0; length < msm7.size(); ++length)
        EXPECT_EQ(decodeMsm(msm7.data(), length, reference, out), MsmStatus::kTruncated) << length;

    Payload wide = msm7;
    for (int byte = 8; byte < 16; ++byte)   // satellite mask: bits 73-136 of the header
        wide[static_cast<size_t>(byte) + 1] = 0xFF;
    EXPECT_EQ(decodeMsm(wide.data(), wide.size(), reference, out), MsmStatus::kTooManyCells);
    const Payload legacy = *std::find_if(payloads.begin(), payloads.end(),
                                         [](const Payload& p) { return rtcmtest::messageType(p) == 1019; });
    EXPECT_EQ(decodeMsm(legacy.data(), legacy.size(), reference, out), MsmStatus::kUnsupported);
}

}  // namespace
}  // namespace ppprt
