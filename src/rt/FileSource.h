// A recorded stream in a file, plain or gzip-compressed (seen from the
// content, not the name). Reads never wait; the end of the file is End, a
// damaged gzip stream is an Error naming the file.
//
//   ppprt::FileSource file("ROVR_20260206_MSM5.rtcm3.gz");   // throws pppio::ReadError
//   const ppprt::ReadResult r = file.read(buffer, sizeof(buffer), 0);
#ifndef PPPRT_FILESOURCE_H
#define PPPRT_FILESOURCE_H

#include <vector>

#include "rt/StreamSource.h"

namespace ppprt {

class FileSource : public StreamSource {
public:
    explicit FileSource(const std::string& path);
    ~FileSource() override;
    FileSource(const FileSource&) = delete;
    FileSource& operator=(const FileSource&) = delete;

    ReadResult read(uint8_t* buffer, size_t capacity, int timeoutMs) override;
    std::string describe() const override { return m_path; }

private:
    std::string m_path;
    void* m_handle;   // gzFile, or FILE* when built without zlib
};

// The whole (decompressed) content of a file; throws pppio::ReadError.
std::vector<uint8_t> readWholeFile(const std::string& path);

}  // namespace ppprt

#endif
