#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <string>
#include <vector>

#include "norvane/runtime/threads.h"

using namespace norvane;

namespace {

// A thread whose body is a lambda, for the tests.
class TLambdaThread : public TThread {
 public:
  std::function<void(TLambdaThread&)> body;
  TLambdaThread(bool suspended, std::function<void(TLambdaThread&)> b)
      : TThread(suspended), body(std::move(b)) {}
  ~TLambdaThread() override {
    Terminate();
    if (Started() && !FreeOnTerminate()) WaitFor();
  }
  using TThread::SetReturnValue;

 protected:
  void Execute() override { body(*this); }
};

}  // namespace

TEST(Thread, StartWaitForAndReturnValue) {
  std::unique_ptr<TLambdaThread> t(
      TThread::New<TLambdaThread>(false, [](TLambdaThread& self) { self.SetReturnValue(42); }));
  EXPECT_EQ(t->WaitFor(), 42);
  EXPECT_TRUE(t->Finished());
  EXPECT_EQ(t->FatalException(), nullptr);
  EXPECT_THROW(t->Start(), EThread) << "a thread starts once";

  std::atomic<bool> ran{false};
  TLambdaThread suspended(true, [&](TLambdaThread&) { ran = true; });
  TThread::Sleep(5);
  EXPECT_FALSE(ran);
  EXPECT_THROW(suspended.WaitFor(), EThread) << "never started: waiting would hang";
  suspended.Start();
  suspended.WaitFor();
  EXPECT_TRUE(ran);

  // Terminated before it starts: Execute is skipped, as in the runtime.
  std::atomic<bool> ranLate{false};
  TLambdaThread late(true, [&](TLambdaThread&) { ranLate = true; });
  late.Terminate();
  late.Start();
  late.WaitFor();
  EXPECT_FALSE(ranLate);

  // The destructor stops a thread that is still looping.
  std::atomic<int> loops{0};
  {
    TLambdaThread looping(false, [&](TLambdaThread& self) {
      while (!self.Terminated()) ++loops, TThread::Sleep(1);
    });
    looping.Start();
    while (loops == 0) TThread::Sleep(1);
  }
  SUCCEED();
}

TEST(Thread, SynchronizeRunsOnTheMainThread) {
  const auto main = std::this_thread::get_id();
  ASSERT_EQ(MainThreadID(), main);
  std::vector<std::string> log;
  TLambdaThread t(false, [&](TLambdaThread& self) {
    for (int i = 0; i < 3; ++i)
      self.Synchronize([&, i] {
        EXPECT_EQ(std::this_thread::get_id(), main);
        log.push_back("sync" + std::to_string(i));
      });
    // An exception of the synchronised call comes back to the worker.
    try {
      self.Synchronize([] { throw EAbort(UnicodeString(u"stop")); });
    } catch (const EAbort& e) {
      log.push_back(std::string("caught ") + e.what());
    }
  });
  t.OnTerminate = [&](TObject* sender) {
    EXPECT_EQ(sender, &t);
    EXPECT_EQ(std::this_thread::get_id(), main);
    log.push_back("terminate");
  };
  t.Start();
  // WaitFor on the main thread serves the calls while it waits.
  t.WaitFor();
  EXPECT_EQ(log, (std::vector<std::string>{"sync0", "sync1", "sync2", "caught stop", "terminate"}));

  // Called on the main thread, Synchronize runs at once.
  bool direct = false;
  TThread::Synchronize(nullptr, [&] { direct = true; });
  EXPECT_TRUE(direct);

  // Queued calls run at the next CheckSynchronize; other threads may not call it.
  std::atomic<int> queued{0};
  std::string fromWorker;
  TLambdaThread q(false, [&](TLambdaThread& self) {
    self.Queue([&] { ++queued; });
    self.Queue([] { throw EAbort(UnicodeString(u"dropped")); });
    try {
      CheckSynchronize();
    } catch (const EThread&) {
      fromWorker = "refused";
    }
  });
  q.Start();
  while (!q.Finished()) CheckSynchronize(10);
  q.WaitFor();
  CheckSynchronize(0);
  EXPECT_EQ(queued, 1);
  EXPECT_EQ(fromWorker, "refused");
}

