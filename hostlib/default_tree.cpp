// Key objects over a table of records. A tree is one block that holds copies of all names and values; every key object
// of the tree owns a share of it, so the table may go and keys outlive each other. Nothing changes after the tree is
// built: no lock.
#include <windows.h>

#include <atomic>
#include <new>
#include <string_view>

#include "host/qvshr.h"
#include "hostlib/backend.h"
#include "hostlib/host_object.h"
#include "hostlib/text_object.h"
#include "hostlib/wide_text.h"

namespace qvshr {
namespace {

constexpr uint32_t kMaxRecords = 10000;  // a table whose end is missing is given up here
constexpr uint32_t kMaxDepth = 64;
constexpr uint32_t kNoKey = UINT32_MAX;

struct Value {
  std::wstring_view name;
  std::wstring_view text;
};

struct Key {
  std::wstring_view name;
  uint32_t parent;
  uint32_t firstValue;
  uint32_t valueCount;
};

// The head of the block; keys, values and the units of all texts follow it.
struct Tree {
  std::atomic<uint32_t> references;
  uint32_t keyCount;
  Key* keys;
  Value* values;
};

static_assert(sizeof(Tree) % alignof(Key) == 0 && sizeof(Key) % alignof(Value) == 0);

struct TableSize {
  uint32_t keys = 0;
  uint32_t values = 0;
  size_t textUnits = 0;
};

size_t UnitsOf(const wchar_t* text) noexcept { return text != nullptr ? std::char_traits<wchar_t>::length(text) : 0; }

// Whether the table is whole: one root that the first record opens, every key closed, every value inside a key, every
// name present, and an end.
bool Measure(const DefaultConfigRecord* table, TableSize& size) noexcept {
  uint32_t depth = 0;
  for (uint32_t i = 0; i < kMaxRecords; ++i) {
    const DefaultConfigRecord& record = table[i];
    const bool rootIsClosed = depth == 0 && i != 0;
    switch (record.kind) {
      case kOpenKey:
        if (rootIsClosed || record.name == nullptr || depth == kMaxDepth) return false;
        ++depth;
        ++size.keys;
        break;
      case kStringValue:
        if (depth == 0 || record.name == nullptr) return false;
        ++size.values;
        size.textUnits += UnitsOf(record.value);
        break;
      case kCloseKey:
        if (depth == 0) return false;
        --depth;
        continue;
      case kEndOfTable:
        return rootIsClosed;
      default:
        return false;
    }
    size.textUnits += UnitsOf(record.name);
  }
  return false;
}

// Takes copies from the text space of the tree.
class TextSpace {
 public:
  explicit TextSpace(wchar_t* units) noexcept : m_next(units) {}
  std::wstring_view Copy(const wchar_t* text) noexcept {
    const size_t length = UnitsOf(text);
    wchar_t* const copy = m_next;
    if (length != 0) std::char_traits<wchar_t>::copy(copy, text, length);
    m_next += length;
    return {copy, length};
  }

