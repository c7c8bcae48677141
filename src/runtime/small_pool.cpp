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
// A thread keeps at most this many free blocks of a class before it hands
// half of them to the shared list.
constexpr uint32_t kKeep = 8192;

struct TBlock {
  TBlock* Next;
};

struct TChain {
  TBlock* Head = nullptr;
  uint32_t Count = 0;
};

inline size_t ClassOf(size_t size) noexcept { return (size - 1) / kStep; }

struct TShared {
  std::mutex Lock;
  std::array<TChain, kClasses> Chains{};  // whole chains, joined head to tail
};

TShared& Shared() {
  static TShared* shared = new TShared();  // outlives every thread
  return *shared;
}

struct TThreadPool {
  std::array<TBlock*, kClasses> Free{};
  std::array<uint32_t, kClasses> Count{};

  ~TThreadPool() {
    for (size_t c = 0; c < kClasses; ++c) Hand(c, Count[c]);
  }

  // Moves the first `n` free blocks of class `c` to the shared list.
  void Hand(size_t c, uint32_t n) noexcept {
    if (n == 0 || !Free[c]) return;
    TBlock* head = Free[c];
    TBlock* tail = head;
    uint32_t moved = 1;
    for (; moved < n && tail->Next; ++moved) tail = tail->Next;
    Free[c] = tail->Next;
    Count[c] -= moved;
    TShared& shared = Shared();
    std::lock_guard<std::mutex> guard(shared.Lock);
    TChain& chain = shared.Chains[c];
    tail->Next = chain.Head;
    chain.Head = head;
    chain.Count += moved;
  }

  // Takes up to half a thread's quota from the shared list, or carves a
  // new slab; false when memory is out.
  bool Refill(size_t c) noexcept {
    {
      TShared& shared = Shared();
      std::lock_guard<std::mutex> guard(shared.Lock);
      TChain& chain = shared.Chains[c];
      if (chain.Head) {
        TBlock* tail = chain.Head;
        uint32_t taken = 1;
        for (; taken < kKeep / 2 && tail->Next; ++taken) tail = tail->Next;
        Free[c] = chain.Head;
        chain.Head = tail->Next;
        chain.Count -= taken;
        tail->Next = nullptr;
        Count[c] = taken;
        return true;
      }
    }
    const size_t size = (c + 1) * kStep;
    auto* slab = static_cast<char*>(std::malloc(kSlabBytes));
    if (!slab) return false;
    for (size_t i = kSlabBytes / size; i-- > 0;) {
      auto* b = reinterpret_cast<TBlock*>(slab + i * size);
      b->Next = Free[c];
      Free[c] = b;
      ++Count[c];
    }
    return true;
  }
};

thread_local TThreadPool tPool;

}  // namespace

void* SmallPoolTake(size_t size) noexcept {
  if (!kPooled || size == 0 || size > kLargest) return std::malloc(size ? size : 1);
  const size_t c = ClassOf(size);
  TThreadPool& pool = tPool;
  if (!pool.Free[c] && !pool.Refill(c)) return nullptr;
  TBlock* b = pool.Free[c];
  pool.Free[c] = b->Next;
  --pool.Count[c];
  return b;
}

void SmallPoolGive(void* p, size_t size) noexcept {
  if (!p) return;
  if (!kPooled || size == 0 || size > kLargest) {
    std::free(p);
    return;
  }
  const size_t c = ClassOf(size);
  auto* b = static_cast<TBlock*>(p);
  TThreadPool& pool = tPool;
  b->Next = pool.Free[c];
  pool.Free[c] = b;
  if (++pool.Count[c] > kKeep) pool.Hand(c, kKeep / 2);
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
