// The only reader of the host product's settings: registry keys, the built-in tree, environment variables. It never
// writes. It is told what it needs as values and knows nothing of the configuration object.
#pragma once

#include "host/host_ref.h"
#include "host/host_text.h"

namespace qv {

inline constexpr uint32_t kReadAccess = 0x20019;  // KEY_READ

// True only when the key opened and is there.
bool OpenRegistryRoot(HKEY hive, const wchar_t* root, uint32_t access, KeyRef& key) noexcept;
// A path of one or more components below a key.
bool OpenSubKey(IQvRegKey& parent, const wchar_t* path, KeyRef& key) noexcept;
bool OpenDefaultTree(KeyRef& key) noexcept;

// A key that is open, and the root that it was opened below.
struct OpenKey {
  KeyRef root;
  KeyRef key;
};

// What became of reading a value of a key below a root.
enum class KeyRead { Found, NoRoot, NoKey, NoValue, NoMemory };

// Found when nothing was missing; `open` is the caller's then.
KeyRead ReadKeyValue(HKEY hive, const wchar_t* root, const wchar_t* subKey, uint32_t access, const wchar_t* valueName,
                     OpenKey& open, StringRef& value) noexcept;

// One value of the key "Java" below HKEY_LOCAL_MACHINE and the root. True when nothing was missing. A failure composes
// its message and shows it to nobody.
bool ReadJavaKeyValue(const wchar_t* root, const wchar_t* valueName, StringRef& value) noexcept;

// The entries of a numbered list, joined by ";". Deliberate: the separator stands before every entry whose index is
// above 0, found predecessors or not. NoValue when there is no Count; entries that are missing are left out.
KeyRead ReadCountedList(HKEY hive, const wchar_t* root, const wchar_t* subKey, uint32_t access, OpenKey& open,
                        HostText& joined) noexcept;

// Where the key of a list was found: in the registry, or in the built-in tree because the registry lacks something.
enum class KeyOrigin { Registry, BuiltInWithoutRoot, BuiltInWithoutKey, BuiltInWithoutCount };

struct ConfiguredKey : OpenKey {
  KeyOrigin origin = KeyOrigin::Registry;
};
enum class CountProbe { No, Required };

// A list key below "Java\QV...Config". A known host has its registry key or nothing. For any other host the built-in
// tree stands in for a missing root, a missing key and, with the probe, a key without Count; a key that is there is
// never merged with the built-in one.
bool OpenConfiguredKey(bool hostKnown, const wchar_t* root, const wchar_t* listName, CountProbe probe,
                       ConfiguredKey& out) noexcept;

enum class EnvironmentRead { Absent, Found, NoMemory };

// An empty variable reads as absent. The text is kept unit for unit.
EnvironmentRead ReadEnvironmentText(const wchar_t* name, HostArray<wchar_t>& text) noexcept;

}  // namespace qv
