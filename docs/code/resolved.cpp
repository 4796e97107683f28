#include <cstdio>
#include <thread>
#include "qvjvm/qvjvm.hpp"

struct counter : qvjvm::java_class<counter, "java/util/concurrent/atomic/AtomicInteger"> {
  using java_class::java_class;
  int32_t increment() const { return call<"incrementAndGet", int32_t>(); }  // looked up once
};

int main() {
  const qvjvm::jvm java = qvjvm::jvm::start();
  const qvjvm::global shared(counter::create(java));  // for every thread

  std::thread worker([&] {
    const qvjvm::frame frame(java);                      // gives back every reference of this block
    const auto mine = shared.on_this_thread<counter>();  // the thread joins the JVM here
    for (int i = 0; i < 1000; ++i) mine.increment();
  });  // and leaves it when it ends
  worker.join();
  std::printf("%d\n", shared.on_this_thread().call<int32_t>("get"));
}