 private:
  wchar_t* m_next;
};

void AddValue(Tree& tree, Key& key, Value value) noexcept {
  for (uint32_t i = 0; i < key.valueCount; ++i) {
    if (SameName(tree.values[key.firstValue + i].name, value.name)) return;  // the first one wins
  }
  new (&tree.values[key.firstValue + key.valueCount++]) Value(value);
}

// The table has been measured. Keys first, with the number of their values, so that the values of a key lie together.
void Fill(const DefaultConfigRecord* table, Tree& tree, TextSpace texts) noexcept {
  uint32_t open = kNoKey;
  for (const DefaultConfigRecord* record = table; record->kind != kEndOfTable; ++record) {
    if (record->kind == kOpenKey) {
      new (&tree.keys[tree.keyCount]) Key{texts.Copy(record->name), open, 0, 0};
      open = tree.keyCount++;
    } else if (record->kind == kStringValue) {
      ++tree.keys[open].valueCount;
    } else {
      open = tree.keys[open].parent;
    }
  }
  uint32_t firstValue = 0;
  for (uint32_t i = 0; i < tree.keyCount; ++i) {
    tree.keys[i].firstValue = firstValue;
    firstValue += tree.keys[i].valueCount;
    tree.keys[i].valueCount = 0;
  }
  uint32_t next = 0;
  open = kNoKey;
  for (const DefaultConfigRecord* record = table; record->kind != kEndOfTable; ++record) {
    if (record->kind == kOpenKey) {
      open = next++;
    } else if (record->kind == kStringValue) {
      const std::wstring_view name = texts.Copy(record->name);
      AddValue(tree, tree.keys[open], {name, texts.Copy(record->value)});
    } else {
      open = tree.keys[open].parent;
    }
  }
}

Tree* BuildTree(const DefaultConfigRecord* table, const TableSize& size, const void* caller) noexcept {
  const size_t valuesAt = sizeof(Tree) + size.keys * sizeof(Key);
  const size_t textsAt = valuesAt + size.values * sizeof(Value);
  if (size.textUnits > (kMaxBlockBytes - textsAt) / sizeof(wchar_t)) return nullptr;
  void* const block = AllocateBlock(textsAt + size.textUnits * sizeof(wchar_t), caller);
  if (block == nullptr) return nullptr;
  std::byte* const bytes = static_cast<std::byte*>(block);
  Tree* const tree =
      new (block) Tree{1, 0, reinterpret_cast<Key*>(bytes + sizeof(Tree)), reinterpret_cast<Value*>(bytes + valuesAt)};
  Fill(table, *tree, TextSpace(reinterpret_cast<wchar_t*>(bytes + textsAt)));
  return tree;
}

void ReleaseTree(Tree* tree, const void* caller) noexcept {
  if (--tree->references == 0) FreeBlock(tree, caller);
}

// The key that `path` names below `key`. Empty components count as nothing, so an empty path is the key itself.
uint32_t FindKey(const Tree& tree, uint32_t key, std::wstring_view path) noexcept {
  while (!path.empty() && key != kNoKey) {
    const std::wstring_view name = path.substr(0, path.find(L'\\'));
    path.remove_prefix(name.size() < path.size() ? name.size() + 1 : name.size());
    if (name.empty()) continue;
    uint32_t child = key + 1;  // a key stands before everything below it
    while (child < tree.keyCount && !(tree.keys[child].parent == key && SameName(tree.keys[child].name, name))) ++child;
    key = child < tree.keyCount ? child : kNoKey;
  }
  return key;
}

int32_t OpenTreeKey(Tree* tree, uint32_t key, const void* caller, IQvRegKey** out) noexcept;

class TreeKey final : public KeyObject<TreeKey> {
 public:
  // Adopts one share of the tree.
  TreeKey(Tree* tree, uint32_t key) noexcept : m_key(key), m_tree(tree) {}

  int32_t OpenBelow(const wchar_t* path, uint32_t, const void* caller, IQvRegKey** key) noexcept {
    const uint32_t found = FindKey(*m_tree, m_key, path);
    if (found == kNoKey) return static_cast<int32_t>(HRESULT_FROM_WIN32(ERROR_FILE_NOT_FOUND));
    return OpenTreeKey(m_tree, found, caller, key);
  }
  int32_t ReadAt(uint32_t index, const void* caller, IQvString** name, IQvString** value) noexcept {
    const Key& key = m_tree->keys[m_key];
    if (index >= key.valueCount) return static_cast<int32_t>(HRESULT_FROM_WIN32(ERROR_NO_MORE_ITEMS));
    const Value& found = m_tree->values[key.firstValue + index];
    return CreatePair(found.name, found.text, caller, name, value);
  }
  int32_t ReadNamed(const wchar_t* name, const void* caller, IQvString** value) noexcept {
    const Key& key = m_tree->keys[m_key];
    for (uint32_t i = 0; i < key.valueCount; ++i) {
      const Value& candidate = m_tree->values[key.firstValue + i];
      if (SameName(candidate.name, name)) return CreateText(candidate.text, {}, caller, value);
    }
    return static_cast<int32_t>(HRESULT_FROM_WIN32(ERROR_FILE_NOT_FOUND));
  }

 private:
  friend HostObject;
  ~TreeKey() { ReleaseTree(m_tree, QVSHR_CALLER); }

  const uint32_t m_key;
  Tree* const m_tree;
};

// A new key object with a share of its own in the tree.
int32_t OpenTreeKey(Tree* tree, uint32_t key, const void* caller, IQvRegKey** out) noexcept {
  void* const block = AllocateBlock(sizeof(TreeKey), caller);
  if (block == nullptr) return QV_E_OUTOFMEMORY;
  ++tree->references;
  *out = new (block) TreeKey(tree, key);
  return QV_S_OK;
}

}  // namespace
}  // namespace qvshr

using namespace qvshr;

extern "C" int32_t QvshrOpenDefaultTree(const DefaultConfigRecord* table, IQvRegKey** out) noexcept {
  if (out == nullptr) return E_POINTER;
  *out = nullptr;
  if (CallFails(kQvshrCallOpenDefaultTree)) return QV_E_FAIL;
  TableSize size;
  if (table == nullptr || !Measure(table, size)) return QV_E_INVALIDARG;
  Tree* const tree = BuildTree(table, size, QVSHR_CALLER);
  if (tree == nullptr) return QV_E_OUTOFMEMORY;
  const int32_t status = OpenTreeKey(tree, 0, QVSHR_CALLER, out);
  ReleaseTree(tree, QVSHR_CALLER);  // the key object has its own share
  return status;
}
