// Reading of RINEX observation header lines into RinexObsHeader, for the
// header itself and for the header records that follow an event epoch
// (flags 3 and 4). Records that span lines (observation types, GLONASS
// slots, phase shifts, scale factors) are assembled across calls.
#ifndef PPPIO_RINEXOBSHEADERPARSER_H
#define PPPIO_RINEXOBSHEADERPARSER_H

#include <string>
#include <vector>

#include "io/LineReader.h"
#include "io/RinexObsHeader.h"

namespace pppio {

class RinexObsHeaderParser {
public:
    explicit RinexObsHeaderParser(RinexObsHeader& header) : m_header(header) {}

    // Applies one header line; `path` and `lineNumber` name it in errors.
    // Returns false for END OF HEADER. Unknown labels are skipped.
    bool apply(const std::string& line, const std::string& path, long lineNumber);

    // Completes the header after its last line: checks the version, gives
    // RINEX 2 types to every system and resolves the scale factors.
    void finish(const std::string& path, long lineNumber);

private:
    struct ScaleFactor {
        char system;
        double factor;
        std::vector<std::string> codes;  // empty: all types of the system
    };
    enum class Pending { kNone, kTypes2, kTypes3, kGlonass, kPhaseShift, kScaleFactor };

    // Whether the line goes on with the record begun on an earlier line.
    bool continues(const std::string& line, const std::string& label) const;
    void readVersion(const std::string& line);
    void readTypes2(const std::string& line, bool first);
    void readTypes3(const std::string& line, bool first);
    void readGlonassSlots(const std::string& line, bool first);
    void readPhaseShift(const std::string& line, bool first);
    void readScaleFactor(const std::string& line, bool first);
    // TIME OF FIRST OBS / TIME OF LAST OBS into `t`; the first also sets the time system.
    void readObsTime(const std::string& line, tagCOMMONTIME& t, bool first);
    // Reads the number in the field, or fails naming `what`.
    double decimal(const std::string& line, size_t first, size_t width, const char* what) const;
    long integer(const std::string& line, size_t first, size_t width, const char* what) const;
    [[noreturn]] void fail(const std::string& message) const;

    RinexObsHeader& m_header;
    std::vector<std::string> m_types2;  // RINEX 2 types, shared by all systems
    std::vector<ScaleFactor> m_scaleFactors;
    Pending m_pending = Pending::kNone;
    long m_remaining = 0;   // items of the pending record still to come
    char m_pendingSystem = ' ';
    const std::string* m_path = nullptr;
    long m_lineNumber = 0;
};

// Reads the header at the start of the file, with the two Compact RINEX
// lines when present, up to and including END OF HEADER.
void ReadRinexObsHeader(LineReader& in, RinexObsHeader& header);

}  // namespace pppio

#endif
