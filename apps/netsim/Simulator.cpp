#include "Simulator.h"

#include <sys/stat.h>

#include <algorithm>
#include <cmath>
#include <stdexcept>

#include "Atmosphere.h"
#include "ObsFile.h"
#include "Random.h"
#include "common/GNSSCoordConvert.h"
#include "io/CarrierFrequencies.h"
#include "io/GpsTime.h"
#include "io/ObsEpoch.h"
#include "io/ObsRecordWriter.h"
#include "io/OrbitRecordBuilder.h"

namespace netsim {

namespace {

constexpr int kSystems = 3;   // receiver biases per system: G, R, E
constexpr uint32_t kSatelliteStream = 1000;
constexpr uint32_t kStationStream = 2000;
constexpr double kSlipElevation = 15.0 * _PI / 180.0;

int SystemSlot(char system)
{
    return system == 'G' ? 0 : system == 'R' ? 1 : 2;
}

int MaxPrn(char system)
{
    return system == 'G' ? _MAX_PRN_GPS : system == 'R' ? _MAX_PRN_GLO : _MAX_PRN_GAL;
}

tagCOMMONTIME Calendar(const tagGPSTIME2& t)
{
    tagGPSTIME2 copy = t;
    tagCOMMONTIME c;
    CGNSSTimeConvert().GPSTime2ToCommonTime(&copy, &c);
    return c;
}

// Whole-cycle continuation of the wind-up from the previous value of the satellite.
double ContinuedWindUp(double w, double previous)
{
    return w - std::round(w - previous);
}

}  // namespace

std::string Satellite::id() const
{
    char text[8];
    std::snprintf(text, sizeof text, "%c%02d", system, prn);
    return text;
}

struct Simulator::EpochContext {
    long index;
    tagGPSTIME2 time;       // receiver time tag
    tagCOMMONTIME calendar;
    tagCOMMONTIME2 calendar2;
    int doy;
    double seconds;         // since the start
    double secondsOfDay;
    tagCRDCARTESIAN sun;
};

struct Simulator::Geometry {
    tagCRDCARTESIAN satellite;   // Earth-fixed at transmission, not rotated
    double range;                // m, with the Earth's rotation during travel
    double satelliteClock;       // s, with the relativistic correction
    double azimuth, elevation;   // rad
};

struct Simulator::Station {
    struct Arc {
        long lastEpoch = -2;    // epoch index of the last observation
        double n[2] = {0.0, 0.0};
        double windUp = 0.0;    // cycles, continuous over the run
    };

    Site site;
    Random random;
    PhaseCodeBiases receiver[kSystems];
    WetDelay wet;
    double clock;                       // s, offset plus random walk
    std::vector<long> slipEpochs;       // sorted
    std::vector<std::pair<long, long>> gaps;   // [first, end) epoch indexes
    Arc arcs[MAXSATNUM];
    std::FILE* file = nullptr;
    std::FILE* trajectory = nullptr;
    pppio::ObsEpoch epoch;
    std::vector<std::pair<size_t, Geometry>> visible;   // (satellite, geometry), reused

    Station(const Site& s, uint32_t seed, uint32_t stream)
        : site(s), random(seed, stream), receiver{}, wet(random), clock(0.0)
    {
        for (PhaseCodeBiases& b : receiver)
            b = ReceiverBiases(random);
        clock = random.uniform(-5e-7, 5e-7);
    }
    ~Station()
    {
        if (file)
            std::fclose(file);
        if (trajectory)
            std::fclose(trajectory);
    }

