// The host library: its functions, which the service imports by ordinal, and the operations of its objects, whose
// tables are changed in the library itself. The library calls those too, so only calls from the service count.
#include <gtest/gtest.h>

#include <intrin.h>

#include "host/qvshr.h"
#include "tests/reliability/faults/fault_point.h"
#include "tests/support/text.h"

namespace qvtest {

namespace {

constexpr auto kNoPurpose = [](auto...) { return std::string(); };

std::string LastPart(std::wstring_view path) { return ToUtf8(path.substr(path.find_last_of(L'\\') + 1)); }

// ---- object tables ----

// The table of an object, one for all objects of its class.
void** TableOf(void* object) { return *static_cast<void***>(object); }

void Replace(void** place, void* value) {
  DWORD before = 0;
  VirtualProtect(place, sizeof(void*), PAGE_READWRITE, &before);
  *place = value;
  VirtualProtect(place, sizeof(void*), before, &before);
}

// One operation of one class of objects. The classes of an interface share the point's counter.
template <class Object, int Class, class Fail, class Describe, class Result, class... Arguments>
struct SlotHook {
  static inline Result (*original)(Object*, Arguments...) = nullptr;

  static Result Call(Object* self, Arguments... arguments) {
    if (CalledByService(__builtin_return_address(0)) &&
        CountCall(HookOf<Fail, Describe, Result, Object*, Arguments...>::calls, Describe{}, self, arguments...)) {
      return Fail{}(self, arguments...);
    }
    return original(self, arguments...);
  }
};

template <class Object, int Class, class Fail, class Describe, class Result, class... Arguments>
void HookSlot(void* example, size_t slot) {
  using Hook = SlotHook<Object, Class, Fail, Describe, Result, Arguments...>;
  void** const place = TableOf(example) + slot;
  if (Hook::original != nullptr) return;
  Hook::original = reinterpret_cast<decltype(Hook::original)>(*place);
  Replace(place, reinterpret_cast<void*>(&Hook::Call));
}

// A key of the registry, a key of a built-in tree and a text: one example of each class.
struct Examples {
  IQvString* text = nullptr;
  IQvRegKey* registryKey = nullptr;
  IQvRegKey* treeKey = nullptr;

