// Memory of the host library for the service: every block, object and string buffer comes from QvshrAlloc, so that host
// and service can free each other's. Exhaustion is a null pointer, never an exception.
//
// HostPtr and HostArray own one block each and free it at their end without running a destructor: they are for plain
// data. release() hands the block on, to a list, a caller or the host. An object of a class with QV_HOST_ALLOCATED is
// made by new and ends by delete, which runs its destructor, or by its own Destroy where hosts end it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

#include "host/qvshr.h"

namespace qv {

struct HostFree {
  void operator()(void* block) const noexcept { QvshrFree(block); }
};

// Owns one block of trivially destructible content.
template <class T>
using HostPtr = std::unique_ptr<T, HostFree>;
template <class T>
using HostArray = std::unique_ptr<T[], HostFree>;

// Uninitialised; null without memory or when the byte count would overflow.
template <class T>
HostArray<T> AllocHostArray(size_t count) noexcept {
  if (count > SIZE_MAX / sizeof(T)) return nullptr;
  return HostArray<T>(static_cast<T*>(QvshrAlloc(count * sizeof(T))));
}

}  // namespace qv

// Class-level allocation: `new C` gives null without memory, `delete` frees to the host library.
#define QV_HOST_ALLOCATED                                                        \
  static void* operator new(size_t bytes) noexcept { return QvshrAlloc(bytes); } \
  static void* operator new(size_t, void* place) noexcept { return place; }      \
  static void operator delete(void* block) noexcept { QvshrFree(block); }        \
  static void operator delete(void*, void*) noexcept {}
