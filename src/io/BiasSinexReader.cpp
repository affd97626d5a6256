#include "io/BiasSinexReader.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>

#include "common/GNSSConst.h"
#include "common/gnsscmn.h"
#include "io/FieldParse.h"
#include "io/GpsTime.h"
#include "io/LineReader.h"
#include "io/SinexBlocks.h"
#include "io/Truncation.h"

namespace pppio {

double signalFrequency(char system, char band)
{
    switch (system) {
    case 'G':
    case 'J':
        switch (band) {
        case '1': return _GPS_F1;
        case '2': return _GPS_F2;
        case '5': return _GAL_F5;
        case '6': return system == 'J' ? 1278.75e6 : 0.0;
        default: return 0.0;
        }
    case 'E':
        switch (band) {
        case '1': return _GAL_F1;
        case '5': return _GAL_F5;
        case '6': return 1278.75e6;
        case '7': return _BDS_F7;
        case '8': return 1191.795e6;
        default: return 0.0;
        }
    case 'C':
        switch (band) {
        case '1': return _GPS_F1;
        case '2': return _BDS_F2;
        case '5': return _GAL_F5;
        case '6': return 1268.52e6;
        case '7': return _BDS_F7;
        case '8': return 1191.795e6;
        default: return 0.0;
        }
    case 'R':
        switch (band) {
        case '3': return 1202.025e6;
        case '4': return 1600.995e6;
        case '6': return 1248.06e6;
        default: return 0.0;
        }
    default:
        return 0.0;
    }
}

class BiasSinexParser {
public:
    explicit BiasSinexParser(const std::string& path) : m_in(path) {}

    BiasSinex run()
    {
        if (!m_in.next() || !hasTextAt(m_in.line(), 0, "%=BIA"))
            m_in.fail("expected the Bias-SINEX header line starting with %=BIA");
        const bool complete = m_blocks.readData(m_in, m_out.m_warnings, [this] {
            if (m_blocks.block() == "BIAS/SOLUTION")
                readSolution();
            else if (m_blocks.block() == "BIAS/DESCRIPTION")
                readDescription();
        });
        if (!complete)
            m_out.m_warnings.push_back(m_in.path() + ": no %=ENDBIA line, the file looks truncated");
        m_skipped.appendWarning(m_in.path(), m_out.m_warnings);
        m_out.m_referenceWeek = m_origin.week();
        m_out.index();
        return std::move(m_out);
    }

private:
    static constexpr double kOpen = std::numeric_limits<double>::infinity();

    void readDescription()
    {
        const std::string& line = m_in.line();
        if (trimmedField(line, 1, 39) == "TIME_SYSTEM" && trimmedField(line, 40, line.size()) != "G")
            m_out.m_warnings.push_back(warningAt(m_in, "time system " + trimmedField(line, 40, line.size()) +
                                                           " taken as GPS time"));
    }

    // Seconds since the reference week of YYYY:DDD:SSSSS at the column;
    // `open` for 0000:000:00000 or a blank field.
    double readTime(size_t column, const char* what, double open)
    {
        const std::string& line = m_in.line();
        if (trimmedField(line, column, 14).empty() || hasTextAt(line, column, "0000:000:00000"))
            return open;
        if (line.size() < column + 14 || line[column + 4] != ':' || line[column + 8] != ':')
            m_in.fail(std::string("expected ") + what + " YYYY:DDD:SSSSS in columns " + std::to_string(column + 1) +
                      "-" + std::to_string(column + 14));
        const long year = requireInteger(m_in, column, 4, what);
        const long doy = requireInteger(m_in, column + 5, 3, what);
        const long seconds = requireInteger(m_in, column + 9, 5, what);
        if (year < 1980 || year > 2200 || doy < 1 || doy > 366 || seconds < 0 || seconds > 86400)
            m_in.fail(std::string("expected ") + what + " with a year from 1980, day 1-366 and seconds 0-86400");
        const tagGPSTIME2 t = shiftedTime(gpsTimeFromCalendar(static_cast<int>(year), 1, 1, 0, 0, 0.0),
                                          (doy - 1) * kSecondsPerDay + static_cast<double>(seconds));
        m_origin.setIfUnset(t.week);
        return m_origin.seconds(t);
    }

