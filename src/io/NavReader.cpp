#include "io/NavReader.h"

#include <cmath>
#include <cstdlib>

#include "io/FieldParse.h"
#include "io/GpsTime.h"
#include "io/HeaderLabel.h"
#include "io/LineReader.h"
#include "io/SatelliteId.h"
#include "io/Truncation.h"

namespace pppio {

namespace {

constexpr int kMaxOrbitLines = 7;
constexpr int kMaxValues = 3 + 4 * kMaxOrbitLines;

// A week number or health flag, written as a real: its integer part, or
// `outside` when the real is no number within the range of int (a damaged
// field must not reach the conversion, where it would be undefined).
int WholeNumber(double value, int outside)
{
    return value > -2147483649.0 && value < 2147483648.0 ? static_cast<int>(value) : outside;
}

// Broadcast orbit lines that follow the first line of a record:
// the fewest a complete record has and the most it may have.
void OrbitLineCount(char system, int& fewest, int& most)
{
    switch (system) {
    case 'R': fewest = 3; most = 4; return;   // 3.05 added a fourth line
    case 'S': fewest = 3; most = 3; return;
    default: fewest = 7; most = 7; return;    // G, E, C, J, I
    }
}

// One record being assembled from its lines.
struct RecordInProgress {
    bool active = false;
    char system = ' ';
    int iprn = 0;               // 0 for systems that are skipped
    std::string id;
    long firstLine = 0;
    int orbitLines = 0;
    int year = 0, month = 0, day = 0, hour = 0, minute = 0;
    double second = 0.0;
    double values[kMaxValues] = {};
};

class NavParser {
public:
    explicit NavParser(const std::string& path) : m_in(path) { m_file.path = path; }

    NavFile run()
    {
        if (!readHeader()) {
            m_file.warnings.push_back(m_in.path() + ": no END OF HEADER, the file looks truncated");
            return std::move(m_file);
        }
        readRecords();
        m_skipped.appendWarning(m_in.path(), m_file.warnings);
        return std::move(m_file);
    }

private:
    bool readHeader()
    {
        NavHeader& header = m_file.header;
        header.version = readRinexVersion(m_in);
        if (header.version < 3.0 || header.version >= 4.0 || m_in.line().size() <= 40 || m_in.line()[20] != 'N')
            m_in.fail("expected RINEX 3 navigation data (version 3.xx, type N in column 21)");
        header.system = m_in.line()[40];
        bool gpsA = false, gpsB = false, bdsA = false, bdsB = false;
        while (m_in.next()) {
            const std::string label = headerLabel(m_in.line());
            if (label == "IONOSPHERIC CORR") {
                const std::string type = m_in.line().substr(0, 4);
                if (type == "GPSA")
                    gpsA = readCoefficients(header.gpsAlpha, 4);
                else if (type == "GPSB")
                    gpsB = readCoefficients(header.gpsBeta, 4);
                else if (type == "GAL ")
                    header.hasGalileoIonosphere = readCoefficients(header.galileoAi, 3);
                else if (type == "BDSA")
                    bdsA = readCoefficients(header.beidouAlpha, 4);
                else if (type == "BDSB")
                    bdsB = readCoefficients(header.beidouBeta, 4);
            } else if (label == "LEAP SECONDS") {
                header.leapSeconds = static_cast<int>(requireInteger(m_in, 0, 6, "the leap seconds"));
            } else if (label == "END OF HEADER") {
                header.hasGpsIonosphere = gpsA && gpsB;
                header.hasBeidouIonosphere = bdsA && bdsB;
                return true;
            }
        }
        return false;
    }

    bool readCoefficients(double* out, int count)
    {
        for (int k = 0; k < count; ++k)
            out[k] = requireReal(m_in, 5 + 12 * static_cast<size_t>(k), 12, "an ionosphere coefficient");
        return true;
    }

