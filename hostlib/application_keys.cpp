// Where the application's own registry keys come from: the functions of the running process, and qvshr.ini, which is
// read once. One lock guards the two shares below; it is held for a swap, while the file is read for the first time,
// and while a changed layer of the process is built. While the process ends nobody takes it.
#include <windows.h>

#include <cstring>

#include "hostlib/application.h"
#include "hostlib/backend.h"
#include "hostlib/key_layer.h"
#include "hostlib/library.h"
#include "hostlib/scratch.h"

namespace qvshr {
namespace {

constexpr size_t kMaxFileBytes = size_t{1} << 20;
constexpr uint32_t kMaxBadLines = 100;  // more are skipped without being told

class Guard {
 public:
  explicit Guard(SRWLOCK& lock) noexcept : m_lock(lock), m_taken(!ProcessIsEnding()) {
    if (m_taken) AcquireSRWLockExclusive(&m_lock);
  }
  ~Guard() {
    if (m_taken) ReleaseSRWLockExclusive(&m_lock);
  }
  Guard(const Guard&) = delete;
  Guard& operator=(const Guard&) = delete;

 private:
  SRWLOCK& m_lock;
  const bool m_taken;
};

SRWLOCK g_lock = SRWLOCK_INIT;
KeyLayer* g_process = nullptr;
KeyLayer* g_file = nullptr;
bool g_fileRead = false;
uint32_t g_badLines[kMaxBadLines];
uint32_t g_badLineCount = 0;

void NoteBadLine(uint32_t number) noexcept {
  if (g_badLineCount < kMaxBadLines) g_badLines[g_badLineCount++] = number;
}

class File {
 public:
  explicit File(const wchar_t* path) noexcept
      : m_handle(CreateFileW(path, GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                             OPEN_EXISTING, FILE_FLAG_SEQUENTIAL_SCAN, nullptr)) {}
  ~File() {
    if (IsOpen()) CloseHandle(m_handle);
  }
  File(const File&) = delete;
  File& operator=(const File&) = delete;

  [[nodiscard]] bool IsOpen() const noexcept { return m_handle != INVALID_HANDLE_VALUE; }
  [[nodiscard]] size_t SizeUpTo(size_t limit) const noexcept {
    LARGE_INTEGER size{};
    if (GetFileSizeEx(m_handle, &size) == FALSE) return limit;
    return static_cast<uint64_t>(size.QuadPart) < limit ? static_cast<size_t>(size.QuadPart) : limit;
  }
  [[nodiscard]] bool TryReadUpTo(void* bytes, size_t capacity, size_t& read) const noexcept {
    for (read = 0; read < capacity;) {
      DWORD got = 0;
      const auto wanted = static_cast<DWORD>(capacity - read);
      if (ReadFile(m_handle, static_cast<std::byte*>(bytes) + read, wanted, &got, nullptr) == FALSE) return false;
      if (got == 0) break;
      read += got;
    }
    return true;
  }

