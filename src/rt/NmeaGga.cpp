#include "rt/NmeaGga.h"

#include <cmath>
#include <cstdio>

namespace ppprt {

namespace {

// Degrees as NMEA "dddmm.mmmm"; `width` digits of whole degrees.
std::string DegreesMinutes(double degrees, int width)
{
    degrees = std::fmin(std::fabs(degrees), 180.0);
    long tenThousandths = std::lround(degrees * 60.0 * 10000.0);   // in 1e-4 minutes
    const long whole = tenThousandths / (60L * 10000L);
    tenThousandths -= whole * 60L * 10000L;
    char text[80];
    std::snprintf(text, sizeof(text), "%0*ld%02ld.%04ld", width, whole, tenThousandths / 10000L, tenThousandths % 10000L);
    return text;
}

}  // namespace

int nmeaChecksum(const std::string& sentence)
{
    const size_t start = sentence.find('$');
    if (start == std::string::npos)
        return -1;
    int sum = 0;
    for (size_t i = start + 1; i < sentence.size() && sentence[i] != '*' && sentence[i] != '\r' && sentence[i] != '\n'; ++i)
        sum ^= static_cast<unsigned char>(sentence[i]);
    return sum;
}

std::string formatGga(double utcSecondsOfDay, double latitudeDeg, double longitudeDeg, double heightM, int quality,
                      int satellites)
{
    long centiseconds = std::lround(std::fmod(std::fmax(utcSecondsOfDay, 0.0), 86400.0) * 100.0) % 8640000L;
    const long hours = centiseconds / 360000L;
    const long minutes = centiseconds / 6000L % 60L;
    const long seconds = centiseconds % 6000L;
    char text[256];
    std::snprintf(text, sizeof(text), "$GPGGA,%02ld%02ld%02ld.%02ld,%s,%c,%s,%c,%d,%02d,1.0,%.3f,M,0.000,M,,", hours,
                  minutes, seconds / 100L, seconds % 100L, DegreesMinutes(latitudeDeg, 2).c_str(),
                  latitudeDeg < 0 ? 'S' : 'N', DegreesMinutes(longitudeDeg, 3).c_str(), longitudeDeg < 0 ? 'W' : 'E',
                  quality, satellites, heightM);
    return completeGga(text);
}

std::string completeGga(const std::string& sentence)
{
    std::string out = sentence;
    while (!out.empty() && (out.back() == '\r' || out.back() == '\n'))
        out.pop_back();
    if (out.find('*') == std::string::npos) {
        char sum[8];
        std::snprintf(sum, sizeof(sum), "*%02X", nmeaChecksum(out) & 0xFF);
        out += sum;
    }
    return out + "\r\n";
}

}  // namespace ppprt