  Examples() {
    static const DefaultConfigRecord kTable[] = {
        {kOpenKey, L"ROOT", nullptr, {}}, {kCloseKey, nullptr, nullptr, {}}, {kEndOfTable, nullptr, nullptr, {}}};
    EXPECT_EQ(QvshrCreateString(L"", &text), 0);
    EXPECT_EQ(QvshrOpenRegistryKey(HKEY_CURRENT_USER, text, KEY_READ, &registryKey), 0);
    EXPECT_GE(QvshrOpenDefaultTree(kTable, &treeKey), 0);
  }
  ~Examples() {
    text->Release();
    registryKey->Release();
    treeKey->Release();
  }
  Examples(const Examples&) = delete;
  Examples& operator=(const Examples&) = delete;
};

template <class Result, class... Arguments, class Fail, class Describe>
Point MakeKeyPoint(const Examples& examples, const char* name, size_t slot, Result (*)(IQvRegKey*, Arguments...),
                   const char* fault, Fail, Describe) {
  Point point;
  point.call = name;
  point.fault = fault;
  point.kind = PointKind::HostObject;
  point.calls = &HookOf<Fail, Describe, Result, IQvRegKey*, Arguments...>::calls;
  HookSlot<IQvRegKey, 0, Fail, Describe, Result, Arguments...>(examples.registryKey, slot);
  HookSlot<IQvRegKey, 1, Fail, Describe, Result, Arguments...>(examples.treeKey, slot);
  return point;
}

template <class Result, class... Arguments, class Describe>
Point MakeTextPoint(const Examples& examples, const char* name, size_t slot, Result (*)(IQvString*, Arguments...),
                    Describe) {
  constexpr auto fail = [](IQvString*, Arguments...) { return Result{}; };
  using Fail = decltype(fail);
  Point point;
  point.call = name;
  point.kind = PointKind::HostObject;
  point.calls = &HookOf<Fail, Describe, Result, IQvString*, Arguments...>::calls;
  HookSlot<IQvString, 0, Fail, Describe, Result, Arguments...>(examples.text, slot);
  return point;
}

template <class Signature>
constexpr Signature* As() {
  return nullptr;
}

void AddObjects(std::vector<Point>& points) {
  const Examples examples;
  constexpr int32_t kMissing = static_cast<int32_t>(0x80070002);
  points.push_back(MakeKeyPoint(
      examples, "IQvRegKey::OpenSubKey", 4, As<int32_t(IQvRegKey*, IQvString*, uint32_t, IQvRegKey**)>(), "not found",
      [](IQvRegKey*, IQvString*, uint32_t, IQvRegKey** key) -> int32_t {
        *key = nullptr;
        return kMissing;
      },
      [](IQvRegKey*, IQvString* path, uint32_t, IQvRegKey**) { return LastPart(TextOf(path)); }));
  points.push_back(MakeKeyPoint(
      examples, "IQvRegKey::EnumValue", 7, As<int32_t(IQvRegKey*, int32_t, IQvString**, IQvString**)>(),
      "past the last value",
      [](IQvRegKey*, int32_t, IQvString** name, IQvString** value) -> int32_t {
        *name = *value = nullptr;
        return kMissing;
      },
      [](IQvRegKey*, int32_t index, IQvString**, IQvString**) { return std::to_string(index); }));
  points.push_back(MakeKeyPoint(
      examples, "IQvRegKey::QueryStringValue", 12, As<int32_t(IQvRegKey*, IQvString*, IQvString**)>(), "not found",
      [](IQvRegKey*, IQvString*, IQvString** value) -> int32_t {
        *value = nullptr;
        return kMissing;
      },
      [](IQvRegKey*, IQvString* name, IQvString**) { return ToUtf8(TextOf(name)); }));

  static constexpr char kCount[] = "a count of references always changes";
  static constexpr char kText[] = "a text always has its characters and its length";
  points.push_back(Steady(MakeKeyPoint(
                              examples, "IQvRegKey::Release", 2, As<uint32_t(IQvRegKey*)>(), "",
                              [](IQvRegKey*) -> uint32_t { return 1; }, kNoPurpose),
                          kCount));
  points.push_back(NeverCalled(MakeKeyPoint(
      examples, "IQvRegKey::AddRef", 1, As<uint32_t(IQvRegKey*)>(), "", [](IQvRegKey*) -> uint32_t { return 0; },
      kNoPurpose)));
  points.push_back(NeverCalled(MakeKeyPoint(
      examples, "IQvRegKey::QueryInterface", 0, As<int32_t(IQvRegKey*, const GUID*, void**)>(), "",
      [](IQvRegKey*, const GUID*, void**) -> int32_t { return -1; }, kNoPurpose)));

  // A lambda of its own for each, so that each has a counter of its own.
  using Count = uint32_t(IQvString*);
  points.push_back(Steady(
      MakeTextPoint(examples, "IQvString::AddRef", 1, As<Count>(), [](auto...) { return std::string(); }), kCount));
  points.push_back(Steady(
      MakeTextPoint(examples, "IQvString::Release", 2, As<Count>(), [](auto...) { return std::string(); }), kCount));
  points.push_back(Steady(MakeTextPoint(examples, "IQvString::GetText", 5, As<const wchar_t*(IQvString*)>(),
                                        [](auto...) { return std::string(); }),
                          kText));
  points.push_back(Steady(MakeTextPoint(examples, "IQvString::GetLength", 6, As<int32_t(IQvString*)>(),
                                        [](auto...) { return std::string(); }),
                          kText));
  points.push_back(NeverCalled(MakeTextPoint(examples, "IQvString::QueryInterface", 0,
                                             As<int32_t(IQvString*, const GUID*, void**)>(),
                                             [](auto...) { return std::string(); })));
  points.push_back(
      NeverCalled(MakeTextPoint(examples, "IQvString::Concat", 9, As<int32_t(IQvString*, IQvString*, IQvString**)>(),
                                [](auto...) { return std::string(); })));
}

}  // namespace

#define QV_HOST(ordinal, Name) ordinal, #Name, static_cast<decltype(&::Name)>(nullptr)

std::vector<Point> HostPoints() {
  std::vector<Point> points = {
      MakeHostPoint(
          QV_HOST(1, QvshrAlloc), "no memory", [](size_t) -> void* { return nullptr; },
          [](size_t bytes) { return std::to_string(bytes).append(" bytes"); }),
      Steady(MakeHostPoint(
                 QV_HOST(2, QvshrFree), "", [](void*) {}, kNoPurpose),
             "it has no result"),
      MakeHostPoint(
          QV_HOST(3, QvshrCreateString), "no memory",
          [](const wchar_t*, IQvString** out) -> int32_t {
            *out = nullptr;
            return QV_E_OUTOFMEMORY;
          },
          [](const wchar_t* text, IQvString**) { return LastPart(text); }),
      MakeHostPoint(
          QV_HOST(4, QvshrOpenRegistryKey), "access denied",
          [](HKEY, IQvString*, uint32_t, IQvRegKey** out) -> int32_t {
            *out = nullptr;
            return ERROR_ACCESS_DENIED;
          },
          [](HKEY, IQvString* path, uint32_t, IQvRegKey**) { return LastPart(TextOf(path)); }),
      MakeHostPoint(
          QV_HOST(5, QvshrOpenDefaultTree), "E_FAIL",
          [](const DefaultConfigRecord*, IQvRegKey** out) -> int32_t {
            *out = nullptr;
            return QV_E_FAIL;
          },
          kNoPurpose),
      MakeHostPoint(
          QV_HOST(6, QvshrWideToMultiByte), "null", [](const wchar_t*, uint32_t) -> char* { return nullptr; },
          [](const wchar_t* text, uint32_t) { return ToUtf8(std::wstring_view(text).substr(0, 20)); }),
      MakeHostPoint(
          QV_HOST(7, QvshrGetDirectory), "0", [](const wchar_t*, wchar_t*, int32_t) -> int32_t { return 0; },
          [](const wchar_t* path, wchar_t*, int32_t) { return LastPart(path); }),
      MakeHostPoint(
          QV_HOST(8, QvshrGetFileName), "0", [](const wchar_t*, wchar_t*, int32_t) -> int32_t { return 0; },
          [](const wchar_t* path, wchar_t*, int32_t) { return LastPart(path); }),
      MakeHostPoint(
          QV_HOST(9, QvshrGetSpecialFolder), "0",
          [](int32_t, wchar_t*, int32_t, int32_t, int32_t) -> int32_t { return 0; },
          [](int32_t, wchar_t*, int32_t, int32_t, int32_t useDefault) {
            return std::string(useDefault != 0 ? "its default place" : "the folder in use");
          }),
      MakeHostPoint(
          QV_HOST(10, QvshrGetSetting), "0",
          [](const wchar_t*, const wchar_t*, const wchar_t*, wchar_t*, int32_t) -> int32_t { return 0; },
          [](const wchar_t*, const wchar_t* key, const wchar_t*, wchar_t*, int32_t) { return ToUtf8(key); }),
      MakeHostPoint(
          QV_HOST(11, QvshrIsWebDeployment), "0", [](int32_t) -> int32_t { return 0; }, kNoPurpose),
      MakeHostPoint(
          QV_HOST(12, QvshrNoDetachQuery), "not 0", []() -> int32_t { return 1; }, kNoPurpose),
  };
  AddObjects(points);
  return points;
}

#undef QV_HOST

}  // namespace qvtest
