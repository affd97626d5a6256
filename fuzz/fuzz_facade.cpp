// The library facade t_ppplib::pppos over a run of epochs: real epochs of
// the bundled sample, damaged as the input bytes say. Per input: the
// configuration (mode 0-9, dynamics, systems, interval, restart, output
// files on or off), then per epoch the step in time (next, repeat, back,
// a jump of seconds to weeks), a few damages of the epoch and orbit
// records (extreme values in any observation, orbit or header real,
// satellites removed, added or renamed, counts beyond the entries or the
// record, odd calendar fields) and of the UPD and augmentation records the
// epoch comes with. Every write stays inside the records' arrays; what the
// library makes of the contents is the test. PPPLIB_FUZZ_VERBOSE=1 prints
// the result code of every epoch (to see what a seed reaches).
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include <unistd.h>

#include "FuzzInput.h"
#include "SampleEpochs.h"
#include "common/GNSSTimeConvert.h"
#include "engine/GNSSResult.h"
#include "engine/GNSSSPP.h"
#include "io/GpsTime.h"
#include "lib/Process.h"
#include "lib/ppplib.h"

namespace {

using fuzzing::ByteCursor;

constexpr double tagOBSONESAT::*kSatelliteReals[] = {
    &tagOBSONESAT::dL1, &tagOBSONESAT::dL2, &tagOBSONESAT::dP1, &tagOBSONESAT::dP2, &tagOBSONESAT::dD1,
    &tagOBSONESAT::dF1, &tagOBSONESAT::dF2, &tagOBSONESAT::dSatWeight, &tagOBSONESAT::dP3,
    &tagOBSONESAT::dMW, &tagOBSONESAT::dElev, &tagOBSONESAT::dPIF, &tagOBSONESAT::dLIF};
constexpr size_t kSatelliteRealCount = sizeof(kSatelliteReals) / sizeof(kSatelliteReals[0]);

constexpr double kTimeSteps[] = {1.0, 0.5, -30.0, 3600.0, -3600.0, 86400.0, -86400.0, 604800.0, 2.6e6, 1e9};

struct Records {
    tagGPSOBSONEEPO epoch;
    tagGMSP3REC orbit;
    tagSPPONERESULT result;
    t_upd upd[MAXSATNUM];
    t_aug aug[MAXSATNUM];
};

void setTime(tagGPSOBSONEEPO& epoch, const tagGPSTIME2& t)
{
    epoch.tGpsTime = t;
    CGNSSTimeConvert().GPSTime2ToCommonTime(&epoch.tGpsTime, &epoch.tTime);
}

int systemSlot(char system)
{
    const char* slot = std::strchr("GREC", system);
    return system && slot ? static_cast<int>(slot - "GREC") : -1;
}

// Takes entry `k` out, keeping the counts as a host that forgot nothing would.
void removeSatellite(tagGPSOBSONEEPO& epoch, int k)
{
    const int s = systemSlot(epoch.sat[k].cSys);
    if (s >= 0) {
        --epoch.epoHead.nSysSat[s];
        --epoch.epoHead.nUsedSys[s];
    }
    --epoch.epoHead.nUsedSat;
    std::memmove(&epoch.sat[k], &epoch.sat[k + 1], sizeof(tagOBSONESAT) * static_cast<size_t>(epoch.nSatNum - k - 1));
    --epoch.nSatNum;
}

int oddCount(ByteCursor& in)
{
    static const int kCounts[] = {-1, 0, 1, 3, 5, MAXSATNUM, MAXSATNUM + 1, 1000, -2147483647 - 1, 2147483647};
    return kCounts[in.below(sizeof(kCounts) / sizeof(kCounts[0]))];
}

void damageEpoch(ByteCursor& in, Records& r)
{
    tagGPSOBSONEEPO& epoch = r.epoch;
    for (unsigned damages = in.below(4); damages > 0; --damages) {
        // An entry to damage; only whole entries of the array, whatever the count says.
        const int entries = epoch.nSatNum >= 1 && epoch.nSatNum <= MAXSATNUM ? epoch.nSatNum : 1;
        const int k = static_cast<int>(in.below(static_cast<unsigned>(entries)));
        tagOBSONESAT& sat = epoch.sat[k];
        switch (in.below(10)) {
        case 0:
        case 1:
            sat.*kSatelliteReals[in.below(kSatelliteRealCount)] = in.extreme();
            break;
        case 2: {
            const int slot = sat.iprn >= 1 && sat.iprn <= MAXSATNUM ? sat.iprn - 1 : 0;
            tagSP3ONESAT& o = r.orbit.sat[slot];
            const unsigned field = in.below(8);
            (field < 3 ? o.dPos[field] : field < 6 ? o.dVel[field - 3] : field == 6 ? o.dClk : o.dClkDrift) =
                in.extreme();
            break;
        }
        case 3:
            if (epoch.nSatNum >= 1 && epoch.nSatNum <= MAXSATNUM)
                removeSatellite(epoch, k);
            break;
        case 4:   // a copy of an entry under another number, the counts raised or not
            if (epoch.nSatNum >= 1 && epoch.nSatNum < MAXSATNUM) {
                tagOBSONESAT& added = epoch.sat[epoch.nSatNum];
                added = sat;
                added.prn = static_cast<int32_t>(in.below(40));
                added.iprn = static_cast<int32_t>(in.below(130));
                ++epoch.nSatNum;
                if (in.byte() & 1) {
                    const int s = systemSlot(added.cSys);
                    if (s >= 0)
                        ++epoch.epoHead.nSysSat[s];
                }
            }
            break;
        case 5:
            sat.cSys = "GRECJSI\0?"[in.below(9)];
            sat.prn = static_cast<int32_t>(in.word()) - 100;
            sat.iprn = in.byte() & 1 ? sat.iprn : static_cast<int32_t>(in.word()) - 100;
            break;
        case 6: {
            int32_t* counts[] = {&epoch.nSatNum, &epoch.epoHead.nUsedSat, &epoch.epoHead.nSysSat[in.below(4)],
                                 &epoch.epoHead.nUsedSys[in.below(4)]};
            *counts[in.below(4)] = oddCount(in);
            break;
        }
        case 7:
            sat.bUsed = in.byte();
            sat.nSmoothState = static_cast<int32_t>(in.below(6)) - 1;
            sat.obsHead.lli1 = in.byte();
            sat.obsHead.lli2 = in.byte();
            break;
        case 8:
            (in.byte() & 1 ? epoch.epoHead.dRecClk : epoch.epoHead.dEpochValue) = in.extreme();
            break;
        default:   // calendar fields out of range, or a time of week that is not one
            switch (in.below(4)) {
            case 0: epoch.tTime.month = in.byte(); break;
            case 1: epoch.tTime.hour = in.byte(); break;
            case 2: epoch.tTime.second = in.extreme(); break;
            default: epoch.tGpsTime.sow = in.extreme();
            }
        }
    }
}

// UPDs and augmentation that a server would send for the epoch (small
// values, all valid, the epoch's time), then a few entries damaged.
void fillCorrections(ByteCursor& in, Records& r)
{
    const tagGPSTIME2 t = r.epoch.tGpsTime;
    for (int k = 0; k < MAXSATNUM; ++k) {
        t_upd& u = r.upd[k];
        u = t_upd{};
        u.valid = 1;
        u.week = t.week;
        u.sow = t.sow;
        u.wl = 0.01 * (k % 17) - 0.08;
        u.nl = 0.02 * (k % 11) - 0.1;
        u.wl_num = u.nl_num = 20;
        t_aug& a = r.aug[k];
        a = t_aug{};
        a.valid = 1;
        a.week = t.week;
        a.sow = t.sow;
        a.corr_l1 = a.corr_l2 = 0.001 * (k % 7);
        a.corr_p1 = a.corr_p2 = 0.01 * (k % 5);
    }
    for (unsigned damages = in.below(4); damages > 0; --damages) {
        const unsigned k = in.below(MAXSATNUM);
        switch (in.below(6)) {
        case 0: (in.byte() & 1 ? r.upd[k].wl : r.upd[k].nl) = in.extreme(); break;
        case 1: r.upd[k].valid = in.byte(); r.upd[k].wl_num = oddCount(in); break;
        case 2: r.upd[k].week = oddCount(in); r.upd[k].sow = in.extreme(); break;
        case 3: (in.byte() & 1 ? r.aug[k].corr_l1 : r.aug[k].corr_p2) = in.extreme(); break;
        case 4: r.aug[k].valid = in.byte(); break;
        default: r.aug[k].week = oddCount(in); r.aug[k].sow = in.extreme();
        }
    }
}

// A scratch result directory when the input asks for output files.
struct OutputDirectory {
    std::string path;
    explicit OutputDirectory(bool on)
    {
        if (!on)
            return;
        path = std::filesystem::temp_directory_path().string() + "/ppplib_fuzz_out_" + std::to_string(getpid());
        std::filesystem::create_directories(path);
    }
    ~OutputDirectory()
    {
        std::error_code ignored;
        if (!path.empty())
            std::filesystem::remove_all(path, ignored);
    }
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    static const char* const kSystems[] = {"GRE", "G", "GE", "RGE", "E", "GREC", "C", "GR"};
    static const double kIntervals[] = {30.0, 30.0, 1.0, 0.0, 86400.0, -30.0};
    static const bool verbose = std::getenv("PPPLIB_FUZZ_VERBOSE") != nullptr;
    const fuzzing::SampleEpochs& sample = fuzzing::SampleEpochs::get();
    ByteCursor in(data, size);

