// Carrier frequencies of the library's two frequencies per satellite, with
// the GLONASS frequency channels from the observation header (GLONASS SLOT /
// FRQ #) or, for slots it does not list, from the navigation file.
#ifndef PPPIO_CARRIERFREQUENCIES_H
#define PPPIO_CARRIERFREQUENCIES_H

#include "common/GNSSConst.h"
#include "io/RinexObsHeader.h"

namespace pppio {

class BroadcastOrbit;

// Packed satellite index of a library system letter and number, 0 for a
// satellite without a slot (E31 and above, C36 and above, J, S, I).
int PackedIndex(char system, int prn);

class CarrierFrequencies {
public:
    // `navigation` may be null.
    CarrierFrequencies(const RinexObsHeader& header, const BroadcastOrbit* navigation);

    // First and second carrier frequency (Hz); false for a GLONASS slot
    // whose channel is unknown or a system the library does not process.
    bool frequencies(char system, int prn, double& f1, double& f2) const;

    // A channel learnt later, e.g. from a stream's ephemeris or observations.
    void setGlonassChannel(int slot, int channel);

    // GLONASS slots whose channel came from neither source.
    int glonassSlotsWithoutChannel() const;

private:
    static constexpr int kNoChannel = -100;
    int m_channel[_MAX_PRN_GLO + 1];
};

}  // namespace pppio

#endif
