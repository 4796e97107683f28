// What the built modules say about themselves: exports, imports, hardening flags, version resources.
#include <windows.h>

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/binary/pe_file.h"
#include "tests/support/temp_folder.h"
#include "tests/support/text.h"

namespace qvtest {
namespace {

std::wstring ServiceFile() { return ProgramFolder() + L"\\..\\qvjvm.dll"; }
std::wstring HostLibraryFile() { return ProgramFolder() + L"\\..\\qvshr.dll"; }
std::wstring LedgerFile() { return ProgramFolder() + L"\\qvshr.dll"; }

std::set<uint16_t> Ordinals(const PeFile& file) {
  std::set<uint16_t> ordinals;
  for (const auto& [ordinal, address] : file.exports) ordinals.insert(ordinal);
  return ordinals;
}

std::set<uint16_t> FromTo(uint16_t first, uint16_t last) {
  std::set<uint16_t> numbers;
  for (uint16_t number = first; number <= last; ++number) numbers.insert(number);
  return numbers;
}

// ---- exports ----

TEST(ServiceExportsTest, AreTheFourFunctionsUndecorated) {
  const PeFile file = ReadPeFile(ServiceFile());
  std::vector<std::string> names;
  for (const auto& [name, address] : file.namedExports) names.push_back(name);
  EXPECT_EQ(names, (std::vector<std::string>{"DllRegisterServer", "DllUnregisterServer", "QV_CreateJavaVM",
                                             "QV_SetJavaVMDebugMode"}));
  EXPECT_EQ(file.exports.size(), 4u) << "an export without a name";
  EXPECT_EQ(file.forwardedExports, std::set<std::string>{});
}

TEST(ServiceExportsTest, UnregisteringIsTheSameFunctionAsRegistering) {
  const PeFile file = ReadPeFile(ServiceFile());
  EXPECT_EQ(file.namedExports.at("DllUnregisterServer"), file.namedExports.at("DllRegisterServer"));
  EXPECT_NE(file.namedExports.at("QV_CreateJavaVM"), file.namedExports.at("QV_SetJavaVMDebugMode"));
}

TEST(HostLibraryExportsTest, AreTheTwelveOrdinalsWithoutNames) {
  const PeFile file = ReadPeFile(HostLibraryFile());
  EXPECT_EQ(Ordinals(file), FromTo(1, 12));
  EXPECT_TRUE(file.namedExports.empty());
  EXPECT_EQ(file.forwardedExports, std::set<std::string>{});
}

TEST(HostLibraryExportsTest, OfTheLedgerBuildHaveItsControlsBehindThem) {
  const PeFile file = ReadPeFile(LedgerFile());
  std::set<uint16_t> want = FromTo(1, 12);
  want.merge(FromTo(100, 115));
  EXPECT_EQ(Ordinals(file), want);
  EXPECT_TRUE(file.namedExports.empty());
}

// ---- imports ----

// What every 64-bit Windows has; a C++ or thread runtime of a compiler is not among them.
const std::set<std::string> kSystemModules = {"advapi32.dll", "kernel32.dll", "msvcrt.dll", "user32.dll"};

TEST(ServiceImportsTest, AreSystemModulesAndTheHostLibrary) {
  const PeFile file = ReadPeFile(ServiceFile());
  for (const auto& [dll, imports] : file.imports) {
    EXPECT_TRUE(dll == "qvshr.dll" || kSystemModules.contains(dll)) << dll;
  }
  EXPECT_TRUE(file.imports.contains("kernel32.dll")) << "nothing was read";
  EXPECT_FALSE(file.hasDelayImports);
}

TEST(ServiceImportsTest, OfTheHostLibraryAreOrdinalsAlone) {
  const PeFile file = ReadPeFile(ServiceFile());
  const PeImports& host = file.imports.at("qvshr.dll");
  EXPECT_EQ(host.names, std::set<std::string>{});
  EXPECT_EQ(host.ordinals, FromTo(1, 12));
}

TEST(ServiceImportsTest, HoldNothingThatWritesTheRegistryOrEndsThreads) {
  const PeFile file = ReadPeFile(ServiceFile());
  for (const auto& [dll, imports] : file.imports) {
    for (const std::string& name : imports.names) {
      EXPECT_NE(name.rfind("Reg", 0), 0u) << name << ": the registry is the host library's, and nobody writes it";
      EXPECT_NE(name, "TerminateThread");
      EXPECT_NE(name, "DisableThreadLibraryCalls") << "the static runtime needs the calls";
    }
  }
}

TEST(HostLibraryImportsTest, AreSystemModules) {
  for (const std::wstring& path : {HostLibraryFile(), LedgerFile()}) {
    const PeFile file = ReadPeFile(path);
    for (const auto& [dll, imports] : file.imports) EXPECT_TRUE(kSystemModules.contains(dll)) << dll;
    EXPECT_TRUE(file.imports.contains("advapi32.dll")) << "nothing was read";
    EXPECT_FALSE(file.hasDelayImports);
  }
}

// ---- hardening ----

TEST(ModuleFlagsTest, BothModulesMoveInTheWholeAddressSpaceAndKeepDataFromBeingExecuted) {
  for (const std::wstring& path : {ServiceFile(), HostLibraryFile()}) {
    const PeFile file = ReadPeFile(path);
    SCOPED_TRACE(ToUtf8(path));
    EXPECT_EQ(file.machine, IMAGE_FILE_MACHINE_AMD64);
    EXPECT_NE(file.fileFlags & IMAGE_FILE_DLL, 0);
    EXPECT_NE(file.moduleFlags & IMAGE_DLLCHARACTERISTICS_DYNAMIC_BASE, 0) << "no ASLR";
    EXPECT_NE(file.moduleFlags & 0x0020, 0) << "no high-entropy addresses";
    EXPECT_NE(file.moduleFlags & IMAGE_DLLCHARACTERISTICS_NX_COMPAT, 0) << "no data execution prevention";
    EXPECT_EQ(file.fileFlags & IMAGE_FILE_RELOCS_STRIPPED, 0) << "without relocations it cannot move";
    EXPECT_TRUE(file.hasRelocations) << "without relocations it cannot move";
    EXPECT_NE(file.fileFlags & IMAGE_FILE_LARGE_ADDRESS_AWARE, 0) << "high addresses are not for it";
  }
}

TEST(ModuleFlagsTest, NoSectionIsBothWritableAndExecutable) {
  for (const std::wstring& path : {ServiceFile(), HostLibraryFile()}) {
    const PeFile file = ReadPeFile(path);
    EXPECT_GE(file.sections.size(), 4u) << "nothing was read";
    for (const PeSection& section : file.sections) {
      const bool both = (section.flags & IMAGE_SCN_MEM_WRITE) != 0 && (section.flags & IMAGE_SCN_MEM_EXECUTE) != 0;
      EXPECT_FALSE(both) << ToUtf8(path) << ", section " << section.name;
    }
  }
}

// ---- version resources ----

class VersionResource {
 public:
  explicit VersionResource(const std::wstring& path) {
    DWORD ignored = 0;
    m_block.resize(GetFileVersionInfoSizeW(path.c_str(), &ignored));
    if (!m_block.empty()) GetFileVersionInfoW(path.c_str(), 0, static_cast<DWORD>(m_block.size()), m_block.data());
  }
  [[nodiscard]] std::wstring Text(const std::wstring& name) const {
    wchar_t* text = nullptr;
    UINT units = 0;
    const std::wstring place = L"\\StringFileInfo\\040904B0\\" + name;
    if (m_block.empty() || !VerQueryValueW(m_block.data(), place.c_str(), reinterpret_cast<void**>(&text), &units)) {
      return L"<none>";
    }
    return text;
  }
  [[nodiscard]] std::vector<DWORD> Numbers() const {
    VS_FIXEDFILEINFO* fixed = nullptr;
    UINT bytes = 0;
    if (m_block.empty() || !VerQueryValueW(m_block.data(), L"\\", reinterpret_cast<void**>(&fixed), &bytes)) return {};
    return {fixed->dwFileVersionMS, fixed->dwFileVersionLS, fixed->dwFileType};
  }

