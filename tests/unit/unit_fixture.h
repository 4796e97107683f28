// What the tests of pure logic and configuration share: a configuration object of the test's own, host kinds, a module
// loaded from a chosen place, what the system says of modules and files, and a fixture that guards and counts every
// block of the host library.
#pragma once

#include <algorithm>

#include "base/handle.h"
#include "config/jvm_config_info.h"
#include "tests/support/environment.h"
#include "tests/support/ledger_check.h"
#include "tests/support/message_box.h"
#include "tests/support/product.h"
#include "tests/support/registry_sandbox.h"
#include "tests/support/temp_folder.h"

namespace qvtest {

// A test that runs with guard pages behind every block, no scripts of an earlier test, and ends with balanced books.
class LedgerTest : public testing::Test {
 protected:
  LedgerTest() { QvshrLedgerReset(); }

  GuardPages m_guard;
  LedgerCheck m_ledger;
};

// A configuration object in a host block; its own destruction gives the block back.
class ConfigObject : private Pinned {
 public:
  ConfigObject() : m_config(new CQV_JVMConfigInfo()) {}
  ~ConfigObject() { m_config->Destroy(1); }

  CQV_JVMConfigInfo* operator->() const { return m_config; }
  CQV_JVMConfigInfo& operator*() const { return *m_config; }

 private:
  CQV_JVMConfigInfo* m_config;
};

// Such a test with a registry and a configuration object of its own. It fails when a message box was shown that it does
// not expect.
class ConfigTest : public LedgerTest {
 protected:
  void TearDown() override { EXPECT_EQ(m_boxes.Shown().size(), m_expectedBoxes); }

  MessageBoxCatcher m_boxes;
  size_t m_expectedBoxes = 0;
  RegistrySandbox m_registry{RegistrySandbox::Override::MachineAndUser};
  ConfigObject m_config;
};

enum class HostKind { Unknown, Quovant, Tablero, Loomhall };

// What a host of this kind leaves in the flags.
inline void SetHost(CQV_JVMConfigInfo& config, HostKind kind) {
  config.m_bHostKnown = kind != HostKind::Unknown;
  config.m_bQuovantHost = kind != HostKind::Tablero;
  config.m_bLoomhallHost = kind == HostKind::Loomhall;
}

// Bytes as a stranger may have left them in a value, and the text that they are read as; none when they are no text.
struct RegistryBytes {
  const char* name;
  DWORD type;
  std::vector<unsigned char> bytes;
  std::optional<std::wstring> text;
};
inline const RegistryBytes kRegistryBytes[] = {
    {"terminated", REG_SZ, {'x', 0, ':', 0, 0, 0}, L"x:"},
    {"without a terminator", REG_SZ, {'x', 0, ':', 0}, L"x:"},
    {"an odd number of bytes", REG_SZ, {'x', 0, ':', 0, '\\'}, L"x:"},
    {"one byte", REG_SZ, {'x'}, L""},
    {"no bytes", REG_SZ, {}, L""},
    {"a null in the middle", REG_SZ, {'x', 0, 0, 0, ':', 0, 0, 0}, L"x"},
    {"to be expanded, but not here", REG_EXPAND_SZ, {'%', 0, 'O', 0, 'S', 0, '%', 0, 0, 0}, L"%OS%"},
    {"half a surrogate pair", REG_SZ, {0x3D, 0xD8, 0, 0}, L"\xD83D"},
    {"a number", REG_DWORD, {1, 0, 0, 0}, std::nullopt},
    {"bytes", REG_BINARY, {'x', 0, 0, 0}, std::nullopt},
    {"several texts", REG_MULTI_SZ, {'x', 0, 0, 0, 0, 0}, std::nullopt},
    {"no type", REG_NONE, {'x', 0, 0, 0}, std::nullopt},
    {"an unknown type", 0x4711, {'x', 0, 0, 0}, std::nullopt},
};

// A module with nothing in it, copied to a path and loaded from there.
class LoadedModule : private Pinned {
 public:
  LoadedModule(const TempFolder& folder, const std::wstring& relative)
      : m_module(LoadLibraryW(folder.CopyIn(ProgramFolder() + L"\\unit_module.dll", relative).c_str())) {
    EXPECT_TRUE(m_module) << "cannot load " << ToUtf8(relative) << ": error " << GetLastError();
  }
  [[nodiscard]] HMODULE Handle() const { return m_module.Get(); }

 private:
  qv::Library m_module;
};

// The path of every module as the oldest systems told it: cut at the buffer's size, without a terminator then.
class UnterminatedModulePath {
 public:
  explicit UnterminatedModulePath(const std::wstring& path)
      : m_hook("GetModuleFileNameW", [path](HMODULE, LPWSTR buffer, DWORD capacity) {
          const size_t copied = std::min<size_t>(path.size(), capacity);
          std::copy_n(path.c_str(), copied, buffer);
          if (copied < capacity) buffer[copied] = L'\0';
          return static_cast<DWORD>(copied);
        }) {}

 private:
  FunctionHook<decltype(&GetModuleFileNameW)> m_hook;
};

// Files that all exist, or none of them; which ones were asked for.
class EveryFile {
 public:
  explicit EveryFile(bool exists)
      : m_hook("GetFileAttributesW", [this, exists](LPCWSTR path) {
          m_asked.emplace_back(path);
          return exists ? DWORD{FILE_ATTRIBUTE_NORMAL} : INVALID_FILE_ATTRIBUTES;
        }) {}
  [[nodiscard]] const std::vector<std::wstring>& Asked() const { return m_asked; }

 private:
  std::vector<std::wstring> m_asked;
  FunctionHook<decltype(&GetFileAttributesW)> m_hook;
};

// The result and the text of a reader: "true: text", "false: <null>".
template <class Read>
std::wstring ResultAndText(Read&& read) {
  IQvString* text = nullptr;
  const bool ok = read(&text);
  return (ok ? L"true: " : L"false: ") + TakeText(text);
}
// What an operation on a configuration object gives: its own text, that of a reader with its result, or that of a
// reader without one.
template <class Read>
std::wstring Given(CQV_JVMConfigInfo& config, Read&& read) {
  if constexpr (std::is_invocable_v<Read, CQV_JVMConfigInfo&>) {
    return read(config);
  } else if constexpr (std::is_void_v<std::invoke_result_t<Read, CQV_JVMConfigInfo&, IQvString**>>) {
    IQvString* text = nullptr;
    std::invoke(read, config, &text);
    return TakeText(text);
  } else {
    return ResultAndText([&](IQvString** text) { return std::invoke(read, config, text); });
  }
}

}  // namespace qvtest
