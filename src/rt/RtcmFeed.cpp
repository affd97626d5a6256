#include "rt/RtcmFeed.h"

#include "rt/RtcmEphemeris.h"

namespace ppprt {

RtcmFeed::RtcmFeed(std::unique_ptr<StreamSource> source) : m_source(std::move(source)) {}

FeedStatus RtcmFeed::next(RtcmFrame& frame, int timeoutMs)
{
    for (;;) {
        if (m_framer.next(frame))
            return FeedStatus::kFrame;
        if (m_ended)
            return m_message.empty() ? FeedStatus::kEnd : FeedStatus::kError;
        const ReadResult r = m_source->read(m_buffer, sizeof(m_buffer), timeoutMs);
        switch (r.status) {
        case ReadStatus::Data:
            m_bytes += static_cast<long>(r.bytes);
            m_framer.push(m_buffer, r.bytes);
            break;
        case ReadStatus::Timeout:
            return FeedStatus::kWaiting;
        case ReadStatus::End:
            m_ended = true;
            break;
        case ReadStatus::Error:
            m_ended = true;
            m_message = r.message.empty() ? "the source gave up" : r.message;
            break;
        }
    }
}

bool probeStreamTime(StreamSource& source, size_t maxBytes, tagGPSTIME2& t)
{
    RtcmFramer framer;
    uint8_t buffer[4096];
    size_t read = 0;
    DecodedEphemeris eph;
    const tagGPSTIME2 unknown{0, 0.0};
    while (read < maxBytes) {
        const ReadResult r = source.read(buffer, sizeof(buffer), 0);
        if (r.status != ReadStatus::Data)
            return false;
        read += r.bytes;
        framer.push(buffer, r.bytes);
        RtcmFrame frame;
        while (framer.next(frame)) {
            const int number = frame.type();
            if ((number == 1019 || number == 1042) &&
                decodeEphemeris(frame.payload, frame.length, unknown, eph) == EphemerisStatus::kOk) {
                t = eph.kepler.toe;
                return true;
            }
        }
    }
    return false;
}

}  // namespace ppprt
