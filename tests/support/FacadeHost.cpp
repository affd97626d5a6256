#include "support/FacadeHost.h"

#include <dirent.h>
#include <sys/stat.h>
#include <stdlib.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
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

FacadeHost::FacadeHost()
    : epoch(std::make_unique<tagGPSOBSONEEPO>()), orbits(std::make_unique<tagGMSP3REC>()),
      result(std::make_unique<tagSPPONERESULT>())
{
    obs.epoch = epoch.get();
    obs.result = result.get();
    obs.orbit = orbits.get();
}

FacadeHost::~FacadeHost()
{
    lib.reset();
    delete smooth;
}

void FacadeHost::Start(std::vector<char> configured)
{
    lib = std::make_unique<t_ppplib>(configured, &site, &conf);
}

int FacadeHost::Run(t_upd* upd, t_aug* aug)
{
    obs.smooth = smooth;
    const int code = lib->pppos(&obs, upd, aug);
    smooth = obs.smooth;
    return code;
}

}  // namespace enginetest
