// Per-thread pools for small blocks: string blocks, list arrays and the
// objects that trees make by the hundred thousand (nodes, attribute tables,
// child lists).
//
// Blocks are kept in a free list per size class (16-byte steps up to 256
// bytes) and per thread, carved from slabs that live as long as the
// process: taking and giving back cost a few instructions and no lock, and
// freeing a whole tree doesn't send the general allocator through its
// merging of free chunks. A block may be given back on another thread than
// the one that took it: a thread whose free list of a class grows long
// passes half of it to a shared list, and threads refill from the shared
// list before carving a new slab, so a thread that only frees what another
// makes doesn't hoard memory. When a thread ends, its free blocks go to the
// shared lists. Memory is reused, never returned to the system.
//
// Larger blocks come from malloc. Sanitizer builds bypass the pools, so that
// a use after free still shows.
#pragma once

#include <cstddef>
#include <new>

namespace norvane {

// A block of `size` bytes, aligned for any object; nil when memory is out.
void* SmallPoolTake(size_t size) noexcept;
// Gives back a block from SmallPoolTake (or SmallPoolResize) of that size.
void SmallPoolGive(void* p, size_t size) noexcept;
// Like realloc: the block resized, its first min(oldSize, newSize) bytes
// kept; nil (the old block untouched) when memory is out.
void* SmallPoolResize(void* p, size_t oldSize, size_t newSize) noexcept;

// Class-specific allocation through the pools, for a class and the classes
// derived from it.
#define NV_SMALL_POOL_NEW                                                                      \
  static void* operator new(size_t size) {                                                     \
    if (void* p = ::norvane::SmallPoolTake(size)) return p;                                    \
    throw ::std::bad_alloc();                                                                  \
  }                                                                                            \
  static void operator delete(void* p, size_t size) noexcept { ::norvane::SmallPoolGive(p, size); }

// A standard allocator over the pools, for the small arrays of containers.
template <class T>
struct TSmallPoolAllocator {
  using value_type = T;
  TSmallPoolAllocator() noexcept = default;
  template <class U>
  TSmallPoolAllocator(const TSmallPoolAllocator<U>&) noexcept {}  // NOLINT: rebinding converts
  T* allocate(size_t n) {
    if (n > size_t(-1) / sizeof(T)) throw std::bad_alloc();
    if (void* p = SmallPoolTake(n * sizeof(T))) return static_cast<T*>(p);
    throw std::bad_alloc();
  }
  void deallocate(T* p, size_t n) noexcept { SmallPoolGive(p, n * sizeof(T)); }
  template <class U>
  bool operator==(const TSmallPoolAllocator<U>&) const noexcept {
    return true;
  }
};

}  // namespace norvane
