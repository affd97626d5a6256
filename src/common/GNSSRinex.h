// Fixed-field text routines shared by the readers of RINEX-style files.
#ifndef PPPLIB_COMMON_GNSSRINEX_H
#define PPPLIB_COMMON_GNSSRINEX_H

class CGNSSRinex {
public:
    // Copies n characters of src from offset start (stopping at a NUL) and
    // terminates dst; dst[n] is always set to NUL.
    static char* xstrmid(char* dst, char* src, int start, int n);
    // Copies src without leading blanks and trailing blanks/CR/LF into dst.
    static char* xstrtrim(char* dst, char* src);
};

#endif