 private:
  std::vector<char> m_block;
};

TEST(VersionResourceTest, BothModulesSayWhatTheyAre) {
  const struct {
    std::wstring path;
    const wchar_t* fileName;
  } rows[] = {{ServiceFile(), L"qvjvm.dll"}, {HostLibraryFile(), L"qvshr.dll"}};
  for (const auto& row : rows) {
    SCOPED_TRACE(ToUtf8(row.path));
    const VersionResource version(row.path);
    EXPECT_EQ(version.Numbers(), (std::vector<DWORD>{0x00010000, 0, VFT_DLL}));
    EXPECT_EQ(version.Text(L"FileVersion"), L"1.0.0.0");
    EXPECT_EQ(version.Text(L"ProductVersion"), L"1.0.0.0");
    EXPECT_EQ(version.Text(L"OriginalFilename"), row.fileName);
    for (const wchar_t* name : {L"FileDescription", L"ProductName", L"InternalName"}) {
      EXPECT_GT(version.Text(name).size(), 0u) << ToUtf8(name);
      EXPECT_NE(version.Text(name), L"<none>") << ToUtf8(name);
    }
  }
}

// ---- the reader itself ----

TEST(PeFileTest, ReadsAModuleThatIsKnown) {
  // The test program: it imports the host library by ordinal and the system by name, and exports nothing.
  wchar_t path[1024] = {};
  GetModuleFileNameW(nullptr, path, 1024);
  const PeFile file = ReadPeFile(path);
  EXPECT_EQ(file.fileFlags & IMAGE_FILE_DLL, 0);
  EXPECT_TRUE(file.imports.at("version.dll").names.contains("VerQueryValueW"));
  EXPECT_TRUE(file.imports.at("kernel32.dll").names.contains("GetModuleFileNameW"));
  EXPECT_TRUE(file.namedExports.empty());
}

TEST(PeFileTest, ReadsNamedAndForwardedExports) {
  wchar_t folder[MAX_PATH] = {};
  GetSystemDirectoryW(folder, MAX_PATH);
  const PeFile file = ReadPeFile(std::wstring(folder) + L"\\kernel32.dll");
  EXPECT_TRUE(file.namedExports.contains("GetProcAddress"));
  EXPECT_FALSE(file.forwardedExports.empty());
}

}  // namespace
}  // namespace qvtest
