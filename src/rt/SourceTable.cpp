#include "rt/SourceTable.h"

#include <cstdlib>

namespace ppprt {

namespace {

constexpr size_t kStrFields = 19;   // "STR" and 18 fields up to the bit rate; misc may follow

std::vector<std::string> SplitFields(const std::string& line)
{
    std::vector<std::string> fields;
    size_t start = 0;
    for (;;) {
        const size_t end = line.find(';', start);
        fields.push_back(line.substr(start, end == std::string::npos ? std::string::npos : end - start));
        if (end == std::string::npos)
            return fields;
        start = end + 1;
    }
}

double Number(const std::string& text)
{
    char* end = nullptr;
    const double value = std::strtod(text.c_str(), &end);
    return end != text.c_str() ? value : 0.0;
}

}  // namespace

std::vector<SourceTableEntry> parseSourceTable(const std::string& text)
{
    std::vector<SourceTableEntry> entries;
    size_t start = 0;
    while (start < text.size()) {
        size_t end = text.find('\n', start);
        if (end == std::string::npos)
            end = text.size();
        std::string line = text.substr(start, end - start);
        start = end + 1;
        if (!line.empty() && line.back() == '\r')
            line.pop_back();
        if (line.compare(0, 4, "STR;") != 0)
            continue;
        const std::vector<std::string> f = SplitFields(line);
        if (f.size() < kStrFields - 1 || f[1].empty())
            continue;
        SourceTableEntry e;
        e.mount = f[1];
        e.identifier = f[2];
        e.format = f[3];
        e.formatDetails = f[4];
        e.carrier = static_cast<int>(Number(f[5]));
        e.navSystem = f[6];
        e.network = f[7];
        e.country = f[8];
        e.latitude = Number(f[9]);
        e.longitude = Number(f[10]);
        e.nmea = f[11] == "1";
        e.networkSolution = f[12] == "1";
        e.generator = f[13];
        e.compression = f[14];
        e.authentication = f[15];
        e.fee = f[16] == "Y";
        e.bitrate = static_cast<int>(Number(f[17]));
        // The misc field may itself contain ';'.
        for (size_t k = kStrFields - 1; k < f.size(); ++k)
            e.misc += (k > kStrFields - 1 ? ";" : "") + f[k];
        entries.push_back(e);
    }
    return entries;
}

}  // namespace ppprt
