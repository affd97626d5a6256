// Test helper: the payloads of every good frame of an RTCM 3 file.
#ifndef PPPTEST_RTCMFRAMES_H
#define PPPTEST_RTCMFRAMES_H

#include <cstdint>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "rt/RtcmFramer.h"

namespace ppprt {

inline std::string rtData(const std::string& name)
{
    return std::string(PPP_SOURCE_DIR) + "/tests/data/rt/" + name;
}

inline std::vector<std::vector<uint8_t>> readFrames(const std::string& path)
{
    std::ifstream in(path, std::ios::binary);
    const std::vector<uint8_t> bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    RtcmFramer framer;
    framer.push(bytes.data(), bytes.size());
    std::vector<std::vector<uint8_t>> payloads;
    RtcmFrame frame;
    while (framer.next(frame))
        payloads.emplace_back(frame.payload, frame.payload + frame.length);
    return payloads;
}

}  // namespace ppprt

#endif
