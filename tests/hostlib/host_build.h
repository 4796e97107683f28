// What the tests of the host library share: both builds of it, reached by file and ordinal, and owners for its objects.
// A test runs once per build; the module stays loaded until the test's process ends.
#pragma once

#include <windows.h>

#include <gtest/gtest.h>

#include <utility>
#include <vector>

#include "base/procedure.h"
#include "host/host_ref.h"
#include "hostlib/application.h"
#include "tests/support/temp_folder.h"

namespace hosttest {

using qvtest::ProgramFolder;
using Strings = std::vector<std::wstring>;

inline constexpr GUID kUnknownId = {0x00000000, 0x0000, 0x0000, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};

/// The functions of one build.
struct HostApi {
  explicit HostApi(HMODULE library) : module(library) {}

  const HMODULE module;
  decltype(&QvshrAlloc) Alloc = ByOrdinal(1);
  decltype(&QvshrFree) Free = ByOrdinal(2);
  decltype(&QvshrCreateString) CreateString = ByOrdinal(3);
  decltype(&QvshrOpenRegistryKey) OpenRegistryKey = ByOrdinal(4);
  decltype(&QvshrOpenDefaultTree) OpenDefaultTree = ByOrdinal(5);
  decltype(&QvshrWideToMultiByte) WideToMultiByte = ByOrdinal(6);
  decltype(&QvshrGetDirectory) GetDirectory = ByOrdinal(7);
  decltype(&QvshrGetFileName) GetFileName = ByOrdinal(8);
  decltype(&QvshrGetSpecialFolder) GetSpecialFolder = ByOrdinal(9);
  decltype(&QvshrGetSetting) GetSetting = ByOrdinal(10);
  decltype(&QvshrIsWebDeployment) IsWebDeployment = ByOrdinal(11);
  decltype(&QvshrNoDetachQuery) NoDetachQuery = ByOrdinal(12);
  // Beyond the contract, by name.
  decltype(&QvshrSetApplicationValue) SetApplicationValue =
      qv::FindProcedure<decltype(&QvshrSetApplicationValue)>(module, "QvshrSetApplicationValue");
  decltype(&QvshrGetBadSettingsLine) GetBadSettingsLine =
      qv::FindProcedure<decltype(&QvshrGetBadSettingsLine)>(module, "QvshrGetBadSettingsLine");
  decltype(&QvshrHasApplicationKey) HasApplicationKey =
      qv::FindProcedure<decltype(&QvshrHasApplicationKey)>(module, "QvshrHasApplicationKey");

 private:
  struct Export {
    HMODULE module;
    WORD ordinal;
    template <class Function>
    operator Function() const {
      return qv::FindProcedure<Function>(module, MAKEINTRESOURCEA(ordinal));
    }
  };
  [[nodiscard]] Export ByOrdinal(WORD ordinal) const { return {module, ordinal}; }
};

using Text = qv::StringRef;
using Key = qv::KeyRef;

/// An address that no object has: out-parameters start with it, so that a test sees who wrote null.
template <class T>
T* Untouched() {
  return reinterpret_cast<T*>(uintptr_t{0x5A5A5A5A5A5A5A5A});
}

struct HostBuild {
  const char* name;
  const wchar_t* file;  // relative to the program's folder
};
inline void PrintTo(const HostBuild& build, std::ostream* out) { *out << build.name; }

inline constexpr HostBuild kPlainBuild{"Plain", L"\\..\\qvshr.dll"};
inline constexpr HostBuild kLedgerBuild{"Ledger", L"\\qvshr.dll"};

/// A test that runs on the build of its parameter.
class HostTest : public testing::TestWithParam<HostBuild> {
 public:
  void SetUp() override { ASSERT_NE(host.module, nullptr) << "the library is not there, error " << GetLastError(); }

  Text MakeText(const std::wstring& text) const {
    Text made;
    EXPECT_EQ(host.CreateString(text.c_str(), made.Out()), 0);
    return made;
  }
  /// Opens a sub key with all rights to read; empty when it failed.
  Key OpenSub(const Key& key, const std::wstring& path) const {
    Key opened;
    key->OpenSubKey(MakeText(path).Get(), KEY_READ, opened.Out());
    return opened;
  }
  /// The value's text, or "<none>" and a failed status.
  std::wstring Query(const Key& key, const std::wstring& name) const {
    Text value;
    const int32_t status = key->QueryStringValue(MakeText(name).Get(), value.Out());
    EXPECT_EQ(status == 0, static_cast<bool>(value)) << "status " << status;
    EXPECT_LE(status, 0);
    return value ? value->GetText() : L"<none>";
  }
  /// "name=value", or "<none>".
  std::wstring Enum(const Key& key, int32_t index) const {
    Text name;
    Text value;
    const int32_t status = key->EnumValue(index, name.Out(), value.Out());
    EXPECT_EQ(status == 0, name && value) << "status " << status;
    EXPECT_EQ(static_cast<bool>(name), static_cast<bool>(value));
    return status == 0 ? std::wstring(name->GetText()) + L"=" + value->GetText() : L"<none>";
  }
  /// What Enum gives for each index, up to the first that has no value.
  Strings Walk(const Key& key) const {
    Strings walked;
    for (int32_t i = 0;; ++i) {
      const std::wstring entry = Enum(key, i);
      if (entry == L"<none>") return walked;
      walked.push_back(entry);
    }
  }
  void ExpectRefusesMissingArguments(const Key& key) const {
    const Text text = MakeText(L"x");
    IQvRegKey* sub = Untouched<IQvRegKey>();
    EXPECT_LT(key->OpenSubKey(nullptr, KEY_READ, &sub), 0);
    EXPECT_EQ(sub, nullptr);
    EXPECT_LT(key->OpenSubKey(text.Get(), KEY_READ, nullptr), 0);
    EXPECT_LT(key->QueryStringValue(text.Get(), nullptr), 0);
    IQvString* values[] = {Untouched<IQvString>(), Untouched<IQvString>(), Untouched<IQvString>()};
    EXPECT_LT(key->QueryStringValue(nullptr, &values[0]), 0);
    EXPECT_LT(key->EnumValue(0, nullptr, &values[1]), 0);
    EXPECT_LT(key->EnumValue(0, &values[2], nullptr), 0);
    for (IQvString* const value : values) EXPECT_EQ(value, nullptr);
  }

  const HostApi host{LoadLibraryW((ProgramFolder() + GetParam().file).c_str())};
};

#define ON_BOTH_HOST_BUILDS(Suite)                                                                      \
  INSTANTIATE_TEST_SUITE_P(Host, Suite, testing::Values(hosttest::kPlainBuild, hosttest::kLedgerBuild), \
                           [](const auto& row) { return std::string(row.param.name); })

}  // namespace hosttest
