// Gathers the pieces of the class path and hands them to the composition in class_path.h.
#include "config/class_path.h"
#include "config/folders.h"
#include "config/jvm_config_info.h"
#include "store/config_store.h"
#include "store/counted_list.h"
#include "store/names.h"

namespace {

bool AppendDefaultEntries(qv::HostText& path, const wchar_t* installFolder, const wchar_t* hostFolder) noexcept {
  const qv::HostText list{qv::names::kRuntimeConfigKey, L"\\", qv::names::kClassPathList};
  qv::KeyRef tree;
  qv::KeyRef key;
  if (!list.Ok() || !qv::OpenDefaultTree(tree) || !qv::OpenSubKey(*tree, list.Text(), key)) return false;
  qv::StringRef count;
  const int32_t status = qv::QueryValue(*key, qv::names::kCount, count);
  if (status < 0 || !count) return status != QV_E_OUTOFMEMORY;
  return qv::VisitCountedList(*key, qv::CountFromText(count->GetText()), [&](int32_t index, std::wstring_view entry) {
    qv::AppendListEntry(path, index, entry, installFolder, hostFolder, qv::FileExists);
  });
}

}  // namespace

bool CQV_JVMConfigInfo::AppendSystemClassPath(qv::HostText& path) noexcept {
  qv::ModuleFolder install;
  qv::ModuleFolder host;
  if (!qv::TryFindInstallFolder(install)) return false;
  (void)host.TryFind(nullptr);  // without it the fallback entries begin at the root

  if (!m_bLoomhallHost && !m_bHostKnown) {
    qv::AppendPrivateRuntimeLibrary(path, install.Text(), qv::FileExists);
  } else if (!m_bLoomhallHost) {
    qv::StringRef jdk;
    (void)FindLocation(qv::names::kJDKLocation, &CQV_JVMConfigInfo::m_pJDKLocation, jdk);
    qv::AppendConfiguredLibraries(path, qv::TextOf(jdk));
  }
  if (!AppendDefaultEntries(path, install.Text(), host.Text())) return false;
  if (m_bHostKnown && !m_bLoomhallHost) {
    const qv::HostText list{qv::names::kDevelopmentConfigKey, L"\\", qv::names::kClassPathList};
    qv::HostText entries;
    if (!list.Ok() || !JoinCountedList(HKEY_LOCAL_MACHINE, list.Text(), qv::kReadAccess, false, entries)) return false;
    path.Append({L";", entries.View()});
  }
  return path.Ok();
}

qv::HostText CQV_JVMConfigInfo::WholeClassPath() noexcept {
  qv::HostText system;
  qv::HostText user;
  if (!AppendSystemClassPath(system)) return qv::HostText::Failed();
  if (m_bHostKnown) {
    // A list that cannot be read is left out, for whatever reason.
    const bool read = JoinCountedList(HKEY_CURRENT_USER, qv::names::kUserClassPathList, qv::kReadAccess, true, user);
    if (!read) user = qv::HostText();
  }
  qv::HostArray<wchar_t> environment;
  if (qv::ReadEnvironmentText(L"CLASSPATH", environment) == qv::EnvironmentRead::NoMemory) {
    return qv::HostText::Failed();
  }
  return qv::JoinClassPath(system.View(), user.View(), environment.get());
}

bool CQV_JVMConfigInfo::BuildSystemClassPath(IQvString** classPath) noexcept {
  qv::HostText path;
  *classPath = AppendSystemClassPath(path) ? path.ToString().Detach() : nullptr;
  return *classPath != nullptr;
}

bool CQV_JVMConfigInfo::ComposeClassPath(IQvString** classPath) noexcept {
  *classPath = WholeClassPath().ToString().Detach();
  return *classPath != nullptr;
}