    const uint8_t options = in.byte();
    t_conf conf{};
    conf.mode = static_cast<int32_t>(in.below(10));
    conf.pos_mode = static_cast<int32_t>(in.below(5));
    conf.ppp_enable = options & 1 ? 0 : 1;
    conf.interval = kIntervals[in.below(6)];
    conf.reset_hours = options & 2 ? 0.05 : 0.0;
    conf.elev_mask = 7.0;
    conf.pppos_value = 10.8;
    conf.product_source = 3;
    conf.use_epoch_value = (options >> 2) & 1;
    const OutputDirectory output((options & 0x18) == 0x18);
    std::snprintf(conf.res_dir, sizeof(conf.res_dir), "%s", output.path.c_str());
    std::snprintf(conf.site_name, sizeof(conf.site_name), "ESBC");
    conf.out_debug = conf.out_amb = conf.out_res = !output.path.empty();
    const std::string systems = kSystems[in.below(8)];
    tagSITE site = sample.site;

    auto records = std::make_unique<Records>();
    tagOBSONEEPOONESTA obs{0, 0, &records->epoch, nullptr, &records->result, &records->orbit};
    {
        t_ppplib lib(std::vector<char>(systems.begin(), systems.end()), &site, &conf);
        lib.process()->spp->m_set.bSolidTide = (options >> 5) & 1;
        lib.process()->spp->m_set.bWindUp = (options >> 6) & 1;
        const int epochs = 20 + static_cast<int>(in.below(31));
        int k = 0;
        double shift = 0.0;   // s added to the sample's times
        for (int n = 0; n < epochs; ++n) {
            switch (in.below(8)) {
            case 5: break;                                                   // the same epoch again
            case 6: k = k >= 3 ? k - 1 - static_cast<int>(in.below(3)) : 0; break;   // back
            case 7: shift += kTimeSteps[in.below(sizeof(kTimeSteps) / sizeof(kTimeSteps[0]))]; break;
            default: k = (k + 1) % fuzzing::SampleEpochs::kEpochs;
            }
            records->epoch = sample.epochs[static_cast<size_t>(k)];
            records->orbit = sample.orbits[static_cast<size_t>(k)];
            if (shift != 0.0)
                setTime(records->epoch, pppio::shiftedTime(records->epoch.tGpsTime, shift));
            fillCorrections(in, *records);
            damageEpoch(in, *records);
            const uint8_t inputs = in.byte();
            const int code = lib.pppos(&obs, inputs & 1 ? nullptr : records->upd, inputs & 2 ? nullptr : records->aug);
            if (verbose)
                std::printf("%d%c", code, n + 1 < epochs ? ' ' : '\n');
        }
    }
    delete obs.smooth;
    return 0;
}
