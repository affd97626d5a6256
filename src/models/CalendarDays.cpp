// Julian dates and day of year of calendar epochs, for the Sun and Moon chain.
#include "models/GNSSErrorCorrection.h"

#include <cmath>

double CGNSSErrorCorrection::Julian(int year, int month, int day, double hour)
{
    double jd = 367.0 * year + day + std::floor(275.0 * month / 9.0) -
                std::floor(7.0 * (year + std::floor((month + 9) / 12.0)) / 4.0) + 1721028.5;
    // Gregorian century terms.
    const double c = (year - std::floor((14 - month) / 12.0)) / 100.0;
    jd += std::floor(c / 4.0) - std::floor(c);
    return ((jd - 2451545.0) + hour / 24.0) / 36525.0;
}

int CGNSSErrorCorrection::fjldy(int year, int month, int day, double hour, double* jd)
{
    const bool gregorian = year * 10000 + month * 100 + day > 15821015;
    if (month <= 2) {
        year -= 1;
        month += 12;
    }
    double b = 0.0;
    if (gregorian) {
        const double century = std::floor(year / 100.0);
        b = 2.0 - century + std::floor(century / 4.0);
    }
    *jd = std::floor(365.25 * (year + 4716) + 0.1) + std::floor(30.6 * (month + 1) + 0.1) + day - 1524.5 + b +
          hour / 24.0;
    return 1;
}

int CGNSSErrorCorrection::ep2doy(const double* ep)
{
    static const int kFirstDay[12] = {1, 32, 60, 91, 121, 152, 182, 213, 244, 274, 305, 335};
    const int year = static_cast<int>(ep[0]);
    const int month = static_cast<int>(ep[1]);
    const int day = static_cast<int>(ep[2]);
    if (month < 1 || month > 12)
        return 0;
    const bool leap = (year % 4 == 0 && year % 100 != 0) || year % 400 == 0;
    return kFirstDay[month - 1] + day - 1 + (leap && month > 2 ? 1 : 0);
}
