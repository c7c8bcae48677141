#include "norvane/runtime/threads.h"

#include <chrono>
#include <deque>
#include <vector>

namespace norvane {

NV_CLASS_IMPL(TThread, "Classes")
NV_CLASS_IMPL(TMultiReadExclusiveWriteSynchronizer, "SysUtils")
NV_CLASS_IMPL(TCriticalSection, "SyncObjs")
NV_CLASS_IMPL(TEvent, "SyncObjs")

// --- Synchronised calls ----------------------------------------------------------

namespace {

struct SyncItem {
  TThreadMethod method;
  std::exception_ptr error;
  bool wait = false;  // Synchronize (the caller waits) or Queue (it does not)
  bool done = false;
};

struct SyncState {
  std::mutex lock;
  std::condition_variable queued;  // something was queued, or a thread finished
  std::condition_variable done;    // a waited-for call has run
  std::deque<SyncItem*> queue;
  std::function<void()> wake;
};

SyncState& Sync() {
  static SyncState* s = new SyncState;  // lives as long as any thread may use it
  return *s;
}

// The thread that loads the library runs the static initialisers.
std::atomic<std::thread::id> gMainThread{std::this_thread::get_id()};

bool IsMainThread() noexcept {
  return std::this_thread::get_id() == gMainThread.load(std::memory_order_relaxed);
}

void Enqueue(SyncItem* item) {
  SyncState& s = Sync();
  std::function<void()> wake;
  {
    std::lock_guard lk(s.lock);
    s.queue.push_back(item);
    wake = s.wake;
  }
  s.queued.notify_all();
  if (wake) wake();
}

}  // namespace

std::thread::id MainThreadID() noexcept {
  return gMainThread.load(std::memory_order_relaxed);
}

void SetMainThreadID(std::thread::id id) noexcept {
  gMainThread.store(id, std::memory_order_relaxed);
}

void SetWakeMainThread(std::function<void()> wake) {
  SyncState& s = Sync();
  std::lock_guard lk(s.lock);
  s.wake = std::move(wake);
}

bool CheckSynchronize(uint32_t timeoutMs) {
  if (!IsMainThread())
    throw EThread(u"CheckSynchronize called from thread $%x, which is NOT the main thread",
                  {static_cast<unsigned long long>(std::hash<std::thread::id>()(std::this_thread::get_id()))});
  SyncState& s = Sync();
  std::deque<SyncItem*> batch;
  {
    std::unique_lock lk(s.lock);
    if (s.queue.empty() && timeoutMs > 0) {
      auto pred = [&] { return !s.queue.empty(); };
      if (timeoutMs == INFINITE)
        s.queued.wait(lk, pred);
      else
        s.queued.wait_for(lk, std::chrono::milliseconds(timeoutMs), pred);
    }
    batch.swap(s.queue);
  }
  for (SyncItem* item : batch) {
    if (!item->wait) {
      std::unique_ptr<SyncItem> owned(item);
      try {
        owned->method();
      } catch (...) {
        // Nobody waits for a queued call: its failure has no one to go to.
      }
      continue;
    }
    try {
      item->method();
    } catch (...) {
      item->error = std::current_exception();
    }
    {
      std::lock_guard lk(s.lock);
      item->done = true;
    }
    s.done.notify_all();
  }
  return !batch.empty();
}

// --- TThread --------------------------------------------------------------------

TThread::TThread(bool createSuspended) : FCreateSuspended(createSuspended) {}

TThread::~TThread() {
  if (FThread.joinable()) {
    if (FThread.get_id() == std::this_thread::get_id()) {
      // Freeing itself at the end of Run: nobody is left to join it.
      FThread.detach();
    } else {
      Terminate();
      WaitFinished();
    }
  }
}

void TThread::AfterConstruction() {
  if (!FCreateSuspended && !Started()) Start();
}

void TThread::Start() {
  bool expected = false;
  if (!FStarted.compare_exchange_strong(expected, true))
    throw EThread(UnicodeString(u"Cannot call Start on a running or suspended thread"));
  try {
    FThread = std::thread([this] { Run(); });
  } catch (const std::exception& e) {
    FStarted.store(false);
    throw EThread(u"Thread creation error: %s", {UnicodeString::FromUtf8(e.what())});
  }
  FThreadID.store(FThread.get_id(), std::memory_order_release);
}

void TThread::Run() noexcept {
  FThreadID.store(std::this_thread::get_id(), std::memory_order_release);
  if (!Terminated()) {
    try {
      Execute();
    } catch (Exception& e) {
      FFatalHolder = std::current_exception();
      FFatalException = &e;
    } catch (const std::exception& e) {
      try {
        FFatalWrapped = std::make_unique<Exception>(UnicodeString::FromUtf8(e.what()));
        FFatalException = FFatalWrapped.get();
      } catch (...) {
      }
    } catch (...) {
      try {
        FFatalWrapped = std::make_unique<Exception>(UnicodeString(u"Unknown exception in thread"));
        FFatalException = FFatalWrapped.get();
      } catch (...) {
      }
    }
  }
  bool freeThread = FFreeOnTerminate;
  try {
    DoTerminate();
  } catch (...) {
    // OnTerminate failed on the main thread; the thread still ends.
  }
  SyncState& s = Sync();
  {
    std::lock_guard lk(s.lock);
    std::lock_guard dk(FDoneLock);
    FFinished.store(true, std::memory_order_release);
  }
  s.queued.notify_all();
  FDoneCond.notify_all();
  if (freeThread) delete this;
}

void TThread::DoTerminate() {
  if (OnTerminate) Synchronize([this] { OnTerminate(this); });
}

int32_t TThread::WaitFor() {
  if (!Started()) throw EThread(UnicodeString(u"Cannot wait for a thread that was not started"));
  if (FFreeOnTerminate)
    throw EThread(UnicodeString(u"Cannot call WaitFor on a thread with FreeOnTerminate set"));
  if (ThreadID() == std::this_thread::get_id()) throw EThread(UnicodeString(u"A thread cannot wait for itself"));
  WaitFinished();
  return ReturnValue();
}

void TThread::WaitFinished() {
  if (IsMainThread()) {
    // Keep serving synchronised calls: the worker may be waiting in one.
    SyncState& s = Sync();
    while (!Finished()) {
      {
        std::unique_lock lk(s.lock);
        s.queued.wait(lk, [&] { return !s.queue.empty() || Finished(); });
      }
      try {
        CheckSynchronize(0);
      } catch (...) {
        // Only queued calls can fail here, and those are dropped already.
      }
    }
  } else {
    std::unique_lock lk(FDoneLock);
    FDoneCond.wait(lk, [&] { return Finished(); });
  }
  // Joined under the lock so that two waiters cannot both join.
  std::lock_guard lk(FDoneLock);
  if (FThread.joinable()) FThread.join();
}

void TThread::Synchronize(TThread*, const TThreadMethod& method) {
  if (!method) return;
  if (IsMainThread()) {
    method();
    return;
  }
  SyncItem item;
  item.method = method;
  item.wait = true;
  Enqueue(&item);
  SyncState& s = Sync();
  {
    std::unique_lock lk(s.lock);
    s.done.wait(lk, [&] { return item.done; });
  }
  if (item.error) std::rethrow_exception(item.error);
}

void TThread::Queue(TThread*, TThreadMethod method) {
  if (!method) return;
  if (IsMainThread()) {
    method();
    return;
  }
  auto item = std::make_unique<SyncItem>();
  item->method = std::move(method);
  Enqueue(item.release());
}

void TThread::Sleep(uint32_t ms) {
  std::this_thread::sleep_for(std::chrono::milliseconds(ms));
}

// --- TMultiReadExclusiveWriteSynchronizer ----------------------------------------

namespace {

// What one thread holds of one synchronizer: its read nesting and whether
// that nesting is backed by a shared lock (it is not while the thread also
// writes, since the exclusive lock covers it).
struct ReadRecord {
  const void* owner;
  int32_t reads;
  bool shared;
};
thread_local std::vector<ReadRecord> tlsReads;

ReadRecord* FindRecord(const void* owner) noexcept {
  for (auto& r : tlsReads)
    if (r.owner == owner) return &r;
  return nullptr;
}

void DropRecord(ReadRecord* r) noexcept {
  *r = tlsReads.back();
  tlsReads.pop_back();
}

}  // namespace

TMultiReadExclusiveWriteSynchronizer::~TMultiReadExclusiveWriteSynchronizer() {
  // Forget this thread's own leftovers so a later lock at the same address
  // does not inherit them.
  if (ReadRecord* r = FindRecord(this)) DropRecord(r);
}

void TMultiReadExclusiveWriteSynchronizer::BeginRead() {
  ReadRecord* r = FindRecord(this);
  if (!r) {
    tlsReads.push_back({this, 0, false});
    r = &tlsReads.back();
  }
  if (r->reads++ > 0) return;  // already covered
  if (FWriter.load(std::memory_order_relaxed) == std::this_thread::get_id()) return;
  try {
    FLock.lock_shared();
  } catch (...) {
    DropRecord(r);
    throw;
  }
  r->shared = true;
}

void TMultiReadExclusiveWriteSynchronizer::EndRead() {
  ReadRecord* r = FindRecord(this);
  if (!r || r->reads <= 0) return;  // unbalanced: ignore
  if (--r->reads > 0) return;
  if (r->shared) FLock.unlock_shared();
  DropRecord(r);
}

bool TMultiReadExclusiveWriteSynchronizer::BeginWrite() {
  const auto me = std::this_thread::get_id();
  if (FWriter.load(std::memory_order_relaxed) == me) {
    ++FWriteDepth;
    return true;
  }
  uint32_t seen = FRevision.load(std::memory_order_acquire);
  // A reader that wants to write gives up its shared lock first; holding it
  // while waiting for the exclusive one would deadlock against itself.
  if (ReadRecord* r = FindRecord(this); r && r->shared) {
    FLock.unlock_shared();
    r->shared = false;
  }
  FLock.lock();
  FWriter.store(me, std::memory_order_relaxed);
  FWriteDepth = 1;
  bool untouched = FRevision.load(std::memory_order_relaxed) == seen;
  FRevision.fetch_add(1, std::memory_order_release);
  return untouched;
}

void TMultiReadExclusiveWriteSynchronizer::EndWrite() {
  if (FWriter.load(std::memory_order_relaxed) != std::this_thread::get_id()) return;  // unbalanced
  if (--FWriteDepth > 0) return;
  FWriter.store(std::thread::id(), std::memory_order_relaxed);
  if (ReadRecord* r = FindRecord(this); r && r->reads > 0) {
    // Still reading: go back to a shared lock (another writer may pass
    // in between, as with any reader that waits).
    FLock.unlock();
    FLock.lock_shared();
    r->shared = true;
  } else {
    FLock.unlock();
  }
}

// --- TEvent ---------------------------------------------------------------------

void TEvent::SetEvent() {
  {
    std::lock_guard lk(FLock);
    FSignaled = true;
  }
  FCond.notify_all();
}

void TEvent::ResetEvent() {
  std::lock_guard lk(FLock);
  FSignaled = false;
}

TWaitResult TEvent::WaitFor(uint32_t timeoutMs) {
  std::unique_lock lk(FLock);
  auto pred = [&] { return FSignaled; };
  if (timeoutMs == INFINITE)
    FCond.wait(lk, pred);
  else if (!FCond.wait_for(lk, std::chrono::milliseconds(timeoutMs), pred))
    return wrTimeout;
  if (!FManualReset) FSignaled = false;
  return wrSignaled;
}

}  // namespace norvane
