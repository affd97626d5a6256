// When each byte of a recorded RTCM 3 stream is due in a real-time replay:
// the epoch times of the messages that carry GPS-aligned time (MSM of GPS,
// Galileo and QZSS: time of week in ms; GPS and Galileo SSR: seconds of
// week) set the pace; other messages go out with the message before them.
// GLONASS and BeiDou times (other time scales) are not used.
//
//   ppprt::ReplaySchedule schedule(content.data(), content.size());
//   const size_t sendable = schedule.bytesDue(startOffset, elapsedMs);
//
// The time never runs backwards (late messages keep the current time), and
// a forward jump of more than a minute (a recording gap or a message on
// another time base) is taken as no delay, so a replay never stalls.
#ifndef PPPRT_REPLAYSCHEDULE_H
#define PPPRT_REPLAYSCHEDULE_H

#include <cstddef>
#include <cstdint>
#include <vector>

namespace ppprt {

// GPS-aligned epoch time of week in ms of a message payload; false for
// messages without one.
bool gpsEpochMs(const uint8_t* payload, size_t length, int64_t& ms);

class ReplaySchedule {
public:
    ReplaySchedule(const uint8_t* data, size_t size);

    // The end of the bytes that are due `elapsedMs` after a replay began at
    // byte `startOffset` (which then went out at once).
    size_t bytesDue(size_t startOffset, int64_t elapsedMs) const;
    // Stream time of the whole recording, in ms.
    int64_t durationMs() const { return m_steps.empty() ? 0 : m_steps.back().ms; }

private:
    struct Step {
        size_t end;   // bytes up to here are due at...
        int64_t ms;   // ...this stream time from the first message
    };
    int64_t timeAt(size_t offset) const;

    std::vector<Step> m_steps;   // increasing in both fields
    size_t m_size;
};

}  // namespace ppprt

#endif
