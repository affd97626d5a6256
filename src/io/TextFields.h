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

#include <vector>

#include "common/GNSSTimeConvert.h"
#include "io/FieldParse.h"
#include "io/LineReader.h"
#include "io/Truncation.h"

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

// Reads a file of these formats: the first line must start with
// `firstLine`; every further non-blank line goes, split, to header(fields)
// when it starts with '%' and to data(fields) otherwise. A malformed last
// line cut short ends the reading with a warning.
template <class Header, class Data>
void readTextFile(LineReader& in, const char* firstLine, std::vector<std::string>& warnings, Header header, Data data)
{
    if (!in.next() || !hasTextAt(in.line(), 0, firstLine))
        in.fail(std::string("expected the header line starting with ") + firstLine);
    forEachLine(in, warnings, [&] {
        const TextFields fields(in);
        if (fields.size() > 0 && fields.text(0)[0] == '%')
            header(fields);
        else if (fields.size() > 0)
            data(fields);
        return true;
    });
}

}  // namespace pppio

#endif
