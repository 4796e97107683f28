// How the service learns that a thread ends, and why it asks twice.
//
// The library's entry routine is told of a thread's end under the loader lock, and what is to be done then takes the
// registry's lock and leaves the JVM, which runs Java. That is how two threads come to wait for each other for ever:
//   1. Thread A is inside LoadModuleCached: it holds the registry's lock.
//   2. Thread B ends. The system takes the loader lock for it and calls the entry routine.
//   3. B wants the registry's lock, which A has.
//   4. A's library load wants the loader lock, which B has.
// (Java in the place of A does the same: a class's static code that loads a library while B waits for a safepoint.)
// So B's work is done before step 2: a callback of fibre-local storage runs on the ending thread before the system
// takes the loader lock. The entry routine then finds nothing left to do, but for three kinds of threads:
//   - a later callback of the same thread has called the service again;
//   - the thread consists of fibres, whose callbacks say nothing about the thread's end;
//   - the process had no slot of fibre-local storage left when the service was loaded.
// For these step 3 cannot meet step 1: nothing is in the registry, and no thread is marked, before jvm.dll is loaded,
// and after that nothing is loaded under the registry's lock again (StartLocked in service/jvm_start.cpp).
#pragma once

namespace qv {

// At process attach. `onEnd` is what is to be done on a marked thread that ends, once for each mark. False when the
// system has no thread-local slot left.
bool PrepareThreadEnd(void (*onEnd)() noexcept) noexcept;
// Marks the calling thread as one with registry entries. False without memory.
bool MarkThreadForEnd() noexcept;
// At thread detach, under the loader lock.
void OnThreadNotification() noexcept;
// At a real unload, after which no callback may come. Never at process end.
void ForgetThreadEnd() noexcept;

}  // namespace qv
