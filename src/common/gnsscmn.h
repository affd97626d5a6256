// Satellite identifiers and the small helpers shared by the whole library.
//
// Satellites are packed into one index iprn 1..124 in the order G, R, E, C:
// GPS 1-32 -> 1-32, GLONASS 1-27 -> 33-59, Galileo 1-30 -> 60-89,
// BeiDou 1-35 -> 90-124. Every per-satellite table has 124 slots (iprn - 1).
#ifndef PPPLIB_COMMON_GNSSCMN_H
#define PPPLIB_COMMON_GNSSCMN_H

#include <vector>

#include "common/GNSSConst.h"
#include "common/GNSSTimeConvert.h"

// Satellite identifier: system letter, number within the system, packed index.
struct tagGNSSPRN {
    char cSys;
    int prn;
    int iprn;
};

// GPS satellites whose second-frequency code is taken from C2W, and from C2X.
extern const int C2W_PRN_LIST[12];
extern const int C2X_PRN_LIST[20];

int judge_sys(char sys);
// Every index of 32 or less (0 and negatives too) counts as GPS.
int judge_sys(int iprn);
char judge_sys_char(int iprn);
int iprn2prn(int iprn);
int prn2iprn(int prn, char sys);
int judge_C2W(int prn);
int isC2X(int prn);
int findIndexInPrnList(int iprn, std::vector<int> list);

// Real number from the field of s at offset i, at most n characters; a 'D'
// exponent is accepted. An empty or unreadable field gives 0.0.
double str2num(const char* s, int i, int n);
void _trace(int level, char* format, const char* text);
bool IsNumber(double x);
bool IsFiniteNumber(double x);

// Seconds from t2 to t1, each given as year, month, day, hour, minute, second.
double caltimediff(double* t1, double* t2);
void get_ep_time(double* ep, tagCOMMONTIME* t);
// Neville interpolation at 0 of the points (x[i], y[i]); y is overwritten.
double interppol(const double* x, double* y, int n);
// Weighted fit of y = a x1 + b x2, evaluated as a t + b.
double linear_fit(double* x1, double* x2, double* w, double* y, int n, double t);
int check_amb_continuous(double* a, int n);
// Nearest integer, halves away from zero.
int Round(double x);

#endif
