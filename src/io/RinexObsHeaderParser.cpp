#include "io/RinexObsHeaderParser.h"

#include <cstring>

namespace pppio {

namespace {

constexpr size_t kLabelColumn = 60;

bool IsBlank(const std::string& line, size_t first, size_t width)
{
    return TrimmedField(line, first, width).empty();
}

// RINEX 3 code for a RINEX 2 type of a system. The tracking attribute is
// the one such data nearly always had: GPS L1 C/A, L2 (semi-)codeless P
// ("W") with the L2C code as "C2X"; GLONASS C/A on L1 and P on L2; "X"
// (mixed or unknown) for the other systems and for band 5. Types that have
// no RINEX 3 counterpart (P codes outside GPS and GLONASS, T...) stay as
// they are.
std::string MapRinex2Code(char system, const std::string& code)
{
    if (code.size() != 2 || !std::strchr("CPLDS", code[0]) || code[1] < '1' || code[1] > '9')
        return code;
    const char type = code[0];
    const char band = code[1];
    const bool pCode = type == 'P';
    if (pCode && system != 'G' && system != 'R')
        return code;
    char attribute = 'X';
    if (system == 'G' && band == '1')
        attribute = pCode ? 'W' : 'C';
    else if (system == 'G' && band == '2')
        attribute = type == 'C' ? 'X' : 'W';
    else if (system == 'R' && band == '1')
        attribute = pCode ? 'P' : 'C';
    else if (system == 'R' && band == '2')
        attribute = type == 'C' ? 'C' : 'P';
    else if (system == 'S' && band == '1')
        attribute = 'C';
    return std::string{pCode ? 'C' : type, band, attribute};
}

}  // namespace

void RinexObsHeaderParser::fail(const std::string& message) const
{
    throw ReadError(m_path ? *m_path : std::string(), m_lineNumber, message);
}

double RinexObsHeaderParser::decimal(const std::string& line, size_t first, size_t width, const char* what) const
{
    double value = 0.0;
    const Field field = ParseDecimalField(line, first, width, value);
    if (field == Field::kBad)
        fail(std::string("expected ") + what + " in columns " + std::to_string(first + 1) + "-" +
             std::to_string(first + width));
    return value;
}

long RinexObsHeaderParser::integer(const std::string& line, size_t first, size_t width, const char* what) const
{
    long value = 0;
    const Field field = ParseIntegerField(line, first, width, value);
    if (field != Field::kValue)
        fail(std::string("expected ") + what + " in columns " + std::to_string(first + 1) + "-" +
             std::to_string(first + width));
    return value;
}

bool RinexObsHeaderParser::apply(const std::string& line, const std::string& path, long lineNumber)
{
    m_path = &path;
    m_lineNumber = lineNumber;
    if (line.find_first_not_of(' ') == std::string::npos)
        return true;  // a blank line carries nothing
    if (line.size() <= kLabelColumn)
        fail("expected a header label in columns 61-80");
    const std::string label = TrimmedField(line, kLabelColumn, 20);

    const bool continuing = continues(line, label);
    if (!continuing) {
        if ((m_pending == Pending::kTypes2 || m_pending == Pending::kTypes3) && m_remaining > 0)
            fail("expected " + std::to_string(m_remaining) + " more observation types before this line");
        m_pending = Pending::kNone;
    }

    if (label == "RINEX VERSION / TYPE")
        readVersion(line);
    else if (label == "MARKER NAME")
        m_header.markerName = TrimmedField(line, 0, 60);
    else if (label == "MARKER NUMBER")
        m_header.markerNumber = TrimmedField(line, 0, 20);
    else if (label == "MARKER TYPE")
        m_header.markerType = TrimmedField(line, 0, 20);
    else if (label == "REC # / TYPE / VERS") {
        m_header.receiverNumber = TrimmedField(line, 0, 20);
        m_header.receiverType = TrimmedField(line, 20, 20);
        m_header.receiverVersion = TrimmedField(line, 40, 20);
    } else if (label == "ANT # / TYPE") {
        m_header.antennaNumber = TrimmedField(line, 0, 20);
        m_header.antennaType = TrimmedField(line, 20, 20);
    } else if (label == "ANTENNA: DELTA H/E/N") {
        m_header.antennaDeltaH = decimal(line, 0, 14, "the antenna height");
        m_header.antennaDeltaE = decimal(line, 14, 14, "the antenna east offset");
        m_header.antennaDeltaN = decimal(line, 28, 14, "the antenna north offset");
    } else if (label == "APPROX POSITION XYZ") {
        for (size_t i = 0; i < 3; ++i)
            m_header.approxPosition[i] = decimal(line, 14 * i, 14, "a position coordinate");
    } else if (label == "# / TYPES OF OBSERV")
        readTypes2(line, !continuing);
    else if (label == "SYS / # / OBS TYPES")
        readTypes3(line, !continuing);
    else if (label == "GLONASS SLOT / FRQ #")
        readGlonassSlots(line, !continuing);
    else if (label == "SYS / PHASE SHIFT")
        readPhaseShift(line, !continuing);
    else if (label == "SYS / SCALE FACTOR")
        readScaleFactor(line, !continuing);
    else if (label == "INTERVAL")
        m_header.interval = decimal(line, 0, 10, "the interval");
    else if (label == "TIME OF FIRST OBS") {
        readObsTime(line, m_header.firstObs, true);
        m_header.hasFirstObs = true;
    } else if (label == "TIME OF LAST OBS") {
        readObsTime(line, m_header.lastObs, false);
        m_header.hasLastObs = true;
    }
    else if (label == "LEAP SECONDS") {
        m_header.leapSeconds = static_cast<int>(integer(line, 0, 6, "the leap seconds"));
        m_header.hasLeapSeconds = true;
    } else if (label == "SIGNAL STRENGTH UNIT")
        m_header.signalStrengthUnit = TrimmedField(line, 0, 20);
    else if (label == "END OF HEADER")
        return false;
    return true;
}

bool RinexObsHeaderParser::continues(const std::string& line, const std::string& label) const
{
    // Continuation lines of a record that spans lines have a blank start.
    switch (m_pending) {
    case Pending::kTypes2: return label == "# / TYPES OF OBSERV" && IsBlank(line, 0, 6);
    case Pending::kTypes3: return label == "SYS / # / OBS TYPES" && IsBlank(line, 0, 1);
    case Pending::kGlonass: return label == "GLONASS SLOT / FRQ #" && IsBlank(line, 0, 3);
    case Pending::kPhaseShift: return label == "SYS / PHASE SHIFT" && IsBlank(line, 0, 1);
    case Pending::kScaleFactor: return label == "SYS / SCALE FACTOR" && IsBlank(line, 0, 1);
    case Pending::kNone: break;
    }
    return false;
}

void RinexObsHeaderParser::readVersion(const std::string& line)
{
    m_header.version = decimal(line, 0, 9, "the format version");
    if (CharAt(line, 20) != 'O')
        fail("not an observation file: expected 'O' in column 21");
    m_header.fileSystem = CharAt(line, 40);
    if (m_header.fileSystem == ' ')
        m_header.fileSystem = 'G';
}

void RinexObsHeaderParser::readTypes2(const std::string& line, bool first)
{
    if (first) {
        m_remaining = integer(line, 0, 6, "the number of observation types");
        if (m_remaining < 0 || m_remaining > 99)
            fail("the number of observation types must be 0-99");
        m_types2.clear();
        m_pending = Pending::kTypes2;
    }
    for (size_t j = 0; j < 9 && m_remaining > 0; ++j, --m_remaining) {
        const std::string code = TrimmedField(line, 10 + 6 * j, 2);
        if (code.empty())
            fail("expected an observation type in columns " + std::to_string(11 + 6 * j) + "-" +
                 std::to_string(12 + 6 * j));
        m_types2.push_back(code);
    }
}

void RinexObsHeaderParser::readTypes3(const std::string& line, bool first)
{
    if (first) {
        m_pendingSystem = line[0];
        if (SystemIndex(m_pendingSystem) < 0)
            fail(std::string("unknown satellite system '") + m_pendingSystem + "'");
        m_remaining = integer(line, 3, 3, "the number of observation types");
        if (m_remaining < 0 || m_remaining > 999)
            fail("the number of observation types must be 0-999");
        SystemObsTypes& types = m_header.mutableObsTypes(m_pendingSystem);
        types.codes.clear();
        types.original.clear();
        m_pending = Pending::kTypes3;
    }
    SystemObsTypes& types = m_header.mutableObsTypes(m_pendingSystem);
    for (size_t j = 0; j < 13 && m_remaining > 0; ++j, --m_remaining) {
        const std::string code = TrimmedField(line, 7 + 4 * j, 3);
        if (code.size() != 3)
            fail("expected an observation code in columns " + std::to_string(8 + 4 * j) + "-" +
                 std::to_string(10 + 4 * j));
        types.codes.push_back(code);
        types.original.push_back(code);
    }
    types.scale.assign(types.codes.size(), 1.0);
}

void RinexObsHeaderParser::readGlonassSlots(const std::string& line, bool first)
{
    if (first) {
        m_remaining = integer(line, 0, 3, "the number of GLONASS satellites");
        m_pending = Pending::kGlonass;
    }
    for (size_t j = 0; j < 8 && m_remaining > 0; ++j, --m_remaining) {
        char system = ' ';
        int slot = 0;
        if (!ParseSatelliteId(line, 4 + 7 * j, system, slot) || system != 'R')
            fail("expected a GLONASS satellite in columns " + std::to_string(5 + 7 * j) + "-" +
                 std::to_string(7 + 7 * j));
        m_header.setGlonassChannel(slot, static_cast<int>(integer(line, 8 + 7 * j, 2, "a frequency number")));
    }
}

void RinexObsHeaderParser::readPhaseShift(const std::string& line, bool first)
{
    if (first) {
        PhaseShift shift;
        shift.system = line[0];
        shift.code = TrimmedField(line, 2, 3);
        shift.cycles = decimal(line, 6, 8, "the phase shift");
        long count = 0;
        if (ParseIntegerField(line, 16, 2, count) == Field::kBad)
            fail("expected the number of satellites in columns 17-18");
        m_header.phaseShifts.push_back(shift);
        m_remaining = count;
        m_pending = Pending::kPhaseShift;
    }
    PhaseShift& shift = m_header.phaseShifts.back();
    for (size_t j = 0; j < 10 && m_remaining > 0; ++j, --m_remaining) {
        const std::string satellite = TrimmedField(line, 19 + 4 * j, 3);
        if (satellite.empty())
            fail("expected a satellite in columns " + std::to_string(20 + 4 * j) + "-" + std::to_string(22 + 4 * j));
        shift.satellites.push_back(satellite);
    }
}

void RinexObsHeaderParser::readScaleFactor(const std::string& line, bool first)
{
    if (first) {
        ScaleFactor scale;
        scale.system = line[0];
        scale.factor = static_cast<double>(integer(line, 2, 4, "the scale factor"));
        if (SystemIndex(scale.system) < 0 || scale.factor <= 0.0)
            fail("expected a satellite system and a positive scale factor");
        long count = 0;
        if (ParseIntegerField(line, 8, 2, count) == Field::kBad)
            fail("expected the number of observation types in columns 9-10");
        m_scaleFactors.push_back(scale);
        m_remaining = count;
        m_pending = Pending::kScaleFactor;
    }
    ScaleFactor& scale = m_scaleFactors.back();
    for (size_t j = 0; j < 12 && m_remaining > 0; ++j, --m_remaining)
        scale.codes.push_back(TrimmedField(line, 11 + 4 * j, 3));
}

void RinexObsHeaderParser::readObsTime(const std::string& line, tagCOMMONTIME& t, bool first)
{
    t.year = static_cast<uint16_t>(integer(line, 0, 6, "the year"));
    t.month = static_cast<uint8_t>(integer(line, 6, 6, "the month"));
    t.day = static_cast<uint8_t>(integer(line, 12, 6, "the day"));
    t.hour = static_cast<uint8_t>(integer(line, 18, 6, "the hour"));
    t.minute = static_cast<uint8_t>(integer(line, 24, 6, "the minute"));
    t.second = decimal(line, 30, 13, "the seconds");
    if (!first)
        return;
    const std::string system = TrimmedField(line, 48, 3);
    if (!system.empty())
        m_header.timeSystem = system;
}

void RinexObsHeaderParser::finish(const std::string& path, long lineNumber)
{
    m_path = &path;
    m_lineNumber = lineNumber;
    if (m_pending != Pending::kNone && m_remaining > 0 &&
        (m_pending == Pending::kTypes2 || m_pending == Pending::kTypes3))
        fail("expected " + std::to_string(m_remaining) + " more observation types before this line");
    m_pending = Pending::kNone;
    if (m_header.version < 2.0 || m_header.version >= 5.0)
        fail("expected RINEX VERSION / TYPE of version 2, 3 or 4");
    if (m_header.version < 3.0 && !m_types2.empty()) {
        for (int s = 0; s < kSystemCount; ++s) {
            SystemObsTypes& types = m_header.mutableObsTypes(kSystemLetters[s]);
            types.original = m_types2;
            types.codes.clear();
            for (const std::string& code : m_types2)
                types.codes.push_back(MapRinex2Code(kSystemLetters[s], code));
            types.scale.assign(types.codes.size(), 1.0);
        }
    }
    for (const ScaleFactor& scale : m_scaleFactors) {
        SystemObsTypes& types = m_header.mutableObsTypes(scale.system);
        for (size_t k = 0; k < types.codes.size(); ++k) {
            bool listed = scale.codes.empty();
            for (const std::string& code : scale.codes)
                listed = listed || code == types.codes[k];
            if (listed)
                types.scale[k] = scale.factor;
        }
    }
    m_scaleFactors.clear();
    if (m_header.maxTypeCount() == 0)
        fail("the header defines no observation types");
}

void ReadRinexObsHeader(LineReader& in, RinexObsHeader& header)
{
    if (!in.next())
        throw ReadError(in.path(), 0, "the file is empty");
    if (TrimmedField(in.line(), kLabelColumn, 20).compare(0, 11, "CRINEX VERS") == 0) {
        double version = 0.0;
        ParseDecimalField(in.line(), 0, 20, version);
        if (version != 1.0 && version != 3.0)
            in.fail("expected Compact RINEX version 1.0 or 3.0 in columns 1-20");
        header.compactVersion = static_cast<int>(version);
        if (!in.next() || TrimmedField(in.line(), kLabelColumn, 20) != "CRINEX PROG / DATE")
            in.fail("expected CRINEX PROG / DATE");
        if (!in.next())
            in.fail("the file ends before RINEX VERSION / TYPE");
    }
    if (TrimmedField(in.line(), kLabelColumn, 20) != "RINEX VERSION / TYPE")
        in.fail("expected RINEX VERSION / TYPE as the first header line");

    RinexObsHeaderParser parser(header);
    while (parser.apply(in.line(), in.path(), in.lineNumber()))
        if (!in.next())
            in.fail("the file ends before END OF HEADER");
    parser.finish(in.path(), in.lineNumber());
    const bool rinex2 = header.version < 3.0;
    if (header.compactVersion != 0 && (header.compactVersion == 1) != rinex2)
        in.fail(header.compactVersion == 1 ? "Compact RINEX 1.0 holds RINEX 2 files only"
                                           : "Compact RINEX 3.0 holds RINEX 3 and 4 files only");
}

}  // namespace pppio
