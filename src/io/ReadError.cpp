#include "io/ReadError.h"

namespace pppio {

namespace {
std::string Compose(const std::string& file, long line, const std::string& message)
{
    if (line > 0)
        return file + ":" + std::to_string(line) + ": " + message;
    return file + ": " + message;
}
}  // namespace

ReadError::ReadError(const std::string& file, long line, const std::string& message)
    : std::runtime_error(Compose(file, line, message)), m_file(file), m_line(line), m_message(message)
{
}

}  // namespace pppio
