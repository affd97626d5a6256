#include "rt/SsrSignals.h"

#include <cstring>

namespace ppprt {

namespace {

struct SignalTable {
    char system;
    const char* const* codes;   // indexed by identifier, "" where undefined
    int count;
};

// RTCM 10403.3 SSR signal tables.
const char* const kGps[] = {"1C", "1P", "1W", "", "", "2C", "2D", "2S", "2L", "2X",
                            "2P", "2W", "", "", "5I", "5Q", "5X", "1S", "1L", "1X"};
const char* const kGlonass[] = {"1C", "1P", "2C", "2P", "4A", "4B", "4X", "6A", "6B", "6X", "3I", "3Q", "3X"};
const char* const kGalileo[] = {"1A", "1B", "1C", "1X", "1Z", "5I", "5Q", "5X", "7I", "7Q", "7X",
                                "8I", "8Q", "8X", "6A", "6B", "6C", "6X", "6Z"};
const char* const kBeidou[] = {"2I", "2Q", "2X", "6I", "6Q", "6X", "7I", "7Q", "7X",
                               "1D", "1P", "1X", "5D", "5P", "5X"};
const char* const kQzss[] = {"1C", "1S", "1L", "2S", "2L", "2X", "5I", "5Q", "5X", "6S", "6L", "6X", "1X"};

const SignalTable kTables[] = {
    {'G', kGps, sizeof(kGps) / sizeof(kGps[0])},
    {'R', kGlonass, sizeof(kGlonass) / sizeof(kGlonass[0])},
    {'E', kGalileo, sizeof(kGalileo) / sizeof(kGalileo[0])},
    {'C', kBeidou, sizeof(kBeidou) / sizeof(kBeidou[0])},
    {'J', kQzss, sizeof(kQzss) / sizeof(kQzss[0])},
};

const SignalTable* TableOf(char system)
{
    for (const SignalTable& table : kTables)
        if (table.system == system)
            return &table;
    return nullptr;
}

}  // namespace

const char* ssrSignalCode(char system, int signal)
{
    const SignalTable* table = TableOf(system);
    if (!table || signal < 0 || signal >= table->count || table->codes[signal][0] == '\0')
        return nullptr;
    return table->codes[signal];
}

int ssrSignalId(char system, const char* code)
{
    const SignalTable* table = TableOf(system);
    if (!table || !code)
        return -1;
    const size_t length = std::strlen(code);
    if (length == 3)
        ++code;
    else if (length != 2)
        return -1;
    for (int k = 0; k < table->count; ++k)
        if (std::strncmp(table->codes[k], code, 2) == 0)
            return k;
    return -1;
}

}  // namespace ppprt
