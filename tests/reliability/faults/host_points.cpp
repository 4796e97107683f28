// The host library: its functions, which the service imports by ordinal, and the operations of its objects, whose
// tables are changed in the library itself. The library calls those too, so only calls from the service count.
#include <gtest/gtest.h>

#include "hostlib/backend.h"
#include "tests/reliability/faults/fault_point.h"

namespace qvtest {
namespace {

// ---- object tables ----

// The table of an object, one for all objects of its class.
void** TableOf(void* object) { return *static_cast<void***>(object); }

// One operation of one class of objects. The classes of an interface share the point's counter.
template <class Object, int Class, class Fail, class Describe, class Result, class... Arguments>
struct SlotHook {
  static inline Result (*original)(Object*, Arguments...) = nullptr;

  static Result Call(Object* self, Arguments... arguments) {
    if (CalledByService(QVSHR_CALLER) &&
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
  WriteTo(place, reinterpret_cast<void*>(&Hook::Call));
}

// A key of the registry, a key of a built-in tree and a text: one example of each class.
struct Examples {
  qv::StringRef text;
  qv::KeyRef registryKey;
  qv::KeyRef treeKey;

  Examples() {
    static const DefaultConfigRecord kTable[] = {
        {kOpenKey, L"ROOT", nullptr, {}}, {kCloseKey, nullptr, nullptr, {}}, {kEndOfTable, nullptr, nullptr, {}}};
    EXPECT_EQ(QvshrCreateString(L"", text.Out()), 0);
    EXPECT_EQ(QvshrOpenRegistryKey(HKEY_CURRENT_USER, text.Get(), KEY_READ, registryKey.Out()), 0);
    EXPECT_GE(QvshrOpenDefaultTree(kTable, treeKey.Out()), 0);
  }
};

// An operation of each of these examples' classes.
template <class Result, class Object, class... Arguments, class Fail, class Describe = NoPurpose>
Point MakeObjectPoint(Object* example, Object* another, const char* name, size_t slot,
                      Result (*)(Object*, Arguments...), const char* fault, Fail, Describe = {}) {
  HookSlot<Object, 0, Fail, Describe, Result, Arguments...>(example, slot);
  if (another != nullptr) HookSlot<Object, 1, Fail, Describe, Result, Arguments...>(another, slot);
  return {.call = name,
          .fault = fault,
          .kind = PointKind::HostObject,
          .calls = &HookOf<Fail, Describe, Result, Object*, Arguments...>::calls};
}

template <class Signature>
constexpr Signature* As() {
  return nullptr;
}

void AddObjects(std::vector<Point>& points) {
  static constexpr char kCount[] = "a count of references always changes";
  static constexpr char kText[] = "a text always has its characters and its length";
  constexpr int32_t kMissing = static_cast<int32_t>(0x80070002);
  constexpr auto kPath = [](IQvRegKey*, IQvString* path, auto...) { return LastPart(TextOf(path)); };
  constexpr auto kIndex = [](IQvRegKey*, int32_t index, auto...) { return std::to_string(index); };
  constexpr auto kName = [](IQvRegKey*, IQvString* name, auto...) { return ToUtf8(TextOf(name)); };
  const Examples examples;
  const auto ofKeys = [&](const char* name, size_t slot, auto... of) {
    return MakeObjectPoint(examples.registryKey.Get(), examples.treeKey.Get(), name, slot, of...);
  };
  const auto ofTexts = [&](const char* name, size_t slot, auto... of) {
    return MakeObjectPoint(examples.text.Get(), static_cast<IQvString*>(nullptr), name, slot, of...);
  };
  points.insert(
      points.end(),
      {
          ofKeys(
              "IQvRegKey::OpenSubKey", 4, As<int32_t(IQvRegKey*, IQvString*, uint32_t, IQvRegKey**)>(), "not found",
              [](IQvRegKey*, IQvString*, uint32_t, IQvRegKey** key) { return Without(key, kMissing); }, kPath),
          ofKeys(
              "IQvRegKey::EnumValue", 7, As<int32_t(IQvRegKey*, int32_t, IQvString**, IQvString**)>(),
              "past the last value",
              [](IQvRegKey*, int32_t, IQvString** name, IQvString** value) {
                *name = nullptr;
                return Without(value, kMissing);
              },
              kIndex),
          ofKeys(
              "IQvRegKey::QueryStringValue", 12, As<int32_t(IQvRegKey*, IQvString*, IQvString**)>(), "not found",
              [](IQvRegKey*, IQvString*, IQvString** value) { return Without(value, kMissing); }, kName),
          Steady(ofKeys("IQvRegKey::Release", 2, As<uint32_t(IQvRegKey*)>(), "", Answer<1U>{}), kCount),
          NeverCalled(ofKeys("IQvRegKey::AddRef", 1, As<uint32_t(IQvRegKey*)>(), "", Answer<0U>{})),
          NeverCalled(
              ofKeys("IQvRegKey::QueryInterface", 0, As<int32_t(IQvRegKey*, const GUID*, void**)>(), "", Answer<-1>{})),
          Steady(ofTexts("IQvString::AddRef", 1, As<uint32_t(IQvString*)>(), "", Answer<0U>{}), kCount),
          Steady(ofTexts("IQvString::Release", 2, As<uint32_t(IQvString*)>(), "", Answer<0U>{}), kCount),
          Steady(ofTexts("IQvString::GetText", 5, As<const wchar_t*(IQvString*)>(), "", Answer<nullptr>{}), kText),
          Steady(ofTexts("IQvString::GetLength", 6, As<int32_t(IQvString*)>(), "", Answer<0>{}), kText),
          NeverCalled(
              ofTexts("IQvString::QueryInterface", 0, As<int32_t(IQvString*, const GUID*, void**)>(), "", Answer<0>{})),
          NeverCalled(
              ofTexts("IQvString::Concat", 9, As<int32_t(IQvString*, IQvString*, IQvString**)>(), "", Answer<0>{})),
      });
}

}  // namespace

#define QV_HOST(ordinal, Name) PointKind::HostLibrary, ordinal, #Name, static_cast<decltype(&::Name)>(nullptr)

std::vector<Point> HostPoints() {
  constexpr auto kBytes = [](size_t bytes) { return std::to_string(bytes).append(" bytes"); };
  constexpr auto kKeyPath = [](HKEY, IQvString* path, auto...) { return LastPart(TextOf(path)); };
  constexpr auto kBeginning = [](const wchar_t* text, uint32_t) {
    return ToUtf8(std::wstring_view(text).substr(0, 20));
  };
  constexpr auto kWhichPlace = [](int32_t, wchar_t*, int32_t, int32_t, int32_t useDefault) {
    return std::string(useDefault != 0 ? "its default place" : "the folder in use");
  };
  constexpr auto kSetting = [](const wchar_t*, const wchar_t* key, auto...) { return ToUtf8(key); };
  std::vector<Point> points = {
      MakePoint(QV_HOST(1, QvshrAlloc), "no memory", Answer<nullptr>{}, kBytes),
      Steady(MakePoint(QV_HOST(2, QvshrFree), "", [](void*) {}), "it has no result"),
      MakePoint(
          QV_HOST(3, QvshrCreateString), "no memory",
          [](const wchar_t*, IQvString** out) { return Without(out, QV_E_OUTOFMEMORY); }, kFirstLastPart),
      MakePoint(
          QV_HOST(4, QvshrOpenRegistryKey), "access denied",
          [](HKEY, IQvString*, uint32_t, IQvRegKey** out) { return Without(out, ERROR_ACCESS_DENIED); }, kKeyPath),
      MakePoint(QV_HOST(5, QvshrOpenDefaultTree), "E_FAIL",
                [](const DefaultConfigRecord*, IQvRegKey** out) { return Without(out, QV_E_FAIL); }),
      MakePoint(QV_HOST(6, QvshrWideToMultiByte), "null", Answer<nullptr>{}, kBeginning),
      MakePoint(QV_HOST(7, QvshrGetDirectory), "0", Answer<0>{}, kFirstLastPart),
      MakePoint(QV_HOST(8, QvshrGetFileName), "0", Answer<0>{}, kFirstLastPart),
      MakePoint(QV_HOST(9, QvshrGetSpecialFolder), "0", Answer<0>{}, kWhichPlace),
      MakePoint(QV_HOST(10, QvshrGetSetting), "0", Answer<0>{}, kSetting),
      MakePoint(QV_HOST(11, QvshrIsWebDeployment), "0", Answer<0>{}),
      MakePoint(QV_HOST(12, QvshrNoDetachQuery), "not 0", Answer<1>{}),
  };
  AddObjects(points);
  return points;
}

#undef QV_HOST

}  // namespace qvtest
