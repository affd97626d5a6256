// Float-ambiguity export file: the t_input_upds records of library mode 3,
// one line per valid satellite slot per epoch (the input of the UPD
// estimator).
//
//   % ppplib float ambiguities 1.0
//   % SITE ESBC
//   % INTERVAL 30
//   % columns: week sow sat lock elev(deg) wl(cycles) wl_sig(m) amb(m) amb_sig(m)
//   2111 345600.0 G01   12  35.123   1234.5678 0.0500  -123.4567 0.0123
//
// Writing, each epoch of a run:
//   pppio::AmbiguityExportWriter out("esbc.amb", 30.0);
//   out.append(result.upds);
// Reading:
//   const pppio::AmbiguityExport file = pppio::readAmbiguityExport("esbc.amb");
#ifndef PPPIO_AMBIGUITYEXPORT_H
#define PPPIO_AMBIGUITYEXPORT_H

#include <cstdio>
#include <string>
#include <vector>

#include "common/GNSSTimeConvert.h"
#include "engine/PPPRecords.h"

namespace pppio {

class AmbiguityExportWriter {
public:
    // Creates (truncates) the file; throws std::runtime_error when it
    // cannot be opened. `interval` is the epoch interval in seconds.
    AmbiguityExportWriter(const std::string& path, double interval);
    ~AmbiguityExportWriter();
    AmbiguityExportWriter(const AmbiguityExportWriter&) = delete;
    AmbiguityExportWriter& operator=(const AmbiguityExportWriter&) = delete;

    // Appends the valid slots of one epoch; the header (with the record's
    // site) is written before the first epoch. The file is flushed after
    // each epoch so that a run cut short keeps what it wrote. Throws
    // std::runtime_error on a write error.
    void append(const t_input_upds& epoch);

private:
    std::string m_path;
    std::FILE* m_file;
    double m_interval;
    bool m_headerWritten = false;
};

struct AmbiguitySatellite {
    int iprn;              // packed satellite index
    int lock;              // epochs of the continuous arc
    double elevation;      // degrees
    double wl;             // cycles, library sign
    double wlSigma;        // m
    double amb;            // m, library sign
    double ambSigma;       // m
};

struct AmbiguityEpoch {
    tagGPSTIME2 time;
    std::vector<AmbiguitySatellite> satellites;
};

struct AmbiguityExport {
    std::string path;
    std::string site;
    double interval = 0.0;     // s, 0 when the header has none
    std::vector<AmbiguityEpoch> epochs;   // lines of equal time in a row form an epoch
    std::vector<std::string> warnings;
};

// Throws ReadError for a malformed line.
AmbiguityExport readAmbiguityExport(const std::string& path);

}  // namespace pppio

#endif
