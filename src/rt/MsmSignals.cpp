#include "rt/MsmSignals.h"

#include <cstring>

#include "common/GNSSConst.h"

namespace ppprt {
namespace {

// Signal ID 1-32 to band and attribute, from the MSM signal mapping of each
// system; empty entries are reserved IDs.
using SignalTable = const char* [kMsmMaxSignalId];

constexpr SignalTable kGps = {
    nullptr, "1C", "1P", "1W", nullptr, nullptr, nullptr, "2C", "2P", "2W", nullptr, nullptr, nullptr, nullptr, "2S",
    "2L", "2X", nullptr, nullptr, nullptr, nullptr, "5I", "5Q", "5X", nullptr, nullptr, nullptr, nullptr, nullptr,
    "1S", "1L", "1X"};
constexpr SignalTable kGlonass = {nullptr, "1C", "1P", nullptr, nullptr, nullptr, nullptr, "2C", "2P"};
constexpr SignalTable kGalileo = {
    nullptr, "1C", "1A", "1B", "1X", "1Z", nullptr, "6C", "6A", "6B", "6X", "6Z", nullptr, "7I", "7Q", "7X",
    nullptr, "8I", "8Q", "8X", nullptr, "5I", "5Q", "5X"};
constexpr SignalTable kBeidou = {
    nullptr, "2I", "2Q", "2X", nullptr, nullptr, nullptr, "6I", "6Q", "6X", nullptr, nullptr, nullptr, "7I", "7Q",
    "7X", nullptr, nullptr, nullptr, nullptr, nullptr, "5D", "5P", "5X", nullptr, nullptr, nullptr, nullptr, nullptr,
    "1D", "1P", "1X"};
constexpr SignalTable kQzss = {
    nullptr, "1C", nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, "6S", "6L", "6X", nullptr, nullptr, nullptr,
    "2S", "2L", "2X", nullptr, nullptr, nullptr, nullptr, "5I", "5Q", "5X", nullptr, nullptr, nullptr, nullptr,
    nullptr, "1S", "1L", "1X"};

const SignalTable* tableOf(char system)
{
    switch (system) {
    case 'G': return &kGps;
    case 'R': return &kGlonass;
    case 'E': return &kGalileo;
    case 'C': return &kBeidou;
    case 'J': return &kQzss;
    default: return nullptr;
    }
}

}  // namespace

int msmSystemIndex(char system)
{
    const char* found = system != '\0' ? std::strchr(kMsmSystems, system) : nullptr;
    return found ? static_cast<int>(found - kMsmSystems) : -1;
}

const char* msmSignalCode(char system, int signalId)
{
    const SignalTable* table = tableOf(system);
    if (!table || signalId < 1 || signalId > kMsmMaxSignalId)
        return nullptr;
    return (*table)[signalId - 1];
}

int msmSignalId(char system, const char* code)
{
    const SignalTable* table = tableOf(system);
    if (!table)
        return 0;
    for (int id = 1; id <= kMsmMaxSignalId; ++id) {
        const char* entry = (*table)[id - 1];
        if (entry && std::strncmp(entry, code, 2) == 0)
            return id;
    }
    return 0;
}

double msmCarrierFrequency(char system, char band, int glonassChannel)
{
    constexpr double kL1 = _GPS_F1, kL2 = _GPS_F2, kL5 = _GAL_F5;
    constexpr double kE5b = _BDS_F7, kE5 = 1191.795e6, kE6 = 1278.75e6, kB1 = _BDS_F2, kB3 = 1268.52e6;
    switch (system) {
    case 'G':
    case 'J':
        return band == '1' ? kL1 : band == '2' ? kL2 : band == '5' ? kL5 : band == '6' && system == 'J' ? kE6 : 0.0;
    case 'R':
        if (glonassChannel == kNoChannel)
            return 0.0;
        return band == '1'   ? _GLONASS_F01 + glonassChannel * _GLONASS_f1
               : band == '2' ? _GLONASS_F02 + glonassChannel * _GLONASS_f2
                             : 0.0;
    case 'E':
        return band == '1' ? kL1 : band == '5' ? kL5 : band == '7' ? kE5b : band == '8' ? kE5 : band == '6' ? kE6 : 0.0;
    case 'C':
        return band == '2'   ? kB1
               : band == '7' ? kE5b
               : band == '6' ? kB3
               : band == '1' ? kL1
               : band == '5' ? kL5
                             : 0.0;
    default:
        return 0.0;
    }
}

}  // namespace ppprt
