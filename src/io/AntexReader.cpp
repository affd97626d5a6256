#include "io/AntexReader.h"

#include <cmath>

#include "io/FieldParse.h"
#include "io/GpsTime.h"
#include "io/HeaderLabel.h"
#include "io/LineReader.h"
#include "io/SatelliteId.h"
#include "io/Truncation.h"

namespace pppio {

namespace {

constexpr double kMillimetre = 1e-3;
constexpr size_t kValueWidth = 8;   // F8.2 grid values after an 8-column row head

// Type names of satellite antennas (IGS convention).
bool IsSatelliteType(const std::string& type)
{
    static const char* const prefixes[] = {"BLOCK ", "GLONASS", "GALILEO", "BEIDOU", "QZSS", "IRNSS"};
    for (const char* prefix : prefixes)
        if (type.compare(0, std::string(prefix).size(), prefix) == 0)
            return true;
    return false;
}

class AntexParser {
public:
    explicit AntexParser(const std::string& path) : m_in(path) { m_file.path = path; }

    AntexFile run()
    {
        if (!readHeader()) {
            m_file.warnings.push_back(m_in.path() + ": no END OF HEADER, the file looks truncated");
            return std::move(m_file);
        }
        try {
            readAntennas();
        } catch (const ReadError& error) {
            acceptTruncatedLastLine(m_in, error, m_file.warnings);
        }
        return std::move(m_file);
    }

private:
    std::string label() const { return headerLabel(m_in.line()); }

    bool readHeader()
    {
        if (!m_in.next() || label() != "ANTEX VERSION / SYST")
            m_in.fail("expected the ANTEX VERSION / SYST line");
        m_file.version = requireReal(m_in, 0, 8, "the ANTEX version");
        if (m_file.version < 1.0 || m_file.version >= 2.0)
            m_in.fail("expected ANTEX version 1.x");
        m_file.system = m_in.line().size() > 20 ? m_in.line()[20] : ' ';
        while (m_in.next()) {
            const std::string name = label();
            if (name == "PCV TYPE / REFANT") {
                m_file.pcvType = m_in.line().empty() ? ' ' : m_in.line()[0];
                if (m_file.pcvType != 'A' && m_file.pcvType != 'R')
                    m_in.fail("expected the PCV type A or R in column 1");
            } else if (name == "END OF HEADER") {
                return true;
            }
        }
        return false;
    }

    void readAntennas()
    {
        while (m_in.next()) {
            const std::string name = label();
            if (name == "START OF ANTENNA") {
                if (!readAntenna())
                    return;
            } else if (name != "COMMENT" && !trimmedField(m_in.line(), 0, 80).empty()) {
                m_in.fail("expected START OF ANTENNA");
            }
        }
    }

    // False when the file ends inside the antenna.
    bool readAntenna()
    {
        AntexAntenna antenna;
        const long start = m_in.lineNumber();
        bool typeRead = false, gridRead = false;
        long frequencies = -1;
        while (m_in.next()) {
            const std::string name = label();
            if (name == "TYPE / SERIAL NO") {
                readType(antenna);
                typeRead = true;
            } else if (name == "DAZI") {
                antenna.dazi = requireReal(m_in, 2, 6, "DAZI");
                if (antenna.dazi < 0.0 || antenna.dazi > 360.0 ||
                    (antenna.dazi > 0.0 && std::fabs(360.0 / antenna.dazi - std::round(360.0 / antenna.dazi)) > 1e-9))
                    m_in.fail("expected DAZI 0 or a divisor of 360 degrees");
                antenna.azimuthCount = antenna.dazi > 0.0 ? static_cast<int>(std::lround(360.0 / antenna.dazi)) + 1 : 0;
            } else if (name == "ZEN1 / ZEN2 / DZEN") {
                readZenithGrid(antenna);
                gridRead = true;
            } else if (name == "# OF FREQUENCIES") {
                frequencies = requireInteger(m_in, 0, 6, "the number of frequencies");
            } else if (name == "VALID FROM") {
                antenna.validFrom = readValidity();
                antenna.hasValidFrom = true;
            } else if (name == "VALID UNTIL") {
                antenna.validUntil = readValidity();
                antenna.hasValidUntil = true;
            } else if (name == "SINEX CODE") {
                antenna.sinexCode = trimmedField(m_in.line(), 0, 10);
            } else if (name == "START OF FREQUENCY") {
                if (!typeRead || !gridRead)
                    m_in.fail("expected TYPE / SERIAL NO and ZEN1 / ZEN2 / DZEN before START OF FREQUENCY");
                if (!readFrequency(antenna))
                    return dropIncomplete(antenna, start);
            } else if (name == "START OF FREQ RMS") {
                if (!skipTo("END OF FREQ RMS"))
                    return dropIncomplete(antenna, start);
            } else if (name == "END OF ANTENNA") {
                if (!typeRead)
                    m_in.fail("expected TYPE / SERIAL NO in the antenna");
                if (frequencies >= 0 && static_cast<size_t>(frequencies) != antenna.frequencies.size())
                    m_in.fail("expected " + std::to_string(frequencies) +
                              " frequency blocks (# OF FREQUENCIES), found " +
                              std::to_string(antenna.frequencies.size()));
                m_file.antennas.push_back(std::move(antenna));
                return true;
            } else if (name != "METH / BY / # / DATE" && name != "COMMENT") {
                m_in.fail("expected an antenna record (TYPE / SERIAL NO, DAZI, ..., END OF ANTENNA)");
            }
        }
        return dropIncomplete(antenna, start);
    }

