#include "tests/support/threads.h"

namespace qvtest {

HostThread::HostThread(std::function<void()> work)
    : m_work(std::move(work)),
      m_thread(CreateThread(
          nullptr, 0,
          [](void* self) -> DWORD {
            static_cast<HostThread*>(self)->m_work();
            return 0;
          },
          this, 0, &m_id)) {}

WaitingThread::WaitingThread(std::function<void()> work, std::function<void()> rest)
    : m_thread([this, work = std::move(work), rest = std::move(rest)] {
        work();
        m_ready.Set();
        m_go.Wait();
        rest();
      }) {
  m_ready.Wait();
}

Crew::Crew(int threads, std::function<void(int)> work) : m_work(std::move(work)) {
  for (int number = 0; number < threads; ++number) {
    m_threads.push_back(std::make_unique<HostThread>([this, number] {
      m_go.Wait();
      m_work(number);
    }));
  }
  m_go.Set();
}

Crew::~Crew() = default;

}  // namespace qvtest
