#include "StreamRun.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <csignal>
#include <cstring>
#include <ctime>
#include <thread>
#include <vector>

#include "Augmentation.h"
#include "Run.h"
#include "RunSetup.h"
#include "common/GNSSConst.h"
#include "common/GNSSCoordConvert.h"
#include "io/EpochAssembler.h"
#include "io/GpsTime.h"
#include "io/ReadError.h"
#include "io/SatelliteId.h"
#include "rt/MsmEpochBuilder.h"
#include "rt/NmeaGga.h"
#include "rt/RtcmDecoder.h"
#include "rt/RtcmFeed.h"
#include "rt/SsrBiases.h"
#include "rt/SsrCorrections.h"

namespace ppprun {

namespace {

using Clock = std::chrono::steady_clock;

// Set by SIGINT or SIGTERM: a live run ends at the next read, with its
// summary and every file written so far.
volatile std::sig_atomic_t g_stopRequested = 0;

extern "C" void RequestStop(int)
{
    g_stopRequested = 1;
}

// Installs the stop handler for the lifetime of a run.
class StopOnSignal {
public:
    StopOnSignal()
    {
        g_stopRequested = 0;
        m_int = std::signal(SIGINT, RequestStop);
        m_term = std::signal(SIGTERM, RequestStop);
    }
    ~StopOnSignal()
    {
        std::signal(SIGINT, m_int);
        std::signal(SIGTERM, m_term);
    }
    StopOnSignal(const StopOnSignal&) = delete;
    StopOnSignal& operator=(const StopOnSignal&) = delete;

private:
    void (*m_int)(int);
    void (*m_term)(int);
};

constexpr size_t kProbeBytes = 4 << 20;   // how far a recording is searched for its date
constexpr int kObservationWaitMs = 200;

bool IsFile(const std::string& source)
{
    return source.find("://") == std::string::npos || source.compare(0, 7, "file://") == 0;
}

// Network mounts that want the user's position (virtual reference stations)
// get a GGA of the a-priori coordinates.
ppprt::SourceOptions SourceSettings(const Options& o)
{
    ppprt::SourceOptions settings;
    if (o.hasApriori) {
        tagCRDCARTESIAN xyz{o.apriori[0], o.apriori[1], o.apriori[2]};
        tagCRDGEODETIC blh;
        CGNSSCoordConvert().CartesianToGeodetic(&xyz, &blh, _WGS84_ELLIPSE_A, _WGS84_ELLIPSE_FLAT);
        settings.gga = ppprt::formatGga(0.0, blh.lat * _RAD2DEG, blh.lon * _RAD2DEG, blh.height);
    }
    return settings;
}

std::unique_ptr<ppprt::StreamSource> Open(const std::string& source, const ppprt::SourceOptions& settings = {})
{
    try {
        return ppprt::openSource(source, settings);
    } catch (const ppprt::SourceError& e) {
        throw InputError(e.what());
    }
}

// The date of a recording from its first ephemeris; the computer's clock
// for live sources or recordings without one.
tagGPSTIME2 StartTime(const Options& o, RunResult& result, bool& tentative)
{
    tentative = false;
    if (o.date[0] != 0)
        return pppio::gpsTimeFromCalendar(o.date[0], o.date[1], o.date[2], 12, 0, 0.0);
    for (const std::string* source : {&o.rtcmCorr, &o.rtcm}) {
        if (source->empty() || !IsFile(*source))
            continue;
        tagGPSTIME2 t;
        if (ppprt::probeStreamTime(*Open(*source), kProbeBytes, t))
            return t;
    }
    const double unixSeconds = static_cast<double>(std::time(nullptr));
    const double gpsSeconds = unixSeconds - 315964800.0;   // 1980-01-06
    tagGPSTIME2 now{static_cast<int>(gpsSeconds / 604800.0), 0.0};
    now.sow = gpsSeconds - now.week * 604800.0;
    now = pppio::shiftedTime(now, pppio::leapSecondsAt(now));
    if (IsFile(o.rtcm))
        result.notes.push_back("no GPS or BeiDou ephemeris in the recording's first 4 MB: its week is taken "
                               "from the computer's clock");
    tentative = true;   // a recording served by a caster corrects it with its first ephemeris
    return now;
}

double Percentile(std::vector<double>& values, double fraction)
{
    const size_t k = std::min(values.size() - 1, static_cast<size_t>(fraction * static_cast<double>(values.size())));
    std::nth_element(values.begin(), values.begin() + static_cast<long>(k), values.end());
    return values[k];
}

// GGA of a solution: quality 1 single point, 5 float, 4 fixed.
void WriteNmea(std::FILE* out, const tagGPSTIME2& t, const tagSPPONERESULT& solution, int code)
{
    tagCRDCARTESIAN xyz{solution.dPos[0], solution.dPos[1], solution.dPos[2]};
    tagCRDGEODETIC blh;
    CGNSSCoordConvert().CartesianToGeodetic(&xyz, &blh, _WGS84_ELLIPSE_A, _WGS84_ELLIPSE_FLAT);
    const double utc = std::fmod(t.sow - pppio::leapSecondsAt(t), 86400.0);
    const int quality = code == kResultFixed ? 4 : code >= kResultFloat ? 5 : 1;
    const std::string line = ppprt::formatGga(utc, blh.lat * _RAD2DEG, blh.lon * _RAD2DEG, blh.height, quality,
                                              std::min(99, static_cast<int>(solution.nSatNum)));
    std::fputs(line.c_str(), out);
    std::fflush(out);
}

class StreamRunner {
public:
    StreamRunner(const Options& o, RunResult& result);
    ~StreamRunner();
    void run();

private:
    void onEpoch(const pppio::ObsEpoch& epoch, Clock::time_point arrival);
    void process(const pppio::ObsEpoch& epoch, Clock::time_point arrival);
    void startSite(double interval);
    void pumpCorrections(const tagGPSTIME2& upTo);
    void tallySsr(const pppio::ObsEpoch& epoch);
    void pace(const tagGPSTIME2& t);
    void finish();

