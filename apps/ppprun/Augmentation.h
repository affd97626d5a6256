// The reference station of the augmented modes: its epochs, read from a
// RINEX file or an RTCM 3 stream, turned into per-satellite corrections
// (t_aug) and matched to the user's epochs by time, with the figures of the
// summary.
//
//   Augmentation aug(options, orbits, products, startTime);
//   ... per user epoch at t, after its assembly:
//   t_aug* corrections = aug.before(t, epoch);
//   const int code = run.process(t, upds, corrections);
//   aug.after(code, epoch);
//
// Reference epochs up to the user's epoch are taken in order; the newest
// correction of each satellite is kept, and the library drops those 10 s
// old or older. Nothing is allocated per epoch.
#ifndef PPPRUN_AUGMENTATION_H
#define PPPRUN_AUGMENTATION_H

#include <memory>
#include <vector>

#include "Options.h"
#include "RunSetup.h"
#include "Summary.h"
#include "io/AugmentationGenerator.h"
#include "io/CarrierFrequencies.h"
#include "io/EpochAssembler.h"
#include "io/ObsEpoch.h"
#include "io/RinexObsReader.h"

namespace ppprt {
class RtcmFeed;
class RtcmDecoder;
class MsmEpochBuilder;
class SsrCorrections;
class SsrBiases;
}  // namespace ppprt

namespace ppprun {

class Augmentation {
public:
    // `start`: a time in the week of the data, for the RTCM time fields.
    // Throws InputError for a reference source that cannot be opened.
    Augmentation(const Options& o, pppio::OrbitRecordBuilder& orbits, const Products& products,
                 const tagGPSTIME2& start);
    ~Augmentation();

    // The corrections for the user's assembled epoch at t (the reference
    // read up to t first); counts corrected, aged and missing satellites.
    t_aug* before(const tagGPSTIME2& t, const tagGPSOBSONEEPO& userEpoch);
    // Books the library's result code of that epoch.
    void after(int code);

    // SSR code biases that the user's codes get: the reference's get the
    // same (for the satellites flagged in `corrected`, 124 entries), or the
    // user would have them taken off twice.
    void setCodeBiases(ppprt::SsrBiases* biases, const bool* corrected);

    // The figures of the run, at its end.
    void report(RunResult& result) const;

private:
    bool nextReferenceEpoch();   // into m_pending; false at the end of the source (for now)
    void useReferenceEpoch();    // m_pending through the generator

    const Options& m_o;
    pppio::OrbitRecordBuilder& m_orbits;
    // RINEX reference
    std::unique_ptr<pppio::RinexObsReader> m_reader;
    // RTCM reference: its own decoder; ephemerides and corrections of the
    // reference stream are not used (the user's products are).
    std::unique_ptr<pppio::BroadcastOrbit> m_ignoredNavigation;
    std::unique_ptr<ppprt::SsrCorrections> m_ignoredCorrections;
    std::unique_ptr<ppprt::MsmEpochBuilder> m_builder;
    std::unique_ptr<ppprt::RtcmDecoder> m_decoder;
    std::unique_ptr<ppprt::RtcmFeed> m_feed;
    ppprt::SsrBiases* m_biases = nullptr;
    const bool* m_biasSatellites = nullptr;

    pppio::RinexObsHeader m_header;
    std::unique_ptr<pppio::CarrierFrequencies> m_frequencies;
    std::unique_ptr<pppio::EpochAssembler> m_assembler;
    std::unique_ptr<pppio::AugmentationGenerator> m_generator;
    std::unique_ptr<tagGPSOBSONEEPO> m_epoch;
    std::unique_ptr<tagGMSP3REC> m_orbit;
    pppio::ObsEpoch m_pending;
    bool m_hasPending = false;
    bool m_ended = false;
    std::vector<t_aug> m_corrections;   // 124 entries
    AugFigures m_figures;
    bool m_tooFew = false;               // the current user epoch has too few corrected satellites
};

}  // namespace ppprun

#endif
