#include <gtest/gtest.h>

#include <cstring>
#include <vector>

#include "common/GNSSConst.h"
#include "io/GpsTime.h"
#include "io/SignalSelection.h"
#include "rt/MsmEpochBuilder.h"
#include "rt/RtcmTestFiles.h"

namespace ppprt {
namespace {

using rtcmtest::Payload;

std::vector<MsmMessage> decodeAll(const char* file, const tagGPSTIME2& reference)
{
    std::vector<MsmMessage> messages;
    for (const Payload& p : rtcmtest::readPayloads(file)) {
        messages.emplace_back();
        if (decodeMsm(p.data(), p.size(), reference, messages.back()) != MsmStatus::kOk)
            messages.pop_back();
    }
    return messages;
}

// The ROVR excerpt (GPS, GLONASS, Galileo messages per epoch, the last one
// with the multiple-message bit clear) gives one epoch per second, in RINEX
// units, that the signal selection of the file path takes; without the
// last message of each epoch, the next epoch's first message and the
// final flush still complete every epoch.
TEST(MsmEpochBuilder, RovrEpochsInRinexUnits)
{
    const std::vector<MsmMessage> messages = decodeAll("ROVR_20260206_MSM5_excerpt.rtcm3",
                                                       pppio::gpsTimeFromCalendar(2026, 2, 6, 20, 0, 0.0));
    ASSERT_FALSE(messages.empty());
    for (bool dropLast : {false, true}) {
        MsmEpochBuilder builder;
        const pppio::SignalSelector selector(builder.header());
        const int c1 = builder.header().obsIndex('G', "C1C");
        const int l1 = builder.header().obsIndex('G', "L1C");
        const int d1 = builder.header().obsIndex('G', "D1C");
        const int s1 = builder.header().obsIndex('G', "S1C");
        std::vector<double> times;
        int withGps = 0;
        const MsmMessage* gps = nullptr;
        auto check = [&](const pppio::ObsEpoch& epoch) {
            times.push_back(epoch.gpsTime.sow);
            if (epoch.satelliteCount() == 0 || epoch.satellite(0).system != 'G')
                return;   // the excerpt's first second: Galileo only
            ++withGps;
            int selected = 0;
            for (int sat = 0; sat < epoch.satelliteCount(); ++sat) {
                pppio::SelectedSignals signals;
                selected += epoch.satellite(sat).system == 'G' && selector.select(epoch, sat, signals);
            }
            EXPECT_GE(selected, 8);
            ASSERT_TRUE(gps && epoch.satellite(0).system == 'G' && epoch.satellite(0).prn == gps->satellites[0].prn);
            const MsmCell& cell = gps->satellites[0].cells[0];
            EXPECT_EQ(epoch.obs(0, c1).value, cell.pseudorange);
            EXPECT_NEAR(epoch.obs(0, l1).value, cell.phaseRange / _GPS_WL1, 1e-6);
            EXPECT_NEAR(epoch.obs(0, d1).value, -cell.phaseRate / _GPS_WL1, 1e-6);
            EXPECT_EQ(epoch.obs(0, s1).value, cell.cnr);
            EXPECT_EQ(epoch.obs(0, l1).ssi, static_cast<int>(cell.cnr / 6));
        };
        for (const MsmMessage& msg : messages) {
            if (dropLast && msg.system == 'E')
                continue;
            if (builder.add(msg))
                check(builder.epoch());
            if (msg.system == 'G')
                gps = &msg;
        }
        if (builder.flush())
            check(builder.epoch());
        EXPECT_EQ(times.size(), 9u);   // the first second has no GPS satellites
        EXPECT_EQ(withGps, 8);
        for (size_t k = 1; k < times.size(); ++k)
            EXPECT_EQ(times[k] - times[k - 1], 1.0);
    }
}

// Loss-of-lock flags of one GPS L1 signal on a hand-made sequence: the lock
// time (4-bit indicator) must grow with the time elapsed since the signal's
// previous observation.
TEST(MsmEpochBuilder, LockTimeGivesLossOfLock)
{
    struct Step { double time, lockTime; bool halfCycle; int lli; };
    const Step steps[] = {
        {0, 0.512, false, 1},     // first observation
        {1, 1.024, false, 0},
        {2, 2.048, false, 0},
        {3, 2.048, true, 2},      // still 2.048-4.096 s: no loss; half-cycle flag
        {4, 0.032, false, 1},     // lock time went down
        {5, 0.512, false, 1},     // grew by less than the second since
        {6, 1.024, false, 0},
        {9, 4.096, false, 0},     // a gap that the lock time covers
        {20, 4.096, false, 1},    // a gap it does not
        {100, 131.072, false, 1}, // a gap beyond the longest allowed
    };
    MsmEpochBuilder builder;
    const int l1 = builder.header().obsIndex('G', "L1C");
    static MsmMessage msg;
    msg.system = 'G';
    msg.msmType = 5;
    msg.satelliteCount = 1;
    MsmSatellite& sat = msg.satellites[0];
    sat.prn = 7;
    sat.cellCount = 1;
    MsmCell& cell = sat.cells[0];
    cell.signalId = 2;
    std::memcpy(cell.code, "1C", 3);
    cell.pseudorange = 2.2e7;
    cell.phaseRange = 2.2e7 + 3.0;
    for (const Step& s : steps) {
        msg.time = tagGPSTIME2{2400, 1000.0 + s.time};
        cell.lockTime = s.lockTime;
        cell.halfCycle = s.halfCycle;
        ASSERT_TRUE(builder.add(msg));
        EXPECT_EQ(builder.epoch().obs(0, l1).lli, s.lli) << "t = " << s.time;
    }
    msg.time.sow -= 1.0;   // older than the epoch handed out: dropped
    EXPECT_FALSE(builder.add(msg));
    EXPECT_EQ(builder.counts().lateMessages, 1);
}

}  // namespace
}  // namespace ppprt
