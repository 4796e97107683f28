// Objects of the host in Java live as long as Java can reach them, or until the host takes them back, and their
// functions end once. QV_TEST_CALLBACKS says how many calls the threads make together, instead of the short form's
// number.
#include <condition_variable>
#include <cstdlib>
#include <mutex>
#include <random>
#include <thread>

#include "tests/client/client_fixture.h"
#include "tests/support/threads.h"

namespace qvtest {
namespace {

using namespace std::chrono_literals;
using testing::HasSubstr;

using Callbacks = qvjvm::instance<"client/Callbacks">;
using Runnable = qvjvm::instance<"java/lang/Runnable">;
using IntOperator = qvjvm::instance<"java/util/function/IntUnaryOperator">;

constexpr auto kLimit = 60s;

// Lets nobody through before it was opened so many times. (std::latch of this library can miss a wake.)
class Gate {
 public:
  explicit Gate(int times) : m_left(times) {}
  void Open() {
    const std::lock_guard guard(m_lock);
    --m_left;
    m_changed.notify_all();
  }
  void Wait() {
    std::unique_lock guard(m_lock);
    m_changed.wait(guard, [&] { return m_left <= 0; });
  }

 private:
  std::mutex m_lock;
  std::condition_variable m_changed;
  int m_left;
};

// Functions that count how many of them live.
class Counted {
 public:
  Counted() { ++s_alive; }
  Counted(const Counted&) = delete;
  Counted& operator=(const Counted&) = delete;
  ~Counted() { --s_alive; }
  static int Alive() { return s_alive; }

 private:
  static inline std::atomic<int> s_alive = 0;
};

class ClientHosted : public ClientTest {
 protected:
  ~ClientHosted() override { EXPECT_EQ(Counted::Alive(), 0); }

