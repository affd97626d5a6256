#include "io/FieldParse.h"

#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstring>

#include "io/LineReader.h"

namespace pppio {

namespace {

// Exact powers of ten: a mantissa below 2^53 scaled by one of these is
// rounded once, so the result is the correctly rounded value of the text.
const double kExactPowers[23] = {1e0,  1e1,  1e2,  1e3,  1e4,  1e5,  1e6,  1e7,  1e8,  1e9,  1e10, 1e11,
                                 1e12, 1e13, 1e14, 1e15, 1e16, 1e17, 1e18, 1e19, 1e20, 1e21, 1e22};
constexpr uint64_t kExactMantissaLimit = 1ULL << 53;

bool IsBlank(char c)
{
    return c == ' ' || c == '\t';
}

bool IsDigit(char c)
{
    return c >= '0' && c <= '9';
}

// Rare path for mantissas or exponents beyond the exact range; NaN for a
// number too long to convert.
double SlowConvert(const char* begin, const char* end)
{
    char buffer[64];
    if (end - begin >= static_cast<long>(sizeof(buffer)))
        return std::nan("");
    size_t n = 0;
    for (const char* p = begin; p < end; ++p)
        buffer[n++] = (*p == 'D' || *p == 'd') ? 'E' : *p;
    buffer[n] = '\0';
    return std::strtod(buffer, nullptr);
}

std::string Columns(size_t start, size_t width)
{
    return "columns " + std::to_string(start + 1) + "-" + std::to_string(start + width);
}

[[noreturn]] void FailField(const LineReader& in, size_t start, size_t width, const char* what)
{
    const std::string& line = in.line();
    const std::string found = start < line.size() ? line.substr(start, width) : std::string();
    in.fail(std::string("expected ") + what + " in " + Columns(start, width) + ", found '" + found + "'");
}

// The part of the field that lies within the line.
size_t Available(const std::string& line, size_t start, size_t width)
{
    if (start >= line.size())
        return 0;
    const size_t rest = line.size() - start;
    return rest < width ? rest : width;
}

const char* FieldStart(const std::string& line, size_t start)
{
    return line.data() + (start < line.size() ? start : line.size());
}

FieldStatus FieldAt(const std::string& line, size_t start, size_t width, double& value)
{
    return realAt(line, start, width, value);
}

FieldStatus FieldAt(const std::string& line, size_t start, size_t width, long& value)
{
    return integerAt(line, start, width, value);
}

template <class T>
T Required(const LineReader& in, size_t start, size_t width, const char* what)
{
    T value{};
    if (FieldAt(in.line(), start, width, value) != FieldStatus::Ok)
        FailField(in, start, width, what);
    return value;
}

// Skips the leading blanks and an optional sign; false for a blank field.
bool StartNumber(const char*& p, const char* end, bool& negative)
{
    while (p < end && IsBlank(*p))
        ++p;
    if (p == end)
        return false;
    negative = *p == '-';
    if (*p == '+' || *p == '-')
        ++p;
    return true;
}

bool OnlyBlanksLeft(const char* p, const char* end)
{
    while (p < end && IsBlank(*p))
        ++p;
    return p == end;
}

}  // namespace

FieldStatus parseReal(const char* text, size_t width, double& value)
{
    const char* p = text;
    const char* end = text + width;
    bool negative = false;
    if (!StartNumber(p, end, negative))
        return FieldStatus::Blank;
    const char* digitsBegin = p;
    uint64_t mantissa = 0;
    int significant = 0;     // digits kept in the mantissa
    int exponent10 = 0;      // decimal scale of the mantissa
    bool anyDigit = false;
    bool exact = true;
    for (; p < end && IsDigit(*p); ++p) {
        anyDigit = true;
        if (significant < 19) {
            mantissa = mantissa * 10 + static_cast<uint64_t>(*p - '0');
            if (mantissa != 0)
                ++significant;
        } else {
            ++exponent10;
            exact = false;
        }
    }
    if (p < end && *p == '.') {
        ++p;
        for (; p < end && IsDigit(*p); ++p) {
            anyDigit = true;
            if (significant < 19) {
                mantissa = mantissa * 10 + static_cast<uint64_t>(*p - '0');
                if (mantissa != 0)
                    ++significant;
                --exponent10;
            } else {
                exact = false;
            }
        }
    }
    if (!anyDigit)
        return FieldStatus::Bad;
    if (p < end && (*p == 'E' || *p == 'e' || *p == 'D' || *p == 'd')) {
        ++p;
        bool negativeExponent = false;
        if (p < end && (*p == '+' || *p == '-')) {
            negativeExponent = *p == '-';
            ++p;
        }
        if (p == end || !IsDigit(*p))
            return FieldStatus::Bad;
        int e = 0;
        for (; p < end && IsDigit(*p); ++p)
            if (e < 10000)
                e = e * 10 + (*p - '0');
        exponent10 += negativeExponent ? -e : e;
    }
    const char* numberEnd = p;
    if (!OnlyBlanksLeft(p, end))
        return FieldStatus::Bad;

    double result;
    if (mantissa == 0) {
        result = 0.0;
    } else if (exact && mantissa < kExactMantissaLimit && exponent10 >= -22 && exponent10 <= 22) {
        result = static_cast<double>(mantissa);
        result = exponent10 < 0 ? result / kExactPowers[-exponent10] : result * kExactPowers[exponent10];
    } else {
        result = SlowConvert(digitsBegin, numberEnd);
        if (!std::isfinite(result))
            return FieldStatus::Bad;
    }
    value = negative ? -result : result;
    return FieldStatus::Ok;
}

FieldStatus parseInteger(const char* text, size_t width, long& value)
{
    const char* p = text;
    const char* end = text + width;
    bool negative = false;
    if (!StartNumber(p, end, negative))
        return FieldStatus::Blank;
    if (p == end || !IsDigit(*p))
        return FieldStatus::Bad;
    long result = 0;
    int digits = 0;
    for (; p < end && IsDigit(*p); ++p) {
        if (++digits > 9)   // keeps the value within a 32-bit long
            return FieldStatus::Bad;
        result = result * 10 + (*p - '0');
    }
    if (!OnlyBlanksLeft(p, end))
        return FieldStatus::Bad;
    value = negative ? -result : result;
    return FieldStatus::Ok;
}

FieldStatus realAt(const std::string& line, size_t start, size_t width, double& value)
{
    return parseReal(FieldStart(line, start), Available(line, start, width), value);
}

FieldStatus integerAt(const std::string& line, size_t start, size_t width, long& value)
{
    return parseInteger(FieldStart(line, start), Available(line, start, width), value);
}

double requireReal(const LineReader& in, size_t start, size_t width, const char* what)
{
    return Required<double>(in, start, width, what);
}

long requireInteger(const LineReader& in, size_t start, size_t width, const char* what)
{
    return Required<long>(in, start, width, what);
}

double optionalReal(const LineReader& in, size_t start, size_t width, const char* what, double fallback)
{
    double value = 0.0;
    switch (realAt(in.line(), start, width, value)) {
    case FieldStatus::Ok: return value;
    case FieldStatus::Blank: return fallback;
    default: FailField(in, start, width, what);
    }
}

std::string trimmedField(const std::string& line, size_t start, size_t width)
{
    size_t n = Available(line, start, width);
    if (n == 0)
        return std::string();
    const char* p = line.data() + start;
    size_t first = 0;
    while (first < n && IsBlank(p[first]))
        ++first;
    while (n > first && IsBlank(p[n - 1]))
        --n;
    return std::string(p + first, n - first);
}

bool hasTextAt(const std::string& line, size_t start, const char* text)
{
    const size_t n = std::strlen(text);
    return line.size() >= start + n && line.compare(start, n, text) == 0;
}

}  // namespace pppio
