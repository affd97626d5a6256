#include "io/RinexEpochLine.h"

namespace pppio {

namespace {

// Time fields: year, month, day, hour, minute (column, width), then seconds.
struct TimeColumns {
    size_t field[5][2];
    size_t second;
};
const TimeColumns kTime2 = {{{1, 2}, {3, 3}, {6, 3}, {9, 3}, {12, 3}}, 15};
const TimeColumns kTime3 = {{{2, 4}, {6, 3}, {9, 3}, {12, 3}, {15, 3}}, 18};

const EpochLineLayout kLayout2 = {true, 32, 68, 12, 9, 29};
const EpochLineLayout kLayout3 = {false, 41, 41, 15, 12, 32};

// False when the time is blank; fails when it is partly blank or invalid.
bool ParseTime(const std::string& text, const TimeColumns& columns, bool rinex2, const LineReader& in,
               tagCOMMONTIME& time)
{
    long value[5] = {0, 0, 0, 0, 0};
    int blanks = 0;
    bool bad = false;
    for (int i = 0; i < 5; ++i) {
        const Field field = ParseIntegerField(text, columns.field[i][0], columns.field[i][1], value[i]);
        blanks += field == Field::kBlank;
        bad = bad || field == Field::kBad;
    }
    double second = 0.0;
    const Field secondField = ParseDecimalField(text, columns.second, 11, second);
    blanks += secondField == Field::kBlank;
    if (blanks == 6 && !bad)
        return false;
    if (rinex2 && value[0] >= 0 && value[0] < 100)
        value[0] += value[0] < 80 ? 2000 : 1900;
    if (bad || blanks > 0 || secondField == Field::kBad || value[0] < 1900 || value[0] > 2200 || value[1] < 1 ||
        value[1] > 12 || value[2] < 1 || value[2] > 31 || value[3] < 0 || value[3] > 23 || value[4] < 0 ||
        value[4] > 59 || !(second >= 0.0 && second < 61.0))
        in.fail("expected the epoch time (year month day hour minute second) in columns " +
                std::to_string(columns.field[0][0] + 1) + "-" + std::to_string(columns.second + 11));
    time.year = static_cast<uint16_t>(value[0]);
    time.month = static_cast<uint8_t>(value[1]);
    time.day = static_cast<uint8_t>(value[2]);
    time.hour = static_cast<uint8_t>(value[3]);
    time.minute = static_cast<uint8_t>(value[4]);
    time.second = second;
    return true;
}

}  // namespace

const EpochLineLayout& EpochLineLayout::of(const RinexObsHeader& header)
{
    return header.version < 3.0 ? kLayout2 : kLayout3;
}

void ParseEpochLine(const std::string& text, const EpochLineLayout& layout, const LineReader& in,
                    EpochLineFields& fields, ObsEpoch& epoch)
{
    if (!layout.rinex2 && CharAt(text, 0) != '>')
        in.fail("expected an epoch line starting with '>'");
    const size_t flagColumn = layout.count - 1;
    const int flag = FlagValue(CharAt(text, flagColumn));
    if (flag < 0 || flag > ObsEpoch::kCycleSlips)
        in.fail("expected an epoch flag 0-6 in column " + std::to_string(flagColumn + 1));
    fields.flag = flag;
    epoch.flag = flag;
    const bool event = flag >= ObsEpoch::kStartMoving && flag <= ObsEpoch::kExternalEvent;

    long count = 0;
    const Field countField = ParseIntegerField(text, layout.count, 3, count);
    if (countField == Field::kBad || count < 0 || (countField == Field::kBlank && !event))
        in.fail("expected the number of satellites in columns " + std::to_string(layout.count + 1) + "-" +
                std::to_string(layout.count + 3));
    fields.count = static_cast<int>(count);

    tagCOMMONTIME time{};
    fields.hasTime = ParseTime(text, layout.rinex2 ? kTime2 : kTime3, layout.rinex2, in, time);
    if (!fields.hasTime && !event)
        in.fail("expected the epoch time of a data epoch");
    if (fields.hasTime)
        epoch.time = time;
}

bool NextNonBlankLine(LineReader& in)
{
    while (in.next())
        if (in.line().find_first_not_of(' ') != std::string::npos)
            return true;
    return false;
}

bool ReadEventRecords(LineReader& in, int count, ObsEpoch& epoch)
{
    for (int i = 0; i < count; ++i) {
        if (!in.next())
            return false;
        epoch.eventRecords.push_back(in.line());
    }
    return true;
}

void AddListedSatellites(const std::string& text, size_t column, int count, const LineReader& in, ObsEpoch& epoch)
{
    for (int i = 0; i < count; ++i, column += 3) {
        char system = ' ';
        int prn = 0;
        if (!ParseSatelliteId(text, column, system, prn))
            in.fail("expected a satellite identifier in columns " + std::to_string(column + 1) + "-" +
                    std::to_string(column + 3) + " (" + std::to_string(count) + " satellites announced)");
        epoch.addSatellite(system, prn);
    }
}

const SystemObsTypes& TypesOfSatellite(const RinexObsHeader& header, char system, const LineReader& in)
{
    const SystemObsTypes& types = header.obsTypes(system);
    if (types.count() == 0)
        in.fail(std::string("the header has no observation types for system '") + system + "'");
    return types;
}

std::string SatelliteName(const ObsSatellite& satellite)
{
    const char name[4] = {satellite.system, static_cast<char>('0' + satellite.prn / 10),
                          static_cast<char>('0' + satellite.prn % 10), '\0'};
    return name;
}

}  // namespace pppio
