// What every object of the library has: one interface, a reference count and a block of its own. The creator makes the
// object in a block of AllocateBlock and owns the one reference it begins with; the last Release ends the object and
// gives the block back, so nobody deletes one. The count is interlocked, so any thread may add and release.
// The table is the interface's own: one base, no further virtual function, no virtual destructor.
#pragma once

#include <windows.h>

#include <atomic>

#include "host/qvshr.h"
#include "hostlib/backend.h"
#include "hostlib/text_object.h"
#include "hostlib/wide_text.h"

namespace qvshr {

/// Whether `iid` is the id of IUnknown, the one that every object answers to.
inline bool IsUnknownId(const GUID& iid) noexcept {
  static constexpr GUID kUnknown = {0x00000000, 0x0000, 0x0000, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};
  return IsEqualGUID(iid, kUnknown) != 0;
}

/// `Self` is the final class; it makes this one its friend, because its destructor is private.
template <class Self, class Interface, ObjectKind kKind>
class HostObject : public Interface {
 public:
  HostObject(const HostObject&) = delete;
  HostObject& operator=(const HostObject&) = delete;

  int32_t QueryInterface(const GUID& iid, void** object) noexcept final {
    if (object == nullptr) return E_POINTER;
    *object = nullptr;
    if (!IsUnknownId(iid)) return QV_E_NOINTERFACE;
    AddRef();
    *object = static_cast<Interface*>(this);
    return QV_S_OK;
  }
  uint32_t AddRef() noexcept final { return ++m_references; }
  uint32_t Release() noexcept final {
    const uint32_t left = --m_references;
    if (left == 0) {
      Self* const self = static_cast<Self*>(this);
      self->~Self();
      NoteObjectGone(kKind);
      FreeBlock(self, QVSHR_CALLER);
    }
    return left;
  }
  int32_t Reserved3() noexcept final { return QV_E_NOTIMPL; }
  int32_t Reserved8() noexcept final { return QV_E_NOTIMPL; }

 protected:
  HostObject() noexcept { NoteObjectBorn(kKind); }
  ~HostObject() = default;

 private:
  std::atomic<uint32_t> m_references{1};
};

/// A key object. `Self` says where its sub keys and values come from and never sees a wrong argument:
///   int32_t OpenBelow(const wchar_t* path, uint32_t access, const void* caller, IQvRegKey** key) noexcept;
///   int32_t ReadAt(uint32_t index, const void* caller, IQvString** name, IQvString** value) noexcept;
///   int32_t ReadNamed(const wchar_t* name, const void* caller, IQvString** value) noexcept;
/// The out values are null when these are called. `caller` is the address that the ledger names for new blocks.
template <class Self>
class KeyObject : public HostObject<Self, IQvRegKey, ObjectKind::Key> {
 public:
  int32_t OpenSubKey(IQvString* relativePath, uint32_t access, IQvRegKey** key) noexcept final {
    if (key == nullptr) return E_POINTER;
    *key = nullptr;
    if (CallFails(kQvshrCallOpenSubKey)) return QV_E_FAIL;
    if (relativePath == nullptr) return QV_E_INVALIDARG;
    return static_cast<Self*>(this)->OpenBelow(TextOf(relativePath), access, QVSHR_CALLER, key);
  }
  int32_t Reserved5() noexcept final { return QV_E_NOTIMPL; }
  int32_t Reserved6() noexcept final { return QV_E_NOTIMPL; }
  int32_t EnumValue(int32_t index, IQvString** name, IQvString** value) noexcept final {
    if (name != nullptr) *name = nullptr;
    if (value != nullptr) *value = nullptr;
    if (name == nullptr || value == nullptr) return E_POINTER;
    if (CallFails(kQvshrCallEnumValue)) return QV_E_FAIL;
    if (index < 0) return QV_E_INVALIDARG;
    return static_cast<Self*>(this)->ReadAt(static_cast<uint32_t>(index), QVSHR_CALLER, name, value);
  }
  int32_t Reserved9() noexcept final { return QV_E_NOTIMPL; }
  int32_t Reserved10() noexcept final { return QV_E_NOTIMPL; }
  int32_t Reserved11() noexcept final { return QV_E_NOTIMPL; }
  int32_t QueryStringValue(IQvString* name, IQvString** value) noexcept final {
    if (value == nullptr) return E_POINTER;
    *value = nullptr;
    if (CallFails(kQvshrCallQueryStringValue)) return QV_E_FAIL;
    if (name == nullptr) return QV_E_INVALIDARG;
    return static_cast<Self*>(this)->ReadNamed(TextOf(name), QVSHR_CALLER, value);
  }

 protected:
  KeyObject() noexcept = default;
  ~KeyObject() = default;

  /// Makes both objects or none.
  static int32_t CreatePair(std::wstring_view nameText, std::wstring_view valueText, const void* caller,
                            IQvString** name, IQvString** value) noexcept {
    const int32_t status = CreateText(nameText, {}, caller, name);
    if (status < 0) return status;
    const int32_t valueStatus = CreateText(valueText, {}, caller, value);
    if (valueStatus < 0) {
      (*name)->Release();
      *name = nullptr;
    }
    return valueStatus;
  }
};

}  // namespace qvshr
