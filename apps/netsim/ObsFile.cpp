#include "ObsFile.h"

#include <cstdarg>
#include <cstdio>

namespace netsim {

namespace {

struct SystemSignals {
    char system;
    const char* codes[5];
};

// Both codes of a frequency carry the same simulated biases.
constexpr SystemSignals kSignals[] = {
    {'G', {"C1C", "C1W", "C2W", "L1C", "L2W"}},
    {'R', {"C1P", "C2P", "L1P", "L2P", nullptr}},
    {'E', {"C1C", "C5Q", "L1C", "L5Q", nullptr}},
};

// GLONASS frequency channels of June 2020 (broadcast navigation of 2020-06-25).
constexpr int kGlonassChannels[25] = {0,  1, -4, 5, 6, 1, -4, 5, 6, -2, -7, 0, -1,
                                      -2, -7, 0, -1, 4, -3, 3, 2, 4, -3, 3, 2};

// A header line: content padded to 60 columns, then the label.
void Line(std::FILE* out, const std::string& content, const char* label)
{
    std::fprintf(out, "%-60.60s%-20s\n", content.c_str(), label);
}

std::string Format(const char* format, ...) __attribute__((format(printf, 1, 2)));
std::string Format(const char* format, ...)
{
    char text[128];
    va_list args;
    va_start(args, format);
    std::vsnprintf(text, sizeof text, format, args);
    va_end(args);
    return text;
}

std::string TimeField(const tagCOMMONTIME& t)
{
    return Format("%6d%6d%6d%6d%6d%13.7f     GPS", t.year, t.month, t.day, t.hour,
                  t.minute, t.second);
}

void WriteGlonassSlots(std::FILE* out)
{
    std::string line = Format("%3d", 24);
    int onLine = 0;
    for (int slot = 1; slot <= 24; ++slot) {
        if (onLine == 8) {
            Line(out, line, "GLONASS SLOT / FRQ #");
            line = "   ";
            onLine = 0;
        }
        line += Format(" R%02d %2d", slot, kGlonassChannels[slot]);
        ++onLine;
    }
    Line(out, line, "GLONASS SLOT / FRQ #");
}

}  // namespace

SignalKind KindOf(const std::string& code)
{
    return SignalKind{code[0] == 'L', code[1] == '1' ? 0 : 1};
}

pppio::RinexObsHeader SimulatedHeader(const std::string& systems)
{
    pppio::RinexObsHeader header;
    header.version = 3.04;
    header.fileSystem = 'M';
    for (const SystemSignals& s : kSignals) {
        if (systems.find(s.system) == std::string::npos)
            continue;
        pppio::SystemObsTypes& types = header.mutableObsTypes(s.system);
        for (const char* code : s.codes) {
            if (!code)
                break;
            types.codes.push_back(code);
            types.original.push_back(code);
            types.scale.push_back(1.0);
        }
    }
    for (int slot = 1; slot <= 24; ++slot)
        header.setGlonassChannel(slot, kGlonassChannels[slot]);
    return header;
}

void WriteHeader(std::FILE* out, const pppio::RinexObsHeader& header, const HeaderFields& fields)
{
    Line(out, "     3.04           OBSERVATION DATA    M", "RINEX VERSION / TYPE");
    Line(out, "netsim              ppplib", "PGM / RUN BY / DATE");
    Line(out, "Simulated by netsim: positions, biases, ambiguities known", "COMMENT");
    Line(out, fields.marker, "MARKER NAME");
    Line(out, "GEODETIC", "MARKER TYPE");
    Line(out, "netsim              ppplib", "OBSERVER / AGENCY");
    Line(out, "0                   NETSIM SIMULATOR    1.0", "REC # / TYPE / VERS");
    Line(out, "0                   NETSIM_NOANTENNA    NONE", "ANT # / TYPE");
    Line(out, Format("%14.4f%14.4f%14.4f", fields.approxPosition[0], fields.approxPosition[1], fields.approxPosition[2]),
         "APPROX POSITION XYZ");
    Line(out, Format("%14.4f%14.4f%14.4f", 0.0, 0.0, 0.0), "ANTENNA: DELTA H/E/N");
    for (const SystemSignals& s : kSignals) {
        const pppio::SystemObsTypes& types = header.obsTypes(s.system);
        if (types.count() == 0)
            continue;
        std::string line = Format("%c  %3d", s.system, types.count());
        for (const std::string& code : types.codes)
            line += " " + code;
        Line(out, line, "SYS / # / OBS TYPES");
    }
    // The simulated phases need no quarter-cycle alignment: zero shifts.
    for (const SystemSignals& s : kSignals)
        for (const std::string& code : header.obsTypes(s.system).codes)
            if (code[0] == 'L')
                Line(out, Format("%c %s %8.5f", s.system, code.c_str(), 0.0), "SYS / PHASE SHIFT");
    Line(out, Format("%10.3f", fields.interval), "INTERVAL");
    Line(out, TimeField(fields.first), "TIME OF FIRST OBS");
    Line(out, TimeField(fields.last), "TIME OF LAST OBS");
    if (header.obsTypes('R').count() > 0) {
        WriteGlonassSlots(out);
        Line(out, " C1C    0.000 C1P    0.000 C2C    0.000 C2P    0.000", "GLONASS COD/PHS/BIS");
    }
    Line(out, "", "END OF HEADER");
}

}  // namespace netsim
