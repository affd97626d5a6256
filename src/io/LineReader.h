// Line-by-line reading of a text file, plain or gzip-compressed (detected
// from the content, not the name), with the line number kept for messages.
#ifndef PPPIO_LINEREADER_H
#define PPPIO_LINEREADER_H

#include <string>

#include "io/ReadError.h"

namespace pppio {

class LineReader {
public:
    // Throws ReadError (line 0) when the file cannot be opened.
    explicit LineReader(const std::string& path);
    ~LineReader();
    LineReader(const LineReader&) = delete;
    LineReader& operator=(const LineReader&) = delete;

    // Reads the next line without its line end ("\n" or "\r\n"); false at
    // the end of the file. A read error of the decompressor throws.
    bool next();
    const std::string& line() const { return m_line; }
    long lineNumber() const { return m_lineNumber; }
    const std::string& path() const { return m_path; }
    // False when the current line ended at the end of the file without a
    // line end: the usual sign of a file cut short.
    bool lineTerminated() const { return m_terminated; }

    // True once the input has turned out to be cut short: the line just
    // returned had no line end (it may be incomplete), or the gzip stream
    // ended before its trailer. Readers drop a record that touches such a line.
    bool truncated() const { return m_truncated; }

    // Throws ReadError for the current line with the given explanation.
    [[noreturn]] void fail(const std::string& message) const;

private:
    bool fillBuffer();

    std::string m_path;
    void* m_handle;        // gzFile, or FILE* when built without zlib
    std::string m_line;
    long m_lineNumber;
    char* m_buffer;
    size_t m_bufferSize;
    size_t m_bufferPos;
    size_t m_bufferEnd;
    bool m_eof;
    bool m_streamCut;   // the decompressor met the end of the file too early
    bool m_truncated;
    bool m_terminated;
};

}  // namespace pppio

#endif
