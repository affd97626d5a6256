// The NTRIP source table: the STR records that describe a caster's mounts,
// parsed from the table text ("STR;MOUNT;ID;FORMAT;...;ENDSOURCETABLE").
//
//   std::vector<ppprt::SourceTableEntry> mounts = ppprt::parseSourceTable(text);
//   for (const auto& m : mounts) if (m.nmea) ... // needs GGA upload
#ifndef PPPRT_SOURCETABLE_H
#define PPPRT_SOURCETABLE_H

#include <string>
#include <vector>

namespace ppprt {

struct SourceTableEntry {
    std::string mount;
    std::string identifier;       // usually the place
    std::string format;           // "RTCM 3.3", ...
    std::string formatDetails;    // "1004(1),1019(5),..."
    int carrier = 0;              // 0 none, 1 L1, 2 L1+L2
    std::string navSystem;        // "GPS+GLO+GAL"
    std::string network;
    std::string country;          // ISO 3166 code
    double latitude = 0.0;        // degrees
    double longitude = 0.0;
    bool nmea = false;            // the mount expects GGA from the client
    bool networkSolution = false;  // 1: network, 0: single base
    std::string generator;
    std::string compression;
    std::string authentication;   // N none, B basic, D digest
    bool fee = false;
    int bitrate = 0;              // bits per second
    std::string misc;
};

// STR records of the table; other records (CAS, NET) and malformed STR
// lines (fewer than the 18 fields before "misc") are skipped.
std::vector<SourceTableEntry> parseSourceTable(const std::string& text);

}  // namespace ppprt

#endif
