// The boot class path option: its text from a folder, and the folder from the module that start-up recorded.
#include "store/boot_class_path.h"
#include "tests/unit/unit_fixture.h"

namespace qvtest {
namespace {

class BootClassPathTest : public LedgerTest {};

TEST_F(BootClassPathTest, OnlyTheClientsFolderIsCutOffAtItsFirstOccurrence) {
  const std::pair<const wchar_t*, const wchar_t*> rows[] = {
      {L"C:\\j\\bin\\client", L"C:\\J\\LIB"},
      {L"C:\\J\\BIN\\CLIENT", L"C:\\J\\LIB"},
      {L"C:\\j\\Bin\\cLient", L"C:\\J\\LIB"},
      {L"C:\\j\\bin\\server", L"C:\\J\\BIN\\SERVER\\LIB"},
      {L"C:\\j\\bin\\classic", L"C:\\J\\BIN\\CLASSIC\\LIB"},
      {L"C:\\j\\bin", L"C:\\J\\BIN\\LIB"},
      {L"C:\\a\\bin\\client\\j\\bin\\client", L"C:\\A\\LIB"},
      {L"C:\\a\\bin\\clients\\j\\bin\\client", L"C:\\A\\LIB"},
      {L"C:\\j\\bin\\client\\", L"C:\\J\\LIB"},
      {L"C:\\j\\jbin\\client", L"C:\\J\\JBIN\\CLIENT\\LIB"},
      {L"C:/j/bin/client", L"C:/J/BIN/CLIENT\\LIB"},
      {L"\\bin\\client", L"\\LIB"},
      {L"C:", L"C:\\LIB"},
      {L"relative", L"RELATIVE\\LIB"},
      {L"", L""},
  };
  for (const auto& [folder, libraries] : rows) {
    EXPECT_EQ(qv::BootClassPathOption(folder).View(), BootClassPathOption(libraries)) << ToUtf8(folder);
  }
}

TEST_F(BootClassPathTest, TheLibraryFolderGrowsPastTheSizeOfAPath) {
  for (const size_t units : {255u, 256u, 257u, 258u, 259u, 300u, 5000u}) {
    const std::wstring folder = L"C:\\" + std::wstring(units - 3, L'X');
    EXPECT_TRUE(qv::BootClassPathOption(folder).View() == BootClassPathOption(folder + L"\\LIB")) << units << " units";
  }
}

// ---- from the loaded library ----

class BootClassPathBuildTest : public LedgerTest {
 protected:
  // What start-up has recorded for "jvm.dll".
  void Record(HMODULE module) {
    s_module = module;
    s_asked.clear();
    m_config->m_pfnFindLoadedModule = [](const char* name) {
      s_asked.emplace_back(name);
      return s_module;
    };
  }
  std::wstring Build() { return Given(*m_config, &CQV_JVMConfigInfo::BuildBootClassPath); }
  std::wstring Upper(std::wstring text) {
    CharUpperBuffW(text.data(), static_cast<DWORD>(text.size()));
    return text;
  }

  static inline HMODULE s_module = nullptr;
  static inline std::vector<std::string> s_asked;
  TempFolder m_folder;
  ConfigObject m_config;
};

constexpr wchar_t kBareNames[] = L"true: -Xbootclasspath/a:\\deploy.jar;\\javaws.jar;\\plugin.jar";

TEST_F(BootClassPathBuildTest, ALibraryThatWasNotLoadedThroughTheServiceOrHasNoFolderGivesBareNames) {
  EXPECT_EQ(Build(), kBareNames) << "no start-up has run";
  Record(nullptr);
  EXPECT_EQ(Build(), kBareNames);
  EXPECT_EQ(s_asked, (std::vector<std::string>{"jvm.dll"}));
  Record(GetModuleHandleW(nullptr));
  {
    const UnterminatedModulePath unknown(L"");
    EXPECT_EQ(Build(), kBareNames);
  }
  const FailCall fault(kQvshrCallGetDirectory, 1);
  EXPECT_EQ(Build(), kBareNames);
}

TEST_F(BootClassPathBuildTest, TheFolderIsThatOfTheLoadedFileAndAServerLibraryKeepsIt) {
  for (const auto& [file, libraries] :
       {std::pair(L"jre\\bin\\client\\jvm.dll", L"\\LIB"), {L"jre\\bin\\server\\jvm.dll", L"\\BIN\\SERVER\\LIB"}}) {
    const LoadedModule library(m_folder, file);
    Record(library.Handle());
    EXPECT_EQ(Build(), L"true: " + BootClassPathOption(Upper(m_folder.Path(L"jre")) + libraries));
  }
}

TEST_F(BootClassPathBuildTest, FoldersUpToTheLongestPathAreKeptWhole) {
  Record(GetModuleHandleW(nullptr));
  for (const size_t folderUnits : {250u, 253u, 254u, 255u, 256u, 257u}) {
    const std::wstring folder = L"C:\\" + std::wstring(folderUnits - 3, L'X');
    const UnterminatedModulePath path(folder + L"\\j");
    EXPECT_TRUE(Build() == L"true: " + BootClassPathOption(folder + L"\\LIB")) << folderUnits << " units";
  }
  for (const size_t units : {259u, 260u, 261u, 300u}) {
    const std::wstring folder = L"C:\\" + std::wstring(200, L'X');
    const UnterminatedModulePath path(folder + L"\\" + std::wstring(units - folder.size() - 1, L'n'));
    EXPECT_TRUE(Build() == L"true: " + BootClassPathOption(folder + L"\\LIB")) << units << " units";
  }
}

}  // namespace
}  // namespace qvtest