    const Options& m_o;
    RunResult& m_result;
    Products m_products;
    ppprt::SsrCorrections m_ssr;
    ppprt::MsmEpochBuilder m_builder;
    ppprt::RtcmDecoder m_decoder;
    ppprt::SsrSatelliteStates m_ssrStates;
    ppprt::SsrBiases m_biases;
    bool m_useSsr;
    bool m_arFromStream;
    pppio::RinexObsHeader m_header;
    std::unique_ptr<pppio::OrbitRecordBuilder> m_orbits;
    std::unique_ptr<pppio::CarrierFrequencies> m_frequencies;
    std::unique_ptr<pppio::EpochAssembler> m_assembler;
    std::unique_ptr<Augmentation> m_augmentation;
    std::unique_ptr<ppprt::RtcmFeed> m_obs;
    std::unique_ptr<ppprt::RtcmFeed> m_corr;
    bool m_replayCorrections;
    bool m_corrEnded = false;            // the correction stream ended (or gave up)
    tagGPSTIME2 m_corrEndedAt{0, 0.0};   // at the observation epoch being processed then
    pppio::SiteReport m_siteReport;
    tagSITE m_site{};
    std::unique_ptr<SiteRun> m_run;
    pppio::ObsEpoch m_first;           // held until the second epoch gives the interval
    Clock::time_point m_firstArrival;
    bool m_haveFirst = false;
    tagGPSTIME2 m_lastTime{0, 0.0};
    std::vector<double> m_latencies;
    bool m_corrected[MAXSATNUM] = {};   // satellites of the epoch on SSR orbits and clocks
    std::FILE* m_nmea = nullptr;
    Clock::time_point m_paceStart;
    tagGPSTIME2 m_paceOrigin{0, 0.0};
};

StreamRunner::StreamRunner(const Options& o, RunResult& result)
    : m_o(o), m_result(result), m_products(o, result), m_decoder(m_products.broadcast, m_ssr, m_builder),
      m_ssrStates(m_products.broadcast, m_ssr), m_biases(m_ssr), m_useSsr(o.ssr && o.sp3.empty()),
      m_arFromStream(ResolvesAmbiguities(o.mode) && o.upd.empty() && o.bias.empty()),
      m_header(m_builder.header())
{
    m_obs.reset(new ppprt::RtcmFeed(Open(o.rtcm, SourceSettings(o))));
    if (!o.rtcmCorr.empty())
        m_corr.reset(new ppprt::RtcmFeed(Open(o.rtcmCorr, SourceSettings(o))));
    m_replayCorrections = m_corr && IsFile(o.rtcmCorr);
    bool tentative = false;
    const tagGPSTIME2 start = StartTime(o, result, tentative);
    m_decoder.setReference(start, tentative);

    m_ssrStates.setBroadcastFallback(o.broadcastFallback);
    pppio::ProductSources sources = m_products.sources(o);
    if (o.sp3.empty())
        sources.broadcast = m_useSsr ? static_cast<const pppio::SatelliteStateSource*>(&m_ssrStates)
                                     : &m_products.broadcast;
    m_orbits.reset(new pppio::OrbitRecordBuilder(sources, o.satAntenna));
    m_header.markerName = o.site.empty() ? "RTCM" : o.site;
    m_frequencies.reset(new pppio::CarrierFrequencies(m_header, &m_products.broadcast));
    m_assembler.reset(new pppio::EpochAssembler(m_header, *m_frequencies, *m_orbits, o.systems));
    if (o.augmented())
        m_augmentation.reset(new Augmentation(o, *m_orbits, m_products, m_decoder.reference()));
    if (m_augmentation && m_useSsr)
        m_augmentation->setCodeBiases(&m_biases, m_corrected);

    if (o.nmea == "-")
        m_nmea = stdout;
    else if (!o.nmea.empty() && !(m_nmea = std::fopen(o.nmea.c_str(), "w")))
        throw InputError("cannot write " + o.nmea);
    m_latencies.reserve(1 << 16);
}

StreamRunner::~StreamRunner()
{
    if (m_nmea && m_nmea != stdout)
        std::fclose(m_nmea);
}

// Recorded corrections are applied once the observations reach their
// epoch; a live stream's are taken as they come.
void StreamRunner::pumpCorrections(const tagGPSTIME2& upTo)
{
    if (!m_corr)
        return;
    m_decoder.holdCorrections(m_replayCorrections);
    ppprt::RtcmFrame frame;
    for (;;) {
        if (m_decoder.hasHeldCorrection()) {
            if (pppio::secondsBetween(m_decoder.heldCorrectionTime(), upTo) > 0.0)
                break;
            m_decoder.applyHeldCorrection();
        }
        const ppprt::FeedStatus status = m_corr->next(frame, 0);
        if (status != ppprt::FeedStatus::kFrame) {
            if (status != ppprt::FeedStatus::kWaiting && !m_corrEnded) {
                m_corrEnded = true;
                m_corrEndedAt = upTo;
                if (status == ppprt::FeedStatus::kError)
                    m_result.notes.push_back("corrections: " + m_corr->message());
            }
            break;
        }
        m_decoder.handle(frame);
    }
    m_decoder.holdCorrections(false);
}

void StreamRunner::startSite(double interval)
{
    // What the stream said of the station so far: the antenna for its
    // calibration and height, the position as the a-priori one's start.
    const ppprt::StationInfo& station = m_decoder.station();
    if (station.hasPosition)
        std::memcpy(m_header.approxPosition, station.arp, sizeof(station.arp));
    if (station.hasHeight)
        m_header.antennaDeltaH = station.antennaHeight;
    if (station.hasAntenna)
        m_header.antennaType = station.antennaDescriptor;
    if (station.hasReceiver)
        m_header.receiverType = station.receiverType;
    m_site = pppio::BuildSite(m_header, MakeSiteRequest(m_o, m_products, "RTCM"), m_first.gpsTime, m_siteReport);
    NoteSite(m_o, m_products, m_siteReport, m_first.gpsTime, m_result);
    m_result.site = m_siteReport.name;
    m_result.coordinates = m_siteReport.coordinates;
    if (m_o.posMode == 1 && !m_siteReport.coordinatesKnown)
        throw InputError("--dynamics fixed needs the site's coordinates (--apriori, or --sinex with the site)");
    m_run.reset(new SiteRun(m_o, m_site, m_siteReport, interval, m_products, m_result));
    m_run->openOutputs(&m_first.gpsTime, nullptr);
}

void StreamRunner::onEpoch(const pppio::ObsEpoch& epoch, Clock::time_point arrival)
{
    if (m_run) {
        process(epoch, arrival);
        return;
    }
    if (!m_haveFirst) {
        m_first = epoch;
        m_firstArrival = arrival;
        m_haveFirst = true;
        return;
    }
    startSite(pppio::secondsBetween(epoch.gpsTime, m_first.gpsTime));
    process(m_first, m_firstArrival);
    process(epoch, arrival);
}

void StreamRunner::tallySsr(const pppio::ObsEpoch& epoch)
{
    for (int k = 0; k < epoch.satelliteCount(); ++k) {
        const pppio::ObsSatellite& sat = epoch.satellite(k);
        const int iprn = pppio::packedIndex(sat.system, sat.prn);
        if (iprn == 0 || m_o.systems.find(sat.system) == std::string::npos)
            continue;
        pppio::SatelliteState state;
        const ppprt::SsrOutcome outcome = m_ssrStates.evaluate(iprn, epoch.gpsTime, state);
        m_corrected[iprn - 1] = outcome == ppprt::SsrOutcome::kCorrected;
        ++m_result.stream.ssrOutcomes[ppprt::describe(outcome)];
    }
}

void StreamRunner::pace(const tagGPSTIME2& t)
{
    if (!(m_o.replaySpeed > 0.0))
        return;
    if (m_paceOrigin.week == 0) {
        m_paceOrigin = t;
        m_paceStart = Clock::now();
        return;
    }
    const double due = pppio::secondsBetween(t, m_paceOrigin) / m_o.replaySpeed;
    std::this_thread::sleep_until(m_paceStart + std::chrono::duration_cast<Clock::duration>(
                                                    std::chrono::duration<double>(due)));
}

void StreamRunner::process(const pppio::ObsEpoch& epoch, Clock::time_point arrival)
{
    const tagGPSTIME2 t = epoch.gpsTime;
    pumpCorrections(t);
    for (int slot = 1; slot <= _MAX_PRN_GLO; ++slot) {
        int channel;
        if (m_decoder.glonassChannel(slot, channel))
            m_frequencies->setGlonassChannel(slot, channel);
    }
    if (m_useSsr)
        tallySsr(epoch);
    if (!m_assembler->assemble(epoch, m_run->epoch(), m_run->orbit()))
        return;
    t_upd* upds = nullptr;
    if (m_useSsr) {
        m_biases.correctCodes(t, m_run->epoch(), m_corrected);
        if (m_arFromStream)
            upds = m_biases.fillUpds(t, m_run->epoch());
    }
    if (!m_arFromStream)
        upds = m_run->ambiguities().upds(t, m_run->epoch());
    t_aug* corrections = m_augmentation ? m_augmentation->before(t, m_run->epoch()) : nullptr;
    const int code = m_run->process(t, upds, corrections);
    if (m_augmentation)
        m_augmentation->after(code);
    m_latencies.push_back(std::chrono::duration<double, std::milli>(Clock::now() - arrival).count());
    m_lastTime = t;
    if (m_nmea && code >= kResultSpp)
        WriteNmea(m_nmea, t, m_run->solution(), code);
    pace(t);
}

void StreamRunner::run()
{
    ppprt::RtcmFrame frame;
    while (!g_stopRequested && !(m_o.maxEpochs > 0 && m_result.epochs >= m_o.maxEpochs)) {
        const ppprt::FeedStatus status = m_obs->next(frame, kObservationWaitMs);
        if (status == ppprt::FeedStatus::kWaiting) {
            pumpCorrections(m_decoder.reference());
            continue;
        }
        if (status != ppprt::FeedStatus::kFrame) {
            if (status == ppprt::FeedStatus::kError && m_result.epochs == 0 && !m_haveFirst)
                throw InputError(m_obs->message());   // refused or unreachable: nothing to keep
            if (status == ppprt::FeedStatus::kError)
                m_result.notes.push_back("observations: " + m_obs->message());
            break;
        }
        if (m_decoder.handle(frame) == ppprt::FrameKind::kEpochComplete)
            onEpoch(m_builder.epoch(), Clock::now());
    }
    if (m_obs->ended() && m_obs->framer().pending() > 0)
        m_result.notes.push_back("the observation stream ends inside a frame (" +
                                 std::to_string(m_obs->framer().pending()) + " bytes dropped)");
    if (m_builder.flush())
        onEpoch(m_builder.epoch(), Clock::now());
    if (m_haveFirst && !m_run) {   // a single epoch
        startSite(1.0);
        process(m_first, m_firstArrival);
    }
    finish();
}

void StreamRunner::finish()
{
    StreamFigures& s = m_result.stream;
    s.active = true;
    s.messages = m_decoder.counts().messages;
    s.skipped = m_decoder.counts().skipped;
    s.ephemerides = m_decoder.counts().ephemeridesNew;
    for (const ppprt::RtcmFeed* feed : {m_obs.get(), m_corr.get()})
        if (feed) {
            s.badFrames += feed->framer().counts().badCrc;
            s.skippedBytes += feed->framer().counts().skippedBytes;
        }
    s.codeBiasesApplied = m_biases.counts().codeCorrected;
    s.updsFromPhaseBiases = m_biases.counts().updsGiven;
    if (!m_latencies.empty()) {
        s.hasLatency = true;
        s.latencyMaxMs = *std::max_element(m_latencies.begin(), m_latencies.end());
        s.latencyP99Ms = Percentile(m_latencies, 0.99);
        s.latencyMedianMs = Percentile(m_latencies, 0.5);
    }
    if (m_corrEnded && pppio::secondsBetween(m_lastTime, m_corrEndedAt) > 0.0)
        m_result.notes.push_back("the correction stream ended at the epoch of " + pppio::calendarText(m_corrEndedAt) +
                                 ", before the observations");
    if (m_useSsr && m_ssr.counts().messages == 0)
        m_result.notes.push_back("the streams carry no SSR corrections: broadcast orbits and clocks are used");
    if (m_run)
        m_run->finish(m_lastTime);
    AddAssembly(m_o, *m_assembler, m_result);
    if (m_augmentation)
        m_augmentation->report(m_result);
}

}  // namespace

RunResult RunStream(const Options& o)
{
    const auto start = Clock::now();
    RunResult result = StartRun(o, ppprt::withoutPassword(o.rtcm));
    {
        const StopOnSignal stopOnSignal;
        StreamRunner runner(o, result);
        runner.run();
        if (g_stopRequested)
            result.notes.push_back("stopped by a signal; the epochs so far are processed and written");
    }
    result.wallSeconds = std::chrono::duration<double>(Clock::now() - start).count();
    return result;
}

}  // namespace ppprun
