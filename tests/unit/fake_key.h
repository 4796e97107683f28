// Host objects that a test makes itself, to see what is asked of them and to give answers that no registry gives.
// They live as long as the test's own variables; the counts say whether every reference came back.
#pragma once

#include <atomic>
#include <map>

#include "host/qvshr.h"
#include "tests/support/import_hook.h"
#include "tests/support/text.h"

namespace qvtest {

// Counts its references; calls `gone` when the last one is given back.
class FakeString final : public IQvString {
 public:
  explicit FakeString(std::wstring text = L"", std::function<void()> gone = {})
      : m_text(std::move(text)), m_gone(std::move(gone)) {}

  int32_t QueryInterface(const GUID&, void**) noexcept override { return QV_E_NOINTERFACE; }
  uint32_t AddRef() noexcept override {
    if (onShare) onShare();
    return ++references;
  }
  uint32_t Release() noexcept override {
    if (--references == 0 && m_gone) m_gone();
    return references;
  }
  int32_t Reserved3() noexcept override { return QV_E_NOTIMPL; }
  int32_t Reserved4() noexcept override { return QV_E_NOTIMPL; }
  const wchar_t* GetText() noexcept override { return m_text.c_str(); }
  int32_t GetLength() noexcept override { return static_cast<int32_t>(m_text.size()) + 1; }
  int32_t Reserved7() noexcept override { return QV_E_NOTIMPL; }
  int32_t Reserved8() noexcept override { return QV_E_NOTIMPL; }
  int32_t Concat(IQvString*, IQvString** joined) noexcept override {
    *joined = nullptr;
    return QV_E_NOTIMPL;
  }

  std::atomic<uint32_t> references = 1;
  std::function<void()> onShare;  // before another reference is taken

 private:
  std::wstring m_text;
  std::function<void()> m_gone;
};

// A key that answers every path with itself. Starts with one reference, the test's.
class FakeKey final : public IQvRegKey {
 public:
  struct Value {
    int32_t status = QV_S_OK;
    std::optional<std::wstring> text;  // none: no object, whatever the status
  };

  int32_t QueryInterface(const GUID&, void**) noexcept override { return QV_E_NOINTERFACE; }
  uint32_t AddRef() noexcept override { return ++references; }
  uint32_t Release() noexcept override { return --references; }
  int32_t Reserved3() noexcept override { return QV_E_NOTIMPL; }
  int32_t OpenSubKey(IQvString* path, uint32_t access, IQvRegKey** key) noexcept override {
    opened.emplace_back(TextOf(path), access);
    *key = openStatus >= 0 ? this : nullptr;
    if (*key != nullptr) AddRef();
    return openStatus;
  }
  int32_t Reserved5() noexcept override { return QV_E_NOTIMPL; }
  int32_t Reserved6() noexcept override { return QV_E_NOTIMPL; }
  int32_t EnumValue(int32_t index, IQvString** name, IQvString** value) noexcept override {
    ++enumerations;
    *name = *value = nullptr;
    if (index < 0 || static_cast<size_t>(index) >= values.size()) return QV_E_FAIL;
    const auto at = std::next(values.begin(), index);
    QvshrCreateString(at->first.c_str(), name);
    return Answer(at->second, value);
  }
  int32_t Reserved8() noexcept override { return QV_E_NOTIMPL; }
  int32_t Reserved9() noexcept override { return QV_E_NOTIMPL; }
  int32_t Reserved10() noexcept override { return QV_E_NOTIMPL; }
  int32_t Reserved11() noexcept override { return QV_E_NOTIMPL; }
  int32_t QueryStringValue(IQvString* name, IQvString** value) noexcept override {
    queried.push_back(TextOf(name));
    *value = nullptr;
    const auto at = values.find(queried.back());
    return at != values.end() ? Answer(at->second, value) : Answer(anyOther, value);
  }

  std::map<std::wstring, Value> values;
  Value anyOther{QV_E_FAIL, std::nullopt};  // what a query for another name gets
  int32_t openStatus = QV_S_OK;
  uint32_t references = 1;
  int enumerations = 0;
  std::vector<std::wstring> queried;
  std::vector<std::pair<std::wstring, uint32_t>> opened;

 private:
  static int32_t Answer(const Value& answer, IQvString** value) {
    if (answer.text.has_value()) QvshrCreateString(answer.text->c_str(), value);
    return answer.status;
  }
};

// Puts a fake key in the place of every registry key that the service opens, for the life of the object.
class FakeRegistry {
 public:
  struct Request {
    HKEY hive;
    std::wstring path;
    uint32_t access;

    friend bool operator==(const Request&, const Request&) = default;
  };

  // The key is handed out with this status; a null one is the answer without an object.
  explicit FakeRegistry(FakeKey& key, int32_t status = 0) : FakeRegistry(&key, status) {}
  FakeRegistry(FakeKey* key, int32_t status)
      : m_hook("qvshr.dll", 4, [=, this](HKEY hive, IQvString* path, uint32_t access, IQvRegKey** out) {
          m_requests.push_back({hive, TextOf(path), access});
          *out = key;
          if (key != nullptr) key->AddRef();
          return status;
        }) {}

  [[nodiscard]] const std::vector<Request>& Requests() const { return m_requests; }

 private:
  std::vector<Request> m_requests;
  FunctionHook<int32_t (*)(HKEY, IQvString*, uint32_t, IQvRegKey**)> m_hook;
};

using OpenTreeFn = int32_t (*)(const DefaultConfigRecord*, IQvRegKey**);

// Puts a fake key in the place of the built-in tree.
class FakeTree : public FunctionHook<OpenTreeFn> {
 public:
  explicit FakeTree(FakeKey& key, int32_t status = 0)
      : FunctionHook("qvshr.dll", 5, [&key, status](const DefaultConfigRecord*, IQvRegKey** out) {
          key.AddRef();
          *out = &key;
          return status;
        }) {}
};

// Puts another table in the place of the built-in tree, for the life of the object. Values alone, all of one key.
class FakeDefaultTree {
 public:
  using Values = std::vector<std::pair<const wchar_t*, const wchar_t*>>;

  // `list` is the key below "Java\QVRTConfig".
  FakeDefaultTree(const wchar_t* list, const Values& values) {
    for (const wchar_t* key : {L"ROOT", L"Java", L"QVRTConfig", list}) m_table.push_back({kOpenKey, key, nullptr, {}});
    for (const auto& [name, value] : values) m_table.push_back({kStringValue, name, value, {}});
    m_table.insert(m_table.end(), 4, {kCloseKey, nullptr, nullptr, {}});
    m_table.push_back({kEndOfTable, nullptr, nullptr, {}});
  }

 private:
  std::vector<DefaultConfigRecord> m_table;
  FunctionHook<OpenTreeFn> m_hook{
      "qvshr.dll", 5, [this](const DefaultConfigRecord*, IQvRegKey** out) { return m_hook.Real(m_table.data(), out); }};
};

}  // namespace qvtest
