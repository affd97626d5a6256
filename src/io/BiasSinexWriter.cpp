#include "io/BiasSinexWriter.h"

#include <cmath>
#include <cstdio>
#include <stdexcept>

#include "io/GpsTime.h"

namespace pppio {

namespace {

// YYYY:DOY:SSSSS of a GPS time.
std::string SinexTime(const tagGPSTIME2& t)
{
    tagGPSTIME2 copy = t;
    tagCOMMONTIME c;
    CGNSSTimeConvert convert;
    convert.GPSTime2ToCommonTime(&copy, &c);
    const int doy = convert.GetDOY2FormYMD(c.year, c.month, c.day);
    const long seconds = std::lround(c.hour * 3600.0 + c.minute * 60.0 + c.second);
    char text[24];
    std::snprintf(text, sizeof text, "%04d:%03d:%05ld", c.year, doy, seconds);
    return text;
}

}  // namespace

void WriteBiasSinex(const std::string& path, const BiasSinexFile& file)
{
    std::FILE* out = std::fopen(path.c_str(), "w");
    if (!out)
        throw std::runtime_error("cannot write " + path);
    const std::string start = SinexTime(file.start), end = SinexTime(file.end);
    std::fprintf(out, "%%=BIA 1.00 %-3.3s %s %-3.3s %s %s A %08zu\n", file.agency.c_str(), start.c_str(),
                 file.agency.c_str(), start.c_str(), end.c_str(), file.biases.size());
    std::fprintf(out, "+FILE/REFERENCE\n"
                      "*INFO_TYPE_________INFO_________________________________________________________\n"
                      " DESCRIPTION        ppplib\n"
                      "-FILE/REFERENCE\n"
                      "+BIAS/DESCRIPTION\n"
                      "*KEYWORD_________________________________VALUE (S) _____________________________\n"
                      " BIAS_MODE                               ABSOLUTE\n"
                      " TIME_SYSTEM                             G\n"
                      "-BIAS/DESCRIPTION\n"
                      "+BIAS/SOLUTION\n"
                      "*BIAS SVN_ PRN STATION__ OBS1 OBS2 BIAS_START____ BIAS_END______ UNIT"
                      " __ESTIMATED_VALUE____ _STD_DEV___\n");
    for (const ObservableBias& b : file.biases)
        std::fprintf(out, " OSB       %-3.3s           %-4.4s      %s %s ns   %21.14E %11.4E\n", b.satellite.c_str(),
                     b.observable.c_str(), SinexTime(b.start).c_str(), SinexTime(b.end).c_str(), b.valueNs, 0.0);
    std::fprintf(out, "-BIAS/SOLUTION\n%%=ENDBIA\n");
    const bool failed = std::ferror(out) != 0;
    if (std::fclose(out) != 0 || failed)
        throw std::runtime_error("write error on " + path);
}

}  // namespace pppio
