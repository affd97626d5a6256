// Error raised by the file readers of the host toolkit: names the file, the
// line (0 when the file could not be opened at all) and what was expected.
#ifndef PPPIO_READERROR_H
#define PPPIO_READERROR_H

#include <stdexcept>
#include <string>

namespace pppio {

class ReadError : public std::runtime_error {
public:
    ReadError(const std::string& file, long line, const std::string& message);

    const std::string& file() const { return m_file; }
    long line() const { return m_line; }
    const std::string& message() const { return m_message; }

private:
    std::string m_file;
    long m_line;
    std::string m_message;
};

}  // namespace pppio

#endif
