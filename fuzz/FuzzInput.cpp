#include "FuzzInput.h"

#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <stdexcept>

namespace fuzzing {
namespace {

std::string scratchDirectory()
{
    if (const char* dir = std::getenv("TMPDIR"); dir && *dir)
        return dir;
    return access("/dev/shm", W_OK) == 0 ? "/dev/shm" : "/tmp";
}

struct ScratchFile {
    std::string path = scratchDirectory() + "/ppplib_fuzz_" + std::to_string(getpid()) + ".in";
    ~ScratchFile() { std::remove(path.c_str()); }
};

}  // namespace

const std::string& inputFile(const uint8_t* data, size_t size)
{
    static const ScratchFile file;
    std::FILE* out = std::fopen(file.path.c_str(), "wb");
    if (!out || std::fwrite(data, 1, size, out) != size || std::fclose(out) != 0)
        throw std::runtime_error("cannot write the fuzzing scratch file " + file.path);
    return file.path;
}

const uint8_t* ByteCursor::take(size_t n, size_t& taken)
{
    taken = n < remaining() ? n : remaining();
    const uint8_t* at = m_data + m_pos;
    m_pos += taken;
    return at;
}

double ByteCursor::extreme()
{
    static const double kValues[] = {
        std::numeric_limits<double>::quiet_NaN(), std::numeric_limits<double>::infinity(),
        -std::numeric_limits<double>::infinity(), 1e300, -1e300, 0.0, -0.0, -1.0, 1.0,
        std::numeric_limits<double>::denorm_min(), std::numeric_limits<double>::max(), 1e-300,
        99999.0, 999.0, 2147483648.0, -2147483649.0};
    const unsigned pick = byte();
    if (pick < sizeof(kValues) / sizeof(kValues[0]))
        return kValues[pick];
    double raw = 0.0;
    size_t taken = 0;
    const uint8_t* bytes = take(sizeof(raw), taken);
    std::memcpy(&raw, bytes, taken);
    return raw;
}

}  // namespace fuzzing
