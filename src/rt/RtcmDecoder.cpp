#include "rt/RtcmDecoder.h"

#include <cmath>

#include "common/gnsscmn.h"
#include "io/GpsTime.h"
#include "rt/RtcmEphemeris.h"
#include "rt/RtcmMsm.h"
#include "rt/RtcmSsr.h"

namespace ppprt {

struct DecoderBuffers {
    MsmMessage msm;
    DecodedEphemeris ephemeris;
    SsrMessage ssr;
};

namespace {

constexpr double kBdtBehindGps = 14.0;   // s
constexpr double kSameEpoch = 0.0005;    // s, below the 1 ms resolution of MSM epochs
constexpr double kReseat = 86400.0;      // s

bool IsEphemeris(int number)
{
    return number == 1019 || number == 1020 || number == 1042 || number == 1045 || number == 1046;
}

bool IsStation(int number)
{
    return number == 1005 || number == 1006 || number == 1007 || number == 1008 || number == 1033;
}

}  // namespace

RtcmDecoder::RtcmDecoder(pppio::BroadcastOrbit& broadcast, SsrCorrections& corrections, MsmEpochBuilder& epochs)
    : m_broadcast(broadcast), m_corrections(corrections), m_epochs(epochs), m_buffers(new DecoderBuffers()),
      m_message(&m_buffers->ssr)
{
}

RtcmDecoder::~RtcmDecoder() = default;

FrameKind RtcmDecoder::skip(int number, const char* reason)
{
    ++m_counts.skipped[std::to_string(number) + ": " + reason];
    return FrameKind::kSkipped;
}

void RtcmDecoder::advance(const tagGPSTIME2& t)
{
    if (m_reference.week == 0 || pppio::secondsBetween(t, m_reference) > 0.0)
        m_reference = t;
}

FrameKind RtcmDecoder::handle(const RtcmFrame& frame)
{
    const int number = frame.type();
    ++m_counts.messages[number];
    char system;
    int msmType;
    if (msmSystemAndType(number, system, msmType))
        return msmType >= 4 ? observation(frame) : skip(number, "MSM1-3 carry no full observations");
    if (IsEphemeris(number))
        return ephemeris(frame);
    if (isSsrMessage(number))
        return correction(frame);
    if (IsStation(number)) {
        if (decodeStation(frame.payload, frame.length, m_station) != StationStatus::kOk)
            return skip(number, "truncated station description");
        return FrameKind::kStation;
    }
    return FrameKind::kOther;
}

FrameKind RtcmDecoder::observation(const RtcmFrame& frame)
{
    MsmMessage& msm = m_buffers->msm;
    const MsmStatus status = decodeMsm(frame.payload, frame.length, m_reference, msm);
    if (status != MsmStatus::kOk)
        return skip(frame.type(), describe(status));
    if (m_reference.week == 0)
        return skip(frame.type(), "no time reference yet (no ephemeris seen)");
    if (msm.system == 'C' && m_lastOtherMsm.week != 0 &&
        std::fabs(pppio::secondsBetween(msm.time, m_lastOtherMsm) - kBdtBehindGps) < kSameEpoch) {
        // Some encoders write BeiDou epochs in GPS time: 14 s after the
        // other systems' epoch once read as BeiDou time.
        msm.time = pppio::shiftedTime(msm.time, -kBdtBehindGps);
        ++m_counts.skipped[std::to_string(frame.type()) + ": epoch written in GPS time, corrected"];
    } else if (msm.system != 'C') {
        m_lastOtherMsm = msm.time;
    }
    advance(msm.time);
    return m_epochs.add(msm) ? FrameKind::kEpochComplete : FrameKind::kObservation;
}

FrameKind RtcmDecoder::ephemeris(const RtcmFrame& frame)
{
    DecodedEphemeris& eph = m_buffers->ephemeris;
    // GPS and BeiDou weeks need no reference but the current era: a
    // tentative one must not overrule them.
    const bool fullWeek = frame.type() == 1019 || frame.type() == 1042;
    const tagGPSTIME2 reference = m_tentative && fullWeek ? tagGPSTIME2{0, 0.0} : m_reference;
    const EphemerisStatus status = decodeEphemeris(frame.payload, frame.length, reference, eph);
    if (eph.weekInconsistent)
        skip(frame.type(), "week field inconsistent with the stream time, week corrected");
    if (status != EphemerisStatus::kOk)
        return skip(frame.type(), ephemerisStatusName(status));
    bool added = false;
    if (eph.kind == EphemerisKind::kGlonass) {
        added = m_broadcast.addEphemeris(eph.glonass);
        m_epochs.setGlonassChannel(eph.prn, eph.glonass.frequencyChannel);
    } else {
        added = m_broadcast.addEphemeris(eph.kepler);
        if (m_reference.week == 0 ||
            (m_tentative && fullWeek && std::fabs(pppio::secondsBetween(eph.kepler.toe, m_reference)) > kReseat)) {
            if (m_reference.week != 0)
                ++m_counts.skipped["stream time taken from its ephemerides, not the computer's clock"];
            m_reference = eph.kepler.toe;   // the first full time a stream gives
            m_tentative = false;
        }
    }
    if (added)
        ++m_counts.ephemeridesNew;
    return FrameKind::kEphemeris;
}

FrameKind RtcmDecoder::correction(const RtcmFrame& frame)
{
    if (m_held)
        applyHeldCorrection();
    const SsrStatus status = decodeSsr(frame.payload, frame.length, m_reference, *m_message);
    if (status != SsrStatus::kOk)
        return skip(frame.type(), ssrStatusName(status));
    if (m_message->header.system != 'R')   // GLONASS epochs are not always trustworthy
        advance(m_message->header.time);
    if (m_hold)
        m_held = true;
    else
        m_corrections.add(*m_message);
    return FrameKind::kCorrection;
}

void RtcmDecoder::applyHeldCorrection()
{
    if (!m_held)
        return;
    m_corrections.add(*m_message);
    m_held = false;
}

bool RtcmDecoder::glonassChannel(int slot, int& channel) const
{
    return m_epochs.glonassChannel(slot, channel) || m_broadcast.glonassChannel(slot, channel);
}

}  // namespace ppprt
