#include "rt/FileSource.h"

#include <climits>
#include <cstdio>

#include "io/ReadError.h"

#ifdef PPPIO_HAVE_ZLIB
#include <zlib.h>
#endif

namespace ppprt {

namespace {

#ifndef PPPIO_HAVE_ZLIB
bool StartsWithGzipMagic(std::FILE* f)
{
    unsigned char magic[2] = {0, 0};
    const size_t n = std::fread(magic, 1, 2, f);
    std::rewind(f);
    return n == 2 && magic[0] == 0x1f && magic[1] == 0x8b;
}
#endif

}  // namespace

FileSource::FileSource(const std::string& path) : m_path(path), m_handle(nullptr)
{
#ifdef PPPIO_HAVE_ZLIB
    // gzopen passes uncompressed files through unchanged.
    gzFile gz = gzopen(path.c_str(), "rb");
    if (!gz)
        throw pppio::ReadError(path, 0, "cannot open the file");
    m_handle = gz;
#else
    std::FILE* f = std::fopen(path.c_str(), "rb");
    if (!f)
        throw pppio::ReadError(path, 0, "cannot open the file");
    if (StartsWithGzipMagic(f)) {
        std::fclose(f);
        throw pppio::ReadError(path, 0, "gzip-compressed file, but this build has no zlib support");
    }
    m_handle = f;
#endif
}

FileSource::~FileSource()
{
#ifdef PPPIO_HAVE_ZLIB
    gzclose(static_cast<gzFile>(m_handle));
#else
    std::fclose(static_cast<std::FILE*>(m_handle));
#endif
}

ReadResult FileSource::read(uint8_t* buffer, size_t capacity, int /*timeoutMs*/)
{
    ReadResult result;
    if (capacity > INT_MAX)
        capacity = INT_MAX;
#ifdef PPPIO_HAVE_ZLIB
    gzFile gz = static_cast<gzFile>(m_handle);
    const int n = gzread(gz, buffer, static_cast<unsigned>(capacity));
    int code = Z_OK;
    const char* text = gzerror(gz, &code);
    if (n < 0 || (n == 0 && code != Z_OK && code != Z_STREAM_END)) {
        result.status = ReadStatus::Error;
        result.message = m_path + ": " + (code == Z_BUF_ERROR ? "the gzip stream is cut short" : text);
        return result;
    }
    result.bytes = static_cast<size_t>(n);
#else
    std::FILE* f = static_cast<std::FILE*>(m_handle);
    result.bytes = std::fread(buffer, 1, capacity, f);
    if (result.bytes == 0 && std::ferror(f)) {
        result.status = ReadStatus::Error;
        result.message = m_path + ": read error";
        return result;
    }
#endif
    result.status = result.bytes > 0 ? ReadStatus::Data : ReadStatus::End;
    return result;
}

std::vector<uint8_t> readWholeFile(const std::string& path)
{
    FileSource file(path);
    std::vector<uint8_t> content;
    uint8_t chunk[1 << 16];
    for (;;) {
        const ReadResult r = file.read(chunk, sizeof(chunk), 0);
        if (r.status == ReadStatus::Error)
            throw pppio::ReadError(path, 0, r.message.substr(path.size() + 2));
        if (r.status != ReadStatus::Data)
            return content;
        content.insert(content.end(), chunk, chunk + r.bytes);
    }
}

}  // namespace ppprt
