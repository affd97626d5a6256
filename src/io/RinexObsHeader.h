// Header of a RINEX observation file (versions 2.10/2.11, 3.0x and 4.0x):
// the fields the processing needs, and the observation types per system with
// a look-up by code.
#ifndef PPPIO_RINEXOBSHEADER_H
#define PPPIO_RINEXOBSHEADER_H

#include <array>
#include <string>
#include <vector>

#include "common/GNSSTimeConvert.h"
#include "io/RinexFields.h"

namespace pppio {

// Observation types of one satellite system, in the order of the data.
struct SystemObsTypes {
    // Three-character codes of RINEX 3 ("C1W"). RINEX 2 types are mapped
    // where the meaning is clear enough (see RinexObsHeaderParser.cpp);
    // a type without a sensible mapping keeps its RINEX 2 code.
    std::vector<std::string> codes;
    // The codes as written in the file ("P1" in RINEX 2, same as codes in 3/4).
    std::vector<std::string> original;
    // Divisor from SYS / SCALE FACTOR, 1 when none; already applied to the values.
    std::vector<double> scale;

    int count() const { return static_cast<int>(codes.size()); }
    // Index of `code` (RINEX 3 code or the file's own code), -1 when absent.
    int index(const std::string& code) const;
};

struct PhaseShift {
    char system;
    std::string code;               // "L2L"
    double cycles;                  // correction applied in the file, cycles (0 when blank)
    std::vector<std::string> satellites;  // empty: all satellites of the system
};

struct RinexObsHeader {
    double version = 0.0;        // 2.11, 3.05, 4.01...
    char fileSystem = ' ';       // satellite system of the file: 'M' mixed, 'G'...
    int compactVersion = 0;      // Compact RINEX version (1 or 3), 0 for plain RINEX

    std::string markerName;
    std::string markerNumber;
    std::string markerType;
    std::string receiverNumber;
    std::string receiverType;
    std::string receiverVersion;
    std::string antennaNumber;
    // Antenna and radome as in the file and in ANTEX: 20 columns, the radome
    // in the last four ("ASH701945E_M    SCIS"); trailing blanks removed.
    std::string antennaType;
    double antennaDeltaH = 0.0;  // antenna reference point above the marker, m
    double antennaDeltaE = 0.0;
    double antennaDeltaN = 0.0;
    double approxPosition[3] = {0.0, 0.0, 0.0};  // ECEF, m
    double interval = 0.0;       // s, 0 when not given
    bool hasFirstObs = false;
    tagCOMMONTIME firstObs{};
    bool hasLastObs = false;
    tagCOMMONTIME lastObs{};
    // Time system of the epochs ("GPS", "GLO", "GAL", "BDT"...). Epoch times
    // are passed on as written; RINEX 2 files without one are GPS.
    std::string timeSystem = "GPS";
    bool hasLeapSeconds = false;
    int leapSeconds = 0;
    std::string signalStrengthUnit;
    std::vector<PhaseShift> phaseShifts;

    // Observation types of a system; an empty list for a system without any.
    const SystemObsTypes& obsTypes(char system) const;
    // Index of an observation code for a system, -1 when absent. Look it up
    // once per file, then use the index with ObsEpoch::obs.
    int obsIndex(char system, const std::string& code) const;
    // Largest number of types of any system (the row length of ObsEpoch).
    int maxTypeCount() const;

    // GLONASS frequency channel of a slot from GLONASS SLOT / FRQ #; false
    // when the slot is not listed.
    bool glonassChannel(int slot, int& channel) const;

    // ---- filled by the header parser
    SystemObsTypes& mutableObsTypes(char system);
    void setGlonassChannel(int slot, int channel);

private:
    static constexpr int kNoChannel = -100;
    std::array<SystemObsTypes, kSystemCount> m_types;
    std::array<int, kMaxPrn + 1> m_glonassChannel = MakeNoChannels();

    static std::array<int, kMaxPrn + 1> MakeNoChannels()
    {
        std::array<int, kMaxPrn + 1> channels{};
        channels.fill(kNoChannel);
        return channels;
    }
};

}  // namespace pppio

#endif
