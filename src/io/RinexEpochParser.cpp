#include "io/RinexEpochParser.h"

namespace pppio {

namespace {

constexpr size_t kObsWidth = 16;       // F14.3, loss of lock, signal strength
constexpr int kObsPerLine2 = 5;        // RINEX 2 observations per line
constexpr int kSatellitesPerLine2 = 12;
constexpr double kResyncWindow = 86400.0;  // s an epoch line found by search may go back in time

double GpsSeconds(tagCOMMONTIME time)
{
    CGNSSTimeConvert convert;
    tagGPSTIME2 gps{};
    convert.GetGPSTime2FromCommonTime(&gps, &time);
    return gps.week * 604800.0 + gps.sow;
}

// The identifier columns of a RINEX 3 satellite line, for messages.
std::string RecordName(const std::string& line)
{
    const std::string id = TrimmedField(line, 0, 3);
    return id.empty() ? "the satellite record" : id;
}

}  // namespace

void RinexEpochParser::parseObservation(const std::string& line, size_t column, double scale, const LineReader& in,
                                        ObsValue& obs)
{
    double value = 0.0;
    const Field field = ParseDecimalField(line, column, kObsWidth - 2, value);
    if (field == Field::kBad)
        in.fail("expected an observation (F14.3) in columns " + std::to_string(column + 1) + "-" +
                std::to_string(column + kObsWidth - 2));
    if (field == Field::kBlank || value == 0.0)
        return;  // absent: value and flags stay 0
    const int lli = FlagValue(CharAt(line, column + kObsWidth - 2));
    const int ssi = FlagValue(CharAt(line, column + kObsWidth - 1));
    if (lli < 0 || ssi < 0)
        in.fail("expected a digit or blank as loss-of-lock and signal-strength flags in columns " +
                std::to_string(column + kObsWidth - 1) + "-" + std::to_string(column + kObsWidth));
    obs.value = scale == 1.0 ? value : value / scale;
    obs.lli = static_cast<uint8_t>(lli);
    obs.ssi = static_cast<uint8_t>(ssi);
}

EpochStatus RinexEpochParser::read(LineReader& in, ObsEpoch& epoch)
{
    for (;;) {
        if (m_lineHeld)
            m_lineHeld = false;
        else if (!NextNonBlankLine(in))
            return EpochStatus::kEnd;
        const long first = in.lineNumber();
        const bool epochLine = EpochLineLayout::of(m_header).rinex2 || CharAt(in.line(), 0) == '>';
        try {
            const EpochStatus status = readEpoch(in, epoch);
            if (status == EpochStatus::kEpoch)
                m_lastTime = epoch.time;
            return status;
        } catch (const ReadError& error) {
            RethrowUnlessSkipping(m_skipped, in);
            m_lineHeld = skipToEpochLine(in);
            const std::string what = epochLine ? "epoch skipped" : "lines skipped";
            m_skipped->epochsSkipped(error, epochLine ? 1 : 0,
                                     m_lineHeld ? what + " (lines " + std::to_string(first) + "-" +
                                                      std::to_string(in.lineNumber() - 1) + ")"
                                                : what + ", and the rest of the file: no epoch line follows");
        }
    }
}

EpochStatus RinexEpochParser::readEpoch(LineReader& in, ObsEpoch& epoch)
{
    const EpochLineLayout& layout = EpochLineLayout::of(m_header);
    epoch.clear(m_header.maxTypeCount());
    EpochLineFields fields;
    ParseEpochLine(in.line(), layout, in, fields, epoch);
    if (epoch.isEvent())
        return ReadEventRecords(in, fields.count, epoch) ? EpochStatus::kEpoch : EpochStatus::kTruncated;

    double clock = 0.0;
    const Field clockField = ParseDecimalField(in.line(), layout.clock, layout.clockWidth, clock);
    if (clockField == Field::kBad)
        in.fail("expected the receiver clock offset in columns " + std::to_string(layout.clock + 1) + "-" +
                std::to_string(layout.clock + layout.clockWidth));
    epoch.hasClockOffset = clockField == Field::kValue;
    epoch.clockOffset = clock;
    return layout.rinex2 ? readSatellites2(in, fields.count, epoch) : readSatellites3(in, fields.count, epoch);
}

void RinexEpochParser::readSatellite3(const LineReader& in, int i, int count, ObsEpoch& epoch)
{
    const std::string& line = in.line();
    char system = ' ';
    int prn = 0;
    if (!ParseSatelliteId(line, 0, system, prn))
        in.fail("expected a satellite identifier in columns 1-3 (satellite " + std::to_string(i + 1) + " of " +
                std::to_string(count) + ")");
    const SystemObsTypes& types = TypesOfSatellite(m_header, system, in);
    ObsValue* row = epoch.addSatellite(system, prn);
    for (int k = 0; k < types.count(); ++k)
        parseObservation(line, 3 + kObsWidth * static_cast<size_t>(k), types.scale[static_cast<size_t>(k)], in,
                         row[k]);
}

EpochStatus RinexEpochParser::readSatellites3(LineReader& in, int count, ObsEpoch& epoch)
{
    for (int i = 0; i < count; ++i) {
        if (!in.next())
            return EpochStatus::kTruncated;
        if (m_skipped && CharAt(in.line(), 0) == '>') {  // satellite lines missing
            m_skipped->satellitesMissing(in, count - i);
            m_lineHeld = true;
            break;
        }
        const int before = epoch.satelliteCount();
        try {
            readSatellite3(in, i, count, epoch);
        } catch (const ReadError& error) {
            RethrowUnlessSkipping(m_skipped, in);
            if (epoch.satelliteCount() > before)
                epoch.removeSatellite(before);
            m_skipped->satelliteDropped(error, RecordName(in.line()));
        }
    }
    return EpochStatus::kEpoch;
}

EpochStatus RinexEpochParser::readSatellites2(LineReader& in, int count, ObsEpoch& epoch)
{
    // The list goes on in continuation lines of 12 satellites each.
    const size_t listColumn = EpochLineLayout::of(m_header).satellites;
    for (int first = 0; first < count; first += kSatellitesPerLine2) {
        if (first > 0 && !in.next())
            return EpochStatus::kTruncated;
        const int onLine = count - first < kSatellitesPerLine2 ? count - first : kSatellitesPerLine2;
        AddListedSatellites(in.line(), listColumn, onLine, in, epoch);
    }
    // The number of lines of each satellite follows from its types: a
    // system without any spoils the whole epoch.
    for (int i = 0; i < count; ++i)
        TypesOfSatellite(m_header, epoch.satellite(i).system, in);

    for (int i = 0, sat = 0; i < count; ++i) {
        const SystemObsTypes& types = m_header.obsTypes(epoch.satellite(sat).system);
        ObsValue* row = epoch.row(sat);
        bool kept = true;
        for (int k = 0; k < types.count(); ++k) {
            if (k % kObsPerLine2 == 0 && !in.next())
                return EpochStatus::kTruncated;
            if (!kept)
                continue;  // the rest of a dropped satellite's lines
            try {
                parseObservation(in.line(), kObsWidth * static_cast<size_t>(k % kObsPerLine2),
                                 types.scale[static_cast<size_t>(k)], in, row[k]);
            } catch (const ReadError& error) {
                RethrowUnlessSkipping(m_skipped, in);
                if (startsEpoch2(in)) {  // lines missing: the next epoch starts here
                    m_skipped->satellitesMissing(in, count - i);
                    while (epoch.satelliteCount() > sat)
                        epoch.removeSatellite(epoch.satelliteCount() - 1);
                    m_lineHeld = true;
                    return EpochStatus::kEpoch;
                }
                m_skipped->satelliteDropped(error, SatelliteName(epoch.satellite(sat)));
                kept = false;
            }
        }
        if (kept)
            ++sat;
        else
            epoch.removeSatellite(sat);
    }
    return EpochStatus::kEpoch;
}

bool RinexEpochParser::skipToEpochLine(LineReader& in)
{
    if (EpochLineLayout::of(m_header).rinex2)
        return SkipToLine(in, [&](const std::string&) { return startsEpoch2(in); });
    return SkipToLine(in, [](const std::string& line) { return CharAt(line, 0) == '>'; });
}

bool RinexEpochParser::startsEpoch2(const LineReader& in) const
{
    const EpochLineLayout& layout = EpochLineLayout::of(m_header);
    ObsEpoch probe;
    EpochLineFields fields{};
    try {
        ParseEpochLine(in.line(), layout, in, fields, probe);
        if (!probe.isEvent())
            AddListedSatellites(in.line(), layout.satellites,
                                fields.count < kSatellitesPerLine2 ? fields.count : kSatellitesPerLine2, in, probe);
    } catch (const ReadError&) {
        return false;
    }
    return fields.hasTime && (m_lastTime.year == 0 || GpsSeconds(probe.time) >= GpsSeconds(m_lastTime) - kResyncWindow);
}

}  // namespace pppio
