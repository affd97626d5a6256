// Satellite antenna table from the Bernese satellite information file.
//
// The reader takes the lines between "PART 2: ON-BOARD SENSORS" and
// "PART 3: REMARKS". A sensor line has fixed columns (1-based):
//
//    1-  3  satellite number: 1-99 GPS, 101-199 GLONASS, 201-299 Galileo,
//           401-499 BeiDou (other hundreds are skipped)
//    6- 25  sensor name, 20 characters, as named in the phase-centre file
//   28- 29  sensor type: "MW" for the navigation antenna (others are skipped)
//   32- 50  valid from   YYYY MM DD HH MM SS
//   53- 71  valid until  YYYY MM DD HH MM SS, blank while still valid
//   74- 83, 85- 94, 96-105  offset x, y, z in the satellite body frame (m)
//
// Lines whose number field holds no satellite number (titles, rulers) are
// skipped. For each satellite the first navigation antenna valid at the epoch
// is kept; its offsets are completed, frequency by frequency, with those
// listed for the sensor name in the "ANTENNA PHASE CENTER OFFSETS" section of
// the phase-centre file (north, east, up taken as x, y, z).
#include <cstring>
#include <vector>

#include "models/BerneseText.h"
#include "models/GNSSErrorCorrection.h"

namespace {

constexpr char kSensorSection[] = "PART 2: ON-BOARD SENSORS";
constexpr char kRemarkSection[] = "PART 3: REMARKS";
constexpr int kNameLength = 20;

struct SensorLine {
    char cSys;
    int prn;
    char name[kNameLength + 1];
    tagCRDCARTESIAN offset;
};

enum class LineKind { Other, Sensor, Malformed };

bool StartsWith(const char* line, const char* prefix)
{
    return std::strncmp(line, prefix, std::strlen(prefix)) == 0;
}

char SystemOfNumber(int number)
{
    static const char letters[5] = {'G', 'R', 'E', 0, 'C'};
    const int hundred = number / 100;
    return number >= 1 && number % 100 != 0 && hundred < 5 ? letters[hundred] : 0;
}

// Epoch field "YYYY MM DD HH MM SS" as GPS time; false when unreadable.
bool ParseEpoch(const char* line, int col, CGNSSTimeConvert& tc, tagGPSTIME2* t)
{
    char text[bern::LINE_SIZE];
    bern::Field(line, col, 19, text);
    int y, mo, d, h, mi;
    double s;
    if (std::sscanf(text, "%d %d %d %d %d %lf", &y, &mo, &d, &h, &mi, &s) != 6)
        return false;
    if (y < 1980 || y > 2099 || mo < 1 || mo > 12 || d < 1 || d > 31 || h < 0 || h > 24 || mi < 0 || mi > 59)
        return false;
    tagCOMMONTIME ct = {static_cast<uint16_t>(y), static_cast<uint8_t>(mo), static_cast<uint8_t>(d),
                        static_cast<uint8_t>(h), static_cast<uint8_t>(mi), s};
    tc.GetGPSTime2FromCommonTime(t, &ct);
    return true;
}

bool IsBlank(const char* line, int col, int width)
{
    char text[bern::LINE_SIZE];
    bern::Field(line, col, width, text);
    return std::strspn(text, " ") == std::strlen(text);
}

// A navigation antenna valid at t, or another line to skip, or a sensor line
// whose epochs cannot be read.
LineKind ParseSensor(const char* line, tagGPSTIME2 t, CGNSSTimeConvert& tc, SensorLine* sensor)
{
    char type[3];
    bern::Field(line, 28, 2, type);
    const int number = bern::FieldInt(line, 1, 3);
    sensor->cSys = SystemOfNumber(number);
    if (!sensor->cSys || std::strcmp(type, "MW") != 0)
        return LineKind::Other;

    tagGPSTIME2 from, until;
    const bool open = IsBlank(line, 53, 19);
    if (!ParseEpoch(line, 32, tc, &from) || (!open && !ParseEpoch(line, 53, tc, &until)))
        return LineKind::Malformed;
    if (tc.GetTimeDelta(&t, &from) < 0.0 || (!open && tc.GetTimeDelta(&t, &until) >= 0.0))
        return LineKind::Other;

    sensor->prn = number % 100;
    bern::Field(line, 6, kNameLength, sensor->name);
    sensor->offset = {bern::FieldDouble(line, 74, 10), bern::FieldDouble(line, 85, 10),
                      bern::FieldDouble(line, 96, 10)};
    return LineKind::Sensor;
}

bool Listed(const std::vector<SensorLine>& sensors, const SensorLine& s)
{
    for (const SensorLine& other : sensors) {
        if (other.cSys == s.cSys && other.prn == s.prn)
            return true;
    }
    return false;
}

// The navigation antennas valid at t; false when a section is missing or a
// sensor line is malformed.
bool ReadSensors(const char* satInfoFile, tagGPSTIME2 t, std::vector<SensorLine>* sensors)
{
    bern::TextFile in(satInfoFile);
    char line[bern::LINE_SIZE];
    bool inSection = false;
    while (!inSection && in.next(line))
        inSection = StartsWith(line, kSensorSection);
    if (!inSection)
        return false;
    CGNSSTimeConvert tc;
    while (in.next(line)) {
        if (StartsWith(line, kRemarkSection))
            return true;
        SensorLine sensor;
        const LineKind kind = ParseSensor(line, t, tc, &sensor);
        if (kind == LineKind::Malformed)
            return false;
        if (kind == LineKind::Sensor && !Listed(*sensors, sensor))
            sensors->push_back(sensor);
    }
    return false;   // the file ends inside the sensor section
}

void AddOffset(tagCRDCARTESIAN* pco, const tagCRDTOPOCENTRIC& add)
{
    pco->x += add.north;
    pco->y += add.east;
    pco->z += add.up;
}

}  // namespace

int CGNSSErrorCorrection::GetSatPhaCenFromBern(const char* satInfoFile, const char* phaseFile, tagGPSTIME2 t)
{
    std::vector<SensorLine> sensors;
    if (!ReadSensors(satInfoFile, t, &sensors))
        return 0;

    DelSatPcvData();
    m_satPcv = new tagSATPCV[sensors.size()]();
    m_nSatPcv = static_cast<int>(sensors.size());
    for (int i = 0; i < m_nSatPcv; ++i) {
        tagSATPCV& entry = m_satPcv[i];
        const SensorLine& sensor = sensors[static_cast<size_t>(i)];
        entry.cSys = sensor.cSys;
        entry.prn = sensor.prn;
        std::memcpy(entry.antenna, sensor.name, sizeof(entry.antenna));
        entry.pco1 = entry.pco2 = sensor.offset;
        tagCRDTOPOCENTRIC add1 = {0.0, 0.0, 0.0}, add2 = {0.0, 0.0, 0.0};
        if (phaseFile && GetRecPCOFromBern(phaseFile, entry.antenna, &add1, &add2)) {
            AddOffset(&entry.pco1, add1);
            AddOffset(&entry.pco2, add2);
        }
    }
    return 1;
}
