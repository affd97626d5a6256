// Scratch directories and files of the tests, removed at destruction.
#ifndef PPPLIB_TESTS_SUPPORT_SCRATCHFILES_H
#define PPPLIB_TESTS_SUPPORT_SCRATCHFILES_H

#include <cstdio>
#include <string>
#include <vector>

namespace enginetest {

// A scratch directory, removed with everything below it.
class TempDir {
public:
    TempDir();
    ~TempDir();
    TempDir(const TempDir&) = delete;
    TempDir& operator=(const TempDir&) = delete;
    const std::string& path() const { return m_path; }
    std::string operator/(const std::string& name) const { return m_path + "/" + name; }

private:
    std::string m_path;
};

// A file for a writer; Text() reads what reached the file, so output the
// writer did not flush is missing.
class TempFile {
public:
    TempFile();
    ~TempFile() { std::fclose(m_fp); }
    FILE* fp() const { return m_fp; }
    std::string Text() const;

private:
    TempDir m_dir;
    FILE* m_fp;
};

std::string ReadFile(const std::string& path);
// Names in a directory, sorted; empty when it does not exist.
std::vector<std::string> ListDir(const std::string& path);

}  // namespace enginetest

#endif
