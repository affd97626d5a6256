#include <gtest/gtest.h>

#include <memory>

#include "io/GpsTime.h"
#include "rt/RtcmDecoder.h"
#include "rt/RtcmTestFiles.h"

namespace ppprt {
namespace {

struct Stream {
    pppio::BroadcastOrbit broadcast;
    SsrCorrections corrections;
    MsmEpochBuilder epochs;
    RtcmDecoder decoder{broadcast, corrections, epochs};

    // Hands every frame of a committed excerpt to the decoder; the number of completed epochs.
    int feed(const std::string& name)
    {
        int completed = 0;
        for (const rtcmtest::Payload& p : rtcmtest::readPayloads(name)) {
            RtcmFrame frame;
            frame.payload = p.data();
            frame.length = p.size();
            completed += decoder.handle(frame) == FrameKind::kEpochComplete ? 1 : 0;
        }
        return completed;
    }
};

// The recorded correction stream's faults are counted under their reasons,
// observations wait for a time reference, and the stream's GPS ephemerides
// give it.
TEST(RtcmDecoder, CountsWhatItSkipsAndWhy)
{
    std::unique_ptr<Stream> s(new Stream());
    EXPECT_EQ(s->feed("ROVR_20260206_MSM5_excerpt.rtcm3"), 0);
    EXPECT_GT(s->decoder.counts().skipped.at("1075: no time reference yet (no ephemeris seen)"), 0);

    s->feed("SSR_20260206_ephemerides.rtcm3");
    const StreamCounts& counts = s->decoder.counts();
    EXPECT_EQ(counts.messages.at(1046), counts.skipped.at("1046: week field inconsistent with the stream time, week corrected"));
    EXPECT_GT(counts.ephemeridesNew, 10);
    EXPECT_EQ(s->decoder.reference().week, 2404);

    EXPECT_GE(s->feed("ROVR_20260206_MSM5_excerpt.rtcm3"), 7);   // eight epochs, the last one open
    EXPECT_EQ(s->epochs.epoch().gpsTime.week, 2404);
}

// A held correction is applied only when asked: a replay applies it once
// the observations reach its epoch.
TEST(RtcmDecoder, HeldCorrectionWaitsForItsEpoch)
{
    std::unique_ptr<Stream> s(new Stream());
    s->feed("SSR_20260206_ephemerides.rtcm3");
    s->decoder.holdCorrections(true);
    const std::vector<rtcmtest::Payload> payloads = rtcmtest::readPayloads("SSR_20260206_corrections.rtcm3");
    ASSERT_FALSE(payloads.empty());
    RtcmFrame frame;
    frame.payload = payloads[0].data();
    frame.length = payloads[0].size();
    ASSERT_EQ(s->decoder.handle(frame), FrameKind::kCorrection);
    ASSERT_TRUE(s->decoder.hasHeldCorrection());
    EXPECT_EQ(s->corrections.counts().messages, 0);
    s->decoder.applyHeldCorrection();
    EXPECT_FALSE(s->decoder.hasHeldCorrection());
    EXPECT_EQ(s->corrections.counts().messages, 1);
}

}  // namespace
}  // namespace ppprt
