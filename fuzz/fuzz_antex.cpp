// ANTEX files through readAntex and AntennaTable: the variations of every
// frequency of every antenna on a grid of angles inside and beyond the
// calibrated range, and the look-ups by type and by satellite.
#include <cstddef>
#include <cstdint>

#include "FuzzInput.h"
#include "io/AntennaTable.h"
#include "io/ReadError.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    constexpr size_t kMaxAntennas = 32;
    try {
        pppio::AntexFile file = pppio::readAntex(fuzzing::inputFile(data, size));
        pppio::AntennaTable table;
        table.add(file);
        volatile double sum = 0.0;
        for (size_t k = 0; k < file.antennas.size() && k < kMaxAntennas; ++k) {
            const pppio::AntexAntenna& antenna = file.antennas[k];
            for (const pppio::AntexFrequency& frequency : antenna.frequencies) {
                for (double angle : {-5.0, 0.0, 7.3, 45.0, 89.9, 90.0, 120.0}) {
                    if (antenna.isSatellite)
                        sum = sum + pppio::satellitePcv(antenna, frequency, angle / 6.0);
                    else
                        sum = sum + pppio::receiverPcv(antenna, frequency, angle * 4.0 - 30.0, angle);
                }
            }
            if (antenna.isSatellite)
                table.satellite(antenna.iprn, antenna.validFrom);
            else
                table.receiver(antenna.type, antenna.radome);
        }
    } catch (const pppio::ReadError&) {
    }
    return 0;
}
