#include "io/SatelliteId.h"

#include "common/gnsscmn.h"

namespace pppio {

namespace {

bool IsKnownSystem(char system)
{
    switch (system) {
    case 'G': case 'R': case 'E': case 'C': case 'J': case 'S': case 'I': return true;
    default: return false;
    }
}

bool IsDigit(char c)
{
    return c >= '0' && c <= '9';
}
}  // namespace

int parseSatelliteId(const char* text)
{
    const char system = text[0] == ' ' ? 'G' : text[0];
    if (!IsKnownSystem(system))
        return -1;
    const char tens = text[1] == ' ' ? '0' : text[1];
    if (!IsDigit(tens) || !IsDigit(text[2]))
        return -1;
    const int number = (tens - '0') * 10 + (text[2] - '0');
    if (number < 1 || number > systemCapacity(system))
        return 0;
    return prn2iprn(number, system);
}

int systemCapacity(char system)
{
    switch (system) {
    case 'G': return _MAX_PRN_GPS;
    case 'R': return _MAX_PRN_GLO;
    case 'E': return _MAX_PRN_GAL;
    case 'C': return _MAX_PRN_BDS;
    default: return 0;
    }
}

int packedIndex(char system, int prn)
{
    if (!IsKnownSystem(system) || prn < 1 || prn > systemCapacity(system))
        return 0;
    return prn2iprn(prn, system);
}

std::string satelliteName(int iprn)
{
    if (iprn < 1 || iprn > kMaxPackedIndex)
        return "???";
    const int prn = iprn2prn(iprn);
    std::string name(1, judge_sys_char(iprn));
    name += static_cast<char>('0' + prn / 10);
    name += static_cast<char>('0' + prn % 10);
    return name;
}

SatelliteSet SatelliteSet::all()
{
    SatelliteSet set;
    set.m_bits.set();
    set.m_bits.reset(0);
    return set;
}

SatelliteSet SatelliteSet::ofSystems(const std::string& letters)
{
    SatelliteSet set;
    for (int iprn = 1; iprn <= kMaxPackedIndex; ++iprn)
        if (letters.find(judge_sys_char(iprn)) != std::string::npos)
            set.add(iprn);
    return set;
}

void SkippedSatellites::add(const char* id)
{
    const std::string name(id, 3);
    for (size_t i = 0; i + 3 <= m_names.size(); i += 4)
        if (m_names.compare(i, 3, name) == 0)
            return;
    if (!m_names.empty())
        m_names += ' ';
    m_names += name;
}

void SkippedSatellites::appendWarning(const std::string& path, std::vector<std::string>& warnings) const
{
    if (!m_names.empty())
        warnings.push_back(path + ": satellites without a packed index skipped: " + m_names);
}

}  // namespace pppio
