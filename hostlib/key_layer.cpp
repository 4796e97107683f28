#include "hostlib/key_layer.h"

#include <algorithm>
#include <new>

#include "hostlib/backend.h"

namespace qvshr {
namespace {

// What a key named `named` says about the path `wanted`.
Place Compare(std::wstring_view wanted, std::wstring_view named) noexcept {
  for (;;) {
    const std::wstring_view wantedPart = NextPart(wanted);
    const std::wstring_view namedPart = NextPart(named);
    if (wantedPart.empty()) return namedPart.empty() ? Place::Named : Place::Above;
    if (!SameName(wantedPart, namedPart)) return Place::Unknown;
  }
}

}  // namespace

KeyLayer* KeyLayer::Make(uint32_t keys, uint32_t values, size_t textUnits, const void* caller) noexcept {
  static_assert(sizeof(KeyLayer) % alignof(KeyName) == 0 && sizeof(KeyName) % alignof(Value) == 0);
  const size_t valuesAt = sizeof(KeyLayer) + keys * sizeof(KeyName);
  const size_t textsAt = valuesAt + values * sizeof(Value);
  if (textUnits > kMaxTextUnits) return nullptr;
  auto* const bytes = static_cast<std::byte*>(AllocateBlock(textsAt + textUnits * sizeof(wchar_t), caller));
  if (bytes == nullptr) return nullptr;
  return new (bytes) KeyLayer(reinterpret_cast<KeyName*>(bytes + sizeof(KeyLayer)),
                              reinterpret_cast<Value*>(bytes + valuesAt), reinterpret_cast<wchar_t*>(bytes + textsAt));
}

std::wstring_view KeyLayer::Copy(std::wstring_view text) noexcept {
  wchar_t* const copy = m_texts + m_textUnits;
  if (!text.empty()) std::char_traits<wchar_t>::copy(copy, text.data(), text.size());
  m_textUnits += text.size();
  return {copy, text.size()};
}

uint32_t KeyLayer::AddKey(KeyName name) noexcept {
  const uint32_t found = FindKey(name.root, name.path);
  if (found != kNoKey) return found;
  new (&m_keys[m_keyCount]) KeyName{name.root, Copy(name.path)};
  return m_keyCount++;
}

bool KeyLayer::AddValue(uint32_t key, std::wstring_view name, std::wstring_view text) noexcept {
  if (FindValue(key, name) != nullptr) return false;
  AppendValue(key, name, text);
  return true;
}

void KeyLayer::AppendValue(uint32_t key, std::wstring_view name, std::wstring_view text) noexcept {
  const std::wstring_view nameCopy = Copy(name);
  new (&m_values[m_valueCount++]) Value{key, nameCopy, Copy(text)};
}

Place KeyLayer::PlaceOf(Root root, std::wstring_view path) const noexcept {
  Place best = Place::Unknown;
  for (uint32_t i = 0; i < m_keyCount; ++i) {
    if (m_keys[i].root == root) best = std::max(best, Compare(path, m_keys[i].path));
  }
  return best;
}

uint32_t KeyLayer::FindKey(Root root, std::wstring_view path) const noexcept {
  for (uint32_t i = 0; i < m_keyCount; ++i) {
    if (m_keys[i].root == root && Compare(path, m_keys[i].path) == Place::Named) return i;
  }
  return kNoKey;
}

const KeyLayer::Value* KeyLayer::FindValue(uint32_t key, std::wstring_view name) const noexcept {
  for (uint32_t i = 0; i < m_valueCount; ++i) {
    if (m_values[i].key == key && SameName(m_values[i].name, name)) return &m_values[i];
  }
  return nullptr;
}

const KeyLayer::Value* KeyLayer::ValueAt(uint32_t key, uint32_t index) const noexcept {
  for (uint32_t i = 0; i < m_valueCount; ++i) {
    if (m_values[i].key == key && index-- == 0) return &m_values[i];
  }
  return nullptr;
}

void KeyLayer::Release(const void* caller) noexcept {
  if (--m_references == 0) FreeBlock(this, caller);
}

LayerShare::~LayerShare() {
  if (m_layer != nullptr) m_layer->Release(QVSHR_CALLER);
}

Place ApplicationKeys::PlaceOf(Root root, std::wstring_view path) const noexcept {
  Place best = Place::Unknown;
  for (const KeyLayer* const layer : {process.Get(), file.Get()}) {
    if (layer != nullptr) best = std::max(best, layer->PlaceOf(root, path));
  }
  return best;
}

std::pair<const KeyLayer*, uint32_t> ApplicationKeys::Find(Root root, std::wstring_view path) const noexcept {
  for (const KeyLayer* const layer : {process.Get(), file.Get()}) {
    const uint32_t key = layer != nullptr ? layer->FindKey(root, path) : KeyLayer::kNoKey;
    if (key != KeyLayer::kNoKey) return {layer, key};
  }
  return {nullptr, KeyLayer::kNoKey};
}

}  // namespace qvshr