    void readRecords()
    {
        const bool whole = forEachLine(m_in, m_file.warnings, [this] {
            const std::string& line = m_in.line();
            if (line.empty())
                return true;
            if (line[0] == ' ') {
                readOrbitLine();
            } else {
                finishRecord();
                startRecord();
            }
            return true;
        });
        if (!whole || !m_record.active)
            return;
        int fewest, most;
        OrbitLineCount(m_record.system, fewest, most);
        if (m_record.orbitLines < fewest) {
            m_file.warnings.push_back(m_in.path() + ":" + std::to_string(m_record.firstLine) + ": record of " +
                                      m_record.id + " incomplete at the end of the file, dropped (truncated?)");
            return;
        }
        finishRecord();
    }

    void startRecord()
    {
        const std::string& line = m_in.line();
        if (line.size() < 3 || parseSatelliteId(line.c_str()) < 0)
            m_in.fail("expected a satellite identifier in columns 1-3 starting a navigation record");
        m_record = RecordInProgress();
        m_record.active = true;
        m_record.system = line[0];
        m_record.id = line.substr(0, 3);
        m_record.iprn = parseSatelliteId(line.c_str());
        m_record.firstLine = m_in.lineNumber();
        if (m_record.iprn == 0) {
            m_skipped.add(line.c_str());
            return;
        }
        m_record.year = static_cast<int>(requireInteger(m_in, 4, 4, "the year"));
        m_record.month = static_cast<int>(requireInteger(m_in, 9, 2, "the month"));
        m_record.day = static_cast<int>(requireInteger(m_in, 12, 2, "the day"));
        m_record.hour = static_cast<int>(requireInteger(m_in, 15, 2, "the hour"));
        m_record.minute = static_cast<int>(requireInteger(m_in, 18, 2, "the minute"));
        m_record.second = requireReal(m_in, 21, 2, "the seconds");
        if (!validCalendar(m_record.year, m_record.month, m_record.day, m_record.hour, m_record.minute,
                           m_record.second))
            m_in.fail("expected a valid epoch");
        for (size_t j = 0; j < 3; ++j)
            m_record.values[j] = requireReal(m_in, 23 + 19 * j, 19, "a clock parameter");
    }

    void readOrbitLine()
    {
        if (!m_record.active)
            m_in.fail("expected a satellite identifier in columns 1-3 starting a navigation record");
        int fewest, most;
        OrbitLineCount(m_record.system, fewest, most);
        if (m_record.orbitLines >= most)
            m_in.fail("expected a new record: " + m_record.id + " has " + std::to_string(most) +
                      " broadcast orbit lines");
        ++m_record.orbitLines;
        if (m_record.iprn == 0)
            return;
        double* values = m_record.values + 3 + 4 * (m_record.orbitLines - 1);
        for (size_t j = 0; j < 4; ++j)
            values[j] = optionalReal(m_in, 4 + 19 * j, 19, "a broadcast orbit value", 0.0);
    }

    void finishRecord()
    {
        if (!m_record.active)
            return;
        m_record.active = false;
        int fewest, most;
        OrbitLineCount(m_record.system, fewest, most);
        if (m_record.orbitLines < fewest)
            m_in.fail("expected " + std::to_string(fewest) + " broadcast orbit lines for the record of " +
                      m_record.id + " from line " + std::to_string(m_record.firstLine) + ", found " +
                      std::to_string(m_record.orbitLines));
        if (m_record.iprn == 0)
            return;
        if (m_record.system == 'R')
            addGlonass();
        else
            addKepler();
    }

    void skipImplausible(const char* what)
    {
        m_file.warnings.push_back(m_in.path() + ":" + std::to_string(m_record.firstLine) + ": record of " +
                                  m_record.id + " skipped: " + what);
    }

    tagGPSTIME2 recordEpoch() const
    {
        return gpsTimeFromCalendar(m_record.year, m_record.month, m_record.day, m_record.hour, m_record.minute,
                                   m_record.second);
    }

