// IONEX header reader: the keywords must come in the order IONEX writes them;
// any missing keyword, unreadable value or early end of file fails the read.
#include <cstdlib>
#include <cstring>

#include "models/GNSSIonex.h"

namespace {

constexpr int kLineSize = 128;

struct HeaderLine {
    char text[kLineSize];
    char rest[82];    // what "%81c" swallows after the values
};

bool ReadLine(FILE* fp, HeaderLine* line)
{
    return std::fgets(line->text, kLineSize, fp) != nullptr;
}

bool SkipTo(FILE* fp, HeaderLine* line, const char* keyword)
{
    while (ReadLine(fp, line)) {
        if (std::strstr(line->text, keyword))
            return true;
    }
    return false;
}

// The very next line must carry the keyword.
bool NextIs(FILE* fp, HeaderLine* line, const char* keyword)
{
    return ReadLine(fp, line) && std::strstr(line->text, keyword);
}

bool ParseEpoch(HeaderLine& line, tagCOMMONTIME* t)
{
    int year, month, day, hour, minute;
    double second;
    if (std::sscanf(line.text, "%d%d%d%d%d%lf%81c", &year, &month, &day, &hour, &minute, &second, line.rest) < 6)
        return false;
    if (year < 0 || year > 65535 || month < 1 || month > 12 || day < 1 || day > 31 || hour < 0 || hour > 24 ||
        minute < 0 || minute > 59)
        return false;
    t->year = static_cast<uint16_t>(year);
    t->month = static_cast<uint8_t>(month);
    t->day = static_cast<uint8_t>(day);
    t->hour = static_cast<uint8_t>(hour);
    t->minute = static_cast<uint8_t>(minute);
    t->second = second;
    return true;
}

bool ParseInt(HeaderLine& line, int* value)
{
    return std::sscanf(line.text, "%d%81c", value, line.rest) >= 1;
}

bool ParseDouble(HeaderLine& line, double* value)
{
    return std::sscanf(line.text, "%lf%81c", value, line.rest) >= 1;
}

bool ParseTriple(HeaderLine& line, double* values)
{
    return std::sscanf(line.text, "%lf%lf%lf%81c", &values[0], &values[1], &values[2], line.rest) >= 3;
}

bool ParseWord(HeaderLine& line, char* word, size_t size)
{
    char text[kLineSize];
    if (std::sscanf(line.text, "%s%81c", text, line.rest) < 1)
        return false;
    std::snprintf(word, size, "%.*s", static_cast<int>(size - 1), text);
    return true;
}

// "PRN / BIAS / RMS": three blanks, the system letter, the number, bias, rms.
bool ParseBias(HeaderLine& line, tagGMIDCB* dcb)
{
    if (std::strlen(line.text) < 3)
        return false;
    char sys;
    int prn;
    if (std::sscanf(line.text + 3, "%1c%d%lf%lf%81c", &sys, &prn, &dcb->bias, &dcb->rms, line.rest) < 4)
        return false;
    if (prn < 0 || prn > 255)
        return false;
    dcb->cSys = sys;
    dcb->prn = static_cast<uint8_t>(prn);
    return true;
}

// From "EPOCH OF FIRST MAP" to "# OF SATELLITES".
bool ReadDescription(FILE* fp, HeaderLine& line, tagGMIHDR* h)
{
    if (!SkipTo(fp, &line, "EPOCH OF FIRST MAP") || !ParseEpoch(line, &h->firstEpoch))
        return false;
    if (!NextIs(fp, &line, "EPOCH OF LAST MAP") || !ParseEpoch(line, &h->lastEpoch))
        return false;
    if (!NextIs(fp, &line, "INTERVAL") || !ParseInt(line, &h->interval))
        return false;
    if (!NextIs(fp, &line, "# OF MAPS IN FILE") || !ParseInt(line, &h->nMaps))
        return false;
    if (!NextIs(fp, &line, "MAPPING FUNCTION") ||
        !ParseWord(line, h->mappingFunction, sizeof(h->mappingFunction)))
        return false;
    if (!NextIs(fp, &line, "ELEVATION CUTOFF") || !ParseDouble(line, &h->elevationCutoff))
        return false;
    if (!ReadLine(fp, &line))   // "OBSERVABLES USED", not kept
        return false;
    if (!NextIs(fp, &line, "# OF STATIONS") || !ParseInt(line, &h->nStations))
        return false;
    return NextIs(fp, &line, "# OF SATELLITES") && ParseInt(line, &h->nSatellites);
}

// From "BASE RADIUS" to "EXPONENT".
bool ReadGrid(FILE* fp, HeaderLine& line, tagGMIHDR* h)
{
    if (!SkipTo(fp, &line, "BASE RADIUS") || !ParseDouble(line, &h->baseRadius))
        return false;
    if (!NextIs(fp, &line, "MAP DIMENSION") || !ParseInt(line, &h->mapDimension))
        return false;
    if (!NextIs(fp, &line, "HGT1 / HGT2 / DHGT") || !ParseTriple(line, h->hgt))
        return false;
    if (!NextIs(fp, &line, "LAT1 / LAT2 / DLAT") || !ParseTriple(line, h->lat))
        return false;
    if (!NextIs(fp, &line, "LON1 / LON2 / DLON") || !ParseTriple(line, h->lon))
        return false;
    return NextIs(fp, &line, "EXPONENT") && ParseInt(line, &h->exponent);
}

// The satellite bias entries that follow "DIFFERENTIAL CODE BIASES".
bool ReadBiases(FILE* fp, HeaderLine& line, tagGMIHDR* h)
{
    if (!SkipTo(fp, &line, "DIFFERENTIAL CODE BIASES"))
        return false;
    if (h->nSatellites < 0 || h->nSatellites > GMI_MAX_DCB)
        return false;
    for (int i = 0; i < h->nSatellites; ++i) {
        if (!ReadLine(fp, &line) || !ParseBias(line, &h->dcb[i]))
            return false;
    }
    return true;
}

}  // namespace

int CGNSSIonex::GetGMIHDR(FILE* fp, tagGMIHDR** hdr)
{
    if (!hdr)
        return 0;
    *hdr = static_cast<tagGMIHDR*>(std::calloc(1, GMI_HEADER_AREA));
    if (!*hdr || !fp)
        return 0;

    fpos_t start;
    if (std::fgetpos(fp, &start) != 0)
        return 0;
    std::rewind(fp);
    HeaderLine line;
    const bool ok = ReadDescription(fp, line, *hdr) && ReadGrid(fp, line, *hdr) && ReadBiases(fp, line, *hdr);
    std::fsetpos(fp, &start);
    return ok ? 1 : 0;
}
