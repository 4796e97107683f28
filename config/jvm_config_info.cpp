// The configuration object's life, its once-only load, and the log path.
#include "config/jvm_config_info.h"

#include <algorithm>
#include <atomic>
#include <cwchar>
#include <new>
#include <utility>

#include "base/bounded_text.h"
#include "base/lock.h"
#include "base/module_handle.h"
#include "base/procedure.h"
#include "base/trace.h"
#include "config/folders.h"
#include "config/host_recognition.h"
#include "store/resource_ids.h"

wchar_t g_szJvmModuleName[16];
qv::CriticalSection* g_csConfigLoad = nullptr;

namespace {

constexpr int kFileNameUnits = 261;
constexpr int kLocalAppDataFolder = 28;
constexpr wchar_t kLogFileName[] = L"vm.out";

// The instance lives in static storage: made before any export can be called, destroyed at unload.
class ConfigInstance {
 public:
  ConfigInstance() noexcept {
    new (m_storage) CQV_JVMConfigInfo();
    void* const block = QvshrAlloc(sizeof(qv::CriticalSection));
    if (block != nullptr) g_csConfigLoad = new (block) qv::CriticalSection();
  }
  // Runs when the module is unloaded, after its counters were written; the tests of unloading find everything freed.
  ~ConfigInstance() { Get().Destroy(0); }  // GCOVR_EXCL_LINE
  CQV_JVMConfigInfo& Get() noexcept { return *std::launder(reinterpret_cast<CQV_JVMConfigInfo*>(m_storage)); }

 private:
  alignas(CQV_JVMConfigInfo) unsigned char m_storage[sizeof(CQV_JVMConfigInfo)];
};

ConfigInstance g_configInstance;

// In a web deployment the host's runtime library names the log. A missing library or export is not an error.
void AskWebConfiguration(wchar_t (&logPath)[kFileNameUnits]) noexcept {
  using WebConfigFn = int32_t (*)(wchar_t * logPath, wchar_t * unused);
  constexpr wchar_t kLibrary[] = L"qvrth.dll";
  HMODULE library = GetModuleHandleW(kLibrary);
  if (library == nullptr) library = LoadLibraryW(kLibrary);  // never freed
  wchar_t unused[1024] = {};
  if (const auto ask = qv::FindProcedure<WebConfigFn>(library, "QV_RTGetJvmWebConfig")) ask(logPath, unused);
  logPath[kFileNameUnits - 1] = L'\0';
  if (logPath[0] == L'\0') qv::CopyBounded(std::span(logPath), std::wstring_view(kLogFileName));
}

qv::StringRef DefaultLogPath() noexcept {
  wchar_t path[kFileNameUnits] = {};
  if (QvshrIsWebDeployment(0) != 0) {
    AskWebConfiguration(path);
    return qv::MakeString(path);
  }
  const auto askFolder = [&](int32_t useDefault) {
    return QvshrGetSpecialFolder(kLocalAppDataFolder, path, static_cast<int32_t>(qv::kPathUnits), 1, useDefault);
  };
  if (askFolder(0) == 0) {
    std::fill(std::begin(path), std::end(path), L'\0');
    if (askFolder(1) == 0) path[0] = L'\0';
  }
  path[kFileNameUnits - 1] = L'\0';
  return qv::HostText{path, L"\\", kLogFileName}.ToString();
}

}  // namespace

CQV_JVMConfigInfo& JVMConfigInfo() noexcept { return g_configInstance.Get(); }

CQV_JVMConfigInfo::CQV_JVMConfigInfo() noexcept : m_szRegistryRoot{}, m_szServiceName{} {
  lstrcpynW(g_szJvmModuleName, L"qvjvm.dll", static_cast<int>(std::size(g_szJvmModuleName)));
}

CQV_JVMConfigInfo::~CQV_JVMConfigInfo() {
  for (IQvString** owned : {&m_pJDKLocation, &m_pJREBinLocation, &m_pLogFilePath}) {
    if (IQvString* const string = std::exchange(*owned, nullptr)) string->Release();
  }
}

void* CQV_JVMConfigInfo::Destroy(uint32_t deleteFlag) noexcept {
  this->CQV_JVMConfigInfo::~CQV_JVMConfigInfo();
  if ((deleteFlag & 1U) != 0) QvshrFree(this);
  return this;
}

bool CQV_JVMConfigInfo::Load() noexcept {
  if (std::atomic_ref(m_bLoaded).load(std::memory_order_acquire)) return true;
  if (g_csConfigLoad == nullptr) return false;
  wchar_t hostPath[qv::kPathUnits] = {};
  qv::StringRef logPath;
  {
    const qv::CriticalSectionGuard guard(*g_csConfigLoad);
    if (m_bLoaded) return true;
    if (!LoadLocked(hostPath)) return false;
    logPath = HeldText(&CQV_JVMConfigInfo::m_pLogFilePath);
  }
  // Not under the lock: who listens may be slow to take a line.
  qv::Trace({L"host ", hostPath, m_bLoomhallHost ? L", a Java launcher" : L"",
             m_bHostKnown ? L", known" : L", not known", L"; log ", logPath ? logPath->GetText() : kLogFileName});
  return true;
}

bool CQV_JVMConfigInfo::LoadLocked(wchar_t (&hostPath)[qv::kPathUnits]) noexcept {
  m_bFresh = false;
  const DWORD units = GetModuleFileNameW(nullptr, hostPath, qv::kPathUnits);
  if (units == 0 || units >= qv::kPathUnits) return false;  // 260 may be a cut path
  CharLowerW(hostPath);
  wchar_t fileName[kFileNameUnits] = {};
  if (QvshrGetFileName(hostPath, fileName, kFileNameUnits) <= 0) fileName[0] = L'\0';
  fileName[kFileNameUnits - 1] = L'\0';

  const qv::HostIdentity host = qv::RecogniseHost(fileName);
  if (host.known) {
    m_bHostKnown = true;
    m_bLoomhallHost = host.loomhall;
    m_bQuovantHost = host.quovant;
  }
  LoadStringW(g_hModule, m_bQuovantHost ? IDS_SERVICE_NAME_QUOVANT : IDS_SERVICE_NAME_TABLERO, m_szServiceName,
              static_cast<int>(std::size(m_szServiceName)));
  SetLogFilePath(DefaultLogPath().Detach());
  std::atomic_ref(m_bLoaded).store(true, std::memory_order_release);
  return true;
}

qv::StringRef CQV_JVMConfigInfo::HeldText(OwnedText held) noexcept {
  const qv::SlimGuard guard(m_textLock);
  return qv::StringRef::Share(this->*held);
}

void CQV_JVMConfigInfo::GetLogFilePath(IQvString** path) noexcept {
  const qv::StringRef stored = HeldText(&CQV_JVMConfigInfo::m_pLogFilePath);
  *path = qv::MakeString(stored ? stored->GetText() : kLogFileName).Detach();
}

void CQV_JVMConfigInfo::SetLogFilePath(IQvString* path) noexcept {
  qv::StringRef old;  // released once the lock is free
  const qv::SlimGuard guard(m_textLock);
  old.Reset(std::exchange(m_pLogFilePath, path));
}
