// The start of a real JVM by a program that the service does not know, with the runtime that it discovers itself: what
// the process's search path and DLL folder are afterwards, what the JVM was told, and that the runtime is whole.
// The installation has no private runtime; JAVA_HOME names one.
#include "base/handle.h"
#include "base/procedure.h"
#include "tests/real/running_vm.h"
#include "tests/support/environment.h"
#include "tests/support/temp_folder.h"

namespace qvtest {
namespace {

// Whether a plain load finds a library there.
bool CurrentFolderIsSearched() {
  const TempFolder folder;
  folder.CopyIn(InstallFolder() + L"\\qvshr.dll", L"planted.dll");
  const std::filesystem::path before = std::filesystem::current_path();
  std::filesystem::current_path(folder.Path());
  const qv::Library planted(LoadLibraryW(L"planted.dll"));
  std::filesystem::current_path(before);
  return planted.Get() != nullptr;
}

// The candidate that is tried first and there: a client VM comes before the server VM.
std::wstring DiscoveredFolder(const std::wstring& home) {
  return home + (FileExists(home + L"\\bin\\client\\jvm.dll") ? L"\\BIN\\CLIENT" : L"\\BIN\\SERVER");
}

// What the process looks like to the service and after it, in the one start that there is.
struct Started {
  std::wstring home;
  std::wstring dllFolderBefore;
  std::wstring dllFolderAfter;
  bool currentFolderWasSearched = false;
  std::optional<std::wstring> path;
  int32_t status = -1;
  IQV_JavaVM* vm = nullptr;
};

const Started& Start() {
  static const Started started = [] {
    Started result;
    result.home = ReadVariable(L"JAVA_HOME").value_or(L"");
    EXPECT_TRUE(FileExists(result.home + L"\\bin\\server\\jvm.dll")) << ToUtf8(result.home);
    EXPECT_FALSE(FileExists(InstallFolder() + L"\\JRE"));
    SetEnvironmentVariableW(L"PATH", kSystemPath);
    SetEnvironmentVariableW(L"CLASSPATH", L"C:\\from environment.jar");
    const std::optional<std::wstring> dllFolder = ReadVariable(L"QV_TEST_DLL_FOLDER");
    if (dllFolder) SetDllDirectoryW(dllFolder->c_str());
    result.dllFolderBefore = DllFolder();
    EXPECT_EQ(result.dllFolderBefore, dllFolder.value_or(L""));
    const ServiceExports& service = LoadService();
    if (service.createJavaVM == nullptr) return result;
    const std::optional<std::wstring> search = ReadVariable(L"QV_TEST_SEARCH");
    if (search == L"no current folder") SetDllDirectoryW(L"");
    if (search == L"system alone") {
      constexpr DWORD kSystemFolder = 0x800;
      using SetDefaultFolders = BOOL(WINAPI*)(DWORD folders);
      const auto set =
          qv::FindProcedure<SetDefaultFolders>(GetModuleHandleW(L"kernel32.dll"), "SetDefaultDllDirectories");
      EXPECT_TRUE(set != nullptr && set(kSystemFolder));
    }
    result.currentFolderWasSearched = CurrentFolderIsSearched();
    result.status = service.createJavaVM(&result.vm, (InstallFolder() + L"\\qvtests.jar").c_str());
    result.dllFolderAfter = DllFolder();
    result.path = ReadVariable(L"PATH");
    return result;
  }();
  return started;
}

class StartUp : public testing::Test {
 protected:
  void SetUp() override {
    ASSERT_EQ(Start().status, QV_S_OK);
    ASSERT_NE(Vm(), nullptr);
  }
  static IQV_JavaVM* Vm() { return Start().vm; }
  static std::wstring Property(const wchar_t* name) { return PropertyOf(Vm(), name); }
};

TEST_F(StartUp, PutsTheDiscoveredFolderFirstOnPathAndLeavesTheLibrarySearchAsTheHostMadeIt) {
  EXPECT_EQ(Start().path, DiscoveredFolder(Start().home) + L";" + kSystemPath);
  EXPECT_EQ(Start().dllFolderAfter, Start().dllFolderBefore);
  EXPECT_EQ(CurrentFolderIsSearched(), Start().currentFolderWasSearched);
}

TEST_F(StartUp, RunsTheRuntimeThatItDiscovered) {
  const std::wstring version = Property(L"java.version");
  EXPECT_EQ(version.substr(0, version.find(L'.')), ReadVariable(L"QV_TEST_RUNTIME"));
  EXPECT_TRUE(std::filesystem::equivalent(Property(L"java.home"), Start().home));
  EXPECT_EQ(Ask(Vm(), &IQV_JavaVM::GetJavaVersion), version);
  EXPECT_TRUE(CreatedTheJvm(Vm()));
}

TEST_F(StartUp, CompressionFilesAndSocketsWork) {
  const JavaClass runtime(Vm(), "qvtest/Runtime");
  EXPECT_EQ(TextOf(Vm(), runtime.CallStatic("useNativeLibraries", "()Ljava/lang/String;")), L"zip nio net");
}

TEST_F(StartUp, ClassPathHoldsTheExtraPathTheArchivesTheEnvironmentAndTheCurrentFolder) {
  const std::wstring expected =
      InstallFolder() + L"\\qvtests.jar;" + DefaultArchives(InstallFolder()) + L";C:\\from environment.jar;.";
  EXPECT_EQ(Ask(Vm(), &IQV_JavaVM::GetClassPath), expected);
  EXPECT_EQ(Property(L"java.class.path"), expected);
}

TEST_F(StartUp, OptionsOfTheDefaultTreeReachTheJvm) {
  if (ReadVariable(L"QV_TEST_RUNTIME") < L"21") {
    // What -Djava.compiler=NONE means to the JVM; later ones only say that they no longer know it.
    EXPECT_TRUE(Property(L"java.vm.info").starts_with(L"interpreted mode"));
  }
  const JavaClass runtimeClass(Vm(), "java/lang/Runtime");
  const Local runtime = runtimeClass.CallStatic("getRuntime", "()Ljava/lang/Runtime;");
  int64_t bytes = 0;
  EXPECT_TRUE(Ok(Vm(), Vm()->CallLongMethod(&bytes, runtimeClass, runtime, "maxMemory", "()J")));
  EXPECT_LE(bytes, int64_t{128} << 20);
  EXPECT_GT(bytes, int64_t{96} << 20);
}

TEST_F(StartUp, JvmOutputGoesToTheLogFile) {
  const TempFolder folder;
  const std::wstring log = folder.Path(L"jvm.log");
  EXPECT_EQ(Vm()->SetLogFileName(log.c_str()), QV_S_OK);
  // The default tree asks for messages about native methods; this class brings some.
  const Local adlerClass = FindClass(Vm(), "java/util/zip/Adler32");
  const Local adler = NewDefaultObject(Vm(), adlerClass);
  EXPECT_TRUE(Ok(Vm(), Vm()->CallVoidMethod(adlerClass, adler, "update", "(I)V", 1)));
  const std::string written = ReadWholeFile(log);
  EXPECT_EQ(written.substr(0, 33), "*** Starting JVM Logging ***\r\n\r\n[") << written.substr(0, 200);
  EXPECT_NE(written.find("Dynamic-linking native method java.util.zip.Adler32"), std::string::npos)
      << written.substr(0, 1000);
  EXPECT_EQ(Vm()->SetJvmLogEnabled(0), QV_S_OK);
}

TEST_F(StartUp, ASecondObjectSharesTheJvm) {
  const ServiceExports& service = LoadService();
  IQV_JavaVM* late = nullptr;
  EXPECT_EQ(service.createJavaVM(&late, L"C:\\late.jar"), QV_S_CLASSPATH_IGNORED);
  ASSERT_NE(late, nullptr);
  EXPECT_EQ(QV_AcquireThreadEnv(late), QV_AcquireThreadEnv(Vm()));
  EXPECT_EQ(late->Release(), 0U);
  EXPECT_EQ(service.createJavaVM(&late, nullptr), QV_S_OK);
  ASSERT_NE(late, nullptr);
  EXPECT_NE(late, Vm());
  EXPECT_EQ(late->Release(), 0U);
}

}  // namespace
}  // namespace qvtest
