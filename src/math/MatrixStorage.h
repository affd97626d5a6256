// Memory blocks of matrix storage, recycled per thread.
//
// The engine builds and drops dozens of small matrices per epoch (design
// blocks, normal-equation parts, products, inverses). Each is one block
// (header, row pointers and elements together); freed blocks wait in
// per-thread lists sorted by power-of-two capacity and serve the next
// request of that capacity, so that after the first epochs the per-epoch
// path no longer calls the system allocator. A thread keeps at most
// kCachedBytesPerThread bytes waiting; anything beyond goes back at once.
#ifndef PPPLIB_MATH_MATRIXSTORAGE_H
#define PPPLIB_MATH_MATRIXSTORAGE_H

#include <cstddef>

namespace math {
namespace storage {

constexpr std::size_t kCachedBytesPerThread = 4u << 20;

// A block of at least `bytes` bytes, aligned for any scalar type; throws
// std::bad_alloc when memory is exhausted.
void* Take(std::size_t bytes);
// Returns a block that Take(bytes) gave, with the same `bytes`.
void Give(void* block, std::size_t bytes) noexcept;

}  // namespace storage
}  // namespace math

#endif
