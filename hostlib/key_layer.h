// Registry keys that an application brings of its own. A layer is one block with copies of all texts; it never changes
// once it is built, so a key object that shares it answers the same for ever, without a lock.
#pragma once

#include <atomic>
#include <cstdint>
#include <string_view>
#include <utility>

#include "hostlib/key_lines.h"

namespace qvshr {

/// What a layer knows of a path.
enum class Place {
  Unknown,
  Above,  // it lies above a key of the layer
  Named,  // it is a key of the layer
};

class KeyLayer {
 public:
  struct Value {
    uint32_t key;
    std::wstring_view name;
    std::wstring_view text;
  };
  static constexpr uint32_t kNoKey = UINT32_MAX;
  /// Of the file, and of the process: a walk over them stays quick.
  static constexpr uint32_t kMaxValues = 10000;
  static constexpr uint32_t kMaxKeys = 1000;

  /// An empty one with room, whose one share is the caller's; null without memory.
  static KeyLayer* Make(uint32_t keys, uint32_t values, size_t textUnits, const void* caller) noexcept;

  /// What Make left room for. A key that is there already is found again.
  uint32_t AddKey(KeyName name) noexcept;
  /// False, and nothing added, when the key has a value of this name; AppendValue does not ask.
  bool AddValue(uint32_t key, std::wstring_view name, std::wstring_view text) noexcept;
  void AppendValue(uint32_t key, std::wstring_view name, std::wstring_view text) noexcept;

  [[nodiscard]] Place PlaceOf(Root root, std::wstring_view path) const noexcept;
  [[nodiscard]] uint32_t FindKey(Root root, std::wstring_view path) const noexcept;
  /// Null when there is none.
  [[nodiscard]] const Value* FindValue(uint32_t key, std::wstring_view name) const noexcept;
  [[nodiscard]] const Value* ValueAt(uint32_t key, uint32_t index) const noexcept;

  [[nodiscard]] uint32_t KeyCount() const noexcept { return m_keyCount; }
  [[nodiscard]] uint32_t ValueCount() const noexcept { return m_valueCount; }
  [[nodiscard]] size_t TextUnits() const noexcept { return m_textUnits; }
  [[nodiscard]] KeyName KeyAt(uint32_t key) const noexcept { return m_keys[key]; }
  [[nodiscard]] const Value& AnyValueAt(uint32_t value) const noexcept { return m_values[value]; }

  void Share() noexcept { ++m_references; }
  void Release(const void* caller) noexcept;

 private:
  KeyLayer(KeyName* keys, Value* values, wchar_t* texts) noexcept : m_keys(keys), m_values(values), m_texts(texts) {}
  std::wstring_view Copy(std::wstring_view text) noexcept;

  std::atomic<uint32_t> m_references{1};
  uint32_t m_keyCount = 0;
  uint32_t m_valueCount = 0;
  size_t m_textUnits = 0;
  KeyName* const m_keys;
  Value* const m_values;
  wchar_t* const m_texts;
};

/// A share of a layer, or none.
class LayerShare {
 public:
  LayerShare() noexcept = default;
  /// Adopts one share.
  explicit LayerShare(KeyLayer* layer) noexcept : m_layer(layer) {}
  LayerShare(const LayerShare& other) noexcept : m_layer(other.m_layer) {
    if (m_layer != nullptr) m_layer->Share();
  }
  LayerShare(LayerShare&& other) noexcept : m_layer(std::exchange(other.m_layer, nullptr)) {}
  LayerShare& operator=(LayerShare other) noexcept {
    std::swap(m_layer, other.m_layer);
    return *this;
  }
  ~LayerShare();

  [[nodiscard]] KeyLayer* Get() const noexcept { return m_layer; }

 private:
  KeyLayer* m_layer = nullptr;
};

/// The keys of the process and, behind them, those of the file, as they were at one moment.
struct ApplicationKeys {
  LayerShare process;
  LayerShare file;

  [[nodiscard]] Place PlaceOf(Root root, std::wstring_view path) const noexcept;
  /// The layer that has the key, and its number there; null when none has.
  [[nodiscard]] std::pair<const KeyLayer*, uint32_t> Find(Root root, std::wstring_view path) const noexcept;
};

/// What the application brings now. The file is read by the first call; false without memory for it, and the next
/// call tries again. Threads: any.
bool CurrentKeys(ApplicationKeys& keys) noexcept;
/// Gives everything back, before the library is unloaded.
void ForgetApplicationKeys() noexcept;

}  // namespace qvshr