    bool inGap(long k) const
    {
        for (const std::pair<long, long>& g : gaps)
            if (k >= g.first && k < g.second)
                return true;
        return false;
    }
};

Simulator::Simulator(const Options& options, const pppio::PreciseOrbit& orbit, const pppio::PreciseClock& clock,
                     const tagGPSTIME2& start)
    : m_options(options),
      m_orbit(orbit),
      m_clock(clock),
      m_start(start),
      m_epochs(static_cast<long>(std::floor(options.hours * 3600.0 / options.interval + 1e-9))),
      m_header(SimulatedHeader(options.systems)),
      m_sites(BuildNetwork(options.stations, options.rovers, options.kinematic, options.baselinesKm))
{
    const pppio::CarrierFrequencies frequencies(m_header, nullptr);
    for (char system : options.systems) {
        for (int prn = 1; prn <= MaxPrn(system); ++prn) {
            const int iprn = pppio::PackedIndex(system, prn);
            Satellite s{system, prn, iprn, {0.0, 0.0}, {}};
            if (iprn <= 0 || orbit.sampleCount(iprn) == 0 || clock.sampleCount(iprn) == 0 ||
                !frequencies.frequencies(system, prn, s.f[0], s.f[1]))
                continue;
            Random random(options.seed, kSatelliteStream + static_cast<uint32_t>(iprn));
            s.bias = SatelliteBiases(random, s.f[0], s.f[1]);
            m_satellites.push_back(s);
        }
    }

    const double days = options.hours / 24.0;
    for (size_t k = 0; k < m_sites.size(); ++k) {
        m_stations.push_back(std::unique_ptr<Station>(
            new Station(m_sites[k], options.seed, kStationStream + static_cast<uint32_t>(k))));
        Station& st = *m_stations.back();
        const long margin = 10;
        if (options.slipsPerDay > 0.0 && m_epochs > 4 * margin) {
            const long count = std::max(1L, std::lround(options.slipsPerDay * days));
            for (long n = 0; n < count; ++n)
                st.slipEpochs.push_back(st.random.integer(margin, static_cast<int>(m_epochs - margin)));
            std::sort(st.slipEpochs.begin(), st.slipEpochs.end());
        }
        const long gapCount = std::lround(options.gapsPerDay * days);
        for (long n = 0; n < gapCount && m_epochs > 8 * margin; ++n) {
            const long first = st.random.integer(2 * margin, static_cast<int>(m_epochs - 4 * margin));
            st.gaps.emplace_back(first, first + st.random.integer(4, 20));
        }
    }
}

Simulator::~Simulator() = default;

PhaseCodeBiases Simulator::satelliteBiases(const Satellite& s, const tagGPSTIME2& t) const
{
    return Drifted(s.bias, m_options.nlDriftPerHour, pppio::secondsBetween(t, m_start) / 3600.0);
}

bool Simulator::geometry(const Satellite& sat, const EpochContext& ctx, const Station& st, const double receiver[3],
                         Geometry& g) const
{
    // The signal arrives at the true time t - dt_r; light time iterated
    // with the satellite rotated by the Earth's turn during the travel.
    const tagGPSTIME2 arrival = pppio::shiftedTime(ctx.time, -st.clock);
    double travel = 0.075, position[3], velocity[3];
    tagGPSTIME2 transmit{};
    for (int iteration = 0; iteration < 4; ++iteration) {
        transmit = pppio::shiftedTime(arrival, -travel);
        if (!m_orbit.position(sat.iprn, transmit, position, velocity))
            return false;
        const double angle = _EARTH_ROTATE * travel;
        const double c = std::cos(angle), s = std::sin(angle);
        const double dx = c * position[0] + s * position[1] - receiver[0];
        const double dy = -s * position[0] + c * position[1] - receiver[1];
        const double dz = position[2] - receiver[2];
        g.range = std::sqrt(dx * dx + dy * dy + dz * dz);
        travel = g.range / _LIGHT_SPEED;
    }
    double clock = 0.0;
    if (!m_clock.clock(sat.iprn, transmit, clock))
        return false;
    g.satelliteClock = clock + pppio::OrbitRecordBuilder::RelativisticCorrection(position, velocity);
    g.satellite = {position[0], position[1], position[2]};
    return true;
}

void Simulator::simulateStation(Station& st, const EpochContext& ctx)
{
    st.clock += m_options.clockWalk * st.random.normal();
    if (st.inGap(ctx.index)) {
        if (ctx.index == 0 || !st.inGap(ctx.index - 1))
            for (const std::pair<long, long>& g : st.gaps)
                if (g.first == ctx.index)
                    m_slips.push_back({st.site.name, "", ctx.time, static_cast<int>(g.second - g.first), 0});
        return;
    }

    double marker[3];
    SitePosition(st.site, ctx.seconds, marker);
    tagCRDCARTESIAN rec{marker[0], marker[1], marker[2]};
    CGNSSCoordConvert convert;
    tagCRDGEODETIC blh;
    convert.CartesianToGeodetic(&rec, &blh, _WGS84_ELLIPSE_A, _WGS84_ELLIPSE_FLAT);
    if (st.trajectory)
        std::fprintf(st.trajectory, "%4d %9.1f %14.4f %14.4f %14.4f\n", ctx.time.week, ctx.time.sow, marker[0],
                     marker[1], marker[2]);

    // Solid tide and hydrostatic delay as the library computes them.
    long double tide[3] = {0.0L, 0.0L, 0.0L};
    m_model.GetSolidTide(ctx.calendar2, rec, tide);
    const double antenna[3] = {marker[0] + static_cast<double>(tide[0]), marker[1] + static_cast<double>(tide[1]),
                               marker[2] + static_cast<double>(tide[2])};
    const double h = blh.height;
    tagMETEODATA meteo{1013.25 * std::pow(1.0 - 2.26e-5 * h, 5.225), 18.0 - 0.0065 * h,
                       50.0 * std::exp(-0.0006396 * h)};
    double slant = 0.0, zhd = 0.0, zwd = 0.0;
    m_model.GetTropDelay(1, &blh, 0.0, &meteo, &slant, &zhd, &zwd);
    const double wetZenith = st.wet.at(ctx.seconds);

    st.visible.clear();
    for (size_t k = 0; k < m_satellites.size(); ++k) {
        Geometry g;
        if (!geometry(m_satellites[k], ctx, st, antenna, g))
            continue;
        tagCRDTOPOCENTRIC neu;
        tagCRDTOPOCENTRICPOLAR polar;
        convert.CartesianToTopocentric(&g.satellite, &neu, &rec, _WGS84_ELLIPSE_A, _WGS84_ELLIPSE_FLAT);
        convert.TopocentricToTopocentricPolar(&neu, &polar);
        if (polar.elevation < m_options.elevMask * _PI / 180.0)
            continue;
        g.azimuth = polar.azimuth;
        g.elevation = polar.elevation;
        st.visible.emplace_back(k, g);
    }

    // A slip jumps the ambiguities of one satellite that continues its arc,
    // well above the elevation masks of the processing.
    const bool slip = std::binary_search(st.slipEpochs.begin(), st.slipEpochs.end(), ctx.index);
    long slipSatellite = -1;
    if (slip && !st.visible.empty()) {
        const size_t pick = static_cast<size_t>(st.random.integer(0, static_cast<int>(st.visible.size()) - 1));
        for (size_t n = 0; n < st.visible.size() && slipSatellite < 0; ++n) {
            const std::pair<size_t, Geometry>& candidate = st.visible[(pick + n) % st.visible.size()];
            if (st.arcs[m_satellites[candidate.first].iprn - 1].lastEpoch == ctx.index - 1 &&
                candidate.second.elevation > kSlipElevation)
                slipSatellite = static_cast<long>(candidate.first);
        }
    }

    st.epoch.clear(m_header.maxTypeCount());
    st.epoch.time = ctx.calendar;
    st.epoch.gpsTime = ctx.time;
    st.epoch.flag = pppio::ObsEpoch::kOk;
    for (const std::pair<size_t, Geometry>& entry : st.visible) {
        const Satellite& sat = m_satellites[entry.first];
        const Geometry& g = entry.second;
        Station::Arc& arc = st.arcs[sat.iprn - 1];
        if (arc.lastEpoch != ctx.index - 1) {
            arc.n[0] = st.random.integer(-100000, 100000);
            arc.n[1] = st.random.integer(-100000, 100000);
        } else if (static_cast<long>(entry.first) == slipSatellite) {
            // The wide lane jumps by 4 to 8 cycles (3 m and more in the
            // Melbourne-Wuebbena combination) so that a slip detector can see it.
            const int d1 = st.random.integer(1, 8) * (st.random.uniform() < 0.5 ? -1 : 1);
            const int d2 = d1 - st.random.integer(4, 8) * (st.random.uniform() < 0.5 ? -1 : 1);
            arc.n[0] += d1;
            arc.n[1] += d2;
            m_slips.push_back({st.site.name, sat.id(), ctx.time, d1, d2});
        }
        arc.lastEpoch = ctx.index;

        double windUp = 0.0;
        m_model.PhaseWindUp(windUp, rec, g.satellite, ctx.sun);
        arc.windUp = ContinuedWindUp(windUp, arc.windUp);

        double mh = 0.0, mw = 0.0;
        m_model.GetGMF(ctx.doy, g.elevation, blh, &mh, &mw);
        const double tec = SlantTec(blh.lat, blh.lon, g.azimuth, g.elevation, ctx.secondsOfDay);
        const double common = g.range + _LIGHT_SPEED * (st.clock - g.satelliteClock) + zhd * mh + wetZenith * mw;
        const double sine = std::sin(g.elevation);
        const PhaseCodeBiases s = satelliteBiases(sat, ctx.time);
        const PhaseCodeBiases& r = st.receiver[SystemSlot(sat.system)];

        const pppio::SystemObsTypes& types = m_header.obsTypes(sat.system);
        pppio::ObsValue* row = st.epoch.addSatellite(sat.system, sat.prn);
        for (int t = 0; t < types.count(); ++t) {
            const SignalKind kind = KindOf(types.codes[static_cast<size_t>(t)]);
            const int i = kind.frequency;
            const double iono = IonosphericDelay(tec, sat.f[i]);
            double value;
            if (kind.phase) {
                const double lambda = _LIGHT_SPEED / sat.f[i];
                const double noise = m_options.phaseSigma / sine * st.random.normal();
                value = (common - iono + noise) / lambda + arc.n[i] + r.phase[i] - s.phase[i] + arc.windUp;
            } else {
                const double noise = m_options.codeSigma / sine * st.random.normal();
                value = common + iono + r.code[i] - s.code[i] + noise;
            }
            row[t] = pppio::ObsValue{value, 0, 0};
        }
    }
    m_observations += st.epoch.satelliteCount();
    if (st.epoch.satelliteCount() > 0)
        pppio::ObsRecordWriter(st.file).write(m_header, st.epoch);
}

void Simulator::run()
{
    const tagGPSTIME2 last = pppio::shiftedTime(m_start, (m_epochs - 1) * m_options.interval);
    Random positions(m_options.seed, 1);
    for (std::unique_ptr<Station>& station : m_stations) {
        Station& st = *station;
        const std::string path = m_options.outDir + "/" + st.site.name + ".rnx";
        st.file = std::fopen(path.c_str(), "w");
        if (!st.file)
            throw std::runtime_error("cannot write " + path);
        HeaderFields fields;
        fields.marker = st.site.name;
        for (int k = 0; k < 3; ++k)
            fields.approxPosition[k] = st.site.xyz[k] + 3.0 * positions.normal();
        fields.interval = m_options.interval;
        fields.first = Calendar(m_start);
        fields.last = Calendar(last);
        WriteHeader(st.file, m_header, fields);
        if (st.site.role == Role::kKinematic) {
            const std::string trajectory = m_options.outDir + "/" + st.site.name + "_trajectory.txt";
            st.trajectory = std::fopen(trajectory.c_str(), "w");
            if (!st.trajectory)
                throw std::runtime_error("cannot write " + trajectory);
            std::fprintf(st.trajectory, "%% week sow X Y Z (m, marker truth at the epoch)\n");
        }
    }

    CGNSSTimeConvert timeConvert;
    for (long k = 0; k < m_epochs; ++k) {
        EpochContext ctx;
        ctx.index = k;
        ctx.seconds = k * m_options.interval;
        ctx.time = pppio::shiftedTime(m_start, ctx.seconds);
        ctx.calendar = Calendar(ctx.time);
        timeConvert.CommonTimeToCommonTime2(&ctx.calendar, &ctx.calendar2);
        ctx.doy = timeConvert.GetDOY2FormYMD(ctx.calendar.year, ctx.calendar.month, ctx.calendar.day);
        ctx.secondsOfDay = std::fmod(ctx.time.sow, pppio::kSecondsPerDay);
        long double sun[3] = {0.0L, 0.0L, 0.0L};
        m_model.SUN(ctx.calendar2.year, ctx.calendar2.month, ctx.calendar2.day, ctx.calendar2.hour, sun);
        ctx.sun = {static_cast<double>(sun[0]), static_cast<double>(sun[1]), static_cast<double>(sun[2])};
        for (std::unique_ptr<Station>& station : m_stations)
            simulateStation(*station, ctx);
    }
    for (std::unique_ptr<Station>& station : m_stations) {
        const bool failed = std::ferror(station->file) != 0;
        const bool closeFailed = std::fclose(station->file) != 0;
        station->file = nullptr;
        if (failed || closeFailed)
            throw std::runtime_error("write error on the file of " + station->site.name);
    }
}

}  // namespace netsim
