// Runtime discovery: reads what the decision in runtime_choice.h needs and writes PATH. Runs under the start-up lock.
#include "base/trace.h"
#include "config/folders.h"
#include "config/jvm_config_info.h"
#include "config/runtime_choice.h"
#include "store/config_store.h"
#include "store/counted_list.h"

namespace {

constexpr wchar_t kPath[] = L"PATH";
constexpr wchar_t kJavaHome[] = L"JAVA_HOME";
constexpr wchar_t kJavaSoftKey[] = L"Software\\JavaSoft\\Java Runtime Environment";

bool CurrentRuntimeAllowed() noexcept {
  wchar_t setting[2] = {};
  const int32_t read = QvshrGetSetting(L"QV", L"QVJRENOTUSECURRENT", L"0", setting, 2);
  setting[1] = L'\0';
  return !qv::CurrentRuntimeDisabled(read, setting);
}

// PATH as it is now. Without memory for it nothing may be written back, so that the host never loses its own.
class OldPath {
 public:
  OldPath() noexcept : m_read(qv::ReadEnvironmentText(kPath, m_text)) {}
  [[nodiscard]] bool Ok() const noexcept { return m_read != qv::EnvironmentRead::NoMemory; }
  // Null when the variable does not exist.
  [[nodiscard]] const wchar_t* OrNull() const noexcept {
    return m_read == qv::EnvironmentRead::Found ? m_text.get() : nullptr;
  }
  [[nodiscard]] const wchar_t* OrEmpty() const noexcept { return OrNull() != nullptr ? OrNull() : L""; }

 private:
  qv::HostArray<wchar_t> m_text;
  qv::EnvironmentRead m_read;
};

bool FindRegisteredHome(qv::HostText& home) noexcept {
  qv::KeyRef javaSoft;
  qv::StringRef version;
  qv::KeyRef current;
  qv::StringRef folder;
  if (!qv::OpenRegistryRoot(HKEY_LOCAL_MACHINE, kJavaSoftKey, qv::kReadAccess, javaSoft)) return false;
  if (qv::QueryValue(*javaSoft, L"CurrentVersion", version) < 0 || !version) return false;
  if (!qv::OpenSubKey(*javaSoft, version->GetText(), current)) return false;
  if (qv::QueryValue(*current, L"JavaHome", folder) < 0) return false;
  return home.Append(qv::TextOf(folder)).Ok();
}

// A JAVA_HOME that points nowhere still keeps the registry from being asked, and so does one that cannot be read.
qv::RuntimeProbe FindJavaHome(qv::HostText& home) noexcept {
  qv::HostArray<wchar_t> variable;
  switch (qv::ReadEnvironmentText(kJavaHome, variable)) {
    case qv::EnvironmentRead::Found:
      return home.Append(variable.get()).Ok() ? qv::RuntimeProbe::Found : qv::RuntimeProbe::NoMemory;
    case qv::EnvironmentRead::NoMemory:
      return qv::RuntimeProbe::NoMemory;
    case qv::EnvironmentRead::Absent:
      break;
  }
  return FindRegisteredHome(home) ? qv::RuntimeProbe::Found : qv::RuntimeProbe::NotFound;
}

}  // namespace

qv::RuntimeProbe CQV_JVMConfigInfo::UseRuntimeBelow(std::wstring_view home,
                                                    std::span<const std::wstring_view> subFolders,
                                                    std::wstring_view oldPath, BOOL& pathSet) noexcept {
  qv::HostText folder;
  const qv::RuntimeProbe probe = qv::FindJvmFolder(home, subFolders, qv::FileExists, folder);
  if (probe != qv::RuntimeProbe::Found) return probe;
  const qv::HostText path = qv::SearchPathWithRuntime(folder.View(), oldPath);
  if (!path.Ok()) return qv::RuntimeProbe::NoMemory;
  pathSet = SetEnvironmentVariableW(kPath, path.Text());
  qv::Trace({L"Java runtime ", folder.View(), pathSet != FALSE ? L"" : L", but PATH cannot be set"});
  if (pathSet != FALSE) {
    m_bRuntimeFound = true;
    m_discoveredJvmFolder = std::move(folder);
  }
  return probe;
}

bool CQV_JVMConfigInfo::LocateJavaRuntime() noexcept {
  if (m_bRuntimeFound) return true;
  if (m_bHostKnown) return PrepareConfiguredPath();

  const OldPath oldPath;
  if (!oldPath.Ok()) return false;
  BOOL pathSet = FALSE;
  qv::HostText home;
  qv::RuntimeProbe probe = CurrentRuntimeAllowed() ? FindJavaHome(home) : qv::RuntimeProbe::NotFound;
  if (probe == qv::RuntimeProbe::Found) {
    probe = UseRuntimeBelow(home.View(), qv::kJavaHomeFolders, oldPath.OrEmpty(), pathSet);
  }
  if (probe == qv::RuntimeProbe::NoMemory) return false;
  // A PATH that cannot be written here is not the end: the private runtime comes next.
  if (pathSet != FALSE) return true;

  qv::ModuleFolder install;
  if (!qv::TryFindInstallFolder(install)) return false;
  probe = UseRuntimeBelow(install.Text(), qv::kInstallFolders, oldPath.OrEmpty(), pathSet);
  if (probe != qv::RuntimeProbe::NotFound) return pathSet == TRUE;
  qv::Trace({L"no Java runtime below \"", home.View(), L"\" or ", install.Text(), L"; PATH may reach one"});
  // Deliberate: no runtime anywhere is no failure here. Loading jvm.dll shows whether PATH reaches one after all.
  (void)PrepareConfiguredPath();
  return true;
}

bool CQV_JVMConfigInfo::PrepareConfiguredPath() noexcept {
  const OldPath oldPath;
  if (!oldPath.Ok()) return false;
  qv::StringRef jdk;
  qv::StringRef jreBin;
  if (!ReadJDKLocation(jdk.Out()) || !ReadJREBinLocation(jreBin.Out())) {
    qv::Trace({L"JDKLocation or JREBinLocation is missing below ", m_szRegistryRoot});
    return false;
  }
  // Deliberate: lengths count the terminator, so an empty text is refused while an absent object (length 0) passes.
  const auto lengthLessOne = [](const qv::StringRef& text) { return (text ? text->GetLength() : 0) - 1; };
  if (lengthLessOne(jdk) == 0 || lengthLessOne(jreBin) == 0) return false;
  const qv::HostText path = qv::SearchPathWithConfigured(qv::TextOf(jdk), qv::TextOf(jreBin), oldPath.OrNull());
  if (!path.Ok()) return false;
  const BOOL set = SetEnvironmentVariableW(kPath, path.Text());
  if (set != FALSE) m_bRuntimeFound = true;
  return set == TRUE;
}
