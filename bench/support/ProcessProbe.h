// What a long-running host watches of its own process: open descriptors,
// resident memory and heap in use. Linux only (/proc); the heap figure needs
// glibc's mallinfo2 and is -1 elsewhere.
//
//   const benchsupport::ProcessState s = benchsupport::ProbeProcess();
//   std::printf("%d fds, %.1f MB resident, %.2f MB heap\n", s.descriptors, s.residentMB, s.heapMB);
#ifndef PPPLIB_BENCH_SUPPORT_PROCESSPROBE_H
#define PPPLIB_BENCH_SUPPORT_PROCESSPROBE_H

#include <dirent.h>
#include <sys/resource.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#if defined(__GLIBC__) && (__GLIBC__ > 2 || (__GLIBC__ == 2 && __GLIBC_MINOR__ >= 33))
#include <malloc.h>
#define PPPLIB_BENCH_HAVE_MALLINFO2 1
#endif

namespace benchsupport {

struct ProcessState {
    int descriptors = -1;     // entries of /proc/self/fd (the directory's own one not counted)
    double residentMB = -1.0;
    double heapMB = -1.0;     // bytes handed out by malloc and not yet freed
};

// Open descriptors whose target path starts with prefix (all when empty).
inline int CountDescriptors(const std::string& prefix = "")
{
    DIR* dir = opendir("/proc/self/fd");
    if (!dir)
        return -1;
    const int own = dirfd(dir);
    int count = 0;
    char target[4096];
    while (const dirent* e = readdir(dir)) {
        if (e->d_name[0] == '.' || std::atoi(e->d_name) == own)
            continue;
        if (prefix.empty()) {
            ++count;
            continue;
        }
        const std::string link = std::string("/proc/self/fd/") + e->d_name;
        const ssize_t n = readlink(link.c_str(), target, sizeof(target) - 1);
        const bool under = n > 0 && static_cast<size_t>(n) >= prefix.size() &&
                           std::strncmp(target, prefix.c_str(), prefix.size()) == 0;
        count += under ? 1 : 0;
    }
    closedir(dir);
    return count;
}

inline ProcessState ProbeProcess()
{
    ProcessState s;
    s.descriptors = CountDescriptors();
    if (std::FILE* f = std::fopen("/proc/self/statm", "r")) {
        long size = 0, resident = 0;
        if (std::fscanf(f, "%ld %ld", &size, &resident) == 2)
            s.residentMB = static_cast<double>(resident) * static_cast<double>(sysconf(_SC_PAGESIZE)) / 1048576.0;
        std::fclose(f);
    }
#ifdef PPPLIB_BENCH_HAVE_MALLINFO2
    const struct mallinfo2 m = mallinfo2();
    s.heapMB = static_cast<double>(m.uordblks + m.hblkhd) / 1048576.0;
#endif
    return s;
}

// The soft limit of open descriptors of this process.
inline long DescriptorLimit()
{
    rlimit r{};
    if (getrlimit(RLIMIT_NOFILE, &r) != 0 || r.rlim_cur == RLIM_INFINITY)
        return -1;
    return static_cast<long>(r.rlim_cur);
}

}  // namespace benchsupport

#endif
