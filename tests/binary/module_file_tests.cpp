// What the built modules say about themselves: exports, imports, hardening flags, version resources.
#include <gtest/gtest.h>

#include "qvjvm/qvjvm.h"
#include "tests/binary/pe_file.h"
#include "tests/support/temp_folder.h"
#include "tests/support/text.h"

namespace qvtest {
namespace {

std::wstring ServiceFile() { return ProgramFolder() + L"\\..\\qvjvm.dll"; }
std::wstring HostLibraryFile() { return ProgramFolder() + L"\\..\\qvshr.dll"; }
std::wstring LedgerFile() { return ProgramFolder() + L"\\qvshr.dll"; }

std::set<uint16_t> FromTo(uint16_t first, uint16_t last) {
  std::set<uint16_t> numbers;
  for (uint16_t number = first; number <= last; ++number) numbers.insert(number);
  return numbers;
}

// ---- exports ----

TEST(ServiceExportsTest, AreTheFourFunctionsUndecoratedAndUnregisteringIsTheSameAsRegistering) {
  const PeFile file = ReadPeFile(ServiceFile());
  std::vector<std::string> names;
  for (const auto& [name, address] : file.namedExports) names.push_back(name);
  EXPECT_EQ(names, (std::vector<std::string>{"DllRegisterServer", "DllUnregisterServer", "QV_CreateJavaVM",
                                             "QV_SetJavaVMDebugMode"}));
  EXPECT_EQ(file.exports.size(), 4u) << "an export without a name";
  EXPECT_EQ(file.forwardedExports, std::set<std::string>{});
  EXPECT_EQ(file.namedExports.at("DllUnregisterServer"), file.namedExports.at("DllRegisterServer"));
  EXPECT_NE(file.namedExports.at("QV_CreateJavaVM"), file.namedExports.at("QV_SetJavaVMDebugMode"));
}

TEST(HostLibraryExportsTest, AreTheTwelveOrdinalsWithoutNamesItsOwnByNameAndInTheLedgerBuildTheControlsBehindThem) {
  for (const std::wstring& path : {HostLibraryFile(), LedgerFile()}) {
    const PeFile file = ReadPeFile(path);
    std::set<uint16_t> want = FromTo(1, 12);
    if (path == LedgerFile()) want.merge(FromTo(100, 115));
    std::set<uint16_t> unnamed;
    std::set<std::string> names;
    std::set<uint32_t> named;
    for (const auto& [name, address] : file.namedExports) {
      names.insert(name);
      named.insert(address);
    }
    for (const auto& [ordinal, address] : file.exports) {
      if (!named.contains(address)) unnamed.insert(ordinal);
    }
    EXPECT_EQ(unnamed, want);
    EXPECT_EQ(names,
              (std::set<std::string>{"QvshrGetBadSettingsLine", "QvshrHasApplicationKey", "QvshrSetApplicationValue"}));
    EXPECT_EQ(file.exports.size(), want.size() + names.size());
    EXPECT_EQ(file.forwardedExports, std::set<std::string>{});
  }
}

// ---- imports ----

// What every 64-bit Windows has; a C++ or thread runtime of a compiler is not among them.
const std::set<std::string> kSystemModules = {"advapi32.dll", "kernel32.dll", "msvcrt.dll", "user32.dll"};

TEST(ImportsTest, AreSystemModulesAndOfTheServiceTheHostLibrarysOrdinals) {
  for (const std::wstring& path : {ServiceFile(), HostLibraryFile(), LedgerFile()}) {
    const PeFile file = ReadPeFile(path);
    const bool service = path == ServiceFile();
    for (const auto& [dll, imports] : file.imports) {
      EXPECT_TRUE((service && dll == "qvshr.dll") || kSystemModules.contains(dll)) << dll;
    }
    EXPECT_TRUE(file.imports.contains(service ? "kernel32.dll" : "advapi32.dll")) << "nothing was read";
    EXPECT_FALSE(file.hasDelayImports);
    if (!service) continue;
    const PeImports& host = file.imports.at("qvshr.dll");
    EXPECT_EQ(host.names, std::set<std::string>{});
    EXPECT_EQ(host.ordinals, FromTo(1, 12));
  }
}

TEST(ImportsTest, OfTheServiceHoldNothingThatWritesTheRegistryOrEndsThreads) {
  const PeFile file = ReadPeFile(ServiceFile());
  for (const auto& [dll, imports] : file.imports) {
    for (const std::string& name : imports.names) {
      EXPECT_NE(name.rfind("Reg", 0), 0u) << name << ": the registry is the host library's, and nobody writes it";
      EXPECT_NE(name, "TerminateThread");
      EXPECT_NE(name, "DisableThreadLibraryCalls") << "the static runtime needs the calls";
    }
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
    EXPECT_GE(file.sections.size(), 4u) << "nothing was read";
    for (const PeSection& section : file.sections) {
      const bool both = (section.flags & IMAGE_SCN_MEM_WRITE) != 0 && (section.flags & IMAGE_SCN_MEM_EXECUTE) != 0;
      EXPECT_FALSE(both) << "section " << section.name << " is both writable and executable";
    }
  }
}

// ---- version resources ----

// A value of a version resource; null when there is none.
template <class Value>
const Value* VersionValue(const std::vector<char>& resource, const std::wstring& place) {
  void* value = nullptr;
  UINT size = 0;
  return !resource.empty() && VerQueryValueW(resource.data(), place.c_str(), &value, &size) != FALSE
             ? static_cast<const Value*>(value)
             : nullptr;
}

TEST(VersionResourceTest, WhatIsShippedSaysWhatItIs) {
  const std::wstring folder = ServiceFile().substr(0, ServiceFile().rfind(L'\\') + 1);
  for (const std::wstring name :
       {L"qvjvm.dll", L"qvshr.dll", L"qvjvm-doctor.exe", L"qvjvm-bind.exe", L"qvjvm-train.exe"}) {
    SCOPED_TRACE(ToUtf8(name));
    const std::wstring path = folder + name;
    DWORD ignored = 0;
    std::vector<char> resource(GetFileVersionInfoSizeW(path.c_str(), &ignored));
    GetFileVersionInfoW(path.c_str(), 0, static_cast<DWORD>(resource.size()), resource.data());
    const auto* const fixed = VersionValue<VS_FIXEDFILEINFO>(resource, L"\\");
    ASSERT_NE(fixed, nullptr);
    EXPECT_EQ(fixed->dwFileVersionMS, DWORD{QVJVM_VERSION_MAJOR} << 16 | QVJVM_VERSION_MINOR);
    EXPECT_EQ(fixed->dwFileVersionLS, DWORD{QVJVM_VERSION_PATCH} << 16);
    EXPECT_EQ(fixed->dwFileType, name.ends_with(L".dll") ? DWORD{VFT_DLL} : DWORD{VFT_APP});
    const auto text = [&](const std::wstring& value) {
      const auto* const found = VersionValue<wchar_t>(resource, L"\\StringFileInfo\\040904B0\\" + value);
      return std::wstring(found != nullptr ? found : L"");
    };
    EXPECT_EQ(text(L"OriginalFilename"), name);
    EXPECT_EQ(text(L"InternalName"), name.substr(0, name.size() - 4));
    EXPECT_EQ(text(L"ProductName"), L"Java VM Service");
    EXPECT_EQ(text(L"FileVersion"), L"1.1.0.0");
    EXPECT_EQ(text(L"ProductVersion"), L"1.1.0.0");
    EXPECT_EQ(text(L"LegalCopyright"), L"Copyright (c) 2026 the Java VM Service authors");
    EXPECT_NE(text(L"FileDescription"), L"");
    EXPECT_NE(text(L"CompanyName"), L"");
  }
}

// ---- the reader itself ----

TEST(PeFileTest, ReadsTheTestProgramAndNamedAndForwardedExportsOfTheSystem) {
  wchar_t path[1024] = {};
  GetModuleFileNameW(nullptr, path, 1024);
  const PeFile program = ReadPeFile(path);
  EXPECT_EQ(program.fileFlags & IMAGE_FILE_DLL, 0);
  EXPECT_TRUE(program.imports.at("version.dll").names.contains("VerQueryValueW"));
  EXPECT_TRUE(program.imports.at("kernel32.dll").names.contains("GetModuleFileNameW"));
  EXPECT_TRUE(program.namedExports.empty());
  GetSystemDirectoryW(path, 1024);
  const PeFile kernel = ReadPeFile(std::wstring(path) + L"\\kernel32.dll");
  EXPECT_TRUE(kernel.namedExports.contains("GetProcAddress"));
  EXPECT_FALSE(kernel.forwardedExports.empty());
}

}  // namespace
}  // namespace qvtest
