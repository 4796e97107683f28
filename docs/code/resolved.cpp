#include <cstdio>
#include <thread>
#include "qvjvm/qvjvm.hpp"

int main() {
  const qvjvm::jvm java = qvjvm::jvm::start();
  const qvjvm::class_ref counter = java.find_class("java/util/concurrent/atomic/AtomicInteger");
  const auto increment = counter.find_method<int32_t()>("incrementAndGet");  // looked up once
  const qvjvm::global shared(counter.create());                              // for every thread

  std::thread worker([&] {
    const qvjvm::frame frame(java);                      // gives back every reference of this block
    const qvjvm::object mine = shared.on_this_thread();  // the thread joins the JVM here
    for (int i = 0; i < 1000; ++i) increment(mine);
  });  // and leaves it when it ends
  worker.join();
  std::printf("%d\n", shared.on_this_thread().call<int32_t>("get"));
}
