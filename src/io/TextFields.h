// Whitespace-separated fields of a line of ppplib's own text files (UPD
// file, float-ambiguity export), read with errors that name the file, the
// line and the field.
//
//   TextFields f(in);                          // in: LineReader on a data line
//   f.expectCount(7, "kind week sow sat value sigma count");
//   const double sow = f.real(2, "the seconds of week");
#ifndef PPPIO_TEXTFIELDS_H
#define PPPIO_TEXTFIELDS_H

#include <cstddef>
#include <string>

#include "common/GNSSTimeConvert.h"
#include "io/LineReader.h"

namespace pppio {

class TextFields {
public:
    static constexpr size_t kMaxFields = 16;

    // Splits the reader's current line; more than kMaxFields fields fail.
    explicit TextFields(const LineReader& in);

    size_t size() const { return m_count; }
    std::string text(size_t i) const;

    // Fails unless the line has exactly n fields, naming the expected layout.
    void expectCount(size_t n, const char* layout) const;
    double real(size_t i, const char* what) const;        // finite number
    long integer(size_t i, const char* what) const;
    // GPS week and seconds of week in fields i and i + 1.
    tagGPSTIME2 time(size_t i) const;
    // Packed index of a satellite identifier ("G01"); 0 for a well-formed
    // identifier without a packed index (J01, E33), fails when malformed.
    int satellite(size_t i) const;

    [[noreturn]] void fail(size_t i, const char* what) const;

private:
    const LineReader& m_in;
    size_t m_start[kMaxFields];
    size_t m_length[kMaxFields];
    size_t m_count = 0;
};

}  // namespace pppio

#endif
