// Routes the frames of RTCM 3 streams to their decoders and keeps what they
// carry: MSM observations go to the epoch builder, ephemerides to the
// broadcast orbits, SSR corrections to the correction store. Every message
// is counted by number; what cannot be used is counted under its reason
// ("1046: week field inconsistent, corrected", "1077: truncated", ...), so a
// run can say what was skipped and why.
//
// The stream's current time (the latest observation or correction epoch, or
// a reference set by the owner) resolves the partial times of the messages.
//
//   ppprt::RtcmDecoder decoder(broadcast, corrections, epochs);
//   decoder.setReference(start);                 // e.g. from probeStreamTime
//   while (framer.next(frame))
//       if (decoder.handle(frame) == ppprt::FrameKind::kEpochComplete)
//           process(epochs.epoch());
#ifndef PPPRT_RTCMDECODER_H
#define PPPRT_RTCMDECODER_H

#include <map>
#include <memory>
#include <string>

#include "io/BroadcastOrbit.h"
#include "rt/MsmEpochBuilder.h"
#include "rt/RtcmFramer.h"
#include "rt/RtcmStation.h"
#include "rt/SsrCorrections.h"
#include "rt/SsrMessages.h"

namespace ppprt {

enum class FrameKind {
    kObservation,     // an MSM message, its epoch not complete yet
    kEpochComplete,   // an MSM message that completed an epoch (see MsmEpochBuilder::epoch)
    kEphemeris,
    kCorrection,      // an SSR message (applied, or held: see holdCorrections)
    kStation,         // station and antenna descriptions
    kOther,           // a message this program does not use
    kSkipped,         // a message that could not be decoded or used
};

struct StreamCounts {
    std::map<int, long> messages;           // frames by message number
    std::map<std::string, long> skipped;    // reason -> count
    long ephemeridesNew = 0;                // ephemerides not seen before
};

class RtcmDecoder {
public:
    RtcmDecoder(pppio::BroadcastOrbit& broadcast, SsrCorrections& corrections, MsmEpochBuilder& epochs);
    ~RtcmDecoder();
    RtcmDecoder(const RtcmDecoder&) = delete;
    RtcmDecoder& operator=(const RtcmDecoder&) = delete;

    FrameKind handle(const RtcmFrame& frame);

    // With holding on, an SSR message is decoded but kept until
    // applyHeldCorrection(): a replay of recorded streams applies each
    // correction only once the observations have reached its epoch.
    void holdCorrections(bool hold) { m_hold = hold; }
    bool hasHeldCorrection() const { return m_held; }
    const tagGPSTIME2& heldCorrectionTime() const { return m_message->header.time; }
    void applyHeldCorrection();

    // A tentative reference (e.g. the computer's clock for a network source)
    // gives way to the first GPS or BeiDou ephemeris more than a day from it:
    // a recording served by a caster carries its own date.
    void setReference(const tagGPSTIME2& t, bool tentative = false)
    {
        m_reference = t;
        m_tentative = tentative;
    }
    const tagGPSTIME2& reference() const { return m_reference; }

    // The station as its 1005/1006/1007/1008/1033 messages describe it.
    const StationInfo& station() const { return m_station; }

    // GLONASS channel of a slot learnt from the stream; false when none.
    bool glonassChannel(int slot, int& channel) const;

    const StreamCounts& counts() const { return m_counts; }

private:
    FrameKind observation(const RtcmFrame& frame);
    FrameKind ephemeris(const RtcmFrame& frame);
    FrameKind correction(const RtcmFrame& frame);
    FrameKind skip(int number, const char* reason);
    void advance(const tagGPSTIME2& t);

    pppio::BroadcastOrbit& m_broadcast;
    SsrCorrections& m_corrections;
    MsmEpochBuilder& m_epochs;
    std::unique_ptr<struct DecoderBuffers> m_buffers;   // large decoded records, reused
    SsrMessage* m_message;
    bool m_hold = false;
    bool m_held = false;
    tagGPSTIME2 m_reference{0, 0.0};
    bool m_tentative = false;
    tagGPSTIME2 m_lastOtherMsm{0, 0.0};   // epoch of the latest MSM of a system other than BeiDou
    StationInfo m_station;
    StreamCounts m_counts;
};

}  // namespace ppprt

#endif
