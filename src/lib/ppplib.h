// The library's entry: one t_ppplib per receiver site, fed one epoch at a
// time through pppos, which returns how far the processing got. Besides the
// epochs a host hands the facade the PPP model's switches and reads back the
// figures of the last epoch that the solution record does not carry:
//
//   t_conf conf{};                       // mode, interval, directories...; outlives the facade
//   conf.mode = kModeAr;
//   t_ppplib library(systems, &site, &conf);
//   t_model_settings model;              // all corrections off, ratio 2.0
//   model.solidTide = model.windUp = model.satelliteAntenna = true;
//   model.receiverAntenna = true;        // the site's offsets, and variations when loaded:
//   pppio::LoadReceiverPcv(calibration, library.errorCorrection());
//   library.setModelSettings(model);
//   for each epoch:
//       const int code = library.pppos(&station, upds, nullptr);
//       if (code == kResultFixed) ...    // station.result holds the fixed position
//       double q[3][3];
//       if (code >= kResultFloat && library.positionCofactors(q)) ...
//       library.wideLane(iprn).fixed ...
//
// Result codes of pppos:
//   -5 too few satellites (first configured system absent, or fewer than
//      number of configured systems + 3)
//   -4 t_conf.interval is 0
//   -3 empty epoch (year 0), or a record that cannot be an epoch (counts
//      beyond the record's capacity, calendar or GPS time out of range)
//   -2 an output file could not be (re)opened
//   -1 preprocessing failed       0 no solution this epoch
//    1 SPP only                   2 float PPP (or ambiguity resolution did not fix)
//    3 float PPP and UPD export   4 fixed PPP-AR   6 PPP-RTK
//    a mode above 7 returns its own number when its PPP-RTK stage succeeds
// The modes (t_conf.mode) are named in engine/PPPRecords.h.
#ifndef PPPLIB_LIB_PPPLIB_H
#define PPPLIB_LIB_PPPLIB_H

#include <vector>

#include "engine/PPPRecords.h"

class t_Process;
class CGNSSErrorCorrection;

// The result codes of pppos above, by name; pppos returns them as int.
enum : int {
    kResultTooFewSatellites = -5,
    kResultNoInterval = -4,
    kResultEmptyEpoch = -3,
    kResultFileError = -2,
    kResultPreprocessingFailed = -1,
    kResultNoSolution = 0,
    kResultSpp = 1,
    kResultFloat = 2,
    kResultUpdExport = 3,
    kResultFixed = 4,
    kResultPppRtk = 6,
};

// The PPP model's physical corrections and the ambiguity-resolution settings
// that a host chooses; the defaults are those of a new facade.
struct t_model_settings {
    bool solidTide = false;          // solid earth tide
    bool windUp = false;             // phase wind-up
    bool receiverAntenna = false;    // the site's antenna offsets and the variations loaded into errorCorrection()
    bool satelliteAntenna = false;   // the satellite antennas of the orbit record
    bool holdAmbiguities = false;    // hold fixed ambiguities from epoch to epoch
    double ratioThreshold = 2.0;     // ratio test of the narrow-lane fix
};

// One satellite's wide lane after the last epoch's ambiguity resolution.
struct t_wide_lane_state {
    bool inFilter = false;     // its ambiguity is a state of the filter
    bool reference = false;    // it is the reference satellite of its system
    double elevation = 0.0;    // rad
    bool fixed = false;        // its wide-lane integer was found
};

class t_ppplib {
public:
    // Normalises the first five weights of conf->weight in place (divides
    // them by the first); a t_conf must therefore serve one facade only.
    t_ppplib(std::vector<char> systems, tagSITE* site, t_conf* conf);
    ~t_ppplib();
    t_ppplib(const t_ppplib&) = delete;
    t_ppplib& operator=(const t_ppplib&) = delete;

    // Satellites whose identity, observations or orbit are not usable numbers
    // are taken out of the epoch first (see lib/EpochScreening.h).
    int pppos(tagOBSONEEPOONESTA* obs, t_upd* upd, t_aug* aug);
    int judge(tagOBSONEEPOONESTA* obs);
    bool reopen(tagOBSONEEPOONESTA* obs);

    // Settings, before the first epoch or between epochs.
    void setModelSettings(const t_model_settings& settings);
    t_model_settings modelSettings() const;
    // The error models, to load the receiver antenna's phase-centre variations into.
    CGNSSErrorCorrection& errorCorrection();

    // After an epoch. The filter's cofactors of X, Y, Z (static dynamics: the
    // carried coordinates; kinematic and dynamic: the epoch's); false when
    // the filter holds none (single point positioning, before the first PPP
    // epoch, other dynamics).
    bool positionCofactors(double q[3][3]) const;
    // Satellite iprn (1..124); a default record outside that range.
    t_wide_lane_state wideLane(int iprn) const;

    // The driver, for the library's own tests; hosts use the calls above.
    t_Process* process() { return m_process; }

private:
    std::vector<char> m_systems;   // the configured systems; never changed
    t_conf* m_conf;
    t_Process* m_process;
};

#endif