    void addKepler()
    {
        const double* v = m_record.values;
        KeplerEphemeris e;
        e.iprn = m_record.iprn;
        e.system = m_record.system;
        e.af0 = v[0], e.af1 = v[1], e.af2 = v[2];
        e.iode = v[3], e.crs = v[4], e.deltaN = v[5], e.m0 = v[6];
        e.cuc = v[7], e.eccentricity = v[8], e.cus = v[9], e.sqrtA = v[10];
        e.toeSeconds = v[11], e.cic = v[12], e.omega0 = v[13], e.cis = v[14];
        e.i0 = v[15], e.crc = v[16], e.omega = v[17], e.omegaDot = v[18];
        e.idot = v[19], e.l2CodesOrDataSources = v[20], e.week = WholeNumber(v[21], -1), e.l2pFlag = v[22];
        e.accuracy = v[23], e.health = WholeNumber(v[24], -1), e.groupDelay[0] = v[25], e.groupDelay[1] = v[26];
        e.transmissionTime = v[27];
        if (e.system == 'C') {
            e.iodc = v[28];   // AODC
        } else {
            e.iodc = v[26];
            e.fitInterval = v[28];
            if (e.system == 'G')
                e.groupDelay[1] = 0.0;
        }
        if (e.sqrtA < 1000.0 || e.sqrtA > 10000.0 || e.eccentricity < 0.0 || e.eccentricity >= 0.5 ||
            e.toeSeconds < 0.0 || e.toeSeconds >= kSecondsPerWeek || e.week <= 0) {
            skipImplausible("implausible orbit parameters");
            return;
        }
        // BeiDou epochs are in BDT: the clock epoch is shifted to GPS time,
        // the week of toe counted from the BDT origin.
        const bool beidou = e.system == 'C';
        e.toc = shiftedTime(recordEpoch(), beidou ? kBdtToGps : 0.0);
        tagGPSTIME2 toe{beidou ? e.week + kBdtWeekOffset : e.week, e.toeSeconds};
        toe = shiftedTime(toe, beidou ? kBdtToGps : 0.0);
        // Some writers give the week of the clock epoch where toe has passed
        // into the next week (or the reverse): keep toe within half a week of toc.
        const double drift = secondsBetween(toe, e.toc);
        if (drift > kSecondsPerWeek / 2)
            toe.week -= 1;
        else if (drift < -kSecondsPerWeek / 2)
            toe.week += 1;
        e.toe = toe;
        m_file.kepler.push_back(e);
    }

    void addGlonass()
    {
        const double* v = m_record.values;
        GlonassEphemeris e;
        e.iprn = m_record.iprn;
        e.minusTauN = v[0], e.gammaN = v[1], e.frameTime = v[2];
        for (int k = 0; k < 3; ++k) {
            e.position[k] = v[3 + 4 * k] * 1000.0;
            e.velocity[k] = v[4 + 4 * k] * 1000.0;
            e.acceleration[k] = v[5 + 4 * k] * 1000.0;
        }
        e.health = WholeNumber(v[6], -1);
        e.frequencyChannel = static_cast<int>(std::lround(v[10]));
        e.age = v[14];
        const double r = std::sqrt(e.position[0] * e.position[0] + e.position[1] * e.position[1] +
                                   e.position[2] * e.position[2]);
        if (r < 2.0e7 || r > 3.0e7 || e.frequencyChannel < -7 || e.frequencyChannel > 13 ||
            std::fabs(v[10] - e.frequencyChannel) > 1e-6) {
            skipImplausible("implausible position or frequency channel");
            return;
        }
        // GLONASS epochs are UTC.
        const tagGPSTIME2 utc = recordEpoch();
        const int leap = m_file.header.leapSeconds >= 0 ? m_file.header.leapSeconds : leapSecondsAt(utc);
        e.toe = shiftedTime(utc, leap);
        m_file.glonass.push_back(e);
    }

    LineReader m_in;
    NavFile m_file;
    RecordInProgress m_record;
    SkippedSatellites m_skipped;
};

}  // namespace

NavFile readNav(const std::string& path)
{
    NavParser parser(path);
    return parser.run();
}

}  // namespace pppio
