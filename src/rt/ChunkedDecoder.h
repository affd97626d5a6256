// Removes HTTP/1.1 chunked transfer coding ("1A\r\n" + 26 bytes + "\r\n",
// ..., "0\r\n\r\n") from bytes that arrive in pieces of any size; the state
// carries over between calls, so a chunk header split across reads is joined.
//
//   ppprt::ChunkedDecoder chunked;
//   const size_t payload = chunked.decode(buffer, n);   // payload now at buffer[0, payload)
//   if (chunked.failed()) drop the connection; if (chunked.finished()) the body ended.
#ifndef PPPRT_CHUNKEDDECODER_H
#define PPPRT_CHUNKEDDECODER_H

#include <cstddef>
#include <cstdint>

namespace ppprt {

class ChunkedDecoder {
public:
    // Decodes in place: the payload bytes among data[0, length) are moved to
    // the front; returns their count. Stops consuming after an error or the
    // last chunk.
    size_t decode(uint8_t* data, size_t length);
    bool failed() const { return m_state == State::Failed; }
    bool finished() const { return m_state == State::Finished; }
    void reset() { *this = ChunkedDecoder(); }

private:
    enum class State { Size, Extension, SizeLf, Data, DataCr, DataLf, Trailer, Finished, Failed };
    State m_state = State::Size;
    uint64_t m_remaining = 0;   // bytes left in the current chunk, or its size while reading it
    int m_sizeDigits = 0;
    int m_trailerLineLength = 0;
};

}  // namespace ppprt

#endif
