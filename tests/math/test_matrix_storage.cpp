// Recycled matrix storage: blocks come back for requests of the same size
// class, never for larger ones, and oversized blocks bypass the cache.
#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>

#include "math/MatrixStorage.h"
#include "math/TMatrix.h"

namespace {

using math::storage::Give;
using math::storage::Take;

TEST(MatrixStorage, FreedBlockServesTheNextRequestOfItsSizeClassOnly)
{
    void* block = Take(100);   // class of 128 bytes
    std::memset(block, 0x5a, 100);
    Give(block, 100);
    void* again = Take(120);
    EXPECT_EQ(again, block);

    void* other = Take(129);   // next class up: must not reuse the 128-byte block
    EXPECT_NE(other, again);
    std::memset(other, 0, 129);   // the whole requested size is usable
    Give(again, 120);
    Give(other, 129);
}

TEST(MatrixStorage, BlocksAreAlignedForDoubles)
{
    for (std::size_t bytes : {1u, 8u, 24u, 1000u, 70000u}) {
        void* block = Take(bytes);
        EXPECT_EQ(reinterpret_cast<std::uintptr_t>(block) % alignof(std::max_align_t), 0u) << bytes;
        Give(block, bytes);
    }
}

TEST(MatrixStorage, RecycledStorageStartsAtZero)
{
    {
        math::matrix<double> dirty(5, 7);
        for (unsigned i = 0; i < 5; ++i)
            for (unsigned j = 0; j < 7; ++j)
                dirty(i, j) = 1.0 + i + j;
    }
    math::matrix<double> fresh(5, 7);
    for (unsigned i = 0; i < 5; ++i)
        for (unsigned j = 0; j < 7; ++j)
            EXPECT_EQ(fresh(i, j), 0.0);
}

}  // namespace
