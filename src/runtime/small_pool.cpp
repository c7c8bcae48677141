#include "norvane/runtime/small_pool.h"

#include <array>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <mutex>

namespace norvane {

namespace {

#if defined(__SANITIZE_ADDRESS__)
constexpr bool kPooled = false;
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
constexpr bool kPooled = false;
#else
constexpr bool kPooled = true;
#endif
#else
constexpr bool kPooled = true;
#endif

constexpr size_t kStep = 16;
constexpr size_t kClasses = 16;  // up to 256 bytes
constexpr size_t kLargest = kStep * kClasses;
constexpr size_t kSlabBytes = 64 * 1024;
// Free blocks travel in batches: a thread's free list of a class that
// reaches kBatch blocks becomes a batch, kept by the thread up to kKept
// batches and handed to the shared lists beyond. Each move is O(1), so
// no chain is ever walked.
constexpr uint32_t kBatch = 2048;
constexpr uint32_t kKept = 4;

// A free block; the head block of a batch links to the next batch.
struct TBlock {
  TBlock* Next;
  TBlock* NextBatch;
};
static_assert(sizeof(TBlock) <= kStep);

inline size_t ClassOf(size_t size) noexcept { return (size - 1) / kStep; }

struct TShared {
  std::mutex Lock;
  std::array<TBlock*, kClasses> Batches{};
};

TShared& Shared() {
  static TShared* shared = new TShared();  // outlives every thread
  return *shared;
}

void PushShared(size_t c, TBlock* batch) noexcept {
  TShared& shared = Shared();
  std::lock_guard<std::mutex> guard(shared.Lock);
  batch->NextBatch = shared.Batches[c];
  shared.Batches[c] = batch;
}

TBlock* PopShared(size_t c) noexcept {
  TShared& shared = Shared();
  std::lock_guard<std::mutex> guard(shared.Lock);
  TBlock* batch = shared.Batches[c];
  if (batch) shared.Batches[c] = batch->NextBatch;
  return batch;
}

struct TThreadPool {
  struct TClass {
    TBlock* Free = nullptr;     // blocks to take, one by one
    uint32_t Count = 0;         // blocks in Free
    TBlock* Batches = nullptr;  // whole batches kept back
    uint32_t Kept = 0;
  };
  std::array<TClass, kClasses> Classes{};

  ~TThreadPool() {
    for (size_t c = 0; c < kClasses; ++c) {
      TClass& k = Classes[c];
      while (TBlock* batch = k.Batches) {
        k.Batches = batch->NextBatch;
        PushShared(c, batch);
      }
      if (k.Free) PushShared(c, k.Free);
      k = TClass{};  // blocks given back later by this thread's exit code stay out
    }
  }

  void Give(size_t c, TBlock* b) noexcept {
    TClass& k = Classes[c];
    b->Next = k.Free;
    k.Free = b;
    if (++k.Count < kBatch) return;
    if (k.Kept < kKept) {
      b->NextBatch = k.Batches;
      k.Batches = b;
      ++k.Kept;
    } else {
      PushShared(c, b);
    }
    k.Free = nullptr;
    k.Count = 0;
  }

  // Fills an empty free list: a kept batch, a shared one, or a new slab.
  bool Refill(size_t c) noexcept {
    TClass& k = Classes[c];
    if (TBlock* batch = k.Batches) {
      k.Batches = batch->NextBatch;
      --k.Kept;
      k.Free = batch;
      k.Count = kBatch;
      return true;
    }
    if (TBlock* batch = PopShared(c)) {
      k.Free = batch;
      k.Count = kBatch;  // an upper bound: a thread's last list may be shorter
      return true;
    }
    const size_t size = (c + 1) * kStep;
    auto* slab = static_cast<char*>(std::malloc(kSlabBytes));
    if (!slab) return false;
    const uint32_t n = uint32_t(kSlabBytes / size);
    for (uint32_t i = n; i-- > 0;) {
      auto* b = reinterpret_cast<TBlock*>(slab + i * size);
      b->Next = k.Free;
      k.Free = b;
    }
    k.Count = n;
    return true;
  }

  void* Take(size_t c) noexcept {
    TClass& k = Classes[c];
    if (!k.Free && !Refill(c)) return nullptr;
    TBlock* b = k.Free;
    k.Free = b->Next;
    if (k.Count) --k.Count;
    return b;
  }
};

thread_local TThreadPool tPool;

}  // namespace

void* SmallPoolTake(size_t size) noexcept {
  if (!kPooled || size == 0 || size > kLargest) return std::malloc(size ? size : 1);
  return tPool.Take(ClassOf(size));
}

void SmallPoolGive(void* p, size_t size) noexcept {
  if (!p) return;
  if (!kPooled || size == 0 || size > kLargest) {
    std::free(p);
    return;
  }
  tPool.Give(ClassOf(size), static_cast<TBlock*>(p));
}

void* SmallPoolResize(void* p, size_t oldSize, size_t newSize) noexcept {
  if (!p) return SmallPoolTake(newSize);
  const bool oldLarge = !kPooled || oldSize == 0 || oldSize > kLargest;
  const bool newLarge = !kPooled || newSize == 0 || newSize > kLargest;
  if (oldLarge && newLarge) return std::realloc(p, newSize ? newSize : 1);
  if (!oldLarge && !newLarge && ClassOf(oldSize) == ClassOf(newSize)) return p;
  void* q = SmallPoolTake(newSize);
  if (!q) return nullptr;
  std::memcpy(q, p, oldSize < newSize ? oldSize : newSize);
  SmallPoolGive(p, oldSize);
  return q;
}

}  // namespace norvane
