// Opening of the day's result files and the hour's COST-716 zenith delay
// file, with their names, directories and header lines.
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <cstring>

#include "engine/GNSSSPP.h"
#include "lib/OutputFiles.h"
#include "lib/Process.h"

const std::string write_mode = "wb";
const char* const MONTH[12] = {"JAN", "FEB", "MAR", "APR", "MAY", "JUN", "JUL", "AUG", "SEP", "OCT", "NEV", "DEC"};
const std::string version = "v1.0-beta6";
const std::string dir1 = "./";
const std::string sitefile = "site.txt";

namespace {

const char* SourceTag(int productSource)
{
    switch (productSource) {
    case 1: return "rtp";
    case 2: return "rix";
    case 3: return "sp3";
    case 4: return "pst";
    case 5: return "epo";
    case 6: return "lib";
    default: return "ukn";
    }
}

const char* DynamicsTag(int posMode)
{
    switch (posMode) {
    case 1: return "F";
    case 2: return "S";
    case 3: return "K";
    case 4: return "D";
    default: return "U";
    }
}

// Creates the directory when it is not readable and writable; a failure
// shows up in the opens that follow.
void EnsureDirectory(const std::string& path)
{
    if (access(path.c_str(), R_OK | W_OK) != 0)
        mkdir(path.c_str(), 0777);
}

bool Contains(const std::vector<char>& list, char c)
{
    for (char x : list)
        if (x == c)
            return true;
    return false;
}

const char* const kPosHeaderLine1 =
    "%s (x/y/z-ecef=WGS84,Q=1:fix,2:float,3:sbas,4:dgps,5:single,6:ppp,ns=# of satellites)\n";
const char* const kPppPosHeaderLine2 =
    "%s   GPST                x-ecef(m)      y-ecef(m)      z-ecef(m)   Q  ns   sdx(m)   sdy(m)   sdz(m)  "
    "sdxy(m)  sdyz(m)  sdzx(m) age(s)  ratio\n";
const char* const kPppArPosHeaderLine2 =
    "%s   GPST                   x-ecef(m)      y-ecef(m)      z-ecef(m)   Q  ns   sdx(m)   sdy(m)   sdz(m)  "
    "sdxy(m)  sdyz(m)  sdzx(m) age(s)  ratio\n";

void WritePosHeader(FILE* f, const char* secondLine)
{
    std::fprintf(f, kPosHeaderLine1, "%");
    std::fprintf(f, secondLine, "%");
    std::fflush(f);
}

}  // namespace

bool t_Process::openResultFile(FILE*& handle, const std::string& path, const char* mode)
{
    if (handle)
        std::fclose(handle);
    handle = std::fopen(path.c_str(), mode);
    return handle != nullptr;
}

bool t_Process::ReOpen_Res_Files(tagCOMMONTIME* t)
{
    const char* mode = conf->append ? "a+" : write_mode.c_str();
    char d1[32], d2[32];
    std::snprintf(d1, sizeof(d1), "_%04d%02d%02d", t->year, t->month, t->day);
    std::snprintf(d2, sizeof(d2), "%04d%02d%02d", t->year, t->month, t->day);

    std::string systemTag = "_";
    for (char s : {'G', 'R', 'E', 'C'})
        if (Contains(systems, s))
            systemTag += s;
    const std::string stem = name + d1 + "_" + SourceTag(conf->product_source) + "_" +
                             DynamicsTag(conf->pos_mode) + systemTag;
    const std::string dayDir = res_dir + "/" + d2 + "/";
    EnsureDirectory(dayDir);
    const std::string base = dayDir + stem;

    const int m = conf->mode;
    const bool ar = m == kModeAr || m == kModeArLog || m == kModeArAug;
    struct Entry {
        bool wanted;
        FILE** handle;
        const char* extension;
        const char* header;   // second header line of the position files
    };
    const Entry files[] = {
        {true, &fp_spp, ".spp", nullptr},
        {true, &fp_ppp, ".ppp", nullptr},
        {true, &fp_ppp_pos, ".ppp.pos", kPppPosHeaderLine2},
        {ar, &fp_pppar, ".pppar", nullptr},
        {ar, &fp_pppar_pos, ".pppar.pos", kPppArPosHeaderLine2},
        {m == kModeAr || m == kModePppRtk, &fp_ppprtk, ".ppprtk", nullptr},
        {conf->out_res != 0, &fp_resc, ".resc", nullptr},
        {conf->out_res != 0, &fp_resp, ".resp", nullptr},
        {conf->out_debug != 0, &fp_outlier, ".outlier", nullptr},
        {conf->out_debug != 0, &fp_slip, ".slip", nullptr},
        {conf->out_debug != 0, &fp_tmp, ".tmp", nullptr},
        {m == kModeArAug, &fp_aug, ".aug", nullptr},
        {m == kModeArAug, &fp_augpara, ".augpara", nullptr},
        {m == kModeAr, &fp_ion, ".ion", nullptr},
        {(m == kModeAr || m == kModeArLog) && conf->out_amb, &spp->m_fpWL, ".wl", nullptr},
        {m == kModePppRtk && conf->out_amb, &spp->m_fpAmbWL, ".ambwl", nullptr},
        {m == kModePppRtk && conf->out_amb, &spp->m_fpAmbNL, ".ambnl", nullptr},
        {m == kModeArLog && conf->out_debug, &fp_amb, ".amb", nullptr},
    };
    for (const Entry& f : files) {
        if (!f.wanted)
            continue;
        if (!openResultFile(*f.handle, base + f.extension, mode))
            return false;
        if (f.header)
            WritePosHeader(*f.handle, f.header);
    }
    return true;
}

