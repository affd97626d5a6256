#include "io/Sp3Reader.h"

#include "io/FieldParse.h"
#include "io/GpsTime.h"
#include "io/LineReader.h"
#include "io/Truncation.h"

namespace pppio {

namespace {

constexpr double kAbsentClock = 999999.0;      // 999999.999999 marks an absent clock (us)
constexpr size_t kIdsPerSatelliteLine = 17;

tagGPSTIME2 ReadCalendar(const LineReader& in, size_t yearColumn, size_t secondWidth)
{
    const int year = static_cast<int>(requireInteger(in, yearColumn, 4, "the year"));
    const int month = static_cast<int>(requireInteger(in, yearColumn + 5, 2, "the month"));
    const int day = static_cast<int>(requireInteger(in, yearColumn + 8, 2, "the day"));
    const int hour = static_cast<int>(requireInteger(in, yearColumn + 11, 2, "the hour"));
    const int minute = static_cast<int>(requireInteger(in, yearColumn + 14, 2, "the minute"));
    const double second = requireReal(in, yearColumn + 17, secondWidth, "the seconds");
    if (!validCalendar(year, month, day, hour, minute, second))
        in.fail("expected a valid date and time");
    return gpsTimeFromCalendar(year, month, day, hour, minute, second);
}

class Sp3Parser {
public:
    Sp3Parser(const std::string& path, const SatelliteSet& wanted) : m_in(path), m_wanted(wanted)
    {
        m_file.path = path;
    }

    Sp3File run()
    {
        if (!readHeader()) {
            m_file.warnings.push_back(path() + ": no epoch records, the file looks truncated");
            return std::move(m_file);
        }
        readRecords();
        finishChecks();
        return std::move(m_file);
    }

private:
    const std::string& path() const { return m_in.path(); }

    // Reads up to the first epoch line; false when the file ends before.
    bool readHeader()
    {
        if (!m_in.next() || m_in.line().size() < 3 || m_in.line()[0] != '#' ||
            (m_in.line()[1] != 'c' && m_in.line()[1] != 'd'))
            m_in.fail("expected an SP3-c or SP3-d first line starting with #c or #d");
        readFirstLine();
        if (!m_in.next() || !hasTextAt(m_in.line(), 0, "##"))
            m_in.fail("expected the second header line starting with ##");
        m_file.header.interval = requireReal(m_in, 24, 14, "the epoch interval");
        if (m_file.header.interval <= 0.0)
            m_in.fail("expected a positive epoch interval");

        int satellitesAnnounced = -1;
        bool timeSystemRead = false;
        while (m_in.next()) {
            const std::string& line = m_in.line();
            if (!line.empty() && line[0] == '*')
                return finishHeader(satellitesAnnounced);
            if (hasTextAt(line, 0, "++") || hasTextAt(line, 0, "%f") || hasTextAt(line, 0, "%i") ||
                hasTextAt(line, 0, "/*")) {
                continue;
            } else if (hasTextAt(line, 0, "+ ")) {
                if (satellitesAnnounced < 0)
                    satellitesAnnounced = static_cast<int>(requireInteger(m_in, 3, 3, "the number of satellites"));
                readSatelliteIds();
            } else if (hasTextAt(line, 0, "%c")) {
                if (!timeSystemRead)
                    readTimeSystem();
                timeSystemRead = true;
            } else {
                m_in.fail("expected an SP3 header line (+, ++, %c, %f, %i, /*) or the first epoch line");
            }
        }
        return false;
    }

    void readFirstLine()
    {
        Sp3Header& header = m_file.header;
        header.version = m_in.line()[1];
        const char flag = m_in.line()[2];
        if (flag != 'P' && flag != 'V')
            m_in.fail("expected the position/velocity flag P or V in column 3");
        header.hasVelocities = flag == 'V';
        header.start = ReadCalendar(m_in, 3, 11);
        header.numberOfEpochs = static_cast<int>(requireInteger(m_in, 32, 7, "the number of epochs"));
        header.coordinateSystem = trimmedField(m_in.line(), 46, 5);
        header.orbitType = trimmedField(m_in.line(), 52, 3);
        header.agency = trimmedField(m_in.line(), 56, 4);
    }

    // SP3 carries no leap seconds, so UTC and GLONASS time are refused.
    void readTimeSystem()
    {
        m_file.header.timeSystem = trimmedField(m_in.line(), 9, 3);
        if (!timeSystemToGps(m_file.header.timeSystem, -1, m_toGps))
            m_in.fail("unsupported SP3 time system '" + m_file.header.timeSystem + "' in columns 10-12");
    }

