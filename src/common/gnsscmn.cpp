#include "common/gnsscmn.h"

#include <cfloat>
#include <cstdio>
#include <cstring>

const int C2W_PRN_LIST[12] = {2, 11, 13, 14, 16, 18, 19, 20, 21, 22, 23, 28};
const int C2X_PRN_LIST[20] = {1, 3, 4, 5, 6, 7, 8, 9, 10, 12, 15, 17, 24, 25, 26, 27, 29, 30, 31, 32};

int judge_sys(char sys)
{
    switch (sys) {
    case 'G': return 0;
    case 'R': return 1;
    case 'E': return 2;
    case 'C': return 3;
    default: return -1;
    }
}

int judge_sys(int iprn)
{
    if (iprn > 124)
        return -1;
    if (iprn >= 90)
        return 3;
    if (iprn >= 60)
        return 2;
    if (iprn >= 33)
        return 1;
    return 0;
}

char judge_sys_char(int iprn)
{
    static const char letters[4] = {'G', 'R', 'E', 'C'};
    const int sys = judge_sys(iprn);
    return sys < 0 ? 'X' : letters[sys];
}

int iprn2prn(int iprn)
{
    if (iprn >= 1 && iprn <= 32)
        return iprn;
    if (iprn >= 33 && iprn <= 59)
        return iprn - 32;
    if (iprn >= 60 && iprn <= 89)
        return iprn - 59;
    if (iprn >= 90 && iprn <= 124)
        return iprn - 89;
    return 0;
}

int prn2iprn(int prn, char sys)
{
    switch (sys) {
    case 'G': return prn;
    case 'R': return prn + 32;
    case 'E': return prn + 59;
    case 'C': return prn + 89;
    default: return 0;
    }
}

int judge_C2W(int prn)
{
    for (int p : C2W_PRN_LIST)
        if (p == prn)
            return 1;
    return 0;
}

int isC2X(int prn)
{
    if (prn > 32)
        return -1;
    for (int p : C2X_PRN_LIST)
        if (p == prn)
            return 1;
    return 0;
}

int findIndexInPrnList(int iprn, std::vector<int> list)
{
    for (size_t i = 0; i < list.size(); ++i)
        if (list[i] == iprn)
            return static_cast<int>(i);
    return -999;
}

double str2num(const char* s, int i, int n)
{
    if (i < 0 || static_cast<int>(std::strlen(s)) < i || n >= 256)
        return 0.0;
    char buffer[256];
    int k = 0;
    for (const char* p = s + i; *p && k < n; ++p, ++k)
        buffer[k] = (*p == 'd' || *p == 'D') ? 'E' : *p;
    buffer[k] = '\0';
    double value;
    return std::sscanf(buffer, "%lf", &value) == 1 ? value : 0.0;
}

void _trace(int, char*, const char*) {}

bool IsNumber(double x)
{
    return x == x;
}

bool IsFiniteNumber(double x)
{
    return x >= -DBL_MAX && x <= DBL_MAX;
}

double caltimediff(double* t1, double* t2)
{
    static const int firstDay[12] = {1, 32, 60, 91, 121, 152, 182, 213, 244, 274, 305, 335};
    if (t1[0] < 1970 || t1[0] > 2099 || t1[1] < 1 || t1[1] > 12)
        return 0.0;
    auto days = [](const double* t) {
        const int year = static_cast<int>(t[0]);
        const int month = static_cast<int>(t[1]);
        // (year - 1969) / 4 is a real division on purpose: callers only take
        // differences within a day or a few epochs.
        double d = (t[0] - 1970.0) * 365.0 + (t[0] - 1969.0) / 4.0 + firstDay[month - 1] + t[2] - 2.0;
        if (year % 4 == 0 && month >= 3)
            d += 1.0;
        return d;
    };
    return (days(t1) - days(t2)) * 86400.0 + (t1[3] - t2[3]) * 3600.0 + (t1[4] - t2[4]) * 60.0 + (t1[5] - t2[5]);
}

void get_ep_time(double* ep, tagCOMMONTIME* t)
{
    ep[0] = t->year;
    ep[1] = t->month;
    ep[2] = t->day;
    ep[3] = t->hour;
    ep[4] = t->minute;
    ep[5] = t->second;
}

double interppol(const double* x, double* y, int n)
{
    for (int j = 1; j < n; ++j)
        for (int i = 0; i < n - j; ++i)
            y[i] = (x[i + j] * y[i] - x[i] * y[i + 1]) / (x[i + j] - x[i]);
    return y[0];
}

double linear_fit(double* x1, double* x2, double* w, double* y, int n, double t)
{
    double s11 = 0.0, s12 = 0.0, s22 = 0.0, s1y = 0.0, s2y = 0.0;
    for (int i = 0; i < n; ++i) {
        s11 += w[i] * x1[i] * x1[i];
        s12 += w[i] * x1[i] * x2[i];
        s22 += w[i] * x2[i] * x2[i];
        s1y += w[i] * x1[i] * y[i];
        s2y += w[i] * x2[i] * y[i];
    }
    const double d = 1.0 / (s11 * s22 - s12 * s12);
    const double a = d * (s22 * s1y - s12 * s2y);
    const double b = d * (s11 * s2y - s12 * s1y);
    return a * t + b;
}

int check_amb_continuous(double* a, int n)
{
    for (int i = 1; i < n; ++i) {
        const double d = a[i] - a[i - 1];
        if (d > 0.2 || d < -0.2)
            return 0;
    }
    return 1;
}

int Round(double x)
{
    return x >= 0.0 ? static_cast<int>(x + 0.5) : static_cast<int>(x - 0.5);
}
