// RTCM 3 streams through the decoding path of a real-time run: frames to
// RtcmDecoder, observations into the MSM epoch builder, ephemerides into
// the broadcast orbits, SSR into the correction store, and at the end the
// corrected satellite states of every satellite.
//
// Input: one options byte, then the stream. Options bit 0 set: the stream
// is raw bytes cut into frames by RtcmFramer (CRC and all); clear: it is a
// list of payloads, each behind a two-byte length (10 bits used), handed
// to the decoder directly, so that mutations reach the message decoders
// without having to keep a CRC right. Bit 1 holds SSR messages until the
// observations catch up; bits 2-3 choose the reference time.
#include <cstddef>
#include <cstdint>

#include "FuzzInput.h"
#include "io/BroadcastOrbit.h"
#include "io/GpsTime.h"
#include "rt/MsmEpochBuilder.h"
#include "rt/RtcmDecoder.h"
#include "rt/RtcmFramer.h"
#include "rt/SsrCorrections.h"

namespace {

struct DecodingPath {
    pppio::BroadcastOrbit broadcast;
    ppprt::SsrCorrections corrections;
    ppprt::MsmEpochBuilder builder;
    ppprt::RtcmDecoder decoder{broadcast, corrections, builder};
    volatile double sum = 0.0;

    void handle(const ppprt::RtcmFrame& frame)
    {
        if (decoder.handle(frame) == ppprt::FrameKind::kEpochComplete)
            readEpoch();
        // As a replay applies a held correction once the stream time reaches it.
        if (decoder.hasHeldCorrection() && pppio::secondsBetween(decoder.heldCorrectionTime(), decoder.reference()) <= 0.0)
            decoder.applyHeldCorrection();
    }

    void readEpoch()
    {
        const pppio::ObsEpoch& epoch = builder.epoch();
        for (int sat = 0; sat < epoch.satelliteCount(); ++sat) {
            const int types = builder.header().obsTypes(epoch.satellite(sat).system).count();
            for (int type = 0; type < types; ++type)
                sum = sum + epoch.obs(sat, type).value;
        }
    }

    void applyCorrections()
    {
        ppprt::SsrSatelliteStates states(broadcast, corrections);
        states.setBroadcastFallback(true);
        pppio::SatelliteState state;
        const tagGPSTIME2 now = decoder.reference();
        for (int iprn = 1; iprn <= MAXSATNUM; ++iprn) {
            states.evaluate(iprn, now, state);
            states.state(iprn, pppio::shiftedTime(now, 30.0), state);
        }
    }
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    static const tagGPSTIME2 kReferences[] = {{0, 0.0}, {1710, 0.0}, {2404, 417600.0}, {2426, 223200.0}};
    fuzzing::ByteCursor in(data, size);
    const uint8_t options = in.byte();
    DecodingPath path;
    path.decoder.holdCorrections(options & 2);
    const tagGPSTIME2& reference = kReferences[(options >> 2) & 3];
    if (reference.week > 0)
        path.decoder.setReference(reference);

    ppprt::RtcmFrame frame;
    if (options & 1) {
        ppprt::RtcmFramer framer;
        while (!in.empty()) {
            size_t taken = 0;
            const uint8_t* piece = in.take(700, taken);
            framer.push(piece, taken);
            while (framer.next(frame))
                path.handle(frame);
        }
    } else {
        while (!in.empty()) {
            frame.length = in.word() % (ppprt::kRtcmMaxPayload + 1);
            frame.payload = in.take(frame.length, frame.length);
            path.handle(frame);
        }
    }
    if (path.builder.flush())
        path.readEpoch();
    path.applyCorrections();
    return 0;
}
