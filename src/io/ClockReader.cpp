#include "io/ClockReader.h"

#include <cstring>

#include "io/FieldParse.h"
#include "io/GpsTime.h"
#include "io/HeaderLabel.h"
#include "io/LineReader.h"
#include "io/Truncation.h"

namespace pppio {

namespace {

constexpr size_t kEpochWidth = 26;   // I4,4I3,F10.6

bool IsOtherRecordType(const std::string& line)
{
    return hasTextAt(line, 0, "AR ") || hasTextAt(line, 0, "CR ") || hasTextAt(line, 0, "DR ") ||
           hasTextAt(line, 0, "MS ");
}

class ClockParser {
public:
    ClockParser(const std::string& path, const SatelliteSet& wanted) : m_in(path), m_wanted(wanted)
    {
        m_file.path = path;
        m_file.satellites.resize(kMaxPackedIndex);
    }

    ClockFile run()
    {
        if (!readHeader()) {
            m_file.warnings.push_back(m_in.path() + ": no END OF HEADER, the file looks truncated");
            return std::move(m_file);
        }
        forEachLine(m_in, m_file.warnings, [this] { return readRecordLine(); });
        m_skipped.appendWarning(m_in.path(), m_file.warnings);
        return std::move(m_file);
    }

private:
    bool readHeader()
    {
        ClockHeader& header = m_file.header;
        header.version = readRinexVersion(m_in);
        if (header.version < 2.0 || header.version >= 4.0)
            m_in.fail("expected RINEX clock version 2.x or 3.x");
        if (m_in.line().size() <= 20 || m_in.line()[20] != 'C')
            m_in.fail("expected file type C (clock data) in column 21");
        // Version 3.04 widened the station/satellite name from 4 to 9 characters.
        const size_t nameWidth = header.version >= 3.035 ? 9 : 4;
        m_epochColumn = 3 + nameWidth + 1;

        while (m_in.next()) {
            const std::string label = headerLabel(m_in.line());
            if (label == "TIME SYSTEM ID") {
                header.timeSystem = trimmedField(m_in.line(), 3, 3);
            } else if (label == "LEAP SECONDS") {
                header.leapSeconds = static_cast<int>(requireInteger(m_in, 0, 6, "the leap seconds"));
            } else if (label == "END OF HEADER") {
                if (!timeSystemToGps(header.timeSystem, header.leapSeconds, m_toGps))
                    m_in.fail("unsupported time system '" + header.timeSystem +
                              "' (UTC and GLO need LEAP SECONDS in the header)");
                return true;
            }
        }
        return false;
    }

    bool readRecordLine()
    {
        const std::string& line = m_in.line();
        if (hasTextAt(line, 0, "AS ")) {
            readSatelliteRecord(line);
            return true;
        }
        // Blank lines and the continuation lines of records with more than
        // two values start with a blank.
        if (line.empty() || line[0] == ' ' || IsOtherRecordType(line))
            return true;
        m_in.fail("expected a clock data record (AR, AS, CR, DR, MS)");
    }

    void readSatelliteRecord(const std::string& line)
    {
        if (line.size() < 6)
            m_in.fail("expected a satellite identifier in columns 4-6");
        const int iprn = parseSatelliteId(line.c_str() + 3);
        if (iprn < 0)
            m_in.fail("expected a satellite identifier in columns 4-6");
        if (iprn == 0) {
            m_skipped.add(line.c_str() + 3);
            return;
        }
        if (!m_wanted.contains(iprn))
            return;
        const double time = epochSeconds(line);
        const double bias = requireReal(m_in, m_epochColumn + 32, 19, "the clock bias");
        m_file.satellites[static_cast<size_t>(iprn - 1)].push_back({time, bias});
    }

    // Records of one epoch repeat the same epoch text: it is decoded once.
    double epochSeconds(const std::string& line)
    {
        if (line.size() >= m_epochColumn + kEpochWidth && m_lastEpochValid &&
            std::memcmp(line.data() + m_epochColumn, m_lastEpochText, kEpochWidth) == 0)
            return m_lastEpochSeconds;
        const size_t c = m_epochColumn;
        const int year = static_cast<int>(requireInteger(m_in, c, 4, "the year"));
        const int month = static_cast<int>(requireInteger(m_in, c + 4, 3, "the month"));
        const int day = static_cast<int>(requireInteger(m_in, c + 7, 3, "the day"));
        const int hour = static_cast<int>(requireInteger(m_in, c + 10, 3, "the hour"));
        const int minute = static_cast<int>(requireInteger(m_in, c + 13, 3, "the minute"));
        const double second = requireReal(m_in, c + 16, 10, "the seconds");
        if (!validCalendar(year, month, day, hour, minute, second))
            m_in.fail("expected a valid epoch");
        const tagGPSTIME2 t = shiftedTime(gpsTimeFromCalendar(year, month, day, hour, minute, second), m_toGps);
        if (!m_referenceSet) {
            m_file.referenceWeek = t.week;
            m_referenceSet = true;
        }
        m_lastEpochSeconds = (t.week - m_file.referenceWeek) * kSecondsPerWeek + t.sow;
        std::memcpy(m_lastEpochText, line.data() + c, kEpochWidth);
        m_lastEpochValid = true;
        return m_lastEpochSeconds;
    }

    LineReader m_in;
    const SatelliteSet& m_wanted;
    ClockFile m_file;
    SkippedSatellites m_skipped;
    size_t m_epochColumn = 8;
    double m_toGps = 0.0;
    bool m_referenceSet = false;
    char m_lastEpochText[kEpochWidth] = {};
    bool m_lastEpochValid = false;
    double m_lastEpochSeconds = 0.0;
};

}  // namespace

ClockFile readClock(const std::string& path, const SatelliteSet& wanted)
{
    ClockParser parser(path, wanted);
    return parser.run();
}

}  // namespace pppio
