// The configuration object's readers of registry and environment.
#include "base/bounded_text.h"
#include "base/lock.h"
#include "config/jvm_config_info.h"
#include "store/config_store.h"
#include "store/names.h"

void CQV_JVMConfigInfo::ChooseRegistryRoot() noexcept {
  qv::CopyBounded(std::span(m_szRegistryRoot), qv::RegistryRootFor(m_bQuovantHost, m_bLoomhallHost));
}

bool CQV_JVMConfigInfo::OpenRootKey(HKEY hive, uint32_t access, IQvRegKey** key) noexcept {
  ChooseRegistryRoot();
  qv::KeyRef opened;
  const bool ok = qv::OpenRegistryRoot(hive, m_szRegistryRoot, access, opened);
  *key = opened.Detach();
  return ok;
}

bool CQV_JVMConfigInfo::FindLocation(const wchar_t* valueName, OwnedText kept, qv::StringRef& value) noexcept {
  value = HeldText(kept);
  if (value) return true;
  ChooseRegistryRoot();
  if (!qv::ReadJavaKeyValue(m_szRegistryRoot, valueName, value)) return false;
  // Kept only once a runtime was found; before that every call reads the registry afresh.
  const qv::SlimGuard guard(m_textLock);
  if (m_bRuntimeFound && this->*kept == nullptr) this->*kept = qv::StringRef::Share(value.Get()).Detach();
  return true;
}

bool CQV_JVMConfigInfo::HandOutLocation(const wchar_t* valueName, OwnedText kept, IQvString** location) noexcept {
  qv::StringRef value;
  if (!FindLocation(valueName, kept, value)) return false;
  if (!value) return true;  // the host library found a value without text: no object, yet no failure
  qv::StringRef copy = qv::MakeString(value->GetText());
  if (!copy) return false;
  *location = copy.Detach();
  return true;
}

bool CQV_JVMConfigInfo::ReadJDKLocation(IQvString** location) noexcept {
  return HandOutLocation(qv::names::kJDKLocation, &CQV_JVMConfigInfo::m_pJDKLocation, location);
}

bool CQV_JVMConfigInfo::ReadJREBinLocation(IQvString** location) noexcept {
  return HandOutLocation(qv::names::kJREBinLocation, &CQV_JVMConfigInfo::m_pJREBinLocation, location);
}

bool CQV_JVMConfigInfo::JoinCountedList(HKEY hive, const wchar_t* subKey, uint32_t access, bool quiet,
                                        qv::HostText& joined) noexcept {
  ChooseRegistryRoot();
  qv::OpenKey open;  // until its reader knows what is missing
  const qv::KeyRead read = qv::ReadCountedList(hive, m_szRegistryRoot, subKey, access, open, joined);
  if (read != qv::KeyRead::Found && read != qv::KeyRead::NoMemory && !quiet) {
    m_pListener->OnMissing(qv::StoreMessage::For(read, m_szRegistryRoot, subKey, qv::names::kCount), m_szServiceName);
  }
  return read == qv::KeyRead::Found;
}

bool CQV_JVMConfigInfo::ReadCountedList(HKEY hive, const wchar_t* subKey, uint32_t access, IQvString** list,
                                        bool quiet) noexcept {
  qv::HostText joined;
  const bool ok = JoinCountedList(hive, subKey, access, quiet, joined);
  *list = (ok ? joined.ToString() : qv::MakeString(L"")).Detach();
  return ok && *list != nullptr;
}

void CQV_JVMConfigInfo::ReadUserClassPath(IQvString** list) noexcept {
  ReadCountedList(HKEY_CURRENT_USER, qv::names::kUserClassPathList, qv::kReadAccess, list, true);
}

bool CQV_JVMConfigInfo::ReadEnvironmentVariable(const wchar_t* name, IQvString** value) noexcept {
  qv::HostArray<wchar_t> text;
  *value = nullptr;
  if (qv::ReadEnvironmentText(name, text) != qv::EnvironmentRead::Found) return false;
  *value = qv::MakeString(text.get()).Detach();
  return true;
}
