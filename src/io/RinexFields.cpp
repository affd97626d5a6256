#include "io/RinexFields.h"

namespace pppio {

namespace {

constexpr int kMaxDigits = 18;  // keeps every mantissa exact in an int64_t
const double kPowerOfTen[] = {1e0, 1e1, 1e2, 1e3, 1e4, 1e5, 1e6, 1e7, 1e8, 1e9,
                              1e10, 1e11, 1e12, 1e13, 1e14, 1e15, 1e16, 1e17, 1e18};

bool IsDigit(char c) { return c >= '0' && c <= '9'; }

// Narrows [begin, end) to the text between the blanks; false when blank.
bool StripBlanks(const char*& begin, const char*& end)
{
    while (begin < end && *begin == ' ')
        ++begin;
    while (end > begin && end[-1] == ' ')
        --end;
    return begin < end;
}

// Clips the column range to the line.
void FieldRange(const std::string& line, size_t first, size_t width, const char*& begin, const char*& end)
{
    const size_t size = line.size();
    const size_t from = first < size ? first : size;
    const size_t to = first + width < size ? first + width : size;
    begin = line.data() + from;
    end = line.data() + to;
}

}  // namespace

Field ParseDecimal(const char* begin, const char* end, double& value)
{
    if (!StripBlanks(begin, end))
        return Field::kBlank;
    const char* p = begin;
    const bool negative = *p == '-';
    if (*p == '-' || *p == '+')
        ++p;
    int64_t mantissa = 0;
    int digits = 0;
    int decimals = -1;  // -1 until the decimal point
    for (; p < end; ++p) {
        if (IsDigit(*p)) {
            if (++digits > kMaxDigits)
                return Field::kBad;
            mantissa = mantissa * 10 + (*p - '0');
            if (decimals >= 0)
                ++decimals;
        } else if (*p == '.' && decimals < 0) {
            decimals = 0;
        } else {
            return Field::kBad;
        }
    }
    if (digits == 0)
        return Field::kBad;
    const double magnitude = decimals > 0 ? static_cast<double>(mantissa) / kPowerOfTen[decimals]
                                          : static_cast<double>(mantissa);
    value = negative ? -magnitude : magnitude;
    return Field::kValue;
}

Field ParseDecimalField(const std::string& line, size_t first, size_t width, double& value)
{
    const char* begin;
    const char* end;
    FieldRange(line, first, width, begin, end);
    return ParseDecimal(begin, end, value);
}

bool ParseInteger(const char* begin, const char* end, int64_t& value)
{
    const char* p = begin;
    const bool negative = p < end && *p == '-';
    if (p < end && (*p == '-' || *p == '+'))
        ++p;
    if (p == end || end - p > kMaxDigits)
        return false;
    int64_t magnitude = 0;
    for (; p < end; ++p) {
        if (!IsDigit(*p))
            return false;
        magnitude = magnitude * 10 + (*p - '0');
    }
    value = negative ? -magnitude : magnitude;
    return true;
}

Field ParseIntegerField(const std::string& line, size_t first, size_t width, long& value)
{
    const char* begin;
    const char* end;
    FieldRange(line, first, width, begin, end);
    if (!StripBlanks(begin, end))
        return Field::kBlank;
    int64_t parsed = 0;
    if (end - begin > 9 || !ParseInteger(begin, end, parsed))  // fits a 32-bit long
        return Field::kBad;
    value = static_cast<long>(parsed);
    return Field::kValue;
}

std::string TrimmedField(const std::string& line, size_t first, size_t width)
{
    const char* begin;
    const char* end;
    FieldRange(line, first, width, begin, end);
    if (!StripBlanks(begin, end))
        return std::string();
    return std::string(begin, end);
}

int SystemIndex(char system)
{
    for (int i = 0; i < kSystemCount; ++i)
        if (kSystemLetters[i] == system)
            return i;
    return -1;
}

bool ParseSatelliteId(const std::string& line, size_t column, char& system, int& prn)
{
    const char letter = CharAt(line, column);
    const char tens = CharAt(line, column + 1);
    const char units = CharAt(line, column + 2);
    system = letter == ' ' ? 'G' : letter;
    if (SystemIndex(system) < 0 || !IsDigit(units) || !(tens == ' ' || IsDigit(tens)))
        return false;
    prn = (tens == ' ' ? 0 : tens - '0') * 10 + (units - '0');
    return prn >= 1;
}

}  // namespace pppio
