// What the tests of runtime discovery share: an unknown host with nothing that leads to a runtime, and a PATH whose
// writes a test can record and fail.
#pragma once

#include "tests/unit/unit_fixture.h"

namespace qvtest {

inline constexpr wchar_t kJavaSoft[] = L"Software\\JavaSoft\\Java Runtime Environment";
inline constexpr wchar_t kOldPath[] = L"C:\\old;D:\\older";

// An unknown host, the service in "install", nothing that leads to a runtime.
class RuntimeLocateTest : public ConfigTest {
 protected:
  [[nodiscard]] std::wstring Home() const { return m_folder.Path(L"home"); }
  [[nodiscard]] std::wstring Install() const { return m_folder.Path(L"install"); }
  void AddJvm(const std::wstring& relativeFolder) const { m_folder.WriteFile(relativeFolder + L"\\jvm.dll"); }
  void RegisterCurrentRuntime(const std::wstring& home) { m_registry.RegisterRuntime(L"1.8", home); }
  static std::wstring Path() { return ReadVariable(L"PATH").value_or(L"<absent>"); }
  // Locates with a fresh configuration object and the usual PATH; gives what PATH is then. Nothing found is true too.
  std::wstring LocateAfresh(HostKind host = HostKind::Unknown) {
    const EnvironmentScope path(L"PATH", kOldPath);
    const ConfigObject config;
    SetHost(*config, host);
    EXPECT_TRUE(config->LocateJavaRuntime());
    EXPECT_EQ(config->m_bRuntimeFound, Path() != kOldPath);
    return Path();
  }

  // What may have stood there before.
  static std::vector<std::optional<std::wstring>> OldPaths() {
    return {std::nullopt,
            L"",
            L"C:\\a",
            L";",
            L";;C:\\a;;",
            L" C:\\a ; \"C:\\b c\" ",
            L"%SystemRoot%;C:/x",
            L"\xD83D;\xDE00;\x4E2D\xFFFF",
            L"a=b",
            std::wstring(1023, L'p'),
            std::wstring(1024, L'p'),
            std::wstring(1025, L'p'),
            std::wstring(30000, L'p')};
  }

  TempFolder m_folder;
  LoadedModule m_service{m_folder, L"install\\qvjvm.dll"};
  EnvironmentScope m_path{L"PATH", kOldPath};
  EnvironmentScope m_javaHome{L"JAVA_HOME", std::nullopt};
};

// SetEnvironmentVariableW with a result of the test's own for each call; what is not listed goes through.
class PathWrites {
 public:
  explicit PathWrites(std::vector<BOOL> results) : m_results(std::move(results)) {}
  [[nodiscard]] const std::vector<std::wstring>& Written() const { return m_written; }

 private:
  std::vector<BOOL> m_results;
  std::vector<std::wstring> m_written;
  FunctionHook<decltype(&SetEnvironmentVariableW)> m_hook{
      "SetEnvironmentVariableW", [this](LPCWSTR name, LPCWSTR value) {
        m_written.push_back(std::wstring(name) + L"=" + value);
        return m_written.size() <= m_results.size() ? m_results[m_written.size() - 1] : TRUE;
      }};
};

}  // namespace qvtest
