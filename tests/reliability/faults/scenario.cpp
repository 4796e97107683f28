// The scenarios, and the loading of a fresh service for each run.
#include "tests/reliability/faults/scenario.h"

#include <winternl.h>

#include "base/procedure.h"
#include "tests/support/product.h"

namespace qvtest {
namespace {

// ---- hooks before the entry routine ----

std::vector<Point> g_points;

struct LoadedData {
  ULONG flags;
  const UNICODE_STRING* fullName;
  const UNICODE_STRING* baseName;
  void* base;
  ULONG size;
};

// Called by the loader, which has filled the import table by then.
void CALLBACK OnLoad(ULONG reason, const LoadedData* data, void*) {
  constexpr ULONG kLoaded = 1;
  const std::wstring name(data->baseName->Buffer, data->baseName->Length / sizeof(wchar_t));
  if (_wcsicmp(name.c_str(), L"qvjvm.dll") != 0) return;
  if (reason != kLoaded) {
    g_service = nullptr;
    return;
  }
  const auto module = static_cast<HMODULE>(data->base);
  g_service = module;
  for (const Point& point : g_points) {
    // Never taken back: the table goes with the module.
    if (point.install) (void)point.install(module).release();
  }
}

// ---- what scenarios are made of ----

void SetOptions(RegistrySandbox& registry, const std::wstring& config) {
  registry.SetList(Hive::Machine, config + L"\\QVJVMconfig", {L"-Xmx64m", L"-Xss1m", L"-Xint"});
  registry.SetText(Hive::Machine, config + L"\\QVJVMprops", L"a", L"b");
}

void ConfigureKnownHost(RegistrySandbox& registry, const std::wstring& root) {
  registry.SetLocations(root, L"C:\\jdk", L"C:\\jre\\bin");
  const std::wstring config = root + L"\\Java\\QVIDEConfig";
  registry.SetList(Hive::Machine, config + L"\\QVSysclasspath", {L"C:\\one.jar", L"C:\\two.jar", L"C:\\three.jar"});
  SetOptions(registry, config);
  registry.SetList(Hive::User, root + L"\\ClassPath", {L"C:\\user.jar", L"C:\\more.jar", L"C:\\last.jar"});
}

void PrepareKnownHost(RegistrySandbox& registry) { ConfigureKnownHost(registry, kTableroRoot); }
void PrepareWithoutList(RegistrySandbox& registry) {
  ConfigureKnownHost(registry, kQuovantRoot);
  registry.DeleteKey(Hive::Machine, std::wstring(kQuovantRoot) + L"\\Java\\QVIDEConfig\\QVSysclasspath");
}
void PrepareUnknownHost(RegistrySandbox& registry) {
  SetOptions(registry, std::wstring(kQuovantRoot) + L"\\Java\\QVRTConfig");
}
void PrepareRegisteredRuntime(RegistrySandbox& registry) { registry.RegisterRuntime(L"1.5", FakeJvm::Home()); }

std::optional<std::wstring> NoJavaHome() { return std::nullopt; }
std::wstring HostFolder(const Site& site) { return site.Folder().Path(L"web") + L";"; }
std::wstring ClientFolder(const Site& site) { return site.Folder().Path(L"runtime") + L";"; }

int32_t Start(Disturbed& run) { return run.Create(L"C:\\own.jar"); }
void Started(Disturbed& run) { EXPECT_EQ(run.Create(), kDone) << "nothing is disturbed yet"; }

int32_t LoadService(Disturbed& run) {
  run.Load();
  return kDone;
}
int32_t FreeLoadAndStart(Disturbed& run) {
  run.ReleaseVm();
  EXPECT_TRUE(run.Free());
  run.Load();
  return run.Create();
}

void FailToStart(Disturbed& run) {
  run.jvm.Script().createResult = -1;
  EXPECT_EQ(run.Create(L"C:\\own.jar"), kFail);
  run.jvm.Script().createResult = 0;
}
int32_t FreeService(Disturbed& run) { return run.Free() ? kDone : kMissed; }

// A thread's calls; its end is not part of it.
int32_t CallOnThread(Disturbed& run) {
  int32_t status = kMissed;
  const bool counting = g_counting.exchange(false);
  OnThread([&] {
    g_counting = counting;
    // The second look is the one that is remembered.
    const qv_jnienv first = QV_AcquireThreadEnv(run.Vm());
    const qv_jnienv second = QV_AcquireThreadEnv(run.Vm());
    if (first != nullptr && first == second) status = kDone;
    g_counting = false;
  });
  return status;
}

// A thread that has called and waits.
void LetThreadWait(Disturbed& run) {
  Started(run);
  run.thread = std::make_unique<WaitingThread>([&] { EXPECT_NE(QV_AcquireThreadEnv(run.Vm()), nullptr); });
  EXPECT_EQ(run.jvm.AttachedThreads(), 2);
}
int32_t EndThread(Disturbed& run) {
  run.thread.reset();
  return run.jvm.AttachedThreads() == 1 ? kDone : kMissed;
}
int32_t ThreadsComeAndGo(Disturbed& run) {
  const int32_t before = run.jvm.AttachedThreads();
  const int32_t status = CallOnThread(run);
  return status == kDone && run.jvm.AttachedThreads() == before ? kDone : kMissed;
}

// A thread that calls again when the service has seen its end: the library's own notification takes it.
DWORD g_lateSlot = FLS_OUT_OF_INDEXES;
void LetThreadComeBack(Disturbed& run) {
  Started(run);
  static IQV_JavaVM* vm;
  vm = run.Vm();
  if (g_lateSlot == FLS_OUT_OF_INDEXES) g_lateSlot = FlsAlloc([](void*) { QV_AcquireThreadEnv(vm); });
}
int32_t ComeBack(Disturbed& run) {
  OnThread([&] {
    QV_AcquireThreadEnv(run.Vm());
    FlsSetValue(g_lateSlot, &g_lateSlot);
  });
  return run.jvm.AttachedThreads() == 1 ? kDone : kMissed;
}

int32_t FirstMessage(Disturbed& run) { return run.jvm.Print("%s %d\n", "message", 42); }
void FirstMessageIsWritten(Disturbed& run) {
  Started(run);
  EXPECT_EQ(FirstMessage(run), 11);
}

template <int32_t (IQV_JavaVM::*Get)(IQvString**) noexcept>
int32_t Ask(Disturbed& run) {
  IQvString* text = nullptr;
  const int32_t status = (run.Vm()->*Get)(&text);
  // Success without a text is for callers that go on all the same.
  if (status >= 0 && text == nullptr) return kMissed;
  if (text != nullptr) text->Release();
  return status;
}

void LeaveARecord(Disturbed& run) {
  Started(run);
  run.jvm.Script().attachResult = -1;
  EXPECT_EQ(CallOnThread(run), kMissed);
  run.jvm.Script().attachResult = 0;
}
int32_t NameTheLog(Disturbed& run) { return run.Vm()->SetLogFileName(L"C:\\named.log"); }
int32_t LogIsNamed(Disturbed& run) {
  IQvString* text = nullptr;
  EXPECT_EQ(run.Vm()->GetLogFileName(&text), 0);
  return TakeText(text) == L"C:\\named.log" ? kDone : kMissed;
}
int32_t ReleaseObject(Disturbed& run) {
  run.ReleaseVm();
  return kDone;
}
int32_t StartAgain(Disturbed& run) { return run.Create(); }

FakeJvmScript With(int32_t FakeJvmScript::*field, int32_t value) {
  FakeJvmScript script{};
  script.*field = value;
  return script;
}

}  // namespace

std::vector<Scenario> Scenarios() {
  const FakeJvmScript joins = With(&FakeJvmScript::existing, 2);
  return {
      {.name = "load", .loaded = false, .operate = LoadService, .judge = StartAgain, .next = FreeLoadAndStart},
      {.name = "unload after a failed start",
       .before = FailToStart,
       .operate = FreeService,
       .next =
           [](Disturbed& run) {
             run.Load();
             return run.Create();
           }},
      {.name = "start, unknown host", .operate = Start},
      {.name = "start, unknown host with settings", .prepare = PrepareUnknownHost, .operate = Start},
      {.name = "start, known host", .host = L"C:\\hosts\\tk190.exe", .prepare = PrepareKnownHost, .operate = Start},
      {.name = "start, known host without its list",
       .host = L"C:\\hosts\\qv190.exe",
       .prepare = PrepareWithoutList,
       .operate = Start,
       .status = kFail},
      {.name = "start, joins a JVM", .script = joins, .operate = Start},
      {.name = "start, joins in a Java host", .host = L"C:\\java\\javaw.exe", .script = joins, .operate = Start},
      {.name = "start in a web deployment", .path = HostFolder, .web = true, .operate = Start},
      {.name = "start, registered runtime",
       .prepare = PrepareRegisteredRuntime,
       .javaHome = NoJavaHome,
       .operate = Start},
      {.name = "start, private runtime", .javaHome = NoJavaHome, .privateRuntime = true, .operate = Start},
      {.name = "start, client runtime", .path = ClientFolder, .operate = Start},
      {.name = "start while somebody listens", .listener = true, .operate = Start},
      {.name = "thread's calls", .before = Started, .operate = CallOnThread, .next = ThreadsComeAndGo},
      {.name = "thread's calls, late slots",
       .lateSlots = true,
       .before = Started,
       .operate = CallOnThread,
       .next = ThreadsComeAndGo},
      {.name = "thread's end", .before = LetThreadWait, .operate = EndThread, .next = ThreadsComeAndGo},
      {.name = "thread that calls at its end",
       .before = LetThreadComeBack,
       .operate = ComeBack,
       .next = ThreadsComeAndGo},
      {.name = "first message", .before = Started, .operate = FirstMessage, .status = 11},
      {.name = "later message", .before = FirstMessageIsWritten, .operate = FirstMessage, .status = 11},
      {.name = "GetJDKLocation",
       .host = L"C:\\hosts\\tk190.exe",
       .prepare = PrepareKnownHost,
       .before = Started,
       .operate = Ask<&IQV_JavaVM::GetJDKLocation>},
      {.name = "GetJREBinLocation of a JVM that was joined",
       .prepare =
           [](RegistrySandbox& registry) {
             registry.SetText(Hive::Machine, std::wstring(kQuovantRoot) + L"\\Java", L"JREBinLocation", L"C:\\jre");
           },
       .script = joins,
       .before = Started,
       .operate = Ask<&IQV_JavaVM::GetJREBinLocation>},
      {.name = "GetLogFileName", .before = Started, .operate = Ask<&IQV_JavaVM::GetLogFileName>},
      {.name = "SetLogFileName", .before = Started, .operate = NameTheLog, .judge = LogIsNamed},
      {.name = "GetClassPath of a JVM that was joined",
       .script = joins,
       .before = Started,
       .operate = Ask<&IQV_JavaVM::GetClassPath>},
      {.name = "GetErrorText", .before = LeaveARecord, .operate = Ask<&IQV_JavaVM::GetErrorText>},
      {.name = "object released", .before = LeaveARecord, .operate = ReleaseObject, .next = StartAgain},
  };
}

Site::Site() {
  const std::wstring original = ProgramFolder() + L"\\..\\qvjvm.dll";
  m_service = m_folder.CopyIn(original, L"plain\\qvjvm.dll");
  m_withRuntime = m_folder.CopyIn(original, L"private\\qvjvm.dll");
  m_folder.WriteFile(L"private\\JRE\\BIN\\SERVER\\JVM.DLL");
  m_folder.CopyIn(FakeJvm::DefaultPath(), L"runtime\\client\\jvm.dll");
  m_folder.CopyIn(ProgramFolder() + L"\\unit_module.dll", L"web\\qvrth.dll");
  m_folder.MakeFolder(L"hostdlls");
  m_folder.MakeFolder(L"logs");
}

Disturbed::Disturbed(const Scenario& row, const Site& where)
    : scenario(row),
      site(where),
      jvm(where.jvm),
      m_path(L"PATH", row.path(where) + kSystemPath),
      m_javaHome(L"JAVA_HOME", row.javaHome()) {
  QvshrLedgerReset();
  QvshrLedgerOverrideFolder(0, site.Folder().Path(L"logs").c_str());
  QvshrLedgerOverrideFolder(1, site.Folder().Path(L"logs").c_str());
  if (scenario.web) QvshrLedgerOverrideInt(kQvshrCallIsWebDeployment, 1);
  SetDllDirectoryW(site.Folder().Path(L"hostdlls").c_str());
  SetHostPath(scenario.host != nullptr ? scenario.host : L"");
  jvm.Reset();
  jvm.Script() = scenario.script;
  if (scenario.listener) {
    m_section.Reset(CreateFileMappingW(INVALID_HANDLE_VALUE, nullptr, PAGE_READWRITE, 0, 4096, L"DBWIN_BUFFER"));
  }
  if (scenario.loaded) Load();
  scenario.before(*this);
}

Disturbed::~Disturbed() {
  ReleaseVm();
  EXPECT_TRUE(m_service == nullptr || Free()) << "the service is still there";
  if (scenario.web) {
    while (HMODULE const library = GetModuleHandleW(L"qvrth.dll")) FreeLibrary(library);
  }
  SetDllDirectoryW(nullptr);
  SetHostPath({});
  QvshrLedgerReset();
}

void Disturbed::Load() {
  ++m_loads;
  std::vector<DWORD> taken;
  if (scenario.lateSlots) {
    // What comes then lies outside of a thread's first block of slots.
    do {
      taken.push_back(TlsAlloc());
    } while (taken.back() < TLS_MINIMUM_AVAILABLE);
  }
  m_service = LoadLibraryW((scenario.privateRuntime ? site.WithRuntime() : site.Service()).c_str());
  EXPECT_NE(m_service, nullptr) << GetLastError();
  for (const DWORD slot : taken) TlsFree(slot);
}

bool Disturbed::Free() {
  FreeLibrary(std::exchange(m_service, nullptr));
  return GetModuleHandleW(L"qvjvm.dll") == nullptr;
}

int32_t Disturbed::Create(const wchar_t* classPath) {
  auto* const unwritten = reinterpret_cast<IQV_JavaVM*>(uintptr_t{0x1111});
  IQV_JavaVM* vm = unwritten;
  const auto create = qv::FindProcedure<QV_CreateJavaVMFn>(m_service, "QV_CreateJavaVM");
  const int32_t status = create(&vm, classPath);
  const bool counting = g_counting.exchange(false);
  if (status >= 0) {
    EXPECT_NE(vm, unwritten);
    EXPECT_NE(vm, nullptr);
    ReleaseVm();
    m_vm = vm;
  } else {
    EXPECT_EQ(vm, status == kNoMemory ? nullptr : unwritten) << "out pointer after a failure";
  }
  g_counting = counting;
  return status == 8 ? kDone : status;
}

void Disturbed::ReleaseVm() {
  if (IQV_JavaVM* const vm = std::exchange(m_vm, nullptr)) {
    EXPECT_EQ(vm->Release(), 0u);
  }
}

void HookEveryService(const std::vector<Point>& points) {
  using Register = NTSTATUS(NTAPI*)(ULONG, void*, void*, void**);
  g_points = points;
  void* cookie = nullptr;
  const auto reg = qv::FindProcedure<Register>(GetModuleHandleW(L"ntdll.dll"), "LdrRegisterDllNotification");
  ASSERT_NE(reg, nullptr);
  ASSERT_EQ(reg(0, reinterpret_cast<void*>(&OnLoad), nullptr, &cookie), 0);
}

}  // namespace qvtest
