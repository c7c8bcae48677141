// Threads and locks of the runtime: TThread with calls synchronised to the
// main thread, the many-readers lock, a recursive critical section and an
// event.
#pragma once

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <exception>
#include <functional>
#include <memory>
#include <mutex>
#include <shared_mutex>
#include <thread>

#include "norvane/runtime/classes.h"
#include "norvane/runtime/exception.h"

namespace norvane {

constexpr uint32_t INFINITE = 0xFFFFFFFFu;

NV_ENUM(TWaitResult, wrSignaled, wrTimeout, wrAbandoned, wrError, wrIOCompletion)

using TThreadMethod = std::function<void()>;

// The thread that runs synchronised calls: the one that loaded the library
// unless a host says otherwise.
std::thread::id MainThreadID() noexcept;
void SetMainThreadID(std::thread::id id) noexcept;
// Called (from the worker) whenever a synchronised call is queued, so that
// an event loop can wake up and call CheckSynchronize.
void SetWakeMainThread(std::function<void()> wake);
// Runs the queued synchronised calls on the main thread; waits up to
// `timeoutMs` for the first one when the queue is empty. Returns true if
// anything ran. Raises EThread when called from another thread.
bool CheckSynchronize(uint32_t timeoutMs = 0);

// A thread object. Override Execute; poll Terminated() in long loops.
//
// C++ has no step after the last constructor, so a thread created running
// (createSuspended false) starts when AfterConstruction() runs: construct
// through TThread::New<T>(args...), which does that, or call Start().
// A descendant whose Execute uses its own members must stop the thread in
// its destructor (Terminate(); WaitFor();) before those members go away.
class TThread : public TObject {
  NV_CLASS(TThread, TObject)
 public:
  explicit TThread(bool createSuspended = true);
  // Terminates and waits for a running thread.
  ~TThread() override;

  template <class T, class... Args>
  static T* New(Args&&... args) {
    T* t = new T(std::forward<Args>(args)...);
    t->AfterConstruction();
    return t;
  }
  // Starts the thread if it was not created suspended.
  void AfterConstruction();
  // Starts a thread that has not run yet; raises EThread "Cannot call Start
  // on a running or suspended thread" otherwise.
  void Start();
  void Terminate() noexcept { FTerminated.store(true, std::memory_order_release); }
  bool Terminated() const noexcept { return FTerminated.load(std::memory_order_acquire); }
  // Waits for Execute to end and returns ReturnValue. On the main thread it
  // runs synchronised calls meanwhile, so a worker waiting in Synchronize
  // cannot deadlock it. Raises EThread for a thread that was never started,
  // that frees itself on termination, or that would wait for itself.
  int32_t WaitFor();

  bool Started() const noexcept { return FStarted.load(std::memory_order_acquire); }
  bool Finished() const noexcept { return FFinished.load(std::memory_order_acquire); }
  bool FreeOnTerminate() const noexcept { return FFreeOnTerminate; }
  void SetFreeOnTerminate(bool v) noexcept { FFreeOnTerminate = v; }
  int32_t ReturnValue() const noexcept { return FReturnValue.load(std::memory_order_acquire); }
  // The exception that ended Execute, or nullptr; owned by the thread.
  Exception* FatalException() const noexcept { return FFatalException; }
  std::thread::id ThreadID() const noexcept { return FThreadID.load(std::memory_order_acquire); }

  // Runs on the main thread after Execute (through Synchronize).
  TNotifyEvent OnTerminate;

  // Runs `method` on the main thread and waits for it; directly when called
  // from the main thread. An exception of `method` is raised again here.
  static void Synchronize(TThread* thread, const TThreadMethod& method);
  void Synchronize(const TThreadMethod& method) { Synchronize(this, method); }
  // Same without waiting; exceptions of `method` are dropped.
  static void Queue(TThread* thread, TThreadMethod method);
  void Queue(TThreadMethod method) { Queue(this, std::move(method)); }
  static void Sleep(uint32_t ms);
  static std::thread::id CurrentThreadID() noexcept { return std::this_thread::get_id(); }

 protected:
  virtual void Execute() = 0;
  // Calls OnTerminate on the main thread.
  virtual void DoTerminate();
  void SetReturnValue(int32_t v) noexcept { FReturnValue.store(v, std::memory_order_release); }

 private:
  void Run() noexcept;
  void WaitFinished();

  std::thread FThread;
  std::atomic<std::thread::id> FThreadID{};
  std::atomic<bool> FTerminated{false};
  std::atomic<bool> FStarted{false};
  std::atomic<bool> FFinished{false};
  std::atomic<int32_t> FReturnValue{0};
  bool FCreateSuspended;
  bool FFreeOnTerminate = false;
  Exception* FFatalException = nullptr;
  std::exception_ptr FFatalHolder;           // keeps a caught Exception alive
  std::unique_ptr<Exception> FFatalWrapped;  // for what Execute threw that was no Exception
  std::mutex FDoneLock;
  std::condition_variable FDoneCond;
};

// Many readers or one writer. Reentrant for one thread: nested BeginRead,
// nested BeginWrite, BeginRead while writing, and BeginWrite while reading
// (the read lock is given up for the write and taken back by EndWrite).
// BeginWrite returns false when another thread took the write lock between
// the call and this thread getting it, so that what was read before may
// have changed.
class TMultiReadExclusiveWriteSynchronizer : public TObject {
  NV_CLASS(TMultiReadExclusiveWriteSynchronizer, TObject)
 public:
  TMultiReadExclusiveWriteSynchronizer() = default;
  ~TMultiReadExclusiveWriteSynchronizer() override;

  void BeginRead();
  void EndRead();
  bool BeginWrite();
  void EndWrite();
  // Counts the completed acquisitions of the write lock.
  uint32_t RevisionLevel() const noexcept { return FRevision.load(std::memory_order_acquire); }

 private:
  std::shared_mutex FLock;
  std::atomic<std::thread::id> FWriter{};
  int32_t FWriteDepth = 0;
  std::atomic<uint32_t> FRevision{0};
};

using TMREWSync = TMultiReadExclusiveWriteSynchronizer;

// A recursive lock.
class TCriticalSection : public TObject {
  NV_CLASS(TCriticalSection, TObject)
 public:
  void Enter() { FLock.lock(); }
  void Leave() { FLock.unlock(); }
  bool TryEnter() { return FLock.try_lock(); }
  void Acquire() { Enter(); }
  void Release() { Leave(); }

 private:
  std::recursive_mutex FLock;
};

// A manual-reset (default) or auto-reset event.
class TEvent : public TObject {
  NV_CLASS(TEvent, TObject)
 public:
  explicit TEvent(bool manualReset = true, bool initialState = false)
      : FManualReset(manualReset), FSignaled(initialState) {}
  void SetEvent();
  void ResetEvent();
  // Waits up to `timeoutMs` (INFINITE waits for good). An auto-reset event
  // is reset by the wait it satisfies.
  TWaitResult WaitFor(uint32_t timeoutMs = INFINITE);

 private:
  std::mutex FLock;
  std::condition_variable FCond;
  bool FManualReset;
  bool FSignaled;
};

}  // namespace norvane
