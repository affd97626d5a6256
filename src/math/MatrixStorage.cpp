#include "math/MatrixStorage.h"

#include <cstdlib>
#include <new>

#if defined(__SANITIZE_ADDRESS__)
#include <sanitizer/asan_interface.h>
// Blocks waiting in a cache are poisoned, so that a use after release is
// still reported under the address sanitizer.
#define PPP_POISON(address, size) ASAN_POISON_MEMORY_REGION(address, size)
#define PPP_UNPOISON(address, size) ASAN_UNPOISON_MEMORY_REGION(address, size)
#else
#define PPP_POISON(address, size) ((void)(address), (void)(size))
#define PPP_UNPOISON(address, size) ((void)(address), (void)(size))
#endif

namespace math {
namespace storage {

namespace {

constexpr int kSmallestClass = 6;    // 64 bytes
constexpr int kLargestClass = 22;    // 4 MiB; larger blocks are not cached
constexpr int kClassCount = kLargestClass - kSmallestClass + 1;

// Power-of-two class whose capacity holds `bytes`; kClassCount when too large.
int ClassOf(std::size_t bytes)
{
    int k = kSmallestClass;
    while (k <= kLargestClass && (std::size_t(1) << k) < bytes)
        ++k;
    return k - kSmallestClass;
}

std::size_t CapacityOf(int cls)
{
    return std::size_t(1) << (cls + kSmallestClass);
}

// A free block stores the link to the next free block of its class.
struct FreeBlock {
    FreeBlock* next;
};

// Set when the thread's cache is gone, so that matrices destroyed later in
// the thread's (or the program's) shutdown use the system allocator.
thread_local bool t_cacheClosed = false;

class ThreadCache {
public:
    ThreadCache() = default;
    ThreadCache(const ThreadCache&) = delete;
    ThreadCache& operator=(const ThreadCache&) = delete;
    ~ThreadCache()
    {
        t_cacheClosed = true;
        for (int cls = 0; cls < kClassCount; ++cls)
            while (void* block = take(cls))
                std::free(block);
    }

    void* take(int cls)
    {
        FreeBlock* block = m_free[cls];
        if (!block)
            return nullptr;
        PPP_UNPOISON(block, sizeof(FreeBlock));
        m_free[cls] = block->next;
        m_cachedBytes -= CapacityOf(cls);
        PPP_UNPOISON(block, CapacityOf(cls));
        return block;
    }

    bool keep(void* memory, int cls)
    {
        if (m_cachedBytes + CapacityOf(cls) > kCachedBytesPerThread)
            return false;
        FreeBlock* block = static_cast<FreeBlock*>(memory);
        block->next = m_free[cls];
        m_free[cls] = block;
        m_cachedBytes += CapacityOf(cls);
        PPP_POISON(block, CapacityOf(cls));
        return true;
    }

private:
    FreeBlock* m_free[kClassCount] = {};
    std::size_t m_cachedBytes = 0;
};

ThreadCache* Cache()
{
    if (t_cacheClosed)
        return nullptr;
    thread_local ThreadCache cache;
    return &cache;
}

}  // namespace

void* Take(std::size_t bytes)
{
    const int cls = ClassOf(bytes);
    if (cls == kClassCount) {
        if (void* memory = std::malloc(bytes))
            return memory;
        throw std::bad_alloc();
    }
    ThreadCache* cache = Cache();
    if (void* memory = cache ? cache->take(cls) : nullptr)
        return memory;
    if (void* memory = std::malloc(CapacityOf(cls)))
        return memory;
    throw std::bad_alloc();
}

void Give(void* block, std::size_t bytes) noexcept
{
    if (!block)
        return;
    const int cls = ClassOf(bytes);
    ThreadCache* cache = cls == kClassCount ? nullptr : Cache();
    if (!cache || !cache->keep(block, cls))
        std::free(block);
}

}  // namespace storage
}  // namespace math
