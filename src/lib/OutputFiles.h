// Defaults shared by the output file management.
#ifndef PPPLIB_LIB_OUTPUTFILES_H
#define PPPLIB_LIB_OUTPUTFILES_H

#include <string>

extern const std::string write_mode;   // "wb"
// Month abbreviations of the COST-716 header; the eleventh is printed as "NEV".
extern const char* const MONTH[12];
extern const std::string version;
extern const std::string dir1;         // default directory, not read by any code path
extern const std::string sitefile;     // default site file, not read by any code path

#endif
