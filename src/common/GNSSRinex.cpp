#include "common/GNSSRinex.h"

#include <cstring>

char* CGNSSRinex::xstrmid(char* dst, char* src, int start, int n)
{
    int k = 0;
    for (; k < n && src[start + k] != '\0'; ++k)
        dst[k] = src[start + k];
    dst[k] = '\0';
    dst[n] = '\0';
    return dst;
}

char* CGNSSRinex::xstrtrim(char* dst, char* src)
{
    const char* p = src;
    while (*p == ' ')
        ++p;
    if (*p == '\0') {
        dst[0] = '\0';
        return dst;
    }
    const size_t length = std::strlen(p);
    std::memmove(dst, p, length + 1);
    size_t last = length - 1;
    while (last > 0 && (dst[last] == ' ' || dst[last] == '\n' || dst[last] == '\r'))
        --last;
    dst[last + 1] = '\0';
    return dst;
}
