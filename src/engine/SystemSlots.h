// The per-system satellite slots of the table-like output files.
#ifndef PPPLIB_ENGINE_SYSTEMSLOTS_H
#define PPPLIB_ENGINE_SYSTEMSLOTS_H

#include <algorithm>
#include <vector>

#include "common/GNSSConst.h"

// Calls fn(system letter, prn) for prn 1..N of every system in `systems`,
// in the fixed order G (32), R (27), E (30), C (35).
template <typename Fn>
void ForEachSystemSlot(const std::vector<char>& systems, Fn fn)
{
    static const struct {
        char sys;
        int slots;
    } kSystems[] = {{'G', _MAX_PRN_GPS}, {'R', _MAX_PRN_GLO}, {'E', _MAX_PRN_GAL}, {'C', _MAX_PRN_BDS}};
    for (const auto& s : kSystems) {
        if (std::find(systems.begin(), systems.end(), s.sys) == systems.end())
            continue;
        for (int prn = 1; prn <= s.slots; ++prn)
            fn(s.sys, prn);
    }
}

#endif
