#include "io/CarrierFrequencies.h"

#include "common/gnsscmn.h"
#include "io/BroadcastOrbit.h"

namespace pppio {

int PackedIndex(char system, int prn)
{
    int most = 0;
    switch (system) {
    case 'G': most = _MAX_PRN_GPS; break;
    case 'R': most = _MAX_PRN_GLO; break;
    case 'E': most = _MAX_PRN_GAL; break;
    case 'C': most = _MAX_PRN_BDS; break;
    default: return 0;
    }
    return prn >= 1 && prn <= most ? prn2iprn(prn, system) : 0;
}

CarrierFrequencies::CarrierFrequencies(const RinexObsHeader& header, const BroadcastOrbit* navigation)
{
    m_channel[0] = kNoChannel;
    for (int slot = 1; slot <= _MAX_PRN_GLO; ++slot) {
        int channel = kNoChannel;
        if (!header.glonassChannel(slot, channel) && !(navigation && navigation->glonassChannel(slot, channel)))
            channel = kNoChannel;
        m_channel[slot] = channel;
    }
}

bool CarrierFrequencies::frequencies(char system, int prn, double& f1, double& f2) const
{
    switch (system) {
    case 'G': f1 = _GPS_F1; f2 = _GPS_F2; return true;
    case 'E': f1 = _GAL_F1; f2 = _GAL_F5; return true;
    case 'C': f1 = _BDS_F2; f2 = _BDS_F7; return true;
    case 'R':
        if (prn < 1 || prn > _MAX_PRN_GLO || m_channel[prn] == kNoChannel)
            return false;
        f1 = _GLONASS_F01 + m_channel[prn] * _GLONASS_f1;
        f2 = _GLONASS_F02 + m_channel[prn] * _GLONASS_f2;
        return true;
    default: return false;
    }
}

int CarrierFrequencies::glonassSlotsWithoutChannel() const
{
    int missing = 0;
    for (int slot = 1; slot <= _MAX_PRN_GLO; ++slot)
        missing += m_channel[slot] == kNoChannel ? 1 : 0;
    return missing;
}

void CarrierFrequencies::setGlonassChannel(int slot, int channel)
{
    if (slot >= 1 && slot <= _MAX_PRN_GLO && channel >= -7 && channel <= 13)
        m_channel[slot] = channel;
}

}  // namespace pppio
