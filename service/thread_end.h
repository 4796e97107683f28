// How the service learns that a thread ends: a fibre-local-storage callback, which the system runs on the ending thread
// before it takes the loader lock. The library's own thread notification runs under that lock and finds nothing left
// to do, unless a later callback of the same thread called the service again, or the thread consists of fibres.
#pragma once

namespace qv {

// At process attach. False when the system has no slot left.
bool PrepareThreadEnd() noexcept;
// Marks the calling thread as one with registry entries. False without memory.
bool MarkThreadForEnd() noexcept;
// At thread detach, under the loader lock.
void OnThreadNotification() noexcept;
// At a real unload, after which no callback may come. Never at process end.
void ForgetThreadEnd() noexcept;

}  // namespace qv
