#include <gtest/gtest.h>

#include <cmath>
#include <map>
#include <string>
#include <vector>

#include "io/BroadcastOrbit.h"
#include "io/GpsTime.h"
#include "rt/RtcmEphemeris.h"
#include "rt/RtcmTestFiles.h"

namespace ppprt {
namespace {

pppio::SatelliteState StateAtToe(const DecodedEphemeris& eph, const tagGPSTIME2* at = nullptr)
{
    pppio::SatelliteState state{};
    if (eph.kind == EphemerisKind::kGlonass)
        pppio::glonassState(eph.glonass, at ? *at : eph.glonass.toe, state);
    else
        pppio::keplerState(eph.kepler, at ? *at : eph.kepler.toe, state);
    return state;
}

double Distance(const double* a, const double* b)
{
    return std::sqrt((a[0] - b[0]) * (a[0] - b[0]) + (a[1] - b[1]) * (a[1] - b[1]) + (a[2] - b[2]) * (a[2] - b[2]));
}

// Real recordings: every ephemeris decodes to an orbit of its system's
// radius, re-encodes to the same bits (GPS) or the same orbit, and a
// satellite's next issue agrees with the previous one at the new toe.
TEST(RtcmEphemeris, RealStreamsGivePlausibleConsistentOrbits)
{
    struct Case {
        const char* file;
        tagGPSTIME2 reference;
        int messages, weekFaults, unsupported, nextIssues;
    };
    const Case cases[] = {
        {"GMSD7_20121014_ephemerides.rtcm3", {1710, 3600.0}, 31, 0, 0, 0},
        // Galileo 1046 with the GPS week in the Galileo week field.
        {"SSR_20260206_ephemerides.rtcm3", {2404, 504100.0}, 72, 36, 8, 5},
    };
    const std::map<char, std::pair<double, double>> radius = {
        {'G', {25.9e6, 27.2e6}}, {'R', {25.3e6, 25.7e6}}, {'E', {29.4e6, 29.8e6}}};
    for (const Case& c : cases) {
        SCOPED_TRACE(c.file);
        const std::vector<std::vector<uint8_t>> frames = rtcmtest::readPayloads(c.file);
        ASSERT_EQ(static_cast<int>(frames.size()), c.messages);
        std::map<int, DecodedEphemeris> previous;
        int weekFaults = 0, unsupported = 0, nextIssues = 0;
        for (const std::vector<uint8_t>& frame : frames) {
            DecodedEphemeris eph;
            const EphemerisStatus status = decodeEphemeris(frame.data(), frame.size(), c.reference, eph);
            unsupported += status == EphemerisStatus::kUnsupportedSatellite;
            ASSERT_TRUE(status == EphemerisStatus::kOk || status == EphemerisStatus::kUnsupportedSatellite)
                << eph.system << eph.prn << ": " << ephemerisStatusName(status);
            weekFaults += eph.weekInconsistent;
            if (eph.kind == EphemerisKind::kKepler) {
                EXPECT_EQ(eph.kepler.week, eph.kepler.toe.week);   // GPS and Galileo: GPS-aligned week of toe
                EXPECT_LT(std::fabs(pppio::secondsBetween(eph.kepler.toe, c.reference)), 4 * 3600.0);
            }
            const pppio::SatelliteState state = StateAtToe(eph);
            const double zero[3] = {0.0, 0.0, 0.0};
            const double r = Distance(state.position, zero);
            EXPECT_GT(r, radius.at(eph.system).first);
            EXPECT_LT(r, radius.at(eph.system).second);

            uint8_t encoded[kRtcmMaxPayload];
            const size_t length = encodeEphemeris(eph, encoded, sizeof(encoded));
            if (eph.system == 'G') {
                EXPECT_EQ(std::vector<uint8_t>(encoded, encoded + length), frame);
            }
            DecodedEphemeris again;
            decodeEphemeris(encoded, length, c.reference, again);
            EXPECT_FALSE(again.weekInconsistent);
            EXPECT_LT(Distance(StateAtToe(again).position, state.position), 1e-3);

            const int key = eph.system * 100 + eph.prn;
            const auto before = previous.find(key);
            if (before != previous.end() && eph.kind == EphemerisKind::kKepler &&
                eph.kepler.iode != before->second.kepler.iode) {
                const pppio::SatelliteState old = StateAtToe(before->second, &eph.kepler.toe);
                EXPECT_LT(Distance(old.position, state.position), 2.0) << eph.system << eph.prn;
                ++nextIssues;
            }
            previous[key] = eph;
        }
        EXPECT_EQ(weekFaults, c.weekFaults);
        EXPECT_EQ(unsupported, c.unsupported);
        EXPECT_EQ(nextIssues, c.nextIssues);
    }
}

// Weeks: rollover, the week boundary between transmission and toe, a wrong
// week field reconciled or refused, no reference; and the message types
// without a recording (1042, 1045) by round trip of a record.
TEST(RtcmEphemeris, WeeksAndRoundTripsOfEveryType)
{
    const std::vector<std::vector<uint8_t>> frames = rtcmtest::readPayloads("SSR_20260206_ephemerides.rtcm3");
    const tagGPSTIME2 now{2404, 504100.0};
    DecodedEphemeris galileo, gps;
    for (const std::vector<uint8_t>& frame : frames) {
        DecodedEphemeris eph;
        if (decodeEphemeris(frame.data(), frame.size(), now, eph) == EphemerisStatus::kOk)
            (eph.system == 'E' ? galileo : gps) = eph;
    }
    struct Case {
        int messageNumber;
        char system;
        int weekWritten;   // record week to encode (RINEX convention)
        tagGPSTIME2 reference;
        EphemerisStatus status;
        bool weekInconsistent;
        int week;          // resolved record week
    };
    const Case cases[] = {
        {1046, 'E', 2404, now, EphemerisStatus::kOk, false, 2404},
        {1045, 'E', 2404, now, EphemerisStatus::kOk, false, 2404},
        {1042, 'C', 2404 - 1356, now, EphemerisStatus::kOk, false, 2404 - 1356},
        {1019, 'G', 2404 - 1024, now, EphemerisStatus::kOk, false, 2404},             // 10-bit rollover
        {1019, 'G', 2403, {2404, 100.0}, EphemerisStatus::kOk, false, 2403},          // toe late last week
        {1019, 'G', 2404, {2405, 100.0}, EphemerisStatus::kOk, false, 2404},
        {1046, 'E', 2404 + 1024, now, EphemerisStatus::kOk, true, 2404},              // GPS week in GST field
        {1046, 'E', 2404 + 1024, {2404, 504100.0 + 2 * 86400}, EphemerisStatus::kImpossibleWeek, true, 0},
        {1046, 'E', 2404, {0, 0.0}, EphemerisStatus::kOk, false, 2404},
        {1019, 'G', 2404, {0, 0.0}, EphemerisStatus::kOk, false, 2404},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(std::to_string(c.messageNumber) + " week " + std::to_string(c.weekWritten));
        DecodedEphemeris eph = c.system == 'G' ? gps : galileo;
        eph.messageNumber = c.messageNumber;
        eph.system = c.system;
        eph.kepler.system = c.system;
        eph.kepler.week = c.weekWritten;
        if (c.system == 'C') {   // BeiDou: 5-bit issues, BDT epochs 14 s behind GPS time
            eph.kepler.iode = std::fmod(eph.kepler.iode, 32.0);
            eph.kepler.iodc = std::fmod(eph.kepler.iodc, 32.0);
            eph.kepler.toe = pppio::shiftedTime(eph.kepler.toe, pppio::kBdtToGps);
            eph.kepler.toc = pppio::shiftedTime(eph.kepler.toc, pppio::kBdtToGps);
        }
        uint8_t encoded[kRtcmMaxPayload];
        const size_t length = encodeEphemeris(eph, encoded, sizeof(encoded));
        ASSERT_GT(length, 0u);
        DecodedEphemeris out;
        EXPECT_EQ(decodeEphemeris(encoded, length, c.reference, out), c.status);
        EXPECT_EQ(out.weekInconsistent, c.weekInconsistent);
        if (c.status != EphemerisStatus::kOk)
            continue;
        EXPECT_EQ(out.kepler.week, c.week);
        EXPECT_EQ(out.kepler.iode, eph.kepler.iode);
        EXPECT_EQ(out.kepler.health, eph.kepler.health);
        const double dataSources = c.messageNumber == 1045 ? 258.0 : c.system == 'C' ? 0.0 : eph.kepler.l2CodesOrDataSources;
        EXPECT_EQ(out.kepler.l2CodesOrDataSources, dataSources);
        if (c.reference.sow == now.sow && !c.weekInconsistent) {
            EXPECT_EQ(pppio::secondsBetween(out.kepler.toe, eph.kepler.toe), 0.0);
            EXPECT_EQ(pppio::secondsBetween(out.kepler.toc, eph.kepler.toc), 0.0);
            EXPECT_LT(Distance(StateAtToe(out).position, StateAtToe(eph).position), 0.01);
            EXPECT_NEAR(out.kepler.af0, eph.kepler.af0, 1e-9);
        }
    }
}

TEST(RtcmEphemeris, MalformedMessagesAreRefused)
{
    const std::vector<std::vector<uint8_t>> frames = rtcmtest::readPayloads("GMSD7_20121014_ephemerides.rtcm3");
    ASSERT_GE(frames.size(), 2u);
    const std::vector<uint8_t>& glonass = frames[1];
    DecodedEphemeris eph;
    EXPECT_EQ(decodeEphemeris(glonass.data(), glonass.size() - 2, {1710, 0.0}, eph), EphemerisStatus::kTruncated);
    EXPECT_EQ(decodeEphemeris(glonass.data(), glonass.size(), {0, 0.0}, eph), EphemerisStatus::kNoReference);
    const uint8_t msm[] = {0x43, 0x50, 0, 0};   // 1077
    EXPECT_EQ(decodeEphemeris(msm, sizeof(msm), {1710, 0.0}, eph), EphemerisStatus::kUnsupportedType);
    std::vector<uint8_t> zeroed = frames[0];
    std::fill(zeroed.begin() + 2, zeroed.end(), 0);   // semi-major axis 0
    EXPECT_EQ(decodeEphemeris(zeroed.data(), zeroed.size(), {1710, 0.0}, eph), EphemerisStatus::kBadValue);
}

}  // namespace
}  // namespace ppprt
