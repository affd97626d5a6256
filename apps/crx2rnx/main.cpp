// crx2rnx: writes an observation file that the toolkit can read (plain or
// gzip RINEX 2/3/4, Compact RINEX 1.0/3.0) as plain RINEX of the same
// version, for programs that read nothing else.
//
//   crx2rnx ESBC00DNK_R_20201770000_01D_30S_MO.crx.gz ESBC00DNK_R_20201770000_01D_30S_MO.rnx
//
// Exit status 0 on success (warnings about a truncated input go to stderr),
// 1 when the input cannot be read or the output cannot be written (the
// partial output is removed), 2 for a wrong command line.
#include <cstdio>
#include <exception>
#include <stdexcept>
#include <string>

#include "HeaderCopy.h"
#include "io/ObsRecordWriter.h"
#include "io/RinexObsReader.h"

namespace {

// An output file that is removed unless the conversion completes.
class OutputFile {
public:
    explicit OutputFile(const std::string& path) : m_path(path), m_file(std::fopen(path.c_str(), "wb"))
    {
        if (!m_file)
            throw std::runtime_error(path + ": cannot open for writing");
    }
    ~OutputFile()
    {
        if (m_file) {
            std::fclose(m_file);
            std::remove(m_path.c_str());
        }
    }
    OutputFile(const OutputFile&) = delete;
    OutputFile& operator=(const OutputFile&) = delete;

    std::FILE* get() const { return m_file; }

    void commit()
    {
        const bool failed = std::ferror(m_file) != 0;
        const bool closeFailed = std::fclose(m_file) != 0;
        m_file = nullptr;
        if (failed || closeFailed) {
            std::remove(m_path.c_str());
            throw std::runtime_error(m_path + ": write error");
        }
    }

private:
    std::string m_path;
    std::FILE* m_file;
};

void Convert(const std::string& inPath, const std::string& outPath)
{
    pppio::RinexObsReader reader(inPath);
    OutputFile out(outPath);
    crx2rnx::CopyHeader(inPath, out.get());
    pppio::ObsRecordWriter writer(out.get());
    pppio::ObsEpoch epoch;
    while (reader.next(epoch))
        writer.write(reader.header(), epoch);
    out.commit();
    for (const std::string& warning : reader.warnings())
        std::fprintf(stderr, "crx2rnx: warning: %s\n", warning.c_str());
}

}  // namespace

int main(int argc, char** argv)
{
    if (argc != 3) {
        std::fprintf(stderr,
                     "usage: crx2rnx IN OUT\n"
                     "  IN   RINEX observation file: plain or Compact RINEX, optionally gzip-compressed\n"
                     "  OUT  plain RINEX observation file of the same version\n");
        return 2;
    }
    const std::string inPath = argv[1];
    const std::string outPath = argv[2];
    if (inPath == outPath) {
        std::fprintf(stderr, "crx2rnx: IN and OUT must be different files\n");
        return 2;
    }
    try {
        Convert(inPath, outPath);
    } catch (const std::exception& e) {
        std::fprintf(stderr, "crx2rnx: %s\n", e.what());
        return 1;
    }
    return 0;
}
