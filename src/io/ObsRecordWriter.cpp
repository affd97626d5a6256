#include "io/ObsRecordWriter.h"

#include <stdexcept>

namespace pppio {

namespace {

constexpr int kSatellitesPerLine2 = 12;  // satellite list of a RINEX 2 epoch line
constexpr int kValuesPerLine2 = 5;       // observations per RINEX 2 data line
constexpr size_t kListIndent2 = 32;      // continuation of the RINEX 2 satellite list
constexpr size_t kClockColumn2 = 68;
constexpr int kBlankObservation = 16;    // F14.3, LLI, SSI

char FlagChar(uint8_t flag)
{
    return flag == 0 ? ' ' : static_cast<char>('0' + flag % 10);
}

// Appends `value` as a Fortran F<width>.<decimals> field; false (and
// nothing appended) when it does not fit.
bool AppendFixed(std::string& line, double value, int width, int decimals)
{
    char text[48];
    const int length = std::snprintf(text, sizeof text, "%*.*f", width, decimals, value);
    if (length != width)
        return false;
    line.append(text, static_cast<size_t>(width));
    return true;
}

[[noreturn]] void FailField(const std::string& what, double value, int width, int decimals)
{
    char text[32];
    std::snprintf(text, sizeof text, "(%.6g)", value);
    throw std::runtime_error("the " + what + " " + text + " does not fit the F" + std::to_string(width) + "." +
                             std::to_string(decimals) + " field");
}

std::string SatelliteName(const ObsSatellite& satellite)
{
    char text[8];
    std::snprintf(text, sizeof text, "%c%02d", satellite.system, satellite.prn % 100);
    return text;
}

std::string TimeText(const tagCOMMONTIME& t)
{
    char text[40];
    std::snprintf(text, sizeof text, "%04d-%02d-%02d %02d:%02d:%010.7f", t.year, t.month, t.day, t.hour, t.minute,
                  t.second);
    return text;
}

// Epoch time after `format` (printf fields: year, month, day, hour, minute,
// second), or `blanks` for an event that carries no time.
void AppendTime(std::string& line, const char* format, const char* blanks, const ObsEpoch& epoch, int year)
{
    const tagCOMMONTIME& t = epoch.time;
    if (t.year == 0) {
        line += blanks;
        return;
    }
    char text[48];
    std::snprintf(text, sizeof text, format, year, t.month, t.day, t.hour, t.minute, t.second);
    line += text;
}

void AppendFlagAndCount(std::string& line, int flag, int count)
{
    char text[16];
    std::snprintf(text, sizeof text, "  %1d%3d", flag % 10, count % 1000);
    line += text;
}

}  // namespace

void ObsRecordWriter::write(const RinexObsHeader& header, const ObsEpoch& epoch)
{
    const bool event = epoch.isEvent();
    const int count = event ? static_cast<int>(epoch.eventRecords.size()) : epoch.satelliteCount();
    if (header.version < 3.0)
        writeEpochLine2(epoch, count);
    else
        writeEpochLine3(epoch, count);
    if (event) {
        for (const std::string& record : epoch.eventRecords) {
            m_line = record;
            endLine();
        }
        return;
    }
    for (int sat = 0; sat < epoch.satelliteCount(); ++sat)
        writeSatellite(header, epoch, sat);
}

void ObsRecordWriter::writeEpochLine2(const ObsEpoch& epoch, int count)
{
    m_line.clear();
    AppendTime(m_line, " %02d %2d %2d %2d %2d%11.7f", "                          ", epoch, epoch.time.year % 100);
    AppendFlagAndCount(m_line, epoch.flag, count);
    if (epoch.isEvent()) {
        endLine();
        return;
    }
    for (int sat = 0; sat < count; ++sat) {
        if (sat > 0 && sat % kSatellitesPerLine2 == 0) {
            if (sat == kSatellitesPerLine2)
                appendClock(epoch, kClockColumn2, 12, 9);
            endLine();
            m_line.assign(kListIndent2, ' ');
        }
        m_line += SatelliteName(epoch.satellite(sat));
    }
    if (count <= kSatellitesPerLine2)
        appendClock(epoch, kClockColumn2, 12, 9);
    endLine();
}

void ObsRecordWriter::writeEpochLine3(const ObsEpoch& epoch, int count)
{
    m_line.clear();
    AppendTime(m_line, "> %04d %02d %02d %02d %02d %010.7f", ">                            ", epoch, epoch.time.year);
    AppendFlagAndCount(m_line, epoch.flag, count);
    if (!epoch.isEvent())
        appendClock(epoch, m_line.size() + 6, 15, 12);
    endLine();
}

void ObsRecordWriter::appendClock(const ObsEpoch& epoch, size_t column, int width, int decimals)
{
    if (!epoch.hasClockOffset)
        return;
    m_line.resize(column, ' ');
    if (!AppendFixed(m_line, epoch.clockOffset, width, decimals))
        FailField("receiver clock offset at " + TimeText(epoch.time), epoch.clockOffset, width, decimals);
}

void ObsRecordWriter::writeSatellite(const RinexObsHeader& header, const ObsEpoch& epoch, int sat)
{
    const ObsSatellite& satellite = epoch.satellite(sat);
    const SystemObsTypes& types = header.obsTypes(satellite.system);
    const bool rinex2 = header.version < 3.0;
    m_line.clear();
    if (!rinex2)
        m_line += SatelliteName(satellite);
    for (int k = 0; k < types.count(); ++k) {
        if (rinex2 && k > 0 && k % kValuesPerLine2 == 0)
            endLine();
        const ObsValue& obs = epoch.obs(sat, k);
        if (!obs.present()) {
            m_line.append(kBlankObservation, ' ');
            continue;
        }
        const size_t type = static_cast<size_t>(k);
        const double value = obs.value * types.scale[type];
        if (!AppendFixed(m_line, value, 14, 3))
            FailField(types.original[type] + " value of " + SatelliteName(satellite) + " at " + TimeText(epoch.time),
                      value, 14, 3);
        m_line += FlagChar(obs.lli);
        m_line += FlagChar(obs.ssi);
    }
    endLine();
}

void ObsRecordWriter::endLine()
{
    const size_t end = m_line.find_last_not_of(' ');
    m_line.resize(end == std::string::npos ? 0 : end + 1);
    m_line += '\n';
    std::fwrite(m_line.data(), 1, m_line.size(), m_out);
    m_line.clear();
}

}  // namespace pppio
