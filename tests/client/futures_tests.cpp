// Java's CompletableFuture and C++'s std::future.
#include <future>

#include "tests/client/client_fixture.h"

namespace qvtest {
namespace {

using ClientFutures = ClientTest;

TEST_F(ClientFutures, CppWaitsForAJavaFuture) {
  const auto completed = qvjvm::completable_future::create(java);
  auto number = qvjvm::to_future<int32_t>(completed);
  auto object = qvjvm::to_future<qvjvm::global>(completed);
  auto nothing = qvjvm::to_future<void>(completed);
  auto wrong = qvjvm::to_future<std::string>(completed);
  EXPECT_EQ(number.wait_for(std::chrono::milliseconds(0)), std::future_status::timeout);
  completed.call<"complete", bool(qvjvm::object)>(qvjvm::boxed{42});
  EXPECT_EQ(number.get(), 42);
  EXPECT_EQ(object.get().on_this_thread().as<int32_t>(), 42);
  nothing.get();
  EXPECT_THROW(wrong.get(), qvjvm::error);
}

TEST_F(ClientFutures, FailuresOfAJavaFutureAreWhatTheyAre) {
  const auto javas = qvjvm::completable_future::create(java);
  javas.call<"completeExceptionally", bool(qvjvm::throwable)>(qvjvm::throwable::create(java, std::wstring(L"of Java")));
  EXPECT_THROW(qvjvm::to_future<int32_t>(javas).get(), qvjvm::java_error);
  const auto ours = qvjvm::new_future(
      java, std::async(std::launch::async, []() -> int32_t { throw std::out_of_range("of the host"); }));
  EXPECT_THROW(qvjvm::to_future<int32_t>(ours).get(), std::out_of_range);
}

TEST_F(ClientFutures, JavaWaitsForAFutureOfTheHost) {
  std::promise<std::string> promise;
  const auto future = qvjvm::new_future(java, promise.get_future());
  EXPECT_FALSE((future.call<"isDone", bool>()));
  promise.set_value("there");
  EXPECT_EQ((future.call<"get", qvjvm::object>().as<std::string>()), "there");
  std::promise<void> done;
  const auto nothing = qvjvm::new_future(java, done.get_future());
  done.set_value();
  EXPECT_FALSE((nothing.call<"get", qvjvm::object>()));
}

}  // namespace
}  // namespace qvtest
