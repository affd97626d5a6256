#include "rt/ReplaySchedule.h"

#include <algorithm>

#include "rt/RtcmBits.h"
#include "rt/RtcmFramer.h"

namespace ppprt {

namespace {

constexpr int64_t kWeekMs = 604800000LL;
constexpr int64_t kMaxStepMs = 60000;

bool InRange(int type, int first, int last)
{
    return type >= first && type <= last;
}

}  // namespace

bool gpsEpochMs(const uint8_t* payload, size_t length, int64_t& ms)
{
    BitReader in(payload, length);
    const int type = static_cast<int>(in.unsigned32(12));
    if (InRange(type, 1071, 1077) || InRange(type, 1091, 1097) || InRange(type, 1111, 1117)) {
        in.skip(12);   // reference station
        ms = static_cast<int64_t>(in.unsigned32(30));
    } else if (InRange(type, 1057, 1062) || InRange(type, 1240, 1245)) {
        ms = static_cast<int64_t>(in.unsigned32(20)) * 1000;
    } else {
        return false;
    }
    return in.ok() && ms < kWeekMs;
}

ReplaySchedule::ReplaySchedule(const uint8_t* data, size_t size) : m_size(size)
{
    bool haveFirst = false;
    int64_t first = 0;
    int64_t now = 0;   // stream time reached, from the first timed message
    size_t i = 0;
    while (i + 3 <= size) {
        const size_t length = data[i] == 0xD3 ? static_cast<size_t>(((data[i + 1] & 3) << 8) | data[i + 2]) : 0;
        const size_t end = i + length + kRtcmFrameOverhead;
        const bool frame = data[i] == 0xD3 && end <= size &&
                           crc24q(data + i, length + 3) ==
                               ((static_cast<uint32_t>(data[end - 3]) << 16) | (data[end - 2] << 8) | data[end - 1]);
        if (!frame) {
            ++i;
            continue;
        }
        int64_t ms = 0;
        if (gpsEpochMs(data + i + 3, length, ms)) {
            if (!haveFirst) {
                haveFirst = true;
                first = ms;
            }
            int64_t t = ms - first;
            while (t - now < -kWeekMs / 2)   // across the end of a week
                t += kWeekMs;
            if (t > now && t - now <= kMaxStepMs) {
                m_steps.push_back({i, now});   // everything before this frame is due at the old time
                now = t;
            } else if (t - now > kMaxStepMs) {
                first += t - now;   // a jump: continue from here without delay
            }
        }
        i = end;
    }
    m_steps.push_back({size, now});
}

int64_t ReplaySchedule::timeAt(size_t offset) const
{
    // The time of the first step whose bytes reach beyond offset.
    const auto it = std::upper_bound(m_steps.begin(), m_steps.end(), offset,
                                     [](size_t value, const Step& s) { return value < s.end; });
    return it == m_steps.end() ? m_steps.back().ms : it->ms;
}

size_t ReplaySchedule::bytesDue(size_t startOffset, int64_t elapsedMs) const
{
    const int64_t due = timeAt(startOffset) + elapsedMs;
    // The last step due by then; its end is the limit.
    const auto it = std::upper_bound(m_steps.begin(), m_steps.end(), due,
                                     [](int64_t value, const Step& s) { return value < s.ms; });
    size_t end = it == m_steps.begin() ? 0 : std::prev(it)->end;
    return std::max(end, std::min(startOffset, m_size));
}

}  // namespace ppprt
