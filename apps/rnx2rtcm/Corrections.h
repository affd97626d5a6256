// The correction stream of a service made from files: broadcast
// ephemerides as they come into use and, with precise products, SSR orbit,
// clock, code-bias and phase-bias messages on their update grids.
#ifndef RNX2RTCM_CORRECTIONS_H
#define RNX2RTCM_CORRECTIONS_H

#include <memory>
#include <set>

#include "Options.h"
#include "StreamWriter.h"
#include "engine/PPPRecords.h"
#include "io/BroadcastOrbit.h"
#include "io/CarrierFrequencies.h"
#include "io/OrbitRecordBuilder.h"
#include "io/PreciseClock.h"
#include "io/PreciseOrbit.h"
#include "io/AntennaTable.h"
#include "io/BiasSinexReader.h"
#include "io/UpdFile.h"
#include "rt/SsrGenerator.h"
#include "rt/SsrMessages.h"

namespace rnx2rtcm {

class Corrections {
public:
    Corrections(const Options& o, const pppio::RinexObsHeader& header);
    ~Corrections();

    // Writes every correction epoch up to t (on the clock grid) not written yet.
    void writeUpTo(const tagGPSTIME2& t, StreamWriter& out);

    long ssrMessages() const { return m_ssrMessages; }
    long ephemerides() const { return static_cast<long>(m_sent.size()); }

private:
    void writeEpoch(const tagGPSTIME2& t, StreamWriter& out);
    void sendEphemeris(int iprn, const tagGPSTIME2& t, StreamWriter& out);
    void writeSsr(int messageNumber, StreamWriter& out);
    void writeBiases(char system, const tagGPSTIME2& t, StreamWriter& out);
    void fillUpdPhaseBiases(char system, int iprn, ppprt::SsrSatellite& s) const;
    void fillOsbBiases(char kind, int iprn, const tagGPSTIME2& t, ppprt::SsrSatellite& s) const;

    const Options& m_o;
    pppio::BroadcastOrbit m_broadcast;
    pppio::PreciseOrbit m_orbit;
    pppio::PreciseClock m_clock;
    pppio::AntennaTable m_antennas;
    pppio::UpdProduct m_upds;
    pppio::BiasSinex m_osb;
    bool m_haveOsb = false;
    t_upd m_updEntries[MAXSATNUM] = {};   // the UPDs of the bias epoch being written
    std::unique_ptr<pppio::CarrierFrequencies> m_frequencies;
    std::unique_ptr<pppio::OrbitRecordBuilder> m_precise;
    std::unique_ptr<ppprt::SsrGenerator> m_generator;
    std::unique_ptr<ppprt::SsrMessage> m_message;
    std::set<const void*> m_sent;   // ephemerides already in the stream
    bool m_started = false;
    tagGPSTIME2 m_next{0, 0.0};     // next correction epoch
    long m_ssrMessages = 0;
};

}  // namespace rnx2rtcm

#endif
