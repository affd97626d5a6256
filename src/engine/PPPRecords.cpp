#include "engine/PPPRecords.h"

#include <cmath>

#include "common/gnsscmn.h"

bool PeriodicRestartDue(const t_conf& conf, double secondsOfWeek)
{
    if (conf.reset_hours == 0.0 || conf.mode == kModeUpdExport || conf.mode == kModeArAug)
        return false;
    const int period = Round(std::fabs(conf.reset_hours) * 3600.0);
    return period > 0 && static_cast<int>(secondsOfWeek) % period == 0;
}

t_aug::t_aug()
    : valid(0), week(0), sow(0.0), reserved{}, corr_l1(0.0), corr_l2(0.0), reserved2(0.0), corr_p1(0.0),
      corr_p2(0.0), reserved3(0.0)
{
}

t_input_upd::t_input_upd()
    : valid(0), sys(0), prn(0), iprn(0), lock(0), param(0.0), mw(9999.99), amb(9999.99), mw_sig(9999.99),
      amb_sig(9999.99)
{
}
