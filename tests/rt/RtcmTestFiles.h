// Committed RTCM 3 excerpts of the real-time tests, as lists of payloads.
#ifndef PPP_TESTS_RT_RTCMTESTFILES_H
#define PPP_TESTS_RT_RTCMTESTFILES_H

#include <cstdio>
#include <string>
#include <vector>

#include "rt/RtcmFramer.h"

namespace rtcmtest {

using Payload = std::vector<uint8_t>;

inline std::string dataPath(const std::string& name)
{
    return std::string(PPP_SOURCE_DIR) + "/tests/data/rt/" + name;
}

// Payloads of the frames of tests/data/rt/<name>, in file order.
inline std::vector<Payload> readPayloads(const std::string& name)
{
    std::vector<Payload> payloads;
    FILE* f = std::fopen(dataPath(name).c_str(), "rb");
    if (!f)
        return payloads;
    ppprt::RtcmFramer framer;
    uint8_t chunk[4096];
    size_t n;
    ppprt::RtcmFrame frame;
    while ((n = std::fread(chunk, 1, sizeof(chunk), f)) > 0) {
        framer.push(chunk, n);
        while (framer.next(frame))
            payloads.emplace_back(frame.payload, frame.payload + frame.length);
    }
    std::fclose(f);
    return payloads;
}

inline int messageType(const Payload& p) { return p.size() >= 2 ? (p[0] << 4) | (p[1] >> 4) : 0; }

}  // namespace rtcmtest

#endif
