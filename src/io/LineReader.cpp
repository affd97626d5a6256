#include "io/LineReader.h"

#include <cstdio>
#include <cstring>

#ifdef PPPIO_HAVE_ZLIB
#include <zlib.h>
#endif

namespace pppio {

namespace {
constexpr size_t kBufferSize = 1 << 18;

#ifndef PPPIO_HAVE_ZLIB
bool LooksGzipped(const std::string& path)
{
    FILE* f = std::fopen(path.c_str(), "rb");
    if (!f)
        return false;
    unsigned char magic[2] = {0, 0};
    const size_t n = std::fread(magic, 1, 2, f);
    std::fclose(f);
    return n == 2 && magic[0] == 0x1f && magic[1] == 0x8b;
}
#endif
}  // namespace

LineReader::LineReader(const std::string& path)
    : m_path(path), m_handle(nullptr), m_lineNumber(0), m_buffer(nullptr), m_bufferSize(kBufferSize),
      m_bufferPos(0), m_bufferEnd(0), m_eof(false), m_streamCut(false), m_truncated(false),
      m_terminated(true)
{
#ifdef PPPIO_HAVE_ZLIB
    // gzopen reads uncompressed files transparently as well.
    gzFile gz = gzopen(path.c_str(), "rb");
    if (!gz)
        throw ReadError(path, 0, "cannot open the file");
    gzbuffer(gz, kBufferSize);
    m_handle = gz;
#else
    if (LooksGzipped(path))
        throw ReadError(path, 0, "gzip-compressed file, but this build has no zlib support");
    FILE* f = std::fopen(path.c_str(), "rb");
    if (!f)
        throw ReadError(path, 0, "cannot open the file");
    m_handle = f;
#endif
    m_buffer = new char[m_bufferSize];
}

LineReader::~LineReader()
{
#ifdef PPPIO_HAVE_ZLIB
    if (m_handle)
        gzclose(static_cast<gzFile>(m_handle));
#else
    if (m_handle)
        std::fclose(static_cast<FILE*>(m_handle));
#endif
    delete[] m_buffer;
}

bool LineReader::fillBuffer()
{
    if (m_eof)
        return false;
#ifdef PPPIO_HAVE_ZLIB
    gzFile gz = static_cast<gzFile>(m_handle);
    const int n = gzread(gz, m_buffer, static_cast<unsigned>(m_bufferSize));
    if (n < 0) {
        int code = 0;
        const char* text = gzerror(gz, &code);
        throw ReadError(m_path, m_lineNumber + 1, std::string("decompression failed: ") + text);
    }
    const size_t got = static_cast<size_t>(n);
    int code = Z_OK;
    gzerror(gz, &code);
    if (code == Z_BUF_ERROR)  // data up to the cut is delivered, then nothing
        m_streamCut = true;
#else
    const size_t got = std::fread(m_buffer, 1, m_bufferSize, static_cast<FILE*>(m_handle));
#endif
    m_bufferPos = 0;
    m_bufferEnd = got;
    if (got == 0)
        m_eof = true;
    return got > 0;
}

bool LineReader::next()
{
    m_line.clear();
    m_terminated = false;
    bool any = false;
    for (;;) {
        if (m_bufferPos == m_bufferEnd && !fillBuffer())
            break;
        any = true;
        const char* start = m_buffer + m_bufferPos;
        const size_t available = m_bufferEnd - m_bufferPos;
        const char* newline = static_cast<const char*>(std::memchr(start, '\n', available));
        if (newline) {
            m_terminated = true;
            m_line.append(start, static_cast<size_t>(newline - start));
            m_bufferPos += static_cast<size_t>(newline - start) + 1;
            break;
        }
        m_line.append(start, available);
        m_bufferPos = m_bufferEnd;
    }
    if (!any) {
        m_truncated = m_truncated || m_streamCut;
        return false;
    }
    if (m_eof)  // the line ran into the end of the file without a line end
        m_truncated = true;
    if (!m_line.empty() && m_line.back() == '\r')
        m_line.pop_back();
    ++m_lineNumber;
    return true;
}

void LineReader::fail(const std::string& message) const
{
    throw ReadError(m_path, m_lineNumber, message);
}

}  // namespace pppio