 private:
  const HANDLE m_handle;
};

// The bytes' text in `units`, which has room for one unit for each byte: UTF-16 with its mark, else UTF-8, where what
// is none becomes U+FFFD.
std::wstring_view Decode(const unsigned char* bytes, size_t size, wchar_t* units) noexcept {
  const bool littleEndian = size >= 2 && bytes[0] == 0xFF && bytes[1] == 0xFE;
  const bool bigEndian = size >= 2 && bytes[0] == 0xFE && bytes[1] == 0xFF;
  if (littleEndian || bigEndian) {
    const size_t count = size / 2 - 1;
    for (size_t i = 0; i < count; ++i) {
      const unsigned first = bytes[2 + i * 2];
      const unsigned second = bytes[3 + i * 2];
      units[i] = static_cast<wchar_t>(littleEndian ? second << 8 | first : first << 8 | second);
    }
    return {units, count};
  }
  const size_t mark = size >= 3 && std::memcmp(bytes, "\xEF\xBB\xBF", 3) == 0 ? 3 : 0;
  if (size == mark) return {};
  const int count = MultiByteToWideChar(CP_UTF8, 0, reinterpret_cast<const char*>(bytes) + mark,
                                        static_cast<int>(size - mark), units, static_cast<int>(size - mark));
  return {units, static_cast<size_t>(count > 0 ? count : 0)};
}

// Builds the layer of a text; false without memory. No layer when the text has no key.
bool BuildFileLayer(std::wstring_view text, KeyLayer*& layer) noexcept {
  uint32_t keys = 0;
  uint32_t values = 0;
  size_t units = 0;
  SettingsLine line;
  for (SettingsLines lines(text); lines.Next(line);) {
    keys += line.kind == LineKind::Key && keys < KeyLayer::kMaxKeys ? 1 : 0;
    values += line.kind == LineKind::Value && values < KeyLayer::kMaxValues ? 1 : 0;
    units += line.key.path.size() + line.name.size() + line.value.size();
  }
  layer = keys != 0 ? KeyLayer::Make(keys, values, units, QVSHR_CALLER) : nullptr;
  if (keys != 0 && layer == nullptr) return false;
  uint32_t open = KeyLayer::kNoKey;
  for (SettingsLines lines(text); lines.Next(line);) {
    bool understood = line.kind != LineKind::Bad;
    if (line.kind == LineKind::Key) {
      const bool room = layer->KeyCount() < keys || layer->FindKey(line.key.root, line.key.path) != KeyLayer::kNoKey;
      open = room ? layer->AddKey(line.key) : KeyLayer::kNoKey;
      understood = room;
    } else if (line.kind == LineKind::Value) {
      const bool room = open != KeyLayer::kNoKey && layer->ValueCount() < values;
      understood = room && layer->AddValue(open, line.name, line.value);
    }
    if (!understood) NoteBadLine(line.number);
  }
  return true;
}

// Under the lock. False without memory; the next call tries again.
bool ReadFileOnce() noexcept {
  if (g_fileRead) return true;
  const wchar_t* const path = SettingsPath();
  const File file(path);
  // Asked for before there is a file to read: most hosts have none.
  if (path[0] == L'\0' || !file.IsOpen()) return g_fileRead = true;
  Scratch<16> bytes;
  Scratch<16> units;
  const size_t capacity = file.SizeUpTo(kMaxFileBytes) + 1;
  if (!bytes.TryGrow(capacity)) return false;
  size_t size = 0;
  if (!file.TryReadUpTo(bytes.As<void>(), capacity, size)) return g_fileRead = true;
  if (size == capacity) {  // too large, or growing
    NoteBadLine(1);
    return g_fileRead = true;
  }
  if (size == 0) return g_fileRead = true;
  if (!units.TryGrow(size * sizeof(wchar_t))) return false;
  g_badLineCount = 0;
  const std::wstring_view text = Decode(bytes.As<const unsigned char>(), size, units.As<wchar_t>());
  return g_fileRead = BuildFileLayer(text, g_file);
}

LayerShare ShareOf(KeyLayer* layer) noexcept {
  if (layer != nullptr) layer->Share();
  return LayerShare(layer);
}

// What becomes of a value of the process.
struct Change {
  KeyName key;
  const wchar_t* name;   // null: the whole key goes
  const wchar_t* value;  // null: the value goes
};

// The layer after the change: the old one's keys and values in their order. Null without memory.
KeyLayer* Changed(const KeyLayer* old, const Change& change, const void* caller) noexcept {
  const std::wstring_view name = change.name != nullptr ? change.name : L"";
  const std::wstring_view text = change.value != nullptr ? change.value : L"";
  if (name.size() > kMaxTextUnits || text.size() > kMaxTextUnits || change.key.path.size() > kMaxTextUnits) {
    return nullptr;
  }
  const bool adds = change.name != nullptr && change.value != nullptr;
  const uint32_t oldKeys = old != nullptr ? old->KeyCount() : 0;
  const uint32_t oldValues = old != nullptr ? old->ValueCount() : 0;
  const size_t units = (old != nullptr ? old->TextUnits() : 0) + change.key.path.size() + name.size() + text.size();
  KeyLayer* const layer = KeyLayer::Make(oldKeys + 1, oldValues + 1, units, caller);
  if (layer == nullptr) return nullptr;
  const uint32_t changedKey = old != nullptr ? old->FindKey(change.key.root, change.key.path) : KeyLayer::kNoKey;
  for (uint32_t i = 0; i < oldKeys; ++i) {
    if (change.name != nullptr || i != changedKey) layer->AddKey(old->KeyAt(i));
  }
  for (uint32_t i = 0; i < oldValues; ++i) {
    const KeyLayer::Value& value = old->AnyValueAt(i);
    const bool ofKey = value.key == changedKey;
    if (ofKey && change.name == nullptr) continue;
    const bool same = ofKey && SameName(value.name, name);
    if (same && !adds) continue;
    const bool moved = change.name == nullptr && value.key > changedKey;
    layer->AppendValue(moved ? value.key - 1 : value.key, same ? name : value.name, same ? text : value.text);
  }
  // Refused when the old value's place has it already.
  if (adds) layer->AddValue(layer->AddKey(change.key), name, text);
  return layer;
}

}  // namespace

bool CurrentKeys(ApplicationKeys& keys) noexcept {
  const Guard guard(g_lock);
  if (!ReadFileOnce()) return false;
  keys.process = ShareOf(g_process);
  keys.file = ShareOf(g_file);
  return true;
}

void ForgetApplicationKeys() noexcept {
  const LayerShare process(std::exchange(g_process, nullptr));
  const LayerShare file(std::exchange(g_file, nullptr));
}

}  // namespace qvshr

using namespace qvshr;

extern "C" int32_t QvshrSetApplicationValue(const wchar_t* key, const wchar_t* name, const wchar_t* value) noexcept {
  const KeyName keyName = key != nullptr ? KeyNameFrom(key) : KeyName{};
  if (keyName.root == Root::None || (name != nullptr && name[0] == L'\0')) return QV_E_INVALIDARG;
  LayerShare old;  // given back once the lock is free
  const Guard guard(g_lock);
  // What is not there need not be removed.
  const uint32_t found = g_process != nullptr ? g_process->FindKey(keyName.root, keyName.path) : KeyLayer::kNoKey;
  if (found == KeyLayer::kNoKey && (name == nullptr || value == nullptr)) return QV_S_OK;
  KeyLayer* const changed = Changed(g_process, {keyName, name, value}, QVSHR_CALLER);
  if (changed == nullptr) return QV_E_OUTOFMEMORY;
  const bool empty = changed->KeyCount() == 0;
  old = LayerShare(std::exchange(g_process, empty ? nullptr : changed));
  if (empty) changed->Release(QVSHR_CALLER);
  return QV_S_OK;
}

extern "C" int32_t QvshrGetBadSettingsLine(int32_t index) noexcept {
  const Guard guard(g_lock);
  if (!ReadFileOnce() || index < 0 || static_cast<uint32_t>(index) >= g_badLineCount) return 0;
  return static_cast<int32_t>(g_badLines[index]);
}

extern "C" int32_t QvshrHasApplicationKey(const wchar_t* key) noexcept {
  const KeyName name = key != nullptr ? KeyNameFrom(key) : KeyName{};
  ApplicationKeys keys;
  if (name.root == Root::None || !CurrentKeys(keys)) return 0;
  return keys.Find(name.root, name.path).first != nullptr ? 1 : 0;
}
