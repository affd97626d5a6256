#include "io/TextFields.h"

#include <cmath>

#include "io/FieldParse.h"
#include "io/GpsTime.h"
#include "io/SatelliteId.h"

namespace pppio {

TextFields::TextFields(const LineReader& in) : m_in(in)
{
    const std::string& line = in.line();
    size_t pos = 0;
    while (true) {
        while (pos < line.size() && (line[pos] == ' ' || line[pos] == '\t'))
            ++pos;
        if (pos == line.size())
            break;
        if (m_count == kMaxFields)
            in.fail("expected at most " + std::to_string(kMaxFields) + " fields");
        const size_t start = pos;
        while (pos < line.size() && line[pos] != ' ' && line[pos] != '\t')
            ++pos;
        m_start[m_count] = start;
        m_length[m_count] = pos - start;
        ++m_count;
    }
}

std::string TextFields::text(size_t i) const
{
    return i < m_count ? m_in.line().substr(m_start[i], m_length[i]) : std::string();
}

void TextFields::expectCount(size_t n, const char* layout) const
{
    if (m_count != n)
        m_in.fail("expected " + std::to_string(n) + " fields (" + layout + "), found " + std::to_string(m_count));
}

void TextFields::fail(size_t i, const char* what) const
{
    m_in.fail(std::string("expected ") + what + " in field " + std::to_string(i + 1) + ", found '" + text(i) + "'");
}

double TextFields::real(size_t i, const char* what) const
{
    double value = 0.0;
    if (i >= m_count || parseReal(m_in.line().c_str() + m_start[i], m_length[i], value) != FieldStatus::Ok ||
        !std::isfinite(value))
        fail(i, what);
    return value;
}

long TextFields::integer(size_t i, const char* what) const
{
    long value = 0;
    if (i >= m_count || parseInteger(m_in.line().c_str() + m_start[i], m_length[i], value) != FieldStatus::Ok)
        fail(i, what);
    return value;
}

tagGPSTIME2 TextFields::time(size_t i) const
{
    const long week = integer(i, "a GPS week");
    if (week < 0 || week > 100000)
        fail(i, "a GPS week");
    const double sow = real(i + 1, "seconds of week");
    if (sow < 0.0 || sow >= kSecondsPerWeek)
        fail(i + 1, "seconds of week (0 to 604800)");
    return tagGPSTIME2{static_cast<int32_t>(week), sow};
}

int TextFields::satellite(size_t i) const
{
    const int iprn = i < m_count && m_length[i] == 3 ? parseSatelliteId(m_in.line().c_str() + m_start[i]) : -1;
    if (iprn < 0)
        fail(i, "a satellite such as G01");
    return iprn;
}

}  // namespace pppio
