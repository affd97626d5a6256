#include "io/RinexEpochParser.h"

namespace pppio {

namespace {

constexpr size_t kObsWidth = 16;       // F14.3, loss of lock, signal strength
constexpr int kObsPerLine2 = 5;        // RINEX 2 observations per line
constexpr int kSatellitesPerLine2 = 12;

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
    if (!NextNonBlankLine(in))
        return EpochStatus::kEnd;

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

EpochStatus RinexEpochParser::readSatellites3(LineReader& in, int count, ObsEpoch& epoch)
{
    for (int i = 0; i < count; ++i) {
        if (!in.next())
            return EpochStatus::kTruncated;
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
    for (int i = 0; i < count; ++i) {
        const SystemObsTypes& types = TypesOfSatellite(m_header, epoch.satellite(i).system, in);
        ObsValue* row = epoch.row(i);
        for (int k = 0; k < types.count(); ++k) {
            if (k % kObsPerLine2 == 0 && !in.next())
                return EpochStatus::kTruncated;
            parseObservation(in.line(), kObsWidth * static_cast<size_t>(k % kObsPerLine2),
                             types.scale[static_cast<size_t>(k)], in, row[k]);
        }
    }
    return EpochStatus::kEpoch;
}

}  // namespace pppio
