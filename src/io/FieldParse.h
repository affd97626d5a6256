// Strict, fast parsing of the fixed-column numeric fields of the text
// formats read by the toolkit (SP3, RINEX, ANTEX, SINEX).
//
// A field is the column range [start, start + width) of a line; characters
// beyond the end of the line count as blanks, so short lines read as blank
// trailing fields. A field holds either blanks only, or one number with
// optional blanks around it: sign, digits with at most one decimal point,
// and an optional exponent introduced by E, e, D or d. Anything else in the
// field (a second number, a letter, a stray character) is an error.
#ifndef PPPIO_FIELDPARSE_H
#define PPPIO_FIELDPARSE_H

#include <cstddef>
#include <string>

namespace pppio {

class LineReader;

enum class FieldStatus { Ok, Blank, Bad };

FieldStatus parseReal(const char* text, size_t width, double& value);
FieldStatus parseInteger(const char* text, size_t width, long& value);

FieldStatus realAt(const std::string& line, size_t start, size_t width, double& value);
FieldStatus integerAt(const std::string& line, size_t start, size_t width, long& value);

// The field of the reader's current line; a blank or bad field throws a
// ReadError "expected <what> in columns a-b, found '...'".
double requireReal(const LineReader& in, size_t start, size_t width, const char* what);
long requireInteger(const LineReader& in, size_t start, size_t width, const char* what);

// As above, but a blank field gives the fallback value.
double optionalReal(const LineReader& in, size_t start, size_t width, const char* what, double fallback);

// Text of the field with surrounding blanks removed.
std::string trimmedField(const std::string& line, size_t start, size_t width);

// True when the line holds the given text at the given column.
bool hasTextAt(const std::string& line, size_t start, const char* text);

}  // namespace pppio

#endif
