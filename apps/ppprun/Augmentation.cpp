#include "Augmentation.h"

#include <chrono>
#include <cmath>

#include "Run.h"
#include "common/gnsscmn.h"
#include "io/GpsTime.h"
#include "rt/MsmEpochBuilder.h"
#include "rt/RtcmDecoder.h"
#include "rt/RtcmFeed.h"
#include "rt/SsrBiases.h"
#include "rt/SsrCorrections.h"
#include "rt/StreamSource.h"

namespace ppprun {

namespace {

constexpr double kAgeLimit = 10.0;     // s, the library's limit
constexpr double kSameEpoch = 1e-3;    // s: receivers' epochs within this are simultaneous

}  // namespace

Augmentation::Augmentation(const Options& o, pppio::OrbitRecordBuilder& orbits, const Products& products,
                           const tagGPSTIME2& start)
    : m_o(o), m_orbits(orbits), m_epoch(new tagGPSOBSONEEPO()), m_orbit(new tagGMSP3REC()),
      m_corrections(MAXSATNUM)
{
    m_figures.active = true;
    if (!o.augObs.empty()) {
        m_reader.reset(new pppio::RinexObsReader(o.augObs, pppio::MalformedRecords::kSkip));
        m_header = m_reader->header();
        m_figures.source = o.augObs;
    } else {
        m_ignoredNavigation.reset(new pppio::BroadcastOrbit());
        m_ignoredCorrections.reset(new ppprt::SsrCorrections());
        m_builder.reset(new ppprt::MsmEpochBuilder());
        m_decoder.reset(new ppprt::RtcmDecoder(*m_ignoredNavigation, *m_ignoredCorrections, *m_builder));
        m_decoder->setReference(start);
        try {
            m_feed.reset(new ppprt::RtcmFeed(ppprt::openSource(o.augRtcm, ppprt::SourceOptions())));
        } catch (const ppprt::SourceError& e) {
            throw InputError(e.what());
        }
        m_header = m_builder->header();
        m_figures.source = o.augRtcm;
    }
    m_frequencies.reset(new pppio::CarrierFrequencies(m_header, &products.broadcast));
    m_assembler.reset(new pppio::EpochAssembler(m_header, *m_frequencies, m_orbits, o.systems));
    if (o.hasAugRef)
        m_generator.reset(new pppio::AugmentationGenerator(o.augRef));
}

Augmentation::~Augmentation() = default;

bool Augmentation::nextReferenceEpoch()
{
    if (m_reader) {
        while (m_reader->next(m_pending))
            if (!m_pending.isEvent() && m_pending.flag != pppio::ObsEpoch::kCycleSlips)
                return true;
        return false;
    }
    // A live stream gives what has arrived; a recording is read on.
    ppprt::RtcmFrame frame;
    while (m_feed->next(frame, 0) == ppprt::FeedStatus::kFrame)
        if (m_decoder->handle(frame) == ppprt::FrameKind::kEpochComplete) {
            m_pending = m_builder->epoch();
            return true;
        }
    if (m_feed->ended() && m_builder->flush()) {
        m_pending = m_builder->epoch();
        return true;
    }
    return false;
}

void Augmentation::useReferenceEpoch()
{
    ++m_figures.referenceEpochs;
    if (m_decoder) {
        for (int slot = 1; slot <= _MAX_PRN_GLO; ++slot) {
            int channel;
            if (m_decoder->glonassChannel(slot, channel))
                m_frequencies->setGlonassChannel(slot, channel);
        }
        const ppprt::StationInfo& station = m_decoder->station();
        if (!m_generator && station.hasPosition)
            m_generator.reset(new pppio::AugmentationGenerator(station.arp));
    }
    if (!m_generator) {
        ++m_figures.withoutPosition;
        return;
    }
    if (!m_assembler->assemble(m_pending, *m_epoch, *m_orbit))
        return;
    if (m_biases)
        m_biases->correctCodes(m_epoch->tGpsTime, *m_epoch, m_biasSatellites);
    const auto start = std::chrono::steady_clock::now();
    m_figures.correctionsMade += m_generator->generate(*m_epoch, *m_orbit, m_corrections.data());
    m_figures.generatorSeconds += std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

t_aug* Augmentation::before(const tagGPSTIME2& t, const tagGPSOBSONEEPO& userEpoch)
{
    for (;;) {
        if (!m_hasPending) {
            if (m_ended || !nextReferenceEpoch()) {
                m_ended = m_reader != nullptr || m_feed->ended();
                break;
            }
            m_hasPending = true;
        }
        if (pppio::secondsBetween(m_pending.gpsTime, t) > kSameEpoch)
            break;   // the reference is ahead: keep it for a later user epoch
        useReferenceEpoch();
        m_hasPending = false;
    }

    ++m_figures.userEpochs;
    int corrected = 0, systems = 0;
    for (int k = 0; k < 4; ++k)
        systems += userEpoch.epoHead.nSysSat[k] > 0 ? 1 : 0;
    const int n = userEpoch.nSatNum < MAXSATNUM ? userEpoch.nSatNum : MAXSATNUM;
    for (int i = 0; i < n; ++i) {
        const tagOBSONESAT& s = userEpoch.sat[i];
        if (s.bUsed != 1 || s.iprn < 1 || s.iprn > MAXSATNUM)
            continue;
        const t_aug& a = m_corrections[s.iprn - 1];
        if (a.valid != 1) {
            ++m_figures.missing;
            continue;
        }
        const double age = pppio::secondsBetween(t, tagGPSTIME2{a.week, a.sow});
        if (age >= kAgeLimit) {
            ++m_figures.droppedForAge;
            continue;
        }
        ++corrected;
        ++m_figures.ageCounts[age < 0.0 ? 0 : static_cast<int>(age)];
    }
    m_figures.correctedSatellites += corrected;
    m_tooFew = corrected <= systems + 3;
    return m_corrections.data();
}

void Augmentation::setCodeBiases(ppprt::SsrBiases* biases, const bool* corrected)
{
    m_biases = biases;
    m_biasSatellites = corrected;
}

void Augmentation::after(int code)
{
    // Mode ppprtk gives up before the single point positioning when too few
    // satellites have a correction.
    if (m_o.mode == kModePppRtk && code == kResultNoSolution && m_tooFew)
        ++m_figures.tooFewEpochs;
}

void Augmentation::report(RunResult& result) const
{
    result.aug = m_figures;
    if (m_figures.withoutPosition > 0)
        result.notes.push_back("the reference stream gave no position (1005/1006) for " +
                               std::to_string(m_figures.withoutPosition) + " epochs: give --aug-ref-xyz");
    if (m_o.mode != kModePppRtk)
        result.notes.push_back("mode " + ModeName(m_o.mode) +
                               ": the library does not correct the observations with the reference station "
                               "(only mode ppprtk does); the corrections are handed over and counted");
}

}  // namespace ppprun
