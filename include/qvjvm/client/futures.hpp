/// @file
/// Java's CompletableFuture and C++'s std::future. Only in builds with exceptions, which std::future needs.
///
/// @code
/// std::future<std::string> name = qvjvm::to_future<std::string>(completable);
/// const auto sum = qvjvm::new_future(java, std::async(std::launch::async, add_up));
/// @endcode
#pragma once

#include "qvjvm/client/callbacks.hpp"

#if QVJVM_EXCEPTIONS

#include <future>

namespace qvjvm {

/// A java.util.concurrent.CompletableFuture.
using completable_future = instance<"java/util/concurrent/CompletableFuture">;

namespace detail {

/// What a future failed with, in C++: without the CompletionException that later stages put around it.
inline std::exception_ptr completed_with(throwable why) {
  if (why.is<"java/util/concurrent/CompletionException">()) {
    if (throwable cause = why.cause()) why = std::move(cause);
  }
  if (const std::exception_ptr thrown = why.host_exception()) return thrown;
  const context java = why.java();
  why.throw_in_java();
  return std::make_exception_ptr(java_error(take_exception(java)));
}

/// Fulfils a promise by what a future came to.
template <class T>
void complete(std::promise<T>& promise, const object& value, throwable why) {
  if (why) {
    promise.set_exception(completed_with(std::move(why)));
  } else if constexpr (std::is_void_v<T>) {
    promise.set_value();
  } else if constexpr (std::is_same_v<T, global>) {
    promise.set_value(global(value));
  } else {
    try {
      promise.set_value(value ? value.as<T>() : T());
    } catch (const error&) {
      promise.set_exception(std::current_exception());
    }
  }
}

/// Runs each task on a daemon thread of Java's, so that waiting for the host takes no thread of a pool.
inline auto new_thread_executor(const context& java) {
  return implement<"java/util/concurrent/Executor">(here{java}, [](const instance<"java/lang/Runnable">& task) {
    using thread = instance<"java/lang/Thread">;
    const thread made = thread::create(task, task);
    made.call<"setDaemon">(true);
    made.call<"start">();
  });
}

}  // namespace detail

/// What a CompletableFuture comes to, as C++ has it: a value as object::as reads it, T() for null; a qvjvm::global for
/// an object; void for none. An exception is the host's own again, or a java_error. One that Java forgets before it is
/// completed is a broken promise. Any thread may wait, but for those that complete the future.
/// @throws qvjvm::error for null.
template <class T>
[[nodiscard]] std::future<T> to_future(const completable_future& from) {
  static_assert(!std::derived_from<T, object>, "qvjvm: an object belongs to one thread: use qvjvm::global");
  auto promise = std::make_shared<std::promise<T>>();
  std::future<T> made = promise->get_future();
  const auto done = implement<"java/util/function/BiConsumer">(
      from, [promise = std::move(promise)](const object& value, throwable why) {
        detail::complete(*promise, value, std::move(why));
      });
  from.call<"whenComplete", completable_future(instance<"java/util/function/BiConsumer">)>(done);
  return made;
}

/// A CompletableFuture of what a std::future comes to, for which a daemon thread of Java's waits. An exception is the
/// cause of its CompletionException.
/// @throws qvjvm::error when Java has no memory.
template <detail::origin Where, class T>
[[nodiscard]] completable_future new_future(const Where& where, std::future<T> from) {
  const detail::here java{detail::value_of(enter_from(where))};
  const auto executor = detail::new_thread_executor(java.java);
  using java_executor = instance<"java/util/concurrent/Executor">;
  auto wait = [from = std::move(from)]() mutable -> T { return from.get(); };
  if constexpr (std::is_void_v<T>) {
    using task = instance<"java/lang/Runnable">;
    return completable_future::call_static<"runAsync", completable_future(task, java_executor)>(
        java, implement<"java/lang/Runnable">(java, std::move(wait)), executor);
  } else {
    using supplier = instance<"java/util/function/Supplier">;
    return completable_future::call_static<"supplyAsync", completable_future(supplier, java_executor)>(
        java, implement<"java/util/function/Supplier">(java, std::move(wait)), executor);
  }
}

}  // namespace qvjvm

#endif
