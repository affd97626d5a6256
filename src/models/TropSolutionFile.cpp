// Zenith path delays of one site from a SINEX-TRO solution file.
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "models/GNSSErrorCorrection.h"

namespace {

constexpr int kMaxZpdValues = 12;
constexpr int kLineSize = 512;

// Next line without its line ending; the rest of an over-long line is
// skipped. False at end of file.
bool ReadLine(FILE* file, char* line)
{
    if (!std::fgets(line, kLineSize, file))
        return false;
    size_t length = std::strlen(line);
    if (length > 0 && line[length - 1] == '\n') {
        line[--length] = '\0';
    } else {
        int c;
        while ((c = std::fgetc(file)) != EOF && c != '\n') {
        }
    }
    if (length > 0 && line[length - 1] == '\r')
        line[--length] = '\0';
    return true;
}

bool StartsWith(const char* line, const char* prefix)
{
    return std::strncmp(line, prefix, std::strlen(prefix)) == 0;
}

// Total delay (mm) in the fixed columns 20-25 of a solution line of at
// least 25 characters.
double ZpdField(const char* line)
{
    char field[7] = {0};
    std::memcpy(field, line + 19, 6);
    return std::atof(field);
}

}  // namespace

// The first twelve records of the site in file order; no epoch is matched.
// The site code (columns 2-5) is compared case-sensitively, comment lines
// included.
int CGNSSErrorCorrection::GetZPDFromTroFile(double* zpd, const char* file, const char* site)
{
    FILE* in = file ? std::fopen(file, "r") : nullptr;
    if (!in)
        return 0;

    char line[kLineSize];
    bool inBlock = false;
    while (!inBlock && ReadLine(in, line))
        inBlock = StartsWith(line, "+TROP/SOLUTION");
    if (inBlock)
        ReadLine(in, line);  // column header

    int stored = 0;
    while (inBlock && stored < kMaxZpdValues && ReadLine(in, line)) {
        if (StartsWith(line, "-TROP/SOLUTION"))
            break;
        if (std::strlen(line) > 31 && std::strncmp(line + 1, site, 4) == 0)
            zpd[stored++] = ZpdField(line);
    }
    std::fclose(in);
    return 1;
}