    bool dropIncomplete(const AntexAntenna& antenna, long start)
    {
        m_file.warnings.push_back(m_in.path() + ":" + std::to_string(start) + ": antenna '" + antenna.type + " " +
                                  antenna.radome + "' incomplete at the end of the file, dropped (truncated?)");
        return false;
    }

    void readType(AntexAntenna& antenna)
    {
        const std::string& line = m_in.line();
        antenna.type = trimmedField(line, 0, 16);
        antenna.radome = trimmedField(line, 16, 4);
        antenna.serial = trimmedField(line, 20, 20);
        antenna.svn = trimmedField(line, 40, 10);
        antenna.cospar = trimmedField(line, 50, 10);
        if (antenna.type.empty())
            m_in.fail("expected the antenna type in columns 1-16");
        antenna.isSatellite = IsSatelliteType(antenna.type);
        if (antenna.isSatellite) {
            if (antenna.serial.size() != 3 || parseSatelliteId(antenna.serial.c_str()) < 0)
                m_in.fail("expected the satellite code (e.g. G01) in columns 21-23");
            antenna.iprn = parseSatelliteId(antenna.serial.c_str());
        }
    }

    void readZenithGrid(AntexAntenna& antenna)
    {
        antenna.zen1 = requireReal(m_in, 2, 6, "ZEN1");
        antenna.zen2 = requireReal(m_in, 8, 6, "ZEN2");
        antenna.dzen = requireReal(m_in, 14, 6, "DZEN");
        const double steps = antenna.dzen > 0.0 ? (antenna.zen2 - antenna.zen1) / antenna.dzen : -1.0;
        if (steps < 1.0 || steps > 180.0 || std::fabs(steps - std::round(steps)) > 1e-9)
            m_in.fail("expected ZEN2 - ZEN1 to be a positive multiple of DZEN");
        antenna.zenithCount = static_cast<int>(std::lround(steps)) + 1;
    }

    tagGPSTIME2 readValidity()
    {
        const int year = static_cast<int>(requireInteger(m_in, 0, 6, "the year"));
        const int month = static_cast<int>(requireInteger(m_in, 6, 6, "the month"));
        const int day = static_cast<int>(requireInteger(m_in, 12, 6, "the day"));
        const int hour = static_cast<int>(requireInteger(m_in, 18, 6, "the hour"));
        const int minute = static_cast<int>(requireInteger(m_in, 24, 6, "the minute"));
        const double second = requireReal(m_in, 30, 13, "the seconds");
        if (!validCalendar(year, month, day, hour, minute, second))
            m_in.fail("expected a valid date");
        return gpsTimeFromCalendar(year, month, day, hour, minute, second);
    }

    // False when the file ends inside the block.
    bool readFrequency(AntexAntenna& antenna)
    {
        AntexFrequency frequency;
        frequency.code = trimmedField(m_in.line(), 3, 3);
        if (frequency.code.size() != 3)
            m_in.fail("expected the frequency code (e.g. G01) in columns 4-6");
        const size_t zeniths = static_cast<size_t>(antenna.zenithCount);
        if (!m_in.next())
            return false;
        if (label() != "NORTH / EAST / UP")
            m_in.fail("expected NORTH / EAST / UP");
        for (size_t k = 0; k < 3; ++k)
            frequency.offset[k] = requireReal(m_in, 10 * k, 10, "an offset") * kMillimetre;
        if (!m_in.next())
            return false;
        if (trimmedField(m_in.line(), 0, 8) != "NOAZI")
            m_in.fail("expected the NOAZI row");
        readGridRow(frequency.noAzimuth, zeniths);
        for (int row = 0; row < antenna.azimuthCount; ++row) {
            if (!m_in.next())
                return false;
            const double azimuth = requireReal(m_in, 0, kValueWidth, "the azimuth");
            if (std::fabs(azimuth - row * antenna.dazi) > 1e-6)
                m_in.fail("expected the azimuth row " + std::to_string(row * antenna.dazi) + " (DAZI)");
            readGridRow(frequency.grid, zeniths);
        }
        if (!m_in.next())
            return false;
        if (label() != "END OF FREQUENCY")
            m_in.fail("expected END OF FREQUENCY after " + std::to_string(antenna.azimuthCount) + " azimuth rows");
        antenna.frequencies.push_back(std::move(frequency));
        return true;
    }

    void readGridRow(std::vector<double>& values, size_t count)
    {
        for (size_t k = 0; k < count; ++k)
            values.push_back(requireReal(m_in, kValueWidth * (k + 1), kValueWidth, "a phase centre variation") *
                             kMillimetre);
        if (!trimmedField(m_in.line(), kValueWidth * (count + 1), 10000).empty())
            m_in.fail("expected " + std::to_string(count) + " values (ZEN1 / ZEN2 / DZEN) in the row");
    }

    bool skipTo(const char* end)
    {
        while (m_in.next())
            if (label() == end)
                return true;
        return false;
    }

    LineReader m_in;
    AntexFile m_file;
};

}  // namespace

const AntexFrequency* AntexAntenna::frequency(const std::string& code) const
{
    for (const AntexFrequency& f : frequencies)
        if (f.code == code)
            return &f;
    return nullptr;
}

AntexFile readAntex(const std::string& path)
{
    AntexParser parser(path);
    return parser.run();
}

}  // namespace pppio