    void readSolution()
    {
        const std::string& line = m_in.line();
        const std::string type = trimmedField(line, 1, 4);
        if (type.empty())
            m_in.fail("expected the bias type (OSB, DSB, ISB) in columns 2-5");
        if (!trimmedField(line, 15, 9).empty()) {
            ++m_out.m_stationLines;
            return;
        }
        if (type != "OSB") {
            ++m_out.m_unsupported;
            return;
        }
        const std::string prn = trimmedField(line, 11, 3);
        const int iprn = prn.size() == 3 ? parseSatelliteId(prn.c_str()) : -1;
        if (iprn < 0)
            m_in.fail("expected a satellite such as G01 in columns 12-14, found '" + prn + "'");
        const std::string code = trimmedField(line, 25, 4);
        if (code.size() != 3 || (code[0] != 'C' && code[0] != 'L'))
            m_in.fail("expected a code (Cxx) or phase (Lxx) observation in columns 26-29, found '" + code + "'");
        BiasValue v;
        v.iprn = iprn;
        std::memcpy(v.code, code.c_str(), 4);
        v.start = readTime(35, "BIAS_START", -kOpen);
        v.end = readTime(50, "BIAS_END", kOpen);
        v.ns = requireReal(m_in, 70, 21, "the bias value");
        const std::string unit = trimmedField(line, 65, 4);
        if (unit == "cyc" && code[0] == 'L') {
            const double f = signalFrequency(prn[0], code[1]);
            if (f <= 0.0)
                m_in.fail("expected the unit ns for a phase of unknown frequency, found cyc");
            v.ns = v.ns / f * 1e9;
        } else if (unit != "ns") {
            m_in.fail(std::string("expected the unit ns") + (code[0] == 'L' ? " or cyc" : "") +
                      " in columns 66-69, found '" + unit + "'");
        }
        if (iprn == 0) {
            m_skipped.add(prn.c_str());
            return;
        }
        m_out.m_values.push_back(v);
    }

    LineReader m_in;
    SinexBlocks m_blocks{"%=ENDBIA"};
    TimeOrigin m_origin;
    SkippedSatellites m_skipped;
    BiasSinex m_out;
};

BiasSinex BiasSinex::read(const std::string& path)
{
    BiasSinexParser parser(path);
    return parser.run();
}

void BiasSinex::index()
{
    std::stable_sort(m_values.begin(), m_values.end(),
                     [](const BiasValue& a, const BiasValue& b) { return a.iprn < b.iprn; });
    size_t i = 0;
    for (int k = 0; k <= kMaxPackedIndex + 1; ++k) {
        while (i < m_values.size() && m_values[i].iprn < k)
            ++i;
        m_first[k] = i;
    }
}

std::optional<double> BiasSinex::osb(int iprn, const char* code, const tagGPSTIME2& t) const
{
    if (iprn < 1 || iprn > kMaxPackedIndex)
        return std::nullopt;
    const double time = (t.week - m_referenceWeek) * kSecondsPerWeek + t.sow;
    const BiasValue* best = nullptr;
    for (size_t i = m_first[iprn]; i < m_first[iprn + 1]; ++i) {
        const BiasValue& v = m_values[i];
        if (std::strncmp(v.code, code, 4) == 0 && v.start <= time && time < v.end && (!best || v.start >= best->start))
            best = &v;
    }
    return best ? std::optional<double>(best->ns) : std::nullopt;
}

std::string BiasSinex::codes(char system) const
{
    std::vector<std::string> found;
    for (const BiasValue& v : m_values)
        if (judge_sys_char(v.iprn) == system && std::find(found.begin(), found.end(), v.code) == found.end())
            found.push_back(v.code);
    std::sort(found.begin(), found.end());
    std::string text;
    for (const std::string& code : found)
        text += (text.empty() ? "" : " ") + code;
    return text;
}

}  // namespace pppio