    void readSatelliteIds()
    {
        const std::string& line = m_in.line();
        for (size_t k = 0; k < kIdsPerSatelliteLine; ++k) {
            const std::string id = trimmedField(line, 9 + 3 * k, 3);
            if (id.empty() || id == "0" || id == "00")
                continue;
            m_file.header.satellites.push_back(line.substr(9 + 3 * k, 3));
        }
    }

    bool finishHeader(int satellitesAnnounced)
    {
        if (satellitesAnnounced < 0)
            m_in.fail("expected the satellite list (+ lines) before the first epoch");
        if (static_cast<size_t>(satellitesAnnounced) != m_file.header.satellites.size())
            m_file.warnings.push_back(path() + ": header announces " + std::to_string(satellitesAnnounced) +
                                      " satellites, lists " +
                                      std::to_string(m_file.header.satellites.size()));
        m_file.header.start = shiftedTime(m_file.header.start, m_toGps);
        return true;
    }

    void readRecords()
    {
        // The current line is the first epoch line.
        forEachLine(m_in, m_file.warnings, [this] { return readRecordLine(); }, true);
    }

    // False at the EOF line.
    bool readRecordLine()
    {
        const std::string& line = m_in.line();
        if (line.empty())
            return true;
        switch (line[0]) {
        case '*':
            m_file.epochs.emplace_back();
            m_file.epochs.back().time = shiftedTime(ReadCalendar(m_in, 3, 11), m_toGps);
            return true;
        case 'P':
        case 'V':
            readSatelliteLine(line[0] == 'P');
            return true;
        case 'E':
            if (hasTextAt(line, 0, "EOF")) {
                m_file.complete = true;
                return false;
            }
            if (hasTextAt(line, 0, "EP") || hasTextAt(line, 0, "EV"))
                return true;
            break;
        default:
            break;
        }
        m_in.fail("expected an SP3 record (*, P, V, EP, EV) or EOF");
    }

    void readSatelliteLine(bool positionLine)
    {
        const std::string& line = m_in.line();
        if (line.size() < 4)
            m_in.fail("expected a satellite identifier in columns 2-4");
        const int iprn = parseSatelliteId(line.c_str() + 1);
        if (iprn < 0)
            m_in.fail("expected a satellite identifier in columns 2-4");
        if (iprn == 0) {
            m_skipped.add(line.c_str() + 1);
            return;
        }
        if (!m_wanted.contains(iprn))
            return;
        double xyz[3];
        for (int k = 0; k < 3; ++k)
            xyz[k] = requireReal(m_in, 4 + 14 * static_cast<size_t>(k), 14, "a coordinate");
        const double clock = optionalReal(m_in, 46, 14, "the clock", kAbsentClock + 1.0);
        Sp3Entry& entry = entryFor(iprn);
        if (positionLine) {
            entry.hasPosition = xyz[0] != 0.0 || xyz[1] != 0.0 || xyz[2] != 0.0;
            entry.hasClock = clock < kAbsentClock;
            for (int k = 0; k < 3; ++k)
                entry.position[k] = xyz[k] * 1000.0;
            entry.clock = entry.hasClock ? clock * 1e-6 : 0.0;
        } else {
            entry.hasVelocity = true;
            entry.hasClockRate = clock < kAbsentClock;
            for (int k = 0; k < 3; ++k)
                entry.velocity[k] = xyz[k] * 0.1;
            entry.clockRate = entry.hasClockRate ? clock * 1e-10 : 0.0;
        }
    }

    // The entry of this satellite in the current epoch: a V line belongs to
    // the P line just before it.
    Sp3Entry& entryFor(int iprn)
    {
        if (m_file.epochs.empty())
            m_in.fail("expected an epoch line before the satellite records");
        std::vector<Sp3Entry>& entries = m_file.epochs.back().entries;
        if (m_in.line()[0] == 'V' && !entries.empty() && entries.back().iprn == iprn)
            return entries.back();
        entries.emplace_back();
        entries.back().iprn = iprn;
        return entries.back();
    }

    void finishChecks()
    {
        const size_t read = m_file.epochs.size();
        if (!m_file.complete)
            m_file.warnings.push_back(path() + ": no EOF line, the file looks truncated (" + std::to_string(read) +
                                      " epochs read)");
        else if (read != static_cast<size_t>(m_file.header.numberOfEpochs))
            m_file.warnings.push_back(path() + ": header announces " +
                                      std::to_string(m_file.header.numberOfEpochs) + " epochs, the file holds " +
                                      std::to_string(read));
        m_skipped.appendWarning(path(), m_file.warnings);
    }

    LineReader m_in;
    const SatelliteSet& m_wanted;
    Sp3File m_file;
    SkippedSatellites m_skipped;
    double m_toGps = 0.0;
};

}  // namespace

Sp3File readSp3(const std::string& path, const SatelliteSet& wanted)
{
    Sp3Parser parser(path, wanted);
    return parser.run();
}

}  // namespace pppio
