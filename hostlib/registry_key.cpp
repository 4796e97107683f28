// Key objects over the registry. An object owns its key handle; its values are bytes from strangers, and any of them
// may change between two reads, so every read is one call that either fits or is repeated with more room. The cursor of
// EnumValue is one atomic number: threads may share a key, and a lost update costs time only.
#include <windows.h>

#include <algorithm>
#include <atomic>
#include <new>

#include "host/qvshr.h"
#include "hostlib/backend.h"
#include "hostlib/host_object.h"
#include "hostlib/key_layer.h"
#include "hostlib/scratch.h"
#include "hostlib/text_object.h"
#include "hostlib/wide_text.h"

namespace qvshr {
namespace {

constexpr size_t kMaxValueBytes = size_t{64} << 20;
constexpr size_t kMaxNameUnits = 16384;  // the registry's own limit, with the null

using DataBuffer = Scratch<1024>;
using NameBuffer = Scratch<512>;

bool IsText(DWORD type) noexcept { return type == REG_SZ || type == REG_EXPAND_SZ; }

// An odd last byte is dropped; the text ends at the first null or with the data.
std::wstring_view TextIn(DataBuffer& data, DWORD bytes) noexcept {
  const size_t units = std::min<size_t>(bytes, data.SizeBytes()) / sizeof(wchar_t);
  const std::wstring_view whole(data.As<const wchar_t>(), units);
  return whole.substr(0, whole.find(L'\0'));
}

// Room for what did not fit: at least what Windows asks for, and always more than before.
[[nodiscard]] LSTATUS GrowData(DataBuffer& data, DWORD wantedBytes) noexcept {
  const size_t bytes = std::max<size_t>(wantedBytes, data.SizeBytes() * 2);
  if (wantedBytes > kMaxValueBytes || bytes > 2 * kMaxValueBytes) return ERROR_FILE_TOO_LARGE;
  return data.TryGrow(bytes) ? ERROR_SUCCESS : ERROR_OUTOFMEMORY;
}

struct ValueAt {
  NameBuffer name;
  DataBuffer data;
  DWORD nameUnits = 0;
  DWORD dataBytes = 0;
  DWORD type = REG_NONE;
};

// Reads the value at the registry's own index. The data is there only when the type is text.
LSTATUS ReadValueAt(HKEY key, DWORD index, ValueAt& value) noexcept {
  for (;;) {
    const size_t nameCapacity = value.name.SizeBytes() / sizeof(wchar_t);
    value.nameUnits = static_cast<DWORD>(nameCapacity);
    value.dataBytes = static_cast<DWORD>(value.data.SizeBytes());
    value.type = REG_SZ;  // stands when Windows gives up before it knows the type
    const LSTATUS status = RegEnumValueW(key, index, value.name.As<wchar_t>(), &value.nameUnits, nullptr, &value.type,
                                         value.data.As<BYTE>(), &value.dataBytes);
    if (status != ERROR_MORE_DATA || !IsText(value.type)) {
      return status == ERROR_MORE_DATA ? LSTATUS{ERROR_SUCCESS} : status;
    }
    // Windows does not say which of the two buffers was too small.
    const bool growName = nameCapacity < kMaxNameUnits;
    if (growName && !value.name.TryGrow(kMaxNameUnits * sizeof(wchar_t))) return ERROR_OUTOFMEMORY;
    if (growName && value.dataBytes <= value.data.SizeBytes()) continue;
    const LSTATUS grown = GrowData(value.data, value.dataBytes);
    if (grown == ERROR_FILE_TOO_LARGE) {
      // A failure would end the walk, and the values behind this one would be lost.
      value.type = REG_NONE;
      return ERROR_SUCCESS;
    }
    if (grown != ERROR_SUCCESS) return grown;
  }
}

// ERROR_OUTOFMEMORY becomes QV_E_OUTOFMEMORY, by which users tell a read without memory from a missing value.
int32_t Failure(LSTATUS status) noexcept {
  return status == ERROR_SUCCESS ? QV_E_FAIL : static_cast<int32_t>(HRESULT_FROM_WIN32(static_cast<DWORD>(status)));
}

class RegistryKey;

LSTATUS OpenKey(HKEY parent, const wchar_t* path, uint32_t access, const void* caller, IQvRegKey** out) noexcept;
LSTATUS OpenRegistry(HKEY parent, const wchar_t* path, uint32_t access, const void* caller, RegistryKey*& out) noexcept;

class RegistryKey final : public KeyObject<RegistryKey> {
 public:
  // Adopts the handle when `owned`; the hive that opens as itself stays the host's.
  RegistryKey(HKEY key, bool owned) noexcept : m_owned(owned), m_key(key) {}

  int32_t OpenBelow(const wchar_t* path, uint32_t access, const void* caller, IQvRegKey** key) noexcept {
    const LSTATUS status = OpenKey(m_key, path, access, caller, key);
    return status == ERROR_SUCCESS ? QV_S_OK : Failure(status);
  }
  int32_t ReadAt(uint32_t index, const void* caller, IQvString** name, IQvString** value) noexcept;
  int32_t ReadNamed(const wchar_t* name, const void* caller, IQvString** value) noexcept;

