// netsim run as a user runs it on the bundled sample products: the files read
// back, the satellites above the mask are those an independent geometry
// expects, the ionosphere-free code agrees with an independent range, and the
// single-difference wide lane minus the truth UPDs is an integer; a user
// placed at a chosen distance.
#include <gtest/gtest.h>

#include <cmath>
#include <fstream>
#include <map>
#include <sstream>
#include <string>

#include "apps/ProgramRun.h"
#include "common/GNSSConst.h"
#include "io/CarrierFrequencies.h"
#include "io/GpsTime.h"
#include "io/PreciseClock.h"
#include "io/PreciseOrbit.h"
#include "io/RinexObsReader.h"
#include "io/UpdFile.h"

namespace {

const std::string kSample = std::string(PPP_SOURCE_DIR) + "/data/sample/";
const std::string kSp3Before = kSample + "GRG0MGXFIN_20201760000_01D_15M_ORB.SP3.gz";
const std::string kSp3 = kSample + "GRG0MGXFIN_20201770000_01D_15M_ORB.SP3.gz";
const std::string kClk = kSample + "GRG0MGXFIN_20201770000_02H_30S_CLK.CLK.gz";
constexpr double kMaskDeg = 5.0;

// One quiet half-hour simulation of two stations, shared by the tests.
struct Simulation {
    std::string dir;
    program_test::Outcome outcome;
    pppio::PreciseOrbit orbit;
    pppio::PreciseClock clock;
    std::map<std::string, std::array<double, 3>> sites;
};

const Simulation& Simulated()
{
    static Simulation* s = [] {
        Simulation* sim = new Simulation;
        sim->dir = program_test::Scratch("netsim_out");
        sim->outcome = program_test::RunProgram(
            "netsim", "--sp3 " + kSp3Before + " --sp3 " + kSp3 + " --clk " + kClk + " --out " + sim->dir +
                          " --stations 2 --rovers 0 --baseline 12 --hours 0.5 --code-sigma 0.01 --phase-sigma 0.001 --slips 0"
                          " --gaps 0 --seed 7");
        sim->orbit.load(kSp3Before);
        sim->orbit.load(kSp3);
        sim->clock.load(kClk);
        sim->clock.setEdgeExtrapolation(1.0);
        std::ifstream in(sim->dir + "/stations.txt");
        for (std::string line; std::getline(in, line);) {
            std::istringstream fields(line);
            std::string name;
            std::array<double, 3> xyz;
            if (line[0] != '%' && fields >> name >> xyz[0] >> xyz[1] >> xyz[2])
                sim->sites[name] = xyz;
        }
        return sim;
    }();
    return *s;
}

// Geometry of a satellite seen from `r` at receive time t, computed here
// independently: light time with the Sagnac term, the relativistic clock term.
struct Seen {
    double range, clock, elevation;
};

bool Look(const Simulation& sim, int iprn, const tagGPSTIME2& t, const std::array<double, 3>& r, Seen& seen)
{
    double pos[3], vel[3], travel = 0.07, d[3];
    tagGPSTIME2 sent{};
    for (int k = 0; k < 3; ++k) {
        sent = pppio::shiftedTime(t, -travel);
        if (!sim.orbit.position(iprn, sent, pos, vel))
            return false;
        for (int i = 0; i < 3; ++i)
            d[i] = pos[i] - r[i];
        travel = std::sqrt(d[0] * d[0] + d[1] * d[1] + d[2] * d[2]) / _LIGHT_SPEED;
    }
    double clock;
    if (!sim.clock.clock(iprn, sent, clock))
        return false;
    const double rho = travel * _LIGHT_SPEED;
    seen.range = rho + _EARTH_ROTATE * (pos[0] * r[1] - pos[1] * r[0]) / _LIGHT_SPEED;
    seen.clock = clock - 2.0 * (pos[0] * vel[0] + pos[1] * vel[1] + pos[2] * vel[2]) / (_LIGHT_SPEED * _LIGHT_SPEED);
    const double norm = std::sqrt(r[0] * r[0] + r[1] * r[1] + r[2] * r[2]);
    seen.elevation = std::asin((d[0] * r[0] + d[1] * r[1] + d[2] * r[2]) / (rho * norm)) * 180.0 / _PI;
    return true;
}

double Obs(const pppio::RinexObsHeader& h, const pppio::ObsEpoch& e, int sat, const char* code)
{
    const int k = h.obsIndex(e.satellite(sat).system, code);
    return k < 0 ? 0.0 : e.obs(sat, k).value;
}

// Code and phase names of the two frequencies, as the host selects them.
void Signals(char system, const char* (&names)[4])
{
    static const char* const gps[4] = {"C1W", "C2W", "L1C", "L2W"};
    static const char* const glo[4] = {"C1P", "C2P", "L1P", "L2P"};
    static const char* const gal[4] = {"C1C", "C5Q", "L1C", "L5Q"};
    const char* const* chosen = system == 'G' ? gps : system == 'R' ? glo : gal;
    for (int k = 0; k < 4; ++k)
        names[k] = chosen[k];
}

TEST(Netsim, FilesReadBackWithTheSatellitesAboveTheMask)
{
    const Simulation& sim = Simulated();
    ASSERT_EQ(sim.outcome.exitCode, 0) << sim.outcome.err;
    ASSERT_EQ(sim.sites.size(), 3u);
    // --baseline 12: 12 km east of S001 on its parallel at its height, so at its Z.
    const std::array<double, 3>&s1 = sim.sites.at("S001"), &user = sim.sites.at("B012");
    EXPECT_NEAR(std::hypot(user[0] - s1[0], user[1] - s1[1], user[2] - s1[2]), 12000.0, 0.01);
    EXPECT_NEAR(user[2], s1[2], 0.01);
    EXPECT_GT(user[1], s1[1]);
    pppio::RinexObsReader reader(sim.dir + "/S001.rnx");
    EXPECT_EQ(reader.header().markerName, "S001");
    int channel = 0;
    EXPECT_TRUE(reader.header().glonassChannel(2, channel));
    EXPECT_EQ(channel, -4);
    pppio::ObsEpoch epoch;
    long epochs = 0, checked = 0;
    while (reader.next(epoch)) {
        ++epochs;
        std::map<int, bool> present;
        for (int sat = 0; sat < epoch.satelliteCount(); ++sat)
            present[pppio::PackedIndex(epoch.satellite(sat).system, epoch.satellite(sat).prn)] = true;
        for (int iprn = 1; iprn <= 89; ++iprn) {
            Seen seen;
            if (!Look(sim, iprn, epoch.gpsTime, sim.sites.at("S001"), seen) ||
                std::fabs(seen.elevation - kMaskDeg) < 0.5)
                continue;
            EXPECT_EQ(present.count(iprn) == 1, seen.elevation > kMaskDeg) << "satellite " << iprn;
            ++checked;
        }
    }
    EXPECT_EQ(epochs, 60);
    EXPECT_GT(checked, 60 * 20);
}

TEST(Netsim, IonosphereFreeCodeMatchesAnIndependentRange)
{
    const Simulation& sim = Simulated();
    ASSERT_EQ(sim.outcome.exitCode, 0);
    pppio::RinexObsReader reader(sim.dir + "/S002.rnx");
    const pppio::CarrierFrequencies frequencies(reader.header(), nullptr);
    pppio::ObsEpoch epoch;
    while (reader.next(epoch)) {
        // Code minus range per satellite above 15 degrees; the receiver clock
        // and the receiver code biases of a system are common.
        std::map<int, std::pair<char, double>> residual;
        std::map<char, std::pair<double, int>> sums;
        for (int sat = 0; sat < epoch.satelliteCount(); ++sat) {
            const pppio::ObsSatellite& id = epoch.satellite(sat);
            Seen seen;
            double f1, f2;
            if (!Look(sim, pppio::PackedIndex(id.system, id.prn), epoch.gpsTime, sim.sites.at("S002"), seen) ||
                seen.elevation < 15.0 || !frequencies.frequencies(id.system, id.prn, f1, f2))
                continue;
            const char* names[4];
            Signals(id.system, names);
            const double p1 = Obs(reader.header(), epoch, sat, names[0]);
            const double p2 = Obs(reader.header(), epoch, sat, names[1]);
            const double ionosphereFree = (f1 * f1 * p1 - f2 * f2 * p2) / (f1 * f1 - f2 * f2);
            const double troposphere = 2.45 / std::sin(seen.elevation * _PI / 180.0);
            const double r = ionosphereFree - (seen.range - _LIGHT_SPEED * seen.clock + troposphere);
            residual[sat] = {id.system, r};
            sums[id.system].first += r;
            sums[id.system].second += 1;
        }
        ASSERT_GE(residual.size(), 8u);
        for (const auto& r : residual) {
            const std::pair<double, int>& sum = sums[r.second.first];
            EXPECT_NEAR(r.second.second, sum.first / sum.second, 0.5) << "satellite " << r.first;
        }
    }
}

TEST(Netsim, SingleDifferenceWideLaneMinusTruthUpdIsAnInteger)
{
    const Simulation& sim = Simulated();
    ASSERT_EQ(sim.outcome.exitCode, 0);
    const pppio::UpdProduct upd = pppio::UpdProduct::read(sim.dir + "/truth.upd");
    std::map<int, double> wideLane;
    for (const pppio::UpdValue& v : upd.wideLane)
        wideLane[v.iprn] = v.value;
    pppio::RinexObsReader reader(sim.dir + "/S001.rnx");
    const pppio::CarrierFrequencies frequencies(reader.header(), nullptr);
    pppio::ObsEpoch epoch;
    long pairs = 0, flippedOff = 0;
    auto fraction = [](double x) { return x - std::floor(x + 0.5); };
    while (reader.next(epoch)) {
        std::map<char, std::pair<int, double>> reference;   // per system: packed index, wide lane
        for (int sat = 0; sat < epoch.satelliteCount(); ++sat) {
            const pppio::ObsSatellite& id = epoch.satellite(sat);
            const int iprn = pppio::PackedIndex(id.system, id.prn);
            double f1, f2;
            Seen seen;
            if (id.system == 'R' || !frequencies.frequencies(id.system, id.prn, f1, f2) ||
                !Look(sim, iprn, epoch.gpsTime, sim.sites.at("S001"), seen) || seen.elevation < 20.0)
                continue;
            const char* names[4];
            Signals(id.system, names);
            const pppio::RinexObsHeader& h = reader.header();
            const double lambdaW = _LIGHT_SPEED / (f1 - f2);
            const double mw = lambdaW * (Obs(h, epoch, sat, names[2]) - Obs(h, epoch, sat, names[3])) -
                              (f1 * Obs(h, epoch, sat, names[0]) + f2 * Obs(h, epoch, sat, names[1])) / (f1 + f2);
            const double wl = -mw / lambdaW;
            if (!reference.count(id.system)) {
                reference[id.system] = {iprn, wl};
                continue;
            }
            const double sd = wl - reference[id.system].second;
            const double dW = wideLane.at(iprn) - wideLane.at(reference[id.system].first);
            EXPECT_LT(std::fabs(fraction(sd - dW)), 0.1) << "satellite " << iprn;
            flippedOff += std::fabs(fraction(sd + dW)) > 0.1 ? 1 : 0;
            ++pairs;
        }
    }
    EXPECT_GT(pairs, 300);
    EXPECT_GT(flippedOff, pairs / 2);
}

}  // namespace
