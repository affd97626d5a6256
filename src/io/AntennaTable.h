// Antennas of one or more ANTEX files, looked up by type and radome
// (receivers) or by satellite and time (satellites), with interpolation of
// the phase centre variations.
#ifndef PPPIO_ANTENNATABLE_H
#define PPPIO_ANTENNATABLE_H

#include <string>
#include <vector>

#include "common/GNSSTimeConvert.h"
#include "io/AntexReader.h"

namespace pppio {

class AntennaTable {
public:
    // Reads one ANTEX file (ReadError on a malformed line) and adds its antennas.
    void load(const std::string& path);
    void add(AntexFile file);

    // Receiver antenna of the type (columns 1-16 of ANTEX, blanks around
    // ignored) and radome; a blank radome means NONE. When the radome is not
    // calibrated the antenna with radome NONE is returned and *radomeReplaced
    // set (the caller should report it). A type-mean entry (no serial number)
    // is preferred. Null when the type is unknown.
    const AntexAntenna* receiver(const std::string& type, const std::string& radome,
                                 bool* radomeReplaced = nullptr) const;
    // The same from the 20 characters of a RINEX "ANT # / TYPE" field:
    // type in columns 1-16, radome in columns 17-20.
    const AntexAntenna* receiver(const std::string& typeAndRadome, bool* radomeReplaced = nullptr) const;

    // Satellite antenna of satellite iprn (1..124) valid at GPS time t.
    const AntexAntenna* satellite(int iprn, const tagGPSTIME2& t) const;

    // Whether any satellite antenna was loaded.
    bool hasSatellites() const;
    size_t size() const { return m_antennas.size(); }
    const std::vector<std::string>& warnings() const { return m_warnings; }

private:
    const AntexAntenna* findReceiver(const std::string& type, const std::string& radome) const;

    std::vector<AntexAntenna> m_antennas;
    std::vector<std::string> m_warnings;
};

// Phase centre variation (m) of a receiver antenna frequency at an azimuth
// and zenith angle (degrees): bilinear in the azimuth/zenith grid, linear in
// the NOAZI row when the antenna has no azimuth grid (DAZI 0). Zenith angles
// beyond the calibrated range take the value at its edge.
double receiverPcv(const AntexAntenna& antenna, const AntexFrequency& frequency, double azimuth, double zenith);

// Phase centre variation (m) of a satellite antenna frequency at a nadir
// angle (degrees), linear in the NOAZI row; clamped to the calibrated range.
double satellitePcv(const AntexAntenna& antenna, const AntexFrequency& frequency, double nadir);

}  // namespace pppio

#endif
