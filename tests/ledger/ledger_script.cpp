// What a test scripts in the ledger build: how often each operation was called, which call fails, and the answers of
// settings, folders and switches. Counters and failures are atomic, since they are asked with every operation;
// g_lock guards the texts. It is a leaf.
#include <windows.h>

#include <atomic>
#include <string_view>

#include "hostlib/backend.h"
#include "hostlib/wide_text.h"
#include "tests/ledger/ledger.h"
#include "tests/ledger/ledger_lock.h"

namespace qvshr {
namespace {

constexpr size_t kNameUnits = 64;
constexpr size_t kTextUnits = 1024;
constexpr size_t kSettings = 16;

struct CallScript {
  std::atomic<uint64_t> calls;
  std::atomic<uint64_t> failAt;  // in the numbering of `calls`; 0: none
  std::atomic<uint64_t> fired;
  std::atomic<bool> failFrom;
};

struct IntScript {
  std::atomic<bool> on;
  std::atomic<int32_t> value;
};

struct SettingScript {
  uint64_t serial;  // 0: free
  bool anySection;
  bool anyKey;
  wchar_t section[kNameUnits];
  wchar_t key[kNameUnits];
  wchar_t text[kTextUnits];
};

struct FolderScript {
  bool on;
  wchar_t text[kTextUnits];
};

CallScript g_calls[kQvshrCallLimit];
IntScript g_ints[2];

SRWLOCK g_lock = SRWLOCK_INIT;
SettingScript g_settings[kSettings];
uint64_t g_settingSerial = 0;
FolderScript g_folders[2];  // the folder in use, its default place
QvshrLedgerFolderRequest g_lastFolder;

IntScript* IntFor(uint32_t call) noexcept {
  if (call == kQvshrCallIsWebDeployment) return &g_ints[0];
  return call == kQvshrCallNoDetachQuery ? &g_ints[1] : nullptr;
}

bool Fits(const wchar_t* text, size_t units) noexcept {
  return text == nullptr || std::wstring_view(text).size() < units;
}

void Store(const wchar_t* text, wchar_t* out, size_t units) noexcept {
  CopyCut(text != nullptr ? text : L"", out, static_cast<int32_t>(units));
}

// The script that was made for just this section and key, where null stands for any.
SettingScript* FindExact(const wchar_t* section, const wchar_t* key) noexcept {
  for (SettingScript& script : g_settings) {
    const bool sameSection =
        script.anySection == (section == nullptr) && (section == nullptr || SameName(script.section, section));
    const bool sameKey = script.anyKey == (key == nullptr) && (key == nullptr || SameName(script.key, key));
    if (script.serial != 0 && sameSection && sameKey) return &script;
  }
  return nullptr;
}

SettingScript* FindFree() noexcept {
  for (SettingScript& script : g_settings) {
    if (script.serial == 0) return &script;
  }
  return nullptr;
}

}  // namespace

bool CallFails(QvshrCall call) noexcept {
  CallScript& script = g_calls[call];
  const uint64_t number = ++script.calls;
  const uint64_t failAt = script.failAt;
  if (failAt == 0 || number < failAt || (number > failAt && !script.failFrom)) return false;
  ++script.fired;
  return true;
}

bool ScriptedInt(QvshrCall call, int32_t* value) noexcept {
  const IntScript* const script = IntFor(call);
  if (script == nullptr || !script->on) return false;
  *value = script->value;
  return true;
}

bool ScriptedSetting(const wchar_t* section, const wchar_t* key, wchar_t* out, int32_t capacity,
                     int32_t* written) noexcept {
  const LedgerLock lock(g_lock);
  const SettingScript* latest = nullptr;
  for (const SettingScript& script : g_settings) {
    const bool fits =
        (script.anySection || SameName(script.section, section)) && (script.anyKey || SameName(script.key, key));
    if (script.serial != 0 && fits && (latest == nullptr || latest->serial < script.serial)) latest = &script;
  }
  if (latest == nullptr) return false;
  *written = CopyCut(latest->text, out, capacity);
  return true;
}

bool ScriptedFolder(int32_t folderId, wchar_t* out, int32_t capacity, int32_t create, int32_t useDefault,
                    int32_t* answer) noexcept {
  const LedgerLock lock(g_lock);
  g_lastFolder = {folderId, create, useDefault, capacity};
  const FolderScript& script = g_folders[useDefault != 0 ? 1 : 0];
  if (!script.on) return false;
  *answer = CopyWhole(script.text, out, capacity) != 0 ? 1 : 0;
  return true;
}

void ResetScripts() noexcept {
  for (CallScript& script : g_calls) {
    script.failAt = 0;
    script.failFrom = false;
    script.fired = 0;
    script.calls = 0;
  }
  for (IntScript& script : g_ints) script.on = false;
  const LedgerLock lock(g_lock);
  for (SettingScript& script : g_settings) script.serial = 0;
  for (FolderScript& script : g_folders) script.on = false;
  g_lastFolder = {};
}

}  // namespace qvshr

using namespace qvshr;

extern "C" uint64_t QvshrLedgerCalls(uint32_t call) noexcept {
  return call < kQvshrCallLimit ? g_calls[call].calls.load() : 0;
}

extern "C" void QvshrLedgerFailCall(uint32_t call, uint64_t n, int32_t mode) noexcept {
  if (call >= kQvshrCallLimit) return;
  CallScript& script = g_calls[call];
  script.failAt = 0;
  script.failFrom = mode == kQvshrFailFromHere;
  script.fired = 0;
  if (n != 0) script.failAt = script.calls + n;
}

extern "C" uint64_t QvshrLedgerCallFired(uint32_t call) noexcept {
  return call < kQvshrCallLimit ? g_calls[call].fired.load() : 0;
}

extern "C" void QvshrLedgerOverrideInt(uint32_t call, int32_t value) noexcept {
  IntScript* const script = IntFor(call);
  if (script == nullptr) return;
  script->value = value;
  script->on = true;
}

extern "C" void QvshrLedgerClearInt(uint32_t call) noexcept {
  if (IntScript* const script = IntFor(call)) script->on = false;
}

extern "C" int32_t QvshrLedgerOverrideSetting(const wchar_t* section, const wchar_t* key,
                                              const wchar_t* text) noexcept {
  if (!Fits(section, kNameUnits) || !Fits(key, kNameUnits) || !Fits(text, kTextUnits)) return 0;
  const LedgerLock lock(g_lock);
  SettingScript* script = FindExact(section, key);
  if (text == nullptr) {
    if (script != nullptr) script->serial = 0;
    return 1;
  }
  if (script == nullptr) script = FindFree();
  if (script == nullptr) return 0;
  script->serial = ++g_settingSerial;
  script->anySection = section == nullptr;
  script->anyKey = key == nullptr;
  Store(section, script->section, kNameUnits);
  Store(key, script->key, kNameUnits);
  Store(text, script->text, kTextUnits);
  return 1;
}

extern "C" int32_t QvshrLedgerOverrideFolder(int32_t useDefault, const wchar_t* text) noexcept {
  if ((useDefault != 0 && useDefault != 1) || !Fits(text, kTextUnits)) return 0;
  const LedgerLock lock(g_lock);
  FolderScript& script = g_folders[useDefault];
  script.on = text != nullptr;
  Store(text, script.text, kTextUnits);
  return 1;
}

extern "C" void QvshrLedgerLastFolderRequest(QvshrLedgerFolderRequest* request) noexcept {
  if (request == nullptr) return;
  const LedgerLock lock(g_lock);
  *request = g_lastFolder;
}
