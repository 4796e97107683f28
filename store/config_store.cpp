// Readers over the host library's key objects. No state, no lock.
#include "store/config_store.h"

#include "store/counted_list.h"
#include "store/default_tree.h"
#include "store/messages.h"
#include "store/names.h"

namespace qv {

bool OpenRegistryRoot(HKEY hive, const wchar_t* root, uint32_t access, KeyRef& key) noexcept {
  const StringRef path = MakeString(root);
  if (!path) return false;
  if (QvshrOpenRegistryKey(hive, path.Get(), access, key.Out()) != 0) return false;
  return static_cast<bool>(key);
}

bool OpenSubKey(IQvRegKey& parent, const wchar_t* path, KeyRef& key) noexcept {
  const StringRef pathObject = MakeString(path);
  return pathObject && parent.OpenSubKey(pathObject.Get(), kReadAccess, key.Out()) >= 0 && key;
}

bool OpenDefaultTree(KeyRef& key) noexcept { return QvshrOpenDefaultTree(g_DefaultConfigTree, key.Out()) >= 0 && key; }

bool ReadJavaKeyValue(const wchar_t* root, const wchar_t* valueName, StringRef& value) noexcept {
  // Deliberate: the messages are composed and dropped; the caller learns of the failure by the result alone.
  KeyRef rootKey;
  if (!OpenRegistryRoot(HKEY_LOCAL_MACHINE, root, kReadAccess, rootKey)) {
    (void)StoreMessage::KeyNotFound(root, L"");
    return false;
  }
  KeyRef javaKey;
  if (!OpenSubKey(*rootKey, names::kJavaKey, javaKey)) {
    (void)StoreMessage::KeyNotFound(root, names::kJavaKey);
    return false;
  }
  if (QueryValue(*javaKey, valueName, value) < 0) {
    (void)StoreMessage::ValueNotFound(root, names::kJavaKey, valueName);
    return false;
  }
  return true;
}

bool ReadCountedList(HKEY hive, const wchar_t* root, const wchar_t* subKey, uint32_t access, Missing missing,
                     const wchar_t* messageTitle, HostText& joined) noexcept {
  const auto report = [&](const StoreMessage& message) {
    if (missing == Missing::ShowMessage) message.Show(messageTitle);
    return false;
  };
  KeyRef rootKey;
  if (!OpenRegistryRoot(hive, root, access, rootKey)) return report(StoreMessage::KeyNotFound(root, L""));
  KeyRef listKey;
  if (!OpenSubKey(*rootKey, subKey, listKey)) return report(StoreMessage::KeyNotFound(root, subKey));
  StringRef count;
  if (QueryValue(*listKey, names::kCount, count) < 0) {
    return report(StoreMessage::ValueNotFound(root, subKey, names::kCount));
  }
  const bool walked =
      VisitCountedList(*listKey, count ? CountFromText(count->GetText()) : 0, [&](int32_t index, auto text) {
        if (index > 0) joined.Append(L";");
        joined.Append(text);
      });
  return walked && joined.Ok();
}

namespace {

bool OpenDefaultKey(const wchar_t* path, ConfiguredKey& out) noexcept {
  out.key.Reset();
  out.root.Reset();
  return OpenDefaultTree(out.root) && OpenSubKey(*out.root, path, out.key);
}

}  // namespace

bool OpenConfiguredKey(bool hostKnown, const wchar_t* root, const wchar_t* listName, CountProbe probe,
                       ConfiguredKey& out) noexcept {
  const HostText path{hostKnown ? names::kDevelopmentConfigKey : names::kRuntimeConfigKey, L"\\", listName};
  if (!path.Ok()) return false;
  const bool haveRegistry = OpenRegistryRoot(HKEY_LOCAL_MACHINE, root, kReadAccess, out.root);
  if (hostKnown) return haveRegistry && OpenSubKey(*out.root, path.Text(), out.key);

  if (!haveRegistry) {
    if (!OpenDefaultKey(path.Text(), out)) return false;
  } else if (!OpenSubKey(*out.root, path.Text(), out.key)) {
    return OpenDefaultKey(path.Text(), out);
  }
  if (probe == CountProbe::Required) {
    StringRef count;
    if (QueryValue(*out.key, names::kCount, count) < 0) return OpenDefaultKey(path.Text(), out);
  }
  return true;
}

EnvironmentRead ReadEnvironmentText(const wchar_t* name, HostArray<wchar_t>& text) noexcept {
  DWORD capacity = 1024;
  for (;;) {
    HostArray<wchar_t> buffer = AllocHostArray<wchar_t>(capacity);
    if (!buffer) return EnvironmentRead::NoMemory;
    const DWORD units = GetEnvironmentVariableW(name, buffer.get(), capacity);
    if (units == 0) return EnvironmentRead::Absent;
    if (units < capacity) {
      text = std::move(buffer);
      return EnvironmentRead::Found;
    }
    capacity = units + 1;  // it may have grown since: read until it fits
  }
}

}  // namespace qv
