#include "io/RinexObsHeader.h"

namespace pppio {

namespace {
const SystemObsTypes kNoTypes;
}

int SystemObsTypes::index(const std::string& code) const
{
    for (size_t k = 0; k < codes.size(); ++k)
        if (codes[k] == code)
            return static_cast<int>(k);
    for (size_t k = 0; k < original.size(); ++k)
        if (original[k] == code)
            return static_cast<int>(k);
    return -1;
}

const SystemObsTypes& RinexObsHeader::obsTypes(char system) const
{
    const int s = SystemIndex(system);
    return s < 0 ? kNoTypes : m_types[static_cast<size_t>(s)];
}

SystemObsTypes& RinexObsHeader::mutableObsTypes(char system)
{
    const int s = SystemIndex(system);
    return m_types[static_cast<size_t>(s < 0 ? 0 : s)];
}

int RinexObsHeader::obsIndex(char system, const std::string& code) const
{
    return obsTypes(system).index(code);
}

int RinexObsHeader::maxTypeCount() const
{
    int most = 0;
    for (const SystemObsTypes& types : m_types)
        if (types.count() > most)
            most = types.count();
    return most;
}

bool RinexObsHeader::glonassChannel(int slot, int& channel) const
{
    if (slot < 1 || slot > kMaxPrn || m_glonassChannel[static_cast<size_t>(slot)] == kNoChannel)
        return false;
    channel = m_glonassChannel[static_cast<size_t>(slot)];
    return true;
}

void RinexObsHeader::setGlonassChannel(int slot, int channel)
{
    if (slot >= 1 && slot <= kMaxPrn)
        m_glonassChannel[static_cast<size_t>(slot)] = channel;
}

}  // namespace pppio
