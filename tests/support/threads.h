// Threads as hosts have them, by CreateThread and without the C++ library around them, and the event that they meet at.
// Each object owns its thread and waits for its end; what the work borrows must live until then.
#pragma once

#include <windows.h>

#include <functional>
#include <memory>
#include <utility>
#include <vector>

#include "base/handle.h"
#include "tests/support/pinned.h"

namespace qvtest {

// Once set it stays set.
class Event {
 public:
  // A name makes it one with the event of that name in another process.
  explicit Event(const wchar_t* name = nullptr) : m_event(CreateEventW(nullptr, TRUE, FALSE, name)) {}

  void Set() const { SetEvent(m_event.Get()); }
  // Whether it was set in that time.
  bool Wait(DWORD limitMs = INFINITE) const { return WaitForSingleObject(m_event.Get(), limitMs) == WAIT_OBJECT_0; }
  [[nodiscard]] HANDLE Handle() const { return m_event.Get(); }

 private:
  qv::Handle m_event;
};

class HostThread : private Pinned {
 public:
  explicit HostThread(std::function<void()> work);
  ~HostThread() { Join(); }

  // Whether it ended in that time.
  bool Join(DWORD limitMs = INFINITE) const { return WaitForSingleObject(m_thread.Get(), limitMs) == WAIT_OBJECT_0; }
  [[nodiscard]] DWORD Id() const { return m_id; }
  [[nodiscard]] HANDLE Handle() const { return m_thread.Get(); }

 private:
  std::function<void()> m_work;
  DWORD m_id = 0;
  qv::Handle m_thread;
};

// Runs the work on a thread of its own and waits until that is gone.
// Returns that thread's id.
inline DWORD OnThread(std::function<void()> work) { return HostThread(std::move(work)).Id(); }

// A thread that stops inside the test until it is let go.
class WaitingThread {
 public:
  // `work` is done when the constructor returns; `rest` runs when the thread is let go.
  explicit WaitingThread(
      std::function<void()> work, std::function<void()> rest = [] {});
  ~WaitingThread() { LetGo(); }

  void Go() const { m_go.Set(); }
  // It is gone when this returns.
  void LetGo() const {
    Go();
    m_thread.Join();
  }

 private:
  Event m_ready;
  Event m_go;
  HostThread m_thread;
};

// Threads that do the same at the same time: all of them exist before the first begins with its work. The work is given
// its thread's number, from 0.
class Crew : private Pinned {
 public:
  Crew(int threads, std::function<void(int)> work);
  // Waits until all are gone.
  ~Crew();

 private:
  std::function<void(int)> m_work;
  Event m_go;
  std::vector<std::unique_ptr<HostThread>> m_threads;
};

inline void OnThreads(int threads, std::function<void(int)> work) { const Crew crew(threads, std::move(work)); }

}  // namespace qvtest