bool t_Process::ReOpen_IGSZTD_File(tagCOMMONTIME* t, tagGPSTIME2* gt)
{
    const std::string weekDir = ztd_dir + "/w" + std::to_string(gt->week);
    if (gt->week != last_week)   // last_week stays -1: the check runs every hour
        EnsureDirectory(weekDir);
    if (fp_ztd) {
        std::fclose(fp_ztd);
        fp_ztd = nullptr;
    }

    const char* id = site->name;
    // 48 characters for any four-digit year; room to spare for others.
    char fileName[64];
    std::memset(fileName, ' ', sizeof(fileName));
    std::snprintf(fileName, sizeof(fileName), "cost_h_d_%04d%02d%02d%02d%02d_%04d%02d%02d%02d%02d_%c%c%c%c_KVB_.dat",
                  t->year, t->month, t->day, t->hour, t->minute, t->year, t->month, t->day, t->hour, 59, id[0],
                  id[1], id[2], id[3]);
    fp_ztd = std::fopen((weekDir + "/" + fileName).c_str(), "wb");
    if (!fp_ztd)
        return false;

    const double toDegrees = 180.0 / 3.141592653589793;
    const char* month = MONTH[(t->month + 11) % 12];
    const int nextHour = (t->hour + 1) % 24;   // the date is not advanced after 23:xx
    std::fprintf(fp_ztd, "COST-716 V2.2            E-GVAP              DEMO                \r\n");
    std::fprintf(fp_ztd, "%.4s XXXXXXXXX           Unknown (Unknown) [XX]                                      \r\n",
                 site->name);
    std::fprintf(fp_ztd, "%-25s%-25s\r\n", site->text_b, site->text_a);
    std::fprintf(fp_ztd, "%12.6f %12.6f %12.3f %12.3f %12.3f\r\n", site->blh.lat * toDegrees,
                 site->blh.lon * toDegrees, site->blh.height, 0.0, site->height_ref);
    std::fprintf(fp_ztd, "%02d-%.3s-%04d %02d:%02d:%02d     ", t->day, month, t->year, t->hour, t->minute,
                 static_cast<int>(t->second));
    std::fprintf(fp_ztd, "%02d-%.3s-%04d %02d:%02d:%02d\r\n", t->day, month, t->year, nextHour, 0, 0);
    std::fprintf(fp_ztd, "KVB_                     KVB-OLVEN V1.3           IGSULT                   OBS/LOCAL \r\n");
    std::fprintf(fp_ztd, "    5   60   60\r\n");
    std::fprintf(fp_ztd, "000000c5\r\n");
    std::fprintf(fp_ztd, "-999\r\n");
    std::fflush(fp_ztd);
    return true;
}

bool t_Process::CreatFilesForOutput()
{
    const std::string base = res_dir + "/" + name;
    const char* mode = write_mode.c_str();
    bool ok = openResultFile(fp_spp, base + ".spp", mode) && openResultFile(fp_ppp, base + ".ppp", mode) &&
              openResultFile(fp_pppar, base + ".pppar", mode) && openResultFile(fp_ppprtk, base + ".ppprtk", mode);
    if (ok && conf->out_amb)
        ok = openResultFile(fp_resc, base + ".resc", mode) && openResultFile(fp_resp, base + ".resp", mode);
    if (ok && conf->out_debug)
        ok = openResultFile(fp_outlier, base + ".outlier", mode);
    return ok;
}
