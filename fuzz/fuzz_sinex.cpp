// SINEX files through readSinex and SinexSites: every site's coordinates
// propagated to a time far from the reference epoch.
#include <cstddef>
#include <cstdint>

#include "FuzzInput.h"
#include "io/ReadError.h"
#include "io/SinexReader.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    try {
        const pppio::SinexFile file = pppio::readSinex(fuzzing::inputFile(data, size));
        pppio::SinexSites sites;
        sites.add(file);
        double xyz[3];
        for (const pppio::SinexSite& site : file.sites) {
            sites.position(site.code, tagGPSTIME2{2111, 345600.0}, xyz);
            sites.position(site.code, site.referenceEpoch, xyz);
        }
    } catch (const pppio::ReadError&) {
    }
    return 0;
}
