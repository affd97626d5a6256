// Positions in the text layout that common GNSS plotting and analysis
// tools read: a block of "%" header lines, a column header, then one row
// per solved epoch with GPS time, coordinates, quality Q, satellites,
// standard deviations and signed square roots of the covariances, age of
// differential data and ratio. Rows are flushed as they are written.
//
//   PositionFile pos("run.pos", PositionFormat::kLlh, header);
//   pos.write(solution);   // per epoch
#ifndef PPPRUN_POSITIONFILE_H
#define PPPRUN_POSITIONFILE_H

#include <cstdio>
#include <string>
#include <vector>

#include "Solution.h"
#include "common/GNSSCoordConvert.h"

namespace ppprun {

enum class PositionFormat { kXyz, kLlh, kEnu };

// "xyz", "llh", "enu"; false for anything else.
bool ParsePositionFormat(const std::string& text, PositionFormat& out);

struct PositionHeader {
    std::string program;                 // "ppprun 0.1.0"
    std::vector<std::string> inputs;
    bool hasStart = false, hasEnd = false;
    tagGPSTIME2 start{0, 0.0}, end{0, 0.0};
    std::string posMode;                 // "ppp-static", "single", ...
    double elevMask = 0.0;               // degrees
    std::string ionosphere, troposphere, ephemeris, systems;
    bool hasReference = false;           // ENU origin; else the first solution
    double reference[3] = {0.0, 0.0, 0.0};
};

class PositionFile {
public:
    // Throws InputError when the file cannot be created.
    PositionFile(const std::string& path, PositionFormat format, const PositionHeader& header);
    ~PositionFile();
    PositionFile(const PositionFile&) = delete;
    PositionFile& operator=(const PositionFile&) = delete;

    void write(const EpochSolution& s);

private:
    void writeHeader(const PositionHeader& header);
    void setOrigin(const double xyz[3]);

    std::FILE* m_file = nullptr;
    PositionFormat m_format;
    bool m_hasOrigin = false;
    tagCRDCARTESIAN m_origin{0.0, 0.0, 0.0};
    double m_rotation[3][3] = {};        // ECEF to the local east, north, up at the origin
    CGNSSCoordConvert m_convert;
};

}  // namespace ppprun

#endif
