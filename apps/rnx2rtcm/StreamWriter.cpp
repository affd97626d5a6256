#include "StreamWriter.h"

#include <cerrno>
#include <cstring>
#include <stdexcept>

#include "rt/RtcmFramer.h"

namespace rnx2rtcm {

StreamWriter::StreamWriter(const std::string& path) : m_path(path), m_file(std::fopen(path.c_str(), "wb"))
{
    if (!m_file)
        throw std::runtime_error("cannot write " + path + ": " + std::strerror(errno));
}

StreamWriter::~StreamWriter()
{
    std::fclose(m_file);
}

void StreamWriter::write(const uint8_t* payload, size_t length)
{
    if (length == 0) {
        ++m_refused;
        return;
    }
    uint8_t frame[ppprt::kRtcmMaxPayload + ppprt::kRtcmFrameOverhead];
    const size_t size = ppprt::RtcmFramer::frame(payload, length, frame);
    if (size == 0 || std::fwrite(frame, 1, size, m_file) != size) {
        ++m_refused;
        return;
    }
    ++m_frames;
    m_bytes += static_cast<long>(size);
}

}  // namespace rnx2rtcm
