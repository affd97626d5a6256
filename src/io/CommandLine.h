// Command-line parsing shared by the programs: the walk over the arguments
// and the checked conversions of option values, each failing with a
// one-line UsageError that names the option.
//
//   pppio::Arguments args(argc, argv);
//   while (args.next()) {
//       if (args.option() == "--elev-mask")
//           o.elevMask = pppio::parseNumber(args.option(), args.value(), 0.0, 90.0);
//       ...
//   }
#ifndef PPPIO_COMMANDLINE_H
#define PPPIO_COMMANDLINE_H

#include <stdexcept>
#include <string>

namespace pppio {

// Wrong options: the message is one line for the user.
class UsageError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

class Arguments {
public:
    Arguments(int argc, char** argv) : m_argc(argc), m_argv(argv) {}
    // Moves to the next argument; false after the last.
    bool next();
    const std::string& option() const { return m_option; }
    // The value that follows the current option; throws UsageError when there is none.
    std::string value();

private:
    int m_argc;
    char** m_argv;
    int m_index = 0;
    std::string m_option;
};

// A finite number.
double parseNumber(const std::string& option, const std::string& text);
// A number from low to high.
double parseNumber(const std::string& option, const std::string& text, double low, double high);
// A whole number from low to high.
int parseCount(const std::string& option, const std::string& text, int low, int high);
// n comma-separated finite numbers; `shape` names them in the message ("X,Y,Z in metres").
void parseList(const std::string& option, const std::string& text, double* values, int n, const char* shape);
// System letters out of `allowed` (e.g. "GREC"), each once, either case; returned upper-case in the order of `allowed`.
std::string parseSystems(const std::string& option, const std::string& text, const std::string& allowed);

}  // namespace pppio

#endif
