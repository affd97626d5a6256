// The per-site driver behind the facade: owns the engine, the filter state,
// the UPD and augmentation tables and the output files, and runs one stage
// of an epoch per call.
#ifndef PPPLIB_LIB_PROCESS_H
#define PPPLIB_LIB_PROCESS_H

#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

#include "common/GNSSTimeConvert.h"
#include "engine/PPPRecords.h"
#include "math/TMatrix.h"

class CGNSSSPP;
struct PROCINFOSITE;

class t_Process {
public:
    t_Process(std::vector<char> systems, tagSITE* site, t_conf* conf);
    ~t_Process();
    t_Process(const t_Process&) = delete;
    t_Process& operator=(const t_Process&) = delete;

    // Stages of one epoch; the facade decides which run.
    bool cmp_spp(tagOBSONEEPOONESTA* obs);
    bool cmp_pre(tagOBSONEEPOONESTA* obs);
    bool cmp_ppp(tagOBSONEEPOONESTA* obs);
    bool cmp_input_upd(tagOBSONEEPOONESTA* obs);
    bool cmp_pppar(tagOBSONEEPOONESTA* obs, t_upd* upd);
    bool cmp_ppprtk(tagOBSONEEPOONESTA* obs, t_aug* aug);

    // Output files: the day's result files and the hour's COST-716 file.
    bool CreatFilesForOutput();
    bool ReOpen_Res_Files(tagCOMMONTIME* t);
    bool ReOpen_IGSZTD_File(tagCOMMONTIME* t, tagGPSTIME2* gt);

    // UPD and augmentation inputs.
    bool ConvetUPD2Matrix(t_upd* upd, tagGPSTIME2* t);
    bool ConvetAUG2Matrix(t_aug* aug, tagGPSTIME2* t);
    bool AugmentCorrect(tagGPSOBSONEEPO* epoch, t_aug* aug);

    std::vector<char> systems;     // configured, then the systems present in the epoch
    std::string res_dir;
    std::string name;
    FILE* fp_spp;
    FILE* fp_ppp;
    FILE* fp_pppar;
    FILE* fp_ppprtk;
    FILE* fp_aug;
    FILE* fp_augpara;
    FILE* fp_ion;
    FILE* fp_ppp_pos;
    FILE* fp_pppar_pos;
    FILE* fp_tmp;
    FILE* fp_outlier;
    FILE* fp_resc;
    FILE* fp_resp;
    FILE* fp_slip;
    FILE* fp_ztd;
    tagSITE* site;
    tagGPSTIME2 cur_time;
    int32_t last_week;
    int32_t last_day;
    int32_t last_hour;
    std::string ztd_dir;
    t_conf* conf;
    bool res_on;
    bool ztd_on;
    math::matrix<double> upd_wl;
    math::matrix<double> upd_nl;
    math::matrix<double> aug_mat;
    CGNSSSPP* spp;
    PROCINFOSITE* site_state;
    FILE* fp_amb;
    uint8_t reserved_flag;

private:
    bool openResultFile(FILE*& handle, const std::string& path, const char* mode);
    void writeSppErrorDump(tagOBSONEEPOONESTA* obs);
    void WriteArLog(const tagSPPONERESULT* result);
};

// One standard normal random number (polar method of Marsaglia, C rand()).
double gaussrand();

#endif
