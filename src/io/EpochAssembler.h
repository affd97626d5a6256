// Turns one epoch of a RINEX observation file into the library's epoch
// record (tagGPSOBSONEEPO) and orbit record (tagGMSP3REC).
//
// A satellite goes in when its system is processed, it has a packed index
// (E31 and above, C36 and above, QZSS, SBAS and NavIC have none), both
// codes and both phases of the library's two frequencies are present (see
// SignalSelection.h), its carrier frequencies are known (GLONASS channel)
// and its orbit and clock could be computed. Satellites are put in the
// order of their packed index (G, R, E, C).
//
//   pppio::EpochAssembler assembler(reader.header(), frequencies, orbits, "GRE");
//   while (reader.next(obsEpoch))
//       if (assembler.assemble(obsEpoch, *epoch, *orbit))
//           lib.pppos(&station, nullptr, nullptr);
#ifndef PPPIO_EPOCHASSEMBLER_H
#define PPPIO_EPOCHASSEMBLER_H

#include <string>
#include <utility>
#include <vector>

#include "engine/GNSSEpoch.h"
#include "io/CarrierFrequencies.h"
#include "io/ObsEpoch.h"
#include "io/OrbitRecordBuilder.h"
#include "io/RinexObsHeader.h"
#include "io/SignalSelection.h"

namespace pppio {

// What the assembly left out or took from the fallback, over a whole run.
struct AssemblyTally {
    long epochs = 0;                     // data epochs assembled
    long satellites = 0;                 // satellite entries put in
    long incomplete = 0;                 // satellite-epochs without dual-frequency code and phase
    long noFrequency = 0;                // GLONASS satellite-epochs without a known channel
    long missingProducts = 0;            // satellite-epochs left out for missing orbit or clock
    long broadcast = 0;                  // satellite-epochs on broadcast orbits and clocks
    long missingPerSatellite[MAXSATNUM] = {};
    // Satellite-epochs of processed systems whose number the library's
    // packed index cannot hold (Galileo above E30, BeiDou above C35), by
    // library system (G, R, E, C) and number.
    long beyondRange[4][kMaxPrn + 1] = {};
    long broadcastPerSatellite[MAXSATNUM] = {};
};

class EpochAssembler {
public:
    // `systems`: letters of the processed systems ("GRE"); others are skipped.
    EpochAssembler(const RinexObsHeader& header, const CarrierFrequencies& frequencies, OrbitRecordBuilder& orbits,
                   const std::string& systems);

    // Fills `epoch` and `orbit` from a data epoch. False for an event or a
    // cycle-slip record (flags 2-6), which fills nothing.
    bool assemble(const ObsEpoch& in, tagGPSOBSONEEPO& epoch, tagGMSP3REC& orbit);

    const AssemblyTally& tally() const { return m_tally; }
    const SignalTally& signals() const { return m_signals; }
    const SignalSelector& selector() const { return m_selector; }

private:
    // Fills entry `out` of satellite `sat`; false when it cannot go in.
    bool fillSatellite(const ObsEpoch& in, int sat, int iprn, tagOBSONESAT& out, tagGMSP3REC& orbit);

    SignalSelector m_selector;
    const CarrierFrequencies& m_frequencies;
    OrbitRecordBuilder& m_orbits;
    bool m_systemOn[kLibrarySystems];
    std::vector<std::pair<int, int>> m_order;   // (packed index, satellite of the file epoch), reused
    AssemblyTally m_tally;
    SignalTally m_signals;
};

}  // namespace pppio

#endif