 private:
  friend HostObject;
  ~RegistryKey() {
    if (m_owned) RegCloseKey(m_key);
  }

  // "The text value with this number is at this index of the registry or behind it."
  struct Cursor {
    uint32_t text;
    uint32_t raw;
  };
  Cursor LoadCursor() const noexcept {
    const uint64_t packed = m_cursor.load(std::memory_order_relaxed);
    return {static_cast<uint32_t>(packed >> 32), static_cast<uint32_t>(packed)};
  }
  void StoreCursor(Cursor cursor) noexcept {
    m_cursor.store(uint64_t{cursor.text} << 32 | cursor.raw, std::memory_order_relaxed);
  }

  const bool m_owned;
  const HKEY m_key;
  std::atomic<uint64_t> m_cursor{0};
};

int32_t RegistryKey::ReadAt(uint32_t index, const void* caller, IQvString** name, IQvString** value) noexcept {
  Cursor at = LoadCursor();
  if (index < at.text) at = {0, 0};
  ValueAt found;
  for (;; ++at.raw) {
    const LSTATUS status = ReadValueAt(m_key, at.raw, found);
    if (status != ERROR_SUCCESS) return Failure(status);
    if (!IsText(found.type)) continue;
    if (at.text == index) break;
    ++at.text;
  }
  StoreCursor(at);
  const std::wstring_view nameText(found.name.As<const wchar_t>(), found.nameUnits);
  return CreatePair(nameText.substr(0, nameText.find(L'\0')), TextIn(found.data, found.dataBytes), caller, name, value);
}

int32_t RegistryKey::ReadNamed(const wchar_t* name, const void* caller, IQvString** value) noexcept {
  DataBuffer data;
  for (;;) {
    DWORD type = REG_SZ;
    DWORD bytes = static_cast<DWORD>(data.SizeBytes());
    const LSTATUS status = RegQueryValueExW(m_key, name, nullptr, &type, data.As<BYTE>(), &bytes);
    if (status != ERROR_SUCCESS && status != ERROR_MORE_DATA) return Failure(status);
    if (!IsText(type)) return Failure(ERROR_INVALID_DATATYPE);
    if (status == ERROR_SUCCESS) return CreateText(TextIn(data, bytes), {}, caller, value);
    const LSTATUS grown = GrowData(data, bytes);
    if (grown != ERROR_SUCCESS) return Failure(grown);
  }
}

LSTATUS OpenKey(HKEY parent, const wchar_t* path, uint32_t access, const void* caller, IQvRegKey** out) noexcept {
  RegistryKey* opened = nullptr;
  const LSTATUS status = OpenRegistry(parent, path, access, caller, opened);
  if (status == ERROR_SUCCESS) *out = opened;
  return status;
}

LSTATUS OpenRegistry(HKEY parent, const wchar_t* path, uint32_t access, const void* caller,
                     RegistryKey*& out) noexcept {
  HKEY key = nullptr;
  const LSTATUS status = RegOpenKeyExW(parent, path, 0, access, &key);
  if (status != ERROR_SUCCESS) return status;
  const bool owned = key != parent;  // an empty path may give a hive back as itself
  void* const block = AllocateBlock(sizeof(RegistryKey), caller);
  if (block == nullptr) {
    if (owned) RegCloseKey(key);
    return ERROR_OUTOFMEMORY;
  }
  out = new (block) RegistryKey(key, owned);
  return ERROR_SUCCESS;
}

// ---- keys that the application brings ----

HKEY HiveOf(Root root) noexcept { return root == Root::Machine ? HKEY_LOCAL_MACHINE : HKEY_CURRENT_USER; }

Root RootOf(HKEY hive) noexcept {
  if (hive == HKEY_LOCAL_MACHINE) return Root::Machine;
  return hive == HKEY_CURRENT_USER ? Root::User : Root::None;
}

LSTATUS OpenPresented(const ApplicationKeys& keys, Root root, std::wstring_view path, uint32_t access,
                      const void* caller, IQvRegKey** out) noexcept;

// A key that the application brings, or that lies above one. The first kind has the application's values alone; the
// second has those of the registry's key of that path, if there is one. Below either, what the application does not
// bring is the registry's. It keeps the keys as they were when it was opened; its path lies in its own block.
class ApplicationKey final : public KeyObject<ApplicationKey> {
 public:
  // Adopts the registry's key, which may be null. The path is copied behind the object.
  ApplicationKey(ApplicationKeys keys, Root root, std::wstring_view path, RegistryKey* registry) noexcept
      : m_keys(std::move(keys)), m_root(root), m_pathUnits(path.size()), m_registry(registry) {
    std::char_traits<wchar_t>::copy(Units(), path.data(), path.size());
    const auto [layer, number] = m_keys.Find(root, path);
    m_layer = layer;
    m_number = number;
  }

