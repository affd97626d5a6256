// The library's entry: one t_ppplib per receiver site, fed one epoch at a
// time through pppos, which returns how far the processing got.
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
#ifndef PPPLIB_LIB_PPPLIB_H
#define PPPLIB_LIB_PPPLIB_H

#include <vector>

#include "engine/PPPRecords.h"

class t_Process;

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

    // The driver, for hosts that change the engine's settings.
    t_Process* process() { return m_process; }

private:
    std::vector<char> m_systems;   // the configured systems; never changed
    t_conf* m_conf;
    t_Process* m_process;
};

#endif
