// Runtime discovery: reads what the decision in runtime_choice.h needs and writes PATH. Runs under the start-up lock.
#include "config/runtime_locate.h"

#include "config/folders.h"
#include "config/jvm_config_info.h"
#include "config/runtime_choice.h"
#include "store/config_store.h"
#include "store/counted_list.h"
#include "store/names.h"

namespace {

constexpr wchar_t kPath[] = L"PATH";
constexpr wchar_t kJavaSoftKey[] = L"Software\\JavaSoft\\Java Runtime Environment";

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

}  // namespace

bool qv::CurrentRuntimeSetting::Disables() const noexcept { return CurrentRuntimeDisabled(charactersRead, text); }

qv::CurrentRuntimeSetting qv::ReadCurrentRuntimeSetting() noexcept {
  CurrentRuntimeSetting setting;
  setting.charactersRead = QvshrGetSetting(L"QV", L"QVJRENOTUSECURRENT", L"0", setting.text, 2);
  setting.text[1] = L'\0';
  return setting;
}

bool qv::ReadRegisteredHome(HostText& home) noexcept {
  KeyRef javaSoft;
  StringRef version;
  KeyRef current;
  StringRef folder;
  if (!OpenRegistryRoot(HKEY_LOCAL_MACHINE, kJavaSoftKey, kReadAccess, javaSoft)) return false;
  if (QueryValue(*javaSoft, L"CurrentVersion", version) < 0 || !version) return false;
  if (!OpenSubKey(*javaSoft, version->GetText(), current)) return false;
  if (QueryValue(*current, L"JavaHome", folder) < 0) return false;
  return home.Append(TextOf(folder)).Ok();
}

qv::Discovery CQV_JVMConfigInfo::TakeRuntime(qv::HostText folder, std::wstring_view oldPath) noexcept {
  const qv::HostText path = qv::SearchPathWithRuntime(folder.View(), oldPath);
  if (!path.Ok()) return qv::Discovery::NoMemory;
  const BOOL set = SetEnvironmentVariableW(kPath, path.Text());
  if (set != FALSE) {
    m_bRuntimeFound = true;
    m_discoveredJvmFolder = std::move(folder);
  }
  // Deliberate: any success makes it the runtime in use, but only the result 1 is what it should be.
  return set == TRUE ? qv::Discovery::Taken : qv::Discovery::PathRefused;
}

qv::Discovery CQV_JVMConfigInfo::UseRuntimeBelow(qv::RuntimeSource source, std::wstring_view home,
                                                 std::span<const std::wstring_view> subFolders,
                                                 std::wstring_view oldPath) noexcept {
  return qv::DiscoverBelow(
      home, subFolders, qv::FileExists, [&](qv::HostText folder) { return TakeRuntime(std::move(folder), oldPath); },
      [&](std::wstring_view subFolder, qv::RuntimeVerdict verdict) {
        m_pListener->OnRuntimePlace({source, verdict, home, subFolder});
      });
}

// A JAVA_HOME that points nowhere still keeps the registry from being asked, and so does one that cannot be read.
qv::Discovery CQV_JVMConfigInfo::UseCurrentRuntime(std::wstring_view oldPath) noexcept {
  const auto tell = [&](qv::RuntimeSource source, qv::RuntimeVerdict verdict) {
    m_pListener->OnRuntimePlace({source, verdict});
  };
  if (qv::ReadCurrentRuntimeSetting().Disables()) {
    tell(qv::RuntimeSource::JavaHome, qv::RuntimeVerdict::SwitchedOff);
    tell(qv::RuntimeSource::Registry, qv::RuntimeVerdict::SwitchedOff);
    return qv::Discovery::NotFound;
  }
  qv::HostArray<wchar_t> javaHome;
  const qv::EnvironmentRead read = qv::ReadEnvironmentText(L"JAVA_HOME", javaHome);
  if (read == qv::EnvironmentRead::NoMemory) return qv::Discovery::NoMemory;
  if (read == qv::EnvironmentRead::Found) {
    const qv::Discovery result =
        UseRuntimeBelow(qv::RuntimeSource::JavaHome, javaHome.get(), qv::kJavaHomeFolders, oldPath);
    tell(qv::RuntimeSource::Registry, qv::RuntimeVerdict::JavaHomeIsSet);
    return result;
  }
  tell(qv::RuntimeSource::JavaHome, qv::RuntimeVerdict::NotNamed);
  qv::HostText registered;
  if (qv::ReadRegisteredHome(registered)) {
    return UseRuntimeBelow(qv::RuntimeSource::Registry, registered.View(), qv::kJavaHomeFolders, oldPath);
  }
  tell(qv::RuntimeSource::Registry, qv::RuntimeVerdict::NotNamed);
  return qv::Discovery::NotFound;
}

bool CQV_JVMConfigInfo::LocateJavaRuntime() noexcept {
  if (m_bRuntimeFound) return true;
  if (m_bHostKnown) return PrepareConfiguredPath();

  const OldPath oldPath;
  if (!oldPath.Ok() || UseCurrentRuntime(oldPath.OrEmpty()) == qv::Discovery::NoMemory) return false;
  // A PATH that cannot be written so far is not the end: the private runtime comes next.
  if (m_bRuntimeFound) {
    m_pListener->OnRuntimePlace({qv::RuntimeSource::BesideTheService, qv::RuntimeVerdict::FoundBefore});
    return true;
  }
  qv::ModuleFolder install;
  if (!qv::TryFindInstallFolder(install)) return false;
  const qv::Discovery result =
      UseRuntimeBelow(qv::RuntimeSource::BesideTheService, install.Text(), qv::kInstallFolders, oldPath.OrEmpty());
  if (result != qv::Discovery::NotFound) return result == qv::Discovery::Taken;
  // Deliberate: no runtime anywhere is no failure here. Loading jvm.dll shows whether PATH reaches one after all.
  (void)PrepareConfiguredPath();
  return true;
}

bool CQV_JVMConfigInfo::PrepareConfiguredPath() noexcept {
  const OldPath oldPath;
  if (!oldPath.Ok()) return false;
  qv::StringRef jdk;
  qv::StringRef jreBin;
  const auto tell = [&](qv::RuntimeVerdict verdict) {
    m_pListener->OnRuntimePlace({qv::RuntimeSource::Configured, verdict, qv::TextOf(jreBin)});
    return false;
  };
  if (!FindLocation(qv::names::kJDKLocation, &CQV_JVMConfigInfo::m_pJDKLocation, jdk) ||
      !FindLocation(qv::names::kJREBinLocation, &CQV_JVMConfigInfo::m_pJREBinLocation, jreBin)) {
    return tell(qv::RuntimeVerdict::LocationMissing);
  }
  // Deliberate: lengths count the terminator, so an empty text is refused while an absent object (length 0) passes.
  const auto lengthLessOne = [](const qv::StringRef& text) { return (text ? text->GetLength() : 0) - 1; };
  if (lengthLessOne(jdk) == 0 || lengthLessOne(jreBin) == 0) return tell(qv::RuntimeVerdict::LocationEmpty);
  const qv::HostText path = qv::SearchPathWithConfigured(qv::TextOf(jdk), qv::TextOf(jreBin), oldPath.OrNull());
  if (!path.Ok()) return false;
  const BOOL set = SetEnvironmentVariableW(kPath, path.Text());
  if (set == FALSE) return tell(qv::RuntimeVerdict::PathRefused);
  m_bRuntimeFound = true;
  tell(qv::RuntimeVerdict::Taken);
  return set == TRUE;
}