  int32_t OpenBelow(const wchar_t* relative, uint32_t access, const void* caller, IQvRegKey** key) noexcept {
    const std::wstring_view below = relative;
    if (below.size() > kMaxPathUnits || m_pathUnits > kMaxPathUnits) return Failure(ERROR_FILE_NOT_FOUND);
    const size_t units = m_pathUnits + 1 + below.size();
    Scratch<1024> joined;
    if ((units + 1) * sizeof(wchar_t) > joined.SizeBytes() && !joined.TryGrow((units + 1) * sizeof(wchar_t))) {
      return QV_E_OUTOFMEMORY;
    }
    wchar_t* const text = joined.As<wchar_t>();
    std::char_traits<wchar_t>::copy(text, Units(), m_pathUnits);
    text[m_pathUnits] = L'\\';
    std::char_traits<wchar_t>::copy(text + m_pathUnits + 1, below.data(), below.size());
    text[units] = L'\0';
    // An empty path is the key itself, and that of the hive is empty.
    const std::wstring_view whole = Without(L"\\", {text, units});
    const std::wstring_view path = whole.empty() ? std::wstring_view(text, 0) : whole;
    text[static_cast<size_t>(path.data() - text) + path.size()] = L'\0';
    const LSTATUS status = OpenPresented(m_keys, m_root, path, access, caller, key);
    return status == ERROR_SUCCESS ? QV_S_OK : Failure(status);
  }
  int32_t ReadAt(uint32_t index, const void* caller, IQvString** name, IQvString** value) noexcept {
    if (m_layer == nullptr) {
      return m_registry != nullptr ? m_registry->ReadAt(index, caller, name, value) : Failure(ERROR_NO_MORE_ITEMS);
    }
    const KeyLayer::Value* const found = m_layer->ValueAt(m_number, index);
    if (found == nullptr) return Failure(ERROR_NO_MORE_ITEMS);
    return CreatePair(found->name, found->text, caller, name, value);
  }
  int32_t ReadNamed(const wchar_t* name, const void* caller, IQvString** value) noexcept {
    if (m_layer == nullptr) {
      return m_registry != nullptr ? m_registry->ReadNamed(name, caller, value) : Failure(ERROR_FILE_NOT_FOUND);
    }
    const KeyLayer::Value* const found = m_layer->FindValue(m_number, name);
    return found != nullptr ? CreateText(found->text, {}, caller, value) : Failure(ERROR_FILE_NOT_FOUND);
  }

 private:
  friend HostObject;
  ~ApplicationKey() {
    if (m_registry != nullptr) m_registry->Release();
  }

  static constexpr size_t kMaxPathUnits = 1 << 20;

  wchar_t* Units() noexcept { return reinterpret_cast<wchar_t*>(this + 1); }

  const ApplicationKeys m_keys;
  const Root m_root;
  const size_t m_pathUnits;
  RegistryKey* const m_registry;
  const KeyLayer* m_layer;  // one of m_keys, or null: the values are the registry's
  uint32_t m_number;
};

static_assert(sizeof(ApplicationKey) % alignof(wchar_t) == 0);

// `path` is terminated.
LSTATUS OpenPresented(const ApplicationKeys& keys, Root root, std::wstring_view path, uint32_t access,
                      const void* caller, IQvRegKey** out) noexcept {
  const Place place = keys.PlaceOf(root, path);
  if (place == Place::Unknown) return OpenKey(HiveOf(root), path.data(), access, caller, out);
  RegistryKey* registry = nullptr;
  if (place == Place::Above) {
    const LSTATUS status = OpenRegistry(HiveOf(root), path.data(), access, caller, registry);
    if (status == ERROR_OUTOFMEMORY) return status;
  }
  void* const block = AllocateBlock(sizeof(ApplicationKey) + path.size() * sizeof(wchar_t), caller);
  if (block == nullptr) {
    if (registry != nullptr) registry->Release();
    return ERROR_OUTOFMEMORY;
  }
  *out = new (block) ApplicationKey(keys, root, Without(L"\\", path), registry);
  return ERROR_SUCCESS;
}

}  // namespace
}  // namespace qvshr

using namespace qvshr;

extern "C" int32_t QvshrOpenRegistryKey(HKEY hive, IQvString* path, uint32_t access, IQvRegKey** out) noexcept {
  if (out == nullptr) return ERROR_INVALID_PARAMETER;
  *out = nullptr;
  if (CallFails(kQvshrCallOpenRegistryKey)) return ERROR_ACCESS_DENIED;
  if (path == nullptr) return ERROR_INVALID_PARAMETER;
  const wchar_t* const text = TextOf(path);
  const Root root = RootOf(hive);
  ApplicationKeys keys;
  if (root != Root::None && !CurrentKeys(keys)) return ERROR_OUTOFMEMORY;
  if (root == Root::None || keys.PlaceOf(root, text) == Place::Unknown) {
    return OpenKey(hive, text, access, QVSHR_CALLER, out);
  }
  return OpenPresented(keys, root, text, access, QVSHR_CALLER, out);
}
