// Readers of the Bernese-format phase-centre file: offsets (metres) from its
// "ANTENNA PHASE CENTER OFFSETS" section, and the variation grids
// (millimetres) of the antenna blocks.
//
// An antenna is known by the first 20 characters of its line, blanks
// included. Its variation block starts at the second line that carries the
// name: zenith step in columns 65-67, azimuth step in 70-72, maximum zenith in
// 75-77; two lines later come the rows, one line of the first and one of the
// second frequency per azimuth, the zenith values in the six columns from
// column 8 + 7 k.
#include <cstring>

#include "models/BerneseText.h"
#include "models/GNSSErrorCorrection.h"

namespace {

constexpr int kNameLength = 20;
constexpr char kOffsetSection[] = "ANTENNA PHASE CENTER OFFSETS";

bool IsAntennaLine(const char* line, const char* antenna)
{
    return std::strncmp(line, antenna, kNameLength) == 0;
}

bool NextAntennaLine(bern::TextFile& in, char* line, const char* antenna)
{
    while (in.next(line)) {
        if (IsAntennaLine(line, antenna))
            return true;
    }
    return false;
}

// North, east and up in columns 43-49, 51-57 and 59-65.
void ParseOffset(const char* line, tagCRDTOPOCENTRIC* pco)
{
    pco->north = bern::FieldDouble(line, 43, 7);
    pco->east = bern::FieldDouble(line, 51, 7);
    pco->up = bern::FieldDouble(line, 59, 7);
}

bool IsOffsetLine(const char* line)
{
    return std::strlen(line) > 64;
}

// One grid row: nZenith values of six characters, seven columns apart.
void ParseRow(const char* line, int nZenith, double* row)
{
    for (int k = 0; k < nZenith; ++k)
        row[k] = bern::FieldDouble(line, 8 + 7 * k, 6);
}

}  // namespace

int CGNSSErrorCorrection::GetRecPCVFromBern(const char* file, const char* antenna, tagPCVINFO* info)
{
    if (!antenna || !info)
        return 0;
    bern::TextFile in(file);
    if (!in.isOpen())
        return 0;
    std::strncpy(info->name, antenna, kNameLength);
    info->name[kNameLength] = '\0';

    char line[bern::LINE_SIZE];
    // A name met only once has no variation block: the record keeps its name
    // and no grid.
    if (!NextAntennaLine(in, line, antenna) || !NextAntennaLine(in, line, antenna))
        return 1;

    const int zenithStep = bern::FieldInt(line, 65, 3);
    const int azimuthStep = bern::FieldInt(line, 70, 3);
    const int maxZenith = bern::FieldInt(line, 75, 3);
    if (zenithStep <= 0 || azimuthStep <= 0 || maxZenith < 0)
        return 0;
    int nAzimuth = Round(360.0 / azimuthStep) + 1;
    const int nZenith = Round(static_cast<double>(maxZenith) / zenithStep) + 1;
    if (nAzimuth <= 1)
        return 0;
    if (nAzimuth == 2)   // a 360-degree step: one row for every azimuth
        nAzimuth = 1;

    DelPcvData(info);
    info->zenithStep = zenithStep;
    info->azimuthStep = azimuthStep;
    info->maxZenith = maxZenith;
    info->nAzimuth = nAzimuth;
    info->nZenith = nZenith;
    if (!NewPcvInfo(info))
        return 0;

    bool complete = in.next(line) && in.next(line);
    for (int row = 0; complete && row < nAzimuth; ++row) {
        for (int f = 0; complete && f < 2; ++f) {
            complete = in.next(line);
            if (complete)
                ParseRow(line, nZenith, info->grid[f][row]);
        }
    }
    if (!complete) {   // a cut block is no model
        DelPcvData(info);
        return 0;
    }
    return 1;
}

int CGNSSErrorCorrection::GetRecPCVFromBern(const char* file, const char* antenna)
{
    return GetRecPCVFromBern(file, antenna, &m_recPcv);
}

int CGNSSErrorCorrection::GetRecPCOFromBern(const char* file, const char* antenna, tagCRDTOPOCENTRIC* pco1,
                                            tagCRDTOPOCENTRIC* pco2)
{
    if (!antenna || !pco1 || !pco2)
        return 0;
    bern::TextFile in(file);
    if (!in.isOpen())
        return 0;
    char line[bern::LINE_SIZE];
    bool inSection = false;
    while (!inSection && in.next(line))
        inSection = std::strncmp(line, kOffsetSection, sizeof(kOffsetSection) - 1) == 0;
    bool found = false;
    while (!found && inSection && in.next(line))
        found = IsOffsetLine(line) && IsAntennaLine(line, antenna);
    if (!found)
        return 0;

    ParseOffset(line, pco1);
    if (in.next(line) && IsOffsetLine(line))
        ParseOffset(line, pco2);
    return 1;
}

int CGNSSErrorCorrection::GetRecPCOFromBern(const char* file, const char* antenna)
{
    return GetRecPCOFromBern(file, antenna, &m_recPco1, &m_recPco2);
}

int CGNSSErrorCorrection::GetSatPCVFromBern(const char* phaseFile)
{
    bern::TextFile probe(phaseFile);
    if (!probe.isOpen())
        return 0;
    int ok = 1;
    for (int i = 0; i < m_nSatPcv; ++i) {
        if (!GetRecPCVFromBern(phaseFile, m_satPcv[i].antenna, &m_satPcv[i].pcv))
            ok = 0;
    }
    return ok;
}