TEST(Thread, FatalExceptionAndFreeOnTerminate) {
  struct Case {
    const char* name;
    std::function<void(TLambdaThread&)> body;
    const char* message;
    bool isEConvert;
  };
  const Case cases[] = {
      {"runtime exception", [](TLambdaThread&) { throw EConvertError(UnicodeString(u"bad value")); },
       "bad value", true},
      {"standard exception", [](TLambdaThread&) { throw std::runtime_error("std failure"); }, "std failure",
       false},
      {"anything else", [](TLambdaThread&) { throw 7; }, "Unknown exception in thread", false},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    TLambdaThread t(false, c.body);
    t.Start();
    t.WaitFor();
    ASSERT_NE(t.FatalException(), nullptr);
    EXPECT_STREQ(t.FatalException()->what(), c.message);
    EXPECT_EQ(t.FatalException()->Is<EConvertError>(), c.isEConvert);
  }

  // A self-freeing thread is gone once it ends; waiting for it is refused.
  static std::atomic<int> destroyed{0};
  struct TSelfFreeing : TThread {
    TEvent* go;
    explicit TSelfFreeing(TEvent* e) : TThread(true), go(e) { SetFreeOnTerminate(true); }
    ~TSelfFreeing() override { ++destroyed; }
    void Execute() override { go->WaitFor(); }
  };
  TEvent go;
  auto* t = new TSelfFreeing(&go);
  t->Start();
  EXPECT_THROW(t->WaitFor(), EThread);
  go.SetEvent();
  for (int i = 0; i < 2000 && destroyed == 0; ++i) TThread::Sleep(1);
  EXPECT_EQ(destroyed, 1);
}

TEST(Synchronizer, ManyReadersAndWritersKeepPairsConsistent) {
  TMultiReadExclusiveWriteSynchronizer lock;
  // Writers keep a == b; readers check it. Plain ints: the lock is the only
  // thing that makes this correct (and visible to the sanitizers).
  int a = 0, b = 0;
  std::atomic<bool> bad{false};
  std::atomic<int> writes{0};
  std::vector<std::thread> threads;
  for (int r = 0; r < 6; ++r)
    threads.emplace_back([&] {
      for (int i = 0; i < 3000; ++i) {
        lock.BeginRead();
        lock.BeginRead();  // nested reads by one thread
        if (a != b) bad = true;
        lock.EndRead();
        lock.EndRead();
      }
    });
  for (int w = 0; w < 2; ++w)
    threads.emplace_back([&] {
      for (int i = 0; i < 500; ++i) {
        lock.BeginWrite();
        ++a;
        lock.BeginWrite();  // nested write
        lock.BeginRead();   // reading while writing
        ++b;
        lock.EndRead();
        lock.EndWrite();
        lock.EndWrite();
        ++writes;
      }
    });
  // A reader that decides to write: the upgrade must not deadlock.
  threads.emplace_back([&] {
    for (int i = 0; i < 200; ++i) {
      lock.BeginRead();
      lock.BeginWrite();
      ++a, ++b;
      lock.EndWrite();
      if (a != b) bad = true;  // still protected: the read lock is back
      lock.EndRead();
    }
  });
  for (auto& t : threads) t.join();
  EXPECT_FALSE(bad);
  EXPECT_EQ(a, 2 * 500 + 200);
  EXPECT_EQ(a, b);
  EXPECT_EQ(lock.RevisionLevel(), uint32_t(2 * 500 + 200));

  EXPECT_TRUE(lock.BeginWrite()) << "nobody else wrote meanwhile";
  lock.EndWrite();
  lock.EndRead();   // unbalanced calls are ignored
  lock.EndWrite();
  lock.BeginWrite();
  lock.EndWrite();
}

TEST(Synchronizer, CriticalSectionAndEvent) {
  TCriticalSection cs;
  cs.Enter();
  cs.Enter();  // recursive
  bool otherGot = true;
  std::thread([&] { otherGot = cs.TryEnter(); }).join();
  EXPECT_FALSE(otherGot);
  cs.Leave();
  cs.Leave();
  std::thread([&] {
    otherGot = cs.TryEnter();
    if (otherGot) cs.Leave();
  }).join();
  EXPECT_TRUE(otherGot);

  struct Case {
    bool manual, initial;
    TWaitResult first, second;
  };
  const Case cases[] = {
      {true, false, wrTimeout, wrTimeout},
      {true, true, wrSignaled, wrSignaled},
      {false, true, wrSignaled, wrTimeout},  // auto-reset: one wait takes it
  };
  for (const auto& c : cases) {
    TEvent e(c.manual, c.initial);
    EXPECT_EQ(e.WaitFor(1), c.first);
    EXPECT_EQ(e.WaitFor(0), c.second);
  }
  TEvent e;
  std::thread setter([&] {
    TThread::Sleep(5);
    e.SetEvent();
  });
  EXPECT_EQ(e.WaitFor(INFINITE), wrSignaled);
  setter.join();
  e.ResetEvent();
  EXPECT_EQ(e.WaitFor(0), wrTimeout);
}
