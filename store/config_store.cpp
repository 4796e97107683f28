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

KeyRead ReadKeyValue(HKEY hive, const wchar_t* root, const wchar_t* subKey, uint32_t access, const wchar_t* valueName,
                     OpenKey& open, StringRef& value) noexcept {
  if (!OpenRegistryRoot(hive, root, access, open.root)) return KeyRead::NoRoot;
  if (!OpenSubKey(*open.root, subKey, open.key)) return KeyRead::NoKey;
  return QueryValue(*open.key, valueName, value) < 0 ? KeyRead::NoValue : KeyRead::Found;
}

bool ReadJavaKeyValue(const wchar_t* root, const wchar_t* valueName, StringRef& value) noexcept {
  OpenKey open;
  const KeyRead read = ReadKeyValue(HKEY_LOCAL_MACHINE, root, names::kJavaKey, kReadAccess, valueName, open, value);
  // Deliberate: the message is composed and dropped; the caller learns of the failure by the result alone.
  if (read != KeyRead::Found) (void)StoreMessage::For(read, root, names::kJavaKey, valueName);
  return read == KeyRead::Found;
}

KeyRead ReadCountedList(HKEY hive, const wchar_t* root, const wchar_t* subKey, uint32_t access, OpenKey& open,
                        HostText& joined) noexcept {
  StringRef count;
  const KeyRead read = ReadKeyValue(hive, root, subKey, access, names::kCount, open, count);
  if (read != KeyRead::Found) return read;
  const bool walked =
      VisitCountedList(*open.key, count ? CountFromText(count->GetText()) : 0, [&](int32_t index, auto text) {
        if (index > 0) joined.Append(L";");
        joined.Append(text);
      });
  return walked && joined.Ok() ? KeyRead::Found : KeyRead::NoMemory;
}

namespace {

bool OpenBuiltInKey(const wchar_t* path, KeyOrigin origin, ConfiguredKey& out) noexcept {
  out.key.Reset();
  out.root.Reset();
  out.origin = origin;
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
    if (!OpenBuiltInKey(path.Text(), KeyOrigin::BuiltInWithoutRoot, out)) return false;
  } else if (!OpenSubKey(*out.root, path.Text(), out.key)) {
    return OpenBuiltInKey(path.Text(), KeyOrigin::BuiltInWithoutKey, out);
  }
  if (probe == CountProbe::Required) {
    StringRef count;
    if (QueryValue(*out.key, names::kCount, count) < 0) {
      return OpenBuiltInKey(path.Text(), KeyOrigin::BuiltInWithoutCount, out);
    }
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
