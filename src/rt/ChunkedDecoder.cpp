#include "rt/ChunkedDecoder.h"

#include <cstring>

namespace ppprt {

namespace {

int HexValue(uint8_t c)
{
    if (c >= '0' && c <= '9')
        return c - '0';
    if (c >= 'a' && c <= 'f')
        return c - 'a' + 10;
    if (c >= 'A' && c <= 'F')
        return c - 'A' + 10;
    return -1;
}

constexpr int kMaxSizeDigits = 8;   // chunks of up to 4 GB; more is a broken stream

}  // namespace

size_t ChunkedDecoder::decode(uint8_t* data, size_t length)
{
    size_t out = 0;
    size_t i = 0;
    while (i < length && m_state != State::Finished && m_state != State::Failed) {
        const uint8_t c = data[i];
        switch (m_state) {
        case State::Size:
            if (HexValue(c) >= 0 && m_sizeDigits < kMaxSizeDigits) {
                m_remaining = m_remaining * 16 + static_cast<uint64_t>(HexValue(c));
                ++m_sizeDigits;
            } else if (m_sizeDigits > 0 && (c == ';' || c == ' ' || c == '\t')) {
                m_state = State::Extension;
            } else if (m_sizeDigits > 0 && c == '\r') {
                m_state = State::SizeLf;
            } else {
                m_state = State::Failed;
            }
            ++i;
            break;
        case State::Extension:   // chunk extensions carry nothing for us
            if (c == '\r')
                m_state = State::SizeLf;
            ++i;
            break;
        case State::SizeLf:
            m_state = c != '\n' ? State::Failed : m_remaining > 0 ? State::Data : State::Trailer;
            m_trailerLineLength = 0;
            ++i;
            break;
        case State::Data: {
            const size_t available = length - i;
            const size_t take = m_remaining < available ? static_cast<size_t>(m_remaining) : available;
            std::memmove(data + out, data + i, take);
            out += take;
            i += take;
            m_remaining -= take;
            if (m_remaining == 0)
                m_state = State::DataCr;
            break;
        }
        case State::DataCr:
            m_state = c == '\r' ? State::DataLf : State::Failed;
            ++i;
            break;
        case State::DataLf:
            m_state = c == '\n' ? State::Size : State::Failed;
            m_sizeDigits = 0;
            ++i;
            break;
        case State::Trailer:   // header lines after the last chunk, ended by an empty line
            if (c == '\n') {
                if (m_trailerLineLength == 0)
                    m_state = State::Finished;
                m_trailerLineLength = 0;
            } else if (c != '\r') {
                ++m_trailerLineLength;
            }
            ++i;
            break;
        case State::Finished:
        case State::Failed:
            break;
        }
    }
    return out;
}

}  // namespace ppprt
