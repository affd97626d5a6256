#include "support/ScratchFiles.h"

#include <dirent.h>
#include <sys/stat.h>
#include <stdlib.h>
#include <unistd.h>

#include <algorithm>
#include <fstream>
#include <sstream>
#include <stdexcept>

namespace enginetest {

namespace {

void RemoveTree(const std::string& path)
{
    struct stat info;
    if (lstat(path.c_str(), &info) == 0 && S_ISDIR(info.st_mode)) {
        for (const std::string& name : ListDir(path))
            RemoveTree(path + "/" + name);
        rmdir(path.c_str());
    } else {
        std::remove(path.c_str());
    }
}

}  // namespace

TempDir::TempDir()
{
    char name[] = "/tmp/ppplib_test_XXXXXX";
    if (!mkdtemp(name))
        throw std::runtime_error("cannot create a scratch directory");
    m_path = name;
}

TempDir::~TempDir()
{
    RemoveTree(m_path);
}

TempFile::TempFile() : m_fp(std::fopen((m_dir / "file").c_str(), "w+b"))
{
    if (!m_fp)
        throw std::runtime_error("cannot create a scratch file");
}

std::string TempFile::Text() const
{
    // Read through a second stream: what the writer did not flush is not seen.
    return ReadFile(m_dir / "file");
}

std::string ReadFile(const std::string& path)
{
    std::ifstream in(path, std::ios::binary);
    std::ostringstream text;
    text << in.rdbuf();
    return text.str();
}

std::vector<std::string> ListDir(const std::string& path)
{
    std::vector<std::string> names;
    // readdir64: a 32-bit program's readdir fails on 64-bit inode numbers.
    if (DIR* dir = opendir(path.c_str())) {
        while (const dirent64* entry = readdir64(dir)) {
            const std::string name = entry->d_name;
            if (name != "." && name != "..")
                names.push_back(name);
        }
        closedir(dir);
    }
    std::sort(names.begin(), names.end());
    return names;
}

}  // namespace enginetest
