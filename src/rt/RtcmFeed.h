// One RTCM 3 stream being read: its source, its framer and the read buffer,
// handing out frames. Reads wait at most the given time-out (files never
// wait); the end of a file and a source that gave up are reported once.
//
//   ppprt::RtcmFeed feed(ppprt::openSource(address, options));
//   ppprt::RtcmFrame frame;
//   while (feed.next(frame, 100) == ppprt::FeedStatus::kFrame)
//       decoder.handle(frame);
#ifndef PPPRT_RTCMFEED_H
#define PPPRT_RTCMFEED_H

#include <memory>
#include <string>

#include "common/GNSSTimeConvert.h"
#include "rt/RtcmFramer.h"
#include "rt/StreamSource.h"

namespace ppprt {

enum class FeedStatus { kFrame, kWaiting, kEnd, kError };

class RtcmFeed {
public:
    explicit RtcmFeed(std::unique_ptr<StreamSource> source);

    // The next frame; kWaiting when nothing complete arrived within
    // timeoutMs, kEnd at the end of a file, kError when the source gave up
    // (see message()).
    FeedStatus next(RtcmFrame& frame, int timeoutMs);

    const RtcmFramer& framer() const { return m_framer; }
    const std::string& message() const { return m_message; }
    std::string describe() const { return m_source->describe(); }
    bool ended() const { return m_ended; }
    long bytes() const { return m_bytes; }

private:
    std::unique_ptr<StreamSource> m_source;
    RtcmFramer m_framer;
    uint8_t m_buffer[4096];
    bool m_ended = false;
    long m_bytes = 0;
    std::string m_message;
};

// The first full GPS time a recorded stream gives: the reference time of its
// first GPS or BeiDou ephemeris, read within its first `maxBytes`. False
// when there is none (the caller then takes the computer's clock).
bool probeStreamTime(StreamSource& source, size_t maxBytes, tagGPSTIME2& t);

}  // namespace ppprt

#endif
