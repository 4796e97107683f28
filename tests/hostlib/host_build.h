// What the tests of the host library share: both builds of it, reached by file and ordinal, and owners for its objects.
// A test runs once per build; the module stays loaded until the test's process ends.
#pragma once

#include <windows.h>

#include <gtest/gtest.h>

#include <string>
#include <utility>

#include "host/qvshr.h"

namespace hosttest {

/// The folder of the running program, with a backslash at its end.
inline std::wstring ProgramFolder() {
  wchar_t path[1024] = {};
  const DWORD length = GetModuleFileNameW(nullptr, path, 1024);
  const std::wstring whole(path, length);
  return whole.substr(0, whole.rfind(L'\\') + 1);
}

/// The function of a module that has this ordinal; null when there is none.
template <class Function>
Function ByOrdinal(HMODULE module, WORD ordinal) {
  return reinterpret_cast<Function>(reinterpret_cast<void*>(GetProcAddress(module, MAKEINTRESOURCEA(ordinal))));
}

/// The twelve functions of one build.
struct HostApi {
  decltype(&QvshrAlloc) Alloc;
  decltype(&QvshrFree) Free;
  decltype(&QvshrCreateString) CreateString;
  decltype(&QvshrOpenRegistryKey) OpenRegistryKey;
  decltype(&QvshrOpenDefaultTree) OpenDefaultTree;
  decltype(&QvshrWideToMultiByte) WideToMultiByte;
  decltype(&QvshrGetDirectory) GetDirectory;
  decltype(&QvshrGetFileName) GetFileName;
  decltype(&QvshrGetSpecialFolder) GetSpecialFolder;
  decltype(&QvshrGetSetting) GetSetting;
  decltype(&QvshrIsWebDeployment) IsWebDeployment;
  decltype(&QvshrNoDetachQuery) NoDetachQuery;

  explicit HostApi(HMODULE m)
      : Alloc(ByOrdinal<decltype(Alloc)>(m, 1)),
        Free(ByOrdinal<decltype(Free)>(m, 2)),
        CreateString(ByOrdinal<decltype(CreateString)>(m, 3)),
        OpenRegistryKey(ByOrdinal<decltype(OpenRegistryKey)>(m, 4)),
        OpenDefaultTree(ByOrdinal<decltype(OpenDefaultTree)>(m, 5)),
        WideToMultiByte(ByOrdinal<decltype(WideToMultiByte)>(m, 6)),
        GetDirectory(ByOrdinal<decltype(GetDirectory)>(m, 7)),
        GetFileName(ByOrdinal<decltype(GetFileName)>(m, 8)),
        GetSpecialFolder(ByOrdinal<decltype(GetSpecialFolder)>(m, 9)),
        GetSetting(ByOrdinal<decltype(GetSetting)>(m, 10)),
        IsWebDeployment(ByOrdinal<decltype(IsWebDeployment)>(m, 11)),
        NoDetachQuery(ByOrdinal<decltype(NoDetachQuery)>(m, 12)) {}
};

/// Owns one reference of a host object.
template <class T>
class Owned {
 public:
  Owned() = default;
  explicit Owned(T* adopted) : m_object(adopted) {}
  Owned(Owned&& other) noexcept : m_object(std::exchange(other.m_object, nullptr)) {}
  Owned& operator=(Owned other) noexcept {
    std::swap(m_object, other.m_object);
    return *this;
  }
  ~Owned() {
    if (m_object != nullptr) m_object->Release();
  }
  T* Get() const { return m_object; }
  T* operator->() const { return m_object; }
  explicit operator bool() const { return m_object != nullptr; }
  /// For a reference that the test has given back itself.
  void Forget() { m_object = nullptr; }
  /// For an out-parameter.
  T** Out() {
    *this = Owned();
    return &m_object;
  }

 private:
  T* m_object = nullptr;
};

using Text = Owned<IQvString>;
using Key = Owned<IQvRegKey>;

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

inline constexpr HostBuild kPlainBuild{"Plain", L"..\\qvshr.dll"};
inline constexpr HostBuild kLedgerBuild{"Ledger", L"qvshr.dll"};

/// A test that runs on the build of its parameter.
class HostTest : public testing::TestWithParam<HostBuild> {
 public:
  HostTest() : module(LoadLibraryW((ProgramFolder() + GetParam().file).c_str())), host(module) {}
  void SetUp() override { ASSERT_NE(module, nullptr) << "the library is not there, error " << GetLastError(); }

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

  const HMODULE module;
  const HostApi host;
};

#define ON_BOTH_HOST_BUILDS(Suite)                                                                      \
  INSTANTIATE_TEST_SUITE_P(Host, Suite, testing::Values(hosttest::kPlainBuild, hosttest::kLedgerBuild), \
                           [](const auto& row) { return std::string(row.param.name); })

}  // namespace hosttest