  template <class Work>
  auto MakeRunnable(Work work) const {
    return qvjvm::implement<"java/lang/Runnable">(java, [counted = std::make_shared<Counted>(), work] { work(); });
  }
  // Whether something becomes true while Java collects its garbage.
  template <class Holds>
  bool ComesTrue(const Holds& holds) const {
    const auto end = std::chrono::steady_clock::now() + kLimit;
    while (!holds()) {
      if (std::chrono::steady_clock::now() > end) return false;
      java.call_static<"java/lang/System", "gc">();
      std::this_thread::sleep_for(10ms);
    }
    return true;
  }
  [[nodiscard]] bool HasWatcher() const {
    return Callbacks::call_static<"hasThread", bool>(java, "qvjvm host objects");
  }
};

TEST_F(ClientHosted, FunctionsEndWhenJavaHasForgottenTheObject) {
  {
    const auto object = MakeRunnable([] {});
    const auto list = qvjvm::new_list(java, std::vector<int32_t>());
    list.call<"add", bool(qvjvm::object)>(object);
    EXPECT_EQ(Counted::Alive(), 1);
    EXPECT_TRUE(HasWatcher());
  }
  EXPECT_TRUE(ComesTrue([] { return Counted::Alive() == 0; }));
  EXPECT_TRUE(ComesTrue([&] { return !HasWatcher(); }));
}

TEST_F(ClientHosted, AnObjectThatJavaReachesLives) {
  const auto list = qvjvm::new_list(java, std::vector<int32_t>());
  int runs = 0;
  list.call<"add", bool(qvjvm::object)>(MakeRunnable([&] { ++runs; }));
  for (int i = 0; i < 3; ++i) java.call_static<"java/lang/System", "gc">();
  list.call<"get", qvjvm::object>(0).as<Runnable>().call<"run">();
  EXPECT_EQ(runs, 1);
  list.call<"clear">();
  EXPECT_TRUE(ComesTrue([] { return Counted::Alive() == 0; }));
}

TEST_F(ClientHosted, RevokeEndsTheFunctionsAndLaterCallsAreRefused) {
  const auto object = MakeRunnable([] {});
  object.call<"run">();
  object.revoke();
  EXPECT_EQ(Counted::Alive(), 0);
  object.revoke();
  EXPECT_EQ(object.try_call<"run">().reason().message(),
            L"java.lang.IllegalStateException: the host has taken this object back");
  EXPECT_TRUE((object.call<"equals", bool(qvjvm::object)>(object)));
  const qvjvm::hosted<"java/lang/Runnable"> none;
  EXPECT_EQ(none.try_revoke().reason().status(), QV_E_INVALIDARG);
  EXPECT_FALSE(none.try_handle());
}

TEST_F(ClientHosted, AHandleRevokesFromAnyThread) {
  auto object = std::make_optional(MakeRunnable([] {}));
  const qvjvm::host_handle handle = object->handle();
  const qvjvm::global kept(*object);
  object.reset();
  std::thread([&] { handle.revoke(); }).join();
  EXPECT_EQ(Counted::Alive(), 0);
  EXPECT_TRUE(handle.wait(0ms));
  EXPECT_FALSE(kept.on_this_thread<Runnable>().try_call<"run">());
  const qvjvm::host_handle none;
  EXPECT_FALSE(none);
  EXPECT_TRUE(none.try_revoke());
  EXPECT_TRUE(none.wait(0ms));
}

TEST_F(ClientHosted, AHandleKeepsNoObjectAlive) {
  const qvjvm::host_handle handle = MakeRunnable([] {}).handle();
  EXPECT_TRUE(ComesTrue([] { return Counted::Alive() == 0; }));
  handle.revoke();
}

TEST_F(ClientHosted, ARevokedObjectWaitsForTheCallsInside) {
  Gate inside(2);
  Gate go(1);
  const auto object = MakeRunnable([&] {
    inside.Open();
    go.Wait();
  });
  const qvjvm::host_handle handle = object.handle();
  const qvjvm::global kept(object);
  std::vector<std::thread> threads;
  for (int i = 0; i < 2; ++i) {
    threads.emplace_back([&] { kept.on_this_thread<Runnable>().call<"run">(); });
  }
  inside.Wait();
  handle.revoke();
  EXPECT_EQ(Counted::Alive(), 1);
  EXPECT_FALSE(handle.wait(20ms));
  EXPECT_FALSE(object.try_call<"run">());
  go.Open();
  EXPECT_TRUE(handle.wait(kLimit));
  EXPECT_EQ(Counted::Alive(), 0);
  for (std::thread& thread : threads) thread.join();
}

TEST_F(ClientHosted, AFunctionMayRevokeItsOwnObject) {
  qvjvm::host_handle handle;
  bool endedInside = false;
  const auto object = MakeRunnable([&] {
    handle.revoke();
    endedInside = Counted::Alive() == 0 || handle.wait(5ms);
  });
  handle = object.handle();
  object.call<"run">();
  EXPECT_FALSE(endedInside);
  EXPECT_EQ(Counted::Alive(), 0);
}

TEST_F(ClientHosted, AnObjectOutlivesTheHandleOfItsJvm) {
  auto other = std::make_optional(qvjvm::jvm::start());
  int runs = 0;
  const auto list = qvjvm::new_list(java, std::vector<int32_t>());
  {
    const auto object = qvjvm::implement<"java/lang/Runnable">(*other, [&, counted = std::make_shared<Counted>()] {
      ++runs;
      throw std::out_of_range("after its jvm");
    });
    list.call<"add", bool(qvjvm::object)>(object);
  }
  other.reset();
  const Runnable object = list.call<"get", qvjvm::object>(0).as<Runnable>();
  EXPECT_THROW(object.call<"run">(), std::out_of_range);
  EXPECT_EQ(runs, 1);
  list.call<"clear">();
  const_cast<Runnable&>(object) = Runnable();
  EXPECT_TRUE(ComesTrue([] { return Counted::Alive() == 0; }));
}

TEST_F(ClientHosted, ExceptionsOfTheHostAreGivenBack) {
  struct Thrown : std::runtime_error {
    Thrown() : std::runtime_error("counted") {}
    std::shared_ptr<Counted> counted = std::make_shared<Counted>();
  };
  {
    const auto object = qvjvm::implement<"java/lang/Runnable">(java, [] { throw Thrown(); });
    for (int i = 0; i < 100; ++i) EXPECT_THROW(object.call<"run">(), Thrown);
    const auto failed = object.try_call<"run">();
    EXPECT_THROW(failed.reason().rethrow(), Thrown);
    EXPECT_GT(Counted::Alive(), 0);
  }
  EXPECT_TRUE(ComesTrue([] { return Counted::Alive() == 0; }));
}

TEST_F(ClientHosted, ClosingTakesEverythingBackAndWaits) {
  Gate inside(1);
  Gate go(1);
  const auto idle = MakeRunnable([] {});
  const auto busy = MakeRunnable([&] {
    inside.Open();
    go.Wait();
  });
  const qvjvm::global kept(busy);
  std::thread caller([&] { kept.on_this_thread<Runnable>().call<"run">(); });
  inside.Wait();
  EXPECT_FALSE(qvjvm::close_callbacks(java, 20ms));
  EXPECT_EQ(Counted::Alive(), 1);
  EXPECT_THAT((qvjvm::try_implement<"java/lang/Runnable">(java, [] {}).reason().message()), HasSubstr(L"closes"));
  go.Open();
  EXPECT_TRUE(qvjvm::close_callbacks(java, kLimit));
  EXPECT_EQ(Counted::Alive(), 0);
  EXPECT_FALSE(HasWatcher());
  caller.join();
  EXPECT_FALSE(idle.try_call<"run">());
  EXPECT_TRUE(idle.try_revoke());
  EXPECT_TRUE(qvjvm::close_callbacks(java, 0ms));
  // Afterwards the module may begin anew.
  int runs = 0;
  qvjvm::implement<"java/lang/Runnable">(java, [&] { ++runs; }).call<"run">();
  EXPECT_EQ(runs, 1);
}

TEST_F(ClientHosted, TheFirstObjectsOfManyThreadsAgreeOnTheClasses) {
  for (int round = 0; round < 10; ++round) {
    ASSERT_TRUE(qvjvm::close_callbacks(java, kLimit));
    std::atomic<int> runs = 0;
    Gate done(8);
    OnThreads(8, [&](int) {
      MakeRunnable([&] { ++runs; }).template call<"run">();
      done.Open();
      done.Wait();  // Under Wine a thread that ends and one that Java starts can wait for each other.
    });
    EXPECT_EQ(runs, 8);
  }
  EXPECT_TRUE(qvjvm::close_callbacks(java, kLimit));
}

// Objects that come and go while Java's and the host's threads call them; every function that was made ends.
TEST_F(ClientHosted, ManyThreadsCallWhileObjectsComeAndGo) {
  constexpr int kThreads = 16;
  const char* const given = std::getenv("QV_TEST_CALLBACKS");
  const int64_t calls = given == nullptr ? 50000 : std::atoll(given);
  std::atomic<int64_t> made = 0;
  std::atomic<int64_t> ended = 0;
  std::atomic<int64_t> called = 0;
  std::atomic<int64_t> wrong = 0;
  struct Function {
    Function(std::atomic<int64_t>& makes, std::atomic<int64_t>& ends, std::atomic<int64_t>& calls)
        : ended(&ends), called(&calls) {
      ++makes;
    }
    ~Function() {
      living = 0;
      ++*ended;
    }
    std::atomic<int64_t>* ended;
    std::atomic<int64_t>* called;
    int living = 1;  // 0 when a call came too late
  };
  std::vector<std::thread> threads;
  Gate done(kThreads);
  for (int i = 0; i < kThreads; ++i) {
    threads.emplace_back([&, i] {
      const qvjvm::thread_jvm here = java.on_this_thread();
      std::mt19937 random(static_cast<unsigned>(i));
      for (int64_t left = calls / kThreads; left > 0;) {
        const int32_t some = static_cast<int32_t>(std::min<int64_t>(left, 1 + static_cast<int>(random() % 50)));
        left -= some;
        const auto object = qvjvm::implement<"java/util/function/IntUnaryOperator">(
            here, [function = std::make_shared<Function>(made, ended, called)](int32_t value) {
              ++*function->called;
              if (value == 13) throw std::out_of_range("thirteen");
              return value + function->living;
            });
        const auto sum = Callbacks::try_call_static<"sum", int64_t(IntOperator, int32_t)>(here, object, some);
        if (some > 13 ? !sum.reason().host_exception() : sum.value() != int64_t{some} * (some + 1) / 2) ++wrong;
        if (random() % 2 == 0) object.revoke();
      }
      done.Open();
      done.Wait();
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(wrong, 0);
  EXPECT_GT(called, calls / 3);
  EXPECT_TRUE(ComesTrue([&] { return made == ended; })) << made << " made, " << ended << " ended";
}

}  // namespace
}  // namespace qvtest
