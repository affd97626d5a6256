#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <vector>

#include "common/GNSSConst.h"
#include "io/GpsTime.h"
#include "rt/MsmEpochBuilder.h"
#include "rt/RtcmMsmEncoder.h"
#include "rt/RtcmTestFiles.h"

namespace ppprt {
namespace {

using rtcmtest::Payload;

// Every MSM5 and MSM7 message of the excerpts, decoded and written again,
// gives back its bytes (but for the 7 reserved header bits, which GMSD7
// sets and the encoder clears).
TEST(RtcmMsmEncoder, RecordedMessagesReencodeBitExact)
{
    struct Case { const char* file; int year, month, day; };
    for (const Case& c : {Case{"GMSD7_20121014_MSM7_excerpt.rtcm3", 2012, 10, 14},
                          Case{"ROVR_20260206_MSM5_excerpt.rtcm3", 2026, 2, 6}}) {
        const tagGPSTIME2 reference = pppio::gpsTimeFromCalendar(c.year, c.month, c.day, 12, 0, 0.0);
        static MsmMessage msm;
        int count = 0;
        for (const Payload& p : rtcmtest::readPayloads(c.file)) {
            if (decodeMsm(p.data(), p.size(), reference, msm) != MsmStatus::kOk)
                continue;
            uint8_t out[kRtcmMaxPayload];
            size_t length = 0;
            ASSERT_EQ(encodeMsm(msm, out, sizeof(out), length), MsmStatus::kOk);
            Payload expected = p;
            for (int bit = 58; bit < 65; ++bit)
                expected[bit / 8] &= static_cast<uint8_t>(~(0x80 >> (bit % 8)));
            EXPECT_EQ(Payload(out, out + length), expected) << c.file << " message " << msm.messageNumber;
            ++count;
        }
        EXPECT_GT(count, 20) << c.file;
    }
}

// ROVR epochs (MSM5) written as MSM7 from the RINEX-unit epochs and built
// again: the same observations within the MSM7 resolutions, and a
// loss-of-lock flag set on the way in comes out at the same epoch.
TEST(RtcmMsmEncoder, EpochsRoundTripThroughMsm7)
{
    const tagGPSTIME2 reference = pppio::gpsTimeFromCalendar(2026, 2, 6, 20, 0, 0.0);
    MsmEpochBuilder first, second;
    MsmEncoder encoder(first.header(), 42);
    static MsmMessage in, msm7, back;
    int epochs = 0, compared = 0;
    const int g01l1 = first.header().obsIndex('G', "L1C");
    for (const Payload& p : rtcmtest::readPayloads("ROVR_20260206_MSM5_excerpt.rtcm3")) {
        ASSERT_EQ(decodeMsm(p.data(), p.size(), reference, in), MsmStatus::kOk);
        if (!first.add(in))
            continue;
        pppio::ObsEpoch epoch = first.epoch();
        const bool slip = epochs == 4 && epoch.satelliteCount() > 0;
        if (slip)
            epoch.row(0)[g01l1].lli = 1;
        bool completed = false;
        for (char system : {'G', 'R', 'E'})
            for (int next = 0; next < epoch.satelliteCount();) {
                next = encoder.fill(epoch, system, next, msm7);
                msm7.multipleMessage = !(system == 'E' && next == epoch.satelliteCount());
                uint8_t out[kRtcmMaxPayload];
                size_t length = 0;
                ASSERT_EQ(encodeMsm(msm7, out, sizeof(out), length), MsmStatus::kOk);
                ASSERT_EQ(decodeMsm(out, length, reference, back), MsmStatus::kOk);
                EXPECT_EQ(back.station, 42);
                completed = second.add(back);
            }
        ASSERT_TRUE(completed);
        const pppio::ObsEpoch& again = second.epoch();
        ASSERT_EQ(again.satelliteCount(), epoch.satelliteCount());
        EXPECT_EQ(again.gpsTime.sow, epoch.gpsTime.sow);
        for (int sat = 0; sat < epoch.satelliteCount(); ++sat) {
            const char system = epoch.satellite(sat).system;
            const pppio::SystemObsTypes& types = first.header().obsTypes(system);
            for (int t = 0; t < types.count(); ++t) {
                const pppio::ObsValue& a = epoch.obs(sat, t);
                const pppio::ObsValue& b = again.obs(sat, t);
                const char kind = types.codes[static_cast<size_t>(t)][0];
                const double tolerance = kind == 'S' ? 0.07 : 1e-3;   // MSM7: 0.6 mm, 0.15 mm, 0.1 mm/s, 1/16 dB-Hz
                EXPECT_NEAR(b.value, a.value, tolerance) << system << int(epoch.satellite(sat).prn) << types.codes[t];
                if (kind == 'L' && a.present() && epochs > 0) {
                    EXPECT_EQ(b.lli, a.lli) << epochs << system << int(epoch.satellite(sat).prn) << types.codes[t];
                }
                compared += a.present();
            }
        }
        ++epochs;
    }
    EXPECT_EQ(epochs, 8);
    EXPECT_GT(compared, 8 * 200);
}

// A system whose cells do not fit one message is split: 20 satellites of
// four signals go out as two messages, the first with the multiple-message bit.
TEST(RtcmMsmEncoder, SplitsAboveSixtyFourCells)
{
    MsmEpochBuilder builder;
    const pppio::RinexObsHeader& header = builder.header();
    pppio::ObsEpoch epoch;
    epoch.clear(header.maxTypeCount());
    epoch.gpsTime = tagGPSTIME2{2400, 3600.0};
    for (int prn = 1; prn <= 20; ++prn) {
        pppio::ObsValue* row = epoch.addSatellite('G', prn);
        for (const char* code : {"C1C", "C2W", "C2L", "C5Q"})
            row[header.obsIndex('G', code)] = pppio::ObsValue{2.1e7 + prn * 1000.0, 0, 7};
    }
    MsmEncoder encoder(header, 1);
    static MsmMessage msm;
    std::vector<int> counts;
    for (int next = 0; next < epoch.satelliteCount();) {
        next = encoder.fill(epoch, 'G', next, msm);
        counts.push_back(msm.satelliteCount);
    }
    EXPECT_EQ(counts, (std::vector<int>{16, 4}));
}

// A phase 14 km from its code (a simulated ambiguity) is out of the fine
// phase range's reach: it goes out shifted by whole cycles, the same shift
// on every epoch of the arc, without a loss of lock.
TEST(RtcmMsmEncoder, FarPhaseShiftedByWholeCyclesPerArc)
{
    MsmEpochBuilder first, second;
    const pppio::RinexObsHeader& header = first.header();
    const int c1 = header.obsIndex('G', "C1C"), l1 = header.obsIndex('G', "L1C");
    const double wavelength = _LIGHT_SPEED / 1575.42e6;
    MsmEncoder encoder(header, 1);
    static MsmMessage msm, back;
    double shift = 0.0;
    for (int k = 0; k < 3; ++k) {
        pppio::ObsEpoch epoch;
        epoch.clear(header.maxTypeCount());
        epoch.gpsTime = tagGPSTIME2{2400, 3600.0 + 30.0 * k};
        const double range = 2.1e7 + 20.0 * k;
        pppio::ObsValue* row = epoch.addSatellite('G', 1);
        row[c1] = pppio::ObsValue{range, 0, 7};
        row[l1] = pppio::ObsValue{range / wavelength + 73000.25, 0, 7};
        encoder.fill(epoch, 'G', 0, msm);
        msm.multipleMessage = false;
        uint8_t out[kRtcmMaxPayload];
        size_t length = 0;
        ASSERT_EQ(encodeMsm(msm, out, sizeof(out), length), MsmStatus::kOk);
        ASSERT_EQ(decodeMsm(out, length, epoch.gpsTime, back), MsmStatus::kOk);
        ASSERT_TRUE(second.add(back) || second.flush());
        const pppio::ObsValue& phase = second.epoch().obs(0, l1);
        ASSERT_TRUE(phase.present()) << "epoch " << k;
        const double moved = row[l1].value - phase.value;
        EXPECT_NEAR(moved, std::round(moved), 1e-3);
        EXPECT_NEAR(std::fabs(moved), 73000.0, 10.0);
        if (k == 0)
            shift = moved;
        EXPECT_NEAR(moved, shift, 1e-3) << "epoch " << k;
        EXPECT_EQ(phase.lli & 1, k == 0 ? 1 : 0) << "epoch " << k;
    }
}

}  // namespace
}  // namespace ppprt
