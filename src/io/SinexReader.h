// Reader of station coordinates from SINEX files (plain or gzip): the
// SITE/ID block and the STAX/STAY/STAZ and VELX/VELY/VELZ estimates of the
// SOLUTION/ESTIMATE block; other blocks and parameters are skipped.
#ifndef PPPIO_SINEXREADER_H
#define PPPIO_SINEXREADER_H

#include <string>
#include <vector>

#include "common/GNSSTimeConvert.h"

namespace pppio {

struct SinexSite {
    std::string code;          // 4 characters, upper case
    std::string point;         // point code, e.g. "A"
    std::string domes;
    std::string description;
    bool hasId = false;        // listed in SITE/ID
    double longitude = 0.0;    // approximate, degrees east (0..360), from SITE/ID
    double latitude = 0.0;     // approximate, degrees north
    double height = 0.0;       // approximate, m
    int solution = 0;          // solution number of the estimates kept
    bool hasPosition = false;  // STAX, STAY and STAZ all read
    bool hasVelocity = false;  // VELX, VELY and VELZ all read
    double position[3] = {0.0, 0.0, 0.0};   // m, at the reference epoch
    double velocity[3] = {0.0, 0.0, 0.0};   // m/year
    double sigma[3] = {0.0, 0.0, 0.0};      // m, of the position
    tagGPSTIME2 referenceEpoch{0, 0.0};     // of the position estimates
    unsigned estimated = 0;    // bits: STAX, STAY, STAZ, VELX, VELY, VELZ read
};

struct SinexFile {
    std::string path;
    std::vector<SinexSite> sites;
    bool complete = false;     // %ENDSNX found
    std::vector<std::string> warnings;
};

// Reads the whole file. Throws ReadError for a malformed line; a file that
// ends early keeps what was read and records a warning. Where a site has
// estimates of several solutions (discontinuities), those of the highest
// solution number are kept.
SinexFile readSinex(const std::string& path);

// Sites of one or more SINEX files by 4-character code (case-insensitive).
// A code loaded twice keeps the later file's site; of several points of one
// code the first is used.
class SinexSites {
public:
    void load(const std::string& path);
    void add(const SinexFile& file);

    const SinexSite* site(const std::string& code) const;
    // Coordinates of the site at GPS time t, propagated from the reference
    // epoch with the velocity when the file has one (years of 365.25 days).
    bool position(const std::string& code, const tagGPSTIME2& t, double xyz[3]) const;

    size_t size() const { return m_sites.size(); }
    const std::vector<std::string>& warnings() const { return m_warnings; }

private:
    std::vector<SinexSite> m_sites;
    std::vector<std::string> m_warnings;
};

}  // namespace pppio

#endif
