// References come and go with their owners; what is shared between threads is safe to share.
#include <atomic>
#include <thread>

#include "tests/client/client_fixture.h"

namespace qvtest {
namespace {

using ClientLifetime = ClientTest;

TEST_F(ClientLifetime, MoreObjectsThanTheHeapHoldsAreGivenBack) {
  const qvjvm::class_ref list = java.find_class("java/util/ArrayList");
  const qvjvm::class_ref runtime = java.find_class("java/lang/Runtime");
  const qvjvm::object self = runtime.call_static<qvjvm::instance<"java/lang/Runtime">>("getRuntime");
  // With 128 MiB of heap, 200,000 lists of 10,000 places that stayed would be 8 GiB.
  for (int i = 0; i < 200000; ++i) {
    const qvjvm::object object = list.create(10000);
    ASSERT_TRUE(object);
  }
  EXPECT_GT(self.call<int64_t>("freeMemory"), 0);
}

TEST_F(ClientLifetime, AFrameGivesBackWhatTheOperationsLeave) {
  for (int i = 0; i < 100000; ++i) {
    const qvjvm::frame frame(java);
    EXPECT_FALSE(java.java_version().empty());  // leaves references of its own on the thread
  }
}

TEST_F(ClientLifetime, MovedObjectsLeaveNullBehind) {
  qvjvm::object first = java.new_string(L"abc");
  qvjvm::object second = std::move(first);
  EXPECT_FALSE(first);  // NOLINT(bugprone-use-after-move): that is what is tested
  EXPECT_EQ(second.call<int32_t>("length"), 3);
  qvjvm::global kept(second);
  qvjvm::global moved = std::move(kept);
  EXPECT_FALSE(kept);  // NOLINT(bugprone-use-after-move)
  EXPECT_TRUE(moved);
}

TEST_F(ClientLifetime, AGlobalIsUsedAndDroppedOnOtherThreads) {
  const qvjvm::object counter = java.find_class("java/util/concurrent/atomic/AtomicInteger").create();
  const qvjvm::global shared(counter);
  const auto increment = counter.get_class().find_method<int32_t()>("incrementAndGet");
  std::vector<std::thread> threads;
  for (int i = 0; i < 8; ++i) {
    threads.emplace_back([&] {
      const qvjvm::object mine = shared.on_this_thread();
      for (int n = 0; n < 1000; ++n) increment(mine);
      const qvjvm::global mineAgain(mine);
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(counter.call<int32_t>("get"), 8000);
}

TEST_F(ClientLifetime, ThreadsThatEndLeaveTheJvm) {
  const auto count = [&] { return java.find_class("java/lang/Thread").call_static<int32_t>("activeCount"); };
  const int32_t before = count();
  std::atomic<int32_t> highest = 0;
  for (int i = 0; i < 20; ++i) {
    std::thread([&] { highest = std::max<int32_t>(highest, count()); }).join();
  }
  EXPECT_EQ(highest, before + 1);
  EXPECT_EQ(count(), before);
}

TEST_F(ClientLifetime, CopiesShareTheServiceObject) {
  const qvjvm::jvm copy = java;  // NOLINT(performance-unnecessary-copy-initialization): copying is what is tested
  EXPECT_EQ(copy.get(), java.get());
  qvjvm::jvm other = qvjvm::jvm::start();
  EXPECT_NE(other.get(), java.get());
  other = copy;
  EXPECT_EQ(other.get(), java.get());
  EXPECT_TRUE(qvjvm::jvm::start(L"C:\\late.jar").class_path_ignored());
}

}  // namespace
}  // namespace qvtest
