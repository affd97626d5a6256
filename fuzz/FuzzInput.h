// Helpers of the fuzzing harnesses: the input bytes as a file for the
// readers that take a path, and a cursor that turns input bytes into choices.
//
//   extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
//   {
//       try {
//           use(pppio::readSp3(fuzzing::inputFile(data, size)));
//       } catch (const pppio::ReadError&) {
//       }
//       return 0;
//   }
#ifndef PPPLIB_FUZZ_FUZZINPUT_H
#define PPPLIB_FUZZ_FUZZINPUT_H

#include <cstddef>
#include <cstdint>
#include <string>

namespace fuzzing {

// Writes the bytes to the process's scratch file (in TMPDIR, else /dev/shm
// or /tmp; removed at exit) and returns its path. Each call overwrites it.
const std::string& inputFile(const uint8_t* data, size_t size);

// Reads choices from the input bytes; once they are used up every read
// gives 0, so a short input still makes a complete, valid run.
class ByteCursor {
public:
    ByteCursor(const uint8_t* data, size_t size) : m_data(data), m_size(size) {}

    bool empty() const { return m_pos >= m_size; }
    size_t remaining() const { return m_size - m_pos; }
    uint8_t byte() { return m_pos < m_size ? m_data[m_pos++] : 0; }
    uint16_t word() { return static_cast<uint16_t>(byte() << 8 | byte()); }
    // A value in [0, n), n >= 1.
    unsigned below(unsigned n) { return n > 256 ? word() % n : byte() % n; }
    // The next n bytes (fewer at the end); `taken` tells how many.
    const uint8_t* take(size_t n, size_t& taken);
    // A real: one of the values that break arithmetic (NaN, infinities,
    // 1e300, -0, subnormal, ...), or eight raw bytes.
    double extreme();

private:
    const uint8_t* m_data;
    size_t m_size;
    size_t m_pos = 0;
};

}  // namespace fuzzing

#endif
