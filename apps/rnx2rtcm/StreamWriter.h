// The frames of one recorded stream, written to a file as they are made.
#ifndef RNX2RTCM_STREAMWRITER_H
#define RNX2RTCM_STREAMWRITER_H

#include <cstdint>
#include <cstdio>
#include <string>

namespace rnx2rtcm {

class StreamWriter {
public:
    // Throws std::runtime_error when the file cannot be created.
    explicit StreamWriter(const std::string& path);
    ~StreamWriter();
    StreamWriter(const StreamWriter&) = delete;
    StreamWriter& operator=(const StreamWriter&) = delete;

    // Frames the payload and writes it; a payload of length 0 (an encoder
    // that could not fit its values) is counted and not written.
    void write(const uint8_t* payload, size_t length);

    long frames() const { return m_frames; }
    long refused() const { return m_refused; }
    long bytes() const { return m_bytes; }
    const std::string& path() const { return m_path; }

private:
    std::string m_path;
    std::FILE* m_file;
    long m_frames = 0;
    long m_refused = 0;
    long m_bytes = 0;
};

}  // namespace rnx2rtcm

#endif
