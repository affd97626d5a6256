#include "LibFixtures.h"

#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <stdexcept>

#include "common/GNSSConst.h"

namespace libtest {

std::string MakeEmptyFile(const std::string& path)
{
    FILE* f = std::fopen(path.c_str(), "wb");
    if (!f)
        throw std::runtime_error("cannot create " + path);
    std::fclose(f);
    return path;
}

bool Exists(const std::string& path)
{
    return access(path.c_str(), F_OK) == 0;
}

int CountLines(const std::string& path)
{
    const std::string text = ReadFile(path);
    return static_cast<int>(std::count(text.begin(), text.end(), '\n'));
}

int OpenDescriptorCount()
{
    // The directory stream's own descriptor is counted too, the same each time.
    return static_cast<int>(ListDir("/proc/self/fd").size());
}

Host::Host(std::vector<char> observed_systems) : observed(std::make_unique<tagGPSOBSONEEPO>())
{
    *orbits = enginetest::Orbits();
    conf.ppp_enable = 1;
    conf.elev_mask = 7.0;
    conf.interval = 30.0;
    conf.product_source = 1;
    conf.pos_mode = 3;
    std::strcpy(conf.site_name, "ABCD");

    std::strcpy(site.name, "ESBC");
    site.crd = enginetest::kEsbc;
    CGNSSCoordConvert().CartesianToGeodetic(&site.crd, &site.blh, _WGS84_ELLIPSE_A, _WGS84_ELLIPSE_FLAT);
    std::strcpy(site.text_a, "ESBJERG");
    std::strcpy(site.text_b, "DNK");
    site.height_ref = 1.25;

    enginetest::Scenario scenario;
    scenario.systems = observed_systems;
    enginetest::BuildEpoch(scenario, observed.get());
    *epoch = *observed;
}

void Host::SetEpoch(int year, int month, int day, int hour, int minute, double second)
{
    *epoch = *observed;
    tagCOMMONTIME& t = epoch->tTime;
    t.year = static_cast<uint16_t>(year);
    t.month = static_cast<uint8_t>(month);
    t.day = static_cast<uint8_t>(day);
    t.hour = static_cast<uint8_t>(hour);
    t.minute = static_cast<uint8_t>(minute);
    t.second = second;
    // Through GPS time and back, so that 60 s or 60 min carry over.
    CGNSSTimeConvert convert;
    convert.GetGPSTime2FromCommonTime(&epoch->tGpsTime, &t);
    convert.GPSTime2ToCommonTime(&epoch->tGpsTime, &t);
}

void AddPhases(tagGPSOBSONEEPO* epoch, double ionoL1)
{
    for (int i = 0; i < epoch->nSatNum; ++i) {
        tagOBSONESAT& s = epoch->sat[i];
        const double gamma = (s.dF1 / s.dF2) * (s.dF1 / s.dF2);
        const double lambda1 = _LIGHT_SPEED / s.dF1, lambda2 = _LIGHT_SPEED / s.dF2;
        s.dL1 = (s.dP1 - 2.0 * ionoL1) / lambda1 + 1000.0 + i;
        s.dL2 = (s.dP2 - 2.0 * gamma * ionoL1) / lambda2 + 700.0 + 2 * i;
    }
}

std::vector<t_aug> FullAugmentation(const tagGPSTIME2& t)
{
    std::vector<t_aug> aug(MAXSATNUM);
    for (t_aug& e : aug) {
        e.valid = 1;
        e.week = t.week;
        e.sow = t.sow;
    }
    return aug;
}

}  // namespace libtest
